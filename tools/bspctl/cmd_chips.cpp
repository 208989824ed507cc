// bspctl chips: the clock generator, CPLD and voltage regulator this board is built with, as the
// library identifies them from the strap pins; `bspctl sim straps` sets the simulated straps.
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "bspsim/sim.hpp"
#include "bspsim/straps.hpp"

namespace bspctl {


namespace {

struct ChipClass {
    uint8_t id;
    const char *kind;
};
constexpr ChipClass kClasses[] = {{1, "clock generator"}, {2, "CPLD"}, {3, "voltage regulator"}};
constexpr uint8_t kNotIdentified = 0xFF;

int run(const Options &opts, const Args &args)
{
    if (!args.empty()) return usage_error("chips takes no arguments", "chips");
    uint8_t straps = 0;
    if (BSP_GetChipTypeGpioVal(&straps) != 0) return fail("cannot read the identification straps (-v shows why)");
    // This build runs on 5830 boards, which wire three strap bits and no parity bit.
    const bool three_pins = BSP_Is5830Board() != 0;
    std::string rows;
    if (!opts.json) std::printf("straps: 0x%X on pins 129-132%s\n\n%-6s %-18s %-5s %s\n", straps,
                                three_pins ? " (a 5830 board identifies by pins 129-131, no parity)" : "", "class",
                                "chip", "type", "name");
    for (const ChipClass &c : kClasses) {
        uint8_t type = kNotIdentified;
        const bool known = BSP_IndentifyChipType(c.id, &type) == 1;
        char name[32] = "";
        (void)BSP_GetChipTypeStr(c.id, sizeof name, name);
        if (opts.json) {
            rows += std::string(rows.empty() ? "" : ", ") + "{\"class\": " + std::to_string(c.id) + ", \"chip\": " +
                    json_string(c.kind) + ", \"type\": " + (known ? std::to_string(type) : "null") +
                    ", \"name\": " + json_string(name) + "}";
        } else {
            std::printf("%-6u %-18s %-5s %s\n", c.id, c.kind, known ? std::to_string(type).c_str() : "-", name);
        }
    }
    if (opts.json) {
        std::printf("{\"straps\": %u, \"pins_read\": %d, \"chips\": [%s]}\n", straps, three_pins ? 3 : 4, rows.c_str());
    }
    return 0;
}

const Register reg({"chips", "clock generator, CPLD and voltage regulator fitted, from the straps",
                    "usage: bspctl [-p PROFILE] [--json] chips\n"
                    "  The four identification straps (pin 129 is bit 0), then per chip class the type\n"
                    "  the library identifies (- when none) and the name it gives. A 5830 board reads\n"
                    "  only pins 129-131 and checks no parity; other boards read all four and want even\n"
                    "  parity. No strap value names a voltage regulator: it is always \"Vrd\".\n",
                    run});

}  // namespace

// bspctl sim straps VALUE: the identification straps of the simulated board (0 to 0xF).
int sim_straps(const Options &opts, const Args &args)
{
    std::optional<uint64_t> value = args.size() == 1 ? parse_number(args[0], 0xF) : std::nullopt;
    if (!value) return usage_error("sim straps takes VALUE (0 to 0xf)", "sim");
    bspsim::straps().set(static_cast<uint32_t>(*value));
    if (opts.json) std::printf("{\"straps\": %u}\n", static_cast<unsigned>(*value));
    return 0;
}

}  // namespace bspctl
