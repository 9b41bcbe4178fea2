#include "Common_VST3/utilities.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {
// Frequencies of the equal-tempered scale on A 440, in Hz.
double note_Hz(double midi_note)
{
    return 440.0 * std::pow(2.0, (midi_note - 69.0) / 12.0);
}
} // namespace

TEST(Utilities, PeriodsOfKnownPitchesInCentsAndNotes)
{
    // 900 cents is 440 Hz, 1200 cents to the octave, 100 to the semitone; the
    // MIDI note is 69 at 440 Hz, one per semitone.
    const struct {
        double midi_note;
        double cents;
    } cases[] = {
        {69.0, 900.0},  {81.0, 2100.0},  {57.0, -300.0}, {45.0, -1500.0}, {60.0, 0.0},
        {70.0, 1000.0}, {93.0, 3300.0},  {21.0, -3900.0}, {69.5, 950.0},  {108.0, 4800.0},
    };
    for (double rate : {44100.0, 48000.0, 96000.0, 22050.0}) {
        for (const auto& c : cases) {
            const double period = rate / note_Hz(c.midi_note);
            EXPECT_NEAR(Period_ToCents(float(period), float(rate)), c.cents, 2e-3)
                << c.midi_note << " at " << rate;
            EXPECT_NEAR(Cents_ToPeriod(float(c.cents), float(rate)), period, period * 1e-6)
                << c.midi_note << " at " << rate;
            EXPECT_NEAR(Period_ToNote(float(period), float(rate)), c.midi_note, 2e-5)
                << c.midi_note << " at " << rate;
        }
        // A period of rate / 440 is 900 cents, exactly so once rounded.
        EXPECT_NEAR(Period_ToCents(float(rate / 440.0), float(rate)), 900.0f, 1e-3) << rate;
        EXPECT_EQ(Round_ToInt(Period_ToCents(float(rate / 440.0), float(rate))), 900) << rate;
    }
}

TEST(Utilities, NoteOfZeroRateIsNotChecked)
{
    const float note = Period_ToNote(100.0f, 0.0f);
    EXPECT_TRUE(std::isinf(note) && note < 0.0f);
}

TEST(Utilities, DecibelsAndAmplitudes)
{
    // 20 log10 of the amplitude; a factor 2 is 20 log10 2 = 6.0206 dB.
    const struct {
        double amp;
        double dB;
    } cases[] = {
        {1.0, 0.0},         {10.0, 20.0},       {0.1, -20.0},   {2.0, 6.020599913},
        {0.5, -6.020599913}, {1e-5, -100.0},    {1000.0, 60.0}, {std::sqrt(0.5), -3.010299957},
    };
    for (const auto& c : cases) {
        EXPECT_NEAR(Amp_ToDB(c.amp), c.dB, 1e-8) << c.amp;
        EXPECT_NEAR(DB_ToAmp(c.dB), c.amp, c.amp * 1e-9) << c.dB;
    }
    // A level of 0 is not checked: minus infinity.
    EXPECT_TRUE(std::isinf(Amp_ToDB(0.0)) && Amp_ToDB(0.0) < 0.0);
}

TEST(Utilities, RoundingHalvesAwayFromZero)
{
    // The argument is a float: the double values of the table are narrowed on the
    // way in, which is what limits exactness to 2^24.
    const struct {
        double x;
        int64_t expected;
    } cases[] = {
        {-2.5, -3}, {2.5, 3}, {0.0, 0}, {0.5, 1}, {-0.5, -1}, {1.5, 2}, {-1.5, -2}, {0.49, 0}, {-0.49, 0},
        {1234.4, 1234}, {-7.6, -8},
        // The largest float below one half: x + 0.5 done in float would round up
        // to 1.
        {0.49999997, 0}, {-0.49999997, 0},
        // 2^23 + 1: x + 0.5 in float would be a tie rounding to 2^23 + 2.
        {8388609.0, 8388609}, {-8388609.0, -8388609}, {16777215.0, 16777215}, {16777216.0, 16777216},
        // Above 2^24 floats are 2 apart, above 2^25 4 apart: 2^24 + 1 is held as
        // 2^24 (a tie to even), 2^25 + 3 as 2^25 + 4.
        {16777217.0, 16777216}, {33554435.0, 33554436}, {-33554435.0, -33554436},
    };
    for (const auto& c : cases) EXPECT_EQ(Round_ToInt(c.x), c.expected) << c.x;
}

