// The /dev/sys_info device: open, one or more read requests of a 32-bit word each, close.
// The callers log in their own words, so this only reports what happened.
#ifndef BSP_CORE_SYSINFO_H
#define BSP_CORE_SYSINFO_H

#include <cstdint>

namespace bsp {

inline constexpr uint32_t kSysInfoBoardInfo = 0x80047306u;
inline constexpr uint32_t kSysInfoPowerOn1 = 0x80047301u;
inline constexpr uint32_t kSysInfoPowerOn2 = 0x80047316u;
inline constexpr uint32_t kSysInfoChipInfo = 0x8004731Au;

// The device, opened read-write on construction and closed on destruction, for callers that
// ask several words under one open.
class SysInfoDevice {
public:
    SysInfoDevice();
    ~SysInfoDevice();
    SysInfoDevice(const SysInfoDevice &) = delete;
    SysInfoDevice &operator=(const SysInfoDevice &) = delete;

    bool opened() const { return fd_ >= 0; }
    // What the open returned: a negative value when it failed.
    int open_result() const { return fd_; }
    // One request into `word` on an opened device; its own result (0 on success). A failed
    // request leaves `word` as it was.
    int32_t query(uint32_t request, uint32_t &word) const;

private:
    int fd_;
};

struct SysInfoResult {
    bool opened;         // false: the device could not be opened, nothing was asked
    int32_t request_rc;  // the request's own result (0 on success)
};

// One request under its own open. `word` must already be cleared by the caller.
SysInfoResult sysinfo_query(uint32_t request, uint32_t &word);

}  // namespace bsp

#endif
