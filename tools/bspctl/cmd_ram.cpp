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

// The library's records: the only part of the RAM its functions serve. Only the low 13 bits
// of an address reach the CPLD, so an address outside this range would not fail but land on
// another byte (0x0700 is 0xc700): it is refused instead.
constexpr uint64_t kRamFirst = 0xC700;
constexpr uint64_t kRamEnd = 0xDC00;
constexpr uint64_t kRowBytes = 16;

std::string range_name(uint64_t addr, uint64_t count)
{
    return "CPLD RAM " + hex(addr, 4) + ".." + hex(addr + count - 1, 4);
}

const char *const kRamRange = "0xc700 to 0xdbff";

// Start address, or nullopt after the usage error (the caller returns kExitUsage).
std::optional<uint64_t> ram_addr(const std::string &text)
{
    auto addr = parse_number(text, kRamEnd - 1);
    if (!addr || *addr < kRamFirst) usage_error("bad RAM address " + text + " (" + kRamRange + ")", "ram");
    return addr && *addr >= kRamFirst ? addr : std::nullopt;
}

// A range that runs past the end: refused whole, nothing touched.
int past_end(uint64_t addr, uint64_t count)
{
    return usage_error(std::to_string(count) + " bytes from " + hex(addr, 4) + " run past 0xdbff", "ram");
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
        // The character column of a short last row is not padded: no line ends in blanks.
        chars.erase(chars.find_last_not_of(' ') + 1);
        std::printf("   %s\n", chars.c_str());
    }
}

int dump(const Options &opts, const Args &args)
{
    auto addr = ram_addr(args[0]);
    if (!addr) return kExitUsage;
    auto count = parse_number(args[1], UINT32_MAX);
    if (!count || *count == 0) return usage_error("bad count " + args[1] + " (1 or more)", "ram");
    if (*count > kRamEnd - *addr) return past_end(*addr, *count);
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

int set(const Options &opts, const Args &args)
{
    auto addr = ram_addr(args[0]);
    if (!addr) return kExitUsage;
    std::vector<uint8_t> bytes;
    for (size_t i = 1; i < args.size(); ++i) {
        auto b = parse_number(args[i], 0xFF);
        if (!b) return usage_error("bad byte " + args[i] + " (0 to 0xff)", "ram");
        bytes.push_back(static_cast<uint8_t>(*b));
    }
    if (bytes.size() > kRamEnd - *addr) return past_end(*addr, bytes.size());
    const auto a = static_cast<uint16_t>(*addr);
    const auto n = static_cast<uint32_t>(bytes.size());
    uint32_t status = BSP_SetCpldRamBytes(a, bytes.data(), n);
    if (status != 0) return fail_call("write " + range_name(a, n), status);
    std::vector<uint8_t> back = bytes;
    if (opts.verify) {
        status = BSP_GetCpldRamBytes(a, back.data(), n);
        if (status != 0) return fail_call("read back " + range_name(a, n), status);
    }
    auto list = [](const std::vector<uint8_t> &v) {
        std::string out = "[";
        for (size_t i = 0; i < v.size(); ++i) out += (i ? ", " : "") + std::to_string(v[i]);
        return out + "]";
    };
    const std::string fields = "\"addr\": " + std::to_string(a) + ", \"written\": " + list(bytes) +
                               ", \"readback\": " + (opts.verify ? list(back) : std::string("null"));
    for (uint32_t i = 0; i < n; ++i) {
        if (back[i] != bytes[i]) {
            return fail("CPLD RAM " + hex(a + i, 4) + " reads " + hex(back[i]) + " after writing " + hex(bytes[i]) +
                            ": the write did not take",
                        fields);
        }
    }
    if (opts.json) std::printf("{%s}\n", fields.c_str());
    return 0;
}

const Subcommand kSubcommands[] = {
    {"dump", "ADDR COUNT", "print COUNT bytes from ADDR as a hex dump", 2, 2, dump},
    {"set", "ADDR BYTE...", "write the bytes from ADDR on", 2, SIZE_MAX, set},
};

const std::string kUsage = subcommand_usage(
    "ram", kSubcommands,
    "\n  Addresses are 0xc700 to 0xdbff, where the library keeps its records; a range must\n"
    "  end by 0xdbff. Others are refused: only the low 13 bits of an address reach the\n"
    "  CPLD, so they would land on another byte. Numbers are hex with 0x, decimal\n"
    "  otherwise (010 is ten). set reads the bytes back and fails when one did not\n"
    "  stick; --no-verify skips that.\n"
    "  A dump prints '.' for 0x00 and 0xff and '?' for other unprintable bytes.\n");

int run(const Options &opts, const Args &args) { return run_subcommand("ram", kSubcommands, opts, args); }

const Register reg({"ram", "dump and write the CPLD RAM", kUsage.c_str(), run});

}  // namespace
}  // namespace bspctl
