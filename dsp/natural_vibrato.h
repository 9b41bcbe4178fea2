#pragma once

#include "dsp/pitch_smoother.h"

// The singer's own vibrato in Auto mode. Once a frame the slow filter
// (pitch_smoother) takes the frame's mean period; against its output the
// frame's deviation is the vibrato the singer made. "Natural Vibrato" scales
// that deviation through a factor of the correction ratio, and "Ignore
// Vibrato" lets the note search see the vibrato-free period instead.
//
// An object belongs to its engine's owner thread; nothing here allocates.
class natural_vibrato {
public:
    // 0 dB leaves the singer's vibrato, -12 dB keeps a quarter of its depth,
    // +12 dB makes it four times as deep.
    void set_amount(double dB) noexcept;
    void set_ignore(bool on) noexcept { ignore_vibrato = on; }
    // Frames per second: the slow filter's corners and decay. Restarts it.
    void set_frame_rate(double frames_per_second) noexcept;

    // The slow filter starts afresh from its next input.
    void restart() noexcept { smoother.set_restart(); }
    // Both ratios back to 1.0.
    void release() noexcept { slow_ratio = natural_ratio = 1.0; }
    void reset() noexcept
    {
        restart();
        release();
    }

    // Audio thread, once a frame: the mean period of a voiced frame.
    void frame(double mean_period) noexcept;
    // Audio thread, once a frame without any period.
    void unvoiced_frame() noexcept
    {
        restart();
        release();
    }

    // The period the note search sees, over the detected one.
    double get_slow_ratio() const noexcept { return slow_ratio; }
    // The factor of the correction ratio.
    double get_natural_ratio() const noexcept { return natural_ratio; }

private:
    pitch_smoother smoother;
    bool ignore_vibrato = false;
    double natural_amount = 0.0;
    double slow_ratio = 1.0;
    double natural_ratio = 1.0;
};
