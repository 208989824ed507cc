// Boot-loader and SDK version queries of the SoC platform.
#ifndef BSPSIM_MODELS_FIRMWARE_H
#define BSPSIM_MODELS_FIRMWARE_H

#include "core/core.h"

namespace bspsim::detail::firmware {

int32_t uboot_num(Call &&call, uint8_t *num);
int32_t uboot_ver(Call &&call, uint8_t num, char *buf);
int32_t sdk_ver(Call &&call, char *first, char *second, uint32_t first_len, uint32_t second_len);

}  // namespace bspsim::detail::firmware

#endif
