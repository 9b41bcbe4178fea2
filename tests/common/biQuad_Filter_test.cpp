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

// A design with its gains worked from the analog prototype by hand: at the
// corner s = j, so the low-pass and high-pass have |H| = Q there, the
// band-pass 1, the bell A^2 = 10^(gain_dB / 20); at DC s = 0, at Nyquist s is
// infinite.
struct Design {
    const char* name;
    uint32_t kind;
    double freq_Hz, Q, gain_dB;  // gain_dB: peaking only
    double at_corner, at_dc, at_nyquist;
};

const Design kDesigns[] = {
    {"lowpass 1 kHz Q 0.7071", biQuad_Filter::kind_lowpass, 1000.0, 0.7071, 0.0, 0.7071, 1.0, 0.0},
    {"lowpass 150 Hz Q 4", biQuad_Filter::kind_lowpass, 150.0, 4.0, 0.0, 4.0, 1.0, 0.0},
    {"lowpass 20 kHz Q 0.5", biQuad_Filter::kind_lowpass, 20000.0, 0.5, 0.0, 0.5, 1.0, 0.0},
    {"highpass 500 Hz Q 0.7071", biQuad_Filter::kind_highpass, 500.0, 0.7071, 0.0, 0.7071, 0.0, 1.0},
    {"highpass 80 Hz Q 2", biQuad_Filter::kind_highpass, 80.0, 2.0, 0.0, 2.0, 0.0, 1.0},
    {"bandpass 1500 Hz Q 2", biQuad_Filter::kind_bandpass, 1500.0, 2.0, 0.0, 1.0, 0.0, 0.0},
    {"bandpass 300 Hz Q 0.5", biQuad_Filter::kind_bandpass, 300.0, 0.5, 0.0, 1.0, 0.0, 0.0},
    {"peak 3 kHz Q 1 +6 dB", biQuad_Filter::kind_peaking, 3000.0, 1.0, 6.0, 1.9952623, 1.0, 1.0},
    {"peak 800 Hz Q 2 -12 dB", biQuad_Filter::kind_peaking, 800.0, 2.0, -12.0, 0.2511886, 1.0, 1.0},
    {"peak 800 Hz Q 2 0 dB", biQuad_Filter::kind_peaking, 800.0, 2.0, 0.0, 1.0, 1.0, 1.0},
};

biQuad_Filter designed(const Design& d)
{
    biQuad_Filter f;
    f.set_sampleRate(kRate);
    switch (d.kind) {
    case biQuad_Filter::kind_lowpass: f.init_LowPass_twoPole(d.freq_Hz, d.Q); break;
    case biQuad_Filter::kind_highpass: f.init_HighPass_twoPole(d.freq_Hz, d.Q); break;
    case biQuad_Filter::kind_bandpass: f.init_BandPass(d.freq_Hz, d.Q); break;
    case biQuad_Filter::kind_peaking: f.init_Peaking_EQ(d.freq_Hz, d.Q, d.gain_dB); break;
    }
    return f;
}

// The prototype normalised to a corner of 1 rad/s. The bilinear transform
// prewarped at the corner maps the digital frequency f onto the analog
// s = j tan(pi f / rate) / tan(pi f0 / rate), so the digital response is
// exactly the prototype's there.
cplx prototype(const Design& d, double freq_Hz)
{
    const cplx s(0.0, std::tan(kPi * freq_Hz / kRate) / std::tan(kPi * d.freq_Hz / kRate));
    const cplx den = s * s + s / d.Q + 1.0;
    switch (d.kind) {
    case biQuad_Filter::kind_lowpass: return 1.0 / den;
    case biQuad_Filter::kind_highpass: return s * s / den;
    case biQuad_Filter::kind_bandpass: return (s / d.Q) / den;
    default: {
        const double A = std::pow(10.0, d.gain_dB / 40.0);
        return (s * s + s * (A / d.Q) + 1.0) / (s * s + s / (A * d.Q) + 1.0);
    }
    }
}

