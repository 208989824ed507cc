/*
 * libbsp: board support functions of the BMC.
 *
 * Plain C functions, one section per family. Unless a comment says otherwise:
 *  - a function returning uint32_t status returns 0 on success and 0xFFFFFFFF on failure;
 *    some pass a platform call's own non-zero code up unchanged, so treat any non-zero value
 *    as failure;
 *  - predicates (BSP_Is*, BSP_is*) return 1 or 0 and never fail: 0 when they cannot tell;
 *  - results go to caller-owned buffers; the library hands out nothing the caller must free;
 *  - a null output pointer is refused before any hardware is touched.
 */
#ifndef BMC_BSP_H
#define BMC_BSP_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(BSP_BUILDING_LIBRARY)
#define BSP_API __attribute__((visibility("default")))
#else
#define BSP_API
#endif

/* ===================================================================== runtime services */

/* Flushes the four platform log files under /var/log/zelm/ to flash (open "a+", fsync, close).
 * A missing or unopenable file is logged and skipped; nothing is written to the files. */
BSP_API void BSP_SyncLog2Flash(void);

/* ============================================================================== CRCs */

/* Lookup tables, all zero until their first use fills them (each exactly once). MSB-first. */
BSP_API extern uint8_t g_CRC8Table[256];    /* CRC-8, polynomial 0x07 */
BSP_API extern uint16_t g_crcTab16[256];    /* CRC-16, polynomial 0x1021 */
BSP_API extern uint32_t g_crc32Lut[256];    /* CRC-32, polynomial 0x04C11DB7, for BSP_CalcCrc32 */
BSP_API extern uint32_t g_CRC32HTable[256]; /* the same contents, for BSP_CalcFileCrc32 */

/* Fills entries 0..count-1 of `table` with the MSB-first CRC-32 table of 0x04C11DB7
 * (count is clamped to 256; 0 writes nothing). */
BSP_API void make_crc32_table(uint32_t *table, uint32_t count);
/* Fills g_crcTab16. */
BSP_API void make_crc16_table(void);
/* Fills g_CRC8Table. */
BSP_API void make_crc8_table(void);

/* CRC-8 (poly 0x07, no reflection, no final XOR) of `len` bytes continuing from `init`.
 * Returns `init` unchanged for a null `data` or a zero `len`. Init 0 gives CRC-8/SMBUS. */
BSP_API uint8_t BSP_CalCrc8(uint8_t init, const uint8_t *data, uint32_t len);
/* CRC-16 (poly 0x1021, no reflection, no final XOR) continuing from `init`: init 0 gives
 * CRC-16/XMODEM, 0xFFFF CRC-16/CCITT-FALSE. Returns `init` for a null `data` or zero `len`. */
BSP_API uint16_t BSP_CalCrc16(uint16_t init, const uint8_t *data, uint32_t len);
/* CRC-32 (poly 0x04C11DB7, MSB-first). The register starts at 0xFFFFFFFF when
 * `useAllOnesInit` is non-zero, else at `init`; the result is complemented when `invertResult`
 * is non-zero. Returns 0xFFFFFFFF for a null `data` or a zero `len`. */
BSP_API uint32_t BSP_CalcCrc32(const uint8_t *data, uint32_t len, uint32_t init, int8_t useAllOnesInit,
                               int8_t invertResult);
/* The POSIX cksum CRC of `len` bytes of the open file `fd` from `offset` (the data, then the
 * length's bytes, complemented). Returns 0xFFFFFFFF on any failure, and for `len` 0. Streams
 * through one 64 KiB buffer; the file position is left after the data read. */
BSP_API uint32_t BSP_CalcFileCrc32(int fd, uint32_t offset, uint32_t len);
/* Two's complement of the byte sum: the bytes plus the result sum to 0 modulo 256.
 * 0 for `len` 0. `data` must be valid for `len` bytes. */
BSP_API uint8_t BSP_CheckSum8(const uint8_t *data, uint32_t len);
/* Number of 1 bits in `value`. */
BSP_API uint8_t BSP_CntBitNum(uint32_t value);
/* Parity check of the lowest `bitCount` bits of `value`: mode 0 wants even parity (a zero
 * bitCount passes), mode 1 odd parity (a zero bitCount fails), any other mode passes.
 * Returns 0 when the parity is right, -1 when it is wrong. */
BSP_API int32_t BSP_PrivCheck(uint8_t mode, uint32_t value, uint8_t bitCount);

/* ==================================================================== board identity */

/* One row of the board table: which board type a board id has in a slot. */
typedef struct BoardListEntry {
    uint8_t boardId;
    uint8_t slot;
    uint32_t boardType;
} BoardListEntry;

/* A set of byte values with a cached answer: `answer` is -9600 until the set is first asked,
 * then the first answer (0 or 1) for good. The first 13 values are searched. */
