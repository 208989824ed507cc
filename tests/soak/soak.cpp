// The soak: worker processes on both boards of one simulated enclosure run a random mix of every
// kind of operation, while a supervisor SIGKILLs one of them at random moments (holding a
// semaphore, halfway through a record, with a write protection open) and starts another in its
// place. The survivors must never see a torn value; once the workers stop, no semaphore is
// held, and a record half written or a protection left open is only ever found where a killed
// process left it, and the next complete write or sequence of its kind repairs it.
// `soak --seconds N` runs for N seconds instead of the short run ctest makes.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>

#include "bmc_bsp.h"
#include "bspsim/mastership.hpp"
#include "mp_helpers.h"
#include "platform/dfl.h"
#include "robust_futex.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
int g_seconds = 8;  // the sanitized suite runs it too: keep the pair within half a minute
#else
int g_seconds = 20;
#endif
constexpr int kWorkers = 5;
constexpr uint32_t kBoards = 2;        // the default profile: both controllers of a 2U enclosure
constexpr uint32_t kScratch = 0x3F0;   // a plain CPLD register: bit w belongs to worker slot w
constexpr uint16_t kRange = 0xDA00;    // 64 RAM bytes every worker writes whole
constexpr uint16_t kOwnBytes = 0xDA80; // RAM byte kOwnBytes + w belongs to worker slot w
constexpr uint16_t kOwnBits = 0xDA90;  // bit w of this RAM byte belongs to worker slot w
constexpr std::array<uint8_t, 4> kMcuVersion = {1, 3, 0, 12};  // what the profile's fan MCU answers

// What a kill halfway through an operation may leave behind, per board: a range or record half
// written, or a write protection open with its pulse not ended.
enum Res { kNone = -1, kRangeRes, kCfgRes, kModelRes, kWwnRes, kGrabWp, kGiveWp, kButtonWp, kWdtWp, kAcWp, kNotifyWp, kResCount };
// For each protected sequence: the register the invariant check names for its protection, and
// the pulsed bits with the level they rest at.
struct Trace { const char *wp; uint32_t reg; uint8_t mask, rest; };
constexpr std::array<Trace, kResCount> kTraces = {{{}, {}, {}, {}, {"0x0E2", 0xE1, 0x10, 0}, {"0x0E2", 0xE1, 0x08, 0},
                                                   {"0x0E8", 0xE7, 0x07, 0x07}, {"0x0E2", 0xE1, 0, 0}, {"0x1A1", 0x1A0, 1, 1}, {"0x1A4", 0x1A3, 0x06, 0}}};

struct Shared {
    std::atomic<uint64_t> done[24], checked, violations, kills, torn_by_kill, caught_by_check, passed_check, left_open_by_kill;
    std::atomic<uint32_t> kill_started, kill_marked;  // kills begun / whose damage is marked
    std::atomic<uint32_t> damaged[kBoards][kResCount];  // the kill that may have damaged it (0: none)
    std::atomic<uint32_t> marks[kBoards][kResCount];    // kills marked against it so far
    std::atomic<int> op[kWorkers];                      // what each worker slot is doing (-1: nothing)
    std::atomic<bool> stop;
    char first[256];  // the first violation
};
Shared *g;

struct Worker {
    int slot;
    uint32_t board;
    std::mt19937 rng;
    int reg_bit = -1, ram_bit = -1, ram_byte = -1;  // what this worker last wrote there
    char version[16] = {};
    uint32_t damage0[kResCount] = {}, marks0[kResCount] = {};  // as the current operation began
    unsigned pick(unsigned n) { return rng() % n; }
    bool owner() const { return slot < static_cast<int>(kBoards); }  // writes the frame identity
};

void check(Worker &w, bool ok, const char *what)
{
    g->checked++;
    if (!ok && g->violations++ == 0) std::snprintf(g->first, sizeof g->first, "worker %d (board %u): %s", w.slot, w.board, what);
}

