// Graph mode's time control in the effect: the time history beside the
// object history, the commands of its buttons (which work with the editor
// closed), the time edits of the command line and the views, and the map in
// force handed to the engine. Interface thread.

#include "effect/Corvane_SingleComponentEffect.h"

#include "graph/model/TimeBreakpointList.h"

#include <algorithm>
#include <memory>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

// The take's extent in store positions: from the first recorded position to
// the end of the last region with audio; false when nothing is recorded.
bool takeExtent(const AudioDataStore& store, double& start, double& end)
{
    bool found = false;
    for (int32_t i = 0; i < store.regionCount(); ++i) {
        const AudioRegion& r = store.region(i);
        if (r.file.load(std::memory_order_acquire) == nullptr) continue;
        const double s = double(r.start.load(std::memory_order_relaxed));
        const double e = double(r.end.load(std::memory_order_acquire));
        if (!(e > s)) continue;
        start = found ? std::min(start, s) : s;
        end = found ? std::max(end, e) : e;
        found = true;
    }
    return found;
}

} // namespace

TimeMap Corvane_SingleComponentEffect::timeMapInForce() const
{
    double start = 0.0, end = 0.0;
    if (!audioStore || !takeExtent(*audioStore, start, end)) return timeHistory.currentMap();
    return timeHistory.mapInForce(start, end);
}

void Corvane_SingleComponentEffect::publishTimeMap(const TimeMap* preview)
{
    timePlayed = preview != nullptr ? *preview : timeMapInForce();
    auto snapshot = std::make_unique<const TimeMap>(timePlayed);
    if (storeSemaphoreReady) sem_wait(&storeSemaphore);
    dspObject.publish_time_map(std::move(snapshot));
    if (storeSemaphoreReady) sem_post(&storeSemaphore);
}

const TimeMap* Corvane_SingleComponentEffect::mapInForce()
{
    double start = 0.0, end = 0.0;
    if (!audioStore || !takeExtent(*audioStore, start, end)) return nullptr;
    if (timePlayed.getPointCount() < 2) timePlayed = timeMapInForce();
    return &timePlayed;
}

double Corvane_SingleComponentEffect::samplesPerFrameScale()
{
    return double(getSamplesPerFrame()) / double(dspObject.get_decimation_factor());
}

void Corvane_SingleComponentEffect::previewMap(const TimeMap& map) { publishTimeMap(&map); }

void Corvane_SingleComponentEffect::commitMap(const TimeMap& map)
{
    timeHistory.pushStep(map);
    publishTimeMap();
}

bool Corvane_SingleComponentEffect::canTimeUndo() const { return timeHistory.canUndo(); }

bool Corvane_SingleComponentEffect::canTimeRedo() const { return timeHistory.canRedo(); }

bool Corvane_SingleComponentEffect::canTimeClearAll() const { return !timeHistory.currentMap().isIdentity(); }

bool Corvane_SingleComponentEffect::timeCommand(ParamID id, double plain)
{
    // The map goes to the engine anew over the take as it now stands when
    // warping is turned on and when a tracking run ends.
    if ((id == corvane::kEnableTimeWarping && plain == 1.0) ||
        ((id == corvane::kTrackPitch || id == corvane::kTrackPitchAndTime) && plain == 0.0)) {
        publishTimeMap();
        return false;
    }
    if (plain != 1.0) return false;
    bool changed = false;
    switch (id) {
    case corvane::kTimeUndo: changed = timeHistory.undo(); break;
    case corvane::kTimeRedo: changed = timeHistory.redo(); break;
    // An undoable step back to where every position lies.
    case corvane::kTimeClearAll: changed = timeHistory.clearAll(); break;
    // The take goes, and its time edits with it, for good.
    case corvane::kClearAllData:
        timeHistory.clear();
        changed = true;
        break;
    default: return false;
    }
    if (changed) publishTimeMap();
    return changed;
}

tresult PLUGIN_API Corvane_SingleComponentEffect::moveTimePoint(double fromPosition, double toPosition,
                                                                int32* limitCode)
{
    if (limitCode) *limitCode = timeLimits::noLimit;
    // A map of held points only plays as the identity, but its points anchor
    // the moves after it.
    const TimeMap& current = timeHistory.currentMap();
    const TimeMap base = current.getPointCount() > 2 && current.isIdentity() ? current : timeMapInForce();
    if (base.getPointCount() < 2) return kResultFalse;
    int limit = timeLimits::noLimit;
    const TimeMap moved = movePoint(base, fromPosition, toPosition, &limit);
    if (limit != timeLimits::noLimit) {
        if (limitCode && limit != timeLimits::pointFixed) *limitCode = int32(limit);
        return kResultFalse;
    }
    if (!timeHistory.pushStep(moved)) return kResultFalse;
    publishTimeMap();
    return kResultOk;
}

double PLUGIN_API Corvane_SingleComponentEffect::mapTimePosition(double position)
{
    const TimeMap map = timeMapInForce();
    if (map.getPointCount() < 2 || position < map.getRangeStart()) return position;
    // Past the take the output runs on from where the take ends.
    if (position >= map.getRangeEnd()) return map.getOutputEnd() + (position - map.getRangeEnd());
    return map.mapForView(position);
}

int64 PLUGIN_API Corvane_SingleComponentEffect::getPlaybackOverruns(int64* lastFrame)
{
    if (lastFrame) *lastFrame = dspObject.get_overrun_frame();
    return dspObject.get_overrun_count();
}
