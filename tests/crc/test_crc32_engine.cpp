// Tests for the CRC-32 engine.  Every implementation is compared with the
// byte-at-a-time reference over many lengths, alignments and initial
// registers, and the reference itself is pinned to published check values
// and to algebraic properties that do not depend on any implementation.

#include "core/crc32_engine.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
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
    for (auto &b : v)
        b = static_cast<uint8_t>(rng());
    return v;
}

const uint8_t *bytes(const char *s) { return reinterpret_cast<const uint8_t *>(s); }

// A copy of [p, p + n) in an allocation of exactly n bytes, so that the
// address sanitizer reports any read past the end of the input.
std::unique_ptr<uint8_t[]> exact_copy(const uint8_t *p, size_t n) {
    std::unique_ptr<uint8_t[]> c(new uint8_t[n]);
    if (n != 0)
        std::memcpy(c.get(), p, n);
    return c;
}

// ---------------------------------------------------------------------------
// Per-path tests.  Each one runs for every path; a path the CPU cannot run is
// skipped rather than silently replaced by another.

class Crc32PathTest : public ::testing::TestWithParam<Crc32Path> {
protected:
    void SetUp() override {
        if (!bsp::crc::crc32_path_available(GetParam()))
            GTEST_SKIP() << "CPU lacks the instructions for path "
                         << bsp::crc::crc32_path_name(GetParam());
    }

    uint32_t run(uint32_t crc, const uint8_t *p, size_t n) const {
        return bsp::crc::crc32_update_with(GetParam(), crc, p, n);
    }
};

struct KnownVector {
    const char *what;
    std::string_view data;
    uint32_t init;
    bool complement;
    uint32_t expected;
};

// Published check values of the MSB-first 0x04C11DB7 CRC family, plus values
// that follow directly from the table definition.
constexpr KnownVector kKnownVectors[] = {
    {"check, all-ones init, no complement", "123456789", 0xFFFFFFFFu, false, 0x0376E6E7u},
    {"check, all-ones init, complemented", "123456789", 0xFFFFFFFFu, true, 0xFC891918u},
    {"check, zero init, complemented", "123456789", 0x00000000u, true, 0x765E7680u},
    {"empty input leaves the register alone", "", 0x12345678u, false, 0x12345678u},
    {"a lone 0x01 byte yields the polynomial", "\x01", 0x00000000u, false, 0x04C11DB7u},
    {"zero bytes into a zero register stay zero", std::string_view("\0\0\0\0\0\0\0", 7), 0u,
     false, 0u},
};

TEST_P(Crc32PathTest, KnownVectors) {
    for (const auto &v : kKnownVectors) {
        SCOPED_TRACE(v.what);
        uint32_t crc = run(v.init, bytes(v.data.data()), v.data.size());
        if (v.complement)
            crc = ~crc;
        EXPECT_EQ(crc, v.expected);
    }
}

// The POSIX cksum value: the data, then its length least significant byte
// first (only as many bytes as it needs), then the complement.
uint32_t cksum_value(Crc32Path path, const uint8_t *p, size_t n) {
    uint32_t crc = bsp::crc::crc32_update_with(path, 0, p, n);
    for (uint64_t len = n; len != 0; len >>= 8) {
        const uint8_t b = static_cast<uint8_t>(len);
        crc = bsp::crc::crc32_update_with(path, crc, &b, 1);
    }
    return ~crc;
}

TEST_P(Crc32PathTest, PosixChecksumOfCheckString) {
    EXPECT_EQ(cksum_value(GetParam(), bytes("123456789"), 9), 930766865u);
}

// Appending the register, most significant byte first, to a message that
// started from a zero register drives the register back to zero.  This holds
// for any correct MSB-first CRC without reference to any table.
TEST_P(Crc32PathTest, AppendingTheCrcGivesZero) {
    const auto data = random_bytes(70000, 11);
    const size_t lengths[] = {0, 1, 5, 16, 63, 64, 100, 128, 255, 256, 1000, 4096, 65537};
    for (size_t n : lengths) {
        SCOPED_TRACE("length " + std::to_string(n));
        std::vector<uint8_t> msg(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(n));
        const uint32_t crc = run(0, msg.data(), msg.size());
        for (int shift = 24; shift >= 0; shift -= 8)
            msg.push_back(static_cast<uint8_t>(crc >> shift));
        EXPECT_EQ(run(0, msg.data(), msg.size()), 0u);
    }
}

