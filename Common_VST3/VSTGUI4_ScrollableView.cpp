#include "Common_VST3/VSTGUI4_ScrollableView.h"

#include <cmath>

#include "Common_VST3/VSTGUI4_Scrollbars.h"
#include "vstgui/lib/cframe.h"

using namespace VSTGUI;

namespace {

// Largest pixel distance docToPixelX answers, so that it fits 16 bits.
constexpr int32_t pixelLimit = 30000;
// Scrolls beyond this part of the view's width redraw the whole picture.
constexpr float copyFraction = 0.33333334f;

int64_t trunc64(double v)
{
    return int64_t(v);
}

} // namespace

VSTGUI4_ScrollableView::VSTGUI4_ScrollableView(const CRect& size) : CView(size) {}

VSTGUI4_ScrollableView::~VSTGUI4_ScrollableView() = default;

void VSTGUI4_ScrollableView::releaseOffscreens()
{
    spareOffscreen = nullptr;
    offscreen = nullptr;
}

bool VSTGUI4_ScrollableView::makeOffscreens()
{
    const CCoord w = std::floor(getWidth());
    const CCoord h = std::floor(getHeight());
    if (w < 1 || h < 1) return false;
    const double scale = getFrame() ? getFrame()->getZoom() : 1.0;
    if (!offscreen) offscreen = owned(COffscreenContext::create(getFrame(), w, h, scale));
    if (!spareOffscreen) spareOffscreen = owned(COffscreenContext::create(getFrame(), w, h, scale));
    return offscreen && spareOffscreen;
}

COffscreenContext* VSTGUI4_ScrollableView::getOffscreen()
{
    if (!offscreen && makeOffscreens()) repaint(0, -1);
    return offscreen;
}

void VSTGUI4_ScrollableView::repaint(int32_t left, int32_t right)
{
    if (!offscreen && !makeOffscreens()) return;
    if (right < 0) {
        left = 0;
        right = int32_t(getWidth());
    }
    offscreen->beginDraw();
    offscreen->setClipRect(CRect(left, 0, right, getHeight()));
    drawContent(offscreen, left, right);
    offscreen->endDraw();
}

void VSTGUI4_ScrollableView::refresh(bool, bool, bool keepPicture)
{
    if (!keepPicture) repaint(0, -1);
    setDirty(true);
}

void VSTGUI4_ScrollableView::scrollPicture(int32_t dx, int32_t dy)
{
    if (!offscreen || !spareOffscreen) {
        refresh(true, false, false);
        return;
    }
    const int32_t w = int32_t(getWidth());
    const int32_t h = int32_t(getHeight());
    // dx > 0: the document moves left (scrolling right), new columns at the
    // right; dy > 0 likewise upwards.
    spareOffscreen->beginDraw();
    spareOffscreen->clearRect(CRect(0, 0, w, h));
    const CRect kept(dx > 0 ? 0 : -dx, dy > 0 ? 0 : -dy, dx > 0 ? w - dx : w, dy > 0 ? h - dy : h);
    offscreen->copyFrom(spareOffscreen, kept, CPoint(dx > 0 ? dx : 0, dy > 0 ? dy : 0));
    if (dx != 0) {
        const int32_t left = dx > 0 ? w - dx : 0;
        const int32_t right = dx > 0 ? w : -dx;
        spareOffscreen->setClipRect(CRect(left, 0, right, h));
        drawContent(spareOffscreen, left, right);
    } else if (dy != 0) {
        // A vertical strip spans every column: drawn with its rows clipped.
        spareOffscreen->setClipRect(CRect(0, dy > 0 ? h - dy : 0, w, dy > 0 ? h : -dy));
        drawContent(spareOffscreen, 0, w);
    }
    spareOffscreen->endDraw();
    std::swap(offscreen, spareOffscreen);
    setDirty(true);
}

