/**
 * @file
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

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(BSP_BUILDING_LIBRARY)
#define BSP_API __attribute__((visibility("default")))
#else
#define BSP_API
#endif

/* Size and offsets of the exported records and tables are part of the binary interface, as
 * those of the platform's request records are: each is checked where it is declared. C99 has
 * no static assertion, so there an array of negative size stops the compiler instead. */
/** @cond LAYOUT_CHECKS */
#if defined(__cplusplus)
#define BSP_LAYOUT_ASSERT(cond, text) static_assert(cond, text)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define BSP_LAYOUT_ASSERT(cond, text) _Static_assert(cond, text)
#else
#define BSP_LAYOUT_CHECK_NAME2(line) bsp_layout_check_##line
#define BSP_LAYOUT_CHECK_NAME(line) BSP_LAYOUT_CHECK_NAME2(line)
#define BSP_LAYOUT_ASSERT(cond, text) typedef char BSP_LAYOUT_CHECK_NAME(__LINE__)[(cond) ? 1 : -1]
#endif
/** @endcond */

/* ===================================================================== runtime services */

/** Flushes the four platform log files under /var/log/zelm/ to flash (open "a+", fsync, close).
 * A missing or unopenable file is logged and skipped; nothing is written to the files. */
BSP_API void BSP_SyncLog2Flash(void);

/* ============================================================================== CRCs */

/** @{ */
/** Lookup tables, all zero until their first use fills them (each exactly once). MSB-first. */
BSP_API extern uint8_t g_CRC8Table[256];    /**< CRC-8, polynomial 0x07 */
BSP_API extern uint16_t g_crcTab16[256];    /**< CRC-16, polynomial 0x1021 */
BSP_API extern uint32_t g_crc32Lut[256];    /**< CRC-32, polynomial 0x04C11DB7, for BSP_CalcCrc32 */
BSP_API extern uint32_t g_CRC32HTable[256]; /**< the same contents, for BSP_CalcFileCrc32 */
/** @} */
/** @cond LAYOUT_CHECKS */
BSP_LAYOUT_ASSERT(sizeof(g_CRC8Table) == 256, "g_CRC8Table is 256 bytes");
BSP_LAYOUT_ASSERT(sizeof(g_crcTab16) == 512, "g_crcTab16 is 512 bytes");
BSP_LAYOUT_ASSERT(sizeof(g_crc32Lut) == 1024, "g_crc32Lut is 1024 bytes");
BSP_LAYOUT_ASSERT(sizeof(g_CRC32HTable) == 1024, "g_CRC32HTable is 1024 bytes");
/** @endcond */

/** Fills entries 0..count-1 of `table` with the MSB-first CRC-32 table of 0x04C11DB7
 * (count is clamped to 256; 0 writes nothing). */
BSP_API void make_crc32_table(uint32_t *table, uint32_t count);
/** Fills g_crcTab16. */
BSP_API void make_crc16_table(void);
/** Fills g_CRC8Table. */
BSP_API void make_crc8_table(void);

/** CRC-8 (poly 0x07, no reflection, no final XOR) of `len` bytes continuing from `init`.
 * Returns `init` unchanged for a null `data` or a zero `len`. Init 0 gives CRC-8/SMBUS. */
BSP_API uint8_t BSP_CalCrc8(uint8_t init, const uint8_t *data, uint32_t len);
/** CRC-16 (poly 0x1021, no reflection, no final XOR) continuing from `init`: init 0 gives
 * CRC-16/XMODEM, 0xFFFF CRC-16/CCITT-FALSE. Returns `init` for a null `data` or zero `len`. */
BSP_API uint16_t BSP_CalCrc16(uint16_t init, const uint8_t *data, uint32_t len);
/** CRC-32 (poly 0x04C11DB7, MSB-first). The register starts at 0xFFFFFFFF when
 * `useAllOnesInit` is non-zero, else at `init`; the result is complemented when `invertResult`
 * is non-zero. Returns 0xFFFFFFFF for a null `data` or a zero `len`. */
BSP_API uint32_t BSP_CalcCrc32(const uint8_t *data, uint32_t len, uint32_t init, int8_t useAllOnesInit,
                               int8_t invertResult);
/** The POSIX cksum CRC of `len` bytes of the open file `fd` from `offset` (the data, then the
 * length's bytes, complemented). Returns 0xFFFFFFFF on any failure, and for `len` 0. Streams
 * through one 64 KiB buffer; the file position is left after the data read. */
BSP_API uint32_t BSP_CalcFileCrc32(int fd, uint32_t offset, uint32_t len);
/** Two's complement of the byte sum: the bytes plus the result sum to 0 modulo 256.
 * 0 for `len` 0 or a null `data`; otherwise `data` must be valid for `len` bytes. */
BSP_API uint8_t BSP_CheckSum8(const uint8_t *data, uint32_t len);
/** Number of 1 bits in `value`. */
BSP_API uint8_t BSP_CntBitNum(uint32_t value);
/** Parity check of the lowest `bitCount` bits of `value`: mode 0 wants even parity (a zero
 * bitCount passes), mode 1 odd parity (a zero bitCount fails), any other mode passes.
 * Returns 0 when the parity is right, -1 when it is wrong. */
BSP_API int32_t BSP_PrivCheck(uint8_t mode, uint32_t value, uint8_t bitCount);

/* =================================================================== data conversion */

/* Conversions never fail: they wrap, clamp or stop at the first character they do not expect,
 * as each comment says. A null text is read as an empty one. */

/** Hexadecimal text to a number: an optional "0x"/"0X", then digits and letters until the first
 * other character. Any letter counts as (its lower case - 'a' + 10), so "g" is 16 and "z" 35;
 * only proper hexadecimal is meant. Wraps modulo 2^32; 0 for an empty scan. */
BSP_API uint32_t htoi(const char *text);
/** Binary text to a number: "0" and "1" until the first other character (no prefix); only the
 * last 16 digits survive. 0 when the text does not start with "0" or "1". */
BSP_API uint32_t btoi(const char *text);
/** Text starting "0x"/"0X" as htoi; anything else as decimal with strtol (leading blanks and a
 * sign accepted, trailing text ignored, so "010" is 10). */
BSP_API int64_t BSP_HexOrDecPro(const char *text);
/** Trims blanks, tabs, line feeds and carriage returns (only these) from both ends of `text`, in
 * place; white space only becomes empty. A null or empty text is logged and left alone. */
BSP_API void BSP_StrConvert(char *text);
/** Cuts `text` in place at the first '#' outside double quotes. Null or empty is left alone. */
BSP_API void BSP_CommentTrim(char *text);
/** @{ */
/** `later - earlier` modulo 2^32 (resp. 2^64): elapsed ticks even across a counter wrap. */
BSP_API uint32_t BSP_Diff_Uint32(uint32_t earlier, uint32_t later);
BSP_API uint64_t BSP_Diff_Ulong(uint64_t earlier, uint64_t later);
/** @} */

/** PMBus LINEAR16: the unsigned `mantissa` times 2^`exponent` (already sign-extended). */
BSP_API float BSP_Literal16ToFloat(uint16_t mantissa, int8_t exponent);
/** PMBus LINEAR11: bits 0-10 a signed mantissa, bits 11-15 a signed exponent (-16..15). */
BSP_API float BSP_Literal11ToFloat(uint16_t word);
/** PMBus LINEAR16 encoding of `value` for the 5-bit two's-complement exponent field in bits 0-4
 * of `exponent` (the mode byte; higher bits ignored). Clamped to 0..65535, else truncated. */
BSP_API uint16_t BSP_FloatToLiteral16(int8_t exponent, float value);

/** GLib's value type, declared as GLib itself does; include <glib.h> to build or read values. */
struct _GVariant;
/** `value` as text: "b" TRUE/FALSE; "y" "%u"; "n", "q", "i" "%d"; "u" "%d" too (so 2^31 and
 * up print negative); "d" "%f"; "s" a copy; any array as BSP_GarrayToString. Returns a new text
 * the caller frees with g_free, or null for another type or a null `value` (logged). The
 * caller keeps its reference to `value`. */
BSP_API char *BSP_GvariantToString(struct _GVariant *value);
/** The elements of the array (or other container) `array` rendered as above, each followed by
 * ", " (the last one too); elements that render to null are skipped, and all of them when the
 * type of `array` nests more than 64 levels deep ("" then). Once the next element no longer fits
 * into 124 characters, "..." ends the text. Returns a new text the caller frees with g_free, or
 * null for a null or non-container `array` (logged). The caller keeps `array`. */
BSP_API char *BSP_GarrayToString(struct _GVariant *array);
/** Writes min(count, (outSize - 1) / 2) bytes of `bytes` into `out` as upper-case hexadecimal
 * pairs, terminated. Writes nothing when a pointer is null or a size is 0. */
BSP_API void BSP_Arr2String(const uint8_t *bytes, uint32_t count, char *out, uint32_t outSize);
/** Direction 0: fan level 1..32 to PWM duty 0..255 (level 1 is the board's lowest duty: 25 on a
 * lite board, 51 on others; level 32 is 255). Direction 1: PWM duty to the nearest fan level.
 * Other directions give 0. Results outside a byte wrap (they are cut to 8 bits). */
BSP_API uint8_t BSP_FanLevelConvert(uint8_t direction, uint8_t value);

/** Reads `length` bytes (at most 10240) from `offset` of the file `path` opened with `mode` into
 * `buf`. Returns 0, or 0xFFFFFFFF (logged) for a null pointer, a length above the limit (refused
 * before the file is opened), a file that cannot be opened or positioned, or fewer bytes than
 * asked for; `buf` is then left untouched. */
BSP_API uint32_t BSP_ReadFileInfo(const char *path, const char *mode, uint32_t offset, uint32_t length, void *buf);
/** Writes `length` bytes (at most 10240) of `buf` at `offset` of the file `path` opened with
 * `mode`, and has them flushed and synchronised to the medium before it returns 0. Returns
 * 0xFFFFFFFF (logged) on the failures BSP_ReadFileInfo names, a short write, or a failed flush
 * or synchronisation; what reached the file then is unknown. */
BSP_API uint32_t BSP_WriteFileInfo(const char *path, const char *mode, uint32_t offset, uint32_t length,
                                   const void *buf);

/* ================================================================= object properties */

/* Typed access to properties of the management framework's objects. Every function returns
 * 0 on success. Where a comment says "framework code", a refusal of the framework is passed
 * back unchanged; the wrapper's own failures are -1. The option word is the framework's and
 * is passed through untouched. Each outcome is logged with the object's name. */

#if !defined(BSP_OBJ_HANDLE_DEFINED)
#define BSP_OBJ_HANDLE_DEFINED
/** Opaque object handle issued by the framework (the same type as the framework's own). */
typedef uint64_t OBJ_HANDLE;
#endif

/** @{ */
/** Numeric getters: store the property's value in `*value`, which a failure leaves untouched.
 * Return the framework code on failure (-1 for a null `value`). */
BSP_API int32_t dfl_get_property_ubyte(OBJ_HANDLE handle, const char *property, uint8_t *value);
BSP_API int32_t dfl_get_property_uint16(OBJ_HANDLE handle, const char *property, uint16_t *value);
BSP_API int32_t dfl_get_property_int16(OBJ_HANDLE handle, const char *property, int16_t *value);
BSP_API int32_t dfl_get_property_int32(OBJ_HANDLE handle, const char *property, int32_t *value);
BSP_API int32_t dfl_get_property_uint32(OBJ_HANDLE handle, const char *property, uint32_t *value);
/** @} */
/** The byte from the property's hardware source (no option, despite the name). Returns -1 on
 * any failure, and logs nothing on success. */
BSP_API int32_t dfl_get_hardware_ubyte_option(OBJ_HANDLE handle, const char *property, uint8_t *value);

