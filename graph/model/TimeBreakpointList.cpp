#include "graph/model/TimeBreakpointList.h"

#include <algorithm>
#include <cmath>

using namespace timeLimits;

namespace {

// Output position of source position t on the line through (t0, m0) and
// (t1, m1).
inline double lerp(double t0, double m0, double t1, double m1, double t)
{
    return m0 + (t - t0) * ((m1 - m0) / (t1 - t0));
}

inline double toFloatGrid(double v) { return double(float(v)); }

// A changed position lies further than this from where it was (samples).
constexpr double sameOutputTolerance = 1e-3;

} // namespace

void TimeBreakpointList::beginEdit(const TimeMap& map)
{
    startPoints.clear();
    const auto& s = map.getSourceTimes();
    const auto& t = map.getTargetTimes();
    for (size_t i = 0; i < s.size(); ++i) startPoints.push_back({s[i], t[i]});
    rebuild(startPoints);
}

void TimeBreakpointList::resetEdit() { rebuild(startPoints); }

void TimeBreakpointList::rebuild(const std::vector<Point>& points)
{
    nodes.clear();
    head = tail = nullptr;
    for (const Point& p : points) {
        nodes.emplace_back();
        TimeBreakpoint* node = &nodes.back();
        node->time = p.time;
        node->mappedTime = p.mapped;
        node->previous = tail;
        if (tail)
            tail->next = node;
        else
            head = node;
        tail = node;
    }
}

TimeBreakpoint* TimeBreakpointList::breakpointAt(TimeBreakpoint*& cursor, TimeBreakpoint* end, double t)
{
    while (cursor && cursor != end && cursor->time < t) cursor = cursor->next;
    if (cursor && cursor != end && cursor->time == t) return cursor;

    nodes.emplace_back();
    TimeBreakpoint* node = &nodes.back();
    node->time = t;
    TimeBreakpoint* after = cursor; // null: append
    if (after) {
        TimeBreakpoint* before = after->previous;
        if (before) {
            node->mappedTime = lerp(before->time, before->mappedTime, after->time, after->mappedTime, t);
            node->previous = before;
            node->next = after;
            before->next = node;
            after->previous = node;
        } else {
            node->mappedTime = after->mappedTime + (t - after->time);
            node->next = head;
            head = node;
        }
        return node;
    }
    node->mappedTime = tail ? tail->mappedTime + (t - tail->time) : t;
    if (head == tail) {
        head = node;
    } else {
        tail->next = node;
        node->previous = tail;
    }
    tail = node;
    return node;
}

std::vector<TimeBreakpointList::Point> TimeBreakpointList::chainPoints() const
{
    std::vector<Point> points;
    for (const TimeBreakpoint* n = head; n && points.size() <= nodes.size(); n = n->next)
        points.push_back({n->time, n->mappedTime});
    return points;
}

namespace {

template <class Points> double mappedIn(const Points& p, double t)
{
    const size_t n = p.size();
    if (n == 0) return t;
    if (t <= p[0].time) return p[0].mapped + (t - p[0].time);
    for (size_t i = 1; i < n; ++i) {
        if (t == p[i].time) return p[i].mapped;
        if (t < p[i].time) return lerp(p[i - 1].time, p[i - 1].mapped, p[i].time, p[i].mapped, t);
    }
    return p[n - 1].mapped + (t - p[n - 1].time);
}

template <class Points> double sourceIn(const Points& p, double m)
{
    const size_t n = p.size();
    if (n == 0) return m;
    if (m <= p[0].mapped) return p[0].time + (m - p[0].mapped);
    for (size_t i = 1; i < n; ++i) {
        if (m == p[i].mapped) return p[i].time;
        if (m < p[i].mapped) return lerp(p[i - 1].mapped, p[i - 1].time, p[i].mapped, p[i].time, m);
    }
    return p[n - 1].time + (m - p[n - 1].mapped);
}

} // namespace

double TimeBreakpointList::mappedAt(double time) const { return mappedIn(chainPoints(), time); }

double TimeBreakpointList::sourceAt(double mapped) const { return sourceIn(chainPoints(), mapped); }

double TimeBreakpointList::snapToNode(double time) const
{
    const double rounded = toFloatGrid(std::round(time));
    double best = rounded;
    double bestDistance = minimumSpacing;
    for (const TimeBreakpoint* n = head; n; n = n->next) {
        const double d = std::fabs(n->time - rounded);
        if (d < bestDistance) {
            bestDistance = d;
            best = n->time;
        }
        if (n == tail) break;
    }
    return best;
}

