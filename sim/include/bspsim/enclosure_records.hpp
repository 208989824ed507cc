// Test-side view of the enclosure's identity as its boards see it: the frame type in the CPLD
// registers, the records the BMC keeps in the CPLD RAM (frame-type backup, backplane model,
// product configuration) and the IO cards that are in. Setters are the back door: they change
// the enclosure or the RAM as the world around the BMC would, and record nothing. The frame
// type and the cards belong to the enclosure; the RAM records to the board attached.
#ifndef BSPSIM_ENCLOSURE_RECORDS_HPP
#define BSPSIM_ENCLOSURE_RECORDS_HPP

#include <array>
#include <cstdint>
#include <string>

#include "bspsim/sim.hpp"

namespace bspsim {

// The frame type word (0x67 low, 0x68 high); the frame type is its low 6 bits. The check code
// in 0x66 always shows the parity mode the type passes, unless the fault below is set.
uint16_t frame_word(const Board &board);
void set_frame_word(Board &board, uint16_t word);
// A damaged check code: 0x66 shows the other parity mode, so the type fails its check.
void set_frame_check_fault(Board &board, bool wrong);

// The frame-type backup in the CPLD RAM (0xD91A-0xD91D): as the BMC writes it from the
// current frame type (marker 0x55), never written (all zero), or marked but erased (0xFF).
enum class FrameBackup : uint8_t { Valid, Absent, Erased };
void set_frame_backup(Board &board, FrameBackup backup);
// What the BMC last wrote to the CPLD's rewrite copy (0x275-0x277).
std::array<uint8_t, 3> frame_rewrite_copy(const Board &board);

// The records in the CPLD RAM: the backplane model (16 bytes at 0xD921) and the product
// configuration (64 bytes at 0xD99C), each zero-padded text followed by its CRC-8. An empty
// text leaves the record erased (all zero). Too long a text throws Error.
enum class Record : uint8_t { Model, Config };
void set_record(Board &board, Record record, const std::string &text);
// Spoils the record's check byte.
void corrupt_record_check(Board &board, Record record);

// IO cards 0 to kIoCards-1 (presence bits in 0x298-0x29B).
inline constexpr unsigned kIoCards = 28;
bool io_card(const Board &board, unsigned card);
void set_io_card(Board &board, unsigned card, bool present);

}  // namespace bspsim

#endif
