#include "vstgui/lib/ccolor.h"

#include <cstdio>

namespace VSTGUI {

const CColor kTransparentCColor = CColor(255, 255, 255, 0);
const CColor kBlackCColor = CColor(0, 0, 0, 255);
const CColor kWhiteCColor = CColor(255, 255, 255, 255);
const CColor kGreyCColor = CColor(127, 127, 127, 255);
const CColor kRedCColor = CColor(255, 0, 0, 255);
const CColor kGreenCColor = CColor(0, 255, 0, 255);
const CColor kBlueCColor = CColor(0, 0, 255, 255);
const CColor kYellowCColor = CColor(255, 255, 0, 255);
const CColor kCyanCColor = CColor(0, 255, 255, 255);
const CColor kMagentaCColor = CColor(255, 0, 255, 255);

CColor CColor::withAlphaScaled(float factor) const
{
    CColor c(*this);
    const float a = float(alpha) * factor + 0.5f;
    c.alpha = uint8_t(a < 0 ? 0 : (a > 255 ? 255 : a));
    return c;
}

namespace {

int hexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

} // namespace

bool CColor::fromString(const std::string& text)
{
    if (text.size() != 7 && text.size() != 9) return false;
    if (text[0] != '#') return false;
    uint8_t channels[4] = {0, 0, 0, 255};
    const size_t count = (text.size() - 1) / 2;
    for (size_t i = 0; i < count; ++i) {
        const int hi = hexDigit(text[1 + 2 * i]);
        const int lo = hexDigit(text[2 + 2 * i]);
        if (hi < 0 || lo < 0) return false;
        channels[i] = uint8_t(hi * 16 + lo);
    }
    red = channels[0];
    green = channels[1];
    blue = channels[2];
    alpha = channels[3];
    return true;
}

std::string CColor::toString() const
{
    char buffer[10];
    std::snprintf(buffer, sizeof buffer, "#%02x%02x%02x%02x", red, green, blue, alpha);
    return buffer;
}

} // namespace VSTGUI
