// One section of a board profile, as the model that owns it sees it.
#ifndef BSPSIM_CORE_SECTION_H
#define BSPSIM_CORE_SECTION_H

#include <glib.h>

#include <cstdint>
#include <string>
#include <vector>

namespace bspsim::detail {

class Section {
public:
    Section(GKeyFile *kf, std::string path, const char *group, const char *name)
        : kf_(kf), path_(std::move(path)), group_(group), name_(name) {}

    // The group's name after its prefix ("FanA" of "object:FanA"), or the whole name.
    const char *name() const { return name_; }
    const char *group() const { return group_; }
    // Calls fn(key, value) for every key, the value stripped of blanks (fn may throw).
    template <typename Fn>
    void each(Fn fn) const
    {
        gsize n = 0;
        g_auto(GStrv) keys = g_key_file_get_keys(kf_, group_, &n, nullptr);
        for (gsize i = 0; i < n; ++i) {
            g_autofree gchar *v = g_key_file_get_value(kf_, group_, keys[i], nullptr);
            fn(static_cast<const char *>(keys[i]), static_cast<const char *>(g_strstrip(v)));
        }
    }
    std::string value(const char *key) const;  // "" when absent
    uint32_t number(const char *text) const;
    uint32_t number(const char *text, uint32_t limit, const char *what) const;  // below limit
    std::vector<uint32_t> list(const char *text) const;
    [[noreturn]] void fail(const std::string &what) const;

private:
    GKeyFile *kf_;
    std::string path_;
    const char *group_;
    const char *name_;
};

}  // namespace bspsim::detail

#endif
