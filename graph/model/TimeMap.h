#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

// The time map of a time-edited take: a piecewise-linear, strictly increasing
// function from the source position (where a sample lies in the recording)
// to the output position (when it sounds). Both count engine samples, the
// downsampled domain, from the start of the recording.
//
// Breakpoints: pointCount pairs (sourceTimes[i], targetTimes[i]), both arrays
// strictly increasing and finite. A map has no breakpoint (empty) or at
// least two; a map of exactly two is always the identity, because a
// two-point map that is not is kept with a third, collinear point in the
// middle. So the shortcuts below that pass t unchanged for two points are
// right.
//
// rangeStart and rangeEnd are the source positions of the first and the last
// breakpoint: the part of the take that the map covers. The editor keeps the
// first breakpoint fixed (its target is rangeStart), so before rangeStart
// the map is the identity. The last target, getOutputEnd(), is rangeEnd as
// long as the end of the take has not moved; when the audio after a moved
// point is shifted (moved later or earlier, not squeezed), the last
// breakpoint moves with it and getOutputEnd() is rangeEnd plus that shift.
// From rangeEnd on, both forward look-ups answer getOutputEnd(): the end of
// the map, where the take's audio ends.
//
// Two look-up caches hold the last segment found, one for the engine's
// look-ups and one for the views', so that neither thread writes what the
// other reads. A map is replaced whole, never edited in place; copying one
// reads both caches, so a map is copied only while no other thread looks
// it up (the engine's copy is handed over, not copied from).
class TimeMap {
public:
    // Any thread. An empty map: no breakpoint, range 0..0.
    TimeMap() = default;

    // Interface thread. The identity over rangeStart..rangeEnd: two
    // breakpoints, (rangeStart, rangeStart) and (rangeEnd, rangeEnd). An
    // empty map when rangeEnd is not above rangeStart or either is not finite.
    static TimeMap identity(double rangeStart, double rangeEnd);

    // Interface thread. The map through the given breakpoints; nothing when
    // the two arrays differ in length, hold fewer than two entries or one
    // that is not finite, or are not both strictly increasing. Two points
    // that are not the identity gain a collinear middle point (rounded to a
    // float, as the state stream keeps it).
    static std::optional<TimeMap> fromBreakpoints(std::vector<double> sourceTimes,
                                                  std::vector<double> targetTimes);

    // Interface thread (views): the output position of source position t,
    // through the view cache. From rangeEnd on: getOutputEnd(); before
    // rangeStart, and with fewer than two breakpoints: rangeStart; with two
    // breakpoints: t. `slope`, when given, receives the slope of the segment
    // that gave the answer (output over source samples; on a breakpoint, of
    // the segment that begins there), else 1.0.
    double mapForView(double t, double* slope = nullptr) const;

    // Audio thread: the same through the engine cache, except that before
    // rangeStart, with fewer than three breakpoints, and for a t that no
    // segment holds (not a number), the answer is t itself. No allocation.
    double mapForEngine(double t, double* slope = nullptr) const noexcept;

    // Interface thread (views) and audio thread (once per block restart):
    // the source position that sounds at output position y, the inverse of
    // the forward map inside the breakpoints. Before the first target it is
    // y shifted as the first breakpoint is (y itself when the start is
    // fixed); from the output end on, rangeEnd plus how far y lies beyond
    // the output end, so that the source runs on after the take. With fewer
    // than two breakpoints: y. No cache, no allocation.
    double unmapForView(double y) const;
    double unmapForEngine(double y) const noexcept;

    // Any thread.
    int32_t getPointCount() const noexcept { return int32_t(sources.size()); }
    double getRangeStart() const noexcept { return rangeStart; }
    double getRangeEnd() const noexcept { return rangeEnd; }
    // The output position of the last breakpoint; 0 when empty.
    double getOutputEnd() const noexcept { return targets.empty() ? 0.0 : targets.back(); }
    const std::vector<double>& getSourceTimes() const noexcept { return sources; }
    const std::vector<double>& getTargetTimes() const noexcept { return targets; }
    // True when every position sounds where it lies: no breakpoint, or every
    // target equal to its source.
    bool isIdentity() const noexcept;

    // Any thread. Same breakpoints, caches aside.
    bool operator==(const TimeMap& other) const noexcept
    {
        return rangeStart == other.rangeStart && rangeEnd == other.rangeEnd && sources == other.sources &&
               targets == other.targets;
    }
    bool operator!=(const TimeMap& other) const noexcept { return !(*this == other); }

private:
    // The last segment found: x0, y0, x1, y1 and its slope, with the index
    // of its first breakpoint; index -1 when empty.
    struct SegmentCache {
        int32_t index = -1;
        double segment[4] = {0.0, 0.0, 0.0, 0.0};
        double slope = 1.0;
    };

    // Looks t up inside rangeStart..rangeEnd through `cache`; false when no
    // segment holds t. Shared by both forward look-ups, so that cached and
    // scanned answers are the same numbers.
    bool lookUp(SegmentCache& cache, double t, double& value, double& slope) const noexcept;
    double unmap(double y) const noexcept;
    // The slope of the segment that begins at breakpoint i (at the last,
    // of the segment that ends there).
    double slopeFrom(size_t i) const noexcept;

    double rangeStart = 0.0;
    double rangeEnd = 0.0;
    mutable SegmentCache engineCache;
    mutable SegmentCache viewCache;
    std::vector<double> sources;
    std::vector<double> targets;
};
