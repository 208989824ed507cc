// The management framework's objects and properties, on the board model.
//
// Values are kept as GVariant text with type annotations, so they live in the shared mapping
// like the rest of the board. The getters hand out a new reference the caller owns; the setter
// only reads the caller's value and never takes its reference.
#include <glib.h>

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
        g_variant_unref(g_variant_ref_sink(v));
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

}  // namespace bspsim::detail

using namespace bspsim;
using namespace bspsim::detail;

namespace {

constexpr int32_t kNoObject = -2;
constexpr int32_t kNoProperty = -3;
constexpr int32_t kBadValue = -4;

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

uint32_t key_of(OBJ_HANDLE handle) { return static_cast<uint32_t>(handle); }

// Shared by the value and hardware getters.
int32_t get_value(Op op, OBJ_HANDLE handle, const char *property, GVariant **value, uint32_t option, PropKind kind)
{
    Lock lock;
    State &s = state();
    std::string name = label(s, handle, property);
    int32_t code = 0;
    if (take_fault(op, key_of(handle), &code)) {
        record(op, key_of(handle), option, 0, code, name.c_str()).flags |= kFlagInjected;
        return code;
    }
    int obj = object_of(s, handle);
    if (obj < 0 || !property || !value) {
        record(op, key_of(handle), option, 0, kNoObject, name.c_str());
        return kNoObject;
    }
    PropRec *p = find_prop(s, static_cast<uint32_t>(obj), property, kind);
    if (!p && kind == kPropHardware) p = find_prop(s, static_cast<uint32_t>(obj), property, kPropValue);
    if (!p) {
        record(op, key_of(handle), option, 0, kNoProperty, name.c_str());
        return kNoProperty;
    }
    GVariant *v = g_variant_parse(nullptr, p->text, nullptr, nullptr, nullptr);
    if (!v) {
        record(op, key_of(handle), option, 0, kBadValue, name.c_str());
        return kBadValue;
    }
    *value = g_variant_ref_sink(v);
    record(op, key_of(handle), option, 0, 0, name.c_str());
    return 0;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int32_t dfl_get_object_handle(const char *name, OBJ_HANDLE *handle)
{
    Lock lock;
    State &s = state();
    int32_t code = 0;
    if (take_fault(Op::DflGetHandle, kAnyKey, &code)) {
        record(Op::DflGetHandle, 0, 0, 0, code, name).flags |= kFlagInjected;
        return code;
    }
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
    if (take_fault(Op::DflGetList, kAnyKey, &code)) {
        record(Op::DflGetList, 0, 0, 0, code, class_name).flags |= kFlagInjected;
        return code;
    }
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
    if (take_fault(Op::DflGetRef, key_of(handle), &code)) {
        record(Op::DflGetRef, key_of(handle), 0, 0, code, name.c_str()).flags |= kFlagInjected;
        return code;
    }
    int obj = object_of(s, handle);
    PropRec *p = obj < 0 ? nullptr : find_prop(s, static_cast<uint32_t>(obj), property, kPropReference);
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
    if (take_fault(Op::DflSetProp, key_of(handle), &code)) {
        record(Op::DflSetProp, key_of(handle), option, 0, code, name.c_str()).flags |= kFlagInjected;
        return code;
    }
    int obj = object_of(s, handle);
    if (obj < 0 || !property || !value) {
        record(Op::DflSetProp, key_of(handle), option, 0, kNoObject, name.c_str());
        return kNoObject;
    }
    // Printing reads the value without taking the caller's reference.
    gchar *text = g_variant_print(value, TRUE);
    bool ok = set_prop(s, static_cast<uint32_t>(obj), property, kPropValue, text);
    g_free(text);
    record(Op::DflSetProp, key_of(handle), option, 0, ok ? 0 : kBadValue, name.c_str());
    return ok ? 0 : kBadValue;
}

__attribute__((visibility("default"))) int32_t dfl_get_property_accessor(OBJ_HANDLE handle, const char *property,
                                                                         char *accessor, uint32_t size)
{
    Lock lock;
    State &s = state();
    std::string name = label(s, handle, property);
    int32_t code = 0;
    if (take_fault(Op::DflGetAccessor, key_of(handle), &code)) {
        record(Op::DflGetAccessor, key_of(handle), 0, 0, code, name.c_str()).flags |= kFlagInjected;
        return code;
    }
    int obj = object_of(s, handle);
    PropRec *p = obj < 0 ? nullptr : find_prop(s, static_cast<uint32_t>(obj), property, kPropAccessor);
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
    if (take_fault(Op::DflChipByteWrite, offset, &code)) {
        record(Op::DflChipByteWrite, offset, mask, byte, code, chip).flags |= kFlagInjected;
        return code;
    }
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

// Class methods and block chips come with the families that use them.
__attribute__((visibility("default"))) int32_t dfl_call_class_method(OBJ_HANDLE handle, const char *method,
                                                                     GSList *user_data, GSList *input, GSList **output)
{
    (void)user_data;
    (void)input;
    (void)output;
    Lock lock;
    record(Op::DflCallMethod, key_of(handle), 0, 0, -1, label(state(), handle, method).c_str());
    return -1;
}

__attribute__((visibility("default"))) int32_t dfl_block_read(OBJ_HANDLE handle, const char *property, uint32_t offset,
                                                              uint32_t length, void *buffer)
{
    (void)buffer;
    Lock lock;
    record(Op::DflBlockRead, key_of(handle), offset, 0, -1, label(state(), handle, property).c_str()).len = length;
    return -1;
}

__attribute__((visibility("default"))) int32_t dfl_block_write(OBJ_HANDLE handle, const char *property,
                                                               uint32_t offset, uint32_t length, const void *buffer)
{
    (void)buffer;
    Lock lock;
    record(Op::DflBlockWrite, key_of(handle), offset, 0, -1, label(state(), handle, property).c_str()).len = length;
    return -1;
}

}  // extern "C"