// Every length from 0 to 300 covers the short-input cut-over, the single
// 16-byte folds, and entry into the 128- and 256-byte wide loops with every
// possible tail.  Each length is tried at all sixteen alignments.
TEST_P(Crc32PathTest, EveryShortLengthAndAlignmentMatchesReference) {
    const auto data = random_bytes(300 + 16, 21);
    std::mt19937 rng(22);
    for (size_t n = 0; n <= 300; ++n) {
        for (size_t offset = 0; offset < 16; ++offset) {
            const auto copy = exact_copy(data.data() + offset, n);
            const uint32_t init = rng();
            ASSERT_EQ(run(init, copy.get(), n), crc32_reference(init, copy.get(), n))
                << "length " << n << " offset " << offset << " init " << init;
        }
    }
}

// Lengths just around the multiples of every block and stride size the
// folding code uses, up to several strides of the widest loop.
TEST_P(Crc32PathTest, StrideBoundariesMatchReference) {
    const auto data = random_bytes(8192 + 17 + 64, 31);
    std::mt19937 rng(32);
    const size_t units[] = {16, 64, 128, 256, 512, 1024};
    for (size_t unit : units) {
        for (size_t k = 1; k * unit <= 8192; k *= 2) {
            for (size_t n = k * unit - std::min<size_t>(k * unit, 17); n <= k * unit + 17; ++n) {
                const size_t offset = rng() % 64;
                const auto copy = exact_copy(data.data() + offset, n);
                const uint32_t init = rng();
                ASSERT_EQ(run(init, copy.get(), n), crc32_reference(init, copy.get(), n))
                    << "length " << n << " offset " << offset << " init " << init;
            }
        }
    }
}

// Random lengths up to 4 MiB at random positions inside one buffer.
TEST_P(Crc32PathTest, RandomLengthsOffsetsAndInitsMatchReference) {
    constexpr size_t kMax = 4u << 20;
    const auto data = random_bytes(kMax + 4096, 41);
    std::mt19937_64 rng(42);
    for (int i = 0; i < 32; ++i) {
        // Mostly spread over the whole range, with some below 64 KiB.
        const size_t n = (i % 4 == 0) ? rng() % 65536 : rng() % kMax;
        const size_t offset = rng() % (data.size() - n + 1);
        const auto init = static_cast<uint32_t>(rng());
        const uint8_t *p = data.data() + offset;
        ASSERT_EQ(run(init, p, n), crc32_reference(init, p, n))
            << "length " << n << " offset " << offset << " init " << init;
    }
}

// Feeding a buffer in pieces must give the same register as feeding it in
// one call, whatever the piece sizes: the register carries all the state.
TEST_P(Crc32PathTest, PiecewiseEqualsWhole) {
    const auto data = random_bytes(200000, 51);
    std::mt19937_64 rng(52);
    const uint32_t init = 0xFFFFFFFFu;
    const uint32_t whole = crc32_reference(init, data.data(), data.size());
    for (int round = 0; round < 20; ++round) {
        uint32_t crc = init;
        size_t pos = 0;
        while (pos < data.size()) {
            const size_t max_piece = (round % 2) ? 600 : 70000;
            const size_t piece = std::min<size_t>(rng() % max_piece, data.size() - pos);
            crc = run(crc, data.data() + pos, piece);
            pos += piece;
        }
        ASSERT_EQ(crc, whole) << "round " << round;
    }
}

// Patterns that make lanes identical or all-ones, where mixing up lanes or
// halves of a lane would cancel out instead of showing.
TEST_P(Crc32PathTest, RepetitivePatternsMatchReference) {
    const uint8_t fills[] = {0x00, 0xFF, 0x80, 0x01, 0x5A};
    const size_t lengths[] = {64, 129, 256, 1024, 4099, 100000};
    for (uint8_t fill : fills) {
        for (size_t n : lengths) {
            const std::vector<uint8_t> v(n, fill);
            for (uint32_t init : {0u, 0xFFFFFFFFu, 0x80000001u}) {
                ASSERT_EQ(run(init, v.data(), n), crc32_reference(init, v.data(), n))
                    << "fill " << int(fill) << " length " << n << " init " << init;
            }
        }
    }
}

