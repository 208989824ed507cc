// Power-supply firmware images as anyone may upload them: the header check must only read
// inside the image and answer either the payload offset or 0.
#include "bmc_bsp.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    bspfuzz::board();
    // libFuzzer hands the image in a heap block of exactly `size` bytes: a read past it is seen.
    const uint32_t shift = GetPowerFwShift(data, static_cast<uint32_t>(size));
    bspfuzz::check(shift == 0 || (shift == 64 && size >= 64));
    return 0;
}
