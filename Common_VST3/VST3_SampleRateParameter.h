#pragma once

#include "Common_VST3/VST3_ScaledParameter.h"

// A sample rate in hertz, shown in kilohertz as a user reads it on a
// workstation: "44.1 kHz", "48 kHz", "96 kHz".
class VST3_SampleRateParameter : public VST3_ScaledParameter {
public:
    using VST3_ScaledParameter::VST3_ScaledParameter;

    void toString(ParamValue valueNormalized, Steinberg::Vst::String128 string) const override;

    OBJ_METHODS(VST3_SampleRateParameter, VST3_ScaledParameter)
};
