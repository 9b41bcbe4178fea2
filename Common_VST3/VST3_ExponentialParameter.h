#pragma once

#include "Common_VST3/VST3_BaseParameter.h"

// A curve through minPlain at 0, midPlain at 0.5 and maxPlain at 1, for
// values where the fine steps belong at one end (times, speeds). midPlain
// must not be the middle of the ends.
class VST3_ExponentialParameter : public VST3_BaseParameter {
public:
    VST3_ExponentialParameter(ParamID id, const TChar* title, const TChar* shortTitle,
                              const TChar* units, double minPlain, double midPlain,
                              double maxPlain, double defaultPlain, Steinberg::int32 precision,
                              Steinberg::int32 flags = Steinberg::Vst::ParameterInfo::kCanAutomate,
                              Steinberg::Vst::UnitID unitId = Steinberg::Vst::kRootUnitId);

    void toString(ParamValue valueNormalized, Steinberg::Vst::String128 string) const override;
    bool fromString(const TChar* string, ParamValue& valueNormalized) const override;
    ParamValue toPlain(ParamValue valueNormalized) const override;
    ParamValue toNormalized(ParamValue plainValue) const override;

    OBJ_METHODS(VST3_ExponentialParameter, VST3_BaseParameter)

protected:
    double minPlain;
    double maxPlain;
    double midPlain;
};
