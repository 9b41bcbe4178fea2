#include "Common_VST3/VST3_MultiStringArrayParameter.h"

#include "pluginterfaces/base/ustring.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

VST3_MultiStringArrayParameter::VST3_MultiStringArrayParameter(ParamID id, const TChar* title,
                                                               const TChar* shortTitle,
                                                               int32 flags, UnitID unitId)
    : VST3_BaseParameter(id, title, shortTitle, nullptr, -1, flags | ParameterInfo::kIsList, unitId)
{
}

int32 VST3_MultiStringArrayParameter::addStringArray(const std::vector<std::string>& texts)
{
    std::vector<String> list;
    for (const auto& text : texts) {
        String128 wide;
        copyText(text, wide);
        list.emplace_back(wide);
    }
    stringArrays.push_back(std::move(list));
    if (stringArrays.size() == 1) setCurrentArray(0);
    return int32(stringArrays.size()) - 1;
}

bool VST3_MultiStringArrayParameter::setCurrentArray(int32 index)
{
    if (index < 0 || index >= arrayCount()) return false;
    currentArray.store(index, std::memory_order_relaxed);
    const int32 steps = int32(stringArrays[size_t(index)].size()) - 1;
    if (info.stepCount != steps) info.stepCount = steps;
    return true;
}

void VST3_MultiStringArrayParameter::toString(ParamValue valueNormalized, String128 string) const
{
    string[0] = 0;
    if (stringArrays.empty()) return;
    const auto& list = stringArrays[size_t(getCurrentArray())];
    const size_t index = size_t(toPlain(valueNormalized));
    if (index < list.size()) UString(string, str16BufferSize(String128)).assign(list[index].c_str());
}

bool VST3_MultiStringArrayParameter::fromString(const TChar* string, ParamValue& valueNormalized) const
{
    if (stringArrays.empty()) return false;
    const int32 index = VST3_StringListParameter::findString(stringArrays[size_t(getCurrentArray())], string);
    if (index < 0) return false;
    valueNormalized = toNormalized(index);
    return true;
}

ParamValue VST3_MultiStringArrayParameter::toPlain(ParamValue valueNormalized) const
{
    return VST3_StringListParameter::listPlain(info.stepCount, valueNormalized);
}

ParamValue VST3_MultiStringArrayParameter::toNormalized(ParamValue plainValue) const
{
    return VST3_StringListParameter::listNormalized(info.stepCount, plainValue);
}
