// Simulator instances: what a failed create or attach leaves behind (nothing), what it says (one
// line naming the value), damaged state files, and platform calls on a board full of garbage.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "bspsim/sim.hpp"
#include "platform/cpld_drv.h"
#include "platform/dfl.h"
#include "platform/gpio.h"
#include "platform/misc.h"

namespace fs = std::filesystem;

namespace {

// The semaphore sets this process made (their key carries its pid).
std::vector<int> my_sem_sets()
{
    std::ifstream f("/proc/sysvipc/sem");
    std::string line;
    std::getline(f, line);
    std::vector<int> ids;
    for (long key = 0, id = 0; f >> key >> id && std::getline(f, line);) {
        auto k = static_cast<uint32_t>(key);
        if (k >> 24 == bspsim::kSemKeyTag && ((k >> 2) & 0x3FFFFF) == (static_cast<uint32_t>(getpid()) & 0x3FFFFF)) {
            ids.push_back(static_cast<int>(id));
        }
    }
    return ids;
}

void write(const fs::path &path, const std::string &text) { std::ofstream(path) << text; }

// Every test works in its own scratch directory: the home of persistent boards and TMPDIR.
class SimInstance : public ::testing::Test {
protected:
    void SetUp() override
    {
        static const fs::path base = fs::temp_directory_path();
        scratch_ = base / ("sim-instance-" + std::to_string(getpid()));
        fs::create_directories(scratch_ / "tmp");
        for (const char *v : {"BSPSIM_INSTANCE", "BSPSIM_PROFILE", "BSPSIM_PROFILE_DIR", "BSPSIM_BOARD"}) unsetenv(v);
        setenv("BSPSIM_HOME", (scratch_ / "home").c_str(), 1);
        setenv("TMPDIR", (scratch_ / "tmp").c_str(), 1);
    }
    void TearDown() override
    {
        for (int id : my_sem_sets()) semctl(id, 0, IPC_RMID);
        fs::remove_all(scratch_);
    }
    // The Error `fn` throws (a test failure when it throws none).
    static std::string error_of(const std::function<void()> &fn)
    {
        try {
            fn();
        } catch (const bspsim::Error &e) {
            return e.what();
        }
        ADD_FAILURE() << "no bspsim::Error";
        return "";
    }
    fs::path scratch_;
};

TEST_F(SimInstance, CreateRefusesWhatItCannotLoadAndLeavesNothingBehind)
{
    write(scratch_ / "garbage.ini", "this is [not a key file\n");
    write(scratch_ / "section.ini", "[profile]\nbase=default\n[psu]\npsu1=absent\n");
    write(scratch_ / "late.ini", "[profile]\nbase=default\n[cpld]\n0x400=1\n");
    write(scratch_ / "base.ini", "[profile]\nbase=nosuch\n");
    struct Case {
        std::string profile, says;
    };
    for (const Case &c : std::vector<Case>{
             {.profile = "", .says = "empty profile name"},
             {.profile = "nosuch", .says = "no profile nosuch in "},
             {.profile = "/nonexistent/x.ini", .says = "/nonexistent/x.ini: no such file"},
             {.profile = scratch_ / "garbage.ini", .says = "garbage.ini: "},
             {.profile = scratch_ / "section.ini", .says = "[psu] no device model reads this section"},
             {.profile = scratch_ / "late.ini", .says = "[cpld] register out of range: 0x400"},
             {.profile = scratch_ / "base.ini", .says = "no profile nosuch"},
         }) {
        EXPECT_NE(error_of([&] { bspsim::Board::create(c.profile); }).find(c.says), std::string::npos) << c.profile;
    }
    EXPECT_TRUE(fs::is_empty(scratch_ / "tmp")) << "no directory or state.new left";
    EXPECT_TRUE(my_sem_sets().empty());
    {
        auto board = bspsim::Board::create("smm");
        EXPECT_TRUE(fs::exists(fs::path(board->dir()) / ".bspsim-instance"));
        EXPECT_EQ(my_sem_sets().size(), 1u);
    }
    EXPECT_TRUE(my_sem_sets().empty());
    EXPECT_TRUE(fs::is_empty(scratch_ / "tmp"));
}

TEST_F(SimInstance, PersistentRefusalsNameTheValueAndTouchNothing)
{
    std::string dir = bspsim::attach_persistent("smm");
    write(fs::path(getenv("BSPSIM_HOME")) / "notes.txt", "keep\n");
    auto inode = [&] {
        struct stat st {};
        stat((dir + "/state").c_str(), &st);
        return st.st_ino;
    };
    const ino_t kept = inode();
    write(scratch_ / "file", "");
    struct Case {
        const char *env;  // nullptr: no variable
        std::string value = {}, profile, says;
        bool attach_fails = true;  // false: attaching to the existing board needs nothing it lacks
    };
    for (const Case &c : std::vector<Case>{
             {.env = nullptr, .profile = "", .says = "profile name ''"},
             {.env = nullptr, .profile = "../smm", .says = "profile name '../smm'"},
             {.env = nullptr, .profile = "nosuch", .says = "no profile nosuch"},
             {.env = "BSPSIM_PROFILE_DIR", .value = "/nonexistent", .profile = "smm", .says = "BSPSIM_PROFILE_DIR /nonexistent: not a directory", .attach_fails = false},
             {.env = "BSPSIM_HOME", .value = "/dev/null", .profile = "smm", .says = "BSPSIM_HOME /dev/null: not a directory"},
             {.env = "BSPSIM_HOME", .value = scratch_ / "file/x", .profile = "smm", .says = "file/x: not a directory"},
             {.env = "BSPSIM_INSTANCE", .value = "/nonexistent", .profile = "smm", .says = "BSPSIM_INSTANCE /nonexistent: no simulated board"},
         }) {
        std::string home = getenv("BSPSIM_HOME");
        if (c.env) setenv(c.env, c.value.c_str(), 1);
        EXPECT_NE(error_of([&] { bspsim::reset_persistent(c.profile); }).find(c.says), std::string::npos) << c.says;
        if (c.attach_fails) {
            EXPECT_NE(error_of([&] { bspsim::attach_persistent(c.profile); }).find(c.says), std::string::npos);
        }
        if (c.env) unsetenv(c.env);
        setenv("BSPSIM_HOME", home.c_str(), 1);
    }
    EXPECT_EQ(inode(), kept) << "the board was kept";
    EXPECT_TRUE(fs::exists(fs::path(getenv("BSPSIM_HOME")) / "notes.txt"));
    EXPECT_EQ(my_sem_sets().size(), 1u);
    // A directory the simulator did not make is never replaced.
    fs::create_directories(fs::path(getenv("BSPSIM_HOME")) / "default");
    EXPECT_NE(error_of([] { bspsim::reset_persistent("default"); }).find("is not a simulated board"), std::string::npos);
}

TEST_F(SimInstance, ProfileAndBoardComeFromTheEnvironment)
{
    setenv("BSPSIM_PROFILE", "smm", 1);
    EXPECT_EQ(bspsim::default_profile(), "smm");
    EXPECT_EQ(fs::path(bspsim::attach_persistent()).filename(), "smm");
    uint8_t level = 0;
    EXPECT_EQ(gpio_read(42, &level, 0), 0);
    EXPECT_EQ(level, 1) << "the smm profile's factory-frame pin";
    setenv("BSPSIM_BOARD", "1", 1);
    EXPECT_NE(error_of([] { bspsim::Board::create("default"); }).find("BSPSIM_BOARD 1: the enclosure in "), std::string::npos);
    setenv("BSPSIM_BOARD", "x", 1);
    EXPECT_NE(error_of([] { bspsim::Board::create("default"); }).find("'x': not a board number"), std::string::npos);
    EXPECT_TRUE(fs::is_empty(scratch_ / "tmp"));
}

// Damaged state files: the persistent board is rebuilt and said so; the old semaphore set goes
// when the damaged file still names it.
TEST_F(SimInstance, DamagedStateIsRebuiltAndSaidSo)
{
    struct Case {
        const char *name;
        off_t size;           // the file is cut to this size (-1: kept)
        off_t at;             // where `bytes` are written
        uint32_t bytes;
        bool old_set_removed;  // false: the damaged file no longer names it
    };
    for (const Case &c : std::vector<Case>{
             {.name = "empty", .size = 0, .at = 0, .bytes = 0, .old_set_removed = false},
             {.name = "truncated", .size = 4096, .at = 0, .bytes = 0x53505342, .old_set_removed = true},
             {.name = "wrong magic", .size = -1, .at = 0, .bytes = 0xDEADBEEF, .old_set_removed = false},
             {.name = "wrong layout", .size = -1, .at = 8, .bytes = 99, .old_set_removed = true},
             {.name = "garbage lock", .size = -1, .at = 144, .bytes = 0xFFFFFFFF, .old_set_removed = true},
         }) {
        SCOPED_TRACE(c.name);
        fs::path state = fs::path(bspsim::attach_persistent("smm")) / "state";
        const std::vector<int> old = my_sem_sets();
        ASSERT_EQ(old.size(), 1u);
        int fd = open(state.c_str(), O_RDWR);
        if (c.size >= 0) {
            ASSERT_EQ(ftruncate(fd, c.size), 0);
        }
        if (c.bytes) {
            ASSERT_EQ(pwrite(fd, &c.bytes, 4, c.at), 4);
        }
        close(fd);
        testing::internal::CaptureStderr();
        bspsim::attach_persistent("smm");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "bspsim: board state damaged, rebuilt from profile smm\n");
        EXPECT_EQ(my_sem_sets().size(), c.old_set_removed ? 1u : 2u);
        uint8_t level = 0;
        EXPECT_EQ(gpio_read(42, &level, 0), 0);
        EXPECT_EQ(level, 1);
        semctl(old[0], 0, IPC_RMID);
    }
}

