// The BMC itself: its restarts and the platform's exit handler.
#ifndef BSPSIM_MODELS_BMC_H
#define BSPSIM_MODELS_BMC_H

#include "core/core.h"

namespace bspsim::detail::bmc {

int32_t reboot(Call &&call);
int32_t exit_request(Call &&call, uint32_t request, uint32_t arg1, uint32_t arg2);

}  // namespace bspsim::detail::bmc

#endif