/** @{ */
/** Numeric setters: store `value`, with option 0 or the caller's `option`. Return the
 * framework code on failure. BSP_SetPropertyUbyte is dfl_set_property_ubyte_option. */
BSP_API int32_t dfl_set_property_ubyte(OBJ_HANDLE handle, const char *property, uint8_t value);
BSP_API int32_t dfl_set_property_ubyte_option(OBJ_HANDLE handle, const char *property, uint8_t value,
                                              uint32_t option);
BSP_API int32_t BSP_SetPropertyUbyte(OBJ_HANDLE handle, const char *property, uint8_t value, uint32_t option);
BSP_API int32_t dfl_set_property_uint16(OBJ_HANDLE handle, const char *property, uint16_t value);
BSP_API int32_t BSP_SetPropertyUint16(OBJ_HANDLE handle, const char *property, uint16_t value, uint32_t option);
BSP_API int32_t dfl_set_property_int16(OBJ_HANDLE handle, const char *property, int16_t value);
BSP_API int32_t dfl_set_property_int32(OBJ_HANDLE handle, const char *property, int32_t value);
BSP_API int32_t dfl_set_property_int32_option(OBJ_HANDLE handle, const char *property, int32_t value,
                                              uint32_t option);
BSP_API int32_t dfl_set_property_uint32(OBJ_HANDLE handle, const char *property, uint32_t value);
/** @} */

/** Stores the text `value` (option 0). Returns -1 for a null `value` without calling the
 * framework, else the framework code on failure. */
BSP_API int32_t dfl_set_property_string(OBJ_HANDLE handle, const char *property, const char *value);
/** Copies the text property with its terminating zero into `buffer` of `size` bytes (the text
 * must be shorter than `size`; `size` must not be 0). Returns -1 on any failure; a failed
 * copy is only logged, and the call still returns 0. */
BSP_API int32_t dfl_get_property_string(OBJ_HANDLE handle, const char *property, char *buffer, uint32_t size);

/** Copies the byte-array property into `buffer`: min(property length, `length`) bytes; the
 * number copied is not reported, bytes after a shorter property are left as they were.
 * Returns the framework code, the copy routine's code, or -1 (null buffer, negative length,
 * empty or non-array property). */
BSP_API int32_t BSP_Get_property_ubyteArry(OBJ_HANDLE handle, const char *property, uint8_t *buffer,
                                           int32_t length);
/** Stores `count` bytes of `data` as a byte-array property, with the caller's `option`.
 * Returns -1 on any failure, the framework's refusal included. */
BSP_API int32_t BSP_Set_property_ubyteArry(OBJ_HANDLE handle, const char *property, const uint8_t *data,
                                           int32_t count, uint32_t option);

/* ======================================================= files, keys and crypto */

/* Files read and written whole, the file manager's accessibility test, key material kept as
 * properties of framework objects, and OpenSSL's start-up. Key material only ever passes
 * through the caller's buffers; no log line shows it. */

/**
 * Reads exactly `len` bytes from the start of the existing file `path` into `buf`.
 * The path (at most 4096 characters) is resolved first: symbolic links, "." and "..".
 * Returns 0 when all `len` bytes were read, -1 for a null, over-long or unresolvable path, a
 * file that cannot be opened or a shorter file (each logged). `buf` belongs to the caller; on
 * failure its contents are unspecified.
 */
BSP_API int32_t dal_read_file(const char *path, void *buf, size_t len);

/**
 * Replaces the contents of the existing file `path` with the `len` bytes of `buf`, then
 * flushes them to the medium (fsync). Never creates a file: a missing path fails.
 * Returns 0 once the bytes are on the medium, -1 for a null, over-long or unresolvable path, a
 * file the platform reports inaccessible, or a failed open, write or flush (each logged). A
 * failure after the open leaves the file truncated.
 */
BSP_API int32_t dal_write_file(const char *path, const void *buf, size_t len);

/**
 * Whether the file manager's file named by the identifiers `a`, `b` and `c` exists and is
 * accessible. Returns the platform's answer (1 accessible, 0 not), or 0 without asking when
 * `a` or `b` is null.
 */
BSP_API int32_t dal_get_fm_file_accessible(const char *a, const char *b, uint32_t c);

/**
 * Copies the key component, the byte-array property `property` of the framework object
 * `object`, into `buf` of `size` bytes. The component's length is not reported: callers know
 * it by contract. Returns 0 on success; -1 for a null argument (silently), an unknown object,
 * an unreadable or empty property, or a component longer than `size` (each logged, never with
 * key bytes).
 */
BSP_API int32_t dal_get_encryptkey_component(const char *object, const char *property, uint8_t *buf, int32_t size);

/**
 * Copies the work key, the text property `property` of the framework object `object`, into
 * `buf` of `size` bytes with its terminating zero, cut at 97 characters. The working copy is
 * wiped before returning, on every path. Returns 0 on success; -1 for a null argument
 * (silently), an unknown object, an unreadable property, or a `size` too small for the key
 * (each logged, never with key text).
 */
BSP_API int32_t dal_get_encryptkey_workkey(const char *object, const char *property, char *buf, int32_t size);

/** The calling thread's id, the value of pthread_self(). Never fails. */
BSP_API unsigned long dal_get_self_thread_id(void);

/**
 * Initialises OpenSSL (ciphers, digests, error strings) and creates the one process lock
 * named "openssl_lock0" for OpenSSL's users. The first call does the work; later calls
 * return at once, also after a failed lock allocation (logged), which is not retried.
 * Meant to be called once at start, from one thread.
 */
BSP_API void dal_init_openssl(void);

/* ============================================================ internal UDP channel */

/* The internal network reaches the partner BMC over the point-to-point interface "veth"; the
 * partner's address is this BMC's own address on it minus one. */

/**
 * Creates an IPv4 UDP socket bound to "veth" and to `port` on every address, with address
 * reuse on. Failing options are logged and tolerated; a failed creation or bind is not.
 * Returns 0 with the descriptor in `*sockfd`, which the caller owns and closes; -1 for a null
 * `sockfd`, or when the socket cannot be made or bound (logged; nothing stays open).
 */
BSP_API int32_t BSP_CreateVethSocket(uint16_t port, int *sockfd);

/**
 * Writes this BMC's IPv4 address on "veth" into `buf` as dotted text with a trailing
 * newline, at most `size` - 1 bytes and not terminated: pass a zeroed buffer. Asks the
 * system's ifconfig afresh on every call. Returns 0 when an address was read; -1 for a null
 * `buf`, a `size` of 0, or when "veth" has no IPv4 address or the query cannot start (logged).
 */
BSP_API int32_t BSP_GetVethIP(char *buf, uint32_t size);

/**
 * Sends the `len` bytes of `buf` as one datagram from `sockfd` to the partner (this BMC's
 * "veth" address minus one) on `port`. Bytes 0 and 1 are the message's info type (byte 1 the
 * high byte), shown in the success line. Returns 0 when the whole datagram was sent; -1 for a
 * null `buf` or negative `len`, when the own address cannot be had, or when the send fell
 * short (logged).
 */
BSP_API int32_t BSP_SocketWrite(int sockfd, const uint8_t *buf, int32_t len, uint16_t port);

/* ==================================================================== board identity */

/** One row of the board table: which board type a board id has in a slot. */
typedef struct BoardListEntry {
    uint8_t boardId;    /**< board id */
    uint8_t slot;       /**< slot 0..3 */
    uint32_t boardType; /**< the board type of that id in that slot */
} BoardListEntry;
/** @cond LAYOUT_CHECKS */
BSP_LAYOUT_ASSERT(sizeof(BoardListEntry) == 8, "BoardListEntry is 8 bytes");
BSP_LAYOUT_ASSERT(offsetof(BoardListEntry, slot) == 1, "slot at 1");
BSP_LAYOUT_ASSERT(offsetof(BoardListEntry, boardType) == 4, "boardType at 4");
/** @endcond */

/** The `answer` of a BoardSet not asked yet. */
#define BSP_BOARD_SET_UNASKED (-9600)
/** Number of values a BoardSet searches. */
#define BSP_BOARD_SET_SIZE 13
/** A set of byte values with a cached answer: `answer` is -9600 until the set is first asked,
 * then the first answer (0 or 1) for good. The first 13 values are searched. */
typedef struct BoardSet {
    int32_t answer;                     /**< BSP_BOARD_SET_UNASKED, then the first answer */
    uint8_t values[BSP_BOARD_SET_SIZE]; /**< the members of the set */
} BoardSet;
/** @cond LAYOUT_CHECKS */
BSP_LAYOUT_ASSERT(sizeof(BoardSet) == 20, "BoardSet is 20 bytes");
BSP_LAYOUT_ASSERT(offsetof(BoardSet, values) == 4, "values at 4");
/** @endcond */

/** Board id from /dev/sys_info (bits 4..11 of the board-information word), cached for the life
 * of the process from the first read on, valid or not. Returns 0, or the failed request's own
 * code (the id is then 0), or 0xFFFFFFFF when the device cannot be opened, the pointer is null
 * or the id fails its even-parity check (`*boardId` is then 0xFF). A later call returns the
 * cached id with status 0. */
BSP_API uint32_t BSP_GetBmcBoardId(uint8_t *boardId);
/** Board type of this board: 0x20 on an SMM board, else the board-table row for (id, slot). */
BSP_API uint32_t BSP_GetBmcBoardType(uint32_t *boardType);
/** The board-table rows of this board's id, in table order, at most `maxCount` of them; the
 * `maxCount` entries are first preset to 0xFF/0xFF/0xFF. Fails when nothing matches. */
BSP_API uint32_t BSP_GetBoardList(BoardListEntry *entries, uint8_t maxCount, uint8_t *count);
/** 1 when `value` is among the set's first 13 values. The first answer is cached in the set
 * and returned from then on, whatever `value` is asked. 0 for a null set. */
BSP_API uint32_t BSP_isInBoardSet(BoardSet *set, uint8_t value);
/** The set of 2U two-controller board ids, with its cached answer. */
BSP_API uint32_t BSP_is2u2cCtrlBoard(uint8_t boardId);
/** The set of 2U two-controller board types, with its cached answer. */
BSP_API uint32_t BSP_is2u2cCtrlBoardType(uint8_t boardType);
/** 1 when the board id is one the library knows. */
BSP_API uint32_t BSP_IsIdentifiedBoardType(uint8_t boardId);
/** Sets the board-type GPIO pins to input (results ignored). */
BSP_API void BSP_InitBoardTypeGpio(void);
/** 1 when the board sits in a factory test frame (SMM: pins 42..44 all read 0; other boards:
 * by frame type). */
BSP_API uint32_t BSP_isEquipFrameBoard(void);
/** @{ */
/** Fixed answers of this build: always 0. */
BSP_API uint32_t BSP_IsManuVersion(void);
BSP_API uint32_t BSP_IsEsBoard(void);
/** @} */

/** @{ */
/** Board-type predicates of this board (1 or 0). Most cache their first successful answer;
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
/** @} */
/** Palm board whose OS board id is 0x122700; asked once per process, even if that fails. */
BSP_API uint32_t BSP_Is5830PalmMicroBoard(void);
/** Lite board predicate (1 or 0), cached as those above. */
BSP_API uint32_t BSP_IsLiteBoard(void);
/** x86 board predicate (1 or 0). Not cached. */
BSP_API uint32_t BSP_isX86Board(void);
/** Number of CPUs of an x86 board: 2 for ids 0x2D, 0x33, 0x35; 1 for 0x2E; 0 otherwise. */
BSP_API uint32_t BSP_SingleCpuOrDoubleCpu(void);

/* ============================================================== CPLD register access */

