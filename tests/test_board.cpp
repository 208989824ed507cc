// Board identity and presence: the board id and its cache, the board-type predicates, the board
// table and sets, the board-type and factory-frame pins; then which boards of the enclosure are
// in and online, the host's BIOS and OS state, first power-on, AC loss and the plant coordinates.
#include <fcntl.h>

#include <tuple>

#include "bspsim/slots.hpp"
#include "test_helpers.h"

namespace {

using bspsim::Op, bspsim::Source;
using bsptest::hex, bsptest::kErr, bsptest::PrintTo;

constexpr uint32_t kBoardInfo = 0x80047306;
constexpr uint32_t kPowerOn1 = 0x80047301, kPowerOn2 = 0x80047316;

const auto x = [](uint32_t v, int width = 0) { return bsptest::hx(v, width); };

class BoardTest : public bsptest::SimTest {
protected:
    // CPLD reads and delays, without the bus lookups before each read.
    std::string bus() const { return tr({Op::LocalBusRead, Op::SpiRead, Op::Delay}); }
};

// BSP_GetBoardList into `size` entries asking for `max`: "status count:" and each entry as
// "id/slot/type", or "-" where it kept its preset 11/22/33.
std::string board_list(uint8_t size, uint8_t max)
{
    std::vector<BoardListEntry> list(size, BoardListEntry{0x11, 0x22, 0x33});
    uint8_t n = 0x77;
    uint32_t rc = BSP_GetBoardList(list.data(), max, &n);
    std::string out = x(rc) + " " + std::to_string(n) + ":";
    for (const BoardListEntry &e : list) {
        bool untouched = e.boardId == 0x11 && e.slot == 0x22 && e.boardType == 0x33;
        out += untouched ? " -" : " " + x(e.boardId) + "/" + x(e.slot) + "/" + x(e.boardType);
    }
    return out;
}
// The board id call as "status id", the id preset 0x33.
std::string board_id()
{
    uint8_t id = 0x33;
    uint32_t rc = BSP_GetBmcBoardId(&id);
    return hex(rc) + " " + hex(id);
}
template <typename T> class BoardCase : public BoardTest, public ::testing::WithParamInterface<T> {};
class SmmBoard : public BoardTest { std::string profile() const override { return "smm"; } };

// ------------------------------------------------------------------ the board id

// The board-information word, the operation that fails once with -5, then the status and the id
// of the first call, the id the next calls hand out, and the first call's log.
struct IdRow { const char *name; uint32_t word; Op fault; uint32_t status; uint8_t first, later; const char *log; };

const IdRow kIdRows[] = {
    {"even_parity", 0xA50, Op::None, 0, 0xA5, 0xA5, "2:get bmc boardid (0xa5)"},
    {"bits_outside_the_id_ignored", 0xFFFFF05F, Op::None, 0, 0x05, 0x05, "2:get bmc boardid (0x5)"},
    // Odd parity is refused, but cached before the check: later calls hand it out with status 0.
    {"odd_parity", 0x800, Op::None, kErr, 0xFF, 0x80, ""},
    // The request's code is returned with the cleared word's id 0, which is kept.
    {"failed_request", 0x050, Op::DevIoctl, 0xFFFFFFFB, 0, 0, "0:ioctrl sys_info dev fail(-5) | 2:get bmc boardid (0x0)"},
    // Nothing cached: the next call asks the device, which now says 0x0A.
    {"open_failure", 0x050, Op::DevOpen, kErr, 0x33, 0x0A, "0:Error: open sys_info dev fail"},
};

using BoardId = BoardCase<IdRow>;

TEST_P(BoardId, FirstCallThenCache)
{
    const IdRow &c = GetParam();
    sim().set_sysinfo(kBoardInfo, c.word);
    if (c.fault != Op::None) sim().fail(c.fault, 1, -5);
    EXPECT_EQ(board_id(), hex(c.status) + " " + hex(c.first));
    std::string asked = "open sys_info ioctl 80047306=" + (c.fault == Op::DevIoctl ? "0!-5" : x(c.word)) + " close sys_info";
    EXPECT_EQ(tr(), c.fault == Op::DevOpen ? "open sys_info!-5" : asked);
    EXPECT_EQ(log_line(), c.log);
    EXPECT_EQ(events(Op::DevOpen).at(0).b & O_ACCMODE, static_cast<uint32_t>(O_RDWR));
    sim().set_board_id(0x0A);
    forget();
    for (int i = 0; i < 2; ++i) EXPECT_EQ(board_id(), "0x0 " + hex(c.later));
    bool asked_again = c.fault == Op::DevOpen;
    EXPECT_EQ(tr(), asked_again ? "open sys_info ioctl 80047306=a0 close sys_info" : "");
    EXPECT_EQ(log_line(), asked_again ? "2:get bmc boardid (0xa)" : "");
}

BSP_CASES(Board, BoardId, kIdRows);

// Null pointers are refused before the device is asked; a failed clear is only logged.
TEST_F(BoardTest, NullPointersAndFailedClear)
{
    sim().fail(Op::MemsetS, 1, 34);
    EXPECT_EQ(BSP_GetBmcBoardId(nullptr), kErr);
    EXPECT_EQ(BSP_GetBmcBoardType(nullptr), kErr);
    EXPECT_EQ(tr(), "memset_s!34");
    EXPECT_EQ(log_line(), "0:Error: init sysinfo failed, result = 34.");
    known_board(0x24);
    sim().fail(Op::MemsetS, 1, 34);
    EXPECT_EQ(board_id(), "0x0 0x24");
    EXPECT_EQ(log_line(), "0:Error: init sysinfo failed, result = 34.");
}
// ------------------------------------------------------------------ everything the id decides

// What each board id answers (columns left out are 0); `types` are its board-table rows, slot 0
// first.
struct IdCase {
    uint8_t id;
    uint32_t smm = 0, u2c = 0, middle = 0, exp2u = 0, any2u = 0, s7460 = 0, s7460ctrl = 0, u4c5820 = 0, u4c5830 = 0,
             u4c = 0, u2p = 0, sas = 0, palm = 0, lite = 0, x86 = 0, cpus = 0, identified = 0;
    std::vector<uint32_t> types = {};
};

const IdCase kIds[] = {
    {.id = 0x0A, .u4c5820 = 1, .u4c = 1, .identified = 1, .types = {0, 1, 2, 3}},
    {.id = 0x11, .u4c5830 = 1, .u4c = 1, .identified = 1, .types = {0, 1, 2, 3}},
    {.id = 0x71, .u4c5830 = 1, .u4c = 1, .u2p = 1, .identified = 1, .types = {0, 1, 2, 3}},
    {.id = 0x00, .u2c = 1, .middle = 1, .any2u = 1, .identified = 1, .types = {0x30, 0x31}},
    {.id = 0x03, .u2c = 1, .middle = 1, .any2u = 1, .identified = 1, .types = {0x32, 0x33}},
    {.id = 0x05, .u2c = 1, .any2u = 1, .s7460 = 1, .s7460ctrl = 1, .identified = 1, .types = {0x34, 0x35}},
    {.id = 0x12, .u2c = 1, .middle = 1, .any2u = 1, .sas = 1, .identified = 1, .types = {0x36, 0x37}},
    {.id = 0x14, .u2c = 1, .middle = 1, .any2u = 1, .palm = 1, .identified = 1, .types = {0x38, 0x39}},
    {.id = 0x22, .u2c = 1, .any2u = 1, .s7460 = 1, .s7460ctrl = 1, .identified = 1, .types = {0x34, 0x35}},
    {.id = 0x1D, .u2c = 1, .any2u = 1, .s7460 = 1, .s7460ctrl = 1, .identified = 1, .types = {0x34, 0x35}},
    {.id = 0x2E, .u2c = 1, .middle = 1, .any2u = 1, .x86 = 1, .cpus = 1, .identified = 1, .types = {0x36, 0x37}},
    {.id = 0x33, .u2c = 1, .middle = 1, .any2u = 1, .x86 = 1, .cpus = 2, .identified = 1, .types = {0x36, 0x37}},
    {.id = 0x35, .u2c = 1, .middle = 1, .any2u = 1, .x86 = 1, .cpus = 2, .identified = 1, .types = {0x38, 0x39}},
    {.id = 0x2D, .u2c = 1, .middle = 1, .any2u = 1, .x86 = 1, .cpus = 2, .identified = 1, .types = {0x38, 0x39}},
    {.id = 0x99, .u2c = 1, .any2u = 1, .s7460 = 1, .s7460ctrl = 1, .lite = 1, .identified = 1, .types = {0x34, 0x35}},
    {.id = 0x95, .u2c = 1, .any2u = 1, .s7460 = 1, .s7460ctrl = 1, .lite = 1, .identified = 1, .types = {0x34, 0x35}},
    {.id = 0x06, .exp2u = 1, .any2u = 1, .s7460 = 1, .identified = 1, .types = {0x40, 0x41}},
    {.id = 0x09, .exp2u = 1, .any2u = 1, .s7460 = 1, .identified = 1, .types = {0x42, 0x43}},
    {.id = 0x24, .exp2u = 1, .any2u = 1, .s7460 = 1, .identified = 1, .types = {0x40, 0x41}},
    {.id = 0x27, .exp2u = 1, .any2u = 1, .s7460 = 1, .identified = 1, .types = {0x42, 0x43}},
    // SMM boards have no rows in the board table; then unknown ids with a valid parity, 0xFF last:
    // valid, yet never cached, so the library asks the device again each time.
    {.id = 0x0C, .smm = 1, .identified = 1}, {.id = 0x0F, .smm = 1, .identified = 1},
    {.id = 0x81, .smm = 1, .identified = 1}, {.id = 0x82, .smm = 1, .identified = 1},
    {.id = 0x50}, {.id = 0xA5}, {.id = 0x3C}, {.id = 0xFF},
};

void PrintTo(const IdCase &c, std::ostream *os) { *os << hex(c.id); }

const IdCase &id_case(uint8_t id) { return *std::find_if(std::begin(kIds), std::end(kIds), [id](auto &c) { return c.id == id; }); }

// Whether the answer is cached; the column it answers (null: `constant` whatever the board); an
// id it is true for, if any.
struct Predicate {
    const char *name; uint32_t (*fn)(); bool cached; uint32_t IdCase::*column, constant; uint8_t example;
};

// No profile's OS board id is the micro one (see PalmMicro below). The 4U4C predicate asks the
// 5820 one first, which fails and answers 0, then the 5830 one: on id 0x0A the failure shows, on
// 0x71 it does not (see PredicateRetry).
const Predicate kPredicates[] = {
    {"smm", BSP_IsSmmBoard, true, &IdCase::smm, 0, 0x0F},
    {"2u2c", BSP_Is2U2CBoard, true, &IdCase::u2c, 0, 0x35},
    {"middle", BSP_IsMiddleBoard, true, &IdCase::middle, 0, 0x2D},
    {"2uexp", BSP_Is2UExpBoard, true, &IdCase::exp2u, 0, 0x09},
    {"2u", BSP_Is2UBoard, true, &IdCase::any2u, 0, 0x27},
    {"7460s", BSP_Is7460SBoard, true, &IdCase::s7460, 0, 0x06},
    {"7460s_ctrl", BSP_Is7460SCtrlBoard, true, &IdCase::s7460ctrl, 0, 0x1D},
    {"5820_4u4c", BSP_Is58204U4CBoard, true, &IdCase::u4c5820, 0, 0x0A},
    {"5830_4u4c", BSP_Is58304U4CBoard, true, &IdCase::u4c5830, 0, 0x11},
    {"4u4c", BSP_Is4U4CBoard, true, &IdCase::u4c, 0, 0x0A},
    {"u2p", BSP_Is58304u2pBoard, true, &IdCase::u2p, 0, 0x71},
    {"sas", BSP_Is5830SasBoard, true, &IdCase::sas, 0, 0x12},
    {"palm", BSP_Is5830PalmBoard, true, &IdCase::palm, 0, 0x14},
    {"lite", BSP_IsLiteBoard, true, &IdCase::lite, 0, 0x95},
    {"x86", BSP_isX86Board, false, &IdCase::x86, 0, 0x33},
    {"cpus", BSP_SingleCpuOrDoubleCpu, false, &IdCase::cpus, 0, 0x35},
    {"palm_micro", BSP_Is5830PalmMicroBoard, false, nullptr, 0, 0x14},
    {"always_5830", BSP_Is5830Board, false, nullptr, 1, 0x05},
    {"manu_version", BSP_IsManuVersion, false, nullptr, 0, 0x05},
    {"es_board", BSP_IsEsBoard, false, nullptr, 0, 0x05},
};

uint32_t expected(const Predicate &p, const IdCase &c) { return p.column ? c.*p.column : p.constant; }

class BoardIds : public BoardCase<IdCase> {};

// Every predicate twice (the device read once in all, but for 0xFF), the board-table rows, the
// board type.
TEST_P(BoardIds, PredicatesBoardListAndType)
{
    const IdCase &c = GetParam();
    sim().set_board_id(c.id);
    for (int round = 0; round < 2; ++round)
        for (const Predicate &p : kPredicates) EXPECT_EQ(p.fn(), expected(p, c)) << p.name << ", round " << round;
    EXPECT_EQ(count(Op::DevOpen) == 1, c.id != 0xFF);
    EXPECT_EQ(BSP_IsIdentifiedBoardType(c.id), c.identified);
    forget();
    // Board-type pins, set to input; a failing one does not stop the others and is not logged.
    sim().fail(Op::GpioInit, 1);
    BSP_InitBoardTypeGpio();
    bool smm_pins = c.id == 0x81 || c.id == 0x82;
    EXPECT_EQ(tr({Op::GpioInit}), smm_pins ? "gi 50=in!-1 gi 52=in gi 53=in" : "gi 26=in!-1 gi 27=in gi 28=in");
    // Only an SMM reads the factory-frame pins; the others go by the frame type (0x0C here: no).
    for (uint32_t pin : {42, 43, 44}) sim().set_pin(pin, 0);
    EXPECT_EQ(BSP_isEquipFrameBoard(), c.smm);
    EXPECT_EQ(count(Op::GpioRead), c.smm ? 3u : 0u);
    std::string want = (c.types.empty() ? "ffffffff " : "0 ") + std::to_string(c.types.size()) + ":";
    for (size_t slot = 0; slot < 8; ++slot)
        want += slot < c.types.size() ? " " + x(c.id) + "/" + x(slot) + "/" + x(c.types[slot]) : " ff/ff/ff";
    EXPECT_EQ(board_list(8, 8), want);
    // SMM boards have a fixed type and never ask for the slot; the others find theirs (slot 1
    // here) and take its row. A board id no board type knows leaves the slot unknown.
    bspsim::slots(sim()).set_slot(1);
    uint32_t type = 0x1234;
    const bool typed = c.smm || c.types.size() > 1;
    EXPECT_EQ(BSP_GetBmcBoardType(&type), typed ? 0u : kErr);
    EXPECT_EQ(type, c.smm ? 0x20u : typed ? c.types[1] : 0x1234u);
    if (c.id == 0xFF) return;  // its own re-reads log on
    std::string no_rows = c.types.empty() ? "2:Query result is null(" + std::to_string(c.id) + ")." : "";
    std::string no_type = c.identified ? "" : "0:BSP: Board type is not be identified for getting slot | ";
    if (!typed) no_type += "0:BoardType error in matching BoardId(" + std::to_string(c.id) + ")";
    EXPECT_EQ(log_line(), no_rows + (no_rows.empty() || no_type.empty() ? "" : " | ") + no_type);
}

// First the id 0xFF, then the real one: cached predicates keep their first answer, the others
// follow the device.
TEST_P(BoardIds, CachedPredicatesKeepTheirFirstAnswer)
{
    const IdCase &c = GetParam();
    sim().set_board_id(0xFF);
    for (const Predicate &p : kPredicates) ASSERT_EQ(p.fn(), expected(p, id_case(0xFF))) << p.name;
    sim().set_board_id(c.id);
    for (const Predicate &p : kPredicates) EXPECT_EQ(p.fn(), expected(p, p.cached ? id_case(0xFF) : c)) << p.name;
}

INSTANTIATE_TEST_SUITE_P(Board, BoardIds, ::testing::ValuesIn(kIds),
                         [](const auto &info) { return "id_" + hex(info.param.id).substr(2); });

using PredicateRetry = BoardCase<Predicate>;

// The id cannot be read: 0, and the next call asks again.
TEST_P(PredicateRetry, AnswersZeroThenAsksAgain)
{
    const Predicate &p = GetParam();
    sim().set_board_id(p.example);
    sim().fail(Op::DevOpen, 1);
    EXPECT_EQ(p.fn(), p.column ? 0 : p.constant);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(p.fn(), expected(p, id_case(p.example)));
}

BSP_CASES(Board, PredicateRetry, kPredicates);

// A palm board is a micro one when its OS board id (CPLD 0x60..0x62, low byte first) is
// 0x122700, decided on the first call, even when that call cannot read the id.
struct PalmMicroCase { const char *name; uint8_t id; uint32_t os_board_id, expected; bool id_unreadable; };

const PalmMicroCase kPalmMicro[] = {
    {"palm_micro", 0x14, 0x122700, 1, false},         {"palm_high_byte_differs", 0x14, 0x002700, 0, false},
    {"palm_low_byte_differs", 0x14, 0x122701, 0, false}, {"sas_with_micro_os_id", 0x12, 0x122700, 0, false},
    {"palm_id_unreadable", 0x14, 0x122700, 0, true},
};

using PalmMicro = BoardCase<PalmMicroCase>;

TEST_P(PalmMicro, DecidedOnce)
{
    const PalmMicroCase &c = GetParam();
    auto set_os_board_id = [this](uint32_t v) {
        for (uint32_t i = 0; i < 3; ++i) sim().set_reg(0x60 + i, static_cast<uint8_t>(v >> (8 * i)));
    };
    sim().set_board_id(c.id);
    set_os_board_id(c.os_board_id);
    if (c.id_unreadable) sim().fail(Op::DevOpen, 1);
    EXPECT_EQ(BSP_Is5830PalmMicroBoard(), c.expected);
    EXPECT_EQ(bus().empty(), c.id != 0x14 || c.id_unreadable) << "only a palm board asks";
    set_os_board_id(c.expected ? 0 : 0x122700);
    forget();
    EXPECT_EQ(BSP_Is5830PalmMicroBoard(), c.expected);
    EXPECT_EQ(tr(), "");
}

BSP_CASES(Board, PalmMicro, kPalmMicro);

// ------------------------------------------------------------------ board type, list and sets

// Without the id: the common board-type pins and no board type. A predicate sees a failed request
// as a failed read and asks again, and then the cached id 0 counts.
TEST_F(BoardTest, BoardTypeWithoutTheId)
{
    sim().set_board_id(0x81);
    sim().fail(Op::DevOpen, 2);
    BSP_InitBoardTypeGpio();
    EXPECT_EQ(tr({Op::GpioInit}), "gi 26=in gi 27=in gi 28=in");
    uint32_t type = 0x1234;
    EXPECT_EQ(BSP_GetBmcBoardType(&type), kErr);
    sim().fail(Op::DevIoctl, 1, -1, kBoardInfo);
    EXPECT_EQ(BSP_IsMiddleBoard(), 0u);
    EXPECT_EQ(BSP_IsMiddleBoard(), 1u);
    // The cached id 0 is a two-controller board: its straps (an SMM's, slot 0, reading 0 on
    // the two common pins) tell no slot, and the CPLD's slot register does.
    EXPECT_EQ(BSP_GetBmcBoardType(&type), 0u);
    EXPECT_EQ(type, 0x30u);
    EXPECT_EQ(log_line(), "0:Error: open sys_info dev fail | 0:Error: open sys_info dev fail | "
                          "0:BSP: get the boardid fail | 0:ioctrl sys_info dev fail(-1) | 2:get bmc boardid (0x0)");
}

TEST_F(BoardTest, BoardListRefusalsAndLimit)
{
    EXPECT_EQ(BSP_GetBoardList(nullptr, 2, nullptr), kErr);
    EXPECT_EQ(board_list(2, 0), "ffffffff 0: - -");
    EXPECT_EQ(tr(), "") << "refused before the id is read";
    sim().set_board_id(0x0A);
    sim().fail(Op::DevOpen, 1);
    EXPECT_EQ(board_list(2, 1), "ffffffff 0: ff/ff/ff -") << "preset even when the id cannot be read";
    EXPECT_EQ(board_list(4, 2), "0 2: a/0/0 a/1/1 - -") << "nothing past maxCount";
    EXPECT_EQ(log_line(), "2:Input parameter is null. | 2:Illegal input parameter(0). | "
                          "0:Error: open sys_info dev fail | 2:Get board id error. | 2:get bmc boardid (0xa)");
}

// Each set keeps its first answer, whatever is asked later; the type set is padded with 0xFF
// and the padding counts. The identified-id check asks the 2U set only for ids outside its own
// list, so the set's first answer leaks into later questions, either way.
std::string answers(uint32_t (*ask)(uint8_t), std::initializer_list<uint8_t> values)
{
    std::string out = " ";
    for (uint8_t v : values) out += std::to_string(ask(v));
    return out;
}

TEST_F(BoardTest, BoardSetsKeepTheirFirstYes)
{
    std::string got = answers(BSP_IsIdentifiedBoardType, {0x0A, 0x05, 0x50, 0x81});  // the set asked from 0x05 on
    got += answers(BSP_is2u2cCtrlBoard, {0xFF}) + answers(BSP_is2u2cCtrlBoardType, {0xFF, 0x40});
    EXPECT_EQ(got, " 1111 1 11");
    EXPECT_EQ(tr(), "");
}

TEST_F(BoardTest, BoardSetsKeepTheirFirstNo)
{
    std::string got = answers(BSP_IsIdentifiedBoardType, {0x50, 0x03, 0x81});
    got += answers(BSP_is2u2cCtrlBoard, {0x03}) + answers(BSP_is2u2cCtrlBoardType, {0x40, 0x30});
    EXPECT_EQ(got, " 001 0 00");
}

// A caller's own set: its answer word before the first question is taken as the answer.
TEST(BoardSet, CallersSetKeepsItsFirstAnswer)
{
    std::string got;
    for (auto [answer, first] : {std::pair{BSP_BOARD_SET_UNASKED, 0x10}, {BSP_BOARD_SET_UNASKED, 0x1C},
                                 {BSP_BOARD_SET_UNASKED, 0x1D}, {BSP_BOARD_SET_UNASKED, 0x00}, {0, 0x10}, {1, 0x1D}, {7, 0x10}}) {
        BoardSet set = {answer, {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B, 0x1C}};
        got += std::to_string(BSP_isInBoardSet(&set, static_cast<uint8_t>(first)));
        got += std::to_string(set.answer) + std::to_string(BSP_isInBoardSet(&set, first == 0x1D ? 0x10 : 0x1D)) + " ";
    }
    EXPECT_EQ(got, "111 111 000 000 000 111 777 ");
    EXPECT_EQ(BSP_isInBoardSet(nullptr, 0x10), 0u);
}

// ------------------------------------------------------------------ board-type and frame pins

// The SMM is in a factory test frame only when pins 42 to 44 all read 0. The answer is kept once
// the pins could be read.
class SmmFramePins : public SmmBoard, public ::testing::WithParamInterface<unsigned> {};

TEST_P(SmmFramePins, AllLowMeansFactoryFrame)
{
    known_board();
    const unsigned pins = GetParam(), frame = pins == 0;
    std::string reads;
    for (unsigned i = 0; i < 3; ++i) {
        sim().set_pin(42 + i, (pins >> i) & 1u);
        reads += " gr " + std::to_string(42 + i) + "=" + std::to_string((pins >> i) & 1u);
    }
    EXPECT_EQ(BSP_isEquipFrameBoard(), frame);
    EXPECT_EQ(tr(), "gi 42=in gi 43=in gi 44=in" + reads);
    for (unsigned i = 0; i < 3; ++i) sim().set_pin(42 + i, frame);
    forget();
    EXPECT_EQ(BSP_isEquipFrameBoard(), frame);
    EXPECT_EQ(tr(), "");
}

INSTANTIATE_TEST_SUITE_P(Board, SmmFramePins, ::testing::Range(0u, 8u),
                         [](const auto &info) { return "pins_" + std::to_string(info.param); });

// A board other than the SMM goes by the frame type: one that cannot be read is no factory frame.
TEST_F(BoardTest, EquipFrameNeedsTheFrameType)
{
    sim().fail(Op::LocalBusRead, 1, -1, 0x66);
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);
    EXPECT_EQ(bus(), "rd 66=00!-1");
}

