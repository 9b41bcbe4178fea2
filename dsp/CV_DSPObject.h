#pragma once

#include <cstdint>

#include "Common_VST3/biQuad_Filter.h"
#include "dsp/Downsample_DSP.h"
#include "dsp/engine_constants.h"
#include "dsp/pitch_smoother.h"

// The per-sample loop of the engine, at the engine rate: input rings, the
// detector feed, the control rings, the residual and read rings, and the
// fractional read-out that changes pitch. The formant stages are left to a
// concrete engine through six virtual operations.
//
// Every ring is allocated in the constructor at its full size, so nothing on
// the audio thread allocates. Parameter setters are plain stores and may run
// on the interface thread while a block is in progress.
class CV_DSPObject : public Downsample_DSP {
public:
    explicit CV_DSPObject(int64_t block_limit = engine::max_block);
    ~CV_DSPObject() override;

    // Interface thread, never during process. Clears every ring and filter and
    // places the read-out at its fixed distance.
    void reset() override;
    // Interface thread, never during process. Host rate; derives the engine
    // rate and every rate-dependent value.
    void set_sample_rate(double rate) override;
    void prepare_hook() override;
    // Audio thread. One block at the engine rate.
    void process_block(const float* const* in, float* const* out, int64_t frames) override;

    // The formant stages, per sample, audio thread.
    virtual void pre_emphasize(const double* ring, int64_t index, int channel) = 0;
    virtual double de_emphasize(int channel, double x) = 0;
    virtual void analyze_formants(const double* period_ring, int64_t index, int channel) = 0;
    virtual double inverse_filter(int64_t index, int channel) = 0;
    virtual double synthesis_filter(int64_t position, int channel, double x) = 0;
    virtual void set_throat_ratio(double ratio) = 0;

    // Any thread. Present values for the displays: the correction ratio, the
    // frame of the output clock, the detected period in display units and the
    // target ratio. Any pointer may be null.
    void get_status(double* ratio, int64_t* frame, double* period, double* target) const;

    // Setters: plain stores, any thread.
    void set_bypass(bool on) { bypass = on; }
    void set_idle(bool on) { idle = on; }
    void set_reference_channel(uint16_t channel) { reference_channel = channel; }
    void set_auto_mode(bool on) { auto_mode = on; }
    // Correction settings from the parameters; plain stores unless told, any
    // thread. Times in milliseconds, pitches in cents, amounts in percent.
    // Retune speed and humanize: the poles of the retune smoother.
    void set_retune(double retune_ms, double humanize_ms);
    // 0 "(No Vibrato)", 1 sine, 2 square, 3 sawtooth. Interface thread: a
    // new shape rewrites the one-cycle table.
    void set_vibrato_shape(int shape);
    // Peak pitch deviation in cents, as a factor around 1.0.
    void set_vibrato_pitch(double cents);
    // Table steps per tracked frame (1000 steps make a cycle).
    void set_vibrato_rate(double step) { vib_step = step; }
    // Onset delay and fade-in time in milliseconds, kept in frames.
    void set_vibrato_delay(double ms);
    void set_vibrato_onset(double ms);
    // Peak gain deviation in percent.
    void set_vibrato_amplitude(double percent) { vib_amp = percent / 100.0; }
    // Gain in dB of the formant filter the vibrato blends in; interface
    // thread.
    void set_vibrato_formant(double dB);
    // Random variation of the rate in percent.
    void set_vibrato_variation(double percent) { vib_variation = percent * 0.2; }
    void set_ignore_vibrato(bool on) { ignore_vibrato = on; }
    // Scales the singer's own vibrato: 0 dB leaves it, -12 dB keeps a quarter
    // of its depth, +12 dB makes it four times as deep.
    void set_natural_vibrato(double dB);
    // Semitones; the ratio multiplies every stored ratio.
    void set_transpose(int semitones);
    void set_detune(int cents) { detune_cents = cents; }
    // The detector's settings: "Tracking" (0 to 100) and the index of "Input
    // type". Interface thread, never during process: sets the pre-filters.
    void set_tracking(double tracking, int input_type);

    // Interface thread. The note table of Auto mode, explicit form: `count`
    // notes (at most max_targets) in rising order of period, their periods
    // (0 for a note that is not corrected) and `count` + 1 bounds, in host
    // samples times 64, and how many octaves each note lies above the
    // detector's range. A count of 0 turns the correction off.
    void set_note_table(int64_t count, const int64_t* periods, const int64_t* bounds,
                        const int64_t* octaves);
    // Interface thread. The one-octave form: periods and bounds of one octave
    // in host samples times `scale`, rising; a period is folded into it.
    void set_octave_table(int64_t count, const int64_t* periods, const int64_t* bounds,
                          double scale);

