// The secure-core message channel: framed requests to the M3 core, each protected by a CRC-16,
// and one small function per operation the core offers.
//
// A request is 02 CMD 00 00 [PARAM lo hi], followed by its CRC-16 (initial value 0xFFFF, low
// byte first). The core answers with the request's first byte + 0x80, three bytes nobody reads,
// a 16-bit response code (0: done), the operation's result words and the CRC-16 of all that.
// Nothing is kept between calls: every call owns its buffers and frees them on every path.
#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/sec.h"
#include "platform/securec.h"

namespace {

using bsp::kErrS;
using bsp::kLogError;
using bsp::kLogTrace;
using bsp::kOkS;

// Both a request and the response it asks for hold 4 to 4094 bytes, CRC not counted: the
// core's message buffer is 4 KiB and the CRC must fit too.
constexpr uint16_t kMinMsgLen = 4;
constexpr uint16_t kMaxMsgLen = 4094;
constexpr uint32_t kCrcLen = 2;
// The shortest response worth reading: the 4-byte header and the CRC.
constexpr uint32_t kMinResponse = 4 + kCrcLen;
constexpr uint8_t kAnswerBit = 0x80;
constexpr uint16_t kCrcInit = 0xFFFF;

// The unsigned difference wraps below the minimum, so one comparison checks both ends.
bool outside_msg_bounds(uint16_t len)
{
    return static_cast<uint16_t>(len - kMinMsgLen) > kMaxMsgLen - kMinMsgLen;
}

uint16_t le16(const uint8_t *p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }

void put_le16(uint8_t *p, uint16_t v)
{
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}

// The received bytes as "xx-xx-...", for the trace of what the core answered.
void dump_received(const SecMsgCmd &cmd)
{
    static constexpr char kHex[] = "0123456789abcdef";
    constexpr size_t kCharsPerByte = 3;  // "xx-"
    BSP_LOG(kLogTrace, "print %d byte data:", static_cast<int>(cmd.r_len));
    auto *text = static_cast<char *>(g_malloc0(size_t{cmd.r_len} * kCharsPerByte + 1));
    if (text == nullptr) {
        BSP_LOG(kLogError, "g_malloc0 failed.");
        return;
    }
    for (uint32_t i = 0; i < cmd.r_len; ++i) {
        char *at = text + size_t{i} * kCharsPerByte;
        at[0] = kHex[cmd.r_buff[i] >> 4];
        at[1] = kHex[cmd.r_buff[i] & 0x0F];
        at[2] = '-';
    }
    BSP_LOG(kLogTrace, "%s", text);
    g_free(text);
}

}  // namespace

