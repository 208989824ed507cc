// CPLD register access: which path each hub takes on which board, what goes over the bus,
// argument checks, SPI retries, the debounced read and the thin users of the hubs.
#include <array>
#include <cstdint>
#include <cstdio>
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

using cpldtest::PrintTo;  // case tables print as their names

using CpldTest = cpldtest::BoardIdRead<bsptest::SimTest>;
template <typename T>
using CpldTestWithParam = cpldtest::BoardIdRead<bsptest::SimTestWithParam<T>>;

// ------------------------------------------------------------------------ path choice

// One call of each hub on register 0x13 (holding 0xA5), with what it puts on each path.
struct HubCall {
    const char *name;
    std::function<uint32_t()> call;
    Strings local_bus;
    Strings spi;
};

uint8_t g_sink[4];

const std::vector<HubCall> &hub_calls()
{
    static const std::vector<HubCall> calls = {
        {"ReadCpldBytes", [] { return BSP_ReadCpldBytes(0x13, 2, g_sink); },
         {"lb_read 0x013 mask=0x00 len=2 =0xa5"},
         {"spi_read 0x013 =0xa5", "spi_read 0x014 =0x00"}},
        {"WriteCpldByte", [] { return BSP_WriteCpldByte(0x13, 0x5A); },
         {"lb_write 0x013 mask=0x00 =0x5a"},
         {"spi_write 0x013 =0x5a"}},
        {"ReadCpldBit", [] { return BSP_ReadCpldBit(0x13, 2, g_sink); },
         {"lb_read 0x013 mask=0x04 len=1 =0x01"},
         {"spi_read 0x013 =0xa5"}},
        {"WriteCpldBit", [] { return BSP_WriteCpldBit(0x13, 3, 1); },
         {"lb_write 0x013 mask=0x08 =0x01"},
         {"chip_write cpld1 0x013 mask=0x08 =0x01"}},
        // The debug writer rewrites the whole byte on SPI: 0xA5 with bit 6 set is 0xE5.
        {"DegWriteCpldBit", [] { return BSP_DegWriteCpldBit(0x13, 6, 1); },
         {"lb_write 0x013 mask=0x40 =0x01"},
         {"spi_read 0x013 =0xa5", "spi_write 0x013 =0xe5"}},
    };
    return calls;
}

enum class Path { LocalBus, Spi };

struct PathCase {
    const char *name;
    const char *profile;
    const char *lbus;  // object the CPLD's "LBus" refers to; nullptr: as the profile has it
    Path expected;
};

const PathCase kPathCases[] = {
    {"ArmBoardOnLocalBus", "default", nullptr, Path::LocalBus},
    {"X86BoardOnLocalBus", "x86-2u", nullptr, Path::LocalBus},
    {"ArmBoardWithCpldOnSpi1", "default", "spi1", Path::Spi},
    {"ExpansionBoardWithCpldOnSpi1", "exp-2u", "spi1", Path::Spi},
    {"OtherSpiControllerIsNotSpi", "default", "spi2", Path::LocalBus},
    {"SmmStaysOnLocalBusEvenWithSpi1", "smm", "spi1", Path::LocalBus},
    {"Board71OnSpi1", "4u4c", nullptr, Path::Spi},
    {"Board71UsesSpiEvenOnLocalBus", "4u4c", "localbus", Path::Spi},
};

class HubPath : public CpldTestWithParam<PathCase> {
protected:
    std::string profile() const override { return GetParam().profile; }
};

TEST_P(HubPath, EveryHubTakesTheBoardsPathAtEveryCall)
{
    const PathCase &c = GetParam();
    if (c.lbus != nullptr) {
        if (sim().handle_of(c.lbus) == 0) sim().add_object(c.lbus, "Bus");
        sim().set_reference("cpld1", "LBus", c.lbus);
    }
    for (const HubCall &h : hub_calls()) {
        SCOPED_TRACE(h.name);
        sim().set_reg(0x13, 0xA5);
        sim().set_reg(0x14, 0x00);
        sim().clear_events();
        EXPECT_EQ(h.call(), 0u);
        EXPECT_EQ(trace(sim()), c.expected == Path::Spi ? h.spi : h.local_bus);
        // The bus is looked up afresh at every call, never cached; SMM boards never ask.
        EXPECT_EQ(count(Op::DflGetRef), std::string(c.profile) == "smm" ? 0u : 1u);
    }
    EXPECT_EQ(g_sink[0], 1) << "a bit read hands back 0 or 1";
}

