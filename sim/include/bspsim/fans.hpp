// Test-side view of the board's fans as the framework shows them: objects Fan1..FanN of class
// "Fan" that answer "GetPst" and "GetFanInfo", and the fan controller "FanCtrlObj" whose byte
// property "Mode" is 0 (automatic) or 1 (manual). It acts on the instance this process is
// attached to, so tools use it too.
#ifndef BSPSIM_FANS_HPP
#define BSPSIM_FANS_HPP

#include <cstdint>

#include "bspsim/sim.hpp"

namespace bspsim {

// One fan unit. "GetPst" answers (byte present,); "GetFanInfo" answers (byte number, byte speed
// level, uint16 front rotor rpm, uint16 rear rotor rpm, byte fault flags, byte alarm flags).
struct FanState {
    bool present = true;
    uint8_t level = 0;   // speed level, percent of full speed
    uint8_t faults = 0;  // bit 0: front rotor failed, bit 1: rear rotor failed
    uint8_t alarms = 0;  // bit 0: speed out of its range
};

inline constexpr uint8_t kFanFrontRotorFailed = 0x01;
inline constexpr uint8_t kFanSpeedAlarm = 0x01;

class Fan {
public:
    // Fan `index` (0-based; its object is Fan<index + 1>); throws Error unless below fan_count().
    explicit Fan(uint32_t index);
    FanState state() const;
    Fan &set_present(bool present);
    Fan &set_level(uint8_t level);
    Fan &set_faults(uint8_t faults);
    Fan &set_alarms(uint8_t alarms);

private:
    uint32_t index_;
};

// How many fans the board's framework shows (0: no fans).
uint32_t fan_count();
// The fan controller's mode: true for manual.
bool fans_manual();
void set_fans_manual(bool manual);

}  // namespace bspsim

#endif
