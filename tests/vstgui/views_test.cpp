#include "vstgui_test_support.h"

#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/cframe.h"
#include "vstgui/lib/coffscreencontext.h"
#include "vstgui/lib/cviewcontainer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace VSTGUI;
using vstgui_test::pixel;
using Log = std::vector<std::string>;

namespace {

// A view that paints itself in one colour and writes down the events it
// gets, with their points in its own coordinates.
struct SolidView : CView {
    SolidView(const CRect& r, const CColor& c, Log* log = nullptr, const char* name = "",
              CMouseEventResult downResult = kMouseEventHandled)
        : CView(r), colour(c), log(log), name(name), downResult(downResult) {}
    void draw(CDrawContext* context) override
    {
        context->setFillColor(colour);
        context->drawRect(size, kDrawFilled);
        setDirty(false);
    }
    CMouseEventResult onMouseDown(CPoint& p, const CButtonState&) override { return record("down", p), downResult; }
    CMouseEventResult onMouseUp(CPoint& p, const CButtonState&) override { return record("up", p); }
    CMouseEventResult onMouseMoved(CPoint& p, const CButtonState&) override { return record("moved", p); }
    CMouseEventResult onMouseEntered(CPoint& p, const CButtonState&) override { return record("entered", p); }
    CMouseEventResult onMouseExited(CPoint& p, const CButtonState&) override { return record("exited", p); }
    bool onWheel(const CPoint& p, const float& distance, const CButtonState&) override
    {
        return record(distance > 0 ? "wheel+" : "wheel-", p) == kMouseEventHandled;
    }
    int32_t onKeyDown(VstKeyCode& key) override { return record(std::string("key ") + char(key.character)), 1; }
    CMouseEventResult record(const std::string& what, const CPoint* p = nullptr)
    {
        const std::string at = p ? " " + std::to_string(int(p->x)) + "," + std::to_string(int(p->y)) : "";
        if (log) log->push_back(name + (" " + what) + at);
        return kMouseEventHandled;
    }
    CMouseEventResult record(const char* what, const CPoint& p) { return record(what, &p); }

    CColor colour;
    Log* log;
    std::string name;
    CMouseEventResult downResult;
};

SharedPointer<CFrame> makeFrame(CCoord w, CCoord h) { return owned(new CFrame(CRect(0, 0, w, h), nullptr)); }

void press(CFrame* frame, CPoint p, bool release = true)
{
    frame->platformOnMouseDown(p, kLButton);
    if (release) frame->platformOnMouseUp(p, kLButton);
}

} // namespace

// How the panel's containers draw their views in order, offset and hidden
// is checked through the built module's panel; these are what it does not
// show.
TEST(VstguiViews, TransparentContainersDrawNoBackgroundAndThePressedViewGetsTheReleaseInItsContainersCoordinates)
{
    Log log;
    auto frame = makeFrame(60, 60);
    frame->setBackgroundColor(kWhiteCColor);
    auto* box = new CViewContainer(CRect(10, 10, 50, 50));
    box->setBackgroundColor(kBlackCColor);
    box->setTransparency(true);
    frame->addView(box);
    box->addView(new SolidView(CRect(5, 5, 15, 15), kRedCColor, &log, "a"));
    box->addView(new SolidView(CRect(10, 10, 20, 20), kBlueCColor)); // later, drawn over the first
    auto picture = owned(frame->createSnapshot());
    for (const auto& [x, y, colour] : {std::tuple{12, 12, kWhiteCColor}, {16, 16, kRedCColor}, {22, 22, kBlueCColor}})
        EXPECT_EQ(pixel(picture, x, y), colour) << x << "," << y;

    // Away from the view, the moves and the release still reach it, as
    // points of its container, whose view sizes are in the same coordinates.
    press(frame, CPoint(16, 16), false);
    CPoint p(55, 55);
    frame->platformOnMouseMoved(p, kLButton);
    frame->platformOnMouseUp(p, kLButton);
    EXPECT_EQ(log, (Log{"a down 6,6", "a moved 45,45", "a up 45,45"}));
}

