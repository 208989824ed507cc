// bspctl mac: the enclosure's MAC address, as its WWN in the CPLD RAM carries it.
#include <array>
#include <cstdio>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {
namespace {

int run(const Options &opts, const Args &args)
{
    if (!args.empty()) return usage_error("mac takes no arguments", "mac");
    std::array<uint8_t, 6> m{};
    if (BSP_GetFrameMac(m.data(), static_cast<uint32_t>(m.size())) != 0) {
        return fail("no enclosure MAC: no valid WWN in the CPLD RAM (-v shows why)");
    }
    char text[24];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", m[0], m[1], m[2], m[3], m[4], m[5]);
    if (opts.json) {
        std::printf("{\"mac\": %s}\n", json_string(text).c_str());
    } else {
        std::printf("%s\n", text);
    }
    return 0;
}

const Register reg({"mac", "the enclosure MAC address, from its WWN",
                    "usage: bspctl [-p PROFILE] [--json] mac\n"
                    "  The MAC address carried in the enclosure WWN in the CPLD RAM.\n",
                    run});

}  // namespace
}  // namespace bspctl
