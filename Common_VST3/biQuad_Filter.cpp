#include "Common_VST3/biQuad_Filter.h"

#include <cmath>

#include "Common_VST3/assertion.h"
#include "Common_VST3/utilities.h"

namespace {
constexpr const char* kPath = "Common_VST3/biQuad_Filter";
// Two pi, as this filter has always computed it.
constexpr double kTwoPi = 6.28318530852;
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
    x1 = x2 = x;
    y1 = y2 = (a0 + a1 + a2) / (b0 + b1 + b2) * x;
}

void biQuad_Filter::set_biQuad(double na0, double na1, double na2, double nb0, double nb1,
                               double nb2)
{
    kind = kind_direct;
    CORVANE_ASSERT(nb0 != 0., "set_biQuad", kPath, "b0 != 0.");
    a0 = na0 / nb0;
    a1 = na1 / nb0;
    a2 = na2 / nb0;
    b1 = nb1 / nb0;
    b2 = nb2 / nb0;
    b0 = 1.0;
}

void biQuad_Filter::check_design(const char* function, double freq_Hz, double Q) const
{
    CORVANE_ASSERT(sample_rate > 0. && freq_Hz > 0. && freq_Hz < .5 * sample_rate && Q > 0.,
                   function, kPath,
                   "sample_rate > 0. && freq_Hz > 0. && freq_Hz < .5 * sample_rate && Q > 0.");
}

void biQuad_Filter::init_LowPass_twoPole(double freq_Hz, double Q)
{
    check_design("init_LowPass_twoPole", freq_Hz, Q);
    const double w = freq_Hz * kTwoPi / sample_rate;
    const double c = std::cos(w);
    const double alpha = std::sin(w) / (Q + Q);
    set_biQuad(0.5 * (1 - c), 1 - c, 0.5 * (1 - c), 1 + alpha, -2 * c, 1 - alpha);
    kind = kind_lowpass;
}

void biQuad_Filter::init_HighPass_twoPole(double freq_Hz, double Q)
{
    check_design("init_HighPass_twoPole", freq_Hz, Q);
    const double w = freq_Hz * kTwoPi / sample_rate;
    const double c = std::cos(w);
    const double alpha = std::sin(w) / (Q + Q);
    set_biQuad(0.5 * (1 + c), -(1 + c), 0.5 * (1 + c), 1 + alpha, -2 * c, 1 - alpha);
    kind = kind_highpass;
}

void biQuad_Filter::init_BandPass(double freq_Hz, double Q)
{
    check_design("init_BandPass", freq_Hz, Q);
    const double w = freq_Hz * kTwoPi / sample_rate;
    const double c = std::cos(w);
    const double alpha = std::sin(w) / (Q + Q);
    set_biQuad(alpha, 0.0, -alpha, 1 + alpha, -2 * c, 1 - alpha);
    kind = kind_bandpass;
}

void biQuad_Filter::init_Peaking_EQ(double freq_Hz, double Q, double gain_dB)
{
    check_design("init_Peaking_EQ", freq_Hz, Q);
    const double w = freq_Hz * kTwoPi / sample_rate;
    const double A = DB_ToAmp(gain_dB * 0.5);
    const double alpha = std::sin(w) / (Q + Q);
    set_biQuad(1 + alpha * A, -2 * std::cos(w), 1 - alpha * A, 1 + alpha / A, -2 * std::cos(w),
               1 - alpha / A);
    kind = kind_peaking;
}