TEST(VstguiViews, InvalidRectanglesAndCoordinatesConvertToTheFrame)
{
    auto frame = makeFrame(100, 100);
    auto* outer = new CViewContainer(CRect(10, 20, 90, 90));
    auto* inner = new CViewContainer(CRect(5, 5, 60, 60));
    auto* leaf = new SolidView(CRect(3, 4, 13, 14), kRedCColor);
    inner->addView(leaf);
    outer->addView(inner);
    frame->addView(outer);
    frame->takeDirtyRects();

    EXPECT_EQ(frame->getViewAt(CPoint(20, 30), false), outer) << "the view at the top level, not the deepest";
    leaf->invalid();
    EXPECT_EQ(frame->getDirtyRects(), (std::vector<CRect>{CRect(18, 29, 28, 39)}));
    // A rectangle inside one already collected adds nothing; one that holds
    // it replaces it.
    leaf->invalidRect(CRect(4, 5, 6, 7));
    EXPECT_EQ(frame->getDirtyRects().size(), 1u);
    inner->invalid();
    EXPECT_EQ(frame->getDirtyRects(), (std::vector<CRect>{CRect(15, 25, 70, 80)}));

    frame->takeDirtyRects();
    leaf->setViewSize(CRect(50, 50, 80, 80));
    EXPECT_EQ(frame->getDirtyRects().back(), CRect(65, 75, 70, 80)) << "parts outside the parents are cut off";

    // Hidden views and views not in a frame invalidate nothing.
    leaf->setVisible(false);
    frame->takeDirtyRects();
    leaf->invalid();
    owned(new SolidView(CRect(0, 0, 5, 5), kRedCColor))->invalid();
    EXPECT_TRUE(frame->getDirtyRects().empty());

    // Sixteen separate rectangles are kept; the seventeenth makes them all
    // one, their union.
    for (int i = 0; i < 16; ++i) frame->invalidRect(CRect(i * 5, 0, i * 5 + 2, 2));
    EXPECT_EQ(frame->getDirtyRects().size(), 16u);
    frame->invalidRect(CRect(80, 0, 82, 2));
    EXPECT_EQ(frame->getDirtyRects(), (std::vector<CRect>{CRect(0, 0, 82, 2)}));
}

TEST(VstguiViews, OpaqueViewsKeepPressesFromViewsBelowAndTransparentOnesPassThem)
{
    Log log;
    auto frame = makeFrame(50, 50);
    frame->addView(new SolidView(CRect(0, 0, 50, 50), kRedCColor, &log, "below"));
    auto* cover = new SolidView(CRect(0, 0, 25, 50), kBlueCColor, &log, "cover", kMouseEventNotHandled);
    frame->addView(cover);
    // After each release the pointer hovers over the topmost view that takes
    // the mouse.
    for (const auto& [transparent, enabled, heard] :
         {std::tuple{false, true, Log{"cover down 10,10", "cover entered 10,10"}},
          {true, true, Log{"cover down 10,10", "below down 10,10", "below up 10,10"}},
          {true, false, Log{"below down 10,10", "below up 10,10", "cover exited 10,10", "below entered 10,10"}}}) {
        log.clear();
        cover->setTransparency(transparent);
        cover->setMouseEnabled(enabled);
        press(frame, CPoint(10, 10));
        EXPECT_EQ(log, heard);
    }
}

