// The editor in a real X server (Xvfb, started by the test): it is embedded
// into a parent window through IPlugView::attached, and driven by input
// that XTest sends as a user's would, while the fallback run loop runs.

#include "editor_support.h"
#include "support/virtual_display.h"

#include "vstgui/lib/controls/cknob.h"
#include "vstgui/lib/controls/cswitch.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

using namespace VSTGUI;
using namespace vstgui_test;
using Steinberg::ViewRect;
using test_x11::haveXvfb;
using test_x11::VirtualDisplay;

namespace {

// The host's window: a plug-in frame that gives the fallback run loop as
// the host's run loop and resizes as asked.
class HostFrame : public Steinberg::IPlugFrame {
public:
    std::vector<std::pair<int, int>> resizes;
    Steinberg::tresult PLUGIN_API resizeView(Steinberg::IPlugView* view, Steinberg::ViewRect* r) override
    {
        resizes.emplace_back(r->getWidth(), r->getHeight());
        return view->onSize(r);
    }
    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID iid, void** obj) override
    {
        if (Steinberg::FUnknownPrivate::iidEqual(iid, Steinberg::Linux::IRunLoop::iid)) {
            *obj = &Steinberg::FallbackRunLoop::instance();
            return Steinberg::kResultTrue;
        }
        QUERY_INTERFACE(iid, obj, Steinberg::FUnknown::iid, Steinberg::IPlugFrame)
        QUERY_INTERFACE(iid, obj, Steinberg::IPlugFrame::iid, Steinberg::IPlugFrame)
        *obj = nullptr;
        return Steinberg::kNoInterface;
    }
    Steinberg::uint32 PLUGIN_API addRef() override { return 1; }
    Steinberg::uint32 PLUGIN_API release() override { return 1; }
};

struct KeyRecorder : IKeyboardHook {
    std::vector<std::string> keys;
    int32_t onKeyDown(const VstKeyCode& code, CFrame*) override
    {
        keys.push_back(std::string("down ") + char(code.character));
        return 1;
    }
    int32_t onKeyUp(const VstKeyCode& code, CFrame*) override
    {
        keys.push_back(std::string("up ") + char(code.character));
        return 1;
    }
};

struct PressRecorder : IMouseObserver {
    std::vector<int32_t> presses;
    CMouseEventResult onMouseDown(CFrame*, const CPoint&, const CButtonState& buttons) override
    {
        presses.push_back(buttons);
        return kMouseEventNotHandled;
    }
};

class VstguiX11Editor : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        if (!haveXvfb()) return;
        server = new VirtualDisplay();
        if (server->ok()) ::setenv("DISPLAY", server->name.c_str(), 1);
    }
    static void TearDownTestSuite()
    {
        delete server;
        server = nullptr;
    }

    void SetUp() override
    {
        if (!server || !server->ok()) GTEST_SKIP() << "Xvfb is not installed";
        display = XOpenDisplay(server->name.c_str());
        ASSERT_NE(display, nullptr);
        parent = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 400, 300, 0, 0, 0);
        XMapWindow(display, parent);
        XSync(display, False);
        writeEditorResources(scratchDir());
        controller = new TestController();
        editor = new VST3Editor(controller, "Editor", "editor.uidesc");
        editor->setFrame(&host);
    }

    void TearDown() override
    {
        if (editor) editor->release();
        if (controller) controller->release();
        Steinberg::Timer::setRunLoop(nullptr);
        setResourceDirectory(nullptr);
        if (display) {
            XDestroyWindow(display, parent);
            XCloseDisplay(display);
        }
    }

    bool attach()
    {
        return editor->attached(reinterpret_cast<void*>(parent), Steinberg::kPlatformTypeX11EmbedWindowID) ==
               Steinberg::kResultTrue;
    }

    // Runs the run loop until the condition holds, at most two seconds.
    bool pumpUntil(const std::function<bool()>& condition)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
        while (std::chrono::steady_clock::now() < end) {
            Steinberg::FallbackRunLoop::instance().runFor(10);
            if (condition()) return true;
        }
        return false;
    }
    void pump(uint32_t ms) { Steinberg::FallbackRunLoop::instance().runFor(ms); }

    void clickAt(int x, int y, unsigned button = 1)
    {
        XTestFakeMotionEvent(display, DefaultScreen(display), x, y, 0);
        XTestFakeButtonEvent(display, button, True, 0);
        XTestFakeButtonEvent(display, button, False, 0);
        XFlush(display);
    }

    // The colour the screen shows at a point of the parent window.
    unsigned long screenPixel(int x, int y)
    {
        XImage* image = XGetImage(display, parent, x, y, 1, 1, AllPlanes, ZPixmap);
        if (!image) return 0xdeadbeef;
        const unsigned long p = XGetPixel(image, 0, 0) & 0xffffff;
        XDestroyImage(image);
        return p;
    }

    unsigned childCount()
    {
        Window root, parentOfParent, *children = nullptr;
        unsigned count = 0;
        XQueryTree(display, parent, &root, &parentOfParent, &children, &count);
        if (children) XFree(children);
        return count;
    }

    static VirtualDisplay* server;
    Display* display = nullptr;
    Window parent = 0;
    HostFrame host;
    TestController* controller = nullptr;
    VST3Editor* editor = nullptr;
};

VirtualDisplay* VstguiX11Editor::server = nullptr;

} // namespace

