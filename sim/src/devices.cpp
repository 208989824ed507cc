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

#include "state.h"

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
    int code = 0;
    {
        Lock lock;
        if (take_fault(Op::DevOpen, static_cast<uint32_t>(dev), &code)) {
            record(Op::DevOpen, static_cast<uint32_t>(dev), static_cast<uint32_t>(flags), 0, -1, path).flags |=
                kFlagInjected;
            errno = code > 0 ? code : ENOENT;
            return -1;
        }
    }
    int fd = real_open("/dev/null", O_RDWR | (flags & O_CLOEXEC), 0);
    if (fd >= 0 && static_cast<size_t>(fd) < kMaxFd) g_fd_kind[fd].store(static_cast<uint8_t>(dev + 1));
    Lock lock;
    record(Op::DevOpen, static_cast<uint32_t>(dev), static_cast<uint32_t>(flags), 0, fd, path);
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

int sysinfo_ioctl(unsigned long request, void *arg)
{
    Lock lock;
    State &s = state();
    auto req = static_cast<uint32_t>(request);
    int32_t code = 0;
    if (fire_fault(Op::DevIoctl, req, &code, static_cast<uint32_t>(Device::SysInfo), req, 0)) return code;
    uint32_t word = 0;
    bool known = take_script(Source::SysInfo, req, &word);
    if (!known) {
        for (const auto &a : s.sysinfo) {
            if (a.used && a.request == req) {
                word = a.word;
                known = true;
                break;
            }
        }
    }
    if (!known || arg == nullptr) {
        record(Op::DevIoctl, static_cast<uint32_t>(Device::SysInfo), req, 0, -1).flags |= kFlagMalformed;
        errno = known ? EFAULT : ENOTTY;
        return -1;
    }
    std::memcpy(arg, &word, sizeof word);
    record(Op::DevIoctl, static_cast<uint32_t>(Device::SysInfo), req, word, 0);
    return 0;
}

