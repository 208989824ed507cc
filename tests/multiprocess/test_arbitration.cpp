// Mastership as the boards of one enclosure really contend for it: one process per board, each
// grabbing and giving up mastership in a loop, while the CPLDs arbitrate. At no moment may two
// boards be master, and every request must close its write protect again.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "bmc_bsp.h"
#include "bspsim/mastership.hpp"
#include "mp_helpers.h"
#include "robust_futex.h"

namespace {

constexpr int kRounds = 2000;

struct Tally { std::atomic<int> rounds, failed, two_masters, wins; };

// Whether this board's CPLD shows more than one master among the role fields of 0xE4.
bool two_masters(Tally &t)
{
    uint8_t fields = 0;
    t.failed += BSP_ReadCpldBytes(0xE4, 1, &fields) != 0;
    return mp::masters(fields) > 1;
}

// With `two_claims` the CPLDs are faulty and let a grab win beside another master: the
// observations must then see it.
void contend(const std::string &profile, uint32_t boards, bool two_claims = false)
{
    SKIP_WITHOUT_ROBUST_FUTEXES();
    auto board = bspsim::Board::create(profile);
    ASSERT_EQ(bspsim::board_count(), boards);
    bspsim::allow_two_claims(two_claims);
    auto *tally = mp::shared<Tally>(boards);
    for (uint32_t b = 0; b < boards; ++b) {
        if (fork() != 0) continue;
        alarm(120);
        bspsim::switch_board(b);
        for (Tally &t = tally[b]; t.rounds < kRounds; t.rounds++) {
            uint32_t role = 2;
            t.failed += BSP_GrabBoardMaster() != 0 || BSP_GetBoardMasterOrSlaveState(&role) != 0;
            t.wins += role == 1;
            t.two_masters += two_masters(t);
            t.failed += BSP_AbandonBoardMaster() != 0;
            t.two_masters += two_masters(t);
        }
        _exit(0);
    }
    int wins = 0, seen_two = 0, status = 0;
    for (uint32_t b = 0; b < boards; ++b) EXPECT_TRUE(wait(&status) > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0);
    for (uint32_t b = 0; b < boards; ++b) {
        SCOPED_TRACE("board " + std::to_string(b));
        EXPECT_EQ(std::to_string(tally[b].rounds) + " rounds, failed " + std::to_string(tally[b].failed), std::to_string(kRounds) + " rounds, failed 0");
        wins += tally[b].wins, seen_two += tally[b].two_masters;
        bspsim::switch_board(b);
        EXPECT_EQ(board->reg(0xE2) & 0x0C, 0x0C) << "write protect left open";
        EXPECT_EQ(board->reg(0xE1) & 0x18, 0) << "request left raised";
    }
    // The first grab of all finds no master and wins; in the end every board gave up.
    EXPECT_GT(wins, 0);
    EXPECT_EQ(bspsim::master_slots(), 0);
    EXPECT_EQ(seen_two > 0, two_claims) << seen_two << " observations of two masters";
}

TEST(Arbitration, TwoBoardsNeverBothMaster) { contend("default", 2); }
TEST(Arbitration, FourBoardsNeverTwoMasters) { contend("4u4c", 4); }
TEST(Arbitration, TwoClaimsAreSeen) { contend("default", 2, true); }

}  // namespace
