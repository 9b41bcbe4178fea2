// The window of a frame on X11: a child window of the host's window on a
// display connection of its own. Its events are read by a handler on the
// run loop of the Steinberg timers (the host's, or the fallback loop of
// programs without a host), which also drives a timer that draws what the
// views invalidated: into an image of the whole frame first, then the
// changed rectangles onto the window.

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/platform/platformframe.h"

#include "base/source/timer.h"

#include <poll.h>
#include <X11/Xatom.h>
#include <X11/Xcursor/Xcursor.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/cursorfont.h>
#include <X11/keysym.h>
#include <cairo.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>

namespace VSTGUI {

namespace {

using namespace Steinberg;

// Milliseconds between updates of the window.
constexpr Linux::TimerInterval kUpdateInterval = 16;
// Two presses of one button closer than this in time (ms) and space (pixels)
// make a double click.
constexpr Time kDoubleClickTime = 400;
constexpr int kDoubleClickDistance = 4;

// Keys without a character and the virtual keys they stand for.
const struct {
    KeySym keysym;
    unsigned char virt;
} keyTable[] = {
    {XK_BackSpace, VKEY_BACK},       {XK_Tab, VKEY_TAB},           {XK_ISO_Left_Tab, VKEY_TAB},
    {XK_Clear, VKEY_CLEAR},          {XK_Return, VKEY_RETURN},     {XK_Pause, VKEY_PAUSE},
    {XK_Escape, VKEY_ESCAPE},        {XK_space, VKEY_SPACE},       {XK_End, VKEY_END},
    {XK_Home, VKEY_HOME},            {XK_Left, VKEY_LEFT},         {XK_Up, VKEY_UP},
    {XK_Right, VKEY_RIGHT},          {XK_Down, VKEY_DOWN},         {XK_Page_Up, VKEY_PAGEUP},
    {XK_Page_Down, VKEY_PAGEDOWN},   {XK_Select, VKEY_SELECT},     {XK_Print, VKEY_PRINT},
    {XK_KP_Enter, VKEY_ENTER},       {XK_Insert, VKEY_INSERT},     {XK_Delete, VKEY_DELETE},
    {XK_Help, VKEY_HELP},            {XK_KP_0, VKEY_NUMPAD0},      {XK_KP_1, VKEY_NUMPAD1},
    {XK_KP_2, VKEY_NUMPAD2},         {XK_KP_3, VKEY_NUMPAD3},      {XK_KP_4, VKEY_NUMPAD4},
    {XK_KP_5, VKEY_NUMPAD5},         {XK_KP_6, VKEY_NUMPAD6},      {XK_KP_7, VKEY_NUMPAD7},
    {XK_KP_8, VKEY_NUMPAD8},         {XK_KP_9, VKEY_NUMPAD9},      {XK_KP_Multiply, VKEY_MULTIPLY},
    {XK_KP_Add, VKEY_ADD},           {XK_KP_Separator, VKEY_SEPARATOR}, {XK_KP_Subtract, VKEY_SUBTRACT},
    {XK_KP_Decimal, VKEY_DECIMAL},   {XK_KP_Divide, VKEY_DIVIDE},  {XK_F1, VKEY_F1},
    {XK_F2, VKEY_F2},                {XK_F3, VKEY_F3},             {XK_F4, VKEY_F4},
    {XK_F5, VKEY_F5},                {XK_F6, VKEY_F6},             {XK_F7, VKEY_F7},
    {XK_F8, VKEY_F8},                {XK_F9, VKEY_F9},             {XK_F10, VKEY_F10},
    {XK_F11, VKEY_F11},              {XK_F12, VKEY_F12},           {XK_Num_Lock, VKEY_NUMLOCK},
    {XK_Scroll_Lock, VKEY_SCROLL},   {XK_Shift_L, VKEY_SHIFT},     {XK_Shift_R, VKEY_SHIFT},
    {XK_Control_L, VKEY_CONTROL},    {XK_Control_R, VKEY_CONTROL}, {XK_Alt_L, VKEY_ALT},
    {XK_Alt_R, VKEY_ALT},            {XK_KP_Equal, VKEY_EQUALS},
};

// The standard cursors: the theme's name, and the cursor font's shape when
// the theme has none.
const struct {
    CCursorType type;
    const char* themeName;
    unsigned int fontShape;
} cursorTable[] = {
    {kCursorDefault, "default", XC_left_ptr},
    {kCursorWait, "wait", XC_watch},
    {kCursorHSize, "ew-resize", XC_sb_h_double_arrow},
    {kCursorVSize, "ns-resize", XC_sb_v_double_arrow},
    {kCursorSizeAll, "move", XC_fleur},
    {kCursorNESWSize, "nesw-resize", XC_bottom_left_corner},
    {kCursorNWSESize, "nwse-resize", XC_bottom_right_corner},
    {kCursorCopy, "copy", XC_plus},
    {kCursorNotAllowed, "not-allowed", XC_X_cursor},
    {kCursorHand, "pointer", XC_hand2},
    {kCursorIBeam, "text", XC_xterm},
};

int32_t modifierButtons(unsigned int state)
{
    int32_t b = 0;
    if (state & ShiftMask) b |= kShift;
    if (state & ControlMask) b |= kControl;
    if (state & Mod1Mask) b |= kAlt;
    if (state & Mod4Mask) b |= kApple;
    return b;
}

int32_t heldButtons(unsigned int state)
{
    int32_t b = 0;
    if (state & Button1Mask) b |= kLButton;
    if (state & Button2Mask) b |= kMButton;
    if (state & Button3Mask) b |= kRButton;
    return b;
}

int32_t buttonOf(unsigned int button)
{
    switch (button) {
        case Button1: return kLButton;
        case Button2: return kMButton;
        case Button3: return kRButton;
        case 8: return kButton4;
        case 9: return kButton5;
        default: return 0;
    }
}

// Errors of the requests made while it is in force, instead of the default
// handler's exit.
class ErrorTrap {
public:
    explicit ErrorTrap(Display* d) : display(d)
    {
        XSync(display, False);
        errors() = 0;
        previous = XSetErrorHandler(&handler);
    }
    ~ErrorTrap() { XSetErrorHandler(previous); }
    bool failed()
    {
        XSync(display, False);
        return errors() != 0;
    }

private:
    static int& errors()
    {
        static int count = 0;
        return count;
    }
    static int handler(Display*, XErrorEvent*)
    {
        ++errors();
        return 0;
    }
    Display* display;
    int (*previous)(Display*, XErrorEvent*) = nullptr;
};

class X11Frame;

// Whole pixels of a length in units at a zoom; a hundredth of a pixel
// beyond a whole number counts as that number.
int pixels(double units, double zoom)
{
    return int(std::ceil(units * zoom - 0.01));
}

// A window's length in pixels as units, to a 1024th, as the editor sizes
// its frame: sums and differences of such lengths are exact.
double units(int pixels, double zoom)
{
    return std::round(pixels / zoom * 1024.0) / 1024.0;
}

// The object the run loop holds: it forwards to the window while that
// exists, and may outlive it if the run loop keeps a reference.
class RunLoopHandler : public Linux::IEventHandler, public Linux::ITimerHandler {
public:
    explicit RunLoopHandler(X11Frame* owner) : owner(owner) {}
    void detach() { owner = nullptr; }