int32_t VSTGUI4_ScrollableView::scrollRight(int32_t count)
{
    if (!canScrollHorizontally()) return 0;
    const int32_t w = int32_t(getWidth());
    const int64_t visible = trunc64(w * zoom.x);
    const int64_t maxX = trunc64(documentSize.x - double(visible));
    if (!(double(maxX) > scrollOffset.x)) return 0;
    if (count == 0) count = horizontalStep();
    const int64_t step = int64_t(zoom.x);
    const int64_t newX = trunc64(double(trunc64(count * zoom.x)) + scrollOffset.x);
    bool fullRedraw = !scrollByCopy;
    if (newX <= maxX) {
        scrollOffset.x = double(newX);
    } else {
        const int64_t old = trunc64(scrollOffset.x);
        scrollOffset.x = double(maxX);
        count = int32_t(double(maxX - old) / zoom.x + 0.5);
        if (step > 0 && (newX - maxX) % step != 0) fullRedraw = true;
    }
    if (fullRedraw || float(count) > float(w) * copyFraction)
        refresh(true, false, false);
    else
        scrollPicture(count, 0);
    updateHorizontalThumb(visible, trunc64(documentSize.x), trunc64(scrollOffset.x));
    return count;
}

int32_t VSTGUI4_ScrollableView::scrollLeft(int32_t count)
{
    if (!canScrollHorizontally()) return 0;
    const int32_t w = int32_t(getWidth());
    const int64_t visible = trunc64(w * zoom.x);
    if (!(scrollOffset.x > 0.0)) return 0;
    if (count == 0) count = horizontalStep();
    const int64_t step = int64_t(zoom.x);
    const int64_t newX = trunc64(scrollOffset.x - double(trunc64(count * zoom.x)));
    bool fullRedraw = !scrollByCopy;
    if (newX >= 0) {
        scrollOffset.x = double(newX);
    } else {
        const int64_t old = trunc64(scrollOffset.x);
        scrollOffset.x = 0.0;
        count = int32_t(double(old) / zoom.x + 0.5);
        if (step > 0 && (-newX) % step != 0) fullRedraw = true;
    }
    if (fullRedraw || float(count) > float(w) * copyFraction)
        refresh(true, false, false);
    else
        scrollPicture(-count, 0);
    updateHorizontalThumb(visible, trunc64(documentSize.x), trunc64(scrollOffset.x));
    return count;
}

int32_t VSTGUI4_ScrollableView::scrollDown(int32_t count)
{
    if (!canScrollVertically()) return 0;
    const int32_t h = int32_t(getHeight());
    const int64_t visible = trunc64(h * zoom.y);
    const int64_t maxY = trunc64(documentSize.y - double(visible));
    if (!(double(maxY) > scrollOffset.y)) return 0;
    if (count == 0) count = verticalStep();
    const int64_t step = int64_t(zoom.y);
    const int64_t newY = trunc64(double(trunc64(count * zoom.y)) + scrollOffset.y);
    bool fullRedraw = !scrollByCopy;
    if (newY <= maxY) {
        scrollOffset.y = double(newY);
    } else {
        const int64_t old = trunc64(scrollOffset.y);
        scrollOffset.y = double(maxY);
        count = int32_t(double(maxY - old) / zoom.y + 0.5);
        if (step > 0 && (newY - maxY) % step != 0) fullRedraw = true;
    }
    if (fullRedraw || float(count) > float(h) * copyFraction)
        refresh(true, false, false);
    else
        scrollPicture(0, count);
    updateVerticalThumb(visible, trunc64(documentSize.y), trunc64(scrollOffset.y));
    return count;
}

int32_t VSTGUI4_ScrollableView::scrollUp(int32_t count)
{
    if (!canScrollVertically()) return 0;
    const int32_t h = int32_t(getHeight());
    const int64_t visible = trunc64(h * zoom.y);
    if (!(scrollOffset.y > 0.0)) return 0;
    if (count == 0) count = verticalStep();
    const int64_t step = int64_t(zoom.y);
    const int64_t newY = trunc64(scrollOffset.y - double(trunc64(count * zoom.y)));
    bool fullRedraw = !scrollByCopy;
    if (newY >= 0) {
        scrollOffset.y = double(newY);
    } else {
        const int64_t old = trunc64(scrollOffset.y);
        scrollOffset.y = 0.0;
        count = int32_t(double(old) / zoom.y + 0.5);
        if (step > 0 && (-newY) % step != 0) fullRedraw = true;
    }
    if (fullRedraw || float(count) > float(h) * copyFraction)
        refresh(true, false, false);
    else
        scrollPicture(0, -count);
    updateVerticalThumb(visible, trunc64(documentSize.y), trunc64(scrollOffset.y));
    return count;
}