extern "C" {

int32_t dal_check_send_recv_msg(SecMsgCmd *cmd, const uint8_t *req, uint16_t req_len, uint32_t expected_len)
{
    // A send buffer that is missing or too small fails its copy below.
    if (cmd == nullptr || req == nullptr || cmd->r_buff == nullptr) {
        BSP_LOG(kLogError, "In parameters point is null.");
        return kErrS;
    }
    int iret = memcpy_s(cmd->s_buff, cmd->s_len, req, req_len);
    if (iret != 0) {
        BSP_LOG(kLogError, "memcpy_s  s_buff fail(iret = 0X%x).", iret);
        return kErrS;
    }
    uint8_t crc[kCrcLen];
    put_le16(crc, BSP_CalCrc16(kCrcInit, req, req_len));
    iret = memcpy_s(cmd->s_buff + req_len, cmd->s_len - req_len, crc, kCrcLen);
    if (iret != 0) {
        BSP_LOG(kLogError, "memcpy_s  crc fail(iret = 0X%x).", iret);
        return kErrS;
    }
    iret = sec_msg_sendrecv(cmd);
    if (iret != 0) {
        BSP_LOG(kLogError, "sec_msg_sendrecv fail(iret = 0X%x).", iret);
        return kErrS;
    }
    dump_received(*cmd);
    if (cmd->r_buff[0] != static_cast<uint8_t>(cmd->s_buff[0] + kAnswerBit)) {
        BSP_LOG(kLogError, "sec_msg_sendrecv fail(r_buff[0] = 0X%x).", cmd->r_buff[0]);
        return kErrS;
    }
    // A response shorter than the one asked for is taken, as long as it has its header.
    if (cmd->r_len < kMinResponse || cmd->r_len > expected_len + kCrcLen) {
        BSP_LOG(kLogError, "respond len is invalid(cmd.r_len=0X%x,0X%x).", cmd->r_len, expected_len);
        return kErrS;
    }
    const uint32_t body = cmd->r_len - kCrcLen;
    const uint16_t computed = BSP_CalCrc16(kCrcInit, cmd->r_buff, body);
    const uint16_t received = le16(cmd->r_buff + body);
    if (computed != received) {
        BSP_LOG(kLogError, "CRC error(%u != %u).", computed, received);
        return kErrS;
    }
    return kOkS;
}

int32_t dal_send_recv_msg_with_m3(const uint8_t *req, uint16_t req_len, uint8_t *resp, uint16_t *resp_len)
{
    if (req == nullptr || resp == nullptr || resp_len == nullptr) {
        BSP_LOG(kLogError, "In parameters point is null.");
        return kErrS;
    }
    if (outside_msg_bounds(req_len)) {
        BSP_LOG(kLogError, "req_msg_len(%d) is out(%d, %d).", req_len, kMinMsgLen, kMaxMsgLen);
        return kErrS;
    }
    const uint16_t expected = *resp_len;
    if (outside_msg_bounds(expected)) {
        BSP_LOG(kLogError, "p_resp_msg_len(%d) is out(%d, %d).", expected, kMinMsgLen, kMaxMsgLen);
        return kErrS;
    }
    SecMsgCmd cmd = {};
    cmd.s_len = req_len + kCrcLen;
    cmd.s_buff = static_cast<uint8_t *>(g_malloc0(cmd.s_len));
    if (cmd.s_buff == nullptr) {
        BSP_LOG(kLogError, "malloc  s_buff fail.");
        return kErrS;
    }
    cmd.r_len = expected + kCrcLen;
    cmd.r_buff = static_cast<uint8_t *>(g_malloc0(cmd.r_len));
    if (cmd.r_buff == nullptr) {
        BSP_LOG(kLogError, "malloc  r_buff fail.");
        g_free(cmd.s_buff);
        return kErrS;
    }
    int32_t ret = dal_check_send_recv_msg(&cmd, req, req_len, expected);
    if (ret != kOkS) {
        BSP_LOG(kLogError, "Check send or recv msg invalid, ret=%d.", ret);
    } else {
        // The caller gets the header and the response code with the results, not the CRC.
        const uint32_t body = cmd.r_len - kCrcLen;
        *resp_len = static_cast<uint16_t>(body);
        ret = memcpy_s(resp, expected, cmd.r_buff, body);
        if (ret != 0) BSP_LOG(kLogError, "memcpy_s resp_msg fail(iret = 0X%x).", ret);
    }
    g_free(cmd.s_buff);
    g_free(cmd.r_buff);
    return ret;
}

}  // extern "C"

