// Clocks: the CPLD shows whether each clock of the board runs, one bit per clock in registers
// 0x48 and 0x49; which bits are clocks depends on the board.
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"

namespace {

using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kOk;

// A board's clocks in one register: every bit of `mask` reads 1 while its clock runs.
struct ClockStatusRow {
    uint32_t boardId;
    uint32_t reg;
    uint32_t mask;
};

// Keyed by board id; register 0x48 before 0x49 within a board.
constexpr std::array<ClockStatusRow, 33> kClockStatusTbl = {{
    {0x0A, 0x48, 0xFF},
    {0x0A, 0x49, 0x07},
    {0x03, 0x48, 0xFF},
    {0x03, 0x49, 0x01},
    {0x00, 0x48, 0xFF},
    {0x00, 0x49, 0x01},
    {0x05, 0x48, 0x77},
    {0x06, 0x48, 0xFF},
    {0x09, 0x48, 0xFF},
    {0x12, 0x48, 0xFF},
    {0x12, 0x49, 0x01},
    {0x14, 0x48, 0xFF},
    {0x14, 0x49, 0x01},
    {0x11, 0x48, 0xFF},
    {0x11, 0x49, 0x07},
    {0x71, 0x48, 0xFD},
    {0x71, 0x49, 0x0C},
    {0x22, 0x48, 0x77},
    {0x22, 0x49, 0x01},
    {0x24, 0x48, 0xFF},
    {0x27, 0x48, 0xFF},
    {0x1D, 0x48, 0xFF},
    {0x1D, 0x49, 0x01},
    {0x2E, 0x48, 0x1E},
    {0x2E, 0x49, 0x01},
    {0x33, 0x48, 0x1E},
    {0x33, 0x49, 0x01},
    {0x35, 0x48, 0xFE},
    {0x35, 0x49, 0x01},
    {0x99, 0x48, 0x17},
    {0x99, 0x49, 0x01},
    {0x95, 0x48, 0x17},
    {0x95, 0x49, 0x01},
}};

// Per row: its fault was reported and has not read normal since. The status is polled from one
// monitoring task; the atomics only keep a second caller race-free.
std::array<std::atomic<uint8_t>, kClockStatusTbl.size()> g_clock_reported{};

}  // namespace

uint32_t BSP_GetClockStatus(void)
{
    uint8_t board_id = 0;
    const uint32_t rc = BSP_GetBmcBoardId(&board_id);
    if (rc != kOk) {
        // Not knowing the board is no clock fault: the caller would raise a false alarm.
        BSP_LOG(kLogError, "Get BMC board id failed(%d)", static_cast<int32_t>(rc));
        return 0;
    }
    uint32_t abnormal = 0;
    // A register that cannot be read keeps the previous row's masked byte.
    uint8_t value = 0;
    for (size_t i = 0; i < kClockStatusTbl.size(); ++i) {
        const ClockStatusRow &row = kClockStatusTbl[i];
        if (row.boardId != board_id) continue;
        (void)BSP_ReadCpldBytes(row.reg, 1, &value);
        value = static_cast<uint8_t>(value & row.mask);
        if (value == row.mask) {
            g_clock_reported[i].store(0, std::memory_order_relaxed);
            continue;
        }
        abnormal = 1;
        if (g_clock_reported[i].exchange(1, std::memory_order_relaxed) == 0) {
            BSP_LOG(kLogNotice, "Clock status check, cpld addr (0x%02x) value(%d)", row.reg, value);
        }
    }
    return abnormal;
}
