// What the CPLD suites compare: the board's record of bus transfers, chip writes, semaphore
// operations and delays, one short line per event, so that a whole sequence reads as a list.
#ifndef BSP_TESTS_CPLD_TRACE_H
#define BSP_TESTS_CPLD_TRACE_H

#include <cstdint>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspsim/sim.hpp"

namespace cpldtest {

using bspsim::Op;

inline bool is_bus(Op op)
{
    return op == Op::LocalBusRead || op == Op::LocalBusWrite || op == Op::SpiRead || op == Op::SpiWrite ||
           op == Op::DflChipByteWrite;
}

// "lb_read 0x013 mask=0x04 len=1 =0x01", "spi_write 0x0ba =0x31", "chip_write cpld1 0x0bc
// mask=0x08 =0x01", "sem_p 29", "delay 5"; a failed call adds " rc=N", a refused request
// " malformed", a write that protection stopped " blocked".
inline std::string describe(const bspsim::Event &e)
{
    char buf[160];
    switch (e.op) {
    case Op::LocalBusRead:
        std::snprintf(buf, sizeof buf, "lb_read 0x%03x mask=0x%02x len=%u =0x%02x", e.a, e.b, e.len, e.value);
        break;
    case Op::LocalBusWrite:
        std::snprintf(buf, sizeof buf, "lb_write 0x%03x mask=0x%02x =0x%02x", e.a, e.b, e.value);
        break;
    case Op::SpiRead: std::snprintf(buf, sizeof buf, "spi_read 0x%03x =0x%02x", e.a, e.value); break;
    case Op::SpiWrite: std::snprintf(buf, sizeof buf, "spi_write 0x%03x =0x%02x", e.a, e.value); break;
    case Op::DflChipByteWrite:
        std::snprintf(buf, sizeof buf, "chip_write %s 0x%03x mask=0x%02x =0x%02x", e.name.c_str(), e.a, e.b, e.value);
        break;
    case Op::SemP: std::snprintf(buf, sizeof buf, "sem_p %u", e.a); break;
    case Op::SemV: std::snprintf(buf, sizeof buf, "sem_v %u", e.a); break;
    case Op::Delay: std::snprintf(buf, sizeof buf, "delay %u", e.a); break;
    default: std::snprintf(buf, sizeof buf, "%s", bspsim::op_name(e.op)); break;
    }
    std::string s = buf;
    if (e.result != 0) s += " rc=" + std::to_string(e.result);
    if (e.flags & bspsim::kFlagMalformed) s += " malformed";
    if (e.flags & bspsim::kFlagBlocked) s += " blocked";
    return s;
}

// Bus transfers, chip writes, semaphore operations and delays, in order.
inline std::vector<std::string> trace(const bspsim::Board &board)
{
    std::vector<std::string> out;
    for (const auto &e : board.events()) {
        if (is_bus(e.op) || e.op == Op::SemP || e.op == Op::SemV || e.op == Op::Delay) out.push_back(describe(e));
    }
    return out;
}

// Bus transfers and chip writes only.
inline size_t bus_traffic(const bspsim::Board &board)
{
    size_t n = 0;
    for (const auto &e : board.events()) n += is_bus(e.op) ? 1 : 0;
    return n;
}

// The board id is read and cached at the first hub call, with a trace line of its own. Suites
// that compare whole logs and traces have it read first and start from clean records.
inline void read_board_id_first(bspsim::Board &board)
{
    (void)BSP_IsSmmBoard();
    (void)BSP_Is58304u2pBoard();
    board.clear_logs();
    board.clear_events();
}

// Rows of case tables (structs with a `name`) print as that name in test listings. Bring it
// into the namespace of the tables with a using-declaration, so that gtest finds it.
template <typename T>
    requires requires(const T &t) { t.name; }
void PrintTo(const T &value, std::ostream *os)
{
    *os << value.name;
}

// A SimTest (or SimTestWithParam) whose board id has been read before the test starts.
template <typename Base>
class BoardIdRead : public Base {
protected:
    void SetUp() override
    {
        Base::SetUp();
        if (!this->HasFatalFailure()) read_board_id_first(this->sim());
    }
};

}  // namespace cpldtest

#endif
