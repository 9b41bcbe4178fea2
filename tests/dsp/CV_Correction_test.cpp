// The detector, the retune smoother and the Auto-mode correction of the
// engine: the stages on their own, and the engine driven directly.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "dsp/DT_DSPObject.h"
#include "dsp/note_tables.h"
#include "dsp/ring_index.h"
#include "support/note_judge.h"
#include "support/pitch_estimate.h"
#include "support/signals.h"
#include "voicegen/Voice_Generator.h"

namespace {

constexpr int64_t kLatency = 2660;

// An engine in Auto mode at a rate, its note table from a scale object.
struct Engine {
    DT_DSPObject dsp;
    Scale_State scale;
    Note_Table table;
    double rate;

    explicit Engine(double r, double retune_ms = 0.0) : rate(r)
    {
        dsp.set_sample_rate(rate);
        dsp.set_channels(false, false);
        dsp.set_tracking(50.0, 1);
        dsp.set_retune(retune_ms, 0.0);
        dsp.reset();
        dsp.set_idle(false);
        set_scale(2, 0);
    }
    void set_scale(int s, int key)
    {
        scale.scale = int16_t(s);
        scale.key = int16_t(key);
        table.build(scale, rate);
        table.apply(dsp);
    }
    // Runs x in blocks of 256; calls `each` after every block.
    template <typename F>
    std::vector<float> run(const std::vector<float>& x, F each)
    {
        std::vector<float> y(x.size());
        for (size_t pos = 0; pos < x.size(); pos += 256) {
            const int64_t n = std::min<int64_t>(256, int64_t(x.size() - pos));
            const float* in[2] = {x.data() + pos, nullptr};
            float* out[2] = {y.data() + pos, nullptr};
            dsp.process(in, out, n);
            each(pos + size_t(n));
        }
        return y;
    }
    std::vector<float> run(const std::vector<float>& x)
    {
        return run(x, [](size_t) {});
    }
};

double hz_at(const std::vector<float>& y, double seconds, double rate)
{
    return test_pitch::estimate_hz(y, size_t(seconds * rate), size_t(0.04 * rate), rate);
}

} // namespace

namespace {

// A detector fed sample by sample at the positions of an input ring, as the
// engine feeds it.
struct Fed_Detector {
    pitch_detector detector;
    int64_t newest = 0;

    explicit Fed_Detector(double rate)
    {
        detector.set_rate(rate);
        detector.set_tracking(50.0, input_type::alto_tenor);
    }
    void feed(double x)
    {
        newest = engine::ring_next(newest, engine::ring_len);
        detector.process(x, newest);
    }
};

} // namespace

TEST(Detector, LocksOnTonesAcrossTheVoiceRange)
{
    for (double rate : {44100.0, 48000.0}) {
        for (double hz : {82.0, 110.0, 196.0, 330.0, 523.0, 880.0, 1100.0}) {
            Fed_Detector d(rate);
            const auto x = test_signals::sine(size_t(0.5 * rate), hz, rate, 0.5);
            double worst = 0.0;
            bool locked = true;
            for (size_t i = 0; i < x.size(); ++i) {
                d.feed(x[i]);
                if (i < size_t(0.2 * rate)) continue;
                locked &= !d.detector.is_searching();
                worst = std::max(worst, std::fabs(d.detector.get_period() - rate / hz));
            }
            EXPECT_TRUE(locked) << hz << " Hz at " << rate;
            EXPECT_LT(worst, 0.0009 * rate / hz) << hz << " Hz at " << rate;
        }
    }
}

