// bspctl cpld: CPLD registers through the library's hubs (local bus or SPI, as the board has
// it). Each subcommand is a row of the table at the end.
#include <cstdio>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "subcommand.h"

namespace bspctl {

int cpld_upgrade_mode(const Options &opts, const Args &args);  // cmd_cpld_upgrade.cpp
int cpld_selftest(const Options &opts, const Args &args);      // cmd_cpld_health.cpp
int cpld_health(const Options &opts, const Args &args);        // cmd_cpld_health.cpp

namespace {

constexpr uint64_t kRegCount = 0x400;

std::string reg_name(uint64_t addr) { return "CPLD register " + hex(addr, 3); }

// Register address, or nullopt after the usage error (the caller returns kExitUsage).
std::optional<uint64_t> reg_arg(const std::string &text)
{
    auto addr = parse_number(text, kRegCount - 1);
    if (!addr) usage_error("bad register address " + text + " (0 to 0x3ff)", "cpld");
    return addr;
}

int get(const Options &opts, const Args &args)
{
    auto addr = reg_arg(args[0]);
    if (!addr) return kExitUsage;
    uint64_t count = 1;
    if (args.size() > 1) {
        const uint64_t room = kRegCount - *addr;
        auto n = parse_number(args[1], room);
        if (!n || *n == 0) {
            return usage_error("bad count " + args[1] + " (1 to " + std::to_string(room) + " from " + hex(*addr, 3) + ")",
                               "cpld");
        }
        count = *n;
    }
    std::vector<uint8_t> values(count);
    uint32_t status = BSP_ReadCpldBytes(static_cast<uint32_t>(*addr), static_cast<uint32_t>(count), values.data());
    if (status != 0) return fail_call("read " + reg_name(*addr), status);
    if (opts.json) {
        std::printf("{\"addr\": %llu, \"values\": [", static_cast<unsigned long long>(*addr));
        for (size_t i = 0; i < values.size(); ++i) std::printf("%s%u", i ? ", " : "", values[i]);
        std::printf("]}\n");
    } else {
        for (size_t i = 0; i < values.size(); ++i) std::printf("%s%s", i ? " " : "", hex(values[i]).c_str());
        std::printf("\n");
    }
    return 0;
}

// A write the register did not keep: write protection that is closed, a read-only or
// self-test register, bits the CPLD clears itself. As i2cset -r, the command says so.
int not_kept(const std::string &what, const std::string &written, const std::string &readback,
             const std::string &fields)
{
    return fail(what + " reads " + readback + " after writing " + written +
                    ": the write did not take (write-protected or read-only?)",
                fields);
}

std::string readback_json(const Options &opts, uint8_t value)
{
    return opts.verify ? std::to_string(value) : "null";
}

int set(const Options &opts, const Args &args)
{
    auto addr = reg_arg(args[0]);
    if (!addr) return kExitUsage;
    auto value = parse_number(args[1], 0xFF);
    if (!value) return usage_error("bad value " + args[1] + " (0 to 0xff)", "cpld");
    const auto a = static_cast<uint32_t>(*addr);
    const auto v = static_cast<uint8_t>(*value);
    uint32_t status = BSP_WriteCpldByte(a, v);
    if (status != 0) return fail_call("write " + reg_name(a), status);
    uint8_t back = v;
    if (opts.verify) {
        status = BSP_ReadCpldBytes(a, 1, &back);
        if (status != 0) return fail_call("read back " + reg_name(a), status);
    }
    const std::string fields = "\"addr\": " + std::to_string(a) + ", \"written\": " + std::to_string(v) +
                               ", \"readback\": " + readback_json(opts, back);
    if (back != v) return not_kept(reg_name(a), hex(v), hex(back), fields);
    if (opts.json) std::printf("{%s}\n", fields.c_str());
    return 0;
}

int bit(const Options &opts, const Args &args)
{
    auto addr = reg_arg(args[0]);
    if (!addr) return kExitUsage;
    auto bitno = parse_number(args[1], 7);
    if (!bitno) return usage_error("bad bit " + args[1] + " (0 to 7)", "cpld");
    const auto a = static_cast<uint32_t>(*addr);
    const auto b = static_cast<uint32_t>(*bitno);
    const std::string what = "bit " + std::to_string(b) + " of " + reg_name(a);
    if (args.size() > 2) {
        auto value = parse_number(args[2], 1);
        if (!value) return usage_error("bad bit value " + args[2] + " (0 or 1)", "cpld");
        const auto v = static_cast<uint8_t>(*value);
        uint32_t status = BSP_WriteCpldBit(a, b, v);
        if (status != 0) return fail_call("write " + what, status);
        uint8_t back = v;
        if (opts.verify) {
            status = BSP_ReadCpldBit(a, b, &back);
            if (status != 0) return fail_call("read back " + what, status);
        }
        const std::string fields = "\"addr\": " + std::to_string(a) + ", \"bit\": " + std::to_string(b) +
                                   ", \"written\": " + std::to_string(v) + ", \"readback\": " + readback_json(opts, back);
        if (back != v) return not_kept(what, std::to_string(v), std::to_string(back), fields);
        if (opts.json) std::printf("{%s}\n", fields.c_str());
        return 0;
    }
    uint8_t value = 0;
    uint32_t status = BSP_ReadCpldBit(a, b, &value);
    if (status != 0) return fail_call("read " + what, status);
    if (opts.json) {
        std::printf("{\"addr\": %u, \"bit\": %u, \"value\": %u}\n", a, b, value);
    } else {
        std::printf("%u\n", value);
    }
    return 0;
}

const Subcommand kSubcommands[] = {
    {"get", "ADDR [COUNT]", "print COUNT registers (default 1) from ADDR", 1, 2, get},
    {"set", "ADDR VALUE", "write VALUE (0-0xff) to register ADDR", 2, 2, set},
    {"bit", "ADDR BIT [0|1]", "print bit BIT (0-7) of register ADDR, or write it", 2, 3, bit},
    {"upgrade-mode", "CPLD [0|1]", "print whether CPLD (0-2) is in upgrade mode, or switch it", 1, 2, cpld_upgrade_mode},
    {"selftest", "[CPLD]", "write/read-back test of every CPLD, or of CPLD (0-2)", 0, 1, cpld_selftest},
    {"health", "", "print whether the CPLD fault register shows a fault", 0, 0, cpld_health},
};

const std::string kUsage = subcommand_usage("cpld", kSubcommands,
                                            "\n  Registers are 0 to 0x3ff. Numbers are hex with 0x, decimal otherwise (010 is\n"
                                            "  ten). set and bit read the register back and fail when the value did not\n"
                                            "  stick (write-protected, read-only); --no-verify skips that. selftest of a\n"
                                            "  CPLD the board does not have fails (exit 1); a skipped test says skipped.\n"
                                            "  The library picks the bus (local bus or SPI) from the board, as at every call.\n");

int run(const Options &opts, const Args &args) { return run_subcommand("cpld", kSubcommands, opts, args); }

const Register reg({"cpld", "read and write CPLD registers", kUsage.c_str(), run});

}  // namespace
}  // namespace bspctl
