// The serial port /dev/ttyS0.
#ifndef BSPSIM_MODELS_TTY_H
#define BSPSIM_MODELS_TTY_H

#include <termios.h>

#include "core/core.h"

namespace bspsim::detail::tty {

int32_t get(Call &&call, struct termios *t);
int32_t set(Call &&call, int action, const struct termios *t);
int32_t ioctl(Call &&call, unsigned long request, unsigned long arg);

}  // namespace bspsim::detail::tty

#endif
