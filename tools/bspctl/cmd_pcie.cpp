// bspctl pcie: enable the PCIe cores (held off first for a moment) or hold them off.
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "subcommand.h"

namespace bspctl {
namespace {

constexpr uint32_t kEnable = 1;
constexpr uint32_t kDisable = 2;

int run(const Options &opts, const Args &args)
{
    if (args.size() != 1 || (args[0] != "on" && args[0] != "off")) return usage_error("pcie takes on or off", "pcie");
    const bool on = args[0] == "on";
    uint32_t status = BSP_PCIeCoreOpt(on ? kEnable : kDisable);
    if (status != 0) return fail_call(on ? "enable the PCIe cores" : "hold the PCIe cores off", status);
    if (opts.json) std::printf("{\"pcie\": %s}\n", json_string(args[0]).c_str());
    return 0;
}

const Register reg({"pcie", "enable the PCIe cores or hold them off",
                    "usage: bspctl [-p PROFILE] [--json] pcie on|off\n"
                    "  on   hold both cores off, then enable them (quiet)\n"
                    "  off  hold both cores off (quiet)\n",
                    run});

}  // namespace
}  // namespace bspctl
