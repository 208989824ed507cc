// Mastership as other models see it.
#ifndef BSPSIM_MODELS_MASTERSHIP_H
#define BSPSIM_MODELS_MASTERSHIP_H

#include <cstdint>

namespace bspsim::detail {

// Lock held. The board in `slot` left the enclosure: it is master no more.
void mastership_board_removed(uint32_t slot);
// Lock held. Board `board` rebooted its BMC: it gives its mastership up and its request bits
// are back at rest.
void mastership_board_rebooted(uint32_t board);

}  // namespace bspsim::detail

#endif
