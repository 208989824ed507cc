// Fixed-count retries with a fixed wait after every failed attempt, the last one included.
#ifndef BSP_CORE_RETRY_H
#define BSP_CORE_RETRY_H

#include <cstdint>

#include "platform/vos.h"

namespace bsp {

// Calls `attempt` up to `attempts` times until it returns 0, sleeping `delay_ms` after each
// failure. Returns 0, or the last attempt's own result.
template <typename Attempt>
auto retry_with_delay(int attempts, uint32_t delay_ms, Attempt attempt) -> decltype(attempt())
{
    decltype(attempt()) result{};
    for (int i = 0; i < attempts; ++i) {
        result = attempt();
        if (result == 0) return result;
        vos_task_delay(delay_ms);
    }
    return result;
}

}  // namespace bsp

#endif
