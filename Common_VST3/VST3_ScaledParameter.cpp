#include "Common_VST3/VST3_ScaledParameter.h"

#include <algorithm>
#include <string>

using namespace Steinberg;
using namespace Steinberg::Vst;

VST3_ScaledParameter::VST3_ScaledParameter(ParamID id, const TChar* title, const TChar* shortTitle,
                                           const TChar* units, double minimum, double maximum,
                                           double defaultPlain, int32 digits, int32 flags,
                                           int32 stepCount, UnitID unitId)
    : VST3_BaseParameter(id, title, shortTitle, units, stepCount, flags, unitId)
    , minPlain(minimum)
    , maxPlain(maximum)
{
    precision = digits;
    setDefaultPlain(defaultPlain);
    valueNormalized = info.defaultNormalizedValue;
}

ParamValue VST3_ScaledParameter::toPlain(ParamValue valueNormalized) const
{
    const double v = heldNormalized(valueNormalized);
    double y = maxPlain > minPlain ? (maxPlain - minPlain) * v + minPlain
                                   : (minPlain - maxPlain) * (1.0 - v) + maxPlain;
    if (precision == 0) y = VST3_roundPlain(y);
    return std::clamp(y, std::min(minPlain, maxPlain), std::max(minPlain, maxPlain));
}

ParamValue VST3_ScaledParameter::toNormalized(ParamValue y) const
{
    if (maxPlain == minPlain) return 0.0;
    const double v = maxPlain > minPlain ? (y - minPlain) / (maxPlain - minPlain)
                                         : 1.0 - (y - maxPlain) / (minPlain - maxPlain);
    return std::clamp(v, 0.0, 1.0);
}

void VST3_ScaledParameter::toString(ParamValue valueNormalized, String128 string) const
{
    const double y = toPlain(valueNormalized);
    const std::string text = precision != 0 ? fixedText(y, int(precision))
                                            : std::to_string(static_cast<long long>(y));
    copyText(text, string);
}

bool VST3_ScaledParameter::fromString(const TChar* string, ParamValue& valueNormalized) const
{
    return fromPlainString(string, minPlain, maxPlain, valueNormalized);
}
