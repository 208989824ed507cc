// Enclosure configuration: the frame type (registers guarded by a check code, backed up in the
// CPLD RAM), the disk count it implies, the backplane model and the product configuration kept
// in the CPLD RAM, and the IO cards; and the watch for an enclosure with no master or more than
// one.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>

#include "bmc_bsp.h"
#include "core/cache.h"
#include "core/cpld_regs.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/securec.h"
#include "platform/vos.h"

namespace {

using bsp::kErr;
using bsp::kErrS;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kOk;
using bsp::kOkS;

// The frame type word is 0x67 | 0x68 << 8; its low 6 bits are the type, and 0x66 is the
// parity mode that checks them. 0x275-0x277 take a copy the CPLD keeps across its own reloads.
constexpr uint32_t kCheckReg = 0x66;
constexpr uint32_t kLowReg = 0x67;
constexpr uint32_t kHighReg = 0x68;
constexpr uint32_t kRewriteReg = 0x275;
constexpr uint16_t kTypeMask = 0x3F;
constexpr uint8_t kTypeBits = 6;

// The backup of the three registers in the CPLD RAM, valid while its marker reads 0x55.
constexpr uint16_t kBackupMarkerAddr = 0xD91A;
constexpr uint16_t kBackupCheckAddr = 0xD91B;
constexpr uint16_t kBackupLowAddr = 0xD91C;
constexpr uint16_t kBackupHighAddr = 0xD91D;
constexpr uint8_t kValidMarker = 0x55;
// What an erased backup byte reads: never a frame type.
constexpr uint8_t kErasedByte = 0xFF;

constexpr int kRewriteAttempts = 3;
constexpr uint32_t kRewriteSettleMs = 50;
constexpr uint32_t kRewriteRetryMs = 10;

// Bit 0 of the sys-up register: the board may come up once the enclosure is known.
constexpr uint8_t kSysUpFrameKnownBit = 0;

// The last valid frame type word, fixed for the life of the process once read.
bsp::CachedValue<uint16_t, 0xFFFF> g_frame_type;

struct DiskRow {
    uint16_t frame_type;
    uint8_t disks;
};

// Searched from the top, first match wins: the second 0x12 row can never match, and 0x10 before
// 0x0F changes nothing; both are kept as the table has always stood.
constexpr std::array<DiskRow, 17> kDiskNumTbl = {{
    {0x08, 28},
    {0x09, 28},
    {0x0A, 36},
    {0x0C, 25},
    {0x0D, 12},
    {0x0E, 36},
    {0x10, 25},
    {0x0F, 25},
    {0x11, 12},
    {0x12, 25},
    {0x12, 25},
    {0x27, 25},
    {0x28, 25},
    {0x29, 25},
    {0x30, 12},
    {0x31, 25},
    {0x32, 25},
}};

// A record in the CPLD RAM: `len` bytes from `addr`, then their CRC-8.
struct RamRecord {
    uint16_t addr;
    uint32_t len;
};
constexpr RamRecord kModelRecord = {0xD921, 16};
constexpr RamRecord kCfgRecord = {0xD99C, 64};
constexpr uint32_t kMaxRecordLen = 64;

using RecordBuf = std::array<uint8_t, kMaxRecordLen + 1>;

bool all_are(const uint8_t *data, uint32_t len, uint8_t value)
{
    return std::all_of(data, data + len, [value](uint8_t b) { return b == value; });
}

// A read record is good when its check byte matches and it is not erased to zeros (an erased
// record counts as absent).
bool record_good(const RamRecord &r, const uint8_t *block)
{
    return BSP_CalCrc8(0, block, r.len) == block[r.len] && !all_are(block, r.len, 0);
}

// The model record is read byte by byte, the configuration in one range.
bool read_model(RecordBuf &block)
{
    for (uint32_t i = 0; i <= kModelRecord.len; ++i)
        BSP_GetCpldRam(static_cast<uint16_t>(kModelRecord.addr + i), &block[i]);
    return record_good(kModelRecord, block.data());
}

// Like memcmp: the difference of the first bytes that differ, 0 when all are equal.
int compare(const uint8_t *a, const uint8_t *b, size_t n)
{
    for (size_t i = 0; i < n; ++i)
        if (a[i] != b[i]) return a[i] - b[i];
    return 0;
}

}  // namespace

