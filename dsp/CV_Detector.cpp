// The pitch detector of the engine: a coarse search on a decimated, filtered
// signal while no pitch is held, and a fine tracker on the full-rate input
// once locked. Both measure f(L) = 0.5 E(L) - H(L): E the energy of the last
// 2L samples, H the correlation of the last L samples with those L before.

#include <cmath>

#include "dsp/CV_DSPObject.h"

namespace {

// Energy below which the fine stage does not lock, or loses its lock.
constexpr double lock_floor = 1.65e-5;
constexpr double hold_floor = 1.5e-5;

} // namespace

int64_t CV_DSPObject::coarse_update(double x)
{
    if (search_reset) {
        search_reset = false;
        std::fill(coarse_ring, coarse_ring + coarse_len, 0.0);
        std::fill(coarse_energy, coarse_energy + coarse_lags, 0.0);
        std::fill(coarse_corr, coarse_corr + coarse_lags, 0.0);
        coarse_count = 0;
        coarse_index = 0;
        searching = true;
        frame_min_period = 3000.0;
        frame_max_period = -1.0;
        frame_min_level = frame_max_level = 0.0;
        smoother->set_restart();
    }

    coarse_ring[coarse_index] = x;
    for (int k = 0; k < coarse_lags; ++k) {
        int64_t ia = coarse_index - 2 * k;
        if (ia < 0) ia += coarse_len;
        int64_t ib = coarse_index - k;
        if (ib < 0) ib += coarse_len;
        const double a = coarse_ring[ia];
        const double b = coarse_ring[ib];
        coarse_corr[k] += b * x - b * a;
        coarse_energy[k] += x * x - a * a;
    }
    coarse_index = coarse_index + 1 == coarse_len ? 0 : coarse_index + 1;

    const int64_t c = coarse_count++;
    if (c + 1 < 11) return 0;

    // The search reaches further as the signal accumulates.
    const int64_t m = c - 5 <= 499 ? (c - 5) / 2 : 249;
    double d[coarse_lags];
    for (int64_t k = 1; k < m; ++k) {
        const double e = coarse_energy[k];
        d[k] = e > 0.0 ? (0.5 * e - coarse_corr[k]) / e : 1.0;
    }

    // Climb out of the dip around lag zero.
    int64_t k = 2;
    while (k < m - 2 && !(d[k] > rise_threshold + 0.5)) ++k;

    // Up to three dips, each refined by a parabola through its neighbours.
    double dips[3];
    int found = 0;
    for (k = k + 1; k < m - 1 && found < 3; ++k) {
        const double a = d[k - 1], b = d[k], cc = d[k + 1];
        if (!(a > b && cc > b)) continue;
        const double delta = 0.5 * (a - cc) / (a + cc - 2.0 * b);
        const double v = 0.5 * a * delta * (delta - 1.0) - b * (delta + 1.0) * (delta - 1.0) +
                         0.5 * cc * delta * (delta + 1.0);
        if (v < dip_threshold) dips[found++] = (double(k) + delta) * 8.0;
    }

    double result = 0.0;
    if (found == 3) {
        const double s1 = dips[0], s2 = dips[1] - dips[0], s3 = dips[2] - dips[1];
        if (std::fabs(s1 - s2) < 0.1 * dips[0] && std::fabs(s2 - s3) < 0.1 * dips[0])
            result = (s1 + s2 + s3) / 3.0;
        else if (std::fabs(s2 - s3) < 0.1 * s2)
            result = (s2 + s3) * 0.5; // the first dip was spurious
        else
            return 0;
    } else if (found == 2) {
        const double s1 = dips[0], s2 = dips[1] - dips[0];
        if (!(std::fabs(s1 - s2) < 0.1 * dips[0])) return 0;
        result = (s1 + s2) * 0.5;
    } else if (found == 1) {
        if (input_type != 4) return 0;
        result = dips[0];
    } else {
        return 0;
    }

    const int64_t lag = int64_t(result + 0.5);
    if (lag == 0) return 0;
    return lag - lag_half;
}

double CV_DSPObject::direct_corr(int64_t lag) const
{
    double sum = 0.0;
    int64_t i = write_index;
    int64_t j = ring_back(write_index, lag, engine::ring_len);
    const double* x = input_ring[0];
    for (int64_t n = 0; n < lag; ++n) {
        sum += x[i] * x[j];
        i = i == 0 ? engine::ring_len - 1 : i - 1;
        j = j == 0 ? engine::ring_len - 1 : j - 1;
    }
    return sum;
}

void CV_DSPObject::fine_start(int64_t lag)
{
    base_lag = lag;
    const int64_t width = 2 * int64_t(lag_half);
    // The window's widest lag must fit twice into the ring.
    if (2 * lag <= 0 || 2 * (lag + width) >= engine::ring_len) {
        lag_energy[0] = 0.0;
        return;
    }
    double energy = 0.0;
    for (int64_t n = 0; n < 2 * lag; ++n) {
        const double x = input_back(n);
        energy += x * x;
    }
    lag_energy[0] = energy;
    if (energy < lock_floor) return; // too quiet to lock
    for (int64_t k = 1; k < width; ++k) {
        const int64_t l = base_lag + k;
        const double a = input_back(2 * l - 2);
        const double b = input_back(2 * l - 1);
        lag_energy[k] = lag_energy[k - 1] + a * a + b * b;
    }
    for (int64_t k = 0; k < width; ++k) lag_corr[k] = direct_corr(base_lag + k);
    decide_count = 4; // the next sample decides
    searching = false;
}

