// CPLD register access: the four hubs every family reads and writes the CPLD through, the
// local-bus and SPI paths behind them, and the thin users of the hubs (interrupts, factory
// mode, serial-data validity, debounced reads).
#include <array>
#include <cstdio>
#include <string_view>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/bus.h"
#include "platform/dfl.h"
#include "platform/vos.h"

namespace {

using bsp::kErr;
using bsp::kLogError;
using bsp::kLogTrace;
using bsp::kOk;

constexpr uint32_t kCpldRegCount = 1024;
constexpr uint32_t kBitsPerReg = 8;

constexpr uint32_t kSpiBus = 1;
constexpr uint32_t kSpiDevice = 1;
constexpr uint8_t kSpiCmdRead = 0x03;
constexpr uint8_t kSpiCmdWrite = 0x02;
constexpr int kSpiAttempts = 5;
constexpr uint32_t kSpiRetryDelayMs = 10;

constexpr uint32_t kFactoryModeReg = 0x56;
constexpr std::array<uint32_t, 2> kIntMaskRegs = {0xC0, 0xC1};
constexpr uint32_t kIntClearDelayMs = 5;
constexpr uint32_t kSerialValidityReg = 0x1AC;
constexpr uint8_t kSerialChannels = 4;

constexpr uint32_t kTdmSampleDelayMs = 3;
constexpr int kTdmMaxExtraReads = 50;

enum class Path { LocalBus, Spi };

// Decided afresh at every call: SMM boards always use the local bus; other boards use SPI when
// the CPLD object hangs off the SPI controller, or on the board that has no local bus to it.
Path choose_path()
{
    if (BSP_IsSmmBoard()) return Path::LocalBus;
    if (BSP_UseSpi2Cpld() == 1 || BSP_Is58304u2pBoard()) return Path::Spi;
    return Path::LocalBus;
}

bool debounced_register(uint32_t addr) { return addr == 0x29 || addr == 0x33 || (addr >= 0x1D2 && addr <= 0x1D9); }

// The SPI retry wrappers share one shape: up to five attempts, 10 ms after every failure.
template <typename Once>
uint32_t spi_retry(Once once)
{
    uint32_t ret = kErr;
    for (int attempt = 0; attempt < kSpiAttempts; ++attempt) {
        ret = once();
        if (ret == kOk) return kOk;
        vos_task_delay(kSpiRetryDelayMs);
    }
    return ret;
}

LocalBusRequest lb_request(uint32_t mode, uint32_t addr, uint32_t len, uint32_t mask, uint8_t *data)
{
    LocalBusRequest req{};
    req.mode = mode;
    req.addr = addr;
    req.len = len;
    req.mask = mask;
    req.data = data;
    return req;
}

}  // namespace

extern "C" {

/* ------------------------------------------------------------------ local-bus path */

uint32_t BSP_LbReadCpldBytes(uint32_t addr, uint32_t len, uint8_t *out)
{
    LocalBusRequest req = lb_request(0, addr, len, 0, out);
    if (local_bus_read(&req) != 0) {
        BSP_LOG(kLogError, "read cpld byte error.");
        return kErr;
    }
    return kOk;
}

uint32_t BSP_LbWriteCpldByte(uint32_t addr, uint8_t value)
{
    LocalBusRequest req = lb_request(0, addr, 1, 0, &value);
    if (local_bus_write(&req) != 0) {
        BSP_LOG(kLogError, "write add :%x  data: %x cpld error.", addr, value);
        return kErr;
    }
    return kOk;
}

uint32_t BSP_LbReadCpldBit(uint32_t addr, uint32_t bit, uint8_t *out)
{
    LocalBusRequest req = lb_request(1, addr, 1, (1u << bit) & 0xFFu, out);
    if (local_bus_read(&req) != 0) {
        BSP_LOG(kLogError, "read cpld error.");
        return kErr;
    }
    return kOk;
}

uint32_t BSP_LbWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value)
{
    LocalBusRequest req = lb_request(1, addr, 1, 1u << bit, &value);
    if (local_bus_write(&req) != 0) {
        BSP_LOG(kLogError, "write add :%x  data: %x cpld error.", addr, value);
        return kErr;
    }
    return kOk;
}

/* ------------------------------------------------------------------------ SPI path */

uint32_t BSP_SpiReadCpldByte(uint32_t addr, uint8_t *out)
{
    uint8_t cmd[3] = {kSpiCmdRead, static_cast<uint8_t>(addr >> 8), static_cast<uint8_t>(addr)};
    SpiRequest req{};
    req.bus = kSpiBus;
    req.device = kSpiDevice;
    req.cmd = cmd;
    req.cmd_len = sizeof cmd;
    req.rx = out;
    req.rx_len = 1;
    int32_t rc = spi_read(&req);
    if (rc != 0) {
        BSP_LOG(kLogError, "Read cpld(0x%x) byte error(%d).", addr, rc);
        return kErr;
    }
    return kOk;
}

