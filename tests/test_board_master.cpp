// Mastership: grabbing and giving up mastership behind the request's write protect, the own
// role with its debounce and its fallback from the other boards' role fields, and the watch for
// an enclosure with no master or more than one.
#include <array>

#include "bmc_bsp.h"
#include "bspsim/mastership.hpp"
#include "bspsim/slots.hpp"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bsptest::CallCase;
using bsptest::res;
using B = bspsim::Board;
using Regs = std::vector<std::pair<uint32_t, uint8_t>>;

// A first reading and three more, 10 ms apart, of one register.
std::string settled(const std::string &rd) { return rd + " " + bsptest::times(3, rd + " delay 10"); }
const std::string kOneMaster = settled("rd e4=09");

// A role query's status and the role it wrote (238: untouched).
template <typename T, uint32_t (*Fn)(T *)>
std::string role_of(B &)
{
    T r = 0xEE;
    const uint32_t st = Fn(&r);
    return res(st) + " " + std::to_string(r);
}
const auto role = role_of<uint32_t, BSP_GetBoardMasterOrSlaveState>;
const auto redressed = role_of<uint8_t, BSP_GetRedressedMosState>;

// Semaphore 20 as each failure line found it (1: given back before the line was written).
B *g_board = nullptr;
std::string g_sem_at_log;
void note_semaphore(const bspsim::LogLine &l)
{
    if (l.text.starts_with("Fail to")) g_sem_at_log += std::to_string(g_board->sem_value(20));
}
// A request's status, the masters and protect bits it left, the semaphore at its failure line.
template <uint32_t (*Fn)()>
std::string request(B &b)
{
    g_board = &b, bspsim::set_log_observer(note_semaphore);
    const uint32_t st = Fn();
    bspsim::set_log_observer(nullptr);
    return res(st) + " masters " + std::to_string(bspsim::master_slots()) + " wp " + bsptest::hex(b.reg(0xE2) & 0x0C) +
           (g_sem_at_log.empty() ? "" : " sem " + g_sem_at_log) + " held " + std::to_string(1 - b.sem_value(20));
}
const auto kMaster0 = [](B &) { bspsim::set_master(0); };
const std::string kGrab = "P20 wr e2&08=0 wr e1&10=1 delay 500 wr e1&10=0 wr e2&08=1 V20";
const std::string kAbandon = "P20 wr e2&04=0 wr e1&08=1 delay 500 wr e1&08=0 wr e2&04=1 V20";

using MasterCall = bsptest::CallTest;
TEST_P(MasterCall, ShowsWhatItDid) { run(); }

