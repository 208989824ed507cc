// Power: the supplies and the backup battery, and the power of this controller board.
#include <string>
#include <vector>

#include "bspsim/board_power.hpp"
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
    {.name = "BbuRefusedBeyondTheFirst", .call = BSP_CALL(BSP_GetBbuOnlineStates(1, g), 1), .out = "err ee"},
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

using bspsim::Power;

constexpr uint32_t kRailRegs[] = {0x37, 0x38, 0x39, 0x3A, 0x3B, 0x3C, 0x3E, 0x79};

// One board id: for every rail bit the simulator knows for it, one digit of what the checks
// made of that bit alone failing: 1 if the power-on check then reports, +2 if the power-off
// check does, +4 if the power-on check logged two rows; then the Arm front power check with
// each bit of its registers flipped from healthy, mode 1 then mode 0: 1 if reported, +2 if
// logged as counting, +4 if logged as log-only.
struct IdCase {
    const char *name;
    uint8_t id;
    std::string rails, front;
};
using PowerById = bsptest::SimTestWithParam<IdCase>;

TEST_P(PowerById, EveryRowLatchesOncePerEpisode)
{
    known_board(GetParam().id);
    auto pw = bspsim::board_power(sim());
    auto lines = [&] { std::string l = log_line(); forget(); return l; };
    // A check's result, then what it logged (the call comes first).
    auto run = [&](uint32_t (*check)()) { std::string r = std::to_string(check()); return r + lines(); };
    pw.set_state(Power::Off);
    EXPECT_EQ(run(BSP_CpuPowerOffCheck) + run(BSP_IsAnyBoardPowerGood), "00");
    pw.set_state(Power::On);
    EXPECT_EQ(run(BSP_CpuPowerOnCheck), "0");
    std::string rails;
    for (uint32_t reg : kRailRegs) {
        const uint8_t mask = pw.rails(reg);
        if (mask) rails += (rails.empty() ? "" : " ") + bsptest::hex(reg).substr(2) + ":";
        for (uint32_t bit = 0; bit < 8; ++bit) {
            if (!(mask >> bit & 1)) continue;
            // Held at `level`: logged once while it lasts, silent once let go, logged again.
            auto episode = [&](uint32_t (*check)(), int level) {
                pw.hold(reg, bit, level);
                const std::string first = run(check);
                EXPECT_EQ(run(check), first.substr(0, 1));
                pw.hold(reg, bit, -1);
                EXPECT_EQ(run(check), "0");
                pw.hold(reg, bit, level);
                EXPECT_EQ(run(check), first);
                pw.hold(reg, bit, -1);
                return (void)check(), first;
            };
            char at[64], want[160];
            std::snprintf(at, sizeof at, "1:Behind power on check,cpld addr (0x%02x)", reg);
            pw.set_state(Power::On);
            const std::string on = episode(BSP_CpuPowerOnCheck, 0);
            EXPECT_EQ(on.find(at), 1u) << on;
            pw.set_state(Power::Off);
            const std::string off = episode(BSP_CpuPowerOffCheck, 1);
            std::snprintf(want, sizeof want, "1:Behind power Off check,cpld addr(0x%02x) value(0x%x), AlarmEn=%d(1:LogOnly)",
                          reg, 1u << bit, off[0] == '1' ? 2 : 1);
            EXPECT_EQ(off.substr(1), want);
            pw.hold(reg, bit, 1);
            std::snprintf(want, sizeof want, "10:BSP_IsAnyBoardPowerGood--cpld addr(0x%02x) val(0x%02x)\r\n", reg, 1u << bit);
            EXPECT_EQ(run(BSP_IsAnyBoardPowerGood), want);
            pw.hold(reg, bit, -1);
            rails += static_cast<char>(on[0] + 2 * (off[0] - '0') + 4 * std::count(on.begin(), on.end(), '|'));
        }
    }
    EXPECT_EQ(rails, GetParam().rails);
    std::string front;
    pw.set_state(Power::On);
    for (uint32_t reg : {0x3D, 0x15D}) {
        const uint8_t healthy = pw.rails(reg);
        if (!healthy) continue;
        front += (front.empty() ? "" : " ") + bsptest::hex(reg).substr(2) + ":";
        for (uint8_t mode : {1, 0}) {
            for (uint32_t bit = 0; bit < 8; ++bit) {
                pw.hold(reg, bit, !(healthy >> bit & 1));
                const uint32_t r = BSP_CheckFrontPowerForArm(mode);
                const std::string l = lines();
                front += static_cast<char>('0' + r + (l.empty() ? 0 : l.find("strategy(1)") != std::string::npos ? 4 : 2));
                pw.hold(reg, bit, -1);
                EXPECT_EQ(run([] { return BSP_CheckFrontPowerForArm(1); }), "0");
            }
            front += mode ? "/" : "";
        }
    }
    EXPECT_EQ(front, GetParam().front);
}