    void PLUGIN_API onFDIsSet(Linux::FileDescriptor fd) override;
    void PLUGIN_API onTimer() override;

    tresult PLUGIN_API queryInterface(const TUID iid, void** obj) override
    {
        QUERY_INTERFACE(iid, obj, FUnknown::iid, Linux::IEventHandler)
        QUERY_INTERFACE(iid, obj, Linux::IEventHandler::iid, Linux::IEventHandler)
        QUERY_INTERFACE(iid, obj, Linux::ITimerHandler::iid, Linux::ITimerHandler)
        *obj = nullptr;
        return kNoInterface;
    }
    uint32 PLUGIN_API addRef() override { return ++refCount; }
    uint32 PLUGIN_API release() override
    {
        const uint32 count = --refCount;
        if (count == 0) delete this;
        return count;
    }

private:
    virtual ~RunLoopHandler() = default;
    X11Frame* owner;
    std::atomic<uint32> refCount{1};
};

class X11Frame : public CFrame::Platform {
public:
    X11Frame(CFrame* frame, Display* display, ::Window window, int width, int height, double zoom)
        : frame(frame), display(display), window(window), width(width), height(height), zoom(zoom)
    {
        gc = XCreateGC(display, window, 0, nullptr);
        backBuffer = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
        runLoop = Steinberg::Timer::getRunLoop();
        if (!runLoop) runLoop = &FallbackRunLoop::instance();
        runLoop->addRef();
        handler = new RunLoopHandler(this);
        runLoop->registerEventHandler(handler, ConnectionNumber(display));
        runLoop->registerTimer(handler, kUpdateInterval);
    }

