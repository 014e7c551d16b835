// Small helpers around the library's C interface: status checks, memory from its allocator, and the
// caller-held records sized by its GetBufSize functions.
#pragma once

#include <lum.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "image.h"
#include "std_tables.h"

namespace lumjpeg {

inline void check(LumStatus status, const char* what)
{
    if (status < 0) throw Error(std::string(what) + ": " + lumGetStatusString(status));
}

// An array in memory from lumMalloc: 32-byte aligned, which is what the vector tiers want of
// blocks and MCU planes to take their aligned paths.
template <typename T>
class LumArray {
public:
    LumArray() = default;
    explicit LumArray(size_t count) : count_(count)
    {
        if (count == 0) return;
        if (count > static_cast<size_t>(std::numeric_limits<Lum32s>::max()) / sizeof(T))
            throw Error("out of memory");
        data_ = static_cast<T*>(lumMalloc(static_cast<Lum32s>(count * sizeof(T))));
        if (data_ == nullptr) throw Error("out of memory");
    }
    LumArray(LumArray&& other) noexcept : data_(std::exchange(other.data_, nullptr)), count_(other.count_) {}
    LumArray& operator=(LumArray&& other) noexcept
    {
        std::swap(data_, other.data_);
        std::swap(count_, other.count_);
        return *this;
    }
    LumArray(const LumArray&) = delete;
    LumArray& operator=(const LumArray&) = delete;
    ~LumArray() { lumFree(data_); }

    T* data() { return data_; }
    const T* data() const { return data_; }
    size_t size() const { return count_; }
    T& operator[](size_t i) { return data_[i]; }
    const T& operator[](size_t i) const { return data_[i]; }
    void clear()
    {
        if (count_ != 0)
            check(lumsZero_8u(reinterpret_cast<Lum8u*>(data_), static_cast<Lum32s>(count_ * sizeof(T))),
                  "clear");
    }

private:
    T* data_ = nullptr;
    size_t count_ = 0;
};

// A caller-held library record of the size its GetBufSize function reports.
template <typename Record>
class LumRecord {
public:
    explicit LumRecord(LumStatus (*getBufSize)(Lum32s*))
    {
        Lum32s size = 0;
        check(getBufSize(&size), "sizing a library record");
        bytes_ = LumArray<uint8_t>(static_cast<size_t>(size));
    }
    Record* get() { return reinterpret_cast<Record*>(bytes_.data()); }
    const Record* get() const { return reinterpret_cast<const Record*>(bytes_.data()); }

private:
    LumArray<uint8_t> bytes_;
};

// A Huffman code table of the encoder or the decoder, built from the BITS and HUFFVAL lists of a DHT
// segment.
template <typename SpecRecord, LumStatus (*getBufSize)(Lum32s*),
          LumStatus (*init)(const Lum8u*, const Lum8u*, SpecRecord*)>
class HuffmanSpec {
public:
    explicit HuffmanSpec(const HuffmanTable& t) : record_(getBufSize)
    {
        static const Lum8u kNoSymbols = 0;
        check(init(t.bits.data(), t.vals.empty() ? &kNoSymbols : t.vals.data(), record_.get()),
              "building Huffman tables");
    }
    const SpecRecord* get() const { return record_.get(); }

private:
    LumRecord<SpecRecord> record_;
};

}  // namespace lumjpeg
