#include "vstgui/lib/controls/cswitch.h"

#include "vstgui/lib/cbitmap.h"

#include <cmath>

namespace VSTGUI {

CHorizontalSwitch::CHorizontalSwitch(const CRect& size, IControlListener* listener, int32_t tag,
                                     int32_t subPixmaps, CCoord heightOfOneImage, int32_t,
                                     CBitmap* background, const CPoint& offset)
    : CControl(size, listener, tag, background), offset(offset)
{
    this->subPixmaps = subPixmaps;
    this->heightOfOneImage = heightOfOneImage;
    setDefaultValue(0.f);
}

CHorizontalSwitch::CHorizontalSwitch(const CRect& size, IControlListener* listener, int32_t tag,
                                     CBitmap* background, const CPoint& offset)
    : CControl(size, listener, tag, background), offset(offset)
{
    heightOfOneImage = size.getHeight();
    setDefaultValue(0.f);
    autoComputeHeightOfOneImage();
}

void CHorizontalSwitch::setNumSubPixmaps(int32_t num)
{
    IMultiBitmapControl::setNumSubPixmaps(num);
    invalid();
}

void CHorizontalSwitch::setBackground(CBitmap* bitmap)
{
    CControl::setBackground(bitmap);
    if (subPixmaps <= 0) autoComputeHeightOfOneImage();
}

int32_t CHorizontalSwitch::getPosition() const
{
    if (subPixmaps <= 1) return 0;
    const int32_t p = int32_t(getValueNormalized() * float(subPixmaps - 1) + 0.5f);
    return p < 0 ? 0 : (p >= subPixmaps ? subPixmaps - 1 : p);
}

void CHorizontalSwitch::draw(CDrawContext* pContext)
{
    if (CBitmap* bitmap = getDrawBackground()) {
        const CPoint where(offset.x, offset.y + heightOfOneImage * getPosition());
        bitmap->draw(pContext, size, where);
    }
    setDirty(false);
}

bool CHorizontalSwitch::setPosition(int32_t position)
{
    if (subPixmaps <= 1) return false;
    if (position < 0) position = 0;
    if (position >= subPixmaps) position = subPixmaps - 1;
    const float old = value;
    setValueNormalized(float(position) / float(subPixmaps - 1));
    if (value == old) return false;
    invalid();
    valueChanged();
    return true;
}

CMouseEventResult CHorizontalSwitch::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    if (!buttons.isLeftButton()) return kMouseEventNotHandled;
    if (subPixmaps <= 0) return kMouseEventNotHandled;
    beginEdit();
    tracking = true;
    return onMouseMoved(where, buttons);
}

CMouseEventResult CHorizontalSwitch::onMouseMoved(CPoint& where, const CButtonState& buttons)
{
    if (!tracking || !buttons.isLeftButton()) return kMouseEventNotHandled;
    const CCoord width = getWidth() / CCoord(subPixmaps);
    if (width > 0) setPosition(int32_t(std::floor((where.x - size.left) / width)));
    return kMouseEventHandled;
}

CMouseEventResult CHorizontalSwitch::onMouseUp(CPoint&, const CButtonState&)
{
    if (tracking) {
        tracking = false;
        endEdit();
    }
    return kMouseEventHandled;
}

bool CHorizontalSwitch::onWheel(const CPoint&, const float& distance, const CButtonState&)
{
    if (subPixmaps <= 1 || distance == 0) return false;
    beginEdit();
    setPosition(getPosition() + (distance > 0 ? 1 : -1));
    endEdit();
    return true;
}

int32_t CHorizontalSwitch::onKeyDown(VstKeyCode& keyCode)
{
    if (keyCode.modifier != 0) return -1;
    int32_t step = 0;
    if (keyCode.virt == VKEY_LEFT) step = -1;
    if (keyCode.virt == VKEY_RIGHT) step = 1;
    if (step == 0) return -1;
    beginEdit();
    setPosition(getPosition() + step);
    endEdit();
    return 1;
}

} // namespace VSTGUI
