#include "dsp/pitch_shifter.h"

#include <algorithm>

#include "Common_VST3/utilities.h"

namespace {

// Three-point parabola through the ring entry nearest to `position` and its
// two neighbours.
[[gnu::always_inline]] inline double interpolate(const double* ring, double position) noexcept
{
    int64_t i = Round_ToInt(float(position));
    const double t = position - double(i);
    while (i < 0) i += engine::ring_len;
    while (i >= engine::ring_len) i -= engine::ring_len;
    const double y0 = ring[i];
    const double ym = ring[i == 0 ? engine::ring_len - 1 : i - 1];
    const double yp = ring[engine::ring_next(i, engine::ring_len)];
    return ((0.5 * (ym + yp) - y0) * t + 0.5 * (yp - ym)) * t + y0;
}

} // namespace

pitch_shifter::pitch_shifter()
{
    for (int c = 0; c < max_channels; ++c) {
        input_ring[c] = new double[engine::ring_len];
        residual_ring[c] = new double[engine::residual_len];
        read_ring[c] = new double[engine::ring_len];
    }
    period_ring = new double[engine::ring_len];
    held_period_ring = new double[engine::ring_len];
    ratio_ring = new double[engine::ring_len];
    reset();
}

pitch_shifter::~pitch_shifter()
{
    for (int c = 0; c < max_channels; ++c) {
        delete[] input_ring[c];
        delete[] residual_ring[c];
        delete[] read_ring[c];
    }
    delete[] period_ring;
    delete[] held_period_ring;
    delete[] ratio_ring;
}

void pitch_shifter::set_rate(double engine_rate) noexcept
{
    rate = engine_rate;
    for (auto& filter : anti_alias) filter.set_sampleRate(rate);
}

void pitch_shifter::reset() noexcept
{
    for (int c = 0; c < max_channels; ++c) {
        std::fill(input_ring[c], input_ring[c] + engine::ring_len, 0.0);
        std::fill(residual_ring[c], residual_ring[c] + engine::residual_len, 0.0);
        std::fill(read_ring[c], read_ring[c] + engine::ring_len, 0.0);
    }
    std::fill(period_ring, period_ring + engine::ring_len, 0.0);
    std::fill(held_period_ring, held_period_ring + engine::ring_len, 0.0);
    // A neutral ratio, so the read-out moves with the writer from the first
    // sample instead of standing still.
    std::fill(ratio_ring, ratio_ring + engine::ring_len, 1.0);
    for (auto& filter : anti_alias) {
        filter.set_passthrough();
        filter.clear();
    }
    write_index = 0;
    delayed_index = engine::ring_back(write_index, engine::delayed_distance, engine::ring_len);
    residual_index = 0;
    read_pos = double(write_index - engine::read_distance);
    old_read_pos = read_pos;
    splice_mix = 1.0;
    read_period = 0.0;
    read_ratio = 1.0;
    filter_ratio = 1.0;
}

int64_t pitch_shifter::read_out(bool bypass, int channels, double* sample) noexcept
{
    if (bypass) read_ratio = 1.0;
    read_pos += read_ratio;
    old_read_pos += read_ratio;
    const double writer = double(write_index);
    // The reader splices back once it passes its closest distance; resting
    // exactly there (a ratio of 1.0 from the start) it keeps the fixed delay.
    // Before any period is known the splice is a fixed length.
    const double splice = read_period > 0.0 ? read_period : engine::unvoiced_splice;
    if (read_pos > writer - double(engine::read_distance)) {
        old_read_pos = read_pos;
        splice_mix = 0.0;
        read_pos -= splice;
    } else if (read_pos <= writer - 1.2 * splice - double(engine::read_distance)) {
        old_read_pos = read_pos;
        splice_mix = 0.0;
        read_pos += splice;
    }

    for (int c = 0; c < channels; ++c) sample[c] = interpolate(read_ring[c], read_pos);
    if (splice_mix < 1.0) {
        for (int c = 0; c < channels; ++c) {
            const double old_sample = interpolate(read_ring[c], old_read_pos);
            sample[c] = splice_mix * sample[c] + (1.0 - splice_mix) * old_sample;
        }
        splice_mix = std::min(1.0, splice_mix + engine::splice_step);
    }
    return int64_t(read_pos - double(engine::residual_delay));
}

void pitch_shifter::check_anti_alias(double v) noexcept
{
    if (!(v < 0.9 * filter_ratio || v > 1.1 * filter_ratio)) return;
    filter_ratio = v;
    if (v > 1.0) {
        // Reading faster moves the spectrum up: keep what stays below the
        // half rate.
        const double corner = rate * 0.49 / v;
        for (auto& filter : anti_alias) filter.init_LowPass_twoPole(corner, 0.707);
    } else {
        for (auto& filter : anti_alias) filter.set_passthrough();
    }
}
