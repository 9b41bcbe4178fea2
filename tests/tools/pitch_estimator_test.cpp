// The independent pitch estimator on tones and sung notes whose true pitch is
// known sample by sample, on silence and noise, and the questions the tests
// ask of a track.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <vector>

#include "pitchtrack/Pitch_Estimator.h"
#include "pitchtrack/Pitch_Track.h"
#include "support/pitch_estimate.h"
#include "support/signals.h"
#include "voicegen/Voice_Generator.h"

using pitchtrack::Estimator_Settings;
using pitchtrack::Pitch_Estimator;
using pitchtrack::Pitch_Frame;
using test_pitch::cents_between;
using voicegen::Voice_Generator;
using voicegen::Voice_Settings;
using voicegen::Vowel;

namespace {

// A singer holding notes steady unless asked for vibrato.
Voice_Settings singer(double rate, uint32_t seed, bool vibrato = false)
{
    Voice_Settings s;
    s.sample_rate = rate;
    s.seed = seed;
    if (!vibrato) s.vibrato_depth_cents = 0.0;
    return s;
}

// Each frame within [from, to] against the frequency sung at the middle of
// what it compares: the frame at t compares samples from half a window before
// t onwards, so that is about half a period after t. Counts the voiced frames.
size_t expect_follows(const std::vector<Pitch_Frame>& track, const std::vector<double>& freq, double rate,
                      double from, double to, double tolerance_cents, bool all_voiced,
                      double max_aperiodicity = std::numeric_limits<double>::infinity())
{
    size_t voiced = 0;
    for (const auto& frame : track) {
        if (frame.time_s < from || frame.time_s > to) continue;
        EXPECT_TRUE(frame.voiced() || !all_voiced) << frame.time_s;
        if (!frame.voiced()) continue;
        ++voiced;
        const double truth = freq[std::min(freq.size() - 1, size_t((frame.time_s + 0.5 / frame.hz) * rate))];
        EXPECT_GT(truth, 0.0) << frame.time_s;
        EXPECT_NEAR(cents_between(frame.hz, truth), 0.0, tolerance_cents) << frame.time_s;
        EXPECT_LT(frame.aperiodicity, max_aperiodicity) << frame.time_s;
    }
    return voiced;
}

} // namespace

TEST(PitchEstimator, TonesInRangeAreFollowedAndSilenceAndNoiseAreNotAtEachRate)
{
    for (double rate : {44100.0, 48000.0, 96000.0}) {
        const size_t n = size_t(0.5 * rate);
        Pitch_Estimator estimator(rate);
        for (double hz : {80.0, 123.47, 220.0, 311.13, 440.0, 659.26, 1000.0}) {
            SCOPED_TRACE(testing::Message() << hz << " Hz at " << rate);
            // Away from the ends, where the window reaches past the tone; a
            // pure tone's dip is all but zero.
            const auto track = estimator.track(test_signals::sine(n, hz, rate, 0.5));
            EXPECT_GT(expect_follows(track, std::vector<double>(n, hz), rate, 0.03, 0.47, 0.5, true, 0.01), 80u);
        }
        const std::pair<const char*, std::vector<float>> unvoiced[] = {
            {"silence", std::vector<float>(n, 0.0f)},
            {"loud noise", test_signals::noise(n, 0.5, 1)},
            {"soft noise", test_signals::noise(n, 0.01, 2)},
            {"faint noise", test_signals::noise(n, 0.0005, 3)},
            {"a tone below the silence level", test_signals::sine(n, 440.0, rate, 0.0005)},
            {"a tone below the range", test_signals::sine(n, 35.0, rate, 0.5)},
        };
        for (const auto& [what, signal] : unvoiced) {
            const auto track = estimator.track(signal);
            ASSERT_EQ(track.size(), 101u) << what;
            for (const auto& frame : track)
                EXPECT_FALSE(frame.voiced()) << what << " at " << rate << ", " << frame.time_s;
        }
        // Noise is told apart by its dip, not by its level.
        for (const auto& frame : estimator.track(test_signals::noise(n, 0.5, 4))) EXPECT_GT(frame.aperiodicity, 0.4);
    }
}

