// This board's slot straps, as the gpio model reads them.
#ifndef BSPSIM_MODELS_SLOTS_H
#define BSPSIM_MODELS_SLOTS_H

#include <cstdint>

namespace bspsim::detail::slots {

// Lock held. The level of pin `n` as the slot straps drive it; `level` for any other pin.
uint8_t strap_level(uint32_t n, uint8_t level);

}  // namespace bspsim::detail::slots

#endif
