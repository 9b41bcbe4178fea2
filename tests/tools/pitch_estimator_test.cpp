// The independent pitch estimator: known tones and sung notes whose true
// pitch is known sample by sample, silence and noise, glides and timing,
// and the questions the tests ask of a track.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <vector>

#include "pitchtrack/Pitch_Estimator.h"
#include "pitchtrack/Pitch_Track.h"
#include "support/signals.h"
#include "voicegen/Voice_Generator.h"

using pitchtrack::Estimator_Settings;
using pitchtrack::Pitch_Estimator;
using pitchtrack::Pitch_Frame;
using voicegen::Voice_Generator;
using voicegen::Voice_Settings;
using voicegen::Vowel;

namespace {

double cents(double hz, double reference)
{
    return 1200.0 * std::log2(hz / reference);
}

Voice_Settings held_voice(double rate, uint32_t seed)
{
    Voice_Settings s;
    s.sample_rate = rate;
    s.seed = seed;
    s.vibrato_depth_cents = 0.0;
    return s;
}

// Each frame within [from, to] against the frequency sung at the middle of
// what it compares: the frame at t compares samples from half a window before
// t onwards, so that is about half a period after t. Counts the voiced frames.
size_t expect_follows(const std::vector<Pitch_Frame>& track, const std::vector<double>& freq, double rate,
                      double from, double to, double tolerance_cents, bool all_voiced)
{
    size_t voiced = 0;
    for (const auto& frame : track) {
        if (frame.time_s < from || frame.time_s > to) continue;
        EXPECT_TRUE(frame.voiced() || !all_voiced) << frame.time_s;
        if (!frame.voiced()) continue;
        ++voiced;
        const double truth = freq[std::min(freq.size() - 1, size_t((frame.time_s + 0.5 / frame.hz) * rate))];
        EXPECT_GT(truth, 0.0) << frame.time_s;
        EXPECT_NEAR(cents(frame.hz, truth), 0.0, tolerance_cents) << frame.time_s;
    }
    return voiced;
}

} // namespace

TEST(PitchEstimator, SinesAcrossTheRangeAtEachRate)
{
    for (double rate : {44100.0, 48000.0, 96000.0}) {
        Pitch_Estimator estimator(rate);
        for (double hz : {80.0, 123.47, 220.0, 311.13, 440.0, 659.26, 1000.0}) {
            const auto x = test_signals::sine(size_t(0.5 * rate), hz, rate, 0.5);
            SCOPED_TRACE(testing::Message() << hz << " Hz at " << rate);
            const auto track = estimator.track(x);
            // Away from the ends, where the window reaches past the tone.
            EXPECT_GT(expect_follows(track, std::vector<double>(x.size(), hz), rate, 0.03, 0.47, 0.5, true), 80u);
            for (const auto& frame : track) {
                if (frame.time_s >= 0.03 && frame.time_s <= 0.47) {
                    EXPECT_LT(frame.aperiodicity, 0.01) << frame.time_s;
                }
            }
        }
    }
}

TEST(PitchEstimator, SungNotesWithoutOctaveErrors)
{
    // Notes from E2 to B5 on every vowel, with the singer's jitter and
    // shimmer; among them an E on C4, whose first formant lifts the second
    // harmonic, and an I on C5, whose first formant lies below the
    // fundamental.
    const struct {
        double rate;
        double note;
        Vowel vowel;
    } cases[] = {
        {48000, 40, Vowel::A}, {48000, 47, Vowel::O}, {48000, 55, Vowel::U}, {48000, 60, Vowel::E},
        {48000, 62, Vowel::I}, {48000, 69, Vowel::A}, {48000, 76, Vowel::E}, {48000, 83, Vowel::O},
        {44100, 41, Vowel::E}, {44100, 50, Vowel::O}, {44100, 57, Vowel::E}, {44100, 64, Vowel::O},
        {44100, 72, Vowel::I}, {44100, 79, Vowel::U}, {96000, 43, Vowel::I}, {96000, 53, Vowel::U},
        {96000, 60, Vowel::E}, {96000, 67, Vowel::A}, {96000, 76, Vowel::I}, {96000, 83, Vowel::E},
    };
    for (const auto& c : cases) {
        Voice_Generator voice(held_voice(c.rate, uint32_t(c.note) * 7 + uint32_t(c.vowel)));
        const auto x = voice.render({{0.05, 0.7, c.note, 0, 0, 0, c.vowel, 0.4}}, 0.8);
        const double truth = Voice_Generator::note_to_hz(c.note);
        SCOPED_TRACE(testing::Message() << "note " << c.note << " at " << c.rate);
        // The singer's jitter moves single frames by some cents; an octave
        // error moves them by 1200.
        const auto track = Pitch_Estimator(c.rate).track(x);
        expect_follows(track, std::vector<double>(x.size(), truth), c.rate, 0.12, 0.68, 25.0, true);
        EXPECT_NEAR(cents(pitchtrack::median_hz(track, 0.12, 0.68), truth), 0.0, 3.0) << c.note << " at " << c.rate;
    }
}

