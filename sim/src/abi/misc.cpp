// Platform entry points of the SoC's firmware queries.
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
