// Shared by the fuzz harnesses: one simulated board per fuzzing process (the library logs and
// reads its board id through it), and a reader that deals the input out in small pieces.
#ifndef BSP_TESTS_FUZZ_FUZZ_H
#define BSP_TESTS_FUZZ_FUZZ_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <glib.h>

#include "bspsim/sim.hpp"

namespace bspfuzz {

// GLib's complaints about its callers (criticals, warnings) are findings too: printed, then an
// abort that libFuzzer catches and saves the input of.
inline void glib_complaint(const gchar *domain, GLogLevelFlags level, const gchar *message, gpointer)
{
    g_log_default_handler(domain, level, message, nullptr);
    if (level & (G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING)) std::abort();
}
inline const bool kComplaintsAbort = (g_log_set_default_handler(glib_complaint, nullptr), true);

// The board of this process, created on first use and removed when the process exits.
inline bspsim::Board &board(const char *profile = "default")
{
    static std::unique_ptr<bspsim::Board> b = bspsim::Board::create(profile);
    return *b;
}

// A finding of a property check: stops the run like a sanitizer report would.
inline void check(bool ok)
{
    if (!ok) std::abort();
}

// The input taken from the front; past its end every read gives zeros or nothing.
class Input {
public:
    Input(const uint8_t *data, size_t size) : p_(data), end_(data + size) {}
    size_t left() const { return static_cast<size_t>(end_ - p_); }
    uint8_t u8() { return p_ < end_ ? *p_++ : 0; }
    uint16_t u16() { return static_cast<uint16_t>(u8() | u8() << 8); }
    uint32_t u32() { return u16() | static_cast<uint32_t>(u16()) << 16; }
    // The next `n` bytes (fewer when the input ends first).
    std::vector<uint8_t> bytes(size_t n)
    {
        n = n < left() ? n : left();
        std::vector<uint8_t> out(p_, p_ + n);
        p_ += n;
        return out;
    }
    std::vector<uint8_t> rest() { return bytes(left()); }
    // Text up to the next NUL (dropped) or the end of the input.
    std::string text()
    {
        std::string out;
        while (p_ < end_ && *p_ != 0) out += static_cast<char>(*p_++);
        if (p_ < end_) ++p_;
        return out;
    }

private:
    const uint8_t *p_;
    const uint8_t *end_;
};

}  // namespace bspfuzz

#endif
