#include "vstgui/lib/cbuttonstate.h"
#include "vstgui/lib/ccolor.h"
#include "vstgui/lib/crect.h"
#include "vstgui/lib/idependency.h"
#include "vstgui/uidescription/uiattributes.h"

#include <gtest/gtest.h>

#include <vector>

using namespace VSTGUI;

TEST(VstguiGeometry, RectangleOperationsKeepEdgesAndSizes)
{
    CRect r(10, 20, 110, 70);
    EXPECT_EQ(r.getWidth(), 100);
    EXPECT_EQ(r.getHeight(), 50);
    EXPECT_EQ(r.getCenter(), CPoint(60, 45));

    CRect moved(r);
    moved.offset(-10, 5);
    EXPECT_EQ(moved, CRect(0, 25, 100, 75));
    moved.moveTo(CPoint(3, 4));
    EXPECT_EQ(moved, CRect(3, 4, 103, 54));

    CRect inset(r);
    inset.inset(5, 10);
    EXPECT_EQ(inset, CRect(15, 30, 105, 60));
    inset.extend(5, 10);
    EXPECT_EQ(inset, r);

    CRect sized(r);
    sized.setSize(CPoint(4, 6));
    EXPECT_EQ(sized, CRect(10, 20, 14, 26));

    CRect reversed(50, 60, 10, 20);
    reversed.normalize();
    EXPECT_EQ(reversed, CRect(10, 20, 50, 60));
}

TEST(VstguiGeometry, BoundUniteAndOverlapFollowTheExclusiveRightAndBottomEdges)
{
    struct Case {
        CRect a, b;
        bool overlap;
        CRect bounded;
    };
    const std::vector<Case> cases = {
        {{0, 0, 10, 10}, {5, 5, 15, 15}, true, {5, 5, 10, 10}},
        // Rectangles that only touch share no pixel.
        {{0, 0, 10, 10}, {10, 0, 20, 10}, false, {10, 0, 10, 10}},
        {{0, 0, 10, 10}, {2, 2, 4, 4}, true, {2, 2, 4, 4}},
        // Apart: bounding leaves an empty rectangle at the nearest edge.
        {{0, 0, 10, 10}, {20, 20, 30, 30}, false, {20, 20, 20, 20}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.a.rectOverlap(c.b), c.overlap);
        EXPECT_EQ(c.b.rectOverlap(c.a), c.overlap);
        CRect bounded(c.a);
        bounded.bound(c.b);
        EXPECT_EQ(bounded, c.bounded) << bounded.left << "," << bounded.top << "," << bounded.right << ","
                                      << bounded.bottom;
        EXPECT_EQ(bounded.isEmpty(), !c.overlap);
    }

    CRect u(0, 0, 10, 10);
    u.unite(CRect(20, 5, 30, 40));
    EXPECT_EQ(u, CRect(0, 0, 30, 40));
    u.unite(CRect());
    EXPECT_EQ(u, CRect(0, 0, 30, 40));

    const CRect r(0, 0, 10, 10);
    EXPECT_TRUE(r.pointInside(CPoint(0, 0)));
    EXPECT_TRUE(r.pointInside(CPoint(9.5, 9.5)));
    EXPECT_FALSE(r.pointInside(CPoint(10, 5)));
    EXPECT_FALSE(r.pointInside(CPoint(5, 10)));
    EXPECT_FALSE(r.pointInside(CPoint(-0.5, 5)));
}

TEST(VstguiGeometry, ColoursReadAndWriteHexNotation)
{
    struct Case {
        const char* text;
        bool ok;
        CColor colour;
    };
    const std::vector<Case> cases = {
        {"#ff000080", true, CColor(255, 0, 0, 128)},
        {"#0A0b0C", true, CColor(10, 11, 12, 255)},
        {"#12345", false, CColor()},
        {"123456ff", false, CColor()},
        {"#gg000000", false, CColor()},
        {"", false, CColor()},
    };
    for (const auto& c : cases) {
        CColor colour(1, 2, 3, 4);
        EXPECT_EQ(colour.fromString(c.text), c.ok) << c.text;
        EXPECT_EQ(colour, c.ok ? c.colour : CColor(1, 2, 3, 4)) << c.text;
    }
    EXPECT_EQ(CColor(1, 171, 255, 16).toString(), "#01abff10");
    EXPECT_EQ(CColor(200, 100, 50, 200).withAlphaScaled(0.5f), CColor(200, 100, 50, 100));
}

