// Cost of the engine per second of audio. Each iteration processes one second
// of a sung phrase in host blocks of 512, so the time per iteration is what
// one core spends on one second of audio: 10 ms is 1% of a core.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

#include <string>
#include <unistd.h>

#include "dsp/DT_DSPObject.h"
#include "graph/model/AudioDataStore.h"
#include "graph/model/TrackedFrameArray.h"
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

// Graph mode's tracking at 48 kHz mono: a frame per hop, and with
// `record` the source audio through the store to a data file. The store
// runs offline, so that the audio thread waits for the disk rather than
// drop blocks when the benchmark runs faster than real time: its figure
// includes what waiting for the disk costs.
void tracking_one_second(benchmark::State& state)
{
    const bool record = state.range(0) != 0;
    const double rate = 48000.0;
    const auto voice = voicegen::render_demo_phrase(rate);
    const size_t second = size_t(rate);
    std::vector<float> a(voice.begin(), voice.begin() + long(second)), l(second);

    TrackedFrameArray frames;
    frames.allocate(int64_t(3600 * rate / 200));
    AudioDataStore store(1);
    const std::string folder = "/tmp/corvane-bench-" + std::to_string(::getpid());
    store.setParentFolder(folder);
    store.setSessionID(AudioDataStore::makeSessionID());
    store.start();
    store.setOffline(true);
    DT_DSPObject engine;
    engine.set_sample_rate(rate);
    engine.set_channels(false, false);
    engine.attach_tracked_data(&frames, &store);
    engine.reset();
    engine.set_auto_mode(false);
    engine.set_idle(false);
    engine.set_tracking_frames(true);
    engine.set_recording(record);

    for (auto _ : state) {
        for (size_t pos = 0; pos < second; pos += 512) {
            const float* in[1] = {a.data() + pos};
            float* out[1] = {l.data() + pos};
            engine.process(in, out, int64_t(std::min<size_t>(512, second - pos)));
        }
        benchmark::DoNotOptimize(l.data());
    }
    engine.set_recording(false);
    store.waitIdle();
    store.stop();
    store.purgeFiles();
    ::rmdir(folder.c_str());
}

} // namespace

BENCHMARK(tracking_one_second)->ArgNames({"record"})->Args({0})->Args({1})->Unit(benchmark::kMillisecond);

BENCHMARK(engine_one_second)
    ->ArgNames({"rate", "stereo"})
    ->Args({48000, 0})
    ->Args({48000, 1})
    ->Args({96000, 0})
    ->Args({96000, 1})
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
