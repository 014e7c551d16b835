// Dispatch: rows, stubs, the selector before initialisation, the exported symbol set, and the
// module entry of the shared library.
#include "exports_list.h"
#include "tier_fixture.h"

#include "frame/dispatch.h"
#include "frame/module_entry.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using lumtest::canonicalExports;

namespace {

std::string runCommand(const std::string& command)
{
    std::string out;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return out;
    char buffer[4096];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
    pclose(pipe);
    return out;
}

// Exports not built yet. Later work moves names from here into the library; the list must end empty.
const std::set<std::string> kNotBuiltYet = {
};

std::set<std::string> definedDynamicSymbols()
{
    std::set<std::string> names;
    std::istringstream lines(runCommand("nm -D --defined-only " LUM_SHARED_LIBRARY_PATH));
    std::string address, type, name;
    while (lines >> address >> type >> name) names.insert(name);
    return names;
}

// objdump's listing of one function: its instruction mnemonics with operands.
std::map<std::string, std::vector<std::string>> disassembledFunctions()
{
    std::map<std::string, std::vector<std::string>> functions;
    std::istringstream lines(runCommand("objdump -d --no-show-raw-insn " LUM_SHARED_LIBRARY_PATH));
    const std::regex header(R"(^[0-9a-f]+ <([^>@]+)>:$)");
    const std::regex instruction(R"(^\s+[0-9a-f]+:\s+(.*)$)");
    std::string line, current;
    std::smatch m;
    while (std::getline(lines, line)) {
        if (std::regex_match(line, m, header)) {
            current = m[1];
        } else if (!current.empty() && std::regex_match(line, m, instruction)) {
            functions[current].push_back(m[1]);
        } else if (line.empty()) {
            current.clear();
        }
    }
    return functions;
}

}  // namespace

TEST(ExportList, NinetySixExportsInTheGroupsOfTheTable)
{
    const auto s = canonicalExports();
    EXPECT_EQ(s.direct.size(), 5u);
    EXPECT_EQ(s.rows.size() + s.pending.size(), 91u);
    EXPECT_EQ(s.direct,
              (std::set<std::string>{"lumAlignPtr", "lumFree", "lumGetStatusString", "lumMalloc", "lumStaticInit"}));
}

TEST(ExportList, PendingEntriesAreExactlyTheNotBuiltList)
{
    EXPECT_EQ(canonicalExports().pending, kNotBuiltYet);
}

TEST(ExportList, SharedLibraryExportsExactlyTheBuiltNames)
{
    const auto s = canonicalExports();
    std::set<std::string> expected = s.direct;
    expected.insert(s.rows.begin(), s.rows.end());
    const std::set<std::string> actual = definedDynamicSymbols();
    ASSERT_FALSE(actual.empty()) << "nm could not read " LUM_SHARED_LIBRARY_PATH;
    EXPECT_EQ(actual, expected);
    EXPECT_EQ(actual.count("lumSetTierByCpuCode"), 0u);
    EXPECT_EQ(actual.count("LumTierIndex"), 0u);
}

TEST(ExportList, ReadmeTableMarksExactlyTheBuiltExports)
{
    std::ifstream readme(LUM_SOURCE_DIR "/README.md");
    const std::regex row(R"(^\| `(lum\w+)` \|.*\| (yes|no) \|$)");
    std::set<std::string> listed, built;
    std::string line;
    std::smatch m;
    while (std::getline(readme, line)) {
        if (!std::regex_match(line, m, row)) continue;
        listed.insert(m[1]);
        if (m[2] == "yes") built.insert(m[1]);
    }
    const auto s = canonicalExports();
    std::set<std::string> all = s.direct, expectedBuilt = s.direct;
    all.insert(s.rows.begin(), s.rows.end());
    all.insert(s.pending.begin(), s.pending.end());
    expectedBuilt.insert(s.rows.begin(), s.rows.end());
    EXPECT_EQ(listed, all);
    EXPECT_EQ(built, expectedBuilt);
}

