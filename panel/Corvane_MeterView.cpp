#include "panel/Corvane_MeterView.h"

#include "Common_VST3/VSTGUI4_PlainViewCreator.h"
#include "vstgui/lib/cbitmap.h"

using namespace VSTGUI;

Corvane_MeterView::Corvane_MeterView(const CRect& size) : CVuMeter(size, nullptr, nullptr, 0, 0) {}

void Corvane_MeterView::draw(CDrawContext* context)
{
    CBitmap* on = getOnBitmap();
    CBitmap* off = getOffBitmap();
    if (on == nullptr || off == nullptr) return;
    bounceValue();
    // No fall-back: the bar follows the value at once.
    const float a = getMin() + value;
    oldValue = value;
    // Without segments there is no bar, as at the centre.
    if (nbLed > 0) {
        // The bar's end, on whole segments, and the centre, in pixels from
        // the left edge.
        const CCoord p = CCoord(int32_t(a * float(nbLed) + 0.5f)) / nbLed * on->getWidth();
        const CCoord h = getWidth() * 0.5;
        // The lit part is drawn on past its end and the last draw covers the
        // excess, so the order matters. A bar at the centre draws nothing
        // and leaves the last picture standing.
        if (p > h) {
            off->draw(context, CRect(rectOff.left, rectOff.top, rectOff.left + h, rectOff.bottom), CPoint(0, 0), 1.f);
            on->draw(context, CRect(rectOn.left + h, rectOn.top, rectOn.left + h + p, rectOn.bottom), CPoint(h, 0),
                     1.f);
            off->draw(context, CRect(rectOff.left + p, rectOff.top, rectOff.right, rectOff.bottom), CPoint(p, 0), 1.f);
        } else if (p < h) {
            off->draw(context, CRect(rectOff.left, rectOff.top, rectOff.left + p, rectOff.bottom), CPoint(0, 0), 1.f);
            on->draw(context, CRect(rectOn.left + p, rectOn.top, rectOn.left + p + h, rectOn.bottom), CPoint(p, 0),
                     1.f);
            off->draw(context, CRect(rectOff.left + h, rectOff.top, rectOff.right, rectOff.bottom), CPoint(h, 0), 1.f);
        }
    }
    setDirty(false);
}

void Corvane_MeterView_register()
{
    // The pictures, segments and binding come from the attributes, which
    // the factory hands to the creators of the bases.
    VSTGUI4_registerPlainView<Corvane_MeterView>("Corvane_MeterView", "CVuMeter");
}
