// The engine's time control against its own audio store: a take written to
// a data file, played back through time maps made from breakpoints. How
// long a stretched stretch lasts, its pitch, the audio around it, and the
// reads of a disk that falls behind.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "dsp/DT_DSPObject.h"
#include "graph/model/AudioDataStore.h"
#include "graph/model/TimeMap.h"
#include "graph/model/TrackedFrameArray.h"
#include "support/editor_host.h"
#include "support/pitch_estimate.h"
#include "support/realtime_counter.h"
#include "support/signals.h"
#include "voicegen/Voice_Generator.h"

namespace {

constexpr double rate = 48000.0;
constexpr size_t latency = 2660;
constexpr int64_t block = 512;

// A take in a data file and an engine in Graph mode that plays it, its
// frames empty so that nothing is corrected.
struct Stored_Take {
    TrackedFrameArray frames;
    AudioDataStore store{1};
    DT_DSPObject engine;
    const std::vector<float> silence = std::vector<float>(size_t(block), 0.0f);

    Stored_Take(const std::vector<float>& take, const std::string& folder)
    {
        frames.allocate(int64_t(double(take.size()) / 100.0) + 1000);
        store.setParentFolder(folder);
        store.setSessionID(AudioDataStore::makeSessionID());
        store.start();
        store.setOffline(true);
        store.beginRun();
        for (size_t i = 0; i < take.size(); ++i) store.writeSample(int64_t(i), take[i], 0.0f);
        store.endRun();
        store.waitIdle();
        engine.set_sample_rate(rate);
        engine.set_channels(false, false);
        engine.attach_tracked_data(&frames, &store);
        engine.reset();
        engine.set_auto_mode(false);
        engine.set_time_warping(true);
    }
    ~Stored_Take()
    {
        store.stop();
        store.purgeFiles();
    }

    // From output position 0, with `map` (null: none published) and the
    // store read offline (waiting for the disk) or as in real time.
    void start(std::unique_ptr<const TimeMap> map, bool offline)
    {
        if (map) engine.publish_time_map(std::move(map));
        store.setOffline(offline);
        engine.set_idle(false);
        engine.set_position(0);
    }
    // `samples` of output, silence in, appended to `out`.
    void play(size_t samples, std::vector<float>& out)
    {
        for (size_t done = 0; done < samples; done += size_t(block)) {
            const size_t at = out.size();
            out.resize(at + size_t(block));
            const float* in[1] = {silence.data()};
            float* o[1] = {out.data() + at};
            engine.process(in, o, block);
        }
    }
};

// The identity before `a` and after `b` shifted by the stretch, the stretch
// by `k` between (seconds).
std::unique_ptr<const TimeMap> stretchMap(double a, double b, double k, double end)
{
    const double A = a * rate, B = b * rate, E = end * rate;
    const double shift = (k - 1.0) * (B - A);
    auto map = TimeMap::fromBreakpoints({0.0, A, B, E}, {0.0, A, A + k * (B - A), E + shift});
    return map ? std::make_unique<const TimeMap>(*map) : nullptr;
}

// A voice with steady notes (no vibrato, no jitter) and exact silence
// between them: onsets at 0.2, 1.0, 1.8 and 2.6 s, each 0.5 s long.
const double onsets[] = {0.2, 1.0, 1.8, 2.6};
std::vector<float> phrase()
{
    voicegen::Voice_Settings settings;
    settings.jitter = 0.0;
    settings.vibrato_depth_cents = 0.0;
    voicegen::Voice_Generator voice(settings);
    const double notes[] = {57, 60, 55, 59};
    std::vector<voicegen::Voice_Note> list;
    for (size_t n = 0; n < 4; ++n)
        list.push_back({onsets[n], 0.5, notes[n], 0.0, 0.0, 0.0, voicegen::Vowel::A, 0.5});
    return voice.render(list, 3.4);
}

// Onsets of `y` (latency removed), in seconds: where a 2 ms RMS first
// passes 0.02 after at least 50 ms below it.
std::vector<double> onsetsOf(const std::vector<float>& y)
{
    const size_t w = size_t(0.002 * rate);
    std::vector<double> found;
    size_t quiet = 0;
    for (size_t i = latency; i + w <= y.size(); i += w) {
        if (test_signals::rms(y, i, w) < 0.02) {
            quiet += w;
            continue;
        }
        if (quiet >= size_t(0.05 * rate)) found.push_back(double(i - latency) / rate);
        quiet = 0;
    }
    return found;
}

// The largest normalised correlation of y[at + lag ...] with x[from ...]
// over `length` samples, lags within +-`reach`.
double bestCorrelation(const std::vector<float>& x, size_t from, const std::vector<float>& y, size_t at,
                       size_t length, size_t reach)
{
    double best = -1.0;
    for (size_t k = 0; k <= 2 * reach; ++k) {
        const size_t start = at + k - reach;
        double xy = 0.0, xx = 0.0, yy = 0.0;
        for (size_t i = 0; i < length; ++i) {
            xy += double(x[from + i]) * double(y[start + i]);
            xx += double(x[from + i]) * double(x[from + i]);
            yy += double(y[start + i]) * double(y[start + i]);
        }
        best = std::max(best, xy / std::sqrt(xx * yy));
    }
    return best;
}

} // namespace