TEST(PitchEstimator, SungNotesOnAndOffTheirNoteWithoutOctaveErrors)
{
    // Notes from E2 to B5 on every vowel, with the singer's jitter and
    // shimmer, some sung off their note by known cents; among them an E on
    // C4, whose first formant lifts the second harmonic, and an I on C5,
    // whose first formant lies below the fundamental.
    const struct { double rate, note; Vowel vowel; double detune; } cases[] = {
        {48000, 40, Vowel::A, 0},   {48000, 47, Vowel::O, 35},  {48000, 55, Vowel::U, 12}, {48000, 60, Vowel::E, 0},
        {48000, 62, Vowel::I, -22}, {48000, 69, Vowel::A, 0},   {48000, 76, Vowel::E, 0},  {48000, 83, Vowel::O, 0},
        {44100, 41, Vowel::E, 0},   {44100, 50, Vowel::O, 0},   {44100, 57, Vowel::E, 0},  {44100, 64, Vowel::O, 28},
        {44100, 72, Vowel::I, 0},   {44100, 79, Vowel::U, 0},   {96000, 43, Vowel::I, 0},  {96000, 53, Vowel::U, 0},
        {96000, 60, Vowel::E, 0},   {96000, 67, Vowel::A, -30}, {96000, 76, Vowel::I, 0},  {96000, 83, Vowel::E, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "note " << c.note << " " << c.detune << " cents at " << c.rate);
        Voice_Generator voice(singer(c.rate, uint32_t(c.note) * 7 + uint32_t(c.vowel)));
        const auto x = voice.render({{0.05, 0.7, c.note, c.detune, 0, 0, c.vowel, 0.4}}, 0.8);
        const double truth = Voice_Generator::note_to_hz(c.note + c.detune / 100.0);
        // The singer's jitter moves single frames by some cents; an octave
        // error moves them by 1200.
        const auto track = Pitch_Estimator(c.rate).track(x);
        expect_follows(track, std::vector<double>(x.size(), truth), c.rate, 0.12, 0.68, 25.0, true);
        EXPECT_NEAR(cents_between(pitchtrack::median_hz(track, 0.12, 0.68), truth), 0.0, 3.0);
    }
}

TEST(PitchEstimator, GlidesAndTheDemoPhraseAreFollowed)
{
    const double rate = 48000;
    // A sine falling exponentially from 1000 Hz to 100 Hz in 1.2 s.
    std::vector<double> chirp_hz(size_t(1.2 * rate));
    std::vector<float> chirp(chirp_hz.size());
    double phase = 0.0;
    for (size_t i = 0; i < chirp.size(); ++i) {
        chirp_hz[i] = 1000.0 * std::pow(0.1, double(i) / double(chirp.size()));
        chirp[i] = float(0.5 * std::sin(phase));
        phase += 2.0 * M_PI * chirp_hz[i] / rate;
    }
    expect_follows(Pitch_Estimator(rate).track(chirp), chirp_hz, rate, 0.03, 1.17, 5.0, true);

    // A singer holding 110 Hz, rising two octaves in one second, then back.
    std::vector<double> contour(size_t(2.0 * rate));
    for (size_t i = 0; i < contour.size(); ++i) {
        const double t = double(i) / rate;
        contour[i] = 110.0 * std::exp2(t < 0.3 ? 0.0 : t < 1.3 ? 2.0 * (t - 0.3) : 2.0 - 2.0 * (t - 1.3));
    }
    const auto sung = Voice_Generator(singer(rate, 5)).render_contour(contour, Vowel::A, 0.4);
    EXPECT_GT(expect_follows(Pitch_Estimator(rate).track(sung), contour, rate, 0.1, 1.9, 25.0, true), 350u);

    // Onsets, scoops, vibrato and releases: frames are voiced only where the
    // singer sings, near what is sung, and the notes fill most of the phrase.
    for (double phrase_rate : {44100.0, 48000.0}) {
        Voice_Generator voice(singer(phrase_rate, 7, true));
        const auto x = voice.render(voicegen::demo_phrase_notes(), voicegen::demo_phrase_seconds());
        const size_t voiced = expect_follows(Pitch_Estimator(phrase_rate).track(x), voice.pitch_contour(),
                                             phrase_rate, 0.0, 1e9, 50.0, false);
        EXPECT_GT(double(voiced) * 0.005, 0.8 * 6.0) << phrase_rate;
    }
}

TEST(PitchEstimator, FramesFollowTheSignalInTime)
{
    // Two tones with a gap: the voiced frames start and stop within half a
    // window (10 ms at the lowest pitch searched) of the tones' edges.
    const double rate = 44100;
    const double tones[][2] = {{0.30, 0.55}, {0.75, 0.90}};
    const auto tone = test_signals::sine(size_t(rate), 330.0, rate, 0.4);
    std::vector<float> x(tone.size(), 0.0f);
    for (const auto& e : tones)
        std::copy(tone.begin() + ptrdiff_t(e[0] * rate), tone.begin() + ptrdiff_t(e[1] * rate),
                  x.begin() + ptrdiff_t(e[0] * rate));
    Estimator_Settings settings;
    settings.hop_s = 0.002;
    const auto track = Pitch_Estimator(rate, settings).track(x);
    ASSERT_EQ(track.size(), 501u);
    for (size_t k = 0; k < track.size(); ++k) {
        const double t = double(k) * 0.002;
        EXPECT_NEAR(track[k].time_s, t, 1e-12);
        bool inside = false, near = false;
        for (const auto& e : tones) {
            inside = inside || (t > e[0] + 0.01 && t < e[1] - 0.01);
            near = near || (t > e[0] - 0.01 && t < e[1] + 0.01);
        }
        if (inside || !near) {
            EXPECT_EQ(track[k].voiced(), inside) << t;
        }
    }
}

