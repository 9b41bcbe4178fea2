#pragma once

#include <cstdint>
#include <memory>

#include "Common_VST3/biQuad_Filter.h"
#include "dsp/engine_constants.h"
#include "dsp/ring_index.h"

// Kinds of input, in the order of the list of the parameter "Input type".
// Each sets the detector's pre-filters; a bass instrument may lock on a
// single dip.
enum class input_type : int32_t { soprano, alto_tenor, low_male, instrument, bass_instrument };

// The period of the primary input, in fractional engine samples. While no
// pitch is held a coarse stage searches every eighth sample of a filtered
// copy for up to three dips of the normalised difference function; once
// locked a fine stage keeps running sums for a narrow window of lags around
// the period on the unfiltered input ring, moves the window with the pitch
// and refines the minimum by a parabola every fifth sample. A short period,
// once its lock holds, is followed over several whole periods and divided
// back, so that a decision averages the jitter of several cycles, until the
// pitch moves. Both measure
// f(L) = 0.5 E(L) - H(L): E the energy of the last 2L samples, H the
// correlation of the last L samples with the L before them. The fine stage
// runs H for every lag of its window but E for the first lag only, and
// derives the others at each decision, as E(L + 1) is E(L) and two samples
// more.
//
// The detector keeps its own copy of the input it is fed, at the positions
// of the engine's input ring, laid out as an engine::past_ring: the samples
// k and 2k back of each window of lags lie in one piece and run through the
// vector kernels. The coarse stage's ring is laid out the same way.
//
// The constructor allocates that copy (interface thread); afterwards nothing
// here allocates. An object belongs to its engine's owner thread.
class pitch_detector {
public:
    // What one sample did, for the engine to act on.
    enum class outcome {
        none,
        // The coarse stage started a new search.
        cleared,
        // A decision gave a new period.
        decided,
        // The lock is lost: get_period() is 0.0 again.
        lost,
    };

    pitch_detector();
    // The copy's layout points into the object itself.
    pitch_detector(const pitch_detector&) = delete;
    pitch_detector& operator=(const pitch_detector&) = delete;

    // The engine rate in Hz: the width of the fine window and the
    // pre-filters' designs.
    void set_rate(double engine_rate) noexcept;
    // "Tracking", 0 (only clean, clearly periodic sound locks) to 100
    // (breathy and rough voices lock too), and the kind of input.
    void set_tracking(double tracking, input_type type) noexcept;
    // Unlocked, with every sum and filter state cleared.
    void reset() noexcept;

    // Audio thread. One input sample `x` at position `newest` of the
    // engine's input ring (engine::ring_len long); the detector keeps its
    // own copy of the samples it is fed, at the same positions.
    outcome process(double x, int64_t newest) noexcept
    {
        past.store(newest, x);
        double filtered = pre_filter[1].process(pre_filter[0].process(x));
        if (third_filter_on) filtered = pre_filter[2].process(filtered);
        if (!searching) return fine_update(newest);
        if (newest % engine::coarse_step != 0) return outcome::none;
        return search(filtered, newest);
    }

    // Detected period, 0.0 while unvoiced; the last nonzero one, kept.
    double get_period() const noexcept { return period; }
    double get_last_period() const noexcept { return last_period; }
    bool is_searching() const noexcept { return searching; }

private:
    // A coarse step while searching, and the fine stage armed if it found a
    // start lag.
    outcome search(double filtered, int64_t newest) noexcept;
    // One filtered sample of the coarse stage: a start lag, or 0.
    int64_t coarse_update(double x) noexcept;
    // Arms the fine stage at a start lag, if the signal is loud enough.
    void fine_start(int64_t lag, int64_t newest) noexcept;
    // Sets the window at base lag `lag` and fills its sums from the input;
    // false, unarmed, if the window does not fit or the signal is too quiet.
    bool arm(int64_t lag, int64_t newest) noexcept;
    // A sample of the fine stage: a decision every engine::decide_interval
    // samples. Here, so that the samples between decisions cost no call.
    outcome fine_update(int64_t newest) noexcept
    {
        ++pending;
        if (++decide_count != engine::decide_interval) return outcome::none;
        decide_count = 0;
        return decide(newest);
    }
    // Brings the window's sums up to the newest sample and fills its
    // energies; the first lag of the window with the least value of f.
    int64_t step_window(int64_t newest) noexcept;
    outcome decide(int64_t newest) noexcept;
    // After a decision of a new lock, with the normalised depth of its dip
    // (0 for a signal that repeats exactly): widens the window of a short
    // period to several periods once.
    outcome widen(int64_t newest, double depth) noexcept;
    // After a decision of a widened window: keeps it while the pitch holds.
    outcome hold_widened(int64_t newest) noexcept;
    // The sum over `lag` products of the samples i and i + lag back, from
    // the newest at `newest`; 2 * lag below engine::ring_len.
    double direct_corr(int64_t newest, int64_t lag) const noexcept;
    outcome lose_lock() noexcept;
    void design_filters() noexcept;

    double rate = 0.0;
    double tracking_amount = 50.0;
    input_type type = input_type::soprano;

    bool searching = true;
    bool search_reset = true;

    // Pre-filters of the coarse stage.
    biQuad_Filter pre_filter[3];
    bool third_filter_on = false;
    double rise_threshold = 0.0;
    double dip_threshold = 0.2;

    // The input as fed: 4 * engine::ring_len doubles behind `past`.
    std::unique_ptr<double[]> past_storage;
    engine::past_ring past;

    // Coarse stage, in decimated samples.
    double coarse_storage[4 * engine::coarse_len];
    engine::past_ring coarse_past;
    double coarse_energy[engine::coarse_lags];
    double coarse_corr[engine::coarse_lags];
    int64_t coarse_count = 0;
    int64_t coarse_index = 0;

    // Fine stage: a window of 2 * lag_half lags from base_lag. Only a
    // decision reads the window, so the samples since the last one (`pending`
    // of them) enter its running sums together, at the decision, each sum in
    // the order of the samples as if they came one by one. The running sums
    // are lag_corr, H of every lag, and lag_energy[0], E of the base lag.
    // E of a longer lag is that of the lag below it and two samples more, so
    // each decision fills lag_energy[1 ..] from lag_energy[0] and the
    // squares of the samples between; nothing reads those entries between
    // decisions.
    int64_t base_lag = 0;
    int32_t lag_half = engine::max_lag_half;
    double lag_energy[2 * engine::max_lag_half];
    double lag_corr[2 * engine::max_lag_half];
    int64_t pending = 0;
    int64_t decide_count = 0;
    // The window spans this many periods; the period is its lag over it.
    int32_t multiple = 1;
    // The shortest lag, in samples, that the window of a short period spans.
    double min_span = 0.0;
    // Periods shorter than this, in samples, are widened.
    double widen_below = 0.0;
    // The lock has not been widened yet, and has held this many samples.
    bool widen_pending = false;
    int64_t held_samples = 0;
    // The period at the widened window's first decision, 0.0 before it.
    double widened_period = 0.0;

    double period = 0.0;
    double last_period = 0.0;
};
