// Test-side view of the simulated board's power: off, in standby or on, the other controller
// boards as this board's CPLD shows them, rail bits held by a fault, the abnormal power-down
// record and the expansion boards' power bits in CPLD RAM.
#ifndef BSPSIM_BOARD_POWER_HPP
#define BSPSIM_BOARD_POWER_HPP

#include <cstdint>

#include "bspsim/sim.hpp"

namespace bspsim {

enum class Power : uint8_t { Off = 0, Standby = 1, On = 2 };

// "off", "standby", "on".
const char *power_name(Power p);

class BoardPower {
public:
    // A view of `board`, or (null) of the instance this process is attached to, as a tool is;
    // the expansion boards need a Board.
    explicit BoardPower(Board *board) : board_(board) {}

    Power state() const;
    void set_state(Power p);
    // Controller board `board` (0..3) as this board's CPLD shows it (PS_ON, standby). The entry
    // of this board's own index follows its own state.
    Power peer(uint32_t board) const;
    void set_peer(uint32_t board, Power p);

    // The bits of a rail power-good register (0x37-0x3C, 0x3E, 0x79) that are rails of this
    // board id; the front power registers 0x3D and 0x15D give the bits a healthy, powered board
    // shows. 0 for another register or an unknown board id.
    uint8_t rails(uint32_t reg) const;
    // Holds bit `bit` of a status register this model renders (rails, front power) at `level`
    // whatever the power state; a level of -1 lets it go. Anything else throws.
    void hold(uint32_t reg, uint32_t bit, int level);

    // The abnormal power-down flag (0x42 bit 7) and its record (0x3F, 0x40, 0x41, 0x77).
    bool power_down_flag() const;
    // Width in ms of the last soft power button pulse that moved the power (0: none yet).
    uint32_t last_pulse_ms() const;

    // Expansion board `n` (0..3) is recorded powered on in CPLD RAM 0xD919 bit n.
    bool exp_board_on(uint32_t n) const;
    void set_exp_board_on(uint32_t n, bool on);

private:
    Board &board() const;
    Board *board_;
};

inline BoardPower board_power(Board &board) { return BoardPower(&board); }
inline BoardPower board_power() { return BoardPower(nullptr); }

}  // namespace bspsim

#endif
