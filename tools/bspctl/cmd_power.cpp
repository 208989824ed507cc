// bspctl power: the power of this board (PS_ON, standby of each controller board, the rail
// checks and their verdict, the front power check), and the soft power button.
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "power_report.h"

namespace bspctl {
namespace {

struct Press {
    const char *name;
    uint8_t action;
};

// The soft power button's actions, as the library numbers them.
const Press kPresses[] = {{"on", 0}, {"force-off", 2}, {"off", 3}};

void print_text(const PowerReport &p)
{
    std::printf("board power:   %s\n", p.state());
    if (p.ps_on) {
        std::printf("PS_ON:         %s\n", hex(*p.ps_on, 1).c_str());
    } else {
        std::printf("PS_ON:         unknown\n");
    }
    std::printf("standby:       %s\n", yes_no(p.standby));
    for (size_t b = 0; b < p.boards.size(); ++b) std::printf("  board %zu:     %s\n", b, yes_no(p.boards[b]));
    std::printf("on check:      %s\n", p.on_check ? "alarm (a rail is not good)" : "ok");
    std::printf("off check:     %s\n", p.off_check ? "alarm (a rail is still good)" : "ok");
    std::printf("rail verdict:  %s\n", p.verdict().c_str());
    std::printf("front power:   %s\n", p.front ? "abnormal" : "normal");
}

void print_json(const PowerReport &p)
{
    std::printf("{\"board_power\": \"%s\", \"ps_on\": %s, \"standby\": %s, \"boards_standby\": [", p.state(),
                p.ps_on ? std::to_string(*p.ps_on).c_str() : "null", json_flag(p.standby));
    for (size_t b = 0; b < p.boards.size(); ++b) std::printf("%s%s", b ? ", " : "", json_flag(p.boards[b]));
    std::printf("], \"power_on_check\": %u, \"power_off_check\": %u, \"rails_ok\": %s, \"front_power\": %u}\n",
                p.on_check, p.off_check, json_verdict(p), p.front);
}

int run(const Options &opts, const Args &args)
{
    if (args.size() > 1) return usage_error("power takes at most one of on|off|force-off", "power");
    if (args.empty()) {
        const PowerReport p = collect_power();
        if (p.any_good == 255) return fail("cannot judge the power: the board id cannot be read (-v shows why)");
        opts.json ? print_json(p) : print_text(p);
        return 0;
    }
    for (const Press &press : kPresses) {
        if (args[0] != press.name) continue;
        const uint32_t status = BSP_SoftPowerButtonCtrl(press.action);
        if (status != 0) return fail("cannot press the power button for " + args[0] + " (status " + hex(status, 8) + ")");
        if (opts.json) std::printf("{\"pressed\": \"%s\"}\n", press.name);
        return 0;
    }
    return usage_error("power: unknown action '" + args[0] + "' (on|off|force-off)", "power");
}

const Register reg({"power", "show the board's power, or press the soft power button",
                    "usage: bspctl [-p PROFILE] [--json] power [on|off|force-off]\n"
                    "  Without an action: the board's power as its rails show it, PS_ON, standby of\n"
                    "  this and of each controller board, the rail checks after power-on and after\n"
                    "  power-off with the verdict of the one that fits, and the front power check.\n"
                    "  on         press the soft power button to power on\n"
                    "  off        press it for a graceful power-off (the board goes to standby)\n"
                    "  force-off  press it for a forced power-off\n",
                    run});

}  // namespace
}  // namespace bspctl
