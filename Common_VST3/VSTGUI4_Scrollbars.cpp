#include "Common_VST3/VSTGUI4_Scrollbars.h"

#include <algorithm>
#include <cmath>

#include "Common_VST3/VSTGUI4_PlainViewCreator.h"
#include "Common_VST3/VSTGUI4_ScrollableView.h"
#include "Common_VST3/VSTGUI4_ViewWithMinimumSize.h"

using namespace VSTGUI;

VSTGUI4_Scrollbar::VSTGUI4_Scrollbar(const CRect& size, bool horizontal)
    : CViewContainer(size), isHorizontal(horizontal)
{
}

void VSTGUI4_Scrollbar::setThumbFraction(float fraction)
{
    if (!thumb) return;
    fraction = std::min(1.f, std::max(0.f, fraction));
    CRect r = thumb->getViewSize();
    if (isHorizontal) {
        const int32_t thumbWidth = int32_t(r.getWidth());
        const int32_t left = int32_t(float(int32_t(getWidth()) - thumbWidth) * fraction);
        r.left = left;
        r.right = left + thumbWidth;
    } else {
        const int32_t thumbHeight = int32_t(r.getHeight());
        const int32_t top = int32_t(float(int32_t(getHeight()) - thumbHeight) * fraction);
        r.top = top;
        r.bottom = top + thumbHeight;
    }
    if (r != thumb->getViewSize()) {
        thumb->setViewSize(r, true);
        invalid();
    }
}

void VSTGUI4_Scrollbar::setThumbSpan(double part)
{
    if (!thumb) return;
    part = std::min(1.0, std::max(0.0, part));
    const double track = isHorizontal ? std::floor(getWidth()) : std::floor(getHeight());
    double minimum = 1.0;
    if (auto* sized = dynamic_cast<VSTGUI4_ViewWithMinimumSize*>(thumb))
        minimum = std::max(1.0, isHorizontal ? sized->getMinSize().x : sized->getMinSize().y);
    const double length = std::min(track, std::max(minimum, std::floor(track * part)));
    CRect r = thumb->getViewSize();
    if (isHorizontal)
        r.right = r.left + length;
    else
        r.bottom = r.top + length;
    if (r != thumb->getViewSize()) {
        thumb->setViewSize(r, true);
        invalid();
    }
}

CMouseEventResult VSTGUI4_Scrollbar::onMouseDown(CPoint& where, const CButtonState& buttons)
{
    if (!thumb || !scrollView || !buttons.isLeftButton()) return kMouseEventNotHandled;
    CPoint local(where);
    local.offset(-getViewSize().left, -getViewSize().top);
    const CRect& t = thumb->getViewSize();
    const double along = isHorizontal ? local.x : local.y;
    const double start = isHorizontal ? t.left : t.top;
    const double end = isHorizontal ? t.right : t.bottom;
    if (along >= start && along < end) {
        dragging = true;
        dragOffset = int32_t(along - start);
        return kMouseEventHandled;
    }
    // Beside the thumb: a page towards the press.
    if (isHorizontal)
        along < start ? scrollView->pageLeft() : scrollView->pageRight();
    else
        along < start ? scrollView->pageUp() : scrollView->pageDown();
    return kMouseEventHandled;
}

CMouseEventResult VSTGUI4_Scrollbar::onMouseMoved(CPoint& where, const CButtonState& buttons)
{
    if (!dragging || !thumb || !scrollView) return kMouseEventNotHandled;
    CPoint local(where);
    local.offset(-getViewSize().left, -getViewSize().top);
    const CRect& t = thumb->getViewSize();
    const double track = isHorizontal ? std::floor(getWidth()) : std::floor(getHeight());
    const double length = isHorizontal ? std::floor(t.getWidth()) : std::floor(t.getHeight());
    const double along = (isHorizontal ? local.x : local.y) - dragOffset;
    const double fraction = track > length ? std::min(1.0, std::max(0.0, along / (track - length))) : 0.0;
    // The document position whose thumb place is the pointer's.
    const VSTGUI4_DocPair& doc = scrollView->getDocumentSize();
    const VSTGUI4_DocPair& zoom = scrollView->getZoom();
    const VSTGUI4_DocPair& offset = scrollView->getScrollOffset();
    if (isHorizontal) {
        const double visible = std::floor(std::floor(scrollView->getWidth()) * zoom.x);
        const double target = std::floor(fraction * std::max(0.0, doc.x - visible));
        scrollView->scrollTo(target, offset.y);
    } else {
        const double visible = std::floor(std::floor(scrollView->getHeight()) * zoom.y);
        const double target = std::floor(fraction * std::max(0.0, doc.y - visible));
        scrollView->scrollTo(offset.x, target);
    }
    return kMouseEventHandled;
}

CMouseEventResult VSTGUI4_Scrollbar::onMouseUp(CPoint&, const CButtonState&)
{
    if (!dragging) return kMouseEventNotHandled;
    dragging = false;
    dragOffset = -1;
    return kMouseEventHandled;
}

bool VSTGUI4_Scrollbar::attached(CView* parent)
{
    if (!thumb && getNbViews() > 0) thumb = getView(0);
    return CViewContainer::attached(parent);
}

bool VSTGUI4_Scrollbar::removed(CView* parent)
{
    dragging = false;
    dragOffset = -1;
    scrollView = nullptr;
    return CViewContainer::removed(parent);
}

void VSTGUI4_registerScrolling()
{
    VSTGUI4_registerPlainView<VSTGUI4_HorizontalScrollbar>("VSTGUI4_HorizontalScrollbar", "CViewContainer");
    VSTGUI4_registerPlainView<VSTGUI4_VerticalScrollbar>("VSTGUI4_VerticalScrollbar", "CViewContainer");
    VSTGUI4_registerPlainView<VSTGUI4_ScrollableView>("VSTGUI4_ScrollableView", "CView");
}