namespace {

constexpr uint8_t kMsgClass = 0x02;
constexpr uint32_t kCodeAt = 4;
constexpr uint32_t kParamAt = 4;
constexpr uint32_t kResultsAt = 6;
constexpr uint16_t kShortRequest = 4;
constexpr uint16_t kLongRequest = 6;
constexpr uint16_t kLongestResponse = 12;

// One operation of the core: its command word (the class in the low byte, the command in the
// high one), the request length (a 6-byte request carries the parameter), the response length
// it asks for, how many result words it hands back, and its two failure texts.
struct M3Operation {
    uint16_t command;
    uint16_t req_len;
    uint16_t resp_len;
    uint8_t results;
    const char *send_failed;
    const char *refused;
};

constexpr const char *kSendFailed = "command sendrecv failed(ret = 0x%x).";
constexpr const char *kRefused = "command respond is not ok(resp_code = 0x%x).";

enum OperationIndex : size_t { kSecureBoot, kLastUpgrade, kUpgradeFlag, kCustomerInfo, kMuxStatus, kMuxCtrl,
                               kVerifyResult, kVerifyCtrl };

// The set-mux request asks for an 8-byte answer although only the code is read; the core's
// answer is that long.
constexpr std::array<M3Operation, 8> kOperations = {{
    {0x0802, kShortRequest, 12, 3, "ommand sendrecv failed(ret = 0x%x).", kRefused},
    {0x0C02, kShortRequest, 8, 1, kSendFailed, kRefused},
    {0x0702, kLongRequest, 6, 0, kSendFailed, kRefused},
    {0x0D02, kLongRequest, 6, 0, kSendFailed, kRefused},
    {0x0102, kShortRequest, 8, 1, kSendFailed, kRefused},
    {0x0202, kLongRequest, 8, 0, kSendFailed, kRefused},
    {0x1702, kShortRequest, 8, 1, kSendFailed, kRefused},
    {0x1602, kLongRequest, 6, 0, "set bios verify command sendrecv failed(ret = 0x%x).",
     " verify bios failed(resp_code = 0x%x)."},
}};
static_assert(kOperations[kMuxStatus].command == (0x01 << 8 | kMsgClass));
static_assert(std::ranges::all_of(kOperations, [](const M3Operation &op) {
    return op.req_len <= kLongRequest && op.resp_len <= kLongestResponse && op.results <= (op.resp_len - kResultsAt) / 2;
}));

// Sends one operation's request (a 6-byte one carries `param`) and hands back its result words;
// they stay untouched unless the core answered with code 0.
int32_t run_operation(OperationIndex index, uint16_t *results, uint16_t param = 0)
{
    const M3Operation &op = kOperations[index];
    if (op.results > 0 && results == nullptr) return kErrS;
    std::array<uint8_t, kLongRequest> req = {};
    std::array<uint8_t, kLongestResponse> resp = {};
    put_le16(req.data(), op.command);
    if (op.req_len == kLongRequest) put_le16(req.data() + kParamAt, param);
    uint16_t len = op.resp_len;
    const int32_t ret = dal_send_recv_msg_with_m3(req.data(), op.req_len, resp.data(), &len);
    if (ret != kOkS) {
        BSP_LOG(kLogError, op.send_failed, ret);
        return ret;
    }
    const uint16_t code = le16(resp.data() + kCodeAt);
    if (code != 0) {
        BSP_LOG(kLogError, op.refused, code);
        return kErrS;
    }
    for (uint8_t i = 0; i < op.results; ++i) results[i] = le16(resp.data() + kResultsAt + 2 * i);
    return kOkS;
}

}  // namespace

extern "C" {

int32_t dal_get_bmc_secure_boot_info(uint16_t *out) { return run_operation(kSecureBoot, out); }
int32_t dal_get_bmc_last_upgrde_info(uint16_t *info) { return run_operation(kLastUpgrade, info); }
int32_t dal_set_bmc_upgrade_flag(uint8_t flag) { return run_operation(kUpgradeFlag, nullptr, flag); }
// The core takes no customer data here: the request only says that it was set, parameter 0.
int32_t dal_set_customer_info(void) { return run_operation(kCustomerInfo, nullptr); }
int32_t dal_get_bios_mux_status(uint16_t *status) { return run_operation(kMuxStatus, status); }
int32_t dal_set_bios_mux_ctrl(uint8_t ctrl) { return run_operation(kMuxCtrl, nullptr, ctrl); }
int32_t dal_get_bios_verify_result(uint16_t *result) { return run_operation(kVerifyResult, result); }
int32_t dal_set_bios_verify_ctrl(uint16_t ctrl) { return run_operation(kVerifyCtrl, nullptr, ctrl); }

}  // extern "C"
