// Board identity: the board id and its cache, the board-type predicates and their caches, the
// board table, the board sets, the board-type pins and the factory frame.
#include <fcntl.h>

#include <array>
#include <cstdio>
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
using Lines = std::vector<std::string>;

constexpr uint32_t kBoardInfo = 0x80047306;

using BoardTest = bsptest::SimTest;

std::string format(const char *pattern, uint8_t id)
{
    char text[32];
    std::snprintf(text, sizeof text, pattern, id);
    return text;
}
std::string id_name(uint8_t id) { return format("id_%02X", id); }
std::string boardid_line(uint8_t id) { return format("get bmc boardid (0x%x)", id); }
auto by_name = [](const auto &info) { return std::string(info.param.name); };

// ------------------------------------------------------------------ the board id

struct InfoWordCase {
    const char *name;
    uint32_t word, status;      // status of the first call
    uint8_t first_id, cached_id;  // what the first call and every later one (status 0) hand out
};

class BoardIdWord : public bsptest::SimTestWithParam<InfoWordCase> {};

TEST_P(BoardIdWord, FirstCallThenCache)
{
    const InfoWordCase &c = GetParam();
    sim().set_sysinfo(kBoardInfo, c.word);
    uint8_t id = 0x33;
    EXPECT_EQ(hex(BSP_GetBmcBoardId(&id)), hex(c.status));
    EXPECT_EQ(hex(id), hex(c.first_id));
    auto all = sim().events();  // open read-write, ask for the board-information word, close
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].op, Op::DevOpen);
    EXPECT_EQ(all[0].name, "/dev/sys_info");
    EXPECT_EQ(all[0].b & O_ACCMODE, static_cast<uint32_t>(O_RDWR));
    EXPECT_EQ(all[1].op, Op::DevIoctl);
    EXPECT_EQ(all[1].b, kBoardInfo);
    EXPECT_EQ(all[2].op, Op::DevClose);
    auto logs = debug_logs();
    if (c.status == 0) {
        ASSERT_EQ(logs.size(), 1u);
        EXPECT_EQ(logs[0].level, kLogTrace);
        EXPECT_EQ(logs[0].text, boardid_line(c.first_id));
        EXPECT_EQ(logs[0].file, "bmc_bsp_board.cpp");
    } else {
        EXPECT_TRUE(logs.empty()) << "a refused id is not logged";
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

INSTANTIATE_TEST_SUITE_P(Board, BoardIdWord,
                         ::testing::Values(InfoWordCase{"even_parity_A5", 0x00000A50, 0, 0xA5, 0xA5},
                                           InfoWordCase{"smm_81", 0x00000810, 0, 0x81, 0x81},
                                           InfoWordCase{"bits_outside_the_id_ignored", 0xFFFFF05F, 0, 0x05, 0x05},
                                           // Odd parity is refused, but cached before the check.
                                           InfoWordCase{"odd_parity_80", 0x00000800, kErr, 0xFF, 0x80}),
                         by_name);

// A failed request: id 0 with the request's code, the device still closed; then id 0 for good,
// and the board is taken for board 0x00.
TEST_F(BoardTest, FailedRequestGivesIdZeroAndItsCode)
{
    sim().set_board_id(0x05);
    sim().fail(Op::DevIoctl, 1, -5, kBoardInfo);
    uint8_t id = 0x33;
    EXPECT_EQ(BSP_GetBmcBoardId(&id), static_cast<uint32_t>(-5));
    EXPECT_EQ(id, 0);
    EXPECT_EQ(count(Op::DevClose), 1u);
    EXPECT_EQ(debug_texts(), (Lines{"0:ioctrl sys_info dev fail(-5)", "2:get bmc boardid (0x0)"}));
    EXPECT_EQ(debug_logs()[0].file, "bmc_bsp_board.cpp");
    sim().clear_events();
    id = 0x33;
    EXPECT_EQ(BSP_GetBmcBoardId(&id), 0u);
    EXPECT_EQ(id, 0);
    EXPECT_TRUE(sim().events().empty());
    EXPECT_EQ(BSP_IsMiddleBoard(), 1u);
    EXPECT_EQ(BSP_Is7460SCtrlBoard(), 0u);
}

// A predicate asked first sees the failed request as a failed read, and asks again.
TEST_F(BoardTest, FailedRequestThenPredicate)
{
    sim().set_board_id(0x05);
    sim().fail(Op::DevIoctl, 1, -1, kBoardInfo);
    EXPECT_EQ(BSP_IsMiddleBoard(), 0u);
    EXPECT_EQ(BSP_IsMiddleBoard(), 1u);
}

// The device cannot be opened: failure, nothing asked, nothing cached.
TEST_F(BoardTest, OpenFailureIsNotCached)
{
    sim().set_board_id(0x71);
    sim().fail(Op::DevOpen, 1, -1, static_cast<uint32_t>(bspsim::Device::SysInfo));
    uint8_t id = 0x33;
    EXPECT_EQ(BSP_GetBmcBoardId(&id), kErr);
    EXPECT_EQ(id, 0x33);
    EXPECT_EQ(count(Op::DevIoctl) + count(Op::DevClose), 0u);
    EXPECT_EQ(debug_texts(), Lines{"0:Error: open sys_info dev fail"});
    EXPECT_EQ(debug_logs()[0].file, "bmc_bsp_board.cpp");
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
    {.id = 0x0C, .smm = 1, .identified = 1},  // SMM boards have no rows in the board table
    {.id = 0x0F, .smm = 1, .identified = 1},
    {.id = 0x81, .smm = 1, .identified = 1},
    {.id = 0x82, .smm = 1, .identified = 1},
    {.id = 0x50},  // unknown ids with a valid parity
    {.id = 0xA5},
    {.id = 0x3C},
};

struct Predicate {
    const char *name;
    uint32_t (*fn)();
    bool cached;
    uint32_t IdCase::*column;  // null for the constant ones
    uint32_t constant;
};

// No profile's OS board id is the micro one (see PalmMicro below).
const Predicate kPredicates[] = {
    {"BSP_IsSmmBoard", BSP_IsSmmBoard, true, &IdCase::smm, 0},
    {"BSP_Is2U2CBoard", BSP_Is2U2CBoard, true, &IdCase::u2c, 0},
    {"BSP_IsMiddleBoard", BSP_IsMiddleBoard, true, &IdCase::middle, 0},
    {"BSP_Is2UExpBoard", BSP_Is2UExpBoard, true, &IdCase::exp2u, 0},
    {"BSP_Is2UBoard", BSP_Is2UBoard, true, &IdCase::any2u, 0},
    {"BSP_Is7460SBoard", BSP_Is7460SBoard, true, &IdCase::s7460, 0},
    {"BSP_Is7460SCtrlBoard", BSP_Is7460SCtrlBoard, true, &IdCase::s7460ctrl, 0},
    {"BSP_Is58204U4CBoard", BSP_Is58204U4CBoard, true, &IdCase::u4c5820, 0},
    {"BSP_Is58304U4CBoard", BSP_Is58304U4CBoard, true, &IdCase::u4c5830, 0},
    {"BSP_Is4U4CBoard", BSP_Is4U4CBoard, true, &IdCase::u4c, 0},
    {"BSP_Is58304u2pBoard", BSP_Is58304u2pBoard, true, &IdCase::u2p, 0},
    {"BSP_Is5830SasBoard", BSP_Is5830SasBoard, true, &IdCase::sas, 0},
    {"BSP_Is5830PalmBoard", BSP_Is5830PalmBoard, true, &IdCase::palm, 0},
    {"BSP_IsLiteBoard", BSP_IsLiteBoard, true, &IdCase::lite, 0},
    {"BSP_isX86Board", BSP_isX86Board, false, &IdCase::x86, 0},
    {"BSP_SingleCpuOrDoubleCpu", BSP_SingleCpuOrDoubleCpu, false, &IdCase::cpus, 0},
    {"BSP_Is5830PalmMicroBoard", BSP_Is5830PalmMicroBoard, false, nullptr, 0},
    {"BSP_Is5830Board", BSP_Is5830Board, false, nullptr, 1},
    {"BSP_IsManuVersion", BSP_IsManuVersion, false, nullptr, 0},
    {"BSP_IsEsBoard", BSP_IsEsBoard, false, nullptr, 0},
};

uint32_t expected(const Predicate &p, const IdCase &c) { return p.column ? c.*p.column : p.constant; }

class BoardIds : public bsptest::SimTestWithParam<IdCase> {};

// Every predicate twice (the device is read once in all), the board-table rows, the type.
TEST_P(BoardIds, PredicatesBoardListAndType)
{
    const IdCase &c = GetParam();
    sim().set_board_id(c.id);
    for (int round = 0; round < 2; ++round) {
        for (const Predicate &p : kPredicates) EXPECT_EQ(p.fn(), expected(p, c)) << p.name << ", round " << round;
    }
    EXPECT_EQ(count(Op::DevOpen), 1u);
    EXPECT_EQ(BSP_IsIdentifiedBoardType(c.id), c.identified);

    std::array<BoardListEntry, 8> list;
    list.fill(BoardListEntry{0x11, 0x22, 0x33});
    uint8_t n = 0x77;
    EXPECT_EQ(BSP_GetBoardList(list.data(), static_cast<uint8_t>(list.size()), &n), c.types.empty() ? kErr : 0u);
    EXPECT_EQ(n, c.types.size());
    EXPECT_EQ(count_logs(kLogTrace, "Query result is null(" + std::to_string(c.id) + ")."), c.types.empty() ? 1u : 0u);
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
    EXPECT_EQ(BSP_GetBmcBoardType(&type), c.smm ? 0u : kErr);
    EXPECT_EQ(type, c.smm ? 0x20u : 0x1234u);
    EXPECT_EQ(debug_texts(), c.smm ? Lines{} : Lines{"0:BSP_GetBoardSlot failed."});
}

// First read id 0xFF (valid parity, yet "unknown", so the library asks the device again next
// time), then the real id: cached predicates keep their first answer, the others follow.
TEST_P(BoardIds, CachedPredicatesKeepTheirFirstAnswer)
{
    const IdCase &c = GetParam();
    const IdCase unreadable = {.id = 0xFF};
    sim().set_board_id(0xFF);
    for (const Predicate &p : kPredicates) ASSERT_EQ(p.fn(), expected(p, unreadable)) << p.name;
    sim().set_board_id(c.id);
    for (const Predicate &p : kPredicates) EXPECT_EQ(p.fn(), expected(p, p.cached ? unreadable : c)) << p.name;
    uint8_t id = 0;
    EXPECT_EQ(BSP_GetBmcBoardId(&id), 0u);
    EXPECT_EQ(id, c.id);
}

INSTANTIATE_TEST_SUITE_P(Board, BoardIds, ::testing::ValuesIn(kIds),
                         [](const auto &info) { return id_name(info.param.id); });

// ------------------------------------------------------------------ retry after a failed read

struct RetryCase {
    const char *name;
    uint32_t (*fn)();
    uint8_t id;
    uint32_t first, later;  // answer while the device cannot be opened, and afterwards
};

class PredicateRetry : public bsptest::SimTestWithParam<RetryCase> {};

TEST_P(PredicateRetry, AnswersZeroThenAsksAgain)
{
    const RetryCase &c = GetParam();
    sim().set_board_id(c.id);
    sim().fail(Op::DevOpen, 1);
    EXPECT_EQ(c.fn(), c.first);
    EXPECT_EQ(c.fn(), c.later);
    EXPECT_EQ(c.fn(), c.later);
}

INSTANTIATE_TEST_SUITE_P(
    Board, PredicateRetry,
    ::testing::Values(RetryCase{"smm", BSP_IsSmmBoard, 0x0F, 0, 1}, RetryCase{"2u2c", BSP_Is2U2CBoard, 0x35, 0, 1},
                      RetryCase{"middle", BSP_IsMiddleBoard, 0x2D, 0, 1},
                      RetryCase{"2uexp", BSP_Is2UExpBoard, 0x09, 0, 1}, RetryCase{"2u", BSP_Is2UBoard, 0x27, 0, 1},
                      RetryCase{"7460s", BSP_Is7460SBoard, 0x06, 0, 1},
                      RetryCase{"7460s_ctrl", BSP_Is7460SCtrlBoard, 0x1D, 0, 1},
                      RetryCase{"5820_4u4c", BSP_Is58204U4CBoard, 0x0A, 0, 1},
                      RetryCase{"5830_4u4c", BSP_Is58304U4CBoard, 0x11, 0, 1},
                      RetryCase{"u2p", BSP_Is58304u2pBoard, 0x71, 0, 1},
                      RetryCase{"sas", BSP_Is5830SasBoard, 0x12, 0, 1},
                      RetryCase{"palm", BSP_Is5830PalmBoard, 0x14, 0, 1},
                      RetryCase{"lite", BSP_IsLiteBoard, 0x95, 0, 1}, RetryCase{"x86", BSP_isX86Board, 0x33, 0, 1},
                      RetryCase{"cpus", BSP_SingleCpuOrDoubleCpu, 0x35, 0, 2},
                      RetryCase{"always_5830", BSP_Is5830Board, 0x05, 1, 1},
                      // 4U4C asks the 5820 predicate first, which fails; the 5830 one then reads
                      // the id and settles, so only a 5830 board is recognised at once.
                      RetryCase{"4u4c_5820", BSP_Is4U4CBoard, 0x0A, 0, 1},
                      RetryCase{"4u4c_5830", BSP_Is4U4CBoard, 0x71, 1, 1}),
    by_name);

// The palm-micro answer is settled on the first call, even when that call could not read the
// id: no second attempt, no device access.
TEST_F(BoardTest, PalmMicroIsAskedOnlyOnce)
{
    sim().set_board_id(0x14);
    sim().fail(Op::DevOpen, 1);
    EXPECT_EQ(BSP_Is5830PalmMicroBoard(), 0u);
    EXPECT_EQ(BSP_Is5830PalmMicroBoard(), 0u);
    EXPECT_EQ(count(Op::DevOpen), 1u);
    EXPECT_EQ(BSP_Is5830PalmBoard(), 1u);
}

// A palm board is a micro one when its OS board id (CPLD 0x60..0x62, low byte first) is
// 0x122700, decided on the first call.
struct PalmMicroCase {
    const char *name;
    uint8_t id;
    uint32_t os_board_id, expected;
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
                         by_name);

// ------------------------------------------------------------------ board type and list

TEST_F(BoardTest, BoardTypeWithoutBoardId)
{
    sim().fail(Op::DevOpen, 1);
    uint32_t type = 0x1234;
    EXPECT_EQ(BSP_GetBmcBoardType(&type), kErr);
    EXPECT_EQ(type, 0x1234u);
    EXPECT_EQ(debug_texts(), (Lines{"0:Error: open sys_info dev fail", "0:BSP: get the boardid fail"}));
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
    for (uint8_t i = 0; i < list.size(); ++i) {  // past maxCount nothing is written
        EXPECT_EQ(list[i].boardId, i < 2 ? 0x0A : 0x11) << int{i};
        EXPECT_EQ(list[i].slot, i < 2 ? i : 0x22) << int{i};
        EXPECT_EQ(list[i].boardType, i < 2 ? i : 0x33u) << int{i};
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
    EXPECT_EQ(debug_texts(),
              (Lines{"2:Input parameter is null.", "2:Input parameter is null.", "2:Illegal input parameter(0)."}));
    // The id cannot be read: the entries are preset all the same.
    sim().clear_logs();
    sim().fail(Op::DevOpen, 1);
    n = 0x77;
    EXPECT_EQ(BSP_GetBoardList(list, 2, &n), kErr);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(list[1].boardId, 0xFF);
    EXPECT_EQ(list[1].slot, 0xFF);
    EXPECT_EQ(list[1].boardType, 0xFFu);
    EXPECT_EQ(debug_texts(), (Lines{"0:Error: open sys_info dev fail", "2:Get board id error."}));
}

// ------------------------------------------------------------------ board sets

// Each set keeps its first answer; the type set is padded with 0xFF and the padding counts.
TEST_F(BoardTest, TwoControllerSetsKeepTheirFirstAnswer)
{
    EXPECT_EQ(BSP_is2u2cCtrlBoard(0x03), 1u);
    EXPECT_EQ(BSP_is2u2cCtrlBoard(0x0A), 1u);
    EXPECT_EQ(BSP_is2u2cCtrlBoardType(0x40), 0u);
    EXPECT_EQ(BSP_is2u2cCtrlBoardType(0x30), 0u);
    EXPECT_TRUE(sim().events().empty());
}

TEST_F(BoardTest, TypeSetPaddingIsAMember)
{
    EXPECT_EQ(BSP_is2u2cCtrlBoardType(0xFF), 1u);
    EXPECT_EQ(BSP_is2u2cCtrlBoard(0xFF), 0u);
}

// The identified-id check consults the 2U set only for ids outside its own list, so the set's
// first answer leaks into later questions, either way.
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
    int32_t answer;  // the set's answer word before the first question
    uint8_t first;   // asked first
    uint32_t expected;
};

class CallerBoardSet : public ::testing::TestWithParam<SetCase> {};

TEST_P(CallerBoardSet, FirstAnswerStays)
{
    const SetCase &c = GetParam();
    BoardSet set = {c.answer, {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B, 0x1C}};
    EXPECT_EQ(BSP_isInBoardSet(&set, c.first), c.expected);
    EXPECT_EQ(set.answer, static_cast<int32_t>(c.expected));
    EXPECT_EQ(BSP_isInBoardSet(&set, c.expected ? 0x1D : 0x10), c.expected);  // the other answer's value
    EXPECT_EQ(BSP_isInBoardSet(nullptr, 0x10), 0u);
}

INSTANTIATE_TEST_SUITE_P(Board, CallerBoardSet,
                         ::testing::Values(SetCase{"first_value", BSP_BOARD_SET_UNASKED, 0x10, 1},
                                           SetCase{"thirteenth_value", BSP_BOARD_SET_UNASKED, 0x1C, 1},
                                           SetCase{"absent", BSP_BOARD_SET_UNASKED, 0x1D, 0},
                                           SetCase{"zero_not_present", BSP_BOARD_SET_UNASKED, 0x00, 0},
                                           SetCase{"answered_no", 0, 0x10, 0}, SetCase{"answered_yes", 1, 0x1D, 1},
                                           SetCase{"odd_answer_word", 7, 0x10, 7}),
                         by_name);

// ------------------------------------------------------------------ board-type pins

struct PinCase {
    const char *name;
    uint8_t id;
    bool readable;
    uint32_t first_pin;  // of 26..28 or 50, 52, 53
};

class BoardTypeGpio : public bsptest::SimTestWithParam<PinCase> {};

// Three pins initialised as inputs; a failing pin does not stop the others and is not logged.
// A board whose id cannot be read gets the common pins.
TEST_P(BoardTypeGpio, InitialisesThreePinsAsInputs)
{
    const PinCase &c = GetParam();
    const std::array<uint32_t, 3> pins =
        c.first_pin == 50 ? std::array<uint32_t, 3>{50, 52, 53} : std::array<uint32_t, 3>{26, 27, 28};
    sim().set_board_id(c.id);
    if (!c.readable) sim().fail(Op::DevOpen, 1);
    sim().fail(Op::GpioInit, 1);
    BSP_InitBoardTypeGpio();
    auto inits = events(Op::GpioInit);
    ASSERT_EQ(inits.size(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(inits[i].a, pins[i]);
        EXPECT_EQ(inits[i].b, 0u) << "input";
    }
    EXPECT_FALSE(sim().pin_initialised(pins[0]));  // the injected failure
    EXPECT_TRUE(sim().pin_initialised(pins[2]));
    EXPECT_EQ(count(Op::GpioRead) + count(Op::GpioWrite), 0u);
    Lines errors;
    for (auto &l : debug_logs()) {
        if (l.level == kLogError) errors.push_back(l.text);
    }
    EXPECT_EQ(errors, c.readable ? Lines{} : Lines{"Error: open sys_info dev fail"});
}

INSTANTIATE_TEST_SUITE_P(Board, BoardTypeGpio,
                         ::testing::Values(PinCase{"id_81", 0x81, true, 50}, PinCase{"id_82", 0x82, true, 50},
                                           PinCase{"id_0C", 0x0C, true, 26}, PinCase{"id_0F", 0x0F, true, 26},
                                           PinCase{"id_05", 0x05, true, 26}, PinCase{"id_71", 0x71, true, 26},
                                           PinCase{"id_50", 0x50, true, 26},
                                           PinCase{"id_81_unreadable", 0x81, false, 26}),
                         by_name);

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

// One failed init or read spoils every attempt: the error word is never cleared. Nothing is
// cached, so the next call starts over.
struct FrameFault {
    const char *name;
    Op op;
    uint32_t pin;
    size_t inits, reads;
    const char *log;
};

class SmmFrameFault : public SmmFrame, public ::testing::WithParamInterface<FrameFault> {};

TEST_P(SmmFrameFault, FailsAllAttemptsThenStartsOver)
{
    const FrameFault &c = GetParam();
    set_frame_pins(0);
    sim().fail(c.op, 1, -1, c.pin);
    EXPECT_EQ(BSP_isEquipFrameBoard(), 0u);
    EXPECT_EQ(count(Op::GpioInit), c.inits);
    EXPECT_EQ(count(Op::GpioRead), c.reads);
    Lines errors;
    for (auto &l : debug_logs()) {
        if (l.level == kLogError) errors.push_back(l.file + ":" + l.text);
    }
    EXPECT_EQ(errors, Lines{std::string("bmc_bsp_board.cpp:") + c.log});
    EXPECT_EQ(BSP_isEquipFrameBoard(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Board, SmmFrameFault,
                         ::testing::Values(FrameFault{"init", Op::GpioInit, 43, 9, 0,
                                                      "Gpio(v6:128~130,c+:42~44) init failed"},
                                           FrameFault{"read", Op::GpioRead, 44, 3, 9,
                                                      "Gpio(v6:128~130,c+:42~44) read failed"}),
                         by_name);

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
    EXPECT_EQ(BSP_isEquipFrameBoard(), 1u);
}

}  // namespace
