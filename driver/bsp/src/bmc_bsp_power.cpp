// Power: the supplies and the backup battery as the CPLD reports them, and the power of this
// controller board itself (PS_ON, standby, rails, front power, the soft power button).
#include "bmc_bsp.h"
#include "core/cpld_regs.h"
#include "core/log.h"

namespace {

// ------------------------------------------------------------------ supplies and battery

// ------------------------------------------------------------------------- board power

}  // namespace

extern "C" {

// ------------------------------------------------------------------ supplies and battery

// ------------------------------------------------------------------------- board power

}  // extern "C"
