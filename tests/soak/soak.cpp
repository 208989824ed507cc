// The soak: workers on both boards of one simulated enclosure run a random mix of every kind of
// operation while a supervisor SIGKILLs one at random moments (holding a semaphore, halfway
// through a record, with a write protection open) and starts another in its place. Survivors
// never see a torn value; afterwards no semaphore is held, and a torn record or an open
// protection is found only where a kill left it, until the next complete run of its kind.
// `soak --seconds N` runs N seconds instead of ctest's short run.
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
// For each protected sequence: the register whose bits it opens (as the invariant check names
// it), those bits, and the bits it pulses with the level they rest at.
struct Trace { uint32_t reg; uint8_t bits, pulse, rest; };
constexpr std::array<Trace, kResCount> kTraces = {{{}, {}, {}, {}, {0xE1, 0x10, 0x10, 0}, {0xE1, 0x08, 0x08, 0}, {0xE7, 0x07, 0x07, 0x07},
                                                   {0xE1, 0x03, 0, 0}, {0x1A0, 0x01, 0x01, 0x01}, {0x1A3, 0x06, 0x06, 0}}};

// The figures printed at the end, in this order.
enum Figure { kKills, kChecked, kTornByKill, kCaught, kPassed, kLeftOpen, kViolations, kFigures };
constexpr std::array<const char *, kFigures> kFigureNames = {"kills", "reads checked", "torn by a kill, seen so", "bytewise record mixes, check caught",
                                                             "bytewise record mixes, check passed", "protections a kill left open", "violations"};

struct Shared {
    std::atomic<unsigned long long> done[24], fig[kFigures];
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
    int reg_bit = -1, ram_bit = -1, ram_byte = -1;  // what this worker last wrote there (-1: nothing yet)
    char version[16] = {};
    uint32_t damage0[kResCount] = {}, marks0[kResCount] = {};  // as the current operation began
    unsigned pick(unsigned n) { return rng() % n; }
    bool owner() const { return slot < static_cast<int>(kBoards); }  // writes the frame identity
};

void check(Worker &w, bool ok, const char *what)
{
    g->fig[kChecked]++;
    if (!ok && g->fig[kViolations]++ == 0) std::snprintf(g->first, sizeof g->first, "worker %d (board %u): %s", w.slot, w.board, what);
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
    if (damaged(w, r)) g->fig[kTornByKill]++;
    else check(w, false, what);
}

// A record read back through its check byte. One the library moves as one range under the RAM
// semaphore (`ranged`) is whole unless a kill tore it. One written or read byte by byte, each
// byte under the semaphore alone, can mix two writes: its check byte catches most such mixes
// and lets about one in 256 through, which is counted apart.
void record(Worker &w, Res r, bool ok, bool whole, bool ranged)
{
    if (ok && whole) return check(w, true, "");
    if (ranged) return torn(w, r, ok ? "product configuration torn, its check byte passed" : "product configuration invalid");
    g->fig[kChecked]++, g->fig[ok ? kPassed : kCaught]++;
}

// An operation whose whole outcome is one check.
bool checked(Worker &w, bool ok, const char *what) { return check(w, ok, what), true; }

struct Op {
    const char *name;
    Res res;             // what a kill during it may damage; a completed run repairs it
    bool (*run)(Worker &);  // false: it did not complete what repairs `res`
    bool owner_only = false;  // the frame identity has one writer per board, as in the field
};

