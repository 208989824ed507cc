// Test-side view of the board's clocks as its CPLD reports them: one clock-good bit per clock in
// registers 0x48 and 0x49, which bits depending on the board id. Every clock runs until a test or
// a tool loses it. It acts on the board this process is attached to.
#ifndef BSPSIM_CLOCKS_HPP
#define BSPSIM_CLOCKS_HPP

#include <cstdint>

#include "bspsim/sim.hpp"

namespace bspsim {

class Clocks {
public:
    // The clock-good bits of register `reg` on this board (0: none, also for another register).
    uint8_t clock_bits(uint32_t reg) const;
    // The clocks of `reg` lost now, as bits.
    uint8_t lost(uint32_t reg) const;
    // The clock of bit `bit` of `reg` stops, or runs again. Throws Error for a register other
    // than 0x48 and 0x49, a bit above 7 or a bit that is no clock of this board.
    Clocks &lose(uint32_t reg, uint32_t bit);
    Clocks &restore(uint32_t reg, uint32_t bit);
};

inline Clocks clocks(Board &) { return {}; }
inline Clocks clocks() { return {}; }

}  // namespace bspsim

#endif
