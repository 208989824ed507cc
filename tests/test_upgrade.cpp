// Upgrade control: the upgrade-mode switch behind its write protect, the query of the mode, the
// regulator upgrade bits and the firmware upgrade status bytes in the CPLD RAM.
#include <array>

#include "bmc_bsp.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bsptest::CallCase;
using bsptest::res;
using bsptest::times;
using B = bspsim::Board;

uint8_t *const g = bsptest::g_out;

using UpgradeCall = bsptest::CallTest;
TEST_P(UpgradeCall, ShowsWhatItDid) { run(); }

// Switches CPLD `Id` to `Mode` and asks for the mode back.
template <uint8_t Id, uint8_t Mode>
std::string set_mode(B &)
{
    const uint32_t st = BSP_SetCpldUpgradeMode(Id, Mode);
    return res(st) + " " + res(BSP_GetCpldUpgradeMode(Id, g), 1);
}

// The protected board with three CPLDs guards the third one's mode bit as well.
void third_cpld(B &b)
{
    b.protect(0xE9, 0x04, 0xEA, 0x04, 0x00);
    b.set_reg(0xEA, static_cast<uint8_t>(b.reg(0xEA) | 0x04));
}

// The modes of CPLDs 0, 1 and 2 under a few register values, each from its own bit only.
std::string modes(B &b)
{
    std::string out;
    for (auto [e9, d3] : {std::pair<uint8_t, uint8_t>{0xFA, 0xFE}, {0x01, 0}, {0, 0x01}, {0x04, 0}}) {
        b.set_reg(0xE9, e9);
        b.set_reg(0x1D3, d3);
        for (uint8_t id = 0; id < 3; ++id) out += (out.empty() ? "" : " ") + res(BSP_GetCpldUpgradeMode(id, g), 1);
    }
    return out;
}

std::string regulators(B &)
{
    std::string out;
    for (uint8_t r : {0, 7, 8, 9, 15, 16, 255}) out += res(BSP_SetVRMUpgradeStatus(r, 1)) + " ";
    return out + res(BSP_SetVRMUpgradeStatus(10, 0));
}

const std::string kLift = "wr ea&01=0", kClose = " wr ea&01=1";
const std::string kBusWriteFail = "0:write add :e9  data: 1 cpld error.";
const std::string kModeFail = "0:BSP: write up_mode_reg(0xe9-bit0) fail";
const std::string kWpFail = "0:BSP: write up_wp_reg(0xea-bit0) fail", kReadFail = "0:read cpld error.";
const std::string kOk1 = "1:Write up_mode_reg(0xe9-bit0=1) ok, WpReg(0xea):bit0";
const std::string kFail1 = "0:Write up_mode_reg(0xe9-bit0=1) fail, WpReg(0xea):bit0";

#define SET(id, mode) BSP_CALL(BSP_SetCpldUpgradeMode(id, mode))

