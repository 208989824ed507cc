// The power of the board: off, in standby (main power off, standby power up) or on, and what the
// CPLD shows of it and of the other controller boards.
//
// Rendered registers (the model claims these bits and no others):
//  - rail power-good 0x37-0x3C, 0x3E, 0x79: the board id's rail bits read 1 while the board is on
//    and 0 otherwise; front power 0x3D (and 0x15D): what a healthy board of this id shows when on,
//    0 otherwise. A fault can hold any of their bits at 0 or 1; their other bits stay plain.
//  - 0x47 bit 4: this board is in standby. 0xF9 bits 3/7, 0xFA bits 3/7: controller boards 0..3
//    in standby. 0x1B1 bits 0-3: PS_ON of controller boards 0..3 (1 = on). The entry of this
//    board's own index follows its own state, the others come from the profile.
//  - the soft power button 0xE7 bits 0/1/2 (active low), each writable only while the same bit of
//    0xE8 is 0: a pulse low then high powers on / forces off / powers off gracefully; the move
//    is recorded with the pulse's width in virtual time.
//  - the host CPU's soft reset 0xE7 bit 6, writable only while 0xE8 bit 6 is 0: a pulse 1, 0, 1
//    resets the host, recorded as "host reset by cpld 0xe7, W ms" (W the time it was low).
//  - the AC interrupt 0x1A0 bit 0, writable while 0x1A1 bit 0 is 1: a pulse 0 then 1 resets the
//    system as an AC loss would. The board comes back on at once (the supplies never went away),
//    and the loss is left in the abnormal power-down record.
//  - the soft-reset notification 0x1A3 bits 1 and 2, writable only while their write enable
//    0x1A4 bit 0 is 1: setting both notifies the CPLD of a soft reset of the host ("soft-reset
//    notification"), clearing them ends it.
//  - the AC-off request 0xC8 bit 0: 1 cuts the board's power (off, recorded as an AC loss), 0
//    gives it back (on). A loss also sets the power register 0xC2 bit 2; a 1 written to 0xC4 bit 2
//    clears it.
//  - the abnormal power-down record: 0x42 bit 7 flags it, 0x3F holds its cause (1 forced off,
//    2 AC off, 3 AC interrupt), 0x40, 0x41 and 0x77 the rails 0x37, 0x38, 0x39 as they read just
//    before. Writing 0x42 bit 7 to 1 and then to 0 clears flag and record. The record bytes are
//    stored into the register file rather than rendered: 0x40 doubles as an interrupt register
//    that other code reads and sets, so they stay plain bytes the model fills.
//  - the sys-up bits 0x1B0, held here (profile: sysup=BYTE).
// The host's other reset flags stay plain registers, set by the profile or the back door: the
// reset type 0xEB bit 0, the OS boot flag 0xED bits 0-2, the SMM's OS boot flag 0x158 and the
// boards' BMC boot status 0x1F0 bits 0-3. The hard-reset line is the gpio model's.
//
// [power] state=on|standby|off  peers=STATE,STATE,...  (controller boards 0..3)  sysup=BYTE
#include <glib.h>

#include <array>
#include <cstring>

#include "bspsim/board_power.hpp"
#include "core/section.h"
#include "models/cpld.h"
#include "models/sysinfo.h"

