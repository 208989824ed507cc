// Board identity: the board id from /dev/sys_info, the board-type predicates, the board table
// that maps (board id, slot) to a board type, and the board-type GPIO pins; none of that
// touches the CPLD. At the end: presence and status of the boards of the enclosure, read
// from the CPLD and /dev/sys_info; the master/slave arbitration; and the cooling state, from
// the framework's fan objects.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

#include "bmc_bsp.h"
#include "core/boards.h"
#include "core/cache.h"
#include "core/cpld_regs.h"
#include "core/log.h"
#include "core/sem_guard.h"
#include "core/status.h"
#include "core/sysinfo.h"
#include "platform/dfl.h"
#include "platform/gpio.h"
#include "platform/securec.h"
#include "platform/vos.h"

namespace {

using bsp::is_in;
using bsp::kErr;
using bsp::kLogError;
using bsp::kLogTrace;
using bsp::kOk;
using bsp::kUnknownBoardId;

constexpr uint32_t kSmmBoardType = 0x20;

bsp::CachedValue<uint8_t, kUnknownBoardId> g_board_id;

struct BoardRow {
    uint8_t board_id;
    uint8_t slot;
    uint32_t board_type;
};

// (board id, slot) -> board type, slot by slot. SMM boards have the fixed type 0x20 and no rows.
constexpr std::array<BoardRow, 46> kBoardTable = {{
    {0x0A, 0, 0x00}, {0x0A, 1, 0x01}, {0x0A, 2, 0x02}, {0x0A, 3, 0x03},
    {0x00, 0, 0x30}, {0x00, 1, 0x31},
    {0x03, 0, 0x32}, {0x03, 1, 0x33},
    {0x05, 0, 0x34}, {0x05, 1, 0x35},
    {0x06, 0, 0x40}, {0x06, 1, 0x41},
    {0x09, 0, 0x42}, {0x09, 1, 0x43},
    {0x12, 0, 0x36}, {0x12, 1, 0x37},
    {0x14, 0, 0x38}, {0x14, 1, 0x39},
    {0x11, 0, 0x00}, {0x11, 1, 0x01}, {0x11, 2, 0x02}, {0x11, 3, 0x03},
    {0x71, 0, 0x00}, {0x71, 1, 0x01}, {0x71, 2, 0x02}, {0x71, 3, 0x03},
    {0x22, 0, 0x34}, {0x22, 1, 0x35},
    {0x24, 0, 0x40}, {0x24, 1, 0x41},
    {0x27, 0, 0x42}, {0x27, 1, 0x43},
    {0x1D, 0, 0x34}, {0x1D, 1, 0x35},
    {0x2E, 0, 0x36}, {0x2E, 1, 0x37},
    {0x33, 0, 0x36}, {0x33, 1, 0x37},
    {0x35, 0, 0x38}, {0x35, 1, 0x39},
    {0x2D, 0, 0x38}, {0x2D, 1, 0x39},
    {0x99, 0, 0x34}, {0x99, 1, 0x35},
    {0x95, 0, 0x34}, {0x95, 1, 0x35},
}};

constexpr BoardSet unasked_set(const std::array<uint8_t, BSP_BOARD_SET_SIZE> &values)
{
    BoardSet set{BSP_BOARD_SET_UNASKED, {}};
    std::copy(values.begin(), values.end(), set.values);
    return set;
}

// The sets of BSP_is2u2cCtrlBoard (board ids) and BSP_is2u2cCtrlBoardType (board types).
BoardSet g_2u2c_board_ids = unasked_set(bsp::k2U2CCtrlSetIds);
BoardSet g_2u2c_board_types =
    unasked_set({0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0xFF, 0xFF, 0xFF});

constexpr std::array<uint16_t, 6> kEquipFrameTypes = {0x10, 0x12, 0x0E, 0x09, 0x32, 0x28};

// SMM pins that all read 0 in a factory test frame.
constexpr std::array<uint32_t, 3> kSmmEquipPins = {42, 43, 44};
constexpr int kSmmEquipAttempts = 3;

constexpr uint32_t kPalmMicroOsBoardId = 0x122700;

// This board's id, or nothing while it cannot be read.
std::optional<uint8_t> read_board_id()
{
    uint8_t id = kUnknownBoardId;
    if (BSP_GetBmcBoardId(&id) != kOk) return std::nullopt;
    return id;
}

// The shape shared by the cached predicates: the cached answer, or, once the id can be read,
// whether it is one of `ids`. Until then the answer is 0 and the next call asks again.
template <size_t N>
uint32_t cached_id_predicate(bsp::CachedAnswer &cache, const std::array<uint8_t, N> &ids)
{
    return cache.get_or([&]() -> std::optional<bool> {
        std::optional<uint8_t> id = read_board_id();
        if (!id) return std::nullopt;
        return is_in(ids, *id);
    });
}

// Predicates that are not cached: 0 when the id cannot be read.
template <size_t N>
uint32_t id_predicate(const std::array<uint8_t, N> &ids)
{
    std::optional<uint8_t> id = read_board_id();
    return (id && is_in(ids, *id)) ? 1 : 0;
}

bsp::CachedAnswer g_smm, g_2u2c, g_middle, g_2uexp, g_2u, g_7460s, g_7460s_ctrl, g_58204u4c, g_58304u4c,
    g_58304u2p, g_sas, g_palm, g_palm_micro, g_lite, g_smm_equip_frame;

}  // namespace

