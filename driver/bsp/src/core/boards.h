// Which boards the library knows, by board id: one named list per question a family asks about
// the board, each row for row as the board ids are assigned. These lists are the only place
// that spells a board id; a family asks a predicate (BSP_IsSmmBoard and kin) or tests its own
// board's id against one of these lists with is_in(). Tables that are themselves keyed by board
// id (the board table, the logic version registers and the like) keep their rows in their
// family files.
#ifndef BSP_CORE_BOARDS_H
#define BSP_CORE_BOARDS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace bsp {

template <typename T, size_t N>
constexpr bool is_in(const std::array<T, N> &list, T value)
{
    return std::find(list.begin(), list.end(), value) != list.end();
}

// What a board id reads while it is not known.
inline constexpr uint8_t kUnknownBoardId = 0xFF;

// The ids of the board-type predicates.
inline constexpr std::array<uint8_t, 4> kSmmIds = {0x0C, 0x0F, 0x81, 0x82};
inline constexpr std::array<uint8_t, 13> k2U2CIds = {0x00, 0x03, 0x05, 0x12, 0x14, 0x22, 0x1D,
                                                     0x2E, 0x35, 0x2D, 0x33, 0x99, 0x95};
inline constexpr std::array<uint8_t, 8> kMiddleIds = {0x00, 0x03, 0x12, 0x14, 0x2E, 0x33, 0x35, 0x2D};
inline constexpr std::array<uint8_t, 4> k2UExpIds = {0x27, 0x24, 0x06, 0x09};
inline constexpr std::array<uint8_t, 9> k7460SIds = {0x05, 0x06, 0x09, 0x24, 0x27, 0x22, 0x1D, 0x99, 0x95};
inline constexpr std::array<uint8_t, 5> k7460SCtrlIds = {0x22, 0x05, 0x95, 0x99, 0x1D};
inline constexpr std::array<uint8_t, 1> k58204U4CIds = {0x0A};
inline constexpr std::array<uint8_t, 2> k58304U4CIds = {0x71, 0x11};
inline constexpr std::array<uint8_t, 1> k58304u2pIds = {0x71};
inline constexpr std::array<uint8_t, 1> kSasIds = {0x12};
inline constexpr std::array<uint8_t, 1> kPalmIds = {0x14};
inline constexpr std::array<uint8_t, 2> kLiteIds = {0x95, 0x99};
inline constexpr std::array<uint8_t, 4> kX86Ids = {0x2D, 0x2E, 0x33, 0x35};
// Ids known outright; the 2U two-controller ids of k2U2CCtrlSetIds are known too.
inline constexpr std::array<uint8_t, 11> kIdentifiedIds = {0x0F, 0x11, 0x81, 0x82, 0x71, 0x0A,
                                                           0x0C, 0x06, 0x09, 0x24, 0x27};
// The searched values of the 2U two-controller board-id set (a BoardSet, which caches its
// first answer); the same ids as k2U2CIds in the set's own order.
inline constexpr std::array<uint8_t, 13> k2U2CCtrlSetIds = {0x00, 0x03, 0x05, 0x12, 0x14, 0x22, 0x1D,
                                                            0x2D, 0x35, 0x33, 0x2E, 0x99, 0x95};

// Boards whose power can be handed from one board to another.
inline constexpr std::array<uint8_t, 6> kPowerTransIds = {0x05, 0x06, 0x09, 0x22, 0x24, 0x27};

// Processor count of the x86 boards.
inline constexpr std::array<uint8_t, 3> kDoubleCpuIds = {0x2D, 0x33, 0x35};
inline constexpr std::array<uint8_t, 1> kSingleCpuIds = {0x2E};

// The SMM boards whose board-type straps are wired to their own GPIO pins.
inline constexpr std::array<uint8_t, 2> kSmmOwnStrapPinIds = {0x81, 0x82};

// Slot identification. The board without slot straps; the boards whose straps carry a slot
// code with a parity bit (the others code their slot on two pins); the boards that have no
// slot register in their CPLD; the boards whose slot straps sit on their own pins.
inline constexpr std::array<uint8_t, 1> kNoSlotStrapIds = {0x71};
inline constexpr std::array<uint8_t, 6> kParitySlotStrapIds = {0x0A, 0x0C, 0x0F, 0x11, 0x81, 0x82};
inline constexpr std::array<uint8_t, 4> kNoCpldSlotIds = {0x0C, 0x0F, 0x81, 0x82};
inline constexpr std::array<uint8_t, 2> kOwnSlotPinIds = {0x81, 0x82};

}  // namespace bsp

#endif
