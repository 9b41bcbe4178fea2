#include "graph/model/ObjectEditor.h"
#include "graph/model/TrackedFrameArray.h"
#include "graph/views/Corvane_EnvelopeGraphView.h"
#include "graph/views/Corvane_GraphContainerView.h"
#include "graph/views/Corvane_KeyboardGraphView.h"
#include "graph/views/Corvane_MainGraphView.h"
#include "Common_VST3/utilities.h"
#include "support/picture.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>
#include <vector>

using namespace VSTGUI;

namespace {

constexpr int viewWidth = 400, viewHeight = 200;
constexpr double rate = 44100.0;
constexpr int64_t frameSamples = 200;

// A take of 2000 frames sung at 900 cents, tracked up to `tracked`.
void fillFrames(TrackedFrameArray& frames, int64_t tracked = 2000)
{
    frames.allocate(2000);
    for (int64_t i = 0; i < tracked; ++i) {
        TrackedFrame f;
        f.minSample = -0.25f;
        f.maxSample = 0.25f;
        f.periodA = f.periodB = Cents_ToPeriod(900.0f, float(rate));
        f.centsA = f.centsB = 900;
        frames.putAll(i, f);
    }
    frames.extendTracked(tracked);
}

// The pitch graph over the frames at 4 cents a pixel: row y shows
// 1300 - 4 y cents (900 cents at row 100) and column x frame x.
struct Graph {
    TrackedFrameArray frames;
    ObjectEditor editor;
    Corvane_MainGraphView view{CRect(0, 0, viewWidth, viewHeight)};

    explicit Graph(int64_t tracked = 2000)
    {
        fillFrames(frames, tracked);
        editor.attach(&frames);
        editor.setRates(rate, double(frameSamples));
        view.setZoom({1, 4});
        view.setFrames(&frames, frameSamples, rate);
        view.setScrollOffset({0, 2300});
        view.setObjects(&editor, [] { return NewObjectSettings(); });
        view.refresh(false, false, false);
    }
    void press(double x, double y, int32_t buttons = kLButton)
    {
        CPoint p(x, y);
        view.onMouseDown(p, CButtonState(buttons));
    }
    void move(double x, double y, int32_t buttons = kLButton)
    {
        CPoint p(x, y);
        view.onMouseMoved(p, CButtonState(buttons));
    }
    void release(double x, double y, int32_t buttons = kLButton)
    {
        CPoint p(x, y);
        view.onMouseUp(p, CButtonState(buttons));
    }
    void drag(double x0, double y0, double x1, double y1, int32_t modifiers = 0)
    {
        press(x0, y0, kLButton | modifiers);
        move((x0 + x1) / 2, (y0 + y1) / 2, kLButton | modifiers);
        move(x1, y1, kLButton | modifiers);
        release(x1, y1, kLButton | modifiers);
    }
    const ObjectList& list() const { return editor.currentList(); }
};

// (kind, position, pitch) of every record.
struct Rec {
    int kind;
    int32_t position;
    int32_t pitch;
    bool operator==(const Rec& o) const { return kind == o.kind && position == o.position && pitch == o.pitch; }
};
std::vector<Rec> recordsOf(const ObjectList& list)
{
    std::vector<Rec> out;
    for (const ObjectRecord& r : list.records) out.push_back(Rec{r.kind, r.position, r.pitch});
    return out;
}
std::string text(const std::vector<Rec>& records)
{
    std::string s;
    for (const Rec& r : records)
        s += "(" + std::to_string(r.kind) + " " + std::to_string(r.position) + " " + std::to_string(r.pitch) + ")";
    return s;
}

uint32_t pixel(Corvane_MainGraphView& view, int x, int y)
{
    return test_panel::surfacePixel(view.getOffscreen()->getBitmap()->getCairoSurface(), x, y);
}

using test_panel::nearColour;

} // namespace

