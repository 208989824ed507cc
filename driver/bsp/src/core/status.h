// The library's two common results.
#ifndef BSP_CORE_STATUS_H
#define BSP_CORE_STATUS_H

#include <cstdint>

namespace bsp {

inline constexpr uint32_t kOk = 0;
inline constexpr uint32_t kErr = 0xFFFFFFFFu;
inline constexpr int32_t kOkS = 0;
inline constexpr int32_t kErrS = -1;

}  // namespace bsp

#endif
