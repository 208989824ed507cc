// CPLD register access: the four hubs every family reads and writes the CPLD through, the
// local-bus and SPI paths behind them, and the thin users of the hubs (interrupts, factory
// mode, serial-data validity, debounced reads); the CPLD RAM behind its address/data
// registers; and the CPLD inventory: count, self tests, health, vendors and chip ids.
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "bmc_bsp.h"
#include "core/boards.h"
#include "core/cache.h"
#include "core/cpld_regs.h"
#include "core/log.h"
#include "core/retry.h"
#include "core/sem_guard.h"
#include "core/status.h"
#include "platform/bus.h"
#include "platform/cpld_drv.h"
#include "platform/dfl.h"
#include "platform/securec.h"
#include "platform/vos.h"

namespace {

// The mask of bit `bit`; the direct paths do not check their bit, and a shift by 32 or more is
// undefined, so such a bit has no mask (as bits 8 to 31 have none in a byte).
constexpr uint32_t bit_of(uint32_t bit) { return bit < 32 ? 1u << bit : 0u; }

using bsp::kErr;
using bsp::kLogError;
using bsp::kLogNotice;
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

// Noisy registers that BSP_ReadCpldByteForTdm debounces: the SMM-online and controller-presence
// registers, and a range.
constexpr uint32_t kTdmFirstRangeReg = 0x1D2;
constexpr uint32_t kTdmLastRangeReg = 0x1D9;

bool debounced_register(uint32_t addr)
{
    return addr == bsp::kSmmOnlineReg || addr == bsp::kCtrlPresenceReg ||
           (addr >= kTdmFirstRangeReg && addr <= kTdmLastRangeReg);
}

// The SPI retry wrappers: up to five attempts, 10 ms after every failure.
template <typename Once>
uint32_t spi_retry(Once once)
{
    return bsp::retry_with_delay(kSpiAttempts, kSpiRetryDelayMs, once);
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
    LocalBusRequest req = lb_request(1, addr, 1, bit_of(bit) & 0xFFu, out);
    if (local_bus_read(&req) != 0) {
        BSP_LOG(kLogError, "read cpld error.");
        return kErr;
    }
    return kOk;
}

uint32_t BSP_LbWriteCpldBit(uint32_t addr, uint32_t bit, uint8_t value)
{
    LocalBusRequest req = lb_request(1, addr, 1, bit_of(bit), &value);
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
    // The byte goes through a local: a null `out` must be refused before the bus, not written.
    if (out == nullptr) return kErr;
    uint8_t byte = 0;
    uint32_t ret = BSP_SpiReadCpldByte(addr, &byte);
    if (ret != kOk) return ret;
    *out = static_cast<uint8_t>((byte & bit_of(bit)) != 0);
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
    return static_cast<uint32_t>(dfl_chip_bytewrite("cpld1", addr, static_cast<uint8_t>(bit_of(bit) & 0xFFu), &b));
}

uint32_t BSP_SpiReadCpldBytes(uint32_t addr, uint32_t len, uint8_t *out)
{
    return spi_retry([&] { return BSP_SpiReadCpldBytesOnce(addr, len, out); });
}

uint32_t BSP_SpiReadCpldBit(uint32_t addr, uint32_t bit, uint8_t *out)
{
    if (out == nullptr) return kErr;  // no retry, no delay: nothing was tried
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
    auto updated = static_cast<uint8_t>((byte & ~bit_of(bit)) ^ bit_of(bit) * value);
    std::fputs("Note: This method is only used for writting cpldbit in debug.\r", stdout);
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

/* ------------------------------------------------------------------------ CPLD RAM */

namespace {

// The RAM is reached through a window of three registers: the address (low 8 bits, then the
// high 5 bits) and the data byte at that address.
constexpr uint32_t kRamAddrLoReg = 0xBA;
constexpr uint32_t kRamAddrHiReg = 0xBB;
constexpr uint32_t kRamDataReg = 0xBC;
constexpr uint32_t kRamAddrHiMask = 0x1F;

// The part of the RAM the library keeps its records in; ranges must end inside it.
constexpr uint32_t kRamFirst = 0xC700;
constexpr uint32_t kRamLast = 0xDBFF;
constexpr uint32_t kRamEnd = kRamLast + 1;

// The bit operations let the window settle after each address write.
constexpr uint32_t kRamBitSettleMs = 5;

// Semaphore 29 for one RAM sequence; BSP_MutexV gives it back. A failed take is logged here,
// in the caller's words when they differ.
class RamLock : public bsp::SemGuard {
public:
    explicit RamLock(const char *take_failed = "get BMC_MUTEX_IPC_CPLD_RAM fail.")
        : SemGuard(bsp::kSemCpldRam, BSP_MutexV)
    {
        if (!held()) BSP_LOG(kLogError, "%s", take_failed);
    }
};

// Points the window at `addr` (only its low 13 bits reach the CPLD); stops at the first failed
// write, which the hub has logged.
uint32_t select_ram_addr(uint32_t addr, uint32_t settle_ms = 0)
{
    if (BSP_WriteCpldByte(kRamAddrLoReg, static_cast<uint8_t>(addr & 0xFFu)) != kOk) return kErr;
    if (settle_ms != 0) vos_task_delay(settle_ms);
    if (BSP_WriteCpldByte(kRamAddrHiReg, static_cast<uint8_t>((addr >> 8) & kRamAddrHiMask)) != kOk) return kErr;
    if (settle_ms != 0) vos_task_delay(settle_ms);
    return kOk;
}

// The two range transfers differ only in the direction of the data byte and its log text.
uint32_t ram_write_byte(const uint8_t *byte) { return BSP_WriteCpldByte(kRamDataReg, *byte); }
uint32_t ram_read_byte(uint8_t *byte) { return BSP_ReadCpldBytes(kRamDataReg, 1, byte); }

template <typename Byte>
uint32_t ram_range(uint16_t addr, Byte *data, uint32_t len, uint32_t (*transfer)(Byte *), const char *fail_fmt)
{
    if (data == nullptr) return kErr;
    // Widened so that no length can wrap the end back into the RAM.
    if (uint64_t{addr} + len > kRamEnd) return kErr;
    RamLock lock;
    if (!lock.held()) return kErr;
    // The semaphore is held for the whole range: no other process's access interleaves.
    for (uint32_t i = 0; i < len; ++i) {
        uint32_t at = addr + i;
        if (select_ram_addr(at) != kOk) return kErr;
        if (transfer(&data[i]) != kOk) {
            BSP_LOG(kLogError, fail_fmt, at);
            return kErr;
        }
    }
    return kOk;
}

}  // namespace

extern "C" {

void BSP_MutexV(void)
{
    if (BMC_ProcessMutexSem_V(bsp::kSemCpldRam) != 0) BSP_LOG(kLogError, " BMC_MUTEX_IPC_CPLD_RAM v fail.");
}

void BSP_SetCpldRam(uint16_t addr, uint8_t value)
{
    RamLock lock;
    if (!lock.held()) return;
    if (select_ram_addr(addr) != kOk) return;
    if (BSP_WriteCpldByte(kRamDataReg, value) != kOk) BSP_LOG(kLogError, "%s: error at (line:%d)", __func__, __LINE__);
}

void BSP_GetCpldRam(uint16_t addr, uint8_t *value)
{
    if (value == nullptr) return;
    uint8_t byte = 0;
    uint32_t ret = kErr;
    {
        RamLock lock;
        if (!lock.held()) return;
        if (select_ram_addr(addr) != kOk) return;
        ret = BSP_ReadCpldBytes(kRamDataReg, 1, &byte);
        if (ret != kOk) BSP_LOG(kLogError, "%s: error at (line:%d)", __func__, __LINE__);
    }
    // Handed over only once the semaphore is back.
    if (ret == kOk) *value = byte;
}

uint32_t BSP_SetCpldRamBytes(uint16_t addr, const uint8_t *data, uint32_t len)
{
    return ram_range(addr, data, len, ram_write_byte, "Set cpldram 0x%x failed");
}

uint32_t BSP_GetCpldRamBytes(uint16_t addr, uint8_t *data, uint32_t len)
{
    return ram_range(addr, data, len, ram_read_byte, "Get cpldram 0x%x failed");
}

uint32_t BSP_SetCpldRamBit(uint16_t addr, uint8_t bit, uint8_t value)
{
    if (bit >= kBitsPerReg || value > 1) {
        BSP_LOG(kLogError, "Input para out of range.");
        return kErr;
    }
    // Capital G here, unlike its siblings: the line has always read so.
    RamLock lock("Get BMC_MUTEX_IPC_CPLD_RAM fail.");
    if (!lock.held()) return kErr;
    if (select_ram_addr(addr, kRamBitSettleMs) != kOk) return kErr;
    if (BSP_WriteCpldBit(kRamDataReg, bit, value) != kOk) {
        BSP_LOG(kLogError, "Write Cpld ram addr(0x%02x) bit(%d) value(%d) failed", addr, bit, value);
        return kErr;
    }
    return kOk;
}

uint32_t BSP_GetCpldRamBit(uint16_t addr, uint8_t bit, uint8_t *value)
{
    if (value == nullptr) return kErr;
    if (bit >= kBitsPerReg) {
        BSP_LOG(kLogError, "Input para out of range.");
        return kErr;
    }
    uint8_t b = 0;
    {
        RamLock lock;
        if (!lock.held()) return kErr;
        if (select_ram_addr(addr, kRamBitSettleMs) != kOk) return kErr;
        if (BSP_ReadCpldBit(kRamDataReg, bit, &b) != kOk) {
            BSP_LOG(kLogError, "Read Cpld ram addr(0x%02x) bit(%d) failed", addr, bit);
            return kErr;
        }
    }
    *value = b;
    return kOk;
}

uint32_t BSP_ClearCpldRamData(uint16_t addr, uint32_t len)
{
    uint32_t first = addr;
    if (len == 0) {
        // Reported as an empty range whose end lies below its start.
        BSP_LOG(kLogNotice, "Clear cpld ram data from 0x%x to 0x%x.", first, first - 1);
        return kOk;
    }
    if (first < kRamFirst || first > kRamLast) return kErr;
    // Byte by byte, each under the semaphore on its own: other processes may interleave, and
    // a failed byte is only logged by BSP_SetCpldRam.
    for (uint32_t i = 0; i < len; ++i) {
        uint32_t at = first + i;
        if (at >= kRamEnd) return kErr;  // what lies below the end stays cleared
        BSP_SetCpldRam(static_cast<uint16_t>(at), 0);
    }
    BSP_LOG(kLogNotice, "Clear cpld ram data from 0x%x to 0x%x.", first, first + len - 1);
    return kOk;
}

}  // extern "C"

/* ---------------------------------------------------------------- upgrade state */

extern "C" {

uint32_t BSP_IsCpldUpgrading(uint8_t *state)
{
    // Callers only look at `state`, which stays as it was when the framework cannot answer.
    if (state == nullptr) return kOk;
    OBJ_HANDLE upgrade = 0;
    if (int32_t ret = dfl_get_object_handle("Upgrade", &upgrade); ret != 0) {
        BSP_LOG(kLogError, "Get obj handle err[%d]", ret);
        return kOk;
    }
    GVariant *value = nullptr;
    int32_t ret = dfl_get_property_value(upgrade, "CpldUpgState", &value);
    // A value that is missing or not a byte is no answer either.
    if (ret == 0 && (value == nullptr || !g_variant_is_of_type(value, G_VARIANT_TYPE_BYTE))) ret = -1;
    if (ret != 0) {
        BSP_LOG(kLogError, "Get property value failed[%d]", ret);
    } else {
        *state = g_variant_get_byte(value);
    }
    if (value != nullptr) g_variant_unref(value);
    return kOk;
}

}  // extern "C"

/* =================================================================== CPLD inventory and health
 * How many CPLDs the board has, whether they answer (write/read-back self tests), whether they
 * are healthy, who made them, and how many CPLDs the platform's CPLD driver will upgrade. */

namespace {
namespace inventory {

using bsp::kErr;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kLogTrace;
using bsp::kOk;

// The CPLD count of this board; 0xFF until a lookup succeeds, and again after one fails.
bsp::CachedValue<uint8_t, 0xFF> g_cpld_num;
// The last health verdict handed out (1 healthy, 0 faulty); 0 at load, so the first healthy
// answer is logged as a change.
std::atomic<uint8_t> g_last_health{0};

// The register each CPLD's self test writes and reads back, CPLD 0..2.
constexpr size_t kSelfTestCplds = 3;
constexpr std::array<uint32_t, kSelfTestCplds> kSelfTestRegs = {0x002, 0x24A, 0x00A};
constexpr std::array<uint32_t, kSelfTestCplds> kSelfTestRegs5820 = {0x002, 0x00A, 0x24A};
constexpr uint32_t kSelfTestDefaultReg = 0x002;
// The test register answers the complement of the last write.
constexpr uint8_t kPatternFirst = 0xAA;
constexpr uint8_t kPatternSecond = 0x55;
constexpr uint32_t kSelfTestSettleMs = 50;
// A self test that cannot get the lock within this many seconds is skipped.
constexpr int32_t kSelfTestSemWaitS = 2;

constexpr uint32_t kHealthReg = 0xFB;
constexpr uint8_t kHealthMask = 0x0F;
constexpr uint8_t kHealthMask5820 = 0xFF;

// Vendor code registers of CPLD 0 and CPLD 1, and the names of the codes, searched in order.
constexpr std::array<uint32_t, 2> kVendorRegs = {0x1D5, 0x2E0};
struct VendorCode {
    uint8_t value;
    const char *name;
};
constexpr std::array<VendorCode, 4> kVendorCodes = {{
    {0x00, "Anlu"},
    {0x66, "Anlu"},
    {0x99, "Lattice"},
    {0x55, "pango"},
}};
constexpr const char *kVendorUnknown = "Undentified";
constexpr const char *kVendorOfZero = "Anlu";

// Device ids the CPLD driver reports, and the vendor code (0 Anlu, 1 Lattice, 2 pango) each
// stands for.
struct ChipVendor {
    uint32_t id;
    uint8_t code;
    const char *log_name;  // as "Cpld(%d) is %s" names it
};
constexpr std::array<ChipVendor, 5> kChipVendors = {{
    {0x03004C37, 0, "anlu"},
    {0x00008C3B, 0, "anlu"},
    {0x612BD043, 1, "lattice"},
    {0x0042B899, 2, "pango"},
    {0x0042A899, 2, "pango"},
}};

constexpr uint8_t kIdRequestKind = 3;
constexpr size_t kMaxDriverIds = sizeof(CpldIdRequest::ids) / sizeof(CpldIdRequest::ids[0]);
constexpr int kDriverAttempts = 10;
constexpr uint32_t kDriverRetryMs = 1000;

// The CPLD driver's calls: up to ten attempts, a second's wait after every failed one.
template <typename Call>
int32_t driver_retry(Call call)
{
    return bsp::retry_with_delay(kDriverAttempts, kDriverRetryMs, call);
}

// The read-backs of one self-test pattern and the status of each of its four bus steps
// (write, read, write, read).
struct PatternResult {
    uint8_t first = 0;
    uint8_t second = 0;
    std::array<uint32_t, 4> steps{};
};

// Writes the two patterns to `addr`, each followed by a settling wait and a read-back.
// `on_step_error(status)` hears about a failure of any step but the last, as it happens.
template <typename OnStepError>
PatternResult run_pattern(uint32_t addr, OnStepError on_step_error)
{
    PatternResult r;
    auto step = [&](size_t i, uint32_t status) {
        r.steps[i] = status;
        if (status != kOk && i + 1 < r.steps.size()) on_step_error(status);
    };
    step(0, BSP_WriteCpldByte(addr, kPatternFirst));
    vos_task_delay(kSelfTestSettleMs);
    step(1, BSP_ReadCpldBytes(addr, 1, &r.first));
    step(2, BSP_WriteCpldByte(addr, kPatternSecond));
    vos_task_delay(kSelfTestSettleMs);
    step(3, BSP_ReadCpldBytes(addr, 1, &r.second));
    return r;
}

bool pattern_passed(uint8_t first, uint8_t second)
{
    return first == static_cast<uint8_t>(~kPatternFirst) && second == static_cast<uint8_t>(~kPatternSecond);
}

}  // namespace inventory
}  // namespace

extern "C" {

uint32_t BSP_GetCpldNum(uint8_t *num)
{
    using namespace inventory;
    if (num == nullptr) {
        BSP_LOG(kLogError, "Input CPLD num buffer is null");
        return kErr;
    }
    if (g_cpld_num.known()) {
        *num = g_cpld_num.get();
        return kOk;
    }
    uint8_t board_id = bsp::kUnknownBoardId;
    uint32_t ret = BSP_GetBmcBoardId(&board_id);
    if (ret != kOk) {
        *num = 0;
        g_cpld_num.set(0xFF);
        BSP_LOG(kLogError, "BSP: Get Bmc BoardId Failed for getting cpld num, Ret=0x%x", ret);
        return kErr;
    }
    // The counts are those of the logic version register table.
    uint32_t rows = BSP_GetSizeOfLogicVerRegTable();
    for (uint32_t row = 0; row < rows; ++row) {
        if (BSP_GetBoardIdOfLogicVerRegTable(row) != board_id) continue;
        *num = BSP_GetCpldNumOfLogicVerRegTable(row);
        g_cpld_num.set(*num);
        return kOk;
    }
    *num = 0;
    g_cpld_num.set(0xFF);
    BSP_LOG(kLogError, "BSP: Get cpld num fail. BoardId:0x%x", board_id);
    return kErr;
}

uint32_t BSP_GetSelfTestCpldAddr(uint8_t cpldId, uint32_t *addr)
{
    using namespace inventory;
    if (addr == nullptr || cpldId >= kSelfTestCplds) {
        BSP_LOG(kLogError, "Get cpldreg self test addr cpldId %d is out of range.", cpldId);
        return kErr;
    }
    *addr = BSP_Is58204U4CBoard() ? kSelfTestRegs5820[cpldId] : kSelfTestRegs[cpldId];
    return kOk;
}

uint32_t BSP_CpldSelfTest(void)
{
    using namespace inventory;
    uint8_t count = kSelfTestCplds;
    uint32_t addr = kSelfTestDefaultReg;
    std::array<uint8_t, kSelfTestCplds> first{};
    std::array<uint8_t, kSelfTestCplds> second{};
    {
        bsp::SemGuard sem(bsp::kSemCpldSelfTest, kSelfTestSemWaitS);
        // A busy lock is another process testing right now, not a CPLD fault.
        if (!sem.held()) return kOk;
        uint32_t ret = BSP_GetCpldNum(&count);
        if (ret != kOk) {
            BSP_LOG(kLogError, "Get CPLD Number fail![%d]", static_cast<int32_t>(ret));
            return kOk;
        }
        uint32_t loop_status = kOk;
        for (uint8_t i = 0; i < count && i < kSelfTestCplds; ++i) {
            // A failed lookup keeps the previous address; the step fails anyway.
            uint32_t status = BSP_GetSelfTestCpldAddr(i, &addr);
            PatternResult r = run_pattern(addr, [](uint32_t) {});
            first[i] = r.first;
            second[i] = r.second;
            for (uint32_t s : r.steps) status |= s;
            loop_status = status;
            if (status != kOk) break;
        }
        int32_t give = sem.release();
        if (loop_status != kOk || give != 0) {
            BSP_LOG(kLogTrace, "Test cpld fail, ret=%d, errorCode=%d.", static_cast<int32_t>(loop_status), give);
        }
    }
    // The verdict looks only at the read-backs: a CPLD the loop never reached fails.
    for (uint8_t i = 0; i < count; ++i) {
        if (i >= kSelfTestCplds || !pattern_passed(first[i], second[i])) return kErr;
    }
    return kOk;
}

uint32_t BSP_CpldSelfTestByOne(uint8_t cpldId)
{
    using namespace inventory;
    uint32_t addr = kSelfTestDefaultReg;
    if (BSP_GetSelfTestCpldAddr(cpldId, &addr) != kOk) return kErr;
    PatternResult r;
    {
        bsp::SemGuard sem(bsp::kSemCpldSelfTest, kSelfTestSemWaitS);
        if (!sem.held()) return kOk;
        r = run_pattern(addr, [](uint32_t status) {
            BSP_LOG(kLogTrace, "Test cpld fail, ret=%d.", static_cast<int32_t>(status));
        });
        int32_t give = sem.release();
        uint32_t last = r.steps.back();
        if (last != kOk || give != 0) {
            BSP_LOG(kLogTrace, "Test cpld fail, ret=%d, errorCode=%d.", static_cast<int32_t>(last), give);
        }
    }
    return pattern_passed(r.first, r.second) ? kOk : kErr;
}

uint32_t BSP_CpldBorCIsHealth(void)
{
    using namespace inventory;
    if (BSP_IsMiddleBoard() || BSP_IsManuVersion()) return 1;
    uint8_t value = 0xFF;
    uint32_t ret = BSP_ReadCpldBytes(kHealthReg, 1, &value);
    if (ret != kOk) {
        // Not knowing is never reported as a fault.
        BSP_LOG(kLogError, "Read cpld(0x%x) fail, ret = %d.", kHealthReg, static_cast<int32_t>(ret));
        return 1;
    }
    uint8_t mask = BSP_Is58204U4CBoard() ? kHealthMask5820 : kHealthMask;
    uint8_t health = (value & mask) == 0 ? 1 : 0;
    uint8_t last = g_last_health.load(std::memory_order_relaxed);
    if (health != last) {
        // The first placeholder has always printed the mask; log readers know it so.
        BSP_LOG(kLogNotice,
                "Health status of cpld(0x%x) change from %d to %d, reg[0x%x]=0x%x, modules of iocard and disk will "
                "stop routine if the cpld is fault.",
                mask, last, health, kHealthReg, value);
    }
    g_last_health.store(health, std::memory_order_relaxed);
    return health;
}

void BSP_Get5830CPLDTypeStr(uint8_t size, char *buf)
{
    using namespace inventory;
    if (buf == nullptr || size == 0) return;
    std::array<const char *, 2> names = {kVendorUnknown, kVendorUnknown};
    // One byte serves both reads, so a failed read of CPLD 1 shows CPLD 0's code.
    uint8_t code = 0;
    for (size_t i = 0; i < kVendorRegs.size(); ++i) {
        (void)BSP_ReadCpldBytes(kVendorRegs[i], 1, &code);
        for (const VendorCode &v : kVendorCodes) {
            if (v.value == code) names[i] = v.name;
        }
        if (code == 0) names[i] = kVendorOfZero;
    }
    size_t cap = static_cast<size_t>(size - 1);
    int rc = snprintf_s(buf, cap, cap, "%s %s", names[0], names[1]);
    if (rc < 0) {
        BSP_LOG(kLogError, "BSP: snprintf %s and %s to CPLD str failed, result = %d.", names[0], names[1], rc);
    }
}

uint32_t BSP_GetCpldChipId(uint32_t *ids, uint32_t idsSize, uint8_t cpldNum, uint8_t cpldId)
{
    using namespace inventory;
    // The driver's record holds at most six ids.
    if (idsSize == 0 || cpldId >= cpldNum || ids == nullptr || cpldNum > kMaxDriverIds) {
        BSP_LOG(kLogError, "Input para err, cpldId(%d)", cpldId);
        return kErr;
    }
    CpldIdRequest req;
    std::memset(&req, 0, sizeof req);
    req.kind = kIdRequestKind;
    req.index = cpldId;
    int32_t rc = driver_retry([&] { return cpld_get_id(&req); });
    if (rc != 0) {
        BSP_LOG(kLogError, "Get cpld chip id failed, ret(%d)", rc);
        return static_cast<uint32_t>(rc);
    }
    if (req.count != cpldNum) {
        BSP_LOG(kLogError, "Cpld num is out of range, get cnt(%d), fact cnt(%d)", req.count, cpldNum);
        return kErr;
    }
    int cp = memcpy_s(ids, idsSize, req.ids, static_cast<size_t>(cpldNum) * sizeof req.ids[0]);
    BSP_LOG(kLogNotice, "Cpld0 devicedId(0x%x), cpld1 devicedId(0x%x), ret=%d.", req.ids[0], req.ids[1], cp);
    return static_cast<uint32_t>(cp);
}

uint32_t BSP_CovertCpldType(const uint32_t *ids, uint8_t *types, uint8_t count)
{
    using namespace inventory;
    if (count == 0) return kOk;
    if (ids == nullptr || types == nullptr) return kErr;
    uint32_t result = kOk;
    for (uint8_t i = 0; i < count; ++i) {
        const ChipVendor *match = nullptr;
        for (const ChipVendor &c : kChipVendors) {
            if (c.id == ids[i]) {
                match = &c;
                break;
            }
        }
        if (match == nullptr) {
            // An unknown id keeps the caller's value and spoils the result, not the walk.
            BSP_LOG(kLogError, "Invalid cpld chip id(%d)", static_cast<int32_t>(ids[i]));
            result = kErr;
            continue;
        }
        types[i] = match->code;
        BSP_LOG(kLogNotice, "Cpld(%d) is %s", i, match->log_name);
    }
    return result;
}

uint32_t BSP_SetCpldUpgNum(uint32_t num)
{
    using namespace inventory;
    int32_t rc = driver_retry([&] { return cpld_set_num(num); });
    if (rc != 0) {
        BSP_LOG(kLogError, "Set upgrade num failed(%d)", rc);
        return static_cast<uint32_t>(rc);
    }
    return kOk;
}

}  // extern "C"
