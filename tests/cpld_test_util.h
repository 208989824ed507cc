// Shared by the CPLD, inventory, version, upgrade and presence suites: the board's record of bus
// transfers, chip writes, semaphore operations and delays as one short line per event, named
// case tables, and a board whose id the library already knows, so that a test records only the
// calls it makes.
#ifndef BSP_TESTS_CPLD_TEST_UTIL_H
#define BSP_TESTS_CPLD_TEST_UTIL_H

#include <gtest/gtest.h>

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

// Board id meaning "as the profile has it".
inline constexpr int kProfileBoard = -1;

// Sets the board id (unless kProfileBoard), has the library read and cache it (which logs a
// trace line of its own), then clears the log and event records.
inline void settle(bspsim::Board &board, int board_id = kProfileBoard)
{
    if (board_id != kProfileBoard) board.set_board_id(static_cast<uint8_t>(board_id));
    uint8_t id = 0;
    (void)BSP_GetBmcBoardId(&id);
    board.clear_logs();
    board.clear_events();
}

// The hub suites have the board id and the board predicates read and cached first.
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

// One test per row of `table`, each named after the row's `name`.
#ifndef BSP_CASES
#define BSP_CASES(prefix, suite, table)                                    \
    INSTANTIATE_TEST_SUITE_P(prefix, suite, ::testing::ValuesIn(table), \
                             [](const auto &info) { return std::string(info.param.name); })
#endif

#endif
