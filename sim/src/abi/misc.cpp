// Platform entry points of the SoC's firmware queries.
#include "models/firmware.h"
#include "platform/misc.h"

using namespace bspsim;
using namespace bspsim::detail;

BSPSIM_API int32_t get_cur_uboot_num(uint8_t *num)
{
    Call call(Op::GetUbootNum, kAnyKey);
    return firmware::uboot_num(call, num);
}

BSPSIM_API int32_t get_uboot_ver(uint8_t num, char *buf)
{
    Call call(Op::GetUbootVer, num);
    return firmware::uboot_ver(call, num, buf);
}

BSPSIM_API int32_t get_sdk_ver(char *first, char *second, uint32_t first_len, uint32_t second_len)
{
    Call call(Op::GetSdkVer, kAnyKey);
    return firmware::sdk_ver(call, first, second, first_len, second_len);
}
