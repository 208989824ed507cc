/* CPLD identity and count, kept by the platform's CPLD driver. */
#ifndef PLATFORM_CPLD_DRV_H
#define PLATFORM_CPLD_DRV_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CpldIdRequest {            /* 32 bytes */
    uint8_t kind;                         /* 3 */
    uint8_t index;
    uint8_t reserved[2];
    uint32_t count;                       /* filled by the driver */
    uint32_t ids[6];                      /* filled by the driver */
} CpldIdRequest;

int32_t cpld_get_id(CpldIdRequest *req);
int32_t cpld_set_num(uint32_t num);

#ifdef __cplusplus
}
static_assert(sizeof(CpldIdRequest) == 32, "CpldIdRequest is 32 bytes");
static_assert(offsetof(CpldIdRequest, index) == 1, "index at 1");
static_assert(offsetof(CpldIdRequest, count) == 4, "count at 4");
static_assert(offsetof(CpldIdRequest, ids) == 8, "ids at 8");
#else
_Static_assert(sizeof(CpldIdRequest) == 32, "CpldIdRequest is 32 bytes");
_Static_assert(offsetof(CpldIdRequest, ids) == 8, "ids at 8");
#endif

#endif
