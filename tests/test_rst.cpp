// Reset and reboot: the host CPU's hard and soft resets, the flags the CPLD keeps, the
// soft-reset notification, and the BMC's reboot with its hand-over.
#include <string>
#include <vector>

#include "bspsim/ge_switch.hpp"
#include "bspsim/mastership.hpp"
#include "bspsim/tty.hpp"
#include "platform/vos.h"
#include "test_helpers.h"

namespace {
// This build answers 0 to both; the library asks them through their exported names, so these
// definitions stand in for them and let a case play a manufacturing build or an early board.
bool g_manu_build = false;
bool g_es_board = false;
}  // namespace
extern "C" uint32_t BSP_IsManuVersion(void) { return g_manu_build ? 1 : 0; }
extern "C" uint32_t BSP_IsEsBoard(void) { return g_es_board ? 1 : 0; }

namespace {

using bspsim::Op;
using bsptest::CallCase, bsptest::calls, bsptest::res, bsptest::PrintTo;
using B = bspsim::Board;
uint8_t *const g = bsptest::g_out;

// Calls, then the byte they left in g_out.
#define WITH_OUT(...) [](B &) { return calls({__VA_ARGS__}, 1); }

using ResetCall = bsptest::CallTest;
TEST_P(ResetCall, ShowsWhatItDid) { run(); }

const std::string kNotify = "P38 wr 1a4&01=1 rd 1a3=00 wr 1a3=06 delay 10 wr 1a3=00 wr 1a4&01=0 V38";  // V38 last

// The notification's call, and what the CPLD made of it.
std::string notify(B &b)
{
    const std::string st = res(BSP_NotifySoftResetByCpld());
    return st + " " + b.transcript({Op::Change});
}

const CallCase kCases[] = {
    // A reset type that cannot be read is 0; only 0 and 1 are written.
    {.name = "ResetType", .regs = {{0xEB, 0xFF}}, .faults = {{Op::LocalBusRead, 1, -1, 0xEB, 1}},
     .call = [](B &) { BSP_SetResetType(2), BSP_SetResetType(1), BSP_SetResetType(0); return calls({BSP_GetResetType(), BSP_GetResetType()}); },
     .out = "ok ok", .trace = "wr eb&01=1 wr eb&01=0 rd eb&01=0 rd eb&01=0!-1", .log = "0:read cpld error."},
    // The OS boot flag is cut to its low three bits, also after a failed read.
    {.name = "OsBootFlag", .regs = {{0xED, 0xFD}}, .call = WITH_OUT(BSP_GetOsBootFlag(g)), .out = "ok 05", .trace = "rd ed=fd"},
    {.name = "OsBootFlagUnread", .faults = {{Op::LocalBusRead}}, .call = WITH_OUT(BSP_GetOsBootFlag(g), BSP_GetOsBootFlag(nullptr)),
     .out = "err err 06", .trace = "rd ed=00!-1", .log = "0:read cpld byte error."},
    {.name = "BootStatus", .regs = {{0x1F0, 0x0B}},
     .call = BSP_CALLS(BSP_GetBmcBootStatus(0), BSP_GetBmcBootStatus(2), BSP_GetBmcBootStatus(3), BSP_GetBmcBootStatus(4)),
     .out = "1 ok 1 ok", .trace = "rd 1f0&01=1 rd 1f0&04=0 rd 1f0&08=1", .log = "0:Input para put of range(4)"},
    {.name = "UpStatusOfAnyRegister", .regs = {{0x100, 0x04}}, .faults = {{Op::LocalBusRead, 1, -1, 0x100, 1}},
     .call = BSP_CALLS(BSP_GetBmcOrCtrlUpStatus(0x100, 2), BSP_GetBmcOrCtrlUpStatus(0x100, 2), BSP_GetBmcOrCtrlUpStatus(0x100, 9)),
     .out = "1 ok ok", .trace = "rd 100&04=1 rd 100&04=0!-1",
     .log = "0:read cpld error. | 0:Read cpld addr(0x100) bit(2) failed(-1) | 0:Input para put of range(9)"},
    {.name = "SmmOsBootFlag", .faults = {{Op::LocalBusWrite, 1, -1, 0x158, 1}},
     .call = BSP_CALLS(BSP_vSmmSetOsBootFlag(0x5A), BSP_vSmmSetOsBootFlag(0x5B)), .out = "ok err",
     .trace = "wr 158=5a wr 158=5b!-1", .log = "0:write add :158  data: 5b cpld error."},
    // The notification holds semaphore 38 over the read-modify-write; a failed give still counts
    // as done, a failed take is passed on and touches nothing.
    {.name = "Notify", .regs = {{0x1A3, 0x09}}, .call = notify, .out = "ok soft-reset notification",
     .trace = "P38 wr 1a4&01=1 rd 1a3=09 wr 1a3=0f delay 10 wr 1a3=09 wr 1a4&01=0 V38"},
    // An unread 0x1A3 counts as 0.
    {.name = "NotifyGiveFails", .faults = {{Op::SemV, 1, -4}, {Op::LocalBusRead, 1, -1, 0x1A3}},
     .call = BSP_CALLS(BSP_NotifySoftResetByCpld()), .trace = "P38 wr 1a4&01=1 rd 1a3=00!-1" + kNotify.substr(25) + "!-4",
     .log = "0:read cpld byte error. | 0:Soft reset by cpld sem_v operation failed(ret=-4)"},
    {.name = "NotifyTakeFails", .faults = {{Op::SemP, 1, -3}}, .call = BSP_CALLS(BSP_NotifySoftResetByCpld()),
     .out = "-3", .trace = "P38!-3", .log = "0:Soft reset by cpld sem_p operation failed(ret=-3)"},
    // The enable could not be opened: the CPLD refuses the notification; the call goes on.
    {.name = "NotifyWhileDisabled", .faults = {{Op::LocalBusWrite, 1, -1, 0x1A4}}, .call = notify, .out = "ok ",
     .trace = "P38 wr 1a4&01=1!-1 rd 1a3=00 wr 1a3=06!wp delay 10 wr 1a3=00!wp wr 1a4&01=0 V38",
     .log = "0:write add :1a4  data: 1 cpld error."},
};
BSP_CASES(Rst, ResetCall, kCases);

using Rst = bsptest::SimTest;

// Soft reset: a failure at each of its five writes in turn. The pulse runs to its end and the
// protection is restored unless that very write failed; the result is step 3's failure, else
// step 2's, and step 2's line deliberately prints 0.
TEST_F(Rst, SoftResetRestoresTheProtectionAfterEachFailedStep)
{
    known_board();
    const std::string failed = "0:Write cpld(0xe7) to reset os failed, ret(";
    const std::string done = "1:SoftReset CPU by cpld(0xe7).";
    const std::string reset = "host reset by cpld 0xe7, 10 ms";
    auto hub = [](const char *write) { return "0:write add :" + std::string(write) + " cpld error. | "; };
    struct Step {
        std::string out, log;
        bool resets;
        int protect;
    };
    const std::vector<Step> steps = {
        {"ok", done, true, 0x40},
        {"err", hub("e8  data: 0") + "0:Close write protection(0xe8) of system reset failed, ret(-1).", false, 0x40},
        {"err", hub("e7  data: 1") + failed + "0). | " + done, true, 0x40},
        {"err", hub("e7  data: 0") + failed + "-1). | " + done, false, 0x40},
        {"ok", hub("e7  data: 1") + failed + "-1). | " + done, false, 0x40},
        {"ok", hub("e8  data: 1") + "0:Open write protection(0xe8) of system reset failed, ret(-1). | " + done, true, 0x00},
    };
    for (size_t fail_at = 0; fail_at < steps.size(); ++fail_at) {
        SCOPED_TRACE("failing write " + std::to_string(fail_at));
        sim().reset();
        if (fail_at > 0) sim().fail(Op::LocalBusWrite, 1, -1, bspsim::kAnyKey, static_cast<uint32_t>(fail_at - 1));
        EXPECT_EQ(res(BSP_SoftResetCpu()), steps[fail_at].out);
        EXPECT_EQ(log_line(), steps[fail_at].log);
        EXPECT_EQ(sim().reg(0xE8) & 0x40, steps[fail_at].protect);
        EXPECT_EQ(tr({Op::Change}), steps[fail_at].resets ? reset : "");
        if (fail_at < 2) {
            EXPECT_EQ(tr({Op::LocalBusWrite, Op::Delay}),
                      fail_at ? "wr e8&40=0!-1" : "wr e8&40=0 wr e7&40=1 delay 10 wr e7&40=0 delay 10 wr e7&40=1 wr e8&40=1");
        }
    }
}

class Rst4U : public bsptest::SimTest {
    std::string profile() const override { return "4u4c"; }
};

// Over SPI a failed write passes its own status up: the falling edge's failure wins over the
// rising edge's, which is the result when it fails alone.
TEST_F(Rst4U, SoftResetResultPrefersTheFallingEdge)
{
    known_board();
    sim().fail(Op::DflChipByteWrite, 5, -5, 0xE7);
    sim().fail(Op::DflChipByteWrite, 5, -7, 0xE7);
    EXPECT_EQ(res(BSP_SoftResetCpu()), "-7");
    EXPECT_EQ(log_line(), "0:Write cpld(0xe7) to reset os failed, ret(0). | 0:Write cpld(0xe7) to reset os failed, ret(-7). | "
                          "1:SoftReset CPU by cpld(0xe7).");
    sim().fail(Op::DflChipByteWrite, 5, -5, 0xE7);
    EXPECT_EQ(res(BSP_SoftResetCpu()), "-5");
}

// Hard reset, per board id as the library's table lists them (line 0: no line known).
struct HardCase {
    const char *name;
    uint8_t board;
    uint8_t line;
    bool es = false;
};
const HardCase kHard[] = {
    {"Board00", 0x00, 141}, {"Board00Es", 0x00, 61, true}, {"Board03", 0x03, 141}, {"Board03Es", 0x03, 61, true},
    {"Board05", 0x05, 58}, {"Board06", 0x06, 58}, {"Board09", 0x09, 58}, {"Board09Es", 0x09, 58, true},
    {"Board0A", 0x0A, 141}, {"Board11", 0x11, 31}, {"Board12", 0x12, 31}, {"Board14", 0x14, 31},
    {"Board1D", 0x1D, 31}, {"Board22", 0x22, 31}, {"Board24", 0x24, 31}, {"Board27", 0x27, 31},
    {"Board71", 0x71, 31}, {"Board95", 0x95, 31}, {"Board99", 0x99, 31}, {"Board2E", 0x2E, 1},
    {"Board33", 0x33, 1}, {"Board35", 0x35, 1}, {"Board07", 0x07, 0},
};
class HardReset : public bsptest::SimTestWithParam<HardCase> {};
TEST_P(HardReset, PulsesTheBoardsLine)
{
    const HardCase &c = GetParam();
    g_es_board = c.es;
    known_board(c.board);
    g[0] = 0xEE;
    const uint8_t line = c.line ? c.line : 0xEE;  // an unknown board leaves the line untouched
    EXPECT_EQ(BSP_GetHardResetCpuGPIO(g), c.line ? 0u : bsptest::kErr);
    EXPECT_EQ(g[0], line);
    const std::string found = "1:Get board " + std::to_string(c.board) + " reset cpu gpio is ";
    EXPECT_EQ(log_line(), found + std::to_string(line) + ".");
    forget();
    EXPECT_EQ(res(BSP_HardResetCpu()), c.line ? "ok" : "err");
    const std::string l = std::to_string(c.line);
    EXPECT_EQ(tr({Op::GpioInit, Op::GpioWrite, Op::Delay, Op::Change}),
              c.line ? "gi " + l + "=out gw " + l + "=1 delay 100 gi " + l + "=out gw " + l + "=0 delay 10 gi " + l +
                           "=in host reset by gpio " + l + ", 100 ms"
                     : "");
    EXPECT_EQ(log_line(), found + std::to_string(c.line) + "." + (c.line ? "" : " | 0:Get reset cpu gpio failed."));
}
BSP_CASES(Rst, HardReset, kHard);

// Without a board id there is no reset line (and no line about it), and the SMM's OS boot
// flag is not written: its board-type read is a gate.
TEST_F(Rst, BoardIdUnread)
{
    sim().fail(Op::DevOpen, 3);
    g[0] = 0xEE;
    EXPECT_EQ(calls({BSP_GetHardResetCpuGPIO(g), BSP_GetHardResetCpuGPIO(nullptr), BSP_vSmmSetOsBootFlag(5)}, 1), "err err err ee");
    EXPECT_EQ(log_line().find("reset cpu gpio"), std::string::npos);
    EXPECT_EQ(count(Op::LocalBusWrite), 0u);
}

TEST_F(Rst, OnlyRequestsTwoAndFourReachTheExitHandler)
{
    for (uint32_t request : {0u, 1u, 2u, 3u, 4u, 5u}) EXPECT_EQ(BSP_RebootRequestProcess(request, 7, 9), 0u);
    EXPECT_EQ(tr(), "per_exit 2 7 9 per_exit 4 7 9");
}

// A manufacturing build on a CPLD that fails its self test refuses every reboot request: the
// refusal is logged at most once per 180000 ticks, and not in the first 180000 after start.
TEST_F(Rst, FlexibleRebootDiscardsOnAFailedCpld)
{
    known_board();
    g_manu_build = true;
    sim().fail(Op::LocalBusRead, 1000, -1, 0x24A);  // CPLD 1's test register cannot be read
    // The request whose tick (taken after the self test) is `tick` ticks after the first one's.
    uint64_t first = 0;
    auto ask_at = [&](uint64_t tick) {
        if (first != 0) vos_task_delay(static_cast<uint32_t>(first + tick - sim().now_ms()));
        if (first == 0) first = sim().now_ms();
        forget();
        std::string out = res(BSP_RebootBmcFlexibly(7));
        for (const auto &l : sim().logs())
            if (l.text.starts_with("Caller")) out += " " + std::to_string(l.level) + ":" + l.text;
        return out + (count(Op::DflReboot) ? " rebooted" : "");
    };
    const std::string refused = "-9597", logged = "-9597 1:Caller7's reboot-bmc cmd is discarded.";
    EXPECT_EQ(ask_at(0), refused);
    EXPECT_EQ(ask_at(180000 - first), refused) << "the first 180000 ticks count from 0";
    EXPECT_EQ(ask_at(180001 - first), logged);
    EXPECT_EQ(ask_at(180001 - first), refused);
    EXPECT_EQ(ask_at(360001 - first), refused);
    EXPECT_EQ(ask_at(360002 - first), logged);
    sim().clear_faults();
    EXPECT_EQ(ask_at(360003 - first), "ok 1:Caller7 reboot bmc. rebooted");
}

// The reboot's hand-over as it happens, in order, on each kind of board.
struct RebootCase {
    const char *name;
    const char *profile = "default";
    int master = 0;  // the slot that is master (-1: none)
    std::vector<bsptest::Fault> faults = {};
    std::string story, log = "";
};
class Reboot : public bsptest::SimTestWithParam<RebootCase> {
    std::string profile() const override { return GetParam().profile; }
};
TEST_P(Reboot, HandsOverThenReboots)
{
    const RebootCase &c = GetParam();
    known_board();
    (void)BSP_IsSmmBoard();
    bspsim::set_master(c.master);
    sim().set_ram(0xD970, 0x5A);
    struct termios t = bspsim::tty_attr(sim());
    t.c_iflag |= IXON | IXOFF;
    bspsim::set_tty_attr(sim(), t);
    forget();
    for (const auto &f : c.faults) sim().fail(f.op, f.count, f.code, f.key, f.skip);
    BSP_RebootBmc();
    // The steps, without the CPLD's own lookups and the role read's 10 ms debounce.
    const std::string steps = std::regex_replace(
        tr({Op::SemP, Op::DflGetHandle, Op::DflCallMethod, Op::Delay, Op::Termios, Op::DevIoctl, Op::DflReboot, Op::Change}),
        std::regex("(dfl_get_handle cpld1|delay 10) "), "");
    EXPECT_EQ(steps + oplog(), c.story);
    EXPECT_EQ(log_line(), c.log);
    EXPECT_EQ(sim().ram(0xD970), 0);
    EXPECT_EQ(bspsim::tty_attr(sim()).c_iflag & (IXON | IXOFF), static_cast<tcflag_t>(IXOFF)) << "the console's IXON is off";
    EXPECT_EQ(bspsim::master_slots(), c.master == 1 ? 2 : 0) << "a rebooted BMC holds no role";
}
// The RAM marker under semaphore 29 first; the console and the reboot last.
const std::string kMarker = "P29 ";
const std::string kAbandon = "P20 delay 500 master none ";
const std::string kPcieOff = "pcie partial pcie off ";
const std::string kConsole = "tcget tty ixon ixoff tcset tty ixoff ioctl:tty 540a=3 tty start sent dfl_reboot ";
const std::string kOpBegin = " | op1:Begin to reboot bmc with disable watch dog";
const std::string kOpAbandoned = kOpBegin + " | op1:Abandon master success[0]";
const std::string kSwitchSet = "dfl_get_handle GeSwitchObj dfl_call_method GeSwitchObj.SetWtdFlag";
const std::string kSwitchArmed = kSwitchSet + " switch stop requested delay 1000 dfl_get_handle GeSwitchObj ";
const std::string kSwitchPoll = "dfl_call_method GeSwitchObj.GetWtdFlag ";
const RebootCase kReboots[] = {
    {.name = "MasterOf2U", .story = kMarker + kAbandon + kPcieOff + kConsole + "bmc reboot" + kOpAbandoned},
    {.name = "SlaveOf2U", .master = 1, .story = kMarker + kPcieOff + kConsole + "bmc reboot" + kOpBegin},
    // The role cannot be read: nothing is given up by the library (the reboot itself releases
    // it), and the reboot goes on.
    {.name = "RoleUnread", .faults = {{Op::LocalBusRead, 20, -1, 0xDF}, {Op::LocalBusRead, 20, -1, 0xE4}},
     .story = kMarker + kPcieOff + kConsole + "master none bmc reboot" + kOpBegin,
     .log = "0:read cpld byte error. | 0:read cpld byte error. | 1:Get Board MAS or SLV State Failed [-1]"},
    // Giving up fails: logged to the operation log, and the reboot goes on (and releases it).
    {.name = "AbandonFails", .faults = {{Op::SemP, 1, -1, 20}},
     .story = kMarker + "P20!-1 " + kPcieOff + kConsole + "master none bmc reboot" + kOpBegin + " | op0:Abandon master fail[-1]",
     .log = "0:get BMC_MUTEX_FAN_SYNC_LEVEL fail."},
    {.name = "MasterOf4U4C", .profile = "4u4c",
     .story = kMarker + kSwitchArmed + kSwitchPoll + "delay 1000 " + kSwitchPoll + "switch watchdog stopped " + kAbandon +
              kPcieOff + kConsole + "bmc reboot" + kOpAbandoned,
     .log = "1:BMC reset after geswitch stop watchdog"},
    // No wait when the request could not be made.
    {.name = "SwitchUnreachable", .profile = "4u4c", .faults = {{Op::DflCallMethod}},
     .story = kMarker + kSwitchSet + "!-1 " + kAbandon + kPcieOff + kConsole + "bmc reboot" + kOpAbandoned,
     .log = "0:Set geswitch watchdog flag failed(ret=-1)"},
    {.name = "Smm", .profile = "smm", .master = -1, .story = kMarker + kConsole + "bmc reboot" + kOpBegin},
};
BSP_CASES(Rst, Reboot, kReboots);

// The console: a device that cannot be opened is left alone; a failed START is logged and the
// device still closed.
TEST_F(Rst, ConsoleFailures)
{
    sim().fail(Op::DevOpen, 1, -1, static_cast<uint32_t>(bspsim::Device::TtyS0));
    BSP_CloseIXON();
    sim().fail(Op::DevIoctl, 1, -1, 0x540A);
    BSP_CloseIXON();
    EXPECT_EQ(log_line(), "0:Open tty dev failed, fd(-1) | 0:Ioctl failed, ret(-1).");
    EXPECT_EQ(tr(), "open tty!-1 open tty tcget tty tcset tty ioctl:tty 540a=3!-1 close tty");
    EXPECT_EQ(bspsim::tty_starts_sent(sim()), 0u);
}

}  // namespace
