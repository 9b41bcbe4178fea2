#pragma once

#include <chrono>
#include <cstdint>

#include "vstgui/lib/coffscreencontext.h"
#include "vstgui/lib/cview.h"

class VSTGUI4_HorizontalScrollbar;
class VSTGUI4_VerticalScrollbar;

// A pair of document values: X across, Y down.
struct VSTGUI4_DocPair {
    double x = 0.0;
    double y = 0.0;
};

// A view of a large document, of which it shows a part at a zoom. The view
// keeps two offscreen pictures of its own size: `offscreen` is shown, and a
// small scroll builds the next picture in `spareOffscreen` by moving the
// pixels of the shown one and drawing only the strip that comes into sight,
// then exchanges the two. What the document is and how it is drawn is the
// subclass's business (drawContent, refresh).
//
// Mapping: document X = pixel × zoom.x + scrollOffset.x (likewise Y), all
// in whole numbers (pixels of a document position rounded down, also left
// of and above the view) so that a moved picture lines up with one drawn
// afresh. `zoom` is in document units per pixel, a whole number of at least
// 1. Pixels are counted from the view's top-left corner.
//
// Every operation: interface thread.
class VSTGUI4_ScrollableView : public VSTGUI::CView {
public:
    explicit VSTGUI4_ScrollableView(const VSTGUI::CRect& size);
    ~VSTGUI4_ScrollableView() override;

    // Releases both pictures, the spare one first; the next drawing makes
    // them anew at the view's size.
    virtual void releaseOffscreens();
    // Draws the columns left..right (pixels, right excluded) of the document
    // into `context`, whose origin is the view's top-left corner; a negative
    // `right` means the whole width. Clipped to those columns by the caller.
    virtual void drawContent(VSTGUI::CDrawContext* context, int32_t left, int32_t right) {}
    // Draws the whole picture anew unless keepPicture; the flags are for the
    // views linked to this one. Marks the view dirty.
    virtual void refresh(bool updateEnvelope, bool updateKeyboard, bool keepPicture);

    // Scroll by `count` steps (0: the default step) and answer the steps
    // really scrolled, 0 for none; a scroll stops at the document's edge.
    virtual int32_t scrollUp(int32_t count = 0);
    virtual int32_t scrollDown(int32_t count = 0);
    virtual int32_t scrollLeft(int32_t count = 0);
    virtual int32_t scrollRight(int32_t count = 0);
    virtual int32_t pageUp() { return scrollUp(verticalPage()); }
    virtual int32_t pageDown() { return scrollDown(verticalPage()); }
    virtual int32_t pageLeft() { return scrollLeft(horizontalPage()); }
    virtual int32_t pageRight() { return scrollRight(horizontalPage()); }

    // Halve or double the zoom about the centre of the view, keeping the
    // document's edges; `outVisible` is the document span now in sight.
    // False, and nothing changed, at the limits (1 unit per pixel, or a
    // view that would show more than the document).
    virtual bool zoomInHorizontal(int32_t& outVisible);
    virtual bool zoomOutHorizontal(int32_t& outVisible);
    virtual bool zoomInVertical(int32_t& outVisible);
    virtual bool zoomOutVertical(int32_t& outVisible);
    // Halve the zoom about a document position.
    virtual bool zoomInHorizontalAt(int64_t centre, int32_t& outVisible);
    virtual bool zoomInVerticalAt(int64_t centre, int32_t& outVisible);

    // The mapping between pixels of the view and document coordinates.
    // docToPixelX is limited to -30000..30000 so that callers may go on in
    // 16 bits; docToPixelY is narrowed to 16 bits.
    int64_t pixelToDocX(int32_t pixel) const;
    int64_t pixelToDocY(int32_t pixel) const;
    int32_t docToPixelX(int64_t doc) const;
    int16_t docToPixelY(int64_t doc) const;

    const VSTGUI4_DocPair& getDocumentSize() const { return documentSize; }
    const VSTGUI4_DocPair& getScrollOffset() const { return scrollOffset; }
    const VSTGUI4_DocPair& getZoom() const { return zoom; }
    // The setters take the values as given; the caller redraws
    // (refresh) and places the thumbs (updateThumbs).
    void setDocumentSize(const VSTGUI4_DocPair& size) { documentSize = size; }
    virtual void setScrollOffset(const VSTGUI4_DocPair& offset) { scrollOffset = offset; }
    void setZoom(const VSTGUI4_DocPair& value) { zoom = value; }
    // Scrolls to a document position, limited to the document, redrawing
    // as a scroll of that distance would.
    void scrollTo(double x, double y);

