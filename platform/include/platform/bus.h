/* Local-bus and SPI access to the CPLD, as provided by the platform's bus drivers. */
#ifndef PLATFORM_BUS_H
#define PLATFORM_BUS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct LocalBusRequest {          /* 32 bytes */
    uint32_t reserved0;                   /* 0 */
    uint32_t mode;                        /* 0 whole bytes, 1 masked bit access */
    uint32_t addr;                        /* CPLD register */
    uint32_t len;                         /* byte count */
    uint32_t mask;                        /* bit mask, 0 for byte access */
    uint32_t reserved1;                   /* 0 */
    uint8_t *data;                        /* caller's buffer, or the byte to write */
} LocalBusRequest;

int32_t local_bus_read(LocalBusRequest *req);
int32_t local_bus_write(LocalBusRequest *req);

typedef struct SpiRequest {               /* 40 bytes */
    uint32_t bus;                         /* 1 */
    uint32_t device;                      /* 1 */
    uint8_t *cmd;                         /* 0x03 hi lo (read) or 0x02 hi lo data (write) */
    uint32_t cmd_len;                     /* 3 or 4 */
    uint32_t reserved;                    /* 0 */
    uint8_t *rx;                          /* read: caller's byte; write: NULL */
    uint32_t rx_len;                      /* read: 1; write: 0 */
} SpiRequest;

int32_t spi_read(SpiRequest *req);
int32_t spi_write(SpiRequest *req);

#ifdef __cplusplus
}
static_assert(sizeof(LocalBusRequest) == 32, "LocalBusRequest is 32 bytes");
static_assert(offsetof(LocalBusRequest, mode) == 4, "mode at 4");
static_assert(offsetof(LocalBusRequest, addr) == 8, "addr at 8");
static_assert(offsetof(LocalBusRequest, len) == 12, "len at 12");
static_assert(offsetof(LocalBusRequest, mask) == 16, "mask at 16");
static_assert(offsetof(LocalBusRequest, reserved1) == 20, "reserved1 at 20");
static_assert(offsetof(LocalBusRequest, data) == 24, "data at 24");
static_assert(sizeof(SpiRequest) == 40, "SpiRequest is 40 bytes");
static_assert(offsetof(SpiRequest, device) == 4, "device at 4");
static_assert(offsetof(SpiRequest, cmd) == 8, "cmd at 8");
static_assert(offsetof(SpiRequest, cmd_len) == 16, "cmd_len at 16");
static_assert(offsetof(SpiRequest, reserved) == 20, "reserved at 20");
static_assert(offsetof(SpiRequest, rx) == 24, "rx at 24");
static_assert(offsetof(SpiRequest, rx_len) == 32, "rx_len at 32");
#else
_Static_assert(sizeof(LocalBusRequest) == 32, "LocalBusRequest is 32 bytes");
_Static_assert(offsetof(LocalBusRequest, data) == 24, "data at 24");
_Static_assert(sizeof(SpiRequest) == 40, "SpiRequest is 40 bytes");
_Static_assert(offsetof(SpiRequest, rx_len) == 32, "rx_len at 32");
#endif

#endif
