// Upgrade control: the write-protected upgrade-mode switch, the regulator upgrade bits, the
// firmware upgrade status bytes in the CPLD RAM and the framework's CPLD upgrade state.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspsim/sim.hpp"
#include "cpld_test_util.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bsptest::kErr;
using cpldtest::PrintTo;
using bsptest::kLogError;

// "reg/mask=value" of every local-bus write, with "!" for a write the protection blocked.
std::vector<std::string> bus_writes(const bspsim::Board &b)
{
    std::vector<std::string> out;
    for (const auto &e : b.events(Op::LocalBusWrite)) {
        std::string w = bsptest::hex(e.a) + "/" + bsptest::hex(e.b) + "=" + std::to_string(e.value);
        if (e.flags & bspsim::kFlagBlocked) w += "!";
        out.push_back(w);
    }
    return out;
}

using Upgrade = bsptest::SimTest;

// ------------------------------------------------------------ switching the mode

struct ModeCase {
    const char *name;
    uint8_t cpld;
    uint32_t mode_reg;
    uint8_t mode_mask;
    uint32_t wp_reg;
    uint8_t wp_mask;
    const char *ok_on;   // the level-1 line of a switch into upgrade mode
    const char *ok_off;  // ... and back
};

const ModeCase kModeCases[] = {
    {"cpld0", 0, 0xE9, 0x01, 0xEA, 0x01, "Write up_mode_reg(0xe9-bit0=1) ok, WpReg(0xea):bit0",
     "Write up_mode_reg(0xe9-bit0=0) ok, WpReg(0xea):bit0"},
    {"cpld1", 1, 0x1D3, 0x01, 0x1D4, 0x01, "Write up_mode_reg(0x1d3-bit0=1) ok, WpReg(0x1d4):bit0",
     "Write up_mode_reg(0x1d3-bit0=0) ok, WpReg(0x1d4):bit0"},
    {"cpld2", 2, 0xE9, 0x04, 0xEA, 0x04, "Write up_mode_reg(0xe9-bit2=1) ok, WpReg(0xea):bit2",
     "Write up_mode_reg(0xe9-bit2=0) ok, WpReg(0xea):bit2"},
};

class UpgradeMode : public bsptest::SimTestWithParam<ModeCase> {};

// Into upgrade mode and back: protect lifted, mode written, read back 10 ms later, protect put
// back; only this CPLD's bits are touched, and the mode reads back through the query too.
TEST_P(UpgradeMode, SwitchesBehindTheWriteProtect)
{
    const ModeCase &c = GetParam();
    if (c.cpld == 2) {
        // The shipped boards have two CPLDs; protect the third as a three-CPLD board does.
        sim().protect(0xE9, 0x04, 0xEA, 0x04, 0x00);
        sim().set_reg(0xEA, static_cast<uint8_t>(sim().reg(0xEA) | 0x04));
    }
    const uint8_t other_mode_bits = static_cast<uint8_t>(sim().reg(c.mode_reg) & ~c.mode_mask);
    const uint8_t other_wp_bits = static_cast<uint8_t>(sim().reg(c.wp_reg) & ~c.wp_mask);
    ASSERT_EQ(sim().reg(c.wp_reg) & c.wp_mask, c.wp_mask) << "the profile starts protected";

    // Protected, the mode bit cannot be written behind the sequence's back.
    ASSERT_EQ(BSP_WriteCpldBit(c.mode_reg, __builtin_ctz(c.mode_mask), 1), 0u);
    EXPECT_EQ(sim().reg(c.mode_reg) & c.mode_mask, 0);
    ASSERT_EQ(bus_writes(sim()).size(), 1u);
    EXPECT_EQ(bus_writes(sim())[0].back(), '!');
    sim().clear_events();

    const std::string wp = bsptest::hex(c.wp_reg) + "/" + bsptest::hex(c.wp_mask);
    const std::string md = bsptest::hex(c.mode_reg) + "/" + bsptest::hex(c.mode_mask);
    for (uint8_t mode : {1, 0}) {
        SCOPED_TRACE(int(mode));
        sim().clear_events();
        sim().clear_logs();
        uint64_t t0 = sim().now_ms();
        EXPECT_EQ(BSP_SetCpldUpgradeMode(c.cpld, mode), 0u);
        EXPECT_EQ(bus_writes(sim()), (std::vector<std::string>{wp + "=0", md + "=" + std::to_string(mode), wp + "=1"}));
        auto reads = events(Op::LocalBusRead);
        ASSERT_EQ(reads.size(), 1u);
        EXPECT_EQ(reads[0].a, c.mode_reg);
        EXPECT_EQ(reads[0].b, c.mode_mask);
        EXPECT_EQ(sim().now_ms() - t0, 10u);
        EXPECT_EQ(debug_texts(), (std::vector<std::string>{"1:" + std::string(mode ? c.ok_on : c.ok_off)}));
        EXPECT_EQ(sim().reg(c.mode_reg) & c.mode_mask, mode ? c.mode_mask : 0);
        EXPECT_EQ(sim().reg(c.wp_reg) & c.wp_mask, c.wp_mask) << "protection restored";
        EXPECT_EQ(sim().reg(c.mode_reg) & ~c.mode_mask, other_mode_bits);
        EXPECT_EQ(sim().reg(c.wp_reg) & ~c.wp_mask, other_wp_bits);

        uint8_t got = 0xAA;
        EXPECT_EQ(BSP_GetCpldUpgradeMode(c.cpld, &got), 0u);
        EXPECT_EQ(got, mode);
    }
}

