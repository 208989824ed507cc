// The CPLD family: register access over the local bus and SPI with the hubs that choose between
// them, the thin users of the hubs, the RAM behind its address/data window, the upgrade state
// the framework keeps, and the inventory: count, self tests, health, vendors, device ids.
#include <array>
#include <cstring>
#include <list>

#include "bmc_bsp.h"
#include "platform/sem.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bspsim::Source;
using bsptest::CallCase;
using bsptest::calls;
using bsptest::hx;
using bsptest::kErr;
using bsptest::res;
using bsptest::times;
using B = bspsim::Board;

uint8_t *const g = bsptest::g_out;
constexpr uint32_t kAny = bspsim::kAnyKey;

using CpldCall = bsptest::CallTest;
TEST_P(CpldCall, ShowsWhatItDid) { run(); }

// Points the CPLD's "LBus" at `bus`, made when the profile lacks it.
std::function<void(B &)> lbus(const char *bus)
{
    return [bus](B &b) { if (b.handle_of(bus) == 0) b.add_object(bus, "Bus"); b.set_reference("cpld1", "LBus", bus); };
}

// ======================================================================== register access

// Every hub on register 0x13 (0xA5, 0x14 holding 0) in turn; the bus is looked up afresh at
// every call (never cached), except on SMM boards, which never ask.
std::string all_hubs(B &b)
{
    b.set_reg(0x13, 0xA5);
    b.set_reg(0x14, 0x00);
    uint32_t st = BSP_ReadCpldBytes(0x13, 2, g);
    st |= BSP_ReadCpldBit(0x13, 2, g + 2);
    st |= BSP_DegWriteCpldBit(0x13, 6, 1);  // on SPI the whole byte: 0xA5 | 0x40
    st |= BSP_WriteCpldBit(0x13, 3, 1);
    st |= BSP_WriteCpldByte(0x13, 0x5A);
    return res(st, 3) + " refs " + std::to_string(b.events(Op::DflGetRef).size());
}

// The hubs on `profile` with the CPLD's "LBus" pointed at `bus` (nullptr: as the profile has it).
CallCase path(const char *name, const char *profile, const char *bus, bool spi)
{
    return {.name = name, .profile = profile, .setup = bus ? lbus(bus) : nullptr, .call = all_hubs,
            .out = std::string("ok a5 00 01 refs ") + (std::string(profile) == "smm" ? "0" : "5"),
            .trace = spi ? "srd 13=a5 srd 14=00 srd 13=a5 srd 13=a5 swr 13=e5 dfl_chip_bytewrite cpld1@13&08=01 "
                           "swr 13=5a"
                         : "rd 13[2]=a5 rd 13&04=1 wr 13&40=1 wr 13&08=1 wr 13=5a"};
}

// Any lookup failure means the local bus; the line's level tells the two apart.
std::string lookup_twice(B &)
{
    const uint32_t first = BSP_UseSpi2Cpld();
    const uint32_t write = BSP_WriteCpldByte(0x20, 0x11);
    return res(first) + " " + res(write) + " then " + res(BSP_UseSpi2Cpld());
}

// The debug writer on SPI shifts `value` in unreduced (3 at bit 1 sets bit 2 too) and says so
// at every call.
std::string noted_writes(B &b)
{
    const std::string note = "Note: This method is only used for writting cpldbit in debug.\r";
    std::string out;
    ::testing::internal::CaptureStdout();
    for (auto [bit, value] : {std::pair<uint8_t, uint8_t>{1, 1}, {0, 0}, {1, 3}}) {
        b.set_reg(0x30, 0xA5);
        out += res(BSP_DegWriteCpldBit(0x30, bit, value)) + " ";
    }
    return out + (::testing::internal::GetCapturedStdout() == times(3, note, "") ? "noted" : "not noted");
}

// The debounced read's samples, each of the whole length of 2, 3 ms after each.
std::string samples(uint32_t addr, const std::vector<uint32_t> &values)
{
    std::string out;
    for (uint32_t v : values) out += " rd " + hx(addr) + "[2]=" + hx(v) + " delay 3";
    return out.substr(1);
}

std::vector<uint32_t> counting(uint32_t n, std::vector<uint32_t> tail = {})
{
    for (uint32_t i = n; i > 0; --i) tail.insert(tail.begin(), i - 1);
    return tail;
}

std::function<void(B &)> script(uint32_t addr, std::vector<uint32_t> values)
{
    return [=](B &b) { b.script(Source::Register, addr, values); b.set_reg(addr + 1, 0x44); };
}

#define TDM(addr, n) BSP_CALL(BSP_ReadCpldByteForTdm(addr, 2, g), n)

// A debounced read of `addr` answering `values`, of which the first `reads` are read.
CallCase tdm(const char *name, uint32_t addr, std::vector<uint32_t> values, size_t reads, const char *out)
{
    const auto call = [addr](B &) { return res(BSP_ReadCpldByteForTdm(addr, 2, g), 2); };
    return {.name = name, .setup = script(addr, values), .call = call, .out = out,
            .trace = samples(addr, std::vector<uint32_t>(values.begin(), values.begin() + reads))};
}

const std::vector<std::pair<uint32_t, uint8_t>> kR = {{0x20, 0x96}, {0x21, 0x5A}};
const std::string kWriteFailed = "0:Write to cpld addr(13) data(5a) error, ret=-7.";
const std::string kReadFailed = "0:Read cpld(0x13) byte error(-7).";

