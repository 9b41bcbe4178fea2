// Pitch correction of the engine: from a detected period to the ratio of the
// read-out, through the note tables of Auto mode, the retune smoother, the
// vibrato and the natural-vibrato factor.

#include <cmath>

#include "Common_VST3/utilities.h"
#include "dsp/CV_DSPObject.h"

void CV_DSPObject::correct()
{
    if (correcting) {
        if (frame_target_inv != 0.0) target_ratio = frame_target_inv * period;
    } else if (auto_mode && target_count != 0) {
        if (explicit_targets)
            search_explicit();
        else
            search_folded();
    }

    smooth_ratio = (1.0 - retune_coef) * target_ratio + retune_coef * smooth_ratio;
    applied_ratio = smooth_ratio;
    if (auto_mode) {
        if (vibrato_on) applied_ratio = (vib_pitch * vib_value + 1.0) * smooth_ratio;
        applied_ratio *= natural_ratio;
    }
    check_anti_alias();
}

void CV_DSPObject::note_change(int64_t index)
{
    if (index == last_target) {
        if (ramp_left != 0) {
            --ramp_left;
            retune_coef += ramp_step_now;
        }
    } else {
        // A new note is caught at the retune speed; the pole then relaxes
        // toward the slower one of "Humanize".
        retune_coef = retune_fast;
        last_target = index;
        ramp_left = ramp_len;
        ramp_step_now = ramp_step;
    }
}

void CV_DSPObject::search_explicit()
{
    if (!target_ready) {
        target_ready = true;
        target_index = target_count / 2;
        last_target = -1;
        clear_vibrato_state();
    }
    const int64_t v = int64_t(period * period_scale * slow_ratio * 64.0);
    while (v > target_bound[target_index + 1]) ++target_index; // the sentinel stops it
    while (target_index > 0 && v < target_bound[target_index]) --target_index;
    const int64_t t = target_period[target_index];
    if (t == 0) {
        target_ratio = 1.0;
    } else {
        double p = period;
        for (int64_t o = 0; o < target_octaves[target_index]; ++o) p *= 2.0;
        target_ratio = double(int64_t(p * period_scale * 64.0)) / double(t);
    }
    note_change(target_index);
}

void CV_DSPObject::search_folded()
{
    if (!target_ready) {
        target_ready = true;
        target_index = 0;
        last_target = -1;
        octave_fold = 1.0;
        clear_vibrato_state();
        int64_t v = int64_t(octave_table_scale * period * slow_ratio);
        while (v > 0 && v < target_bound[1]) {
            v *= 2;
            octave_fold *= 2.0;
        }
    }
    int64_t v = int64_t(octave_table_scale * period * slow_ratio * octave_fold);
    if (v <= 0) {
        target_ratio = 1.0;
        return;
    }
    while (v > target_bound[target_index + 1]) {
        if (++target_index == target_count) {
            target_index = 0;
            octave_fold *= 0.5;
            v >>= 1;
        }
    }
    while (v < target_bound[target_index]) {
        if (--target_index < 0) {
            target_index = target_count - 1;
            octave_fold *= 2.0;
            v *= 2;
        }
    }
    const int64_t t = target_period[target_index];
    if (t == 0) {
        target_ratio = 1.0;
    } else {
        // The note was picked on the smoothed period; the ratio corrects the
        // real one.
        target_ratio = double(v) / (double(t) * slow_ratio);
    }
    note_change(target_index);
}

void CV_DSPObject::check_anti_alias()
{
    const double v = smooth_ratio * transpose_ratio;
    if (!(v < 0.9 * filter_ratio || v > 1.1 * filter_ratio)) return;
    filter_ratio = v;
    if (v > 1.0) {
        // Reading faster moves the spectrum up: keep what stays below the
        // half rate.
        const double corner = engine_rate() * 0.49 / v;
        for (auto& filter : anti_alias) filter.init_LowPass_twoPole(corner, 0.707);
    } else {
        for (auto& filter : anti_alias) filter.set_passthrough();
    }
}

