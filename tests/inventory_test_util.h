// Shared by the CPLD inventory and version suites: case tables that print as their names, and
// a board whose id the library already knows, so a test records only the function it calls.
#ifndef BSP_TESTS_INVENTORY_TEST_UTIL_H
#define BSP_TESTS_INVENTORY_TEST_UTIL_H

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

#include "bmc_bsp.h"
#include "bspsim/sim.hpp"

namespace invtest {

// A case of a table prints as its name in test listings (bring it in with a using-declaration
// next to the table, where argument-dependent lookup finds it).
template <typename T>
    requires requires(const T &t) { t.name; }
void PrintTo(const T &c, std::ostream *os)
{
    *os << c.name;
}

template <typename T>
std::string case_name(const ::testing::TestParamInfo<T> &info)
{
    return info.param.name;
}

// Board id meaning "as the profile has it".
inline constexpr int kProfileBoard = -1;

// Sets the board id (unless kProfileBoard), has the library read and cache it (which logs a
// trace line), then clears the log and event records.
inline void settle(bspsim::Board &board, int board_id = kProfileBoard)
{
    if (board_id != kProfileBoard) board.set_board_id(static_cast<uint8_t>(board_id));
    uint8_t id = 0;
    (void)BSP_GetBmcBoardId(&id);
    board.clear_logs();
    board.clear_events();
}

}  // namespace invtest

#endif
