// The BMC of the board as a whole: a reboot asked of the platform (dfl_reboot) and the requests
// handed to its exit handler (per_exit, recorded with their arguments).
//
// A reboot is the board's BMC going down and coming back at once, as far as the rest of the
// enclosure can see:
//  - its role is released in the enclosure (mastership): a BMC that went down arbitrates for
//    nothing, so a peer can grab at once, and this board comes back as slave;
//  - the SoC's GPIO pins are back to inputs, not set up, as the SoC's reset leaves them (the
//    levels the board's straps and peers hold stay);
//  - it is recorded as "bmc reboot".
// The BMC keeps no state of its own here, so this is no registered model: it acts on the
// models that a reboot touches.
// What stays is what does not belong to the BMC: the CPLD's registers and RAM (the CPLD stays
// powered, so the reboot marker in its RAM is as the library left it), the supplies and the
// power of the host, the switch (its watchdog stays as the hand-over left it), the framework's
// objects, and the console line (the UART keeps the settings and flow state the hand-over left
// until the new kernel opens it, so the hand-over stays visible). Per-process caches of the
// library need nothing here: every process that attaches afterwards starts with empty ones, as
// the processes of a freshly booted BMC do.
#include "models/bmc.h"

#include "models/gpio.h"
#include "models/mastership.h"

namespace bspsim::detail::bmc {

int32_t reboot(Call &&call)
{
    return call.run(true, [] {
        mastership_board_rebooted(board_index());
        gpio::soc_reset();
        record_change(0, 0, "bmc reboot");
        return 0;
    });
}

int32_t exit_request(Call &&call, uint32_t request, uint32_t arg1, uint32_t arg2)
{
    call.rec = {.a = request, .b = arg1, .value = arg2};
    return call.run(true, [] { return 0; });
}

}  // namespace bspsim::detail::bmc