const CallCase kAccess[] = {
    // The path each board takes.
    path("ArmBoardOnLocalBus", "default", nullptr, false),
    path("ArmBoardWithCpldOnSpi1", "default", "spi1", true),
    path("OtherSpiControllerIsNotSpi", "default", "spi2", false),
    path("SmmStaysOnLocalBusEvenWithSpi1", "smm", "spi1", false),
    path("Board71UsesSpiEvenOnLocalBus", "4u4c", "localbus", true),
    {.name = "NoCpldObjectMeansLocalBus", .faults = {{Op::DflGetHandle, 2, -5}}, .setup = lbus("spi1"),
     .call = lookup_twice, .out = "ok ok then 1", .trace = "wr 20=11",
     .log = times(2, "0:Get cpld1 obj handle fail, hdl=0, ret=-5", " | ")},
    {.name = "NoBusReferenceMeansLocalBus", .faults = {{Op::DflGetRef, 2, -5}}, .setup = lbus("spi1"),
     .call = lookup_twice, .out = "ok ok then 1", .trace = "wr 20=11",
     .log = times(2, "2:Get cpld1 refobj(LBus) handle fail, ret=-5", " | ")},
    // Refused before any traffic.
    {.name = "RefusedArguments", .call = BSP_CALLS(BSP_ReadCpldBytes(0x10, 1, nullptr), BSP_ReadCpldBytes(0x400, 1, g),
        BSP_WriteCpldByte(0x400, 1), BSP_ReadCpldBit(0x400, 0, g), BSP_ReadCpldBit(0x10, 8, g), BSP_WriteCpldBit(0x400, 0, 1),
        BSP_WriteCpldBit(0x10, 8, 1)), .out = times(7, "err"),
     .log = "0:pOut is null. | " + times(3, "0:Offset addr(0x0400) err.", " | ") + " | 0:Input bit_num error. | "
            "0:Offset is out of range. | 0:Input bitNum error, bitNum should be 0-7."},
    // The last register and bit pass; the length is not checked: the driver refuses the read.
    {.name = "LastRegisterAndBit",
     .call = BSP_CALLS(BSP_ReadCpldBytes(0x3FF, 4, g), BSP_ReadCpldBit(0x3FF, 7, g), BSP_WriteCpldBit(0x3FF, 7, 1)),
     .out = "err ok ok", .trace = "rd 3ff=00!bad rd 3ff&80=0 wr 3ff&80=1", .log = "0:read cpld byte error."},
    // The path functions called directly: the record the driver sees (the simulator refuses one
    // whose fixed fields are wrong), the bytes handed back and the failure's lines.
    // The read mask is cut to 8 bits: bit 8 asks for no bit at all, which the driver refuses.
    // The write's value goes as given, not reduced to one bit, and its mask is not cut. The SPI
    // chip write sets the bit for any non-zero value.
    {.name = "PathFunctionsAsGiven", .regs = kR, .call = [](B &) {
         return calls({BSP_LbReadCpldBit(0x20, 8, g), BSP_LbWriteCpldBit(0x20, 0, 5), BSP_LbWriteCpldBit(0x20, 8, 1),
                       BSP_SpiReadCpldBytesOnce(0x20, 0, g), BSP_SpiDflWriteCpldBitOnce(0x20, 2, 7)}, 1);
     },
     .out = "err ok err ok ok ee", .trace = "rd 20=00!bad wr 20&01=5 wr 20&100=0!bad dfl_chip_bytewrite cpld1@20&04=01",
     .log = "0:read cpld error. | 0:write add :20  data: 1 cpld error."},
    // The bytes read before a failure stay.
    {.name = "SpiReadBytesOnceFails", .regs = kR, .faults = {{Op::SpiRead, 1, -4, 0x21}},
     .call = BSP_CALL(BSP_SpiReadCpldBytesOnce(0x20, 2, g), 2), .out = "err 96 ee", .trace = "srd 20=96 srd 21=00!-4",
     .log = "0:Read cpld(0x21) byte error(-4). | 0:Read cpld(0x20) bytes(len=2) error."},
    // The chip is written by name, so a failed object lookup is only logged; the framework's
    // code is passed up.
    {.name = "SpiDflWriteBitOnceFails", .faults = {{Op::DflChipByteWrite, 1, -4}},
     .call = BSP_CALL(BSP_SpiDflWriteCpldBitOnce(0x20, 2, 0)), .out = "-4",
     .trace = "dfl_chip_bytewrite cpld1@20&04=00!-4"},
    {.name = "SpiDflWriteBitOnceNoHandle", .faults = {{Op::DflGetHandle, 1, -4}},
     .call = BSP_CALL(BSP_SpiDflWriteCpldBitOnce(0x20, 0, 1)), .trace = "dfl_chip_bytewrite cpld1@20&01=01",
     .log = "0:Get cpld1 obj handle fail, hdl=0, ret=-4"},
    // Up to five SPI attempts, 10 ms after every failed one, the last included; a multi-byte
    // read starts over from its first byte.
    {.name = "SpiWriteReadAndBitWriteFailFiveTimes", .profile = "4u4c",
     .faults = {{Op::SpiWrite, 5, -7}, {Op::SpiRead, 5, -7}, {Op::DflChipByteWrite, 5, -7}},
     .call = BSP_CALLS(BSP_WriteCpldByte(0x13, 0x5A), BSP_ReadCpldBit(0x13, 0, g), BSP_WriteCpldBit(0x13, 1, 1)),
     .out = "err err -7", .trace = times(5, "swr 13=5a!-7 delay 10") + " " + times(5, "srd 13=00!-7 delay 10") + " " +
                                   times(5, "dfl_chip_bytewrite cpld1@13&02=01!-7 delay 10"),
     .log = times(5, kWriteFailed, " | ") + " | " + times(5, kReadFailed, " | ")},
    {.name = "SpiReadSecondByteFailsOnce", .profile = "4u4c", .regs = {{0x13, 0x11}},
     .faults = {{Op::SpiRead, 1, -7, 0x14}}, .call = BSP_CALL(BSP_ReadCpldBytes(0x13, 3, g), 3), .out = "ok 11 00 00",
     .trace = "srd 13=11 srd 14=00!-7 delay 10 srd 13=11 srd 14=00 srd 15=00",
     .log = "0:Read cpld(0x14) byte error(-7). | 0:Read cpld(0x13) bytes(len=3) error."},
    // The debug writer reads once, without retries, and only its write retries.
    {.name = "SpiDebugWriteReadFails", .profile = "4u4c", .faults = {{Op::SpiRead, 1, -7}},
     .call = BSP_CALL(BSP_DegWriteCpldBit(0x13, 1, 1)), .out = "err", .trace = "srd 13=00!-7", .log = kReadFailed},
    {.name = "SpiDebugWriteWriteFails", .profile = "4u4c", .regs = {{0x13, 0x11}}, .faults = {{Op::SpiWrite, 5, -7}},
     .call = BSP_CALL(BSP_DegWriteCpldBit(0x13, 1, 1)), .out = "err",
     .trace = "srd 13=11 " + times(5, "swr 13=13!-7 delay 10"),
     .log = times(5, "0:Write to cpld addr(13) data(13) error, ret=-7.", " | ")},
    {.name = "SpiDebugWrites", .setup = lbus("spi1"), .call = noted_writes, .out = "ok ok ok noted",
     .trace = "srd 30=a5 swr 30=a7 srd 30=a5 swr 30=a4 srd 30=a5 swr 30=a3"},
    // Three samples of the first byte in a row must agree; the oldest drops out as a new one
    // comes in; the 50th extra read gives up without looking at the samples it completed.
    tdm("TdmAgreeAtOnce", 0x29, {7, 7, 7}, 3, "ok 07 44"),
    tdm("TdmOneTwoTwoTwo", 0x1D5, {1, 2, 2, 2}, 4, "ok 02 44"),
    tdm("TdmAgreeAtTheLastLook", 0x1D9, counting(49, {99, 99, 99}), 52, "ok 63 44"),
    tdm("TdmAgreeOneReadTooLate", 0x1D2, counting(50, {99, 99, 99}), 53, "err 63 44"),
    {.name = "TdmFirstReadFails", .faults = {{Op::LocalBusRead, 1, -1, 0x29}}, .setup = script(0x29, {1, 1, 1}),
     .call = TDM(0x29, 0), .out = "err", .trace = "rd 29=00!-1", .log = "0:read cpld byte error."},
    {.name = "TdmExtraReadFails", .faults = {{Op::LocalBusRead, 1, -1, 0x1D5, 4}}, .setup = script(0x1D5, counting(10)),
     .call = TDM(0x1D5, 0), .out = "err", .trace = samples(0x1D5, counting(4)) + " rd 1d5=00!-1",
     .log = "0:read cpld byte error."},
    // Registers around the noisy block are read once.
    {.name = "TdmOutsideTheNoisyBlock",
     .setup = [](B &b) { for (uint32_t a : {0x1D1, 0x1DA, 0x28}) script(a, {1, 2})(b); },
     .call = [](B &) {
         return calls({BSP_ReadCpldByteForTdm(0x1D1, 2, g), BSP_ReadCpldByteForTdm(0x1DA, 2, g + 2),
                       BSP_ReadCpldByteForTdm(0x28, 2, g + 4)}, 6);
     }, .out = "ok ok ok 01 44 01 44 01 44", .trace = "rd 1d1[2]=01 rd 1da[2]=01 rd 28[2]=01"},
};

