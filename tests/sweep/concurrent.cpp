// Eight threads call every query of the table (predicates, board id, slot, CPLD registers and
// RAM, supplies, versions) at once for a few seconds on one board: under
// ThreadSanitizer any data race in the library's caches or the simulator is a report. The board
// must come out with its invariants kept.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>

#include "multiprocess/robust_futex.h"
#include "sweep/sweep.h"

int main()
{
    // Threads on a simulated board need the kernel's robust futex lists, which an emulator
    // may lack: ctest counts 77 as skipped.
    if (robust_futexes_missing()) {
        std::printf("skipped: no robust futex lists here (an emulator?)\n");
        return 77;
    }
    auto board = bspsim::Board::create("default");
    std::vector<const sweep::Line *> queries;
    for (const sweep::Line &l : sweep::table()) {
        // The property getters' typical calls ask for another type than the property has, and
        // GLib's warning about it formats the time thread-unsafely: not ours to race-test.
        if (std::strstr(l.name, "property")) continue;
        for (const char *prefix : {"BSP_Is", "BSP_is", "BSP_Get", "BSP_Read", "BSP_LbRead", "BSP_SpiRead"})
            if (std::strncmp(l.name, prefix, std::strlen(prefix)) == 0) {
                queries.push_back(&l);
                break;
            }
    }
    std::atomic<bool> stop{false};
    std::atomic<size_t> calls{0};
    std::vector<std::thread> threads;
    for (size_t t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            // Each thread starts at another query, so that first uses of the caches meet.
            for (size_t i = t; !stop.load(); ++i, calls.fetch_add(1)) {
                std::memset(sweep::g_buf, 0, sizeof sweep::g_buf);
                (void)queries[i % queries.size()]->call(*board);
            }
        });
    }
    std::this_thread::sleep_for(std::chrono::seconds(3));
    stop = true;
    for (auto &th : threads) th.join();
    std::vector<std::string> broken = board->check_invariants();
    for (const std::string &s : broken) std::printf("VIOLATION %s\n", s.c_str());
    std::printf("concurrent queries: %zu functions, %zu calls on 8 threads, %zu violations\n", queries.size(),
                calls.load(), broken.size());
    return broken.empty() && calls.load() > queries.size() ? 0 : 1;
}
