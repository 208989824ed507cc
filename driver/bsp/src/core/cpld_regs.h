// CPLD registers that more than one family reads. A register only one family uses is named in
// that family's file, next to the code that reads it.
#ifndef BSP_CORE_CPLD_REGS_H
#define BSP_CORE_CPLD_REGS_H

#include <cstdint>

namespace bsp {

// Bit n: SMM board n is online. Noisy: the debounced read serves it.
inline constexpr uint32_t kSmmOnlineReg = 0x29;
// Bits 0-3: controller board n is present (online). Noisy: the debounced read serves it.
inline constexpr uint32_t kCtrlPresenceReg = 0x33;
// Role field of each controller board, two bits per slot (slot n in bits 2n and 2n+1): 1 master,
// 2 slave, anything else a fault of the arbitration.
inline constexpr uint32_t kRoleFieldsReg = 0xE4;
inline constexpr uint8_t kRoleFieldMaster = 1;
inline constexpr uint8_t kRoleFieldSlave = 2;
inline constexpr uint32_t kRoleFieldSlots = 4;
constexpr uint8_t role_field(uint8_t fields, uint32_t slot) { return static_cast<uint8_t>((fields >> (2 * slot)) & 3); }

}  // namespace bsp

#endif
