// Throughput of each CRC-32 path over buffers from 64 bytes to 256 MiB.
//
// The larger sizes no longer fit in cache and measure memory bandwidth as
// much as the CRC; the "chunked" run feeds 256 MiB in 64 KiB calls, the way a
// read()-then-checksum loop does.  Keep runs short on small machines, e.g.
//   bench_crc32_engine --benchmark_min_time=0.2

#include "core/crc32_engine.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

using bsp::crc::Crc32Path;

constexpr size_t kMinSize = 64;
constexpr size_t kMaxSize = size_t{256} << 20;
constexpr size_t kChunk = size_t{64} << 10;

// One buffer for all runs, filled once; random so no path can benefit from
// a pattern.
const std::vector<uint8_t> &buffer() {
    static const std::vector<uint8_t> buf = [] {
        std::vector<uint8_t> b(kMaxSize);
        std::mt19937_64 rng(1);
        for (size_t i = 0; i + 8 <= b.size(); i += 8) {
            const uint64_t v = rng();
            for (int k = 0; k < 8; ++k)
                b[i + static_cast<size_t>(k)] = static_cast<uint8_t>(v >> (8 * k));
        }
        return b;
    }();
    return buf;
}

void bm_path(benchmark::State &state, Crc32Path path) {
    if (!bsp::crc::crc32_path_available(path)) {
        state.SkipWithError("path not available on this CPU");
        return;
    }
    const auto n = static_cast<size_t>(state.range(0));
    const uint8_t *p = buffer().data();
    uint32_t crc = 0xFFFFFFFFu;
    for (auto _ : state) {
        crc = bsp::crc::crc32_update_with(path, crc, p, n);
        benchmark::DoNotOptimize(crc);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(n));
}

// 256 MiB through crc32_update (the dispatched path) in 64 KiB calls.
void bm_update_chunked(benchmark::State &state) {
    const auto &buf = buffer();
    uint32_t crc = 0xFFFFFFFFu;
    for (auto _ : state) {
        for (size_t off = 0; off < buf.size(); off += kChunk)
            crc = bsp::crc::crc32_update(crc, buf.data() + off, kChunk);
        benchmark::DoNotOptimize(crc);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(buf.size()));
}

} // namespace

int main(int argc, char **argv) {
    for (Crc32Path path : {Crc32Path::Reference, Crc32Path::Slicing, Crc32Path::Clmul,
                           Crc32Path::ClmulWide}) {
        const std::string name = std::string("crc32/") + bsp::crc::crc32_path_name(path);
        benchmark::RegisterBenchmark(name.c_str(), bm_path, path)
            ->RangeMultiplier(4)
            ->Range(kMinSize, kMaxSize);
    }
    benchmark::RegisterBenchmark("crc32/update_64KiB_chunks", bm_update_chunked)
        ->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    std::printf("active path: %s\n", bsp::crc::crc32_path_name(bsp::crc::crc32_active_path()));
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
