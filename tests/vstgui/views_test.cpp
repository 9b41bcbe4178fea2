#include "vstgui_test_support.h"

#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/cframe.h"
#include "vstgui/lib/coffscreencontext.h"
#include "vstgui/lib/cviewcontainer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

using namespace VSTGUI;
using vstgui_test::pixel;
using Log = std::vector<std::string>;

namespace {

// A view that paints itself in one colour and writes down the events it
// gets, with their points in its own coordinates.
class SolidView : public CView {
public:
    SolidView(const CRect& r, const CColor& c, Log* log = nullptr, const char* name = "",
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
    CMouseEventResult onMouseDown(CPoint& p, const CButtonState&) override { return record("down", p), downResult; }
    CMouseEventResult onMouseUp(CPoint& p, const CButtonState&) override { return record("up", p); }
    CMouseEventResult onMouseMoved(CPoint& p, const CButtonState&) override { return record("moved", p); }
    CMouseEventResult onMouseEntered(CPoint& p, const CButtonState&) override { return record("entered", p); }
    CMouseEventResult onMouseExited(CPoint& p, const CButtonState&) override { return record("exited", p); }
    bool onWheel(const CPoint& p, const float& distance, const CButtonState&) override
    {
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
    CMouseEventResult record(const char* what, const CPoint& p)
    {
        if (log) log->push_back(std::string(name) + " " + what + " " + std::to_string(int(p.x)) + "," + std::to_string(int(p.y)));
        return kMouseEventHandled;
    }
    Log* log;
    const char* name;
    CMouseEventResult downResult;
};

using FramePtr = std::unique_ptr<CFrame, void (*)(CFrame*)>;

FramePtr makeFrame(CCoord w, CCoord h)
{
    return FramePtr(new CFrame(CRect(0, 0, w, h), nullptr), [](CFrame* f) { f->forget(); });
}

void press(CFrame* frame, CPoint p, bool release = true)
{
    frame->platformOnMouseDown(p, kLButton);
    if (release) frame->platformOnMouseUp(p, kLButton);
}

} // namespace

TEST(VstguiViews, ContainersDrawChildrenInTheirOwnCoordinatesInOrder)
{
    auto frame = makeFrame(60, 60);
    frame->setBackgroundColor(kWhiteCColor);
    auto* box = new CViewContainer(CRect(10, 10, 50, 50));
    box->setBackgroundColor(kBlackCColor);
    frame->addView(box);
    box->addView(new SolidView(CRect(5, 5, 15, 15), kRedCColor));
    box->addView(new SolidView(CRect(10, 10, 20, 20), kBlueCColor)); // later, drawn over the first

    auto picture = owned(frame->createSnapshot());
    struct Case {
        int x, y;
        CColor colour;
    };
    for (const Case& c : {Case{5, 5, kWhiteCColor}, Case{12, 12, kBlackCColor}, Case{15, 15, kRedCColor},
                          Case{22, 22, kBlueCColor}, Case{29, 29, kBlueCColor}, Case{30, 30, kBlackCColor}})
        EXPECT_EQ(pixel(picture, c.x, c.y), c.colour) << c.x << "," << c.y;

    box->getView(1)->setVisible(false);
    box->setTransparency(true);
    box->getView(0)->setAlphaValue(0.5f);
    picture = owned(frame->createSnapshot());
    EXPECT_EQ(pixel(picture, 12, 12), kWhiteCColor) << "a transparent container draws no background";
    EXPECT_TRUE(vstgui_test::near(pixel(picture, 22, 22), CColor(255, 128, 128, 255))) << "half red, blue hidden";
}

TEST(VstguiViews, ViewsDrawOnlyWhereTheUpdateRectangleReaches)
{
    auto frame = makeFrame(40, 40);
    auto* left = new SolidView(CRect(0, 0, 20, 40), kRedCColor);
    auto* right = new SolidView(CRect(20, 0, 40, 40), kBlueCColor);
    frame->addView(left);
    frame->addView(right);
    auto context = owned(COffscreenContext::create(nullptr, 40, 40));
    frame->drawRect(context, CRect(25, 5, 30, 10));
    EXPECT_EQ(left->draws, 0);
    EXPECT_EQ(right->draws, 1);
    EXPECT_EQ(pixel(context, 26, 6), kBlueCColor);
    EXPECT_EQ(pixel(context, 22, 6).alpha, 0) << "outside the update rectangle nothing changes";
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

    CPoint p(1, 2);
    leaf->localToFrame(p);
    EXPECT_EQ(p, CPoint(16, 27));
    leaf->frameToLocal(p);
    EXPECT_EQ(p, CPoint(1, 2));
    EXPECT_EQ(frame->getViewAt(CPoint(20, 30), true), leaf);
    EXPECT_EQ(frame->getViewAt(CPoint(20, 30), false), outer);
    EXPECT_EQ(frame->getViewAt(CPoint(5, 5), true), nullptr);

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
    auto* loose = new SolidView(CRect(0, 0, 5, 5), kRedCColor);
    loose->invalid();
    loose->forget();
    EXPECT_TRUE(frame->getDirtyRects().empty());

    // Sixteen separate rectangles are kept; the seventeenth makes them all
    // one, their union.
    for (int i = 0; i < 16; ++i) frame->invalidRect(CRect(i * 5, 0, i * 5 + 2, 2));
    EXPECT_EQ(frame->getDirtyRects().size(), 16u);
    frame->invalidRect(CRect(80, 0, 82, 2));
    EXPECT_EQ(frame->getDirtyRects(), (std::vector<CRect>{CRect(0, 0, 82, 2)}));
}

TEST(VstguiViews, MouseEventsReachTheRightViewInItsOwnCoordinates)
{
    Log log;
    auto frame = makeFrame(100, 100);
    auto* box = new CViewContainer(CRect(10, 10, 90, 90));
    box->addView(new SolidView(CRect(0, 0, 20, 20), kRedCColor, &log, "a"));
    box->addView(new SolidView(CRect(40, 40, 60, 60), kBlueCColor, &log, "b"));
    frame->addView(box);

    // The pressed view gets the moves and the release, even over another.
    press(frame.get(), CPoint(15, 15), false);
    CPoint p(65, 65);
    frame->platformOnMouseMoved(p, kLButton);
    frame->platformOnMouseUp(p, kLButton);
    EXPECT_EQ(log, (Log{"a down 5,5", "a moved 55,55", "a up 55,55", "b entered 55,55"}));

    log.clear();
    p = CPoint(35, 15); // on the box but on no child: nobody takes it
    EXPECT_EQ(frame->platformOnMouseDown(p, kLButton), kMouseEventNotHandled);
    frame->platformOnMouseUp(p, kLButton);
    p = CPoint(22, 22);
    frame->platformOnMouseMoved(p, 0);
    frame->platformOnMouseMoved(p, 0);
    frame->platformOnMouseExited(p, 0);
    EXPECT_EQ(log, (Log{"b exited 25,5", "a entered 12,12", "a moved 12,12", "a moved 12,12", "a exited 12,12"}));

    log.clear();
    EXPECT_TRUE(frame->platformOnMouseWheel(CPoint(15, 15), kMouseWheelAxisY, 1.f, 0));
    EXPECT_TRUE(frame->platformOnMouseWheel(CPoint(15, 15), kMouseWheelAxisY, -1.f, 0));
    EXPECT_FALSE(frame->platformOnMouseWheel(CPoint(15, 15), kMouseWheelAxisX, 1.f, 0))
        << "a view without a horizontal wheel handler refuses it";
    EXPECT_FALSE(frame->platformOnMouseWheel(CPoint(5, 5), kMouseWheelAxisY, 1.f, 0));
    EXPECT_EQ(log, (Log{"a wheel+ 5,5", "a wheel- 5,5"}));
}

TEST(VstguiViews, OpaqueViewsKeepPressesFromViewsBelowAndTransparentOnesPassThem)
{
    Log log;
    auto frame = makeFrame(50, 50);
    frame->addView(new SolidView(CRect(0, 0, 50, 50), kRedCColor, &log, "below"));
    auto* cover = new SolidView(CRect(0, 0, 25, 50), kBlueCColor, &log, "cover", kMouseEventNotHandled);
    frame->addView(cover);
    struct Step {
        bool transparent, enabled;
        Log heard;
    };
    // After each release the pointer hovers over the topmost view that takes
    // the mouse.
    for (const Step& s : {Step{false, true, {"cover down 10,10", "cover entered 10,10"}},
                          Step{true, true, {"cover down 10,10", "below down 10,10", "below up 10,10"}},
                          Step{true, false, {"below down 10,10", "below up 10,10", "cover exited 10,10",
                                             "below entered 10,10"}}}) {
        log.clear();
        cover->setTransparency(s.transparent);
        cover->setMouseEnabled(s.enabled);
        press(frame.get(), CPoint(10, 10));
        EXPECT_EQ(log, s.heard);
    }
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
    Log log;
    auto frame = makeFrame(50, 50);
    auto* view = new SolidView(CRect(0, 0, 50, 50), kRedCColor, &log, "v");
    view->setWantsFocus(true);
    frame->addView(view);
    press(frame.get(), CPoint(5, 5));
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
}

namespace {

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
    EXPECT_EQ(observer.events, (Log{"+CViewContainer", "+CView", "+CView"}));
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
    auto frame = makeFrame(100, 100);
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
}