/* The four hubs. Addresses are 0..1023, bits 0..7; a bad argument is refused before any bus
 * traffic. The path (local bus or SPI) is chosen at every call from the board. */

/** Reads `len` consecutive registers from `addr` into `out` (`len` is not checked). */
BSP_API uint32_t BSP_ReadCpldBytes(uint32_t addr, uint32_t len, uint8_t *out);
/** Writes one register. */
BSP_API uint32_t BSP_WriteCpldByte(uint32_t addr, uint8_t value);
/** Reads one bit into `*out` as 0 or 1. */
BSP_API uint32_t BSP_ReadCpldBit(uint32_t addr, uint32_t bit, uint8_t *out);
/** Writes one bit (non-zero `value` sets it). */
BSP_API uint32_t BSP_WriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value);
/** As BSP_WriteCpldBit, but on SPI a read-modify-write of the whole byte. For debugging. */
BSP_API uint32_t BSP_DegWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value);
/** 1 when the CPLD object "cpld1" refers through "LBus" to the SPI controller "spi1". */
BSP_API uint32_t BSP_UseSpi2Cpld(void);

/** @{ */
/** Local-bus path: one driver call each, no retry. */
BSP_API uint32_t BSP_LbReadCpldBytes(uint32_t addr, uint32_t len, uint8_t *out);
BSP_API uint32_t BSP_LbWriteCpldByte(uint32_t addr, uint8_t value);
BSP_API uint32_t BSP_LbReadCpldBit(uint32_t addr, uint32_t bit, uint8_t *out);
BSP_API uint32_t BSP_LbWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value);
/** @} */

/** @{ */
/** SPI path. The *Once functions make one attempt; the others make up to five, 10 ms after
 * every failed attempt, and return the last attempt's result. */
BSP_API uint32_t BSP_SpiReadCpldByte(uint32_t addr, uint8_t *out);
BSP_API uint32_t BSP_SpiReadCpldBytesOnce(uint32_t addr, uint32_t len, uint8_t *out);
BSP_API uint32_t BSP_SpiReadCpldBitOnce(uint32_t addr, uint32_t bit, uint8_t *out);
BSP_API uint32_t BSP_SpiWriteCpldByteOnce(uint32_t addr, uint8_t value);
BSP_API uint32_t BSP_SpiReadCpldBytes(uint32_t addr, uint32_t len, uint8_t *out);
BSP_API uint32_t BSP_SpiReadCpldBit(uint32_t addr, uint32_t bit, uint8_t *out);
BSP_API uint32_t BSP_SpiWriteCpldByte(uint32_t addr, uint8_t value);
/** @} */
/** @{ */
/** Masked bit write through the framework chip "cpld1"; returns the framework's result.
 * BSP_SpiDflWriteCpldBit makes up to five attempts, as the SPI path above. */
BSP_API uint32_t BSP_SpiDflWriteCpldBitOnce(uint32_t addr, uint32_t bit, uint8_t value);
BSP_API uint32_t BSP_SpiDflWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value);
/** @} */
/** Read-modify-write of one bit for debugging: `value` is shifted in unreduced. Prints a note
 * on standard output. */
BSP_API uint32_t BSP_SpiWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value);

/** @{ */
/** Factory mode: bit 0 of register 0x56, or the fan-board MCU's mode on an SMM board. */
BSP_API uint32_t BSP_GetEquipMode(uint8_t *mode);
BSP_API uint32_t BSP_SetEquipMode(uint8_t mode);
/** @} */
/** The interrupt bit's value; 0 when it cannot be read. */
BSP_API uint8_t BSP_CpldIntRead(uint32_t addr, uint32_t bit);
/** Writes 1 then, 5 ms later, 0 to the bit; returns the second write's status. */
BSP_API uint32_t BSP_CpldIntClear(uint32_t addr, uint32_t bit);
/** Masks every interrupt (0xFF to registers 0xC0 and 0xC1); returns the second write's status. */
BSP_API uint32_t BSP_CpldIntMask(void);
/** Validity flag of serial-data channel 0..3 (bit of register 0x1AC); 0 when unknown. */
BSP_API uint8_t BSP_CpldSerialDataValidityCheck(uint8_t channel);
/** Debounced read of the noisy registers 0x29, 0x33 and 0x1D2..0x1D9: three samples 3 ms
 * apart must agree (at most 50 extra reads); other registers are read plainly. */
BSP_API uint32_t BSP_ReadCpldByteForTdm(uint32_t addr, uint32_t len, uint8_t *out);

/* =========================================================================== CPLD RAM */

/* The CPLD's RAM survives a BMC reboot and is shared by every management process. It is
 * reached byte by byte through CPLD registers 0xBA/0xBB (address, low 13 bits used) and 0xBC
 * (data), under the system-wide semaphore 29, which every function below takes and gives back
 * exactly once; a failed take touches nothing. The library's records lie in 0xC700..0xDBFF. */

/** Writes one byte. No result: a failure is only logged. */
BSP_API void BSP_SetCpldRam(uint16_t addr, uint8_t value);
/** Reads one byte into `*value`; a null `value` does nothing, and on failure `*value` is left
 * as it was. No result. */
BSP_API void BSP_GetCpldRam(uint16_t addr, uint8_t *value);
/** Writes `len` bytes from `data` to consecutive addresses, holding the semaphore for the whole
 * range. Refused (0xFFFFFFFF, nothing touched) when the range ends beyond 0xDBFF or `data` is
 * null; `len` 0 succeeds. A failure part-way leaves the bytes before it written. */
BSP_API uint32_t BSP_SetCpldRamBytes(uint16_t addr, const uint8_t *data, uint32_t len);
/** Reads `len` bytes into `data`, as BSP_SetCpldRamBytes; on failure the bytes read so far stay
 * in `data`. */
BSP_API uint32_t BSP_GetCpldRamBytes(uint16_t addr, uint8_t *data, uint32_t len);
/** Sets bit `bit` (0..7) of one byte to `value` (0 or 1); other values are refused. */
BSP_API uint32_t BSP_SetCpldRamBit(uint16_t addr, uint8_t bit, uint8_t value);
/** Reads bit `bit` (0..7) of one byte into `*value` (0 or 1); `*value` is written on success
 * only. */
BSP_API uint32_t BSP_GetCpldRamBit(uint16_t addr, uint8_t bit, uint8_t *value);
/** Writes 0 to `len` bytes from `addr` on, each byte under the semaphore by itself (other
 * processes may interleave). Fails when `addr` lies outside 0xC700..0xDBFF, or when the range
 * runs past 0xDBFF (the bytes up to 0xDBFF are then cleared). `len` 0 succeeds at once.
 * Failures of single bytes are only logged. */
BSP_API uint32_t BSP_ClearCpldRamData(uint16_t addr, uint32_t len);
/** Gives semaphore 29 back; a failing give is logged. No result. */
BSP_API void BSP_MutexV(void);

/* ========================================================== CPLD inventory and health */

/** Number of CPLDs on this board (2 or 3, from the logic version register table), cached once
 * known. Fails with `*num` = 0 when the board id cannot be read or has no row; the next call
 * then looks again. */
BSP_API uint32_t BSP_GetCpldNum(uint8_t *num);
/** Register that the self test of CPLD `cpldId` (0..2) writes and reads back. Fails, leaving
 * `*addr` untouched, for a null `addr` or a `cpldId` above 2. */
BSP_API uint32_t BSP_GetSelfTestCpldAddr(uint8_t cpldId, uint32_t *addr);
/** Write/read-back test of every CPLD (0xAA, then 0x55; a healthy test register answers the
 * complement) under process semaphore 12, at least 100 ms per CPLD. 0 when all passed, and
 * also when the semaphore is busy or the CPLD count is unknown (the test is then skipped);
 * 0xFFFFFFFF when a CPLD failed or was not reached. */
BSP_API uint32_t BSP_CpldSelfTest(void);
/** The same test of one CPLD. 0 when it passed or the semaphore was busy; 0xFFFFFFFF when it
 * failed or `cpldId` is above 2. */
BSP_API uint32_t BSP_CpldSelfTestByOne(uint8_t cpldId);
/** 1 when the CPLD fault register 0xFB shows no fault under the board's mask (0xFF on the
 * 5820 4U4C board, else 0x0F), 0 when it does. Answers 1 without reading on middle boards
 * and in manufacturing builds, and when the register cannot be read. A change of the answer
 * is logged. */
BSP_API uint32_t BSP_CpldBorCIsHealth(void);
/** Writes "<vendor of CPLD 0> <vendor of CPLD 1>" (from registers 0x1D5 and 0x2E0: "Anlu",
 * "Lattice", "pango", or "Undentified") into `buf`, at most `size` - 2 characters; a text that
 * does not fit is cut and logged. A null `buf` or a zero `size` writes nothing. */
BSP_API void BSP_Get5830CPLDTypeStr(uint8_t size, char *buf);
/** Device ids of `cpldNum` CPLDs (at most 6) from the platform's CPLD driver, asked on behalf
 * of CPLD `cpldId`, into `ids` (`idsSize` bytes). Tries 10 times, 1000 ms apart. Returns 0,
 * 0xFFFFFFFF for a bad argument or a count that differs from `cpldNum`, the driver's code
 * after ten failures, or the bounded copy's code when `ids` is too small. */
BSP_API uint32_t BSP_GetCpldChipId(uint32_t *ids, uint32_t idsSize, uint8_t cpldNum, uint8_t cpldId);
/** Vendor codes (0 Anlu, 1 Lattice, 2 pango) of `count` device ids into `types`. An unknown id
 * leaves its entry as it was and makes the result 0xFFFFFFFF; the others are still mapped.
 * 0 for `count` 0. */
BSP_API uint32_t BSP_CovertCpldType(const uint32_t *ids, uint8_t *types, uint8_t count);
/** Tells the platform's CPLD driver how many CPLDs the coming upgrade handles. Tries 10 times,
 * 1000 ms after every failure; returns 0 or the driver's last code. */
BSP_API uint32_t BSP_SetCpldUpgNum(uint32_t num);

/* ========================================================================== versions */

/** The logic version register table: 20 rows of (board id, CPLD count, the main/test/middle
 * version registers of up to 6 CPLDs). */
BSP_API uint32_t BSP_GetSizeOfLogicVerRegTable(void);
/** Board id of a row; 0xFF for a row above 19. */
BSP_API uint8_t BSP_GetBoardIdOfLogicVerRegTable(uint32_t row);
/** CPLD count of a row; 0 for a row above 19. */
BSP_API uint8_t BSP_GetCpldNumOfLogicVerRegTable(uint32_t row);
/** The version registers of CPLD `cpldId` on this board. Fails when a pointer is null, the
 * board id cannot be read or has no row, or the CPLD has no registers (the outputs are then
 * written with 0xFFFFFFFF). */
BSP_API uint32_t BSP_GetCpldVerReg(uint8_t cpldId, uint32_t *mainReg, uint32_t *testReg, uint32_t *middleReg);
/** Version text of CPLD `cpldId`, "00.MM.NNNTtt" (12 characters and a terminator; `ver` holds
 * 16 bytes), read only after the CPLD passed its self test. Fails for a null `ver`, a failed
 * self test or no version registers. */
BSP_API uint32_t BSP_GetCpldVersion(uint8_t cpldId, char *ver);
/** Appends the versions of all CPLDs, comma-separated, "invalid" for one that cannot be read,
 * to the string in `buf` (`bufSize` bytes). Always returns 0: trouble shows in the text and
 * the log only. A null `buf` or a `bufSize` below 1 is logged and nothing is read. */
BSP_API uint32_t BSP_GetCpldVerStr(char *buf, int32_t bufSize);
/** The BMC software version text into `buf` (64 bytes). 0, or 0xFFFFFFFF for a null `buf`. */
BSP_API uint32_t BSP_GetBmcVersion(char *buf);
/** PCB number (0..7) of the 2P board from GPIO pins 26 (bit 0), 27 and 29. A failed pin read
 * sets `*pcb` to 0xFF and fails. */
