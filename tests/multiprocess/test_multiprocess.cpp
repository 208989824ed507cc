// Several processes on one simulated board, as the management processes share one CPLD: the
// RAM semaphore keeps every range whole, and a process killed while it holds the semaphore
// does not keep the others out.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <string>
#include <tuple>
#include <vector>

#include "bmc_bsp.h"
#include "bspsim/sim.hpp"
#include "mp_helpers.h"
#include "robust_futex.h"
#include "platform/sem.h"

namespace {

constexpr uint32_t kSem = 29;
constexpr uint16_t kRange = 0xD99C;  // the 64-byte product configuration record
constexpr uint32_t kLen = 64;
constexpr int kWorkers = 4;
constexpr int kRounds = 2000;

using Pattern = std::array<uint8_t, kLen>;

Pattern pattern(int worker) { return mp::pattern<kLen>(static_cast<unsigned>(worker)); }
bool whole_pattern(const Pattern &read) { return mp::whole_pattern(read, kWorkers); }

// What each worker reports, in memory shared with the parent.
struct Tally { std::atomic<int> rounds, mixed, failed; };

// `n` workers of `rounds` rounds each, started at once. Each writes its own pattern over the
// shared range and reads the range back: another worker may write between the two calls, so the
// read may be someone else's pattern, but never a mixture.
struct Workers {
    Workers(int n, int rounds)
        : rounds(rounds), tallies(mp::shared<Tally>(n))
    {
        for (int w = 0; w < n; ++w) pids.push_back(mp::spawn([this, w] {
            const Pattern mine = pattern(w);
            for (int r = 0; r < this->rounds; ++r, tallies[w].rounds++) {
                Pattern back{};
                if (BSP_SetCpldRamBytes(kRange, mine.data(), kLen) != 0 || BSP_GetCpldRamBytes(kRange, back.data(), kLen) != 0) {
                    tallies[w].failed++;
                } else if (!whole_pattern(back)) {
                    tallies[w].mixed++;
                }
            }
        }));
    }
    // Every worker finished in time, made all its rounds, and read only whole patterns.
    void expect_clean()
    {
        for (size_t w = 0; w < pids.size(); ++w) {
            SCOPED_TRACE("worker " + std::to_string(w));
            int status = -1;
            EXPECT_TRUE(waitpid(pids[w], &status, 0) == pids[w] && WIFEXITED(status) && WEXITSTATUS(status) == 0) << "blocked, or died";
            // rounds made, calls failed, mixed reads
            EXPECT_EQ(std::make_tuple(tallies[w].rounds.load(), tallies[w].failed.load(), tallies[w].mixed.load()), std::make_tuple(rounds, 0, 0));
        }
    }
    int rounds;
    Tally *tallies;
    std::vector<pid_t> pids;
};

// A process that dies holding the semaphore: the kernel gives it back (SEM_UNDO), and the
// processes waiting for it go on, each range whole. (A process killed in the middle of a range
// leaves a half-written range behind, but no lock, for the same reason.)
TEST(MultiProcess, RangesNeverMixAndAHolderKilledBlocksNobody)
{
    SKIP_WITHOUT_ROBUST_FUTEXES();
    // The SMM board reaches its CPLD over the local bus without asking the object framework
    // first, which keeps thousands of rounds quick.
    auto board = bspsim::Board::create("smm");
    pid_t holder = mp::spawn([] { if (BMC_ProcessMutexSem_P(kSem, BMC_SEM_WAIT_FOREVER) == 0) for (;;) pause(); });
    for (int i = 0; i < 5000 && board->sem_value(kSem) != 0; ++i) usleep(1000);
    ASSERT_EQ(board->sem_value(kSem), 0) << "the holder took the semaphore";

    Workers workers(kWorkers, kRounds);
    usleep(300 * 1000);
    for (int w = 0; w < kWorkers; ++w) EXPECT_EQ(workers.tallies[w].rounds, 0) << "worker " << w << " got past the holder";
    EXPECT_TRUE(board->events(bspsim::Op::LocalBusWrite).empty());
    ASSERT_EQ(kill(holder, SIGKILL), 0);
    ASSERT_EQ(waitpid(holder, nullptr, 0), holder);
    workers.expect_clean();
    EXPECT_EQ(board->sem_value(kSem), 1);
    Pattern last{};
    for (uint32_t i = 0; i < kLen; ++i) last[i] = board->ram(kRange + i);
    EXPECT_TRUE(whole_pattern(last)) << "the range holds the last writer's whole pattern";
}

}  // namespace
