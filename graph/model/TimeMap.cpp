#include "graph/model/TimeMap.h"

#include <algorithm>
#include <cmath>

namespace {


bool strictlyIncreasing(const std::vector<double>& v)
{
    for (size_t i = 0; i < v.size(); ++i) {
        if (!std::isfinite(v[i])) return false;
        if (i > 0 && !(v[i] > v[i - 1])) return false;
    }
    return true;
}

double toFloatGrid(double v) { return double(float(v)); }

} // namespace

TimeMap TimeMap::identity(double rangeStart, double rangeEnd)
{
    TimeMap map;
    if (!std::isfinite(rangeStart) || !std::isfinite(rangeEnd) || !(rangeEnd > rangeStart)) return map;
    map.sources = {rangeStart, rangeEnd};
    map.targets = map.sources;
    map.rangeStart = rangeStart;
    map.rangeEnd = rangeEnd;
    return map;
}

std::optional<TimeMap> TimeMap::fromBreakpoints(std::vector<double> sourceTimes, std::vector<double> targetTimes)
{
    if (sourceTimes.size() != targetTimes.size() || sourceTimes.size() < 2 ||
        sourceTimes.size() > size_t(INT32_MAX) || !strictlyIncreasing(sourceTimes) ||
        !strictlyIncreasing(targetTimes))
        return std::nullopt;
    if (sourceTimes.size() == 2 && (sourceTimes[0] != targetTimes[0] || sourceTimes[1] != targetTimes[1])) {
        const double midSource = toFloatGrid(0.5 * (sourceTimes[0] + sourceTimes[1]));
        const double midTarget = toFloatGrid(0.5 * (targetTimes[0] + targetTimes[1]));
        if (!(midSource > sourceTimes[0] && midSource < sourceTimes[1] && midTarget > targetTimes[0] &&
              midTarget < targetTimes[1]))
            return std::nullopt;
        sourceTimes.insert(sourceTimes.begin() + 1, midSource);
        targetTimes.insert(targetTimes.begin() + 1, midTarget);
    }
    TimeMap map;
    map.rangeStart = sourceTimes.front();
    map.rangeEnd = sourceTimes.back();
    map.sources = std::move(sourceTimes);
    map.targets = std::move(targetTimes);
    return map;
}

bool TimeMap::isIdentity() const noexcept { return sources == targets; }

double TimeMap::slopeFrom(size_t i) const noexcept
{
    const size_t j = i + 1 < sources.size() ? i : i - 1;
    return (targets[j + 1] - targets[j]) / (sources[j + 1] - sources[j]);
}

bool TimeMap::lookUp(SegmentCache& cache, double t, double& value, double& slope) const noexcept
{
    if (cache.index >= 0) {
        const double(&s)[4] = cache.segment;
        if (t == s[0]) {
            value = s[1];
            slope = cache.slope;
            return true;
        }
        if (t == s[2]) {
            value = s[3];
            slope = slopeFrom(size_t(cache.index) + 1);
            return true;
        }
        if (t > s[0] && t < s[2]) {
            // One formula for every interpolated answer, cached or scanned.
            value = s[1] + (t - s[0]) * cache.slope;
            slope = cache.slope;
            return true;
        }
    }
    const size_t n = sources.size();
    if (t == sources[0]) {
        value = targets[0];
        slope = slopeFrom(0);
        return true;
    }
    if (!(t > sources[0])) return false;
    // The first breakpoint at or above t; playback asks for the segment
    // after the cached one most often, so that one is tried first.
    size_t i;
    const size_t next = size_t(cache.index) + 2;
    if (cache.index >= 0 && next < n && t > cache.segment[2] && t <= sources[next])
        i = next;
    else
        i = size_t(std::lower_bound(sources.begin() + 1, sources.end(), t) - sources.begin());
    if (i >= n) return false;
    cache.index = int32_t(i - 1);
    double(&s)[4] = cache.segment;
    s[0] = sources[i - 1];
    s[1] = targets[i - 1];
    s[2] = sources[i];
    s[3] = targets[i];
    cache.slope = (s[3] - s[1]) / (s[2] - s[0]);
    if (t == s[2]) {
        value = s[3];
        slope = slopeFrom(i);
    } else {
        value = s[1] + (t - s[0]) * cache.slope;
        slope = cache.slope;
    }
    return true;
}

double TimeMap::mapForView(double t, double* slope) const
{
    double ignored = 1.0;
    double& slopeOut = slope ? *slope : ignored;
    slopeOut = 1.0;
    if (t >= rangeEnd) {
        viewCache.index = -1;
        return getOutputEnd();
    }
    if (t < rangeStart || sources.size() < 2) {
        viewCache.index = -1;
        return rangeStart;
    }
    if (sources.size() == 2) return t;
    double value = 0.0;
    if (lookUp(viewCache, t, value, slopeOut)) return value;
    viewCache.index = -1;
    slopeOut = 1.0;
    return rangeStart;
}

double TimeMap::mapForEngine(double t, double* slope) const noexcept
{
    double ignored = 1.0;
    double& slopeOut = slope ? *slope : ignored;
    slopeOut = 1.0;
    if (sources.size() < 2) {
        engineCache.index = -1;
        return t;
    }
    if (t >= rangeEnd) {
        engineCache.index = -1;
        return getOutputEnd();
    }
    if (t < rangeStart || sources.size() < 3) {
        engineCache.index = -1;
        return t;
    }
    double value = 0.0;
    if (lookUp(engineCache, t, value, slopeOut)) return value;
    engineCache.index = -1;
    slopeOut = 1.0;
    return t;
}

double TimeMap::unmap(double y) const noexcept
{
    const size_t n = targets.size();
    if (n < 2 || std::isnan(y)) return y;
    if (y <= targets[0]) return sources[0] + (y - targets[0]);
    if (y >= targets[n - 1]) return sources[n - 1] + (y - targets[n - 1]);
    const size_t i = size_t(std::lower_bound(targets.begin() + 1, targets.end(), y) - targets.begin());
    if (targets[i] == y) return sources[i];
    return sources[i - 1] + (y - targets[i - 1]) * ((sources[i] - sources[i - 1]) / (targets[i] - targets[i - 1]));
}

double TimeMap::unmapForView(double y) const { return unmap(y); }

double TimeMap::unmapForEngine(double y) const noexcept { return unmap(y); }
