// Board identity: the board id from /dev/sys_info and its cache, the board-type predicates and
// their caches, the board table, the board sets, the board-type pins and the factory frame.
#include <fcntl.h>

#include <array>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bsptest::hex;
using bsptest::kErr;
using bsptest::kLogError;
using bsptest::kLogTrace;

constexpr uint32_t kBoardInfo = 0x80047306;
constexpr uint32_t kSysInfoDevice = static_cast<uint32_t>(bspsim::Device::SysInfo);

using BoardTest = bsptest::SimTest;

// Cases show as their name in test listings, not as raw bytes.
template <typename T>
    requires requires(const T &t) { t.name; }
void PrintTo(const T &c, std::ostream *os)
{
    *os << c.name;
}

std::string id_name(uint8_t id)
{
    char text[8];
    std::snprintf(text, sizeof text, "id_%02X", id);
    return text;
}

std::string boardid_line(uint8_t id)
{
    char text[32];
    std::snprintf(text, sizeof text, "get bmc boardid (0x%x)", id);
    return text;
}

// ------------------------------------------------------------------ the board id

struct InfoWordCase {
    const char *name;
    uint32_t word;
    uint32_t status;      // of the first call
    uint8_t first_id;     // what the first call hands out
    uint8_t cached_id;    // what every later call hands out, with status 0
};

const InfoWordCase kInfoWords[] = {
    {"even_parity_A5", 0x00000A50, 0, 0xA5, 0xA5},
    {"smm_81", 0x00000810, 0, 0x81, 0x81},
    {"bits_outside_the_id_ignored", 0xFFFFF05F, 0, 0x05, 0x05},
    // An id with odd parity is refused, but it is cached before it is checked.
    {"odd_parity_80", 0x00000800, kErr, 0xFF, 0x80},
};

class BoardIdWord : public bsptest::SimTestWithParam<InfoWordCase> {};

TEST_P(BoardIdWord, FirstCallThenCache)
{
    const InfoWordCase &c = GetParam();
    sim().set_sysinfo(kBoardInfo, c.word);
    uint8_t id = 0x33;
    EXPECT_EQ(hex(BSP_GetBmcBoardId(&id)), hex(c.status));
    EXPECT_EQ(hex(id), hex(c.first_id));

    // One open, one request for the board-information word, one close.
    auto all = sim().events();
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].op, Op::DevOpen);
    EXPECT_EQ(all[0].name, "/dev/sys_info");
    EXPECT_EQ(all[0].b & O_ACCMODE, static_cast<uint32_t>(O_RDWR));
    EXPECT_EQ(all[1].op, Op::DevIoctl);
    EXPECT_EQ(all[1].b, kBoardInfo);
    EXPECT_EQ(all[2].op, Op::DevClose);

    if (c.status == 0) {
        auto lines = find_logs(kLogTrace, boardid_line(c.first_id));
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].file, "bmc_bsp_board.cpp");
        EXPECT_EQ(debug_logs().size(), 1u);
    } else {
        EXPECT_TRUE(debug_logs().empty()) << "a refused id is not logged";
    }

    sim().set_board_id(0x0A);  // the device changes its mind; the cache does not
    sim().clear_events();
    sim().clear_logs();
    for (int i = 0; i < 2; ++i) {
        id = 0x33;
        EXPECT_EQ(BSP_GetBmcBoardId(&id), 0u);
        EXPECT_EQ(hex(id), hex(c.cached_id));
    }
    EXPECT_TRUE(sim().events().empty());
    EXPECT_TRUE(debug_logs().empty());
}

INSTANTIATE_TEST_SUITE_P(Board, BoardIdWord, ::testing::ValuesIn(kInfoWords),
                         [](const auto &info) { return std::string(info.param.name); });

// A failed request: id 0 with the request's own code, the device still closed; then id 0 for
// good with status 0.
TEST_F(BoardTest, FailedRequestGivesIdZeroAndItsCode)
{
    sim().set_board_id(0x05);
    sim().fail(Op::DevIoctl, 1, -5, kBoardInfo);
    uint8_t id = 0x33;
    EXPECT_EQ(BSP_GetBmcBoardId(&id), static_cast<uint32_t>(-5));
    EXPECT_EQ(id, 0);
    EXPECT_EQ(count(Op::DevClose), 1u);
    EXPECT_EQ(debug_texts(), (std::vector<std::string>{"0:ioctrl sys_info dev fail(-5)", "2:get bmc boardid (0x0)"}));
    EXPECT_EQ(debug_logs()[0].file, "bmc_bsp_board.cpp");

    sim().clear_events();
    id = 0x33;
    EXPECT_EQ(BSP_GetBmcBoardId(&id), 0u);
    EXPECT_EQ(id, 0);
    EXPECT_TRUE(sim().events().empty());
}

