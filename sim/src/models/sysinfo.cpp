// /dev/sys_info answers one 32-bit word per request number; the profile gives them ([board]
// names the board-information word, [sysinfo] any request by number).
#include <cerrno>
#include <cstring>

#include "core/section.h"
#include "models/sysinfo.h"

namespace bspsim::detail::sysinfo {
namespace {

constexpr size_t kAnswers = 16;

struct Answer {
    uint32_t used;
    uint32_t request;
    uint32_t word;
};

struct State {
    Answer answers[kAnswers];
};

Answer *find(uint32_t request, bool make)
{
    for (auto &a : region<State>(ModelId::sysinfo).answers) {
        if (a.used && a.request == request) return &a;
    }
    for (auto &a : region<State>(ModelId::sysinfo).answers) {
        if (make && !a.used) return &(a = Answer{1, request, 0});
    }
    return nullptr;
}

void set(uint32_t request, uint32_t word)
{
    Answer *a = find(request, true);
    if (!a) throw Error("no room for another /dev/sys_info answer");
    a->word = word;
}

void load(Section &s)
{
    bool board = std::strcmp(s.name(), "board") == 0;
    s.each([&](const char *key, const char *value) {
        if (!board) return set(s.number(key), s.number(value));
        if (std::strcmp(key, "board_id") == 0) return set(kBoardInfoRequest, s.number(value, 0x100, "board id") << 4);
        if (std::strcmp(key, "info_word") == 0) return set(kBoardInfoRequest, s.number(value));
        s.fail(std::string("unknown key ") + key);
    });
}

}  // namespace

uint8_t board_id()
{
    const Answer *a = find(kBoardInfoRequest, false);
    return a ? static_cast<uint8_t>(a->word >> 4) : 0xFF;
}

int ioctl(Call &&call, uint32_t request, void *arg)
{
    call.rec = {.a = static_cast<uint32_t>(Device::SysInfo), .b = request};
    uint32_t word = 0;
    bool known = false;
    return call.run(true, [&] {
        known = take_script(Source::SysInfo, request, &word);
        if (const Answer *a = known ? nullptr : find(request, false)) {
            word = a->word;
            known = true;
        }
        if (!known || !arg) {
            // An unknown request, or nowhere to put the answer.
            errno = known ? EFAULT : ENOTTY;
            call.rec.flags |= kFlagMalformed;
            return -1;
        }
        std::memcpy(arg, &word, sizeof word);
        call.rec.value = word;
        return 0;
    });
}

}  // namespace bspsim::detail::sysinfo

namespace bspsim::detail {
const Model model_sysinfo = {.name = "sysinfo", .scope = Scope::Board, .size = sizeof(sysinfo::State),
                             .sections = "board sysinfo", .load = sysinfo::load};
}

namespace bspsim {

using namespace detail;

void Board::set_sysinfo(uint32_t request, uint32_t word)
{
    Lock lock;
    sysinfo::set(request, word);
}

uint32_t Board::sysinfo(uint32_t request) const
{
    Lock lock;
    const sysinfo::Answer *a = sysinfo::find(request, false);
    return a ? a->word : 0;
}

void Board::set_board_id(uint8_t id) { set_sysinfo(kBoardInfoRequest, static_cast<uint32_t>(id) << 4); }

}  // namespace bspsim
