// The board's UART switch: which port the BMC's serial console is routed to.
#include <cstdint>
#include <cstdio>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/vos.h"

namespace {

using bsp::kErrS;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kOk;
using bsp::kOkS;

// The whole byte is the port the BMC's UART is routed to.
constexpr uint32_t kUartSwitchReg = 0xEE;
// Time the switch takes before the register shows the new port.
constexpr uint32_t kSwitchSettleMs = 5;

}  // namespace

extern "C" {

int32_t BSP_ReadSwitchUartReg(uint8_t *port)
{
    if (port == nullptr) return kErrS;
    if (BSP_ReadCpldBytes(kUartSwitchReg, 1, port) != kOk) {
        // Also on the console of the calling process, at once: that is where an engineer
        // switching ports looks.
        std::fputs("read switch uart reg fail. \r\n", stdout);
        std::fflush(stdout);
        return kErrS;
    }
    return kOkS;
}

int32_t BSP_SwitchUart(uint8_t port)
{
    if (BSP_WriteCpldByte(kUartSwitchReg, port) != kOk) {
        std::printf("switch 0x%x fail. \r\n", port);
        std::fflush(stdout);
        BSP_LOG(kLogError, "BSP: switch uart to port(0x%x) fail.", port);
        return kErrS;
    }
    vos_task_delay(kSwitchSettleMs);
    // The switch counts as done once the write went through; the read-back only tells the log
    // what the switch shows now.
    uint8_t now = 0;
    if (BSP_ReadCpldBytes(kUartSwitchReg, 1, &now) != kOk) {
        BSP_LOG(kLogError, "BSP: read switch cpld reg fail!");
    } else if (now != port) {
        BSP_LOG(kLogNotice, "Switch uart to port(0x%x) failed!", now);
    }
    return kOkS;
}

}  // extern "C"
