#pragma once

#include <cstdint>

#include "Common_VST3/smooth_functions.h"
#include "dsp/engine_constants.h"
#include "dsp/ring_index.h"

// Linear prediction over arrays of n entries, and the lossless tube it
// describes. `a` is the predictor (x[t] is predicted as the sum of
// a[j] * x[t - 1 - j]), `k` the reflection coefficients, `area` the tube's
// section areas relative to the first. None of them allocates.

// The Levinson recursion from the autocorrelation r[0 .. n]: the reflection
// coefficients k and, unless `a` is null, the predictor. Answers 0, or 1 for
// n below 1 or above engine::max_taps plus 2 for a non-positive r[0], or 4
// when a reflection coefficient reaches 1 in magnitude (an ill-conditioned
// analysis).
int levinson(int64_t n, const double* r, double* a, double* k, double* scratch) noexcept;
void reflection_to_area(int64_t n, const double* k, double* area) noexcept;
void area_to_reflection(int64_t n, double* k, const double* area) noexcept;
void reflection_to_predictor(int64_t n, const double* k, double* a, double* scratch) noexcept;

// The formant stage around the pitch shifter's rings. The input is
// pre-emphasised and flattened by a linear-prediction inverse filter before
// the rings; behind the read-out an all-pole synthesis filter of the same
// analysis puts the spectral envelope back where it was, and a
// de-emphasis undoes the first step, so the voice keeps its vowels when its
// pitch moves. A change of the tube's length between the two filters gives
// "Throat Length".
//
// The analysis runs every 128 samples on the primary channel. Thirty filter
// sets form a ring, as the audio a set flattened reaches the output 1380
// samples later; the set of each ring position is remembered for it, and a
// new set fades in over 10 samples.
//
// The filters run as dot products through the vector kernels: the emphasised
// ring and the synthesis history are mirrored (entry i + length equal to
// entry i), so the samples a filter reads lie in one piece, and each set's
// coefficients are kept reversed and right-aligned (coefficient j of the
// sample j + 1 back at entry engine::max_taps - 1 - j), so that they run
// forward beside them.
//
// All buffers are allocated by the constructor; afterwards nothing here
// allocates. An object belongs to its engine's owner thread.
class formant_stage {
public:
    static constexpr int max_channels = 2;
    // Coefficient of the first-order pre-emphasis and its inverse.
    static constexpr double default_emphasis = 0.9;

    formant_stage();
    ~formant_stage();
    formant_stage(const formant_stage&) = delete;
    formant_stage& operator=(const formant_stage&) = delete;

    // The engine rate in Hz: the prediction order, and the throat map for it.
    void set_rate(double engine_rate) noexcept;
    // Every ring, filter set and history to zero: a straight pass.
    void reset() noexcept;
    // "Use Formants". Off, new sets arrive empty and the last ones fade out.
    void set_enabled(bool on) noexcept { formants_on = on; }
    // The length of the synthesis tube over that of the analysis.
    void set_throat_ratio(double ratio) noexcept;

    bool is_enabled() const noexcept { return formants_on; }
    double get_throat_ratio() const noexcept { return throat_ratio; }
    // Sections of the synthesis tube for the present throat ratio.
    int64_t get_warp_len() const noexcept { return warp_len; }

    // Audio thread, per sample. The emphasised input at `index` of `ring`
    // (engine::ring_len long), kept in this stage's own ring.
    void pre_emphasize(const double* ring, int64_t index, int channel) noexcept
    {
        const int64_t previous = engine::ring_back(index, 1, engine::ring_len);
        pre_ring[channel][index] = pre_ring[channel][index + engine::ring_len] = ring[index] - emphasis * ring[previous];
    }
    // Audio thread, per output sample: the inverse of pre_emphasize.
    double de_emphasize(int channel, double x) noexcept
    {
        de_state[channel] = x + emphasis * de_state[channel];
        return de_state[channel];
    }
    // Audio thread, per sample after pre_emphasize, on the primary channel.
    // Every 128th sample analyses the newest audio, pitch-synchronously with
    // the detector's `period` and `last_period` when there are some (the
    // period ring gives the period at each past sample). The filter set in
    // use is remembered for ring position `index`. With `bypass` the
    // synthesis tube keeps the analysis' length.
    // Here, so that the samples between analyses cost no call.
    void analyze_formants(const double* period_ring, int64_t index, int channel, double period,
                          double last_period, bool bypass) noexcept
    {
        if (analysis_count++ == 0) {
            analysis_count = -engine::analysis_interval;
            analyze(period_ring, index, channel, period, last_period, bypass);
        }
        if (set_mix < 1.0) set_mix = set_mix + 0.1 < 1.0 ? set_mix + 0.1 : 1.0;
        set_ring[index] = set_index;
        prev_set_ring[index] = prev_set_index;
        mix_ring[index] = set_mix;
    }
    // Audio thread. The residual of the sample engine::residual_delay before
    // `index`.
    double inverse_filter(int64_t index, int channel) noexcept;
    // Audio thread. The output sample `x` through the synthesis filter of
    // the set remembered at ring position `position`.
    double synthesis_filter(int64_t position, int channel, double x) noexcept;

private:
    // The analysis of an analysis sample: a new filter set, or with
    // formants off an empty one.
    void analyze(const double* period_ring, int64_t index, int channel, double period, double last_period,
                 bool bypass) noexcept;
    // Sections of the synthesis tube: the analysis' areas warped to the
    // throat ratio, or as they are with `bypass`.
    int64_t warp_area(bool bypass) noexcept;
    // The number of times the analysis segment (work[0 .. len), closing on
    // itself, with its circular correlation r[0 .. lpc_order]) repeats
    // within the detector's period p: 1 when it does not.
    int64_t harmonic_divisor(const double* r, int64_t len, double p) const noexcept;
    void roll_sets() noexcept;

    double rate = 0.0;
    // Mirrored: 2 * engine::ring_len entries.
    double* pre_ring[max_channels];
    double emphasis = default_emphasis;
    // Coefficient of the extra first difference inside the analysis.
    double spectrum_emphasis = 0.0;
    double de_state[max_channels] = {0.0, 0.0};
    bool formants_on = true;

    int64_t analysis_count = -engine::analysis_interval;
    int32_t set_index = 0;
    int32_t prev_set_index = 0;
    double set_mix = 1.0;
    // Reversed and right-aligned, as told above.
    double (*analysis_coef)[engine::max_taps];
    double (*synth_coef)[engine::max_taps];
    int64_t synth_taps[engine::set_count] = {};
    // Whether a set holds an analysis; an empty one passes the sample.
    bool analysis_filled[engine::set_count] = {};
    int32_t* set_ring;
    int32_t* prev_set_ring;
    double* mix_ring;
    // Mirrored: entry h + engine::max_taps equal to entry h.
    double synth_history[max_channels][2 * engine::max_taps] = {};
    int32_t history_index = 0;
    double* work;
    // Coefficients mixed during a fade, laid out as the sets.
    double blend_coef[engine::max_taps] = {};
    smooth_functions corr_smoother;
    smooth_functions area_smoother;
    // Applied to lag 0 of the autocorrelation: a floor of white noise.
    double noise_factor = 1.00001;
    int64_t lpc_order = 40;

    double throat_ratio = 1.0;
    int64_t warp_len = 0;
    double warp_map[engine::max_taps] = {};
    double area[engine::max_taps] = {};
    double warped_area[engine::max_taps] = {};
};