extern "C" {

int32_t BSP_GetFrameType(uint16_t *type)
{
    if (type == nullptr) return kErrS;
    if (g_frame_type.known()) {
        *type = g_frame_type.get() & kTypeMask;
        return kOkS;
    }
    uint8_t check = 0, low = 0, high = 0;
    if (BSP_ReadCpldBytes(kCheckReg, 1, &check) != kOk || BSP_ReadCpldBytes(kLowReg, 1, &low) != kOk ||
        BSP_ReadCpldBytes(kHighReg, 1, &high) != kOk)
        return kErrS;
    const auto word = static_cast<uint16_t>(low | high << 8);
    const int32_t checked = BSP_PrivCheck(check, word & kTypeMask, kTypeBits);
    if (checked == kOkS) {
        (void)BSP_EnableBoardSysUp(kSysUpFrameKnownBit, 0);
        BSP_ReWriteCpld(check, low, high);
        g_frame_type.set(word);
        *type = word & kTypeMask;
        return kOkS;
    }
    // Repair from the backup. Only its low byte comes back: the high byte of the word is lost.
    uint8_t marker = 0, backup = kErasedByte;
    BSP_GetCpldRam(kBackupMarkerAddr, &marker);
    if (marker == kValidMarker) BSP_GetCpldRam(kBackupLowAddr, &backup);
    if (marker == kValidMarker && backup != kErasedByte) {
        *type = backup & kTypeMask;
        g_frame_type.set(backup);
        (void)BSP_EnableBoardSysUp(kSysUpFrameKnownBit, 0);
        BSP_OPLOG(kLogNotice, "Get frame type(0x%x) from cpld ram successed", *type);
        return kOkS;
    }
    BSP_LOG(kLogError, "Frame type priv check failed, repair failed(%d) read value is 0x%x, Crc %d", checked, word,
            check);
    return kErrS;
}

void BSP_ReWriteCpld(uint8_t check, uint8_t low, uint8_t high)
{
    // The marker goes last: a backup cut short stays invalid.
    BSP_SetCpldRam(kBackupCheckAddr, check);
    BSP_SetCpldRam(kBackupLowAddr, low);
    BSP_SetCpldRam(kBackupHighAddr, high);
    BSP_SetCpldRam(kBackupMarkerAddr, kValidMarker);
    // A manufacturing build leaves the CPLD's own copy alone.
    if (BSP_IsManuVersion() != 0) return;

    const std::array<uint8_t, 3> wrote = {check, low, high};
    std::array<uint8_t, 3> read = {0, 0, 0};
    int differs = 0;
    for (int attempt = 0; attempt < kRewriteAttempts; ++attempt) {
        // Write failures show in the read-back.
        for (uint32_t i = 0; i < wrote.size(); ++i) (void)BSP_WriteCpldByte(kRewriteReg + i, wrote[i]);
        vos_task_delay(kRewriteSettleMs);
        (void)BSP_ReadCpldBytes(kRewriteReg, static_cast<uint32_t>(read.size()), read.data());
        differs = compare(read.data(), wrote.data(), read.size());
        if (differs == 0) return;
        vos_task_delay(kRewriteRetryMs);
    }
    BSP_LOG(kLogError,
            "Rewrite Cpld failed(%d), cpld(0x%x, 0x%x, 0x%x) write(0x%x, 0x%x, 0x%x) read(0x%x, 0x%x, 0x%x)",
            differs, kRewriteReg, kRewriteReg + 1, kRewriteReg + 2, check, low, high, read[0], read[1], read[2]);
}

int32_t BSP_GetDiskNum(uint8_t *count)
{
    if (count == nullptr) return kErrS;
    uint16_t type = 0;
    const int32_t ret = BSP_GetFrameType(&type);
    if (ret != kOkS) {
        BSP_LOG(kLogError, "Get frame type failed, ret = %d", ret);
        return kErrS;
    }
    for (const DiskRow &row : kDiskNumTbl) {
        if (row.frame_type == type) {
            *count = row.disks;
            return kOkS;
        }
    }
    BSP_LOG(kLogError, "Get disk num failed, frame type is 0x%x", type);
    return kErrS;
}

int32_t BSP_GetModelFromCpld(uint8_t *buf, uint32_t size)
{
    RecordBuf block{};
    if (!read_model(block)) return kErrS;
    // A failed copy is logged and still reported as success, as it always has been.
    const int rc = memcpy_s(buf, size, block.data(), std::min(size, kModelRecord.len));
    if (rc != 0) BSP_LOG(kLogError, "Error: copy model data failed, result = %d.", rc);
    return kOkS;
}

void BSP_SetFrameModelToCpldRam(const uint8_t *model, uint32_t len)
{
    const uint32_t n = kModelRecord.len;
    if (model == nullptr) return;
    if (len < n) {
        BSP_LOG(kLogError, "Set frame mode to cpldram failed(len=%d is invalid)", len);
        return;
    }
    // Nothing to do when the same model is stored; an erased value is never stored.
    RecordBuf stored{};
    if (read_model(stored) && std::memcmp(stored.data(), model, n) == 0) return;
    if (all_are(model, n, 0xFF) || all_are(model, n, 0)) return;

    const uint8_t crc = BSP_CalCrc8(0, model, n);
    for (uint32_t i = 0; i < n; ++i) BSP_SetCpldRam(static_cast<uint16_t>(kModelRecord.addr + i), model[i]);
    BSP_SetCpldRam(static_cast<uint16_t>(kModelRecord.addr + n), crc);
    BSP_OPLOG(kLogNotice,
              "Set backplane product model info into cpldram.0x%x-0x%x-0x%x-0x%x-0x%x-0x%x-0x%x-0x%x-0x%x-0x%x-0x%x-"
              "0x%x-0x%x-0x%x-0x%x-0x%x, crc=0x%x",
              model[0], model[1], model[2], model[3], model[4], model[5], model[6], model[7], model[8], model[9],
              model[10], model[11], model[12], model[13], model[14], model[15], crc);
}

int32_t BSP_GetProductCfgInfoFromCpld(uint8_t *buf, uint32_t size)
{
    RecordBuf block{};
    const uint32_t ret = BSP_GetCpldRamBytes(kCfgRecord.addr, block.data(), kCfgRecord.len + 1);
    if (ret != kOk) return static_cast<int32_t>(ret);
    if (!record_good(kCfgRecord, block.data())) return kErrS;
    // Unlike the model, a configuration that cannot be handed over is a failure.
    const int rc = memcpy_s(buf, size, block.data(), std::min(size, kCfgRecord.len));
    if (rc != 0) {
        BSP_LOG(kLogError, "Copy product cfg info failed ret=%d.", rc);
        return kErrS;
    }
    return kOkS;
}

int32_t BSP_SetProductCfgInfoToCpldRam(const uint8_t *cfg, uint32_t len)
{
    const uint32_t n = kCfgRecord.len;
    if (cfg == nullptr) return kErrS;
    if (len < n) {
        BSP_LOG(kLogError, "Set product cfg info to cpldram failed(len=%d is invalid)", len);
        return kErrS;
    }
    RecordBuf block{};
    const int32_t stored = BSP_GetProductCfgInfoFromCpld(block.data(), n);
    if (stored == kOkS && std::memcmp(block.data(), cfg, n) == 0) return kOkS;
    // An erased configuration is never stored; the caller learns what the read-back found.
    if (all_are(cfg, n, 0)) return stored;

    if (memcpy_s(block.data(), block.size(), cfg, n) != 0) return kErrS;
    block[n] = BSP_CalCrc8(0, cfg, n);
    const auto ret = static_cast<int32_t>(BSP_SetCpldRamBytes(kCfgRecord.addr, block.data(), n + 1));

    // Two hex digits a byte and the terminator.
    char text[(kMaxRecordLen + 1) * 2 + 1] = {0};
    size_t at = 0;
    for (uint32_t i = 0; i <= n; ++i) {
        const int wrote = snprintf_s(text + at, sizeof text - at, 2, "%02x", block[i]);
        if (wrote < 0) {
            BSP_LOG(kLogError, "Error: copy cfgData failed.");
            break;
        }
        at += static_cast<size_t>(wrote);
    }
    BSP_LOG(kLogNotice, "Set product cfg info(%s) to cpldram(ret=%d)", text, ret);
    return ret;
}

}  // extern "C"