// A stretch [0.9 s, 1.7 s) holding the second note and the silence after
// it, scaled by 1.5, 2 and 0.5; the rest of the take shifted by what the
// stretch adds. Measured against the take played through no map:
// - the span from the second note's onset to the third's is the map's,
//   within 10 ms: the output's onsets follow the source's entry into the
//   rings, which at a stretch waits, and at a compression runs ahead, by up
//   to a period of the 196 to 262 Hz voice (5 ms), and the threshold passes
//   a stretched attack later;
// - the second note's pitch, in the middle 0.3 s of it, within 5 cents;
// - until the stretch begins the output is the same to the bit (from there
//   the writer stands still or runs ahead, and the read-out splices), after
//   it the fourth note is the same note shifted (a correlation of 0.99
//   within a period of the expected place).
TEST(TimeEngine, AStretchedStretchLastsItsScaledLengthAtThePitchItHad)
{
    const auto take = phrase();
    const std::string folder = test_host::scratchFolder("time-engine");
    std::vector<float> plain;
    {
        Stored_Take run(take, folder);
        run.start(nullptr, true);
        run.play(take.size() + latency, plain);
    }
    const auto plainOnsets = onsetsOf(plain);
    ASSERT_EQ(plainOnsets.size(), 4u);
    // The threshold lies a few milliseconds into each attack.
    for (size_t n = 0; n < 4; ++n) EXPECT_NEAR(plainOnsets[n], onsets[n], 0.010) << n;

    const double a = 0.9, b = 1.7;
    for (double k : {1.5, 2.0, 0.5}) {
        Stored_Take run(take, folder);
        run.start(stretchMap(a, b, k, double(take.size()) / rate), true);
        std::vector<float> y;
        const double shift = (k - 1.0) * (b - a);
        run.play(size_t((double(take.size()) / rate + shift) * rate) + latency, y);
        const auto found = onsetsOf(y);
        ASSERT_EQ(found.size(), 4u) << k;
        // The plain render's onsets through the map.
        const double second = a + k * (plainOnsets[1] - a), third = plainOnsets[2] + shift;
        EXPECT_NEAR(found[0], plainOnsets[0], 0.001) << k;
        EXPECT_NEAR(found[1], second, 0.010) << k;
        EXPECT_NEAR(found[2] - found[1], third - second, 0.010) << k;
        EXPECT_NEAR(found[3], plainOnsets[3] + shift, 0.010) << k;

        const size_t window = size_t(0.3 * std::min(k, 1.0) * rate);
        const double heard = test_pitch::estimate_hz(y, latency + size_t((second + 0.1 * k) * rate), window, rate);
        const double sung = test_pitch::estimate_hz(plain, latency + size_t((onsets[1] + 0.1) * rate), window, rate);
        ASSERT_GT(sung, 0.0);
        EXPECT_NEAR(test_pitch::cents_between(heard, sung), 0.0, 5.0) << k;

        EXPECT_TRUE(std::equal(plain.begin(), plain.begin() + long(a * rate), y.begin())) << k;
        const size_t fourth = latency + size_t((onsets[3] + 0.05) * rate);
        const size_t moved = size_t(long(fourth) + std::lround(shift * rate));
        EXPECT_GE(bestCorrelation(plain, fourth, y, moved, size_t(0.4 * rate), 250), 0.99) << k;
    }
}

