#include "graph/model/TimeHistory.h"

#include <cmath>

const TimeMap& TimeHistory::currentMap() const
{
    if (currentIndex >= 0 && size_t(currentIndex) < steps.size()) return steps[size_t(currentIndex)];
    return base;
}

TimeMap TimeHistory::mapInForce(double rangeStart, double rangeEnd) const
{
    const TimeMap& map = currentMap();
    if (map.getPointCount() < 2 || map.isIdentity()) return TimeMap::identity(rangeStart, rangeEnd);
    std::vector<double> sources = map.getSourceTimes();
    std::vector<double> targets = map.getTargetTimes();
    if (rangeStart < sources.front()) {
        targets.insert(targets.begin(), targets.front() - (sources.front() - rangeStart));
        sources.insert(sources.begin(), rangeStart);
    }
    if (rangeEnd > sources.back()) {
        targets.push_back(targets.back() + (rangeEnd - sources.back()));
        sources.push_back(rangeEnd);
    }
    auto extended = TimeMap::fromBreakpoints(std::move(sources), std::move(targets));
    return extended ? std::move(*extended) : map;
}

bool TimeHistory::pushStep(const TimeMap& map)
{
    TimeMap stored;
    if (map.getPointCount() >= 2) {
        std::vector<double> sources, targets;
        for (double v : map.getSourceTimes()) sources.push_back(double(float(v)));
        for (double v : map.getTargetTimes()) targets.push_back(double(float(v)));
        auto rounded = TimeMap::fromBreakpoints(std::move(sources), std::move(targets));
        if (!rounded) return false;
        stored = std::move(*rounded);
    }
    steps.resize(size_t(currentIndex + 1));
    steps.push_back(std::move(stored));
    currentIndex = int32_t(steps.size()) - 1;
    dropOldest();
    return true;
}

bool TimeHistory::clearAll()
{
    if (currentMap().isIdentity()) return false;
    return pushStep(TimeMap());
}

bool TimeHistory::undo()
{
    if (!canUndo()) return false;
    --currentIndex;
    return true;
}

bool TimeHistory::redo()
{
    if (!canRedo()) return false;
    ++currentIndex;
    return true;
}

int32_t TimeHistory::setMaxSteps(int32_t count)
{
    if (count < 1 || count == maxSteps) return maxSteps;
    maxSteps = count > mostSteps ? mostSteps : count;
    dropOldest();
    return maxSteps;
}

void TimeHistory::clear()
{
    base = TimeMap();
    steps.clear();
    currentIndex = -1;
}

// Keeps maxSteps steps and the map in force: the oldest beyond them becomes
// the base, or, while the base is in force, the newest go.
void TimeHistory::dropOldest()
{
    while (int32_t(steps.size()) > maxSteps) {
        if (currentIndex < 0) {
            steps.pop_back();
            continue;
        }
        base = std::move(steps.front());
        steps.erase(steps.begin());
        --currentIndex;
    }
}
