// The CRC-32 engine: every path against the byte-at-a-time reference over many lengths,
// alignments, registers and patterns; the reference itself against check values. (The system's
// cksum is compared with the library's file CRC, which runs the fastest path.)
#include "core/crc32_engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using bsp::crc::Crc32Path, bsp::crc::crc32_reference;

constexpr Crc32Path kAllPaths[] = {Crc32Path::Reference, Crc32Path::Slicing, Crc32Path::Clmul, Crc32Path::ClmulWide};

std::vector<uint8_t> random_bytes(size_t n, uint64_t seed)
{
    std::mt19937_64 rng(seed);
    std::vector<uint8_t> v(n);
    for (auto &b : v) b = static_cast<uint8_t>(rng());
    return v;
}

// A path the CPU cannot run is skipped rather than silently replaced by another.
class Crc32PathTest : public ::testing::TestWithParam<Crc32Path> {
protected:
    void SetUp() override
    {
        if (!bsp::crc::crc32_path_available(GetParam()))
            GTEST_SKIP() << "CPU lacks path " << bsp::crc::crc32_path_name(GetParam());
    }
    uint32_t run(uint32_t crc, const uint8_t *p, size_t n) const { return bsp::crc::crc32_update_with(GetParam(), crc, p, n); }
    // On a copy in an allocation of exactly n bytes, so that the sanitizer sees a read past the end.
    void expect_reference(const uint8_t *p, size_t n, uint32_t init) const
    {
        std::unique_ptr<uint8_t[]> copy(new uint8_t[n]);
        if (n != 0) std::memcpy(copy.get(), p, n);
        ASSERT_EQ(run(init, copy.get(), n), crc32_reference(init, copy.get(), n)) << "length " << n << " init " << init;
    }
};

// Check values; an empty input leaves the register; a lone 1 yields the polynomial.
TEST_P(Crc32PathTest, CheckValues)
{
    const auto *check = reinterpret_cast<const uint8_t *>("123456789");
    const uint8_t one = 1, nine = 9, zeros[7] = {};
    EXPECT_EQ(run(0xFFFFFFFF, check, 9), 0x0376E6E7u);
    EXPECT_EQ(~run(0, check, 9), 0x765E7680u);
    EXPECT_EQ(~run(run(0, check, 9), &nine, 1), 930766865u);  // cksum: then the length, and the complement
    EXPECT_EQ(run(0x12345678, check, 0), 0x12345678u);
    EXPECT_EQ(run(0, &one, 1), bsp::crc::kCrc32Poly);
    EXPECT_EQ(run(0, zeros, 7), 0u);
}

// Every length to 300 at all sixteen alignments (the short-input cut-over, single folds, entry
// into the wide loops with every tail); lengths around every block and stride size; random
// lengths to 4 MiB at random places; lanes made identical or all-ones, where mixing up lanes or
// halves of a lane would cancel out; pieces of any size, the register carrying all the state.
TEST_P(Crc32PathTest, MatchesReference)
{
    auto data = random_bytes((4u << 20) + 4096, 21);
    std::mt19937_64 rng(22);
    for (size_t n = 0; n <= 300; ++n)
        for (size_t offset = 0; offset < 16; ++offset) expect_reference(data.data() + offset, n, rng());
    for (size_t unit : {16, 64, 128, 256, 512, 1024})
        for (size_t k = unit; k <= 8192; k *= 2)
            for (size_t n = k - std::min<size_t>(k, 17); n <= k + 17; ++n) expect_reference(data.data() + rng() % 64, n, rng());
    for (int i = 0; i < 32; ++i) {
        const size_t n = (i % 4 == 0) ? rng() % 65536 : rng() % (4u << 20);
        expect_reference(data.data() + rng() % (data.size() - n + 1), n, static_cast<uint32_t>(rng()));
    }
    for (uint8_t fill : {0x00, 0xFF, 0x80, 0x01, 0x5A}) {
        const std::vector<uint8_t> v(100000, fill);
        for (size_t n : {64, 129, 256, 1024, 4099, 100000})
            for (uint32_t init : {0u, 0xFFFFFFFFu, 0x80000001u}) expect_reference(v.data(), n, init);
    }
    const uint32_t whole = crc32_reference(0xFFFFFFFF, data.data(), 200000);
    for (int round = 0; round < 20; ++round) {
        uint32_t crc = 0xFFFFFFFF;
        for (size_t pos = 0, piece = 0; pos < 200000; pos += piece) {
            piece = std::min<size_t>(rng() % (round % 2 ? 600 : 70000), 200000 - pos);
            crc = run(crc, data.data() + pos, piece);
        }
        ASSERT_EQ(crc, whole) << "round " << round;
    }
}

INSTANTIATE_TEST_SUITE_P(AllPaths, Crc32PathTest, ::testing::ValuesIn(kAllPaths), [](const auto &info) {
    std::string name = bsp::crc::crc32_path_name(info.param);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

// The portable paths always run; the wide path falls back on the 128-bit code for short inputs,
// so never comes without it; the active path is the fastest available; forcing a path runs its
// own function, or the portable slicing code when the CPU lacks it. (Each path against the
// reference is MatchesReference; crc32_update, the active path, is what the library's CRC-32
// and file CRC run, held against a bitwise CRC in test_crc.)
TEST(Crc32Dispatch, PathChoiceAndForcedPaths)
{
    using namespace bsp::crc;
    EXPECT_TRUE(crc32_path_available(Crc32Path::Reference) && crc32_path_available(Crc32Path::Slicing));
    EXPECT_TRUE(!crc32_path_available(Crc32Path::ClmulWide) || crc32_path_available(Crc32Path::Clmul));
    Crc32Path fastest = crc32_path_available(Crc32Path::ClmulWide) ? Crc32Path::ClmulWide
                        : crc32_path_available(Crc32Path::Clmul)   ? Crc32Path::Clmul
                                                                   : Crc32Path::Slicing;
    EXPECT_EQ(crc32_active_path(), fastest);
    const Crc32Fn own[] = {&crc32_reference, &crc32_slicing, &crc32_clmul, &crc32_clmul_wide};
    std::string names;
    for (size_t i = 0; i < std::size(kAllPaths); ++i) {
        EXPECT_EQ(crc32_path_function(kAllPaths[i]), crc32_path_available(kAllPaths[i]) ? own[i] : &crc32_slicing) << i;
        names += std::string(crc32_path_name(kAllPaths[i])) + " ";
    }
    EXPECT_EQ(names, "reference slicing clmul clmul-wide ");
}

// A build that must take a given path (the aarch64 build on an emulator with PMULL) names it,
// and then the test fails rather than skips when dispatch falls back to another.
TEST(Crc32Dispatch, ExpectedPathIsActive)
{
    const char *want = std::getenv("BSP_CRC32_EXPECT_PATH");
    if (!want || !*want) GTEST_SKIP() << "BSP_CRC32_EXPECT_PATH not set";
    EXPECT_STREQ(bsp::crc::crc32_path_name(bsp::crc::crc32_active_path()), want);
}

}  // namespace
