// PCIe: the enable sequence of the PCIe cores, and the PCIe/SAS model code that the board keeps
// in the CPLD RAM so that it survives a restart of the BMC software.
#include <cstdint>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/vos.h"

namespace {

using bsp::kErr;
using bsp::kLogNotice;
using bsp::kOk;

// Bits 0 and 1 enable the two PCIe cores; both 0 holds them off.
constexpr uint32_t kPcieCoreReg = 0xFF;
constexpr uint32_t kPcieCore0Bit = 0;
constexpr uint32_t kPcieCore1Bit = 1;
constexpr uint32_t kOpEnable = 1;
constexpr uint32_t kOpDisable = 2;
// How long the cores stay held off before they are enabled again.
constexpr uint32_t kCoreHoldMs = 1;

constexpr uint16_t kPcieSasModelAddr = 0xD90F;
constexpr uint8_t kFirstValidModel = 1;
constexpr uint8_t kLastValidModel = 253;

// Both cores are always written, core 0 first; the result is the OR of the two statuses.
uint32_t write_cores(uint8_t value)
{
    uint32_t status = BSP_WriteCpldBit(kPcieCoreReg, kPcieCore0Bit, value);
    status |= BSP_WriteCpldBit(kPcieCoreReg, kPcieCore1Bit, value);
    return status;
}

}  // namespace

extern "C" {

uint32_t BSP_bPcieorsasModelValid(uint8_t model)
{
    return model >= kFirstValidModel && model <= kLastValidModel ? 1 : 0;
}

uint32_t BSP_PCIeCoreOpt(uint32_t operation)
{
    if (operation == kOpDisable) return write_cores(0);
    if (operation != kOpEnable) return kErr;
    // Enabling always passes through "held off", so the cores start from a clean reset.
    const uint32_t held = write_cores(0);
    if (held != kOk) return held;
    vos_task_delay(kCoreHoldMs);
    return write_cores(1);
}

int32_t BSP_GetPcieSasModelFromCpld(uint8_t *model)
{
    if (model == nullptr) return bsp::kErrS;
    // A failed RAM read leaves the byte at 0, which is no valid model: the failure shows as
    // "no model".
    uint8_t stored = 0;
    BSP_GetCpldRam(kPcieSasModelAddr, &stored);
    if (BSP_bPcieorsasModelValid(stored) == 0) return bsp::kErrS;
    *model = stored;
    return bsp::kOkS;
}

void BSP_SetPcieSasModelToCpldRam(uint8_t model)
{
    // The RAM is shared and survives restarts: an unchanged model is not written again.
    uint8_t stored = 0;
    if (BSP_GetPcieSasModelFromCpld(&stored) == 0 && stored == model) return;
    if (BSP_bPcieorsasModelValid(model) == 0) return;
    BSP_SetCpldRam(kPcieSasModelAddr, model);
    BSP_LOG(kLogNotice, "Set pciesas model 0x%x to cpldram 0x%x", model, kPcieSasModelAddr);
}

}  // extern "C"
