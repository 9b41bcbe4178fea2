#pragma once

// The effect's tracked data reached through the module, as a tool reaches it.

#include <string>

#include "effect/Corvane_ITrackedData.h"
#include "hostlib/Plugin_Host.h"
#include "panel/Corvane_ParameterIds.h"

namespace test_tracking {

// The instance's tracked-data interface; the component keeps it alive.
inline ICorvaneTrackedData* trackedData(hostlib::Instance& instance)
{
    ICorvaneTrackedData* data = nullptr;
    if (instance.component()->queryInterface(ICorvaneTrackedData_iid, reinterpret_cast<void**>(&data)) !=
        Steinberg::kResultOk)
        return nullptr;
    data->release();
    return data;
}

// Graph mode, data kept under `folder`, and tracking pressed (with the audio
// when `withAudio`): it starts with the next block.
inline ICorvaneTrackedData* startTracking(hostlib::Instance& instance, const std::string& folder, bool withAudio)
{
    ICorvaneTrackedData* data = trackedData(instance);
    if (data == nullptr || data->setDataFolder(folder.c_str()) != Steinberg::kResultOk) return nullptr;
    data->clickControl(corvane::kCorrectionMode, 1.0);
    data->clickControl(withAudio ? corvane::kTrackPitchAndTime : corvane::kTrackPitch, 1.0);
    return data;
}

} // namespace test_tracking
