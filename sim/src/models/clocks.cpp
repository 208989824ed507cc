// The board's clocks as its CPLD reports them: registers 0x48 and 0x49 hold one clock-good bit
// per clock of the board, 1 while the clock runs. Which bits are clocks depends on the board id
// (read at every access, so a test that changes the id sees that board's clocks):
//   0x48  all eight bits on boards 0x00 0x03 0x06 0x09 0x0A 0x11 0x12 0x14 0x1D 0x24 0x27;
//         bits 0-2 and 4-6 on 0x05 0x22; all but bit 1 on 0x71; bits 1-4 on 0x2E 0x33;
//         bits 1-7 on 0x35; bits 0-2 and 4 on 0x95 0x99
//   0x49  bits 0-2 on 0x0A 0x11; bit 0 on 0x00 0x03 0x12 0x14 0x1D 0x22 0x2E 0x33 0x35 0x95 0x99;
//         bits 2-3 on 0x71
// Other bits, and both registers on other boards, read 0. They are status registers: a write
// changes nothing. Every clock runs after a reset; a test or tool loses one and restores it.
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "bspsim/clocks.hpp"
#include "models/cpld.h"
#include "models/sysinfo.h"

namespace bspsim::detail::clocks {
namespace {

constexpr std::array<uint32_t, 2> kRegs = {0x48, 0x49};

struct ClockBits {
    uint32_t reg;
    uint8_t bits;
    std::vector<uint8_t> boards;
};

const std::vector<ClockBits> kClockBits = {
    {0x48, 0xFF, {0x00, 0x03, 0x06, 0x09, 0x0A, 0x11, 0x12, 0x14, 0x1D, 0x24, 0x27}},
    {0x48, 0x77, {0x05, 0x22}},
    {0x48, 0xFD, {0x71}},
    {0x48, 0x1E, {0x2E, 0x33}},
    {0x48, 0xFE, {0x35}},
    {0x48, 0x17, {0x95, 0x99}},
    {0x49, 0x07, {0x0A, 0x11}},
    {0x49, 0x01, {0x00, 0x03, 0x12, 0x14, 0x1D, 0x22, 0x2E, 0x33, 0x35, 0x95, 0x99}},
    {0x49, 0x0C, {0x71}},
};

struct State {
    uint8_t lost[kRegs.size()];
};

State &st() { return region<State>(ModelId::clocks); }

// Lock held.
uint8_t clock_bits(uint32_t reg)
{
    const uint8_t id = sysinfo::board_id();
    for (const ClockBits &c : kClockBits) {
        for (uint8_t b : c.boards) {
            if (c.reg == reg && b == id) return c.bits;
        }
    }
    return 0;
}

size_t index_of(uint32_t reg) { return reg == kRegs[0] ? 0 : 1; }

uint8_t render(uint32_t addr) { return static_cast<uint8_t>(clock_bits(addr) & ~st().lost[index_of(addr)]); }

void reset()
{
    for (uint32_t r : kRegs) cpld::hook(r, ModelId::clocks, 0xFF);
}

std::string hex(uint32_t reg)
{
    char b[16];
    std::snprintf(b, sizeof b, "0x%02x", reg);
    return b;
}

// Lock held. Throws unless bit `bit` of `reg` is a clock of this board.
void check_clock(uint32_t reg, uint32_t bit)
{
    if (reg != kRegs[0] && reg != kRegs[1]) throw Error("register " + hex(reg) + " holds no clock bits (0x48, 0x49)");
    check_range("bit", bit, 8);
    if (!(clock_bits(reg) >> bit & 1u)) {
        throw Error("bit " + std::to_string(bit) + " of register " + hex(reg) + " is no clock of this board");
    }
}

}  // namespace
}  // namespace bspsim::detail::clocks

namespace bspsim::detail {
const Model model_clocks = {.name = "clocks", .scope = Scope::Board, .size = sizeof(clocks::State),
                            .reset = clocks::reset, .reg_read = clocks::render,
                            .reg_write = [](uint32_t, uint8_t, uint8_t) {}};
}

namespace bspsim {

using namespace detail;

uint8_t Clocks::clock_bits(uint32_t reg) const
{
    Lock lock;
    return clocks::clock_bits(reg);
}

uint8_t Clocks::lost(uint32_t reg) const
{
    Lock lock;
    return reg == clocks::kRegs[0] || reg == clocks::kRegs[1] ? clocks::st().lost[clocks::index_of(reg)] : 0;
}

Clocks &Clocks::lose(uint32_t reg, uint32_t bit)
{
    Lock lock;
    clocks::check_clock(reg, bit);
    clocks::st().lost[clocks::index_of(reg)] |= static_cast<uint8_t>(1u << bit);
    return *this;
}

Clocks &Clocks::restore(uint32_t reg, uint32_t bit)
{
    Lock lock;
    clocks::check_clock(reg, bit);
    clocks::st().lost[clocks::index_of(reg)] &= static_cast<uint8_t>(~(1u << bit));
    return *this;
}

}  // namespace bspsim
