// The pitch graph of the built module's editor in a window of a host of
// ours under Xvfb, driven by XTest as a user's hand would: a tracked phrase
// loaded, a tool picked by its number key, a line drawn over a note, the
// output rendered and measured, and the edit undone from the panel's
// button.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <chrono>
#include <cmath>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "panel/Corvane_ParameterIds.h"
#include "pluginterfaces/gui/iplugview.h"
#include "public.sdk/source/common/memorystream.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "support/editor_host.h"
#include "support/host_run_loop.h"
#include "support/pitch_estimate.h"
#include "support/signals.h"
#include "support/tracked_data.h"
#include "support/ui_layout.h"
#include "support/virtual_display.h"
#include "support/x11_editor.h"
#include "support/x11_hand.h"

// Xlib's macros (None, Bool, ...) come after every other header.
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

using namespace Steinberg;
using Steinberg::Vst::IEditController;
using Steinberg::Vst::ParamID;
using test_host::Held;
using test_host::PluginInstance;
using test_panel::UiView;
using test_x11::HostFrame;
using test_x11::kPatience;
using test_x11::layout;

namespace {

constexpr double rate = 48000.0;
constexpr int64_t hop = 200;  // host samples a frame
constexpr int32 block = 512;
constexpr double kPi = 3.14159265358979323846;

double centsOfHz(double hz) { return 900.0 + 1200.0 * std::log2(hz / 440.0); }

class GraphEditorX11 : public test_x11::EditorTest {
protected:
    void SetUp() override
    {
        EditorTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        folder = test_host::scratchFolder("graph_editor_x11");
        moveTo(1190, 890);
    }
    void TearDown() override
    {
        if (window) XDestroyWindow(display, window);
        EditorTest::TearDown();
    }

    void moveTo(int x, int y)
    {
        XTestFakeMotionEvent(display, DefaultScreen(display), x, y, 0);
        XFlush(display);
        pump(30);
    }
    void button(bool down)
    {
        XTestFakeButtonEvent(display, 1, down ? True : False, 0);
        XFlush(display);
        pump(30);
    }
    void key(KeySym sym)
    {
        const KeyCode code = XKeysymToKeycode(display, sym);
        XTestFakeKeyEvent(display, code, True, 0);
        XTestFakeKeyEvent(display, code, False, 0);
        XFlush(display);
        pump(50);
    }
    // What the screen shows at a point of the window, 0xRRGGBB.
    uint32_t pixel(int x, int y) { return test_x11::windowColour(display, window, x, y); }
    // The editor of `plugin` in a window at the screen's origin.
    Held<IPlugView> attach(PluginInstance& plugin)
    {
        Held<IPlugView> view = plugin.createView();
        if (!view) return view;
        ViewRect size;
        view->getSize(&size);
        window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, unsigned(size.getWidth()),
                                     unsigned(size.getHeight()), 0, 0, 0);
        XMapWindow(display, window);
        XSync(display, False);
        if (view->setFrame(&frame) != kResultOk ||
            view->attached(reinterpret_cast<void*>(window), kPlatformTypeX11EmbedWindowID) != kResultTrue)
            view.reset();
        return view;
    }

    Window window = 0;
    HostFrame frame;
    std::string folder;
};

// The phrase from the start of the timeline with the engine fresh, as a
// host plays it.
std::vector<float> render(hostlib::Instance& instance, const std::vector<float>& x)
{
    instance.activate(false);
    instance.activate(true);
    instance.transport().locate(0);
    std::vector<std::vector<float>> out;
    std::vector<float> in = x;
    in.resize(x.size() + 4096, 0.0f);
    if (instance.process_all({in}, out, block) != kResultOk || out.empty()) return {};
    return out[0];
}

// The output's pitch in cents over a frame, latency taken off; 0 for none.
double outputCents(const std::vector<float>& y, int64_t frame, uint32 latency)
{
    const size_t mid = size_t(frame * hop + hop / 2) + latency;
    const double hz = test_pitch::estimate_hz(y, mid - 480, 960, rate, 80.0, 800.0);
    return hz > 0.0 ? centsOfHz(hz) : 0.0;
}

} // namespace

