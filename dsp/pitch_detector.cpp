#include "dsp/pitch_detector.h"

#include <algorithm>
#include <cmath>

#include "dsp/ring_index.h"
#include "dsp/vector_kernels.h"

namespace {

// Energy below which the fine stage does not lock, or loses its lock.
constexpr double lock_floor = 1.65e-5;
constexpr double hold_floor = 1.5e-5;

// Widening the fine window of a short period (see widen()): periods below
// widen_below_s seconds are followed over whole periods spanning at least
// widened_span_s seconds, if the normalised dip (0.5 E - H) / (0.5 E) at the
// period is at most max_widen_depth. Longer periods keep their one-period
// lag, whose sums already span 8 ms or more.
constexpr double widen_below_s = 0.004;
constexpr double widened_span_s = 0.008;
constexpr double max_widen_depth = 0.1;
// The relative change of the period, from the widened window's first
// decision, that ends the widening: 15 cents.
constexpr double max_widened_drift = 0.0087;

static_assert(engine::decide_interval <= vector_kernels::max_samples_on, "a decision takes its samples in at once");

} // namespace

pitch_detector::pitch_detector() : past_storage(new double[4 * engine::ring_len])
{
    past.attach(past_storage.get(), engine::ring_len);
    coarse_past.attach(coarse_storage, engine::coarse_len);
    reset();
}

void pitch_detector::set_rate(double engine_rate) noexcept
{
    rate = engine_rate;
    // The fine window: wide enough for the coarse stage's error and a
    // vibrato's movement between decisions, narrow enough to keep the
    // highest voices (its half width is the shortest period that locks).
    lag_half = std::clamp<int32_t>(int32_t(std::lround(rate / 2000.0)), 4, engine::max_lag_half);
    min_span = widened_span_s * rate;
    widen_below = widen_below_s * rate;
    design_filters();
}

void pitch_detector::set_tracking(double tracking, input_type kind) noexcept
{
    tracking_amount = tracking;
    type = kind;
    const double t = std::fmin(100.0, std::fmax(0.0, tracking)) / 100.0;
    dip_threshold = 0.05 + 0.3 * t;
    rise_threshold = 0.1 - 0.1 * t;
    design_filters();
}

void pitch_detector::design_filters() noexcept
{
    // A high-pass below the voice's range against rumble, and low-passes with
    // their corner at the bottom of the range, so that across the range each
    // harmonic comes out weaker than the one below it and the fundamental
    // wins the first dip even where a formant lifts the second or third
    // harmonic. Only the coarse stage sees this signal; the fine stage tracks
    // the unfiltered input around the lag it was given.
    struct Band {
        double high_pass_hz, low_pass_hz;
        bool third;
    };
    static constexpr Band bands[] = {
        {80.0, 200.0, true},  // Soprano: about 160 to 1100 Hz
        {55.0, 130.0, true},  // Alto/Tenor: about 100 to 700 Hz
        {40.0, 90.0, true},   // Low Male: about 65 to 400 Hz
        {40.0, 150.0, false}, // Instrument: about 65 to 1300 Hz
        {22.0, 60.0, true},   // Bass Inst: about 30 to 350 Hz
    };
    if (rate <= 0.0) return;
    const Band& band = bands[int(type)];
    const double top = 0.45 * rate;
    for (auto& filter : pre_filter) filter.set_sampleRate(rate);
    pre_filter[0].init_HighPass_twoPole(band.high_pass_hz, 0.7071);
    pre_filter[1].init_LowPass_twoPole(std::fmin(band.low_pass_hz, top), 0.7071);
    pre_filter[2].init_LowPass_twoPole(std::fmin(band.low_pass_hz, top), 0.7071);
    third_filter_on = band.third;
}

void pitch_detector::reset() noexcept
{
    for (auto& filter : pre_filter) filter.clear();
    past.clear();
    coarse_past.clear();
    std::fill(coarse_energy, coarse_energy + engine::coarse_lags, 0.0);
    std::fill(coarse_corr, coarse_corr + engine::coarse_lags, 0.0);
    std::fill(lag_energy, lag_energy + 2 * engine::max_lag_half, 0.0);
    std::fill(lag_corr, lag_corr + 2 * engine::max_lag_half, 0.0);
    coarse_count = coarse_index = 0;
    base_lag = 0;
    pending = 0;
    multiple = 1;
    widen_pending = false;
    held_samples = 0;
    decide_count = 0;
    searching = true;
    search_reset = true;
    period = 0.0;
    last_period = 0.0;
}

