// Miscellaneous board services.
#include <unistd.h>

#include <array>
#include <cstdio>

#include "bmc_bsp.h"
#include "core/log.h"
#include "platform/vos.h"

namespace {

// The platform's log files, flushed in this order.
constexpr std::array<const char *, 4> kFlashLogFiles = {
    "/var/log/zelm/app_debug_log",
    "/var/log/zelm/dfm_debug_log",
    "/var/log/zelm/linux_kernel_log",
    "/var/log/zelm/operate_log",
};

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

}  // extern "C"