// Whether a kill may have damaged `r` before or during this operation: it was damaged when the
// operation began, or a kill was marked against it since (a repair may have come in between).
// Waits for the supervisor to mark the kills begun so far.
bool damaged(const Worker &w, Res r)
{
    for (uint32_t begun = g->kill_started, i = 0; g->kill_marked < begun && i < 100000; ++i) usleep(100);
    return w.damage0[r] != 0 || g->marks[w.board][r] != w.marks0[r];
}

// A read that is not a whole write: only after a kill halfway through a write of it.
void torn(Worker &w, Res r, const char *what)
{
    if (damaged(w, r)) g->torn_by_kill++;
    else check(w, false, what);
}

// A record read back through its check byte: a whole pattern, a mix the check byte caught, or
// (counted apart) a mix it let through. Records the library moves as one range under the RAM
// semaphore (`ranged`) never mix unless a kill tore them.
void record(Worker &w, Res r, bool ok, bool whole, bool ranged)
{
    if (ok && whole) return check(w, true, "");
    g->checked++;
    (ok ? g->passed_check : g->caught_by_check)++;
    if (ranged) torn(w, r, ok ? "product configuration torn, its check byte passed" : "product configuration invalid");
}

bool read_mastership(Worker &w)
{
    uint32_t role = 2;
    uint8_t fields = 0;
    check(w, BSP_GetBoardMasterOrSlaveState(&role) == 0 && role <= 1, "role query failed");
    check(w, BSP_ReadCpldBytes(0xE4, 1, &fields) == 0 && mp::masters(fields) <= 1, "two masters at once");
    return true;
}

bool mcu(Worker &w)
{
    OBJ_HANDLE h = 0;
    std::array<uint8_t, 4> out{};
    check(w, dfl_get_object_handle("FanBoardMcu", &h) == 0 && BSP_GetDataFromMCU(h, "McuBlock", 0x01, out.data(), 4) == 0 && out == kMcuVersion,
          "fan MCU version read");
    return true;
}

struct Op {
    const char *name;
    Res res;             // what a kill during it may damage; a completed run repairs it
    bool (*run)(Worker &);  // false: it did not complete what repairs `res`
    bool owner_only = false;  // the frame identity has one writer per board, as in the field
};

