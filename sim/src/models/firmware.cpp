// Boot-loader copies and SDK versions of the SoC, from the profile's [firmware] section:
// uboot_num = copy that booted; uboot0, uboot1, sdk_first, sdk_second = version texts.
#include <cstring>

#include "core/section.h"
#include "models/firmware.h"

namespace bspsim::detail::firmware {
namespace {

constexpr size_t kCopies = 2;
constexpr size_t kTextLen = 64;  // the platform's version buffers

struct State {
    uint32_t uboot_num;
    char uboot[kCopies][kTextLen];
    char sdk_first[kTextLen];
    char sdk_second[kTextLen];
};

State &st() { return region<State>(ModelId::firmware); }

void set_version(char (&dest)[kTextLen], const std::string &text)
{
    if (text.size() >= kTextLen) throw Error("version text too long: " + text);
    set_text(dest, text);
}

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        std::string k = key;
        try {
            if (k == "uboot_num") {
                st().uboot_num = s.number(value);
            } else {
                set_version(k == "uboot0" ? st().uboot[0] : k == "uboot1" ? st().uboot[1] : k == "sdk_first" ? st().sdk_first
                            : k == "sdk_second" ? st().sdk_second : throw Error("unknown key " + k), value);
            }
        } catch (const Error &e) {
            s.fail(e.what());
        }
    });
}

// Copies a stored text into a caller's buffer of `capacity` bytes; false when it does not fit.
bool copy_out(char *dest, const char (&src)[kTextLen], size_t capacity)
{
    std::string_view t = text(src);
    if (!dest || t.size() >= capacity) return false;
    std::memcpy(dest, t.data(), t.size());
    dest[t.size()] = '\0';
    return true;
}

}  // namespace

int32_t uboot_num(Call &&call, uint8_t *num)
{
    return call.run(num != nullptr, [&] {
        call.rec.value = *num = static_cast<uint8_t>(st().uboot_num);
        return 0;
    });
}

// `buf` holds 64 bytes by contract.
int32_t uboot_ver(Call &&call, uint8_t num, char *buf)
{
    call.rec = {.a = num};
    return call.run(buf && num < kCopies, [&] {
        copy_out(buf, st().uboot[num], kTextLen);
        call.rec.name = buf;
        return 0;
    });
}

int32_t sdk_ver(Call &&call, char *first, char *second, uint32_t first_len, uint32_t second_len)
{
    call.rec = {.a = first_len, .b = second_len};
    bool valid = first && second && text(st().sdk_first).size() < first_len && text(st().sdk_second).size() < second_len;
    return call.run(valid, [&] {
        copy_out(first, st().sdk_first, first_len);
        copy_out(second, st().sdk_second, second_len);
        call.rec.name = first;
        return 0;
    });
}

}  // namespace bspsim::detail::firmware

namespace bspsim::detail {
const Model model_firmware = {.name = "firmware", .scope = Scope::Board, .size = sizeof(firmware::State),
                              .sections = "firmware", .load = firmware::load};
}

namespace bspsim {

using namespace detail;

void Board::set_uboot(uint8_t current, const std::string &copy0, const std::string &copy1)
{
    Lock lock;
    firmware::st().uboot_num = current;
    firmware::set_version(firmware::st().uboot[0], copy0);
    firmware::set_version(firmware::st().uboot[1], copy1);
}

void Board::set_sdk(const std::string &first, const std::string &second)
{
    Lock lock;
    firmware::set_version(firmware::st().sdk_first, first);
    firmware::set_version(firmware::st().sdk_second, second);
}

}  // namespace bspsim
