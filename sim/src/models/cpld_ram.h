// The CPLD's RAM as other models see it: models that keep a record there (the RAM is plain
// memory: what a model puts there at reset is what the library reads first) reach it directly.
#ifndef BSPSIM_MODELS_CPLD_RAM_H
#define BSPSIM_MODELS_CPLD_RAM_H

#include <cstdint>

namespace bspsim::detail::cpld_ram {

// Lock held. The byte at a RAM address as the window reaches it (its low 13 bits).
uint8_t &cell(uint32_t addr);
// Lock held. Stores one byte at RAM address `addr`.
void put(uint32_t addr, uint8_t value);

}  // namespace bspsim::detail::cpld_ram

#endif