const IdCase kIds[] = {
    {"Id0A", 0x0A, "37:03030303 38:03030303 39:00000000 3A:00000000 3B:00000000 3C:333333 3E:33333333",
     "3D:30300000/30300030"},
    {"Id71", 0x71, "37:33330000 38:33330000 39:00000000 3A:0300000 3C:33333333 3E:3",
     "3D:33300003/33300033 15D:00000044/00000044"},
    {"Id03", 0x03, "37:03030303 38:0303 39:333333 3A:00000000 3B:0000 3C:33 3E:3333", "3D:03000300/03000330"},
    {"Id00", 0x00, "37:03030303 38:0303 39:333333 3A:00000000 3B:0000 3C:33 3E:3333", "3D:03000300/03000330"},
    {"Id05", 0x05, "37:0303 39:33 3A:0000003 3C:333 3E:33", "3D:33000000/33000030"},
    {"Id06", 0x06, "37:0303 39:33 3A:0000003 3C:333 3E:33", "3D:33000000/33000030"},
    {"Id09", 0x09, "37:0303 39:33 3A:0000003 3C:333 3E:33", "3D:33000000/33000030"},
    {"Id12", 0x12, "37:333300 38:000 39:0000 3A:03 3B:0000000 3E:03", "3D:33000300/33000330"},
    {"Id14", 0x14, "37:333300 38:000 39:0000 3A:03 3B:0000000 3E:03", "3D:33000300/33000330"},
    {"Id11", 0x11, "37:33330000 38:000000 39:00000000 3A:333333 3C:33333333 3E:33333", "3D:33300003/33300033"},
    {"Id22", 0x22, "37:3300 38:000 39:0300 3A:03 3B:000 3E:3333", "3D:33000000/33000030"},
    {"Id24", 0x24, "37:3300 38:000 39:0300 3A:03 3B:000 3E:3333", "3D:33000000/33000030"},
    {"Id27", 0x27, "37:3300 38:000 39:0300 3A:03 3B:000 3E:3333", "3D:33000000/33000030"},
    {"Id1D", 0x1D, "37:3300 38:000 39:0300 3A:03 3B:000 3E:33333", "3D:33000000/33000030"},
    {"Id2E", 0x2E, "37:3333 38:33 39:3333 3A:3 3B:3333333 79:55777", "3D:00000000/00000000"},
    {"Id33", 0x33, "37:33333333 38:3333 39:33333333 3A:33 3B:3333333 79:55777", "3D:00000000/00000000"},
    {"Id35", 0x35, "37:33333333 38:3333 39:33333333 3A:33 3B:33333333 79:00", "3D:00000000/00000000"},
    {"Id99", 0x99, "37:30 38:00 39:0300 3A:03 3B:000 3E:3300333", "3D:03300000/03300030"},
    {"Id95", 0x95, "37:30 38:00 39:0300 3A:03 3E:3300333", "3D:03300000/03300030"},
    {"NoRows", 0x81, "", ""},
};
using bsptest::PrintTo;
BSP_CASES(Rails, PowerById, kIds);

using BoardPower = bsptest::SimTest;

