#pragma once

#include <cstdint>

#include "Common_VST3/biQuad_Filter.h"
#include "dsp/engine_constants.h"

// Shapes of the added vibrato, in the order of the list of the parameter
// "Vibrato Shape".
enum class vibrato_shape : int32_t { none, sine, square, sawtooth };

// The vibrato that Auto mode adds: a one-cycle table of the shape, read
// once a frame at a rate that a band-limited noise varies, faded in after an
// onset delay. It gives a pitch factor for the correction ratio, a gain that
// ramps sample by sample within the frame, and the share of the formant
// filter mixed into the output, a quarter cycle ahead of the pitch.
//
// An object belongs to its engine's owner thread; nothing here allocates.
class vibrato_generator {
public:
    vibrato_generator() noexcept;

    // A new shape rewrites the table.
    void set_shape(vibrato_shape shape) noexcept;
    // Peak pitch deviation in cents.
    void set_pitch(double cents) noexcept;
    // Table steps per frame (engine::vib_table_size steps make a cycle).
    void set_rate(double step) noexcept { vib_step = step; }
    // Onset delay and fade-in time in milliseconds; they take effect with
    // the next set_frame_rate.
    void set_delay(double ms) noexcept { vib_delay_ms = ms; }
    void set_onset(double ms) noexcept { vib_onset_ms = ms; }
    // Peak gain deviation in percent.
    void set_amplitude(double percent) noexcept { vib_amp = percent / 100.0; }
    // Random variation of the rate in percent.
    void set_variation(double percent) noexcept { vib_variation = percent * 0.2; }
    // Frames per second: the onset in frames and the rate noise's filter.
    void set_frame_rate(double frames_per_second) noexcept;

    // Back to the start of a note: no phase, no deviation, unit gain.
    void clear() noexcept;
    // clear, and the rate noise's filter too.
    void reset() noexcept;

    // Audio thread, once a frame of `frame_len` engine samples while voiced.
    // `noise` is a uniform draw in -0.5 to 0.5.
    void frame_step(double noise, double frame_len) noexcept;
    // Audio thread, per sample while voiced at the output: the gain, one
    // step further along its ramp.
    double next_gain() noexcept
    {
        gain_now += gain_step;
        return gain_now;
    }

    bool is_vibrato_on() const noexcept { return vibrato_on; }
    double get_vibrato_rate() const noexcept { return vib_step; }
    // The factor of the correction ratio.
    double pitch_factor() const noexcept { return vib_pitch * vib_value + 1.0; }
    // Share of the dry signal in the formant mix: 1.0 dry, -1.0 all filter.
    double mix() const noexcept { return vib_mix; }

    // The same vibrato frame by frame, outside the audio path, for frames at
    // framesPerSecond. Settings as on the Auto page: the shape (1 to 3 of
    // vibrato_shape), rate in Hz, onset delay and rate in ms, variation in
    // percent, pitch depth in cents. `t` is the caller's frame clock (start
    // at 0.0); `value` and `mix` receive the shape value and the formant
    // mix. Returns the pitch factor. Interface thread only: it keeps static
    // state.
    static float vibrato_factor(float& t, bool init, float& value, float& mix, float framesPerSecond,
                                int shape, float rateHz, int onsetDelayMs, int onsetRateMs,
                                int variation, int pitchCents);

private:
    float vib_table[engine::vib_table_size];
    int64_t vib_table_len = engine::vib_table_size;
    bool vibrato_on = false;
    biQuad_Filter vib_noise_filter;
    double vib_delay_ms = 0.0;
    double vib_onset_ms = 0.0;
    double vib_step = 0.0;
    double vib_pitch = 0.0;
    double vib_delay = 0.0;
    double vib_onset = 0.0;
    double vib_amp = 0.0;
    double vib_variation = 0.0;

    double vib_phase = 0.0;
    int64_t vib_frames = 0;
    double vib_value = 0.0;
    double vib_mix = 1.0;
    double gain_step = 0.0;
    double gain_now = 1.0;
};