// An SMM whose id cannot be read is taken for another board, which goes by the frame type (0x0A:
// not a factory frame; its CPLD read finds the id). One failed init or read spoils every later attempt: the error word is never cleared.
// Nothing is kept, so the next call starts over.
TEST_F(SmmBoard, EquipFrameFaultsFailAllAttempts)
{
    for (uint32_t pin : {42, 43, 44}) sim().set_pin(pin, 0);
    sim().fail(Op::DevOpen, 1);
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);
    EXPECT_EQ(tr({Op::DevOpen, Op::LocalBusRead}), "open sys_info!-1 open sys_info rd 66=00 rd 67=0a rd 68=00 rd 275[3]=00");
    forget();
    sim().fail(Op::GpioInit, 1, -1, 43);
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);
    EXPECT_EQ(count(Op::GpioInit) << 8 | count(Op::GpioRead), 9u << 8 | 0);
    EXPECT_EQ(log_line(), "0:Gpio(v6:128~130,c+:42~44) init failed");
    forget();
    sim().fail(Op::GpioRead, 1, -1, 44);
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);
    EXPECT_EQ(count(Op::GpioInit) << 8 | count(Op::GpioRead), 3u << 8 | 9);
    EXPECT_EQ(log_line(), "0:Gpio(v6:128~130,c+:42~44) read failed");
    EXPECT_EQ(BSP_isEquipFrameBoard(), 1u);
    // The SMM online state is refused on an SMM board (elsewhere the slot is not known yet).
    uint8_t online = 0xAA;
    EXPECT_EQ(BSP_GetSmmOnlineStates(0, &online), kErr);
    EXPECT_EQ(online, 0xAA);
}

