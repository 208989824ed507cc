// The management framework's objects and properties, on the board model.
//
// Values are kept as GVariant text with type annotations, so they live in the shared mapping
// like the rest of the board. Every value handed out (getters, method outputs) is a new
// reference the caller owns, counted until its last reference goes (live_values()); the setter
// and the method calls only read the caller's values and never take their references.
#include <glib.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/dfl.h"
#include "state.h"

namespace bspsim::detail {

int find_object(const State &s, const char *name)
{
    if (!name) return -1;
    for (size_t i = 0; i < kMaxObjects; ++i) {
        if (s.objects[i].used && std::strcmp(s.objects[i].name, name) == 0) return static_cast<int>(i);
    }
    return -1;
}

int add_object(State &s, const char *name, const char *cls)
{
    for (size_t i = 0; i < kMaxObjects; ++i) {
        if (!s.objects[i].used) {
            s.objects[i].used = 1;
            g_strlcpy(s.objects[i].name, name, sizeof s.objects[i].name);
            g_strlcpy(s.objects[i].cls, cls ? cls : "", sizeof s.objects[i].cls);
            return static_cast<int>(i);
        }
    }
    return -1;
}

PropRec *find_prop(State &s, uint32_t object, const char *name, PropKind kind)
{
    if (!name) return nullptr;
    for (auto &p : s.props) {
        if (p.used && p.object == object && p.kind == kind && std::strcmp(p.name, name) == 0) return &p;
    }
    return nullptr;
}

bool set_prop(State &s, uint32_t object, const char *name, PropKind kind, const char *text)
{
    if (kind == kPropValue || kind == kPropHardware) {
        GVariant *v = g_variant_parse(nullptr, text, nullptr, nullptr, nullptr);
        if (!v) return false;
        g_variant_unref(v);
    }
    if (std::strlen(text) >= kValueTextLen) return false;
    PropRec *p = find_prop(s, object, name, kind);
    if (!p) {
        for (auto &q : s.props) {
            if (!q.used) {
                p = &q;
                break;
            }
        }
        if (!p) return false;
        p->used = 1;
        p->object = object;
        p->kind = kind;
        g_strlcpy(p->name, name, sizeof p->name);
    }
    g_strlcpy(p->text, text, sizeof p->text);
    return true;
}

bool valid_outputs(const char *text)
{
    if (!text || std::strlen(text) >= kValueTextLen) return false;
    GVariant *v = g_variant_parse(nullptr, text, nullptr, nullptr, nullptr);
    if (!v) return false;
    bool tuple = g_variant_is_of_type(v, G_VARIANT_TYPE_TUPLE);
    g_variant_unref(v);
    return tuple;
}

namespace {

MethodRec *find_method(State &s, uint32_t object, const char *cls, const char *name)
{
    for (auto &m : s.dfl.methods) {
        if (!m.used || m.object != object || std::strcmp(m.name, name) != 0) continue;
        if (object != kClassScope || std::strcmp(m.cls, cls) == 0) return &m;
    }
    return nullptr;
}

}  // namespace

bool set_method(State &s, uint32_t object, const char *cls, const char *name, const char *outputs)
{
    if (!name || !*name || !valid_outputs(outputs)) return false;
    if (object == kClassScope && (!cls || !*cls)) return false;
    MethodRec *m = find_method(s, object, cls, name);
    if (!m) {
        auto free_slot = std::find_if(std::begin(s.dfl.methods), std::end(s.dfl.methods),
                                      [](const MethodRec &r) { return !r.used; });
        if (free_slot == std::end(s.dfl.methods)) return false;
        m = &*free_slot;
        m->used = 1;
        m->object = object;
        g_strlcpy(m->cls, object == kClassScope ? cls : "", sizeof m->cls);
        g_strlcpy(m->name, name, sizeof m->name);
    }
    g_strlcpy(m->answer, outputs, sizeof m->answer);
    m->script_len = 0;
    m->script_pos = 0;
    return true;
}

MethodRec *answering_method(State &s, uint32_t object, const char *name)
{
    if (!name || object >= kMaxObjects || !s.objects[object].used) return nullptr;
    if (MethodRec *own = find_method(s, object, "", name)) return own;
    return find_method(s, kClassScope, s.objects[object].cls, name);
}

BlockRec *find_block(State &s, uint32_t object, const char *name)
{
    if (!name) return nullptr;
    for (auto &b : s.dfl.blocks) {
        if (b.used && b.object == object && std::strcmp(b.name, name) == 0) return &b;
    }
    return nullptr;
}

bool set_block(State &s, uint32_t object, const char *name, const uint8_t *bytes, size_t size)
{
    if (!name || !*name || size > kBlockPoolSize) return false;
    BlockRec *b = find_block(s, object, name);
    if (!b) {
        auto free_slot = std::find_if(std::begin(s.dfl.blocks), std::end(s.dfl.blocks),
                                      [](const BlockRec &r) { return !r.used; });
        if (free_slot == std::end(s.dfl.blocks)) return false;
        b = &*free_slot;
        *b = BlockRec{};
        b->object = object;
        g_strlcpy(b->name, name, sizeof b->name);
    }
    if (size > b->capacity) {
        // A block that grows moves to fresh pool space; the old space is reclaimed by a reset.
        if (size > kBlockPoolSize - s.dfl.pool_used) return false;
        b->start = s.dfl.pool_used;
        b->capacity = static_cast<uint32_t>(size);
        s.dfl.pool_used += static_cast<uint32_t>(size);
    }
    b->used = 1;
    b->size = static_cast<uint32_t>(size);
    if (size > 0) std::memcpy(s.dfl.pool + b->start, bytes, size);
    return true;
}

}  // namespace bspsim::detail