uint32_t BSP_SpiReadCpldBytesOnce(uint32_t addr, uint32_t len, uint8_t *out)
{
    for (uint32_t i = 0; i < len; ++i) {
        if (BSP_SpiReadCpldByte(addr + i, out + i) != kOk) {
            BSP_LOG(kLogError, "Read cpld(0x%x) bytes(len=%d) error.", addr, len);
            return kErr;
        }
    }
    return kOk;
}

uint32_t BSP_SpiReadCpldBitOnce(uint32_t addr, uint32_t bit, uint8_t *out)
{
    uint8_t byte = 0;
    uint32_t ret = BSP_SpiReadCpldByte(addr, &byte);
    if (ret != kOk) return ret;
    *out = static_cast<uint8_t>((byte >> bit) & 1u);
    return kOk;
}

uint32_t BSP_SpiWriteCpldByteOnce(uint32_t addr, uint8_t value)
{
    uint8_t cmd[4] = {kSpiCmdWrite, static_cast<uint8_t>(addr >> 8), static_cast<uint8_t>(addr), value};
    SpiRequest req{};
    req.bus = kSpiBus;
    req.device = kSpiDevice;
    req.cmd = cmd;
    req.cmd_len = sizeof cmd;
    int32_t rc = spi_write(&req);
    if (rc != 0) {
        BSP_LOG(kLogError, "Write to cpld addr(%x) data(%x) error, ret=%d.", addr, value, rc);
        return kErr;
    }
    return kOk;
}

uint32_t BSP_SpiDflWriteCpldBitOnce(uint32_t addr, uint32_t bit, uint8_t value)
{
    OBJ_HANDLE handle = 0;
    int32_t rc = dfl_get_object_handle("cpld1", &handle);
    if (rc != 0) {
        // The chip is written by name below, so a failed lookup only costs the log line.
        BSP_LOG(kLogError, "Get cpld1 obj handle fail, hdl=%d, ret=%d", static_cast<int32_t>(handle), rc);
    }
    uint8_t b = value ? 1 : 0;
    return static_cast<uint32_t>(dfl_chip_bytewrite("cpld1", addr, static_cast<uint8_t>((1u << bit) & 0xFFu), &b));
}

uint32_t BSP_SpiReadCpldBytes(uint32_t addr, uint32_t len, uint8_t *out)
{
    return spi_retry([&] { return BSP_SpiReadCpldBytesOnce(addr, len, out); });
}

uint32_t BSP_SpiReadCpldBit(uint32_t addr, uint32_t bit, uint8_t *out)
{
    return spi_retry([&] { return BSP_SpiReadCpldBitOnce(addr, bit, out); });
}

uint32_t BSP_SpiWriteCpldByte(uint32_t addr, uint8_t value)
{
    return spi_retry([&] { return BSP_SpiWriteCpldByteOnce(addr, value); });
}

uint32_t BSP_SpiDflWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value)
{
    return spi_retry([&] { return BSP_SpiDflWriteCpldBitOnce(addr, bit, value); });
}

uint32_t BSP_SpiWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value)
{
    uint8_t byte = 0;
    if (BSP_SpiReadCpldByte(addr, &byte) != kOk) return kErr;
    // `value` is deliberately not reduced to one bit: this is a debugging aid that writes
    // what it is given.
    auto updated = static_cast<uint8_t>((byte & ~(1u << bit)) ^ (static_cast<uint32_t>(value) << bit));
    std::printf("Note: This method is only used for writting cpldbit in debug.\r\n");
    return BSP_SpiWriteCpldByte(addr, updated);
}

/* ---------------------------------------------------------------------------- hubs */

uint32_t BSP_UseSpi2Cpld(void)
{
    OBJ_HANDLE cpld = 0;
    int32_t rc = dfl_get_object_handle("cpld1", &cpld);
    if (rc != 0) {
        BSP_LOG(kLogError, "Get cpld1 obj handle fail, hdl=%d, ret=%d", static_cast<int32_t>(cpld), rc);
        return 0;
    }
    OBJ_HANDLE bus = 0;
    rc = dfl_get_referenced_object(cpld, "LBus", &bus);
    if (rc != 0) {
        BSP_LOG(kLogTrace, "Get cpld1 refobj(LBus) handle fail, ret=%d", rc);
        return 0;
    }
    const char *name = dfl_get_object_name(bus);
    return (name != nullptr && std::string_view(name) == "spi1") ? 1 : 0;
}

uint32_t BSP_ReadCpldBytes(uint32_t addr, uint32_t len, uint8_t *out)
{
    if (out == nullptr) {
        BSP_LOG(kLogError, "pOut is null.");
        return kErr;
    }
    if (addr >= kCpldRegCount) {
        BSP_LOG(kLogError, "Offset addr(0x%04x) err.", addr);
        return kErr;
    }
    return choose_path() == Path::Spi ? BSP_SpiReadCpldBytes(addr, len, out) : BSP_LbReadCpldBytes(addr, len, out);
}

