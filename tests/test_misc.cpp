// Miscellaneous services: flushing the platform log files to flash. Also the interim enclosure,
// slot and fan-board calls, which answer a failure and touch nothing yet.
#include <sys/stat.h>

#include <filesystem>

#include "test_helpers.h"

namespace {

using bspsim::Op, bsptest::PrintTo;

// In the order they are flushed.
const std::string kLogFiles[] = {"/var/log/zelm/app_debug_log", "/var/log/zelm/dfm_debug_log",
                                 "/var/log/zelm/linux_kernel_log", "/var/log/zelm/operate_log"};

// Bit i of `present`: file i exists. The open of file `failing` fails; a directory stands in the
// place of file `directory`: it cannot be opened for appending.
struct FlushCase { const char *name; unsigned present; int failing = -1, directory = -1; };

const FlushCase kFlushes[] = {
    {"all_present", 0xF}, {"none_present", 0}, {"some_present", 0b0101}, {"open_fails", 0xF, 1}, {"directory", 0b1011, -1, 2},
};

using SyncLog2Flash = bsptest::SimTestWithParam<FlushCase>;

// Present files are opened in order and left as they are; a missing one is logged, skipped and not
// created; one that cannot be opened is logged and the others are flushed all the same.
TEST_P(SyncLog2Flash, EachFileOnItsOwn)
{
    const FlushCase &c = GetParam();
    auto contents = [](int i) { return "line " + std::to_string(i) + "\nno newline at the end"; };
    for (int i = 0; i < 4; ++i)
        if (c.present & (1u << i)) bsptest::write_file(sim().path_of(kLogFiles[i]), contents(i));
    ASSERT_TRUE(c.directory < 0 || mkdir(sim().path_of(kLogFiles[c.directory]).c_str(), 0755) == 0);
    if (c.failing >= 0) sim().fail(Op::FileOpen, 1, -1, bspsim::kAnyKey, c.failing);
    auto open_fds = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto fds_before = open_fds();
    BSP_SyncLog2Flash();
    EXPECT_EQ(open_fds(), fds_before) << "every opened file is closed again";
    std::string opened, logs;
    for (int i = 0; i < 4; ++i) {
        const std::string &f = kLogFiles[i];
        const bool file = c.present & (1u << i), there = file || i == c.directory, refused = i == c.failing || i == c.directory;
        if (there) opened += (opened.empty() ? "fopen " : " fopen ") + f + (refused ? "!-1" : "");
        std::string log = !there ? f + " is not exist." : refused ? "Open file(" + f + ") failed." : "";
        if (!log.empty()) logs += (logs.empty() ? "0:" : " | 0:") + log;
        struct stat st;
        std::string now = file ? bsptest::read_file(sim().path_of(f)) : stat(sim().path_of(f).c_str(), &st) ? "none" : "dir";
        EXPECT_EQ(now, file ? contents(i) : there ? "dir" : "none") << "left as it was: " << f;
    }
    EXPECT_EQ(tr({Op::FileOpen}), opened);
    EXPECT_EQ(log_line(), logs);
}

BSP_CASES(Misc, SyncLog2Flash, kFlushes);

using Interim = bsptest::SimTest;

TEST_F(Interim, FailAndTouchNothing)
{
    uint16_t frame = 0x1234;
    uint8_t slot = 0x56, mode = 0x78;
    EXPECT_EQ(BSP_GetFrameType(&frame) & BSP_GetBoardSlot(&slot) & BSP_SetSmmMcuMode(1), -1);
    BSP_GetSmmMcuMode(&mode);
    EXPECT_EQ(bsptest::hex(frame) + bsptest::hex(slot) + bsptest::hex(mode), "0x12340x560x78");
    EXPECT_EQ(tr() + log_line(), "");
}

}  // namespace
