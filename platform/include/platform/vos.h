/* Operating services: delays, ticks, task mutexes, file checks and the two logs. */
#ifndef PLATFORM_VOS_H
#define PLATFORM_VOS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

void vos_task_delay(uint32_t ms);
unsigned long vos_tick_get(void);                              /* milliseconds */
int32_t vos_thread_mutex_sem4_create(uint64_t *lock, const char *name);
int32_t vos_get_file_accessible(const char *path);             /* 1 when it exists and is accessible */
void debug_log_func(int32_t level, const char *file, int32_t line, const char *fmt, ...)
    __attribute__((format(printf, 4, 5)));
void dbg_log(int32_t level, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

#ifdef __cplusplus
}
#endif

#endif
