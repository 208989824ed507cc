// What belongs to the whole enclosure rather than to one board: how many boards it holds and
// the slot each sits in (the supplies and the role fields of mastership will join them).
// [enclosure] slots = the slot of board 0, board 1, ...
#include <algorithm>
#include <cstring>

#include "core/core.h"
#include "core/section.h"

namespace bspsim::detail::enclosure {
namespace {

struct State {
    uint32_t boards;
    uint32_t slot[kMaxBoards];
};

State &st() { return region<State>(ModelId::enclosure); }

void reset()
{
    st().boards = header().boards;
    for (uint32_t b = 0; b < kMaxBoards; ++b) st().slot[b] = b;
}

void load(Section &s)
{
    s.each([&](const char *key, const char *value) {
        if (std::strcmp(key, "slots") != 0) s.fail(std::string("unknown key ") + key);
        std::vector<uint32_t> slots = s.list(value);
        if (slots.size() != st().boards) s.fail("one slot per board of the enclosure");
        std::copy(slots.begin(), slots.end(), st().slot);
    });
}

}  // namespace
}  // namespace bspsim::detail::enclosure

namespace bspsim::detail {
const Model model_enclosure = {.name = "enclosure", .scope = Scope::Enclosure, .size = sizeof(enclosure::State),
                               .sections = "enclosure", .load = enclosure::load, .reset = enclosure::reset};
}

namespace bspsim::detail::enclosure {

uint32_t slot_of(uint32_t board) { return board < kMaxBoards ? st().slot[board] : 0; }

void set_slot_of(uint32_t board, uint32_t slot)
{
    if (board < kMaxBoards) st().slot[board] = slot;
}

}  // namespace bspsim::detail::enclosure