extern "C" {

uint32_t BSP_GetBmcBoardId(uint8_t *boardId)
{
    uint32_t word = 0;
    if (int rc = memset_s(&word, sizeof word, 0, sizeof word); rc != 0) {
        BSP_LOG(kLogError, "Error: init sysinfo failed, result = %d.", rc);
    }
    if (boardId == nullptr) return kErr;
    if (g_board_id.known()) {
        *boardId = g_board_id.get();
        return kOk;
    }
    bsp::SysInfoResult r = bsp::sysinfo_query(bsp::kSysInfoBoardInfo, word);
    if (!r.opened) {
        BSP_LOG(kLogError, "Error: open sys_info dev fail");
        return kErr;
    }
    if (r.request_rc != 0) BSP_LOG(kLogError, "ioctrl sys_info dev fail(%d)", r.request_rc);
    // Cached before validation: a later call answers this id with status 0 even when it was
    // rejected or the request failed. Callers that must not trust it check the first status.
    auto id = static_cast<uint8_t>((word >> 4) & 0xFF);
    g_board_id.set(id);
    if (BSP_PrivCheck(0, id, 8) != 0) {
        *boardId = kUnknownBoardId;
        return kErr;
    }
    *boardId = id;
    BSP_LOG(kLogTrace, "get bmc boardid (0x%x)", id);
    return static_cast<uint32_t>(r.request_rc);
}

uint32_t BSP_GetBmcBoardType(uint32_t *boardType)
{
    if (boardType == nullptr) return kErr;
    uint8_t id = kUnknownBoardId;
    if (BSP_GetBmcBoardId(&id) != kOk) {
        BSP_LOG(kLogError, "BSP: get the boardid fail");
        return kErr;
    }
    if (is_in(bsp::kSmmIds, id)) {
        *boardType = kSmmBoardType;
        return kOk;
    }
    uint8_t slot = 0xFF;
    if (BSP_GetBoardSlot(&slot) != 0) {
        BSP_LOG(kLogError, "BSP_GetBoardSlot failed.");
        return kErr;
    }
    for (const BoardRow &row : kBoardTable) {
        if (row.board_id == id && row.slot == slot) {
            *boardType = row.board_type;
            return kOk;
        }
    }
    BSP_LOG(kLogError, "BoardType error in matching BoardId(%d)", id);
    return kErr;
}

uint32_t BSP_GetBoardList(BoardListEntry *entries, uint8_t maxCount, uint8_t *count)
{
    if (entries == nullptr || count == nullptr) {
        BSP_LOG(kLogTrace, "Input parameter is null.");
        return kErr;
    }
    *count = 0;
    if (maxCount == 0) {
        BSP_LOG(kLogTrace, "Illegal input parameter(%d).", maxCount);
        return kErr;
    }
    for (uint8_t i = 0; i < maxCount; ++i) entries[i] = BoardListEntry{kUnknownBoardId, 0xFF, 0x000000FF};
    uint8_t id = kUnknownBoardId;
    if (BSP_GetBmcBoardId(&id) != kOk) {
        BSP_LOG(kLogTrace, "Get board id error.");
        return kErr;
    }
    uint8_t n = 0;
    for (const BoardRow &row : kBoardTable) {
        if (n >= maxCount) break;
        if (row.board_id == id) entries[n++] = BoardListEntry{row.board_id, row.slot, row.board_type};
    }
    if (n == 0) {
        BSP_LOG(kLogTrace, "Query result is null(%d).", id);
        return kErr;
    }
    *count = n;
    return kOk;
}

uint32_t BSP_isInBoardSet(BoardSet *set, uint8_t value)
{
    if (set == nullptr) return 0;
    // The first answer stays: the sets are only ever asked about this board's own id or type.
    std::atomic_ref<int32_t> answer(set->answer);
    int32_t cached = answer.load(std::memory_order_relaxed);
    if (cached != BSP_BOARD_SET_UNASKED) return static_cast<uint32_t>(cached);
    const uint8_t *begin = set->values;
    const uint8_t *end = begin + BSP_BOARD_SET_SIZE;
    int32_t found = std::find(begin, end, value) != end ? 1 : 0;
    answer.store(found, std::memory_order_relaxed);
    return static_cast<uint32_t>(found);
}

uint32_t BSP_is2u2cCtrlBoard(uint8_t boardId) { return BSP_isInBoardSet(&g_2u2c_board_ids, boardId); }

uint32_t BSP_is2u2cCtrlBoardType(uint8_t boardType) { return BSP_isInBoardSet(&g_2u2c_board_types, boardType); }

uint32_t BSP_IsIdentifiedBoardType(uint8_t boardId)
{
    return (is_in(bsp::kIdentifiedIds, boardId) || BSP_is2u2cCtrlBoard(boardId)) ? 1 : 0;
}

void BSP_InitBoardTypeGpio(void)
{
    // Every board of this build carries the same SoC; only two of the SMM boards wire the
    // board-type straps to other pins. An id that cannot be read counts as any other board's.
    uint8_t id = kUnknownBoardId;
    (void)BSP_GetBmcBoardId(&id);
    constexpr std::array<uint32_t, 3> kSmmPins = {50, 52, 53};
    constexpr std::array<uint32_t, 3> kOtherPins = {26, 27, 28};
    const auto &pins = is_in(bsp::kSmmOwnStrapPinIds, id) ? kSmmPins : kOtherPins;
    for (uint32_t pin : pins) (void)gpio_init(pin, 0);
}

uint32_t BSP_isEquipFrameBoard(void)
{
    if (!BSP_IsSmmBoard()) {
        uint16_t frame_type = 0xFF;
        if (BSP_GetFrameType(&frame_type) != 0) return 0;
        return is_in(kEquipFrameTypes, frame_type) ? 1 : 0;
    }
    // Only an answer read from the pins is cached; a failed attempt is tried again next call.
    return g_smm_equip_frame.get_or([]() -> std::optional<bool> {
        // One error word for all attempts and both phases: once a call has failed, every later
        // attempt counts as failed too.
        uint32_t error = 0;
        bool initialised = false;
        for (int attempt = 0; attempt < kSmmEquipAttempts && !initialised; ++attempt) {
            for (uint32_t pin : kSmmEquipPins) error |= static_cast<uint32_t>(gpio_init(pin, 0));
            initialised = error == 0;
        }
        if (!initialised) {
            BSP_LOG(kLogError, "Gpio(v6:128~130,c+:42~44) init failed");
            return std::nullopt;
        }
        for (int attempt = 0; attempt < kSmmEquipAttempts; ++attempt) {
            std::array<uint8_t, 3> level = {0, 0, 0};
            for (size_t i = 0; i < kSmmEquipPins.size(); ++i) {
                error |= static_cast<uint32_t>(gpio_read(kSmmEquipPins[i], &level[i], 0));
            }
            if (error == 0) return level[0] == 0 && level[1] == 0 && level[2] == 0;
        }
        BSP_LOG(kLogError, "Gpio(v6:128~130,c+:42~44) read failed");
        return std::nullopt;
    });
}

uint32_t BSP_IsManuVersion(void) { return 0; }

uint32_t BSP_IsEsBoard(void) { return 0; }

uint32_t BSP_IsSmmBoard(void) { return cached_id_predicate(g_smm, bsp::kSmmIds); }

uint32_t BSP_Is2U2CBoard(void) { return cached_id_predicate(g_2u2c, bsp::k2U2CIds); }

uint32_t BSP_IsMiddleBoard(void) { return cached_id_predicate(g_middle, bsp::kMiddleIds); }

uint32_t BSP_Is2UExpBoard(void) { return cached_id_predicate(g_2uexp, bsp::k2UExpIds); }

uint32_t BSP_Is2UBoard(void)
{
    return g_2u.get_or([]() -> std::optional<bool> {
        if (!read_board_id()) return std::nullopt;
        return BSP_Is2U2CBoard() || BSP_Is2UExpBoard();
    });
}

uint32_t BSP_Is7460SBoard(void) { return cached_id_predicate(g_7460s, bsp::k7460SIds); }

uint32_t BSP_Is7460SCtrlBoard(void) { return cached_id_predicate(g_7460s_ctrl, bsp::k7460SCtrlIds); }

uint32_t BSP_Is5830Board(void) { return 1; }

uint32_t BSP_Is58204U4CBoard(void) { return cached_id_predicate(g_58204u4c, bsp::k58204U4CIds); }

uint32_t BSP_Is58304U4CBoard(void) { return cached_id_predicate(g_58304u4c, bsp::k58304U4CIds); }

uint32_t BSP_Is4U4CBoard(void) { return (BSP_Is58204U4CBoard() || BSP_Is58304U4CBoard()) ? 1 : 0; }

uint32_t BSP_Is58304u2pBoard(void) { return cached_id_predicate(g_58304u2p, bsp::k58304u2pIds); }

uint32_t BSP_Is5830SasBoard(void) { return cached_id_predicate(g_sas, bsp::kSasIds); }

uint32_t BSP_Is5830PalmBoard(void) { return cached_id_predicate(g_palm, bsp::kPalmIds); }

uint32_t BSP_Is5830PalmMicroBoard(void)
{
    // The first answer is kept even when the board id or the OS board id could not be read:
    // a failed first attempt is not repeated.
    return g_palm_micro.get_or([]() -> std::optional<bool> {
        return BSP_Is5830PalmBoard() && BSP_GetOsBoardId() == kPalmMicroOsBoardId;
    });
}

uint32_t BSP_IsLiteBoard(void) { return cached_id_predicate(g_lite, bsp::kLiteIds); }

uint32_t BSP_isX86Board(void) { return id_predicate(bsp::kX86Ids); }

uint32_t BSP_SingleCpuOrDoubleCpu(void)
{
    std::optional<uint8_t> id = read_board_id();
    if (!id) return 0;
    if (is_in(bsp::kDoubleCpuIds, *id)) return 2;
    if (is_in(bsp::kSingleCpuIds, *id)) return 1;
    return 0;
}

}  // extern "C"