// Each gesture of the drawing tools, with the objects it leaves; those that
// make nothing leave no history step.
TEST(MainGraphView, DrawingToolsMakeTheirObjectsAndNothingFromEmptyGestures)
{
    struct Case {
        const char* what;
        int32_t tool;
        int16_t pitchOffset;
        double offsetY;  // document Y at row 0
        std::vector<std::vector<double>> events;  // {kind, x, y, buttons}: 0 press, 1 move, 2 release
        std::vector<Rec> expected;
    };
    const double dbl = double(kLButton | kDoubleClick), l = double(kLButton), lc = double(kLButton | kControl), none = 0;
    const Case cases[] = {
        {"a line dragged in one gesture", Corvane_GraphView::toolDrawLines, 0, 2300,
         {{0, 50, 100, l}, {1, 100, 90, l}, {1, 150, 75, l}, {2, 150, 75, l}},
         {{KindLineStart, 50, 900}, {KindEnd, 150, 1000}}},
        {"a line of three corners clicked, ended by a double click", Corvane_GraphView::toolDrawLines, 0, 2300,
         {{0, 50, 100, l}, {2, 50, 100, l}, {1, 100, 50, none}, {0, 100, 50, l}, {2, 100, 50, l},
          {1, 200, 100, none}, {0, 200, 100, l}, {2, 200, 100, l}, {0, 200, 100, dbl}},
         {{KindLineStart, 50, 900}, {KindLinePoint, 100, 1100}, {KindEnd, 200, 900}}},
        {"a zero-length line: a double click on the first corner", Corvane_GraphView::toolDrawLines, 0, 2300,
         {{0, 50, 100, l}, {2, 50, 100, l}, {0, 50, 100, dbl}}, {}},
        {"a level line with Control", Corvane_GraphView::toolDrawLines, 0, 2300,
         {{0, 50, 100, l}, {1, 150, 20, lc}, {2, 150, 20, lc}},
         {{KindLineStart, 50, 900}, {KindEnd, 150, 900}}},
        {"a line drawn leftwards reads from left to right", Corvane_GraphView::toolDrawLines, 0, 2300,
         {{0, 150, 100, l}, {1, 50, 75, l}, {2, 50, 75, l}},
         {{KindLineStart, 50, 1000}, {KindEnd, 150, 900}}},
        {"a note, snapped to the semitone", Corvane_GraphView::toolDrawNotes, 0, 2300,
         {{0, 40, 60, l}, {1, 120, 62, l}, {2, 120, 62, l}}, {{KindNote, 40, 1100}, {KindEnd, 120, 1100}}},
        {"a note drawn leftwards", Corvane_GraphView::toolDrawNotes, 0, 2300,
         {{0, 120, 100, l}, {1, 40, 100, l}, {2, 40, 100, l}}, {{KindNote, 40, 900}, {KindEnd, 120, 900}}},
        {"a zero-length note", Corvane_GraphView::toolDrawNotes, 0, 2300, {{0, 40, 100, l}, {2, 40, 100, l}}, {}},
        {"a note at the top of the range, its semitone above it", Corvane_GraphView::toolDrawNotes, 30, 0,
         {{0, 10, 0, l}, {1, 60, 1, l}, {2, 60, 1, l}}, {{KindNote, 10, 3530}, {KindEnd, 60, 3530}}},
        {"a note at the bottom of the range", Corvane_GraphView::toolDrawNotes, -30, 6900,
         {{0, 10, 199, l}, {1, 60, 199, l}, {2, 60, 199, l}}, {{KindNote, 10, -4030}, {KindEnd, 60, -4030}}},
        {"a note dragged past the left edge starts at frame 0", Corvane_GraphView::toolDrawNotes, 0, 2300,
         {{0, 30, 100, l}, {1, -40, 100, l}, {2, -40, 100, l}}, {{KindNote, 0, 900}, {KindEnd, 30, 900}}},
    };
    for (const Case& c : cases) {
        Graph g;
        g.view.setTool(c.tool);
        g.view.setPitchOffset(c.pitchOffset);
        g.view.setScrollOffset({0, c.offsetY});
        g.view.refresh(false, false, false);
        for (const auto& e : c.events) {
            if (e[0] == 0) g.press(e[1], e[2], int32_t(e[3]));
            if (e[0] == 1) g.move(e[1], e[2], int32_t(e[3]));
            if (e[0] == 2) g.release(e[1], e[2], int32_t(e[3]));
        }
        EXPECT_EQ(text(recordsOf(g.list())), text(c.expected)) << c.what;
        EXPECT_EQ(g.editor.getHistory().canUndo(), !c.expected.empty()) << c.what;
        EXPECT_FALSE(g.view.isMouseTracking()) << c.what;
    }
}

