// System-wide process semaphores: one SysV set per board instance, every operation with
// SEM_UNDO so that a process killed while holding one gives it back through the kernel.
#include <sys/sem.h>
#include <time.h>

#include <cerrno>

#include "platform/sem.h"
#include "state.h"

using namespace bspsim;
using namespace bspsim::detail;

extern "C" {

__attribute__((visibility("default"))) int32_t BMC_ProcessMutexSem_P(uint32_t sem_id, int32_t wait_s)
{
    int32_t code = 0;
    if (injected(Op::SemP, sem_id, &code, sem_id, static_cast<uint32_t>(wait_s))) return code;
    int semid = state().semid;
    if (sem_id >= kSems) {
        Lock lock;
        record(Op::SemP, sem_id, static_cast<uint32_t>(wait_s), 0, -1).flags |= kFlagMalformed;
        return -1;
    }
    sembuf op{static_cast<unsigned short>(sem_id), -1, SEM_UNDO};
    int rc;
    do {
        if (wait_s > 0) {
            timespec ts{wait_s, 0};
            rc = semtimedop(semid, &op, 1, &ts);
        } else {
            rc = semop(semid, &op, 1);
        }
    } while (rc != 0 && errno == EINTR);
    Lock lock;
    record(Op::SemP, sem_id, static_cast<uint32_t>(wait_s), 0, rc == 0 ? 0 : -1);
    return rc == 0 ? 0 : -1;
}

__attribute__((visibility("default"))) int32_t BMC_ProcessMutexSem_V(uint32_t sem_id)
{
    int32_t code = 0;
    if (injected(Op::SemV, sem_id, &code, sem_id)) return code;
    int semid = state().semid;
    if (sem_id >= kSems) {
        Lock lock;
        record(Op::SemV, sem_id, 0, 0, -1).flags |= kFlagMalformed;
        return -1;
    }
    // A give without a take would let two holders in later: refuse it and flag it, so tests
    // that count takes and gives see the fault.
    if (semctl(semid, static_cast<int>(sem_id), GETVAL) >= 1) {
        Lock lock;
        record(Op::SemV, sem_id, 0, 0, -1).flags |= kFlagUnbalanced;
        return -1;
    }
    sembuf op{static_cast<unsigned short>(sem_id), 1, SEM_UNDO};
    int rc = semop(semid, &op, 1);
    Lock lock;
    record(Op::SemV, sem_id, 0, 0, rc == 0 ? 0 : -1);
    return rc == 0 ? 0 : -1;
}

}  // extern "C"
