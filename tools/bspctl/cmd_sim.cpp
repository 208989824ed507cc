// bspctl sim: manage the simulated board behind the tool.
#include <cstdio>
#include <cstdlib>

#include "bspctl.h"
#include "bspsim/board_power.hpp"
#include "bspsim/sim.hpp"

namespace bspctl {

int sim_psu(const Options &opts, const Args &args);    // cmd_psu.cpp
int sim_board(const Options &opts, const Args &args);  // cmd_master.cpp
int sim_straps(const Options &opts, const Args &args);  // cmd_chips.cpp
int sim_clock(const Options &opts, const Args &args);   // cmd_clocks.cpp
int sim_m3(const Options &opts, const Args &args);     // cmd_m3.cpp
int sim_mcu(const Options &opts, const Args &args);    // cmd_mcu.cpp
int sim_fan(const Options &opts, const Args &args);    // cmd_cooling.cpp
int sim_switch(const Options &opts, const Args &args);  // cmd_watchdog.cpp

namespace {

// rail REG BIT 0|1|free: hold a rail (or front power) bit of the attached board, or let it go.
int rail(const Args &args)
{
    if (args.size() != 4) return usage_error("sim rail takes REG BIT 0|1|free", "sim");
    const std::optional<uint64_t> reg = parse_number(args[1], 0x3FF), bit = parse_number(args[2], 7);
    const int level = args[3] == "0" ? 0 : args[3] == "1" ? 1 : args[3] == "free" ? -1 : -2;
    if (!reg || !bit || level == -2) return usage_error("sim rail takes REG BIT 0|1|free", "sim");
    if (bspsim::board_power().rails(static_cast<uint32_t>(*reg)) == 0) {
        return fail("register " + hex(*reg) + " has no rail or front power bits on this board");
    }
    bspsim::board_power().hold(static_cast<uint32_t>(*reg), static_cast<uint32_t>(*bit), level);
    return 0;
}

// Subcommands that change one board of the enclosure: the board -b names.
bool board_scoped(const std::string &sub)
{
    for (const char *s : {"rail", "straps", "clock", "m3", "mcu", "fan", "switch"}) {
        if (sub == s) return true;
    }
    return false;
}

int run(const Options &opts, const Args &args)
{
    if (!args.empty() && board_scoped(args[0]) && !attach_board(opts)) return no_board_in_slot(opts);
    if (!args.empty() && args[0] == "psu") return sim_psu(opts, Args(args.begin() + 1, args.end()));
    if (!args.empty() && args[0] == "rail") return rail(args);
    if (!args.empty() && args[0] == "board") return sim_board(opts, Args(args.begin() + 1, args.end()));
    if (!args.empty() && args[0] == "straps") return sim_straps(opts, Args(args.begin() + 1, args.end()));
    if (!args.empty() && args[0] == "clock") return sim_clock(opts, Args(args.begin() + 1, args.end()));
    if (!args.empty() && args[0] == "m3") return sim_m3(opts, Args(args.begin() + 1, args.end()));
    if (!args.empty() && args[0] == "mcu") return sim_mcu(opts, Args(args.begin() + 1, args.end()));
    if (!args.empty() && args[0] == "fan") return sim_fan(opts, Args(args.begin() + 1, args.end()));
    if (!args.empty() && args[0] == "switch") return sim_switch(opts, Args(args.begin() + 1, args.end()));
    if (args.size() != 1) return usage_error("sim takes one of reset|profiles|where|psu|rail|board|straps|clock|m3|mcu|fan|switch", "sim");
    if (args[0] == "reset") {
        std::string dir = bspsim::reset_persistent(opts.profile);
        if (opts.json) {
            std::printf("{\"reset\": %s, \"profile\": %s}\n", json_string(dir).c_str(), json_string(opts.profile).c_str());
        }
        return 0;
    }
    if (args[0] == "profiles") {
        const std::vector<std::string> names = bspsim::profile_names();
        if (opts.json) {
            std::printf("{\"profiles\": [");
            for (size_t i = 0; i < names.size(); ++i) std::printf("%s%s", i ? ", " : "", json_string(names[i]).c_str());
            std::printf("]}\n");
        } else {
            for (const std::string &p : names) std::printf("%s\n", p.c_str());
        }
        return 0;
    }
    if (args[0] == "where") {
        std::string dir = bspsim::attach_persistent(opts.profile);
        if (opts.json) {
            std::printf("{\"dir\": %s}\n", json_string(dir).c_str());
        } else {
            std::printf("%s\n", dir.c_str());
        }
        return 0;
    }
    return usage_error("sim: unknown subcommand '" + args[0] + "' (reset|profiles|where|psu|rail|board|straps|clock|m3|mcu|fan|switch)", "sim");
}

const Register reg({"sim", "manage the simulated board (reset, profiles, where, psu, rail, board, straps, clock, m3, mcu, fan, switch)",
                    "usage: bspctl [-p PROFILE] [--json] sim reset|profiles|where\n"
                    "       bspctl [-p PROFILE] [--json] sim psu N present|absent|alarm|ok|fail|glitch [COUNT]\n"
                    "       bspctl [-p PROFILE] [--json] sim rail REG BIT 0|1|free\n"
                    "       bspctl [-p PROFILE] [--json] sim board add|remove SLOT\n"
                    "       bspctl [-p PROFILE] [--json] sim straps VALUE\n"
                    "       bspctl [-p PROFILE] [--json] sim clock REG BIT lost|ok\n"
                    "       bspctl [-p PROFILE] [--json] sim m3 [code CODE|short N|long N|crc|type|fail [COUNT]|clear]\n"
                    "       bspctl [-p PROFILE] [--json] sim mcu bad-pec [N]|missing|present|show\n"
                    "       bspctl [-p PROFILE] [--json] sim fan N present|absent|speed LEVEL|fault|alarm|ok\n"
                    "       bspctl [-p PROFILE] [--json] sim fan mode auto|manual\n"
                    "       bspctl [-p PROFILE] [-b SLOT] [--json] sim switch slow N|never|ok\n"
                    "  reset     restore the board of PROFILE (or of BSPSIM_INSTANCE) from its profile\n"
                    "  profiles  list the shipped board profiles\n"
                    "  where     print the directory of the simulated board\n"
                    "  psu       pull or insert supply N, raise its alarm, make it fail (no power-ok,\n"
                    "            alarm) or ok again, or make its next COUNT (1) reads show an invalid code\n"
                    "  rail      hold a rail or front power bit of the board at 0 or 1, or let it go\n"
                    "  board     put a controller board into SLOT (0 to 3) or take it out; one taken\n"
                    "            out is master no more\n"
                    "  straps    set the chip identification straps, pins 129 (bit 0) to 132, to VALUE\n"
                    "  clock     stop the clock of bit BIT of clock-status register REG, or run it again\n"
                    "  m3        the secure core's state; or its next COUNT (1) answers carry response\n"
                    "            code CODE, are N bytes short or long, have a bad CRC or type byte, or\n"
                    "            the calls fail outright; clear drops the answer faults\n"
                    "  mcu       the fan-board MCU answers its next N (1) reads with a wrong PEC, is\n"
                    "            taken out of the framework or put back; show lists its commands\n"
                    "  fan       put fan N (from 1) in or take it out, set its speed level, fail a\n"
                    "            rotor, raise its speed alarm or clear both; or the fans' mode\n"
                    "  switch    make the board's switch answer \"pending\" to the next N polls after a\n"
                    "            stop request, or for good, or stop at once (4U4C enclosures)\n",
                    run});

}  // namespace
}  // namespace bspctl
