// The instance core: the layout of an enclosure's shared mapping, the instance lock, the record,
// faults and scripts, and the call object that every platform entry point runs. Internal.
#ifndef BSPSIM_CORE_CORE_H
#define BSPSIM_CORE_CORE_H

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "bspsim/sim.hpp"
#include "core/registry.h"

#define BSPSIM_API extern "C" __attribute__((visibility("default")))

namespace bspsim::detail {

inline constexpr uint32_t kMagic = 0x53505342u;  // "BSPS"
// Raised whenever a region's layout changes in a way its size does not show.
inline constexpr uint32_t kLayoutVersion = 8;
inline constexpr uint32_t kMaxBoards = 8;

inline constexpr size_t kNameLen = 64;
inline constexpr size_t kLogTextLen = 1280;
inline constexpr size_t kMaxEvents = size_t{1} << 16;
inline constexpr size_t kMaxLogs = 4096;
inline constexpr size_t kMaxFaults = 64;
inline constexpr size_t kMaxScripts = 64;
inline constexpr size_t kScriptLen = 128;
inline constexpr uint32_t kBoardInfoRequest = 0x80047306u;  // /dev/sys_info: board-information word

// A fixed-size text field, which a damaged file may have left unterminated.
template <size_t N>
std::string_view text(const char (&field)[N])
{
    return {field, strnlen(field, N)};
}
template <size_t N>
void set_text(char (&field)[N], std::string_view value)
{
    size_t n = value.size() < N ? value.size() : N - 1;
    std::memcpy(field, value.data(), n);
    field[n] = '\0';
}

// Start of the mapping: what says the file is this build's layout. The semaphore set's id sits
// right after the magic, where it can still be read from a file that is damaged further on.
struct Header {
    uint32_t magic;
    int32_t semid;
    uint32_t version;
    uint32_t boards;
    uint64_t size;  // bytes of the whole mapping
    uint64_t region_size[kModelCount];
};

struct EventRec {
    uint64_t seq;
    uint32_t op;
    int32_t pid;
    uint32_t a, b, value;
    int32_t result;
    uint32_t flags;
    uint32_t len;
    uint64_t time_ms;
    char name[kNameLen];
};

struct LogRec {
    uint32_t kind;
    int32_t level;
    int32_t line;
    char file[kNameLen];
    char text[kLogTextLen];
};

struct FaultRec {
    uint32_t op;  // 0: free slot
    uint32_t key;
    uint32_t skip;
    uint32_t count;
    int32_t code;
};

struct ScriptRec {
    uint32_t used;
    uint32_t source;
    uint32_t key;
    uint32_t len;
    uint32_t pos;
    uint32_t values[kScriptLen];
};

// The enclosure-wide core: one lock, one clock and one record for every board.
struct CoreState {
    pthread_mutex_t lock;  // process-shared, robust: a killed process never wedges the instance
    char profile[256];
    uint64_t clock_ms;
    uint64_t event_count;
    uint64_t log_count;
    FaultRec faults[kMaxFaults];
    ScriptRec scripts[kMaxScripts];
    EventRec events[kMaxEvents];
    LogRec logs[kMaxLogs];
};

// A directory installed with the simulator, `relative` to its library's; "" when none.
std::string installed_dir(const char *relative);

// The mapping this thread works on (the attached instance, attaching on first use, or one
// being built) and the board of it this process is.
uint8_t *mapping();
uint32_t board_index();
size_t region_offset(ModelId id, uint32_t board);
template <typename T>
T &region(ModelId id)
{
    return *reinterpret_cast<T *>(mapping() + region_offset(id, board_index()));
}
inline Header &header() { return *reinterpret_cast<Header *>(mapping()); }
inline CoreState &core() { return region<CoreState>(ModelId::core); }
const std::string &instance_dir();

// Holds the instance lock; recovers it when its previous holder died.
class Lock {
public:
    Lock();
    ~Lock();
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;
};
void lock_instance();
void unlock_instance();

// Lock held. Appends one event and returns it.
EventRec &record(Op op, uint32_t a = 0, uint32_t b = 0, uint32_t value = 0, int32_t result = 0,
                 std::string_view name = {});
// Lock held. Hands a complete event to this process's record observer, if any.
void observe_record(const EventRec &r);
// Lock held. Records a change of a device model's unit (Op::Change, "led frame-locate on"):
// right after the event of the platform call that made it, or at once outside a call.
void record_change(uint32_t a, uint32_t value, std::string_view text);
// Lock held. True (and *value set) when a script has a value for this read.
bool take_script(Source source, uint32_t key, uint32_t *value);
void capture_log(LogLine::Kind kind, int32_t level, const char *file, int32_t line, const char *text);

// What the record of a call shows; the call's steps fill it in.
struct Rec {
    uint32_t a = 0;
    uint32_t b = 0;
    uint32_t value = 0;
    uint32_t len = 1;
    uint32_t flags = 0;
    std::string name = {};
};

// One platform call, the same steps in the same order for every device: take the instance lock,
// apply an injected fault (recorded, flagged injected), validate the request (a malformed one is
// refused, recorded and flagged malformed), perform it, record it. A quiet call (the bounded
// memory functions, which are not hardware) records only an injected fault.
class Call {
public:
    Call(Op op, uint32_t key, Rec rec = {}, bool quiet = false);
    ~Call();
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;

