#pragma once

#include <string>

#include "public.sdk/source/vst/vstparameters.h"

// The root of the effect's parameter kinds. A host and the editor see only
// normalized values from 0 to 1; each kind maps them to plain values and
// text. All kinds are plain objects of the interface thread, except that
// getNormalized and toPlain are read by the audio thread.
class VST3_BaseParameter : public Steinberg::Vst::Parameter {
public:
    using ParamID = Steinberg::Vst::ParamID;
    using ParamValue = Steinberg::Vst::ParamValue;
    using TChar = Steinberg::Vst::TChar;

    // The texts are optional; defaultNormalizedValue starts at 0.
    VST3_BaseParameter(ParamID id, const TChar* title, const TChar* shortTitle,
                       const TChar* units, Steinberg::int32 stepCount, Steinberg::int32 flags,
                       Steinberg::Vst::UnitID unitId = Steinberg::Vst::kRootUnitId);

    // Reads a number, holds it within 0..1 and converts it with toNormalized.
    bool fromString(const TChar* string, ParamValue& valueNormalized) const override;

    // The default, given as a plain value; the current value stays.
    void setDefaultPlain(ParamValue plain);

    OBJ_METHODS(VST3_BaseParameter, Parameter)

protected:
    // fromString of the kinds with plain ends: reads a plain value, holds it
    // within the ends (in either order) and converts it with toNormalized.
    bool fromPlainString(const TChar* string, double end1, double end2,
                         ParamValue& valueNormalized) const;

public:

    // Helpers for the kinds: the leading number of a text, in any locale;
    // UTF-16 to and from plain ASCII-or-UTF-8 text.
    static bool readNumber(const TChar* string, double& value);
    static std::string toUtf8(const TChar* string);
    static void copyText(const std::string& text, Steinberg::Vst::String128 out);
};

// Rounds half away from zero, the value held in single precision first.
double VST3_roundPlain(double y);
