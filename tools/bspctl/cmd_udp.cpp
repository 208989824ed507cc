// bspctl udp: the internal network's UDP channel to the partner BMC: this BMC's address on
// "veth", and one datagram to the partner (this BMC's address minus one).
#include <net/if.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "subcommand.h"

namespace bspctl {
namespace {

// Without the interface the library can only say "Get veth ip failed.": say why first.
int without_veth()
{
    if (if_nametoindex("veth") != 0) return 0;
    return fail("no veth interface on this host (the internal network to the partner BMC)");
}

int show_ip(const Options &opts, const Args &)
{
    if (int rc = without_veth()) return rc;
    char text[16] = {};  // the library leaves it unterminated: one byte stays zero
    const uint32_t status = static_cast<uint32_t>(BSP_GetVethIP(text, sizeof text));
    if (status != 0) return fail_call("read this BMC's address on veth", status);
    std::string ip(text);
    ip.erase(ip.find_last_not_of(" \n") + 1);
    std::printf(opts.json ? "{\"ip\": %s}\n" : "%s\n", (opts.json ? json_string(ip) : ip).c_str());
    return 0;
}

// One byte in hex: 1 or 2 digits, "0x" allowed.
std::optional<uint8_t> hex_byte(const std::string &text)
{
    std::string digits = text.rfind("0x", 0) == 0 ? text.substr(2) : text;
    if (digits.empty() || digits.size() > 2 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        return std::nullopt;
    }
    return static_cast<uint8_t>(std::stoul(digits, nullptr, 16));
}

int send(const Options &opts, const Args &args)
{
    const auto port = parse_number(args[0], UINT16_MAX);
    if (!port) return usage_error("bad port " + args[0] + " (0 to 65535)", "udp");
    std::vector<uint8_t> bytes;
    for (size_t i = 1; i < args.size(); ++i) {
        const auto b = hex_byte(args[i]);
        if (!b) return usage_error("bad byte " + args[i] + " (hex, 00 to ff)", "udp");
        bytes.push_back(*b);
    }
    if (int rc = without_veth()) return rc;
    int fd = -1;
    uint32_t status = static_cast<uint32_t>(BSP_CreateVethSocket(static_cast<uint16_t>(*port), &fd));
    if (status != 0) return fail_call("open a UDP socket on port " + std::to_string(*port), status);
    status = static_cast<uint32_t>(BSP_SocketWrite(fd, bytes.data(), static_cast<int32_t>(bytes.size()), static_cast<uint16_t>(*port)));
    close(fd);
    if (status != 0) return fail_call("send the datagram to the partner", status);
    if (opts.json) std::printf("{\"port\": %u, \"bytes\": %zu}\n", static_cast<unsigned>(*port), bytes.size());
    return 0;
}

constexpr Subcommand kSubs[] = {
    {"ip", "", "this BMC's address on veth", 0, 0, show_ip},
    {"send", "PORT HEX...", "send the bytes as one datagram to the partner on PORT (quiet)", 2, SIZE_MAX, send},
};

int run(const Options &opts, const Args &args) { return run_subcommand("udp", kSubs, opts, args); }

const std::string kUsage = subcommand_usage(
    "udp", kSubs,
    "\nThe partner's address is this BMC's address on veth minus one. The first two bytes of a\n"
    "message are its info type, low byte first. Fails when the host has no veth interface.\n");

const Register reg({"udp", "the internal network's UDP channel to the partner BMC", kUsage.c_str(), run});

}  // namespace
}  // namespace bspctl
