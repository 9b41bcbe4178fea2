#include "dsp/retune_smoother.h"

#include <cmath>

void retune_smoother::set_times(double r, double h, double sr) noexcept
{
    retune_ms = r;
    humanize_ms = h;
    // The pole that halves the distance in `ms`, at one update every five
    // samples.
    auto pole = [sr](double ms) { return ms == 0.0 ? 0.0 : std::pow(0.5, 1.0 / ((sr / 5.0) * (ms / 1000.0))); };
    retune_fast = r == 0.0 ? 0.0 : pole(r);
    retune_slow = pole(r + h);
    ramp_len = int64_t(sr * 0.4 / 5.0);
    ramp_step = ramp_len > 0 ? (retune_slow - retune_fast) / double(ramp_len) : 0.0;
    retune_coef = retune_fast;
    ramp_step_now = 0.0;
    ramp_left = 0;
}

void retune_smoother::note(int64_t index) noexcept
{
    if (index == last_target) {
        if (ramp_left != 0) {
            --ramp_left;
            retune_coef += ramp_step_now;
        }
        return;
    }
    retune_coef = retune_fast;
    last_target = index;
    ramp_left = ramp_len;
    ramp_step_now = ramp_step;
}
