// Cost of the correction objects on a long take: the whole pass that writes
// a three-hour take's frames, the make operations over it, and a local edit
// (a note nudged, its frames recomputed) as the interface thread does it.

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

#include "graph/model/ObjectEditor.h"

namespace {

constexpr double rate = 48000.0;
constexpr double hop = 200.0;
// Three hours of frames at the default hop.
constexpr int64_t takeFrames = int64_t(3 * 3600 * rate / hop);

// A sung take: notes of 0.6 s with a 5.5 Hz vibrato of 30 cents, a
// semitone apart in a rising and falling pattern, 0.15 s of silence between.
TrackedFrameArray& take()
{
    static std::unique_ptr<TrackedFrameArray> frames;
    if (frames) return *frames;
    frames = std::make_unique<TrackedFrameArray>();
    frames->allocate(takeFrames);
    const int64_t note = int64_t(0.6 * rate / hop), gap = int64_t(0.15 * rate / hop);
    for (int64_t i = 0; i < takeFrames; ++i) {
        TrackedFrame f;
        f.minSample = -0.4f;
        f.maxSample = 0.4f;
        const int64_t n = i / (note + gap), at = i % (note + gap);
        if (at < note) {
            const double cents = -600.0 + 100.0 * double(n % 12 < 6 ? n % 12 : 12 - n % 12) +
                                 30.0 * std::sin(2.0 * M_PI * 5.5 * double(at) * hop / rate);
            f.periodA = f.periodB = float(rate / 440.0 * std::pow(2.0, (900.0 - cents) / 1200.0));
            f.centsA = f.centsB = int32_t(std::lround(cents));
        }
        frames->putTracked(i, f);
    }
    frames->extendTracked(takeFrames);
    return *frames;
}

NewObjectSettings settings()
{
    NewObjectSettings s;
    s.snap = true;
    s.retuneSpeed = 20.0f;
    return s;
}

void make_notes_three_hours(benchmark::State& state)
{
    TrackedFrameArray& frames = take();
    for (auto _ : state) benchmark::DoNotOptimize(makeNotes(frames, rate / hop, settings()));
}

void make_curves_three_hours(benchmark::State& state)
{
    TrackedFrameArray& frames = take();
    for (auto _ : state) benchmark::DoNotOptimize(makeCurves(frames, rate / hop, settings()));
}

void apply_objects_three_hours(benchmark::State& state)
{
    TrackedFrameArray& frames = take();
    const ObjectList notes = makeNotes(frames, rate / hop, settings());
    ObjectPass pass;
    pass.setRates(rate, hop);
    for (auto _ : state) pass.applyObjects(&notes, frames);
    state.counters["objects"] = double(notes.count() / 2);
}

// One note in the middle of the take selected and nudged a cent, and back:
// a new list, a history step and the frames of that note recomputed.
void nudge_one_note_three_hours(benchmark::State& state)
{
    TrackedFrameArray& frames = take();
    ObjectEditor editor;
    editor.attach(&frames);
    editor.setRates(rate, hop);
    editor.makeNotes(settings());
    ObjectList chosen = editor.currentList();
    chosen.records[chosen.count() / 2 & ~size_t(1)].selected = 1;
    chosen.records[(chosen.count() / 2 & ~size_t(1)) + 1].selected = 1;
    editor.getHistory().pushStep(chosen);
    int16_t step = 1;
    for (auto _ : state) {
        editor.nudge(0, step, false, 0);
        step = int16_t(-step);
    }
}

} // namespace

BENCHMARK(apply_objects_three_hours)->Unit(benchmark::kMillisecond);
BENCHMARK(make_notes_three_hours)->Unit(benchmark::kMillisecond);
BENCHMARK(make_curves_three_hours)->Unit(benchmark::kMillisecond);
BENCHMARK(nudge_one_note_three_hours)->Unit(benchmark::kMillisecond);