// The device cannot be opened: failure, nothing asked, nothing cached.
TEST_F(BoardTest, OpenFailureIsNotCached)
{
    sim().set_board_id(0x71);
    sim().fail(Op::DevOpen, 1, -1, kSysInfoDevice);
    uint8_t id = 0x33;
    EXPECT_EQ(BSP_GetBmcBoardId(&id), kErr);
    EXPECT_EQ(id, 0x33);
    EXPECT_EQ(count(Op::DevIoctl), 0u);
    EXPECT_EQ(count(Op::DevClose), 0u);
    auto lines = find_logs(kLogError, "Error: open sys_info dev fail");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].file, "bmc_bsp_board.cpp");

    EXPECT_EQ(BSP_GetBmcBoardId(&id), 0u);
    EXPECT_EQ(id, 0x71);
    EXPECT_EQ(count(Op::DevOpen), 2u);
}

TEST_F(BoardTest, NullPointerBeforeAnyDeviceAccess)
{
    EXPECT_EQ(BSP_GetBmcBoardId(nullptr), kErr);
    EXPECT_EQ(BSP_GetBmcBoardType(nullptr), kErr);
    EXPECT_TRUE(sim().events().empty());
    EXPECT_TRUE(debug_logs().empty());
    uint8_t id = 0;
    ASSERT_EQ(BSP_GetBmcBoardId(&id), 0u);  // and once the id is cached
    EXPECT_EQ(BSP_GetBmcBoardId(nullptr), kErr);
}

// Clearing the result word is logged when it fails, and the read goes on.
TEST_F(BoardTest, FailedClearOfTheResultWordIsOnlyLogged)
{
    sim().set_board_id(0x24);
    sim().fail(Op::MemsetS, 1, 34);
    uint8_t id = 0;
    EXPECT_EQ(BSP_GetBmcBoardId(&id), 0u);
    EXPECT_EQ(id, 0x24);
    EXPECT_EQ(count_logs(kLogError, "Error: init sysinfo failed, result = 34."), 1u);
}

// ------------------------------------------------------------------ everything the id decides

// What each board id answers. Columns left out are 0; `types` are the board-table rows of the
// id, slot 0 first.
struct IdCase {
    uint8_t id;
    uint32_t smm = 0, u2c = 0, middle = 0, exp2u = 0, any2u = 0, s7460 = 0, s7460ctrl = 0, u4c5820 = 0, u4c5830 = 0,
             u4c = 0, u2p = 0, sas = 0, palm = 0, lite = 0, x86 = 0, cpus = 0, identified = 0;
    std::vector<uint32_t> types = {};
};

const IdCase kIds[] = {
    // 4U four-controller boards
    {.id = 0x0A, .u4c5820 = 1, .u4c = 1, .identified = 1, .types = {0, 1, 2, 3}},
    {.id = 0x11, .u4c5830 = 1, .u4c = 1, .identified = 1, .types = {0, 1, 2, 3}},
    {.id = 0x71, .u4c5830 = 1, .u4c = 1, .u2p = 1, .identified = 1, .types = {0, 1, 2, 3}},
    // 2U two-controller boards
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
    // 2U expansion boards
    {.id = 0x06, .exp2u = 1, .any2u = 1, .s7460 = 1, .identified = 1, .types = {0x40, 0x41}},
    {.id = 0x09, .exp2u = 1, .any2u = 1, .s7460 = 1, .identified = 1, .types = {0x42, 0x43}},
    {.id = 0x24, .exp2u = 1, .any2u = 1, .s7460 = 1, .identified = 1, .types = {0x40, 0x41}},
    {.id = 0x27, .exp2u = 1, .any2u = 1, .s7460 = 1, .identified = 1, .types = {0x42, 0x43}},
    // SMM boards: no rows in the board table
    {.id = 0x0C, .smm = 1, .identified = 1},
    {.id = 0x0F, .smm = 1, .identified = 1},
    {.id = 0x81, .smm = 1, .identified = 1},
    {.id = 0x82, .smm = 1, .identified = 1},
    // Unknown ids with a valid parity
    {.id = 0x50},
    {.id = 0xA5},
    {.id = 0x3C},
};