#define BSP_BOARD_SET_UNASKED (-9600)
#define BSP_BOARD_SET_SIZE 13
typedef struct BoardSet {
    int32_t answer;
    uint8_t values[BSP_BOARD_SET_SIZE];
} BoardSet;

/* Board id from /dev/sys_info (bits 4..11 of the board-information word), cached for the life
 * of the process from the first read on, valid or not. Returns 0, or the failed request's own
 * code (the id is then 0), or 0xFFFFFFFF when the device cannot be opened, the pointer is null
 * or the id fails its even-parity check (`*boardId` is then 0xFF). A later call returns the
 * cached id with status 0. */
BSP_API uint32_t BSP_GetBmcBoardId(uint8_t *boardId);
/* Board type of this board: 0x20 on an SMM board, else the board-table row for (id, slot). */
BSP_API uint32_t BSP_GetBmcBoardType(uint32_t *boardType);
/* The board-table rows of this board's id, in table order, at most `maxCount` of them; the
 * `maxCount` entries are first preset to 0xFF/0xFF/0xFF. Fails when nothing matches. */
BSP_API uint32_t BSP_GetBoardList(BoardListEntry *entries, uint8_t maxCount, uint8_t *count);
/* 1 when `value` is among the set's first 13 values. The first answer is cached in the set
 * and returned from then on, whatever `value` is asked. 0 for a null set. */
BSP_API uint32_t BSP_isInBoardSet(BoardSet *set, uint8_t value);
/* The set of 2U two-controller board ids, with its cached answer. */
BSP_API uint32_t BSP_is2u2cCtrlBoard(uint8_t boardId);
/* The set of 2U two-controller board types, with its cached answer. */
BSP_API uint32_t BSP_is2u2cCtrlBoardType(uint8_t boardType);
/* 1 when the board id is one the library knows. */
BSP_API uint32_t BSP_IsIdentifiedBoardType(uint8_t boardId);
/* Sets the board-type GPIO pins to input (results ignored). */
BSP_API void BSP_InitBoardTypeGpio(void);
/* 1 when the board sits in a factory test frame (SMM: pins 42..44 all read 0; other boards:
 * by frame type). */
BSP_API uint32_t BSP_isEquipFrameBoard(void);
/* Fixed answers of this build: always 0. */
BSP_API uint32_t BSP_IsManuVersion(void);
BSP_API uint32_t BSP_IsEsBoard(void);

/* Board-type predicates of this board (1 or 0). Most cache their first successful answer;
 * a failed board-id read answers 0 and is retried at the next call. */
BSP_API uint32_t BSP_IsSmmBoard(void);
BSP_API uint32_t BSP_Is2U2CBoard(void);
BSP_API uint32_t BSP_IsMiddleBoard(void);
BSP_API uint32_t BSP_Is2UExpBoard(void);
BSP_API uint32_t BSP_Is2UBoard(void);
BSP_API uint32_t BSP_Is7460SBoard(void);
BSP_API uint32_t BSP_Is7460SCtrlBoard(void);
BSP_API uint32_t BSP_Is5830Board(void);
BSP_API uint32_t BSP_Is58204U4CBoard(void);
BSP_API uint32_t BSP_Is58304U4CBoard(void);
BSP_API uint32_t BSP_Is4U4CBoard(void);
BSP_API uint32_t BSP_Is58304u2pBoard(void);
BSP_API uint32_t BSP_Is5830SasBoard(void);
BSP_API uint32_t BSP_Is5830PalmBoard(void);
/* Palm board whose OS board id is 0x122700; asked once per process, even if that fails. */
BSP_API uint32_t BSP_Is5830PalmMicroBoard(void);
BSP_API uint32_t BSP_IsLiteBoard(void);
/* Not cached. */
BSP_API uint32_t BSP_isX86Board(void);
/* Number of CPUs of an x86 board: 2 for ids 0x2D, 0x33, 0x35; 1 for 0x2E; 0 otherwise. */
BSP_API uint32_t BSP_SingleCpuOrDoubleCpu(void);

/* ============================================================== CPLD register access */

/* The four hubs. Addresses are 0..1023, bits 0..7; a bad argument is refused before any bus
 * traffic. The path (local bus or SPI) is chosen at every call from the board. */

