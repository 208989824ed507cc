// The record of what the board saw, the captured logs, armed faults, scripted reads, and the
// call object that applies them in one order at every entry point.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "core/core.h"

namespace bspsim::detail {

EventRec &record(Op op, uint32_t a, uint32_t b, uint32_t value, int32_t result, std::string_view name)
{
    CoreState &c = core();
    uint64_t seq = c.event_count++;
    EventRec &e = c.events[seq % kMaxEvents];
    e = EventRec{seq, static_cast<uint32_t>(op), static_cast<int32_t>(getpid()), a, b, value, result, 0, 1,
                 c.clock_ms, {}};
    set_text(e.name, name);
    return e;
}

namespace {
std::atomic<void (*)(const Event &)> g_record_observer{nullptr};
}

void observe_record(const EventRec &r)
{
    if (auto observe = g_record_observer.load(std::memory_order_relaxed)) {
        observe(Event{r.seq, static_cast<Op>(r.op), r.pid, r.a, r.b, r.value, r.result, r.flags, r.len, r.time_ms,
                      std::string(text(r.name))});
    }
}

bool take_script(Source source, uint32_t key, uint32_t *value)
{
    for (auto &sc : core().scripts) {
        if (!sc.used || sc.source != static_cast<uint32_t>(source) || sc.key != key) continue;
        if (sc.pos >= sc.len || sc.len > kScriptLen) {
            sc.used = 0;  // spent, or not a script this simulator wrote
            continue;
        }
        *value = sc.values[sc.pos++];
        if (sc.pos >= sc.len) sc.used = 0;
        return true;
    }
    return false;
}

namespace {
std::atomic<bool> g_echo{false};
std::atomic<void (*)(const LogLine &)> g_observer{nullptr};
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
    if (auto observe = g_observer.load(std::memory_order_relaxed)) {
        observe(LogLine{kind, level, kind == LogLine::Debug ? (file ? file : "") : "", line, text ? text : ""});
    }
    Lock lock;
    CoreState &c = core();
    LogRec &r = c.logs[c.log_count++ % kMaxLogs];
    r.kind = kind;
    r.level = level;
    r.line = line;
    set_text(r.file, file ? file : "");
    set_text(r.text, text ? text : "");
}

namespace {
thread_local Call *t_current_call = nullptr;
// Quiet operations this process records all the same (record_quiet).
std::array<std::atomic<bool>, static_cast<size_t>(Op::Count)> g_recorded_quiet{};
}

Call::Call(Op op, uint32_t key, Rec rec_in, bool quiet)
    : rec(std::move(rec_in)), op_(op), key_(key), quiet_(quiet), outer_(t_current_call)
{
    t_current_call = this;
    relock();
}

Call::~Call()
{
    t_current_call = outer_;
    unlock();
}

void record_change(uint32_t a, uint32_t value, std::string_view text)
{
    if (Call *c = t_current_call) {
        c->changes_.push_back({a, value, std::string(text)});
        return;
    }
    observe_record(record(Op::Change, a, 0, value, 0, text));
}

void Call::unlock()
{
    if (locked_) unlock_instance();
    locked_ = false;
}

void Call::relock()
{
    if (!locked_) lock_instance();
    locked_ = true;
}

bool Call::fault(int32_t *code)
{
    for (auto &f : core().faults) {
        if (f.op != static_cast<uint32_t>(op_) || f.count == 0) continue;
        if (f.key != kAnyKey && f.key != key_) continue;
        if (f.skip > 0) {
            --f.skip;
            continue;
        }
        if (--f.count == 0) f.op = 0;
        *code = f.code;
        injected = true;
        rec.flags |= kFlagInjected;
        done(f.code);
        return true;
    }
    return false;
}

int32_t Call::refuse(int32_t code)
{
    rec.flags |= kFlagMalformed;
    return done(code);
}

int32_t Call::done(int32_t result)
{
    if (quiet_ && !injected && !g_recorded_quiet[static_cast<size_t>(op_)].load(std::memory_order_relaxed)) return result;
    relock();
    event = &record(op_, rec.a, rec.b, rec.value, result, rec.name);
    event->len = rec.len;
    event->flags = rec.flags;
    observe_record(*event);
    // What the call changed follows the call itself.
    for (const Change &ch : changes_) observe_record(record(Op::Change, ch.a, 0, ch.value, 0, ch.text));
    changes_.clear();
    return result;
}

// The core's own region: the lock, the clock, the record, faults and scripts.
const Model model_core = {.name = "core", .scope = Scope::Enclosure, .size = sizeof(CoreState)};

}  // namespace bspsim::detail

