#include "voicegen/Voice_Generator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>

#include "support/pitch_estimate.h"

using voicegen::Voice_Generator;
using voicegen::Voice_Note;
using voicegen::Voice_Settings;
using voicegen::Vowel;

namespace {

Voice_Settings steady(double rate)
{
    Voice_Settings s;
    s.sample_rate = rate;
    s.vibrato_depth_cents = s.jitter = s.shimmer = 0.0;
    return s;
}

// Energy of a stretch at one frequency, by a single DFT bin.
double energy_at(const std::vector<float>& x, size_t begin, size_t length, double freq, double rate)
{
    std::complex<double> sum = 0.0;
    for (size_t i = begin; i < begin + length; ++i)
        sum += double(x[i]) * std::polar(1.0, -2.0 * M_PI * freq * double(i) / rate);
    return std::norm(sum);
}

} // namespace

TEST(VoiceGenerator, ScoopAndVibrato)
{
    Voice_Settings s = steady(48000);
    s.vibrato_depth_cents = 40.0;
    s.vibrato_rate_hz = 5.0;
    s.vibrato_onset_s = 0.3;
    Voice_Generator g(s);
    g.render({{0.0, 2.0, 60, 0, -100, 0.2, Vowel::A, 0.4}}, 2.0);
    const auto& f0 = g.pitch_contour();
    const double note = Voice_Generator::note_to_hz(60);
    // The scoop starts a semitone below and has reached the note after 0.2 s.
    EXPECT_NEAR(test_pitch::cents_between(f0[0], note), -100.0, 0.01);
    EXPECT_NEAR(test_pitch::cents_between(f0[size_t(0.2 * 48000)], note), 0.0, 0.01);
    // Before the onset, no vibrato; once faded in, peaks of 40 cents at 5 Hz.
    EXPECT_NEAR(test_pitch::cents_between(f0[size_t(0.25 * 48000)], note), 0.0, 0.01);
    double high = -1e9, low = 1e9;
    for (size_t i = size_t(1.0 * 48000); i < size_t(1.4 * 48000); ++i) {
        const double cents = test_pitch::cents_between(f0[i], note);
        high = std::max(high, cents);
        low = std::min(low, cents);
    }
    EXPECT_NEAR(high, 40.0, 0.1);
    EXPECT_NEAR(low, -40.0, 0.1);
    // At t = 1.05 s the vibrato of 5 Hz is a quarter cycle in: at its top.
    EXPECT_NEAR(test_pitch::cents_between(f0[size_t(1.05 * 48000)], note), 40.0, 0.1);
}

TEST(VoiceGenerator, SilenceBetweenNotesAndNoClicks)
{
    Voice_Generator g(Voice_Settings{});
    const double rate = 48000;
    const auto x = g.render({{0.1, 0.5, 62, 0, -50, 0.1, Vowel::A, 0.5},
                             {0.8, 0.5, 65, 0, -50, 0.1, Vowel::E, 0.5}},
                            1.5);
    for (size_t i = 0; i < size_t(0.1 * rate); ++i) ASSERT_EQ(x[i], 0.0f);
    for (size_t i = size_t(0.6 * rate) + 1; i < size_t(0.8 * rate); ++i) ASSERT_EQ(x[i], 0.0f);
    for (size_t i = size_t(1.3 * rate) + 1; i < x.size(); ++i) ASSERT_EQ(x[i], 0.0f);
    float peak = 0.0f, step = 0.0f;
    for (size_t i = 1; i < x.size(); ++i) {
        peak = std::max(peak, std::fabs(x[i]));
        step = std::max(step, std::fabs(x[i] - x[i - 1]));
    }
    EXPECT_NEAR(peak, 0.5f, 1e-6);
    // The largest step between samples stays well below the level: no edge.
    EXPECT_LT(step, 0.25f);
    // The edges of each note are quiet.
    EXPECT_LT(std::fabs(x[size_t(0.1 * rate) + 5]), 0.01f);
    EXPECT_LT(std::fabs(x[size_t(0.6 * rate) - 5]), 0.01f);
}

