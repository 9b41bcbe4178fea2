#pragma once

#include "vstgui/lib/cview.h"

// A plain view that carries the smallest size it may be given, in pixels:
// the thumbs of the scrollbars, which shrink with the part of the document
// they stand for but never below their minimum size. The view itself only
// keeps the value; whoever sizes it reads it.
//
// Every operation: interface thread.
class VSTGUI4_ViewWithMinimumSize : public VSTGUI::CView {
public:
    explicit VSTGUI4_ViewWithMinimumSize(const VSTGUI::CRect& size);
    // A copy takes the minimum size and wants the focus.
    VSTGUI4_ViewWithMinimumSize(const VSTGUI4_ViewWithMinimumSize& other);
    ~VSTGUI4_ViewWithMinimumSize() override;

    // Width in x, height in y; (0, 0) from construction.
    void setMinSize(const VSTGUI::CPoint& size) { minSize = size; }
    const VSTGUI::CPoint& getMinSize() const { return minSize; }

    CLASS_METHODS(VSTGUI4_ViewWithMinimumSize, CView)

protected:
    VSTGUI::CPoint minSize;
};
