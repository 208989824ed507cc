// Platform entry points of the CPLD's buses and of the platform's CPLD driver.
#include "models/cpld.h"
#include "models/cpld_drv.h"

using namespace bspsim;
using namespace bspsim::detail;

BSPSIM_API int32_t local_bus_read(LocalBusRequest *req)
{
    Call call(Op::LocalBusRead, req ? req->addr : 0);
    return cpld::local_bus(call, req, false);
}

BSPSIM_API int32_t local_bus_write(LocalBusRequest *req)
{
    Call call(Op::LocalBusWrite, req ? req->addr : 0);
    return cpld::local_bus(call, req, true);
}

BSPSIM_API int32_t spi_read(SpiRequest *req)
{
    Call call(Op::SpiRead, req && req->cmd ? (uint32_t{req->cmd[1]} << 8 | req->cmd[2]) : 0);
    return cpld::spi(call, req, false);
}

BSPSIM_API int32_t spi_write(SpiRequest *req)
{
    Call call(Op::SpiWrite, req && req->cmd ? (uint32_t{req->cmd[1]} << 8 | req->cmd[2]) : 0);
    return cpld::spi(call, req, true);
}

BSPSIM_API int32_t cpld_get_id(CpldIdRequest *req)
{
    Call call(Op::CpldGetId, req ? req->index : 0);
    return cpld_drv::get_id(call, req);
}

BSPSIM_API int32_t cpld_set_num(uint32_t num)
{
    Call call(Op::CpldSetNum, num);
    return cpld_drv::set_num(call, num);
}
