// The SoC's secure core as the BMC reaches it through sec_msg_sendrecv. It reads each request
// frame as the core does: class byte 0x02, a command it knows, that command's request length,
// the CRC-16 (initial 0xFFFF, low byte first). A good request is carried out and answered
//   0x82  command  00 00  code(0) lo hi  result words lo hi ...  CRC lo hi
// in the command's response length; a malformed one is answered with a 6-byte frame carrying
// one of the kM3* codes and recorded as malformed. The answer never exceeds the receive
// capacity r_len (it is cut there), and r_len comes back as the count written.
//   command  request  response  does
//   0x08     4        12        secure-boot words 0, 1, 2
//   0x0C     4        8         the last upgrade's information word
//   0x07     6        6         sets the upgrade flag to the parameter
//   0x0D     6        6         notes that the customer information is set
//   0x01     4        8         the BIOS mux status
//   0x02     6        8         sets the BIOS mux to the parameter; answers the new status
//   0x17     4        8         the BIOS verification result
//   0x16     6        6         sets the BIOS verification control word to the parameter
// [secure_core] secure_boot = W0, W1, W2; upgrade_info, upgrade_flag, bios_mux, verify_ctrl,
//               verify_result = a 16-bit word; customer_info = set|unset. All 0 when not said.
#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "bspsim/secure_core.hpp"
#include "core/section.h"
#include "models/secure_core.h"

namespace bspsim::detail::secure_core {
namespace {

constexpr uint8_t kClass = 0x02;
constexpr uint8_t kAnswerBit = 0x80;
constexpr uint32_t kHeader = 4;
constexpr uint32_t kCrcLen = 2;
constexpr uint32_t kMaxFrame = 4096;  // the core's message buffer
constexpr uint32_t kKept = 16;        // bytes of the last request kept for tests
constexpr uint32_t kMaxExtra = 64;    // longest lengthening of an answer
constexpr uint32_t kMaxAnswer = 12 + kMaxExtra + kCrcLen;
constexpr size_t kFaultKinds = static_cast<size_t>(M3Fault::Count);

struct Command {
    uint8_t code;
    uint8_t req_len;
    uint8_t resp_len;
};

constexpr std::array<Command, 8> kCommands = {{
    {0x08, 4, 12},
    {0x0C, 4, 8},
    {0x07, 6, 6},
    {0x0D, 6, 6},
    {0x01, 4, 8},
    {0x02, 6, 8},
    {0x17, 4, 8},
    {0x16, 6, 6},
}};

struct Armed {
    uint32_t requests;
    uint32_t arg;
};

struct State {
    uint16_t secure_boot[3];
    uint16_t upgrade_info, upgrade_flag, customer_info_set, bios_mux, verify_ctrl, verify_result;
    uint32_t requests, refused;
    Armed faults[kFaultKinds];
    uint32_t last_len;
    uint8_t last[kKept];
};

State &st() { return region<State>(ModelId::secure_core); }

uint16_t le16(const uint8_t *p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
void put16(uint8_t *p, uint16_t v)
{
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}

// Uses up one answer of an armed fault; true (and its argument) while it lasts.
bool take(M3Fault kind, uint32_t *arg = nullptr)
{
    Armed &f = st().faults[static_cast<size_t>(kind)];
    if (f.requests == 0) return false;
    --f.requests;
    if (arg) *arg = f.arg;
    return true;
}

// 0 for a request the core takes, else the code it refuses it with.
uint16_t verdict(const uint8_t *frame, uint32_t len, const Command **found)
{
    if (frame[0] != kClass) return kM3BadClass;
    const auto *c = std::find_if(kCommands.begin(), kCommands.end(), [&](const Command &k) { return k.code == frame[1]; });
    if (c == kCommands.end()) return kM3UnknownCommand;
    if (len != c->req_len + kCrcLen) return kM3BadLength;
    if (m3_crc16(frame, c->req_len) != le16(frame + c->req_len)) return kM3BadCrc;
    *found = c;
    return 0;
}

// Carries a good request out; its result words go to `words`.
void perform(uint8_t command, uint16_t param, uint8_t *words)
{
    State &s = st();
    switch (command) {
    case 0x08:
        for (int i = 0; i < 3; ++i) put16(words + 2 * i, s.secure_boot[i]);
        break;
    case 0x0C: put16(words, s.upgrade_info); break;
    case 0x07: s.upgrade_flag = param; break;
    case 0x0D: s.customer_info_set = 1; break;
    case 0x02: s.bios_mux = param; [[fallthrough]];
    case 0x01: put16(words, s.bios_mux); break;
    case 0x17: put16(words, s.verify_result); break;
    case 0x16: s.verify_ctrl = param; break;
    }
}

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        const std::string k = key;
        uint16_t *word = k == "upgrade_info" ? &st().upgrade_info : k == "upgrade_flag" ? &st().upgrade_flag
                         : k == "bios_mux" ? &st().bios_mux : k == "verify_ctrl" ? &st().verify_ctrl
                         : k == "verify_result" ? &st().verify_result : nullptr;
        if (word) {
            *word = static_cast<uint16_t>(s.number(value, 0x10000, key));
        } else if (k == "secure_boot") {
            const std::vector<uint32_t> w = s.list(value);
            if (w.size() != 3) s.fail("secure_boot takes three words");
            for (size_t i = 0; i < 3; ++i) {
                if (w[i] > 0xFFFF) s.fail("secure_boot words are 16 bits");
                st().secure_boot[i] = static_cast<uint16_t>(w[i]);
            }
        } else if (k == "customer_info") {
            if (std::strcmp(value, "set") != 0 && std::strcmp(value, "unset") != 0) s.fail("customer_info is set or unset");
            st().customer_info_set = std::strcmp(value, "set") == 0;
        } else {
            s.fail("unknown key " + k);
        }
    });
}

}  // namespace

