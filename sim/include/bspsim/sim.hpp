// C++ test API of the board simulator.
//
// A Board is one simulated board: its state lives in a file-backed shared mapping inside the
// board's own directory, so every process attached to it (through BSPSIM_INSTANCE) sees one
// CPLD, one RAM, one set of pins, one clock and one record of what happened.
#ifndef BSPSIM_SIM_HPP
#define BSPSIM_SIM_HPP

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace bspsim {

// Environment variable that attaches a process to an instance directory.
inline constexpr const char *kInstanceEnv = "BSPSIM_INSTANCE";
// Which board of the instance's enclosure a process is (0 when unset).
inline constexpr const char *kBoardEnv = "BSPSIM_BOARD";
// The profile a tool uses when none is named on its command line.
inline constexpr const char *kProfileEnv = "BSPSIM_PROFILE";

// Each instance's semaphore set is keyed (kSemKeyTag << 24) | (creator's pid & 0x3FFFFF) << 2 | n,
// so the sets one process made can be found in /proc/sysvipc/sem.
inline constexpr uint32_t kSemKeyTag = 0x42;

// What the simulator throws when an instance cannot be created or attached, or a test asks for
// something the board does not have: one line naming the path or value and why.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Every platform operation the simulator records or can be told to fail, with its name in the
// record (one list, so an operation cannot lack a name).
#define BSPSIM_OPS(X)                                                                         \
    X(None, "none")                                                                           \
    X(LocalBusRead, "local_bus_read")   /* a = register, b = mask, len = bytes, value = first byte read */ \
    X(LocalBusWrite, "local_bus_write") /* a = register, b = mask, value = byte written */   \
    X(SpiRead, "spi_read")              /* a = register, value = byte read */                 \
    X(SpiWrite, "spi_write")            /* a = register, value = byte written */              \
    X(GpioInit, "gpio_init")            /* a = pin, b = direction */                          \
    X(GpioRead, "gpio_read")            /* a = pin, value = level */                          \
    X(GpioWrite, "gpio_write")          /* a = pin, value = level */                          \
    X(DevOpen, "dev_open")              /* a = device (Device), name = path */                \
    X(DevIoctl, "dev_ioctl")            /* a = device, b = request, value = word answered */  \
    X(DevClose, "dev_close")            /* a = device */                                      \
    X(SemP, "sem_p")                    /* a = semaphore id, b = wait in seconds */           \
    X(SemV, "sem_v")                    /* a = semaphore id */                                \
    X(Delay, "delay")                   /* a = milliseconds */                                \
    X(FileOpen, "file_open")            /* name = the fixed path asked for (log files) */     \
    X(FileAccessible, "file_access")    /* name = path, value = answer */                     \
    X(CpldGetId, "cpld_get_id")         /* a = CPLD index */                                  \
    X(CpldSetNum, "cpld_set_num")       /* a = count */                                       \
    X(MemcpyS, "memcpy_s")                                                                    \
    X(MemmoveS, "memmove_s")                                                                  \
    X(MemsetS, "memset_s")                                                                    \
    X(StrcpyS, "strcpy_s")                                                                    \
    X(StrncpyS, "strncpy_s")                                                                  \
    X(StrncatS, "strncat_s")                                                                  \
    X(SprintfS, "sprintf_s")                                                                  \
    X(SnprintfS, "snprintf_s")                                                                \
    X(TaskMutexCreate, "task_mutex")                                                          \
    X(Termios, "termios")  /* a = device, b = 0 get / 1 set, value = flow-control flags after */ \
    /* The object framework: a = object handle (low 32 bits), name = "object.property". */    \
    X(DflGetHandle, "dfl_get_handle")   /* name = object name */                              \
    X(DflGetName, "dfl_get_name")                                                             \
    X(DflGetList, "dfl_get_list")       /* name = class */                                    \
    X(DflGetRef, "dfl_get_ref")                                                               \
    X(DflGetProp, "dfl_get_prop")                                                             \
    X(DflSetProp, "dfl_set_prop")       /* b = option */                                      \
    X(DflGetHw, "dfl_get_hw")           /* b = option */                                      \
    X(DflGetAccessor, "dfl_get_accessor")                                                     \
    X(DflCallMethod, "dfl_call_method") /* name = "object.method", b = inputs, value = outputs */ \
    X(DflBlockRead, "dfl_block_read")   /* b = offset, len = length, value = first byte moved */ \
    X(DflBlockWrite, "dfl_block_write") /* b = offset, len = length, value = first byte moved */ \
    X(DflChipByteWrite, "dfl_chip_bytewrite") /* name = chip, a = offset, b = mask, value = byte */ \
    X(DflReboot, "dfl_reboot")                                                                \
    X(DalGetString, "dal_get_string")                                                         \
    X(GetUbootNum, "get_cur_uboot_num") /* value = boot-loader copy number answered */        \
    X(GetUbootVer, "get_uboot_ver")     /* a = boot-loader copy, name = version answered */   \
    X(GetSdkVer, "get_sdk_ver")         /* a = first length, b = second length, name = first version */ \
    X(Change, "change")                 /* name = what a device model's unit did ("led frame-locate on") */ \
    X(BoardPower, "board_power")        /* name = what moved the board's power, b = pulse width in ms */ \
    X(SecMsg, "sec_msg_sendrecv")       /* a = command word, b = bytes sent, value = response code, len = bytes answered */ \
    /* Files, keys and the host's commands. */                                                \
    X(FmGetFilePath, "fm_get_file_path") /* a = third identifier, name = "A/B" */              \
    X(Popen, "popen")                   /* name = the command (its start), result = -errno of a failed start */ \
    X(PerExit, "per_exit")              /* a = request, b = first argument, value = second argument */

enum class Op : uint32_t {
#define BSPSIM_OP_ENUM(id, name) id,
    BSPSIM_OPS(BSPSIM_OP_ENUM)
#undef BSPSIM_OP_ENUM
    Count
};

const char *op_name(Op op);

enum class Device : uint32_t { SysInfo = 0, TtyS0 = 1 };

// Event flags.
inline constexpr uint32_t kFlagBlocked = 1u << 0;     // a write that write protection (or a read-only register) stopped
inline constexpr uint32_t kFlagInjected = 1u << 1;    // the result came from fault injection
inline constexpr uint32_t kFlagUnbalanced = 1u << 2;  // a semaphore given that was not taken
inline constexpr uint32_t kFlagMalformed = 1u << 3;   // a request the device refused as malformed

struct Event {
    uint64_t seq = 0;
    Op op = Op::None;
    int32_t pid = 0;
    uint32_t a = 0;
    uint32_t b = 0;
    uint32_t value = 0;
    int32_t result = 0;
    uint32_t flags = 0;
    uint32_t len = 1;   // bytes moved by a bus transfer
    uint64_t time_ms = 0;
    std::string name;
};

struct LogLine {
    enum Kind : uint32_t { Debug = 0, Operation = 1 };
    Kind kind = Debug;
    int32_t level = 0;
    std::string file;  // source file named by the caller (debug log only)
    int32_t line = 0;
    std::string text;  // formatted message (the whole line for the operation log)
};

// What scripted values stand in for.
enum class Source : uint32_t { Register = 0, Pin = 1, SysInfo = 2 };

inline constexpr uint32_t kAnyKey = 0xFFFFFFFFu;

// Codes the simulated object framework refuses a call with.
inline constexpr int32_t kDflNoObject = -2;      // no such object (or handle)
inline constexpr int32_t kDflNoProperty = -3;    // the object has no such property (or block)
inline constexpr int32_t kDflBadValue = -4;      // a null or unstorable value
inline constexpr int32_t kDflTypeMismatch = -5;  // a value of another type than the property's
inline constexpr int32_t kDflNoMethod = -6;      // neither the object nor its class has the method
inline constexpr int32_t kDflOutOfRange = -7;    // a block transfer beyond the end of the block

// One call of a class method, as the framework saw it.
struct MethodCall {
    std::string object;
    std::string method;
    std::vector<std::string> inputs;  // each input in GVariant text, with type annotations
    int32_t result = 0;
};

class Board {
public:
    // Creates a fresh instance from a profile (name under the profile directory, or a path)
    // in a new temporary directory, points BSPSIM_INSTANCE at it (children inherit it) and
    // attaches this process. The destructor removes the instance. Throws Error when the
    // profile cannot be loaded or the directory cannot be made; nothing is left behind then.
    static std::unique_ptr<Board> create(const std::string &profile = "default");
    ~Board();
    Board(const Board &) = delete;
    Board &operator=(const Board &) = delete;

    const std::string &dir() const { return dir_; }
    std::string profile() const;

    // Reloads the profile: registers, RAM, pins, answers; clears faults, scripts and records.
    void reset();

    // /dev/sys_info answers.
    void set_sysinfo(uint32_t request, uint32_t word);
    uint32_t sysinfo(uint32_t request) const;
    void set_board_id(uint8_t id);  // board-information word = id << 4

    // GPIO pins.
    void set_pin(uint32_t pin, uint8_t level);
    uint8_t pin(uint32_t pin) const;
    bool pin_initialised(uint32_t pin) const;
    uint32_t pin_direction(uint32_t pin) const;

    // CPLD register file and RAM, by the back door (nothing is recorded). Registers 0 to
    // 0x3FF. A RAM address is what the library puts on the window (0 to 0xFFFF); the RAM
    // decodes its low 13 bits, so the window shows the 8 KiB every 8 KiB. Anything else
    // throws std::out_of_range. Bits a device model renders (LEDs, the UART switch, the PCIe
    // cores, the SSD bits) read as that model's units and set them.
    uint8_t reg(uint32_t addr) const;
    void set_reg(uint32_t addr, uint8_t value);
    uint8_t ram(uint32_t addr) const;
    void set_ram(uint32_t addr, uint8_t value);
    // Names a register and gives it a kind, as a profile's [cpld.map] line does:
    // "ADDR [ro|w1c|selftest] [protect MASK GUARD GUARD_MASK OPEN] [reset VALUE]"; with
    // "protect-bits" instead of "protect", each bit n of MASK has bit n of the guard for its own.
    void map_register(const std::string &name, const std::string &definition);
    // Bits of `mask` in `reg` can only be written while (reg(guard) & guard_mask) == open_value.
    void protect(uint32_t reg, uint8_t mask, uint32_t guard, uint8_t guard_mask, uint8_t open_value);
    // The register answers the complement of the last value written to it.
    void make_self_test(uint32_t reg);

    // The platform's CPLD driver: the device ids it reports (at most 6; their number is the
    // CPLD count it reports) and the count last announced for an upgrade (0: none yet).
    void set_cpld_ids(const std::vector<uint32_t> &ids);
    std::vector<uint32_t> cpld_ids() const;
    uint32_t cpld_upgrade_num() const;

    // Boot-loader copies (the one that booted, and the version of copies 0 and 1) and the two
    // SDK version texts.
    void set_uboot(uint8_t current, const std::string &copy0, const std::string &copy1);
    void set_sdk(const std::string &first, const std::string &second);

    // Framework objects. Values are GVariant text with type annotations ("byte 0x05",
    // "uint16 7", "'text'", "@ay [0x01, 0x02]").
    uint64_t add_object(const std::string &name, const std::string &cls);
    uint64_t handle_of(const std::string &name) const;  // 0 when unknown
    void set_property(const std::string &object, const std::string &property, const std::string &gvariant_text);
    void set_hardware_value(const std::string &object, const std::string &property, const std::string &gvariant_text);
    void set_reference(const std::string &object, const std::string &property, const std::string &target);
    void set_accessor(const std::string &object, const std::string &property, const std::string &accessor);
    // Stored value as GVariant text ("" when the property does not exist).
    std::string property(const std::string &object, const std::string &property) const;
    // Hardware value as GVariant text ("" when the property has no hardware source).
    std::string hardware_value(const std::string &object, const std::string &property) const;

    // Class methods. An answer is the tuple of the outputs in GVariant text: "(byte 0x01,)",
    // "(uint32 0, byte 5)", "()" for none. An object's own method answers before its class's.
    void set_method(const std::string &object, const std::string &method, const std::string &outputs);
    void set_class_method(const std::string &cls, const std::string &method, const std::string &outputs);
    // The method answering for `object` gives these answers first, in order, then its standing
    // answer again. Scripting a class's method scripts it for every object of the class.
    void script_method(const std::string &object, const std::string &method, const std::vector<std::string> &outputs);
    // The most recent calls (up to 256), oldest first.
    std::vector<MethodCall> method_calls() const;

    // Block-access chips: a byte block behind a property, moved by dfl_block_read/write at an
    // offset. set_block creates the block or replaces its contents and size.
    void set_block(const std::string &object, const std::string &property, const std::vector<uint8_t> &bytes);
    std::vector<uint8_t> block(const std::string &object, const std::string &property) const;  // empty: none

    // Semaphores: current value of semaphore `id` (1 = free, 0 = held).
    int sem_value(uint32_t id) const;

    // Fault injection: the next `count` calls of `op` (for `key` only: register, pin, request,
    // semaphore, device) fail with `code`, after `skip` matching calls have passed.
    void fail(Op op, uint32_t count = 1, int32_t code = -1, uint32_t key = kAnyKey, uint32_t skip = 0);
    void clear_faults();
    // Scripted reads: the next reads of a register, pin or /dev/sys_info request answer these
    // values in order; afterwards the stored value answers again.
    void script(Source source, uint32_t key, const std::vector<uint32_t> &values);

    // Records.
    std::vector<Event> events() const;
    std::vector<Event> events(Op op) const;
    // The record as one compact line (see transcript() below), optionally only some operations.
    std::string transcript() const;
    std::string transcript(std::initializer_list<Op> only) const;
    void clear_events();
    std::vector<LogLine> logs() const;
    void clear_logs();
    // Milliseconds of virtual time since the board was created.
    uint64_t now_ms() const;
    // The place in the instance where a fixed platform path (the log files) really lives.
    std::string path_of(const std::string &fixed_path) const;

    // What every library call must leave as it found it. mark_invariants() notes this process's
    // open descriptors and live framework values (create() does so too); check_invariants()
    // lists, one line each, what is amiss since: a semaphore this process took and still holds,
    // a write protection or write enable left open compared with how the profile left it (the
    // register map's protected bits and the models' own), a descriptor opened and not closed
    // (the simulator's own files excepted), a framework value handed out and not released.
    // Empty: all kept.
    void mark_invariants();
    std::vector<std::string> check_invariants() const;

private:
    explicit Board(std::string dir) : dir_(std::move(dir)) {}
    std::string dir_;
};

// The record rendered compactly, one token per call, tokens separated by one blank:
//   rd 13=05  rd 56&01=1  rd 60[3]=00  wr ba=31  wr e9&01=1   local-bus read/write (hex)
//   srd 13=05  swr 13=05                                        SPI read/write
//   gi 12=out  gr 12=1  gw 12=0                                 GPIO init/read/write
//   open sys_info  ioctl 80047306=52  ioctl:tty 540b=0  close sys_info
//   P29  P29/2 (wait of 2 s)  V29  delay 10  cpldid 0=2  cpldnum 2  tcget tty  tcset tty ixon ixoff
//   (the serial port's software flow control after the call)
//   led frame-locate on  uart 2  pcie off       a unit of a device model changed (Op::Change)
//   m3 0102=0                                   a secure-core request: command word=response code
//   memset_s 98/98=0                            count/destination size=fill (see record_quiet)
//   other calls: the operation's name and the event's name ("dfl_get_prop cpld1.LBus")
// Suffixes: "!wp" a write that write protection or a read-only register blocked, "!bad" a
// malformed request, "!unbal" a give without a take, "!CODE" a failed call (injected or not).
std::string transcript_token(const Event &e);
std::string transcript(const std::vector<Event> &events);

// The bounded memory functions are not hardware and stay out of the record. A test that must
// see what one was asked to do (a buffer wiped) has this process record its calls of `op`
// (MemsetS: a = destination size, b = count, value = fill byte), or stop recording them.
void record_quiet(Op op, bool on = true);

// The simulated host's own commands (ifconfig of the internal network, see sim/bin) come first
// in PATH for every process attached to a board; this is the directory they are in.
std::string tools_dir();

// Process-level helpers for tools.
// Attaches this process to the persistent instance of `profile` (created when missing) unless
// BSPSIM_INSTANCE already names one; returns the instance directory.
// A damaged instance is rebuilt from its profile (and said so on stderr). Throws Error when the
// profile name is empty or path-like, the profile cannot be loaded, or BSPSIM_HOME,
// BSPSIM_INSTANCE or BSPSIM_PROFILE_DIR is unusable; the existing instance is then untouched.
std::string attach_persistent(const std::string &profile);
// Recreates the persistent instance of `profile` from the profile file (the old one goes only
// once the new one is built). Throws Error as attach_persistent does.
std::string reset_persistent(const std::string &profile);
// The profile a tool uses when none is named: BSPSIM_PROFILE, else "default"; and the two
// calls above on it.
std::string default_profile();
std::string attach_persistent();
std::string reset_persistent();
// Where the instance lock sits in a state file, for tests that damage it on purpose.
size_t state_lock_offset();
// Directory of the shipped profiles and the names found there.
std::string profile_dir();
std::vector<std::string> profile_names();
// The record of the attached instance, for tools that show what a command touched: take a
// mark before, then read what was recorded since (by every process attached to the board).
struct RecordMark {
    uint64_t events = 0;
    uint64_t logs = 0;
};
RecordMark record_mark();
std::vector<Event> events_since(const RecordMark &mark);
std::vector<LogLine> logs_since(const RecordMark &mark);
// Sends every captured log line to stderr as it happens (for `bspctl -v`).
void set_log_echo(bool on);
// Hands every log line this process captures to `observer` as it happens (nullptr: none).
// Lines of other processes attached to the board are not seen here.
void set_log_observer(void (*observer)(const LogLine &line));
// Hands every event recorded (by any process attached to the board) to `observer` as this
// process records it, with the instance lock held: the observer must not call the simulator.
// nullptr: none. Events other processes record are not seen here.
void set_record_observer(void (*observer)(const Event &event));
// Values the framework handed to this process (property values, method outputs) that are still
// alive: a caller that releases all it was given brings this back to where it was.
std::size_t live_values();

}  // namespace bspsim

#endif
