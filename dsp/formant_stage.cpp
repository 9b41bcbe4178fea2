#include "dsp/formant_stage.h"

#include <algorithm>
#include <cmath>

#include "Common_VST3/utilities.h"
#include "dsp/vector_kernels.h"

int levinson(int64_t n, const double* r, double* a, double* k, double* scratch) noexcept
{
    int result = 0;
    if (n < 1 || n > engine::max_taps) result += 1;
    if (!(r[0] > 0.0)) result += 2;
    if (result != 0) return result;
    (void)scratch;
    // The reflection coefficients by the lattice form of the recursion
    // (Schur's): at order i, p[m] is the correlation of the forward
    // prediction error with the signal m back, for m from i + 1, and q[t]
    // that of the backward error with the signal t + i back. Then
    //   k[i] = p[i + 1] / q[0], the error's energy q[0],
    // and one lattice step takes both to order i + 1. It gives the textbook
    // recursion's coefficients without its sum over the predictor at each
    // order: each order waits for one division and one multiply-subtract.
    double p[engine::max_taps + 1];
    double q[engine::max_taps + 1];
    std::copy(r, r + n + 1, p);
    std::copy(r, r + n + 1, q);
    const auto& kernels = vector_kernels::kernels();
    for (int64_t i = 0; i < n; ++i) {
        k[i] = p[i + 1] / q[0];
        if (int64_t(k[i]) != 0 || !std::isfinite(k[i])) return 4;
        if (i + 1 < n) kernels.lattice_step(p + i + 1, q, n - i, k[i]);
    }
    if (a != nullptr) kernels.step_up_all(k, n, a);
    return 0;
}

void reflection_to_area(int64_t n, const double* k, double* area) noexcept
{
    double product = 1.0;
    for (int64_t i = 0; i < n; ++i) {
        product *= (1.0 - k[i]) / (1.0 + k[i]);
        area[i] = product;
    }
}

void area_to_reflection(int64_t n, double* k, const double* area) noexcept
{
    if (n < 1) return;
    k[0] = (1.0 - area[0]) / (1.0 + area[0]);
    for (int64_t i = 1; i < n; ++i) k[i] = (area[i - 1] - area[i]) / (area[i - 1] + area[i]);
}

void reflection_to_predictor(int64_t n, const double* k, double* a, double* scratch) noexcept
{
    (void)scratch;
    vector_kernels::kernels().step_up_all(k, n, a);
}

namespace {

// The longest period the detector can hold: its window of two periods fits
// into the ring.
constexpr int64_t longest_period = engine::ring_len / 2;
// Two of the longest periods and a tenth, then the periodic extension.
constexpr int64_t work_len = 2 * longest_period + longest_period / 10 + engine::max_taps + 8;
// Analyses averaged by the smoothers of the correlation and of the areas.
constexpr int32_t corr_history = 4;
constexpr int32_t area_history = 2;
// The segment counts as repeating at a fraction 1 / m of the detector's
// period when its circular correlation there reaches this share of its
// energy; m up to max_divisor, for fundamentals up to max_fundamental Hz.
constexpr double repeat_share = 0.95;
constexpr int64_t max_divisor = 8;
constexpr double max_fundamental = 1500.0;

// Stores the predictor a[0 .. n) into a set's row, reversed and right-aligned.
void store_reversed(int64_t n, const double* a, double* row) noexcept
{
    for (int64_t j = 0; j < n; ++j) row[engine::max_taps - 1 - j] = a[j];
}

// A filter of `taps` coefficients runs over the whole vectors that hold
// them: the zeros that lie before them in their rows pad the count to a
// multiple of 4. A row too short for that pads nothing.
int64_t padded_taps(int64_t taps) noexcept
{
    const int64_t padded = (taps + 3) & ~int64_t(3); // taps >= 0
    return padded <= engine::max_taps ? padded : taps;
}

// The sum of x[i] * coef[i] over a filter's padded taps; an empty set's
// (formants off), +0.0, without a call.
double filter_sum(const double* x, const double* coef, int64_t padded) noexcept
{
    if (padded == 0) return 0.0;
    const auto& kernels = vector_kernels::kernels();
    return (padded & 3) == 0 ? kernels.dot_padded(x, coef, padded) : kernels.dot(x, coef, padded);
}

} // namespace

