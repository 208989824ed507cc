// Mastership: the CPLDs of the enclosure arbitrate which controller board is master. A board
// asks by pulsing a request bit (1, then 0) that a write protect guards; the role fields and
// every board's own role register show the result at once. The state is the enclosure's, so
// every process attached to any board sees one arbitration.
//   0xDF bits 0-3  own role code: 9 master, 6 slave, 0xF undecided (an empty or faulty field)
//   0xE1 bit 4     grab request: its falling edge makes the board master if no board is
//   0xE1 bit 3     abandon request: its falling edge gives mastership up
//   0xE2 bit 3/2   write protect of the grab/abandon request: the request bit takes writes
//                  only while it is 0; set after a reset
//   0xE4           role field of slot n in bits 2n and 2n+1: 1 master, 2 slave, 0 empty slot
// Writes to 0xDF and 0xE4 change nothing; the back door (and a profile) forces them.
// [mastership] master = the slot that is master after a reset, or none (the default)
#include <cstring>
#include <string>

#include "bspsim/mastership.hpp"
#include "core/core.h"
#include "core/section.h"
#include "models/cpld.h"
#include "models/enclosure.h"
#include "models/mastership.h"

namespace bspsim::detail::mastership {
namespace {

constexpr uint32_t kOwnRoleReg = 0xDF;
constexpr uint32_t kRequestReg = 0xE1;
constexpr uint32_t kProtectReg = 0xE2;
constexpr uint32_t kFieldsReg = 0xE4;
constexpr uint8_t kGrabBit = 0x10;
constexpr uint8_t kAbandonBit = 0x08;
constexpr uint8_t kGrabProtect = 0x08;
constexpr uint8_t kAbandonProtect = 0x04;
constexpr uint8_t kCodeMask = 0x0F;
constexpr uint8_t kMasterCode = 9, kSlaveCode = 6, kUndecidedCode = 0xF;
constexpr uint8_t kFieldEmpty = 0, kFieldMaster = 1, kFieldSlave = 2;

struct State {
    uint8_t masters;  // bit n: slot n is master
    uint8_t forced;   // bit n: slot n's field is forced to forced_field[n]
    uint8_t forced_field[enclosure::kSlots];
    uint8_t two_claims;
    uint8_t request[kMaxBoards];      // request bits as each board last wrote them
    uint8_t held[kMaxBoards];         // request bits stuck at 1
    uint8_t code_forced[kMaxBoards];  // nonzero: the own role code reads its low nibble
};

State &st() { return region<State>(ModelId::mastership); }

uint8_t field(uint32_t slot)
{
    if (st().forced >> slot & 1) return st().forced_field[slot];
    if (!(enclosure::present() >> slot & 1)) return kFieldEmpty;
    return (st().masters >> slot & 1) ? kFieldMaster : kFieldSlave;
}

uint8_t fields()
{
    uint8_t v = 0;
    for (uint32_t s = 0; s < enclosure::kSlots; ++s) v = static_cast<uint8_t>(v | field(s) << (2 * s));
    return v;
}

void set_masters(uint8_t masters)
{
    if (masters == st().masters) return;
    st().masters = masters;
    std::string text = "master";
    for (uint32_t s = 0; s < enclosure::kSlots; ++s) {
        if (masters >> s & 1) text += " " + std::to_string(s);
    }
    record_change(kFieldsReg, masters, masters ? text : "master none");
}

uint8_t reg_read(uint32_t addr)
{
    const uint32_t board = board_index();
    if (addr == kFieldsReg) return fields();
    if (addr == kRequestReg) return st().request[board];
    if (st().code_forced[board]) return st().code_forced[board] & kCodeMask;
    const uint8_t own = field(enclosure::slot_of(board));
    return own == kFieldMaster ? kMasterCode : own == kFieldSlave ? kSlaveCode : kUndecidedCode;
}

// A request's falling edge acts: a grab wins when no board is master (or two claims are
// allowed), an abandon always gives the board's mastership up.
void request_done(uint32_t board, uint8_t bit)
{
    const uint32_t slot = enclosure::slot_of(board);
    const auto own = static_cast<uint8_t>(1u << slot);
    if (bit == kAbandonBit) {
        set_masters(static_cast<uint8_t>(st().masters & ~own));
    } else if ((st().masters == 0 || st().two_claims) && (enclosure::present() >> slot & 1)) {
        set_masters(static_cast<uint8_t>(st().masters | own));
    }
}

void reg_write(uint32_t addr, uint8_t value, uint8_t mask)
{
    const uint32_t board = board_index();
    if (cpld::back_door()) {
        if (addr == kOwnRoleReg) st().code_forced[board] = static_cast<uint8_t>(0x80 | (value & kCodeMask));
        if (addr == kRequestReg) st().request[board] = static_cast<uint8_t>(value & mask);
        if (addr == kFieldsReg) {
            st().forced = 0x0F;
            for (uint32_t s = 0; s < enclosure::kSlots; ++s) st().forced_field[s] = value >> (2 * s) & 3;
        }
        return;
    }
    if (addr != kRequestReg) return;
    for (uint8_t bit : {kGrabBit, kAbandonBit}) {
        if (!(mask & bit)) continue;
        const bool was = st().request[board] & bit;
        const bool now = (value & bit) || (st().held[board] & bit);
        st().request[board] = static_cast<uint8_t>(now ? st().request[board] | bit : st().request[board] & ~bit);
        if (was && !now) request_done(board, bit);
    }
}

// A request bit refuses writes while its protect bit is set.
uint8_t reg_closed(uint32_t addr)
{
    if (addr != kRequestReg) return 0;
    const uint8_t protect = cpld::stored(kProtectReg);
    return static_cast<uint8_t>(((protect & kGrabProtect) ? kGrabBit : 0) | ((protect & kAbandonProtect) ? kAbandonBit : 0));
}

void reset()
{
    cpld::hook(kOwnRoleReg, ModelId::mastership, kCodeMask);
    cpld::hook(kRequestReg, ModelId::mastership, kGrabBit | kAbandonBit);
    cpld::hook(kFieldsReg, ModelId::mastership, 0xFF);
    (void)cpld::write(kProtectReg, kGrabProtect | kAbandonProtect, kGrabProtect | kAbandonProtect);
}

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "master") != 0) s.fail(std::string("unknown key ") + key);
        st().masters = std::strcmp(value, "none") == 0
                           ? 0
                           : static_cast<uint8_t>(1u << s.number(value, enclosure::kSlots, "slot"));
    });
}

}  // namespace
}  // namespace bspsim::detail::mastership

