#pragma once

#include <string>

#include "public.sdk/source/vst/vstparameters.h"

// The root of the effect's parameter kinds. A host and the editor see only
// normalized values from 0 to 1; each kind maps them to plain values and
// text. All operations belong to the interface thread, except getNormalized
// and toPlain, which the audio thread also calls on the values of a block.
//
// Texts are UTF-16 (TChar). Numbers are read and written in the "C" form
// whatever the process locale: a host in a locale with a decimal comma still
// gets "5.5", and reads it back.
class VST3_BaseParameter : public Steinberg::Vst::Parameter {
public:
    using ParamID = Steinberg::Vst::ParamID;
    using ParamValue = Steinberg::Vst::ParamValue;
    using TChar = Steinberg::Vst::TChar;

    // The three texts are optional (null leaves a field empty) and are cut to
    // the 127 units of the info record. defaultNormalizedValue starts at 0.
    VST3_BaseParameter(ParamID id, const TChar* title, const TChar* shortTitle,
                       const TChar* units, Steinberg::int32 stepCount, Steinberg::int32 flags,
                       Steinberg::Vst::UnitID unitId = Steinberg::Vst::kRootUnitId);

    // Interface thread. Reads a number, holds it within 0..1 and converts it
    // with toNormalized. False, and valueNormalized untouched, if the text
    // does not start with a number.
    bool fromString(const TChar* string, ParamValue& valueNormalized) const override;

    // Interface thread. The default, given as a plain value; the current
    // value stays.
    void setDefaultPlain(ParamValue plain);

    OBJ_METHODS(VST3_BaseParameter, Parameter)

protected:
    // fromString of the kinds with plain ends: reads a plain value, holds it
    // within the ends (in either order) and converts it with toNormalized.
    bool fromPlainString(const TChar* string, double end1, double end2,
                         ParamValue& valueNormalized) const;

    // A normalized value held within 0..1, NaN taken as 0. The mappings start
    // with it so that no host value can push a conversion out of range.
    static ParamValue heldNormalized(ParamValue v);

    // value with that many decimals ("%.*f" in the "C" locale); a text that
    // reads as zero carries no minus sign.
    static std::string fixedText(double value, int decimals);

public:
    // Helpers for the kinds and the catalogue, any thread but the audio one.
    // The leading number of a text, after blanks and an optional '+'; later
    // text is ignored ("25 cents" reads 25). False for no number, or for a
    // value that is not finite.
    static bool readNumber(const TChar* string, double& value);
    // UTF-16 to UTF-8, and back; copyText cuts at 127 units, never inside a
    // surrogate pair, and always terminates.
    static std::string toUtf8(const TChar* string);
    static void copyText(const std::string& text, Steinberg::Vst::String128 out);
};

// Rounds half away from zero, the value held in single precision first
// (Round_ToInt of the units).
double VST3_roundPlain(double y);
