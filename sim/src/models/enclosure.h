// The enclosure as other models see it: the slot each board sits in.
#ifndef BSPSIM_MODELS_ENCLOSURE_H
#define BSPSIM_MODELS_ENCLOSURE_H

#include <cstdint>

namespace bspsim::detail::enclosure {

// Lock held. The slot of board `board` of the enclosure, and a change of it.
uint32_t slot_of(uint32_t board);
void set_slot_of(uint32_t board, uint32_t slot);

}  // namespace bspsim::detail::enclosure

#endif