namespace {

// Bit card % 8 of 0x298 + card / 8: IO cards 0 to 27 of the enclosure.
constexpr uint32_t kIoCardReg = 0x298;
constexpr uint8_t kMaxIoCard = 27;
// Board types 0 to 3: the controller boards of a four-controller enclosure.
constexpr uint32_t kLastFourCtrlBoardType = 3;
// Each controller owns seven consecutive card numbers.
constexpr uint8_t kCardsPerCtrl = 7;

}  // namespace

extern "C" {

int32_t BSP_GetIoCardOnlineStates(uint8_t card, uint8_t *state)
{
    if (state == nullptr || card > kMaxIoCard) return kErrS;
    uint32_t board_type = 0;
    if (BSP_GetBmcBoardType(&board_type) != kOk) return kErrS;
    if (BSP_is2u2cCtrlBoardType(static_cast<uint8_t>(board_type)) == 0 && board_type > kLastFourCtrlBoardType)
        return kErrS;
    if (BSP_CpldSelfTest() != kOk) return kErrS;
    if (BSP_ReadCpldBit(kIoCardReg + (card >> 3), card & 7u, state) == kErr) return kErrS;
    return kOkS;
}

int32_t BSP_CheckCtrlIdAndCardIdPair(uint8_t ctrlId, uint8_t cardId)
{
    return cardId / kCardsPerCtrl == ctrlId ? kOkS : kErrS;
}

}  // extern "C"

