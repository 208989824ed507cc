// The device files of the board: /dev/sys_info and /dev/ttyS0 are served by the simulator, and
// the platform's fixed log files are mapped into the instance directory. Everything else is
// forwarded to the C library untouched. The descriptors handed out are real (opened on
// /dev/null), so close, fcntl and friends keep working on them.
#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>

#include "core/core.h"
#include "models/sysinfo.h"
#include "models/tty.h"

namespace bspsim::detail {
namespace {

constexpr const char *kSysInfoPath = "/dev/sys_info";
constexpr const char *kTtyPath = "/dev/ttyS0";
constexpr const char *kLogDir = "/var/log/zelm/";

constexpr size_t kMaxFd = 65536;
// 0: not ours; 1 + Device: a simulated device.
std::array<std::atomic<uint8_t>, kMaxFd> g_fd_kind{};

template <typename Fn>
Fn next_symbol(const char *name)
{
    void *p = dlsym(RTLD_NEXT, name);
    if (!p) {
        static const char msg[] = "bspsim: missing C library symbol\n";
        (void)!write(2, msg, sizeof msg - 1);
        abort();
    }
    return reinterpret_cast<Fn>(p);
}

using OpenFn = int (*)(const char *, int, ...);
using OpenatFn = int (*)(int, const char *, int, ...);
using CloseFn = int (*)(int);
using IoctlFn = int (*)(int, unsigned long, ...);
using FopenFn = FILE *(*)(const char *, const char *);
using TcgetFn = int (*)(int, struct termios *);
using TcsetFn = int (*)(int, int, const struct termios *);

int device_of(const char *path)
{
    if (!path) return -1;
    if (std::strcmp(path, kSysInfoPath) == 0) return static_cast<int>(Device::SysInfo);
    if (std::strcmp(path, kTtyPath) == 0) return static_cast<int>(Device::TtyS0);
    return -1;
}

bool needs_mode(int flags) { return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE; }

int open_device(int dev, const char *path, int flags)
{
    Call call(Op::DevOpen, static_cast<uint32_t>(dev), {.a = static_cast<uint32_t>(dev), .b = static_cast<uint32_t>(flags), .name = path});
    int fd = call.run(true, [&] {
        int d = real_open("/dev/null", O_RDWR | (flags & O_CLOEXEC), 0);
        if (d >= 0 && static_cast<size_t>(d) < kMaxFd) g_fd_kind[d].store(static_cast<uint8_t>(dev + 1));
        return d;
    });
    if (call.injected) {
        errno = fd > 0 ? fd : ENOENT;
        return -1;
    }
    return fd;
}

int open_mapped(const char *path, int flags, unsigned mode, bool *handled)
{
    *handled = false;
    int dev = device_of(path);
    if (dev >= 0) {
        *handled = true;
        return open_device(dev, path, flags);
    }
    std::string mapped = mapped_path(path);
    if (!mapped.empty()) {
        *handled = true;
        return real_open(mapped.c_str(), flags, mode);
    }
    return -1;
}

int device_of_fd(int fd)
{
    if (fd < 0 || static_cast<size_t>(fd) >= kMaxFd) return -1;
    uint8_t k = g_fd_kind[fd].load();
    return k == 0 ? -1 : k - 1;
}

}  // namespace

int real_open(const char *path, int flags, unsigned mode)
{
    static OpenFn fn = next_symbol<OpenFn>("open");
    return fn(path, flags, mode);
}

std::string mapped_path(const char *path)
{
    if (!path || std::strncmp(path, kLogDir, std::strlen(kLogDir)) != 0) return {};
    return instance_dir() + path;
}

}  // namespace bspsim::detail

using namespace bspsim;
using namespace bspsim::detail;

// The mode argument of an open-like call exists only when the flags create a file; it can only
// be read inside the variadic function itself, hence a macro.
#define BSPSIM_READ_MODE(flags, mode)             \
    do {                                          \
        if (needs_mode(flags)) {                  \
            va_list ap;                           \
            va_start(ap, flags);                  \
            (mode) = va_arg(ap, unsigned);        \
            va_end(ap);                           \
        }                                         \
    } while (0)

BSPSIM_API int open(const char *path, int flags, ...)
{
    unsigned mode = 0;
    BSPSIM_READ_MODE(flags, mode);
    bool handled = false;
    int fd = open_mapped(path, flags, mode, &handled);
    return handled ? fd : real_open(path, flags, mode);
}

