#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "Common_VST3/VST3_StringListParameter.h"

// A list parameter with several lists of texts, one in force at a time: the
// key of a scale, named in the spelling that the scale uses (one list per
// spelling). Mapping, text and parsing follow the rules of
// VST3_StringListParameter applied to the list at currentArray only, and
// stepCount is always that list's size less one (-1 while no list is held).
// Switching lists leaves the normalized value as it is.
class VST3_MultiStringArrayParameter : public VST3_BaseParameter {
public:
    using String = VST3_StringListParameter::String;

    // No units; the flags gain kIsList.
    VST3_MultiStringArrayParameter(ParamID id, const TChar* title, const TChar* shortTitle,
                                   Steinberg::int32 flags,
                                   Steinberg::Vst::UnitID unitId = Steinberg::Vst::kRootUnitId);

    // Interface thread, while the parameter is built. Adds a list of UTF-8
    // texts and returns its index. The first list added comes into force.
    Steinberg::int32 addStringArray(const std::vector<std::string>& texts);
    // Puts a list in force and sets stepCount from it; false, and nothing
    // changed, for an unknown index. Any thread where the lists have one
    // size (stepCount then stays as it is); the interface thread otherwise.
    bool setCurrentArray(Steinberg::int32 index);
    Steinberg::int32 getCurrentArray() const { return currentArray.load(std::memory_order_relaxed); }
    Steinberg::int32 arrayCount() const { return Steinberg::int32(stringArrays.size()); }

    void toString(ParamValue valueNormalized, Steinberg::Vst::String128 string) const override;
    bool fromString(const TChar* string, ParamValue& valueNormalized) const override;
    ParamValue toPlain(ParamValue valueNormalized) const override;
    ParamValue toNormalized(ParamValue plainValue) const override;

    OBJ_METHODS(VST3_MultiStringArrayParameter, VST3_BaseParameter)

protected:
    std::vector<std::vector<String>> stringArrays;
    // Switched by the engine's owner when the scale changes, read by the
    // texts on the interface thread.
    std::atomic<Steinberg::int32> currentArray{0};
};
