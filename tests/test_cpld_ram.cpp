// CPLD RAM: the address/data window under semaphore 29, taken and given once on every path;
// ranges, bits, clearing, and what each failure leaves behind.
#include <cstdint>
#include <cstdio>
#include <functional>
#include <ostream>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "bmc_bsp.h"
#include "cpld_test_util.h"
#include "platform/sem.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bsptest::kErr;
using cpldtest::trace;
using Strings = std::vector<std::string>;

using cpldtest::PrintTo;  // case tables print as their names

constexpr uint32_t kSem = 29;
constexpr uint16_t kAddr = 0xD931;  // window: 0x31 to 0xBA, 0x19 to 0xBB
constexpr uint8_t kBefore = 0x08;    // the byte at kAddr before each operation
constexpr uint8_t kUnset = 0xEE;     // the caller's byte before a read

class RamTest : public cpldtest::BoardIdRead<bsptest::SimTest> {
protected:
    // "level:text" of the debug log, with a "(line:N)" that names the logging line itself
    // written "(line:SAME)".
    Strings logs() const
    {
        Strings out;
        for (const auto &l : debug_logs()) {
            std::string text = l.text;
            std::string line = "(line:" + std::to_string(l.line) + ")";
            if (auto at = text.find(line); at != std::string::npos) text.replace(at, line.size(), "(line:SAME)");
            out.push_back(std::to_string(l.level) + ":" + text);
        }
        return out;
    }
    size_t takes() const { return count_sem(Op::SemP); }
    size_t gives() const { return count_sem(Op::SemV); }

private:
    size_t count_sem(Op op) const
    {
        size_t n = 0;
        for (const auto &e : events(op)) n += e.a == kSem ? 1 : 0;
        return n;
    }
};

template <typename T>
class RamTestWithParam : public RamTest, public ::testing::WithParamInterface<T> {};

// ----------------------------------------------------- one sequence per operation

// Every operation on the byte at kAddr, with what it does on the bus and says when its data
// transfer fails.
struct RamOp {
    const char *name;
    bool reads;
    bool bit;  // bit operations wait 5 ms after each address write
    std::function<std::optional<uint32_t>(uint8_t *out)> call;  // nullopt: no result
    const char *take_log;
    Strings data_trace;  // local bus, SPI
    std::string data_failed;  // the transfer as recorded when it fails on the local bus
    std::string hub_log;      // the hub's own line then
    std::string op_log;       // the operation's line then ("" when none)
    uint8_t ram_after;        // the byte after success
    uint8_t out_after;        // *out after success
};

