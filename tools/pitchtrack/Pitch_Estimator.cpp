#include "pitchtrack/Pitch_Estimator.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace pitchtrack {

namespace {

// The shortest lag is at least this many samples, so that a dip has a
// neighbour on each side inside the searched lags.
constexpr double kMinLagSamples = 4.0;
// A dip comes near the deepest one when it is at most this factor of it
// plus this margin (normalised difference).
constexpr double kNearDeepestFactor = 6.0;
constexpr double kNearDeepestMargin = 0.02;
// The largest ratio of the energies of the window and of the window
// shifted by the period for which the frame counts as steady.
constexpr double kMaxLevelChange = 1.3;
// The shortest hop accepted, in seconds.
constexpr double kMinHopSeconds = 1e-4;

size_t power_of_two_at_least(size_t n)
{
    size_t size = 1;
    while (size < n) size <<= 1;
    return size;
}

void require(bool condition, const std::string& what)
{
    if (!condition) throw std::invalid_argument("Pitch_Estimator: " + what);
}

} // namespace

Pitch_Estimator::Pitch_Estimator(double sample_rate, const Estimator_Settings& s)
    : rate(sample_rate), settings(s)
{
    require(std::isfinite(rate) && rate > 0.0, "the sample rate must be positive");
    require(std::isfinite(s.hop_s) && s.hop_s >= kMinHopSeconds, "the hop must be at least 0.1 ms");
    require(std::isfinite(s.min_hz) && std::isfinite(s.max_hz) && s.min_hz > 0.0 && s.min_hz < s.max_hz,
            "the range must satisfy 0 < min_hz < max_hz");
    require(rate / s.max_hz >= kMinLagSamples, "max_hz must be at most a quarter of the sample rate");
    require(std::isfinite(s.threshold) && std::isfinite(s.voicing_threshold) && s.threshold > 0.0 &&
                s.voicing_threshold > 0.0,
            "the thresholds must be positive");
    require(!std::isnan(s.silence_db), "the silence level must be a number");

    min_lag = size_t(std::floor(rate / s.max_hz));
    max_lag = size_t(std::ceil(rate / s.min_hz));
    // One longest period: every period searched fits in the window at
    // least once.
    window = max_lag;
    // The correlation of the window with the window and the lags after it
    // (the last lag only for the refinement) must not wrap around.
    fft_size = power_of_two_at_least(window + max_lag + 2);

    spectrum.resize(fft_size);
    twiddle.resize(fft_size / 2);
    for (size_t k = 0; k < fft_size / 2; ++k)
        twiddle[k] = std::polar(1.0, -2.0 * M_PI * double(k) / double(fft_size));
    reversed.resize(fft_size);
    size_t bits = 0;
    while ((size_t(1) << bits) < fft_size) ++bits;
    for (size_t i = 0; i < fft_size; ++i) {
        size_t r = 0;
        for (size_t b = 0; b < bits; ++b) r |= ((i >> b) & 1u) << (bits - 1 - b);
        reversed[i] = r;
    }
    segment.resize(window + max_lag + 2);
    difference.resize(max_lag + 2);
    normalised.resize(max_lag + 2);
    shifted_energy.resize(max_lag + 2);
}

// In-place radix-2 FFT of `spectrum`; the inverse is not scaled.
void Pitch_Estimator::transform(bool inverse)
{
    const size_t n = fft_size;
    for (size_t i = 0; i < n; ++i) {
        if (i < reversed[i]) std::swap(spectrum[i], spectrum[reversed[i]]);
    }
    for (size_t half = 1; half < n; half <<= 1) {
        const size_t stride = n / (2 * half);
        for (size_t start = 0; start < n; start += 2 * half) {
            for (size_t k = 0; k < half; ++k) {
                std::complex<double> w = twiddle[k * stride];
                if (inverse) w = std::conj(w);
                const std::complex<double> odd = w * spectrum[start + k + half];
                spectrum[start + k + half] = spectrum[start + k] - odd;
                spectrum[start + k] += odd;
            }
        }
    }
}

std::vector<Pitch_Frame> Pitch_Estimator::track(const std::vector<float>& samples)
{
    return track(samples.data(), samples.size());
}

std::vector<Pitch_Frame> Pitch_Estimator::track(const float* samples, size_t count)
{
    std::vector<Pitch_Frame> frames;
    if (samples == nullptr || count == 0) return frames;
    const double duration = double(count) / rate;
    // A frame falls on the last sample's time when the hop divides the
    // duration, whatever the rounding of the division.
    const size_t frame_count = size_t(std::floor(duration / settings.hop_s + 1e-9)) + 1;
    frames.reserve(frame_count);
    for (size_t k = 0; k < frame_count; ++k) {
        const double time = double(k) * settings.hop_s;
        const long centre = long(std::lround(time * rate));
        Pitch_Frame frame = analyse(samples, count, centre - long(window / 2));
        frame.time_s = time;
        frames.push_back(frame);
    }
    return frames;
}