TEST_F(VstguiX11Editor, EmbedsIntoTheHostWindowAndDrawsThePanel)
{
    ASSERT_TRUE(attach()) << editor->getLastError();
    EXPECT_EQ(Steinberg::Timer::getRunLoop(), &Steinberg::FallbackRunLoop::instance())
        << "the host's run loop is taken from its plug-in frame";
    const Window child = editor->getFrame()->getPlatformWindow();
    ASSERT_NE(child, 0u);
    EXPECT_EQ(childCount(), 1u);
    // The switch at Off shows grey 60; the template's background is #202020.
    EXPECT_TRUE(pumpUntil([&] { return screenPixel(70, 20) == 0x3c3c3c; })) << std::hex << screenPixel(70, 20);
    EXPECT_EQ(screenPixel(290, 190), 0x202020u);

    // A change from the host is drawn at the next update.
    controller->setParamNormalized(TestController::kMode, 0.5);
    EXPECT_TRUE(pumpUntil([&] { return screenPixel(70, 20) == 0x787878; })) << std::hex << screenPixel(70, 20);
}

TEST_F(VstguiX11Editor, ClicksEditTheParameterAndTheHostHearsTheGesture)
{
    ASSERT_TRUE(attach());
    pump(50);
    clickAt(130, 20);
    ASSERT_TRUE(pumpUntil([&] { return controller->handler.calls.size() >= 3; }));
    EXPECT_EQ(controller->handler.calls, (std::vector<std::string>{"begin 12", "perform 12 1.0000", "end 12"}));
    EXPECT_TRUE(pumpUntil([&] { return screenPixel(70, 20) == 0xb4b4b4; })) << std::hex << screenPixel(70, 20);

    // The wheel over the knob: one step up is a tenth of the range.
    controller->handler.calls.clear();
    clickAt(30, 30, 4);
    ASSERT_TRUE(pumpUntil([&] { return controller->handler.calls.size() >= 3; }));
    EXPECT_EQ(controller->handler.calls, (std::vector<std::string>{"begin 3", "perform 3 0.6000", "end 3"}));
}

TEST_F(VstguiX11Editor, KeysReachTheKeyboardHookAndDoubleClicksAreMarked)
{
    ASSERT_TRUE(attach());
    KeyRecorder keys;
    PressRecorder presses;
    editor->getFrame()->registerKeyboardHook(&keys);
    editor->getFrame()->registerMouseObserver(&presses);
    pump(50);
    clickAt(290, 190);
    clickAt(290, 190);
    ASSERT_TRUE(pumpUntil([&] { return presses.presses.size() >= 2; }));
    EXPECT_EQ(presses.presses[0], kLButton);
    EXPECT_EQ(presses.presses[1], kLButton | kDoubleClick);

    const KeyCode a = XKeysymToKeycode(display, XK_a);
    XTestFakeKeyEvent(display, a, True, 0);
    XTestFakeKeyEvent(display, a, False, 0);
    XFlush(display);
    ASSERT_TRUE(pumpUntil([&] { return keys.keys.size() >= 2; }));
    EXPECT_EQ(keys.keys, (std::vector<std::string>{"down a", "up a"}));
    editor->getFrame()->unregisterKeyboardHook(&keys);
    editor->getFrame()->unregisterMouseObserver(&presses);
}

TEST_F(VstguiX11Editor, ResizesCursorsAndCloseAndReopenWithoutLeftovers)
{
    const auto handlersBefore = Steinberg::FallbackRunLoop::instance().handlerCount();
    const auto timersBefore = Steinberg::FallbackRunLoop::instance().timerCount();
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(attach()) << round;
        EXPECT_EQ(Steinberg::FallbackRunLoop::instance().handlerCount(), handlersBefore + 1);
        pump(30);

        EXPECT_TRUE(editor->requestResize(CPoint(450, 260)));
        EXPECT_EQ(host.resizes.back(), std::make_pair(450, 260));
        XSync(display, False);
        ASSERT_TRUE(pumpUntil([&] {
            XWindowAttributes a;
            XGetWindowAttributes(display, editor->getFrame()->getPlatformWindow(), &a);
            return a.width == 450 && a.height == 260;
        }));

        CFrame* frame = editor->getFrame();
        frame->setCursor(kCursorHand);
        auto cursor = VSTGUI::owned(new CBitmap(CResourceDescription("button.png")));
        frame->setCustomCursor(cursor, CPoint(3, 3));
        EXPECT_EQ(frame->getCustomCursor(), cursor.get());
        frame->setCustomCursor(nullptr, CPoint());
        EXPECT_EQ(frame->getCursor(), kCursorHand);
        pump(30);

        EXPECT_EQ(editor->removed(), Steinberg::kResultTrue);
        XSync(display, False);
        EXPECT_EQ(childCount(), 0u) << "the frame's window is gone";
        EXPECT_EQ(Steinberg::FallbackRunLoop::instance().handlerCount(), handlersBefore);
        EXPECT_EQ(Steinberg::FallbackRunLoop::instance().timerCount(), timersBefore);
        ViewRect r(0, 0, 300, 200);
        editor->onSize(&r);
    }
    EXPECT_EQ(controller->delegateCalls.back(), "willClose");
}

TEST_F(VstguiX11Editor, AParentThatDoesNotExistIsRefused)
{
    EXPECT_EQ(editor->attached(reinterpret_cast<void*>(0x7ffffff0), Steinberg::kPlatformTypeX11EmbedWindowID),
              Steinberg::kResultFalse);
    EXPECT_FALSE(editor->isOpen());
    EXPECT_NE(editor->getLastError().find("window"), std::string::npos);
}
