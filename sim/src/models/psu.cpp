// The enclosure's power supplies and its backup battery. They belong to the enclosure, not to
// one board: every board's CPLD reports the same supplies. The CPLD renders each supply's
// presence, alarm and power-ok as a 4-bit code (9 asserted or healthy, 6 the other state) and
// its on state as a bit; the battery has a presence code and a healthy bit.
//   0xD3 bits 0-3  supply n is on                     0xF2 bits 0-3  battery presence code
//   0xD6/0xD7      presence codes, supply 0 in 0xD6 bits 0-3, 1 in bits 4-7, 2 and 3 in 0xD7
//   0xD8/0xD9      alarm codes (9: no alarm)          0xF3 bits 0-3  battery presence code,
//   0xDA/0xDB      power-ok codes                          bit 4     battery healthy
// An absent supply reads absent (6), not power-ok (6) and off, and no alarm (9): it raises no
// alarm of its own. A glitching supply shows 0xF instead of its codes for its next N register reads.
// The registers are status registers: writes to these bits change nothing.
// [psu] supplies = 2 or 4; psuN = absent, or present plus any of ok|fail, on|off, alarm (a
//       state not named is not ok, off, no alarm);
//       bbu = absent, or present plus healthy|unhealthy.
// Without a section: two supplies, present, ok, on, no alarm; the battery present and healthy.
#include <cstring>
#include <string>

#include "bspsim/psu.hpp"
#include "core/section.h"
#include "models/cpld.h"

namespace bspsim::detail::psu {
namespace {

constexpr uint32_t kMaxSupplies = 4;
constexpr uint8_t kAsserted = 9;
constexpr uint8_t kOther = 6;
constexpr uint8_t kGlitchCode = 0xF;

constexpr uint32_t kOnReg = 0xD3;
constexpr uint32_t kPresenceReg = 0xD6;
constexpr uint32_t kAlarmReg = 0xD8;
constexpr uint32_t kOkReg = 0xDA;
constexpr uint32_t kBbuPresenceReg = 0xF2;
constexpr uint32_t kBbuStatusReg = 0xF3;
constexpr uint8_t kBbuHealthyBit = 0x10;

struct Supply {
    uint8_t present, alarm, ok, on;
    uint32_t glitch_reads;
};

struct State {
    uint32_t supplies;
    Supply supply[kMaxSupplies];
    uint8_t bbu_present, bbu_healthy;
};

State &st() { return region<State>(ModelId::psu); }

uint8_t code(bool asserted) { return asserted ? kAsserted : kOther; }

// The code of supply `n` in a register pair starting at `first`; a read of it uses up one
// glitching read.
uint8_t supply_code(uint32_t first, uint32_t n)
{
    Supply &s = st().supply[n];
    if (s.glitch_reads > 0) {
        --s.glitch_reads;
        return kGlitchCode;
    }
    if (first == kPresenceReg) return code(s.present);
    if (first == kAlarmReg) return code(!(s.present && s.alarm));
    return code(s.present && s.ok);
}

uint8_t render(uint32_t addr)
{
    if (addr == kOnReg) {
        uint8_t bits = 0;
        for (uint32_t n = 0; n < kMaxSupplies; ++n) bits |= (st().supply[n].present && st().supply[n].on) << n;
        return bits;
    }
    if (addr == kBbuPresenceReg) return code(st().bbu_present);
    if (addr == kBbuStatusReg) {
        const bool healthy = st().bbu_present && st().bbu_healthy;
        return static_cast<uint8_t>(code(st().bbu_present) | (healthy ? kBbuHealthyBit : 0));
    }
    // A register of a pair: the lower one holds supplies 0 and 1, the higher one 2 and 3.
    const uint32_t first = addr - (addr - kPresenceReg) % 2;
    const uint32_t n = (addr - first) * 2;
    return static_cast<uint8_t>(supply_code(first, n) | supply_code(first, n + 1) << 4);
}

// Supplies below `count` are in, ok and on; the places above are empty.
void present_up_to(uint32_t count)
{
    st().supplies = count;
    for (uint32_t n = 0; n < kMaxSupplies; ++n) st().supply[n] = {n < count, 0, 1, 1, 0};
}

void reset()
{
    present_up_to(2);
    st().bbu_present = st().bbu_healthy = 1;
    cpld::hook(kOnReg, ModelId::psu, 0x0F);
    for (uint32_t r = kPresenceReg; r <= kOkReg + 1; ++r) cpld::hook(r, ModelId::psu, 0xFF);
    cpld::hook(kBbuPresenceReg, ModelId::psu, 0x0F);
    cpld::hook(kBbuStatusReg, ModelId::psu, 0x0F | kBbuHealthyBit);
}

// Applies "present,ok,on"-style words to a unit; false for a word it does not know.
template <typename Apply>
void each_word(Section &s, const char *key, const char *value, Apply apply)
{
    g_auto(GStrv) words = g_strsplit(value, ",", -1);
    for (gchar **w = words; *w; ++w) {
        const std::string word = g_strstrip(*w);
        if (!apply(word)) s.fail(std::string(key) + ": unknown state '" + word + "'");
    }
}

void load(Section &s)
{
    if (std::string n = s.value("supplies"); !n.empty()) {
        const uint32_t count = s.number(n.c_str());
        if (count != 2 && count != 4) s.fail("supplies must be 2 or 4");
        present_up_to(count);
    }
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "supplies") == 0) return;
        if (std::strcmp(key, "bbu") == 0) {
            st().bbu_present = st().bbu_healthy = 0;
            each_word(s, key, value, [](const std::string &w) {
                if (w == "present" || w == "absent") st().bbu_present = w == "present";
                else if (w == "healthy" || w == "unhealthy") st().bbu_healthy = w == "healthy";
                else return false;
                return true;
            });
            return;
        }
        if (std::strncmp(key, "psu", 3) != 0) s.fail(std::string("unknown key ") + key);
        const uint32_t n = s.number(key + 3, st().supplies, "supply");
        Supply &u = st().supply[n];
        u = {0, 0, 0, 0, 0};
        each_word(s, key, value, [&u](const std::string &w) {
            if (w == "present" || w == "absent") u.present = w == "present";
            else if (w == "ok" || w == "fail") u.ok = w == "ok";
            else if (w == "on" || w == "off") u.on = w == "on";
            else if (w == "alarm") u.alarm = 1;
            else return false;
            return true;
        });
    });
}

}  // namespace
}  // namespace bspsim::detail::psu

