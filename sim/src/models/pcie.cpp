// The PCIe cores: register 0xFF bits 0 and 1 enable core 0 and core 1. The cores are "off" (both
// held off), "on" (both enabled) or "partial" in between; every change of that state the BMC
// makes is recorded ("pcie off", "pcie partial", "pcie on"), so a test sees the whole sequence.
// The board comes up with both cores enabled.
// [pcie] cores = on|off
#include <cstring>

#include "bspsim/services.hpp"
#include "core/section.h"
#include "models/cpld.h"

namespace bspsim::detail::pcie {
namespace {

constexpr uint32_t kReg = 0xFF;
constexpr uint8_t kCoreBits = 0x03;

struct State {
    uint8_t enables;  // bit n: core n enabled
};

State &st() { return region<State>(ModelId::pcie); }

const char *state_name(uint8_t enables) { return enables == 0 ? "off" : enables == kCoreBits ? "on" : "partial"; }

void reset()
{
    st().enables = kCoreBits;
    cpld::hook(kReg, ModelId::pcie, kCoreBits);
}

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "cores") != 0) s.fail(std::string("unknown key ") + key);
        if (std::strcmp(value, "on") != 0 && std::strcmp(value, "off") != 0) s.fail("cores: on or off");
        st().enables = std::strcmp(value, "on") == 0 ? kCoreBits : 0;
    });
}

void reg_write(uint32_t, uint8_t value, uint8_t mask)
{
    const auto enables = static_cast<uint8_t>((st().enables & ~mask) | (value & mask & kCoreBits));
    if (enables == st().enables) return;
    st().enables = enables;
    if (!cpld::back_door()) record_change(kReg, enables, std::string("pcie ") + state_name(enables));
}

}  // namespace
}  // namespace bspsim::detail::pcie

namespace bspsim::detail {
const Model model_pcie = {.name = "pcie", .scope = Scope::Board, .size = sizeof(pcie::State), .sections = "pcie",
                          .load = pcie::load, .reset = pcie::reset,
                          .reg_read = [](uint32_t) { return pcie::st().enables; }, .reg_write = pcie::reg_write};
}

namespace bspsim {

using namespace detail;

std::string pcie_cores(const Board &)
{
    Lock lock;
    return pcie::state_name(pcie::st().enables);
}

void set_pcie_cores(Board &, bool on)
{
    Lock lock;
    pcie::st().enables = on ? pcie::kCoreBits : 0;
}

}  // namespace bspsim
