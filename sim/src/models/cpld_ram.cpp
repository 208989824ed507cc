// The CPLD's 8 KiB RAM, reachable only through its window: registers 0xBA/0xBB hold an address
// (low 8 bits, then 5 high bits) and 0xBC is the RAM byte at that address, rendered by this
// model through the register file's hook.
#include "models/cpld_ram.h"

#include "core/section.h"
#include "models/cpld.h"

namespace bspsim::detail::cpld_ram {
namespace {

constexpr size_t kSize = 8192;
constexpr uint32_t kAddrLo = 0xBA;
constexpr uint32_t kAddrHi = 0xBB;
constexpr uint32_t kData = 0xBC;
// What the library can put on the window: two whole bytes.
constexpr uint32_t kWindowSpan = 0x10000;

struct State {
    uint8_t ram[kSize];
};

}  // namespace

uint8_t &cell(uint32_t addr) { return region<State>(ModelId::cpld_ram).ram[addr % kSize]; }

namespace {

uint8_t &window_cell() { return cell(uint32_t{cpld::stored(kAddrHi)} << 8 | cpld::stored(kAddrLo)); }

void reset() { cpld::hook(kData, ModelId::cpld_ram, 0xFF); }

// RAM: address = one byte or a list of bytes stored from that address on.
void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        uint32_t addr = s.number(key, kWindowSpan, "RAM address");
        for (uint32_t b : s.list(value)) cell(addr++) = static_cast<uint8_t>(b);
    });
}

}  // namespace

void put(uint32_t addr, uint8_t value) { cell(addr) = value; }

}  // namespace bspsim::detail::cpld_ram

namespace bspsim::detail {
const Model model_cpld_ram = {.name = "cpld_ram", .scope = Scope::Board, .size = sizeof(cpld_ram::State),
                              .sections = "cpld.ram", .load = cpld_ram::load, .reset = cpld_ram::reset,
                              .reg_read = [](uint32_t) { return cpld_ram::window_cell(); },
                              .reg_write = [](uint32_t, uint8_t value, uint8_t mask) {
                                  uint8_t &c = cpld_ram::window_cell();
                                  c = static_cast<uint8_t>((c & ~mask) | (value & mask));
                              }};
}

namespace bspsim {

using namespace detail;

uint8_t Board::ram(uint32_t addr) const
{
    check_range("CPLD RAM address", addr, cpld_ram::kWindowSpan);
    Lock lock;
    return cpld_ram::cell(addr);
}

void Board::set_ram(uint32_t addr, uint8_t value)
{
    check_range("CPLD RAM address", addr, cpld_ram::kWindowSpan);
    Lock lock;
    cpld_ram::cell(addr) = value;
}

}  // namespace bspsim
