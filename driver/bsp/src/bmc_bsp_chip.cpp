// Chips: which clock generator, CPLD and voltage regulator this board is built with, as its
// identification straps tell; the backplane EEPROM count of the frame; bytes of the 9555 I/O
// expander and of other chips reached through the object framework.
#include <glib.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bmc_bsp.h"
#include "core/boards.h"
#include "core/log.h"
#include "core/retry.h"
#include "core/status.h"
#include "platform/dfl.h"
#include "platform/gpio.h"
#include "platform/securec.h"
#include "platform/vos.h"

// Seven bytes, one of padding, then the pointer: other components read the rows by this layout.
static_assert(sizeof(ChipIdentifyCfg) == 16);
static_assert(offsetof(ChipIdentifyCfg, chipType) == 1 && offsetof(ChipIdentifyCfg, identCode) == 2 &&
              offsetof(ChipIdentifyCfg, strapPins) == 3 && offsetof(ChipIdentifyCfg, desc) == 8);

namespace {

using bsp::kErrS;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kOk;
using bsp::kOkS;

constexpr uint8_t kClockClass = 1;
constexpr uint8_t kCpldClass = 2;
constexpr uint8_t kVrdClass = 3;
constexpr uint8_t kNotIdentified = 0xFF;
constexpr uint8_t kNeverMatches = 0xFF;

}  // namespace

// Every row reads the same four strap pins, bit 0 first.
#define BSP_STRAPS {129, 130, 131, 132}

const ChipIdentifyCfg g_ChipIdentifyCfgTbl[BSP_CHIP_IDENTIFY_CFG_NUM] = {
    {kClockClass, 4, 0x01, BSP_STRAPS, "Au5310"},
    {kClockClass, 1, 0x02, BSP_STRAPS, "Si5345"},
    {kClockClass, 3, 0x09, BSP_STRAPS, "Si5332"},
    {kClockClass, 3, 0x0A, BSP_STRAPS, "Si5332"},
    {kClockClass, 5, 0x06, BSP_STRAPS, "Vantacore"},
    {kClockClass, 5, 0x0C, BSP_STRAPS, "Vantacore"},
    {kClockClass, 2, 0x00, BSP_STRAPS, "Au5315"},
    {kClockClass, 2, 0x0F, BSP_STRAPS, "Au5315"},
    {kClockClass, 0, 0x03, BSP_STRAPS, "Clock oscillator"},
    {kClockClass, 0, 0x05, BSP_STRAPS, "Clock oscillator"},
    {kClockClass, kNotIdentified, kNeverMatches, BSP_STRAPS, "InvalidClockType"},
    {kCpldClass, 0, 0x00, BSP_STRAPS, "Anlu"},
    {kCpldClass, 0, 0x05, BSP_STRAPS, "Anlu"},
    {kCpldClass, 0, 0x06, BSP_STRAPS, "Anlu"},
    {kCpldClass, 0, 0x09, BSP_STRAPS, "Anlu"},
    {kCpldClass, 1, 0x03, BSP_STRAPS, "Lattice"},
    {kCpldClass, 1, 0x0A, BSP_STRAPS, "Lattice"},
    {kCpldClass, 1, 0x0C, BSP_STRAPS, "Lattice"},
    {kCpldClass, 1, 0x0F, BSP_STRAPS, "Lattice"},
    {kCpldClass, kNotIdentified, kNeverMatches, BSP_STRAPS, "InvalidCpldType"},
    {kVrdClass, kNotIdentified, kNeverMatches, BSP_STRAPS, "Vrd"},
};
#undef BSP_STRAPS
static_assert(std::size(g_ChipIdentifyCfgTbl) == 21);

