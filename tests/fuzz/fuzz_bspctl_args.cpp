// bspctl's command line, its arguments split at NUL bytes as a program receives them: the
// parse answers the line itself or names a command (or both, for a command's help), and the
// global options never reach the command's own arguments.
#include "bspctl.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    bspfuzz::Input in(data, size);
    bspctl::Args args;
    while (in.left() > 0) args.push_back(in.text());
    bspctl::Options opts;
    const bspctl::CommandLine line = bspctl::parse_command_line(args, opts);
    bspfuzz::check(line.exit.has_value() || line.cmd != nullptr);
    for (const std::string &a : line.rest) bspfuzz::check(a != "--json" && a != "--trace" && a != "--no-verify");
    bspfuzz::check(!opts.slot || *opts.slot <= 3);
    return 0;
}
