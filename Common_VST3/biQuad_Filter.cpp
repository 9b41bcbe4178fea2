#include "Common_VST3/biQuad_Filter.h"

#include <cmath>

#include "Common_VST3/assertion.h"
#include "Common_VST3/utilities.h"

namespace {

constexpr const char* kPath = "Common_VST3/biQuad_Filter";

// Two pi as this filter computes it; the last digits differ from the true value
// by about 1e-11 relative, far below anything audible.
constexpr double kTwoPi = 6.28318530852;

// The argument condition shared by the initialisers.
void check_design(const char* function, double sample_rate, double freq_Hz, double Q)
{
    CORVANE_ASSERT(sample_rate > 0. && freq_Hz > 0. && freq_Hz < .5 * sample_rate && Q > 0.,
                   function, kPath,
                   "sample_rate > 0. && freq_Hz > 0. && freq_Hz < .5 * sample_rate && Q > 0.");
}

} // namespace

void biQuad_Filter::set_sampleRate(double sr)
{
    CORVANE_ASSERT(sr > 0., "set_sampleRate", kPath, "sr > 0.");
    sample_rate = sr;
}

void biQuad_Filter::clear()
{
    x1 = x2 = y1 = y2 = 0.0;
}

void biQuad_Filter::set_passthrough()
{
    a0 = b0 = 1.0;
    a1 = a2 = b1 = b2 = 0.0;
    kind = kind_passthrough;
}

void biQuad_Filter::settle(double x)
{
    // The steady output for a constant input is the gain at DC, H(1).
    x1 = x2 = x;
    y1 = y2 = (a0 + a1 + a2) / (b0 + b1 + b2) * x;
}

void biQuad_Filter::set_biQuad(double num0, double num1, double num2, double den0, double den1,
                               double den2)
{
    kind = kind_direct;
    CORVANE_ASSERT(den0 != 0., "set_biQuad", kPath, "b0 != 0.");
    a0 = num0 / den0;
    a1 = num1 / den0;
    a2 = num2 / den0;
    b1 = den1 / den0;
    b2 = den2 / den0;
    b0 = 1.0;
}

void biQuad_Filter::init_LowPass_twoPole(double freq_Hz, double Q)
{
    check_design("init_LowPass_twoPole", sample_rate, freq_Hz, Q);
    const double w = freq_Hz * kTwoPi / sample_rate;
    const double c = std::cos(w);
    const double alpha = std::sin(w) / (Q + Q);
    set_biQuad(0.5 * (1 - c), 1 - c, 0.5 * (1 - c), 1 + alpha, -2 * c, 1 - alpha);
    kind = kind_lowpass;
}

void biQuad_Filter::init_HighPass_twoPole(double freq_Hz, double Q)
{
    check_design("init_HighPass_twoPole", sample_rate, freq_Hz, Q);
    const double w = freq_Hz * kTwoPi / sample_rate;
    const double c = std::cos(w);
    const double alpha = std::sin(w) / (Q + Q);
    set_biQuad(0.5 * (1 + c), -(1 + c), 0.5 * (1 + c), 1 + alpha, -2 * c, 1 - alpha);
    kind = kind_highpass;
}

void biQuad_Filter::init_BandPass(double freq_Hz, double Q)
{
    check_design("init_BandPass", sample_rate, freq_Hz, Q);
    const double w = freq_Hz * kTwoPi / sample_rate;
    const double c = std::cos(w);
    const double alpha = std::sin(w) / (Q + Q);
    set_biQuad(alpha, 0.0, -alpha, 1 + alpha, -2 * c, 1 - alpha);
    kind = kind_bandpass;
}

void biQuad_Filter::init_Peaking_EQ(double freq_Hz, double Q, double gain_dB)
{
    check_design("init_Peaking_EQ", sample_rate, freq_Hz, Q);
    const double w = freq_Hz * kTwoPi / sample_rate;
    const double A = DB_ToAmp(gain_dB * 0.5);
    const double alpha = std::sin(w) / (Q + Q);
    const double c2 = -2 * std::cos(w);
    set_biQuad(1 + alpha * A, c2, 1 - alpha * A, 1 + alpha / A, c2, 1 - alpha / A);
    kind = kind_peaking;
}