TEST(Detector, LocksOnlyWhileAVoiceLasts)
{
    Fed_Detector d(48000.0);
    // How many samples of x find the detector locked.
    auto locked = [&d](const std::vector<float>& x) {
        int n = 0;
        for (float v : x) {
            d.feed(v);
            n += d.detector.is_searching() ? 0 : 1;
        }
        return n;
    };
    EXPECT_EQ(locked(std::vector<float>(48000, 0.0f)), 0);
    EXPECT_LT(locked(test_signals::noise(48000, 0.3, 3)), 48000 / 10);
    EXPECT_GT(locked(test_signals::sine(24000, 300.0, 48000.0, 0.5)), 12000);
    // Where the voice stops the lock is lost, and the last period is kept for
    // the splices of the unvoiced stretch.
    locked(std::vector<float>(24000, 0.0f));
    EXPECT_TRUE(d.detector.is_searching());
    EXPECT_EQ(d.detector.get_period(), 0.0);
    EXPECT_GT(d.detector.get_last_period(), 150.0);
}

namespace {

// The pitch of the output a while after the onset of a steady tone, with
// retune 0: where the correction put it.
double corrected_hz(Engine& e, double in_hz, double at_s = 0.45)
{
    const auto x = test_signals::sine(size_t(0.6 * e.rate), in_hz, e.rate, 0.5);
    const auto y = e.run(x);
    return hz_at(y, at_s, e.rate);
}

double note_hz(double midi) { return 440.0 * std::pow(2.0, (midi - 69.0) / 12.0); }

} // namespace

TEST(Correction, ChromaticSnapsToTheNearestNote)
{
    for (double rate : {44100.0, 48000.0, 96000.0}) {
        const struct {
            double in_hz, out_hz;
        } cases[] = {
            {450.0, note_hz(69)},   // +39 cents above A4
            {430.0, note_hz(69)},   // -40 cents
            {455.0, note_hz(70)},   // +58 cents: A#4
            {200.0, note_hz(55)},   // G3 +35
            {130.0, note_hz(48)},   // C3 -11
            {700.0, note_hz(77)},   // F5 +16
        };
        for (const auto& c : cases) {
            Engine e(rate);
            const double out = corrected_hz(e, c.in_hz);
            EXPECT_NEAR(test_pitch::cents_between(out, c.out_hz), 0.0, 3.0)
                << c.in_hz << " Hz at " << rate << " gave " << out;
        }
    }
}

TEST(Correction, ScaleKeyDetuneAndMarks)
{
    // Marks are bit masks over the rows of the chromatic scale; row 9 is A.
    const struct {
        int scale, key, detune;
        unsigned removed, bypassed;
        double in_hz, out_hz;
    } cases[] = {
        {0, 0, 0, 0, 0, 270.0, note_hz(60)},       // C major, C4 +55: down to C4,
        {0, 0, 0, 0, 0, 135.0, note_hz(48)},       // in every octave
        {0, 7, 0, 0, 0, 375.0, note_hz(66)},       // F# is no note of C major, of G major it is
        {2, 0, 20, 0, 0, 452.0, 440.0 * std::pow(2.0, 20.0 / 1200.0)}, // detune moves A4
        {2, 0, 0, 1u << 9, 0, 445.0, note_hz(70)}, // a removed note sends its pitches to
        {2, 0, 0, 1u << 9, 0, 435.0, note_hz(68)}, // the neighbour on their side
        {2, 0, 0, 0, 1u << 9, 447.0, 447.0},       // a bypassed note passes untouched,
        {2, 0, 0, 0, 1u << 9, 400.0, note_hz(67)}, // its neighbours still correct
        {2, 0, 0, 0xfff, 0, 450.0, 450.0},         // every note removed: no correction
    };
    for (const auto& c : cases) {
        Engine e(48000.0);
        e.scale.detune = int16_t(c.detune);
        for (int row = 0; row < 12; ++row) {
            if (c.removed >> row & 1) e.scale.setRowRemoved(row, 0, 2, 1);
            if (c.bypassed >> row & 1) e.scale.setRowBypassed(row, 0, 2, 1);
        }
        e.set_scale(c.scale, c.key);
        EXPECT_NEAR(test_pitch::cents_between(corrected_hz(e, c.in_hz), c.out_hz), 0.0, 3.0) << c.in_hz;
    }
}

