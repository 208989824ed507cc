// bspctl entry point: global options, then a command and its arguments.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bspctl.h"
#include "bspsim/sim.hpp"

namespace bspctl {

namespace {
std::vector<Command> &registry()
{
    static std::vector<Command> cmds;
    return cmds;
}

void usage(FILE *out)
{
    std::fprintf(out,
                 "usage: bspctl [-p PROFILE] [--json] [-v] COMMAND [ARGS...]\n"
                 "\n"
                 "Board support tool. On a host it runs on a simulated board: the persistent\n"
                 "instance of PROFILE (default: \"default\"), or the one BSPSIM_INSTANCE names.\n"
                 "\n"
                 "options:\n"
                 "  -p, --profile NAME  board profile to run on (see `bspctl sim profiles`)\n"
                 "      --json          machine-readable output\n"
                 "  -v, --verbose       print the library's log lines on stderr\n"
                 "  -h, --help          this text; `bspctl COMMAND --help` for a command\n"
                 "\n"
                 "commands:\n");
    for (const Command &c : commands()) std::fprintf(out, "  %-10s %s\n", c.name, c.summary);
}
}  // namespace

Register::Register(const Command &cmd) { registry().push_back(cmd); }

const std::vector<Command> &commands() { return registry(); }

std::optional<uint64_t> parse_number(const std::string &text, uint64_t max)
{
    if (text.empty() || text[0] == '-') return std::nullopt;
    char *end = nullptr;
    errno = 0;
    unsigned long long v = std::strtoull(text.c_str(), &end, 0);
    if (errno != 0 || *end != '\0' || v > max) return std::nullopt;
    return v;
}

int fail(const std::string &message)
{
    std::fprintf(stderr, "bspctl: %s\n", message.c_str());
    return 1;
}

std::string json_escape(const std::string &text)
{
    std::string out;
    for (unsigned char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    return out;
}

std::string hex(uint64_t v, int width)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "0x%0*llx", width, static_cast<unsigned long long>(v));
    return buf;
}

}  // namespace bspctl

int main(int argc, char **argv)
{
    using namespace bspctl;
    Options opts;
    int i = 1;
    for (; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--json") {
            opts.json = true;
        } else if (a == "-v" || a == "--verbose") {
            opts.verbose = true;
        } else if ((a == "-p" || a == "--profile") && i + 1 < argc) {
            opts.profile = argv[++i];
        } else if (a == "-h" || a == "--help") {
            usage(stdout);
            return 0;
        } else if (!a.empty() && a[0] == '-') {
            usage(stderr);
            return fail("unknown option " + a);
        } else {
            break;
        }
    }
    if (i >= argc) {
        usage(stderr);
        return 2;
    }
    std::string name = argv[i++];
    Args args(argv + i, argv + argc);
    for (const Command &c : commands()) {
        if (name != c.name) continue;
        for (const std::string &a : args) {
            if (a == "-h" || a == "--help") {
                std::fputs(c.usage, stdout);
                return 0;
            }
        }
        // Options may also follow the command.
        Args rest;
        for (size_t k = 0; k < args.size(); ++k) {
            if (args[k] == "--json") {
                opts.json = true;
            } else if (args[k] == "-v" || args[k] == "--verbose") {
                opts.verbose = true;
            } else if ((args[k] == "-p" || args[k] == "--profile") && k + 1 < args.size()) {
                opts.profile = args[++k];
            } else {
                rest.push_back(args[k]);
            }
        }
        bspsim::set_log_echo(opts.verbose);
        if (c.needs_board && name != "sim") bspsim::attach_persistent(opts.profile);
        return c.run(opts, rest);
    }
    usage(stderr);
    return fail("unknown command " + name);
}