    // The vibrato of Auto mode frame by frame, outside the audio path, for
    // frames at framesPerSecond. Settings as on the Auto page: shape 1 to 3,
    // rate in Hz, onset delay and rate in ms, variation in percent, pitch
    // depth in cents. `t` is the caller's frame clock (start at 0.0); `value`
    // and `mix` receive the shape value and the formant mix. Returns the
    // pitch factor. Interface thread only: it keeps static state.
    static float vibrato_factor(float& t, bool init, float& value, float& mix, float framesPerSecond,
                                int shape, float rateHz, int onsetDelayMs, int onsetRateMs,
                                int variation, int pitchCents);

    static constexpr int64_t max_targets = 78;
    static constexpr int64_t target_sentinel = 8388607;
    static constexpr int64_t vib_table_size = 1000;
    void set_time_warping(bool on) { time_map_on = on; }

    // Interface thread. Frame length in host samples (the effect's
    // samplesPerFrame, 200 when unset).
    void set_samples_per_frame(double host_samples);

    // Interface or audio thread, between blocks. Places the output and source
    // clocks at a host sample position and the frame counters with them.
    void set_position(int64_t host_position);

    // Read-only views for the effect, the displays and tests.
    bool is_idle() const { return idle; }
    bool is_bypassed() const { return bypass; }
    double get_transpose_ratio() const { return transpose_ratio; }
    double get_retune_fast() const { return retune_fast; }
    double get_retune_slow() const { return retune_slow; }
    int64_t get_ramp_len() const { return ramp_len; }
    double get_vibrato_rate() const { return vib_step; }
    bool is_vibrato_on() const { return vibrato_on; }
    uint16_t get_reference_channel() const { return reference_channel; }
    bool is_started() const { return started; }
    bool is_searching() const { return searching; }
    double get_period() const { return period; }
    double get_last_period() const { return last_period; }
    double get_smooth_ratio() const { return smooth_ratio; }
    double get_applied_ratio() const { return applied_ratio; }
    double get_target_ratio() const { return target_ratio; }
    double get_natural_ratio() const { return natural_ratio; }
    double get_slow_ratio() const { return slow_ratio; }
    double get_retune_coef() const { return retune_coef; }
    double get_filter_ratio() const { return filter_ratio; }
    int64_t get_last_target() const { return last_target; }
    int64_t get_target_count() const { return target_count; }
    int32_t get_lag_half() const { return lag_half; }
    double get_vibrato_value() const { return vib_value; }
    int64_t get_input_pos() const { return input_pos; }
    int64_t get_source_pos() const { return source_pos; }
    int64_t get_frame_index() const { return frame_index; }
    double get_frame_len() const { return frame_len; }
    int64_t get_write_index() const { return write_index; }
    double get_read_pos() const { return read_pos; }

protected:
    // Advances an index of a ring of the given length by one, wrapping.
    static int64_t ring_next(int64_t index, int64_t length)
    {
        return index + 1 == length ? 0 : index + 1;
    }
    // The index `back` entries before `index` in a ring of the given length,
    // for 0 <= back < length.
    static int64_t ring_back(int64_t index, int64_t back, int64_t length)
    {
        const int64_t i = index - back;
        return i < 0 ? i + length : i;
    }

    // One source sample through the analysis steps.
    void analyze_sample(double primary, double secondary, bool two_channels);
    // Closes the present frame, leaving the levels at the primary sample.
    void close_frame(double primary);
    // The read-out and the last stages; writes one output sample.
    void output_sample(float* const* out, int64_t i, bool two_channels);
    // Three-point parabolic interpolation of a ring around a position.
    static double interpolate(const double* ring, double position);

    // The detector. One filtered sample every eighth sample while searching:
    // a start lag for the fine stage, or 0.
    int64_t coarse_update(double x);
    // Arms the fine stage at a start lag.
    void fine_start(int64_t lag);
    // One sample of the fine stage, and every fifth a decision.
    void fine_update();
    void decide();
    // Sum over L products x[n - i] * x[n - i - L] of the input ring.
    double direct_corr(int64_t lag) const;
    // The input ring `back` samples before the newest.
    double input_back(int64_t back) const
    {
        return input_ring[0][ring_back(write_index, back, engine::ring_len)];
    }
    // Everything back to unvoiced at once, no glide.
    void lose_lock();

    // The correction of a decision with a period.
    void correct();
    void search_explicit();
    void search_folded();
    void note_change(int64_t index);
    void check_anti_alias();
    // Once a frame in Auto mode.
    void vibrato_step();
    void smooth_frame();
    // Frame-rate values derived from the settings.
    void update_frame_rate_values();
    void configure_mix_filters();

    // Mode flags.
    bool searching = true;
    bool search_reset = true;
    bool target_ready = false;
    bool bypass = false;
    bool auto_mode = true;
    bool tracking = false;
    bool correcting = false;
    bool recording = false;
    bool vibrato_on = false;
    bool idle = true;
    bool started = false;

