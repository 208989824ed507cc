// bspctl cooling: the fan controller's mode, what each fan object reports, and the library's
// verdict on whether the board may rely on its fans. `bspctl sim fan` states the fans.
#include <glib.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "bspsim/fans.hpp"
#include "platform/dfl.h"
#include "subcommand.h"

namespace bspctl {
namespace {

struct FanReport {
    std::string name;
    bool answered = false;  // both methods answered with bytes where the verdict reads them
    bool present = false;
    uint8_t level = 0, faults = 0, alarms = 0;
};

// The byte of output `n`, when there is one.
std::optional<uint8_t> byte_output(GSList *outputs, guint n)
{
    auto *v = static_cast<GVariant *>(g_slist_nth_data(outputs, n));
    if (!v || !g_variant_is_of_type(v, G_VARIANT_TYPE_BYTE)) return std::nullopt;
    return g_variant_get_byte(v);
}

FanReport ask(OBJ_HANDLE fan)
{
    FanReport r;
    const char *name = dfl_get_object_name(fan);
    r.name = name ? name : "?";
    GSList *out = nullptr;
    const bool pst = dfl_call_class_method(fan, "GetPst", nullptr, nullptr, &out) == 0;
    const std::optional<uint8_t> present = pst ? byte_output(out, 0) : std::nullopt;
    uip_free_gvariant_list(out);
    if (!present) return r;
    r.present = *present == 1;
    if (!r.present) {
        r.answered = true;
        return r;
    }
    out = nullptr;
    if (dfl_call_class_method(fan, "GetFanInfo", nullptr, nullptr, &out) == 0) {
        const std::optional<uint8_t> level = byte_output(out, 1), faults = byte_output(out, 4), alarms = byte_output(out, 5);
        r.answered = level && faults && alarms;
        if (r.answered) {
            r.level = *level;
            r.faults = *faults;
            r.alarms = *alarms;
        }
    }
    uip_free_gvariant_list(out);
    return r;
}

int run(const Options &opts, const Args &args)
{
    if (!args.empty()) return usage_error("cooling takes no arguments", "cooling");
    uint8_t state = 0;
    const int32_t status = BSP_GetBoardCoolingState(&state);
    if (status != 0) return fail_call("decide the cooling state", static_cast<uint32_t>(status));
    OBJ_HANDLE ctrl = 0;
    uint8_t mode = 0;
    const bool mode_read = dfl_get_object_handle("FanCtrlObj", &ctrl) == 0 && dfl_get_property_ubyte(ctrl, "Mode", &mode) == 0;
    std::vector<FanReport> fans;
    GSList *list = nullptr;
    if (dfl_get_object_list("Fan", &list) == 0) {
        for (GSList *l = list; l; l = l->next) fans.push_back(ask(static_cast<OBJ_HANDLE>(reinterpret_cast<uintptr_t>(l->data))));
    }
    g_slist_free(list);
    const char *mode_text = !mode_read ? "unknown" : mode == 1 ? "manual" : mode == 0 ? "auto" : "other";
    if (opts.json) {
        std::string items;
        for (const FanReport &f : fans) {
            items += (items.empty() ? "" : ", ") + std::string("{\"name\": ") + json_string(f.name) + ", \"answered\": " +
                     (f.answered ? "true" : "false") + ", \"present\": " + (f.present ? "true" : "false") +
                     ", \"level\": " + std::to_string(f.level) + ", \"faults\": " + std::to_string(f.faults) +
                     ", \"alarms\": " + std::to_string(f.alarms) + "}";
        }
        std::printf("{\"mode\": %s, \"fans\": [%s], \"state\": %u}\n", json_string(mode_text).c_str(), items.c_str(), state);
        return 0;
    }
    std::printf("fan mode: %s\n", mode_text);
    if (!fans.empty()) std::printf("fan      present  level  faults  alarms\n");
    for (const FanReport &f : fans) {
        if (!f.answered) {
            std::printf("%-8s (does not answer)\n", f.name.c_str());
        } else if (!f.present) {
            std::printf("%-8s no\n", f.name.c_str());
        } else {
            std::printf("%-8s yes      %-6u %s    %s\n", f.name.c_str(), f.level, hex(f.faults).c_str(), hex(f.alarms).c_str());
        }
    }
    std::printf("cooling state: %u\n", state);
    return 0;
}

const Register reg({"cooling", "fan mode, fans and the board's cooling state",
                    "usage: bspctl [-p PROFILE] [--json] cooling\n"
                    "  The fan controller's mode, each fan's presence, speed level and fault and alarm\n"
                    "  flags as its object reports them, and the cooling state the library decides:\n"
                    "  1 in manual mode, or when a present fan without faults or alarms runs below\n"
                    "  level 24; else 0.\n",
                    run});

}  // namespace

// bspctl sim fan N present|absent|speed LEVEL|fault|alarm|ok, and sim fan mode auto|manual.
int sim_fan(const Options &opts, const Args &args)
{
    const char *usage = "sim fan takes N present|absent|speed LEVEL|fault|alarm|ok, or mode auto|manual";
    if (args.size() < 2 || args.size() > 3 || (args.size() == 3) != (args[1] == "speed")) return usage_error(usage, "sim");
    if (args[0] == "mode") {
        if (args[1] != "auto" && args[1] != "manual") return usage_error(usage, "sim");
        bspsim::set_fans_manual(args[1] == "manual");
        if (opts.json) std::printf("{\"mode\": %s}\n", json_string(args[1]).c_str());
        return 0;
    }
    const std::optional<uint64_t> n = parse_number(args[0], 255);
    if (!n) return usage_error("sim fan: bad fan number '" + args[0] + "'", "sim");
    const uint32_t count = bspsim::fan_count();
    if (count == 0) return fail("this board has no fans");
    if (*n == 0 || *n > count) return fail("no fan " + args[0] + ": this board has " + std::to_string(count) + " (1 to " + std::to_string(count) + ")");
    bspsim::Fan fan(static_cast<uint32_t>(*n - 1));
    const std::string &what = args[1];
    if (what == "present" || what == "absent") {
        fan.set_present(what == "present");
    } else if (what == "speed") {
        const std::optional<uint64_t> level = parse_number(args[2], 255);
        if (!level) return usage_error("sim fan: bad speed level '" + args[2] + "' (0 to 255)", "sim");
        fan.set_level(static_cast<uint8_t>(*level));
    } else if (what == "fault" || what == "alarm" || what == "ok") {
        if (what != "alarm") fan.set_faults(what == "fault" ? bspsim::kFanFrontRotorFailed : 0);
        if (what != "fault") fan.set_alarms(what == "alarm" ? bspsim::kFanSpeedAlarm : 0);
    } else {
        return usage_error("sim fan: unknown state '" + what + "' (present|absent|speed|fault|alarm|ok)", "sim");
    }
    if (opts.json) {
        const bspsim::FanState s = fan.state();
        std::printf("{\"fan\": %llu, \"present\": %s, \"level\": %u, \"faults\": %u, \"alarms\": %u}\n",
                    static_cast<unsigned long long>(*n), s.present ? "true" : "false", s.level, s.faults, s.alarms);
    }
    return 0;
}

}  // namespace bspctl
