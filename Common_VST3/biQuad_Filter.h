#pragma once

#include <cstdint>

// A second-order IIR section in direct form I, in double precision.
// In this class the numerator carries the letter a and the denominator b:
//   y = a0 x + a1 x1 + a2 x2 - b1 y1 - b2 y2,   with b0 normalised to 1.
// The initialisers follow the familiar cookbook designs. One object belongs to
// one thread at a time.
class biQuad_Filter {
public:
    // Which initialiser set the coefficients.
    enum Kind : uint32_t {
        kind_passthrough = 0,
        kind_lowpass = 3,
        kind_highpass = 4,
        kind_bandpass = 6,
        kind_peaking = 9,
        kind_direct = 10,
    };

    biQuad_Filter() = default;
    virtual ~biQuad_Filter() = default;

    void set_sampleRate(double sr);
    // Clears the state; the coefficients stay.
    void clear();
    // A filter that returns its input; the state is kept.
    void set_passthrough();
    // Sets the state as if the input had long been the constant x.
    void settle(double x);

    // One sample. Five multiplications and no branch.
    double process(double x)
    {
        const double y = a0 * x + a1 * x1 + a2 * x2 - b1 * y1 - b2 * y2;
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }

    // Coefficients given directly; the five others are divided by b0.
    void set_biQuad(double a0, double a1, double a2, double b0, double b1, double b2);

    void init_LowPass_twoPole(double freq_Hz, double Q);
    void init_HighPass_twoPole(double freq_Hz, double Q);
    // Band-pass with 0 dB gain at its centre.
    void init_BandPass(double freq_Hz, double Q);
    void init_Peaking_EQ(double freq_Hz, double Q, double gain_dB);

    uint32_t kind = kind_passthrough;
    double sample_rate = 0.0;
    double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0;
    double a0 = 1.0, a1 = 0.0, a2 = 0.0;
    double b0 = 1.0, b1 = 0.0, b2 = 0.0;

private:
    // Asserts the shared argument condition of the initialisers.
    void check_design(const char* function, double freq_Hz, double Q) const;
};
