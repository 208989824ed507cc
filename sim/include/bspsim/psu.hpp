// Test-side view of the enclosure's power supplies and its backup battery (BBU), as the CPLD of
// every board reports them. It acts on the instance this process is attached to (a test's
// Board, or the one BSPSIM_INSTANCE names), so tools that drive the hardware from a second
// terminal use it too.
#ifndef BSPSIM_PSU_HPP
#define BSPSIM_PSU_HPP

#include <cstdint>

#include "bspsim/sim.hpp"

namespace bspsim {

// One supply's state in units. An absent supply reads not power-ok and off, and raises no
// alarm of its own (its absence is what the presence code reports).
struct SupplyState {
    bool present = false;
    bool alarm = false;
    bool ok = false;
    bool on = false;
    uint32_t glitch_reads = 0;  // reads still to show an invalid code
};

class Psu {
public:
    // Supply `index` of the enclosure; throws Error unless it is below supply_count().
    explicit Psu(uint32_t index);
    SupplyState state() const;
    Psu &set_present(bool present);
    Psu &set_alarm(bool alarm);
    Psu &set_ok(bool ok);
    Psu &set_on(bool on);
    // The next `reads` register reads that carry this supply's codes show an invalid code
    // (0xF) instead; then the readings are good again.
    Psu &glitch(uint32_t reads);

private:
    uint32_t index_;
};

// How many supplies the enclosure has (2, or 4 on a four-controller enclosure).
uint32_t supply_count();
inline Psu psu(Board &, uint32_t index) { return Psu(index); }

struct BbuState {
    bool present = false;
    bool healthy = false;
};
BbuState bbu_state();
void set_bbu(const BbuState &state);

}  // namespace bspsim

#endif