// A line whose drag leaves the view: the view scrolls on, and the line
// ends at the frame under the pointer, its first corner where it was.
TEST(MainGraphView, ALineDraggedOutOfTheViewEndsUnderThePointer)
{
    Graph g;
    g.view.setTool(Corvane_GraphView::toolDrawLines);
    g.press(50, 100);
    for (int i = 0; i < 4; ++i) g.move(viewWidth + 100, 100);
    const double offset = g.view.getScrollOffset().x;
    g.release(viewWidth + 100, 100);
    ASSERT_EQ(g.list().count(), 2u);
    EXPECT_EQ(g.list().records[0].position, 50);
    EXPECT_EQ(g.list().records[1].position, int32_t(offset) + viewWidth + 100);

    // A line begun and left for another tool is abandoned: it does not come
    // back with the line tool.
    g.press(50, 100);
    g.release(50, 100);
    g.view.setTool(Corvane_GraphView::toolArrow);
    g.view.setTool(Corvane_GraphView::toolDrawLines);
    EXPECT_EQ(g.view.getLineVertexCount(), 0u);
    EXPECT_FALSE(g.view.isMouseTracking());
}

// The Arrow moves a note up and down only, in time with Alt too, and lands
// on semitones with Shift; a note's edge stretches it; Scissors split
// notes and lines; each is undone in one step.
TEST(MainGraphView, ArrowAndScissorsEditAndUndoRestores)
{
    struct Case {
        const char* what;
        int32_t tool;
        std::vector<double> gesture;  // x0, y0, x1, y1, modifiers; a click when x1 < 0
        std::vector<Rec> expected;
    };
    // The objects: a note of 900 cents over frames 100..200 and a line from
    // 900 cents at 250 to 1100 cents at 350.
    const Case cases[] = {
        {"a note dragged up 22 rows, no Alt: 88 cents, in place", Corvane_GraphView::toolArrow,
         {150, 100, 190, 78, 0},
         {{KindNote, 100, 988}, {KindEnd, 200, 988}, {KindLineStart, 250, 900}, {KindEnd, 350, 1100}}},
        {"with Alt it moves in time too", Corvane_GraphView::toolArrow, {150, 100, 170, 78, kAlt},
         {{KindNote, 120, 988}, {KindEnd, 220, 988}, {KindLineStart, 250, 900}, {KindEnd, 350, 1100}}},
        {"with Shift it lands on a semitone", Corvane_GraphView::toolArrow, {150, 100, 150, 78, kShift},
         {{KindNote, 100, 1000}, {KindEnd, 200, 1000}, {KindLineStart, 250, 900}, {KindEnd, 350, 1100}}},
        {"the end edge stretches the note", Corvane_GraphView::toolArrow, {200, 100, 240, 100, 0},
         {{KindNote, 100, 900}, {KindEnd, 240, 900}, {KindLineStart, 250, 900}, {KindEnd, 350, 1100}}},
        {"the start edge, no shorter than the least note", Corvane_GraphView::toolArrow, {100, 100, 300, 100, 0},
         {{KindNote, 198, 900}, {KindEnd, 200, 900}, {KindLineStart, 250, 900}, {KindEnd, 350, 1100}}},
        {"the line's segment moves the whole line", Corvane_GraphView::toolArrow, {300, 75, 300, 50, 0},
         {{KindNote, 100, 900}, {KindEnd, 200, 900}, {KindLineStart, 250, 1000}, {KindEnd, 350, 1200}}},
        {"scissors split the note", Corvane_GraphView::toolScissors, {150, 100, -1, 0, 0},
         {{KindNote, 100, 900}, {KindEnd, 150, 900}, {KindNote, 151, 900}, {KindEnd, 200, 900},
          {KindLineStart, 250, 900}, {KindEnd, 350, 1100}}},
        {"scissors split the line on its slope", Corvane_GraphView::toolScissors, {300, 75, -1, 0, 0},
         {{KindNote, 100, 900}, {KindEnd, 200, 900}, {KindLineStart, 250, 900}, {KindEnd, 300, 1000},
          {KindLineStart, 301, 1002}, {KindEnd, 350, 1100}}},
        {"scissors on empty ground do nothing", Corvane_GraphView::toolScissors, {225, 100, -1, 0, 0}, {}},
    };
    for (const Case& c : cases) {
        Graph g;
        g.view.setTool(Corvane_GraphView::toolDrawNotes);
        g.drag(100, 100, 200, 100);
        g.view.setTool(Corvane_GraphView::toolDrawLines);
        g.drag(250, 100, 350, 50);
        const std::vector<Rec> before = recordsOf(g.list());
        ASSERT_EQ(before.size(), 4u) << text(before);
        const size_t steps = g.editor.getHistory().stepCount();
        g.view.setTool(c.tool);
        const std::vector<double>& e = c.gesture;
        if (e[2] < 0) {
            g.press(e[0], e[1]);
            g.release(e[0], e[1]);
        } else {
            g.drag(e[0], e[1], e[2], e[3], int32_t(e[4]));
        }
        const std::vector<Rec> expected = c.expected.empty() ? before : c.expected;
        EXPECT_EQ(text(recordsOf(g.list())), text(expected)) << c.what;
        if (c.expected.empty()) {
            EXPECT_EQ(g.editor.getHistory().stepCount(), steps) << c.what;
            continue;
        }
        EXPECT_TRUE(g.editor.undo()) << c.what;
        EXPECT_EQ(text(recordsOf(g.list())), text(before)) << c.what;
    }
}

