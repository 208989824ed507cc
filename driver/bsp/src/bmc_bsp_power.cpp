// Power: the supplies and the backup battery as the CPLD reports them, and the power of this
// controller board itself (PS_ON, standby, rails, front power, the soft power button).
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "bmc_bsp.h"
#include "core/boards.h"
#include "core/cpld_regs.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/vos.h"

namespace {

// ------------------------------------------------------------------ supplies and battery

using bsp::kErr;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kOk;

// The CPLD reports each supply's presence, alarm and power-ok as a 4-bit code. Only these two
// codes are real readings; anything else is a glitch of the bus or of the CPLD.
constexpr uint8_t kCodeAsserted = 9;
constexpr uint8_t kCodeOther = 6;

constexpr uint8_t kMaxPsus = 4;
constexpr uint8_t kPsusOf4U4C = 4;
constexpr uint8_t kPsusOtherwise = 2;

// Bit n: supply n is on.
constexpr uint32_t kPsuOnReg = 0xD3;
// Low nibble: the battery's presence code.
constexpr uint32_t kBbuPresenceReg = 0xF2;
// Low nibble: the battery's presence code; bit 4: the battery is healthy.
constexpr uint32_t kBbuStatusReg = 0xF3;
constexpr uint8_t kNibbleMask = 0x0F;
constexpr uint8_t kBbuHealthyBit = 0x10;

// What BSP_CheckBBUStatus answers.
constexpr uint32_t kBbuHealthy = 0;
constexpr uint32_t kBbuUnhealthy = 2;
constexpr uint32_t kBbuAbsent = 3;

// Which byte of a register pair and which nibble of it holds a supply's code.
struct NibbleSlot {
    uint8_t psu;
    bool second;  // the higher register of the pair
    uint8_t shift;
};

constexpr std::array<NibbleSlot, 4> kNibbleSlots = {{
    {0, false, 0},
    {1, false, 4},
    {2, true, 0},
    {3, true, 4},
}};

// The last good state each query saw, per supply, for the life of the process. The queries are
// polled from one monitoring task per process; the atomics only keep a second caller race-free.
using LastStates = std::array<std::atomic<uint8_t>, kMaxPsus>;
LastStates g_last_present = {0, 0, 0, 0};
LastStates g_last_alarm = {0, 0, 0, 0};
LastStates g_last_ok = {1, 1, 1, 1};
LastStates g_last_on = {1, 1, 1, 1};
std::atomic<uint8_t> g_last_bbu_present{0};
std::atomic<uint8_t> g_last_bbu_status{0};

// The shape the presence, alarm and power-ok queries share, and what differs between them.
struct NibbleQuery {
    uint32_t first_reg;       // the lower register of the pair; the higher one follows it
    uint8_t state_of_asserted;  // the state code 9 stands for (code 6 stands for the other)
    int32_t invalid_level;
    const char *invalid_text;  // supply, code, last state
    // supply, old, new state; then the higher register and its byte, the lower and its byte
    // (only the power-ok text prints them: the higher register deliberately first)
    const char *change_text;
    bool flush_before_store;
    bool factory_frame_rule;  // supplies other than 0 read absent on a factory test frame
    LastStates *last;
};

constexpr NibbleQuery kPresentQuery = {
    0xD6, 1, kLogNotice,
    "Power%d present state invalid, pstVal = 0x%x, return last power present state:%d.",
    "Power%d present state change from %d to %d.", true, true, &g_last_present};
constexpr NibbleQuery kAlarmQuery = {
    0xD8, 0, kLogError,
    "Power%d alarm state invalid, alarmVal = 0x%x, return last power alarm state:%d.",
    "Power%d alarm state change from %d to %d.", false, false, &g_last_alarm};
constexpr NibbleQuery kOkQuery = {
    0xDA, 1, kLogError,
    "Power%d ok state invalid, psVal = 0x%x, return last power ok state:%d.",
    "Power%d ok state change from %d to %d, reg(0x%x) val(0x%x), reg(0x%x) val(0x%x)", false, false, &g_last_ok};

// A manufacturing build in a factory test frame reports only the first supply; the frame's
// other supply places are not wired. Lite boards are wired as in the field.
bool only_first_supply_wired()
{
    return BSP_IsManuVersion() && BSP_isEquipFrameBoard() && !BSP_IsLiteBoard();
}

// Logs a change of a good state against the last one, keeps it and flushes the logs to flash,
// in the order the query asks for, so that power events survive a later loss of power.
void note_change(const NibbleQuery &q, uint8_t psu, uint8_t state, uint8_t first, uint8_t second)
{
    std::atomic<uint8_t> &last = (*q.last)[psu];
    const uint8_t old = last.load(std::memory_order_relaxed);
    if (state == old) return;
    BSP_LOG(kLogNotice, q.change_text, psu, old, state, q.first_reg + 1, second, q.first_reg, first);
    if (q.flush_before_store) BSP_SyncLog2Flash();
    last.store(state, std::memory_order_relaxed);
    if (!q.flush_before_store) BSP_SyncLog2Flash();
}

uint32_t query_nibble(const NibbleQuery &q, uint8_t psu, uint8_t *state)
{
    if (state == nullptr) return kErr;
    if (psu >= BSP_GetPowerNum()) {
        *state = 0;
        return kErr;
    }
    // A byte that cannot be read stays 0, which holds no valid code: it reads as a glitch.
    uint8_t first = 0;
    uint8_t second = 0;
    (void)BSP_ReadCpldBytes(q.first_reg, 1, &first);
    (void)BSP_ReadCpldBytes(q.first_reg + 1, 1, &second);
    // A supply place a factory test frame does not wire reads absent, code or no code.
    uint8_t now = 0;
    if (!(q.factory_frame_rule && psu != 0 && only_first_supply_wired())) {
        const uint8_t code = BSP_GetPowerRegBits(psu, first, second);
        if (code != kCodeAsserted && code != kCodeOther) {
            // The last good state stands in, so a caller that ignores the status still sees a
            // plausible value; the cache keeps it.
            const uint8_t last = (*q.last)[psu].load(std::memory_order_relaxed);
            BSP_LOG(q.invalid_level, q.invalid_text, psu, code, last);
            *state = last;
            return kErr;
        }
        now = code == kCodeAsserted ? q.state_of_asserted : static_cast<uint8_t>(q.state_of_asserted ^ 1);
    }
    *state = now;
    note_change(q, psu, now, first, second);
    return kOk;
}

// Which controller boards a supply feeds on a 4U four-controller enclosure: each pair of
// supplies feeds one side of the enclosure.
struct SupplyFeed {
    uint8_t psu;
    uint8_t boards[2];
};

constexpr std::array<SupplyFeed, 4> kSupplyFeeds = {{
    {0, {0, 2}},
    {1, {0, 2}},
    {2, {1, 3}},
    {3, {1, 3}},
}};

// Board types whose supplies are not this board's to report.
constexpr std::array<uint32_t, 4> kNoPsuBoardTypes = {12, 15, 129, 130};

// Offsets of the power firmware image header.
constexpr uint32_t kFwHeaderLen = 64;
constexpr uint32_t kFwHeaderCrcAt = 20;
constexpr uint32_t kFwHeaderCrcFrom = 28;
constexpr uint32_t kFwPayloadCrcAt = 32;

uint32_t big_endian_word(const uint8_t *p)
{
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | uint32_t{p[3]};
}

// The CRC-32 of the image from `from` to its end matches the word stored at `at`.
bool fw_crc_matches(const uint8_t *image, uint32_t length, uint32_t from, uint32_t at)
{
    return BSP_CalcCrc32(image + from, length - from, 0, 1, 1) == big_endian_word(image + at);
}

// ------------------------------------------------------------------------- board power

using bsp::kErr;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kLogTrace;
using bsp::kOk;

struct RegBit {
    uint32_t reg;
    uint8_t bit;
};

constexpr RegBit kStandby = {0x47, 4};
// Standby of controller boards 0..3 as this board's CPLD sees them.
constexpr std::array<RegBit, 4> kPeerStandby = {{{0xF9, 3}, {0xF9, 7}, {0xFA, 3}, {0xFA, 7}}};
constexpr uint8_t kCtrlBoards4U = 4;
constexpr uint8_t kCtrlBoards2U = 2;

constexpr uint32_t kPsOnReg = 0x1B1;
constexpr uint8_t kPsOnMask = 0x0F;
constexpr uint32_t kPsOnCheckReg = 0x3E;

constexpr RegBit kAcIntReset = {0x1A0, 0};
constexpr RegBit kAcIntGuard = {0x1A1, 0};  // 1 lets 0x1A0 be written

constexpr RegBit kPwrRegState = {0xC2, 2};
constexpr RegBit kPwrRegClear = {0xC4, 2};
constexpr RegBit kAcOff = {0xC8, 0};
constexpr uint64_t kPwrRegSettleUs = 100;
constexpr uint64_t kAcOffHoldUs = 200000;

constexpr uint32_t kFrontPowerReg = 0x3D;
constexpr uint32_t kFrontPowerSettleMs = 1000;

constexpr RegBit kLed = {0x5F, 0};
constexpr uint32_t kButtonReg = 0xE7;
constexpr uint32_t kButtonGuardReg = 0xE8;  // bit n at 0 lets bit n of the button be written

constexpr uint32_t kPwrDownFlagReg = 0x42;
constexpr uint8_t kPwrDownFlagBit = 7;
constexpr std::array<uint32_t, 4> kPwrDownRecordRegs = {0x3F, 0x40, 0x41, 0x77};

constexpr uint16_t kExpPowerRamAddr = 0xD919;
constexpr uint8_t kExpBoardsMax = 3;
constexpr uint8_t kExpPowerOn = 1;
constexpr uint8_t kExpPowerOff = 18;

constexpr uint32_t kSysUpReg = 0x1B0;
constexpr uint8_t kMaxBit = 7;

// One row of the rail power-good table: the register of some rails of a board, the bits that
// must all read 1 once it is powered, those that must all read 0 once it is off, and whether
// a failing row counts (level 2) or is only logged (level 1).
struct RailRow {
    uint8_t boardId;
    uint8_t reserved0[3];
    uint32_t addr;
    uint8_t onMask;
    uint8_t offMask;
    uint8_t level;
    uint8_t reserved1;
};
static_assert(sizeof(RailRow) == 12);

constexpr uint8_t kRailAlarm = 2;

constexpr RailRow rail(uint8_t id, uint32_t addr, uint8_t on, uint8_t off, uint8_t level)
{
    return RailRow{id, {}, addr, on, off, level, {}};
}

// clang-format off
constexpr std::array<RailRow, 157> kRailRows = {
    rail(0x0A, 0x37, 0xAA, 0xAA, 2), rail(0x0A, 0x37, 0x55, 0x55, 1), rail(0x0A, 0x38, 0xAA, 0xAA, 2),
    rail(0x0A, 0x38, 0x55, 0x55, 1), rail(0x0A, 0x39, 0xFF, 0xFF, 1), rail(0x0A, 0x3A, 0xFF, 0xFF, 1),
    rail(0x0A, 0x3B, 0xFF, 0xFF, 1), rail(0x0A, 0x3C, 0x9F, 0x9F, 2), rail(0x0A, 0x3E, 0xFF, 0xFF, 2),

    rail(0x71, 0x37, 0x0F, 0x0F, 2), rail(0x71, 0x37, 0xF0, 0xF0, 1), rail(0x71, 0x38, 0x0F, 0x0F, 2),
    rail(0x71, 0x38, 0xF0, 0xF0, 1), rail(0x71, 0x39, 0xFF, 0xFF, 1), rail(0x71, 0x3A, 0x02, 0x02, 2),
    rail(0x71, 0x3A, 0x7D, 0x7D, 1), rail(0x71, 0x3C, 0xFF, 0xFF, 2), rail(0x71, 0x3E, 0x08, 0x08, 2),

    rail(0x03, 0x37, 0xAA, 0xAA, 2), rail(0x03, 0x37, 0x55, 0x55, 1), rail(0x03, 0x38, 0x0A, 0x0A, 2),
    rail(0x03, 0x38, 0x05, 0x05, 1), rail(0x03, 0x39, 0x3F, 0x3F, 2), rail(0x03, 0x3A, 0xFF, 0xFF, 1),
    rail(0x03, 0x3B, 0x0F, 0x0F, 1), rail(0x03, 0x3C, 0x81, 0x81, 2), rail(0x03, 0x3E, 0x0F, 0x0F, 2),

    rail(0x00, 0x37, 0xAA, 0xAA, 2), rail(0x00, 0x37, 0x55, 0x55, 1), rail(0x00, 0x38, 0x0A, 0x0A, 2),
    rail(0x00, 0x38, 0x05, 0x05, 1), rail(0x00, 0x39, 0x3F, 0x3F, 2), rail(0x00, 0x3A, 0xFF, 0xFF, 1),
    rail(0x00, 0x3B, 0x0F, 0x0F, 1), rail(0x00, 0x3C, 0x81, 0x81, 2), rail(0x00, 0x3E, 0x0F, 0x0F, 2),

    rail(0x05, 0x37, 0x0A, 0x0A, 2), rail(0x05, 0x37, 0x05, 0x05, 1), rail(0x05, 0x39, 0x03, 0x03, 2),
    rail(0x05, 0x3A, 0x40, 0x40, 2), rail(0x05, 0x3A, 0x3F, 0x3F, 1), rail(0x05, 0x3C, 0x83, 0x83, 2),
    rail(0x05, 0x3E, 0x03, 0x03, 2),

    rail(0x06, 0x37, 0x0A, 0x0A, 2), rail(0x06, 0x37, 0x05, 0x05, 1), rail(0x06, 0x39, 0x03, 0x03, 2),
    rail(0x06, 0x3A, 0x40, 0x40, 2), rail(0x06, 0x3A, 0x3F, 0x3F, 1), rail(0x06, 0x3C, 0x83, 0x83, 2),
    rail(0x06, 0x3E, 0x03, 0x03, 2),

    rail(0x09, 0x37, 0x0A, 0x0A, 2), rail(0x09, 0x37, 0x05, 0x05, 1), rail(0x09, 0x39, 0x03, 0x03, 2),
    rail(0x09, 0x3A, 0x40, 0x40, 2), rail(0x09, 0x3A, 0x3F, 0x3F, 1), rail(0x09, 0x3C, 0x83, 0x83, 2),
    rail(0x09, 0x3E, 0x03, 0x03, 2),

    rail(0x12, 0x37, 0x0F, 0x0F, 2), rail(0x12, 0x37, 0x30, 0x30, 1), rail(0x12, 0x38, 0x13, 0x13, 1),
    rail(0x12, 0x39, 0x0F, 0x0F, 1), rail(0x12, 0x3A, 0x02, 0x02, 2), rail(0x12, 0x3A, 0x01, 0x01, 1),
    rail(0x12, 0x3B, 0x7F, 0x7F, 1), rail(0x12, 0x3E, 0x10, 0x10, 2), rail(0x12, 0x3E, 0x01, 0x01, 1),

    rail(0x14, 0x37, 0x0F, 0x0F, 2), rail(0x14, 0x37, 0x30, 0x30, 1), rail(0x14, 0x38, 0x13, 0x13, 1),
    rail(0x14, 0x39, 0x0F, 0x0F, 1), rail(0x14, 0x3A, 0x02, 0x02, 2), rail(0x14, 0x3A, 0x01, 0x01, 1),
    rail(0x14, 0x3B, 0x7F, 0x7F, 1), rail(0x14, 0x3E, 0x10, 0x10, 2), rail(0x14, 0x3E, 0x01, 0x01, 1),

    rail(0x11, 0x37, 0x0F, 0x0F, 2), rail(0x11, 0x37, 0xF0, 0xF0, 1), rail(0x11, 0x38, 0x3F, 0x3F, 1),
    rail(0x11, 0x39, 0xFF, 0xFF, 1), rail(0x11, 0x3A, 0x3F, 0x3F, 2), rail(0x11, 0x3C, 0xFF, 0xFF, 2),
    rail(0x11, 0x3E, 0xF8, 0xF8, 2),

    rail(0x22, 0x37, 0x05, 0x05, 2), rail(0x22, 0x37, 0x30, 0x30, 1), rail(0x22, 0x38, 0x13, 0x13, 1),
    rail(0x22, 0x39, 0x02, 0x02, 2), rail(0x22, 0x39, 0x0D, 0x0D, 1), rail(0x22, 0x3A, 0x02, 0x02, 2),
    rail(0x22, 0x3A, 0x01, 0x01, 1), rail(0x22, 0x3B, 0x07, 0x07, 1), rail(0x22, 0x3E, 0x8B, 0x8B, 2),

    rail(0x24, 0x37, 0x05, 0x05, 2), rail(0x24, 0x37, 0x30, 0x30, 1), rail(0x24, 0x38, 0x13, 0x13, 1),
    rail(0x24, 0x39, 0x02, 0x02, 2), rail(0x24, 0x39, 0x0D, 0x0D, 1), rail(0x24, 0x3A, 0x02, 0x02, 2),
    rail(0x24, 0x3A, 0x01, 0x01, 1), rail(0x24, 0x3B, 0x07, 0x07, 1), rail(0x24, 0x3E, 0x8B, 0x8B, 2),

    rail(0x27, 0x37, 0x05, 0x05, 2), rail(0x27, 0x37, 0x30, 0x30, 1), rail(0x27, 0x38, 0x13, 0x13, 1),
    rail(0x27, 0x39, 0x02, 0x02, 2), rail(0x27, 0x39, 0x0D, 0x0D, 1), rail(0x27, 0x3A, 0x02, 0x02, 2),
    rail(0x27, 0x3A, 0x01, 0x01, 1), rail(0x27, 0x3B, 0x07, 0x07, 1), rail(0x27, 0x3E, 0x8B, 0x8B, 2),

    rail(0x1D, 0x37, 0x05, 0x05, 2), rail(0x1D, 0x37, 0x30, 0x30, 1), rail(0x1D, 0x38, 0x13, 0x13, 1),
    rail(0x1D, 0x39, 0x02, 0x02, 2), rail(0x1D, 0x39, 0x0D, 0x0D, 1), rail(0x1D, 0x3A, 0x02, 0x02, 2),
    rail(0x1D, 0x3A, 0x01, 0x01, 1), rail(0x1D, 0x3B, 0x07, 0x07, 1), rail(0x1D, 0x3E, 0x9B, 0x9B, 2),

    rail(0x2E, 0x37, 0x33, 0x33, 2), rail(0x2E, 0x38, 0x03, 0x03, 2), rail(0x2E, 0x39, 0x55, 0x55, 2),
    rail(0x2E, 0x3A, 0x01, 0x01, 2), rail(0x2E, 0x3B, 0xF7, 0xF7, 2), rail(0x2E, 0x79, 0x1F, 0x1C, 2),
    rail(0x2E, 0x79, 0x1F, 0x03, 1),

    rail(0x33, 0x37, 0xFF, 0xFF, 2), rail(0x33, 0x38, 0x0F, 0x0F, 2), rail(0x33, 0x39, 0xFF, 0xFF, 2),
    rail(0x33, 0x3A, 0x03, 0x03, 2), rail(0x33, 0x3B, 0xF7, 0xF7, 2), rail(0x33, 0x79, 0x1F, 0x1C, 2),
    rail(0x33, 0x79, 0x1F, 0x03, 1),

    rail(0x35, 0x37, 0xFF, 0xFF, 2), rail(0x35, 0x38, 0x0F, 0x0F, 2), rail(0x35, 0x39, 0xFF, 0xFF, 2),
    rail(0x35, 0x3A, 0x03, 0x03, 2), rail(0x35, 0x3B, 0xFF, 0xFF, 2), rail(0x35, 0x79, 0x03, 0x03, 1),

    rail(0x99, 0x37, 0x01, 0x01, 2), rail(0x99, 0x37, 0x10, 0x10, 1), rail(0x99, 0x38, 0x11, 0x11, 1),
    rail(0x99, 0x39, 0x02, 0x02, 2), rail(0x99, 0x39, 0x0D, 0x0D, 1), rail(0x99, 0x3A, 0x02, 0x02, 2),
    rail(0x99, 0x3A, 0x01, 0x01, 1), rail(0x99, 0x3B, 0x07, 0x07, 1), rail(0x99, 0x3E, 0xE3, 0xE3, 2),
    rail(0x99, 0x3E, 0x0C, 0x0C, 1),

    rail(0x95, 0x37, 0x01, 0x01, 2), rail(0x95, 0x37, 0x10, 0x10, 1), rail(0x95, 0x38, 0x11, 0x11, 1),
    rail(0x95, 0x39, 0x02, 0x02, 2), rail(0x95, 0x39, 0x0D, 0x0D, 1), rail(0x95, 0x3A, 0x02, 0x02, 2),
    rail(0x95, 0x3A, 0x01, 0x01, 1), rail(0x95, 0x3E, 0xE3, 0xE3, 2), rail(0x95, 0x3E, 0x0C, 0x0C, 1),
};
// clang-format on

// One latch per row of the table (by position), so each failing row is logged once until it
// reads clean again; the power-on and the power-off check keep their own.
using RailLatches = std::array<std::atomic<uint8_t>, kRailRows.size()>;
RailLatches g_power_on_latch{};
RailLatches g_power_off_latch{};

// The walk both checks share: every row of this board, in table order. A failing row makes the
// result 1 when it counts, and is reported once per episode; a clean row re-arms its latch.
template <typename Failing, typename Report>
uint32_t check_rails(uint8_t board_id, RailLatches &latches, Failing failing, Report report)
{
    uint32_t result = 0;
    for (size_t i = 0; i < kRailRows.size(); ++i) {
        const RailRow &row = kRailRows[i];
        if (row.boardId != board_id) continue;
        // A register that cannot be read counts as all 0.
        uint8_t byte = 0;
        (void)BSP_ReadCpldBytes(row.addr, 1, &byte);
        if (!failing(row, byte)) {
            latches[i].store(0, std::memory_order_relaxed);
            continue;
        }
        if (row.level == kRailAlarm) result = 1;
        if (latches[i].exchange(1, std::memory_order_relaxed) == 0) report(row, byte);
    }
    return result;
}

// clang-format off
constexpr std::array<FrontPowerCheckRow, 17> kFrontPowerRows = {{
    {0x0A, {}, 0x3D, 0x01, 0x01, 0x41, 0x01, 0x1C, 2, {}},
    {0x03, {}, 0x3D, 0x20, 0x20, 0x60, 0x20, 0x1E, 2, {}},
    {0x00, {}, 0x3D, 0x20, 0x20, 0x60, 0x20, 0x1E, 2, {}},
    {0x05, {}, 0x3D, 0x01, 0x01, 0x41, 0x01, 0x1E, 2, {}},
    {0x06, {}, 0x3D, 0x01, 0x01, 0x41, 0x01, 0x1E, 2, {}},
    {0x09, {}, 0x3D, 0x01, 0x01, 0x41, 0x01, 0x1E, 2, {}},
    {0x11, {}, 0x3D, 0x83, 0x83, 0xC3, 0x83, 0x1C, 2, {}},
    {0x71, {}, 0x3D, 0x83, 0x83, 0xC3, 0x83, 0x1C, 2, {}},
    {0x71, {}, 0x15D, 0xC0, 0xC0, 0xC0, 0xC0, 0x00, 1, {}},
    {0x12, {}, 0x3D, 0x21, 0x21, 0x61, 0x21, 0x1E, 2, {}},
    {0x14, {}, 0x3D, 0x21, 0x21, 0x61, 0x21, 0x1E, 2, {}},
    {0x22, {}, 0x3D, 0x01, 0x01, 0x41, 0x01, 0x1E, 2, {}},
    {0x24, {}, 0x3D, 0x01, 0x01, 0x41, 0x01, 0x1E, 2, {}},
    {0x27, {}, 0x3D, 0x01, 0x01, 0x41, 0x01, 0x1E, 2, {}},
    {0x1D, {}, 0x3D, 0x01, 0x01, 0x41, 0x01, 0x1E, 2, {}},
    {0x99, {}, 0x3D, 0x02, 0x02, 0x42, 0x02, 0x1C, 2, {}},
    {0x95, {}, 0x3D, 0x02, 0x02, 0x42, 0x02, 0x1C, 2, {}},
}};
// clang-format on
static_assert(sizeof(FrontPowerCheckRow) == 16);
static_assert(offsetof(FrontPowerCheckRow, addr) == 4 && offsetof(FrontPowerCheckRow, mode1Mask) == 8 &&
              offsetof(FrontPowerCheckRow, mode1Value) == 9 && offsetof(FrontPowerCheckRow, mode0Mask) == 10 &&
              offsetof(FrontPowerCheckRow, mode0Value) == 11 && offsetof(FrontPowerCheckRow, gateMask) == 12 &&
              offsetof(FrontPowerCheckRow, strategy) == 13);

constexpr uint8_t kFrontPowerCounts = 2;

// x86 front power byte: bit 7 and bit 5 must be up, bit 6 must be down in mode 0, and the
// rails of bits 0-4 must all be good.
constexpr uint8_t kX86PowerUpBits = 0xA0;
constexpr uint8_t kX86Mode0DownBit = 0x40;
constexpr uint8_t kX86RailBits = 0x1F;

std::atomic<uint8_t> g_x86_front_latch{0};

// The Arm check's latches, one per front power row: built by the first check, never freed.
std::atomic<uint8_t> *arm_front_latches()
{
    static std::atomic<uint8_t> *const latches = new std::atomic<uint8_t>[kFrontPowerRows.size()]{};
    return latches;
}

// Logged at most once until the front power reads healthy again.
void report_x86_front(uint8_t value, uint32_t health)
{
    if (g_x86_front_latch.exchange(1, std::memory_order_relaxed) == 0) {
        BSP_LOG(kLogNotice, "Front power check abnormal, cpld.0x%02x=0x%x, cpldstatus=%d.", kFrontPowerReg, value,
                static_cast<int32_t>(health));
    }
}

// An abnormal front power is only believed once the CPLD reporting it has had a second to
// settle and still reports itself healthy.
uint32_t settled_cpld_health()
{
    vos_task_delay(kFrontPowerSettleMs);
    return BSP_CpldBorCIsHealth();
}

// What each press of the soft power button does: the button bit pulsed low for the width, the
// line logged first, and the power LED afterwards.
constexpr int8_t kLedUnchanged = -1;

struct ButtonAction {
    uint8_t action;
    const char *text;
    uint8_t bit;
    uint32_t pulse_ms;
    int8_t led;
    const char *press_fail;  // the press's failure line; the release always logs the full stop
};

constexpr const char *kButtonWriteFailed = "BSP_WriteCpldBit failed.";

constexpr std::array<ButtonAction, 3> kButtonActions = {{
    {0, "Write CPLD power on system", 0, 5, 1, kButtonWriteFailed},
    {2, "Write CPLD force  power off system", 1, 10, 0, kButtonWriteFailed},
    {3, "Write CPLD power off system", 2, 10, kLedUnchanged, "BSP_WriteCpldBit failed"},
}};

const ButtonAction *button_action(uint8_t action)
{
    for (const ButtonAction &a : kButtonActions) {
        if (a.action == action) return &a;
    }
    return nullptr;
}


}  // namespace

