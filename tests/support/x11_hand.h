#pragma once

// A user's hand for tests of the editor under Xvfb.

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>

// Xlib's macros (None, Bool, ...) come after every other header.
#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace test_x11 {

// What `window` shows at a point, 0xRRGGBB; 0 when it cannot be read.
inline uint32_t windowColour(Display* display, Window window, int x, int y)
{
    XImage* image = XGetImage(display, window, x, y, 1, 1, AllPlanes, ZPixmap);
    if (!image) return 0;
    const uint32_t colour = uint32_t(XGetPixel(image, 0, 0) & 0xffffff);
    XDestroyImage(image);
    return colour;
}

// A user's hand on a thread of its own, with its own connection: a dialog
// holds the interface thread, which runs the host's loop, until it is
// answered. Positions are those of the host's window at the screen's origin.
struct Hand {
    Display* display;
    Window window;
    explicit Hand(const std::string& name, Window w) : display(XOpenDisplay(name.c_str())), window(w) {}
    ~Hand() { if (display) XCloseDisplay(display); }

    void click(int x, int y)
    {
        XTestFakeMotionEvent(display, DefaultScreen(display), x, y, 0);
        XTestFakeButtonEvent(display, 1, True, 0);
        XTestFakeButtonEvent(display, 1, False, 0);
        XFlush(display);
    }
    // A press at one place, a move in steps and a release at another.
    void drag(int x0, int y0, int x1, int y1)
    {
        const int screen = DefaultScreen(display);
        XTestFakeMotionEvent(display, screen, x0, y0, 0);
        XTestFakeButtonEvent(display, 1, True, 0);
        XFlush(display);
        for (int step = 1; step <= 4; ++step) {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            XTestFakeMotionEvent(display, screen, x0 + (x1 - x0) * step / 4, y0 + (y1 - y0) * step / 4, 0);
            XFlush(display);
        }
        XTestFakeButtonEvent(display, 1, False, 0);
        XFlush(display);
    }
    void key(KeySym sym, int times = 1)
    {
        const KeyCode code = XKeysymToKeycode(display, sym);
        for (int i = 0; i < times; ++i) {
            XTestFakeKeyEvent(display, code, True, 0);
            XTestFakeKeyEvent(display, code, False, 0);
        }
        XFlush(display);
    }
    // Types ASCII text, with Shift where the keyboard needs it.
    void type(const std::string& text)
    {
        const KeyCode shift = XKeysymToKeycode(display, XK_Shift_L);
        for (char c : text) {
            const KeySym sym = KeySym(static_cast<unsigned char>(c));
            const KeyCode code = XKeysymToKeycode(display, sym);
            const bool shifted = XkbKeycodeToKeysym(display, code, 0, 0) != sym;
            if (shifted) XTestFakeKeyEvent(display, shift, True, 0);
            XTestFakeKeyEvent(display, code, True, 0);
            XTestFakeKeyEvent(display, code, False, 0);
            if (shifted) XTestFakeKeyEvent(display, shift, False, 0);
        }
        XFlush(display);
    }
    uint32_t colourAt(int x, int y) { return windowColour(display, window, x, y); }
    // Waits until the pixel is (or is no longer, with `is` false) `colour`.
    bool waitFor(int x, int y, uint32_t colour, bool is = true)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (std::chrono::steady_clock::now() < end) {
            if ((colourAt(x, y) == colour) == is) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
};

} // namespace test_x11
