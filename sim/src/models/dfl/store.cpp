// The framework's store: objects, properties, methods and blocks, the profile sections that
// declare them, and the test-side view.
//
// [object:NAME]: class=CLASS; PROP=gvariant text; PROP=ref:OBJECT; hw.PROP=gvariant text;
// accessor.PROP=NAME; method.METHOD=tuple of outputs; block.PROP=size [byte ...].
// [class:NAME]: method.METHOD=tuple of outputs, answered for every object of the class.
#include <glib.h>

#include <algorithm>
#include <cstring>

#include "core/section.h"
#include "models/dfl/dfl.h"

namespace bspsim::detail::dfl {

int find_object(const char *name)
{
    if (!name) return -1;
    for (size_t i = 0; i < kMaxObjects; ++i) {
        if (st().objects[i].used && text(st().objects[i].name) == name) return static_cast<int>(i);
    }
    return -1;
}

int add_object(const char *name, const char *cls)
{
    for (size_t i = 0; i < kMaxObjects; ++i) {
        ObjectRec &o = st().objects[i];
        if (!o.used) {
            o.used = 1;
            set_text(o.name, name);
            set_text(o.cls, cls ? cls : "");
            return static_cast<int>(i);
        }
    }
    return -1;
}

bool serve(const char *cls, ModelId id)
{
    for (auto &s : st().servers) {
        if (s.model == 0 || text(s.cls) == cls) {
            s.model = static_cast<uint32_t>(id) + 1;
            set_text(s.cls, cls);
            return true;
        }
    }
    return false;
}

const Model *server_of(uint32_t object)
{
    for (const auto &s : st().servers) {
        // A damaged row (a model id this build doesn't have) serves nothing.
        if (s.model != 0 && s.model <= kModelCount && text(s.cls) == text(st().objects[object].cls)) {
            return &model(static_cast<ModelId>(s.model - 1));
        }
    }
    return nullptr;
}

int object_of(OBJ_HANDLE handle)
{
    if (handle < kHandleBase || handle >= kHandleBase + kMaxObjects) return -1;
    auto i = static_cast<size_t>(handle - kHandleBase);
    return st().objects[i].used ? static_cast<int>(i) : -1;
}

PropRec *find_prop(uint32_t object, const char *name, PropKind kind)
{
    if (!name) return nullptr;
    for (auto &p : st().props) {
        if (p.used && p.object == object && p.kind == kind && text(p.name) == name) return &p;
    }
    return nullptr;
}

namespace {

// A value's GVariant text parsed, or nullptr when it is none. GLib's parser takes UTF-8 only and
// complains about anything else, so other bytes (a profile may hold any) are refused first.
GVariant *parse_value_text(const char *value)
{
    return g_utf8_validate(value, -1, nullptr) ? g_variant_parse(nullptr, value, nullptr, nullptr, nullptr) : nullptr;
}

}  // namespace

bool set_prop(uint32_t object, const char *name, PropKind kind, const char *value)
{
    if (kind == kPropValue || kind == kPropHardware) {
        GVariant *v = parse_value_text(value);
        if (!v) return false;
        g_variant_unref(v);
    }
    if (std::strlen(value) >= kValueTextLen) return false;
    PropRec *p = find_prop(object, name, kind);
    if (!p) {
        auto slot = std::find_if(std::begin(st().props), std::end(st().props), [](const PropRec &r) { return !r.used; });
        if (slot == std::end(st().props)) return false;
        p = &*slot;
        *p = PropRec{1, object, kind, {}, {}};
        set_text(p->name, name);
    }
    set_text(p->text, value);
    return true;
}

bool valid_outputs(const char *value)
{
    if (!value || std::strlen(value) >= kValueTextLen) return false;
    GVariant *v = parse_value_text(value);
    if (!v) return false;
    bool tuple = g_variant_is_of_type(v, G_VARIANT_TYPE_TUPLE);
    g_variant_unref(v);
    return tuple;
}

namespace {

MethodRec *find_method(uint32_t object, const char *cls, const char *name)
{
    for (auto &m : st().methods) {
        if (!m.used || m.object != object || text(m.name) != name) continue;
        if (object != kClassScope || text(m.cls) == cls) return &m;
    }
    return nullptr;
}

}  // namespace

bool set_method(uint32_t object, const char *cls, const char *name, const char *outputs)
{
    if (!name || !*name || !valid_outputs(outputs)) return false;
    if (object == kClassScope && (!cls || !*cls)) return false;
    MethodRec *m = find_method(object, cls, name);
    if (!m) {
        auto slot = std::find_if(std::begin(st().methods), std::end(st().methods), [](const MethodRec &r) { return !r.used; });
        if (slot == std::end(st().methods)) return false;
        m = &*slot;
        m->used = 1;
        m->object = object;
        set_text(m->cls, object == kClassScope ? cls : "");
        set_text(m->name, name);
    }
    set_text(m->answer, outputs);
    m->script_len = 0;
    m->script_pos = 0;
    return true;
}

MethodRec *answering_method(uint32_t object, const char *name)
{
    if (!name || object >= kMaxObjects || !st().objects[object].used) return nullptr;
    if (MethodRec *own = find_method(object, "", name)) return own;
    return find_method(kClassScope, std::string(text(st().objects[object].cls)).c_str(), name);
}

BlockRec *find_block(uint32_t object, const char *name)
{
    if (!name) return nullptr;
    for (auto &b : st().blocks) {
        bool sound = b.size <= b.capacity && b.start <= kBlockPoolSize && b.capacity <= kBlockPoolSize - b.start;
        if (b.used && sound && b.object == object && text(b.name) == name) return &b;
    }
    return nullptr;
}

bool set_block(uint32_t object, const char *name, const uint8_t *bytes, size_t size)
{
    if (!name || !*name || size > kBlockPoolSize) return false;
    State &s = st();
    BlockRec *b = find_block(object, name);
    if (!b) {
        auto slot = std::find_if(std::begin(s.blocks), std::end(s.blocks), [](const BlockRec &r) { return !r.used; });
        if (slot == std::end(s.blocks)) return false;
        b = &*slot;
        *b = BlockRec{0, object, {}, 0, 0, 0};
        set_text(b->name, name);
    }
    if (size > b->capacity) {
        // A block that grows moves to fresh pool space; the old space is reclaimed by a reset.
        if (s.pool_used > kBlockPoolSize || size > kBlockPoolSize - s.pool_used) return false;
        b->start = s.pool_used;
        b->capacity = static_cast<uint32_t>(size);
        s.pool_used += static_cast<uint32_t>(size);
    }
    b->used = 1;
    b->size = static_cast<uint32_t>(size);
    if (size > 0) std::memcpy(s.pool + b->start, bytes, size);
    return true;
}

namespace {

// block.PROP = size, then the first bytes of the block (the rest is zero).
bool apply_block(Section &s, uint32_t object, const char *name, const char *value)
{
    std::vector<uint32_t> v = s.list(value);
    if (v.empty() || v.size() - 1 > v[0]) return false;
    std::vector<uint8_t> bytes(v[0]);
    for (size_t i = 1; i < v.size(); ++i) {
        if (v[i] > 0xFF) return false;
        bytes[i - 1] = static_cast<uint8_t>(v[i]);
    }
    return set_block(object, name, bytes.data(), bytes.size());
}

void load_object(Section &s)
{
    std::string cls = s.value("class");
    int obj = find_object(s.name());
    if (obj < 0) obj = add_object(s.name(), cls.c_str());
    if (obj < 0) s.fail("too many objects");
    auto o = static_cast<uint32_t>(obj);
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "class") == 0) return;
        bool ok;
        if (g_str_has_prefix(key, "hw.")) {
            ok = set_prop(o, key + 3, kPropHardware, value);
        } else if (g_str_has_prefix(key, "accessor.")) {
            ok = set_prop(o, key + 9, kPropAccessor, value);
        } else if (g_str_has_prefix(key, "method.")) {
            ok = set_method(o, "", key + 7, value);
        } else if (g_str_has_prefix(key, "block.")) {
            ok = apply_block(s, o, key + 6, value);
        } else if (g_str_has_prefix(value, "ref:")) {
            ok = set_prop(o, key, kPropReference, value + 4);
        } else {
            ok = set_prop(o, key, kPropValue, value);
        }
        if (!ok) s.fail(std::string("bad property ") + key + " = " + value);
    });
}

