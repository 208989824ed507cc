// Versions: the logic version register table, CPLD version texts (read only after a passed self
// test), the BMC version, the PCB number and letter, the boot-loader and SDK versions and the
// SoC chip information.
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "bmc_bsp.h"
#include "cpld_test_util.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bspsim::Source;
using bsptest::kErr;
using Strings = std::vector<std::string>;

constexpr uint32_t kBoardInfo = 0x80047306u;
constexpr uint32_t kChipInfo = 0x8004731Au;
constexpr uint32_t kSysInfoDevice = 0;  // Device::SysInfo, the key of device faults

using cpldtest::kProfileBoard;
using cpldtest::PrintTo;
using cpldtest::settle;

// ------------------------------------------------------ logic version register table

using LogicVerTable = bsptest::SimTest;

TEST_F(LogicVerTable, RowsInOrderAndOutOfRangeAnswers)
{
    const std::vector<std::pair<uint8_t, uint8_t>> rows = {
        {0x00, 3}, {0x03, 3}, {0x05, 2}, {0x06, 2}, {0x09, 2}, {0x0A, 3}, {0x12, 2}, {0x14, 2}, {0x11, 2}, {0x71, 2},
        {0x22, 2}, {0x1D, 2}, {0x24, 2}, {0x27, 2}, {0x2E, 2}, {0x33, 2}, {0x35, 2}, {0x2D, 2}, {0x99, 2}, {0x95, 2},
    };
    ASSERT_EQ(BSP_GetSizeOfLogicVerRegTable(), rows.size());
    for (uint32_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(BSP_GetBoardIdOfLogicVerRegTable(i), rows[i].first) << "row " << i;
        EXPECT_EQ(BSP_GetCpldNumOfLogicVerRegTable(i), rows[i].second) << "row " << i;
    }
    for (uint32_t row : {20u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(BSP_GetBoardIdOfLogicVerRegTable(row), 0xFF);
        EXPECT_EQ(BSP_GetCpldNumOfLogicVerRegTable(row), 0);
    }
}

struct VerRegCase {
    const char *name;
    uint8_t board_id;
    uint8_t cpld;
    std::array<uint32_t, 3> regs;  // main, test, middle
    uint32_t status;
};

const VerRegCase kVerRegs[] = {
    {"Board00Cpld2", 0x00, 2, {0x008, 0x009, 0x00F}, 0},
    {"Board05Cpld0", 0x05, 0, {0x000, 0x001, 0x00E}, 0},
    {"Board05Cpld1", 0x05, 1, {0x248, 0x249, 0x24E}, 0},
    {"Board0ACpld1", 0x0A, 1, {0x008, 0x009, 0x00F}, 0},
    {"Board0ACpld2", 0x0A, 2, {0x248, 0x249, 0x24E}, 0},
    {"Board95Cpld1", 0x95, 1, {0x248, 0x249, 0x24E}, 0},
    // No third CPLD: the outputs are written with the empty triple and the lookup fails.
    {"Board05Cpld2", 0x05, 2, {kErr, kErr, kErr}, kErr},
    {"Board05Cpld200", 0x05, 200, {kErr, kErr, kErr}, kErr},
};

class CpldVerReg : public bsptest::SimTestWithParam<VerRegCase> {};

TEST_P(CpldVerReg, TripleOfTheBoardsRow)
{
    const VerRegCase &c = GetParam();
    settle(sim(), c.board_id);
    std::array<uint32_t, 3> got = {1, 1, 1};
    EXPECT_EQ(BSP_GetCpldVerReg(c.cpld, &got[0], &got[1], &got[2]), c.status);
    EXPECT_EQ(got, c.regs);
    if (c.status == 0) {
        EXPECT_TRUE(debug_texts().empty());
    } else {
        EXPECT_EQ(debug_texts(), Strings{"0:BSP: Get cpld ver regs fail. BoardId:0x5, CpldId:" + std::to_string(c.cpld)});
    }
}

BSP_CASES(Versions, CpldVerReg, kVerRegs);

using CpldVerRegFailure = bsptest::SimTest;

TEST_F(CpldVerRegFailure, NullUnknownBoardAndUnreadableId)
{
    uint32_t m = 1, t = 1, mid = 1;
    EXPECT_EQ(BSP_GetCpldVerReg(0, &m, nullptr, &mid), kErr);
    EXPECT_EQ(debug_texts(), Strings{"0:Input CPLD Version reg buffer is null"});
    sim().clear_logs();
    sim().fail(Op::DevOpen, 1, -1, kSysInfoDevice);
    EXPECT_EQ(BSP_GetCpldVerReg(0, &m, &t, &mid), kErr);
    EXPECT_EQ(debug_texts().back(), "0:BSP: Get Bmc BoardId Failed for getting cpld ver reg, Ret=0xffffffff");
    settle(sim(), 0x81);
    EXPECT_EQ(BSP_GetCpldVerReg(1, &m, &t, &mid), kErr);
    EXPECT_EQ(debug_texts(), Strings{"0:BSP: Get cpld ver regs fail. BoardId:0x81, CpldId:1"});
    EXPECT_EQ(m, 1u) << "no row: nothing written";
}

// ---------------------------------------------------------------- CPLD version text

struct VersionCase {
    const char *name;
    uint8_t board_id;
    uint8_t cpld;
    uint32_t selftest_reg;             // made a working test register for the case
    std::array<uint32_t, 3> regs;      // main, test, middle
    std::array<uint8_t, 3> values;     // their contents
    std::string text;
};

const VersionCase kVersions[] = {
    {"Board05Cpld0", 0x05, 0, 0x002, {0x000, 0x001, 0x00E}, {0x04, 1, 5}, "00.05.200T01"},
    // Only the low nibble of the main register names the version.
    {"HighNibbleIgnored", 0x05, 1, 0x24A, {0x248, 0x249, 0x24E}, {0x3F, 0, 0}, "00.00.430T00"},
    {"Board00Cpld2", 0x00, 2, 0x00A, {0x008, 0x009, 0x00F}, {0x09, 12, 99}, "00.99.310T12"},
    {"Board0ACpld1", 0x0A, 1, 0x00A, {0x008, 0x009, 0x00F}, {0x0C, 2, 10}, "00.10.400T02"},
    {"Board0ACpld2", 0x0A, 2, 0x24A, {0x248, 0x249, 0x24E}, {0x00, 0, 1}, "00.01.100T00"},
    // Three-digit numbers: the pieces keep their places, so the extra digit pushes out what
    // follows it inside its piece.
    {"MiddleOf123", 0x05, 0, 0x002, {0x000, 0x001, 0x00E}, {0x04, 1, 123}, "00.123200T01"},
    {"TestOf150", 0x05, 0, 0x002, {0x000, 0x001, 0x00E}, {0x04, 150, 5}, "00.05.200T15"},
    {"Both255", 0x05, 0, 0x002, {0x000, 0x001, 0x00E}, {0x0F, 255, 255}, "00.255430T25"},
};

class CpldVersion : public bsptest::SimTestWithParam<VersionCase> {};

TEST_P(CpldVersion, TextFromTheRowsRegisters)
{
    const VersionCase &c = GetParam();
    settle(sim(), c.board_id);
    sim().make_self_test(c.selftest_reg);
    for (size_t i = 0; i < 3; ++i) sim().set_reg(c.regs[i], c.values[i]);
    char ver[16];
    std::memset(ver, '#', sizeof ver);
    EXPECT_EQ(BSP_GetCpldVersion(c.cpld, ver), 0u);
    EXPECT_EQ(std::string(ver), c.text);
    EXPECT_EQ(ver[13], '#') << "nothing written past the terminator";
    // Self test first, then main, test and middle register.
    Strings reads;
    for (const auto &e : events(Op::LocalBusRead)) reads.push_back(bsptest::hex(e.a));
    Strings want = {bsptest::hex(c.selftest_reg), bsptest::hex(c.selftest_reg)};
    for (uint32_t r : c.regs) want.push_back(bsptest::hex(r));
    EXPECT_EQ(reads, want);
    EXPECT_TRUE(debug_texts().empty());
}

BSP_CASES(Versions, CpldVersion, kVersions);

using CpldVersionFailure = bsptest::SimTest;

TEST_F(CpldVersionFailure, FailedSelfTestReadsNoVersion)
{
    settle(sim());
    sim().script(Source::Register, 0x24A, {0xAA, 0x55});
    char ver[16] = "untouched";
    EXPECT_EQ(BSP_GetCpldVersion(1, ver), kErr);
    EXPECT_STREQ(ver, "untouched");
    EXPECT_EQ(debug_texts(), Strings{"0:CPLD_1 self test fail, so get its ver fail"});
    EXPECT_EQ(cpldtest::bus_traffic(sim()), 4u) << "the self test's four transfers only";
    EXPECT_EQ(sim().sem_value(12), 1);
    sim().clear_logs();
    EXPECT_EQ(BSP_GetCpldVersion(0, nullptr), kErr);
    EXPECT_EQ(debug_texts(), Strings{"0:Input CPLD Version buffer is null"});
}

// A failed formatting or copy is logged; the text keeps what the buffer held there and the
// result stays 0.
struct CopyFailure {
    const char *name;
    Op op;
    uint32_t skip;
    int32_t code;
    std::string text;  // '#' where the buffer was not written
    std::string log;
};

const CopyFailure kCopyFailures[] = {
    // The scratch was never written: its zeros are copied.
    {"MiddleFormat", Op::SprintfS, 0, -1, std::string(6, '\0') + "200T01", "0:Error: copy comp version failed."},
    {"MiddleCopy", Op::MemcpyS, 0, 34, "######200T01", "0:Error: copy cpld version failed, result = 34."},
    {"NameCopy", Op::MemcpyS, 1, 34, "00.05.###T01", "0:Error: copy cpld nml version failed, result = 34."},
    // The scratch still holds the middle piece, whose first three characters are copied.
    {"TestFormat", Op::SprintfS, 1, -1, "00.05.20000.", "0:Error: copy test version failed, result = -1."},
    {"TestCopy", Op::MemcpyS, 2, 34, "00.05.200###", "0:Error: copy cpld version failed, result = 34."},
};

class CpldVersionCopy : public bsptest::SimTestWithParam<CopyFailure> {};

TEST_P(CpldVersionCopy, LoggedAndTheRestIsWritten)
{
    const CopyFailure &c = GetParam();
    settle(sim());
    sim().set_reg(0x000, 0x04);
    sim().set_reg(0x001, 1);
    sim().set_reg(0x00E, 5);
    sim().fail(c.op, 1, c.code, bspsim::kAnyKey, c.skip);
    char ver[16];
    std::memset(ver, '#', sizeof ver);
    EXPECT_EQ(BSP_GetCpldVersion(0, ver), 0u);
    EXPECT_EQ(std::string(ver, 12), c.text);
    EXPECT_EQ(ver[12], '\0');
    EXPECT_EQ(debug_texts(), Strings{c.log});
}

BSP_CASES(Versions, CpldVersionCopy, kCopyFailures);

// ------------------------------------------------------------------ version string

using CpldVerStr = bsptest::SimTest;

TEST_F(CpldVerStr, AppendsEveryCpldAndInvalidForOneThatFails)
{
    settle(sim());
    sim().script(Source::Register, 0x24A, {0xAA, 0x55});
    char buf[64] = "cpld:";
    EXPECT_EQ(BSP_GetCpldVerStr(buf, sizeof buf), 0u);
    EXPECT_STREQ(buf, "cpld:00.05.200T01,invalid");
    EXPECT_EQ(debug_texts(), Strings{"0:CPLD_1 self test fail, so get its ver fail"});
}

TEST_F(CpldVerStr, ThreeCpldBoard)
{
    settle(sim(), 0x00);
    sim().make_self_test(0x00A);
    sim().set_reg(0x008, 0x08);
    sim().set_reg(0x009, 0x00);
    sim().set_reg(0x00F, 0x02);
    char buf[64] = "";
    EXPECT_EQ(BSP_GetCpldVerStr(buf, sizeof buf), 0u);
    EXPECT_STREQ(buf, "00.05.200T01,00.02.110T03,00.02.300T00");
}

// The string builder always answers 0; only the text and the log tell.
TEST_F(CpldVerStr, TroubleShowsOnlyInTextAndLog)
{
    settle(sim(), 0x81);
    char buf[16] = "keep";
    EXPECT_EQ(BSP_GetCpldVerStr(buf, sizeof buf), 0u);
    EXPECT_STREQ(buf, "keep");
    EXPECT_EQ(debug_texts(), (Strings{"0:BSP: Get cpld num fail. BoardId:0x81", "0:Get CPLD Version str fail"}));
    sim().clear_logs();
    EXPECT_EQ(BSP_GetCpldVerStr(nullptr, 16), 0u);
    EXPECT_EQ(BSP_GetCpldVerStr(buf, 0), 0u);
    EXPECT_EQ(debug_texts(), (Strings{"0:Input CPLD version str buffer is null", "0:Input CPLD version str buffer is null"}));
}

TEST_F(CpldVerStr, TooSmallBufferIsLoggedPerVersion)
{
    settle(sim());
    char buf[10] = "";
    EXPECT_EQ(BSP_GetCpldVerStr(buf, sizeof buf), 0u);
    // Each version is refused and empties the buffer, the separator before it included.
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(count_logs(bsptest::kLogError, "Error: copy cpld version failed, result = 34."), 2u);
    EXPECT_EQ(debug_texts().size(), 2u);
}

// -------------------------------------------------------------------- BMC version

using BmcVersion = bsptest::SimTest;

TEST_F(BmcVersion, FixedTextInAClearedBuffer)
{
    char buf[64];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(BSP_GetBmcVersion(buf), 0u);
    EXPECT_EQ(std::string(buf, sizeof buf), std::string("66.25.01T13") + std::string(53, '\0'));
    EXPECT_EQ(BSP_GetBmcVersion(nullptr), kErr);
    EXPECT_TRUE(debug_texts().empty());
}

TEST_F(BmcVersion, FailuresAreLoggedAndStillAnswerZero)
{
    char buf[64];
    std::memset(buf, '#', sizeof buf);
    sim().fail(Op::MemsetS, 1, 34);
    EXPECT_EQ(BSP_GetBmcVersion(buf), 0u);
    EXPECT_STREQ(buf, "66.25.01T13") << "the copy is still made";
    EXPECT_EQ(buf[31], '\0');
    EXPECT_EQ(buf[63], '\0');
    sim().fail(Op::StrcpyS, 1, 34);
    EXPECT_EQ(BSP_GetBmcVersion(buf), 0u);
    EXPECT_EQ(debug_texts(), (Strings{"0:memset_s data to BmcVersion failed, ret = 34",
                                      "0:Error: copy bmc version failed, ret = 34."}));
}

// ----------------------------------------------------------------------------- PCB

struct PcbCase {
    const char *name;
    const char *profile;
    uint32_t info_word;                  // board-information word, 0: the profile's
    std::array<uint8_t, 3> pins;         // levels of pins 26, 27, 29
    uint8_t pcb;
    char letter;
};

const PcbCase kPcbs[] = {
    {"WordBits1To3", "default", 0x54, {1, 1, 1}, 2, 'C'},
    {"WordAllBits", "default", 0x5F, {0, 0, 0}, 7, 'H'},
    {"WordBit0IsNotPcb", "default", 0x51, {1, 1, 1}, 0, 'A'},
    {"X86Board", "x86-2u", 0, {0, 0, 0}, 1, 'B'},
    {"Board71Pins", "4u4c", 0, {0, 1, 1}, 6, 'G'},
    // The 2P board ignores the word's PCB bits.
    {"Board71IgnoresWord", "4u4c", 0x71E, {1, 0, 0}, 1, 'B'},
};

class PcbVersion : public bsptest::SimTestWithParam<PcbCase> {
protected:
    std::string profile() const override { return GetParam().profile; }
};

TEST_P(PcbVersion, NumberAndLetter)
{
    const PcbCase &c = GetParam();
    if (c.info_word != 0) sim().set_sysinfo(kBoardInfo, c.info_word);
    const std::array<uint32_t, 3> pins = {26, 27, 29};
    for (size_t i = 0; i < 3; ++i) sim().set_pin(pins[i], c.pins[i]);
    settle(sim());
    uint8_t pcb = 0x77;
    EXPECT_EQ(BSP_GetBmcBoardPcb(&pcb), 0u);
    EXPECT_EQ(pcb, c.pcb);
    char letter = '?';
    EXPECT_EQ(BSP_GetPcbVersion(&letter), 0u);
    EXPECT_EQ(letter, c.letter);
    EXPECT_TRUE(debug_texts().empty());
}

BSP_CASES(Versions, PcbVersion, kPcbs);

class PcbPins : public bsptest::SimTest {
protected:
    std::string profile() const override { return "4u4c"; }
};

TEST_F(PcbPins, EachPinInitialisedAsInputThenRead)
{
    settle(sim());
    uint8_t pcb = 0;
    EXPECT_EQ(BSP_GetBmcBoardPcb58302P(&pcb), 0u);
    Strings gpio;
    for (const auto &e : sim().events()) {
        if (e.op == Op::GpioInit) gpio.push_back("init " + std::to_string(e.a) + " dir " + std::to_string(e.b));
        if (e.op == Op::GpioRead) gpio.push_back("read " + std::to_string(e.a));
    }
    EXPECT_EQ(gpio, (Strings{"init 26 dir 0", "read 26", "init 27 dir 0", "read 27", "init 29 dir 0", "read 29"}));
    EXPECT_EQ(count(Op::DevIoctl), 0u) << "the 2P board asks no device";
}

TEST_F(PcbPins, FailedPinReadGivesFFAndLetterH)
{
    settle(sim());
    sim().fail(Op::GpioRead, 1, -1, 27);
    uint8_t pcb = 0;
    EXPECT_EQ(BSP_GetBmcBoardPcb58302P(&pcb), kErr);
    EXPECT_EQ(pcb, 0xFF);
    EXPECT_EQ(count(Op::GpioRead), 2u) << "stops at the failed pin";
    sim().fail(Op::GpioRead, 1, -1, 29);
    EXPECT_EQ(BSP_GetBmcBoardPcb(&pcb), kErr);
    EXPECT_EQ(debug_texts(), Strings{"0:get 5830 2p bmc board pcb version failed."});
    sim().fail(Op::GpioRead, 1, -1, 26);
    char letter = '?';
    EXPECT_EQ(BSP_GetPcbVersion(&letter), 0u);
    EXPECT_EQ(letter, 'H');
}

struct PcbDeviceFailure {
    const char *name;
    Op op;
    uint32_t key;
    std::string log;
};

const PcbDeviceFailure kPcbDeviceFailures[] = {
    {"Open", Op::DevOpen, kSysInfoDevice, "0:open sys_info dev fail."},
    {"Ioctl", Op::DevIoctl, kBoardInfo, "0:ioctrl sys_info dev fail"},
};

class PcbDevice : public bsptest::SimTestWithParam<PcbDeviceFailure> {};

TEST_P(PcbDevice, FailureIsLoggedAndTheLetterIsH)
{
    settle(sim());
    sim().fail(GetParam().op, 2, -1, GetParam().key);
    uint8_t pcb = 0x33;
    EXPECT_EQ(BSP_GetBmcBoardPcb(&pcb), kErr);
    EXPECT_EQ(pcb, 0x33);
    char letter = '?';
    EXPECT_EQ(BSP_GetPcbVersion(&letter), 0u);
    EXPECT_EQ(letter, 'H');
    EXPECT_EQ(debug_texts(), (Strings{GetParam().log, GetParam().log}));
    EXPECT_EQ(count(Op::DevClose), count(Op::DevOpen) - (GetParam().op == Op::DevOpen ? 2u : 0u))
        << "every opened device is closed";
}

BSP_CASES(Versions, PcbDevice, kPcbDeviceFailures);

using PcbArguments = bsptest::SimTest;

TEST_F(PcbArguments, NullRefusedBeforeAnyAccessAndCheckTable)
{
    EXPECT_EQ(BSP_GetBmcBoardPcb(nullptr), kErr);
    EXPECT_EQ(BSP_GetBmcBoardPcb58302P(nullptr), kErr);
    EXPECT_EQ(BSP_GetPcbVersion(nullptr), kErr);
    EXPECT_TRUE(sim().events().empty());
    for (unsigned pcb = 0; pcb < 256; ++pcb) {
        bool accepted = pcb == 0 || pcb == 1 || pcb == 16 || pcb == 17;
        EXPECT_EQ(BSP_PcbVersionCheck(static_cast<uint8_t>(pcb)), accepted ? 0u : kErr) << pcb;
    }
}

// ------------------------------------------------------------- boot loader and SDK

using SdkUboot = bsptest::SimTest;

TEST_F(SdkUboot, VersionsOfTheCopyThatBooted)
{
    sim().set_uboot(1, "1.0.0", "1.0.1");
    sim().set_sdk("7.1", "7.1.B3");
    char uboot[64] = "", sdk1[16] = "", sdk2[16] = "";
    EXPECT_EQ(BSP_Get5830SdkUbootVersion(uboot, 0, sdk1, sizeof sdk1, sdk2, sizeof sdk2), 0u);
    EXPECT_STREQ(uboot, "1.0.1");
    EXPECT_STREQ(sdk1, "7.1");
    EXPECT_STREQ(sdk2, "7.1.B3");
    EXPECT_EQ(events(Op::GetSdkVer).at(0).a, sizeof sdk1);
    EXPECT_EQ(events(Op::GetSdkVer).at(0).b, sizeof sdk2);
    EXPECT_TRUE(debug_texts().empty());
}

// The lengths reach the platform: a buffer too short for its text is refused there.
TEST_F(SdkUboot, ShortSdkBufferIsRefusedAndLogged)
{
    char uboot[64] = "", sdk1[4] = "", sdk2[16] = "";
    EXPECT_EQ(BSP_Get5830SdkUbootVersion(uboot, sizeof uboot, sdk1, sizeof sdk1, sdk2, sizeof sdk2), 0u);
    EXPECT_STREQ(uboot, "2.1.07");
    EXPECT_STREQ(sdk2, "");
    EXPECT_EQ(debug_texts(), Strings{"0:The sdk version get failed, result = -1"});
}

struct SdkFailure {
    const char *name;
    Op op;
    std::string uboot;  // what the boot-loader buffer ends up holding
    std::string log;
};

const SdkFailure kSdkFailures[] = {
    // The copy number stays 0 and copy 0 is asked.
    {"UbootNum", Op::GetUbootNum, "2.1.05", "0:The ubootNum get failed, result = -4"},
    {"UbootVer", Op::GetUbootVer, "", "0:The uboot version get failed, result = -4"},
    {"SdkVer", Op::GetSdkVer, "2.1.07", "0:The sdk version get failed, result = -4"},
};

class SdkUbootFailure : public bsptest::SimTestWithParam<SdkFailure> {
protected:
    std::string profile() const override { return "x86-2u"; }  // booted from copy 1
};

TEST_P(SdkUbootFailure, LoggedAndStillZero)
{
    sim().fail(GetParam().op, 1, -4);
    char uboot[64] = "", sdk1[16] = "", sdk2[16] = "";
    EXPECT_EQ(BSP_Get5830SdkUbootVersion(uboot, sizeof uboot, sdk1, sizeof sdk1, sdk2, sizeof sdk2), 0u);
    EXPECT_EQ(std::string(uboot), GetParam().uboot);
    EXPECT_EQ(debug_texts(), Strings{GetParam().log});
    EXPECT_EQ(count(Op::GetUbootVer) + count(Op::GetSdkVer), 2u) << "every step is tried";
}

BSP_CASES(Versions, SdkUbootFailure, kSdkFailures);

// ---------------------------------------------------------------- SoC chip information

using ChipInfo = bsptest::SimTest;

TEST_F(ChipInfo, RecordPassedThrough)
{
    sim().set_sysinfo(kChipInfo, 0x12345678);
    uint8_t info[4] = {};
    EXPECT_EQ(BSP_GetBmc5830ChipInfo(info), 0u);
    EXPECT_EQ(std::vector<uint8_t>(info, info + 4), (std::vector<uint8_t>{0x78, 0x56, 0x34, 0x12}));
    EXPECT_EQ(BSP_GetBmc5830ChipInfo(nullptr), kErr);
    EXPECT_EQ(count(Op::DevOpen), 1u);
    EXPECT_EQ(count(Op::DevClose), 1u);
}

TEST_F(ChipInfo, DeviceFailuresLeaveTheRecord)
{
    uint32_t info = 0xA5A5A5A5;
    sim().fail(Op::DevOpen, 1, -1, kSysInfoDevice);
    EXPECT_EQ(BSP_GetBmc5830ChipInfo(&info), kErr);
    sim().fail(Op::DevIoctl, 1, -1, kChipInfo);
    EXPECT_EQ(BSP_GetBmc5830ChipInfo(&info), kErr);
    EXPECT_EQ(info, 0xA5A5A5A5u);
    EXPECT_EQ(debug_texts(), (Strings{"0:Open sys_info dev fail.", "0:Ioctrl sys_info get chip version failed."}));
    EXPECT_EQ(count(Op::DevClose), 1u) << "the opened device is closed after the failed request";
}

}  // namespace
