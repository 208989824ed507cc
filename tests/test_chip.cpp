// Chips and clocks: identification from the straps, the clock-status latches, the backplane
// EEPROM count, and chips reached through the object framework.
#include <bit>
#include <sstream>
#include <string>
#include <vector>

#include "bspsim/clocks.hpp"
#include "bspsim/enclosure_records.hpp"
#include "bspsim/straps.hpp"
#include "test_helpers.h"

namespace {

using bspsim::Op, bsptest::PrintTo;
using bsptest::CallCase, bsptest::calls, bsptest::res, bsptest::times;
using B = bspsim::Board;
uint8_t *const g = bsptest::g_out;
uint32_t u(int32_t status) { return static_cast<uint32_t>(status); }  // for calls()
std::string hex(unsigned v) { return (std::ostringstream() << std::hex << v).str(); }

// This build runs only on 5830 boards. The library asks BSP_Is5830Board through its exported
// name, so this definition stands in for it and lets a case play another board.
bool g_other_board = false;
}  // namespace
extern "C" uint32_t BSP_Is5830Board(void) { return g_other_board ? 0 : 1; }
namespace {

// ------------------------------------------------------------------- strap identification

char g_name[24];
// Identifies class `c` twice (the second answer comes from the cache), then names it.
std::string named(uint8_t c)
{
    const uint32_t first = BSP_IndentifyChipType(c, g), again = BSP_IndentifyChipType(c, g + 1);
    return std::fill(std::begin(g_name), std::end(g_name) - 1, '#'), calls({first, again, BSP_GetChipTypeStr(c, sizeof g_name, g_name)}, 2) + " " + g_name;
}
#define NAMED(c) [](B &) { return named(c); }
template <uint8_t V, bool Other = true>
void straps(B &b) { g_other_board = Other, bspsim::straps(b).set(V); }

// The straps `v` read on the first `count` pins from 129, `rows` times; fails(): three failed
// reads of one pin; match(): the log line of a match on four pins or on three.
std::string pins(unsigned v, int rows, int count = 4)
{
    std::string one;
    for (int k = 0; k < count; ++k) one += " gi " + std::to_string(129 + k) + "=in gr " + std::to_string(129 + k) + "=" + std::to_string(v >> k & 1);
    return times(rows, one.substr(1));
}
std::string fails(int pin) { return times(3, "gi " + std::to_string(pin) + "=in gr " + std::to_string(pin) + "=0!-1"); }
std::string match(unsigned v, bool four = false) { return std::string("1:BSP:read the chip type gpio(") + (four ? "132" : "131") + ":131:130:129) is 0x" + hex(v) + ", chipIdentCode=0x" + hex(v); }
std::string analy(int c) { return "0:BSP: analy the chip type fail(chipClass is 0x" + hex(c) + ")."; }
const std::string kParity7 = times(11, "0:BSP:check the gpio(0x7) fail", " | ") + " | " + analy(1);
const uint8_t kPins[4] = {129, 130, 131, 132};

class Chip : public bsptest::CallTest {};
TEST_P(Chip, ShowsWhatItDid)
{
    EXPECT_EQ(GetParam().call(sim()), GetParam().out);
    EXPECT_EQ(tr({Op::GpioInit, Op::GpioRead}), GetParam().trace);
    EXPECT_EQ(log_line(), GetParam().log);
}

const CallCase kIdentify[] = {
    // Four pins with even parity; rows 0 to 3 read the straps and miss, row 4 matches.
    {.name = "ParityStrapsGiveVantacore", .setup = straps<0x06>, .call = NAMED(1), .out = "1 1 ok 05 05 Vantacore", .trace = pins(6, 5), .log = match(6, true)},
    {.name = "OddParityIsInvalidClock", .setup = straps<0x07>, .call = NAMED(1), .out = "ok ok ok ff ff InvalidClockType",
     .trace = pins(7, 33), .log = times(3, kParity7, " | ")},
    // A 5830 board reads three pins: 0x9 reads 1 there, and its third pin is printed twice.
    {.name = "Board5830ReadsThreePins", .setup = straps<0x09, false>, .call = NAMED(1), .out = "1 1 ok 04 04 Au5310", .trace = pins(9, 1, 3), .log = match(1)},
    {.name = "LatticeCpld", .setup = straps<0x0C>, .call = NAMED(2), .out = "1 1 ok 01 01 Lattice", .trace = pins(0xC, 7), .log = match(0xC, true)},
    // No strap value names a regulator: identification fails every time, the name stays.
    {.name = "RegulatorIsAlwaysVrd", .call = NAMED(3), .out = "ok ok ok ff ff Vrd", .trace = pins(3, 3, 3), .log = times(3, analy(3), " | ")},
    // Classes without rows leave the name alone; above 5 they touch nothing.
    {.name = "ClassesWithoutRows", .call = [](B &) { return bsptest::joined({calls({BSP_IndentifyChipType(0, g), BSP_IndentifyChipType(5, g)}), named(4), named(6)}, " "); },
     .out = "ok ok ok ok ok ff ff ####################### ok ok ok ff ff #######################", .log = analy(0) + " | " + analy(5) + " | " + times(3, analy(4), " | ")},
    // Every row's reads of pin 129 fail: nothing is cached, and the next call identifies.
    {.name = "FailureIsRetried", .faults = {{Op::GpioRead, 27, -1, 129}}, .call = NAMED(2), .out = "ok 1 ok ff 01 Lattice",
     .trace = times(9, fails(129)) + " " + pins(3, 5, 3),
     .log = [] { std::string l; for (unsigned c : {0, 5, 6, 9, 3, 0xa, 0xc, 0xf, 0xff}) l += "0:BSP:read the chip type gpio(129) fail.(GpioVal is 0x0, should be ChipIdentCode=0x" + hex(c) + ") | "; return l; }() + analy(2) + " | " + match(3)},
    // A try needs both the init and the read; the third failure of a pin gives up the row.
    {.name = "PinTriesThreeTimes", .faults = {{Op::GpioInit, 1, -1, 129}, {Op::GpioRead, 1, -1, 130}, {Op::GpioRead, 3, -1, 131, 1}},
     .call = BSP_CALLS(BSP_JudgeChipType(3, kPins), BSP_JudgeChipType(3, kPins), BSP_JudgeChipType(3, nullptr)), .out = "1 ok ok",
     .trace = "gi 129=in!-1 gr 129=1 gi 129=in gr 129=1 gi 130=in gr 130=0!-1 gi 130=in gr 130=1 gi 131=in gr 131=0 " + pins(3, 1, 2) + " " + fails(131),
     .log = match(3) + " | 0:BSP:read the chip type gpio(131) fail.(GpioVal is 0x3, should be ChipIdentCode=0x3) | 0:typeGpio is null for getting chip type"},
    {.name = "NameThatDoesNotFit", .call = [](B &) { return calls({BSP_GetChipTypeStr(1, 16, g_name), BSP_GetChipTypeStr(1, 0, nullptr)}) + " " + g_name; },
     .out = "ok ok ", .trace = pins(3, 9, 3),
     .log = match(3) + " | 0:Error: copy chip desc string failed, result = 34. | 0:BSP: Input typestr pointer is null"},
    {.name = "GpioValue", .faults = {{Op::GpioRead, 3, -1, 132, 1}}, .setup = straps<0x0B, false>,
     .call = [](B &) { return calls({u(BSP_GetChipTypeGpioVal(g)), u(BSP_GetChipTypeGpioVal(g + 1)), u(BSP_GetChipTypeGpioVal(nullptr))}, 2); },
     .out = "ok err err 0b ee", .trace = pins(0xB, 1) + " " + pins(0xB, 1, 3) + " " + fails(132),
     .log = "0:BSP:read the chip type gpio(132) fail. GpioVal is 0x3 | 0:BSP: Input ChipGpioVal pointer is null"},
};
BSP_CASES(Identify, Chip, kIdentify);

// Other components show the exported table's names: its rows are part of the interface.
TEST(ChipTable, RowForRow)
{
    std::string rows;
    for (const ChipIdentifyCfg &r : g_ChipIdentifyCfgTbl) rows += hex(r.chipClass) + "/" + hex(r.chipType) + "/" + hex(r.identCode) + (std::vector<uint8_t>(r.strapPins, r.strapPins + 4) == std::vector<uint8_t>{129, 130, 131, 132} ? " " : "? ") + r.desc + ", ";
    EXPECT_EQ(rows, "1/4/1 Au5310, 1/1/2 Si5345, 1/3/9 Si5332, 1/3/a Si5332, 1/5/6 Vantacore, 1/5/c Vantacore, 1/2/0 Au5315, 1/2/f Au5315, 1/0/3 Clock oscillator, "
                    "1/0/5 Clock oscillator, 1/ff/ff InvalidClockType, 2/0/0 Anlu, 2/0/5 Anlu, 2/0/6 Anlu, 2/0/9 Anlu, 2/1/3 Lattice, 2/1/a Lattice, 2/1/c Lattice, 2/1/f Lattice, 2/ff/ff InvalidCpldType, 3/ff/ff Vrd, ");
}

// ------------------------------------------------------------------------------ clocks

class Clock : public bsptest::CallTest {};
TEST_P(Clock, ShowsWhatItDid) { run(); }

auto clk(B &b) { return bspsim::clocks(b); }
const std::string kRun = "srd 48=fd srd 49=0c", kLost = "srd 48=fc srd 49=0c";
const CallCase kClocks[] = {
    // Each abnormal row logs once; reading normal in between starts a new episode.
    {.name = "LatchedOncePerEpisode", .profile = "4u4c",
     .call = [](B &b) { const uint32_t ok = BSP_GetClockStatus(), lost = (clk(b).lose(0x48, 0), BSP_GetClockStatus()), still = BSP_GetClockStatus();
         return calls({ok, lost, still, (clk(b).restore(0x48, 0), BSP_GetClockStatus()), (clk(b).lose(0x48, 0), BSP_GetClockStatus())}); },
     .out = "ok 1 1 ok 1", .trace = bsptest::joined({kRun, kLost, kLost, kRun, kLost}, " "),
     .log = times(2, "1:Clock status check, cpld addr (0x48) value(252)", " | ")},
    // An unread register keeps the previous row's masked byte: 0x75 has 0x49's clock bit.
    {.name = "UnreadRegisterCarriesTheByte", .board = 0x22, .faults = {{Op::LocalBusRead, 1, -1, 0x49}},
     .setup = [](B &b) { clk(b).lose(0x48, 1); }, .call = BSP_CALLS(BSP_GetClockStatus()), .out = "1",
     .trace = "rd 48=75 rd 49=00!-1", .log = "1:Clock status check, cpld addr (0x48) value(117) | 0:read cpld byte error."},
    {.name = "BoardWithoutClockBits", .profile = "x86-2u", .call = BSP_CALLS(BSP_GetClockStatus(), BSP_Is5830Chip()), .out = "ok 1"},
};
BSP_CASES(Status, Clock, kClocks);

// Every board's clocks (id, clock bits of 0x48 and 0x49): the simulator renders them, all
// running read in order, and each clock lost alone reads abnormal.
class EveryBoard : public bsptest::SimTestWithParam<uint32_t> {};
TEST_P(EveryBoard, LosesEachClock)
{
    known_board(static_cast<int>(GetParam() >> 16));
    std::string seen = std::to_string(BSP_GetClockStatus()), want = "0";
    for (uint32_t reg : {0x48, 0x49}) {
        const uint8_t bits = static_cast<uint8_t>(GetParam() >> (0x49 - reg) * 8);
        seen += " " + hex(clk(sim()).clock_bits(reg)) + ":", want += " " + hex(bits) + ":" + std::string(std::popcount(bits), '1');
        for (uint32_t bit = 0; bit < 8; ++bit) {
            if (clk(sim()).clock_bits(reg) >> bit & 1) seen += std::to_string((clk(sim()).lose(reg, bit), BSP_GetClockStatus())), clk(sim()).restore(reg, bit);
        }
    }
    EXPECT_EQ(seen, want);
}
INSTANTIATE_TEST_SUITE_P(Boards, EveryBoard, ::testing::Values(0x0AFF07, 0x03FF01, 0x00FF01, 0x057700, 0x06FF00, 0x09FF00, 0x12FF01, 0x14FF01, 0x11FF07, 0x71FD0C,
                                                               0x227701, 0x24FF00, 0x27FF00, 0x1DFF01, 0x2E1E01, 0x331E01, 0x35FE01, 0x991701, 0x951701, 0x2D0000), [](const auto &i) { return "Board" + hex(i.param >> 16); });

using ChipTest = bsptest::SimTest;
TEST_F(ChipTest, UnknownBoardHasNoClockFault)
{
    sim().fail(Op::DevOpen, 1);
    EXPECT_EQ(bsptest::joined({std::to_string(BSP_GetClockStatus()), tr({Op::LocalBusRead}), log_line()}, "/"), "0//0:Error: open sys_info dev fail | 0:Get BMC board id failed(-1)");
}

// ------------------------------------------------------------------ backplane EEPROMs

// Frame type (-1: unreadable) * 10 + EEPROM count.
class Eeproms : public bsptest::SimTestWithParam<int> {};
TEST_P(Eeproms, ByFrameType)
{
    if (GetParam() < 0) sim().fail(Op::LocalBusRead, 1, -1, 0x66);
    else bspsim::set_frame_word(sim(), static_cast<uint16_t>(GetParam() / 10));
    EXPECT_EQ(BSP_GetBpEepromCount(), GetParam() < 0 ? 1 : GetParam() % 10);
}
INSTANTIATE_TEST_SUITE_P(Frames, Eeproms, ::testing::Values(91, 141, 161, 181, 401, 501, 172, 122, -1), [](const auto &i) { return i.param < 0 ? std::string("Unreadable") : "Frame" + std::to_string(i.param / 10); });

// ------------------------------------------------------------------ chips by framework

class ByFramework : public bsptest::CallTest {};
TEST_P(ByFramework, ShowsWhatItDid)
{
    EXPECT_EQ(GetParam().call(sim()), GetParam().out);
    EXPECT_EQ(tr({Op::DflGetHw, Op::DflSetProp, Op::DflBlockRead, Op::DflBlockWrite, Op::Delay}), GetParam().trace);
    EXPECT_EQ(log_line(), GetParam().log);
    // The expander is read from the hardware itself and written through to it.
    for (const bspsim::Event &e : sim().events()) EXPECT_EQ(e.b, e.op == Op::DflGetHw ? 64u : e.op == Op::DflSetProp ? 16u : e.b);
}

OBJ_HANDLE h(B &b, const char *name) { return b.handle_of(name); }
const uint8_t kBytes[2] = {0xA5, 0x5A};
const std::string kHw = "dfl_get_hw Exp9555.Input0", kRd = "dfl_block_read BoardEeprom.Data@16+2", kWr = "dfl_block_write BoardEeprom.Data@0+2";

const CallCase kFramework[] = {
    // Ten tries 200 ms apart; the last code stands and the byte is left alone.
    {.name = "ExpanderRead", .faults = {{Op::DflGetHw, 19, 1}},
     .call = [](B &b) { return calls({u(BSP_GetInfoFrom9555(h(b, "Exp9555"), "Input0", g)), u(BSP_GetInfoFrom9555(h(b, "Exp9555"), "Input0", g)),
                                      u(BSP_GetInfoFrom9555(0, nullptr, g)), u(BSP_GetInfoFrom9555(0, "Input0", nullptr))}, 1); },
     .out = "1 ok err err f7", .trace = times(19, kHw + "!1 delay 200") + " " + kHw, .log = "0:input para is null. | 0:input para is null."},
    // A written byte shows on the next hardware read.
    {.name = "ExpanderWrite", .faults = {{Op::DflSetProp, 11, -5}},
     .call = [](B &b) { const OBJ_HANDLE e = h(b, "Exp9555"); return calls({u(BSP_SetInfoTo9555(e, "Output1", 0x3C)), u(BSP_SetInfoTo9555(e, "Output1", 0xC3)), u(BSP_SetInfoTo9555(e, nullptr, 1)), u(BSP_GetInfoFrom9555(e, "Output1", g))}, 1); },
     .out = "-5 ok err ok c3", .trace = times(11, "dfl_set_prop Exp9555.Output1!-5 delay 200") + " dfl_set_prop Exp9555.Output1 dfl_get_hw Exp9555.Output1",
     .log = "0:input para is null."},
    {.name = "ExpanderValueNotAByte", .setup = [](B &b) { b.set_hardware_value("Exp9555", "Input1", "uint16 7"); },
     .call = [](B &b) { return res(BSP_GetInfoFrom9555(h(b, "Exp9555"), "Input1", g), 1); }, .out = "err ee", .trace = "dfl_get_hw Exp9555.Input1",
     .log = "0:property Input1 of the 9555 is not a byte."},
    // Three tries, 100 ms after a failure and 1 ms after success; the third failure is logged.
    {.name = "ChipReadAndWrite", .faults = {{Op::DflBlockRead, 5, -7}, {Op::DflBlockWrite, 2}, {Op::DflBlockWrite, 3, -2, bspsim::kAnyKey, 1}},
     .setup = [](B &b) { b.set_block("BoardEeprom", "Data", std::vector<uint8_t>(18, 0x11)); },
     .call = [](B &b) { const OBJ_HANDLE e = h(b, "BoardEeprom"); return calls({u(BSP_ReadChip(e, "Data", 16, 2, g)), u(BSP_ReadChip(e, "Data", 16, 2, g)),
                       u(BSP_WriteChip(e, "Data", 0, 2, kBytes)), u(BSP_ReadChip(e, "Data", 0, 2, g)), u(BSP_WriteChip(e, "Data", 0, 2, kBytes))}, 2); },
     .out = "-7 ok ok ok -2 a5 5a",
     .trace = times(5, kRd + "!-7 delay 100") + " " + kRd + " delay 1 " + times(2, kWr + "!-1 delay 100") + " " + kWr +
              " delay 1 dfl_block_read BoardEeprom.Data@0+2 delay 1 " + times(3, kWr + "!-2 delay 100"),
     .log = "0:Read chip failed. Addr(0x10). Ret(-7). | 0:Write chip failed. Addr(0x0). Ret(-2)."},
};
BSP_CASES(Chips, ByFramework, kFramework);

// Each step's failure returns its own code and leaves the chip alone; the accessor's name gets a
// 32-byte buffer (a 31-character name is found, a 32-character one is not).
TEST_F(ChipTest, AccessChipHandleStepByStep)
{
    const OBJ_HANDLE fru = sim().handle_of("BoardFru");
    sim().set_accessor("BoardFru", "Fits", std::string(31, 'a')), sim().set_accessor("BoardFru", "TooLong", std::string(32, 'a'));
    OBJ_HANDLE chip = 7;
    std::string codes;
    for (auto [step, code] : {std::pair{Op::DflGetAccessor, -20}, {Op::DflGetHandle, -21}, {Op::DflGetRef, -22}}) {
        sim().fail(step, 1, code);
        codes += bsptest::joined({res(u(BSP_GetAccessChipHandle(fru, "Data", &chip))), std::to_string(chip)}, " ") + ", ";
    }
    codes += calls({u(BSP_GetAccessChipHandle(fru, "Fits", &chip)), u(BSP_GetAccessChipHandle(fru, "TooLong", &chip)), u(BSP_GetAccessChipHandle(fru, nullptr, &chip)), u(BSP_GetAccessChipHandle(fru, "Data", nullptr))});
    EXPECT_EQ(codes, "-20 7, -21 7, -22 7, -2 -3 err err");
    EXPECT_EQ(log_line(), "0:input para is null. | 0:input para is null.");
    forget();
    EXPECT_EQ(bsptest::joined({res(u(BSP_GetAccessChipHandle(fru, "Data", &chip))), std::to_string(chip)}, " "), "ok " + std::to_string(sim().handle_of("BoardEeprom")));
    EXPECT_EQ(tr(), "dfl_get_accessor BoardFru.Data dfl_get_handle BoardFruAccessor dfl_get_ref BoardFruAccessor.Chip");
}

}  // namespace