TEST(PitchEstimator, RefusesSettingsItCannotUseAndBadSamples)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // rate, hop, lowest and highest pitch, threshold; the last row is the
    // highest range 8 kHz allows and is taken.
    const double rows[][5] = {
        {0.0, 0.005, 50, 1500, 0.1},   {-48000, 0.005, 50, 1500, 0.1}, {nan, 0.005, 50, 1500, 0.1},
        {48000, 0.0, 50, 1500, 0.1},   {48000, nan, 50, 1500, 0.1},    {48000, 0.005, 0, 1500, 0.1},
        {48000, 0.005, 500, 500, 0.1}, {48000, 0.005, 800, 400, 0.1},  {48000, 0.005, 50, 20000, 0.1},
        {8000, 0.005, 50, 2500, 0.1},  {48000, 0.005, 50, 1500, 0.0},  {8000, 0.005, 50, 2000, 0.1},
    };
    for (const auto& r : rows) {
        const Estimator_Settings s{r[1], r[2], r[3], r[4]};
        if (&r == std::end(rows) - 1) {
            EXPECT_NO_THROW(Pitch_Estimator(r[0], s));
        } else {
            EXPECT_THROW(Pitch_Estimator(r[0], s), std::invalid_argument)
                << r[0] << " " << r[1] << " " << r[2] << " " << r[3] << " " << r[4];
        }
    }

    Pitch_Estimator estimator(48000);
    EXPECT_TRUE(estimator.track(nullptr, 100).empty());
    EXPECT_TRUE(estimator.track(std::vector<float>{}).empty());
    EXPECT_EQ(estimator.track(std::vector<float>{0.5f}).size(), 1u) << "the frame at time 0";

    // A non-finite sample silences the frames that see it and no others. The
    // frame at t sees from 10 ms before t (half a window of the longest
    // period, 20 ms) to 30 ms after it (the window and the longest lag): 20 ms
    // either side of t + 10 ms.
    auto x = test_signals::sine(48000, 220.0, 48000, 0.5);
    x[24000] = std::numeric_limits<float>::infinity();
    x[36000] = std::numeric_limits<float>::quiet_NaN();
    for (const auto& frame : estimator.track(x)) {
        if (frame.time_s < 0.05 || frame.time_s > 0.95) continue;
        const double from_bad = std::min(std::fabs(frame.time_s + 0.01 - 0.5), std::fabs(frame.time_s + 0.01 - 0.75));
        if (from_bad < 0.019) {
            EXPECT_FALSE(frame.voiced()) << frame.time_s;
        } else if (from_bad > 0.021) {
            EXPECT_NEAR(cents_between(frame.hz, 220.0), 0.0, 0.5) << frame.time_s;
        }
    }
}

TEST(PitchTrack, NotesAndCents)
{
    const std::pair<double, double> cases[] = {{440.0, 69.0},        {220.0, 57.0},        {880.0, 81.0},
                                               {261.6255653, 60.0}, {466.1637615, 70.0}, {27.5, 21.0}};
    for (const auto& [hz, note] : cases) {
        EXPECT_NEAR(pitchtrack::hz_to_midi(hz), note, 1e-6) << hz;
        EXPECT_NEAR(pitchtrack::midi_to_hz(note), hz, 1e-6) << note;
    }
    EXPECT_NEAR(pitchtrack::cents_between(880.0, 440.0), 1200.0, 1e-9);
    EXPECT_NEAR(pitchtrack::cents_between(440.0, 880.0), -1200.0, 1e-9);
    EXPECT_NEAR(pitchtrack::cents_between(440.0 * std::exp2(1.0 / 12.0), 440.0), 100.0, 1e-9) << "a semitone";
}

TEST(PitchTrack, MedianOverASpan)
{
    const std::vector<Pitch_Frame> track = {
        {0.00, 0.0, 1.0},   {0.01, 200.0, 0.0}, {0.02, 220.0, 0.0}, {0.03, 0.0, 0.9},
        {0.04, 210.0, 0.0}, {0.05, 400.0, 0.0}, {0.06, 0.0, 1.0},   {0.07, 100.0, 0.0},
    };
    // 200, 220, 210, 400: the two middle ones, 210 and 220, in the middle in cents.
    EXPECT_NEAR(pitchtrack::median_hz(track, 0.005, 0.055), std::sqrt(210.0 * 220.0), 1e-9);
    // 200, 220, 210: 210. The end of the span is not in it.
    EXPECT_DOUBLE_EQ(pitchtrack::median_hz(track, 0.0, 0.045), 210.0);
    EXPECT_DOUBLE_EQ(pitchtrack::median_hz(track, 0.055, 0.065), 0.0);
    EXPECT_DOUBLE_EQ(pitchtrack::median_hz({}, 0.0, 1.0), 0.0);
}
