// GPIO pins of the SoC: levels from the profile's [gpio] section, scripted read sequences.
#include "core/section.h"
#include "models/gpio.h"
#include "models/slots.h"

namespace bspsim::detail::gpio {
namespace {

constexpr uint32_t kPins = 256;

struct Pin {
    uint8_t level;
    uint8_t initialised;
    uint8_t direction;
    uint8_t reserved;
};

struct State {
    Pin pins[kPins];
};

Pin &pin(uint32_t n) { return region<State>(ModelId::gpio).pins[n]; }

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        pin(s.number(key, kPins, "pin")).level = static_cast<uint8_t>(s.number(value, 2, "pin level"));
    });
}

}  // namespace

int32_t init(Call &&call, uint32_t n, uint32_t direction)
{
    call.rec = {.a = n, .b = direction};
    return call.run(n < kPins && direction <= 1, [&] {
        pin(n).initialised = 1;
        pin(n).direction = static_cast<uint8_t>(direction);
        return 0;
    });
}

int32_t read(Call &&call, uint32_t n, uint8_t *value, uint32_t flags)
{
    call.rec = {.a = n, .b = flags};
    return call.run(n < kPins && value && flags == 0, [&] {
        uint32_t level = slots::strap_level(n, pin(n).level & 1u);
        if (take_script(Source::Pin, n, &level)) level &= 1u;
        call.rec.value = *value = static_cast<uint8_t>(level);
        return 0;
    });
}

int32_t write(Call &&call, uint32_t n, uint8_t value)
{
    call.rec = {.a = n, .value = value};
    return call.run(n < kPins, [&] {
        pin(n).level = value ? 1 : 0;
        return 0;
    });
}

void set_level(uint32_t n, uint8_t level) { pin(n).level = level; }

}  // namespace bspsim::detail::gpio

namespace bspsim::detail {
const Model model_gpio = {.name = "gpio", .scope = Scope::Board, .size = sizeof(gpio::State), .sections = "gpio",
                          .load = gpio::load};
}

namespace bspsim {

using namespace detail;

void Board::set_pin(uint32_t n, uint8_t level)
{
    check_range("pin", n, gpio::kPins);
    check_range("pin level", level, 2);
    Lock lock;
    gpio::pin(n).level = level;
}

uint8_t Board::pin(uint32_t n) const
{
    check_range("pin", n, gpio::kPins);
    Lock lock;
    return gpio::pin(n).level;
}

bool Board::pin_initialised(uint32_t n) const
{
    check_range("pin", n, gpio::kPins);
    Lock lock;
    return gpio::pin(n).initialised != 0;
}

uint32_t Board::pin_direction(uint32_t n) const
{
    check_range("pin", n, gpio::kPins);
    Lock lock;
    return gpio::pin(n).direction;
}

}  // namespace bspsim
