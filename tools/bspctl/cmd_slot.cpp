// bspctl slot: this board's slot and how the hardware told it (the strap pins, the CPLD's slot
// register, or the enclosure WWN's slot nibble), the slot facing it, and the master's slot.
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {
namespace {

constexpr uint8_t kNoSlot = 0xFF;

// Where the library finds this slot: it tries the straps, then the CPLD (a board without a
// slot register, an SMM, skips it), then the WWN.
const char *found_by(uint8_t slot)
{
    uint8_t id = 0xFF;
    uint8_t s = kNoSlot;
    if (BSP_GetBmcBoardId(&id) == 0 && BSP_GetBoardSlotFromGpio(id, &s) == 0 && s == slot) return "straps";
    s = kNoSlot;
    if (!BSP_IsSmmBoard()) BSP_GetBoardSlotFromCpld(&s);
    return s == slot ? "CPLD" : "WWN";
}

std::string number_or(bool known, uint32_t v, const char *otherwise) { return known ? std::to_string(v) : otherwise; }

int run(const Options &opts, const Args &args)
{
    if (!args.empty()) return usage_error("slot takes no arguments", "slot");
    uint8_t slot = kNoSlot;
    if (BSP_GetBoardSlot(&slot) != 0 || slot == kNoSlot) return fail("cannot find this board's slot (-v shows why)");
    const char *how = found_by(slot);
    uint8_t opposite = kNoSlot;
    const bool has_opposite = BSP_GetoplanarOppCtrlSlotID(&opposite, slot) == 0;
    uint32_t master = 0;
    const bool has_master = BSP_GetMasterBoardSlot(&master) == 0;
    if (opts.json) {
        std::printf("{\"slot\": %u, \"found_by\": %s, \"opposite\": %s, \"master\": %s}\n", slot,
                    json_string(how).c_str(), number_or(has_opposite, opposite, "null").c_str(),
                    number_or(has_master, master, "null").c_str());
        return 0;
    }
    std::printf("slot:          %u (from the %s)\n", slot, how);
    std::printf("opposite slot: %s\n", number_or(has_opposite, opposite, "none").c_str());
    std::printf("master slot:   %s\n", number_or(has_master, master, "unknown: register 0xE4 names no single master").c_str());
    return 0;
}

const Register reg({"slot", "this board's slot, the opposite slot and the master's slot",
                    "usage: bspctl [-p PROFILE] [--json] slot\n"
                    "  The slot of this board and what told it: the strap pins, the CPLD's slot\n"
                    "  register (0x32, repaired from the other controllers' codes when corrupt) or\n"
                    "  the slot nibble of the enclosure WWN. Then the slot facing it, and the slot\n"
                    "  the master/slave register (0xE4) names master.\n",
                    run});

}  // namespace
}  // namespace bspctl
