#include "graph/model/ObjectEditor.h"
#include "graph/model/TimeHistory.h"
#include "graph/model/TrackedFrameArray.h"
#include "graph/views/Corvane_EnvelopeGraphView.h"
#include "graph/views/Corvane_MainGraphView.h"
#include "graph/views/Corvane_TimeEditTarget.h"
#include "Common_VST3/utilities.h"
#include "support/picture.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace VSTGUI;

namespace {

constexpr int viewWidth = 400, viewHeight = 200, stripHeight = 40;
constexpr double rate = 44100.0;
constexpr int64_t frameSamples = 200;
// Engine samples per frame: 200 host samples at a decimation of 2.
constexpr double scale = 100.0;

// The effect's side of time editing: a history, and the map the engine
// would play.
struct TimeOwner : Corvane_TimeEditTarget {
    TimeHistory history;
    TimeMap shown;
    double takeEnd;  // engine samples
    bool hasMap = true;
    int commits = 0, previews = 0;

    explicit TimeOwner(double takeFrames) : takeEnd(takeFrames * scale) { shown = history.mapInForce(0, takeEnd); }
    const TimeMap* mapInForce() override { return hasMap ? &shown : nullptr; }
    double samplesPerFrameScale() override { return scale; }
    void previewMap(const TimeMap& map) override
    {
        ++previews;
        shown = map;
    }
    void commitMap(const TimeMap& map) override
    {
        ++commits;
        history.pushStep(map);
        shown = history.mapInForce(0, takeEnd);
    }
    // Where source frame `frame` plays, in frames.
    double outputOf(double frame) const { return shown.mapForView(frame * scale) / scale; }
};

// 2000 frames sung at 900 cents but 1100 cents over frames 200..249, the
// only ones with sound. The pitch graph at 4 cents a pixel from 1300 cents
// on row 0 (900 cents on row 100, 1100 on row 50) and a frame a column; the
// envelope strip below it, linked.
struct Graph {
    TrackedFrameArray frames;
    ObjectEditor editor;
    TimeOwner owner;
    Corvane_MainGraphView view{CRect(0, 0, viewWidth, viewHeight)};
    Corvane_EnvelopeGraphView strip{CRect(0, 0, viewWidth, stripHeight)};

    explicit Graph(double takeFrames = 2000) : owner(takeFrames)
    {
        frames.allocate(2000);
        for (int64_t i = 0; i < 2000; ++i) {
            TrackedFrame f;
            const bool high = i >= 200 && i < 250;
            f.minSample = high ? -0.25f : 0.0f;
            f.maxSample = high ? 0.25f : 0.0f;
            const float cents = high ? 1100.0f : 900.0f;
            f.periodA = f.periodB = Cents_ToPeriod(cents, float(rate));
            f.centsA = f.centsB = int32_t(cents);
            frames.putAll(i, f);
        }
        frames.extendTracked(2000);
        editor.attach(&frames);
        editor.setRates(rate, double(frameSamples));
        view.setZoom({1, 4});
        view.setFrames(&frames, frameSamples, rate);
        view.setScrollOffset({0, 2300});
        view.setObjects(&editor, [] { return NewObjectSettings(); });
        strip.setFrames(&frames, frameSamples, rate);
        strip.setMainView(&view);
        view.setFollowers(&strip, nullptr);
        view.setTimeEditing(&owner);
        view.setTimeControlOn(true);
    }
    void press(double x) { CPoint p(x, 100); view.onMouseDown(p, CButtonState(kLButton)); }
    void move(double x) { CPoint p(x, 100); view.onMouseMoved(p, CButtonState(kLButton)); }
    void release(double x) { CPoint p(x, 100); view.onMouseUp(p, CButtonState(kLButton)); }
    void drag(double from, double to)
    {
        press(from);
        move((from + to) / 2);
        move(to);
        release(to);
    }
};

uint32_t pixelOf(COffscreenContext* o, int x, int y)
{
    return test_panel::surfacePixel(o->getBitmap()->getCairoSurface(), x, y);
}

using test_panel::nearColour;

// The rightmost column of the overlay's dark pixels in the graph's bottom
// rows, where the limit message stands; -1 when there are none.
int messageRight(Corvane_MainGraphView& view)
{
    auto overlay = owned(COffscreenContext::create(nullptr, viewWidth, viewHeight));
    overlay->beginDraw();
    overlay->setFillColor(CColor(255, 255, 255, 255));
    overlay->drawRect(CRect(0, 0, viewWidth, viewHeight), kDrawFilled);
    view.drawOverlay(overlay);
    overlay->endDraw();
    int right = -1;
    for (int y = viewHeight - 16; y < viewHeight; ++y)
        for (int x = 0; x < viewWidth; ++x)
            if (nearColour(pixelOf(overlay, x, y), 0x000000)) right = std::max(right, x);
    return right;
}

} // namespace

