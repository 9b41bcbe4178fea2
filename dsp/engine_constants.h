#pragma once

#include <cstdint>

// Sizes and fixed distances of the engine, in engine samples unless told.
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

// Level above which the first sample counts as audible.
constexpr double start_threshold = 0.0003;
// Output clamp.
constexpr double output_limit = 0.9999;
// Crossfade step of a read-out splice: 50 samples.
constexpr double splice_step = 0.02;
// The splice of the read-out while no period has been detected yet, when a
// source that stands still or runs ahead (time control) moves the writer
// away from the reader's fixed distance.
constexpr double unvoiced_splice = 960.0;

// Frame length in host samples while the effect has none set.
constexpr double default_samples_per_frame = 200.0;
// The range of a frame's periods while it holds none.
constexpr double no_min_period = 3000.0;
constexpr double no_max_period = -1.0;

// The detector. The coarse stage sees every eighth filtered sample and keeps
// a ring of them and the sums for its lags, in those decimated samples.
constexpr int64_t coarse_step = 8;
constexpr int64_t coarse_len = 500;
constexpr int64_t coarse_lags = 250;
// Half the widest window of the fine stage, in lags; it decides every fifth
// sample.
constexpr int32_t max_lag_half = 30;
constexpr int64_t decide_interval = 5;

// Notes of the Auto-mode table, and the bound that ends its upward walk.
constexpr int64_t max_targets = 78;
constexpr int64_t target_sentinel = 8388607;

// Entries of the vibrato's one-cycle table.
constexpr int64_t vib_table_size = 1000;

// The formant stage: filter sets kept for the audio still in the rings, the
// most taps of a filter (the synthesis tube's sections), and the samples
// between two analyses.
constexpr int32_t set_count = 30;
constexpr int32_t max_taps = 110;
constexpr int64_t analysis_interval = 128;

} // namespace engine
