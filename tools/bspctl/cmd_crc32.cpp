// bspctl crc32: the checksum of a file as the library computes it for firmware images,
// printed the way cksum prints it ("CRC SIZE FILE").
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {
namespace {

int run(const Options &opts, const Args &args)
{
    if (args.size() != 1) return fail("usage: bspctl crc32 FILE");
    const std::string &path = args[0];
    int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return fail(path + ": " + std::strerror(errno));
    struct stat st {};
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        close(fd);
        return fail(path + ": not a regular file");
    }
    if (static_cast<uint64_t>(st.st_size) > UINT32_MAX) {
        close(fd);
        return fail(path + ": larger than 4 GiB - 1, the largest range the library checks");
    }
    auto size = static_cast<uint32_t>(st.st_size);
    // Access is sequential from start to end: let the kernel read ahead generously.
    (void)posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    // The library refuses an empty range; the checksum of no bytes is the complement of 0.
    uint32_t crc = size == 0 ? 0xFFFFFFFFu : BSP_CalcFileCrc32(fd, 0, size);
    close(fd);
    if (opts.json) {
        std::printf("{\"crc\": %" PRIu32 ", \"size\": %" PRIu32 ", \"file\": \"%s\"}\n", crc, size,
                    json_escape(path).c_str());
    } else {
        std::printf("%" PRIu32 " %" PRIu32 " %s\n", crc, size, path.c_str());
    }
    return 0;
}

const Register reg({"crc32", "checksum of a file, as cksum prints it",
                    "usage: bspctl [--json] crc32 FILE\n"
                    "  Prints the CRC and the size of FILE (at most 4 GiB - 1) as cksum does: the\n"
                    "  MSB-first CRC-32 of polynomial 0x04C11DB7 over the data and its length.\n",
                    run, false});

}  // namespace
}  // namespace bspctl
