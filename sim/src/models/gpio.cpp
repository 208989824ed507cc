// GPIO pins of the SoC: levels from the profile's [gpio] section, scripted read sequences.
// The BMC's hard-reset line of the host CPU (by board id, as the board is wired) resets the host
// when it is pulsed: set up as an output and driven 1, then driven 0, then released as an input.
// The reset is recorded as "host reset by gpio N, W ms", W the time it was held at 1.
#include <array>
#include <string>

#include "core/section.h"
#include "models/gpio.h"
#include "models/slots.h"
#include "models/sysinfo.h"

namespace bspsim::detail::gpio {
namespace {

constexpr uint32_t kPins = 256;

struct Pin {
    uint8_t level;
    uint8_t initialised;
    uint8_t direction;
    uint8_t reserved;
};

// The phases of a hard-reset pulse on a pin.
enum Pulse : uint8_t { kIdle = 0, kHeld = 1, kReleasing = 2 };

struct State {
    Pin pins[kPins];
    uint8_t pulse[kPins];
    uint64_t held_at[kPins];
    uint64_t held_ms[kPins];
};

State &st() { return region<State>(ModelId::gpio); }
Pin &pin(uint32_t n) { return st().pins[n]; }

// The host's hard-reset line by board id. Boards 0x00 and 0x03 route it to pin 61 on their early
// build and to 141 otherwise; the simulator does not tell the two apart, so both reset the host.
struct ResetWiring {
    std::array<uint8_t, 10> ids;
    uint8_t count;
    std::array<uint8_t, 2> pins;
};

// clang-format off
constexpr std::array<ResetWiring, 5> kResetWiring = {{
    {{0x00, 0x03}, 2, {141, 61}},
    {{0x05, 0x06, 0x09}, 3, {58, 58}},
    {{0x0A}, 1, {141, 141}},
    {{0x11, 0x12, 0x14, 0x1D, 0x22, 0x24, 0x27, 0x71, 0x95, 0x99}, 10, {31, 31}},
    {{0x2E, 0x33, 0x35}, 3, {1, 1}},
}};
// clang-format on

bool is_reset_line(uint32_t n)
{
    const uint8_t id = sysinfo::board_id();
    for (const ResetWiring &w : kResetWiring) {
        for (size_t i = 0; i < w.count; ++i) {
            if (w.ids[i] == id && (w.pins[0] == n || w.pins[1] == n)) return true;
        }
    }
    return false;
}

// Follows a pin towards a complete reset pulse; any other move starts over.
void follow_pulse(uint32_t n, bool output, int level)
{
    if (!is_reset_line(n)) return;
    uint8_t &phase = st().pulse[n];
    if (!output) {
        if (phase == kReleasing) {
            record_change(n, static_cast<uint32_t>(st().held_ms[n]),
                          "host reset by gpio " + std::to_string(n) + ", " + std::to_string(st().held_ms[n]) + " ms");
        }
        phase = kIdle;
    } else if (level == 1 && phase != kHeld) {
        phase = kHeld;
        st().held_at[n] = core().clock_ms;
    } else if (level == 0 && phase == kHeld) {
        phase = kReleasing;
        st().held_ms[n] = core().clock_ms - st().held_at[n];
    }
}

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
        if (direction == 0) follow_pulse(n, false, -1);
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
        if (pin(n).initialised && pin(n).direction == 1) follow_pulse(n, true, pin(n).level);
        return 0;
    });
}

void set_level(uint32_t n, uint8_t level) { pin(n).level = level; }

void soc_reset()
{
    for (uint32_t n = 0; n < kPins; ++n) {
        pin(n).initialised = 0;
        pin(n).direction = 0;
        st().pulse[n] = kIdle;
    }
}

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
