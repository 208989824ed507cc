// The board's fans as the framework shows them, and the fan controller. The model makes the
// objects Fan1..FanN (class "Fan") and answers their methods:
//   GetPst      (byte present,)
//   GetFanInfo  (byte number, byte speed level, uint16 front rpm, uint16 rear rpm,
//                byte fault flags, byte alarm flags); a fan that is not there does not answer.
// A failed rotor shows 0 rpm. The fan controller is object "FanCtrlObj" (class "FanCtrl"),
// byte property "Mode": 0 automatic, 1 manual; the property is where the mode lives.
// Methods other than these, methods scripted on a fan object itself, and objects of the class
// that the model did not make (a test's own) are left to the scripted answers.
//
// [fans] count = number of fans (at most 8); mode = auto|manual;
//        fanN = any of present|absent, speed LEVEL, fault (front rotor failed), alarm, ok
//        (N from 1; a fan not named is present, level 20, no fault, no alarm).
#include <glib.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "bspsim/fans.hpp"
#include "core/section.h"
#include "models/dfl/dfl.h"

namespace bspsim::detail::fans {
namespace {

constexpr uint32_t kMaxFans = 8;
constexpr uint8_t kDefaultLevel = 20;
constexpr uint16_t kRpmPerLevel = 120;
constexpr const char *kCtrl = "FanCtrlObj";

struct Unit {
    uint32_t object;  // index in the framework's store
    uint8_t present, level, faults, alarms;
};

struct State {
    uint32_t count;
    Unit units[kMaxFans];
};

State &st() { return region<State>(ModelId::fans); }

Unit *unit_of(uint32_t object)
{
    for (uint32_t i = 0; i < st().count && i < kMaxFans; ++i) {
        if (st().units[i].object == object) return &st().units[i];
    }
    return nullptr;
}

uint16_t rpm(const Unit &u, uint8_t failed_bit) { return u.faults & failed_bit ? 0 : uint16_t(u.level * kRpmPerLevel); }

int32_t method(uint32_t object, const char *name, GVariant *, GVariant **outputs)
{
    const Unit *u = unit_of(object);
    // A method scripted on the fan object itself plays a fan that answers oddly: it goes first.
    const dfl::MethodRec *own = dfl::answering_method(object, name);
    if (!u || (own && own->object == object)) return dfl::kNotServed;
    if (std::strcmp(name, "GetPst") == 0) {
        *outputs = g_variant_ref_sink(g_variant_new("(y)", u->present));
        return 0;
    }
    if (std::strcmp(name, "GetFanInfo") != 0) return dfl::kNotServed;
    if (!u->present) return kDflBadValue;
    const auto number = static_cast<uint8_t>(u - st().units + 1);
    *outputs = g_variant_ref_sink(g_variant_new("(yyqqyy)", number, u->level, rpm(*u, 1), rpm(*u, 2), u->faults, u->alarms));
    return 0;
}

void set_manual(bool manual)
{
    int obj = dfl::find_object(kCtrl);
    if (obj < 0) obj = dfl::add_object(kCtrl, "FanCtrl");
    if (obj < 0) throw Error("no room for the fan controller");
    dfl::set_prop(static_cast<uint32_t>(obj), "Mode", dfl::kPropValue, manual ? "byte 0x01" : "byte 0x00");
}

void reset() { dfl::serve("Fan", ModelId::fans); }

void load(Section &s)
{
    const std::string count = s.value("count");
    if (!count.empty()) {
        const uint32_t n = s.number(count.c_str(), kMaxFans + 1, "fan count");
        for (uint32_t i = st().count; i < n; ++i) {
            const std::string name = "Fan" + std::to_string(i + 1);
            int obj = dfl::find_object(name.c_str());
            if (obj < 0) obj = dfl::add_object(name.c_str(), "Fan");
            if (obj < 0) s.fail("too many objects");
            st().units[i] = {static_cast<uint32_t>(obj), 1, kDefaultLevel, 0, 0};
        }
        st().count = n;
    }
    const std::string mode = s.value("mode");
    if (mode != "manual" && mode != "auto" && !mode.empty()) s.fail("mode must be auto or manual");
    if (!mode.empty() || dfl::find_object(kCtrl) < 0) set_manual(mode == "manual");
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "count") == 0 || std::strcmp(key, "mode") == 0) return;
        if (std::strncmp(key, "fan", 3) != 0) s.fail(std::string("unknown key ") + key);
        const uint32_t n = s.number(key + 3, st().count + 1, "fan");
        if (n == 0) s.fail("fans count from 1");
        Unit &u = st().units[n - 1];
        g_auto(GStrv) words = g_strsplit(value, ",", -1);
        for (gchar **w = words; *w; ++w) {
            const std::string word = g_strstrip(*w);
            if (word == "present" || word == "absent") u.present = word == "present";
            else if (word == "fault") u.faults = kFanFrontRotorFailed;
            else if (word == "alarm") u.alarms = kFanSpeedAlarm;
            else if (word == "ok") u.faults = u.alarms = 0;
            else if (word.rfind("speed ", 0) == 0) u.level = static_cast<uint8_t>(s.number(word.c_str() + 6, 256, "speed"));
            else s.fail(std::string(key) + ": unknown state '" + word + "'");
        }
    });
}

}  // namespace
}  // namespace bspsim::detail::fans

namespace bspsim::detail {
const Model model_fans = {.name = "fans", .scope = Scope::Board, .size = sizeof(fans::State), .sections = "fans",
                          .load = fans::load, .reset = fans::reset, .method = fans::method};
}

namespace bspsim {

using namespace detail;

uint32_t fan_count()
{
    Lock lock;
    return fans::st().count;
}

Fan::Fan(uint32_t index) : index_(index) { check_range("fan", index, fan_count()); }

FanState Fan::state() const
{
    Lock lock;
    const fans::Unit &u = fans::st().units[index_];
    return {u.present != 0, u.level, u.faults, u.alarms};
}

#define BSPSIM_FAN_SETTER(fn, field, type)        \
    Fan &Fan::fn(type value)                      \
    {                                             \
        Lock lock;                                \
        fans::st().units[index_].field = value;   \
        return *this;                             \
    }
BSPSIM_FAN_SETTER(set_present, present, bool)
BSPSIM_FAN_SETTER(set_level, level, uint8_t)
BSPSIM_FAN_SETTER(set_faults, faults, uint8_t)
BSPSIM_FAN_SETTER(set_alarms, alarms, uint8_t)
#undef BSPSIM_FAN_SETTER

bool fans_manual()
{
    Lock lock;
    int obj = dfl::find_object("FanCtrlObj");
    dfl::PropRec *p = obj < 0 ? nullptr : dfl::find_prop(static_cast<uint32_t>(obj), "Mode", dfl::kPropValue);
    GVariant *v = p ? g_variant_parse(G_VARIANT_TYPE_BYTE, std::string(text(p->text)).c_str(), nullptr, nullptr, nullptr)
                    : nullptr;
    const bool manual = v && g_variant_get_byte(v) == 1;
    if (v) g_variant_unref(v);
    return manual;
}

void set_fans_manual(bool manual)
{
    Lock lock;
    fans::set_manual(manual);
}

}  // namespace bspsim
