// Board profiles: GLib key files that describe one board. A profile may name a `base` profile
// in its [profile] group; the base is loaded first and the profile's own keys override it.
#include <glib.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "state.h"

#ifndef BSPSIM_PROFILE_DIR_DEFAULT
#define BSPSIM_PROFILE_DIR_DEFAULT "sim/profiles"
#endif

namespace bspsim::detail {
namespace {

[[noreturn]] void bad_profile(const std::string &path, const std::string &what)
{
    std::fprintf(stderr, "bspsim: profile %s: %s\n", path.c_str(), what.c_str());
    std::abort();
}

uint32_t parse_number(const std::string &path, const char *text)
{
    char *end = nullptr;
    errno = 0;
    unsigned long long v = std::strtoull(text, &end, 0);
    while (end && (*end == ' ' || *end == '\t')) ++end;
    if (errno != 0 || end == text || (end && *end != '\0') || v > 0xFFFFFFFFull) {
        bad_profile(path, std::string("not a number: '") + text + "'");
    }
    return static_cast<uint32_t>(v);
}

std::vector<uint32_t> parse_list(const std::string &path, const char *text)
{
    std::vector<uint32_t> out;
    gchar **parts = g_strsplit_set(text, ", \t", -1);
    for (gchar **p = parts; *p; ++p) {
        if (**p) out.push_back(parse_number(path, *p));
    }
    g_strfreev(parts);
    return out;
}

// Calls fn(key, value) for every key of a group, when the group exists.
template <typename Fn>
void each_key(GKeyFile *kf, const std::string &path, const char *group, Fn fn)
{
    if (!g_key_file_has_group(kf, group)) return;
    gsize n = 0;
    gchar **keys = g_key_file_get_keys(kf, group, &n, nullptr);
    for (gsize i = 0; i < n; ++i) {
        gchar *v = g_key_file_get_value(kf, group, keys[i], nullptr);
        gchar *stripped = g_strstrip(v);
        fn(keys[i], stripped);
        g_free(v);
    }
    g_strfreev(keys);
    (void)path;
}

void set_sysinfo_word(State &s, uint32_t request, uint32_t word)
{
    for (auto &a : s.sysinfo) {
        if (a.used && a.request == request) {
            a.word = word;
            return;
        }
    }
    for (auto &a : s.sysinfo) {
        if (!a.used) {
            a = SysInfoRec{1, request, word};
            return;
        }
    }
}

// block.PROP = size, then the first bytes of the block (the rest is zero).
bool apply_block(State &s, const std::string &path, uint32_t object, const char *name, const char *value)
{
    std::vector<uint32_t> v = parse_list(path, value);
    if (v.empty() || v.size() - 1 > v[0]) return false;
    std::vector<uint8_t> bytes(v[0]);
    for (size_t i = 1; i < v.size(); ++i) {
        if (v[i] > 0xFF) return false;
        bytes[i - 1] = static_cast<uint8_t>(v[i]);
    }
    return set_block(s, object, name, bytes.data(), bytes.size());
}

void apply_profile(State &s, const std::string &path, int depth)
{
    if (depth > 8) bad_profile(path, "base profiles nest too deep");
    GKeyFile *kf = g_key_file_new();
    GError *err = nullptr;
    if (!g_key_file_load_from_file(kf, path.c_str(), G_KEY_FILE_NONE, &err)) {
        std::string msg = err ? err->message : "cannot load";
        g_clear_error(&err);
        g_key_file_free(kf);
        bad_profile(path, msg);
    }
    if (gchar *base = g_key_file_get_string(kf, "profile", "base", nullptr)) {
        std::string base_path = resolve_profile(base);
        g_free(base);
        apply_profile(s, base_path, depth + 1);
    }

    each_key(kf, path, "board", [&](const char *key, const char *value) {
        if (std::strcmp(key, "board_id") == 0) {
            set_sysinfo_word(s, 0x80047306u, parse_number(path, value) << 4);
        } else if (std::strcmp(key, "info_word") == 0) {
            set_sysinfo_word(s, 0x80047306u, parse_number(path, value));
        }
    });
    each_key(kf, path, "sysinfo", [&](const char *key, const char *value) {
        set_sysinfo_word(s, parse_number(path, key), parse_number(path, value));
    });
    each_key(kf, path, "gpio", [&](const char *key, const char *value) {
        uint32_t pin = parse_number(path, key);
        if (pin >= kPins) bad_profile(path, "pin out of range");
        s.pins[pin].level = static_cast<uint8_t>(parse_number(path, value) & 1u);
    });
    each_key(kf, path, "cpld", [&](const char *key, const char *value) {
        uint32_t reg = parse_number(path, key);
        if (reg >= kCpldRegs) bad_profile(path, "register out of range");
        s.cpld.regs[reg] = static_cast<uint8_t>(parse_number(path, value));
    });
    // RAM: address = one byte or a list of bytes stored from that address on.
    each_key(kf, path, "cpld.ram", [&](const char *key, const char *value) {
        uint32_t addr = parse_number(path, key);
        for (uint32_t b : parse_list(path, value)) s.cpld.ram[addr++ % kCpldRamSize] = static_cast<uint8_t>(b);
    });
    each_key(kf, path, "cpld.selftest", [&](const char *key, const char *value) {
        if (std::strcmp(key, "registers") != 0) return;
        for (uint32_t reg : parse_list(path, value)) {
            if (reg >= kCpldRegs) bad_profile(path, "self-test register out of range");
            s.cpld.kind[reg] = kRegSelfTest;
        }
    });
    // ids = the device ids the CPLD driver reports, CPLD 0 first; their number is its count.
    each_key(kf, path, "cpld.ids", [&](const char *key, const char *value) {
        if (std::strcmp(key, "ids") != 0) return;
        std::vector<uint32_t> ids = parse_list(path, value);
        if (ids.size() > kMaxCpldIds) bad_profile(path, "more CPLD ids than the driver keeps");
        s.cpld_drv = CpldDrvState{};
        s.cpld_drv.count = static_cast<uint32_t>(ids.size());
        std::copy(ids.begin(), ids.end(), s.cpld_drv.ids);
    });
    // uboot_num = copy that booted; uboot0, uboot1, sdk_first, sdk_second = version texts.
    each_key(kf, path, "firmware", [&](const char *key, const char *value) {
        auto text = [&](char *dest) {
            if (std::strlen(value) >= kVersionTextLen) bad_profile(path, std::string("version text too long: ") + key);
            g_strlcpy(dest, value, kVersionTextLen);
        };
        if (std::strcmp(key, "uboot_num") == 0) {
            s.firmware.uboot_num = parse_number(path, value);
        } else if (std::strcmp(key, "uboot0") == 0) {
            text(s.firmware.uboot[0]);
        } else if (std::strcmp(key, "uboot1") == 0) {
            text(s.firmware.uboot[1]);
        } else if (std::strcmp(key, "sdk_first") == 0) {
            text(s.firmware.sdk_first);
        } else if (std::strcmp(key, "sdk_second") == 0) {
            text(s.firmware.sdk_second);
        } else {
            bad_profile(path, std::string("unknown firmware key ") + key);
        }
    });
    // name = register mask guard-register guard-mask open-value
    each_key(kf, path, "cpld.protect", [&](const char *, const char *value) {
        std::vector<uint32_t> v = parse_list(path, value);
        if (v.size() != 5 || v[0] >= kCpldRegs || v[2] >= kCpldRegs) bad_profile(path, "protect rule needs 5 numbers");
        for (auto &p : s.cpld.protect) {
            if (!p.used) {
                p = ProtectRec{1, v[0], v[2], static_cast<uint8_t>(v[1]), static_cast<uint8_t>(v[3]),
                               static_cast<uint8_t>(v[4]), 0};
                return;
            }
        }
        bad_profile(path, "too many protect rules");
    });
    // [object:NAME]: class=CLASS; PROP=gvariant text; PROP=ref:OBJECT; hw.PROP=gvariant text;
    // accessor.PROP=NAME; method.METHOD=tuple of outputs; block.PROP=size [byte ...].
    // [class:NAME]: method.METHOD=tuple of outputs, answered for every object of the class.
    gsize ngroups = 0;
    gchar **groups = g_key_file_get_groups(kf, &ngroups);
    for (gsize g = 0; g < ngroups; ++g) {
        if (!g_str_has_prefix(groups[g], "object:")) continue;
        const char *obj_name = groups[g] + std::strlen("object:");
        gchar *cls = g_key_file_get_string(kf, groups[g], "class", nullptr);
        int obj = find_object(s, obj_name);
        if (obj < 0) obj = add_object(s, obj_name, cls ? cls : "");
        g_free(cls);
        if (obj < 0) bad_profile(path, "too many objects");
        each_key(kf, path, groups[g], [&](const char *key, const char *value) {
            if (std::strcmp(key, "class") == 0) return;
            bool ok;
            if (g_str_has_prefix(key, "hw.")) {
                ok = set_prop(s, static_cast<uint32_t>(obj), key + 3, kPropHardware, value);
            } else if (g_str_has_prefix(key, "accessor.")) {
                ok = set_prop(s, static_cast<uint32_t>(obj), key + 9, kPropAccessor, value);
            } else if (g_str_has_prefix(key, "method.")) {
                ok = set_method(s, static_cast<uint32_t>(obj), "", key + 7, value);
            } else if (g_str_has_prefix(key, "block.")) {
                ok = apply_block(s, path, static_cast<uint32_t>(obj), key + 6, value);
            } else if (g_str_has_prefix(value, "ref:")) {
                ok = set_prop(s, static_cast<uint32_t>(obj), key, kPropReference, value + 4);
            } else {
                ok = set_prop(s, static_cast<uint32_t>(obj), key, kPropValue, value);
            }
            if (!ok) bad_profile(path, std::string("bad property ") + obj_name + "." + key + " = " + value);
        });
    }
    for (gsize g = 0; g < ngroups; ++g) {
        if (!g_str_has_prefix(groups[g], "class:")) continue;
        const char *cls = groups[g] + std::strlen("class:");
        each_key(kf, path, groups[g], [&](const char *key, const char *value) {
            if (!g_str_has_prefix(key, "method.") || !set_method(s, kClassScope, cls, key + 7, value)) {
                bad_profile(path, std::string("bad class method ") + cls + "." + key + " = " + value);
            }
        });
    }
    g_strfreev(groups);
    g_key_file_free(kf);
}

}  // namespace

std::string resolve_profile(const std::string &profile)
{
    if (profile.find('/') != std::string::npos) return profile;
    std::string name = profile;
    if (!g_str_has_suffix(name.c_str(), ".ini")) name += ".ini";
    return profile_dir() + "/" + name;
}

// Loads the profile into a zeroed board (everything but the lock and semaphores).
void load_profile(State &s, const std::string &path)
{
    apply_profile(s, path, 0);
}

void set_sysinfo_answer(State &s, uint32_t request, uint32_t word) { set_sysinfo_word(s, request, word); }

void reset_state(State &s)
{
    std::string profile = s.profile;
    s.clock_ms = 0;
    s.event_count = 0;
    s.log_count = 0;
    std::memset(s.sysinfo, 0, sizeof s.sysinfo);
    std::memset(s.pins, 0, sizeof s.pins);
    std::memset(&s.cpld, 0, sizeof s.cpld);
    std::memset(&s.cpld_drv, 0, sizeof s.cpld_drv);
    std::memset(&s.firmware, 0, sizeof s.firmware);
    std::memset(s.faults, 0, sizeof s.faults);
    std::memset(s.scripts, 0, sizeof s.scripts);
    std::memset(s.objects, 0, sizeof s.objects);
    std::memset(s.props, 0, sizeof s.props);
    std::memset(&s.dfl, 0, sizeof s.dfl);
    load_profile(s, profile);
}

}  // namespace bspsim::detail

namespace bspsim {

std::string profile_dir()
{
    if (const char *d = std::getenv("BSPSIM_PROFILE_DIR"); d && *d) return d;
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
