#pragma once

#include <semaphore.h>

#include <atomic>
#include <cmath>
#include <cstdint>
#include <memory>

#include "Common_VST3/Snapshot_Exchange.h"
#include "Common_VST3/biQuad_Filter.h"
#include "dsp/Downsample_DSP.h"
#include "dsp/engine_constants.h"
#include "dsp/formant_stage.h"
#include "dsp/frame_player.h"
#include "dsp/frame_tracker.h"
#include "dsp/natural_vibrato.h"
#include "dsp/note_targets.h"
#include "dsp/pitch_detector.h"
#include "dsp/pitch_shifter.h"
#include "dsp/retune_smoother.h"
#include "dsp/vibrato_generator.h"
#include "graph/model/TimeMap.h"

// The per-sample loop of the engine, at the engine rate, over its stages:
// the pitch detector, the note targets of Auto mode, the retune smoother,
// the added and the natural vibrato, the pitch shifter's rings and
// read-out, and the formant stage around them; then the vibrato's gain and
// formant mix, and the output clamp. The concrete engine is DT_DSPObject.
//
// Graph mode: while tracking, frame_tracker writes a tracked frame per hop;
// otherwise frame_player reads one per hop, and the correction of each
// decision aims at that frame's wanted period (none where it is 0.0), with
// the frame's gain, formant mix and throat offset.
//
// Time control: with "Enable Time Warping" on in Graph mode, not tracking,
// the source of the loop is the audio store read through the time map
// instead of the live input. Two clocks run: input_pos, the output clock
// (engine samples of the host's timeline), and source_pos, the store
// position of the next source sample. At each output sample 0 to 10 source
// samples enter, as many as the map lets the source clock pass (see
// output_for). Each runs through every analysis step, so the rings, the
// detector and the frames live in source time; the read-out's splices make
// up the difference. A read that is not in yet (or a store that cannot be
// read) enters one silent sample; a position where nothing was recorded
// enters the live input. The frames then stay on the source clock.
//
// Threads. process and process_block run on the audio thread. The settings
// (every set_ operation and Note_Table::apply) belong to one owner thread at
// a time: the audio thread between blocks while processing, the interface
// thread while inactive; reset and set_sample_rate come from the interface
// thread while inactive. get_status alone may run on any thread at any
// time: it reads the four words the owner last published.
//
// Every ring is allocated by the constructor at its full size; nothing the
// audio thread calls allocates, locks or throws.
class CV_DSPObject : public Downsample_DSP {
public:
    static constexpr int64_t max_targets = engine::max_targets;
    static constexpr int64_t target_sentinel = engine::target_sentinel;

    ~CV_DSPObject() override = default;

    // Interface thread, while inactive. Clears every ring and filter and
    // places the read-out at its fixed distance.
    void reset() noexcept override;
    // Interface thread, while inactive. Host rate; derives the engine rate
    // and every rate-dependent value.
    void set_sample_rate(double rate) noexcept override;
    void prepare_hook() noexcept override;
    // Audio thread. One block at the engine rate.
    void process_block(const float* const* in, float* const* out, int64_t frames) noexcept override;

    // Any thread. Values for the displays as the last block (or setting) left
    // them: the correction ratio, the frame of the output clock, the
    // detected period in host samples and the target ratio; 1.0, 0, 0.0,
    // 1.0 while idle. Any pointer may be null.
    void get_status(double* ratio, int64_t* frame, double* period, double* target) const noexcept;