/* ===================================================================================
 * Board presence and status. Every query here only reads: one bit or byte of the CPLD, or
 * a word of /dev/sys_info.
 * =================================================================================== */

namespace {

using bsp::kCtrlPresenceReg;
using bsp::kSmmOnlineReg;

constexpr std::array<uint32_t, 3> kOsBoardIdRegs = {0x60, 0x61, 0x62};  // bits 0-7, 8-15, 16-23
constexpr uint32_t kAcDownReg = 0x1B2;
constexpr uint32_t kAcDownAltReg = 0xC6;
constexpr uint32_t kBootStateReg = 0xED;
constexpr uint8_t kStartStateMask = 0x07;

constexpr uint8_t kCtrlBoardsMax = 4;
constexpr uint8_t kCtrlBoards4U = 4;
constexpr uint8_t kCtrlBoards2U = 2;

constexpr int kOnlineAttempts = 3;
constexpr uint32_t kOnlineRetryMs = 10;

// Both power-on counters read this until the device answers.
constexpr uint32_t kPowerOnUnread = 255;

struct RegBit {
    uint32_t reg;
    uint32_t bit;
};

// OS-boot bit of each controller board.
constexpr std::array<RegBit, kCtrlBoardsMax> kOsBootBits = {{{0xF9, 1}, {0xF9, 5}, {0xFA, 1}, {0xFA, 5}}};

// The last presence each controller board was successfully read with.
std::array<std::atomic<uint8_t>, kCtrlBoardsMax> g_ctrl_present{};

// A bit read whose failure is not told apart from a 0: the byte starts at 0 and keeps what the
// read left in it.
uint8_t bit_or_zero(uint32_t reg, uint32_t bit)
{
    uint8_t value = 0;
    (void)BSP_ReadCpldBit(reg, bit, &value);
    return value;
}

uint8_t byte_or_zero(uint32_t reg)
{
    uint8_t value = 0;
    (void)BSP_ReadCpldBytes(reg, 1, &value);
    return value;
}

}  // namespace

