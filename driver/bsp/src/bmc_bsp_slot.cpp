// Slot identification: which slot of the enclosure this board sits in, read from the strap
// pins, else from the CPLD's slot register (repairing a corrupted code from the codes of the
// other controllers), else from the slot nibble of the enclosure's WWN; the opposite
// controller of a slot, and the slot of the current master.
#include <array>
#include <atomic>
#include <cstdint>

#include "bmc_bsp.h"
#include "core/boards.h"
#include "core/cache.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/gpio.h"
#include "platform/vos.h"

namespace {

using bsp::is_in;
using bsp::kErrS;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kLogTrace;
using bsp::kOkS;

constexpr uint8_t kNoSlot = 0xFF;
constexpr uint8_t kCodeMask = 0x07;

constexpr uint32_t kSlotReg = 0x32;
constexpr uint32_t kRepairedReg = 0x17;
constexpr uint8_t kRepairedMark = 0xA0;
constexpr uint32_t kOnlineReg = 0x33;
constexpr uint8_t kAllOnline = 0x0F;
constexpr uint32_t kPeerCodesReg = 0x6A;     // first other controller bits 0-2, second bits 4-6
constexpr uint32_t kLastPeerCodeReg = 0x6B;  // third other controller bits 0-2
constexpr uint32_t kMasterSlaveReg = 0xE4;

// Slot codes in slot order: the code at index n is the code of slot n. Each has even parity.
constexpr std::array<uint8_t, 4> kSlotCodes = {0, 5, 6, 3};

// Strap pins in bit order; which row a board reads depends on its board id.
enum class PinRow : uint8_t { Default, Own5830, Other5830 };
struct SlotPins {
    PinRow row;
    std::array<uint32_t, 3> pins;
};
constexpr std::array<SlotPins, 3> kSlotPins = {{
    {PinRow::Default, {54, 53, 52}},
    {PinRow::Own5830, {50, 53, 52}},
    {PinRow::Other5830, {26, 27, 28}},
}};
constexpr int kPinReadAttempts = 3;

// Two-controller straps: pin 1 alone is slot 0, pin 0 alone slot 1.
constexpr uint8_t k2CStrapSlot0 = 2;
constexpr uint8_t k2CStrapSlot1 = 1;

struct SlotPair {
    uint8_t slot;
    uint8_t opposite;
};
constexpr std::array<SlotPair, 4> k4COpposite = {{{0, 2}, {2, 0}, {1, 3}, {3, 1}}};
constexpr std::array<SlotPair, 2> kOtherOpposite = {{{0, 1}, {1, 0}}};

// The unable-to-repair message: at most this many, then silence until the quiet time has
// passed since the last one printed.
constexpr uint32_t kRepairLogBudget = 10;
constexpr uint32_t kRepairLogQuietTicks = 300000;

// Master/slave register: a changing value is read this many more times, this far apart.
constexpr int kMasterRereads = 3;
constexpr uint32_t kMasterRereadMs = 10;
constexpr uint8_t kMasterField = 1;

bsp::CachedValue<uint8_t, kNoSlot> g_board_slot;
std::atomic<uint8_t> g_last_master_reg{0xFF};
std::atomic<uint32_t> g_repair_logs_left{0};
std::atomic<uint32_t> g_repair_last_tick{0};

// The slot a board gets when its slot register cannot tell: none, except on a manufacturing
// build whose CPLD fails its self test, so that a board on the production line still boots.
uint8_t slot_without_cpld() { return (BSP_IsManuVersion() && BSP_CpldSelfTest() != 0) ? 0 : kNoSlot; }

// Whether the unable-to-repair message may be printed now; counts it when so.
bool repair_log_allowed()
{
    const auto now = static_cast<uint32_t>(vos_tick_get());
    // Elapsed ticks in unsigned arithmetic, so a wrapped tick counter still counts forward.
    if (now - g_repair_last_tick.load() > kRepairLogQuietTicks) {
        g_repair_logs_left.store(kRepairLogBudget);
    } else if (g_repair_logs_left.load() == 0) {
        return false;
    }
    g_repair_last_tick.store(now);
    g_repair_logs_left.fetch_sub(1);
    return true;
}

template <size_t N>
int32_t opposite_in(const std::array<SlotPair, N> &pairs, uint8_t *opp, uint8_t slot)
{
    for (const SlotPair &p : pairs) {
        if (p.slot == slot) {
            *opp = p.opposite;
            return kOkS;
        }
    }
    BSP_LOG(kLogError, "Can't find peer board for slot%d", slot);
    return kErrS;
}

}  // namespace

