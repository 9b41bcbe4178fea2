#pragma once

#include <cstdint>
#include <memory>

#include "Common_VST3/smooth_functions.h"
#include "graph/model/ObjectRecord.h"
#include "graph/model/TrackedFrameArray.h"

// The pass that turns an object list into the correction fields of the
// tracked frames: outputPeriod (host samples; 0.0 leaves a frame alone),
// modulationOffset, modulationGain, modulationParameter and throatOffset.
//
// Each object is one segment of frames, from its first record up to the
// first record of the next object (the frames after its end, where the
// correction dies away at the object's retune speed, belong to it); the
// frames before the first object are cleared. A segment depends on its own
// records and the tracked pitch alone, so that an edit recomputes only the
// segments it touches, and a local pass gives the frames the whole pass
// gives.
//
// Per covered frame the ratio of the tracked period to the target's period
// is approached by a one-pole step whose half-life is the record's
// retuneSpeed (0 lands on the target at once); outputPeriod is the tracked
// period over that ratio. A note begins at the distance between the singer's
// average over its first 0.4 s and the note, instead of gliding in. Unvoiced
// frames get outputPeriod 0.
//
// Threads: interface thread only. The frames' correction words are atomic,
// so the audio thread may read them while the pass writes: it sees each
// word old or new, and a frame's five words may mix the two for one frame.
class ObjectPass {
public:
    // Interface thread. Host rate and samples per frame; the vibrato
    // smoother is made here (0.2 s of frames).
    void setRates(double sampleRate, double samplesPerFrame);
    double getFramesPerSecond() const { return framesPerSecond; }
    double getSampleRate() const { return sampleRate; }

    // Every frame holding data recomputed from `list`; a null list clears
    // them all.
    void applyObjects(const ObjectList* list, TrackedFrameArray& frames);
    // Only the segments that hold any of frames [from, to].
    void applyObjects(const ObjectList* list, TrackedFrameArray& frames, int64_t from, int64_t to);

    // The vibrato adjustment of one frame: `pitch` moved by `factor` times
    // the singer's deviation from the running mean of the tracked period.
    // Factor 0 or an unvoiced frame leaves `pitch`.
    int16_t adjustPitch(const TrackedFrameArray& frames, int64_t frame, int16_t pitch, float factor);

private:
    struct State;
    void runSegment(const ObjectList& list, const size_t* known, size_t first, size_t last, size_t knownCount,
                    TrackedFrameArray& frames, int64_t begin, int64_t end);

    double sampleRate = 44100.0;
    double framesPerSecond = 220.5;
    std::unique_ptr<smooth_functions> smoother;
};
