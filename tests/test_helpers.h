// Shared by the family suites: every test gets its own simulated board, and short ways to ask
// what the library logged and which platform calls it made. The library caches per process
// (board id, predicate answers, CRC tables), so a second fixture test in one process is
// refused loudly rather than left to fail in confusing ways.
#ifndef BSP_TESTS_TEST_HELPERS_H
#define BSP_TESTS_TEST_HELPERS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <ostream>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "bmc_bsp.h"
#include "bspsim/sim.hpp"

namespace bsptest {

inline constexpr uint32_t kErr = 0xFFFFFFFFu;

inline std::string hex(uint32_t v)
{
    char b[12];
    return std::string(b, static_cast<size_t>(std::snprintf(b, sizeof b, "0x%X", v)));
}

// `v` in lower-case hex of at least `width` digits, as the bus record shows bytes: "0a", "1d5".
inline std::string hx(uint32_t v, int width = 2)
{
    char b[12];
    return std::string(b, static_cast<size_t>(std::snprintf(b, sizeof b, "%0*x", width, v)));
}

// Whole-file helpers for files the tests prepare or inspect.
inline void write_file(const std::string &path, const std::string &bytes)
{
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    ASSERT_TRUE(f.good()) << "cannot create " << path;
    f.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string read_file(const std::string &path)
{
    std::ifstream f(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}
// The operation log as " | opLEVEL:TEXT" per line, once each line's "file(line)(tick): "
// prefix is checked (a line without it shows as "BAD " and the whole line).
inline std::string oplog(const bspsim::Board &board)
{
    std::string out;
    std::smatch m;
    for (const auto &l : board.logs())
        if (l.kind == bspsim::LogLine::Operation)
            out += " | op" + std::to_string(l.level) + ":" +
                   (std::regex_match(l.text, m, std::regex(R"(bmc_bsp_\w+\.cpp\(\d+\)\(\d+\): (.*))")) ? m[1].str() : "BAD " + l.text);
    return out;
}


class SimTest : public ::testing::Test {
protected:
    // The profile the test's board starts from; suites override it.
    virtual std::string profile() const { return "default"; }

    void SetUp() override
    {
        static int fixtures_in_process = 0;
        ASSERT_EQ(++fixtures_in_process, 1)
            << "the library caches per process: run one test per process (ctest does, or pass "
               "--gtest_filter with a single test)";
        board_ = bspsim::Board::create(profile());
    }
    void TearDown() override { board_.reset(); }

    bspsim::Board &sim() const { return *board_; }

    std::vector<bspsim::Event> events(bspsim::Op op) const { return board_->events(op); }
    size_t count(bspsim::Op op) const { return board_->events(op).size(); }

    // The whole record as one compact line ("P29 wr ba=31 V29 delay 10", see bspsim::transcript),
    // optionally only some operations.
    std::string tr() const { return board_->transcript(); }
    std::string tr(std::initializer_list<bspsim::Op> only) const { return board_->transcript(only); }
    // Every debug-log line (not the operation log) as "level:text", joined with " | ": one
    // string to compare. A "(line:N)" naming the logging line itself reads "(line:SAME)", so
    // that expectations survive edits that move the line.
    std::string log_line() const
    {
        std::string out;
        for (const auto &l : board_->logs()) {
            if (l.kind != bspsim::LogLine::Debug) continue;
            std::string text = l.text, line = "(line:" + std::to_string(l.line) + ")";
            if (auto at = text.find(line); at != std::string::npos) text.replace(at, line.size(), "(line:SAME)");
            out += (out.empty() ? "" : " | ") + std::to_string(l.level) + ":" + text;
        }
        return out;
    }
    std::string oplog() const { return bsptest::oplog(*board_); }
    // Forgets what was recorded so far: the test then sees only the calls it makes.
    void forget() const { board_->clear_events(); board_->clear_logs(); }
    // Sets the board id (unless negative: as the profile has it), has the library read and cache
    // it (which logs a line and touches /dev/sys_info), then forgets the record.
    void known_board(int board_id = -1) const
    {
        if (board_id >= 0) board_->set_board_id(static_cast<uint8_t>(board_id));
        uint8_t id = 0;
        (void)BSP_GetBmcBoardId(&id);
        forget();
    }

private:
    std::unique_ptr<bspsim::Board> board_;
};

// A SimTest with a parameter, for tables of cases.
template <typename T>
class SimTestWithParam : public SimTest, public ::testing::WithParamInterface<T> {};

// Rows of case tables (structs with a `name`) print as that name in test listings. Bring it
// into the namespace of the tables with a using-declaration, so that gtest finds it.
template <typename T>
    requires requires(const T &t) { t.name; }
void PrintTo(const T &value, std::ostream *os) { *os << value.name; }

// `n` copies of `s` joined by `sep`: retries and per-byte sequences repeat themselves.
inline std::string times(size_t n, const std::string &s, const char *sep = " ")
{
    std::string out;
    for (size_t i = 0; i < n; ++i) out += (i ? sep : "") + s;
    return out;
}

// Renderings of calls made in order (a braced list is evaluated left to right, unlike the
// operands of +), joined by `sep`.
inline std::string joined(std::initializer_list<std::string> parts, const char *sep = ", ")
{
    std::string out;
    for (const std::string &p : parts) out += (out.empty() ? "" : sep) + p;
    return out;
}

// Bytes a call under test may write to (aligned for the calls that take 32-bit words); 0xEE
// before every case.
alignas(8) inline uint8_t g_out[8];

// What a call left for its caller: its status ("ok", "err" for -1, else the signed value), then
// the first `n` bytes of g_out in hex, e.g. "ok a5 01".
inline std::string res(uint32_t status, size_t n = 0)
{
    std::string s = status == 0 ? "ok" : status == kErr ? "err" : std::to_string(static_cast<int32_t>(status));
    char b[4];
    for (size_t i = 0; i < n; ++i) s += (std::snprintf(b, sizeof b, " %02x", g_out[i]), b);
    return s;
}

// Several calls' statuses in order (a braced list is evaluated left to right), then the first
// `n` bytes of g_out: "err ok a5".
inline std::string calls(std::initializer_list<uint32_t> statuses, size_t n = 0)
{
    std::string out;
    for (uint32_t st : statuses) out += (out.empty() ? "" : " ") + res(st);
    return out + res(0, n).substr(2);
}
#define BSP_CALLS(...) [](bspsim::Board &) { return bsptest::calls({__VA_ARGS__}); }

// A call case's call: the library call `expr`, rendered by res() with the bytes named after it.
#define BSP_CALL(expr, ...) [](bspsim::Board &) { return bsptest::res(expr __VA_OPT__(, ) __VA_ARGS__); }

// The next `count` calls of `op` (for `key` only, once `skip` matching calls have passed) fail.
struct Fault {
    bspsim::Op op;
    uint32_t count = 1;
    int32_t code = -1;
    uint32_t key = bspsim::kAnyKey, skip = 0;
};

// One case of a family's calls: the board (profile, board id, registers, faults, anything else),
// the call, and all a user sees: what the call rendered, the bus record and the debug log.
struct CallCase {
    const char *name = "";
    const char *profile = "default";
    int board = -1;  // -1: as the profile has it
    std::vector<std::pair<uint32_t, uint8_t>> regs = {};
    std::vector<Fault> faults = {};
    std::function<void(bspsim::Board &)> setup = nullptr;
    std::function<std::string(bspsim::Board &)> call = nullptr;
    std::string out = "ok";
    std::string trace = "", log = "";
};

// Runs CallCases on a board whose id and the predicates the CPLD path choice asks are already
// cached, so that a case records only the calls it makes.
class CallTest : public SimTestWithParam<CallCase> {
protected:
    std::string profile() const override { return GetParam().profile; }
    void SetUp() override
    {
        SimTestWithParam<CallCase>::SetUp();
        if (HasFatalFailure()) return;
        const CallCase &c = GetParam();
        if (c.board >= 0) sim().set_board_id(static_cast<uint8_t>(c.board));
        (void)BSP_IsSmmBoard();
        (void)BSP_Is58304u2pBoard();
        prepare();
        if (IsSkipped()) return;
        forget();
        for (auto [reg, value] : c.regs) sim().set_reg(reg, value);
        for (const Fault &f : c.faults) sim().fail(f.op, f.count, f.code, f.key, f.skip);
        if (c.setup) c.setup(sim());
        std::fill(std::begin(g_out), std::end(g_out), uint8_t{0xEE});
    }
    // What a suite has the library learn before each case (unrecorded); it may skip the case.
    virtual void prepare() {}
    void run() const
    {
        EXPECT_EQ(GetParam().call(sim()), GetParam().out);
        EXPECT_EQ(bus(), GetParam().trace);
        EXPECT_EQ(log_line(), GetParam().log);
    }
    // Bus transfers, chip writes, semaphores, delays and the CPLD driver's calls.
    std::string bus() const
    {
        using bspsim::Op;
        return tr({Op::LocalBusRead, Op::LocalBusWrite, Op::SpiRead, Op::SpiWrite, Op::DflChipByteWrite, Op::SemP,
                   Op::SemV, Op::Delay, Op::CpldGetId, Op::CpldSetNum});
    }
};

}  // namespace bsptest

// One test per row of `table`, each named after the row's `name`.
#define BSP_CASES(prefix, suite, table)                                    \
    INSTANTIATE_TEST_SUITE_P(prefix, suite, ::testing::ValuesIn(table), \
                             [](const auto &info) { return std::string(info.param.name); })

#endif