    ~X11Frame() override
    {
        *aliveFlag = false;
        runLoop->unregisterTimer(handler);
        runLoop->unregisterEventHandler(handler);
        handler->detach();
        handler->release();
        runLoop->release();
        cairo_surface_destroy(backBuffer);
        XFreeGC(display, gc);
        XUndefineCursor(display, window);
        for (auto& c : cursors) XFreeCursor(display, c.second);
        if (customCursor) XFreeCursor(display, customCursor);
        XDestroyWindow(display, window);
        XCloseDisplay(display);
    }

    static std::unique_ptr<CFrame::Platform> create(CFrame* frame, unsigned long parentWindow)
    {
        Display* display = XOpenDisplay(nullptr);
        if (!display) return nullptr;
        const int screen = DefaultScreen(display);
        // The picture goes to the window as it is in memory: 32-bit pixels
        // of 8-bit red, green and blue, which is what true-colour visuals
        // of depth 24 or 32 take.
        Visual* visual = DefaultVisual(display, screen);
        const int depth = DefaultDepth(display, screen);
        if ((depth != 24 && depth != 32) || visual->red_mask != 0xff0000 || visual->green_mask != 0xff00 ||
            visual->blue_mask != 0xff) {
            XCloseDisplay(display);
            return nullptr;
        }
        const double zoom = frame->getZoom();
        const int width = std::max(1, pixels(frame->getWidth(), zoom));
        const int height = std::max(1, pixels(frame->getHeight(), zoom));
        ::Window parent = parentWindow ? ::Window(parentWindow) : RootWindow(display, screen);
        XSetWindowAttributes attributes{};
        attributes.event_mask = ExposureMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask |
                                EnterWindowMask | LeaveWindowMask | KeyPressMask | KeyReleaseMask |
                                StructureNotifyMask | FocusChangeMask;
        ::Window window = 0;
        {
            ErrorTrap trap(display);
            window = XCreateWindow(display, parent, 0, 0, unsigned(width), unsigned(height), 0, CopyFromParent,
                                   InputOutput, CopyFromParent, CWEventMask, &attributes);
            if (trap.failed()) window = 0;
        }
        if (!window) {
            XCloseDisplay(display);
            return nullptr;
        }
        // The embedding protocol's information: version 0, mapped.
        const Atom xembedInfo = XInternAtom(display, "_XEMBED_INFO", False);
        const long info[2] = {0, 1};
        XChangeProperty(display, window, xembedInfo, xembedInfo, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(info), 2);
        XMapWindow(display, window);
        XFlush(display);
        return std::unique_ptr<CFrame::Platform>(new X11Frame(frame, display, window, width, height, zoom));
    }

    //--- CFrame::Platform
    void invalidated() override { pendingUpdate = true; }