BSPSIM_API int open64(const char *path, int flags, ...)
{
    unsigned mode = 0;
    BSPSIM_READ_MODE(flags, mode);
    bool handled = false;
    int fd = open_mapped(path, flags, mode, &handled);
    if (handled) return fd;
    static OpenFn fn = next_symbol<OpenFn>("open64");
    return fn(path, flags, mode);
}

// The fortified entry points that _FORTIFY_SOURCE builds call instead of open().
BSPSIM_API int __open_2(const char *path, int flags)
{
    bool handled = false;
    int fd = open_mapped(path, flags, 0, &handled);
    return handled ? fd : real_open(path, flags, 0);
}

BSPSIM_API int __open64_2(const char *path, int flags)
{
    return __open_2(path, flags);
}

BSPSIM_API int openat(int dirfd, const char *path, int flags, ...)
{
    unsigned mode = 0;
    BSPSIM_READ_MODE(flags, mode);
    if (path[0] == '/') {
        bool handled = false;
        int fd = open_mapped(path, flags, mode, &handled);
        if (handled) return fd;
    }
    static OpenatFn fn = next_symbol<OpenatFn>("openat");
    return fn(dirfd, path, flags, mode);
}

BSPSIM_API int close(int fd)
{
    static CloseFn fn = next_symbol<CloseFn>("close");
    int dev = device_of_fd(fd);
    if (dev < 0) return fn(fd);
    Call call(Op::DevClose, static_cast<uint32_t>(dev), {.a = static_cast<uint32_t>(dev)});
    int rc = call.run(true, [&] {
        g_fd_kind[fd].store(0);
        return fn(fd);
    });
    // Linux frees the descriptor even when close reports an error, so a failing close does too.
    if (call.injected) {
        g_fd_kind[fd].store(0);
        (void)fn(fd);
    }
    return rc;
}

BSPSIM_API int ioctl(int fd, unsigned long request, ...)
{
    va_list ap;
    va_start(ap, request);
    void *arg = va_arg(ap, void *);
    va_end(ap);
    switch (device_of_fd(fd)) {
    case static_cast<int>(Device::SysInfo):
        return sysinfo::ioctl({Op::DevIoctl, static_cast<uint32_t>(request)}, static_cast<uint32_t>(request), arg);
    case static_cast<int>(Device::TtyS0):
        return tty::ioctl({Op::DevIoctl, static_cast<uint32_t>(request)}, request, reinterpret_cast<unsigned long>(arg));
    default: {
        static IoctlFn fn = next_symbol<IoctlFn>("ioctl");
        return fn(fd, request, arg);
    }
    }
}

// glibc's termios calls reach the kernel without going through ioctl(), so they are taken by
// name for the simulated serial port.
BSPSIM_API int tcgetattr(int fd, struct termios *t)
{
    if (device_of_fd(fd) == static_cast<int>(Device::TtyS0)) return tty::get({Op::Termios, 0}, t);
    static TcgetFn fn = next_symbol<TcgetFn>("tcgetattr");
    return fn(fd, t);
}

BSPSIM_API int tcsetattr(int fd, int action, const struct termios *t)
{
    if (device_of_fd(fd) == static_cast<int>(Device::TtyS0)) return tty::set({Op::Termios, 1}, action, t);
    static TcsetFn fn = next_symbol<TcsetFn>("tcsetattr");
    return fn(fd, action, t);
}

static FILE *fopen_mapped(const char *path, const char *mode, const char *real_name)
{
    std::string mapped = mapped_path(path);
    if (mapped.empty()) return next_symbol<FopenFn>(real_name)(path, mode);
    static FopenFn fn = next_symbol<FopenFn>("fopen");
    FILE *f = nullptr;
    Call call(Op::FileOpen, 0, {.name = path});
    int32_t rc = call.run(true, [&] {
        f = fn(mapped.c_str(), mode);
        return f ? 0 : -1;
    });
    if (call.injected) errno = rc > 0 ? rc : EACCES;
    return f;
}

BSPSIM_API FILE *fopen(const char *path, const char *mode)
{
    return fopen_mapped(path, mode, "fopen");
}

BSPSIM_API FILE *fopen64(const char *path, const char *mode)
{
    return fopen_mapped(path, mode, "fopen64");
}


std::string bspsim::Board::path_of(const std::string &fixed_path) const
{
    std::string mapped = mapped_path(fixed_path.c_str());
    return mapped.empty() ? fixed_path : mapped;
}