// Paste is a drag: the copied note follows the pointer and lands where
// the button is released, as one step; Escape during the drag pastes
// nothing; with nothing copied there is no paste to begin.
TEST(MainGraphView, PasteIsADragThatLandsAtTheRelease)
{
    Graph g;
    EXPECT_FALSE(g.view.beginPaste());
    g.view.setTool(Corvane_GraphView::toolDrawNotes);
    g.drag(100, 100, 200, 100);
    ASSERT_TRUE(g.editor.selectAll() && g.editor.copy());
    const size_t steps = g.editor.getHistory().stepCount();

    ASSERT_TRUE(g.view.beginPaste());
    g.press(250, 60);
    g.move(280, 60);
    EXPECT_TRUE(g.view.cancelGesture());
    g.release(280, 60);
    EXPECT_FALSE(g.view.isPasting());
    EXPECT_EQ(g.editor.getHistory().stepCount(), steps);

    ASSERT_TRUE(g.view.beginPaste());
    g.drag(250, 60, 300, 60);
    EXPECT_FALSE(g.view.isPasting());
    EXPECT_EQ(text(recordsOf(g.list())),
              text({{KindNote, 100, 900}, {KindEnd, 200, 900}, {KindNote, 300, 900}, {KindEnd, 400, 900}}));
    EXPECT_EQ(g.editor.getHistory().stepCount(), steps + 1);
}

