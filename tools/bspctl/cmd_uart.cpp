// bspctl uart: the port the BMC's UART is routed to, or switch it. The library counts a switch
// as done once the register was written; the tool reads the port back and says when the switch
// did not take.
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {
namespace {

int run(const Options &opts, const Args &args)
{
    if (args.size() > 1) return usage_error("uart takes [PORT]", "uart");
    uint8_t port = 0;
    if (args.empty()) {
        if (BSP_ReadSwitchUartReg(&port) != 0) return fail("cannot read the UART switch (-v shows why)");
        if (opts.json) {
            std::printf("{\"port\": %u}\n", port);
        } else {
            std::printf("%s\n", hex(port).c_str());
        }
        return 0;
    }
    std::optional<uint64_t> want = parse_number(args[0], 0xFF);
    if (!want) return usage_error("bad port " + args[0] + " (0 to 0xff)", "uart");
    port = static_cast<uint8_t>(*want);
    if (BSP_SwitchUart(port) != 0) return fail("cannot switch the UART to port " + hex(port) + " (-v shows why)");
    uint8_t back = port;
    if (opts.verify && BSP_ReadSwitchUartReg(&back) != 0) return fail("cannot read back the UART switch (-v shows why)");
    const std::string fields = "\"written\": " + std::to_string(port) +
                               ", \"readback\": " + (opts.verify ? std::to_string(back) : std::string("null"));
    if (back != port) {
        return fail("the UART switch shows port " + hex(back) + " after switching to " + hex(port) +
                        ": the switch did not take (no such port?)",
                    fields);
    }
    if (opts.json) std::printf("{%s}\n", fields.c_str());
    return 0;
}

const Register reg({"uart", "print or switch the port the BMC's UART is routed to",
                    "usage: bspctl [-p PROFILE] [--json] uart [PORT]\n"
                    "  without PORT  the port the UART switch shows\n"
                    "  PORT          route the BMC's UART to PORT (0 to 0xff; quiet; read back\n"
                    "                unless --no-verify: a port the switch lacks does not take)\n",
                    run});

}  // namespace
}  // namespace bspctl
