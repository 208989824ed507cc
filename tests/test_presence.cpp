// Board presence and status: which boards of the enclosure are in and online, the host's BIOS
// and OS state, first power-on, AC loss and the plant coordinates.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspsim/sim.hpp"
#include "cpld_test_util.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bspsim::Source;
using bsptest::kErr;
using cpldtest::PrintTo;
using bsptest::kLogError;

constexpr uint32_t kPowerOn1 = 0x80047301u;
constexpr uint32_t kPowerOn2 = 0x80047316u;
constexpr uint32_t kBoardInfo = 0x80047306u;
constexpr uint32_t kSysInfoDevice = static_cast<uint32_t>(bspsim::Device::SysInfo);

using Presence = bsptest::SimTest;

// CPLD reads of one register, by either path.
size_t reads_of(const bspsim::Board &b, uint32_t reg)
{
    size_t n = 0;
    for (Op op : {Op::LocalBusRead, Op::SpiRead}) {
        for (const auto &e : b.events(op)) n += e.a == reg ? 1 : 0;
    }
    return n;
}

size_t cpld_reads(const bspsim::Board &b) { return b.events(Op::LocalBusRead).size() + b.events(Op::SpiRead).size(); }

// ------------------------------------------------------------ BIOS and start state

TEST_F(Presence, BiosAndStartStateFromRegisterED)
{
    const struct {
        uint8_t reg;
        uint8_t bios;
        uint32_t start;
    } cases[] = {{0x00, 0, 0}, {0x01, 1, 1}, {0x06, 0, 6}, {0x07, 1, 7}, {0xF8, 0, 0}, {0xFD, 1, 5}};
    for (const auto &c : cases) {
        SCOPED_TRACE(bsptest::hex(c.reg));
        sim().set_reg(0xED, c.reg);
        uint8_t bios = 0xAA;
        EXPECT_EQ(BSP_GetBiosState(&bios), 0u);
        EXPECT_EQ(bios, c.bios);
        EXPECT_EQ(BSP_GetStartState(), c.start);
    }
}

// The status-returning query reports a failed read; the value query cannot and answers 0.
TEST_F(Presence, BiosAndStartStateReadFailures)
{
    sim().set_reg(0xED, 0x07);
    sim().fail(Op::LocalBusRead, 2, -1, 0xED);
    uint8_t bios = 0xAA;
    EXPECT_EQ(BSP_GetBiosState(&bios), kErr);
    EXPECT_EQ(bios, 0xAA);
    EXPECT_EQ(BSP_GetStartState(), 0u);
    EXPECT_EQ(reads_of(sim(), 0xED), 2u);

    sim().clear_events();
    EXPECT_EQ(BSP_GetBiosState(nullptr), kErr);
    EXPECT_EQ(cpld_reads(sim()), 0u);
}

// ------------------------------------------------------------------ OS boot status

TEST_F(Presence, OsBootBitOfEachBoard)
{
    const struct {
        uint8_t board;
        uint32_t reg;
        uint8_t mask;
    } cases[] = {{0, 0xF9, 0x02}, {1, 0xF9, 0x20}, {2, 0xFA, 0x02}, {3, 0xFA, 0x20}};
    cpldtest::read_board_id_first(sim());
    for (const auto &c : cases) {
        SCOPED_TRACE(int(c.board));
        // Only this board's bit set, then every bit but this one.
        for (uint8_t value : {c.mask, static_cast<uint8_t>(~c.mask)}) {
            sim().set_reg(0xF9, c.reg == 0xF9 ? value : static_cast<uint8_t>(~value));
            sim().set_reg(0xFA, c.reg == 0xFA ? value : static_cast<uint8_t>(~value));
            uint8_t booted = 0xAA;
            EXPECT_EQ(BSP_CtrlBoardGetOSBootStatus(c.board, &booted), 0u);
            EXPECT_EQ(booted, value == c.mask ? 1 : 0);
        }
    }
    EXPECT_TRUE(debug_texts().empty());
}

TEST_F(Presence, OsBootFailures)
{
    uint8_t booted = 0xAA;
    EXPECT_EQ(BSP_CtrlBoardGetOSBootStatus(4, &booted), kErr);
    EXPECT_EQ(BSP_CtrlBoardGetOSBootStatus(0, nullptr), kErr);
    EXPECT_TRUE(sim().events().empty());
    EXPECT_TRUE(debug_texts().empty());

    sim().set_reg(0xFA, 0xFF);
    sim().fail(Op::LocalBusRead, 1, -1, 0xFA);
    EXPECT_EQ(BSP_CtrlBoardGetOSBootStatus(3, &booted), kErr);
    EXPECT_EQ(booted, 0xAA);
    EXPECT_EQ(count_logs(kLogError, "Read osboot from reg(0xfa=0x0) fail"), 1u);
}