void VSTGUI4_ScrollableView::scrollTo(double x, double y)
{
    const double maxX = std::max(0.0, documentSize.x - std::floor(getWidth()) * zoom.x);
    const double maxY = std::max(0.0, documentSize.y - std::floor(getHeight()) * zoom.y);
    x = std::floor(std::min(std::max(x, 0.0), maxX));
    y = std::floor(std::min(std::max(y, 0.0), maxY));
    // Whole pixels go by the scroll operations (copying when they may);
    // the rest of a zoom step moves the picture afresh.
    const double zx = std::max(1.0, std::floor(zoom.x));
    const double zy = std::max(1.0, std::floor(zoom.y));
    if (x != scrollOffset.x) {
        const double dx = x - scrollOffset.x;
        if (std::fmod(dx, zx) == 0.0 && std::fabs(dx) / zx < 1e9) {
            const int32_t pixels = int32_t(std::fabs(dx) / zx);
            if (dx > 0) scrollRight(pixels); else scrollLeft(pixels);
        } else {
            scrollOffset.x = x;
            refresh(true, false, false);
        }
    }
    if (y != scrollOffset.y) {
        const double dy = y - scrollOffset.y;
        if (std::fmod(dy, zy) == 0.0 && std::fabs(dy) / zy < 1e9) {
            const int32_t pixels = int32_t(std::fabs(dy) / zy);
            if (dy > 0) scrollDown(pixels); else scrollUp(pixels);
        } else {
            scrollOffset.y = y;
            refresh(true, false, false);
        }
    }
    updateThumbs();
}

//--- Zoom.

bool VSTGUI4_ScrollableView::zoomInVertical(int32_t& outVisible)
{
    if (!canScrollVertically() || !(zoom.y > 1.5)) return false;
    const int32_t h = int32_t(getHeight());
    const double v = zoom.y * h;
    const int64_t c = trunc64(v) / 2 + trunc64(scrollOffset.y);
    zoom.y = double(int64_t(zoom.y + 0.5) / 2);
    const int64_t visible = trunc64(h * zoom.y);
    outVisible = int32_t(visible);
    scrollOffset.y = double(c - visible / 2);
    return true;
}

bool VSTGUI4_ScrollableView::zoomOutVertical(int32_t& outVisible)
{
    if (!canScrollVertically()) return false;
    const int32_t h = int32_t(getHeight());
    int64_t v = trunc64(zoom.y * h);
    outVisible = int32_t(v);
    if (!(documentSize.y >= 2.0 * double(v))) return false;
    const int64_t c = v / 2 + trunc64(scrollOffset.y);
    zoom.y = double(int64_t(2.0 * zoom.y + 0.5));
    v = trunc64(h * zoom.y);
    outVisible = int32_t(v);
    const int64_t top = c - v / 2;
    if (top < 0) {
        scrollOffset.y = 0.0;
    } else {
        scrollOffset.y = double(top);
        const double excess = double(v + top) - documentSize.y;
        if (excess >= 1.0) scrollOffset.y -= std::floor(excess);
    }
    return true;
}

bool VSTGUI4_ScrollableView::zoomInVerticalAt(int64_t centre, int32_t& outVisible)
{
    if (!canScrollVertically() || !(zoom.y > 1.5)) return false;
    const int32_t h = int32_t(getHeight());
    zoom.y = double(int64_t(zoom.y + 0.5) / 2);
    const int64_t v = trunc64(h * zoom.y);
    outVisible = int32_t(v);
    int64_t top = centre - v / 2;
    const int64_t maxTop = trunc64(documentSize.y - double(v));
    if (top > maxTop) top = maxTop;
    if (top < 0) top = 0;
    scrollOffset.y = double(top);
    return true;
}

