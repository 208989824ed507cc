// Shared by the family suites: every test gets its own simulated board, and short ways to ask
// what the library logged and which platform calls it made. The library caches per process
// (board id, predicate answers, CRC tables), so a second fixture test in one process is
// refused loudly rather than left to fail in confusing ways.
#ifndef BSP_TESTS_TEST_HELPERS_H
#define BSP_TESTS_TEST_HELPERS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "bspsim/sim.hpp"

namespace bsptest {

inline constexpr uint32_t kErr = 0xFFFFFFFFu;

// Levels of the debug log.
inline constexpr int32_t kLogError = 0;
inline constexpr int32_t kLogNotice = 1;
inline constexpr int32_t kLogTrace = 2;

inline std::string hex(uint32_t v)
{
    std::ostringstream s;
    s << "0x" << std::hex << std::uppercase << v;
    return s.str();
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

    // Debug-log lines, without the operation log.
    std::vector<bspsim::LogLine> debug_logs() const
    {
        std::vector<bspsim::LogLine> out;
        for (auto &l : board_->logs()) {
            if (l.kind == bspsim::LogLine::Debug) out.push_back(l);
        }
        return out;
    }

    // "level:text" of every debug-log line, in order: compact to compare whole sequences.
    std::vector<std::string> debug_texts() const
    {
        std::vector<std::string> out;
        for (auto &l : debug_logs()) out.push_back(std::to_string(l.level) + ":" + l.text);
        return out;
    }

    // How many debug-log lines have exactly this level and text.
    size_t count_logs(int32_t level, const std::string &text) const
    {
        size_t n = 0;
        for (auto &l : debug_logs()) n += l.level == level && l.text == text;
        return n;
    }

    std::vector<bspsim::Event> events(bspsim::Op op) const { return board_->events(op); }
    size_t count(bspsim::Op op) const { return board_->events(op).size(); }

private:
    std::unique_ptr<bspsim::Board> board_;
};

// A SimTest with a parameter, for tables of cases.
template <typename T>
class SimTestWithParam : public SimTest, public ::testing::WithParamInterface<T> {};

}  // namespace bsptest

#endif
