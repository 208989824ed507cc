// The SoC's secure core, behind the platform's message channel.
#ifndef BSPSIM_MODELS_SECURE_CORE_H
#define BSPSIM_MODELS_SECURE_CORE_H

#include "core/core.h"
#include "platform/sec.h"

namespace bspsim::detail::secure_core {

// The request's command word (bytes 0-1, little-endian), which faults can be keyed by;
// kAnyKey when the request has none.
uint32_t command_word(const SecMsgCmd *cmd);
int32_t sendrecv(Call &&call, SecMsgCmd *cmd);

}  // namespace bspsim::detail::secure_core

#endif
