// Small conversions shared by the library and its callers: text to number, trimming of
// configuration text, wrap-safe counter differences, the PMBus linear number formats, property
// values and bytes as text, fan level against PWM duty, and whole-buffer file access at an
// offset. None of the conversions fails: each clamps, wraps or stops at the first character it
// does not expect, and that forgiving behaviour is what its callers were written against.
#include <glib.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/securec.h"

namespace {

using bsp::kErr;
using bsp::kOk;

// ------------------------------------------------------------------------------ text to number

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_hex_prefix(const char *text) { return text[0] == '0' && (text[1] == 'x' || text[1] == 'X'); }

// Blank, tab, line feed and carriage return only: configuration text never carries the other
// characters isspace() would also take, and a form feed there is data.
bool is_white(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// ------------------------------------------------------------------------------ PMBus formats

// Sign-extends the low `bits` bits of `field`.
int32_t sign_extend(uint32_t field, unsigned bits)
{
    const uint32_t sign = 1u << (bits - 1);
    const auto value = static_cast<int32_t>(field & ((sign << 1) - 1));
    return (field & sign) != 0 ? value - static_cast<int32_t>(sign << 1) : value;
}

constexpr uint32_t kLinear11ExponentShift = 11;
constexpr unsigned kLinear11ExponentBits = 5;
constexpr unsigned kLinear11MantissaBits = 11;
constexpr uint8_t kModeExponentSign = 0x10;
constexpr uint8_t kModeExponentMask = 0x1F;
constexpr uint8_t kModePositiveExponentMask = 0x0F;
constexpr double kLinear16Max = 65535.0;

// ------------------------------------------------------------------------------ values as text

constexpr size_t kArrayTextSize = 128;
// Room kept in the array text for "..." and its terminator once the elements no longer fit.
constexpr size_t kArrayTextLimit = 124;
constexpr const char kArraySeparator[] = ", ";
constexpr const char kArrayEllipsis[] = "...";

struct Rendering {
    const char *type;
    gchar *(*render)(GVariant *value);
};

// One row per basic type a property holds. "q" and "u" print through "%d" like the signed ones;
// readers of these texts have long parsed "u" values from 2^31 up as negative, so they stay so.
constexpr std::array<Rendering, 8> kRenderings = {{
    {"b", [](GVariant *v) { return g_strdup(g_variant_get_boolean(v) ? "TRUE" : "FALSE"); }},
    {"y", [](GVariant *v) { return g_strdup_printf("%u", g_variant_get_byte(v)); }},
    {"n", [](GVariant *v) { return g_strdup_printf("%d", g_variant_get_int16(v)); }},
    {"q", [](GVariant *v) { return g_strdup_printf("%d", g_variant_get_uint16(v)); }},
    {"i", [](GVariant *v) { return g_strdup_printf("%d", g_variant_get_int32(v)); }},
    {"u", [](GVariant *v) { return g_strdup_printf("%d", static_cast<int32_t>(g_variant_get_uint32(v))); }},
    {"d", [](GVariant *v) { return g_strdup_printf("%f", g_variant_get_double(v)); }},
    {"s", [](GVariant *v) { return g_strdup(g_variant_get_string(v, nullptr)); }},
}};

// How deep a value of this type may nest is decided by whoever serialised it. GLib aborts rather
// than hand out a child of a value nested about 128 levels deep, so deeper than this many levels
// the elements are not rendered at all; the renderers' own recursion stays as shallow.
constexpr int kMaxNesting = 64;

// True when the complete type `type` nests more than `limit` levels ("y" is 1, "ay" 2, "a(ay)" 4).
bool nests_deeper(const char *type, int limit)
{
    std::array<int, kMaxNesting + 2> prefixes{};  // 'a' and 'm' still open, per bracket level
    int level = 0;
    int depth = 0;
    for (const char *c = type; *c != '\0'; ++c) {
        if (*c == 'a' || *c == 'm') {
            ++prefixes[level];
            ++depth;
        } else if (*c == '(' || *c == '{') {
            ++depth;
            if (++level >= static_cast<int>(prefixes.size())) return true;
            prefixes[level] = 0;
        } else {
            // A basic type or a closing bracket completes a type: its level's prefixes close.
            if (depth + 1 > limit) return true;
            if ((*c == ')' || *c == '}') && level > 0) --depth, --level;
            depth -= prefixes[level];
            prefixes[level] = 0;
        }
        if (depth > limit) return true;
    }
    return false;
}

constexpr std::array<char, 16> kUpperHex = {'0', '1', '2', '3', '4', '5', '6', '7',
                                            '8', '9', 'A', 'B', 'C', 'D', 'E', 'F'};

// ------------------------------------------------------------------------------ fan level

// Per mille of full duty at the lowest fan level: lower on a lite board.
constexpr int32_t kLiteDutyFloor = 100;
constexpr int32_t kDutyFloor = 200;
constexpr int32_t kPerMille = 1000;
constexpr int32_t kMaxDuty = 255;
constexpr double kLevelSteps = 31.0;  // levels 1..32
constexpr uint8_t kLevelToDuty = 0;
constexpr uint8_t kDutyToLevel = 1;

// A computed value handed back as the byte it would be stored in: truncated toward zero, then
// cut to 8 bits (so an out-of-range level or duty wraps rather than saturates).
uint8_t to_byte(double value) { return static_cast<uint8_t>(static_cast<int32_t>(value)); }

// ------------------------------------------------------------------------------ files

// One call moves at most this much: a read allocates its scratch per call.
constexpr uint32_t kMaxFileTransfer = 10240;

struct FileCloser {
    void operator()(FILE *f) const { (void)std::fclose(f); }
};
using File = std::unique_ptr<FILE, FileCloser>;

// Checks shared by reads and writes; logs and returns false when the call must be refused.
bool transfer_allowed(const char *path, const char *mode, const void *buf, uint32_t length)
{
    if (path == nullptr || mode == nullptr || buf == nullptr) {
        BSP_LOG(bsp::kLogError, "Input pointer is null.");
        return false;
    }
    // Writes log the read's wording too: the line stays as this system has always written it.
    if (length > kMaxFileTransfer) {
        BSP_LOG(bsp::kLogError, "Read buffer is too large. ReadLength(%d)", length);
        return false;
    }
    return true;
}

// The file opened and positioned at `offset`, or null (logged).
File open_at(const char *path, const char *mode, uint32_t offset)
{
    File f(std::fopen(path, mode));
    if (!f) {
        BSP_LOG(bsp::kLogError, "Open %s fail.", path);
        return nullptr;
    }
    if (std::fseek(f.get(), static_cast<long>(offset), SEEK_SET) != 0) {
        BSP_LOG(bsp::kLogError, "Call fseek %s fail.", path);
        return nullptr;
    }
    return f;
}

// The counts come out as "fact" then "want", against the wording, and writes use the read's
// words: the line stays as this system has always written it.
void log_short_transfer(const char *path, size_t done, uint32_t wanted)
{
    BSP_LOG(bsp::kLogError, "Read file %s fail, want to read %u, fact read %u", path, static_cast<uint32_t>(done),
            wanted);
}

}  // namespace

extern "C" {

uint32_t htoi(const char *text)
{
    if (text == nullptr) return 0;
    if (is_hex_prefix(text)) text += 2;
    uint32_t value = 0;
    for (; is_digit(*text) || is_letter(*text); ++text) {
        // Letters past "f" are taken too ("g" is 16): only proper hexadecimal is ever relied on.
        const uint32_t digit = is_digit(*text) ? static_cast<uint32_t>(*text - '0')
                                               : static_cast<uint32_t>((*text | 0x20) - 'a' + 10);
        value = value * 16 + digit;
    }
    return value;
}

uint32_t btoi(const char *text)
{
    if (text == nullptr) return 0;
    uint32_t value = 0;
    for (; *text == '0' || *text == '1'; ++text) value = (value & 0x7FFF) * 2 + static_cast<uint32_t>(*text - '0');
    return value;
}

int64_t BSP_HexOrDecPro(const char *text)
{
    if (text == nullptr) return 0;
    if (is_hex_prefix(text)) return htoi(text);
    return std::strtol(text, nullptr, 10);
}

void BSP_StrConvert(char *text)
{
    if (text == nullptr) {
        BSP_LOG(bsp::kLogError, "Input str is NULL.");
        return;
    }
    const size_t len = std::strlen(text);
    if (len == 0) {
        BSP_LOG(bsp::kLogError, "Str len is too short(%d).", static_cast<int>(len));
        return;
    }
    size_t first = 0;
    while (first < len && is_white(text[first])) ++first;
    size_t end = len;
    while (end > first && is_white(text[end - 1])) --end;
    std::memmove(text, text + first, end - first);
    text[end - first] = '\0';
}

void BSP_CommentTrim(char *text)
{
    if (text == nullptr) return;
    bool quoted = false;
    for (char *c = text; *c != '\0'; ++c) {
        if (*c == '"') {
            quoted = !quoted;
        } else if (*c == '#' && !quoted) {
            *c = '\0';
            return;
        }
    }
}

uint32_t BSP_Diff_Uint32(uint32_t earlier, uint32_t later) { return later - earlier; }

uint64_t BSP_Diff_Ulong(uint64_t earlier, uint64_t later) { return later - earlier; }

float BSP_Literal16ToFloat(uint16_t mantissa, int8_t exponent)
{
    return std::ldexp(static_cast<float>(mantissa), exponent);
}

float BSP_Literal11ToFloat(uint16_t word)
{
    const int32_t exponent = sign_extend(static_cast<uint32_t>(word) >> kLinear11ExponentShift, kLinear11ExponentBits);
    const int32_t mantissa = sign_extend(word, kLinear11MantissaBits);
    return std::ldexp(static_cast<float>(mantissa), exponent);
}

uint16_t BSP_FloatToLiteral16(int8_t exponent, float value)
{
    const auto field = static_cast<uint8_t>(exponent);
    const int32_t e = (field & kModeExponentSign) != 0 ? (field & kModeExponentMask) - 32
                                                         : (field & kModePositiveExponentMask);
    const double mantissa = std::ldexp(static_cast<double>(value), -e);
    if (mantissa > kLinear16Max) return UINT16_MAX;
    if (!(mantissa >= 0.0)) return 0;  // negative, or not a number at all
    return static_cast<uint16_t>(mantissa);
}

char *BSP_GvariantToString(GVariant *value)
{
    if (value == nullptr) {
        BSP_LOG(bsp::kLogError, "invalid input para.");
        return nullptr;
    }
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_ARRAY)) return BSP_GarrayToString(value);
    const char *type = g_variant_get_type_string(value);
    for (const Rendering &row : kRenderings) {
        if (std::strcmp(row.type, type) == 0) return row.render(value);
    }
    return nullptr;
}

