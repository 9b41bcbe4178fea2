#pragma once

#include "effect/Corvane_SingleComponentEffect.h"

// The effect with its engine in view, for tests that check what reached the
// engine through the engine's own read-only face, and with its undo depth
// settable, for tests of the state that keeps it.
class Inspected_Effect : public Corvane_SingleComponentEffect {
public:
    const DT_DSPObject& engine() const { return dspObject; }
    using Corvane_SingleComponentEffect::setMaxUndos;
};
