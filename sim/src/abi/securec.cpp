// Bounded memory and string functions with the platform's semantics. Calls are not recorded
// (they are not hardware), but any of them can be told to fail: each runs a quiet call object.
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "platform/securec.h"
#include "core/core.h"

using namespace bspsim;
using namespace bspsim::detail;

namespace {

constexpr int kErrInvalid = EINVAL;
constexpr int kErrRange = ERANGE;
constexpr int kErrOverlap = 54;

bool overlaps(const void *a, size_t alen, const void *b, size_t blen)
{
    auto pa = reinterpret_cast<uintptr_t>(a);
    auto pb = reinterpret_cast<uintptr_t>(b);
    return pa < pb + blen && pb < pa + alen;
}

// The string copies share one rule: on failure the destination is left as an empty string.
int fail_string(char *dest, size_t destMax, int code)
{
    if (dest && destMax > 0) dest[0] = '\0';
    return code;
}

}  // namespace

// memcpy_s and memmove_s differ only in whether overlapping buffers are refused: a refused copy
// clears the whole destination, as the platform's functions do.
namespace {
int checked_copy(Op op, void *dest, size_t destMax, const void *src, size_t count, bool refuse_overlap)
{
    if (int32_t code = 0; Call(op, kAnyKey, {}, true).fault(&code)) return code;
    if (!dest || destMax == 0) return kErrInvalid;
    int rc = !src                                                                ? kErrInvalid
             : count > destMax                                                   ? kErrRange
             : refuse_overlap && count > 0 && overlaps(dest, count, src, count) ? kErrOverlap
                                                                                 : 0;
    if (rc != 0) {
        std::memset(dest, 0, destMax);
        return rc;
    }
    if (count > 0) std::memmove(dest, src, count);
    return 0;
}
}  // namespace

BSPSIM_API int memcpy_s(void *dest, size_t destMax, const void *src, size_t count)
{
    return checked_copy(Op::MemcpyS, dest, destMax, src, count, true);
}

BSPSIM_API int memmove_s(void *dest, size_t destMax, const void *src, size_t count)
{
    return checked_copy(Op::MemmoveS, dest, destMax, src, count, false);
}

// What it was asked to do is kept for a test that records it (a wipe of key material).
BSPSIM_API int memset_s(void *dest, size_t destMax, int c, size_t count)
{
    Call call(Op::MemsetS, kAnyKey,
              {.a = static_cast<uint32_t>(destMax), .b = static_cast<uint32_t>(count), .value = static_cast<uint8_t>(c)},
              true);
    if (int32_t code = 0; call.fault(&code)) return code;
    if (!dest || destMax == 0) return call.done(kErrInvalid);
    if (count > destMax) {
        std::memset(dest, c, destMax);
        return call.done(kErrRange);
    }
    std::memset(dest, c, count);
    return call.done(0);
}

BSPSIM_API int strcpy_s(char *dest, size_t destMax, const char *src)
{
    if (int32_t code = 0; Call(Op::StrcpyS, kAnyKey, {}, true).fault(&code)) return code;
    if (!dest || destMax == 0) return kErrInvalid;
    if (!src) return fail_string(dest, destMax, kErrInvalid);
    size_t n = strnlen(src, destMax);
    if (n >= destMax) return fail_string(dest, destMax, kErrRange);
    if (overlaps(dest, n + 1, src, n + 1)) return fail_string(dest, destMax, kErrOverlap);
    std::memcpy(dest, src, n + 1);
    return 0;
}

BSPSIM_API int strncpy_s(char *dest, size_t destMax, const char *src, size_t count)
{
    if (int32_t code = 0; Call(Op::StrncpyS, kAnyKey, {}, true).fault(&code)) return code;
    if (!dest || destMax == 0) return kErrInvalid;
    if (!src) return fail_string(dest, destMax, kErrInvalid);
    size_t n = strnlen(src, count);
    if (n >= destMax) return fail_string(dest, destMax, kErrRange);
    if (overlaps(dest, n + 1, src, n)) return fail_string(dest, destMax, kErrOverlap);
    std::memcpy(dest, src, n);
    dest[n] = '\0';
    return 0;
}

BSPSIM_API int strncat_s(char *dest, size_t destMax, const char *src, size_t count)
{
    if (int32_t code = 0; Call(Op::StrncatS, kAnyKey, {}, true).fault(&code)) return code;
    if (!dest || destMax == 0) return kErrInvalid;
    if (!src) return fail_string(dest, destMax, kErrInvalid);
    size_t have = strnlen(dest, destMax);
    if (have >= destMax) return fail_string(dest, destMax, kErrInvalid);
    size_t n = strnlen(src, count);
    if (have + n >= destMax) return fail_string(dest, destMax, kErrRange);
    std::memcpy(dest + have, src, n);
    dest[have + n] = '\0';
    return 0;
}

BSPSIM_API int sprintf_s(char *dest, size_t destMax, const char *fmt, ...)
{
    if (int32_t code = 0; Call(Op::SprintfS, kAnyKey, {}, true).fault(&code)) return code;
    if (!dest || destMax == 0 || !fmt) return -1;
    va_list ap;
    va_start(ap, fmt);
    int n = std::vsnprintf(dest, destMax, fmt, ap);
    va_end(ap);
    if (n < 0 || static_cast<size_t>(n) >= destMax) {
        dest[0] = '\0';
        return -1;
    }
    return n;
}

BSPSIM_API int snprintf_s(char *dest, size_t destMax, size_t count, const char *fmt, ...)
{
    if (int32_t code = 0; Call(Op::SnprintfS, kAnyKey, {}, true).fault(&code)) return code;
    if (!dest || destMax == 0 || !fmt) return -1;
    size_t limit = count < destMax - 1 ? count : destMax - 1;
    va_list ap;
    va_start(ap, fmt);
    int n = std::vsnprintf(dest, limit + 1, fmt, ap);
    va_end(ap);
    if (n < 0) {
        dest[0] = '\0';
        return -1;
    }
    if (static_cast<size_t>(n) > limit) return -1;
    return n;
}