extern "C" {

uint32_t BSP_GetBiosState(uint8_t *state)
{
    if (state == nullptr) return kErr;
    uint8_t bit = 0;
    if (BSP_ReadCpldBit(kBootStateReg, 0, &bit) != kOk) return kErr;
    *state = bit;
    return kOk;
}

uint32_t BSP_GetStartState(void) { return byte_or_zero(kBootStateReg) & kStartStateMask; }

uint32_t BSP_CtrlBoardGetOSBootStatus(uint8_t board, uint8_t *status)
{
    if (status == nullptr || board >= kCtrlBoardsMax) return kErr;
    const RegBit &rb = kOsBootBits[board];
    uint8_t bit = 0;
    if (BSP_ReadCpldBit(rb.reg, rb.bit, &bit) != kOk) {
        BSP_LOG(kLogError, "Read osboot from reg(0x%x=0x%x) fail", rb.reg, bit);
        return kErr;
    }
    *status = bit == 1 ? 1 : 0;
    return kOk;
}

uint32_t BSP_GetOsBoardId(void)
{
    uint32_t id = 0;
    for (size_t i = 0; i < kOsBoardIdRegs.size(); ++i) {
        id |= static_cast<uint32_t>(byte_or_zero(kOsBoardIdRegs[i])) << (8 * i);
    }
    return id;
}

uint32_t BSP_GetSmmOnlineStates(uint8_t bit, uint8_t *state)
{
    if (state == nullptr) return kErr;
    uint32_t board_type = 0;
    if (BSP_GetBmcBoardType(&board_type) != kOk || board_type == kSmmBoardType) return kErr;
    // Only an outright failure counts; any other status of the read is taken as success.
    if (BSP_ReadCpldBit(kSmmOnlineReg, bit, state) == kErr) return kErr;
    return kOk;
}

uint32_t BSP_IsBoardFirstPowerOn(void)
{
    // Both counters are read under one open; the device is closed on every way out.
    bsp::SysInfoDevice dev;
    if (!dev.opened()) {
        BSP_LOG(kLogError, "BOARD open sysinfo fail(%d)", dev.open_result());
        return 0;
    }
    auto read_counter = [&dev](uint32_t request, uint32_t &counter) {
        int32_t rc = dev.query(request, counter);
        if (rc != 0) BSP_LOG(kLogError, "BOARD read sysinfo fail(%d)", rc);
        return rc == 0;
    };
    uint32_t first = kPowerOnUnread;
    uint32_t second = kPowerOnUnread;
    bool ok = read_counter(bsp::kSysInfoPowerOn1, first);
    if (ok && BSP_Is5830Board()) {
        ok = read_counter(bsp::kSysInfoPowerOn2, second);
        first += second;  // both counters must be 0; the sum wraps like the 32-bit word it is
    }
    return (ok && first == 0) ? 1 : 0;
}

uint32_t BSP_GetBoardOnlineStatus(uint8_t board)
{
    if (board >= kCtrlBoardsMax) {
        BSP_LOG(kLogError, "Input para err(%d)", board);
        return 0;
    }
    // A 0 matches the starting value and is taken at once; a 1 needs two reads in a row. A
    // failed read still moves its byte into the previous value.
    uint8_t previous = 0;
    uint8_t value = 0;
    uint32_t ret = kOk;
    for (int attempt = 0; attempt < kOnlineAttempts; ++attempt) {
        ret = BSP_ReadCpldBit(kCtrlPresenceReg, board, &value);
        if (ret == kOk && value == previous) return value;
        previous = value;
        vos_task_delay(kOnlineRetryMs);
    }
    BSP_LOG(kLogError, "Get board(%d) online status failed(%d)", board, static_cast<int32_t>(ret));
    return 0;
}

uint32_t BSP_GetPlantInfo(uint8_t *plant, uint8_t *boardId)
{
    std::array<uint32_t, 2> info{};
    if (int rc = memset_s(info.data(), sizeof info, 0, sizeof info); rc != 0) {
        BSP_LOG(kLogError, "Error: init sysinfo failed, result = %d.", rc);
    }
    if (plant == nullptr || boardId == nullptr) return kErr;
    bsp::SysInfoResult r = bsp::sysinfo_query(bsp::kSysInfoBoardInfo, info[0]);
    if (!r.opened) {
        BSP_LOG(kLogError, "open sys_info dev fail");
        return kErr;
    }
    if (r.request_rc != 0) {
        BSP_LOG(kLogError, "ioctrl sys_info dev fail: 0x%x", static_cast<uint32_t>(r.request_rc));
        return kErr;
    }
    *plant = static_cast<uint8_t>((info[0] >> 12) & 0xF);
    *boardId = static_cast<uint8_t>(info[0] >> 4);
    return kOk;
}

uint32_t BSP_IsAcDown(void)
{
    uint8_t first = bit_or_zero(kAcDownReg, 0);
    uint8_t second = bit_or_zero(kAcDownAltReg, 0);
    if (first == 1) return 1;
    // The second source is not wired on the 4U four-controller boards, except the 5830 4U
    // two-processor board.
    if (BSP_Is4U4CBoard() && !BSP_Is58304u2pBoard()) return 0;
    return second == 1 ? 1 : 0;
}

uint32_t BSP_GetCtrlBoardNum(void) { return BSP_Is4U4CBoard() ? kCtrlBoards4U : kCtrlBoards2U; }

uint32_t BSP_GetCtrlBoardPresent(uint8_t board, uint8_t *present)
{
    if (present == nullptr) return kErr;
    uint8_t bits = 0;
    uint32_t ret = BSP_ReadCpldBytes(kCtrlPresenceReg, 1, &bits);
    if (ret != kOk) return kErr;
    // A board beyond this enclosure's count is absent whatever its bit says.
    *present = (board < BSP_GetCtrlBoardNum() && ((bits >> board) & 1) != 0) ? 1 : 0;
    return ret;
}

uint32_t BSP_IsCtrlBoardPresent(uint8_t board)
{
    if (board >= kCtrlBoardsMax) return 0;
    uint8_t present = 0;
    if (BSP_GetCtrlBoardPresent(board, &present) == kOk) {
        g_ctrl_present[board].store(present, std::memory_order_relaxed);
        return present == 1 ? 1 : 0;
    }
    return g_ctrl_present[board].load(std::memory_order_relaxed) != 0 ? 1 : 0;
}

}  // extern "C"

