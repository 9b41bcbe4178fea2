#include "vstgui/lib/cviewcontainer.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/cframe.h"
#include "vstgui/lib/controls/ccontrol.h"

#include <algorithm>

namespace VSTGUI {

CViewContainer::CViewContainer(const CRect& rect) : CView(rect)
{
}

CViewContainer::CViewContainer(const CViewContainer& c)
    : CView(c),
      backgroundColor(c.backgroundColor),
      backgroundColorDrawStyle(c.backgroundColorDrawStyle),
      backgroundOffset(c.backgroundOffset),
      autosizingEnabled(c.autosizingEnabled)
{
    for (const auto& child : c.children) {
        if (auto* copy = dynamic_cast<CView*>(child->newCopy())) addView(copy);
    }
}

CViewContainer::~CViewContainer()
{
    removeAll(true);
}

bool CViewContainer::addView(CView* pView)
{
    return addView(pView, nullptr);
}

bool CViewContainer::addView(CView* pView, CView* pBefore)
{
    if (!pView || pView == this) return false;
    if (pView->isAttached() || isChild(pView)) return false;
    auto pos = children.end();
    if (pBefore) {
        pos = std::find_if(children.begin(), children.end(),
                           [pBefore](const SharedPointer<CView>& v) { return v.get() == pBefore; });
    }
    children.insert(pos, owned(pView));
    if (isAttached()) {
        pView->attached(this);
        pView->invalid();
    }
    return true;
}

bool CViewContainer::removeView(CView* pView, bool withForget)
{
    auto it = std::find_if(children.begin(), children.end(),
                           [pView](const SharedPointer<CView>& v) { return v.get() == pView; });
    if (it == children.end()) return false;
    SharedPointer<CView> keep = *it;
    if (pView->isAttached()) {
        pView->invalid();
        pView->removed(this);
    }
    if (mouseDownView == pView) mouseDownView = nullptr;
    children.erase(it);
    if (!withForget) pView->remember();
    return true;
}

bool CViewContainer::removeAll(bool withForget)
{
    while (!children.empty()) removeView(children.back().get(), withForget);
    return true;
}

bool CViewContainer::changeViewZOrder(CView* view, uint32_t newIndex)
{
    auto it = std::find_if(children.begin(), children.end(),
                           [view](const SharedPointer<CView>& v) { return v.get() == view; });
    if (it == children.end() || newIndex >= children.size()) return false;
    SharedPointer<CView> keep = *it;
    children.erase(it);
    auto pos = children.begin();
    std::advance(pos, newIndex);
    children.insert(pos, keep);
    view->invalid();
    return true;
}

bool CViewContainer::isChild(CView* pView, bool deep) const
{
    for (const auto& c : children) {
        if (c.get() == pView) return true;
        if (deep) {
            if (auto* container = dynamic_cast<CViewContainer*>(c.get())) {
                if (container->isChild(pView, true)) return true;
            }
        }
    }
    return false;
}

CView* CViewContainer::getView(uint32_t index) const
{
    if (index >= children.size()) return nullptr;
    auto it = children.begin();
    std::advance(it, index);
    return it->get();
}

CView* CViewContainer::getViewAt(const CPoint& where, bool deep, bool mustbeMouseEnabled) const
{
    CPoint local(where);
    local.offset(-size.left, -size.top);
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
        CView* v = it->get();
        if (!v->isVisible() || !v->getViewSize().pointInside(local)) continue;
        if (mustbeMouseEnabled && !v->getMouseEnabled()) continue;
        if (deep) {
            if (auto* container = dynamic_cast<CViewContainer*>(v)) {
                if (CView* inner = container->getViewAt(local, true, mustbeMouseEnabled)) return inner;
            }
        }
        return v;
    }
    return nullptr;
}

void CViewContainer::setBackgroundColor(const CColor& color)
{
    backgroundColor = color;
    setDirty(true);
}

void CViewContainer::setBackgroundColorDrawStyle(CDrawStyle style)
{
    backgroundColorDrawStyle = style;
    setDirty(true);
}

void CViewContainer::drawBackgroundRect(CDrawContext* pContext, const CRect& updateRect)
{
    if (CBitmap* bitmap = getDrawBackground()) {
        CRect r(updateRect);
        r.bound(CRect(0, 0, getWidth(), getHeight()));
        bitmap->draw(pContext, r, CPoint(r.left + backgroundOffset.x, r.top + backgroundOffset.y));
    } else if (backgroundColor.alpha != 0) {
        pContext->setLineWidth(1);
        pContext->setDrawMode(kAliasing);
        pContext->setFillColor(backgroundColor);
        pContext->setFrameColor(backgroundColor);
        pContext->drawRect(CRect(0, 0, getWidth(), getHeight()), backgroundColorDrawStyle);
    }
}

void CViewContainer::draw(CDrawContext* pContext)
{
    drawRect(pContext, size);
}

