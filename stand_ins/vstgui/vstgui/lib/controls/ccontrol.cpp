#include "vstgui/lib/controls/ccontrol.h"

#include "vstgui/lib/cbitmap.h"

#include <cmath>

namespace VSTGUI {

IdStringPtr CControl::kMessageValueChanged = "kMessageValueChanged";
IdStringPtr CControl::kMessageBeginEdit = "kMessageBeginEdit";
IdStringPtr CControl::kMessageEndEdit = "kMessageEndEdit";

CControl::CControl(const CRect& size, IControlListener* listener, int32_t tag, CBitmap* bitmap)
    : CView(size), listener(listener), tag(tag)
{
    if (bitmap) background = bitmap;
}

CControl::CControl(const CControl& c)
    : CView(c),
      IDependency(),
      listener(c.listener),
      tag(c.tag),
      oldValue(c.oldValue),
      defaultValue(c.defaultValue),
      value(c.value),
      vmin(c.vmin),
      vmax(c.vmax),
      wheelInc(c.wheelInc),
      backOffset(c.backOffset)
{
}

CControl::~CControl() = default;

void CControl::setValue(float val)
{
    if (std::isnan(val)) return;
    value = val;
}

void CControl::setValueNormalized(float val)
{
    if (std::isnan(val)) return;
    if (val > 1.f) val = 1.f;
    if (val < 0.f) val = 0.f;
    setValue(vmin + val * getRange());
}

float CControl::getValueNormalized() const
{
    const float range = getRange();
    if (range == 0.f) return 0.f;
    return (value - vmin) / range;
}

void CControl::setMin(float val)
{
    vmin = val;
}

void CControl::setMax(float val)
{
    vmax = val;
}

void CControl::bounceValue()
{
    const float lo = vmin < vmax ? vmin : vmax;
    const float hi = vmin < vmax ? vmax : vmin;
    if (value > hi)
        value = hi;
    else if (value < lo)
        value = lo;
}

bool CControl::checkDefaultValue(CButtonState button)
{
    if (!(button.isLeftButton() && button.getModifierState() == kControl)) return false;
    beginEdit();
    setValue(getDefaultValue());
    valueChanged();
    endEdit();
    invalid();
    return true;
}

void CControl::beginEdit()
{
    if (editing++ > 0) return;
    if (listener) listener->controlBeginEdit(this);
    changed(kMessageBeginEdit);
}

void CControl::endEdit()
{
    if (editing == 0) return;
    if (--editing > 0) return;
    if (listener) listener->controlEndEdit(this);
    changed(kMessageEndEdit);
}

void CControl::valueChanged()
{
    if (listener) listener->valueChanged(this);
    changed(kMessageValueChanged);
}

bool CControl::isDirty() const
{
    return oldValue != value || CView::isDirty();
}

void CControl::setDirty(bool state)
{
    CView::setDirty(state);
    if (!state) oldValue = value;
}

void IMultiBitmapControl::autoComputeHeightOfOneImage()
{
    auto* view = dynamic_cast<CView*>(this);
    if (!view || !view->getBackground()) return;
    const CCoord total = view->getBackground()->getHeight();
    if (heightOfOneImage <= 0)
        heightOfOneImage = subPixmaps > 0 ? std::floor(total / subPixmaps) : view->getHeight();
    if (subPixmaps <= 0 && heightOfOneImage > 0) subPixmaps = int32_t(total / heightOfOneImage);
}

} // namespace VSTGUI
