// GPIO pins of the SoC: levels from the profile, scripted read sequences, injected failures.
#include "platform/gpio.h"
#include "state.h"

using namespace bspsim;
using namespace bspsim::detail;

extern "C" {

__attribute__((visibility("default"))) int32_t gpio_init(uint32_t pin, uint32_t direction)
{
    Lock lock;
    State &s = state();
    int32_t code = 0;
    if (fire_fault(Op::GpioInit, pin, &code, pin, direction, 0)) return code;
    if (pin >= kPins || direction > 1) {
        record(Op::GpioInit, pin, direction, 0, -1).flags |= kFlagMalformed;
        return -1;
    }
    s.pins[pin].initialised = 1;
    s.pins[pin].direction = static_cast<uint8_t>(direction);
    record(Op::GpioInit, pin, direction, 0, 0);
    return 0;
}

__attribute__((visibility("default"))) int32_t gpio_read(uint32_t pin, uint8_t *value, uint32_t flags)
{
    Lock lock;
    State &s = state();
    int32_t code = 0;
    if (fire_fault(Op::GpioRead, pin, &code, pin, flags, 0)) return code;
    if (pin >= kPins || value == nullptr || flags != 0) {
        record(Op::GpioRead, pin, flags, 0, -1).flags |= kFlagMalformed;
        return -1;
    }
    uint32_t level = s.pins[pin].level;
    uint32_t scripted = 0;
    if (take_script(Source::Pin, pin, &scripted)) level = scripted & 1u;
    *value = static_cast<uint8_t>(level);
    record(Op::GpioRead, pin, flags, level, 0);
    return 0;
}

__attribute__((visibility("default"))) int32_t gpio_write(uint32_t pin, uint8_t value)
{
    Lock lock;
    State &s = state();
    int32_t code = 0;
    if (fire_fault(Op::GpioWrite, pin, &code, pin, 0, value)) return code;
    if (pin >= kPins) {
        record(Op::GpioWrite, pin, 0, value, -1).flags |= kFlagMalformed;
        return -1;
    }
    s.pins[pin].level = value ? 1 : 0;
    record(Op::GpioWrite, pin, 0, value, 0);
    return 0;
}

}  // extern "C"
