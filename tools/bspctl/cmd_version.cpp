// bspctl version: the versions of everything on the board, as the library reads them.
#include <cstdio>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {
namespace {

constexpr size_t kVerStrSize = 128;
constexpr size_t kBufSize = 64;
constexpr uint8_t kVendorStrSize = 32;
constexpr uint8_t kMaxCpldIds = 6;
constexpr const char *kVendorNames[] = {"Anlu", "Lattice", "pango"};

struct ChipId {
    uint32_t id;
    std::string vendor;  // "" when the id is not one the library knows
};

struct Report {
    bool cpld_count_known = false;
    std::vector<std::string> cplds;  // version text or "invalid", CPLD 0 first
    std::string bmc;
    char pcb = '?';
    std::string uboot;
    std::string sdk_first;
    std::string sdk_second;
    std::vector<std::string> vendors;  // from the vendor registers, CPLD 0 then CPLD 1
    bool ids_ok = false;
    std::vector<ChipId> ids;  // from the platform's CPLD driver
    bool chip_ok = false;
    uint32_t chip = 0;
};

std::vector<std::string> split(const std::string &text, char sep)
{
    std::vector<std::string> out;
    std::stringstream in(text);
    std::string item;
    while (std::getline(in, item, sep)) {
        if (!item.empty()) out.push_back(item);
    }
    return out;
}

Report collect()
{
    Report r;
    uint8_t count = 0;
    r.cpld_count_known = BSP_GetCpldNum(&count) == 0 && count > 0;
    if (r.cpld_count_known) {
        char text[kVerStrSize] = "";
        (void)BSP_GetCpldVerStr(text, sizeof text);
        r.cplds = split(text, ',');
    }

    char buf[kBufSize] = "";
    (void)BSP_GetBmcVersion(buf);
    r.bmc = buf;
    (void)BSP_GetPcbVersion(&r.pcb);

    char uboot[kBufSize] = "";
    char sdk1[kBufSize] = "";
    char sdk2[kBufSize] = "";
    (void)BSP_Get5830SdkUbootVersion(uboot, sizeof uboot, sdk1, sizeof sdk1, sdk2, sizeof sdk2);
    r.uboot = uboot;
    r.sdk_first = sdk1;
    r.sdk_second = sdk2;

    char vendors[kVendorStrSize] = "";
    BSP_Get5830CPLDTypeStr(sizeof vendors, vendors);
    r.vendors = split(vendors, ' ');

    if (r.cpld_count_known && count <= kMaxCpldIds) {
        uint32_t ids[kMaxCpldIds] = {};
        r.ids_ok = BSP_GetCpldChipId(ids, sizeof ids, count, 0) == 0;
        if (r.ids_ok) {
            uint8_t types[kMaxCpldIds];
            for (uint8_t i = 0; i < count; ++i) {
                types[i] = 0xFF;
                (void)BSP_CovertCpldType(&ids[i], &types[i], 1);
                bool known = types[i] < std::size(kVendorNames);
                r.ids.push_back({ids[i], known ? kVendorNames[types[i]] : ""});
            }
        }
    }

    r.chip_ok = BSP_GetBmc5830ChipInfo(&r.chip) == 0;
    return r;
}

std::string or_unknown(const std::string &s) { return s.empty() ? "unknown" : s; }

void print_text(const Report &r)
{
    if (!r.cpld_count_known) {
        std::printf("cpld:          unknown (no CPLD count for this board)\n");
    }
    for (size_t i = 0; i < r.cplds.size(); ++i) std::printf("cpld %zu:        %s\n", i, r.cplds[i].c_str());
    std::printf("bmc:           %s\n", or_unknown(r.bmc).c_str());
    std::printf("pcb:           %c\n", r.pcb);
    std::printf("boot loader:   %s\n", or_unknown(r.uboot).c_str());
    std::printf("sdk:           %s / %s\n", or_unknown(r.sdk_first).c_str(), or_unknown(r.sdk_second).c_str());
    std::printf("cpld vendors: ");
    for (const std::string &v : r.vendors) std::printf(" %s", v.c_str());
    std::printf("\n");
    if (r.ids_ok) {
        std::printf("cpld ids:     ");
        for (const ChipId &c : r.ids) std::printf(" %s (%s)", hex(c.id, 8).c_str(), or_unknown(c.vendor).c_str());
        std::printf("\n");
    } else if (r.cpld_count_known) {
        std::printf("cpld ids:      unknown\n");
    }
    if (r.chip_ok) {
        std::printf("soc chip info: %s\n", hex(r.chip, 8).c_str());
    } else {
        std::printf("soc chip info: unknown\n");
    }
}

std::string json_string_or_null(const std::string &s)
{
    return s.empty() ? "null" : "\"" + json_escape(s) + "\"";
}

std::string json_list(const std::vector<std::string> &items)
{
    std::string out = "[";
    for (size_t i = 0; i < items.size(); ++i) out += (i ? ", \"" : "\"") + json_escape(items[i]) + "\"";
    return out + "]";
}

void print_json(const Report &r)
{
    std::printf("{\n");
    if (r.cpld_count_known) {
        std::printf("  \"cpld\": %s,\n", json_list(r.cplds).c_str());
    } else {
        std::printf("  \"cpld\": null,\n");
    }
    std::printf("  \"bmc\": %s,\n", json_string_or_null(r.bmc).c_str());
    std::printf("  \"pcb\": \"%c\",\n", r.pcb);
    std::printf("  \"boot_loader\": %s,\n", json_string_or_null(r.uboot).c_str());
    std::printf("  \"sdk\": [%s, %s],\n", json_string_or_null(r.sdk_first).c_str(),
                json_string_or_null(r.sdk_second).c_str());
    std::printf("  \"cpld_vendors\": %s,\n", json_list(r.vendors).c_str());
    if (r.ids_ok) {
        std::printf("  \"cpld_ids\": [");
        for (size_t i = 0; i < r.ids.size(); ++i) {
            std::printf("%s{\"id\": %u, \"vendor\": %s}", i ? ", " : "", r.ids[i].id,
                        json_string_or_null(r.ids[i].vendor).c_str());
        }
        std::printf("],\n");
    } else {
        std::printf("  \"cpld_ids\": null,\n");
    }
    if (r.chip_ok) {
        std::printf("  \"soc_chip_info\": %u\n", r.chip);
    } else {
        std::printf("  \"soc_chip_info\": null\n");
    }
    std::printf("}\n");
}

int run(const Options &opts, const Args &args)
{
    if (!args.empty()) return usage_error("version takes no arguments", "version");
    Report r = collect();
    if (opts.json) {
        print_json(r);
    } else {
        print_text(r);
    }
    return 0;
}

const Register reg({"version", "print the versions of the CPLDs, BMC, PCB, boot loader and SDK",
                    "usage: bspctl [-p PROFILE] [--json] version\n"
                    "  Prints each CPLD's logic version (\"invalid\" for a CPLD that fails its self\n"
                    "  test), the BMC software version, the PCB letter, the boot-loader and SDK\n"
                    "  versions, the CPLD vendors (from their vendor registers, and from the device\n"
                    "  ids the CPLD driver reports) and the SoC chip information.\n",
                    run});

}  // namespace
}  // namespace bspctl
