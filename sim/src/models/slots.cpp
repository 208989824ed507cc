// This board's slot as its hardware tells it, rendered from the slot the enclosure gives the
// board:
//   strap pins   four-controller boards and the SMMs: three pins, bits 0-1 the slot, bit 2 the
//                parity that makes the three even; other boards two pins, 2 for slot 0 and 1 for
//                slot 1; the board with id 0x71 has none. The SMMs with ids 0x81/0x82 use pins
//                50, 53, 52, the others 26, 27, 28 (bit 0 first).
//   0x32 bits 0-2  the slot code (0, 5, 6, 3 for slots 0 to 3)
//   0x17           the repaired slot: keeps what is written
//   0x33 bits 0-3  the controllers online, one bit per slot
//   0x6A bits 0-2, 4-6, 0x6B bits 0-2  the codes of the other three slots, lowest first
// Faults (a bad strap value, a bad code, bad peer codes) come from the test-side view. The
// strap, code and peer-code registers are status registers: bus writes change nothing.
// [slots] online = the slots whose controllers are online (none when not given)
//         mac = the enclosure MAC (six bytes): a valid WWN record for this board's slot is put
//         into the CPLD RAM at 0xD801 (marker 0x55, WWN low byte first, check byte).
#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "bspsim/slots.hpp"
#include "core/section.h"
#include "models/cpld.h"
#include "models/cpld_ram.h"
#include "models/enclosure.h"
#include "models/sysinfo.h"
#include "platform/misc.h"

namespace bspsim::detail::slots {
namespace {

constexpr uint32_t kSlotReg = 0x32;
constexpr uint32_t kRepairedReg = 0x17;
constexpr uint32_t kOnlineReg = 0x33;
constexpr uint32_t kPeerReg = 0x6A;
constexpr uint32_t kLastPeerReg = 0x6B;
constexpr std::array<uint8_t, 4> kCodes = {0, 5, 6, 3};
constexpr uint32_t kWwnAddr = 0xD801;

// Board kinds by board id, as their straps are wired.
constexpr std::array<uint8_t, 1> kNoStrapIds = {0x71};
constexpr std::array<uint8_t, 6> kParityStrapIds = {0x0A, 0x0C, 0x0F, 0x11, 0x81, 0x82};
constexpr std::array<uint8_t, 2> kOwnPinIds = {0x81, 0x82};
constexpr std::array<uint32_t, 3> kOwnPins = {50, 53, 52};
constexpr std::array<uint32_t, 3> kPins = {26, 27, 28};

template <size_t N>
bool among(const std::array<uint8_t, N> &ids, uint8_t id)
{
    for (uint8_t i : ids) {
        if (i == id) return true;
    }
    return false;
}

struct State {
    uint8_t strap_fault, strap;
    uint8_t code_fault, code;
    uint8_t peer_fault, peer[3];
    uint8_t repaired;
    uint8_t online;
};

State &st() { return region<State>(ModelId::slots); }

uint32_t my_slot() { return enclosure::slot_of(board_index()); }

uint8_t code_of(uint32_t slot) { return slot < kCodes.size() ? kCodes[slot] : 7; }

// The strap value of this board's slot, and how many pins carry it.
uint8_t strap_value(bool parity)
{
    if (st().strap_fault) return st().strap;
    const uint32_t slot = my_slot();
    if (!parity) return slot == 0 ? 2 : slot == 1 ? 1 : 0;
    const uint8_t low = slot & 3;
    return static_cast<uint8_t>(low | (__builtin_popcount(low) & 1) << 2);
}

// The codes of the three other slots, lowest slot first.
std::array<uint8_t, 3> peer_codes()
{
    if (st().peer_fault) return {st().peer[0], st().peer[1], st().peer[2]};
    std::array<uint8_t, 3> out{};
    size_t n = 0;
    for (uint32_t s = 0; s < kCodes.size() && n < out.size(); ++s) {
        if (s != my_slot()) out[n++] = kCodes[s];
    }
    return out;
}

uint8_t render(uint32_t addr)
{
    switch (addr) {
    case kSlotReg: return st().code_fault ? st().code : code_of(my_slot());
    case kRepairedReg: return st().repaired;
    case kOnlineReg: return st().online;
    case kPeerReg: return static_cast<uint8_t>(peer_codes()[0] | peer_codes()[1] << 4);
    default: return peer_codes()[2];
    }
}

void write(uint32_t addr, uint8_t value, uint8_t mask)
{
    auto merge = [&](uint8_t old) { return static_cast<uint8_t>((old & ~mask) | (value & mask)); };
    if (addr == kRepairedReg) st().repaired = merge(st().repaired);
    // A profile or a test sets the online bits through the register; the bus cannot.
    if (addr == kOnlineReg && cpld::back_door()) st().online = merge(st().online);
}

void reset()
{
    cpld::hook(kSlotReg, ModelId::slots, 0x07);
    cpld::hook(kRepairedReg, ModelId::slots, 0xFF);
    cpld::hook(kOnlineReg, ModelId::slots, 0x0F);
    cpld::hook(kPeerReg, ModelId::slots, 0x77);
    cpld::hook(kLastPeerReg, ModelId::slots, 0x07);
}

void put_wwn(uint64_t wwn)
{
    std::array<uint8_t, 8> bytes{};
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(wwn >> (8 * i));
    cpld_ram::put(kWwnAddr, 0x55);
    for (size_t i = 0; i < bytes.size(); ++i) cpld_ram::put(kWwnAddr + 1 + static_cast<uint32_t>(i), bytes[i]);
    cpld_ram::put(kWwnAddr + 9, arith_make_crc_checksum(0, bytes.data(), 8));
}

uint64_t wwn_of(const std::array<uint8_t, 6> &mac)
{
    uint64_t m = 0;
    for (uint8_t b : mac) m = m << 8 | b;
    return 0x5000000000000000ull | m << 12 | uint64_t{my_slot() & 0xF} << 8 | 0x39;
}

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "online") == 0) {
            st().online = 0;
            for (uint32_t slot : s.list(value)) {
                if (slot >= kCodes.size()) s.fail("online: slots are 0 to 3");
                st().online = static_cast<uint8_t>(st().online | 1u << slot);
            }
            return;
        }
        if (std::strcmp(key, "mac") != 0) s.fail(std::string("unknown key ") + key);
        std::array<uint8_t, 6> mac{};
        char end = 0;
        if (std::sscanf(value, "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx%c", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5],
                        &end) != 6) {
            s.fail("mac: six bytes, as 00:11:22:33:44:55");
        }
        put_wwn(wwn_of(mac));
    });
}

}  // namespace

