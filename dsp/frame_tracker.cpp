#include "dsp/frame_tracker.h"

#include "Common_VST3/utilities.h"

void frame_tracker::attach(TrackedFrameArray* frame_array, AudioDataStore* audio_store) noexcept
{
    frames = frame_array;
    store = audio_store;
}

void frame_tracker::set_recording(bool on) noexcept
{
    if (store != nullptr && !suspended) {
        if (on) store->beginRun();
        else if (recording) store->endRun();
    }
    recording = on;
}

void frame_tracker::set_frame_index(int64_t index) noexcept
{
    frame_index = index;
    // A jump of the clock breaks the run: what follows is a run of its own.
    if (recording && !suspended && store != nullptr) store->beginRun();
}

void frame_tracker::set_scale(double factor, double rate) noexcept
{
    decimation = factor;
    engine_rate = rate > 0.0 ? rate : 44100.0;
}

bool frame_tracker::queue_event(uint16_t tag, int64_t time) noexcept
{
    if (event_count >= max_events) return false;
    events[event_count++] = event{tag, time};
    return true;
}

void frame_tracker::close_frame(double min_period, double max_period, int64_t sample) noexcept
{
    if (!tracking || suspended || frames == nullptr) {
        ++frame_index;
        return;
    }
    if (frame_index >= 0 && frame_index < frames->frameCount()) {
        TrackedFrame f = frames->get(frame_index);
        f.minSample = float(min_level);
        f.maxSample = float(max_level);
        f.periodA = float(min_period * decimation);
        if (max_period == -1.0) {
            f.periodB = -1.0f;
            f.centsB = TrackedFrame::unvoicedCents;
        } else {
            f.periodB = float(max_period * decimation);
            f.centsB = int32_t(Round_ToInt(Period_ToCents(float(max_period), float(engine_rate))));
            f.centsA = int32_t(Round_ToInt(Period_ToCents(float(min_period), float(engine_rate))));
        }
        while (event_next < event_count && events[event_next].time <= sample)
            midi_state = events[event_next++].tag;
        f.midiNote = int8_t(uint8_t(midi_state & 0xff));
        frames->putTracked(frame_index, f);
        frames->extendTracked(frame_index + 1);
        frames->markDirty(frame_index);
    }
    ++frame_index;
    // The frame that opens loses the marks of an earlier pass; this pass
    // marks it at the end of its block.
    if (frame_index >= 0 && frame_index <= frames->frameCount()) frames->putBarBeat(frame_index, 0, 0);
}

void frame_tracker::end_block(int64_t block_frames) noexcept
{
    // Events past the block's last frame close still count for the next.
    while (event_next < event_count && events[event_next].time < block_frames)
        midi_state = events[event_next++].tag;
    int kept = 0;
    for (int i = event_next; i < event_count; ++i)
        events[kept++] = event{events[i].tag, events[i].time - block_frames};
    event_count = kept;
    event_next = 0;
}
