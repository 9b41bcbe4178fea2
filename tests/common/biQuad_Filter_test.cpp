#include "Common_VST3/biQuad_Filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <string>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kRate = 48000.0;

using cplx = std::complex<double>;

struct Design {
    const char* name;
    uint32_t kind;
    double freq_Hz;
    double Q;
    double gain_dB; // peaking only
};

void init(biQuad_Filter& f, const Design& d)
{
    switch (d.kind) {
    case biQuad_Filter::kind_lowpass: f.init_LowPass_twoPole(d.freq_Hz, d.Q); break;
    case biQuad_Filter::kind_highpass: f.init_HighPass_twoPole(d.freq_Hz, d.Q); break;
    case biQuad_Filter::kind_bandpass: f.init_BandPass(d.freq_Hz, d.Q); break;
    case biQuad_Filter::kind_peaking: f.init_Peaking_EQ(d.freq_Hz, d.Q, d.gain_dB); break;
    default: FAIL() << "no design of kind " << d.kind;
    }
}

// The analog prototype of each design, normalised to a corner of 1 rad/s. The
// bilinear transform prewarped at the corner maps the digital frequency f onto
// the analog s = j tan(pi f / rate) / tan(pi f0 / rate), so the digital response
// is exactly the prototype's there.
cplx prototype(const Design& d, double freq_Hz)
{
    const cplx s(0.0, std::tan(kPi * freq_Hz / kRate) / std::tan(kPi * d.freq_Hz / kRate));
    const cplx den = s * s + s / d.Q + 1.0;
    switch (d.kind) {
    case biQuad_Filter::kind_lowpass: return 1.0 / den;
    case biQuad_Filter::kind_highpass: return s * s / den;
    case biQuad_Filter::kind_bandpass: return (s / d.Q) / den;
    case biQuad_Filter::kind_peaking: {
        const double A = std::pow(10.0, d.gain_dB / 40.0);
        return (s * s + s * (A / d.Q) + 1.0) / (s * s + s / (A * d.Q) + 1.0);
    }
    default: return 0.0;
    }
}

// The complex gain of the filter at freq_Hz, measured: a sine runs through it
// until the transient has died, then the output is fitted by least squares as
// p sin + q cos, which is Re H sin + Im H cos for a steady response.
cplx measured(biQuad_Filter& f, double freq_Hz)
{
    f.clear();
    const double w = 2.0 * kPi * freq_Hz / kRate;
    const int settle_len = int(2.0 * kRate);
    const int fit_len = 9600;
    double ss = 0.0, sc = 0.0, cc = 0.0, ys = 0.0, yc = 0.0;
    for (int n = 0; n < settle_len + fit_len; ++n) {
        const double sn = std::sin(w * n);
        const double y = f.process(sn);
        if (n < settle_len) continue;
        const double cn = std::cos(w * n);
        ss += sn * sn;
        sc += sn * cn;
        cc += cn * cn;
        ys += y * sn;
        yc += y * cn;
    }
    const double det = ss * cc - sc * sc;
    return {(ys * cc - yc * sc) / det, (yc * ss - ys * sc) / det};
}

// The steady output for a constant input, and for the alternating input
// (-1)^n, each divided by the input: the gains at DC and at Nyquist.
double measured_dc(biQuad_Filter& f)
{
    f.clear();
    double y = 0.0;
    for (int n = 0; n < 2 * int(kRate); ++n) y = f.process(1.0);
    return y;
}

double measured_nyquist(biQuad_Filter& f)
{
    f.clear();
    double y = 0.0;
    double sign = 1.0;
    for (int n = 0; n < 2 * int(kRate); ++n, sign = -sign) y = sign * f.process(sign);
    return y;
}

const Design kDesigns[] = {
    {"lowpass 1 kHz Q 0.7071", biQuad_Filter::kind_lowpass, 1000.0, 0.7071, 0.0},
    {"lowpass 150 Hz Q 4", biQuad_Filter::kind_lowpass, 150.0, 4.0, 0.0},
    {"lowpass 20 kHz Q 0.5", biQuad_Filter::kind_lowpass, 20000.0, 0.5, 0.0},
    {"highpass 500 Hz Q 0.7071", biQuad_Filter::kind_highpass, 500.0, 0.7071, 0.0},
    {"highpass 80 Hz Q 2", biQuad_Filter::kind_highpass, 80.0, 2.0, 0.0},
    {"bandpass 1500 Hz Q 2", biQuad_Filter::kind_bandpass, 1500.0, 2.0, 0.0},
    {"bandpass 300 Hz Q 0.5", biQuad_Filter::kind_bandpass, 300.0, 0.5, 0.0},
    {"peak 3 kHz Q 1 +6 dB", biQuad_Filter::kind_peaking, 3000.0, 1.0, 6.0},
    {"peak 800 Hz Q 2 -12 dB", biQuad_Filter::kind_peaking, 800.0, 2.0, -12.0},
    {"peak 800 Hz Q 2 0 dB", biQuad_Filter::kind_peaking, 800.0, 2.0, 0.0},
};

} // namespace

