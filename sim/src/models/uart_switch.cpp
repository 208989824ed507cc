// The UART switch: register 0xEE is the port the BMC's UART is routed to. The switch has a fixed
// set of ports; a write of a port it does not have is ignored, so the register keeps showing the
// old port. Each write is recorded: "uart 0x02", or "uart 0x09 ignored".
// [uart_switch] ports = the ports the switch has (default 0, 1, 2, 3); port = the current one
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "bspsim/services.hpp"
#include "core/section.h"
#include "models/cpld.h"

namespace bspsim::detail::uart_switch {
namespace {

constexpr uint32_t kReg = 0xEE;
constexpr size_t kMaxPorts = 16;

struct State {
    uint8_t port;
    uint8_t count;
    uint8_t ports[kMaxPorts];
};

State &st() { return region<State>(ModelId::uart_switch); }

bool has(uint8_t port) { return std::find(st().ports, st().ports + st().count, port) != st().ports + st().count; }

void reset()
{
    st().count = 4;
    for (uint8_t p = 0; p < 4; ++p) st().ports[p] = p;
    cpld::hook(kReg, ModelId::uart_switch, 0xFF);
}

void load(Section &s)
{
    if (std::string ports = s.value("ports"); !ports.empty()) {
        std::vector<uint32_t> list = s.list(ports.c_str());
        if (list.empty() || list.size() > kMaxPorts) s.fail("ports: 1 to 16 ports");
        st().count = static_cast<uint8_t>(list.size());
        for (size_t i = 0; i < list.size(); ++i) {
            if (list[i] > 0xFF) s.fail("ports: a port is a byte");
            st().ports[i] = static_cast<uint8_t>(list[i]);
        }
    }
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "port") == 0) {
            st().port = static_cast<uint8_t>(s.number(value, 0x100, "port"));
        } else if (std::strcmp(key, "ports") != 0) {
            s.fail(std::string("unknown key ") + key);
        }
    });
    if (!has(st().port)) s.fail("port is not one of the switch's ports");
}

void reg_write(uint32_t, uint8_t value, uint8_t mask)
{
    const auto port = static_cast<uint8_t>((st().port & ~mask) | (value & mask));
    const bool known = has(port);
    if (known) st().port = port;
    if (cpld::back_door()) return;
    char text[32];
    std::snprintf(text, sizeof text, "uart 0x%02x%s", port, known ? "" : " ignored");
    record_change(kReg, port, text);
}

}  // namespace
}  // namespace bspsim::detail::uart_switch

namespace bspsim::detail {
const Model model_uart_switch = {.name = "uart_switch", .scope = Scope::Board, .size = sizeof(uart_switch::State),
                                 .sections = "uart_switch", .load = uart_switch::load, .reset = uart_switch::reset,
                                 .reg_read = [](uint32_t) { return uart_switch::st().port; },
                                 .reg_write = uart_switch::reg_write};
}

namespace bspsim {

using namespace detail;

uint8_t uart_port(const Board &)
{
    Lock lock;
    return uart_switch::st().port;
}

std::vector<uint8_t> uart_ports(const Board &)
{
    Lock lock;
    return {uart_switch::st().ports, uart_switch::st().ports + uart_switch::st().count};
}

void set_uart_port(Board &, uint8_t port)
{
    Lock lock;
    if (!uart_switch::has(port)) throw Error("the UART switch has no port " + std::to_string(port));
    uart_switch::st().port = port;
}

}  // namespace bspsim
