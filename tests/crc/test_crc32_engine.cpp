// The CRC-32 engine: every path against the byte-at-a-time reference over many lengths,
// alignments and initial registers; the reference itself against check values, an algebraic
// property and the system's cksum.
#include "core/crc32_engine.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using bsp::crc::Crc32Path;
using bsp::crc::crc32_reference;

constexpr Crc32Path kAllPaths[] = {Crc32Path::Reference, Crc32Path::Slicing, Crc32Path::Clmul,
                                   Crc32Path::ClmulWide};

std::vector<uint8_t> random_bytes(size_t n, uint64_t seed) {
    std::mt19937_64 rng(seed);
    std::vector<uint8_t> v(n);
    for (auto &b : v) b = static_cast<uint8_t>(rng());
    return v;
}

// The cksum value: the data, its length least significant byte first (only the bytes it
// needs), then the complement.
uint32_t cksum_value(Crc32Path path, const uint8_t *p, size_t n) {
    uint32_t crc = bsp::crc::crc32_update_with(path, 0, p, n);
    for (uint64_t len = n; len != 0; len >>= 8) {
        const auto b = static_cast<uint8_t>(len);
        crc = bsp::crc::crc32_update_with(path, crc, &b, 1);
    }
    return ~crc;
}

// A path the CPU cannot run is skipped rather than silently replaced by another.
class Crc32PathTest : public ::testing::TestWithParam<Crc32Path> {
protected:
    void SetUp() override {
        if (!bsp::crc::crc32_path_available(GetParam()))
            GTEST_SKIP() << "CPU lacks path " << bsp::crc::crc32_path_name(GetParam());
    }
    uint32_t run(uint32_t crc, const uint8_t *p, size_t n) const {
        return bsp::crc::crc32_update_with(GetParam(), crc, p, n);
    }
    // Against the reference on a copy in an allocation of exactly n bytes, so that the
    // sanitizer sees any read past the end.
    void expect_reference(const uint8_t *p, size_t n, uint32_t init) const {
        std::unique_ptr<uint8_t[]> copy(new uint8_t[n]);
        if (n != 0) std::memcpy(copy.get(), p, n);
        ASSERT_EQ(run(init, copy.get(), n), crc32_reference(init, copy.get(), n))
            << "length " << n << " init " << init;
    }
};

TEST_P(Crc32PathTest, KnownVectors) {
    const struct {
        std::string_view data;
        uint32_t init;
        bool complement;
        uint32_t expected;
    } cases[] = {
        {"123456789", 0xFFFFFFFFu, false, 0x0376E6E7u},
        {"123456789", 0xFFFFFFFFu, true, 0xFC891918u},
        {"123456789", 0, true, 0x765E7680u},
        {"", 0x12345678u, false, 0x12345678u},             // empty input leaves the register
        {"\x01", 0, false, 0x04C11DB7u},                   // a lone 1 yields the polynomial
        {std::string_view("\0\0\0\0\0\0\0", 7), 0, false, 0},
    };
    for (const auto &c : cases) {
        uint32_t crc = run(c.init, reinterpret_cast<const uint8_t *>(c.data.data()), c.data.size());
        EXPECT_EQ(c.complement ? ~crc : crc, c.expected) << c.data.size() << " bytes, init " << c.init;
    }
    EXPECT_EQ(cksum_value(GetParam(), reinterpret_cast<const uint8_t *>("123456789"), 9), 930766865u);
}

// Appending the register, most significant byte first, to a message started from a zero
// register drives it back to zero: true of any correct MSB-first CRC, no table needed.
TEST_P(Crc32PathTest, AppendingTheCrcGivesZero) {
    const auto data = random_bytes(70000, 11);
    for (size_t n : {0, 1, 5, 16, 63, 64, 100, 128, 255, 256, 1000, 4096, 65537}) {
        std::vector<uint8_t> msg(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(n));
        const uint32_t crc = run(0, msg.data(), msg.size());
        for (int shift = 24; shift >= 0; shift -= 8) msg.push_back(static_cast<uint8_t>(crc >> shift));
        EXPECT_EQ(run(0, msg.data(), msg.size()), 0u) << "length " << n;
    }
}

