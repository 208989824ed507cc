// bspctl clocks: the clock-status registers of this board with its clock bits, and the library's
// verdict; `bspctl sim clock` loses a simulated clock or brings it back.
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "bspsim/clocks.hpp"
#include "bspsim/mastership.hpp"
#include "bspsim/sim.hpp"

namespace bspctl {
namespace {

constexpr uint32_t kClockRegs[] = {0x48, 0x49};

int run(const Options &opts, const Args &args)
{
    if (!args.empty()) return usage_error("clocks takes no arguments", "clocks");
    std::string rows, lines;
    for (uint32_t reg : kClockRegs) {
        // Which bits are clocks is the board's wiring, as the simulated board has it.
        const uint8_t mask = bspsim::clocks().clock_bits(reg);
        if (mask == 0) continue;
        uint8_t value = 0;
        if (BSP_ReadCpldBytes(reg, 1, &value) != 0) return fail("cannot read register " + hex(reg) + " (-v shows why)");
        const uint8_t lost = static_cast<uint8_t>(mask & ~value);
        if (opts.json) {
            rows += std::string(rows.empty() ? "" : ", ") + "{\"register\": " + json_string(hex(reg)) + ", \"mask\": " +
                    json_string(hex(mask)) + ", \"value\": " + json_string(hex(value)) + ", \"lost\": " +
                    json_string(hex(lost)) + "}";
        } else {
            char line[64];
            std::snprintf(line, sizeof line, "%-9s %-7s %-6s %s\n", hex(reg).c_str(), hex(mask).c_str(),
                          hex(value).c_str(), lost ? ("lost " + hex(lost)).c_str() : "ok");
            lines += line;
        }
    }
    const bool fault = BSP_GetClockStatus() != 0;
    if (opts.json) {
        std::printf("{\"registers\": [%s], \"fault\": %s}\n", rows.c_str(), fault ? "true" : "false");
    } else {
        std::printf("%s\nclocks: %s\n",
                    lines.empty() ? "this board has no clock-status bits\n" : ("register  clocks  value  state\n" + lines).c_str(),
                    fault ? "fault" : "ok");
    }
    return 0;
}

const Register reg({"clocks", "clock-status registers and the clock verdict",
                    "usage: bspctl [-p PROFILE] [--json] clocks\n"
                    "  Each clock-status register of this board (0x48, 0x49): its clock bits, the value\n"
                    "  read and the clocks lost (bits of a clock that reads 0), then the library's\n"
                    "  verdict. A board without clock bits has no rows and is always ok.\n",
                    run});

}  // namespace

// bspctl sim clock REG BIT lost|ok: a clock of the simulated board stops or runs again.
int sim_clock(const Options &opts, const Args &args)
{
    const char *usage = "sim clock takes REG BIT lost|ok";
    if (args.size() != 3 || (args[2] != "lost" && args[2] != "ok")) return usage_error(usage, "sim");
    const std::optional<uint64_t> reg = parse_number(args[0], 0x3FF), bit = parse_number(args[1], 7);
    if (!reg || !bit) return usage_error(usage, "sim");
    bspsim::Clocks clocks = bspsim::clocks();
    try {
        if (args[2] == "lost") clocks.lose(static_cast<uint32_t>(*reg), static_cast<uint32_t>(*bit));
        else clocks.restore(static_cast<uint32_t>(*reg), static_cast<uint32_t>(*bit));
    } catch (const bspsim::Error &e) {
        return fail(e.what());
    }
    if (opts.json) std::printf("{\"register\": %s, \"lost\": %s}\n", json_string(hex(*reg)).c_str(),
                               json_string(hex(clocks.lost(static_cast<uint32_t>(*reg)))).c_str());
    return 0;
}

}  // namespace bspctl
