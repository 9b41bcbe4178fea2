// The editor of the built module in a small host of ours under Xvfb: the
// host loads the module, makes the view "editor", embeds it into its own X11
// window through IPlugView::attached with a plug-in frame that offers its
// run loop (Steinberg::Linux::IRunLoop), runs that loop, and sends input
// through XTest as a user's hand would. Positions come from the UI
// description; values expected from a gesture come from the knob's
// geometry.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "panel/Corvane_KeyboardGeometry.h"
#include "panel/Corvane_ScalesListLayout.h"
#include "pluginterfaces/gui/iplugview.h"
#include "pluginterfaces/gui/iplugviewcontentscalesupport.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "support/editor_host.h"
#include "support/host_run_loop.h"
#include "support/picture.h"
#include "support/realtime_counter.h"
#include "support/pitch_estimate.h"
#include "support/recording_handler.h"
#include "support/signals.h"
#include "support/tracked_data.h"
#include "support/ui_layout.h"
#include "support/virtual_display.h"
#include "support/x11_editor.h"
#include "support/x11_hand.h"

// Xlib's macros (None, Bool, ...) come after every other header.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xfixes.h>

using namespace Steinberg;
using Vst::ParamID;
using test_host::Held;
using test_host::PluginInstance;
using test_host::RecordingHandler;
using test_panel::Picture;
using test_panel::Rect;
using test_panel::UiView;
using test_x11::Hand;
using test_x11::HostFrame;
using test_x11::hostLoop;
using test_x11::kPatience;
using test_x11::layout;
using Edit = RecordingHandler::Edit;

namespace {

constexpr double kPi = 3.14159265358979323846;
// The one control of that class bound to a parameter.
const UiView* controlOf(ParamID id, const std::string& className)
{
    for (const auto& v : layout().views()) {
        if (v.tag == int(id) && v.className == className) return &v;
    }
    return nullptr;
}

// The normalized value a knob in circular mode takes for a point: the
// angle of the point around the knob's centre, clockwise from the start of
// its 270 degree arc at the lower left.
double circularValue(double dx, double dy)
{
    const double start = 3.0 * kPi / 4.0, range = 3.0 * kPi / 2.0;
    double delta = std::atan2(dy, dx) - start;
    while (delta < 0) delta += 2 * kPi;
    return delta <= range ? delta / range : ((delta - range) < (2 * kPi - delta) ? 1.0 : 0.0);
}

// One host window with the module's editor in it.
struct EmbeddedEditor {
    PluginInstance plugin;
    RecordingHandler handler;
    HostFrame frame;
    Held<IPlugView> view;
    int left = 0, top = 0;

    // The host's handler replaces the host library's own.
    EmbeddedEditor()
    {
        if (plugin.ok()) plugin.instance->controller()->setComponentHandler(&handler);
    }
    ~EmbeddedEditor()
    {
        close();
        if (plugin.ok()) plugin.instance->controller()->setComponentHandler(nullptr);
        if (frame.window) XDestroyWindow(frame.display, frame.window);
        if (frame.display) XSync(frame.display, False);
    }

    bool attach(Display* display, int x, int y)
    {
        left = x;
        top = y;
        view = plugin.createView();
        if (!view) return false;
        ViewRect size;
        view->getSize(&size);
        frame.display = display;
        if (!frame.window) {
            frame.window = XCreateSimpleWindow(display, DefaultRootWindow(display), x, y, unsigned(size.getWidth()),
                                               unsigned(size.getHeight()), 0, 0, 0);
            XMapWindow(display, frame.window);
            XSync(display, False);
        }
        if (view->setFrame(&frame) != kResultOk) return false;
        return view->attached(reinterpret_cast<void*>(frame.window), kPlatformTypeX11EmbedWindowID) == kResultTrue;
    }

    void close()
    {
        if (!view) return;
        view->removed();
        view->setFrame(nullptr);
        view.reset();
    }
};

class EditorModuleX11 : public test_x11::EditorTest {
protected:
    void SetUp() override
    {
        EditorTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        folder = test_host::scratchFolder("editor_x11");
        handlersBefore = hostLoop().handlerCount();
        timersBefore = hostLoop().timerCount();
    }

    void moveTo(int x, int y)
    {
        XTestFakeMotionEvent(display, DefaultScreen(display), x, y, 0);
        XFlush(display);
    }
    void button(bool down)
    {
        XTestFakeButtonEvent(display, 1, down ? True : False, 0);
        XFlush(display);
    }

    // What the screen shows of a window, as 0xRRGGBB pixels.
    Picture grab(Window window, const Rect& r)
    {
        Picture p;
        XImage* image = XGetImage(display, window, r.x, r.y, unsigned(r.width), unsigned(r.height), AllPlanes, ZPixmap);
        if (!image) return p;
        p.width = r.width;
        p.height = r.height;
        p.pixels.resize(size_t(r.width) * size_t(r.height));
        for (int y = 0; y < r.height; ++y) {
            for (int x = 0; x < r.width; ++x) {
                const uint32_t colour = uint32_t(XGetPixel(image, x, y) & 0xffffff);
                p.pixels[size_t(y) * size_t(r.width) + size_t(x)] = colour | 0xff000000u;
            }
        }
        XDestroyImage(image);
        return p;
    }

    unsigned childCount(Window window)
    {
        Window root, parent, *children = nullptr;
        unsigned count = 0;
        XQueryTree(display, window, &root, &parent, &children, &count);
        if (children) XFree(children);
        return count;
    }

    // The edits the host heard, waiting until `count` have arrived.
    bool waitForEdits(RecordingHandler& handler, size_t count)
    {
        return pumpUntil([&] { return handler.edits.size() >= count; });
    }

    std::string folder;
    size_t handlersBefore = 0;
    size_t timersBefore = 0;
};


void expectEdits(const std::vector<Edit>& heard, const std::vector<Edit>& expected, double tolerance = 1e-6)
{
    ASSERT_EQ(heard.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(heard[i].kind, expected[i].kind) << i;
        EXPECT_EQ(heard[i].id, expected[i].id) << i;
        EXPECT_NEAR(heard[i].value, expected[i].value, tolerance) << i;
    }
}

} // namespace

