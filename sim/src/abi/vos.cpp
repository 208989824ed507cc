// Platform entry points of the operating services: the virtual clock, the two logs, task
// mutexes and file checks.
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "core/core.h"
#include "platform/vos.h"

using namespace bspsim;
using namespace bspsim::detail;

// Delays advance the instance's clock and return at once, so tests of long retry loops cost
// nothing; BSPSIM_REAL_DELAY=1 makes them real for demonstrations.
BSPSIM_API void vos_task_delay(uint32_t ms)
{
    {
        Call call(Op::Delay, ms, {.a = ms});
        call.run(true, [&] {
            core().clock_ms += ms;
            return 0;
        });
    }
    if (const char *real = std::getenv("BSPSIM_REAL_DELAY"); real && *real == '1') usleep(ms * 1000u);
}

BSPSIM_API unsigned long vos_tick_get(void)
{
    Lock lock;
    return static_cast<unsigned long>(core().clock_ms);
}

BSPSIM_API int32_t vos_thread_mutex_sem4_create(uint64_t *lock, const char *name)
{
    Call call(Op::TaskMutexCreate, kAnyKey, {.name = name ? name : ""});
    return call.run(lock != nullptr, [&] {
        *lock = 1;
        return 0;
    });
}

BSPSIM_API int32_t vos_get_file_accessible(const char *path)
{
    Call call(Op::FileAccessible, kAnyKey, {.name = path ? path : ""});
    return call.run(path != nullptr, [&] {
        std::string mapped = mapped_path(path);
        call.rec.value = access(mapped.empty() ? path : mapped.c_str(), F_OK) == 0 ? 1 : 0;
        return static_cast<int32_t>(call.rec.value);
    }, 0);
}

BSPSIM_API void debug_log_func(int32_t level, const char *file, int32_t line, const char *fmt, ...)
{
    char text[kLogTextLen];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(text, sizeof text, fmt ? fmt : "", ap);
    va_end(ap);
    capture_log(LogLine::Debug, level, file, line, text);
}

BSPSIM_API void dbg_log(int32_t level, const char *fmt, ...)
{
    char text[kLogTextLen];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(text, sizeof text, fmt ? fmt : "", ap);
    va_end(ap);
    capture_log(LogLine::Operation, level, nullptr, 0, text);
}