// Every length to 300 at all sixteen alignments (the short-input cut-over, single folds, entry
// into the wide loops with every tail); lengths around every block and stride size; random
// lengths to 4 MiB at random places.
TEST_P(Crc32PathTest, LengthsAlignmentsAndInitsMatchReference) {
    constexpr size_t kMax = 4u << 20;
    const auto data = random_bytes(kMax + 4096, 21);
    std::mt19937_64 rng(22);
    for (size_t n = 0; n <= 300; ++n) {
        for (size_t offset = 0; offset < 16; ++offset) expect_reference(data.data() + offset, n, rng());
    }
    for (size_t unit : {16, 64, 128, 256, 512, 1024}) {
        for (size_t k = 1; k * unit <= 8192; k *= 2) {
            for (size_t n = k * unit - std::min<size_t>(k * unit, 17); n <= k * unit + 17; ++n)
                expect_reference(data.data() + rng() % 64, n, rng());
        }
    }
    for (int i = 0; i < 32; ++i) {
        const size_t n = (i % 4 == 0) ? rng() % 65536 : rng() % kMax;
        const uint8_t *p = data.data() + rng() % (data.size() - n + 1);
        const auto init = static_cast<uint32_t>(rng());
        ASSERT_EQ(run(init, p, n), crc32_reference(init, p, n)) << "length " << n;
    }
}

// Lanes made identical or all-ones, where mixing up lanes or halves of a lane would cancel out;
// and every bit seen: flipping any one changes the result, to the reference's value.
TEST_P(Crc32PathTest, PatternsAndBitFlipsMatchReference) {
    for (uint8_t fill : {0x00, 0xFF, 0x80, 0x01, 0x5A}) {
        for (size_t n : {64, 129, 256, 1024, 4099, 100000}) {
            const std::vector<uint8_t> v(n, fill);
            for (uint32_t init : {0u, 0xFFFFFFFFu, 0x80000001u})
                ASSERT_EQ(run(init, v.data(), n), crc32_reference(init, v.data(), n)) << int{fill} << "/" << n;
        }
    }
    auto data = random_bytes(2048, 61);
    const uint32_t base = run(0xFFFFFFFFu, data.data(), data.size());
    for (size_t bit = 0; bit < data.size() * 8; bit += 7) {
        data[bit / 8] ^= static_cast<uint8_t>(1u << (bit % 8));
        const uint32_t got = run(0xFFFFFFFFu, data.data(), data.size());
        ASSERT_NE(got, base) << "bit " << bit;
        ASSERT_EQ(got, crc32_reference(0xFFFFFFFFu, data.data(), data.size())) << "bit " << bit;
        data[bit / 8] ^= static_cast<uint8_t>(1u << (bit % 8));
    }
}

// Fed in pieces of any size, the register carries all the state.
TEST_P(Crc32PathTest, PiecewiseEqualsWhole) {
    const auto data = random_bytes(200000, 51);
    std::mt19937_64 rng(52);
    const uint32_t whole = crc32_reference(0xFFFFFFFFu, data.data(), data.size());
    for (int round = 0; round < 20; ++round) {
        uint32_t crc = 0xFFFFFFFFu;
        for (size_t pos = 0; pos < data.size();) {
            const size_t piece = std::min<size_t>(rng() % (round % 2 ? 600 : 70000), data.size() - pos);
            crc = run(crc, data.data() + pos, piece);
            pos += piece;
        }
        ASSERT_EQ(crc, whole) << "round " << round;
    }
}