namespace bspsim::detail::board_power {
namespace {

// The status registers the model renders whole, in the order of the rows below.
constexpr std::array<uint32_t, 10> kStatusRegs = {0x37, 0x38, 0x39, 0x3A, 0x3B, 0x3C, 0x3E, 0x79, 0x3D, 0x15D};
constexpr size_t kFrontIndex = 8;

// Per board id: the rail bits of each rail register, then the front power bytes of a healthy
// board that is on (for the Arm boards: their expected bits and one gate bit).
struct BoardRails {
    uint8_t id;
    std::array<uint8_t, kStatusRegs.size()> bits;
};

// clang-format off
constexpr std::array<BoardRails, 20> kBoards = {{
    //     0x37  0x38  0x39  0x3A  0x3B  0x3C  0x3E  0x79  0x3D  0x15D
    {0x0A, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x9F, 0xFF, 0x00, 0x05, 0x00}},
    {0x71, {0xFF, 0xFF, 0xFF, 0x7F, 0x00, 0xFF, 0x08, 0x00, 0x87, 0xC0}},
    {0x03, {0xFF, 0x0F, 0x3F, 0xFF, 0x0F, 0x81, 0x0F, 0x00, 0x22, 0x00}},
    {0x00, {0xFF, 0x0F, 0x3F, 0xFF, 0x0F, 0x81, 0x0F, 0x00, 0x22, 0x00}},
    {0x05, {0x0F, 0x00, 0x03, 0x7F, 0x00, 0x83, 0x03, 0x00, 0x03, 0x00}},
    {0x06, {0x0F, 0x00, 0x03, 0x7F, 0x00, 0x83, 0x03, 0x00, 0x03, 0x00}},
    {0x09, {0x0F, 0x00, 0x03, 0x7F, 0x00, 0x83, 0x03, 0x00, 0x03, 0x00}},
    {0x12, {0x3F, 0x13, 0x0F, 0x03, 0x7F, 0x00, 0x11, 0x00, 0x23, 0x00}},
    {0x14, {0x3F, 0x13, 0x0F, 0x03, 0x7F, 0x00, 0x11, 0x00, 0x23, 0x00}},
    {0x11, {0xFF, 0x3F, 0xFF, 0x3F, 0x00, 0xFF, 0xF8, 0x00, 0x87, 0x00}},
    {0x22, {0x35, 0x13, 0x0F, 0x03, 0x07, 0x00, 0x8B, 0x00, 0x03, 0x00}},
    {0x24, {0x35, 0x13, 0x0F, 0x03, 0x07, 0x00, 0x8B, 0x00, 0x03, 0x00}},
    {0x27, {0x35, 0x13, 0x0F, 0x03, 0x07, 0x00, 0x8B, 0x00, 0x03, 0x00}},
    {0x1D, {0x35, 0x13, 0x0F, 0x03, 0x07, 0x00, 0x9B, 0x00, 0x03, 0x00}},
    {0x2E, {0x33, 0x03, 0x55, 0x01, 0xF7, 0x00, 0x00, 0x1F, 0xBF, 0x00}},
    {0x33, {0xFF, 0x0F, 0xFF, 0x03, 0xF7, 0x00, 0x00, 0x1F, 0xBF, 0x00}},
    {0x35, {0xFF, 0x0F, 0xFF, 0x03, 0xFF, 0x00, 0x00, 0x03, 0xBF, 0x00}},
    {0x2D, {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xBF, 0x00}},
    {0x99, {0x11, 0x11, 0x0F, 0x03, 0x07, 0x00, 0xEF, 0x00, 0x06, 0x00}},
    {0x95, {0x11, 0x11, 0x0F, 0x03, 0x00, 0x00, 0xEF, 0x00, 0x06, 0x00}},
}};
// clang-format on

constexpr uint32_t kStandbyReg = 0x47;
constexpr uint8_t kStandbyBit = 0x10;
constexpr uint32_t kPeerStandbyLo = 0xF9;  // bit 3 board 0, bit 7 board 1
constexpr uint32_t kPeerStandbyHi = 0xFA;  // bit 3 board 2, bit 7 board 3
constexpr uint8_t kPeerStandbyBits = 0x88;
constexpr uint32_t kPsOnReg = 0x1B1;
constexpr uint32_t kButtonReg = 0xE7;
constexpr uint32_t kButtonGuard = 0xE8;
constexpr uint8_t kButtonBits = 0x07;
constexpr uint8_t kSoftResetBit = 0x40;
constexpr uint8_t kGuardedBits = kButtonBits | kSoftResetBit;
constexpr uint32_t kAcIntReg = 0x1A0;
constexpr uint32_t kAcIntGuard = 0x1A1;
constexpr uint32_t kNotifyReg = 0x1A3;
constexpr uint32_t kNotifyEnable = 0x1A4;
constexpr uint8_t kNotifyBits = 0x06;
constexpr uint32_t kAcOffReg = 0xC8;
constexpr uint32_t kPwrLatchReg = 0xC2;
constexpr uint32_t kPwrClearReg = 0xC4;
constexpr uint8_t kPwrBit = 0x04;
constexpr uint32_t kDownFlagReg = 0x42;
constexpr uint8_t kDownFlagBit = 0x80;
constexpr std::array<uint32_t, 4> kDownRecordRegs = {0x3F, 0x40, 0x41, 0x77};
constexpr uint32_t kSysUpReg = 0x1B0;
constexpr uint32_t kPeers = 4;

enum Cause : uint8_t { kForcedOff = 1, kAcOff = 2, kAcInterrupt = 3 };

struct State {
    uint8_t power;
    uint8_t peers[kPeers];
    uint8_t held_mask[kStatusRegs.size()];
    uint8_t held_value[kStatusRegs.size()];
    uint8_t button;  // levels of 0xE7 bits 0-2 (1 = released)
    uint8_t ac_int;
    uint8_t ac_off;
    uint8_t pwr_latch;
    uint8_t pwr_clear;
    uint8_t down_flag;
    uint8_t down_clear;  // the level last written to 0x42 bit 7
    uint8_t sysup;
    uint64_t pressed_at[3];
    uint32_t last_pulse_ms;
    uint64_t soft_reset_at;  // when 0xE7 bit 6 went low
    uint8_t notify;          // levels of 0x1A3 bits 1 and 2
};

State &st() { return region<State>(ModelId::board_power); }

const BoardRails *rails_of_board()
{
    const uint8_t id = sysinfo::board_id();
    for (const BoardRails &b : kBoards) {
        if (b.id == id) return &b;
    }
    return nullptr;
}

int status_index(uint32_t addr)
{
    for (size_t i = 0; i < kStatusRegs.size(); ++i) {
        if (kStatusRegs[i] == addr) return static_cast<int>(i);
    }
    return -1;
}

uint8_t status_bits(size_t i)
{
    const BoardRails *b = rails_of_board();
    return b ? b->bits[i] : 0;
}

// A status register as the board shows it: its rails (or healthy front power) while on, the
// rest plain, then whatever a fault holds.
uint8_t render_status(uint32_t addr, size_t i)
{
    const uint8_t owned = status_bits(i);
    const uint8_t shown = st().power == static_cast<uint8_t>(Power::On) ? owned : 0;
    auto v = static_cast<uint8_t>((cpld::stored(addr) & ~owned) | shown);
    return static_cast<uint8_t>((v & ~st().held_mask[i]) | (st().held_value[i] & st().held_mask[i]));
}

uint8_t peer_state(uint32_t board)
{
    return board == board_index() ? st().power : st().peers[board];
}

void record_move(const char *what, uint32_t width_ms) { record(Op::BoardPower, 0, width_ms, 0, 0, what); }

// Power goes away without the host's say: the record keeps why and how the rails read.
void lose_power(Cause cause)
{
    cpld::store(kDownRecordRegs[0], cause, 0xFF);
    for (size_t i = 1; i < kDownRecordRegs.size(); ++i) {
        cpld::store(kDownRecordRegs[i], render_status(kStatusRegs[i - 1], i - 1), 0xFF);
    }
    st().down_flag = 1;
    st().power = static_cast<uint8_t>(Power::Off);
}

constexpr std::array<const char *, 3> kButtonMoves = {"on", "force-off", "off"};

// 0xE7 bit 6: its rising edge after a low resets the host CPU.
void soft_reset_line(uint8_t value)
{
    const bool was = st().button & kSoftResetBit;
    const bool level = value & kSoftResetBit;
    st().button = static_cast<uint8_t>(level ? st().button | kSoftResetBit : st().button & ~kSoftResetBit);
    if (was && !level) st().soft_reset_at = core().clock_ms;
    if (!was && level && !cpld::back_door()) {
        const uint64_t width = core().clock_ms - st().soft_reset_at;
        record_change(kButtonReg, static_cast<uint32_t>(width), "host reset by cpld 0xe7, " + std::to_string(width) + " ms");
    }
}

void press_button(uint8_t value, uint8_t mask)
{
    if (mask & kSoftResetBit) soft_reset_line(value);
    for (uint8_t bit = 0; bit < kButtonMoves.size(); ++bit) {
        const uint8_t m = static_cast<uint8_t>(1u << bit);
        if (!(mask & m)) continue;
        const uint8_t level = (value & m) ? 1 : 0;
        const uint8_t was = (st().button & m) ? 1 : 0;
        st().button = static_cast<uint8_t>((st().button & ~m) | (level ? m : 0));
        if (was && !level) st().pressed_at[bit] = core().clock_ms;
        if (was || !level) continue;
        // Released: the press takes effect.
        st().last_pulse_ms = static_cast<uint32_t>(core().clock_ms - st().pressed_at[bit]);
        if (bit == 0) st().power = static_cast<uint8_t>(Power::On);
        if (bit == 1) lose_power(kForcedOff);
        if (bit == 2) st().power = static_cast<uint8_t>(Power::Standby);
        record_move(kButtonMoves[bit], st().last_pulse_ms);
    }
}

uint8_t bit_of(bool on, uint8_t bit) { return on ? bit : 0; }

uint8_t reg_read(uint32_t addr)
{
    if (int i = status_index(addr); i >= 0) return render_status(addr, static_cast<size_t>(i));
    if (addr == kStandbyReg) return bit_of(st().power == static_cast<uint8_t>(Power::Standby), kStandbyBit);
    if (addr == kPeerStandbyLo || addr == kPeerStandbyHi) {
        const uint32_t first = addr == kPeerStandbyLo ? 0 : 2;
        const auto standby = static_cast<uint8_t>(Power::Standby);
        return static_cast<uint8_t>(bit_of(peer_state(first) == standby, 0x08) |
                                    bit_of(peer_state(first + 1) == standby, 0x80));
    }
    if (addr == kPsOnReg) {
        uint8_t v = 0;
        for (uint32_t b = 0; b < kPeers; ++b) v |= bit_of(peer_state(b) == static_cast<uint8_t>(Power::On), 1u << b);
        return v;
    }
    if (addr == kButtonReg) return st().button;
    if (addr == kNotifyReg) return st().notify;
    if (addr == kAcIntReg) return st().ac_int;
    if (addr == kAcOffReg) return st().ac_off;
    if (addr == kPwrLatchReg) return bit_of(st().pwr_latch, kPwrBit);
    if (addr == kPwrClearReg) return bit_of(st().pwr_clear, kPwrBit);
    if (addr == kDownFlagReg) return bit_of(st().down_flag, kDownFlagBit);
    if (addr == kSysUpReg) return st().sysup;
    return 0;
}

void reg_write(uint32_t addr, uint8_t value, uint8_t mask)
{
    if (int i = status_index(addr); i >= 0) {
        // Rails are inputs: only the plain bits take a write.
        cpld::store(addr, value, static_cast<uint8_t>(mask & ~status_bits(static_cast<size_t>(i))));
    } else if (addr == kButtonReg) {
        press_button(value, mask);
    } else if (addr == kNotifyReg) {
        const uint8_t was = st().notify;
        st().notify = static_cast<uint8_t>((was & ~mask) | (value & mask & kNotifyBits));
        if (st().notify == kNotifyBits && was != kNotifyBits && !cpld::back_door()) {
            record_change(kNotifyReg, st().notify, "soft-reset notification");
        }
    } else if (addr == kAcIntReg) {
        const uint8_t level = value & 1;
        if (st().ac_int == 0 && level == 1) {
            lose_power(kAcInterrupt);
            st().power = static_cast<uint8_t>(Power::On);
            record_move("ac-reset", 0);
        }
        st().ac_int = level;
    } else if (addr == kAcOffReg) {
        const uint8_t level = value & 1;
        if (level && !st().ac_off) {
            lose_power(kAcOff);
            st().pwr_latch = 1;
            record_move("ac-off", 0);
        } else if (!level && st().ac_off) {
            st().power = static_cast<uint8_t>(Power::On);
            record_move("ac-on", 0);
        }
        st().ac_off = level;
    } else if (addr == kPwrClearReg) {
        st().pwr_clear = (value & kPwrBit) ? 1 : 0;
        if (st().pwr_clear) st().pwr_latch = 0;
    } else if (addr == kDownFlagReg) {
        const uint8_t level = (value & kDownFlagBit) ? 1 : 0;
        if (st().down_clear && !level) {
            st().down_flag = 0;
            for (uint32_t reg : kDownRecordRegs) cpld::store(reg, 0, 0xFF);
        }
        st().down_clear = level;
    } else if (addr == kSysUpReg) {
        st().sysup = static_cast<uint8_t>((st().sysup & ~mask) | (value & mask));
    }
    // Standby and PS_ON are status: a write leaves them as they are.
}

void reset()
{
    for (uint32_t reg : kStatusRegs) cpld::hook(reg, ModelId::board_power, 0xFF);
    cpld::hook(kStandbyReg, ModelId::board_power, kStandbyBit);
    cpld::hook(kPeerStandbyLo, ModelId::board_power, kPeerStandbyBits);
    cpld::hook(kPeerStandbyHi, ModelId::board_power, kPeerStandbyBits);
    cpld::hook(kPsOnReg, ModelId::board_power, 0x0F);
    cpld::hook(kButtonReg, ModelId::board_power, kGuardedBits);
    cpld::hook(kAcIntReg, ModelId::board_power, 0x01);
    cpld::hook(kNotifyReg, ModelId::board_power, kNotifyBits);
    cpld::hook(kAcOffReg, ModelId::board_power, 0x01);
    cpld::hook(kPwrLatchReg, ModelId::board_power, kPwrBit);
    cpld::hook(kPwrClearReg, ModelId::board_power, kPwrBit);
    cpld::hook(kDownFlagReg, ModelId::board_power, kDownFlagBit);
    cpld::hook(kSysUpReg, ModelId::board_power, 0xFF);
    // The button bits, the soft reset and the AC interrupt are behind their write protection,
    // closed.
    cpld::protect(kButtonReg, kGuardedBits, kButtonGuard, kGuardedBits, 0x00, true);
    cpld::store(kButtonGuard, kGuardedBits, kGuardedBits);
    cpld::protect(kAcIntReg, 0x01, kAcIntGuard, 0x01, 0x01);
    cpld::protect(kNotifyReg, kNotifyBits, kNotifyEnable, 0x01, 0x01);
    cpld::store(kAcIntGuard, 0x00, 0x01);
    st().button = kGuardedBits;
    st().ac_int = 1;
    st().power = static_cast<uint8_t>(Power::On);
}

uint8_t parse_power(const Section &s, const std::string &word)
{
    if (word == "on") return static_cast<uint8_t>(Power::On);
    if (word == "standby") return static_cast<uint8_t>(Power::Standby);
    if (word == "off") return static_cast<uint8_t>(Power::Off);
    s.fail("power state '" + word + "' is not on, standby or off");
}

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "state") == 0) {
            st().power = parse_power(s, value);
        } else if (std::strcmp(key, "peers") == 0) {
            g_auto(GStrv) words = g_strsplit(value, ",", -1);
            if (g_strv_length(words) != kPeers) s.fail("peers: one state per controller board 0..3");
            for (uint32_t b = 0; b < kPeers; ++b) st().peers[b] = parse_power(s, g_strstrip(words[b]));
        } else if (std::strcmp(key, "sysup") == 0) {
            st().sysup = static_cast<uint8_t>(s.number(value, 0x100, "sys-up byte"));
        } else {
            s.fail(std::string("unknown key ") + key);
        }
    });
}

}  // namespace
}  // namespace bspsim::detail::board_power

