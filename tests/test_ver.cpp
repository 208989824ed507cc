// Versions: the logic version register table, CPLD version texts (read only after a passed self
// test), the BMC version, the PCB number and letter, the boot-loader and SDK versions and the
// SoC chip information.
#include <array>
#include <cstring>
#include <string>

#include "test_helpers.h"

namespace {

using bspsim::Op;
using bspsim::Source;
using bsptest::hex;
using bsptest::kErr;
using bsptest::PrintTo;

constexpr uint32_t kBoardInfo = 0x80047306, kChipInfo = 0x8004731A;

class VerTest : public bsptest::SimTest {
protected:
    // CPLD transfers only, without the bus lookups around them.
    std::string bus() const { return tr({Op::LocalBusRead, Op::LocalBusWrite, Op::SpiRead, Op::SpiWrite}); }
};
template <typename T>
class VerCase : public VerTest, public ::testing::WithParamInterface<T> {};

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

// The version registers of a CPLD (main, test, middle) by the board's row; a CPLD the board does
// not have gets the empty triple written and fails.
struct VerRegCase {
    const char *name;
    uint8_t board_id, cpld;
    std::array<uint32_t, 3> regs;  // main, test, middle
};

const VerRegCase kVerRegs[] = {
    {.name = "board_00_cpld_2", .board_id = 0x00, .cpld = 2, .regs = {0x008, 0x009, 0x00F}},
    {.name = "board_05_cpld_0", .board_id = 0x05, .cpld = 0, .regs = {0x000, 0x001, 0x00E}},
    {.name = "board_05_cpld_1", .board_id = 0x05, .cpld = 1, .regs = {0x248, 0x249, 0x24E}},
    {.name = "board_0A_cpld_1", .board_id = 0x0A, .cpld = 1, .regs = {0x008, 0x009, 0x00F}},
    {.name = "board_0A_cpld_2", .board_id = 0x0A, .cpld = 2, .regs = {0x248, 0x249, 0x24E}},
    {.name = "board_95_cpld_1", .board_id = 0x95, .cpld = 1, .regs = {0x248, 0x249, 0x24E}},
    {.name = "board_05_cpld_2", .board_id = 0x05, .cpld = 2, .regs = {kErr, kErr, kErr}},
    {.name = "board_05_cpld_200", .board_id = 0x05, .cpld = 200, .regs = {kErr, kErr, kErr}},
};

using CpldVerReg = VerCase<VerRegCase>;

TEST_P(CpldVerReg, TripleOfTheBoardsRow)
{
    const VerRegCase &c = GetParam();
    known_board(c.board_id);
    std::array<uint32_t, 3> got = {1, 1, 1};
    bool none = c.regs[0] == kErr;
    EXPECT_EQ(BSP_GetCpldVerReg(c.cpld, &got[0], &got[1], &got[2]), none ? kErr : 0u);
    EXPECT_EQ(got, c.regs);
    EXPECT_EQ(log_line(), none ? "0:BSP: Get cpld ver regs fail. BoardId:0x5, CpldId:" + std::to_string(c.cpld) : "");
}

BSP_CASES(Versions, CpldVerReg, kVerRegs);

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

// "00.MM.NNNTtt": the middle number, the name of the low nibble of the main register, the test
// number; read after the self test. Three-digit numbers keep the pieces in their places, so the
// extra digit pushes out what follows it inside its piece.
struct VersionCase {
    const char *name;
    uint8_t board_id, cpld;
    std::array<uint8_t, 3> values;  // main, test and middle register
    const char *text, *trace = nullptr;  // trace: self-test writes and reads, then main, test, middle
};

const VersionCase kVersions[] = {
    {.name = "board_05_cpld_0", .board_id = 0x05, .cpld = 0, .values = {0x04, 1, 5}, .text = "00.05.200T01",
     .trace = "wr 2=aa rd 2=55 wr 2=55 rd 2=aa rd 0=04 rd 1=01 rd e=05"},
    {.name = "high_nibble_ignored", .board_id = 0x05, .cpld = 1, .values = {0x3F, 0, 0}, .text = "00.00.430T00",
     .trace = "wr 24a=aa rd 24a=55 wr 24a=55 rd 24a=aa rd 248=3f rd 249=00 rd 24e=00"},
    {.name = "board_00_cpld_2", .board_id = 0x00, .cpld = 2, .values = {0x09, 12, 99}, .text = "00.99.310T12",
     .trace = "wr a=aa rd a=55 wr a=55 rd a=aa rd 8=09 rd 9=0c rd f=63"},
    {.name = "board_0A_cpld_1", .board_id = 0x0A, .cpld = 1, .values = {0x0C, 2, 10}, .text = "00.10.400T02",
     .trace = "wr a=aa rd a=55 wr a=55 rd a=aa rd 8=0c rd 9=02 rd f=0a"},
    {.name = "middle_of_123", .board_id = 0x05, .cpld = 0, .values = {0x04, 1, 123}, .text = "00.123200T01"},
    {.name = "test_of_150", .board_id = 0x05, .cpld = 0, .values = {0x04, 150, 5}, .text = "00.05.200T15"},
    {.name = "both_255", .board_id = 0x05, .cpld = 0, .values = {0x0F, 255, 255}, .text = "00.255430T25"},
};

using CpldVersion = VerCase<VersionCase>;

TEST_P(CpldVersion, TextFromTheRowsRegisters)
{
    const VersionCase &c = GetParam();
    known_board(c.board_id);
    uint32_t regs[3];
    ASSERT_EQ(BSP_GetCpldVerReg(c.cpld, &regs[0], &regs[1], &regs[2]), 0u);
    sim().make_self_test(regs[0] + 2);
    for (int i = 0; i < 3; ++i) sim().set_reg(regs[i], c.values[i]);
    forget();
    char ver[16];
    std::memset(ver, '#', sizeof ver);
    EXPECT_EQ(BSP_GetCpldVersion(c.cpld, ver), 0u);
    EXPECT_EQ(std::string(ver, 14), c.text + std::string("\0#", 2)) << "nothing written past the terminator";
    if (c.trace) {
        EXPECT_EQ(bus(), c.trace);
    }
    EXPECT_EQ(log_line(), "");
}

BSP_CASES(Versions, CpldVersion, kVersions);

// A failed formatting or copy is logged; the text keeps what the buffer held there and the
// result stays 0.
struct CopyFailure {
    const char *name;
    Op op;
    uint32_t skip;
    int32_t code;
    const char *text, *log;  // '#' where the buffer was not written
};

const CopyFailure kCopyFailures[] = {
    // The scratch was never written: its zeros are copied.
    {.name = "middle_format", .op = Op::SprintfS, .skip = 0, .code = -1, .text = "\0\0\0\0\0\0" "200T01",
     .log = "0:Error: copy comp version failed."},
    {.name = "middle_copy", .op = Op::MemcpyS, .skip = 0, .code = 34, .text = "######200T01",
     .log = "0:Error: copy cpld version failed, result = 34."},
    {.name = "name_copy", .op = Op::MemcpyS, .skip = 1, .code = 34, .text = "00.05.###T01",
     .log = "0:Error: copy cpld nml version failed, result = 34."},
    // The scratch still holds the middle piece, whose first three characters are copied.
    {.name = "test_format", .op = Op::SprintfS, .skip = 1, .code = -1, .text = "00.05.20000.",
     .log = "0:Error: copy test version failed, result = -1."},
    {.name = "test_copy", .op = Op::MemcpyS, .skip = 2, .code = 34, .text = "00.05.200###",
     .log = "0:Error: copy cpld version failed, result = 34."},
    // After the self test's two reads and the main register: an unreadable byte counts as 0.
    {.name = "test_byte_unreadable", .op = Op::LocalBusRead, .skip = 3, .code = -1, .text = "00.05.200T00",
     .log = "0:read cpld byte error."},
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
    char small[10] = "";
    EXPECT_EQ(BSP_GetCpldVerStr(small, sizeof small), 0u);  // each version refused, the separator too
    EXPECT_STREQ(small, "");
    char thirteen[13] = "";  // room for one version, not for the separator, which empties it
    EXPECT_EQ(BSP_GetCpldVerStr(thirteen, sizeof thirteen), 0u);
    EXPECT_STREQ(thirteen, "00.02.110T03");
    EXPECT_EQ(BSP_GetCpldVerStr(nullptr, 16) + BSP_GetCpldVerStr(buf, 0), 0u);
    EXPECT_EQ(log_line(), "0:CPLD_1 self test fail, so get its ver fail | 0:Input CPLD Version buffer is null | "
                          "0:Error: init cpld  version buf failed, result = 34. | 0:CPLD_1 self test fail, so get its ver fail | "
                          "0:Error: copy cpld version failed, result = 34. | 0:Error: copy cpld version failed, result = 34. | "
                          "0:Error: copy cpld version sep failed, result = 34. | 0:Input CPLD version str buffer is null | 0:Input CPLD version str buffer is null");
}

TEST_F(VerTest, VersionStringOfThreeCplds)
{
    known_board(0x00);
    sim().make_self_test(0x00A);
    for (auto [reg, value] : {std::pair{0x008, 0x08}, {0x009, 0x00}, {0x00F, 0x02}}) sim().set_reg(reg, value);
    char buf[64] = "";
    EXPECT_EQ(BSP_GetCpldVerStr(buf, sizeof buf), 0u);
    EXPECT_STREQ(buf, "00.05.200T01,00.02.110T03,00.02.300T00");
    EXPECT_EQ(log_line(), "");
}


// A fixed text in a cleared 64-byte buffer; failures are logged and still answer 0.
TEST_F(VerTest, BmcVersion)
{
    char buf[64];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(BSP_GetBmcVersion(buf), 0u);
    EXPECT_EQ(std::string(buf, sizeof buf), "66.25.01T13" + std::string(53, '\0'));
    EXPECT_EQ(BSP_GetBmcVersion(nullptr), kErr);
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
struct PcbCase {
    const char *name, *profile;
    uint32_t info_word;           // 0: the profile's
    std::array<uint8_t, 3> pins;  // levels of pins 26, 27, 29
    const char *pcb_letter, *trace = nullptr;
};

const PcbCase kPcbs[] = {
    {.name = "word_bits_1_to_3", .profile = "default", .info_word = 0x54, .pins = {1, 1, 1}, .pcb_letter = "2C",
     .trace = "open sys_info ioctl 80047306=54 close sys_info"},
    {.name = "word_all_bits", .profile = "default", .info_word = 0x5F, .pins = {0, 0, 0}, .pcb_letter = "7H"},
    {.name = "word_bit_0_is_not_pcb", .profile = "default", .info_word = 0x51, .pins = {1, 1, 1}, .pcb_letter = "0A"},
    {.name = "x86_board", .profile = "x86-2u", .info_word = 0, .pins = {0, 0, 0}, .pcb_letter = "1B"},
    {.name = "two_processor_pins", .profile = "4u4c", .info_word = 0, .pins = {0, 1, 1}, .pcb_letter = "6G",
     .trace = "gi 26=in gr 26=0 gi 27=in gr 27=1 gi 29=in gr 29=1"},
    {.name = "two_processor_ignores_word", .profile = "4u4c", .info_word = 0x71E, .pins = {1, 0, 0}, .pcb_letter = "1B"},
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
    if (c.trace) {
        EXPECT_EQ(tr(), c.trace);
    }
    EXPECT_EQ(BSP_GetPcbVersion(&letter), 0u);
    EXPECT_EQ(std::to_string(pcb) + letter, c.pcb_letter);
    EXPECT_EQ(log_line(), "");
}

BSP_CASES(Versions, PcbVersion, kPcbs);

class TwoProcessorBoard : public VerTest {
    std::string profile() const override { return "4u4c"; }
};

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
// device is closed. Null pointers are refused before anything is asked.
TEST_F(VerTest, PcbDeviceFailuresAndArguments)
{
    known_board();
    uint8_t pcb = 0x33;
    char letter = '?';
    EXPECT_EQ(BSP_GetBmcBoardPcb(nullptr) & BSP_GetBmcBoardPcb58302P(nullptr) & BSP_GetPcbVersion(nullptr), kErr);
    EXPECT_EQ(tr(), "");
    sim().fail(Op::DevOpen, 2);
    EXPECT_EQ(BSP_GetBmcBoardPcb(&pcb), kErr);
    EXPECT_EQ(BSP_GetPcbVersion(&letter), 0u);
    EXPECT_EQ(std::to_string(pcb) + letter, "51H");
    sim().fail(Op::DevIoctl, 1, -1, kBoardInfo);
    EXPECT_EQ(BSP_GetBmcBoardPcb(&pcb), kErr);
    EXPECT_EQ(tr(), "open sys_info!-1 open sys_info!-1 open sys_info ioctl 80047306=0!-1 close sys_info");
    EXPECT_EQ(log_line(), "0:open sys_info dev fail. | 0:open sys_info dev fail. | 0:ioctrl sys_info dev fail");
    std::string accepted;
    for (unsigned v = 0; v < 256; ++v) {
        if (BSP_PcbVersionCheck(static_cast<uint8_t>(v)) == 0) accepted += std::to_string(v) + " ";
    }
    EXPECT_EQ(accepted, "0 1 16 17 ");
}

// The boot-loader version of the copy that booted and both SDK texts, their lengths passed on
// (a buffer too short for its text is refused there); each failure is logged and still 0.
struct SdkCase {
    const char *name;
    Op fault;
    size_t sdk1_len;
    const char *versions, *log;  // uboot|sdk1|sdk2
};

const SdkCase kSdk[] = {
    {.name = "copy_that_booted", .fault = Op::None, .sdk1_len = 16, .versions = "2.1.07|5.6.0.3|5.6.0.3.B010", .log = ""},
    {.name = "short_sdk_buffer", .fault = Op::None, .sdk1_len = 4, .versions = "2.1.07||",
     .log = "0:The sdk version get failed, result = -1"},
    {.name = "uboot_num", .fault = Op::GetUbootNum, .sdk1_len = 16, .versions = "1.0.0|5.6.0.3|5.6.0.3.B010",
     .log = "0:The ubootNum get failed, result = -4"},
    {.name = "uboot_ver", .fault = Op::GetUbootVer, .sdk1_len = 16, .versions = "|5.6.0.3|5.6.0.3.B010",
     .log = "0:The uboot version get failed, result = -4"},
    {.name = "sdk_ver", .fault = Op::GetSdkVer, .sdk1_len = 16, .versions = "2.1.07||",
     .log = "0:The sdk version get failed, result = -4"},
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
    EXPECT_EQ(BSP_GetBmc5830ChipInfo(&info), kErr);
    sim().fail(Op::DevIoctl, 1, -1, kChipInfo);
    EXPECT_EQ(BSP_GetBmc5830ChipInfo(&info), kErr);
    EXPECT_EQ(info, 0xA5A5A5A5u);
    EXPECT_EQ(BSP_GetBmc5830ChipInfo(nullptr), kErr);
    EXPECT_EQ(BSP_GetBmc5830ChipInfo(&info), 0u);
    EXPECT_EQ(info, 0x12345678u);
    EXPECT_EQ(tr(), "open sys_info!-1 open sys_info ioctl 8004731a=0!-1 close sys_info "
                    "open sys_info ioctl 8004731a=12345678 close sys_info");
    EXPECT_EQ(log_line(), "0:Open sys_info dev fail. | 0:Ioctrl sys_info get chip version failed.");
}

}  // namespace
