#include "core/sysinfo.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace bsp {

SysInfoResult sysinfo_query(uint32_t request, uint32_t &word)
{
    int fd = open("/dev/sys_info", O_RDWR);
    if (fd < 0) return {false, -1};
    int rc = ioctl(fd, request, &word);
    close(fd);
    return {true, rc};
}

}  // namespace bsp