BSP_CASES(Boards, HubPath, kPathCases);

// When the CPLD object or its bus cannot be found, the local bus is used, with a log line
// whose level tells the two apart.
struct LookupFailure {
    const char *name;
    Op op;
    std::string log;
};

class SpiLookupFailure : public CpldTestWithParam<LookupFailure> {};

TEST_P(SpiLookupFailure, FallsBackToLocalBusAndLogs)
{
    // A board other than 0x71 whose CPLD is on spi1: only the lookup decides.
    sim().add_object("spi1", "SpiBus");
    sim().set_reference("cpld1", "LBus", "spi1");
    sim().fail(GetParam().op, 1, -5);
    EXPECT_EQ(BSP_UseSpi2Cpld(), 0u);
    EXPECT_EQ(debug_texts(), Strings{GetParam().log});
    sim().fail(GetParam().op, 1, -5);
    EXPECT_EQ(BSP_WriteCpldByte(0x20, 0x11), 0u);
    EXPECT_EQ(trace(sim()), Strings{"lb_write 0x020 mask=0x00 =0x11"});
    EXPECT_EQ(BSP_UseSpi2Cpld(), 1u) << "with the fault gone the SPI bus is found again";
}

const LookupFailure kLookupFailures[] = {
    {"NoCpldObject", Op::DflGetHandle, "0:Get cpld1 obj handle fail, hdl=0, ret=-5"},
    {"NoBusReference", Op::DflGetRef, "2:Get cpld1 refobj(LBus) handle fail, ret=-5"},
};
BSP_CASES(Lookups, SpiLookupFailure, kLookupFailures);

// ------------------------------------------------------------------- argument checks

struct ArgCase {
    const char *name;
    std::function<uint32_t()> call;
    std::string log;  // "" when the refusal is silent
};

uint8_t g_byte;

const ArgCase kArgCases[] = {
    {"ReadBytesNullOut", [] { return BSP_ReadCpldBytes(0x10, 1, nullptr); }, "0:pOut is null."},
    {"ReadBytesAddr400", [] { return BSP_ReadCpldBytes(0x400, 1, g_sink); }, "0:Offset addr(0x0400) err."},
    {"ReadBytesHugeAddr", [] { return BSP_ReadCpldBytes(0x12345, 1, g_sink); }, "0:Offset addr(0x12345) err."},
    {"WriteByteAddr400", [] { return BSP_WriteCpldByte(0x400, 1); }, "0:Offset addr(0x0400) err."},
    {"ReadBitNullOut", [] { return BSP_ReadCpldBit(0x10, 0, nullptr); }, ""},
    {"ReadBitAddr400", [] { return BSP_ReadCpldBit(0x400, 0, &g_byte); }, "0:Offset addr(0x0400) err."},
    {"ReadBit8", [] { return BSP_ReadCpldBit(0x10, 8, &g_byte); }, "0:Input bit_num error."},
    {"WriteBitAddr400", [] { return BSP_WriteCpldBit(0x400, 0, 1); }, "0:Offset is out of range."},
    {"WriteBit8", [] { return BSP_WriteCpldBit(0x10, 8, 1); }, "0:Input bitNum error, bitNum should be 0-7."},
    {"DegWriteBitAddr400", [] { return BSP_DegWriteCpldBit(0x400, 0, 1); }, "0:Offset is out of range."},
    {"DegWriteBit8", [] { return BSP_DegWriteCpldBit(0x10, 8, 1); }, "0:Input bitNum error, bitNum should be 0-7."},
    {"DebouncedNullOut", [] { return BSP_ReadCpldByteForTdm(0x29, 1, nullptr); }, ""},
    {"DebouncedPlainNullOut", [] { return BSP_ReadCpldByteForTdm(0x10, 1, nullptr); }, ""},
};

// Checked on a board that would use SPI, so a check that came after the path choice would
// show as a framework lookup.
class HubArguments : public CpldTestWithParam<ArgCase> {
protected:
    std::string profile() const override { return "4u4c"; }
};

