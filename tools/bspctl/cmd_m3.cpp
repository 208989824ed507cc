// bspctl m3: the secure core's operations through the library (the secure-boot words, the last
// upgrade's information, the BIOS flash mux and verification, the upgrade flag, the customer
// information), and `bspctl sim m3`: the simulated core's state and the faults of its answers.
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "bspsim/secure_core.hpp"
#include "subcommand.h"

namespace bspctl {
namespace {

// Prints the `count` words a getter reads: "0x0001 0x0002 0x0003", or one JSON member.
int show(const Options &opts, const std::string &what, const char *json, int32_t (*get)(uint16_t *), size_t count = 1)
{
    uint16_t words[3] = {};
    const int32_t status = get(words);
    if (status != 0) return fail_call("read " + what + " from the secure core", static_cast<uint32_t>(status));
    std::string text, list;
    for (size_t i = 0; i < count; ++i) {
        text += (i ? " " : "") + hex(words[i], 4);
        list += (i ? ", " : "") + std::to_string(words[i]);
    }
    if (opts.json) {
        std::printf("{\"%s\": %s}\n", json, (count > 1 ? "[" + list + "]" : list).c_str());
    } else {
        std::printf("%s\n", text.c_str());
    }
    return 0;
}

// Sends a control value (args[0], at most `max`; none for a request without one), quietly.
int send(const Options &opts, const Args &args, const std::string &what, const char *json, uint64_t max,
         int32_t (*set)(uint16_t))
{
    std::optional<uint64_t> value = args.empty() ? 0 : parse_number(args[0], max);
    if (!value) return usage_error("bad value " + args[0] + " (0 to " + hex(max) + ")", "m3");
    const int32_t status = set(static_cast<uint16_t>(*value));
    if (status != 0) return fail_call("send " + what + " to the secure core", static_cast<uint32_t>(status));
    if (opts.json) std::printf("{\"%s\": %s}\n", json, args.empty() ? "true" : std::to_string(*value).c_str());
    return 0;
}

int secure_boot(const Options &opts, const Args &) { return show(opts, "the secure-boot words", "secure_boot", dal_get_bmc_secure_boot_info, 3); }
int upgrade_info(const Options &opts, const Args &) { return show(opts, "the last upgrade's information", "upgrade_info", dal_get_bmc_last_upgrde_info); }

int bios_mux(const Options &opts, const Args &args)
{
    if (args.empty()) return show(opts, "the BIOS mux status", "bios_mux", dal_get_bios_mux_status);
    return send(opts, args, "the BIOS mux control", "bios_mux_ctrl", 0xFF,
                [](uint16_t v) { return dal_set_bios_mux_ctrl(static_cast<uint8_t>(v)); });
}

int bios_verify(const Options &opts, const Args &args)
{
    if (args.empty()) return show(opts, "the BIOS verification result", "bios_verify_result", dal_get_bios_verify_result);
    return send(opts, args, "the BIOS verification control", "bios_verify_ctrl", 0xFFFF, dal_set_bios_verify_ctrl);
}

int upgrade_flag(const Options &opts, const Args &args)
{
    return send(opts, args, "the upgrade flag", "upgrade_flag", 0xFF,
                [](uint16_t v) { return dal_set_bmc_upgrade_flag(static_cast<uint8_t>(v)); });
}

int customer_info(const Options &opts, const Args &args)
{
    return send(opts, args, "the customer information mark", "customer_info_set", 0,
                [](uint16_t) { return dal_set_customer_info(); });
}

const Subcommand kSubcommands[] = {
    {"secure-boot", "", "print the three secure-boot words", 0, 0, secure_boot},
    {"upgrade-info", "", "print the word the core keeps about the last BMC upgrade", 0, 0, upgrade_info},
    {"bios-mux", "[SET]", "print the BIOS flash mux status, or set the mux to SET (0-0xff)", 0, 1, bios_mux},
    {"bios-verify", "[SET]", "print the BIOS verification result, or send control SET (0-0xffff)", 0, 1, bios_verify},
    {"upgrade-flag", "SET", "set the BMC upgrade flag to SET (0-0xff)", 1, 1, upgrade_flag},
    {"customer-info", "", "tell the core that the customer information is set", 0, 0, customer_info},
};

const std::string kUsage = subcommand_usage("m3", kSubcommands,
                                            "\n  Each is one request to the SoC's secure core; the values are the core's own.\n"
                                            "  Setting is quiet. A failed exchange or a refusal by the core fails (exit 1).\n");

int run(const Options &opts, const Args &args) { return run_subcommand("m3", kSubcommands, opts, args); }

const Register reg({"m3", "the secure core: secure boot, upgrade, BIOS mux and verification", kUsage.c_str(), run});

// The simulated core's state, as text or one JSON document.
void print_state(const Options &opts)
{
    const bspsim::SecureCoreState s = bspsim::secure_core().state();
    if (opts.json) {
        std::printf("{\"secure_boot\": [%u, %u, %u], \"upgrade_info\": %u, \"upgrade_flag\": %u, \"customer_info_set\": %s, "
                    "\"bios_mux\": %u, \"verify_ctrl\": %u, \"verify_result\": %u, \"requests\": %u, \"refused\": %u}\n",
                    s.secure_boot[0], s.secure_boot[1], s.secure_boot[2], s.upgrade_info, s.upgrade_flag,
                    s.customer_info_set ? "true" : "false", s.bios_mux, s.verify_ctrl, s.verify_result, s.requests, s.refused);
        return;
    }
    std::printf("secure boot:    %s %s %s\nupgrade info:   %s\nupgrade flag:   %s\ncustomer info:  %s\n"
                "bios mux:       %s\nverify ctrl:    %s\nverify result:  %s\nrequests:       %u (%u refused)\n",
                hex(s.secure_boot[0], 4).c_str(), hex(s.secure_boot[1], 4).c_str(), hex(s.secure_boot[2], 4).c_str(),
                hex(s.upgrade_info, 4).c_str(), hex(s.upgrade_flag, 4).c_str(), s.customer_info_set ? "set" : "not set",
                hex(s.bios_mux, 4).c_str(), hex(s.verify_ctrl, 4).c_str(), hex(s.verify_result, 4).c_str(), s.requests, s.refused);
}

}  // namespace

// bspctl sim m3 [code CODE|short BYTES|long BYTES|crc|type|fail [COUNT]] | clear: without
// arguments the simulated core's state; else the fault of its next COUNT (1) answers.
int sim_m3(const Options &opts, const Args &args)
{
    const char *usage = "sim m3 takes [code CODE|short BYTES|long BYTES|crc|type|fail [COUNT]|clear]";
    if (args.empty()) {
        print_state(opts);
        return 0;
    }
    if (args[0] == "clear" && args.size() == 1) {
        bspsim::secure_core().clear_faults();
        return 0;
    }
    std::optional<bspsim::M3Fault> kind;
    for (uint32_t k = 0; k < static_cast<uint32_t>(bspsim::M3Fault::Count); ++k) {
        if (args[0] == bspsim::m3_fault_name(static_cast<bspsim::M3Fault>(k))) kind = static_cast<bspsim::M3Fault>(k);
    }
    if (!kind && args[0] != "fail") return usage_error(usage, "sim");
    // A code or a byte count comes first where the fault has one.
    const size_t has_arg = kind == bspsim::M3Fault::Code || kind == bspsim::M3Fault::Short || kind == bspsim::M3Fault::Long;
    if (args.size() < 1 + has_arg || args.size() > 2 + has_arg) return usage_error(usage, "sim");
    const std::optional<uint64_t> arg = has_arg ? parse_number(args[1], kind == bspsim::M3Fault::Code ? 0xFFFF : 64) : 0;
    if (!arg || (has_arg && *arg == 0)) return usage_error("sim m3: bad " + args[0] + " value '" + args[1] + "'", "sim");
    const std::optional<uint64_t> count = args.size() == 2 + has_arg ? parse_number(args.back(), UINT32_MAX) : 1;
    if (!count) return usage_error("sim m3: bad count '" + args.back() + "'", "sim");
    if (kind) {
        bspsim::secure_core().fault(*kind, static_cast<uint32_t>(*count), static_cast<uint32_t>(*arg));
    } else {
        bspsim::secure_core().fail_calls(static_cast<uint32_t>(*count));
    }
    if (opts.json) std::printf("{\"fault\": \"%s\", \"value\": %llu, \"requests\": %llu}\n", args[0].c_str(),
                               static_cast<unsigned long long>(*arg), static_cast<unsigned long long>(*count));
    return 0;
}

}  // namespace bspctl