uint32_t command_word(const SecMsgCmd *cmd)
{
    return cmd && cmd->s_buff && cmd->s_len >= 2 ? le16(cmd->s_buff) : kAnyKey;
}

int32_t sendrecv(Call &&call, SecMsgCmd *cmd)
{
    call.rec = {.a = command_word(cmd) == kAnyKey ? 0 : command_word(cmd), .b = cmd ? cmd->s_len : 0};
    const bool valid = cmd && cmd->s_buff && cmd->r_buff && cmd->s_len >= kHeader + kCrcLen && cmd->s_len <= kMaxFrame;
    return call.run(valid, [&] {
        State &s = st();
        s.last_len = cmd->s_len;
        std::memcpy(s.last, cmd->s_buff, std::min(cmd->s_len, kKept));
        ++s.requests;

        std::array<uint8_t, kMaxAnswer> out = {};
        out[0] = static_cast<uint8_t>(cmd->s_buff[0] + kAnswerBit);
        out[1] = cmd->s_buff[1];
        const Command *c = nullptr;
        uint16_t code = verdict(cmd->s_buff, cmd->s_len, &c);
        uint32_t len = kHeader + kCrcLen;
        uint32_t arg = 0;
        if (code != 0) {
            ++s.refused;
            call.rec.flags |= kFlagMalformed;
        } else {
            len = c->resp_len;
            if (take(M3Fault::Code, &arg)) {
                code = static_cast<uint16_t>(arg);
            } else {
                perform(c->code, le16(cmd->s_buff + kHeader), out.data() + kHeader + kCrcLen);
            }
        }
        put16(out.data() + kHeader, code);
        if (take(M3Fault::Short, &arg)) len -= std::min(arg, len);
        if (take(M3Fault::Long, &arg)) len += arg;
        if (take(M3Fault::Type)) out[0] = cmd->s_buff[0];
        uint16_t crc = m3_crc16(out.data(), len);
        if (take(M3Fault::Crc)) crc ^= 0xFFFF;
        put16(out.data() + len, crc);
        const uint32_t sent = std::min(len + kCrcLen, cmd->r_len);
        std::memcpy(cmd->r_buff, out.data(), sent);
        cmd->r_len = sent;
        call.rec.value = code;
        call.rec.len = sent;
        return 0;
    });
}

}  // namespace bspsim::detail::secure_core

