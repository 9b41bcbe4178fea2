#include "Common_VST3/VST3_BaseParameter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

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

ParamValue VST3_BaseParameter::heldNormalized(ParamValue v)
{
    if (!(v > 0.0)) return 0.0; // also NaN
    return v < 1.0 ? v : 1.0;
}

std::string VST3_BaseParameter::fixedText(double value, int decimals)
{
    // Wide enough for any finite double printed in full with 100 decimals.
    char text[420];
    decimals = std::clamp(decimals, 0, 100);
    const auto result =
        std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals);
    if (result.ec != std::errc()) return std::string();
    std::string out(text, result.ptr);
    if (!out.empty() && out[0] == '-' &&
        out.find_first_not_of("0.", 1) == std::string::npos) {
        out.erase(0, 1);
    }
    return out;
}

bool VST3_BaseParameter::readNumber(const TChar* string, double& value)
{
    if (string == nullptr) return false;
    const std::string text = toUtf8(string);
    size_t begin = 0;
    while (begin < text.size() && (text[begin] == ' ' || text[begin] == '\t')) ++begin;
    if (begin < text.size() && text[begin] == '+') {
        ++begin;
        if (begin < text.size() && text[begin] == '-') return false;
    }
    double parsed = 0.0;
    const auto result = std::from_chars(text.data() + begin, text.data() + text.size(), parsed);
    if (result.ec != std::errc() || !std::isfinite(parsed)) return false;
    value = parsed;
    return true;
}

std::string VST3_BaseParameter::toUtf8(const TChar* string)
{
    std::string out;
    if (string == nullptr) return out;
    for (size_t i = 0; string[i] != 0; ++i) {
        uint32_t c = uint16_t(string[i]);
        // A surrogate pair is one code point of four bytes; a lone surrogate
        // goes through as its own three bytes.
        const uint32_t next = uint16_t(string[i + 1]);
        if (c >= 0xD800 && c < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
            ++i;
        }
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += char(0xE0 | (c >> 12));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xF0 | (c >> 18));
            out += char(0x80 | ((c >> 12) & 0x3F));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}

void VST3_BaseParameter::copyText(const std::string& text, String128 out)
{
    // The texts of the parameters are ASCII, with the sharp and flat signs of
    // note names as their only likely exceptions. A byte that starts no valid
    // sequence goes through as the code point of the same number.
    constexpr size_t last = 127; // units before the terminator
    size_t n = 0;
    for (size_t i = 0; i < text.size() && n < last;) {
        const unsigned char b = static_cast<unsigned char>(text[i++]);
        int extra = 0;
        uint32_t c = b;
        if (b >= 0xC0 && b < 0xE0) {
            extra = 1;
            c = b & 0x1Fu;
        } else if (b >= 0xE0 && b < 0xF0) {
            extra = 2;
            c = b & 0x0Fu;
        } else if (b >= 0xF0 && b < 0xF5) {
            extra = 3;
            c = b & 0x07u;
        }
        for (; extra > 0 && i < text.size(); --extra, ++i)
            c = (c << 6) | (static_cast<unsigned char>(text[i]) & 0x3Fu);
        if (c > 0x10FFFF) c = 0xFFFD;
        if (c >= 0x10000) {
            if (n + 2 > last) break;
            c -= 0x10000;
            out[n++] = TChar(0xD800 + (c >> 10));
            out[n++] = TChar(0xDC00 + (c & 0x3FF));
        } else {
            out[n++] = TChar(c);
        }
    }
    out[n] = 0;
}

double VST3_roundPlain(double y)
{
    return double(Round_ToInt(float(y)));
}