// ------------------------------------------------------------------ OS board id

// Three bytes, low first; a byte that cannot be read counts as 0.
TEST_F(Presence, OsBoardIdBytes)
{
    const struct {
        uint32_t failing_reg;  // 0: none
        uint32_t id;
    } cases[] = {{0, 0x122701}, {0x60, 0x122700}, {0x61, 0x120001}, {0x62, 0x002701}};
    for (const auto &c : cases) {
        SCOPED_TRACE(bsptest::hex(c.failing_reg));
        sim().set_reg(0x60, 0x01);
        sim().set_reg(0x61, 0x27);
        sim().set_reg(0x62, 0x12);
        if (c.failing_reg) sim().fail(Op::LocalBusRead, 1, -1, c.failing_reg);
        sim().clear_events();
        EXPECT_EQ(BSP_GetOsBoardId(), c.id);
        EXPECT_EQ(cpld_reads(sim()), 3u);
    }
}

// The palm board tells its micro variant by the OS board id.
TEST_F(Presence, OsBoardIdMakesAPalmBoardMicro)
{
    sim().set_board_id(0x14);
    sim().set_reg(0x60, 0x00);
    sim().set_reg(0x61, 0x27);
    sim().set_reg(0x62, 0x12);
    EXPECT_EQ(BSP_Is5830PalmMicroBoard(), 1u);
}

// ------------------------------------------------------------------ SMM online

// On an SMM board the query is refused before anything is read.
class PresenceOnSmm : public bsptest::SimTest {
protected:
    std::string profile() const override { return "smm"; }
};

TEST_F(PresenceOnSmm, SmmOnlineRefusedOnTheSmmItself)
{
    uint8_t online = 0xAA;
    EXPECT_EQ(BSP_GetSmmOnlineStates(0, &online), kErr);
    EXPECT_EQ(online, 0xAA);
    EXPECT_EQ(cpld_reads(sim()), 0u);
}

TEST_F(Presence, SmmOnlineWithoutBoardType)
{
    uint8_t online = 0xAA;
    EXPECT_EQ(BSP_GetSmmOnlineStates(0, nullptr), kErr);
    EXPECT_TRUE(sim().events().empty());
    sim().fail(Op::DevOpen, 1, -1, kSysInfoDevice);
    EXPECT_EQ(BSP_GetSmmOnlineStates(0, &online), kErr);
    EXPECT_EQ(online, 0xAA);
    EXPECT_EQ(cpld_reads(sim()), 0u);
}

class PresenceOn4U : public bsptest::SimTest {
protected:
    std::string profile() const override { return "4u4c"; }
};

// ------------------------------------------------------------------ first power-on

struct PowerOnCase {
    const char *name;
    uint32_t first, second;
    uint32_t want;
};

const PowerOnCase kPowerOnCases[] = {
    {"BothZero", 0, 0, 1},
    {"FirstCounted", 1, 0, 0},
    {"SecondCounted", 0, 1, 0},
    {"BothCounted", 0x17, 2, 0},
    {"SumWrapsToZero", 1, 0xFFFFFFFFu, 1},
};

class FirstPowerOn : public bsptest::SimTestWithParam<PowerOnCase> {};

// One open, both counters (every board of this build is a 5830 board), one close.
TEST_P(FirstPowerOn, SumOfBothCounters)
{
    const PowerOnCase &c = GetParam();
    sim().set_sysinfo(kPowerOn1, c.first);
    sim().set_sysinfo(kPowerOn2, c.second);
    EXPECT_EQ(BSP_IsBoardFirstPowerOn(), c.want);
    EXPECT_EQ(count(Op::DevOpen), 1u);
    auto ioctls = events(Op::DevIoctl);
    ASSERT_EQ(ioctls.size(), 2u);
    EXPECT_EQ(ioctls[0].b, kPowerOn1);
    EXPECT_EQ(ioctls[1].b, kPowerOn2);
    EXPECT_EQ(count(Op::DevClose), 1u);
    EXPECT_TRUE(debug_texts().empty());
}

