#pragma once

#include "Common_VST3/VST3_BaseParameter.h"

// An off/on switch: the stored value is 0.0 below 0.5 and 1.0 from 0.5 up.
// The text reads "On" only above 0.5, so at exactly 0.5 the plain value is
// 1.0 while the text says "Off": an edge kept on purpose.
class VST3_ToggleParameter : public VST3_BaseParameter {
public:
    VST3_ToggleParameter(ParamID id, const TChar* title, const TChar* shortTitle,
                         Steinberg::int32 flags,
                         Steinberg::Vst::UnitID unitId = Steinberg::Vst::kRootUnitId);

    // Interface thread: stores 0.0 below 0.5 and 1.0 from 0.5 up.
    bool setNormalized(ParamValue v) override;
    void toString(ParamValue valueNormalized, Steinberg::Vst::String128 string) const override;
    // The parameter's own two texts, exactly, and otherwise a number as the
    // base reads it; so every text this parameter shows reads back.
    bool fromString(const TChar* string, ParamValue& valueNormalized) const override;
    ParamValue toPlain(ParamValue valueNormalized) const override;
    ParamValue toNormalized(ParamValue plainValue) const override;

    OBJ_METHODS(VST3_ToggleParameter, VST3_BaseParameter)

protected:
    // The texts for off and on.
    virtual const char* offText() const { return "Off"; }
    virtual const char* onText() const { return "On"; }
};