    // `perform` returns the call's result and completes `rec`.
    template <typename Fn>
    int32_t run(bool valid, Fn &&perform, int32_t refusal = -1)
    {
        if (int32_t code = 0; fault(&code)) return code;
        if (!valid) return refuse(refusal);
        return done(perform());
    }
    bool fault(int32_t *code);
    int32_t refuse(int32_t code = -1);
    int32_t done(int32_t result);
    // For a perform that waits (a semaphore): other processes go on meanwhile.
    void unlock();
    void relock();

    Rec rec;
    EventRec *event = nullptr;  // once recorded
    bool injected = false;

private:
    friend void record_change(uint32_t a, uint32_t value, std::string_view text);
    struct Change {
        uint32_t a, value;
        std::string text;
    };
    Op op_;
    uint32_t key_;
    bool quiet_;
    bool locked_ = false;
    Call *outer_;
    std::vector<Change> changes_;
};

// Instances.
std::string resolve_profile(const std::string &profile);
// Zeroes the board regions, runs each model's reset and applies the profile (lock held or the
// mapping not yet shared). Throws Error for a bad profile.
void load_board(const std::string &profile_path);
// How many boards the profile's enclosure holds ([enclosure] boards, 1 when not said).
uint32_t profile_boards(const std::string &profile_path);
// load_board for every board of the enclosure, each as itself.
void load_enclosure(const std::string &profile_path);
// While >= 0, the board this thread works on instead of the attached one.
void set_working_board(int board);
// Back to the profile's contents: clears records, faults and scripts too (lock held).
void reset_instance();
void attach(const std::string &dir);
void detach();
void attach_board(uint32_t board);
void remove_instance(const std::string &dir);

// Where the platform's file manager keeps the file it names by `a`, `b` and `c` on a board
// whose directory is `dir`: DIR/fm/A/B.C.
std::string fm_path(const std::string &dir, const std::string &a, const std::string &b, uint32_t c);

// Puts the simulated host's commands first in this process's PATH (on attaching to a board).
void use_host_tools();

// Maps a fixed platform path onto the instance directory ("" when the path is not mapped).
std::string mapped_path(const char *path);
// The real C library open behind the interposed one.
int real_open(const char *path, int flags, unsigned mode);

// Loud refusal of a value the test API cannot take.
[[noreturn]] void out_of_range(const char *what, uint64_t value, uint64_t limit);
inline void check_range(const char *what, uint64_t value, uint64_t limit)
{
    if (value >= limit) out_of_range(what, value, limit);
}

}  // namespace bspsim::detail

#endif