TEST(VstguiGeometry, ButtonStateSeparatesButtonsFromModifiers)
{
    // The buttons that a drag handler masks: left, middle, right, 4 and 5.
    EXPECT_EQ(kLButton | kMButton | kRButton | kButton4 | kButton5, 0x30e);
    const CButtonState s(kLButton | kShift | kControl | kDoubleClick);
    EXPECT_EQ(s.getButtonState(), kLButton);
    EXPECT_EQ(s.getModifierState(), kShift | kControl);
    EXPECT_TRUE(s.isLeftButton());
    EXPECT_TRUE(s.isDoubleClick());
    EXPECT_FALSE(CButtonState(kRButton).isLeftButton());
}

TEST(VstguiGeometry, AttributeParsersAcceptListsAndRefuseMalformedText)
{
    struct Case {
        const char* text;
        bool ok;
        CPoint point;
    };
    const std::vector<Case> points = {
        {"12, 34", true, {12, 34}},
        {"  -1.5,2e1 ", true, {-1.5, 20}},
        {"12", false, {}},
        {"12, 34, 56", false, {}},
        {"a, b", false, {}},
        {"12,, 34", false, {}},
    };
    for (const auto& c : points) {
        CPoint p(-7, -7);
        EXPECT_EQ(UIAttributes::stringToPoint(c.text, p), c.ok) << c.text;
        EXPECT_EQ(p, c.ok ? c.point : CPoint(-7, -7)) << c.text;
    }
    CRect r;
    EXPECT_TRUE(UIAttributes::stringToRect("1, 2, 3, 4", r));
    EXPECT_EQ(r, CRect(1, 2, 3, 4));

    int32_t i = 0;
    EXPECT_TRUE(UIAttributes::stringToInteger(" 42 ", i));
    EXPECT_EQ(i, 42);
    EXPECT_FALSE(UIAttributes::stringToInteger("42x", i));
    EXPECT_FALSE(UIAttributes::stringToInteger("99999999999", i));
    EXPECT_EQ(i, 42);

    UIAttributes a;
    a.setAttribute("flag", "true");
    a.setAttribute("other", "yes");
    bool b = false;
    EXPECT_TRUE(a.getBooleanAttribute("flag", b));
    EXPECT_TRUE(b);
    EXPECT_FALSE(a.getBooleanAttribute("other", b));
    EXPECT_FALSE(a.getBooleanAttribute("missing", b));
    a.setPointAttribute("p", CPoint(2.5, -3));
    EXPECT_EQ(*a.getAttributeValue("p"), "2.5, -3");
}

namespace {

struct Listener : CBaseObject {
    std::vector<std::string> heard;
    CMessageResult notify(CBaseObject*, IdStringPtr message) override
    {
        heard.push_back(message);
        return kMessageNotified;
    }
};

struct Model : CBaseObject, IDependency {
};

} // namespace

TEST(VstguiGeometry, DependentsHearChangesAndDeferredChangesOnce)
{
    Model model;
    Listener a, b;
    model.addDependency(&a);
    model.addDependency(&a);
    model.addDependency(&b);
    EXPECT_EQ(model.getNbDependents(), 2u);
    model.changed("one");
    model.deferChanges(true);
    model.deferChanges(true);
    model.changed("two");
    model.changed("two");
    model.deferChanges(false);
    EXPECT_EQ(a.heard, (std::vector<std::string>{"one"}));
    model.deferChanges(false);
    model.removeDependency(&b);
    model.changed("three");
    EXPECT_EQ(a.heard, (std::vector<std::string>{"one", "two", "three"}));
    EXPECT_EQ(b.heard, (std::vector<std::string>{"one", "two"}));
}
