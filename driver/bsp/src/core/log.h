// The two logs of the library.
//
// BSP_LOG goes to the debug log with the base name of the calling source file and its line.
// BSP_OPLOG composes the text first and writes it to the operation log as
// "file(line)(tick): text", for events an operator must find later.
#ifndef BSP_CORE_LOG_H
#define BSP_CORE_LOG_H

#include <cstdint>

#include "platform/vos.h"

namespace bsp {

inline constexpr int32_t kLogError = 0;
inline constexpr int32_t kLogNotice = 1;
inline constexpr int32_t kLogTrace = 2;

void op_log(int32_t level, const char *source_path, int32_t line, const char *fmt, ...)
    __attribute__((format(printf, 4, 5)));

}  // namespace bsp

#define BSP_LOG(level, ...) debug_log_func((level), __FILE_NAME__, __LINE__, __VA_ARGS__)
#define BSP_OPLOG(level, ...) ::bsp::op_log((level), __FILE__, __LINE__, __VA_ARGS__)

#endif