BSP_CASES(Access, CpldCall, kAccess);

// ============================================================================= hub users

std::string int_reads(B &b)
{
    std::string out = std::to_string(BSP_CpldIntRead(0x40, 2));
    out += std::to_string(BSP_CpldIntRead(0x40, 3));
    b.fail(Op::LocalBusRead);
    out += std::to_string(BSP_CpldIntRead(0x40, 2));
    return out + std::to_string(BSP_CpldIntRead(0x40, 8));
}

// Channels 0-3 are the low bits of 0x1AC (the high nibble is not theirs); 4 and up are refused.
std::string serial_validity(B &b)
{
    std::string out;
    for (uint8_t ch : {0, 1, 2, 3, 4, 255}) out += std::to_string(BSP_CpldSerialDataValidityCheck(ch));
    b.fail(Op::LocalBusRead);
    return out + " " + std::to_string(BSP_CpldSerialDataValidityCheck(3));
}

// Factory mode is bit 0 of 0x56; the SMM keeps it as its fan-board MCU's mode, whose query
// reports nothing.
std::string equip(B &b)
{
    const uint32_t get = BSP_GetEquipMode(g);
    const uint32_t set = BSP_SetEquipMode(0);
    return (BSP_IsSmmBoard() ? "" : res(get | set, 1) + " ") + hx(b.reg(0x56));
}

// A failure of the first of two writes is ignored, so that row shows the whole sequence too.
const CallCase kUsers[] = {
    {.name = "IntClearFirstWriteFailsIsIgnored", .faults = {{Op::LocalBusWrite}},
     .call = BSP_CALL(BSP_CpldIntClear(0x40, 2)), .trace = "wr 40&04=1!-1 delay 5 wr 40&04=0",
     .log = "0:write add :40  data: 1 cpld error."},
    {.name = "IntClearSecondWriteFailsIsReported", .faults = {{Op::LocalBusWrite, 1, -1, kAny, 1}},
     .call = BSP_CALL(BSP_CpldIntClear(0x40, 2)), .out = "err", .trace = "wr 40&04=1 delay 5 wr 40&04=0!-1",
     .log = "0:write add :40  data: 0 cpld error."},
    {.name = "IntMaskFirstWriteFailsIsIgnored", .faults = {{Op::LocalBusWrite}}, .call = BSP_CALL(BSP_CpldIntMask()),
     .trace = "wr c0=ff!-1 wr c1=ff", .log = "0:write add :c0  data: ff cpld error."},
    {.name = "IntMaskSecondWriteFailsIsReported", .faults = {{Op::LocalBusWrite, 1, -1, kAny, 1}},
     .call = BSP_CALL(BSP_CpldIntMask()), .out = "err", .trace = "wr c0=ff wr c1=ff!-1",
     .log = "0:write add :c1  data: ff cpld error."},
    // A failed read answers 0 although the bit is set.
    {.name = "IntReadAnswersTheBitOrZero", .regs = {{0x40, 0x04}}, .call = int_reads, .out = "1000",
     .trace = "rd 40&04=1 rd 40&08=0 rd 40&04=0!-1", .log = "0:read cpld error. | 0:Input bit_num error."},
    {.name = "SerialValidity", .regs = {{0x1AC, 0xF5}}, .call = serial_validity, .out = "101000 0",
     .trace = "rd 1ac&01=1 rd 1ac&02=0 rd 1ac&04=1 rd 1ac&08=0 rd 1ac&08=0!-1",
     .log = "0:Input para put of range(4) | 0:Input para put of range(255) | 0:read cpld error. | "
            "0:Read cpld addr(0x1ac) bit(3) failed(-1)"},
    {.name = "EquipModeLocalBus", .regs = {{0x56, 0x81}}, .call = equip, .out = "ok 01 80",
     .trace = "rd 56&01=1 wr 56&01=0"},
    {.name = "EquipModeSmmUsesTheMcu", .profile = "smm", .regs = {{0x56, 0x81}}, .call = equip, .out = "81",
     .log = "2:BmcInfo get property McuMode, value 0 succeed. | 2:BmcInfo set property McuMode value 0 succeed."},
};

BSP_CASES(Users, CpldCall, kUsers);

// ==================================================================================== RAM

constexpr uint16_t kAddr = 0xD931;  // window: 0x31 to 0xBA, 0x19 to 0xBB; holding 0x08

// Every operation on the byte at kAddr (holding 0x08): its call, rendered with the byte at kAddr
// after it, what it renders after success and after a failure, its data transfer, and the
// lines of a failed transfer.
struct RamOp {
    const char *name;
    std::function<std::string(B &)> call;
    const char *ok, *failed_out;
    bool bit = false;  // bit operations wait 5 ms after each address write
    const char *lb, *spi, *failed;  // the data transfer: local bus, SPI, failed on the local bus
    const char *failed_log, *take_log = "0:get BMC_MUTEX_IPC_CPLD_RAM fail.";
};

#define RAM_CALL(expr) [](B &b) { const uint32_t st = (expr); return res(st, 1) + " " + hx(b.ram(kAddr)); }

