// Mastership as other models see it.
#ifndef BSPSIM_MODELS_MASTERSHIP_H
#define BSPSIM_MODELS_MASTERSHIP_H

#include <cstdint>

namespace bspsim::detail {

// Lock held. The board in `slot` left the enclosure: it is master no more.
void mastership_board_removed(uint32_t slot);

}  // namespace bspsim::detail

#endif
