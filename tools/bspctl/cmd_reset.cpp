// bspctl reset: resets the host CPU, softly through the CPLD or hard through the BMC's reset
// line; and bspctl reset-type: the reset type the CPLD keeps.
#include <cstdio>
#include <optional>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {
namespace {

int reset(const Options &opts, const Args &args)
{
    if (args.size() != 1 || (args[0] != "soft" && args[0] != "hard")) return usage_error("reset takes soft|hard", "reset");
    const bool soft = args[0] == "soft";
    if (uint32_t st = soft ? BSP_SoftResetCpu() : BSP_HardResetCpu(); st != 0) {
        return fail("cannot reset the host CPU " + std::string(soft ? "through the CPLD" : "through its reset line") +
                    " (status " + hex(st, 8) + "; -v shows why)");
    }
    if (opts.json) std::printf("{\"reset\": %s}\n", json_string(args[0]).c_str());
    return 0;
}

const Register reg_reset({"reset", "reset the host CPU (soft through the CPLD, hard through the reset line)",
                          "usage: bspctl [-p PROFILE] [-b SLOT] [--json] reset soft|hard\n"
                          "  soft  pulse the CPLD's soft-reset bit behind its write protection (quiet)\n"
                          "  hard  pulse the BMC's hard-reset line of this board (quiet); fails on a board\n"
                          "        without a known line\n",
                          reset});

int reset_type(const Options &opts, const Args &args)
{
    std::optional<uint64_t> type;
    if (args.size() > 1 || (args.size() == 1 && !(type = parse_number(args[0], 1)))) {
        return usage_error("reset-type takes nothing, 0 or 1", "reset-type");
    }
    if (type) {
        BSP_SetResetType(static_cast<uint8_t>(*type));
        if (opts.json) std::printf("{\"reset_type\": %u}\n", static_cast<unsigned>(*type));
        return 0;
    }
    const uint32_t now = BSP_GetResetType();
    if (opts.json) {
        std::printf("{\"reset_type\": %u}\n", now);
    } else {
        std::printf("%u\n", now);
    }
    return 0;
}

const Register reg_type({"reset-type", "the reset type the CPLD keeps (0 or 1); set it",
                         "usage: bspctl [-p PROFILE] [-b SLOT] [--json] reset-type [0|1]\n"
                         "  Without a value: print the reset type (0xEB bit 0; 0 also when it cannot be\n"
                         "  read). With one: write it (quiet).\n",
                         reset_type});

}  // namespace
}  // namespace bspctl
