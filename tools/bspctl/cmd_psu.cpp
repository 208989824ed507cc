// bspctl psu: the power supplies and the backup battery as the library reports them, and a
// watch that prints each change the library logs. `bspctl sim psu` drives the simulated ones.
#include <signal.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <cstdio>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "bspsim/psu.hpp"
#include "bspsim/sim.hpp"
#include "psu_report.h"

namespace bspctl {

namespace {

Reading read_state(uint32_t (*query)(uint8_t, uint8_t *), uint8_t index)
{
    Reading r;
    r.valid = query(index, &r.value) == 0;
    return r;
}

const char *yes_no(const Reading &r, const char *yes, const char *no) { return r.value ? yes : no; }

std::string json_reading(const Reading &r) { return r.value ? "true" : "false"; }

}  // namespace

std::vector<SupplyReport> collect_supplies()
{
    std::vector<SupplyReport> out;
    const uint8_t count = BSP_GetPowerNum();
    for (uint8_t i = 0; i < count; ++i) {
        out.push_back({i, read_state(BSP_GetPowerPresent, i), read_state(BSP_GetPowerAlarmState, i),
                       read_state(BSP_GetPowerOkState, i), read_state(BSP_GetPowerOnState, i)});
    }
    return out;
}

BbuReport collect_bbu()
{
    BbuReport b;
    // The SMM and the expansion board do not report the battery's presence (the library
    // refuses the query there); the status register is read on every board.
    b.presence_reported = !BSP_IsSmmBoard() && !BSP_Is2UExpBoard();
    if (b.presence_reported) b.present.valid = BSP_GetBbuOnlineStates(0, &b.present.value) == 0;
    b.status = BSP_CheckBBUStatus(0);
    return b;
}

const char *bbu_status_text(uint32_t status)
{
    return status == 0 ? "healthy" : status == 2 ? "not healthy" : "absent";
}

std::string supply_summary(const SupplyReport &s)
{
    auto word = [](const Reading &r, const char *yes, const char *no) {
        return std::string(yes_no(r, yes, no)) + (r.valid ? "" : "?");
    };
    if (s.present.valid && !s.present.value) return "absent";
    std::string text = word(s.present, "present", "absent");
    if (s.alarm.value || !s.alarm.valid) text += " " + word(s.alarm, "alarm", "no-alarm");
    return text + " " + word(s.ok, "ok", "not-ok") + " " + word(s.on, "on", "off");
}

std::string supply_json(const SupplyReport &s)
{
    return "{\"index\": " + std::to_string(s.index) + ", \"present\": " + json_reading(s.present) +
           ", \"alarm\": " + json_reading(s.alarm) + ", \"ok\": " + json_reading(s.ok) + ", \"on\": " +
           json_reading(s.on) + ", \"valid\": " +
           (s.present.valid && s.alarm.valid && s.ok.valid && s.on.valid ? "true" : "false") + "}";
}

std::string bbu_json(const BbuReport &b)
{
    return std::string("{\"present\": ") + (b.presence_reported ? json_reading(b.present) : "null") +
           ", \"status\": " + json_string(bbu_status_text(b.status)) + "}";
}

namespace {

const char kUsage[] =
    "usage: bspctl [-p PROFILE] [--json] psu\n"
    "       bspctl [-p PROFILE] [--json] psu watch [--interval MS] [--count N]\n"
    "  (none)  a table of each supply's presence, alarm, power-ok and on state, and the\n"
    "          backup battery's presence and status\n"
    "  watch   polls every MS milliseconds (default 1000) and prints each change, and each\n"
    "          invalid code, as the library logs it, until interrupted or after N polls; the\n"
    "          first poll prints the supplies found present and the battery's status byte.\n"
    "          With --json, one document at the end.\n"
    "A state the CPLD gave no valid code for shows the last good one, marked '?'.\n";

void print_table(const std::vector<SupplyReport> &supplies, const BbuReport &bbu)
{
    bool any_invalid = false;
    std::printf("supply  present  alarm  power-ok  on\n");
    for (const SupplyReport &s : supplies) {
        auto cell = [&any_invalid](const Reading &r, const char *yes, const char *no) {
            any_invalid |= !r.valid;
            return std::string(yes_no(r, yes, no)) + (r.valid ? "" : "?");
        };
        std::printf("%-7u %-8s %-6s %-9s %s\n", s.index, cell(s.present, "yes", "no").c_str(),
                    cell(s.alarm, "yes", "no").c_str(), cell(s.ok, "yes", "no").c_str(), cell(s.on, "yes", "no").c_str());
    }
    std::string presence = !bbu.presence_reported ? "presence not reported on this board"
                           : std::string(yes_no(bbu.present, "present", "absent")) + (bbu.present.valid ? "" : "?");
    std::printf("\nbackup battery: %s, status %s\n", presence.c_str(), bbu_status_text(bbu.status));
    if (any_invalid || (bbu.presence_reported && !bbu.present.valid)) {
        std::printf("? no valid code from the CPLD: the last good state is shown\n");
    }
}

int show(const Options &opts)
{
    const std::vector<SupplyReport> supplies = collect_supplies();
    const BbuReport bbu = collect_bbu();
    if (!opts.json) {
        print_table(supplies, bbu);
        return 0;
    }
    std::printf("{\"supplies\": [");
    for (size_t i = 0; i < supplies.size(); ++i) std::printf("%s%s", i ? ", " : "", supply_json(supplies[i]).c_str());
    std::printf("], \"bbu\": %s}\n", bbu_json(bbu).c_str());
    return 0;
}

// The watch prints what the library logs about the supplies in this process while it polls.
std::atomic<bool> g_stop{false};
std::vector<std::string> *g_changes = nullptr;
bool g_print_changes = true;

void on_log(const bspsim::LogLine &line)
{
    if (line.kind != bspsim::LogLine::Debug || line.file != "bmc_bsp_power.cpp" || !g_changes) return;
    g_changes->push_back(line.text);
    if (g_print_changes) {
        std::printf("%s\n", line.text.c_str());
        std::fflush(stdout);
    }
}

int watch(const Options &opts, const Args &args)
{
    uint64_t interval_ms = 1000, count = 0;
    for (size_t i = 0; i < args.size(); ++i) {
        const bool interval = args[i] == "--interval";
        if (!interval && args[i] != "--count") return usage_error("psu watch: unknown argument '" + args[i] + "'", "psu");
        if (i + 1 >= args.size()) return usage_error("psu watch: " + args[i] + " needs a number", "psu");
        std::optional<uint64_t> n = parse_number(args[++i], interval ? 3600000 : UINT32_MAX);
        if (!n || (interval && *n == 0)) return usage_error("psu watch: bad " + args[i - 1] + " '" + args[i] + "'", "psu");
        (interval ? interval_ms : count) = *n;
    }
    struct sigaction sa {};
    sa.sa_handler = [](int) { g_stop = true; };
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);

