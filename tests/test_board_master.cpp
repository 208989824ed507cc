// Mastership: grabbing and giving up mastership behind the request's write protect, the own
// role with its debounce and its fallback from the other boards' role fields, and the watch for
// an enclosure with no master or more than one.
#include <array>

#include "bmc_bsp.h"
#include "bspsim/mastership.hpp"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bsptest::CallCase;
using bsptest::res;
using bsptest::times;
using B = bspsim::Board;

using MasterCall = bsptest::CallTest;
TEST_P(MasterCall, ShowsWhatItDid) { run(); }

// A first reading and three more, 10 ms apart, of one register.
std::string settled(const std::string &rd) { return rd + " " + times(3, rd + " delay 10"); }

std::string role(B &)
{
    uint32_t r = 0xEE;
    const uint32_t st = BSP_GetBoardMasterOrSlaveState(&r);
    return res(st) + " " + std::to_string(r);
}

// What the arbitration made of a request: the masters and whether the protects are closed.
std::string after(B &b, uint32_t st)
{
    return res(st) + " masters " + std::to_string(bspsim::master_slots()) + " wp " + bsptest::hex(b.reg(0xE2) & 0x0C);
}

// Semaphore 20 as every failure log line found it: given back before the line is written.
B *g_board = nullptr;
std::string g_sem_at_log;
void note_semaphore(const bspsim::LogLine &l)
{
    if (l.text.starts_with("Fail to")) g_sem_at_log += std::to_string(g_board->sem_value(20));
}
template <uint32_t (*Fn)()>
std::string request(B &b)
{
    g_board = &b;
    bspsim::set_log_observer(note_semaphore);
    std::string out = after(b, Fn());
    bspsim::set_log_observer(nullptr);
    return out + (g_sem_at_log.empty() ? "" : " sem " + g_sem_at_log) + " held " + std::to_string(1 - b.sem_value(20));
}

const std::string kGrab = "P20 wr e2&08=0 wr e1&10=1 delay 500 wr e1&10=0 wr e2&08=1 V20";
const std::string kAbandon = "P20 wr e2&04=0 wr e1&08=1 delay 500 wr e1&08=0 wr e2&04=1 V20";
const std::string kOneMaster = settled("rd e4=09");
std::string wr_fail(const std::string &what) { return "0:write add :" + what + " cpld error."; }