// ================================================================== presence and status

// Register 0xED: bit 0 the BIOS state, the low three bits the start state. Bits 1 and 5 of 0xF9
// and 0xFA: the OS of each controller board booted. 0x60..0x62: the OS board id, low byte first,
// an unreadable byte counting as 0.
TEST_F(BoardTest, BootStatesAndOsBoardId)
{
    known_board();
    std::string got;
    uint8_t state = 0xAA;
    for (uint8_t reg : {0x00, 0x01, 0x06, 0x07, 0xF8, 0xFD}) {
        sim().set_reg(0xED, reg);
        uint32_t rc = BSP_GetBiosState(&state);
        got += x(rc) + x(state) + x(BSP_GetStartState()) + " ";
    }
    for (auto [f9, fa] : {std::pair{0x02, 0x00}, {0x20, 0x00}, {0x00, 0x02}, {0x00, 0x20}, {0xDD, 0xFF}, {0xFF, 0xDD}}) {
        sim().set_reg(0xF9, static_cast<uint8_t>(f9));
        sim().set_reg(0xFA, static_cast<uint8_t>(fa));
        for (uint8_t board = 0; board < 4; ++board) {
            EXPECT_EQ(BSP_CtrlBoardGetOSBootStatus(board, &state), 0u);
            got += x(state);
        }
        got += " ";
    }
    EXPECT_EQ(got, "000 011 006 017 000 015 1000 0100 0010 0001 0011 1100 ");
    for (auto [reg, value] : {std::pair{0x60, 0x01}, {0x61, 0x27}, {0x62, 0x12}}) sim().set_reg(reg, value);
    for (auto [failing, id] : {std::pair{0u, 0x122701u}, {0x60u, 0x122700u}, {0x61u, 0x120001u}, {0x62u, 0x002701u}}) {
        if (failing) sim().fail(Op::LocalBusRead, 1, -1, failing);
        EXPECT_EQ(hex(BSP_GetOsBoardId()), hex(id));
    }
    forget();
    // The status queries report a failed read, and refuse a board beyond four; the start state
    // answers 0.
    sim().set_reg(0xFA, 0xFF);
    sim().fail(Op::LocalBusRead, 2, -1, 0xED);
    sim().fail(Op::LocalBusRead, 1, -1, 0xFA);
    state = 0xAA;
    EXPECT_EQ(BSP_GetBiosState(&state) & BSP_CtrlBoardGetOSBootStatus(3, &state), kErr);
    EXPECT_EQ(BSP_GetStartState(), 0u);
    EXPECT_EQ(BSP_CtrlBoardGetOSBootStatus(4, &state), kErr);
    EXPECT_EQ(state, 0xAA);
    EXPECT_EQ(bus(), "rd ed&01=0!-1 rd fa&20=0!-1 rd ed=00!-1");
    EXPECT_EQ(log_line(), "0:read cpld error. | 0:read cpld error. | 0:Read osboot from reg(0xfa=0x0) fail | "
                          "0:read cpld byte error.");
    // A controller board (its type known from its slot) reads the SMMs' online bits; a failed
    // read is a failure.
    sim().set_reg(0x29, 0x02);
    sim().fail(Op::LocalBusRead, 1, -1, 0x29);
    std::string smm;
    for (uint8_t bit : {1, 0, 1}) smm += bsptest::res((bsptest::g_out[0] = 0xAA, BSP_GetSmmOnlineStates(bit, bsptest::g_out)), 1) + ", ";
    EXPECT_EQ(smm, "err aa, ok 00, ok 01, ");
}