TEST_F(EditorModuleX11, TheEmbeddedEditorShowsThePanelItDrawsOffscreen)
{
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    const std::string path = folder + "/offscreen.png";
    ASSERT_EQ(host.plugin.snapshot(path), kResultOk);
    const Picture offscreen = test_panel::readPNG(path);
    ASSERT_EQ(offscreen.width, layout().templateRect().width);

    ASSERT_TRUE(host.attach(display, 0, 0));
    EXPECT_EQ(childCount(host.frame.window), 1u) << "the editor's window is a child of the host's";
    EXPECT_EQ(hostLoop().handlerCount(), handlersBefore + 1) << "the editor reads its events on the host's loop";
    EXPECT_GT(hostLoop().timerCount(), timersBefore) << "its timers run on the host's loop";

    const Rect whole = offscreen.whole();
    Picture screen;
    pumpUntil([&] {
        screen = grab(host.frame.window, whole);
        return test_panel::differingPixels(screen, offscreen, whole) == 0;
    });
    EXPECT_EQ(test_panel::differingPixels(screen, offscreen, whole), 0);

    host.close();
    XSync(display, False);
    EXPECT_EQ(childCount(host.frame.window), 0u) << "removed() takes the editor's window away";
    EXPECT_EQ(hostLoop().handlerCount(), handlersBefore);
    EXPECT_EQ(hostLoop().timerCount(), timersBefore) << "no timer of the editor or the effect is left";
}

TEST_F(EditorModuleX11, ClicksAndDragsOnAKnobAndAPressOnAButtonReachTheHost)
{
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    // The knobs follow the angle of the pointer, as the host asks.
    FUnknownPtr<Vst::IEditController2> controller2(host.plugin.instance->controller());
    if (controller2) controller2->setKnobMode(Vst::kCircularMode);
    ASSERT_TRUE(host.attach(display, 0, 0));
    pump(100);

    const ParamID retune = host.plugin.idOf("Retune Speed");
    const UiView* knob = controlOf(retune, "VSTGUI4_DoubleClickKnob");
    ASSERT_NE(knob, nullptr) << "a knob bound to Retune Speed";
    const int cx = knob->rect.centreX(), cy = knob->rect.centreY();
    const int r = knob->rect.width / 4;

    // A click right of the centre.
    moveTo(cx + r, cy);
    button(true);
    button(false);
    ASSERT_TRUE(waitForEdits(host.handler, 3)) << host.handler.calls.size();
    expectEdits(host.handler.edits, {{Edit::kBegin, retune, 0},
                                     {Edit::kPerform, retune, circularValue(r, 0)},
                                     {Edit::kEnd, retune, 0}});
    host.handler.clear();

    // A drag from the lower left, over the top, to the lower right.
    const int points[][2] = {{-r, r}, {0, -r}, {r, r}};
    moveTo(cx + points[0][0], cy + points[0][1]);
    button(true);
    ASSERT_TRUE(waitForEdits(host.handler, 2));
    for (int i = 1; i < 3; ++i) {
        moveTo(cx + points[i][0], cy + points[i][1]);
        ASSERT_TRUE(waitForEdits(host.handler, size_t(2 + i))) << i;
    }
    button(false);
    ASSERT_TRUE(waitForEdits(host.handler, 5));
    expectEdits(host.handler.edits, {{Edit::kBegin, retune, 0},
                                     {Edit::kPerform, retune, circularValue(-r, r)},
                                     {Edit::kPerform, retune, circularValue(0, -r)},
                                     {Edit::kPerform, retune, circularValue(r, r)},
                                     {Edit::kEnd, retune, 0}});
    EXPECT_NEAR(host.plugin.instance->normalized(retune), 1.0, 1e-6) << "the controller holds the last value";
    host.handler.clear();

    // A push button sends its press and its release as one edit.
    const ParamID major = host.plugin.idOf("Set Major Scale");
    const UiView* push = controlOf(major, "VSTGUI4_PushButton");
    ASSERT_NE(push, nullptr) << "a push button bound to Set Major Scale";
    moveTo(push->rect.centreX(), push->rect.centreY());
    button(true);
    ASSERT_TRUE(waitForEdits(host.handler, 2));
    expectEdits(host.handler.edits, {{Edit::kBegin, major, 0}, {Edit::kPerform, major, 1.0}});
    button(false);
    ASSERT_TRUE(waitForEdits(host.handler, 4));
    expectEdits(host.handler.edits, {{Edit::kBegin, major, 0},
                                     {Edit::kPerform, major, 1.0},
                                     {Edit::kPerform, major, 0.0},
                                     {Edit::kEnd, major, 0}});
    host.handler.clear();

    // An on/off button turns over on each press.
    const ParamID formants = host.plugin.idOf("Use Formants");
    const UiView* toggle = controlOf(formants, "COnOffButton");
    ASSERT_NE(toggle, nullptr) << "an on/off button bound to Use Formants";
    const double before = host.plugin.instance->normalized(formants);
    moveTo(toggle->rect.centreX(), toggle->rect.centreY());
    button(true);
    button(false);
    ASSERT_TRUE(waitForEdits(host.handler, 3));
    expectEdits(host.handler.edits,
                {{Edit::kBegin, formants, 0}, {Edit::kPerform, formants, 1.0 - before}, {Edit::kEnd, formants, 0}});
    moveTo(1990, 1390);
}

TEST_F(EditorModuleX11, AValueSetByTheHostMovesItsKnobOnScreen)
{
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    const ParamID transpose = host.plugin.idOf("Transpose");
    const UiView* knob = controlOf(transpose, "VSTGUI4_DoubleClickKnob");
    ASSERT_NE(knob, nullptr) << "a knob bound to Transpose";
    const Picture strip = test_panel::readPNG(test_host::resourcePath(knob->bitmap));
    ASSERT_FALSE(strip.empty());
    const int frames = strip.height / knob->rect.height;

    ASSERT_TRUE(host.attach(display, 0, 0));
    // The knob shows picture `frame` of its strip where that is opaque.
    auto showsFrame = [&](int frame) {
        const Picture screen = grab(host.frame.window, knob->rect);
        if (screen.empty()) return false;
        for (int y = 0; y < knob->rect.height; ++y) {
            for (int x = 0; x < knob->rect.width; ++x) {
                const int sy = frame * knob->rect.height + y;
                if (strip.alpha(x, sy) == 255 && screen.at(x, y) != strip.at(x, sy)) return false;
            }
        }
        return true;
    };
    for (const double value : {1.0, 0.0}) {
        host.handler.clear();
        ASSERT_EQ(host.plugin.instance->controller()->setParamNormalized(transpose, value), kResultOk);
        const int frame = int(std::lround(value * (frames - 1)));
        EXPECT_TRUE(pumpUntil([&] { return showsFrame(frame); })) << "picture " << frame;
        EXPECT_TRUE(host.handler.edits.empty()) << "a change from the host is not sent back to it";
    }
}

