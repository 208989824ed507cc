// Operating services: the virtual clock, the two logs, task mutexes and file checks.
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/vos.h"
#include "state.h"

using namespace bspsim;
using namespace bspsim::detail;

extern "C" {

// Delays advance the board's clock and return at once, so tests of long retry loops cost
// nothing; BSPSIM_REAL_DELAY=1 makes them real for demonstrations.
__attribute__((visibility("default"))) void vos_task_delay(uint32_t ms)
{
    {
        Lock lock;
        State &s = state();
        record(Op::Delay, ms);
        s.clock_ms += ms;
    }
    if (const char *real = std::getenv("BSPSIM_REAL_DELAY"); real && *real == '1') usleep(ms * 1000u);
}

__attribute__((visibility("default"))) unsigned long vos_tick_get(void)
{
    Lock lock;
    return static_cast<unsigned long>(state().clock_ms);
}

__attribute__((visibility("default"))) int32_t vos_thread_mutex_sem4_create(uint64_t *lock, const char *name)
{
    int32_t code = 0;
    if (injected(Op::TaskMutexCreate, kAnyKey, &code, 0, 0, name)) return code;
    if (!lock) return -1;
    *lock = 1;
    Lock l;
    record(Op::TaskMutexCreate, 0, 0, 0, 0, name);
    return 0;
}

__attribute__((visibility("default"))) int32_t vos_get_file_accessible(const char *path)
{
    int32_t code = 0;
    if (injected(Op::FileAccessible, kAnyKey, &code, 0, 0, path)) return code;
    if (!path) return 0;
    std::string mapped = mapped_path(path);
    int32_t answer = access(mapped.empty() ? path : mapped.c_str(), F_OK) == 0 ? 1 : 0;
    Lock lock;
    record(Op::FileAccessible, 0, 0, static_cast<uint32_t>(answer), 0, path);
    return answer;
}

__attribute__((visibility("default"))) void debug_log_func(int32_t level, const char *file, int32_t line,
                                                           const char *fmt, ...)
{
    char text[kLogTextLen];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(text, sizeof text, fmt ? fmt : "", ap);
    va_end(ap);
    capture_log(LogLine::Debug, level, file, line, text);
}

__attribute__((visibility("default"))) void dbg_log(int32_t level, const char *fmt, ...)
{
    char text[kLogTextLen];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(text, sizeof text, fmt ? fmt : "", ap);
    va_end(ap);
    capture_log(LogLine::Operation, level, nullptr, 0, text);
}

}  // extern "C"