// With the time region 100..300 selected by a drag over the take, a drag
// inside it moves the point pressed; the region's ends hold, and each side
// is stretched or squeezed evenly: the midpoint of each side plays at the
// midpoint of its new span. Past a limit the point holds at it (a side at a
// quarter of its length, or four times it) and the limit is named; a drag
// that comes back commits nothing.
TEST(TimeTools, MovePointStretchesAndSqueezesBetweenTheRegionsEnds)
{
    const struct {
        const char* what;
        double point, to, comeBack;  // comeBack < 0: released at `to`
        double lands;                // where the point plays after the release
        int limit;
    } cases[] = {
        {"stretch 1.5 and squeeze 0.5", 200, 250, -1, 250, 0},
        {"the left side squeezed to a quarter", 200, 110, -1, 125, timeLimits::compressionLimit},
        {"the right side squeezed to a quarter", 200, 295, -1, 275, timeLimits::compressionLimit},
        {"the left side stretched four times", 120, 250, -1, 180, timeLimits::stretchLimit},
        {"there and back", 200, 250, 200, 200, 0},
    };
    int stretchRight = -1, compressionRight = -1;
    for (const auto& c : cases) {
        Graph g;
        g.view.setTool(Corvane_GraphView::toolMovePoint);
        g.drag(100, 300);
        ASSERT_EQ(g.view.getTimeRegionStart(), 100) << c.what;
        ASSERT_EQ(g.view.getTimeRegionEnd(), 300) << c.what;
        ASSERT_EQ(g.owner.commits, 0) << "selecting is no edit";
        g.press(c.point);
        g.move((c.point + c.to) / 2);
        g.move(c.to);
        EXPECT_EQ(g.view.getLimitMessage(), c.limit) << c.what;
        const int right = messageRight(g.view);
        if (c.limit == timeLimits::stretchLimit) stretchRight = right;
        if (c.limit == timeLimits::compressionLimit) compressionRight = right;
        if (c.limit == 0) {
            EXPECT_EQ(right, -1) << c.what;
        }
        if (c.comeBack >= 0) g.move(c.comeBack);
        g.release(c.comeBack >= 0 ? c.comeBack : c.to);
        EXPECT_EQ(g.view.getLimitMessage(), 0) << c.what;
        EXPECT_EQ(g.owner.commits, c.comeBack >= 0 ? 0 : 1) << c.what;
        EXPECT_DOUBLE_EQ(g.owner.outputOf(c.point), c.lands) << c.what;
        for (double anchor : {100.0, 300.0, 50.0, 1000.0}) EXPECT_DOUBLE_EQ(g.owner.outputOf(anchor), anchor) << c.what;
        EXPECT_DOUBLE_EQ(g.owner.outputOf((100 + c.point) / 2), (100 + c.lands) / 2) << c.what;
        EXPECT_DOUBLE_EQ(g.owner.outputOf((c.point + 300) / 2), (c.lands + 300) / 2) << c.what;
    }
    // The two messages are drawn, the compression limit's the longer text.
    EXPECT_GT(stretchRight, 2);
    EXPECT_GT(compressionRight, stretchRight);
}

