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

namespace {

// A view that paints itself in one colour and writes down the mouse events
// it gets, with their points.
class SolidView : public CView {
public:
    SolidView(const CRect& r, const CColor& c, std::vector<std::string>* log, const char* name,
              CMouseEventResult downResult = kMouseEventHandled)
        : CView(r), colour(c), log(log), name(name), downResult(downResult)
    {
    }
    void draw(CDrawContext* context) override
    {
        ++draws;
        context->setFillColor(colour);
        context->drawRect(size, kDrawFilled);
        setDirty(false);
    }
    CMouseEventResult onMouseDown(CPoint& where, const CButtonState& b) override
    {
        record("down", where);
        return downResult;
    }
    CMouseEventResult onMouseUp(CPoint& where, const CButtonState&) override
    {
        record("up", where);
        return kMouseEventHandled;
    }
    CMouseEventResult onMouseMoved(CPoint& where, const CButtonState&) override
    {
        record("moved", where);
        return kMouseEventHandled;
    }
    CMouseEventResult onMouseEntered(CPoint& where, const CButtonState&) override
    {
        record("entered", where);
        return kMouseEventHandled;
    }
    CMouseEventResult onMouseExited(CPoint& where, const CButtonState&) override
    {
        record("exited", where);
        return kMouseEventHandled;
    }
    bool onWheel(const CPoint& where, const float& distance, const CButtonState&) override
    {
        CPoint p(where);
        record(distance > 0 ? "wheel+" : "wheel-", p);
        return true;
    }
    int32_t onKeyDown(VstKeyCode& key) override
    {
        if (log) log->push_back(std::string(name) + " key " + char(key.character));
        return 1;
    }

    CColor colour;
    int draws = 0;

private:
    void record(const char* what, const CPoint& p)
    {
        if (log)
            log->push_back(std::string(name) + " " + what + " " + std::to_string(int(p.x)) + "," +
                           std::to_string(int(p.y)));
    }
    std::vector<std::string>* log;
    const char* name;
    CMouseEventResult downResult;
};

CBitmap* draw(CFrame* frame)
{
    return frame->createSnapshot();
}

} // namespace

TEST(VstguiViews, ContainersDrawChildrenInTheirOwnCoordinatesInOrder)
{
    auto* frame = new CFrame(CRect(0, 0, 60, 60), nullptr);
    frame->setBackgroundColor(kWhiteCColor);
    auto* box = new CViewContainer(CRect(10, 10, 50, 50));
    box->setBackgroundColor(kBlackCColor);
    frame->addView(box);
    box->addView(new SolidView(CRect(5, 5, 15, 15), kRedCColor, nullptr, "a"));
    // Added later, drawn over the first.
    box->addView(new SolidView(CRect(10, 10, 20, 20), kBlueCColor, nullptr, "b"));

    auto picture = owned(draw(frame));
    EXPECT_EQ(pixel(picture, 5, 5), kWhiteCColor);
    EXPECT_EQ(pixel(picture, 12, 12), kBlackCColor);
    EXPECT_EQ(pixel(picture, 15, 15), kRedCColor) << "child at (5, 5) of a box at (10, 10)";
    EXPECT_EQ(pixel(picture, 22, 22), kBlueCColor);
    EXPECT_EQ(pixel(picture, 29, 29), kBlueCColor);
    EXPECT_EQ(pixel(picture, 30, 30), kBlackCColor);

    // Hidden and transparent views.
    box->getView(1)->setVisible(false);
    box->setTransparency(true);
    picture = owned(draw(frame));
    EXPECT_EQ(pixel(picture, 22, 22), kRedCColor);
    EXPECT_EQ(pixel(picture, 12, 12), kWhiteCColor) << "a transparent container draws no background";

    // Half opacity of a view.
    box->getView(0)->setAlphaValue(0.5f);
    picture = owned(draw(frame));
    EXPECT_TRUE(vstgui_test::near(pixel(picture, 16, 16), CColor(255, 128, 128, 255)));
    frame->forget();
}

TEST(VstguiViews, ViewsDrawOnlyWhereTheUpdateRectangleReaches)
{
    auto* frame = new CFrame(CRect(0, 0, 40, 40), nullptr);
    auto* left = new SolidView(CRect(0, 0, 20, 40), kRedCColor, nullptr, "left");
    auto* right = new SolidView(CRect(20, 0, 40, 40), kBlueCColor, nullptr, "right");
    frame->addView(left);
    frame->addView(right);
    auto context = owned(COffscreenContext::create(nullptr, 40, 40));
    frame->drawRect(context, CRect(25, 5, 30, 10));
    EXPECT_EQ(left->draws, 0);
    EXPECT_EQ(right->draws, 1);
    EXPECT_EQ(pixel(context, 26, 6), kBlueCColor);
    EXPECT_EQ(pixel(context, 22, 6).alpha, 0) << "outside the update rectangle nothing changes";
    frame->forget();
}