TEST_P(HubArguments, RefusedBeforeAnyTraffic)
{
    EXPECT_EQ(GetParam().call(), kErr);
    EXPECT_EQ(debug_texts(), GetParam().log.empty() ? Strings{} : Strings{GetParam().log});
    EXPECT_EQ(cpldtest::bus_traffic(sim()), 0u);
    EXPECT_EQ(count(Op::DflGetHandle), 0u);
}

BSP_CASES(Hubs, HubArguments, kArgCases);

using HubLimits = CpldTest;

// The last register and bit are accepted, and neither `len` nor addr + len is checked: a read
// running past the last register goes to the driver, which refuses it.
TEST_F(HubLimits, LastRegisterAndBitPassAndLengthIsNotChecked)
{
    uint8_t buf[4] = {};
    EXPECT_EQ(BSP_ReadCpldBit(0x3FF, 7, buf), 0u);
    EXPECT_EQ(BSP_WriteCpldBit(0x3FF, 7, 1), 0u);
    EXPECT_EQ(BSP_WriteCpldByte(0x3FF, 0x80), 0u);
    EXPECT_EQ(BSP_ReadCpldBytes(0x3FF, 4, buf), kErr);
    EXPECT_EQ(trace(sim()), (Strings{"lb_read 0x3ff mask=0x80 len=1 =0x00", "lb_write 0x3ff mask=0x80 =0x01",
                                     "lb_write 0x3ff mask=0x00 =0x80", "lb_read 0x3ff mask=0x00 len=1 =0x00 rc=-1 malformed"}));
    EXPECT_EQ(debug_texts(), Strings{"0:read cpld byte error."});
}

// ------------------------------------------------------------------ request records

// The path functions called directly: the record the driver sees (the simulator refuses any
// record whose fixed fields are wrong) and the log of a failed call.
struct RecordCase {
    const char *name;
    std::function<uint32_t()> call;
    Op fault;  // Op::None: no fault
    uint32_t status;
    Strings trace;
    Strings logs;
};

