#pragma once

// An engine set up for Auto mode as the tests of held vowels use it, and a
// mono signal through it in host blocks, as the effect feeds it.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "dsp/DT_DSPObject.h"
#include "dsp/Scale_State.h"
#include "dsp/note_tables.h"

namespace test_engine {

// Mono at `rate`, "Retune Speed" 0, the Chromatic scale in C. Settings of
// the caller follow; then reset() and set_idle(false) start it.
inline void set_up_chromatic(DT_DSPObject& dsp, double rate)
{
    dsp.set_sample_rate(rate);
    dsp.set_channels(false, false);
    dsp.set_retune(0.0, 0.0);
    Scale_State scale;
    Note_Table table;
    table.build(scale, rate);
    table.apply(dsp);
}

inline std::vector<float> run_blocks(DT_DSPObject& dsp, const std::vector<float>& x, size_t block = 512)
{
    std::vector<float> y(x.size());
    for (size_t pos = 0; pos < x.size(); pos += block) {
        const int64_t n = int64_t(std::min(block, x.size() - pos));
        const float* in[2] = {x.data() + pos, nullptr};
        float* out[2] = {y.data() + pos, nullptr};
        dsp.process(in, out, n);
    }
    return y;
}

} // namespace test_engine