// Move Region: the time region 100..300, the move region 180..220 selected
// inside it, then moved whole; the sides 100..180 and 220..300 take up the
// difference evenly, and the move region stays on what it moved. Moved left
// by 80 the left side would shrink below a quarter: it holds at 20 frames.
TEST(TimeTools, MoveRegionShiftsTheRegionAndBothSidesTakeUpTheDifference)
{
    const struct {
        double to;      // where the press at 200 is released
        double starts;  // where the region's start plays then
        int limit;
    } cases[] = {{230, 210, 0}, {120, 120, timeLimits::compressionLimit}};
    for (const auto& c : cases) {
        Graph g;
        g.view.setTool(Corvane_GraphView::toolMoveRegion);
        g.drag(100, 300);
        g.drag(180, 220);
        ASSERT_EQ(g.view.getMoveRegionStart(), 180);
        ASSERT_EQ(g.view.getMoveRegionEnd(), 220);
        g.press(200);
        g.move(c.to);
        EXPECT_EQ(g.view.getLimitMessage(), c.limit) << c.to;
        g.release(c.to);
        EXPECT_EQ(g.owner.commits, 1) << c.to;
        const double shift = c.starts - 180;
        EXPECT_DOUBLE_EQ(g.owner.outputOf(180), 180 + shift) << c.to;
        EXPECT_DOUBLE_EQ(g.owner.outputOf(220), 220 + shift) << c.to;
        EXPECT_DOUBLE_EQ(g.owner.outputOf(200), 200 + shift) << "the region is not stretched";
        EXPECT_DOUBLE_EQ(g.owner.outputOf(100), 100) << c.to;
        EXPECT_DOUBLE_EQ(g.owner.outputOf(300), 300) << c.to;
        EXPECT_DOUBLE_EQ(g.owner.outputOf(140), 100 + (80 + shift) / 2) << c.to;
        EXPECT_DOUBLE_EQ(g.owner.outputOf(260), 300 - (80 - shift) / 2) << c.to;
        EXPECT_EQ(g.view.getMoveRegionStart(), int64_t(180 + shift)) << c.to;
        EXPECT_EQ(g.view.getMoveRegionEnd(), int64_t(220 + shift)) << c.to;
    }
}

// The cursor of the time tools over the regions, the take and beyond it;
// without the switch or without a map the tools do nothing and refuse.
TEST(TimeTools, TheCursorSaysWhatADragWouldDoAndNothingActsWithoutTimeControl)
{
    const uint32_t custom = Corvane_GraphView::customCursorKind, refused = kCursorNotAllowed;
    const struct {
        int32_t tool;
        double x;
        uint32_t kind, id;
    } cursors[] = {
        {Corvane_GraphView::toolMovePoint, 200, custom, 9012}, {Corvane_GraphView::toolMovePoint, 50, custom, 9010},
        {Corvane_GraphView::toolMovePoint, 380, refused, 0},   {Corvane_GraphView::toolMoveRegion, 200, custom, 9013},
        {Corvane_GraphView::toolMoveRegion, 150, custom, 9012}, {Corvane_GraphView::toolMoveRegion, 50, custom, 9010},
    };
    Graph g(350);  // the take plays up to frame 350
    g.view.setTimeRegions(100, 300, 180, 220);
    for (const auto& c : cursors) {
        g.view.setTool(c.tool);
        uint32_t kind = 99, id = 99;
        g.view.getCursorAt(CPoint(c.x, 100), CButtonState(), kind, id);
        EXPECT_EQ(kind, c.kind) << c.tool << " at " << c.x;
        EXPECT_EQ(id, c.id) << c.tool << " at " << c.x;
    }
    for (int32_t tool : {Corvane_GraphView::toolMovePoint, Corvane_GraphView::toolMoveRegion}) {
        for (bool switchOn : {false, true}) {
            Graph off;
            off.view.setTimeControlOn(switchOn);
            off.owner.hasMap = switchOn ? false : true;
            off.view.setTool(tool);
            uint32_t kind = 99, id = 99;
            off.view.getCursorAt(CPoint(200, 100), CButtonState(), kind, id);
            EXPECT_EQ(kind, refused);
            off.drag(100, 300);
            off.drag(200, 250);
            EXPECT_EQ(off.view.getTimeRegionEnd(), 0) << tool;
            EXPECT_EQ(off.owner.previews + off.owner.commits, 0) << tool;
        }
    }
}

