#include "hostlib/utf16.h"

#include <cstdint>

namespace hostlib {

namespace {

constexpr uint32_t kReplacement = 0xFFFD;

bool is_high_surrogate(uint32_t u) { return u >= 0xD800 && u < 0xDC00; }
bool is_low_surrogate(uint32_t u) { return u >= 0xDC00 && u < 0xE000; }

void append_utf8(std::string& out, uint32_t c)
{
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

// Decodes one character starting at text[i] and moves i past it. Overlong
// forms, surrogates, values above U+10FFFF and broken sequences give
// U+FFFD; a broken sequence consumes only its lead byte.
uint32_t next_code_point(const std::string& text, size_t& i)
{
    const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    int extra = 0;
    uint32_t c = 0;
    uint32_t least = 0;
    if (lead < 0x80) {
        ++i;
        return lead;
    } else if (lead >= 0xC2 && lead < 0xE0) {
        extra = 1;
        c = lead & 0x1F;
        least = 0x80;
    } else if (lead >= 0xE0 && lead < 0xF0) {
        extra = 2;
        c = lead & 0x0F;
        least = 0x800;
    } else if (lead >= 0xF0 && lead < 0xF5) {
        extra = 3;
        c = lead & 0x07;
        least = 0x10000;
    } else {
        ++i;
        return kReplacement;
    }
    for (int k = 1; k <= extra; ++k) {
        if (i + size_t(k) >= text.size() || (byte(i + size_t(k)) & 0xC0) != 0x80) {
            ++i;
            return kReplacement;
        }
        c = (c << 6) | (byte(i + size_t(k)) & 0x3F);
    }
    i += size_t(extra) + 1;
    if (c < least || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) return kReplacement;
    return c;
}

} // namespace

std::string to_utf8(const Steinberg::Vst::TChar* text)
{
    std::string out;
    if (text == nullptr) return out;
    for (size_t i = 0; text[i] != 0; ++i) {
        uint32_t c = uint16_t(text[i]);
        if (is_high_surrogate(c) && is_low_surrogate(uint16_t(text[i + 1]))) {
            c = 0x10000 + ((c - 0xD800) << 10) + (uint16_t(text[i + 1]) - 0xDC00);
            ++i;
        } else if (is_high_surrogate(c) || is_low_surrogate(c)) {
            c = kReplacement;
        }
        append_utf8(out, c);
    }
    return out;
}

bool from_utf8(const std::string& text, Steinberg::Vst::TChar* out, int capacity)
{
    if (capacity <= 0) return text.empty();
    int n = 0;
    size_t i = 0;
    while (i < text.size()) {
        const uint32_t c = next_code_point(text, i);
        const int units = c >= 0x10000 ? 2 : 1;
        // Room for the character and the terminating zero.
        if (n + units > capacity - 1) {
            out[n] = 0;
            return false;
        }
        if (units == 2) {
            out[n++] = Steinberg::Vst::TChar(0xD800 + ((c - 0x10000) >> 10));
            out[n++] = Steinberg::Vst::TChar(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            out[n++] = Steinberg::Vst::TChar(c);
        }
    }
    out[n] = 0;
    return true;
}

} // namespace hostlib
