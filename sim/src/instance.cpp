// Instances: creating a board's shared mapping from a profile, attaching processes to it, and
// the record, fault and script primitives that every simulated device shares.
#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "state.h"

namespace bspsim::detail {
namespace {

std::mutex g_attach_mutex;
std::atomic<State *> g_state{nullptr};
std::string g_dir;

[[noreturn]] void die(const std::string &what)
{
    std::fprintf(stderr, "bspsim: %s\n", what.c_str());
    std::abort();
}

std::string state_file(const std::string &dir) { return dir + "/state"; }

void make_dirs(const std::string &path)
{
    if (g_mkdir_with_parents(path.c_str(), 0755) != 0) {
        die("cannot create " + path + ": " + std::strerror(errno));
    }
}

State *map_state(const std::string &dir, bool must_exist)
{
    int fd = real_open(state_file(dir).c_str(), O_RDWR | O_CLOEXEC, 0);
    if (fd < 0) {
        if (!must_exist) return nullptr;
        die("no simulated board in " + dir + " (" + std::strerror(errno) + ")");
    }
    struct stat st {};
    if (fstat(fd, &st) != 0 || static_cast<size_t>(st.st_size) != sizeof(State)) {
        close(fd);
        return nullptr;
    }
    void *p = mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (p == MAP_FAILED) die("cannot map " + state_file(dir));
    auto *s = static_cast<State *>(p);
    if (s->magic != kMagic || s->version != kLayoutVersion) {
        munmap(p, sizeof(State));
        return nullptr;
    }
    return s;
}

std::string default_home()
{
    if (const char *h = std::getenv("BSPSIM_HOME"); h && *h) return h;
    if (const char *x = std::getenv("XDG_STATE_HOME"); x && *x) return std::string(x) + "/bspsim";
    if (const char *home = std::getenv("HOME"); home && *home) return std::string(home) + "/.local/state/bspsim";
    return "/tmp/bspsim-" + std::to_string(getuid());
}

std::string persistent_dir(const std::string &profile)
{
    std::string name = profile;
    for (char &c : name) {
        if (c == '/' || c == '.') c = '_';
    }
    return default_home() + "/" + name;
}

// Serialises creation of a persistent instance between processes started at once.
class DirLock {
public:
    explicit DirLock(const std::string &home)
    {
        make_dirs(home);
        fd_ = real_open((home + "/.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd_ >= 0) flock(fd_, LOCK_EX);
    }
    ~DirLock()
    {
        if (fd_ >= 0) {
            flock(fd_, LOCK_UN);
            close(fd_);
        }
    }

private:
    int fd_ = -1;
};

void remove_tree(const std::string &dir)
{
    GDir *d = g_dir_open(dir.c_str(), 0, nullptr);
    if (d) {
        while (const char *n = g_dir_read_name(d)) {
            std::string p = dir + "/" + n;
            if (g_file_test(p.c_str(), G_FILE_TEST_IS_DIR) && !g_file_test(p.c_str(), G_FILE_TEST_IS_SYMLINK)) {
                remove_tree(p);
            } else {
                unlink(p.c_str());
            }
        }
        g_dir_close(d);
    }
    rmdir(dir.c_str());
}

}  // namespace

Lock::Lock()
{
    int rc = pthread_mutex_lock(&state().lock);
    if (rc == EOWNERDEAD) pthread_mutex_consistent(&state().lock);
}

Lock::~Lock() { pthread_mutex_unlock(&state().lock); }

const std::string &instance_dir()
{
    state();
    return g_dir;
}

State &state()
{
    State *s = g_state.load(std::memory_order_acquire);
    if (s) return *s;
    const char *env = std::getenv(kInstanceEnv);
    if (env && *env) {
        attach(env);
    } else {
        const char *profile = std::getenv("BSPSIM_PROFILE");
        attach_persistent(profile && *profile ? profile : "default");
    }
    return *g_state.load(std::memory_order_acquire);
}

void attach(const std::string &dir)
{
    std::lock_guard<std::mutex> guard(g_attach_mutex);
    if (g_state.load() && g_dir == dir) return;
    State *s = map_state(dir, true);
    if (!s) die("the simulated board in " + dir + " has another layout; recreate it");
    State *old = g_state.exchange(s, std::memory_order_acq_rel);
    if (old) munmap(old, sizeof(State));
    g_dir = dir;
}

void detach()
{
    std::lock_guard<std::mutex> guard(g_attach_mutex);
    State *old = g_state.exchange(nullptr, std::memory_order_acq_rel);
    if (old) munmap(old, sizeof(State));
    g_dir.clear();
}

void create_instance(const std::string &dir, const std::string &profile)
{
    std::string path = resolve_profile(profile);
    make_dirs(dir);
    make_dirs(dir + "/var/log/zelm");
    std::string tmp = state_file(dir) + ".new";
    int fd = real_open(tmp.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) die("cannot create " + tmp);
    if (ftruncate(fd, sizeof(State)) != 0) die("cannot size " + tmp);
    void *p = mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (p == MAP_FAILED) die("cannot map " + tmp);
    auto *s = static_cast<State *>(p);

    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_setpshared(&attr, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attr, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(&s->lock, &attr);
    pthread_mutexattr_destroy(&attr);

    s->semid = semget(IPC_PRIVATE, kSems, IPC_CREAT | 0600);
    if (s->semid < 0) die(std::string("semget: ") + std::strerror(errno));
    unsigned short ones[kSems];
    for (auto &v : ones) v = 1;
    union {
        int val;
        struct semid_ds *buf;
        unsigned short *array;
    } arg{};
    arg.array = ones;
    semctl(s->semid, 0, SETALL, arg);

    g_strlcpy(s->profile, path.c_str(), sizeof s->profile);
    load_profile(*s, path);
    s->version = kLayoutVersion;
    s->magic = kMagic;
    msync(p, sizeof(State), MS_SYNC);
    munmap(p, sizeof(State));
    if (rename(tmp.c_str(), state_file(dir).c_str()) != 0) die("cannot install " + state_file(dir));
}

void destroy_instance(const std::string &dir)
{
    if (State *s = map_state(dir, false)) {
        semctl(s->semid, 0, IPC_RMID);
        munmap(s, sizeof(State));
    }
    remove_tree(dir);
}

EventRec &record(Op op, uint32_t a, uint32_t b, uint32_t value, int32_t result, const char *name)
{
    State &s = state();
    uint64_t seq = s.event_count++;
    EventRec &e = s.events[seq % kMaxEvents];
    e.seq = seq;
    e.op = static_cast<uint32_t>(op);
    e.pid = static_cast<int32_t>(getpid());
    e.a = a;
    e.b = b;
    e.value = value;
    e.result = result;
    e.flags = 0;
    e.len = 1;
    e.time_ms = s.clock_ms;
    e.name[0] = '\0';
    if (name) g_strlcpy(e.name, name, sizeof e.name);
    return e;
}

bool take_fault(Op op, uint32_t key, int32_t *code)
{
    State &s = state();
    for (auto &f : s.faults) {
        if (f.op != static_cast<uint32_t>(op) || f.count == 0) continue;
        if (f.key != kAnyKey && f.key != key) continue;
        if (f.skip > 0) {
            --f.skip;
            continue;
        }
        --f.count;
        *code = f.code;
        if (f.count == 0) f.op = 0;
        return true;
    }
    return false;
}

bool take_script(Source source, uint32_t key, uint32_t *value)
{
    State &s = state();
    for (auto &sc : s.scripts) {
        if (!sc.used || sc.source != static_cast<uint32_t>(source) || sc.key != key) continue;
        if (sc.pos >= sc.len) continue;
        *value = sc.values[sc.pos++];
        if (sc.pos >= sc.len) sc.used = 0;
        return true;
    }
    return false;
}

bool fire_fault(Op op, uint32_t key, int32_t *code, uint32_t a, uint32_t b, uint32_t value, const char *name)
{
    if (!take_fault(op, key, code)) return false;
    record(op, a, b, value, *code, name).flags |= kFlagInjected;
    return true;
}

bool injected(Op op, uint32_t key, int32_t *code, uint32_t a, uint32_t b, const char *name)
{
    Lock lock;
    return fire_fault(op, key, code, a, b, 0, name);
}

namespace {
std::atomic<bool> g_echo{false};
}

void capture_log(LogLine::Kind kind, int32_t level, const char *file, int32_t line, const char *text)
{
    if (g_echo.load(std::memory_order_relaxed) || std::getenv("BSPSIM_LOG_ECHO")) {
        if (kind == LogLine::Debug) {
            std::fprintf(stderr, "[debug %d] %s:%d: %s\n", level, file ? file : "?", line, text);
        } else {
            std::fprintf(stderr, "[oplog %d] %s\n", level, text);
        }
    }
    Lock lock;
    State &s = state();
    uint64_t seq = s.log_count++;
    LogRec &r = s.logs[seq % kMaxLogs];
    r.kind = kind;
    r.level = level;
    r.line = line;
    g_strlcpy(r.file, file ? file : "", sizeof r.file);
    g_strlcpy(r.text, text ? text : "", sizeof r.text);
}

}  // namespace bspsim::detail

namespace bspsim {

using namespace detail;

void set_log_echo(bool on) { detail::g_echo.store(on); }

std::string attach_persistent(const std::string &profile)
{
    if (const char *env = std::getenv(kInstanceEnv); env && *env) {
        attach(env);
        return env;
    }
    std::string dir = persistent_dir(profile);
    {
        DirLock lock(default_home());
        if (State *s = map_state(dir, false)) {
            munmap(s, sizeof(State));
        } else {
            destroy_instance(dir);
            create_instance(dir, profile);
        }
    }
    attach(dir);
    return dir;
}

std::string reset_persistent(const std::string &profile)
{
    if (const char *env = std::getenv(kInstanceEnv); env && *env) {
        attach(env);
        Lock lock;
        reset_state(state());
        return env;
    }
    std::string dir = persistent_dir(profile);
    DirLock lock(default_home());
    detach();
    destroy_instance(dir);
    create_instance(dir, profile);
    return dir;
}

}  // namespace bspsim