TEST(VstguiViews, InvalidRectanglesReachTheFrameInFrameCoordinates)
{
    auto* frame = new CFrame(CRect(0, 0, 100, 100), nullptr);
    auto* outer = new CViewContainer(CRect(10, 20, 90, 90));
    auto* inner = new CViewContainer(CRect(5, 5, 60, 60));
    auto* leaf = new SolidView(CRect(3, 4, 13, 14), kRedCColor, nullptr, "leaf");
    inner->addView(leaf);
    outer->addView(inner);
    frame->addView(outer);
    frame->takeDirtyRects();

    leaf->invalid();
    EXPECT_EQ(frame->getDirtyRects(), (std::vector<CRect>{CRect(18, 29, 28, 39)}));

    // A rectangle inside one already collected adds nothing; one that holds
    // it replaces it.
    leaf->invalidRect(CRect(4, 5, 6, 7));
    EXPECT_EQ(frame->getDirtyRects().size(), 1u);
    inner->invalid();
    EXPECT_EQ(frame->getDirtyRects(), (std::vector<CRect>{CRect(15, 25, 70, 80)}));

    // Parts outside the parents are cut off.
    frame->takeDirtyRects();
    leaf->setViewSize(CRect(50, 50, 80, 80));
    EXPECT_EQ(frame->getDirtyRects().back(), CRect(65, 75, 70, 80));

    // Hidden views and views not in a frame invalidate nothing.
    frame->takeDirtyRects();
    leaf->setVisible(false);
    frame->takeDirtyRects();
    leaf->invalid();
    EXPECT_TRUE(frame->getDirtyRects().empty());
    auto* loose = new SolidView(CRect(0, 0, 5, 5), kRedCColor, nullptr, "loose");
    loose->invalid();
    loose->forget();
    EXPECT_TRUE(frame->getDirtyRects().empty());

    // Sixteen separate rectangles are kept; the seventeenth makes them all
    // one, their union.
    for (int i = 0; i < 16; ++i) frame->invalidRect(CRect(i * 5, 0, i * 5 + 2, 2));
    EXPECT_EQ(frame->getDirtyRects().size(), 16u);
    frame->invalidRect(CRect(80, 0, 82, 2));
    ASSERT_EQ(frame->getDirtyRects().size(), 1u);
    EXPECT_EQ(frame->getDirtyRects()[0], CRect(0, 0, 82, 2));
    frame->forget();
}

TEST(VstguiViews, ThePressedViewGetsTheMovesAndTheReleaseInItsOwnCoordinates)
{
    std::vector<std::string> log;
    auto* frame = new CFrame(CRect(0, 0, 100, 100), nullptr);
    auto* box = new CViewContainer(CRect(10, 10, 90, 90));
    box->addView(new SolidView(CRect(0, 0, 20, 20), kRedCColor, &log, "a"));
    box->addView(new SolidView(CRect(40, 40, 60, 60), kBlueCColor, &log, "b"));
    frame->addView(box);

    CPoint p(15, 15);
    EXPECT_EQ(frame->platformOnMouseDown(p, kLButton), kMouseEventHandled);
    p = CPoint(65, 65); // over b, but a holds the press
    frame->platformOnMouseMoved(p, kLButton);
    frame->platformOnMouseUp(p, kLButton);
    EXPECT_EQ(log, (std::vector<std::string>{"a down 5,5", "a moved 55,55", "a up 55,55", "b entered 55,55"}));

    log.clear();
    p = CPoint(35, 15); // on the box but on no child: nobody takes it
    EXPECT_EQ(frame->platformOnMouseDown(p, kLButton), kMouseEventNotHandled);
    frame->platformOnMouseUp(p, kLButton);
    EXPECT_EQ(log, (std::vector<std::string>{"b exited 25,5"}));
    frame->forget();
}

