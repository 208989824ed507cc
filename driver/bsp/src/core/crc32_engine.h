// CRC-32 engine: MSB-first (non-reflected) CRC-32 over the polynomial
// 0x04C11DB7, with several interchangeable implementations.
//
// Every function here computes the same thing: the register value after
// shifting the bytes [p, p + n) into the register `crc`, most significant bit
// first, with no reflection and no final complement.  The caller chooses the
// initial register and applies any final complement itself, so a checksum can
// be computed in pieces by feeding the result of one call into the next.
//
// Internal to the library: no exceptions, no allocation, no threads.

#ifndef BSP_CORE_CRC32_ENGINE_H
#define BSP_CORE_CRC32_ENGINE_H

#include <cstddef>
#include <cstdint>

namespace bsp::crc {

// The generator polynomial without its x^32 term.
inline constexpr uint32_t kCrc32Poly = 0x04C11DB7u;

// One byte at a time from a 256-entry table.  Slow but obviously right; it is
// the yardstick every other implementation is tested against.
uint32_t crc32_reference(uint32_t crc, const uint8_t *p, size_t n);

// Table-driven, sixteen bytes per step.  Portable C++; used on machines
// without a carry-less multiplier and for short inputs and tails.
uint32_t crc32_slicing(uint32_t crc, const uint8_t *p, size_t n);

// Carry-less multiplication folding (PCLMULQDQ on x86-64, PMULL on aarch64).
// Only call it when crc32_path_available(Crc32Path::Clmul) is true: on a CPU
// without the instructions it faults.  On other architectures it is the
// slicing implementation.
uint32_t crc32_clmul(uint32_t crc, const uint8_t *p, size_t n);

// The same folding four lanes per instruction (512-bit VPCLMULQDQ with
// AVX-512 on x86-64).  Only call it when
// crc32_path_available(Crc32Path::ClmulWide) is true.  Inputs too short for
// the wide loop go through crc32_clmul.  Elsewhere it is crc32_clmul.
uint32_t crc32_clmul_wide(uint32_t crc, const uint8_t *p, size_t n);

enum class Crc32Path { Reference, Slicing, Clmul, ClmulWide };

// Human-readable name of a path ("reference", "slicing", "clmul",
// "clmul-wide").
const char *crc32_path_name(Crc32Path path);

// True when `path` can run on this CPU (and OS).  Reference and Slicing
// always can.
bool crc32_path_available(Crc32Path path);

// The path crc32_update() uses: the fastest available one, chosen once.
Crc32Path crc32_active_path();

// The function a path runs, or the slicing function when the path is not
// available on this CPU.  Exposed so the path-to-function mapping can be
// checked.
using Crc32Fn = uint32_t (*)(uint32_t, const uint8_t *, size_t);
Crc32Fn crc32_path_function(Crc32Path path);

// Update `crc` with the fastest implementation the CPU supports.
uint32_t crc32_update(uint32_t crc, const uint8_t *p, size_t n);

// Update `crc` with a chosen implementation.  A path the CPU lacks falls back
// to slicing, so the result is always correct.
uint32_t crc32_update_with(Crc32Path path, uint32_t crc, const uint8_t *p,
                           size_t n);

} // namespace bsp::crc

#endif // BSP_CORE_CRC32_ENGINE_H