    // Owner thread: the audio thread between blocks while processing, the
    // interface thread while inactive. Every setter below is one.
    void set_bypass(bool on) noexcept { bypass = on; }
    void set_idle(bool on) noexcept;
    void set_reference_channel(uint16_t channel) noexcept { reference_channel = channel; }
    void set_auto_mode(bool on) noexcept { auto_mode = on; }
    // Correction settings from the parameters. Times in milliseconds,
    // pitches in cents, amounts in percent.
    // Retune speed and humanize: the poles of the retune smoother.
    void set_retune(double retune_ms, double humanize_ms) noexcept;
    // An index of vibrato_shape; any other value is no vibrato.
    void set_vibrato_shape(int shape) noexcept;
    void set_vibrato_pitch(double cents) noexcept { vibrato.set_pitch(cents); }
    // Table steps per tracked frame (1000 steps make a cycle).
    void set_vibrato_rate(double step) noexcept { vibrato.set_rate(step); }
    // Onset delay and fade-in time.
    void set_vibrato_delay(double ms) noexcept;
    void set_vibrato_onset(double ms) noexcept;
    void set_vibrato_amplitude(double percent) noexcept { vibrato.set_amplitude(percent); }
    // Gain in dB of the formant filter the vibrato blends in.
    void set_vibrato_formant(double dB) noexcept;
    void set_vibrato_variation(double percent) noexcept { vibrato.set_variation(percent); }
    void set_ignore_vibrato(bool on) noexcept { natural.set_ignore(on); }
    // Scales the singer's own vibrato, in dB.
    void set_natural_vibrato(double dB) noexcept { natural.set_amount(dB); }
    // Semitones; the ratio multiplies every stored ratio.
    void set_transpose(int semitones) noexcept;
    // Detune reaches the engine through the note table; the engine keeps
    // nothing of it.
    void set_detune(int cents) noexcept { (void)cents; }
    // "Tracking" (0 to 100) and an index of input_type.
    void set_tracking(double tracking, int type) noexcept;
    // The note table of Auto mode, explicit form: see note_targets; periods
    // and bounds in host samples times 64. A count of 0 turns the correction
    // off.
    void set_note_table(int64_t count, const int64_t* periods, const int64_t* bounds,
                        const int64_t* octaves) noexcept;
    // The one-octave form: periods and bounds of one octave in host samples
    // times `scale`, rising; a period is folded into it.
    void set_octave_table(int64_t count, const int64_t* periods, const int64_t* bounds,
                          double scale) noexcept;
    // Owner thread. "Enable Time Warping": in Graph mode, not tracking, the
    // source is the store read through the time map. A change places the
    // source clock anew at the next block.
    void set_time_warping(bool on) noexcept;
    bool is_time_warping() const noexcept { return time_map_on; }
    // Interface thread. The time map playback follows from the next block
    // on (positions in engine samples); the source clock is placed anew by
    // it. The engine keeps the map until a newer one comes.
    void publish_time_map(std::unique_ptr<const TimeMap> map) { time_maps.publish(std::move(map)); }
    // Any thread. While held, the time-warped reading stops and the live
    // input plays; at the first block after the release the source clock is
    // placed anew by the map in force.
    void set_edit_hold(bool on) noexcept { edit_hold.store(on, std::memory_order_release); }
    // Interface thread, while inactive. A semaphore the code that edits the
    // map and the store may hold; the loop takes it by try-wait only around
    // its reads, and a failed try does not stop it. Null: no locking.
    void set_store_lock(sem_t* lock) noexcept { store_lock = lock; }
    // Any thread. Output samples played silent because the disk fell behind
    // the read-ahead (a block not in yet once the audio flowed since the
    // source was last placed), counted since the engine was made, and the
    // frame of the output clock at the last of them (-1 before any).
    int64_t get_overrun_count() const noexcept { return overrun_count.load(std::memory_order_relaxed); }
    int64_t get_overrun_frame() const noexcept { return overrun_frame.load(std::memory_order_relaxed); }
    // Owner thread. The clocks, in engine samples.
    int64_t get_input_pos() const noexcept { return input_pos; }
    int64_t get_source_pos() const noexcept { return source_pos; }
    // Frame length in host samples (the effect's samplesPerFrame, 200 when
    // unset).
    void set_samples_per_frame(double host_samples) noexcept;
    // Places the output clock at a host sample position, and the frame phase
    // with it.
    void set_position(int64_t host_position) noexcept;

    // Interface thread, while inactive. The tracked frames and the audio
    // store the tracking path writes; either may be null.
    void attach_tracked_data(TrackedFrameArray* frames, AudioDataStore* audio_store) noexcept
    {
        tracker.attach(frames, audio_store);
        player.attach(frames);
        store = audio_store;
    }
    // Owner thread. Graph mode's tracking into the frames, and recording of
    // the source audio into the store.
    void set_tracking_frames(bool on) noexcept { tracker.set_tracking(on); }
    void set_recording(bool on) noexcept { tracker.set_recording(on); }
    void set_tracked_data_suspended(bool on) noexcept { tracker.set_suspended(on); }
    bool is_tracking_frames() const noexcept { return tracker.is_tracking(); }
    bool is_recording() const noexcept { return tracker.is_recording(); }
    // Owner thread. A MIDI tag (note number, or frame_tracker::note_off_tag)
    // at engine sample `time` of the next block; false when the queue is full.
    bool queue_midi(uint16_t tag, int64_t time) noexcept { return tracker.queue_event(tag, time); }
    // Engine samples per frame, not necessarily whole.
    double get_frame_len() const noexcept { return frame_len; }

    // Owner thread. The settings as last set.
    bool is_bypassed() const noexcept { return bypass; }
    double get_transpose_ratio() const noexcept { return transpose_ratio; }
    double get_retune_fast() const noexcept { return retune.get_retune_fast(); }
    double get_retune_slow() const noexcept { return retune.get_retune_slow(); }
    int64_t get_ramp_len() const noexcept { return retune.get_ramp_len(); }
    double get_vibrato_rate() const noexcept { return vibrato.get_vibrato_rate(); }
    bool is_vibrato_on() const noexcept { return vibrato.is_vibrato_on(); }
    uint16_t get_reference_channel() const noexcept { return reference_channel; }
    int64_t get_target_count() const noexcept { return targets.get_target_count(); }

protected:
    explicit CV_DSPObject(int64_t block_limit);

