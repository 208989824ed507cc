// Power: the supplies and the backup battery as the CPLD reports them, and the power of this
// controller board itself (PS_ON, standby, rails, front power, the soft power button).
#include <array>
#include <atomic>
#include <cstdint>

#include "bmc_bsp.h"
#include "core/cpld_regs.h"
#include "core/log.h"
#include "core/status.h"

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

}  // extern "C"
