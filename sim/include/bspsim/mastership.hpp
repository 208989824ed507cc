// Test-side view of the enclosure's boards and of mastership among them. It acts on the
// instance this process is attached to (a test's Board, or the one BSPSIM_INSTANCE names).
//
// An instance is an enclosure: the boards processes can attach to (BSPSIM_BOARD picks one),
// each in its slot, and the slots that hold a controller board (attached to or not). The CPLD
// of every board shows the same role fields; each board's own role register shows its own.
#ifndef BSPSIM_MASTERSHIP_HPP
#define BSPSIM_MASTERSHIP_HPP

#include <cstdint>

#include "bspsim/sim.hpp"

namespace bspsim {

// The boards of the enclosure, the one this process is, and the slot of each.
uint32_t board_count();
uint32_t attached_board();
// Makes this process board `board` of the enclosure it is attached to (a forked child that is
// to be another board); throws Error when the enclosure has no such board.
void switch_board(uint32_t board);
uint32_t slot_of_board(uint32_t board);
// Slots 0 to 3: whether a controller board sits there. A board taken out is master no more.
bool slot_present(uint32_t slot);
void set_slot_present(uint32_t slot, bool present);

// Role fields as the CPLD shows them: 1 master, 2 slave, 0 an empty slot, others a fault.
uint8_t role_field(uint32_t slot);
// The slots that hold mastership (bit n: slot n); more than one only under the fault below.
uint8_t master_slots();
// Makes the board in `slot` the only master (-1: none), as if it had grabbed.
void set_master(int slot);

// Faults. A forced field reads `field` whatever the arbitration says, until cleared; a held
// request bit of `board` stays 1 (so its pulse never ends); with two claims allowed a grab
// succeeds even while another board is master.
void force_role_field(uint32_t slot, uint8_t field);
void hold_request(uint32_t board, bool grab, bool held);
void allow_two_claims(bool on);
void clear_mastership_faults();

}  // namespace bspsim

#endif
