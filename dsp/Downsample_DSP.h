#pragma once

#include <cstdint>

#include "dsp/Noise_Generator.h"

// Rate conversion around the engine's block loop. Host rates above 50 kHz are
// filtered down by an integer decimationFactor to the engine rate, processed by
// process_block, then zero-stuffed and filtered back up. The filter is one
// cascade of second-order sections with zeros on the unit circle, shared by
// the down and up paths, each of which keeps its own state.
class Downsample_DSP {
public:
    static constexpr int max_sections = 6;
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
    // derived from it.
    virtual void set_sample_rate(double rate) noexcept = 0;
    // Audio thread, once before each engine block.
    virtual void prepare_hook() noexcept = 0;
    // Audio thread. One block at the engine rate; frames <= max_block.
    virtual void process_block(const float* const* in, float* const* out, int64_t frames) noexcept = 0;

    // Audio thread. One host block of at most max_block frames. A block that
    // is empty, too long, or comes before a rate is set is copied unchanged.
    void process(const float* const* in, float* const* out, int64_t frames) noexcept;

    // The decimation factor used for a host rate: 1 up to 50 kHz, 2 up to
    // 100 kHz, 4 above. The engine rate then stays within 50 kHz.
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
    double down_y1[max_channels][max_sections], down_y2[max_channels][max_sections];
    double down_x1[max_channels][max_sections], down_x2[max_channels][max_sections];
    double up_y1[max_channels][max_sections], up_y2[max_channels][max_sections];
    double up_x1[max_channels][max_sections], up_x2[max_channels][max_sections];

    Noise_Generator noise;
};
