#pragma once

#include <cstdint>

#include "Common_VST3/biQuad_Filter.h"
#include "dsp/Downsample_DSP.h"
#include "dsp/engine_constants.h"

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
    // 0 "(No Vibrato)", 1 sine, 2 square, 3 sawtooth.
    void set_vibrato_shape(int shape);
    void set_vibrato_pitch(double cents) { vib_pitch = cents; }
    // Thousandths of a vibrato cycle per tracked frame.
    void set_vibrato_rate(double step) { vib_step = step; }
    void set_vibrato_delay(double ms) { vib_delay = ms; }
    void set_vibrato_onset(double ms) { vib_onset = ms; }
    void set_vibrato_amplitude(double percent) { vib_amp = percent; }
    void set_vibrato_formant(double dB) { vib_formant = dB; }
    void set_vibrato_variation(double percent) { vib_variation = percent; }
    void set_ignore_vibrato(bool on) { ignore_vibrato = on; }
    void set_natural_vibrato(double amount) { natural_amount = amount; }
    // Semitones; the ratio multiplies every stored ratio.
    void set_transpose(int semitones);
    void set_detune(int cents) { detune_cents = cents; }
    // The detector's settings: "Tracking" and the index of "Input type".
    void set_tracking(double tracking, int input_type);
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

    // Detector results. No detector runs yet, so the pitch stays unvoiced.
    double period = 0.0;
    double last_period = 0.0;
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