BSP_CASES(Presence, FirstPowerOn, kPowerOnCases);

TEST_F(Presence, FirstPowerOnDeviceFailures)
{
    sim().set_sysinfo(kPowerOn1, 0);
    sim().set_sysinfo(kPowerOn2, 0);

    sim().fail(Op::DevOpen, 1, -1, kSysInfoDevice);
    EXPECT_EQ(BSP_IsBoardFirstPowerOn(), 0u);
    EXPECT_EQ(count(Op::DevIoctl), 0u);

    sim().fail(Op::DevIoctl, 1, -5, kPowerOn1);
    EXPECT_EQ(BSP_IsBoardFirstPowerOn(), 0u);
    sim().fail(Op::DevIoctl, 1, -7, kPowerOn2);
    EXPECT_EQ(BSP_IsBoardFirstPowerOn(), 0u);

    EXPECT_EQ(debug_texts(), (std::vector<std::string>{"0:BOARD open sysinfo fail(-1)", "0:BOARD read sysinfo fail(-5)",
                                                       "0:BOARD read sysinfo fail(-7)"}));
    // The first failing request ends the query; the device is closed after each opened one.
    EXPECT_EQ(count(Op::DevIoctl), 3u);
    EXPECT_EQ(count(Op::DevOpen), 3u);
    EXPECT_EQ(count(Op::DevClose), 2u);

    EXPECT_EQ(BSP_IsBoardFirstPowerOn(), 1u) << "the counters themselves say first power-on";
}

// ------------------------------------------------------------------ online, debounced

struct OnlineCase {
    const char *name;
    uint8_t board;
    std::vector<uint32_t> samples;  // successive reads of register 0x33
    uint32_t fail_skip;             // a failed read after this many reads (0xFF: none)
    uint32_t want;
    uint32_t reads;
    uint32_t delay_ms;
    std::vector<std::string> logs;
};

const OnlineCase kOnlineCases[] = {
    {"ZeroAtOnce", 0, {0x00}, 0xFF, 0, 1, 0, {}},
    {"OneNeedsTwoReads", 0, {0x01, 0x01}, 0xFF, 1, 2, 10, {}},
    {"OneZeroOneFails", 0, {0x01, 0x00, 0x01}, 0xFF, 0, 3, 30, {"0:Get board(0) online status failed(0)"}},
    {"OneThenTwoZeros", 0, {0x01, 0x00, 0x00}, 0xFF, 0, 3, 20, {}},
    {"LaterOnesNotAwaited", 0, {0x00, 0x01, 0x01}, 0xFF, 0, 1, 0, {}},
    {"OtherBoardsBitsIgnored", 1, {0xFD}, 0xFF, 0, 1, 0, {}},
    {"BoardThree", 3, {0x08, 0x0F}, 0xFF, 1, 2, 10, {}},
    // A failed read keeps the byte the previous read left: 1, failure, 1 settles on 1.
    {"FailureBetweenOnes", 2, {0x04, 0x04}, 1, 1, 3, 20, {"0:read cpld error."}},
    {"FailureThenZero", 2, {0x00}, 0, 0, 2, 10, {"0:read cpld error."}},
};

class OnlineStatus : public bsptest::SimTestWithParam<OnlineCase> {};

TEST_P(OnlineStatus, Debounced)
{
    const OnlineCase &c = GetParam();
    cpldtest::read_board_id_first(sim());
    sim().set_reg(0x33, 0x00);
    sim().script(Source::Register, 0x33, c.samples);
    if (c.fail_skip != 0xFF) sim().fail(Op::LocalBusRead, 1, -1, 0x33, c.fail_skip);
    const uint64_t t0 = sim().now_ms();
    EXPECT_EQ(BSP_GetBoardOnlineStatus(c.board), c.want);
    EXPECT_EQ(sim().now_ms() - t0, c.delay_ms);
    auto reads = events(Op::LocalBusRead);
    EXPECT_EQ(reads.size(), c.reads);
    for (const auto &r : reads) EXPECT_EQ(r.b, 1u << c.board) << "the board's own bit";
    EXPECT_EQ(debug_texts(), c.logs);
}

BSP_CASES(Presence, OnlineStatus, kOnlineCases);

