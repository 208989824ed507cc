/* The library's header and the platform's own both declare the object handle and the
 * secure-core command block; a program may include them in either order (PLATFORM_FIRST picks
 * one) and still compile as C99. */
#ifdef PLATFORM_FIRST
#include "platform/dfl.h"
#include "platform/sec.h"
#include "bmc_bsp.h"
#else
#include "bmc_bsp.h"
#include "platform/dfl.h"
#include "platform/sec.h"
#endif

int read_level(OBJ_HANDLE handle);
int ask_core(SecMsgCmd *cmd);  /* the command block type is declared once, whatever the order */

int read_level(OBJ_HANDLE handle)
{
    uint8_t level = 0;
    if (dfl_get_property_ubyte(handle, "Level", &level) != 0) return -1;
    return level;
}
