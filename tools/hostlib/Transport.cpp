#include "hostlib/Transport.h"

#include <cassert>
#include <cmath>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace hostlib {

namespace {
// A musical position this close below a bar line counts as on it, against
// rounding in the conversion from samples.
constexpr double kBarTolerance = 1e-9;
} // namespace

Transport::Transport()
{
    ctx.state = ProcessContext::kPlaying | ProcessContext::kTempoValid | ProcessContext::kTimeSigValid |
                ProcessContext::kProjectTimeMusicValid | ProcessContext::kBarPositionValid |
                ProcessContext::kContTimeValid;
    ctx.sampleRate = 48000.0;
    ctx.tempo = 120.0;
    ctx.timeSigNumerator = 4;
    ctx.timeSigDenominator = 4;
}

void Transport::set_sample_rate(double rate)
{
    assert(rate > 0.0 && "Transport::set_sample_rate: the rate must be positive");
    // Keep the musical position where it is.
    anchorQuarters = ctx.projectTimeMusic;
    anchorSamples = ctx.projectTimeSamples;
    ctx.sampleRate = rate;
}

void Transport::set_tempo(double bpm)
{
    assert(bpm > 0.0 && "Transport::set_tempo: the tempo must be positive");
    anchorQuarters = ctx.projectTimeMusic;
    anchorSamples = ctx.projectTimeSamples;
    ctx.tempo = bpm;
}

void Transport::set_time_signature(int32 numerator, int32 denominator)
{
    assert(numerator > 0 && denominator > 0 && "Transport::set_time_signature: both terms must be positive");
    ctx.timeSigNumerator = numerator;
    ctx.timeSigDenominator = denominator;
    barOrigin = ctx.projectTimeMusic;
    update_music();
}

void Transport::set_playing(bool playing)
{
    if (playing)
        ctx.state |= ProcessContext::kPlaying;
    else
        ctx.state &= ~uint32(ProcessContext::kPlaying);
}

void Transport::locate(int64 samples)
{
    ctx.projectTimeSamples = samples;
    anchorSamples = 0;
    anchorQuarters = 0.0;
    barOrigin = 0.0;
    update_music();
}

void Transport::advance(int32 samples)
{
    ctx.continousTimeSamples += samples;
    if ((ctx.state & ProcessContext::kPlaying) == 0) return;
    ctx.projectTimeSamples += samples;
    update_music();
}

double Transport::bar_length() const
{
    return 4.0 * ctx.timeSigNumerator / ctx.timeSigDenominator;
}

void Transport::update_music()
{
    ctx.projectTimeMusic =
        anchorQuarters + double(ctx.projectTimeSamples - anchorSamples) / ctx.sampleRate * ctx.tempo / 60.0;
    const double bar = bar_length();
    ctx.barPositionMusic =
        barOrigin + std::floor((ctx.projectTimeMusic - barOrigin) / bar + kBarTolerance) * bar;
}

} // namespace hostlib