// Board 10 with every rail good: 0x39 all down fails a level-1 row (logged, not counted); 0x37
// reading 0x55 fails its 0xAA row of level 2.
TEST_F(BoardPower, Board10Examples)
{
    known_board(0x0A);
    auto pw = bspsim::board_power(sim());
    for (uint32_t bit = 0; bit < 8; ++bit) pw.hold(0x39, bit, 0);
    EXPECT_EQ(BSP_CpuPowerOnCheck(), 0u);
    for (uint32_t bit = 1; bit < 8; bit += 2) pw.hold(0x37, bit, 0);
    EXPECT_EQ(BSP_CpuPowerOnCheck(), 1u);
    sim().fail(Op::LocalBusRead, 1, -1, 0x3E);  // a register that cannot be read counts as all 0
    EXPECT_EQ(BSP_CpuPowerOnCheck(), 1u);
    EXPECT_EQ(log_line(), "1:Behind power on check,cpld addr (0x39) value(0) | "
                          "1:Behind power on check,cpld addr (0x37) value(0) | 0:read cpld byte error. | "
                          "1:Behind power on check,cpld addr (0x3e) value(0)");
    forget();
    // The first row of this board with a rail good answers; a register that cannot be read has none.
    EXPECT_EQ(BSP_IsAnyBoardPowerGood(), 1u);
    sim().fail(Op::LocalBusRead, 2, -1, 0x37);
    EXPECT_EQ(BSP_IsAnyBoardPowerGood(), 1u);
    EXPECT_EQ(log_line(), "0:BSP_IsAnyBoardPowerGood--cpld addr(0x37) val(0x55)\r\n | 0:read cpld byte error. | "
                          "0:read cpld byte error. | 0:BSP_IsAnyBoardPowerGood--cpld addr(0x38) val(0xaa)\r\n");
    FrontPowerCheckRow row = {0x0A, {0, 0, 0}, 0x3D, 0x01, 0x01, 0x41, 0x01, 0x1C, 2, {0, 0}};
    EXPECT_EQ(BSP_isFrontPowerAbnormal(&row, 0x01, 1) * 10 + BSP_isFrontPowerAbnormal(&row, 0x05, 1), 10u);
    row.mode0Value = 0x41;  // each mode has its own expected value
    EXPECT_EQ(BSP_isFrontPowerAbnormal(&row, 0x45, 0) * 10 + BSP_isFrontPowerAbnormal(&row, 0x45, 1), 0u);
    row.gateMask = 0;
    EXPECT_EQ(BSP_isFrontPowerAbnormal(&row, 0x01, 1) + BSP_isFrontPowerAbnormal(nullptr, 0, 0), 0u);
}

const std::string kRdFail = "0:read cpld error. | ", kByteFail = "0:read cpld byte error. | ";

// Bus, delays and the power moves the simulator saw.
std::string seen(const B &b)
{
    return b.transcript({Op::LocalBusRead, Op::LocalBusWrite, Op::Delay, Op::BoardPower});
}

// Each press as a whole: protection lifted for the whole pulse, the pulse, protection back,
// then the LED. Any other action touches nothing.
TEST_F(BoardPower, SoftPowerButtonPresses)
{
    known_board();
    std::string got;
    for (uint8_t action : {2, 0, 3, 1, 4}) {
        const std::string st = res(BSP_SoftPowerButtonCtrl(action));
        got += st + " " + bspsim::power_name(bspsim::board_power(sim()).state()) +
               ": " + seen(sim()) + " | " + log_line() + bsptest::oplog(sim()) + "\n";
        forget();
    }
    EXPECT_EQ(got, "ok off: wr e8&02=0 wr e7&02=0 delay 10 power force-off 10ms wr e7&02=1 wr e8&02=1 rd 5f&01=1 wr 5f&01=0 | "
                   "1:Write CPLD force  power off system | op1:Close board power led succeed\n"
                   "ok on: wr e8&01=0 wr e7&01=0 delay 5 power on 5ms wr e7&01=1 wr e8&01=1 rd 5f&01=0 wr 5f&01=1 | "
                   "1:Write CPLD power on system | op1:Open board power led succeed\n"
                   "ok standby: wr e8&04=0 wr e7&04=0 delay 10 power off 10ms wr e7&04=1 wr e8&04=1 | "
                   "1:Write CPLD power off system\n"
                   "err standby:  | \nerr standby:  | \n");
}