/* Reads `len` consecutive registers from `addr` into `out` (`len` is not checked). */
BSP_API uint32_t BSP_ReadCpldBytes(uint32_t addr, uint32_t len, uint8_t *out);
/* Writes one register. */
BSP_API uint32_t BSP_WriteCpldByte(uint32_t addr, uint8_t value);
/* Reads one bit into `*out` as 0 or 1. */
BSP_API uint32_t BSP_ReadCpldBit(uint32_t addr, uint32_t bit, uint8_t *out);
/* Writes one bit (non-zero `value` sets it). */
BSP_API uint32_t BSP_WriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value);
/* As BSP_WriteCpldBit, but on SPI a read-modify-write of the whole byte. For debugging. */
BSP_API uint32_t BSP_DegWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value);
/* 1 when the CPLD object "cpld1" refers through "LBus" to the SPI controller "spi1". */
BSP_API uint32_t BSP_UseSpi2Cpld(void);

/* Local-bus path: one driver call each, no retry. */
BSP_API uint32_t BSP_LbReadCpldBytes(uint32_t addr, uint32_t len, uint8_t *out);
BSP_API uint32_t BSP_LbWriteCpldByte(uint32_t addr, uint8_t value);
BSP_API uint32_t BSP_LbReadCpldBit(uint32_t addr, uint32_t bit, uint8_t *out);
BSP_API uint32_t BSP_LbWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value);

/* SPI path. The *Once functions make one attempt; the others make up to five, 10 ms after
 * every failed attempt, and return the last attempt's result. */
BSP_API uint32_t BSP_SpiReadCpldByte(uint32_t addr, uint8_t *out);
BSP_API uint32_t BSP_SpiReadCpldBytesOnce(uint32_t addr, uint32_t len, uint8_t *out);
BSP_API uint32_t BSP_SpiReadCpldBitOnce(uint32_t addr, uint32_t bit, uint8_t *out);
BSP_API uint32_t BSP_SpiWriteCpldByteOnce(uint32_t addr, uint8_t value);
/* Masked bit write through the framework chip "cpld1"; returns the framework's result. */
BSP_API uint32_t BSP_SpiDflWriteCpldBitOnce(uint32_t addr, uint32_t bit, uint8_t value);
BSP_API uint32_t BSP_SpiReadCpldBytes(uint32_t addr, uint32_t len, uint8_t *out);
BSP_API uint32_t BSP_SpiReadCpldBit(uint32_t addr, uint32_t bit, uint8_t *out);
BSP_API uint32_t BSP_SpiWriteCpldByte(uint32_t addr, uint8_t value);
BSP_API uint32_t BSP_SpiDflWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value);
/* Read-modify-write of one bit for debugging: `value` is shifted in unreduced. Prints a note
 * on standard output. */
BSP_API uint32_t BSP_SpiWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value);

/* Factory mode: bit 0 of register 0x56, or the fan-board MCU's mode on an SMM board. */
BSP_API uint32_t BSP_GetEquipMode(uint8_t *mode);
BSP_API uint32_t BSP_SetEquipMode(uint8_t mode);
/* The interrupt bit's value; 0 when it cannot be read. */
BSP_API uint8_t BSP_CpldIntRead(uint32_t addr, uint32_t bit);
/* Writes 1 then, 5 ms later, 0 to the bit; returns the second write's status. */
BSP_API uint32_t BSP_CpldIntClear(uint32_t addr, uint32_t bit);
/* Masks every interrupt (0xFF to registers 0xC0 and 0xC1); returns the second write's status. */
BSP_API uint32_t BSP_CpldIntMask(void);
/* Validity flag of serial-data channel 0..3 (bit of register 0x1AC); 0 when unknown. */
BSP_API uint8_t BSP_CpldSerialDataValidityCheck(uint8_t channel);
/* Debounced read of the noisy registers 0x29, 0x33 and 0x1D2..0x1D9: three samples 3 ms
 * apart must agree (at most 50 extra reads); other registers are read plainly. */
BSP_API uint32_t BSP_ReadCpldByteForTdm(uint32_t addr, uint32_t len, uint8_t *out);

/* ============================================================= board presence and status */

/* 24-bit OS board id from the CPLD. Not built yet: answers 0xFFFFFFFF. */
BSP_API uint32_t BSP_GetOsBoardId(void);

/* ================================================================= slot identification */

/* Slot of this board (0..3). Not built yet: fails with 0xFFFFFFFF without touching anything. */
BSP_API int32_t BSP_GetBoardSlot(uint8_t *slot);

/* ============================================================== enclosure configuration */

/* Frame type (6 bits). Not built yet: fails with -1 without touching anything. */
BSP_API int32_t BSP_GetFrameType(uint16_t *type);

/* ==================================================== fan-board MCU and cooling state */

/* Factory mode kept by the SMM's fan-board MCU. Not built yet: leaves `*mode` as it was. */
BSP_API void BSP_GetSmmMcuMode(uint8_t *mode);
/* Not built yet: fails with -1 without touching anything. */
BSP_API int32_t BSP_SetSmmMcuMode(uint8_t mode);

#ifdef __cplusplus
}
#endif

#endif /* BMC_BSP_H */