const std::vector<RamOp> &ram_ops()
{
    static const std::vector<RamOp> ops = {
        {"SetCpldRam", false, false,
         [](uint8_t *) -> std::optional<uint32_t> {
             BSP_SetCpldRam(kAddr, 0x7E);
             return std::nullopt;
         },
         "get BMC_MUTEX_IPC_CPLD_RAM fail.", {"lb_write 0x0bc mask=0x00 =0x7e", "spi_write 0x0bc =0x7e"},
         "lb_write 0x0bc mask=0x00 =0x7e rc=-1", "write add :bc  data: 7e cpld error.",
         "BSP_SetCpldRam: error at (line:SAME)", 0x7E, kUnset},
        {"GetCpldRam", true, false,
         [](uint8_t *out) -> std::optional<uint32_t> {
             BSP_GetCpldRam(kAddr, out);
             return std::nullopt;
         },
         "get BMC_MUTEX_IPC_CPLD_RAM fail.", {"lb_read 0x0bc mask=0x00 len=1 =0x08", "spi_read 0x0bc =0x08"},
         "lb_read 0x0bc mask=0x00 len=1 =0x00 rc=-1", "read cpld byte error.", "BSP_GetCpldRam: error at (line:SAME)",
         kBefore, kBefore},
        {"SetCpldRamBytes", false, false,
         [](uint8_t *) -> std::optional<uint32_t> {
             const uint8_t data[1] = {0x7E};
             return BSP_SetCpldRamBytes(kAddr, data, 1);
         },
         "get BMC_MUTEX_IPC_CPLD_RAM fail.", {"lb_write 0x0bc mask=0x00 =0x7e", "spi_write 0x0bc =0x7e"},
         "lb_write 0x0bc mask=0x00 =0x7e rc=-1", "write add :bc  data: 7e cpld error.", "Set cpldram 0xd931 failed",
         0x7E, kUnset},
        {"GetCpldRamBytes", true, false, [](uint8_t *out) -> std::optional<uint32_t> { return BSP_GetCpldRamBytes(kAddr, out, 1); },
         "get BMC_MUTEX_IPC_CPLD_RAM fail.", {"lb_read 0x0bc mask=0x00 len=1 =0x08", "spi_read 0x0bc =0x08"},
         "lb_read 0x0bc mask=0x00 len=1 =0x00 rc=-1", "read cpld byte error.", "Get cpldram 0xd931 failed", kBefore,
         kBefore},
        {"SetCpldRamBit", false, true, [](uint8_t *) -> std::optional<uint32_t> { return BSP_SetCpldRamBit(kAddr, 0, 1); },
         "Get BMC_MUTEX_IPC_CPLD_RAM fail.",
         {"lb_write 0x0bc mask=0x01 =0x01", "chip_write cpld1 0x0bc mask=0x01 =0x01"},
         "lb_write 0x0bc mask=0x01 =0x01 rc=-1", "write add :bc  data: 1 cpld error.",
         "Write Cpld ram addr(0xd931) bit(0) value(1) failed", 0x09, kUnset},
        {"GetCpldRamBit", true, true, [](uint8_t *out) -> std::optional<uint32_t> { return BSP_GetCpldRamBit(kAddr, 3, out); },
         "get BMC_MUTEX_IPC_CPLD_RAM fail.", {"lb_read 0x0bc mask=0x08 len=1 =0x01", "spi_read 0x0bc =0x08"},
         "lb_read 0x0bc mask=0x08 len=1 =0x00 rc=-1", "read cpld error.", "Read Cpld ram addr(0xd931) bit(3) failed",
         kBefore, 1},
    };
    return ops;
}

std::vector<size_t> op_indices()
{
    std::vector<size_t> v;
    for (size_t i = 0; i < ram_ops().size(); ++i) v.push_back(i);
    return v;
}

std::string op_name(size_t i) { return ram_ops()[i].name; }

// Where a sequence breaks off.
enum class Step { None, Take, AddrLo, AddrHi, Data };
const char *const kStepNames[] = {"Succeeds", "TakeFails", "AddrLowFails", "AddrHighFails", "DataFails"};

void PrintTo(Step step, std::ostream *os) { *os << kStepNames[static_cast<int>(step)]; }

class RamSequence : public RamTestWithParam<std::tuple<size_t, Step>> {};

TEST_P(RamSequence, SemaphoreTakenAndGivenOnceAndNothingAfterAFailure)
{
    const RamOp &op = ram_ops()[std::get<0>(GetParam())];
    const Step step = std::get<1>(GetParam());
    sim().set_ram(kAddr, kBefore);
    switch (step) {
    case Step::None: break;
    case Step::Take: sim().fail(Op::SemP, 1, -1, kSem); break;
    case Step::AddrLo: sim().fail(Op::LocalBusWrite, 1, -1, 0xBA); break;
    case Step::AddrHi: sim().fail(Op::LocalBusWrite, 1, -1, 0xBB); break;
    case Step::Data: sim().fail(op.reads ? Op::LocalBusRead : Op::LocalBusWrite, 1, -1, 0xBC); break;
    }

    uint8_t out = kUnset;
    std::optional<uint32_t> status = op.call(&out);

    // The whole sequence, stopping at the failed step.
    Strings expected;
    if (step == Step::Take) {
        expected = {"sem_p 29 rc=-1"};
    } else {
        const std::string settle = op.bit ? "delay 5" : "";
        expected.push_back("sem_p 29");
        expected.push_back(std::string("lb_write 0x0ba mask=0x00 =0x31") + (step == Step::AddrLo ? " rc=-1" : ""));
        if (step != Step::AddrLo) {
            if (op.bit) expected.push_back(settle);
            expected.push_back(std::string("lb_write 0x0bb mask=0x00 =0x19") + (step == Step::AddrHi ? " rc=-1" : ""));
        }
        if (step == Step::None || step == Step::Data) {
            if (op.bit) expected.push_back(settle);
            expected.push_back(step == Step::Data ? op.data_failed : op.data_trace[0]);
        }
        expected.push_back("sem_v 29");
    }
    EXPECT_EQ(trace(sim()), expected);

    Strings want_logs;
    switch (step) {
    case Step::None: break;
    case Step::Take: want_logs = {std::string("0:") + op.take_log}; break;
    case Step::AddrLo: want_logs = {"0:write add :ba  data: 31 cpld error."}; break;
    case Step::AddrHi: want_logs = {"0:write add :bb  data: 19 cpld error."}; break;
    case Step::Data: want_logs = {"0:" + op.hub_log, "0:" + op.op_log}; break;
    }
    EXPECT_EQ(logs(), want_logs);

    const bool ok = step == Step::None;
    if (status) {
        EXPECT_EQ(*status, ok ? 0u : kErr);
    }
    EXPECT_EQ(sim().ram(kAddr), ok ? op.ram_after : kBefore);
    EXPECT_EQ(out, ok ? op.out_after : kUnset) << "a read hands its byte over on success only";
    EXPECT_EQ(takes(), 1u);
    EXPECT_EQ(gives(), step == Step::Take ? 0u : 1u);
    EXPECT_EQ(sim().sem_value(kSem), 1) << "the semaphore is free again";
}

