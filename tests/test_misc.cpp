// Flushing the platform log files to flash.
#include <sys/stat.h>

#include <array>
#include <string>
#include <vector>

#include "bmc_bsp.h"
#include "test_helpers.h"

namespace {

using bspsim::Op;
using bsptest::kLogError;

// In the order they are flushed.
const std::array<std::string, 4> kLogFiles = {
    "/var/log/zelm/app_debug_log",
    "/var/log/zelm/dfm_debug_log",
    "/var/log/zelm/linux_kernel_log",
    "/var/log/zelm/operate_log",
};

class SyncLog2Flash : public bsptest::SimTest {
protected:
    // Creates the files whose bit is set in `present`, each with its own contents.
    void create_files(unsigned present)
    {
        for (size_t i = 0; i < kLogFiles.size(); ++i) {
            if (present & (1u << i)) bsptest::write_file(sim().path_of(kLogFiles[i]), contents(i));
        }
    }
    static std::string contents(size_t i) { return "line " + std::to_string(i) + "\nno newline at the end"; }

    std::vector<std::string> opened() const
    {
        std::vector<std::string> names;
        for (auto &e : events(Op::FileOpen)) names.push_back(e.name);
        return names;
    }
};

class SyncLog2FlashPresence : public SyncLog2Flash, public ::testing::WithParamInterface<unsigned> {};

// Present files are opened in order and left unchanged; each missing one is logged, skipped
// and not created.
TEST_P(SyncLog2FlashPresence, EachFileOnItsOwn)
{
    create_files(GetParam());
    BSP_SyncLog2Flash();
    std::vector<std::string> present, missing;
    for (size_t i = 0; i < kLogFiles.size(); ++i) {
        if (GetParam() & (1u << i)) {
            present.push_back(kLogFiles[i]);
            EXPECT_EQ(bsptest::read_file(sim().path_of(kLogFiles[i])), contents(i));
        } else {
            missing.push_back("0:" + kLogFiles[i] + " is not exist.");
            struct stat st;
            EXPECT_NE(stat(sim().path_of(kLogFiles[i]).c_str(), &st), 0) << "the flush must not create it";
        }
    }
    EXPECT_EQ(opened(), present);
    for (auto &e : events(Op::FileOpen)) EXPECT_EQ(e.result, 0) << e.name;
    EXPECT_EQ(debug_texts(), missing);
    for (auto &l : debug_logs()) EXPECT_EQ(l.file, "bmc_bsp_misc.cpp");
}

INSTANTIATE_TEST_SUITE_P(Misc, SyncLog2FlashPresence, ::testing::Values(0xFu, 0u, 0b0101u),
                         [](const auto &info) { return "present_" + std::to_string(info.param); });

// The second file cannot be opened: logged, and the others are still flushed.
TEST_F(SyncLog2Flash, UnopenableFileIsLoggedAndSkipped)
{
    create_files(0xF);
    sim().fail(Op::FileOpen, 1, -1, bspsim::kAnyKey, 1);
    BSP_SyncLog2Flash();
    auto opens = events(Op::FileOpen);
    ASSERT_EQ(opens.size(), 4u);
    EXPECT_NE(opens[1].flags & bspsim::kFlagInjected, 0u);
    EXPECT_EQ(opens[1].name, kLogFiles[1]);
    auto lines = debug_logs();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, "Open file(" + kLogFiles[1] + ") failed.");
    EXPECT_EQ(lines[0].level, kLogError);
    EXPECT_EQ(lines[0].file, "bmc_bsp_misc.cpp");
    for (size_t i = 0; i < kLogFiles.size(); ++i) EXPECT_EQ(bsptest::read_file(sim().path_of(kLogFiles[i])), contents(i));
}

// A directory in a file's place exists but cannot be opened for appending: a real open failure.
TEST_F(SyncLog2Flash, DirectoryInPlaceOfAFile)
{
    create_files(0b1011);
    ASSERT_EQ(mkdir(sim().path_of(kLogFiles[2]).c_str(), 0755), 0);
    BSP_SyncLog2Flash();
    EXPECT_EQ(debug_texts(), std::vector<std::string>{"0:Open file(" + kLogFiles[2] + ") failed."});
    EXPECT_EQ(opened().size(), 4u);
}

}  // namespace
