#include "dsp/note_targets.h"

#include <algorithm>

void note_targets::set_explicit(int64_t count, const int64_t* periods, const int64_t* bounds,
                                const int64_t* octaves) noexcept
{
    count = std::clamp<int64_t>(count, 0, engine::max_targets);
    explicit_targets = true;
    target_count = count;
    for (int64_t i = 0; i < count; ++i) {
        target_period[i] = periods[i];
        target_bound[i] = bounds[i];
        target_octaves[i] = octaves[i];
    }
    target_bound[count] = engine::target_sentinel;
    target_ready = false;
}

void note_targets::set_octave(int64_t count, const int64_t* periods, const int64_t* bounds,
                              double table_scale) noexcept
{
    count = std::clamp<int64_t>(count, 0, engine::max_targets);
    explicit_targets = false;
    target_count = count;
    octave_table_scale = table_scale;
    for (int64_t i = 0; i < count; ++i) {
        target_period[i] = periods[i];
        target_bound[i] = bounds[i];
        target_octaves[i] = 0;
    }
    target_bound[count] = count > 0 ? bounds[count] : engine::target_sentinel;
    target_ready = false;
}

void note_targets::reset() noexcept
{
    target_ready = false;
    target_index = 0;
    octave_fold = 1.0;
}

note_targets::found note_targets::search(double period, double period_scale, double slow_ratio) noexcept
{
    return explicit_targets ? search_explicit(period, period_scale, slow_ratio)
                            : search_folded(period, slow_ratio);
}

note_targets::found note_targets::search_explicit(double period, double period_scale,
                                                  double slow_ratio) noexcept
{
    const bool restarted = !target_ready;
    if (restarted) {
        target_ready = true;
        target_index = target_count / 2;
    }
    const int64_t v = int64_t(period * period_scale * slow_ratio * 64.0);
    while (v > target_bound[target_index + 1]) ++target_index; // the sentinel stops it
    while (target_index > 0 && v < target_bound[target_index]) --target_index;
    const int64_t t = target_period[target_index];
    if (t == 0) return {1.0, target_index, restarted};
    double p = period;
    for (int64_t o = 0; o < target_octaves[target_index]; ++o) p *= 2.0;
    return {double(int64_t(p * period_scale * 64.0)) / double(t), target_index, restarted};
}

note_targets::found note_targets::search_folded(double period, double slow_ratio) noexcept
{
    const bool restarted = !target_ready;
    if (restarted) {
        target_ready = true;
        target_index = 0;
        octave_fold = 1.0;
        int64_t v = int64_t(octave_table_scale * period * slow_ratio);
        while (v > 0 && v < target_bound[1]) {
            v *= 2;
            octave_fold *= 2.0;
        }
    }
    int64_t v = int64_t(octave_table_scale * period * slow_ratio * octave_fold);
    if (v <= 0) return {1.0, -1, restarted};
    while (v > target_bound[target_index + 1]) {
        if (++target_index == target_count) {
            target_index = 0;
            octave_fold *= 0.5;
            v >>= 1;
        }
    }
    while (v < target_bound[target_index]) {
        if (--target_index < 0) {
            target_index = target_count - 1;
            octave_fold *= 2.0;
            v *= 2;
        }
    }
    const int64_t t = target_period[target_index];
    // The note was picked on the smoothed period; the ratio corrects the real
    // one.
    const double ratio = t == 0 ? 1.0 : double(v) / (double(t) * slow_ratio);
    return {ratio, target_index, restarted};
}