extern "C" {

// ------------------------------------------------------------------ supplies and battery

uint8_t BSP_GetPowerNum(void) { return BSP_Is4U4CBoard() ? kPsusOf4U4C : kPsusOtherwise; }

uint8_t BSP_GetPowerRegBits(uint8_t psu, uint8_t first, uint8_t second)
{
    for (const NibbleSlot &slot : kNibbleSlots) {
        if (slot.psu == psu) return static_cast<uint8_t>(((slot.second ? second : first) >> slot.shift) & kNibbleMask);
    }
    return 0;
}

uint32_t BSP_GetPowerPresent(uint8_t psu, uint8_t *state) { return query_nibble(kPresentQuery, psu, state); }

uint32_t BSP_GetPowerAlarmState(uint8_t psu, uint8_t *state) { return query_nibble(kAlarmQuery, psu, state); }

uint32_t BSP_GetPowerOkState(uint8_t psu, uint8_t *state) { return query_nibble(kOkQuery, psu, state); }

uint32_t BSP_GetPowerOnState(uint8_t psu, uint8_t *state)
{
    if (state == nullptr) return kErr;
    if (psu >= BSP_GetPowerNum()) {
        *state = 0;
        return kErr;
    }
    // The on bits carry no code to check: a failed read reads as every supply off.
    uint8_t bits = 0;
    (void)BSP_ReadCpldBytes(kPsuOnReg, 1, &bits);
    const uint8_t now = (bits >> psu) & 1;
    *state = now;
    const uint8_t old = g_last_on[psu].load(std::memory_order_relaxed);
    if (now != old) {
        BSP_LOG(kLogNotice, "Power%d onoff state change from %d to %d.", psu, old, now);
        g_last_on[psu].store(now, std::memory_order_relaxed);
        BSP_SyncLog2Flash();
    }
    return kOk;
}

uint32_t BSP_IsPowerPresent(uint8_t psu)
{
    uint8_t present = 0;
    return BSP_GetPowerPresent(psu, &present) == kOk && present == 1 ? 1 : 0;
}

uint32_t BSP_GetPowerOnlineStates(uint8_t psu, uint8_t *state)
{
    if (state == nullptr) return kErr;
    uint32_t board_type = 0;
    if (BSP_GetBmcBoardType(&board_type) != kOk) return kErr;
    for (uint32_t refused : kNoPsuBoardTypes) {
        if (board_type == refused) return kErr;
    }
    return BSP_GetPowerPresent(psu, state);
}

uint32_t BSP_IsPowerSupply12V(uint8_t psu)
{
    uint8_t ok = 0;
    if (BSP_GetPowerOkState(psu, &ok) != kOk || ok != 1) return 0;
    uint8_t on = 0;
    return BSP_GetPowerOnState(psu, &on) == kOk && on == 1 ? 1 : 0;
}

uint32_t BSP_IsPowerMatchBoard(uint8_t psu, uint8_t board)
{
    if (!BSP_Is4U4CBoard()) return 1;
    for (const SupplyFeed &feed : kSupplyFeeds) {
        if (feed.psu == psu) return feed.boards[0] == board || feed.boards[1] == board ? 1 : 0;
    }
    return 0;
}

uint32_t BSP_IsBoardOpenPower12VOK(uint8_t board)
{
    const uint8_t count = BSP_GetPowerNum();
    for (uint8_t psu = 0; psu < count; ++psu) {
        if (BSP_IsPowerSupply12V(psu) && BSP_IsPowerMatchBoard(psu, board)) return 1;
    }
    return 0;
}

uint32_t BSP_IgnoreAlarmForACDown(void)
{
    if (!BSP_Is4U4CBoard()) return 0;
    // Statuses are not looked at: a glitch answers the last good state, which is what counts.
    std::array<uint8_t, kMaxPsus> ok{};
    for (uint8_t psu = 0; psu < kMaxPsus; ++psu) (void)BSP_GetPowerOkState(psu, &ok[psu]);
    const bool side_b_down = ok[2] == 0 && ok[3] == 0;
    const bool side_a_down = ok[0] == 0 && ok[1] == 0;
    return side_b_down || side_a_down ? 1 : 0;
}

uint32_t BSP_GetBbuOnlineStates(uint8_t bbu, uint8_t *state)
{
    if (state == nullptr || bbu != 0 || BSP_IsSmmBoard() || BSP_Is2UExpBoard()) return kErr;
    return BSP_GetReliabilityCpldBbuOnline(0, state);
}

uint32_t BSP_GetReliabilityCpldBbuOnline(uint8_t bbu, uint8_t *state)
{
    if (state == nullptr) return kErr;
    if (bbu != 0) {
        *state = 0;
        return kErr;
    }
    // A failed read leaves 0xFF, whose nibble is no valid code.
    uint8_t byte = 0xFF;
    const uint32_t read_status = BSP_ReadCpldBytes(kBbuPresenceReg, 1, &byte);
    const uint8_t code = byte & kNibbleMask;
    uint32_t filter_status = kOk;
    if (code == kCodeAsserted) {
        g_last_bbu_present.store(1, std::memory_order_relaxed);
    } else if (code == kCodeOther) {
        g_last_bbu_present.store(0, std::memory_order_relaxed);
    } else {
        filter_status = kErr;
    }
    *state = g_last_bbu_present.load(std::memory_order_relaxed);
    // Both failures add up (a failed read of a glitching nibble gives 0xFFFFFFFE); callers
    // take any non-zero result as failure.
    return read_status + filter_status;
}

uint32_t BSP_CheckBBUStatus(uint8_t bbu)
{
    if (bbu != 0) return kBbuAbsent;
    uint8_t byte = 0;
    (void)BSP_ReadCpldBytes(kBbuStatusReg, 1, &byte);
    const uint8_t old = g_last_bbu_status.load(std::memory_order_relaxed);
    if (byte != old) {
        BSP_LOG(kLogNotice, "Bbu(%d) status(cpld) change from 0x%x to 0x%x.", 0, old, byte);
        g_last_bbu_status.store(byte, std::memory_order_relaxed);
    }
    if ((byte & kNibbleMask) != kCodeAsserted) return kBbuAbsent;
    return (byte & kBbuHealthyBit) != 0 ? kBbuHealthy : kBbuUnhealthy;
}

uint32_t GetPowerFwShift(const uint8_t *image, uint32_t length)
{
    if (image == nullptr || length < kFwHeaderLen) return 0;
    if (!fw_crc_matches(image, length, kFwHeaderLen, kFwPayloadCrcAt)) return 0;
    if (!fw_crc_matches(image, length, kFwHeaderCrcFrom, kFwHeaderCrcAt)) return 0;
    return kFwHeaderLen;
}

// ------------------------------------------------------------------------- board power

uint32_t BSP_GetPSONState(uint8_t *state)
{
    if (state == nullptr) return kErr;
    uint8_t byte = 0;
    if (BSP_ReadCpldBytes(kPsOnReg, 1, &byte) != kOk) {
        BSP_LOG(kLogError, "Read Cpld reg[0x%x] fail", kPsOnReg);
        return kErr;
    }
    *state = byte & kPsOnMask;
    return kOk;
}

uint32_t BSP_GetPowerStandByStatus(uint8_t *standby)
{
    if (standby == nullptr) return kErr;
    uint8_t bit = 0;
    if (BSP_ReadCpldBit(kStandby.reg, kStandby.bit, &bit) != kOk) {
        BSP_LOG(kLogError, "Read stdby from reg(0x%x=0x%x) fail", kStandby.reg, bit);
        return kErr;
    }
    *standby = bit == 1 ? 1 : 0;
    return kOk;
}

uint32_t BSP_GetOtherBoardPowerStandByStatus(uint8_t board, uint8_t *standby)
{
    if (standby == nullptr || board >= kPeerStandby.size()) return kErr;
    const RegBit &rb = kPeerStandby[board];
    uint8_t bit = 0;
    if (BSP_ReadCpldBit(rb.reg, rb.bit, &bit) != kOk) {
        BSP_LOG(kLogError, "Read stdby from reg(0x%x=0x%x) fail", rb.reg, bit);
        return kErr;
    }
    *standby = bit == 1 ? 1 : 0;
    return kOk;
}

uint32_t BSP_IsEnclStandby(void)
{
    const uint8_t count = BSP_Is4U4CBoard() ? kCtrlBoards4U : kCtrlBoards2U;
    for (uint8_t board = 0; board < count; ++board) {
        // A standby bit that cannot be read counts as "not in standby".
        uint8_t standby = 0;
        (void)BSP_GetOtherBoardPowerStandByStatus(board, &standby);
        if (BSP_IsCtrlBoardPresent(board) && standby == 0) return 0;
    }
    // Absent boards do not keep the enclosure up: with none present it counts as in standby.
    return 1;
}

uint32_t BSP_SimAcInt(void)
{
    uint32_t ret = BSP_WriteCpldBit(kAcIntGuard.reg, kAcIntGuard.bit, 1);
    if (ret != kOk) {
        BSP_LOG(kLogError, "Close write protection(0x%x) of system reset failed, ret(%d).", kAcIntGuard.reg,
                static_cast<int32_t>(ret));
        return kErr;
    }
    // The pulse goes out whole even when one edge fails: the protection must come back on.
    for (uint8_t level : {0, 1}) {
        ret = BSP_WriteCpldBit(kAcIntReset.reg, kAcIntReset.bit, level);
        if (ret != kOk) {
            BSP_LOG(kLogError, "Write cpld(0x%x) to reset os failed, ret(%d).", kAcIntReset.reg,
                    static_cast<int32_t>(ret));
        }
    }
    ret = BSP_WriteCpldBit(kAcIntGuard.reg, kAcIntGuard.bit, 0);
    if (ret != kOk) {
        BSP_LOG(kLogError, "Open write protection(0x%x) of system reset failed, ret(%d).", kAcIntGuard.reg,
                static_cast<int32_t>(ret));
    }
    // Logged whatever the edges did: whoever reads the log must see that a reset was asked for.
    BSP_LOG(kLogNotice, "Reset System by AC Int successfully!");
    return ret;
}

void BSP_GetPwrReg(uint8_t *state)
{
    if (state == nullptr) return;
    (void)BSP_ReadCpldBit(kPwrRegState.reg, kPwrRegState.bit, state);
    BSP_Delay1us(kPwrRegSettleUs);
    (void)BSP_WriteCpldBit(kPwrRegClear.reg, kPwrRegClear.bit, 1);
    BSP_Delay1us(kPwrRegSettleUs);
    (void)BSP_WriteCpldBit(kPwrRegClear.reg, kPwrRegClear.bit, 0);
}

uint32_t BSP_SetPwrReg(void) { return BSP_WriteCpldBit(kAcOff.reg, kAcOff.bit, 1); }

uint32_t BSP_ClearPwrReg(void) { return BSP_WriteCpldBit(kAcOff.reg, kAcOff.bit, 0); }

uint32_t BSP_SetAcOff(void)
{
    (void)BSP_WriteCpldBit(kAcOff.reg, kAcOff.bit, 1);
    BSP_Delay1us(kAcOffHoldUs);
    return BSP_WriteCpldBit(kAcOff.reg, kAcOff.bit, 0);
}

uint32_t BSP_IsAnyBoardPowerGood(void)
{
    uint8_t board_id = bsp::kUnknownBoardId;
    uint32_t ret = BSP_GetBmcBoardId(&board_id);
    if (ret != kOk) {
        BSP_LOG(kLogError, "Get BMC board id failed(%d)", static_cast<int32_t>(ret));
        return 255;
    }
    for (const RailRow &row : kRailRows) {
        if (row.boardId != board_id) continue;
        uint8_t byte = 0;
        (void)BSP_ReadCpldBytes(row.addr, 1, &byte);
        if ((byte & row.offMask) != 0) {
            BSP_LOG(kLogError, "BSP_IsAnyBoardPowerGood--cpld addr(0x%02x) val(0x%02x)\r\n", row.addr,
                    byte & row.offMask);
            return 1;
        }
    }
    return 0;
}

uint32_t BSP_CpuPowerOnCheck(void)
{
    uint8_t board_id = bsp::kUnknownBoardId;
    uint32_t ret = BSP_GetBmcBoardId(&board_id);
    if (ret != kOk) {
        BSP_LOG(kLogError, "Get BMC board id failed(%d)", static_cast<int32_t>(ret));
        return 0;
    }
    return check_rails(
        board_id, g_power_on_latch, [](const RailRow &row, uint8_t byte) { return (byte & row.onMask) != row.onMask; },
        [](const RailRow &row, uint8_t byte) {
            BSP_LOG(kLogNotice, "Behind power on check,cpld addr (0x%02x) value(%d)", row.addr, byte & row.onMask);
        });
}

uint32_t BSP_CpuPowerOffCheck(void)
{
    uint8_t board_id = bsp::kUnknownBoardId;
    uint32_t ret = BSP_GetBmcBoardId(&board_id);
    if (ret != kOk) {
        BSP_LOG(kLogError, "Get BMC board id fail(%d)", static_cast<int32_t>(ret));
        return 0;
    }
    return check_rails(
        board_id, g_power_off_latch, [](const RailRow &row, uint8_t byte) { return (byte & row.offMask) != 0; },
        [](const RailRow &row, uint8_t byte) {
            BSP_LOG(kLogNotice, "Behind power Off check,cpld addr(0x%02x) value(0x%x), AlarmEn=%d(1:LogOnly)",
                    row.addr, byte & row.offMask, row.level);
        });
}

uint32_t BSP_isFrontPowerAbnormal(const FrontPowerCheckRow *row, uint8_t value, uint8_t mode)
{
    if (row == nullptr) return 0;
    const uint8_t mask = mode != 0 ? row->mode1Mask : row->mode0Mask;
    const uint8_t expected = mode != 0 ? row->mode1Value : row->mode0Value;
    const uint32_t abnormal = (value & mask) != expected ? 1 : 0;
    if (row->gateMask == 0 || (value & row->gateMask) != 0) return abnormal;
    // None of the gating rails is up: the front power cannot be good, whatever the rest says.
    return 1;
}

uint32_t BSP_CheckFrontPowerForArm(uint8_t mode)
{
    std::atomic<uint8_t> *const latches = arm_front_latches();
    uint8_t board_id = bsp::kUnknownBoardId;
    uint32_t ret = BSP_GetBmcBoardId(&board_id);
    if (ret != kOk) {
        BSP_LOG(kLogError, "Check front power failed(Get board id failed,ret=%d)", static_cast<int32_t>(ret));
        return 0;
    }
    uint32_t result = 0;
    for (size_t i = 0; i < kFrontPowerRows.size(); ++i) {
        const FrontPowerCheckRow &row = kFrontPowerRows[i];
        if (row.boardId != board_id) continue;
        uint8_t value = 0;
        ret = BSP_ReadCpldBytes(row.addr, 1, &value);
        if (ret != kOk) {
            BSP_LOG(kLogError, "Check front power failed(read cpldreg=0x%x failed,ret=%d)", row.addr,
                    static_cast<int32_t>(ret));
            continue;
        }
        if (!BSP_isFrontPowerAbnormal(&row, value, mode)) {
            latches[i].store(0, std::memory_order_relaxed);
            continue;
        }
        const uint32_t health = settled_cpld_health();
        if (row.strategy == kFrontPowerCounts) result |= health;
        if (latches[i].exchange(1, std::memory_order_relaxed) == 0) {
            // The ret field has always printed 0; log readers match on it.
            BSP_LOG(kLogNotice,
                    "Front power check cpld addr(0x%02x) value(0x%02x), chipHealth(%d), strategy(%d), ret(%d).",
                    row.addr, value, static_cast<int32_t>(health), row.strategy, 0);
        }
    }
    return result;
}

uint32_t BSP_CheckFrontPowerForX86(uint8_t mode)
{
    uint8_t value = 0;
    if (BSP_ReadCpldBytes(kFrontPowerReg, 1, &value) != kOk) {
        BSP_LOG(kLogError, "Get cpld addr(0x%02x) value failed.", kFrontPowerReg);
        return 0;
    }
    uint32_t result = 0;
    uint32_t health = 1;
    if ((value & kX86PowerUpBits) != kX86PowerUpBits || (mode % 2 == 0 && (value & kX86Mode0DownBit) != 0)) {
        result = health = settled_cpld_health();
    } else if ((value & kX86RailBits) == kX86RailBits) {
        g_x86_front_latch.store(0, std::memory_order_relaxed);
        return 0;
    }
    // A rail of bits 0-4 down is logged but not reported: the host side may still be starting.
    report_x86_front(value, health);
    return result;
}

uint32_t BSP_FrontPowerCheck(uint8_t mode)
{
    return BSP_isX86Board() == 1 ? BSP_CheckFrontPowerForX86(mode) : BSP_CheckFrontPowerForArm(mode);
}

void BSP_CheckPsOn(uint8_t *value)
{
    if (value == nullptr) return;
    (void)BSP_ReadCpldBytes(kPsOnCheckReg, 1, value);
}

void BSP_BoardPowerLedCtrl(uint8_t on)
{
    if (on > 1) return;
    uint8_t lit = 0;
    uint32_t ret = BSP_ReadCpldBit(kLed.reg, kLed.bit, &lit);
    if (ret != kOk) {
        // The text names 0x95, the register of an older board; log readers match on it.
        BSP_LOG(kLogError, "Read cpld(0x95) bit0 faild(ret=%d).", static_cast<int32_t>(ret));
    }
    if (lit == on) return;
    ret = BSP_WriteCpldBit(kLed.reg, kLed.bit, on);
    BSP_OPLOG(kLogNotice, "%s board power led %s", on ? "Open" : "Close", ret == kOk ? "succeed" : "failed");
}

uint32_t BSP_SoftPowerButtonCtrl(uint8_t action)
{
    const ButtonAction *a = button_action(action);
    if (a == nullptr) return kErr;
    BSP_LOG(kLogNotice, "%s", a->text);
    // The button bit is writable only while its guard bit is 0; the guard goes back up
    // whatever the press did, so a failed step never leaves the button unprotected.
    (void)BSP_WriteCpldBit(kButtonGuardReg, a->bit, 0);
    if (BSP_WriteCpldBit(kButtonReg, a->bit, 0) != kOk) BSP_LOG(kLogError, "%s", a->press_fail);
    vos_task_delay(a->pulse_ms);
    if (BSP_WriteCpldBit(kButtonReg, a->bit, 1) != kOk) BSP_LOG(kLogError, "%s", kButtonWriteFailed);
    (void)BSP_WriteCpldBit(kButtonGuardReg, a->bit, 1);
    if (a->led != kLedUnchanged) BSP_BoardPowerLedCtrl(static_cast<uint8_t>(a->led));
    return kOk;
}

uint32_t BSP_IsPowerTransBoardSupport(void)
{
    uint8_t board_id = bsp::kUnknownBoardId;
    if (BSP_GetBmcBoardId(&board_id) != kOk) return 0;
    return bsp::is_in(bsp::kPowerTransIds, board_id) ? 1 : 0;
}

void BSP_CollectAbnormalPwrDownLog(void)
{
    // A CPLD that fails its self test would hand back a record that means nothing.
    if (BSP_CpldSelfTest() != kOk) return;
    uint8_t flag = 0;
    uint32_t ret = BSP_ReadCpldBytes(kPwrDownFlagReg, 1, &flag);
    if (ret != kOk) {
        BSP_LOG(kLogError, "Read register(0x%x) failed, ret(%d)", kPwrDownFlagReg, static_cast<int32_t>(ret));
        return;
    }
    if ((flag & (1u << kPwrDownFlagBit)) == 0) return;
    std::array<uint8_t, kPwrDownRecordRegs.size()> record{};
    for (size_t i = 0; i < record.size(); ++i) {
        ret = BSP_ReadCpldBytes(kPwrDownRecordRegs[i], 1, &record[i]);
        if (ret != kOk) {
            BSP_LOG(kLogError, "Read register(0x%x) failed, ret(%d)", kPwrDownRecordRegs[i], static_cast<int32_t>(ret));
            return;
        }
    }
    BSP_LOG(kLogError,
            "Detecting board pwr down abnormal Reg 0x3F(0x%x) Reg 0x40(0x%x) Reg 0x41(0x%x) Reg 0x42(0x%x) Reg "
            "0x77(0x%x)",
            record[0], record[1], record[2], flag, record[3]);
    (void)BSP_WriteCpldBit(kPwrDownFlagReg, kPwrDownFlagBit, 1);
    (void)BSP_WriteCpldBit(kPwrDownFlagReg, kPwrDownFlagBit, 0);
}

uint32_t BSP_SetExpBoardPowerState(uint8_t board, uint8_t state)
{
    if (board > kExpBoardsMax) return kErr;
    if (state != kExpPowerOn && state != kExpPowerOff) {
        BSP_LOG(kLogError, "Exp board(%d) set power state not find!", board);
        return kErr;
    }
    // The RAM reports its own failures; the state is the caller's to read back.
    (void)BSP_SetCpldRamBit(kExpPowerRamAddr, board, state == kExpPowerOn ? 1 : 0);
    return kOk;
}

uint32_t BSP_GetExpBoardPowerState(uint8_t board, uint8_t *state)
{
    if (state == nullptr || board > kExpBoardsMax) return kErr;
    uint8_t bit = 0;
    (void)BSP_GetCpldRamBit(kExpPowerRamAddr, board, &bit);
    *state = bit != 0 ? kExpPowerOn : kExpPowerOff;
    return kOk;
}

uint32_t BSP_IsExpFramePowerOff(void)
{
    if (!BSP_Is2UExpBoard()) return 0;
    uint8_t first = 0;
    uint8_t second = 0;
    (void)BSP_GetExpBoardPowerState(0, &first);
    (void)BSP_GetExpBoardPowerState(1, &second);
    return first != kExpPowerOn && second != kExpPowerOn ? 1 : 0;
}

uint32_t BSP_EnableBoardSysUp(uint8_t bit, uint8_t value)
{
    if (bit > kMaxBit || value > 1) {
        BSP_LOG(kLogNotice, "Input para out of range BitNum(%d), Value(%d)", bit, value);
        return kErr;
    }
    uint32_t ret = BSP_WriteCpldBit(kSysUpReg, bit, value);
    if (ret != kOk) BSP_LOG(kLogError, "Set cpld addr(0x%0x), BitNum(%d), value(%d) failed.", kSysUpReg, bit, value);
    return ret;
}

uint32_t BSP_IsPermitBoardSysUp(uint8_t bit)
{
    if (bit > kMaxBit) {
        // Deliberately permitted: a caller with a bad bit must not hold the board down.
        BSP_LOG(kLogNotice, "Input para out of range BitNum(%d)", bit);
        return 1;
    }
    uint8_t permitted = 0;
    if (BSP_ReadCpldBit(kSysUpReg, bit, &permitted) != kOk) {
        BSP_LOG(kLogError, "Get cpld addr(0x%0x) value(%d) failed.", kSysUpReg, permitted);
        return 0;
    }
    return permitted == 1 ? 1 : 0;
}

uint32_t BSP_EnableSysUpExtend(uint8_t bit, uint8_t value)
{
    if (!BSP_isX86Board()) return kOk;
    BSP_LOG(kLogTrace, "Operate sys power up reg.bit%d to %d.", bit, value);
    return BSP_EnableBoardSysUp(bit, value);
}

uint32_t BSP_IsPermitSysUpExtend(uint8_t bit) { return BSP_isX86Board() ? BSP_IsPermitBoardSysUp(bit) : 0; }


}  // extern "C"