const CallCase kCases[] = {
    // Only the low nibble of the own role code counts; a reading unlike the last is read again.
    {.name = "MasterCode", .regs = {{0xDF, 0x59}, {0xE4, 0x09}}, .call = role, .out = "ok 1",
     .trace = settled("rd df=59") + " " + kOneMaster},
    {.name = "SlaveCode", .regs = {{0xDF, 0x36}, {0xE4, 0x09}}, .call = role, .out = "ok 0",
     .trace = settled("rd df=36") + " " + kOneMaster},
    {.name = "UnchangedRoleIsNotReadAgain", .regs = {{0xDF, 0x09}, {0xE4, 0x09}}, .call = [](B &b) { return role(b) + " " + role(b); },
     .out = "ok 1 ok 1", .trace = settled("rd df=09") + " " + kOneMaster + " rd df=09 rd e4=09"},
    {.name = "ChangeSettlesOnTheLastReading", .regs = {{0xE4, 0x09}},
     .setup = [](B &b) { b.script(bspsim::Source::Register, 0xDF, {0x09, 0x06, 0x09, 0x06}); }, .call = role, .out = "ok 0",
     .trace = "rd df=09 rd df=06 delay 10 rd df=09 delay 10 rd df=06 delay 10 " + kOneMaster},
    {.name = "NullRole", .call = BSP_CALL(BSP_GetBoardMasterOrSlaveState(nullptr)), .out = "err", .log = "0:Input para err"},
    {.name = "SmmBoardIsMaster", .profile = "smm", .regs = {{0xDF, 0x06}}, .call = role, .out = "ok 1"},
    {.name = "CodeTranslation", .call = [](B &) {
         uint8_t *g = bsptest::g_out;
         return bsptest::calls({BSP_CpldDataChange(g, 9), BSP_CpldDataChange(g + 1, 6), BSP_CpldDataChange(g + 2, 0x0F),
                                BSP_CpldDataChange(g + 2, 0x19), BSP_CpldDataChange(g + 2, 0), BSP_CpldDataChange(nullptr, 9)}, 3);
     }, .out = "ok ok err err err err 01 00 ee"},
    // The whole pulse, and what the arbitration made of it; a request bit held high never ends it.
    {.name = "GrabWhenNoneIsMaster", .call = request<BSP_GrabBoardMaster>, .out = "ok masters 1 wp 0xC held 0", .trace = kGrab},
    {.name = "GrabWhenAnotherIsMaster", .setup = [](B &) { bspsim::set_master(1); }, .call = request<BSP_GrabBoardMaster>,
     .out = "ok masters 2 wp 0xC held 0", .trace = kGrab},
    {.name = "TwoClaimsFault", .setup = [](B &) { bspsim::set_master(1), bspsim::allow_two_claims(true); },
     .call = request<BSP_GrabBoardMaster>, .out = "ok masters 3 wp 0xC held 0", .trace = kGrab},
    {.name = "HeldGrabRequestMovesNothing", .setup = [](B &) { bspsim::hold_request(0, true, true); },
     .call = request<BSP_GrabBoardMaster>, .out = "ok masters 0 wp 0xC held 0", .trace = kGrab},
    {.name = "Abandon", .setup = kMaster0, .call = request<BSP_AbandonBoardMaster>, .out = "ok masters 0 wp 0xC held 0", .trace = kAbandon},
    {.name = "GrabSemaphoreRefused", .faults = {{Op::SemP, 1, -1, 20}}, .call = request<BSP_GrabBoardMaster>,
     .out = "err masters 0 wp 0xC held 0", .trace = "P20!-1", .log = "0:get BMC_MUTEX_FAN_SYNC_LEVEL fail."},
    // The watch: one master ends an episode silently; a failed (last) read is logged.
    {.name = "WatchOneMaster", .regs = {{0xE4, 0x06}}, .call = BSP_CALLS((BSP_DetectWhetherHasMoreThanOneMos(), 0u)),
     .trace = settled("rd e4=06")},
    {.name = "WatchNoMaster", .regs = {{0xE4, 0x80}}, .call = BSP_CALLS((BSP_DetectWhetherHasMoreThanOneMos(), 0u)), .trace = settled("rd e4=80"),
     .log = "0:Warning: CPLD appear more than one master or slave!(0)(0)(0)(2)"},
    {.name = "WatchReadFails", .faults = {{Op::LocalBusRead, 1, -1, 0xE4}}, .call = BSP_CALLS((BSP_DetectWhetherHasMoreThanOneMos(), 0u)),
     .trace = "rd e4=00!-1", .log = "0:read cpld byte error. | 0:Read cpld (0xe4) failed(-1)"},
    {.name = "WatchLastReadFails", .regs = {{0xE4, 0x05}}, .faults = {{.op = Op::LocalBusRead, .skip = 3}},
     .call = BSP_CALLS((BSP_DetectWhetherHasMoreThanOneMos(), 0u)),
     .trace = "rd e4=05 rd e4=05 delay 10 rd e4=05 delay 10 rd e4=00!-1 delay 10",
     .log = "0:read cpld byte error. | 0:Read cpld (0xe4) failed(-1)"},
};
BSP_CASES(Master, MasterCall, kCases);

