// bspctl reboot: reboots the BMC through the library and shows its hand-over step by step, as
// the simulated board sees it happen: every line comes from a platform call the library makes
// or a log line it writes while it runs, in that order. A step the library leaves out shows as
// skipped when the next one starts.
#include <termios.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "bspsim/sim.hpp"
#include "platform/vos.h"

namespace bspctl {
namespace {

using bspsim::Event;
using bspsim::LogLine;
using bspsim::Op;

// The hand-over's stages in the library's order; a stage reached skips the ones before it
// that never showed.
enum Stage { kStart, kMarker, kOpLog, kSwitch, kRole, kPcie, kConsole, kReboot };

constexpr uint32_t kRamAddrLo = 0xBA, kRamAddrHi = 0xBB, kRamData = 0xBC;
// The window takes 13 address bits; the RAM's addresses 0xC700-0xDBFF are told apart by them.
constexpr uint32_t kRamWindowBits = 0x1FFF, kRamBase = 0xC000;
constexpr uint32_t kMarkerAddr = 0xD970;
constexpr uint32_t kPcieCoreReg = 0xFF;
constexpr uint32_t kOwnRoleReg = 0xDF;  // the first thing the role read looks at
constexpr uint32_t kDiscarded = 0xFFFFDA83;

struct Progress {
    bool json = false;
    Stage stage = kStart;
    uint64_t start_ms = 0, now_ms = 0, switch_asked_ms = 0;
    bool started = false, role_said = false, pcie_said = false;
    uint32_t ram_addr = 0;
    std::vector<std::string> lines;
};
Progress g;

void say(const std::string &line)
{
    char at[32];
    std::snprintf(at, sizeof at, "[%6llu ms] ", static_cast<unsigned long long>(g.now_ms - g.start_ms));
    g.lines.push_back(line);
    if (!g.json) {
        std::printf("%s%s\n", at, line.c_str());
        std::fflush(stdout);
    }
}

// Moves on to `stage`, saying what the library left out on the way.
void reach(Stage stage)
{
    if (g.stage < kSwitch && stage > kSwitch) say("switch watchdog: not a 4U4C enclosure, nothing to stop");
    if (stage > kRole && !g.role_said) {
        // The role was read (and not master), or the board hands nothing over at all.
        say(g.stage == kRole ? "mastership: kept (not master)" : "mastership: no hand-over on this board");
        g.role_said = true;
    }
    if (g.stage < kPcie && stage > kPcie) say("PCIe cores: skipped");
    if (stage > g.stage) g.stage = stage;
}

bool is_write(const Event &e) { return e.op == Op::LocalBusWrite || e.op == Op::SpiWrite || e.op == Op::DflChipByteWrite; }

void on_event(const Event &e)
{
    if (!g.started) return;
    g.now_ms = e.time_ms;
    const bool ok = e.result == 0 && (e.flags & bspsim::kFlagBlocked) == 0;
    if (is_write(e) && e.a == kRamAddrLo) g.ram_addr = (g.ram_addr & 0xFF00) | (e.value & 0xFF);
    if (is_write(e) && e.a == kRamAddrHi) g.ram_addr = (g.ram_addr & 0x00FF) | (e.value & 0xFF) << 8;
    if ((e.op == Op::LocalBusRead || e.op == Op::SpiRead) && e.a == kOwnRoleReg && g.stage < kRole) {
        reach(kRole);
    } else if (is_write(e) && e.a == kRamData && g.stage < kMarker) {
        reach(kMarker);
        char text[80];
        const uint32_t addr = kRamBase | (g.ram_addr & kRamWindowBits);
        std::snprintf(text, sizeof text, "reboot marker: CPLD RAM %s = %s%s%s", hex(addr, 4).c_str(), hex(e.value).c_str(),
                      addr == kMarkerAddr ? "" : " (not the marker's address)", ok ? "" : " (failed)");
        say(text);
    } else if (e.op == Op::DflCallMethod && e.name.ends_with(".SetWtdFlag")) {
        reach(kSwitch);
        g.switch_asked_ms = e.time_ms;
        if (!ok) say("switch watchdog: stop request failed (status " + std::to_string(e.result) + "), not waiting");
    } else if (e.op == Op::DflGetHandle && e.name == "GeSwitchObj" && !ok) {
        reach(kSwitch);
        say("switch watchdog: no switch object (status " + std::to_string(e.result) + ")");
    } else if (e.op == Op::Change && e.name == "switch stop requested") {
        say("switch watchdog: stop requested");
    } else if (e.op == Op::Change && e.name == "switch watchdog stopped") {
        say("switch watchdog: stopped after " + std::to_string(e.time_ms - g.switch_asked_ms) + " ms");
    } else if (is_write(e) && e.a == kPcieCoreReg && g.stage <= kPcie && !g.pcie_said) {
        reach(kPcie);
        g.pcie_said = true;
        say(e.value == 0 ? "PCIe cores: held off" : "PCIe cores: written " + hex(e.value));
    } else if (e.op == Op::Termios && e.b == 1) {
        reach(kConsole);
        say(std::string("console: output flow control ") + ((e.value & IXON) ? "still on" : "off"));
    } else if (e.op == Op::Change && e.name == "tty start sent") {
        say("console: START character sent");
    } else if (e.op == Op::DflReboot) {
        reach(kReboot);
        say(ok ? "reboot requested" : "reboot request failed (status " + std::to_string(e.result) + ")");
    } else if (e.op == Op::Change && e.name.starts_with("bmc reboot")) {
        say("BMC restarted");
    }
}

void on_log(const LogLine &l)
{
    if (!g.started) return;
    if (l.kind == LogLine::Operation) {
        // The operation log line as written, without its "file(line)(tick): " prefix.
        const size_t at = l.text.find("): ");
        const std::string text = at == std::string::npos ? l.text : l.text.substr(at + 3);
        if (text.starts_with("Abandon master")) {
            reach(kRole);
            g.role_said = true;
            say(text.starts_with("Abandon master success") ? "mastership: given up" : "mastership: give-up failed (" + text + ")");
        } else {
            reach(kOpLog);
            say("operation log: " + text);
        }
    } else if (l.text.starts_with("BSP wait 5s")) {
        say("switch watchdog: no confirmation after " + std::to_string(g.now_ms - g.switch_asked_ms) + " ms, going on");
    } else if (l.text.starts_with("Get Board MAS or SLV State Failed")) {
        reach(kRole);
        g.role_said = true;
        say("mastership: role unknown, kept (" + l.text + ")");
    } else if (l.text.starts_with("Caller")) {
        say("library: " + l.text);
    }
}

int run(const Options &opts, const Args &args)
{
    std::optional<uint64_t> caller;
    if (!args.empty()) {
        if (args.size() != 2 || args[0] != "--flexible" || !(caller = parse_number(args[1], 0xFFFFFFFF))) {
            return usage_error("reboot takes nothing or --flexible REQUEST", "reboot");
        }
    }
    g.json = opts.json;
    g.start_ms = g.now_ms = vos_tick_get();
    // The library's caches are empty in a fresh process: it learns the board first, so the
    // record starts with the first step of the reboot itself.
    (void)BSP_Is4U4CBoard();
    (void)BSP_IsSmmBoard();
    bspsim::set_record_observer(on_event);
    bspsim::set_log_observer(on_log);
    g.started = true;
    uint32_t status = 0;
    if (caller) {
        status = BSP_RebootBmcFlexibly(static_cast<uint32_t>(*caller));
    } else {
        BSP_RebootBmc();
    }
    g.started = false;
    bspsim::set_record_observer(nullptr);
    bspsim::set_log_observer(nullptr);
    if (status == kDiscarded) {
        return fail("reboot discarded: a manufacturing build on a CPLD that fails its self test (status " +
                    hex(status, 8) + ")");
    }
    if (opts.json) {
        std::printf("{\"steps\": [");
        for (size_t i = 0; i < g.lines.size(); ++i) std::printf("%s%s", i ? ", " : "", json_string(g.lines[i]).c_str());
        std::printf("]}\n");
    }
    return 0;
}

const Register reg({"reboot", "reboot the BMC, showing its hand-over as it happens",
                    "usage: bspctl [-p PROFILE] [-b SLOT] [--json] reboot [--flexible REQUEST]\n"
                    "  Reboots this board's BMC through the library and prints each step of the\n"
                    "  hand-over as the board sees it, with the virtual time since the start: the\n"
                    "  reboot marker, the operation log line, the switch watchdog (4U4C enclosures),\n"
                    "  mastership, the PCIe cores, the console's flow control and the reboot request.\n"
                    "  --flexible REQUEST  reboot on behalf of caller REQUEST, which a manufacturing\n"
                    "                      build refuses while a CPLD fails its self test\n",
                    run});

}  // namespace
}  // namespace bspctl