const RamOp kRamOps[] = {
    {.name = "SetCpldRam", .call = RAM_CALL((BSP_SetCpldRam(kAddr, 0x7E), 0u)), .ok = "ok ee 7e",
     .failed_out = "ok ee 08", .lb = "wr bc=7e", .spi = "swr bc=7e", .failed = "wr bc=7e!-1",
     .failed_log = "0:write add :bc  data: 7e cpld error. | 0:BSP_SetCpldRam: error at (line:SAME)"},
    {.name = "GetCpldRam", .call = RAM_CALL((BSP_GetCpldRam(kAddr, g), 0u)), .ok = "ok 08 08", .failed_out = "ok ee 08",
     .lb = "rd bc=08", .spi = "srd bc=08", .failed = "rd bc=00!-1",
     .failed_log = "0:read cpld byte error. | 0:BSP_GetCpldRam: error at (line:SAME)"},
    {.name = "SetCpldRamBytes", .call = RAM_CALL(BSP_SetCpldRamBytes(kAddr, (g[0] = 0x7E, g), 1)), .ok = "ok 7e 7e",
     .failed_out = "err 7e 08", .lb = "wr bc=7e", .spi = "swr bc=7e", .failed = "wr bc=7e!-1",
     .failed_log = "0:write add :bc  data: 7e cpld error. | 0:Set cpldram 0xd931 failed"},
    {.name = "GetCpldRamBytes", .call = RAM_CALL(BSP_GetCpldRamBytes(kAddr, g, 1)), .ok = "ok 08 08",
     .failed_out = "err ee 08", .lb = "rd bc=08", .spi = "srd bc=08", .failed = "rd bc=00!-1",
     .failed_log = "0:read cpld byte error. | 0:Get cpldram 0xd931 failed"},
    // Capital G in the take's line, unlike its siblings.
    {.name = "SetCpldRamBit", .call = RAM_CALL(BSP_SetCpldRamBit(kAddr, 0, 1)), .ok = "ok ee 09",
     .failed_out = "err ee 08", .bit = true, .lb = "wr bc&01=1", .spi = "dfl_chip_bytewrite cpld1@bc&01=01",
     .failed = "wr bc&01=1!-1",
     .failed_log = "0:write add :bc  data: 1 cpld error. | 0:Write Cpld ram addr(0xd931) bit(0) value(1) failed",
     .take_log = "0:Get BMC_MUTEX_IPC_CPLD_RAM fail."},
    {.name = "GetCpldRamBit", .call = RAM_CALL(BSP_GetCpldRamBit(kAddr, 3, g)), .ok = "ok 01 08",
     .failed_out = "err ee 08", .bit = true, .lb = "rd bc&08=1", .spi = "srd bc=08", .failed = "rd bc&08=0!-1",
     .failed_log = "0:read cpld error. | 0:Read Cpld ram addr(0xd931) bit(3) failed"},
};

// Each operation over SPI and as it breaks off at the take, at the data transfer and at the give
// (which comes after the whole transfer): the semaphore is taken and given once, nothing follows
// a failure, a read hands its byte over on success only, and a failed give leaves the result
// standing. A failed window write is one more failed step, which the fault sweep covers.
std::vector<CallCase> ram_sequences()
{
    static std::list<std::string> names;
    std::vector<CallCase> v;
    for (const RamOp &op : kRamOps) {
        const std::string settle = op.bit ? " delay 5" : "";
        const std::string hi = "P29 wr ba=31" + settle + " wr bb=19" + settle;
        auto add = [&](const char *step, CallCase c) {
            c.name = names.emplace_back(std::string(op.name) + step).c_str();
            c.setup = [](B &b) { b.set_ram(kAddr, 0x08); };
            c.call = op.call;
            v.push_back(std::move(c));
        };
        add("OverSpi", {.profile = "4u4c", .out = op.ok,
                        .trace = "P29 swr ba=31" + settle + " swr bb=19" + settle + " " + op.spi + " V29"});
        add("TakeFails",
            {.faults = {{Op::SemP, 1, -1, 29}}, .out = op.failed_out, .trace = "P29!-1", .log = op.take_log});
        add("DataFails", {.faults = {{op.lb[0] == 'r' ? Op::LocalBusRead : Op::LocalBusWrite, 1, -1, 0xBC}},
                          .out = op.failed_out, .trace = hi + " " + op.failed + " V29", .log = op.failed_log});
        add("GiveFails", {.faults = {{Op::SemV, 1, -1, 29}}, .out = op.ok, .trace = hi + " " + op.lb + " V29!-1",
                          .log = "0: BMC_MUTEX_IPC_CPLD_RAM v fail."});
    }
    return v;
}

BSP_CASES(RamSteps, CpldCall, ram_sequences());

// The window pointed at each byte from `addr` on in turn, each followed by its transfer.
std::string window(uint32_t addr, const std::vector<std::string> &transfers)
{
    std::string out;
    for (auto t = transfers.begin(); t != transfers.end(); ++t, ++addr)
        out += " wr ba=" + hx(addr & 0xFF) + " wr bb=" + hx((addr >> 8) & 0x1F) + " " + *t;
    return out;
}

std::string ram_bytes(B &b, uint32_t addr, size_t n)
{
    std::string out;
    for (size_t i = 0; i < n; ++i) out += " " + hx(b.ram(addr + i));
    return out;
}

// Sets 0xD8FE.. to 41 42 43 44 and calls `fn` on a range from there of four bytes 01 02 03 04
// (preset ee for a read), rendering it with the RAM (after a write) or the bytes (after a read).
template <bool Write>
std::string range4(B &b)
{
    for (uint32_t i = 0; i < 4; ++i) b.set_ram(0xD8FE + i, static_cast<uint8_t>(0x41 + i));
    if (!Write) return res(BSP_GetCpldRamBytes(0xD8FE, g, 4), 4);
    const uint8_t data[4] = {1, 2, 3, 4};
    const uint32_t st = BSP_SetCpldRamBytes(0xD8FE, data, 4);
    return res(st) + ram_bytes(b, 0xD8FE, 4);
}

std::string bits_round_trip(B &b)
{
    b.set_ram(0xC700, 0x00);
    uint32_t st = 0;
    for (uint8_t bit = 0; bit < 8; bit += 2) st |= BSP_SetCpldRamBit(0xC700, bit, 1);
    const uint8_t set = b.ram(0xC700);
    st |= BSP_SetCpldRamBit(0xC700, 4, 0);
    uint8_t got = 0;
    for (uint8_t bit = 0; bit < 8; ++bit) {
        st |= BSP_GetCpldRamBit(0xC700, bit, g);
        got |= static_cast<uint8_t>(g[0] << bit);
    }
    return res(st) + " " + hx(set) + " " + hx(got);
}

