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
    if (args.empty() || args.size() > 2) return fail("usage: bspctl cpld upgrade-mode CPLD [0|1]");
    std::optional<uint64_t> id = parse_number(args[0], 2);
    if (!id) return fail("CPLD must be 0, 1 or 2: " + args[0]);
    const auto cpld = static_cast<uint8_t>(*id);

    if (args.size() == 2) {
        std::optional<uint64_t> mode = parse_number(args[1], 1);
        if (!mode) return fail("mode must be 0 (normal) or 1 (upgrade): " + args[1]);
        uint32_t status = BSP_SetCpldUpgradeMode(cpld, static_cast<uint8_t>(*mode));
        if (status != 0) {
            return fail("cannot switch CPLD " + args[0] + (*mode ? " into" : " out of") + " upgrade mode (status " +
                        hex(status, 8) + "; -v shows why)");
        }
        return 0;
    }

    uint8_t mode = 0;
    uint32_t status = BSP_GetCpldUpgradeMode(cpld, &mode);
    if (status != 0) return fail("cannot read the upgrade mode of CPLD " + args[0] + " (status " + hex(status, 8) + ")");
    if (opts.json) {
        std::printf("{\"cpld\": %u, \"upgrade_mode\": %u}\n", cpld, mode);
    } else {
        std::printf("%u\n", mode);
    }
    return 0;
}

}  // namespace bspctl
