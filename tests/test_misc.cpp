// Miscellaneous services: flushing the platform log files to flash, the LEDs, the UART switch,
// the PCIe cores and model byte, the SSD online bits, the shell-command runner and the IPMI data
// accessor. Also the interim enclosure, slot and fan-board calls, which answer a failure and
// touch nothing yet.
#include <signal.h>
#include <unistd.h>
#include <sys/stat.h>

#include <filesystem>
#include <regex>

#include "bspsim/services.hpp"
#include "test_helpers.h"

namespace {

using bspsim::Op, bsptest::PrintTo;

// In the order they are flushed.
const std::string kLogFiles[] = {"/var/log/zelm/app_debug_log", "/var/log/zelm/dfm_debug_log",
                                 "/var/log/zelm/linux_kernel_log", "/var/log/zelm/operate_log"};

// Bit i of `present`: file i exists. The open of file `failing` fails; a directory stands in the
// place of file `directory`: it cannot be opened for appending.
struct FlushCase { const char *name; unsigned present; int failing = -1, directory = -1; };

const FlushCase kFlushes[] = {
    {"all_present", 0xF}, {"none_present", 0}, {"some_present", 0b0101}, {"open_fails", 0xF, 1}, {"directory", 0b1011, -1, 2},
};

using SyncLog2Flash = bsptest::SimTestWithParam<FlushCase>;

// Present files are opened in order and left as they are; a missing one is logged, skipped and not
// created; one that cannot be opened is logged and the others are flushed all the same.
TEST_P(SyncLog2Flash, EachFileOnItsOwn)
{
    const FlushCase &c = GetParam();
    auto contents = [](int i) { return "line " + std::to_string(i) + "\nno newline at the end"; };
    for (int i = 0; i < 4; ++i)
        if (c.present & (1u << i)) bsptest::write_file(sim().path_of(kLogFiles[i]), contents(i));
    ASSERT_TRUE(c.directory < 0 || mkdir(sim().path_of(kLogFiles[c.directory]).c_str(), 0755) == 0);
    if (c.failing >= 0) sim().fail(Op::FileOpen, 1, -1, bspsim::kAnyKey, c.failing);
    auto open_fds = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto fds_before = open_fds();
    BSP_SyncLog2Flash();
    EXPECT_EQ(open_fds(), fds_before) << "every opened file is closed again";
    std::string opened, logs;
    for (int i = 0; i < 4; ++i) {
        const std::string &f = kLogFiles[i];
        const bool file = c.present & (1u << i), there = file || i == c.directory, refused = i == c.failing || i == c.directory;
        if (there) opened += (opened.empty() ? "fopen " : " fopen ") + f + (refused ? "!-1" : "");
        std::string log = !there ? f + " is not exist." : refused ? "Open file(" + f + ") failed." : "";
        if (!log.empty()) logs += (logs.empty() ? "0:" : " | 0:") + log;
        struct stat st;
        std::string now = file ? bsptest::read_file(sim().path_of(f)) : stat(sim().path_of(f).c_str(), &st) ? "none" : "dir";
        EXPECT_EQ(now, file ? contents(i) : there ? "dir" : "none") << "left as it was: " << f;
    }
    EXPECT_EQ(tr({Op::FileOpen}), opened);
    EXPECT_EQ(log_line(), logs);
}

BSP_CASES(Misc, SyncLog2Flash, kFlushes);

using bsptest::CallCase, bsptest::Fault, bsptest::res;
using B = bspsim::Board;
const std::string kNoSlotType =
    "0:BSP: Board type is not be identified for getting slot | 0:BoardType error in matching BoardId(80)";
uint8_t *const g = bsptest::g_out;

// A call case that also shows what the call printed on standard output ("| out:TEXT"), the units
// the models changed, and the operation log.
using Service = bsptest::CallTest;

TEST_P(Service, ShowsWhatItDid)
{
    // What the call printed on standard output by the time it returned: unflushed text is not.
    std::fflush(stdout);
    FILE *file = std::tmpfile();
    const int saved = dup(1);
    dup2(fileno(file), 1);
    std::string out = GetParam().call(sim()), printed(256, '\0');
    printed.resize(static_cast<size_t>(std::max<ssize_t>(0, pread(fileno(file), printed.data(), printed.size(), 0))));
    std::fflush(stdout), dup2(saved, 1), close(saved), std::fclose(file);
    if (!printed.empty()) out += " | out:" + printed;
    EXPECT_EQ(out, GetParam().out);
    EXPECT_EQ(tr({Op::LocalBusRead, Op::LocalBusWrite, Op::SemP, Op::SemV, Op::Delay, Op::Change}), GetParam().trace);
    EXPECT_EQ(log_line() + oplog(), GetParam().log);
}

// The LEDs that are on, after the status of a call.
std::string lit(uint32_t status, const B &b)
{
    std::string on;
    for (const auto &[name, state] : bspsim::leds(b))
        if (state) on += " " + name;
    return res(status) + on;
}
#define LEDS(expr) [](B &b) { return lit(expr, b); }
void all_on(B &b) { for (const auto &led : bspsim::leds(b)) bspsim::set_led(b, led.first, true); }
std::string close_board_leds(B &b) { return BSP_CloseBoardAlarmAndLocateLed(), lit(0, b); }
Fault write_fails(uint32_t reg, uint32_t skip = 0) { return {.op = Op::LocalBusWrite, .key = reg, .skip = skip}; }
const std::string kAllOn = " frame-locate frame-fault exp-all board-power board-alarm board-locate";
const std::string kBoardOff = "wr 5f&04=0 led board-alarm off wr 5f&08=0 led board-locate off";
const std::string kPcieOff = "wr ff&01=0 pcie partial wr ff&02=0 pcie off";
const std::string kPcieOn = "wr ff&01=1 pcie partial wr ff&02=1 pcie on";
const std::string kModelRead = "P29 wr ba=0f wr bb=19 rd bc=", kV = " V29";

// The PCIe/SAS model kept in the RAM after a set, and the status of a get.
template <uint8_t Model>
std::string set_model(B &b)
{
    BSP_SetPcieSasModelToCpldRam(Model);
    return bsptest::hex(b.ram(0xD90F));
}

std::string switch_uart(B &b, uint8_t port)
{
    const std::string st = res(BSP_SwitchUart(port));
    return st + " " + std::to_string(bspsim::uart_port(b));
}

const CallCase kServices[] = {
    // LEDs: both board LEDs are always tried, and a failure of either is in the operation log.
    {.name = "CloseBoardLeds", .setup = all_on, .call = close_board_leds,
     .out = "ok frame-locate frame-fault exp-all board-power", .trace = kBoardOff},
    {.name = "CloseBoardLedsAlarmFails", .faults = {write_fails(0x5F)}, .setup = all_on, .call = close_board_leds,
     .out = "ok" + kAllOn.substr(0, kAllOn.find(" board-locate")), .trace = "wr 5f&04=0!-1 wr 5f&08=0 led board-locate off",
     .log = "0:write add :5f  data: 0 cpld error. | op0:BSP_CloseBoardAlarmAndLocateLed failed[BIT2:-1, BIT3:0]."},
    {.name = "CloseBoardLedsLocateFails", .faults = {write_fails(0x5F, 1)},
     .call = close_board_leds, .out = "ok board-power", .trace = "wr 5f&04=0 wr 5f&08=0!-1",
     .log = "0:write add :5f  data: 0 cpld error. | op0:BSP_CloseBoardAlarmAndLocateLed failed[BIT2:0, BIT3:-1]."},
    {.name = "FrameLedsOn", .call = LEDS(BSP_SetframeLocalLed(1) | BSP_Setframefaultled(1) | BSP_ExpSetAllLedState(1)),
     .out = "ok frame-locate frame-fault exp-all board-power",
     .trace = "wr 13&01=1 led frame-locate on wr 13&04=1 led frame-fault on wr 13&20=1 led exp-all on"},
    // Any state but 1 is off for the frame LEDs; the expansion bit takes 0 and 1 only.
    {.name = "FrameLedsOff", .setup = all_on, .call = LEDS(BSP_SetframeLocalLed(2) | BSP_Setframefaultled(0xFF) | BSP_ExpSetAllLedState(0)),
     .out = "ok board-power board-alarm board-locate",
     .trace = "wr 13&01=0 led frame-locate off wr 13&04=0 led frame-fault off wr 13&20=0 led exp-all off"},
    {.name = "ExpLedStateRefused", .call = LEDS(BSP_ExpSetAllLedState(2)), .out = "err board-power",
     .log = "0:BSP_ExpSetAllLedState set all led state fail!"},
    {.name = "ExpLedWriteFails", .faults = {write_fails(0x13)}, .call = LEDS(BSP_ExpSetAllLedState(1)), .out = "err board-power",
     .trace = "wr 13&20=1!-1", .log = "0:write add :13  data: 1 cpld error. | 0:BSP_ExpSetAllLedState set all led state fail!"},
    {.name = "LocateLedWriteFails", .faults = {write_fails(0x13)}, .call = LEDS(BSP_SetframeLocalLed(1)), .out = "err board-power",
     .trace = "wr 13&01=1!-1", .log = "0:write add :13  data: 1 cpld error. | 0:BSP_SetframeLocalLed: error at (line:SAME)"},
    {.name = "FaultLedWriteFails", .faults = {write_fails(0x13)}, .call = LEDS(BSP_Setframefaultled(0)), .out = "err board-power",
     .trace = "wr 13&04=0!-1", .log = "0:write add :13  data: 0 cpld error. | 0:BSP_Setframefaultled: error at (line:SAME)"},
    // UART switch: done once the write went through; the read-back only logs.
    {.name = "UartSwitched", .call = [](B &b) { return bsptest::joined({switch_uart(b, 2), res(BSP_ReadSwitchUartReg(g), 1)}, " "); },
     .out = "ok 2 ok 02", .trace = "wr ee=02 uart 0x02 delay 5 rd ee=02 rd ee=02"},
    {.name = "UartPortUnknown", .call = [](B &b) { return switch_uart(b, 9); }, .out = "ok 0",
     .trace = "wr ee=09 uart 0x09 ignored delay 5 rd ee=00", .log = "1:Switch uart to port(0x0) failed!"},
    {.name = "UartWriteFails", .faults = {write_fails(0xEE)}, .call = [](B &b) { return switch_uart(b, 3); },
     .out = "err 0 | out:switch 0x3 fail. \r\n", .trace = "wr ee=03!-1",
     .log = "0:write add :ee  data: 3 cpld error. | 0:BSP: switch uart to port(0x3) fail."},
    {.name = "UartReadBackFails", .faults = {{Op::LocalBusRead}}, .call = [](B &b) { return switch_uart(b, 1); },
     .out = "ok 1", .trace = "wr ee=01 uart 0x01 delay 5 rd ee=00!-1",
     .log = "0:read cpld byte error. | 0:BSP: read switch cpld reg fail!"},
    {.name = "UartReadFails", .faults = {{Op::LocalBusRead}}, .call = BSP_CALL(BSP_ReadSwitchUartReg(g) | BSP_ReadSwitchUartReg(nullptr), 1),
     .out = "err ee | out:read switch uart reg fail. \r\n", .trace = "rd ee=00!-1", .log = "0:read cpld byte error."},
    // PCIe cores: enabling holds them off first, 1 ms; a failure while holding off stops there.
    // (A failed write of the enabling itself is the fault sweep's: it fails each one in turn.)
    {.name = "PcieEnable", .call = BSP_CALL(BSP_PCIeCoreOpt(1)), .trace = kPcieOff + " delay 1 " + kPcieOn},
    {.name = "PcieDisable", .call = BSP_CALL(BSP_PCIeCoreOpt(2)), .trace = kPcieOff},
    {.name = "PcieOtherOps", .call = BSP_CALL(BSP_PCIeCoreOpt(3) & BSP_PCIeCoreOpt(0)), .out = "err"},
    {.name = "PcieHoldFails", .faults = {write_fails(0xFF)}, .call = BSP_CALL(BSP_PCIeCoreOpt(1)), .out = "err",
     .trace = "wr ff&01=0!-1 wr ff&02=0 pcie partial", .log = "0:write add :ff  data: 0 cpld error."},
    {.name = "PcieDisableFails", .faults = {write_fails(0xFF, 1)}, .call = BSP_CALL(BSP_PCIeCoreOpt(2)), .out = "err",
     .trace = "wr ff&01=0 pcie partial wr ff&02=0!-1", .log = "0:write add :ff  data: 0 cpld error."},
    // The PCIe/SAS model byte: valid 1 to 253; unchanged or invalid models are not written.
    {.name = "ModelValidity", .call = [](B &) {
         std::string v;
         for (int m : {0, 1, 2, 252, 253, 254, 255}) v += std::to_string(BSP_bPcieorsasModelValid(static_cast<uint8_t>(m)));
         return v; }, .out = "0111100"},
    {.name = "ModelGet", .setup = [](B &b) { b.set_ram(0xD90F, 0xFD); }, .call = BSP_CALL(BSP_GetPcieSasModelFromCpld(g), 1),
     .out = "ok fd", .trace = kModelRead + "fd" + kV},
    {.name = "ModelGetInvalid", .setup = [](B &b) { b.set_ram(0xD90F, 0xFE); }, .call = BSP_CALL(BSP_GetPcieSasModelFromCpld(g), 1),
     .out = "err ee", .trace = kModelRead + "fe" + kV},
    {.name = "ModelGetReadFails", .faults = {{Op::LocalBusRead}}, .setup = [](B &b) { b.set_ram(0xD90F, 7); },
     .call = BSP_CALL(BSP_GetPcieSasModelFromCpld(g) | BSP_GetPcieSasModelFromCpld(nullptr), 1), .out = "err ee",
     .trace = kModelRead + "00!-1" + kV, .log = "0:read cpld byte error. | 0:BSP_GetCpldRam: error at (line:SAME)"},
    {.name = "ModelSet", .setup = [](B &b) { b.set_ram(0xD90F, 5); }, .call = set_model<6>, .out = "0x6",
     .trace = kModelRead + "05" + kV + " P29 wr ba=0f wr bb=19 wr bc=06" + kV, .log = "1:Set pciesas model 0x6 to cpldram 0xd90f"},
    {.name = "ModelSetUnchanged", .setup = [](B &b) { b.set_ram(0xD90F, 5); }, .call = set_model<5>, .out = "0x5",
     .trace = kModelRead + "05" + kV},
    {.name = "ModelSetInvalid", .setup = [](B &b) { b.set_ram(0xD90F, 0xFE); }, .call = set_model<0xFE>, .out = "0xFE",
     .trace = kModelRead + "fe" + kV},
    // SSD online bits: a board type that cannot be read (a board id without one) touches nothing.
    {.name = "SsdGateClosed", .board = 0x50,
     .call = BSP_CALL(BSP_GetSSDOnlineStates(9, g) | BSP_SetSSDOnlineStates(9, 1), 1), .out = "err ee",
     .log = bsptest::times(2, kNoSlotType, " | ")},
};

BSP_CASES(Misc, Service, kServices);

// The SSD bits on each kind of enclosure: the read side differs, the write side is always the
// BMC's record.
struct SsdCase { const char *name, *profile, *get, *set; };
const SsdCase kSsds[] = {
    {"Smm", "smm", "rd 251&02=1 rd 250&01=0", "wr 1b5&02=1 wr 1b4&01=0"},
    {"TwoControllers", "default", "rd 251&02=1 rd 250&01=0", "wr 1b5&02=1 wr 1b4&01=0"},
    {"FourControllers", "4u4c", "srd 1b5=00 srd 1b4=03", "dfl_chip_bytewrite cpld1@1b5&02=01 dfl_chip_bytewrite cpld1@1b4&01=00"},
};
class Ssd : public bsptest::SimTestWithParam<SsdCase> {
    std::string profile() const override { return GetParam().profile; }
};
TEST_P(Ssd, ReadAndWriteSides)
{
    uint32_t type = 0;
    ASSERT_EQ(BSP_GetBmcBoardType(&type), 0u);
    bspsim::set_ssd_present(sim(), 9, true);
    bspsim::set_ssd_present(sim(), 0, false);
    bspsim::set_ssd_recorded(sim(), 0, true);
    forget();
    uint8_t nine = 0xEE, zero = 0xEE;
    EXPECT_EQ(BSP_GetSSDOnlineStates(9, &nine) | BSP_GetSSDOnlineStates(0, &zero), 0);
    EXPECT_EQ(tr({Op::LocalBusRead, Op::SpiRead}), GetParam().get);
    EXPECT_EQ(nine + zero, 1);
    forget();
    EXPECT_EQ(BSP_SetSSDOnlineStates(9, 1) | BSP_SetSSDOnlineStates(0, 0), 0);
    EXPECT_EQ(tr({Op::LocalBusWrite, Op::SpiWrite, Op::DflChipByteWrite}), GetParam().set);
    EXPECT_TRUE(bspsim::ssd_recorded(sim(), 9) && !bspsim::ssd_recorded(sim(), 0) && !bspsim::ssd_present(sim(), 0));
    sim().fail(Op::LocalBusRead);
    sim().fail(Op::SpiRead, 5);
    EXPECT_EQ(BSP_GetSSDOnlineStates(9, &nine), -1);
}
BSP_CASES(Misc, Ssd, kSsds);

// Shell commands. Each run appends a line to a counter file; the command fails until the file
// has `succeed_at` lines (0: never), with exit code 3.
struct CommandCase { const char *name; int succeed_at; int32_t result; int runs; const char *log; };
const CommandCase kCommands[] = {
    {"FirstRun", 1, 0, 1, "2:Execute command(CMD) success."},
    {"SecondRun", 2, 0, 2, "2:Execute command(CMD) success."},
    {"NeverThreeRuns", 0, 3 << 8, 3, "2:Execute command(CMD) failed, errcode(768)."},
};
using Command = bsptest::SimTestWithParam<CommandCase>;
TEST_P(Command, RetriedUpToThreeTimes)
{
    const std::string count = sim().dir() + "/runs", n = std::to_string(GetParam().succeed_at);
    const std::string cmd = "echo >> " + count + "; test " + n + " -ne 0 && test $(wc -l < " + count + ") -ge " + n + " || exit 3";
    EXPECT_EQ(BSP_Vos_System(cmd.c_str()), GetParam().result);
    EXPECT_EQ(bsptest::read_file(count), std::string(GetParam().runs, '\n'));
    EXPECT_EQ(log_line(), std::regex_replace(GetParam().log, std::regex("CMD"), cmd));
}
BSP_CASES(Misc, Command, kCommands);

void on_child(int) {}

// A host that ignores SIGCHLD loses its children's status to plain system(); the runner does
// not, and gives the host its disposition back.
using Services = bsptest::SimTest;
TEST_F(Services, CommandStatusWhileSigchldIgnoredOrHandled)
{
    for (sighandler_t host : {SIG_IGN, &on_child}) {
        signal(SIGCHLD, host);
        if (host == SIG_IGN) {
            EXPECT_EQ(std::system("exit 5"), -1) << "the premise: system() loses the status";
        }
        EXPECT_EQ(BSP_System("exit 5"), 5 << 8);
        EXPECT_EQ(signal(SIGCHLD, SIG_DFL), host);
    }
    EXPECT_EQ(log_line(), "");
}

TEST_F(Services, IpmiMessageData)
{
    IpmiMsg msg{};
    uint8_t *data = nullptr;
    EXPECT_EQ(BSP_CheckIpmiMsgValid(nullptr, &data) + BSP_CheckIpmiMsgValid(&msg, nullptr), 510u);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(BSP_CheckIpmiMsgValid(&msg, &data), 0u);
    EXPECT_EQ(data, reinterpret_cast<uint8_t *>(&msg) + 112);
    EXPECT_EQ(log_line(), "0:Ipmi msg data is null.");
}

}  // namespace
