#pragma once

#include <cmath>
#include <cstdint>

#include "dsp/Noise_Generator.h"
#include "dsp/cascade_kernels.h"

// Rate conversion around the engine's block loop. Host rates above 50 kHz are
// filtered down by an integer decimationFactor to the engine rate, processed by
// process_block, then zero-stuffed and filtered back up. The filter is one
// cascade of second-order sections with zeros on the unit circle, shared by
// the down and up paths, each of which keeps its own state.
class Downsample_DSP {
public:
    static constexpr int max_sections = cascade_kernels::max_sections;
    static constexpr int max_channels = 2;

    // Interface thread. Allocates the work buffers for blocks of up to
    // block_limit host frames.
    explicit Downsample_DSP(int64_t block_limit);
    virtual ~Downsample_DSP();

    Downsample_DSP(const Downsample_DSP&) = delete;
    Downsample_DSP& operator=(const Downsample_DSP&) = delete;

    // Interface thread, while inactive. Clears the filter state and phase,
    // and restarts the noise from its seed: a reset engine renders as a new
    // one.
    virtual void reset() noexcept;
    // Interface thread, while inactive. Sets the host rate and everything
    // derived from it; a rate the engine does not serve leaves it copying
    // its input.
    virtual void set_sample_rate(double rate) noexcept = 0;
    // Audio thread, once before each engine block.
    virtual void prepare_hook() noexcept = 0;
    // Audio thread. One block at the engine rate; frames <= max_block.
    virtual void process_block(const float* const* in, float* const* out, int64_t frames) noexcept = 0;

    // Audio thread. One host block of at most max_block frames. A block that
    // is empty, too long, or comes before a rate is set is copied unchanged.
    // Input samples that are not finite count as silence, so one bad sample
    // from upstream costs no more than the latency; should the engine's
    // output ever be non-finite all the same, the block is silenced and the
    // engine reset, so that it never stays broken.
    void process(const float* const* in, float* const* out, int64_t frames) noexcept;

    // The input sample the engine takes for `x`: 0 for NaN and infinities,
    // and at most input_limit (+60 dBFS) in size, beyond which sums of
    // squares in the analysis would leave the range of a float.
    static constexpr double input_limit = 1000.0;
    static double taken_input(double x) noexcept
    {
        if (std::fabs(x) <= input_limit) return x;
        return std::isfinite(x) ? std::copysign(input_limit, x) : 0.0;
    }

    // The host rates the engine serves, in Hz. Below, the detector's filters
    // have no room under the Nyquist frequency; above, the engine rate would
    // leave the range its rings are sized for.
    static constexpr double min_host_rate = 8000.0;
    static constexpr double max_host_rate = 384000.0;
    static bool serves_rate(double host_rate) noexcept
    {
        return host_rate >= min_host_rate && host_rate <= max_host_rate; // false for NaN
    }

    // The decimation factor used for a host rate: 1 up to 50 kHz, 2 up to
    // 100 kHz, 4 up to 200 kHz, 8 above. The engine rate then stays within
    // 50 kHz.
    static int64_t decimation_for_rate(double host_rate);

    // Interface thread, while inactive. Sets the channel layout of the next
    // blocks.
    void set_channels(bool stereo_input, bool stereo_output) noexcept;

    int64_t get_max_block() const { return max_block; }
    int64_t get_decimation_factor() const { return decimationFactor; }
    double get_sample_rate() const { return sample_rate; }
    double engine_rate() const { return sample_rate / double(decimationFactor); }

    // Response of the decimation filter designed for a host rate, one pass:
    // magnitude in dB and group delay in host samples at a frequency. Zero
    // delay and 0 dB where the rate needs no decimation.
    static double decimation_magnitude_db(double host_rate, double freq_hz);
    static double decimation_group_delay(double host_rate, double freq_hz);

    struct Section {
        double b0, b1, b2, a0, a1, a2;
    };

protected:
    // Audio thread, after each block: a block with a non-finite sample is
    // silenced and the engine reset.
    void silence_if_broken(float* const* out, int64_t frames) noexcept;

    // Interface thread, while inactive. Stores the host rate, picks
    // decimationFactor, designs the decimation filter for it and clears the
    // filter state. Concrete engines call this first in their
    // set_sample_rate.
    void configure_rate(double host_rate) noexcept;

    int64_t max_block;
    float* work_a[max_channels];
    float* work_b[max_channels];
    double sample_rate = 0.0;
    int64_t decimationFactor = 1;
    int64_t phase = 0;
    bool stereo_in = true;
    bool stereo_out = true;
    Section section_coef[max_sections];
    int32_t section_count = 0;
    double section_gain = 1.0;
    // The sections as the cascade runs them, and the level that runs them:
    // the one chosen for this processor, unless a test sets another.
    cascade_kernels::sections cascade;
    cascade_kernels::function cascade_run;
    double down_y1[max_channels][max_sections], down_y2[max_channels][max_sections];
    double down_x1[max_channels][max_sections], down_x2[max_channels][max_sections];
    double up_y1[max_channels][max_sections], up_y2[max_channels][max_sections];
    double up_x1[max_channels][max_sections], up_x2[max_channels][max_sections];

    Noise_Generator noise;
};
