// The enclosure as other models see it: its boards, the slot each sits in, and which slots hold
// a controller board. Lock held for all of it.
#ifndef BSPSIM_MODELS_ENCLOSURE_H
#define BSPSIM_MODELS_ENCLOSURE_H

#include <cstdint>

namespace bspsim::detail::enclosure {

inline constexpr uint32_t kSlots = 4;

uint32_t boards();
uint32_t slot_of(uint32_t board);
bool slot_present(uint32_t slot);
void set_slot_present(uint32_t slot, bool present);

}  // namespace bspsim::detail::enclosure

#endif
