// CRCs, checksum, bit count and parity check. Results are held against published check values
// and against a bit-at-a-time CRC written here independently of the library's tables (for the
// file CRC, in the form the system's cksum prints).
#include <fcntl.h>
#include <unistd.h>

#include <bit>
#include <random>

#include "test_helpers.h"

namespace {

using bsptest::hex, bsptest::kErr, bsptest::PrintTo;

const auto *const kCheck = reinterpret_cast<const uint8_t *>("123456789");

// MSB-first CRC of `width` bits, one bit at a time: no table, nothing shared with the library.
uint32_t bitwise_crc(unsigned width, uint32_t poly, uint32_t reg, const uint8_t *p, size_t n)
{
    const uint32_t top = 1u << (width - 1), mask = width == 32 ? 0xFFFFFFFFu : (1u << width) - 1;
    for (size_t i = 0; i < n; ++i) {
        reg ^= static_cast<uint32_t>(p[i]) << (width - 8);
        for (int k = 0; k < 8; ++k) reg = ((reg & top) ? (reg << 1) ^ poly : reg << 1) & mask;
    }
    return reg;
}

// The CRC of the one byte `i` from a zero register: entry i of the library's tables.
uint32_t byte_crc(unsigned width, uint32_t poly, uint32_t i)
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

// Published check values of the CRCs; CRC-32 with init 0 and complemented is what cksum
// computes before it feeds the length. The all-ones flag wins over the caller's init. With
// nothing to compute the inputs come back, or the failure value for CRC-32.
TEST(Crc, CheckValuesAndEmptyInputs)
{
    EXPECT_EQ(BSP_CalCrc8(0, kCheck, 9), 0xF4);
    EXPECT_EQ(BSP_CalCrc16(0, kCheck, 9), 0x31C3);
    EXPECT_EQ(BSP_CalCrc16(0xFFFF, kCheck, 9), 0x29B1);
    // The previous result as init chains.
    EXPECT_EQ(BSP_CalCrc8(BSP_CalCrc8(0, kCheck, 4), kCheck + 4, 5) << 16 | BSP_CalCrc16(BSP_CalCrc16(0, kCheck, 4), kCheck + 4, 5), 0xF431C3);
    std::string crc32;
    for (auto [init, all_ones, complement] : {std::tuple{0u, 1, 1}, {0u, 1, 0}, {0u, 0, 1}, {0u, 0, 0}, {0x12345678u, 1, 1},
                                              {0xFFFFFFFFu, 0, 0}})
        crc32 += " " + hex(BSP_CalcCrc32(kCheck, 9, init, all_ones, complement));
    EXPECT_EQ(crc32, " 0xFC891918 0x376E6E7 0x765E7680 0x89A1897F 0xFC891918 0x376E6E7");
    EXPECT_EQ(BSP_CalCrc8(0x5A, nullptr, 4) + BSP_CalCrc8(0x5A, kCheck, 0), 2 * 0x5A);
    EXPECT_EQ(BSP_CalCrc16(0x1234, nullptr, 9) + BSP_CalCrc16(0x1234, kCheck, 0), 2 * 0x1234);
    EXPECT_EQ(BSP_CalcCrc32(nullptr, 9, 0, 0, 0), kErr);
    for (int flags = 0; flags < 4; ++flags) EXPECT_EQ(BSP_CalcCrc32(kCheck, 0, 0x1234, flags & 1, flags >> 1), kErr);
}

// Which exported table a first use fills (with the bitwise CRC of each index); the others stay
// zero until their own function needs them.
// `filled`: which of g_CRC8Table, g_crcTab16, g_crc32Lut, g_CRC32HTable.
struct FirstUse { const char *name; void (*use)(); const char *filled; };

const FirstUse kFirstUses[] = {
    // CRC-8 builds its table before it looks at its arguments; CRC-16 returns on a null
    // pointer before the table is touched, but not on length 0.
    {.name = "crc8_null_data", .use = [] { BSP_CalCrc8(0x5A, nullptr, 4); }, .filled = "8"},
    {.name = "crc16_null_data", .use = [] { BSP_CalCrc16(0x5A, nullptr, 4); }, .filled = ""},
    {.name = "crc16_zero_len", .use = [] { BSP_CalCrc16(0x5A, kCheck, 0); }, .filled = "16"},
    {.name = "crc32_null_data", .use = [] { BSP_CalcCrc32(nullptr, 4, 0, 1, 1); }, .filled = "lut"},
    // The file CRC has its own copy of the CRC-32 table, built even when the seek fails.
    {.name = "file_crc_bad_fd", .use = [] { BSP_CalcFileCrc32(-1, 0, 9); }, .filled = "file"},
    {.name = "checksum_and_parity", .use = [] { (void)(BSP_CheckSum8(kCheck, 9) + BSP_PrivCheck(0, 0x81, 8) + BSP_CntBitNum(7)); },
     .filled = ""},
    {.name = "table_builders", .use = [] { make_crc8_table(); make_crc16_table(); }, .filled = "8 16"},
};

template <typename T, size_t N>
std::string table_state(const T (&table)[N], const char *name, unsigned width, uint32_t poly)
{
    size_t zero = 0, right = 0;
    for (uint32_t i = 0; i < N; ++i) {
        zero += table[i] == 0;
        right += table[i] == byte_crc(width, poly, i);
    }
    return zero == N ? "" : right == N ? std::string(" ") + name : std::string(" wrong ") + name;
}

using CrcTables = bsptest::SimTestWithParam<FirstUse>;

TEST_P(CrcTables, FilledOnlyByTheirOwnFirstUse)
{
    GetParam().use();
    std::string filled = table_state(g_CRC8Table, "8", 8, 0x07) + table_state(g_crcTab16, "16", 16, 0x1021) +
                         table_state(g_crc32Lut, "lut", 32, 0x04C11DB7) + table_state(g_CRC32HTable, "file", 32, 0x04C11DB7);
    EXPECT_EQ(filled, *GetParam().filled ? std::string(" ") + GetParam().filled : "");
}

BSP_CASES(Crc, CrcTables, kFirstUses);

// make_crc32_table writes exactly min(count, 256) entries of the caller's table.
TEST(Crc, Crc32TableWritesOnlyCountEntries)
{
    for (uint32_t count : {0u, 1u, 17u, 255u, 256u, 300u}) {
        uint32_t table[300];
        std::fill(std::begin(table), std::end(table), 0xA5A5A5A5);
        make_crc32_table(table, count);
        for (uint32_t i = 0; i < 300; ++i)
            ASSERT_EQ(table[i], i < count && i < 256 ? byte_crc(32, 0x04C11DB7, i) : 0xA5A5A5A5) << count << ", entry " << i;
    }
}

// The checksum makes the data sum to 0; every one of the 32 bits is counted; parity of the low
// `bits` bits: even mode accepts no bits at all, odd mode rejects them; any other mode accepts.
TEST(Crc, ChecksumBitCountAndParity)
{
    const uint8_t bytes[] = {0x01, 0x02, 0x03, 0xFF, 0xFF};
    EXPECT_EQ(hex(BSP_CheckSum8(bytes, 3) << 16 | BSP_CheckSum8(bytes + 3, 2) << 8 | BSP_CheckSum8(bytes, 0)), "0xFA0200");
    std::mt19937 rng(11);
    std::string parity;
    for (auto [mode, value, bits] : {std::tuple{0, 0x81u, 8}, {0, 0x80u, 8}, {1, 0x80u, 8}, {1, 0x81u, 8},
                                     {0, 0xFFFFFFFFu, 0}, {1, 0u, 0}, {1, 1u, 0}, {0, 0x180u, 8}, {0, 0x180u, 9},
                                     {1, 7u, 2}, {1, 7u, 3}, {0, 0xFFFFFFFFu, 31}, {0, 0xFFFFFFFFu, 32},
                                     {2, 0x80u, 8}, {2, 0x81u, 0}, {0xFF, 1u, 1}})
        parity += BSP_PrivCheck(static_cast<uint8_t>(mode), value, static_cast<uint8_t>(bits)) ? "-" : "+";
    EXPECT_EQ(parity, "+-+-" "+--" "-+" "-+" "-+" "+++");
    for (int i = 0; i < 2000; ++i) {
        uint32_t v = rng();
        auto bits = static_cast<uint8_t>(1 + rng() % 32);
        bool odd = std::popcount(bits == 32 ? v : v & ((1u << bits) - 1)) % 2 == 1;
        ASSERT_EQ(BSP_CntBitNum(v), std::popcount(v)) << hex(v);
        ASSERT_EQ(BSP_PrivCheck(0, v, bits) == 0, !odd) << hex(v) << "/" << int{bits};
        ASSERT_EQ(BSP_PrivCheck(1, v, bits) == 0, odd) << hex(v) << "/" << int{bits};
    }
}

// What the system's cksum prints first: the CRC-32 of the data and then of its length (low byte
// first, no leading zeros), complemented.
uint32_t cksum(const uint8_t *p, size_t n)
{
    uint32_t crc = bitwise_crc(32, 0x04C11DB7, 0, p, n);
    for (size_t len = n; len != 0; len >>= 8) {
        const auto byte = static_cast<uint8_t>(len);
        crc = bitwise_crc(32, 0x04C11DB7, crc, &byte, 1);
    }
    return ~crc;
}

class FileCrc : public bsptest::SimTest {
protected:
    // A file in the board's directory (removed with the board), opened read-only.
    int open_file(const std::string &name, const std::string &bytes)
    {
        bsptest::write_file(sim().dir() + "/" + name, bytes);
        fds_.push_back(::open((sim().dir() + "/" + name).c_str(), O_RDONLY));
        return fds_.back();
    }
    void TearDown() override
    {
        for (int fd : fds_) ::close(fd);
        SimTest::TearDown();
    }
    std::vector<int> fds_;
};

// Whole files and windows of them, with sizes around the 64 KiB read chunk, as cksum has them; the
// file position is left after the data.
TEST_F(FileCrc, WholeFilesAndWindowsAgreeWithCksum)
{
    for (size_t size : {9u, 65535u, 65536u, 65537u, 3 * 65536u + 5, (1u << 20) + 3}) {
        auto data = random_bytes(size, static_cast<uint32_t>(size));
        int fd = open_file("f" + std::to_string(size), std::string(data.begin(), data.end()));
        std::vector<std::pair<size_t, size_t>> windows = {{0, size}, {size - 1, 1}, {1, size - 1}, {size / 3, size / 3 + 1}};
        if (size > 65536) windows.insert(windows.end(), {{65535, std::min<size_t>(65538, size - 65535)}, {65536, size - 65536}});
        for (auto [offset, len] : windows) {
            EXPECT_EQ(BSP_CalcFileCrc32(fd, static_cast<uint32_t>(offset), static_cast<uint32_t>(len)),
                      cksum(&data[offset], len))
                << size << " bytes, offset " << offset << ", length " << len;
            EXPECT_EQ(lseek(fd, 0, SEEK_CUR), static_cast<off_t>(offset + len));
        }
    }
    EXPECT_EQ(log_line(), "");
}

// A descriptor that cannot seek (the offset logged signed; the seek comes before the length
// check), an empty range, fewer bytes than a chunk asked for (the line names what this chunk got
// and wanted), or a failing read: the failure value, with one line or none.
TEST_F(FileCrc, FailuresAreLogged)
{
    int five = open_file("five", "12345"), big = open_file("big", std::string(65536 + 100, 'z'));
    fds_.push_back(::open(sim().dir().c_str(), O_RDONLY | O_DIRECTORY));
    const struct { int fd; uint32_t offset, len; std::string log; } cases[] = {
        {-1, 17, 9, "0:Error: seek file offset 17 failed."}, {-1, 3, 0, "0:Error: seek file offset 3 failed."},
        {-1, 0xFFFFFFF0, 9, "0:Error: seek file offset -16 failed."}, {five, 0, 0, ""}, {five, 5, 0, ""},
        {five, 3, 3, "0:Read image error, iRdLen: 2, expect len: 3"},
        {big, 0, 2 * 65536, "0:Read image error, iRdLen: 100, expect len: 65536"},
        {big, 50, 65536 + 51, "0:Read image error, iRdLen: 50, expect len: 51"},
        {fds_.back(), 0, 9, "0:Read image error, iRdLen: -1, expect len: 9"},
    };
    for (const auto &c : cases) {
        forget();
        EXPECT_EQ(BSP_CalcFileCrc32(c.fd, c.offset, c.len), kErr) << c.log;
        EXPECT_EQ(log_line(), c.log);
    }
}

}  // namespace
