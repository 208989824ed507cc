/* A program of another project that uses the installed library: it asks the board who it is
 * and prints the answers. Built by examples/consumer/CMakeLists.txt (find_package) or with
 * pkg-config; on a host it runs on the simulated board. */
#include <bmc_bsp.h>
#include <stdio.h>

int main(void)
{
    uint8_t boardId = 0xFF;
    uint32_t boardType = 0;
    uint32_t status = BSP_GetBmcBoardId(&boardId);
    if (status != 0) {
        fprintf(stderr, "consumer: cannot read the board id (status 0x%08x)\n", (unsigned)status);
        return 1;
    }
    status = BSP_GetBmcBoardType(&boardType);
    if (status != 0) {
        fprintf(stderr, "consumer: cannot read the board type (status 0x%08x)\n", (unsigned)status);
        return 1;
    }
    const char *check = "123456789";
    printf("board id 0x%02x, type %u, controllers %u, crc32 0x%08x\n", boardId, (unsigned)boardType,
           (unsigned)BSP_GetCtrlBoardNum(), (unsigned)BSP_CalcCrc32((const uint8_t *)check, 9, 0, 1, 0));
    return 0;
}
