// The dialogs' sheets in a frame of their own under Xvfb, answered through
// XTest by a hand on another thread while the sheet's modal loop holds the
// calling thread.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>

#include "options/platform/Corvane_SheetPlatform.h"
#include "support/virtual_display.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

using namespace VSTGUI;

namespace {

constexpr int frameWidth = 600, frameHeight = 400;
constexpr int alertLeft = (frameWidth - 460) / 2;

struct Editor : VSTGUIEditorInterface {};

class SheetX11 : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!test_x11::haveXvfb()) GTEST_SKIP() << "Xvfb is not installed";
        server = std::make_unique<test_x11::VirtualDisplay>("800x600x24");
        if (!server->ok()) GTEST_SKIP() << "Xvfb could not be started";
        ::setenv("DISPLAY", server->name.c_str(), 1);
        frame = new CFrame(CRect(0, 0, frameWidth, frameHeight), &editor);
        ASSERT_TRUE(frame->open(nullptr));
        platform.setFrame(frame);
        hand = XOpenDisplay(server->name.c_str());
        ASSERT_NE(hand, nullptr);
    }
    void TearDown() override
    {
        if (hand) XCloseDisplay(hand);
        if (frame) frame->close(); // drops the creator's reference
    }

    // Runs `call` on this thread while `gestures` run on the hand's, once
    // the sheet's top left shows.
    template <class Call>
    auto answer(Call call, const std::function<void()>& gestures)
    {
        std::atomic<bool> answered{false};
        std::thread other([&] {
            const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
            while (colourAt(alertLeft + 6, 6) != 0xececec && std::chrono::steady_clock::now() < end)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            shown = colourAt(alertLeft + 6, 6) == 0xececec;
            gestures();
            // A sheet the gestures did not end is ended with Escape, so that
            // a failure cannot hold the test.
            for (int i = 0; i < 50 && !answered; ++i) {
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
                if (i % 10 == 9) key(XK_Escape);
            }
        });
        auto result = call();
        answered = true;
        other.join();
        EXPECT_TRUE(shown) << "the sheet showed";
        return result;
    }
    void click(int x, int y)
    {
        XTestFakeMotionEvent(hand, DefaultScreen(hand), x, y, 0);
        XTestFakeButtonEvent(hand, 1, True, 0);
        XTestFakeButtonEvent(hand, 1, False, 0);
        XFlush(hand);
    }
    void key(KeySym sym)
    {
        XTestFakeKeyEvent(hand, XKeysymToKeycode(hand, sym), True, 0);
        XTestFakeKeyEvent(hand, XKeysymToKeycode(hand, sym), False, 0);
        XFlush(hand);
    }
    uint32_t colourAt(int x, int y)
    {
        XImage* image = XGetImage(hand, Window(frame->getPlatformWindow()), x, y, 1, 1, AllPlanes, ZPixmap);
        if (!image) return 0;
        const uint32_t colour = uint32_t(XGetPixel(image, 0, 0) & 0xffffff);
        XDestroyImage(image);
        return colour;
    }

    std::unique_ptr<test_x11::VirtualDisplay> server;
    Editor editor;
    CFrame* frame = nullptr;
    Corvane_SheetPlatform platform;
    Display* hand = nullptr;
    bool shown = false;
};

} // namespace

// With a one-line text the suppression box lies 10 pixels under it, at
// 78..100 in the sheet, its square at the left; Return is the sheet's OK.
TEST_F(SheetX11, AnAlertAnswersTrueOnlyWhenItsBoxIsTicked)
{
    const int boxX = alertLeft + 27, boxY = 89;
    const struct { const char* suppression; bool tick; bool expected; } cases[] = {
        {"Don't show this again.", true, true},
        {"Don't show this again.", false, false},
        {nullptr, true, false},
    };
    for (const auto& c : cases) {
        const bool answered = answer([&] { return platform.showAlert("Title", "Text.", false, c.suppression); },
                                   [&] {
                                       click(c.tick ? boxX : alertLeft + 300, c.tick ? boxY : 20);
                                       key(XK_Return);
                                   });
        EXPECT_EQ(answered, c.expected) << (c.suppression ? "box" : "no box") << " ticked " << c.tick;
    }
    EXPECT_EQ(frame->getModalView(), nullptr) << "the sheet is gone";
}

// Without a desktop chooser, our own: Escape leaves the path as it was,
// Return takes the folder the field shows.
TEST_F(SheetX11, TheFolderChooserCancelledLeavesThePath)
{
    const std::string savedPath = std::getenv("PATH") ? std::getenv("PATH") : "";
    ::setenv("PATH", "/nonexistent", 1);
    std::string path = "as it was";
    EXPECT_EQ(answer([&] { return platform.chooseFolder("/tmp", &path); }, [&] { key(XK_Escape); }), -1);
    EXPECT_EQ(path, "as it was");
    EXPECT_EQ(answer([&] { return platform.chooseFolder("/tmp", &path); }, [&] { key(XK_Return); }), 0);
    EXPECT_EQ(path, "/tmp");
    ::setenv("PATH", savedPath.c_str(), 1);
}
