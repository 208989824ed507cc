// bspctl watchdog: the switch's own watchdog on a 4U4C enclosure (its stop flag, and the stop
// the BMC asks for before it restarts); and `bspctl sim switch`, which sets how long the
// simulated switch takes to stop.
#include <cstdio>
#include <optional>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "bspsim/ge_switch.hpp"
#include "bspsim/mastership.hpp"
#include "bspsim/sim.hpp"
#include "platform/dfl.h"
#include "platform/vos.h"
#include "subcommand.h"

namespace bspctl {
namespace {

constexpr const char *kSwitchObject = "GeSwitchObj";

const char *flag_state()
{
    if (bspsim::switch_stop_pending()) return "stop pending";
    return bspsim::switch_watchdog_stopped() ? "stopped" : "running";
}

int show(const Options &opts, const Args &)
{
    OBJ_HANDLE handle = 0;
    if (int32_t rc = dfl_get_object_handle(kSwitchObject, &handle); rc != 0) {
        return fail("no switch watchdog on this board: not a 4U4C enclosure (status " + std::to_string(rc) + ")");
    }
    if (opts.json) {
        std::printf("{\"switch_watchdog\": %s}\n", json_string(flag_state()).c_str());
    } else {
        std::printf("switch watchdog: %s\n", flag_state());
    }
    return 0;
}

// The stop the BMC asks for before it restarts: the request, then the library's bounded wait.
// Whether the switch confirmed is what the library logged.
bool g_confirmed = false;
void note_confirmation(const bspsim::LogLine &l)
{
    if (l.text == "BMC reset after geswitch stop watchdog") g_confirmed = true;
}

int stop(const Options &opts, const Args &)
{
    if (uint32_t st = BSP_SetStopSwitchWatchDogFlag(); st != 0) return fail_call("ask the switch to stop its watchdog", st);
    const unsigned long start = vos_tick_get();
    bspsim::set_log_observer(note_confirmation);
    BSP_WaitSwitchStopWtdFlag();
    bspsim::set_log_observer(nullptr);
    const unsigned long waited = vos_tick_get() - start;
    if (opts.json) {
        std::printf("{\"stopped\": %s, \"waited_ms\": %lu}\n", g_confirmed ? "true" : "false", waited);
    } else if (g_confirmed) {
        std::printf("switch watchdog stopped; waited %lu ms\n", waited);
    } else {
        std::printf("switch did not confirm; gave up after %lu ms\n", waited);
    }
    return 0;
}

const Subcommand kSubs[] = {
    {"show", "", "the switch watchdog: running, stop pending or stopped", 0, 0, show},
    {"stop", "", "ask the switch to stop its watchdog and wait for it (at most 5 polls)", 0, 0, stop},
};

int run(const Options &opts, const Args &args)
{
    if (args.empty()) return show(opts, args);
    return run_subcommand("watchdog", kSubs, opts, args);
}

const std::string kUsage = subcommand_usage("watchdog", kSubs,
                                            "  Without a subcommand: show. The wait is the library's: up to five polls\n"
                                            "  one second apart, in virtual time; `stop` prints how long it waited.\n");
const Register reg({"watchdog", "the switch's watchdog on a 4U4C enclosure; stop it", kUsage.c_str(), run});

}  // namespace

// sim switch slow N|never|ok: the switch answers "pending" to the next N polls after a stop
// request, or for good, or stops at once.
int sim_switch(const Options &opts, const Args &args)
{
    const char *kUsage = "sim switch takes slow N|never|ok";
    std::optional<uint64_t> polls = 0;
    if (args.size() == 2 && args[0] == "slow") polls = parse_number(args[1], 999);
    const bool valid = (args.size() == 1 && (args[0] == "never" || args[0] == "ok")) || (args.size() == 2 && args[0] == "slow");
    if (!valid || !polls) return usage_error(kUsage, "sim");
    bspsim::set_switch_stop(static_cast<uint32_t>(*polls), args[0] == "never");
    if (opts.json) {
        std::printf("{\"switch\": %s, \"polls\": %u}\n", json_string(args[0]).c_str(), static_cast<unsigned>(*polls));
    }
    return 0;
}

}  // namespace bspctl