TEST(Stubs, EveryStubIsOneLoadAndOneIndirectJump)
{
    const auto functions = disassembledFunctions();
    const auto rows = canonicalExports().rows;
    ASSERT_FALSE(rows.empty());
    const std::regex load(R"(^movslq\s+0x[0-9a-f]+\(%rip\),%rax\b.*)");
    const std::regex lea(R"(^lea\s+0x[0-9a-f]+\(%rip\),%r11\b.*)");
    const std::regex jump(R"(^jmp\s+\*\(%r11,%rax,8\)$)");
    for (const std::string& name : rows) {
        const auto it = functions.find(name);
        ASSERT_NE(it, functions.end()) << name << " not found in the disassembly";
        // Padding after the jump (nop) belongs to alignment, not to the stub.
        std::vector<std::string> body;
        for (const auto& insn : it->second)
            if (insn.rfind("nop", 0) != 0 && insn.rfind("cs nop", 0) != 0 && insn.rfind("data16", 0) != 0)
                body.push_back(insn);
        ASSERT_EQ(body.size(), 3u) << name;
        EXPECT_TRUE(std::regex_match(body[0], load)) << name << ": " << body[0];
        EXPECT_TRUE(std::regex_match(body[1], lea)) << name << ": " << body[1];
        EXPECT_TRUE(std::regex_match(body[2], jump)) << name << ": " << body[2];
    }
}

TEST(PortableTier, PxCodeUsesNoVectorInstructionsAndNoLibraryCopies)
{
    // px is the scalar reference: the compiler must not have vectorised it or turned its loops into
    // calls of the C library's copy and fill routines. Scalar float instructions are fine. A
    // sanitizer build instruments stack frames with vector stores of its own, so only a plain
    // build can tell.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizer instrumentation adds vector stores";
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    GTEST_SKIP() << "sanitizer instrumentation adds vector stores";
#endif
#endif
    // Plain 16-byte moves are how compilers copy a small record (a memcpy of a state struct), and
    // andpd/xorpd are how they take the absolute value or negate a scalar, so those are allowed;
    // packed arithmetic, integer vector operations, shuffles and streaming stores are not.
    const std::regex vector(
        R"(^(movnt\w*|(add|sub|mul|div|min|max|sqrt|cmp)p[sd]|p(add|sub|mul|ack|unpck|shuf|cmp|max|min|avg|sad|sll|srl|sra|madd)\w*)\s.*)");
    const std::regex libraryCall(R"(^call\s.*<(memset|memcpy|memmove)@plt>$)");
    int pxFunctions = 0;
    for (const auto& [name, body] : disassembledFunctions()) {
        if (name.rfind("_ZN3lum2px", 0) != 0) continue;
        ++pxFunctions;
        for (const std::string& insn : body) {
            EXPECT_FALSE(std::regex_match(insn, vector)) << name << ": " << insn;
            EXPECT_FALSE(std::regex_match(insn, libraryCall)) << name << ": " << insn;
        }
    }
    EXPECT_GT(pxFunctions, 10);
}

