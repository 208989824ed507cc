// Power: the supplies and the backup battery, and the power of this controller board.
#include <vector>

#include "bspsim/psu.hpp"
#include "test_helpers.h"

namespace {

using bspsim::Op, bsptest::PrintTo;

// ------------------------------------------------------------------ supplies and battery

using bsptest::CallCase, bsptest::calls, bsptest::res;
using B = bspsim::Board;
uint8_t *const g = bsptest::g_out;

// This build's BSP_IsManuVersion always answers 0. The library asks it through its exported
// name, so this definition stands in for it here and lets a case play a manufacturing build.
bool g_manu_build = false;
}  // namespace
extern "C" uint32_t BSP_IsManuVersion(void) { return g_manu_build ? 1 : 0; }
namespace {

using Psu = bsptest::CallTest;
TEST_P(Psu, ShowsWhatItDid) { run(); }

// What a flush to flash logs on a board without the platform's log files.
const std::string kFlush = " | 0:/var/log/zelm/app_debug_log is not exist. | 0:/var/log/zelm/dfm_debug_log is not exist. | "
                           "0:/var/log/zelm/linux_kernel_log is not exist. | 0:/var/log/zelm/operate_log is not exist.";
std::string change(const char *what, int psu, int from, int to)
{
    return "1:Power" + std::to_string(psu) + " " + what + " state change from " + std::to_string(from) + " to " +
           std::to_string(to) + "." + kFlush;
}
const std::string kReadFail = "0:read cpld byte error. | ";
// A supply losing power-ok, with the bytes of 0xDB and 0xDA (the higher register first).
std::string ok_change(int psu, const char *db, const char *da)
{
    return "1:Power" + std::to_string(psu) + " ok state change from 1 to 0, reg(0xdb) val(" + db + "), reg(0xda) val(" +
           da + ")" + kFlush;
}
#define POLLS(...) [](B &b) { (void)b; return calls({__VA_ARGS__}, 1); }
auto psu(int n) { return bspsim::Psu(static_cast<uint32_t>(n)); }

const CallCase kSupplies[] = {
    // First poll: presence starts at 0, so a present supply logs its change and flushes after
    // the log; ok and on start at 1 and log nothing; alarm starts at 0.
    {.name = "FirstPollOfAPresentSupply", .call = POLLS(BSP_GetPowerPresent(0, g)), .out = "ok 01",
     .trace = "rd d6=99 rd d7=66", .log = change("present", 0, 0, 1)},
    {.name = "FirstPollOfOkOnNoAlarm",
     .call = POLLS(BSP_GetPowerOkState(1, g), BSP_GetPowerOnState(1, g), BSP_GetPowerAlarmState(1, g)),
     .out = "ok ok ok 00", .trace = "rd da=99 rd db=66 rd d3=03 rd d8=99 rd d9=99"},
    // A glitch answers the last good state with -1 and leaves it; the next good code counts.
    {.name = "GlitchAnswersTheLastGoodPresence", .setup = [](B &) { psu(1).glitch(2); },
     .call = POLLS(BSP_GetPowerPresent(1, g), BSP_GetPowerPresent(1, g), BSP_IsPowerPresent(1)),
     .out = "err err 1 00", .trace = "rd d6=f9 rd d7=66 rd d6=f9 rd d7=66 rd d6=99 rd d7=66",
     .log = "1:Power1 present state invalid, pstVal = 0xf, return last power present state:0. | "
            "1:Power1 present state invalid, pstVal = 0xf, return last power present state:0. | " +
            change("present", 1, 0, 1)},
    {.name = "AlarmGlitchAndChange", .setup = [](B &) { psu(0).set_alarm(true).glitch(1); },
     .call = POLLS(BSP_GetPowerAlarmState(0, g), BSP_GetPowerAlarmState(0, g)), .out = "err ok 01",
     .trace = "rd d8=9f rd d9=99 rd d8=96 rd d9=99",
     .log = "0:Power0 alarm state invalid, alarmVal = 0xf, return last power alarm state:0. | " +
            change("alarm", 0, 0, 1)},
    // The power-ok change prints the higher register first (here one that could not be read).
    {.name = "OkGlitchAndChange", .faults = {{Op::LocalBusRead, 1, -1, 0xDB, 1}},
     .setup = [](B &) { psu(1).glitch(1); psu(0).set_ok(false); },
     .call = POLLS(BSP_GetPowerOkState(1, g), BSP_GetPowerOkState(0, g)), .out = "err ok 00",
     .trace = "rd da=f6 rd db=66 rd da=96 rd db=00!-1",
     .log = "0:Power1 ok state invalid, psVal = 0xf, return last power ok state:1. | " + kReadFail +
            ok_change(0, "0x0", "0x96")},
    // Unread bytes count as 0 (an invalid code); an unread on register reads as all off.
    {.name = "FailedReadsCountAsZero", .faults = {{Op::LocalBusRead, 2}},
     .call = POLLS(BSP_GetPowerPresent(0, g), BSP_GetPowerOnState(1, g)), .out = "err ok 01",
     .trace = "rd d6=00!-1 rd d7=00!-1 rd d3=03",
     .log = kReadFail + kReadFail + "1:Power0 present state invalid, pstVal = 0x0, return last power present state:0."},
    {.name = "OnStateChange", .faults = {{Op::LocalBusRead, 1, -1, 0xD3}},
     .call = POLLS(BSP_GetPowerOnState(0, g), BSP_GetPowerOnState(0, g)), .out = "ok ok 01",
     .trace = "rd d3=00!-1 rd d3=03", .log = kReadFail + change("onoff", 0, 1, 0) + " | " + change("onoff", 0, 0, 1)},
    {.name = "OutOfRangeTouchesNothing",
     .call = [](B &) {
         return calls({BSP_GetPowerAlarmState(2, g), BSP_GetPowerPresent(0, nullptr), BSP_GetPowerOkState(2, nullptr),
                       BSP_GetPowerOnState(2, g + 1), BSP_GetPowerOnState(0, nullptr), BSP_IsPowerSupply12V(2)}, 2);
     },
     .out = "err err err err err ok 00 00"},
    {.name = "FourSupplies", .profile = "4u4c", .setup = [](B &) { psu(3).set_present(false); },
     .call = POLLS(BSP_GetPowerNum(), BSP_GetPowerPresent(3, g), BSP_GetPowerPresent(4, g), BSP_GetPowerPresent(2, g),
                   BSP_GetPowerAlarmState(2, g), BSP_GetPowerAlarmState(3, g)),
     .out = "4 ok err ok ok ok 00", .trace = "srd d6=99 srd d7=69 srd d6=99 srd d7=69 srd d8=99 srd d9=99 srd d8=99 srd d9=99",
     .log = change("present", 2, 0, 1)},
    {.name = "RegBits", .call = POLLS(BSP_GetPowerRegBits(0, 0x12, 0x34), BSP_GetPowerRegBits(1, 0x12, 0x34),
                                      BSP_GetPowerRegBits(2, 0x12, 0x34), BSP_GetPowerRegBits(3, 0x12, 0x34),
                                      BSP_GetPowerRegBits(4, 0xFF, 0xFF)),
     .out = "2 1 4 3 ok ee"},
    // A factory test frame (the SMM's frame pins at 0) of a manufacturing build wires only
    // supply 0: the others read absent whatever their code, and the change is still logged.
    {.name = "FactoryFrameShowsOnlyTheFirstSupply", .profile = "smm",
     .setup = [](B &b) { for (uint32_t pin : {42, 43, 44}) b.set_pin(pin, 0); },
     .call = [](B &) {
         const uint32_t before = BSP_GetPowerPresent(1, g);
         g_manu_build = true;
         return calls({before, BSP_GetPowerPresent(1, g), BSP_IsPowerPresent(0), BSP_IsPowerPresent(1)}, 1);
     },
     .out = "ok ok 1 ok 00", .trace = bsptest::times(4, "rd d6=99 rd d7=66"),
     .log = change("present", 1, 0, 1) + " | " + change("present", 1, 1, 0) + " | " +
                                      change("present", 0, 0, 1)},
};
BSP_CASES(Supplies, Psu, kSupplies);

// Who feeds which board: only a 4U four-controller enclosure splits the supplies in pairs.
std::string feeds(B &)
{
    std::string out;
    for (uint8_t p = 0; p < 5; ++p)
        for (uint8_t board = 0; board < 5; ++board) out += std::to_string(BSP_IsPowerMatchBoard(p, board));
    return out;
}
std::string twelve_volts(B &)
{
    std::string out;
    for (uint8_t board = 0; board < 4; ++board) out += std::to_string(BSP_IsBoardOpenPower12VOK(board));
    return out;
}
std::string bbu_status(B &b)
{
    b.script(bspsim::Source::Register, 0xF3, {0x19, 0x19, 0x09, 0x16});
    return calls({BSP_CheckBBUStatus(0), BSP_CheckBBUStatus(0), BSP_CheckBBUStatus(0), BSP_CheckBBUStatus(0),
                  BSP_CheckBBUStatus(1), BSP_CheckBBUStatus(0)});
}
std::string bbu_presence(B &b)
{
    b.script(bspsim::Source::Register, 0xF2, {0x3F});
    const uint32_t glitch = BSP_GetReliabilityCpldBbuOnline(0, g), present = BSP_GetBbuOnlineStates(0, g + 1);
    const uint32_t failed = BSP_GetReliabilityCpldBbuOnline(0, g + 2);
    bspsim::set_bbu({.present = false});
    const uint32_t absent = BSP_GetReliabilityCpldBbuOnline(0, g + 3);
    return calls({glitch, present, failed, absent, BSP_GetReliabilityCpldBbuOnline(1, g + 4)}, 5);
}
#define BBU_REFUSED BSP_CALL(BSP_GetBbuOnlineStates(0, g) | BSP_GetBbuOnlineStates(1, g) | BSP_GetBbuOnlineStates(0, nullptr), 1)
// Supply 0 off and 1 not ok: board 0 tries every supply, board 1 stops at supply 2.
const std::string kBoard1 = "srd da=69 srd db=99 srd d3=0e srd da=69 srd db=99 srd da=69 srd db=99 srd d3=0e";
const std::string kBoard0 = kBoard1 + " srd da=69 srd db=99 srd d3=0e";
const std::string kBbuChange = "1:Bbu(0) status(cpld) change from 0x";

const CallCase kTwelveVolts[] = {
    {.name = "FeedsOn4U4C", .profile = "4u4c", .call = feeds, .out = "1010010100010100101000000"},
    {.name = "FeedsElsewhere", .call = feeds, .out = "1111111111111111111111111"},
    // Supply 0 is off and 1 not ok: the side of boards 0 and 2 has no 12 V.
    {.name = "OneSideWithout12V", .profile = "4u4c", .setup = [](B &) { psu(0).set_on(false); psu(1).set_ok(false); },
     .call = twelve_volts, .out = "0101",
     .trace = bsptest::times(2, kBoard0 + " " + kBoard1),
     .log = change("onoff", 0, 1, 0) + " | " + ok_change(1, "0x99", "0x69")},
    {.name = "TwoSupplyEnclosureNeedsAny", .setup = [](B &) { psu(0).set_present(false); }, .call = twelve_volts,
     .out = "1111", .trace = bsptest::times(4, "rd da=96 rd db=66 rd da=96 rd db=66 rd d3=02"),
     .log = ok_change(0, "0x66", "0x96")},
    // Battery: the sum of both statuses is kept, so a failed read of a glitching code is -2.
    {.name = "BbuPresence", .faults = {{Op::LocalBusRead, 1, -1, 0xF2, 2}}, .call = bbu_presence,
     .out = "err ok -2 ok err 00 01 01 00 00", .trace = "rd f2=3f rd f2=09 rd f2=00!-1 rd f2=06",
     .log = "0:read cpld byte error."},
    {.name = "BbuRefusedOnSmm", .profile = "smm", .call = BBU_REFUSED, .out = "err ee"},
    {.name = "BbuRefusedOnExpansion", .profile = "exp-2u", .call = BBU_REFUSED, .out = "err ee"},
    {.name = "BbuRefusedArguments", .call = BSP_CALL(BSP_GetBbuOnlineStates(1, g) | BSP_GetBbuOnlineStates(0, nullptr) |
                                                     BSP_GetReliabilityCpldBbuOnline(0, nullptr), 1), .out = "err ee"},
    {.name = "BbuStatus", .faults = {{Op::LocalBusRead, 1, -1, 0xF3, 4}}, .call = bbu_status,
     .out = "ok ok 2 3 3 3", .trace = "rd f3=19 rd f3=19 rd f3=09 rd f3=16 rd f3=00!-1",
     .log = kBbuChange + "0 to 0x19. | " + kBbuChange + "19 to 0x9. | " + kBbuChange + "9 to 0x16. | " + kReadFail + kBbuChange +
            "16 to 0x0."},
    // Without a board type (a board id that has none) nothing is read.
    {.name = "OnlineStatesNeedTheBoardType", .board = 0x50,
     .call = POLLS(BSP_GetPowerOnlineStates(0, g)), .out = "err ee",
     .log = "0:BSP: Board type is not be identified for getting slot | 0:BoardType error in matching BoardId(80)"},
    {.name = "OnlineStatesOnSmm", .profile = "smm",
     .call = POLLS(BSP_GetPowerOnlineStates(0, nullptr), BSP_GetPowerOnlineStates(1, g)), .out = "err ok 01",
     .trace = "rd d6=99 rd d7=66", .log = change("present", 1, 0, 1)},
};
BSP_CASES(Power, Psu, kTwelveVolts);

// A whole side (supplies 0 and 1, or 2 and 3) without power-ok: supply alarms are to be ignored.
// A glitching supply counts with its last good state.
struct AcDown : bsptest::SimTest {
    std::string profile() const override { return "4u4c"; }
};
TEST_F(AcDown, OnlyAWholeSideCounts)
{
    known_board();
    std::string got;
    for (unsigned not_ok : {0b0101u, 0b0011u, 0b1100u, 0b0110u, 0b1001u, 0u}) {
        for (int n = 0; n < 4; ++n) psu(n).set_ok(!(not_ok >> n & 1));
        got += std::to_string(BSP_IgnoreAlarmForACDown());
    }
    psu(0).set_ok(false).glitch(1);
    psu(1).set_ok(false);
    got += std::to_string(BSP_IgnoreAlarmForACDown());
    EXPECT_EQ(got + std::to_string(BSP_IgnoreAlarmForACDown()), "01100001");
}
TEST(AcDownElsewhere, NeverIgnores)
{
    auto b = bspsim::Board::create("default");
    psu(0).set_ok(false);
    psu(1).set_ok(false);
    EXPECT_EQ(BSP_IgnoreAlarmForACDown(), 0u);
    EXPECT_EQ(b->transcript({Op::LocalBusRead}), "");
}

// Firmware images: a 64-byte header whose CRCs cover bytes 28.. (at 20) and the payload 64..
// (at 32), both big-endian.
std::vector<uint8_t> fw_image(uint32_t len)
{
    std::vector<uint8_t> v(len);
    for (uint32_t i = 0; i < len; ++i) v[i] = static_cast<uint8_t>(i * 7 + 1);
    auto put = [&v](uint32_t at, uint32_t from) {
        const uint32_t crc = BSP_CalcCrc32(v.data() + from, static_cast<uint32_t>(v.size() - from), 0, 1, 1);
        for (int k = 0; k < 4; ++k) v[at + k] = static_cast<uint8_t>(crc >> (24 - 8 * k));
    };
    put(32, 64);
    put(20, 28);
    return v;
}
TEST(PowerFw, HeaderCrcs)
{
    std::vector<uint8_t> img = fw_image(100), edge = fw_image(64);
    std::string got = std::to_string(GetPowerFwShift(img.data(), 100)) + std::to_string(GetPowerFwShift(edge.data(), 64)) +
                      std::to_string(GetPowerFwShift(img.data(), 63)) + std::to_string(GetPowerFwShift(nullptr, 100));
    for (uint32_t at : {0u, 19u, 20u, 23u, 24u, 27u, 28u, 31u, 32u, 35u, 36u, 63u, 64u, 99u}) {
        std::vector<uint8_t> bad = img;
        bad[at] ^= 0x10;
        got += " " + std::to_string(GetPowerFwShift(bad.data(), 100));
    }
    EXPECT_EQ(got, "646400 64 64 0 0 64 64 0 0 0 0 0 0 0 0");
    EXPECT_EQ(edge[32] & edge[33] & edge[34] & edge[35], 0xFF) << "no payload: the CRC of nothing";
}

// ------------------------------------------------------------------------- board power

}  // namespace
