#include "Common_VST3/VST3_ExponentialParameter.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "Common_VST3/utilities.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

VST3_ExponentialParameter::VST3_ExponentialParameter(ParamID id, const TChar* title,
                                                     const TChar* shortTitle, const TChar* units,
                                                     double minimum, double middle, double maximum,
                                                     double defaultPlain, int32 digits, int32 flags,
                                                     UnitID unitId)
    : VST3_BaseParameter(id, title, shortTitle, units, 0, flags, unitId)
    , minPlain(minimum)
    , maxPlain(maximum)
    , midPlain(middle)
{
    precision = digits;
    setDefaultPlain(defaultPlain);
    valueNormalized = info.defaultNormalizedValue;
}

ParamValue VST3_ExponentialParameter::toPlain(ParamValue valueNormalized) const
{
    const double v = heldNormalized(valueNormalized);
    float y = maxPlain > minPlain
                  ? Exponential_Map(float(minPlain), float(midPlain), float(maxPlain), float(v))
                  : Exponential_Map(float(maxPlain), float(midPlain), float(minPlain), float(1.0 - v));
    double plain = y;
    if (precision == 0) plain = VST3_roundPlain(plain);
    return std::clamp(plain, std::min(minPlain, maxPlain), std::max(minPlain, maxPlain));
}

ParamValue VST3_ExponentialParameter::toNormalized(ParamValue y) const
{
    // The inverse of low + r / (e^k - 1) * (e^(x k) - 1), in single precision
    // as the forward map.
    const bool rising = maxPlain > minPlain;
    const float low = float(rising ? minPlain : maxPlain);
    const float high = float(rising ? maxPlain : minPlain);
    const float r = high - low;
    const float k = float(2.0 * std::log(double(r) / (midPlain - double(low)) - 1.0));
    if (r == 0.0f || k == 0.0f) return 0.0;
    const float clamped = std::clamp(float(y), low, high);
    const float x = float(std::log(double(clamped - low) * (std::exp(double(k)) - 1.0) / double(r) + 1.0) /
                          double(k));
    return std::clamp(double(rising ? x : 1.0f - x), 0.0, 1.0);
}

void VST3_ExponentialParameter::toString(ParamValue valueNormalized, String128 string) const
{
    double y = toPlain(valueNormalized);
    std::string text;
    if (precision <= 0) {
        text = std::to_string(static_cast<long long>(y));
    } else {
        const double m = std::pow(10.0, precision);
        y = VST3_roundPlain(y * m) / m;
        text = fixedText(y, int(precision));
    }
    copyText(text, string);
}

bool VST3_ExponentialParameter::fromString(const TChar* string, ParamValue& valueNormalized) const
{
    return fromPlainString(string, minPlain, maxPlain, valueNormalized);
}