// Garbage over the board's regions (the end of the file): platform calls fail or answer
// nonsense, but never crash the caller.
TEST_F(SimInstance, GarbageInTheBoardFailsCallsNotTheProcess)
{
    auto board = bspsim::Board::create("default");
    fs::path state = fs::path(board->dir()) / "state";
    const auto size = static_cast<size_t>(fs::file_size(state));
    std::string garbage(size / 5, '\xFF');
    int fd = open(state.c_str(), O_RDWR);
    ASSERT_EQ(pwrite(fd, garbage.data(), garbage.size(), static_cast<off_t>(size - garbage.size())),
              static_cast<ssize_t>(garbage.size()));
    close(fd);
    pid_t child = fork();
    if (child == 0) {
        CpldIdRequest id{.kind = 3, .index = 0, .reserved = {}, .count = 0, .ids = {}};
        uint8_t level = 0;
        char text[64] = {};
        OBJ_HANDLE handle = 0;
        GSList *list = nullptr;
        int bad = cpld_get_id(&id) != -1;
        bad += gpio_read(1, &level, 0) != 0;
        get_uboot_ver(0, text);
        bad += dfl_get_object_name(0x1000) != nullptr;
        dfl_get_object_handle("cpld1", &handle);
        dfl_get_object_list("Cpld", &list);
        g_slist_free(list);
        bad += dfl_block_read(0x1000, "Mcu", 0, 1, text) == 0;
        bad += dfl_call_class_method(0x1000, "GetPst", nullptr, nullptr, nullptr) == 0;
        board->events();
        _exit(bad);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0) << "calls that answered from garbage";
}

}  // namespace
