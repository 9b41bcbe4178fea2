#pragma once

#include "Common_VST3/VST3_BaseParameter.h"

// A straight line from minPlain at 0 to maxPlain at 1; the ends may be given
// high first, and minPlain is still the value at 0. With precision 0 the
// plain value is a whole number, rounded half away from zero in single
// precision. Plain values never leave the ends.
//
// Text: with precision 0 the whole number ("-25"); otherwise that many
// decimals ("5.5" with precision 1). fromString reads a plain number, held
// within the ends, and ignores text after it ("250 cents").
class VST3_ScaledParameter : public VST3_BaseParameter {
public:
    // Base arguments, then the plain ends and default, then precision; the
    // value starts at the default.
    VST3_ScaledParameter(ParamID id, const TChar* title, const TChar* shortTitle, const TChar* units,
                         double minPlain, double maxPlain, double defaultPlain,
                         Steinberg::int32 precision,
                         Steinberg::int32 flags = Steinberg::Vst::ParameterInfo::kCanAutomate,
                         Steinberg::int32 stepCount = 0,
                         Steinberg::Vst::UnitID unitId = Steinberg::Vst::kRootUnitId);

    void toString(ParamValue valueNormalized, Steinberg::Vst::String128 string) const override;
    bool fromString(const TChar* string, ParamValue& valueNormalized) const override;
    // Audio and interface threads.
    ParamValue toPlain(ParamValue valueNormalized) const override;
    // The inverse of the straight line, held within 0..1; 0 if the ends meet.
    ParamValue toNormalized(ParamValue plainValue) const override;

    double getMinPlain() const { return minPlain; }
    double getMaxPlain() const { return maxPlain; }

    OBJ_METHODS(VST3_ScaledParameter, VST3_BaseParameter)

protected:
    double minPlain;
    double maxPlain;
};