// =============================================================== master/slave arbitration
//
// The CPLD arbitrates: a board asks for mastership, or gives it up, by pulsing a request bit
// that a write protect guards, and shows each board's role in its registers.

namespace {

constexpr uint32_t kOwnRoleReg = 0xDF;
constexpr uint8_t kOwnRoleMask = 0x0F;
constexpr uint8_t kRoleCodeMaster = 9;
constexpr uint8_t kRoleCodeSlave = 6;
constexpr uint8_t kRoleSlave = 0;
constexpr uint8_t kRoleMaster = 1;
constexpr uint8_t kRoleUnknown = 2;
constexpr int kRoleDebounceReads = 3;
constexpr uint32_t kRoleDebounceMs = 10;
constexpr uint32_t kRequestPulseMs = 500;

// The role last reported; a different reading is read again before it is believed.
std::atomic<uint8_t> g_last_role{kRoleUnknown};

// One write of a request sequence and what its failure logs.
struct RequestStep {
    uint32_t reg;
    uint32_t bit;
    uint8_t value;
    const char *fail;
};

// Open the request's write protect, raise the request, (pulse time), drop it, protect again.
// A failure from the raise on leaves the protect open: the CPLD is left in the state reached.
constexpr size_t kPulseAfterStep = 1;
using RequestSteps = std::array<RequestStep, 4>;

constexpr RequestSteps kGrabSteps = {{
    {0xE2, 3, 0, "Fail to close write protect of grab master error[%d]."},
    {0xE1, 4, 1, "Fail to grab master error[%d]."},
    {0xE1, 4, 0, "Fail to recover value after grab master error[%d]."},
    {0xE2, 3, 1, "Fail to open write protect of grab master error[%d]."},
}};

constexpr RequestSteps kAbandonSteps = {{
    {0xE2, 2, 0, "Fail to close write protect of abandon master error[%d]."},
    {0xE1, 3, 1, "Fail to abandon master error[%d]."},
    {0xE1, 3, 0, "Fail to recover value after abandon master error[%d]."},
    {0xE2, 2, 1, "Fail to open write protect of abandon master error[%d]."},
}};

uint32_t master_request(const RequestSteps &steps)
{
    bsp::SemGuard sem(bsp::kSemMastership);
    if (!sem.held()) {
        BSP_LOG(kLogError, "get BMC_MUTEX_FAN_SYNC_LEVEL fail.");
        return kErr;
    }
    for (size_t i = 0; i < steps.size(); ++i) {
        const RequestStep &s = steps[i];
        if (uint32_t ret = BSP_WriteCpldBit(s.reg, s.bit, s.value); ret != kOk) {
            (void)sem.release();
            BSP_LOG(kLogError, s.fail, static_cast<int32_t>(ret));
            return ret;
        }
        if (i == kPulseAfterStep) vos_task_delay(kRequestPulseMs);
    }
    return kOk;
}

// The own role code as a role, into `role` (left alone for an undecided code); false then.
bool read_own_role(uint8_t &role)
{
    return BSP_CpldDataChange(&role, static_cast<uint8_t>(byte_or_zero(kOwnRoleReg) & kOwnRoleMask)) == kOk;
}

}  // namespace

