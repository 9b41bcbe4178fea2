#include "dsp/CV_DSPObject.h"

#include <algorithm>
#include <cmath>

#include "Common_VST3/utilities.h"

CV_DSPObject::CV_DSPObject(int64_t block_limit) : Downsample_DSP(block_limit)
{
    for (int c = 0; c < max_channels; ++c) {
        input_ring[c] = new double[engine::ring_len];
        residual_ring[c] = new double[engine::residual_len];
        read_ring[c] = new double[engine::ring_len];
    }
    period_ring = new double[engine::ring_len];
    held_period_ring = new double[engine::ring_len];
    ratio_ring = new double[engine::ring_len];
    smoother = new pitch_smoother();
    vib_table = new float[vib_table_size];
    set_vibrato_shape(0);
    CV_DSPObject::reset();
}

CV_DSPObject::~CV_DSPObject()
{
    for (int c = 0; c < max_channels; ++c) {
        delete[] input_ring[c];
        delete[] residual_ring[c];
        delete[] read_ring[c];
    }
    delete[] period_ring;
    delete[] held_period_ring;
    delete[] ratio_ring;
    delete smoother;
    delete[] vib_table;
}

void CV_DSPObject::reset()
{
    Downsample_DSP::reset();
    for (int c = 0; c < max_channels; ++c) {
        std::fill(input_ring[c], input_ring[c] + engine::ring_len, 0.0);
        std::fill(residual_ring[c], residual_ring[c] + engine::residual_len, 0.0);
        std::fill(read_ring[c], read_ring[c] + engine::ring_len, 0.0);
    }
    std::fill(period_ring, period_ring + engine::ring_len, 0.0);
    std::fill(held_period_ring, held_period_ring + engine::ring_len, 0.0);
    // The ratio ring holds ratios: a neutral 1.0, so the read-out moves with
    // the writer from the first sample instead of standing still.
    std::fill(ratio_ring, ratio_ring + engine::ring_len, 1.0);
    for (auto& filter : anti_alias) {
        filter.set_passthrough();
        filter.clear();
    }
    for (auto& filter : mix_filter) filter.clear();
    for (auto& filter : pre_filter) filter.clear();
    vib_noise_filter.clear();
    smoother->set_restart();
    std::fill(coarse_ring, coarse_ring + coarse_len, 0.0);
    std::fill(coarse_energy, coarse_energy + coarse_lags, 0.0);
    std::fill(coarse_corr, coarse_corr + coarse_lags, 0.0);
    std::fill(lag_energy, lag_energy + 2 * max_lag_half, 0.0);
    std::fill(lag_corr, lag_corr + 2 * max_lag_half, 0.0);
    coarse_count = coarse_index = 0;
    base_lag = 0;
    decide_count = 0;
    last_target = -1;
    target_index = 0;
    octave_fold = 1.0;
    frame_target_inv = 0.0;

    write_index = 0;
    delayed_index = ring_back(write_index, engine::delayed_distance, engine::ring_len);
    residual_index = 0;
    read_pos = double(write_index - engine::read_distance);
    old_read_pos = read_pos;
    splice_mix = 1.0;
    read_period = 0.0;
    read_ratio = 1.0;
    filter_ratio = 1.0;

    searching = true;
    search_reset = true;
    target_ready = false;
    period = 0.0;
    last_period = 0.0;
    applied_ratio = target_ratio = smooth_ratio = natural_ratio = slow_ratio = 1.0;
    clear_vibrato_state();
    frame_gain = 1.0;
    frame_mix = 1.0;

    started = false;
    frame_phase = 0.0;
    frame_min_period = 3000.0;
    frame_max_period = -1.0;
    frame_min_level = frame_max_level = 0.0;
    event_count = 0;
    midi_state = 0;
}

void CV_DSPObject::set_sample_rate(double rate)
{
    configure_rate(rate);
    const double engine_sr = engine_rate();
    for (auto& filter : anti_alias) filter.set_sampleRate(engine_sr);
    for (auto& filter : mix_filter) filter.set_sampleRate(engine_sr);
    period_scale = double(decimationFactor);
    // The fine window: wide enough for the coarse stage's error and a
    // vibrato's movement between decisions, narrow enough to keep the
    // highest voices (its half width is the shortest period that locks).
    lag_half = int32_t(std::lround(engine_sr / 2000.0));
    lag_half = std::clamp<int32_t>(lag_half, 4, max_lag_half);
    set_tracking(tracking_amount, input_type);
    configure_mix_filters();
    set_samples_per_frame(samples_per_frame);
    set_retune(retune_ms, humanize_ms);
    reset();
}

void CV_DSPObject::prepare_hook() {}