BSP_API uint32_t BSP_GetBmcBoardPcb58302P(uint8_t *pcb);
/** PCB number of this board: from the pins on the 2P board (id 0x71), else bits 1..3 of the
 * board-information word of /dev/sys_info. */
BSP_API uint32_t BSP_GetBmcBoardPcb(uint8_t *pcb);
/** PCB letter, 'A' + number; 'H' when the number cannot be read. 0xFFFFFFFF only for a null
 * `letter`. */
BSP_API uint32_t BSP_GetPcbVersion(char *letter);
/** 0 for the accepted PCB numbers 0, 1, 16 and 17; 0xFFFFFFFF for any other. */
BSP_API uint32_t BSP_PcbVersionCheck(uint8_t pcb);
/** Version of the boot-loader copy that booted (into `ubootBuffer`, 64 bytes; `ubootLength` is
 * not used) and the two SDK version texts. Always returns 0; failures are only logged. */
BSP_API uint32_t BSP_Get5830SdkUbootVersion(char *ubootBuffer, uint32_t ubootLength, char *firstSdkBuffer,
                                            uint32_t firstSdkLength, char *secondSdkBuffer,
                                            uint32_t secondSdkLength);
/** The SoC chip-information record (4 bytes, passed through unread) into `info`. */
BSP_API uint32_t BSP_GetBmc5830ChipInfo(void *info);

/* ============================================================= board presence and status */

/* Controller boards are numbered 0..3; a 2U enclosure has two, a 4U four-controller one four.
 * None of these functions writes hardware. */

/** 0 and `*state` = the BIOS state bit (register 0xED bit 0); 0xFFFFFFFF for a null `state`
 * or a failed read (`*state` untouched). */
BSP_API uint32_t BSP_GetBiosState(uint8_t *state);
/** Start-state code 0..7 (register 0xED bits 0-2). A failed read is not detected: it gives 0. */
BSP_API uint32_t BSP_GetStartState(void);
/** 0 and `*status` = 1 when controller board `board` has booted its OS, else 0. 0xFFFFFFFF,
 * with nothing logged, for a null `status` or a board above 3; 0xFFFFFFFF for a failed read. */
BSP_API uint32_t BSP_CtrlBoardGetOSBootStatus(uint8_t board, uint8_t *status);
/** 24-bit OS board id from registers 0x60 (bits 0-7), 0x61 (8-15) and 0x62 (16-23). A byte that
 * cannot be read counts as 0; no failure is reported. */
BSP_API uint32_t BSP_GetOsBoardId(void);
/** 0 and `*state` = bit `bit` of register 0x29 (SMM board `bit` online). 0xFFFFFFFF for a null
 * `state`, an unknown board type, on an SMM board itself (nothing read there) or when the read
 * returns 0xFFFFFFFF; any other read status counts as success. */
BSP_API uint32_t BSP_GetSmmOnlineStates(uint8_t bit, uint8_t *state);
/** 1 when the board's power-on counters on /dev/sys_info are zero (on a 5830 board the sum of
 * both counters, modulo 2^32), else 0; also 0 when the device fails. */
BSP_API uint32_t BSP_IsBoardFirstPowerOn(void);
/** Debounced online bit of controller board `board` (register 0x33): a 0 is taken at once, a 1
 * only after two reads of 1 in a row, 10 ms apart; at most three reads. 0 for a board above 3
 * or when no answer settles. */
BSP_API uint32_t BSP_GetBoardOnlineStatus(uint8_t board);
/** 0 with `*plant` = bits 12-15 and `*boardId` = bits 4-11 of the board information word of
 * /dev/sys_info; 0xFFFFFFFF for a null argument or a failing device. */
BSP_API uint32_t BSP_GetPlantInfo(uint8_t *plant, uint8_t *boardId);
/** 1 when AC power is reported lost (register 0x1B2 bit 0, else register 0xC6 bit 0, which
 * is not consulted on 4U four-controller boards other than the 5830 4U two-processor board).
 * Unreadable bits count as 0. */
BSP_API uint32_t BSP_IsAcDown(void);
/** Number of controller boards of this enclosure: 4 on a 4U four-controller board, else 2. */
BSP_API uint32_t BSP_GetCtrlBoardNum(void);
/** 0 and `*present` = presence bit of controller board `board` in register 0x33, or 0 for a
 * board not below BSP_GetCtrlBoardNum(). 0xFFFFFFFF for a null `present` or a failed read
 * (`*present` untouched). */
BSP_API uint32_t BSP_GetCtrlBoardPresent(uint8_t board, uint8_t *present);
/** 1 when controller board `board` is present, else 0 (0 for a board above 3). When the CPLD
 * cannot be read, answers the last presence this process read for the board (0 if none). */
BSP_API uint32_t BSP_IsCtrlBoardPresent(uint8_t board);

/* =================================================================== upgrade control */

/** Where a CPLD's upgrade-mode bit lives, and the write-protect bit guarding it (1 protects,
 * 0 lets the mode bit be written). */
typedef struct CpldUpgradeModeReg {
    uint8_t cpldId;   /**< CPLD 0..2 */
    uint32_t modeReg; /**< register of the upgrade-mode bit */
    uint8_t modeBit;  /**< the upgrade-mode bit */
    uint32_t wpReg;   /**< register of the write-protect bit */
    uint8_t wpBit;    /**< the write-protect bit */
} CpldUpgradeModeReg;
/** Number of rows of g_CpldUpgradeModeRegTbl. */
#define BSP_CPLD_UPGRADE_MODE_REG_NUM 3
/** One row per CPLD 0..2. */
BSP_API extern const CpldUpgradeModeReg g_CpldUpgradeModeRegTbl[BSP_CPLD_UPGRADE_MODE_REG_NUM];
/** @cond LAYOUT_CHECKS */
BSP_LAYOUT_ASSERT(sizeof(CpldUpgradeModeReg) == 20, "CpldUpgradeModeReg is 20 bytes");
BSP_LAYOUT_ASSERT(offsetof(CpldUpgradeModeReg, modeReg) == 4, "modeReg at 4");
BSP_LAYOUT_ASSERT(offsetof(CpldUpgradeModeReg, modeBit) == 8, "modeBit at 8");
BSP_LAYOUT_ASSERT(offsetof(CpldUpgradeModeReg, wpReg) == 12, "wpReg at 12");
BSP_LAYOUT_ASSERT(offsetof(CpldUpgradeModeReg, wpBit) == 16, "wpBit at 16");
BSP_LAYOUT_ASSERT(sizeof(g_CpldUpgradeModeRegTbl) == 60, "g_CpldUpgradeModeRegTbl is 60 bytes");
/** @endcond */

/** Switches CPLD `cpldId` (0..2) into upgrade mode (`mode` 1) or back (0): lifts the write
 * protect, writes the mode bit and reads it back 10 ms later, up to three times, and puts the
 * protect back on whatever happened to the mode bit. 0 when the bit read back equals `mode`;
 * 0xFFFFFFFF otherwise, for a CPLD above 2 (nothing touched), or when the protect cannot be
 * lifted or restored. A `mode` other than 0 or 1 never reads back and always fails. */
BSP_API uint32_t BSP_SetCpldUpgradeMode(uint8_t cpldId, uint8_t mode);
/** 0 and `*mode` = 1 when CPLD `cpldId` is in upgrade mode, else 0; 0xFFFFFFFF for a null
 * `mode`, a CPLD above 2 or a failed read (`*mode` untouched). */
BSP_API uint32_t BSP_GetCpldUpgradeMode(uint8_t cpldId, uint8_t *mode);
/** Writes the upgrade bit of voltage regulator `regulator`: bit n of register 0x1AE for 0..7,
 * bit n-8 of 0x1AF from 8 on (16 and up are refused by the register access). Returns the bit
 * write's status. */
BSP_API uint32_t BSP_SetVRMUpgradeStatus(uint8_t regulator, uint8_t value);
/** Records a unit's firmware upgrade status byte in the CPLD RAM: FRU type 0 at 0xD938, 1 at
 * 0xD954, 3 at 0xD955, 5 at 0xD958, 6 at 0xD95B, plus `unitIndex` (not checked: keep within
 * 28, 1, 3, 3 units for types 0, 1, 3, 5). 0xFFFFFFFF for another FRU type; otherwise 0, even
 * when the RAM write fails (that is only logged). */
BSP_API uint32_t BSP_SetFwUpgradeStatusToCpldRam(uint32_t fruType, uint32_t unitIndex, uint8_t status);
/** Reads the status byte recorded by BSP_SetFwUpgradeStatusToCpldRam into `*status`.
 * 0xFFFFFFFF for a null `status` or another FRU type; otherwise 0, even when the RAM read fails
 * (`*status` is then left as it was). */
BSP_API uint32_t BSP_GetFwUpgradeStatusFromCpldRam(uint32_t fruType, uint32_t unitIndex, uint8_t *status);
/** `*state` = the "CpldUpgState" byte of the framework object "Upgrade" (non-zero while a CPLD
 * upgrade is under way). Always returns 0; when the object or property cannot be read,
 * `*state` is left as it was. A null `state` does nothing. */
BSP_API uint32_t BSP_IsCpldUpgrading(uint8_t *state);

/* ================================================================== power supplies */

/** Number of power supplies of the enclosure: 4 on a 4U four-controller enclosure, else 2. */
BSP_API uint8_t BSP_GetPowerNum(void);
/** The 4-bit state code of supply `psu` from the bytes of a register pair (`first` the lower
 * register): supplies 0 and 1 are the low and high nibble of `first`, 2 and 3 those of
 * `second`. Any other supply gets 0, which is no valid code. */
BSP_API uint8_t BSP_GetPowerRegBits(uint8_t psu, uint8_t first, uint8_t second);
/** @{ */
/** The supply state queries. Each reads its register pair (0xD6/0xD7 presence, 0xD8/0xD9
 * alarm, 0xDA/0xDB power-ok; failed reads count as 0) and maps the supply's code: 9 and 6 are
 * valid, anything else is a glitch. Returns 0 with `*state` = the new state (presence 1, alarm
 * 0 and power ok 1 for code 9); a change against the last state this process saw is logged
 * and the logs are flushed to flash. On a glitch returns 0xFFFFFFFF with `*state` = the last
 * good state (at start: presence 0, alarm 0, power ok 1). A null `state` returns 0xFFFFFFFF;
 * a supply not below BSP_GetPowerNum() sets `*state` = 0 and returns 0xFFFFFFFF, touching no
 * register. On a manufacturing build in a factory test frame (not a lite board) every supply
 * but 0 reads absent. */
BSP_API uint32_t BSP_GetPowerPresent(uint8_t psu, uint8_t *state);
BSP_API uint32_t BSP_GetPowerAlarmState(uint8_t psu, uint8_t *state);
BSP_API uint32_t BSP_GetPowerOkState(uint8_t psu, uint8_t *state);
/** @} */
/** 0 and `*state` = bit `psu` of register 0xD3 (1: on); a failed read counts as 0 and a change
 * is logged and flushed as above (at start the last state is 1). Null `state` or a supply out
 * of range as above. */
BSP_API uint32_t BSP_GetPowerOnState(uint8_t psu, uint8_t *state);
/** 1 when BSP_GetPowerPresent succeeds with 1, else 0. */
BSP_API uint32_t BSP_IsPowerPresent(uint8_t psu);
/** BSP_GetPowerPresent, on boards whose type allows it: 0xFFFFFFFF for a null `state`, a board
 * type that cannot be worked out, or board types 12, 15, 129 and 130 (`*state` untouched). */
