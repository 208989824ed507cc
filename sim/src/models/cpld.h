// The CPLD's register file: named registers with a reset value and a kind, reached over the
// local bus, SPI and the framework's chip writes.
#ifndef BSPSIM_MODELS_CPLD_H
#define BSPSIM_MODELS_CPLD_H

#include <string>
#include <vector>

#include "core/core.h"
#include "platform/bus.h"

namespace bspsim::detail::cpld {

inline constexpr uint32_t kRegs = 1024;

// Lock held. A read as the bus sees it (scripted values first); a write, false when write
// protection or a read-only register stopped some bit of it.
uint8_t read(uint32_t addr);
bool write(uint32_t addr, uint8_t value, uint8_t mask);
// The stored byte, without the bits models render.
uint8_t stored(uint32_t addr);
// The byte as the back door sees it: stored bits and the bits models render (no scripts).
uint8_t rendered(uint32_t addr);
// True while the test API's back door sets a register: a model's register write then changes
// its state without recording the change.
bool back_door();
// The bits `bits` of `addr` are rendered by model `owner` through its register hooks.
void hook(uint32_t addr, ModelId owner, uint8_t bits);
// Lock held. Sets bits `mask` of the stored byte, by the back door (for a model that renders
// a register whole and keeps its other bits plain).
void store(uint32_t addr, uint8_t value, uint8_t mask);
// Bits `mask` of `reg` can only be written while (reg(guard) & guard_mask) == open_value; with
// `per_bit`, each bit n of `mask` only while bit n of the guard equals bit n of open_value.
void protect(uint32_t reg, uint8_t mask, uint32_t guard, uint8_t guard_mask, uint8_t open_value, bool per_bit = false);

// Lock held. Notes which bits write protection keeps closed now (the profile just applied), and
// lists, one line each, the registers whose protected bits have been left open since.
void note_protection();
std::vector<std::string> protection_left_open();

int32_t local_bus(Call &&call, LocalBusRequest *req, bool write);
int32_t spi(Call &&call, SpiRequest *req, bool write);

}  // namespace bspsim::detail::cpld

#endif