// Bit operations let the window settle 5 ms after each address write.
std::string bits_trace()
{
    std::string t;
    auto op = [&t](const std::string &data) { t += " P29 wr ba=00 delay 5 wr bb=07 delay 5 " + data + " V29"; };
    for (unsigned bit = 0; bit < 8; bit += 2) op("wr bc&" + hx(1u << bit) + "=1");
    op("wr bc&10=0");
    for (unsigned bit = 0; bit < 8; ++bit) op("rd bc&" + hx(1u << bit) + "=" + std::to_string((0x45 >> bit) & 1));
    return t.substr(1);
}

// Clears each range in turn, preset 0x99 up to one byte beyond. The clear takes the semaphore
// per byte, reports an empty range with an end below its start (wherever it lies) and fails at
// the end of the records, what lies below it cleared.
std::string clears(B &b, std::initializer_list<std::pair<uint16_t, uint32_t>> ranges)
{
    std::string out;
    for (auto [addr, len] : ranges) {
        for (uint32_t i = 0; i <= len; ++i) b.set_ram(addr + i, 0x99);
        const uint32_t st = BSP_ClearCpldRamData(addr, len);
        out += (out.empty() ? "" : ", ") + res(st) + ram_bytes(b, addr, len + 1);
    }
    return out;
}

std::string mutex_v(B &b)
{
    const int32_t taken = BMC_ProcessMutexSem_P(29, BMC_SEM_WAIT_FOREVER);
    BSP_MutexV();
    const int after_one = b.sem_value(29);
    BSP_MutexV();
    return std::to_string(taken) + " " + std::to_string(after_one) + " " + std::to_string(b.sem_value(29));
}

const std::vector<std::string> kZeros = {"wr bc=00"}, kEE = {"wr bc=ee", "wr bc=ee"};

#define RANGE(addr, len) BSP_SetCpldRamBytes(addr, g, len)

const CallCase kRam[] = {
    {.name = "RangeSelectsEveryByteAcrossAPage", .call = range4<true>, .out = "ok 01 02 03 04",
     .trace = "P29" + window(0xD8FE, {"wr bc=01", "wr bc=02", "wr bc=03", "wr bc=04"}) + " V29"},
    {.name = "RangeReadsEveryByte", .call = range4<false>, .out = "ok 41 42 43 44",
     .trace = "P29" + window(0xD8FE, {"rd bc=41", "rd bc=42", "rd bc=43", "rd bc=44"}) + " V29"},
    // A range stops at its first failed transfer; what was moved before it stays.
    {.name = "RangeWriteStopsAtTheFailedByte", .faults = {{Op::LocalBusWrite, 1, -1, 0xBC, 2}}, .call = range4<true>,
     .out = "err 01 02 43 44", .trace = "P29" + window(0xD8FE, {"wr bc=01", "wr bc=02", "wr bc=03!-1"}) + " V29",
     .log = "0:write add :bc  data: 3 cpld error. | 0:Set cpldram 0xd900 failed"},
    {.name = "RangeReadKeepsWhatItRead", .faults = {{Op::LocalBusRead, 1, -1, 0xBC, 1}}, .call = range4<false>,
     .out = "err 41 ee ee ee", .trace = "P29" + window(0xD8FE, {"rd bc=41", "rd bc=00!-1"}) + " V29",
     .log = "0:read cpld byte error. | 0:Get cpldram 0xd8ff failed"},
    // Only the low 13 bits of an address reach the CPLD; a range does not check its start.
    {.name = "HighAddressBitsAreDropped", .call = [](B &b) {
         g[0] = 0x5C;
         const uint32_t st = BSP_SetCpldRamBytes(0x0100, g, 1);
         BSP_SetCpldRam(0xFFFF, 0x3D);
         return res(st) + ram_bytes(b, 0x1FFF, 1);
     }, .out = "ok 3d", .trace = "P29 wr ba=00 wr bb=01 wr bc=5c V29 P29 wr ba=ff wr bb=1f wr bc=3d V29"},
    // A data write that fails once is retried by the SPI path, still under the one take.
    {.name = "SpiRetriesHappenInsideTheOneHold", .profile = "4u4c", .faults = {{Op::SpiWrite, 1, -2, 0xBC}},
     .call = BSP_CALL(BSP_SetCpldRamBytes(0xD000, (g[0] = 0xA1, g), 1)),
     .trace = "P29 swr ba=00 swr bb=10 swr bc=a1!-2 delay 10 swr bc=a1 V29",
     .log = "0:Write to cpld addr(bc) data(a1) error, ret=-2."},
    {.name = "BitsRoundTrip", .call = bits_round_trip, .out = "ok 55 45", .trace = bits_trace()},
    {.name = "ClearRanges", .call = [](B &b) {
         return clears(b, {{0xD900, 0}, {0x0000, 0}, {0xC6FF, 1}, {0xDC00, 1}, {0xC700, 2}, {0xDBFF, 1}, {0xDBFF, 2}});
     }, .out = "ok 99, ok 99, err 99 99, err 99 99, ok 00 00 99, ok 00 99, err 00 99 99",
     .trace = "P29" + window(0xC700, {"wr bc=00 V29 P29"}) + window(0xC701, {"wr bc=00"}) + " V29 P29" +
              window(0xDBFF, {"wr bc=00 V29 P29"}) + window(0xDBFF, kZeros) + " V29",
     .log = "1:Clear cpld ram data from 0xd900 to 0xd8ff. | 1:Clear cpld ram data from 0x0 to 0xffffffff. | "
            "1:Clear cpld ram data from 0xc700 to 0xc701. | 1:Clear cpld ram data from 0xdbff to 0xdbff."},
    // The clear sees nothing of its single bytes' failures: they are logged and it goes on.
    {.name = "ClearIgnoresFailedBytes", .faults = {{Op::LocalBusWrite, 1, -1, 0xBC}, {Op::SemP, 1, -1, 29, 1}},
     .call = [](B &b) { return clears(b, {{0xD900, 3}}); }, .out = "ok 99 99 00 99",
     .trace = "P29" + window(0xD900, {"wr bc=00!-1"}) + " V29 P29!-1 P29" + window(0xD902, kZeros) + " V29",
     .log = "0:write add :bc  data: 0 cpld error. | 0:BSP_SetCpldRam: error at (line:SAME) | "
            "0:get BMC_MUTEX_IPC_CPLD_RAM fail. | 1:Clear cpld ram data from 0xd900 to 0xd902."},
    // The give hands back what was taken; a give with nothing taken is refused and logged.
    {.name = "MutexVGivesBackWhatWasTaken", .call = mutex_v, .out = "0 1 1", .trace = "P29 V29 V29!unbal!-1",
     .log = "0: BMC_MUTEX_IPC_CPLD_RAM v fail."},
    // Ranges must end inside the records' part of the RAM (0xC700-0xDBFF) without wrapping;
    // a refused one touches nothing. Both directions share the check.
    {.name = "RangesEndInsideTheRecords",
     .call = BSP_CALLS(RANGE(0xDBFE, 2), RANGE(0xDBFE, 3), RANGE(0xDBFF, 1), RANGE(0xDC00, 1), RANGE(0xDC00, 0),
                       RANGE(0xFFFF, 1), RANGE(0xC700, 0xFFFFFFFF), RANGE(0x2400, 0xFFFFDC01),
                       BSP_GetCpldRamBytes(0xDBFE, g, 3)),
     .out = "ok err ok err ok err err err err",
     .trace = "P29" + window(0xDBFE, kEE) + " V29 P29" + window(0xDBFF, {"wr bc=ee"}) + " V29 P29 V29"},
    {.name = "RamBitArgumentsRefused",
     .call = BSP_CALLS(BSP_GetCpldRamBit(0xD931, 8, g), BSP_SetCpldRamBit(0xD931, 8, 1), BSP_SetCpldRamBit(0xD931, 3, 2)),
     .out = times(3, "err"), .log = times(3, "0:Input para out of range.", " | ")},
};

