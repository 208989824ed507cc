// Holds one system-wide process semaphore and gives it back exactly once.
//
// The guard gives back on destruction unless release() already did; a caller that must give
// back before it logs, or must log a failing give with its own text, calls release() and
// looks at the result. Never hold two guards at once: the semaphores are not ordered.
#ifndef BSP_CORE_SEM_GUARD_H
#define BSP_CORE_SEM_GUARD_H

#include <cstdint>

#include "platform/sem.h"

namespace bsp {

// Semaphores shared with the other processes of the management software.
inline constexpr uint32_t kSemCpldSelfTest = 12;
inline constexpr uint32_t kSemMastership = 20;
inline constexpr uint32_t kSemCpldRam = 29;
inline constexpr uint32_t kSemSoftReset = 38;

class SemGuard {
public:
    // A give of a semaphore's own: a function that gives it back and reports a failing give
    // in that semaphore's words. The guard then never calls BMC_ProcessMutexSem_V itself.
    using Give = void (*)();

    explicit SemGuard(uint32_t id, int32_t wait_s = BMC_SEM_WAIT_FOREVER)
        : id_(id), taken_(BMC_ProcessMutexSem_P(id, wait_s)), held_(taken_ == 0)
    {
    }
    SemGuard(uint32_t id, Give give, int32_t wait_s = BMC_SEM_WAIT_FOREVER)
        : id_(id), give_(give), taken_(BMC_ProcessMutexSem_P(id, wait_s)), held_(taken_ == 0)
    {
    }
    ~SemGuard() { (void)release(); }
    SemGuard(const SemGuard &) = delete;
    SemGuard &operator=(const SemGuard &) = delete;

    bool held() const { return held_; }
    // What the take answered (0 when the semaphore was taken), for a caller that passes it on.
    int32_t taken() const { return taken_; }

    // Gives the semaphore back now; returns the give's result (0 when nothing was held, and
    // 0 with a give of its own, which has reported any failure already).
    int32_t release()
    {
        if (!held_) return 0;
        held_ = false;
        if (give_ != nullptr) {
            give_();
            return 0;
        }
        return BMC_ProcessMutexSem_V(id_);
    }

private:
    uint32_t id_;
    Give give_ = nullptr;
    int32_t taken_;
    bool held_;
};

}  // namespace bsp

#endif