TEST(Correction, RetuneSpeedSetsTheGlide)
{
    const double rate = 48000.0;
    const double in_hz = 452.0; // A4 +47 cents
    auto offset_at = [&](double retune_ms, double t) {
        Engine e(rate, retune_ms);
        const auto x = test_signals::sine(size_t(1.2 * rate), in_hz, rate, 0.5);
        const auto y = e.run(x);
        // The output at t seconds after the voice, through the delay.
        const double out = test_pitch::estimate_hz(y, size_t(t * rate) + kLatency, size_t(0.01 * rate), rate);
        return test_pitch::cents_between(out, 440.0);
    };
    // At 0 the note is caught at once.
    EXPECT_NEAR(offset_at(0.0, 0.1), 0.0, 3.0);
    // At 100 ms half the way is covered in about 100 ms.
    const double early = offset_at(100.0, 0.03);
    const double half = offset_at(100.0, 0.13);
    const double late = offset_at(100.0, 0.9);
    EXPECT_GT(early, 25.0);
    EXPECT_GT(half, 12.0);
    EXPECT_LT(half, 36.0);
    EXPECT_NEAR(late, 0.0, 3.0);
}

TEST(RetuneSmoother, HalvesTheDistanceInTheRetuneTimeThenRelaxes)
{
    // At 48 kHz a decision every five samples makes 9600 a second: 20 ms are
    // 192 decisions, 50 ms 480, 0.4 s 3840.
    retune_smoother s;
    s.set_times(20.0, 30.0, 48000.0);
    double r = 0.0;
    for (int i = 0; i < 192; ++i) r = s.smooth(2.0);
    EXPECT_NEAR(r, 1.5, 1e-9);
    // Over 0.4 s of one note the pole relaxes to that of retune + humanize; a
    // new note is caught at the retune speed again.
    EXPECT_EQ(s.get_ramp_len(), 3840);
    for (int i = 0; i <= 3840; ++i) s.note(4);
    EXPECT_NEAR(std::pow(s.get_retune_coef(), 480.0), 0.5, 1e-9);
    s.note(5);
    EXPECT_NEAR(std::pow(s.get_retune_coef(), 192.0), 0.5, 1e-9);
    s.set_times(0.0, 0.0, 48000.0);
    EXPECT_EQ(s.smooth(1.25), 1.25); // 0 jumps to the target
}

TEST(Shifter, AntiAliasFiltersFollowTheRatioBeyondATenthAway)
{
    pitch_shifter shifter;
    shifter.set_rate(48000.0);
    const double steps[][2] = {{1.05, 1.0}, {1.2, 1.2}, {1.3, 1.2}, {1.0, 1.0}, {0.5, 0.5}};
    for (const auto& step : steps) {
        shifter.check_anti_alias(step[0]);
        EXPECT_EQ(shifter.get_filter_ratio(), step[1]) << step[0];
    }
}

TEST(Correction, TransposeShiftsEveryNote)
{
    const double rate = 48000.0;
    Engine e(rate);
    e.dsp.set_transpose(12);
    EXPECT_NEAR(test_pitch::cents_between(corrected_hz(e, 220.0), 440.0), 0.0, 3.0);
    Engine down(rate);
    down.dsp.set_transpose(-7);
    EXPECT_NEAR(test_pitch::cents_between(corrected_hz(down, 440.0), note_hz(62)), 0.0, 3.0);
}

