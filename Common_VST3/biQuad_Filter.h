#pragma once

#include <cstdint>

// A second-order IIR section in direct form I, state and coefficients in
// double precision.
//
// In this class the numerator carries the letter a and the denominator b:
//   y[n] = a0 x[n] + a1 x[n-1] + a2 x[n-2] - b1 y[n-1] - b2 y[n-2],
// with b0 normalised to 1.0 by set_biQuad.
//
// The initialisers are the bilinear-transform designs of the usual cookbook,
// prewarped at the given frequency. An object belongs to one thread at a time;
// nothing here allocates, locks or logs, so every operation may run on the audio
// thread of its owner.
class biQuad_Filter {
public:
    // Values of `kind`: which initialiser set the coefficients.
    static constexpr uint32_t kind_passthrough = 0;
    static constexpr uint32_t kind_lowpass = 3;  // init_LowPass_twoPole
    static constexpr uint32_t kind_highpass = 4; // init_HighPass_twoPole
    static constexpr uint32_t kind_bandpass = 6; // init_BandPass
    static constexpr uint32_t kind_peaking = 9;  // init_Peaking_EQ
    static constexpr uint32_t kind_direct = 10;  // set_biQuad

    biQuad_Filter() = default;
    virtual ~biQuad_Filter() = default;

    // Sample rate in Hz for the initialisers. Asserts "sr > 0.".
    void set_sampleRate(double sr);

    // State to 0.0; the coefficients stay.
    void clear();

    // Coefficients of a filter that returns its input; the state is kept (y1 and
    // y2 then no longer matter, since b1 and b2 are 0).
    void set_passthrough();

    // State as if the input had long been the constant x: the output then starts
    // at its steady value with no transient.
    void settle(double x);

    // One sample in, one out; audio thread. Five multiplications and no branch.
    double process(double x)
    {
        const double y = a0 * x + a1 * x1 + a2 * x2 - b1 * y1 - b2 * y2;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }

    // Coefficients given directly, in this class's lettering (a numerator, b
    // denominator); the five others are divided by b0. Asserts "b0 != 0.".
    void set_biQuad(double a0, double a1, double a2, double b0, double b1, double b2);

    // The designs below need set_sampleRate first. Each asserts
    // "sample_rate > 0. && freq_Hz > 0. && freq_Hz < .5 * sample_rate && Q > 0.".

    // Low-pass, unity at DC; the gain at freq_Hz is Q (-3 dB for Q = 0.7071).
    void init_LowPass_twoPole(double freq_Hz, double Q);
    // High-pass, unity at the Nyquist frequency; the gain at freq_Hz is Q.
    void init_HighPass_twoPole(double freq_Hz, double Q);
    // Band-pass with a gain of 1 (0 dB) at freq_Hz; Q sets the width.
    void init_BandPass(double freq_Hz, double Q);
    // Bell: gain_dB at freq_Hz, unity at DC and Nyquist.
    void init_Peaking_EQ(double freq_Hz, double Q, double gain_dB);

    uint32_t kind = kind_passthrough;
    double sample_rate = 0.0; // Hz
    double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0;
    double a0 = 1.0, a1 = 0.0, a2 = 0.0; // numerator
    double b0 = 1.0, b1 = 0.0, b2 = 0.0; // denominator
};
