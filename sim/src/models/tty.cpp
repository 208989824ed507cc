// /dev/ttyS0: a line whose settings tcgetattr and tcsetattr read and change, software flow
// control (XON/XOFF) included; the record of each shows the flow-control flags after the call.
// It comes up as 115200 8N1, raw, without flow control.
#include "bspsim/tty.hpp"
#include "models/tty.h"

namespace bspsim::detail::tty {
namespace {

struct State {
    struct termios attr;
};

struct termios &attr() { return region<State>(ModelId::tty).attr; }

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
    return call.run(true, [] { return 0; });
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

}  // namespace bspsim
