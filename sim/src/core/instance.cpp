// Instances: an enclosure's shared mapping built from a profile in a directory of its own,
// processes attached to one board of it, and the persistent instances tools keep per profile.
//
// Nothing is removed that the simulator did not make: an instance directory carries a marker
// file, and removal refuses a directory without it. A new instance is built completely (state
// file, semaphore set) before it replaces an old one, and a failure leaves nothing behind.
#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>

#include "core/core.h"

namespace bspsim::detail {
namespace {

constexpr const char *kMarker = ".bspsim-instance";
constexpr size_t kSemsPerBoard = 64;

std::mutex g_attach_mutex;
std::atomic<uint8_t *> g_map{nullptr};
size_t g_size = 0;
uint32_t g_board = 0;
std::string g_dir;
// A mapping being built by this thread, before any process can see it.
thread_local uint8_t *t_building = nullptr;
thread_local int t_working_board = -1;

std::string state_file(const std::string &dir) { return dir + "/state"; }
std::string errno_text() { return std::strerror(errno); }

constexpr size_t round_up(size_t n) { return (n + 63) & ~size_t{63}; }

// Enclosure regions first, then one block of board regions per board, the last board first.
struct Layout {
    size_t offset[kModelCount] = {};
    size_t boards_at = 0;
    size_t board_size = 0;
    Layout()
    {
        size_t at = round_up(sizeof(Header));
        for (size_t pass = 0; pass < 2; ++pass) {
            if (pass == 1) boards_at = at;
            for (size_t i = 0; i < kModelCount; ++i) {
                const Model &m = model(static_cast<ModelId>(i));
                if ((m.scope == Scope::Board) != (pass == 1)) continue;
                offset[i] = at - (pass == 1 ? boards_at : 0);
                at += round_up(m.size);
            }
        }
        board_size = at - boards_at;
    }
    size_t size(uint32_t boards) const { return boards_at + board_size * boards; }
};

const Layout &layout()
{
    static const Layout l;
    return l;
}

[[noreturn]] void die(const std::string &what)
{
    std::fprintf(stderr, "bspsim: %s\n", what.c_str());
    std::abort();
}

enum class Found { Missing, Damaged, Usable };

// Maps the state file of `dir` when it is this build's layout. For a damaged file of this
// simulator, *semid is the semaphore set it names (-1 when that cannot be read).
Found map_state(const std::string &dir, uint8_t **map, size_t *size, int *semid)
{
    *semid = -1;
    int fd = real_open(state_file(dir).c_str(), O_RDWR | O_CLOEXEC, 0);
    if (fd < 0) return Found::Missing;
    struct stat st {};
    if (fstat(fd, &st) != 0 || static_cast<size_t>(st.st_size) < sizeof(Header)) {
        close(fd);
        return Found::Damaged;
    }
    auto n = static_cast<size_t>(st.st_size);
    void *p = mmap(nullptr, n, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (p == MAP_FAILED) return Found::Damaged;
    const auto &h = *static_cast<const Header *>(p);
    bool ok = h.magic == kMagic && h.version == kLayoutVersion && h.boards >= 1 && h.boards <= kMaxBoards &&
              h.size == n && n == layout().size(h.boards);
    for (size_t i = 0; ok && i < kModelCount; ++i) ok = h.region_size[i] == model(static_cast<ModelId>(i)).size;
    if (ok) {
        // A lock that garbage overwrote answers neither "taken" nor "free".
        auto *lock = &reinterpret_cast<CoreState *>(static_cast<uint8_t *>(p) + region_offset(ModelId::core, 0))->lock;
        int rc = pthread_mutex_trylock(lock);
        if (rc == EOWNERDEAD) pthread_mutex_consistent(lock);
        if (rc == 0 || rc == EOWNERDEAD) pthread_mutex_unlock(lock);
        ok = rc == 0 || rc == EOWNERDEAD || rc == EBUSY;
    }
    if (!ok) {
        if (h.magic == kMagic) *semid = h.semid;
        munmap(p, n);
        return Found::Damaged;
    }
    *map = static_cast<uint8_t *>(p);
    *size = n;
    return Found::Usable;
}

union SemArg {
    int val;
    semid_ds *buf;
    unsigned short *array;
};

// Removes a semaphore set only when it looks like one of ours: this user's, of our size.
void remove_semaphores(int semid)
{
    semid_ds ds{};
    SemArg arg{};
    arg.buf = &ds;
    if (semid < 0 || semctl(semid, 0, IPC_STAT, arg) != 0) return;
    if (ds.sem_perm.cuid != geteuid() || ds.sem_nsems % kSemsPerBoard != 0) return;
    semctl(semid, 0, IPC_RMID);
}

// A set keyed by the creating process, so a test can find the sets one process made.
int make_semaphores(uint32_t boards)
{
    auto n = static_cast<int>(kSemsPerBoard * boards);
    int id = -1;
    for (uint32_t i = 0; i < 4 && id < 0; ++i) {
        auto key = static_cast<key_t>(kSemKeyTag << 24 | (static_cast<uint32_t>(getpid()) & 0x3FFFFF) << 2 | i);
        id = semget(key, n, IPC_CREAT | IPC_EXCL | 0600);
        if (id < 0 && errno != EEXIST) break;
    }
    if (id < 0) id = semget(IPC_PRIVATE, n, IPC_CREAT | 0600);
    if (id < 0) throw Error("cannot create the board's semaphores: " + errno_text());
    std::vector<unsigned short> ones(static_cast<size_t>(n), 1);
    SemArg arg{};
    arg.array = ones.data();
    semctl(id, 0, SETALL, arg);
    return id;
}

void make_dirs(const std::string &path, const char *env)
{
    if (g_mkdir_with_parents(path.c_str(), 0755) != 0 || !g_file_test(path.c_str(), G_FILE_TEST_IS_DIR)) {
        std::string what = errno == EEXIST || errno == ENOTDIR ? "not a directory" : errno_text();
        throw Error(std::string(env ? env : "cannot create") + " " + path + ": " + what);
    }
    if (access(path.c_str(), W_OK) != 0) throw Error(std::string(env ? env : "directory") + " " + path + ": not writable");
}

// Builds an instance of `profile` in `dir`, a directory this simulator just made. The state is
// written under a temporary name and installed last; the semaphores are made once the profile
// has loaded.
int build_instance(const std::string &dir, const std::string &profile)
{
    std::string path = resolve_profile(profile);
    make_dirs(dir + "/var/log/zelm", nullptr);
    std::string tmp = state_file(dir) + ".new";
    int fd = real_open(tmp.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) throw Error("cannot create " + tmp + ": " + errno_text());
    const uint32_t boards = profile_boards(path);
    size_t size = layout().size(boards);
    void *p = ftruncate(fd, static_cast<off_t>(size)) == 0
                  ? mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
                  : MAP_FAILED;
    close(fd);
    int semid = -1;
    try {
        if (p == MAP_FAILED) throw Error("cannot size " + tmp + ": " + errno_text());
        t_building = static_cast<uint8_t *>(p);
        auto &h = *static_cast<Header *>(p);
        h.boards = boards;
        h.size = size;
        for (size_t i = 0; i < kModelCount; ++i) h.region_size[i] = model(static_cast<ModelId>(i)).size;
        CoreState &c = core();
        pthread_mutexattr_t attr;
        pthread_mutexattr_init(&attr);
        pthread_mutexattr_setpshared(&attr, PTHREAD_PROCESS_SHARED);
        pthread_mutexattr_setrobust(&attr, PTHREAD_MUTEX_ROBUST);
        pthread_mutex_init(&c.lock, &attr);
        pthread_mutexattr_destroy(&attr);
        set_text(c.profile, path);
        load_enclosure(path);
        semid = make_semaphores(boards);
        h.semid = semid;
        h.version = kLayoutVersion;
        h.magic = kMagic;
        msync(p, size, MS_SYNC);
        if (rename(tmp.c_str(), state_file(dir).c_str()) != 0) throw Error("cannot install " + state_file(dir) + ": " + errno_text());
    } catch (...) {
        t_building = nullptr;
        if (p != MAP_FAILED) munmap(p, size);
        if (semid >= 0) semctl(semid, 0, IPC_RMID);
        unlink(tmp.c_str());
        throw;
    }
    t_building = nullptr;
    munmap(p, size);
    return semid;
}

// The marker also names the semaphore set, so that a state file damaged beyond reading does not
// strand it.
int marker_semid(const std::string &dir)
{
    g_autofree gchar *text = nullptr;
    if (!g_file_get_contents((dir + "/" + kMarker).c_str(), &text, nullptr, nullptr)) return -1;
    const char *at = std::strstr(text, "semaphores ");
    return at ? std::atoi(at + std::strlen("semaphores ")) : -1;
}

// A directory is the simulator's when it carries the marker, or (made before the marker) a
// state file of this simulator.
bool ours(const std::string &dir)
{
    if (g_file_test((dir + "/" + kMarker).c_str(), G_FILE_TEST_IS_REGULAR)) return true;
    uint32_t magic = 0;
    int fd = real_open(state_file(dir).c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0) return false;
    bool read_ok = read(fd, &magic, sizeof magic) == static_cast<ssize_t>(sizeof magic);
    close(fd);
    return read_ok && magic == kMagic;
}

// A fresh directory PREFIX-XXXXXX holding a new instance of `profile`.
std::string new_instance_dir(const std::string &prefix, const std::string &profile)
{
    std::string templ = prefix + "-XXXXXX";
    if (!mkdtemp(templ.data())) throw Error("cannot create " + templ + ": " + errno_text());
    try {
        int semid = build_instance(templ, profile);
        std::string marker = "made by the board simulator; semaphores " + std::to_string(semid) + "\n";
        g_file_set_contents((templ + "/" + kMarker).c_str(), marker.c_str(), -1, nullptr);
    } catch (...) {
        std::filesystem::remove_all(templ);
        throw;
    }
    return templ;
}

std::string home_dir(const char **env)
{
    *env = "BSPSIM_HOME";
    if (const char *h = std::getenv("BSPSIM_HOME"); h && *h) return h;
    *env = "XDG_STATE_HOME";
    if (const char *x = std::getenv("XDG_STATE_HOME"); x && *x) return std::string(x) + "/bspsim";
    *env = "HOME";
    if (const char *home = std::getenv("HOME"); home && *home) return std::string(home) + "/.local/state/bspsim";
    *env = nullptr;
    return "/tmp/bspsim-" + std::to_string(getuid());
}

// A persistent instance is named after its profile: a plain name, never a path.
void check_name(const std::string &profile)
{
    bool ok = !profile.empty() && profile[0] != '.' && profile.size() < 128;
    for (char c : profile) ok = ok && (g_ascii_isalnum(c) || c == '_' || c == '-' || c == '.');
    if (!ok) throw Error("profile name '" + profile + "': a persistent board takes a profile name like 'smm', not a path");
}

// Serialises the persistent instances of one home between processes started at once.
class HomeLock {
public:
    explicit HomeLock(const std::string &home) : fd_(real_open((home + "/.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644))
    {
        if (fd_ < 0) throw Error("cannot lock " + home + "/.lock: " + errno_text());
        flock(fd_, LOCK_EX);
    }
    ~HomeLock() { close(fd_); }
    HomeLock(const HomeLock &) = delete;
    HomeLock &operator=(const HomeLock &) = delete;

private:
    int fd_;
};

// Replaces (or makes) the persistent instance in `dir` with a new one of `profile`.
void replace_instance(const std::string &dir, const std::string &profile)
{
    if (g_file_test(dir.c_str(), G_FILE_TEST_EXISTS) && !ours(dir)) {
        throw Error(dir + " is not a simulated board; leaving it alone");
    }
    std::string fresh = new_instance_dir(dir + ".new", profile);
    if (g_file_test(dir.c_str(), G_FILE_TEST_EXISTS)) remove_instance(dir);
    if (rename(fresh.c_str(), dir.c_str()) != 0) {
        std::string why = errno_text();
        remove_instance(fresh);
        throw Error("cannot install " + dir + ": " + why);
    }
}

std::string persistent(const std::string &profile, bool reset)
{
    if (const char *env = std::getenv(kInstanceEnv); env && *env) {
        attach(env);
        if (reset) {
            Lock lock;
            reset_instance();
        }
        return env;
    }
    check_name(profile);
    const char *env = nullptr;
    std::string home = home_dir(&env);
    make_dirs(home, env);
    std::string dir = home + "/" + profile;
    HomeLock lock(home);
    uint8_t *map = nullptr;
    size_t size = 0;
    int semid = -1;
    Found found = map_state(dir, &map, &size, &semid);
    if (semid < 0) semid = marker_semid(dir);
    if (found == Found::Usable) munmap(map, size);
    if (reset || found != Found::Usable) {
        replace_instance(dir, profile);
        detach();
        if (found == Found::Damaged) remove_semaphores(semid);
        if (found == Found::Damaged && !reset) {
            std::fprintf(stderr, "bspsim: board state damaged, rebuilt from profile %s\n", profile.c_str());
        }
    }
    attach(dir);
    return dir;
}

}  // namespace

uint8_t *mapping()
{
    if (t_building) return t_building;
    if (uint8_t *m = g_map.load(std::memory_order_acquire)) return m;
    // A process that never attached: the instance its environment names, else the persistent
    // one. There is no caller to report a failure to.
    try {
        const char *env = std::getenv(kInstanceEnv);
        if (env && *env) {
            attach(env);
        } else {
            attach_persistent();
        }
    } catch (const std::exception &e) {
        die(e.what());
    }
    return g_map.load(std::memory_order_acquire);
}

uint32_t board_index()
{
    if (t_working_board >= 0) return static_cast<uint32_t>(t_working_board);
    return t_building ? 0 : g_board;
}

void set_working_board(int board) { t_working_board = board; }

size_t region_offset(ModelId id, uint32_t board)
{
    const Layout &l = layout();
    auto i = static_cast<size_t>(id);
    if (model(id).scope != Scope::Board) return l.offset[i];
    // The boards' blocks in reverse: board 0 ends the file whatever the enclosure's size, as it
    // does in a one-board enclosure.
    return l.boards_at + l.board_size * (header().boards - 1 - board) + l.offset[i];
}

const std::string &instance_dir()
{
    mapping();
    return g_dir;
}

void lock_instance()
{
    int rc = pthread_mutex_lock(&core().lock);
    if (rc == EOWNERDEAD) {
        pthread_mutex_consistent(&core().lock);
    } else if (rc != 0) {
        die("the board's lock is damaged (" + std::string(std::strerror(rc)) + "); run 'bspctl sim reset'");
    }
}

void unlock_instance() { pthread_mutex_unlock(&core().lock); }

Lock::Lock() { lock_instance(); }
Lock::~Lock() { unlock_instance(); }

void attach(const std::string &dir)
{
    std::lock_guard<std::mutex> guard(g_attach_mutex);
    if (g_map.load() && g_dir == dir) return;
    uint32_t board = 0;
    if (const char *b = std::getenv(kBoardEnv); b && *b) {
        char *end = nullptr;
        board = static_cast<uint32_t>(std::strtoul(b, &end, 10));
        if (*end != '\0' || *b == '-') throw Error(std::string(kBoardEnv) + " '" + b + "': not a board number");
    }
    uint8_t *map = nullptr;
    size_t size = 0;
    int semid = -1;
    switch (map_state(dir, &map, &size, &semid)) {
    case Found::Missing:
        throw Error(std::string(kInstanceEnv) + " " + dir + ": no simulated board there (" + errno_text() + ")");
    case Found::Damaged:
        throw Error(std::string(kInstanceEnv) + " " + dir + ": board state damaged or of another version; recreate it");
    case Found::Usable:
        break;
    }
    if (uint32_t boards = reinterpret_cast<Header *>(map)->boards; board >= boards) {
        munmap(map, size);
        throw Error(std::string(kBoardEnv) + " " + std::to_string(board) + ": the enclosure in " + dir + " has " +
                    std::to_string(boards) + " board(s)");
    }
    uint8_t *old = g_map.exchange(map, std::memory_order_acq_rel);
    if (old) munmap(old, g_size);
    g_size = size;
    g_board = board;
    g_dir = dir;
    use_host_tools();
}

void attach_board(uint32_t board)
{
    mapping();
    std::lock_guard<std::mutex> guard(g_attach_mutex);
    if (uint32_t boards = header().boards; board >= boards) {
        throw Error("board " + std::to_string(board) + ": the enclosure in " + g_dir + " has " + std::to_string(boards) +
                    " board(s)");
    }
    g_board = board;
}

void detach()
{
    std::lock_guard<std::mutex> guard(g_attach_mutex);
    uint8_t *old = g_map.exchange(nullptr, std::memory_order_acq_rel);
    if (old) munmap(old, g_size);
    g_dir.clear();
}

void remove_instance(const std::string &dir)
{
    if (!ours(dir)) throw Error(dir + " is not a simulated board; leaving it alone");
    remove_semaphores(marker_semid(dir));
    std::filesystem::remove_all(dir);
}

void out_of_range(const char *what, uint64_t value, uint64_t limit)
{
    char buf[160];
    std::snprintf(buf, sizeof buf, "%s 0x%llX out of range (0 to 0x%llX)", what, static_cast<unsigned long long>(value),
                  static_cast<unsigned long long>(limit - 1));
    throw std::out_of_range(buf);
}

}  // namespace bspsim::detail

namespace bspsim {

using namespace detail;

std::string attach_persistent(const std::string &profile) { return persistent(profile, false); }
std::string reset_persistent(const std::string &profile) { return persistent(profile, true); }

std::string default_profile()
{
    const char *p = std::getenv(kProfileEnv);
    return p && *p ? p : "default";
}

std::string attach_persistent() { return attach_persistent(default_profile()); }
size_t state_lock_offset() { return region_offset(ModelId::core, 0) + offsetof(CoreState, lock); }
std::string reset_persistent() { return reset_persistent(default_profile()); }

std::unique_ptr<Board> Board::create(const std::string &profile)
{
    if (profile.empty()) throw Error("empty profile name");
    const char *tmp = std::getenv("TMPDIR");
    std::string dir = new_instance_dir(std::string(tmp && *tmp ? tmp : "/tmp") + "/bspsim", profile);
    try {
        attach(dir);
    } catch (...) {
        remove_instance(dir);
        throw;
    }
    setenv(kInstanceEnv, dir.c_str(), 1);
    std::unique_ptr<Board> board(new Board(dir));
    board->mark_invariants();
    return board;
}

Board::~Board()
{
    // Only the process that created the board removes it; forked children just leave.
    detach();
    try {
        remove_instance(dir_);
    } catch (const Error &) {
        // Someone replaced the directory with one that is not a board: leave it.
    }
}

std::string Board::profile() const
{
    Lock lock;
    return std::string(text(core().profile));
}

void Board::reset()
{
    Lock lock;
    reset_instance();
}

}  // namespace bspsim
