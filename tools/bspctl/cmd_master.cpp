// bspctl master: this board's role in the enclosure, and the requests that move mastership;
// and `bspctl sim board`, which puts controller boards into the enclosure or takes them out.
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "bspsim/mastership.hpp"
#include "bspsim/sim.hpp"
#include "subcommand.h"

namespace bspctl {
namespace {

constexpr uint32_t kMaster = 1;

int run(const Options &opts, const Args &args)
{
    if (args.size() > 1 || (args.size() == 1 && args[0] != "grab" && args[0] != "abandon")) {
        return usage_error("master takes nothing, grab or abandon", "master");
    }
    if (args.empty()) {
        uint32_t role = 0;
        if (uint32_t st = BSP_GetBoardMasterOrSlaveState(&role); st != 0) return fail_call("read this board's role", st);
        const char *name = role == kMaster ? "master" : "slave";
        if (opts.json) {
            std::printf("{\"role\": %s}\n", json_string(name).c_str());
        } else {
            std::printf("%s\n", name);
        }
        return 0;
    }
    const bool grab = args[0] == "grab";
    if (uint32_t st = grab ? BSP_GrabBoardMaster() : BSP_AbandonBoardMaster(); st != 0) {
        return fail_call(grab ? "grab mastership" : "give mastership up", st);
    }
    if (opts.json) std::printf("{\"master\": %s}\n", json_string(args[0]).c_str());
    return 0;
}

const Register reg({"master", "this board's role; grab or give up mastership",
                    "usage: bspctl [-p PROFILE] [-b SLOT] [--json] master [grab|abandon]\n"
                    "  (none)   print this board's role: master or slave\n"
                    "  grab     ask the CPLD for mastership; it is granted when no board is master\n"
                    "           (quiet; `bspctl master` shows the outcome)\n"
                    "  abandon  give mastership up (quiet)\n",
                    run});

}  // namespace

int sim_board(const Options &opts, const Args &args)
{
    if (args.size() != 2 || (args[0] != "add" && args[0] != "remove")) {
        return usage_error("sim board takes add|remove SLOT", "sim");
    }
    std::optional<uint64_t> slot = parse_number(args[1], 3);
    if (!slot) return usage_error("sim board: bad slot '" + args[1] + "' (0 to 3)", "sim");
    bspsim::attach_persistent(opts.profile);
    bspsim::set_slot_present(static_cast<uint32_t>(*slot), args[0] == "add");
    if (opts.json) std::printf("{\"board\": %s, \"slot\": %u}\n", json_string(args[0]).c_str(), static_cast<unsigned>(*slot));
    return 0;
}

}  // namespace bspctl
