// bspctl frame: what the enclosure is, as this board reads it: the frame type and the disk slots
// it implies, the backplane model and product configuration kept in the CPLD RAM, and the IO
// cards that are in. Only the frame type must be readable; the rest shows what could be read.
#include <cstdio>
#include <optional>
#include <string>

#include "bmc_bsp.h"
#include "bspctl.h"

namespace bspctl {
namespace {

constexpr uint8_t kIoCards = 28;

// A record's bytes up to the first zero as text, or as hex when they are not printable text.
std::string record_text(const uint8_t *bytes, size_t len)
{
    std::string text;
    for (size_t i = 0; i < len && bytes[i] != 0; ++i) {
        if (bytes[i] < 0x20 || bytes[i] > 0x7E) {
            std::string h;
            for (size_t j = 0; j < len; ++j) h += hex(bytes[j]).substr(2);
            return h;
        }
        text += static_cast<char>(bytes[i]);
    }
    return text;
}

template <size_t N>
std::optional<std::string> record(int32_t (*get)(uint8_t *, uint32_t))
{
    uint8_t bytes[N] = {};
    if (get(bytes, N) != 0) return std::nullopt;
    return record_text(bytes, N);
}

// The cards that are in, or nothing when this board cannot tell.
std::optional<std::string> io_cards(bool json)
{
    std::string list;
    for (uint8_t card = 0; card < kIoCards; ++card) {
        uint8_t in = 0;
        if (BSP_GetIoCardOnlineStates(card, &in) != 0) return std::nullopt;
        if (in) list += (list.empty() ? "" : json ? ", " : " ") + std::to_string(card);
    }
    return list;
}

int run(const Options &opts, const Args &args)
{
    if (!args.empty()) return usage_error("frame takes no arguments", "frame");
    uint16_t type = 0;
    if (BSP_GetFrameType(&type) != 0) return fail("cannot read the frame type (-v shows why)");
    uint8_t disks = 0;
    const bool disks_known = BSP_GetDiskNum(&disks) == 0;
    const std::optional<std::string> model = record<16>(BSP_GetModelFromCpld);
    const std::optional<std::string> config = record<64>(BSP_GetProductCfgInfoFromCpld);
    const std::optional<std::string> cards = io_cards(opts.json);
    if (opts.json) {
        auto str = [](const std::optional<std::string> &s) { return s ? json_string(*s) : std::string("null"); };
        std::printf("{\"frame_type\": %u, \"disks\": %s, \"model\": %s, \"config\": %s, \"io_cards\": %s}\n", type,
                    disks_known ? std::to_string(disks).c_str() : "null", str(model).c_str(), str(config).c_str(),
                    cards ? ("[" + *cards + "]").c_str() : "null");
        return 0;
    }
    std::printf("frame type:    %s\n", hex(type).c_str());
    std::printf("disks:         %s\n", disks_known ? std::to_string(disks).c_str() : "unknown");
    std::printf("model:         %s\n", model ? model->c_str() : "none");
    std::printf("configuration: %s\n", config ? config->c_str() : "none");
    std::printf("io cards:      %s\n", !cards ? "unknown" : cards->empty() ? "none" : cards->c_str());
    return 0;
}

const Register reg({"frame", "show the enclosure: frame type, disks, model, configuration, IO cards",
                    "usage: bspctl [-p PROFILE] [--json] frame\n"
                    "  Shows the frame type and the disk slots it implies, the backplane model and\n"
                    "  the product configuration recorded in the CPLD RAM (\"none\" when absent or\n"
                    "  damaged; shown as hex when not text), and the IO cards that are in (\"unknown\"\n"
                    "  on boards that cannot read them). Fails only when the frame type cannot be read.\n",
                    run});

}  // namespace
}  // namespace bspctl
