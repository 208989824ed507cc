// Slot identification.
#include "bmc_bsp.h"
#include "core/status.h"

extern "C" {

// Interim: the slot straps and CPLD slot registers are not read yet, so the slot is never
// known; callers get the failure status and nothing is touched.
int32_t BSP_GetBoardSlot(uint8_t *slot)
{
    (void)slot;
    return bsp::kErrS;
}

}  // extern "C"