// ------------------------------------------------------------------- the mastership watch

namespace {

constexpr int kWatchDebounceReads = 3;
constexpr uint32_t kWatchDebounceMs = 10;
// While the fault lasts, one warning per this many observations.
constexpr uint32_t kWatchLogPeriod = 128;

std::atomic<uint8_t> g_watch_last_fields{0xFF};
std::atomic<uint32_t> g_watch_faults{0};

}  // namespace

extern "C" {

void BSP_DetectWhetherHasMoreThanOneMos(void)
{
    uint8_t fields = 0xFF;
    uint32_t ret = BSP_ReadCpldBytes(bsp::kRoleFieldsReg, 1, &fields);
    // A register that changes while the boards arbitrate is read again until it settles.
    if (fields != g_watch_last_fields.load(std::memory_order_relaxed)) {
        for (int i = 0; i < kWatchDebounceReads; ++i) {
            ret = BSP_ReadCpldBytes(bsp::kRoleFieldsReg, 1, &fields);
            vos_task_delay(kWatchDebounceMs);
        }
    }
    if (ret != bsp::kOk) {
        BSP_LOG(bsp::kLogError, "Read cpld (0x%02x) failed(%d)", bsp::kRoleFieldsReg, static_cast<int32_t>(ret));
        return;
    }
    g_watch_last_fields.store(fields, std::memory_order_relaxed);
    uint32_t masters = 0;
    for (uint32_t slot = 0; slot < bsp::kRoleFieldSlots; ++slot) {
        masters += bsp::role_field(fields, slot) == bsp::kRoleFieldMaster ? 1 : 0;
    }
    if (masters == 1) {
        g_watch_faults.store(0, std::memory_order_relaxed);
        return;
    }
    const uint32_t faults = g_watch_faults.fetch_add(1, std::memory_order_relaxed);
    if (faults % kWatchLogPeriod == 0) {
        BSP_LOG(bsp::kLogError, "Warning: CPLD appear more than one master or slave!(%d)(%d)(%d)(%d)",
                bsp::role_field(fields, 0), bsp::role_field(fields, 1), bsp::role_field(fields, 2),
                bsp::role_field(fields, 3));
    }
}

}  // extern "C"
