#pragma once

// A view holding other views. Children's rectangles are relative to the
// container's top left corner; the container draws them in order (the last
// added on top), hands mouse events to the topmost child under the pointer
// and keeps sending the moves and the release of a press to the child that
// took the press.

#include "vstgui/lib/cdrawdefs.h"
#include "vstgui/lib/cview.h"

#include <list>

namespace VSTGUI {

enum CBackgroundColorDrawStyle {
    kDrawFilledBackground = kDrawFilled,
    kDrawStrokedBackground = kDrawStroke,
    kDrawFilledAndStrokedBackground = kDrawFilledAndStroked
};

class CViewContainer : public CView {
public:
    explicit CViewContainer(const CRect& size);
    CViewContainer(const CViewContainer& container);
    ~CViewContainer() override;

    //--- Children. addView takes over the reference of the view given; a
    // view that cannot be added is released.
    virtual bool addView(CView* pView);
    virtual bool addView(CView* pView, CView* pBefore);
    virtual bool removeView(CView* pView, bool withForget = true);
    virtual bool removeAll(bool withForget = true);
    virtual bool changeViewZOrder(CView* view, uint32_t newIndex);
    bool isChild(CView* pView, bool deep = false) const;
    uint32_t getNbViews() const { return uint32_t(children.size()); }
    CView* getView(uint32_t index) const;
    // The topmost visible child under the point (container coordinates of
    // the parent, like the container's own rectangle); with deep, the
    // innermost view.
    CView* getViewAt(const CPoint& where, bool deep = false, bool mustbeMouseEnabled = false) const;
    template <class F>
    void forEachChild(F f) const
    {
        for (const auto& c : children) f(c.get());
    }

    //--- Background.
    void setBackgroundColor(const CColor& color);
    const CColor& getBackgroundColor() const { return backgroundColor; }
    void setBackgroundColorDrawStyle(CDrawStyle style);
    CDrawStyle getBackgroundColorDrawStyle() const { return backgroundColorDrawStyle; }
    void setBackgroundOffset(const CPoint& p) { backgroundOffset = p; }
    const CPoint& getBackgroundOffset() const { return backgroundOffset; }
    virtual void drawBackgroundRect(CDrawContext* pContext, const CRect& updateRect);

    //--- CView
    void draw(CDrawContext* pContext) override;
    void drawRect(CDrawContext* pContext, const CRect& updateRect) override;
    void invalid() override;
    void invalidRect(const CRect& rect) override;
    void setViewSize(const CRect& rect, bool invalid = true) override;
    CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons) override;
    CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons) override;
    CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons) override;
    bool onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                 const CButtonState& buttons) override;
    bool onWheel(const CPoint& where, const float& distance, const CButtonState& buttons) override;
    bool hitTest(const CPoint& where, const CButtonState& buttons = -1) override;
    CPoint& localToFrame(CPoint& point) const override;
    CPoint& frameToLocal(CPoint& point) const override;
    bool attached(CView* parent) override;
    bool removed(CView* parent) override;
    void setAutosizingEnabled(bool state) { autosizingEnabled = state; }
    bool getAutosizingEnabled() const { return autosizingEnabled; }

    // The child that took the current press, or null.
    CView* getMouseDownView() const { return mouseDownView; }

    CLASS_METHODS(CViewContainer, CView)

protected:
    std::list<SharedPointer<CView>> children;
    CColor backgroundColor = kBlackCColor;
    CDrawStyle backgroundColorDrawStyle = kDrawFilledAndStroked;
    CPoint backgroundOffset;
    bool autosizingEnabled = true;
    SharedPointer<CView> mouseDownView;
};

} // namespace VSTGUI