TEST_F(EditorModuleX11, TheHostResizesTheEditorWithinItsLimits)
{
    const Rect& low = layout().minimumSize();
    const Rect& high = layout().maximumSize();
    ASSERT_GT(low.width, 0);
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    ASSERT_TRUE(host.attach(display, 0, 0));
    ASSERT_EQ(host.view->canResize(), kResultTrue);

    struct Row {
        int width, height, expectedWidth, expectedHeight;
    };
    const Row rows[] = {
        {100, 100, low.width, low.height},
        {high.width + 1000, high.height + 1, high.width, high.height},
        {low.width + 150, low.height + 70, low.width + 150, low.height + 70},
        {low.width - 1, high.height, low.width, high.height},
    };
    for (const Row& row : rows) {
        ViewRect r(0, 0, row.width, row.height);
        ASSERT_EQ(host.view->checkSizeConstraint(&r), kResultTrue);
        EXPECT_EQ(r.getWidth(), row.expectedWidth) << row.width << "x" << row.height;
        EXPECT_EQ(r.getHeight(), row.expectedHeight) << row.width << "x" << row.height;
    }

    // The host makes its window larger and tells the view.
    const int width = low.width + 150, height = low.height + 70;
    XResizeWindow(display, host.frame.window, unsigned(width), unsigned(height));
    ViewRect size(0, 0, width, height);
    ASSERT_EQ(host.view->onSize(&size), kResultTrue);
    Window child = 0;
    {
        Window root, parent, *children = nullptr;
        unsigned count = 0;
        XQueryTree(display, host.frame.window, &root, &parent, &children, &count);
        if (count == 1) child = children[0];
        if (children) XFree(children);
    }
    ASSERT_NE(child, 0u);
    EXPECT_TRUE(pumpUntil([&] {
        XWindowAttributes a;
        XGetWindowAttributes(display, child, &a);
        return a.width == width && a.height == height;
    }));
    ViewRect now;
    host.view->getSize(&now);
    EXPECT_EQ(now.getWidth(), width);
    EXPECT_EQ(now.getHeight(), height);

    // The effect keeps the size for the next opening.
    host.close();
    auto again = host.plugin.createView();
    ASSERT_NE(again, nullptr);
    ViewRect kept;
    again->getSize(&kept);
    EXPECT_EQ(kept.getWidth(), width);
    EXPECT_EQ(kept.getHeight(), height);
}

TEST_F(EditorModuleX11, AnEditorResizedOpenShowsWhatItShowsWhenOpenedAtThatSize)
{
    const Rect& low = layout().minimumSize();
    const int width = low.width + 150, height = low.height + 70;
    PluginInstance other;
    ASSERT_TRUE(other.ok()) << other.error;
    const std::string path = folder + "/opened-larger.png";
    ASSERT_EQ(other.snapshot(path, width, height), kResultOk);
    const Picture offscreen = test_panel::readPNG(path);
    ASSERT_EQ(offscreen.width, width);

    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    ASSERT_TRUE(host.attach(display, 0, 0));
    pump(50);
    XResizeWindow(display, host.frame.window, unsigned(width), unsigned(height));
    ViewRect size(0, 0, width, height);
    ASSERT_EQ(host.view->onSize(&size), kResultTrue);
    Picture screen;
    pumpUntil([&] {
        screen = grab(host.frame.window, offscreen.whole());
        return test_panel::differingPixels(screen, offscreen, offscreen.whole()) == 0;
    });
    const long differing = test_panel::differingPixels(screen, offscreen, offscreen.whole());
    EXPECT_EQ(differing, 0) << "the picture on screen is in " << folder;
    if (differing != 0) test_panel::writePNG(screen, folder + "/resized-on-screen.png");
}

TEST_F(EditorModuleX11, ClosingAndOpeningAgainLeavesNothingBehind)
{
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(host.attach(display, 0, 0)) << round;
        pump(60);
        EXPECT_EQ(childCount(host.frame.window), 1u) << round;
        // Released by the host right after removed(), as hosts do.
        host.close();
        XSync(display, False);
        EXPECT_EQ(childCount(host.frame.window), 0u) << round;
        EXPECT_EQ(hostLoop().handlerCount(), handlersBefore) << round;
        EXPECT_EQ(hostLoop().timerCount(), timersBefore) << round;
        pump(30);
    }
    // A view released without ever being attached.
    EXPECT_NE(host.plugin.createView(), nullptr);
    // A view that was never removed is taken down by its release.
    ASSERT_TRUE(host.attach(display, 0, 0));
    pump(30);
    host.view.reset();
    XSync(display, False);
    EXPECT_EQ(childCount(host.frame.window), 0u);
    EXPECT_EQ(hostLoop().handlerCount(), handlersBefore);
    EXPECT_EQ(hostLoop().timerCount(), timersBefore);
}

TEST_F(EditorModuleX11, ASecondInstanceOpensBesideTheFirst)
{
    EmbeddedEditor first, second;
    ASSERT_TRUE(first.plugin.ok()) << first.plugin.error;
    ASSERT_TRUE(second.plugin.ok()) << second.plugin.error;
    const int gap = layout().templateRect().width + 50;
    ASSERT_TRUE(first.attach(display, 0, 0));
    ASSERT_TRUE(second.attach(display, gap, 0));
    EXPECT_EQ(hostLoop().handlerCount(), handlersBefore + 2);

    const std::string path = folder + "/panel.png";
    ASSERT_EQ(first.plugin.snapshot(path), kResultOk);
    const Picture offscreen = test_panel::readPNG(path);
    for (EmbeddedEditor* e : {&first, &second}) {
        Picture screen;
        pumpUntil([&] {
            screen = grab(e->frame.window, offscreen.whole());
            return test_panel::differingPixels(screen, offscreen, offscreen.whole()) == 0;
        });
        EXPECT_EQ(test_panel::differingPixels(screen, offscreen, offscreen.whole()), 0) << (e == &first ? 1 : 2);
    }

    // A click on the second window's knob reaches the second host only.
    const ParamID retune = second.plugin.idOf("Retune Speed");
    const UiView* knob = controlOf(retune, "VSTGUI4_DoubleClickKnob");
    ASSERT_NE(knob, nullptr);
    moveTo(gap + knob->rect.centreX(), knob->rect.centreY() - knob->rect.height / 4);
    button(true);
    button(false);
    ASSERT_TRUE(waitForEdits(second.handler, 3));
    EXPECT_EQ(second.handler.calls, (std::vector<std::string>{"begin " + std::to_string(retune),
                                                              "perform " + std::to_string(retune) + " 0.5000",
                                                              "end " + std::to_string(retune)}));
    EXPECT_TRUE(first.handler.calls.empty());

    // The second goes on working after the first has closed.
    first.close();
    second.handler.clear();
    moveTo(gap + knob->rect.centreX() + knob->rect.width / 4, knob->rect.centreY());
    button(true);
    button(false);
    ASSERT_TRUE(waitForEdits(second.handler, 3));
    EXPECT_NEAR(second.handler.edits[1].value, circularValue(1, 0), 1e-6);
    moveTo(1990, 1390);
    second.close();
    EXPECT_EQ(hostLoop().handlerCount(), handlersBefore);
    EXPECT_EQ(hostLoop().timerCount(), timersBefore);
}

