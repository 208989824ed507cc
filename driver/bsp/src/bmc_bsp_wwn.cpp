// The enclosure's world wide name: kept in the CPLD RAM as a marked, checked record that every
// board of the enclosure reads, and converted to and from the enclosure's MAC address.
//   WWN bits 63-60 = 5, 59-12 = the MAC (first byte most significant), 11-8 = slot, 7-0 = 0x39.
#include <algorithm>
#include <array>
#include <cstdint>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/misc.h"
#include "platform/securec.h"
#include "platform/vos.h"

namespace {

using bsp::kErrS;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kOkS;

constexpr uint32_t kMacLen = 6;
constexpr uint32_t kWwnLen = 8;
constexpr uint64_t kWwnHead = 0x5000000000000000ull;
constexpr uint64_t kWwnTail = 0x39;
constexpr uint64_t kMacMask = 0xFFFFFFFFFFFFull;
constexpr uint32_t kMacShift = 12;
constexpr uint8_t kMaxSlot = 3;
// A slot outside 0..3 is written as slot 1 rather than refused.
constexpr uint8_t kFallbackSlot = 1;

// The record: marker, the WWN least significant byte first, check byte.
constexpr uint16_t kWwnRecordAddr = 0xD801;
constexpr uint32_t kRecordLen = 1 + kWwnLen + 1;
constexpr uint8_t kRecordMarker = 0x55;
using Record = std::array<uint8_t, kRecordLen>;

constexpr int kWriteAttempts = 3;
// The RAM is written and read back one byte at a time, this far apart.
constexpr uint32_t kByteSettleMs = 5;

uint8_t check_byte(const uint8_t *wwn) { return arith_make_crc_checksum(0, wwn, kWwnLen); }

}  // namespace

extern "C" {

int32_t BSP_MacToWWN(const uint8_t *mac, uint64_t *wwn)
{
    if (mac == nullptr || wwn == nullptr) return kErrS;
    uint8_t slot = 0xFF;
    if (int32_t rc = BSP_GetBoardSlot(&slot); rc != 0) {
        BSP_LOG(kLogError, "Get ctrl slot id err[%d]", rc);
        return kErrS;
    }
    uint64_t mac48 = 0;
    for (uint32_t i = 0; i < kMacLen; ++i) mac48 = mac48 << 8 | mac[i];
    if (slot > kMaxSlot) {
        BSP_LOG(kLogError, "Board slot id err,slot[%d]", slot);
        slot = kFallbackSlot;
    }
    *wwn = kWwnHead | mac48 << kMacShift | static_cast<uint64_t>(slot) << 8 | kWwnTail;
    return kOkS;
}

int32_t BSP_WWNToMac(uint64_t wwn, uint8_t *mac, uint32_t size)
{
    if (size > kMacLen) {
        BSP_LOG(kLogError, "Mac size (%d) is invalid.", size);
        return kErrS;
    }
    if (size == 0) return kOkS;
    if (mac == nullptr) return kErrS;
    uint64_t m = (wwn >> kMacShift) & kMacMask;
    for (uint32_t i = size; i-- > 0; m >>= 8) mac[i] = static_cast<uint8_t>(m);
    return kOkS;
}

int32_t BSP_GetWwnFromCpld(uint8_t *wwn)
{
    if (wwn == nullptr) return kErrS;
    Record r{};
    if (BSP_GetCpldRamBytes(kWwnRecordAddr, r.data(), kRecordLen) != 0) return kErrS;
    if (r[0] != kRecordMarker || check_byte(&r[1]) != r[kRecordLen - 1]) return kErrS;
    // Lenient by design: a failed copy is logged, the record itself was good.
    if (int rc = memcpy_s(wwn, kWwnLen, &r[1], kWwnLen); rc != 0) {
        BSP_LOG(kLogError, "Error: copy wwn failed, result = %d.", rc);
    }
    return kOkS;
}

int32_t BSP_GetFrameMac(uint8_t *mac, uint32_t size)
{
    if (mac == nullptr || size > kMacLen) return kErrS;
    std::array<uint8_t, kWwnLen> bytes{};
    if (BSP_GetWwnFromCpld(bytes.data()) != 0) {
        BSP_LOG(kLogError, "Get frame wwn failed.");
        return kErrS;
    }
    uint64_t wwn = 0;
    for (size_t i = kWwnLen; i-- > 0;) wwn = wwn << 8 | bytes[i];
    if (BSP_WWNToMac(wwn, mac, size) != 0) {
        BSP_LOG(kLogError, "Get frame mac from wwn failed.");
        return kErrS;
    }
    return kOkS;
}

int32_t BSP_SetWwn2CpldRam(const uint8_t *mac, uint32_t len)
{
    std::array<uint8_t, kMacLen> own{};
    if (int rc = memcpy_s(own.data(), own.size(), mac, std::min(len, kMacLen)); rc != 0) {
        BSP_LOG(kLogError, "Error: copy mac failed, result = %d.", rc);
    }
    uint64_t wwn = 0;
    if (int32_t rc = BSP_MacToWWN(own.data(), &wwn); rc != 0) return rc;
    Record record{};
    record[0] = kRecordMarker;
    for (uint32_t i = 0; i < kWwnLen; ++i) record[1 + i] = static_cast<uint8_t>(wwn >> (8 * i));
    record[kRecordLen - 1] = check_byte(&record[1]);
    std::array<uint8_t, kWwnLen> stored{};
    if (BSP_GetWwnFromCpld(stored.data()) == 0 && std::equal(stored.begin(), stored.end(), &record[1])) return kOkS;
    for (int attempt = 0; attempt < kWriteAttempts; ++attempt) {
        Record back{};
        for (uint32_t i = 0; i < kRecordLen; ++i) {
            BSP_SetCpldRam(static_cast<uint16_t>(kWwnRecordAddr + i), record[i]);
            vos_task_delay(kByteSettleMs);
        }
        for (uint32_t i = 0; i < kRecordLen; ++i) {
            BSP_GetCpldRam(static_cast<uint16_t>(kWwnRecordAddr + i), &back[i]);
            vos_task_delay(kByteSettleMs);
        }
        if (back == record) {
            BSP_RecordWwnLog(record.data(), kRecordLen, back.data(), kRecordLen);
            return kOkS;
        }
    }
    return kErrS;
}

void BSP_RecordWwnLog(const uint8_t *written, uint32_t wlen, const uint8_t *read, uint32_t rlen)
{
    if (written == nullptr || read == nullptr || wlen < kRecordLen || rlen < kRecordLen) return;
    const uint8_t *w = written;
    const uint8_t *r = read;
    BSP_LOG(kLogNotice,
            "frameboard write wwn(%x-%x-%x-%x-%x-%x-%x-%x-%x-%x) to ram, read wwn from ram %x-%x-%x-%x-%x-%x-%x-%x-%x-%x",
            w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7], w[8], w[9], r[0], r[1], r[2], r[3], r[4], r[5], r[6],
            r[7], r[8], r[9]);
}

}  // extern "C"
