// LEDs driven through CPLD bits: the enclosure's locate and fault LEDs, the expansion
// enclosure's all-LEDs bit, and the board's alarm and locate LEDs.
#include <cstdint>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"

namespace {

using bsp::kErr;
using bsp::kLogError;
using bsp::kOk;

// Enclosure LEDs: bit 0 locate, bit 2 fault, bit 5 all LEDs of an expansion enclosure.
constexpr uint32_t kFrameLedReg = 0x13;
constexpr uint32_t kExpAllLedBit = 5;
// Board LEDs: bit 2 alarm, bit 3 locate (0 = off).
constexpr uint32_t kBoardLedReg = 0x5F;
constexpr uint32_t kBoardAlarmBit = 2;
constexpr uint32_t kBoardLocateBit = 3;

constexpr uint8_t kLedOn = 1;

// The two enclosure LED setters differ only in their bit and the name their failure line gives.
struct FrameLed {
    const char *name;
    uint32_t bit;
};
constexpr FrameLed kFrameLocate = {"BSP_SetframeLocalLed", 0};
constexpr FrameLed kFrameFault = {"BSP_Setframefaultled", 2};

// Any state but "on" turns the LED off: callers pass 0, 2 or other codes for off.
int32_t set_frame_led(const FrameLed &led, uint8_t state)
{
    if (BSP_WriteCpldBit(kFrameLedReg, led.bit, state == kLedOn ? 1 : 0) != kOk) {
        BSP_LOG(kLogError, "%s: error at (line:%d)", led.name, __LINE__);
        return bsp::kErrS;
    }
    return bsp::kOkS;
}

}  // namespace

extern "C" {

void BSP_CloseBoardAlarmAndLocateLed(void)
{
    // Both LEDs are always tried: a failed alarm bit must not leave the locate LED lit.
    const uint32_t alarm = BSP_WriteCpldBit(kBoardLedReg, kBoardAlarmBit, 0);
    const uint32_t locate = BSP_WriteCpldBit(kBoardLedReg, kBoardLocateBit, 0);
    if (alarm != kOk || locate != kOk) {
        BSP_OPLOG(kLogError, "BSP_CloseBoardAlarmAndLocateLed failed[BIT2:%d, BIT3:%d].", static_cast<int32_t>(alarm),
                  static_cast<int32_t>(locate));
    }
}

uint32_t BSP_ExpSetAllLedState(uint8_t state)
{
    // A state other than 0 or 1 is refused before anything is written.
    if (state > 1 || BSP_WriteCpldBit(kFrameLedReg, kExpAllLedBit, state) != kOk) {
        BSP_LOG(kLogError, "BSP_ExpSetAllLedState set all led state fail!");
        return kErr;
    }
    return kOk;
}

int32_t BSP_SetframeLocalLed(uint8_t state) { return set_frame_led(kFrameLocate, state); }

int32_t BSP_Setframefaultled(uint8_t state) { return set_frame_led(kFrameFault, state); }

}  // extern "C"
