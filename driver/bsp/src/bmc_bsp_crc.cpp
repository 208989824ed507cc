// CRCs, the 8-bit checksum, the bit counter and the parity check.
//
// All CRCs are MSB-first (non-reflected). The four exported tables stay zero until their
// first use fills them, each exactly once. The two CRC-32 functions compute with the fastest
// engine the CPU offers; every engine gives what the table definition gives, byte for byte.
#include <glib.h>
#include <unistd.h>

#include <array>
#include <cstddef>

#include "bmc_bsp.h"
#include "core/crc32_engine.h"
#include "core/log.h"
#include "core/status.h"

uint8_t g_CRC8Table[256];
uint16_t g_crcTab16[256];
uint32_t g_crc32Lut[256];
uint32_t g_CRC32HTable[256];

namespace {

constexpr uint32_t kFileChunk = 0x10000;

// A function-local static runs its initialiser exactly once, whichever thread comes first.
void ensure_crc8_table()
{
    static const bool built = (make_crc8_table(), true);
    (void)built;
}

void ensure_crc16_table()
{
    static const bool built = (make_crc16_table(), true);
    (void)built;
}

void ensure_crc32_lut()
{
    static const bool built = (make_crc32_table(g_crc32Lut, 256), true);
    (void)built;
}

void ensure_crc32_file_table()
{
    static const bool built = (make_crc32_table(g_CRC32HTable, 256), true);
    (void)built;
}

}  // namespace

extern "C" {

void make_crc32_table(uint32_t *table, uint32_t count)
{
    if (table == nullptr) return;
    for (uint32_t i = 0; i < count && i < 256; ++i) {
        uint32_t crc = i << 24;
        for (int k = 0; k < 8; ++k) crc = (crc & 0x80000000u) ? (crc << 1) ^ bsp::crc::kCrc32Poly : crc << 1;
        table[i] = crc;
    }
}

void make_crc16_table(void)
{
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t crc = i << 8;
        for (int k = 0; k < 8; ++k) crc = ((crc & 0x8000u) ? (crc << 1) ^ 0x1021u : crc << 1) & 0xFFFFu;
        g_crcTab16[i] = static_cast<uint16_t>(crc);
    }
}

void make_crc8_table(void)
{
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t crc = i;
        for (int k = 0; k < 8; ++k) crc = ((crc & 0x80u) ? (crc << 1) ^ 0x07u : crc << 1) & 0xFFu;
        g_CRC8Table[i] = static_cast<uint8_t>(crc);
    }
}

uint8_t BSP_CalCrc8(uint8_t init, const uint8_t *data, uint32_t len)
{
    ensure_crc8_table();
    if (data == nullptr || len == 0) return init;
    uint8_t crc = init;
    for (uint32_t i = 0; i < len; ++i) crc = g_CRC8Table[data[i] ^ crc];
    return crc;
}

uint16_t BSP_CalCrc16(uint16_t init, const uint8_t *data, uint32_t len)
{
    if (data == nullptr) return init;
    ensure_crc16_table();
    uint16_t crc = init;
    for (uint32_t i = 0; i < len; ++i) {
        crc = static_cast<uint16_t>(g_crcTab16[(data[i] ^ (crc >> 8)) & 0xFF] ^ ((crc & 0xFF) << 8));
    }
    return crc;
}

uint32_t BSP_CalcCrc32(const uint8_t *data, uint32_t len, uint32_t init, int8_t useAllOnesInit, int8_t invertResult)
{
    ensure_crc32_lut();
    if (len == 0 || data == nullptr) return bsp::kErr;
    uint32_t crc = bsp::crc::crc32_update(useAllOnesInit ? 0xFFFFFFFFu : init, data, len);
    return invertResult ? ~crc : crc;
}

uint32_t BSP_CalcFileCrc32(int fd, uint32_t offset, uint32_t len)
{
    ensure_crc32_file_table();
    if (lseek(fd, static_cast<off_t>(offset), SEEK_SET) < 0) {
        BSP_LOG(bsp::kLogError, "Error: seek file offset %d failed.", static_cast<int32_t>(offset));
        return bsp::kErr;
    }
    auto *buf = static_cast<uint8_t *>(g_try_malloc0(kFileChunk));
    if (buf == nullptr) {
        BSP_LOG(bsp::kLogError, "Error: alloc failed.");
        return bsp::kErr;
    }
    if (len == 0) {
        g_free(buf);
        return bsp::kErr;
    }
    uint32_t crc = 0;
    uint32_t remaining = len;
    while (remaining > 0) {
        // The buffer is not cleared between chunks: a complete read overwrites every byte that
        // is fed, and an incomplete one ends the computation.
        uint32_t want = remaining < kFileChunk ? remaining : kFileChunk;
        ssize_t got = read(fd, buf, want);
        if (got != static_cast<ssize_t>(want)) {
            BSP_LOG(bsp::kLogError, "Read image error, iRdLen: %d, expect len: %d", static_cast<int32_t>(got),
                    static_cast<int32_t>(want));
            g_free(buf);
            return bsp::kErr;
        }
        crc = bsp::crc::crc32_update(crc, buf, want);
        remaining -= want;
    }
    for (uint32_t n = len; n != 0; n >>= 8) {
        auto byte = static_cast<uint8_t>(n & 0xFF);
        crc = bsp::crc::crc32_update(crc, &byte, 1);
    }
    g_free(buf);
    return ~crc;
}

uint8_t BSP_CheckSum8(const uint8_t *data, uint32_t len)
{
    uint8_t sum = 0;
    // A null `data` sums as empty, as the CRCs treat it.
    if (data == nullptr) return 0;
    for (uint32_t i = 0; i < len; ++i) sum = static_cast<uint8_t>(sum + data[i]);
    return static_cast<uint8_t>(0u - sum);
}

uint8_t BSP_CntBitNum(uint32_t value)
{
    uint8_t n = 0;
    for (; value != 0; value &= value - 1) ++n;
    return n;
}

int32_t BSP_PrivCheck(uint8_t mode, uint32_t value, uint8_t bitCount)
{
    // Only the low bitCount bits count; the counter is 8 bits wide like the original check.
    auto ones = [&] {
        uint8_t n = 0;
        for (uint32_t i = 0; i < bitCount && i < 32; ++i) n = static_cast<uint8_t>(n + ((value >> i) & 1u));
        return n;
    };
    switch (mode) {
    case 0:  // even parity; no bits at all is even
        if (bitCount == 0) return bsp::kOkS;
        return (ones() & 1u) ? bsp::kErrS : bsp::kOkS;
    case 1:  // odd parity; no bits at all cannot be odd
        if (bitCount == 0) return bsp::kErrS;
        return (ones() & 1u) ? bsp::kOkS : bsp::kErrS;
    default:
        return bsp::kOkS;
    }
}

}  // extern "C"
