// The management framework's objects: properties with typed values, references, accessors,
// class methods with scripted answers, and block-access chips. Values are kept as GVariant text
// with type annotations, so they live in the shared mapping like the rest of the board.
#ifndef BSPSIM_MODELS_DFL_H
#define BSPSIM_MODELS_DFL_H

#include "core/core.h"
#include "platform/dfl.h"

namespace bspsim::detail::dfl {

inline constexpr size_t kMaxObjects = 256;
inline constexpr size_t kMaxProps = 2048;
inline constexpr size_t kValueTextLen = 512;
inline constexpr size_t kMaxMethods = 128;
inline constexpr size_t kMethodScriptLen = 8;
inline constexpr size_t kMaxMethodCalls = 256;
inline constexpr size_t kMaxBlocks = 64;
inline constexpr size_t kBlockPoolSize = size_t{256} * 1024;
inline constexpr uint32_t kClassScope = 0xFFFFFFFFu;  // MethodRec::object of a class's method
inline constexpr uint64_t kHandleBase = 0x1000;      // handles are kHandleBase + index; 0 is none
inline constexpr size_t kMaxServers = 16;
// What a serving model answers when the call is not its to serve.
inline constexpr int32_t kNotServed = INT32_MIN;

struct ObjectRec {
    uint32_t used;
    char name[kNameLen];
    char cls[kNameLen];
};

enum PropKind : uint32_t {
    kPropValue = 0,      // stored value
    kPropHardware = 1,   // value read from the hardware source
    kPropReference = 2,  // name of the referenced object
    kPropAccessor = 3,   // name of the accessor
};

struct PropRec {
    uint32_t used;
    uint32_t object;
    uint32_t kind;
    char name[kNameLen];
    char text[kValueTextLen];
};

// The answer of a method of one object or of every object of a class (tuples of outputs).
struct MethodRec {
    uint32_t used;
    uint32_t object;  // index, or kClassScope
    char cls[kNameLen];
    char name[kNameLen];
    uint32_t script_len;
    uint32_t script_pos;
    char answer[kValueTextLen];                    // the standing answer
    char script[kMethodScriptLen][kValueTextLen];  // answered first, in order
};

struct MethodCallRec {
    uint64_t seq;  // of the call's event
    int32_t result;
    char object[kNameLen];
    char method[kNameLen];
    char inputs[kValueTextLen];
};

// Byte blocks behind object properties, carved out of one pool.
struct BlockRec {
    uint32_t used;
    uint32_t object;
    char name[kNameLen];
    uint32_t start;
    uint32_t size;
    uint32_t capacity;
};

// A class whose objects a device model answers for (model id + 1; 0 is a free row).
struct ServerRec {
    uint32_t model;
    char cls[kNameLen];
};

struct State {
    ObjectRec objects[kMaxObjects];
    ServerRec servers[kMaxServers];
    PropRec props[kMaxProps];
    MethodRec methods[kMaxMethods];
    uint64_t call_count;
    MethodCallRec calls[kMaxMethodCalls];
    BlockRec blocks[kMaxBlocks];
    uint32_t pool_used;
    uint8_t pool[kBlockPoolSize];
};

inline State &st() { return region<State>(ModelId::dfl); }

// Lock held.
int find_object(const char *name);
int add_object(const char *name, const char *cls);
int object_of(OBJ_HANDLE handle);  // -1 for an unknown handle
PropRec *find_prop(uint32_t object, const char *name, PropKind kind);
bool set_prop(uint32_t object, const char *name, PropKind kind, const char *text);
bool valid_outputs(const char *text);
bool set_method(uint32_t object, const char *cls, const char *name, const char *outputs);
MethodRec *answering_method(uint32_t object, const char *name);  // its own, else its class's
bool set_block(uint32_t object, const char *name, const uint8_t *bytes, size_t size);
BlockRec *find_block(uint32_t object, const char *name);  // nullptr also for a damaged one
// A model claims the objects of class `cls` (from its reset): their method calls and block
// transfers go to its `method` and `block` first. False when the table is full.
bool serve(const char *cls, ModelId id);
const Model *server_of(uint32_t object);  // nullptr: nobody serves the object's class
inline std::string_view object_name(uint32_t object) { return text(st().objects[object].name); }

// The platform calls.
int32_t get_handle(Call &&call, const char *name, OBJ_HANDLE *handle);
const char *get_name(Call &&call, OBJ_HANDLE handle);
int32_t get_list(Call &&call, const char *cls, GSList **handles);
int32_t get_ref(Call &&call, OBJ_HANDLE handle, const char *property, OBJ_HANDLE *ref);
int32_t get_value(Call &&call, OBJ_HANDLE handle, const char *property, GVariant **value, uint32_t option, PropKind kind);
int32_t set_value(Call &&call, OBJ_HANDLE handle, const char *property, GVariant *value, uint32_t option);
int32_t get_accessor(Call &&call, OBJ_HANDLE handle, const char *property, char *accessor, uint32_t size);
int32_t call_method(Call &&call, OBJ_HANDLE handle, const char *method, GSList *input, GSList **output);
int32_t block(Call &&call, OBJ_HANDLE handle, const char *property, uint32_t offset, uint32_t length, uint8_t *in,
              const uint8_t *out);
int32_t chip_bytewrite(Call &&call, const char *chip, uint32_t offset, uint8_t mask, const uint8_t *value);
// A string property's text into a caller's buffer.
int32_t get_string(Call &&call, OBJ_HANDLE handle, const char *property, char *buf, uint32_t size);

}  // namespace bspsim::detail::dfl

#endif
