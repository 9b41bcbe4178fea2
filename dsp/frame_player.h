#pragma once

#include <cstdint>

#include "graph/model/TrackedFrameArray.h"

// The playing path of the engine's loop in Graph mode: at the start of each
// frame it reads the correction that the object pass left in the tracked
// frame (outputPeriod, the modulation fields, throatOffset) and turns it into
// what the loop uses until the next frame: the inverse of the wanted period
// (0.0 leaves the frame uncorrected), the gain ramp and formant mix of the
// output stage, and the throat offset.
//
// The frames' correction words are written by the interface thread at any
// time (each an atomic word): a frame read while the pass writes it may mix
// old and new words, never a torn word; the next frame reads afresh.
//
// Threads: attach on the interface thread while inactive; everything else on
// the engine's owner thread, never allocating, locking or throwing.
class frame_player {
public:
    // Interface thread, while inactive. May be null: nothing plays.
    void attach(const TrackedFrameArray* frame_array) noexcept { frames = frame_array; }

    // Owner thread. The frame `index` begins: its correction is read, with
    // `decimation` host samples per engine sample and `frame_len` engine
    // samples per frame. Past the frames holding data, nothing is corrected.
    void begin_frame(int64_t index, double decimation, double frame_len) noexcept;
    // Back to no correction, unit gain and a neutral mix.
    void reset() noexcept;

    // One over the wanted period in engine samples; 0.0 for none.
    double get_target_inv() const noexcept { return target_inv; }
    // Audio thread, per output sample: the gain, ramped toward the frame's.
    double next_gain() noexcept
    {
        gain += gain_step;
        return gain;
    }
    double get_mix() const noexcept { return mix; }
    // The frame's formant-mix gain in dB, and its throat ratio offset.
    double get_modulation_parameter() const noexcept { return modulation_parameter; }
    double get_throat_offset() const noexcept { return throat_offset; }

private:
    const TrackedFrameArray* frames = nullptr;
    double target_inv = 0.0;
    double gain = 1.0;
    double gain_step = 0.0;
    double mix = 1.0;
    double modulation_parameter = 0.0;
    double throat_offset = 0.0;
};
