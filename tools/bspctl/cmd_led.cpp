// bspctl led: the enclosure and board LEDs, listed, read or switched. Each LED is a CPLD bit;
// those the library has a setter for are switched through it, the others by their bit.
#include <array>
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "subcommand.h"

namespace bspctl {
namespace {

struct Led {
    const char *name;
    uint32_t reg;
    uint32_t bit;
    uint32_t (*set)(uint8_t on);  // nullptr: the bit is written directly
};

constexpr std::array<Led, 6> kLeds = {{
    {"frame-locate", 0x13, 0, [](uint8_t on) { return static_cast<uint32_t>(BSP_SetframeLocalLed(on)); }},
    {"frame-fault", 0x13, 2, [](uint8_t on) { return static_cast<uint32_t>(BSP_Setframefaultled(on)); }},
    {"exp-all", 0x13, 5, BSP_ExpSetAllLedState},
    {"board-power", 0x5F, 0, nullptr},
    {"board-alarm", 0x5F, 2, nullptr},
    {"board-locate", 0x5F, 3, nullptr},
}};

const char *state_name(uint8_t on) { return on ? "on" : "off"; }

// The LED's state, or nullopt after the failure line.
std::optional<uint8_t> read(const Led &led)
{
    uint8_t on = 0;
    uint32_t status = BSP_ReadCpldBit(led.reg, led.bit, &on);
    if (status != 0) {
        fail_call(std::string("read LED ") + led.name, status);
        return std::nullopt;
    }
    return on;
}

int list(const Options &opts)
{
    std::string text, json;
    for (const Led &led : kLeds) {
        std::optional<uint8_t> on = read(led);
        if (!on) return kExitFailure;
        char line[64];
        std::snprintf(line, sizeof line, "%-13s %s\n", led.name, state_name(*on));
        text += line;
        json += (json.empty() ? "" : ", ") + json_string(led.name) + ": " + (*on ? "true" : "false");
    }
    if (opts.json) {
        std::printf("{\"leds\": {%s}}\n", json.c_str());
    } else {
        std::fputs(text.c_str(), stdout);
    }
    return 0;
}

int run(const Options &opts, const Args &args)
{
    if (args.empty()) return list(opts);
    if (args.size() > 2) return usage_error("led takes [NAME [on|off]]", "led");
    const Led *led = nullptr;
    std::string names;
    for (const Led &l : kLeds) {
        if (args[0] == l.name) led = &l;
        names += (names.empty() ? "" : "|") + std::string(l.name);
    }
    if (!led) return usage_error("unknown LED '" + args[0] + "' (" + names + ")", "led");
    if (args.size() == 2 && args[1] != "on" && args[1] != "off") return usage_error("an LED is on or off: " + args[1], "led");

    const std::string name_json = "\"led\": " + json_string(led->name);
    if (args.size() == 1) {
        std::optional<uint8_t> on = read(*led);
        if (!on) return kExitFailure;
        if (opts.json) {
            std::printf("{%s, \"on\": %s}\n", name_json.c_str(), *on ? "true" : "false");
        } else {
            std::printf("%s\n", state_name(*on));
        }
        return 0;
    }
    const uint8_t want = args[1] == "on" ? 1 : 0;
    uint32_t status = led->set ? led->set(want) : BSP_WriteCpldBit(led->reg, led->bit, want);
    if (status != 0) return fail_call("switch LED " + std::string(led->name) + " " + args[1], status);
    uint8_t back = want;
    if (opts.verify) {
        std::optional<uint8_t> on = read(*led);
        if (!on) return kExitFailure;
        back = *on;
    }
    const std::string fields = name_json + ", \"written\": " + json_string(args[1]) +
                               ", \"readback\": " + (opts.verify ? json_string(state_name(back)) : "null");
    if (back != want) {
        return fail("LED " + std::string(led->name) + " is " + state_name(back) + " after switching it " + args[1] +
                        ": the switch did not take",
                    fields);
    }
    if (opts.json) std::printf("{%s}\n", fields.c_str());
    return 0;
}

const Register reg({"led", "list, read or switch the enclosure and board LEDs",
                    "usage: bspctl [-p PROFILE] [--json] led [NAME [on|off]]\n"
                    "  without NAME  every LED and whether it is on\n"
                    "  NAME          on or off\n"
                    "  NAME on|off   switch the LED (quiet; read back unless --no-verify)\n"
                    "\n"
                    "  LEDs: frame-locate, frame-fault, exp-all (every LED of an expansion\n"
                    "  enclosure), board-power, board-alarm, board-locate.\n",
                    run});

}  // namespace
}  // namespace bspctl