// Pitch is (1300 - 4 y) cents on row y, so a drag of -22 rows is +88 cents.
// The pass follows the list: with a retune speed of 0 the output of the
// note's frames is the note's pitch, and the picture shows it in green on
// the note's row over the red of the input.
TEST(MainGraphView, TheOutputCurveFollowsAnEditAndTheIBeamSelectsTheTake)
{
    Graph g(1500);
    g.view.setTool(Corvane_GraphView::toolDrawNotes);
    g.drag(100, 75, 200, 75);
    ASSERT_EQ(g.list().count(), 2u);
    const float wanted = Cents_ToPeriod(1000.0f, float(rate));
    EXPECT_NEAR(g.frames.get(150).outputPeriod, wanted, wanted * 1e-4);
    EXPECT_TRUE(nearColour(pixel(g.view, 150, 75), 0x006020u)) << std::hex << pixel(g.view, 150, 75);  // output
    EXPECT_TRUE(nearColour(pixel(g.view, 150, 100), 0xff0000u)) << std::hex << pixel(g.view, 150, 100); // input
    EXPECT_TRUE(g.editor.undo());
    g.view.refresh(false, false, false);
    EXPECT_EQ(g.frames.get(150).outputPeriod, 0.0f);
    EXPECT_FALSE(nearColour(pixel(g.view, 150, 75), 0x006020u));

    // A double click with the I-beam: every tracked frame.
    g.view.setTool(Corvane_GraphView::toolIBeam);
    g.press(30, 100);
    g.release(30, 100);
    g.press(30, 100, kLButton | kDoubleClick);
    g.release(30, 100);
    EXPECT_EQ(g.view.getSelectionStart(), 0);
    EXPECT_EQ(g.view.getSelectionEnd(), 1500);
    // A drag: the frames between press and release.
    g.drag(250, 100, 120, 100);
    EXPECT_EQ(g.view.getSelectionStart(), 120);
    EXPECT_EQ(g.view.getSelectionEnd(), 250);
}

// While the take is still being tracked (200 of 2000 frames), a note over
// the tracked end is kept whole, and the read-outs know only the frames
// tracked so far.
TEST(MainGraphView, ANoteDrawnOverTheTrackedEndOfATakeStillTracking)
{
    Graph g(200);
    g.view.setTool(Corvane_GraphView::toolDrawNotes);
    g.drag(150, 100, 100, 100);  // drawn leftwards
    g.drag(180, 50, 300, 50);
    ASSERT_EQ(text(recordsOf(g.list())),
              text({{KindNote, 100, 900}, {KindEnd, 150, 900}, {KindNote, 180, 1100}, {KindEnd, 300, 1100}}));
    const Corvane_MainGraphView::Readout r = g.view.readoutAt(250, 50);
    EXPECT_FALSE(r.hasInput) << "a frame not yet tracked has no read-out";
    const Corvane_MainGraphView::Readout q = g.view.readoutAt(120, 100);
    EXPECT_TRUE(q.hasInput);
    EXPECT_EQ(q.input, 900);
    EXPECT_TRUE(q.hasTarget);
    EXPECT_EQ(q.target, 900);
}

// With bars and beats shown, the position between two neighbouring beats
// is the earlier beat and the percentage of the way to the next (a frame a
// pixel); beats that are not neighbours, or none in reach, give nothing.
TEST(MainGraphView, TheBarAndBeatReadoutCountsTheWayToTheNextBeat)
{
    Graph g;
    g.view.setShowingBarsAndBeats(true);
    for (auto [frame, bar, beat] : {std::tuple{100, 2, 3}, {150, 2, 4}, {200, 3, 1}, {300, 5, 1}})
        g.frames.putBarBeat(frame, bar, uint8_t(beat));
    const std::pair<int32_t, std::string> cases[] = {
        {100, "2:3"}, {101, "2:3.2"}, {125, "2:3.50"}, {175, "2:4.50"}, {199, "2:4.98"}, {250, ""}, {50, ""},
    };
    for (const auto& [x, expected] : cases) EXPECT_EQ(g.view.readoutAt(x, 100).position, expected) << x;
}

// "Show time position": a black line under the pointer, drawn over the
// picture while no drag is on; off, none.
TEST(MainGraphView, TheTimePositionLineFollowsThePointerWhenShown)
{
    Graph g;
    g.view.setTool(Corvane_GraphView::toolIBeam);
    // The columns of the overlay that are black in the middle row.
    const auto lineColumns = [&] {
        auto overlay = owned(COffscreenContext::create(nullptr, viewWidth, viewHeight));
        overlay->beginDraw();
        overlay->setFillColor(CColor(255, 255, 255, 255));
        overlay->drawRect(CRect(0, 0, viewWidth, viewHeight), kDrawFilled);
        g.view.drawOverlay(overlay);
        overlay->endDraw();
        std::vector<int> columns;
        for (int x = 0; x < viewWidth; ++x)
            if (nearColour(test_panel::surfacePixel(overlay->getBitmap()->getCairoSurface(), x, viewHeight / 2), 0))
                columns.push_back(x);
        return columns;
    };
    g.move(120, 60, 0);
    EXPECT_TRUE(lineColumns().empty());
    g.view.setShowTimePosition(true);
    EXPECT_EQ(lineColumns(), std::vector<int>{120});
    g.move(200, 80, 0);
    EXPECT_EQ(lineColumns(), std::vector<int>{200});
    g.press(200, 80);
    g.move(250, 80);
    EXPECT_TRUE(lineColumns().empty()) << "not during a drag";
    g.release(250, 80);
}

