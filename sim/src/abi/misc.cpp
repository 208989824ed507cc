// Platform entry points of the SoC's firmware queries, the file manager and the BMC's exit
// handler.
#include <string>

#include "models/bmc.h"
#include "models/firmware.h"
#include "platform/misc.h"

using namespace bspsim;
using namespace bspsim::detail;

BSPSIM_API int32_t get_cur_uboot_num(uint8_t *num)
{
    return firmware::uboot_num({Op::GetUbootNum, kAnyKey}, num);
}

BSPSIM_API int32_t get_uboot_ver(uint8_t num, char *buf)
{
    return firmware::uboot_ver({Op::GetUbootVer, num}, num, buf);
}

BSPSIM_API int32_t get_sdk_ver(char *first, char *second, uint32_t first_len, uint32_t second_len)
{
    return firmware::sdk_ver({Op::GetSdkVer, kAnyKey}, first, second, first_len, second_len);
}

// The platform's 8-bit check byte: CRC-8 with polynomial x^8 + x^2 + x + 1 (0x07), most
// significant bit first, starting from `init`, no final inversion. A pure computation: it
// touches no device, so it is neither recorded nor open to injected faults.
BSPSIM_API uint8_t arith_make_crc_checksum(uint8_t init, const uint8_t *data, uint32_t len)
{
    uint8_t crc = init;
    for (uint32_t i = 0; data && i < len; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit) crc = static_cast<uint8_t>((crc & 0x80) ? (crc << 1) ^ 0x07 : crc << 1);
    }
    return crc;
}

// The file manager keeps its files under a directory of its own, by two names and a number. On
// the simulated board that directory is in the instance's own, so tests and tools can put a
// file there (see fm_path). A path that does not fit `size` fails and leaves `path` empty.
BSPSIM_API int32_t fm_get_file_path(const char *a, const char *b, uint32_t c, char *path, uint32_t size)
{
    Call call(Op::FmGetFilePath, c, {.a = c, .name = std::string(a ? a : "") + "/" + (b ? b : "")});
    return call.run(a && b && path && size > 0, [&] {
        std::string built = fm_path(instance_dir(), a, b, c);
        if (built.size() >= size) {
            path[0] = '\0';
            return -1;
        }
        built.copy(path, built.size());
        path[built.size()] = '\0';
        return 0;
    });
}

BSPSIM_API int32_t per_exit(uint32_t request, uint32_t arg1, uint32_t arg2)
{
    return bmc::exit_request({Op::PerExit, request}, request, arg1, arg2);
}
