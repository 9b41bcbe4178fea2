// Cost of Graph mode's playback per second of output audio, at 48 kHz mono:
// the take played live (time control off) next to the take read from its
// data file through a time map that leaves it as it is, stretches it by 1.5
// or compresses it to half its length. Each pass is one second of output in
// host blocks of 512; the counter is the share of one core it takes, from
// the thread's processor time. The store runs offline, so that a read that
// outruns the disk waits for it rather than play silence: the figure
// includes the reads' share of waiting.

#include <benchmark/benchmark.h>

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "dsp/DT_DSPObject.h"
#include "graph/model/AudioDataStore.h"
#include "graph/model/TimeMap.h"
#include "graph/model/TrackedFrameArray.h"
#include "voicegen/Voice_Generator.h"

namespace {

constexpr double rate = 48000.0;
constexpr double takeSeconds = 60.0;
constexpr int64_t block = 512;

double thread_seconds()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// A minute of the demo phrase, repeated, recorded into a data file, and an
// engine in Graph mode that plays it.
struct Playback_Run {
    std::vector<float> take, out;
    TrackedFrameArray frames;
    AudioDataStore store{1};
    DT_DSPObject engine;
    std::string folder = "/tmp/corvane-time-bench-" + std::to_string(::getpid());
    size_t position = 0;
    // Output samples before the clock goes back to the start.
    size_t outputEnd = 0;

    // `stretch` 0 plays the take live; otherwise the store through a map
    // that scales the whole take by it.
    explicit Playback_Run(double stretch)
    {
        const auto phrase = voicegen::render_demo_phrase(rate);
        const size_t length = size_t(takeSeconds * rate);
        take.resize(length);
        for (size_t i = 0; i < length; ++i) take[i] = phrase[i % phrase.size()];
        out.resize(size_t(block));
        frames.allocate(int64_t(2.0 * takeSeconds * rate / 200.0));
        store.setParentFolder(folder);
        store.setSessionID(AudioDataStore::makeSessionID());
        store.start();
        store.setOffline(true);
        store.beginRun();
        for (size_t i = 0; i < length; ++i) store.writeSample(int64_t(i), take[i], 0.0f);
        store.endRun();
        store.waitIdle();

        engine.set_sample_rate(rate);
        engine.set_channels(false, false);
        engine.attach_tracked_data(&frames, &store);
        engine.reset();
        engine.set_auto_mode(false);
        const double end = double(length);
        outputEnd = length;
        if (stretch > 0.0) {
            engine.set_time_warping(true);
            auto map = TimeMap::fromBreakpoints({0.0, end}, {0.0, end * stretch});
            engine.publish_time_map(std::make_unique<const TimeMap>(*map));
            outputEnd = size_t(end * std::min(stretch, 1.0));
        }
        engine.set_idle(false);
        engine.set_position(0);
    }

    ~Playback_Run()
    {
        store.stop();
        store.purgeFiles();
        ::rmdir(folder.c_str());
    }

    void second()
    {
        for (size_t done = 0; done < size_t(rate); done += size_t(block)) {
            if (position + size_t(block) > outputEnd) {
                position = 0;
                engine.set_position(0);
            }
            const float* in[1] = {take.data() + position};
            float* o[1] = {out.data()};
            engine.process(in, o, block);
            position += size_t(block);
        }
        benchmark::DoNotOptimize(out.data());
    }
};

void time_playback(benchmark::State& state)
{
    Playback_Run run(double(state.range(0)) / 100.0);
    run.second(); // the rings fill, the first blocks come in
    const double start = thread_seconds();
    for (auto _ : state) run.second();
    state.counters["% of one core"] = 100.0 * (thread_seconds() - start) / double(state.iterations());
}

} // namespace

// Stretch in hundredths: 0 live, 100 the take as it is, 150 and 50.
BENCHMARK(time_playback)
    ->ArgNames({"stretch%"})
    ->Args({0})
    ->Args({100})
    ->Args({150})
    ->Args({50})
    ->Unit(benchmark::kMillisecond);
