// One query of the /dev/sys_info device: open, one read request of a 32-bit word, close.
// The callers log in their own words, so this only reports what happened.
#ifndef BSP_CORE_SYSINFO_H
#define BSP_CORE_SYSINFO_H

#include <cstdint>

namespace bsp {

inline constexpr uint32_t kSysInfoBoardInfo = 0x80047306u;
inline constexpr uint32_t kSysInfoPowerOn1 = 0x80047301u;
inline constexpr uint32_t kSysInfoPowerOn2 = 0x80047316u;
inline constexpr uint32_t kSysInfoChipInfo = 0x8004731Au;

struct SysInfoResult {
    bool opened;         // false: the device could not be opened, nothing was asked
    int32_t request_rc;  // the request's own result (0 on success)
};

// `word` must already be cleared by the caller; a failed request leaves it as it was.
SysInfoResult sysinfo_query(uint32_t request, uint32_t &word);

}  // namespace bsp

#endif
