// Test-side views of the board's small services: its LEDs, the UART switch, the PCIe cores and
// the SSD online bits. Setters are the back door: they change the unit as the hardware around
// the BMC would, and record nothing. Unknown names, ports and disks throw bspsim::Error.
#ifndef BSPSIM_SERVICES_HPP
#define BSPSIM_SERVICES_HPP

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bspsim/sim.hpp"

namespace bspsim {

// LEDs by name: frame-locate, frame-fault, exp-all (all LEDs of an expansion enclosure),
// board-power, board-alarm, board-locate. A change the library makes is recorded as
// "led NAME on|off".
std::vector<std::pair<std::string, bool>> leds(const Board &board);
bool led(const Board &board, const std::string &name);
void set_led(Board &board, const std::string &name, bool on);

// The port the BMC's UART is routed to, and the ports the switch has. A write of a port the
// switch does not have is ignored (the old port stays) and recorded as "uart 0xNN ignored"; an
// accepted one as "uart 0xNN".
uint8_t uart_port(const Board &board);
std::vector<uint8_t> uart_ports(const Board &board);
void set_uart_port(Board &board, uint8_t port);

// The two PCIe cores: "off" (both held off), "on" (both enabled) or "partial". Each change
// the library makes is recorded as "pcie" and the new state.
std::string pcie_cores(const Board &board);
void set_pcie_cores(Board &board, bool on);

// SSDs 0 to kSsdCount-1: whether the disk itself is present (what non-4U4C enclosures read at
// 0x250 + n/8) and what the BMC recorded (0x1B4 + n/8, written on every enclosure).
inline constexpr unsigned kSsdCount = 32;
bool ssd_present(const Board &board, unsigned ssd);
void set_ssd_present(Board &board, unsigned ssd, bool present);
bool ssd_recorded(const Board &board, unsigned ssd);
void set_ssd_recorded(Board &board, unsigned ssd, bool online);

}  // namespace bspsim

#endif
