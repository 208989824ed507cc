// Versions: the logic version register table (which registers hold the version of which CPLD,
// per board; the CPLD inventory takes its counts from it), the CPLD version strings, the BMC
// software version, the PCB revision, the boot-loader and SDK versions and the SoC chip
// information.
#include <array>
#include <cstring>

#include "bmc_bsp.h"
#include "core/boards.h"
#include "core/log.h"
#include "core/status.h"
#include "core/sysinfo.h"
#include "platform/gpio.h"
#include "platform/misc.h"
#include "platform/securec.h"

namespace {

using bsp::kErr;
using bsp::kLogError;
using bsp::kOk;

// The registers of one CPLD's version: normal-version index, test number, middle number.
struct VerRegs {
    uint32_t main;
    uint32_t test;
    uint32_t middle;
};

constexpr uint32_t kNoReg = 0xFFFFFFFFu;
constexpr size_t kMaxCplds = 6;

struct LogicVerRow {
    uint8_t board_id;
    uint8_t cpld_num;
    std::array<VerRegs, kMaxCplds> regs;
};

constexpr VerRegs kRegs000{0x000, 0x001, 0x00E};
constexpr VerRegs kRegs248{0x248, 0x249, 0x24E};
constexpr VerRegs kRegs008{0x008, 0x009, 0x00F};
constexpr VerRegs kNone{kNoReg, kNoReg, kNoReg};

constexpr std::array<LogicVerRow, 20> kLogicVerRegTable = {{
    {0x00, 3, {kRegs000, kRegs248, kRegs008, kNone, kNone, kNone}},
    {0x03, 3, {kRegs000, kRegs248, kRegs008, kNone, kNone, kNone}},
    {0x05, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x06, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x09, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x0A, 3, {kRegs000, kRegs008, kRegs248, kNone, kNone, kNone}},
    {0x12, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x14, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x11, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x71, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x22, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x1D, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x24, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x27, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x2E, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x33, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x35, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x2D, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x99, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
    {0x95, 2, {kRegs000, kRegs248, kNone, kNone, kNone, kNone}},
}};

// Normal-version names by the low nibble of the main register: (i / 4 + 1), (i mod 4), "0".
struct NormalVersionName {
    uint8_t index;
    const char *text;
};

constexpr std::array<NormalVersionName, 16> kNormalVersionNames = {{
    {0, "100"},  {1, "110"},  {2, "120"},  {3, "130"},  {4, "200"},  {5, "210"},  {6, "220"},  {7, "230"},
    {8, "300"},  {9, "310"},  {10, "320"}, {11, "330"}, {12, "400"}, {13, "410"}, {14, "420"}, {15, "430"},
}};

// Where the pieces of "00.MM.NNNTtt" go in the 16-byte version buffer, and how much of the
// buffer each bounded copy may fill from there.
constexpr size_t kVerBufSize = 16;
constexpr size_t kMiddlePos = 0, kMiddleLen = 6, kMiddleCap = 16;
constexpr size_t kNamePos = 6, kNameLen = 3, kNameCap = 10;
constexpr size_t kTestPos = 9, kTestLen = 3, kTestCap = 7;
constexpr size_t kVerTextLen = 12;

constexpr size_t kVerStrAppendCount = 102;

constexpr const char *kBmcVersion = "66.25.01T13";
constexpr size_t kBmcVersionBufSize = 64;

// The 5830 2P board reads its PCB number from three pins, bit 0 first.
constexpr std::array<uint32_t, 3> kPcbPins = {26, 27, 29};
constexpr uint8_t kPcbUnknown = 0xFF;
constexpr uint8_t kPcbMask = 0x07;

const LogicVerRow *logic_ver_row(uint8_t board_id)
{
    for (const LogicVerRow &row : kLogicVerRegTable) {
        if (row.board_id == board_id) return &row;
    }
    return nullptr;
}

}  // namespace

extern "C" {

/* ------------------------------------------------------ logic version register table */

uint32_t BSP_GetSizeOfLogicVerRegTable(void) { return static_cast<uint32_t>(kLogicVerRegTable.size()); }

uint8_t BSP_GetBoardIdOfLogicVerRegTable(uint32_t row)
{
    return row < kLogicVerRegTable.size() ? kLogicVerRegTable[row].board_id : bsp::kUnknownBoardId;
}

uint8_t BSP_GetCpldNumOfLogicVerRegTable(uint32_t row)
{
    return row < kLogicVerRegTable.size() ? kLogicVerRegTable[row].cpld_num : 0;
}

uint32_t BSP_GetCpldVerReg(uint8_t cpldId, uint32_t *mainReg, uint32_t *testReg, uint32_t *middleReg)
{
    if (mainReg == nullptr || testReg == nullptr || middleReg == nullptr) {
        BSP_LOG(kLogError, "Input CPLD Version reg buffer is null");
        return kErr;
    }
    uint8_t board_id = bsp::kUnknownBoardId;
    uint32_t ret = BSP_GetBmcBoardId(&board_id);
    if (ret != kOk) {
        BSP_LOG(kLogError, "BSP: Get Bmc BoardId Failed for getting cpld ver reg, Ret=0x%x", ret);
        return kErr;
    }
    const LogicVerRow *row = logic_ver_row(board_id);
    if (row == nullptr) {
        BSP_LOG(kLogError, "BSP: Get cpld ver regs fail. BoardId:0x%x, CpldId:%d", board_id, cpldId);
        return kErr;
    }
    // Callers ask only below the board's CPLD count; an index past the table's six CPLDs is
    // answered like a CPLD the board does not have.
    const VerRegs &regs = cpldId < row->regs.size() ? row->regs[cpldId] : kNone;
    *mainReg = regs.main;
    *testReg = regs.test;
    *middleReg = regs.middle;
    if (regs.main == kNoReg || regs.test == kNoReg || regs.middle == kNoReg) {
        BSP_LOG(kLogError, "BSP: Get cpld ver regs fail. BoardId:0x%x, CpldId:%d", board_id, cpldId);
        return kErr;
    }
    return kOk;
}

/* ------------------------------------------------------------------ CPLD versions */

uint32_t BSP_GetCpldVersion(uint8_t cpldId, char *ver)
{
    if (ver == nullptr) {
        BSP_LOG(kLogError, "Input CPLD Version buffer is null");
        return kErr;
    }
    // Only a CPLD that passed its write/read-back test has version registers worth reading.
    if (BSP_CpldSelfTestByOne(cpldId) != kOk) {
        BSP_LOG(kLogError, "CPLD_%d self test fail, so get its ver fail", cpldId);
        return kErr;
    }
    uint32_t main_reg = 0, test_reg = 0, middle_reg = 0;
    if (BSP_GetCpldVerReg(cpldId, &main_reg, &test_reg, &middle_reg) != kOk) return kErr;

    uint8_t main_byte = 0, test_byte = 0, middle_byte = 0;
    (void)BSP_ReadCpldBytes(main_reg, 1, &main_byte);
    (void)BSP_ReadCpldBytes(test_reg, 1, &test_byte);
    (void)BSP_ReadCpldBytes(middle_reg, 1, &middle_byte);

    // Numbers above 99 print three digits in the scratch; only the leading characters are
    // taken, so the text keeps its 12 characters.
    char scratch[kVerBufSize] = {0};
    if (sprintf_s(scratch, sizeof scratch, "00.%02u.", middle_byte) < 0) {
        BSP_LOG(kLogError, "Error: copy comp version failed.");
    }
    int rc = memcpy_s(ver + kMiddlePos, kMiddleCap, scratch, kMiddleLen);
    if (rc != 0) BSP_LOG(kLogError, "Error: copy cpld version failed, result = %d.", rc);

    for (const NormalVersionName &name : kNormalVersionNames) {
        if (name.index != (main_byte & 0x0F)) continue;
        rc = memcpy_s(ver + kNamePos, kNameCap, name.text, kNameLen);
        if (rc == 0) break;
        BSP_LOG(kLogError, "Error: copy cpld nml version failed, result = %d.", rc);
    }

    rc = sprintf_s(scratch, sizeof scratch, "T%02u", test_byte);
    if (rc < 0) BSP_LOG(kLogError, "Error: copy test version failed, result = %d.", rc);
    rc = memcpy_s(ver + kTestPos, kTestCap, scratch, kTestLen);
    if (rc != 0) BSP_LOG(kLogError, "Error: copy cpld version failed, result = %d.", rc);

    ver[kVerTextLen] = '\0';
    return kOk;
}

uint32_t BSP_GetCpldVerStr(char *buf, int32_t bufSize)
{
    // There is nowhere to write without a buffer of some size.
    if (buf == nullptr || bufSize <= 0) {
        BSP_LOG(kLogError, "Input CPLD version str buffer is null");
        return kOk;
    }
    uint8_t count = 0;
    if (BSP_GetCpldNum(&count) != kOk) {
        BSP_LOG(kLogError, "Get CPLD Version str fail");
        return kOk;
    }
    if (count == 0) {
        BSP_LOG(kLogError, "Get CPLD Version reg num fail");
        return kOk;
    }
    const auto cap = static_cast<size_t>(bufSize);
    char scratch[kVerBufSize] = {0};
    for (uint8_t i = 0; i < count; ++i) {
        const char *text = BSP_GetCpldVersion(i, scratch) == kOk ? scratch : "invalid";
        int rc = strncat_s(buf, cap, text, kVerStrAppendCount);
        if (rc != 0) BSP_LOG(kLogError, "Error: copy cpld version failed, result = %d.", rc);
        if (i + 1 < count) {
            rc = strncat_s(buf, cap, ",", 1);
            if (rc != 0) BSP_LOG(kLogError, "Error: copy cpld version sep failed, result = %d.", rc);
        }
        rc = memset_s(scratch, sizeof scratch, 0, sizeof scratch);
        if (rc != 0) BSP_LOG(kLogError, "Error: init cpld  version buf failed, result = %d.", rc);
    }
    return kOk;
}

/* -------------------------------------------------------------- BMC software version */

uint32_t BSP_GetBmcVersion(char *buf)
{
    if (buf == nullptr) return kErr;
    int rc = memset_s(buf, kBmcVersionBufSize, 0, kBmcVersionBufSize);
    if (rc != 0) BSP_LOG(kLogError, "memset_s data to BmcVersion failed, ret = %d", rc);
    rc = strcpy_s(buf, kBmcVersionBufSize, kBmcVersion);
    if (rc != 0) BSP_LOG(kLogError, "Error: copy bmc version failed, ret = %d.", rc);
    buf[31] = '\0';
    buf[kBmcVersionBufSize - 1] = '\0';
    return kOk;
}

/* ------------------------------------------------------------------------ PCB revision */

uint32_t BSP_GetBmcBoardPcb58302P(uint8_t *pcb)
{
    if (pcb == nullptr) return kErr;
    *pcb = 0;
    for (size_t k = 0; k < kPcbPins.size(); ++k) {
        (void)gpio_init(kPcbPins[k], 0);
        uint8_t level = 0;
        if (gpio_read(kPcbPins[k], &level, 0) != 0) {
            *pcb = kPcbUnknown;
            return kErr;
        }
        *pcb = static_cast<uint8_t>(*pcb | (level << k));
    }
    return kOk;
}

uint32_t BSP_GetBmcBoardPcb(uint8_t *pcb)
{
    if (pcb == nullptr) return kErr;
    // The id is taken as the read left it, whatever its status: not the cached predicate, which
    // answers 0 for a read that failed.
    uint8_t board_id = bsp::kUnknownBoardId;
    (void)BSP_GetBmcBoardId(&board_id);
    if (bsp::is_in(bsp::k58304u2pIds, board_id)) {
        if (BSP_GetBmcBoardPcb58302P(pcb) != kOk) {
            BSP_LOG(kLogError, "get 5830 2p bmc board pcb version failed.");
            return kErr;
        }
        return kOk;
    }
    // The board-information record; the PCB number is in bits 1 to 3 of its first byte.
    uint32_t record[2];
    int rc = memset_s(record, sizeof record, 0, sizeof record);
    if (rc != 0) BSP_LOG(kLogError, "Error: init sysinfo failed, result = %d.", rc);
    bsp::SysInfoResult res = bsp::sysinfo_query(bsp::kSysInfoBoardInfo, record[0]);
    if (!res.opened) {
        BSP_LOG(kLogError, "open sys_info dev fail.");
        return kErr;
    }
    if (res.request_rc != 0) {
        BSP_LOG(kLogError, "ioctrl sys_info dev fail");
        return kErr;
    }
    auto first_byte = static_cast<uint8_t>(record[0] & 0xFF);
    *pcb = static_cast<uint8_t>((first_byte >> 1) & kPcbMask);
    return kOk;
}

uint32_t BSP_GetPcbVersion(char *letter)
{
    if (letter == nullptr) return kErr;
    // A number that cannot be read stays 0xFF and shows as "H".
    uint8_t pcb = kPcbUnknown;
    (void)BSP_GetBmcBoardPcb(&pcb);
    *letter = static_cast<char>('A' + (pcb & kPcbMask));
    return kOk;
}

uint32_t BSP_PcbVersionCheck(uint8_t pcb)
{
    // Only these four revisions are accepted; the gap from 2 to 15 is deliberate.
    switch (pcb) {
    case 0:
    case 1:
    case 16:
    case 17:
        return kOk;
    default:
        return kErr;
    }
}

/* --------------------------------------------------- boot loader, SDK and SoC chip */

uint32_t BSP_Get5830SdkUbootVersion(char *ubootBuffer, uint32_t ubootLength, char *firstSdkBuffer,
                                    uint32_t firstSdkLength, char *secondSdkBuffer, uint32_t secondSdkLength)
{
    // The platform fills the boot-loader text into a buffer of its own fixed size.
    (void)ubootLength;
    uint8_t num = 0;
    int32_t rc = get_cur_uboot_num(&num);
    if (rc != 0) BSP_LOG(kLogError, "The ubootNum get failed, result = %d", rc);
    rc = get_uboot_ver(num, ubootBuffer);
    if (rc != 0) BSP_LOG(kLogError, "The uboot version get failed, result = %d", rc);
    rc = get_sdk_ver(firstSdkBuffer, secondSdkBuffer, firstSdkLength, secondSdkLength);
    if (rc != 0) BSP_LOG(kLogError, "The sdk version get failed, result = %d", rc);
    return kOk;
}

uint32_t BSP_GetBmc5830ChipInfo(void *info)
{
    if (info == nullptr) return kErr;
    uint32_t word = 0;
    bsp::SysInfoResult res = bsp::sysinfo_query(bsp::kSysInfoChipInfo, word);
    if (!res.opened) {
        BSP_LOG(kLogError, "Open sys_info dev fail.");
        return kErr;
    }
    if (res.request_rc != 0) {
        BSP_LOG(kLogError, "Ioctrl sys_info get chip version failed.");
        return kErr;
    }
    std::memcpy(info, &word, sizeof word);
    return kOk;
}

}  // extern "C"