TEST(PitchEstimator, SilenceNoiseAndTonesOutOfRangeAreUnvoiced)
{
    const double rate = 48000;
    const size_t n = size_t(0.4 * rate);
    const struct {
        const char* what;
        std::vector<float> signal;
    } cases[] = {
        {"silence", std::vector<float>(n, 0.0f)},
        {"loud noise", test_signals::noise(n, 0.5, 1)},
        {"soft noise", test_signals::noise(n, 0.01, 2)},
        {"faint noise", test_signals::noise(n, 0.0005, 3)},
        {"a tone below the silence level", test_signals::sine(n, 440.0, rate, 0.0005)},
        {"a tone below the range", test_signals::sine(n, 35.0, rate, 0.5)},
    };
    Pitch_Estimator estimator(rate);
    for (const auto& c : cases) {
        const auto track = estimator.track(c.signal);
        ASSERT_EQ(track.size(), 81u) << c.what;
        for (const auto& frame : track) EXPECT_FALSE(frame.voiced()) << c.what << " at " << frame.time_s;
    }
    // Noise is told apart by its dip, not by its level.
    for (const auto& frame : estimator.track(test_signals::noise(n, 0.5, 4))) EXPECT_GT(frame.aperiodicity, 0.4);
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

    // A singer rising two octaves, 110 Hz to 440 Hz, in one second, after a
    // held start, then back down.
    std::vector<double> contour(size_t(2.0 * rate));
    for (size_t i = 0; i < contour.size(); ++i) {
        const double t = double(i) / rate;
        contour[i] = 110.0 * std::exp2(t < 0.3 ? 0.0 : t < 1.3 ? 2.0 * (t - 0.3) : 2.0 - 2.0 * (t - 1.3));
    }
    Voice_Generator voice(held_voice(rate, 5));
    const auto sung = voice.render_contour(contour, Vowel::A, 0.4);
    EXPECT_GT(expect_follows(Pitch_Estimator(rate).track(sung), contour, rate, 0.1, 1.9, 25.0, true), 350u);

    // Onsets, scoops, vibrato and releases: frames are voiced only where the
    // singer sings, near what is sung, and the notes fill most of the phrase.
    for (double phrase_rate : {44100.0, 48000.0}) {
        Voice_Settings settings;
        settings.sample_rate = phrase_rate;
        settings.seed = 7;
        Voice_Generator singer(settings);
        const auto x = singer.render(voicegen::demo_phrase_notes(), voicegen::demo_phrase_seconds());
        const size_t voiced = expect_follows(Pitch_Estimator(phrase_rate).track(x), singer.pitch_contour(),
                                             phrase_rate, 0.0, 1e9, 50.0, false);
        EXPECT_GT(double(voiced) * 0.005, 0.8 * 6.0) << phrase_rate;
    }
}