const RecordCase kRecordCases[] = {
    {"LbReadBytes", [] { return BSP_LbReadCpldBytes(0x20, 3, g_sink); }, Op::None, 0,
     {"lb_read 0x020 mask=0x00 len=3 =0x96"}, {}},
    {"LbReadBytesFails", [] { return BSP_LbReadCpldBytes(0x20, 3, g_sink); }, Op::LocalBusRead, kErr,
     {"lb_read 0x020 mask=0x00 len=1 =0x00 rc=-4"}, {"0:read cpld byte error."}},
    {"LbWriteByte", [] { return BSP_LbWriteCpldByte(0x20, 0x81); }, Op::None, 0,
     {"lb_write 0x020 mask=0x00 =0x81"}, {}},
    {"LbWriteByteFails", [] { return BSP_LbWriteCpldByte(0x20, 0x81); }, Op::LocalBusWrite, kErr,
     {"lb_write 0x020 mask=0x00 =0x81 rc=-4"}, {"0:write add :20  data: 81 cpld error."}},
    {"LbReadBit7", [] { return BSP_LbReadCpldBit(0x20, 7, g_sink); }, Op::None, 0,
     {"lb_read 0x020 mask=0x80 len=1 =0x01"}, {}},
    // The read mask is cut to 8 bits: bit 8 asks for no bit at all, which the driver refuses.
    {"LbReadBit8MaskCut", [] { return BSP_LbReadCpldBit(0x20, 8, g_sink); }, Op::None, kErr,
     {"lb_read 0x020 mask=0x00 len=1 =0x00 rc=-1 malformed"}, {"0:read cpld error."}},
    {"LbReadBitFails", [] { return BSP_LbReadCpldBit(0x20, 1, g_sink); }, Op::LocalBusRead, kErr,
     {"lb_read 0x020 mask=0x02 len=1 =0x00 rc=-4"}, {"0:read cpld error."}},
    // The write's value goes as given, not reduced to one bit.
    {"LbWriteBitValueAsGiven", [] { return BSP_LbWriteCpldBit(0x20, 0, 5); }, Op::None, 0,
     {"lb_write 0x020 mask=0x01 =0x05"}, {}},
    // The write mask is not cut: bit 8 reaches the driver as 0x100.
    {"LbWriteBit8MaskUncut", [] { return BSP_LbWriteCpldBit(0x20, 8, 1); }, Op::None, kErr,
     {"lb_write 0x020 mask=0x100 =0x00 rc=-1 malformed"}, {"0:write add :20  data: 1 cpld error."}},
    {"SpiReadByte", [] { return BSP_SpiReadCpldByte(0x1AC, g_sink); }, Op::None, 0, {"spi_read 0x1ac =0x3c"}, {}},
    {"SpiReadByteFails", [] { return BSP_SpiReadCpldByte(0x1AC, g_sink); }, Op::SpiRead, kErr,
     {"spi_read 0x1ac =0x00 rc=-4"}, {"0:Read cpld(0x1ac) byte error(-4)."}},
    {"SpiReadBytesOnce", [] { return BSP_SpiReadCpldBytesOnce(0x20, 2, g_sink); }, Op::None, 0,
     {"spi_read 0x020 =0x96", "spi_read 0x021 =0x00"}, {}},
    {"SpiReadBytesOnceLen0", [] { return BSP_SpiReadCpldBytesOnce(0x20, 0, g_sink); }, Op::None, 0, {}, {}},
    {"SpiReadBytesOnceFails", [] { return BSP_SpiReadCpldBytesOnce(0x20, 2, g_sink); }, Op::SpiRead, kErr,
     {"spi_read 0x020 =0x00 rc=-4"}, {"0:Read cpld(0x20) byte error(-4).", "0:Read cpld(0x20) bytes(len=2) error."}},
    {"SpiReadBitOnce", [] { return BSP_SpiReadCpldBitOnce(0x20, 4, g_sink); }, Op::None, 0,
     {"spi_read 0x020 =0x96"}, {}},
    {"SpiWriteByteOnce", [] { return BSP_SpiWriteCpldByteOnce(0x2FF, 0x42); }, Op::None, 0, {"spi_write 0x2ff =0x42"}, {}},
    {"SpiWriteByteOnceFails", [] { return BSP_SpiWriteCpldByteOnce(0x2FF, 0x42); }, Op::SpiWrite, kErr,
     {"spi_write 0x2ff =0x42 rc=-4"}, {"0:Write to cpld addr(2ff) data(42) error, ret=-4."}},
    // Any non-zero value sets the bit; the mask is cut to 8 bits.
    {"SpiDflWriteBitOnce", [] { return BSP_SpiDflWriteCpldBitOnce(0x20, 2, 7); }, Op::None, 0,
     {"chip_write cpld1 0x020 mask=0x04 =0x01"}, {}},
    {"SpiDflWriteBitOnceFails", [] { return BSP_SpiDflWriteCpldBitOnce(0x20, 2, 0); }, Op::DflChipByteWrite,
     static_cast<uint32_t>(-4), {"chip_write cpld1 0x020 mask=0x04 =0x00 rc=-4"}, {}},
    // The chip is written by name, so a failed object lookup is only logged.
    {"SpiDflWriteBitOnceNoHandle", [] { return BSP_SpiDflWriteCpldBitOnce(0x20, 0, 1); }, Op::DflGetHandle, 0,
     {"chip_write cpld1 0x020 mask=0x01 =0x01"}, {"0:Get cpld1 obj handle fail, hdl=0, ret=-4"}},
};

class PathRecords : public CpldTestWithParam<RecordCase> {};

TEST_P(PathRecords, DriverSeesTheRecordAndFailuresAreLogged)
{
    const RecordCase &c = GetParam();
    sim().set_reg(0x20, 0x96);
    sim().set_reg(0x1AC, 0x3C);
    if (c.fault != Op::None) sim().fail(c.fault, 1, -4);
    sim().clear_events();
    EXPECT_EQ(c.call(), c.status);
    EXPECT_EQ(trace(sim()), c.trace);
    EXPECT_EQ(debug_texts(), c.logs);
}

BSP_CASES(Paths, PathRecords, kRecordCases);

using PathValues = CpldTest;