namespace {

// The view of the panel with that view-name.
const UiView* viewNamed(const std::string& name)
{
    for (const auto& v : layout().views()) {
        if (v.name == name) return &v;
    }
    return nullptr;
}

// The picture of a view that shows the state of its parts: the colour at a
// point of the panel taken from the picture of that file placed on the view.
uint32_t pictureAt(const std::string& file, const UiView& view, int x, int y)
{
    static std::map<std::string, Picture> cache;
    auto it = cache.find(file);
    if (it == cache.end()) it = cache.emplace(file, test_panel::readPNG(test_host::resourcePath(file))).first;
    return it->second.at(x - view.rect.x, y - view.rect.y);
}

// A point well inside a key: the middle of its lower part for a white
// key, of its one rectangle for a black one.
std::pair<int, int> keyPoint(const UiView& keyboard, const Corvane_KeyShape& key)
{
    const Corvane_KeyRect& r = key.black ? key.upper : key.lower;
    return {keyboard.rect.x + int((r.left + r.right) / 2), keyboard.rect.y + int((r.top + r.bottom) / 2)};
}

double noteHz(double midi) { return 440.0 * std::pow(2.0, (midi - 69.0) / 12.0); }

} // namespace

TEST_F(EditorModuleX11, SetMinorScaleChangesTheMarksTheKeyboardAndTheEnginesNotes)
{
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    hostlib::Instance& effect = *host.plugin.instance;
    ASSERT_TRUE(effect.set_channels(1, 1) && effect.setup(48000.0, 512) && effect.activate(true));
    ASSERT_TRUE(effect.set_plain(host.plugin.idOf("Retune Speed"), 0.0));
    // E4 + 30 cents: kept as E on the Chromatic scale; in C minor E is
    // removed, and F, 70 cents away, is nearer than E flat.
    const auto voice = test_signals::sine(size_t(0.6 * 48000.0), noteHz(64.3), 48000.0, 0.4);
    auto sungAs = [&] {
        std::vector<std::vector<float>> out;
        EXPECT_EQ(effect.process_all({voice}, out, 512), kResultOk);
        const double hz = test_pitch::estimate_hz(out[0], size_t(0.45 * 48000.0), 1440, 48000.0);
        return 69.0 + 12.0 * std::log2(hz / 440.0);
    };
    EXPECT_NEAR(sungAs(), 64.0, 0.05);

    const UiView* keyboard = viewNamed("Keyboard");
    const UiView* list = viewNamed("ScalesList");
    const UiView* minor = controlOf(host.plugin.idOf("Set Minor Scale"), "VSTGUI4_PushButton");
    ASSERT_TRUE(keyboard && list && minor);
    ASSERT_TRUE(host.attach(display, 0, 0));
    pump(100);
    moveTo(minor->rect.centreX(), minor->rect.centreY());
    button(true);
    button(false);
    ASSERT_TRUE(waitForEdits(host.handler, 4));
    moveTo(1990, 1390);
    pump(100);

    // The engine: E is gone from the notes, so the voice goes to F.
    EXPECT_NEAR(sungAs(), 65.0, 0.05);

    // The panel, drawn offscreen: C minor removes D flat, E, G flat, A and B
    // on every key of the keyboard and in the rows of the list (row =
    // semitones above C). The key of the note being sung may show as current.
    const std::string path = folder + "/minor.png";
    ASSERT_EQ(host.plugin.snapshot(path), kResultOk);
    const Picture panel = test_panel::readPNG(path);
    ASSERT_FALSE(panel.empty());
    auto removedInMinor = [](int pc) { return pc == 1 || pc == 4 || pc == 6 || pc == 9 || pc == 11; };
    Corvane_KeyShape keys[corvane_keyboard_keys];
    Corvane_KeyboardLayout(keyboard->rect.width, keyboard->rect.height, keys);
    int removedKeys = 0;
    for (int k = 0; k < corvane_keyboard_keys; ++k) {
        const auto [x, y] = keyPoint(*keyboard, keys[k]);
        if (panel.at(x, y) == pictureAt("keyboard_highlighted.png", *keyboard, x, y)) continue;
        const bool removed = removedInMinor((corvane_keyboard_lowest_note + k) % 12);
        const char* expected = removed ? "keyboard_removed.png" : "keyboard.png";
        EXPECT_EQ(panel.at(x, y), pictureAt(expected, *keyboard, x, y)) << "key " << k;
        removedKeys += removed;
    }
    EXPECT_GE(removedKeys, 30) << "five notes in six and a half octaves";
    for (int row = 0; row < 12; ++row) {
        const Corvane_ListRect box = Corvane_ListCell(row, Corvane_ListColumn::remove);
        const int x = list->rect.x + int((box.left + box.right) / 2);
        const int y = list->rect.y + int((box.top + box.bottom) / 2);
        const char* expected = removedInMinor(row) ? "scales_list_removed.png" : "scales_list.png";
        EXPECT_EQ(panel.at(x, y), pictureAt(expected, *list, x, y)) << "row " << row;
    }
}

TEST_F(EditorModuleX11, MidiModeButtonsExcludeEachOtherAndLiveOnlyOnTheChromaticScale)
{
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    hostlib::Instance& effect = *host.plugin.instance;
    const ParamID learn = host.plugin.idOf("Learn Scale from MIDI");
    const ParamID target = host.plugin.idOf("Target Notes via MIDI");
    const UiView* learnButton = controlOf(learn, "COnOffButton");
    const UiView* targetButton = controlOf(target, "COnOffButton");
    ASSERT_TRUE(learnButton && targetButton);
    ASSERT_TRUE(host.attach(display, 0, 0));
    pump(100);

    // An on/off button shows the top half of its picture when off, where
    // the picture is opaque.
    auto showsOff = [&](const UiView& button) {
        const Picture strip = test_panel::readPNG(test_host::resourcePath(button.bitmap));
        const Picture screen = grab(host.frame.window, button.rect);
        if (screen.empty()) return false;
        for (int y = 0; y < screen.height; ++y) {
            for (int x = 0; x < screen.width; ++x) {
                if (strip.alpha(x, y) == 255 && screen.at(x, y) != strip.at(x, y)) return false;
            }
        }
        return true;
    };
    auto click = [&](const UiView& button) {
        host.handler.clear();
        moveTo(button.rect.centreX(), button.rect.centreY());
        this->button(true);
        this->button(false);
        EXPECT_TRUE(waitForEdits(host.handler, 3));
    };
    click(*learnButton);
    EXPECT_EQ(effect.normalized(learn), 1.0);
    click(*targetButton);
    EXPECT_EQ(effect.normalized(target), 1.0);
    EXPECT_EQ(effect.normalized(learn), 0.0) << "only Target Notes stays on";
    EXPECT_TRUE(pumpUntil([&] { return showsOff(*learnButton); }));
    EXPECT_FALSE(showsOff(*targetButton));

    // The host sets another scale: the mode and its button go off.
    ASSERT_TRUE(effect.set_text(host.plugin.idOf("Scale"), "Major"));
    EXPECT_TRUE(pumpUntil([&] { return showsOff(*targetButton); }));
    EXPECT_EQ(effect.normalized(target), 0.0);
    moveTo(1990, 1390);
}

