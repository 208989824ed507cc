// bspctl ssd: the SSD online bits. Reads show what the library reads on this enclosure (the
// disks' own presence, or on 4U four-controller enclosures the BMC's record); writes set the
// BMC's record, so on other enclosures a write is not read back.
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "subcommand.h"

namespace bspctl {
namespace {

// The SSD bits span four registers on each side.
constexpr uint64_t kSsdCount = 32;

int run(const Options &opts, const Args &args)
{
    if (args.size() > 2) return usage_error("ssd takes [N [0|1]]", "ssd");
    if (args.empty()) {
        std::string text, json;
        for (uint8_t n = 0; n < kSsdCount; ++n) {
            uint8_t on = 0;
            if (BSP_GetSSDOnlineStates(n, &on) != 0) return fail("cannot read SSD " + std::to_string(n) + " (-v shows why)");
            if (!on) continue;
            text += (text.empty() ? "" : " ") + std::to_string(n);
            json += (json.empty() ? "" : ", ") + std::to_string(n);
        }
        if (opts.json) {
            std::printf("{\"online\": [%s]}\n", json.c_str());
        } else {
            std::printf("online: %s\n", text.empty() ? "none" : text.c_str());
        }
        return 0;
    }
    std::optional<uint64_t> n = parse_number(args[0], kSsdCount - 1);
    if (!n) return usage_error("bad SSD " + args[0] + " (0 to " + std::to_string(kSsdCount - 1) + ")", "ssd");
    const auto ssd = static_cast<uint8_t>(*n);
    if (args.size() == 2) {
        std::optional<uint64_t> value = parse_number(args[1], 1);
        if (!value) return usage_error("an SSD is recorded 0 (offline) or 1 (online): " + args[1], "ssd");
        int32_t status = BSP_SetSSDOnlineStates(ssd, static_cast<uint8_t>(*value));
        if (status != 0) return fail_call("record SSD " + std::to_string(ssd), static_cast<uint32_t>(status));
        if (opts.json) std::printf("{\"ssd\": %u, \"recorded\": %u}\n", ssd, static_cast<unsigned>(*value));
        return 0;
    }
    uint8_t on = 0;
    if (BSP_GetSSDOnlineStates(ssd, &on) != 0) return fail("cannot read SSD " + std::to_string(ssd) + " (-v shows why)");
    if (opts.json) {
        std::printf("{\"ssd\": %u, \"online\": %u}\n", ssd, on);
    } else {
        std::printf("%u\n", on);
    }
    return 0;
}

const Register reg({"ssd", "list, read or record the SSD online bits",
                    "usage: bspctl [-p PROFILE] [--json] ssd [N [0|1]]\n"
                    "  without N  the SSDs (0 to 31) that read online\n"
                    "  N          1 when SSD N reads online, else 0\n"
                    "  N 0|1      record SSD N offline or online (quiet)\n"
                    "\n"
                    "  Reads show the disks' own presence, except on 4U four-controller enclosures,\n"
                    "  which read back the BMC's record. Writes always set the record, so elsewhere\n"
                    "  a write does not change what reads show.\n",
                    run});

}  // namespace
}  // namespace bspctl