BSP_CASES(Upgrade, UpgradeMode, kModeCases);

// The four-controller board reaches its CPLD over SPI, bit writes going through the framework's
// chip write: the protection holds there as well and the sequence is the same.
class UpgradeModeSpi : public bsptest::SimTest {
protected:
    std::string profile() const override { return "4u4c"; }
};

TEST_F(UpgradeModeSpi, SwitchesThroughTheChipWrite)
{
    ASSERT_EQ(BSP_WriteCpldBit(0x1D3, 0, 1), 0u);
    ASSERT_EQ(count(Op::DflChipByteWrite), 1u);
    EXPECT_TRUE(events(Op::DflChipByteWrite)[0].flags & bspsim::kFlagBlocked);
    sim().clear_events();

    EXPECT_EQ(BSP_SetCpldUpgradeMode(1, 1), 0u);
    std::vector<std::string> writes;
    for (const auto &e : events(Op::DflChipByteWrite)) {
        writes.push_back(bsptest::hex(e.a) + "/" + bsptest::hex(e.b) + "=" + std::to_string(e.value) +
                         ((e.flags & bspsim::kFlagBlocked) ? "!" : ""));
    }
    EXPECT_EQ(writes, (std::vector<std::string>{"0x1D4/0x1=0", "0x1D3/0x1=1", "0x1D4/0x1=1"}));
    EXPECT_EQ(count(Op::LocalBusWrite), 0u);
    EXPECT_EQ(sim().reg(0x1D3) & 1, 1);
    EXPECT_EQ(sim().reg(0x1D4) & 1, 1);
}

// A failure at each step of the sequence in turn. Whatever failed after the protect was lifted,
// the protect is written back; the only way to leave it lifted is for that very write to fail.
struct StepFault {
    const char *name;
    uint8_t mode;
    std::function<void(bspsim::Board &)> inject;
    uint32_t status;
    std::vector<std::string> logs;   // level:text, in order
    std::vector<std::string> writes; // local-bus writes, in order
    uint32_t read_backs;
    uint32_t delay_ms;
    uint8_t wp_after;    // bit 0 of 0xEA
    uint8_t mode_after;  // bit 0 of 0xE9
};