TEST(Dispatch, BeforeInitialisationTheStaticLibraryRunsPx)
{
    // A fresh process: the static library has no constructor, so nothing selected a tier yet.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const bool px = LumTierIndex.load() == 0 && std::string(lumsGetLibVersion()->tierTag) == "px" &&
                            std::string(lumiGetLibVersion()->libraryName) == "lumipxl.lib";
            std::exit(px ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(Dispatch, RowsHoldFourVariantsOrTheDeclaredSharing)
{
    const auto& copy = lumRow_lumsCopy_8u;
    const std::set<const void*> distinct{reinterpret_cast<const void*>(copy[0]), reinterpret_cast<const void*>(copy[1]),
                                         reinterpret_cast<const void*>(copy[2]), reinterpret_cast<const void*>(copy[3])};
    EXPECT_EQ(distinct.size(), 4u);

    for (int slot = 0; slot < 4; ++slot) EXPECT_EQ(lumRow_lumsFree[slot], &lumFree) << "slot " << slot;

    EXPECT_EQ(lumRow_lumsMalloc_32f[0], lumRow_lumsMalloc_32f[1]);
    EXPECT_EQ(lumRow_lumsMalloc_32f[1], lumRow_lumsMalloc_32f[2]);
    EXPECT_NE(lumRow_lumsMalloc_32f[2], lumRow_lumsMalloc_32f[3]);
}

class DispatchTier : public lumtest::TierTest {};

TEST_P(DispatchTier, StubReachesTheRowEntryOfTheSelectedSlot)
{
    EXPECT_EQ(lumsGetLibVersion(), lumRow_lumsGetLibVersion[slot()]());
    // The export and the row entry of the slot are the same code: both fail alike on bad input and
    // copy alike on good input.
    const Lum8u src[3] = {1, 2, 3};
    Lum8u viaStub[3] = {}, viaRow[3] = {};
    EXPECT_EQ(lumsCopy_8u(src, viaStub, 3), lumRow_lumsCopy_8u[slot()](src, viaRow, 3));
    EXPECT_EQ(std::memcmp(viaStub, viaRow, 3), 0);
    EXPECT_EQ(std::memcmp(viaStub, src, 3), 0);
    EXPECT_EQ(lumiGetLibVersion(), lumRow_lumiGetLibVersion[slot()]());
    EXPECT_STREQ(lumiGetLibVersion()->tierTag, lumtest::kTierTags[slot()]);
    // Arguments and results pass through the stub untouched.
    float* block = lumsMalloc_32f(77);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 32, 0u);
    lumsFree(block);
}

LUM_ALL_TIERS(DispatchTier);

TEST(ModuleEntry, AttachSelectsTheTierAndEveryReasonReturnsOne)
{
    LumTierIndex.store(0);
    for (uint32_t reason : {0u, 2u, 3u}) {
        EXPECT_EQ(lum::lumModuleEntry(nullptr, reason, nullptr), 1);
        EXPECT_EQ(LumTierIndex.load(), 0) << "only process attach probes";
    }
    EXPECT_EQ(lum::lumModuleEntry(nullptr, lum::kProcessAttach, nullptr), 1);
    const Lum32s attached = LumTierIndex.load();
    lumStaticInit();
    EXPECT_EQ(LumTierIndex.load(), attached);
    LumTierIndex.store(0);
}

TEST(SharedLibrary, LoadRunsTheProbeAndHidesTheInternals)
{
    void* handle = dlopen(LUM_SHARED_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    using VersionFn = const LumLibraryVersion* (*)();
    using InitFn = LumStatus (*)();
    auto version = reinterpret_cast<VersionFn>(dlsym(handle, "lumsGetLibVersion"));
    auto init = reinterpret_cast<InitFn>(dlsym(handle, "lumStaticInit"));
    ASSERT_NE(version, nullptr);
    ASSERT_NE(init, nullptr);

    // The library's constructor already probed this processor: compare with a probe of our own.
    lumStaticInit();
    const std::string expected = lumtest::kTierTags[LumTierIndex.load()];
    LumTierIndex.store(0);
    EXPECT_EQ(version()->tierTag, expected);
    EXPECT_EQ(init(), lumStaticInit());
    LumTierIndex.store(0);

    EXPECT_EQ(dlsym(handle, "lumSetTierByCpuCode"), nullptr);
    EXPECT_EQ(dlsym(handle, "LumTierIndex"), nullptr);
    EXPECT_EQ(dlsym(handle, "lumRow_lumsCopy_8u"), nullptr);
    dlclose(handle);
}

TEST(Concurrency, StaticInitAndCallsFromManyThreads)
{
    std::vector<std::thread> threads;
    std::vector<Lum32s> seen(8, -1);
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([t, &seen] {
            for (int i = 0; i < 200; ++i) {
                lumStaticInit();
                const LumLibraryVersion* v = lumsGetLibVersion();
                if (v == nullptr) return;
                void* p = lumMalloc(64 + i);
                lumFree(p);
            }
            seen[t] = LumTierIndex.load(std::memory_order_relaxed);
        });
    }
    for (auto& th : threads) th.join();
    for (Lum32s s : seen) EXPECT_EQ(s, seen[0]);
    LumTierIndex.store(0);
}
