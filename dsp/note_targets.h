#pragma once

#include <cstdint>

#include "dsp/engine_constants.h"

// The target source of Auto mode: a table of note periods with the bounds
// between them, and the walk that finds the note of a detected period. In
// the explicit form the table spans the whole keyboard, each note with the
// octaves it lies above the detector's range; in the one-octave form the
// period is folded into the table's octave by powers of two.
//
// An object belongs to its engine's owner thread; nothing here allocates.
class note_targets {
public:
    // What a search found.
    struct found {
        // Present period over the note's period; 1.0 for a note that is not
        // corrected.
        double ratio;
        // The note's index in the table, or -1 where no note was picked.
        int64_t note;
        // The search started afresh for a new lock or table.
        bool restarted;
    };

    // The explicit form: `count` notes (at most engine::max_targets) in
    // rising order of period, their periods (0 for a note that is not
    // corrected) and `count` + 1 bounds, in host samples times 64, and how
    // many octaves each note lies above the detector's range.
    void set_explicit(int64_t count, const int64_t* periods, const int64_t* bounds,
                      const int64_t* octaves) noexcept;
    // The one-octave form: periods and `count` + 1 bounds of one octave,
    // rising, in engine samples times `table_scale`.
    void set_octave(int64_t count, const int64_t* periods, const int64_t* bounds,
                    double table_scale) noexcept;
    // The next search starts afresh.
    void reset() noexcept;

    int64_t get_target_count() const noexcept { return target_count; }

    // Audio thread. The note of a detected period (engine samples). In the
    // explicit form `period_scale` turns engine samples into host samples;
    // `slow_ratio` moves the period the note is picked by.
    found search(double period, double period_scale, double slow_ratio) noexcept;

private:
    found search_explicit(double period, double period_scale, double slow_ratio) noexcept;
    found search_folded(double period, double slow_ratio) noexcept;

    int64_t target_count = 0;
    bool explicit_targets = true;
    int64_t target_period[engine::max_targets] = {};
    int64_t target_bound[engine::max_targets + 1] = {};
    int64_t target_octaves[engine::max_targets] = {};
    bool target_ready = false;
    int64_t target_index = 0;
    double octave_fold = 1.0;
    double octave_table_scale = 1.0;
};
