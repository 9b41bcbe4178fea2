#pragma once

#include "effect/Corvane_SingleComponentEffect.h"

// The effect with its engine in view, for tests that check what reached the
// engine through the engine's own read-only face, with its undo depth
// settable, for tests of the state that keeps it, and its tracked frames to
// fill, for tests of what the panel's commands make of them.
class Inspected_Effect : public Corvane_SingleComponentEffect {
public:
    const DT_DSPObject& engine() const { return dspObject; }
    using Corvane_SingleComponentEffect::setMaxUndos;
    TrackedFrameArray& frames() { return trackedFrames; }
};
