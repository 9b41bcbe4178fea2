#include "Common_VST3/utilities.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

TEST(Utilities, CentsOfKnownPitches)
{
    // 900 cents is 440 Hz; 1200 cents to the octave; 0 is the C a major
    // sixth below A 440 (261.63 Hz).
    struct Case {
        double hz;
        double cents;
    };
    const Case cases[] = {
        {440.0, 900.0}, {880.0, 2100.0}, {220.0, -300.0},
        {440.0 * std::pow(2.0, -9.0 / 12.0), 0.0}, {440.0 * std::pow(2.0, 1.0 / 1200.0), 901.0},
    };
    for (double rate : {44100.0, 48000.0, 24000.0}) {
        for (const Case& c : cases) {
            const float period = float(rate / c.hz);
            EXPECT_NEAR(Period_ToCents(period, float(rate)), c.cents, 0.01) << c.hz << " Hz";
            EXPECT_NEAR(Cents_ToPeriod(float(c.cents), float(rate)), rate / c.hz, rate / c.hz * 1e-6);
            EXPECT_NEAR(Period_ToNote(period, float(rate)), 69.0 + (c.cents - 900.0) / 100.0, 1e-4);
        }
    }
    EXPECT_FLOAT_EQ(Period_ToCents(44100.0f / 440.0f, 44100.0f), 900.0f);
}

TEST(Utilities, DecibelsAndAmplitudes)
{
    const double pairs[][2] = {{1.0, 0.0}, {10.0, 20.0}, {0.1, -20.0}, {2.0, 6.0206}, {0.5, -6.0206}};
    for (const auto& p : pairs) {
        EXPECT_NEAR(Amp_ToDB(p[0]), p[1], 1e-4);
        EXPECT_NEAR(DB_ToAmp(p[1]), p[0], 1e-4);
    }
    EXPECT_TRUE(std::isinf(Amp_ToDB(0.0)));
}

TEST(Utilities, RoundingHalvesAwayFromZero)
{
    const struct {
        float x;
        int64_t expected;
    } cases[] = {
        {-2.5f, -3}, {2.5f, 3}, {0.0f, 0}, {0.49f, 0}, {-0.49f, 0}, {0.5f, 1}, {-0.5f, -1},
        {1.5f, 2}, {-1.5f, -2}, {1234.4f, 1234}, {-7.6f, -8}, {16777216.0f, 16777216},
    };
    for (const auto& c : cases) EXPECT_EQ(Round_ToInt(c.x), c.expected) << c.x;
    // Past 2^24 a float cannot hold every integer: 16777217 becomes 16777216.
    EXPECT_EQ(Round_ToInt(16777217.0f), 16777216);
}

TEST(Utilities, ExponentialMapPassesThroughItsThreePoints)
{
    const struct {
        float low, mid, high;
    } cases[] = {{0.f, 50.f, 400.f}, {0.f, 1.f, 10.f}, {20.f, 1000.f, 20000.f}, {0.f, 80.f, 100.f}};
    for (const auto& c : cases) {
        EXPECT_NEAR(Exponential_Map(c.low, c.mid, c.high, 0.0f), c.low, 1e-3 * (c.high - c.low));
        EXPECT_NEAR(Exponential_Map(c.low, c.mid, c.high, 0.5f), c.mid, 1e-3 * (c.high - c.low));
        EXPECT_NEAR(Exponential_Map(c.low, c.mid, c.high, 1.0f), c.high, 1e-3 * (c.high - c.low));
        // The shared variables hold the range and the curve of the last call.
        EXPECT_FLOAT_EQ(exponential_map_range, c.high - c.low);
        EXPECT_NEAR(exponential_map_curve,
                    2.0 * std::log((c.high - c.low) / (c.mid - c.low) - 1.0), 1e-5);
    }
    // With the middle below the centre the curve rises ever faster: the last
    // tenth covers more than the first.
    const float first = Exponential_Map(0, 50, 400, 0.1f) - Exponential_Map(0, 50, 400, 0.0f);
    const float last = Exponential_Map(0, 50, 400, 1.0f) - Exponential_Map(0, 50, 400, 0.9f);
    EXPECT_GT(last, 5.0f * first);
}

TEST(Utilities, SamplesAsTimeText)
{
    const struct {
        int64_t samples;
        float rate;
        const char* text;
        int64_t milliseconds;
    } cases[] = {
        {44100, 44100.f, "1.0", 1000},
        {0, 44100.f, "0.0", 0},
        {22050, 44100.f, "0.5", 500},
        {48000 * 59 + 43200, 48000.f, "59.9", 59900},
        {48000 * 61, 48000.f, "1:01.0", 61000},
        {44100 * 600 + 4410 * 3 + 2205, 44100.f, "10:00.3", 600350},
        {int64_t(48000) * 3723, 48000.f, "1:02:03.0", 3723000},
    };
    for (const auto& c : cases) {
        char text[32];
        int64_t ms = -1;
        const char* result = Samples_ToTimeString(c.samples, text, &ms, c.rate);
        EXPECT_EQ(result, text);
        EXPECT_STREQ(text, c.text) << c.samples;
        EXPECT_NEAR(double(ms), double(c.milliseconds), 1.0) << c.samples;
    }
}

TEST(UtilitiesDeathTest, ZeroRateIsAProgrammingError)
{
    EXPECT_DEATH(Period_ToCents(100.0f, 0.0f),
                 "sampleRate != 0\\.0.*Period_ToCents.*Common_VST3/utilities");
    EXPECT_DEATH(Cents_ToPeriod(900.0f, 0.0f),
                 "sampleRate != 0\\.0.*Cents_ToPeriod.*Common_VST3/utilities");
    // The note form checks nothing.
    EXPECT_TRUE(std::isinf(Period_ToNote(100.0f, 0.0f)));
}