enum class Caching { Cached, Uncached, Constant };

struct Predicate {
    const char *name;
    uint32_t (*fn)();
    Caching caching;
    uint32_t IdCase::*column;  // null for the constant ones
    uint32_t constant;
};

const Predicate kPredicates[] = {
    {"BSP_IsSmmBoard", BSP_IsSmmBoard, Caching::Cached, &IdCase::smm, 0},
    {"BSP_Is2U2CBoard", BSP_Is2U2CBoard, Caching::Cached, &IdCase::u2c, 0},
    {"BSP_IsMiddleBoard", BSP_IsMiddleBoard, Caching::Cached, &IdCase::middle, 0},
    {"BSP_Is2UExpBoard", BSP_Is2UExpBoard, Caching::Cached, &IdCase::exp2u, 0},
    {"BSP_Is2UBoard", BSP_Is2UBoard, Caching::Cached, &IdCase::any2u, 0},
    {"BSP_Is7460SBoard", BSP_Is7460SBoard, Caching::Cached, &IdCase::s7460, 0},
    {"BSP_Is7460SCtrlBoard", BSP_Is7460SCtrlBoard, Caching::Cached, &IdCase::s7460ctrl, 0},
    {"BSP_Is58204U4CBoard", BSP_Is58204U4CBoard, Caching::Cached, &IdCase::u4c5820, 0},
    {"BSP_Is58304U4CBoard", BSP_Is58304U4CBoard, Caching::Cached, &IdCase::u4c5830, 0},
    {"BSP_Is4U4CBoard", BSP_Is4U4CBoard, Caching::Cached, &IdCase::u4c, 0},
    {"BSP_Is58304u2pBoard", BSP_Is58304u2pBoard, Caching::Cached, &IdCase::u2p, 0},
    {"BSP_Is5830SasBoard", BSP_Is5830SasBoard, Caching::Cached, &IdCase::sas, 0},
    {"BSP_Is5830PalmBoard", BSP_Is5830PalmBoard, Caching::Cached, &IdCase::palm, 0},
    {"BSP_IsLiteBoard", BSP_IsLiteBoard, Caching::Cached, &IdCase::lite, 0},
    {"BSP_isX86Board", BSP_isX86Board, Caching::Uncached, &IdCase::x86, 0},
    {"BSP_SingleCpuOrDoubleCpu", BSP_SingleCpuOrDoubleCpu, Caching::Uncached, &IdCase::cpus, 0},
    // No profile's OS board id is the micro one (see PalmMicro below).
    {"BSP_Is5830PalmMicroBoard", BSP_Is5830PalmMicroBoard, Caching::Constant, nullptr, 0},
    {"BSP_Is5830Board", BSP_Is5830Board, Caching::Constant, nullptr, 1},
    {"BSP_IsManuVersion", BSP_IsManuVersion, Caching::Constant, nullptr, 0},
    {"BSP_IsEsBoard", BSP_IsEsBoard, Caching::Constant, nullptr, 0},
};

void PrintTo(const IdCase &c, std::ostream *os) { *os << "board id " << hex(c.id); }

uint32_t expected(const Predicate &p, const IdCase &c) { return p.column ? c.*p.column : p.constant; }

const IdCase kUnreadable = {.id = 0xFF};  // what the predicates answer for id 0xFF

class BoardIds : public bsptest::SimTestWithParam<IdCase> {};

// Every predicate over this id, twice: the answers hold and the device is read once in all.
TEST_P(BoardIds, Predicates)
{
    const IdCase &c = GetParam();
    sim().set_board_id(c.id);
    for (int round = 0; round < 2; ++round) {
        for (const Predicate &p : kPredicates) EXPECT_EQ(p.fn(), expected(p, c)) << p.name << ", round " << round;
    }
    EXPECT_EQ(count(Op::DevOpen), 1u);
    EXPECT_EQ(BSP_IsIdentifiedBoardType(c.id), c.identified);
}

