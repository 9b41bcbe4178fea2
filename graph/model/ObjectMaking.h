#pragma once

#include <cstdint>

#include "graph/model/ObjectRecord.h"
#include "graph/model/TrackedFrameArray.h"

// The operations that build objects from the tracked data: notes and curves
// from the tracked pitch, notes from the MIDI recorded beside it, and a curve
// of what Auto mode would have sung. Each reads the frames holding data and
// answers a new list of whole objects, sorted, to be laid over the list in
// force. Interface thread.

// What a new object takes from the object knobs.
struct NewObjectSettings {
    float retuneSpeed = 0.0f;   // ms
    float adjustVibrato = 0.0f; // scale of the singer's vibrato
    float throatLength = 0.0f;  // throat ratio added, 0.0 none
    int32_t notesPerNote = 1;   // note objects per sung note, 1..10
    bool snap = false;          // notes on the nearest hundred cents from pitchOffset
    int16_t pitchOffset = 0;    // the detune, cents
};

// Frames between two points of a made curve.
constexpr uint32_t madeCurveStep = 2;
// Shortest voiced stretch that becomes an object, and shortest stable pitch
// that makes a new note, in seconds.
constexpr double shortestObjectSeconds = 0.05;
constexpr double shortestNoteSeconds = 0.06;
// The span of the median that finds a sung note's semitone: a cycle of a
// slow vibrato, so that its swing does not split the note.
constexpr double medianSeconds = 0.2;

// A note object per sung note (split in `notesPerNote` equal parts, each at
// its own pitch); a sung note is a voiced stretch, cut where the pitch moves
// to another semitone and stays there.
ObjectList makeNotes(const TrackedFrameArray& frames, double framesPerSecond, const NewObjectSettings& settings);
// A curve per voiced stretch, a point every madeCurveStep frames.
ObjectList makeCurves(const TrackedFrameArray& frames, double framesPerSecond, const NewObjectSettings& settings);
// A note per stretch of frames holding the same MIDI note, at that note.
ObjectList makeNotesFromMidi(const TrackedFrameArray& frames, const NewObjectSettings& settings);

// The Auto-mode settings Import Auto follows, and its note table: `count`
// notes in rising order of period, periods (0: not corrected) and count + 1
// bounds in host samples times `unit`; in the explicit form each note lies
// `octaves` octaves above the table's range, otherwise the table spans one
// octave and a period is folded into it.
struct AutoImportSettings {
    double retuneSpeed = 20.0; // ms
    double humanize = 0.0;     // ms
    double naturalVibrato = 0.0; // dB; 0 leaves the singer's vibrato
    // Auto mode's added vibrato: shape 1 sine, 2 square, 3 sawtooth, any
    // other none; peak pitch in cents, rate in hertz, onset delay and fade-in
    // in ms, gain depth and rate variation in percent, formant mix in dB.
    int vibratoShape = 0;
    double vibratoPitch = 0.0;
    double vibratoRate = 5.5;
    double onsetDelay = 500.0;
    double onsetRate = 500.0;
    double vibratoAmplitude = 0.0;
    double vibratoVariation = 0.0;
    double vibratoFormant = 0.0;
    double hostRate = 44100.0;
    bool explicitForm = true;
    int64_t count = 0;
    const int64_t* periods = nullptr;
    const int64_t* bounds = nullptr;
    const int64_t* octaves = nullptr;
    double unit = 64.0;
};
// A curve per voiced stretch, one point a frame, at the pitch Auto mode's
// correction would give each frame; its points carry the added vibrato's
// gain, formant mix and formant gain, which the engine plays from the frames.
ObjectList importAuto(const TrackedFrameArray& frames, double framesPerSecond, const AutoImportSettings& settings);