TEST_F(PathValues, ReadsHandBackTheRegisters)
{
    sim().set_reg(0x20, 0x96);
    sim().set_reg(0x21, 0x5A);
    uint8_t buf[3] = {0xEE, 0xEE, 0xEE};
    ASSERT_EQ(BSP_LbReadCpldBytes(0x20, 2, buf), 0u);
    EXPECT_EQ(buf[0], 0x96);
    EXPECT_EQ(buf[1], 0x5A);
    EXPECT_EQ(buf[2], 0xEE);
    for (uint32_t bit = 0; bit < 8; ++bit) {
        uint8_t lb = 0xEE, spi = 0xEE;
        ASSERT_EQ(BSP_LbReadCpldBit(0x20, bit, &lb), 0u);
        ASSERT_EQ(BSP_SpiReadCpldBitOnce(0x20, bit, &spi), 0u);
        EXPECT_EQ(lb, (0x96 >> bit) & 1) << "bit " << bit;
        EXPECT_EQ(spi, (0x96 >> bit) & 1) << "bit " << bit;
    }
}

// ------------------------------------------------------------------------ SPI retries

struct RetryCase {
    const char *name;
    std::function<uint32_t()> call;
    Op fault;
    uint32_t failures;
    uint32_t key;  // register the fault is armed for
    uint32_t status;
    Op attempt;          // the call each attempt makes
    size_t attempts;     // calls of `attempt` made
    uint32_t delayed_ms; // 10 ms after every failed attempt
};

constexpr uint32_t kAny = bspsim::kAnyKey;

const RetryCase kRetryCases[] = {
    {"WriteByteFailsFiveTimes", [] { return BSP_WriteCpldByte(0x13, 0x5A); }, Op::SpiWrite, 5, kAny, kErr,
     Op::SpiWrite, 5, 50},
    {"WriteByteSucceedsAtTheFifth", [] { return BSP_WriteCpldByte(0x13, 0x5A); }, Op::SpiWrite, 4, kAny, 0,
     Op::SpiWrite, 5, 40},
    {"WriteByteStopsAfterFive", [] { return BSP_WriteCpldByte(0x13, 0x5A); }, Op::SpiWrite, 7, kAny, kErr,
     Op::SpiWrite, 5, 50},
    // A multi-byte read starts over from its first byte after a failure.
    {"ReadBytesSecondByteFailsOnce", [] { return BSP_ReadCpldBytes(0x13, 3, g_sink); }, Op::SpiRead, 1, 0x14, 0,
     Op::SpiRead, 5, 10},
    {"ReadBytesSecondByteAlwaysFails", [] { return BSP_ReadCpldBytes(0x13, 3, g_sink); }, Op::SpiRead, 5, 0x14,
     kErr, Op::SpiRead, 10, 50},
    {"ReadBitFailsFiveTimes", [] { return BSP_ReadCpldBit(0x13, 0, g_sink); }, Op::SpiRead, 5, kAny, kErr,
     Op::SpiRead, 5, 50},
    // The masked bit write passes the framework's own code up.
    {"WriteBitFailsFiveTimes", [] { return BSP_WriteCpldBit(0x13, 1, 1); }, Op::DflChipByteWrite, 5, kAny,
     static_cast<uint32_t>(-7), Op::DflChipByteWrite, 5, 50},
    {"WriteBitSucceedsAtTheThird", [] { return BSP_WriteCpldBit(0x13, 1, 1); }, Op::DflChipByteWrite, 2, kAny, 0,
     Op::DflChipByteWrite, 3, 20},
    // The debug writer reads once, without retries, and only its write retries.
    {"DebugWriteReadFails", [] { return BSP_DegWriteCpldBit(0x13, 1, 1); }, Op::SpiRead, 1, kAny, kErr,
     Op::SpiRead, 1, 0},
    {"DebugWriteWriteFailsFiveTimes", [] { return BSP_DegWriteCpldBit(0x13, 1, 1); }, Op::SpiWrite, 5, kAny, kErr,
     Op::SpiWrite, 5, 50},
};

class SpiRetry : public CpldTestWithParam<RetryCase> {
protected:
    std::string profile() const override { return "4u4c"; }
};

TEST_P(SpiRetry, FiveAttemptsTenMillisecondsAfterEachFailure)
{
    const RetryCase &c = GetParam();
    sim().fail(c.fault, c.failures, -7, c.key);
    uint64_t start = sim().now_ms();
    EXPECT_EQ(c.call(), c.status);
    EXPECT_EQ(count(c.attempt), c.attempts);
    EXPECT_EQ(sim().now_ms() - start, c.delayed_ms);
    for (const auto &d : events(Op::Delay)) EXPECT_EQ(d.a, 10u);
    EXPECT_EQ(count(Op::Delay) * 10, c.delayed_ms);
}

