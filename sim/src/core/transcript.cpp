// Compact rendering of the record: one short token per platform call, so a test can compare a
// whole sequence of what the board saw in one line, and bspctl --trace can show it.
#include <termios.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "bspsim/sim.hpp"

namespace bspsim {
namespace {

std::string fmt(const char *pattern, ...) __attribute__((format(printf, 1, 2)));
std::string fmt(const char *pattern, ...)
{
    char buf[256];
    va_list ap;
    va_start(ap, pattern);
    std::vsnprintf(buf, sizeof buf, pattern, ap);
    va_end(ap);
    return buf;
}

const char *device_name(uint32_t dev) { return dev == static_cast<uint32_t>(Device::TtyS0) ? "tty" : "sys_info"; }

// A register access: "rd 13=05", a masked one "rd 56&01=1", a multi-byte read "rd 60[3]=00".
std::string bus(const char *verb, const Event &e, bool masked)
{
    std::string s = fmt("%s %x", verb, e.a);
    if (masked && e.b != 0) return s + fmt("&%02x=%x", e.b, e.value);
    if (e.len > 1) s += fmt("[%u]", e.len);
    return s + fmt("=%02x", e.value);
}

std::string body(const Event &e)
{
    switch (e.op) {
    case Op::LocalBusRead: return bus("rd", e, true);
    case Op::LocalBusWrite: return bus("wr", e, true);
    case Op::SpiRead: return bus("srd", e, false);
    case Op::SpiWrite: return bus("swr", e, false);
    case Op::GpioInit: return fmt("gi %u=%s", e.a, e.b ? "out" : "in");
    case Op::GpioRead: return fmt("gr %u=%u", e.a, e.value);
    case Op::GpioWrite: return fmt("gw %u=%u", e.a, e.value);
    case Op::DevOpen: return fmt("open %s", device_name(e.a));
    case Op::DevIoctl: return fmt("ioctl%s %x=%x", e.a ? ":tty" : "", e.b, e.value);
    case Op::DevClose: return fmt("close %s", device_name(e.a));
    case Op::SemP: return e.b ? fmt("P%u/%u", e.a, e.b) : fmt("P%u", e.a);
    case Op::SemV: return fmt("V%u", e.a);
    case Op::Delay: return fmt("delay %u", e.a);
    case Op::FileOpen: return "fopen " + e.name;
    case Op::FileAccessible: return fmt("access %s=%u", e.name.c_str(), e.value);
    case Op::CpldGetId: return fmt("cpldid %u=%u", e.a, e.value);
    case Op::CpldSetNum: return fmt("cpldnum %u", e.a);
    case Op::BoardPower: return fmt("power %s %ums", e.name.c_str(), e.b);
    case Op::Termios: return fmt("%s tty%s%s", e.b ? "tcset" : "tcget", e.value & IXON ? " ixon" : "", e.value & IXOFF ? " ixoff" : "");
    case Op::Change: return e.name;
    case Op::SecMsg: return fmt("m3 %04x=%x", e.a, e.value);
    // Recorded only on request (record_quiet); an injected failure shows as the bare name, as
    // the other quiet calls' do.
    case Op::MemsetS: return e.flags & kFlagInjected ? op_name(e.op) : fmt("memset_s %u/%u=%x", e.b, e.a, e.value);
    case Op::PerExit: return fmt("per_exit %u %u %u", e.a, e.b, e.value);
    case Op::DflBlockRead:
    case Op::DflBlockWrite: return fmt("%s %s@%u+%u", op_name(e.op), e.name.c_str(), e.b, e.len);
    case Op::DflChipByteWrite: return fmt("%s %s@%x&%02x=%02x", op_name(e.op), e.name.c_str(), e.a, e.b, e.value);
    default: return e.name.empty() ? op_name(e.op) : std::string(op_name(e.op)) + " " + e.name;
    }
}

}  // namespace

std::string transcript_token(const Event &e)
{
    std::string s = body(e);
    if (e.flags & kFlagInjected) return s + fmt("!%d", e.result);
    if (e.flags & kFlagMalformed) return s + "!bad";
    if (e.flags & kFlagBlocked) s += "!wp";
    if (e.flags & kFlagUnbalanced) s += "!unbal";
    if (e.result < 0 && e.op != Op::Delay) s += fmt("!%d", e.result);
    return s;
}

std::string transcript(const std::vector<Event> &events)
{
    std::string out;
    for (const Event &e : events) {
        if (!out.empty()) out += ' ';
        out += transcript_token(e);
    }
    return out;
}

std::string Board::transcript() const { return bspsim::transcript(events()); }

std::string Board::transcript(std::initializer_list<Op> only) const
{
    std::vector<Event> kept;
    for (Event &e : events()) {
        for (Op op : only) {
            if (e.op == op) {
                kept.push_back(std::move(e));
                break;
            }
        }
    }
    return bspsim::transcript(kept);
}

}  // namespace bspsim