const std::array kOps = {
    Op{"cpld reg read", kNone, [](Worker &w) {
        uint8_t v = 0;
        return checked(w, BSP_ReadCpldBytes(kScratch, 1, &v) == 0 && (w.reg_bit < 0 || ((v >> w.slot) & 1) == w.reg_bit), "own register bit changed"); }},
    Op{"cpld bit rmw", kNone, [](Worker &w) {
        uint8_t v = 2;
        w.reg_bit = static_cast<int>(w.pick(2));
        return checked(w, BSP_WriteCpldBit(kScratch, w.slot, w.reg_bit) == 0 && BSP_ReadCpldBit(kScratch, w.slot, &v) == 0 && v == w.reg_bit, "own register bit lost"); }},
    Op{"ram byte", kNone, [](Worker &w) {
        uint8_t v = 0;
        if (w.ram_byte >= 0) BSP_GetCpldRam(kOwnBytes + w.slot, &v), check(w, v == w.ram_byte, "own RAM byte changed");
        BSP_SetCpldRam(kOwnBytes + w.slot, static_cast<uint8_t>(w.ram_byte = static_cast<int>(w.pick(256))));
        return true; }},
    Op{"ram bit", kNone, [](Worker &w) {
        uint8_t v = 2;
        w.ram_bit = static_cast<int>(w.pick(2));
        return checked(w, BSP_SetCpldRamBit(kOwnBits, w.slot, w.ram_bit) == 0 && BSP_GetCpldRamBit(kOwnBits, w.slot, &v) == 0 && v == w.ram_bit, "own RAM bit lost"); }},
    Op{"ram range write", kRangeRes, [](Worker &w) { return BSP_SetCpldRamBytes(kRange, mp::pattern<64>(w.pick(4)).data(), 64) == 0; }},
    Op{"ram range read", kNone, [](Worker &w) {
        std::array<uint8_t, 64> got{};
        if (BSP_GetCpldRamBytes(kRange, got.data(), 64) != 0 || mp::whole_pattern(got, 4)) return checked(w, mp::whole_pattern(got, 4), "range read failed");
        return torn(w, kRangeRes, "range mixed"), true; }},
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
    Op{"cpld self test", kNone, [](Worker &w) { return checked(w, BSP_CpldSelfTest() == 0, "self test failed"); }},
    Op{"soft-reset notice", kNotifyWp, [](Worker &w) { return checked(w, BSP_NotifySoftResetByCpld() == 0, "soft-reset notice failed"); }},
    Op{"psu and bbu", kNone, [](Worker &w) {
        uint8_t p = static_cast<uint8_t>(w.pick(2)), present = 0, ok = 0, alarm = 1, on = 0;
        return checked(w, BSP_GetPowerPresent(p, &present) == 0 && BSP_GetPowerOkState(p, &ok) == 0 && BSP_GetPowerAlarmState(p, &alarm) == 0 &&
                              BSP_GetPowerOnState(p, &on) == 0 && present == 1 && ok == 1 && alarm == 0 && on == 1 && BSP_CheckBBUStatus(0) == 0,
                       "supply or battery state"); }},
    Op{"versions", kNone, [](Worker &w) {
        char v[16] = {};
        return checked(w, BSP_GetCpldVersion(0, v) == 0 && std::strcmp(v, w.version) == 0, "CPLD version changed"); }},
    Op{"identity", kNone, [](Worker &w) {
        uint8_t id = 0, slot = 0xFF;
        return checked(w, BSP_GetBmcBoardId(&id) == 0 && id == 0x05 && BSP_Is2U2CBoard() == 1 && BSP_GetBoardSlot(&slot) == 0 && slot == bspsim::slot_of_board(w.board),
                       "board identity"); }},
    Op{"mastership query", kNone, [](Worker &w) {
        uint32_t role = 2;
        uint8_t fields = 0;
        return checked(w, BSP_GetBoardMasterOrSlaveState(&role) == 0 && role <= 1 && BSP_ReadCpldBytes(0xE4, 1, &fields) == 0 && mp::masters(fields) <= 1,
                       "role unknown, or two masters"); }},
    Op{"grab mastership", kGrabWp, [](Worker &w) { return checked(w, BSP_GrabBoardMaster() == 0, "grab failed"); }},
    Op{"give mastership", kGiveWp, [](Worker &w) { return checked(w, BSP_AbandonBoardMaster() == 0, "give failed"); }},
    Op{"power button", kButtonWp, [](Worker &w) { return checked(w, BSP_SoftPowerButtonCtrl(std::array<uint8_t, 3>{0, 2, 3}[w.pick(3)]) == 0, "power button"); }},
    Op{"watchdog time", kWdtWp, [](Worker &w) { return checked(w, BSP_SetWdtTmie(static_cast<uint8_t>(w.pick(4))) == 0, "watchdog time"); }},
    Op{"ac interrupt", kAcWp, [](Worker &w) { return checked(w, BSP_SimAcInt() == 0, "AC interrupt"); }},
    Op{"fan mcu read", kNone, [](Worker &w) {
        OBJ_HANDLE h = 0;
        std::array<uint8_t, 4> out{};
        return checked(w, dfl_get_object_handle("FanBoardMcu", &h) == 0 && BSP_GetDataFromMCU(h, "McuBlock", 0x01, out.data(), 4) == 0 && out == kMcuVersion,
                       "fan MCU version"); }},
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
    Worker w{.slot = static_cast<int>(b), .board = b, .rng = {}};
    pid_t p = mp::spawn([&] { bspsim::switch_board(b), body(w); });
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
    auto kill_one = [&pids](int v) {
        const uint32_t n = ++g->kill_started;
        int status = 0;
        kill(pids[v], SIGKILL), waitpid(pids[v], &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "worker " << v << " died by itself, status " << status;
        if (int op = g->op[v]; op >= 0 && kOps[op].res != kNone) g->damaged[v % kBoards][kOps[op].res] = n, g->marks[v % kBoards][kOps[op].res]++;
        g->op[v] = -1, g->kill_marked = n, g->fig[kKills]++;
    };
    std::mt19937 rng(static_cast<unsigned>(getpid()));
    for (const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(g_seconds); std::chrono::steady_clock::now() < end;) {
        usleep(2000 + rng() % 40000);
        const int v = static_cast<int>(rng() % kWorkers);
        kill_one(v);
        pids[v] = mp::spawn([v] { work(v); }, limit);
    }
    // The last kill catches a worker inside a protected sequence and the others stop: nothing
    // repairs that one before the checks below, unless a run of its kind was under way.
    for (int i = 0, v = 0; i < 100000; ++i, v = (v + 1) % kWorkers, usleep(20)) {
        if (int op = g->op[v]; op >= 0 && kOps[op].res >= kGrabWp) {
            kill_one(v), pids[v] = mp::spawn([] {});
            break;
        }
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
                unsigned reg = 0, open = 0xFF, covered = 0;
                std::sscanf(line.c_str(), "CPLD register 0x%x", &reg);
                if (const char *bits = std::strstr(line.c_str(), "bits 0x")) open = static_cast<unsigned>(std::strtoul(bits + 5, nullptr, 16));
                for (int r = kGrabWp; r < kResCount; ++r) covered |= kTraces[r].reg == reg && g->damaged[w.board][r] != 0 ? kTraces[r].bits : 0;
                g->fig[kLeftOpen] += (open & ~covered) == 0;
                check(w, (open & ~covered) == 0, line.c_str());
            }
            for (int r = kGrabWp; r < kResCount; ++r)
                check(w, (board->reg(kTraces[r].reg) & kTraces[r].pulse) == kTraces[r].rest || g->damaged[w.board][r] != 0, "a pulse left active");
            BSP_GrabBoardMaster(), BSP_AbandonBoardMaster(), BSP_SetWdtTmie(0), BSP_SimAcInt(), BSP_NotifySoftResetByCpld();
            for (uint8_t action : {2, 3, 0}) BSP_SoftPowerButtonCtrl(action);
            for (const std::string &line : board->check_invariants()) check(w, false, line.c_str());
        });
        bspsim::switch_board(b);
        for (uint32_t id : {12u, 20u, 29u, 38u}) EXPECT_EQ(board->sem_value(id), 1) << "semaphore " << id << " of board " << b << " held";
    }
    unsigned long long total = 0;
    for (size_t k = 0; k < kOps.size(); ++k) std::printf("%-18s %10llu\n", kOps[k].name, g->done[k].load()), total += g->done[k];
    std::printf("operations %llu in %d s\n", total, g_seconds);
    for (size_t i = 0; i < kFigures; ++i) std::printf("%-35s %llu\n", kFigureNames[i], g->fig[i].load());
    EXPECT_GT(g->fig[kKills], 0u);
    EXPECT_GT(total, 0u);
    EXPECT_EQ(g->fig[kViolations], 0u) << "first: " << g->first;
}

}  // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    for (int i = 1; i + 1 < argc; ++i) g_seconds = std::strcmp(argv[i], "--seconds") == 0 ? std::atoi(argv[i + 1]) : g_seconds;
    return RUN_ALL_TESTS();
}
