#include "vstgui_test_support.h"

#include "vstgui/lib/cbitmap.h"
#include "vstgui/lib/cdrawcontext.h"
#include "vstgui/lib/coffscreencontext.h"

#include <gtest/gtest.h>

using namespace VSTGUI;
using vstgui_test::near;
using vstgui_test::pixel;
using vstgui_test::str;

namespace {

// An offscreen picture filled white, with its context set for crisp lines.
SharedPointer<COffscreenContext> whitePicture(int w, int h)
{
    auto context = owned(COffscreenContext::create(nullptr, w, h));
    context->beginDraw();
    context->setFillColor(kWhiteCColor);
    context->drawRect(CRect(0, 0, w, h), kDrawFilled);
    context->setDrawMode(kAliasing);
    return context;
}

// The pixels of a row that are not white, as a string of '.' and '#'.
std::string rowPattern(COffscreenContext* c, int y, int x0, int x1)
{
    std::string s;
    for (int x = x0; x < x1; ++x) s += pixel(c, x, y) == kWhiteCColor ? '.' : '#';
    return s;
}

struct At {
    int x, y;
    CColor colour;
};

template <class Picture>
void expectPixels(Picture* picture, std::initializer_list<At> expected)
{
    for (const At& at : expected) EXPECT_EQ(pixel(picture, at.x, at.y), at.colour) << at.x << "," << at.y;
}

// A PNG of bands in the test's scratch folder, loaded as a bitmap.
SharedPointer<CBitmap> bandsBitmap(const char* name, int w, int bandHeight, const std::vector<vstgui_test::Rgba>& bands)
{
    const std::string path = vstgui_test::scratchDir() + "/" + name;
    vstgui_test::writeBandsPNG(path, w, bandHeight, bands);
    return owned(new CBitmap(CResourceDescription(path.c_str())));
}

} // namespace

TEST(VstguiDrawing, ShapesCoverExactlyTheirPixels)
{
    auto c = whitePicture(40, 40);
    c->setFillColor(kRedCColor);
    c->drawRect(CRect(2, 3, 6, 8), kDrawFilled);
    expectPixels(c.get(), {{2, 3, kRedCColor}, {5, 7, kRedCColor}, {6, 7, kWhiteCColor}, {5, 8, kWhiteCColor},
                           {1, 3, kWhiteCColor}});

    // A one-pixel frame lies on the rectangle's outer pixels, inside it.
    c->setFrameColor(kBlueCColor);
    c->setLineWidth(1);
    c->drawRect(CRect(10, 10, 15, 14), kDrawStroke);
    EXPECT_EQ(rowPattern(c, 10, 9, 16), ".#####.");
    EXPECT_EQ(rowPattern(c, 12, 9, 16), ".#...#.");
    EXPECT_EQ(rowPattern(c, 13, 9, 16), ".#####.");
    EXPECT_EQ(rowPattern(c, 14, 9, 16), ".......");

    // A one-pixel line lies on one row.
    c->drawLine(CPoint(2, 20), CPoint(12, 20));
    EXPECT_EQ(rowPattern(c, 19, 0, 14) + rowPattern(c, 21, 0, 14), std::string(28, '.'));
    EXPECT_EQ(rowPattern(c, 20, 0, 14), "..##########..");

    // The option menu's check mark. (21, 21) is a corner of the box, outside
    // the ellipse.
    c->setFillColor(kBlueCColor);
    c->drawEllipse(CRect(20, 20, 40, 40), kDrawFilled);
    expectPixels(c.get(), {{30, 30, kBlueCColor}, {21, 21, kWhiteCColor}});
}

