#include "Common_VST3/biQuad_Filter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>

namespace {

// |H(e^jw)| from the coefficients, in this class's lettering.
double analytic_gain(const biQuad_Filter& f, double freq)
{
    const std::complex<double> z1 = std::polar(1.0, -2.0 * M_PI * freq / f.sample_rate);
    const std::complex<double> z2 = z1 * z1;
    return std::abs((f.a0 + f.a1 * z1 + f.a2 * z2) / (1.0 + f.b1 * z1 + f.b2 * z2));
}

// Gain of a settled sine through the filter, measured.
double measured_gain(biQuad_Filter& f, double freq)
{
    f.clear();
    const double rate = f.sample_rate;
    const int settle = int(rate);
    const int length = int(rate / freq * std::ceil(freq / 10.0)) * 10;
    double in = 0.0, out = 0.0;
    for (int i = 0; i < settle + length; ++i) {
        const double x = std::sin(2.0 * M_PI * freq * i / rate);
        const double y = f.process(x);
        if (i >= settle) {
            in += x * x;
            out += y * y;
        }
    }
    return std::sqrt(out / in);
}

} // namespace

TEST(BiQuadFilter, DesignsHaveTheirTextbookResponses)
{
    const double rate = 48000.0;
    const double q = 0.7071;
    struct Case {
        const char* name;
        uint32_t kind;
        void (*init)(biQuad_Filter&);
        double freq;
        double expected;
    };
    const Case cases[] = {
        // Low-pass: unity at DC, Q times unity at the corner, deep above.
        {"lowpass dc", biQuad_Filter::kind_lowpass, [](biQuad_Filter& f) { f.init_LowPass_twoPole(1000, 0.7071); }, 20, 1.0},
        {"lowpass corner", biQuad_Filter::kind_lowpass, [](biQuad_Filter& f) { f.init_LowPass_twoPole(1000, 0.7071); }, 1000, 0.7071},
        {"lowpass Q 4 corner", biQuad_Filter::kind_lowpass, [](biQuad_Filter& f) { f.init_LowPass_twoPole(2000, 4.0); }, 2000, 4.0},
        // High-pass: the mirror image.
        {"highpass corner", biQuad_Filter::kind_highpass, [](biQuad_Filter& f) { f.init_HighPass_twoPole(500, 0.7071); }, 500, 0.7071},
        {"highpass top", biQuad_Filter::kind_highpass, [](biQuad_Filter& f) { f.init_HighPass_twoPole(500, 0.7071); }, 12000, 1.0},
        // Band-pass: 0 dB at the centre.
        {"bandpass centre", biQuad_Filter::kind_bandpass, [](biQuad_Filter& f) { f.init_BandPass(1500, 2.0); }, 1500, 1.0},
        // Peaking: the gain in dB at the centre, unity far away.
        {"peak +6 dB", biQuad_Filter::kind_peaking, [](biQuad_Filter& f) { f.init_Peaking_EQ(3000, 1.0, 6.0); }, 3000, std::pow(10.0, 6.0 / 20.0)},
        {"peak -12 dB", biQuad_Filter::kind_peaking, [](biQuad_Filter& f) { f.init_Peaking_EQ(800, 2.0, -12.0); }, 800, std::pow(10.0, -12.0 / 20.0)},
        {"peak far", biQuad_Filter::kind_peaking, [](biQuad_Filter& f) { f.init_Peaking_EQ(800, 2.0, -12.0); }, 15000, 1.0},
    };
    (void)q;
    for (const Case& c : cases) {
        biQuad_Filter f;
        f.set_sampleRate(rate);
        c.init(f);
        EXPECT_EQ(f.kind, c.kind) << c.name;
        EXPECT_EQ(f.b0, 1.0) << c.name;
        EXPECT_NEAR(analytic_gain(f, c.freq), c.expected, 0.02 * c.expected) << c.name;
        EXPECT_NEAR(measured_gain(f, c.freq), analytic_gain(f, c.freq), 0.01 * c.expected) << c.name;
    }
}