const CallCase kCases[] = {
    // Only the low nibble of the own role code counts; the first reading is always confirmed.
    {.name = "MasterCode", .regs = {{0xDF, 0x59}, {0xE4, 0x09}}, .call = role, .out = "ok 1",
     .trace = settled("rd df=59") + " " + kOneMaster},
    {.name = "SlaveCode", .regs = {{0xDF, 0x36}, {0xE4, 0x09}}, .call = role, .out = "ok 0",
     .trace = settled("rd df=36") + " " + kOneMaster},
    {.name = "UnchangedRoleIsNotReadAgain", .regs = {{0xDF, 0x09}, {0xE4, 0x09}},
     .call = [](B &b) { return role(b) + " " + role(b); }, .out = "ok 1 ok 1",
     .trace = settled("rd df=09") + " " + kOneMaster + " rd df=09 rd e4=09"},
    // The last of the confirming readings counts.
    {.name = "ChangeSettlesOnTheLastReading", .regs = {{0xE4, 0x09}},
     .setup = [](B &b) { b.script(bspsim::Source::Register, 0xDF, {0x09, 0x06, 0x09, 0x06}); }, .call = role,
     .out = "ok 0", .trace = "rd df=09 rd df=06 delay 10 rd df=09 delay 10 rd df=06 delay 10 " + kOneMaster},
    {.name = "NullRole", .call = BSP_CALL(BSP_GetBoardMasterOrSlaveState(nullptr)), .out = "err",
     .log = "0:Input para err"},
    {.name = "SmmBoardIsMaster", .profile = "smm", .regs = {{0xDF, 0x06}}, .call = role, .out = "ok 1"},
    {.name = "CodeTranslation",
     .call = [](B &) {
         std::string out;
         for (uint8_t code : {9, 6, 0, 0x0F, 0x19}) {
             uint8_t r = 0xEE;
             const uint32_t st = BSP_CpldDataChange(&r, code);
             out += res(st) + "=" + std::to_string(r) + " ";
         }
         return out + res(BSP_CpldDataChange(nullptr, 9));
     },
     .out = "ok=1 ok=0 err=238 err=238 err=238 err"},

    // Grab and abandon: the whole pulse, and the arbitration's answer.
    {.name = "GrabWhenNoneIsMaster", .call = request<BSP_GrabBoardMaster>, .out = "ok masters 1 wp 0xC held 0", .trace = kGrab},
    {.name = "GrabWhenAnotherIsMaster", .setup = [](B &) { bspsim::set_master(1); },
     .call = request<BSP_GrabBoardMaster>, .out = "ok masters 2 wp 0xC held 0", .trace = kGrab},
    {.name = "Abandon", .setup = [](B &) { bspsim::set_master(0); }, .call = request<BSP_AbandonBoardMaster>,
     .out = "ok masters 0 wp 0xC held 0", .trace = kAbandon},
    {.name = "GrabSemaphoreRefused", .faults = {{Op::SemP, 1, -1, 20}}, .call = request<BSP_GrabBoardMaster>,
     .out = "err masters 0 wp 0xC held 0", .trace = "P20!-1", .log = "0:get BMC_MUTEX_FAN_SYNC_LEVEL fail."},
    {.name = "AbandonSemaphoreRefused", .faults = {{Op::SemP, 1, -1, 20}}, .call = request<BSP_AbandonBoardMaster>,
     .out = "err masters 0 wp 0xC held 0", .trace = "P20!-1", .log = "0:get BMC_MUTEX_FAN_SYNC_LEVEL fail."},
    // A failing write ends the sequence where it is: from the raise on, the protect stays open.
    {.name = "GrabFailsOpeningProtect", .faults = {{Op::LocalBusWrite}}, .call = request<BSP_GrabBoardMaster>,
     .out = "err masters 0 wp 0xC sem 1 held 0", .trace = "P20 wr e2&08=0!-1 V20",
     .log = wr_fail("e2  data: 0") + " | 0:Fail to close write protect of grab master error[-1]."},
    {.name = "GrabFailsRaising", .faults = {{.op = Op::LocalBusWrite, .skip = 1}}, .call = request<BSP_GrabBoardMaster>,
     .out = "err masters 0 wp 0x4 sem 1 held 0", .trace = "P20 wr e2&08=0 wr e1&10=1!-1 V20",
     .log = wr_fail("e1  data: 1") + " | 0:Fail to grab master error[-1]."},
    {.name = "GrabFailsDropping", .faults = {{.op = Op::LocalBusWrite, .skip = 2}}, .call = request<BSP_GrabBoardMaster>,
     .out = "err masters 0 wp 0x4 sem 1 held 0", .trace = "P20 wr e2&08=0 wr e1&10=1 delay 500 wr e1&10=0!-1 V20",
     .log = wr_fail("e1  data: 0") + " | 0:Fail to recover value after grab master error[-1]."},
    {.name = "GrabFailsProtecting", .faults = {{.op = Op::LocalBusWrite, .skip = 3}}, .call = request<BSP_GrabBoardMaster>,
     .out = "err masters 1 wp 0x4 sem 1 held 0",
     .trace = "P20 wr e2&08=0 wr e1&10=1 delay 500 wr e1&10=0 wr e2&08=1!-1 V20",
     .log = wr_fail("e2  data: 1") + " | 0:Fail to open write protect of grab master error[-1]."},
    {.name = "AbandonFailsOpeningProtect", .faults = {{Op::LocalBusWrite}}, .setup = [](B &) { bspsim::set_master(0); },
     .call = request<BSP_AbandonBoardMaster>, .out = "err masters 1 wp 0xC sem 1 held 0", .trace = "P20 wr e2&04=0!-1 V20",
     .log = wr_fail("e2  data: 0") + " | 0:Fail to close write protect of abandon master error[-1]."},
    {.name = "AbandonFailsRaising", .faults = {{.op = Op::LocalBusWrite, .skip = 1}},
     .setup = [](B &) { bspsim::set_master(0); }, .call = request<BSP_AbandonBoardMaster>,
     .out = "err masters 1 wp 0x8 sem 1 held 0", .trace = "P20 wr e2&04=0 wr e1&08=1!-1 V20",
     .log = wr_fail("e1  data: 1") + " | 0:Fail to abandon master error[-1]."},
    {.name = "AbandonFailsDropping", .faults = {{.op = Op::LocalBusWrite, .skip = 2}},
     .setup = [](B &) { bspsim::set_master(0); }, .call = request<BSP_AbandonBoardMaster>,
     .out = "err masters 1 wp 0x8 sem 1 held 0", .trace = "P20 wr e2&04=0 wr e1&08=1 delay 500 wr e1&08=0!-1 V20",
     .log = wr_fail("e1  data: 0") + " | 0:Fail to recover value after abandon master error[-1]."},
    {.name = "AbandonFailsProtecting", .faults = {{.op = Op::LocalBusWrite, .skip = 3}},
     .setup = [](B &) { bspsim::set_master(0); }, .call = request<BSP_AbandonBoardMaster>,
     .out = "err masters 0 wp 0x8 sem 1 held 0",
     .trace = "P20 wr e2&04=0 wr e1&08=1 delay 500 wr e1&08=0 wr e2&04=1!-1 V20",
     .log = wr_fail("e2  data: 1") + " | 0:Fail to open write protect of abandon master error[-1]."},
    // A request bit held high never ends its pulse: nothing moves, the protect closes again.
    {.name = "HeldGrabRequestMovesNothing", .setup = [](B &) { bspsim::hold_request(0, true, true); },
     .call = request<BSP_GrabBoardMaster>, .out = "ok masters 0 wp 0xC held 0", .trace = kGrab},

    // The watch: one master ends an episode silently; a read failure is logged and changes nothing.
    {.name = "WatchOneMaster", .regs = {{0xE4, 0x06}}, .call = BSP_CALLS((BSP_DetectWhetherHasMoreThanOneMos(), 0u)),
     .trace = settled("rd e4=06")},
    {.name = "WatchReadFails", .faults = {{Op::LocalBusRead, 1, -1, 0xE4}},
     .call = BSP_CALLS((BSP_DetectWhetherHasMoreThanOneMos(), 0u)), .trace = "rd e4=00!-1",
     .log = "0:read cpld byte error. | 0:Read cpld (0xe4) failed(-1)"},
    {.name = "WatchLastConfirmingReadFails", .regs = {{0xE4, 0x05}}, .faults = {{.op = Op::LocalBusRead, .skip = 3}},
     .call = BSP_CALLS((BSP_DetectWhetherHasMoreThanOneMos(), 0u)),
     .trace = "rd e4=05 rd e4=05 delay 10 rd e4=05 delay 10 rd e4=00!-1 delay 10",
     .log = "0:read cpld byte error. | 0:Read cpld (0xe4) failed(-1)"},
};
BSP_CASES(Master, MasterCall, kCases);