int tty_ioctl(unsigned long request, unsigned long arg)
{
    Lock lock;
    auto req = static_cast<uint32_t>(request);
    int32_t code = 0;
    if (take_fault(Op::DevIoctl, req, &code)) {
        record(Op::DevIoctl, static_cast<uint32_t>(Device::TtyS0), req, static_cast<uint32_t>(arg), code).flags |=
            kFlagInjected;
        return code;
    }
    record(Op::DevIoctl, static_cast<uint32_t>(Device::TtyS0), req, static_cast<uint32_t>(arg), 0);
    return 0;
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

extern "C" {

__attribute__((visibility("default"))) int open(const char *path, int flags, ...)
{
    unsigned mode = 0;
    if (needs_mode(flags)) {
        va_list ap;
        va_start(ap, flags);
        mode = va_arg(ap, unsigned);
        va_end(ap);
    }
    bool handled = false;
    int fd = open_mapped(path, flags, mode, &handled);
    return handled ? fd : real_open(path, flags, mode);
}

__attribute__((visibility("default"))) int open64(const char *path, int flags, ...)
{
    unsigned mode = 0;
    if (needs_mode(flags)) {
        va_list ap;
        va_start(ap, flags);
        mode = va_arg(ap, unsigned);
        va_end(ap);
    }
    bool handled = false;
    int fd = open_mapped(path, flags, mode, &handled);
    if (handled) return fd;
    static OpenFn fn = next_symbol<OpenFn>("open64");
    return fn(path, flags, mode);
}

// The fortified entry points that _FORTIFY_SOURCE builds call instead of open().
__attribute__((visibility("default"))) int __open_2(const char *path, int flags)
{
    bool handled = false;
    int fd = open_mapped(path, flags, 0, &handled);
    return handled ? fd : real_open(path, flags, 0);
}

__attribute__((visibility("default"))) int __open64_2(const char *path, int flags)
{
    return __open_2(path, flags);
}

__attribute__((visibility("default"))) int openat(int dirfd, const char *path, int flags, ...)
{
    unsigned mode = 0;
    if (needs_mode(flags)) {
        va_list ap;
        va_start(ap, flags);
        mode = va_arg(ap, unsigned);
        va_end(ap);
    }
    if (path[0] == '/') {
        bool handled = false;
        int fd = open_mapped(path, flags, mode, &handled);
        if (handled) return fd;
    }
    static OpenatFn fn = next_symbol<OpenatFn>("openat");
    return fn(dirfd, path, flags, mode);
}

__attribute__((visibility("default"))) int close(int fd)
{
    static CloseFn fn = next_symbol<CloseFn>("close");
    int dev = device_of_fd(fd);
    if (dev >= 0) {
        g_fd_kind[fd].store(0);
        int rc = fn(fd);
        Lock lock;
        record(Op::DevClose, static_cast<uint32_t>(dev), 0, 0, rc);
        return rc;
    }
    return fn(fd);
}

__attribute__((visibility("default"))) int ioctl(int fd, unsigned long request, ...)
{
    va_list ap;
    va_start(ap, request);
    void *arg = va_arg(ap, void *);
    va_end(ap);
    switch (device_of_fd(fd)) {
    case static_cast<int>(Device::SysInfo):
        return sysinfo_ioctl(request, arg);
    case static_cast<int>(Device::TtyS0):
        return tty_ioctl(request, reinterpret_cast<unsigned long>(arg));
    default: {
        static IoctlFn fn = next_symbol<IoctlFn>("ioctl");
        return fn(fd, request, arg);
    }
    }
}

// glibc's termios calls reach the kernel without going through ioctl(), so they are taken by
// name for the simulated serial port.
__attribute__((visibility("default"))) int tcgetattr(int fd, struct termios *t)
{
    if (device_of_fd(fd) == static_cast<int>(Device::TtyS0)) {
        Lock lock;
        int32_t code = 0;
        if (fire_fault(Op::Termios, 0, &code, static_cast<uint32_t>(Device::TtyS0), 0, 0)) return code;
        if (t) std::memset(t, 0, sizeof *t);
        record(Op::Termios, static_cast<uint32_t>(Device::TtyS0), 0, 0, 0);
        return 0;
    }
    static TcgetFn fn = next_symbol<TcgetFn>("tcgetattr");
    return fn(fd, t);
}

__attribute__((visibility("default"))) int tcsetattr(int fd, int action, const struct termios *t)
{
    if (device_of_fd(fd) == static_cast<int>(Device::TtyS0)) {
        Lock lock;
        int32_t code = 0;
        if (fire_fault(Op::Termios, 1, &code, static_cast<uint32_t>(Device::TtyS0), 1, 0)) return code;
        record(Op::Termios, static_cast<uint32_t>(Device::TtyS0), 1, static_cast<uint32_t>(action), 0);
        return 0;
    }
    static TcsetFn fn = next_symbol<TcsetFn>("tcsetattr");
    return fn(fd, action, t);
}

static FILE *fopen_mapped(const char *path, const char *mode, const char *real_name)
{
    std::string mapped = mapped_path(path);
    if (!mapped.empty()) {
        {
            Lock lock;
            int32_t code = 0;
            if (take_fault(Op::FileOpen, 0, &code)) {
                record(Op::FileOpen, 0, 0, 0, code, path).flags |= kFlagInjected;
                errno = code > 0 ? code : EACCES;
                return nullptr;
            }
        }
        static FopenFn fn = next_symbol<FopenFn>("fopen");
        FILE *f = fn(mapped.c_str(), mode);
        Lock lock;
        record(Op::FileOpen, 0, 0, 0, f ? 0 : -1, path);
        return f;
    }
    FopenFn fn = next_symbol<FopenFn>(real_name);
    return fn(path, mode);
}

__attribute__((visibility("default"))) FILE *fopen(const char *path, const char *mode)
{
    return fopen_mapped(path, mode, "fopen");
}

__attribute__((visibility("default"))) FILE *fopen64(const char *path, const char *mode)
{
    return fopen_mapped(path, mode, "fopen64");
}

}  // extern "C"