// The container hands a move with no button to the line under
// construction, also off the pitch graph; a left-button drag goes to the
// views as in a plain container.
TEST(GraphContainerView, ALineUnderConstructionFollowsThePointerOffTheGraph)
{
    Graph g;
    auto* page = new Corvane_GraphContainerView(CRect(0, 0, 600, 300));
    g.view.remember();
    g.view.setViewSize(CRect(100, 50, 100 + viewWidth, 50 + viewHeight));
    page->addView(&g.view);
    g.view.setTool(Corvane_GraphView::toolDrawLines);
    CPoint off(50, 100);  // left of the graph
    EXPECT_EQ(page->onMouseMoved(off, CButtonState(0)), kMouseEventNotHandled) << "no main view";
    page->setMainView(&g.view);
    EXPECT_EQ(page->onMouseMoved(off, CButtonState(0)), kMouseEventNotHandled) << "no line begun";
    g.press(150, 150);  // frame 50 at 900 cents
    g.release(150, 150);
    ASSERT_EQ(g.view.getLineVertexCount(), 1u);
    CPoint right(560, 125);  // past the graph's right edge, 1000 cents
    EXPECT_EQ(page->onMouseMoved(right, CButtonState(kLButton)), kMouseEventNotHandled) << "a drag is the views'";
    EXPECT_EQ(page->onMouseMoved(right, CButtonState(0)), kMouseEventHandled);
    g.press(560, 125);
    g.release(560, 125);
    g.press(560, 125, kLButton | kDoubleClick);
    ASSERT_EQ(g.list().count(), 2u);
    EXPECT_EQ(g.list().records[1].pitch, 1000);
    EXPECT_GE(g.list().records[1].position, 399);
    page->removeView(&g.view, false);
    page->forget();
}

// The piano strip's keys: 0 cents is C 3, a pitch takes the nearest note,
// halves away from zero.
TEST(KeyboardGraphView, PitchesNameTheirNoteAndOctave)
{
    const struct {
        int32_t cents, note, octave;
        bool white;
    } cases[] = {{0, 0, 3, true}, {1150, 0, 4, true}, {-50, 11, 2, true}, {149, 1, 3, false},
                 {-1300, 11, 1, true}, {600, 6, 3, false}, {-4100, 7, -1, true}};
    for (const auto& c : cases) {
        int32_t note = -1, octave = -99;
        Corvane_KeyboardGraphView::noteOf(c.cents, note, octave);
        EXPECT_EQ(note, c.note) << c.cents;
        EXPECT_EQ(octave, c.octave) << c.cents;
        EXPECT_EQ(Corvane_KeyboardGraphView::isWhiteKey(note), c.white) << c.cents;
    }
}

