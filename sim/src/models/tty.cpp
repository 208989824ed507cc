// /dev/ttyS0: a line whose settings tcgetattr and tcsetattr read and change, software flow
// control (XON/XOFF) included; the record of each shows the flow-control flags after the call.
// It comes up as 115200 8N1, raw, without flow control. The flow-control request TCXONC is
// served: TCOOFF/TCOON suspend and resume output, TCIOFF/TCION send a STOP/START character;
// each is recorded as a change ("tty start sent"), and a request with another action is
// refused as malformed.
#include <sys/ioctl.h>

#include <array>

#include "bspsim/tty.hpp"
#include "models/tty.h"

namespace bspsim::detail::tty {
namespace {

struct State {
    struct termios attr;
    uint32_t output_stopped;  // TCOOFF took effect, TCOON not yet
    uint32_t starts_sent;     // START characters sent on the line (TCION)
    uint32_t stops_sent;      // STOP characters sent on the line (TCIOFF)
};

State &state() { return region<State>(ModelId::tty); }
struct termios &attr() { return state().attr; }

constexpr std::array<const char *, 4> kFlowActions = {"tty output suspended", "tty output resumed", "tty stop sent",
                                                      "tty start sent"};

void flow_action(unsigned long action)
{
    if (action == TCOOFF || action == TCOON) state().output_stopped = action == TCOOFF;
    if (action == TCIOFF) ++state().stops_sent;
    if (action == TCION) ++state().starts_sent;
    record_change(static_cast<uint32_t>(TCXONC), static_cast<uint32_t>(action), kFlowActions[action]);
}

uint32_t flow(const struct termios &t) { return t.c_iflag & (IXON | IXOFF | IXANY); }

void reset()
{
    struct termios &t = attr();
    t.c_cflag = CS8 | CREAD | CLOCAL;
    cfsetispeed(&t, B115200);
    cfsetospeed(&t, B115200);
}

}  // namespace

int32_t get(Call &&call, struct termios *t)
{
    call.rec = {.a = static_cast<uint32_t>(Device::TtyS0), .b = 0};
    return call.run(t != nullptr, [&] {
        *t = attr();
        call.rec.value = flow(attr());
        return 0;
    });
}

int32_t set(Call &&call, int action, const struct termios *t)
{
    call.rec = {.a = static_cast<uint32_t>(Device::TtyS0), .b = 1, .value = flow(attr())};
    bool valid = t && (action == TCSANOW || action == TCSADRAIN || action == TCSAFLUSH);
    return call.run(valid, [&] {
        attr() = *t;
        call.rec.value = flow(attr());
        return 0;
    });
}

int32_t ioctl(Call &&call, unsigned long request, unsigned long arg)
{
    call.rec = {.a = static_cast<uint32_t>(Device::TtyS0), .b = static_cast<uint32_t>(request), .value = static_cast<uint32_t>(arg)};
    const bool flow = request == TCXONC;
    return call.run(!flow || arg < kFlowActions.size(), [&] {
        if (flow) flow_action(arg);
        return 0;
    });
}

}  // namespace bspsim::detail::tty

namespace bspsim::detail {
const Model model_tty = {.name = "tty", .scope = Scope::Board, .size = sizeof(tty::State), .reset = tty::reset};
}

namespace bspsim {

struct termios tty_attr(const Board &)
{
    detail::Lock lock;
    return detail::tty::attr();
}

void set_tty_attr(Board &, const struct termios &t)
{
    detail::Lock lock;
    detail::tty::attr() = t;
}

uint32_t tty_starts_sent(const Board &)
{
    detail::Lock lock;
    return detail::tty::state().starts_sent;
}

bool tty_output_stopped(const Board &)
{
    detail::Lock lock;
    return detail::tty::state().output_stopped != 0;
}

}  // namespace bspsim
