// Cost of the time map on the audio thread: one look-up per output sample,
// as time-warped playback makes it, along a ten-minute take at 48 kHz with
// 50 breakpoints.

#include <benchmark/benchmark.h>

#include <cmath>

#include "graph/model/TimeMap.h"

namespace {

constexpr double takeSamples = 10 * 60 * 48000.0;
constexpr int breakpoints = 50;
constexpr int block = 512;

// Segments of equal source length whose slopes alternate around 1 between
// 0.6 and 1.6, on whole samples.
TimeMap editedTake()
{
    std::vector<double> sources, targets;
    for (int i = 0; i < breakpoints; ++i) {
        const double s = std::round(takeSamples * i / (breakpoints - 1));
        const double slope = 1.0 + 0.6 * std::sin(0.7 * i);
        sources.push_back(s);
        targets.push_back(i == 0 ? 0.0 : targets.back() + std::round((s - sources[size_t(i) - 1]) * slope));
    }
    return *TimeMap::fromBreakpoints(sources, targets);
}

// Sequential look-ups, one per sample, a block at a time, wrapping at the
// take's end; items are samples.
void time_map_engine_sequential(benchmark::State& state)
{
    const TimeMap map = editedTake();
    double t = 0.0;
    for (auto _ : state) {
        double sum = 0.0;
        for (int i = 0; i < block; ++i) sum += map.mapForEngine(t + i);
        benchmark::DoNotOptimize(sum);
        t += block;
        if (t >= takeSamples) t = 0.0;
    }
    state.SetItemsProcessed(state.iterations() * block);
}
BENCHMARK(time_map_engine_sequential);

} // namespace