BSP_API uint32_t BSP_GetPowerOnlineStates(uint8_t psu, uint8_t *state);
/** 1 when the supply is both power-ok and on (both queries succeeding), else 0. */
BSP_API uint32_t BSP_IsPowerSupply12V(uint8_t psu);
/** 1 when supply `psu` feeds controller board `board`: every supply feeds every board, except
 * on a 4U four-controller enclosure, where supplies 0 and 1 feed boards 0 and 2 and supplies 2
 * and 3 feed boards 1 and 3. */
BSP_API uint32_t BSP_IsPowerMatchBoard(uint8_t psu, uint8_t board);
/** 1 when some supply that feeds `board` delivers 12 V (tried in order, first one wins). */
BSP_API uint32_t BSP_IsBoardOpenPower12VOK(uint8_t board);
/** 1 on a 4U four-controller enclosure when supplies 0 and 1, or 2 and 3, are both not
 * power-ok (a whole side lost AC, so supply alarms are to be ignored); else 0. */
BSP_API uint32_t BSP_IgnoreAlarmForACDown(void);
/** BSP_GetReliabilityCpldBbuOnline(0, state), except that a null `state`, a `bbu` other than 0,
 * an SMM board or a 2U expansion board return 0xFFFFFFFF untouched. */
BSP_API uint32_t BSP_GetBbuOnlineStates(uint8_t bbu, uint8_t *state);
/** Presence of the backup battery from the low nibble of register 0xF2 (9 present, 6 absent,
 * else the last state this process saw, 0 at start) into `*state`. Returns the read's status
 * plus the filter's (0, or 0xFFFFFFFF for another nibble) as a 32-bit sum: 0xFFFFFFFE when the
 * read failed (which reads as 0xF). A null `state` returns 0xFFFFFFFF; a `bbu` other than 0
 * sets `*state` = 0 and returns 0xFFFFFFFF. */
BSP_API uint32_t BSP_GetReliabilityCpldBbuOnline(uint8_t bbu, uint8_t *state);
/** The battery's state from register 0xF3 (a failed read counts as 0): 0 when its low nibble is
 * 9 and bit 4 is set (present and healthy), 2 when the nibble is 9 and bit 4 clear, 3 for
 * anything else or a `bbu` other than 0. A change of the byte is logged. */
BSP_API uint32_t BSP_CheckBBUStatus(uint8_t bbu);
/** Checks the header of a power-supply firmware image of `length` bytes: the big-endian CRC-32
 * at offset 32 over bytes 64.. (the payload), then the one at offset 20 over bytes 28.. .
 * Returns 64, the payload's offset, when both match; 0 when one does not, for a length below
 * 64 or a null `image`. Reads only. */
BSP_API uint32_t GetPowerFwShift(const uint8_t *image, uint32_t length);

/* ====================================================================== board power */

/** One row of the front (host) power table of the Arm boards (16 bytes): the register of a
 * board id, the mask and expected value for mode 1 and for mode 0, the gate mask (when non-zero,
 * a value with none of its bits set is abnormal whatever else it shows) and the strategy
 * (2: an abnormal row counts, 1: it is only logged). */
typedef struct FrontPowerCheckRow {
    uint8_t boardId;      /**< board id of the row */
    uint8_t reserved0[3]; /**< 0 */
    uint32_t addr;        /**< CPLD register */
    uint8_t mode1Mask;    /**< mask for mode 1 */
    uint8_t mode1Value;   /**< expected value for mode 1 */
    uint8_t mode0Mask;    /**< mask for mode 0 */
    uint8_t mode0Value;   /**< expected value for mode 0 */
    uint8_t gateMask;     /**< gate mask, 0 for none */
    uint8_t strategy;     /**< 2: an abnormal row counts, 1: it is only logged */
    uint8_t reserved1[2]; /**< 0 */
} FrontPowerCheckRow;
/** @cond LAYOUT_CHECKS */
BSP_LAYOUT_ASSERT(sizeof(FrontPowerCheckRow) == 16, "FrontPowerCheckRow is 16 bytes");
BSP_LAYOUT_ASSERT(offsetof(FrontPowerCheckRow, addr) == 4, "addr at 4");
BSP_LAYOUT_ASSERT(offsetof(FrontPowerCheckRow, mode1Mask) == 8, "mode1Mask at 8");
BSP_LAYOUT_ASSERT(offsetof(FrontPowerCheckRow, mode0Mask) == 10, "mode0Mask at 10");
BSP_LAYOUT_ASSERT(offsetof(FrontPowerCheckRow, gateMask) == 12, "gateMask at 12");
BSP_LAYOUT_ASSERT(offsetof(FrontPowerCheckRow, strategy) == 13, "strategy at 13");
BSP_LAYOUT_ASSERT(offsetof(FrontPowerCheckRow, reserved1) == 14, "reserved1 at 14");
/** @endcond */

/** `*state` = the PS_ON nibble (bits 0-3 of register 0x1B1). 0xFFFFFFFF for a null `state` or a
 * failed read (logged; `*state` untouched). */
BSP_API uint32_t BSP_GetPSONState(uint8_t *state);
/** `*standby` = 1 when this board is in standby (register 0x47 bit 4), else 0. 0xFFFFFFFF for a
 * null `standby` or a failed read (logged; `*standby` untouched). */
BSP_API uint32_t BSP_GetPowerStandByStatus(uint8_t *standby);
/** `*standby` = 1 when controller board `board` (0..3) is in standby (0xF9 bit 3 / bit 7, 0xFA
 * bit 3 / bit 7), else 0. 0xFFFFFFFF, silently, for a null `standby` or a board above 3; for a
 * failed read, logged. */
BSP_API uint32_t BSP_GetOtherBoardPowerStandByStatus(uint8_t board, uint8_t *standby);
/** 1 when every present controller board (4 on a 4U four-controller board, else 2) is in
 * standby, so also when none is present; 0 at the first present board that is not (a standby
 * bit that cannot be read counts as not in standby). */
BSP_API uint32_t BSP_IsEnclStandby(void);
/** Resets the system as an AC loss would: lifts the protection 0x1A1 bit 0, pulses 0x1A0 bit 0
 * to 0 and back to 1, puts the protection back. 0xFFFFFFFF when the protection cannot be
 * lifted (nothing else is written); otherwise the status of putting it back. Failed pulse
 * edges are logged and the sequence goes on; the success line is logged in every such case. */
BSP_API uint32_t BSP_SimAcInt(void);
/** `*state` = register 0xC2 bit 2 (untouched when the read fails), then pulses 0xC4 bit 2 to 1
 * and back to 0. Statuses are not reported; a null `state` does nothing. */
BSP_API void BSP_GetPwrReg(uint8_t *state);
/** @{ */
/** Writes register 0xC8 bit 0 (the AC-off request) to 1 / to 0; the write's status. */
BSP_API uint32_t BSP_SetPwrReg(void);
BSP_API uint32_t BSP_ClearPwrReg(void);
/** @} */
/** Pulses the AC-off request 0xC8 bit 0 to 1 and back to 0; the status of the second write. */
BSP_API uint32_t BSP_SetAcOff(void);
/** 1 when any rail of this board's rows of the rail power-good table reads good (a bit of a
 * row's off-mask set; logged), 0 when none does or the board id has no rows, 255 when the board
 * id cannot be read. Registers that cannot be read count as 0. */
BSP_API uint32_t BSP_IsAnyBoardPowerGood(void);
/** After power-on: 1 when a level-2 row of this board has a rail of its on-mask not good, else 0
 * (also when the board id cannot be read). Each failing row is logged once until it reads good
 * again. */
BSP_API uint32_t BSP_CpuPowerOnCheck(void);
/** After power-off: 1 when a level-2 row of this board still has a rail of its off-mask good,
 * else 0 (also when the board id cannot be read). Each failing row is logged once until it
 * reads clean again. */
BSP_API uint32_t BSP_CpuPowerOffCheck(void);
/** The x86 check when BSP_isX86Board() is 1, else the Arm check; that check's result. */
BSP_API uint32_t BSP_FrontPowerCheck(uint8_t mode);
/** x86 front power (register 0x3D): the CPLD's health (BSP_CpldBorCIsHealth, after 1 s) when
 * bit 7 or bit 5 is down or, in an even mode, bit 6 is up; 0 otherwise, also when the register
 * cannot be read. An abnormal byte is logged once until it reads healthy again. */
BSP_API uint32_t BSP_CheckFrontPowerForX86(uint8_t mode);
/** Arm front power: the OR of the CPLD's health (after 1 s) over this board's abnormal rows of
 * strategy 2; 0 when none (or the board id cannot be read). Each abnormal row is logged once
 * until it reads normal again. */
BSP_API uint32_t BSP_CheckFrontPowerForArm(uint8_t mode);
/** 1 when `value` is abnormal for `row` in `mode` (the mode-1 columns for a non-zero mode), else
 * 0; 0 for a null `row`. */
BSP_API uint32_t BSP_isFrontPowerAbnormal(const FrontPowerCheckRow *row, uint8_t value, uint8_t mode);
/** `*value` = register 0x3E (untouched when the read fails); a null `value` does nothing. */
BSP_API void BSP_CheckPsOn(uint8_t *value);
/** Lights (1) or puts out (0) the board power LED, register 0x5F bit 0, when it does not show
 * that already; the change goes to the operation log. Other values do nothing. */
BSP_API void BSP_BoardPowerLedCtrl(uint8_t on);
/** Presses the soft power button: 0 power on, 2 forced power off, 3 graceful power off. Pulses
 * the button bit (register 0xE7 bit 0 / 1 / 2) low for 5 / 10 / 10 ms with its protection
 * (same bit of 0xE8) lifted for the whole pulse and put back after, then sets the power LED
 * (on / off / unchanged). Always 0 for these actions, failed writes being logged; 0xFFFFFFFF,
 * touching nothing, for any other action. */
BSP_API uint32_t BSP_SoftPowerButtonCtrl(uint8_t action);
/** 1 when this board's power can be handed to another board, 0 otherwise or when the board id
 * cannot be read. */
BSP_API uint32_t BSP_IsPowerTransBoardSupport(void);
/** When the CPLDs pass their self test and register 0x42 bit 7 flags an abnormal power-down:
 * logs the record (0x3F, 0x40, 0x41, 0x42, 0x77) and clears the flag (0x42 bit 7 to 1, then 0).
 * A failed read is logged and ends it. */
BSP_API void BSP_CollectAbnormalPwrDownLog(void);
/** Records expansion board `board` (0..3) as powered on (state 1) or off (state 18) in CPLD RAM
 * 0xD919 bit `board`; 0 (the RAM write reports its own failures). 0xFFFFFFFF for a board above 3
 * (silently) or another state (logged). */
BSP_API uint32_t BSP_SetExpBoardPowerState(uint8_t board, uint8_t state);
/** `*state` = 1 when expansion board `board` is recorded powered on, else 18 (also when the RAM
 * cannot be read); 0. 0xFFFFFFFF, `*state` untouched, for a null `state` or a board above 3. */
BSP_API uint32_t BSP_GetExpBoardPowerState(uint8_t board, uint8_t *state);
/** 1 on a 2U expansion board when neither expansion board 0 nor 1 is powered on, else 0. */
BSP_API uint32_t BSP_IsExpFramePowerOff(void);
/** Writes bit `bit` (0..7) of the sys-up register 0x1B0 to `value` (0 or 1). 0 on success; a
 * bad argument (logged) gives 0xFFFFFFFF, a failed write (logged) that write's status. */
BSP_API uint32_t BSP_EnableBoardSysUp(uint8_t bit, uint8_t value);
/** 1 when bit `bit` of the sys-up register 0x1B0 is 1; 0 when it is 0 or cannot be read
 * (logged). A bit above 7 is logged and answers 1: a bad question never holds a board down. */