    void updateNow() override
    {
        pendingUpdate = false;
        std::vector<CRect> rects = frame->takeDirtyRects();
        if (rects.empty()) return;
        {
            CDrawContext context(backBuffer, CRect(0, 0, width, height), zoom);
            for (CRect& r : rects) {
                // Whole pixels, so that a part drawn alone matches the
                // same part of a drawing of the whole window.
                r = CRect(std::floor(r.left * zoom) / zoom, std::floor(r.top * zoom) / zoom,
                          std::ceil(r.right * zoom) / zoom, std::ceil(r.bottom * zoom) / zoom);
                context.resetClipRect();
                context.setClipRect(r);
                context.clearRect(r);
                frame->drawRect(&context, r);
            }
            context.endDraw();
        }
        cairo_surface_flush(backBuffer);
        const int screen = DefaultScreen(display);
        XImage* image = XCreateImage(display, DefaultVisual(display, screen), unsigned(DefaultDepth(display, screen)),
                                     ZPixmap, 0, reinterpret_cast<char*>(cairo_image_surface_get_data(backBuffer)),
                                     unsigned(width), unsigned(height), 32,
                                     cairo_image_surface_get_stride(backBuffer));
        if (image) {
            for (const CRect& r : rects) {
                CRect b(std::round(r.left * zoom), std::round(r.top * zoom), std::round(r.right * zoom),
                        std::round(r.bottom * zoom));
                b.bound(CRect(0, 0, width, height));
                if (b.isEmpty()) continue;
                XPutImage(display, window, gc, image, int(b.left), int(b.top), int(b.left), int(b.top),
                          unsigned(b.getWidth()), unsigned(b.getHeight()));
            }
            image->data = nullptr; // the pixels belong to the picture
            XDestroyImage(image);
        }
        XFlush(display);
    }

    void setSize(CCoord unitsWide, CCoord unitsHigh) override
    {
        const int w = pixels(unitsWide, zoom);
        const int h = pixels(unitsHigh, zoom);
        if (w <= 0 || h <= 0) return;
        if (w != width || h != height) resizeBuffers(w, h);
        XResizeWindow(display, window, unsigned(w), unsigned(h));
        XFlush(display);
    }

    void setZoom(double z) override { zoom = z; }

    void setCursor(CCursorType type) override
    {
        Cursor cursor = standardCursor(type);
        XDefineCursor(display, window, cursor);
        if (customCursor) {
            XFreeCursor(display, customCursor);
            customCursor = 0;
        }
        XFlush(display);
    }

    void setCustomCursor(CBitmap* bitmap, const CPoint& hotSpot) override
    {
        // The picture at the window's scale: whole factors by repeating
        // pixels, so that the cursor stays sharp.
        const double scale = zoom / bitmap->getScaleFactor();
        const int w = std::max(1, pixels(bitmap->getWidth(), zoom));
        const int h = std::max(1, pixels(bitmap->getHeight(), zoom));
        cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
        {
            cairo_t* c = cairo_create(s);
            cairo_scale(c, scale, scale);
            cairo_set_source_surface(c, bitmap->getCairoSurface(), 0, 0);
            cairo_pattern_set_filter(cairo_get_source(c),
                                     scale == std::floor(scale) ? CAIRO_FILTER_NEAREST : CAIRO_FILTER_GOOD);
            cairo_set_operator(c, CAIRO_OPERATOR_SOURCE);
            cairo_paint(c);
            cairo_destroy(c);
        }
        cairo_surface_flush(s);
        XcursorImage* image = XcursorImageCreate(w, h);
        if (!image) {
            cairo_surface_destroy(s);
            return;
        }
        const int hx = int(hotSpot.x * zoom), hy = int(hotSpot.y * zoom);
        image->xhot = XcursorDim(hx < 0 ? 0 : (hx >= w ? w - 1 : hx));
        image->yhot = XcursorDim(hy < 0 ? 0 : (hy >= h ? h - 1 : hy));
        const unsigned char* data = cairo_image_surface_get_data(s);
        const int stride = cairo_image_surface_get_stride(s);
        for (int y = 0; y < h; ++y) {
            const auto* row = reinterpret_cast<const uint32_t*>(data + y * stride);
            for (int x = 0; x < w; ++x) image->pixels[y * w + x] = row[x];
        }
        cairo_surface_destroy(s);
        Cursor cursor = XcursorImageLoadCursor(display, image);
        XcursorImageDestroy(image);
        if (!cursor) return;
        XDefineCursor(display, window, cursor);
        if (customCursor) XFreeCursor(display, customCursor);
        customCursor = cursor;
        XFlush(display);
    }

