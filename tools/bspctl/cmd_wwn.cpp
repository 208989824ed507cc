// bspctl wwn: the enclosure's world wide name as the CPLD RAM keeps it, and storing a new one
// made from a MAC address and this board's slot.
#include <array>
#include <cinttypes>
#include <cstdio>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {
namespace {

using Mac = std::array<uint8_t, 6>;

std::string mac_text(const Mac &mac)
{
    char text[24];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return text;
}

std::string wwn_text(uint64_t wwn)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%016" PRIx64, wwn);
    return text;
}

bool parse_mac(const std::string &text, Mac &mac)
{
    char end = 0;
    return text.size() == 17 && std::sscanf(text.c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%c", &mac[0], &mac[1], &mac[2],
                                            &mac[3], &mac[4], &mac[5], &end) == 6;
}

int show_wwn(const Options &opts)
{
    std::array<uint8_t, 8> bytes{};
    if (BSP_GetWwnFromCpld(bytes.data()) != 0) return fail("no valid WWN in the CPLD RAM (-v shows why)");
    uint64_t wwn = 0;
    for (size_t i = bytes.size(); i-- > 0;) wwn = wwn << 8 | bytes[i];
    Mac mac{};
    (void)BSP_WWNToMac(wwn, mac.data(), 6);
    const unsigned slot = static_cast<unsigned>((wwn >> 8) & 0xF);
    if (opts.json) {
        std::printf("{\"wwn\": %s, \"mac\": %s, \"slot\": %u}\n", json_string(wwn_text(wwn)).c_str(),
                    json_string(mac_text(mac)).c_str(), slot);
    } else {
        std::printf("wwn:  %s\nmac:  %s\nslot: %u\n", wwn_text(wwn).c_str(), mac_text(mac).c_str(), slot);
    }
    return 0;
}

int run_wwn(const Options &opts, const Args &args)
{
    if (args.empty()) return show_wwn(opts);
    if (args[0] != "set" || args.size() != 2) return usage_error("wwn takes nothing, or set MAC", "wwn");
    Mac mac{};
    if (!parse_mac(args[1], mac)) return usage_error("bad MAC " + args[1] + " (as 02:00:00:00:00:01)", "wwn");
    int32_t status = BSP_SetWwn2CpldRam(mac.data(), static_cast<uint32_t>(mac.size()));
    if (status != 0) return fail("cannot store the WWN of " + args[1] + " (status " + hex(static_cast<uint32_t>(status), 8) + "; -v shows why)");
    if (opts.json) {
        uint64_t wwn = 0;
        (void)BSP_MacToWWN(mac.data(), &wwn);
        std::printf("{\"wwn\": %s}\n", json_string(wwn_text(wwn)).c_str());
    }
    return 0;
}

const Register wwn_reg({"wwn", "show the enclosure WWN, or store one made from a MAC",
                        "usage: bspctl [-p PROFILE] [--json] wwn [set MAC]\n"
                        "  without arguments  the WWN kept in the CPLD RAM, its MAC and slot\n"
                        "  set MAC            store the WWN of MAC (six hex bytes, as 02:00:00:00:00:01)\n"
                        "                     on this board's slot (quiet; not rewritten when the same)\n",
                        run_wwn});
}  // namespace
}  // namespace bspctl
