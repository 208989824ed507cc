/* GPIO pins of the BMC SoC. */
#ifndef PLATFORM_GPIO_H
#define PLATFORM_GPIO_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

int32_t gpio_init(uint32_t pin, uint32_t direction);             /* 0 input, 1 output */
int32_t gpio_read(uint32_t pin, uint8_t *value, uint32_t flags);  /* flags: always 0 */
int32_t gpio_write(uint32_t pin, uint8_t value);

#ifdef __cplusplus
}
#endif

#endif
