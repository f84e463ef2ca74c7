// The search for a channel without radar when there is none: the most that a re-check can cost.

#include "radar/dfs_channels.h"

#include <benchmark/benchmark.h>

#include <cstdint>

namespace {

void finds_no_free_channel(benchmark::State& state) {
    const auto count = static_cast<uint32_t>(state.range(0));
    frequency_list channels;
    frequency_list nol;
    channels.count = count;
    nol.count = count;
    for (uint32_t i = 0; i < count; ++i) {
        channels.frequency[i] = static_cast<uint16_t>(5000 + i);
        nol.frequency[count - 1 - i] = channels.frequency[i];
    }
    if (dfs_channel_free(channels, nol) != 0) {
        state.SkipWithError("a channel is free");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(dfs_channel_free(channels, nol));
    }
    state.SetComplexityN(state.range(0));
}

}  // namespace

BENCHMARK(finds_no_free_channel)->Arg(25)->Arg(200)->Arg(1023)->Complexity();
