// Platform entry points of the CPLD's buses and of the platform's CPLD driver.
#include "models/cpld.h"
#include "models/cpld_drv.h"

using namespace bspsim;
using namespace bspsim::detail;

BSPSIM_API int32_t local_bus_read(LocalBusRequest *req)
{
    return cpld::local_bus({Op::LocalBusRead, req ? req->addr : 0}, req, false);
}

BSPSIM_API int32_t local_bus_write(LocalBusRequest *req)
{
    return cpld::local_bus({Op::LocalBusWrite, req ? req->addr : 0}, req, true);
}

BSPSIM_API int32_t spi_read(SpiRequest *req)
{
    return cpld::spi({Op::SpiRead, req && req->cmd ? (uint32_t{req->cmd[1]} << 8 | req->cmd[2]) : 0}, req, false);
}

BSPSIM_API int32_t spi_write(SpiRequest *req)
{
    return cpld::spi({Op::SpiWrite, req && req->cmd ? (uint32_t{req->cmd[1]} << 8 | req->cmd[2]) : 0}, req, true);
}

BSPSIM_API int32_t cpld_get_id(CpldIdRequest *req)
{
    return cpld_drv::get_id({Op::CpldGetId, req ? uint32_t{req->index} : 0u}, req);
}

BSPSIM_API int32_t cpld_set_num(uint32_t num)
{
    return cpld_drv::set_num({Op::CpldSetNum, num}, num);
}
