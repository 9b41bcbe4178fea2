#pragma once

// The root of a panel: a container that lives in a window of the host (a
// child window of the host's X11 window) or, never opened, only in memory,
// where it can be drawn whole into a picture. It collects the rectangles
// that views invalidate and has them redrawn, routes the mouse and the keys
// of the window to the views, and sets the cursor.

#include "vstgui/lib/cviewcontainer.h"

#include <memory>
#include <vector>

namespace VSTGUI {

class CFrame;
class CBitmap;

enum PlatformType {
    kHWND,
    kWindowRef,
    kNSView,
    kUIView,
    kHWNDTopLevel,
    kX11EmbedWindowID,
    kDefaultNative = kX11EmbedWindowID
};

// The editor a frame belongs to.
class VSTGUIEditorInterface {
public:
    virtual ~VSTGUIEditorInterface() = default;
    virtual void doIdleStuff() {}
    // The mode of knobs (kCircularMode, kRelativCircularMode, kLinearMode),
    // -1 for the knob's own.
    virtual int32_t getKnobMode() const { return -1; }
    // A view asks for a new size of the frame; false refuses it.
    virtual bool requestResize(const CPoint& newSize) { return false; }
    CFrame* getFrame() const { return frame; }

protected:
    CFrame* frame = nullptr;
};

// Sees every key event of the frame before any view, except while a modal
// view is shown: 1 when it took the key, -1 to let it go on.
class IKeyboardHook {
public:
    virtual ~IKeyboardHook() = default;
    virtual int32_t onKeyDown(const VstKeyCode& code, CFrame* frame) = 0;
    virtual int32_t onKeyUp(const VstKeyCode& code, CFrame* frame) = 0;
};

// Told of every view that joins or leaves the frame's hierarchy.
class IViewAddedRemovedObserver {
public:
    virtual ~IViewAddedRemovedObserver() = default;
    virtual void onViewAdded(CFrame* frame, CView* view) = 0;
    virtual void onViewRemoved(CFrame* frame, CView* view) = 0;
};

// Sees the mouse of the frame before the views.
class IMouseObserver {
public:
    virtual ~IMouseObserver() = default;
    virtual void onMouseEntered(CView* view, CFrame* frame) {}
    virtual void onMouseExited(CView* view, CFrame* frame) {}
    // kMouseEventHandled keeps the press from the views.
    virtual CMouseEventResult onMouseDown(CFrame* frame, const CPoint& where, const CButtonState& buttons)
    {
        return kMouseEventNotHandled;
    }
};

class CFrame : public CViewContainer {
public:
    CFrame(const CRect& size, VSTGUIEditorInterface* editor);

    // Interface thread. Creates the frame's window inside the parent window
    // (for kX11EmbedWindowID, parent is the X11 Window id, as a pointer)
    // on the display of $DISPLAY, and starts handling its events on the
    // run loop of the Steinberg timers. False if the type is not supported,
    // the display cannot be opened or the frame is open already.
    bool open(void* parent, PlatformType type = kDefaultNative);
    // Interface thread. Closes the window, removes all views and drops the
    // reference the creator of the frame holds.
    void close();
    bool isOpen() const { return platform != nullptr; }
    VSTGUIEditorInterface* getEditor() const { return editor; }
    // The X11 window of an open frame, 0 otherwise.
    unsigned long getPlatformWindow() const;
    // Interface thread. Handles the window's events and redraws, waiting up
    // to waitMilliseconds for one: a modal loop of the frame's own, for a
    // view that must answer its caller before it returns. False, at once,
    // when the frame has no window.
    bool runEvents(int waitMilliseconds);

    //--- Size of the frame and its window. Sizes and points are in units;
    // the window has `zoom` pixels per unit.
    bool setSize(CCoord width, CCoord height);
    // Interface thread. The content scale of a host or a screen (1, 1.5,
    // 2, ...): the window grows to the scaled size and everything is drawn
    // at that many pixels per unit, pictures of the views included. False,
    // and no change, for a factor outside 0.25..8.
    bool setZoom(double factor);
    // Both at once, so that the window is resized only once.
    bool setZoomAndSize(double factor, CCoord width, CCoord height);
    double getZoom() const { return zoom; }
    void setViewSize(const CRect& rect, bool invalid = true) override;