bool VSTGUI4_ScrollableView::zoomInHorizontal(int32_t& outVisible)
{
    if (!canScrollHorizontally() || !(zoom.x > 1.5)) return false;
    const int32_t w = int32_t(getWidth());
    const int64_t c = trunc64(zoom.x * w) / 2 + trunc64(scrollOffset.x);
    return zoomInHorizontalAt(c, outVisible);
}

bool VSTGUI4_ScrollableView::zoomInHorizontalAt(int64_t centre, int32_t& outVisible)
{
    if (!canScrollHorizontally() || !(zoom.x > 1.5)) return false;
    const int32_t w = int32_t(getWidth());
    zoom.x = double(int64_t(zoom.x + 0.5) / 2);
    const int64_t v = trunc64(w * zoom.x);
    outVisible = int32_t(v);
    int64_t left = centre - v / 2;
    const int64_t maxLeft = trunc64(documentSize.x - double(v));
    if (left > maxLeft) left = maxLeft;
    if (left < 0) left = 0;
    scrollOffset.x = double(left);
    return true;
}

bool VSTGUI4_ScrollableView::zoomOutHorizontal(int32_t& outVisible)
{
    if (!canScrollHorizontally()) return false;
    const int32_t w = int32_t(getWidth());
    int64_t v = trunc64(zoom.x * w);
    outVisible = int32_t(v);
    if (!(documentSize.x >= 2.0 * double(v))) return false;
    const int64_t c = v / 2 + trunc64(scrollOffset.x);
    zoom.x = double(int64_t(2.0 * zoom.x + 0.5));
    v = trunc64(w * zoom.x);
    outVisible = int32_t(v);
    const int64_t left = c - v / 2;
    if (left < 0) {
        scrollOffset.x = 0.0;
    } else {
        scrollOffset.x = double(left);
        const double excess = double(v + left) - documentSize.x;
        if (excess >= 1.0) scrollOffset.x -= std::floor(excess);
    }
    return true;
}

//--- Mapping.

int64_t VSTGUI4_ScrollableView::pixelToDocX(int32_t pixel) const
{
    return trunc64(double(pixel * int64_t(zoom.x)) + scrollOffset.x);
}

int64_t VSTGUI4_ScrollableView::pixelToDocY(int32_t pixel) const
{
    return trunc64(double(pixel * int64_t(zoom.y)) + scrollOffset.y);
}

int32_t VSTGUI4_ScrollableView::docToPixelX(int64_t doc) const
{
    // Rounded down, left of the view too, so that a position keeps its
    // distance to its neighbours when the view scrolls past it.
    const float p = std::floor(float(double(doc) - scrollOffset.x) / float(zoom.x));
    if (p > float(pixelLimit)) return pixelLimit;
    if (p < -float(pixelLimit)) return -pixelLimit;
    return int32_t(p);
}

int16_t VSTGUI4_ScrollableView::docToPixelY(int64_t doc) const
{
    const float p = std::floor(float(double(doc) - scrollOffset.y) / float(zoom.y));
    return int16_t(int32_t(p));
}

//--- Drags.

bool VSTGUI4_ScrollableView::autoScrollDue() const
{
    return std::chrono::steady_clock::now() - lastAutoScroll >= autoScrollInterval;
}

void VSTGUI4_ScrollableView::autoScroll(CPoint& outDelta, CCoord x, CCoord y)
{
    outDelta = CPoint(0, 0);
    const bool outsideX = x < size.left || x >= size.right;
    const bool outsideY = y < size.top || y >= size.bottom;
    if (!(outsideX || outsideY) || !autoScrollDue()) return;
    const bool saved = scrollByCopy;
    scrollByCopy = false;
    if (x < size.left)
        outDelta.x = scrollLeft(0);
    else if (x >= size.right)
        outDelta.x = -scrollRight(0);
    if (y < size.top)
        outDelta.y = scrollUp(0);
    else if (y >= size.bottom)
        outDelta.y = -scrollDown(0);
    scrollByCopy = saved;
    lastAutoScroll = std::chrono::steady_clock::now();
}