namespace bspsim {

using namespace detail;

void record_quiet(Op op, bool on)
{
    check_range("operation", static_cast<uint64_t>(op), static_cast<uint64_t>(Op::Count));
    g_recorded_quiet[static_cast<size_t>(op)].store(on, std::memory_order_relaxed);
}

const char *op_name(Op op)
{
    static constexpr std::array<const char *, static_cast<size_t>(Op::Count)> kNames = {
#define BSPSIM_OP_NAME(id, name) name,
        BSPSIM_OPS(BSPSIM_OP_NAME)
#undef BSPSIM_OP_NAME
    };
    auto i = static_cast<size_t>(op);
    return i < kNames.size() ? kNames[i] : "?";
}

void set_log_echo(bool on) { g_echo.store(on); }
void set_log_observer(void (*observer)(const LogLine &line)) { g_observer.store(observer); }
void set_record_observer(void (*observer)(const Event &event)) { g_record_observer.store(observer); }

void Board::fail(Op op, uint32_t count, int32_t code, uint32_t key, uint32_t skip)
{
    if (op == Op::None || op >= Op::Count) out_of_range("operation", static_cast<uint32_t>(op), static_cast<uint32_t>(Op::Count));
    Lock lock;
    for (auto &f : core().faults) {
        if (f.op == 0) {
            f = FaultRec{static_cast<uint32_t>(op), key, skip, count, code};
            return;
        }
    }
    throw Error("too many faults armed");
}

void Board::clear_faults()
{
    Lock lock;
    std::fill(std::begin(core().faults), std::end(core().faults), FaultRec{});
}

void Board::script(Source source, uint32_t key, const std::vector<uint32_t> &values)
{
    if (values.size() > kScriptLen) throw Error("script too long");
    uint32_t limit = source == Source::Pin ? 2 : source == Source::Register ? 0x100 : 0;
    for (uint32_t v : values) {
        if (limit) check_range(source == Source::Pin ? "scripted pin level" : "scripted register value", v, limit);
    }
    Lock lock;
    for (auto &sc : core().scripts) {
        if (!sc.used) {
            sc = ScriptRec{1, static_cast<uint32_t>(source), key, static_cast<uint32_t>(values.size()), 0, {}};
            std::copy(values.begin(), values.end(), sc.values);
            return;
        }
    }
    throw Error("too many scripts");
}

RecordMark record_mark()
{
    Lock lock;
    return RecordMark{core().event_count, core().log_count};
}

namespace {
// The records of a ring from `mark` on (or from the oldest one it still holds), converted.
template <typename Out, typename Rec, size_t N, typename Convert>
std::vector<Out> ring_since(const Rec (&ring)[N], uint64_t count, uint64_t mark, Convert convert)
{
    std::vector<Out> out;
    uint64_t first = std::max<uint64_t>(count > N ? count - N : 0, mark);
    for (uint64_t i = first; i < count; ++i) out.push_back(convert(ring[i % N]));
    return out;
}
}  // namespace

std::vector<Event> events_since(const RecordMark &mark)
{
    Lock lock;
    return ring_since<Event>(core().events, core().event_count, mark.events, [](const EventRec &r) {
        return Event{r.seq, static_cast<Op>(r.op), r.pid, r.a, r.b, r.value, r.result, r.flags, r.len, r.time_ms,
                     std::string(text(r.name))};
    });
}

std::vector<LogLine> logs_since(const RecordMark &mark)
{
    Lock lock;
    return ring_since<LogLine>(core().logs, core().log_count, mark.logs, [](const LogRec &r) {
        return LogLine{static_cast<LogLine::Kind>(r.kind), r.level, std::string(text(r.file)), r.line,
                       std::string(text(r.text))};
    });
}

std::vector<Event> Board::events() const { return events_since(RecordMark{}); }

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
    core().event_count = 0;
}

std::vector<LogLine> Board::logs() const { return logs_since(RecordMark{}); }

void Board::clear_logs()
{
    Lock lock;
    core().log_count = 0;
}

uint64_t Board::now_ms() const
{
    Lock lock;
    return core().clock_ms;
}

}  // namespace bspsim
