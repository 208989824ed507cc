// Test-side view of the board's secure core (the SoC's M3 core behind sec_msg_sendrecv): the
// state its commands change, the last request it was sent, and the faults of its answers. It
// acts on the board this process is attached to (a test's Board, or the one BSPSIM_INSTANCE
// names), so tools that drive the hardware from a second terminal use it too.
#ifndef BSPSIM_SECURE_CORE_HPP
#define BSPSIM_SECURE_CORE_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "bspsim/sim.hpp"

namespace bspsim {

// Response codes the core answers a malformed request with (a frame of 6 bytes: header and
// code). A request too short to hold its header and CRC, or without buffers, is not answered:
// the call itself fails with -1. Both are recorded as malformed ("!bad").
inline constexpr uint16_t kM3BadClass = 0xE001;       // byte 0 is not 0x02
inline constexpr uint16_t kM3UnknownCommand = 0xE002;  // byte 1 names no command
inline constexpr uint16_t kM3BadLength = 0xE003;       // not the command's request length
inline constexpr uint16_t kM3BadCrc = 0xE004;          // the CRC-16 does not match

struct SecureCoreState {
    uint16_t secure_boot[3] = {};
    uint16_t upgrade_info = 0;      // about the last BMC upgrade
    uint16_t upgrade_flag = 0;
    bool customer_info_set = false;
    uint16_t bios_mux = 0;
    uint16_t verify_ctrl = 0;
    uint16_t verify_result = 0;
    uint32_t requests = 0;  // requests answered (malformed ones too)
    uint32_t refused = 0;   // of those, the malformed ones
};

// What goes wrong with the core's next answers.
enum class M3Fault : uint32_t {
    Code,   // answers response code `arg` (nonzero) and carries nothing out
    Crc,    // the answer's CRC is wrong
    Type,   // the answer's first byte is the request's (0x02), not 0x82
    Short,  // the answer is `arg` bytes shorter (its CRC still right)
    Long,   // the answer has `arg` more bytes (zeros before its CRC, which is still right)
    Count
};
// "code", "crc", "type", "short", "long".
const char *m3_fault_name(M3Fault kind);

class SecureCore {
public:
    SecureCoreState state() const;
    SecureCore &set_secure_boot(uint16_t w0, uint16_t w1, uint16_t w2);
    SecureCore &set_upgrade_info(uint16_t info);
    SecureCore &set_bios_mux(uint16_t status);
    SecureCore &set_verify_result(uint16_t result);
    // The next `requests` answers have the fault (a code fault only those to good requests,
    // the others malformed ones' too); `arg` is the code
    // (1 to 0xFFFF) or the byte count (1 to 64). Faults of different kinds add up; arming a
    // kind again replaces it. Anything out of range throws.
    SecureCore &fault(M3Fault kind, uint32_t requests = 1, uint32_t arg = 0);
    // The next `requests` calls of sec_msg_sendrecv fail with `code` (fault injection of the
    // platform call, as Board::fail(Op::SecMsg) arms it).
    SecureCore &fail_calls(uint32_t requests = 1, int32_t code = -1);
    SecureCore &clear_faults();  // the answer faults above
    // The last request as it was sent, CRC included (its first 16 bytes); empty before any.
    std::vector<uint8_t> last_request() const;
    uint32_t last_request_len() const;
};

inline SecureCore secure_core() { return {}; }
inline SecureCore secure_core(Board &) { return {}; }

// The frames' CRC-16: polynomial 0x1021, most significant bit first, from `init`, no final
// inversion; computed bit by bit here, independently of any table.
uint16_t m3_crc16(const uint8_t *data, size_t len, uint16_t init = 0xFFFF);

}  // namespace bspsim

#endif
