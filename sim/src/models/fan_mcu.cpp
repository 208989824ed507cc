// The fan board's microcontroller (MCU), reached over an SMBus-style link that the framework
// shows as a block-access chip: objects of class "FanMcu", whose block property moves one
// command's bytes at offset = the command code. The MCU has a small command space:
//   read  (dfl_block_read, length n + 1):  the command's first n data bytes, then the PEC over
//         0x26, command, 0x27 and those bytes;
//   write (dfl_block_write, length n + 1): n data bytes and their PEC over 0x26, command and the
//         bytes; a write with a wrong PEC, to a read-only or unknown command, or longer than the
//         command is refused (the framework's code), counted and recorded ("mcu refused ...").
// The PEC is the platform's CRC-8 (polynomial 0x07). The MCU's mode (its factory mode) is the
// command named "mode"; on a board whose framework has object "BmcInfo" with byte property
// "McuMode" (the SMM), that property is where the mode lives, so the framework and the MCU
// always agree; elsewhere the MCU keeps the byte itself.
//
// [fan_mcu] property = the block property (one MCU per board: every object of the class answers);
//           cmd.NAME = CODE LENGTH [ro] [BYTE ...]: a command, its data bytes (the rest is 0).
#include <glib.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "bspsim/fan_mcu.hpp"
#include "core/section.h"
#include "models/dfl/dfl.h"
#include "platform/misc.h"

namespace bspsim::detail::fan_mcu {
namespace {

constexpr const char *kClass = "FanMcu";
constexpr uint8_t kWriteAddr = 0x26;
constexpr uint8_t kReadAddr = 0x27;
constexpr size_t kMaxCommands = 16;
constexpr size_t kPoolSize = 4096;
constexpr size_t kCommandNameLen = 24;
constexpr uint32_t kNoObject = 0xFFFFFFFFu;

struct Command {
    uint32_t used;
    uint32_t code;
    uint32_t writable;
    uint32_t start;
    uint32_t length;
    char name[kCommandNameLen];
};

struct State {
    uint32_t configured;
    char property[kNameLen];
    uint32_t missing_object;  // index of the removed chip object, or kNoObject
    char missing_name[kNameLen];
    uint32_t bad_pec_reads;
    uint32_t refused_writes;
    uint32_t pool_used;
    Command commands[kMaxCommands];
    uint8_t pool[kPoolSize];
};

State &st() { return region<State>(ModelId::fan_mcu); }

Command *find(uint32_t code)
{
    for (Command &c : st().commands) {
        if (c.used && c.code == code && c.start <= kPoolSize && c.length <= kPoolSize - c.start) return &c;
    }
    return nullptr;
}

// Where the mode lives when the framework keeps it: the property's record, else nullptr.
dfl::PropRec *mode_property(const Command &c)
{
    if (text(c.name) != "mode" || c.length != 1) return nullptr;
    int obj = dfl::find_object("BmcInfo");
    return obj < 0 ? nullptr : dfl::find_prop(static_cast<uint32_t>(obj), "McuMode", dfl::kPropValue);
}

void read_data(const Command &c, uint8_t *to, uint32_t n)
{
    if (dfl::PropRec *p = mode_property(c)) {
        GVariant *v = g_variant_parse(G_VARIANT_TYPE_BYTE, std::string(text(p->text)).c_str(), nullptr, nullptr, nullptr);
        to[0] = v ? g_variant_get_byte(v) : 0;
        if (v) g_variant_unref(v);
        return;
    }
    std::memcpy(to, st().pool + c.start, n);
}

void write_data(const Command &c, const uint8_t *from, uint32_t n)
{
    if (dfl::PropRec *p = mode_property(c)) {
        char t[16];
        std::snprintf(t, sizeof t, "byte 0x%02x", from[0]);
        dfl::set_prop(p->object, "McuMode", dfl::kPropValue, t);
        return;
    }
    std::memcpy(st().pool + c.start, from, n);
}

uint8_t pec(const uint8_t *head, uint32_t head_len, const uint8_t *data, uint32_t n)
{
    return arith_make_crc_checksum(arith_make_crc_checksum(0, head, head_len), data, n);
}

int32_t refuse(uint32_t code, const char *why, int32_t result)
{
    ++st().refused_writes;
    char t[48];
    std::snprintf(t, sizeof t, "mcu refused %02x %s", code, why);
    record_change(code, 0, t);
    return result;
}

int32_t block(uint32_t, const char *property, uint32_t code, uint32_t length, uint8_t *in, const uint8_t *out)
{
    if (text(st().property) != property) return dfl::kNotServed;
    Command *c = find(code);
    if (!c || length == 0 || length - 1 > c->length) {
        // An MCU does not acknowledge what it cannot take; a read is simply not answered.
        return out ? refuse(code, c ? "too-long" : "unknown-command", kDflOutOfRange) : kDflOutOfRange;
    }
    const uint32_t n = length - 1;
    if (in) {
        const uint8_t head[] = {kWriteAddr, static_cast<uint8_t>(code), kReadAddr};
        read_data(*c, in, n);
        in[n] = pec(head, sizeof head, in, n);
        if (st().bad_pec_reads > 0) {
            --st().bad_pec_reads;
            in[n] ^= 0xFF;
        }
        return 0;
    }
    const uint8_t head[] = {kWriteAddr, static_cast<uint8_t>(code)};
    if (pec(head, sizeof head, out, n) != out[n]) return refuse(code, "bad-pec", kDflBadValue);
    if (!c->writable) return refuse(code, "read-only", kDflBadValue);
    write_data(*c, out, n);
    return 0;
}

void reset()
{
    st().missing_object = kNoObject;
    dfl::serve(kClass, ModelId::fan_mcu);
}

// cmd.NAME = CODE LENGTH [ro] [BYTE ...]
void load_command(Section &s, const char *name, const char *value)
{
    g_auto(GStrv) words = g_strsplit_set(value, ", \t", -1);
    std::vector<std::string> w;
    for (gchar **p = words; *p; ++p) {
        if (**p) w.emplace_back(*p);
    }
    if (w.size() < 2 || std::strlen(name) >= kCommandNameLen) s.fail(std::string("bad command ") + name);
    const uint32_t code = s.number(w[0].c_str(), 256, "command code");
    const uint32_t length = s.number(w[1].c_str(), kPoolSize + 1, "command length");
    const bool ro = w.size() > 2 && w[2] == "ro";
    Command *c = find(code);
    if (!c) {
        for (Command &free : st().commands) {
            if (!free.used) {
                c = &free;
                break;
            }
        }
        if (!c) s.fail("too many commands");
        if (length > kPoolSize - st().pool_used) s.fail("commands hold too many bytes");
        *c = Command{1, code, 0, st().pool_used, length, {}};
        st().pool_used += length;
    } else if (length != c->length) {
        s.fail(std::string("command ") + name + " changes its length");
    }
    c->writable = !ro;
    set_text(c->name, name);
    std::memset(st().pool + c->start, 0, c->length);
    for (size_t i = ro ? 3 : 2, at = 0; i < w.size(); ++i, ++at) {
        if (at >= length) s.fail(std::string("command ") + name + ": more bytes than its length");
        st().pool[c->start + at] = static_cast<uint8_t>(s.number(w[i].c_str(), 256, "byte"));
    }
}

void load(Section &s)
{
    st().configured = 1;
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "property") == 0) {
            set_text(st().property, value);
        } else if (g_str_has_prefix(key, "cmd.")) {
            load_command(s, key + 4, value);
        } else {
            s.fail(std::string("unknown key ") + key);
        }
    });
}

}  // namespace
}  // namespace bspsim::detail::fan_mcu

