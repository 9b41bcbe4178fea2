#pragma once

#include "Common_VST3/VST3_BaseParameter.h"

// A curve through minPlain at 0, midPlain at 0.5 and maxPlain at 1, for
// values whose fine steps belong at one end (times, speeds): Exponential_Map
// of the units, in single precision. The ends may be given high first.
// midPlain must not be the middle of the ends, where the curve is undefined.
// With precision 0 the plain value is a whole number, rounded half away from
// zero. Plain values never leave the ends.
//
// Text: with precision 0 or below the whole number; with precision p the
// value rounded to p decimals and printed with them. fromString reads a plain
// number, held within the ends.
//
// toPlain calls Exponential_Map, which writes two shared variables of the
// units; the values it leaves there are not read by this class.
class VST3_ExponentialParameter : public VST3_BaseParameter {
public:
    // Base arguments, then the plain ends with the mid between them, the
    // default and precision; the value starts at the default.
    VST3_ExponentialParameter(ParamID id, const TChar* title, const TChar* shortTitle,
                              const TChar* units, double minPlain, double midPlain,
                              double maxPlain, double defaultPlain, Steinberg::int32 precision,
                              Steinberg::int32 flags = Steinberg::Vst::ParameterInfo::kCanAutomate,
                              Steinberg::Vst::UnitID unitId = Steinberg::Vst::kRootUnitId);

    void toString(ParamValue valueNormalized, Steinberg::Vst::String128 string) const override;
    bool fromString(const TChar* string, ParamValue& valueNormalized) const override;
    // Audio and interface threads.
    ParamValue toPlain(ParamValue valueNormalized) const override;
    // The inverse of the curve, held within 0..1.
    ParamValue toNormalized(ParamValue plainValue) const override;

    OBJ_METHODS(VST3_ExponentialParameter, VST3_BaseParameter)

protected:
    double minPlain;
    double maxPlain;
    double midPlain;
};