INSTANTIATE_TEST_SUITE_P(Ops, RamSequence,
                         ::testing::Combine(::testing::ValuesIn(op_indices()),
                                            ::testing::Values(Step::None, Step::Take, Step::AddrLo, Step::AddrHi,
                                                              Step::Data)),
                         [](const auto &info) {
                             return op_name(std::get<0>(info.param)) +
                                    kStepNames[static_cast<int>(std::get<1>(info.param))];
                         });

// A failing give leaves the operation's own result standing, and is logged with its own text.
class RamGiveFails : public RamTestWithParam<size_t> {};

TEST_P(RamGiveFails, StatusAndDataStandAndTheGiveIsLogged)
{
    const RamOp &op = ram_ops()[GetParam()];
    sim().set_ram(kAddr, kBefore);
    sim().fail(Op::SemV, 1, -1, kSem);
    uint8_t out = kUnset;
    std::optional<uint32_t> status = op.call(&out);
    if (status) {
        EXPECT_EQ(*status, 0u);
    }
    EXPECT_EQ(sim().ram(kAddr), op.ram_after);
    EXPECT_EQ(out, op.out_after);
    EXPECT_EQ(logs(), Strings{"0: BMC_MUTEX_IPC_CPLD_RAM v fail."});
    EXPECT_EQ(takes(), 1u);
    EXPECT_EQ(gives(), 1u) << "given back once, not retried";
}

INSTANTIATE_TEST_SUITE_P(Ops, RamGiveFails, ::testing::ValuesIn(op_indices()),
                         [](const auto &info) { return op_name(info.param); });

// On the SPI board the same sequence goes over SPI; a bit write goes through the framework's
// masked chip write, a bit read reads the whole byte.
class RamOverSpi : public RamTestWithParam<size_t> {
protected:
    std::string profile() const override { return "4u4c"; }
};

TEST_P(RamOverSpi, SameSequenceOnTheOtherBus)
{
    const RamOp &op = ram_ops()[GetParam()];
    sim().set_ram(kAddr, kBefore);
    uint8_t out = kUnset;
    std::optional<uint32_t> status = op.call(&out);
    if (status) {
        EXPECT_EQ(*status, 0u);
    }
    Strings expected = {"sem_p 29", "spi_write 0x0ba =0x31"};
    if (op.bit) expected.push_back("delay 5");
    expected.push_back("spi_write 0x0bb =0x19");
    if (op.bit) expected.push_back("delay 5");
    expected.push_back(op.data_trace[1]);
    expected.push_back("sem_v 29");
    EXPECT_EQ(trace(sim()), expected);
    EXPECT_EQ(sim().ram(kAddr), op.ram_after);
    EXPECT_EQ(out, op.out_after);
    EXPECT_TRUE(debug_logs().empty());
}

