// bspctl cpld upgrade-mode: whether a CPLD is in upgrade mode, or switch it in or out. A
// subcommand of `bspctl cpld`.
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {

// upgrade-mode CPLD [0|1]: without a value, print the mode; with one, switch (quietly on
// success). The library lifts and restores the write protect around the switch.
int cpld_upgrade_mode(const Options &opts, const Args &args)
{
    std::optional<uint64_t> id = parse_number(args[0], 2);
    if (!id) return usage_error("CPLD must be 0, 1 or 2: " + args[0], "cpld");
    const auto cpld = static_cast<uint8_t>(*id);

    if (args.size() == 2) {
        std::optional<uint64_t> mode = parse_number(args[1], 1);
        if (!mode) return usage_error("mode must be 0 (normal) or 1 (upgrade): " + args[1], "cpld");
        const auto want = static_cast<uint8_t>(*mode);
        const std::string which = "CPLD " + std::to_string(cpld);
        uint32_t status = BSP_SetCpldUpgradeMode(cpld, want);
        if (status != 0) {
            return fail("cannot switch " + which + (want ? " into" : " out of") + " upgrade mode (status " +
                        hex(status, 8) + "; -v shows why)");
        }
        uint8_t back = want;
        if (opts.verify) {
            status = BSP_GetCpldUpgradeMode(cpld, &back);
            if (status != 0) return fail("cannot read back the upgrade mode of " + which + " (status " + hex(status, 8) + ")");
        }
        const std::string fields = "\"cpld\": " + std::to_string(cpld) + ", \"written\": " + std::to_string(want) +
                                   ", \"readback\": " + (opts.verify ? std::to_string(back) : std::string("null"));
        if (back != want) {
            return fail(which + " reads upgrade mode " + std::to_string(back) + " after switching to " +
                            std::to_string(want) + ": the switch did not take",
                        fields);
        }
        if (opts.json) std::printf("{%s}\n", fields.c_str());
        return 0;
    }

    uint8_t mode = 0;
    uint32_t status = BSP_GetCpldUpgradeMode(cpld, &mode);
    if (status != 0) {
        return fail("cannot read the upgrade mode of CPLD " + std::to_string(cpld) + " (status " + hex(status, 8) + ")");
    }
    if (opts.json) {
        std::printf("{\"cpld\": %u, \"upgrade_mode\": %u}\n", cpld, mode);
    } else {
        std::printf("%u\n", mode);
    }
    return 0;
}

}  // namespace bspctl