// First read id 0xFF (valid parity, yet "unknown", so the library asks the device again next
// time), then the real id: cached predicates keep their first answer, the others follow.
TEST_P(BoardIds, CachedPredicatesKeepTheirFirstAnswer)
{
    const IdCase &c = GetParam();
    sim().set_board_id(0xFF);
    for (const Predicate &p : kPredicates) ASSERT_EQ(p.fn(), expected(p, kUnreadable)) << p.name;
    sim().set_board_id(c.id);
    for (const Predicate &p : kPredicates) {
        uint32_t want = p.caching == Caching::Cached ? expected(p, kUnreadable) : expected(p, c);
        EXPECT_EQ(p.fn(), want) << p.name;
    }
    uint8_t id = 0;
    EXPECT_EQ(BSP_GetBmcBoardId(&id), 0u);
    EXPECT_EQ(id, c.id);
}

// The board-table rows of the id, and the board type.
TEST_P(BoardIds, BoardListAndType)
{
    const IdCase &c = GetParam();
    sim().set_board_id(c.id);
    std::array<BoardListEntry, 8> list;
    list.fill(BoardListEntry{0x11, 0x22, 0x33});
    uint8_t n = 0x77;
    uint32_t status = BSP_GetBoardList(list.data(), static_cast<uint8_t>(list.size()), &n);
    if (c.types.empty()) {
        EXPECT_EQ(status, kErr);
        EXPECT_EQ(n, 0);
        EXPECT_EQ(count_logs(kLogTrace, "Query result is null(" + std::to_string(c.id) + ")."), 1u);
    } else {
        EXPECT_EQ(status, 0u);
        EXPECT_EQ(n, c.types.size());
    }
    for (size_t i = 0; i < list.size(); ++i) {
        bool row = i < c.types.size();
        EXPECT_EQ(list[i].boardId, row ? c.id : 0xFF) << i;
        EXPECT_EQ(list[i].slot, row ? i : 0xFF) << i;
        EXPECT_EQ(list[i].boardType, row ? c.types[i] : 0xFFu) << i;
    }

    // SMM boards have a fixed type and never ask for the slot; every other board needs its
    // slot, which cannot be found yet.
    sim().clear_logs();
    uint32_t type = 0x1234;
    if (c.smm) {
        EXPECT_EQ(BSP_GetBmcBoardType(&type), 0u);
        EXPECT_EQ(type, 0x20u);
        EXPECT_TRUE(debug_logs().empty());
    } else {
        EXPECT_EQ(BSP_GetBmcBoardType(&type), kErr);
        EXPECT_EQ(type, 0x1234u);
        EXPECT_EQ(debug_texts(), std::vector<std::string>{"0:BSP_GetBoardSlot failed."});
    }
}

INSTANTIATE_TEST_SUITE_P(Board, BoardIds, ::testing::ValuesIn(kIds),
                         [](const auto &info) { return id_name(info.param.id); });

// ------------------------------------------------------------------ retry after a failed read

struct RetryCase {
    const char *name;
    uint32_t (*fn)();
    uint8_t id;
    uint32_t first, second;  // answer while the device cannot be opened, and afterwards
};

const RetryCase kRetries[] = {
    {"smm", BSP_IsSmmBoard, 0x0F, 0, 1},
    {"2u2c", BSP_Is2U2CBoard, 0x35, 0, 1},
    {"middle", BSP_IsMiddleBoard, 0x2D, 0, 1},
    {"2uexp", BSP_Is2UExpBoard, 0x09, 0, 1},
    {"2u", BSP_Is2UBoard, 0x27, 0, 1},
    {"7460s", BSP_Is7460SBoard, 0x06, 0, 1},
    {"7460s_ctrl", BSP_Is7460SCtrlBoard, 0x1D, 0, 1},
    {"5820_4u4c", BSP_Is58204U4CBoard, 0x0A, 0, 1},
    {"5830_4u4c", BSP_Is58304U4CBoard, 0x11, 0, 1},
    {"u2p", BSP_Is58304u2pBoard, 0x71, 0, 1},
    {"sas", BSP_Is5830SasBoard, 0x12, 0, 1},
    {"palm", BSP_Is5830PalmBoard, 0x14, 0, 1},
    {"lite", BSP_IsLiteBoard, 0x95, 0, 1},
    {"x86", BSP_isX86Board, 0x33, 0, 1},
    {"cpus", BSP_SingleCpuOrDoubleCpu, 0x35, 0, 2},
    {"always_5830", BSP_Is5830Board, 0x05, 1, 1},
    // 4U4C asks the 5820 predicate first, which fails; the 5830 one then reads the id and
    // settles for good, so a 5830 board is recognised at once and a 5820 board only later.
    {"4u4c_5820", BSP_Is4U4CBoard, 0x0A, 0, 1},
    {"4u4c_5830", BSP_Is4U4CBoard, 0x71, 1, 1},
};

