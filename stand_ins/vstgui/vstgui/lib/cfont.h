#pragma once

// Font descriptions. Text is drawn with the fonts fontconfig finds for a
// family name; the standard fonts use the DejaVu families, which the
// system's font packages provide.

#include "vstgui/lib/vstguibase.h"

#include <string>

namespace VSTGUI {

enum CTxtFace {
    kNormalFace = 0,
    kBoldFace = 1 << 1,
    kItalicFace = 1 << 2,
    kUnderlineFace = 1 << 3,
    kStrikethroughFace = 1 << 4
};

class CFontDesc : public CBaseObject {
public:
    CFontDesc(UTF8StringPtr name = "", const CCoord& size = 0, const int32_t style = 0);
    CFontDesc(const CFontDesc& font);

    UTF8StringPtr getName() const { return name.c_str(); }
    const CCoord& getSize() const { return size; }
    const int32_t& getStyle() const { return style; }
    virtual void setName(UTF8StringPtr newName);
    virtual void setSize(CCoord newSize);
    virtual void setStyle(int32_t newStyle);

    // Metrics of the font in pixels: above and below the baseline.
    double getAscent() const;
    double getDescent() const;

    bool operator==(const CFontDesc& o) const;
    bool operator!=(const CFontDesc& o) const { return !(*this == o); }

    CLASS_METHODS(CFontDesc, CBaseObject)

private:
    std::string name;
    CCoord size;
    int32_t style;
};

using CFontRef = CFontDesc*;

// The standard fonts. They live as long as the program.
extern const CFontRef kSystemFont;
extern const CFontRef kNormalFontVeryBig;
extern const CFontRef kNormalFontBig;
extern const CFontRef kNormalFont;
extern const CFontRef kNormalFontSmall;
extern const CFontRef kNormalFontSmaller;
extern const CFontRef kNormalFontVerySmall;
extern const CFontRef kSymbolFont;

} // namespace VSTGUI