// Both counters (every board of this build is a 5830 board) must be 0; their sum wraps like the
// 32-bit word it is. The first failure ends the query; an opened device is closed. A fault fails
// its operation once with -5 (for `key` only); trace null: both counters read.
struct PowerOnCase { const char *name; uint32_t first, second, want; Op fault; uint32_t key; const char *trace, *log; };

const PowerOnCase kPowerOn[] = {
    {"both_zero", 0, 0, 1, Op::None, 0, nullptr, ""},
    {"first_counted", 1, 0, 0, Op::None, 0, nullptr, ""},
    {"second_counted", 0, 1, 0, Op::None, 0, nullptr, ""},
    {"sum_wraps_to_zero", 1, 0xFFFFFFFF, 1, Op::None, 0, nullptr, ""},
    {"open_fails", 0, 0, 0, Op::DevOpen, bspsim::kAnyKey, "open sys_info!-5", "0:BOARD open sysinfo fail(-1)"},
    {"first_fails", 0, 0, 0, Op::DevIoctl, kPowerOn1, "open sys_info ioctl 80047301=0!-5 close sys_info",
     "0:BOARD read sysinfo fail(-5)"},
    {"second_fails", 0, 0, 0, Op::DevIoctl, kPowerOn2, "open sys_info ioctl 80047301=0 ioctl 80047316=0!-5 close sys_info",
     "0:BOARD read sysinfo fail(-5)"},
};