    unsigned long getWindow() const override { return window; }

    bool getMouseLocation(CPoint& where) const override
    {
        ::Window root, child;
        int rootX, rootY, x, y;
        unsigned int mask;
        if (!XQueryPointer(display, window, &root, &child, &rootX, &rootY, &x, &y, &mask)) return false;
        where = CPoint(x / zoom, y / zoom);
        return x >= 0 && y >= 0 && x < width && y < height;
    }

    void runEvents(int waitMilliseconds) override
    {
        if (XPending(display) == 0 && waitMilliseconds > 0) {
            pollfd fd = {ConnectionNumber(display), POLLIN, 0};
            poll(&fd, 1, waitMilliseconds);
        }
        processEvents();
    }

    //--- Run loop.
    void processEvents()
    {
        // A handler may close the frame, and this window with it: then
        // nothing of it may be touched any more.
        std::shared_ptr<bool> alive = aliveFlag;
        CBaseObjectGuard guard(frame);
        while (XPending(display) > 0) {
            XEvent event;
            XNextEvent(display, &event);
            handleEvent(event);
            if (!*alive) return;
        }
        if (pendingUpdate || !frame->getDirtyRects().empty()) updateNow();
    }

private:
    void resizeBuffers(int w, int h)
    {
        width = w;
        height = h;
        cairo_surface_destroy(backBuffer);
        backBuffer = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    }

    Cursor standardCursor(CCursorType type)
    {
        auto it = cursors.find(type);
        if (it != cursors.end()) return it->second;
        Cursor cursor = 0;
        for (const auto& entry : cursorTable) {
            if (entry.type != type) continue;
            cursor = XcursorLibraryLoadCursor(display, entry.themeName);
            if (!cursor) cursor = XCreateFontCursor(display, entry.fontShape);
        }
        if (!cursor) cursor = XCreateFontCursor(display, XC_left_ptr);
        cursors[type] = cursor;
        return cursor;
    }

    void handleEvent(XEvent& e)
    {
        switch (e.type) {
            case Expose:
                frame->invalidRect(CRect(e.xexpose.x / zoom, e.xexpose.y / zoom,
                                         (e.xexpose.x + e.xexpose.width) / zoom,
                                         (e.xexpose.y + e.xexpose.height) / zoom));
                break;
            case ConfigureNotify:
                if (e.xconfigure.window == window &&
                    (e.xconfigure.width != width || e.xconfigure.height != height)) {
                    resizeBuffers(e.xconfigure.width, e.xconfigure.height);
                    frame->platformOnSize(units(e.xconfigure.width, zoom), units(e.xconfigure.height, zoom));
                }
                break;
            case ButtonPress: onButtonPress(e.xbutton); break;
            case ButtonRelease: onButtonRelease(e.xbutton); break;
            case MotionNotify: {
                // Only the latest of a run of moves matters.
                while (XCheckTypedWindowEvent(display, window, MotionNotify, &e)) {
                }
                CPoint where(e.xmotion.x / zoom, e.xmotion.y / zoom);
                frame->platformOnMouseMoved(where, heldButtons(e.xmotion.state) | modifierButtons(e.xmotion.state));
                break;
            }
            case EnterNotify: {
                CPoint where(e.xcrossing.x / zoom, e.xcrossing.y / zoom);
                frame->platformOnMouseMoved(where,
                                            heldButtons(e.xcrossing.state) | modifierButtons(e.xcrossing.state));
                break;
            }
            case LeaveNotify:
                if (e.xcrossing.mode == NotifyNormal) {
                    CPoint where(e.xcrossing.x / zoom, e.xcrossing.y / zoom);
                    frame->platformOnMouseExited(where, modifierButtons(e.xcrossing.state));
                }
                break;
            case KeyPress:
            case KeyRelease: onKey(e.xkey); break;
            case MapNotify: frame->invalid(); break;
            default: break;
        }
    }