TEST(BiQuadFilter, DesignsHaveTheirLandmarkGains)
{
    // Gains worked from the prototypes by hand: at the corner s = j, so the
    // low-pass and high-pass have |H| = Q there (-3 dB for Q = 0.7071), the
    // band-pass 1, the bell A^2 = 10^(gain_dB / 20). At DC s = 0, at Nyquist
    // s is infinite.
    const struct {
        Design design;
        double at_corner, at_dc, at_nyquist;
    } cases[] = {
        {kDesigns[0], 0.7071, 1.0, 0.0},
        {kDesigns[1], 4.0, 1.0, 0.0},
        {kDesigns[3], 0.7071, 0.0, 1.0},
        {kDesigns[4], 2.0, 0.0, 1.0},
        {kDesigns[5], 1.0, 0.0, 0.0},
        {kDesigns[6], 1.0, 0.0, 0.0},
        {kDesigns[7], 1.9952623, 1.0, 1.0},
        {kDesigns[8], 0.2511886, 1.0, 1.0},
        {kDesigns[9], 1.0, 1.0, 1.0},
    };
    for (const auto& c : cases) {
        biQuad_Filter f;
        f.set_sampleRate(kRate);
        init(f, c.design);
        EXPECT_EQ(f.kind, c.design.kind) << c.design.name;
        EXPECT_EQ(f.b0, 1.0) << c.design.name;
        EXPECT_NEAR(std::abs(measured(f, c.design.freq_Hz)), c.at_corner, 1e-6) << c.design.name;
        EXPECT_NEAR(measured_dc(f), c.at_dc, 1e-9) << c.design.name;
        EXPECT_NEAR(measured_nyquist(f), c.at_nyquist, 1e-9) << c.design.name;
    }
}

TEST(BiQuadFilter, ResponseFollowsTheAnalogPrototypeAcrossTheBand)
{
    const double freqs[] = {30.0, 100.0, 440.0, 1000.0, 2500.0, 7000.0, 12000.0, 18000.0, 23000.0};
    for (const Design& d : kDesigns) {
        biQuad_Filter f;
        f.set_sampleRate(kRate);
        init(f, d);
        for (double freq : freqs) {
            const cplx expected = prototype(d, freq);
            const cplx got = measured(f, freq);
            EXPECT_NEAR(std::abs(got - expected), 0.0, 1e-7 * std::max(1.0, std::abs(expected)))
                << d.name << " at " << freq << " Hz: " << got << " against " << expected;
        }
    }
}

TEST(BiQuadFilter, LowPassFallsTwelveDecibelsPerOctave)
{
    // Well above the corner |H| ~ (f0 / f)^2, steeper still toward Nyquist where
    // the bilinear transform compresses the axis.
    biQuad_Filter f;
    f.set_sampleRate(44100.0);
    f.init_LowPass_twoPole(200.0, 0.7071);
    const double rate = 44100.0;
    auto gain = [&](double freq) {
        f.clear();
        const double w = 2.0 * kPi * freq / rate;
        double in = 0.0, out = 0.0;
        for (int n = 0; n < 3 * int(rate); ++n) {
            const double x = std::sin(w * n);
            const double y = f.process(x);
            if (n >= int(rate)) {
                in += x * x;
                out += y * y;
            }
        }
        return std::sqrt(out / in);
    };
    EXPECT_NEAR(20.0 * std::log10(gain(1600.0) / gain(3200.0)), 12.0, 0.5);
    EXPECT_LT(gain(20000.0), 1e-3);
}

TEST(BiQuadFilter, PassThroughAfterFilteringReturnsTheInput)
{
    biQuad_Filter fresh;
    for (double x : {0.25, -0.75}) EXPECT_EQ(fresh.process(x), x);

    biQuad_Filter f;
    f.set_sampleRate(kRate);
    f.init_LowPass_twoPole(300.0, 2.0);
    for (int n = 0; n < 100; ++n) f.process(std::sin(n * 0.3));
    const double x1 = f.x1, x2 = f.x2, y1 = f.y1, y2 = f.y2;
    ASSERT_NE(y1, 0.0);
    f.set_passthrough();
    EXPECT_EQ(f.kind, biQuad_Filter::kind_passthrough);
    // The state is kept.
    EXPECT_EQ(f.x1, x1);
    EXPECT_EQ(f.x2, x2);
    EXPECT_EQ(f.y1, y1);
    EXPECT_EQ(f.y2, y2);
    for (double x : {0.25, -0.75, 1e-300, 3.0, 0.0, -1e6}) EXPECT_EQ(f.process(x), x);
}