using FirstPowerOn = BoardCase<PowerOnCase>;

TEST_P(FirstPowerOn, BothCounters)
{
    const PowerOnCase &c = GetParam();
    sim().set_sysinfo(kPowerOn1, c.first);
    sim().set_sysinfo(kPowerOn2, c.second);
    if (c.fault != Op::None) sim().fail(c.fault, 1, -5, c.key);
    EXPECT_EQ(BSP_IsBoardFirstPowerOn(), c.want);
    std::string both = "open sys_info ioctl 80047301=" + x(c.first) + " ioctl 80047316=" + x(c.second) + " close sys_info";
    EXPECT_EQ(tr(), c.trace ? c.trace : both);
    EXPECT_EQ(log_line(), c.log);
    EXPECT_EQ(BSP_IsBoardFirstPowerOn(), c.fault == Op::None ? c.want : 1u) << "the counters themselves say so";
}

BSP_CASES(Presence, FirstPowerOn, kPowerOn);

// Debounced bit of register 0x33: a 0 matches the starting value and is taken at once, a 1 needs
// two reads in a row; three reads at most, 10 ms after each miss. A failed read still moves its
// byte into the previous value.
using Presence = bsptest::CallTest;
TEST_P(Presence, ShowsWhatItDid) { run(); }

std::function<void(bspsim::Board &)> reads_of_33(std::vector<uint32_t> v)
{
    return [v](bspsim::Board &b) { b.script(Source::Register, 0x33, v); };
}
#define ONLINE(board) [](bspsim::Board &) { return std::to_string(BSP_GetBoardOnlineStatus(board)); }