// A failure injected at each write of the two protected pulses in turn: the sequence runs to
// its end and the protection is back on, unless the failure hit that very write.
TEST_F(BoardPower, ProtectedPulsesRestoreTheirProtection)
{
    known_board();
    std::string got;
    for (uint32_t step = 0; step < 9; ++step) {
        const bool button = step < 5;  // its five writes (the last the LED's), then the AC interrupt's four
        sim().reset();
        sim().fail(Op::LocalBusWrite, 1, -1, bspsim::kAnyKey, button ? step : step - 5);
        const std::string st = res(button ? BSP_SoftPowerButtonCtrl(2) : BSP_SimAcInt());
        // With the protection still closed the button really refuses the press.
        if (step == 0) {
            EXPECT_NE(seen(sim()).find("wr e7&02=0!wp"), std::string::npos) << seen(sim());
        }
        got += st + (button ? " e8=" + bsptest::hex(sim().reg(0xE8)) + " " + log_line() + bsptest::oplog(sim())
                            : " 1a1=" + bsptest::hex(sim().reg(0x1A1)) + " " + seen(sim()) + " " + log_line()) + "\n";
    }
    const std::string press = "1:Write CPLD force  power off system", wr = "0:write add :", ac = "wr 1a1&01=1 wr 1a0&01=";
    const std::string reset = "0:Write cpld(0x1a0) to reset os failed, ret(-1). | 1:Reset System by AC Int successfully!";
    const std::string led = " | op1:Close board power led succeed\n";
    EXPECT_EQ(got, "ok e8=0x47 " + press + " | " + wr + "e8  data: 0 cpld error." + led +
                   "ok e8=0x47 " + press + " | " + wr + "e7  data: 0 cpld error. | 0:BSP_WriteCpldBit failed." + led +
                   "ok e8=0x47 " + press + " | " + wr + "e7  data: 1 cpld error. | 0:BSP_WriteCpldBit failed." + led +
                   "ok e8=0x45 " + press + " | " + wr + "e8  data: 1 cpld error." + led + "ok e8=0x47 " + press +
                   " | " + wr + "5f  data: 0 cpld error. | op1:Close board power led failed\n" +
                   "err 1a1=0x0 wr 1a1&01=1!-1 " + wr + "1a1  data: 1 cpld error. | "
                   "0:Close write protection(0x1a1) of system reset failed, ret(-1).\n" +
                   "ok 1a1=0x0 " + ac + "0!-1 wr 1a0&01=1 wr 1a1&01=0 " + wr + "1a0  data: 0 cpld error. | " + reset + "\n" +
                   "ok 1a1=0x0 " + ac + "0 wr 1a0&01=1!-1 wr 1a1&01=0 " + wr + "1a0  data: 1 cpld error. | " + reset + "\n" +
                   "err 1a1=0x1 " + ac + "0 power ac-reset 0ms wr 1a0&01=1 wr 1a1&01=0!-1 " + wr +
                   "1a1  data: 0 cpld error. | 0:Open write protection(0x1a1) of system reset failed, ret(-1). | "
                   "1:Reset System by AC Int successfully!\n");
}

