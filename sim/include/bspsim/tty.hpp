// Test-side view of the simulated serial port /dev/ttyS0: its line settings as tcgetattr and
// tcsetattr see them, software flow control (IXON, IXOFF in c_iflag) included.
#ifndef BSPSIM_TTY_HPP
#define BSPSIM_TTY_HPP

#include <termios.h>

#include "bspsim/sim.hpp"

namespace bspsim {

struct termios tty_attr(const Board &board);
void set_tty_attr(Board &board, const struct termios &attr);
// START characters sent on the line (TCXONC with TCION), and whether output is suspended
// (TCXONC with TCOOFF, until TCOON).
uint32_t tty_starts_sent(const Board &board);
bool tty_output_stopped(const Board &board);

}  // namespace bspsim

#endif