BSP_API uint32_t BSP_IsPermitBoardSysUp(uint8_t bit);
/** On x86 boards BSP_EnableBoardSysUp (logged first); elsewhere 0, touching nothing. */
BSP_API uint32_t BSP_EnableSysUpExtend(uint8_t bit, uint8_t value);
/** On x86 boards BSP_IsPermitBoardSysUp; elsewhere 0. */
BSP_API uint32_t BSP_IsPermitSysUpExtend(uint8_t bit);

/* ================================================================= board services */

/* LEDs (CPLD register 0x13: bit 0 enclosure locate, bit 2 enclosure fault, bit 5 all LEDs of an
 * expansion enclosure; register 0x5F: bit 2 board alarm, bit 3 board locate). */

/** Turns the board's alarm and locate LEDs off (0x5F bits 2 and 3 = 0), always trying both.
 * A failure of either is written to the operation log with both statuses. */
BSP_API void BSP_CloseBoardAlarmAndLocateLed(void);
/** Sets all LEDs of an expansion enclosure to `state` (0 or 1). 0 on success; 0xFFFFFFFF for
 * another state (nothing written) or a failed write, both logged. */
BSP_API uint32_t BSP_ExpSetAllLedState(uint8_t state);
/** Turns the enclosure locate LED on for `state` 1, off for any other value. 0, or -1 when the
 * write fails (logged with the source line). */
BSP_API int32_t BSP_SetframeLocalLed(uint8_t state);
/** Turns the enclosure fault LED on for `state` 1, off for any other value. 0, or -1 when the
 * write fails (logged with the source line). */
BSP_API int32_t BSP_Setframefaultled(uint8_t state);

/* Shell commands. */

/** Runs `command` with system(3) under the default SIGCHLD disposition (so that a caller that
 * ignores SIGCHLD still gets the status) and puts the caller's disposition back. Returns what
 * system(3) returned: a wait status, or -1 when no child could be run or waited for. */
BSP_API int32_t BSP_System(const char *command);
/** Runs `command` with BSP_System up to three times, without a pause, until one run returns 0.
 * 0 on success; -1 for a null `command`; otherwise the last run's result. */
BSP_API int32_t BSP_Vos_System(const char *command);

/** An IPMI message as the platform's message layer hands it over. Only the position of the data
 * field (byte 112) is relied on; the bytes before it are the platform's own and not read. */
typedef struct IpmiMsg {
    uint8_t platformFields[112]; /**< the platform's own fields, not read */
    uint8_t data[1]; /**< the first data byte; the message's data run on from here */
} IpmiMsg;
/** @cond LAYOUT_CHECKS */
BSP_LAYOUT_ASSERT(offsetof(IpmiMsg, data) == 112, "data at 112");
BSP_LAYOUT_ASSERT(sizeof(IpmiMsg) == 113, "IpmiMsg is 113 bytes");
/** @endcond */
/** 0 and `*data` = the address of `msg`'s data field. 255 for a null `msg` (logged) or a null
 * `data`; `*data` is then untouched. */
BSP_API uint32_t BSP_CheckIpmiMsgValid(IpmiMsg *msg, uint8_t **data);

/** Returns at once: the callers' register pulses last as long as the register writes take. */
BSP_API void BSP_Delay1us(uint64_t microseconds);

/* PCIe. */

/** 1 when `model` is a valid PCIe/SAS model code (1 to 253), else 0. */
BSP_API uint32_t BSP_bPcieorsasModelValid(uint8_t model);
/** `operation` 2 holds both PCIe cores off (0xFF bits 0 and 1 = 0); 1 holds them off, waits
 * 1 ms and enables both (bits = 1), stopping before the wait when holding off failed. Returns
 * the OR of the statuses of the last pair of writes, or 0xFFFFFFFF for another operation
 * (nothing written). */
BSP_API uint32_t BSP_PCIeCoreOpt(uint32_t operation);
/** 0 and `*model` = the PCIe/SAS model code kept in CPLD RAM byte 0xD90F when it is valid; -1
 * (`*model` untouched) for a null `model`, an invalid code or a failed RAM read. */
BSP_API int32_t BSP_GetPcieSasModelFromCpld(uint8_t *model);
/** Keeps `model` in CPLD RAM byte 0xD90F (logged) unless it is stored there already. An
 * invalid model is ignored. No result. */
BSP_API void BSP_SetPcieSasModelToCpldRam(uint8_t model);

/* UART switch (register 0xEE: the port the BMC's UART is routed to). */

/** 0 and `*port` = the port the switch shows. -1 for a null `port` or a failed read (a line is
 * then printed on standard output). */
BSP_API int32_t BSP_ReadSwitchUartReg(uint8_t *port);
/** Routes the BMC's UART to `port`. -1 when the switch register cannot be written (printed on
 * standard output and logged). Otherwise 0, also when the read-back 5 ms later fails or shows
 * another port: that is only logged. */
BSP_API int32_t BSP_SwitchUart(uint8_t port);

/* SSD online bits. The BMC records SSD n in bit n mod 8 of register 0x1B4 + n/8 on every
 * enclosure; a 4U four-controller enclosure reads that record back, the others read the
 * disks' own presence at 0x250 + n/8. */

/** 0 and `*state` = the online bit of SSD `ssd`. -1 for a null `state`, when the board type
 * cannot be read, or when the read fails outright. */
BSP_API int32_t BSP_GetSSDOnlineStates(uint8_t ssd, uint8_t *state);
/** Records SSD `ssd` as online (`value` 1) or not (0). -1 when the board type cannot be read;
 * otherwise the status of the bit write. */
BSP_API int32_t BSP_SetSSDOnlineStates(uint8_t ssd, uint8_t value);

/* ================================================================= slot identification */

/* Slot ids are 0..3 (0xFF: unknown); a slot code is the 3-bit even-parity code a CPLD keeps
 * for a slot: 0, 5, 6, 3 for slots 0 to 3. */

/** Slot of this board, found once per process and then cached: from the strap pins, else the
 * CPLD's slot register (boards that have one), else the slot nibble of the enclosure's WWN.
 * 0 with `*slot` set; -1 for a null `slot`, when the board id cannot be read, or when nothing
 * tells the slot (`*slot` = 0xFF). A board id no board type knows answers 0 and leaves `*slot`
 * as the caller preset it. */
BSP_API int32_t BSP_GetBoardSlot(uint8_t *slot);
/** Slot from the strap pins of board `boardId`: three pins with a parity bit on four-controller
 * boards (odd parity: `*slot` = 0xFF), two pins elsewhere. 0 with a slot below 0xFF, else -1;
 * -1 with `*slot` untouched on a board without straps. */
BSP_API int32_t BSP_GetBoardSlotFromGpio(uint8_t boardId, uint8_t *slot);
/** Slot from the CPLD's slot register (0x32 bits 0-2) into `*slot`, 0xFF when unknown. A code
 * of odd parity goes to BSP_RepairCtrlSlotID. A null `slot` does nothing. */
BSP_API void BSP_GetBoardSlotFromCpld(uint8_t *slot);
/** Works out a corrupted slot code of a four-controller board from the other three
 * controllers' codes (0x6A, 0x6B) and records it in 0x17 (0xA0 | code); a slot recorded so
 * before is answered from there. 0 with `*slot` set; -1 on other boards, when not all four
 * controllers are online (logged at most 10 times per 300000 ticks), or when the other codes
 * are invalid or repeat. `ignored` is not used. */
BSP_API int32_t BSP_RepairCtrlSlotID(uint8_t ignored, uint8_t *slot);
/** Raw strap value: two pins on 2U two-controller and 2U expansion boards, three elsewhere. */
BSP_API uint8_t BSP_ReadSlotTypeGpio(void);
/** Raw value of the first `pinCount` slot pins (pin k gives bit k; at most 3 pins); a pin that
 * fails three reads gives 0. */
BSP_API uint8_t BSP_GetSlotNumFromGpio(uint8_t pinCount);
/** Slot of a four-controller strap value: 0..3 as is, anything else 0xFF. */
BSP_API uint8_t BSP_Gpio2SlotIdFor4C(uint8_t value);
/** Slot of a two-controller strap value: 2 is slot 0, 1 is slot 1, anything else 0xFF. */
BSP_API uint8_t BSP_Gpio2SlotIdFor2C(uint8_t value);
/** 1 when `code` is a slot code (0, 5, 6 or 3), else 0. */
BSP_API uint32_t BSP_IsSlotValueValidty(uint8_t code);
/** Writes the slot of slot code `code` to `*slot` (0xFF for no code); a null `slot` does
 * nothing. */
BSP_API void BSP_ConvertSlotValue(uint8_t code, uint8_t *slot);
/** The slot facing `slot` in this enclosure (four-controller: 0-2, 1-3; else 0-1) into
 * `*oppSlot`. 0, or -1 (logged) for a slot without one or a null `oppSlot`. */
BSP_API int32_t BSP_GetoplanarOppCtrlSlotID(uint8_t *oppSlot, uint8_t slot);
/** Slot of the master from the CPLD's master/slave register 0xE4 (one 2-bit field per slot,
 * 1 = master); a value that changed since the last call is read three more times, 10 ms
 * apart. 0 with `*slot` set; -1 for a null `slot`, or unless exactly one field says master. */
BSP_API int32_t BSP_GetMasterBoardSlot(uint32_t *slot);

/* =========================================================== master/slave arbitration */

/* Roles reported: 1 master, 0 slave. Only one process of the enclosure at a time runs a grab or
 * an abandon (semaphore 20). */

/** Asks the CPLD for mastership: opens the grab request's write protect (0xE2 bit 3 = 0), pulses
 * the request (0xE1 bit 4: 1, 500 ms, 0) and protects it again. 0, or the status of the first
 * failing write (0xFFFFFFFF when the semaphore cannot be taken); a write failing after the
 * protect was opened leaves it open. */
BSP_API uint32_t BSP_GrabBoardMaster(void);
/** Gives mastership up: as BSP_GrabBoardMaster with 0xE2 bit 2 and 0xE1 bit 3. */
BSP_API uint32_t BSP_AbandonBoardMaster(void);
/** BSP_AbandonBoardMaster, unless the slot cannot be read or, on a 2U two-controller board, the
 * other controller is absent: then 0xFFFFFFFF and nothing is written. */
BSP_API uint32_t BSP_SMMAbandonMaster(void);
/** This board's role into `*role` (an SMM board is always master): the CPLD's own role code, a
 * change read again three times 10 ms apart, else the role derived from the other boards'
 * fields (BSP_GetRedressedMosState). 0, or 0xFFFFFFFF (null pointer) or the failing status of
 * the derivation, with `*role` untouched. Watches for no or several masters afterwards. */
BSP_API uint32_t BSP_GetBoardMasterOrSlaveState(uint32_t *role);
/** The role derived from the role fields of the other present controllers: 1 when none is
 * master, 0 when exactly one is. 0xFFFFFFFF (or the failing call's status) when the slot,
 * presence or fields cannot be read, a field is a fault, or several are master; `*role` is
 * then untouched. */
BSP_API uint32_t BSP_GetRedressedMosState(uint8_t *role);
/** Role code to role: 9 gives 1 (master), 6 gives 0 (slave), both with status 0; any other
 * code, or a null pointer, gives 0xFFFFFFFF and leaves `*role` untouched. */
BSP_API uint32_t BSP_CpldDataChange(uint8_t *role, uint8_t code);

/* ====================================================== chip and clock identification */

/* The clock generator, CPLD and voltage regulator fitted to a board are strapped on four
 * identification pins; these functions read the straps, the CPLD's clock-status bits, and bytes
 * of chips reached through the object framework. */

