// System-wide process semaphores: the instance's SysV set holds 64 per board, every operation
// with SEM_UNDO so that a process killed while holding one gives it back through the kernel.
// The instance lock is not held while a take waits.
#include <sys/sem.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

#include "models/sem.h"

namespace bspsim::detail::sem {
namespace {

constexpr uint32_t kPerBoard = 64;

unsigned short index_of(uint32_t id) { return static_cast<unsigned short>(board_index() * kPerBoard + id); }

}  // namespace

int32_t take(Call &&call, uint32_t id, int32_t wait_s)
{
    call.rec = {.a = id, .b = static_cast<uint32_t>(wait_s)};
    return call.run(id < kPerBoard, [&] {
        int semid = header().semid;
        sembuf op{index_of(id), -1, SEM_UNDO};
        call.unlock();
        int rc;
        do {
            timespec ts{wait_s, 0};
            rc = wait_s > 0 ? semtimedop(semid, &op, 1, &ts) : semop(semid, &op, 1);
        } while (rc != 0 && errno == EINTR);
        return rc == 0 ? 0 : -1;
    });
}

int32_t give(Call &&call, uint32_t id)
{
    call.rec = {.a = id};
    return call.run(id < kPerBoard, [&] {
        int semid = header().semid;
        // A give without a take would let two holders in later: refuse it and flag it, so tests
        // that count takes and gives see the fault.
        if (semctl(semid, index_of(id), GETVAL) >= 1) {
            call.rec.flags |= kFlagUnbalanced;
            return -1;
        }
        sembuf op{index_of(id), 1, SEM_UNDO};
        return semop(semid, &op, 1) == 0 ? 0 : -1;
    });
}

std::vector<uint32_t> held_here()
{
    std::vector<uint32_t> held;
    const int semid = header().semid;
    for (uint32_t id = 0; id < kPerBoard; ++id) {
        // Taken (value 0) and last moved by this process: a take of ours without its give.
        if (semctl(semid, index_of(id), GETVAL) == 0 && semctl(semid, index_of(id), GETPID) == getpid()) held.push_back(id);
    }
    return held;
}

}  // namespace bspsim::detail::sem

namespace bspsim::detail {
const Model model_sem = {.name = "sem", .scope = Scope::Board, .size = 0};
}

int bspsim::Board::sem_value(uint32_t id) const
{
    detail::check_range("semaphore", id, detail::sem::kPerBoard);
    return semctl(detail::header().semid, detail::sem::index_of(id), GETVAL);
}