void CV_DSPObject::set_note_table(int64_t count, const int64_t* periods, const int64_t* bounds,
                                  const int64_t* octaves)
{
    if (count < 0) count = 0;
    if (count > max_targets) count = max_targets;
    const int64_t frame_before = frame_index;
    const bool was_auto = auto_mode;
    auto_mode = false; // the block loop does not search a half-written table
    explicit_targets = true;
    target_count = count;
    for (int64_t i = 0; i < count; ++i) {
        target_period[i] = periods[i];
        target_bound[i] = bounds[i];
        target_octaves[i] = octaves[i];
    }
    target_bound[count] = target_sentinel;
    target_ready = false;
    if (was_auto) {
        auto_mode = true;
        if (frame_index != frame_before) lose_lock(); // audio ran during the copy
    }
}

void CV_DSPObject::set_octave_table(int64_t count, const int64_t* periods, const int64_t* bounds,
                                    double scale)
{
    if (count < 0) count = 0;
    if (count > max_targets) count = max_targets;
    const int64_t frame_before = frame_index;
    const bool was_auto = auto_mode;
    auto_mode = false;
    explicit_targets = false;
    target_count = count;
    octave_table_scale = scale * period_scale;
    for (int64_t i = 0; i < count; ++i) {
        target_period[i] = periods[i];
        target_bound[i] = bounds[i];
        target_octaves[i] = 0;
    }
    target_bound[count] = count > 0 ? bounds[count] : target_sentinel;
    target_ready = false;
    if (was_auto) {
        auto_mode = true;
        if (frame_index != frame_before) lose_lock();
    }
}

void CV_DSPObject::smooth_frame()
{
    if (frame_max_period == -1.0) {
        // No period in this frame.
        smoother->set_restart();
        slow_ratio = 1.0;
        natural_ratio = 1.0;
        return;
    }
    const double m = 0.5 * (frame_min_period + frame_max_period);
    const double s = smoother->process(float(m));
    if (s <= 0.0) return;
    if (ignore_vibrato) slow_ratio = s / m;
    natural_ratio = (1.0 - m / s) * natural_amount + 1.0;
}

void CV_DSPObject::vibrato_step()
{
    const double n = vib_noise_filter.process(double(noise.next()) / 2147483647.0 - 0.5);
    const double rate_factor = std::fmax(0.1, n * vib_variation + 1.0);
    vib_phase += rate_factor * vib_step;
    if (vib_phase >= double(vib_table_len)) vib_phase -= double(vib_table_len);
    if (vib_phase < 0.0 || vib_phase >= double(vib_table_len)) vib_phase = 0.0;

    const double t = double(vib_frames);
    double envelope;
    if (vib_delay >= t) {
        vib_phase = 0.0;
        envelope = 0.0;
    } else if (vib_delay + vib_onset > t) {
        envelope = (t - vib_delay) / vib_onset;
    } else {
        envelope = 1.0;
    }
    vib_value = double(vib_table[int64_t(vib_phase)]) * envelope;
    int64_t j = int64_t(double(vib_table_len) / 4.0 + vib_phase);
    if (j >= vib_table_len) j -= vib_table_len;
    vib_mix = (double(vib_table[j]) - 1.0) * envelope + 1.0;
    gain_step = (vib_value * vib_amp + 1.0 - gain_now) / frame_len;
    ++vib_frames;
}

void CV_DSPObject::set_vibrato_shape(int shape)
{
    vibrato_shape = shape;
    for (int64_t i = 0; i < vib_table_size; ++i) {
        const double x = double(i) / double(vib_table_size);
        double v = 0.0;
        switch (shape) {
        case 1: v = std::sin(2.0 * M_PI * x); break;
        case 2: v = x < 0.5 ? 1.0 : -1.0; break;
        case 3: v = 2.0 * x - 1.0; break;
        default: v = 0.0; break;
        }
        vib_table[i] = float(v);
    }
    vib_table_len = vib_table_size;
    vibrato_on = shape >= 1 && shape <= 3;
}

void CV_DSPObject::set_vibrato_pitch(double cents)
{
    vib_pitch = std::pow(2.0, cents / 1200.0) - 1.0;
}

void CV_DSPObject::set_vibrato_delay(double ms)
{
    vib_delay_ms = ms;
    update_frame_rate_values();
}

void CV_DSPObject::set_vibrato_onset(double ms)
{
    vib_onset_ms = ms;
    update_frame_rate_values();
}

void CV_DSPObject::set_natural_vibrato(double dB)
{
    natural_amount = DB_ToAmp(dB) - 1.0;
}

