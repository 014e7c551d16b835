// Test helpers: buffers that fault on any access beyond their end, canary fills, seeded randoms.
#pragma once

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace lumtest {

// `size` bytes whose last byte sits directly before a PROT_NONE page, so that reading or writing
// one byte too far faults. `tailGap` leaves that many accessible bytes after the data instead.
class GuardedBuffer {
public:
    explicit GuardedBuffer(size_t size, size_t tailGap = 0) : size_(size)
    {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t dataPages = (size + tailGap + page - 1) / page + 1;
        mapSize_ = (dataPages + 1) * page;
        void* m = mmap(nullptr, mapSize_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m == MAP_FAILED) throw std::bad_alloc();
        map_ = static_cast<uint8_t*>(m);
        uint8_t* guard = map_ + dataPages * page;
        mprotect(guard, page, PROT_NONE);
        data_ = guard - tailGap - size;
    }
    ~GuardedBuffer() { munmap(map_, mapSize_); }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    uint8_t* data() { return data_; }
    size_t size() const { return size_; }

private:
    size_t size_;
    size_t mapSize_;
    uint8_t* map_;
    uint8_t* data_;
};

inline constexpr uint8_t kCanary = 0xA5;

// A byte vector with `guard` canary bytes on both sides of a payload of `size` bytes.
class CanaryBuffer {
public:
    CanaryBuffer(size_t size, size_t guard = 64, size_t offset = 0)
        : bytes_(size + 2 * guard + offset + 64, kCanary), guard_(guard), size_(size), offset_(offset)
    {
    }
    // The payload, `offset` bytes past a 64-byte boundary.
    uint8_t* data()
    {
        auto base = reinterpret_cast<uintptr_t>(bytes_.data()) + guard_;
        base = (base + 63) & ~uintptr_t{63};
        return reinterpret_cast<uint8_t*>(base) + offset_;
    }
    // True if every byte outside the payload still holds the canary.
    bool guardsIntact()
    {
        const uint8_t* p = data();
        for (size_t i = 0; i < bytes_.size(); ++i) {
            const uint8_t* q = bytes_.data() + i;
            if ((q < p || q >= p + size_) && *q != kCanary) return false;
        }
        return true;
    }
    bool payloadIsCanary()
    {
        const uint8_t* p = data();
        for (size_t i = 0; i < size_; ++i)
            if (p[i] != kCanary) return false;
        return true;
    }

private:
    std::vector<uint8_t> bytes_;
    size_t guard_;
    size_t size_;
    size_t offset_;
};

inline std::vector<uint8_t> randomBytes(size_t n, uint32_t seed)
{
    std::mt19937 rng(seed);
    std::vector<uint8_t> v(n);
    for (auto& b : v) b = static_cast<uint8_t>(rng());
    return v;
}

}  // namespace lumtest
