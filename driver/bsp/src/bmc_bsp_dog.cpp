// Watchdogs: the Ethernet switch's own watchdog on a 4U four-controller enclosure, which must be
// stopped before the BMC restarts (or the switch could reset the board halfway through), and
// the time selection of the CPLD's watchdog.
#include <glib.h>

#include <cstdint>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/dfl.h"
#include "platform/vos.h"

namespace {

using bsp::kLogError;
using bsp::kLogNotice;

// The switch as the management framework shows it, and the two methods of its stop protocol.
constexpr const char *kSwitchObject = "GeSwitchObj";
constexpr const char *kSetFlagMethod = "SetWtdFlag";
constexpr const char *kGetFlagMethod = "GetWtdFlag";
constexpr uint8_t kStopRequest = 1;
constexpr uint32_t kStopped = 0;

// The wait is bounded: a switch that never answers must not hold the BMC's restart back.
constexpr uint32_t kWaitAttempts = 5;
constexpr uint32_t kWaitPauseMs = 1000;

// CPLD watchdog time selection: two bits, changed only while their write enable is 0.
constexpr uint32_t kWdtTimeReg = 0xE1;
constexpr uint32_t kWdtTimeEnableReg = 0xE2;
constexpr uint32_t kWdtTimeEnableBit = 0;
constexpr uint8_t kWdtTimeChanging = 0;
constexpr uint8_t kWdtTimeSettled = 1;

// The switch object's handle, or the lookup's status (logged).
int32_t switch_handle(OBJ_HANDLE *handle)
{
    const int32_t ret = dfl_get_object_handle(kSwitchObject, handle);
    if (ret != 0) BSP_LOG(kLogError, "Get geswitch obj faild(ret=%d)", ret);
    return ret;
}

}  // namespace

extern "C" {

uint32_t BSP_SetStopSwitchWatchDogFlag(void)
{
    OBJ_HANDLE handle = 0;
    if (int32_t ret = switch_handle(&handle); ret != 0) return static_cast<uint32_t>(ret);
    GSList *input = g_slist_append(nullptr, g_variant_ref_sink(g_variant_new_byte(kStopRequest)));
    const int32_t ret = dfl_call_class_method(handle, kSetFlagMethod, nullptr, input, nullptr);
    uip_free_gvariant_list(input);
    if (ret != 0) BSP_LOG(kLogError, "Set geswitch watchdog flag failed(ret=%d)", ret);
    return static_cast<uint32_t>(ret);
}

void BSP_WaitSwitchStopWtdFlag(void)
{
    OBJ_HANDLE handle = 0;
    if (switch_handle(&handle) != 0) return;
    for (uint32_t attempt = 0; attempt < kWaitAttempts; ++attempt) {
        GSList *output = nullptr;
        const int32_t ret = dfl_call_class_method(handle, kGetFlagMethod, nullptr, nullptr, &output);
        if (ret == 0) {
            // An answer without a 32-bit word counts as still pending: only a 0 says the switch
            // has stopped.
            uint32_t flag = kStopped + 1;
            auto *first = output != nullptr ? static_cast<GVariant *>(output->data) : nullptr;
            if (first != nullptr && g_variant_is_of_type(first, G_VARIANT_TYPE_UINT32)) flag = g_variant_get_uint32(first);
            uip_free_gvariant_list(output);
            if (flag == kStopped) {
                BSP_LOG(kLogNotice, "BMC reset after geswitch stop watchdog");
                return;
            }
        } else {
            uip_free_gvariant_list(output);
            BSP_LOG(kLogError, "Get geswitch watchdog flag failed(ret=%d)", ret);
        }
        vos_task_delay(kWaitPauseMs);
    }
    BSP_LOG(kLogNotice, "BSP wait 5s geswitch stop watchdog now reset");
}

uint32_t BSP_SetWdtTmie(uint8_t selection)
{
    // Write failures are not reported: the selection is best effort, and the enable always
    // goes back to settled.
    (void)BSP_WriteCpldBit(kWdtTimeEnableReg, kWdtTimeEnableBit, kWdtTimeChanging);
    (void)BSP_WriteCpldBit(kWdtTimeReg, 0, selection & 1);
    (void)BSP_WriteCpldBit(kWdtTimeReg, 1, (selection >> 1) & 1);
    (void)BSP_WriteCpldBit(kWdtTimeEnableReg, kWdtTimeEnableBit, kWdtTimeSettled);
    return bsp::kOk;
}

}  // extern "C"