class PredicateRetry : public bsptest::SimTestWithParam<RetryCase> {};

TEST_P(PredicateRetry, AnswersZeroThenAsksAgain)
{
    const RetryCase &c = GetParam();
    sim().set_board_id(c.id);
    sim().fail(Op::DevOpen, 1);
    EXPECT_EQ(c.fn(), c.first);
    EXPECT_EQ(c.fn(), c.second);
    EXPECT_EQ(c.fn(), c.second);
}

INSTANTIATE_TEST_SUITE_P(Board, PredicateRetry, ::testing::ValuesIn(kRetries),
                         [](const auto &info) { return std::string(info.param.name); });

// The palm-micro answer is settled on the first call, even when that call could not read the
// id: no second attempt, no device access.
TEST_F(BoardTest, PalmMicroIsAskedOnlyOnce)
{
    sim().set_board_id(0x14);
    sim().fail(Op::DevOpen, 1);
    EXPECT_EQ(BSP_Is5830PalmMicroBoard(), 0u);
    EXPECT_EQ(count(Op::DevOpen), 1u);
    EXPECT_EQ(BSP_Is5830PalmMicroBoard(), 0u);
    EXPECT_EQ(count(Op::DevOpen), 1u);
    EXPECT_EQ(BSP_Is5830PalmBoard(), 1u);
}

// A palm board is a micro one when its OS board id (CPLD 0x60..0x62, low byte first) is
// 0x122700. Decided on the first call: later changes of the registers are not seen.
struct PalmMicroCase {
    const char *name;
    uint8_t id;
    uint32_t os_board_id;
    uint32_t expected;
};

class PalmMicro : public bsptest::SimTestWithParam<PalmMicroCase> {
protected:
    void set_os_board_id(uint32_t v)
    {
        for (uint32_t i = 0; i < 3; ++i) sim().set_reg(0x60 + i, static_cast<uint8_t>(v >> (8 * i)));
    }
    size_t cpld_reads() const { return count(Op::LocalBusRead) + count(Op::SpiRead); }
};