using namespace bspsim;
using namespace bspsim::detail;

namespace {

constexpr int32_t kNoObject = kDflNoObject;
constexpr int32_t kNoProperty = kDflNoProperty;
constexpr int32_t kBadValue = kDflBadValue;

// Values handed out in this process and not yet released: the serialised bytes of each value
// carry a release hook, which runs when the value's last reference (or child) goes.
std::atomic<size_t> g_live_values{0};

void release_bytes(gpointer data)
{
    g_free(data);
    g_live_values.fetch_sub(1, std::memory_order_relaxed);
}

// A counted copy of `v`: a new, non-floating reference owned by the caller.
GVariant *hand_out(GVariant *v)
{
    gsize size = g_variant_get_size(v);
    gpointer copy = g_malloc(size > 0 ? size : 1);
    if (size > 0) g_variant_store(v, copy);
    GBytes *bytes = g_bytes_new_with_free_func(copy, size, release_bytes, copy);
    g_live_values.fetch_add(1, std::memory_order_relaxed);
    GVariant *out = g_variant_ref_sink(g_variant_new_from_bytes(g_variant_get_type(v), bytes, TRUE));
    g_bytes_unref(bytes);
    return out;
}

// A stored text as a value the caller owns (nullptr when the text does not parse). The parser
// hands out a full, non-floating reference.
GVariant *parse_text(const char *text)
{
    return g_variant_parse(nullptr, text, nullptr, nullptr, nullptr);
}

// Index of the object behind a handle, or -1.
int object_of(const State &s, OBJ_HANDLE handle)
{
    if (handle < kHandleBase || handle >= kHandleBase + kMaxObjects) return -1;
    auto i = static_cast<size_t>(handle - kHandleBase);
    return s.objects[i].used ? static_cast<int>(i) : -1;
}

std::string label(const State &s, OBJ_HANDLE handle, const char *what)
{
    int i = object_of(s, handle);
    std::string out = i < 0 ? "?" : s.objects[i].name;
    out += ".";
    out += what ? what : "";
    return out;
}

// The property of the object behind a handle, or nullptr.
PropRec *prop_of(State &s, OBJ_HANDLE handle, const char *property, PropKind kind)
{
    int obj = object_of(s, handle);
    return obj < 0 ? nullptr : find_prop(s, static_cast<uint32_t>(obj), property, kind);
}

uint32_t key_of(OBJ_HANDLE handle) { return static_cast<uint32_t>(handle); }

// Shared by the value and hardware getters. A property without a hardware source answers the
// hardware getter with its stored value.
int32_t get_value(Op op, OBJ_HANDLE handle, const char *property, GVariant **value, uint32_t option, PropKind kind)
{
    Lock lock;
    State &s = state();
    std::string name = label(s, handle, property);
    auto done = [&](int32_t result, uint32_t flags) {
        record(op, key_of(handle), option, 0, result, name.c_str()).flags |= flags;
        return result;
    };
    int32_t code = 0;
    if (take_fault(op, key_of(handle), &code)) return done(code, kFlagInjected);
    int obj = object_of(s, handle);
    if (obj < 0) return done(kNoObject, 0);
    if (!value) return done(kBadValue, 0);
    PropRec *p = find_prop(s, static_cast<uint32_t>(obj), property, kind);
    if (!p && kind == kPropHardware) p = find_prop(s, static_cast<uint32_t>(obj), property, kPropValue);
    if (!p) return done(kNoProperty, 0);
    GVariant *v = parse_text(p->text);
    if (!v) return done(kBadValue, 0);
    *value = hand_out(v);
    g_variant_unref(v);
    return done(0, 0);
}

// The inputs of a method call as one tuple text, read without taking their references.
// False when the list holds a null value.
bool inputs_text(GSList *input, std::string *text)
{
    std::string out = "(";
    uint32_t n = 0;
    for (GSList *l = input; l; l = l->next, ++n) {
        if (!l->data) return false;
        gchar *one = g_variant_print(static_cast<GVariant *>(l->data), TRUE);
        out += n ? ", " : "";
        out += one;
        g_free(one);
    }
    out += n == 1 ? ",)" : ")";
    *text = out;
    return true;
}

void note_call(State &s, uint64_t seq, int obj, const char *method, const std::string &inputs, int32_t result)
{
    MethodCallRec &c = s.dfl.calls[s.dfl.call_count++ % kMaxMethodCalls];
    c.seq = seq;
    c.result = result;
    g_strlcpy(c.object, obj < 0 ? "?" : s.objects[obj].name, sizeof c.object);
    g_strlcpy(c.method, method ? method : "", sizeof c.method);
    g_strlcpy(c.inputs, inputs.c_str(), sizeof c.inputs);
}

// The answer a method gives now: the next scripted one, else the standing one.
const char *next_answer(MethodRec &m)
{
    if (m.script_pos < m.script_len) return m.script[m.script_pos++];
    return m.answer;
}

// One transfer of a block-access chip; exactly one of `in` (read) and `out` (write) is set.
int32_t block_transfer(Op op, OBJ_HANDLE handle, const char *property, uint32_t offset, uint32_t length, uint8_t *in,
                       const uint8_t *out)
{
    Lock lock;
    State &s = state();
    std::string name = label(s, handle, property);
    auto done = [&](int32_t result, uint32_t first, uint32_t flags) {
        EventRec &e = record(op, key_of(handle), offset, first, result, name.c_str());
        e.len = length;
        e.flags |= flags;
        return result;
    };
    int32_t code = 0;
    if (take_fault(op, key_of(handle), &code)) return done(code, 0, kFlagInjected);
    int obj = object_of(s, handle);
    BlockRec *b = obj < 0 ? nullptr : find_block(s, static_cast<uint32_t>(obj), property);
    if (!b) return done(obj < 0 ? kNoObject : kNoProperty, 0, 0);
    if (!in && !out) return done(kBadValue, 0, kFlagMalformed);
    if (offset > b->size || length > b->size - offset) return done(kDflOutOfRange, 0, kFlagMalformed);
    uint8_t *data = s.dfl.pool + b->start + offset;
    if (length == 0) return done(0, 0, 0);
    if (in) {
        std::memcpy(in, data, length);
    } else {
        std::memcpy(data, out, length);
    }
    return done(0, data[0], 0);
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int32_t dfl_get_object_handle(const char *name, OBJ_HANDLE *handle)
{
    Lock lock;
    State &s = state();
    int32_t code = 0;
    if (fire_fault(Op::DflGetHandle, kAnyKey, &code, 0, 0, 0, name)) return code;
    int i = find_object(s, name);
    if (i < 0 || !handle) {
        record(Op::DflGetHandle, 0, 0, 0, kNoObject, name);
        return kNoObject;
    }
    *handle = kHandleBase + static_cast<uint64_t>(i);
    record(Op::DflGetHandle, key_of(*handle), 0, 0, 0, name);
    return 0;
}

__attribute__((visibility("default"))) const char *dfl_get_object_name(OBJ_HANDLE handle)
{
    Lock lock;
    State &s = state();
    int32_t code = 0;
    if (take_fault(Op::DflGetName, key_of(handle), &code)) {
        record(Op::DflGetName, key_of(handle), 0, 0, code).flags |= kFlagInjected;
        return nullptr;
    }
    int i = object_of(s, handle);
    record(Op::DflGetName, key_of(handle), 0, 0, i < 0 ? kNoObject : 0, i < 0 ? nullptr : s.objects[i].name);
    // The name lives in the shared mapping, which stays mapped for the life of the process.
    return i < 0 ? nullptr : s.objects[i].name;
}

__attribute__((visibility("default"))) int32_t dfl_get_object_list(const char *class_name, GSList **handles)
{
    Lock lock;
    State &s = state();
    int32_t code = 0;
    if (fire_fault(Op::DflGetList, kAnyKey, &code, 0, 0, 0, class_name)) return code;
    if (!class_name || !handles) {
        record(Op::DflGetList, 0, 0, 0, -1, class_name);
        return -1;
    }
    GSList *list = nullptr;
    uint32_t n = 0;
    for (size_t i = 0; i < kMaxObjects; ++i) {
        if (s.objects[i].used && std::strcmp(s.objects[i].cls, class_name) == 0) {
            list = g_slist_append(list, reinterpret_cast<gpointer>(static_cast<uintptr_t>(kHandleBase + i)));
            ++n;
        }
    }
    *handles = list;
    record(Op::DflGetList, 0, 0, n, 0, class_name);
    return 0;
}

__attribute__((visibility("default"))) int32_t dfl_get_referenced_object(OBJ_HANDLE handle, const char *property,
                                                                         OBJ_HANDLE *ref)
{
    Lock lock;
    State &s = state();
    std::string name = label(s, handle, property);
    int32_t code = 0;
    if (fire_fault(Op::DflGetRef, key_of(handle), &code, key_of(handle), 0, 0, name.c_str())) return code;
    PropRec *p = prop_of(s, handle, property, kPropReference);
    int target = p ? find_object(s, p->text) : -1;
    if (target < 0 || !ref) {
        record(Op::DflGetRef, key_of(handle), 0, 0, kNoProperty, name.c_str());
        return kNoProperty;
    }
    *ref = kHandleBase + static_cast<uint64_t>(target);
    record(Op::DflGetRef, key_of(handle), 0, key_of(*ref), 0, name.c_str());
    return 0;
}

__attribute__((visibility("default"))) int32_t dfl_get_property_value(OBJ_HANDLE handle, const char *property,
                                                                      GVariant **value)
{
    return get_value(Op::DflGetProp, handle, property, value, 0, kPropValue);
}

__attribute__((visibility("default"))) int32_t dfl_get_hardware_value(OBJ_HANDLE handle, const char *property,
                                                                      GVariant **value, uint32_t option)
{
    return get_value(Op::DflGetHw, handle, property, value, option, kPropHardware);
}

__attribute__((visibility("default"))) int32_t dfl_set_property_value(OBJ_HANDLE handle, const char *property,
                                                                      GVariant *value, uint32_t option)
{
    Lock lock;
    State &s = state();
    std::string name = label(s, handle, property);
    int32_t code = 0;
    if (fire_fault(Op::DflSetProp, key_of(handle), &code, key_of(handle), option, 0, name.c_str())) return code;
    auto done = [&](int32_t result) {
        record(Op::DflSetProp, key_of(handle), option, 0, result, name.c_str());
        return result;
    };
    int obj = object_of(s, handle);
    if (obj < 0) return done(kNoObject);
    if (!value) return done(kBadValue);
    // A property is typed by the value it was created with. One that has only a hardware
    // source is written there.
    PropKind kind = kPropValue;
    PropRec *p = find_prop(s, static_cast<uint32_t>(obj), property, kPropValue);
    if (!p) {
        kind = kPropHardware;
        p = find_prop(s, static_cast<uint32_t>(obj), property, kPropHardware);
    }
    if (!p) return done(kNoProperty);
    GVariant *stored = parse_text(p->text);
    bool same_type = stored && g_variant_type_equal(g_variant_get_type(stored), g_variant_get_type(value));
    if (stored) g_variant_unref(stored);
    if (!same_type) return done(kDflTypeMismatch);
    // Printing reads the value without taking the caller's reference.
    gchar *text = g_variant_print(value, TRUE);
    bool ok = set_prop(s, static_cast<uint32_t>(obj), property, kind, text);
    g_free(text);
    return done(ok ? 0 : kBadValue);
}

__attribute__((visibility("default"))) int32_t dfl_get_property_accessor(OBJ_HANDLE handle, const char *property,
                                                                         char *accessor, uint32_t size)
{
    Lock lock;
    State &s = state();
    std::string name = label(s, handle, property);
    int32_t code = 0;
    if (fire_fault(Op::DflGetAccessor, key_of(handle), &code, key_of(handle), 0, 0, name.c_str())) return code;
    PropRec *p = prop_of(s, handle, property, kPropAccessor);
    if (!p || !accessor || size == 0 || std::strlen(p->text) >= size) {
        record(Op::DflGetAccessor, key_of(handle), 0, 0, kNoProperty, name.c_str());
        return kNoProperty;
    }
    g_strlcpy(accessor, p->text, size);
    record(Op::DflGetAccessor, key_of(handle), 0, 0, 0, name.c_str());
    return 0;
}

__attribute__((visibility("default"))) int32_t dal_get_property_value_string(OBJ_HANDLE handle, const char *property,
                                                                             char *buf, uint32_t size)
{
    GVariant *v = nullptr;
    int32_t rc = get_value(Op::DalGetString, handle, property, &v, 0, kPropValue);
    if (rc != 0) return rc;
    int32_t result = -1;
    if (g_variant_is_of_type(v, G_VARIANT_TYPE_STRING) && buf && size > 0) {
        const char *text = g_variant_get_string(v, nullptr);
        if (std::strlen(text) < size) {
            g_strlcpy(buf, text, size);
            result = 0;
        }
    }
    g_variant_unref(v);
    return result;
}

__attribute__((visibility("default"))) void uip_free_gvariant_list(GSList *list)
{
    g_slist_free_full(list, reinterpret_cast<GDestroyNotify>(g_variant_unref));
}

// A CPLD reached through the framework: a one-bit mask with a non-zero byte sets the bit, a
// zero byte clears it; a wider mask writes the byte's masked bits.
__attribute__((visibility("default"))) int32_t dfl_chip_bytewrite(const char *chip, uint32_t offset, uint8_t mask,
                                                                  const uint8_t *value)
{
    Lock lock;
    State &s = state();
    int32_t code = 0;
    uint8_t byte = value ? *value : 0;
    if (fire_fault(Op::DflChipByteWrite, offset, &code, offset, mask, byte, chip)) return code;
    if (!chip || !value || find_object(s, chip) < 0 || std::strncmp(chip, "cpld", 4) != 0 || offset >= kCpldRegs) {
        record(Op::DflChipByteWrite, offset, mask, byte, kNoObject, chip).flags |= kFlagMalformed;
        return kNoObject;
    }
    bool single_bit = mask != 0 && (mask & (mask - 1)) == 0;
    uint8_t bits = single_bit ? (byte ? mask : 0) : static_cast<uint8_t>(byte & mask);
    bool ok = cpld_write(s, offset, bits, mask);
    EventRec &e = record(Op::DflChipByteWrite, offset, mask, byte, 0, chip);
    if (!ok) e.flags |= kFlagBlocked;
    return 0;
}

__attribute__((visibility("default"))) int32_t dfl_reboot(void)
{
    int32_t code = 0;
    if (injected(Op::DflReboot, kAnyKey, &code)) return code;
    Lock lock;
    record(Op::DflReboot);
    return 0;
}

// Methods answer from the board's script; the inputs are recorded, never consumed. The outputs
// are new references the caller owns and frees with uip_free_gvariant_list.
__attribute__((visibility("default"))) int32_t dfl_call_class_method(OBJ_HANDLE handle, const char *method,
                                                                     GSList *user_data, GSList *input, GSList **output)
{
    (void)user_data;  // handed to a method's implementation; the board's methods need none
    Lock lock;
    State &s = state();
    std::string name = label(s, handle, method);
    int obj = object_of(s, handle);
    std::string inputs;
    bool inputs_ok = inputs_text(input, &inputs);
    auto done = [&](int32_t result, uint32_t outputs, uint32_t flags) {
        EventRec &e = record(Op::DflCallMethod, key_of(handle), g_slist_length(input), outputs, result, name.c_str());
        e.flags |= flags;
        note_call(s, e.seq, obj, method, inputs, result);
        return result;
    };
    int32_t code = 0;
    if (take_fault(Op::DflCallMethod, key_of(handle), &code)) return done(code, 0, kFlagInjected);
    if (obj < 0) return done(kNoObject, 0, 0);
    if (!inputs_ok) return done(kBadValue, 0, kFlagMalformed);
    MethodRec *m = answering_method(s, static_cast<uint32_t>(obj), method);
    if (!m) return done(kDflNoMethod, 0, 0);
    GVariant *answer = parse_text(next_answer(*m));
    if (!answer) return done(kBadValue, 0, 0);
    GSList *outputs = nullptr;
    size_t n = g_variant_n_children(answer);
    for (size_t i = 0; output && i < n; ++i) {
        GVariant *child = g_variant_get_child_value(answer, i);
        outputs = g_slist_append(outputs, hand_out(child));
        g_variant_unref(child);
    }
    g_variant_unref(answer);
    if (output) *output = outputs;
    return done(0, static_cast<uint32_t>(n), 0);
}

__attribute__((visibility("default"))) int32_t dfl_block_read(OBJ_HANDLE handle, const char *property, uint32_t offset,
                                                              uint32_t length, void *buffer)
{
    return block_transfer(Op::DflBlockRead, handle, property, offset, length, static_cast<uint8_t *>(buffer), nullptr);
}

__attribute__((visibility("default"))) int32_t dfl_block_write(OBJ_HANDLE handle, const char *property,
                                                               uint32_t offset, uint32_t length, const void *buffer)
{
    return block_transfer(Op::DflBlockWrite, handle, property, offset, length, nullptr,
                          static_cast<const uint8_t *>(buffer));
}

}  // extern "C"

std::size_t bspsim::live_values() { return g_live_values.load(std::memory_order_relaxed); }
