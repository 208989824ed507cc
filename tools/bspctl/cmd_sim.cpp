// bspctl sim: manage the simulated board behind the tool.
#include <cstdio>
#include <cstdlib>

#include "bspctl.h"
#include "bspsim/sim.hpp"

namespace bspctl {
namespace {

int run(const Options &opts, const Args &args)
{
    if (args.size() == 1 && args[0] == "reset") {
        std::string dir = bspsim::reset_persistent(opts.profile);
        if (opts.json) {
            std::printf("{\"reset\": \"%s\", \"profile\": \"%s\"}\n", json_escape(dir).c_str(),
                        json_escape(opts.profile).c_str());
        }
        return 0;
    }
    if (args.size() == 1 && args[0] == "profiles") {
        for (const std::string &p : bspsim::profile_names()) std::printf("%s\n", p.c_str());
        return 0;
    }
    if (args.size() == 1 && args[0] == "where") {
        std::printf("%s\n", bspsim::attach_persistent(opts.profile).c_str());
        return 0;
    }
    return fail("usage: bspctl sim reset|profiles|where");
}

const Register reg({"sim", "manage the simulated board (reset, profiles, where)",
                    "usage: bspctl [-p PROFILE] sim reset|profiles|where\n"
                    "  reset     restore the board of PROFILE (or of BSPSIM_INSTANCE) from its profile\n"
                    "  profiles  list the shipped board profiles\n"
                    "  where     print the directory of the simulated board\n",
                    run});

}  // namespace
}  // namespace bspctl