INSTANTIATE_TEST_SUITE_P(Ops, RamOverSpi, ::testing::ValuesIn(op_indices()),
                         [](const auto &info) { return op_name(info.param); });

class RamSpi : public RamTest {
protected:
    std::string profile() const override { return "4u4c"; }
};

// A data write that fails once is retried by the SPI path, still under the one take.
TEST_F(RamSpi, RetriesHappenInsideTheOneHold)
{
    sim().fail(Op::SpiWrite, 1, -2, 0xBC);
    const uint8_t data[2] = {0xA1, 0xA2};
    EXPECT_EQ(BSP_SetCpldRamBytes(0xD000, data, 2), 0u);
    EXPECT_EQ(trace(sim()), (Strings{"sem_p 29", "spi_write 0x0ba =0x00", "spi_write 0x0bb =0x10",
                                     "spi_write 0x0bc =0xa1 rc=-2", "delay 10", "spi_write 0x0bc =0xa1",
                                     "spi_write 0x0ba =0x01", "spi_write 0x0bb =0x10", "spi_write 0x0bc =0xa2",
                                     "sem_v 29"}));
    EXPECT_EQ(sim().ram(0xD000), 0xA1);
    EXPECT_EQ(sim().ram(0xD001), 0xA2);
}

// --------------------------------------------------------------------------- ranges

TEST_F(RamTest, RangeSelectsEveryByteAcrossAPageBoundary)
{
    const uint8_t data[4] = {0x01, 0x02, 0x03, 0x04};
    EXPECT_EQ(BSP_SetCpldRamBytes(0xD8FE, data, 4), 0u);
    Strings expected = {"sem_p 29"};
    const uint32_t lo[4] = {0xFE, 0xFF, 0x00, 0x01};
    const uint32_t hi[4] = {0x18, 0x18, 0x19, 0x19};
    for (int i = 0; i < 4; ++i) {
        char buf[3][48];
        std::snprintf(buf[0], sizeof buf[0], "lb_write 0x0ba mask=0x00 =0x%02x", lo[i]);
        std::snprintf(buf[1], sizeof buf[1], "lb_write 0x0bb mask=0x00 =0x%02x", hi[i]);
        std::snprintf(buf[2], sizeof buf[2], "lb_write 0x0bc mask=0x00 =0x%02x", data[i]);
        expected.insert(expected.end(), {buf[0], buf[1], buf[2]});
    }
    expected.push_back("sem_v 29");
    EXPECT_EQ(trace(sim()), expected);

    uint8_t back[4] = {};
    EXPECT_EQ(BSP_GetCpldRamBytes(0xD8FE, back, 4), 0u);
    EXPECT_EQ(std::vector<uint8_t>(back, back + 4), std::vector<uint8_t>(data, data + 4));
    EXPECT_EQ(takes(), 2u);
    EXPECT_EQ(gives(), 2u);
}

// Only the low 13 bits of an address reach the CPLD.
TEST_F(RamTest, HighAddressBitsAreDropped)
{
    const uint8_t data[1] = {0x5C};
    EXPECT_EQ(BSP_SetCpldRamBytes(0x0100, data, 1), 0u) << "ranges do not check where they start";
    EXPECT_EQ(sim().ram(0x0100), 0x5C);
    BSP_SetCpldRam(0xFFFF, 0x3D);
    EXPECT_EQ(sim().ram(0x1FFF), 0x3D);
    auto writes = events(Op::LocalBusWrite);
    ASSERT_EQ(writes.size(), 6u);
    EXPECT_EQ(writes[4].a, 0xBBu);
    EXPECT_EQ(writes[4].value, 0x1Fu);
}

struct Limit {
    const char *name;
    uint16_t addr;
    uint32_t len;
    bool accepted;
};

const Limit kLimits[] = {
    {"EndsAtTheEnd", 0xDBC0, 0x40, true},
    {"OneByteTooMany", 0xDBC0, 0x41, false},
    {"LastByte", 0xDBFF, 1, true},
    {"FirstByteBeyond", 0xDC00, 1, false},
    {"EmptyAtTheEnd", 0xDC00, 0, true},
    {"EmptyInside", 0xD900, 0, true},
    {"TopAddressNoWrap", 0xFFFF, 1, false},
    {"LengthNoWrap", 0xC700, 0xFFFFFFFF, false},
    {"LengthNoWrapFromTop", 0x2400, 0xFFFFDC01, false},
    {"BelowTheRecords", 0x0100, 2, true},
};

