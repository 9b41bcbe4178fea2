#pragma once

#include "Common_VST3/VST3_ScaledParameter.h"

// A sample rate in hertz on a straight line, as VST3_ScaledParameter, shown
// in kilohertz the way a workstation names its rates: "44.1 kHz", "48 kHz",
// "22.05 kHz", "11.025 kHz". The text has up to three decimals (whole hertz)
// without trailing zeros.
//
// fromString is the scaled one and reads hertz, so the kilohertz text does
// not read back to the same value; the parameter is one the effect shows, not
// one a user types.
class VST3_SampleRateParameter : public VST3_ScaledParameter {
public:
    using VST3_ScaledParameter::VST3_ScaledParameter;

    void toString(ParamValue valueNormalized, Steinberg::Vst::String128 string) const override;

    OBJ_METHODS(VST3_SampleRateParameter, VST3_ScaledParameter)
};