TEST(PitchEstimator, FramesFollowTheSignalInTime)
{
    // Two tones with a gap: the voiced frames start and stop within half a
    // window (10 ms at the lowest pitch searched) of the tones' edges.
    const double rate = 44100;
    std::vector<float> x(size_t(1.0 * rate), 0.0f);
    const auto tone = test_signals::sine(x.size(), 330.0, rate, 0.4);
    for (size_t i = size_t(0.30 * rate); i < size_t(0.55 * rate); ++i) x[i] = tone[i];
    for (size_t i = size_t(0.75 * rate); i < size_t(0.90 * rate); ++i) x[i] = tone[i];

    Estimator_Settings settings;
    settings.hop_s = 0.002;
    Pitch_Estimator estimator(rate, settings);
    const auto track = estimator.track(x);
    ASSERT_EQ(track.size(), 501u);
    for (size_t k = 0; k < track.size(); ++k) {
        const double t = double(k) * 0.002;
        EXPECT_NEAR(track[k].time_s, t, 1e-12);
        const bool inside = (t > 0.31 && t < 0.54) || (t > 0.76 && t < 0.89);
        const bool outside = t < 0.29 || (t > 0.56 && t < 0.74) || t > 0.91;
        if (inside) {
            EXPECT_TRUE(track[k].voiced()) << t;
        }
        if (outside) {
            EXPECT_FALSE(track[k].voiced()) << t;
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
        Estimator_Settings s;
        s.hop_s = r[1];
        s.min_hz = r[2];
        s.max_hz = r[3];
        s.threshold = r[4];
        if (&r == std::end(rows) - 1) {
            EXPECT_NO_THROW(Pitch_Estimator(r[0], s));
        } else {
            EXPECT_THROW(Pitch_Estimator(r[0], s), std::invalid_argument) << r[0] << " " << r[1] << " " << r[2] << " " << r[3];
        }
    }

    Pitch_Estimator estimator(48000);
    EXPECT_TRUE(estimator.track(nullptr, 100).empty());
    EXPECT_TRUE(estimator.track(std::vector<float>{}).empty());
    // A single sample still gives the frame at time 0.
    EXPECT_EQ(estimator.track(std::vector<float>{0.5f}).size(), 1u);

    // A non-finite sample silences the frames that see it and no others. The
    // frame at t sees from 10 ms before t (half a window of the longest
    // period, 20 ms) to 30 ms after it (the window and the longest lag).
    auto x = test_signals::sine(48000, 220.0, 48000, 0.5);
    x[24000] = std::numeric_limits<float>::infinity();
    x[36000] = std::numeric_limits<float>::quiet_NaN();
    const auto sees = [](double t, double bad) { return t - bad > -0.029 && t - bad < 0.009; };
    const auto clear = [](double t, double bad) { return t - bad < -0.031 || t - bad > 0.011; };
    for (const auto& frame : estimator.track(x)) {
        if (frame.time_s < 0.05 || frame.time_s > 0.95) continue;
        const bool seen = sees(frame.time_s, 0.5) || sees(frame.time_s, 0.75);
        const bool unseen = clear(frame.time_s, 0.5) && clear(frame.time_s, 0.75);
        if (seen) {
            EXPECT_FALSE(frame.voiced()) << frame.time_s;
        }
        if (unseen) {
            EXPECT_NEAR(cents(frame.hz, 220.0), 0.0, 0.5) << frame.time_s;
        }
    }
}

TEST(PitchTrack, NotesAndCents)
{
    const struct {
        double hz;
        double note;
    } cases[] = {
        {440.0, 69.0}, {220.0, 57.0}, {880.0, 81.0}, {261.6255653, 60.0}, {466.1637615, 70.0}, {27.5, 21.0},
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(pitchtrack::hz_to_midi(c.hz), c.note, 1e-6) << c.hz;
        EXPECT_NEAR(pitchtrack::midi_to_hz(c.note), c.hz, 1e-6) << c.note;
    }
    EXPECT_NEAR(pitchtrack::cents_between(880.0, 440.0), 1200.0, 1e-9);
    EXPECT_NEAR(pitchtrack::cents_between(440.0, 880.0), -1200.0, 1e-9);
    // A ratio of 1.05946... is a semitone.
    EXPECT_NEAR(pitchtrack::cents_between(440.0 * std::pow(2.0, 1.0 / 12.0), 440.0), 100.0, 1e-9);
}

TEST(PitchTrack, MedianAndVoicedShareOverASpan)
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
    EXPECT_DOUBLE_EQ(pitchtrack::voiced_fraction(track, 0.0, 0.08), 5.0 / 8.0);
    EXPECT_DOUBLE_EQ(pitchtrack::voiced_fraction(track, 0.025, 0.065), 2.0 / 4.0);
    EXPECT_DOUBLE_EQ(pitchtrack::voiced_fraction(track, 1.0, 2.0), 0.0);
}

