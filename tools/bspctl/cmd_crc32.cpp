// bspctl crc32: the checksum of a file as the library computes it for firmware images,
// printed the way cksum prints it ("CRC SIZE FILE"; "CRC SIZE" for standard input).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <vector>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {
namespace {

constexpr size_t kChunk = 1 << 20;

struct Sum {
    uint32_t crc = 0;
    uint64_t size = 0;
};

// cksum's checksum of everything `fd` yields until its end: the CRC register runs from 0 over
// the data (fed chunk by chunk to the library's CRC-32, which continues from the value it is
// given), then over the length in as few bytes as it takes, least significant first, and is
// complemented. This is what BSP_CalcFileCrc32 computes for a range of known length.
bool stream_sum(int fd, Sum &sum, int &err)
{
    std::vector<uint8_t> buf(kChunk);
    uint32_t crc = 0;
    uint64_t size = 0;
    for (;;) {
        ssize_t got = read(fd, buf.data(), buf.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            err = errno;
            return false;
        }
        if (got == 0) break;
        crc = BSP_CalcCrc32(buf.data(), static_cast<uint32_t>(got), crc, 0, 0);
        size += static_cast<uint64_t>(got);
    }
    for (uint64_t n = size; n != 0; n >>= 8) {
        const auto byte = static_cast<uint8_t>(n & 0xFF);
        crc = BSP_CalcCrc32(&byte, 1, crc, 0, 0);
    }
    sum = {~crc, size};
    return true;
}

// A regular file whose size stat knows goes through the library's file CRC in one call. It is
// taken only when it read exactly that size and the file ends there: /proc and /sys files say
// 0 or 4096 whatever they hold, and a file may grow. Otherwise the file is read again as a
// stream.
bool file_sum(int fd, Sum &sum, int &err)
{
    struct stat st {};
    if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0 &&
        static_cast<uint64_t>(st.st_size) <= UINT32_MAX) {
        const auto size = static_cast<uint32_t>(st.st_size);
        // Access is sequential from start to end: let the kernel read ahead generously.
        (void)posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
        const uint32_t crc = BSP_CalcFileCrc32(fd, 0, size);
        uint8_t more = 0;
        if (lseek(fd, 0, SEEK_CUR) == static_cast<off_t>(size) && read(fd, &more, 1) == 0) {
            sum = {crc, size};
            return true;
        }
        if (lseek(fd, 0, SEEK_SET) != 0) {
            err = errno;
            return false;
        }
    }
    return stream_sum(fd, sum, err);
}

int run(const Options &opts, const Args &args)
{
    if (args.size() > 1) return usage_error("crc32 takes at most one FILE", "crc32");
    // As cksum: no file, or "-", is standard input, printed without a name.
    const bool is_stdin = args.empty() || args[0] == "-";
    const std::string path = args.empty() ? "" : args[0];
    int fd = is_stdin ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return fail(path + ": " + std::strerror(errno));
    Sum sum;
    int err = 0;
    const bool ok = file_sum(fd, sum, err);
    if (!is_stdin) close(fd);
    if (!ok) return fail((is_stdin ? std::string("standard input") : path) + ": " + std::strerror(err));
    if (opts.json) {
        std::printf("{\"crc\": %" PRIu32 ", \"size\": %" PRIu64 ", \"file\": %s}\n", sum.crc, sum.size,
                    args.empty() ? "null" : json_string(path).c_str());
    } else if (args.empty()) {
        std::printf("%" PRIu32 " %" PRIu64 "\n", sum.crc, sum.size);
    } else {
        std::printf("%" PRIu32 " %" PRIu64 " %s\n", sum.crc, sum.size, path.c_str());
    }
    return 0;
}

const Register reg({"crc32", "checksum of a file, as cksum prints it",
                    "usage: bspctl [--json] crc32 [FILE]\n"
                    "  Prints the CRC and the size of FILE as cksum does: the MSB-first CRC-32 of\n"
                    "  polynomial 0x04C11DB7 over the data and its length. FILE may be anything\n"
                    "  that can be read to its end: a regular file, a pipe or FIFO, a /proc file,\n"
                    "  a block device. Without FILE, or with -, it reads standard input.\n",
                    run, false});

}  // namespace
}  // namespace bspctl
