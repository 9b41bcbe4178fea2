#pragma once

#include <cstdint>

// Sizes and fixed distances of the engine, in engine samples.
namespace engine {

// Length of the input, control and read rings. No power of two: every index
// wraps by an explicit test.
constexpr int64_t ring_len = 6976;
// Length of the residual ring, and how far back the inverse filter works.
constexpr int64_t residual_len = 2560;
constexpr int64_t residual_delay = 1280;
// Age of the audio at the read-out, and the read-out's minimum distance.
constexpr int64_t delayed_distance = 2560;
constexpr int64_t read_distance = 100;
// The whole path: residual delay, read ring delay and read distance.
constexpr int64_t latency = residual_delay + residual_delay + read_distance;
static_assert(latency == 2660, "the engine's fixed delay");

// Host frames taken by one call of process; longer host blocks are cut.
constexpr int64_t max_block = 2048;

// Queued MIDI events between two blocks.
constexpr int max_events = 256;

// Level above which the first sample counts as audible.
constexpr double start_threshold = 0.0003;
// Output clamp.
constexpr double output_limit = 0.9999;
// Crossfade step of a read-out splice: 50 samples.
constexpr double splice_step = 0.02;

// Frame length in host samples while the effect has none set.
constexpr double default_samples_per_frame = 200.0;

} // namespace engine
