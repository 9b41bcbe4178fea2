#include "Common_VST3/VSTGUI4_PushButton.h"

#include "vstgui/lib/cbitmap.h"

using namespace VSTGUI;

namespace {

// The keys that work a focused button, without modifiers.
bool isPressKey(const VstKeyCode& keyCode)
{
    return keyCode.modifier == 0 && (keyCode.virt == VKEY_RETURN || keyCode.virt == VKEY_SPACE);
}

} // namespace

VSTGUI4_PushButton::VSTGUI4_PushButton(const CRect& size, IControlListener* listener, int32_t tag,
                                       CBitmap* background)
    : CControl(size, listener, tag, background)
{
}

VSTGUI4_PushButton::VSTGUI4_PushButton(const VSTGUI4_PushButton& other) : CControl(other)
{
    setWantsFocus(true);
}

VSTGUI4_PushButton::~VSTGUI4_PushButton() = default;

void VSTGUI4_PushButton::drawHalfFor(CDrawContext* context, CBitmap* bitmap)
{
    const CCoord top = value == getMax() ? bitmap->getHeight() / 2 : 0;
    bitmap->draw(context, getViewSize(), CPoint(0, top), 1.f);
}

void VSTGUI4_PushButton::draw(CDrawContext* context)
{
    if (CBitmap* bitmap = getDrawBackground()) drawHalfFor(context, bitmap);
    setDirty(false);
}

void VSTGUI4_PushButton::press(PressSource source)
{
    pressedBy = source;
    beginEdit();
    value = getMax();
    invalid();
    valueChanged();
}

void VSTGUI4_PushButton::release()
{
    pressedBy = PressSource::none;
    value = getMin();
    invalid();
    valueChanged();
    endEdit();
}

CMouseEventResult VSTGUI4_PushButton::onMouseDown(CPoint&, const CButtonState& buttons)
{
    if (!buttons.isLeftButton()) return kMouseEventNotHandled;
    // A press held on the keyboard is ended by its key, not by the mouse.
    if (isPressed()) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    press(PressSource::mouse);
    return kMouseEventHandled;
}

CMouseEventResult VSTGUI4_PushButton::onMouseUp(CPoint&, const CButtonState&)
{
    if (pressedBy != PressSource::mouse) return kMouseEventNotHandled;
    release();
    return kMouseEventHandled;
}

CMouseEventResult VSTGUI4_PushButton::onMouseMoved(CPoint&, const CButtonState&)
{
    return kMouseEventHandled;
}

int32_t VSTGUI4_PushButton::onKeyDown(VstKeyCode& keyCode)
{
    if (!isPressKey(keyCode)) return -1;
    // The repeats of a held key press nothing more.
    if (!isPressed()) press(PressSource::key);
    return 1;
}

int32_t VSTGUI4_PushButton::onKeyUp(VstKeyCode& keyCode)
{
    if (!isPressKey(keyCode)) return -1;
    if (pressedBy == PressSource::key) release();
    return 1;
}

bool VSTGUI4_PushButton::sizeToFit()
{
    CBitmap* bitmap = getBackground();
    if (!bitmap) return false;
    CRect r(getViewSize());
    r.setWidth(bitmap->getWidth());
    r.setHeight(bitmap->getHeight() / 2);
    setViewSize(r, true);
    setMouseableArea(r);
    return true;
}