namespace bspsim::detail {
const Model model_board_power = {.name = "board_power", .scope = Scope::Board, .size = sizeof(board_power::State),
                                 .sections = "power", .load = board_power::load, .reset = board_power::reset,
                                 .reg_read = board_power::reg_read, .reg_write = board_power::reg_write};
}

namespace bspsim {

using namespace detail;
using detail::board_power::st;

const char *power_name(Power p) { return p == Power::On ? "on" : p == Power::Standby ? "standby" : "off"; }

Power BoardPower::state() const
{
    Lock lock;
    return static_cast<Power>(st().power);
}

void BoardPower::set_state(Power p)
{
    Lock lock;
    st().power = static_cast<uint8_t>(p);
}

Power BoardPower::peer(uint32_t board) const
{
    check_range("controller board", board, board_power::kPeers);
    Lock lock;
    return static_cast<Power>(board_power::peer_state(board));
}

void BoardPower::set_peer(uint32_t board, Power p)
{
    check_range("controller board", board, board_power::kPeers);
    Lock lock;
    (board == board_index() ? st().power : st().peers[board]) = static_cast<uint8_t>(p);
}

uint8_t BoardPower::rails(uint32_t reg) const
{
    Lock lock;
    int i = board_power::status_index(reg);
    return i < 0 ? 0 : board_power::status_bits(static_cast<size_t>(i));
}

void BoardPower::hold(uint32_t reg, uint32_t bit, int level)
{
    int i = board_power::status_index(reg);
    if (i < 0) throw Error("register " + std::to_string(reg) + " is not a rail or front power register");
    check_range("bit", bit, 8);
    if (level < -1 || level > 1) throw Error("a held bit is 0 or 1 (-1 lets it go)");
    Lock lock;
    const auto m = static_cast<uint8_t>(1u << bit);
    auto &mask = st().held_mask[i];
    auto &value = st().held_value[i];
    mask = static_cast<uint8_t>(level < 0 ? mask & ~m : mask | m);
    value = static_cast<uint8_t>(level == 1 ? value | m : value & ~m);
}

bool BoardPower::power_down_flag() const
{
    Lock lock;
    return st().down_flag != 0;
}

uint32_t BoardPower::last_pulse_ms() const
{
    Lock lock;
    return st().last_pulse_ms;
}

namespace {
constexpr uint32_t kExpPowerRam = 0xD919;
}

Board &BoardPower::board() const
{
    if (!board_) throw Error("the expansion boards' power is reached through a Board");
    return *board_;
}

bool BoardPower::exp_board_on(uint32_t n) const
{
    check_range("expansion board", n, 4);
    return (board().ram(kExpPowerRam) >> n) & 1;
}

void BoardPower::set_exp_board_on(uint32_t n, bool on)
{
    check_range("expansion board", n, 4);
    const auto m = static_cast<uint8_t>(1u << n);
    board().set_ram(kExpPowerRam, static_cast<uint8_t>(on ? board().ram(kExpPowerRam) | m : board().ram(kExpPowerRam) & ~m));
}

}  // namespace bspsim
