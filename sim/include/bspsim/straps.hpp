// Test-side view of the board's chip identification straps: the GPIO pins 129 (bit 0) to 132
// (bit 3), which tell the clock generator, CPLD and voltage regulator variant fitted. Profiles
// give their levels in [gpio]; a pin's reads fail through the usual fault injection (Op::GpioRead
// or Op::GpioInit keyed by the pin). It acts on the board this process is attached to.
#ifndef BSPSIM_STRAPS_HPP
#define BSPSIM_STRAPS_HPP

#include <cstdint>

#include "bspsim/sim.hpp"

namespace bspsim {

class Straps {
public:
    static constexpr uint32_t kFirstPin = 129;
    static constexpr uint32_t kPins = 4;
    // All four pins at once: pin 129 + k reads bit k of `value`. Throws Error above 0xF.
    Straps &set(uint32_t value);
};

inline Straps straps(Board &) { return {}; }
inline Straps straps() { return {}; }

}  // namespace bspsim

#endif
