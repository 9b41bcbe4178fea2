#include "vstgui/lib/controls/cbuttons.h"

#include "vstgui/lib/cbitmap.h"

namespace VSTGUI {

namespace {

// Both buttons draw from a picture of two states stacked vertically: the view
// takes the picture's width and half its height.
bool sizeToTwoStates(CView& view)
{
    CBitmap* bitmap = view.getBackground();
    if (!bitmap) return false;
    CRect r(view.getViewSize());
    r.setWidth(bitmap->getWidth());
    r.setHeight(bitmap->getHeight() / 2);
    view.setViewSize(r, true);
    view.setMouseableArea(r);
    return true;
}

} // namespace

COnOffButton::COnOffButton(const CRect& size, IControlListener* listener, int32_t tag, CBitmap* background,
                           int32_t style)
    : CControl(size, listener, tag, background), style(style)
{
    setWantsFocus(true);
}

void COnOffButton::draw(CDrawContext* pContext)
{
    if (CBitmap* bitmap = getDrawBackground()) {
        const CCoord off = value == getMax() ? getHeight() : 0;
        bitmap->draw(pContext, size, CPoint(0, off));
    }
    setDirty(false);
}

void COnOffButton::toggle()
{
    value = (value == getMax()) ? getMin() : getMax();
    invalid();
    beginEdit();
    valueChanged();
    endEdit();
}

CMouseEventResult COnOffButton::onMouseDown(CPoint&, const CButtonState& buttons)
{
    if (!buttons.isLeftButton()) return kMouseEventNotHandled;
    toggle();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

int32_t COnOffButton::onKeyDown(VstKeyCode& keyCode)
{
    if (keyCode.modifier == 0 && (keyCode.virt == VKEY_RETURN || keyCode.virt == VKEY_SPACE)) {
        toggle();
        return 1;
    }
    return -1;
}

bool COnOffButton::sizeToFit()
{
    return sizeToTwoStates(*this);
}

CKickButton::CKickButton(const CRect& size, IControlListener* listener, int32_t tag, CBitmap* background,
                         const CPoint& offset)
    : CControl(size, listener, tag, background), offset(offset)
{
    setWantsFocus(true);
}

void CKickButton::draw(CDrawContext* pContext)
{
    if (CBitmap* bitmap = getDrawBackground()) {
        const CCoord off = value == getMax() ? getHeight() : 0;
        bitmap->draw(pContext, size, CPoint(offset.x, offset.y + off));
    }
    setDirty(false);
}

CMouseEventResult CKickButton::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    if (!buttons.isLeftButton()) return kMouseEventNotHandled;
    fEntryState = value;
    pressed = true;
    beginEdit();
    return onMouseMoved(where, buttons);
}

CMouseEventResult CKickButton::onMouseMoved(CPoint& where, const CButtonState& buttons)
{
    if (!pressed) return kMouseEventNotHandled;
    const float next = (buttons.isLeftButton() && getViewSize().pointInside(where)) ? getMax() : getMin();
    if (next != value) {
        value = next;
        invalid();
        valueChanged();
    }
    return kMouseEventHandled;
}

CMouseEventResult CKickButton::onMouseUp(CPoint&, const CButtonState&)
{
    if (!pressed) return kMouseEventNotHandled;
    pressed = false;
    if (value != getMin()) {
        value = getMin();
        invalid();
        valueChanged();
    }
    endEdit();
    return kMouseEventHandled;
}

int32_t CKickButton::onKeyDown(VstKeyCode& keyCode)
{
    if (keyCode.modifier == 0 && (keyCode.virt == VKEY_RETURN || keyCode.virt == VKEY_SPACE)) {
        if (value != getMax()) {
            beginEdit();
            value = getMax();
            invalid();
            valueChanged();
        }
        return 1;
    }
    return -1;
}

int32_t CKickButton::onKeyUp(VstKeyCode& keyCode)
{
    if (keyCode.modifier == 0 && (keyCode.virt == VKEY_RETURN || keyCode.virt == VKEY_SPACE)) {
        if (value == getMax()) {
            value = getMin();
            invalid();
            valueChanged();
            endEdit();
        }
        return 1;
    }
    return -1;
}

bool CKickButton::sizeToFit()
{
    return sizeToTwoStates(*this);
}

} // namespace VSTGUI