class RamRangeLimits : public RamTestWithParam<std::tuple<Limit, bool>> {};

TEST_P(RamRangeLimits, RefusedRangesTouchNothing)
{
    const auto &[limit, write] = GetParam();
    std::vector<uint8_t> buf(limit.accepted ? limit.len + 1 : 1, 0x33);
    uint32_t status = write ? BSP_SetCpldRamBytes(limit.addr, buf.data(), limit.len)
                            : BSP_GetCpldRamBytes(limit.addr, buf.data(), limit.len);
    EXPECT_EQ(status, limit.accepted ? 0u : kErr);
    EXPECT_EQ(cpldtest::bus_traffic(sim()), limit.accepted ? 3 * limit.len : 0u);
    EXPECT_EQ(takes(), limit.accepted ? 1u : 0u);
    EXPECT_EQ(gives(), limit.accepted ? 1u : 0u);
    EXPECT_TRUE(debug_logs().empty());
    EXPECT_EQ(sim().sem_value(kSem), 1);
}

INSTANTIATE_TEST_SUITE_P(Ranges, RamRangeLimits,
                         ::testing::Combine(::testing::ValuesIn(kLimits), ::testing::Bool()),
                         [](const auto &info) {
                             return std::string(std::get<0>(info.param).name) +
                                    (std::get<1>(info.param) ? "Set" : "Get");
                         });

TEST_F(RamTest, NullRangeBufferIsRefusedUntouched)
{
    EXPECT_EQ(BSP_SetCpldRamBytes(0xD900, nullptr, 4), kErr);
    EXPECT_EQ(BSP_GetCpldRamBytes(0xD900, nullptr, 4), kErr);
    EXPECT_TRUE(trace(sim()).empty());
}

TEST_F(RamTest, RangeWriteStopsAtTheFailedByte)
{
    for (uint32_t a = 0xD8FE; a < 0xD902; ++a) sim().set_ram(a, 0x77);
    sim().fail(Op::LocalBusWrite, 1, -1, 0xBC, 2);
    const uint8_t data[4] = {0x01, 0x02, 0x03, 0x04};
    EXPECT_EQ(BSP_SetCpldRamBytes(0xD8FE, data, 4), kErr);
    EXPECT_EQ(logs(), (Strings{"0:write add :bc  data: 3 cpld error.", "0:Set cpldram 0xd900 failed"}));
    const uint8_t want[4] = {0x01, 0x02, 0x77, 0x77};
    for (uint32_t i = 0; i < 4; ++i) EXPECT_EQ(sim().ram(0xD8FE + i), want[i]) << "byte " << i;
    Strings t = trace(sim());
    EXPECT_EQ(t.size(), 1 + 3 * 3 + 1u) << "nothing after the failed byte";
    EXPECT_EQ(t.back(), "sem_v 29");
}

TEST_F(RamTest, RangeReadKeepsWhatItReadBeforeTheFailure)
{
    sim().set_ram(0xD8FE, 0x41);
    sim().set_ram(0xD8FF, 0x42);
    sim().fail(Op::LocalBusRead, 1, -1, 0xBC, 1);
    uint8_t out[3] = {kUnset, kUnset, kUnset};
    EXPECT_EQ(BSP_GetCpldRamBytes(0xD8FE, out, 3), kErr);
    EXPECT_EQ(logs(), (Strings{"0:read cpld byte error.", "0:Get cpldram 0xd8ff failed"}));
    EXPECT_EQ(out[0], 0x41);
    EXPECT_EQ(out[2], kUnset);
    EXPECT_EQ(count(Op::LocalBusRead), 2u);
}

// A failed address write ends the range too; only the hub logs it.
TEST_F(RamTest, RangeAddressFailureIsLoggedByTheHubOnly)
{
    sim().fail(Op::LocalBusWrite, 1, -1, 0xBB, 1);
    const uint8_t data[3] = {1, 2, 3};
    EXPECT_EQ(BSP_SetCpldRamBytes(0xD900, data, 3), kErr);
    EXPECT_EQ(logs(), Strings{"0:write add :bb  data: 19 cpld error."});
    EXPECT_EQ(count(Op::LocalBusWrite), 5u);
    EXPECT_EQ(gives(), 1u);
}

