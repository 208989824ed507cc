// Several processes on one simulated board, as the management processes share one CPLD: the
// RAM semaphore keeps every range whole, and a process killed while it holds the semaphore
// does not keep the others out.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bmc_bsp.h"
#include "bspsim/sim.hpp"
#include "platform/sem.h"

namespace {

using namespace std::chrono_literals;

constexpr uint32_t kSem = 29;
constexpr uint16_t kRange = 0xD99C;  // the 64-byte product configuration record
constexpr uint32_t kLen = 64;
constexpr int kWorkers = 4;
constexpr int kRounds = 2000;
constexpr auto kDeadline = 240s;
constexpr int kRoundsAfter = 200;  // of the workers that come after a process was killed

using Pattern = std::array<uint8_t, kLen>;

// Worker w writes bytes w*64 .. w*64+63: no byte value is shared between two patterns, so a
// read made of two of them is seen at once.
Pattern pattern(int worker)
{
    Pattern p{};
    for (uint32_t i = 0; i < kLen; ++i) p[i] = static_cast<uint8_t>(worker * kLen + i);
    return p;
}

// The first byte says whose pattern it must be.
bool whole_pattern(const Pattern &read) { return read[0] / kLen < kWorkers && read == pattern(read[0] / kLen); }

// What each worker reports, in memory shared with the parent.
struct Tally {
    std::atomic<int> rounds;
    std::atomic<int> mixed;
    std::atomic<int> failed;
    Pattern first_mixed;
};

// Tallies in memory the children share with the parent (a test process lives for one test).
Tally *shared_tallies(size_t n)
{
    void *p = mmap(nullptr, sizeof(Tally) * n, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) throw std::runtime_error("mmap failed");
    return new (p) Tally[n]{};
}

// Writes its own pattern over the shared range and reads the range back, `rounds` times.
// Another worker may write between the two calls, so the read may be someone else's pattern,
// but never a mixture.
[[noreturn]] void worker(int id, int rounds, Tally &tally)
{
    const Pattern mine = pattern(id);
    for (int r = 0; r < rounds; ++r) {
        if (BSP_SetCpldRamBytes(kRange, mine.data(), kLen) != 0) tally.failed++;
        Pattern back{};
        if (BSP_GetCpldRamBytes(kRange, back.data(), kLen) != 0) {
            tally.failed++;
        } else if (!whole_pattern(back) && tally.mixed++ == 0) {
            tally.first_mixed = back;
        }
        tally.rounds++;
    }
    _exit(0);
}

pid_t spawn(const std::function<void()> &body)
{
    pid_t pid = fork();
    if (pid == 0) {
        body();
        _exit(0);
    }
    return pid;
}

// Waits for every child; one still running at the deadline is killed (status -1).
std::vector<int> wait_all(const std::vector<pid_t> &pids)
{
    auto until = std::chrono::steady_clock::now() + kDeadline;
    std::vector<int> statuses(pids.size(), -1);
    for (size_t i = 0; i < pids.size(); ++i) {
        while (waitpid(pids[i], &statuses[i], WNOHANG) == 0 && std::chrono::steady_clock::now() < until) {
            std::this_thread::sleep_for(5ms);
        }
        if (statuses[i] == -1 && kill(pids[i], SIGKILL) == 0) waitpid(pids[i], nullptr, 0);
    }
    return statuses;
}

// `n` workers of `rounds` rounds each, started at once.
struct Workers {
    Workers(int n, int rounds) : rounds(rounds), tallies(shared_tallies(static_cast<size_t>(n)))
    {
        for (int w = 0; w < n; ++w) pids.push_back(spawn([&, w] { worker(w, rounds, tallies[w]); }));
    }
    // Every worker finished in time, made all its rounds, and read only whole patterns.
    void expect_clean()
    {
        std::vector<int> statuses = wait_all(pids);
        for (size_t w = 0; w < statuses.size(); ++w) {
            SCOPED_TRACE("worker " + std::to_string(w));
            EXPECT_TRUE(WIFEXITED(statuses[w]) && WEXITSTATUS(statuses[w]) == 0) << "blocked, or died";
            EXPECT_EQ(tallies[w].rounds.load(), rounds);
            EXPECT_EQ(tallies[w].failed.load(), 0);
            EXPECT_EQ(tallies[w].mixed.load(), 0) << "first mixed read: " << testing::PrintToString(tallies[w].first_mixed);
        }
    }
    int rounds;
    Tally *tallies;
    std::vector<pid_t> pids;
};

class MultiProcess : public ::testing::Test {
protected:
    bspsim::Board &sim() { return *board_; }
    // The SMM board reaches its CPLD over the local bus without asking the object framework
    // first, which keeps thousands of rounds quick.
    std::unique_ptr<bspsim::Board> board_ = bspsim::Board::create("smm");
};

TEST_F(MultiProcess, RangesOfFourProcessesNeverMix)
{
    Workers(kWorkers, kRounds).expect_clean();
    EXPECT_EQ(sim().sem_value(kSem), 1);
    Pattern last{};
    for (uint32_t i = 0; i < kLen; ++i) last[i] = sim().ram(kRange + i);
    EXPECT_TRUE(whole_pattern(last)) << "the range holds the last writer's whole pattern";
}

// A process that dies holding the semaphore: the kernel gives it back (SEM_UNDO), and the
// processes waiting for it go on.
TEST_F(MultiProcess, HolderKilledWithTheSemaphoreDoesNotBlockTheOthers)
{
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    pid_t holder = spawn([&] {
        if (BMC_ProcessMutexSem_P(kSem, BMC_SEM_WAIT_FOREVER) != 0) _exit(3);
        (void)!write(ready[1], "x", 1);
        for (;;) pause();
    });
    char c = 0;
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    EXPECT_EQ(sim().sem_value(kSem), 0);

    Workers after(2, kRoundsAfter);
    // While the holder lives, nobody gets in.
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(after.tallies[0].rounds + after.tallies[1].rounds, 0) << "a worker got past the holder";
    EXPECT_TRUE(sim().events(bspsim::Op::LocalBusWrite).empty());
    ASSERT_EQ(kill(holder, SIGKILL), 0);
    ASSERT_EQ(waitpid(holder, nullptr, 0), holder);
    after.expect_clean();
    EXPECT_EQ(sim().sem_value(kSem), 1);
}

// A process killed in the middle of a range (it holds the semaphore for the whole range) leaves
// a half-written range behind, but no lock: the next processes write and read whole ranges.
TEST_F(MultiProcess, ProcessKilledMidRangeDoesNotBlockTheOthers)
{
    Tally *victim_tally = shared_tallies(1);
    pid_t victim = spawn([&] { worker(3, 1 << 30, victim_tally[0]); });
    // Alone on the board, the victim holds the semaphore nearly all the time: catch it holding.
    auto until = std::chrono::steady_clock::now() + 30s;
    while ((victim_tally[0].rounds.load() < 3 || sim().sem_value(kSem) != 0) &&
           std::chrono::steady_clock::now() < until) {
        std::this_thread::sleep_for(1ms);
    }
    ASSERT_EQ(kill(victim, SIGKILL), 0);
    ASSERT_EQ(waitpid(victim, nullptr, 0), victim);
    EXPECT_EQ(sim().sem_value(kSem), 1) << "the dead holder's take is undone";

    Workers(2, kRoundsAfter).expect_clean();
}

}  // namespace