TEST_F(Presence, OnlineStatusFailures)
{
    EXPECT_EQ(BSP_GetBoardOnlineStatus(4), 0u);
    EXPECT_EQ(debug_texts(), (std::vector<std::string>{"0:Input para err(4)"}));
    EXPECT_TRUE(sim().events().empty());

    sim().clear_logs();
    sim().set_reg(0x33, 0x02);
    sim().fail(Op::LocalBusRead, 3, -1, 0x33);
    const uint64_t t0 = sim().now_ms();
    EXPECT_EQ(BSP_GetBoardOnlineStatus(1), 0u);
    EXPECT_EQ(sim().now_ms() - t0, 30u);
    EXPECT_EQ(count_logs(kLogError, "Get board(1) online status failed(-1)"), 1u);
}

// ------------------------------------------------------------------ plant information

TEST_F(Presence, PlantInfoFromTheBoardInformationWord)
{
    const struct {
        uint32_t word;
        uint8_t plant, id;
    } cases[] = {{0x0000A123, 0xA, 0x12}, {0xFFFF5A50, 0x5, 0xA5}, {0x00000000, 0, 0}, {0x0000FFFF, 0xF, 0xFF}};
    for (const auto &c : cases) {
        SCOPED_TRACE(bsptest::hex(c.word));
        sim().set_sysinfo(kBoardInfo, c.word);
        uint8_t plant = 0xAA, id = 0xAA;
        EXPECT_EQ(BSP_GetPlantInfo(&plant, &id), 0u);
        EXPECT_EQ(plant, c.plant);
        EXPECT_EQ(id, c.id);
    }
    EXPECT_EQ(count(Op::DevOpen), 4u);
    EXPECT_EQ(count(Op::DevClose), 4u);
}

TEST_F(Presence, PlantInfoFailures)
{
    uint8_t plant = 0xAA, id = 0xAA;
    EXPECT_EQ(BSP_GetPlantInfo(nullptr, &id), kErr);
    EXPECT_EQ(BSP_GetPlantInfo(&plant, nullptr), kErr);
    EXPECT_EQ(count(Op::DevOpen), 0u);
    EXPECT_TRUE(debug_texts().empty());
    // The buffer is cleared before the arguments are looked at.
    sim().fail(Op::MemsetS, 1, 34);
    EXPECT_EQ(BSP_GetPlantInfo(nullptr, &id), kErr);
    EXPECT_EQ(debug_texts(), (std::vector<std::string>{"0:Error: init sysinfo failed, result = 34."}));
    EXPECT_EQ(count(Op::DevOpen), 0u);
    sim().clear_logs();

    sim().fail(Op::DevOpen, 1, -1, kSysInfoDevice);
    EXPECT_EQ(BSP_GetPlantInfo(&plant, &id), kErr);
    sim().fail(Op::DevIoctl, 1, -5, kBoardInfo);
    EXPECT_EQ(BSP_GetPlantInfo(&plant, &id), kErr);
    EXPECT_EQ(plant, 0xAA);
    EXPECT_EQ(id, 0xAA);
    EXPECT_EQ(count(Op::DevClose), 1u) << "closed after the failed request";
    EXPECT_EQ(debug_texts(),
              (std::vector<std::string>{"0:open sys_info dev fail", "0:ioctrl sys_info dev fail: 0xfffffffb"}));

    // A failed clear is logged and the query goes on.
    sim().clear_logs();
    sim().set_sysinfo(kBoardInfo, 0x3050);
    sim().fail(Op::MemsetS, 1, 34);
    EXPECT_EQ(BSP_GetPlantInfo(&plant, &id), 0u);
    EXPECT_EQ(plant, 3);
    EXPECT_EQ(id, 0x05);
    EXPECT_EQ(debug_texts(), (std::vector<std::string>{"0:Error: init sysinfo failed, result = 34."}));
}

// ------------------------------------------------------------------ AC down

struct AcCase {
    const char *name;
    uint8_t board_id;
    uint8_t first;   // register 0x1B2
    uint8_t second;  // register 0xC6
    uint32_t want;
};

const AcCase kAcCases[] = {
    {"TwoU_Up", 0x05, 0x00, 0x00, 0},
    {"TwoU_FirstSource", 0x05, 0x01, 0x00, 1},
    {"TwoU_SecondSource", 0x05, 0x00, 0x01, 1},
    {"TwoU_OtherBitsIgnored", 0x05, 0xFE, 0xFE, 0},
    {"FourUTwoProcessor_SecondSource", 0x71, 0x00, 0x01, 1},
    {"FourU5830_SecondSourceIgnored", 0x11, 0x00, 0x01, 0},
    {"FourU5830_FirstSource", 0x11, 0x01, 0x00, 1},
    {"FourU5820_SecondSourceIgnored", 0x0A, 0x00, 0x01, 0},
    {"Smm_SecondSource", 0x81, 0x00, 0x01, 1},
};

