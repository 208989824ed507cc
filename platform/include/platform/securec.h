/* Bounded memory and string functions (0 = success, nonzero = error code). */
#ifndef PLATFORM_SECUREC_H
#define PLATFORM_SECUREC_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

int memcpy_s(void *dest, size_t destMax, const void *src, size_t count);
int memmove_s(void *dest, size_t destMax, const void *src, size_t count);
int memset_s(void *dest, size_t destMax, int c, size_t count);
int strcpy_s(char *dest, size_t destMax, const char *src);
int strncpy_s(char *dest, size_t destMax, const char *src, size_t count);
int strncat_s(char *dest, size_t destMax, const char *src, size_t count);
int sprintf_s(char *dest, size_t destMax, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));                    /* chars written, -1 */
int snprintf_s(char *dest, size_t destMax, size_t count, const char *fmt, ...)
    __attribute__((format(printf, 4, 5)));                    /* chars written, -1 */

#ifdef __cplusplus
}
#endif

#endif