TEST_F(EditorModuleX11, ASessionLoadedWithTheEditorOpenReachesTheEngine)
{
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    hostlib::Instance& effect = *host.plugin.instance;
    ASSERT_TRUE(effect.set_channels(1, 1) && effect.setup(48000.0, 512) && effect.activate(true));
    // A session saved with the voice transposed up a fourth.
    const ParamID transpose = host.plugin.idOf("Transpose");
    ASSERT_TRUE(effect.set_plain(transpose, 5.0));
    std::vector<char> session;
    ASSERT_TRUE(effect.get_state(session));
    ASSERT_TRUE(effect.set_plain(transpose, 0.0));

    const auto voice = test_signals::sine(size_t(0.6 * 48000.0), 220.0, 48000.0, 0.4);
    auto sungAs = [&] {
        std::vector<std::vector<float>> out;
        EXPECT_EQ(effect.process_all({voice}, out, 512), kResultOk);
        const double hz = test_pitch::estimate_hz(out[0], size_t(0.45 * 48000.0), 1440, 48000.0);
        return 69.0 + 12.0 * std::log2(hz / 440.0);
    };
    EXPECT_NEAR(sungAs(), 57.0, 0.05);
    ASSERT_TRUE(host.attach(display, 0, 0));
    pump(100);
    ASSERT_TRUE(effect.set_state(session));
    pump(100);
    EXPECT_EQ(effect.plain(transpose), 5.0) << "the knob shows the session";
    EXPECT_NEAR(sungAs(), 62.0, 0.05) << "and the voice follows it";
}

TEST_F(EditorModuleX11, ThreadedAutomationBesideThePanelLosesNothingAndNeitherAllocatesNorLocks)
{
    // One thread plays blocks that automate every automatable parameter and
    // carry notes; this thread, as a host's interface thread, turns values,
    // clicks the panel's scale buttons, saves and loads sessions and opens
    // and closes the editor, with the editor's timer running. Afterwards
    // the controller side sets every value once more: the engine must then
    // sound exactly as a fresh instance given the same session.
    const char* seconds = std::getenv("CORVANE_STRESS_SECONDS");
    const auto length = std::chrono::seconds(seconds ? std::atol(seconds) : 60);
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    hostlib::Instance& effect = *host.plugin.instance;
    Vst::IEditController* controller = effect.controller();
    ASSERT_TRUE(effect.set_channels(1, 1) && effect.setup(48000.0, 512) && effect.activate(true));
    std::vector<ParamID> automatable, settable;
    for (const auto& p : effect.parameters()) {
        if (p.flags & Vst::ParameterInfo::kCanAutomate) automatable.push_back(p.id);
        const bool shown = (p.flags & (Vst::ParameterInfo::kIsReadOnly | Vst::ParameterInfo::kIsHidden)) == 0;
        // The mode switches only by the panel's switch or a session.
        if (shown && p.title != "Correction Mode") settable.push_back(p.id);
    }
    const UiView* minor = controlOf(host.plugin.idOf("Set Minor Scale"), "VSTGUI4_PushButton");
    const UiView* major = controlOf(host.plugin.idOf("Set Major Scale"), "VSTGUI4_PushButton");
    const UiView* learn = controlOf(host.plugin.idOf("Learn Scale from MIDI"), "COnOffButton");
    ASSERT_TRUE(minor && major && learn);
    std::vector<char> first;
    ASSERT_TRUE(effect.get_state(first));

    const auto voice = test_signals::sine(48000, 262.0, 48000.0, 0.4);
    std::atomic<bool> stop{false};
    std::atomic<long> blocks{0};
    test_rt::reset();
    std::thread audio([&] {
        uint32_t seed = 7;
        std::vector<float> out(512);
        for (size_t pos = 0; !stop.load(); pos = (pos + 512) % (voice.size() - 512)) {
            for (ParamID id : automatable) {
                seed = seed * 1664525u + 1013904223u;
                effect.queue_change(id, double(seed >> 8) / double(1u << 24));
            }
            effect.queue_note(true, int16(48 + pos % 24), 0.8f);
            effect.queue_note(false, int16(48 + (pos + 512) % 24), 0.0f);
            const float* in[1] = {voice.data() + pos};
            float* outs[1] = {out.data()};
            test_rt::Audio_Section section;
            effect.process(in, outs, 512);
            blocks.fetch_add(1);
        }
    });

    auto click = [&](const UiView& button) {
        moveTo(button.rect.centreX(), button.rect.centreY());
        this->button(true);
        this->button(false);
        pump(20);
    };
    uint32_t seed = 11;
    auto random = [&seed] {
        seed = seed * 1664525u + 1013904223u;
        return double(seed >> 8) / double(1u << 24);
    };
    const auto end = std::chrono::steady_clock::now() + length;
    for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
        ASSERT_TRUE(host.attach(display, 0, 0));
        pump(40);
        click(*learn);
        click(round % 2 ? *minor : *major);
        for (int i = 0; i < 20; ++i) controller->setParamNormalized(settable[size_t(random() * settable.size())], random());
        pump(40);
        std::vector<char> session;
        ASSERT_TRUE(effect.get_state(session));
        ASSERT_TRUE(effect.set_state(round % 3 ? session : first));
        pump(20);
        host.close();
        for (int i = 0; i < 20; ++i) controller->setParamNormalized(settable[size_t(random() * settable.size())], random());
    }
    moveTo(1990, 1390);
    stop = true;
    audio.join();
    const test_rt::Counts counts = test_rt::counts();
    EXPECT_GT(blocks.load(), 100);
    if (test_rt::available()) {
        EXPECT_EQ(counts.allocations, 0);
        EXPECT_EQ(counts.frees, 0);
        EXPECT_EQ(counts.locks, 0);
    }

    // The last values from the controller side, then one block to take them.
    for (ParamID id : settable) controller->setParamNormalized(id, random());
    controller->setParamNormalized(host.plugin.idOf("Bypass"), 0.0);
    controller->setParamNormalized(host.plugin.idOf("Vibrato Variation"), 0.0);
    std::vector<std::vector<float>> out;
    ASSERT_EQ(effect.process_all({std::vector<float>(512, 0.0f)}, out, 512), kResultOk);
    std::vector<char> session;
    ASSERT_TRUE(effect.get_state(session));
    std::string error;
    auto fresh = hostlib::Instance::create(*host.plugin.module, "", error);
    ASSERT_TRUE(fresh) << error;
    ASSERT_TRUE(fresh->set_channels(1, 1) && fresh->setup(48000.0, 512) && fresh->set_state(session));
    ASSERT_TRUE(fresh->activate(true));
    ASSERT_TRUE(effect.activate(false) && effect.activate(true));
    std::vector<std::vector<float>> stressed, expected;
    ASSERT_EQ(effect.process_all({voice}, stressed, 512), kResultOk);
    ASSERT_EQ(fresh->process_all({voice}, expected, 512), kResultOk);
    size_t differing = 0;
    for (size_t i = 0; i < voice.size(); ++i) differing += stressed[0][i] != expected[0][i];
    EXPECT_EQ(differing, 0u) << "the engine and the parameters disagree";
}

