// Test-side view of this board's slot as its hardware tells it: the strap pins, the CPLD's slot
// register (0x32) with the repair register (0x17), the online bits of the controllers (0x33),
// the other controllers' slot codes (0x6A/0x6B), and the WWN record in the CPLD RAM. All of it
// follows the board's slot in the enclosure unless a fault overrides it. It acts on the board
// this process is attached to.
#ifndef BSPSIM_SLOTS_HPP
#define BSPSIM_SLOTS_HPP

#include <array>
#include <cstdint>

#include "bspsim/sim.hpp"

namespace bspsim {

class Slots {
public:
    // This board's slot in the enclosure (0..3); every rendering follows it.
    uint32_t slot() const;
    Slots &set_slot(uint32_t slot);
    // Faults: the strap pins read `raw` (pin k = bit k), the slot register holds `code` (bits
    // 0-2), the other controllers show the codes `first`, `second`, `third`. heal() ends them.
    Slots &set_strap(uint8_t raw);
    Slots &set_code(uint8_t code);
    Slots &set_peer_codes(uint8_t first, uint8_t second, uint8_t third);
    Slots &heal();
    // The controllers online, one bit per slot (0x33 bits 0-3).
    Slots &set_online(uint8_t slots);
    // What the repair left in register 0x17.
    uint8_t repaired() const;
    // Stores a valid WWN record of the enclosure MAC `mac` for this board's slot; or a raw
    // 64-bit WWN as is.
    Slots &set_wwn(const std::array<uint8_t, 6> &mac);
    Slots &set_wwn(uint64_t wwn);
};

inline Slots slots(Board &) { return {}; }

}  // namespace bspsim

#endif
