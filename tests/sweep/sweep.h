// The sweeps' table format: one line per exported function, its call with typical arguments,
// from which the bad inputs are derived through the argument types (a null for each pointer,
// the type's extremes and the line's bounds for each number).
#ifndef BSP_TESTS_SWEEP_SWEEP_H
#define BSP_TESTS_SWEEP_SWEEP_H

#include <glib.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "bmc_bsp.h"
#include "bspsim/sim.hpp"

namespace sweep {

// What a function's result says after a platform call failed under it.
enum Fails {
    St,  // a status: nonzero on failure
    Pr,  // a predicate: 1 or 0, never a failure
    Vl,  // a value (a count, a byte, a checksum): a failure does not show in it
    Vd,  // void: nothing to see but the invariants
};

// Caller's buffers, one pair per thread: zeroed before each call, large enough for every typical
// call.
inline constexpr size_t kBufSize = 4096;
alignas(16) inline thread_local uint8_t g_buf[kBufSize];
alignas(16) inline thread_local uint8_t g_buf2[kBufSize];
struct Buf {};   // an out-parameter or input bytes: g_buf
struct Buf2 {};  // a second one: g_buf2
struct Obj {     // the handle of a framework object of the profile
    const char *name;
};
struct Txt {  // a writable text: copied to g_buf
    const char *text;
};
template <typename T>
struct Ptr {  // an in-out value: a fresh copy of `v` for each call
    T v;
};
struct SecCmd {};  // a secure-core transport block: sends from g_buf2, receives into its second half

template <typename A>
inline constexpr bool kIsPtr = false;
template <typename T>
inline constexpr bool kIsPtr<Ptr<T>> = true;

// A call ready to run on a board: the result widened (void: 0).
using Run = std::function<int64_t(bspsim::Board &)>;

// One bad input: which argument, the value's rendering, whether the function documents that it
// refuses it (a failure status where it has one, and no platform call), and the call.
struct Bad {
    size_t arg;
    std::string value;
    bool refused;
    Run run;
};

struct Line {
    const char *name;
    Fails fails;
    // Platform operations (names as the record has them) whose failure the function documents as
    // tolerated: it still returns success. A failure a later call of the same operation on the
    // same key recovered (a retry) is tolerated without being named here. "op#n": only the n-th
    // (from 0) call of that operation is tolerated. "wp-open": the
    // function deliberately leaves a write protection open after a failed write.
    const char *tolerates;
    // Per argument, space-separated: "I:LO..HI" documented bounds, refused outside; "I:LO..HI~"
    // bounds to try, outside not refused; "I:n" a null accepted here; "I:len" a buffer's length
    // (tried at 0, 1 and the buffer's size only).
    const char *bounds;
    // Profiles to sweep ("" every profile; the driver sweeps each distinct path once).
    const char *profiles;
    Run call;
    std::vector<Bad> bad;
};

namespace detail {

template <typename P, typename A>
P arg(const A &a, bspsim::Board &b)
{
    if constexpr (std::is_same_v<A, Buf>) return reinterpret_cast<P>(g_buf);
    else if constexpr (std::is_same_v<A, Buf2>) return reinterpret_cast<P>(g_buf2);
    else if constexpr (std::is_same_v<A, Obj>) return b.handle_of(a.name);
    else if constexpr (std::is_same_v<A, Txt>) return reinterpret_cast<P>(std::strcpy(reinterpret_cast<char *>(g_buf), a.text));
    else if constexpr (kIsPtr<A>) {
        static thread_local decltype(a.v) slot;
        slot = a.v;
        return &slot;
    } else if constexpr (std::is_same_v<A, SecCmd>) {
        static thread_local SecMsgCmd cmd;
        cmd = {g_buf2, 64, g_buf2 + kBufSize / 2, 64};
        return &cmd;
    }
    else if constexpr (std::is_pointer_v<P> && std::is_pointer_v<A>) return const_cast<P>(a);
    else return static_cast<P>(a);
}

// A result as the driver sees it; a text handed out is the caller's to free.
template <typename R>
int64_t widen(R r)
{
    if constexpr (std::is_pointer_v<R>) return g_free(r), r != nullptr;
    else return static_cast<int64_t>(r);
}

template <size_t J, size_t I, typename P, typename V, typename A>
P pick(const V &v, const A &a, bspsim::Board &b)
{
    if constexpr (J == I) return v;
    else return arg<P>(a, b);
}

// The bounds hint of argument `i`: kind 0 none, 1 refused outside, 2 tried only, 3 null
// accepted, 4 a buffer length.
struct Hint {
    int kind = 0;
    long double lo = 0, hi = 0;
};
inline Hint hint(const char *bounds, size_t i)
{
    std::string key = std::to_string(i) + ":";
    for (const char *p = bounds; (p = std::strstr(p, key.c_str())); ++p) {
        if (p != bounds && p[-1] != ' ') continue;
        std::string v(p + key.size(), std::strcspn(p + key.size(), " "));
        if (v == "n") return {3};
        if (v == "len") return {4};
        char *end = nullptr;
        // Whole numbers: a decimal reading would take "4." of "4..9" for a fraction.
        long double lo = static_cast<long double>(std::strtoll(v.c_str(), &end, 0));
        long double hi = static_cast<long double>(std::strtoll(end + 2, &end, 0));
        return {*end == '~' ? 2 : 1, lo, hi};
    }
    return {};
}

template <typename T>
std::string show(T v)
{
    if constexpr (std::is_pointer_v<T>) return "NULL";
    else if constexpr (std::is_floating_point_v<T>) return std::to_string(static_cast<double>(v));
    else if constexpr (std::is_signed_v<T>) return std::to_string(static_cast<long long>(v));
    else return std::to_string(static_cast<unsigned long long>(v));
}

// The bad values of a `P` and whether each is a documented refusal.
template <typename P>
std::vector<std::pair<P, bool>> bad_values(const Hint &h)
{
    std::vector<std::pair<P, bool>> out;
    if constexpr (std::is_pointer_v<P>) {
        out.emplace_back(nullptr, h.kind != 3);
    } else if constexpr (std::is_floating_point_v<P>) {
        for (P v : {std::numeric_limits<P>::quiet_NaN(), std::numeric_limits<P>::infinity(),
                    -std::numeric_limits<P>::infinity(), std::numeric_limits<P>::max()})
            out.emplace_back(v, false);
    } else {
        auto add = [&](long double v, bool refused) {
            if (v < static_cast<long double>(std::numeric_limits<P>::lowest()) ||
                v > static_cast<long double>(std::numeric_limits<P>::max()))
                return;
            for (auto &[p, r] : out)
                if (static_cast<long double>(p) == v) return;
            out.emplace_back(static_cast<P>(v), refused);
        };
        const bool outside = h.kind == 1;
        auto in = [&](long double v) { return h.kind != 1 || (v >= h.lo && v <= h.hi); };
        if (h.kind == 4) {
            for (long double v : {0.0L, 1.0L, static_cast<long double>(kBufSize)}) add(v, false);
            return out;
        }
        if (h.kind == 1 || h.kind == 2) add(h.lo, false), add(h.hi, false), add(h.lo - 1, outside), add(h.hi + 1, outside);
        for (long double v : {static_cast<long double>(std::numeric_limits<P>::lowest()), -1.0L, 0.0L,
                              static_cast<long double>(std::numeric_limits<P>::max())})
            add(v, outside && !in(v));
    }
    return out;
}

template <typename R, typename... P, typename Tup, size_t... J>
void add_bad(Line &l, R (*fn)(P...), const Tup &t, std::index_sequence<J...>)
{
    [[maybe_unused]] auto one = [&]<size_t I>(std::integral_constant<size_t, I>) {
        using PI = std::tuple_element_t<I, std::tuple<P...>>;
        for (auto [v, refused] : bad_values<PI>(hint(l.bounds, I))) {
            l.bad.push_back({I, show(v), refused, [fn, t, v](bspsim::Board &b) -> int64_t {
                                 if constexpr (std::is_void_v<R>) return fn(pick<J, I, P>(v, std::get<J>(t), b)...), 0;
                                 else return widen(fn(pick<J, I, P>(v, std::get<J>(t), b)...));
                             }});
        }
    };
    (one(std::integral_constant<size_t, J>{}), ...);
}

}  // namespace detail

template <typename R, typename... P, typename... A>
Line line(const char *name, R (*fn)(P...), Fails fails, const char *tolerates, const char *bounds,
          const char *profiles, A... typical)
{
    static_assert(sizeof...(P) == sizeof...(A), "one typical argument per parameter");
    std::tuple<A...> t{typical...};
    Line l{name, fails, tolerates, bounds, profiles, nullptr, {}};
    l.call = [fn, t](bspsim::Board &b) -> int64_t {
        return std::apply(
            [&](const A &...a) -> int64_t {
                if constexpr (std::is_void_v<R>) return fn(detail::arg<P>(a, b)...), 0;
                else return detail::widen(fn(detail::arg<P>(a, b)...));
            },
            t);
    };
    detail::add_bad(l, fn, t, std::index_sequence_for<P...>{});
    return l;
}

// The board identity (its device, its type pins) and the CPLD bus path are looked up on first
// use and never fail a caller:
// a failed lookup answers as an unknown board, or the local bus. Functions that reach the CPLD or
// ask a predicate tolerate these failures (the invariants still decide).
#define LOOKUPS "dev_open dev_ioctl dev_close gpio_init dfl_get_handle dfl_get_ref dfl_get_name "

// A table line: the function, how its result shows a failure, the failures it tolerates, its
// arguments' bounds, the profiles to sweep ("" all), then its typical arguments.
#define SWEEP(fn, ...) ::sweep::line(#fn, &fn, __VA_ARGS__)

const std::vector<Line> &table();

}  // namespace sweep

#endif