// A map that plays source frames from 100 on 50 frames later (frames 0..100
// stretched 1.5 times): the phrase at 1100 cents, frames 200..249, is drawn
// at columns 250..299 of the graph and of the strip's upper lane, while the
// strip's lower lane keeps it at 200..249; a note over frames 300..340 at
// 700 cents (rows 138..162, the output curve on row 150) has its start
// edge at column 350, where the pointer finds it. Off, everything is where
// tracked.
TEST(TimeTools, ThePitchObjectsAndEnvelopeAreDrawnThroughTheMap)
{
    Graph g;
    g.owner.shown = *TimeMap::fromBreakpoints({0, 100 * scale, 2000 * scale}, {0, 150 * scale, 2050 * scale});
    ObjectList note;
    note.records.resize(2);
    note.records[0].kind = KindNote;
    note.records[1].kind = KindEnd;
    note.records[0].position = 300;
    note.records[1].position = 340;
    note.records[0].pitch = note.records[1].pitch = 700;
    g.editor.commit(std::move(note));
    const uint32_t red = 0xff0000, wave = 0x507070;
    for (bool on : {true, false}) {
        g.view.setTimeControlOn(on);
        g.view.timeMapChanged();
        // Clear of the ruler's ticks (every 110 frames) and labels (rows 0..12).
        const int mapped = 280, tracked = 230;
        EXPECT_EQ(nearColour(pixelOf(g.view.getOffscreen(), mapped, 50), red), on) << on;
        EXPECT_EQ(nearColour(pixelOf(g.view.getOffscreen(), tracked, 50), red), !on) << on;
        const int edge = on ? 350 : 300, elsewhere = on ? 300 : 350;
        // The edge's dark blue, smoothed over two columns, against the
        // note's pale fill and the white ground: red well below either.
        auto dark = [&](int x) { return (pixelOf(g.view.getOffscreen(), x, 145) >> 16) < 0xa0; };
        EXPECT_TRUE(dark(edge) && dark(edge + 1)) << on;
        EXPECT_FALSE(dark(elsewhere) || dark(elsewhere + 1)) << on;
        size_t index = 9;
        EXPECT_EQ(g.view.hitTest(g.editor.currentList(), edge + 1, 150, index), Corvane_MainGraphView::hitNoteStart);
        EXPECT_EQ(g.view.hitTest(g.editor.currentList(), elsewhere + 1, 150, index), Corvane_MainGraphView::hitNone);
        // Upper lane: rows 10 +- 4; lower lane: 30 +- 4; one lane: 20 +- 8.
        COffscreenContext* strip = g.strip.getOffscreen();
        if (on) {
            EXPECT_TRUE(nearColour(pixelOf(strip, mapped, 13), wave)) << std::hex << pixelOf(strip, mapped, 13);
            EXPECT_FALSE(nearColour(pixelOf(strip, tracked, 13), wave));
            EXPECT_TRUE(nearColour(pixelOf(strip, tracked, 33), wave));
            EXPECT_FALSE(nearColour(pixelOf(strip, mapped, 33), wave));
        } else {
            EXPECT_TRUE(nearColour(pixelOf(strip, tracked, 14), wave));
            EXPECT_FALSE(nearColour(pixelOf(strip, mapped, 14), wave));
        }
    }
}
