// The device models of the simulator and what the core needs to know of each: the region it
// owns in the shared mapping, the profile sections it reads, and how it comes out of a reset.
// A new model adds one line to BSPSIM_MODELS and defines its `model_NAME` in its own file.
#ifndef BSPSIM_CORE_REGISTRY_H
#define BSPSIM_CORE_REGISTRY_H

#include <cstddef>
#include <cstdint>

struct _GVariant;
typedef struct _GVariant GVariant;

#define BSPSIM_MODELS(X) \
    X(core)              \
    X(enclosure)         \
    X(sysinfo)           \
    X(gpio)              \
    X(cpld)              \
    X(cpld_ram)          \
    X(cpld_drv)          \
    X(sem)               \
    X(firmware)          \
    X(dfl)               \
    X(tty)               \
    X(leds)              \
    X(uart_switch)       \
    X(pcie)              \
    X(ssd)               \
    X(enclosure_records) \
    X(psu)               \
    X(board_power)       \
    X(clocks)            \
    X(slots)             \
    X(mastership)        \
    X(secure_core)       \
    X(fan_mcu)           \
    X(fans)              \
    X(ge_switch)

namespace bspsim::detail {

enum class ModelId : uint32_t {
#define BSPSIM_MODEL_ID(id) id,
    BSPSIM_MODELS(BSPSIM_MODEL_ID)
#undef BSPSIM_MODEL_ID
};

#define BSPSIM_MODEL_COUNT(id) +1
inline constexpr size_t kModelCount = 0 BSPSIM_MODELS(BSPSIM_MODEL_COUNT);
#undef BSPSIM_MODEL_COUNT

// What the whole enclosure has once (the core, the supplies, the slots) and what each board has.
enum class Scope : uint8_t { Enclosure, Board };

class Section;

struct Model {
    const char *name;
    Scope scope;
    size_t size;  // bytes of its region
    // Profile sections it reads, blank-separated; "object:*" takes every "object:NAME".
    const char *sections = "";
    void (*load)(Section &) = nullptr;
    // Runs after the region was zeroed, before the profile is applied (nullptr: nothing more).
    void (*reset)() = nullptr;
    // A model that renders bits of CPLD registers: the value of the bits it owns, and a write.
    uint8_t (*reg_read)(uint32_t addr) = nullptr;
    void (*reg_write)(uint32_t addr, uint8_t value, uint8_t mask) = nullptr;
    // Of the bits it renders, those that refuse a write right now (write protection it keeps
    // itself); nullptr: none ever do.
    uint8_t (*reg_closed)(uint32_t addr) = nullptr;
    // A model that is the device behind objects of the framework (a switch, a fan, a chip on a
    // block bus) claims their class with dfl::serve and answers here: a method call (inputs and
    // outputs are tuples; *outputs a full reference or nullptr) and a block transfer (exactly one
    // of in/out set). Returns the framework's status, or dfl::kNotServed to leave the call to the
    // object's scripted answers and stored blocks.
    int32_t (*method)(uint32_t object, const char *method, GVariant *inputs, GVariant **outputs) = nullptr;
    int32_t (*block)(uint32_t object, const char *property, uint32_t offset, uint32_t length, uint8_t *in,
                     const uint8_t *out) = nullptr;
};

#define BSPSIM_MODEL_DECL(id) extern const Model model_##id;
BSPSIM_MODELS(BSPSIM_MODEL_DECL)
#undef BSPSIM_MODEL_DECL

const Model &model(ModelId id);

}  // namespace bspsim::detail

#endif
