#include "vstgui/lib/controls/ccheckbox.h"

#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/cframe.h"
#include "vstgui/lib/vstkeycode.h"

namespace VSTGUI {

CCheckBox::CCheckBox(const CRect& size, IControlListener* l, int32_t t, UTF8StringPtr title, int32_t style)
    : CParamDisplay(size, nullptr, style), title(title ? title : "")
{
    listener = l;
    tag = t;
    setWantsFocus(true);
}

void CCheckBox::draw(CDrawContext* context)
{
    const CCoord box = std::min<CCoord>(14, size.getHeight());
    const CRect mark(size.left + 1, size.top + (size.getHeight() - box) / 2, size.left + 1 + box,
                     size.top + (size.getHeight() + box) / 2);
    context->setLineWidth(1);
    context->setFillColor(backColor);
    context->setFrameColor(frameColor);
    const bool radio = (style & kRadioStyle) != 0;
    if (radio) {
        context->drawEllipse(mark, kDrawFilledAndStroked);
    } else {
        context->drawRect(mark, kDrawFilledAndStroked);
    }
    if (isChecked()) {
        context->setFillColor(fontColor);
        context->setFrameColor(fontColor);
        CRect inner(mark);
        inner.inset(4, 4);
        if (radio) {
            context->drawEllipse(inner, kDrawFilled);
        } else {
            context->setLineWidth(2);
            context->drawLine(CPoint(inner.left, inner.top + inner.getHeight() / 2),
                              CPoint(inner.left + inner.getWidth() / 3, inner.bottom));
            context->drawLine(CPoint(inner.left + inner.getWidth() / 3, inner.bottom),
                              CPoint(inner.right, inner.top));
        }
    }
    context->setFont(font);
    context->setFontColor(fontColor);
    context->drawString(title.c_str(), CRect(mark.right + 6, size.top, size.right, size.bottom), kLeftText,
                        antialias);
    setDirty(false);
}

void CCheckBox::click()
{
    beginEdit();
    setValue((style & kRadioStyle) || !isChecked() ? 1.f : 0.f);
    valueChanged();
    endEdit();
    invalid();
}

CMouseEventResult CCheckBox::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    if (!buttons.isLeftButton()) return kMouseEventNotHandled;
    click();
    return kMouseEventHandled;
}

int32_t CCheckBox::onKeyDown(VstKeyCode& key)
{
    if (key.virt != VKEY_SPACE && key.character != ' ') return -1;
    click();
    return 1;
}

CTextButton::CTextButton(const CRect& size, IControlListener* l, int32_t t, UTF8StringPtr title)
    : CParamDisplay(size), title(title ? title : "")
{
    listener = l;
    tag = t;
    backColor = CColor(236, 236, 236);
    fontColor = kBlackCColor;
    frameColor = CColor(120, 120, 120);
}

void CTextButton::draw(CDrawContext* context)
{
    CRect r(size);
    r.inset(1, 1);
    context->setFillColor(pressed ? CColor(200, 200, 200) : backColor);
    context->setFrameColor(frameColor);
    context->setLineWidth(isDefault ? 2 : 1);
    context->drawRoundRect(r, 4, kDrawFilledAndStroked);
    context->setFont(font);
    context->setFontColor(fontColor);
    context->drawString(title.c_str(), size, kCenterText, antialias);
    setDirty(false);
}

void CTextButton::push()
{
    beginEdit();
    setValue(1);
    valueChanged();
    setValue(0);
    valueChanged();
    endEdit();
}

CMouseEventResult CTextButton::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    if (!buttons.isLeftButton()) return kMouseEventNotHandled;
    pressed = true;
    invalid();
    return kMouseEventHandled;
}

CMouseEventResult CTextButton::onMouseUp(CPoint& where, const CButtonState& buttons)
{
    const bool inside = pressed && where.x >= size.left && where.x < size.right && where.y >= size.top &&
                        where.y < size.bottom;
    pressed = false;
    invalid();
    if (inside) push();
    return kMouseEventHandled;
}

} // namespace VSTGUI