extern "C" {

uint32_t BSP_CpldDataChange(uint8_t *role, uint8_t code)
{
    if (role == nullptr) return kErr;
    if (code == kRoleCodeMaster) {
        *role = kRoleMaster;
    } else if (code == kRoleCodeSlave) {
        *role = kRoleSlave;
    } else {
        return kErr;
    }
    return kOk;
}

uint32_t BSP_GrabBoardMaster(void) { return master_request(kGrabSteps); }

uint32_t BSP_AbandonBoardMaster(void) { return master_request(kAbandonSteps); }

uint32_t BSP_SMMAbandonMaster(void)
{
    uint8_t slot = 0;
    if (int32_t ret = BSP_GetBoardSlot(&slot); ret != 0) {
        BSP_LOG(kLogError, "Get master ctrl board solt id failed[%d]!", ret);
        return kErr;
    }
    if (BSP_Is2U2CBoard()) {
        // Never give mastership up with no board to take it; a failed query reads absent.
        uint8_t present = 0;
        (void)BSP_GetCtrlBoardPresent(static_cast<uint8_t>((slot + 1) & 1), &present);
        if (present == 0) return kErr;
    }
    return BSP_AbandonBoardMaster();
}

uint32_t BSP_GetRedressedMosState(uint8_t *role)
{
    if (role == nullptr) return kErr;
    const uint32_t boards = BSP_GetCtrlBoardNum();
    uint8_t slot = 0;
    if (int32_t ret = BSP_GetBoardSlot(&slot); ret != 0) return static_cast<uint32_t>(ret);
    uint8_t fields = 0;
    if (uint32_t ret = BSP_ReadCpldBytes(bsp::kRoleFieldsReg, 1, &fields); ret != kOk) return ret;
    uint32_t masters = 0;
    for (uint32_t i = 0; i < boards; ++i) {
        uint8_t present = 0;
        if (uint32_t ret = BSP_GetCtrlBoardPresent(static_cast<uint8_t>(i), &present); ret != kOk) return ret;
        if (i == slot || present == 0) continue;
        const uint8_t field = bsp::role_field(fields, i);
        if (field == bsp::kRoleFieldMaster) {
            ++masters;
        } else if (field != bsp::kRoleFieldSlave) {
            return kErr;
        }
    }
    if (masters > 1) return kErr;
    *role = masters == 0 ? kRoleMaster : kRoleSlave;
    return kOk;
}

uint32_t BSP_GetBoardMasterOrSlaveState(uint32_t *role)
{
    if (role == nullptr) {
        BSP_LOG(kLogError, "Input para err");
        return kErr;
    }
    if (BSP_IsSmmBoard()) {
        *role = kRoleMaster;
        return kOk;
    }
    uint8_t found = kRoleUnknown;
    bool decided = read_own_role(found);
    if (found != g_last_role.load(std::memory_order_relaxed)) {
        for (int i = 0; i < kRoleDebounceReads; ++i) {
            decided = read_own_role(found);
            vos_task_delay(kRoleDebounceMs);
        }
    }
    if (!decided) {
        if (uint32_t ret = BSP_GetRedressedMosState(&found); ret != kOk) return ret;
    }
    *role = found;
    g_last_role.store(found, std::memory_order_relaxed);
    BSP_DetectWhetherHasMoreThanOneMos();
    return kOk;
}

}  // extern "C"

