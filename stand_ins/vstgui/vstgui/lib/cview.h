#pragma once

// The base of everything on the panel. A view's rectangle (getViewSize) is
// in the coordinates of its parent container, and so are the points of its
// mouse handlers and the coordinates it draws in.

#include "vstgui/lib/cbuttonstate.h"
#include "vstgui/lib/ccolor.h"
#include "vstgui/lib/crect.h"
#include "vstgui/lib/vstkeycode.h"

#include <map>
#include <vector>

namespace VSTGUI {

class CBitmap;
class CDrawContext;
class CFrame;
class CViewContainer;

enum CMouseEventResult {
    kMouseEventNotImplemented = 0,
    kMouseEventHandled,
    kMouseEventNotHandled,
    kMouseDownEventHandledButDontNeedMovedOrUpEvents,
    kMouseMoveEventHandledButDontNeedMoreEvents
};

enum CCursorType {
    kCursorDefault = 0,
    kCursorWait,
    kCursorHSize,
    kCursorVSize,
    kCursorSizeAll,
    kCursorNESWSize,
    kCursorNWSESize,
    kCursorCopy,
    kCursorNotAllowed,
    kCursorHand,
    kCursorIBeam
};

enum CMouseWheelAxis {
    kMouseWheelAxisX = 0,
    kMouseWheelAxisY
};

// Which edges of a view follow the edges of its container when the
// container changes size.
enum {
    kAutosizeNone = 0,
    kAutosizeLeft = 1 << 0,
    kAutosizeTop = 1 << 1,
    kAutosizeRight = 1 << 2,
    kAutosizeBottom = 1 << 3,
    kAutosizeColumn = 1 << 4,
    kAutosizeRow = 1 << 5,
    kAutosizeAll = kAutosizeLeft | kAutosizeTop | kAutosizeRight | kAutosizeBottom
};

using CViewAttributeID = uint32_t;
// The sub-controller that a view owns (an IController pointer).
constexpr CViewAttributeID kCViewControllerAttribute = 0x69637472; // 'ictr'

class CView : public CBaseObject {
public:
    explicit CView(const CRect& size);
    CView(const CView& view);
    ~CView() override;

    //--- Drawing. draw paints the background bitmap and marks the view
    // clean; drawRect is given the part to update, in the same coordinates,
    // and calls draw.
    virtual void draw(CDrawContext* pContext);
    virtual void drawRect(CDrawContext* pContext, const CRect& updateRect);
    virtual bool checkUpdate(const CRect& updateRect) const { return updateRect.rectOverlap(size); }
    virtual bool isDirty() const { return dirty; }
    // true asks for a redraw of the whole view.
    virtual void setDirty(bool state = true);

    //--- Invalidation: the frame redraws invalid rectangles at its next
    // update. invalidRect takes the coordinates of the view's rectangle.
    virtual void invalid() { invalidRect(size); }
    virtual void invalidRect(const CRect& rect);

    //--- Mouse. Points are in the parent's coordinates.
    virtual CMouseEventResult onMouseDown(CPoint& where, const CButtonState& buttons);
    virtual CMouseEventResult onMouseUp(CPoint& where, const CButtonState& buttons);
    virtual CMouseEventResult onMouseMoved(CPoint& where, const CButtonState& buttons);
    virtual CMouseEventResult onMouseEntered(CPoint& where, const CButtonState& buttons);
    virtual CMouseEventResult onMouseExited(CPoint& where, const CButtonState& buttons);
    // distance: positive up (or left on the X axis), in wheel steps.
    virtual bool onWheel(const CPoint& where, const float& distance, const CButtonState& buttons);
    virtual bool onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                         const CButtonState& buttons);
    virtual bool hitTest(const CPoint& where, const CButtonState& buttons = -1);
    void setMouseEnabled(bool state = true) { mouseEnabled = state; }
    bool getMouseEnabled() const { return mouseEnabled; }
    void setMouseableArea(const CRect& rect) { mouseableArea = rect; }
    CRect& getMouseableArea(CRect& rect) const
    {
        rect = mouseableArea;
        return rect;
    }
    const CRect& getMouseableArea() const { return mouseableArea; }

