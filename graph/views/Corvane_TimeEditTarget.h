#pragma once

class TimeMap;

// What the graph views need of whoever owns the time map (the effect, with
// its time history and its engine): the map in force, to draw the take
// through, and the two ways a drag with the Move Point or Move Region tool
// changes it. Positions in a map are engine samples; a frame is
// samplesPerFrameScale() of them.
//
// Every operation: interface thread.
class Corvane_TimeEditTarget {
public:
    virtual ~Corvane_TimeEditTarget() = default;

    // The map the engine plays now: the last one previewed or committed, or
    // the history's map in force over the recorded take. Null when there is
    // none (nothing recorded with time). The pointer stays good until the
    // next call on this object or the next change of the history.
    virtual const TimeMap* mapInForce() = 0;
    // Engine samples per frame: samplesPerFrame / decimationFactor.
    virtual double samplesPerFrameScale() = 0;
    // One step of a drag: the engine plays `map` from its next block and
    // mapInForce answers it. No history step.
    virtual void previewMap(const TimeMap& map) = 0;
    // The end of a drag that changed the map: `map` becomes a new step of
    // the time history, in force and played.
    virtual void commitMap(const TimeMap& map) = 0;
};
