#include "Common_VST3/VST3_BaseParameter.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Common_VST3/utilities.h"
#include "pluginterfaces/base/ustring.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

VST3_BaseParameter::VST3_BaseParameter(ParamID id, const TChar* title, const TChar* shortTitle,
                                       const TChar* units, int32 stepCount, int32 flags,
                                       UnitID unitId)
{
    info.id = id;
    if (title) UString(info.title, str16BufferSize(String128)).assign(title);
    if (shortTitle) UString(info.shortTitle, str16BufferSize(String128)).assign(shortTitle);
    if (units) UString(info.units, str16BufferSize(String128)).assign(units);
    info.stepCount = stepCount;
    info.flags = flags;
    info.unitId = unitId;
    info.defaultNormalizedValue = 0.0;
}

bool VST3_BaseParameter::fromString(const TChar* string, ParamValue& valueNormalized) const
{
    double value = 0.0;
    if (!readNumber(string, value)) return false;
    valueNormalized = toNormalized(std::clamp(value, 0.0, 1.0));
    return true;
}

bool VST3_BaseParameter::fromPlainString(const TChar* string, double end1, double end2,
                                         ParamValue& valueNormalized) const
{
    double value = 0.0;
    if (!readNumber(string, value)) return false;
    valueNormalized = toNormalized(std::clamp(value, std::min(end1, end2), std::max(end1, end2)));
    return true;
}

void VST3_BaseParameter::setDefaultPlain(ParamValue plain)
{
    info.defaultNormalizedValue = toNormalized(plain);
}

bool VST3_BaseParameter::readNumber(const TChar* string, double& value)
{
    if (string == nullptr) return false;
    const std::string text = toUtf8(string);
    size_t begin = 0;
    while (begin < text.size() && (text[begin] == ' ' || text[begin] == '\t')) ++begin;
    if (begin < text.size() && text[begin] == '+') ++begin;
    const char* first = text.data() + begin;
    const char* last = text.data() + text.size();
    const auto result = std::from_chars(first, last, value);
    return result.ec == std::errc() && std::isfinite(value);
}

std::string VST3_BaseParameter::toUtf8(const TChar* string)
{
    std::string out;
    if (string == nullptr) return out;
    for (size_t i = 0; string[i] != 0; ++i) {
        const uint32_t c = uint16_t(string[i]);
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xE0 | (c >> 12));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}

void VST3_BaseParameter::copyText(const std::string& text, String128 out)
{
    // The texts of the parameters are ASCII, with the sharp and flat signs
    // of note names as their only exceptions, all within one UTF-16 unit.
    size_t n = 0;
    for (size_t i = 0; i < text.size() && n < 127;) {
        const unsigned char b = static_cast<unsigned char>(text[i]);
        uint32_t c = b;
        int extra = b >= 0xE0 ? 2 : b >= 0xC0 ? 1 : 0;
        if (extra) c = b & (extra == 2 ? 0x0F : 0x1F);
        ++i;
        for (; extra > 0 && i < text.size(); --extra, ++i)
            c = (c << 6) | (static_cast<unsigned char>(text[i]) & 0x3F);
        out[n++] = TChar(c);
    }
    out[n] = 0;
}

double VST3_roundPlain(double y)
{
    return double(Round_ToInt(float(y)));
}
