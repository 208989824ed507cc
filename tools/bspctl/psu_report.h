// What the library reports of the enclosure's power supplies and backup battery, shared by
// `bspctl psu` and `bspctl status`.
#ifndef BSPCTL_PSU_REPORT_H
#define BSPCTL_PSU_REPORT_H

#include <cstdint>
#include <string>
#include <vector>

namespace bspctl {

// One state of a supply: its value, and whether the CPLD gave a valid code for it (when not,
// the value is the last good state the library kept).
struct Reading {
    uint8_t value = 0;
    bool valid = false;
};

struct SupplyReport {
    uint8_t index = 0;
    Reading present, alarm, ok, on;
};

struct BbuReport {
    bool presence_reported = false;  // the library answers battery presence on this board
    Reading present;
    uint32_t status = 0;  // BSP_CheckBBUStatus: 0 healthy, 2 not healthy, 3 absent
};

std::vector<SupplyReport> collect_supplies();
BbuReport collect_bbu();
const char *bbu_status_text(uint32_t status);
// "present ok on", "absent", "present alarm not-ok off", with "?" after a state whose code
// was invalid.
std::string supply_summary(const SupplyReport &s);
std::string supply_json(const SupplyReport &s);
std::string bbu_json(const BbuReport &b);

}  // namespace bspctl

#endif
