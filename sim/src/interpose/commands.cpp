// The simulated host's commands. The library learns some facts of the BMC from the shell (its
// address on the internal network, from ifconfig); on a host those commands are the simulator's
// own small scripts (sim/bin), which print what the BMC's tools print. They come first in PATH
// for every process attached to a board, and every command the library starts with popen is
// recorded and can be made to fail to start, as a BMC out of processes or descriptors would.
#include <dlfcn.h>
#include <stdio.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/core.h"

namespace bspsim::detail {

void use_host_tools()
{
    // Set when a process attaches to a board, which is before it runs any library code: tests
    // attach in their fixture, bspctl at start, a child inherits its parent's PATH. Doing it
    // here rather than in each of them means no process on a board meets the host's own
    // ifconfig, whose output has another form.
    const std::string dir = tools_dir();
    const char *old = std::getenv("PATH");
    std::string path = old && *old ? old : "/usr/bin:/bin";
    if (path == dir || path.rfind(dir + ":", 0) == 0) return;
    setenv("PATH", (dir + ":" + path).c_str(), 1);
}

}  // namespace bspsim::detail

namespace bspsim {

std::string tools_dir()
{
    if (const char *d = std::getenv("BSPSIM_TOOLS_DIR"); d && *d) return d;
#ifdef BSPSIM_TOOLS_DIR_FROM_LIBDIR
    // Installed, the commands are installed with the simulator; in the build tree, copied there.
    if (std::string installed = detail::installed_dir(BSPSIM_TOOLS_DIR_FROM_LIBDIR); !installed.empty()) return installed;
#endif
    return BSPSIM_TOOLS_DIR_DEFAULT;
}

}  // namespace bspsim

using namespace bspsim;
using namespace bspsim::detail;

BSPSIM_API FILE *popen(const char *command, const char *mode)
{
    using PopenFn = FILE *(*)(const char *, const char *);
    static PopenFn fn = reinterpret_cast<PopenFn>(dlsym(RTLD_NEXT, "popen"));
    FILE *f = nullptr;
    int failure = EINVAL;  // of a refused call
    {
        Call call(Op::Popen, kAnyKey, {.name = command ? command : ""});
        const int32_t rc = call.run(command && mode && fn, [&] {
            // Started without the instance lock: the command may itself be a program on the board.
            call.unlock();
            f = fn(command, mode);
            failure = errno;
            call.relock();
            return f ? 0 : -failure;
        });
        // A start made to fail looks like the C library's: no stream, and errno says why.
        if (call.injected) failure = rc > 0 ? rc : EAGAIN;
    }
    if (!f) errno = failure;
    return f;
}
