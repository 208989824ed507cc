// The board's CPLD: a register file with the behaviours the BMC relies on, reached through the
// local-bus and SPI drivers. Each register has a kind:
//  - plain: holds what was written;
//  - read-only: a write changes nothing (and is flagged blocked in the record);
//  - write-1-to-clear: a 1 written clears that bit (latched interrupt and status bits);
//  - self-test: answers the complement of the last value written;
//  - write-protected: bits that keep their value while a guard register's bits are not at their
//    open value (a blocked write is flagged in the record);
//  - hooked: bits another model renders from its own state (the RAM window's data register).
#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/section.h"
#include "models/cpld.h"

namespace bspsim::detail::cpld {
namespace {

enum Kind : uint8_t { kPlain = 0, kReadOnly = 1, kW1C = 2, kSelfTest = 3 };

struct RegDef {
    uint8_t kind;
    uint8_t reset;
    uint8_t wp_mask;  // bits the guard protects
    uint8_t guard_mask;
    uint8_t open_value;
    uint8_t hook_bits;  // bits model `hook_owner` renders
    uint16_t guard;
    uint32_t hook_owner;
    char name[24];
    uint8_t per_bit;  // each protected bit has the guard's bit of the same number
};

struct State {
    uint8_t regs[kRegs];
    uint8_t last_written[kRegs];  // what a self-test register inverts
    RegDef map[kRegs];
    uint8_t closed_at_load[kRegs];  // bits write protection kept closed once the profile was applied
};

State &st() { return region<State>(ModelId::cpld); }

// The model behind hooked bits of a register (nullptr: none, or not one this build knows).
const Model *hook_owner(const RegDef &d)
{
    if (d.hook_bits == 0 || d.hook_owner >= kModelCount) return nullptr;
    const Model &m = model(static_cast<ModelId>(d.hook_owner));
    return m.reg_read && m.reg_write ? &m : nullptr;
}

// Bits of `addr` that nothing may change right now.
uint8_t closed_bits(uint32_t addr, const RegDef &d)
{
    if (d.kind == kReadOnly) return 0xFF;
    uint8_t closed = 0;
    if (const Model *m = hook_owner(d); m && m->reg_closed) closed = static_cast<uint8_t>(m->reg_closed(addr) & d.hook_bits);
    if (d.wp_mask == 0 || d.guard >= kRegs) return closed;
    if (d.per_bit) return static_cast<uint8_t>(closed | (d.wp_mask & d.guard_mask & (st().regs[d.guard] ^ d.open_value)));
    return static_cast<uint8_t>(closed | ((st().regs[d.guard] & d.guard_mask) != d.open_value ? d.wp_mask : 0));
}

// Bits of `addr` a guard or a model's own protection keeps closed right now (read-only
// registers are not a protection anyone opens).
uint8_t guarded_bits(uint32_t addr)
{
    const RegDef &d = st().map[addr];
    return d.kind == kReadOnly ? 0 : closed_bits(addr, d);
}

thread_local bool t_back_door = false;

// Sets a register as the back door does: bits a model renders are that model's state.
void set_through_hooks(uint32_t addr, uint8_t value)
{
    st().regs[addr] = value;
    const RegDef &d = st().map[addr];
    if (const Model *m = hook_owner(d)) {
        t_back_door = true;
        m->reg_write(addr, value, d.hook_bits);
        t_back_door = false;
    }
}

// "ADDR [ro|w1c|selftest|plain] [protect|protect-bits MASK GUARD GUARD_MASK OPEN] [reset VALUE]"
void map_register(const std::string &name, const std::string &definition)
{
    gchar **words = g_strsplit_set(definition.c_str(), " \t", -1);
    std::vector<std::string> w;
    for (gchar **p = words; *p; ++p) {
        if (**p) w.emplace_back(*p);
    }
    g_strfreev(words);
    size_t i = 0;
    auto number = [&](uint32_t limit) {
        if (i >= w.size()) throw Error("register " + name + ": '" + definition + "' ends early");
        char *end = nullptr;
        unsigned long v = std::strtoul(w[i].c_str(), &end, 0);
        if (*end != '\0' || w[i][0] == '-' || v >= limit) throw Error("register " + name + ": bad number '" + w[i] + "'");
        ++i;
        return static_cast<uint32_t>(v);
    };
    uint32_t addr = number(kRegs);
    RegDef &d = st().map[addr];
    set_text(d.name, name);
    while (i < w.size()) {
        const std::string word = w[i++];
        if (word == "plain" || word == "ro" || word == "w1c" || word == "selftest") {
            d.kind = word == "ro" ? kReadOnly : word == "w1c" ? kW1C : word == "selftest" ? kSelfTest : kPlain;
        } else if (word == "protect" || word == "protect-bits") {
            d.per_bit = word == "protect-bits";
            d.wp_mask = static_cast<uint8_t>(number(0x100));
            d.guard = static_cast<uint16_t>(number(kRegs));
            d.guard_mask = static_cast<uint8_t>(number(0x100));
            d.open_value = static_cast<uint8_t>(number(0x100));
        } else if (word == "reset") {
            d.reset = static_cast<uint8_t>(number(0x100));
            st().regs[addr] = d.reset;
        } else {
            throw Error("register " + name + ": unknown word '" + word + "'");
        }
    }
}

void load(Section &s)
{
    if (std::strcmp(s.name(), "cpld") == 0) {
        s.each([&](const char *key, const char *value) {
            uint32_t addr = s.number(key, kRegs, "register");
            st().map[addr].reset = static_cast<uint8_t>(s.number(value, 0x100, "register value"));
            set_through_hooks(addr, st().map[addr].reset);
        });
        return;
    }
    s.each([&](const char *key, const char *value) {
        try {
            map_register(key, value);
        } catch (const Error &e) {
            s.fail(e.what());
        }
    });
}

uint32_t spi_addr(const SpiRequest *req) { return req && req->cmd ? (uint32_t{req->cmd[1]} << 8 | req->cmd[2]) : 0; }

}  // namespace

uint8_t stored(uint32_t addr) { return st().regs[addr]; }

void note_protection()
{
    for (uint32_t a = 0; a < kRegs; ++a) st().closed_at_load[a] = guarded_bits(a);
}

std::vector<std::string> protection_left_open()
{
    std::vector<std::string> out;
    for (uint32_t a = 0; a < kRegs; ++a) {
        auto open = static_cast<uint8_t>(st().closed_at_load[a] & ~guarded_bits(a));
        if (open == 0) continue;
        const RegDef &d = st().map[a];
        char b[160];
        std::snprintf(b, sizeof b, "CPLD register 0x%03X%s%.*s%s: write protection of bits 0x%02X left open", a,
                      d.name[0] ? " (" : "", static_cast<int>(strnlen(d.name, sizeof d.name)), d.name, d.name[0] ? ")" : "",
                      open);
        out.emplace_back(b);
    }
    return out;
}

bool back_door() { return t_back_door; }

uint8_t rendered(uint32_t addr)
{
    const RegDef &d = st().map[addr];
    uint8_t v = st().regs[addr];
    if (const Model *m = hook_owner(d)) v = static_cast<uint8_t>((v & ~d.hook_bits) | (m->reg_read(addr) & d.hook_bits));
    return v;
}

void hook(uint32_t addr, ModelId owner, uint8_t bits)
{
    st().map[addr].hook_owner = static_cast<uint32_t>(owner);
    st().map[addr].hook_bits = bits;
}

void store(uint32_t addr, uint8_t value, uint8_t mask)
{
    uint8_t &reg = st().regs[addr];
    reg = static_cast<uint8_t>((reg & ~mask) | (value & mask));
}

void protect(uint32_t reg, uint8_t mask, uint32_t guard, uint8_t guard_mask, uint8_t open_value, bool per_bit)
{
    RegDef &d = st().map[reg];
    d.wp_mask = mask;
    d.guard = static_cast<uint16_t>(guard);
    d.guard_mask = guard_mask;
    d.open_value = open_value;
    d.per_bit = per_bit ? 1 : 0;
}

uint8_t read(uint32_t addr)
{
    uint32_t scripted = 0;
    if (take_script(Source::Register, addr, &scripted)) return static_cast<uint8_t>(scripted);
    const RegDef &d = st().map[addr];
    if (d.kind == kSelfTest) return static_cast<uint8_t>(~st().last_written[addr]);
    return rendered(addr);
}

bool write(uint32_t addr, uint8_t value, uint8_t mask)
{
    const RegDef &d = st().map[addr];
    uint8_t closed = closed_bits(addr, d);
    auto allowed = static_cast<uint8_t>(mask & ~closed);
    if (const Model *m = hook_owner(d)) {
        if (allowed & d.hook_bits) m->reg_write(addr, value, allowed & d.hook_bits);
        allowed = static_cast<uint8_t>(allowed & ~d.hook_bits);
    }
    uint8_t &reg = st().regs[addr];
    if (d.kind == kW1C) {
        reg = static_cast<uint8_t>(reg & ~(value & allowed));
    } else {
        reg = static_cast<uint8_t>((reg & ~allowed) | (value & allowed));
    }
    st().last_written[addr] = static_cast<uint8_t>((st().last_written[addr] & ~mask) | (value & mask));
    return (mask & closed) == 0;
}

int32_t local_bus(Call &&call, LocalBusRequest *req, bool is_write)
{
    bool valid = req && req->data && req->reserved0 == 0 && req->reserved1 == 0 && req->mode <= 1 && req->len != 0 &&
                 req->addr < kRegs && req->len <= kRegs - req->addr && (is_write ? req->len == 1 : true) &&
                 (req->mode == 0 ? req->mask == 0 : (req->len == 1 && req->mask != 0 && req->mask <= 0xFF));
    // The data of a malformed request is not read.
    call.rec = {.a = req ? req->addr : 0, .b = req ? req->mask : 0, .value = is_write && valid ? req->data[0] : 0u};
    return call.run(valid, [&] {
        if (is_write) {
            uint8_t v = req->data[0];
            bool ok = req->mode == 1 ? write(req->addr, v ? 0xFF : 0x00, static_cast<uint8_t>(req->mask)) : write(req->addr, v, 0xFF);
            if (!ok) call.rec.flags |= kFlagBlocked;
        } else if (req->mode == 1) {
            // A masked read hands back the bit's value, 0 or 1.
            req->data[0] = (read(req->addr) & req->mask) ? 1 : 0;
        } else {
            for (uint32_t i = 0; i < req->len; ++i) req->data[i] = read(req->addr + i);
        }
        call.rec.value = req->data[0];
        call.rec.len = req->len;
        return 0;
    });
}

int32_t spi(Call &&call, SpiRequest *req, bool is_write)
{
    uint32_t addr = spi_addr(req);
    bool valid = req && req->bus == 1 && req->device == 1 && req->cmd && req->reserved == 0 && addr < kRegs &&
                 (is_write ? req->cmd_len == 4 && !req->rx && req->rx_len == 0 && req->cmd[0] == 0x02
                           : req->cmd_len == 3 && req->rx && req->rx_len == 1 && req->cmd[0] == 0x03);
    call.rec = {.a = addr, .value = is_write && valid ? req->cmd[3] : 0u};
    return call.run(valid, [&] {
        if (is_write) {
            if (!write(addr, req->cmd[3], 0xFF)) call.rec.flags |= kFlagBlocked;
        } else {
            call.rec.value = req->rx[0] = read(addr);
        }
        return 0;
    });
}

}  // namespace bspsim::detail::cpld

