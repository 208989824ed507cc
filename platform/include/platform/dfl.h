/* The management framework's object/property interface. */
#ifndef PLATFORM_DFL_H
#define PLATFORM_DFL_H

#include <stdint.h>
#include <glib.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Guarded: the library's exported header declares the same type for its users. */
#if !defined(BSP_OBJ_HANDLE_DEFINED)
#define BSP_OBJ_HANDLE_DEFINED
typedef uint64_t OBJ_HANDLE;
#endif
int32_t dfl_get_object_handle(const char *name, OBJ_HANDLE *handle);
const char *dfl_get_object_name(OBJ_HANDLE handle);             /* NULL for an unknown handle */
int32_t dfl_get_object_list(const char *class_name, GSList **handles); /* data = handle as pointer; free with g_slist_free */
int32_t dfl_get_referenced_object(OBJ_HANDLE handle, const char *property, OBJ_HANDLE *ref);
int32_t dfl_get_property_value(OBJ_HANDLE handle, const char *property, GVariant **value);
int32_t dfl_set_property_value(OBJ_HANDLE handle, const char *property, GVariant *value, uint32_t option);
int32_t dfl_get_hardware_value(OBJ_HANDLE handle, const char *property, GVariant **value, uint32_t option);
int32_t dfl_get_property_accessor(OBJ_HANDLE handle, const char *property, char *accessor, uint32_t size);
int32_t dfl_call_class_method(OBJ_HANDLE handle, const char *method, GSList *user_data,
                              GSList *input, GSList **output);  /* lists of GVariant */
int32_t dfl_block_read(OBJ_HANDLE handle, const char *property, uint32_t offset, uint32_t length, void *buffer);
int32_t dfl_block_write(OBJ_HANDLE handle, const char *property, uint32_t offset, uint32_t length, const void *buffer);
int32_t dfl_chip_bytewrite(const char *chip, uint32_t offset, uint8_t mask, const uint8_t *value);
int32_t dfl_reboot(void);
int32_t dal_get_property_value_string(OBJ_HANDLE handle, const char *property, char *buf, uint32_t size);
void uip_free_gvariant_list(GSList *list);   /* unrefs every GVariant, frees the list */

#ifdef __cplusplus
}
#endif

#endif