TEST_P(PalmMicro, DecidedOnce)
{
    const PalmMicroCase &c = GetParam();
    sim().set_board_id(c.id);
    set_os_board_id(c.os_board_id);
    EXPECT_EQ(BSP_Is5830PalmMicroBoard(), c.expected);
    EXPECT_EQ(cpld_reads() > 0, c.id == 0x14) << "only a palm board asks for its OS board id";

    set_os_board_id(c.expected ? 0 : 0x122700);
    sim().clear_events();
    EXPECT_EQ(BSP_Is5830PalmMicroBoard(), c.expected);
    EXPECT_EQ(cpld_reads(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Board, PalmMicro,
                         ::testing::Values(PalmMicroCase{"palm_micro", 0x14, 0x122700, 1},
                                           PalmMicroCase{"palm_other_os_id", 0x14, 0x120500, 0},
                                           PalmMicroCase{"palm_high_byte_differs", 0x14, 0x002700, 0},
                                           PalmMicroCase{"palm_low_byte_differs", 0x14, 0x122701, 0},
                                           PalmMicroCase{"sas_with_micro_os_id", 0x12, 0x122700, 0}),
                         [](const auto &info) { return std::string(info.param.name); });

// A failed request caches id 0, and from then on the board is taken for board 0x00.
TEST_F(BoardTest, FailedRequestMakesTheBoardLookLikeIdZero)
{
    sim().set_board_id(0x05);
    sim().fail(Op::DevIoctl, 1, -1, kBoardInfo);
    EXPECT_EQ(BSP_IsMiddleBoard(), 0u);
    EXPECT_EQ(BSP_IsMiddleBoard(), 1u);
    EXPECT_EQ(BSP_Is7460SCtrlBoard(), 0u);
}

// ------------------------------------------------------------------ board type and list

TEST_F(BoardTest, BoardTypeWithoutBoardId)
{
    sim().fail(Op::DevOpen, 1);
    uint32_t type = 0x1234;
    EXPECT_EQ(BSP_GetBmcBoardType(&type), kErr);
    EXPECT_EQ(type, 0x1234u);
    EXPECT_EQ(debug_texts(), (std::vector<std::string>{"0:Error: open sys_info dev fail", "0:BSP: get the boardid fail"}));
}

// A request failure is a failed read for the board type too, though the id (0) is cached.
TEST_F(BoardTest, BoardTypeAfterFailedRequest)
{
    sim().set_board_id(0x81);
    sim().fail(Op::DevIoctl, 1, -1, kBoardInfo);
    uint32_t type = 0;
    EXPECT_EQ(BSP_GetBmcBoardType(&type), kErr);
    EXPECT_EQ(count_logs(kLogError, "BSP: get the boardid fail"), 1u);
    EXPECT_EQ(BSP_GetBmcBoardType(&type), kErr);
    EXPECT_EQ(count_logs(kLogError, "BSP_GetBoardSlot failed."), 1u);
}

TEST_F(BoardTest, BoardListHonoursMaxCount)
{
    sim().set_board_id(0x0A);
    std::array<BoardListEntry, 4> list;
    list.fill(BoardListEntry{0x11, 0x22, 0x33});
    uint8_t n = 0x77;
    ASSERT_EQ(BSP_GetBoardList(list.data(), 2, &n), 0u);
    EXPECT_EQ(n, 2);
    for (uint8_t i = 0; i < 2; ++i) {
        EXPECT_EQ(list[i].boardId, 0x0A);
        EXPECT_EQ(list[i].slot, i);
        EXPECT_EQ(list[i].boardType, i);
    }
    for (size_t i = 2; i < list.size(); ++i) {  // past maxCount nothing is written
        EXPECT_EQ(list[i].boardId, 0x11);
        EXPECT_EQ(list[i].boardType, 0x33u);
    }
}

TEST_F(BoardTest, BoardListRefusals)
{
    BoardListEntry list[2] = {{0x11, 0x22, 0x33}, {0x11, 0x22, 0x33}};
    uint8_t n = 0x77;
    EXPECT_EQ(BSP_GetBoardList(nullptr, 2, &n), kErr);
    EXPECT_EQ(n, 0x77);
    EXPECT_EQ(BSP_GetBoardList(list, 2, nullptr), kErr);
    EXPECT_EQ(BSP_GetBoardList(list, 0, &n), kErr);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(list[0].boardId, 0x11);
    EXPECT_TRUE(sim().events().empty()) << "refused before the id is read";
    EXPECT_EQ(debug_texts(), (std::vector<std::string>{"2:Input parameter is null.", "2:Input parameter is null.",
                                                       "2:Illegal input parameter(0)."}));

    // The id cannot be read: the entries are preset all the same.
    sim().clear_logs();
    sim().fail(Op::DevOpen, 1);
    n = 0x77;
    EXPECT_EQ(BSP_GetBoardList(list, 2, &n), kErr);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(list[1].boardId, 0xFF);
    EXPECT_EQ(list[1].slot, 0xFF);
    EXPECT_EQ(list[1].boardType, 0xFFu);
    EXPECT_EQ(debug_texts(), (std::vector<std::string>{"0:Error: open sys_info dev fail", "2:Get board id error."}));
}

// ------------------------------------------------------------------ board sets

TEST_F(BoardTest, TwoControllerSetKeepsItsFirstAnswer)
{
    EXPECT_EQ(BSP_is2u2cCtrlBoard(0x03), 1u);
    EXPECT_EQ(BSP_is2u2cCtrlBoard(0x0A), 1u);
    EXPECT_EQ(BSP_is2u2cCtrlBoardType(0x40), 0u);  // the other set has its own answer
    EXPECT_EQ(BSP_is2u2cCtrlBoardType(0x30), 0u);
    EXPECT_TRUE(sim().events().empty());
}

// The type set is padded with 0xFF, and the padding is searched: 0xFF counts as a member.
TEST_F(BoardTest, TypeSetPaddingIsAMember)
{
    EXPECT_EQ(BSP_is2u2cCtrlBoardType(0xFF), 1u);
    EXPECT_EQ(BSP_is2u2cCtrlBoard(0xFF), 0u);
}

// The identified-id check consults the 2U set only for ids outside its own list, so the set's
// first answer leaks into later questions.
TEST_F(BoardTest, IdentifiedBoardTypeSharesTheSetsAnswer)
{
    EXPECT_EQ(BSP_IsIdentifiedBoardType(0x0A), 1u);  // own list: the set is not asked
    EXPECT_EQ(BSP_IsIdentifiedBoardType(0x05), 1u);  // the set answers 1 and keeps it
    EXPECT_EQ(BSP_IsIdentifiedBoardType(0x50), 1u);
    EXPECT_EQ(BSP_is2u2cCtrlBoard(0x50), 1u);
    EXPECT_TRUE(sim().events().empty());
}

TEST_F(BoardTest, IdentifiedBoardTypeAfterANegativeSetAnswer)
{
    EXPECT_EQ(BSP_IsIdentifiedBoardType(0x50), 0u);
    EXPECT_EQ(BSP_IsIdentifiedBoardType(0x03), 0u);
    EXPECT_EQ(BSP_IsIdentifiedBoardType(0x81), 1u);
}

struct SetCase {
    const char *name;
    int32_t answer;     // the set's answer word before the first question
    uint8_t first;      // asked first
    uint32_t expected;  // answered to both questions
};

const SetCase kSets[] = {
    {"first_value", BSP_BOARD_SET_UNASKED, 0x10, 1},
    {"thirteenth_value", BSP_BOARD_SET_UNASKED, 0x1C, 1},
    {"absent", BSP_BOARD_SET_UNASKED, 0x1D, 0},
    {"zero_not_present", BSP_BOARD_SET_UNASKED, 0x00, 0},
    {"answered_no", 0, 0x10, 0},
    {"answered_yes", 1, 0x1D, 1},
    {"odd_answer_word", 7, 0x10, 7},
};

class CallerBoardSet : public ::testing::TestWithParam<SetCase> {};

TEST_P(CallerBoardSet, FirstAnswerStays)
{
    const SetCase &c = GetParam();
    BoardSet set = {c.answer, {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B, 0x1C}};
    EXPECT_EQ(BSP_isInBoardSet(&set, c.first), c.expected);
    EXPECT_EQ(set.answer, static_cast<int32_t>(c.expected));
    EXPECT_EQ(BSP_isInBoardSet(&set, c.expected ? 0x1D : 0x10), c.expected);  // the other answer's value
}

INSTANTIATE_TEST_SUITE_P(Board, CallerBoardSet, ::testing::ValuesIn(kSets),
                         [](const auto &info) { return std::string(info.param.name); });

TEST(BoardSetNull, AnswersZero) { EXPECT_EQ(BSP_isInBoardSet(nullptr, 0x10), 0u); }

// ------------------------------------------------------------------ board-type pins

struct PinCase {
    uint8_t id;
    std::array<uint32_t, 3> pins;
};

void PrintTo(const PinCase &c, std::ostream *os) { *os << "board id " << hex(c.id); }

class BoardTypeGpio : public bsptest::SimTestWithParam<PinCase> {};

TEST_P(BoardTypeGpio, InitialisesThreePinsAsInputs)
{
    sim().set_board_id(GetParam().id);
    sim().fail(Op::GpioInit, 1);  // a failing pin does not stop the others
    BSP_InitBoardTypeGpio();
    auto inits = events(Op::GpioInit);
    ASSERT_EQ(inits.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(inits[i].a, GetParam().pins[i]);
        EXPECT_EQ(inits[i].b, 0u) << "input";
    }
    EXPECT_FALSE(sim().pin_initialised(GetParam().pins[0]));  // the injected failure
    EXPECT_TRUE(sim().pin_initialised(GetParam().pins[2]));
    EXPECT_EQ(count(Op::GpioRead) + count(Op::GpioWrite), 0u);
    for (auto &l : debug_logs()) EXPECT_NE(l.level, kLogError) << "failures are not logged: " << l.text;
}

INSTANTIATE_TEST_SUITE_P(Board, BoardTypeGpio,
                         ::testing::Values(PinCase{0x81, {50, 52, 53}}, PinCase{0x82, {50, 52, 53}},
                                           PinCase{0x0C, {26, 27, 28}}, PinCase{0x0F, {26, 27, 28}},
                                           PinCase{0x05, {26, 27, 28}}, PinCase{0x71, {26, 27, 28}},
                                           PinCase{0x50, {26, 27, 28}}),
                         [](const auto &info) { return id_name(info.param.id); });

TEST_F(BoardTest, BoardTypeGpioWithoutBoardId)
{
    sim().set_board_id(0x81);
    sim().fail(Op::DevOpen, 1);
    BSP_InitBoardTypeGpio();
    auto inits = events(Op::GpioInit);
    ASSERT_EQ(inits.size(), 3u);
    EXPECT_EQ(inits[0].a, 26u);
}

// ------------------------------------------------------------------ factory test frame

class SmmFrame : public bsptest::SimTest {
protected:
    std::string profile() const override { return "smm"; }
    void set_frame_pins(unsigned levels)
    {
        for (unsigned i = 0; i < 3; ++i) sim().set_pin(42 + i, (levels >> i) & 1u);
    }
};

class SmmFramePins : public SmmFrame, public ::testing::WithParamInterface<unsigned> {};

// The module is in a factory frame only when all three pins read 0.
TEST_P(SmmFramePins, AllLowMeansFactoryFrame)
{
    set_frame_pins(GetParam());
    EXPECT_EQ(BSP_isEquipFrameBoard(), GetParam() == 0 ? 1u : 0u);
    auto inits = events(Op::GpioInit);
    auto reads = events(Op::GpioRead);
    ASSERT_EQ(inits.size(), 3u);
    ASSERT_EQ(reads.size(), 3u);
    for (uint32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(inits[i].a, 42 + i);
        EXPECT_EQ(inits[i].b, 0u);
        EXPECT_EQ(reads[i].a, 42 + i);
    }
}

INSTANTIATE_TEST_SUITE_P(Board, SmmFramePins, ::testing::Range(0u, 8u),
                         [](const auto &info) { return "pins_" + std::to_string(info.param); });

TEST_F(SmmFrame, AnswerIsCachedAfterSuccess)
{
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);  // the profile's pins read 1
    set_frame_pins(0);
    sim().clear_events();
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);
    EXPECT_EQ(count(Op::GpioInit) + count(Op::GpioRead), 0u);
}

