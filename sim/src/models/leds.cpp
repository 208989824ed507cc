// The board's LEDs behind CPLD bits: the enclosure's locate and fault LEDs and the expansion
// enclosure's all-LEDs bit in register 0x13, the board's power, alarm and locate LEDs in 0x5F.
// Each LED is on or off (a bit of 1 is on); the register shows the LEDs' state and a write
// changes them, each change recorded as "led NAME on|off".
// [leds] NAME = on|off
#include <array>
#include <cstring>

#include "bspsim/services.hpp"
#include "core/section.h"
#include "models/cpld.h"

namespace bspsim::detail::leds {
namespace {

struct LedDef {
    const char *name;
    uint32_t reg;
    uint8_t bit;
};

constexpr std::array<LedDef, 6> kLeds = {{
    {"frame-locate", 0x13, 0},
    {"frame-fault", 0x13, 2},
    {"exp-all", 0x13, 5},
    {"board-power", 0x5F, 0},
    {"board-alarm", 0x5F, 2},
    {"board-locate", 0x5F, 3},
}};

struct State {
    uint8_t on[kLeds.size()];
};

State &st() { return region<State>(ModelId::leds); }

size_t index_of(const std::string &name)
{
    for (size_t i = 0; i < kLeds.size(); ++i) {
        if (name == kLeds[i].name) return i;
    }
    std::string known;
    for (const LedDef &l : kLeds) known += std::string(known.empty() ? "" : ", ") + l.name;
    throw Error("no LED named '" + name + "' (" + known + ")");
}

void set(size_t i, bool on)
{
    if (st().on[i] == on) return;
    st().on[i] = on;
    if (!cpld::back_door()) record_change(0, on, std::string("led ") + kLeds[i].name + (on ? " on" : " off"));
}

void reset()
{
    uint8_t bits[cpld::kRegs] = {};
    for (const LedDef &l : kLeds) bits[l.reg] |= static_cast<uint8_t>(1u << l.bit);
    for (const LedDef &l : kLeds) cpld::hook(l.reg, ModelId::leds, bits[l.reg]);
}

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(value, "on") != 0 && std::strcmp(value, "off") != 0) s.fail(std::string(key) + ": on or off");
        try {
            st().on[index_of(key)] = std::strcmp(value, "on") == 0;
        } catch (const Error &e) {
            s.fail(e.what());
        }
    });
}

uint8_t reg_read(uint32_t addr)
{
    uint8_t v = 0;
    for (size_t i = 0; i < kLeds.size(); ++i) {
        if (kLeds[i].reg == addr && st().on[i]) v = static_cast<uint8_t>(v | 1u << kLeds[i].bit);
    }
    return v;
}

void reg_write(uint32_t addr, uint8_t value, uint8_t mask)
{
    for (size_t i = 0; i < kLeds.size(); ++i) {
        const uint8_t bit = static_cast<uint8_t>(1u << kLeds[i].bit);
        if (kLeds[i].reg == addr && (mask & bit)) set(i, (value & bit) != 0);
    }
}

}  // namespace
}  // namespace bspsim::detail::leds

namespace bspsim::detail {
const Model model_leds = {.name = "leds", .scope = Scope::Board, .size = sizeof(leds::State), .sections = "leds",
                          .load = leds::load, .reset = leds::reset, .reg_read = leds::reg_read,
                          .reg_write = leds::reg_write};
}

namespace bspsim {

using namespace detail;

std::vector<std::pair<std::string, bool>> leds(const Board &)
{
    Lock lock;
    std::vector<std::pair<std::string, bool>> out;
    for (size_t i = 0; i < leds::kLeds.size(); ++i) out.emplace_back(leds::kLeds[i].name, leds::st().on[i] != 0);
    return out;
}

bool led(const Board &, const std::string &name)
{
    Lock lock;
    return leds::st().on[leds::index_of(name)] != 0;
}

void set_led(Board &, const std::string &name, bool on)
{
    Lock lock;
    leds::st().on[leds::index_of(name)] = on;
}

}  // namespace bspsim
