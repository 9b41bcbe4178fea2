#include "Common_VST3/VST3_ToggleParameter.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

VST3_ToggleParameter::VST3_ToggleParameter(ParamID id, const TChar* title, const TChar* shortTitle,
                                           int32 flags, UnitID unitId)
    : VST3_BaseParameter(id, title, shortTitle, nullptr, 1, flags, unitId)
{
}

bool VST3_ToggleParameter::setNormalized(ParamValue v)
{
    return Parameter::setNormalized(v < 0.5 ? 0.0 : 1.0);
}

ParamValue VST3_ToggleParameter::toPlain(ParamValue v) const
{
    return v < 0.5 ? 0.0 : 1.0;
}

ParamValue VST3_ToggleParameter::toNormalized(ParamValue plain) const
{
    return plain < 0.5 ? 0.0 : 1.0;
}

void VST3_ToggleParameter::toString(ParamValue valueNormalized, String128 string) const
{
    copyText(valueNormalized > 0.5 ? onText() : offText(), string);
}

bool VST3_ToggleParameter::fromString(const TChar* string, ParamValue& valueNormalized) const
{
    const std::string text = toUtf8(string);
    if (text == onText()) {
        valueNormalized = 1.0;
        return true;
    }
    if (text == offText()) {
        valueNormalized = 0.0;
        return true;
    }
    return VST3_BaseParameter::fromString(string, valueNormalized);
}