namespace {

// ------------------------------------------------------------------- strap identification

constexpr uint8_t kChipClasses = 6;
constexpr uint8_t kStrapPins = 4;
constexpr int kPinReadAttempts = 3;

// How a board's straps are decoded: how many pins count, which parity they must have (a
// BSP_PrivCheck mode), and which bits of the value compare with an ident code.
struct StrapDecoding {
    uint8_t pins;
    uint8_t parity_mode;
    uint8_t mask;
};
// A 5830 board wires only three strap bits and no parity bit: its mode checks nothing.
constexpr StrapDecoding k5830Straps = {3, 2, 0x07};
constexpr StrapDecoding kParityStraps = {4, 0, 0x0F};

// The identified type of each class, for the life of the process (0xFF: not yet). A failed
// identification leaves 0xFF, so the next call reads the straps again.
std::array<std::atomic<uint8_t>, kChipClasses> g_chip_types = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

struct StrapRead {
    bool ok;
    uint8_t value;    // bit k from pin k; on failure the bits gathered before the failing pin
    uint8_t bad_pin;  // the pin that failed
};

// Reads the first `count` strap pins, each set to input and read up to three times. The pins
// are only read, so two processes may read them at once.
StrapRead read_straps(const uint8_t *pins, uint8_t count)
{
    StrapRead r = {true, 0, 0};
    for (uint8_t k = 0; k < count; ++k) {
        bool read = false;
        for (int attempt = 0; attempt < kPinReadAttempts && !read; ++attempt) {
            uint8_t level = 0;
            const int32_t init = gpio_init(pins[k], 0);
            const int32_t got = gpio_read(pins[k], &level, 0);
            if (init == 0 && got == 0) {
                r.value = static_cast<uint8_t>(r.value | level << k);
                read = true;
            }
        }
        if (!read) return {false, r.value, pins[k]};
    }
    return r;
}

// The first row of class `chip_class` with type `type`; nullptr for a class without rows.
const ChipIdentifyCfg *row_of(uint8_t chip_class, uint8_t type)
{
    for (const ChipIdentifyCfg &row : g_ChipIdentifyCfgTbl) {
        if (row.chipClass == chip_class && row.chipType == type) return &row;
    }
    return nullptr;
}

// ------------------------------------------------------------------------ chips by framework

constexpr uint32_t k9555Option = 64;     // read the expander itself, not a cached value
constexpr uint32_t k9555SetOption = 16;  // write through to the expander
constexpr int k9555Attempts = 10;
constexpr uint32_t k9555RetryMs = 200;

constexpr int kChipAttempts = 3;
constexpr uint32_t kChipRetryMs = 100;
// A short pause after a transfer lets the chip finish before the next one reaches it.
constexpr uint32_t kChipSettleMs = 1;

constexpr size_t kAccessorNameLen = 32;

// One block transfer of a chip, retried; `move` performs one try.
template <typename Move>
int32_t chip_transfer(const char *fail_text, uint32_t offset, Move move)
{
    int32_t rc = 0;
    for (int attempt = 0; attempt < kChipAttempts; ++attempt) {
        rc = move();
        if (rc == 0) {
            vos_task_delay(kChipSettleMs);
            return kOkS;
        }
        vos_task_delay(kChipRetryMs);
    }
    BSP_LOG(kLogError, fail_text, offset, rc);
    return rc;
}

// Frame types whose backplane carries a single EEPROM; all others carry two.
constexpr std::array<uint16_t, 6> kOneEepromFrames = {9, 14, 16, 18, 40, 50};

}  // namespace

uint32_t BSP_JudgeChipType(uint8_t identCode, const uint8_t *strapPins)
{
    if (strapPins == nullptr) {
        BSP_LOG(kLogError, "typeGpio is null for getting chip type");
        return 0;
    }
    const StrapDecoding &d = BSP_Is5830Board() ? k5830Straps : kParityStraps;
    const StrapRead r = read_straps(strapPins, d.pins);
    if (!r.ok) {
        BSP_LOG(kLogError, "BSP:read the chip type gpio(%d) fail.(GpioVal is 0x%x, should be ChipIdentCode=0x%x)",
                r.bad_pin, r.value, identCode);
        return 0;
    }
    if (BSP_PrivCheck(d.parity_mode, r.value, kStrapPins) != kOkS) {
        BSP_LOG(kLogError, "BSP:check the gpio(0x%x) fail", r.value);
        return 0;
    }
    const auto masked = static_cast<uint8_t>(r.value & d.mask);
    if (masked != identCode) return 0;
    // The pins are printed highest first; a 5830 board's third pin stands in for the fourth.
    BSP_LOG(kLogNotice, "BSP:read the chip type gpio(%d:%d:%d:%d) is 0x%x, chipIdentCode=0x%x", strapPins[d.pins - 1],
            strapPins[2], strapPins[1], strapPins[0], masked, masked);
    return 1;
}

uint32_t BSP_IndentifyChipType(uint8_t chipClass, uint8_t *chipType)
{
    if (chipType == nullptr) return 0;
    if (chipClass >= kChipClasses) {
        *chipType = kNotIdentified;
        return 0;
    }
    std::atomic<uint8_t> &cached = g_chip_types[chipClass];
    if (const uint8_t known = cached.load(std::memory_order_relaxed); known != kNotIdentified) {
        *chipType = known;
        return 1;
    }
    // Each candidate row reads the straps afresh: a pin that settles late still counts.
    for (const ChipIdentifyCfg &row : g_ChipIdentifyCfgTbl) {
        if (row.chipClass != chipClass || BSP_JudgeChipType(row.identCode, row.strapPins) == 0) continue;
        *chipType = row.chipType;
        cached.store(row.chipType, std::memory_order_relaxed);
        return 1;
    }
    *chipType = kNotIdentified;
    BSP_LOG(kLogError, "BSP: analy the chip type fail(chipClass is 0x%x).", chipClass);
    cached.store(kNotIdentified, std::memory_order_relaxed);
    return 0;
}