// The system's cksum over a file large enough to run every loop many times.
TEST_P(Crc32PathTest, AgreesWithSystemCksum) {
    const auto data = random_bytes((3u << 20) + 77, 71);
    const char *tmpdir = std::getenv("TMPDIR");
    std::string path = std::string(tmpdir && *tmpdir ? tmpdir : "/tmp") + "/crc32_engine_test_XXXXXX";
    const int fd = mkstemp(path.data());
    ASSERT_GE(fd, 0);
    FILE *f = fdopen(fd, "wb");
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(std::fwrite(data.data(), 1, data.size(), f), data.size());
    std::fclose(f);
    FILE *pipe = popen(("cksum < '" + path + "' 2>/dev/null").c_str(), "r");
    unsigned long value = 0, length = 0;
    const int fields = pipe ? std::fscanf(pipe, "%lu %lu", &value, &length) : 0;
    const int status = pipe ? pclose(pipe) : -1;
    std::remove(path.c_str());
    if (fields != 2 || status != 0) GTEST_SKIP() << "cksum is not available";
    EXPECT_EQ(length, data.size());
    EXPECT_EQ(cksum_value(GetParam(), data.data(), data.size()), value);
}

INSTANTIATE_TEST_SUITE_P(AllPaths, Crc32PathTest, ::testing::ValuesIn(kAllPaths), [](const auto &info) {
    std::string name = bsp::crc::crc32_path_name(info.param);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

// ---------------------------------------------------------------------------- dispatch

// The portable paths always run; the wide path falls back on the 128-bit code for short
// inputs, so never comes without it; the active path is the fastest available; forcing a
// path runs its own function, or the portable slicing code when the CPU lacks it.
TEST(Crc32Dispatch, PathChoice) {
    using namespace bsp::crc;
    EXPECT_TRUE(crc32_path_available(Crc32Path::Reference));
    EXPECT_TRUE(crc32_path_available(Crc32Path::Slicing));
    EXPECT_TRUE(!crc32_path_available(Crc32Path::ClmulWide) || crc32_path_available(Crc32Path::Clmul));
    Crc32Path fastest = crc32_path_available(Crc32Path::ClmulWide) ? Crc32Path::ClmulWide
                        : crc32_path_available(Crc32Path::Clmul)   ? Crc32Path::Clmul
                                                                   : Crc32Path::Slicing;
    EXPECT_EQ(crc32_active_path(), fastest);
    const Crc32Fn own[] = {&crc32_reference, &crc32_slicing, &crc32_clmul, &crc32_clmul_wide};
    for (size_t i = 0; i < std::size(kAllPaths); ++i) {
        EXPECT_EQ(crc32_path_function(kAllPaths[i]), crc32_path_available(kAllPaths[i]) ? own[i] : &crc32_slicing)
            << crc32_path_name(kAllPaths[i]);
        for (size_t j = i + 1; j < std::size(kAllPaths); ++j)
            EXPECT_STRNE(crc32_path_name(kAllPaths[i]), crc32_path_name(kAllPaths[j]));
    }
}

// crc32_update and every forced path, including ones the CPU lacks, agree with the reference.
TEST(Crc32Dispatch, UpdateAndForcedPathsMatchReference) {
    const auto data = random_bytes(1u << 20, 81);
    std::mt19937_64 rng(82);
    for (int i = 0; i < 50; ++i) {
        const size_t n = rng() % (data.size() + 1);
        const uint8_t *p = data.data() + rng() % (data.size() - n + 1);
        const auto init = static_cast<uint32_t>(rng());
        const uint32_t want = crc32_reference(init, p, n);
        ASSERT_EQ(bsp::crc::crc32_update(init, p, n), want) << "length " << n;
        for (Crc32Path path : kAllPaths)
            ASSERT_EQ(bsp::crc::crc32_update_with(path, init, p, n), want)
                << bsp::crc::crc32_path_name(path) << " length " << n;
    }
}

}  // namespace
