// Enclosure configuration: frame type, model, product configuration; and the watch for an
// enclosure with no master or more than one.
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

// ------------------------------------------------------------------- the mastership watch

}  // extern "C"
