// Secure-core messages: the frames sent, every check of an answer, the length bounds, and the
// core's state across calls. The simulated core speaks the protocol; the expected request
// bytes come from the table below and the simulator's own bitwise CRC-16, not the library's.
#include <malloc.h>

#include <functional>
#include <string>
#include <vector>

#include "bspsim/secure_core.hpp"
#include "platform/sec.h"
#include "test_helpers.h"

namespace {

using bspsim::M3Fault, bspsim::Op;
using M3 = bsptest::SimTest;
auto core() { return bspsim::secure_core(); }

std::string bytes(const std::vector<uint8_t> &v, const char *sep = " ")
{
    std::string s;
    char b[4];
    for (uint8_t x : v) s += (s.empty() ? "" : sep) + std::string(b, std::snprintf(b, sizeof b, "%02x", x));
    return s;
}
// `f` followed by its CRC-16, low byte first.
std::vector<uint8_t> with_crc(std::vector<uint8_t> f)
{
    const uint16_t crc = bspsim::m3_crc16(f.data(), f.size());
    f.insert(f.end(), {uint8_t(crc), uint8_t(crc >> 8)});
    return f;
}

struct Operation {
    const char *name;
    uint8_t command;
    int param, results;  // param -1: a 4-byte request
    std::function<int32_t(uint16_t *)> call;
    const char *send_text = "command sendrecv failed", *code_text = "command respond is not ok";
};
const Operation kOps[] = {
    {"secure_boot", 0x08, -1, 3, dal_get_bmc_secure_boot_info, "ommand sendrecv failed"},
    {"last_upgrade", 0x0C, -1, 1, dal_get_bmc_last_upgrde_info},
    {"upgrade_flag", 0x07, 0xA5, 0, [](uint16_t *) { return dal_set_bmc_upgrade_flag(0xA5); }},
    {"customer_info", 0x0D, 0, 0, [](uint16_t *) { return dal_set_customer_info(); }},
    {"mux_status", 0x01, -1, 1, dal_get_bios_mux_status},
    {"mux_ctrl", 0x02, 0x5A, 0, [](uint16_t *) { return dal_set_bios_mux_ctrl(0x5A); }},
    {"verify_result", 0x17, -1, 1, dal_get_bios_verify_result},
    {"verify_ctrl", 0x16, 0x1234, 0, [](uint16_t *) { return dal_set_bios_verify_ctrl(0x1234); },
     "set bios verify command sendrecv failed", " verify bios failed"},
};

// Runs every operation, `before` ahead of each; renders "name:STATUS results..." (results start
// at 0xEEEE, so a result left untouched shows) and collects the requests the core received.
std::string run_all(std::string *requests = nullptr, std::function<void()> before = [] {})
{
    std::string out;
    for (const Operation &op : kOps) {
        uint16_t r[3] = {0xEEEE, 0xEEEE, 0xEEEE};
        before();
        out += std::string(" ") + op.name + ":" + std::to_string(op.call(r));
        for (int i = 0; i < op.results; ++i) out += " " + bsptest::hex(r[i]);
        if (requests) *requests += " | " + bytes(core().last_request());
    }
    return out;
}

// Log lines at levels 0 and 1 (the receive dumps at level 2 left out), joined with " | ".
std::string errors(const bspsim::Board &b)
{
    std::string out;
    for (const auto &l : b.logs()) out += l.level < 2 ? (out.empty() ? "" : " | ") + std::to_string(l.level) + ":" + l.text : "";
    return out;
}
const std::string kCheckFailed = " | 0:Check send or recv msg invalid, ret=-1. | 0:command sendrecv failed(ret = 0xffffffff).";

TEST_F(M3, EveryOperationFramesItsRequestAndTheCoreKeepsItsState)
{
    ASSERT_EQ(bspsim::m3_crc16(reinterpret_cast<const uint8_t *>("123456789"), 9), 0x29B1);
    core().set_secure_boot(0x1111, 0x2222, 0x3333).set_upgrade_info(0x4455).set_bios_mux(7).set_verify_result(0x66);
    std::string requests, expected;
    for (const Operation &op : kOps)
        expected += " | " + bytes(with_crc(op.param < 0 ? std::vector<uint8_t>{2, op.command, 0, 0}
                                                        : std::vector<uint8_t>{2, op.command, 0, 0, uint8_t(op.param), uint8_t(op.param >> 8)}));
    EXPECT_EQ(run_all(&requests), " secure_boot:0 0x1111 0x2222 0x3333 last_upgrade:0 0x4455 upgrade_flag:0 customer_info:0"
                                  " mux_status:0 0x7 mux_ctrl:0 verify_result:0 0x66 verify_ctrl:0");
    EXPECT_EQ(requests, expected);
    EXPECT_EQ(requests.substr(requests.rfind("| ") + 2), "02 16 00 00 34 12 ad b7");
    EXPECT_EQ(tr(), "m3 0802=0 m3 0c02=0 m3 0702=0 m3 0d02=0 m3 0102=0 m3 0202=0 m3 1702=0 m3 1602=0");
    const bspsim::SecureCoreState s = core().state();
    EXPECT_EQ(bsptest::calls({s.upgrade_flag, s.customer_info_set, s.bios_mux, s.verify_ctrl, s.refused}), "165 1 90 4660 ok");
    // The mux set above is what the core reports now; the answer is dumped at level 2.
    forget();
    uint16_t mux = 0;
    EXPECT_EQ(bsptest::calls({uint32_t(dal_get_bios_mux_status(&mux)), mux}), "ok 90");
    EXPECT_EQ(log_line(), "2:print 10 byte data: | 2:" + bytes(with_crc({0x82, 0x01, 0, 0, 0, 0, 0x5A, 0}), "-") + "-");
}

TEST_F(M3, EveryOperationFailsWithItsOwnTextsAndLeavesItsResults)
{
    const std::string calls = " secure_boot:-1 0xEEEE 0xEEEE 0xEEEE last_upgrade:-1 0xEEEE upgrade_flag:-1 customer_info:-1"
                              " mux_status:-1 0xEEEE mux_ctrl:-1 verify_result:-1 0xEEEE verify_ctrl:-1";
    std::string refused, send_failed;
    for (const Operation &op : kOps) {
        refused += " | 0:" + std::string(op.code_text) + "(resp_code = 0x1).";
        send_failed += " | 0:sec_msg_sendrecv fail(iret = 0Xffffffff). | 0:Check send or recv msg invalid, ret=-1. | 0:" +
                       std::string(op.send_text) + "(ret = 0xffffffff).";
    }
    EXPECT_EQ(run_all(nullptr, [] { core().fault(M3Fault::Code, 1, 1); }), calls);
    EXPECT_EQ(" | " + errors(sim()), refused);
    const bspsim::SecureCoreState s = core().state();
    EXPECT_EQ(bsptest::calls({s.upgrade_flag, s.customer_info_set, s.bios_mux, s.verify_ctrl}), "ok ok ok ok");
    forget();
    EXPECT_EQ(run_all(nullptr, [] { core().fail_calls(1); }), calls);
    EXPECT_EQ(" | " + errors(sim()), send_failed);
}

TEST_F(M3, EachCheckOfAnAnswer)
{
    core().set_bios_mux(7);
    const uint16_t crc = bspsim::m3_crc16(std::vector<uint8_t>{0x82, 0x01, 0, 0, 0, 0, 7, 0}.data(), 8);
    // A 9-byte answer cut at the 10-byte capacity: its last byte is lost and its CRC is wrong.
    const std::vector<uint8_t> cut = with_crc({0x82, 0x01, 0, 0, 0, 0, 7, 0, 0});
    const struct { M3Fault kind; uint32_t arg; std::string out, log; } cases[] = {
        {M3Fault::Short, 5, "err 238", "0:respond len is invalid(cmd.r_len=0X5,0X8)." + kCheckFailed},
        {M3Fault::Short, 4, "ok ok", ""},  // header and CRC only: taken, the word reads 0
        {M3Fault::Type, 0, "err 238", "0:sec_msg_sendrecv fail(r_buff[0] = 0X2)." + kCheckFailed},
        {M3Fault::Crc, 0, "err 238", "0:CRC error(" + std::to_string(crc) + " != " + std::to_string(crc ^ 0xFFFF) + ")." + kCheckFailed},
        {M3Fault::Long, 1, "err 238", "0:CRC error(" + std::to_string(crc) + " != " + std::to_string(cut[9] << 8) + ")." + kCheckFailed},
    };
    for (const auto &c : cases) {
        forget();
        core().fault(c.kind, 1, c.arg);
        uint16_t mux = 0xEEEE;
        EXPECT_EQ(bsptest::calls({uint32_t(dal_get_bios_mux_status(&mux)), uint32_t(mux & 0xFF)}), c.out) << m3_fault_name(c.kind);
        EXPECT_EQ(errors(sim()), c.log) << m3_fault_name(c.kind);
    }
    // With a capacity of 11 the long answer arrives whole: expected + 3 bytes is refused, and
    // expected + 2 taken. A send buffer without room for the request or its CRC fails the copy.
    forget();
    uint8_t req[4] = {0x02, 0x01, 0, 0}, s[6], r[11];
    SecMsgCmd cmd;
    auto check = [&](uint32_t s_len, bool r_buff = true) {
        cmd = {s, s_len, r_buff ? r : nullptr, sizeof r};
        return bsptest::joined({std::to_string(dal_check_send_recv_msg(&cmd, req, 4, 8)), std::to_string(cmd.r_len)}, "/");
    };
    core().fault(M3Fault::Long, 1, 1);
    EXPECT_EQ(bsptest::joined({check(6), check(6), check(5), check(3), check(6, false)}), "-1/11, 0/10, -1/11, -1/11, -1/11");
    EXPECT_EQ(dal_check_send_recv_msg(nullptr, req, 4, 8) + dal_check_send_recv_msg(&cmd, nullptr, 4, 8), -2);
    EXPECT_EQ(errors(sim()), "0:respond len is invalid(cmd.r_len=0Xb,0X8). | 0:memcpy_s  crc fail(iret = 0X22). | "
                             "0:memcpy_s  s_buff fail(iret = 0X22). | " + bsptest::times(3, "0:In parameters point is null.", " | "));
    EXPECT_EQ(tr(), "m3 0102=0 m3 0102=0");
}

TEST_F(M3, LengthBoundsNullPointersAndTheCopy)
{
    std::vector<uint8_t> req(4094), resp(4094, 0xEE);
    req[0] = 0x02, req[1] = 0x01;
    core().set_bios_mux(7);
    auto send = [&](uint16_t req_len, uint16_t want) {
        uint16_t len = want;
        return bsptest::joined({std::to_string(dal_send_recv_msg_with_m3(req.data(), req_len, resp.data(), &len)), std::to_string(len)}, "/");
    };
    EXPECT_EQ(bsptest::joined({send(3, 8), send(4095, 8), send(4, 3), send(4, 4095)}), "-1/8, -1/8, -1/3, -1/4095");
    uint16_t len = 8;  // null pointers: each refused with -1 before anything is sent
    EXPECT_EQ(dal_send_recv_msg_with_m3(nullptr, 4, resp.data(), &len) + dal_send_recv_msg_with_m3(req.data(), 4, nullptr, &len) +
                  dal_send_recv_msg_with_m3(req.data(), 4, resp.data(), nullptr) + dal_get_bmc_secure_boot_info(nullptr) +
                  dal_get_bmc_last_upgrde_info(nullptr) + dal_get_bios_mux_status(nullptr) + dal_get_bios_verify_result(nullptr), -7);
    EXPECT_EQ(errors(sim()), "0:req_msg_len(3) is out(4, 4094). | 0:req_msg_len(4095) is out(4, 4094). | "
                             "0:p_resp_msg_len(3) is out(4, 4094). | 0:p_resp_msg_len(4095) is out(4, 4094). | " +
                                 bsptest::times(3, "0:In parameters point is null.", " | "));
    // The answer is copied without its CRC; the core refuses a 4094-byte request with a 6-byte answer.
    EXPECT_EQ(bsptest::joined({send(4, 8), bytes({resp.begin(), resp.begin() + 9}), send(4094, 4094), bytes({resp.begin(), resp.begin() + 7})}),
              "0/8, 82 01 00 00 00 00 07 00 ee, 0/6, 82 01 00 00 03 e0 07");
    EXPECT_EQ(tr(), "m3 0102=0 m3 0102=e003!bad");
    // A failed copy of the answer passes the copy routine's code up.
    forget();
    sim().fail(Op::MemcpyS, 1, 0x22, bspsim::kAnyKey, 2);
    uint16_t mux = 0xEEEE;
    EXPECT_EQ(bsptest::calls({uint32_t(dal_get_bios_mux_status(&mux)), mux}), "34 61166");
    EXPECT_EQ(errors(sim()), "0:memcpy_s resp_msg fail(iret = 0X22). | 0:command sendrecv failed(ret = 0x22).");
}

TEST_F(M3, TheCoreRefusesMalformedRequests)
{
    auto send = [](std::vector<uint8_t> f, uint32_t s_len = 0) {
        uint8_t r[16] = {};
        SecMsgCmd cmd = {f.data(), s_len ? s_len : uint32_t(f.size()), r, sizeof r};
        return bsptest::joined({std::to_string(sec_msg_sendrecv(&cmd)), std::to_string(cmd.r_len), bytes({r, r + 6})}, "/");
    };
    EXPECT_EQ(bsptest::joined({send({0x02, 0x01, 0, 0, 0, 0}), send(with_crc({0x05, 0x01, 0, 0})), send(with_crc({0x02, 0x99, 0, 0})),
                               send(with_crc({0x02, 0x01, 0, 0, 0, 0})), send({0x02, 0x01, 0, 0, 0}, 5)}),
              "0/8/82 01 00 00 04 e0, 0/8/85 01 00 00 01 e0, 0/8/82 99 00 00 02 e0, 0/8/82 01 00 00 03 e0, -1/16/00 00 00 00 00 00");
    EXPECT_EQ(tr(), "m3 0102=e004!bad m3 0105=e001!bad m3 9902=e002!bad m3 0102=e003!bad m3 0102=0!bad");
    EXPECT_EQ(core().state().refused, 4u);
}

// Every buffer is freed on every path: the heap in use is the same after many exchanges.
TEST_F(M3, NothingIsLeftAllocated)
{
    auto rounds = [] {
        for (int i = 0; i < 20; ++i) core().fault(M3Fault::Crc, 1), run_all();
    };
    rounds();
    const size_t in_use = mallinfo2().uordblks;
    rounds();
    EXPECT_EQ(mallinfo2().uordblks, in_use);
}

}  // namespace
