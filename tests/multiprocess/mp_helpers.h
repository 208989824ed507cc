// What the tests that run several processes on one simulated enclosure share: children with a
// time limit, memory the children and the parent both see, and byte patterns from which a
// reader tells a whole write from a mixture of two.
#ifndef TESTS_MULTIPROCESS_MP_HELPERS_H
#define TESTS_MULTIPROCESS_MP_HELPERS_H

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <functional>
#include <new>

namespace mp {

// A child running `body`; one still running after `limit_s` seconds dies of SIGALRM.
inline pid_t spawn(const std::function<void()> &body, unsigned limit_s = 240)
{
    pid_t pid = fork();
    if (pid == 0) {
        alarm(limit_s);
        body();
        _exit(0);
    }
    return pid;
}

// `n` zeroed objects in memory shared with the children forked afterwards (never unmapped:
// the test process ends soon after).
template <class T>
T *shared(size_t n = 1)
{
    return new (mmap(nullptr, sizeof(T) * n, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) T[n]{};
}

// Writer `tag` writes the bytes tag*N .. tag*N+N-1: as long as tags stay below 256/N no byte
// value is shared between two patterns, so a read made of two of them is seen at once.
template <size_t N>
std::array<uint8_t, N> pattern(unsigned tag)
{
    std::array<uint8_t, N> p{};
    for (size_t i = 0; i < N; ++i) p[i] = static_cast<uint8_t>(tag * N + i);
    return p;
}

// The first byte says whose pattern it must be; `tags` patterns are in use.
template <size_t N>
bool whole_pattern(const std::array<uint8_t, N> &read, unsigned tags)
{
    return read[0] / N < tags && read == pattern<N>(read[0] / N);
}

// How many controllers the CPLD's role fields (register 0xE4, two bits per controller) show as
// master.
inline int masters(uint8_t fields)
{
    int n = 0;
    for (int s = 0; s < 4; ++s) n += ((fields >> (2 * s)) & 3) == 1;
    return n;
}

}  // namespace mp

#endif