class AcDown : public bsptest::SimTestWithParam<AcCase> {};

// Both flags are read every time, whether the second one counts or not.
TEST_P(AcDown, Sources)
{
    const AcCase &c = GetParam();
    sim().set_board_id(c.board_id);
    sim().set_reg(0x1B2, c.first);
    sim().set_reg(0xC6, c.second);
    EXPECT_EQ(BSP_IsAcDown(), c.want);
    EXPECT_EQ(reads_of(sim(), 0x1B2), 1u);
    EXPECT_EQ(reads_of(sim(), 0xC6), 1u);
}

BSP_CASES(Presence, AcDown, kAcCases);

// An unreadable flag counts as clear.
TEST_F(Presence, AcDownUnreadableFlagIsClear)
{
    sim().set_reg(0x1B2, 0x01);
    sim().set_reg(0xC6, 0x01);
    sim().fail(Op::LocalBusRead, 1, -1, 0x1B2);
    EXPECT_EQ(BSP_IsAcDown(), 1u) << "the second source still says so";
    sim().fail(Op::LocalBusRead, 1, -1, 0x1B2);
    sim().fail(Op::LocalBusRead, 1, -1, 0xC6);
    EXPECT_EQ(BSP_IsAcDown(), 0u);
}

// ------------------------------------------------------------------ controller boards

struct CountCase {
    uint8_t id;
    uint32_t count;
};

const CountCase kCountCases[] = {{0x0A, 4}, {0x71, 4}, {0x05, 2}, {0x24, 2}, {0x81, 2}};

void PrintTo(const CountCase &c, std::ostream *os) { *os << bsptest::hex(c.id); }

class CtrlBoardCount : public bsptest::SimTestWithParam<CountCase> {};

TEST_P(CtrlBoardCount, FourOnlyInFourControllerEnclosures)
{
    sim().set_board_id(GetParam().id);
    EXPECT_EQ(BSP_GetCtrlBoardNum(), GetParam().count);
}

INSTANTIATE_TEST_SUITE_P(Presence, CtrlBoardCount, ::testing::ValuesIn(kCountCases),
                         [](const auto &info) { return "id" + bsptest::hex(info.param.id); });

TEST_F(Presence, CtrlBoardPresentOnTwoControllerEnclosure)
{
    sim().set_reg(0x33, 0x0F);
    const uint8_t want[] = {1, 1, 0, 0, 0, 0, 0, 0, 0, 0};
    for (uint8_t board = 0; board < 10; ++board) {
        uint8_t present = 0xAA;
        EXPECT_EQ(BSP_GetCtrlBoardPresent(board, &present), 0u);
        EXPECT_EQ(present, want[board]) << int(board);
    }
    uint8_t present = 0xAA;
    EXPECT_EQ(BSP_GetCtrlBoardPresent(255, &present), 0u);
    EXPECT_EQ(present, 0);
    // The whole byte is read, not a bit.
    for (const auto &e : events(Op::LocalBusRead)) {
        EXPECT_EQ(e.a, 0x33u);
        EXPECT_EQ(e.b, 0u);
    }
}

TEST_F(PresenceOn4U, CtrlBoardPresentOnFourControllerEnclosure)
{
    sim().set_reg(0x33, 0xF5);
    const uint8_t want[] = {1, 0, 1, 0, 0};
    for (uint8_t board = 0; board < 5; ++board) {
        uint8_t present = 0xAA;
        EXPECT_EQ(BSP_GetCtrlBoardPresent(board, &present), 0u);
        EXPECT_EQ(present, want[board]) << int(board);
    }
}

TEST_F(Presence, CtrlBoardPresentFailures)
{
    uint8_t present = 0xAA;
    EXPECT_EQ(BSP_GetCtrlBoardPresent(0, nullptr), kErr);
    EXPECT_EQ(cpld_reads(sim()), 0u);
    sim().fail(Op::LocalBusRead, 1, -1, 0x33);
    EXPECT_EQ(BSP_GetCtrlBoardPresent(0, &present), kErr);
    EXPECT_EQ(present, 0xAA);
}

