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
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
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

using Pattern = std::array<uint8_t, kLen>;

// Worker w writes bytes w*64 .. w*64+63: no byte value is shared between two patterns, so a
// read made of two of them is seen at once.
Pattern pattern(int worker)
{
    Pattern p{};
    for (uint32_t i = 0; i < kLen; ++i) p[i] = static_cast<uint8_t>(worker * kLen + i);
    return p;
}

bool whole_pattern(const Pattern &read)
{
    for (int w = 0; w < kWorkers; ++w) {
        if (read == pattern(w)) return true;
    }
    return false;
}

// What each worker reports, in memory shared with the parent.
struct Tally {
    std::atomic<int> rounds;
    std::atomic<int> mixed;
    std::atomic<int> failed;
    Pattern first_mixed;
};

class SharedTallies {
public:
    explicit SharedTallies(size_t n) : n_(n)
    {
        void *p = mmap(nullptr, sizeof(Tally) * n, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED) throw std::runtime_error("mmap failed");
        t_ = new (p) Tally[n]{};
    }
    ~SharedTallies() { munmap(t_, sizeof(Tally) * n_); }
    Tally &operator[](size_t i) { return t_[i]; }

private:
    size_t n_;
    Tally *t_;
};

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

// Waits for every child; false (and the rest killed) when the deadline passes first.
bool wait_all(std::vector<pid_t> pids, std::chrono::seconds deadline, std::vector<int> *statuses = nullptr)
{
    auto until = std::chrono::steady_clock::now() + deadline;
    std::vector<int> st(pids.size(), -1);
    size_t left = pids.size();
    while (left > 0 && std::chrono::steady_clock::now() < until) {
        for (size_t i = 0; i < pids.size(); ++i) {
            if (pids[i] <= 0) continue;
            int s = 0;
            if (waitpid(pids[i], &s, WNOHANG) == pids[i]) {
                st[i] = s;
                pids[i] = 0;
                --left;
            }
        }
        if (left > 0) std::this_thread::sleep_for(5ms);
    }
    for (pid_t p : pids) {
        if (p > 0) {
            kill(p, SIGKILL);
            waitpid(p, nullptr, 0);
        }
    }
    if (statuses) *statuses = st;
    return left == 0;
}

std::string hexdump(const Pattern &p)
{
    std::string s;
    char buf[4];
    for (uint8_t b : p) {
        std::snprintf(buf, sizeof buf, "%02x ", b);
        s += buf;
    }
    return s;
}

void expect_clean(SharedTallies &tallies, const std::vector<int> &statuses, int rounds)
{
    for (size_t w = 0; w < statuses.size(); ++w) {
        SCOPED_TRACE("worker " + std::to_string(w));
        EXPECT_TRUE(WIFEXITED(statuses[w]) && WEXITSTATUS(statuses[w]) == 0);
        EXPECT_EQ(tallies[w].rounds.load(), rounds);
        EXPECT_EQ(tallies[w].failed.load(), 0);
        EXPECT_EQ(tallies[w].mixed.load(), 0) << "first mixed read: " << hexdump(tallies[w].first_mixed);
    }
}

class MultiProcess : public ::testing::Test {
protected:
    // The SMM board reaches its CPLD over the local bus without asking the object framework
    // first, which keeps thousands of rounds quick.
    void SetUp() override { board_ = bspsim::Board::create("smm"); }
    void TearDown() override { board_.reset(); }
    bspsim::Board &sim() { return *board_; }

private:
    std::unique_ptr<bspsim::Board> board_;
};

TEST_F(MultiProcess, RangesOfFourProcessesNeverMix)
{
    SharedTallies tallies(kWorkers);
    std::vector<pid_t> pids;
    for (int w = 0; w < kWorkers; ++w) pids.push_back(spawn([&, w] { worker(w, kRounds, tallies[w]); }));
    std::vector<int> statuses;
    ASSERT_TRUE(wait_all(pids, kDeadline, &statuses)) << "workers did not finish";
    expect_clean(tallies, statuses, kRounds);
    EXPECT_EQ(sim().sem_value(kSem), 1);
    EXPECT_TRUE(whole_pattern([&] {
        Pattern p;
        for (uint32_t i = 0; i < kLen; ++i) p[i] = sim().ram(kRange + i);
        return p;
    }())) << "the range holds the last writer's whole pattern";
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

    constexpr int kRoundsAfter = 200;
    SharedTallies tallies(2);
    std::vector<pid_t> pids;
    for (int w = 0; w < 2; ++w) pids.push_back(spawn([&, w] { worker(w, kRoundsAfter, tallies[w]); }));
    // While the holder lives, nobody gets in.
    std::this_thread::sleep_for(300ms);
    for (int w = 0; w < 2; ++w) EXPECT_EQ(tallies[w].rounds.load(), 0) << "worker " << w << " got past the holder";
    EXPECT_TRUE(sim().events(bspsim::Op::LocalBusWrite).empty());

    ASSERT_EQ(kill(holder, SIGKILL), 0);
    ASSERT_EQ(waitpid(holder, nullptr, 0), holder);
    std::vector<int> statuses;
    ASSERT_TRUE(wait_all(pids, kDeadline, &statuses)) << "workers stayed blocked after the holder died";
    expect_clean(tallies, statuses, kRoundsAfter);
    EXPECT_EQ(sim().sem_value(kSem), 1);
    close(ready[0]);
    close(ready[1]);
}

// A process killed in the middle of a range (it holds the semaphore for the whole range) leaves
// a half-written range behind, but no lock: the next processes write and read whole ranges.
TEST_F(MultiProcess, ProcessKilledMidRangeDoesNotBlockTheOthers)
{
    SharedTallies victim_tally(1);
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

    constexpr int kRoundsAfter = 200;
    SharedTallies tallies(2);
    std::vector<pid_t> pids;
    for (int w = 0; w < 2; ++w) pids.push_back(spawn([&, w] { worker(w, kRoundsAfter, tallies[w]); }));
    std::vector<int> statuses;
    ASSERT_TRUE(wait_all(pids, kDeadline, &statuses)) << "workers blocked after the victim died";
    expect_clean(tallies, statuses, kRoundsAfter);
}

}  // namespace