namespace bspsim::detail {

const Model model_mastership = {.name = "mastership", .scope = Scope::Enclosure,
                                .size = sizeof(mastership::State), .sections = "mastership",
                                .load = mastership::load, .reset = mastership::reset,
                                .reg_read = mastership::reg_read, .reg_write = mastership::reg_write,
                                .reg_closed = mastership::reg_closed};

void mastership_board_removed(uint32_t slot)
{
    mastership::set_masters(static_cast<uint8_t>(mastership::st().masters & ~(1u << slot)));
}

void mastership_board_rebooted(uint32_t board)
{
    mastership::st().request[board] = 0;
    mastership_board_removed(enclosure::slot_of(board));
}

}  // namespace bspsim::detail

namespace bspsim {

using namespace detail;

uint8_t role_field(uint32_t slot)
{
    check_range("slot", slot, enclosure::kSlots);
    Lock lock;
    return mastership::field(slot);
}

uint8_t master_slots()
{
    Lock lock;
    return mastership::st().masters;
}

void set_master(int slot)
{
    if (slot >= 0) check_range("slot", static_cast<uint32_t>(slot), enclosure::kSlots);
    Lock lock;
    mastership::set_masters(slot < 0 ? 0 : static_cast<uint8_t>(1u << slot));
}

void force_role_field(uint32_t slot, uint8_t field)
{
    check_range("slot", slot, enclosure::kSlots);
    check_range("role field", field, 4);
    Lock lock;
    mastership::st().forced |= static_cast<uint8_t>(1u << slot);
    mastership::st().forced_field[slot] = field;
}

void hold_request(uint32_t board, bool grab, bool held)
{
    Lock lock;
    check_range("board", board, enclosure::boards());
    const uint8_t bit = grab ? mastership::kGrabBit : mastership::kAbandonBit;
    uint8_t &h = mastership::st().held[board];
    h = static_cast<uint8_t>(held ? h | bit : h & ~bit);
}

void allow_two_claims(bool on)
{
    Lock lock;
    mastership::st().two_claims = on;
}

void clear_mastership_faults()
{
    Lock lock;
    auto &s = mastership::st();
    s.forced = 0;
    s.two_claims = 0;
    std::memset(s.held, 0, sizeof s.held);
    std::memset(s.code_forced, 0, sizeof s.code_forced);
}

}  // namespace bspsim
