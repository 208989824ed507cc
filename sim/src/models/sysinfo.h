// /dev/sys_info: the board-information word and the other words the platform answers by ioctl.
#ifndef BSPSIM_MODELS_SYSINFO_H
#define BSPSIM_MODELS_SYSINFO_H

#include "core/core.h"

namespace bspsim::detail::sysinfo {

// The ioctl on an open /dev/sys_info (errno set on failure).
int ioctl(Call &&call, uint32_t request, void *arg);
// Lock held. The board id the board-information word gives (bits 4-11), 0xFF when it has none.
uint8_t board_id();

}  // namespace bspsim::detail::sysinfo

#endif
