// Mastership as the boards of one enclosure really contend for it: one process per board, each
// grabbing and giving up mastership in a loop, while the CPLDs arbitrate. At no moment may two
// boards be master, and every request must close its write protect again.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <tuple>
#include <vector>

#include "bmc_bsp.h"
#include "bspsim/mastership.hpp"
#include "bspsim/sim.hpp"

namespace {

constexpr int kRounds = 2000;

struct Tally { std::atomic<int> rounds, failed, two_masters, wins; };

// Masters among the role fields of register 0xE4, as this board's CPLD shows them.
int masters_seen(bool *ok)
{
    uint8_t fields = 0;
    *ok = BSP_ReadCpldBytes(0xE4, 1, &fields) == 0;
    int n = 0;
    for (int s = 0; s < 4; ++s) n += ((fields >> (2 * s)) & 3) == 1;
    return n;
}

// With `two_claims`, the CPLDs are faulty and let a grab win beside another master: the
// observations must then see it.
void contend(const std::string &profile, uint32_t boards, bool two_claims = false)
{
    auto board = bspsim::Board::create(profile);
    ASSERT_EQ(bspsim::board_count(), boards);
    bspsim::allow_two_claims(two_claims);
    auto *tallies = new (mmap(nullptr, sizeof(Tally) * boards, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
        Tally[boards]{};
    std::vector<pid_t> pids;
    for (uint32_t b = 0; b < boards; ++b) {
        pid_t pid = fork();
        if (pid == 0) {
            alarm(120);
            bspsim::switch_board(b);
            Tally &t = tallies[b];
            for (bool read = false; t.rounds < kRounds; t.rounds++) {
                uint32_t role = 2;
                const bool ok = BSP_GrabBoardMaster() == 0 && BSP_GetBoardMasterOrSlaveState(&role) == 0;
                t.wins += role == 1;
                t.two_masters += masters_seen(&read) > 1;
                t.failed += !(ok && read && BSP_AbandonBoardMaster() == 0);
                t.two_masters += masters_seen(&read) > 1;
                t.failed += !read;
            }
            _exit(0);
        }
        pids.push_back(pid);
    }
    int wins = 0, two_masters = 0;
    for (uint32_t b = 0; b < boards; ++b) {
        SCOPED_TRACE("board " + std::to_string(b));
        int status = -1;
        EXPECT_TRUE(waitpid(pids[b], &status, 0) == pids[b] && WIFEXITED(status) && WEXITSTATUS(status) == 0);
        // rounds made, calls failed, observations of two masters
        EXPECT_EQ(std::make_tuple(tallies[b].rounds.load(), tallies[b].failed.load()), std::make_tuple(kRounds, 0));
        wins += tallies[b].wins;
        two_masters += tallies[b].two_masters;
        bspsim::switch_board(b);
        EXPECT_EQ(board->reg(0xE2) & 0x0C, 0x0C) << "write protect left open";
        EXPECT_EQ(board->reg(0xE1) & 0x18, 0) << "request left raised";
    }
    // The first grab of all finds no master and wins; in the end every board gave up.
    EXPECT_GT(wins, 0);
    EXPECT_EQ(bspsim::master_slots(), 0);
    if (two_claims) {
        EXPECT_GT(two_masters, 0) << "the faulty arbitration went unseen";
    } else {
        EXPECT_EQ(two_masters, 0);
    }
    munmap(tallies, sizeof(Tally) * boards);
}

TEST(Arbitration, TwoBoardsNeverBothMaster) { contend("default", 2); }
TEST(Arbitration, FourBoardsNeverTwoMasters) { contend("4u4c", 4); }
TEST(Arbitration, TwoClaimsAreSeen) { contend("default", 2, true); }

}  // namespace