// =============================================================== cooling state
//
// Whether the board may rely on its fans: the fan controller's mode, and what each fan object
// of the framework reports about itself.

namespace {

constexpr uint8_t kFanModeManual = 1;
constexpr uint8_t kFanPresent = 1;
// "GetPst" output 0 is the presence; "GetFanInfo" output 1 the speed level, 4 and 5 the fault
// flags. A fan without faults running below level 24 is one the board may rely on.
constexpr std::array<uint32_t, 1> kPresenceOutputs = {0};
constexpr std::array<uint32_t, 3> kFanInfoOutputs = {1, 4, 5};
constexpr uint8_t kReliedLevelBelow = 24;

// Calls `method` of `fan` and takes the bytes of outputs `which` into `bytes`. Returns 0, the
// framework's code, or -1 when an output is missing or not a byte; the outputs are released on
// every path.
template <size_t N>
int32_t fan_bytes(OBJ_HANDLE fan, const char *method, const std::array<uint32_t, N> &which, std::array<uint8_t, N> &bytes)
{
    GSList *outputs = nullptr;
    int32_t rc = dfl_call_class_method(fan, method, nullptr, nullptr, &outputs);
    for (size_t i = 0; rc == 0 && i < N; ++i) {
        auto *v = static_cast<GVariant *>(g_slist_nth_data(outputs, which[i]));
        if (v == nullptr || !g_variant_is_of_type(v, G_VARIANT_TYPE_BYTE)) {
            rc = bsp::kErrS;
        } else {
            bytes[i] = g_variant_get_byte(v);
        }
    }
    uip_free_gvariant_list(outputs);
    return rc;
}

// A fan that does not answer is skipped, so one broken fan object does not hide the others.
bool fan_relied_on(OBJ_HANDLE fan)
{
    std::array<uint8_t, 1> presence{};
    if (int32_t rc = fan_bytes(fan, "GetPst", kPresenceOutputs, presence); rc != 0) {
        BSP_LOG(kLogError, "BMC get fan present failed(%d)", rc);
        return false;
    }
    if (presence[0] != kFanPresent) {
        const char *name = dfl_get_object_name(fan);
        BSP_LOG(bsp::kLogNotice, "The %s is not present.", name != nullptr ? name : "(null)");
        return false;
    }
    std::array<uint8_t, 3> info{};
    if (int32_t rc = fan_bytes(fan, "GetFanInfo", kFanInfoOutputs, info); rc != 0) {
        BSP_LOG(kLogError, "BMC get fan info failed(%d)", rc);
        return false;
    }
    return info[1] == 0 && info[2] == 0 && info[0] < kReliedLevelBelow;
}

}  // namespace