    void onButtonPress(XButtonEvent& b)
    {
        CPoint where(b.x / zoom, b.y / zoom);
        const int32_t modifiers = modifierButtons(b.state);
        if (b.button >= 4 && b.button <= 7) {
            const bool horizontal = b.button >= 6;
            const float distance = (b.button == 4 || b.button == 6) ? 1.f : -1.f;
            frame->platformOnMouseWheel(where, horizontal ? kMouseWheelAxisX : kMouseWheelAxisY, distance,
                                        modifiers);
            return;
        }
        const int32_t button = buttonOf(b.button);
        if (!button) return;
        XSetInputFocus(display, window, RevertToParent, b.time);
        int32_t state = button | modifiers;
        if (b.button == lastPressButton && b.time - lastPressTime <= kDoubleClickTime &&
            std::abs(b.x - lastPressX) <= kDoubleClickDistance && std::abs(b.y - lastPressY) <= kDoubleClickDistance) {
            state |= kDoubleClick;
            lastPressButton = 0;
        } else {
            lastPressButton = b.button;
        }
        lastPressTime = b.time;
        lastPressX = b.x;
        lastPressY = b.y;
        frame->platformOnMouseDown(where, state);
    }

    void onButtonRelease(XButtonEvent& b)
    {
        const int32_t button = buttonOf(b.button);
        if (!button) return;
        CPoint where(b.x / zoom, b.y / zoom);
        frame->platformOnMouseUp(where, button | modifierButtons(b.state));
    }

    void onKey(XKeyEvent& k)
    {
        VstKeyCode code;
        const KeySym keysym = XLookupKeysym(&k, 0);
        for (const auto& entry : keyTable) {
            if (entry.keysym == keysym) code.virt = entry.virt;
        }
        if (code.virt == 0 && keysym >= 0x20 && keysym <= 0x7e) code.character = int32_t(keysym);
        if (code.virt == 0 && code.character == 0) {
            // Other keys: the character the layout gives, if any.
            char buffer[8] = {0};
            KeySym shifted;
            if (XLookupString(&k, buffer, sizeof buffer - 1, &shifted, nullptr) == 1 &&
                static_cast<unsigned char>(buffer[0]) >= 0x20)
                code.character = static_cast<unsigned char>(buffer[0]);
        }
        if (k.state & ShiftMask) code.modifier |= MODIFIER_SHIFT;
        if (k.state & Mod1Mask) code.modifier |= MODIFIER_ALTERNATE;
        if (k.state & Mod4Mask) code.modifier |= MODIFIER_COMMAND;
        if (k.state & ControlMask) code.modifier |= MODIFIER_CONTROL;
        if (k.type == KeyPress)
            frame->platformOnKeyDown(code);
        else
            frame->platformOnKeyUp(code);
    }

    CFrame* frame;
    Display* display;
    ::Window window;
    int width;  // of the window and its picture, in pixels
    int height;
    double zoom;  // pixels per unit of the frame
    GC gc = nullptr;
    cairo_surface_t* backBuffer = nullptr;
    Linux::IRunLoop* runLoop = nullptr;
    RunLoopHandler* handler = nullptr;
    bool pendingUpdate = false;
    std::shared_ptr<bool> aliveFlag = std::make_shared<bool>(true);
    std::map<CCursorType, Cursor> cursors;
    Cursor customCursor = 0;
    unsigned int lastPressButton = 0;
    Time lastPressTime = 0;
    int lastPressX = 0;
    int lastPressY = 0;
};

void PLUGIN_API RunLoopHandler::onFDIsSet(Linux::FileDescriptor)
{
    addRef();
    if (owner) owner->processEvents();
    release();
}

void PLUGIN_API RunLoopHandler::onTimer()
{
    addRef();
    if (owner) owner->processEvents();
    release();
}

} // namespace

std::unique_ptr<CFrame::Platform> CFrame::Platform::createX11(CFrame* frame, unsigned long parentWindow)
{
    return X11Frame::create(frame, parentWindow);
}

} // namespace VSTGUI