void CV_DSPObject::set_vibrato_formant(double dB)
{
    vib_formant = dB;
    configure_mix_filters();
}

void CV_DSPObject::configure_mix_filters()
{
    const double sr = engine_rate();
    if (sr <= 0.0) return;
    // A bell around the second formant region: the vowel brightens and
    // darkens with the vibrato.
    const double freq = std::fmin(1800.0, 0.4 * sr);
    for (auto& filter : mix_filter) {
        filter.set_sampleRate(sr);
        if (vib_formant == 0.0)
            filter.set_passthrough();
        else
            filter.init_Peaking_EQ(freq, 0.8, vib_formant);
    }
}

void CV_DSPObject::update_frame_rate_values()
{
    const double sr = engine_rate();
    if (sr <= 0.0 || frame_len <= 0.0) return;
    const double frames_per_second = sr / frame_len;
    vib_delay = vib_delay_ms * 0.001 * frames_per_second;
    vib_onset = vib_onset_ms * 0.001 * frames_per_second;

    // The slow filter sees one period a frame. Its slow side lies below any
    // vibrato; its fast side follows note changes within a few frames.
    const double nyquist = 0.5 * frames_per_second;
    smoother->slow_filter.set_sampleRate(frames_per_second);
    smoother->fast_filter.set_sampleRate(frames_per_second);
    smoother->slow_filter.init_LowPass_twoPole(std::fmin(1.5, 0.4 * nyquist), 0.7071);
    smoother->fast_filter.init_LowPass_twoPole(std::fmin(25.0, 0.8 * nyquist), 0.7071);
    // The jump share decays by half in 150 ms.
    smoother->decay = float(std::pow(0.5, 1.0 / (0.15 * frames_per_second)));
    smoother->jump_limit = 0.03f; // about half a semitone within a frame
    smoother->set_restart();

    vib_noise_filter.set_sampleRate(frames_per_second);
    vib_noise_filter.init_BandPass(std::fmin(2.0, 0.4 * nyquist), 10.0);
}

float CV_DSPObject::vibrato_factor(float& t, bool init, float& value, float& mix, float framesPerSecond,
                                   int shape, float rateHz, int onsetDelayMs, int onsetRateMs,
                                   int variation, int pitchCents)
{
    static biQuad_Filter filter;
    static float delay = 0.0f;
    static float onset = 1.0f;
    static int64_t cycle = 1;
    static Noise_Generator random(1);

    if (init) {
        delay = float(onsetDelayMs) * 0.001f * framesPerSecond;
        onset = float(onsetRateMs) * 0.001f * framesPerSecond;
        cycle = rateHz > 0.0f ? int64_t(framesPerSecond / rateHz) : 1;
        if (cycle < 1) cycle = 1;
        filter.set_sampleRate(framesPerSecond);
        filter.init_BandPass(2.0, 10.0);
        filter.clear();
    }
    if (t == 0.0f) filter.clear();
    if (delay >= t) {
        t += 1.0f;
        value = 0.0f;
        mix = 1.0f;
        return 1.0f;
    }
    const float envelope = delay + onset > t && onset > 0.0f ? (t - delay) / onset : 1.0f;
    const double n = filter.process(double(random.next()) * 4.656612873077393e-10 - 0.5);
    const float step = std::fmax(0.1f, float(variation * n * 0.2 + 1.0));
    const int64_t i = int64_t(t - delay + 0.5f) % cycle;
    t += step;

    float v = 0.0f, q = 0.0f;
    const float c = float(cycle);
    switch (shape) {
    case 1: {
        const float a = float(i) * 6.2831855f / c;
        v = std::sin(a);
        q = std::cos(a);
        break;
    }
    case 2:
        v = float(i) < c / 2.0f ? 1.0f : -1.0f;
        q = (float(i) < c / 4.0f || float(i) >= 3.0f * c / 4.0f) ? 1.0f : -1.0f;
        break;
    case 3:
        v = (2.0f / c) * float(i) - 1.0f;
        q = (-2.0f / c) * float(i) + 1.0f;
        break;
    default: break;
    }
    value = envelope * v;
    mix = (q - 1.0f) * envelope + 1.0f;
    return float(std::pow(2.0, double(pitchCents) * double(envelope) * double(v) / 1200.0));
}
