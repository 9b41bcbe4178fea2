#include "dsp/vibrato_generator.h"

#include <cmath>

#include "dsp/Noise_Generator.h"

vibrato_generator::vibrato_generator() noexcept
{
    set_shape(vibrato_shape::none);
}

void vibrato_generator::set_shape(vibrato_shape shape) noexcept
{
    for (int64_t i = 0; i < engine::vib_table_size; ++i) {
        const double x = double(i) / double(engine::vib_table_size);
        double v = 0.0;
        switch (shape) {
        case vibrato_shape::sine: v = std::sin(2.0 * M_PI * x); break;
        case vibrato_shape::square: v = x < 0.5 ? 1.0 : -1.0; break;
        case vibrato_shape::sawtooth: v = 2.0 * x - 1.0; break;
        case vibrato_shape::none: break;
        }
        vib_table[i] = float(v);
    }
    vib_table_len = engine::vib_table_size;
    vibrato_on = shape != vibrato_shape::none;
}

void vibrato_generator::set_pitch(double cents) noexcept
{
    vib_pitch = std::pow(2.0, cents / 1200.0) - 1.0;
}

void vibrato_generator::set_frame_rate(double frames_per_second) noexcept
{
    vib_delay = vib_delay_ms * 0.001 * frames_per_second;
    vib_onset = vib_onset_ms * 0.001 * frames_per_second;
    vib_noise_filter.set_sampleRate(frames_per_second);
    vib_noise_filter.init_BandPass(std::fmin(2.0, 0.4 * (0.5 * frames_per_second)), 10.0);
}

void vibrato_generator::clear() noexcept
{
    vib_phase = 0.0;
    vib_frames = 0;
    vib_value = 0.0;
    vib_mix = 1.0;
    gain_step = 0.0;
    gain_now = 1.0;
}

void vibrato_generator::reset() noexcept
{
    vib_noise_filter.clear();
    clear();
}

void vibrato_generator::frame_step(double noise, double frame_len) noexcept
{
    const double n = vib_noise_filter.process(noise);
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

float vibrato_generator::vibrato_factor(float& t, bool init, float& value, float& mix,
                                        float framesPerSecond, int shape, float rateHz,
                                        int onsetDelayMs, int onsetRateMs, int variation,
                                        int pitchCents)
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
    switch (vibrato_shape(shape)) {
    case vibrato_shape::sine: {
        const float a = float(i) * 6.2831855f / c;
        v = std::sin(a);
        q = std::cos(a);
        break;
    }
    case vibrato_shape::square:
        v = float(i) < c / 2.0f ? 1.0f : -1.0f;
        q = (float(i) < c / 4.0f || float(i) >= 3.0f * c / 4.0f) ? 1.0f : -1.0f;
        break;
    case vibrato_shape::sawtooth:
        v = (2.0f / c) * float(i) - 1.0f;
        q = (-2.0f / c) * float(i) + 1.0f;
        break;
    default: break;
    }
    value = envelope * v;
    mix = (q - 1.0f) * envelope + 1.0f;
    return float(std::pow(2.0, double(pitchCents) * double(envelope) * double(v) / 1200.0));
}