uint32_t BSP_WriteCpldByte(uint32_t addr, uint8_t value)
{
    if (addr >= kCpldRegCount) {
        BSP_LOG(kLogError, "Offset addr(0x%04x) err.", addr);
        return kErr;
    }
    return choose_path() == Path::Spi ? BSP_SpiWriteCpldByte(addr, value) : BSP_LbWriteCpldByte(addr, value);
}

uint32_t BSP_ReadCpldBit(uint32_t addr, uint32_t bit, uint8_t *out)
{
    if (out == nullptr) return kErr;
    if (addr >= kCpldRegCount) {
        BSP_LOG(kLogError, "Offset addr(0x%04x) err.", addr);
        return kErr;
    }
    if (bit >= kBitsPerReg) {
        BSP_LOG(kLogError, "Input bit_num error.");
        return kErr;
    }
    return choose_path() == Path::Spi ? BSP_SpiReadCpldBit(addr, bit, out) : BSP_LbReadCpldBit(addr, bit, out);
}

namespace {
// The two bit writers check alike and differ only in the SPI function.
uint32_t write_bit(uint32_t addr, uint32_t bit, uint8_t value, uint32_t (*spi_fn)(uint32_t, uint32_t, uint8_t))
{
    if (addr >= kCpldRegCount) {
        BSP_LOG(kLogError, "Offset is out of range.");
        return kErr;
    }
    if (bit >= kBitsPerReg) {
        BSP_LOG(kLogError, "Input bitNum error, bitNum should be 0-7.");
        return kErr;
    }
    return choose_path() == Path::Spi ? spi_fn(addr, bit, value) : BSP_LbWriteCpldBit(addr, bit, value);
}
}  // namespace

uint32_t BSP_WriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value)
{
    return write_bit(addr, bit, value, BSP_SpiDflWriteCpldBit);
}

uint32_t BSP_DegWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value)
{
    return write_bit(addr, bit, value, BSP_SpiWriteCpldBit);
}

/* -------------------------------------------------------------------- hub users */

uint32_t BSP_GetEquipMode(uint8_t *mode)
{
    if (BSP_IsSmmBoard()) {
        // The SMM keeps its factory mode in the fan-board MCU, which reports no status.
        BSP_GetSmmMcuMode(mode);
        return kOk;
    }
    return BSP_ReadCpldBit(kFactoryModeReg, 0, mode);
}

uint32_t BSP_SetEquipMode(uint8_t mode)
{
    if (BSP_IsSmmBoard()) return static_cast<uint32_t>(BSP_SetSmmMcuMode(mode));
    return BSP_WriteCpldBit(kFactoryModeReg, 0, mode);
}

uint8_t BSP_CpldIntRead(uint32_t addr, uint32_t bit)
{
    uint8_t value = 0;
    if (BSP_ReadCpldBit(addr, bit, &value) != kOk) return 0;
    return value;
}

uint32_t BSP_CpldIntClear(uint32_t addr, uint32_t bit)
{
    (void)BSP_WriteCpldBit(addr, bit, 1);
    vos_task_delay(kIntClearDelayMs);
    return BSP_WriteCpldBit(addr, bit, 0);
}

uint32_t BSP_CpldIntMask(void)
{
    (void)BSP_WriteCpldByte(kIntMaskRegs[0], 0xFF);
    return BSP_WriteCpldByte(kIntMaskRegs[1], 0xFF);
}

uint8_t BSP_CpldSerialDataValidityCheck(uint8_t channel)
{
    if (channel >= kSerialChannels) {
        BSP_LOG(kLogError, "Input para put of range(%d)", channel);
        return 0;
    }
    uint8_t value = 0;
    uint32_t ret = BSP_ReadCpldBit(kSerialValidityReg, channel, &value);
    if (ret != kOk) {
        BSP_LOG(kLogError, "Read cpld addr(0x%02x) bit(%d) failed(%d)", kSerialValidityReg, channel,
                static_cast<int32_t>(ret));
        return 0;
    }
    return value;
}

uint32_t BSP_ReadCpldByteForTdm(uint32_t addr, uint32_t len, uint8_t *out)
{
    if (out == nullptr) return kErr;
    if (!debounced_register(addr)) return BSP_ReadCpldBytes(addr, len, out);

    // Three samples in a row must agree; the oldest drops out as a new one comes in.
    std::array<uint8_t, 3> samples{};
    uint32_t ret = kOk;
    for (uint8_t &sample : samples) {
        ret = BSP_ReadCpldBytes(addr, len, out);
        if (ret != kOk) return kErr;
        vos_task_delay(kTdmSampleDelayMs);
        sample = out[0];
    }
    int extra = 0;
    while (!(samples[0] == samples[1] && samples[1] == samples[2])) {
        if (BSP_ReadCpldBytes(addr, len, out) != kOk) return kErr;
        vos_task_delay(kTdmSampleDelayMs);
        samples = {samples[1], samples[2], out[0]};
        // The last extra read gives up without looking at the samples it completed.
        if (++extra >= kTdmMaxExtraReads) return kErr;
    }
    out[0] = samples[2];
    return ret;
}

}  // extern "C"
