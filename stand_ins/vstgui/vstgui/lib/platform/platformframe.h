#pragma once

// What a frame needs of its window. The X11 implementation is the only one.

#include "vstgui/lib/cframe.h"

#include <memory>

namespace VSTGUI {

class CFrame::Platform {
public:
    virtual ~Platform() = default;
    // Some rectangles of the frame became invalid: an update is due.
    virtual void invalidated() = 0;
    // Draws the frame's invalid rectangles into the window at once.
    virtual void updateNow() = 0;
    // The frame's size in units; the window takes it times the zoom.
    virtual void setSize(CCoord width, CCoord height) = 0;
    // Pixels per unit changed; the frame sets the window's size next.
    virtual void setZoom(double zoom) = 0;
    virtual void setCursor(CCursorType type) = 0;
    virtual void setCustomCursor(CBitmap* bitmap, const CPoint& hotSpot) = 0;
    virtual unsigned long getWindow() const = 0;
    // The pointer in frame coordinates; false when it is outside the window.
    virtual bool getMouseLocation(CPoint& where) const = 0;
    // Handles the window's pending events and draws what became invalid,
    // waiting up to waitMilliseconds for an event when none is pending.
    virtual void runEvents(int waitMilliseconds) = 0;

    // A child window of parent on the display of $DISPLAY; null when the
    // display cannot be opened or the window not made.
    static std::unique_ptr<Platform> createX11(CFrame* frame, unsigned long parentWindow);
};

} // namespace VSTGUI