const std::string kLift = "0xEA/0x1=0";
const std::string kClose = "0xEA/0x1=1";
const std::string kMode1 = "0xE9/0x1=1";
const std::string kMode0 = "0xE9/0x1=0";
const std::string kWpFail = "0:BSP: write up_wp_reg(0xea-bit0) fail";
const std::string kModeFail = "0:BSP: write up_mode_reg(0xe9-bit0) fail";
const std::string kBusWriteFail = "0:write add :e9  data: 1 cpld error.";
const std::string kBusReadFail = "0:read cpld error.";
const std::string kOk1 = "1:Write up_mode_reg(0xe9-bit0=1) ok, WpReg(0xea):bit0";
const std::string kFail1 = "0:Write up_mode_reg(0xe9-bit0=1) fail, WpReg(0xea):bit0";

const StepFault kStepFaults[] = {
    {"LiftingTheProtectFails", 1, [](bspsim::Board &b) { b.fail(Op::LocalBusWrite, 1, -1, 0xEA); }, kErr,
     {"0:write add :ea  data: 0 cpld error.", kWpFail}, {kLift}, 0, 0, 1, 0},
    {"FirstModeWriteFails", 1, [](bspsim::Board &b) { b.fail(Op::LocalBusWrite, 1, -1, 0xE9); }, 0,
     {kBusWriteFail, kModeFail, kOk1}, {kLift, kMode1, kMode1, kClose}, 1, 10, 1, 1},
    {"EveryModeWriteFails", 1, [](bspsim::Board &b) { b.fail(Op::LocalBusWrite, 3, -1, 0xE9); }, kErr,
     {kBusWriteFail, kModeFail, kBusWriteFail, kModeFail, kBusWriteFail, kModeFail, kFail1},
     {kLift, kMode1, kMode1, kMode1, kClose}, 0, 0, 1, 0},
    {"TwoReadBacksFail", 1, [](bspsim::Board &b) { b.fail(Op::LocalBusRead, 2, -1, 0xE9); }, 0,
     {kBusReadFail, kBusReadFail, kOk1}, {kLift, kMode1, kMode1, kMode1, kClose}, 3, 30, 1, 1},
    // The bit was set, but nothing ever read it back: reported as failed, protect restored.
    {"EveryReadBackFails", 1, [](bspsim::Board &b) { b.fail(Op::LocalBusRead, 3, -1, 0xE9); }, kErr,
     {kBusReadFail, kBusReadFail, kBusReadFail, kFail1}, {kLift, kMode1, kMode1, kMode1, kClose}, 3, 30, 1, 1},
    // The bit does not stick: three writes 10 ms apart, then the failure line.
    {"ModeBitReadsBackZero", 1, [](bspsim::Board &b) { b.script(bspsim::Source::Register, 0xE9, {0, 0, 0}); },
     kErr, {kFail1}, {kLift, kMode1, kMode1, kMode1, kClose}, 3, 30, 1, 1},
    {"RestoringTheProtectFails", 1, [](bspsim::Board &b) { b.fail(Op::LocalBusWrite, 1, -1, 0xEA, 1); }, kErr,
     {kOk1, "0:write add :ea  data: 1 cpld error.", kWpFail}, {kLift, kMode1, kClose}, 1, 10, 0, 1},
    // Back to normal mode the read-back byte starts at 0, so reads that fail look like success.
    {"NormalModeTakesAFailedReadBackAsZero", 0,
     [](bspsim::Board &b) {
         b.set_reg(0xE9, 0x01);
         b.fail(Op::LocalBusRead, 3, -1, 0xE9);
     },
     0, {kBusReadFail, "1:Write up_mode_reg(0xe9-bit0=0) ok, WpReg(0xea):bit0"}, {kLift, kMode0, kClose}, 1, 10, 1,
     0},
    // ... and so do writes that all fail: nothing was read, the byte is still 0.
    {"NormalModeWithEveryWriteFailingStillPasses", 0,
     [](bspsim::Board &b) {
         b.set_reg(0xE9, 0x01);
         b.fail(Op::LocalBusWrite, 3, -1, 0xE9);
     },
     0,
     {"0:write add :e9  data: 0 cpld error.", kModeFail, "0:write add :e9  data: 0 cpld error.", kModeFail,
      "0:write add :e9  data: 0 cpld error.", kModeFail},
     {kLift, kMode0, kMode0, kMode0, kClose}, 0, 0, 1, 1},
    // A mode other than 0 or 1 sets the bit but never reads back equal.
    {"ModeTwoNeverReadsBack", 2, [](bspsim::Board &) {}, kErr,
     {"0:Write up_mode_reg(0xe9-bit0=2) fail, WpReg(0xea):bit0"},
     {kLift, "0xE9/0x1=2", "0xE9/0x1=2", "0xE9/0x1=2", kClose}, 3, 30, 1, 1},
};

