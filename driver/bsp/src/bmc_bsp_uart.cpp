// The board's UART switch: which port the BMC's serial console is routed to.
#include <cstdarg>
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

// The console of the calling process is where an engineer switching ports looks; the text goes
// out at once, not when the process happens to flush.
void console(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
void console(const char *fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    std::vprintf(fmt, ap);
    va_end(ap);
    std::fflush(stdout);
}

}  // namespace

extern "C" {

int32_t BSP_ReadSwitchUartReg(uint8_t *port)
{
    if (port == nullptr) return kErrS;
    if (BSP_ReadCpldBytes(kUartSwitchReg, 1, port) != kOk) {
        console("read switch uart reg fail. \r\n");
        return kErrS;
    }
    return kOkS;
}

int32_t BSP_SwitchUart(uint8_t port)
{
    if (BSP_WriteCpldByte(kUartSwitchReg, port) != kOk) {
        console("switch 0x%x fail. \r\n", port);
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
