#include "vstgui/lib/cframe.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/coffscreencontext.h"
#include "vstgui/lib/platform/platformframe.h"

#include <algorithm>

namespace VSTGUI {

namespace {

// Beyond this many separate rectangles the frame redraws their union.
constexpr size_t kMaxDirtyRects = 16;

} // namespace

CFrame::CFrame(const CRect& rect, VSTGUIEditorInterface* editor) : CViewContainer(rect), editor(editor)
{
    size.moveTo(0, 0);
    mouseableArea = size;
    parentFrame = this;
    attachedFlag = true;
}

CFrame::~CFrame()
{
    platform.reset();
    // Children leave while the frame's lists still exist.
    removeAll(true);
    attachedFlag = false;
}

bool CFrame::open(void* parent, PlatformType type)
{
    if (platform || type != kX11EmbedWindowID) return false;
    platform = Platform::createX11(this, static_cast<unsigned long>(reinterpret_cast<uintptr_t>(parent)));
    if (!platform) return false;
    invalid();
    return true;
}

void CFrame::close()
{
    clearMouseViews();
    while (modalView) setModalView(nullptr);
    platform.reset();
    removeAll(true);
    forget();
}

unsigned long CFrame::getPlatformWindow() const
{
    return platform ? platform->getWindow() : 0;
}

bool CFrame::runEvents(int waitMilliseconds)
{
    if (!platform) return false;
    platform->runEvents(waitMilliseconds);
    return true;
}

bool CFrame::setSize(CCoord width, CCoord height)
{
    if (width <= 0 || height <= 0) return false;
    setViewSize(CRect(0, 0, width, height), true);
    return true;
}

void CFrame::setViewSize(const CRect& rect, bool invalidate)
{
    CRect r(rect);
    r.moveTo(0, 0);
    if (r == size) return;
    CViewContainer::setViewSize(r, false);
    mouseableArea = size;
    if (platform) platform->setSize(size.getWidth(), size.getHeight());
    if (invalidate) invalid();
}

bool CFrame::setZoom(double factor)
{
    if (!(factor >= 0.25 && factor <= 8.0)) return false;
    if (factor == zoom) return true;
    zoom = factor;
    if (platform) {
        platform->setZoom(zoom);
        platform->setSize(getWidth(), getHeight());
    }
    // Pictures the views keep at the old scale are made anew.
    invalid();
    return true;
}

bool CFrame::setZoomAndSize(double factor, CCoord width, CCoord height)
{
    if (!(factor >= 0.25 && factor <= 8.0) || width <= 0 || height <= 0) return false;
    const bool zoomed = factor != zoom;
    zoom = factor;
    if (platform && zoomed) platform->setZoom(zoom);
    CRect r(0, 0, width, height);
    if (r != size) {
        CViewContainer::setViewSize(r, false);
        mouseableArea = size;
    }
    if (platform) platform->setSize(width, height);
    invalid();
    return true;
}

void CFrame::platformOnSize(CCoord width, CCoord height)
{
    const CRect r(0, 0, width, height);
    if (r == size || width <= 0 || height <= 0) return;
    CViewContainer::setViewSize(r, false);
    mouseableArea = size;
    invalid();
}

void CFrame::invalidRect(const CRect& rect)
{
    CRect r(rect);
    r.normalize();
    r.bound(CRect(0, 0, getWidth(), getHeight()));
    if (r.isEmpty()) return;
    for (const CRect& d : dirtyRects) {
        CRect u(d);
        u.bound(r);
        if (u == r) return; // already covered
    }
    dirtyRects.erase(std::remove_if(dirtyRects.begin(), dirtyRects.end(),
                                    [&r](const CRect& d) {
                                        CRect u(d);
                                        u.bound(r);
                                        return u == d;
                                    }),
                     dirtyRects.end());
    dirtyRects.push_back(r);
    if (dirtyRects.size() > kMaxDirtyRects) {
        CRect all;
        for (const CRect& d : dirtyRects) all.unite(d);
        dirtyRects.assign(1, all);
    }
    if (platform) platform->invalidated();
}

void CFrame::invalid()
{
    invalidRect(CRect(0, 0, getWidth(), getHeight()));
}

std::vector<CRect> CFrame::takeDirtyRects()
{
    std::vector<CRect> taken;
    taken.swap(dirtyRects);
    return taken;
}

void CFrame::updateNow()
{
    if (platform) platform->updateNow();
}

CBitmap* CFrame::createSnapshot()
{
    auto* bitmap = new CBitmap(getWidth(), getHeight(), zoom);
    if (!bitmap->isLoaded()) return bitmap;
    COffscreenContext context(bitmap);
    context.beginDraw();
    drawRect(&context, CRect(0, 0, getWidth(), getHeight()));
    context.endDraw();
    return bitmap;
}

bool CFrame::setFocusView(CView* view)
{
    if (view == focusView) return true;
    CView* old = focusView;
    focusView = view;
    if (old) old->looseFocus();
    if (focusView) focusView->takeFocus();
    return true;
}

void CFrame::registerKeyboardHook(IKeyboardHook* hook)
{
    if (hook && std::find(keyboardHooks.begin(), keyboardHooks.end(), hook) == keyboardHooks.end())
        keyboardHooks.push_back(hook);
}

void CFrame::unregisterKeyboardHook(IKeyboardHook* hook)
{
    keyboardHooks.erase(std::remove(keyboardHooks.begin(), keyboardHooks.end(), hook), keyboardHooks.end());
}

bool CFrame::setModalView(CView* view)
{
    if (view) {
        if (!addView(view)) return false;
        if (modalView) modalViewsBelow.push_back(modalView);
        modalView = view;
        mouseDownView = nullptr;
    } else if (modalView) {
        SharedPointer<CView> old = modalView;
        modalView = nullptr;
        if (!modalViewsBelow.empty()) {
            modalView = modalViewsBelow.back();
            modalViewsBelow.pop_back();
        }
        removeView(old, true);
    }
    return true;
}

void CFrame::registerViewAddedRemovedObserver(IViewAddedRemovedObserver* observer)
{
    if (observer && std::find(viewObservers.begin(), viewObservers.end(), observer) == viewObservers.end())
        viewObservers.push_back(observer);
}

void CFrame::unregisterViewAddedRemovedObserver(IViewAddedRemovedObserver* observer)
{
    viewObservers.erase(std::remove(viewObservers.begin(), viewObservers.end(), observer), viewObservers.end());
}

void CFrame::registerMouseObserver(IMouseObserver* observer)
{
    if (observer && std::find(mouseObservers.begin(), mouseObservers.end(), observer) == mouseObservers.end())
        mouseObservers.push_back(observer);
}

void CFrame::unregisterMouseObserver(IMouseObserver* observer)
{
    mouseObservers.erase(std::remove(mouseObservers.begin(), mouseObservers.end(), observer),
                         mouseObservers.end());
}

void CFrame::onViewAdded(CView* view)
{
    const auto observers = viewObservers;
    for (auto* o : observers) o->onViewAdded(this, view);
}

void CFrame::onViewRemoved(CView* view)
{
    if (focusView == view) focusView = nullptr;
    mouseViews.erase(std::remove(mouseViews.begin(), mouseViews.end(), view), mouseViews.end());
    if (modalView == view) modalView = nullptr;
    const auto observers = viewObservers;
    for (auto* o : observers) o->onViewRemoved(this, view);
}

void CFrame::setCursor(CCursorType type)
{
    cursorType = type;
    customCursor = nullptr;
    if (platform) platform->setCursor(type);
}

void CFrame::setCustomCursor(CBitmap* bitmap, const CPoint& hotSpot)
{
    if (!bitmap || !bitmap->isLoaded()) {
        setCursor(cursorType);
        return;
    }
    customCursor = bitmap;
    customCursorHotSpot = hotSpot;
    if (platform) platform->setCustomCursor(bitmap, hotSpot);
}

bool CFrame::getCurrentMouseLocation(CPoint& where) const
{
    if (platform) return platform->getMouseLocation(where);
    where = lastMouseLocation;
    return mouseInside;
}

int32_t CFrame::getKnobMode() const
{
    return editor ? editor->getKnobMode() : -1;
}

bool CFrame::removed(CView*)
{
    return false;
}

void CFrame::clearMouseViews()
{
    const auto old = mouseViews;
    mouseViews.clear();
    for (auto it = old.rbegin(); it != old.rend(); ++it) {
        CView* v = *it;
        CBaseObjectGuard guard(v);
        CPoint p(lastMouseLocation);
        v->frameToLocal(p);
        v->onMouseExited(p, currentButtons);
        const auto observers = mouseObservers;
        for (auto* o : observers) o->onMouseExited(v, this);
    }
}

void CFrame::updateMouseViews(const CPoint& where, const CButtonState& buttons)
{
    std::vector<CView*> chain;
    CViewContainer* container = this;
    CPoint q(where);
    while (container) {
        CView* v = container->getViewAt(q, false, true);
        if (!v) break;
        chain.push_back(v);
        q.offset(-container->getViewSize().left, -container->getViewSize().top);
        container = dynamic_cast<CViewContainer*>(v);
    }
    if (chain == mouseViews) return;
    const auto old = mouseViews;
    mouseViews = chain;
    const auto observers = mouseObservers;
    for (auto it = old.rbegin(); it != old.rend(); ++it) {
        CView* v = *it;
        if (std::find(chain.begin(), chain.end(), v) != chain.end()) continue;
        CBaseObjectGuard guard(v);
        CPoint p(where);
        v->frameToLocal(p);
        v->onMouseExited(p, buttons);
        for (auto* o : observers) o->onMouseExited(v, this);
    }
    for (CView* v : chain) {
        if (std::find(old.begin(), old.end(), v) != old.end()) continue;
        if (std::find(mouseViews.begin(), mouseViews.end(), v) == mouseViews.end()) continue;
        CBaseObjectGuard guard(v);
        CPoint p(where);
        v->frameToLocal(p);
        v->onMouseEntered(p, buttons);
        for (auto* o : observers) o->onMouseEntered(v, this);
    }
}

CMouseEventResult CFrame::platformOnMouseDown(CPoint& where, const CButtonState& buttons)
{
    CBaseObjectGuard guard(this);
    currentButtons = buttons;
    lastMouseLocation = where;
    mouseInside = true;
    // A modal view takes every press, before the observers.
    if (modalView) {
        SharedPointer<CView> modal = modalView;
        CPoint p(where);
        const CMouseEventResult result = modal->onMouseDown(p, buttons);
        if (result == kMouseEventHandled && modal->isAttached()) mouseDownView = modal;
        return result;
    }
    const auto observers = mouseObservers;
    for (auto* o : observers) {
        if (o->onMouseDown(this, where, buttons) == kMouseEventHandled) return kMouseEventHandled;
    }
    return CViewContainer::onMouseDown(where, buttons);
}

CMouseEventResult CFrame::platformOnMouseUp(CPoint& where, const CButtonState& buttons)
{
    CBaseObjectGuard guard(this);
    currentButtons = buttons;
    lastMouseLocation = where;
    const CMouseEventResult result = CViewContainer::onMouseUp(where, buttons);
    updateMouseViews(where, buttons);
    return result;
}

CMouseEventResult CFrame::platformOnMouseMoved(CPoint& where, const CButtonState& buttons)
{
    CBaseObjectGuard guard(this);
    currentButtons = buttons;
    lastMouseLocation = where;
    mouseInside = true;
    if (mouseDownView) return CViewContainer::onMouseMoved(where, buttons);
    if (modalView) {
        SharedPointer<CView> modal = modalView;
        CPoint p(where);
        return modal->onMouseMoved(p, buttons);
    }
    updateMouseViews(where, buttons);
    const auto chain = mouseViews;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        CView* v = *it;
        if (std::find(mouseViews.begin(), mouseViews.end(), v) == mouseViews.end()) continue;
        CBaseObjectGuard viewGuard(v);
        CPoint p(where);
        v->frameToLocal(p);
        const CMouseEventResult result = v->onMouseMoved(p, buttons);
        if (result == kMouseEventHandled || result == kMouseMoveEventHandledButDontNeedMoreEvents) return result;
    }
    return kMouseEventNotHandled;
}