    // Rings.
    double* input_ring[max_channels];
    double* period_ring;
    double* held_period_ring;
    double* ratio_ring;
    double* residual_ring[max_channels];
    double* read_ring[max_channels];

    int64_t write_index = 0;
    int64_t delayed_index = 0;
    int64_t residual_index = 0;
    // Written by the interface thread, read once per sample by the loop.
    uint16_t reference_channel = 0;

    // Detector: the coarse stage on every eighth filtered sample.
    static constexpr int coarse_len = 500;
    static constexpr int coarse_lags = 250;
    biQuad_Filter pre_filter[3];
    bool third_filter_on = false;
    double coarse_ring[coarse_len];
    double coarse_energy[coarse_lags];
    double coarse_corr[coarse_lags];
    int64_t coarse_count = 0;
    int64_t coarse_index = 0;
    double rise_threshold = 0.0;
    double dip_threshold = 0.2;
    // The fine stage: a window of 2 * lag_half lags around the period.
    static constexpr int max_lag_half = 30;
    int64_t base_lag = 0;
    int32_t lag_half = max_lag_half;
    double lag_energy[2 * max_lag_half];
    double lag_corr[2 * max_lag_half];
    int64_t decide_count = 0;
    // Detector results.
    double period = 0.0;
    double last_period = 0.0;

    // Note tables of Auto mode.
    int64_t target_count = 0;
    bool explicit_targets = true;
    int64_t target_period[max_targets];
    int64_t target_bound[max_targets + 1];
    int64_t target_octaves[max_targets];
    int64_t target_index = 0;
    int64_t last_target = -1;
    double octave_fold = 1.0;
    // Turns engine samples into the table's unit in the one-octave form.
    double octave_table_scale = 1.0;
    pitch_smoother* smoother;
    double frame_target_inv = 0.0;
    double throat_base = 1.0;
    // Display scale of the period: the engine's periods in host samples.
    double period_scale = 1.0;

    // Ratios: above 1.0 the read-out runs faster than the write.
    double applied_ratio = 1.0;
    double transpose_ratio = 1.0;
    double target_ratio = 1.0;
    double smooth_ratio = 1.0;
    double natural_ratio = 1.0;
    double slow_ratio = 1.0;

    // Read-out, in ring positions; pulled back by ring_len at each wrap.
    double read_pos = 0.0;
    double old_read_pos = 0.0;
    double splice_mix = 1.0;
    double read_period = 0.0;
    double read_ratio = 1.0;
    double filter_ratio = 1.0;
    biQuad_Filter anti_alias[4];
    biQuad_Filter mix_filter[2];

    // Retune smoother.
    double retune_ms = 0.0;
    double humanize_ms = 0.0;
    double retune_coef = 0.0;
    double retune_fast = 0.0;
    double retune_slow = 0.0;
    int64_t ramp_len = 0;
    int64_t ramp_left = 0;
    double ramp_step = 0.0;
    double ramp_step_now = 0.0;

    // Settings of the vibrato, the natural vibrato and the detector.
    int vibrato_shape = 0;
    float* vib_table;
    int64_t vib_table_len = vib_table_size;
    biQuad_Filter vib_noise_filter;
    double vib_delay_ms = 0.0;
    double vib_onset_ms = 0.0;
    double vib_step = 0.0;
    double vib_pitch = 0.0;
    double vib_delay = 0.0;
    double vib_onset = 0.0;
    double vib_amp = 0.0;
    double vib_formant = 0.0;
    double vib_variation = 0.0;
    bool ignore_vibrato = false;
    double natural_amount = 0.0;
    int detune_cents = 0;
    double tracking_amount = 50.0;
    int input_type = 0;
    bool time_map_on = false;

    // Vibrato state cleared where the voice ends.
    double vib_phase = 0.0;
    int64_t vib_frames = 0;
    double vib_value = 0.0;
    double vib_mix = 1.0;
    double gain_step = 0.0;
    double gain_now = 1.0;

    // Frame playback values while correcting.
    double frame_gain = 1.0;
    double frame_mix = 1.0;

    // Frames and clocks.
    double frame_len = engine::default_samples_per_frame;
    double samples_per_frame = engine::default_samples_per_frame;
    int64_t frame_index = 0;
    double frame_phase = 0.0;
    double frame_min_period = 3000.0;
    double frame_max_period = -1.0;
    double frame_min_level = 0.0;
    double frame_max_level = 0.0;
    int64_t input_pos = 0;
    int64_t source_pos = 0;

    // Events queued by the effect for the coming blocks.
    struct Event {
        uint16_t tag;
        int64_t time;
    };
    int16_t event_count = 0;
    Event events[engine::max_events];
    uint16_t midi_state = 0;

private:
    void clear_vibrato_state();
};
