#pragma once

#include "vstgui/lib/vstguibase.h"

#include <string>

namespace VSTGUI {

// A colour of four 8-bit channels, alpha 255 opaque.
struct CColor {
    constexpr CColor(uint8_t red = 255, uint8_t green = 255, uint8_t blue = 255,
                     uint8_t alpha = 255)
        : red(red), green(green), blue(blue), alpha(alpha)
    {
    }

    uint8_t red;
    uint8_t green;
    uint8_t blue;
    uint8_t alpha;

    double normRed() const { return red / 255.0; }
    double normGreen() const { return green / 255.0; }
    double normBlue() const { return blue / 255.0; }
    double normAlpha() const { return alpha / 255.0; }

    // The colour with its alpha scaled by a factor of 0..1.
    CColor withAlphaScaled(float factor) const;

    // "#rrggbbaa" or "#rrggbb" (opaque); false for anything else, leaving
    // the colour as it was.
    bool fromString(const std::string& text);
    // "#rrggbbaa".
    std::string toString() const;

    bool operator==(const CColor& o) const
    {
        return red == o.red && green == o.green && blue == o.blue && alpha == o.alpha;
    }
    bool operator!=(const CColor& o) const { return !(*this == o); }
};

constexpr CColor MakeCColor(uint8_t r = 0, uint8_t g = 0, uint8_t b = 0, uint8_t a = 255)
{
    return CColor(r, g, b, a);
}

extern const CColor kTransparentCColor;
extern const CColor kBlackCColor;
extern const CColor kWhiteCColor;
extern const CColor kGreyCColor;
extern const CColor kRedCColor;
extern const CColor kGreenCColor;
extern const CColor kBlueCColor;
extern const CColor kYellowCColor;
extern const CColor kCyanCColor;
extern const CColor kMagentaCColor;

} // namespace VSTGUI
