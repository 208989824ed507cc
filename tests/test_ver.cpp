// Versions: the logic version register table, CPLD version texts (read only after a passed self
// test), the BMC version, the PCB number and letter, the boot-loader and SDK versions and the
// SoC chip information.
#include <array>
#include <cstring>

#include "test_helpers.h"

namespace {

using bspsim::Op, bspsim::Source;
using bsptest::hex, bsptest::kErr, bsptest::PrintTo;

constexpr uint32_t kBoardInfo = 0x80047306, kChipInfo = 0x8004731A;

class VerTest : public bsptest::SimTest {
protected:
    // CPLD transfers only, without the bus lookups around them.
    std::string bus() const { return tr({Op::LocalBusRead, Op::LocalBusWrite, Op::SpiRead, Op::SpiWrite}); }
};
template <typename T> class VerCase : public VerTest, public ::testing::WithParamInterface<T> {};

TEST(Versions, LogicVerTableRowsAndOutOfRange)
{
    std::string rows;
    for (uint32_t row = 0; row < BSP_GetSizeOfLogicVerRegTable(); ++row)
        rows += hex(BSP_GetBoardIdOfLogicVerRegTable(row)) + ":" + std::to_string(BSP_GetCpldNumOfLogicVerRegTable(row)) + " ";
    EXPECT_EQ(rows, "0x0:3 0x3:3 0x5:2 0x6:2 0x9:2 0xA:3 0x12:2 0x14:2 0x11:2 0x71:2 0x22:2 0x1D:2 0x24:2 0x27:2 "
                    "0x2E:2 0x33:2 0x35:2 0x2D:2 0x99:2 0x95:2 ");
    for (uint32_t row : {20u, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(BSP_GetBoardIdOfLogicVerRegTable(row) << 8 | BSP_GetCpldNumOfLogicVerRegTable(row), 0xFF00);
}

std::string x(uint32_t v, int width = 0)
{
    char text[16];
    std::snprintf(text, sizeof text, "%0*x", width, v);
    return text;
}

// The version registers of a CPLD (main, test, middle) by the board's row, kErr in all three
// where the board does not have the CPLD: then that triple is written and the call fails.
// Otherwise the text "00.MM.NNNTtt" of the values of those registers: the middle number, the
// name of the low nibble of the main register, the test number; read after the self test.
// Three-digit numbers keep the pieces in their places, so the extra digit pushes out what
// follows it inside its piece.
struct VersionCase {
    const char *name; uint8_t board_id, cpld;
    std::array<uint32_t, 3> regs; std::array<uint8_t, 3> values; const char *text;
};

const VersionCase kVersions[] = {
    {"board_05_cpld_0", 0x05, 0, {0x000, 0x001, 0x00E}, {0x04, 1, 5}, "00.05.200T01"},
    {"board_05_cpld_1_high_nibble_ignored", 0x05, 1, {0x248, 0x249, 0x24E}, {0x3F, 0, 0}, "00.00.430T00"},
    {"board_00_cpld_2", 0x00, 2, {0x008, 0x009, 0x00F}, {0x09, 12, 99}, "00.99.310T12"},
    {"board_0A_cpld_1", 0x0A, 1, {0x008, 0x009, 0x00F}, {0x0C, 2, 10}, "00.10.400T02"},
    {"board_0A_cpld_2", 0x0A, 2, {0x248, 0x249, 0x24E}, {0x08, 0, 2}, "00.02.300T00"},
    {"both_255", 0x05, 0, {0x000, 0x001, 0x00E}, {0x0F, 255, 255}, "00.255430T25"},
    {"board_05_cpld_2", 0x05, 2, {kErr, kErr, kErr}, {}, ""},
    {"board_05_cpld_200", 0x05, 200, {kErr, kErr, kErr}, {}, ""},
};

using CpldVersion = VerCase<VersionCase>;

TEST_P(CpldVersion, RegistersOfTheBoardsRowAndTheirText)
{
    const VersionCase &c = GetParam();
    known_board(c.board_id);
    std::array<uint32_t, 3> regs = {1, 1, 1};
    const bool none = c.regs[0] == kErr;
    EXPECT_EQ(BSP_GetCpldVerReg(c.cpld, &regs[0], &regs[1], &regs[2]), none ? kErr : 0u);
    EXPECT_EQ(regs, c.regs);
    EXPECT_EQ(log_line(), none ? "0:BSP: Get cpld ver regs fail. BoardId:0x5, CpldId:" + std::to_string(c.cpld) : "");
    if (none) return;
    const std::string test = x(regs[0] + 2);
    std::string trace = "wr " + test + "=aa rd " + test + "=55 wr " + test + "=55 rd " + test + "=aa";
    sim().make_self_test(regs[0] + 2);
    for (int i = 0; i < 3; ++i) {
        sim().set_reg(regs[i], c.values[i]);
        trace += " rd " + x(regs[i]) + "=" + x(c.values[i], 2);
    }
    forget();
    char ver[16];
    std::memset(ver, '#', sizeof ver);
    EXPECT_EQ(BSP_GetCpldVersion(c.cpld, ver), 0u);
    EXPECT_EQ(std::string(ver, 14), c.text + std::string("\0#", 2)) << "nothing written past the terminator";
    EXPECT_EQ(bus(), trace);
    EXPECT_EQ(log_line(), "");
}

BSP_CASES(Versions, CpldVersion, kVersions);

// Every low nibble of the main register names its version: (nibble / 4 + 1), (nibble % 4), "0".
TEST_F(VerTest, EveryNormalVersionName)
{
    known_board(0x05);
    sim().make_self_test(0x002);
    for (uint8_t nibble = 0; nibble < 16; ++nibble) {
        sim().set_reg(0x000, nibble);
        char ver[16] = {};
        ASSERT_EQ(BSP_GetCpldVersion(0, ver), 0u);
        EXPECT_EQ(std::string(ver).substr(6, 3), std::to_string(nibble / 4 + 1) + std::to_string(nibble % 4) + "0");
    }
}

// Refusals, and a board without a row: nothing written, no version string (which answers 0).
TEST_F(VerTest, CpldVerRegRefusalsAndAnUnknownBoard)
{
    uint32_t m = 1, t = 1, mid = 1;
    EXPECT_EQ(BSP_GetCpldVerReg(0, &m, nullptr, &mid), kErr);
    sim().fail(Op::DevOpen, 1);
    EXPECT_EQ(BSP_GetCpldVerReg(0, &m, &t, &mid), kErr);
    EXPECT_EQ(log_line(), "0:Input CPLD Version reg buffer is null | 0:Error: open sys_info dev fail | "
                          "0:BSP: Get Bmc BoardId Failed for getting cpld ver reg, Ret=0xffffffff");
    known_board(0x81);
    EXPECT_EQ(BSP_GetCpldVerReg(1, &m, &t, &mid), kErr);
    EXPECT_EQ(m + t + mid, 3u);
    char buf[16] = "keep";
    EXPECT_EQ(BSP_GetCpldVerStr(buf, sizeof buf), 0u);
    EXPECT_STREQ(buf, "keep");
    EXPECT_EQ(log_line(), "0:BSP: Get cpld ver regs fail. BoardId:0x81, CpldId:1 | "
                          "0:BSP: Get cpld num fail. BoardId:0x81 | 0:Get CPLD Version str fail");
}

// A failed formatting or copy is logged; the text keeps what the buffer held there and the
// result stays 0.
// The operation that fails (after `skip` calls pass) with `code`; the text ('#' where the buffer
// was not written) and the log.
struct CopyFailure { const char *name; Op op; uint32_t skip; int32_t code; const char *text, *log; };

// middle_format: the scratch was never written, its zeros are copied. test_format: the scratch
// still holds the middle piece, whose first three characters are copied. test_byte_unreadable:
// after the self test's two reads and the main register, an unreadable byte counts as 0.
const CopyFailure kCopyFailures[] = {
    {"middle_format", Op::SprintfS, 0, -1, "\0\0\0\0\0\0" "200T01", "0:Error: copy comp version failed."},
    {"middle_copy", Op::MemcpyS, 0, 34, "######200T01", "0:Error: copy cpld version failed, result = 34."},
    {"name_copy", Op::MemcpyS, 1, 34, "00.05.###T01", "0:Error: copy cpld nml version failed, result = 34."},
    {"test_format", Op::SprintfS, 1, -1, "00.05.20000.", "0:Error: copy test version failed, result = -1."},
    {"test_copy", Op::MemcpyS, 2, 34, "00.05.200###", "0:Error: copy cpld version failed, result = 34."},
    {"test_byte_unreadable", Op::LocalBusRead, 3, -1, "00.05.200T00", "0:read cpld byte error."},
};

using CpldVersionCopy = VerCase<CopyFailure>;

TEST_P(CpldVersionCopy, LoggedAndTheRestIsWritten)
{
    const CopyFailure &c = GetParam();
    known_board();
    for (auto [reg, value] : {std::pair{0x000, 0x04}, {0x001, 1}, {0x00E, 5}}) sim().set_reg(reg, value);
    sim().fail(c.op, 1, c.code, bspsim::kAnyKey, c.skip);
    char ver[16];
    std::memset(ver, '#', sizeof ver);
    EXPECT_EQ(BSP_GetCpldVersion(0, ver), 0u);
    EXPECT_EQ(std::string(ver, 13), std::string(c.text, 12) + '\0');
    EXPECT_EQ(log_line(), c.log);
}

BSP_CASES(Versions, CpldVersionCopy, kCopyFailures);

// A CPLD that fails its self test has no version: nothing but the test's own transfers, the
// semaphore given back. The string appends every CPLD's version, "invalid" for one that fails,
// answers 0 whatever happens, and tells trouble only in the text and the log.
TEST_F(VerTest, FailedSelfTestAndTheVersionString)
{
    known_board();
    sim().script(Source::Register, 0x24A, {0xAA, 0x55, 0xAA, 0x55});
    char ver[16] = "untouched", buf[64] = "cpld:";
    EXPECT_EQ(BSP_GetCpldVersion(1, ver), kErr);
    EXPECT_STREQ(ver, "untouched");
    EXPECT_EQ(bus(), "wr 24a=aa rd 24a=aa wr 24a=55 rd 24a=55");
    EXPECT_EQ(tr({Op::SemP, Op::SemV}), "P12/2 V12");
    EXPECT_EQ(BSP_GetCpldVersion(0, nullptr), kErr);
    sim().fail(Op::MemsetS, 1, 34, bspsim::kAnyKey, 2);  // clearing the scratch after the first version
    EXPECT_EQ(BSP_GetCpldVerStr(buf, sizeof buf), 0u);
    EXPECT_STREQ(buf, "cpld:00.05.200T01,invalid");
    // Ten bytes: each version refused, the separator too. Thirteen: room for one version, not for
    // the separator, which empties it.
    char small[10] = "", thirteen[13] = "";
    EXPECT_EQ(BSP_GetCpldVerStr(small, sizeof small) + BSP_GetCpldVerStr(thirteen, sizeof thirteen), 0u);
    EXPECT_EQ(std::string(small) + "|" + thirteen, "|00.02.110T03");
    EXPECT_EQ(BSP_GetCpldVerStr(nullptr, 16) + BSP_GetCpldVerStr(buf, 0), 0u);
    EXPECT_EQ(log_line(), "0:CPLD_1 self test fail, so get its ver fail | 0:Input CPLD Version buffer is null | "
                          "0:Error: init cpld  version buf failed, result = 34. | 0:CPLD_1 self test fail, so get its ver fail | "
                          "0:Error: copy cpld version failed, result = 34. | 0:Error: copy cpld version failed, result = 34. | "
                          "0:Error: copy cpld version sep failed, result = 34. | 0:Input CPLD version str buffer is null | 0:Input CPLD version str buffer is null");
}


// A fixed text in a cleared 64-byte buffer; failures are logged and still answer 0.
TEST_F(VerTest, BmcVersion)
{
    char buf[64];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(BSP_GetBmcVersion(buf) + BSP_GetBmcVersion(nullptr), kErr);
    EXPECT_EQ(std::string(buf, sizeof buf), "66.25.01T13" + std::string(53, '\0'));
    std::memset(buf, '#', sizeof buf);
    sim().fail(Op::MemsetS, 1, 34);
    EXPECT_EQ(BSP_GetBmcVersion(buf), 0u);
    EXPECT_EQ(std::string(buf) + buf[31] + buf[63], std::string("66.25.01T13") + '\0' + '\0');
    sim().fail(Op::StrcpyS, 1, 34);
    EXPECT_EQ(BSP_GetBmcVersion(buf), 0u);
    EXPECT_EQ(log_line(), "0:memset_s data to BmcVersion failed, ret = 34 | 0:Error: copy bmc version failed, ret = 34.");
}

// The PCB number: bits 1 to 3 of the board-information word, but on the two-processor board
// pins 26, 27 and 29 (bit 0 first), each set to input and read in turn. The letter: "A" + number,
// "H" when the number cannot be read. Only revisions 0, 1, 16 and 17 pass the check.
// The profile, its board-information word (0: the profile's), the levels of pins 26, 27 and 29,
// the number and letter, and the trace of the number's query (null: not checked).
struct PcbCase {
    const char *name, *profile; uint32_t info_word; std::array<uint8_t, 3> pins; const char *pcb_letter, *trace;
};

const PcbCase kPcbs[] = {
    {"word_bits_1_to_3", "default", 0x54, {1, 1, 1}, "2C", "open sys_info ioctl 80047306=54 close sys_info"},
    {"word_all_bits", "default", 0x5F, {0, 0, 0}, "7H", nullptr},
    {"two_processor_pins", "4u4c", 0, {0, 1, 1}, "6G", "gi 26=in gr 26=0 gi 27=in gr 27=1 gi 29=in gr 29=1"},
    {"two_processor_ignores_word", "4u4c", 0x71E, {1, 0, 0}, "1B", nullptr},
};

class PcbVersion : public VerCase<PcbCase> {
    std::string profile() const override { return GetParam().profile; }
};

TEST_P(PcbVersion, NumberAndLetter)
{
    const PcbCase &c = GetParam();
    if (c.info_word != 0) sim().set_sysinfo(kBoardInfo, c.info_word);
    for (int i = 0; i < 3; ++i) sim().set_pin(i == 2 ? 29 : 26 + i, c.pins[i]);
    known_board();
    uint8_t pcb = 0x77;
    char letter = '?';
    EXPECT_EQ(BSP_GetBmcBoardPcb(&pcb), 0u);
    if (c.trace) { EXPECT_EQ(tr(), c.trace); }
    EXPECT_EQ(BSP_GetPcbVersion(&letter), 0u);
    EXPECT_EQ(std::to_string(pcb) + letter, c.pcb_letter);
    EXPECT_EQ(log_line(), "");
}

BSP_CASES(Versions, PcbVersion, kPcbs);

class TwoProcessorBoard : public VerTest { std::string profile() const override { return "4u4c"; } };

// A failed pin read gives 0xFF, stops there, and shows as "H".
TEST_F(TwoProcessorBoard, FailedPinRead)
{
    known_board();
    uint8_t pcb = 0;
    char letter = '?';
    sim().fail(Op::GpioRead, 1, -1, 27);
    EXPECT_EQ(BSP_GetBmcBoardPcb58302P(&pcb), kErr);
    EXPECT_EQ(pcb, 0xFF);
    EXPECT_EQ(tr(), "gi 26=in gr 26=1 gi 27=in gr 27=0!-1");
    sim().fail(Op::GpioRead, 1, -1, 29);
    EXPECT_EQ(BSP_GetBmcBoardPcb(&pcb), kErr);
    sim().fail(Op::GpioRead, 1, -1, 26);
    EXPECT_EQ(BSP_GetPcbVersion(&letter), 0u);
    EXPECT_EQ(letter, 'H');
    EXPECT_EQ(log_line(), "0:get 5830 2p bmc board pcb version failed. | 0:get 5830 2p bmc board pcb version failed.");
}

// The device cannot be opened or asked: logged, the number untouched, the letter "H"; an opened
// device is closed. A failed clear of the record is only logged.
TEST_F(VerTest, PcbDeviceFailuresAndArguments)
{
    known_board();
    uint8_t pcb = 0x33;
    char letter = '?';
    sim().fail(Op::DevOpen, 2);
    EXPECT_EQ(BSP_GetBmcBoardPcb(&pcb), kErr);
    EXPECT_EQ(BSP_GetPcbVersion(&letter), 0u);
    EXPECT_EQ(std::to_string(pcb) + letter, "51H");
    sim().fail(Op::DevIoctl, 1, -1, kBoardInfo);
    sim().fail(Op::MemsetS, 1, 34, bspsim::kAnyKey, 1);  // the record's clear, after the board id's
    EXPECT_EQ(BSP_GetBmcBoardPcb(&pcb), kErr);
    EXPECT_EQ(tr(), "open sys_info!-1 open sys_info!-1 memset_s!34 open sys_info ioctl 80047306=0!-1 close sys_info");
    EXPECT_EQ(log_line(), "0:open sys_info dev fail. | 0:open sys_info dev fail. | "
                          "0:Error: init sysinfo failed, result = 34. | 0:ioctrl sys_info dev fail");
    std::string accepted;
    for (unsigned v = 0; v < 256; ++v)
        if (BSP_PcbVersionCheck(static_cast<uint8_t>(v)) == 0) accepted += std::to_string(v) + " ";
    EXPECT_EQ(accepted, "0 1 16 17 ");
}

// The boot-loader version of the copy that booted and both SDK texts, their lengths passed on
// (a buffer too short for its text is refused there); each failure is logged and still 0.
// The fault (once, with -4), the length passed for the first SDK text, "uboot|sdk1|sdk2".
struct SdkCase { const char *name; Op fault; size_t sdk1_len; const char *versions, *log; };

const SdkCase kSdk[] = {
    {"copy_that_booted", Op::None, 16, "2.1.07|5.6.0.3|5.6.0.3.B010", ""},
    {"short_sdk_buffer", Op::None, 4, "2.1.07||", "0:The sdk version get failed, result = -1"},
    {"uboot_num", Op::GetUbootNum, 16, "1.0.0|5.6.0.3|5.6.0.3.B010", "0:The ubootNum get failed, result = -4"},
    {"uboot_ver", Op::GetUbootVer, 16, "|5.6.0.3|5.6.0.3.B010", "0:The uboot version get failed, result = -4"},
    {"sdk_ver", Op::GetSdkVer, 16, "2.1.07||", "0:The sdk version get failed, result = -4"},
};

using SdkUboot = VerCase<SdkCase>;

TEST_P(SdkUboot, VersionsAndFailures)
{
    const SdkCase &c = GetParam();
    sim().set_uboot(1, "1.0.0", "2.1.07");
    if (c.fault != Op::None) sim().fail(c.fault, 1, -4);
    char uboot[64] = "", sdk1[16] = "", sdk2[16] = "";
    EXPECT_EQ(BSP_Get5830SdkUbootVersion(uboot, 0, sdk1, c.sdk1_len, sdk2, sizeof sdk2), 0u);
    EXPECT_EQ(std::string(uboot) + "|" + sdk1 + "|" + sdk2, c.versions);
    EXPECT_EQ(log_line(), c.log);
    auto sdk = events(Op::GetSdkVer);
    EXPECT_EQ(sdk.at(0).a << 8 | sdk.at(0).b, c.sdk1_len << 8 | sizeof sdk2);
}

BSP_CASES(Versions, SdkUboot, kSdk);

// The SoC chip record is passed through; device failures leave it, and close an opened device.
TEST_F(VerTest, ChipInfo)
{
    sim().set_sysinfo(kChipInfo, 0x12345678);
    uint32_t info = 0xA5A5A5A5;
    sim().fail(Op::DevOpen, 1);
    sim().fail(Op::DevIoctl, 1, -1, kChipInfo);
    std::string got;
    for (uint32_t *out : {&info, &info, static_cast<uint32_t *>(nullptr), &info}) {
        uint32_t rc = BSP_GetBmc5830ChipInfo(out);
        got += x(rc) + " " + x(info) + "|";
    }
    EXPECT_EQ(got, "ffffffff a5a5a5a5|ffffffff a5a5a5a5|ffffffff a5a5a5a5|0 12345678|");
    EXPECT_EQ(tr(), "open sys_info!-1 open sys_info ioctl 8004731a=0!-1 close sys_info "
                    "open sys_info ioctl 8004731a=12345678 close sys_info");
    EXPECT_EQ(log_line(), "0:Open sys_info dev fail. | 0:Ioctrl sys_info get chip version failed.");
}

}  // namespace