/** One row of the chip identification table: the chip of class `chipClass` (1 clock generator,
 * 2 CPLD, 3 voltage regulator) is of type `chipType` (0xFF: not identified) when the straps on
 * `strapPins` (bit k on pin k) read `identCode` (0xFF never matches). `desc` names it. */
typedef struct ChipIdentifyCfg {
    uint8_t chipClass;    /**< 1 clock generator, 2 CPLD, 3 voltage regulator */
    uint8_t chipType;     /**< type within the class; 0xFF for the class's "unknown" row */
    uint8_t identCode;    /**< strap value selecting the row; 0xFF never matches */
    uint8_t strapPins[4]; /**< GPIO numbers of strap bits 0..3 */
    const char *desc;     /**< the chip's name handed to callers */
} ChipIdentifyCfg;
/** @cond LAYOUT_CHECKS */
BSP_LAYOUT_ASSERT(offsetof(ChipIdentifyCfg, strapPins) == 3, "strapPins at 3");
BSP_LAYOUT_ASSERT(offsetof(ChipIdentifyCfg, desc) == 8, "desc after one byte of padding");
BSP_LAYOUT_ASSERT(sizeof(ChipIdentifyCfg) == 8 + sizeof(void *), "ChipIdentifyCfg is 7 bytes, padding, a pointer");
/** @endcond */
/** Rows of g_ChipIdentifyCfgTbl. */
#define BSP_CHIP_IDENTIFY_CFG_NUM 21
/** The identification table, 21 rows, read-only and shared by the whole process, so that other
 * components can show the same names. */
BSP_API extern const ChipIdentifyCfg g_ChipIdentifyCfgTbl[BSP_CHIP_IDENTIFY_CFG_NUM];

/** 1 when the identification straps on `strapPins` (4 pins, bit k on pin k) read `identCode`,
 * else 0. A 5830 board reads only the first three pins and checks no parity; other boards read
 * all four and want even parity. A pin that cannot be read in three tries, odd parity and a null
 * `strapPins` answer 0 (logged); a match is logged. */
BSP_API uint32_t BSP_JudgeChipType(uint8_t identCode, const uint8_t *strapPins);
/** 1 and `*chipType` = the type of chip class `chipClass` (0..5), identified once per process
 * from the straps and kept; else 0 and `*chipType` = 0xFF (logged, tried again next time). A class
 * above 5 answers 0 without touching a pin; a null `chipType` answers 0 and touches nothing. */
BSP_API uint32_t BSP_IndentifyChipType(uint8_t chipClass, uint8_t *chipType);
/** Copies the name of class `chipClass`'s chip ("InvalidClockType", "InvalidCpldType" when it
 * cannot be identified; always "Vrd" for class 3) into `buf` of `bufSize` bytes. A class without
 * rows leaves `buf` as it was; a name that does not fit is logged and leaves `buf` empty. Always
 * returns 0, also for a null `buf` (logged). */
BSP_API uint32_t BSP_GetChipTypeStr(uint8_t chipClass, uint8_t bufSize, char *buf);
/** 0 and `*value` = the four identification straps (bit k from pin 129 + k), without parity
 * check. -1 for a null `value` or a pin that cannot be read in three tries (both logged;
 * `*value` untouched). */
BSP_API int32_t BSP_GetChipTypeGpioVal(uint8_t *value);
/** Always 1 in this build. */
BSP_API uint32_t BSP_Is5830Chip(void);
/** 1 when a clock-status bit of this board's CPLD (registers 0x48 and 0x49) reads abnormal, else
 * 0. Each abnormal register is logged once, and again only after it read normal in between. An
 * unreadable board id answers 0 (logged): no clock fault is reported then. */
BSP_API uint32_t BSP_GetClockStatus(void);
/** The number of backplane EEPROMs of the frame type: 1 for frame types 9, 14, 16, 18, 40 and
 * 50, and when the frame type cannot be read; 2 for every other type. */
BSP_API uint8_t BSP_GetBpEepromCount(void);
/** 0 and `*value` = the byte property `property` of the 9555 I/O expander `object`, read from
 * the hardware (up to ten tries 200 ms apart). Otherwise the framework's last code, `*value`
 * untouched; -1 for a null `property` or `value` (logged) or a value that is not a byte. */
BSP_API int32_t BSP_GetInfoFrom9555(OBJ_HANDLE object, const char *property, uint8_t *value);
/** Writes `value` to the byte property `property` of the 9555 I/O expander `object` (up to ten
 * tries 200 ms apart). 0, or the framework's last code; -1 for a null `property` (logged). */
BSP_API int32_t BSP_SetInfoTo9555(OBJ_HANDLE object, const char *property, uint8_t value);
/** Reads `length` bytes at `offset` of the block `property` of chip `chip` into `buffer`
 * (caller's, at least `length` bytes): up to three tries, 100 ms after each failure, 1 ms after
 * success. 0, or the framework's code of the third failure (logged). */
BSP_API int32_t BSP_ReadChip(OBJ_HANDLE chip, const char *property, uint32_t offset, uint32_t length, void *buffer);
/** Writes `length` bytes of `buffer` at `offset` of the block `property` of chip `chip`, as
 * BSP_ReadChip reads. 0, or the framework's code of the third failure (logged). */
BSP_API int32_t BSP_WriteChip(OBJ_HANDLE chip, const char *property, uint32_t offset, uint32_t length,
                              const void *buffer);
/** 0 and `*chip` = the chip behind property `property` of `object`: the object its accessor
 * references as "Chip". Otherwise the code of the first step that failed (the accessor, its
 * object, the reference), `*chip` untouched; -1 for a null `property` or `chip` (logged). */
BSP_API int32_t BSP_GetAccessChipHandle(OBJ_HANDLE object, const char *property, OBJ_HANDLE *chip);

/* ============================================================== enclosure configuration */

/* The frame type: registers 0x67 (low) and 0x68 (high) form a word whose low 6 bits are the
 * type, checked by the parity mode in 0x66; a backup of the three sits in the CPLD RAM at
 * 0xD91A (marker 0x55) to 0xD91D. */

/** 0 and `*type` = the frame type (6 bits). The first good read of a process keeps the word for
 * the life of the process, sets sys-up bit 0 and refreshes the backup (BSP_ReWriteCpld); a
 * failed check is repaired from the backup's low byte when the backup is valid (logged).
 * -1 (nothing written) for a null `type`, a failed register read, or a failed check with no
 * usable backup (logged). */
BSP_API int32_t BSP_GetFrameType(uint16_t *type);
/** Watches the role fields (0xE4) for an enclosure with no master or more than one: logs a
 * warning at the first such observation and then once every 128 in a row; one master again
 * ends the episode. */
BSP_API void BSP_DetectWhetherHasMoreThanOneMos(void);
/** Stores check, low and high as the RAM backup (marker last). Unless this is a manufacturing
 * build, also writes them to the CPLD's copy in 0x275-0x277 and reads them back, up to 3
 * times; a copy that never reads back right is logged. */
BSP_API void BSP_ReWriteCpld(uint8_t check, uint8_t low, uint8_t high);
/** 0 and `*count` = the disk slots of this frame type. -1 for a null `count`, an unreadable
 * frame type or a frame type with no disk count (both logged). */
BSP_API int32_t BSP_GetDiskNum(uint8_t *count);
/** 0 when the backplane model in the CPLD RAM (16 bytes at 0xD921, CRC-8 at 0xD931) is valid
 * and not all zero; copies min(size, 16) bytes to `buf`. A failed copy is logged and still
 * answers 0. -1 for a bad check byte or an erased model. */
BSP_API int32_t BSP_GetModelFromCpld(uint8_t *buf, uint32_t size);
/** Stores the first 16 bytes of `model` with their CRC-8 and logs it to the operation log,
 * unless `len` < 16 (logged), `model` is null, the same model is stored, or the model is all
 * 0x00 or all 0xFF. */
BSP_API void BSP_SetFrameModelToCpldRam(const uint8_t *model, uint32_t len);
/** As BSP_GetModelFromCpld for the 64-byte product configuration at 0xD99C (CRC-8 at 0xD9DC),
 * but a failed copy (logged) answers -1; a failed RAM read answers its status. */
BSP_API int32_t BSP_GetProductCfgInfoFromCpld(uint8_t *buf, uint32_t size);
/** Stores the first 64 bytes of `cfg` with their CRC-8 in one RAM range write and logs them;
 * returns the write's status. 0 without writing when the same configuration is stored; an
 * all-zero `cfg` is not written and answers what reading the stored one answered. -1 for a
 * null `cfg` or `len` < 64 (logged). */
BSP_API int32_t BSP_SetProductCfgInfoToCpldRam(const uint8_t *cfg, uint32_t len);
/** 0 and `*state` = the presence bit of IO card `card` (0..27: bit card % 8 of 0x298 + card / 8).
 * -1 for a null `state`, a card above 27, an unreadable board type, a board that is neither a
 * 2U two-controller board nor of board type 0 to 3, a failed CPLD self test or a failed read. */
BSP_API int32_t BSP_GetIoCardOnlineStates(uint8_t card, uint8_t *state);
/** 0 when card `cardId` belongs to controller `ctrlId` (cardId / 7 == ctrlId), else -1. */
BSP_API int32_t BSP_CheckCtrlIdAndCardIdPair(uint8_t ctrlId, uint8_t cardId);

/* The enclosure's world wide name (WWN) lives in the CPLD RAM at 0xD801: marker 0x55, the 8
 * bytes least significant first, check byte. Bits 63-60 are 5, 59-12 the MAC address, 11-8
 * the slot, 7-0 0x39. */

/** WWN of MAC `mac` (6 bytes) on this board's slot into `*wwn`; a slot outside 0..3 is written
 * as slot 1 (logged). -1 when the slot cannot be had or a pointer is null. */
BSP_API int32_t BSP_MacToWWN(const uint8_t *mac, uint64_t *wwn);
/** The last `size` bytes of the MAC in `wwn` into `mac` (size 6: the whole MAC in its usual
 * order). -1 for `size` above 6 (logged) or a null `mac`; `size` 0 writes nothing. */
BSP_API int32_t BSP_WWNToMac(uint64_t wwn, uint8_t *mac, uint32_t size);
/** The stored WWN into `wwn` (8 bytes, least significant first). -1 when the record cannot be
 * read, lacks its marker or fails its check byte. */
BSP_API int32_t BSP_GetWwnFromCpld(uint8_t *wwn);
/** The enclosure's MAC from the stored WWN into `mac`, `size` bytes as BSP_WWNToMac. -1 for a
 * null `mac`, `size` above 6, or no valid WWN (logged). */
BSP_API int32_t BSP_GetFrameMac(uint8_t *mac, uint32_t size);
/** Stores the WWN of MAC `mac` (the first `len` bytes, at most 6, zero-filled) for this slot,
 * unless it is stored already; each byte written and read back 5 ms apart, up to 3 times.
 * 0 when the read-back matched (logged), -1 otherwise or when the slot cannot be had. */
BSP_API int32_t BSP_SetWwn2CpldRam(const uint8_t *mac, uint32_t len);
/** Logs a written WWN record beside its read-back, when both have at least 10 bytes. */
BSP_API void BSP_RecordWwnLog(const uint8_t *written, uint32_t wlen, const uint8_t *read, uint32_t rlen);

/* =================================================================== reset and reboot */

/** Reset type kept in the CPLD (0xEB bit 0); 0 also when it cannot be read. */
BSP_API uint32_t BSP_GetResetType(void);
/** Writes the reset type (0xEB bit 0) when `type` is 0 or 1; other values write nothing. */
BSP_API void BSP_SetResetType(uint8_t type);
/** 0 and `*gpio` = the BMC's hard-reset line of the host CPU for this board id (logged).
 * 0xFFFFFFFF when `gpio` is null or the board id cannot be read (nothing logged), or for a board
 * without a known line (logged; `*gpio` untouched). */