// ----------------------------------------------------------------------------- bits

struct BitArg {
    const char *name;
    std::function<uint32_t()> call;
    bool logged;
};

uint8_t g_bit;

const BitArg kBitArgs[] = {
    {"GetNullOut", [] { return BSP_GetCpldRamBit(kAddr, 0, nullptr); }, false},
    {"GetBit8", [] { return BSP_GetCpldRamBit(kAddr, 8, &g_bit); }, true},
    {"SetBit8", [] { return BSP_SetCpldRamBit(kAddr, 8, 1); }, true},
    {"SetValue2", [] { return BSP_SetCpldRamBit(kAddr, 3, 2); }, true},
    {"SetValue255", [] { return BSP_SetCpldRamBit(kAddr, 0, 255); }, true},
};

class RamBitArgs : public RamTestWithParam<BitArg> {};

TEST_P(RamBitArgs, RefusedWithoutTakingTheSemaphore)
{
    EXPECT_EQ(GetParam().call(), kErr);
    EXPECT_EQ(logs(), GetParam().logged ? Strings{"0:Input para out of range."} : Strings{});
    EXPECT_TRUE(trace(sim()).empty());
}

BSP_CASES(Bits, RamBitArgs, kBitArgs);

TEST_F(RamTest, EveryBitOfAByteRoundTrips)
{
    sim().set_ram(0xC700, 0x00);
    for (uint8_t bit = 0; bit < 8; bit += 2) ASSERT_EQ(BSP_SetCpldRamBit(0xC700, bit, 1), 0u);
    EXPECT_EQ(sim().ram(0xC700), 0x55);
    ASSERT_EQ(BSP_SetCpldRamBit(0xC700, 4, 0), 0u);
    for (uint8_t bit = 0; bit < 8; ++bit) {
        uint8_t v = kUnset;
        ASSERT_EQ(BSP_GetCpldRamBit(0xC700, bit, &v), 0u);
        EXPECT_EQ(v, (0x45 >> bit) & 1) << "bit " << int(bit);
    }
    EXPECT_EQ(takes(), 13u);
    EXPECT_EQ(gives(), 13u);
    EXPECT_EQ(sim().now_ms(), 13 * 10u) << "two 5 ms waits per bit operation";
}

// ---------------------------------------------------------------------------- clear

TEST_F(RamTest, ClearTakesTheSemaphorePerByteAndLogsTheRange)
{
    for (uint32_t a = 0xC700; a < 0xC704; ++a) sim().set_ram(a, 0x99);
    EXPECT_EQ(BSP_ClearCpldRamData(0xC700, 3), 0u);
    for (uint32_t a = 0xC700; a < 0xC703; ++a) EXPECT_EQ(sim().ram(a), 0) << std::hex << a;
    EXPECT_EQ(sim().ram(0xC703), 0x99);
    Strings one = {"sem_p 29", "lb_write 0x0ba mask=0x00 =0x00", "lb_write 0x0bb mask=0x00 =0x07",
                   "lb_write 0x0bc mask=0x00 =0x00", "sem_v 29"};
    Strings t = trace(sim());
    ASSERT_EQ(t.size(), 15u);
    EXPECT_EQ(Strings(t.begin(), t.begin() + 5), one);
    EXPECT_EQ(t[6], "lb_write 0x0ba mask=0x00 =0x01");
    EXPECT_EQ(t[11], "lb_write 0x0ba mask=0x00 =0x02");
    EXPECT_EQ(logs(), Strings{"1:Clear cpld ram data from 0xc700 to 0xc702."});
}

TEST_F(RamTest, ClearRunningPastTheEndClearsUpToItAndFails)
{
    for (uint32_t a = 0xDBFE; a < 0xDC02; ++a) sim().set_ram(a, 0x5A);
    EXPECT_EQ(BSP_ClearCpldRamData(0xDBFE, 4), kErr);
    EXPECT_EQ(sim().ram(0xDBFE), 0);
    EXPECT_EQ(sim().ram(0xDBFF), 0);
    EXPECT_EQ(sim().ram(0xDC00), 0x5A);
    EXPECT_EQ(sim().ram(0xDC01), 0x5A);
    EXPECT_EQ(takes(), 2u);
    EXPECT_EQ(gives(), 2u);
    EXPECT_TRUE(logs().empty());
}