CMouseEventResult VSTGUI4_ScrollableView::onMouseMoved(CPoint& where, const CButtonState& buttons)
{
    if ((int32_t(buttons) & buttonMask) != kLButton || !mouseTracking) return kMouseEventHandled;
    if (where == lastMousePoint) return kMouseEventHandled;
    const int32_t lastX = int32_t(lastMousePoint.x - size.left), lastY = int32_t(lastMousePoint.y - size.top);
    const int32_t newX = int32_t(where.x - size.left), newY = int32_t(where.y - size.top);
    double tx = double(pixelToDocX(lastX) - pixelToDocX(newX)) + scrollOffset.x;
    double ty = double(pixelToDocY(lastY) - pixelToDocY(newY)) + scrollOffset.y;
    if (canScrollHorizontally())
        tx = std::max(0.0, std::min(tx, documentSize.x - getWidth() * zoom.x));
    else
        tx = scrollOffset.x;
    if (canScrollVertically())
        ty = std::max(0.0, std::min(ty, documentSize.y - getHeight() * zoom.y));
    else
        ty = scrollOffset.y;
    if (tx != scrollOffset.x || ty != scrollOffset.y) scrollTo(tx, ty);
    lastMousePoint = where;
    return kMouseEventHandled;
}

bool VSTGUI4_ScrollableView::onWheel(const CPoint&, const CMouseWheelAxis& axis, const float& distance,
                                     const CButtonState& buttons)
{
    if (mouseTracking) return false;
    float d = distance;
    if (int32_t(buttons) & kMouseWheelInverted) d = -d;
    const bool page = (int32_t(buttons) & kAlt) != 0;
    if (axis == kMouseWheelAxisX) {
        if (!canScrollHorizontally()) return true;
        if (d > 0)
            page ? pageLeft() : scrollLeft(0);
        else
            page ? pageRight() : scrollRight(0);
    } else {
        if (!canScrollVertically()) return true;
        if (d > 0)
            page ? pageUp() : scrollUp(0);
        else
            page ? pageDown() : scrollDown(0);
    }
    return true;
}

//--- Thumbs.

void VSTGUI4_ScrollableView::setScrollbars(VSTGUI4_HorizontalScrollbar* horizontal, VSTGUI4_VerticalScrollbar* vertical)
{
    horizontalScrollbar = horizontal;
    verticalScrollbar = vertical;
    if (horizontalScrollbar) horizontalScrollbar->setScrollView(this);
    if (verticalScrollbar) verticalScrollbar->setScrollView(this);
    updateThumbs();
}

void VSTGUI4_ScrollableView::updateHorizontalThumb(int64_t visible, int64_t documentSpan, int64_t position)
{
    if (!horizontalScrollbar) return;
    horizontalScrollbar->setThumbSpan(documentSpan > 0 ? double(visible) / double(documentSpan) : 1.0);
    horizontalScrollbar->setThumbFraction(documentSpan > visible ? float(position) / float(documentSpan - visible)
                                                                 : 0.f);
}

void VSTGUI4_ScrollableView::updateVerticalThumb(int64_t visible, int64_t documentSpan, int64_t position)
{
    if (!verticalScrollbar) return;
    verticalScrollbar->setThumbSpan(documentSpan > 0 ? double(visible) / double(documentSpan) : 1.0);
    verticalScrollbar->setThumbFraction(documentSpan > visible ? float(position) / float(documentSpan - visible)
                                                               : 0.f);
}

void VSTGUI4_ScrollableView::updateThumbs()
{
    updateHorizontalThumb(trunc64(int32_t(getWidth()) * zoom.x), trunc64(documentSize.x), trunc64(scrollOffset.x));
    updateVerticalThumb(trunc64(int32_t(getHeight()) * zoom.y), trunc64(documentSize.y), trunc64(scrollOffset.y));
}

//--- CView.

void VSTGUI4_ScrollableView::setViewSize(const CRect& rect, bool invalid)
{
    const bool resized = rect.getWidth() != size.getWidth() || rect.getHeight() != size.getHeight();
    CView::setViewSize(rect, invalid);
    if (resized) {
        releaseOffscreens();
        updateThumbs();
    }
}

bool VSTGUI4_ScrollableView::removed(CView* parent)
{
    releaseOffscreens();
    return CView::removed(parent);
}