const std::array kOps = {
    Op{"cpld reg read", kNone, [](Worker &w) {
        uint8_t v = 0;
        check(w, BSP_ReadCpldBytes(kScratch, 1, &v) == 0 && (w.reg_bit < 0 || ((v >> w.slot) & 1) == w.reg_bit), "own register bit changed");
        return true; }},
    Op{"cpld bit rmw", kNone, [](Worker &w) {
        uint8_t v = 2;
        w.reg_bit = static_cast<int>(w.pick(2));
        check(w, BSP_WriteCpldBit(kScratch, w.slot, w.reg_bit) == 0 && BSP_ReadCpldBit(kScratch, w.slot, &v) == 0 && v == w.reg_bit, "own register bit lost");
        return true; }},
    Op{"ram byte", kNone, [](Worker &w) {
        uint8_t v = 0;
        if (w.ram_byte >= 0) BSP_GetCpldRam(kOwnBytes + w.slot, &v), check(w, v == w.ram_byte, "own RAM byte changed");
        BSP_SetCpldRam(kOwnBytes + w.slot, static_cast<uint8_t>(w.ram_byte = static_cast<int>(w.pick(256))));
        return true; }},
    Op{"ram bit", kNone, [](Worker &w) {
        uint8_t v = 2;
        w.ram_bit = static_cast<int>(w.pick(2));
        check(w, BSP_SetCpldRamBit(kOwnBits, w.slot, w.ram_bit) == 0 && BSP_GetCpldRamBit(kOwnBits, w.slot, &v) == 0 && v == w.ram_bit, "own RAM bit lost");
        return true; }},
    Op{"ram range write", kRangeRes, [](Worker &w) { return BSP_SetCpldRamBytes(kRange, mp::pattern<64>(w.pick(4)).data(), 64) == 0; }},
    Op{"ram range read", kNone, [](Worker &w) {
        std::array<uint8_t, 64> got{};
        if (BSP_GetCpldRamBytes(kRange, got.data(), 64) != 0) check(w, false, "range read failed");
        else if (!mp::whole_pattern(got, 4)) torn(w, kRangeRes, "range mixed");
        else check(w, true, "");
        return true; }},
    Op{"product cfg write", kCfgRes, [](Worker &w) { return BSP_SetProductCfgInfoToCpldRam(mp::pattern<64>(w.pick(4)).data(), 64) == 0; }},
    Op{"product cfg read", kNone, [](Worker &w) {
        std::array<uint8_t, 64> got{};
        const bool ok = BSP_GetProductCfgInfoFromCpld(got.data(), 64) == 0;
        return record(w, kCfgRes, ok, mp::whole_pattern(got, 4), true), true; }},
    Op{"frame model write", kModelRes, [](Worker &w) { return BSP_SetFrameModelToCpldRam(mp::pattern<16>(w.pick(16)).data(), 16), true; }, true},
    Op{"frame model read", kNone, [](Worker &w) {
        std::array<uint8_t, 16> got{};
        const bool ok = BSP_GetModelFromCpld(got.data(), 16) == 0;
        return record(w, kModelRes, ok, mp::whole_pattern(got, 16), false), true; }},
    Op{"wwn write", kWwnRes, [](Worker &w) { return BSP_SetWwn2CpldRam(mp::pattern<6>(w.pick(8)).data(), 6) == 0; }, true},
    Op{"wwn read", kNone, [](Worker &w) {
        std::array<uint8_t, 8> got{};
        const bool ok = BSP_GetWwnFromCpld(got.data()) == 0;
        bool whole = false;
        for (unsigned t = 0; t < 8; ++t) {
            uint64_t wwn = 0;
            whole |= BSP_MacToWWN(mp::pattern<6>(t).data(), &wwn) == 0 && std::memcmp(&wwn, got.data(), 8) == 0;
        }
        return record(w, kWwnRes, ok, whole, false), true; }},
    Op{"cpld self test", kNone, [](Worker &w) { return check(w, BSP_CpldSelfTest() == 0, "self test failed"), true; }},
    Op{"soft-reset notice", kNotifyWp, [](Worker &w) { return check(w, BSP_NotifySoftResetByCpld() == 0, "soft-reset notice failed"), true; }},
    Op{"psu and bbu", kNone, [](Worker &w) {
        for (uint8_t p = 0; p < 2; ++p) {
            uint8_t present = 0, ok = 0, alarm = 1, on = 0;
            check(w, BSP_GetPowerPresent(p, &present) == 0 && BSP_GetPowerOkState(p, &ok) == 0 && BSP_GetPowerAlarmState(p, &alarm) == 0 &&
                         BSP_GetPowerOnState(p, &on) == 0 && present == 1 && ok == 1 && alarm == 0 && on == 1, "supply state");
        }
        check(w, BSP_CheckBBUStatus(0) == 0, "battery state");
        return true; }},
    Op{"versions", kNone, [](Worker &w) {
        char v[16] = {};
        check(w, BSP_GetCpldVersion(0, v) == 0 && std::strcmp(v, w.version) == 0, "CPLD version changed");
        return true; }},
    Op{"identity", kNone, [](Worker &w) {
        uint8_t id = 0, slot = 0xFF;
        check(w, BSP_GetBmcBoardId(&id) == 0 && id == 0x05 && BSP_Is2U2CBoard() == 1 && BSP_GetBoardSlot(&slot) == 0 && slot == bspsim::slot_of_board(w.board),
              "board identity");
        return true; }},
    Op{"mastership query", kNone, read_mastership},
    Op{"grab mastership", kGrabWp, [](Worker &w) { return check(w, BSP_GrabBoardMaster() == 0, "grab failed"), true; }},
    Op{"give mastership", kGiveWp, [](Worker &w) { return check(w, BSP_AbandonBoardMaster() == 0, "give failed"), true; }},
    Op{"power button", kButtonWp, [](Worker &w) { return check(w, BSP_SoftPowerButtonCtrl(std::array<uint8_t, 3>{0, 2, 3}[w.pick(3)]) == 0, "power button"), true; }},
    Op{"watchdog time", kWdtWp, [](Worker &w) { return check(w, BSP_SetWdtTmie(static_cast<uint8_t>(w.pick(4))) == 0, "watchdog time"), true; }},
    Op{"ac interrupt", kAcWp, [](Worker &w) { return check(w, BSP_SimAcInt() == 0, "AC interrupt"), true; }},
    Op{"fan mcu read", kNone, mcu},
};
static_assert(kOps.size() <= sizeof(Shared::done) / sizeof(Shared::done[0]));

