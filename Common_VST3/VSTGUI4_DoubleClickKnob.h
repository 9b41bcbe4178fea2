#pragma once

#include "vstgui/lib/controls/cknob.h"

// A picture-strip knob that goes back to its default value on a double
// click of the left button (the stock Ctrl-click works too), and whose
// mouse wheel can be switched off: a knob whose value the wheel must not
// change refuses the wheel event, so that it reaches the views behind it.
//
// Every operation: interface thread.
class VSTGUI4_DoubleClickKnob : public VSTGUI::CAnimKnob {
public:
    VSTGUI4_DoubleClickKnob(const VSTGUI::CRect& size, VSTGUI::IControlListener* listener = nullptr,
                            int32_t tag = -1, VSTGUI::CBitmap* background = nullptr,
                            const VSTGUI::CPoint& offset = VSTGUI::CPoint(0, 0));
    // A copy wants the focus, whatever the original did.
    VSTGUI4_DoubleClickKnob(const VSTGUI4_DoubleClickKnob& other);
    ~VSTGUI4_DoubleClickKnob() override;

    // True from construction.
    void setMouseWheelEnabled(bool state) { mouseWheelEnabled = state; }
    bool getMouseWheelEnabled() const { return mouseWheelEnabled; }

    using CAnimKnob::onWheel;
    // Not handled while the wheel is switched off; the stock knob's wheel
    // otherwise.
    bool onWheel(const VSTGUI::CPoint& where, const float& distance, const VSTGUI::CButtonState& buttons) override;
    // A double click of the left button sets the default value as one edit
    // and answers true; other gestures are the stock control's.
    bool checkDefaultValue(VSTGUI::CButtonState button) override;

    CLASS_METHODS(VSTGUI4_DoubleClickKnob, CAnimKnob)

protected:
    bool mouseWheelEnabled = true;
};
