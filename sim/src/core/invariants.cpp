// The promises a library call keeps whatever happened inside it, checked in one place: no
// semaphore of ours still taken, no write protection left open, no descriptor left open, no
// framework value left alive.
#include <dirent.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>

#include "models/cpld.h"
#include "models/sem.h"

namespace bspsim::detail {
namespace {

// This process's descriptors and live framework values when the mark was taken.
std::mutex g_mark_mutex;
std::set<int> g_fds;
std::size_t g_values = 0;

std::string fd_target(int fd)
{
    char link[64], target[PATH_MAX];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    ssize_t n = readlink(link, target, sizeof target - 1);
    return n > 0 ? std::string(target, static_cast<size_t>(n)) : "?";
}

std::set<int> open_fds()
{
    std::set<int> fds;
    DIR *d = opendir("/proc/self/fd");
    if (!d) return fds;
    while (dirent *e = readdir(d)) {
        if (e->d_name[0] != '.') fds.insert(std::atoi(e->d_name));
    }
    fds.erase(dirfd(d));
    closedir(d);
    return fds;
}

}  // namespace
}  // namespace bspsim::detail

namespace bspsim {

using namespace detail;

void Board::mark_invariants()
{
    std::lock_guard<std::mutex> guard(g_mark_mutex);
    g_fds = open_fds();
    g_values = live_values();
}

std::vector<std::string> Board::check_invariants() const
{
    std::vector<std::string> out;
    std::set<int> before;
    std::size_t values = 0;
    {
        std::lock_guard<std::mutex> guard(g_mark_mutex);
        before = g_fds;
        values = g_values;
    }
    for (uint32_t id : sem::held_here()) out.push_back("semaphore " + std::to_string(id) + " still held by this process");
    {
        Lock lock;
        for (std::string &s : cpld::protection_left_open()) out.push_back(std::move(s));
    }
    // The simulator's own files (its mapping, its log files) live in the instance directory.
    for (int fd : open_fds()) {
        if (before.count(fd)) continue;
        std::string target = fd_target(fd);
        if (target.rfind(dir_ + "/", 0) != 0) out.push_back("descriptor " + std::to_string(fd) + " (" + target + ") left open");
    }
    if (std::size_t now = live_values(); now > values) {
        out.push_back(std::to_string(now - values) + " framework value(s) handed out and still alive");
    }
    return out;
}

}  // namespace bspsim