namespace {

// A sung note of a line: onset and length in seconds, the note (MIDI) and
// how far the singer is off it, in cents.
struct Sung_Note {
    double start_s, length_s, note, detune_cents;
};

// The fundamental per sample of a sung line with a vibrato of 25 cents at
// 5.5 Hz on every note. A note that starts where the one before ended is
// sung legato, gliding over 30 ms from the pitch before; otherwise the voice
// is silent (0) between notes.
std::vector<double> sung_line(const std::vector<Sung_Note>& line, double seconds, double rate)
{
    std::vector<double> f0(size_t(seconds * rate), 0.0);
    double previous_cents = 0.0;
    double previous_end = -1.0;
    for (const auto& n : line) {
        const double held = 100.0 * (n.note - 69.0) + n.detune_cents;
        const bool legato = std::fabs(n.start_s - previous_end) < 1e-9;
        const size_t begin = size_t(n.start_s * rate);
        const size_t end = std::min(f0.size(), size_t((n.start_s + n.length_s) * rate));
        for (size_t i = begin; i < end; ++i) {
            const double t = double(i - begin) / rate;
            double cents = held + 25.0 * std::sin(2.0 * M_PI * 5.5 * t);
            if (legato && t < 0.03)
                cents = previous_cents + (cents - previous_cents) * (0.5 - 0.5 * std::cos(M_PI * t / 0.03));
            f0[i] = 440.0 * std::pow(2.0, cents / 1200.0);
        }
        previous_cents = held + 25.0 * std::sin(2.0 * M_PI * 5.5 * n.length_s);
        previous_end = n.start_s + n.length_s;
    }
    return f0;
}

} // namespace

TEST(Correction, NoteEndsAndOnsetsStayOnTheNotes)
{
    // Notes that fade out and start again after gaps of 100, 30 and 10 ms,
    // and one legato step of a major third. The crests of the vibrato carry
    // the first and the last note past the midpoint to their neighbour, where
    // the nearest note changes for a moment. At the retune speed of 20 ms,
    // from the first voiced frame of each note to its last, the output stays
    // within a semitone of the note the singer is nearest and never turns
    // into a repeat over several periods (a sub-octave). A retune speed of 0
    // is no case for this: on a note's midpoint it snaps to either side at
    // every decision, as the singer's jitter carries the pitch across.
    const std::vector<Sung_Note> line = {
        {0.10, 0.70, 60, +28}, // crests at +53
        {0.90, 0.55, 62, -22}, // after 100 ms of silence
        {1.48, 0.50, 64, +35}, // after 30 ms
        {1.99, 0.45, 65, -20}, // after 10 ms
        {2.44, 0.45, 69, +15}, // legato
        {2.99, 0.80, 67, -30}, // crests at -55
    };
    double sung_s = 0.0;
    for (const auto& n : line) sung_s += n.length_s;
    for (double rate : {44100.0, 48000.0, 96000.0}) {
        voicegen::Voice_Settings settings;
        settings.sample_rate = rate;
        settings.seed = 3;
        voicegen::Voice_Generator voice(settings);
        const auto x = voice.render_contour(sung_line(line, 3.9, rate), voicegen::Vowel::A, 0.4);
        const std::vector<double> sung_hz = voice.pitch_contour();
        Engine e(rate, 20.0);
        const auto y = e.run(x);
        const size_t latency = size_t(kLatency * e.dsp.get_decimation_factor());
        const auto j = test_pitch::judge_notes(x, sung_hz, y, latency, rate);
        // Every note is heard, for most of its length.
        EXPECT_GT(j.voiced_in, int(0.85 * sung_s / pitchtrack::Estimator_Settings().hop_s)) << rate;
        EXPECT_GT(j.voiced_out, int(0.97 * j.voiced_in)) << rate;
        EXPECT_EQ(j.off_note, 0) << "at " << rate << " Hz the worst frame, at " << j.worst_time_s
                                 << " s: input " << j.worst_in_hz << " Hz, output " << j.worst_out_hz
                                 << " Hz, " << j.worst_cents << " cents from the note";
    }
}

namespace {

// Peak-to-peak pitch of y, in cents, over [from, to) seconds of the input,
// measured in short windows.
double pitch_swing(const std::vector<float>& y, double rate, double from, double to)
{
    double low = 1e9, high = -1e9;
    for (double t = from; t < to; t += 0.01) {
        const double hz = test_pitch::estimate_hz(y, size_t(t * rate) + kLatency, size_t(0.012 * rate), rate);
        if (hz <= 0.0) continue;
        const double c = 1200.0 * std::log2(hz / 440.0);
        low = std::min(low, c);
        high = std::max(high, c);
    }
    return high - low;
}

} // namespace

