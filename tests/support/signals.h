#pragma once

// Known test signals whose right answer can be worked out by hand.

#include <cmath>
#include <cstdint>
#include <vector>

namespace test_signals {

inline std::vector<float> impulse(size_t length, size_t at, float height)
{
    std::vector<float> x(length, 0.0f);
    if (at < length) x[at] = height;
    return x;
}

inline std::vector<float> sine(size_t length, double freq, double rate, double amplitude,
                               double phase = 0.0)
{
    std::vector<float> x(length);
    for (size_t i = 0; i < length; ++i) {
        x[i] = float(amplitude * std::sin(2.0 * M_PI * freq * double(i) / rate + phase));
    }
    return x;
}

// Deterministic white noise in [-amplitude, amplitude].
inline std::vector<float> noise(size_t length, double amplitude, uint32_t seed)
{
    std::vector<float> x(length);
    uint32_t state = seed;
    for (auto& v : x) {
        state = state * 1664525u + 1013904223u;
        v = float(amplitude * (double(state) / 4294967295.0 * 2.0 - 1.0));
    }
    return x;
}

// Phase in radians of a sinusoid of a known frequency over a stretch, by
// correlation with sine and cosine over whole periods.
inline double phase_of(const std::vector<float>& x, size_t begin, size_t length, double freq,
                       double rate)
{
    double s = 0.0;
    double c = 0.0;
    for (size_t i = begin; i < begin + length; ++i) {
        const double w = 2.0 * M_PI * freq * double(i) / rate;
        s += x[i] * std::sin(w);
        c += x[i] * std::cos(w);
    }
    return std::atan2(c, s);
}

// Delay in samples of y against x for a tone of a known frequency, resolved
// near an expected value (the phase gives the delay modulo one period).
inline double tone_delay(const std::vector<float>& x, const std::vector<float>& y, size_t begin,
                         size_t length, double freq, double rate, double expected)
{
    const double period = rate / freq;
    double delta = phase_of(x, begin, length, freq, rate) - phase_of(y, begin, length, freq, rate);
    double delay = delta / (2.0 * M_PI) * period;
    delay += std::round((expected - delay) / period) * period;
    return delay;
}

inline double rms(const std::vector<float>& x, size_t begin, size_t length)
{
    double sum = 0.0;
    for (size_t i = begin; i < begin + length && i < x.size(); ++i) sum += double(x[i]) * x[i];
    return std::sqrt(sum / double(length));
}

} // namespace test_signals