    formant_stage formants;

private:
    // One source sample through the rings, the detector and the formant
    // analysis.
    void analyze_sample(double primary, double secondary, bool two_channels) noexcept;
    // Once a frame: the vibrato step and the slow filter of Auto mode.
    void close_frame() noexcept;
    // The read-out and the last stages; writes one output sample.
    void output_sample(float* const* out, int64_t i, bool two_channels) noexcept;
    // The correction of a decision with a period.
    void correct() noexcept;
    // Graph mode, not tracking: the correction of the frame that begins.
    void play_frame() noexcept;
    bool correcting() const noexcept { return !auto_mode && !tracker.is_tracking(); }
    // Everything back to unvoiced at once, no glide.
    void lose_lock() noexcept;
    // Frame-rate values derived from the settings.
    void update_frame_rate_values() noexcept;
    void configure_mix_filters() noexcept;
    // The values get_status reads, from the owner's fields.
    void publish_status() noexcept;
    // Time control. At the start of a block: the newest map, the store's
    // state and the edit hold.
    void begin_time_block() noexcept;
    // The source read through the map in this block.
    bool time_warped() const noexcept
    {
        return time_map_on && correcting() && store != nullptr && !edit_hold_seen;
    }
    // The rings hold the source D = engine::latency writes deep: the sample
    // at the read-out is the one that entered D source samples ago, and it
    // sounds at the output clock less D. So source sample s enters when the
    // output clock reaches map(s - D) + D, and the output clock y is reached
    // by source position unmap(y - D) + D.
    double output_for(int64_t source) const noexcept
    {
        return time_map->mapForEngine(double(source) - map_delay) + map_delay;
    }
    int64_t source_for(int64_t output) const noexcept
    {
        return std::llround(time_map->unmapForEngine(double(output) - map_delay) + map_delay);
    }
    static constexpr double map_delay = double(engine::latency);
    // The source clock from the output clock (through the map when
    // warped), and the frames with it.
    void place_source() noexcept;
    // The frame and its phase for the source sample at `position`, before it
    // enters; the frame's correction is read when the frame changes.
    void place_frames(int64_t position) noexcept;
    // The source samples for one output sample into source_a and source_b;
    // answers their count, 0 to max_source_samples. `live_a` and `live_b`
    // are the live pair, entered instead when a read fails.
    int choose_source(double live_a, double live_b) noexcept;

    pitch_detector detector;
    frame_tracker tracker;
    frame_player player;
    note_targets targets;
    retune_smoother retune;
    vibrato_generator vibrato;
    natural_vibrato natural;
    pitch_shifter shifter;
    // One per channel: the formant filter of the vibrato's mix.
    biQuad_Filter mix_filter[max_channels];

    bool bypass = false;
    bool auto_mode = true;
    bool idle = true;
    // Set by the first audible sample; the clocks and frames count after it.
    bool started = false;
    // Nonzero makes the second input channel the primary one.
    uint16_t reference_channel = 0;

    // Ratios: above 1.0 the read-out runs faster than the write.
    double applied_ratio = 1.0;
    double target_ratio = 1.0;
    double transpose_ratio = 1.0;
    // Turns engine samples into host samples.
    double period_scale = 1.0;
    double vib_formant = 0.0;
    // The throat ratio without the frames' offset, and the ratio last set
    // with it: a difference means the parameter moved it meanwhile.
    double throat_base = 1.0;
    double throat_applied = -1.0;

    // Frames and the output clock, in engine samples; samples_per_frame in
    // host samples.
    double frame_len = engine::default_samples_per_frame;
    double samples_per_frame = engine::default_samples_per_frame;
    double frame_phase = 0.0;
    double frame_min_period = engine::no_min_period;
    double frame_max_period = engine::no_max_period;
    int64_t input_pos = 0;
    // Time control: the store position of the next source sample.
    int64_t source_pos = 0;
    bool time_map_on = false;
    // The map in force: the exchange's newest, taken at each block's start;
    // until one comes, a map without breakpoints, which plays every
    // position where it lies.
    Snapshot_Exchange<TimeMap> time_maps;
    TimeMap no_edit_map;
    const TimeMap* time_map = &no_edit_map;
    AudioDataStore* store = nullptr;
    // The store's status for the block; nonzero: it cannot be read.
    uint32_t store_busy = 0;
    std::atomic<bool> edit_hold{false};
    bool edit_hold_seen = false;
    // The source clock must be placed anew at the next block.
    bool source_stale = true;
    // No read has succeeded since the source clock was placed.
    bool cueing = true;
    sem_t* store_lock = nullptr;
    // Most source samples entering at one output sample.
    static constexpr int max_source_samples = 10;
    double source_a[max_source_samples] = {};
    double source_b[max_source_samples] = {};
    std::atomic<int64_t> overrun_count{0};
    std::atomic<int64_t> overrun_frame{-1};
    // Sample of the block being processed, for the MIDI queue.
    int64_t block_sample = 0;

    // What get_status reads: written by the owner, read by any thread.
    struct published_status {
        std::atomic<double> ratio{1.0};
        std::atomic<int64_t> frame{0};
        std::atomic<double> period{0.0};
        std::atomic<double> target{1.0};
    };
    static_assert(std::atomic<double>::is_always_lock_free && std::atomic<int64_t>::is_always_lock_free,
                  "status words are single atomic words");
    published_status status;
};