void TimeBreakpointList::slopeSpan(double from, double to, double& lowest, double& highest) const
{
    lowest = highest = 1.0;
    bool any = false;
    const std::vector<Point> p = chainPoints();
    for (size_t i = 1; i < p.size(); ++i) {
        if (!(p[i - 1].time < to && p[i].time > from)) continue;
        const double slope = (p[i].mapped - p[i - 1].mapped) / (p[i].time - p[i - 1].time);
        lowest = any ? std::min(lowest, slope) : slope;
        highest = any ? std::max(highest, slope) : slope;
        any = true;
    }
}

// The factors by which the stretch from..to may be scaled as a whole: every
// segment in it stays within the limits (and none is pushed further out of
// them than it already is).
void TimeBreakpointList::sideBounds(double from, double to, double& low, double& high) const
{
    double lowest = 1.0, highest = 1.0;
    slopeSpan(from, to, lowest, highest);
    low = std::min(1.0, mostCompression / lowest);
    high = std::max(1.0, mostStretch / highest);
}

// The anchors, the point (or the region's start) and the region's end, as
// source positions on breakpoints or whole samples; a position closer than
// minimumSpacing to its neighbour is taken as that neighbour. False when
// they are not in order inside the chain.
bool TimeBreakpointList::anchorsOf(double left, double point, double end, double right, double scale,
                                   Anchors& a) const
{
    if (!head || head == tail || !(scale > 0.0)) return false;
    if (!std::isfinite(left) || !std::isfinite(point) || !std::isfinite(end) || std::isnan(right)) return false;
    a.left = std::max(snapToNode(sourceAt(left * scale)), head->time);
    a.point = snapToNode(sourceAt(point * scale));
    a.end = end == point ? a.point : snapToNode(sourceAt(end * scale));
    a.right = right == shiftRest ? shiftRest : std::min(snapToNode(sourceAt(right * scale)), tail->time);
    if (a.point > a.left && a.point - a.left < minimumSpacing) a.point = a.left;
    if (a.end < a.point) return false;
    if (a.right != shiftRest && a.right > a.end && a.right - a.end < minimumSpacing) a.right = a.end;
    return a.left <= a.point && a.end <= tail->time && a.end <= a.right;
}

// The range of the new output position of the point (or the region's
// start), in engine samples.
TimeDragRange TimeBreakpointList::rangeOf(const Anchors& a, double& pointMapped) const
{
    const double mL = mappedAt(a.left);
    const double mS = mappedAt(a.point);
    const double mE = mappedAt(a.end);
    pointMapped = mS;
    double fLow = 1.0, fHigh = 1.0;
    sideBounds(a.left, a.point, fLow, fHigh);
    TimeDragRange r;
    r.low = mL + fLow * (mS - mL);
    r.lowCode = compressionLimit;
    r.high = mL + fHigh * (mS - mL);
    r.highCode = stretchLimit;
    if (a.right != shiftRest) {
        const double mR = mappedAt(a.right);
        double gLow = 1.0, gHigh = 1.0;
        sideBounds(a.end, a.right, gLow, gHigh);
        const double low = mR - gHigh * (mR - mE) - (mE - mS);
        const double high = mR - gLow * (mR - mE) - (mE - mS);
        if (low > r.low) {
            r.low = low;
            r.lowCode = stretchLimit;
        }
        if (high < r.high) {
            r.high = high;
            r.highCode = compressionLimit;
        }
    }
    // Rounding must not open a range that holds no movement at all.
    r.low = std::min(r.low, mS);
    r.high = std::max(r.high, mS);
    return r;
}

