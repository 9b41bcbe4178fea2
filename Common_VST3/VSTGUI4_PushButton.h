#pragma once

#include "vstgui/lib/controls/ccontrol.h"

// A momentary button: it sends its maximum when pressed (left mouse button,
// or Return or Space while it has the focus) and its minimum when released,
// each press one edit between beginEdit and endEdit. Its bitmap holds two
// pictures stacked: the top half for the button at rest, the bottom half for
// the button pressed. The bottom half shows only while the value is exactly
// the maximum.
//
// Every operation: interface thread.
class VSTGUI4_PushButton : public VSTGUI::CControl {
public:
    VSTGUI4_PushButton(const VSTGUI::CRect& size, VSTGUI::IControlListener* listener = nullptr,
                       int32_t tag = -1, VSTGUI::CBitmap* background = nullptr);
    // A copy wants the focus, whatever the original did; it is not pressed.
    VSTGUI4_PushButton(const VSTGUI4_PushButton& other);
    ~VSTGUI4_PushButton() override;

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    // The press stays on wherever the pointer goes until the button is
    // released.
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    int32_t onKeyDown(VstKeyCode& keyCode) override;
    int32_t onKeyUp(VstKeyCode& keyCode) override;
    // The bitmap's width by half its height, at the same top left corner;
    // false without a bitmap.
    bool sizeToFit() override;

    // True between a press and its release.
    bool isPressed() const { return pressedBy != PressSource::none; }

    CLASS_METHODS(VSTGUI4_PushButton, CControl)

protected:
    // Draws one of the two halves of a picture laid out like the button's
    // bitmap over the whole view: the bottom half when the value is the
    // maximum, the top half otherwise.
    void drawHalfFor(VSTGUI::CDrawContext* context, VSTGUI::CBitmap* bitmap);

private:
    // What started the press under way; only the same means ends it.
    enum class PressSource : uint8_t { none, mouse, key };

    void press(PressSource source);
    void release();

    PressSource pressedBy = PressSource::none;
};