BSP_API uint32_t BSP_GetHardResetCpuGPIO(uint8_t *gpio);
/** Resets the host CPU through its hard-reset line: driven 1 for 100 ms, then 0 for 10 ms, then
 * released as an input. 0, or 0xFFFFFFFF (logged, nothing driven) when the line is not known. */
BSP_API uint32_t BSP_HardResetCpu(void);
/** Resets the host CPU by pulsing 0xE7 bit 6 (1, 0, 1, 10 ms apart) behind its write protection
 * 0xE8 bit 6, which is restored even after a failed step. 0xFFFFFFFF when the protection cannot
 * be lifted (nothing pulsed); else the status of the pulse's falling edge if it failed, else
 * that of its first edge. Failures of the later writes are only logged. */
BSP_API uint32_t BSP_SoftResetCpu(void);
/** 0 and `*flag` = bits 0-2 of 0xED. 0xFFFFFFFF for a null `flag` or a failed read; `*flag` is
 * cut to its low three bits in any case. */
BSP_API uint32_t BSP_GetOsBootFlag(uint8_t *flag);
/** Writes `flag` to the SMM's OS boot flag register 0x158. 0xFFFFFFFF when the board type
 * cannot be read (nothing written) or the write fails. */
BSP_API uint32_t BSP_vSmmSetOsBootFlag(uint8_t flag);
/** Hands requests 2 and 4 with their arguments to the platform's exit handler; ignores others.
 * Always 0. */
BSP_API uint32_t BSP_RebootRequestProcess(uint32_t request, uint32_t arg1, uint32_t arg2);
/** Turns output flow control (IXON) of the console /dev/ttyS0 off and sends a START character,
 * so that the console is not left stopped. Failures are logged. */
BSP_API void BSP_CloseIXON(void);
/** Reboots the BMC after its hand-over: clears the reboot marker (CPLD RAM 0xD970), logs to the
 * operation log, stops the switch watchdog on a 4U four-controller enclosure, gives mastership
 * up when master and holds the PCIe cores off (not on an SMM board), turns the console's flow
 * control off, then asks the platform to reboot. No step stops the ones after it. */
BSP_API void BSP_RebootBmc(void);
/** BSP_RebootBmc for caller `caller` (logged). While a manufacturing build runs on a CPLD that
 * fails its self test the request is refused with 0xFFFFDA83 (-9597), logged at most once per
 * 180000 ticks. */
BSP_API uint32_t BSP_RebootBmcFlexibly(uint32_t caller);
/** Bit `bit` (0..3) of CPLD register `reg`: a BMC or controller up-status. 0 for a bit above 3
 * (logged) or a failed read (logged). */
BSP_API uint32_t BSP_GetBmcOrCtrlUpStatus(uint32_t reg, uint8_t bit);
/** BMC boot status of board `bit` (0..3), from 0x1F0; 0 as BSP_GetBmcOrCtrlUpStatus. */
BSP_API uint32_t BSP_GetBmcBootStatus(uint8_t bit);
/** Notifies the CPLD of a soft reset: under semaphore 38, pulses 0x1A3 bits 1 and 2 with their
 * write enable 0x1A4 bit 0 open. The take's status when the semaphore cannot be taken, else 0
 * (a failed give is only logged). */
BSP_API uint32_t BSP_NotifySoftResetByCpld(void);

/* ========================================================================== watchdog */

/** Asks the switch ("GeSwitchObj", method "SetWtdFlag") to stop its watchdog before the BMC
 * restarts. 0, or the nonzero status of the object lookup or of the call (logged). */
BSP_API uint32_t BSP_SetStopSwitchWatchDogFlag(void);
/** Polls the switch ("GetWtdFlag") until it reports its watchdog stopped, at most five times
 * one second apart; returns in any case (logged). */
BSP_API void BSP_WaitSwitchStopWtdFlag(void);
/** Sets the CPLD watchdog's time selection (0xE1 bits 0-1 from bits 0-1 of `selection`) with
 * its write enable 0xE2 bit 0 at 0 meanwhile and 1 afterwards. Always 0; failures ignored. */
BSP_API uint32_t BSP_SetWdtTmie(uint8_t selection);

/* ==================================================== fan-board MCU and cooling state */

/**
 * Reads `len` bytes (1 to 1024) of command `cmd` from the fan-board MCU behind the block
 * property `name` of chip object `handle`, and checks the PEC byte that follows them (CRC-8
 * over 0x26, cmd, 0x27 and the data). Failed transfers are tried 3 times, 200 ms apart; a good
 * one is followed by 100 ms of settling time.
 * Returns 0 with the data in `out` (`len` bytes, caller-owned); 2 when every transfer failed;
 * 3 on a PEC mismatch (`out` untouched; a burst of mismatches logs at most 10 lines an hour)
 * or when no working buffer could be had; 4 for a null `out` or `name`, a `len` out of range,
 * or no receive buffer. A failing link is logged once until a read succeeds again.
 */
BSP_API int32_t BSP_GetDataFromMCU(OBJ_HANDLE handle, const char *name, uint8_t cmd, uint8_t *out, uint32_t len);
/**
 * Sends `len` bytes (0 to 1026) of `data` as command `cmd` to the fan-board MCU behind the block
 * property `name` of chip object `handle`, followed by their PEC byte (CRC-8 over 0x26, cmd and
 * the data); `data` may be null when `len` is 0. Tried 3 times, 200 ms apart; a good transfer
 * is followed by 100 ms of settling time. Returns 0 when the MCU took the block, -1 when the
 * arguments are refused or every transfer failed (logged once until a write succeeds again).
 */
BSP_API int32_t BSP_SetDataToMCU(OBJ_HANDLE handle, const char *name, uint8_t cmd, const uint8_t *data, uint32_t len);
/**
 * The SMM's MCU mode (factory mode): byte property "McuMode" of object "BmcInfo", into `*mode`.
 * Reports no status: a null `mode`, a missing object or a failed read is logged and leaves
 * `*mode` as it was.
 */
BSP_API void BSP_GetSmmMcuMode(uint8_t *mode);
/**
 * Sets the SMM's MCU mode: byte property "McuMode" of object "BmcInfo" to `mode`. Returns 0, or
 * the framework's code when the object cannot be found or the property not set.
 */
BSP_API int32_t BSP_SetSmmMcuMode(uint8_t mode);
/**
 * The ear (side module) presence bit, bit 0 of CPLD register 0x25, into `*state`. Returns 0;
 * -1 for a null `state` or when the register cannot be read (logged).
 */
BSP_API int32_t BSP_GetEarOnlineStates(uint8_t *state);
/**
 * Whether the board may rely on its fans, into `*state`: 1 when the fan controller
 * ("FanCtrlObj") is in manual mode, or when a present fan (class "Fan") reports no faults
 * (outputs 4 and 5 of "GetFanInfo" both 0) at a speed level (output 1) below 24; else 0.
 * A fan whose methods fail is skipped (logged). Returns 0; -1 for a null `state` or when the
 * fan controller or its mode cannot be read; the framework's code when the fan list cannot be
 * had. `*state` is 0 on every failure past the null check.
 */
BSP_API int32_t BSP_GetBoardCoolingState(uint8_t *state);

/* ============================================================= secure-core messages */

/* Requests to the SoC's secure core: 02 CMD 00 00 [PARAM, 16 bits little-endian], then the
 * CRC-16 (BSP_CalCrc16, initial value 0xFFFF) of those bytes, low byte first. The core answers
 * with 0x82, three bytes, a 16-bit response code (0: done), its result words and the CRC-16 of
 * all that. Every failure is logged; nothing is retried and nothing is kept between calls. */

#if !defined(BSP_SEC_MSG_CMD_DEFINED)
/** Set where SecMsgCmd is declared, so this header and the platform's can come in either order. */
#define BSP_SEC_MSG_CMD_DEFINED
/** The platform's transport command block: the send buffer and its length, the receive
 * buffer and its capacity (the received count on return). Same type as the platform's own. */
typedef struct SecMsgCmd {
    uint8_t *s_buff; /**< request followed by its CRC */
    uint32_t s_len;  /**< bytes in s_buff */
    uint8_t *r_buff; /**< receive buffer */
    uint32_t r_len;  /**< its capacity on entry, the bytes received on return */
} SecMsgCmd;
#endif
/** @cond LAYOUT_CHECKS */
BSP_LAYOUT_ASSERT(sizeof(SecMsgCmd) == 4 * sizeof(void *), "SecMsgCmd is four pointer-sized fields");
BSP_LAYOUT_ASSERT(offsetof(SecMsgCmd, s_len) == sizeof(void *), "s_len after the send buffer");
BSP_LAYOUT_ASSERT(offsetof(SecMsgCmd, r_buff) == 2 * sizeof(void *), "r_buff at two pointers");
BSP_LAYOUT_ASSERT(offsetof(SecMsgCmd, r_len) == 3 * sizeof(void *), "r_len at three pointers");
/** @endcond */

/** Frames `req` (`req_len` bytes) with its CRC into cmd->s_buff, sends it and checks the
 * answer left in cmd->r_buff: first byte req[0] + 0x80, 6 <= cmd->r_len <= expected_len + 2,
 * a right CRC. The caller owns both buffers; s_len must hold req_len + 2 bytes and r_len the
 * receive capacity. Returns 0, or -1 (logged) for a null `cmd`, `req` or r_buff, a send buffer
 * too small, a failed transfer or an answer that fails a check. */
BSP_API int32_t dal_check_send_recv_msg(SecMsgCmd *cmd, const uint8_t *req, uint16_t req_len, uint32_t expected_len);
/** Sends the request `req` of `req_len` bytes (4..4094) and waits for an answer of at most
 * `*resp_len` bytes (4..4094, CRC not counted). On success returns 0, copies the answer without
 * its CRC into `resp` (which holds `*resp_len` bytes) and sets `*resp_len` to its length; a
 * shorter answer than asked for is taken. Returns -1 (logged) for a null pointer, a length out
 * of bounds or a failed exchange, leaving `resp` and `*resp_len` as they were; or the copy
 * routine's nonzero code (logged) when the answer cannot be copied. */
BSP_API int32_t dal_send_recv_msg_with_m3(const uint8_t *req, uint16_t req_len, uint8_t *resp, uint16_t *resp_len);

/* The core's operations. Each returns 0 when the core carried it out (code 0), and -1 (logged)
 * when the exchange failed or the core answered another code; results stay untouched then. A
 * null result pointer is refused with -1 before anything is sent. The values are the core's
 * own and are passed through unchanged. */

/** The three secure-boot words into out[0], out[1], out[2]. */
BSP_API int32_t dal_get_bmc_secure_boot_info(uint16_t *out);
/** The word the core keeps about the last BMC upgrade into `*info`. */
BSP_API int32_t dal_get_bmc_last_upgrde_info(uint16_t *info);
/** Sets the BMC upgrade flag to `flag`. */
BSP_API int32_t dal_set_bmc_upgrade_flag(uint8_t flag);
/** Tells the core that the customer information was set (the request carries parameter 0). */
BSP_API int32_t dal_set_customer_info(void);
/** The BIOS flash multiplexer's status into `*status`. */
BSP_API int32_t dal_get_bios_mux_status(uint16_t *status);
/** Sets the BIOS flash multiplexer to `ctrl`. */
BSP_API int32_t dal_set_bios_mux_ctrl(uint8_t ctrl);
/** The result of the BIOS verification into `*result`. */
BSP_API int32_t dal_get_bios_verify_result(uint16_t *result);
/** Sends the BIOS verification control word `ctrl`. */
BSP_API int32_t dal_set_bios_verify_ctrl(uint16_t ctrl);

#ifdef __cplusplus
}
#endif

#endif /* BMC_BSP_H */
