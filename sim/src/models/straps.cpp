// The chip identification straps: four pins of the GPIO model, set as one value.
#include "bspsim/straps.hpp"
#include "models/gpio.h"

namespace bspsim {

using namespace detail;

Straps &Straps::set(uint32_t value)
{
    check_range("strap value", value, 1u << kPins);
    Lock lock;
    for (uint32_t k = 0; k < kPins; ++k) gpio::set_level(kFirstPin + k, static_cast<uint8_t>((value >> k) & 1u));
    return *this;
}

}  // namespace bspsim
