// Upgrade control: switching a CPLD into and out of upgrade mode behind its write-protect bit,
// the voltage-regulator upgrade bits, and the per-unit firmware upgrade status bytes that the
// upgrade service keeps in the CPLD RAM so that they survive a restart of the BMC software.
#include <array>
#include <cstdint>
#include <optional>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/vos.h"

extern "C" {

// One row per CPLD. The mode bit can only be written while the write-protect bit is 0.
const CpldUpgradeModeReg g_CpldUpgradeModeRegTbl[BSP_CPLD_UPGRADE_MODE_REG_NUM] = {
    {0, 0x0E9, 0, 0x0EA, 0},
    {1, 0x1D3, 0, 0x1D4, 0},
    {2, 0x0E9, 2, 0x0EA, 2},
};

}  // extern "C"

namespace {

using bsp::kErr;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kOk;

constexpr uint8_t kMaxCpldId = 2;
constexpr int kModeWriteAttempts = 3;
constexpr uint32_t kModeSettleMs = 10;
constexpr uint8_t kWpLifted = 0;
constexpr uint8_t kWpClosed = 1;

// Used when no row names the CPLD: the first CPLD's registers.
const CpldUpgradeModeReg &kDefaultModeRegs = g_CpldUpgradeModeRegTbl[0];

// Voltage regulators 0..7 live in the first register, 8 and up in the second.
constexpr uint32_t kVrmLowReg = 0x1AE;
constexpr uint32_t kVrmHighReg = 0x1AF;
constexpr uint8_t kVrmPerReg = 8;

struct FwStatusArea {
    uint32_t fru_type;
    uint16_t base;
};

// The areas are packed back to back and read by other processes at these very addresses:
// type 0 holds 28 units, type 1 one, types 3 and 5 three each.
constexpr std::array<FwStatusArea, 5> kFwStatusAreas = {{
    {0, 0xD938},
    {1, 0xD954},
    {3, 0xD955},
    {5, 0xD958},
    {6, 0xD95B},
}};

// CPLD RAM address of a unit's status byte; the unit index is the caller's to keep in range.
std::optional<uint16_t> fw_status_address(uint32_t fru_type, uint32_t unit_index)
{
    for (const FwStatusArea &area : kFwStatusAreas) {
        if (area.fru_type == fru_type) return static_cast<uint16_t>(area.base + unit_index);
    }
    return std::nullopt;
}

// The row of `cpld_id` for a switch of the mode: the last row naming it wins.
CpldUpgradeModeReg mode_regs_for_set(uint8_t cpld_id)
{
    CpldUpgradeModeReg regs = kDefaultModeRegs;
    for (const CpldUpgradeModeReg &row : g_CpldUpgradeModeRegTbl) {
        if (row.cpldId == cpld_id) regs = row;
    }
    return regs;
}

// The row of `cpld_id` for a query of the mode: the first row naming it, if any.
const CpldUpgradeModeReg *mode_regs_for_get(uint8_t cpld_id)
{
    for (const CpldUpgradeModeReg &row : g_CpldUpgradeModeRegTbl) {
        if (row.cpldId == cpld_id) return &row;
    }
    return nullptr;
}

uint32_t write_wp(const CpldUpgradeModeReg &regs, uint8_t value)
{
    uint32_t ret = BSP_WriteCpldBit(regs.wpReg, regs.wpBit, value);
    if (ret != kOk) BSP_LOG(kLogError, "BSP: write up_wp_reg(0x%x-bit%d) fail", regs.wpReg, regs.wpBit);
    return ret;
}

}  // namespace

