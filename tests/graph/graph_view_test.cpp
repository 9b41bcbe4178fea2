#include "graph/model/TrackedFrameArray.h"
#include "graph/views/Corvane_GraphView.h"
#include "vstgui/lib/cframe.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <algorithm>
#include <vector>

using namespace VSTGUI;

namespace {

constexpr int viewWidth = 300, viewHeight = 120;

// 4000 frames of a gliding, wobbling pitch with unvoiced gaps every 450
// frames, and a bar of four beats every 100 frames.
void fillFrames(TrackedFrameArray& frames)
{
    frames.allocate(4000);
    for (int64_t i = 0; i < 4000; ++i) {
        TrackedFrame f;
        f.minSample = -0.5f;
        f.maxSample = 0.5f;
        if (i % 450 >= 40) {
            const double cents = 900 + 0.5 * double(i) + 300 * std::sin(double(i) / 17.0);
            f.centsA = int32_t(cents);
            f.centsB = int32_t(cents) + int32_t(i % 5);
            f.periodA = 100.f;
            f.periodB = 100.f;
        }
        frames.putAll(i, f);
        if (i % 25 == 0) frames.putBarBeat(i, int32_t(i / 100) + 1, uint8_t(i % 100 / 25 + 1));
    }
    frames.extendTracked(4000);
}

// A graph view that notes the columns it was asked to draw.
struct RecordingView : Corvane_GraphView {
    RecordingView() : Corvane_GraphView(CRect(0, 0, viewWidth, viewHeight)) {}
    void drawContent(CDrawContext* c, int32_t left, int32_t right) override
    {
        drawn.push_back({left, right});
        Corvane_GraphView::drawContent(c, left, right);
    }
    std::vector<std::pair<int32_t, int32_t>> drawn;
    using Corvane_GraphView::overlayOffscreen;
};

// The view's picture as it stands, pixel by pixel.
std::vector<uint32_t> pictureOf(Corvane_GraphView& view)
{
    COffscreenContext* o = view.getOffscreen();
    cairo_surface_t* s = o->getBitmap()->getCairoSurface();
    cairo_surface_flush(s);
    const int w = cairo_image_surface_get_width(s), h = cairo_image_surface_get_height(s);
    const int stride = cairo_image_surface_get_stride(s);
    std::vector<uint32_t> pixels(size_t(w) * size_t(h));
    for (int y = 0; y < h; ++y)
        std::memcpy(&pixels[size_t(y) * size_t(w)], cairo_image_surface_get_data(s) + y * stride, size_t(w) * 4);
    return pixels;
}

// How many pixels differ, and where.
std::string diffOf(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b)
{
    int n = 0, x0 = 1 << 30, x1 = -1, y0 = 1 << 30, y1 = -1;
    for (size_t i = 0; i < a.size() && i < b.size(); ++i)
        if (a[i] != b[i]) {
            ++n;
            const int x = int(i % viewWidth), y = int(i / viewWidth);
            x0 = std::min(x0, x); x1 = std::max(x1, x); y0 = std::min(y0, y); y1 = std::max(y1, y);
        }
    return std::to_string(n) + " differ in x " + std::to_string(x0) + ".." + std::to_string(x1) + " y " +
           std::to_string(y0) + ".." + std::to_string(y1);
}

// A fresh view of the same frames drawn whole at the offset and zoom.
std::vector<uint32_t> fullRedraw(TrackedFrameArray& frames, const VSTGUI4_DocPair& zoom, const VSTGUI4_DocPair& offset,
                                 bool barsAndBeats)
{
    Corvane_GraphView view(CRect(0, 0, viewWidth, viewHeight));
    view.setZoom(zoom);
    view.setFrames(&frames, 10, 1000.0);
    view.setShowingBarsAndBeats(barsAndBeats);
    view.setScrollOffset(offset);
    view.refresh(false, false, false);
    return pictureOf(view);
}

TEST(GraphView, ScrollingByCopyGivesThePictureOfAFullRedraw)
{
    TrackedFrameArray frames;
    fillFrames(frames);
    struct Step {
        char direction;  // r, l, u, d
        int32_t count;
    };
    struct Case {
        const char* what;
        double zoomX, zoomY;
        bool barsAndBeats;
        std::vector<Step> steps;
    };
    const Case cases[] = {
        {"one pixel right", 1, 16, false, {{'r', 1}}},
        {"a series right and left", 1, 16, false, {{'r', 7}, {'r', 1}, {'l', 3}, {'r', 99}, {'l', 13}, {'r', 40}}},
        {"zoomed out, right and left", 3, 16, false, {{'r', 5}, {'r', 11}, {'l', 2}, {'r', 60}}},
        {"down and up", 2, 8, false, {{'d', 4}, {'d', 9}, {'u', 3}, {'r', 17}}},
        {"to the right edge", 4, 16, false, {{'r', 90}, {'r', 90}}},
        {"bars and beats", 1, 16, true, {{'r', 6}, {'r', 19}, {'l', 5}}},
    };
    for (const Case& c : cases) {
        RecordingView view;
        view.setZoom({c.zoomX, c.zoomY});
        view.setFrames(&frames, 10, 1000.0);
        view.setShowingBarsAndBeats(c.barsAndBeats);
        view.setScrollOffset({0, 1200});
        view.setScrollByCopy(true);
        view.refresh(false, false, false);
        for (const Step& s : c.steps) {
            view.drawn.clear();
            int32_t moved = 0;
            switch (s.direction) {
                case 'r': moved = view.scrollRight(s.count); break;
                case 'l': moved = view.scrollLeft(s.count); break;
                case 'd': moved = view.scrollDown(s.count); break;
                default: moved = view.scrollUp(s.count); break;
            }
            // Small scrolls draw only the strip that came into sight.
            if (moved > 0 && moved <= viewWidth / 3 && (s.direction == 'r' || s.direction == 'l')) {
                ASSERT_EQ(view.drawn.size(), 1u) << c.what;
                EXPECT_EQ(view.drawn[0].second - view.drawn[0].first, moved) << c.what;
            }
        }
        EXPECT_TRUE(pictureOf(view) == fullRedraw(frames, view.getZoom(), view.getScrollOffset(), c.barsAndBeats))
            << diffOf(pictureOf(view), fullRedraw(frames, view.getZoom(), view.getScrollOffset(), c.barsAndBeats)) << c.what << " at offset " << view.getScrollOffset().x << ", " << view.getScrollOffset().y;
    }
}

TEST(GraphView, ChangedFramesAreDrawnAgainInTheirColumnsOnly)
{
    TrackedFrameArray frames;
    fillFrames(frames);
    RecordingView view;
    view.setZoom({2, 16});
    view.setFrames(&frames, 10, 1000.0);
    view.setScrollOffset({100, 1200});
    view.refresh(false, false, false);
    int64_t low, high;
    frames.takeDirty(low, high);
    // The tracker rewrites frames 300..339: columns 100..119 at zoom 2.
    for (int64_t i = 300; i < 340; ++i) {
        TrackedFrame f = frames.get(i);
        f.centsA = f.centsB = 2000;
        frames.putTracked(i, f);
        frames.markDirty(i);
    }
    view.drawn.clear();
    EXPECT_TRUE(view.takeChangedFrames());
    ASSERT_EQ(view.drawn.size(), 1u);
    EXPECT_LE(view.drawn[0].first, 100);
    EXPECT_GE(view.drawn[0].second, 120);
    EXPECT_LE(view.drawn[0].second - view.drawn[0].first, 24);
    EXPECT_TRUE(pictureOf(view) == fullRedraw(frames, view.getZoom(), view.getScrollOffset(), false))
        << diffOf(pictureOf(view), fullRedraw(frames, view.getZoom(), view.getScrollOffset(), false));
    view.drawn.clear();
    EXPECT_FALSE(view.takeChangedFrames());
    EXPECT_TRUE(view.drawn.empty());
}

TEST(GraphView, ARubberBandDrawsOverTheStillPictureAndLeavesItWhole)
{
    TrackedFrameArray frames;
    fillFrames(frames);
    RecordingView view;
    view.setZoom({4, 16});
    view.setFrames(&frames, 10, 1000.0);
    view.setTool(Corvane_GraphView::toolZoom);
    const std::vector<uint32_t> still = pictureOf(view);
    CPoint p(20, 20);
    view.onMouseDown(p, kLButton);
    view.drawn.clear();
    CPoint q(80, 60);
    view.onMouseMoved(q, kLButton);
    const std::vector<uint32_t> withBand = pictureOf(view);
    EXPECT_FALSE(withBand == still);
    EXPECT_TRUE(view.drawn.empty()) << "a band never draws the frames";
    // The band's corner is black; the snapshot under it is the still picture.
    const size_t corner = size_t(59) * viewWidth + 79;
    EXPECT_EQ(withBand[corner] & 0xffffff, 0u);
    // A move with the middle button held is no drag.
    CPoint r(120, 90);
    view.onMouseMoved(r, kLButton | kMButton);
    EXPECT_TRUE(pictureOf(view) == withBand);
    // A smaller band: the first one is gone.
    CPoint s(30, 30);
    view.onMouseMoved(s, kLButton);
    const std::vector<uint32_t> smaller = pictureOf(view);
    EXPECT_EQ(smaller[corner], still[corner]);
    EXPECT_TRUE(view.drawn.empty());
    // Letting go zooms in about the band: 4 units a pixel become 2.
    view.onMouseUp(s, kLButton);
    EXPECT_EQ(view.getZoom().x, 2);
    EXPECT_EQ(view.overlayOffscreen, nullptr);
}

TEST(GraphView, TheRulerTicksAtClockTimeOrAtBars)
{
    // 1000 samples a second, 10 a frame: 100 frames a second. The view spans
    // 300 frames, 3 s: steps of 500 ms times the first of 1, 2, 4 ... not
    // below 3000 / 5 / 500 = 1.2, so a tick every second, at 100 and 200
    // (0 ms is skipped). In bars and beats a tick per beat, 25 frames apart
    // from the first beat at frame 0.
    TrackedFrameArray frames;
    frames.allocate(4000);
    for (int64_t i = 0; i < 4000; i += 25) frames.putBarBeat(i, int32_t(i / 100) + 1, uint8_t(i % 100 / 25 + 1));
    for (bool bars : {false, true}) {
        Corvane_GraphView view(CRect(0, 0, viewWidth, viewHeight));
        view.setFrames(&frames, 10, 1000.0);
        view.setShowingBarsAndBeats(bars);
        view.setScrollOffset({0, 0});
        view.refresh(false, false, false);
        const std::vector<uint32_t> picture = pictureOf(view);
        std::vector<int> ticks;
        for (int x = 0; x < viewWidth; ++x)
            if ((picture[size_t(viewHeight - 1) * viewWidth + size_t(x)] & 0xffffff) == 0x808080) ticks.push_back(x);
        std::vector<int> expected;
        for (int x = bars ? 0 : 100; x < viewWidth; x += bars ? 25 : 100) expected.push_back(x);
        EXPECT_EQ(ticks, expected) << (bars ? "bars and beats" : "clock time");
    }
}

TEST(GraphView, TheCursorFollowsTheToolThePlayAndTheUsersChoice)
{
    struct Case {
        int32_t tool;
        bool playing;
        int32_t buttons;
        uint32_t kind, id;
    };
    const uint32_t custom = Corvane_GraphView::customCursorKind;
    const Case cases[] = {
        {Corvane_GraphView::toolDrawLines, false, 0, custom, 9000},
        {Corvane_GraphView::toolScissors, false, 0, custom, 9006},
        {Corvane_GraphView::toolZoom, false, 0, custom, 9008},
        {Corvane_GraphView::toolZoom, false, kAlt, custom, 9009},
        {Corvane_GraphView::toolIBeam, false, 0, custom, 9010},
        {Corvane_GraphView::toolHandScroll, false, 0, kCursorHand, 0},
        {Corvane_GraphView::toolMovePoint, false, 0, kCursorNotAllowed, 0},
        {Corvane_GraphView::toolZoom, true, 0, kCursorNotAllowed, 0},
        {Corvane_GraphView::toolHandScroll, true, 0, kCursorHand, 0},
    };
    for (const Case& c : cases) {
        Corvane_GraphView view(CRect(0, 0, viewWidth, viewHeight));
        view.setTool(c.tool);
        view.followPlayhead(0, c.playing, false);
        uint32_t kind = 99, id = 99;
        view.getCursorAt(CPoint(10, 10), c.buttons, kind, id);
        EXPECT_EQ(kind, c.kind) << "tool " << c.tool;
        EXPECT_EQ(id, c.id) << "tool " << c.tool;
    }
    // Custom cursors off: the frame shows the system's stand-in (an I-beam
    // for the I-beam tool); on but without pictures, the default cursor.
    auto frame = owned(new CFrame(CRect(0, 0, 400, 200), nullptr));
    auto* view = new Corvane_GraphView(CRect(0, 0, viewWidth, viewHeight));
    frame->addView(view);
    view->setTool(Corvane_GraphView::toolIBeam);
    view->setCursors(nullptr, false);
    view->setCursor(CPoint(10, 10), 0, true);
    EXPECT_EQ(frame->getCursor(), kCursorIBeam);
    view->setCursors(nullptr, true);
    view->setCursor(CPoint(10, 10), 0, true);
    EXPECT_EQ(frame->getCursor(), kCursorDefault);
    EXPECT_EQ(view->getLastCursorKind(), 0u);
    frame->removeAll();
}

TEST(GraphView, AutoScrollKeepsThePlayheadInSight)
{
    TrackedFrameArray frames;
    fillFrames(frames);
    struct Case {
        int64_t frame;
        bool autoScroll;
        double offsetAfter;
    };
    // Offset 1000 at zoom 1: frames 1000..1299 in sight. Past 0.8 of the
    // width the playhead comes back to the middle; left of the view too.
    const Case cases[] = {
        {1100, true, 1000},
        {1250, true, 1250 - 150},
        {1250, false, 1000},
        {900, true, 900 - 150},
    };
    for (const Case& c : cases) {
        Corvane_GraphView view(CRect(0, 0, viewWidth, viewHeight));
        view.setFrames(&frames, 10, 1000.0);
        view.setScrollOffset({1000, 0});
        view.followPlayhead(c.frame, true, c.autoScroll);
        EXPECT_EQ(view.getScrollOffset().x, c.offsetAfter) << c.frame;
        EXPECT_EQ(view.getPlayheadFrame(), c.frame);
    }
}

} // namespace
