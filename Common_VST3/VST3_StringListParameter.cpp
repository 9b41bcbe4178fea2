#include "Common_VST3/VST3_StringListParameter.h"

#include <algorithm>
#include <cmath>

#include "pluginterfaces/base/ustring.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

VST3_StringListParameter::VST3_StringListParameter(ParamID id, const TChar* title,
                                                   const TChar* shortTitle, int32 flags,
                                                   UnitID unitId)
    : VST3_BaseParameter(id, title, shortTitle, nullptr, -1, flags | ParameterInfo::kIsList, unitId)
{
}

void VST3_StringListParameter::appendString(const TChar* string)
{
    // The list grows ten entries at a time.
    if (strings.size() == strings.capacity()) strings.reserve(strings.size() + 10);
    strings.emplace_back(string ? string : u"");
    info.stepCount = int32(strings.size()) - 1;
}

void VST3_StringListParameter::appendString(const std::string& utf8)
{
    String128 text;
    copyText(utf8, text);
    appendString(text);
}

const TChar* VST3_StringListParameter::stringAt(int32 index) const
{
    if (index < 0 || index >= stringCount()) return nullptr;
    return strings[size_t(index)].c_str();
}

ParamValue VST3_StringListParameter::listPlain(int32 stepCount, ParamValue v)
{
    if (stepCount < 0) return 0.0;
    // stepCount + 1 equal bins; 1.0 falls in the last one by the clamp.
    const int64 i = int64(double(stepCount + 1) * heldNormalized(v));
    return double(std::clamp<int64>(i, 0, stepCount));
}

ParamValue VST3_StringListParameter::listNormalized(int32 stepCount, ParamValue plain)
{
    if (stepCount <= 0) return 0.0;
    const double i = std::clamp(std::floor(plain), 0.0, double(stepCount));
    return i / double(stepCount);
}

int32 VST3_StringListParameter::findString(const std::vector<String>& list, const TChar* text)
{
    if (text == nullptr) return -1;
    for (size_t i = 0; i < list.size(); ++i) {
        if (list[i] == text) return int32(i);
    }
    return -1;
}

void VST3_StringListParameter::toString(ParamValue valueNormalized, String128 string) const
{
    string[0] = 0;
    const TChar* text = stringAt(int32(toPlain(valueNormalized)));
    if (text) UString(string, str16BufferSize(String128)).assign(text);
}

bool VST3_StringListParameter::fromString(const TChar* string, ParamValue& valueNormalized) const
{
    const int32 index = findString(strings, string);
    if (index < 0) return false;
    valueNormalized = toNormalized(index);
    return true;
}

ParamValue VST3_StringListParameter::toPlain(ParamValue valueNormalized) const
{
    return listPlain(info.stepCount, valueNormalized);
}

ParamValue VST3_StringListParameter::toNormalized(ParamValue plainValue) const
{
    return listNormalized(info.stepCount, plainValue);
}
