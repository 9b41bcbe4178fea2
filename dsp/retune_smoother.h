#pragma once

#include <cstdint>

// The retune smoother: a one-pole glide of the correction ratio toward its
// target, updated at each detector decision (every fifth engine sample). A
// new note is caught with the pole of "Retune Speed"; over the next 0.4
// seconds of the same note the pole relaxes in equal steps toward the
// slower one of retune speed plus "Humanize".
//
// An object belongs to its engine's owner thread; nothing here allocates.
class retune_smoother {
public:
    // Retune speed and humanize in milliseconds: the time in which the glide
    // covers half its distance. A retune speed of 0 jumps to the target.
    void set_times(double retune_ms, double humanize_ms, double engine_rate) noexcept;
    // The same times at another engine rate.
    void set_rate(double engine_rate) noexcept { set_times(retune_ms, humanize_ms, engine_rate); }
    // Back to a ratio of 1.0 with no note; the pole in use stays.
    void release() noexcept
    {
        smooth_ratio = 1.0;
        last_target = -1;
    }
    // release, and the pole back to the fast one with no ramp.
    void reset() noexcept
    {
        release();
        retune_coef = retune_fast;
        ramp_left = 0;
        ramp_step_now = 0.0;
    }
    // The next note counts as new.
    void forget_note() noexcept { last_target = -1; }

    // Audio thread. The note of this decision (an index of the target
    // source): a new one restarts from the fast pole, the same one steps the
    // pole toward the slow one.
    void note(int64_t index) noexcept;
    // Audio thread. One step toward `target`; the smoothed ratio.
    double smooth(double target) noexcept
    {
        smooth_ratio = (1.0 - retune_coef) * target + retune_coef * smooth_ratio;
        return smooth_ratio;
    }

    double get_retune_fast() const noexcept { return retune_fast; }
    double get_retune_slow() const noexcept { return retune_slow; }
    // Decisions over which the pole relaxes.
    int64_t get_ramp_len() const noexcept { return ramp_len; }
    // The pole in use.
    double get_retune_coef() const noexcept { return retune_coef; }

private:
    double retune_ms = 0.0;
    double humanize_ms = 0.0;
    double retune_coef = 0.0;
    double retune_fast = 0.0;
    double retune_slow = 0.0;
    int64_t ramp_len = 0;
    int64_t ramp_left = 0;
    double ramp_step = 0.0;
    double ramp_step_now = 0.0;
    int64_t last_target = -1;
    double smooth_ratio = 1.0;
};
