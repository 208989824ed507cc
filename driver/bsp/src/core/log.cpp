#include "core/log.h"

#include <glib.h>

#include <cstdarg>

namespace bsp {

void op_log(int32_t level, const char *source_path, int32_t line, const char *fmt, ...)
{
    char text[1024] = {0};
    va_list ap;
    va_start(ap, fmt);
    g_vsnprintf(text, sizeof text, fmt, ap);
    va_end(ap);
    const char *slash = g_strrstr(source_path, "/");
    const char *base = slash ? slash + 1 : source_path;
    dbg_log(level, "%s(%d)(%lu): %s", base, line, vos_tick_get(), text);
}

}  // namespace bsp
