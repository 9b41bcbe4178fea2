#pragma once

// The host's running transport: the ProcessContext that goes with each
// block. Positions are in host samples and in quarter notes; the musical
// position follows from the sample position through the tempo, counted
// from the last point where the tempo was set or the transport located.

#include "pluginterfaces/vst/ivstprocesscontext.h"

namespace hostlib {

class Transport {
public:
    // 48 kHz, 120 quarter notes a minute, 4/4, playing from 0.
    Transport();

    void set_sample_rate(double rate);
    // Quarter notes per minute, from the current position on.
    void set_tempo(double bpm);
    // A new bar starts at the current position.
    void set_time_signature(Steinberg::int32 numerator, Steinberg::int32 denominator);
    // A stopped transport keeps its project position while blocks go on;
    // the continuous time always advances.
    void set_playing(bool playing);
    // Moves the project position to `samples`, its musical position taken
    // as if the current tempo had held from 0 with bars from 0.
    void locate(Steinberg::int64 samples);

    // After a block of n samples.
    void advance(Steinberg::int32 samples);

    // Length of a bar in quarter notes.
    double bar_length() const;

    // For reading, or for setting fields the setters do not cover (cycle,
    // chord, frame rate). Tempo, signature, rate and positions set here
    // directly are not seen by advance: use the setters for those.
    Steinberg::Vst::ProcessContext& context() { return ctx; }
    const Steinberg::Vst::ProcessContext& context() const { return ctx; }

private:
    // Recomputes the musical fields from projectTimeSamples.
    void update_music();

    Steinberg::Vst::ProcessContext ctx{};
    // Where the current tempo took over: host samples and quarter notes.
    Steinberg::int64 anchorSamples = 0;
    double anchorQuarters = 0.0;
    // Where the current signature's bars start, in quarter notes.
    double barOrigin = 0.0;
};

} // namespace hostlib
