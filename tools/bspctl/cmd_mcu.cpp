// bspctl mcu: command blocks to and from the fan-board MCU through the library (each carries
// its PEC), and the SMM's MCU mode. `bspctl sim mcu` makes the simulated MCU misbehave.
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "bspsim/fan_mcu.hpp"
#include "platform/dfl.h"
#include "subcommand.h"

namespace bspctl {
namespace {

// The chip object and its block property: the board's fan-board MCU unless named.
struct Target {
    std::string object, property;
};

// Takes --object NAME and --property NAME out of `args`; false (usage error given) when one
// lacks its name.
bool take_target(Args &args, Target &t, int &code)
{
    Args rest;
    bool named_object = false, named_property = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const bool is_object = args[i] == "--object";
        if (!is_object && args[i] != "--property") {
            rest.push_back(args[i]);
            continue;
        }
        if (i + 1 >= args.size()) {
            code = usage_error("mcu: " + args[i] + " needs a name", "mcu");
            return false;
        }
        (is_object ? t.object : t.property) = args[++i];
        (is_object ? named_object : named_property) = true;
    }
    if (!named_object || !named_property) {
        bspsim::FanMcu mcu;
        if (!named_object) t.object = mcu.object();
        if (!named_property) t.property = mcu.property();
    }
    args = rest;
    return true;
}

std::string dump(const std::vector<uint8_t> &bytes, const char *sep, const char *line_sep)
{
    std::string out;
    char b[8];
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(b, sizeof b, "%02x", bytes[i]);
        out += (i == 0 ? "" : i % 16 == 0 ? line_sep : sep) + std::string(b);
    }
    return out;
}

std::string json_bytes(const std::vector<uint8_t> &bytes)
{
    std::string out;
    for (size_t i = 0; i < bytes.size(); ++i) out += (i ? ", " : "") + std::to_string(bytes[i]);
    return "[" + out + "]";
}

// What BSP_GetDataFromMCU's codes mean.
const char *read_failure(int32_t status)
{
    return status == 2 ? "the transfer failed" : status == 3 ? "the PEC did not match" : "refused";
}

int with_target(const Args &in, int (*body)(const Options &, const Target &, OBJ_HANDLE, const Args &),
                const Options &opts)
{
    Args args = in;
    Target t;
    int code = 0;
    if (!take_target(args, t, code)) return code;
    OBJ_HANDLE handle = 0;
    if (t.object.empty() || dfl_get_object_handle(t.object.c_str(), &handle) != 0) {
        return fail("no fan-board MCU object" + (t.object.empty() ? std::string() : " " + t.object) + " on this board");
    }
    return body(opts, t, handle, args);
}

int read_body(const Options &opts, const Target &t, OBJ_HANDLE handle, const Args &args)
{
    const std::optional<uint64_t> cmd = args.size() == 2 ? parse_number(args[0], 0xFF) : std::nullopt;
    const std::optional<uint64_t> len = args.size() == 2 ? parse_number(args[1], 1024) : std::nullopt;
    if (!cmd || !len || *len == 0) return usage_error("mcu read takes CMD (0 to 0xff) LEN (1 to 1024)", "mcu");
    std::vector<uint8_t> data(*len);
    const int32_t status = BSP_GetDataFromMCU(handle, t.property.c_str(), static_cast<uint8_t>(*cmd), data.data(),
                                              static_cast<uint32_t>(*len));
    if (status != 0) {
        // PEC mismatches are logged sparingly, so -v may show nothing for them.
        return fail("cannot read command " + hex(*cmd) + " of " + t.object + ": " + read_failure(status) +
                        " (status " + std::to_string(status) + (status == 3 ? ")" : "; -v shows why)"),
                    "\"status\": " + std::to_string(status));
    }
    if (opts.json) {
        std::printf("{\"cmd\": %u, \"data\": %s}\n", static_cast<unsigned>(*cmd), json_bytes(data).c_str());
    } else {
        std::printf("%s\n", dump(data, " ", "\n").c_str());
    }
    return 0;
}

int write_body(const Options &opts, const Target &t, OBJ_HANDLE handle, const Args &args)
{
    const std::optional<uint64_t> cmd = args.empty() ? std::nullopt : parse_number(args[0], 0xFF);
    if (!cmd || args.size() > 1027) return usage_error("mcu write takes CMD (0 to 0xff) and up to 1026 BYTEs", "mcu");
    std::vector<uint8_t> data;
    for (size_t i = 1; i < args.size(); ++i) {
        const std::optional<uint64_t> b = parse_number(args[i], 0xFF);
        if (!b) return usage_error("mcu write: bad byte '" + args[i] + "'", "mcu");
        data.push_back(static_cast<uint8_t>(*b));
    }
    const int32_t status = BSP_SetDataToMCU(handle, t.property.c_str(), static_cast<uint8_t>(*cmd), data.data(),
                                            static_cast<uint32_t>(data.size()));
    if (status != 0) return fail_call("write command " + hex(*cmd) + " of " + t.object, static_cast<uint32_t>(status));
    if (opts.json) std::printf("{\"cmd\": %u, \"written\": %zu}\n", static_cast<unsigned>(*cmd), data.size());
    return 0;
}

