// Fan-board MCU messaging and cooling state.
#include "bmc_bsp.h"
#include "core/status.h"

extern "C" {

// Interim: the MCU transfer is not built yet. The mode is left as the caller preset it.
void BSP_GetSmmMcuMode(uint8_t *mode) { (void)mode; }

// Interim: the MCU transfer is not built yet; nothing is touched.
int32_t BSP_SetSmmMcuMode(uint8_t mode)
{
    (void)mode;
    return bsp::kErrS;
}

}  // extern "C"