TEST(Utilities, ExponentialMapFollowsItsCurve)
{
    // With e^k = (r / (mid - low) - 1)^2 the curve is
    // low + r / (e^k - 1) * ((e^k)^position - 1), worked by hand:
    //   0, 1, 10:    e^k = 81,   quarter 10/80 * (3 - 1) = 0.25,  three quarters 10/80 * 26
    //   10, 12, 20:  e^k = 16,   quarter 10 + 10/15 * 1,          three quarters 10 + 10/15 * 7
    //   0, 80, 100:  e^k = 1/16, quarter -1600/15 * (1/2 - 1),    three quarters -1600/15 * (1/8 - 1)
    const struct {
        float low, mid, high;
        double curve;
        double quarter, three_quarters;
    } cases[] = {
        {0.f, 1.f, 10.f, 2.0 * std::log(9.0), 0.25, 3.25},
        {10.f, 12.f, 20.f, 2.0 * std::log(4.0), 10.0 + 2.0 / 3.0, 10.0 + 14.0 / 3.0},
        {0.f, 80.f, 100.f, 2.0 * std::log(0.25), 160.0 / 3.0, 280.0 / 3.0},
        {20.f, 1000.f, 20000.f, 2.0 * std::log(19980.0 / 980.0 - 1.0), NAN, NAN},
    };
    for (const auto& c : cases) {
        const double tolerance = 1e-5 * (c.high - c.low);
        const float positions[] = {0.0f, 0.25f, 0.5f, 0.75f, 1.0f};
        const double expected[] = {c.low, c.quarter, c.mid, c.three_quarters, c.high};
        for (int i = 0; i < 5; ++i) {
            if (std::isnan(expected[i])) continue;
            EXPECT_NEAR(Exponential_Map(c.low, c.mid, c.high, positions[i]), expected[i], tolerance)
                << c.low << " " << c.mid << " " << c.high << " at " << positions[i];
            // Each call leaves r and k behind.
            EXPECT_EQ(exponential_map_range, c.high - c.low);
            EXPECT_NEAR(exponential_map_curve, c.curve, 1e-6 * std::fabs(c.curve));
        }
    }
}

TEST(Utilities, SamplesAsTimeText)
{
    // Times chosen on whole tenths where the 0.99 samples added decide (below
    // three minutes, where the float hours are finer than a sample), and in the
    // middle of a tenth beyond, where the float hours are coarser.
    const struct {
        int64_t samples;
        double rate;
        const char* text;
        int64_t milliseconds;
        int64_t ms_tolerance;
    } cases[] = {
        {44100, 44100.0, "1.0", 1000, 0},       {0, 44100.0, "0.0", 0, 0},
        {44099, 44100.0, "0.9", 999, 0},        {22050, 44100.0, "0.5", 500, 0},
        {4410 * 95, 44100.0, "9.5", 9500, 0},   {441000, 44100.0, "10.0", 10000, 0},
        {48000 * 59 + 43200, 48000.0, "59.9", 59900, 0}, {48000 * 60, 48000.0, "1:00.0", 60000, 0},
        {48000 * 61, 48000.0, "1:01.0", 61000, 0}, {48000 * 120, 48000.0, "2:00.0", 120000, 0},
        {44100 * 600 + 15435, 44100.0, "10:00.3", 600350, 1},
        {int64_t(48000) * 3723 + 2400, 48000.0, "1:02:03.0", 3723050, 1},
        {int64_t(48000) * 36030 + 26400, 48000.0, "10:00:30.5", 36030550, 5},
    };
    for (const auto& c : cases) {
        char text[time_string_capacity];
        int64_t ms = -1;
        const char* result = Samples_ToTimeString(c.samples, text, &ms, c.rate);
        EXPECT_EQ(result, text);
        EXPECT_STREQ(text, c.text) << c.samples << " at " << c.rate;
        EXPECT_NEAR(double(ms), double(c.milliseconds), double(c.ms_tolerance))
            << c.samples << " at " << c.rate;
    }
    // The milliseconds are optional.
    char text[time_string_capacity];
    EXPECT_STREQ(Samples_ToTimeString(96000, text, nullptr, 48000.0), "2.0");
}

TEST(UtilitiesDeathTest, ZeroRateIsAProgrammingError)
{
    EXPECT_DEATH(Period_ToCents(100.0f, 0.0f),
                 "Assertion failed: \\(sampleRate != 0\\.0\\), function Period_ToCents, "
                 "file Common_VST3/utilities\\.");
    EXPECT_DEATH(Cents_ToPeriod(900.0f, 0.0f),
                 "Assertion failed: \\(sampleRate != 0\\.0\\), function Cents_ToPeriod, "
                 "file Common_VST3/utilities\\.");
}