char *BSP_GarrayToString(GVariant *array)
{
    if (array == nullptr || !g_variant_is_container(array)) {
        BSP_LOG(bsp::kLogError, "invalid input para.");
        return nullptr;
    }
    char text[kArrayTextSize] = {};
    if (nests_deeper(g_variant_get_type_string(array), kMaxNesting)) return g_strdup(text);
    GVariantIter iter;
    g_variant_iter_init(&iter, array);
    while (GVariant *element = g_variant_iter_next_value(&iter)) {
        gchar *item = BSP_GvariantToString(element);
        g_variant_unref(element);
        if (item == nullptr) continue;
        const bool full = std::strlen(text) + std::strlen(item) + 1 > kArrayTextLimit;
        if (full) {
            int rc = strncat_s(text, sizeof text, kArrayEllipsis, std::strlen(kArrayEllipsis));
            if (rc != 0) BSP_LOG(bsp::kLogError, "Error: cat array end failed, result = %d.", rc);
        } else {
            for (const char *part : {static_cast<const char *>(item), kArraySeparator}) {
                int rc = strncat_s(text, sizeof text, part, std::strlen(part));
                if (rc != 0) BSP_LOG(bsp::kLogError, "Error: cat array element failed, result = %d.", rc);
            }
        }
        g_free(item);
        if (full) break;
    }
    return g_strdup(text);
}