pitch_detector::outcome pitch_detector::search(double filtered, int64_t newest) noexcept
{
    const bool cleared = search_reset;
    const int64_t lag = coarse_update(filtered);
    if (lag > 0) fine_start(lag, newest);
    return cleared ? outcome::cleared : outcome::none;
}

int64_t pitch_detector::coarse_update(double x) noexcept
{
    constexpr int64_t len = engine::coarse_len;
    if (search_reset) {
        search_reset = false;
        coarse_past.clear();
        std::fill(coarse_energy, coarse_energy + engine::coarse_lags, 0.0);
        std::fill(coarse_corr, coarse_corr + engine::coarse_lags, 0.0);
        coarse_count = 0;
        coarse_index = 0;
    }

    // Lag k: the energy gains x * x and loses the sample 2k back; the
    // correlation gains the sample k back times x and loses it times the
    // sample 2k back.
    coarse_past.store(coarse_index, x);
    vector_kernels::kernels().lag_window_update(coarse_energy, coarse_corr, engine::coarse_lags, x,
                                                coarse_past.back(coarse_index),
                                                coarse_past.every_second_back(coarse_index, 0));
    coarse_index = engine::ring_next(coarse_index, len);

    const int64_t c = coarse_count++;
    if (c + 1 < 11) return 0;

    // The search reaches further as the signal accumulates.
    const int64_t m = c - 5 <= 499 ? (c - 5) / 2 : 249;
    double d[engine::coarse_lags];
    // Without a branch, so that the divisions run side by side: a lag
    // without energy divides by 1.0 and takes 1.0.
    for (int64_t k = 1; k < m; ++k) {
        const double e = coarse_energy[k];
        const double q = (0.5 * e - coarse_corr[k]) / (e > 0.0 ? e : 1.0);
        d[k] = e > 0.0 ? q : 1.0;
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
        if (v < dip_threshold) dips[found++] = (double(k) + delta) * double(engine::coarse_step);
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
        if (type != input_type::bass_instrument) return 0;
        result = dips[0];
    } else {
        return 0;
    }

    const int64_t lag = int64_t(result + 0.5);
    if (lag == 0) return 0;
    return lag - lag_half;
}

void pitch_detector::fine_start(int64_t lag, int64_t newest) noexcept
{
    multiple = 1;
    widen_pending = true;
    held_samples = 0;
    arm(lag, newest);
}

bool pitch_detector::arm(int64_t lag, int64_t newest) noexcept
{
    base_lag = lag;
    const int64_t width = 2 * int64_t(lag_half);
    // The window's widest lag must fit twice into the ring, with the
    // samples a decision takes in together.
    if (2 * lag <= 0 || 2 * (lag + width) + engine::decide_interval > engine::ring_len) {
        lag_energy[0] = 0.0;
        return false;
    }
    const double* h = past.back(newest);
    const double energy = vector_kernels::kernels().dot(h, h, 2 * lag);
    lag_energy[0] = energy;
    if (energy < lock_floor) return false; // too quiet to lock
    for (int64_t k = 0; k < width; ++k) lag_corr[k] = direct_corr(newest, base_lag + k);
    pending = 0;
    decide_count = engine::decide_interval - 1; // the next sample decides
    searching = false;
    return true;
}

int64_t pitch_detector::step_window(int64_t newest) noexcept
{
    // Lag l gains each sample times the sample l back, and loses the sample
    // l back times the one 2l back: x a - a b, taken as a (x - b). The base
    // lag's energy gains each sample squared and loses the one 2l back
    // squared; each further lag's energy is the one below plus the samples
    // 2l - 2 and 2l - 1 back, squared.
    vector_kernels::lag_window_input in;
    in.recent = past.back(newest);
    in.lag = base_lag;
    in.far[0] = past.every_second_back(newest, 2 * base_lag);
    in.far[1] = past.every_second_back(newest, 2 * base_lag + 1);
    in.pair[0] = past.every_second_back(newest, 2 * base_lag - 2);
    in.pair[1] = past.every_second_back(newest, 2 * base_lag - 1);
    double energy = lag_energy[0];
    for (int64_t s = pending - 1; s >= 0; --s) {
        const double x = in.recent[s];
        const double b = in.far[s % 2][s / 2];
        energy += x * x - b * b;
    }
    lag_energy[0] = energy;
    const int64_t k =
        vector_kernels::kernels().lag_window_step(lag_energy, lag_corr, 2 * int64_t(lag_half), pending, in);
    pending = 0;
    return k;
}