// The last good answer per board stands in when the CPLD cannot be read.
TEST_F(Presence, IsCtrlBoardPresentFallsBackToLastKnown)
{
    sim().set_reg(0x33, 0x01);
    EXPECT_EQ(BSP_IsCtrlBoardPresent(0), 1u);  // board 0 known present
    sim().set_reg(0x33, 0x00);
    EXPECT_EQ(BSP_IsCtrlBoardPresent(0), 0u);
    sim().set_reg(0x33, 0x01);
    EXPECT_EQ(BSP_IsCtrlBoardPresent(0), 1u);
    sim().set_reg(0x33, 0x03);

    sim().fail(Op::LocalBusRead, 2, -1, 0x33);
    EXPECT_EQ(BSP_IsCtrlBoardPresent(0), 1u) << "last known: present";
    EXPECT_EQ(BSP_IsCtrlBoardPresent(1), 0u) << "never read: absent";

    EXPECT_EQ(BSP_IsCtrlBoardPresent(1), 1u);
    sim().set_reg(0x33, 0x01);
    EXPECT_EQ(BSP_IsCtrlBoardPresent(1), 0u);
    sim().fail(Op::LocalBusRead, 1, -1, 0x33);
    EXPECT_EQ(BSP_IsCtrlBoardPresent(1), 0u) << "last known: absent";

    sim().clear_events();
    EXPECT_EQ(BSP_IsCtrlBoardPresent(4), 0u);
    EXPECT_EQ(BSP_IsCtrlBoardPresent(255), 0u);
    EXPECT_TRUE(sim().events().empty());
}

// ------------------------------------------------------------------ shipped profiles

struct ProfileCase {
    const char *profile;
    uint32_t boards;
    std::array<uint8_t, 4> present;
    std::array<uint8_t, 4> online;  // the raw bits: they do not depend on the board count
    std::array<uint8_t, 4> booted;
    uint32_t os_board_id;
    uint8_t bios;
    uint32_t start;
};

const ProfileCase kProfiles[] = {
    {"arm-2u2c", 2, {1, 1, 0, 0}, {1, 1, 0, 0}, {1, 1, 0, 0}, 0x120500, 1, 3},
    {"x86-2u", 2, {1, 1, 0, 0}, {1, 1, 0, 0}, {1, 1, 0, 0}, 0x122D00, 1, 3},
    {"4u4c", 4, {1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}, 0x127100, 1, 3},
    {"exp-2u", 2, {1, 1, 0, 0}, {1, 1, 0, 0}, {0, 0, 0, 0}, 0, 0, 0},
    {"smm", 2, {1, 1, 0, 0}, {1, 1, 1, 1}, {1, 1, 1, 1}, 0, 0, 0},
};

void PrintTo(const ProfileCase &c, std::ostream *os) { *os << c.profile; }

class ShippedProfile : public bsptest::SimTestWithParam<ProfileCase> {
protected:
    std::string profile() const override { return GetParam().profile; }
};

// A board in service: powered before, AC up, its enclosure's boards in and online.
TEST_P(ShippedProfile, PresenceAndStatus)
{
    const ProfileCase &c = GetParam();
    cpldtest::read_board_id_first(sim());
    EXPECT_EQ(BSP_IsBoardFirstPowerOn(), 0u);
    EXPECT_EQ(BSP_IsAcDown(), 0u);
    EXPECT_EQ(BSP_GetCtrlBoardNum(), c.boards);
    for (uint8_t board = 0; board < 4; ++board) {
        SCOPED_TRACE(int(board));
        EXPECT_EQ(BSP_IsCtrlBoardPresent(board), c.present[board]);
        EXPECT_EQ(BSP_GetBoardOnlineStatus(board), c.online[board]);
        uint8_t booted = 0xAA;
        EXPECT_EQ(BSP_CtrlBoardGetOSBootStatus(board, &booted), 0u);
        EXPECT_EQ(booted, c.booted[board]);
    }
    EXPECT_EQ(BSP_GetOsBoardId(), c.os_board_id);
    uint8_t bios = 0xAA;
    EXPECT_EQ(BSP_GetBiosState(&bios), 0u);
    EXPECT_EQ(bios, c.bios);
    EXPECT_EQ(BSP_GetStartState(), c.start);
    EXPECT_EQ(debug_texts(), std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(Presence, ShippedProfile, ::testing::ValuesIn(kProfiles),
                         [](const auto &info) {
                             std::string n = info.param.profile;
                             for (char &ch : n) ch = (ch == '-') ? '_' : ch;
                             return n;
                         });

}  // namespace