namespace bspsim::detail {
const Model model_cpld = {.name = "cpld", .scope = Scope::Board, .size = sizeof(cpld::State),
                          .sections = "cpld cpld.map", .load = cpld::load};
}

namespace bspsim {

using namespace detail;

uint8_t Board::reg(uint32_t addr) const
{
    check_range("CPLD register", addr, cpld::kRegs);
    Lock lock;
    return cpld::rendered(addr);
}

void Board::set_reg(uint32_t addr, uint8_t value)
{
    check_range("CPLD register", addr, cpld::kRegs);
    Lock lock;
    // Bits a model renders are that model's state: the back door sets them there, unrecorded.
    cpld::set_through_hooks(addr, value);
}

void Board::map_register(const std::string &name, const std::string &definition)
{
    Lock lock;
    cpld::map_register(name, definition);
}

void Board::protect(uint32_t reg, uint8_t mask, uint32_t guard, uint8_t guard_mask, uint8_t open_value)
{
    check_range("CPLD register", reg, cpld::kRegs);
    check_range("CPLD guard register", guard, cpld::kRegs);
    Lock lock;
    cpld::protect(reg, mask, guard, guard_mask, open_value);
}

void Board::make_self_test(uint32_t reg)
{
    check_range("CPLD register", reg, cpld::kRegs);
    Lock lock;
    cpld::st().map[reg].kind = cpld::kSelfTest;
}

}  // namespace bspsim