const CallCase kMode[] = {
    // Into upgrade mode: protect lifted, mode written, read back 10 ms later, protect put back;
    // the mode reads back through the query.
    {.name = "Cpld0On", .call = set_mode<0, 1>, .out = "ok ok 01",
     .trace = kLift + " wr e9&01=1 delay 10 rd e9&01=1" + kClose + " rd e9&01=1", .log = kOk1},
    {.name = "Cpld1On", .call = set_mode<1, 1>, .out = "ok ok 01",
     .trace = "wr 1d4&01=0 wr 1d3&01=1 delay 10 rd 1d3&01=1 wr 1d4&01=1 rd 1d3&01=1",
     .log = "1:Write up_mode_reg(0x1d3-bit0=1) ok, WpReg(0x1d4):bit0"},
    {.name = "Cpld2On", .setup = third_cpld, .call = set_mode<2, 1>, .out = "ok ok 01",
     .trace = "wr ea&04=0 wr e9&04=1 delay 10 rd e9&04=1 wr ea&04=1 rd e9&04=1",
     .log = "1:Write up_mode_reg(0xe9-bit2=1) ok, WpReg(0xea):bit2"},
    {.name = "ProtectedBitIsNotWritten", .call = BSP_CALL(BSP_WriteCpldBit(0xE9, 0, 1)), .trace = "wr e9&01=1!wp"},
    {.name = "UnknownCpldIsRefusedSilently",
     .call = BSP_CALL(BSP_SetCpldUpgradeMode(3, 1) & BSP_SetCpldUpgradeMode(0xFF, 0)), .out = "err"},
    // A failure at each step. Whatever failed once the protect was lifted, the protect is
    // written back; only a failure of that very write leaves it lifted.
    {.name = "LiftingTheProtectFails", .faults = {{Op::LocalBusWrite, 1, -1, 0xEA}}, .call = SET(0, 1), .out = "err",
     .trace = kLift + "!-1", .log = "0:write add :ea  data: 0 cpld error. | " + kWpFail},
    {.name = "FirstModeWriteFails", .faults = {{Op::LocalBusWrite, 1, -1, 0xE9}}, .call = SET(0, 1),
     .trace = kLift + " wr e9&01=1!-1 wr e9&01=1 delay 10 rd e9&01=1" + kClose,
     .log = kBusWriteFail + " | " + kModeFail + " | " + kOk1},
    {.name = "EveryModeWriteFails", .faults = {{Op::LocalBusWrite, 3, -1, 0xE9}}, .call = SET(0, 1), .out = "err",
     .trace = kLift + " " + times(3, "wr e9&01=1!-1") + kClose,
     .log = times(3, kBusWriteFail + " | " + kModeFail, " | ") + " | " + kFail1},
    {.name = "TwoReadBacksFail", .faults = {{Op::LocalBusRead, 2, -1, 0xE9}}, .call = SET(0, 1),
     .trace = kLift + " " + times(2, "wr e9&01=1 delay 10 rd e9&01=0!-1") + " wr e9&01=1 delay 10 rd e9&01=1" + kClose,
     .log = kReadFail + " | " + kReadFail + " | " + kOk1},
    // The bit does not stick (a read-back that fails counts the same): three writes 10 ms apart,
    // then the failure line; protect restored.
    {.name = "ModeBitReadsBackZero", .setup = [](B &b) { b.script(bspsim::Source::Register, 0xE9, {0, 0, 0}); },
     .call = SET(0, 1), .out = "err", .trace = kLift + " " + times(3, "wr e9&01=1 delay 10 rd e9&01=0") + kClose,
     .log = kFail1},
    {.name = "RestoringTheProtectFails", .faults = {{Op::LocalBusWrite, 1, -1, 0xEA, 1}}, .call = SET(0, 1),
     .out = "err", .trace = kLift + " wr e9&01=1 delay 10 rd e9&01=1 wr ea&01=1!-1",
     .log = kOk1 + " | 0:write add :ea  data: 1 cpld error. | " + kWpFail},
    // Back to normal mode the read-back byte starts at 0, so a read that fails looks like success.
    {.name = "NormalModeTakesAFailedReadBackAsZero", .regs = {{0xE9, 0x01}},
     .faults = {{Op::LocalBusRead, 3, -1, 0xE9}}, .call = SET(0, 0),
     .trace = kLift + " wr e9&01=0 delay 10 rd e9&01=0!-1" + kClose,
     .log = kReadFail + " | 1:Write up_mode_reg(0xe9-bit0=0) ok, WpReg(0xea):bit0"},
    // A mode other than 0 or 1 sets the bit but never reads back equal.
    {.name = "ModeTwoNeverReadsBack", .call = SET(0, 2), .out = "err",
     .trace = kLift + " " + times(3, "wr e9&01=2 delay 10 rd e9&01=1") + kClose,
     .log = "0:Write up_mode_reg(0xe9-bit0=2) fail, WpReg(0xea):bit0"},
    {.name = "GetModeOfEachCpldFromItsOwnBitOnly", .call = modes,
     .out = "ok 00 ok 00 ok 00 ok 01 ok 00 ok 00 ok 00 ok 01 ok 00 ok 00 ok 00 ok 01",
     .trace = "rd e9&01=0 rd 1d3&01=0 rd e9&04=0 rd e9&01=1 rd 1d3&01=0 rd e9&04=0 rd e9&01=0 rd 1d3&01=1 rd e9&04=0 "
              "rd e9&01=0 rd 1d3&01=0 rd e9&04=1"},
    {.name = "GetModeRefused",
     .call = [](B &) { return bsptest::calls({BSP_GetCpldUpgradeMode(3, g), BSP_GetCpldUpgradeMode(1, nullptr)}, 1); },
     .out = "err err ee", .log = "0:BSP: pUpgradeMode is null or CpldDevId(3) is out of range | "
                              "0:BSP: pUpgradeMode is null or CpldDevId(1) is out of range"},
    {.name = "GetModeReadFails", .regs = {{0xE9, 0x01}}, .faults = {{Op::LocalBusRead, 1, -1, 0xE9}},
     .call = BSP_CALL(BSP_GetCpldUpgradeMode(0, g), 1), .out = "err ee", .trace = "rd e9&01=0!-1",
     .log = kReadFail + " | 0:BSP: read cpld up_mode_reg(0xe9-bit0) fail"},
    // Regulators 0-7 are bits of 0x1AE, 8 and up of 0x1AF; 16 and up reach the register access
    // with a bit above 7; the bit write's own failure is handed back.
    {.name = "RegulatorBits", .faults = {{Op::LocalBusWrite, 1, -1, 0x1AF, 3}}, .call = regulators,
     .out = "ok ok ok ok ok err err err",
     .trace = "wr 1ae&01=1 wr 1ae&80=1 wr 1af&01=1 wr 1af&02=1 wr 1af&80=1 wr 1af&04=0!-1",
     .log = times(2, "0:Input bitNum error, bitNum should be 0-7.", " | ") +
            " | 0:write add :1af  data: 0 cpld error."},
};