CMouseEventResult CFrame::platformOnMouseExited(CPoint& where, const CButtonState& buttons)
{
    CBaseObjectGuard guard(this);
    lastMouseLocation = where;
    currentButtons = buttons;
    if (!mouseDownView) clearMouseViews();
    mouseInside = false;
    return kMouseEventHandled;
}

bool CFrame::platformOnMouseWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                                  const CButtonState& buttons)
{
    CBaseObjectGuard guard(this);
    if (modalView) {
        SharedPointer<CView> modal = modalView;
        return modal->onWheel(where, axis, distance, buttons);
    }
    return CViewContainer::onWheel(where, axis, distance, buttons);
}

int32_t CFrame::platformOnKeyDown(VstKeyCode& keyCode)
{
    CBaseObjectGuard guard(this);
    // A modal view takes every key; the hooks see none while it is shown.
    if (modalView) return modalView->onKeyDown(keyCode);
    const auto hooks = keyboardHooks;
    for (auto* h : hooks) {
        const int32_t r = h->onKeyDown(keyCode, this);
        if (r != -1) return r;
    }
    for (CView* v = focusView; v && v != this; v = v->getParentView()) {
        const int32_t r = v->onKeyDown(keyCode);
        if (r != -1) return r;
    }
    return -1;
}

int32_t CFrame::platformOnKeyUp(VstKeyCode& keyCode)
{
    CBaseObjectGuard guard(this);
    // A modal view takes every key; the hooks see none while it is shown.
    if (modalView) return modalView->onKeyUp(keyCode);
    const auto hooks = keyboardHooks;
    for (auto* h : hooks) {
        const int32_t r = h->onKeyUp(keyCode, this);
        if (r != -1) return r;
    }
    for (CView* v = focusView; v && v != this; v = v->getParentView()) {
        const int32_t r = v->onKeyUp(keyCode);
        if (r != -1) return r;
    }
    return -1;
}

} // namespace VSTGUI
