// The SSD online bits, as the hardware has them in two places. SSD n is bit n mod 8 of:
//  - 0x250 + n/8: the disk's own presence line. The BMC cannot change it: a write is ignored.
//  - 0x1B4 + n/8: the BMC's record of the disk being online. The BMC writes it on every
//    enclosure; a 4U four-controller enclosure also reads it back, the others read 0x250.
// The two are independent: a disk pulled stays recorded online until the BMC writes its record.
// [ssd] present = the SSDs that are in; recorded = the SSDs the BMC has recorded online
#include <cstring>

#include "bspsim/services.hpp"
#include "core/section.h"
#include "models/cpld.h"

namespace bspsim::detail::ssd {
namespace {

constexpr uint32_t kRecordReg = 0x1B4;
constexpr uint32_t kPresenceReg = 0x250;
constexpr uint32_t kBytes = kSsdCount / 8;

struct State {
    uint8_t present[kBytes];
    uint8_t recorded[kBytes];
};

State &st() { return region<State>(ModelId::ssd); }

bool get(const uint8_t *bits, unsigned n) { return (bits[n / 8] >> (n % 8)) & 1u; }
void put(uint8_t *bits, unsigned n, bool on)
{
    bits[n / 8] = static_cast<uint8_t>(on ? bits[n / 8] | 1u << (n % 8) : bits[n / 8] & ~(1u << (n % 8)));
}

void reset()
{
    for (uint32_t i = 0; i < kBytes; ++i) {
        cpld::hook(kRecordReg + i, ModelId::ssd, 0xFF);
        cpld::hook(kPresenceReg + i, ModelId::ssd, 0xFF);
    }
}

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        uint8_t *bits = std::strcmp(key, "present") == 0    ? st().present
                        : std::strcmp(key, "recorded") == 0 ? st().recorded
                                                            : nullptr;
        if (!bits) s.fail(std::string("unknown key ") + key);
        std::memset(bits, 0, kBytes);
        for (uint32_t n : s.list(value)) {
            if (n >= kSsdCount) s.fail(std::string(key) + ": no SSD " + std::to_string(n));
            put(bits, n, true);
        }
    });
}

uint8_t reg_read(uint32_t addr)
{
    return addr >= kPresenceReg ? st().present[addr - kPresenceReg] : st().recorded[addr - kRecordReg];
}

void reg_write(uint32_t addr, uint8_t value, uint8_t mask)
{
    if (addr >= kPresenceReg) return;
    uint8_t &r = st().recorded[addr - kRecordReg];
    r = static_cast<uint8_t>((r & ~mask) | (value & mask));
}

unsigned checked(unsigned n)
{
    check_range("SSD", n, kSsdCount);
    return n;
}

}  // namespace
}  // namespace bspsim::detail::ssd

namespace bspsim::detail {
const Model model_ssd = {.name = "ssd", .scope = Scope::Board, .size = sizeof(ssd::State), .sections = "ssd",
                         .load = ssd::load, .reset = ssd::reset, .reg_read = ssd::reg_read, .reg_write = ssd::reg_write};
}

namespace bspsim {

using namespace detail;

bool ssd_present(const Board &, unsigned n)
{
    Lock lock;
    return ssd::get(ssd::st().present, ssd::checked(n));
}

void set_ssd_present(Board &, unsigned n, bool present)
{
    Lock lock;
    ssd::put(ssd::st().present, ssd::checked(n), present);
}

bool ssd_recorded(const Board &, unsigned n)
{
    Lock lock;
    return ssd::get(ssd::st().recorded, ssd::checked(n));
}

void set_ssd_recorded(Board &, unsigned n, bool online)
{
    Lock lock;
    ssd::put(ssd::st().recorded, ssd::checked(n), online);
}

}  // namespace bspsim
