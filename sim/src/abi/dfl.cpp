// Platform entry points of the object framework. Faults are keyed by the handle's low 32 bits.
#include "models/bmc.h"
#include "models/dfl/dfl.h"

using namespace bspsim;
using namespace bspsim::detail;

namespace {
uint32_t key(OBJ_HANDLE handle) { return static_cast<uint32_t>(handle); }
}  // namespace

BSPSIM_API int32_t dfl_get_object_handle(const char *name, OBJ_HANDLE *handle)
{
    return dfl::get_handle({Op::DflGetHandle, kAnyKey}, name, handle);
}

BSPSIM_API const char *dfl_get_object_name(OBJ_HANDLE handle)
{
    return dfl::get_name({Op::DflGetName, key(handle)}, handle);
}

BSPSIM_API int32_t dfl_get_object_list(const char *class_name, GSList **handles)
{
    return dfl::get_list({Op::DflGetList, kAnyKey}, class_name, handles);
}

BSPSIM_API int32_t dfl_get_referenced_object(OBJ_HANDLE handle, const char *property, OBJ_HANDLE *ref)
{
    return dfl::get_ref({Op::DflGetRef, key(handle)}, handle, property, ref);
}

BSPSIM_API int32_t dfl_get_property_value(OBJ_HANDLE handle, const char *property, GVariant **value)
{
    return dfl::get_value({Op::DflGetProp, key(handle)}, handle, property, value, 0, dfl::kPropValue);
}

BSPSIM_API int32_t dfl_get_hardware_value(OBJ_HANDLE handle, const char *property, GVariant **value, uint32_t option)
{
    return dfl::get_value({Op::DflGetHw, key(handle)}, handle, property, value, option, dfl::kPropHardware);
}

BSPSIM_API int32_t dfl_set_property_value(OBJ_HANDLE handle, const char *property, GVariant *value, uint32_t option)
{
    return dfl::set_value({Op::DflSetProp, key(handle)}, handle, property, value, option);
}

BSPSIM_API int32_t dfl_get_property_accessor(OBJ_HANDLE handle, const char *property, char *accessor, uint32_t size)
{
    return dfl::get_accessor({Op::DflGetAccessor, key(handle)}, handle, property, accessor, size);
}

BSPSIM_API int32_t dal_get_property_value_string(OBJ_HANDLE handle, const char *property, char *buf, uint32_t size)
{
    return dfl::get_string({Op::DalGetString, key(handle)}, handle, property, buf, size);
}

BSPSIM_API int32_t dfl_call_class_method(OBJ_HANDLE handle, const char *method, GSList *user_data, GSList *input,
                                         GSList **output)
{
    (void)user_data;  // handed to a method's implementation; the board's methods need none
    return dfl::call_method({Op::DflCallMethod, key(handle)}, handle, method, input, output);
}

BSPSIM_API int32_t dfl_block_read(OBJ_HANDLE handle, const char *property, uint32_t offset, uint32_t length, void *buffer)
{
    return dfl::block({Op::DflBlockRead, key(handle)}, handle, property, offset, length, static_cast<uint8_t *>(buffer), nullptr);
}

BSPSIM_API int32_t dfl_block_write(OBJ_HANDLE handle, const char *property, uint32_t offset, uint32_t length,
                                   const void *buffer)
{
    return dfl::block({Op::DflBlockWrite, key(handle)}, handle, property, offset, length, nullptr, static_cast<const uint8_t *>(buffer));
}

BSPSIM_API int32_t dfl_chip_bytewrite(const char *chip, uint32_t offset, uint8_t mask, const uint8_t *value)
{
    return dfl::chip_bytewrite({Op::DflChipByteWrite, offset}, chip, offset, mask, value);
}

BSPSIM_API int32_t dfl_reboot(void)
{
    return bmc::reboot({Op::DflReboot, kAnyKey});
}

BSPSIM_API void uip_free_gvariant_list(GSList *list)
{
    g_slist_free_full(list, reinterpret_cast<GDestroyNotify>(g_variant_unref));
}
