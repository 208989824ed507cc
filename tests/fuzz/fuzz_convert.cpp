// The text and number conversions on whatever text a user or a peer hands over. Beyond the
// sanitizers, the trims must leave no blank at either end and the hex dump its exact length.
#include <cstring>

#include "bmc_bsp.h"
#include "fuzz.h"

namespace {
bool blank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    bspfuzz::board();
    bspfuzz::Input in(data, size);
    const uint8_t mode = in.u8();
    const uint16_t word = in.u16();
    float value;
    const uint32_t bits = in.u32();
    std::memcpy(&value, &bits, sizeof value);
    BSP_Literal16ToFloat(word, static_cast<int8_t>(mode));
    BSP_Literal11ToFloat(word);
    BSP_FloatToLiteral16(static_cast<int8_t>(mode), value);
    BSP_FanLevelConvert(mode & 1, static_cast<uint8_t>(word));

    // Hex dump into a buffer of exactly the size claimed.
    const uint32_t out_size = in.u8();
    std::vector<uint8_t> bytes = in.bytes(in.u8());
    std::vector<char> out(out_size ? out_size : 1, 'x');
    BSP_Arr2String(bytes.data(), static_cast<uint32_t>(bytes.size()), out_size ? out.data() : nullptr, out_size);
    if (out_size > 0 && !bytes.empty()) {
        const size_t pairs = std::min<size_t>(bytes.size(), (out_size - 1) / 2);
        bspfuzz::check(std::strlen(out.data()) == 2 * pairs);
    }

    // The rest as text, in a heap block of exactly its length plus the terminator.
    std::string text = in.text();
    htoi(text.c_str());
    btoi(text.c_str());
    BSP_HexOrDecPro(text.c_str());
    std::vector<char> trimmed(text.c_str(), text.c_str() + text.size() + 1);
    BSP_StrConvert(trimmed.data());
    const size_t n = std::strlen(trimmed.data());
    bspfuzz::check(n == 0 || (!blank(trimmed[0]) && !blank(trimmed[n - 1])));
    std::vector<char> cut(text.c_str(), text.c_str() + text.size() + 1);
    BSP_CommentTrim(cut.data());
    bspfuzz::check(std::strlen(cut.data()) <= text.size());
    return 0;
}