namespace {

std::string readText(const std::string& path)
{
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return "<none>";
    std::string text;
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, n);
    std::fclose(file);
    return text;
}

} // namespace

// "Options" opens the dialog as a sheet over the panel; a value out of range
// is refused with an alert over it and the dialog stays; a valid one typed
// and saved reaches the preferences file, which the record is written from
// ("save as default" is ticked by default); Escape cancels and leaves it; a
// new window size saved is asked of the host.
TEST_F(EditorModuleX11, TheOptionsDialogRefusesBadValuesSavesGoodOnesAndEscapeCancels)
{
    // The test process's own preferences folder.
    const std::string file =
        std::string(std::getenv("XDG_CONFIG_HOME")) + "/Halvorne Audio Technologies/Corvane+Time VST.txt";
    std::remove(file.c_str());
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    ASSERT_TRUE(host.attach(display, 0, 0));
    pump(100);
    const UiView* options = controlOf(host.plugin.idOf("Options"), "VSTGUI4_PushButton");
    ASSERT_NE(options, nullptr);

    // The options sheet is 640 wide, centred on the 850 pixel window and
    // hanging from its top; the Max Undos field lies at (190..280, 76..98)
    // in it. The sheet's grey, and the same dimmed by a sheet above it.
    const int sheetLeft = (850 - 640) / 2;
    const uint32_t sheetGrey = 0xececec;
    const int probeX = sheetLeft + 8, probeY = 300;
    std::atomic<bool> done{false};
    bool opened = false, refused = false, keptOpen = false, closed = false, reopened = false, cancelled = false,
         widened = false;
    std::thread hand([&] {
        Hand h(server->name, host.frame.window);
        h.click(options->rect.centreX(), options->rect.centreY());
        opened = h.waitFor(probeX, probeY, sheetGrey);
        h.click(sheetLeft + 235, 87);
        h.key(XK_End);
        h.key(XK_BackSpace, 2);
        h.key(XK_2);
        h.key(XK_5);
        h.key(XK_Return);
        refused = h.waitFor(probeX, probeY, sheetGrey, false);
        h.key(XK_Return); // the alert's OK; the field has the focus again
        keptOpen = h.waitFor(probeX, probeY, sheetGrey);
        h.key(XK_BackSpace, 2);
        h.key(XK_7);
        h.key(XK_Return);
        closed = h.waitFor(probeX, probeY, sheetGrey, false);
        h.click(options->rect.centreX(), options->rect.centreY());
        reopened = h.waitFor(probeX, probeY, sheetGrey);
        h.key(XK_BackSpace, 2);
        h.key(XK_3);
        h.key(XK_Escape);
        cancelled = h.waitFor(probeX, probeY, sheetGrey, false);
        // "Wide" fills the size fields; saving asks the host for that size.
        h.click(options->rect.centreX(), options->rect.centreY());
        widened = h.waitFor(probeX, probeY, sheetGrey);
        h.click(sheetLeft + 152, 491);
        h.key(XK_Return);
        widened = widened && h.waitFor(probeX, probeY, sheetGrey, false);
        done = true;
    });
    const auto end = std::chrono::steady_clock::now() + 6 * kPatience;
    while (!done && std::chrono::steady_clock::now() < end) pump(10);
    hand.join();
    EXPECT_TRUE(opened && refused && keptOpen && closed && reopened && cancelled && widened)
        << opened << refused << keptOpen << closed << reopened << cancelled << widened;
    ASSERT_EQ(host.frame.resizes.size(), 1u) << "only the saved new size was asked of the host";
    EXPECT_EQ(host.frame.resizes[0], std::make_pair(1600, 630));
    const std::string text = readText(file);
    EXPECT_NE(text.find("\n7\t(max undos 1..20)\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\n240\t(buffer size 10..10800)\n"), std::string::npos) << "the other lines as they were";
}

