#include "dsp/natural_vibrato.h"

#include <cmath>

#include "Common_VST3/utilities.h"

void natural_vibrato::set_amount(double dB) noexcept
{
    natural_amount = DB_ToAmp(dB) - 1.0;
}

void natural_vibrato::set_frame_rate(double frames_per_second) noexcept
{
    // One period a frame. The slow side lies below any vibrato; the fast side
    // follows note changes within a few frames.
    const double nyquist = 0.5 * frames_per_second;
    smoother.slow_filter.set_sampleRate(frames_per_second);
    smoother.fast_filter.set_sampleRate(frames_per_second);
    smoother.slow_filter.init_LowPass_twoPole(std::fmin(1.5, 0.4 * nyquist), 0.7071);
    smoother.fast_filter.init_LowPass_twoPole(std::fmin(25.0, 0.8 * nyquist), 0.7071);
    // The jump share decays by half in 150 ms.
    smoother.decay = float(std::pow(0.5, 1.0 / (0.15 * frames_per_second)));
    smoother.jump_limit = 0.03f; // about half a semitone within a frame
    smoother.set_restart();
}

void natural_vibrato::frame(double m) noexcept
{
    const double s = smoother.process(float(m));
    if (s <= 0.0) return;
    if (ignore_vibrato) slow_ratio = s / m;
    natural_ratio = (1.0 - m / s) * natural_amount + 1.0;
}