const bsptest::CallCase kOnline[] = {
    {.name = "zero_at_once", .setup = reads_of_33({0x00}), .call = ONLINE(0), .out = "0", .trace = "rd 33&01=0"},
    {.name = "one_needs_two_reads", .setup = reads_of_33({0x08, 0x0F}), .call = ONLINE(3), .out = "1",
     .trace = "rd 33&08=1 delay 10 rd 33&08=1"},
    {.name = "one_zero_one_fails", .setup = reads_of_33({0x01, 0x00, 0x01}), .call = ONLINE(0), .out = "0",
     .trace = "rd 33&01=1 delay 10 rd 33&01=0 delay 10 rd 33&01=1 delay 10", .log = "0:Get board(0) online status failed(0)"},
    {.name = "failure_between_ones", .faults = {{Op::LocalBusRead, 1, -1, 0x33, 1}}, .setup = reads_of_33({0x04, 0x04}),
     .call = ONLINE(2), .out = "1", .trace = "rd 33&04=1 delay 10 rd 33&04=0!-1 delay 10 rd 33&04=1", .log = "0:read cpld error."},
    {.name = "all_fail", .faults = {{Op::LocalBusRead, 3, -1, 0x33}}, .call = ONLINE(1), .out = "0",
     .trace = "rd 33&02=0!-1 delay 10 rd 33&02=0!-1 delay 10 rd 33&02=0!-1 delay 10",
     .log = "0:read cpld error. | 0:read cpld error. | 0:read cpld error. | 0:Get board(1) online status failed(-1)"},
    // The first read fails: its cleared byte is the previous value, so two more reads are needed.
    {.name = "failure_then_ones", .faults = {{Op::LocalBusRead, 1, -1, 0x33}}, .setup = reads_of_33({0x01, 0x01}),
     .call = ONLINE(0), .out = "1", .trace = "rd 33&01=0!-1 delay 10 rd 33&01=1 delay 10 rd 33&01=1", .log = "0:read cpld error."},
    {.name = "no_such_board", .call = ONLINE(4), .out = "0", .log = "0:Input para err(4)"},
};