// Two masters log once, then again on the 129th observation in a row; one master in between
// starts the count again. The first confirmation reads are the only ones: the value repeats.
using MasterWatch = bsptest::SimTest;
TEST_F(MasterWatch, WarnsOncePerPeriod)
{
    known_board();
    const std::string warn = "0:Warning: CPLD appear more than one master or slave!(1)(1)(0)(0)";
    sim().set_reg(0xE4, 0x05);
    for (int i = 0; i < 128; ++i) BSP_DetectWhetherHasMoreThanOneMos();
    EXPECT_EQ(log_line(), warn);
    EXPECT_EQ(count(Op::LocalBusRead), 128u + 3u);
    BSP_DetectWhetherHasMoreThanOneMos();
    EXPECT_EQ(log_line(), warn + " | " + warn);
    sim().set_reg(0xE4, 0x09);
    BSP_DetectWhetherHasMoreThanOneMos();
    sim().set_reg(0xE4, 0x05);
    forget();
    BSP_DetectWhetherHasMoreThanOneMos();
    BSP_DetectWhetherHasMoreThanOneMos();
    EXPECT_EQ(log_line(), warn);
}

}  // namespace

// ------------------------------------------------------------------ needing the board's slot

// The role when the own code is undecided, and the abandon of an SMM, both need the board's
// slot: the board sits in slot 0 by its straps (or its CPLD slot code on the 4U board).
class MasterBySlot : public bsptest::SimTestWithParam<CallCase> {
protected:
    std::string profile() const override { return GetParam().profile; }
    void SetUp() override
    {
        SimTestWithParam<CallCase>::SetUp();
        if (HasFatalFailure()) return;
        sim().set_pin(53, 1);
        sim().set_pin(54, 0);
        sim().set_reg(0x32, 0x00);
        uint8_t slot = 0xFF;
        if (BSP_GetBoardSlot(&slot) != 0 || slot != 0) GTEST_SKIP() << "this build cannot identify the board's slot";
        (void)BSP_Is4U4CBoard();
        (void)BSP_Is2U2CBoard();
        (void)BSP_IsSmmBoard();
        forget();
        const CallCase &c = GetParam();
        for (auto [reg, value] : c.regs) sim().set_reg(reg, value);
        for (const auto &f : c.faults) sim().fail(f.op, f.count, f.code, f.key, f.skip);
        if (c.setup) c.setup(sim());
    }
};
TEST_P(MasterBySlot, ShowsWhatItDid)
{
    const CallCase &c = GetParam();
    EXPECT_EQ(c.call(sim()), c.out);
    EXPECT_EQ(tr({Op::LocalBusRead, Op::LocalBusWrite, Op::SpiRead, Op::SpiWrite, Op::DflChipByteWrite, Op::SemP, Op::SemV, Op::Delay}),
              c.trace);
    EXPECT_EQ(log_line(), c.log);
}

std::string redressed(B &)
{
    uint8_t r = 0xEE;
    const uint32_t st = BSP_GetRedressedMosState(&r);
    return res(st) + " " + std::to_string(r);
}