// Without a board id every check holds back: the power-good query says so with 255.
TEST_F(BoardPower, BoardIdUnreadable)
{
    sim().fail(Op::DevOpen, 100);
    const std::string got = bsptest::joined({std::to_string(BSP_IsAnyBoardPowerGood()), std::to_string(BSP_CpuPowerOnCheck()),
                                             std::to_string(BSP_CpuPowerOffCheck()), std::to_string(BSP_CheckFrontPowerForArm(1)),
                                             std::to_string(BSP_IsPowerTransBoardSupport())});
    EXPECT_EQ(got, "255, 0, 0, 0, 0");
    const std::string open = "0:Error: open sys_info dev fail | ";
    EXPECT_EQ(log_line(), open + "0:Get BMC board id failed(-1) | " + open + "0:Get BMC board id failed(-1) | " + open +
                              "0:Get BMC board id fail(-1) | " + open +
                              "0:Check front power failed(Get board id failed,ret=-1) | 0:Error: open sys_info dev fail");
}

// A forced power-off leaves the record; a failed read ends the collection with the flag still
// up, a whole one is logged and cleared, and then there is nothing more to collect.
TEST_F(BoardPower, AbnormalPowerDownRecord)
{
    known_board();
    auto pw = bspsim::board_power(sim());
    sim().fail(Op::LocalBusRead, 1, -1, 0x42);
    BSP_CollectAbnormalPwrDownLog();
    EXPECT_EQ(tr({Op::LocalBusRead, Op::LocalBusWrite}).substr(tr({Op::LocalBusRead, Op::LocalBusWrite}).rfind(" rd ")), " rd 42=00!-1");
    EXPECT_EQ(log_line(), kByteFail + "0:Read register(0x42) failed, ret(-1)");
    EXPECT_EQ(BSP_SoftPowerButtonCtrl(2), 0u);
    ASSERT_TRUE(pw.power_down_flag());
    forget();
    sim().fail(Op::LocalBusRead, 1, -1, 0x41);
    BSP_CollectAbnormalPwrDownLog();
    EXPECT_TRUE(pw.power_down_flag());
    BSP_CollectAbnormalPwrDownLog();
    EXPECT_FALSE(pw.power_down_flag());
    EXPECT_EQ(log_line(), kByteFail + "0:Read register(0x41) failed, ret(-1) | 0:Detecting board pwr down abnormal Reg "
                          "0x3F(0x1) Reg 0x40(0xf) Reg 0x41(0x0) Reg 0x42(0x80) Reg 0x77(0x3)");
    EXPECT_EQ(tr({Op::LocalBusWrite}).substr(tr({Op::LocalBusWrite}).find("wr 42")), "wr 42&80=1 wr 42&80=0");
    forget();
    BSP_CollectAbnormalPwrDownLog();  // nothing flagged: nothing more read, nothing logged
    EXPECT_EQ(log_line() + tr({Op::LocalBusRead}).substr(tr({Op::LocalBusRead}).rfind(" rd ")), " rd 42=00");
}

// Expansion boards' power in CPLD RAM: a bad board is refused silently and leaves the output
// alone; an unknown state is logged.
TEST_F(BoardPower, ExpansionBoards)
{
    known_board();
    auto pw = bspsim::board_power(sim());
    std::fill(g, g + 4, 0xEE);
    EXPECT_EQ(bsptest::calls({BSP_SetExpBoardPowerState(4, 1), BSP_SetExpBoardPowerState(0, 5), BSP_SetExpBoardPowerState(1, 1),
                              BSP_SetExpBoardPowerState(2, 18), BSP_SetExpBoardPowerState(3, 1), BSP_GetExpBoardPowerState(4, g), BSP_GetExpBoardPowerState(1, g + 1),
                              BSP_GetExpBoardPowerState(2, g + 2), BSP_GetExpBoardPowerState(3, g + 3), BSP_GetExpBoardPowerState(0, nullptr),
                              BSP_IsExpFramePowerOff()}, 4),
              "err err ok ok ok err ok ok ok err ok ee 01 12 01");
    EXPECT_EQ(std::to_string(pw.exp_board_on(1)) + std::to_string(pw.exp_board_on(2)), "10");
    sim().fail(Op::SemP, 1);  // a RAM bit that cannot be read is "off"
    EXPECT_EQ(res(BSP_GetExpBoardPowerState(1, g), 1), "ok 12");
    EXPECT_EQ(log_line(), "0:Exp board(0) set power state not find! | 0:get BMC_MUTEX_IPC_CPLD_RAM fail.");
}

