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
#include <string>
#include <vector>

namespace bspsim {

// Environment variable that attaches a process to an instance directory.
inline constexpr const char *kInstanceEnv = "BSPSIM_INSTANCE";

// Every platform operation the simulator records or can be told to fail.
enum class Op : uint32_t {
    None = 0,
    LocalBusRead,   // a = register, b = mask, len = bytes, value = first byte read
    LocalBusWrite,  // a = register, b = mask, value = byte written
    SpiRead,        // a = register, value = byte read
    SpiWrite,       // a = register, value = byte written
    GpioInit,       // a = pin, b = direction
    GpioRead,       // a = pin, value = level
    GpioWrite,      // a = pin, value = level
    DevOpen,        // a = device (Device), name = path
    DevIoctl,       // a = device, b = request, value = word answered
    DevClose,       // a = device
    SemP,           // a = semaphore id, b = wait in seconds
    SemV,           // a = semaphore id
    Delay,          // a = milliseconds
    FileOpen,       // name = the fixed path asked for (mapped log files)
    FileAccessible, // name = path, value = answer
    CpldGetId,      // a = CPLD index
    CpldSetNum,     // a = count
    MemcpyS,
    MemmoveS,
    MemsetS,
    StrcpyS,
    StrncpyS,
    StrncatS,
    SprintfS,
    SnprintfS,
    TaskMutexCreate,
    Termios,        // a = device, b = 0 get / 1 set
    // The object framework: a = object handle (low 32 bits), name = "object.property".
    DflGetHandle,   // name = object name
    DflGetName,
    DflGetList,     // name = class
    DflGetRef,
    DflGetProp,
    DflSetProp,     // b = option
    DflGetHw,       // b = option
    DflGetAccessor,
    DflCallMethod,  // name = "object.method", b = inputs, value = outputs answered
    DflBlockRead,   // b = offset, len = length, value = first byte moved
    DflBlockWrite,  // b = offset, len = length, value = first byte moved
    DflChipByteWrite, // name = chip, a = offset, b = mask, value = byte
    DflReboot,
    DalGetString,
    GetUbootNum,    // value = boot-loader copy number answered
    GetUbootVer,    // a = boot-loader copy, name = version answered
    GetSdkVer,      // a = first length, b = second length, name = first version answered
    Count
};

const char *op_name(Op op);

enum class Device : uint32_t { SysInfo = 0, TtyS0 = 1 };

// Event flags.
inline constexpr uint32_t kFlagBlocked = 1u << 0;     // a write that write protection stopped
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
    // attaches this process. The destructor removes the instance.
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

    // CPLD register file and RAM, by the back door (nothing is recorded).
    uint8_t reg(uint32_t addr) const;
    void set_reg(uint32_t addr, uint8_t value);
    uint8_t ram(uint32_t addr) const;  // low 13 bits used
    void set_ram(uint32_t addr, uint8_t value);
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

private:
    explicit Board(std::string dir) : dir_(std::move(dir)) {}
    std::string dir_;
};

// The record rendered compactly, one token per call, tokens separated by one blank:
//   rd 13=05  rd 56&01=1  rd 60[3]=00  wr ba=31  wr e9&01=1   local-bus read/write (hex)
//   srd 13=05  swr 13=05                                        SPI read/write
//   gi 12=out  gr 12=1  gw 12=0                                 GPIO init/read/write
//   open sys_info  ioctl 80047306=52  ioctl:tty 540b=0  close sys_info
//   P29  P29/2 (wait of 2 s)  V29  delay 10  cpldid 0=2  cpldnum 2  tcget tty  tcset tty
//   other calls: the operation's name and the event's name ("dfl_get_prop cpld1.LBus")
// Suffixes: "!wp" a write that write protection blocked, "!bad" a malformed request,
// "!unbal" a give without a take, "!CODE" a failed call (injected or not).
std::string transcript_token(const Event &e);
std::string transcript(const std::vector<Event> &events);

// Process-level helpers for tools.
// Attaches this process to the persistent instance of `profile` (created when missing) unless
// BSPSIM_INSTANCE already names one; returns the instance directory.
std::string attach_persistent(const std::string &profile);
// Recreates the persistent instance of `profile` from the profile file.
std::string reset_persistent(const std::string &profile);
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
// Values the framework handed to this process (property values, method outputs) that are still
// alive: a caller that releases all it was given brings this back to where it was.
std::size_t live_values();

}  // namespace bspsim

#endif
