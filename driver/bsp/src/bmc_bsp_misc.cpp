// Miscellaneous board services: flushing the log files, the shell-command runner, the IPMI
// message data accessor, the microsecond delay entry point, the SSD online bits and the ear
// (side module) presence bit.
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/vos.h"

// The platform's message layer hands over its own record; only the data field's place counts.
static_assert(offsetof(IpmiMsg, data) == 112, "the data of an IPMI message starts at byte 112");

namespace {

// The platform's log files, flushed in this order.
constexpr std::array<const char *, 4> kFlashLogFiles = {
    "/var/log/zelm/app_debug_log",
    "/var/log/zelm/dfm_debug_log",
    "/var/log/zelm/linux_kernel_log",
    "/var/log/zelm/operate_log",
};

constexpr int kCommandAttempts = 3;
constexpr uint32_t kIpmiMsgNull = 255;

// SSD n's online bit is bit n mod 8 of the register base + n / 8. The BMC keeps its own record
// in the first block and writes it on every enclosure; the other enclosures read the disks'
// own presence from the second block, 4U four-controller enclosures read back the record.
constexpr uint32_t kSsdRecordReg = 0x1B4;
constexpr uint32_t kSsdPresenceReg = 0x250;
constexpr uint32_t kSsdsPerReg = 8;

// Bit 0: the ear (side module) is in.
constexpr uint32_t kEarOnlineReg = 0x25;

// The board type is only asked to know the board can be told apart; its value is not used.
bool board_type_known()
{
    uint32_t board_type = 0;
    return BSP_GetBmcBoardType(&board_type) == bsp::kOk;
}

}  // namespace

extern "C" {

void BSP_SyncLog2Flash(void)
{
    for (const char *path : kFlashLogFiles) {
        if (vos_get_file_accessible(path) != 1) {
            BSP_LOG(bsp::kLogError, "%s is not exist.", path);
            continue;
        }
        // Append mode only to get a descriptor without truncating; nothing is written.
        FILE *f = std::fopen(path, "a+");
        if (f == nullptr) {
            BSP_LOG(bsp::kLogError, "Open file(%s) failed.", path);
            continue;
        }
        (void)fsync(fileno(f));
        (void)std::fclose(f);
    }
}

// Deliberately empty: the register pulses of the power functions rely on the latency of the
// writes alone, and keep calling this for the day a board needs a real wait.
void BSP_Delay1us(uint64_t microseconds)
{
    (void)microseconds;
}

int32_t BSP_System(const char *command)
{
    // A host process that ignores SIGCHLD would have its children reaped by the kernel, and
    // system() would lose the command's status: run it with the default disposition, then put
    // the caller's back.
    struct sigaction dfl = {};
    struct sigaction previous = {};
    dfl.sa_handler = SIG_DFL;
    sigemptyset(&dfl.sa_mask);
    const bool changed = sigaction(SIGCHLD, &dfl, &previous) == 0;
    const int result = std::system(command);
    if (changed) (void)sigaction(SIGCHLD, &previous, nullptr);
    return static_cast<int32_t>(result);
}

int32_t BSP_Vos_System(const char *command)
{
    if (command == nullptr) return bsp::kErrS;
    int32_t result = bsp::kErrS;
    for (int attempt = 0; attempt < kCommandAttempts; ++attempt) {
        result = BSP_System(command);
        if (result == 0) {
            BSP_LOG(bsp::kLogTrace, "Execute command(%s) success.", command);
            return bsp::kOkS;
        }
    }
    BSP_LOG(bsp::kLogTrace, "Execute command(%s) failed, errcode(%d).", command, result);
    return result;
}

uint32_t BSP_CheckIpmiMsgValid(IpmiMsg *msg, uint8_t **data)
{
    if (msg == nullptr) {
        BSP_LOG(bsp::kLogError, "Ipmi msg data is null.");
        return kIpmiMsgNull;
    }
    if (data == nullptr) return kIpmiMsgNull;
    *data = msg->data;
    return bsp::kOk;
}

int32_t BSP_GetSSDOnlineStates(uint8_t ssd, uint8_t *state)
{
    if (state == nullptr || !board_type_known()) return bsp::kErrS;
    const uint32_t base = BSP_Is4U4CBoard() ? kSsdRecordReg : kSsdPresenceReg;
    // Only an outright failure counts; any other status of the read is taken as success.
    if (BSP_ReadCpldBit(base + ssd / kSsdsPerReg, ssd % kSsdsPerReg, state) == bsp::kErr) return bsp::kErrS;
    return bsp::kOkS;
}

int32_t BSP_SetSSDOnlineStates(uint8_t ssd, uint8_t value)
{
    if (!board_type_known()) return bsp::kErrS;
    return static_cast<int32_t>(BSP_WriteCpldBit(kSsdRecordReg + ssd / kSsdsPerReg, ssd % kSsdsPerReg, value));
}

int32_t BSP_GetEarOnlineStates(uint8_t *state)
{
    if (state == nullptr) return bsp::kErrS;
    // Only an outright failure counts; any other status of the read is taken as success.
    if (const uint32_t rc = BSP_ReadCpldBit(kEarOnlineReg, 0, state); rc == bsp::kErr) {
        BSP_LOG(bsp::kLogError, "Get ear online state failed(%d)", static_cast<int32_t>(rc));
        return bsp::kErrS;
    }
    return bsp::kOkS;
}

}  // extern "C"