namespace bspsim::detail {
const Model model_psu = {.name = "psu", .scope = Scope::Enclosure, .size = sizeof(psu::State), .sections = "psu",
                         .load = psu::load, .reset = psu::reset,
                         .reg_read = psu::render, .reg_write = [](uint32_t, uint8_t, uint8_t) {}};
}

namespace bspsim {

using namespace detail;

uint32_t supply_count()
{
    Lock lock;
    return psu::st().supplies;
}

Psu::Psu(uint32_t index) : index_(index) { check_range("power supply", index, supply_count()); }

SupplyState Psu::state() const
{
    Lock lock;
    const psu::Supply &s = psu::st().supply[index_];
    return {s.present != 0, s.alarm != 0, s.ok != 0, s.on != 0, s.glitch_reads};
}

#define BSPSIM_PSU_SETTER(fn, field, type)          \
    Psu &Psu::fn(type value)                        \
    {                                               \
        Lock lock;                                  \
        psu::st().supply[index_].field = value;     \
        return *this;                               \
    }
BSPSIM_PSU_SETTER(set_present, present, bool)
BSPSIM_PSU_SETTER(set_alarm, alarm, bool)
BSPSIM_PSU_SETTER(set_ok, ok, bool)
BSPSIM_PSU_SETTER(set_on, on, bool)
BSPSIM_PSU_SETTER(glitch, glitch_reads, uint32_t)
#undef BSPSIM_PSU_SETTER

BbuState bbu_state()
{
    Lock lock;
    return {psu::st().bbu_present != 0, psu::st().bbu_healthy != 0};
}

void set_bbu(const BbuState &state)
{
    Lock lock;
    psu::st().bbu_present = state.present;
    psu::st().bbu_healthy = state.healthy;
}

}  // namespace bspsim