void work(int slot)
{
    Worker w{.slot = slot, .board = slot % kBoards, .rng = std::mt19937(static_cast<unsigned>(getpid()))};
    bspsim::switch_board(w.board);
    if (BSP_GetCpldVersion(0, w.version) != 0) check(w, false, "first version read");
    while (!g->stop) {
        const size_t k = w.pick(kOps.size());
        if (kOps[k].owner_only && !w.owner()) continue;
        const uint32_t start = g->kill_marked;
        for (int r = 0; r < kResCount; ++r) w.damage0[r] = g->damaged[w.board][r], w.marks0[r] = g->marks[w.board][r];
        g->op[slot] = static_cast<int>(k);
        const bool complete = kOps[k].run(w);
        g->op[slot] = -1;
        g->done[k]++;
        // A complete run that began after the kill repairs what the kill damaged.
        if (uint32_t kill = kOps[k].res == kNone ? 0 : g->damaged[w.board][kOps[k].res].load(); complete && kill != 0 && kill <= start)
            g->damaged[w.board][kOps[k].res].compare_exchange_strong(kill, 0);
    }
}

// Runs `body` as a process of board `b` (the library's caches are per process and per board).
void on_board(uint32_t b, const std::function<void(Worker &)> &body)
{
    pid_t p = mp::spawn([&] {
        Worker w{.slot = static_cast<int>(b), .board = b, .rng = {}};
        bspsim::switch_board(b);
        body(w);
    });
    EXPECT_EQ(waitpid(p, nullptr, 0), p);
}

