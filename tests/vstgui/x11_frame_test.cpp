// The editor in a real X server (Xvfb, started by the test): it is embedded
// into a parent window through IPlugView::attached, and driven by input
// that XTest sends as a user's would, while the fallback run loop runs.

#include "editor_support.h"
#include "support/virtual_display.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>

using namespace VSTGUI;
using namespace vstgui_test;
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

// Writes down the keys and the presses of the mouse the frame sees.
struct InputRecorder : IKeyboardHook, IMouseObserver {
    std::vector<std::string> seen;
    int32_t onKeyDown(const VstKeyCode& code, CFrame*) override { return record("down", code); }
    int32_t onKeyUp(const VstKeyCode& code, CFrame*) override { return record("up", code); }
    int32_t record(const char* what, const VstKeyCode& code)
    {
        seen.push_back(std::string(what) + " " + char(code.character));
        return 1;
    }
    CMouseEventResult onMouseDown(CFrame*, const CPoint&, const CButtonState& buttons) override
    {
        seen.push_back("press " + std::to_string(int32_t(buttons)));
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

    static VirtualDisplay* server;
    Display* display = nullptr;
    Window parent = 0;
    HostFrame host;
    TestController* controller = nullptr;
    VST3Editor* editor = nullptr;
};

VirtualDisplay* VstguiX11Editor::server = nullptr;

} // namespace

// Embedding, drawing, clicks and closing are also checked with the built
// module's editor under Xvfb; these cases are what it does not send.
TEST_F(VstguiX11Editor, TheWheelStepsTheKnobUnderThePointer)
{
    ASSERT_TRUE(attach());
    pump(50);
    // Button 4 is the wheel up: one step is a tenth of the range.
    clickAt(30, 30, 4);
    ASSERT_TRUE(pumpUntil([&] { return controller->handler.calls.size() >= 3; }));
    EXPECT_EQ(controller->handler.calls, (std::vector<std::string>{"begin 3", "perform 3 0.6000", "end 3"}));
}

TEST_F(VstguiX11Editor, KeysReachTheKeyboardHookAndDoubleClicksAreMarked)
{
    ASSERT_TRUE(attach());
    InputRecorder input;
    editor->getFrame()->registerKeyboardHook(&input);
    editor->getFrame()->registerMouseObserver(&input);
    pump(50);
    clickAt(290, 190);
    clickAt(290, 190);
    const KeyCode a = XKeysymToKeycode(display, XK_a);
    XTestFakeKeyEvent(display, a, True, 0);
    XTestFakeKeyEvent(display, a, False, 0);
    XFlush(display);
    ASSERT_TRUE(pumpUntil([&] { return input.seen.size() >= 4; }));
    const std::string once = "press " + std::to_string(kLButton);
    const std::string twice = "press " + std::to_string(kLButton | kDoubleClick);
    EXPECT_EQ(input.seen, (std::vector<std::string>{once, twice, "down a", "up a"}));
    editor->getFrame()->unregisterKeyboardHook(&input);
    editor->getFrame()->unregisterMouseObserver(&input);
}

TEST_F(VstguiX11Editor, ResizesAskedByTheEditorReachTheHostAndTheCursorIsKept)
{
    ASSERT_TRUE(attach());
    pump(30);
    EXPECT_TRUE(editor->requestResize(CPoint(450, 260)));
    EXPECT_EQ(host.resizes.back(), std::make_pair(450, 260));
    XSync(display, False);
    ASSERT_TRUE(pumpUntil([&] {
        XWindowAttributes a;
        XGetWindowAttributes(display, editor->getFrame()->getPlatformWindow(), &a);
        return a.width == 450 && a.height == 260;
    }));

    editor->getFrame()->setCursor(kCursorHand);
    EXPECT_EQ(editor->getFrame()->getCursor(), kCursorHand);
    pump(30);
    EXPECT_EQ(editor->removed(), Steinberg::kResultTrue);
}

TEST_F(VstguiX11Editor, AParentThatDoesNotExistIsRefused)
{
    EXPECT_EQ(editor->attached(reinterpret_cast<void*>(0x7ffffff0), Steinberg::kPlatformTypeX11EmbedWindowID),
              Steinberg::kResultFalse);
    EXPECT_FALSE(editor->isOpen());
    EXPECT_NE(editor->getLastError().find("window"), std::string::npos);
}