void CViewContainer::drawRect(CDrawContext* pContext, const CRect& updateRect)
{
    CRect local(updateRect);
    local.bound(size);
    local.offset(-size.left, -size.top);
    if (local.isEmpty()) return;

    CDrawContext::Transform transform(*pContext, CGraphicsTransform().translate(size.left, size.top));
    CRect oldClip;
    pContext->getClipRect(oldClip);
    CRect clip(local);
    clip.bound(oldClip);
    if (clip.isEmpty()) return;
    pContext->setClipRect(clip);

    if (!transparent) {
        pContext->saveGlobalState();
        drawBackgroundRect(pContext, clip);
        pContext->restoreGlobalState();
    }

    const float alpha = pContext->getGlobalAlpha();
    for (const auto& child : children) {
        CView* v = child.get();
        if (!v->isVisible() || !v->checkUpdate(clip)) continue;
        CRect viewUpdate(v->getViewSize());
        viewUpdate.bound(clip);
        if (viewUpdate.isEmpty()) continue;
        pContext->saveGlobalState();
        pContext->setClipRect(viewUpdate);
        pContext->setGlobalAlpha(alpha * v->getAlphaValue());
        v->drawRect(pContext, viewUpdate);
        pContext->restoreGlobalState();
    }
    pContext->setClipRect(oldClip);
    dirty = false;
}

void CViewContainer::invalid()
{
    invalidRect(CRect(0, 0, getWidth(), getHeight()));
}

void CViewContainer::invalidRect(const CRect& rect)
{
    if (!attachedFlag || !visible) return;
    CRect r(rect);
    r.offset(size.left, size.top);
    r.bound(size);
    if (r.isEmpty()) return;
    if (parentView)
        parentView->invalidRect(r);
    else if (parentFrame && parentFrame != this)
        parentFrame->invalidRect(r);
}

void CViewContainer::setViewSize(const CRect& rect, bool invalidate)
{
    const CCoord dw = rect.getWidth() - size.getWidth();
    const CCoord dh = rect.getHeight() - size.getHeight();
    CView::setViewSize(rect, invalidate);
    if (autosizingEnabled && (dw != 0 || dh != 0)) {
        for (const auto& c : children) c->parentSizeChanged(dw, dh);
    }
}

CMouseEventResult CViewContainer::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    CPoint local(where);
    local.offset(-size.left, -size.top);
    // Walk a copy: a handler may change the children.
    const std::vector<SharedPointer<CView>> list(children.rbegin(), children.rend());
    for (const auto& child : list) {
        CView* v = child.get();
        if (!v->isVisible() || !v->getMouseEnabled() || !v->hitTest(local, buttons)) continue;
        if (auto* control = dynamic_cast<CControl*>(v)) {
            if (control->getListener() && (buttons & (kAlt | kShift | kControl | kApple | kRButton))) {
                if (control->getListener()->controlModifierClicked(control, buttons) != 0)
                    return kMouseEventHandled;
            }
        }
        if (v->wantsFocus() && getFrame()) getFrame()->setFocusView(v);
        CPoint p(local);
        const CMouseEventResult result = v->onMouseDown(p, buttons);
        if (result != kMouseEventNotHandled && result != kMouseEventNotImplemented) {
            if (result == kMouseEventHandled && v->isAttached()) mouseDownView = v;
            return result;
        }
        // An opaque view that does not want the press keeps it from the
        // views below it.
        if (!v->getTransparency()) return result;
    }
    return kMouseEventNotHandled;
}

CMouseEventResult CViewContainer::onMouseUp(CPoint& where, const CButtonState& buttons)
{
    if (!mouseDownView) return kMouseEventNotHandled;
    SharedPointer<CView> v = mouseDownView;
    mouseDownView = nullptr;
    CPoint p(where);
    p.offset(-size.left, -size.top);
    return v->onMouseUp(p, buttons);
}

CMouseEventResult CViewContainer::onMouseMoved(CPoint& where, const CButtonState& buttons)
{
    if (!mouseDownView) return kMouseEventNotHandled;
    SharedPointer<CView> v = mouseDownView;
    CPoint p(where);
    p.offset(-size.left, -size.top);
    const CMouseEventResult result = v->onMouseMoved(p, buttons);
    if (result == kMouseMoveEventHandledButDontNeedMoreEvents && mouseDownView == v)
        mouseDownView = nullptr;
    return result;
}

bool CViewContainer::onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                             const CButtonState& buttons)
{
    CPoint local(where);
    local.offset(-size.left, -size.top);
    const std::vector<SharedPointer<CView>> list(children.rbegin(), children.rend());
    for (const auto& child : list) {
        CView* v = child.get();
        if (!v->isVisible() || !v->getMouseEnabled() || !v->hitTest(local, buttons)) continue;
        if (v->onWheel(local, axis, distance, buttons)) return true;
        if (!v->getTransparency()) return false;
    }
    return false;
}

bool CViewContainer::onWheel(const CPoint& where, const float& distance, const CButtonState& buttons)
{
    return onWheel(where, kMouseWheelAxisY, distance, buttons);
}

bool CViewContainer::hitTest(const CPoint& where, const CButtonState& buttons)
{
    return CView::hitTest(where, buttons);
}

CPoint& CViewContainer::localToFrame(CPoint& point) const
{
    point.offset(size.left, size.top);
    if (parentView) return parentView->localToFrame(point);
    return point;
}

CPoint& CViewContainer::frameToLocal(CPoint& point) const
{
    if (parentView) parentView->frameToLocal(point);
    point.offset(-size.left, -size.top);
    return point;
}

bool CViewContainer::attached(CView* parent)
{
    if (!CView::attached(parent)) return false;
    const std::vector<SharedPointer<CView>> list(children.begin(), children.end());
    for (const auto& c : list) c->attached(this);
    return true;
}

bool CViewContainer::removed(CView* parent)
{
    if (!isAttached()) return false;
    mouseDownView = nullptr;
    const std::vector<SharedPointer<CView>> list(children.begin(), children.end());
    for (const auto& c : list) c->removed(this);
    return CView::removed(parent);
}

} // namespace VSTGUI