    // Steps of the scroll operations, in pixels.
    virtual int32_t verticalStep() { return 1; }
    virtual int32_t horizontalStep() { return 1; }
    virtual int32_t verticalPage() { return int32_t(getHeight()) - 1; }
    virtual int32_t horizontalPage() { return int32_t(getWidth()) - 1; }
    virtual bool canScrollHorizontally() { return true; }
    virtual bool canScrollVertically() { return true; }

    // During a drag whose pointer (x, y, in the parent's coordinates) lies
    // outside the view: scrolls one step towards it, redrawing in full, and
    // answers in `outDelta` how far the picture moved, in pixels (to the
    // right and down positive), so that points of the drag can follow the
    // document. Steps come at most every
    // autoScrollInterval, so that scrolling has the same speed however
    // often the pointer moves; autoScrollDue tells a timer that one may come.
    virtual void autoScroll(VSTGUI::CPoint& outDelta, VSTGUI::CCoord x, VSTGUI::CCoord y);
    bool autoScrollDue() const;
    static constexpr std::chrono::milliseconds autoScrollInterval{100};
    // The buttons of a mouse event (left, middle, right, 4 and 5): a drag
    // runs only when the masked state is the left button alone.
    static constexpr int32_t buttonMask = VSTGUI::kLButton | VSTGUI::kMButton | VSTGUI::kRButton |
                                          VSTGUI::kButton4 | VSTGUI::kButton5;

    // Place the thumbs for `visible` document units in sight out of
    // `documentSpan`, the view's edge at `position`.
    virtual void updateHorizontalThumb(int64_t visible, int64_t documentSpan, int64_t position);
    virtual void updateVerticalThumb(int64_t visible, int64_t documentSpan, int64_t position);
    // Both thumbs as the fields stand.
    void updateThumbs();

    // The scrollbars that show and drive the position (either may be null).
    void setScrollbars(VSTGUI4_HorizontalScrollbar* horizontal, VSTGUI4_VerticalScrollbar* vertical);
    VSTGUI4_HorizontalScrollbar* getHorizontalScrollbar() const { return horizontalScrollbar; }
    VSTGUI4_VerticalScrollbar* getVerticalScrollbar() const { return verticalScrollbar; }

    // Scrolling by moving pixels (the "scrollMethod" preference), else by
    // redrawing the whole picture.
    void setScrollByCopy(bool state) { scrollByCopy = state; }
    bool getScrollByCopy() const { return scrollByCopy; }
    bool isMouseTracking() const { return mouseTracking; }

    // The picture shown, made at the view's size if there is none; null
    // for an empty view.
    VSTGUI::COffscreenContext* getOffscreen();

    //--- CView
    // The wheel scrolls a step (a page with alt) by the sign of the
    // distance; refused while a drag is on.
    bool onWheel(const VSTGUI::CPoint& where, const VSTGUI::CMouseWheelAxis& axis, const float& distance,
                 const VSTGUI::CButtonState& buttons) override;
    // The hand drag: with the left button alone and mouseTracking set, the
    // document follows the pointer.
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    // A new size releases the pictures.
    void setViewSize(const VSTGUI::CRect& rect, bool invalid = true) override;
    bool removed(VSTGUI::CView* parent) override;

    CLASS_METHODS(VSTGUI4_ScrollableView, CView)

protected:
    // Both pictures at the view's size; false for an empty view.
    bool makeOffscreens();
    // The pixels of the shown picture moved by (dx, dy) into the spare one,
    // the uncovered strip drawn by drawContent, then the two exchanged.
    void scrollPicture(int32_t dx, int32_t dy);
    // Draws the columns left..right into the shown picture, clipped to them.
    void repaint(int32_t left, int32_t right);

    VSTGUI::SharedPointer<VSTGUI::COffscreenContext> offscreen;
    VSTGUI::SharedPointer<VSTGUI::COffscreenContext> spareOffscreen;
    VSTGUI4_VerticalScrollbar* verticalScrollbar = nullptr;
    VSTGUI4_HorizontalScrollbar* horizontalScrollbar = nullptr;
    VSTGUI4_DocPair documentSize;
    VSTGUI4_DocPair scrollOffset;
    VSTGUI4_DocPair zoom{1.0, 1.0};
    VSTGUI::CPoint mouseDownPoint;
    VSTGUI::CPoint lastMousePoint;
    bool mouseTracking = false;
    bool scrollByCopy = false;
    std::chrono::steady_clock::time_point lastAutoScroll{};
};
