// The platform's CPLD driver: it knows the device id of every CPLD on the board (from the
// profile's [cpld.ids]) and keeps the number of CPLDs the coming upgrade will handle.
#include <algorithm>
#include <cstring>

#include "core/section.h"
#include "models/cpld_drv.h"

namespace bspsim::detail::cpld_drv {
namespace {

constexpr uint8_t kIdRequestKind = 3;
constexpr size_t kMaxIds = 6;

struct State {
    uint32_t count;
    uint32_t ids[kMaxIds];
    uint32_t upgrade_num;  // 0 until cpld_set_num is called
};

State &st() { return region<State>(ModelId::cpld_drv); }

void set_ids(const std::vector<uint32_t> &ids)
{
    if (ids.size() > kMaxIds) throw Error("the CPLD driver keeps at most 6 ids");
    st() = State{static_cast<uint32_t>(ids.size()), {}, st().upgrade_num};
    std::copy(ids.begin(), ids.end(), st().ids);
}

// ids = the device ids the CPLD driver reports, CPLD 0 first; their number is its count.
void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "ids") != 0) s.fail(std::string("unknown key ") + key);
        try {
            set_ids(s.list(value));
        } catch (const Error &e) {
            s.fail(e.what());
        }
    });
}

}  // namespace

// Answers every CPLD's id at once, whichever index was asked for; the index only has to name
// a CPLD the driver knows.
int32_t get_id(Call &&call, CpldIdRequest *req)
{
    call.rec = {.a = req ? req->index : 0u};
    bool valid = req && req->kind == kIdRequestKind && req->reserved[0] == 0 && req->reserved[1] == 0;
    return call.run(valid, [&] {
        uint32_t count = st().count;
        // No such CPLD, none known at all, or a count no driver keeps.
        if (req->index >= count || count > kMaxIds) return -1;
        req->count = count;
        std::fill(std::begin(req->ids), std::end(req->ids), 0u);
        std::copy(st().ids, st().ids + count, req->ids);
        call.rec.value = count;
        return 0;
    });
}

// An upgrade handles between one CPLD and as many as the driver can keep ids for.
int32_t set_num(Call &&call, uint32_t num)
{
    call.rec = {.a = num, .value = num};
    return call.run(num != 0 && num <= kMaxIds, [&] {
        st().upgrade_num = num;
        return 0;
    });
}

}  // namespace bspsim::detail::cpld_drv

namespace bspsim::detail {
const Model model_cpld_drv = {.name = "cpld_drv", .scope = Scope::Board, .size = sizeof(cpld_drv::State),
                              .sections = "cpld.ids", .load = cpld_drv::load};
}

namespace bspsim {

using namespace detail;

void Board::set_cpld_ids(const std::vector<uint32_t> &ids)
{
    Lock lock;
    cpld_drv::set_ids(ids);
}

std::vector<uint32_t> Board::cpld_ids() const
{
    Lock lock;
    const auto &s = cpld_drv::st();
    return std::vector<uint32_t>(s.ids, s.ids + std::min<size_t>(s.count, cpld_drv::kMaxIds));
}

uint32_t Board::cpld_upgrade_num() const
{
    Lock lock;
    return cpld_drv::st().upgrade_num;
}

}  // namespace bspsim
