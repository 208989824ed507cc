// Simulator instances: what a failed create or attach leaves behind (nothing), what it says (one
// line naming the value), damaged state files, and platform calls on a board full of garbage.
// bspctl's instance cases show the rest through the tool: an unknown profile, bad homes,
// instances and profile folders, a failed reset keeping the board, the profile from the
// environment, a state file cut to nothing, and a CPLD count of garbage.
#include <gtest/gtest.h>
#include <sys/sem.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "bspsim/sim.hpp"
#include "platform/dfl.h"
#include "platform/gpio.h"

namespace fs = std::filesystem;

namespace {

// Sets keyed with this pid that were there before the test: a persistent board of an earlier
// process that had the same pid (pids wrap) owns them.
std::vector<int> g_stale_sets;

// The semaphore sets this process made (their key carries its pid).
std::vector<int> my_sem_sets()
{
    std::vector<int> ids;
    std::ifstream f("/proc/sysvipc/sem");
    const uint32_t mine = bspsim::kSemKeyTag << 22 | (static_cast<uint32_t>(getpid()) & 0x3FFFFF);
    f.ignore(1 << 12, '\n');
    for (long key = 0, id = 0; f >> key >> id; f.ignore(1 << 12, '\n')) {
        if (static_cast<uint32_t>(key) >> 2 == mine && std::find(g_stale_sets.begin(), g_stale_sets.end(), id) == g_stale_sets.end())
            ids.push_back(static_cast<int>(id));
    }
    return ids;
}

// Writes `bytes` over `file` at `at` (counted from the end when negative).
void overwrite(const fs::path &file, off_t at, const std::string &bytes)
{
    std::fstream(file, std::ios::in | std::ios::out | std::ios::binary).seekp(at, at < 0 ? std::ios::end : std::ios::beg) << bytes;
}

// Every test works in its own scratch directory: the home of persistent boards, and TMPDIR.
class SimInstance : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_stale_sets.clear();
        g_stale_sets = my_sem_sets();
        fs::create_directories(tmp_);
        for (const char *v : {"BSPSIM_INSTANCE", "BSPSIM_PROFILE", "BSPSIM_PROFILE_DIR", "BSPSIM_BOARD"}) unsetenv(v);
        setenv("BSPSIM_HOME", home_.c_str(), 1);
        setenv("TMPDIR", tmp_.c_str(), 1);
    }
    void TearDown() override
    {
        for (int id : my_sem_sets()) semctl(id, 0, IPC_RMID);
        fs::remove_all(scratch_);
    }
    // A call made with one environment variable set, or a profile file written first.
    struct Case {
        const char *env = nullptr;
        std::string value = {}, profile = "smm", text = {}, says;
    };
    void expect_refused(const Case &c, const std::function<void()> &call)
    {
        if (c.env) setenv(c.env, c.value.c_str(), 1);
        if (!c.text.empty()) std::ofstream(c.profile) << c.text;
        std::string said = "none";
        try {
            call();
        } catch (const bspsim::Error &e) {
            said = e.what();
        }
        EXPECT_NE(said.find(c.says), std::string::npos) << said;
        if (c.env) unsetenv(c.env);
        setenv("BSPSIM_HOME", home_.c_str(), 1);
    }
    const fs::path scratch_ = fs::path("/tmp") / ("sim-instance-" + std::to_string(getpid()));
    const fs::path home_ = scratch_ / "home", tmp_ = scratch_ / "tmp";
};

TEST_F(SimInstance, CreateRefusesWhatItCannotLoadAndLeavesNothingBehind)
{
    for (const Case &c : std::vector<Case>{
             {.profile = "", .says = "empty profile name"},
             {.profile = "/nonexistent/x.ini", .says = "profile /nonexistent/x.ini: no such file"},
             {.profile = scratch_ / "a.ini", .text = "[not a key file\n", .says = "a.ini: "},
             {.profile = scratch_ / "b.ini", .text = "[nosuch]\nx=1\n", .says = "[nosuch] no device model reads this section"},
             {.profile = scratch_ / "e.ini", .text = "[psu]\npsu1=absent,lost\n", .says = "[psu] psu1: unknown state 'lost'"},
             {.profile = scratch_ / "c.ini", .text = "[cpld]\n0x400=1\n", .says = "[cpld] register out of range: 0x400"},
             {.profile = scratch_ / "d.ini", .text = "[profile]\nbase=nosuch\n", .says = "no profile nosuch"},
             {.env = "BSPSIM_BOARD", .value = "1", .says = "BSPSIM_BOARD 1: the enclosure in "},
             {.env = "BSPSIM_BOARD", .value = "x", .says = "BSPSIM_BOARD 'x': not a board number"},
         }) {
        expect_refused(c, [&] { bspsim::Board::create(c.profile); });
    }
    EXPECT_TRUE(fs::is_empty(tmp_) && my_sem_sets().empty()) << "no directory, state.new or semaphore set left";
    auto board = bspsim::Board::create("smm");
    EXPECT_EQ(my_sem_sets().size(), 1u) << "what a create makes, its destroy takes away";
    board.reset();
    EXPECT_TRUE(fs::is_empty(tmp_) && my_sem_sets().empty());
}