// Both controllers in (0x33), the own code undecided (0xDF).
const std::vector<std::pair<uint32_t, uint8_t>> kUndecided = {{0x33, 0x03}, {0xDF, 0x0F}};
std::vector<std::pair<uint32_t, uint8_t>> undecided(uint8_t fields)
{
    auto regs = kUndecided;
    regs.emplace_back(0xE4, fields);
    return regs;
}
const std::string kFallback = settled("rd df=0f") + " rd e4=";

const CallCase kBySlot[] = {
    // The peer's field decides: master there makes this board slave, slave there makes it master.
    {.name = "PeerMaster", .regs = undecided(0x04), .call = role, .out = "ok 0",
     .trace = "rd df=0f rd e4=04 rd 33=03 rd 33=03 " + settled("rd e4=04")},
    {.name = "PeerSlave", .regs = undecided(0x08), .call = role, .out = "ok 1",
     .trace = "rd df=0f rd e4=08 rd 33=03 rd 33=03 " + settled("rd e4=08"),
     .log = "0:Warning: CPLD appear more than one master or slave!(0)(2)(0)(0)"},
    {.name = "PeerFaultyField", .regs = undecided(0x0C), .call = role, .out = "err 238",
     .trace = "rd df=0f rd e4=0c rd 33=03 rd 33=03"},
    // An absent peer's field does not count, nor does the own one.
    {.name = "AbsentPeerIgnored", .regs = {{0x33, 0x01}, {0xE4, 0x0F}}, .call = redressed, .out = "ok 1",
     .trace = "rd e4=0f rd 33=01 rd 33=01"},
    {.name = "FieldsUnread", .regs = undecided(0x04), .faults = {{Op::LocalBusRead, 1, -1, 0xE4}}, .call = redressed,
     .out = "err 238", .trace = "rd e4=00!-1", .log = "0:read cpld byte error."},
    {.name = "PresenceUnread", .regs = undecided(0x04), .faults = {{.op = Op::LocalBusRead, .key = 0x33, .skip = 1}},
     .call = redressed, .out = "err 238", .trace = "rd e4=04 rd 33=03 rd 33=00!-1", .log = "0:read cpld byte error."},
    // Four controllers: one other master makes this board slave, two are a fault.
    {.name = "FourOneOtherMaster", .profile = "4u4c", .regs = {{0x33, 0x0F}, {0xE4, 0xA4}}, .call = redressed,
     .out = "ok 0", .trace = "srd e4=a4 srd 33=0f srd 33=0f srd 33=0f srd 33=0f"},
    {.name = "FourTwoOtherMasters", .profile = "4u4c", .regs = {{0x33, 0x0F}, {0xE4, 0x94}}, .call = redressed,
     .out = "err 238", .trace = "srd e4=94 srd 33=0f srd 33=0f srd 33=0f srd 33=0f"},
    {.name = "NullRedressed", .call = BSP_CALL(BSP_GetRedressedMosState(nullptr)), .out = "err"},

    // Giving mastership up from the SMM side: never with no peer to take it.
    {.name = "SmmAbandonWithPeer", .regs = {{0x33, 0x03}}, .setup = [](B &) { bspsim::set_master(0); },
     .call = request<BSP_SMMAbandonMaster>, .out = "ok masters 0 wp 0xC held 0", .trace = "rd 33=03 " + kAbandon},
    {.name = "SmmAbandonPeerAbsent", .regs = {{0x33, 0x01}}, .setup = [](B &) { bspsim::set_master(0); },
     .call = request<BSP_SMMAbandonMaster>, .out = "err masters 1 wp 0xC held 0", .trace = "rd 33=01"},
    {.name = "SmmAbandonPresenceUnread", .regs = {{0x33, 0x03}}, .faults = {{Op::LocalBusRead, 1, -1, 0x33}},
     .setup = [](B &) { bspsim::set_master(0); }, .call = request<BSP_SMMAbandonMaster>,
     .out = "err masters 1 wp 0xC held 0", .trace = "rd 33=00!-1", .log = "0:read cpld byte error."},
    // Four controllers: no peer check.
    {.name = "SmmAbandonFourControllers", .profile = "4u4c", .regs = {{0x33, 0x01}},
     .setup = [](B &) { bspsim::set_master(0); }, .call = request<BSP_SMMAbandonMaster>,
     .out = "ok masters 0 wp 0xC held 0",
     .trace = "P20 dfl_chip_bytewrite cpld1@e2&04=00 dfl_chip_bytewrite cpld1@e1&08=01 delay 500 "
              "dfl_chip_bytewrite cpld1@e1&08=00 dfl_chip_bytewrite cpld1@e2&04=01 V20"},
};
BSP_CASES(Master, MasterBySlot, kBySlot);
