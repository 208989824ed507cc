// BSP_CalcCrc32 over a buffer and BSP_CalcFileCrc32 over a file in the page cache, from
// 64 bytes to 256 MiB.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "bmc_bsp.h"

namespace {

constexpr int64_t kMin = 64;
constexpr int64_t kMax = int64_t{256} << 20;

std::vector<uint8_t> random_bytes(size_t n)
{
    std::vector<uint8_t> v(n);
    std::mt19937_64 rng(42);
    for (size_t i = 0; i < n; i += 8) {
        uint64_t x = rng();
        for (size_t k = 0; k < 8 && i + k < n; ++k) v[i + k] = static_cast<uint8_t>(x >> (8 * k));
    }
    return v;
}

void BM_CalcCrc32(benchmark::State &state)
{
    auto n = static_cast<size_t>(state.range(0));
    std::vector<uint8_t> data = random_bytes(n);
    for (auto _ : state) {
        benchmark::DoNotOptimize(BSP_CalcCrc32(data.data(), static_cast<uint32_t>(n), 0, 1, 1));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_CalcCrc32)->RangeMultiplier(16)->Range(kMin, kMax);

void BM_CalcFileCrc32(benchmark::State &state)
{
    auto n = static_cast<size_t>(state.range(0));
    const char *tmp = std::getenv("TMPDIR");
    std::string path = std::string(tmp && *tmp ? tmp : "/tmp") + "/bench_crc_XXXXXX";
    int fd = mkstemp(path.data());
    if (fd < 0) {
        state.SkipWithError("cannot create a temporary file");
        return;
    }
    unlink(path.c_str());
    std::vector<uint8_t> data = random_bytes(n);
    if (write(fd, data.data(), n) != static_cast<ssize_t>(n)) {
        close(fd);
        state.SkipWithError("cannot write the temporary file");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(BSP_CalcFileCrc32(fd, 0, static_cast<uint32_t>(n)));
    }
    close(fd);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_CalcFileCrc32)->RangeMultiplier(16)->Range(kMin, kMax);

}  // namespace
