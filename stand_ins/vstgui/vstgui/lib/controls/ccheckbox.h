#pragma once

// A box with a title beside it that a click ticks or clears (value 1 or 0),
// or, in the radio style, a round button that a click only ticks: the views
// around a group of them clear the others. Space ticks it as a click does
// when it has the focus.

#include "vstgui/lib/controls/cparamdisplay.h"

namespace VSTGUI {

class CCheckBox : public CParamDisplay {
public:
    enum { kRadioStyle = 1 << 16 };

    CCheckBox(const CRect& size, IControlListener* listener, int32_t tag, UTF8StringPtr title,
              int32_t style = 0);

    void setTitle(UTF8StringPtr title) { this->title = title ? title : ""; invalid(); }
    UTF8StringPtr getTitle() const { return title.c_str(); }
    bool isChecked() const { return getValue() >= 0.5f; }

    void draw(CDrawContext* pContext) override;
    CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
    int32_t onKeyDown(VstKeyCode& keyCode) override;

    CLASS_METHODS(CCheckBox, CParamDisplay)

private:
    void click();
    std::string title;
};

// A push button with a title: a press and release inside it sends the value
// 1 and then 0 to its listener. The default button of a dialog is drawn
// with a heavier frame.
class CTextButton : public CParamDisplay {
public:
    CTextButton(const CRect& size, IControlListener* listener, int32_t tag, UTF8StringPtr title);

    void setDefault(bool state) { isDefault = state; invalid(); }
    UTF8StringPtr getTitle() const { return title.c_str(); }
    // What a click does, for the keys that stand for the button.
    void push();

    void draw(CDrawContext* pContext) override;
    CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;

    CLASS_METHODS(CTextButton, CParamDisplay)

private:
    std::string title;
    bool isDefault = false;
    bool pressed = false;
};

} // namespace VSTGUI
