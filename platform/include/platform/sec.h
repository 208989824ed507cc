/* The secure-core message channel. */
#ifndef PLATFORM_SEC_H
#define PLATFORM_SEC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Guarded: the library's exported header declares the same type for its users. */
#if !defined(BSP_SEC_MSG_CMD_DEFINED)
#define BSP_SEC_MSG_CMD_DEFINED
typedef struct SecMsgCmd { uint8_t *s_buff; uint32_t s_len; uint8_t *r_buff; uint32_t r_len; } SecMsgCmd;
#endif
int32_t sec_msg_sendrecv(SecMsgCmd *cmd);

#ifdef __cplusplus
}
#endif

#endif