void load(Section &s)
{
    if (!g_str_has_prefix(s.group(), "class:")) return load_object(s);
    s.each([&](const char *key, const char *value) {
        if (!g_str_has_prefix(key, "method.") || !set_method(kClassScope, s.name(), key + 7, value)) {
            s.fail(std::string("bad class method ") + key + " = " + value);
        }
    });
}

}  // namespace

}  // namespace bspsim::detail::dfl

namespace bspsim::detail {
const Model model_dfl = {.name = "dfl", .scope = Scope::Board, .size = sizeof(dfl::State),
                         .sections = "object:* class:*", .load = dfl::load};
}

namespace bspsim {

using namespace detail;
using namespace detail::dfl;

namespace {

// Index of a known object (lock held).
uint32_t object_index(const std::string &object)
{
    int i = find_object(object.c_str());
    if (i < 0) throw Error("no object " + object);
    return static_cast<uint32_t>(i);
}

void set_prop_checked(const std::string &object, const std::string &property, PropKind kind, const std::string &value)
{
    Lock lock;
    if (!set_prop(object_index(object), property.c_str(), kind, value.c_str())) {
        throw Error("cannot set " + object + "." + property + " to " + value);
    }
}

std::string prop_text(const std::string &object, const std::string &property, PropKind kind)
{
    Lock lock;
    int i = find_object(object.c_str());
    PropRec *p = i < 0 ? nullptr : find_prop(static_cast<uint32_t>(i), property.c_str(), kind);
    return p ? std::string(text(p->text)) : "";
}

}  // namespace

uint64_t Board::add_object(const std::string &name, const std::string &cls)
{
    Lock lock;
    int i = dfl::add_object(name.c_str(), cls.c_str());
    if (i < 0) throw Error("too many objects");
    return kHandleBase + static_cast<uint64_t>(i);
}

uint64_t Board::handle_of(const std::string &name) const
{
    Lock lock;
    int i = find_object(name.c_str());
    return i < 0 ? 0 : kHandleBase + static_cast<uint64_t>(i);
}

void Board::set_property(const std::string &object, const std::string &property, const std::string &value)
{
    set_prop_checked(object, property, kPropValue, value);
}

void Board::set_hardware_value(const std::string &object, const std::string &property, const std::string &value)
{
    set_prop_checked(object, property, kPropHardware, value);
}

void Board::set_reference(const std::string &object, const std::string &property, const std::string &target)
{
    set_prop_checked(object, property, kPropReference, target);
}

void Board::set_accessor(const std::string &object, const std::string &property, const std::string &accessor)
{
    set_prop_checked(object, property, kPropAccessor, accessor);
}

std::string Board::property(const std::string &object, const std::string &property) const
{
    return prop_text(object, property, kPropValue);
}

std::string Board::hardware_value(const std::string &object, const std::string &property) const
{
    return prop_text(object, property, kPropHardware);
}

void Board::set_method(const std::string &object, const std::string &method, const std::string &outputs)
{
    Lock lock;
    if (!dfl::set_method(object_index(object), "", method.c_str(), outputs.c_str())) {
        throw Error("cannot give " + object + "." + method + " the answer " + outputs);
    }
}

void Board::set_class_method(const std::string &cls, const std::string &method, const std::string &outputs)
{
    Lock lock;
    if (!dfl::set_method(kClassScope, cls.c_str(), method.c_str(), outputs.c_str())) {
        throw Error("cannot give class " + cls + "." + method + " the answer " + outputs);
    }
}

void Board::script_method(const std::string &object, const std::string &method, const std::vector<std::string> &outputs)
{
    if (outputs.size() > kMethodScriptLen) throw Error("method script too long");
    for (auto &o : outputs) {
        if (!valid_outputs(o.c_str())) throw Error("not a tuple of outputs: " + o);
    }
    Lock lock;
    MethodRec *m = answering_method(object_index(object), method.c_str());
    if (!m) throw Error("no method " + object + "." + method);
    for (size_t i = 0; i < outputs.size(); ++i) set_text(m->script[i], outputs[i]);
    m->script_len = static_cast<uint32_t>(outputs.size());
    m->script_pos = 0;
}

std::vector<MethodCall> Board::method_calls() const
{
    Lock lock;
    const State &d = st();
    std::vector<MethodCall> out;
    uint64_t first = d.call_count > kMaxMethodCalls ? d.call_count - kMaxMethodCalls : 0;
    for (uint64_t i = first; i < d.call_count; ++i) {
        const MethodCallRec &r = d.calls[i % kMaxMethodCalls];
        MethodCall c{std::string(text(r.object)), std::string(text(r.method)), {}, r.result};
        // Inputs are kept as one tuple; a tuple cut short by its room stays as it was kept.
        std::string inputs(text(r.inputs));
        GVariant *tuple = g_variant_parse(nullptr, inputs.c_str(), nullptr, nullptr, nullptr);
        if (!tuple || !g_variant_is_of_type(tuple, G_VARIANT_TYPE_TUPLE)) {
            c.inputs.push_back(inputs);
        } else {
            for (size_t k = 0; k < g_variant_n_children(tuple); ++k) {
                GVariant *child = g_variant_get_child_value(tuple, k);
                gchar *t = g_variant_print(child, TRUE);
                c.inputs.emplace_back(t);
                g_free(t);
                g_variant_unref(child);
            }
        }
        if (tuple) g_variant_unref(tuple);
        out.push_back(std::move(c));
    }
    return out;
}

void Board::set_block(const std::string &object, const std::string &property, const std::vector<uint8_t> &bytes)
{
    Lock lock;
    if (!dfl::set_block(object_index(object), property.c_str(), bytes.data(), bytes.size())) {
        throw Error("no room for the block " + object + "." + property);
    }
}

std::vector<uint8_t> Board::block(const std::string &object, const std::string &property) const
{
    Lock lock;
    int i = find_object(object.c_str());
    const BlockRec *b = i < 0 ? nullptr : find_block(static_cast<uint32_t>(i), property.c_str());
    if (!b) return {};
    const uint8_t *data = st().pool + b->start;
    return std::vector<uint8_t>(data, data + b->size);
}

}  // namespace bspsim