// The whole-take strip fits the tracked frames into its width at whole
// frames a pixel; a click brings its frame to the middle of the pitch
// graph, a drag makes the frames dragged over fill it; linked, it takes
// the graph's offset and zoom.
TEST(EnvelopeGraphView, TheWholeTakeStripShowsAndSteersThePitchGraph)
{
    const struct {
        int64_t tracked;
        double zoom;
        int32_t width;
    } fits[] = {{2000, 5, 400}, {1000, 3, 334}, {400, 1, 400}, {150, 1, 150}};
    for (const auto& f : fits) {
        Graph g(f.tracked);
        Corvane_EnvelopeGraphView strip(CRect(0, 0, viewWidth, 40));
        strip.setFrames(&g.frames, frameSamples, rate);
        strip.setLinkedToMain(false);
        strip.setMainView(&g.view);
        EXPECT_EQ(strip.getZoom().x, f.zoom) << f.tracked;
        EXPECT_EQ(strip.getUnlinkedWidth(), f.width) << f.tracked;
    }
    Graph g;
    Corvane_EnvelopeGraphView strip(CRect(0, 0, viewWidth, 40));
    strip.setFrames(&g.frames, frameSamples, rate);
    strip.setLinkedToMain(false);
    strip.setMainView(&g.view);
    g.view.setFollowers(&strip, nullptr);
    g.view.setTool(Corvane_GraphView::toolArrow);
    CPoint p(200, 20), q(200, 20);  // frame 1000
    strip.onMouseDown(p, kLButton);
    strip.onMouseUp(q, kLButton);
    EXPECT_EQ(g.view.getScrollOffset().x, 1000 - viewWidth / 2);
    CPoint a(100, 20), b(260, 20);  // frames 500..1300 fill 400 pixels at 2 frames a pixel
    strip.onMouseDown(a, kLButton);
    strip.onMouseMoved(b, kLButton);
    strip.onMouseUp(b, kLButton);
    EXPECT_EQ(g.view.getZoom().x, 2);
    EXPECT_EQ(g.view.getScrollOffset().x, 500);
    strip.setLinkedToMain(true);
    EXPECT_EQ(strip.getZoom().x, 2);
    EXPECT_EQ(strip.getScrollOffset().x, 500);
}

// MIDI note 69 held over frames 100..199 is outlined a semitone high around
// 900 cents, rows 87 and 112 (1300 - 4 y cents), with "Show MIDI" on only.
TEST(MainGraphView, HeldMidiNotesAreOutlinedOnTheirSemitone)
{
    Graph g;
    for (int64_t i = 100; i < 200; ++i) {
        TrackedFrame f = g.frames.get(i);
        f.midiNote = 69;
        g.frames.putAll(i, f);
    }
    const uint32_t purple = 0x9030a0;
    g.view.refresh(false, false, false);
    EXPECT_FALSE(nearColour(pixel(g.view, 150, 87), purple));
    g.view.setShowMidi(true);
    EXPECT_TRUE(nearColour(pixel(g.view, 150, 87), purple)) << std::hex << pixel(g.view, 150, 87);
    EXPECT_TRUE(nearColour(pixel(g.view, 150, 112), purple)) << std::hex << pixel(g.view, 150, 112);
    EXPECT_TRUE(nearColour(pixel(g.view, 100, 95), purple)) << "the start edge";
    EXPECT_FALSE(nearColour(pixel(g.view, 150, 95), purple)) << "inside the bar";
    EXPECT_FALSE(nearColour(pixel(g.view, 250, 87), purple)) << "after the note";
}

// With lanes, each semitone's band (4 cents a pixel: 1300 - 4 y cents on
// row y) is white for a note of the scale and grey for one outside, darker
// in the I-beam's range.
TEST(MainGraphView, LanesShadeTheNotesOutsideTheScale)
{
    Graph g;
    const bool cMajor[12] = {1, 0, 1, 0, 1, 1, 0, 1, 0, 1, 0, 1};
    g.view.setLanes(true, cMajor);
    const struct {
        int y;
        const char* note;
        uint32_t outside, inside;  // outside and inside the I-beam's range
    } rows[] = {{25, "C at 1200", 0xffffff, 0xa0a0a0}, {50, "B at 1100", 0xffffff, 0xa0a0a0},
                {5, "C# at 1300", 0xd8d8e0, 0x666666}};
    for (const auto& r : rows) EXPECT_EQ(pixel(g.view, 50, r.y), r.outside) << r.note;
    g.view.setSelection(0, 100);
    for (const auto& r : rows) {
        EXPECT_EQ(pixel(g.view, 50, r.y), r.inside) << r.note;
        EXPECT_EQ(pixel(g.view, 150, r.y), r.outside) << r.note;
    }
    g.view.setLanes(true, nullptr);
    EXPECT_EQ(pixel(g.view, 150, 5), 0xffffffu) << "no lanes without a twelve-note scale";
}