TEST(PitchTrack, DeviationsFromTheNotesOfAScale)
{
    const std::vector<int> c_major = {0, 2, 4, 5, 7, 9, 11};
    const double a4 = 440.0;
    const std::vector<Pitch_Frame> track = {
        {0.0, a4, 0.0},
        {0.1, 0.0, 1.0},
        // 30 cents above A4.
        {0.2, a4 * std::exp2(30.0 / 1200.0), 0.0},
        // 40 cents below C5: nearer C5 than B4.
        {0.3, 523.2511306 * std::exp2(-40.0 / 1200.0), 0.0},
        // F#4 plus 20 cents: G4 is the nearest allowed note, 80 cents up.
        {0.4, 369.9944227 * std::exp2(20.0 / 1200.0), 0.0},
        // E2, far below the others.
        {0.5, 82.40688923, 0.0},
    };
    const auto d = pitchtrack::deviations_from_scale(track, c_major);
    ASSERT_EQ(d.size(), 5u);
    const struct {
        double time;
        int note;
        double cents;
    } expected[] = {{0.0, 69, 0.0}, {0.2, 69, 30.0}, {0.3, 72, -40.0}, {0.4, 67, -80.0}, {0.5, 40, 0.0}};
    for (size_t i = 0; i < d.size(); ++i) {
        EXPECT_DOUBLE_EQ(d[i].time_s, expected[i].time);
        EXPECT_EQ(d[i].note, expected[i].note) << i;
        EXPECT_NEAR(d[i].cents, expected[i].cents, 1e-6) << i;
    }
    // With only A allowed, C5 minus 40 cents is 260 cents above A4.
    const auto only_a = pitchtrack::deviations_from_scale(track, {9});
    EXPECT_EQ(only_a[2].note, 69);
    EXPECT_NEAR(only_a[2].cents, 260.0, 1e-6);
    EXPECT_THROW(pitchtrack::deviations_from_scale(track, {}), std::invalid_argument);
    EXPECT_THROW(pitchtrack::deviations_from_scale(track, {0, 12}), std::invalid_argument);
    EXPECT_THROW(pitchtrack::deviations_from_scale(track, {-1}), std::invalid_argument);
}

TEST(PitchTrack, SungDetuningMeasuredAgainstTheScale)
{
    // Held notes of C major sung off by known amounts: the estimator and the
    // scale check together give each note's detuning back.
    const double rate = 48000;
    const struct {
        double note;
        double detune;
        Vowel vowel;
    } notes[] = {{60, 28, Vowel::A}, {62, -22, Vowel::E}, {64, 35, Vowel::O}, {67, -30, Vowel::I}, {71, 12, Vowel::U}};
    std::vector<voicegen::Voice_Note> phrase;
    for (size_t i = 0; i < std::size(notes); ++i)
        phrase.push_back({0.1 + 0.6 * double(i), 0.5, notes[i].note, notes[i].detune, 0, 0, notes[i].vowel, 0.4});
    Voice_Generator voice(held_voice(rate, 11));
    const auto x = voice.render(phrase, 0.2 + 0.6 * double(std::size(notes)));
    const auto track = Pitch_Estimator(rate).track(x);
    const auto deviations = pitchtrack::deviations_from_scale(track, {0, 2, 4, 5, 7, 9, 11});
    for (size_t i = 0; i < std::size(notes); ++i) {
        // The held middle of each note.
        const double from = 0.1 + 0.6 * double(i) + 0.1, to = from + 0.3;
        std::vector<double> held;
        for (const auto& d : deviations) {
            if (d.time_s < from || d.time_s >= to) continue;
            EXPECT_EQ(d.note, int(notes[i].note)) << d.time_s;
            held.push_back(d.cents);
        }
        ASSERT_GT(held.size(), 50u) << i;
        std::sort(held.begin(), held.end());
        EXPECT_NEAR(held[held.size() / 2], notes[i].detune, 3.0) << notes[i].note;
    }
}
