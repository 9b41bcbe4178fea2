#pragma once

#include "Common_VST3/VST3_ToggleParameter.h"

// Whether a MIDI note acts in all octaves ("All") or only as played
// ("AsPlayed").
class Corvane_MIDIOctavesParameter : public VST3_ToggleParameter {
public:
    using VST3_ToggleParameter::VST3_ToggleParameter;

    OBJ_METHODS(Corvane_MIDIOctavesParameter, VST3_ToggleParameter)

protected:
    const char* offText() const override { return "AsPlayed"; }
    const char* onText() const override { return "All"; }
};
