// GPIO pins of the SoC.
#ifndef BSPSIM_MODELS_GPIO_H
#define BSPSIM_MODELS_GPIO_H

#include "core/core.h"

namespace bspsim::detail::gpio {

int32_t init(Call &&call, uint32_t pin, uint32_t direction);
int32_t read(Call &&call, uint32_t pin, uint8_t *value, uint32_t flags);
int32_t write(Call &&call, uint32_t pin, uint8_t value);
// Lock held. Sets a pin's level by the back door (the strap view sets several pins as a unit).
void set_level(uint32_t pin, uint8_t level);
// Lock held. The SoC was reset: every pin is an input again, not set up; levels stay.
void soc_reset();

}  // namespace bspsim::detail::gpio

#endif
