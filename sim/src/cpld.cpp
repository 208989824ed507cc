// The board's CPLD: a register file with the behaviours the BMC relies on, reached through the
// local-bus and SPI drivers.
//
// Behaviours of the model:
//  - self-test registers answer the complement of the last value written to them;
//  - registers 0xBA/0xBB hold a RAM address (low 8 bits, then 5 high bits) and 0xBC is the
//    RAM byte at that address, so the 8 KiB RAM is only reachable through that window;
//  - write-protect rules: bits guarded by another register's bits keep their value while the
//    guard is closed, and the blocked write is flagged in the record.
#include <cstring>

#include "platform/bus.h"
#include "state.h"

namespace bspsim::detail {
namespace {

uint32_t ram_address(const State &s)
{
    return (static_cast<uint32_t>(s.cpld.regs[kRamAddrHi] & 0x1F) << 8) | s.cpld.regs[kRamAddrLo];
}

uint8_t read_register(State &s, uint32_t addr)
{
    uint32_t scripted = 0;
    if (take_script(Source::Register, addr, &scripted)) return static_cast<uint8_t>(scripted);
    if (addr == kRamData) return s.cpld.ram[ram_address(s)];
    if (s.cpld.kind[addr] == kRegSelfTest) return static_cast<uint8_t>(~s.cpld.last_written[addr]);
    return s.cpld.regs[addr];
}

// Bits of `addr` that the write-protect rules keep closed right now.
uint8_t protected_bits(const State &s, uint32_t addr)
{
    uint8_t closed = 0;
    for (const auto &p : s.cpld.protect) {
        if (!p.used || p.reg != addr) continue;
        if ((s.cpld.regs[p.guard] & p.guard_mask) != p.open_value) closed |= p.mask;
    }
    return closed;
}

EventRec &malformed(Op op, uint32_t addr, uint32_t mask)
{
    EventRec &e = record(op, addr, mask, 0, -1);
    e.flags |= kFlagMalformed;
    return e;
}

}  // namespace

uint8_t cpld_read(State &s, uint32_t addr) { return read_register(s, addr); }

bool cpld_write(State &s, uint32_t addr, uint8_t value, uint8_t mask)
{
    uint8_t closed = protected_bits(s, addr);
    uint8_t allowed = mask & static_cast<uint8_t>(~closed);
    if (addr == kRamData) {
        uint8_t &cell = s.cpld.ram[ram_address(s)];
        cell = static_cast<uint8_t>((cell & ~allowed) | (value & allowed));
    } else {
        uint8_t &reg = s.cpld.regs[addr];
        reg = static_cast<uint8_t>((reg & ~allowed) | (value & allowed));
        s.cpld.last_written[addr] = static_cast<uint8_t>((s.cpld.last_written[addr] & ~mask) | (value & mask));
    }
    return (mask & closed) == 0;
}

}  // namespace bspsim::detail

using namespace bspsim;
using namespace bspsim::detail;

extern "C" {

__attribute__((visibility("default"))) int32_t local_bus_read(LocalBusRequest *req)
{
    Lock lock;
    State &s = state();
    if (!req || !req->data || req->reserved0 != 0 || req->reserved1 != 0 || req->mode > 1 || req->len == 0 ||
        req->addr >= kCpldRegs || req->addr + req->len > kCpldRegs ||
        (req->mode == 0 && req->mask != 0) || (req->mode == 1 && (req->len != 1 || req->mask == 0 || req->mask > 0xFF))) {
        malformed(Op::LocalBusRead, req ? req->addr : 0, req ? req->mask : 0);
        return -1;
    }
    int32_t code = 0;
    if (fire_fault(Op::LocalBusRead, req->addr, &code, req->addr, req->mask, 0)) return code;
    if (req->mode == 1) {
        // A masked read hands back the bit's value, 0 or 1.
        req->data[0] = (read_register(s, req->addr) & req->mask) ? 1 : 0;
    } else {
        for (uint32_t i = 0; i < req->len; ++i) req->data[i] = read_register(s, req->addr + i);
    }
    record(Op::LocalBusRead, req->addr, req->mask, req->data[0], 0).len = req->len;
    return 0;
}

__attribute__((visibility("default"))) int32_t local_bus_write(LocalBusRequest *req)
{
    Lock lock;
    State &s = state();
    if (!req || !req->data || req->reserved0 != 0 || req->reserved1 != 0 || req->mode > 1 || req->len != 1 ||
        req->addr >= kCpldRegs || (req->mode == 0 && req->mask != 0) ||
        (req->mode == 1 && (req->mask == 0 || req->mask > 0xFF))) {
        malformed(Op::LocalBusWrite, req ? req->addr : 0, req ? req->mask : 0);
        return -1;
    }
    int32_t code = 0;
    uint8_t value = req->data[0];
    if (fire_fault(Op::LocalBusWrite, req->addr, &code, req->addr, req->mask, value)) return code;
    bool ok = req->mode == 1 ? cpld_write(s, req->addr, value ? 0xFF : 0x00, static_cast<uint8_t>(req->mask))
                             : cpld_write(s, req->addr, value, 0xFF);
    EventRec &e = record(Op::LocalBusWrite, req->addr, req->mask, value, 0);
    if (!ok) e.flags |= kFlagBlocked;
    return 0;
}

__attribute__((visibility("default"))) int32_t spi_read(SpiRequest *req)
{
    Lock lock;
    State &s = state();
    if (!req || req->bus != 1 || req->device != 1 || !req->cmd || req->cmd_len != 3 || req->reserved != 0 ||
        !req->rx || req->rx_len != 1 || req->cmd[0] != 0x03) {
        malformed(Op::SpiRead, (req && req->cmd) ? (static_cast<uint32_t>(req->cmd[1]) << 8 | req->cmd[2]) : 0, 0);
        return -1;
    }
    uint32_t addr = static_cast<uint32_t>(req->cmd[1]) << 8 | req->cmd[2];
    if (addr >= kCpldRegs) {
        malformed(Op::SpiRead, addr, 0);
        return -1;
    }
    int32_t code = 0;
    if (fire_fault(Op::SpiRead, addr, &code, addr, 0, 0)) return code;
    req->rx[0] = read_register(s, addr);
    record(Op::SpiRead, addr, 0, req->rx[0], 0);
    return 0;
}

__attribute__((visibility("default"))) int32_t spi_write(SpiRequest *req)
{
    Lock lock;
    State &s = state();
    if (!req || req->bus != 1 || req->device != 1 || !req->cmd || req->cmd_len != 4 || req->reserved != 0 ||
        req->rx != nullptr || req->rx_len != 0 || req->cmd[0] != 0x02) {
        malformed(Op::SpiWrite, (req && req->cmd) ? (static_cast<uint32_t>(req->cmd[1]) << 8 | req->cmd[2]) : 0, 0);
        return -1;
    }
    uint32_t addr = static_cast<uint32_t>(req->cmd[1]) << 8 | req->cmd[2];
    uint8_t value = req->cmd[3];
    if (addr >= kCpldRegs) {
        malformed(Op::SpiWrite, addr, 0);
        return -1;
    }
    int32_t code = 0;
    if (fire_fault(Op::SpiWrite, addr, &code, addr, 0, value)) return code;
    bool ok = cpld_write(s, addr, value, 0xFF);
    EventRec &e = record(Op::SpiWrite, addr, 0, value, 0);
    if (!ok) e.flags |= kFlagBlocked;
    return 0;
}

}  // extern "C"
