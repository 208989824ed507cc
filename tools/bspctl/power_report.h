// The power of this board as the library judges it: shared by `bspctl power` and the short
// power line of `bspctl status`.
#ifndef BSPCTL_POWER_REPORT_H
#define BSPCTL_POWER_REPORT_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bmc_bsp.h"

namespace bspctl {

struct PowerReport {
    std::optional<uint8_t> ps_on;             // nullopt: unreadable
    std::optional<bool> standby;              // this board
    std::vector<std::optional<bool>> boards;  // standby of controller boards 0..n-1
    uint32_t any_good = 0;                    // 1, 0, or 255 when the board id is unknown
    uint32_t on_check = 0;                    // 1: a rail that must be good is not
    uint32_t off_check = 0;                   // 1: a rail that must be off is still good
    uint32_t front = 0;                       // the front power check's result (0: nothing confirmed)

    // Every rail good after power-on and none good after power-off at once: only a board id
    // without rails in the table answers so.
    bool judged() const { return any_good == 1 || (any_good == 0 && on_check != 0); }
    // What the rails say: "on", "standby", "off", "unknown" without a board id, or "not judged".
    const char *state() const
    {
        if (any_good == 255) return "unknown";
        if (!judged()) return "not judged";
        if (any_good == 1) return "on";
        return standby.value_or(false) ? "standby" : "off";
    }
    // The verdict of the check that fits the state: after power-on while on, else after power-off.
    bool rails_ok() const { return any_good == 1 ? on_check == 0 : off_check == 0; }
    std::string verdict() const
    {
        if (!judged()) return "not judged (no rails known for this board)";
        const bool on = any_good == 1;
        return std::string(rails_ok() ? "ok" : "alarm") + " (" + (on ? "power-on" : "power-off") + " check)";
    }
};

// `full`: both rail checks and the front power check (which waits a second when it finds the
// power abnormal); otherwise only what the state and the verdict need, so that a powered board
// does not log the power-off check's alarms: with no rail good, no row fails after power-off.
inline PowerReport collect_power(bool full = true)
{
    PowerReport p;
    uint8_t v = 0;
    if (BSP_GetPSONState(&v) == 0) p.ps_on = v;
    if (BSP_GetPowerStandByStatus(&v) == 0) p.standby = v == 1;
    const uint8_t count = BSP_Is4U4CBoard() ? 4 : 2;
    for (uint8_t b = 0; b < count; ++b) {
        p.boards.push_back(BSP_GetOtherBoardPowerStandByStatus(b, &v) == 0 ? std::optional<bool>(v == 1) : std::nullopt);
    }
    p.any_good = BSP_IsAnyBoardPowerGood();
    p.on_check = BSP_CpuPowerOnCheck();
    if (full) p.off_check = BSP_CpuPowerOffCheck();
    if (full) p.front = BSP_FrontPowerCheck(1);
    return p;
}

inline const char *yes_no(const std::optional<bool> &v) { return !v ? "unknown" : *v ? "yes" : "no"; }
inline const char *json_verdict(const PowerReport &p) { return !p.judged() ? "null" : p.rails_ok() ? "true" : "false"; }
inline const char *json_flag(const std::optional<bool> &v) { return !v ? "null" : *v ? "true" : "false"; }

}  // namespace bspctl

#endif