namespace bspsim::detail {
const Model model_secure_core = {.name = "secure_core", .scope = Scope::Board, .size = sizeof(secure_core::State),
                                 .sections = "secure_core", .load = secure_core::load};
}

namespace bspsim {

using namespace detail;
using detail::secure_core::st;

uint16_t m3_crc16(const uint8_t *data, size_t len, uint16_t init)
{
    uint16_t crc = init;
    for (size_t i = 0; i < len; ++i) {
        crc ^= static_cast<uint16_t>(data[i] << 8);
        for (int bit = 0; bit < 8; ++bit) crc = static_cast<uint16_t>(crc & 0x8000 ? (crc << 1) ^ 0x1021 : crc << 1);
    }
    return crc;
}

const char *m3_fault_name(M3Fault kind)
{
    static constexpr const char *kNames[] = {"code", "crc", "type", "short", "long"};
    check_range("secure-core fault", static_cast<uint32_t>(kind), std::size(kNames));
    return kNames[static_cast<size_t>(kind)];
}

SecureCoreState SecureCore::state() const
{
    Lock lock;
    const auto &s = st();
    return {{s.secure_boot[0], s.secure_boot[1], s.secure_boot[2]}, s.upgrade_info, s.upgrade_flag,
            s.customer_info_set != 0, s.bios_mux, s.verify_ctrl, s.verify_result, s.requests, s.refused};
}

SecureCore &SecureCore::set_secure_boot(uint16_t w0, uint16_t w1, uint16_t w2)
{
    Lock lock;
    st().secure_boot[0] = w0;
    st().secure_boot[1] = w1;
    st().secure_boot[2] = w2;
    return *this;
}

#define BSPSIM_M3_SETTER(fn, field)        \
    SecureCore &SecureCore::fn(uint16_t v) \
    {                                      \
        Lock lock;                         \
        st().field = v;                    \
        return *this;                      \
    }
BSPSIM_M3_SETTER(set_upgrade_info, upgrade_info)
BSPSIM_M3_SETTER(set_bios_mux, bios_mux)
BSPSIM_M3_SETTER(set_verify_result, verify_result)
#undef BSPSIM_M3_SETTER

SecureCore &SecureCore::fault(M3Fault kind, uint32_t requests, uint32_t arg)
{
    check_range("secure-core fault", static_cast<uint32_t>(kind), static_cast<uint32_t>(M3Fault::Count));
    if (kind == M3Fault::Code) check_range("response code", arg - 1, 0xFFFF);
    if (kind == M3Fault::Short || kind == M3Fault::Long) check_range("byte count", arg - 1, secure_core::kMaxExtra);
    Lock lock;
    st().faults[static_cast<size_t>(kind)] = {requests, arg};
    return *this;
}

SecureCore &SecureCore::fail_calls(uint32_t requests, int32_t code)
{
    Lock lock;
    for (auto &f : core().faults) {
        if (f.op == 0) {
            f = FaultRec{static_cast<uint32_t>(Op::SecMsg), kAnyKey, 0, requests, code};
            return *this;
        }
    }
    throw Error("too many faults armed");
}

SecureCore &SecureCore::clear_faults()
{
    Lock lock;
    std::fill(std::begin(st().faults), std::end(st().faults), secure_core::Armed{});
    return *this;
}

std::vector<uint8_t> SecureCore::last_request() const
{
    Lock lock;
    return {st().last, st().last + std::min(st().last_len, secure_core::kKept)};
}

uint32_t SecureCore::last_request_len() const
{
    Lock lock;
    return st().last_len;
}

}  // namespace bspsim