// With the disk stalled once the audio flows, the reads answer "not in
// yet" and the loop goes on: every output sample from the block that is
// late on (the sixth: the read-ahead is two blocks deep) is silent and
// counted, at the frame where it began, and the audio comes back once the
// disk brings the block in. Before the stall none is counted; the loop
// neither allocates nor locks.
TEST(TimeEngine, ReadingNeverWaitsForAStalledDiskAndReportsTheOverrun)
{
    const auto take = test_signals::sine(size_t(7.0 * rate), 220.0, rate, 0.3, M_PI / 2);
    Stored_Take run(take, test_host::scratchFolder("time-engine"));
    const int64_t blockFrames = AudioDataStore::defaultBlockFrames;
    run.start(std::make_unique<const TimeMap>(), false);
    std::vector<float> y;
    y.reserve(size_t(7.0 * rate));
    test_rt::reset();
    // Into the third block of the store, paced loosely so that the
    // read-ahead keeps up; the third has asked for the fourth and fifth,
    // which come in while the loop waits.
    for (int64_t done = 0; done < 2 * blockFrames + blockFrames / 2; done += 4 * block) {
        test_rt::Audio_Section section;
        run.play(size_t(4 * block), y);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(run.engine.get_overrun_count(), 0);
    run.store.holdReadsForTesting(true);
    {
        // Past the sixth block's start, with the disk stalled.
        test_rt::Audio_Section section;
        run.play(size_t(5 * blockFrames) - y.size() + size_t(0.5 * rate), y);
    }
    const test_rt::Counts counts = test_rt::counts();
    EXPECT_EQ(counts.allocations, 0);
    EXPECT_EQ(counts.locks, 0);
    const size_t late = size_t(5 * blockFrames);
    EXPECT_EQ(run.engine.get_overrun_count(), int64_t(y.size() - late));
    EXPECT_EQ(run.engine.get_overrun_frame(), int64_t(y.size() - 1) / 200);
    EXPECT_LT(test_signals::rms(y, late + latency + 960, y.size() - late - latency - 960), 1e-4);
    run.store.holdReadsForTesting(false);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const size_t back = y.size();
    run.play(size_t(0.5 * rate), y);
    EXPECT_GT(test_signals::rms(y, back + latency, y.size() - back - latency), 0.1);
}

// Ten minutes of a take read through the store by a loop paced at 40 times
// real time (at most; slower builds run as fast as they can), with the disk
// at its own speed: the read-ahead, two blocks of 0.68 s deep, keeps up and
// none is late. At 40 times real time the disk has 34 ms for each block
// (1.4 s in a host), room for a machine busy with other work; the test takes
// 15 s.
TEST(TimeEngine, ATenMinuteTakePlaysWithoutAnOverrun)
{
    const size_t length = size_t(600.0 * rate);
    std::vector<float> take(length);
    for (size_t i = 0; i < length; ++i) take[i] = float(0.3 * std::sin(2.0 * M_PI * 220.0 * double(i) / rate));
    Stored_Take run(take, test_host::scratchFolder("time-engine"));
    run.start(std::make_unique<const TimeMap>(), false);
    std::vector<float> y;
    y.reserve(length + size_t(block));
    const auto begun = std::chrono::steady_clock::now();
    const size_t stride = size_t(0.5 * rate);
    for (size_t done = 0; done < length; done += stride) {
        run.play(stride, y);
        std::this_thread::sleep_until(begun + std::chrono::microseconds(int64_t(double(done + stride) / rate / 40.0 * 1e6)));
    }
    EXPECT_EQ(run.engine.get_overrun_count(), 0);
    EXPECT_GT(test_signals::rms(y, length - size_t(rate), size_t(rate) / 2), 0.1);
}