// Grab and abandon failing at each write in turn: the sequence stops there, the semaphore is
// given back before the failure is logged, and from the raise on the protect is left open.
struct Request {
    const char *name;
    std::string (*call)(B &);
    std::array<const char *, 2> regs;  // protect, request
    uint8_t wp;
    const char *what;
};
const Request kRequests[] = {{"Grab", request<BSP_GrabBoardMaster>, {"e2&08", "e1&10"}, 0x08, "grab"},
                             {"Abandon", request<BSP_AbandonBoardMaster>, {"e2&04", "e1&08"}, 0x04, "abandon"}};
using RequestFails = bsptest::SimTestWithParam<std::tuple<Request, uint32_t>>;
TEST_P(RequestFails, AtEachWrite)
{
    const auto &[req, step] = GetParam();
    known_board();
    sim().fail(Op::LocalBusWrite, 1, -1, bspsim::kAnyKey, step);
    const std::array<std::pair<const char *, int>, 4> writes = {{{req.regs[0], 0}, {req.regs[1], 1}, {req.regs[1], 0}, {req.regs[0], 1}}};
    const std::array<const char *, 4> says = {"close write protect of ", "", "recover value after ", "open write protect of "};
    std::string trace = "P20";
    for (uint32_t i = 0; i <= step; ++i) trace += std::string(" wr ") + writes[i].first + "=" + std::to_string(writes[i].second) + (i == 1 && step > 1 ? " delay 500" : "");
    const bool granted = step == 3 && req.wp == 0x08;
    EXPECT_EQ(req.call(sim()), std::string("err masters ") + (granted ? "1" : "0") + " wp " + bsptest::hex(step ? 0x0C & ~req.wp : 0x0C) + " sem 1 held 0");
    EXPECT_EQ(tr({Op::LocalBusWrite, Op::SemP, Op::SemV, Op::Delay}), trace + "!-1 V20");
    EXPECT_EQ(log_line(), "0:write add :" + std::string(writes[step].first, 2) + "  data: " + std::to_string(writes[step].second) +
                              " cpld error. | 0:Fail to " + says[step] + req.what + " master error[-1].");
}
INSTANTIATE_TEST_SUITE_P(Master, RequestFails, ::testing::Combine(::testing::ValuesIn(kRequests), ::testing::Range(0u, 4u)),
                         [](const auto &i) { return std::string(std::get<0>(i.param).name) + std::to_string(std::get<1>(i.param)); });

// Two masters log once, then again on the 129th observation in a row; one master in between
// starts the count again. Only the first observation reads again: the value repeats.
using MasterWatch = bsptest::SimTest;
TEST_F(MasterWatch, WarnsOncePerPeriod)
{
    const std::string warn = "0:Warning: CPLD appear more than one master or slave!(1)(1)(0)(0)";
    known_board();
    sim().set_reg(0xE4, 0x05);
    for (int i = 0; i < 128; ++i) BSP_DetectWhetherHasMoreThanOneMos();
    EXPECT_EQ(log_line() + " " + std::to_string(count(Op::LocalBusRead)), warn + " 131");
    BSP_DetectWhetherHasMoreThanOneMos();
    EXPECT_EQ(log_line(), warn + " | " + warn);
    sim().set_reg(0xE4, 0x09), BSP_DetectWhetherHasMoreThanOneMos();
    sim().set_reg(0xE4, 0x05), forget();
    BSP_DetectWhetherHasMoreThanOneMos(), BSP_DetectWhetherHasMoreThanOneMos();
    EXPECT_EQ(log_line(), warn);
}

// Without its slot the SMM gives nothing up: no mastership semaphore, no request written.
TEST_F(MasterWatch, SmmAbandonWithoutSlot)
{
    known_board();
    bspsim::slots(sim()).set_strap(3).set_code(7).set_wwn(uint64_t{0});
    EXPECT_EQ(res(BSP_SMMAbandonMaster()), "err");
    const std::string log = log_line(), trace = tr({Op::SemP, Op::LocalBusWrite});
    EXPECT_EQ(log.substr(log.rfind(" | ") + 3), "0:Get master ctrl board solt id failed[-1]!");
    EXPECT_EQ(trace.find("P20") + trace.find("wr e"), 2 * std::string::npos) << trace;
}