    //--- Keys: 1 handled, -1 not handled.
    virtual int32_t onKeyDown(VstKeyCode& keyCode) { return -1; }
    virtual int32_t onKeyUp(VstKeyCode& keyCode) { return -1; }
    void setWantsFocus(bool state) { wantsFocusFlag = state; }
    bool wantsFocus() const { return wantsFocusFlag; }
    virtual void takeFocus() {}
    virtual void looseFocus() {}

    //--- Size and place.
    const CRect& getViewSize() const { return size; }
    CRect& getViewSize(CRect& rect) const
    {
        rect = size;
        return rect;
    }
    // Moves or resizes the view; with invalid, both the old and the new
    // rectangle are redrawn. The mouseable area follows.
    virtual void setViewSize(const CRect& rect, bool invalid = true);
    virtual CRect getVisibleViewSize() const;
    CCoord getWidth() const { return size.getWidth(); }
    CCoord getHeight() const { return size.getHeight(); }
    // Resizes to the natural size of the content; false if the view has none.
    virtual bool sizeToFit() { return false; }
    // The container's size changed by (dw, dh): follow the autosize flags.
    virtual void parentSizeChanged(CCoord dw, CCoord dh);
    void setAutosizeFlags(int32_t flags) { autosizeFlags = flags; }
    int32_t getAutosizeFlags() const { return autosizeFlags; }

    // Converts a point between the parent's coordinates and the frame's.
    virtual CPoint& localToFrame(CPoint& point) const;
    virtual CPoint& frameToLocal(CPoint& point) const;

    //--- Appearance.
    virtual void setBackground(CBitmap* background);
    CBitmap* getBackground() const { return background; }
    virtual void setDisabledBackground(CBitmap* background);
    CBitmap* getDisabledBackground() const { return disabledBackground; }
    // The disabled background while the mouse is disabled and there is one,
    // else the background.
    CBitmap* getDrawBackground() const;
    virtual void setTransparency(bool state) { transparent = state; }
    bool getTransparency() const { return transparent; }
    virtual void setAlphaValue(float alpha);
    float getAlphaValue() const { return alphaValue; }
    virtual void setVisible(bool state);
    bool isVisible() const { return visible && alphaValue > 0.f; }

    //--- Place in the hierarchy.
    CFrame* getFrame() const { return parentFrame; }
    CView* getParentView() const { return parentView; }
    bool isAttached() const { return attachedFlag; }
    // Called by the container the view is added to once it is part of a
    // frame, and when it leaves it.
    virtual bool attached(CView* parent);
    virtual bool removed(CView* parent);

    //--- Attributes: blocks of bytes kept under an id.
    bool setAttribute(CViewAttributeID id, uint32_t inSize, const void* buffer);
    bool getAttributeSize(CViewAttributeID id, uint32_t& outSize) const;
    bool getAttribute(CViewAttributeID id, uint32_t inSize, void* buffer, uint32_t& outSize) const;
    bool removeAttribute(CViewAttributeID id);

    CLASS_METHODS(CView, CBaseObject)

protected:
    friend class CViewContainer;
    friend class CFrame;

    CRect size;
    CRect mouseableArea;
    CFrame* parentFrame = nullptr;
    CView* parentView = nullptr;
    bool dirty = false;
    bool mouseEnabled = true;
    bool transparent = false;
    bool wantsFocusFlag = false;
    bool visible = true;
    bool attachedFlag = false;
    float alphaValue = 1.f;
    int32_t autosizeFlags = kAutosizeNone;
    SharedPointer<CBitmap> background;
    SharedPointer<CBitmap> disabledBackground;
    std::map<CViewAttributeID, std::vector<uint8_t>> attributes;
};

} // namespace VSTGUI