BSP_CASES(Ram, CpldCall, kRam);

// ========================================================================== upgrade state

// The framework's answer; every failure is logged and leaves the caller's byte alone, every
// value handed out is released, and the status is 0 all the same (a null byte asks nothing).
std::string upgrading(B &)
{
    const size_t live = bspsim::live_values();
    const uint32_t st = BSP_IsCpldUpgrading(g) | BSP_IsCpldUpgrading(nullptr);
    return res(st, 1) + (bspsim::live_values() == live ? "" : " leaked");
}

std::function<void(B &)> upg_state(const char *value)
{
    return [value](B &b) { b.set_property("Upgrade", "CpldUpgState", value); };
}

const CallCase kUpgradeState[] = {
    {.name = "NotUpgradingThenUpgrading",
     .call = [](B &b) { return bsptest::joined({upgrading(b), (upg_state("byte 1")(b), upgrading(b))}); },
     .out = "ok 00, ok 01"},
    {.name = "NoObject", .faults = {{Op::DflGetHandle, 1, -2}}, .call = upgrading, .out = "ok ee",
     .log = "0:Get obj handle err[-2]"},
    {.name = "PropertyFails", .faults = {{Op::DflGetProp, 1, -3}}, .setup = upg_state("byte 1"), .call = upgrading,
     .out = "ok ee", .log = "0:Get property value failed[-3]"},
    {.name = "NotAByte", .setup = upg_state("uint16 1"), .call = upgrading, .out = "ok ee",
     .log = "0:Get property value failed[-1]"},
};

BSP_CASES(UpgradeState, CpldCall, kUpgradeState);

// ============================================================================== inventory

// CPLD 0..2's self-test registers of the board; 3 is out of range and leaves the address be.
std::string self_test_addrs(B &)
{
    std::array<uint32_t, 4> a = {0, 0, 0, 0x1234};
    uint32_t st = 0;
    for (uint8_t id = 0; id < 4; ++id) st = st << 1 | (BSP_GetSelfTestCpldAddr(id, &a[id]) ? 1 : 0);
    st = st << 1 | (BSP_GetSelfTestCpldAddr(0, nullptr) ? 1 : 0);
    return std::to_string(st) + " " + hx(a[0]) + " " + hx(a[1]) + " " + hx(a[2]) + " " + hx(a[3]);
}

// CPLD 0's register echoing the writes of a self test.
const std::string kEcho = "P12/2 wr 2=aa delay 50 rd 2=aa wr 2=55 delay 50 rd 2=55";

const std::string kRangeLines = "0:Get cpldreg self test addr cpldId 3 is out of range. | "
                                "0:Get cpldreg self test addr cpldId 0 is out of range.";

// One healthy write/read-back test of register `r`: the register answers the complement.
std::string pat(const std::string &r)
{
    return "wr " + r + "=aa delay 50 rd " + r + "=55 wr " + r + "=55 delay 50 rd " + r + "=aa";
}

// Health is a clean fault register under the board's mask; only a change from the last answer
// (0 at load) is logged, the mask printed first.
std::string health_line(const char *mask, int from, int to, const char *reg)
{
    return "1:Health status of cpld(" + std::string(mask) + ") change from " + std::to_string(from) + " to " +
           std::to_string(to) + ", reg[0xfb]=" + reg +
           ", modules of iocard and disk will stop routine if the cpld is fault.";
}

// An unread register counts as healthy and is not kept as the last answer.
std::string health_changes(B &b)
{
    std::string out;
    for (uint8_t v : {0x00, 0x00, 0x03, 0x03, 0x20, 0x0F}) {
        b.set_reg(0xFB, v);
        out += std::to_string(BSP_CpldBorCIsHealth());
    }
    b.fail(Op::LocalBusRead, 1, -1, 0xFB);
    out += std::to_string(BSP_CpldBorCIsHealth());
    return out + std::to_string(BSP_CpldBorCIsHealth());
}

// Vendor names from 0x1D5 and 0x2E0 into `Size` - 1 bytes; no buffer, nothing is read.
template <uint8_t Size>
std::string vendors(B &b)
{
    char buf[64];
    std::memset(buf, '#', sizeof buf);
    BSP_Get5830CPLDTypeStr(Size, buf);
    const std::string text = buf;
    const size_t before = b.events().size();
    BSP_Get5830CPLDTypeStr(32, nullptr);
    BSP_Get5830CPLDTypeStr(0, buf);
    return text + (text == buf && b.events().size() == before ? "" : " and more");
}

// The vendors of a few pairs of codes in turn.
std::string vendor_codes(B &b)
{
    std::string out;
    for (auto [first, second] : {std::pair<uint8_t, uint8_t>{0x99, 0x55}, {0x12, 0x00}, {0x66, 0x00}, {0x55, 0xFF}}) {
        b.set_reg(0x1D5, first);
        b.set_reg(0x2E0, second);
        out += (out.empty() ? "" : ", ") + vendors<32>(b);
    }
    return out;
}

const std::string kIdsLine = "1:Cpld0 devicedId(0x612bd043), cpld1 devicedId(0x42b899), ret=";

std::string chip_ids(B &)
{
    std::array<uint32_t, 6> ids{};
    std::string out;
    for (auto [size, num, id] : std::array<std::array<uint32_t, 3>, 4>{{{0, 2, 0}, {24, 2, 2}, {24, 7, 0}, {24, 2, 1}}})
        out += res(BSP_GetCpldChipId(ids.data(), size, static_cast<uint8_t>(num), static_cast<uint8_t>(id))) + " ";
    out += res(BSP_GetCpldChipId(nullptr, 24, 2, 1));
    for (uint32_t v : ids) out += " " + hx(v);
    return out;
}

