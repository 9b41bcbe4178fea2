#include "vstgui/lib/crect.h"
#include "vstgui/uidescription/uiattributes.h"

#include <gtest/gtest.h>

#include <vector>

using namespace VSTGUI;

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
    EXPECT_EQ(CRect(10, 20, 110, 70).inset(5, 10).extend(1, 2), CRect(14, 28, 106, 62));
    EXPECT_EQ(CRect(50, 60, 10, 20).normalize(), CRect(10, 20, 50, 60));

    const CRect r(0, 0, 10, 10);
    for (const auto& [p, inside] : std::vector<std::pair<CPoint, bool>>{
             {{0, 0}, true}, {{9.5, 9.5}, true}, {{10, 5}, false}, {{5, 10}, false}, {{-0.5, 5}, false}})
        EXPECT_EQ(r.pointInside(p), inside) << p.x << "," << p.y;
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
    EXPECT_TRUE(a.getBooleanAttribute("flag", b) && b);
    EXPECT_FALSE(a.getBooleanAttribute("other", b) || a.getBooleanAttribute("missing", b));
}
