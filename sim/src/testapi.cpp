// The C++ test API: create boards, set and inspect their state, script faults, read records.
#include <sys/sem.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <glib.h>

#include "state.h"

namespace bspsim {

using namespace detail;

namespace {

constexpr std::array<const char *, static_cast<size_t>(Op::Count)> kOpNames = {
    "none",       "local_bus_read", "local_bus_write", "spi_read",    "spi_write",     "gpio_init",
    "gpio_read",  "gpio_write",     "dev_open",        "dev_ioctl",   "dev_close",     "sem_p",
    "sem_v",      "delay",          "file_open",       "file_access", "cpld_get_id",   "cpld_set_num",
    "memcpy_s",   "memmove_s",      "memset_s",        "strcpy_s",    "strncpy_s",     "strncat_s",
    "sprintf_s",  "snprintf_s",     "task_mutex",      "termios",     "dfl_get_handle", "dfl_get_name",
    "dfl_get_list", "dfl_get_ref",  "dfl_get_prop",    "dfl_set_prop", "dfl_get_hw",    "dfl_get_accessor",
    "dfl_call_method", "dfl_block_read", "dfl_block_write", "dfl_chip_bytewrite", "dfl_reboot", "dal_get_string",
    "get_cur_uboot_num", "get_uboot_ver", "get_sdk_ver",
};

Event to_event(const EventRec &r)
{
    Event e;
    e.seq = r.seq;
    e.op = static_cast<Op>(r.op);
    e.pid = r.pid;
    e.a = r.a;
    e.b = r.b;
    e.value = r.value;
    e.result = r.result;
    e.flags = r.flags;
    e.len = r.len;
    e.time_ms = r.time_ms;
    e.name = r.name;
    return e;
}

}  // namespace

const char *op_name(Op op)
{
    auto i = static_cast<size_t>(op);
    return i < kOpNames.size() ? kOpNames[i] : "?";
}

std::unique_ptr<Board> Board::create(const std::string &profile)
{
    const char *tmp = std::getenv("TMPDIR");
    std::string templ = std::string(tmp && *tmp ? tmp : "/tmp") + "/bspsim-XXXXXX";
    std::vector<char> buf(templ.begin(), templ.end());
    buf.push_back('\0');
    if (!mkdtemp(buf.data())) throw std::runtime_error("mkdtemp failed");
    std::string dir = buf.data();
    create_instance(dir, profile);
    setenv(kInstanceEnv, dir.c_str(), 1);
    attach(dir);
    return std::unique_ptr<Board>(new Board(dir));
}

Board::~Board()
{
    // Only the process that created the board removes it; forked children just leave.
    detach();
    destroy_instance(dir_);
}

std::string Board::profile() const
{
    Lock lock;
    return state().profile;
}

void Board::reset()
{
    Lock lock;
    reset_state(state());
}

void Board::set_sysinfo(uint32_t request, uint32_t word)
{
    Lock lock;
    set_sysinfo_answer(state(), request, word);
}

uint32_t Board::sysinfo(uint32_t request) const
{
    Lock lock;
    for (const auto &a : state().sysinfo) {
        if (a.used && a.request == request) return a.word;
    }
    return 0;
}

void Board::set_board_id(uint8_t id) { set_sysinfo(0x80047306u, static_cast<uint32_t>(id) << 4); }

void Board::set_pin(uint32_t pin, uint8_t level)
{
    Lock lock;
    state().pins[pin % kPins].level = level ? 1 : 0;
}

uint8_t Board::pin(uint32_t pin) const
{
    Lock lock;
    return state().pins[pin % kPins].level;
}

bool Board::pin_initialised(uint32_t pin) const
{
    Lock lock;
    return state().pins[pin % kPins].initialised != 0;
}

uint32_t Board::pin_direction(uint32_t pin) const
{
    Lock lock;
    return state().pins[pin % kPins].direction;
}

uint8_t Board::reg(uint32_t addr) const
{
    Lock lock;
    return state().cpld.regs[addr % kCpldRegs];
}

void Board::set_reg(uint32_t addr, uint8_t value)
{
    Lock lock;
    state().cpld.regs[addr % kCpldRegs] = value;
}

uint8_t Board::ram(uint32_t addr) const
{
    Lock lock;
    return state().cpld.ram[addr % kCpldRamSize];
}

void Board::set_ram(uint32_t addr, uint8_t value)
{
    Lock lock;
    state().cpld.ram[addr % kCpldRamSize] = value;
}

void Board::protect(uint32_t reg, uint8_t mask, uint32_t guard, uint8_t guard_mask, uint8_t open_value)
{
    Lock lock;
    for (auto &p : state().cpld.protect) {
        if (!p.used) {
            p = ProtectRec{1, static_cast<uint32_t>(reg % kCpldRegs), static_cast<uint32_t>(guard % kCpldRegs), mask, guard_mask, open_value, 0};
            return;
        }
    }
    throw std::runtime_error("too many protect rules");
}

void Board::make_self_test(uint32_t reg)
{
    Lock lock;
    state().cpld.kind[reg % kCpldRegs] = kRegSelfTest;
}

void Board::set_cpld_ids(const std::vector<uint32_t> &ids)
{
    if (ids.size() > kMaxCpldIds) throw std::runtime_error("the CPLD driver keeps at most 6 ids");
    Lock lock;
    CpldDrvState &drv = state().cpld_drv;
    std::fill(std::begin(drv.ids), std::end(drv.ids), 0u);
    std::copy(ids.begin(), ids.end(), drv.ids);
    drv.count = static_cast<uint32_t>(ids.size());
}

std::vector<uint32_t> Board::cpld_ids() const
{
    Lock lock;
    const CpldDrvState &drv = state().cpld_drv;
    return std::vector<uint32_t>(drv.ids, drv.ids + drv.count);
}

uint32_t Board::cpld_upgrade_num() const
{
    Lock lock;
    return state().cpld_drv.upgrade_num;
}

namespace {
void set_version_text(char *dest, const std::string &text)
{
    if (text.size() >= kVersionTextLen) throw std::runtime_error("version text too long: " + text);
    g_strlcpy(dest, text.c_str(), kVersionTextLen);
}
}  // namespace

void Board::set_uboot(uint8_t current, const std::string &copy0, const std::string &copy1)
{
    Lock lock;
    FirmwareState &fw = state().firmware;
    fw.uboot_num = current;
    set_version_text(fw.uboot[0], copy0);
    set_version_text(fw.uboot[1], copy1);
}

void Board::set_sdk(const std::string &first, const std::string &second)
{
    Lock lock;
    FirmwareState &fw = state().firmware;
    set_version_text(fw.sdk_first, first);
    set_version_text(fw.sdk_second, second);
}

uint64_t Board::add_object(const std::string &name, const std::string &cls)
{
    Lock lock;
    int i = detail::add_object(state(), name.c_str(), cls.c_str());
    if (i < 0) throw std::runtime_error("too many objects");
    return kHandleBase + static_cast<uint64_t>(i);
}

uint64_t Board::handle_of(const std::string &name) const
{
    Lock lock;
    int i = find_object(state(), name.c_str());
    return i < 0 ? 0 : kHandleBase + static_cast<uint64_t>(i);
}

namespace {
// Index of a known object (lock held).
uint32_t object_index(const std::string &object)
{
    int i = find_object(state(), object.c_str());
    if (i < 0) throw std::runtime_error("no object " + object);
    return static_cast<uint32_t>(i);
}

void set_prop_checked(const std::string &object, const std::string &property, PropKind kind, const std::string &text)
{
    Lock lock;
    if (!set_prop(state(), object_index(object), property.c_str(), kind, text.c_str())) {
        throw std::runtime_error("cannot set " + object + "." + property + " to " + text);
    }
}
}  // namespace

void Board::set_property(const std::string &object, const std::string &property, const std::string &text)
{
    set_prop_checked(object, property, kPropValue, text);
}

void Board::set_hardware_value(const std::string &object, const std::string &property, const std::string &text)
{
    set_prop_checked(object, property, kPropHardware, text);
}

void Board::set_reference(const std::string &object, const std::string &property, const std::string &target)
{
    set_prop_checked(object, property, kPropReference, target);
}

void Board::set_accessor(const std::string &object, const std::string &property, const std::string &accessor)
{
    set_prop_checked(object, property, kPropAccessor, accessor);
}

namespace {
std::string prop_text(const std::string &object, const std::string &property, PropKind kind)
{
    Lock lock;
    int i = find_object(state(), object.c_str());
    if (i < 0) return {};
    PropRec *p = find_prop(state(), static_cast<uint32_t>(i), property.c_str(), kind);
    return p ? p->text : "";
}
}  // namespace

std::string Board::property(const std::string &object, const std::string &property) const
{
    return prop_text(object, property, kPropValue);
}

std::string Board::hardware_value(const std::string &object, const std::string &property) const
{
    return prop_text(object, property, kPropHardware);
}

void Board::set_method(const std::string &object, const std::string &method, const std::string &outputs)
{
    Lock lock;
    if (!detail::set_method(state(), object_index(object), "", method.c_str(), outputs.c_str())) {
        throw std::runtime_error("cannot give " + object + "." + method + " the answer " + outputs);
    }
}

void Board::set_class_method(const std::string &cls, const std::string &method, const std::string &outputs)
{
    Lock lock;
    if (!detail::set_method(state(), kClassScope, cls.c_str(), method.c_str(), outputs.c_str())) {
        throw std::runtime_error("cannot give class " + cls + "." + method + " the answer " + outputs);
    }
}

void Board::script_method(const std::string &object, const std::string &method, const std::vector<std::string> &outputs)
{
    if (outputs.size() > kMethodScriptLen) throw std::runtime_error("method script too long");
    for (auto &o : outputs) {
        if (!valid_outputs(o.c_str())) throw std::runtime_error("not a tuple of outputs: " + o);
    }
    Lock lock;
    MethodRec *m = answering_method(state(), object_index(object), method.c_str());
    if (!m) throw std::runtime_error("no method " + object + "." + method);
    for (size_t i = 0; i < outputs.size(); ++i) g_strlcpy(m->script[i], outputs[i].c_str(), kValueTextLen);
    m->script_len = static_cast<uint32_t>(outputs.size());
    m->script_pos = 0;
}

std::vector<MethodCall> Board::method_calls() const
{
    Lock lock;
    const DflState &d = state().dfl;
    std::vector<MethodCall> out;
    uint64_t first = d.call_count > kMaxMethodCalls ? d.call_count - kMaxMethodCalls : 0;
    for (uint64_t i = first; i < d.call_count; ++i) {
        const MethodCallRec &r = d.calls[i % kMaxMethodCalls];
        MethodCall c{r.object, r.method, {}, r.result};
        // Inputs are kept as one tuple; a tuple cut short by its room stays as it was kept.
        GVariant *tuple = g_variant_parse(nullptr, r.inputs, nullptr, nullptr, nullptr);
        if (!tuple || !g_variant_is_of_type(tuple, G_VARIANT_TYPE_TUPLE)) {
            c.inputs.emplace_back(r.inputs);
            if (tuple) g_variant_unref(tuple);
        } else {
            for (size_t k = 0; k < g_variant_n_children(tuple); ++k) {
                GVariant *child = g_variant_get_child_value(tuple, k);
                gchar *text = g_variant_print(child, TRUE);
                c.inputs.emplace_back(text);
                g_free(text);
                g_variant_unref(child);
            }
            g_variant_unref(tuple);
        }
        out.push_back(std::move(c));
    }
    return out;
}

void Board::set_block(const std::string &object, const std::string &property, const std::vector<uint8_t> &bytes)
{
    Lock lock;
    if (!detail::set_block(state(), object_index(object), property.c_str(), bytes.data(), bytes.size())) {
        throw std::runtime_error("no room for the block " + object + "." + property);
    }
}

std::vector<uint8_t> Board::block(const std::string &object, const std::string &property) const
{
    Lock lock;
    int i = find_object(state(), object.c_str());
    const BlockRec *b = i < 0 ? nullptr : find_block(state(), static_cast<uint32_t>(i), property.c_str());
    if (!b) return {};
    const uint8_t *data = state().dfl.pool + b->start;
    return std::vector<uint8_t>(data, data + b->size);
}

int Board::sem_value(uint32_t id) const { return semctl(state().semid, static_cast<int>(id), GETVAL); }

void Board::fail(Op op, uint32_t count, int32_t code, uint32_t key, uint32_t skip)
{
    Lock lock;
    for (auto &f : state().faults) {
        if (f.op == 0) {
            f = FaultRec{static_cast<uint32_t>(op), key, skip, count, code};
            return;
        }
    }
    throw std::runtime_error("too many faults armed");
}

void Board::clear_faults()
{
    Lock lock;
    std::memset(state().faults, 0, sizeof state().faults);
}

void Board::script(Source source, uint32_t key, const std::vector<uint32_t> &values)
{
    if (values.size() > kScriptLen) throw std::runtime_error("script too long");
    Lock lock;
    for (auto &sc : state().scripts) {
        if (!sc.used) {
            sc.used = 1;
            sc.source = static_cast<uint32_t>(source);
            sc.key = key;
            sc.len = static_cast<uint32_t>(values.size());
            sc.pos = 0;
            std::copy(values.begin(), values.end(), sc.values);
            return;
        }
    }
    throw std::runtime_error("too many scripts");
}

std::vector<Event> Board::events() const { return events_since(RecordMark{}); }

RecordMark record_mark()
{
    Lock lock;
    return RecordMark{state().event_count, state().log_count};
}

std::vector<Event> events_since(const RecordMark &mark)
{
    Lock lock;
    const State &s = state();
    std::vector<Event> out;
    uint64_t first = s.event_count > kMaxEvents ? s.event_count - kMaxEvents : 0;
    first = std::max(first, mark.events);
    for (uint64_t i = first; i < s.event_count; ++i) out.push_back(to_event(s.events[i % kMaxEvents]));
    return out;
}

std::vector<LogLine> logs_since(const RecordMark &mark)
{
    Lock lock;
    const State &s = state();
    std::vector<LogLine> out;
    uint64_t first = s.log_count > kMaxLogs ? s.log_count - kMaxLogs : 0;
    first = std::max(first, mark.logs);
    for (uint64_t i = first; i < s.log_count; ++i) {
        const LogRec &r = s.logs[i % kMaxLogs];
        out.push_back(LogLine{static_cast<LogLine::Kind>(r.kind), r.level, r.file, r.line, r.text});
    }
    return out;
}

std::vector<Event> Board::events(Op op) const
{
    std::vector<Event> out;
    for (auto &e : events()) {
        if (e.op == op) out.push_back(e);
    }
    return out;
}

void Board::clear_events()
{
    Lock lock;
    state().event_count = 0;
}

std::vector<LogLine> Board::logs() const { return logs_since(RecordMark{}); }

void Board::clear_logs()
{
    Lock lock;
    state().log_count = 0;
}

uint64_t Board::now_ms() const
{
    Lock lock;
    return state().clock_ms;
}

std::string Board::path_of(const std::string &fixed_path) const
{
    std::string mapped = mapped_path(fixed_path.c_str());
    return mapped.empty() ? fixed_path : mapped;
}

}  // namespace bspsim