BSP_CASES(Hubs, SpiRetry, kRetryCases);

class SpiPath : public CpldTest {
protected:
    std::string profile() const override { return "4u4c"; }
};

TEST_F(SpiPath, EveryAttemptLogsAndPartialReadsStay)
{
    sim().set_reg(0x13, 0x11);
    sim().fail(Op::SpiRead, 5, -3, 0x14);
    uint8_t buf[3] = {0xEE, 0xEE, 0xEE};
    EXPECT_EQ(BSP_ReadCpldBytes(0x13, 3, buf), kErr);
    Strings expected;
    for (int i = 0; i < 5; ++i) {
        expected.push_back("0:Read cpld(0x14) byte error(-3).");
        expected.push_back("0:Read cpld(0x13) bytes(len=3) error.");
    }
    EXPECT_EQ(debug_texts(), expected);
    EXPECT_EQ(buf[0], 0x11) << "bytes read before the failure stay";
    EXPECT_EQ(buf[2], 0xEE);
}

TEST_F(SpiPath, DelaysFollowEachFailedAttempt)
{
    sim().fail(Op::SpiWrite, 2, -3);
    EXPECT_EQ(BSP_WriteCpldByte(0x13, 0x5A), 0u);
    EXPECT_EQ(trace(sim()), (Strings{"spi_write 0x013 =0x5a rc=-3", "delay 10", "spi_write 0x013 =0x5a rc=-3",
                                     "delay 10", "spi_write 0x013 =0x5a"}));
    EXPECT_EQ(debug_texts(), (Strings{"0:Write to cpld addr(13) data(5a) error, ret=-3.",
                                      "0:Write to cpld addr(13) data(5a) error, ret=-3."}));
    EXPECT_EQ(sim().reg(0x13), 0x5A);
}

// The debug bit write shifts `value` in unreduced: 3 at bit 1 flips bit 2 as well.
struct RmwCase {
    uint8_t before;
    uint32_t bit;
    uint8_t value;
    uint8_t after;
};

TEST_F(SpiPath, DebugWriteIsReadModifyWriteWithTheUnreducedValue)
{
    const RmwCase cases[] = {
        {0xA5, 1, 1, 0xA7}, {0xA5, 0, 0, 0xA4}, {0xA5, 1, 3, 0xA3}, {0x00, 6, 3, 0xC0}, {0xFF, 7, 2, 0x7F},
    };
    for (const RmwCase &c : cases) {
        SCOPED_TRACE(testing::Message() << "before " << int(c.before) << " bit " << c.bit << " value " << int(c.value));
        sim().set_reg(0x30, c.before);
        ::testing::internal::CaptureStdout();
        EXPECT_EQ(BSP_DegWriteCpldBit(0x30, c.bit, c.value), 0u);
        EXPECT_EQ(::testing::internal::GetCapturedStdout(),
                  "Note: This method is only used for writting cpldbit in debug.\r");
        EXPECT_EQ(sim().reg(0x30), c.after);
    }
}

// ------------------------------------------------------------------- debounced read

struct TdmCase {
    const char *name;
    uint32_t addr;
    std::vector<uint32_t> samples;
    int fail_after;  // reads that pass before one fails; -1: none fails
    uint32_t status;
    uint8_t value;   // *out when the read succeeds
    size_t reads;
    uint64_t delayed_ms;
};

std::vector<uint32_t> counting(uint32_t n, std::vector<uint32_t> tail = {})
{
    std::vector<uint32_t> v;
    for (uint32_t i = 0; i < n; ++i) v.push_back(i);
    v.insert(v.end(), tail.begin(), tail.end());
    return v;
}

