// bspctl cpld selftest / cpld health: do the CPLDs answer, and does their fault register show a
// fault. Subcommands of `bspctl cpld`.
#include <cstdio>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {

// selftest [CPLD]: the write/read-back test of every CPLD, or of one. A failed test is a
// failure of the command (exit 1), and so is a CPLD the board does not have. A test the
// library skips (CPLD count unknown, as on the SMM) passes in its contract; the command
// exits 0 then too, but says "skipped", never "pass".
int cpld_selftest(const Options &opts, const Args &args)
{
    std::optional<uint64_t> id;
    uint8_t count = 0;
    const bool count_known = BSP_GetCpldNum(&count) == 0;
    if (!args.empty()) {
        id = parse_number(args[0], 2);
        if (!id) return usage_error("CPLD must be 0, 1 or 2: " + args[0], "cpld");
        if (count_known && *id >= count) {
            return fail("no such CPLD " + args[0] + ": this board has " + std::to_string(count) + " (0 to " +
                        std::to_string(count - 1) + ")");
        }
    }
    uint32_t status = 0;
    bool skipped = false;
    if (id) {
        status = BSP_CpldSelfTestByOne(static_cast<uint8_t>(*id));
    } else {
        // The library passes a board whose CPLD count it does not know without testing.
        skipped = !count_known;
        status = BSP_CpldSelfTest();
    }
    const char *verdict = skipped ? "skipped" : status == 0 ? "pass" : "fail";
    if (opts.json) {
        std::string which = id ? std::to_string(*id) : "\"all\"";
        std::printf("{\"cpld\": %s, \"selftest\": \"%s\"%s}\n", which.c_str(), verdict,
                    skipped ? ", \"reason\": \"the CPLD count of this board is not known\"" : "");
    } else {
        std::string which = id ? "CPLD " + std::to_string(*id) : std::string("every CPLD");
        std::printf("self test of %s: %s%s\n", which.c_str(), verdict,
                    skipped ? " (the CPLD count of this board is not known)" : "");
    }
    return status == 0 ? 0 : kExitFailure;
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
