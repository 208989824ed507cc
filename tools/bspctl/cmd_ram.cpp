// bspctl ram: the CPLD's RAM, which keeps records across BMC reboots, through the library's
// range functions (each holds the RAM semaphore for its whole range).
#include <cstdio>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "bspctl.h"
#include "subcommand.h"

namespace bspctl {
namespace {

// Ranges must end by the end of the library's records.
constexpr uint64_t kRamEnd = 0xDC00;
constexpr uint64_t kRowBytes = 16;

std::string range_name(uint64_t addr, uint64_t count)
{
    return "CPLD RAM " + hex(addr, 4) + ".." + hex(addr + count - 1, 4);
}

// Start address and byte count, or nullopt after printing why not.
std::optional<uint64_t> ram_addr(const std::string &text)
{
    auto addr = parse_number(text, kRamEnd - 1);
    if (!addr) fail("bad RAM address " + text + " (0 to 0xdbff)");
    return addr;
}

char printable(uint8_t b)
{
    if (b == 0x00 || b == 0xFF) return '.';
    return (b < 0x20 || b >= 0x7F) ? '?' : static_cast<char>(b);
}

// Rows of 16 bytes labelled with their address; the bytes outside the range stay blank.
void print_dump(uint64_t addr, const std::vector<uint8_t> &bytes)
{
    std::printf("      ");
    for (uint64_t c = 0; c < kRowBytes; ++c) std::printf(" %llx ", static_cast<unsigned long long>(c));
    std::printf("   0123456789abcdef\n");
    const uint64_t end = addr + bytes.size();
    for (uint64_t row = addr & ~(kRowBytes - 1); row < end; row += kRowBytes) {
        std::string chars;
        std::printf("%04llx: ", static_cast<unsigned long long>(row));
        for (uint64_t a = row; a < row + kRowBytes; ++a) {
            if (a < addr || a >= end) {
                std::printf("   ");
                chars += ' ';
            } else {
                uint8_t b = bytes[a - addr];
                std::printf("%02x ", b);
                chars += printable(b);
            }
        }
        std::printf("   %s\n", chars.c_str());
    }
}

int dump(const Options &opts, const Args &args)
{
    auto addr = ram_addr(args[0]);
    if (!addr) return 1;
    const uint64_t room = kRamEnd - *addr;
    auto count = parse_number(args[1], room);
    if (!count || *count == 0) {
        return fail("bad count " + args[1] + " (1 to " + std::to_string(room) + " from " + hex(*addr, 4) + ")");
    }
    std::vector<uint8_t> bytes(*count);
    uint32_t status =
        BSP_GetCpldRamBytes(static_cast<uint16_t>(*addr), bytes.data(), static_cast<uint32_t>(bytes.size()));
    if (status != 0) return fail_call("read " + range_name(*addr, *count), status);
    if (opts.json) {
        std::printf("{\"addr\": %llu, \"bytes\": [", static_cast<unsigned long long>(*addr));
        for (size_t i = 0; i < bytes.size(); ++i) std::printf("%s%u", i ? ", " : "", bytes[i]);
        std::printf("]}\n");
    } else {
        print_dump(*addr, bytes);
    }
    return 0;
}

int set(const Options &, const Args &args)
{
    auto addr = ram_addr(args[0]);
    if (!addr) return 1;
    std::vector<uint8_t> bytes;
    for (size_t i = 1; i < args.size(); ++i) {
        auto b = parse_number(args[i], 0xFF);
        if (!b) return fail("bad byte " + args[i] + " (0 to 0xff)");
        bytes.push_back(static_cast<uint8_t>(*b));
    }
    if (*addr + bytes.size() > kRamEnd) {
        return fail(std::to_string(bytes.size()) + " bytes from " + hex(*addr, 4) + " run past 0xdbff");
    }
    uint32_t status =
        BSP_SetCpldRamBytes(static_cast<uint16_t>(*addr), bytes.data(), static_cast<uint32_t>(bytes.size()));
    if (status != 0) return fail_call("write " + range_name(*addr, bytes.size()), status);
    return 0;
}

const Subcommand kSubcommands[] = {
    {"dump", "ADDR COUNT", "print COUNT bytes from ADDR as a hex dump", 2, 2, dump},
    {"set", "ADDR BYTE...", "write the bytes from ADDR on", 2, SIZE_MAX, set},
};

const std::string kUsage = subcommand_usage(
    "ram", kSubcommands,
    "\n  The library's records lie in 0xc700 to 0xdbff; a range must end by 0xdbff (only the\n"
    "  low 13 bits of an address reach the CPLD). Numbers in hex (0x..) or decimal.\n"
    "  A dump prints '.' for 0x00 and 0xff and '?' for other unprintable bytes.\n");

int run(const Options &opts, const Args &args) { return run_subcommand("ram", kSubcommands, opts, args); }

const Register reg({"ram", "dump and write the CPLD RAM", kUsage.c_str(), run});

}  // namespace
}  // namespace bspctl
