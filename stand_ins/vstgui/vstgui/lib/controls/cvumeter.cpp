#include "vstgui/lib/controls/cvumeter.h"

#include "vstgui/lib/cbitmap.h"

#include <cmath>

namespace VSTGUI {

CVuMeter::CVuMeter(const CRect& size, CBitmap* onBitmap, CBitmap* off, int32_t nbLed, int32_t style)
    : CControl(size, nullptr, -1, onBitmap), offBitmap(off), nbLed(nbLed), style(style), rectOn(size), rectOff(size)
{
    setWantsFocus(false);
}

void CVuMeter::setOffBitmap(CBitmap* bitmap)
{
    offBitmap = bitmap;
    invalid();
}

void CVuMeter::setViewSize(const CRect& rect, bool invalidate)
{
    CControl::setViewSize(rect, invalidate);
    rectOn = size;
    rectOff = size;
}

void CVuMeter::draw(CDrawContext* pContext)
{
    CBitmap* on = getOnBitmap();
    if (!on) {
        setDirty(false);
        return;
    }
    float target = getValueNormalized();
    float next = shownValue - decreaseValue;
    if (next < target) next = target;
    shownValue = next;
    const float leds = float(nbLed > 0 ? nbLed : 1);
    const float lit = std::floor(next * leds + 0.5f) / leds;
    if (style & kHorizontal) {
        const CCoord w = std::floor(lit * getWidth());
        const CRect onPart(rectOn.left, rectOn.top, rectOn.left + w, rectOn.bottom);
        const CRect offPart(rectOff.left + w, rectOff.top, rectOff.right, rectOff.bottom);
        if (offBitmap) offBitmap->draw(pContext, offPart, CPoint(w, 0));
        on->draw(pContext, onPart, CPoint(0, 0));
    } else {
        const CCoord h = std::floor(lit * getHeight());
        const CRect offPart(rectOff.left, rectOff.top, rectOff.right, rectOff.bottom - h);
        const CRect onPart(rectOn.left, rectOn.bottom - h, rectOn.right, rectOn.bottom);
        if (offBitmap) offBitmap->draw(pContext, offPart, CPoint(0, 0));
        on->draw(pContext, onPart, CPoint(0, getHeight() - h));
    }
    setDirty(false);
    // Keep falling until the shown level meets the value.
    if (shownValue > target) invalid();
}

} // namespace VSTGUI