    std::vector<std::string> changes;
    g_changes = &changes;
    g_print_changes = !opts.json;
    bspsim::set_log_observer(on_log);
    uint64_t polls = 0;
    while (!g_stop && (count == 0 || polls < count)) {
        if (polls > 0) {
            // Real time between polls: the board's virtual clock does not pace a watch.
            for (uint64_t slept = 0; slept < interval_ms && !g_stop; slept += 10) {
                const struct timespec ts = {0, static_cast<long>(std::min<uint64_t>(10, interval_ms - slept)) * 1000000L};
                nanosleep(&ts, nullptr);
            }
            if (g_stop) break;
        }
        (void)collect_supplies();
        (void)collect_bbu();
        ++polls;
    }
    bspsim::set_log_observer(nullptr);
    g_changes = nullptr;
    if (opts.json) {
        std::printf("{\"polls\": %llu, \"changes\": [", static_cast<unsigned long long>(polls));
        for (size_t i = 0; i < changes.size(); ++i) std::printf("%s%s", i ? ", " : "", json_string(changes[i]).c_str());
        std::printf("]}\n");
    }
    return 0;
}

int run(const Options &opts, const Args &args)
{
    if (args.empty()) return show(opts);
    if (args[0] == "watch") return watch(opts, Args(args.begin() + 1, args.end()));
    return usage_error("psu: unknown subcommand '" + args[0] + "' (watch)", "psu");
}

const Register reg({"psu", "power supplies and backup battery (table, watch)", kUsage, run});

}  // namespace

// bspctl sim psu N present|absent|alarm|ok|fail|glitch [COUNT]: what the simulated supply does.
int sim_psu(const Options &opts, const Args &args)
{
    const char *usage = "sim psu takes N present|absent|alarm|ok|fail|glitch [COUNT]";
    if (args.size() < 2 || args.size() > 3 || (args.size() == 3 && args[1] != "glitch")) return usage_error(usage, "sim");
    std::optional<uint64_t> index = parse_number(args[0], 255);
    if (!index) return usage_error("sim psu: bad supply number '" + args[0] + "'", "sim");
    std::optional<uint64_t> reads = args.size() == 3 ? parse_number(args[2], UINT32_MAX) : std::optional<uint64_t>(1);
    if (!reads) return usage_error("sim psu: bad glitch count '" + args[2] + "'", "sim");
    bspsim::attach_persistent(opts.profile);
    const uint32_t supplies = bspsim::supply_count();
    if (*index >= supplies) {
        return fail("no supply " + args[0] + ": this enclosure has " + std::to_string(supplies) + " (0 to " +
                    std::to_string(supplies - 1) + ")");
    }
    bspsim::Psu psu(static_cast<uint32_t>(*index));
    const std::string &what = args[1];
    if (what == "present" || what == "absent") {
        psu.set_present(what == "present");
    } else if (what == "alarm") {
        psu.set_alarm(true);
    } else if (what == "ok" || what == "fail") {
        // A failing supply loses power-ok and raises its alarm; a good one is the other way.
        psu.set_ok(what == "ok").set_alarm(what == "fail");
    } else if (what == "glitch") {
        psu.glitch(static_cast<uint32_t>(*reads));
    } else {
        return usage_error("sim psu: unknown state '" + what + "' (present|absent|alarm|ok|fail|glitch)", "sim");
    }
    if (opts.json) {
        const bspsim::SupplyState s = psu.state();
        auto b = [](bool v) { return v ? "true" : "false"; };
        std::printf("{\"psu\": %llu, \"present\": %s, \"alarm\": %s, \"ok\": %s, \"on\": %s, \"glitch_reads\": %u}\n",
                    static_cast<unsigned long long>(*index), b(s.present), b(s.alarm), b(s.ok), b(s.on), s.glitch_reads);
    }
    return 0;
}

}  // namespace bspctl
