// Test-side view of the board's Ethernet switch and its own watchdog (4U four-controller boards:
// the framework object "GeSwitchObj"). The BMC asks the switch to stop its watchdog before it
// restarts ("SetWtdFlag" with a byte 1) and polls "GetWtdFlag" until the answer is 0. It acts on
// the board this process is attached to.
#ifndef BSPSIM_GE_SWITCH_HPP
#define BSPSIM_GE_SWITCH_HPP

#include <cstdint>

#include "bspsim/sim.hpp"

namespace bspsim {

// How the switch answers a stop request: the next `polls` polls after it answer 1 (pending),
// then 0; with `never`, it answers 1 for good. A new request starts the count again.
void set_switch_stop(uint32_t polls, bool never = false);
// The count set (or from the profile) and whether the switch never stops.
uint32_t switch_stop_polls();
bool switch_never_stops();
// A stop request is pending (armed and not yet served).
bool switch_stop_pending();
// The switch has stopped its watchdog (a request was served since the board came up).
bool switch_watchdog_stopped();

}  // namespace bspsim

#endif
