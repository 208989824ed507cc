// Simulator instances: what a failed create or attach leaves behind (nothing), what it says (one
// line naming the value), damaged state files, and platform calls on a board full of garbage.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/sem.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "bspsim/sim.hpp"
#include "platform/cpld_drv.h"
#include "platform/dfl.h"
#include "platform/gpio.h"

namespace fs = std::filesystem;

namespace {

// The semaphore sets this process made (their key carries its pid).
std::vector<int> my_sem_sets()
{
    std::vector<int> ids;
    std::ifstream f("/proc/sysvipc/sem");
    long key = 0, id = 0;
    for (std::string line; std::getline(f, line);) {
        if (std::sscanf(line.c_str(), "%ld %ld", &key, &id) == 2 &&
            static_cast<uint32_t>(key) >> 2 == (bspsim::kSemKeyTag << 22 | (static_cast<uint32_t>(getpid()) & 0x3FFFFF))) {
            ids.push_back(static_cast<int>(id));
        }
    }
    return ids;
}

// What `fn` throws as bspsim::Error ("none" when it throws nothing).
std::string error_of(const std::function<void()> &fn)
{
    try {
        fn();
    } catch (const bspsim::Error &e) {
        return e.what();
    }
    return "none";
}

// Every test works in its own scratch directory: the home of persistent boards, and TMPDIR.
class SimInstance : public ::testing::Test {
protected:
    void SetUp() override
    {
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
        bool attach_fails = true;  // false: attaching to the existing board needs nothing it lacks
    };
    void expect_refused(const Case &c, const std::function<void()> &call)
    {
        if (c.env) setenv(c.env, c.value.c_str(), 1);
        if (!c.text.empty()) std::ofstream(c.profile) << c.text;
        EXPECT_NE(error_of(call).find(c.says), std::string::npos) << c.says;
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
             {.profile = "nosuch", .says = "no profile nosuch in "},
             {.profile = "/nonexistent/x.ini", .says = "profile /nonexistent/x.ini: no such file"},
             {.profile = scratch_ / "a.ini", .text = "[not a key file\n", .says = "a.ini: "},
             {.profile = scratch_ / "b.ini", .text = "[psu]\npsu1=absent\n", .says = "[psu] no device model reads this section"},
             {.profile = scratch_ / "c.ini", .text = "[cpld]\n0x400=1\n", .says = "[cpld] register out of range: 0x400"},
             {.profile = scratch_ / "d.ini", .text = "[profile]\nbase=nosuch\n", .says = "no profile nosuch"},
             {.env = "BSPSIM_PROFILE_DIR", .value = "/nonexistent", .says = "BSPSIM_PROFILE_DIR /nonexistent: not a directory"},
             {.env = "BSPSIM_BOARD", .value = "1", .says = "BSPSIM_BOARD 1: the enclosure in "},
             {.env = "BSPSIM_BOARD", .value = "x", .says = "BSPSIM_BOARD 'x': not a board number"},
         }) {
        expect_refused(c, [&] { bspsim::Board::create(c.profile); });
    }
    EXPECT_TRUE(fs::is_empty(tmp_)) << "no directory or state.new left";
    EXPECT_TRUE(my_sem_sets().empty());
    auto board = bspsim::Board::create("smm");
    EXPECT_EQ(my_sem_sets().size(), 1u) << "what a create makes, its destroy takes away";
    board.reset();
    EXPECT_TRUE(my_sem_sets().empty());
    EXPECT_TRUE(fs::is_empty(tmp_));
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
             {.env = "BSPSIM_PROFILE_DIR", .value = "/nonexistent", .says = "BSPSIM_PROFILE_DIR /nonexistent: not a directory", .attach_fails = false},
             {.env = "BSPSIM_HOME", .value = "/dev/null", .says = "BSPSIM_HOME /dev/null: not a directory"},
             {.env = "BSPSIM_HOME", .value = home_ / "notes.txt/x", .says = "notes.txt/x: not a directory"},
             {.env = "BSPSIM_INSTANCE", .value = "/nonexistent", .says = "BSPSIM_INSTANCE /nonexistent: no simulated board"},
         }) {
        expect_refused(c, [&] { bspsim::reset_persistent(c.profile); });
        if (c.attach_fails) expect_refused(c, [&] { bspsim::attach_persistent(c.profile); });
    }
    EXPECT_TRUE(fs::equivalent(state, scratch_ / "kept")) << "the board was kept";
    EXPECT_TRUE(fs::exists(home_ / "notes.txt"));
    EXPECT_EQ(my_sem_sets().size(), 1u);
    fs::create_directories(home_ / "default");
    EXPECT_NE(error_of([] { bspsim::reset_persistent("default"); }).find("is not a simulated board"), std::string::npos);
    setenv("BSPSIM_PROFILE", "smm", 1);
    EXPECT_EQ(bspsim::attach_persistent(), state.parent_path()) << "BSPSIM_PROFILE names the profile";
}

// A damaged state file is rebuilt and said so; the old semaphore set goes too (the instance's
// marker names it).
TEST_F(SimInstance, DamagedStateIsRebuiltAndSaidSo)
{
    struct Case {
        off_t size = -1;  // the file is cut to this size (-1: kept)
        off_t at = 0;     // where `word` is written (none when 0)
        uint32_t word = 0;
    };
    for (const Case &c : std::vector<Case>{
             {.size = 0},
             {.size = 4096},
             {.word = 0xDEADBEEF},     // magic
             {.at = 8, .word = 99},    // layout version
             {.at = 144, .word = ~0u}, // the lock's kind
         }) {
        fs::path state = fs::path(bspsim::attach_persistent("smm")) / "state";
        const std::vector<int> old = my_sem_sets();
        ASSERT_EQ(old.size(), 1u);
        int fd = open(state.c_str(), O_RDWR);
        EXPECT_TRUE((c.size < 0 || ftruncate(fd, c.size) == 0) && (!c.word || pwrite(fd, &c.word, 4, c.at) == 4));
        close(fd);
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
    std::string garbage(fs::file_size(state) / 5, '\xFF');
    int fd = open(state.c_str(), O_RDWR);
    EXPECT_EQ(pwrite(fd, garbage.data(), garbage.size(), static_cast<off_t>(fs::file_size(state) - garbage.size())),
              static_cast<ssize_t>(garbage.size()));
    close(fd);
    CpldIdRequest id{.kind = 3, .index = 0, .reserved = {}, .count = 0, .ids = {}};
    EXPECT_EQ(cpld_get_id(&id), -1) << "a CPLD count beyond what the driver keeps";
    EXPECT_EQ(dfl_get_object_name(0x1000), nullptr);
    uint8_t block[4] = {};
    EXPECT_NE(dfl_block_read(0x1000, "Mcu", 0, 1, block), 0);
    EXPECT_NE(dfl_call_class_method(0x1000, "GetPst", nullptr, nullptr, nullptr), 0);
}

}  // namespace
