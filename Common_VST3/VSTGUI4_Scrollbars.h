#pragma once

#include <cstdint>

#include "vstgui/lib/cviewcontainer.h"

class VSTGUI4_ScrollableView;

// A scrollbar: a container whose one child, the thumb, stands for the part
// of the document that a VSTGUI4_ScrollableView shows. The thumb's length
// follows the part in sight (never below the thumb's minimum size when it
// is a VSTGUI4_ViewWithMinimumSize) and its place the scroll position;
// dragging it scrolls the view.
//
// Every operation: interface thread.
class VSTGUI4_Scrollbar : public VSTGUI::CViewContainer {
public:
    VSTGUI4_Scrollbar(const VSTGUI::CRect& size, bool horizontal);

    // The thumb among the children (not owned beyond the container's
    // reference) and the view it drives; either may be null.
    void setThumb(VSTGUI::CView* view) { thumb = view; }
    VSTGUI::CView* getThumb() const { return thumb; }
    void setScrollView(VSTGUI4_ScrollableView* view) { scrollView = view; }
    void setHorizontal(bool state) { isHorizontal = state; }
    bool getHorizontal() const { return isHorizontal; }

    // The thumb's place along the track: 0 at the start, 1 at the end;
    // limited to 0..1. Nothing without a thumb.
    void setThumbFraction(float fraction);
    // The thumb's length as the part of the document in sight (0..1) of
    // the track's length.
    void setThumbSpan(double part);

    //--- CView: a press on the thumb starts a drag that keeps the place of
    // the press within the thumb; moves scroll the view, the release ends it.
    // A press beside the thumb pages towards the press.
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const VSTGUI::CButtonState& buttons) override;
    bool attached(VSTGUI::CView* parent) override;
    bool removed(VSTGUI::CView* parent) override;

    bool isDragging() const { return dragging; }

    CLASS_METHODS(VSTGUI4_Scrollbar, CViewContainer)

protected:
    bool isHorizontal;
    VSTGUI::CView* thumb = nullptr;
    VSTGUI4_ScrollableView* scrollView = nullptr;
    bool dragging = false;
    // Pixels from the thumb's start to the press, -1 outside a drag.
    int32_t dragOffset = -1;
};

class VSTGUI4_HorizontalScrollbar : public VSTGUI4_Scrollbar {
public:
    explicit VSTGUI4_HorizontalScrollbar(const VSTGUI::CRect& size) : VSTGUI4_Scrollbar(size, true) {}
    CLASS_METHODS(VSTGUI4_HorizontalScrollbar, VSTGUI4_Scrollbar)
};

class VSTGUI4_VerticalScrollbar : public VSTGUI4_Scrollbar {
public:
    explicit VSTGUI4_VerticalScrollbar(const VSTGUI::CRect& size) : VSTGUI4_Scrollbar(size, false) {}
    CLASS_METHODS(VSTGUI4_VerticalScrollbar, VSTGUI4_Scrollbar)
};

// Registers the creators of "VSTGUI4_HorizontalScrollbar" and
// "VSTGUI4_VerticalScrollbar" (base "CViewContainer") and of
// "VSTGUI4_ScrollableView" (base "CView") with the view factory; once per
// process. A scrollbar without a thumb takes its first child as the thumb
// when it is attached.
void VSTGUI4_registerScrolling();
