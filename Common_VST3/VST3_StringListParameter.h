#pragma once

#include <string>
#include <vector>

#include "Common_VST3/VST3_BaseParameter.h"

// A parameter whose values are the entries of a list of texts, which it
// owns. The plain value is the index of an entry. The normalized range is cut
// into stepCount + 1 equal bins; toNormalized(i) is i / stepCount, which lies
// inside bin i. Texts are compared whole and case-sensitively.
class VST3_StringListParameter : public VST3_BaseParameter {
public:
    using String = std::basic_string<TChar>;

    // No units; stepCount starts at -1 and grows with each string; the
    // flags gain kIsList.
    VST3_StringListParameter(ParamID id, const TChar* title, const TChar* shortTitle,
                             Steinberg::int32 flags,
                             Steinberg::Vst::UnitID unitId = Steinberg::Vst::kRootUnitId);

    // Interface thread, while the parameter is built. The list grows ten
    // entries at a time; a null string is taken as empty.
    void appendString(const TChar* string);
    void appendString(const std::string& utf8);
    Steinberg::int32 stringCount() const { return Steinberg::int32(strings.size()); }
    // The entry at index, or null outside the list.
    const TChar* stringAt(Steinberg::int32 index) const;

    void toString(ParamValue valueNormalized, Steinberg::Vst::String128 string) const override;
    bool fromString(const TChar* string, ParamValue& valueNormalized) const override;
    ParamValue toPlain(ParamValue valueNormalized) const override;
    ParamValue toNormalized(ParamValue plainValue) const override;

    OBJ_METHODS(VST3_StringListParameter, VST3_BaseParameter)

    // The list rules, shared with the kind that holds several lists:
    // index of a normalized value, and a normalized value of an index.
    static ParamValue listPlain(Steinberg::int32 stepCount, ParamValue valueNormalized);
    static ParamValue listNormalized(Steinberg::int32 stepCount, ParamValue plainValue);
    // Index of the first string equal to text, or -1.
    static Steinberg::int32 findString(const std::vector<String>& strings, const TChar* text);

protected:
    std::vector<String> strings;
};