uint32_t BSP_GetChipTypeStr(uint8_t chipClass, uint8_t bufSize, char *buf)
{
    if (buf == nullptr) {
        BSP_LOG(kLogError, "BSP: Input typestr pointer is null");
        return kOk;
    }
    uint8_t type = kNotIdentified;
    if (BSP_IndentifyChipType(chipClass, &type) == 0) type = kNotIdentified;
    const ChipIdentifyCfg *row = row_of(chipClass, type);
    if (row == nullptr) return kOk;
    const int rc = strncpy_s(buf, bufSize, row->desc, std::strlen(row->desc));
    if (rc != 0) BSP_LOG(kLogError, "Error: copy chip desc string failed, result = %d.", rc);
    return kOk;
}

int32_t BSP_GetChipTypeGpioVal(uint8_t *value)
{
    if (value == nullptr) {
        BSP_LOG(kLogError, "BSP: Input ChipGpioVal pointer is null");
        return kErrS;
    }
    const StrapRead r = read_straps(g_ChipIdentifyCfgTbl[0].strapPins, kStrapPins);
    if (!r.ok) {
        BSP_LOG(kLogError, "BSP:read the chip type gpio(%d) fail. GpioVal is 0x%x", r.bad_pin, r.value);
        return kErrS;
    }
    *value = r.value;
    return kOkS;
}

uint32_t BSP_Is5830Chip(void) { return 1; }

uint8_t BSP_GetBpEepromCount(void)
{
    uint16_t frame = 0;
    // Without a frame type, one EEPROM is the answer every backplane can give.
    if (BSP_GetFrameType(&frame) != kOkS) return 1;
    return bsp::is_in(kOneEepromFrames, frame) ? 1 : 2;
}

int32_t BSP_GetInfoFrom9555(OBJ_HANDLE object, const char *property, uint8_t *value)
{
    if (property == nullptr || value == nullptr) {
        BSP_LOG(kLogError, "input para is null.");
        return kErrS;
    }
    bool not_a_byte = false;
    // The expander sits behind a slow, shared bus: a busy moment is waited out.
    const int32_t rc = bsp::retry_with_delay(k9555Attempts, k9555RetryMs, [&]() -> int32_t {
        GVariant *v = nullptr;
        const int32_t got = dfl_get_hardware_value(object, property, &v, k9555Option);
        if (got != 0 || v == nullptr) return got != 0 ? got : kErrS;
        not_a_byte = !g_variant_is_of_type(v, G_VARIANT_TYPE_BYTE);
        if (!not_a_byte) *value = g_variant_get_byte(v);
        g_variant_unref(v);
        return kOkS;
    });
    if (not_a_byte) {
        BSP_LOG(kLogError, "property %s of the 9555 is not a byte.", property);
        return kErrS;
    }
    return rc;
}

int32_t BSP_SetInfoTo9555(OBJ_HANDLE object, const char *property, uint8_t value)
{
    if (property == nullptr) {
        BSP_LOG(kLogError, "input para is null.");
        return kErrS;
    }
    GVariant *v = g_variant_ref_sink(g_variant_new_byte(value));
    const int32_t rc = bsp::retry_with_delay(k9555Attempts, k9555RetryMs,
                                             [&] { return dfl_set_property_value(object, property, v, k9555SetOption); });
    g_variant_unref(v);
    return rc;
}

int32_t BSP_ReadChip(OBJ_HANDLE chip, const char *property, uint32_t offset, uint32_t length, void *buffer)
{
    return chip_transfer("Read chip failed. Addr(0x%x). Ret(%d).", offset,
                         [&] { return dfl_block_read(chip, property, offset, length, buffer); });
}

int32_t BSP_WriteChip(OBJ_HANDLE chip, const char *property, uint32_t offset, uint32_t length, const void *buffer)
{
    return chip_transfer("Write chip failed. Addr(0x%x). Ret(%d).", offset,
                         [&] { return dfl_block_write(chip, property, offset, length, buffer); });
}

int32_t BSP_GetAccessChipHandle(OBJ_HANDLE object, const char *property, OBJ_HANDLE *chip)
{
    if (property == nullptr || chip == nullptr) {
        BSP_LOG(kLogError, "input para is null.");
        return kErrS;
    }
    char accessor[kAccessorNameLen] = {0};
    int32_t rc = dfl_get_property_accessor(object, property, accessor, sizeof accessor);
    if (rc != 0) return rc;
    OBJ_HANDLE accessor_object = 0;
    rc = dfl_get_object_handle(accessor, &accessor_object);
    if (rc != 0) return rc;
    OBJ_HANDLE found = 0;
    rc = dfl_get_referenced_object(accessor_object, "Chip", &found);
    if (rc != 0) return rc;
    *chip = found;
    return kOkS;
}
