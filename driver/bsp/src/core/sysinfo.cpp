#include "core/sysinfo.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace bsp {

SysInfoDevice::SysInfoDevice() : fd_(open("/dev/sys_info", O_RDWR)) {}

SysInfoDevice::~SysInfoDevice()
{
    if (fd_ >= 0) close(fd_);
}

int32_t SysInfoDevice::query(uint32_t request, uint32_t &word) const { return ioctl(fd_, request, &word); }

SysInfoResult sysinfo_query(uint32_t request, uint32_t &word)
{
    SysInfoDevice dev;
    if (!dev.opened()) return {false, -1};
    return {true, dev.query(request, word)};
}

}  // namespace bsp
