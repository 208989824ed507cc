// CPLD inventory and health: the CPLD count, the write/read-back self tests under semaphore 12,
// the fault register, the vendor names and the CPLD driver's device ids and upgrade count.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "cpld_test_util.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bspsim::Source;
using bsptest::kErr;
using cpldtest::trace;
using Strings = std::vector<std::string>;

constexpr uint32_t kSelfTestSem = 12;

using cpldtest::kProfileBoard;
using cpldtest::PrintTo;
using cpldtest::settle;

// The bus part of one healthy self test of the register at `reg` (local bus).
Strings pattern(const char *reg)
{
    std::string r = reg;
    return {"lb_write " + r + " mask=0x00 =0xaa", "delay 50", "lb_read " + r + " mask=0x00 len=1 =0x55",
            "lb_write " + r + " mask=0x00 =0x55", "delay 50", "lb_read " + r + " mask=0x00 len=1 =0xaa"};
}

Strings concat(std::initializer_list<Strings> parts)
{
    Strings out;
    for (const Strings &p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

// ------------------------------------------------------------------------ CPLD count

struct CountCase {
    const char *name;
    uint8_t board_id;
    uint32_t status;
    uint8_t num;
};

const CountCase kCounts[] = {
    {"Board00", 0x00, 0, 3}, {"Board03", 0x03, 0, 3}, {"Board0A", 0x0A, 0, 3},  {"Board05", 0x05, 0, 2},
    {"Board71", 0x71, 0, 2}, {"Board2D", 0x2D, 0, 2}, {"Board95", 0x95, 0, 2},  {"SmmHasNoRow", 0x81, kErr, 0},
};

class CpldCount : public bsptest::SimTestWithParam<CountCase> {};

TEST_P(CpldCount, ComesFromTheLogicVersionTable)
{
    const CountCase &c = GetParam();
    settle(sim(), c.board_id);
    uint8_t num = 0x77;
    EXPECT_EQ(BSP_GetCpldNum(&num), c.status);
    EXPECT_EQ(num, c.num);
    if (c.status != 0) {
        char want[64];
        std::snprintf(want, sizeof want, "BSP: Get cpld num fail. BoardId:0x%x", c.board_id);
        EXPECT_EQ(debug_texts().back(), std::string("0:") + want);
        // A failed lookup is not cached: the next call looks (and logs) again.
        num = 0x77;
        EXPECT_EQ(BSP_GetCpldNum(&num), kErr);
        EXPECT_EQ(num, 0);
        EXPECT_EQ(count_logs(bsptest::kLogError, want), 2u);
    }
}

BSP_CASES(Inventory, CpldCount, kCounts);

using CpldCountFailure = bsptest::SimTest;

TEST_F(CpldCountFailure, NullAndUnreadableBoardId)
{
    EXPECT_EQ(BSP_GetCpldNum(nullptr), kErr);
    EXPECT_EQ(debug_texts(), Strings{"0:Input CPLD num buffer is null"});
    sim().clear_logs();
    sim().fail(Op::DevOpen, 1);
    uint8_t num = 0x77;
    EXPECT_EQ(BSP_GetCpldNum(&num), kErr);
    EXPECT_EQ(num, 0);
    EXPECT_EQ(debug_texts().back(), "0:BSP: Get Bmc BoardId Failed for getting cpld num, Ret=0xffffffff");
    // The device answers again: the count is found and kept.
    EXPECT_EQ(BSP_GetCpldNum(&num), 0u);
    EXPECT_EQ(num, 2);
}

// ------------------------------------------------------------ self-test register table

struct AddrCase {
    const char *name;
    uint8_t board_id;
    std::array<uint32_t, 3> regs;
};

const AddrCase kAddrs[] = {
    {"Board05", 0x05, {0x002, 0x24A, 0x00A}},
    {"Board71", 0x71, {0x002, 0x24A, 0x00A}},
    {"Board0A", 0x0A, {0x002, 0x00A, 0x24A}},
};

class SelfTestAddr : public bsptest::SimTestWithParam<AddrCase> {};

TEST_P(SelfTestAddr, RowOfTheBoardAndRangeCheck)
{
    settle(sim(), GetParam().board_id);
    for (uint8_t id = 0; id < 3; ++id) {
        uint32_t addr = 0;
        EXPECT_EQ(BSP_GetSelfTestCpldAddr(id, &addr), 0u);
        EXPECT_EQ(addr, GetParam().regs[id]) << "CPLD " << int(id);
    }
    uint32_t addr = 0x1234;
    EXPECT_EQ(BSP_GetSelfTestCpldAddr(3, &addr), kErr);
    EXPECT_EQ(addr, 0x1234u) << "untouched on failure";
    EXPECT_EQ(BSP_GetSelfTestCpldAddr(0, nullptr), kErr);
    EXPECT_EQ(debug_texts(), (Strings{"0:Get cpldreg self test addr cpldId 3 is out of range.",
                                      "0:Get cpldreg self test addr cpldId 0 is out of range."}));
}

BSP_CASES(Inventory, SelfTestAddr, kAddrs);

// --------------------------------------------------------------- whole-board self test

using CpldSelfTest = bsptest::SimTest;

TEST_F(CpldSelfTest, HealthyBoardPassesUnderSemaphore12)
{
    settle(sim());
    EXPECT_EQ(BSP_CpldSelfTest(), 0u);
    EXPECT_EQ(trace(sim()), concat({{"sem_p 12"}, pattern("0x002"), pattern("0x24a"), {"sem_v 12"}}));
    EXPECT_EQ(events(Op::SemP).at(0).b, 2u) << "the take gives up after 2 seconds";
    EXPECT_EQ(sim().now_ms(), 200u);
    EXPECT_TRUE(debug_texts().empty());
}

TEST_F(CpldSelfTest, ThreeCpldBoardTestsItsThirdRegister)
{
    settle(sim(), 0x0A);
    sim().make_self_test(0x00A);
    EXPECT_EQ(BSP_CpldSelfTest(), 0u);
    EXPECT_EQ(trace(sim()), concat({{"sem_p 12"}, pattern("0x002"), pattern("0x00a"), pattern("0x24a"), {"sem_v 12"}}));
}

// Every way the whole-board test can end, with its verdict, its log and the semaphore given
// back whenever it was taken.
struct SelfTestCase {
    const char *name;
    int board_id;  // kProfileBoard: the profile's
    std::function<void(bspsim::Board &)> setup;
    uint32_t status;
    Strings logs;
    size_t bus_transfers;
};

const SelfTestCase kSelfTests[] = {
    // A register that echoes what was written is not a working test register.
    {"EchoingRegisterFails", kProfileBoard,
     [](bspsim::Board &b) { b.script(Source::Register, 0x24A, {0xAA, 0x55}); }, kErr, {}, 8},
    // Another process holds the lock: skipped, and reported as passed.
    {"BusySemaphorePasses", kProfileBoard, [](bspsim::Board &b) { b.fail(Op::SemP, 1, -1, kSelfTestSem); }, 0, {}, 0},
    // No CPLD count: skipped, and reported as passed.
    {"UnknownCountPasses", 0x81, [](bspsim::Board &) {}, 0,
     {"0:BSP: Get cpld num fail. BoardId:0x81", "0:Get CPLD Number fail![-1]"}, 0},
    // CPLD 0's first write fails, yet its read-backs look right: the loop stops there, and
    // CPLD 1, never reached, fails the verdict with its zero bytes.
    {"CpldNeverReachedFails", kProfileBoard,
     [](bspsim::Board &b) {
         b.fail(Op::LocalBusWrite, 1, -1, 0x002);
         b.script(Source::Register, 0x002, {0x55, 0xAA});
     },
     kErr, {"0:write add :2  data: aa cpld error.", "2:Test cpld fail, ret=-1, errorCode=0."}, 4},
    {"ReadFailureFails", kProfileBoard, [](bspsim::Board &b) { b.fail(Op::LocalBusRead, 1, -1, 0x24A); }, kErr,
     {"0:read cpld byte error.", "2:Test cpld fail, ret=-1, errorCode=0."}, 8},
    // A failing give is logged; the verdict still comes from the read-backs.
    {"FailingGiveStillPasses", kProfileBoard, [](bspsim::Board &b) { b.fail(Op::SemV, 1, -3, kSelfTestSem); }, 0,
     {"2:Test cpld fail, ret=0, errorCode=-3."}, 8},
};

class SelfTestPaths : public bsptest::SimTestWithParam<SelfTestCase> {};

TEST_P(SelfTestPaths, VerdictLogAndSemaphore)
{
    const SelfTestCase &c = GetParam();
    settle(sim(), c.board_id);
    c.setup(sim());
    EXPECT_EQ(BSP_CpldSelfTest(), c.status);
    EXPECT_EQ(debug_texts(), c.logs);
    EXPECT_EQ(cpldtest::bus_traffic(sim()), c.bus_transfers);
    size_t taken = 0;
    for (const auto &e : events(Op::SemP)) taken += e.result == 0 ? 1 : 0;
    EXPECT_EQ(count(Op::SemV), taken) << "one give for every successful take";
    EXPECT_EQ(count(Op::SemP), 1u);
    // A give the platform refused leaves the semaphore held; every other path frees it.
    const bool give_refused = std::string(c.name) == "FailingGiveStillPasses";
    EXPECT_EQ(sim().sem_value(kSelfTestSem), give_refused ? 0 : 1);
}

BSP_CASES(Inventory, SelfTestPaths, kSelfTests);

// ------------------------------------------------------------------- one CPLD's test

using CpldSelfTestByOne = bsptest::SimTest;

TEST_F(CpldSelfTestByOne, InvertingRegisterPassesEchoingFails)
{
    settle(sim());
    EXPECT_EQ(BSP_CpldSelfTestByOne(1), 0u);
    EXPECT_EQ(trace(sim()), concat({{"sem_p 12"}, pattern("0x24a"), {"sem_v 12"}}));
    EXPECT_EQ(events(Op::SemP).at(0).b, 2u);
    sim().script(Source::Register, 0x002, {0xAA, 0x55});
    EXPECT_EQ(BSP_CpldSelfTestByOne(0), kErr);
    EXPECT_TRUE(debug_texts().empty());
    EXPECT_EQ(sim().sem_value(kSelfTestSem), 1);
}

TEST_F(CpldSelfTestByOne, BadIdTakesNothingBusySemaphorePasses)
{
    settle(sim());
    EXPECT_EQ(BSP_CpldSelfTestByOne(3), kErr);
    EXPECT_EQ(count(Op::SemP), 0u);
    EXPECT_EQ(debug_texts(), Strings{"0:Get cpldreg self test addr cpldId 3 is out of range."});
    sim().fail(Op::SemP, 1, -1, kSelfTestSem);
    EXPECT_EQ(BSP_CpldSelfTestByOne(0), 0u);
    EXPECT_EQ(cpldtest::bus_traffic(sim()), 0u);
    EXPECT_EQ(count(Op::SemV), 0u);
}

TEST_F(CpldSelfTestByOne, FailingGiveIsLoggedAndTheVerdictStands)
{
    settle(sim());
    sim().fail(Op::SemV, 1, -3, kSelfTestSem);
    EXPECT_EQ(BSP_CpldSelfTestByOne(0), 0u);
    EXPECT_EQ(debug_texts(), Strings{"2:Test cpld fail, ret=0, errorCode=-3."});
    EXPECT_EQ(count(Op::SemV), 1u) << "given once, not again after the failure";
}

// A failed step is logged and the test goes on to the end; the last read has its own line.
TEST_F(CpldSelfTestByOne, FailedStepsAreLoggedAndTheTestRunsOn)
{
    settle(sim());
    sim().fail(Op::LocalBusWrite, 1, -1, 0x24A);
    sim().fail(Op::LocalBusRead, 1, -1, 0x24A, 1);
    EXPECT_EQ(BSP_CpldSelfTestByOne(1), kErr);
    EXPECT_EQ(cpldtest::bus_traffic(sim()), 4u);
    EXPECT_EQ(debug_texts(), (Strings{"0:write add :24a  data: aa cpld error.", "2:Test cpld fail, ret=-1.",
                                      "0:read cpld byte error.", "2:Test cpld fail, ret=-1, errorCode=0."}));
    EXPECT_EQ(sim().sem_value(kSelfTestSem), 1);
    EXPECT_EQ(sim().now_ms(), 100u);
}

// ---------------------------------------------------------------------------- health

struct HealthCase {
    const char *name;
    const char *profile;
    int board_id;  // kProfileBoard: the profile's
    uint8_t reg;
    uint32_t health;
    std::string log;  // "" when the answer does not change from the initial 0
};

const HealthCase kHealth[] = {
    {"CleanRegister", "default", kProfileBoard, 0x00, 1,
     "1:Health status of cpld(0xf) change from 0 to 1, reg[0xfb]=0x0, modules of iocard and disk will stop routine "
     "if the cpld is fault."},
    {"HighNibbleIsNoFaultUnderMask0F", "default", kProfileBoard, 0x10, 1,
     "1:Health status of cpld(0xf) change from 0 to 1, reg[0xfb]=0x10, modules of iocard and disk will stop routine "
     "if the cpld is fault."},
    // A fault at the very first check equals the initial 0: nothing is logged.
    {"LowNibbleIsAFault", "default", kProfileBoard, 0x01, 0, ""},
    {"HighNibbleIsAFaultOn5820", "default", 0x0A, 0x10, 0, ""},
    {"CleanOn5820", "default", 0x0A, 0x00, 1,
     "1:Health status of cpld(0xff) change from 0 to 1, reg[0xfb]=0x0, modules of iocard and disk will stop routine "
     "if the cpld is fault."},
    {"SpiBoardFault", "4u4c", kProfileBoard, 0x08, 0, ""},
};

class CpldHealth : public bsptest::SimTestWithParam<HealthCase> {
protected:
    std::string profile() const override { return GetParam().profile; }
};

TEST_P(CpldHealth, MaskOfTheBoard)
{
    const HealthCase &c = GetParam();
    settle(sim(), c.board_id);
    sim().set_reg(0xFB, c.reg);
    EXPECT_EQ(BSP_CpldBorCIsHealth(), c.health);
    EXPECT_EQ(debug_texts(), c.log.empty() ? Strings{} : Strings{c.log});
}

BSP_CASES(Inventory, CpldHealth, kHealth);

using CpldHealthChanges = bsptest::SimTest;

TEST_F(CpldHealthChanges, OnlyChangesAreLogged)
{
    settle(sim());
    const std::array<uint8_t, 5> values = {0x00, 0x00, 0x03, 0x03, 0x20};
    for (uint8_t v : values) {
        sim().set_reg(0xFB, v);
        (void)BSP_CpldBorCIsHealth();
    }
    const std::string tail = ", modules of iocard and disk will stop routine if the cpld is fault.";
    EXPECT_EQ(debug_texts(), (Strings{"1:Health status of cpld(0xf) change from 0 to 1, reg[0xfb]=0x0" + tail,
                                      "1:Health status of cpld(0xf) change from 1 to 0, reg[0xfb]=0x3" + tail,
                                      "1:Health status of cpld(0xf) change from 0 to 1, reg[0xfb]=0x20" + tail}));
}

TEST_F(CpldHealthChanges, UnreadableRegisterIsHealthyAndLeavesTheLastAnswer)
{
    settle(sim());
    sim().set_reg(0xFB, 0x0F);
    EXPECT_EQ(BSP_CpldBorCIsHealth(), 0u);
    sim().fail(Op::LocalBusRead, 1, -1, 0xFB);
    EXPECT_EQ(BSP_CpldBorCIsHealth(), 1u);
    EXPECT_EQ(debug_texts(), (Strings{"0:read cpld byte error.", "0:Read cpld(0xfb) fail, ret = -1."}));
    // The unread answer was not stored: the still faulty register logs no change.
    EXPECT_EQ(BSP_CpldBorCIsHealth(), 0u);
    EXPECT_EQ(debug_texts().size(), 2u);
}

TEST_F(CpldHealthChanges, MiddleBoardIsHealthyWithoutReading)
{
    settle(sim(), 0x2D);
    sim().set_reg(0xFB, 0xFF);
    EXPECT_EQ(BSP_CpldBorCIsHealth(), 1u);
    EXPECT_EQ(cpldtest::bus_traffic(sim()), 0u);
    EXPECT_TRUE(debug_texts().empty());
}

// ---------------------------------------------------------------------- vendor names

struct VendorCase {
    const char *name;
    uint8_t cpld0;
    uint8_t cpld1;
    uint32_t fail_reg;  // a register whose read fails, 0: none
    uint8_t size;
    std::string text;
    std::string log;
};

const VendorCase kVendors[] = {
    {"LatticeAndPango", 0x99, 0x55, 0, 32, "Lattice pango", ""},
    {"UnknownAndZero", 0x12, 0x00, 0, 32, "Undentified Anlu", ""},
    {"BothAnluCodes", 0x66, 0x00, 0, 32, "Anlu Anlu", ""},
    {"UnknownSecond", 0x55, 0xFF, 0, 32, "pango Undentified", ""},
    // The byte is shared: a failed read of CPLD 1 shows CPLD 0's vendor again...
    {"FailedSecondReadRepeatsFirst", 0x99, 0x55, 0x2E0, 32, "Lattice Lattice", "0:read cpld byte error."},
    // ...and a failed read of CPLD 0 leaves the initial 0, which names Anlu.
    {"FailedFirstReadIsAnlu", 0x99, 0x55, 0x1D5, 32, "Anlu pango", "0:read cpld byte error."},
    // Size and count are both size - 1: 13 characters need 15 bytes.
    {"ExactFit", 0x99, 0x55, 0, 15, "Lattice pango", ""},
    {"CutByOne", 0x99, 0x55, 0, 14, "Lattice pang",
     "0:BSP: snprintf Lattice and pango to CPLD str failed, result = -1."},
};

class VendorNames : public bsptest::SimTestWithParam<VendorCase> {};

TEST_P(VendorNames, FromTheVendorRegisters)
{
    const VendorCase &c = GetParam();
    settle(sim());
    sim().set_reg(0x1D5, c.cpld0);
    sim().set_reg(0x2E0, c.cpld1);
    if (c.fail_reg != 0) sim().fail(Op::LocalBusRead, 1, -1, c.fail_reg);
    char buf[64];
    std::memset(buf, '#', sizeof buf);
    BSP_Get5830CPLDTypeStr(c.size, buf);
    EXPECT_EQ(std::string(buf), c.text);
    EXPECT_EQ(debug_texts(), c.log.empty() ? Strings{} : Strings{c.log});
}

BSP_CASES(Inventory, VendorNames, kVendors);

using VendorNamesNoBuffer = bsptest::SimTest;

TEST_F(VendorNamesNoBuffer, NothingIsRead)
{
    BSP_Get5830CPLDTypeStr(32, nullptr);
    char buf[4] = "xx";
    BSP_Get5830CPLDTypeStr(0, buf);
    EXPECT_STREQ(buf, "xx");
    EXPECT_EQ(cpldtest::bus_traffic(sim()), 0u);
    EXPECT_TRUE(debug_texts().empty());
}

// ------------------------------------------------------------------- CPLD device ids

using CpldChipId = bsptest::SimTest;

TEST_F(CpldChipId, IdsOfTheDriver)
{
    std::array<uint32_t, 4> ids{};
    EXPECT_EQ(BSP_GetCpldChipId(ids.data(), sizeof ids, 2, 1), 0u);
    EXPECT_EQ(ids, (std::array<uint32_t, 4>{0x612BD043, 0x0042B899, 0, 0}));
    ASSERT_EQ(count(Op::CpldGetId), 1u);
    EXPECT_EQ(events(Op::CpldGetId)[0].a, 1u) << "asked on behalf of CPLD 1";
    EXPECT_EQ(debug_texts(), Strings{"1:Cpld0 devicedId(0x612bd043), cpld1 devicedId(0x42b899), ret=0."});
}

TEST_F(CpldChipId, BadArgumentsAskNothing)
{
    uint32_t ids[6] = {};
    EXPECT_EQ(BSP_GetCpldChipId(ids, 0, 2, 0), kErr);
    EXPECT_EQ(BSP_GetCpldChipId(ids, sizeof ids, 2, 2), kErr);
    EXPECT_EQ(BSP_GetCpldChipId(nullptr, sizeof ids, 2, 1), kErr);
    EXPECT_EQ(BSP_GetCpldChipId(ids, sizeof ids, 7, 0), kErr) << "the record holds six ids";
    EXPECT_EQ(debug_texts(), (Strings{"0:Input para err, cpldId(0)", "0:Input para err, cpldId(2)",
                                      "0:Input para err, cpldId(1)", "0:Input para err, cpldId(0)"}));
    EXPECT_EQ(count(Op::CpldGetId), 0u);
}

// Ten tries, a second after each failed one.
struct RetryCase {
    const char *name;
    uint32_t failures;
    uint32_t status;
    uint64_t waited_ms;
};

const RetryCase kChipIdRetries[] = {
    {"SecondTry", 1, 0, 1000},
    {"TenthTry", 9, 0, 9000},
    {"AllTenFail", 10, 0xFFFFFFFBu, 10000},
};

class ChipIdRetry : public bsptest::SimTestWithParam<RetryCase> {};

TEST_P(ChipIdRetry, TenTriesASecondApart)
{
    const RetryCase &c = GetParam();
    sim().fail(Op::CpldGetId, c.failures, -5);
    uint32_t ids[2] = {};
    EXPECT_EQ(BSP_GetCpldChipId(ids, sizeof ids, 2, 0), c.status);
    EXPECT_EQ(count(Op::CpldGetId), std::min<size_t>(c.failures + 1, 10));
    EXPECT_EQ(sim().now_ms(), c.waited_ms);
    for (const auto &e : events(Op::Delay)) EXPECT_EQ(e.a, 1000u);
    EXPECT_EQ(debug_texts(), c.status == 0
                                 ? Strings{"1:Cpld0 devicedId(0x612bd043), cpld1 devicedId(0x42b899), ret=0."}
                                 : Strings{"0:Get cpld chip id failed, ret(-5)"});
}

BSP_CASES(Inventory, ChipIdRetry, kChipIdRetries);

TEST_F(CpldChipId, CountMismatchAndSmallBuffer)
{
    sim().set_cpld_ids({0x612BD043, 0x0042B899, 0x03004C37});
    uint32_t ids[6] = {};
    EXPECT_EQ(BSP_GetCpldChipId(ids, sizeof ids, 2, 0), kErr);
    EXPECT_EQ(debug_texts(), Strings{"0:Cpld num is out of range, get cnt(3), fact cnt(2)"});
    EXPECT_EQ(ids[0], 0u);
    sim().clear_logs();
    // Room for one id only: the bounded copy refuses, and its code is the result.
    EXPECT_EQ(BSP_GetCpldChipId(ids, sizeof ids[0], 3, 0), 34u);
    EXPECT_EQ(debug_texts(), Strings{"1:Cpld0 devicedId(0x612bd043), cpld1 devicedId(0x42b899), ret=34."});
}

// -------------------------------------------------------------------- vendor codes

using CovertCpldType = bsptest::SimTest;

TEST_F(CovertCpldType, EveryKnownIdAndTheUnknownOnes)
{
    const uint32_t ids[] = {0x03004C37, 0x00008C3B, 0x612BD043, 0x0042B899, 0x0042A899};
    uint8_t types[5];
    std::memset(types, 9, sizeof types);
    EXPECT_EQ(BSP_CovertCpldType(ids, types, 5), 0u);
    EXPECT_EQ(std::vector<uint8_t>(types, types + 5), (std::vector<uint8_t>{0, 0, 1, 2, 2}));
    EXPECT_EQ(debug_texts(), (Strings{"1:Cpld(0) is anlu", "1:Cpld(1) is anlu", "1:Cpld(2) is lattice",
                                      "1:Cpld(3) is pango", "1:Cpld(4) is pango"}));

    // An unknown id keeps its entry, spoils the result, and the walk goes on.
    sim().clear_logs();
    const uint32_t mixed[] = {0x12345678, 0x612BD043};
    uint8_t out[2] = {9, 9};
    EXPECT_EQ(BSP_CovertCpldType(mixed, out, 2), kErr);
    EXPECT_EQ(out[0], 9);
    EXPECT_EQ(out[1], 1);
    EXPECT_EQ(debug_texts(), (Strings{"0:Invalid cpld chip id(305419896)", "1:Cpld(1) is lattice"}));
    EXPECT_EQ(BSP_CovertCpldType(nullptr, nullptr, 0), 0u);
}

// ---------------------------------------------------------------- upgrade CPLD count

class SetCpldUpgNum : public bsptest::SimTestWithParam<RetryCase> {};

TEST_P(SetCpldUpgNum, TenTriesASecondAfterEachFailure)
{
    const RetryCase &c = GetParam();
    sim().fail(Op::CpldSetNum, c.failures, -7);
    EXPECT_EQ(BSP_SetCpldUpgNum(2), c.status == 0 ? 0u : 0xFFFFFFF9u);
    EXPECT_EQ(sim().cpld_upgrade_num(), c.status == 0 ? 2u : 0u);
    EXPECT_EQ(sim().now_ms(), c.waited_ms);
    EXPECT_EQ(debug_texts(), c.status == 0 ? Strings{} : Strings{"0:Set upgrade num failed(-7)"});
}

const RetryCase kUpgNumRetries[] = {
    {"FirstTry", 0, 0, 0},
    {"FourthTry", 3, 0, 3000},
    {"AllTenFail", 10, kErr, 10000},
};

BSP_CASES(Inventory, SetCpldUpgNum, kUpgNumRetries);

}  // namespace