TEST(VstguiViews, KeyboardHooksSeeKeysBeforeTheFocusView)
{
    struct Hook : IKeyboardHook {
        int32_t answer = -1;
        std::vector<int32_t> seen;
        int32_t onKeyDown(const VstKeyCode& code, CFrame*) override { return seen.push_back(code.character), answer; }
        int32_t onKeyUp(const VstKeyCode&, CFrame*) override { return answer; }
    };
    Log log;
    auto frame = makeFrame(50, 50);
    auto* view = new SolidView(CRect(0, 0, 50, 50), kRedCColor, &log, "v");
    view->setWantsFocus(true);
    frame->addView(view);
    press(frame, CPoint(5, 5));
    EXPECT_EQ(frame->getFocusView(), view) << "a press focuses a view that wants focus";

    // A hook that answers 1 keeps the key; one that answers -1 passes it on.
    Hook hook;
    frame->registerKeyboardHook(&hook);
    VstKeyCode key;
    log.clear();
    for (const auto& [character, answer] : {std::pair{'x', 1}, {'y', -1}}) {
        key.character = character;
        hook.answer = answer;
        EXPECT_EQ(frame->platformOnKeyDown(key), 1);
    }
    EXPECT_EQ(hook.seen, (std::vector<int32_t>{'x', 'y'}));
    EXPECT_EQ(log, Log{"v key y"});

    frame->unregisterKeyboardHook(&hook);
    frame->removeView(view);
    EXPECT_EQ(frame->getFocusView(), nullptr) << "a removed view loses the focus";
    EXPECT_EQ(frame->platformOnKeyDown(key), -1);
}

TEST(VstguiViews, ContainersOwnTheirChildrenAndTellTheFrameOfThem)
{
    struct Observer : IViewAddedRemovedObserver {
        Log events;
        void onViewAdded(CFrame*, CView* v) override { events.push_back(std::string("+") + v->getClassName()); }
        void onViewRemoved(CFrame*, CView* v) override { events.push_back(std::string("-") + v->getClassName()); }
    };
    struct CountedView : CView {
        explicit CountedView(int* alive) : CView(CRect(0, 0, 1, 1)), alive(alive) { ++*alive; }
        ~CountedView() override { --*alive; }
        int* alive;
    };
    int alive = 0;
    Observer observer;
    auto* frame = new CFrame(CRect(0, 0, 50, 50), nullptr);
    frame->registerViewAddedRemovedObserver(&observer);
    auto* box = new CViewContainer(CRect(0, 0, 50, 50));
    box->addView(new CountedView(&alive));
    auto* kept = new CountedView(&alive);
    box->addView(kept);
    frame->addView(box);
    EXPECT_EQ(observer.events, (Log{"+CViewContainer", "+CView", "+CView"}));
    EXPECT_FALSE(frame->addView(kept)) << "a view has one parent";

    box->removeView(kept, false);
    EXPECT_EQ(observer.events.back(), "-CView");
    EXPECT_EQ(alive, 2) << "removed without forget: the caller holds it";
    EXPECT_FALSE(kept->isAttached());
    kept->forget();
    EXPECT_EQ(alive, 1);
    frame->unregisterViewAddedRemovedObserver(&observer);
    frame->close();
    EXPECT_EQ(alive, 0);
}

TEST(VstguiViews, AutosizedChildrenFollowTheEdgesOfTheirContainer)
{
    auto frame = makeFrame(100, 100);
    // No flags, all edges, the right edge only.
    const std::tuple<CRect, int32_t, CRect> cases[] = {
        {CRect(10, 10, 20, 20), 0, CRect(10, 10, 20, 20)},
        {CRect(10, 10, 90, 90), kAutosizeAll, CRect(10, 10, 140, 110)},
        {CRect(80, 10, 90, 20), kAutosizeRight, CRect(130, 10, 140, 20)}};
    for (const auto& [before, flags, after] : cases) {
        frame->addView(new CView(before));
        frame->getView(frame->getNbViews() - 1)->setAutosizeFlags(flags);
    }
    EXPECT_TRUE(frame->setSize(150, 120));
    EXPECT_EQ(frame->getViewSize(), CRect(0, 0, 150, 120));
    for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(frame->getView(i)->getViewSize(), std::get<2>(cases[i])) << i;
    EXPECT_FALSE(frame->setSize(0, 10));
}
