#pragma once

#include "Common_VST3/VST3_BaseParameter.h"

// A straight line from minPlain at 0 to maxPlain at 1; the ends may be given
// high first. With precision 0 the plain value is a whole number.
class VST3_ScaledParameter : public VST3_BaseParameter {
public:
    VST3_ScaledParameter(ParamID id, const TChar* title, const TChar* shortTitle, const TChar* units,
                         double minPlain, double maxPlain, double defaultPlain,
                         Steinberg::int32 precision,
                         Steinberg::int32 flags = Steinberg::Vst::ParameterInfo::kCanAutomate,
                         Steinberg::int32 stepCount = 0,
                         Steinberg::Vst::UnitID unitId = Steinberg::Vst::kRootUnitId);

    void toString(ParamValue valueNormalized, Steinberg::Vst::String128 string) const override;
    // Reads a plain value, held within the ends.
    bool fromString(const TChar* string, ParamValue& valueNormalized) const override;
    ParamValue toPlain(ParamValue valueNormalized) const override;
    ParamValue toNormalized(ParamValue plainValue) const override;

    double getMinPlain() const { return minPlain; }
    double getMaxPlain() const { return maxPlain; }

    OBJ_METHODS(VST3_ScaledParameter, VST3_BaseParameter)

protected:
    double minPlain;
    double maxPlain;
};
