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

}  // namespace bsp

#endif