formant_stage::formant_stage()
    : corr_smoother(corr_history, engine::max_taps + 1), area_smoother(area_history, engine::max_taps)
{
    for (auto& ring : pre_ring) ring = new double[2 * engine::ring_len];
    analysis_coef = new double[engine::set_count][engine::max_taps];
    synth_coef = new double[engine::set_count][engine::max_taps];
    set_ring = new int32_t[engine::ring_len];
    prev_set_ring = new int32_t[engine::ring_len];
    mix_ring = new double[engine::ring_len];
    // The autocorrelation reads a little past the segment's extension.
    work = new double[size_t(work_len + vector_kernels::padding)]();
    reset();
}

formant_stage::~formant_stage()
{
    for (auto* ring : pre_ring) delete[] ring;
    delete[] analysis_coef;
    delete[] synth_coef;
    delete[] set_ring;
    delete[] prev_set_ring;
    delete[] mix_ring;
    delete[] work;
}

void formant_stage::set_rate(double engine_rate) noexcept
{
    rate = engine_rate;
    // About one coefficient per kilohertz of the engine rate, as the vocal
    // tract's resonances come about one per kilohertz, and a few for the
    // glottal tilt. 1.8 times the order stays within the tube's 110 sections.
    lpc_order = std::clamp<int64_t>(int64_t(std::lround(rate / 1000.0)) + 2, 10, 60);
    const double ratio = throat_ratio;
    throat_ratio = -1.0; // rebuild the map for the new order
    set_throat_ratio(ratio);
}

void formant_stage::reset() noexcept
{
    for (auto* ring : pre_ring) std::fill(ring, ring + 2 * engine::ring_len, 0.0);
    de_state[0] = de_state[1] = 0.0;
    for (int s = 0; s < engine::set_count; ++s) {
        std::fill(analysis_coef[s], analysis_coef[s] + engine::max_taps, 0.0);
        std::fill(synth_coef[s], synth_coef[s] + engine::max_taps, 0.0);
        synth_taps[s] = 0;
        analysis_filled[s] = false;
    }
    std::fill(set_ring, set_ring + engine::ring_len, 0);
    std::fill(prev_set_ring, prev_set_ring + engine::ring_len, 0);
    std::fill(mix_ring, mix_ring + engine::ring_len, 1.0);
    for (auto& history : synth_history) std::fill(history, history + 2 * engine::max_taps, 0.0);
    history_index = 0;
    analysis_count = -engine::analysis_interval;
    set_index = prev_set_index = 0;
    set_mix = 1.0;
    corr_smoother.reset_smoothing();
    area_smoother.reset_smoothing();
}

void formant_stage::roll_sets() noexcept
{
    prev_set_index = set_index;
    set_index = set_index + 1 == engine::set_count ? 0 : set_index + 1;
    set_mix = 0.0;
    std::fill(analysis_coef[set_index], analysis_coef[set_index] + engine::max_taps, 0.0);
    std::fill(synth_coef[set_index], synth_coef[set_index] + engine::max_taps, 0.0);
    synth_taps[set_index] = 0;
    analysis_filled[set_index] = false;
}

