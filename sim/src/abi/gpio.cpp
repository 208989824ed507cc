// Platform entry points of the GPIO pins and the process semaphores.
#include "models/gpio.h"
#include "models/sem.h"
#include "platform/gpio.h"
#include "platform/sem.h"

using namespace bspsim;
using namespace bspsim::detail;

BSPSIM_API int32_t gpio_init(uint32_t pin, uint32_t direction)
{
    Call call(Op::GpioInit, pin);
    return gpio::init(call, pin, direction);
}

BSPSIM_API int32_t gpio_read(uint32_t pin, uint8_t *value, uint32_t flags)
{
    Call call(Op::GpioRead, pin);
    return gpio::read(call, pin, value, flags);
}

BSPSIM_API int32_t gpio_write(uint32_t pin, uint8_t value)
{
    Call call(Op::GpioWrite, pin);
    return gpio::write(call, pin, value);
}

BSPSIM_API int32_t BMC_ProcessMutexSem_P(uint32_t sem_id, int32_t wait_s)
{
    Call call(Op::SemP, sem_id);
    return sem::take(call, sem_id, wait_s);
}

BSPSIM_API int32_t BMC_ProcessMutexSem_V(uint32_t sem_id)
{
    Call call(Op::SemV, sem_id);
    return sem::give(call, sem_id);
}
