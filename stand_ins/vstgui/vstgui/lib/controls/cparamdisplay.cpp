#include "vstgui/lib/controls/cparamdisplay.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cdrawcontext.h"

#include <cstdio>

namespace VSTGUI {

CParamDisplay::CParamDisplay(const CRect& size, CBitmap* bitmap, int32_t style)
    : CControl(size, nullptr, -1, bitmap), style(style), font(kNormalFont)
{
}

CParamDisplay::CParamDisplay(const CParamDisplay& d)
    : CControl(d),
      valueToStringFunction(d.valueToStringFunction),
      horiTxtAlign(d.horiTxtAlign),
      style(d.style),
      valuePrecision(d.valuePrecision),
      antialias(d.antialias),
      font(d.font),
      fontColor(d.fontColor),
      backColor(d.backColor),
      frameColor(d.frameColor),
      shadowColor(d.shadowColor),
      textInset(d.textInset),
      roundRectRadius(d.roundRectRadius),
      frameWidth(d.frameWidth)
{
}

void CParamDisplay::setFont(CFontRef f)
{
    if (!f) return;
    font = f;
    setDirty(true);
}

void CParamDisplay::setFontColor(const CColor& c)
{
    fontColor = c;
    setDirty(true);
}

void CParamDisplay::setBackColor(const CColor& c)
{
    backColor = c;
    setDirty(true);
}

void CParamDisplay::setFrameColor(const CColor& c)
{
    frameColor = c;
    setDirty(true);
}

void CParamDisplay::setShadowColor(const CColor& c)
{
    shadowColor = c;
    setDirty(true);
}

void CParamDisplay::setHoriAlign(CHoriTxtAlign a)
{
    horiTxtAlign = a;
    setDirty(true);
}

void CParamDisplay::setTextInset(const CPoint& p)
{
    textInset = p;
    setDirty(true);
}

void CParamDisplay::setStyle(int32_t s)
{
    style = s;
    setDirty(true);
}

void CParamDisplay::setPrecision(uint8_t p)
{
    valuePrecision = p > 16 ? 16 : p;
    setDirty(true);
}

void CParamDisplay::setRoundRectRadius(const CCoord& r)
{
    roundRectRadius = r;
    setDirty(true);
}

void CParamDisplay::setFrameWidth(const CCoord& w)
{
    frameWidth = w;
    setDirty(true);
}

void CParamDisplay::setValueToStringFunction(const ValueToStringFunction& f)
{
    valueToStringFunction = f;
    setDirty(true);
}

void CParamDisplay::setValueToStringFunction(ValueToStringFunction&& f)
{
    valueToStringFunction = std::move(f);
    setDirty(true);
}

std::string CParamDisplay::getValueText() const
{
    char buffer[256] = {0};
    if (valueToStringFunction &&
        valueToStringFunction(value, buffer, const_cast<CParamDisplay*>(this))) {
        buffer[255] = 0;
        return buffer;
    }
    std::snprintf(buffer, sizeof buffer, "%.*f", int(valuePrecision), double(value));
    return buffer;
}

void CParamDisplay::draw(CDrawContext* pContext)
{
    if (!(style & kNoDrawStyle)) {
        drawBack(pContext);
        drawPlatformText(pContext, getValueText().c_str());
    }
    setDirty(false);
}

void CParamDisplay::drawBack(CDrawContext* pContext, CBitmap* newBack)
{
    pContext->saveGlobalState();
    CBitmap* bitmap = newBack ? newBack : getDrawBackground();
    if (bitmap) {
        bitmap->draw(pContext, size, backOffset);
    } else {
        if (!transparent) {
            pContext->setFillColor(backColor);
            if (style & kRoundRectStyle) {
                pContext->drawRoundRect(size, roundRectRadius, kDrawFilled);
            } else {
                pContext->drawRect(size, kDrawFilled);
            }
        }
        if (!(style & (k3DIn | k3DOut | kNoFrame)) && !(style & kRoundRectStyle)) {
            pContext->setLineWidth(frameWidth);
            pContext->setFrameColor(frameColor);
            pContext->drawRect(size, kDrawStroke);
        }
    }
    pContext->restoreGlobalState();
}

void CParamDisplay::drawPlatformText(CDrawContext* pContext, UTF8StringPtr string)
{
    CRect r(size);
    r.inset(textInset.x, textInset.y);
    drawPlatformText(pContext, string, r);
}

void CParamDisplay::drawPlatformText(CDrawContext* pContext, UTF8StringPtr string, const CRect& rect)
{
    if ((style & kNoTextStyle) || !string || !*string) return;
    pContext->saveGlobalState();
    pContext->setFont(font);
    if (style & kShadowText) {
        CRect shadow(rect);
        shadow.offset(1, 1);
        pContext->setFontColor(shadowColor);
        pContext->drawString(string, shadow, horiTxtAlign, antialias);
    }
    pContext->setFontColor(fontColor);
    pContext->drawString(string, rect, horiTxtAlign, antialias);
    pContext->restoreGlobalState();
}

CTextLabel::CTextLabel(const CRect& size, UTF8StringPtr txt, CBitmap* background, const int32_t style)
    : CParamDisplay(size, background, style)
{
    setText(txt);
}

void CTextLabel::setText(UTF8StringPtr txt)
{
    const std::string next = txt ? txt : "";
    if (next == text) return;
    text = next;
    setDirty(true);
}

void CTextLabel::draw(CDrawContext* pContext)
{
    drawBack(pContext);
    drawPlatformText(pContext, text.c_str());
    setDirty(false);
}

} // namespace VSTGUI
