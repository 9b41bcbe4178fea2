#pragma once

// Buttons drawn from one bitmap of two pictures stacked: the top one at
// rest (off), the bottom one pressed (on), each as high as the view.

#include "vstgui/lib/controls/ccontrol.h"

namespace VSTGUI {

// Toggles between its minimum and maximum on each press.
class COnOffButton : public CControl {
public:
    enum { kPreListenerUpdate = 1 << 0, kPostListenerUpdate = 1 << 1 };

    COnOffButton(const CRect& size, IControlListener* listener = nullptr, int32_t tag = -1,
                 CBitmap* background = nullptr, int32_t style = kPreListenerUpdate);
    COnOffButton(const COnOffButton& b) = default;

    int32_t getStyle() const { return style; }
    void setStyle(int32_t s) { style = s; }

    void draw(CDrawContext* pContext) override;
    CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
    int32_t onKeyDown(VstKeyCode& keyCode) override;
    bool sizeToFit() override;

    CLASS_METHODS(COnOffButton, CControl)

protected:
    // Switches to the other state as one edit.
    void toggle();
    int32_t style;
};

// Goes to its maximum while held and back to its minimum on release.
class CKickButton : public CControl {
public:
    CKickButton(const CRect& size, IControlListener* listener = nullptr, int32_t tag = -1,
                CBitmap* background = nullptr, const CPoint& offset = CPoint(0, 0));
    CKickButton(const CKickButton& b) = default;

    void draw(CDrawContext* pContext) override;
    CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
    int32_t onKeyDown(VstKeyCode& keyCode) override;
    int32_t onKeyUp(VstKeyCode& keyCode) override;
    bool sizeToFit() override;

    CLASS_METHODS(CKickButton, CControl)

private:
    CPoint offset;
    float fEntryState = 0.f;
    bool pressed = false;
};

} // namespace VSTGUI