void formant_stage::analyze(const double* period_ring, int64_t index, int channel, double period,
                            double last_period, bool bypass) noexcept
{
    if (!formants_on) {
        // Empty sets roll in, and the last analysis fades out.
        roll_sets();
    } else {
        const double* x = pre_ring[channel];
        int64_t len;
        int64_t fade = 0;
        const double p = last_period;
        if (p == 0.0) {
            // No pitch yet: a plain 10 ms.
            len = int64_t(rate * 0.01);
            for (int64_t i = 0; i < len; ++i) work[i] = x[engine::ring_back(index, i, engine::ring_len)];
            std::fill(work + len, work + len + lpc_order + 1, 0.0);
        } else {
            fade = int64_t(0.1 * p);
            len = period == 0.0 ? int64_t(2.0 * p + 0.5) : int64_t(p + 0.5);
            len = std::min<int64_t>(len, 2 * longest_period);
            const int64_t total = len + fade;
            if (period == 0.0) {
                for (int64_t i = 0; i < total; ++i) work[i] = x[engine::ring_back(index, i, engine::ring_len)];
            } else {
                // Averaging each sample with the one a period before takes the
                // harmonics' fine structure out of the segment. The emphasised
                // ring is mirrored, so a sample up to a ring's length back from
                // a position lies at its index minus the distance in the
                // mirror.
                const double* mirror = x + engine::ring_len;
                int64_t at = index;
                for (int64_t i = 0; i < total; ++i) {
                    const double here = period_ring[at];
                    const int64_t back = here == 0.0 ? 0 : Round_ToInt(float(here));
                    if (back <= 0 || i + back >= engine::ring_len) {
                        work[i] = mirror[at];
                    } else {
                        work[i] = 0.5 * (mirror[at] + mirror[at - back]);
                    }
                    at = at == 0 ? engine::ring_len - 1 : at - 1;
                }
            }
            // Fold the first samples into the end, so the segment closes on
            // itself, and extend it periodically.
            if (fade > 0) {
                const double step = 1.0 / double(fade);
                double w = 1.0;
                for (int64_t i = 0; i < fade; ++i) {
                    work[i] = (1.0 - w) * work[i] + w * work[len + i];
                    w -= step;
                }
            }
            for (int64_t i = 0, j = 0; i <= lpc_order; ++i) {
                work[len + i] = work[j];
                if (++j == len) j = 0;
            }
        }

        // A further first difference tilts the spectrum the fit sees; with
        // a coefficient of 0 it changes no sample.
        if (spectrum_emphasis != 0.0) {
            const int64_t n = len + lpc_order;
            const double wrap = work[len - 1];
            for (int64_t i = n - 1; i > 0; --i) work[i] -= spectrum_emphasis * work[i - 1];
            work[0] -= spectrum_emphasis * wrap;
        }

        double r[engine::max_taps + 2];
        vector_kernels::kernels().autocorrelation(work, len, lpc_order + 1, r);
        // The lag window widens the spectral peaks, so that the fit follows
        // the envelope and not the harmonics. Its width is the spacing of the
        // harmonics: the detector's period, or a whole fraction of it when
        // the segment repeats within that period.
        const double w = p != 0.0 ? p / double(harmonic_divisor(r, len, p)) : double(len);
        // sin(l theta) comes from the one before by a rotation through
        // theta, which keeps its error within about l rounding steps.
        const double theta = M_PI / w;
        const double sin_step = std::sin(theta);
        const double cos_step = std::cos(theta);
        double sin_l = sin_step;
        double cos_l = cos_step;
        for (int64_t l = 1; l <= lpc_order; ++l) {
            const double a = double(l) * M_PI / w;
            const double sinc = sin_l / a;
            r[l] *= sinc * sinc;
            const double next_sin = sin_l * cos_step + cos_l * sin_step;
            cos_l = cos_l * cos_step - sin_l * sin_step;
            sin_l = next_sin;
        }
        corr_smoother.do_smoothing(r, int32_t(lpc_order + 1));
        if (r[0] < 1e-12) r[0] = 1.0;
        r[0] *= noise_factor;

        double k[engine::max_taps];
        double predictor[engine::max_taps];
        if (levinson(lpc_order, r, nullptr, k, blend_coef) != 0) {
            // An ill-conditioned analysis: the present set stays.
            corr_smoother.reset_smoothing();
            area_smoother.reset_smoothing();
        } else {
            roll_sets();
            reflection_to_area(lpc_order, k, area);
            area_smoother.do_smoothing(area, int32_t(lpc_order));
            area_to_reflection(lpc_order, k, area);
            reflection_to_predictor(lpc_order, k, predictor, blend_coef);
            store_reversed(lpc_order, predictor, analysis_coef[set_index]);
            analysis_filled[set_index] = true;

            // An unstretched tube (the usual case) warps the areas into
            // themselves, and the synthesis filter is the analysis filter's
            // predictor over again.
            const int64_t m = warp_area(bypass);
            if (m != lpc_order || !std::equal(warped_area, warped_area + m, area)) {
                area_to_reflection(m, k, warped_area);
                reflection_to_predictor(m, k, predictor, blend_coef);
            }
            store_reversed(m, predictor, synth_coef[set_index]);
            synth_taps[set_index] = m;
        }
    }
}