TEST(VstguiViews, OpaqueViewsKeepPressesFromViewsBelowAndTransparentOnesPassThem)
{
    std::vector<std::string> log;
    auto* frame = new CFrame(CRect(0, 0, 50, 50), nullptr);
    frame->addView(new SolidView(CRect(0, 0, 50, 50), kRedCColor, &log, "below"));
    auto* cover = new SolidView(CRect(0, 0, 25, 50), kBlueCColor, &log, "cover", kMouseEventNotHandled);
    frame->addView(cover);

    CPoint p(10, 10);
    frame->platformOnMouseDown(p, kLButton);
    EXPECT_EQ(log, (std::vector<std::string>{"cover down 10,10"}));

    log.clear();
    cover->setTransparency(true);
    frame->platformOnMouseDown(p, kLButton);
    EXPECT_EQ(log, (std::vector<std::string>{"cover down 10,10", "below down 10,10"}));
    frame->platformOnMouseUp(p, kLButton);

    log.clear();
    cover->setMouseEnabled(false);
    frame->platformOnMouseDown(p, kLButton);
    EXPECT_EQ(log, (std::vector<std::string>{"below down 10,10"}));
    frame->forget();
}

TEST(VstguiViews, HoverEntersAndExitsNestedViewsAndGetsMoves)
{
    std::vector<std::string> log;
    auto* frame = new CFrame(CRect(0, 0, 100, 100), nullptr);
    frame->addView(new SolidView(CRect(0, 0, 30, 30), kRedCColor, &log, "a"));
    frame->addView(new SolidView(CRect(50, 50, 80, 80), kRedCColor, &log, "b"));
    CPoint p(10, 10);
    frame->platformOnMouseMoved(p, 0);
    p = CPoint(12, 10);
    frame->platformOnMouseMoved(p, 0);
    p = CPoint(60, 60);
    frame->platformOnMouseMoved(p, 0);
    frame->platformOnMouseExited(p, 0);
    EXPECT_EQ(log, (std::vector<std::string>{"a entered 10,10", "a moved 10,10", "a moved 12,10", "a exited 60,60",
                                             "b entered 60,60", "b moved 60,60", "b exited 60,60"}));
    frame->forget();
}

TEST(VstguiViews, WheelGoesToTheTopmostViewUnderThePointer)
{
    std::vector<std::string> log;
    auto* frame = new CFrame(CRect(0, 0, 100, 100), nullptr);
    auto* box = new CViewContainer(CRect(20, 20, 80, 80));
    box->addView(new SolidView(CRect(10, 10, 30, 30), kRedCColor, &log, "a"));
    frame->addView(box);
    EXPECT_TRUE(frame->platformOnMouseWheel(CPoint(35, 35), kMouseWheelAxisY, 1.f, 0));
    EXPECT_TRUE(frame->platformOnMouseWheel(CPoint(35, 35), kMouseWheelAxisY, -1.f, 0));
    EXPECT_FALSE(frame->platformOnMouseWheel(CPoint(35, 35), kMouseWheelAxisX, 1.f, 0))
        << "a view without a horizontal wheel handler refuses it";
    EXPECT_FALSE(frame->platformOnMouseWheel(CPoint(5, 5), kMouseWheelAxisY, 1.f, 0));
    EXPECT_EQ(log, (std::vector<std::string>{"a wheel+ 15,15", "a wheel- 15,15"}));
    frame->forget();
}

namespace {

struct Hook : IKeyboardHook {
    int32_t answer = -1;
    std::vector<int32_t> seen;
    int32_t onKeyDown(const VstKeyCode& code, CFrame*) override
    {
        seen.push_back(code.character);
        return answer;
    }
    int32_t onKeyUp(const VstKeyCode&, CFrame*) override { return answer; }
};

} // namespace

TEST(VstguiViews, KeyboardHooksSeeKeysBeforeTheFocusView)
{
    std::vector<std::string> log;
    auto* frame = new CFrame(CRect(0, 0, 50, 50), nullptr);
    auto* view = new SolidView(CRect(0, 0, 50, 50), kRedCColor, &log, "v");
    view->setWantsFocus(true);
    frame->addView(view);
    CPoint p(5, 5);
    frame->platformOnMouseDown(p, kLButton);
    frame->platformOnMouseUp(p, kLButton);
    EXPECT_EQ(frame->getFocusView(), view) << "a press focuses a view that wants focus";

    Hook hook;
    frame->registerKeyboardHook(&hook);
    VstKeyCode key;
    key.character = 'x';
    hook.answer = 1;
    EXPECT_EQ(frame->platformOnKeyDown(key), 1);
    hook.answer = -1;
    key.character = 'y';
    EXPECT_EQ(frame->platformOnKeyDown(key), 1);
    EXPECT_EQ(hook.seen, (std::vector<int32_t>{'x', 'y'}));
    EXPECT_EQ(log.back(), "v key y");
    EXPECT_EQ(std::count(log.begin(), log.end(), "v key x"), 0);

    frame->unregisterKeyboardHook(&hook);
    frame->removeView(view);
    EXPECT_EQ(frame->getFocusView(), nullptr) << "a removed view loses the focus";
    EXPECT_EQ(frame->platformOnKeyDown(key), -1);
    frame->forget();
}