pitch_detector::outcome pitch_detector::decide(int64_t newest) noexcept
{
    const int64_t width = 2 * int64_t(lag_half);
    if (width < 2) return lose_lock();
    // The lowest lag of the smallest value of f wins. A value that is not a
    // number never does, and at k = 0 loses the lock.
    int64_t k = step_window(newest);
    auto f = [this](int64_t k) { return 0.5 * lag_energy[k] - lag_corr[k]; };
    if (k == 0 || k == width - 1 || lag_energy[k] < hold_floor) return lose_lock();

    // Keep the minimum in the middle of the window, one lag per decision.
    if (k > lag_half) {
        const int64_t top = base_lag + width; // the new last lag
        if (2 * top + engine::decide_interval > engine::ring_len) return lose_lock();
        ++base_lag;
        --k;
        for (int64_t j = 0; j < width - 1; ++j) {
            lag_energy[j] = lag_energy[j + 1];
            lag_corr[j] = lag_corr[j + 1];
        }
        lag_corr[width - 1] = direct_corr(newest, top);
    } else if (k < lag_half - 1) {
        if (base_lag <= 1) return lose_lock();
        --base_lag;
        ++k;
        for (int64_t j = width - 1; j > 0; --j) {
            lag_energy[j] = lag_energy[j - 1];
            lag_corr[j] = lag_corr[j - 1];
        }
        const int64_t l = base_lag;
        const double* h = past.back(newest);
        const double a = h[2 * l];
        const double b = h[2 * l + 1];
        lag_energy[0] = lag_energy[1] - a * a - b * b;
        lag_corr[0] = direct_corr(newest, l);
    }

    const double a = f(k - 1), b = f(k), c = f(k + 1);
    const double denominator = a + c - 2.0 * b;
    const double delta = denominator != 0.0 ? 0.5 * (a - c) / denominator : 0.0;
    // A division by 1.0 changes nothing, and its latency is on the way of
    // every decision.
    const double lag = double(k + base_lag) + delta;
    period = last_period = multiple > 1 ? lag / double(multiple) : lag;

    if (multiple > 1) return hold_widened(newest);
    if (!widen_pending) return outcome::decided;
    return widen(newest, b / (0.5 * lag_energy[k]));
}

pitch_detector::outcome pitch_detector::widen(int64_t newest, double depth) noexcept
{
    // A short period is followed, once its lock has held for twice the
    // span, over as many whole periods as span min_span samples: a lag of m
    // periods averages the jitter and shimmer of m cycles, and a sample of
    // lag is m times finer in cents. Only a period at which the signal
    // repeats closely is widened, so that a dip between two multiples of
    // the period never becomes one. The neighbouring multiples stay outside
    // the window while the period is 1.5 half widths or longer.
    if (period >= widen_below || period < 1.5 * double(lag_half)) {
        widen_pending = false;
        return outcome::decided;
    }
    held_samples += engine::decide_interval;
    const int32_t m = int32_t(std::ceil(min_span / period));
    if (double(held_samples) < 2.0 * double(m) * period) return outcome::decided;
    widen_pending = false;
    if (depth > max_widen_depth) return outcome::decided;
    multiple = m;
    widened_period = 0.0;
    if (!arm(int64_t(double(m) * period + 0.5) - lag_half, newest)) return lose_lock();
    return outcome::decided;
}

pitch_detector::outcome pitch_detector::hold_widened(int64_t newest) noexcept
{
    // The widened window's lag lags the pitch by about the span: it serves a
    // held pitch. Once the period moves away from the widened window's
    // first decision (a vibrato, a glide), the window goes back to one
    // period for the rest of the lock, which follows a moving pitch sooner.
    if (widened_period == 0.0) {
        widened_period = period;
        return outcome::decided;
    }
    if (std::fabs(period - widened_period) <= max_widened_drift * widened_period) return outcome::decided;
    multiple = 1;
    if (!arm(int64_t(period + 0.5) - lag_half, newest)) return lose_lock();
    return outcome::decided;
}

double pitch_detector::direct_corr(int64_t newest, int64_t lag) const noexcept
{
    const double* h = past.back(newest);
    return vector_kernels::kernels().dot(h, h + lag, lag);
}

pitch_detector::outcome pitch_detector::lose_lock() noexcept
{
    period = 0.0;
    searching = true;
    search_reset = true;
    return outcome::lost;
}
