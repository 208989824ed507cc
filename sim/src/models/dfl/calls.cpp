// The framework's platform calls. Every value handed out (getters, method outputs) is a new
// reference the caller owns, counted until its last reference goes (live_values()); the setter
// and the method calls only read the caller's values and never take their references.
#include <glib.h>

#include <atomic>
#include <cstring>
#include <string>

#include "models/cpld.h"
#include "models/dfl/dfl.h"

namespace bspsim::detail::dfl {
namespace {

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

// A stored text as a value (nullptr when it does not parse): a full reference.
GVariant *parse(std::string_view stored)
{
    return g_variant_parse(nullptr, std::string(stored).c_str(), nullptr, nullptr, nullptr);
}

// "object.what" for the record.
std::string label(OBJ_HANDLE handle, const char *what)
{
    int i = object_of(handle);
    return (i < 0 ? std::string("?") : std::string(text(st().objects[i].name))) + "." + (what ? what : "");
}

uint32_t key_of(OBJ_HANDLE handle) { return static_cast<uint32_t>(handle); }

PropRec *prop_of(OBJ_HANDLE handle, const char *property, PropKind kind)
{
    int obj = object_of(handle);
    return obj < 0 ? nullptr : find_prop(static_cast<uint32_t>(obj), property, kind);
}

// The inputs of a method call as one tuple text, read without taking their references.
// False when the list holds a null value.
bool inputs_text(GSList *input, std::string *out)
{
    std::string t = "(";
    uint32_t n = 0;
    for (GSList *l = input; l; l = l->next, ++n) {
        if (!l->data) return false;
        gchar *one = g_variant_print(static_cast<GVariant *>(l->data), TRUE);
        t += n ? ", " : "";
        t += one;
        g_free(one);
    }
    *out = t + (n == 1 ? ",)" : ")");
    return true;
}

}  // namespace

int32_t get_handle(Call &&call, const char *name, OBJ_HANDLE *handle)
{
    call.rec.name = name ? name : "";
    return call.run(true, [&] {
        int i = find_object(name);
        if (i < 0 || !handle) return kDflNoObject;
        *handle = kHandleBase + static_cast<uint64_t>(i);
        call.rec.a = key_of(*handle);
        return 0;
    });
}

const char *get_name(Call &&call, OBJ_HANDLE handle)
{
    call.rec.a = key_of(handle);
    int i = -1;
    call.run(true, [&] {
        i = object_of(handle);
        // A name that fills its field has no terminator to hand out.
        if (i >= 0 && text(st().objects[i].name).size() >= kNameLen) i = -1;
        if (i >= 0) call.rec.name = text(st().objects[i].name);
        return i < 0 ? kDflNoObject : 0;
    });
    // The name lives in the shared mapping, which stays mapped for the life of the process.
    return i < 0 || call.injected ? nullptr : st().objects[i].name;
}

int32_t get_list(Call &&call, const char *cls, GSList **handles)
{
    call.rec.name = cls ? cls : "";
    return call.run(true, [&] {
        if (!cls || !handles) return -1;
        GSList *list = nullptr;
        for (size_t i = 0; i < kMaxObjects; ++i) {
            if (st().objects[i].used && text(st().objects[i].cls) == cls) {
                list = g_slist_append(list, reinterpret_cast<gpointer>(static_cast<uintptr_t>(kHandleBase + i)));
                ++call.rec.value;
            }
        }
        *handles = list;
        return 0;
    });
}

int32_t get_ref(Call &&call, OBJ_HANDLE handle, const char *property, OBJ_HANDLE *ref)
{
    call.rec = {.a = key_of(handle), .name = label(handle, property)};
    return call.run(true, [&] {
        PropRec *p = prop_of(handle, property, kPropReference);
        int target = p ? find_object(std::string(text(p->text)).c_str()) : -1;
        if (target < 0 || !ref) return kDflNoProperty;
        *ref = kHandleBase + static_cast<uint64_t>(target);
        call.rec.value = key_of(*ref);
        return 0;
    });
}

// Shared by the value and hardware getters. A property without a hardware source answers the
// hardware getter with its stored value.
int32_t get_value(Call &&call, OBJ_HANDLE handle, const char *property, GVariant **value, uint32_t option, PropKind kind)
{
    call.rec = {.a = key_of(handle), .b = option, .name = label(handle, property)};
    return call.run(true, [&] {
        int obj = object_of(handle);
        if (obj < 0) return kDflNoObject;
        if (!value) return kDflBadValue;
        PropRec *p = find_prop(static_cast<uint32_t>(obj), property, kind);
        if (!p && kind == kPropHardware) p = find_prop(static_cast<uint32_t>(obj), property, kPropValue);
        if (!p) return kDflNoProperty;
        GVariant *v = parse(text(p->text));
        if (!v) return kDflBadValue;
        *value = hand_out(v);
        g_variant_unref(v);
        return 0;
    });
}

int32_t set_value(Call &&call, OBJ_HANDLE handle, const char *property, GVariant *value, uint32_t option)
{
    call.rec = {.a = key_of(handle), .b = option, .name = label(handle, property)};
    return call.run(true, [&] {
        int obj = object_of(handle);
        if (obj < 0) return kDflNoObject;
        if (!value) return kDflBadValue;
        // A property is typed by the value it was created with. One that has only a hardware
        // source is written there.
        PropKind kind = kPropValue;
        PropRec *p = find_prop(static_cast<uint32_t>(obj), property, kPropValue);
        if (!p) p = find_prop(static_cast<uint32_t>(obj), property, kind = kPropHardware);
        if (!p) return kDflNoProperty;
        GVariant *stored = parse(text(p->text));
        bool same_type = stored && g_variant_type_equal(g_variant_get_type(stored), g_variant_get_type(value));
        if (stored) g_variant_unref(stored);
        if (!same_type) return kDflTypeMismatch;
        // Printing reads the value without taking the caller's reference.
        gchar *t = g_variant_print(value, TRUE);
        bool ok = set_prop(static_cast<uint32_t>(obj), property, kind, t);
        g_free(t);
        return ok ? 0 : kDflBadValue;
    });
}

int32_t get_accessor(Call &&call, OBJ_HANDLE handle, const char *property, char *accessor, uint32_t size)
{
    call.rec = {.a = key_of(handle), .name = label(handle, property)};
    return call.run(true, [&] {
        PropRec *p = prop_of(handle, property, kPropAccessor);
        if (!p || !accessor || size == 0 || text(p->text).size() >= size) return kDflNoProperty;
        std::string_view t = text(p->text);
        std::memcpy(accessor, t.data(), t.size());
        accessor[t.size()] = '\0';
        return 0;
    });
}

int32_t get_string(Call &&call, OBJ_HANDLE handle, const char *property, char *buf, uint32_t size)
{
    GVariant *v = nullptr;
    int32_t rc = get_value(std::move(call), handle, property, &v, 0, kPropValue);
    if (rc != 0) return rc;
    // As the platform's getter: a text longer than the buffer is cut to fit (size - 1
    // characters and the terminator); only a value that is no text fails.
    int32_t result = -1;
    if (g_variant_is_of_type(v, G_VARIANT_TYPE_STRING) && buf && size > 0) {
        g_strlcpy(buf, g_variant_get_string(v, nullptr), size);
        result = 0;
    }
    g_variant_unref(v);
    return result;
}

// A CPLD reached through the framework: a one-bit mask with a non-zero byte sets the bit, a
// zero byte clears it; a wider mask writes the byte's masked bits.
int32_t chip_bytewrite(Call &&call, const char *chip, uint32_t offset, uint8_t mask, const uint8_t *value)
{
    uint8_t byte = value ? *value : 0;
    call.rec = {.a = offset, .b = mask, .value = byte, .name = chip ? chip : ""};
    bool valid = chip && value && find_object(chip) >= 0 && std::strncmp(chip, "cpld", 4) == 0 && offset < cpld::kRegs;
    return call.run(valid, [&] {
        bool single_bit = mask != 0 && (mask & (mask - 1)) == 0;
        uint8_t bits = single_bit ? (byte ? mask : 0) : static_cast<uint8_t>(byte & mask);
        if (!cpld::write(offset, bits, mask)) call.rec.flags |= kFlagBlocked;
        return 0;
    }, kDflNoObject);
}

// Methods answer from the board's script; the inputs are recorded, never consumed. The outputs
// are new references the caller owns and frees with uip_free_gvariant_list.
int32_t call_method(Call &&call, OBJ_HANDLE handle, const char *method, GSList *input, GSList **output)
{
    call.rec = {.a = key_of(handle), .b = g_slist_length(input), .name = label(handle, method)};
    int obj = object_of(handle);
    std::string inputs;
    bool inputs_ok = inputs_text(input, &inputs);
    int32_t rc = call.run(obj < 0 || inputs_ok, [&] {
        if (obj < 0) return kDflNoObject;
        GVariant *answer = nullptr;
        // The device model behind the object answers first; the scripted answers are the rest.
        if (const Model *server = server_of(static_cast<uint32_t>(obj)); server && server->method) {
            GVariant *in = parse(inputs);
            int32_t rc = server->method(static_cast<uint32_t>(obj), method ? method : "", in, &answer);
            if (in) g_variant_unref(in);
            if (rc != kNotServed && (rc != 0 || !answer)) {
                if (answer) g_variant_unref(answer);
                return rc != 0 ? rc : kDflBadValue;
            }
        }
        if (!answer) {
            MethodRec *m = answering_method(static_cast<uint32_t>(obj), method);
            if (!m) return kDflNoMethod;
            // The next scripted answer, else the standing one.
            bool scripted = m->script_pos < m->script_len && m->script_len <= kMethodScriptLen;
            answer = parse(scripted ? text(m->script[m->script_pos++]) : text(m->answer));
            if (!answer) return kDflBadValue;
        }
        GSList *outputs = nullptr;
        size_t n = g_variant_n_children(answer);
        for (size_t i = 0; output && i < n; ++i) {
            GVariant *child = g_variant_get_child_value(answer, i);
            outputs = g_slist_append(outputs, hand_out(child));
            g_variant_unref(child);
        }
        g_variant_unref(answer);
        if (output) *output = outputs;
        call.rec.value = static_cast<uint32_t>(n);
        return 0;
    }, kDflBadValue);
    MethodCallRec &c = st().calls[st().call_count++ % kMaxMethodCalls];
    c = MethodCallRec{call.event->seq, rc, {}, {}, {}};
    set_text(c.object, obj < 0 ? "?" : text(st().objects[obj].name));
    set_text(c.method, method ? method : "");
    set_text(c.inputs, inputs);
    return rc;
}

// One transfer of a block-access chip; exactly one of `in` (read) and `out` (write) is set.
int32_t block(Call &&call, OBJ_HANDLE handle, const char *property, uint32_t offset, uint32_t length, uint8_t *in,
              const uint8_t *out)
{
    call.rec = {.a = key_of(handle), .b = offset, .len = length, .name = label(handle, property)};
    int obj = object_of(handle);
    BlockRec *b = obj < 0 ? nullptr : find_block(static_cast<uint32_t>(obj), property);
    return call.run(true, [&] {
        if (const Model *server = obj < 0 ? nullptr : server_of(static_cast<uint32_t>(obj)); server && server->block) {
            int32_t rc = server->block(static_cast<uint32_t>(obj), property ? property : "", offset, length, in, out);
            if (rc != kNotServed) {
                if (rc == 0 && length > 0) call.rec.value = in ? in[0] : out ? out[0] : 0;
                return rc;
            }
        }
        if (!b) return obj < 0 ? kDflNoObject : kDflNoProperty;
        int32_t refusal = !in && !out ? kDflBadValue : offset > b->size || length > b->size - offset ? kDflOutOfRange : 0;
        if (refusal != 0) {
            call.rec.flags |= kFlagMalformed;
            return refusal;
        }
        if (length == 0) return 0;
        uint8_t *data = st().pool + b->start + offset;
        std::memcpy(in ? in : data, in ? data : out, length);
        call.rec.value = data[0];
        return 0;
    });
}

}  // namespace bspsim::detail::dfl

std::size_t bspsim::live_values() { return detail::dfl::g_live_values.load(std::memory_order_relaxed); }