TEST(Vibrato, ShapeDepthAndOnsetOnAHeldNote)
{
    const double rate = 48000.0;
    Engine e(rate);
    e.dsp.set_samples_per_frame(200.0);
    e.dsp.set_vibrato_shape(1);
    e.dsp.set_vibrato_pitch(50.0);
    e.dsp.set_vibrato_rate(1000.0 / (rate / (5.0 * 200.0))); // 5 Hz
    e.dsp.set_vibrato_delay(500.0);
    e.dsp.set_vibrato_onset(200.0);
    const auto x = test_signals::sine(size_t(1.6 * rate), 440.0, rate, 0.4);
    const auto y = e.run(x);
    // Before the onset delay the note is held straight; after the fade-in it
    // swings by twice the depth.
    EXPECT_LT(pitch_swing(y, rate, 0.1, 0.45), 8.0);
    EXPECT_NEAR(pitch_swing(y, rate, 0.9, 1.5), 100.0, 15.0);
}

TEST(Vibrato, NaturalVibratoScalesTheSingersOwn)
{
    const double rate = 48000.0;
    voicegen::Voice_Settings settings;
    settings.sample_rate = rate;
    settings.jitter = 0.0;
    voicegen::Voice_Generator voice(settings);
    // A held A4 with a vibrato of 40 cents at 5.5 Hz.
    std::vector<double> f0(size_t(2.0 * rate));
    for (size_t i = 0; i < f0.size(); ++i)
        f0[i] = 440.0 * std::pow(2.0, 40.0 / 1200.0 * std::sin(2.0 * M_PI * 5.5 * double(i) / rate));
    const auto x = voice.render_contour(f0, voicegen::Vowel::A, 0.5);
    auto swing = [&](double dB, bool ignore) {
        Engine e(rate, 400.0); // a slow retune leaves the vibrato to these settings
        e.dsp.set_samples_per_frame(200.0);
        e.dsp.set_natural_vibrato(dB);
        e.dsp.set_ignore_vibrato(ignore);
        return pitch_swing(e.run(x), rate, 1.0, 1.8);
    };
    const double natural = swing(0.0, false);
    EXPECT_NEAR(natural, 80.0, 20.0);
    EXPECT_LT(swing(-12.0, false), 0.5 * natural);
    EXPECT_GT(swing(6.0, false), 1.4 * natural);
}

TEST(Vibrato, FrameGeneratorForImportedNotes)
{
    const float fps = 240.0f;
    float t = 0.0f, value = 0.0f, mix = 0.0f;
    // Straight through the delay of 100 ms (24 frames).
    float f = vibrato_generator::vibrato_factor(t, true, value, mix, fps, 1, 5.0f, 100, 100, 0, 100);
    EXPECT_EQ(f, 1.0f);
    EXPECT_EQ(t, 1.0f);
    while (t <= 24.0f) vibrato_generator::vibrato_factor(t, false, value, mix, fps, 1, 5.0f, 100, 100, 0, 100);
    // Then a sine of 100 cents at full depth once the onset has passed.
    float low = 10.0f, high = 0.0f;
    for (int i = 0; i < 200; ++i) {
        f = vibrato_generator::vibrato_factor(t, false, value, mix, fps, 1, 5.0f, 100, 100, 0, 100);
        if (t > 60.0f) {
            low = std::min(low, f);
            high = std::max(high, f);
        }
    }
    EXPECT_NEAR(std::log2(high) * 1200.0, 100.0, 2.0);
    EXPECT_NEAR(std::log2(low) * 1200.0, -100.0, 2.0);
    // An unknown shape gives no vibrato.
    t = 50.0f;
    EXPECT_EQ(vibrato_generator::vibrato_factor(t, false, value, mix, fps, 7, 5.0f, 100, 100, 0, 100), 1.0f);
}