TEST(Soak, KilledAtRandomTheSurvivorsSeeNoTornValueAndNothingStaysLocked)
{
    SKIP_WITHOUT_ROBUST_FUTEXES();
    auto board = bspsim::Board::create("default");
    ASSERT_EQ(bspsim::board_count(), kBoards);
    g = mp::shared<Shared>();
    for (auto &o : g->op) o = -1;
    // Every shared range and record starts as a whole pattern.
    for (uint32_t b = 0; b < kBoards; ++b) on_board(b, [](Worker &) {
        BSP_SetCpldRamBytes(kRange, mp::pattern<64>(0).data(), 64), BSP_SetProductCfgInfoToCpldRam(mp::pattern<64>(0).data(), 64);
        BSP_SetFrameModelToCpldRam(mp::pattern<16>(0).data(), 16), BSP_SetWwn2CpldRam(mp::pattern<6>(0).data(), 6);
    });
    std::array<pid_t, kWorkers> pids{};
    const unsigned limit = static_cast<unsigned>(g_seconds) + 120;
    for (int s = 0; s < kWorkers; ++s) pids[s] = mp::spawn([s] { work(s); }, limit);
    std::mt19937 rng(static_cast<unsigned>(getpid()));
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(g_seconds);
    while (std::chrono::steady_clock::now() < end) {
        usleep(2000 + rng() % 40000);
        const int v = static_cast<int>(rng() % kWorkers);
        const uint32_t n = ++g->kill_started;
        int status = 0;
        kill(pids[v], SIGKILL);
        waitpid(pids[v], &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "worker " << v << " died by itself, status " << status;
        if (int op = g->op[v]; op >= 0 && kOps[op].res != kNone) g->damaged[v % kBoards][kOps[op].res] = n, g->marks[v % kBoards][kOps[op].res]++;
        g->op[v] = -1;
        g->kill_marked = n;
        g->kills++;
        pids[v] = mp::spawn([v] { work(v); }, limit);
    }
    g->stop = true;
    for (pid_t p : pids) {
        int status = -1;
        EXPECT_TRUE(waitpid(p, &status, 0) == p && WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a worker hung or died, status " << status;
    }
    // Afterwards, per board: no semaphore held, records valid unless a kill tore them, no
    // protection open but where a kill left it; then one run of every protected sequence
    // closes them all.
    for (uint32_t b = 0; b < kBoards; ++b) {
        on_board(b, [&board](Worker &w) {
            std::array<uint8_t, 64> buf{};
            check(w, BSP_GetProductCfgInfoFromCpld(buf.data(), 64) == 0 || g->damaged[w.board][kCfgRes] != 0, "product configuration invalid");
            check(w, BSP_GetModelFromCpld(buf.data(), 16) == 0 || g->damaged[w.board][kModelRes] != 0, "frame model invalid");
            check(w, BSP_GetWwnFromCpld(buf.data()) == 0 || g->damaged[w.board][kWwnRes] != 0, "wwn record invalid");
            // A protection found open, or a pulse not ended, must be one a kill left so.
            for (const std::string &line : board->check_invariants()) {
                bool explained = false;
                for (int r = kGrabWp; r < kResCount; ++r) explained |= line.find(kTraces[r].wp) != std::string::npos && g->damaged[w.board][r] != 0;
                g->left_open_by_kill += explained;
                check(w, explained, line.c_str());
            }
            for (int r = kGrabWp; r < kResCount; ++r)
                check(w, (board->reg(kTraces[r].reg) & kTraces[r].mask) == kTraces[r].rest || g->damaged[w.board][r] != 0, "a pulse left active");
            BSP_GrabBoardMaster(), BSP_AbandonBoardMaster(), BSP_SoftPowerButtonCtrl(0), BSP_SetWdtTmie(0), BSP_SimAcInt(), BSP_NotifySoftResetByCpld();
            for (const std::string &line : board->check_invariants()) check(w, false, line.c_str());
        });
        bspsim::switch_board(b);
        for (uint32_t id : {12u, 20u, 29u, 38u}) EXPECT_EQ(board->sem_value(id), 1) << "semaphore " << id << " of board " << b << " held";
    }
    uint64_t total = 0;
    for (size_t k = 0; k < kOps.size(); ++k) std::printf("%-18s %10llu\n", kOps[k].name, static_cast<unsigned long long>(g->done[k].load())), total += g->done[k];
    std::printf("operations %llu in %d s, kills %llu, reads checked %llu, torn by a kill and seen so %llu, record mixes caught by their check byte %llu "
                "and passed by it %llu, protections a kill left open %llu, violations %llu\n",
                static_cast<unsigned long long>(total), g_seconds, static_cast<unsigned long long>(g->kills.load()), static_cast<unsigned long long>(g->checked.load()),
                static_cast<unsigned long long>(g->torn_by_kill.load()), static_cast<unsigned long long>(g->caught_by_check.load()),
                static_cast<unsigned long long>(g->passed_check.load()), static_cast<unsigned long long>(g->left_open_by_kill.load()), static_cast<unsigned long long>(g->violations.load()));
    EXPECT_GT(g->kills, 0u);
    EXPECT_GT(total, 0u);
    EXPECT_EQ(g->violations, 0u) << "first: " << g->first;
}

}  // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], "--seconds") == 0) g_seconds = std::atoi(argv[i + 1]);
    }
    return RUN_ALL_TESTS();
}
