// Cost of the engine per second of audio. Each iteration processes one second
// of a sung phrase in host blocks of 512, so the time per iteration is what
// one core spends on one second of audio: 10 ms is 1% of a core.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

#include <string>
#include <time.h>
#include <unistd.h>

#include "dsp/DT_DSPObject.h"
#include "dsp/Scale_State.h"
#include "dsp/note_tables.h"
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

// Auto mode as a host runs it on one track: a held sung vowel (A3, 30 cents
// flat, with vibrato), the Chromatic scale, Retune Speed 0, in host blocks of
// 512; one second of audio per pass.
struct Auto_Mode_Run {
    DT_DSPObject engine;
    std::vector<float> a, b, l, r;
    bool stereo;

    Auto_Mode_Run(double rate, bool two_channels, bool formants) : stereo(two_channels)
    {
        voicegen::Voice_Settings settings;
        settings.sample_rate = rate;
        voicegen::Voice_Generator voice(settings);
        const voicegen::Voice_Note note{0.0, 1.0, 57.0, -30.0, 0.0, 0.0, voicegen::Vowel::A, 0.5};
        a = voice.render({note}, 1.0);
        a.resize(size_t(rate), 0.0f);
        b = a;
        l.resize(a.size());
        r.resize(a.size());
        engine.set_sample_rate(rate);
        engine.set_channels(stereo, stereo);
        engine.set_retune(0.0, 0.0);
        Scale_State scale;
        Note_Table table;
        table.build(scale, rate);
        table.apply(engine);
        engine.set_formants(formants);
        engine.reset();
        engine.set_idle(false);
    }

    // One second of audio through the engine.
    void second()
    {
        for (size_t pos = 0; pos < a.size(); pos += 512) {
            const int64_t n = int64_t(std::min<size_t>(512, a.size() - pos));
            const float* in[2] = {a.data() + pos, b.data() + pos};
            float* out[2] = {l.data() + pos, r.data() + pos};
            engine.process(in, out, n);
        }
        benchmark::DoNotOptimize(l.data());
        benchmark::ClobberMemory();
    }
};

// Processor time of the calling thread, in seconds.
double thread_seconds()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// The share of one core that processing one second of audio per pass takes,
// from the thread's processor time.
void auto_mode(benchmark::State& state)
{
    Auto_Mode_Run run(double(state.range(0)), state.range(1) != 0, state.range(2) != 0);
    run.second(); // the rings fill and the detector locks
    const double start = thread_seconds();
    for (auto _ : state) run.second();
    state.counters["% of one core"] = 100.0 * (thread_seconds() - start) / double(state.iterations());
}

// 96 kHz (through the rate conversion) against 48 kHz, formants on, mono:
// each pass one second at both rates, each timed on its own.
void auto_mode_96k_over_48k(benchmark::State& state)
{
    Auto_Mode_Run low(48000.0, false, true), high(96000.0, false, true);
    low.second();
    high.second();
    double low_s = 0.0, high_s = 0.0;
    for (auto _ : state) {
        const double t0 = thread_seconds();
        low.second();
        const double t1 = thread_seconds();
        high.second();
        low_s += t1 - t0;
        high_s += thread_seconds() - t1;
    }
    const double passes = double(state.iterations());
    state.counters["48 kHz % of one core"] = 100.0 * low_s / passes;
    state.counters["96 kHz % of one core"] = 100.0 * high_s / passes;
    state.counters["96/48"] = high_s / low_s;
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

BENCHMARK(auto_mode)
    ->ArgNames({"rate", "stereo", "formants"})
    ->Args({48000, 0, 1})
    ->Args({48000, 0, 0})
    ->Args({48000, 1, 1})
    ->Args({96000, 0, 1})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(auto_mode_96k_over_48k)->Unit(benchmark::kMillisecond);

BENCHMARK(tracking_one_second)->ArgNames({"record"})->Args({0})->Args({1})->Unit(benchmark::kMillisecond);

BENCHMARK(engine_one_second)
    ->ArgNames({"rate", "stereo"})
    ->Args({48000, 0})
    ->Args({48000, 1})
    ->Args({96000, 0})
    ->Args({96000, 1})
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