namespace bspsim::detail {
const Model model_fan_mcu = {.name = "fan_mcu", .scope = Scope::Board, .size = sizeof(fan_mcu::State),
                             .sections = "fan_mcu", .load = fan_mcu::load, .reset = fan_mcu::reset,
                             .block = fan_mcu::block};
}

namespace bspsim {

using namespace detail;
using namespace detail::fan_mcu;

namespace {

const Command &command_of(uint8_t code)
{
    const Command *c = find(code);
    if (!c) throw Error("the fan-board MCU has no command " + std::to_string(code));
    return *c;
}

McuCommand view(const Command &c)
{
    return {static_cast<uint8_t>(c.code), std::string(text(c.name)), c.length, c.writable != 0};
}

}  // namespace

FanMcu::FanMcu()
{
    Lock lock;
    if (!st().configured) throw Error("this board has no fan-board MCU");
}

std::string FanMcu::object() const
{
    Lock lock;
    for (const dfl::ObjectRec &o : dfl::st().objects) {
        if (o.used && text(o.cls) == kClass) return std::string(text(o.name));
    }
    return "";
}

std::string FanMcu::property() const
{
    Lock lock;
    return std::string(text(st().property));
}

std::vector<McuCommand> FanMcu::commands() const
{
    Lock lock;
    std::vector<McuCommand> out;
    for (const Command &c : st().commands) {
        if (c.used) out.push_back(view(c));
    }
    return out;
}

std::vector<uint8_t> FanMcu::data(uint8_t code) const
{
    Lock lock;
    const Command &c = command_of(code);
    std::vector<uint8_t> out(c.length);
    read_data(c, out.data(), c.length);
    return out;
}

FanMcu &FanMcu::set_data(uint8_t code, const std::vector<uint8_t> &bytes)
{
    Lock lock;
    const Command &c = command_of(code);
    check_range("data bytes of the command", bytes.size(), c.length + 1ull);
    write_data(c, bytes.data(), static_cast<uint32_t>(bytes.size()));
    return *this;
}

FanMcu &FanMcu::bad_pec(uint32_t reads)
{
    Lock lock;
    st().bad_pec_reads = reads;
    return *this;
}

uint32_t FanMcu::bad_pec_reads() const
{
    Lock lock;
    return st().bad_pec_reads;
}

FanMcu &FanMcu::set_present(bool present)
{
    Lock lock;
    State &s = st();
    if (!present && s.missing_object == kNoObject) {
        for (size_t i = 0; i < dfl::kMaxObjects; ++i) {
            dfl::ObjectRec &o = dfl::st().objects[i];
            if (!o.used || text(o.cls) != kClass) continue;
            // Its properties stay behind, keyed by its place, for the day it comes back.
            s.missing_object = static_cast<uint32_t>(i);
            set_text(s.missing_name, text(o.name));
            o.used = 0;
            break;
        }
    } else if (present && s.missing_object < dfl::kMaxObjects) {
        dfl::ObjectRec &o = dfl::st().objects[s.missing_object];
        if (o.used) throw Error("the fan-board MCU's place in the framework was taken meanwhile");
        o.used = 1;
        set_text(o.name, text(s.missing_name));
        set_text(o.cls, kClass);
        s.missing_object = kNoObject;
    }
    return *this;
}

bool FanMcu::present() const
{
    Lock lock;
    return st().missing_object == kNoObject;
}

uint32_t FanMcu::refused_writes() const
{
    Lock lock;
    return st().refused_writes;
}

uint8_t smbus_pec(const std::vector<uint8_t> &bytes)
{
    return arith_make_crc_checksum(0, bytes.data(), static_cast<uint32_t>(bytes.size()));
}

}  // namespace bspsim