BSP_CASES(Mode, UpgradeCall, kMode);

// Firmware status bytes: packed areas per FRU type (0: 28 units, 1: one, 3 and 5: three each,
// then 6) at fixed RAM addresses other processes read; the unit index is not checked.
using Firmware = bsptest::SimTest;

TEST_F(Firmware, StatusBytesAtTheirAddresses)
{
    known_board();
    uint8_t status = 0x10, got = 0;
    for (auto [fru, unit, addr] : {std::array<uint32_t, 3>{0, 0, 0xD938}, {0, 27, 0xD953}, {1, 0, 0xD954},
                                   {3, 0, 0xD955}, {3, 2, 0xD957}, {5, 0, 0xD958}, {5, 2, 0xD95A}, {6, 0, 0xD95B},
                                   {0, 28, 0xD954}, {3, 3, 0xD958}}) {
        EXPECT_EQ(BSP_SetFwUpgradeStatusToCpldRam(fru, unit, ++status), 0u);
        EXPECT_EQ(BSP_GetFwUpgradeStatusFromCpldRam(fru, unit, &got), 0u);
        EXPECT_EQ(sim().ram(addr) << 8 | got, status << 8 | status) << fru << "/" << unit;
    }
    EXPECT_EQ(log_line(), "");
}

// Unsupported types are refused without traffic; the RAM access reports no status, so its
// failures are logged there and not passed on, and the caller's byte stays.
std::string fw_status(B &)
{
    std::string out;
    for (uint32_t fru : {2u, 4u, 7u, 0xFFFFFFFFu}) {
        out += res(BSP_SetFwUpgradeStatusToCpldRam(fru, 0, 1)) + " ";
        out += res(BSP_GetFwUpgradeStatusFromCpldRam(fru, 0, g), 1) + " ";
    }
    out += res(BSP_GetFwUpgradeStatusFromCpldRam(0, 0, nullptr)) + " ";
    out += res(BSP_SetFwUpgradeStatusToCpldRam(3, 0, 0x01)) + " ";
    return out + res(BSP_GetFwUpgradeStatusFromCpldRam(3, 0, g), 1);
}

std::string unsupported(const char *fru)
{
    return "0:Fru type " + std::string(fru) + " is invalid, not support record upgrade status to cpld ram. | " +
           "0:Fru type " + fru + " is invalid, not support read upgrade status from cpld ram. | ";
}

const CallCase kFirmware[] = {
    {.name = "StatusFailures", .faults = {{Op::SemP, 1, -1, 29}, {Op::LocalBusRead, 1, -1, 0xBC}}, .call = fw_status,
     .out = "err err ee err err ee err err ee err err ee err ok ok ee",
     .trace = "P29!-1 P29 wr ba=55 wr bb=19 rd bc=00!-1 V29",
     .log = unsupported("0x2") + unsupported("0x4") + unsupported("0x7") + unsupported("0xffffffff") +
            "0:get BMC_MUTEX_IPC_CPLD_RAM fail. | 0:read cpld byte error. | 0:BSP_GetCpldRam: error at (line:SAME)"},
};

BSP_CASES(Firmware, UpgradeCall, kFirmware);

}  // namespace
