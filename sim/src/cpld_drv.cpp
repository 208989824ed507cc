// The platform's CPLD driver: it knows the device id of every CPLD on the board (from the
// profile) and keeps the number of CPLDs the coming upgrade will handle.
#include <algorithm>

#include "platform/cpld_drv.h"
#include "state.h"

using namespace bspsim;
using namespace bspsim::detail;

namespace {

constexpr uint8_t kIdRequestKind = 3;

}  // namespace

extern "C" {

// Answers every CPLD's id at once, whichever index was asked for; the index only has to name
// a CPLD the driver knows.
__attribute__((visibility("default"))) int32_t cpld_get_id(CpldIdRequest *req)
{
    int32_t code = 0;
    uint32_t index = req ? req->index : 0;
    if (injected(Op::CpldGetId, index, &code, index)) return code;
    Lock lock;
    if (!req || req->kind != kIdRequestKind || req->reserved[0] != 0 || req->reserved[1] != 0) {
        return refuse(Op::CpldGetId, index);
    }
    const CpldDrvState &drv = state().cpld_drv;
    if (index >= drv.count) {
        // No such CPLD (or none known at all): the driver has nothing to answer.
        record(Op::CpldGetId, index, 0, 0, -1);
        return -1;
    }
    req->count = drv.count;
    std::fill(std::begin(req->ids), std::end(req->ids), 0u);
    std::copy(drv.ids, drv.ids + drv.count, req->ids);
    record(Op::CpldGetId, index, 0, drv.count, 0);
    return 0;
}

// An upgrade handles between one CPLD and as many as the driver can keep ids for.
__attribute__((visibility("default"))) int32_t cpld_set_num(uint32_t num)
{
    int32_t code = 0;
    if (injected(Op::CpldSetNum, num, &code, num)) return code;
    Lock lock;
    if (num == 0 || num > kMaxCpldIds) return refuse(Op::CpldSetNum, num);
    state().cpld_drv.upgrade_num = num;
    record(Op::CpldSetNum, num, 0, num, 0);
    return 0;
}

}  // extern "C"