class ExpFrame : public bsptest::SimTest {
    std::string profile() const override { return "exp-2u"; }
};

TEST_F(ExpFrame, PowerOffWhenNeitherExpansionBoardIsOn)
{
    auto pw = bspsim::board_power(sim());
    const uint32_t none = BSP_IsExpFramePowerOff();
    pw.set_exp_board_on(1, true);
    const uint32_t second = BSP_IsExpFramePowerOff();
    pw.set_exp_board_on(1, false);
    pw.set_exp_board_on(0, true);
    EXPECT_EQ(std::to_string(none) + std::to_string(second) + std::to_string(BSP_IsExpFramePowerOff()), "100");
}

// Results of several calls in order, each with the first `n` bytes of g_out.
#define SEQ(n, ...) [](B &) { std::string o; for (uint32_t st : {__VA_ARGS__}) o += res(st, n) + " "; return o; }
#define PW(...) [](B &b) { auto p = bspsim::board_power(b); __VA_ARGS__; }


const CallCase kCalls[] = {
    {.name = "StandbyOfThisAndOtherBoards", .setup = PW(p.set_state(Power::Standby); p.set_peer(2, Power::Standby)),
     .call = [](B &) { return bsptest::calls({BSP_GetPowerStandByStatus(g), BSP_GetOtherBoardPowerStandByStatus(0, g + 1),
                       BSP_GetOtherBoardPowerStandByStatus(1, g + 2), BSP_GetOtherBoardPowerStandByStatus(2, g + 3),
                       BSP_GetOtherBoardPowerStandByStatus(3, g + 4), BSP_GetOtherBoardPowerStandByStatus(4, g + 5),
                       BSP_GetOtherBoardPowerStandByStatus(0, nullptr), BSP_GetPowerStandByStatus(nullptr)}, 6); },
     .out = "ok ok ok ok ok err err err 01 01 00 01 00 ee", .trace = "rd 47&10=1 rd f9&08=1 rd f9&80=0 rd fa&08=1 rd fa&80=0"},
    {.name = "StandbyReadsFail", .faults = {{Op::LocalBusRead, 1, -1, 0x47}, {Op::LocalBusRead, 1, -1, 0xFA}},
     .call = SEQ(1, BSP_GetPowerStandByStatus(g), BSP_GetOtherBoardPowerStandByStatus(3, g)), .out = "err ee err ee ",
     .trace = "rd 47&10=0!-1 rd fa&80=0!-1",
     .log = kRdFail + "0:Read stdby from reg(0x47=0x0) fail | " + kRdFail + "0:Read stdby from reg(0xfa=0x0) fail"},
    {.name = "EnclosureInStandbyWithNoBoardPresent", .regs = {{0x33, 0}}, .call = BSP_CALL(BSP_IsEnclStandby()), .out = "1",
     .trace = "rd f9&08=0 rd 33=00 rd f9&80=0 rd 33=00"},
    // A standby bit that cannot be read counts as "not in standby".
    {.name = "EnclosureUnreadableStandby", .faults = {{Op::LocalBusRead, 1, -1, 0xF9}}, .setup = PW(p.set_peer(1, Power::Standby)),
     .call = SEQ(0, BSP_IsEnclStandby()), .out = "ok ", .trace = "rd f9&08=0!-1 rd 33=03",
     .log = kRdFail + "0:Read stdby from reg(0xf9=0x0) fail"},
    {.name = "FourBoardEnclosureWalksAllFour", .profile = "4u4c",
     .setup = PW(p.set_state(Power::Standby); p.set_peer(1, Power::Standby); p.set_peer(2, Power::Standby)),
     .call = SEQ(0, BSP_IsEnclStandby()), .out = "ok ",
     .trace = "srd f9=aa srd 33=0f srd f9=aa srd 33=0f srd fa=2a srd 33=0f srd fa=2a srd 33=0f"},
    {.name = "EnclosureNotInStandbyWhileABoardIsOn", .call = SEQ(1, BSP_IsEnclStandby(), BSP_GetPowerStandByStatus(g)),
     .out = "ok 00 ok 00 ", .trace = "rd f9&08=0 rd 33=03 rd 47&10=0"},
    {.name = "EnclosureInStandby", .setup = PW(p.set_state(Power::Standby); p.set_peer(1, Power::Standby)),
     .call = BSP_CALL(BSP_IsEnclStandby()), .out = "1", .trace = "rd f9&08=1 rd 33=03 rd f9&80=1 rd 33=03"},
    {.name = "PsOn", .faults = {{Op::LocalBusRead, 1, -1, 0x1B1, 1}}, .setup = PW(p.set_peer(1, Power::Off)),
     .call = [](B &) { BSP_CheckPsOn(g + 1); BSP_CheckPsOn(nullptr); return bsptest::calls({BSP_GetPSONState(g), BSP_GetPSONState(g + 2)}, 3); },
     .out = "ok err 01 03 ee", .trace = "rd 3e=03 rd 1b1=01 rd 1b1=00!-1", .log = kByteFail + "0:Read Cpld reg[0x1b1] fail"},
    {.name = "AcOffAndPowerRegister",
     .call = [](B &) { return bsptest::calls({BSP_SetAcOff(), (BSP_GetPwrReg(g), 0u), (BSP_GetPwrReg(g + 1), 0u),
                                               (BSP_GetPwrReg(nullptr), BSP_SetPwrReg()), BSP_ClearPwrReg()}, 2); },
     .out = "ok ok ok ok ok 01 00",
     .trace = "wr c8&01=1 wr c8&01=0 rd c2&04=1 wr c4&04=1 wr c4&04=0 rd c2&04=0 wr c4&04=1 wr c4&04=0 wr c8&01=1 wr c8&01=0"},
    {.name = "ArmFrontPowerDispatch", .regs = {{0xFB, 0x01}},
     .faults = {{Op::LocalBusRead, 1, -1, 0x3D, 1}},
     .setup = PW(p.hold(0x3D, 0, 0)),
     .call = SEQ(0, BSP_FrontPowerCheck(1), BSP_CheckFrontPowerForArm(1), BSP_FrontPowerCheck(0)), .out = "ok ok ok ",
     .trace = "rd 3d=02 delay 1000 rd fb=01 rd 3d=00!-1 rd 3d=02 delay 1000 rd fb=01",
     .log = "1:Front power check cpld addr(0x3d) value(0x02), chipHealth(0), strategy(2), ret(0). | " + kByteFail +
            "0:Check front power failed(read cpldreg=0x3d failed,ret=-1)"},
    {.name = "X86FrontPower", .profile = "x86-2u",
     .setup = [](B &b) { b.script(bspsim::Source::Register, 0x3D, {0xBE, 0xBE, 0xBF, 0xBE, 0xBF, 0x3F, 0xBF, 0xFF, 0xFF}); },
     .call = SEQ(0, BSP_FrontPowerCheck(0), BSP_CheckFrontPowerForX86(0), BSP_CheckFrontPowerForX86(0),
                 BSP_CheckFrontPowerForX86(0), BSP_CheckFrontPowerForX86(0), BSP_CheckFrontPowerForX86(1),
                 BSP_CheckFrontPowerForX86(0), BSP_CheckFrontPowerForX86(2), BSP_CheckFrontPowerForX86(1)),
     .out = "ok ok ok ok ok 1 ok 1 ok ",
     .trace = "rd 3d=be rd 3d=be rd 3d=bf rd 3d=be rd 3d=bf rd 3d=3f delay 1000 rd 3d=bf rd 3d=ff delay 1000 rd 3d=ff",
     .log = "1:Front power check abnormal, cpld.0x3d=0xbe, cpldstatus=1. | 1:Front power check abnormal, cpld.0x3d=0xbe, "
            "cpldstatus=1. | 1:Front power check abnormal, cpld.0x3d=0x3f, cpldstatus=1. | "
            "1:Front power check abnormal, cpld.0x3d=0xff, cpldstatus=1."},
    {.name = "X86FrontPowerReadFails", .profile = "x86-2u", .faults = {{Op::LocalBusRead, 1, -1, 0x3D}},
     .call = BSP_CALL(BSP_CheckFrontPowerForX86(0)), .trace = "rd 3d=00!-1", .log = kByteFail + "0:Get cpld addr(0x3d) value failed."},
    {.name = "PowerLed", .faults = {{Op::LocalBusRead, 1, -1, 0x5F}, {Op::LocalBusWrite, 1, -1, 0x5F, 1}},
     .call = [](B &b) { for (uint8_t on : {2, 0, 1, 1, 0, 1}) BSP_BoardPowerLedCtrl(on); return bsptest::oplog(b); },
     .out = " | op1:Close board power led succeed | op1:Open board power led failed",
     .trace = "rd 5f&01=0!-1 rd 5f&01=1 rd 5f&01=1 rd 5f&01=1 wr 5f&01=0 rd 5f&01=0 wr 5f&01=1!-1",
     .log = kRdFail + "0:Read cpld(0x95) bit0 faild(ret=-1). | 0:write add :5f  data: 1 cpld error."},
    {.name = "SysUp", .faults = {{Op::LocalBusWrite, 1, -1, 0x1B0, 1}, {Op::LocalBusRead, 1, -1, 0x1B0, 1}},
     .call = SEQ(0, BSP_EnableBoardSysUp(8, 1), BSP_EnableBoardSysUp(0, 2), BSP_EnableBoardSysUp(3, 1),
                 BSP_EnableBoardSysUp(3, 0), BSP_IsPermitBoardSysUp(8), BSP_IsPermitBoardSysUp(3), BSP_IsPermitBoardSysUp(3),
                 BSP_EnableSysUpExtend(2, 1), BSP_IsPermitSysUpExtend(3), BSP_EnableBoardSysUp(7, 1), BSP_IsPermitBoardSysUp(7),
                 BSP_IsPermitBoardSysUp(5)),
     .out = "err err ok err 1 1 ok ok ok ok 1 ok ",
     .trace = "wr 1b0&08=1 wr 1b0&08=0!-1 rd 1b0&08=1 rd 1b0&08=0!-1 wr 1b0&80=1 rd 1b0&80=1 rd 1b0&20=0",
     .log = "1:Input para out of range BitNum(8), Value(1) | 1:Input para out of range BitNum(0), Value(2) | "
            "0:write add :1b0  data: 0 cpld error. | 0:Set cpld addr(0x1b0), BitNum(3), value(0) failed. | "
            "1:Input para out of range BitNum(8) | " + kRdFail + "0:Get cpld addr(0x1b0) value(0) failed."},
    {.name = "SysUpExtendOnX86", .profile = "x86-2u",
     .call = SEQ(0, BSP_EnableSysUpExtend(2, 1), BSP_IsPermitSysUpExtend(2), BSP_IsPermitSysUpExtend(9)), .out = "ok 1 1 ",
     .trace = "wr 1b0&04=1 rd 1b0&04=1", .log = "2:Operate sys power up reg.bit2 to 1. | 1:Input para out of range BitNum(9)"},
    // Elsewhere than in a four-controller enclosure, supply alarms are never ignored: nothing read.
    {.name = "AcDownNeverIgnoredElsewhere", .setup = [](B &) { psu(0).set_ok(false); psu(1).set_ok(false); },
     .call = BSP_CALL(BSP_IgnoreAlarmForACDown())},
    {.name = "PowerTrans", .call = SEQ(0, BSP_IsPowerTransBoardSupport()), .out = "1 "},
    {.name = "NoPowerTrans", .board = 0x0A, .call = SEQ(0, BSP_IsPowerTransBoardSupport()), .out = "ok "},
};
BSP_CASES(Board, Psu, kCalls);

}  // namespace
