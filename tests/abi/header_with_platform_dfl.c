/* The library's header and the framework's own both declare the object handle; a program
 * may include them in either order (PLATFORM_FIRST picks one) and still compile as C99. */
#ifdef PLATFORM_FIRST
#include "platform/dfl.h"
#include "bmc_bsp.h"
#else
#include "bmc_bsp.h"
#include "platform/dfl.h"
#endif

int read_level(OBJ_HANDLE handle);

int read_level(OBJ_HANDLE handle)
{
    uint8_t level = 0;
    if (dfl_get_property_ubyte(handle, "Level", &level) != 0) return -1;
    return level;
}