namespace {

struct Observer : IViewAddedRemovedObserver {
    std::vector<std::string> events;
    void onViewAdded(CFrame*, CView* v) override { events.push_back(std::string("+") + v->getClassName()); }
    void onViewRemoved(CFrame*, CView* v) override { events.push_back(std::string("-") + v->getClassName()); }
};

struct CountedView : CView {
    explicit CountedView(int* alive) : CView(CRect(0, 0, 1, 1)), alive(alive) { ++*alive; }
    ~CountedView() override { --*alive; }
    int* alive;
};

} // namespace

TEST(VstguiViews, ContainersOwnTheirChildrenAndTellTheFrameOfThem)
{
    int alive = 0;
    Observer observer;
    auto* frame = new CFrame(CRect(0, 0, 50, 50), nullptr);
    frame->registerViewAddedRemovedObserver(&observer);
    auto* box = new CViewContainer(CRect(0, 0, 50, 50));
    box->addView(new CountedView(&alive));
    auto* kept = new CountedView(&alive);
    box->addView(kept);
    frame->addView(box);
    EXPECT_EQ(observer.events, (std::vector<std::string>{"+CViewContainer", "+CView", "+CView"}));
    EXPECT_FALSE(frame->addView(kept)) << "a view has one parent";

    box->removeView(kept, false);
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
    auto* frame = new CFrame(CRect(0, 0, 100, 100), nullptr);
    auto* fixed = new CView(CRect(10, 10, 20, 20));
    auto* stretched = new CView(CRect(10, 10, 90, 90));
    stretched->setAutosizeFlags(kAutosizeAll);
    auto* pinnedRight = new CView(CRect(80, 10, 90, 20));
    pinnedRight->setAutosizeFlags(kAutosizeRight);
    frame->addView(fixed);
    frame->addView(stretched);
    frame->addView(pinnedRight);
    EXPECT_TRUE(frame->setSize(150, 120));
    EXPECT_EQ(frame->getViewSize(), CRect(0, 0, 150, 120));
    EXPECT_EQ(fixed->getViewSize(), CRect(10, 10, 20, 20));
    EXPECT_EQ(stretched->getViewSize(), CRect(10, 10, 140, 110));
    EXPECT_EQ(pinnedRight->getViewSize(), CRect(130, 10, 140, 20));
    EXPECT_FALSE(frame->setSize(0, 10));
    frame->forget();
}

TEST(VstguiViews, FrameSnapshotWritesAPNGWithoutADisplay)
{
    const std::string dir = vstgui_test::scratchDir();
    auto* frame = new CFrame(CRect(0, 0, 64, 48), nullptr);
    frame->setBackgroundColor(CColor(10, 20, 30, 255));
    frame->addView(new SolidView(CRect(32, 0, 64, 24), kYellowCColor, nullptr, "corner"));
    EXPECT_FALSE(frame->isOpen());
    auto snapshot = owned(frame->createSnapshot());
    const std::string path = dir + "/frame.png";
    ASSERT_TRUE(snapshot->writePNG(path.c_str()));
    frame->forget();

    auto back = owned(new CBitmap(CResourceDescription(path.c_str())));
    ASSERT_TRUE(back->isLoaded());
    EXPECT_EQ(back->getSize(), CPoint(64, 48));
    EXPECT_EQ(pixel(back, 0, 47), CColor(10, 20, 30, 255));
    EXPECT_EQ(pixel(back, 63, 0), kYellowCColor);
    EXPECT_EQ(pixel(back, 31, 0), CColor(10, 20, 30, 255));
}

TEST(VstguiViews, CoordinatesConvertBetweenViewsAndTheFrame)
{
    auto* frame = new CFrame(CRect(0, 0, 100, 100), nullptr);
    auto* outer = new CViewContainer(CRect(10, 20, 90, 90));
    auto* leaf = new CView(CRect(5, 6, 10, 10));
    outer->addView(leaf);
    frame->addView(outer);
    CPoint p(1, 2);
    leaf->localToFrame(p);
    EXPECT_EQ(p, CPoint(11, 22));
    leaf->frameToLocal(p);
    EXPECT_EQ(p, CPoint(1, 2));
    EXPECT_EQ(frame->getViewAt(CPoint(16, 27), true), leaf);
    EXPECT_EQ(frame->getViewAt(CPoint(16, 27), false), outer);
    EXPECT_EQ(frame->getViewAt(CPoint(5, 5), true), nullptr);
    frame->forget();
}
