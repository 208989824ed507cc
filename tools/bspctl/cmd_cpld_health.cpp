// bspctl cpld selftest / cpld health: do the CPLDs answer, and does their fault register show a
// fault. Subcommands of `bspctl cpld`.
#include <cstdio>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {

// selftest [CPLD]: the write/read-back test of every CPLD, or of one. A failed test is a
// failure of the command (exit code 1); a skipped test (lock busy, count unknown) passes, as
// the library reports it.
int cpld_selftest(const Options &opts, const Args &args)
{
    std::optional<uint64_t> id;
    uint32_t status = 0;
    bool skipped = false;
    if (args.empty()) {
        // The library passes a board whose CPLD count it does not know without testing.
        uint8_t count = 0;
        skipped = BSP_GetCpldNum(&count) != 0;
        status = BSP_CpldSelfTest();
    } else {
        id = parse_number(args[0], 2);
        if (!id) return fail("CPLD must be 0, 1 or 2: " + args[0]);
        status = BSP_CpldSelfTestByOne(static_cast<uint8_t>(*id));
    }
    const char *verdict = status == 0 ? "pass" : "fail";
    if (opts.json) {
        std::string which = id ? std::to_string(*id) : "\"all\"";
        std::printf("{\"cpld\": %s, \"selftest\": \"%s\", \"skipped\": %s}\n", which.c_str(), verdict,
                    skipped ? "true" : "false");
    } else {
        std::string which = id ? "CPLD " + std::to_string(*id) : std::string("every CPLD");
        std::printf("self test of %s: %s%s\n", which.c_str(), verdict,
                    skipped ? " (skipped: the CPLD count of this board is not known)" : "");
    }
    return status == 0 ? 0 : 1;
}

// health: the library's verdict on the fault register. Reporting a fault is the command's
// answer, not its failure.
int cpld_health(const Options &opts, const Args &args)
{
    (void)args;
    const char *state = BSP_CpldBorCIsHealth() == 1 ? "healthy" : "faulty";
    if (opts.json) {
        std::printf("{\"health\": \"%s\"}\n", state);
    } else {
        std::printf("%s\n", state);
    }
    return 0;
}

}  // namespace bspctl
