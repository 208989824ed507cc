// Reset and reboot: the host CPU's hard reset (a GPIO line of the BMC) and soft reset (a
// write-protected CPLD bit), the reset type and OS boot flags the CPLD keeps, the BMC's own
// reboot with the hand-over that must come first, the up-status bits of the boards and the
// soft-reset notification to the CPLD.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/sem_guard.h"
#include "core/status.h"
#include "platform/dfl.h"
#include "platform/gpio.h"
#include "platform/misc.h"
#include "platform/vos.h"

namespace {

using bsp::kErr;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kOk;

// ------------------------------------------------------------------------ host CPU reset

// The BMC's hard-reset line of the host CPU, by board id. The first row's boards route it to
// another line on their early (ES) build.
struct ResetLineRow {
    std::array<uint8_t, 10> ids;
    uint8_t count;
    uint8_t line;
    uint8_t es_line;
};

// clang-format off
constexpr std::array<ResetLineRow, 5> kResetLines = {{
    {{0x00, 0x03}, 2, 141, 61},
    {{0x05, 0x06, 0x09}, 3, 58, 58},
    {{0x0A}, 1, 141, 141},
    {{0x11, 0x12, 0x14, 0x1D, 0x22, 0x24, 0x27, 0x71, 0x95, 0x99}, 10, 31, 31},
    {{0x2E, 0x33, 0x35}, 3, 1, 1},
}};
// clang-format on

const ResetLineRow *reset_line_row(uint8_t board_id)
{
    for (const ResetLineRow &row : kResetLines) {
        for (size_t i = 0; i < row.count; ++i) {
            if (row.ids[i] == board_id) return &row;
        }
    }
    return nullptr;
}

constexpr uint32_t kGpioInput = 0;
constexpr uint32_t kGpioOutput = 1;
constexpr uint32_t kHardResetHoldMs = 100;
constexpr uint32_t kHardResetReleaseMs = 10;

// Soft reset: 0xE7 bit 6 pulsed 1, 0, 1, writable only while 0xE8 bit 6 is 0.
constexpr uint32_t kSoftResetReg = 0xE7;
constexpr uint32_t kSoftResetGuardReg = 0xE8;
constexpr uint32_t kSoftResetBit = 6;
constexpr uint8_t kGuardOpen = 0;
constexpr uint8_t kGuardClosed = 1;
constexpr uint32_t kSoftResetEdgeMs = 10;
constexpr const char *kSoftResetWriteFailed = "Write cpld(0x%x) to reset os failed, ret(%d).";

// ------------------------------------------------------------------ flags kept by the CPLD

constexpr uint32_t kResetTypeReg = 0xEB;
constexpr uint32_t kResetTypeBit = 0;
constexpr uint32_t kOsBootFlagReg = 0xED;
constexpr uint8_t kOsBootFlagMask = 0x07;
constexpr uint32_t kSmmOsBootFlagReg = 0x158;
constexpr uint32_t kBootStatusReg = 0x1F0;
constexpr uint8_t kMaxUpStatusBit = 3;

// Soft-reset notification: 0x1A3 bits 1 and 2, writable while 0x1A4 bit 0 is 1.
constexpr uint32_t kNotifyReg = 0x1A3;
constexpr uint32_t kNotifyEnableReg = 0x1A4;
constexpr uint32_t kNotifyEnableBit = 0;
constexpr uint8_t kNotifyBits = 0x06;
constexpr uint32_t kNotifyHoldMs = 10;

// ------------------------------------------------------------------------------ reboot

// Cleared first thing on every reboot, so the next BMC start sees how it came up.
constexpr uint16_t kRebootMarkerAddr = 0xD970;
constexpr uint8_t kRebootMarkerCleared = 0;
constexpr uint32_t kSwitchFirstPauseMs = 1000;
constexpr uint32_t kRoleUnknown = 2;  // neither master (1) nor slave (0): nothing to give up
constexpr uint32_t kRoleMaster = 1;
constexpr uint32_t kPcieCoresOff = 2;

constexpr const char *kConsolePath = "/dev/ttyS0";

// The requests the platform's exit handler takes; others are not this library's to pass on.
constexpr std::array<uint32_t, 2> kExitRequests = {2, 4};

// Reboot requests refused while a manufacturing build runs on a failed CPLD: the refusal is
// logged at most once per window, so a caller retrying in a loop cannot flood the log.
constexpr uint32_t kDiscarded = 0xFFFFDA83;  // -9597
constexpr uint32_t kDiscardLogWindowTicks = 180000;
std::atomic<uint32_t> g_last_discard_log{0};
std::atomic<uint8_t> g_discard_allowance{0};

// Bit `bit` (0..3) of `reg`, 0 when it cannot be read or the bit is out of range.
uint32_t up_status_bit(uint32_t reg, uint8_t bit)
{
    if (bit > kMaxUpStatusBit) {
        BSP_LOG(kLogError, "Input para put of range(%d)", bit);
        return 0;
    }
    uint8_t value = 0;
    if (uint32_t ret = BSP_ReadCpldBit(reg, bit, &value); ret != kOk) {
        BSP_LOG(kLogError, "Read cpld addr(0x%02x) bit(%d) failed(%d)", reg, bit, static_cast<int32_t>(ret));
    }
    return value;
}

// The master role is handed over before the BMC goes down, so the peer can take it at once.
void give_up_role()
{
    uint32_t role = kRoleUnknown;
    if (uint32_t ret = BSP_GetBoardMasterOrSlaveState(&role); ret != kOk) {
        // Goes on with whatever the call left: a reboot is never refused.
        BSP_LOG(kLogNotice, "Get Board MAS or SLV State Failed [%d]", static_cast<int32_t>(ret));
    }
    if (role == kRoleMaster) {
        if (uint32_t ret = BSP_AbandonBoardMaster(); ret != kOk) {
            BSP_OPLOG(kLogError, "Abandon master fail[%d]", static_cast<int32_t>(ret));
        } else {
            BSP_OPLOG(kLogNotice, "Abandon master success[%d]", 0);
        }
    }
}

}  // namespace