void BSP_Arr2String(const uint8_t *bytes, uint32_t count, char *out, uint32_t outSize)
{
    if (bytes == nullptr || out == nullptr || count == 0 || outSize == 0) return;
    uint32_t at = 0;
    // Two characters a byte, and the terminator must still fit after them.
    for (uint32_t i = 0; i < count && outSize - at >= 3; ++i) {
        out[at++] = kUpperHex[bytes[i] >> 4];
        out[at++] = kUpperHex[bytes[i] & 0x0F];
    }
    out[at] = '\0';
}

uint8_t BSP_FanLevelConvert(uint8_t direction, uint8_t value)
{
    const int32_t floor = BSP_IsLiteBoard() != 0 ? kLiteDutyFloor : kDutyFloor;
    if (direction == kLevelToDuty) {
        const int32_t base = floor * kMaxDuty / kPerMille;
        const int32_t span = kMaxDuty - base;
        return to_byte((value - 1) * span / kLevelSteps + base);
    }
    if (direction == kDutyToLevel) {
        return to_byte((value * static_cast<double>(kPerMille) / kMaxDuty - floor) * kLevelSteps / (kPerMille - floor) +
                       1.0 + 0.5);
    }
    return 0;
}

uint32_t BSP_ReadFileInfo(const char *path, const char *mode, uint32_t offset, uint32_t length, void *buf)
{
    if (!transfer_allowed(path, mode, buf, length)) return kErr;
    // The bytes land in a scratch first, so that a failed read leaves the caller's buffer as it was.
    std::unique_ptr<char, decltype(&g_free)> scratch(static_cast<char *>(g_try_malloc0(length + 1)), g_free);
    if (!scratch) {
        BSP_LOG(bsp::kLogError, "Malloc size(%d) fail.", length + 1);
        return kErr;
    }
    File f = open_at(path, mode, offset);
    if (!f) return kErr;
    const size_t got = std::fread(scratch.get(), 1, length, f.get());
    f.reset();
    if (got != length) {
        log_short_transfer(path, got, length);
        return kErr;
    }
    // Nothing to copy for an empty read: a bounded copy would refuse a zero-sized destination.
    if (length != 0) {
        int rc = memcpy_s(buf, length, scratch.get(), length);
        if (rc != 0) BSP_LOG(bsp::kLogError, "copy read data failed, result = %d.", rc);
    }
    return kOk;
}

uint32_t BSP_WriteFileInfo(const char *path, const char *mode, uint32_t offset, uint32_t length, const void *buf)
{
    if (!transfer_allowed(path, mode, buf, length)) return kErr;
    File f = open_at(path, mode, offset);
    if (!f) return kErr;
    const size_t put = std::fwrite(buf, 1, length, f.get());
    if (put != length) {
        log_short_transfer(path, put, length);
        return kErr;
    }
    // The caller is told "written" only once the bytes are on the medium. A file that cannot be
    // synchronised at all (a device or pseudo file: EINVAL) has nothing more to make durable.
    if (std::fflush(f.get()) != 0) {
        BSP_LOG(bsp::kLogError, "Flush file %s fail.", path);
        return kErr;
    }
    if (fsync(fileno(f.get())) != 0 && errno != EINVAL) {
        BSP_LOG(bsp::kLogError, "Sync file %s fail.", path);
        return kErr;
    }
    return kOk;
}

}  // extern "C"
