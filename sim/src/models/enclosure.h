// The enclosure as other models see it: its boards, the slot each sits in, and which slots hold
// a controller board. Lock held for all of it.
#ifndef BSPSIM_MODELS_ENCLOSURE_H
#define BSPSIM_MODELS_ENCLOSURE_H

#include <cstdint>

namespace bspsim::detail::enclosure {

inline constexpr uint32_t kSlots = 4;

uint32_t boards();
// The slot of board `board` of the enclosure, and a change of it.
uint32_t slot_of(uint32_t board);
void set_slot_of(uint32_t board, uint32_t slot);
// The slots that hold a controller board, one bit per slot.
uint8_t present();
void set_present(uint8_t slots);

}  // namespace bspsim::detail::enclosure

#endif
