// Enclosure configuration: frame type, model, product configuration; and the watch for an
// enclosure with no master or more than one.
#include <atomic>
#include <cstdint>

#include "bmc_bsp.h"
#include "core/cpld_regs.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/vos.h"

extern "C" {

// Interim: the frame-type registers are not read yet; callers get the failure status and
// nothing is touched.
int32_t BSP_GetFrameType(uint16_t *type)
{
    (void)type;
    return bsp::kErrS;
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
