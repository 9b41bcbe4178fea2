#include "Common_VST3/VST3_SampleRateParameter.h"

#include <cmath>
#include <cstdio>

void VST3_SampleRateParameter::toString(ParamValue valueNormalized,
                                        Steinberg::Vst::String128 string) const
{
    const double kilohertz = toPlain(valueNormalized) / 1000.0;
    char text[64];
    const double tenths = std::round(kilohertz * 10.0);
    if (std::fmod(tenths, 10.0) == 0.0) {
        std::snprintf(text, sizeof text, "%.0f kHz", tenths / 10.0);
    } else {
        std::snprintf(text, sizeof text, "%.1f kHz", tenths / 10.0);
    }
    copyText(text, string);
}
