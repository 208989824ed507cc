// The Ethernet switch of a 4U four-controller board and its own watchdog. The switch answers
// the framework's "GeSwitchObj" (class GeSwitch, declared by the profiles of boards that have
// one; elsewhere the object lookup fails as on the real board):
//   "SetWtdFlag" (byte 1)  arms a stop request ("switch stop requested"); another input is
//                          refused as a bad value
//   "GetWtdFlag"           answers (uint32 1) while the request is pending, (uint32 0) once
//                          the switch has stopped its watchdog ("switch watchdog stopped") or
//                          when nothing was asked
// How many polls the switch takes to stop is scriptable; failures of the calls come from the
// framework's fault injection (Op::DflCallMethod).
// [switch] stop = POLLS | never   (polls answered 1 after a request; default 0: at once)
#include <glib.h>

#include <cstring>
#include <string>

#include "bspsim/ge_switch.hpp"
#include "core/section.h"
#include "models/dfl/dfl.h"

namespace bspsim::detail::ge_switch {
namespace {

constexpr const char *kClass = "GeSwitch";
constexpr uint8_t kStopRequest = 1;

struct State {
    uint32_t polls;     // polls answered "pending" after a request
    uint8_t never;      // the switch never stops
    uint8_t pending;
    uint8_t stopped;
    uint8_t reserved;
    uint32_t polls_left;
};

State &st() { return region<State>(ModelId::ge_switch); }

void reset() { (void)dfl::serve(kClass, ModelId::ge_switch); }

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "stop") != 0) s.fail(std::string("unknown key ") + key);
        st().never = std::strcmp(value, "never") == 0;
        st().polls = st().never ? 0 : s.number(value, 1000, "polls before the switch stops");
    });
}

GVariant *flag_answer(uint32_t flag) { return g_variant_ref_sink(g_variant_new("(u)", flag)); }

int32_t method(uint32_t, const char *name, GVariant *inputs, GVariant **outputs)
{
    if (std::strcmp(name, "SetWtdFlag") == 0) {
        uint8_t value = 0;
        if (inputs && g_variant_is_of_type(inputs, G_VARIANT_TYPE("(y)"))) g_variant_get(inputs, "(y)", &value);
        if (value != kStopRequest) return kDflBadValue;
        st().pending = 1;
        st().polls_left = st().polls;
        record_change(0, 1, "switch stop requested");
        *outputs = g_variant_ref_sink(g_variant_new("()"));
        return 0;
    }
    if (std::strcmp(name, "GetWtdFlag") == 0) {
        if (st().pending && !st().never && st().polls_left == 0) {
            st().pending = 0;
            st().stopped = 1;
            record_change(0, 0, "switch watchdog stopped");
        } else if (st().pending && !st().never) {
            --st().polls_left;
        }
        *outputs = flag_answer(st().pending);
        return 0;
    }
    return dfl::kNotServed;
}

}  // namespace
}  // namespace bspsim::detail::ge_switch

namespace bspsim::detail {
const Model model_ge_switch = {.name = "ge_switch", .scope = Scope::Board, .size = sizeof(ge_switch::State),
                               .sections = "switch", .load = ge_switch::load, .reset = ge_switch::reset,
                               .method = ge_switch::method};
}

namespace bspsim {

using detail::Lock;
using detail::ge_switch::st;

void set_switch_stop(uint32_t polls, bool never)
{
    detail::check_range("polls before the switch stops", polls, 1000);
    Lock lock;
    st().polls = polls;
    st().never = never;
    st().polls_left = polls;
}

uint32_t switch_stop_polls()
{
    Lock lock;
    return st().polls;
}

bool switch_never_stops()
{
    Lock lock;
    return st().never != 0;
}

bool switch_stop_pending()
{
    Lock lock;
    return st().pending != 0;
}

bool switch_watchdog_stopped()
{
    Lock lock;
    return st().stopped != 0;
}

}  // namespace bspsim