void CV_DSPObject::fine_update()
{
    const double x0 = input_ring[0][write_index];
    const int64_t width = 2 * int64_t(lag_half);
    for (int64_t k = 0; k < width; ++k) {
        const int64_t l = base_lag + k;
        const double a = input_back(l);
        const double b = input_back(2 * l);
        lag_energy[k] += x0 * x0 - b * b;
        lag_corr[k] += x0 * a - a * b;
    }
    if (++decide_count != 5) return;
    decide_count = 0;
    decide();
}

void CV_DSPObject::decide()
{
    const int64_t width = 2 * int64_t(lag_half);
    if (width < 2) {
        lose_lock();
        return;
    }
    auto f = [this](int64_t k) { return 0.5 * lag_energy[k] - lag_corr[k]; };
    int64_t k = 0;
    double best = f(0);
    for (int64_t j = 1; j < width; ++j) {
        const double v = f(j);
        if (v < best) {
            best = v;
            k = j;
        }
    }
    if (k == 0 || k == width - 1 || lag_energy[k] < hold_floor) {
        lose_lock();
        return;
    }

    // Keep the minimum in the middle of the window, one lag per decision.
    if (k > lag_half) {
        const int64_t top = base_lag + width; // the new last lag
        if (2 * top + 1 >= engine::ring_len) {
            lose_lock();
            return;
        }
        ++base_lag;
        --k;
        for (int64_t j = 0; j < width - 1; ++j) {
            lag_energy[j] = lag_energy[j + 1];
            lag_corr[j] = lag_corr[j + 1];
        }
        const double a = input_back(2 * top - 2);
        const double b = input_back(2 * top - 1);
        lag_energy[width - 1] = lag_energy[width - 2] + a * a + b * b;
        lag_corr[width - 1] = direct_corr(top);
    } else if (k < lag_half - 1) {
        if (base_lag <= 1) {
            lose_lock();
            return;
        }
        --base_lag;
        ++k;
        for (int64_t j = width - 1; j > 0; --j) {
            lag_energy[j] = lag_energy[j - 1];
            lag_corr[j] = lag_corr[j - 1];
        }
        const int64_t l = base_lag;
        const double a = input_back(2 * l);
        const double b = input_back(2 * l + 1);
        lag_energy[0] = lag_energy[1] - a * a - b * b;
        lag_corr[0] = direct_corr(l);
    }

    const double a = f(k - 1), b = f(k), c = f(k + 1);
    const double denominator = a + c - 2.0 * b;
    const double delta = denominator != 0.0 ? 0.5 * (a - c) / denominator : 0.0;
    period = last_period = double(k + base_lag) + delta;

    target_ratio = 1.0;
    if (frame_min_period > period) frame_min_period = period;
    if (frame_max_period < period) frame_max_period = period;
    correct();
}

void CV_DSPObject::lose_lock()
{
    target_ratio = smooth_ratio = applied_ratio = natural_ratio = slow_ratio = 1.0;
    period = 0.0;
    last_target = -1;
    searching = true;
    search_reset = true;
    clear_vibrato_state();
}

void CV_DSPObject::set_tracking(double tracking, int type)
{
    tracking_amount = tracking;
    input_type = type < 0 ? 0 : (type > 4 ? 4 : type);
    // "Tracking" from 0 (choosy: only clean, clearly periodic sound locks)
    // to 100 (relaxed: breathy and rough voices lock too, at the risk of
    // locking on noise).
    const double t = std::fmin(100.0, std::fmax(0.0, tracking)) / 100.0;
    dip_threshold = 0.05 + 0.3 * t;
    rise_threshold = 0.1 - 0.1 * t;

    // The pre-filters: a high-pass below the voice's range against rumble,
    // and low-passes with their corner at the bottom of the range, so that
    // across the range each harmonic comes out weaker than the one below it
    // and the fundamental wins the first dip even where a formant lifts the
    // second or third harmonic. Only the coarse stage sees this signal; the
    // fine stage tracks the unfiltered input around the lag it was given.
    struct Band {
        double high_pass_hz, low_pass_hz;
        bool third;
    };
    static const Band bands[5] = {
        {80.0, 200.0, true},   // Soprano: about 160 to 1100 Hz
        {55.0, 130.0, true},   // Alto/Tenor: about 100 to 700 Hz
        {40.0, 90.0, true},    // Low Male: about 65 to 400 Hz
        {40.0, 150.0, false},  // Instrument: about 65 to 1300 Hz
        {22.0, 60.0, true},    // Bass Inst: about 30 to 350 Hz
    };
    const Band& band = bands[input_type];
    const double sr = engine_rate();
    if (sr <= 0.0) return;
    const double top = 0.45 * sr;
    for (auto& filter : pre_filter) filter.set_sampleRate(sr);
    pre_filter[0].init_HighPass_twoPole(band.high_pass_hz, 0.7071);
    pre_filter[1].init_LowPass_twoPole(std::fmin(band.low_pass_hz, top), 0.7071);
    pre_filter[2].init_LowPass_twoPole(std::fmin(band.low_pass_hz, top), 0.7071);
    third_filter_on = band.third;
}
