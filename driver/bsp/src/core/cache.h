// Per-process caches and latches. They are written without locks by design: every writer
// writes the same value. Atomics keep that behaviour and make it race-free.
#ifndef BSP_CORE_CACHE_H
#define BSP_CORE_CACHE_H

#include <atomic>
#include <cstdint>
#include <optional>

namespace bsp {

// A value with a sentinel meaning "not known yet".
template <typename T, T Unknown>
class CachedValue {
public:
    bool known() const { return v_.load(std::memory_order_relaxed) != Unknown; }
    T get() const { return v_.load(std::memory_order_relaxed); }
    void set(T v) { v_.store(v, std::memory_order_relaxed); }

private:
    std::atomic<T> v_{Unknown};
};

// A yes/no answer worked out once per process. Whether it is known and what it is live in one
// atomic byte, so a thread that finds it known also finds the answer: never "known" with an
// answer still to come. The answer is stored once (release) and read with acquire, so what
// the answering thread did before it is visible to every thread that takes the answer.
class CachedAnswer {
public:
    // The cached answer (1 or 0); without one, `ask()` works it out. An empty result means
    // "cannot tell yet": nothing is cached, the call answers 0 and the next call asks again.
    template <typename Ask>
    uint32_t get_or(Ask ask)
    {
        uint8_t state = state_.load(std::memory_order_acquire);
        if (state != kUnknown) return state;
        std::optional<bool> answer = ask();
        if (!answer) return 0;
        // Threads that asked at once worked out the same answer; the first one stored stays.
        state = *answer ? 1 : 0;
        uint8_t expected = kUnknown;
        return state_.compare_exchange_strong(expected, state, std::memory_order_release, std::memory_order_acquire)
                   ? state
                   : expected;
    }

private:
    static constexpr uint8_t kUnknown = 0xFF;
    std::atomic<uint8_t> state_{kUnknown};
};

}  // namespace bsp

#endif
