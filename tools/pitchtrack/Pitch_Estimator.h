#pragma once

// A YIN pitch estimator for the tools and the tests: the squared difference
// function, its cumulative mean normalisation, the absolute threshold and a
// parabolic refinement of the chosen lag, with a voicing decision from the
// depth of the dip and the level of the frame. It is written apart from the
// plug-in's own detector and shares nothing with it, so that it can judge
// what the plug-in does.

#include <complex>
#include <cstddef>
#include <vector>

namespace pitchtrack {

struct Estimator_Settings {
    double hop_s = 0.005;            // time between frames
    double min_hz = 50.0;            // lowest fundamental searched
    double max_hz = 1500.0;          // highest fundamental searched
    double threshold = 0.1;          // the first dip of the normalised difference below this (and near
                                     // the deepest dip) is the period
    double voicing_threshold = 0.3;  // frames whose dip stays above this are unvoiced
    double silence_db = -55.0;       // frames quieter than this (RMS, dB of full scale) are unvoiced
};

struct Pitch_Frame {
    double time_s;        // seconds from the first sample
    double hz;            // fundamental; 0 when unvoiced
    double aperiodicity;  // depth of the chosen dip, 0 (periodic) to about 1 (noise)

    bool voiced() const { return hz > 0.0; }
};

class Pitch_Estimator {
public:
    // Throws std::invalid_argument for a rate, hop or range it cannot work
    // with (the range must lie within 0 < min_hz < max_hz <= rate / 4).
    Pitch_Estimator(double sample_rate, const Estimator_Settings& settings = {});

    // One frame every hop from time 0 to the end of the signal. The frame at
    // time t compares the window of one longest period centred on t with
    // itself shifted later by each lag, so its estimate sits about half a
    // period after t. Samples outside the signal count as silence; frames
    // holding a non-finite sample are unvoiced, and so are frames across an
    // onset or the end of a note, whose level changes by more than about
    // 1 dB within one period.
    std::vector<Pitch_Frame> track(const float* samples, size_t count);
    std::vector<Pitch_Frame> track(const std::vector<float>& samples);

    // The lags searched, in samples.
    size_t shortest_lag() const { return min_lag; }
    size_t longest_lag() const { return max_lag; }
    size_t window_length() const { return window; }

private:
    Pitch_Frame analyse(const float* samples, size_t count, long start);
    void transform(bool inverse);

    double rate;
    Estimator_Settings settings;
    size_t min_lag;
    size_t max_lag;
    size_t window;
    size_t fft_size;
    // Work areas sized at construction.
    std::vector<std::complex<double>> spectrum;
    std::vector<std::complex<double>> twiddle;
    std::vector<size_t> reversed;
    std::vector<double> segment;
    std::vector<double> difference;
    std::vector<double> normalised;
    std::vector<double> shifted_energy;
};

} // namespace pitchtrack
