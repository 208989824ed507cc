// What belongs to the whole enclosure rather than to one board: how many boards it holds, the
// slot each sits in, and which slots hold a controller board (every board's CPLD shows that as
// its controllers online, rendered by the slots model). A slot can hold a board no process is
// attached to: a one-board instance still has its peers.
// [enclosure] boards = how many boards processes can attach to (1 when not said);
//             slots = the slot of board 0, board 1, ...
// Which slots hold a board comes from the profile's [slots] and changes as boards are added
// or removed.
#include <algorithm>
#include <cstring>

#include "bspsim/mastership.hpp"
#include "core/core.h"
#include "core/section.h"
#include "models/enclosure.h"
#include "models/mastership.h"

namespace bspsim::detail::enclosure {
namespace {

struct State {
    uint32_t boards;
    uint32_t slot[kMaxBoards];
    uint8_t present;  // bit n: slot n holds a controller board
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
        if (std::strcmp(key, "boards") == 0) return;  // sized the instance already
        if (std::strcmp(key, "slots") != 0) s.fail(std::string("unknown key ") + key);
        std::vector<uint32_t> slots = s.list(value);
        if (slots.size() != st().boards) s.fail("one slot per board of the enclosure");
        for (uint32_t slot : slots) {
            if (slot >= kSlots) s.fail("slot out of range: " + std::to_string(slot));
        }
        std::copy(slots.begin(), slots.end(), st().slot);
    });
}

}  // namespace

uint32_t boards() { return st().boards; }
uint32_t slot_of(uint32_t board) { return board < kMaxBoards ? st().slot[board] : 0; }
void set_slot_of(uint32_t board, uint32_t slot)
{
    if (board < kMaxBoards) st().slot[board] = slot;
}
uint8_t present() { return st().present; }
void set_present(uint8_t slots) { st().present = slots; }

}  // namespace bspsim::detail::enclosure

namespace bspsim::detail {
const Model model_enclosure = {.name = "enclosure", .scope = Scope::Enclosure, .size = sizeof(enclosure::State),
                               .sections = "enclosure", .load = enclosure::load, .reset = enclosure::reset};
}

namespace bspsim {

using namespace detail;

uint32_t board_count()
{
    Lock lock;
    return enclosure::boards();
}

uint32_t attached_board()
{
    mapping();
    return board_index();
}

void switch_board(uint32_t board) { detail::attach_board(board); }

uint32_t slot_of_board(uint32_t board)
{
    Lock lock;
    check_range("board", board, enclosure::boards());
    return enclosure::slot_of(board);
}

bool slot_present(uint32_t slot)
{
    check_range("slot", slot, enclosure::kSlots);
    Lock lock;
    return (enclosure::present() >> slot & 1) != 0;
}

void set_slot_present(uint32_t slot, bool present)
{
    check_range("slot", slot, enclosure::kSlots);
    Lock lock;
    const auto bit = static_cast<uint8_t>(1u << slot);
    enclosure::set_present(static_cast<uint8_t>(present ? enclosure::present() | bit : enclosure::present() & ~bit));
    // A board taken out no longer holds mastership.
    if (!present) detail::mastership_board_removed(slot);
    record_change(slot, present, std::string("board ") + std::to_string(slot) + (present ? " add" : " remove"));
}

}  // namespace bspsim