extern "C" {

uint32_t BSP_SetCpldUpgradeMode(uint8_t cpldId, uint8_t mode)
{
    if (cpldId > kMaxCpldId) return kErr;
    const CpldUpgradeModeReg regs = mode_regs_for_set(cpldId);

    if (write_wp(regs, kWpLifted) != kOk) return kErr;

    // A failed read-back leaves the byte as it was: the outcome is judged on what was last
    // actually seen, starting from 0.
    uint8_t read_back = 0;
    for (int attempt = 0; attempt < kModeWriteAttempts; ++attempt) {
        if (BSP_WriteCpldBit(regs.modeReg, regs.modeBit, mode) != kOk) {
            BSP_LOG(kLogError, "BSP: write up_mode_reg(0x%x-bit%d) fail", regs.modeReg, regs.modeBit);
            continue;
        }
        vos_task_delay(kModeSettleMs);
        (void)BSP_ReadCpldBit(regs.modeReg, regs.modeBit, &read_back);
        if (read_back == mode) {
            BSP_LOG(kLogNotice, "Write up_mode_reg(0x%x-bit%d=%d) ok, WpReg(0x%x):bit%d", regs.modeReg, regs.modeBit,
                    mode, regs.wpReg, regs.wpBit);
            break;
        }
    }

    // Whatever became of the mode bit, the protection goes back on.
    if (write_wp(regs, kWpClosed) != kOk) return kErr;

    if (read_back == mode) return kOk;
    BSP_LOG(kLogError, "Write up_mode_reg(0x%x-bit%d=%d) fail, WpReg(0x%x):bit%d", regs.modeReg, regs.modeBit, mode,
            regs.wpReg, regs.wpBit);
    return kErr;
}

uint32_t BSP_GetCpldUpgradeMode(uint8_t cpldId, uint8_t *mode)
{
    if (mode == nullptr || cpldId > kMaxCpldId) {
        BSP_LOG(kLogError, "BSP: pUpgradeMode is null or CpldDevId(%d) is out of range", cpldId);
        return kErr;
    }
    const CpldUpgradeModeReg *regs = mode_regs_for_get(cpldId);
    if (regs == nullptr) {
        BSP_LOG(kLogError, "BSP: get cpld%d up_mode_reg fail", cpldId);
        return kErr;
    }
    uint8_t bit = 0;
    if (BSP_ReadCpldBit(regs->modeReg, regs->modeBit, &bit) != kOk) {
        BSP_LOG(kLogError, "BSP: read cpld up_mode_reg(0x%x-bit%d) fail", regs->modeReg, regs->modeBit);
        return kErr;
    }
    *mode = bit == 1 ? 1 : 0;
    return kOk;
}

uint32_t BSP_SetVRMUpgradeStatus(uint8_t regulator, uint8_t value)
{
    // No upper bound here: a regulator of 16 or more reaches the hub with a bit above 7, and
    // the hub refuses it.
    if (regulator < kVrmPerReg) return BSP_WriteCpldBit(kVrmLowReg, regulator, value);
    return BSP_WriteCpldBit(kVrmHighReg, static_cast<uint32_t>(regulator - kVrmPerReg), value);
}

uint32_t BSP_SetFwUpgradeStatusToCpldRam(uint32_t fruType, uint32_t unitIndex, uint8_t status)
{
    std::optional<uint16_t> addr = fw_status_address(fruType, unitIndex);
    if (!addr) {
        BSP_LOG(kLogError, "Fru type 0x%x is invalid, not support record upgrade status to cpld ram.", fruType);
        return kErr;
    }
    // The RAM write reports no status; its failures are logged where they happen.
    BSP_SetCpldRam(*addr, status);
    return kOk;
}

uint32_t BSP_GetFwUpgradeStatusFromCpldRam(uint32_t fruType, uint32_t unitIndex, uint8_t *status)
{
    if (status == nullptr) return kErr;
    std::optional<uint16_t> addr = fw_status_address(fruType, unitIndex);
    if (!addr) {
        BSP_LOG(kLogError, "Fru type 0x%x is invalid, not support read upgrade status from cpld ram.", fruType);
        return kErr;
    }
    // A failed RAM read leaves `*status` as it was and is only logged.
    BSP_GetCpldRam(*addr, status);
    return kOk;
}

}  // extern "C"