const TdmCase kTdmCases[] = {
    {"AgreeAtOnce", 0x29, {7, 7, 7}, -1, 0, 7, 3, 9},
    {"OneTwoTwoTwo", 0x1D5, {1, 2, 2, 2}, -1, 0, 2, 4, 12},
    {"Register33", 0x33, {4, 4, 5, 5, 5}, -1, 0, 5, 5, 15},
    {"NeverRepeats", 0x33, counting(60), -1, kErr, 0, 53, 159},
    // Three equal samples completed by the 49th extra read are still compared...
    {"AgreeAtTheLastLook", 0x1D9, counting(49, {99, 99, 99}), -1, 0, 99, 52, 156},
    // ...but those completed by the 50th are not: it gives up.
    {"AgreeOneReadTooLate", 0x1D2, counting(50, {99, 99, 99}), -1, kErr, 0, 53, 159},
    {"FirstReadFails", 0x29, {1, 1, 1}, 0, kErr, 0, 1, 0},
    {"ThirdReadFails", 0x29, {1, 1, 1}, 2, kErr, 0, 3, 6},
    {"ExtraReadFails", 0x1D5, counting(10), 4, kErr, 0, 5, 12},
    {"BelowTheNoisyBlock", 0x1D1, {1, 2}, -1, 0, 1, 1, 0},
    {"AboveTheNoisyBlock", 0x1DA, {1, 2}, -1, 0, 1, 1, 0},
    {"PlainRegister", 0x28, {1, 2}, -1, 0, 1, 1, 0},
};

class DebouncedRead : public CpldTestWithParam<TdmCase> {};

TEST_P(DebouncedRead, ThreeSamplesMustAgree)
{
    const TdmCase &c = GetParam();
    sim().script(Source::Register, c.addr, c.samples);
    if (c.fail_after >= 0) sim().fail(Op::LocalBusRead, 1, -1, c.addr, static_cast<uint32_t>(c.fail_after));
    uint8_t out = 0xEE;
    EXPECT_EQ(BSP_ReadCpldByteForTdm(c.addr, 1, &out), c.status);
    if (c.status == 0) {
        EXPECT_EQ(out, c.value);
    }
    EXPECT_EQ(count(Op::LocalBusRead), c.reads);
    EXPECT_EQ(sim().now_ms(), c.delayed_ms);
    for (const auto &d : events(Op::Delay)) EXPECT_EQ(d.a, 3u);
}

BSP_CASES(Samples, DebouncedRead, kTdmCases);

using DebouncedLength = CpldTest;

// Only the first byte is debounced; the whole length is read each time.
TEST_F(DebouncedLength, ReadsTheWholeLengthEachTime)
{
    sim().script(Source::Register, 0x29, {3, 3, 3});
    sim().set_reg(0x2A, 0x44);
    uint8_t out[2] = {};
    EXPECT_EQ(BSP_ReadCpldByteForTdm(0x29, 2, out), 0u);
    EXPECT_EQ(out[0], 3);
    EXPECT_EQ(out[1], 0x44);
    for (const auto &e : events(Op::LocalBusRead)) EXPECT_EQ(e.len, 2u);
}

// ------------------------------------------------------------------------ interrupts

// Which of the two writes fails, and what the caller is told.
struct TwoWriteCase {
    const char *name;
    uint32_t skip;  // writes that pass before the failing one; 2: none fails
    uint32_t status;
    std::string rc0, rc1;  // " rc=-1" on the write that fails
};

const TwoWriteCase kTwoWriteCases[] = {
    {"BothPass", 2, 0, "", ""},
    {"FirstFailsIsIgnored", 0, 0, " rc=-1", ""},
    {"SecondFailsIsReported", 1, kErr, "", " rc=-1"},
};

class Interrupts : public CpldTestWithParam<TwoWriteCase> {};

TEST_P(Interrupts, ClearWritesOneWaitsAndWritesZero)
{
    const TwoWriteCase &c = GetParam();
    if (c.skip < 2) sim().fail(Op::LocalBusWrite, 1, -1, kAny, c.skip);
    EXPECT_EQ(BSP_CpldIntClear(0x40, 2), c.status);
    EXPECT_EQ(trace(sim()), (Strings{"lb_write 0x040 mask=0x04 =0x01" + c.rc0, "delay 5",
                                     "lb_write 0x040 mask=0x04 =0x00" + c.rc1}));
}

TEST_P(Interrupts, MaskWritesBothRegisters)
{
    const TwoWriteCase &c = GetParam();
    if (c.skip < 2) sim().fail(Op::LocalBusWrite, 1, -1, kAny, c.skip);
    EXPECT_EQ(BSP_CpldIntMask(), c.status);
    EXPECT_EQ(trace(sim()), (Strings{"lb_write 0x0c0 mask=0x00 =0xff" + c.rc0, "lb_write 0x0c1 mask=0x00 =0xff" + c.rc1}));
    EXPECT_EQ(sim().reg(0xC1), c.skip == 1 ? 0x00 : 0xFF);
}