class UpgradeModeFault : public bsptest::SimTestWithParam<StepFault> {};

TEST_P(UpgradeModeFault, ProtectionIsRestored)
{
    const StepFault &c = GetParam();
    cpldtest::read_board_id_first(sim());
    c.inject(sim());
    const uint64_t t0 = sim().now_ms();
    EXPECT_EQ(BSP_SetCpldUpgradeMode(0, c.mode), c.status);
    EXPECT_EQ(sim().now_ms() - t0, c.delay_ms);
    EXPECT_EQ(debug_texts(), c.logs);
    EXPECT_EQ(bus_writes(sim()), c.writes);
    EXPECT_EQ(count(Op::LocalBusRead), c.read_backs);
    EXPECT_EQ(sim().reg(0xEA) & 1, c.wp_after);
    EXPECT_EQ(sim().reg(0xE9) & 1, c.mode_after);
}

BSP_CASES(Upgrade, UpgradeModeFault, kStepFaults);

TEST_F(Upgrade, UnknownCpldIsRefusedSilently)
{
    EXPECT_EQ(BSP_SetCpldUpgradeMode(3, 1), kErr);
    EXPECT_EQ(BSP_SetCpldUpgradeMode(0xFF, 0), kErr);
    EXPECT_TRUE(sim().events().empty());
    EXPECT_TRUE(debug_texts().empty());
}

// ------------------------------------------------------------------ querying the mode

TEST_F(Upgrade, GetModeFailures)
{
    uint8_t mode = 0x5A;
    EXPECT_EQ(BSP_GetCpldUpgradeMode(3, &mode), kErr);
    EXPECT_EQ(BSP_GetCpldUpgradeMode(1, nullptr), kErr);
    EXPECT_EQ(debug_texts(), (std::vector<std::string>{"0:BSP: pUpgradeMode is null or CpldDevId(3) is out of range",
                                                       "0:BSP: pUpgradeMode is null or CpldDevId(1) is out of range"}));
    EXPECT_TRUE(sim().events().empty());

    sim().clear_logs();
    sim().set_reg(0xE9, 0x01);
    sim().fail(Op::LocalBusRead, 1, -1, 0xE9);
    EXPECT_EQ(BSP_GetCpldUpgradeMode(0, &mode), kErr);
    EXPECT_EQ(mode, 0x5A);
    EXPECT_EQ(count_logs(kLogError, "BSP: read cpld up_mode_reg(0xe9-bit0) fail"), 1u);
}

// Each CPLD answers from its own bit only.
TEST_F(Upgrade, GetModeReadsOnlyItsOwnBit)
{
    const struct {
        uint8_t e9, d3;
        uint8_t want[3];
    } cases[] = {{0x00, 0x00, {0, 0, 0}}, {0x01, 0x00, {1, 0, 0}}, {0x04, 0x00, {0, 0, 1}},
                 {0xFA, 0xFE, {0, 0, 0}}, {0x00, 0x01, {0, 1, 0}}, {0xFF, 0xFF, {1, 1, 1}}};
    for (const auto &c : cases) {
        sim().set_reg(0xE9, c.e9);
        sim().set_reg(0x1D3, c.d3);
        for (uint8_t id = 0; id < 3; ++id) {
            uint8_t mode = 0x77;
            EXPECT_EQ(BSP_GetCpldUpgradeMode(id, &mode), 0u);
            EXPECT_EQ(mode, c.want[id]) << "cpld " << int(id) << " e9=" << int(c.e9) << " 1d3=" << int(c.d3);
        }
    }
}