// The count of the board's row of the logic version table, twice: a failed lookup is not cached.
#define COUNT_TWICE [](B &) { return calls({BSP_GetCpldNum(g), BSP_GetCpldNum(g + 1)}, 2); }
const uint32_t kTypeIds[] = {0x03004C37, 0x00008C3B, 0x612BD043, 0x0042B899, 0x0042A899, 0x12345678, 0x612BD043};

#define HEALTH [](B &) { return std::to_string(BSP_CpldBorCIsHealth()); }
#define CHIP_ID BSP_CALL(BSP_GetCpldChipId(reinterpret_cast<uint32_t *>(g), 8, 2, 0))

const CallCase kInventory[] = {
    // The first and the last row of the table (its contents are the version suite's).
    {.name = "CountBoard00", .board = 0x00, .call = COUNT_TWICE, .out = "ok ok 03 03"},
    {.name = "CountBoard95", .board = 0x95, .call = COUNT_TWICE, .out = "ok ok 02 02"},
    {.name = "CountSmmHasNoRow", .board = 0x81, .call = COUNT_TWICE, .out = "err err 00 00",
     .log = times(2, "0:BSP: Get cpld num fail. BoardId:0x81", " | ")},
    {.name = "CountNull", .call = BSP_CALL(BSP_GetCpldNum(nullptr)), .out = "err",
     .log = "0:Input CPLD num buffer is null"},
    {.name = "SelfTestAddrsBoard05", .board = 0x05, .call = self_test_addrs, .out = "3 02 24a 0a 1234",
     .log = kRangeLines},
    {.name = "SelfTestAddrsBoard0A", .board = 0x0A, .call = self_test_addrs, .out = "3 02 0a 24a 1234",
     .log = kRangeLines},
    // The whole-board test under semaphore 12 (a 2 s wait at most).
    {.name = "SelfTestHealthyBoardPasses",
     .call = BSP_CALLS(BSP_CpldSelfTest(), BSP_CpldSelfTestByOne(1), BSP_CpldSelfTestByOne(3)), .out = "ok ok err",
     .trace = "P12/2 " + pat("2") + " " + pat("24a") + " V12 P12/2 " + pat("24a") + " V12",
     .log = "0:Get cpldreg self test addr cpldId 3 is out of range."},
    {.name = "SelfTestThreeCpldBoardTestsItsThirdRegister", .board = 0x0A,
     .setup = [](B &b) { b.make_self_test(0x00A); },
     .call = BSP_CALL(BSP_CpldSelfTest()), .trace = "P12/2 " + pat("2") + " " + pat("a") + " " + pat("24a") + " V12"},
    // A register that echoes what was written is not a working test register.
    {.name = "SelfTestEchoingRegisterFails",
     .setup = [](B &b) { b.script(Source::Register, 0x002, {0xAA, 0x55, 0xAA, 0x55}); },
     .call = BSP_CALLS(BSP_CpldSelfTest(), BSP_CpldSelfTestByOne(0)), .out = "err err",
     .trace = kEcho + " " + pat("24a") + " V12 " + kEcho + " V12"},
    // Another process holds the lock, or no count is known: skipped, and reported as passed.
    {.name = "SelfTestBusySemaphorePasses", .faults = {{Op::SemP, 2, -1, 12}},
     .call = BSP_CALLS(BSP_CpldSelfTest(), BSP_CpldSelfTestByOne(0)), .out = "ok ok", .trace = "P12/2!-1 P12/2!-1"},
    {.name = "SelfTestUnknownCountPasses", .board = 0x81, .call = BSP_CALL(BSP_CpldSelfTest()), .trace = "P12/2 V12",
     .log = "0:BSP: Get cpld num fail. BoardId:0x81 | 0:Get CPLD Number fail![-1]"},
    // CPLD 0's first write fails, yet its read-backs look right: the loop stops there, and
    // CPLD 1, never reached, fails the verdict with its zero bytes.
    {.name = "SelfTestCpldNeverReachedFails", .faults = {{Op::LocalBusWrite, 1, -1, 0x002}},
     .setup = [](B &b) { b.script(Source::Register, 0x002, {0x55, 0xAA}); }, .call = BSP_CALL(BSP_CpldSelfTest()),
     .out = "err", .trace = "P12/2 wr 2=aa!-1 delay 50 rd 2=55 wr 2=55 delay 50 rd 2=aa V12",
     .log = "0:write add :2  data: aa cpld error. | 2:Test cpld fail, ret=-1, errorCode=0."},
    {.name = "SelfTestReadFailureFails", .faults = {{Op::LocalBusRead, 1, -1, 0x24A}},
     .call = BSP_CALL(BSP_CpldSelfTest()), .out = "err",
     .trace = "P12/2 " + pat("2") + " wr 24a=aa delay 50 rd 24a=00!-1 wr 24a=55 delay 50 rd 24a=aa V12",
     .log = "0:read cpld byte error. | 2:Test cpld fail, ret=-1, errorCode=0."},
    // A failing give is logged, not retried; the verdict still comes from the read-backs.
    {.name = "SelfTestFailingGiveStillPasses", .faults = {{Op::SemV, 1, -3, 12}}, .call = BSP_CALL(BSP_CpldSelfTest()),
     .trace = "P12/2 " + pat("2") + " " + pat("24a") + " V12!-3", .log = "2:Test cpld fail, ret=0, errorCode=-3."},
    {.name = "SelfTestOneFailingGiveStillPasses", .faults = {{Op::SemV, 1, -3, 12}},
     .call = BSP_CALL(BSP_CpldSelfTestByOne(0)), .trace = "P12/2 " + pat("2") + " V12!-3",
     .log = "2:Test cpld fail, ret=0, errorCode=-3."},
    // A failed step is logged and the test goes on to the end; the last read has its own line.
    {.name = "SelfTestOneFailedStepsAreLoggedAndItRunsOn",
     .faults = {{Op::LocalBusWrite, 1, -1, 0x24A}, {Op::LocalBusRead, 1, -1, 0x24A, 1}},
     .call = BSP_CALL(BSP_CpldSelfTestByOne(1)), .out = "err",
     .trace = "P12/2 wr 24a=aa!-1 delay 50 rd 24a=ff wr 24a=55 delay 50 rd 24a=00!-1 V12",
     .log = "0:write add :24a  data: aa cpld error. | 2:Test cpld fail, ret=-1. | 0:read cpld byte error. | "
            "2:Test cpld fail, ret=-1, errorCode=0."},
    // A fault at the very first check equals the initial 0: nothing is logged.
    {.name = "HealthLowNibbleIsAFault", .regs = {{0xFB, 0x01}}, .call = HEALTH, .out = "0", .trace = "rd fb=01"},
    {.name = "HealthHighNibbleIsAFaultOn5820", .board = 0x0A, .regs = {{0xFB, 0x10}},
     .call = [](B &b) { return bsptest::joined({HEALTH(b), (b.set_reg(0xFB, 0), HEALTH(b))}); }, .out = "0, 1",
     .trace = "rd fb=10 rd fb=00", .log = health_line("0xff", 0, 1, "0x0")},
    {.name = "HealthMiddleBoardWithoutReading", .board = 0x2D, .regs = {{0xFB, 0xFF}}, .call = HEALTH, .out = "1"},
    {.name = "HealthChanges", .call = health_changes, .out = "11001010",
     .trace = "rd fb=00 rd fb=00 rd fb=03 rd fb=03 rd fb=20 rd fb=0f rd fb=00!-1 rd fb=0f",
     .log = health_line("0xf", 0, 1, "0x0") + " | " + health_line("0xf", 1, 0, "0x3") + " | " +
            health_line("0xf", 0, 1, "0x20") + " | " + health_line("0xf", 1, 0, "0xf") +
            " | 0:read cpld byte error. | 0:Read cpld(0xfb) fail, ret = -1."},
    {.name = "VendorCodes", .call = vendor_codes,
     .out = "Lattice pango, Undentified Anlu, Anlu Anlu, pango Undentified",
     .trace = "rd 1d5=99 rd 2e0=55 rd 1d5=12 rd 2e0=00 rd 1d5=66 rd 2e0=00 rd 1d5=55 rd 2e0=ff"},
    // The byte is shared: a failed read of CPLD 1 shows CPLD 0's vendor again, and a failed
    // read of CPLD 0 leaves the initial 0, which names Anlu.
    {.name = "VendorsFailedSecondReadRepeatsFirst", .faults = {{Op::LocalBusRead, 1, -1, 0x2E0}}, .call = vendors<32>,
     .out = "Lattice Lattice", .trace = "rd 1d5=99 rd 2e0=00!-1", .log = "0:read cpld byte error."},
    {.name = "VendorsFailedFirstReadIsAnlu", .faults = {{Op::LocalBusRead, 1, -1, 0x1D5}}, .call = vendors<32>,
     .out = "Anlu pango", .trace = "rd 1d5=00!-1 rd 2e0=55", .log = "0:read cpld byte error."},
    {.name = "VendorsExactFit", .call = vendors<15>, .out = "Lattice pango", .trace = "rd 1d5=99 rd 2e0=55"},
    {.name = "VendorsCutByOne", .call = vendors<14>, .out = "Lattice pang", .trace = "rd 1d5=99 rd 2e0=55",
     .log = "0:BSP: snprintf Lattice and pango to CPLD str failed, result = -1."},
    {.name = "ChipIdsOfTheDriverAndBadArguments", .call = chip_ids,
     .out = "err err err ok err 612bd043 42b899 00 00 00 00", .trace = "cpldid 1=2",
     .log = "0:Input para err, cpldId(0) | 0:Input para err, cpldId(2) | 0:Input para err, cpldId(0) | " +
                                   kIdsLine + "0. | 0:Input para err, cpldId(1)"},
    {.name = "ChipIdCountMismatch", .setup = [](B &b) { b.set_cpld_ids({0x612BD043, 0x0042B899, 0x03004C37}); },
     .call = CHIP_ID, .out = "err", .trace = "cpldid 0=3",
     .log = "0:Cpld num is out of range, get cnt(3), fact cnt(2)"},
    // Room for one id only: the bounded copy refuses, and its code is the result.
    {.name = "ChipIdSmallBuffer", .call = BSP_CALL(BSP_GetCpldChipId(reinterpret_cast<uint32_t *>(g), 4, 2, 0)),
     .out = "34", .trace = "cpldid 0=2", .log = kIdsLine + "34."},
    // The CPLD driver's calls: ten tries, a second after each failed one.
    {.name = "ChipIdTenthTry", .faults = {{Op::CpldGetId, 9, -5}}, .call = CHIP_ID,
     .trace = times(9, "cpldid 0=0!-5 delay 1000") + " cpldid 0=2", .log = kIdsLine + "0."},
    {.name = "ChipIdAllTenFail", .faults = {{Op::CpldGetId, 10, -5}}, .call = CHIP_ID, .out = "-5",
     .trace = times(10, "cpldid 0=0!-5 delay 1000"), .log = "0:Get cpld chip id failed, ret(-5)"},
    {.name = "UpgNumFourthTry", .faults = {{Op::CpldSetNum, 3, -5}}, .call = BSP_CALL(BSP_SetCpldUpgNum(2)),
     .trace = times(3, "cpldnum 2!-5 delay 1000") + " cpldnum 2"},
    {.name = "UpgNumAllTenFail", .faults = {{Op::CpldSetNum, 10, -5}}, .call = BSP_CALL(BSP_SetCpldUpgNum(2)),
     .out = "-5", .trace = times(10, "cpldnum 2!-5 delay 1000"), .log = "0:Set upgrade num failed(-5)"},
    // An unknown id keeps its entry, spoils the result, and the walk goes on.
    {.name = "ChipTypes", .call = [](B &) {
         return calls({BSP_CovertCpldType(kTypeIds, g, 5), BSP_CovertCpldType(kTypeIds + 5, g + 5, 2),
                       BSP_CovertCpldType(nullptr, nullptr, 0)}, 7);
     }, .out = "ok err ok 00 00 01 02 02 ee 01",
     .log = "1:Cpld(0) is anlu | 1:Cpld(1) is anlu | 1:Cpld(2) is lattice | 1:Cpld(3) is pango | "
            "1:Cpld(4) is pango | 0:Invalid cpld chip id(305419896) | 1:Cpld(1) is lattice"},
};

BSP_CASES(Inventory, CpldCall, kInventory);

using FreshBoard = bsptest::SimTest;

// Unlike a missing row, an unreadable board id is not the end: the device answers again.
TEST_F(FreshBoard, CpldCountWithUnreadableBoardId)
{
    sim().fail(Op::DevOpen, 1);
    uint8_t num[2] = {0x77, 0x77};
    EXPECT_EQ(BSP_GetCpldNum(num), kErr);
    EXPECT_EQ(log_line(),
              "0:Error: open sys_info dev fail | 0:BSP: Get Bmc BoardId Failed for getting cpld num, Ret=0xffffffff");
    EXPECT_EQ(BSP_GetCpldNum(num + 1), 0u);
    EXPECT_EQ(num[0] << 8 | num[1], 0x0002);
}

}  // namespace