// The role from the peers' fields, and the SMM's abandon, with the board's slot (0) known.
class MasterBySlot : public bsptest::CallTest {
protected:
    void prepare() override
    {
        uint8_t slot = 0xFF;
        const int32_t st = BSP_GetBoardSlot(&slot);
        ASSERT_EQ(res(st) + " " + std::to_string(slot), "ok 0");
        (void)BSP_Is4U4CBoard(), (void)BSP_Is2U2CBoard();
    }
};
TEST_P(MasterBySlot, ShowsWhatItDid) { run(); }

Regs undecided(uint8_t fields) { return {{0x33, 0x03}, {0xDF, 0x0F}, {0xE4, fields}}; }

const CallCase kBySlot[] = {
    // The peer's field decides: master there makes this board slave, slave there master.
    {.name = "PeerMaster", .regs = undecided(0x04), .call = role, .out = "ok 0", .trace = "rd df=0f rd e4=04 rd 33=03 rd 33=03 " + settled("rd e4=04")},
    {.name = "PeerSlave", .regs = undecided(0x08), .call = role, .out = "ok 1", .trace = "rd df=0f rd e4=08 rd 33=03 rd 33=03 " + settled("rd e4=08"),
     .log = "0:Warning: CPLD appear more than one master or slave!(0)(2)(0)(0)"},
    {.name = "PeerFaultyField", .regs = undecided(0x0C), .call = role, .out = "err 238", .trace = "rd df=0f rd e4=0c rd 33=03 rd 33=03"},
    // Neither an absent peer's field nor the own one counts.
    {.name = "AbsentPeerIgnored", .regs = {{0x33, 0x01}, {0xE4, 0x0F}}, .call = redressed, .out = "ok 1", .trace = "rd e4=0f rd 33=01 rd 33=01"},
    // Four controllers: one other master makes this board slave, two are a fault.
    {.name = "FourOneOtherMaster", .profile = "4u4c", .regs = {{0x33, 0x0F}, {0xE4, 0xA4}}, .call = redressed, .out = "ok 0",
     .trace = "srd e4=a4" + bsptest::times(4, " srd 33=0f", "")},
    {.name = "FourTwoOtherMasters", .profile = "4u4c", .regs = {{0x33, 0x0F}, {0xE4, 0x94}}, .call = redressed, .out = "err 238",
     .trace = "srd e4=94" + bsptest::times(4, " srd 33=0f", "")},
    // The SMM gives mastership up only to a peer that can take it; four controllers: no check.
    {.name = "SmmAbandonWithPeer", .regs = {{0x33, 0x03}}, .setup = kMaster0, .call = request<BSP_SMMAbandonMaster>,
     .out = "ok masters 0 wp 0xC held 0", .trace = "rd 33=03 " + kAbandon},
    {.name = "SmmAbandonPeerAbsent", .regs = {{0x33, 0x01}}, .setup = kMaster0, .call = request<BSP_SMMAbandonMaster>,
     .out = "err masters 1 wp 0xC held 0", .trace = "rd 33=01"},
    {.name = "SmmAbandonFourControllers", .profile = "4u4c", .regs = {{0x33, 0x01}}, .setup = kMaster0,
     .call = request<BSP_SMMAbandonMaster>, .out = "ok masters 0 wp 0xC held 0",
     .trace = "P20 dfl_chip_bytewrite cpld1@e2&04=00 dfl_chip_bytewrite cpld1@e1&08=01 delay 500 "
              "dfl_chip_bytewrite cpld1@e1&08=00 dfl_chip_bytewrite cpld1@e2&04=01 V20"},
};
BSP_CASES(Master, MasterBySlot, kBySlot);

}  // namespace