extern "C" {

int32_t BSP_GetBoardCoolingState(uint8_t *state)
{
    if (state == nullptr) return bsp::kErrS;
    *state = 0;
    OBJ_HANDLE ctrl = 0;
    if (dfl_get_object_handle("FanCtrlObj", &ctrl) != 0) {
        BSP_LOG(kLogError, "Get fan ctrl object handle failed.");
        return bsp::kErrS;
    }
    uint8_t mode = 0;
    if (dfl_get_property_ubyte(ctrl, "Mode", &mode) != 0) {
        BSP_LOG(kLogError, "Get fan workmode failed.");
        return bsp::kErrS;
    }
    // Fans an operator drives by hand are the operator's to watch.
    if (mode == kFanModeManual) {
        *state = 1;
        BSP_LOG(bsp::kLogNotice, "Fan work mode is Manu Mode");
        return bsp::kOkS;
    }
    GSList *fans = nullptr;
    if (int32_t rc = dfl_get_object_list("Fan", &fans); rc != 0) {
        BSP_LOG(kLogError, "BMC get fan list failed(%d)", rc);
        return rc;
    }
    for (GSList *l = fans; l != nullptr; l = l->next) {
        if (fan_relied_on(static_cast<OBJ_HANDLE>(reinterpret_cast<uintptr_t>(l->data)))) {
            *state = 1;
            break;
        }
    }
    g_slist_free(fans);
    return bsp::kOkS;
}

}  // extern "C"
