/* Miscellaneous platform services: checksum, boot-loader/SDK versions, file paths, exit requests. */
#ifndef PLATFORM_MISC_H
#define PLATFORM_MISC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

uint8_t arith_make_crc_checksum(uint8_t init, const uint8_t *data, uint32_t len);
int32_t get_cur_uboot_num(uint8_t *num);
int32_t get_uboot_ver(uint8_t num, char *buf);                  /* buf: 64 bytes */
int32_t get_sdk_ver(char *first, char *second, uint32_t first_len, uint32_t second_len);
int32_t fm_get_file_path(const char *a, const char *b, uint32_t c, char *path, uint32_t size);
int32_t per_exit(uint32_t request, uint32_t arg1, uint32_t arg2);

#ifdef __cplusplus
}
#endif

#endif
