// Platform entry point of the secure-core message channel.
#include "models/secure_core.h"
#include "platform/sec.h"

using namespace bspsim;
using namespace bspsim::detail;

BSPSIM_API int32_t sec_msg_sendrecv(SecMsgCmd *cmd)
{
    return secure_core::sendrecv({Op::SecMsg, secure_core::command_word(cmd)}, cmd);
}
