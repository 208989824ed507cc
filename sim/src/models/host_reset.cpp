// The soft-reset notification of the host: 0x1A3 bits 1 and 2, writable only while their write
// enable 0x1A4 bit 0 is 1 (a write while it is 0 is refused and recorded as blocked). Setting
// both bits notifies the CPLD of a soft reset ("soft-reset notification"); clearing them ends
// the notification.
// The other reset flags the CPLD keeps stay plain registers, set by the profile or the back
// door and written by the library as it likes: the reset type 0xEB bit 0, the OS boot flag 0xED
// bits 0-2, the SMM's OS boot flag 0x158 and the boards' BMC boot status 0x1F0 bits 0-3. The
// host CPU's resets belong to the models of their lines: the soft-reset bit 0xE7 bit 6 to
// board_power (which owns 0xE7), the hard-reset line to gpio.
#include "models/cpld.h"

namespace bspsim::detail::host_reset {
namespace {

constexpr uint32_t kNotifyReg = 0x1A3;
constexpr uint32_t kNotifyEnableReg = 0x1A4;
constexpr uint8_t kNotifyBits = 0x06;
constexpr uint8_t kEnableBit = 0x01;

struct State {
    uint8_t bits;  // levels of 0x1A3 bits 1 and 2
};

State &st() { return region<State>(ModelId::host_reset); }

uint8_t reg_read(uint32_t) { return st().bits; }

void reg_write(uint32_t, uint8_t value, uint8_t mask)
{
    const uint8_t was = st().bits;
    st().bits = static_cast<uint8_t>((was & ~mask) | (value & mask & kNotifyBits));
    if (st().bits == kNotifyBits && was != kNotifyBits && !cpld::back_door()) {
        record_change(kNotifyReg, st().bits, "soft-reset notification");
    }
}

void reset()
{
    cpld::hook(kNotifyReg, ModelId::host_reset, kNotifyBits);
    cpld::protect(kNotifyReg, kNotifyBits, kNotifyEnableReg, kEnableBit, kEnableBit);
}

}  // namespace
}  // namespace bspsim::detail::host_reset

namespace bspsim::detail {
const Model model_host_reset = {.name = "host_reset", .scope = Scope::Board, .size = sizeof(host_reset::State),
                                .reset = host_reset::reset, .reg_read = host_reset::reg_read,
                                .reg_write = host_reset::reg_write};
}