// A session whose data folder was renamed opens with the data folder button
// flashing; "Find Data Folder..." with the folder's new place chosen brings
// the recorded take back, and the button stops.
TEST_F(EditorModuleX11, AMissingDataFolderFlashesItsButtonUntilFindBringsTheTakeBack)
{
    const std::vector<float> x = test_signals::sine(48000, 220.0, 48000.0, 0.3, kPi / 2);
    std::vector<char> state;
    std::string folder;
    {
        PluginInstance recorder;
        auto& instance = *recorder.instance;
        ASSERT_TRUE(instance.set_channels(1, 1) && instance.setup(48000.0, 512, true) && instance.activate(true));
        ICorvaneTrackedData* data = test_tracking::startTracking(instance, this->folder + "/saved", true);
        ASSERT_NE(data, nullptr);
        std::vector<std::vector<float>> out;
        ASSERT_EQ(instance.process_all({x}, out, 512), kResultOk);
        instance.activate(false);
        data->waitForDisk();
        ASSERT_TRUE(instance.get_state(state));
        char path[1024];
        data->getSessionFolder(path, sizeof path);
        folder = path;
    }
    // A path the hand can type on any keyboard layout: lower case and digits.
    const std::string moved = "/tmp/corvanemoved" + std::to_string(::getpid());
    std::system(("rm -rf '" + moved + "'").c_str());
    ASSERT_EQ(std::rename(folder.c_str(), moved.c_str()), 0);

    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    ASSERT_TRUE(host.plugin.instance->set_state(state));
    ICorvaneTrackedData* data = test_tracking::trackedData(*host.plugin.instance);
    ASSERT_EQ(data->getStoreStatus(nullptr, nullptr), 1);
    ASSERT_TRUE(host.attach(display, 0, 0));
    pump(100);
    const UiView* button = controlOf(host.plugin.idOf("Data Folder Settings"), "VSTGUI4_FlashingPushButton");
    ASSERT_NE(button, nullptr);

    // The folder sheet is 620 wide, centred on the 850 pixel window;
    // "Find Data Folder..." lies at (20..206, 176..198) in it.
    const int sheetLeft = (850 - 620) / 2;
    const uint32_t sheetGrey = 0xececec;
    std::atomic<bool> done{false};
    bool flashed = false, opened = false, chooser = false, found = false, closed = false;
    std::thread hand([&] {
        Hand h(server->name, host.frame.window);
        const int bx = button->rect.centreX(), by = button->rect.centreY();
        flashed = h.waitFor(bx, by, h.colourAt(bx, by), false);
        h.click(bx, by);
        opened = h.waitFor(sheetLeft + 8, 230, sheetGrey);
        h.click(sheetLeft + 113, 187);
        // The chooser, our own sheet 520 wide with the path to edit; then the
        // alert "Data files found", 460 wide; then the folder sheet again,
        // closed by Escape.
        chooser = h.waitFor(sheetLeft + 8, 60, sheetGrey, false) && h.waitFor((850 - 520) / 2 + 4, 60, sheetGrey);
        h.key(XK_End);
        h.key(XK_BackSpace, 300);
        h.type(moved);
        h.key(XK_Return);
        found = h.waitFor((850 - 520) / 2 + 4, 60, sheetGrey, false) && h.waitFor((850 - 460) / 2 + 4, 60, sheetGrey);
        h.key(XK_Return);
        found = found && h.waitFor(sheetLeft + 8, 230, sheetGrey);
        h.key(XK_Escape);
        closed = h.waitFor(sheetLeft + 8, 230, sheetGrey, false);
        // After a step that failed, whatever is still open is answered, so
        // that the interface thread comes back.
        for (int i = 0; i < 4 && !closed; ++i) {
            h.key(XK_Escape);
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
        }
        done = true;
    });
    const auto end = std::chrono::steady_clock::now() + 6 * kPatience;
    while (!done && std::chrono::steady_clock::now() < end) pump(10);
    hand.join();
    EXPECT_TRUE(flashed && opened && chooser && found && closed) << flashed << opened << chooser << found << closed;
    EXPECT_EQ(data->getStoreStatus(nullptr, nullptr), 0);
    int64 bad = 0;
    for (int64 p = 0; p < int64(x.size()); p += 101) {
        float left = 0.0f;
        int32 r;
        while ((r = data->readTrackedSample(p, &left, nullptr)) == 1) std::this_thread::yield();
        if (r != 0 || std::abs(left - x[size_t(p)]) > 1.0f / 32767.0f) ++bad;
    }
    EXPECT_EQ(bad, 0);
    std::system(("rm -rf '" + moved + "'").c_str());
}

namespace {

// What the screen shows along a row or down a column of the graph: the
// offsets at which a colour stands.
std::vector<int> offsetsOf(const Picture& strip, uint32_t colour)
{
    std::vector<int> found;
    for (int i = 0; i < strip.width * strip.height; ++i)
        if ((strip.pixels[size_t(i)] & 0xffffff) == colour) found.push_back(i);
    return found;
}

constexpr uint32_t tickColour = 0x808080;    // the ruler's lines
constexpr uint32_t octaveColour = 0xd0d0d8;  // a line at every C

} // namespace

TEST_F(EditorModuleX11, TheThumbTheWheelAndTheZoomButtonsMoveWhatTheGraphShows)
{
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    ASSERT_TRUE(host.plugin.setText("Correction Mode", "Graph"));
    ASSERT_TRUE(host.attach(display, 0, 0));
    const UiView* graph = layout().find("Corvane_MainGraphView");
    const UiView* bar = layout().find("HorizontalScrollbar");
    const UiView* zoomOut = layout().find("VZoomOutButton");
    ASSERT_TRUE(graph && bar && zoomOut);
    const Rect g = graph->rect;
    // Ticks along the bottom row; C lines down a column left of every tick.
    auto ticks = [&] { return offsetsOf(grab(host.frame.window, Rect{g.x, g.y + g.height - 1, g.width, 1}), tickColour); };
    auto cLines = [&] { return offsetsOf(grab(host.frame.window, Rect{g.x + 3, g.y, 1, g.height}), octaveColour); };
    // The thumb's left edge: the first pixel of the track unlike its end.
    auto thumbLeft = [&] {
        const Picture row = grab(host.frame.window, Rect{bar->rect.x, bar->rect.y + bar->rect.height / 2, bar->rect.width, 1});
        for (int x = 0; x < row.width; ++x)
            if (row.at(x, 0) != row.at(row.width - 1, 0)) return x;
        return -1;
    };
    // The graph opens with 900 cents at its middle and 4 cents a pixel:
    // the C of 1200 cents lies (1200 - 900) / 4 pixels above the middle.
    ASSERT_TRUE(pumpUntil([&] { return !cLines().empty(); }));
    EXPECT_EQ(cLines(), std::vector<int>{g.height / 2 - 75});
    const std::vector<int> before = ticks();
    ASSERT_GE(before.size(), 2u);

    // Wheel to the right (button 7): a step of 2.5 % of the width, 19 pixels.
    moveTo(g.x + g.width / 2, g.y + g.height / 2);
    pump(50);
    XTestFakeButtonEvent(display, 7, True, 0);
    XTestFakeButtonEvent(display, 7, False, 0);
    XFlush(display);
    std::vector<int> shifted;
    for (int x : before)
        if (x - 19 >= 0) shifted.push_back(x - 19);
    EXPECT_TRUE(pumpUntil([&] { return ticks() == shifted; })) << "ticks first at " << ticks().front();

    // Wheel down (button 5): a fortieth of the height, rounded; the line
    // rises as far.
    const int step = int(g.height / 40.0 + 0.5);
    XTestFakeButtonEvent(display, 5, True, 0);
    XTestFakeButtonEvent(display, 5, False, 0);
    XFlush(display);
    EXPECT_TRUE(pumpUntil([&] { return cLines() == std::vector<int>{g.height / 2 - 75 - step}; })) << cLines().front();

    // V.Zoom Out: 8 cents a pixel about the middle row, whose pitch stays:
    // the C of 1200 cents, 75 + step rows above the middle, comes half as
    // near (the row holding that point), and the C of 0 cents lies 1200 / 8
    // rows below it.
    moveTo(zoomOut->rect.x + zoomOut->rect.width / 2, zoomOut->rect.y + zoomOut->rect.height / 2);
    pump(50);
    button(true);
    button(false);
    const int c1200 = int(std::floor(g.height / 2.0 - (75 + step) / 2.0));
    EXPECT_TRUE(pumpUntil([&] { return cLines() == (std::vector<int>{c1200, c1200 + 150}); })) << cLines().front();

    // A drag on the thumb by 100 pixels moves it and the ruler with it.
    const int left = thumbLeft();
    ASSERT_GE(left, 0);
    const std::vector<int> ruler = ticks();
    moveTo(bar->rect.x + left + 5, bar->rect.y + bar->rect.height / 2);
    pump(50);
    button(true);
    pump(30);
    moveTo(bar->rect.x + left + 55, bar->rect.y + bar->rect.height / 2);
    pump(30);
    moveTo(bar->rect.x + left + 105, bar->rect.y + bar->rect.height / 2);
    pump(50);
    button(false);
    EXPECT_TRUE(pumpUntil([&] { return std::abs(thumbLeft() - (left + 100)) <= 1; })) << thumbLeft();
    EXPECT_NE(ticks(), ruler);
}

