// Platform entry points of the GPIO pins and the process semaphores.
#include "models/gpio.h"
#include "models/sem.h"
#include "platform/gpio.h"
#include "platform/sem.h"

using namespace bspsim;
using namespace bspsim::detail;

BSPSIM_API int32_t gpio_init(uint32_t pin, uint32_t direction)
{
    return gpio::init({Op::GpioInit, pin}, pin, direction);
}

BSPSIM_API int32_t gpio_read(uint32_t pin, uint8_t *value, uint32_t flags)
{
    return gpio::read({Op::GpioRead, pin}, pin, value, flags);
}

BSPSIM_API int32_t gpio_write(uint32_t pin, uint8_t value)
{
    return gpio::write({Op::GpioWrite, pin}, pin, value);
}

BSPSIM_API int32_t BMC_ProcessMutexSem_P(uint32_t sem_id, int32_t wait_s)
{
    return sem::take({Op::SemP, sem_id}, sem_id, wait_s);
}

BSPSIM_API int32_t BMC_ProcessMutexSem_V(uint32_t sem_id)
{
    return sem::give({Op::SemV, sem_id}, sem_id);
}