struct ClearCase {
    const char *name;
    uint16_t addr;
    uint32_t len;
    uint32_t status;
    Strings logs;
    size_t bytes;  // bytes written
};

const ClearCase kClearCases[] = {
    // An empty clear is reported with an end below its start, wherever it lies.
    {"EmptyReportsEndBelowStart", 0xD900, 0, 0, {"1:Clear cpld ram data from 0xd900 to 0xd8ff."}, 0},
    {"EmptyIsNotRangeChecked", 0x0000, 0, 0, {"1:Clear cpld ram data from 0x0 to 0xffffffff."}, 0},
    {"StartBelowTheRecords", 0xC6FF, 1, kErr, {}, 0},
    {"StartBeyondTheRecords", 0xDC00, 1, kErr, {}, 0},
    {"FirstByte", 0xC700, 1, 0, {"1:Clear cpld ram data from 0xc700 to 0xc700."}, 1},
    {"LastByte", 0xDBFF, 1, 0, {"1:Clear cpld ram data from 0xdbff to 0xdbff."}, 1},
    {"UpToTheEnd", 0xDBFC, 4, 0, {"1:Clear cpld ram data from 0xdbfc to 0xdbff."}, 4},
    {"OnePastTheEnd", 0xDBFC, 5, kErr, {}, 4},
};

class RamClear : public RamTestWithParam<ClearCase> {};

TEST_P(RamClear, BoundsAndReport)
{
    const ClearCase &c = GetParam();
    EXPECT_EQ(BSP_ClearCpldRamData(c.addr, c.len), c.status);
    EXPECT_EQ(logs(), c.logs);
    EXPECT_EQ(count(Op::LocalBusWrite), 3 * c.bytes);
    EXPECT_EQ(takes(), c.bytes);
    EXPECT_EQ(gives(), c.bytes);
}

BSP_CASES(Clear, RamClear, kClearCases);

// The clear sees nothing of its single bytes' failures: they are logged and it goes on.
TEST_F(RamTest, ClearIgnoresFailedBytes)
{
    for (uint32_t a = 0xD900; a < 0xD903; ++a) sim().set_ram(a, 0x99);
    sim().fail(Op::LocalBusWrite, 1, -1, 0xBC);
    sim().fail(Op::SemP, 1, -1, kSem, 1);
    EXPECT_EQ(BSP_ClearCpldRamData(0xD900, 3), 0u);
    EXPECT_EQ(logs(), (Strings{"0:write add :bc  data: 0 cpld error.", "0:BSP_SetCpldRam: error at (line:SAME)",
                               "0:get BMC_MUTEX_IPC_CPLD_RAM fail.", "1:Clear cpld ram data from 0xd900 to 0xd902."}));
    EXPECT_EQ(sim().ram(0xD900), 0x99);
    EXPECT_EQ(sim().ram(0xD901), 0x99);
    EXPECT_EQ(sim().ram(0xD902), 0);
    EXPECT_EQ(takes(), 3u);
    EXPECT_EQ(gives(), 2u);
    EXPECT_EQ(sim().sem_value(kSem), 1);
}

// ------------------------------------------------------------------------- the give

TEST_F(RamTest, MutexVGivesBackWhatWasTaken)
{
    ASSERT_EQ(BMC_ProcessMutexSem_P(kSem, BMC_SEM_WAIT_FOREVER), 0);
    EXPECT_EQ(sim().sem_value(kSem), 0);
    BSP_MutexV();
    EXPECT_EQ(sim().sem_value(kSem), 1);
    EXPECT_TRUE(logs().empty());
    // A give with nothing taken is refused by the semaphore and logged.
    BSP_MutexV();
    EXPECT_EQ(sim().sem_value(kSem), 1);
    EXPECT_EQ(logs(), Strings{"0: BMC_MUTEX_IPC_CPLD_RAM v fail."});
}

}  // namespace
