// Fan-board MCU messaging: command blocks to and from the fan board's microcontroller over its
// SMBus-style link, each direction protected by the packet error code (PEC) of the whole
// transaction; and the SMM's MCU mode, which the management framework keeps.
#include <glib.h>

#include <atomic>
#include <cstdint>
#include <memory>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/retry.h"
#include "core/status.h"
#include "platform/dfl.h"
#include "platform/securec.h"
#include "platform/vos.h"

namespace {

using bsp::kLogError;

// The MCU's 7-bit address 0x13 as the write and read address bytes of the link.
constexpr uint8_t kWriteAddr = 0x26;
constexpr uint8_t kReadAddr = 0x27;
constexpr uint32_t kHeaderLen = 3;  // write address, command, read address

// The write limit is larger than the read limit: a write may carry a 2-byte block number in
// front of 1024 bytes of data.
constexpr uint32_t kMaxReadLen = 1024;
constexpr uint32_t kMaxWriteLen = 1026;
constexpr uint32_t kCheckBlockLen = kMaxReadLen + kHeaderLen + 1;

constexpr int kAttempts = 3;
constexpr uint32_t kRetryDelayMs = 200;
constexpr uint32_t kSettleMs = 100;  // the MCU's settling time after every good transfer

// A PEC mismatch is noisy when the link is: at most this many lines, and a fresh allowance only
// once an hour has passed with no line.
constexpr uint32_t kPecLogPeriodTicks = 3600000;
constexpr uint32_t kPecLinesPerPeriod = 10;

// What BSP_GetDataFromMCU answers; its own scheme, unlike the rest of the library.
constexpr int32_t kReadOk = 0;
constexpr int32_t kReadTransferFailed = 2;
constexpr int32_t kReadBadPec = 3;
constexpr int32_t kReadBadArgs = 4;

// One direction of the link: set once a transfer gave up and said so, cleared by the next
// good transfer, so a dead link logs once per episode rather than on every poll.
struct Direction {
    std::atomic<bool> failed{false};
    const char *give_up;  // return code, command
};
Direction g_reads{.give_up = "Communicate to mcu failed. Ret(%d), Cmd(0x%x)"};
Direction g_writes{.give_up = "Send message to mcu failed. Ret(%d), Cmd(0x%x)"};

// The PEC lines still allowed and the tick of the last one (32 bits, as the tick wraps).
std::atomic<uint32_t> g_pec_budget{0};
std::atomic<uint32_t> g_pec_last_tick{0};

using Buffer = std::unique_ptr<uint8_t[], decltype(&g_free)>;
Buffer allocate(size_t size) { return Buffer(static_cast<uint8_t *>(g_try_malloc0(size)), g_free); }

// Up to three attempts of `attempt`, 200 ms after each failure; after a good one the MCU is
// given its settling time. False when every attempt failed.
template <typename Attempt>
bool transfer(Direction &dir, uint8_t cmd, Attempt attempt)
{
    const int32_t rc = bsp::retry_with_delay(kAttempts, kRetryDelayMs, attempt);
    if (rc != 0) {
        if (!dir.failed.exchange(true)) BSP_LOG(kLogError, dir.give_up, rc, cmd);
        return false;
    }
    dir.failed.store(false);
    vos_task_delay(kSettleMs);
    return true;
}

// Takes one PEC line from the allowance; false when none is left. One atomic step, so two
// callers at once cannot take the last line twice and wrap the allowance round.
bool take_pec_line()
{
    uint32_t left = g_pec_budget.load();
    do {
        if (left == 0) return false;
    } while (!g_pec_budget.compare_exchange_weak(left, left - 1));
    return true;
}

void log_pec_mismatch(uint8_t crc, const uint8_t *block, uint32_t len)
{
    const auto now = static_cast<uint32_t>(vos_tick_get());
    if (BSP_Diff_Uint32(g_pec_last_tick.load(), now) > kPecLogPeriodTicks) g_pec_budget.store(kPecLinesPerPeriod);
    if (!take_pec_line()) return;
    BSP_LOG(kLogError, "Fanboard mcu data check failed! CRC=0x%x, PecByte=0x%x, addr=0x%x, cmd=%x", crc,
            block[len + kHeaderLen], block[0], block[1]);
    g_pec_last_tick.store(now);
}

constexpr const char *kBmcInfo = "BmcInfo";
constexpr const char *kMcuMode = "McuMode";

}  // namespace