TEST_F(EditorModuleX11, TheCursorOverTheGraphIsTheTools)
{
    EmbeddedEditor host;
    ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
    ASSERT_TRUE(host.plugin.setText("Correction Mode", "Graph"));
    ASSERT_TRUE(host.attach(display, 0, 0));
    const UiView* graph = layout().find("Corvane_MainGraphView");
    const UiView* tools = layout().find("GraphToolsSwitch");
    ASSERT_TRUE(graph && tools);
    int eventBase = 0, errorBase = 0;
    ASSERT_TRUE(XFixesQueryExtension(display, &eventBase, &errorBase));
    // Picks a tool on the switch (ten segments), then rests over the graph.
    auto cursorOf = [&](int tool) {
        const int segment = tools->rect.width / 10;
        moveTo(tools->rect.x + segment * tool + segment / 2, tools->rect.y + tools->rect.height / 2);
        pump(50);
        button(true);
        button(false);
        pump(50);
        moveTo(graph->rect.x + 200, graph->rect.y + 100);
        pump(100);
        std::vector<unsigned long> image;
        if (XFixesCursorImage* c = XFixesGetCursorImage(display)) {
            image.assign(c->pixels, c->pixels + size_t(c->width) * size_t(c->height));
            image.push_back(c->width);
            image.push_back(c->xhot);
            XFree(c);
        }
        return image;
    };
    // The I-beam's own picture, 24 pixels square with its hot spot at the
    // middle, as the bundle holds it.
    const Picture ibeam = test_panel::readPNG(std::string(CORVANE_BUNDLE_PATH) + "/Contents/Resources/bmp09010.png");
    ASSERT_EQ(ibeam.width, 24);
    const std::vector<unsigned long> shown = cursorOf(6);
    ASSERT_EQ(shown.size(), 24u * 24u + 2u);
    EXPECT_EQ(shown[24 * 24], 24u);
    EXPECT_EQ(shown[24 * 24 + 1], 12u);
    long alike = 0;
    for (int i = 0; i < 24 * 24; ++i) alike += (uint32_t(shown[size_t(i)]) == ibeam.pixels[size_t(i)]);
    EXPECT_EQ(alike, 24 * 24) << "the I-beam tool shows its own picture";
    // The hand scroll tool shows the system's hand instead.
    EXPECT_NE(cursorOf(7), shown);
    EXPECT_EQ(cursorOf(6), shown);
}

TEST_F(EditorModuleX11, AtTheHostsContentScaleThePanelFillsItsWindowAndShowsWhatItDrawsOffscreen)
{
    // At scale 1 the template's own picture; at 1.5 and 2 the window is
    // that much larger and every flat part of the panel (a pixel whose
    // neighbours share its colour) shows there at its scaled place.
    PluginInstance plain;
    ASSERT_TRUE(plain.ok()) << plain.error;
    ASSERT_EQ(plain.snapshot(folder + "/scale-1.png"), kResultOk);
    const Picture one = test_panel::readPNG(folder + "/scale-1.png");
    const Rect panel = layout().templateRect();
    ASSERT_EQ(one.width, panel.width);
    for (double scale : {1.0, 1.5, 2.0}) {
        EmbeddedEditor host;
        ASSERT_TRUE(host.plugin.ok()) << host.plugin.error;
        host.view = host.plugin.createView();
        ASSERT_TRUE(host.view);
        IPlugViewContentScaleSupport* support = nullptr;
        ASSERT_EQ(host.view->queryInterface(INLINE_UID_OF(IPlugViewContentScaleSupport), reinterpret_cast<void**>(&support)),
                  kResultOk);
        EXPECT_EQ(support->setContentScaleFactor(float(scale)), kResultOk);
        support->release();
        ViewRect size;
        host.view->getSize(&size);
        const int width = int(panel.width * scale + 0.5), height = int(panel.height * scale + 0.5);
        EXPECT_EQ(size.getWidth(), width) << scale;
        EXPECT_EQ(size.getHeight(), height) << scale;

        const std::string path = folder + "/scaled.png";
        ASSERT_EQ(PluginInstance::snapshotOf(host.view.get(), path.c_str(), 0, 0, nullptr), kResultOk);
        const Picture scaled = test_panel::readPNG(path);
        ASSERT_EQ(scaled.width, width);
        ASSERT_EQ(scaled.height, height);
        long flat = 0, unlike = 0;
        for (int y = 1; y + 1 < one.height; y += 7) {
            for (int x = 1; x + 1 < one.width; x += 7) {
                const uint32_t c = one.at(x, y);
                bool same = true;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) same = same && one.at(x + dx, y + dy) == c;
                if (!same) continue;
                ++flat;
                const uint32_t d = scaled.at(int((x + 0.5) * scale), int((y + 0.5) * scale));
                auto near = [](uint32_t a, uint32_t b, int shift) {
                    return std::abs(int((a >> shift) & 255) - int((b >> shift) & 255)) <= 12;
                };
                if (!(near(c, d, 0) && near(c, d, 8) && near(c, d, 16))) ++unlike;
            }
        }
        EXPECT_GT(flat, 1000);
        EXPECT_LT(unlike, flat / 100) << "at scale " << scale << " of " << flat;

        // In a host window of the scaled size, the screen shows the picture.
        if (scale == 1.0) continue;
        host.frame.display = display;
        host.frame.window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, unsigned(width),
                                                unsigned(height), 0, 0, 0);
        XMapWindow(display, host.frame.window);
        XSync(display, False);
        ASSERT_EQ(host.view->setFrame(&host.frame), kResultOk);
        ASSERT_EQ(host.view->attached(reinterpret_cast<void*>(host.frame.window), kPlatformTypeX11EmbedWindowID),
                  kResultTrue);
        Picture screen;
        pumpUntil([&] {
            screen = grab(host.frame.window, scaled.whole());
            return test_panel::differingPixels(screen, scaled, scaled.whole()) == 0;
        });
        EXPECT_EQ(test_panel::differingPixels(screen, scaled, scaled.whole()), 0) << "at scale " << scale;
    }
}
