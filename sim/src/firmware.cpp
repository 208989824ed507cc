// Boot-loader and SDK version queries of the SoC platform, answered from the profile.
#include <glib.h>

#include <cstring>

#include "platform/misc.h"
#include "state.h"

using namespace bspsim;
using namespace bspsim::detail;

namespace {

// The caller's buffer must hold the text and its terminator.
bool fits(const char *text, uint32_t capacity) { return std::strlen(text) < capacity; }

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int32_t get_cur_uboot_num(uint8_t *num)
{
    int32_t code = 0;
    if (injected(Op::GetUbootNum, kAnyKey, &code)) return code;
    Lock lock;
    if (!num) return refuse(Op::GetUbootNum);
    *num = static_cast<uint8_t>(state().firmware.uboot_num);
    record(Op::GetUbootNum, 0, 0, *num, 0);
    return 0;
}

// `buf` holds 64 bytes by contract.
__attribute__((visibility("default"))) int32_t get_uboot_ver(uint8_t num, char *buf)
{
    int32_t code = 0;
    if (injected(Op::GetUbootVer, num, &code, num)) return code;
    Lock lock;
    if (!buf || num >= kUbootCopies) return refuse(Op::GetUbootVer, num);
    g_strlcpy(buf, state().firmware.uboot[num], kVersionTextLen);
    record(Op::GetUbootVer, num, 0, 0, 0, buf);
    return 0;
}

__attribute__((visibility("default"))) int32_t get_sdk_ver(char *first, char *second, uint32_t first_len,
                                                            uint32_t second_len)
{
    int32_t code = 0;
    if (injected(Op::GetSdkVer, kAnyKey, &code, first_len, second_len)) return code;
    Lock lock;
    const FirmwareState &fw = state().firmware;
    if (!first || !second || !fits(fw.sdk_first, first_len) || !fits(fw.sdk_second, second_len)) {
        return refuse(Op::GetSdkVer, first_len, second_len);
    }
    std::memcpy(first, fw.sdk_first, std::strlen(fw.sdk_first) + 1);
    std::memcpy(second, fw.sdk_second, std::strlen(fw.sdk_second) + 1);
    record(Op::GetSdkVer, first_len, second_len, 0, 0, first);
    return 0;
}

}  // extern "C"