int TimeBreakpointList::move(const Anchors& a, double target, bool pin)
{
    double mS = 0.0;
    const TimeDragRange range = rangeOf(a, mS);
    int code = noLimit;
    double T = target;
    if (T < range.low) {
        T = range.low;
        code = range.lowCode;
    } else if (T > range.high) {
        T = range.high;
        code = range.highCode;
    }
    if (T != mS) {
        // The new position as the stream keeps it, not beyond the range by
        // more than the rounding of the range's own arithmetic.
        const double slack = 1e-12 * std::max(1.0, std::fabs(T));
        float f = float(T);
        if (double(f) > range.high + slack) f = std::nextafter(f, -HUGE_VALF);
        if (double(f) < range.low - slack) f = std::nextafter(f, HUGE_VALF);
        T = double(f) >= range.low - slack && double(f) <= range.high + slack ? double(f) : mS;
    }
    if (T == mS) {
        if (pin) {
            TimeBreakpoint* cursor = head;
            breakpointAt(cursor, nullptr, a.point);
        }
        return code;
    }

    TimeBreakpoint* cursor = head;
    TimeBreakpoint* nL = breakpointAt(cursor, nullptr, a.left);
    TimeBreakpoint* nS = breakpointAt(cursor, nullptr, a.point);
    TimeBreakpoint* nE = a.end == a.point ? nS : breakpointAt(cursor, nullptr, a.end);
    TimeBreakpoint* nR = a.right == shiftRest ? nullptr : breakpointAt(cursor, nullptr, a.right);
    const double mL = nL->mappedTime;
    const double delta = T - nS->mappedTime;
    const double mE = nE->mappedTime;
    const double f1 = (T - mL) / (nS->mappedTime - mL);
    for (TimeBreakpoint* n = nL->next; n && n != nS; n = n->next) n->mappedTime = mL + (n->mappedTime - mL) * f1;
    for (TimeBreakpoint* n = nS;; n = n->next) {
        n->mappedTime += delta;
        if (n == nE) break;
    }
    if (nR) {
        const double mR = nR->mappedTime;
        const double g = (mR - (mE + delta)) / (mR - mE);
        for (TimeBreakpoint* n = nE->next; n && n != nR; n = n->next) n->mappedTime = mR - (mR - n->mappedTime) * g;
    } else {
        for (TimeBreakpoint* n = nE->next; n; n = n->next) n->mappedTime += delta;
    }
    if (buildMap().getPointCount() < 2) {
        // Rounded to floats, two breakpoints would meet: no move.
        resetEdit();
        return delta < 0.0 ? range.lowCode : range.highCode;
    }
    return code;
}

TimeDragRange TimeBreakpointList::pointRange(double left, double point, double right, double scale) const
{
    return regionRange(left, point, point, right, scale);
}

TimeDragRange TimeBreakpointList::regionRange(double left, double start, double end, double right,
                                              double scale) const
{
    Anchors a{};
    TimeDragRange r;
    if (!anchorsOf(left, start, end, right, scale, a)) {
        r.low = r.high = start;
        return r;
    }
    double mS = 0.0;
    r = rangeOf(a, mS);
    r.low = start + (r.low - mS) / scale;
    r.high = start + (r.high - mS) / scale;
    return r;
}

int TimeBreakpointList::moveTimePoint(double left, double point, double right, double target, double scale)
{
    return moveTimeRegion(left, point, point, right, target, scale);
}

int TimeBreakpointList::moveTimeRegion(double left, double start, double end, double right, double target,
                                       double scale)
{
    Anchors a{};
    if (!std::isfinite(target) || !anchorsOf(left, start, end, right, scale, a)) return noLimit;
    return move(a, mappedAt(a.point) + (target - start) * scale, false);
}

TimeMap TimeBreakpointList::buildMap() const
{
    const std::vector<Point> points = chainPoints();
    std::vector<double> s, t;
    for (const Point& p : points) {
        s.push_back(toFloatGrid(p.time));
        t.push_back(toFloatGrid(p.mapped));
    }
    auto map = TimeMap::fromBreakpoints(std::move(s), std::move(t));
    return map ? std::move(*map) : TimeMap();
}

bool TimeBreakpointList::changed() const
{
    const std::vector<Point> now = chainPoints();
    for (const Point& p : now)
        if (std::fabs(p.mapped - mappedIn(startPoints, p.time)) > sameOutputTolerance) return true;
    for (const Point& p : startPoints)
        if (std::fabs(p.mapped - mappedIn(now, p.time)) > sameOutputTolerance) return true;
    return false;
}

TimeMap movePoint(const TimeMap& current, double fromSample, double toSample, int* limitCode)
{
    int code = pointFixed;
    TimeMap result = current;
    if (current.getPointCount() >= 2 && std::isfinite(fromSample) && std::isfinite(toSample)) {
        TimeBreakpointList list;
        list.beginEdit(current);
        const double point = list.snapToNode(fromSample);
        if (point > list.head->time && point <= list.tail->time) {
            double left = list.head->time;
            for (const TimeBreakpoint* n = list.head; n && n->time < point; n = n->next) left = n->time;
            code = list.move({left, point, point, TimeBreakpointList::shiftRest}, toSample, true);
            TimeMap moved = list.buildMap();
            if (moved.getPointCount() >= 2) result = std::move(moved);
        }
    }
    if (limitCode) *limitCode = code;
    return result;
}
