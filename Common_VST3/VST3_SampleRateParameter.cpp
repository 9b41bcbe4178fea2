#include "Common_VST3/VST3_SampleRateParameter.h"

#include <string>

void VST3_SampleRateParameter::toString(ParamValue valueNormalized,
                                        Steinberg::Vst::String128 string) const
{
    std::string text = fixedText(toPlain(valueNormalized) / 1000.0, 3);
    const size_t point = text.find('.');
    if (point != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') text.pop_back();
    }
    copyText(text + " kHz", string);
}
