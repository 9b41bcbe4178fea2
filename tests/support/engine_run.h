#pragma once

// A mono signal through an engine in host blocks, as the effect feeds it.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "dsp/DT_DSPObject.h"

namespace test_engine {

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
