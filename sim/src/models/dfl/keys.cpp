// The test-side view of the key material (framework properties of the key object) and of the
// file manager's files.
#include <glib.h>

#include <filesystem>
#include <fstream>

#include "bspsim/keys.hpp"
#include "core/core.h"

namespace bspsim::detail {

std::string fm_path(const std::string &dir, const std::string &a, const std::string &b, uint32_t c)
{
    return dir + "/fm/" + a + "/" + b + "." + std::to_string(c);
}

}  // namespace bspsim::detail

namespace bspsim {
namespace {

void ensure_key_object(Board &board)
{
    if (board.handle_of(kKeyObject) == 0) (void)board.add_object(kKeyObject, "EncryptKey");
}

// The stored value of a key property, parsed; nullptr when there is none.
GVariant *stored(const Board &board, const char *property)
{
    std::string text = board.property(kKeyObject, property);
    return text.empty() ? nullptr : g_variant_parse(nullptr, text.c_str(), nullptr, nullptr, nullptr);
}

}  // namespace

void set_key_component(Board &board, const std::vector<uint8_t> &bytes)
{
    ensure_key_object(board);
    GVariant *v = g_variant_ref_sink(g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, bytes.data(), bytes.size(), 1));
    gchar *text = g_variant_print(v, TRUE);
    std::string value(text);
    g_free(text);
    g_variant_unref(v);
    board.set_property(kKeyObject, kKeyComponent, value);
}

void set_work_key(Board &board, const std::string &key)
{
    ensure_key_object(board);
    GVariant *v = g_variant_ref_sink(g_variant_new_string(key.c_str()));
    gchar *text = g_variant_print(v, FALSE);
    std::string value(text);
    g_free(text);
    g_variant_unref(v);
    board.set_property(kKeyObject, kWorkKey, value);
}

std::vector<uint8_t> key_component(const Board &board)
{
    GVariant *v = stored(board, kKeyComponent);
    std::vector<uint8_t> out;
    if (v && g_variant_is_of_type(v, G_VARIANT_TYPE_BYTESTRING)) {
        gsize n = 0;
        auto *data = static_cast<const uint8_t *>(g_variant_get_fixed_array(v, &n, 1));
        out.assign(data, data + n);
    }
    if (v) g_variant_unref(v);
    return out;
}

std::string work_key(const Board &board)
{
    GVariant *v = stored(board, kWorkKey);
    std::string out = v && g_variant_is_of_type(v, G_VARIANT_TYPE_STRING) ? g_variant_get_string(v, nullptr) : "";
    if (v) g_variant_unref(v);
    return out;
}

std::string fm_file(const Board &board, const std::string &a, const std::string &b, uint32_t c, bool make)
{
    std::string path = detail::fm_path(board.dir(), a, b, c);
    if (make) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::app).close();
        if (!std::filesystem::exists(path)) throw Error("cannot make " + path);
    }
    return path;
}

}  // namespace bspsim
