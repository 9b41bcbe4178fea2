#pragma once

// A control that shows its value as text, in a font and colours of its
// own, over a filled background or its bitmap.

#include "vstgui/lib/cdrawdefs.h"
#include "vstgui/lib/cfont.h"
#include "vstgui/lib/controls/ccontrol.h"

#include <functional>

namespace VSTGUI {

enum CParamDisplayStyle {
    k3DIn = 1 << 0,
    k3DOut = 1 << 1,
    kShadowText = 1 << 2,
    kNoTextStyle = 1 << 3,
    kNoDrawStyle = 1 << 4,
    kRoundRectStyle = 1 << 5,
    kNoFrame = 1 << 6
};

class CParamDisplay : public CControl {
public:
    // Writes the text of a value into the 256-byte buffer; false falls
    // back to the number with the display's precision.
    using ValueToStringFunction = std::function<bool(float value, char utf8String[256], CParamDisplay* display)>;

    CParamDisplay(const CRect& size, CBitmap* background = nullptr, int32_t style = 0);
    CParamDisplay(const CParamDisplay& display);

    virtual void setFont(CFontRef font);
    CFontRef getFont() const { return font; }
    virtual void setFontColor(const CColor& color);
    const CColor& getFontColor() const { return fontColor; }
    virtual void setBackColor(const CColor& color);
    const CColor& getBackColor() const { return backColor; }
    virtual void setFrameColor(const CColor& color);
    const CColor& getFrameColor() const { return frameColor; }
    virtual void setShadowColor(const CColor& color);
    const CColor& getShadowColor() const { return shadowColor; }
    virtual void setHoriAlign(CHoriTxtAlign align);
    CHoriTxtAlign getHoriAlign() const { return horiTxtAlign; }
    virtual void setTextInset(const CPoint& inset);
    const CPoint& getTextInset() const { return textInset; }
    virtual void setStyle(int32_t style);
    int32_t getStyle() const { return style; }
    virtual void setPrecision(uint8_t precision);
    uint8_t getPrecision() const { return valuePrecision; }
    virtual void setAntialias(bool state) { antialias = state; }
    bool getAntialias() const { return antialias; }
    virtual void setRoundRectRadius(const CCoord& radius);
    CCoord getRoundRectRadius() const { return roundRectRadius; }
    virtual void setFrameWidth(const CCoord& width);
    CCoord getFrameWidth() const { return frameWidth; }

    void setValueToStringFunction(const ValueToStringFunction& f);
    void setValueToStringFunction(ValueToStringFunction&& f);
    // The text the display shows for its current value.
    virtual std::string getValueText() const;

    void draw(CDrawContext* pContext) override;

    CLASS_METHODS(CParamDisplay, CControl)

protected:
    virtual void drawBack(CDrawContext* pContext, CBitmap* newBack = nullptr);
    virtual void drawPlatformText(CDrawContext* pContext, UTF8StringPtr string);
    virtual void drawPlatformText(CDrawContext* pContext, UTF8StringPtr string, const CRect& size);

    ValueToStringFunction valueToStringFunction;
    CHoriTxtAlign horiTxtAlign = kCenterText;
    int32_t style;
    uint8_t valuePrecision = 2;
    bool antialias = true;
    SharedPointer<CFontDesc> font;
    CColor fontColor = kWhiteCColor;
    CColor backColor = kBlackCColor;
    CColor frameColor = kBlackCColor;
    CColor shadowColor = kRedCColor;
    CPoint textInset;
    CCoord roundRectRadius = 6;
    CCoord frameWidth = 1;
};

// A display of a fixed text.
class CTextLabel : public CParamDisplay {
public:
    CTextLabel(const CRect& size, UTF8StringPtr txt = nullptr, CBitmap* background = nullptr,
               const int32_t style = 0);
    CTextLabel(const CTextLabel& label) = default;

    virtual void setText(UTF8StringPtr txt);
    UTF8StringPtr getText() const { return text.c_str(); }

    void draw(CDrawContext* pContext) override;

    CLASS_METHODS(CTextLabel, CParamDisplay)

protected:
    std::string text;
};

} // namespace VSTGUI