extern "C" {

uint32_t BSP_GetResetType(void)
{
    uint8_t type = 0;
    if (BSP_ReadCpldBit(kResetTypeReg, kResetTypeBit, &type) != kOk) return 0;
    return type;
}

void BSP_SetResetType(uint8_t type)
{
    if (type > 1) return;
    (void)BSP_WriteCpldBit(kResetTypeReg, kResetTypeBit, type);
}

uint32_t BSP_GetHardResetCpuGPIO(uint8_t *gpio)
{
    if (gpio == nullptr) return kErr;
    uint8_t board_id = 0;
    if (BSP_GetBmcBoardId(&board_id) != kOk) return kErr;
    uint32_t result = kErr;
    if (const ResetLineRow *row = reset_line_row(board_id)) {
        *gpio = BSP_IsEsBoard() ? row->es_line : row->line;
        result = kOk;
    }
    BSP_LOG(kLogNotice, "Get board %d reset cpu gpio is %d.", board_id, *gpio);
    return result;
}

uint32_t BSP_HardResetCpu(void)
{
    uint8_t line = 0;
    if (BSP_GetHardResetCpuGPIO(&line) != kOk) {
        BSP_LOG(kLogError, "Get reset cpu gpio failed.");
        return kErr;
    }
    (void)gpio_init(line, kGpioOutput);
    (void)gpio_write(line, 1);
    vos_task_delay(kHardResetHoldMs);
    (void)gpio_init(line, kGpioOutput);
    (void)gpio_write(line, 0);
    vos_task_delay(kHardResetReleaseMs);
    (void)gpio_init(line, kGpioInput);
    return kOk;
}

uint32_t BSP_SoftResetCpu(void)
{
    if (uint32_t ret = BSP_WriteCpldBit(kSoftResetGuardReg, kSoftResetBit, kGuardOpen); ret != kOk) {
        BSP_LOG(kLogError, "Close write protection(0x%x) of system reset failed, ret(%d).", kSoftResetGuardReg,
                static_cast<int32_t>(ret));
        return kErr;
    }
    // The pulse runs to its end and the protection comes back whatever fails on the way; the
    // result tells only how the pulse started.
    const uint32_t raised = BSP_WriteCpldBit(kSoftResetReg, kSoftResetBit, 1);
    // The first message prints 0 rather than the status: it has always read so.
    if (raised != kOk) BSP_LOG(kLogError, kSoftResetWriteFailed, kSoftResetReg, 0);
    vos_task_delay(kSoftResetEdgeMs);
    const uint32_t lowered = BSP_WriteCpldBit(kSoftResetReg, kSoftResetBit, 0);
    if (lowered != kOk) BSP_LOG(kLogError, kSoftResetWriteFailed, kSoftResetReg, static_cast<int32_t>(lowered));
    vos_task_delay(kSoftResetEdgeMs);
    if (uint32_t ret = BSP_WriteCpldBit(kSoftResetReg, kSoftResetBit, 1); ret != kOk) {
        BSP_LOG(kLogError, kSoftResetWriteFailed, kSoftResetReg, static_cast<int32_t>(ret));
    }
    if (uint32_t ret = BSP_WriteCpldBit(kSoftResetGuardReg, kSoftResetBit, kGuardClosed); ret != kOk) {
        BSP_LOG(kLogError, "Open write protection(0x%x) of system reset failed, ret(%d).", kSoftResetGuardReg,
                static_cast<int32_t>(ret));
    }
    BSP_LOG(kLogNotice, "SoftReset CPU by cpld(0x%x).", kSoftResetReg);
    return lowered != kOk ? lowered : raised;
}

uint32_t BSP_GetOsBootFlag(uint8_t *flag)
{
    if (flag == nullptr) return kErr;
    const uint32_t ret = BSP_ReadCpldBytes(kOsBootFlagReg, 1, flag);
    // Whatever the read left is cut to the flag's bits, also after a failed read.
    *flag &= kOsBootFlagMask;
    return ret == kErr ? kErr : kOk;
}

uint32_t BSP_vSmmSetOsBootFlag(uint8_t flag)
{
    // The board type is not used: a board that cannot tell its type must not write the flag.
    uint32_t type = 0;
    if (BSP_GetBmcBoardType(&type) != kOk) return kErr;
    return BSP_WriteCpldByte(kSmmOsBootFlagReg, flag) == kErr ? kErr : kOk;
}

uint32_t BSP_RebootRequestProcess(uint32_t request, uint32_t arg1, uint32_t arg2)
{
    for (uint32_t r : kExitRequests) {
        if (r == request) (void)per_exit(request, arg1, arg2);
    }
    return kOk;
}

void BSP_CloseIXON(void)
{
    const int fd = open(kConsolePath, O_RDWR);
    if (fd < 0) {
        BSP_LOG(kLogError, "Open tty dev failed, fd(%d)", fd);
        return;
    }
    // A console left stopped by XOFF would hang whoever logs in after the restart: output flow
    // control goes off and a START character goes out on the line.
    struct termios attr = {};
    if (tcgetattr(fd, &attr) == 0) {
        attr.c_iflag &= ~static_cast<tcflag_t>(IXON);
        (void)tcsetattr(fd, TCSANOW, &attr);
    }
    if (int ret = ioctl(fd, TCXONC, TCION); ret != 0) BSP_LOG(kLogError, "Ioctl failed, ret(%d).", ret);
    (void)close(fd);
}

void BSP_RebootBmc(void)
{
    // Every step runs whatever failed before it: a reboot is never refused.
    BSP_SetCpldRam(kRebootMarkerAddr, kRebootMarkerCleared);
    BSP_OPLOG(kLogNotice, "Begin to reboot bmc with disable watch dog");
    if (BSP_Is4U4CBoard() && BSP_SetStopSwitchWatchDogFlag() == kOk) {
        vos_task_delay(kSwitchFirstPauseMs);
        BSP_WaitSwitchStopWtdFlag();
    }
    if (!BSP_IsSmmBoard()) {
        give_up_role();
        if (BSP_Is5830Board()) (void)BSP_PCIeCoreOpt(kPcieCoresOff);
    }
    BSP_CloseIXON();
    (void)dfl_reboot();
}

uint32_t BSP_RebootBmcFlexibly(uint32_t caller)
{
    if (BSP_IsManuVersion() && BSP_CpldSelfTest() != kOk) {
        const auto now = static_cast<uint32_t>(vos_tick_get());
        if (BSP_Diff_Uint32(g_last_discard_log.load(std::memory_order_relaxed), now) > kDiscardLogWindowTicks) {
            g_discard_allowance.store(1, std::memory_order_relaxed);
        } else if (g_discard_allowance.load(std::memory_order_relaxed) == 0) {
            return kDiscarded;
        }
        BSP_LOG(kLogNotice, "Caller%d's reboot-bmc cmd is discarded.", static_cast<int32_t>(caller));
        g_last_discard_log.store(now, std::memory_order_relaxed);
        g_discard_allowance.fetch_sub(1, std::memory_order_relaxed);
        return kDiscarded;
    }
    BSP_LOG(kLogNotice, "Caller%d reboot bmc.", static_cast<int32_t>(caller));
    BSP_RebootBmc();
    return kOk;
}

uint32_t BSP_GetBmcOrCtrlUpStatus(uint32_t reg, uint8_t bit) { return up_status_bit(reg, bit); }

uint32_t BSP_GetBmcBootStatus(uint8_t bit) { return up_status_bit(kBootStatusReg, bit); }

uint32_t BSP_NotifySoftResetByCpld(void)
{
    bsp::SemGuard sem(bsp::kSemSoftReset);
    if (!sem.held()) {
        BSP_LOG(kLogError, "Soft reset by cpld sem_p operation failed(ret=%d)", sem.taken());
        return static_cast<uint32_t>(sem.taken());
    }
    // The accesses' statuses are not examined: the enable is closed again whatever happened.
    (void)BSP_WriteCpldBit(kNotifyEnableReg, kNotifyEnableBit, 1);
    uint8_t value = 0;
    (void)BSP_ReadCpldBytes(kNotifyReg, 1, &value);
    (void)BSP_WriteCpldByte(kNotifyReg, static_cast<uint8_t>(value | kNotifyBits));
    vos_task_delay(kNotifyHoldMs);
    (void)BSP_WriteCpldByte(kNotifyReg, static_cast<uint8_t>(value & ~kNotifyBits));
    (void)BSP_WriteCpldBit(kNotifyEnableReg, kNotifyEnableBit, 0);
    // The notification has happened; a failed give is only worth a line.
    if (int32_t ret = sem.release(); ret != 0) BSP_LOG(kLogError, "Soft reset by cpld sem_v operation failed(ret=%d)", ret);
    return kOk;
}

}  // extern "C"
