// Commands made of subcommands (`bspctl cpld get ...`, `bspctl ram dump ...`): a table of
// subcommands, the help text built from it, and the dispatch.
#ifndef BSPCTL_SUBCOMMAND_H
#define BSPCTL_SUBCOMMAND_H

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

#include "bspctl.h"

namespace bspctl {

struct Subcommand {
    const char *name;
    const char *args;     // argument synopsis, "" when none
    const char *summary;  // one line for the help text
    size_t min_args;
    size_t max_args;      // SIZE_MAX: any number
    int (*run)(const Options &opts, const Args &args);  // args after the subcommand's name
};

// "usage: bspctl [-p PROFILE] [--json] CMD SUB ARGS" lines, one per subcommand, then `notes`.
inline std::string subcommand_usage(const char *command, std::span<const Subcommand> subs, const char *notes)
{
    std::string text;
    for (const Subcommand &s : subs) {
        std::string line = std::string("bspctl [-p PROFILE] [--json] ") + command + " " + s.name;
        if (*s.args) line += std::string(" ") + s.args;
        text += (text.empty() ? "usage: " : "       ") + line + "\n";
    }
    text += "\n";
    for (const Subcommand &s : subs) {
        char buf[160];
        std::snprintf(buf, sizeof buf, "  %-12s %s\n", s.name, s.summary);
        text += buf;
    }
    text += notes;
    return text;
}

// The one line for a library call that failed: what could not be done, and the status.
inline int fail_call(const std::string &what, uint32_t status)
{
    return fail("cannot " + what + " (status " + hex(status, 8) + "; -v shows why)");
}

inline int run_subcommand(const char *command, std::span<const Subcommand> subs, const Options &opts, const Args &args)
{
    std::string names;
    for (const Subcommand &s : subs) names += (names.empty() ? "" : "|") + std::string(s.name);
    if (args.empty()) return usage_error(std::string(command) + ": which one? " + names, command);
    for (const Subcommand &s : subs) {
        if (args[0] != s.name) continue;
        Args rest(args.begin() + 1, args.end());
        if (rest.size() < s.min_args || rest.size() > s.max_args) {
            return usage_error(std::string(command) + " " + s.name + " takes " + (*s.args ? s.args : "no arguments"),
                               command);
        }
        return s.run(opts, rest);
    }
    return usage_error(std::string(command) + ": unknown subcommand '" + args[0] + "' (" + names + ")", command);
}

}  // namespace bspctl

#endif
