#pragma once

#include <cstdint>

#include "Common_VST3/biQuad_Filter.h"
#include "dsp/engine_constants.h"
#include "dsp/ring_index.h"

// The pitch shifter: the rings of the engine and the read-out that changes
// pitch in the time domain. The input, the control values (period, held
// period, correction ratio) and the read ring share one write index. The
// residual of the formant stage is delayed through the residual ring and
// the read ring, which the anti-alias filters low-pass while the read-out
// runs faster than the write. The read-out reads the read ring at the
// correction ratio; when it catches the writer, or falls more than 1.2
// periods behind its closest distance, it jumps by one detected period and
// crossfades over 50 samples, so each splice is pitch-synchronous.
//
// All rings are allocated by the constructor; afterwards nothing here
// allocates. An object belongs to its engine's owner thread.
class pitch_shifter {
public:
    static constexpr int max_channels = 2;

    pitch_shifter();
    ~pitch_shifter();
    pitch_shifter(const pitch_shifter&) = delete;
    pitch_shifter& operator=(const pitch_shifter&) = delete;

    // The engine rate in Hz, for the anti-alias filters.
    void set_rate(double engine_rate) noexcept;
    // Every ring to silence (the ratio ring to 1.0), the read-out at its
    // fixed distance behind the writer, the filters passing.
    void reset() noexcept;

    // Audio thread, per source sample, in this order: advance, store_input,
    // store_controls, store_residual for each channel, take_read_controls,
    // filter_read_ring.

    // Moves every write position on by one sample; the read positions follow
    // the wrap of the write index.
    void advance() noexcept
    {
        write_index = engine::ring_next(write_index, engine::ring_len);
        if (write_index == 0) {
            read_pos -= double(engine::ring_len);
            old_read_pos -= double(engine::ring_len);
        }
        delayed_index = engine::ring_next(delayed_index, engine::ring_len);
        residual_index = engine::ring_next(residual_index, engine::residual_len);
    }
    void store_input(double primary, double secondary) noexcept
    {
        input_ring[0][write_index] = primary;
        input_ring[1][write_index] = secondary;
    }
    // The detector's period and held period, and the correction ratio that
    // the read-out will apply to this sample.
    void store_controls(double period, double held_period, double ratio) noexcept
    {
        period_ring[write_index] = period;
        held_period_ring[write_index] = held_period;
        ratio_ring[write_index] = ratio;
    }
    // The residual of the newest sample; the read ring takes the one
    // engine::residual_delay samples older.
    void store_residual(int channel, double residual) noexcept
    {
        const int64_t old = engine::ring_back(residual_index, engine::residual_delay, engine::residual_len);
        residual_ring[channel][residual_index] = residual;
        read_ring[channel][write_index] = residual_ring[channel][old];
    }
    // The period and ratio of the read-out: those of the sample reaching it,
    // else those of the newest sample, else the held period. Answers true in
    // the last case: both ends are unvoiced.
    bool take_read_controls() noexcept
    {
        if (period_ring[delayed_index] != 0.0) {
            read_period = period_ring[delayed_index];
            read_ratio = ratio_ring[delayed_index];
            return false;
        }
        if (period_ring[write_index] != 0.0) {
            read_period = period_ring[write_index];
            read_ratio = ratio_ring[write_index];
            return false;
        }
        read_period = held_period_ring[delayed_index];
        read_ratio = ratio_ring[delayed_index];
        return true;
    }
    // The anti-alias filters over the newest read ring entries; with `bypass`
    // their output is not written back.
    void filter_read_ring(int channels, bool bypass) noexcept
    {
        for (int c = 0; c < channels; ++c) {
            const double filtered =
                anti_alias[2 * c + 1].process(anti_alias[2 * c].process(read_ring[c][write_index]));
            if (!bypass) read_ring[c][write_index] = filtered;
        }
    }

    // Audio thread, per output sample: moves the read-out on (at a ratio of
    // 1.0 with `bypass`) and interpolates `channels` samples into `sample`.
    // Returns the ring position of the residual's synthesis filter set.
    int64_t read_out(bool bypass, int channels, double* sample) noexcept;

    // Audio thread, at each decision: the speed of the read-out over that of
    // the write. Beyond a dead band of 10% around the last ratio set, above
    // 1.0 the anti-alias filters cut the band that would pass the half rate,
    // below it they pass.
    void check_anti_alias(double ratio) noexcept;

    const double* input(int channel) const noexcept { return input_ring[channel]; }
    const double* periods() const noexcept { return period_ring; }
    int64_t newest() const noexcept { return write_index; }
    // A period was detected for the sample now at the read-out.
    bool voiced_at_output() const noexcept { return period_ring[delayed_index] != 0.0; }
    double get_filter_ratio() const noexcept { return filter_ratio; }

private:
    double* input_ring[max_channels];
    double* period_ring;
    double* held_period_ring;
    double* ratio_ring;
    double* residual_ring[max_channels];
    double* read_ring[max_channels];

    int64_t write_index = 0;
    int64_t delayed_index = 0;
    int64_t residual_index = 0;

    // Read-out, in ring positions; pulled back by ring_len at each wrap of
    // the write index, so they may be negative.
    double read_pos = 0.0;
    double old_read_pos = 0.0;
    double splice_mix = 1.0;
    double read_period = 0.0;
    double read_ratio = 1.0;

    double rate = 0.0;
    double filter_ratio = 1.0;
    biQuad_Filter anti_alias[2 * max_channels];
};
