#include "pitchtrack/Pitch_Track.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace pitchtrack {

namespace {

constexpr double kA4Hz = 440.0;
constexpr double kA4Note = 69.0;
constexpr int kPitchClasses = 12;

bool within(const Pitch_Frame& frame, double from_s, double to_s)
{
    return frame.time_s >= from_s && frame.time_s < to_s;
}

} // namespace

double hz_to_midi(double hz)
{
    return kA4Note + 12.0 * std::log2(hz / kA4Hz);
}

double midi_to_hz(double note)
{
    return kA4Hz * std::exp2((note - kA4Note) / 12.0);
}

double cents_between(double hz, double reference_hz)
{
    return 1200.0 * std::log2(hz / reference_hz);
}

double median_hz(const std::vector<Pitch_Frame>& track, double from_s, double to_s)
{
    std::vector<double> voiced;
    for (const auto& frame : track) {
        if (frame.voiced() && within(frame, from_s, to_s)) voiced.push_back(frame.hz);
    }
    if (voiced.empty()) return 0.0;
    const size_t middle = voiced.size() / 2;
    std::nth_element(voiced.begin(), voiced.begin() + long(middle), voiced.end());
    const double upper = voiced[middle];
    if (voiced.size() % 2 == 1) return upper;
    const double lower = *std::max_element(voiced.begin(), voiced.begin() + long(middle));
    // Between two pitches, the middle in cents.
    return std::sqrt(lower * upper);
}

double voiced_fraction(const std::vector<Pitch_Frame>& track, double from_s, double to_s)
{
    size_t frames = 0, voiced = 0;
    for (const auto& frame : track) {
        if (!within(frame, from_s, to_s)) continue;
        ++frames;
        if (frame.voiced()) ++voiced;
    }
    return frames == 0 ? 0.0 : double(voiced) / double(frames);
}

std::vector<Scale_Deviation> deviations_from_scale(const std::vector<Pitch_Frame>& track,
                                                   const std::vector<int>& pitch_classes)
{
    if (pitch_classes.empty()) throw std::invalid_argument("deviations_from_scale: no pitch class allowed");
    bool allowed[kPitchClasses] = {};
    for (int pc : pitch_classes) {
        if (pc < 0 || pc >= kPitchClasses)
            throw std::invalid_argument("deviations_from_scale: pitch classes run from 0 to 11");
        allowed[pc] = true;
    }
    std::vector<Scale_Deviation> deviations;
    for (const auto& frame : track) {
        if (!frame.voiced()) continue;
        const double note = hz_to_midi(frame.hz);
        // The nearest allowed note lies within six semitones either way.
        int best = 0;
        double best_distance = 1e9;
        const int centre = int(std::lround(note));
        for (int n = centre - kPitchClasses / 2; n <= centre + kPitchClasses / 2; ++n) {
            const int pc = ((n % kPitchClasses) + kPitchClasses) % kPitchClasses;
            if (!allowed[pc]) continue;
            const double distance = std::fabs(note - double(n));
            if (distance < best_distance) {
                best_distance = distance;
                best = n;
            }
        }
        deviations.push_back({frame.time_s, best, 100.0 * (note - double(best))});
    }
    return deviations;
}

} // namespace pitchtrack
