#pragma once

// An independent pitch estimator for the tests: the difference function and
// cumulative mean normalisation of YIN, with parabolic refinement. It shares
// no code with the plug-in's detector.

#include <algorithm>
#include <cmath>
#include <vector>

namespace test_pitch {

// Fundamental in Hz of x[begin, begin + window), searched between min_hz and
// max_hz; 0 if nothing periodic is found.
inline double estimate_hz(const std::vector<float>& x, size_t begin, size_t window, double rate,
                          double min_hz = 60.0, double max_hz = 1200.0)
{
    const size_t max_lag = size_t(rate / min_hz);
    const size_t min_lag = size_t(rate / max_hz);
    if (begin + window + max_lag + 2 > x.size()) return 0.0;
    std::vector<double> d(max_lag + 2, 0.0);
    for (size_t lag = 1; lag <= max_lag + 1; ++lag) {
        double sum = 0.0;
        for (size_t i = begin; i < begin + window; ++i) {
            const double diff = double(x[i]) - double(x[i + lag]);
            sum += diff * diff;
        }
        d[lag] = sum;
    }
    // Cumulative mean normalised difference.
    std::vector<double> cmnd(d.size(), 1.0);
    double running = 0.0;
    for (size_t lag = 1; lag < d.size(); ++lag) {
        running += d[lag];
        cmnd[lag] = running > 0.0 ? d[lag] * double(lag) / running : 1.0;
    }
    // The deepest dip sets the bar; the first dip that comes near it is the
    // period, so a dip at twice the period does not win, nor one at half of
    // it that is clearly shallower.
    const size_t first = std::max<size_t>(min_lag, 2);
    double deepest = 1.0;
    for (size_t lag = first; lag <= max_lag; ++lag) deepest = std::min(deepest, cmnd[lag]);
    if (deepest > 0.4) return 0.0;
    const double bar = std::max(0.1, 1.5 * deepest);
    size_t best = 0;
    for (size_t lag = first; lag <= max_lag; ++lag) {
        if (cmnd[lag] < bar) {
            while (lag + 1 <= max_lag && cmnd[lag + 1] < cmnd[lag]) ++lag;
            best = lag;
            break;
        }
    }
    if (best == 0) return 0.0;
    const double a = cmnd[best - 1], b = cmnd[best], c = cmnd[best + 1];
    const double denom = a - 2.0 * b + c;
    const double shift = denom != 0.0 ? 0.5 * (a - c) / denom : 0.0;
    return rate / (double(best) + shift);
}

inline double cents_between(double hz, double reference_hz)
{
    return 1200.0 * std::log2(hz / reference_hz);
}

} // namespace test_pitch
