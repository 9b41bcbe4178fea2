#include "dsp/frame_player.h"

void frame_player::begin_frame(int64_t index, double decimation, double frame_len) noexcept
{
    TrackedFrame f;
    if (frames != nullptr && index >= 0 && index < frames->trackedEnd()) f = frames->get(index);
    // Wanted period in engine samples, in single precision as stored.
    const float period = f.outputPeriod / float(decimation);
    target_inv = period > 0.0f ? 1.0 / double(period) : 0.0;
    gain_step = frame_len > 0.0 ? (double(f.modulationOffset) + 1.0 - gain) / frame_len : 0.0;
    mix = f.modulationGain;
    modulation_parameter = f.modulationParameter;
    throat_offset = f.throatOffset;
}

void frame_player::reset() noexcept
{
    target_inv = 0.0;
    gain = 1.0;
    gain_step = 0.0;
    mix = 1.0;
    modulation_parameter = 0.0;
    throat_offset = 0.0;
}
