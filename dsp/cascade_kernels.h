#pragma once

#include <cstdint>

#include "dsp/vector_kernels.h"

// The rate conversion's cascade of second-order sections, compiled once per
// instruction-set level and chosen when the module loads, as the engine's
// other vector kernels are (the levels are those of vector_kernels).
//
// Section s of a cascade computes, from its input x, its last two inputs x1
// and x2 and its last two outputs y1 and y2,
//   y = x + b1[s] * x1 + x2 - a1[s] * y1 - a2[s] * y2,
// in doubles, left to right, and rounds y to a float; its input is the output
// of section s - 1, the first section's the sample. Every level makes the same
// operations in the same order for every section and sample, so all levels
// give the same results to the last bit.
//
// Nothing here allocates, locks or blocks; every function may run on the
// audio thread.
namespace cascade_kernels {

constexpr int max_sections = 6;

// The coefficients of `count` sections (count <= max_sections); b0, b2 and
// a0 are 1.
struct sections {
    int count = 0;
    double b1[max_sections] = {};
    double a1[max_sections] = {};
    double a2[max_sections] = {};
};

// One channel's samples and filter state. The state of section s is x1[s],
// x2[s] (its last two inputs) and y1[s], y2[s] (its last two outputs), read
// at the start and written back at the end. Since a section's inputs are the
// outputs of the one before, x1[s] and x2[s] of s above 0 are read from
// y1[s - 1] and y2[s - 1] and written back equal to them. `to` may be `from`,
// but no buffer of another stream.
struct stream {
    const float* from;
    float* to;
    double* x1;
    double* x2;
    double* y1;
    double* y2;
};

// Runs `frames` samples of each of `count` streams (at most 2) through the
// sections, each stream with its own state. Blocks of any length, down to
// one sample, give the same results as one long block.
using function = void (*)(const sections& k, const stream* streams, int count, int64_t frames) noexcept;

// The function of one level; the level must be supported.
function kernel_for(vector_kernels::level l) noexcept;

namespace detail {
extern const function active;
}

// The function of vector_kernels::chosen_level(). Audio thread or any other.
inline function kernel() noexcept
{
    return detail::active;
}

} // namespace cascade_kernels