void CV_DSPObject::set_retune(double r, double h)
{
    retune_ms = r;
    humanize_ms = h;
    const double sr = engine_rate();
    // The time in which the smoother covers half its distance, at one update
    // every five samples.
    auto pole = [sr](double ms) { return ms == 0.0 ? 0.0 : std::pow(0.5, 1.0 / ((sr / 5.0) * (ms / 1000.0))); };
    retune_fast = r == 0.0 ? 0.0 : pole(r);
    retune_slow = pole(r + h);
    ramp_len = int64_t(sr * 0.4 / 5.0);
    ramp_step = ramp_len > 0 ? (retune_slow - retune_fast) / double(ramp_len) : 0.0;
    retune_coef = retune_fast;
    ramp_step_now = 0.0;
    ramp_left = 0;
}

void CV_DSPObject::set_transpose(int semitones)
{
    transpose_ratio = std::pow(2.0, double(semitones) / 12.0);
}

void CV_DSPObject::set_samples_per_frame(double host_samples)
{
    samples_per_frame = host_samples > 0.0 ? host_samples : engine::default_samples_per_frame;
    frame_len = samples_per_frame / double(decimationFactor);
    update_frame_rate_values();
}

void CV_DSPObject::set_position(int64_t host_position)
{
    const int64_t position = host_position / decimationFactor;
    input_pos = position;
    source_pos = position;
    frame_index = int64_t(double(position) / frame_len);
    frame_phase = double(position) - double(frame_index) * frame_len;
}

void CV_DSPObject::get_status(double* ratio, int64_t* frame, double* detected,
                              double* target) const
{
    if (idle) {
        if (ratio) *ratio = 1.0;
        if (frame) *frame = 0;
        if (detected) *detected = 0.0;
        if (target) *target = 1.0;
        return;
    }
    if (ratio) *ratio = applied_ratio;
    if (frame) *frame = int64_t(double(input_pos) / frame_len);
    if (detected) *detected = period_scale * period;
    if (target) *target = target_ratio;
}

void CV_DSPObject::clear_vibrato_state()
{
    vib_phase = 0.0;
    vib_frames = 0;
    vib_value = 0.0;
    vib_mix = 1.0;
    gain_step = 0.0;
    gain_now = 1.0;
}

void CV_DSPObject::process_block(const float* const* in, float* const* out, int64_t frames)
{
    const float* second_in = stereo_in ? in[1] : in[0];
    const bool two_channels = stereo_out;

    for (int64_t i = 0; i < frames; ++i) {
        // Fetch.
        const uint16_t reference = reference_channel;
        double primary;
        double secondary;
        if (two_channels && reference != 0) {
            primary = second_in[i];
            secondary = in[0][i];
        } else if (two_channels) {
            primary = in[0][i];
            secondary = second_in[i];
        } else {
            primary = in[0][i];
            secondary = 0.0;
        }

        // Start: the first audible sample starts the clocks and frames.
        if (!idle && !started && std::fabs(primary) > engine::start_threshold) started = true;

        // Denormal noise, never zero, drawn apart for each channel.
        primary += noise.denormal_noise();
        if (two_channels) secondary += noise.denormal_noise();

        // Live input is the one source sample.
        if (!idle && started) {
            ++source_pos;
            ++input_pos;
        }

        analyze_sample(primary, secondary, two_channels);
        output_sample(out, i, two_channels);
    }
}

void CV_DSPObject::analyze_sample(double primary, double secondary, bool two_channels)
{
    // 1. Frame logic.
    if (!idle && started) {
        frame_phase += 1.0;
        if (frame_phase < frame_len) {
            if (primary < frame_min_level) frame_min_level = primary;
        } else {
            frame_phase -= frame_len;
            close_frame(primary);
        }
        if (primary > frame_max_level) frame_max_level = primary;
    }

    // 2. Advance the rings; the read positions follow the wrap.
    write_index = ring_next(write_index, engine::ring_len);
    if (write_index == 0) {
        read_pos -= double(engine::ring_len);
        old_read_pos -= double(engine::ring_len);
    }
    delayed_index = ring_next(delayed_index, engine::ring_len);

    // 3. Store the input.
    input_ring[0][write_index] = primary;
    input_ring[1][write_index] = secondary;

    // 4. Detector feed.
    double filtered = pre_filter[1].process(pre_filter[0].process(primary));
    if (third_filter_on) filtered = pre_filter[2].process(filtered);
    if (searching) {
        if ((write_index & 7) == 0) {
            const int64_t lag = coarse_update(filtered);
            if (lag > 0) fine_start(lag);
        }
    } else {
        fine_update();
    }

    // 5. Control rings.
    period_ring[write_index] = period;
    held_period_ring[write_index] = last_period;
    ratio_ring[write_index] = applied_ratio * transpose_ratio;

    // 6.
    residual_index = ring_next(residual_index, engine::residual_len);

    // 7. Emphasis.
    pre_emphasize(input_ring[0], write_index, 0);
    if (two_channels) pre_emphasize(input_ring[1], write_index, 1);

    // 8. Formant analysis, on the primary only.
    analyze_formants(period_ring, write_index, 0);

    // 9, 10. Residual, and the read ring 1280 residual samples later.
    const int64_t old_residual =
        ring_back(residual_index, engine::residual_delay, engine::residual_len);
    const int channels = two_channels ? 2 : 1;
    for (int c = 0; c < channels; ++c) {
        residual_ring[c][residual_index] = inverse_filter(write_index, c);
        read_ring[c][write_index] = residual_ring[c][old_residual];
    }

    // 11. Read control values.
    const double p = period_ring[delayed_index];
    if (p != 0.0) {
        read_period = p;
        read_ratio = ratio_ring[delayed_index];
    } else if (period_ring[write_index] != 0.0) {
        read_period = period_ring[write_index];
        read_ratio = ratio_ring[write_index];
    } else {
        read_period = held_period_ring[delayed_index];
        read_ratio = ratio_ring[delayed_index];
        clear_vibrato_state();
    }

    // 12. Anti-alias filters; in bypass their output is not written back.
    for (int c = 0; c < channels; ++c) {
        const double filtered =
            anti_alias[2 * c + 1].process(anti_alias[2 * c].process(read_ring[c][write_index]));
        if (!bypass) read_ring[c][write_index] = filtered;
    }
}

