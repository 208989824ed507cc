// Board profiles: GLib key files that describe a board. A profile may name a `base` profile in
// its [profile] group; the base is applied first and the profile's own keys override it. Every
// other section belongs to one device model, which reads it.
#include <dlfcn.h>
#include <glib.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/core.h"
#include "core/section.h"
#include "models/cpld.h"

#ifndef BSPSIM_PROFILE_DIR_DEFAULT
#define BSPSIM_PROFILE_DIR_DEFAULT "sim/profiles"
#endif

namespace bspsim::detail {

std::string Section::value(const char *key) const
{
    gchar *v = g_key_file_get_value(kf_, group_, key, nullptr);
    std::string out = v ? g_strstrip(v) : "";
    g_free(v);
    return out;
}

void Section::fail(const std::string &what) const
{
    throw Error("profile " + path_ + ": [" + group_ + "] " + what);
}

uint32_t Section::number(const char *text) const
{
    char *end = nullptr;
    errno = 0;
    unsigned long long v = std::strtoull(text, &end, 0);
    while (end && (*end == ' ' || *end == '\t')) ++end;
    if (errno != 0 || end == text || (end && *end != '\0') || v > 0xFFFFFFFFull || *text == '-') {
        fail(std::string("not a number: '") + text + "'");
    }
    return static_cast<uint32_t>(v);
}

uint32_t Section::number(const char *text, uint32_t limit, const char *what) const
{
    uint32_t v = number(text);
    if (v >= limit) fail(std::string(what) + " out of range: " + text);
    return v;
}

std::vector<uint32_t> Section::list(const char *text) const
{
    std::vector<uint32_t> out;
    g_auto(GStrv) parts = g_strsplit_set(text, ", \t", -1);
    for (gchar **p = parts; *p; ++p) {
        if (**p) out.push_back(number(*p));
    }
    return out;
}

namespace {

// The model that reads a section, and the part of the section's name after its prefix.
const Model *owner(const char *group, const char **name)
{
    for (size_t i = 0; i < kModelCount; ++i) {
        const Model &m = model(static_cast<ModelId>(i));
        gchar **owned = g_strsplit(m.sections, " ", -1);
        bool found = false;
        for (gchar **o = owned; *o && !found; ++o) {
            size_t n = std::strlen(*o);
            if (n > 0 && (*o)[n - 1] == '*') {
                found = std::strncmp(group, *o, n - 1) == 0;
                *name = group + n - 1;
            } else {
                found = **o && std::strcmp(group, *o) == 0;
                *name = group;
            }
        }
        g_strfreev(owned);
        if (found) return &m;
    }
    return nullptr;
}

void apply_profile(const std::string &path, int depth)
{
    if (depth > 8) throw Error("profile " + path + ": base profiles nest too deep");
    GKeyFile *kf = g_key_file_new();
    GError *err = nullptr;
    if (!g_key_file_load_from_file(kf, path.c_str(), G_KEY_FILE_NONE, &err)) {
        std::string msg = err ? err->message : "cannot load";
        g_clear_error(&err);
        g_key_file_free(kf);
        throw Error("profile " + path + ": " + msg);
    }
    gsize ngroups = 0;
    gchar **groups = g_key_file_get_groups(kf, &ngroups);
    try {
        g_autofree gchar *base = g_key_file_get_string(kf, "profile", "base", nullptr);
        if (base) apply_profile(resolve_profile(base), depth + 1);
        for (gsize g = 0; g < ngroups; ++g) {
            if (std::strcmp(groups[g], "profile") == 0) continue;
            const char *name = nullptr;
            const Model *m = owner(groups[g], &name);
            Section section(kf, path, groups[g], name);
            if (!m || !m->load) section.fail("no device model reads this section");
            try {
                m->load(section);
            } catch (const std::out_of_range &e) {
                // A loader may hand a value to a setter of the test API, which refuses one out
                // of range with std::out_of_range; from a profile that is the profile's error.
                section.fail(e.what());
            }
        }
    } catch (...) {
        g_strfreev(groups);
        g_key_file_free(kf);
        throw;
    }
    g_strfreev(groups);
    g_key_file_free(kf);
}

}  // namespace

std::string resolve_profile(const std::string &profile)
{
    if (profile.empty()) throw Error("empty profile name");
    if (profile.find('/') != std::string::npos) {
        if (!g_file_test(profile.c_str(), G_FILE_TEST_IS_REGULAR)) throw Error("profile " + profile + ": no such file");
        return profile;
    }
    std::string dir = profile_dir();
    if (!g_file_test(dir.c_str(), G_FILE_TEST_IS_DIR)) {
        const char *env = std::getenv("BSPSIM_PROFILE_DIR");
        throw Error(std::string(env && *env ? "BSPSIM_PROFILE_DIR " : "profile directory ") + dir + ": not a directory");
    }
    std::string name = g_str_has_suffix(profile.c_str(), ".ini") ? profile : profile + ".ini";
    std::string path = dir + "/" + name;
    if (!g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR)) throw Error("no profile " + profile + " in " + dir);
    return path;
}

