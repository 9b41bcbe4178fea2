// Cost of the engine per second of audio. Each iteration processes one second
// of a sung phrase in host blocks of 512, so the time per iteration is what
// one core spends on one second of audio: 10 ms is 1% of a core.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

#include "dsp/DT_DSPObject.h"
#include "voicegen/Voice_Generator.h"

namespace {

void engine_one_second(benchmark::State& state)
{
    const double rate = double(state.range(0));
    const bool stereo = state.range(1) != 0;
    const int64_t block = 512;
    const auto voice = voicegen::render_demo_phrase(rate);
    const size_t second = size_t(rate);
    std::vector<float> a(voice.begin(), voice.begin() + long(std::min(second, voice.size())));
    a.resize(second, 0.0f);
    std::vector<float> b(a);
    std::vector<float> l(second), r(second);

    DT_DSPObject engine;
    engine.set_sample_rate(rate);
    engine.set_channels(stereo, stereo);
    engine.reset();
    engine.set_idle(false);

    for (auto _ : state) {
        for (size_t pos = 0; pos < second; pos += size_t(block)) {
            const int64_t n = std::min<int64_t>(block, int64_t(second - pos));
            const float* in[2] = {a.data() + pos, b.data() + pos};
            float* out[2] = {l.data() + pos, r.data() + pos};
            engine.process(in, out, n);
        }
        benchmark::DoNotOptimize(l.data());
        benchmark::ClobberMemory();
    }
}

} // namespace

BENCHMARK(engine_one_second)
    ->ArgNames({"rate", "stereo"})
    ->Args({48000, 0})
    ->Args({48000, 1})
    ->Args({96000, 0})
    ->Args({96000, 1})
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
