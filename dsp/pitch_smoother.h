#pragma once

#include "Common_VST3/biQuad_Filter.h"

// The slow filter of the frame period in Auto mode. On a held note its output
// settles on a heavily low-passed period, in which the singer's vibrato no
// longer shows; after a jump (a new note) it follows the input at once and
// hands over to the slow value again as `blend` decays.
//
// One call a frame, on the audio thread; nothing allocates.
class pitch_smoother {
public:
    // Audio thread. The frame's mean period in, the smoothed period out.
    float process(float x) noexcept
    {
        if (!enabled) return x;
        if (restart) {
            restart = false;
            blend = 1.0f;
            last_fast = x;
            slow_filter.settle(x);
            fast_filter.settle(x);
        }
        const float s = float(slow_filter.process(x));
        const float old = blend;
        blend *= decay;
        const float f = float(fast_filter.process(x));
        if (f - last_fast > jump_limit * f || last_fast - f > jump_limit * f) {
            blend += 0.2f;
            if (blend > 1.0f) blend = 1.0f;
        }
        last_fast = f;
        return x - (x - s) * (1.0f - old);
    }

    // The next call starts afresh from its input.
    void set_restart() noexcept { restart = true; }

    bool restart = true;
    bool enabled = true;
    float blend = 1.0f;
    // Share of `blend` kept from one frame to the next.
    float decay = 0.97f;
    float last_fast = 0.0f;
    // A change of the fast filter by more than this share of the period in
    // one frame counts as a jump.
    float jump_limit = 0.02f;
    biQuad_Filter slow_filter;
    biQuad_Filter fast_filter;
};