void load_board(const std::string &profile_path)
{
    for (size_t i = 0; i < kModelCount; ++i) {
        auto id = static_cast<ModelId>(i);
        if (id == ModelId::core) continue;
        std::memset(mapping() + region_offset(id, board_index()), 0, model(id).size);
    }
    for (size_t i = 0; i < kModelCount; ++i) {
        if (auto reset = model(static_cast<ModelId>(i)).reset) reset();
    }
    apply_profile(profile_path, 0);
    cpld::note_protection();
}

uint32_t profile_boards(const std::string &profile_path)
{
    std::string path = profile_path;
    for (int depth = 0; depth <= 8; ++depth) {
        g_autoptr(GKeyFile) kf = g_key_file_new();
        if (!g_key_file_load_from_file(kf, path.c_str(), G_KEY_FILE_NONE, nullptr)) return 1;
        if (g_autofree gchar *n = g_key_file_get_value(kf, "enclosure", "boards", nullptr)) {
            char *end = nullptr;
            unsigned long boards = std::strtoul(g_strstrip(n), &end, 0);
            if (*end != '\0' || boards < 1 || boards > kMaxBoards) {
                throw Error("profile " + path + ": [enclosure] boards must be 1 to " + std::to_string(kMaxBoards));
            }
            return static_cast<uint32_t>(boards);
        }
        g_autofree gchar *base = g_key_file_get_string(kf, "profile", "base", nullptr);
        if (!base) return 1;
        path = resolve_profile(base);
    }
    return 1;
}

void load_enclosure(const std::string &profile_path)
{
    const uint32_t boards = header().boards;
    try {
        for (uint32_t b = 0; b < boards; ++b) {
            set_working_board(static_cast<int>(b));
            load_board(profile_path);
        }
    } catch (...) {
        set_working_board(-1);
        throw;
    }
    set_working_board(-1);
}

void reset_instance()
{
    CoreState &c = core();
    c.clock_ms = 0;
    c.event_count = 0;
    c.log_count = 0;
    std::memset(c.faults, 0, sizeof c.faults);
    std::memset(c.scripts, 0, sizeof c.scripts);
    load_enclosure(std::string(text(c.profile)));
}

// A directory installed with the simulator, `relative` to the directory the simulator's own
// library was loaded from; "" when there is none (a simulator in the build tree).
std::string installed_dir(const char *relative)
{
    Dl_info self{};
    if (!dladdr(reinterpret_cast<void *>(&installed_dir), &self) || !self.dli_fname) return "";
    gchar *libdir = g_path_get_dirname(self.dli_fname);
    std::string dir = std::string(libdir) + "/" + relative;
    g_free(libdir);
    return g_file_test(dir.c_str(), G_FILE_TEST_IS_DIR) ? dir : "";
}

}  // namespace bspsim::detail

namespace bspsim {

std::string profile_dir()
{
    if (const char *d = std::getenv("BSPSIM_PROFILE_DIR"); d && *d) return d;
#ifdef BSPSIM_PROFILE_DIR_FROM_LIBDIR
    // An installed simulator finds the profiles installed beside it, wherever the tree was
    // installed or staged; a simulator in the build tree has none there and uses the sources'.
    if (std::string installed = detail::installed_dir(BSPSIM_PROFILE_DIR_FROM_LIBDIR); !installed.empty()) return installed;
#endif
    return BSPSIM_PROFILE_DIR_DEFAULT;
}

std::vector<std::string> profile_names()
{
    std::vector<std::string> names;
    GDir *d = g_dir_open(profile_dir().c_str(), 0, nullptr);
    if (!d) return names;
    while (const char *n = g_dir_read_name(d)) {
        if (g_str_has_suffix(n, ".ini")) names.emplace_back(n, std::strlen(n) - 4);
    }
    g_dir_close(d);
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace bspsim