Pitch_Frame Pitch_Estimator::analyse(const float* samples, size_t count, long start)
{
    const Pitch_Frame unvoiced{0.0, 0.0, 1.0};

    // The samples compared: the window and the longest lag after it.
    bool finite = true;
    for (size_t j = 0; j < segment.size(); ++j) {
        const long i = start + long(j);
        const double v = (i >= 0 && size_t(i) < count) ? double(samples[i]) : 0.0;
        finite = finite && std::isfinite(v);
        segment[j] = v;
    }
    if (!finite) return unvoiced;

    // The level of the window; silence has no pitch.
    double energy = 0.0;
    for (size_t j = 0; j < window; ++j) energy += segment[j] * segment[j];
    if (energy <= 0.0) return unvoiced;
    const double level_db = 10.0 * std::log10(energy / double(window));

    // r(lag) = sum over the window of x[j] x[j + lag], for every lag at once:
    // the window in the real part, the longer segment in the imaginary part,
    // one transform for both, then the cross spectrum back.
    for (size_t j = 0; j < fft_size; ++j) {
        const double a = j < window ? segment[j] : 0.0;
        const double b = j < segment.size() ? segment[j] : 0.0;
        spectrum[j] = {a, b};
    }
    transform(false);
    // Overwriting bin k needs bin n - k, so each pair is handled at once.
    for (size_t k = 0; k <= fft_size / 2; ++k) {
        const size_t m = (fft_size - k) % fft_size;
        const std::complex<double> zk = spectrum[k], zm = spectrum[m];
        const std::complex<double> ak = 0.5 * (zk + std::conj(zm));
        const std::complex<double> bk = std::complex<double>(0.0, -0.5) * (zk - std::conj(zm));
        const std::complex<double> am = 0.5 * (zm + std::conj(zk));
        const std::complex<double> bm = std::complex<double>(0.0, -0.5) * (zm - std::conj(zk));
        spectrum[k] = std::conj(ak) * bk;
        spectrum[m] = std::conj(am) * bm;
    }
    transform(true);

    // The squared difference d(lag) = E(window) + E(window shifted by lag)
    // - 2 r(lag), the shifted energy kept up to date lag by lag.
    const double scale = 1.0 / double(fft_size);
    double shifted = energy;
    difference[0] = 0.0;
    for (size_t lag = 1; lag < difference.size(); ++lag) {
        shifted += segment[window + lag - 1] * segment[window + lag - 1] -
                   segment[lag - 1] * segment[lag - 1];
        const double r = spectrum[lag].real() * scale;
        difference[lag] = std::max(0.0, energy + shifted - 2.0 * r);
        shifted_energy[lag] = shifted;
    }

    // Cumulative mean normalised difference: each lag against the mean of
    // the lags up to it, so that the dips near lag 0 do not win.
    normalised[0] = 1.0;
    double running = 0.0;
    for (size_t lag = 1; lag < normalised.size(); ++lag) {
        running += difference[lag];
        normalised[lag] = running > 0.0 ? difference[lag] * double(lag) / running : 1.0;
    }

    // The first dip below the absolute threshold, followed to its bottom;
    // failing that, the deepest dip. A dip at half the period, where a
    // formant lifts the second harmonic, can pass the absolute threshold
    // while the period's own dip is far deeper, so a dip must also come near
    // the deepest one to count.
    size_t deepest = min_lag;
    for (size_t lag = min_lag + 1; lag <= max_lag; ++lag) {
        if (normalised[lag] < normalised[deepest]) deepest = lag;
    }
    const double bar = std::min(settings.threshold, kNearDeepestFactor * normalised[deepest] + kNearDeepestMargin);
    size_t best = deepest;
    for (size_t lag = min_lag; lag <= max_lag; ++lag) {
        if (normalised[lag] < bar) {
            while (lag + 1 <= max_lag && normalised[lag + 1] < normalised[lag]) ++lag;
            best = lag;
            break;
        }
    }
    const double aperiodicity = std::min(1.0, normalised[best]);

    // A minimum on the edge of the searched lags is a period outside the
    // range, not a dip.
    const bool is_dip = normalised[best - 1] >= normalised[best] && normalised[best + 1] >= normalised[best];
    // Across an onset or the end of a note the window and its shifted copy
    // differ in level, and the shorter lags, where they differ less, win
    // whatever the pitch: such frames are not judged.
    const double level_change = shifted_energy[best] / energy;
    const bool steady = level_change < kMaxLevelChange && level_change > 1.0 / kMaxLevelChange;
    if (!is_dip || !steady || aperiodicity > settings.voicing_threshold || level_db < settings.silence_db)
        return {0.0, 0.0, aperiodicity};

    // The bottom of the parabola through the raw difference around the
    // dip: the normalised function's minimum is biased by its division.
    const double a = difference[best - 1], b = difference[best], c = difference[best + 1];
    const double curvature = a - 2.0 * b + c;
    double offset = curvature > 0.0 ? 0.5 * (a - c) / curvature : 0.0;
    offset = std::clamp(offset, -1.0, 1.0);
    const double hz = rate / (double(best) + offset);
    if (hz < settings.min_hz || hz > settings.max_hz) return {0.0, 0.0, aperiodicity};
    return {0.0, hz, aperiodicity};
}

} // namespace pitchtrack
