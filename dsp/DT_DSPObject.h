#pragma once

#include "Common_VST3/smooth_functions.h"
#include "dsp/CV_DSPObject.h"

// Linear prediction over arrays of n entries. `a` receives the predictor
// (x[t] is predicted as the sum of a[j] * x[t - 1 - j]), `k` the reflection
// coefficients. levinson answers 0, or 1 for n below 1 plus 2 for a
// non-positive r[0], or 4 when a reflection coefficient reaches 1 in
// magnitude (an ill-conditioned analysis).
int levinson(int64_t n, const double* r, double* a, double* k, double* scratch);
void reflection_to_area(int64_t n, const double* k, double* area);
void area_to_reflection(int64_t n, double* k, const double* area);
void reflection_to_predictor(int64_t n, const double* k, double* a, double* scratch);

// The concrete engine: the formant stages around the pitch-changing ring.
// The pre-emphasised input is flattened by a linear-prediction inverse filter
// before the ring, and behind the read-out an all-pole filter of the same
// analysis puts the spectral envelope back where it was, so the voice keeps
// its vowels when its pitch moves. A change of the tube's length between the
// two filters gives "Throat Length".
//
// The analysis runs every 128 samples on the primary channel; thirty filter
// sets form a ring, as the audio a set flattened reaches the output 1380
// samples later, and the set of each ring position is remembered for it.
class DT_DSPObject : public CV_DSPObject {
public:
    explicit DT_DSPObject(int64_t block_limit = engine::max_block);
    ~DT_DSPObject() override;

    void reset() override;
    void set_sample_rate(double rate) override;

    void pre_emphasize(const double* ring, int64_t index, int channel) override;
    double de_emphasize(int channel, double x) override;
    void analyze_formants(const double* period_ring, int64_t index, int channel) override;
    double inverse_filter(int64_t index, int channel) override;
    double synthesis_filter(int64_t position, int channel, double x) override;
    // Any thread: the length of the synthesis tube over that of the analysis.
    void set_throat_ratio(double ratio) override;

    // Any thread: the parameter "Use Formants".
    void set_formants(bool on) { formants_on = on; }
    bool get_formants() const { return formants_on; }
    double get_throat_ratio() const { return throat_ratio; }
    int64_t get_lpc_order() const { return lpc_order; }
    int64_t get_lpc_failures() const { return lpc_failures; }
    int64_t get_warp_len() const { return warp_len; }
    // The predictor of the newest set, lpc_order entries.
    const double* get_analysis_coefficients() const { return analysis_coef[set_index]; }

    static constexpr int set_count = 30;
    static constexpr int max_taps = 110;
    // Coefficient of the first-order pre-emphasis and its inverse.
    static constexpr double default_emphasis = 0.9;

protected:
    // Sections of the synthesis tube for the present throat ratio; the
    // count, or the last count while the map is being rebuilt.
    int64_t warp_area();
    void roll_sets();

    double* pre_ring[max_channels];
    double emphasis = default_emphasis;
    double spectrum_emphasis = 0.0;
    double de_state[max_channels] = {0.0, 0.0};
    bool formants_on = true;

    int64_t analysis_count = -128;
    int32_t set_index = 0;
    int32_t prev_set_index = 0;
    double set_mix = 1.0;
    double (*analysis_coef)[max_taps];
    double (*synth_coef)[max_taps];
    int64_t synth_taps[set_count] = {};
    int32_t* set_ring;
    int32_t* prev_set_ring;
    double* mix_ring;
    double synth_history[max_channels][max_taps] = {};
    int32_t history_index = 0;
    double* work;
    int64_t work_len;
    double blend_coef[max_taps] = {};
    smooth_functions* corr_smoother;
    smooth_functions* area_smoother;
    double noise_factor = 1.00001;
    int64_t lpc_order = 40;
    int64_t lpc_failures = 0;

    double throat_ratio = 1.0;
    bool throat_busy = false;
    int64_t warp_len = 0;
    double warp_map[max_taps] = {};
    int64_t warp_count = 0;
    double area[max_taps] = {};
    double warped_area[max_taps] = {};
};