    //--- Redraw. Invalid rectangles (frame coordinates) are collected until
    // the window's next update, which draws only them.
    void invalidRect(const CRect& rect) override;
    void invalid() override;
    const std::vector<CRect>& getDirtyRects() const { return dirtyRects; }
    std::vector<CRect> takeDirtyRects();
    // Draws what is invalid now, in an open frame; with no window nothing is
    // drawn and the rectangles stay.
    void updateNow();
    // The whole frame drawn into a new picture of its size at the frame's
    // zoom, with one reference for the caller; works without a window.
    CBitmap* createSnapshot();

    //--- Focus, keys, modal view.
    bool setFocusView(CView* view);
    CView* getFocusView() const { return focusView; }
    void registerKeyboardHook(IKeyboardHook* hook);
    void unregisterKeyboardHook(IKeyboardHook* hook);
    // Shows a view over everything that takes all mouse events and keys
    // until it is cleared; the frame takes over the caller's reference. A
    // view given while another is shown goes over it (a menu opened from a
    // dialog), and clearing shows the one below again.
    bool setModalView(CView* view);
    CView* getModalView() const { return modalView; }

    //--- Observers.
    void registerViewAddedRemovedObserver(IViewAddedRemovedObserver* observer);
    void unregisterViewAddedRemovedObserver(IViewAddedRemovedObserver* observer);
    void registerMouseObserver(IMouseObserver* observer);
    void unregisterMouseObserver(IMouseObserver* observer);
    void onViewAdded(CView* view);
    void onViewRemoved(CView* view);

    //--- Cursor.
    void setCursor(CCursorType type);
    CCursorType getCursor() const { return cursorType; }
    // A cursor from a picture with its hot spot; a null bitmap goes back to
    // the standard cursor of the last setCursor.
    void setCustomCursor(CBitmap* bitmap, const CPoint& hotSpot);
    CBitmap* getCustomCursor() const { return customCursor; }

    //--- Mouse state.
    bool getCurrentMouseLocation(CPoint& where) const;
    CButtonState getCurrentMouseButtons() const { return currentButtons; }
    int32_t getKnobMode() const;

    //--- Events from the window (points in frame coordinates). Tests and
    // tools may call them on a frame without a window.
    CMouseEventResult platformOnMouseDown(CPoint& where, const CButtonState& buttons);
    CMouseEventResult platformOnMouseUp(CPoint& where, const CButtonState& buttons);
    CMouseEventResult platformOnMouseMoved(CPoint& where, const CButtonState& buttons);
    CMouseEventResult platformOnMouseExited(CPoint& where, const CButtonState& buttons);
    bool platformOnMouseWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                              const CButtonState& buttons);
    int32_t platformOnKeyDown(VstKeyCode& keyCode);
    int32_t platformOnKeyUp(VstKeyCode& keyCode);
    // The window has been resized by its parent.
    void platformOnSize(CCoord width, CCoord height);

    //--- CView: key entry points of the frame go through the hooks.
    int32_t onKeyDown(VstKeyCode& keyCode) override { return platformOnKeyDown(keyCode); }
    int32_t onKeyUp(VstKeyCode& keyCode) override { return platformOnKeyUp(keyCode); }
    bool removed(CView* parent) override;

    CLASS_METHODS_NOCOPY(CFrame, CViewContainer)

    class Platform;

protected:
    ~CFrame() override;

private:
    // Updates the chain of views under the pointer and tells those left and
    // those entered.
    void updateMouseViews(const CPoint& where, const CButtonState& buttons);
    void clearMouseViews();

    VSTGUIEditorInterface* editor;
    std::unique_ptr<Platform> platform;
    std::vector<CRect> dirtyRects;
    CView* focusView = nullptr;
    SharedPointer<CView> modalView;
    std::vector<SharedPointer<CView>> modalViewsBelow;
    std::vector<IKeyboardHook*> keyboardHooks;
    std::vector<IViewAddedRemovedObserver*> viewObservers;
    std::vector<IMouseObserver*> mouseObservers;
    std::vector<CView*> mouseViews;
    double zoom = 1.0;
    CCursorType cursorType = kCursorDefault;
    SharedPointer<CBitmap> customCursor;
    CPoint customCursorHotSpot;
    CPoint lastMouseLocation;
    bool mouseInside = false;
    CButtonState currentButtons;
};

} // namespace VSTGUI