int read_cmd(const Options &opts, const Args &args) { return with_target(args, read_body, opts); }
int write_cmd(const Options &opts, const Args &args) { return with_target(args, write_body, opts); }

int mode(const Options &opts, const Args &args)
{
    if (!BSP_IsSmmBoard()) return fail("the MCU mode is kept by the SMM board; this board is not one");
    if (!args.empty()) {
        const std::optional<uint64_t> m = parse_number(args[0], 1);
        if (!m) return usage_error("the MCU mode is 0 (normal) or 1 (factory): " + args[0], "mcu");
        const int32_t status = BSP_SetSmmMcuMode(static_cast<uint8_t>(*m));
        if (status != 0) return fail_call("set the MCU mode", static_cast<uint32_t>(status));
        if (opts.json) std::printf("{\"mode\": %u}\n", static_cast<unsigned>(*m));
        return 0;
    }
    // The query reports nothing: a mode left at the sentinel was not read.
    constexpr uint8_t kUnread = 0xFF;
    uint8_t m = kUnread;
    BSP_GetSmmMcuMode(&m);
    if (m == kUnread) return fail("cannot read the MCU mode (-v shows why)");
    if (opts.json) {
        std::printf("{\"mode\": %u}\n", m);
    } else {
        std::printf("%u\n", m);
    }
    return 0;
}

constexpr Subcommand kSubs[] = {
    {"read", "CMD LEN [--object NAME] [--property NAME]", "read LEN bytes (1 to 1024) of command CMD", 2, 6, read_cmd},
    {"write", "CMD [BYTE...] [--object NAME] [--property NAME]", "write the BYTEs (up to 1026) as command CMD", 1,
     SIZE_MAX, write_cmd},
    {"mode", "[0|1]", "the SMM's MCU mode (1: factory mode), or set it", 0, 1, mode},
};

int run(const Options &opts, const Args &args) { return run_subcommand("mcu", kSubs, opts, args); }

const std::string kUsage = subcommand_usage(
    "mcu", kSubs,
    "\n  Blocks go to the fan-board MCU of the board's profile (the chip object and its block\n"
    "  property) unless --object and --property name others. Each block carries its PEC; a read\n"
    "  fails when the transfer fails (status 2), the PEC does not match (3) or the arguments are\n"
    "  refused (4). Reads print the data in hex, 16 bytes a line; writes are quiet.\n");

const Register reg({"mcu", "fan-board MCU blocks (read, write) and the SMM's MCU mode", kUsage.c_str(), run});

}  // namespace

// bspctl sim mcu bad-pec [N] | missing | present | show: what the simulated MCU does.
int sim_mcu(const Options &opts, const Args &args)
{
    const char *usage = "sim mcu takes bad-pec [N]|missing|present|show";
    if (args.empty() || args.size() > 2 || (args.size() == 2 && args[0] != "bad-pec")) return usage_error(usage, "sim");
    const std::optional<uint64_t> reads = args.size() == 2 ? parse_number(args[1], UINT32_MAX) : std::optional<uint64_t>(1);
    if (!reads) return usage_error("sim mcu: bad read count '" + args[1] + "'", "sim");
    bspsim::FanMcu mcu;
    if (args[0] == "bad-pec") {
        mcu.bad_pec(static_cast<uint32_t>(*reads));
    } else if (args[0] == "missing" || args[0] == "present") {
        mcu.set_present(args[0] == "present");
    } else if (args[0] != "show") {
        return usage_error("sim mcu: unknown state '" + args[0] + "' (bad-pec|missing|present|show)", "sim");
    }
    if (opts.json) {
        std::string cmds;
        for (const bspsim::McuCommand &c : mcu.commands()) {
            cmds += (cmds.empty() ? "" : ", ") + std::string("{\"cmd\": ") + std::to_string(c.code) + ", \"name\": " +
                    json_string(c.name) + ", \"length\": " + std::to_string(c.length) + ", \"writable\": " +
                    (c.writable ? "true" : "false") + "}";
        }
        std::printf("{\"present\": %s, \"bad_pec_reads\": %u, \"refused_writes\": %u, \"commands\": [%s]}\n",
                    mcu.present() ? "true" : "false", mcu.bad_pec_reads(), mcu.refused_writes(), cmds.c_str());
    } else if (args[0] == "show") {
        std::printf("object %s, property %s; bad-PEC reads to come %u, writes refused %u\n",
                    mcu.present() ? mcu.object().c_str() : "(missing)", mcu.property().c_str(), mcu.bad_pec_reads(),
                    mcu.refused_writes());
        for (const bspsim::McuCommand &c : mcu.commands()) {
            std::printf("%s  %-15s %4u bytes %s\n", hex(c.code).c_str(), c.name.c_str(), c.length, c.writable ? "rw" : "ro");
        }
    }
    return 0;
}

}  // namespace bspctl
