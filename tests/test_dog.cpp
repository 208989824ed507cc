// Watchdogs: the switch's stop protocol with its bounded wait, and the CPLD watchdog's time
// selection.
#include <string>

#include "bspsim/ge_switch.hpp"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bsptest::times;

const std::string kLookup = "dfl_get_handle GeSwitchObj";
const std::string kPoll = "dfl_call_method GeSwitchObj.GetWtdFlag";
const std::string kPending = kPoll + " delay 1000";

struct WaitCase {
    const char *name;
    const char *profile = "4u4c";
    int polls = 0;  // -1: the switch never stops
    std::vector<bsptest::Fault> faults = {};
    std::string trace, log;
};
using bsptest::PrintTo;

// The stop request is armed first; then the wait, with what it called, paused and logged.
class SwitchWait : public bsptest::SimTestWithParam<WaitCase> {
    std::string profile() const override { return GetParam().profile; }
};
TEST_P(SwitchWait, PollsAtMostFiveTimes)
{
    const WaitCase &c = GetParam();
    bspsim::set_switch_stop(c.polls < 0 ? 0 : static_cast<uint32_t>(c.polls), c.polls < 0);
    const uint32_t armed = BSP_SetStopSwitchWatchDogFlag();
    const size_t values = bspsim::live_values();
    forget();
    for (const auto &f : c.faults) sim().fail(f.op, f.count, f.code, f.key, f.skip);
    BSP_WaitSwitchStopWtdFlag();
    EXPECT_EQ(tr({Op::DflGetHandle, Op::DflCallMethod, Op::Delay, Op::Change}), c.trace);
    EXPECT_EQ(log_line(), c.log);
    EXPECT_EQ(bspsim::live_values(), values) << "every answer list is freed";
    EXPECT_EQ(armed, sim().handle_of("GeSwitchObj") ? 0u : static_cast<uint32_t>(bspsim::kDflNoObject));
}

const WaitCase kWaits[] = {
    {.name = "StoppedAtOnce", .trace = kLookup + " " + kPoll + " switch watchdog stopped",
     .log = "1:BMC reset after geswitch stop watchdog"},
    {.name = "StoppedAtTheThirdPoll", .polls = 2,
     .trace = kLookup + " " + times(2, kPending) + " " + kPoll + " switch watchdog stopped",
     .log = "1:BMC reset after geswitch stop watchdog"},
    {.name = "NeverStops", .polls = -1, .trace = kLookup + " " + times(5, kPending),
     .log = "1:BSP wait 5s geswitch stop watchdog now reset"},
    // A failed poll is logged, paused after and counted; a later one still sees the stop.
    {.name = "FailedPoll", .faults = {{Op::DflCallMethod, 1, -6}},
     .trace = kLookup + " " + kPoll + "!-6 delay 1000 " + kPoll + " switch watchdog stopped",
     .log = "0:Get geswitch watchdog flag failed(ret=-6) | 1:BMC reset after geswitch stop watchdog"},
    // Boards without the switch: the lookup fails and the wait returns at once.
    {.name = "NoSwitch", .profile = "default", .trace = kLookup + "!-2", .log = "0:Get geswitch obj faild(ret=-2)"},
};
BSP_CASES(Switch, SwitchWait, kWaits);

using Dog = bsptest::SimTest;

TEST_F(Dog, StopRequestIsOneByteOfOneAndReportsItsFailure)
{
    EXPECT_EQ(BSP_SetStopSwitchWatchDogFlag(), 0xFFFFFFFEu);  // the lookup's own status
    EXPECT_EQ(log_line(), "0:Get geswitch obj faild(ret=-2)");
    sim().add_object("GeSwitchObj", "GeSwitch");
    sim().fail(Op::DflCallMethod, 1, -9);
    forget();
    EXPECT_EQ(BSP_SetStopSwitchWatchDogFlag(), static_cast<uint32_t>(-9));
    EXPECT_EQ(BSP_SetStopSwitchWatchDogFlag(), 0u);
    EXPECT_EQ(log_line(), "0:Set geswitch watchdog flag failed(ret=-9)");
    ASSERT_EQ(sim().method_calls().size(), 2u);
    EXPECT_EQ(sim().method_calls()[1].inputs, std::vector<std::string>{"byte 0x01"});
    EXPECT_TRUE(bspsim::switch_stop_pending());
}

// A switch object that answers without a 32-bit word has not stopped: the wait runs out.
TEST_F(Dog, AnswerWithoutAWordIsNoStop)
{
    sim().add_object("GeSwitchObj", "Other");
    sim().set_method("GeSwitchObj", "GetWtdFlag", "(byte 0x00,)");
    BSP_WaitSwitchStopWtdFlag();
    EXPECT_EQ(log_line(), "1:BSP wait 5s geswitch stop watchdog now reset");
}

// Bits 0 and 1 of the selection go to 0xE1 bits 0 and 1, with the enable 0xE2 bit 0 at 0
// meanwhile; higher bits and write failures change nothing of that.
TEST_F(Dog, TimeSelection)
{
    known_board();
    sim().fail(Op::LocalBusWrite, 1, -1, 0xE1);
    EXPECT_EQ(BSP_SetWdtTmie(6), 0u);
    EXPECT_EQ(BSP_SetWdtTmie(0xFD), 0u);
    EXPECT_EQ(tr({Op::LocalBusWrite}), "wr e2&01=0 wr e1&01=0!-1 wr e1&02=1 wr e2&01=1 "
                                       "wr e2&01=0 wr e1&01=1 wr e1&02=0 wr e2&01=1");
    EXPECT_EQ(sim().reg(0xE1) & 3, 1);
}

// The enable really guards the selection: when it cannot be opened the selection stays as it
// was, and a sequence that failed to close it leaves it open for the invariant check to see.
TEST_F(Dog, TimeSelectionNeedsItsEnable)
{
    known_board();
    sim().fail(Op::LocalBusWrite, 1, -1, 0xE2);
    EXPECT_EQ(BSP_SetWdtTmie(3), 0u);
    EXPECT_EQ(tr({Op::LocalBusWrite}), "wr e2&01=0!-1 wr e1&01=1!wp wr e1&02=1!wp wr e2&01=1");
    EXPECT_EQ(sim().reg(0xE1) & 3, 0);
    sim().fail(Op::LocalBusWrite, 1, -1, 0xE2, 1);
    EXPECT_EQ(BSP_SetWdtTmie(3), 0u);
    EXPECT_EQ(sim().reg(0xE1) & 3, 3);
    EXPECT_EQ(sim().check_invariants(), std::vector<std::string>{"CPLD register 0x0E1 (wdt_time): write protection of bits 0x03 left open"});
}

}  // namespace