// Every path must see every bit: flipping any single bit of a 2 KiB message
// changes the result, and to the same value the reference gives.
TEST_P(Crc32PathTest, SingleBitFlipsMatchReference) {
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

// Compared with the system's cksum over a file large enough to run every
// loop many times: an independent implementation of the same CRC.
TEST_P(Crc32PathTest, AgreesWithSystemCksum) {
    const auto data = random_bytes((3u << 20) + 77, 71);
    const char *tmpdir = std::getenv("TMPDIR");
    std::string path = std::string(tmpdir && *tmpdir ? tmpdir : "/tmp");
    path += "/crc32_engine_test_XXXXXX";
    const int fd = mkstemp(path.data());
    ASSERT_GE(fd, 0);
    FILE *f = fdopen(fd, "wb");
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(std::fwrite(data.data(), 1, data.size(), f), data.size());
    std::fclose(f);
    const std::string cmd = std::string("cksum < '") + path + "' 2>/dev/null";
    FILE *pipe = popen(cmd.c_str(), "r");
    unsigned long value = 0, length = 0;
    const int fields = pipe ? std::fscanf(pipe, "%lu %lu", &value, &length) : 0;
    const int status = pipe ? pclose(pipe) : -1;
    std::remove(path.c_str());
    if (fields != 2 || status != 0)
        GTEST_SKIP() << "cksum is not available";
    EXPECT_EQ(length, data.size());
    EXPECT_EQ(cksum_value(GetParam(), data.data(), data.size()), value);
}

std::string path_test_name(const ::testing::TestParamInfo<Crc32Path> &info) {
    std::string name = bsp::crc::crc32_path_name(info.param);
    for (auto &c : name)
        if (c == '-')
            c = '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(AllPaths, Crc32PathTest, ::testing::ValuesIn(kAllPaths), path_test_name);

// ---------------------------------------------------------------------------
// Dispatch.

TEST(Crc32Dispatch, PortablePathsAreAlwaysAvailable) {
    EXPECT_TRUE(bsp::crc::crc32_path_available(Crc32Path::Reference));
    EXPECT_TRUE(bsp::crc::crc32_path_available(Crc32Path::Slicing));
}

// The wide path falls back on the 128-bit code for short inputs, so it must
// never be offered without it.
TEST(Crc32Dispatch, WidePathImpliesClmulPath) {
    if (!bsp::crc::crc32_path_available(Crc32Path::ClmulWide))
        GTEST_SKIP() << "CPU lacks the wide path";
    EXPECT_TRUE(bsp::crc::crc32_path_available(Crc32Path::Clmul));
}

TEST(Crc32Dispatch, ActivePathIsTheFastestAvailable) {
    Crc32Path expected = Crc32Path::Slicing;
    if (bsp::crc::crc32_path_available(Crc32Path::ClmulWide))
        expected = Crc32Path::ClmulWide;
    else if (bsp::crc::crc32_path_available(Crc32Path::Clmul))
        expected = Crc32Path::Clmul;
    EXPECT_EQ(bsp::crc::crc32_active_path(), expected);
}

struct PathFunction {
    Crc32Path path;
    bsp::crc::Crc32Fn fn;
};

const PathFunction kPathFunctions[] = {
    {Crc32Path::Reference, &bsp::crc::crc32_reference},
    {Crc32Path::Slicing, &bsp::crc::crc32_slicing},
    {Crc32Path::Clmul, &bsp::crc::crc32_clmul},
    {Crc32Path::ClmulWide, &bsp::crc::crc32_clmul_wide},
};

// Forcing a path runs that path's own function when the CPU has it, and the
// portable slicing code when it does not; never some other path.
TEST(Crc32Dispatch, ForcedPathRunsItsOwnFunction) {
    for (const auto &pf : kPathFunctions) {
        SCOPED_TRACE(bsp::crc::crc32_path_name(pf.path));
        if (bsp::crc::crc32_path_available(pf.path)) {
            EXPECT_EQ(bsp::crc::crc32_path_function(pf.path), pf.fn);
        } else {
            EXPECT_EQ(bsp::crc::crc32_path_function(pf.path), &bsp::crc::crc32_slicing);
        }
    }
}

TEST(Crc32Dispatch, PathNamesAreDistinct) {
    for (size_t i = 0; i < std::size(kAllPaths); ++i)
        for (size_t j = i + 1; j < std::size(kAllPaths); ++j)
            EXPECT_STRNE(bsp::crc::crc32_path_name(kAllPaths[i]),
                         bsp::crc::crc32_path_name(kAllPaths[j]));
}

// crc32_update and every forced path agree with the reference, including
// paths the CPU lacks, which fall back rather than fault.
TEST(Crc32Dispatch, UpdateAndForcedPathsMatchReference) {
    const auto data = random_bytes(1u << 20, 81);
    std::mt19937_64 rng(82);
    for (int i = 0; i < 50; ++i) {
        const size_t n = rng() % (data.size() + 1);
        const size_t offset = rng() % (data.size() - n + 1);
        const auto init = static_cast<uint32_t>(rng());
        const uint8_t *p = data.data() + offset;
        const uint32_t want = crc32_reference(init, p, n);
        ASSERT_EQ(bsp::crc::crc32_update(init, p, n), want) << "length " << n;
        for (Crc32Path path : kAllPaths)
            ASSERT_EQ(bsp::crc::crc32_update_with(path, init, p, n), want)
                << bsp::crc::crc32_path_name(path) << " length " << n;
    }
}

} // namespace