// A phrase sung at 800 cents is tracked and made into a note. "4" picks the
// Arrow and "1" Draw Lines. The graph opens with the pitch sung at its
// middle row (the row's pitch within a pixel, 4 cents), so that about 900
// cents lies 25 rows above it; a drag along that row draws a line there
// over frames 40..300 (a frame a pixel).
// Played back, the output sings the line's pitch; "Undo" on the
// panel gives back the render of the note alone, sample for sample. Then
// "4" and a drag of the note 25 rows up (100 cents) moves what plays a
// semitone up; "7" and a double click with the I-beam select the whole
// take (its band over the tracked frames only), and "6" with an Alt-drag
// zooms out to two frames a pixel, halving the band.
TEST_F(GraphEditorX11, ToolsOverATrackedPhraseEditWhatPlays)
{
    PluginInstance plugin;
    ASSERT_TRUE(plugin.ok()) << plugin.error;
    hostlib::Instance& instance = *plugin.instance;
    ASSERT_TRUE(instance.set_channels(1, 1) && instance.setup(rate, block, true) && instance.activate(true));
    ICorvaneTrackedData* data = test_tracking::startTracking(instance, folder + "/take", false);
    ASSERT_NE(data, nullptr);
    const double sungHz = 440.0 * std::pow(2.0, -100.0 / 1200.0);
    const std::vector<float> x = test_signals::sine(size_t(3.6 * rate), sungHz, rate, 0.3, kPi / 2);
    ASSERT_FALSE(render(instance, x).empty());
    data->clickControl(corvane::kTrackPitch, 0.0);
    data->clickControl(corvane::kObjectRetuneSpeed, 0.0);
    // The graph stays at the start of the take while the renders move the
    // play position.
    data->clickControl(corvane::kAutoScroll, 0.0);
    data->clickControl(corvane::kMakeNotes, 1.0);
    data->clickControl(corvane::kMakeNotes, 0.0);
    const uint32 latency = instance.latency();
    const std::vector<float> noteOnly = render(instance, x);

    Held<IPlugView> view = attach(plugin);
    ASSERT_TRUE(view);
    const UiView* graph = layout().find("Corvane_MainGraphView");
    const UiView* undo = layout().find("UndoButton");
    ASSERT_TRUE(graph && undo);
    const test_panel::Rect g = graph->rect;
    pump(200);

    // The number keys over the graph pick their tools.
    const ParamID tools = corvane::kGraphTools;
    IEditController* controller = instance.controller();
    moveTo(g.x + 20, g.y + 20);
    key(XK_4);
    EXPECT_TRUE(pumpUntil([&] { return std::fabs(controller->getParamNormalized(tools) - 3.0 / 9.0) < 1e-6; }));
    key(XK_1);
    EXPECT_TRUE(pumpUntil([&] { return controller->getParamNormalized(tools) == 0.0; }));

    const int row = g.y + g.height / 2 - 25;
    moveTo(g.x + 40, row);
    button(true);
    for (int x = 60; x <= 300; x += 40) moveTo(g.x + x, row);
    button(false);
    TrackedFrame f;
    ASSERT_TRUE(pumpUntil([&] {
        return data->getTrackedFrame(200, &f) == kResultOk && f.outputPeriod > 0.0f &&
               std::fabs(centsOfHz(rate / f.outputPeriod) - 900.0) <= 4.5;
    })) << f.outputPeriod;
    const double lineCents = centsOfHz(rate / f.outputPeriod);

    const std::vector<float> lined = render(instance, x);
    int total = 0, onLine = 0;
    for (int64_t frame = 80; frame < 290; frame += 3) {
        ++total;
        if (std::fabs(outputCents(lined, frame, latency) - lineCents) <= 10.0) ++onLine;
    }
    EXPECT_GE(onLine, total * 9 / 10) << onLine << " of " << total;

    moveTo(undo->rect.x + undo->rect.width / 2, undo->rect.y + undo->rect.height / 2);
    button(true);
    button(false);
    EXPECT_TRUE(pumpUntil([&] {
        return data->getTrackedFrame(200, &f) == kResultOk && std::fabs(centsOfHz(rate / f.outputPeriod) - lineCents) > 50;
    }));
    EXPECT_TRUE(render(instance, x) == noteOnly) << "undo gives back the note's render";

    ASSERT_EQ(data->getTrackedFrame(200, &f), kResultOk);
    const double noteCents = centsOfHz(rate / f.outputPeriod);
    key(XK_4);
    const int noteRow = g.y + g.height / 2;
    moveTo(g.x + 150, noteRow);
    button(true);
    for (int dy = 5; dy <= 25; dy += 5) moveTo(g.x + 150, noteRow - dy);
    button(false);
    EXPECT_TRUE(pumpUntil([&] {
        return data->getTrackedFrame(200, &f) == kResultOk && std::fabs(centsOfHz(rate / f.outputPeriod) - noteCents - 100.0) < 1.0;
    })) << centsOfHz(rate / f.outputPeriod) << " after " << noteCents;
    const std::vector<float> raised = render(instance, x);
    int up = 0;
    total = 0;
    for (int64_t frame = 80; frame < 290; frame += 3) {
        ++total;
        if (std::fabs(outputCents(raised, frame, latency) - noteCents - 100.0) <= 10.0) ++up;
    }
    EXPECT_GE(up, total * 9 / 10) << up << " of " << total;

    // "5" and a click on the raised note split it there: the column shows
    // the two notes' edges (it differs from a column inside the note), and
    // Undo joins them again.
    // The pointer rests away from the columns looked at, whose time
    // position line would differ too.
    const auto edgesAt = [&](int x) {
        int edges = 0;
        for (int y = noteRow - 34; y <= noteRow - 16; ++y) edges += pixel(x, y) != pixel(x - 30, y);
        return edges;
    };
    moveTo(g.x + 400, noteRow - 25);
    ASSERT_LE(edgesAt(g.x + 150), 2);
    key(XK_5);
    moveTo(g.x + 150, noteRow - 25);
    button(true);
    button(false);
    moveTo(g.x + 400, noteRow - 25);
    EXPECT_TRUE(pumpUntil([&] { return edgesAt(g.x + 150) >= 15; }));
    moveTo(undo->rect.x + undo->rect.width / 2, undo->rect.y + undo->rect.height / 2);
    button(true);
    button(false);
    EXPECT_TRUE(pumpUntil([&] { return edgesAt(g.x + 150) <= 2; }));

    // Rows near the top show the background: white, the I-beam's band in
    // (216, 224, 236). The take is 864 frames long: at a frame a pixel it
    // fills the 770 pixels of the graph, at two frames a pixel 432 of them.
    // A double click is the shortcut the I-beam's hint teaches: no hint.
    const int bandRow = g.y + 30;
    const uint32_t white = 0xffffff, band = 0xd8e0ec;
    ASSERT_EQ(pixel(g.x + 600, bandRow), white);
    const int alertX = (850 - 460) / 2 + 4, alertY = 60;
    const uint32_t sheetGrey = 0xececec;
    key(XK_7);
    moveTo(g.x + 100, bandRow);
    button(true);
    button(false);
    button(true);
    button(false);
    EXPECT_TRUE(pumpUntil([&] { return pixel(g.x + 200, bandRow) == band && pixel(g.x + 600, bandRow) == band; }))
        << std::hex << pixel(g.x + 200, bandRow) << " " << pixel(g.x + 600, bandRow);

    key(XK_6);
    const KeyCode alt = XKeysymToKeycode(display, XK_Alt_L);
    XTestFakeKeyEvent(display, alt, True, 0);
    moveTo(g.x + 100, bandRow);
    button(true);
    moveTo(g.x + 200, bandRow + 40);
    moveTo(g.x + 300, bandRow + 60);
    button(false);
    XTestFakeKeyEvent(display, alt, False, 0);
    XFlush(display);
    EXPECT_TRUE(pumpUntil([&] { return pixel(g.x + 600, bandRow) == white && pixel(g.x + 400, bandRow) == band; }))
        << std::hex << pixel(g.x + 600, bandRow) << " " << pixel(g.x + 400, bandRow);

    // The first range dragged with the I-beam brings its hint up (a sheet
    // over the window), which the hand answers; the band is the range.
    {
        key(XK_7);
        std::atomic<bool> hinted{false}, closed{false};
        std::thread hand([&] {
            test_x11::Hand h(server->name, window);
            // Away from the zoom's press, which a press there would make a
            // double click of.
            h.drag(g.x + 120, bandRow, g.x + 170, bandRow);
            hinted = h.waitFor(alertX, alertY, sheetGrey);
            h.key(XK_Return);
            closed = h.waitFor(alertX, alertY, sheetGrey, false);
        });
        const auto end = std::chrono::steady_clock::now() + 2 * kPatience;
        while (!closed && std::chrono::steady_clock::now() < end) pump(10);
        hand.join();
        EXPECT_TRUE(hinted && closed);
        EXPECT_TRUE(pumpUntil([&] { return pixel(g.x + 145, bandRow) == band && pixel(g.x + 300, bandRow) == white; }));
    }

    // "Clear All" asks first (an alert sheet 460 wide over the window):
    // Escape answers no and keeps the take and its notes. A Shift-click
    // clears without asking: the objects at once, the frames at the next
    // block the host plays. The question holds the interface thread, which
    // runs the host's loop, so a hand of its own answers it.
    const UiView* clearAll = layout().find("ClearAllButton");
    ASSERT_TRUE(clearAll);
    std::atomic<bool> done{false}, answered{false}, checked{false};
    bool asked = false, askedWithShift = false;
    std::thread hand([&] {
        test_x11::Hand h(server->name, window);
        h.click(clearAll->rect.centreX(), clearAll->rect.centreY());
        asked = h.waitFor(alertX, alertY, sheetGrey);
        h.key(XK_Escape);
        answered = h.waitFor(alertX, alertY, sheetGrey, false);
        // The notes are looked at before the next click.
        for (int i = 0; i < 500 && !checked; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const KeyCode shift = XKeysymToKeycode(h.display, XK_Shift_L);
        XTestFakeKeyEvent(h.display, shift, True, 0);
        h.click(clearAll->rect.centreX(), clearAll->rect.centreY());
        XTestFakeKeyEvent(h.display, shift, False, 0);
        XFlush(h.display);
        askedWithShift = h.waitFor(alertX, alertY, sheetGrey);
        if (askedWithShift) h.key(XK_Escape);
        done = true;
    });
    const auto end = std::chrono::steady_clock::now() + 4 * kPatience;
    bool keptAfterNo = false;
    while (!done && std::chrono::steady_clock::now() < end) {
        pump(10);
        if (answered && !checked) {
            keptAfterNo = data->getTrackedFrame(200, &f) == kResultOk && f.outputPeriod > 0.0f;
            checked = true;
        }
    }
    hand.join();
    EXPECT_TRUE(asked && answered && keptAfterNo) << asked << answered << keptAfterNo;
    EXPECT_FALSE(askedWithShift);
    EXPECT_TRUE(pumpUntil([&] { return data->getTrackedFrame(200, &f) == kResultOk && f.outputPeriod == 0.0f; }));
    render(instance, std::vector<float>(size_t(block), 0.0f));
    EXPECT_LT(data->getTrackedFrameCount(), 200);
    moveTo(1190, 890);
    view->removed();
    view->setFrame(nullptr);
}

// A session whose data folder went away: pressing "Track Pitch and Time"
// asks before the old take is abandoned. Escape keeps it (tracking stays
// off, the files still missing); OK forgets it and tracking starts.
TEST_F(GraphEditorX11, TrackingOverMissingFilesAsksBeforeTheTakeIsAbandoned)
{
    PluginInstance plugin;
    ASSERT_TRUE(plugin.ok()) << plugin.error;
    hostlib::Instance& instance = *plugin.instance;
    ASSERT_TRUE(instance.set_channels(1, 1) && instance.setup(rate, block, true) && instance.activate(true));
    ICorvaneTrackedData* data = test_tracking::startTracking(instance, folder + "/lost", true);
    ASSERT_NE(data, nullptr);
    ASSERT_FALSE(render(instance, test_signals::sine(size_t(rate), 220.0, rate, 0.3, 0.0)).empty());
    data->clickControl(corvane::kTrackPitchAndTime, 0.0);
    data->waitForDisk();
    Steinberg::MemoryStream state;
    ASSERT_EQ(instance.component()->getState(&state), kResultOk);
    std::filesystem::remove_all(folder + "/moved");
    ASSERT_EQ(std::rename((folder + "/lost").c_str(), (folder + "/moved").c_str()), 0);
    state.seek(0, IBStream::kIBSeekSet, nullptr);
    ASSERT_EQ(instance.component()->setState(&state), kResultOk);
    const auto missing = [&] { return data->getStoreStatus(nullptr, nullptr) != 0; };
    ASSERT_TRUE(missing());

    Held<IPlugView> view = attach(plugin);
    ASSERT_TRUE(view);
    const UiView* track = layout().find("TrackPitchAndTimeButton");
    ASSERT_TRUE(track);
    pump(200);
    IEditController* controller = instance.controller();
    const auto tracking = [&] { return controller->getParamNormalized(corvane::kTrackPitchAndTime) > 0.5; };

    const int alertX = (850 - 460) / 2 + 4, alertY = 60;
    const uint32_t sheetGrey = 0xececec;
    std::atomic<bool> done{false}, answered{false}, checked{false};
    bool askedFirst = false, askedAgain = false, trackingAfterNo = true, missingAfterNo = false;
    std::thread hand([&] {
        test_x11::Hand h(server->name, window);
        h.click(track->rect.centreX(), track->rect.centreY());
        askedFirst = h.waitFor(alertX, alertY, sheetGrey);
        h.key(XK_Escape);
        answered = h.waitFor(alertX, alertY, sheetGrey, false);
        for (int i = 0; i < 500 && !checked; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        h.click(track->rect.centreX(), track->rect.centreY());
        askedAgain = h.waitFor(alertX, alertY, sheetGrey);
        h.key(XK_Return);
        h.waitFor(alertX, alertY, sheetGrey, false);
        done = true;
    });
    const auto end = std::chrono::steady_clock::now() + 4 * kPatience;
    while (!done && std::chrono::steady_clock::now() < end) {
        pump(10);
        if (answered && !checked) {
            pump(100);
            trackingAfterNo = tracking();
            missingAfterNo = missing();
            checked = true;
        }
    }
    hand.join();
    EXPECT_TRUE(askedFirst && askedAgain);
    EXPECT_FALSE(trackingAfterNo);
    EXPECT_TRUE(missingAfterNo);
    EXPECT_TRUE(pumpUntil([&] { return tracking() && !missing(); }));
    moveTo(1190, 890);
    view->removed();
    view->setFrame(nullptr);
}
