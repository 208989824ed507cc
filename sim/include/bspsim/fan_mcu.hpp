// Test-side view of the board's fan-board MCU: the block-access chip object of the framework
// that answers command blocks with a PEC, as the board's profile describes it ([fan_mcu]).
// It acts on the instance this process is attached to, so tools use it too.
#ifndef BSPSIM_FAN_MCU_HPP
#define BSPSIM_FAN_MCU_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "bspsim/sim.hpp"

namespace bspsim {

// One command (register) of the MCU: its code, its name in the profile, how many data bytes it
// holds, and whether a write may change them.
struct McuCommand {
    uint8_t code = 0;
    std::string name;
    uint32_t length = 0;
    bool writable = false;
};

class FanMcu {
public:
    // The board's MCU; throws Error when the board's profile gives it none.
    FanMcu();
    // The chip object's name (empty while it is missing) and its block property.
    std::string object() const;
    std::string property() const;
    std::vector<McuCommand> commands() const;
    // A command's data bytes; throws Error for an unknown code or too many bytes.
    std::vector<uint8_t> data(uint8_t code) const;
    FanMcu &set_data(uint8_t code, const std::vector<uint8_t> &bytes);
    // The next `reads` reads answer a wrong PEC byte.
    FanMcu &bad_pec(uint32_t reads);
    uint32_t bad_pec_reads() const;
    // false: the chip object is gone from the framework (lookups, lists and transfers fail);
    // true puts it back as it was.
    FanMcu &set_present(bool present);
    bool present() const;
    // Writes the MCU refused: a wrong PEC, a read-only or unknown command, too many bytes.
    uint32_t refused_writes() const;
};

// The CRC-8 the link's PEC uses (polynomial 0x07, from 0), over `bytes`.
uint8_t smbus_pec(const std::vector<uint8_t> &bytes);

}  // namespace bspsim

#endif
