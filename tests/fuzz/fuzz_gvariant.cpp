// Framework values as a peer might serialise them: the input's first text is the type (one of
// a few when it is not a valid definite one), the rest the untrusted serialised value.
#include <glib.h>

#include "bmc_bsp.h"
#include "fuzz.h"

namespace {
const char *const kTypes[] = {"b", "y", "n", "q", "i", "u", "d", "s", "ay", "aq", "as", "ad", "(yqs)", "a(ys)", "av", "aay"};
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    bspfuzz::board();
    bspfuzz::Input in(data, size);
    std::string type = in.text();
    if (!g_variant_type_string_is_valid(type.c_str()) || !g_variant_type_is_definite(G_VARIANT_TYPE(type.c_str())))
        type = kTypes[type.size() % (sizeof kTypes / sizeof *kTypes)];
    const std::vector<uint8_t> bytes = in.rest();
    // GLib keeps the bytes until the value is freed: hand it its own copy.
    gpointer copy = g_memdup2(bytes.data(), bytes.size());
    GVariant *value = g_variant_ref_sink(
        g_variant_new_from_data(G_VARIANT_TYPE(type.c_str()), copy, bytes.size(), FALSE, g_free, copy));
    g_free(BSP_GvariantToString(value));
    g_free(BSP_GarrayToString(value));
    g_variant_unref(value);
    return 0;
}
