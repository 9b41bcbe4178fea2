#pragma once

#include <cstdint>

#include "graph/model/AudioDataStore.h"
#include "graph/model/TrackedFrameArray.h"

// The tracking path of the engine's loop in Graph mode: the waveform peaks of
// each frame, the frame's periods and cents written into the tracked frames
// when it closes, the MIDI notes held, and the source audio into the audio
// data store. Periods arrive in engine samples and are stored in host
// samples (times the decimation factor); cents are taken at the engine rate.
//
// Threads: attach on the interface thread while inactive; everything else on
// the engine's owner thread (the audio thread while processing), never
// allocating, locking or throwing.
class frame_tracker {
public:
    // Most MIDI events queued for the coming blocks.
    static constexpr int max_events = 256;
    // The tag of a note-off: its low byte is the frame's "no note".
    static constexpr uint16_t note_off_tag = 0x80;

    // Interface thread, while inactive. Either may be null.
    void attach(TrackedFrameArray* frames, AudioDataStore* store) noexcept;

    // Owner thread.
    void set_tracking(bool on) noexcept { tracking = on; }
    // Recording begins a new run of the store; stopping hands on its tail.
    void set_recording(bool on) noexcept;
    bool is_tracking() const noexcept { return tracking; }
    bool is_recording() const noexcept { return recording; }
    // While suspended the frames and the store are left alone: another
    // thread is replacing them.
    void set_suspended(bool on) noexcept { suspended = on; }
    bool is_suspended() const noexcept { return suspended; }
    // The frame the clock stands in, and a break of the recorded run there.
    void set_frame_index(int64_t index) noexcept;
    int64_t get_frame_index() const noexcept { return frame_index; }
    void set_scale(double decimation, double engine_rate) noexcept;

    // Owner thread. A MIDI tag (note number, or note_off_tag) at engine
    // sample `time` from the start of the next block; false when the queue
    // is full.
    bool queue_event(uint16_t tag, int64_t time) noexcept;

    // Audio thread, per sample: the peaks of the open frame. `closing` is
    // true for the sample that closes a frame, which starts the next one.
    void level(double primary, bool closing) noexcept
    {
        if (closing) {
            min_level = primary;
            max_level = primary;
        } else if (primary < min_level) {
            min_level = primary;
        }
        if (primary > max_level) max_level = primary;
    }
    // Audio thread. The frame ends with these periods (engine samples;
    // min 3000.0 and max -1.0 when nothing was detected); `sample` is the
    // present sample of the block, for the MIDI queue.
    void close_frame(double min_period, double max_period, int64_t sample) noexcept;
    // Audio thread. Source audio of store position `position`.
    void record(int64_t position, double primary, double secondary) noexcept
    {
        if (recording && !suspended && store != nullptr) store->writeSample(position, float(primary), float(secondary));
    }
    // Audio thread, after a block of `frames` engine samples: drops the
    // consumed events and moves the rest into the next block's time.
    void end_block(int64_t frames) noexcept;

private:
    TrackedFrameArray* frames = nullptr;
    AudioDataStore* store = nullptr;
    bool tracking = false;
    bool recording = false;
    bool suspended = false;
    int64_t frame_index = 0;
    double decimation = 1.0;
    double engine_rate = 44100.0;
    double min_level = 0.0;
    double max_level = 0.0;

    struct event {
        uint16_t tag;
        int64_t time;
    };
    event events[max_events] = {};
    int event_count = 0;
    int event_next = 0;
    uint16_t midi_state = note_off_tag;
};