BSP_CASES(Writes, Interrupts, kTwoWriteCases);

using InterruptRead = CpldTest;

TEST_F(InterruptRead, AnswersTheBitOrZeroWhenUnreadable)
{
    sim().set_reg(0x40, 0x04);
    EXPECT_EQ(BSP_CpldIntRead(0x40, 2), 1);
    EXPECT_EQ(BSP_CpldIntRead(0x40, 3), 0);
    sim().fail(Op::LocalBusRead);
    EXPECT_EQ(BSP_CpldIntRead(0x40, 2), 0) << "a failed read answers 0 although the bit is set";
    EXPECT_EQ(BSP_CpldIntRead(0x40, 8), 0);
    EXPECT_EQ(debug_texts(), (Strings{"0:read cpld error.", "0:Input bit_num error."}));
}

// ------------------------------------------------------------- serial-data validity

using SerialValidity = CpldTest;

// Channels 0-3 are the low bits of 0x1AC; 4 and up are refused without traffic; a failed read
// is logged with its status and answers 0.
TEST_F(SerialValidity, ChannelsAreLowBitsOf1ACOthersRefusedFailuresAnswerZero)
{
    sim().set_reg(0x1AC, 0xF5);  // channels 0 and 2 valid; the high nibble is not theirs
    const uint8_t expected[4] = {1, 0, 1, 0};
    for (uint8_t ch = 0; ch < 4; ++ch) {
        sim().clear_events();
        EXPECT_EQ(BSP_CpldSerialDataValidityCheck(ch), expected[ch]) << "channel " << int(ch);
        char want[64];
        std::snprintf(want, sizeof want, "lb_read 0x1ac mask=0x%02x len=1 =0x%02x", 1u << ch, expected[ch]);
        EXPECT_EQ(trace(sim()), Strings{want});
    }
    EXPECT_TRUE(debug_logs().empty());
    sim().clear_events();
    EXPECT_EQ(BSP_CpldSerialDataValidityCheck(4), 0);
    EXPECT_EQ(BSP_CpldSerialDataValidityCheck(255), 0);
    EXPECT_EQ(cpldtest::bus_traffic(sim()), 0u);
    sim().set_reg(0x1AC, 0xFF);
    sim().fail(Op::LocalBusRead);
    EXPECT_EQ(BSP_CpldSerialDataValidityCheck(3), 0);
    EXPECT_EQ(debug_texts(), (Strings{"0:Input para put of range(4)", "0:Input para put of range(255)",
                                      "0:read cpld error.", "0:Read cpld addr(0x1ac) bit(3) failed(-1)"}));
}

// ---------------------------------------------------------------------- equip mode

struct EquipCase {
    const char *name;
    const char *profile;
    Strings get_trace;
    Strings set_trace;
};

const EquipCase kEquipCases[] = {
    {"LocalBus", "default", {"lb_read 0x056 mask=0x01 len=1 =0x01"}, {"lb_write 0x056 mask=0x01 =0x00"}},
    {"Spi", "4u4c", {"spi_read 0x056 =0x81"}, {"chip_write cpld1 0x056 mask=0x01 =0x00"}},
    // The SMM keeps its factory mode in the fan-board MCU: the CPLD is not touched.
    {"SmmUsesTheMcu", "smm", {}, {}},
};

class EquipMode : public CpldTestWithParam<EquipCase> {
protected:
    std::string profile() const override { return GetParam().profile; }
};

TEST_P(EquipMode, FactoryModeIsBitZeroOf56ExceptOnSmm)
{
    const EquipCase &c = GetParam();
    const bool smm = c.get_trace.empty();
    sim().set_reg(0x56, 0x81);
    uint8_t mode = 0xEE;
    EXPECT_EQ(BSP_GetEquipMode(&mode), 0u);
    EXPECT_EQ(trace(sim()), c.get_trace);
    if (!smm) {
        EXPECT_EQ(mode, 1);
    }
    sim().clear_events();
    uint32_t status = BSP_SetEquipMode(0);
    EXPECT_EQ(trace(sim()), c.set_trace);
    if (!smm) {
        EXPECT_EQ(status, 0u);
    }
    EXPECT_EQ(sim().reg(0x56), smm ? 0x81 : 0x80);
}

BSP_CASES(Boards, EquipMode, kEquipCases);

}  // namespace
