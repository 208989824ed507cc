// Layout of one simulated board in its shared mapping, and the primitives every simulated
// device uses: the lock, the record, faults and scripts. Internal to the simulator.
#ifndef BSPSIM_STATE_H
#define BSPSIM_STATE_H

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "bspsim/sim.hpp"

namespace bspsim::detail {

inline constexpr uint32_t kMagic = 0x53505342u;  // "BSPS"
// Raised whenever the layout changes; a persistent instance of another layout is recreated.
inline constexpr uint32_t kLayoutVersion = 4;

inline constexpr size_t kCpldRegs = 1024;
inline constexpr size_t kCpldRamSize = 8192;
inline constexpr size_t kPins = 256;
inline constexpr size_t kSems = 64;
inline constexpr size_t kSysInfoAnswers = 16;
inline constexpr size_t kMaxEvents = size_t{1} << 16;
inline constexpr size_t kMaxLogs = 4096;
inline constexpr size_t kMaxFaults = 64;
inline constexpr size_t kMaxScripts = 64;
inline constexpr size_t kScriptLen = 128;
inline constexpr size_t kMaxProtect = 64;
inline constexpr size_t kNameLen = 64;
inline constexpr size_t kLogTextLen = 1280;
inline constexpr size_t kMaxObjects = 256;
inline constexpr size_t kMaxProps = 2048;
inline constexpr size_t kValueTextLen = 512;

// CPLD registers with a RAM window behind them.
inline constexpr uint32_t kRamAddrLo = 0xBA;
inline constexpr uint32_t kRamAddrHi = 0xBB;
inline constexpr uint32_t kRamData = 0xBC;

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

struct SysInfoRec {
    uint32_t used;
    uint32_t request;
    uint32_t word;
};

struct PinRec {
    uint8_t level;
    uint8_t initialised;
    uint8_t direction;
    uint8_t reserved;
};

// Register kinds of the CPLD model.
enum RegKind : uint8_t { kRegPlain = 0, kRegSelfTest = 1 };

struct ProtectRec {
    uint32_t used;
    uint32_t reg;
    uint32_t guard;
    uint8_t mask;
    uint8_t guard_mask;
    uint8_t open_value;
    uint8_t reserved;
};

struct CpldState {
    uint8_t regs[kCpldRegs];
    uint8_t kind[kCpldRegs];
    uint8_t last_written[kCpldRegs];  // what a self-test register inverts
    uint8_t ram[kCpldRamSize];
    ProtectRec protect[kMaxProtect];
};

// The platform's CPLD driver: the device ids it reports (one per CPLD it knows) and the CPLD
// count an upgrade was last announced for.
inline constexpr size_t kMaxCpldIds = 6;
struct CpldDrvState {
    uint32_t count;
    uint32_t ids[kMaxCpldIds];
    uint32_t upgrade_num;  // 0 until cpld_set_num is called
};

// Boot-loader copies and SDK versions of the SoC.
inline constexpr size_t kUbootCopies = 2;
inline constexpr size_t kVersionTextLen = 64;
struct FirmwareState {
    uint32_t uboot_num;  // the copy that booted
    char uboot[kUbootCopies][kVersionTextLen];
    char sdk_first[kVersionTextLen];
    char sdk_second[kVersionTextLen];
};

// Objects of the management framework.
struct ObjectRec {
    uint32_t used;
    char name[kNameLen];
    char cls[kNameLen];
};

// What a property record holds.
enum PropKind : uint32_t {
    kPropValue = 0,     // stored value, GVariant text format with type annotations
    kPropHardware = 1,  // value read from the hardware source
    kPropReference = 2, // name of the referenced object
    kPropAccessor = 3,  // name of the accessor
};

struct PropRec {
    uint32_t used;
    uint32_t object;  // index into objects
    uint32_t kind;
    char name[kNameLen];
    char text[kValueTextLen];
};

// Class methods: the answer of a method of one object or of every object of a class, and the
// calls made, with their inputs. Answers and inputs are tuples in GVariant text format.
inline constexpr size_t kMaxMethods = 128;
inline constexpr size_t kMethodScriptLen = 8;
inline constexpr size_t kMaxMethodCalls = 256;
inline constexpr uint32_t kClassScope = 0xFFFFFFFFu;  // MethodRec::object of a class's method

struct MethodRec {
    uint32_t used;
    uint32_t object;  // index into objects, or kClassScope
    char cls[kNameLen];
    char name[kNameLen];
    uint32_t script_len;
    uint32_t script_pos;
    char answer[kValueTextLen];                    // the standing answer
    char script[kMethodScriptLen][kValueTextLen];  // answered first, in order
};

struct MethodCallRec {
    uint64_t seq;  // of the call's event
    int32_t result;
    char object[kNameLen];
    char method[kNameLen];
    char inputs[kValueTextLen];
};

// Block-access chips: byte blocks behind object properties, carved out of one pool.
inline constexpr size_t kMaxBlocks = 64;
inline constexpr size_t kBlockPoolSize = size_t{256} * 1024;

struct BlockRec {
    uint32_t used;
    uint32_t object;  // index into objects
    char name[kNameLen];
    uint32_t start;  // into the pool
    uint32_t size;
    uint32_t capacity;
};

struct DflState {
    MethodRec methods[kMaxMethods];
    uint64_t call_count;
    MethodCallRec calls[kMaxMethodCalls];
    BlockRec blocks[kMaxBlocks];
    uint32_t pool_used;
    uint8_t pool[kBlockPoolSize];
};

struct State {
    uint32_t magic;
    uint32_t version;
    pthread_mutex_t lock;  // process-shared, robust: a killed process never wedges the board
    int32_t semid;
    char profile[256];
    uint64_t clock_ms;
    uint64_t event_count;
    uint64_t log_count;
    SysInfoRec sysinfo[kSysInfoAnswers];
    PinRec pins[kPins];
    CpldState cpld;
    CpldDrvState cpld_drv;
    FirmwareState firmware;
    ObjectRec objects[kMaxObjects];
    PropRec props[kMaxProps];
    DflState dfl;
    FaultRec faults[kMaxFaults];
    ScriptRec scripts[kMaxScripts];
    EventRec events[kMaxEvents];
    LogRec logs[kMaxLogs];
};

// The state of the board this process is attached to (attaching on first use).
State &state();
const std::string &instance_dir();

// Holds the board's lock; recovers it when its previous holder died.
class Lock {
public:
    Lock();
    ~Lock();
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;
};

// Call with the lock held. Appends one event and returns it for the caller to complete.
EventRec &record(Op op, uint32_t a = 0, uint32_t b = 0, uint32_t value = 0, int32_t result = 0,
                 const char *name = nullptr);
// Call with the lock held. True (and *code set) when an armed fault fires for this call.
bool take_fault(Op op, uint32_t key, int32_t *code);
// Call with the lock held. When an armed fault fires for this call, records the failed call
// (flagged as injected) and returns true with *code set.
bool fire_fault(Op op, uint32_t key, int32_t *code, uint32_t a = 0, uint32_t b = 0, uint32_t value = 0,
                const char *name = nullptr);
// Call with the lock held. True (and *value set) when a script has a value for this read.
bool take_script(Source source, uint32_t key, uint32_t *value);
// Appends one captured log line.
void capture_log(LogLine::Kind kind, int32_t level, const char *file, int32_t line, const char *text);

// Convenience for a whole platform call: lock, fault check, record.
// Returns true when the call must fail with *code (already recorded).
bool injected(Op op, uint32_t key, int32_t *code, uint32_t a = 0, uint32_t b = 0, const char *name = nullptr);
// Call with the lock held. Records a request the device refuses as malformed; returns -1.
inline int32_t refuse(Op op, uint32_t a = 0, uint32_t b = 0)
{
    record(op, a, b, 0, -1).flags |= kFlagMalformed;
    return -1;
}

// Instance management.
void create_instance(const std::string &dir, const std::string &profile);
void load_profile(State &s, const std::string &profile);
// Back to the profile's contents: clears records, faults and scripts too (lock held).
void reset_state(State &s);
std::string resolve_profile(const std::string &profile);
void set_sysinfo_answer(State &s, uint32_t request, uint32_t word);
void destroy_instance(const std::string &dir);
void attach(const std::string &dir);
void detach();

// Framework objects (lock held). Handles are kHandleBase + index; 0 is never a handle.
inline constexpr uint64_t kHandleBase = 0x1000;
int find_object(const State &s, const char *name);
int add_object(State &s, const char *name, const char *cls);
PropRec *find_prop(State &s, uint32_t object, const char *name, PropKind kind);
bool set_prop(State &s, uint32_t object, const char *name, PropKind kind, const char *text);
// True when `text` is a tuple in GVariant text format: the outputs of a method's answer.
bool valid_outputs(const char *text);
// Sets the standing answer of a method of an object (or of class `cls` with kClassScope) and
// drops its script. False when the answer is no tuple or there is no room.
bool set_method(State &s, uint32_t object, const char *cls, const char *name, const char *outputs);
// The method that answers for an object: its own, else its class's (nullptr: none).
MethodRec *answering_method(State &s, uint32_t object, const char *name);
// Creates or replaces the byte block behind a property. False when the pool is full.
bool set_block(State &s, uint32_t object, const char *name, const uint8_t *bytes, size_t size);
BlockRec *find_block(State &s, uint32_t object, const char *name);

// Maps a fixed platform path onto the instance directory ("" when the path is not mapped).
std::string mapped_path(const char *path);

// The real C library functions behind the interposed ones.
int real_open(const char *path, int flags, unsigned mode);

// CPLD model (lock held).
uint8_t cpld_read(State &s, uint32_t addr);
// Returns false when write protection blocked some bit of the write.
bool cpld_write(State &s, uint32_t addr, uint8_t value, uint8_t mask);

}  // namespace bspsim::detail

#endif
