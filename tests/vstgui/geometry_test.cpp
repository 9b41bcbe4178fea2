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
    const CRect r(10, 20, 110, 70);
    EXPECT_EQ(r.getWidth(), 100);
    EXPECT_EQ(r.getHeight(), 50);
    EXPECT_EQ(r.getCenter(), CPoint(60, 45));
    EXPECT_EQ(CRect(r).offset(-10, 5), CRect(0, 25, 100, 75));
    EXPECT_EQ(CRect(r).moveTo(CPoint(3, 4)), CRect(3, 4, 103, 54));
    EXPECT_EQ(CRect(r).inset(5, 10), CRect(15, 30, 105, 60));
    EXPECT_EQ(CRect(r).inset(5, 10).extend(5, 10), r);
    EXPECT_EQ(CRect(r).setSize(CPoint(4, 6)), CRect(10, 20, 14, 26));
    EXPECT_EQ(CRect(50, 60, 10, 20).normalize(), CRect(10, 20, 50, 60));
}

TEST(VstguiGeometry, BoundUniteAndOverlapFollowTheExclusiveRightAndBottomEdges)
{
    struct Case {
        CRect a, b;
        bool overlap;
        CRect bounded;
    };
    for (const Case& c : {
             Case{{0, 0, 10, 10}, {5, 5, 15, 15}, true, {5, 5, 10, 10}},
             Case{{0, 0, 10, 10}, {10, 0, 20, 10}, false, {10, 0, 10, 10}}, // touching shares no pixel
             Case{{0, 0, 10, 10}, {2, 2, 4, 4}, true, {2, 2, 4, 4}},
             Case{{0, 0, 10, 10}, {20, 20, 30, 30}, false, {20, 20, 20, 20}}, // apart: empty at the nearest edge
         }) {
        EXPECT_EQ(c.a.rectOverlap(c.b), c.overlap);
        EXPECT_EQ(c.b.rectOverlap(c.a), c.overlap);
        const CRect bounded = CRect(c.a).bound(c.b);
        EXPECT_EQ(bounded, c.bounded) << bounded.left << "," << bounded.top << "," << bounded.right;
        EXPECT_EQ(bounded.isEmpty(), !c.overlap);
    }
    EXPECT_EQ(CRect(0, 0, 10, 10).unite(CRect(20, 5, 30, 40)), CRect(0, 0, 30, 40));
    EXPECT_EQ(CRect(0, 0, 10, 10).unite(CRect()), CRect(0, 0, 10, 10)) << "an empty rectangle adds nothing";

    const CRect r(0, 0, 10, 10);
    for (const auto& [p, inside] : std::vector<std::pair<CPoint, bool>>{
             {{0, 0}, true}, {{9.5, 9.5}, true}, {{10, 5}, false}, {{5, 10}, false}, {{-0.5, 5}, false}})
        EXPECT_EQ(r.pointInside(p), inside) << p.x << "," << p.y;
}

TEST(VstguiGeometry, ColoursReadAndWriteHexNotation)
{
    struct Case {
        const char* text;
        bool ok;
        CColor colour;
    };
    const CColor untouched(1, 2, 3, 4);
    for (const Case& c : {Case{"#ff000080", true, CColor(255, 0, 0, 128)}, Case{"#0A0b0C", true, CColor(10, 11, 12, 255)},
                          Case{"#12345", false, untouched}, Case{"123456ff", false, untouched},
                          Case{"#gg000000", false, untouched}, Case{"", false, untouched}}) {
        CColor colour(untouched);
        EXPECT_EQ(colour.fromString(c.text), c.ok) << c.text;
        EXPECT_EQ(colour, c.colour) << c.text;
    }
    EXPECT_EQ(CColor(1, 171, 255, 16).toString(), "#01abff10");
    EXPECT_EQ(CColor(200, 100, 50, 200).withAlphaScaled(0.5f), CColor(200, 100, 50, 100));
}

TEST(VstguiGeometry, ButtonStateSeparatesButtonsFromModifiers)
{
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
    const CPoint untouched(-7, -7);
    for (const Case& c : {Case{"12, 34", true, {12, 34}}, Case{"  -1.5,2e1 ", true, {-1.5, 20}},
                          Case{"12", false, untouched}, Case{"12, 34, 56", false, untouched},
                          Case{"a, b", false, untouched}, Case{"12,, 34", false, untouched}}) {
        CPoint p(untouched);
        EXPECT_EQ(UIAttributes::stringToPoint(c.text, p), c.ok) << c.text;
        EXPECT_EQ(p, c.point) << c.text;
    }
    CRect r;
    EXPECT_TRUE(UIAttributes::stringToRect("1, 2, 3, 4", r));
    EXPECT_EQ(r, CRect(1, 2, 3, 4));

    for (const auto& [text, ok] : std::vector<std::pair<const char*, bool>>{
             {" 42 ", true}, {"42x", false}, {"99999999999", false}}) {
        int32_t i = -1;
        EXPECT_EQ(UIAttributes::stringToInteger(text, i), ok) << text;
        EXPECT_EQ(i, ok ? 42 : -1) << text;
    }

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
