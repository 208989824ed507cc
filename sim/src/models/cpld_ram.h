// The CPLD's RAM as other models see it: models that keep a record there write it directly.
#ifndef BSPSIM_MODELS_CPLD_RAM_H
#define BSPSIM_MODELS_CPLD_RAM_H

#include <cstdint>

namespace bspsim::detail::cpld_ram {

// Lock held. Stores one byte at RAM address `addr`.
void put(uint32_t addr, uint8_t value);

}  // namespace bspsim::detail::cpld_ram

#endif
