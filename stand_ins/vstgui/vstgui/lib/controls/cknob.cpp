#include "vstgui/lib/controls/cknob.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/cframe.h"

#include <cmath>

namespace VSTGUI {

namespace {

constexpr float kPi = 3.14159265358979f;
// Pixels of a linear drag that span the whole range.
constexpr float kLinearRange = 200.f;
// Modifier of fine movement.
constexpr int32_t kZoomModifier = kShift;

} // namespace

CKnob::CKnob(const CRect& size, IControlListener* listener, int32_t tag, CBitmap* background, CBitmap* handle,
             const CPoint& offset)
    : CControl(size, listener, tag, background),
      offset(offset),
      handleBitmap(handle),
      startAngle(3.f * kPi / 4.f),
      rangeAngle(3.f * kPi / 2.f)
{
    setWantsFocus(true);
}

void CKnob::setStartAngle(float val)
{
    startAngle = val;
    invalid();
}

void CKnob::setRangeAngle(float val)
{
    rangeAngle = val;
    invalid();
}

void CKnob::setHandleBitmap(CBitmap* bitmap)
{
    handleBitmap = bitmap;
    invalid();
}

int32_t CKnob::knobMode() const
{
    const int32_t mode = getFrame() ? getFrame()->getKnobMode() : -1;
    return mode < 0 ? int32_t(kCircularMode) : mode;
}

float CKnob::valueFromPoint(const CPoint& point) const
{
    const CPoint c = size.getCenter();
    const float angle = std::atan2(float(point.y - c.y), float(point.x - c.x));
    float delta = angle - startAngle;
    while (delta < 0) delta += 2 * kPi;
    while (delta >= 2 * kPi) delta -= 2 * kPi;
    if (rangeAngle <= 0) return 0.f;
    if (delta <= rangeAngle) return delta / rangeAngle;
    // In the gap below the knob: the nearer end.
    return (delta - rangeAngle) < (2 * kPi - delta) ? 1.f : 0.f;
}

void CKnob::applyNormalized(float normalized)
{
    const float old = value;
    setValueNormalized(normalized);
    bounceValue();
    if (value != old) {
        invalid();
        valueChanged();
    }
}

void CKnob::draw(CDrawContext* pContext)
{
    if (CBitmap* bitmap = getDrawBackground()) bitmap->draw(pContext, size, offset);
    const float angle = startAngle + getValueNormalized() * rangeAngle;
    const CPoint c = size.getCenter();
    const CCoord radius = std::min(getWidth(), getHeight()) / 2 - inset;
    const CPoint tip(c.x + std::cos(angle) * radius, c.y + std::sin(angle) * radius);
    if (handleBitmap) {
        const CRect r(tip.x - handleBitmap->getWidth() / 2, tip.y - handleBitmap->getHeight() / 2,
                      tip.x + handleBitmap->getWidth() / 2, tip.y + handleBitmap->getHeight() / 2);
        handleBitmap->draw(pContext, r);
    } else if (radius > 0) {
        pContext->saveGlobalState();
        pContext->setDrawMode(kAntiAliasing);
        pContext->setLineWidth(2);
        pContext->setFrameColor(colorShadowHandle);
        pContext->drawLine(CPoint(c.x + 1, c.y + 1), CPoint(tip.x + 1, tip.y + 1));
        pContext->setFrameColor(colorHandle);
        pContext->drawLine(c, tip);
        pContext->restoreGlobalState();
    }
    setDirty(false);
}

CMouseEventResult CKnob::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    if (!buttons.isLeftButton()) return kMouseEventNotHandled;
    beginEdit();
    if (checkDefaultValue(buttons)) {
        endEdit();
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    tracking = true;
    firstPoint = where;
    lastPoint = where;
    startValue = getValueNormalized();
    lastModifiers = buttons.getModifierState();
    if (knobMode() == kCircularMode) applyNormalized(valueFromPoint(where));
    return kMouseEventHandled;
}

CMouseEventResult CKnob::onMouseMoved(CPoint& where, const CButtonState& buttons)
{
    if (!tracking || !buttons.isLeftButton()) return kMouseEventNotHandled;
    const int32_t mode = knobMode();
    if (mode == kLinearMode) {
        // A change of the fine modifier starts the drag over from here.
        if (buttons.getModifierState() != lastModifiers) {
            lastModifiers = buttons.getModifierState();
            firstPoint = where;
            startValue = getValueNormalized();
        }
        float range = kLinearRange;
        if (buttons & kZoomModifier) range *= zoomFactor;
        const float diff = float((firstPoint.y - where.y) + (where.x - firstPoint.x));
        applyNormalized(startValue + diff / range);
    } else if (mode == kRelativCircularMode) {
        const float before = valueFromPoint(lastPoint);
        const float after = valueFromPoint(where);
        float delta = after - before;
        if (buttons & kZoomModifier) delta /= zoomFactor;
        applyNormalized(getValueNormalized() + delta);
    } else {
        applyNormalized(valueFromPoint(where));
    }
    lastPoint = where;
    return kMouseEventHandled;
}

CMouseEventResult CKnob::onMouseUp(CPoint&, const CButtonState&)
{
    if (!tracking) return kMouseEventNotHandled;
    tracking = false;
    endEdit();
    return kMouseEventHandled;
}

bool CKnob::onWheel(const CPoint&, const float& distance, const CButtonState& buttons)
{
    float v = getValueNormalized();
    if (buttons & kZoomModifier)
        v += 0.1f * distance * wheelInc;
    else
        v += distance * wheelInc;
    beginEdit();
    applyNormalized(v);
    endEdit();
    return true;
}

int32_t CKnob::onKeyDown(VstKeyCode& keyCode)
{
    float step = 0;
    switch (keyCode.virt) {
        case VKEY_UP:
        case VKEY_RIGHT: step = wheelInc; break;
        case VKEY_DOWN:
        case VKEY_LEFT: step = -wheelInc; break;
        default: return -1;
    }
    if (keyCode.modifier & MODIFIER_SHIFT) step *= 0.1f;
    beginEdit();
    applyNormalized(getValueNormalized() + step);
    endEdit();
    return 1;
}

CAnimKnob::CAnimKnob(const CRect& size, IControlListener* listener, int32_t tag, int32_t subPixmaps,
                     CCoord heightOfOneImage, CBitmap* background, const CPoint& offset)
    : CKnob(size, listener, tag, background, nullptr, offset)
{
    this->subPixmaps = subPixmaps;
    this->heightOfOneImage = heightOfOneImage;
}

CAnimKnob::CAnimKnob(const CRect& size, IControlListener* listener, int32_t tag, CBitmap* background,
                     const CPoint& offset)
    : CKnob(size, listener, tag, background, nullptr, offset)
{
    heightOfOneImage = size.getHeight();
    autoComputeHeightOfOneImage();
}

void CAnimKnob::setBackground(CBitmap* bitmap)
{
    CKnob::setBackground(bitmap);
    if (subPixmaps <= 0) autoComputeHeightOfOneImage();
}

int32_t CAnimKnob::getImageIndex() const
{
    if (subPixmaps <= 1) return 0;
    int32_t index = int32_t(getValueNormalized() * float(subPixmaps - 1) + 0.5f);
    if (index < 0) index = 0;
    if (index >= subPixmaps) index = subPixmaps - 1;
    return inverseBitmap ? subPixmaps - 1 - index : index;
}

void CAnimKnob::draw(CDrawContext* pContext)
{
    if (CBitmap* bitmap = getDrawBackground()) {
        bitmap->draw(pContext, size, CPoint(offset.x, offset.y + heightOfOneImage * getImageIndex()));
    }
    setDirty(false);
}

} // namespace VSTGUI