int64_t formant_stage::harmonic_divisor(const double* r, int64_t len, double p) const noexcept
{
    // A voice whose first formant lies below its fundamental can hold the
    // detector at several periods; the correction does not mind, as it stays
    // on the same pitch class, but the harmonics then stand several lag
    // window widths apart and the fit would follow them. The segment repeats
    // at len samples; its circular correlation at the lags p / m (r[lag]
    // where the lag is within the order) tells whether it repeats within.
    if (!(r[0] > 0.0)) return 1;
    const int64_t shortest = std::max<int64_t>(2, int64_t(rate / max_fundamental));
    for (int64_t m = max_divisor; m >= 2; --m) {
        const int64_t lag = int64_t(p / double(m) + 0.5);
        if (lag < shortest || lag >= len) continue;
        double sum = 0.0;
        if (lag <= lpc_order) {
            sum = r[lag];
        } else {
            // Circular: the products up to the segment's end, then those
            // whose partner wraps to its start.
            const auto& kernels = vector_kernels::kernels();
            sum = kernels.dot(work, work + lag, len - lag) + kernels.dot(work + len - lag, work, lag);
        }
        if (sum >= repeat_share * r[0]) return m;
    }
    return 1;
}

int64_t formant_stage::warp_area(bool bypass) noexcept
{
    if (bypass) {
        std::copy(area, area + lpc_order, warped_area);
        return lpc_order;
    }
    for (int64_t i = 0; i < warp_len; ++i) {
        const double p = warp_map[i];
        const int64_t j = std::min<int64_t>(int64_t(p), lpc_order - 2);
        warped_area[i] = (1.0 - p + double(j)) * area[j] + (p - double(j)) * area[j + 1];
    }
    return warp_len;
}

void formant_stage::set_throat_ratio(double ratio) noexcept
{
    if (ratio == throat_ratio) return;
    throat_ratio = ratio;
    const int64_t n = int64_t(double(lpc_order - 1) * ratio + 1.001);
    warp_len = std::min<int64_t>(n, engine::max_taps);
    if (warp_len > 1) {
        for (int64_t i = 0; i < warp_len; ++i)
            warp_map[i] = double(lpc_order - 1) * double(i) / double(warp_len - 1);
    }
    if (warp_len > 0) warp_map[warp_len - 1] = double(lpc_order - 1);
}

double formant_stage::inverse_filter(int64_t index, int channel) noexcept
{
    const int64_t i = engine::ring_back(index, engine::residual_delay, engine::ring_len);
    const double* x = pre_ring[channel] + engine::ring_len + i;
    // Empty sets (formants off) pass the sample as their zeros would.
    if (!analysis_filled[set_index] && (set_mix >= 1.0 || !analysis_filled[prev_set_index])) return x[0];
    const int64_t taps = padded_taps(lpc_order);
    const int64_t first = engine::max_taps - taps;
    const double* coef = analysis_coef[set_index];
    if (set_mix < 1.0) {
        vector_kernels::kernels().mix(blend_coef + first, coef + first, set_mix, analysis_coef[prev_set_index] + first,
                                      1.0 - set_mix, taps);
        coef = blend_coef;
    }
    // The samples before this one, oldest first, in one piece of the
    // mirrored ring.
    return x[0] - filter_sum(x - taps, coef + first, taps);
}

double formant_stage::synthesis_filter(int64_t position, int channel, double x) noexcept
{
    while (position < 0) position += engine::ring_len;
    while (position >= engine::ring_len) position -= engine::ring_len;
    const int32_t c = set_ring[position];
    const int32_t p = prev_set_ring[position];
    const double w = mix_ring[position];
    int64_t taps = synth_taps[c];
    const double* coef = synth_coef[c];
    const bool blend = w < 1.0 && synth_taps[p] != 0;
    if (blend) taps = std::max(taps, synth_taps[p]);
    taps = padded_taps(taps);
    if (blend) {
        const int64_t first = engine::max_taps - taps;
        vector_kernels::kernels().mix(blend_coef + first, synth_coef[p] + first, 1.0 - w, synth_coef[c] + first, w,
                                      taps);
        coef = blend_coef;
    }
    // The outputs before this one, oldest first, in one piece of the
    // mirrored history.
    double* history = synth_history[channel];
    const double* past = history + history_index + engine::max_taps - taps;
    const double y = x + filter_sum(past, coef + engine::max_taps - taps, taps);
    history[history_index] = history[history_index + engine::max_taps] = y;
    if (channel == 0) history_index = history_index + 1 == engine::max_taps ? 0 : history_index + 1;
    return y;
}
