#pragma once

#include "dsp/CV_DSPObject.h"

// The concrete engine: pre-emphasis before the rings and de-emphasis after the
// read-out. The inverse filter works on the sample residual_delay back, which
// is part of the engine's fixed delay. Until a formant analysis supplies
// filter coefficients, the inverse and synthesis filters have no taps and pass
// the sample unchanged.
class DT_DSPObject : public CV_DSPObject {
public:
    explicit DT_DSPObject(int64_t block_limit = engine::max_block);
    ~DT_DSPObject() override;

    void reset() override;

    void pre_emphasize(const double* ring, int64_t index, int channel) override;
    double de_emphasize(int channel, double x) override;
    void analyze_formants(const double* period_ring, int64_t index, int channel) override;
    double inverse_filter(int64_t index, int channel) override;
    double synthesis_filter(int64_t position, int channel, double x) override;
    void set_throat_ratio(double ratio) override;

    // Any thread: the parameter "Use Formants".
    void set_formants(bool on) { formants_on = on; }
    bool get_formants() const { return formants_on; }
    double get_throat_ratio() const { return throat_ratio; }

    // Coefficient of the first-order pre-emphasis and its inverse.
    static constexpr double default_emphasis = 0.9;

protected:
    double* pre_ring[max_channels];
    double emphasis = default_emphasis;
    double de_state[max_channels] = {0.0, 0.0};
    double throat_ratio = 1.0;
    bool formants_on = true;
};