// ------------------------------------------------------------ voltage-regulator bits

TEST_F(Upgrade, RegulatorBits)
{
    const struct {
        uint8_t regulator;
        uint32_t reg;
        uint8_t mask;
    } cases[] = {{0, 0x1AE, 0x01}, {7, 0x1AE, 0x80}, {8, 0x1AF, 0x01}, {9, 0x1AF, 0x02}, {15, 0x1AF, 0x80}};
    for (const auto &c : cases) {
        SCOPED_TRACE(int(c.regulator));
        sim().set_reg(0x1AE, 0x00);
        sim().set_reg(0x1AF, 0x00);
        sim().clear_events();
        EXPECT_EQ(BSP_SetVRMUpgradeStatus(c.regulator, 1), 0u);
        EXPECT_EQ(sim().reg(c.reg), c.mask);
        EXPECT_EQ(sim().reg(c.reg == 0x1AE ? 0x1AF : 0x1AE), 0);
        EXPECT_EQ(BSP_SetVRMUpgradeStatus(c.regulator, 0), 0u);
        EXPECT_EQ(sim().reg(c.reg), 0);
        EXPECT_EQ(count(Op::LocalBusWrite), 2u);
    }
}

TEST_F(Upgrade, RegulatorBitFailures)
{
    // 16 and up reach the register access with a bit above 7.
    EXPECT_EQ(BSP_SetVRMUpgradeStatus(16, 1), kErr);
    EXPECT_EQ(BSP_SetVRMUpgradeStatus(255, 1), kErr);
    EXPECT_EQ(count_logs(kLogError, "Input bitNum error, bitNum should be 0-7."), 2u);
    EXPECT_EQ(count(Op::LocalBusWrite), 0u);
    // The bit write's own failure is handed back.
    sim().fail(Op::LocalBusWrite, 1, -1, 0x1AF);
    EXPECT_EQ(BSP_SetVRMUpgradeStatus(10, 1), kErr);
    EXPECT_EQ(sim().reg(0x1AF), 0);
}

// ------------------------------------------------------- firmware status in CPLD RAM

TEST_F(Upgrade, FirmwareStatusAddresses)
{
    const struct {
        uint32_t fru, unit;
        uint16_t addr;
    } cases[] = {{0, 0, 0xD938}, {0, 27, 0xD953}, {1, 0, 0xD954}, {3, 0, 0xD955},
                 {3, 2, 0xD957}, {5, 0, 0xD958}, {5, 2, 0xD95A}, {6, 0, 0xD95B}};
    cpldtest::read_board_id_first(sim());
    uint8_t status = 0x10;
    for (const auto &c : cases) {
        SCOPED_TRACE(bsptest::hex(c.addr));
        ++status;
        const uint8_t before_prev = sim().ram(c.addr - 1u);
        const uint8_t before_next = sim().ram(c.addr + 1u);
        EXPECT_EQ(BSP_SetFwUpgradeStatusToCpldRam(c.fru, c.unit, status), 0u);
        EXPECT_EQ(sim().ram(c.addr), status);
        EXPECT_EQ(sim().ram(c.addr - 1u), before_prev);
        EXPECT_EQ(sim().ram(c.addr + 1u), before_next);
        uint8_t got = 0;
        EXPECT_EQ(BSP_GetFwUpgradeStatusFromCpldRam(c.fru, c.unit, &got), 0u);
        EXPECT_EQ(got, status);
    }
    EXPECT_TRUE(debug_texts().empty());
}

