// Platform entry points of the object framework. Faults are keyed by the handle's low 32 bits.
#include "models/dfl/dfl.h"

using namespace bspsim;
using namespace bspsim::detail;

namespace {
uint32_t key(OBJ_HANDLE handle) { return static_cast<uint32_t>(handle); }
}  // namespace

BSPSIM_API int32_t dfl_get_object_handle(const char *name, OBJ_HANDLE *handle)
{
    Call call(Op::DflGetHandle, kAnyKey);
    return dfl::get_handle(call, name, handle);
}

BSPSIM_API const char *dfl_get_object_name(OBJ_HANDLE handle)
{
    Call call(Op::DflGetName, key(handle));
    return dfl::get_name(call, handle);
}

BSPSIM_API int32_t dfl_get_object_list(const char *class_name, GSList **handles)
{
    Call call(Op::DflGetList, kAnyKey);
    return dfl::get_list(call, class_name, handles);
}

BSPSIM_API int32_t dfl_get_referenced_object(OBJ_HANDLE handle, const char *property, OBJ_HANDLE *ref)
{
    Call call(Op::DflGetRef, key(handle));
    return dfl::get_ref(call, handle, property, ref);
}

BSPSIM_API int32_t dfl_get_property_value(OBJ_HANDLE handle, const char *property, GVariant **value)
{
    Call call(Op::DflGetProp, key(handle));
    return dfl::get_value(call, handle, property, value, 0, dfl::kPropValue);
}

BSPSIM_API int32_t dfl_get_hardware_value(OBJ_HANDLE handle, const char *property, GVariant **value, uint32_t option)
{
    Call call(Op::DflGetHw, key(handle));
    return dfl::get_value(call, handle, property, value, option, dfl::kPropHardware);
}

BSPSIM_API int32_t dfl_set_property_value(OBJ_HANDLE handle, const char *property, GVariant *value, uint32_t option)
{
    Call call(Op::DflSetProp, key(handle));
    return dfl::set_value(call, handle, property, value, option);
}

BSPSIM_API int32_t dfl_get_property_accessor(OBJ_HANDLE handle, const char *property, char *accessor, uint32_t size)
{
    Call call(Op::DflGetAccessor, key(handle));
    return dfl::get_accessor(call, handle, property, accessor, size);
}

BSPSIM_API int32_t dal_get_property_value_string(OBJ_HANDLE handle, const char *property, char *buf, uint32_t size)
{
    Call call(Op::DalGetString, key(handle));
    return dfl::get_string(call, handle, property, buf, size);
}

BSPSIM_API int32_t dfl_call_class_method(OBJ_HANDLE handle, const char *method, GSList *user_data, GSList *input,
                                         GSList **output)
{
    (void)user_data;  // handed to a method's implementation; the board's methods need none
    Call call(Op::DflCallMethod, key(handle));
    return dfl::call_method(call, handle, method, input, output);
}

BSPSIM_API int32_t dfl_block_read(OBJ_HANDLE handle, const char *property, uint32_t offset, uint32_t length, void *buffer)
{
    Call call(Op::DflBlockRead, key(handle));
    return dfl::block(call, handle, property, offset, length, static_cast<uint8_t *>(buffer), nullptr);
}

BSPSIM_API int32_t dfl_block_write(OBJ_HANDLE handle, const char *property, uint32_t offset, uint32_t length,
                                   const void *buffer)
{
    Call call(Op::DflBlockWrite, key(handle));
    return dfl::block(call, handle, property, offset, length, nullptr, static_cast<const uint8_t *>(buffer));
}

BSPSIM_API int32_t dfl_chip_bytewrite(const char *chip, uint32_t offset, uint8_t mask, const uint8_t *value)
{
    Call call(Op::DflChipByteWrite, offset);
    return dfl::chip_bytewrite(call, chip, offset, mask, value);
}

BSPSIM_API int32_t dfl_reboot(void)
{
    Call call(Op::DflReboot, kAnyKey);
    return call.run(true, [] { return 0; });
}

BSPSIM_API void uip_free_gvariant_list(GSList *list)
{
    g_slist_free_full(list, reinterpret_cast<GDestroyNotify>(g_variant_unref));
}
