#pragma once

// The host side of the editor tests under Xvfb: the host's run loop, the
// frame of a host window, the panel's layout, and a fixture with a virtual
// display of its own for each suite.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <utility>
#include <vector>

#include "pluginterfaces/gui/iplugview.h"
#include "support/editor_host.h"
#include "support/host_run_loop.h"
#include "support/ui_layout.h"
#include "support/virtual_display.h"

// Xlib's macros (None, Bool, ...) come after every other header.
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

namespace test_x11 {

// How long the loop runs at most for something to show.
constexpr auto kPatience = std::chrono::seconds(5);

// The host's run loop, for the whole program: a plug-in may keep the run
// loop it was given referenced after its editor has gone.
inline test_host::HostRunLoop& hostLoop()
{
    static test_host::HostRunLoop loop;
    return loop;
}

// The frame of one host window: offers the run loop and, given the window,
// resizes it with the view as the plug-in asks.
class HostFrame : public Steinberg::IPlugFrame {
public:
    Display* display = nullptr;
    Window window = 0;
    std::vector<std::pair<int, int>> resizes;

    Steinberg::tresult PLUGIN_API resizeView(Steinberg::IPlugView* view, Steinberg::ViewRect* r) override
    {
        resizes.emplace_back(r->getWidth(), r->getHeight());
        if (display && window) XResizeWindow(display, window, unsigned(r->getWidth()), unsigned(r->getHeight()));
        return view->onSize(r);
    }
    Steinberg::tresult PLUGIN_API queryInterface(const Steinberg::TUID iid, void** obj) override
    {
        using namespace Steinberg;
        if (FUnknownPrivate::iidEqual(iid, Linux::IRunLoop::iid)) {
            hostLoop().addRef();
            *obj = static_cast<Linux::IRunLoop*>(&hostLoop());
            return kResultTrue;
        }
        QUERY_INTERFACE(iid, obj, FUnknown::iid, IPlugFrame)
        QUERY_INTERFACE(iid, obj, IPlugFrame::iid, IPlugFrame)
        *obj = nullptr;
        return kNoInterface;
    }
    Steinberg::uint32 PLUGIN_API addRef() override { return 1; }
    Steinberg::uint32 PLUGIN_API release() override { return 1; }
};

// The panel's layout as the built bundle describes it, read once.
inline const test_panel::UiLayout& layout()
{
    static test_panel::UiLayout loaded;
    static bool done = false;
    if (!done) {
        done = true;
        loaded.load(test_host::resourcePath("Corvane_Editor.uidesc"), "Corvane_Editor");
    }
    return loaded;
}

// A suite with a virtual display of 2000 x 1400 pixels; each test has its
// own connection, with the pointer resting away from every window.
class EditorTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        if (!haveXvfb()) return;
        server = new VirtualDisplay("2000x1400x24");
        if (server->ok()) ::setenv("DISPLAY", server->name.c_str(), 1);
    }
    static void TearDownTestSuite()
    {
        delete server;
        server = nullptr;
    }
    void SetUp() override
    {
        if (!haveXvfb()) GTEST_SKIP() << "Xvfb is not installed: the editor is not tried in a window";
        if (!server || !server->ok()) GTEST_SKIP() << "Xvfb could not be started: the editor is not tried in a window";
        ASSERT_TRUE(layout().error().empty()) << layout().error();
        display = XOpenDisplay(server->name.c_str());
        ASSERT_NE(display, nullptr);
        XTestFakeMotionEvent(display, DefaultScreen(display), 1990, 1390, 0);
        XSync(display, False);
    }
    void TearDown() override
    {
        if (display) XCloseDisplay(display);
    }

    bool pumpUntil(const std::function<bool()>& condition)
    {
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (std::chrono::steady_clock::now() < end) {
            hostLoop().runFor(10);
            if (condition()) return true;
        }
        return false;
    }
    void pump(unsigned milliseconds) { hostLoop().runFor(milliseconds); }

    static inline VirtualDisplay* server = nullptr;
    Display* display = nullptr;
};

} // namespace test_x11
