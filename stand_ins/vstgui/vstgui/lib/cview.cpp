#include "vstgui/lib/cview.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/cframe.h"
#include "vstgui/uidescription/icontroller.h"

namespace VSTGUI {

CView::CView(const CRect& rect) : size(rect), mouseableArea(rect)
{
}

CView::CView(const CView& v)
    : CBaseObject(v),
      size(v.size),
      mouseableArea(v.mouseableArea),
      mouseEnabled(v.mouseEnabled),
      transparent(v.transparent),
      wantsFocusFlag(v.wantsFocusFlag),
      visible(v.visible),
      alphaValue(v.alphaValue),
      autosizeFlags(v.autosizeFlags),
      background(v.background),
      disabledBackground(v.disabledBackground)
{
}

CView::~CView()
{
    // A sub-controller made for this view lives as long as the view.
    IController* controller = nullptr;
    uint32_t outSize = 0;
    if (getAttribute(kCViewControllerAttribute, sizeof(IController*), &controller, outSize) && controller) {
        if (auto* obj = dynamic_cast<CBaseObject*>(controller))
            obj->forget();
        else
            delete controller;
    }
}

void CView::draw(CDrawContext* pContext)
{
    if (CBitmap* bitmap = getDrawBackground()) bitmap->draw(pContext, size);
    setDirty(false);
}

void CView::drawRect(CDrawContext* pContext, const CRect& updateRect)
{
    draw(pContext);
}

void CView::setDirty(bool state)
{
    dirty = state;
    if (state) invalid();
}

void CView::invalidRect(const CRect& rect)
{
    if (!attachedFlag || !visible) return;
    if (parentView)
        parentView->invalidRect(rect);
    else if (parentFrame && parentFrame != this)
        parentFrame->invalidRect(rect);
}

CMouseEventResult CView::onMouseDown(CPoint&, const CButtonState&)
{
    return kMouseEventNotImplemented;
}

CMouseEventResult CView::onMouseUp(CPoint&, const CButtonState&)
{
    return kMouseEventNotImplemented;
}

CMouseEventResult CView::onMouseMoved(CPoint&, const CButtonState&)
{
    return kMouseEventNotImplemented;
}

CMouseEventResult CView::onMouseEntered(CPoint&, const CButtonState&)
{
    return kMouseEventNotImplemented;
}

CMouseEventResult CView::onMouseExited(CPoint&, const CButtonState&)
{
    return kMouseEventNotImplemented;
}

bool CView::onWheel(const CPoint&, const float&, const CButtonState&)
{
    return false;
}

bool CView::onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                    const CButtonState& buttons)
{
    if (axis == kMouseWheelAxisX) return false;
    return onWheel(where, distance, buttons);
}

bool CView::hitTest(const CPoint& where, const CButtonState&)
{
    return mouseableArea.pointInside(where);
}

void CView::setViewSize(const CRect& rect, bool invalidate)
{
    if (rect == size) return;
    if (invalidate) invalid();
    if (mouseableArea == size)
        mouseableArea = rect;
    else
        mouseableArea.offset(rect.left - size.left, rect.top - size.top);
    size = rect;
    if (invalidate) invalid();
}

CRect CView::getVisibleViewSize() const
{
    CRect r(size);
    if (parentView) r.bound(CRect(0, 0, parentView->getWidth(), parentView->getHeight()));
    return r;
}

void CView::parentSizeChanged(CCoord dw, CCoord dh)
{
    if (autosizeFlags == kAutosizeNone || (dw == 0 && dh == 0)) return;
    CRect r(size);
    if (autosizeFlags & kAutosizeRight) {
        r.right += dw;
        if (!(autosizeFlags & kAutosizeLeft)) r.left += dw;
    }
    if (autosizeFlags & kAutosizeBottom) {
        r.bottom += dh;
        if (!(autosizeFlags & kAutosizeTop)) r.top += dh;
    }
    setViewSize(r, true);
    setMouseableArea(r);
}

CPoint& CView::localToFrame(CPoint& point) const
{
    if (parentView) return parentView->localToFrame(point);
    return point;
}

CPoint& CView::frameToLocal(CPoint& point) const
{
    if (parentView) return parentView->frameToLocal(point);
    return point;
}

void CView::setBackground(CBitmap* bitmap)
{
    background = bitmap;
    setDirty(true);
}

void CView::setDisabledBackground(CBitmap* bitmap)
{
    disabledBackground = bitmap;
    if (!mouseEnabled) setDirty(true);
}

CBitmap* CView::getDrawBackground() const
{
    if (!mouseEnabled && disabledBackground) return disabledBackground;
    return background;
}

void CView::setAlphaValue(float alpha)
{
    const float a = alpha < 0.f ? 0.f : (alpha > 1.f ? 1.f : alpha);
    if (a == alphaValue) return;
    alphaValue = a;
    if (parentView)
        parentView->invalidRect(size);
    else
        invalid();
}

void CView::setVisible(bool state)
{
    if (visible == state) return;
    if (state) {
        visible = true;
        invalid();
    } else {
        invalid();
        visible = false;
    }
}

bool CView::attached(CView* parent)
{
    if (attachedFlag) return false;
    parentView = parent == this ? nullptr : parent;
    if (!parentFrame && parent) parentFrame = parent->getFrame();
    attachedFlag = true;
    if (parentFrame) parentFrame->onViewAdded(this);
    return true;
}

bool CView::removed(CView* parent)
{
    if (!attachedFlag) return false;
    if (parentFrame) parentFrame->onViewRemoved(this);
    attachedFlag = false;
    parentView = nullptr;
    parentFrame = nullptr;
    return true;
}

bool CView::setAttribute(CViewAttributeID id, uint32_t inSize, const void* buffer)
{
    if (!buffer && inSize) return false;
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    attributes[id] = std::vector<uint8_t>(bytes, bytes + inSize);
    return true;
}

bool CView::getAttributeSize(CViewAttributeID id, uint32_t& outSize) const
{
    auto it = attributes.find(id);
    if (it == attributes.end()) return false;
    outSize = uint32_t(it->second.size());
    return true;
}

bool CView::getAttribute(CViewAttributeID id, uint32_t inSize, void* buffer, uint32_t& outSize) const
{
    auto it = attributes.find(id);
    if (it == attributes.end() || it->second.size() > inSize) return false;
    outSize = uint32_t(it->second.size());
    if (outSize) std::memcpy(buffer, it->second.data(), outSize);
    return true;
}

bool CView::removeAttribute(CViewAttributeID id)
{
    return attributes.erase(id) > 0;
}

} // namespace VSTGUI
