#pragma once

// What the tools and the tests ask of a pitch track: notes and cents, the
// typical pitch of a stretch, and how far each voiced frame lies from the
// notes of a scale.

#include <vector>

#include "pitchtrack/Pitch_Estimator.h"

namespace pitchtrack {

// MIDI note numbers, 69 = A4 = 440 Hz, fractional between notes.
double hz_to_midi(double hz);
double midi_to_hz(double note);

// How far hz lies above reference_hz, in cents.
double cents_between(double hz, double reference_hz);

// The median fundamental of the voiced frames with from_s <= time < to_s,
// in Hz; 0 if none is voiced.
double median_hz(const std::vector<Pitch_Frame>& track, double from_s, double to_s);

// The share of the frames with from_s <= time < to_s that are voiced, 0 to
// 1; 0 if there are no frames there.
double voiced_fraction(const std::vector<Pitch_Frame>& track, double from_s, double to_s);

// A voiced frame measured against the nearest note whose pitch class is
// allowed.
struct Scale_Deviation {
    double time_s;
    int note;      // the nearest allowed MIDI note
    double cents;  // how far the frame lies from it, -600 to 600
};

// One entry per voiced frame. Pitch classes count semitones from C
// (0 = C, 9 = A); throws std::invalid_argument if the set is empty or holds
// a class outside 0..11.
std::vector<Scale_Deviation> deviations_from_scale(const std::vector<Pitch_Frame>& track,
                                                   const std::vector<int>& pitch_classes);

} // namespace pitchtrack
