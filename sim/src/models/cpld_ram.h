// The CPLD RAM's bytes, for models that keep records there from the start (the RAM is plain
// memory: whatever a model puts there at reset is what the library reads first).
#ifndef BSPSIM_MODELS_CPLD_RAM_H
#define BSPSIM_MODELS_CPLD_RAM_H

#include <cstdint>

namespace bspsim::detail::cpld_ram {

// Lock held. The byte at a RAM address as the window reaches it (its low 13 bits).
uint8_t &cell(uint32_t addr);

}  // namespace bspsim::detail::cpld_ram

#endif
