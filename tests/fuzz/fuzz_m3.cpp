// The secure core's answer to each operation, as arbitrary bytes: this harness stands in for
// the platform's message call, so the bytes reach the library's frame check unchanged.
#include <algorithm>
#include <cstring>

#include "bmc_bsp.h"
#include "fuzz.h"
#include "platform/sec.h"

namespace {
std::vector<uint8_t> g_answer;
int32_t g_call_result = 0;
}  // namespace

// Found before the simulator's, so every request of the library gets the input's answer, cut at
// what the receive buffer holds, as the real channel does.
extern "C" int32_t sec_msg_sendrecv(SecMsgCmd *cmd)
{
    const uint32_t n = std::min<uint32_t>(cmd->r_len, static_cast<uint32_t>(g_answer.size()));
    if (n > 0) std::memcpy(cmd->r_buff, g_answer.data(), n);
    cmd->r_len = n;
    return g_call_result;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    bspfuzz::board();
    bspfuzz::Input in(data, size);
    const uint8_t op = in.u8();
    g_call_result = (op & 0x80) ? -1 : 0;
    uint16_t words[3] = {};
    if ((op & 0x0F) == 8) {
        // The raw exchange, with the response length the caller asks for taken from the input.
        uint16_t len = in.u16();
        const std::vector<uint8_t> req = in.bytes(in.u8());
        g_answer = in.rest();
        std::vector<uint8_t> resp(len);
        const uint16_t asked = len;
        if (dal_send_recv_msg_with_m3(req.data(), static_cast<uint16_t>(req.size()), resp.data(), &len) == 0)
            bspfuzz::check(len <= asked);
        return 0;
    }
    g_answer = in.rest();
    switch (op & 0x0F) {
    case 0: dal_get_bmc_secure_boot_info(words); break;
    case 1: dal_get_bmc_last_upgrde_info(words); break;
    case 2: dal_set_bmc_upgrade_flag(op >> 4); break;
    case 3: dal_set_customer_info(); break;
    case 4: dal_get_bios_mux_status(words); break;
    case 5: dal_set_bios_mux_ctrl(op >> 4); break;
    case 6: dal_get_bios_verify_result(words); break;
    default: dal_set_bios_verify_ctrl(op); break;
    }
    return 0;
}
