/* Compiled as C99 and as C++: the exported header must be clean in both. */
#include "bmc_bsp.h"
#include "bmc_bsp.h" /* and survive a second inclusion */

int header_use(void);

int header_use(void)
{
    BoardListEntry entries[2];
    uint8_t count = 0;
    BoardSet set = {BSP_BOARD_SET_UNASKED, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}};
    uint32_t (*predicate)(void) = BSP_IsSmmBoard;
    (void)predicate;
    return (int)(BSP_GetBoardList(entries, 2, &count) + BSP_isInBoardSet(&set, 1) + g_CRC8Table[0]);
}