// Lock held. The level the strap pins give pin `n` of this board, or `level` for a pin that
// carries no strap.
uint8_t strap_level(uint32_t n, uint8_t level)
{
    const uint8_t id = sysinfo::board_id();
    if (among(kNoStrapIds, id)) return level;
    const bool parity = among(kParityStrapIds, id);
    const std::array<uint32_t, 3> &pins = among(kOwnPinIds, id) ? kOwnPins : kPins;
    for (size_t k = 0; k < (parity ? 3u : 2u); ++k) {
        if (pins[k] == n) return (strap_value(parity) >> k) & 1;
    }
    return level;
}

}  // namespace bspsim::detail::slots

namespace bspsim::detail {
const Model model_slots = {.name = "slots", .scope = Scope::Board, .size = sizeof(slots::State), .sections = "slots",
                           .load = slots::load, .reset = slots::reset, .reg_read = slots::render,
                           .reg_write = slots::write};
}

namespace bspsim {

using namespace detail;

uint32_t Slots::slot() const
{
    Lock lock;
    return slots::my_slot();
}

Slots &Slots::set_slot(uint32_t slot)
{
    check_range("slot", slot, 4);
    Lock lock;
    enclosure::set_slot_of(board_index(), slot);
    return *this;
}

Slots &Slots::set_strap(uint8_t raw)
{
    check_range("strap value", raw, 8);
    Lock lock;
    slots::st().strap_fault = 1;
    slots::st().strap = raw;
    return *this;
}

Slots &Slots::set_code(uint8_t code)
{
    check_range("slot code", code, 8);
    Lock lock;
    slots::st().code_fault = 1;
    slots::st().code = code;
    return *this;
}

Slots &Slots::set_peer_codes(uint8_t first, uint8_t second, uint8_t third)
{
    for (uint8_t c : {first, second, third}) check_range("slot code", c, 8);
    Lock lock;
    slots::st().peer_fault = 1;
    slots::st().peer[0] = first;
    slots::st().peer[1] = second;
    slots::st().peer[2] = third;
    return *this;
}

Slots &Slots::heal()
{
    Lock lock;
    slots::st().strap_fault = slots::st().code_fault = slots::st().peer_fault = 0;
    return *this;
}

Slots &Slots::set_online(uint8_t mask)
{
    check_range("online slots", mask, 16);
    Lock lock;
    slots::st().online = mask;
    return *this;
}

uint8_t Slots::repaired() const
{
    Lock lock;
    return slots::st().repaired;
}

Slots &Slots::set_wwn(const std::array<uint8_t, 6> &mac)
{
    Lock lock;
    slots::put_wwn(slots::wwn_of(mac));
    return *this;
}

Slots &Slots::set_wwn(uint64_t wwn)
{
    Lock lock;
    slots::put_wwn(wwn);
    return *this;
}

}  // namespace bspsim
