#pragma once

// A switch of several positions, one picture per position stacked in the
// bitmap; the horizontal switch picks the position from where along its
// width the mouse is. Position i of n stands for the normalized value
// i / (n - 1).

#include "vstgui/lib/controls/ccontrol.h"

namespace VSTGUI {

class CHorizontalSwitch : public CControl, public IMultiBitmapControl {
public:
    CHorizontalSwitch(const CRect& size, IControlListener* listener, int32_t tag, int32_t subPixmaps,
                      CCoord heightOfOneImage, int32_t iMaxPositions, CBitmap* background,
                      const CPoint& offset = CPoint(0, 0));
    // The number of positions follows from the bitmap and the view height.
    CHorizontalSwitch(const CRect& size, IControlListener* listener = nullptr, int32_t tag = -1,
                      CBitmap* background = nullptr, const CPoint& offset = CPoint(0, 0));
    CHorizontalSwitch(const CHorizontalSwitch& s) = default;

    void setNumSubPixmaps(int32_t num) override;
    // The position shown for the current value, 0..subPixmaps-1.
    int32_t getPosition() const;

    void draw(CDrawContext* pContext) override;
    CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
    bool onWheel(const CPoint& where, const float& distance, const CButtonState& buttons) override;
    int32_t onKeyDown(VstKeyCode& keyCode) override;
    void setBackground(CBitmap* background) override;

    CLASS_METHODS(CHorizontalSwitch, CControl)

private:
    // Sets the position as a value edit; true when the value changed.
    bool setPosition(int32_t position);
    CPoint offset;
    bool tracking = false;
};

} // namespace VSTGUI