TEST(VstguiDrawing, TextIsDrawnInsideItsRectangleInTheFontColourAndAligned)
{
    const CRect box(10, 5, 110, 25);
    // The first and last columns with ink, and whether any ink is red.
    struct Ink {
        int first = -1, last = -1;
        bool red = false;
    };
    auto drawText = [&](CHoriTxtAlign align, const CColor& colour, bool antialias) {
        auto c = whitePicture(120, 30);
        c->setFont(kNormalFont, 14);
        c->setFontColor(colour);
        c->drawString("Hi", box, align, antialias);
        Ink ink;
        for (int x = 0; x < 120; ++x)
            for (int y = 0; y < 30; ++y) {
                const CColor p = pixel(c, x, y);
                if (p == kWhiteCColor) continue;
                EXPECT_TRUE(y >= 5 && y < 25) << "ink outside the rectangle at " << x << "," << y;
                if (ink.first < 0) ink.first = x;
                ink.last = x;
                ink.red = ink.red || p == kRedCColor;
            }
        return ink;
    };
    const Ink left = drawText(kLeftText, kRedCColor, false);
    EXPECT_GE(left.first, 10);
    EXPECT_LT(left.first, 14);
    EXPECT_TRUE(left.red) << "glyphs drawn without anti-aliasing are in the font colour";
    const Ink right = drawText(kRightText, kBlackCColor, true);
    EXPECT_LE(right.last, 109);
    EXPECT_GT(right.last, 100);
    EXPECT_EQ(kNormalFont->getSize(), 12) << "the standard font is unchanged";
}

TEST(VstguiDrawing, BitmapsLoadFromPNGResourcesByName)
{
    const std::string dir = vstgui_test::scratchDir();
    vstgui_test::writeBandsPNG(dir + "/bands.png", 8, 4, {{255, 0, 0, 255}, {0, 0, 255, 255}, {0, 255, 0, 128}});
    vstgui_test::writeText(dir + "/broken.png", "not a picture");
    setResourceDirectory(dir.c_str());

    auto bands = owned(new CBitmap(CResourceDescription("bands.png")));
    ASSERT_TRUE(bands->isLoaded());
    EXPECT_EQ(bands->getSize(), CPoint(8, 12));
    expectPixels(bands.get(), {{0, 0, CColor(255, 0, 0, 255)}, {7, 4, CColor(0, 0, 255, 255)}});
    EXPECT_TRUE(near(pixel(bands, 3, 9), CColor(0, 255, 0, 128)));
    EXPECT_TRUE(owned(new CBitmap(CResourceDescription((dir + "/bands.png").c_str())))->isLoaded()) << "absolute";

    for (const char* bad : {"missing.png", "broken.png", ""}) {
        auto b = owned(new CBitmap(CResourceDescription(bad)));
        EXPECT_FALSE(b->isLoaded()) << bad;
        EXPECT_EQ(b->getWidth(), 0) << bad;
        auto c = whitePicture(4, 4);
        b->draw(c, CRect(0, 0, 4, 4));
        EXPECT_EQ(pixel(c, 1, 1), kWhiteCColor) << "an unloaded bitmap draws nothing";
    }
    setResourceDirectory(nullptr);
}

TEST(VstguiDrawing, BitmapDrawCopiesThePartAtTheOffsetIntoTheRectangleOnly)
{
    auto strip = bandsBitmap("strip.png", 6, 5, {{255, 0, 0, 255}, {0, 0, 255, 255}});
    ASSERT_TRUE(strip->isLoaded());
    auto c = whitePicture(20, 20);
    // The second band (from y 5) into a 6 x 5 rectangle at (10, 10).
    strip->draw(c, CRect(10, 10, 16, 15), CPoint(0, 5));
    // A rectangle larger than what is left of the picture: only the
    // picture's part, 4 x 4 from (2, 6), is drawn.
    strip->draw(c, CRect(0, 0, 10, 10), CPoint(2, 6));
    expectPixels(c.get(), {{10, 10, kBlueCColor}, {15, 14, kBlueCColor}, {16, 14, kWhiteCColor},
                           {10, 15, kWhiteCColor}, {3, 3, kBlueCColor}, {4, 3, kWhiteCColor}, {3, 4, kWhiteCColor}});
    strip->draw(c, CRect(0, 15, 6, 20), CPoint(0, 0), 0.5f);
    EXPECT_TRUE(near(pixel(c, 1, 16), CColor(255, 128, 128, 255))) << str(pixel(c, 1, 16));
}