// The complex gain at freq_Hz, measured: a sine runs through the filter for
// two seconds until the transient has died, then the output is fitted by least
// squares as p sin + q cos, which is Re H sin + Im H cos for a steady response.
cplx measured(biQuad_Filter& f, double freq_Hz)
{
    f.clear();
    const double w = 2.0 * kPi * freq_Hz / f.sample_rate;
    const int settle_len = int(2.0 * f.sample_rate);
    double ss = 0.0, sc = 0.0, cc = 0.0, ys = 0.0, yc = 0.0;
    for (int n = 0; n < settle_len + 9600; ++n) {
        const double sn = std::sin(w * n), y = f.process(sn);
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

// The steady output for the input 1 or (-1)^n over the input: the gain at DC
// (sign 1) or at Nyquist (sign -1).
double measured_steady(biQuad_Filter& f, double sign)
{
    f.clear();
    double y = 0.0, x = 1.0;
    for (int n = 0; n < 2 * int(kRate); ++n, x *= sign) y = x * f.process(x);
    return y;
}

} // namespace

TEST(BiQuadFilter, DesignsHaveTheirLandmarkGainsAndFollowTheAnalogPrototype)
{
    const double freqs[] = {30.0, 100.0, 440.0, 1000.0, 2500.0, 7000.0, 12000.0, 18000.0, 23000.0};
    for (const Design& d : kDesigns) {
        biQuad_Filter f = designed(d);
        EXPECT_EQ(f.kind, d.kind) << d.name;
        EXPECT_NEAR(std::abs(measured(f, d.freq_Hz)), d.at_corner, 1e-6) << d.name;
        EXPECT_NEAR(measured_steady(f, 1.0), d.at_dc, 1e-9) << d.name;
        EXPECT_NEAR(measured_steady(f, -1.0), d.at_nyquist, 1e-9) << d.name;
        for (double freq : freqs) {
            const cplx expected = prototype(d, freq), got = measured(f, freq);
            EXPECT_NEAR(std::abs(got - expected), 0.0, 1e-7 * std::max(1.0, std::abs(expected)))
                << d.name << " at " << freq << " Hz: " << got << " against " << expected;
        }
    }
    // At another rate: well above the corner |H| ~ (f0 / f)^2, steeper still
    // toward Nyquist where the bilinear transform compresses the axis.
    biQuad_Filter f;
    f.set_sampleRate(44100.0);
    f.init_LowPass_twoPole(200.0, 0.7071);
    EXPECT_NEAR(20.0 * std::log10(std::abs(measured(f, 1600.0)) / std::abs(measured(f, 3200.0))), 12.0, 0.5);
    EXPECT_LT(std::abs(measured(f, 20000.0)), 1e-3);
}

TEST(BiQuadFilter, PassThroughReturnsTheInputAndKeepsTheState)
{
    biQuad_Filter fresh;
    for (double x : {0.25, -0.75}) EXPECT_EQ(fresh.process(x), x);

    biQuad_Filter f = designed(kDesigns[1]);
    for (int n = 0; n < 100; ++n) f.process(std::sin(n * 0.3));
    const double state[] = {f.x1, f.x2, f.y1, f.y2};
    ASSERT_NE(f.y1, 0.0);
    f.set_passthrough();
    EXPECT_EQ(f.kind, biQuad_Filter::kind_passthrough);
    EXPECT_TRUE(f.x1 == state[0] && f.x2 == state[1] && f.y1 == state[2] && f.y2 == state[3]);
    for (double x : {0.25, -0.75, 1e-300, 3.0, 0.0, -1e6}) EXPECT_EQ(f.process(x), x);
}

TEST(BiQuadFilter, SettledFilterHasNoTransient)
{
    // Designs that pass DC and designs that block it, after an unrelated state.
    for (const Design& d : {kDesigns[1], kDesigns[4], kDesigns[5], kDesigns[8]}) {
        biQuad_Filter f = designed(d);
        for (int n = 0; n < 50; ++n) f.process(std::cos(n * 1.7));
        f.settle(0.4);
        for (int n = 0; n < 200; ++n) EXPECT_NEAR(f.process(0.4), 0.4 * d.at_dc, 1e-12) << d.name << " at " << n;
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
    for (int n = 0; n < 10; ++n) f.process(1.0);
    f.clear();
    // Impulse response by hand from y[n] = x[n] + 2 x[n-1] + 3 x[n-2]
    // + 0.5 y[n-1] - 0.25 y[n-2]:
    //   y0 = 1, y1 = 2 + 0.5 = 2.5, y2 = 3 + 1.25 - 0.25 = 4,
    //   y3 = 2 - 0.625 = 1.375, y4 = 0.6875 - 1 = -0.3125.
    const double expected[] = {1.0, 2.5, 4.0, 1.375, -0.3125};
    for (int n = 0; n < 5; ++n) EXPECT_DOUBLE_EQ(f.process(n == 0 ? 1.0 : 0.0), expected[n]) << n;
}

TEST(BiQuadFilterDeathTest, BadArgumentsAreProgrammingErrors)
{
    const std::string design = "Assertion failed: \\(sample_rate > 0\\. && freq_Hz > 0\\. && "
                               "freq_Hz < \\.5 \\* sample_rate && Q > 0\\.\\), function ";
    const std::string file = ", file Common_VST3/biQuad_Filter\\.";
    biQuad_Filter f;
    EXPECT_DEATH(f.set_biQuad(1, 0, 0, 0, 0, 0), "Assertion failed: \\(b0 != 0\\.\\), function set_biQuad" + file);
    for (double rate : {0.0, -44100.0, std::nan("")})
        EXPECT_DEATH(f.set_sampleRate(rate), "Assertion failed: \\(sr > 0\\.\\), function set_sampleRate" + file);
    EXPECT_DEATH(f.init_LowPass_twoPole(100.0, 0.7), design + "init_LowPass_twoPole" + file) << "no sample rate yet";
    f.set_sampleRate(kRate);
    // Each part of the condition in turn, each initialiser naming itself.
    EXPECT_DEATH(f.init_HighPass_twoPole(0.0, 0.7), design + "init_HighPass_twoPole" + file);
    EXPECT_DEATH(f.init_Peaking_EQ(24000.0, 1.0, 3.0), design + "init_Peaking_EQ" + file);
    EXPECT_DEATH(f.init_BandPass(1000.0, 0.0), design + "init_BandPass" + file);
    EXPECT_DEATH(f.init_LowPass_twoPole(-5.0, 1.0), design + "init_LowPass_twoPole" + file);
    f.init_LowPass_twoPole(23999.0, 0.01);
    EXPECT_EQ(f.kind, biQuad_Filter::kind_lowpass) << "just inside the limits passes";
}
