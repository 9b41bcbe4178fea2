#include "vstgui/lib/controls/ctextedit.h"

#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/cframe.h"
#include "vstgui/lib/vstkeycode.h"

namespace VSTGUI {

namespace {

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// A code point as UTF-8.
std::string utf8(int32_t c)
{
    std::string s;
    if (c < 0x80) {
        s += char(c);
    } else if (c < 0x800) {
        s += char(0xC0 | (c >> 6));
        s += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        s += char(0xE0 | (c >> 12));
        s += char(0x80 | ((c >> 6) & 0x3F));
        s += char(0x80 | (c & 0x3F));
    } else {
        s += char(0xF0 | (c >> 18));
        s += char(0x80 | ((c >> 12) & 0x3F));
        s += char(0x80 | ((c >> 6) & 0x3F));
        s += char(0x80 | (c & 0x3F));
    }
    return s;
}

} // namespace

CTextEdit::CTextEdit(const CRect& size, IControlListener* l, int32_t t, UTF8StringPtr txt)
    : CTextLabel(size, txt)
{
    listener = l;
    tag = t;
    caret = text.size();
    setWantsFocus(true);
    setHoriAlign(kLeftText);
    setTextInset(CPoint(4, 0));
}

void CTextEdit::setText(UTF8StringPtr txt)
{
    CTextLabel::setText(txt);
    caret = text.size();
}

void CTextEdit::draw(CDrawContext* context)
{
    CTextLabel::draw(context);
    if (!focused) return;
    context->setFont(font);
    const CCoord x = size.left + textInset.x + context->getStringWidth(text.substr(0, caret).c_str());
    context->setFrameColor(fontColor);
    context->setLineWidth(1);
    context->drawLine(CPoint(x + 0.5, size.top + 3), CPoint(x + 0.5, size.bottom - 3));
    setDirty(false);
}

CMouseEventResult CTextEdit::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    if (!buttons.isLeftButton()) return kMouseEventNotHandled;
    if (CFrame* frame = getFrame()) frame->setFocusView(this);
    return kMouseEventHandled;
}

int32_t CTextEdit::onKeyDown(VstKeyCode& key)
{
    if (!focused) return -1;
    if (key.character >= 0x20 && key.character != 0x7F && (key.modifier & ~1) == 0) {
        text.insert(caret, utf8(key.character));
        caret += utf8(key.character).size();
        edited();
        return 1;
    }
    switch (key.virt) {
    case VKEY_BACK:
        if (caret == 0) return 1;
        do --caret; while (caret > 0 && isContinuation(text[caret]));
        text.erase(caret, 1);
        while (caret < text.size() && isContinuation(text[caret])) text.erase(caret, 1);
        edited();
        return 1;
    case VKEY_DELETE:
        if (caret >= text.size()) return 1;
        text.erase(caret, 1);
        while (caret < text.size() && isContinuation(text[caret])) text.erase(caret, 1);
        edited();
        return 1;
    case VKEY_LEFT:
        if (caret > 0) do --caret; while (caret > 0 && isContinuation(text[caret]));
        invalid();
        return 1;
    case VKEY_RIGHT:
        if (caret < text.size()) do ++caret; while (caret < text.size() && isContinuation(text[caret]));
        invalid();
        return 1;
    case VKEY_HOME: caret = 0; invalid(); return 1;
    case VKEY_END: caret = text.size(); invalid(); return 1;
    default: return -1;
    }
}

void CTextEdit::edited()
{
    invalid();
    valueChanged();
}

void CTextEdit::takeFocus()
{
    focused = true;
    invalid();
}

void CTextEdit::looseFocus()
{
    focused = false;
    invalid();
}

} // namespace VSTGUI
