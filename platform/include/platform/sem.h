/* System-wide semaphores shared with the other processes of the management software. */
#ifndef PLATFORM_SEM_H
#define PLATFORM_SEM_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define BMC_SEM_WAIT_FOREVER 0
int32_t BMC_ProcessMutexSem_P(uint32_t sem_id, int32_t wait_s); /* wait_s > 0: give up after that many seconds */
int32_t BMC_ProcessMutexSem_V(uint32_t sem_id);

#ifdef __cplusplus
}
#endif

#endif
