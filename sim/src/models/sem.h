// System-wide process semaphores.
#ifndef BSPSIM_MODELS_SEM_H
#define BSPSIM_MODELS_SEM_H

#include <vector>

#include "core/core.h"

namespace bspsim::detail::sem {

int32_t take(Call &&call, uint32_t id, int32_t wait_s);
int32_t give(Call &&call, uint32_t id);
// This board's semaphores that this process took and has not given back.
std::vector<uint32_t> held_here();

}  // namespace bspsim::detail::sem

#endif
