#pragma once

// A field of text the user edits with the keyboard once a click has given
// it the frame's focus: characters are typed at the caret, Backspace and
// Delete remove one, Left, Right, Home and End move the caret. Return,
// Escape and Tab are left to the views around it. The listener hears of
// every edit through valueChanged.

#include "vstgui/lib/controls/cparamdisplay.h"

namespace VSTGUI {

class CTextEdit : public CTextLabel {
public:
    CTextEdit(const CRect& size, IControlListener* listener, int32_t tag, UTF8StringPtr txt = nullptr);

    // The text, with the caret after its end.
    void setText(UTF8StringPtr txt) override;
    // Byte offset of the caret in the UTF-8 text.
    size_t getCaret() const { return caret; }
    bool hasFocus() const { return focused; }

    void draw(CDrawContext* pContext) override;
    CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
    int32_t onKeyDown(VstKeyCode& keyCode) override;
    void takeFocus() override;
    void looseFocus() override;

    CLASS_METHODS(CTextEdit, CTextLabel)

private:
    void edited();
    size_t caret = 0;
    bool focused = false;
};

} // namespace VSTGUI