extern "C" {

int32_t BSP_GetBoardSlot(uint8_t *slot)
{
    if (slot == nullptr) return kErrS;
    if (g_board_slot.known()) {
        *slot = g_board_slot.get();
        return kOkS;
    }
    uint8_t board_id = bsp::kUnknownBoardId;
    if (BSP_GetBmcBoardId(&board_id) != 0) {
        BSP_LOG(kLogError, "BSP: Get Bmc BoardId Failed");
        return kErrS;
    }
    if (!BSP_IsIdentifiedBoardType(board_id)) {
        // Deliberately a success that leaves the slot alone: callers carry on with their preset.
        BSP_LOG(kLogError, "BSP: Board type is not be identified for getting slot");
        return kOkS;
    }
    uint8_t found = kNoSlot;
    if (BSP_GetBoardSlotFromGpio(board_id, &found) != 0) found = kNoSlot;
    if (found == kNoSlot && !is_in(bsp::kNoCpldSlotIds, board_id)) BSP_GetBoardSlotFromCpld(&found);
    if (found == kNoSlot) {
        std::array<uint8_t, 8> wwn{};
        uint64_t value = 0;
        if (BSP_GetWwnFromCpld(wwn.data()) == 0) {
            for (size_t i = wwn.size(); i-- > 0;) value = value << 8 | wwn[i];
        }
        if (value != 0) found = static_cast<uint8_t>((value >> 8) & 0x0F);
    }
    if (found == kNoSlot) {
        *slot = kNoSlot;
        BSP_LOG(kLogTrace, "BSP: Board slot(0x%x) is invalid", kNoSlot);
        return kErrS;
    }
    *slot = found;
    g_board_slot.set(found);
    return kOkS;
}

int32_t BSP_GetBoardSlotFromGpio(uint8_t boardId, uint8_t *slot)
{
    if (slot == nullptr || is_in(bsp::kNoSlotStrapIds, boardId)) return kErrS;
    const uint8_t raw = BSP_ReadSlotTypeGpio();
    if (is_in(bsp::kParitySlotStrapIds, boardId)) {
        if (BSP_PrivCheck(0, raw & kCodeMask, 3) != 0) {
            *slot = kNoSlot;
            return kErrS;
        }
        *slot = BSP_Gpio2SlotIdFor4C(raw & 0x03);
    } else {
        *slot = BSP_Gpio2SlotIdFor2C(raw);
    }
    return *slot < kNoSlot ? kOkS : kErrS;
}

void BSP_GetBoardSlotFromCpld(uint8_t *slot)
{
    if (slot == nullptr) return;
    uint8_t value = 0xFF;
    if (BSP_ReadCpldBytes(kSlotReg, 1, &value) != 0) {
        *slot = slot_without_cpld();
        return;
    }
    const uint8_t code = value & kCodeMask;
    if (BSP_PrivCheck(0, code, 3) == 0) {
        BSP_ConvertSlotValue(code, slot);
    } else if (BSP_RepairCtrlSlotID(0, slot) != 0) {
        *slot = slot_without_cpld();
    }
}

int32_t BSP_RepairCtrlSlotID(uint8_t ignored, uint8_t *slot)
{
    (void)ignored;
    if (slot == nullptr || !BSP_Is4U4CBoard()) return kErrS;
    // Failed reads are not checked: the bytes start at 0, which is neither a repaired mark nor
    // all controllers online.
    uint8_t repaired = 0;
    (void)BSP_ReadCpldBytes(kRepairedReg, 1, &repaired);
    if ((repaired & 0xF0) == kRepairedMark) {
        BSP_ConvertSlotValue(repaired & 0x0F, slot);
        return kOkS;
    }
    uint8_t online = 0;
    (void)BSP_ReadCpldBytes(kOnlineReg, 1, &online);
    if ((online & 0x0F) != kAllOnline) {
        if (repair_log_allowed()) BSP_LOG(kLogNotice, "Bsp has %d board online, unable to repair", online);
        return kErrS;
    }
    uint8_t peers = 0;
    uint8_t last = 0;
    (void)BSP_ReadCpldBytes(kPeerCodesReg, 1, &peers);
    (void)BSP_ReadCpldBytes(kLastPeerCodeReg, 1, &last);
    const std::array<uint8_t, 3> taken = {static_cast<uint8_t>(peers & kCodeMask),
                                          static_cast<uint8_t>((peers >> 4) & kCodeMask),
                                          static_cast<uint8_t>(last & kCodeMask)};
    for (uint8_t code : taken) {
        if (!BSP_IsSlotValueValidty(code)) {
            BSP_LOG(kLogNotice, "Board Slot abnormal, Reg(0x%x)Value(0x%x),Reg(0x%x)Value(0x%x)", kPeerCodesReg,
                    peers, kLastPeerCodeReg, last);
            return kErrS;
        }
    }
    if (taken[0] == taken[1] || taken[0] == taken[2] || taken[1] == taken[2]) {
        BSP_LOG(kLogNotice, "Slot value abnormal, Reg(0x%x)Value(0x%x),Reg(0x%x)Value(0x%x)", kPeerCodesReg,
                peers, kLastPeerCodeReg, last);
        return kErrS;
    }
    // Three distinct valid codes leave exactly one code free: ours.
    uint8_t own = 0;
    while (is_in(taken, kSlotCodes[own])) ++own;
    *slot = own;
    (void)BSP_WriteCpldByte(kRepairedReg, static_cast<uint8_t>(kRepairedMark | kSlotCodes[own]));
    return kOkS;
}

uint8_t BSP_ReadSlotTypeGpio(void)
{
    BSP_InitBoardTypeGpio();
    return BSP_GetSlotNumFromGpio((BSP_Is2U2CBoard() || BSP_Is2UExpBoard()) ? 2 : 3);
}

uint8_t BSP_GetSlotNumFromGpio(uint8_t pinCount)
{
    uint8_t board_id = bsp::kUnknownBoardId;
    if (BSP_GetBmcBoardId(&board_id) != 0) {
        BSP_LOG(kLogError, "Get board id faild.");
        board_id = bsp::kUnknownBoardId;
    }
    const PinRow want = !BSP_Is5830Board()                        ? PinRow::Default
                        : is_in(bsp::kOwnSlotPinIds, board_id) ? PinRow::Own5830
                                                                  : PinRow::Other5830;
    const std::array<uint32_t, 3> *pins = &kSlotPins[0].pins;
    for (const SlotPins &row : kSlotPins) {
        if (row.row == want) pins = &row.pins;
    }
    uint8_t raw = 0;
    // A count beyond the pins there are reads the pins there are.
    for (size_t k = 0; k < pinCount && k < pins->size(); ++k) {
        for (int attempt = 0; attempt < kPinReadAttempts; ++attempt) {
            uint8_t level = 0;
            if (gpio_read((*pins)[k], &level, 0) == 0) {
                raw = static_cast<uint8_t>(raw | level << k);
                break;
            }
        }
    }
    return raw;
}

uint8_t BSP_Gpio2SlotIdFor4C(uint8_t value) { return value < kSlotCodes.size() ? value : kNoSlot; }

uint8_t BSP_Gpio2SlotIdFor2C(uint8_t value)
{
    if (value == k2CStrapSlot0) return 0;
    if (value == k2CStrapSlot1) return 1;
    return kNoSlot;
}

uint32_t BSP_IsSlotValueValidty(uint8_t code) { return is_in(kSlotCodes, code) ? 1 : 0; }

void BSP_ConvertSlotValue(uint8_t code, uint8_t *slot)
{
    if (slot == nullptr) return;
    *slot = kNoSlot;
    for (uint8_t n = 0; n < kSlotCodes.size(); ++n) {
        if (kSlotCodes[n] == code) *slot = n;
    }
}

int32_t BSP_GetoplanarOppCtrlSlotID(uint8_t *oppSlot, uint8_t slot)
{
    if (oppSlot == nullptr) return kErrS;
    return BSP_Is4U4CBoard() ? opposite_in(k4COpposite, oppSlot, slot) : opposite_in(kOtherOpposite, oppSlot, slot);
}

int32_t BSP_GetMasterBoardSlot(uint32_t *slot)
{
    if (slot == nullptr) {
        BSP_LOG(kLogError, "Input para err");
        return kErrS;
    }
    uint8_t value = 0xFF;
    uint32_t rc = BSP_ReadCpldBytes(kMasterSlaveReg, 1, &value);
    // A value that changed may be caught mid-arbitration: let it settle, the last read counts.
    if (value != g_last_master_reg.load()) {
        for (int i = 0; i < kMasterRereads; ++i) {
            rc = BSP_ReadCpldBytes(kMasterSlaveReg, 1, &value);
            vos_task_delay(kMasterRereadMs);
        }
    }
    if (rc != 0) BSP_LOG(kLogError, "Read cpld (0x%02x) err", kMasterSlaveReg);
    g_last_master_reg.store(value);
    std::array<uint8_t, 4> field{};
    int masters = 0;
    uint32_t master = 0;
    for (uint32_t n = 0; n < field.size(); ++n) {
        field[n] = static_cast<uint8_t>((value >> (2 * n)) & 0x03);
        if (field[n] == kMasterField) {
            ++masters;
            master = n;
        }
    }
    if (masters != 1) {
        BSP_LOG(kLogNotice, "Warning: CPLD appear more than one master or slave (%d)(%d)(%d)(%d)", field[0], field[1],
                field[2], field[3]);
        return kErrS;
    }
    *slot = master;
    return kOkS;
}

}  // extern "C"