BSP_CASES(Online, Presence, kOnline);

// The board-information word, asked every time: plant in bits 12-15, board id in bits 4-11.
TEST_F(BoardTest, PlantInfo)
{
    uint8_t plant = 0xAA, id = 0xAA;
    auto query = [&](uint8_t *p, uint8_t *i) {
        uint32_t rc = BSP_GetPlantInfo(p, i);
        return x(rc) + " " + x(plant) + " " + x(id) + "|";
    };
    for (auto [word, want] : {std::pair{0x0000A123u, "0 a 12|"}, {0xFFFF5A50u, "0 5 a5|"}, {0u, "0 0 0|"}, {0xFFFFu, "0 f ff|"}}) {
        sim().set_sysinfo(kBoardInfo, word);
        EXPECT_EQ(query(&plant, &id), want);
        EXPECT_EQ(tr(), "open sys_info ioctl 80047306=" + x(word) + " close sys_info");
        forget();
    }
    plant = id = 0xAA;
    sim().fail(Op::MemsetS, 1, 34);  // the buffer is cleared before the arguments are looked at
    std::string got = query(nullptr, &id);
    sim().fail(Op::DevOpen, 1);
    sim().fail(Op::DevIoctl, 1, -5, kBoardInfo);
    for (int i = 0; i < 2; ++i) got += query(&plant, &id);
    EXPECT_EQ(got, bsptest::times(3, "ffffffff aa aa|", ""));
    EXPECT_EQ(tr(), "memset_s!34 open sys_info!-1 open sys_info ioctl 80047306=0!-5 close sys_info");
    EXPECT_EQ(log_line(), "0:Error: init sysinfo failed, result = 34. | 0:open sys_info dev fail | "
                          "0:ioctrl sys_info dev fail: 0xfffffffb");
    forget();
    sim().set_sysinfo(kBoardInfo, 0x3050);
    sim().fail(Op::MemsetS, 1, 34);
    EXPECT_EQ(query(&plant, &id), "0 3 5|");  // a failed clear is logged and the query goes on
    EXPECT_EQ(log_line(), "0:Error: init sysinfo failed, result = 34.");
}

