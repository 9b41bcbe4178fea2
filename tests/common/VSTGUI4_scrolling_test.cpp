#include "Common_VST3/VSTGUI4_ScrollableView.h"
#include "Common_VST3/VSTGUI4_Scrollbars.h"
#include "Common_VST3/VSTGUI4_ViewWithMinimumSize.h"

#include <gtest/gtest.h>

using namespace VSTGUI;

namespace {

// A view 100 x 50 pixels over a document, counting full redraws.
struct Scroller : VSTGUI4_ScrollableView {
    Scroller(double docX, double docY, double zoomX, double zoomY) : VSTGUI4_ScrollableView(CRect(0, 0, 100, 50))
    {
        setDocumentSize({docX, docY});
        setZoom({zoomX, zoomY});
    }
    void refresh(bool, bool, bool) override { ++fullRedraws; }
    int fullRedraws = 0;
};

TEST(VSTGUI4Scrolling, ScrollsStopAtTheDocumentsEdgesAndAnswerTheStepsThatFitted)
{
    struct Case {
        const char* what;
        double docX, zoomX, startX;
        bool right;
        int32_t count;
        int32_t steps;   // answered
        double endX;     // scroll offset after
    };
    // View 100 pixels wide: at zoom z it shows 100 z units; the right edge
    // stops at doc - 100 z.
    const Case cases[] = {
        {"right at the right edge", 1000, 1, 900, true, 5, 0, 900},
        {"right past the edge", 1000, 1, 897, true, 10, 3, 900},
        {"right inside", 1000, 1, 10, true, 7, 7, 17},
        {"right by the default step", 1000, 1, 10, true, 0, 1, 11},
        {"right past the edge at zoom 4", 1000, 4, 592, true, 5, 2, 600},
        {"left at the left edge", 1000, 1, 0, false, 5, 0, 0},
        {"left past the edge", 1000, 1, 3, false, 10, 3, 0},
        {"left past the edge at zoom 4", 1000, 4, 8, false, 5, 2, 0},
        {"document narrower than the view, right", 50, 1, 0, true, 5, 0, 0},
        {"document narrower than the view, left", 50, 1, 0, false, 5, 0, 0},
    };
    for (const Case& c : cases) {
        Scroller view(c.docX, 500, c.zoomX, 1);
        view.setScrollOffset({c.startX, 0});
        const int32_t steps = c.right ? view.scrollRight(c.count) : view.scrollLeft(c.count);
        EXPECT_EQ(steps, c.steps) << c.what;
        EXPECT_EQ(view.getScrollOffset().x, c.endX) << c.what;
        if (c.steps == 0) {
            EXPECT_EQ(view.fullRedraws, 0) << c.what << ": nothing drawn";
        }
    }
}

TEST(VSTGUI4Scrolling, MappingTruncatesAndKeepsPixelsIn16Bits)
{
    Scroller view(100000, 8000, 1, 1);
    // Zoom 1, offset 0: the two mappings are inverse.
    for (int32_t p : {0, 1, 57, 99}) EXPECT_EQ(view.docToPixelX(view.pixelToDocX(p)), p);
    view.setZoom({3, 5});
    view.setScrollOffset({10, 20});
    EXPECT_EQ(view.pixelToDocX(7), 7 * 3 + 10);
    EXPECT_EQ(view.pixelToDocY(7), 7 * 5 + 20);
    EXPECT_EQ(view.docToPixelX(10 + 3 * 4 + 2), 4);  // 14/3 truncates
    EXPECT_EQ(view.docToPixelX(10 + 40000 * 3), 30000);
    EXPECT_EQ(view.docToPixelX(10 - 40000 * 3), -30000);
    EXPECT_EQ(view.docToPixelY(20 + 5 * 9), 9);
}

TEST(VSTGUI4Scrolling, VerticalZoomKeepsWholeStepsTheCentreAndTheDocument)
{
    struct Case {
        const char* what;
        double zoomY, offsetY;
        bool in;
        bool answered;
        double zoomAfter, offsetAfter;
    };
    // View 50 pixels high over a document 500 high.
    const Case cases[] = {
        {"in at 1 is refused", 1, 0, true, false, 1, 0},
        // Centre 100 / 2 + 10 = 60, then 50 units shown about it.
        {"in from 2 halves", 2, 10, true, true, 1, 60 - 25},
        // truncate(3.5) / 2 = 1 in whole numbers; centre 150 / 2.
        {"in from 3 gives 1", 3, 0, true, true, 1, 75 - 25},
        // Centre 100 + 300 = 400; 400 units shown would end at 600: pulled back.
        {"out keeps the end of the document", 4, 300, false, true, 8, 100},
        {"out near the top stops at 0", 4, 0, false, true, 8, 0},
        // 50 x 8 = 400 shown; doubling needs 800.
        {"out beyond the document is refused", 8, 0, false, false, 8, 0},
    };
    for (const Case& c : cases) {
        Scroller view(1000, 500, 1, c.zoomY);
        view.setScrollOffset({0, c.offsetY});
        int32_t visible = 0;
        const bool answered = c.in ? view.zoomInVertical(visible) : view.zoomOutVertical(visible);
        EXPECT_EQ(answered, c.answered) << c.what;
        EXPECT_EQ(view.getZoom().y, c.zoomAfter) << c.what;
        EXPECT_EQ(view.getScrollOffset().y, c.offsetAfter) << c.what;
        if (answered) {
            EXPECT_EQ(visible, int32_t(50 * c.zoomAfter)) << c.what;
        }
    }
}

TEST(VSTGUI4Scrolling, TheWheelStepsByItsSignPagesWithAltAndWaitsForADrag)
{
    struct Case {
        CMouseWheelAxis axis;
        float distance;
        int32_t buttons;
        double x, y;  // offset after, from (500, 200)
    };
    // Steps of 1 pixel, pages of width - 1 = 99 and height - 1 = 49.
    const Case cases[] = {
        {kMouseWheelAxisY, -3.f, 0, 500, 201},
        {kMouseWheelAxisY, 0.2f, 0, 500, 199},
        {kMouseWheelAxisY, -1.f, kAlt, 500, 249},
        {kMouseWheelAxisY, -1.f, kMouseWheelInverted, 500, 199},
        {kMouseWheelAxisX, 1.f, 0, 499, 200},
        {kMouseWheelAxisX, -1.f, kAlt, 599, 200},
    };
    for (const Case& c : cases) {
        Scroller view(1000, 500, 1, 1);
        view.setScrollOffset({500, 200});
        EXPECT_TRUE(view.onWheel(CPoint(10, 10), c.axis, c.distance, c.buttons));
        EXPECT_EQ(view.getScrollOffset().x, c.x);
        EXPECT_EQ(view.getScrollOffset().y, c.y);
    }
    // A hand drag is on: the wheel is not taken.
    CPoint press(10, 10);
    struct Dragging : Scroller {
        using Scroller::Scroller;
        void startDrag() { mouseTracking = true; }
    } dragging(1000, 500, 1, 1);
    dragging.startDrag();
    EXPECT_FALSE(dragging.onWheel(press, kMouseWheelAxisY, -1.f, 0));
    EXPECT_EQ(dragging.getScrollOffset().y, 0);
}

TEST(VSTGUI4Scrolling, TheThumbShowsThePartInSightAndThePositionAtTheExtremes)
{
    struct Case {
        const char* what;
        double docX, offsetX;
        double thumbLeft, thumbWidth;
    };
    // Track 200 pixels, thumb at least 20; view 100 pixels at zoom 1.
    const Case cases[] = {
        {"a tenth in sight at the start", 1000, 0, 0, 20},
        {"a tenth in sight at the end", 1000, 900, 180, 20},
        {"half in sight halfway", 200, 50, 50, 100},
        {"a sliver is kept at the minimum", 100000, 99900, 180, 20},
        {"all in sight fills the track", 80, 0, 0, 200},
    };
    for (const Case& c : cases) {
        auto bar = owned(new VSTGUI4_HorizontalScrollbar(CRect(0, 0, 200, 16)));
        auto* thumb = new VSTGUI4_ViewWithMinimumSize(CRect(0, 0, 64, 16));
        thumb->setMinSize(CPoint(20, 16));
        bar->addView(thumb);
        bar->setThumb(thumb);
        Scroller view(c.docX, 50, 1, 1);
        view.setScrollOffset({c.offsetX, 0});
        view.setScrollbars(bar, nullptr);
        EXPECT_EQ(thumb->getViewSize().left, c.thumbLeft) << c.what;
        EXPECT_EQ(thumb->getViewSize().getWidth(), c.thumbWidth) << c.what;
        view.setScrollbars(nullptr, nullptr);
    }
}

TEST(VSTGUI4Scrolling, DraggingTheThumbScrollsTheViewAndKeepsThePressWithinTheThumb)
{
    auto bar = owned(new VSTGUI4_HorizontalScrollbar(CRect(10, 0, 210, 16)));
    auto* thumb = new VSTGUI4_ViewWithMinimumSize(CRect(0, 0, 20, 16));
    bar->addView(thumb);
    bar->setThumb(thumb);
    Scroller view(1000, 50, 1, 1);
    view.setScrollbars(bar, nullptr);
    // Press 5 pixels into the thumb, move 90 pixels: the thumb's left at 90
    // of 180 free pixels is half of the 900 units the view may scroll.
    CPoint p(10 + 5, 8);
    EXPECT_EQ(bar->onMouseDown(p, kLButton), kMouseEventHandled);
    p.x += 90;
    bar->onMouseMoved(p, kLButton);
    EXPECT_EQ(view.getScrollOffset().x, 450);
    EXPECT_EQ(thumb->getViewSize().left, 90);
    // Past the end of the track: the end of the document.
    p.x += 500;
    bar->onMouseMoved(p, kLButton);
    EXPECT_EQ(view.getScrollOffset().x, 900);
    bar->onMouseUp(p, kLButton);
    EXPECT_FALSE(bar->isDragging());
    // A press beside the thumb pages: 99 pixels back.
    CPoint before(10 + 2, 8);
    bar->onMouseDown(before, kLButton);
    EXPECT_EQ(view.getScrollOffset().x, 900 - 99);
    view.setScrollbars(nullptr, nullptr);
}

} // namespace