// Writing PNG files is checked through the editor's snapshots, against the
// bundle's pictures read by cairo.
TEST(VstguiDrawing, OffscreenPicturesHaveTheAskedSizeAndPixelAccessWritesStraightColours)
{
    auto c = owned(COffscreenContext::create(nullptr, 30, 20));
    ASSERT_TRUE(c);
    EXPECT_EQ(c->getBitmap()->getSize(), CPoint(30, 20));
    EXPECT_EQ(pixel(c, 5, 5).alpha, 0) << "a new picture is transparent";
    EXPECT_EQ(COffscreenContext::create(nullptr, 0, 10), nullptr);
    EXPECT_EQ(COffscreenContext::create(nullptr, 10, -1), nullptr);

    auto bitmap = owned(new CBitmap(4, 4));
    auto* access = CBitmapPixelAccess::create(bitmap);
    ASSERT_NE(access, nullptr);
    EXPECT_TRUE(access->setPosition(3, 3));
    EXPECT_FALSE(access->setPosition(4, 0));
    EXPECT_TRUE(access->setColor(CColor(200, 100, 50, 255)));
    access->forget();
    EXPECT_EQ(pixel(bitmap, 3, 3), CColor(200, 100, 50, 255));
    EXPECT_EQ(CBitmapPixelAccess::create(nullptr), nullptr);
}

TEST(VstguiDrawing, AtAScaleFactorUnitsAreThatManyPixelsAndPicturesOfOneScaleCopyPixelForPixel)
{
    // 20 x 10 units at 2 pixels a unit: 40 x 20 pixels.
    auto a = owned(COffscreenContext::create(nullptr, 20, 10, 2.0));
    auto b = owned(COffscreenContext::create(nullptr, 20, 10, 2.0));
    ASSERT_TRUE(a && b);
    EXPECT_EQ(a->getBitmap()->getSize(), CPoint(20, 10));
    auto* access = CBitmapPixelAccess::create(a->getBitmap());
    ASSERT_NE(access, nullptr);
    EXPECT_EQ(access->getBitmapWidth(), 40u);
    access->forget();
    a->beginDraw();
    a->setFillColor(kWhiteCColor);
    a->drawRect(CRect(0, 0, 20, 10), kDrawFilled);
    a->setDrawMode(kAliasing);
    // A one-unit line along row 3 covers pixel rows 6 and 7; like every
    // line of an odd width it lies half a unit on, here from 2.5 to 5.5
    // units: pixel columns 5..10.
    a->setFrameColor(kBlackCColor);
    a->drawLine(CPoint(2, 3), CPoint(5, 3));
    a->endDraw();
    for (int y : {5, 6, 7, 8}) {
        std::string row;
        for (int x = 2; x < 12; ++x) row += pixel(a, x, y) == kWhiteCColor ? '.' : '#';
        EXPECT_EQ(row, (y == 6 || y == 7) ? "...######." : "..........") << "pixel row " << y;
    }
    // Moved by 1.5 units: 3 pixels, with nothing smeared.
    b->beginDraw();
    a->copyFrom(b, CRect(1.5, 0, 20, 10));
    b->endDraw();
    EXPECT_EQ(pixel(b, 7, 6), kWhiteCColor);
    EXPECT_EQ(pixel(b, 8, 6), kBlackCColor);
    EXPECT_EQ(pixel(b, 13, 7), kBlackCColor);
    EXPECT_EQ(pixel(b, 14, 7), kWhiteCColor);

    // At 10/9 pixels a unit a clip ending at 9.5 units (10.56 pixels) takes
    // pixel column 10 whole, never a blend by coverage: a view's edge looks
    // the same whether the window is drawn whole or in parts.
    auto scaled = owned(COffscreenContext::create(nullptr, 18, 9, 10.0 / 9.0));
    ASSERT_TRUE(scaled);
    scaled->beginDraw();
    scaled->setClipRect(CRect(0, 0, 9.5, 9));
    scaled->setFillColor(kRedCColor);
    scaled->drawRect(CRect(0, 0, 18, 9), kDrawFilled);
    scaled->endDraw();
    EXPECT_EQ(pixel(scaled, 10, 4), kRedCColor) << str(pixel(scaled, 10, 4));
    EXPECT_EQ(pixel(scaled, 11, 4).alpha, 0);
}