TEST(VoiceGenerator, DeterministicFromItsSeed)
{
    const std::vector<Voice_Note> notes = {{0.0, 0.5, 60, 10, -60, 0.1, Vowel::O, 0.3}};
    Voice_Settings a;
    a.seed = 5;
    Voice_Settings b = a;
    b.seed = 6;
    const auto x1 = Voice_Generator(a).render(notes, 0.6);
    const auto x2 = Voice_Generator(a).render(notes, 0.6);
    const auto y = Voice_Generator(b).render(notes, 0.6);
    EXPECT_EQ(x1, x2);
    EXPECT_NE(x1, y);
}

TEST(VoiceGenerator, VowelsShapeTheSpectrum)
{
    // A at 110 Hz: its first formant near 730 Hz gives the 7th harmonic (770
    // Hz) more energy than I, whose first formant is near 270 Hz; I in turn
    // has more near its second formant around 2290 Hz (21st harmonic, 2310).
    const double rate = 48000;
    auto sing = [&](Vowel v) {
        Voice_Generator g(steady(rate));
        return g.render({{0.0, 1.0, 45, 0, 0, 0, v, 0.5}}, 1.0);
    };
    const auto a = sing(Vowel::A);
    const auto i = sing(Vowel::I);
    const size_t begin = size_t(0.3 * rate), length = size_t(0.5 * rate);
    EXPECT_GT(energy_at(a, begin, length, 770, rate), 4.0 * energy_at(i, begin, length, 770, rate));
    EXPECT_GT(energy_at(i, begin, length, 2310, rate), 4.0 * energy_at(a, begin, length, 2310, rate));
}

TEST(VoiceGenerator, ContourRenderingIsSilentWhereTheContourIsZero)
{
    // The pitch it follows is checked by the estimator's tests on glides.
    std::vector<double> f0(44100, 0.0);
    std::fill(f0.begin() + 8820, f0.begin() + 35280, 196.0);
    Voice_Generator g(steady(44100));
    const auto x = g.render_contour(f0, Vowel::A, 0.3);
    EXPECT_TRUE(x[4410] == 0.0f && x[39690] == 0.0f);
    EXPECT_EQ(g.pitch_contour(), f0);
}

TEST(VoiceGenerator, DemoPhraseIsOutOfTuneMelody)
{
    const auto notes = voicegen::demo_phrase_notes();
    ASSERT_GE(notes.size(), 8u);
    for (size_t k = 0; k < notes.size(); ++k) {
        EXPECT_GE(std::fabs(notes[k].detune_cents), 15.0);
        EXPECT_LE(std::fabs(notes[k].detune_cents), 40.0);
        EXPECT_LT(notes[k].scoop_cents, 0.0);
        if (k > 0) {
            EXPECT_GE(notes[k].start_s, notes[k - 1].start_s + notes[k - 1].length_s);
        }
        EXPECT_LE(notes[k].start_s + notes[k].length_s, voicegen::demo_phrase_seconds());
    }
    const auto x = voicegen::render_demo_phrase(48000);
    EXPECT_EQ(x.size(), size_t(voicegen::demo_phrase_seconds() * 48000));
    // The middle of each held note sings its note with its detune (vibrato
    // averages out over a window of one vibrato cycle, 1 / 5.5 s).
    for (const auto& n : notes) {
        const size_t centre = size_t((n.start_s + n.length_s * 0.5) * 48000);
        const double hz = test_pitch::estimate_hz(x, centre - 4000, 8727, 48000);
        const double expected = Voice_Generator::note_to_hz(n.midi_note + n.detune_cents / 100.0);
        EXPECT_NEAR(test_pitch::cents_between(hz, expected), 0.0, 25.0) << n.midi_note;
    }
}