TEST_F(SimInstance, PersistentRefusalsNameTheValueAndTouchNothing)
{
    const fs::path state = fs::path(bspsim::attach_persistent("smm")) / "state";
    fs::create_hard_link(state, scratch_ / "kept");
    std::ofstream(home_ / "notes.txt") << "keep\n";
    for (const Case &c : std::vector<Case>{
             {.profile = "", .says = "profile name ''"},
             {.profile = "../smm", .says = "profile name '../smm'"},
             {.profile = "nosuch", .says = "no profile nosuch"},
             {.env = "BSPSIM_HOME", .value = "/dev/null", .says = "BSPSIM_HOME /dev/null: not a directory"},
             {.env = "BSPSIM_HOME", .value = home_ / "notes.txt/x", .says = "notes.txt/x: not a directory"},
             {.env = "BSPSIM_INSTANCE", .value = "/nonexistent", .says = "BSPSIM_INSTANCE /nonexistent: no simulated board"},
         }) {
        expect_refused(c, [&] { bspsim::reset_persistent(c.profile); });
        expect_refused(c, [&] { bspsim::attach_persistent(c.profile); });
    }
    EXPECT_TRUE(fs::equivalent(state, scratch_ / "kept") && fs::exists(home_ / "notes.txt")) << "the board and others' files were kept";
    EXPECT_EQ(my_sem_sets().size(), 1u);
    fs::create_directories(home_ / "default");
    expect_refused({.says = "default is not a simulated board"}, [] { bspsim::reset_persistent("default"); });
}

// A damaged state file is rebuilt and said so; the old semaphore set goes too (the instance's
// marker names it).
TEST_F(SimInstance, DamagedStateIsRebuiltAndSaidSo)
{
    struct Damage { off_t size = -1, at = 0; uint32_t word = 0; };  // cut to `size` (-1: kept); `word` (0: none) at `at`
    for (const Damage &c : std::vector<Damage>{
             {.size = 4096},
             {.word = 0xDEADBEEF},     // magic
             {.at = 8, .word = 99},    // layout version
             {.at = static_cast<off_t>(bspsim::state_lock_offset() + offsetof(pthread_mutex_t, __data.__kind)), .word = ~0u},
         }) {
        fs::path state = fs::path(bspsim::attach_persistent("smm")) / "state";
        ASSERT_EQ(my_sem_sets().size(), 1u);
        if (c.size >= 0) fs::resize_file(state, c.size);
        if (c.word) overwrite(state, c.at, std::string(reinterpret_cast<const char *>(&c.word), 4));
        testing::internal::CaptureStderr();
        bspsim::attach_persistent("smm");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "bspsim: board state damaged, rebuilt from profile smm\n");
        EXPECT_EQ(my_sem_sets().size(), 1u) << "the old set goes: " << c.size << " " << c.at;
        uint8_t level = 0;
        EXPECT_EQ(gpio_read(42, &level, 0) + level, 1);
    }
}

// Garbage over the board's regions (the end of the file): platform calls fail rather than
// trust a stored count or name.
TEST_F(SimInstance, GarbageInTheBoardFailsCallsNotTheProcess)
{
    auto board = bspsim::Board::create();
    fs::path state = fs::path(board->dir()) / "state";
    const auto fifth = static_cast<off_t>(fs::file_size(state) / 5);
    overwrite(state, -fifth, std::string(fifth, '\xFF'));
    EXPECT_EQ(dfl_get_object_name(0x1000), nullptr);
    uint8_t block[4] = {};
    EXPECT_NE(dfl_block_read(0x1000, "Mcu", 0, 1, block), 0);
    EXPECT_NE(dfl_call_class_method(0x1000, "GetPst", nullptr, nullptr, nullptr), 0);
}

}  // namespace
