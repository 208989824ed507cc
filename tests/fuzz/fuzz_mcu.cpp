// The fan MCU's replies as arbitrary bytes: a block-access chip of the framework holds the
// input, and the library reads a command's data and its PEC byte out of it.
#include "bmc_bsp.h"
#include "bspsim/fan_mcu.hpp"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const OBJ_HANDLE mcu = [] {
        bspfuzz::board().add_object("FuzzMcu", "FuzzChip");
        return bspfuzz::board().handle_of("FuzzMcu");
    }();
    bspfuzz::Input in(data, size);
    const uint8_t cmd = in.u8();
    uint32_t len = in.u16() & 0x7FF;  // reaches past the 1024-byte limit too
    const std::vector<uint8_t> reply = in.rest();
    // Length 0 asks for the whole reply after the command's offset, its last byte the PEC.
    if (len == 0 && reply.size() > cmd + 1u) len = static_cast<uint32_t>(reply.size() - cmd - 1);
    bspfuzz::board().set_block("FuzzMcu", "McuBlock", reply);
    std::vector<uint8_t> out(len ? len : 1);
    const int32_t rc = BSP_GetDataFromMCU(mcu, "McuBlock", cmd, out.data(), len);
    // Good data comes only with a matching PEC, which then covers the addresses and command too.
    if (rc == 0) {
        const std::vector<uint8_t> block(reply.begin() + cmd, reply.begin() + cmd + len);
        std::vector<uint8_t> framed = {0x26, cmd, 0x27};
        framed.insert(framed.end(), block.begin(), block.end());
        bspfuzz::check(block == out && bspsim::smbus_pec(framed) == reply[cmd + len]);
    }
    return 0;
}
