#pragma once

#include <cstdint>

#include "dsp/CV_DSPObject.h"
#include "dsp/Scale_State.h"

// The note table of Auto mode, computed from the scale object: scale, key,
// detune and the user's marks. Removed notes are left out, so their pitches
// go to the nearest kept neighbour; bypassed notes keep their place with a
// period of 0, so their pitches pass untouched. Each bound lies midway (in
// cents) between two neighbouring kept notes.
//
// A twelve-note scale has one entry per key of the keyboard (MIDI notes 19
// to 96), with the marks of each key. Any other scale has one octave of its
// notes with the marks of its rows, and the engine folds the period into it.
struct Note_Table {
    bool explicit_form = true;
    int64_t count = 0;
    // Rising order of period, in host samples times `unit`.
    int64_t periods[CV_DSPObject::max_targets] = {};
    int64_t bounds[CV_DSPObject::max_targets + 1] = {};
    int64_t octaves[CV_DSPObject::max_targets] = {};
    double unit = 64.0;

    // Any thread; allocates nothing. The marks of `marks` for the scale,
    // key and detune given; `host_rate` above 0. With `held_note` a MIDI
    // note of the keyboard (19 to 96), the table holds that one note alone,
    // whatever the marks: every pitch goes to it.
    void build(Scale_State& marks, int scale, int key, int detune, double host_rate,
               int held_note = -1) noexcept;
    // The same with the scale, key and detune of the scale object.
    void build(Scale_State& scale, double host_rate, int held_note = -1) noexcept
    {
        build(scale, scale.scale, scale.key, scale.detune, host_rate, held_note);
    }
    // The engine's owner. Hands the table to the engine with the form's
    // setter.
    void apply(CV_DSPObject& engine) const noexcept;
};

// Frequency in Hz of the note `interval` (hundredths of a cent) above the key
// (0 is C) in the octave of MIDI note `key_note`, for a reference A of 440 Hz
// moved by `detune` cents.
double Note_Frequency(int key_note, int64_t interval, int detune);
