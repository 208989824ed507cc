// The platform's CPLD driver.
#ifndef BSPSIM_MODELS_CPLD_DRV_H
#define BSPSIM_MODELS_CPLD_DRV_H

#include "core/core.h"
#include "platform/cpld_drv.h"

namespace bspsim::detail::cpld_drv {

int32_t get_id(Call &&call, CpldIdRequest *req);
int32_t set_num(Call &&call, uint32_t num);

}  // namespace bspsim::detail::cpld_drv

#endif