// AC loss: bit 0 of 0x1B2, or bit 0 of 0xC6 except on the four-controller boards other than the
// two-processor one (which reads over SPI); both read every time. Four controller boards only in
// those enclosures. The board id, registers 0x1B2 and 0xC6, whether AC was lost.
struct AcCase { const char *name; uint8_t id, r1b2, rc6; uint32_t want; };

const AcCase kAc[] = {
    {"2u_up", 0x05, 0x00, 0x00, 0},         {"2u_first", 0x05, 0x01, 0x00, 1},      {"2u_second", 0x05, 0x00, 0x01, 1},
    {"2u_other_bits", 0x05, 0xFE, 0xFE, 0}, {"u2p_second", 0x71, 0x00, 0x01, 1},    {"4u5830_second", 0x11, 0x00, 0x01, 0},
    {"4u5830_first", 0x11, 0x01, 0x00, 1},  {"4u5820_second", 0x0A, 0x00, 0x01, 0}, {"smm_second", 0x81, 0x00, 0x01, 1},
};

using AcDown = BoardCase<AcCase>;

TEST_P(AcDown, SourcesAndBoardCount)
{
    const AcCase &c = GetParam();
    const bool spi = c.id == 0x71, four = id_case(c.id).u4c;
    known_board(c.id);
    sim().set_reg(0x1B2, c.r1b2);
    sim().set_reg(0xC6, c.rc6);
    EXPECT_EQ(BSP_IsAcDown(), c.want);
    EXPECT_EQ(bus(), spi ? "srd 1b2=" + x(c.r1b2, 2) + " srd c6=" + x(c.rc6, 2)
                         : "rd 1b2&01=" + x(c.r1b2 & 1) + " rd c6&01=" + x(c.rc6 & 1));
    EXPECT_EQ(BSP_GetCtrlBoardNum(), four ? 4u : 2u);
    // Board 2 counts only in an enclosure of four.
    sim().set_reg(0x33, 0xF4);
    EXPECT_EQ(BSP_IsCtrlBoardPresent(2), four ? 1u : 0u);
    // An unreadable flag counts as clear.
    sim().set_reg(0x1B2, 0x01);
    sim().set_reg(0xC6, 0x01);
    sim().fail(Op::LocalBusRead, 1, -1, 0x1B2);
    EXPECT_EQ(BSP_IsAcDown(), !four || spi ? 1u : 0u);
}

BSP_CASES(Presence, AcDown, kAc);

// Register 0x33 read whole; a board beyond the enclosure's count is absent whatever its bit says.
// The last good answer per board stands in when the register cannot be read.
TEST_F(BoardTest, CtrlBoardPresence)
{
    known_board();
    sim().set_reg(0x33, 0x0F);
    // "status present" of one query, the answer preset 0xAA.
    auto present = [](uint8_t board) {
        uint8_t answer = 0xAA;
        uint32_t rc = BSP_GetCtrlBoardPresent(board, &answer);
        return x(rc) + " " + x(answer) + "|";
    };
    std::string got;
    for (uint8_t board : {0, 1, 2, 3, 4, 255}) got += present(board);
    EXPECT_EQ(got, "0 1|0 1|0 0|0 0|0 0|0 0|");
    EXPECT_EQ(BSP_GetCtrlBoardPresent(0, nullptr), kErr);
    forget();
    sim().fail(Op::LocalBusRead, 1, -1, 0x33);
    EXPECT_EQ(present(0), "ffffffff aa|");
    EXPECT_EQ(bus(), "rd 33=00!-1");
    got.clear();
    for (auto [reg, board, fails] : {std::tuple{0x01, 0, 0}, {0x00, 0, 0}, {0x01, 0, 0}, {0x00, 0, 1}, {0x03, 1, 1},
                                     {0x03, 1, 0}, {0x01, 1, 0}, {0x03, 1, 1}, {0xFF, 4, 0}, {0xFF, 255, 0}}) {
        sim().set_reg(0x33, static_cast<uint8_t>(reg));
        if (fails) sim().fail(Op::LocalBusRead, 1, -1, 0x33);
        got += std::to_string(BSP_IsCtrlBoardPresent(static_cast<uint8_t>(board)));
    }
    EXPECT_EQ(got, "1011" "0100" "00");  // last known 1; never read 0; last known 0
}

}  // namespace