TEST(BiQuadFilter, LowPassAttenuatesAboveItsCorner)
{
    biQuad_Filter f;
    f.set_sampleRate(44100.0);
    f.init_LowPass_twoPole(500.0, 0.7071);
    // A two-pole low-pass falls by 12 dB per octave well above its corner,
    // a little more near the top, where the bilinear map squeezes the axis.
    const double g2 = measured_gain(f, 2000.0);
    const double g4 = measured_gain(f, 4000.0);
    EXPECT_NEAR(20.0 * std::log10(g2 / g4), 12.0, 1.0);
    EXPECT_LT(measured_gain(f, 20000.0), 0.001);
}

TEST(BiQuadFilter, PassThroughAfterFilteringReturnsTheInput)
{
    biQuad_Filter f;
    f.set_sampleRate(48000.0);
    f.init_LowPass_twoPole(300.0, 2.0);
    for (int i = 0; i < 100; ++i) f.process(std::sin(i * 0.3));
    f.set_passthrough();
    EXPECT_EQ(f.kind, biQuad_Filter::kind_passthrough);
    for (double x : {0.25, -0.75, 1e-12, 3.0}) EXPECT_EQ(f.process(x), x);
}

TEST(BiQuadFilter, SettledFilterHasNoTransient)
{
    biQuad_Filter f;
    f.set_sampleRate(48000.0);
    f.init_LowPass_twoPole(200.0, 0.9);
    f.settle(0.4);
    for (int i = 0; i < 50; ++i) EXPECT_NEAR(f.process(0.4), 0.4, 1e-12);
    f.init_Peaking_EQ(200.0, 1.0, 9.0);
    f.settle(-1.0);
    EXPECT_NEAR(f.process(-1.0), -1.0, 1e-12);
}

TEST(BiQuadFilter, DirectCoefficientsAreNormalised)
{
    biQuad_Filter f;
    f.set_biQuad(2.0, 4.0, 6.0, 2.0, -1.0, 0.5);
    EXPECT_EQ(f.kind, biQuad_Filter::kind_direct);
    EXPECT_EQ(f.a0, 1.0);
    EXPECT_EQ(f.a1, 2.0);
    EXPECT_EQ(f.a2, 3.0);
    EXPECT_EQ(f.b0, 1.0);
    EXPECT_EQ(f.b1, -0.5);
    EXPECT_EQ(f.b2, 0.25);
    // y0 = 1, y1 = 2 + 0.5 y0, y2 = 3 + 0.5 y1 - 0.25 y0.
    EXPECT_DOUBLE_EQ(f.process(1.0), 1.0);
    EXPECT_DOUBLE_EQ(f.process(0.0), 2.5);
    EXPECT_DOUBLE_EQ(f.process(0.0), 3.0 + 1.25 - 0.25);
}

TEST(BiQuadFilterDeathTest, BadArgumentsAreProgrammingErrors)
{
    biQuad_Filter f;
    EXPECT_DEATH(f.set_biQuad(1, 0, 0, 0, 0, 0), "b0 != 0\\..*set_biQuad.*Common_VST3/biQuad_Filter");
    EXPECT_DEATH(f.set_sampleRate(0.0), "sr > 0\\..*set_sampleRate.*Common_VST3/biQuad_Filter");
    EXPECT_DEATH(f.init_LowPass_twoPole(100.0, 0.7), "sample_rate > 0\\..*init_LowPass_twoPole");
    f.set_sampleRate(48000.0);
    EXPECT_DEATH(f.init_Peaking_EQ(24000.0, 1.0, 3.0), "freq_Hz < \\.5 \\* sample_rate.*init_Peaking_EQ");
    EXPECT_DEATH(f.init_HighPass_twoPole(100.0, 0.0), "Q > 0\\..*init_HighPass_twoPole");
    EXPECT_DEATH(f.init_BandPass(-5.0, 1.0), "freq_Hz > 0\\..*init_BandPass");
}