// The areas are packed: an index past an area lands in the next type's bytes.
TEST_F(Upgrade, FirmwareStatusIndexIsNotChecked)
{
    EXPECT_EQ(BSP_SetFwUpgradeStatusToCpldRam(0, 28, 0x5C), 0u);
    uint8_t got = 0;
    EXPECT_EQ(BSP_GetFwUpgradeStatusFromCpldRam(1, 0, &got), 0u);
    EXPECT_EQ(got, 0x5C);
    EXPECT_EQ(BSP_SetFwUpgradeStatusToCpldRam(3, 3, 0x6D), 0u);
    EXPECT_EQ(BSP_GetFwUpgradeStatusFromCpldRam(5, 0, &got), 0u);
    EXPECT_EQ(got, 0x6D);
}

TEST_F(Upgrade, FirmwareStatusUnsupportedTypes)
{
    for (uint32_t fru : {2u, 4u, 7u, 0x100u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(fru);
        sim().clear_logs();
        EXPECT_EQ(BSP_SetFwUpgradeStatusToCpldRam(fru, 0, 1), kErr);
        uint8_t got = 0x33;
        EXPECT_EQ(BSP_GetFwUpgradeStatusFromCpldRam(fru, 0, &got), kErr);
        EXPECT_EQ(got, 0x33);
        char hexfru[16];
        std::snprintf(hexfru, sizeof hexfru, "0x%x", fru);
        EXPECT_EQ(debug_texts(),
                  (std::vector<std::string>{
                      "0:Fru type " + std::string(hexfru) + " is invalid, not support record upgrade status to cpld ram.",
                      "0:Fru type " + std::string(hexfru) + " is invalid, not support read upgrade status from cpld ram."}));
    }
    EXPECT_EQ(BSP_GetFwUpgradeStatusFromCpldRam(0, 0, nullptr), kErr);
    EXPECT_TRUE(sim().events().empty());
}

// The RAM access reports no status: its failures are logged there and not passed on.
TEST_F(Upgrade, FirmwareStatusRamFailuresAreNotPassedOn)
{
    sim().set_ram(0xD955, 0x42);
    sim().fail(Op::SemP, 1, -1, 29);
    EXPECT_EQ(BSP_SetFwUpgradeStatusToCpldRam(3, 0, 0x01), 0u);
    EXPECT_EQ(sim().ram(0xD955), 0x42);

    sim().fail(Op::LocalBusRead, 1, -1, 0xBC);
    uint8_t got = 0x99;
    EXPECT_EQ(BSP_GetFwUpgradeStatusFromCpldRam(3, 0, &got), 0u);
    EXPECT_EQ(got, 0x99);
    EXPECT_EQ(count_logs(kLogError, "get BMC_MUTEX_IPC_CPLD_RAM fail."), 1u);
    EXPECT_EQ(sim().sem_value(29), 1);
}

// ------------------------------------------------------------ framework upgrade state

TEST_F(Upgrade, UpgradingStateFromTheFramework)
{
    const size_t live = bspsim::live_values();
    uint8_t state = 0xEE;
    EXPECT_EQ(BSP_IsCpldUpgrading(&state), 0u);
    EXPECT_EQ(state, 0);
    sim().set_property("Upgrade", "CpldUpgState", "byte 1");
    EXPECT_EQ(BSP_IsCpldUpgrading(&state), 0u);
    EXPECT_EQ(state, 1);
    EXPECT_EQ(bspsim::live_values(), live) << "every value handed out was released";
    EXPECT_TRUE(debug_texts().empty());
}

struct UpgradingFault {
    const char *name;
    std::function<void(bspsim::Board &)> inject;
    std::string log;
};

const UpgradingFault kUpgradingFaults[] = {
    {"NoObject", [](bspsim::Board &b) { b.fail(Op::DflGetHandle, 1, -2); }, "Get obj handle err[-2]"},
    {"PropertyFails", [](bspsim::Board &b) { b.fail(Op::DflGetProp, 1, -3); }, "Get property value failed[-3]"},
    {"NotAByte", [](bspsim::Board &b) { b.set_property("Upgrade", "CpldUpgState", "uint16 1"); },
     "Get property value failed[-1]"},
};

class UpgradingState : public bsptest::SimTestWithParam<UpgradingFault> {};

// Every failure is logged from the CPLD family's source and leaves the caller's byte alone;
// the status is 0 all the same.
TEST_P(UpgradingState, FailureLeavesStateAlone)
{
    const UpgradingFault &c = GetParam();
    sim().set_property("Upgrade", "CpldUpgState", "byte 1");
    c.inject(sim());
    const size_t live = bspsim::live_values();
    uint8_t state = 0xEE;
    EXPECT_EQ(BSP_IsCpldUpgrading(&state), 0u);
    EXPECT_EQ(state, 0xEE);
    auto logs = debug_logs();
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_EQ(logs[0].level, kLogError);
    EXPECT_EQ(logs[0].text, c.log);
    EXPECT_EQ(logs[0].file, "bmc_bsp_cpld.cpp");
    EXPECT_EQ(bspsim::live_values(), live);
}

BSP_CASES(Upgrade, UpgradingState, kUpgradingFaults);

TEST_F(Upgrade, UpgradingStateWithNullAsksNothing)
{
    EXPECT_EQ(BSP_IsCpldUpgrading(nullptr), 0u);
    EXPECT_TRUE(sim().events().empty());
}

// ------------------------------------------------------------------ shipped profiles

struct ProfileCase {
    const char *profile;
    uint8_t cpld_count;  // CPLDs whose upgrade-mode bit the board guards
};

const ProfileCase kProfiles[] = {{"arm-2u2c", 2}, {"x86-2u", 2}, {"4u4c", 2}, {"exp-2u", 2}, {"smm", 1}};

void PrintTo(const ProfileCase &c, std::ostream *os) { *os << c.profile; }

class ShippedProfile : public bsptest::SimTestWithParam<ProfileCase> {
protected:
    std::string profile() const override { return GetParam().profile; }
};

// Every board starts protected, in normal mode, with no upgrade under way; the protection
// really holds, and the sequence gets through it.
TEST_P(ShippedProfile, UpgradeModeIsGuarded)
{
    uint8_t state = 0xEE;
    EXPECT_EQ(BSP_IsCpldUpgrading(&state), 0u);
    EXPECT_EQ(state, 0);
    for (uint8_t id = 0; id < GetParam().cpld_count; ++id) {
        SCOPED_TRACE(int(id));
        const CpldUpgradeModeReg &r = g_CpldUpgradeModeRegTbl[id];
        uint8_t mode = 0xEE;
        EXPECT_EQ(BSP_GetCpldUpgradeMode(id, &mode), 0u);
        EXPECT_EQ(mode, 0);
        EXPECT_EQ((sim().reg(r.wpReg) >> r.wpBit) & 1, 1);

        EXPECT_EQ(BSP_WriteCpldBit(r.modeReg, r.modeBit, 1), 0u);
        EXPECT_EQ((sim().reg(r.modeReg) >> r.modeBit) & 1, 0) << "blocked while protected";

        EXPECT_EQ(BSP_SetCpldUpgradeMode(id, 1), 0u);
        EXPECT_EQ((sim().reg(r.modeReg) >> r.modeBit) & 1, 1);
        EXPECT_EQ(BSP_SetCpldUpgradeMode(id, 0), 0u);
        EXPECT_EQ((sim().reg(r.modeReg) >> r.modeBit) & 1, 0);
        EXPECT_EQ((sim().reg(r.wpReg) >> r.wpBit) & 1, 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Upgrade, ShippedProfile, ::testing::ValuesIn(kProfiles), [](const auto &info) {
    std::string n = info.param.profile;
    for (char &ch : n) ch = (ch == '-') ? '_' : ch;
    return n;
});

}  // namespace
