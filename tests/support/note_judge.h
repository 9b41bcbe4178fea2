#pragma once

// How a corrected voice sits on the notes, frame by frame, as the
// independent estimator of the tools hears it. For every frame in which the
// estimator hears the input at the true pitch the voice was sung at (within
// a semitone), the expected pitch is the equal-tempered note (A4 = 440 Hz)
// nearest to that true pitch; the output of the same moment, its latency
// removed, is measured against it. Frames where the estimator mishears the
// input itself (an octave off in a fast glide) judge nothing.

#include <cmath>
#include <cstddef>
#include <vector>

#include "pitchtrack/Pitch_Estimator.h"

namespace test_pitch {

struct Note_Judgement {
    int voiced_in = 0;   // frames with a voiced input heard at its true pitch
    int voiced_out = 0;  // of those, frames whose output is voiced too
    int off_note = 0;    // of those, outputs a semitone or more from the note
    // The output frame farthest from its note.
    double worst_cents = 0.0;
    double worst_time_s = 0.0;
    double worst_in_hz = 0.0;  // the true pitch of the input there
    double worst_out_hz = 0.0;
};

// `x` the input, sung at `true_hz` per sample (0 where silent), `y` the
// output, which lags it by `latency` samples.
inline Note_Judgement judge_notes(const std::vector<float>& x, const std::vector<double>& true_hz,
                                  const std::vector<float>& y, size_t latency, double rate)
{
    Note_Judgement j;
    if (y.size() <= latency) return j;
    pitchtrack::Pitch_Estimator estimator(rate);
    const auto in = estimator.track(x);
    const auto out = estimator.track(y.data() + latency, y.size() - latency);
    for (size_t k = 0; k < in.size() && k < out.size(); ++k) {
        const size_t at = size_t(in[k].time_s * rate + 0.5);
        if (!in[k].voiced() || at >= true_hz.size() || true_hz[at] <= 0.0) continue;
        if (std::fabs(1200.0 * std::log2(in[k].hz / true_hz[at])) >= 100.0) continue;
        ++j.voiced_in;
        if (!out[k].voiced()) continue;
        ++j.voiced_out;
        // Within 15 cents of the midpoint between two notes either is the
        // right one, and the output is measured against the nearer.
        const double sung = 12.0 * std::log2(true_hz[at] / 440.0);
        const double heard = 1200.0 * std::log2(out[k].hz / 440.0);
        double off = heard - 100.0 * std::round(sung);
        const double below = std::floor(sung);
        if (std::fabs(sung - below - 0.5) < 0.15) {
            const double off_below = heard - 100.0 * below;
            const double off_above = off_below - 100.0;
            off = std::fabs(off_below) < std::fabs(off_above) ? off_below : off_above;
        }
        if (std::fabs(off) >= 100.0) ++j.off_note;
        if (std::fabs(off) > std::fabs(j.worst_cents)) {
            j.worst_cents = off;
            j.worst_time_s = in[k].time_s;
            j.worst_in_hz = true_hz[at];
            j.worst_out_hz = out[k].hz;
        }
    }
    return j;
}

} // namespace test_pitch