extern "C" {

int32_t BSP_GetDataFromMCU(OBJ_HANDLE handle, const char *name, uint8_t cmd, uint8_t *out, uint32_t len)
{
    if (out == nullptr || name == nullptr || len == 0 || len > kMaxReadLen) {
        BSP_LOG(kLogError, "Input parameter error. Cmd(0x%x)", cmd);
        return kReadBadArgs;
    }
    Buffer rx = allocate(len + 4);
    if (!rx) {
        BSP_LOG(kLogError, "Malloc mcu communication memory failed. Cmd(0x%x)", cmd);
        return kReadBadArgs;
    }
    if (!transfer(g_reads, cmd, [&] { return dfl_block_read(handle, name, cmd, len + 1, rx.get()); })) {
        return kReadTransferFailed;
    }
    // The PEC covers the whole transaction: both address bytes and the command as well.
    Buffer block = allocate(kCheckBlockLen);
    if (!block) {
        BSP_LOG(kLogError, "Malloc buffer failed.");
        return kReadBadPec;
    }
    const uint8_t header[kHeaderLen] = {kWriteAddr, cmd, kReadAddr};
    if (int rc = memcpy_s(block.get(), kCheckBlockLen, header, kHeaderLen); rc != 0) {
        BSP_LOG(kLogError, "Error: copy rmbus data failed, result = %d.", rc);
    }
    if (int rc = memcpy_s(block.get() + kHeaderLen, kCheckBlockLen - kHeaderLen, rx.get(), len + 1); rc != 0) {
        BSP_LOG(kLogError, "Error: copy rmbus data failed, result = %d.", rc);
    }
    const uint8_t crc = BSP_CalCrc8(0, block.get(), len + kHeaderLen);
    if (crc != block[len + kHeaderLen]) {
        log_pec_mismatch(crc, block.get(), len);
        return kReadBadPec;
    }
    if (int rc = memcpy_s(out, len, block.get() + kHeaderLen, len); rc != 0) {
        BSP_LOG(kLogError, "Error: copy respData failed, result = %d.", rc);
    }
    return kReadOk;
}

int32_t BSP_SetDataToMCU(OBJ_HANDLE handle, const char *name, uint8_t cmd, const uint8_t *data, uint32_t len)
{
    if (data == nullptr && len != 0) {
        BSP_LOG(kLogError, "Input parameter is null, Cmd(0x%x) inputlen(%d).", cmd, len);
        return bsp::kErrS;
    }
    if (len > kMaxWriteLen) {
        BSP_LOG(kLogError, "Input data len is out of range. DataLen(%u), Cmd(0x%x)", len, cmd);
        return bsp::kErrS;
    }
    Buffer frame = allocate(len + 3);
    if (!frame) {
        BSP_LOG(kLogError, " Malloc mcu communication memory failed. Cmd(0x%x)", cmd);
        return bsp::kErrS;
    }
    frame[0] = kWriteAddr;
    frame[1] = cmd;
    // Nothing to copy for an empty block: the MCU then gets the PEC byte alone.
    if (len != 0) {
        if (int rc = memcpy_s(frame.get() + 2, len + 1, data, len); rc != 0) {
            BSP_LOG(kLogError, "Error: copy input failed, result = %d.", rc);
        }
    }
    frame[len + 2] = BSP_CalCrc8(0, frame.get(), len + 2);
    // The framework sends the address and the command itself: it gets the data and the PEC.
    if (!transfer(g_writes, cmd, [&] { return dfl_block_write(handle, name, cmd, len + 1, frame.get() + 2); })) {
        return bsp::kErrS;
    }
    return bsp::kOkS;
}

void BSP_GetSmmMcuMode(uint8_t *mode)
{
    if (mode == nullptr) {
        BSP_LOG(kLogError, "Input para is null");
        return;
    }
    OBJ_HANDLE handle = 0;
    if (int32_t rc = dfl_get_object_handle(kBmcInfo, &handle); rc != 0) {
        BSP_LOG(kLogError, "Get objhandle failed(%d)", rc);
        return;
    }
    uint8_t value = 0;
    if (int32_t rc = dfl_get_property_ubyte(handle, kMcuMode, &value); rc != 0) {
        BSP_LOG(kLogError, "Get property value failed(%d)", rc);
        return;
    }
    *mode = value;
}

int32_t BSP_SetSmmMcuMode(uint8_t mode)
{
    OBJ_HANDLE handle = 0;
    if (int32_t rc = dfl_get_object_handle(kBmcInfo, &handle); rc != 0) return rc;
    return dfl_set_property_ubyte(handle, kMcuMode, mode);
}

}  // extern "C"