void CV_DSPObject::close_frame(double primary)
{
    if (auto_mode) {
        ++frame_index;
        if (vibrato_on && period != 0.0) vibrato_step();
        smooth_frame();
    }
    frame_min_period = 3000.0;
    frame_max_period = -1.0;
    frame_min_level = frame_max_level = primary;
}

double CV_DSPObject::interpolate(const double* ring, double position)
{
    int64_t i = Round_ToInt(float(position));
    const double t = position - double(i);
    i %= engine::ring_len;
    if (i < 0) i += engine::ring_len;
    const double y0 = ring[i];
    const double ym = ring[i == 0 ? engine::ring_len - 1 : i - 1];
    const double yp = ring[ring_next(i, engine::ring_len)];
    return ((0.5 * (ym + yp) - y0) * t + 0.5 * (yp - ym)) * t + y0;
}

void CV_DSPObject::output_sample(float* const* out, int64_t i, bool two_channels)
{
    // Read-out.
    if (bypass) read_ratio = 1.0;
    read_pos += read_ratio;
    old_read_pos += read_ratio;
    const double writer = double(write_index);
    // The reader splices back once it passes its closest distance; resting
    // exactly there (a ratio of 1.0 from the start) it keeps the fixed delay.
    if (read_pos > writer - double(engine::read_distance)) {
        old_read_pos = read_pos;
        splice_mix = 0.0;
        read_pos -= read_period;
    } else if (read_pos <= writer - 1.2 * read_period - double(engine::read_distance)) {
        old_read_pos = read_pos;
        splice_mix = 0.0;
        read_pos += read_period;
    }

    const int channels = two_channels ? 2 : 1;
    double sample[2] = {0.0, 0.0};
    for (int c = 0; c < channels; ++c) sample[c] = interpolate(read_ring[c], read_pos);
    if (splice_mix < 1.0) {
        for (int c = 0; c < channels; ++c) {
            const double old_sample = interpolate(read_ring[c], old_read_pos);
            sample[c] = splice_mix * sample[c] + (1.0 - splice_mix) * old_sample;
        }
        splice_mix = std::min(1.0, splice_mix + engine::splice_step);
    }

    const int64_t synth_pos = int64_t(read_pos - double(engine::residual_delay));
    for (int c = 0; c < channels; ++c) {
        sample[c] = de_emphasize(c, synthesis_filter(synth_pos, c, sample[c]));
    }

    // Last stages.
    double y = sample[0];
    double z = sample[1];
    const bool voiced_at_output = period_ring[delayed_index] != 0.0;
    if (vibrato_on) {
        if (voiced_at_output && !bypass) {
            gain_now += gain_step;
            y *= gain_now;
            const double f = mix_filter[0].process(y);
            y = ((vib_mix + 1.0) * y + (1.0 - vib_mix) * f) * 0.5;
            if (two_channels) {
                z *= gain_now;
                const double fz = mix_filter[1].process(z);
                z = ((vib_mix + 1.0) * z + (1.0 - vib_mix) * fz) * 0.5;
            }
        } else {
            y = mix_filter[0].process(y);
            if (two_channels) z = mix_filter[1].process(z);
        }
    }
    if (correcting && !bypass) {
        frame_gain += gain_step;
        y *= frame_gain;
        const double f = mix_filter[0].process(y);
        y = ((frame_mix + 1.0) * y + (1.0 - frame_mix) * f) * 0.5;
        if (two_channels) {
            z *= frame_gain;
            const double fz = mix_filter[1].process(z);
            z = ((frame_mix + 1.0) * z + (1.0 - frame_mix) * fz) * 0.5;
        }
    }
    y = std::clamp(y, -engine::output_limit, engine::output_limit);
    z = std::clamp(z, -engine::output_limit, engine::output_limit);

    if (two_channels && reference_channel != 0) {
        out[0][i] = float(z);
        out[1][i] = float(y);
    } else if (two_channels) {
        out[0][i] = float(y);
        out[1][i] = float(z);
    } else {
        out[0][i] = float(y);
    }
}