TEST(BiQuadFilter, SettledFilterHasNoTransient)
{
    // Steady gains for a constant input, from the prototypes at s = 0: 1 for the
    // low-pass and the bell, 0 for the high-pass and the band-pass.
    const struct {
        Design design;
        double dc_gain;
    } cases[] = {
        {kDesigns[1], 1.0}, {kDesigns[4], 0.0}, {kDesigns[5], 0.0}, {kDesigns[8], 1.0},
    };
    for (const auto& c : cases) {
        biQuad_Filter f;
        f.set_sampleRate(kRate);
        init(f, c.design);
        // Leave an unrelated state behind first.
        for (int n = 0; n < 50; ++n) f.process(std::cos(n * 1.7));
        f.settle(0.4);
        for (int n = 0; n < 200; ++n) {
            EXPECT_NEAR(f.process(0.4), 0.4 * c.dc_gain, 1e-12) << c.design.name << " at " << n;
        }
    }
    // Given coefficients: H(1) = (1 + 2 + 3) / (2 - 1 + 0.5) = 4.
    biQuad_Filter g;
    g.set_biQuad(1.0, 2.0, 3.0, 2.0, -1.0, 0.5);
    g.settle(-0.5);
    for (int n = 0; n < 20; ++n) EXPECT_NEAR(g.process(-0.5), -2.0, 1e-12);
}

TEST(BiQuadFilter, DirectCoefficientsAreNormalisedAndClearRestarts)
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
    for (int n = 0; n < 10; ++n) f.process(1.0);
    f.clear();
    EXPECT_EQ(f.x1, 0.0);
    EXPECT_EQ(f.x2, 0.0);
    EXPECT_EQ(f.y1, 0.0);
    EXPECT_EQ(f.y2, 0.0);
    // Impulse response by hand from y[n] = x[n] + 2 x[n-1] + 3 x[n-2]
    // + 0.5 y[n-1] - 0.25 y[n-2]:
    //   y0 = 1, y1 = 2 + 0.5 = 2.5, y2 = 3 + 1.25 - 0.25 = 4,
    //   y3 = 2 - 0.625 = 1.375, y4 = 0.6875 - 1 = -0.3125.
    const double expected[] = {1.0, 2.5, 4.0, 1.375, -0.3125};
    for (int n = 0; n < 5; ++n) EXPECT_DOUBLE_EQ(f.process(n == 0 ? 1.0 : 0.0), expected[n]) << n;
}

TEST(BiQuadFilterDeathTest, BadArgumentsAreProgrammingErrors)
{
    const char* design_condition =
        "\\(sample_rate > 0\\. && freq_Hz > 0\\. && freq_Hz < \\.5 \\* sample_rate && Q > 0\\.\\)";
    const std::string file = ", file Common_VST3/biQuad_Filter\\.";
    biQuad_Filter f;
    EXPECT_DEATH(f.set_biQuad(1, 0, 0, 0, 0, 0),
                 "Assertion failed: \\(b0 != 0\\.\\), function set_biQuad" + file);
    EXPECT_DEATH(f.set_sampleRate(0.0),
                 "Assertion failed: \\(sr > 0\\.\\), function set_sampleRate" + file);
    EXPECT_DEATH(f.set_sampleRate(-44100.0), "sr > 0\\..*set_sampleRate");
    EXPECT_DEATH(f.set_sampleRate(std::nan("")), "sr > 0\\..*set_sampleRate");
    // No sample rate yet.
    EXPECT_DEATH(f.init_LowPass_twoPole(100.0, 0.7),
                 std::string("Assertion failed: ") + design_condition +
                     ", function init_LowPass_twoPole" + file);
    f.set_sampleRate(kRate);
    // Each part of the condition in turn, each initialiser naming itself.
    EXPECT_DEATH(f.init_HighPass_twoPole(0.0, 0.7),
                 design_condition + std::string(", function init_HighPass_twoPole") + file);
    EXPECT_DEATH(f.init_Peaking_EQ(24000.0, 1.0, 3.0),
                 design_condition + std::string(", function init_Peaking_EQ") + file);
    EXPECT_DEATH(f.init_BandPass(1000.0, 0.0),
                 design_condition + std::string(", function init_BandPass") + file);
    EXPECT_DEATH(f.init_LowPass_twoPole(-5.0, 1.0),
                 design_condition + std::string(", function init_LowPass_twoPole") + file);
    // Just inside the limits passes.
    f.init_LowPass_twoPole(23999.0, 0.01);
    EXPECT_EQ(f.kind, biQuad_Filter::kind_lowpass);
}
