// CRCs, checksum, bit count and parity check. Results are held against published check
// values, against a bit-at-a-time CRC written here independently of the library's tables, and
// the file CRC against the system's cksum program.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "test_helpers.h"

namespace {

using bsptest::kErr;
using bsptest::kLogError;

auto by_name = [](const auto &info) { return std::string(info.param.name); };

const auto *const kCheck = reinterpret_cast<const uint8_t *>("123456789");

// MSB-first CRC of `width` bits, one bit at a time: no table, nothing shared with the library.
uint32_t bitwise_crc(unsigned width, uint32_t poly, uint32_t reg, const uint8_t *p, size_t n)
{
    const uint32_t top = 1u << (width - 1);
    const uint32_t mask = width == 32 ? 0xFFFFFFFFu : (1u << width) - 1;
    for (size_t i = 0; i < n; ++i) {
        reg ^= static_cast<uint32_t>(p[i]) << (width - 8);
        for (int k = 0; k < 8; ++k) reg = ((reg & top) ? (reg << 1) ^ poly : reg << 1) & mask;
    }
    return reg;
}

// Table entry i of that CRC: the register after shifting the byte i through it.
uint32_t bitwise_entry(unsigned width, uint32_t poly, uint32_t i)
{
    const auto byte = static_cast<uint8_t>(i);
    return bitwise_crc(width, poly, 0, &byte, 1);
}

std::vector<uint8_t> random_bytes(size_t n, uint32_t seed)
{
    std::mt19937 rng(seed);
    std::vector<uint8_t> v(n);
    for (auto &b : v) b = static_cast<uint8_t>(rng());
    return v;
}

// ------------------------------------------------------------------ check values

struct Known {
    const char *name;
    uint32_t (*compute)();
    uint32_t expected;
};

const Known kKnown[] = {
    {"crc8_smbus", [] { return uint32_t{BSP_CalCrc8(0, kCheck, 9)}; }, 0xF4},
    {"crc16_xmodem", [] { return uint32_t{BSP_CalCrc16(0, kCheck, 9)}; }, 0x31C3},
    {"crc16_ccitt_false", [] { return uint32_t{BSP_CalCrc16(0xFFFF, kCheck, 9)}; }, 0x29B1},
    {"crc32_bzip2", [] { return BSP_CalcCrc32(kCheck, 9, 0, 1, 1); }, 0xFC891918},
    {"crc32_mpeg2", [] { return BSP_CalcCrc32(kCheck, 9, 0, 1, 0); }, 0x0376E6E7},
    // init 0, complemented: the CRC that cksum computes, before it feeds the length.
    {"crc32_posix", [] { return BSP_CalcCrc32(kCheck, 9, 0, 0, 1); }, 0x765E7680},
    {"crc32_init0_raw", [] { return BSP_CalcCrc32(kCheck, 9, 0, 0, 0); }, 0x89A1897F},
    // The all-ones flag wins over the caller's init.
    {"crc32_all_ones_ignores_init", [] { return BSP_CalcCrc32(kCheck, 9, 0x12345678, 1, 1); }, 0xFC891918},
    {"crc32_explicit_all_ones_init", [] { return BSP_CalcCrc32(kCheck, 9, 0xFFFFFFFF, 0, 0); }, 0x0376E6E7},
    // Nothing to compute: the inputs come back, or the failure value for CRC-32.
    {"crc8_null_data", [] { return uint32_t{BSP_CalCrc8(0x5A, nullptr, 4)}; }, 0x5A},
    {"crc8_zero_len", [] { return uint32_t{BSP_CalCrc8(0x5A, kCheck, 0)}; }, 0x5A},
    {"crc16_null_data", [] { return uint32_t{BSP_CalCrc16(0x1234, nullptr, 9)}; }, 0x1234},
    {"crc16_zero_len", [] { return uint32_t{BSP_CalCrc16(0x1234, kCheck, 0)}; }, 0x1234},
    {"crc32_null_data", [] { return BSP_CalcCrc32(nullptr, 9, 0, 0, 0); }, kErr},
    {"crc32_zero_len_plain", [] { return BSP_CalcCrc32(kCheck, 0, 0, 0, 0); }, kErr},
    {"crc32_zero_len_all_ones", [] { return BSP_CalcCrc32(kCheck, 0, 0, 1, 0); }, kErr},
    {"crc32_zero_len_inverted", [] { return BSP_CalcCrc32(kCheck, 0, 0, 0, 1); }, kErr},
    {"crc32_zero_len_both", [] { return BSP_CalcCrc32(kCheck, 0, 0x1234, 1, 1); }, kErr},
};

class CrcKnownValue : public ::testing::TestWithParam<Known> {};

TEST_P(CrcKnownValue, Matches)
{
    EXPECT_EQ(bsptest::hex(GetParam().compute()), bsptest::hex(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(Crc, CrcKnownValue, ::testing::ValuesIn(kKnown), by_name);

// Random data and random starting registers against the bitwise CRC; the data is split so that
// chaining (the previous result as init) is exercised too.
TEST(Crc, RandomDataMatchesBitwiseAndChains)
{
    std::mt19937 rng(7);
    for (size_t n : {1u, 2u, 15u, 16u, 17u, 255u, 1000u, 4099u}) {
        auto data = random_bytes(n, static_cast<uint32_t>(n));
        const size_t cut = n / 3;
        SCOPED_TRACE("length " + std::to_string(n));

        auto init8 = static_cast<uint8_t>(rng());
        uint8_t c8 = BSP_CalCrc8(BSP_CalCrc8(init8, data.data(), cut), data.data() + cut, n - cut);
        EXPECT_EQ(c8, bitwise_crc(8, 0x07, init8, data.data(), n));

        auto init16 = static_cast<uint16_t>(rng());
        uint16_t c16 = BSP_CalCrc16(BSP_CalCrc16(init16, data.data(), cut), data.data() + cut, n - cut);
        EXPECT_EQ(c16, bitwise_crc(16, 0x1021, init16, data.data(), n));

        uint32_t init32 = rng();
        uint32_t head = cut ? BSP_CalcCrc32(data.data(), cut, init32, 0, 0) : init32;
        EXPECT_EQ(BSP_CalcCrc32(data.data() + cut, n - cut, head, 0, 0),
                  bitwise_crc(32, 0x04C11DB7, init32, data.data(), n));
        EXPECT_EQ(BSP_CalcCrc32(data.data(), n, init32, 1, 1),
                  ~bitwise_crc(32, 0x04C11DB7, 0xFFFFFFFF, data.data(), n));
    }
}

// ------------------------------------------------------------------ lookup tables

template <typename T, size_t N>
bool all_zero(const T (&table)[N])
{
    for (T v : table) {
        if (v != 0) return false;
    }
    return true;
}

// Filled with the bitwise CRC of each index, or still all zero.
template <typename T, size_t N>
void expect_table(const T (&table)[N], bool filled, unsigned width, uint32_t poly, const char *name)
{
    for (uint32_t i = 0; i < N; ++i) {
        ASSERT_EQ(table[i], filled ? bitwise_entry(width, poly, i) : 0) << name << "[" << i << "]";
    }
}

// Which table a first use fills. Every table stays zero until its own function needs it.
struct FirstUse {
    const char *name;
    void (*use)();
    bool crc8, crc16, lut, file;
};

const FirstUse kFirstUses[] = {
    {"crc8_with_data", [] { BSP_CalCrc8(0, kCheck, 9); }, true, false, false, false},
    // CRC-8 builds its table before it looks at its arguments ...
    {"crc8_null_data", [] { BSP_CalCrc8(0x5A, nullptr, 4); }, true, false, false, false},
    // ... CRC-16 returns on a null pointer before the table is touched, but not on length 0.
    {"crc16_null_data", [] { BSP_CalCrc16(0x5A, nullptr, 4); }, false, false, false, false},
    {"crc16_zero_len", [] { BSP_CalCrc16(0x5A, kCheck, 0); }, false, true, false, false},
    {"crc32_null_data", [] { BSP_CalcCrc32(nullptr, 4, 0, 1, 1); }, false, false, true, false},
    // The file CRC has its own copy of the CRC-32 table, built even when the seek fails.
    {"file_crc_bad_fd", [] { BSP_CalcFileCrc32(-1, 0, 9); }, false, false, false, true},
    {"checksum_and_parity", [] {
         BSP_CheckSum8(kCheck, 9);
         BSP_PrivCheck(0, 0x81, 8);
         BSP_CntBitNum(7);
     }, false, false, false, false},
    {"table_builders", [] {
         make_crc8_table();
         make_crc16_table();
     }, true, true, false, false},
};

class CrcTables : public bsptest::SimTestWithParam<FirstUse> {};

TEST_P(CrcTables, FilledOnlyByTheirOwnFirstUse)
{
    ASSERT_TRUE(all_zero(g_CRC8Table) && all_zero(g_crcTab16) && all_zero(g_crc32Lut) && all_zero(g_CRC32HTable));
    const FirstUse &u = GetParam();
    u.use();
    expect_table(g_CRC8Table, u.crc8, 8, 0x07, "g_CRC8Table");
    expect_table(g_crcTab16, u.crc16, 16, 0x1021, "g_crcTab16");
    expect_table(g_crc32Lut, u.lut, 32, 0x04C11DB7, "g_crc32Lut");
    expect_table(g_CRC32HTable, u.file, 32, 0x04C11DB7, "g_CRC32HTable");
}

INSTANTIATE_TEST_SUITE_P(Crc, CrcTables, ::testing::ValuesIn(kFirstUses), by_name);

// make_crc32_table writes exactly min(count, 256) entries of the caller's table.
TEST(CrcTableBuilders, Crc32TableWritesOnlyCountEntries)
{
    constexpr uint32_t kSentinel = 0xA5A5A5A5;
    for (uint32_t count : {0u, 1u, 17u, 255u, 256u, 300u}) {
        std::vector<uint32_t> table(300, kSentinel);
        make_crc32_table(table.data(), count);
        for (uint32_t i = 0; i < table.size(); ++i) {
            uint32_t want = i < count && i < 256 ? bitwise_entry(32, 0x04C11DB7, i) : kSentinel;
            ASSERT_EQ(table[i], want) << "count " << count << ", entry " << i;
        }
    }
}

// ------------------------------------------------------------------ checksum, bits, parity

TEST(CheckSum8, SumsToZeroWithTheData)
{
    const uint8_t one_two_three[] = {0x01, 0x02, 0x03};
    const uint8_t wraps[] = {0xFF, 0xFF};
    const uint8_t zero_sum[] = {0x80, 0x80};
    EXPECT_EQ(BSP_CheckSum8(one_two_three, 3), 0xFA);
    EXPECT_EQ(BSP_CheckSum8(wraps, 2), 0x02);
    EXPECT_EQ(BSP_CheckSum8(zero_sum, 2), 0x00);
    EXPECT_EQ(BSP_CheckSum8(one_two_three, 0), 0x00);
    for (size_t n : {1u, 7u, 256u, 1001u}) {
        auto data = random_bytes(n, static_cast<uint32_t>(n) + 99);
        unsigned sum = BSP_CheckSum8(data.data(), static_cast<uint32_t>(n));
        for (uint8_t b : data) sum += b;
        EXPECT_EQ(sum % 256, 0u) << "length " << n;
    }
}

TEST(CntBitNum, CountsAllThirtyTwoBits)
{
    std::mt19937 rng(3);
    for (uint32_t v : {0u, 0x80000001u, 0xFFFFFFFFu}) EXPECT_EQ(BSP_CntBitNum(v), std::popcount(v)) << v;
    for (int i = 0; i < 1000; ++i) {
        uint32_t v = rng();
        ASSERT_EQ(BSP_CntBitNum(v), std::popcount(v)) << bsptest::hex(v);
    }
}

struct Parity {
    uint8_t mode;
    uint32_t value;
    uint8_t bits;
    int32_t expected;
};

TEST(PrivCheck, ModesAndBitCounts)
{
    const Parity cases[] = {
        {0, 0x81, 8, 0}, {0, 0x80, 8, -1}, {1, 0x80, 8, 0}, {1, 0x81, 8, -1},
        // No bits at all: even mode accepts, odd mode rejects, whatever the value.
        {0, 0xFFFFFFFF, 0, 0}, {0, 0x1, 0, 0}, {1, 0x0, 0, -1}, {1, 0x1, 0, -1},
        // Only the low bitCount bits count.
        {0, 0x180, 8, -1}, {0, 0x180, 9, 0}, {1, 0x7, 2, -1}, {1, 0x7, 3, 0}, {0, 0xFFFFFFFF, 31, -1},
        {0, 0xFFFFFFFF, 32, 0},
        // Any other mode accepts.
        {2, 0x80, 8, 0}, {2, 0x81, 0, 0}, {0xFF, 0x1, 1, 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(BSP_PrivCheck(c.mode, c.value, c.bits), c.expected)
            << "mode " << int{c.mode} << ", value " << bsptest::hex(c.value) << ", bits " << int{c.bits};
    }
    std::mt19937 rng(11);
    for (int i = 0; i < 2000; ++i) {
        uint32_t v = rng();
        auto bits = static_cast<uint8_t>(1 + rng() % 32);
        uint32_t low = bits == 32 ? v : v & ((1u << bits) - 1);
        bool odd = std::popcount(low) % 2 == 1;
        ASSERT_EQ(BSP_PrivCheck(0, v, bits), odd ? -1 : 0) << bsptest::hex(v) << "/" << int{bits};
        ASSERT_EQ(BSP_PrivCheck(1, v, bits), odd ? 0 : -1) << bsptest::hex(v) << "/" << int{bits};
    }
}

// ------------------------------------------------------------------ file CRC

// The first number printed by a shell command (cksum prints "CRC SIZE").
uint32_t first_number_of(const std::string &command)
{
    FILE *p = popen(command.c_str(), "r");
    if (p == nullptr) {
        ADD_FAILURE() << "cannot run " << command;
        return 0;
    }
    unsigned long v = 0;
    int got = std::fscanf(p, "%lu", &v);
    int rc = pclose(p);
    EXPECT_EQ(got, 1) << command;
    EXPECT_EQ(rc, 0) << command;
    return static_cast<uint32_t>(v);
}

class FileCrc : public bsptest::SimTest {
protected:
    // A file in the board's directory (removed with the board), opened read-only.
    int open_file(const std::string &name, const std::string &bytes)
    {
        path_ = sim().dir() + "/" + name;
        bsptest::write_file(path_, bytes);
        int fd = ::open(path_.c_str(), O_RDONLY);
        EXPECT_GE(fd, 0) << path_;
        fds_.push_back(fd);
        return fd;
    }
    void TearDown() override
    {
        for (int fd : fds_) ::close(fd);
        SimTest::TearDown();
    }
    std::string path_;
    std::vector<int> fds_;
};

// The cksum value of the check string; an empty range is an error, not the CRC of nothing; the
// file position is left after the data.
TEST_F(FileCrc, CheckStringEmptyRangeAndPosition)
{
    int fd = open_file("check", "123456789");
    EXPECT_EQ(BSP_CalcFileCrc32(fd, 0, 9), 930766865u);
    EXPECT_EQ(first_number_of("cksum < '" + path_ + "'"), 930766865u);
    EXPECT_EQ(BSP_CalcFileCrc32(fd, 0, 0), kErr);
    EXPECT_EQ(BSP_CalcFileCrc32(fd, 5, 0), kErr);
    EXPECT_TRUE(debug_logs().empty());
    ASSERT_NE(BSP_CalcFileCrc32(fd, 2, 5), kErr);
    EXPECT_EQ(lseek(fd, 0, SEEK_CUR), 7);
}

class FileCrcVsCksum : public bsptest::SimTestWithParam<size_t> {};

// Whole files and windows of them, with sizes around the 64 KiB read chunk, against cksum.
TEST_P(FileCrcVsCksum, WholeFileAndWindows)
{
    const size_t size = GetParam();
    auto data = random_bytes(size, static_cast<uint32_t>(size));
    const std::string path = sim().dir() + "/random.bin";
    bsptest::write_file(path, std::string(data.begin(), data.end()));
    int fd = ::open(path.c_str(), O_RDONLY);
    ASSERT_GE(fd, 0);

    struct Window {
        size_t offset, len;
    };
    std::vector<Window> windows = {{0, size}, {size - 1, 1}};
    if (size > 1) windows.push_back({1, size - 1});
    if (size >= 3) windows.push_back({size / 3, size / 3 + 1});
    if (size > 65535) windows.push_back({65535, std::min<size_t>(65538, size - 65535)});
    if (size > 65536) windows.push_back({65536, size - 65536});

    for (const Window &w : windows) {
        SCOPED_TRACE("offset " + std::to_string(w.offset) + ", length " + std::to_string(w.len));
        uint32_t want = first_number_of("tail -c +" + std::to_string(w.offset + 1) + " '" + path + "' | head -c " +
                                        std::to_string(w.len) + " | cksum");
        EXPECT_EQ(BSP_CalcFileCrc32(fd, static_cast<uint32_t>(w.offset), static_cast<uint32_t>(w.len)), want);
    }
    ::close(fd);
    EXPECT_TRUE(debug_logs().empty());
}

INSTANTIATE_TEST_SUITE_P(Crc, FileCrcVsCksum,
                         ::testing::Values(1, 9, 4095, 65535, 65536, 65537, 3 * 65536 + 5, 1 << 20, (1 << 20) + 3),
                         [](const auto &info) { return "bytes_" + std::to_string(info.param); });

// A descriptor that cannot seek (the offset logged signed), or fewer bytes than asked (the line
// names what this chunk got and wanted): one error line, and the failure value.
TEST_F(FileCrc, SeekAndShortReadFailuresAreLogged)
{
    int pipe_fds[2];
    ASSERT_EQ(pipe(pipe_fds), 0);
    fds_.insert(fds_.end(), {pipe_fds[0], pipe_fds[1]});
    int five = open_file("five", "12345");
    int big = open_file("big", std::string(65536 + 100, 'z'));
    int dir = ::open(sim().dir().c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(dir, 0);
    fds_.push_back(dir);
    const struct {
        int fd;
        uint32_t offset, len;
        std::string text;
    } cases[] = {
        {-1, 17, 9, "Error: seek file offset 17 failed."},
        {1000, 0, 9, "Error: seek file offset 0 failed."},  // not open
        {pipe_fds[0], 4, 9, "Error: seek file offset 4 failed."},
        {-1, 0xFFFFFFF0, 9, "Error: seek file offset -16 failed."},
        {-1, 3, 0, "Error: seek file offset 3 failed."},  // the seek comes before the length check
        {five, 0, 9, "Read image error, iRdLen: 5, expect len: 9"},
        {five, 3, 3, "Read image error, iRdLen: 2, expect len: 3"},
        {five, 100, 4, "Read image error, iRdLen: 0, expect len: 4"},
        {big, 0, 2 * 65536, "Read image error, iRdLen: 100, expect len: 65536"},
        {big, 50, 65536 + 51, "Read image error, iRdLen: 50, expect len: 51"},
        {dir, 0, 9, "Read image error, iRdLen: -1, expect len: 9"},  // read() itself fails
    };
    for (const auto &c : cases) {
        sim().clear_logs();
        EXPECT_EQ(BSP_CalcFileCrc32(c.fd, c.offset, c.len), kErr) << c.text;
        auto logs = debug_logs();
        ASSERT_EQ(logs.size(), 1u) << c.text;
        EXPECT_EQ(logs[0].text, c.text);
        EXPECT_EQ(logs[0].level, kLogError);
        EXPECT_EQ(logs[0].file, "bmc_bsp_crc.cpp");
    }
}

}  // namespace
