// Enclosure configuration: frame type, model, product configuration.
#include "bmc_bsp.h"
#include "core/status.h"

extern "C" {

// Interim: the frame-type registers are not read yet; callers get the failure status and
// nothing is touched.
int32_t BSP_GetFrameType(uint16_t *type)
{
    (void)type;
    return bsp::kErrS;
}

}  // extern "C"