// One failed init spoils every attempt: the error word is never cleared. Nothing is cached,
// so the next call starts over.
TEST_F(SmmFrame, OneInitFailureFailsAllAttempts)
{
    set_frame_pins(0);
    sim().fail(Op::GpioInit, 1, -1, 43);
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);
    EXPECT_EQ(count(Op::GpioInit), 9u);
    EXPECT_EQ(count(Op::GpioRead), 0u);
    auto lines = find_logs(kLogError, "Gpio(v6:128~130,c+:42~44) init failed");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].file, "bmc_bsp_board.cpp");

    EXPECT_EQ(BSP_isEquipFrameBoard(), 1u);
}

TEST_F(SmmFrame, OneReadFailureFailsAllAttempts)
{
    set_frame_pins(0);
    sim().fail(Op::GpioRead, 1, -1, 44);
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);
    EXPECT_EQ(count(Op::GpioInit), 3u);
    EXPECT_EQ(count(Op::GpioRead), 9u);
    EXPECT_EQ(count_logs(kLogError, "Gpio(v6:128~130,c+:42~44) read failed"), 1u);
    EXPECT_EQ(count_logs(kLogError, "Gpio(v6:128~130,c+:42~44) init failed"), 0u);

    EXPECT_EQ(BSP_isEquipFrameBoard(), 1u);
}

// Other boards go by the frame type, which cannot be read yet: never a factory frame, even
// with the SMM's frame pins low, and no pin is touched.
TEST_F(BoardTest, NonSmmBoardsGoByFrameType)
{
    for (uint32_t pin : {42, 43, 44}) sim().set_pin(pin, 0);
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);
    EXPECT_EQ(count(Op::GpioInit) + count(Op::GpioRead), 0u);
}

// A board whose id cannot be read is taken for a non-SMM board, and asked again next time.
TEST_F(SmmFrame, UnreadableIdIsNotAnSmm)
{
    set_frame_pins(0);
    sim().fail(Op::DevOpen, 1);
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);
    EXPECT_EQ(count(Op::GpioInit), 0u);
    EXPECT_EQ(BSP_isEquipFrameBoard(), 1u);  // the SMM predicate asks again
}

}  // namespace
