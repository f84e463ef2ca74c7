// Looking a transition up, for every pair of states.

#include "link/link_state.h"

#include <benchmark/benchmark.h>

#include <cstdint>

namespace {

void looks_up_every_pair(benchmark::State& state) {
    for (auto _ : state) {
        for (int32_t current = 0; current < LINK_STATE_COUNT; ++current) {
            for (int32_t requested = 0; requested < LINK_STATE_COUNT; ++requested) {
                benchmark::DoNotOptimize(link_transition_find(static_cast<link_state>(current),
                                                              static_cast<link_state>(requested)));
            }
        }
    }
    state.SetItemsProcessed(state.iterations() * LINK_STATE_COUNT * LINK_STATE_COUNT);
}

}  // namespace

BENCHMARK(looks_up_every_pair);
