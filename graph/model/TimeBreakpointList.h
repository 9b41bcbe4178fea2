#pragma once

#include <deque>
#include <limits>
#include <vector>

#include "graph/model/TimeMap.h"

// Editing of the time map: a drag works on a doubly linked list of
// breakpoints built from the map in force at the drag's start, moves
// breakpoints within the stretch and compression limits, and builds the
// map that the engine and the views then use. Positions are engine samples
// (a caller working in frames passes `scale` = engine samples per frame,
// and gets frames back).
//
// Threads: interface thread only.

namespace timeLimits {

// Slope of every segment, output samples over source samples. Below 1 the
// take is compressed, above 1 stretched. The engine reads at most 10 source
// samples per output sample, so the compression limit may never go below
// 0.1.
constexpr double mostCompression = 0.25;
constexpr double mostStretch = 4.0;
static_assert(mostCompression >= 0.1, "the engine reads at most 10 source samples per output sample");

// A position closer than this to a breakpoint (source samples) is taken as
// that breakpoint, so that no two breakpoints lie closer than it: at the
// compression limit their output positions still lie 16 samples apart, more
// than a float's step below 2^27, and the map's values keep their order when
// the state stream stores them as floats.
constexpr double minimumSpacing = 64.0;

// Which limit held a move back. A stretch limit is reached when a segment
// would lengthen past mostStretch, a compression limit when it would shorten
// past mostCompression (or its ends would cross).
constexpr int noLimit = 0;
constexpr int compressionLimit = 1; // lowLimitCode's usual value
constexpr int stretchLimit = 2;     // highLimitCode's usual value
// movePoint: the point cannot move (outside the take, or the take's start).
constexpr int pointFixed = -1;

} // namespace timeLimits

// A node of the editing list, sorted by `time` (source position); `mappedTime`
// is its output position.
struct TimeBreakpoint {
    double mappedTime = 0.0;
    double time = 0.0;
    TimeBreakpoint* previous = nullptr;
    TimeBreakpoint* next = nullptr;
};

// The targets a drag may reach, in the caller's units (frames times `scale`
// give engine samples), and the limit code that holds the target at each end:
// the view keeps them as lowerLimit / lowLimitCode and upperLimit /
// highLimitCode.
struct TimeDragRange {
    double low = 0.0;
    double high = 0.0;
    int lowCode = timeLimits::compressionLimit;
    int highCode = timeLimits::stretchLimit;
};

class TimeBreakpointList {
public:
    // As `right`: no right anchor; everything after the moved point or region
    // shifts with it (the take's end too), unchanged in length.
    static constexpr double shiftRest = std::numeric_limits<double>::infinity();

    TimeBreakpointList() = default;
    TimeBreakpointList(const TimeBreakpointList&) = delete;
    TimeBreakpointList& operator=(const TimeBreakpointList&) = delete;

    // The list of `map`'s breakpoints, kept as the state of the drag's start.
    void beginEdit(const TimeMap& map);
    // Puts the list back to the drag's start.
    void resetEdit();

    TimeBreakpoint* getHead() const { return head; }
    TimeBreakpoint* getTail() const { return tail; }

    // The node at source position t: walks from `cursor` (advancing it to
    // the first node whose time is not below t) up to `end` (null: the end
    // of the chain). A node whose time equals t is returned. Otherwise a new
    // node is made before the node reached (or at the end), with `time` t and
    // `mappedTime` interpolated between its neighbours (beyond an end of the
    // chain: shifted as that end is). Inserting before a node whose
    // `previous` is null makes the new node the head, its `next` the old
    // head, and leaves the old head's `previous` null; appending to a list of
    // one node makes the new node head and tail and leaves the old one out
    // of the chain. Nodes stay owned by the list until the next beginEdit or
    // resetEdit.
    TimeBreakpoint* breakpointAt(TimeBreakpoint*& cursor, TimeBreakpoint* end, double t);

    // Move Point. All positions are output positions at the drag's start
    // (the graph's X): the anchors `left` and `right` keep their output
    // positions, the point that sounds at `point` moves by `target - point`,
    // and what lies between an anchor and the point is stretched or
    // compressed evenly. `right` = shiftRest: what follows the point shifts
    // with it. The target is held within pointRange; answers the limit code
    // that held it, else noLimit. Positions are taken to whole source
    // samples, and to a breakpoint within minimumSpacing; an anchor on the
    // point (at a take's end, say) holds it where it is. Needs
    // left <= point <= right inside the chain; otherwise nothing moves and
    // the answer is noLimit. Call resetEdit first at each step of a drag:
    // the move applies to the list as it stands. A move that rounding to
    // floats would make cross leaves the list at the drag's start.
    int moveTimePoint(double left, double point, double right, double target, double scale);
    TimeDragRange pointRange(double left, double point, double right, double scale) const;

    // Move Region: the region start..end moves whole by `target - start`,
    // the stretches from `left` to `start` and from `end` to `right` take up
    // the difference; the same conventions as Move Point.
    int moveTimeRegion(double left, double start, double end, double right, double target, double scale);
    TimeDragRange regionRange(double left, double start, double end, double right, double scale) const;

    // The map of the list: every value rounded to a float, as the state
    // stream keeps it. An empty map when the chain is not a valid map (fewer
    // than two nodes, or out of order).
    TimeMap buildMap() const;
    // True when some position sounds more than a thousandth of a sample
    // away from where it did at the drag's start.
    bool changed() const;

private:
    struct Point {
        double time;
        double mapped;
    };
    struct Anchors {
        double left, point, end, right;
    };

    void rebuild(const std::vector<Point>& points);
    std::vector<Point> chainPoints() const;
    double mappedAt(double time) const;
    double sourceAt(double mapped) const;
    double snapToNode(double time) const;
    void slopeSpan(double from, double to, double& lowest, double& highest) const;
    bool anchorsOf(double left, double point, double end, double right, double scale, Anchors& a) const;
    void sideBounds(double from, double to, double& low, double& high) const;
    TimeDragRange rangeOf(const Anchors& a, double& pointMapped) const;
    // Moves the point (or region start) a.point to output position
    // `target`, held within the limits; `pin`: a point that does not move
    // still becomes a breakpoint.
    int move(const Anchors& a, double target, bool pin);
    friend TimeMap movePoint(const TimeMap& current, double fromSample, double toSample, int* limitCode);

    TimeBreakpoint* head = nullptr;
    TimeBreakpoint* tail = nullptr;
    std::deque<TimeBreakpoint> nodes;
    std::vector<Point> startPoints;
};

// Interface thread (and tools). The map after moving the take's point at
// source position `fromSample` so that it sounds at output position
// `toSample`, both in engine samples, with the take's start held and
// everything after the point shifted with it, unchanged in length:
// - a FROM within minimumSpacing of a breakpoint moves that breakpoint;
// - the anchor is the nearest breakpoint before the point (on an unedited
//   take, its start). So a breakpoint made by a move to where the point
//   already sounds (FROM:FROM on an unedited take) holds that point for the
//   moves after it: stretching source a..b by 1.5 is a move a:a, then
//   b:a + 1.5 (b - a).
// The target is held within the limits; `limitCode`, when given, receives
// the code that held it, noLimit, or pointFixed when FROM lies outside the
// take or on its start (then the map comes back unchanged). `current` is
// the map in force over the take (TimeHistory::mapInForce).
TimeMap movePoint(const TimeMap& current, double fromSample, double toSample, int* limitCode = nullptr);
