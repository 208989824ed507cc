// Per-process caches and latches. They are written without locks by design: every writer
// writes the same value. Relaxed atomics keep that behaviour and make it race-free.
#ifndef BSP_CORE_CACHE_H
#define BSP_CORE_CACHE_H

#include <atomic>
#include <cstdint>

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

// The known/answer flag pair of a cached predicate.
class CachedAnswer {
public:
    bool known() const { return known_.load(std::memory_order_relaxed) != 0; }
    uint32_t answer() const { return answer_.load(std::memory_order_relaxed); }
    void set_known() { known_.store(1, std::memory_order_relaxed); }
    void set_answer(uint32_t a) { answer_.store(static_cast<uint8_t>(a), std::memory_order_relaxed); }

private:
    std::atomic<uint8_t> known_{0};
    std::atomic<uint8_t> answer_{0};
};

}  // namespace bsp

#endif
