#pragma once

// A level meter in whole segments: the on bitmap shows the lit part, the
// off bitmap the rest; vertical meters light from the bottom, horizontal
// ones from the left. A falling value drops by decreaseValue (of the
// range) per redraw.

#include "vstgui/lib/controls/ccontrol.h"

namespace VSTGUI {

class CVuMeter : public CControl {
public:
    enum Style { kHorizontal = 1 << 0, kVertical = 1 << 1 };

    CVuMeter(const CRect& size, CBitmap* onBitmap, CBitmap* offBitmap, int32_t nbLed, int32_t style = kVertical);
    CVuMeter(const CVuMeter& m) = default;

    virtual void setDecreaseStepValue(float value) { decreaseValue = value; }
    float getDecreaseStepValue() const { return decreaseValue; }
    virtual void setOnBitmap(CBitmap* bitmap) { setBackground(bitmap); }
    CBitmap* getOnBitmap() const { return getBackground(); }
    virtual void setOffBitmap(CBitmap* bitmap);
    CBitmap* getOffBitmap() const { return offBitmap; }
    void setNbLed(int32_t n) { nbLed = n; invalid(); }
    int32_t getNbLed() const { return nbLed; }
    void setStyle(int32_t s) { style = s; invalid(); }
    int32_t getStyle() const { return style; }

    void setViewSize(const CRect& rect, bool invalid = true) override;
    void draw(CDrawContext* pContext) override;

    CLASS_METHODS(CVuMeter, CControl)

protected:
    SharedPointer<CBitmap> offBitmap;
    int32_t nbLed;
    int32_t style;
    float decreaseValue = 0.1f;
    float shownValue = 0.f;
    CRect rectOn;
    CRect rectOff;
};

} // namespace VSTGUI
