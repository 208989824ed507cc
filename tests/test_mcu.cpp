// Fan-board MCU: command blocks with their PEC against the simulated MCU, the SMM's MCU mode,
// the ear bit and the cooling state from the fan objects.
#include <dlfcn.h>
#include <glib.h>

#include <string>
#include <vector>

#include "bspsim/fan_mcu.hpp"
#include "bspsim/fans.hpp"
#include "platform/dfl.h"
#include "platform/vos.h"
#include "test_helpers.h"

namespace {

using bspsim::Op, bsptest::PrintTo, bsptest::res, bsptest::times;
using B = bspsim::Board;
using Bytes = std::vector<uint8_t>;
uint8_t *const g = bsptest::g_out;

// The allocation that fails, counted from the next one; -1: none. The library allocates through
// its exported name, so this definition stands in for GLib's.
int g_failing_alloc = -1;
}  // namespace
extern "C" gpointer g_try_malloc0(gsize size)
{
    static auto real = reinterpret_cast<gpointer (*)(gsize)>(dlsym(RTLD_NEXT, "g_try_malloc0"));
    if (g_failing_alloc >= 0 && g_failing_alloc-- == 0) return nullptr;
    return real(size);
}
namespace {

struct Mcu : bsptest::SimTest {
    OBJ_HANDLE h = 0;
    void SetUp() override
    {
        SimTest::SetUp();
        h = sim().handle_of(bspsim::FanMcu().object());
        known_board();
    }
    int32_t get(uint8_t cmd, uint32_t len, uint8_t *out = g, const char *name = "McuBlock")
    {
        return BSP_GetDataFromMCU(h, name, cmd, out, len);
    }
    int32_t set(uint8_t cmd, const Bytes &data, const char *name = "McuBlock")
    {
        return BSP_SetDataToMCU(h, name, cmd, data.data(), static_cast<uint32_t>(data.size()));
    }
    std::string dfl() const { return tr({Op::DflBlockRead, Op::DflBlockWrite, Op::Delay, Op::Change}); }
};

// A block the MCU model does not serve keeps the bytes as sent: the frames' bytes and PECs,
// computed here with the simulator's own CRC-8.
TEST_F(Mcu, FramesCarryThePecOfTheWholeTransaction)
{
    sim().set_block("FanBoardMcu", "Raw", Bytes(16));
    EXPECT_EQ(set(2, {0xA1, 0xB2}, "Raw"), 0);
    EXPECT_EQ(BSP_SetDataToMCU(h, "Raw", 6, nullptr, 0), 0) << "the PEC byte alone";
    const uint8_t pec2 = bspsim::smbus_pec({0x26, 2, 0xA1, 0xB2}), pec6 = bspsim::smbus_pec({0x26, 6});
    EXPECT_EQ(sim().block("FanBoardMcu", "Raw"), (Bytes{0, 0, 0xA1, 0xB2, pec2, 0, pec6, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    const uint8_t good = bspsim::smbus_pec({0x26, 9, 0x27, 0x5A, 0x5B});
    sim().set_block("FanBoardMcu", "Raw", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0x5A, 0x5B, good, 0, 0x5A, 0x5B, good});
    std::fill_n(g, 4, 0xEE);
    EXPECT_EQ(bsptest::calls({static_cast<uint32_t>(get(9, 2, g, "Raw")), static_cast<uint32_t>(get(13, 2, g + 2, "Raw"))}, 4),
              "ok 3 5a 5b ee ee") << "a mismatch leaves the caller's buffer";
    EXPECT_EQ(dfl(), "dfl_block_write FanBoardMcu.Raw@2+3 delay 100 dfl_block_write FanBoardMcu.Raw@6+1 delay 100 "
                     "dfl_block_read FanBoardMcu.Raw@9+3 delay 100 dfl_block_read FanBoardMcu.Raw@13+3 delay 100");
    EXPECT_EQ(log_line(), "");
}

TEST_F(Mcu, TalksToTheMcu)
{
    bspsim::FanMcu m;
    EXPECT_EQ(res(static_cast<uint32_t>(get(1, 4)), 4), "ok 01 03 00 0c");
    EXPECT_EQ(set(0x10, {0x40, 0x41}), 0);
    EXPECT_EQ(m.data(0x10), (Bytes{0x40, 0x41, 20, 20}));
    EXPECT_EQ(set(0x01, {9}), -1) << "read-only";
    // The MCU checks what it is sent.
    const uint8_t bad[] = {0x55, static_cast<uint8_t>(bspsim::smbus_pec({0x26, 0x10, 0x55}) ^ 1)};
    EXPECT_EQ(log_line(), "0:Send message to mcu failed. Ret(-4), Cmd(0x1)");
    forget();
    EXPECT_EQ(dfl_block_write(h, "McuBlock", 0x10, 2, bad), bspsim::kDflBadValue);
    EXPECT_EQ(tr(), "dfl_block_write FanBoardMcu.McuBlock@16+2!-4 mcu refused 10 bad-pec");
    m.bad_pec(1);
    EXPECT_EQ(bsptest::joined({std::to_string(get(1, 4)), std::to_string(get(1, 4)), std::to_string(m.refused_writes())}), "3, 0, 4");
    // An MCU taken out of the framework: its handle goes stale.
    m.set_present(false);
    EXPECT_EQ(bsptest::joined({std::to_string(get(1, 4)), std::to_string(set(0x30, {1})), bspsim::FanMcu().object()}), "2, -1, ");
    EXPECT_EQ(log_line(), "0:Communicate to mcu failed. Ret(-2), Cmd(0x1)");
}

// Lengths: reads 1..1024, writes 0..1026; refusals touch nothing.
TEST_F(Mcu, LengthBounds)
{
    Bytes big(1027);
    const std::string got = bsptest::joined({
        std::to_string(get(0x40, 0)), std::to_string(get(0x40, 1025)), std::to_string(get(0x40, 1, nullptr)),
        std::to_string(get(0x40, 1, g, nullptr)), std::to_string(BSP_SetDataToMCU(h, "McuBlock", 0x50, nullptr, 1)),
        std::to_string(BSP_SetDataToMCU(h, "McuBlock", 0x50, big.data(), 1027)), std::to_string(get(0x40, 1024, big.data())),
        std::to_string(BSP_SetDataToMCU(h, "McuBlock", 0x50, big.data(), 1026))});
    EXPECT_EQ(got, "4, 4, 4, 4, -1, -1, 0, 0");
    EXPECT_EQ(dfl(), "dfl_block_read FanBoardMcu.McuBlock@64+1025 delay 100 dfl_block_write FanBoardMcu.McuBlock@80+1027 delay 100");
    EXPECT_EQ(log_line(), times(4, "0:Input parameter error. Cmd(0x40)", " | ") + " | 0:Input parameter is null, Cmd(0x50) inputlen(1)." +
                              " | 0:Input data len is out of range. DataLen(1027), Cmd(0x50)");
}

// Three tries 200 ms apart, 100 ms of settling after a good one; a give-up is logged once per
// episode, reads and writes each on their own, and a success re-arms its own direction only.
TEST_F(Mcu, FailingLinkLogsOncePerEpisode)
{
    auto r = [&](uint32_t fails) { sim().fail(Op::DflBlockRead, fails); return std::to_string(get(0x30, 1)); };
    auto w = [&](uint32_t fails) { sim().fail(Op::DflBlockWrite, fails); return std::to_string(set(0x30, {1})); };
    EXPECT_EQ(bsptest::joined({r(3), w(3), r(3), w(3), w(0), r(3), w(3), r(0), r(3)}), "2, -1, 2, -1, 0, 2, -1, 0, 2");
    const std::string read = "0:Communicate to mcu failed. Ret(-1), Cmd(0x30)", write = "0:Send message to mcu failed. Ret(-1), Cmd(0x30)";
    EXPECT_EQ(log_line(), bsptest::joined({read, write, write, read}, " | "));
    const std::string rd = "dfl_block_read FanBoardMcu.McuBlock@48+2", wr = "dfl_block_write FanBoardMcu.McuBlock@48+2";
    const std::string r3 = times(3, rd + "!-1 delay 200"), w3 = times(3, wr + "!-1 delay 200");
    EXPECT_EQ(dfl(), bsptest::joined({r3, w3, r3, w3, wr, "delay 100", r3, w3, rd, "delay 100", r3}, " "));
}

// PEC lines: none in the first hour after start, then at most ten until an hour passes with no line.
TEST_F(Mcu, PecMismatchLogBudget)
{
    bspsim::FanMcu().bad_pec(100);
    auto burst = [&](int n) {
        forget();
        for (int i = 0; i < n; ++i) EXPECT_EQ(get(1, 4), 3);
        return log_line();
    };
    // Each check comes 100 ms after its read: the first eleven at ticks up to 3599901, the next
    // eleven from 3600001.
    vos_task_delay(static_cast<uint32_t>(3600000 - 1199 - sim().now_ms()));
    EXPECT_EQ(burst(11), "");
    const std::string got = burst(11), line = "0:Fanboard mcu data check failed! CRC=0x";
    EXPECT_EQ(std::count(got.begin(), got.end(), '|'), 9) << got;
    EXPECT_EQ(got.substr(0, line.size()), line);
    EXPECT_NE(got.find(", addr=0x26, cmd=1 | "), std::string::npos) << got;
    vos_task_delay(3600000 - 200);  // the next check comes an hour after the tenth line
    EXPECT_EQ(burst(1), "");
    EXPECT_EQ(burst(1).substr(0, line.size()), line);
}

// Each copy of a read (the header, the received bytes, the answer) and of a write.
TEST_F(Mcu, CopyAndAllocationFailures)
{
    std::string got;
    for (uint32_t skip : {0u, 1u, 2u}) {
        sim().fail(Op::MemcpyS, 1, -1, bspsim::kAnyKey, skip);
        got += std::to_string(get(1, 4)) + " ";
    }
    sim().fail(Op::MemcpyS);
    got += std::to_string(set(0x10, {1, 2, 3, 4}));
    got += bsptest::hex(bspsim::FanMcu().data(0x10)[0]);
    for (int nth : {0, 1}) {
        g_failing_alloc = nth;
        got += " " + std::to_string(get(1, 4));
    }
    g_failing_alloc = 0;
    got += " " + std::to_string(set(0x10, {1}));
    EXPECT_EQ(got, "3 3 0 00x0 4 3 -1");
    EXPECT_EQ(log_line(), times(2, "0:Error: copy rmbus data failed, result = -1.", " | ") +
                              " | 0:Error: copy respData failed, result = -1. | 0:Error: copy input failed, result = -1. | "
                              "0:Malloc mcu communication memory failed. Cmd(0x1) | 0:Malloc buffer failed. | "
                              "0: Malloc mcu communication memory failed. Cmd(0x10)");
}

// Factory mode on the SMM is its MCU mode (test_cpld: routed to the framework, no CPLD bit), and
// the simulated MCU's mode command shows the framework's byte both ways (bspctl's mcu cases).
using Call = bsptest::CallTest;
TEST_P(Call, ShowsWhatItDid) { run(); }
#define MODE BSP_CALL((BSP_GetSmmMcuMode(g), 0), 1)
const bsptest::CallCase kModes[] = {
    {.name = "SmmModeGetSet", .profile = "smm", .call = [](B &) { return bsptest::calls({static_cast<uint32_t>(BSP_SetSmmMcuMode(1)), (BSP_GetSmmMcuMode(g), 0u)}, 1); },
     .out = "ok ok 01", .log = "2:BmcInfo set property McuMode value 1 succeed. | 2:BmcInfo get property McuMode, value 1 succeed."},
    {.name = "ModeWithoutBmcInfo", .call = BSP_CALL(static_cast<uint32_t>(BSP_SetSmmMcuMode(1)) + (BSP_GetSmmMcuMode(g), 0), 1),
     .out = "-2 ee", .log = "0:Get objhandle failed(-2)"},
    {.name = "ModeReadFails", .profile = "smm", .faults = {{Op::DflGetProp, 1, -9}}, .call = MODE, .out = "ok ee",
     .log = "0:BmcInfo get property McuMode failed! result: -9. | 0:Get property value failed(-9)"},
    {.name = "ModeSetFails", .profile = "smm", .faults = {{Op::DflSetProp, 1, -9}}, .call = BSP_CALL(BSP_SetSmmMcuMode(1)),
     .out = "-9", .log = "0:BmcInfo set property McuMode value 1 failed! result: -9."},
    {.name = "ModeNull", .call = BSP_CALL((BSP_GetSmmMcuMode(nullptr), 0)), .log = "0:Input para is null"},
    {.name = "EarOnline", .regs = {{0x25, 0xFE}}, .call = [](B &) { return bsptest::calls({static_cast<uint32_t>(BSP_GetEarOnlineStates(nullptr)), static_cast<uint32_t>(BSP_GetEarOnlineStates(g))}, 1); },
     .out = "err ok 00",
     .trace = "rd 25&01=0"},
    // The line is filed under the miscellaneous services.
    {.name = "EarOnlineFails", .faults = {{Op::LocalBusRead}},
     .call = [](B &b) { const std::string r = res(BSP_GetEarOnlineStates(g), 1); return r + " " + b.logs().back().file; },
     .out = "err ee bmc_bsp_misc.cpp", .trace = "rd 25&01=0!-1", .log = "0:read cpld error. | 0:Get ear online state failed(-1)"},
};
BSP_CASES(Mcu, Call, kModes);

// The cooling state, the fans' method calls ("!CODE" a failed one), and every value released.
std::string cooling(B &b)
{
    const size_t live = bspsim::live_values();
    std::string out = res(static_cast<uint32_t>(BSP_GetBoardCoolingState(g)), 1);
    for (const auto &c : b.method_calls()) out += " " + c.object + "." + c.method + (c.result ? "!" + std::to_string(c.result) : "");
    return out + (bspsim::live_values() == live ? "" : " LEAKED");
}
auto fan(uint32_t n) { return bspsim::Fan(n); }
void all_at(uint8_t level) { for (uint32_t n = 0; n < bspsim::fan_count(); ++n) fan(n).set_level(level); }
const std::string kMode = "2:FanCtrlObj get property Mode, value 0 succeed.";
const std::string kAll24 = " Fan1.GetPst Fan1.GetFanInfo Fan2.GetPst Fan2.GetFanInfo Fan3.GetPst Fan3.GetFanInfo Fan4.GetPst Fan4.GetFanInfo";

const bsptest::CallCase kCooling[] = {
    {.name = "FirstFanBelowLevel24", .setup = [](B &) { all_at(24); fan(0).set_level(23); }, .call = cooling,
     .out = "ok 01 Fan1.GetPst Fan1.GetFanInfo", .log = kMode},
    {.name = "Level24IsNotRelied", .setup = [](B &) { all_at(24); }, .call = cooling, .out = "ok 00" + kAll24, .log = kMode},
    // Faults (output 4) and alarms (output 5) each rule a fan out.
    {.name = "FaultyFansAreSkipped",
     .setup = [](B &) { fan(0).set_faults(1); fan(1).set_alarms(1); fan(2).set_level(24); fan(3).set_level(23); },
     .call = cooling, .out = "ok 01" + kAll24, .log = kMode},
    {.name = "AbsentFan", .setup = [](B &) { all_at(24); fan(1).set_present(false); }, .call = cooling,
     .out = "ok 00 Fan1.GetPst Fan1.GetFanInfo Fan2.GetPst Fan3.GetPst Fan3.GetFanInfo Fan4.GetPst Fan4.GetFanInfo",
     .log = kMode + " | 1:The Fan2 is not present."},
    {.name = "FailingFansAreSkipped",
     .setup = [](B &b) { b.fail(Op::DflCallMethod, 1, -9, b.handle_of("Fan1")); b.fail(Op::DflCallMethod, 1, -8, b.handle_of("Fan2"), 1); },
     .call = cooling, .out = "ok 01 Fan1.GetPst!-9 Fan2.GetPst Fan2.GetFanInfo!-8 Fan3.GetPst Fan3.GetFanInfo",
     .log = kMode + " | 0:BMC get fan present failed(-9) | 0:BMC get fan info failed(-8)"},
    // Outputs that are missing or not bytes count as a failed call.
    {.name = "MalformedOutputs",
     .setup = [](B &b) {
         all_at(24);
         b.add_object("Fan9", "Fan");
         b.set_method("Fan9", "GetPst", "()");
         b.add_object("Fan10", "Fan");
         b.set_method("Fan10", "GetPst", "(byte 0x01,)");
         b.set_method("Fan10", "GetFanInfo", "(byte 0, uint16 5, byte 0, byte 0, byte 0, byte 0)");
     },
     .call = cooling, .out = "ok 00" + kAll24 + " Fan9.GetPst Fan10.GetPst Fan10.GetFanInfo",
     .log = kMode + " | 0:BMC get fan present failed(-1) | 0:BMC get fan info failed(-1)"},
    {.name = "ManualMode", .setup = [](B &) { bspsim::set_fans_manual(true); }, .call = cooling, .out = "ok 01",
     .log = "2:FanCtrlObj get property Mode, value 1 succeed. | 1:Fan work mode is Manu Mode"},
    {.name = "NoFanController", .profile = "exp-2u", .call = cooling, .out = "err 00", .log = "0:Get fan ctrl object handle failed."},
    {.name = "NoFans", .profile = "exp-2u",
     .setup = [](B &b) { b.add_object("FanCtrlObj", "FanCtrl"); b.set_property("FanCtrlObj", "Mode", "byte 0"); },
     .call = cooling, .out = "ok 00", .log = kMode},
    {.name = "ModeUnreadable", .faults = {{Op::DflGetProp, 1, -9}}, .call = cooling, .out = "err 00",
     .log = "0:FanCtrlObj get property Mode failed! result: -9. | 0:Get fan workmode failed."},
    {.name = "NoFanList", .faults = {{Op::DflGetList, 1, -11}}, .call = cooling, .out = "-11 00",
     .log = kMode + " | 0:BMC get fan list failed(-11)"},
    {.name = "NullState", .call = BSP_CALL(BSP_GetBoardCoolingState(nullptr)), .out = "err"},
};
BSP_CASES(Cooling, Call, kCooling);

}  // namespace
