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

} // namespace

TEST(VstguiDrawing, OffscreenHasTheAskedSizeAndRefusesAnEmptyOne)
{
    auto c = owned(COffscreenContext::create(nullptr, 30, 20));
    ASSERT_TRUE(c);
    EXPECT_EQ(c->getWidth(), 30);
    EXPECT_EQ(c->getHeight(), 20);
    EXPECT_EQ(pixel(c, 5, 5).alpha, 0) << "a new picture is transparent";
    EXPECT_EQ(COffscreenContext::create(nullptr, 0, 10), nullptr);
    EXPECT_EQ(COffscreenContext::create(nullptr, 10, -1), nullptr);
}

TEST(VstguiDrawing, FilledAndStrokedRectanglesCoverExactlyTheirPixels)
{
    auto c = whitePicture(20, 20);
    c->setFillColor(kRedCColor);
    c->drawRect(CRect(2, 3, 6, 8), kDrawFilled);
    EXPECT_EQ(pixel(c, 2, 3), kRedCColor);
    EXPECT_EQ(pixel(c, 5, 7), kRedCColor);
    EXPECT_EQ(pixel(c, 6, 7), kWhiteCColor);
    EXPECT_EQ(pixel(c, 5, 8), kWhiteCColor);
    EXPECT_EQ(pixel(c, 1, 3), kWhiteCColor);

    // A one-pixel frame lies on the rectangle's outer pixels, inside it.
    c->setFrameColor(kBlueCColor);
    c->setLineWidth(1);
    c->drawRect(CRect(10, 10, 15, 14), kDrawStroke);
    EXPECT_EQ(rowPattern(c, 10, 9, 16), ".#####.");
    EXPECT_EQ(rowPattern(c, 12, 9, 16), ".#...#.");
    EXPECT_EQ(rowPattern(c, 13, 9, 16), ".#####.");
    EXPECT_EQ(rowPattern(c, 14, 9, 16), ".......");
    c->endDraw();
}

TEST(VstguiDrawing, OnePixelLinesLieOnOnePixelRowOrColumn)
{
    auto c = whitePicture(20, 20);
    c->setFrameColor(kBlackCColor);
    c->setLineWidth(1);
    c->drawLine(CPoint(2, 5), CPoint(12, 5));
    EXPECT_EQ(rowPattern(c, 4, 0, 14), "..............");
    EXPECT_EQ(rowPattern(c, 5, 0, 14), "..##########..");
    EXPECT_EQ(rowPattern(c, 6, 0, 14), "..............");

    c->drawLines({{CPoint(15, 0), CPoint(15, 4)}, {CPoint(17, 0), CPoint(17, 4)}});
    EXPECT_EQ(rowPattern(c, 2, 14, 19), ".#.#.");

    // moveTo and lineTo draw the same line as drawLine.
    c->moveTo(CPoint(0, 10));
    c->lineTo(CPoint(4, 10));
    EXPECT_EQ(rowPattern(c, 10, 0, 6), "####..");
    EXPECT_EQ(c->getPenPosition(), CPoint(4, 10));
}

TEST(VstguiDrawing, PolygonsAndEllipsesFillInsideTheirOutline)
{
    auto c = whitePicture(40, 40);
    c->setFillColor(kGreenCColor);
    c->drawPolygon({CPoint(0, 0), CPoint(20, 0), CPoint(0, 20)}, kDrawFilled);
    EXPECT_EQ(pixel(c, 2, 2), kGreenCColor);
    EXPECT_EQ(pixel(c, 18, 18), kWhiteCColor);

    c->setFillColor(kBlueCColor);
    c->drawEllipse(CRect(20, 20, 40, 40), kDrawFilled);
    EXPECT_EQ(pixel(c, 30, 30), kBlueCColor);
    EXPECT_EQ(pixel(c, 21, 21), kWhiteCColor) << "a corner lies outside the ellipse";
}

TEST(VstguiDrawing, ClipRectangleLimitsDrawingAndIsRestoredWithTheState)
{
    auto c = whitePicture(20, 20);
    c->saveGlobalState();
    c->setClipRect(CRect(5, 5, 10, 10));
    CRect clip;
    EXPECT_EQ(c->getClipRect(clip), CRect(5, 5, 10, 10));
    c->setFillColor(kRedCColor);
    c->drawRect(CRect(0, 0, 20, 20), kDrawFilled);
    c->restoreGlobalState();
    EXPECT_EQ(pixel(c, 5, 5), kRedCColor);
    EXPECT_EQ(pixel(c, 9, 9), kRedCColor);
    EXPECT_EQ(pixel(c, 10, 9), kWhiteCColor);
    EXPECT_EQ(pixel(c, 4, 5), kWhiteCColor);
    EXPECT_EQ(c->getClipRect(clip), CRect(0, 0, 20, 20));
    EXPECT_EQ(c->getFillColor(), kWhiteCColor) << "the state came back";

    // A clip beyond the surface is limited to it.
    c->setClipRect(CRect(-10, -10, 100, 100));
    EXPECT_EQ(c->getClipRect(clip), CRect(0, 0, 20, 20));
}

TEST(VstguiDrawing, TransformsMoveDrawingAndTheClipWithIt)
{
    auto c = whitePicture(30, 30);
    {
        CDrawContext::Transform t(*c, CGraphicsTransform().translate(10, 20));
        c->setClipRect(CRect(0, 0, 5, 5));
        CRect clip;
        EXPECT_EQ(c->getClipRect(clip), CRect(0, 0, 5, 5)) << "the clip reads back in local coordinates";
        c->setFillColor(kRedCColor);
        c->drawRect(CRect(0, 0, 10, 10), kDrawFilled);
    }
    EXPECT_EQ(pixel(c, 10, 20), kRedCColor);
    EXPECT_EQ(pixel(c, 14, 24), kRedCColor);
    EXPECT_EQ(pixel(c, 15, 24), kWhiteCColor) << "clipped at local x 5";
    EXPECT_EQ(pixel(c, 9, 20), kWhiteCColor);
    EXPECT_EQ(c->getCurrentTransform().dx, 0) << "the transform ended with its scope";
}

TEST(VstguiDrawing, GlobalAlphaBlendsWithWhatIsThere)
{
    auto c = whitePicture(10, 10);
    c->setGlobalAlpha(0.5f);
    c->setFillColor(kBlackCColor);
    c->drawRect(CRect(0, 0, 10, 10), kDrawFilled);
    // Black at half opacity over white: 255 * (1 - 0.5).
    EXPECT_TRUE(near(pixel(c, 3, 3), CColor(128, 128, 128, 255))) << str(pixel(c, 3, 3));
    c->setGlobalAlpha(3.f);
    EXPECT_EQ(c->getGlobalAlpha(), 1.f);
}

TEST(VstguiDrawing, TextIsDrawnInsideItsRectangleInTheFontColourAndAligned)
{
    auto c = whitePicture(120, 30);
    c->setFont(kNormalFont, 14);
    EXPECT_EQ(c->getFont()->getSize(), 14);
    EXPECT_EQ(kNormalFont->getSize(), 12) << "the standard font is unchanged";
    const CCoord wide = c->getStringWidth("WWWW");
    const CCoord narrow = c->getStringWidth("iiii");
    EXPECT_GT(wide, narrow);
    EXPECT_NEAR(c->getStringWidth("abab"), 2 * c->getStringWidth("ab"), 1.0);
    EXPECT_EQ(c->getStringWidth(""), 0);

    auto inkColumns = [&](int& first, int& last) {
        first = -1;
        last = -1;
        for (int x = 0; x < 120; ++x) {
            for (int y = 0; y < 30; ++y) {
                if (pixel(c, x, y) != kWhiteCColor) {
                    if (first < 0) first = x;
                    last = x;
                    break;
                }
            }
        }
    };
    const CRect box(10, 5, 110, 25);
    c->setFontColor(kRedCColor);
    c->drawString("Hi", box, kLeftText, false);
    int first, last;
    inkColumns(first, last);
    EXPECT_GE(first, 10);
    EXPECT_LT(first, 14);
    bool red = false;
    for (int x = first; x <= last && !red; ++x)
        for (int y = 5; y < 25; ++y) red = red || pixel(c, x, y) == kRedCColor;
    EXPECT_TRUE(red) << "glyphs drawn without anti-aliasing are in the font colour";

    auto d = whitePicture(120, 30);
    d->setFont(kNormalFont, 14);
    d->setFontColor(kBlackCColor);
    d->drawString("Hi", box, kRightText);
    c = d;
    inkColumns(first, last);
    EXPECT_LE(last, 109);
    EXPECT_GT(last, 100);
    for (int x = 0; x < 120; ++x) {
        EXPECT_EQ(pixel(d, x, 2), kWhiteCColor) << "nothing above the rectangle, x " << x;
        EXPECT_EQ(pixel(d, x, 27), kWhiteCColor) << "nothing below the rectangle, x " << x;
    }
}

TEST(VstguiDrawing, BitmapsLoadFromPNGResourcesByNameAndNumber)
{
    const std::string dir = vstgui_test::scratchDir();
    vstgui_test::writeBandsPNG(dir + "/bands.png", 8, 4, {{255, 0, 0, 255}, {0, 0, 255, 255}, {0, 255, 0, 128}});
    vstgui_test::writeBandsPNG(dir + "/bmp00042.png", 3, 3, {{10, 20, 30, 255}});
    vstgui_test::writeText(dir + "/broken.png", "not a picture");
    setResourceDirectory(dir.c_str());

    auto bands = owned(new CBitmap(CResourceDescription("bands.png")));
    ASSERT_TRUE(bands->isLoaded());
    EXPECT_EQ(bands->getWidth(), 8);
    EXPECT_EQ(bands->getHeight(), 12);
    EXPECT_EQ(pixel(bands, 0, 0), CColor(255, 0, 0, 255));
    EXPECT_EQ(pixel(bands, 7, 4), CColor(0, 0, 255, 255));
    EXPECT_TRUE(near(pixel(bands, 3, 9), CColor(0, 255, 0, 128)));

    auto numbered = owned(new CBitmap(CResourceDescription(42)));
    ASSERT_TRUE(numbered->isLoaded());
    EXPECT_EQ(pixel(numbered, 1, 1), CColor(10, 20, 30, 255));

    auto absolute = owned(new CBitmap(CResourceDescription((dir + "/bands.png").c_str())));
    EXPECT_TRUE(absolute->isLoaded());

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
    const std::string dir = vstgui_test::scratchDir();
    vstgui_test::writeBandsPNG(dir + "/strip.png", 6, 5, {{255, 0, 0, 255}, {0, 0, 255, 255}});
    auto strip = owned(new CBitmap(CResourceDescription((dir + "/strip.png").c_str())));
    ASSERT_TRUE(strip->isLoaded());

    auto c = whitePicture(20, 20);
    // The second band (from y 5) into a 6 x 5 rectangle at (10, 10).
    strip->draw(c, CRect(10, 10, 16, 15), CPoint(0, 5));
    EXPECT_EQ(pixel(c, 10, 10), kBlueCColor);
    EXPECT_EQ(pixel(c, 15, 14), kBlueCColor);
    EXPECT_EQ(pixel(c, 16, 14), kWhiteCColor);
    EXPECT_EQ(pixel(c, 10, 15), kWhiteCColor);

    // A rectangle larger than what is left of the picture: only the
    // picture's part is drawn.
    strip->draw(c, CRect(0, 0, 10, 10), CPoint(2, 6));
    EXPECT_EQ(pixel(c, 3, 3), kBlueCColor);
    EXPECT_EQ(pixel(c, 4, 3), kWhiteCColor) << "beyond the picture's width";
    EXPECT_EQ(pixel(c, 3, 4), kWhiteCColor) << "beyond the picture's height";

    // Half alpha blends.
    strip->draw(c, CRect(0, 15, 6, 20), CPoint(0, 0), 0.5f);
    EXPECT_TRUE(near(pixel(c, 1, 16), CColor(255, 128, 128, 255))) << str(pixel(c, 1, 16));
}

TEST(VstguiDrawing, OffscreenCopyReplacesPixelsOfTheDestination)
{
    auto source = owned(COffscreenContext::create(nullptr, 10, 10));
    source->beginDraw();
    source->setFillColor(kRedCColor);
    source->drawRect(CRect(0, 0, 5, 10), kDrawFilled);
    source->endDraw(); // the right half stays transparent

    auto dest = whitePicture(10, 10);
    source->copyFrom(dest, CRect(0, 0, 10, 10));
    EXPECT_EQ(pixel(dest, 2, 2), kRedCColor);
    EXPECT_EQ(pixel(dest, 7, 2).alpha, 0) << "a copy replaces, it does not blend";

    // A part with a source offset into a smaller rectangle.
    auto second = whitePicture(10, 10);
    source->copyFrom(second, CRect(6, 6, 8, 8), CPoint(3, 0));
    EXPECT_EQ(pixel(second, 6, 6), kRedCColor);
    EXPECT_EQ(pixel(second, 7, 7), kRedCColor);
    EXPECT_EQ(pixel(second, 5, 6), kWhiteCColor);
    EXPECT_EQ(pixel(second, 8, 8), kWhiteCColor);

    // Copying a picture onto itself moves its content.
    auto self = whitePicture(10, 10);
    self->setFillColor(kBlueCColor);
    self->drawRect(CRect(4, 0, 6, 10), kDrawFilled);
    self->copyFrom(self, CRect(0, 0, 8, 10), CPoint(2, 0));
    EXPECT_EQ(pixel(self, 2, 5), kBlueCColor);
    EXPECT_EQ(pixel(self, 3, 5), kBlueCColor);
    EXPECT_EQ(pixel(self, 1, 5), kWhiteCColor);
}

TEST(VstguiDrawing, BitmapsWriteAndReadBackAsPNG)
{
    const std::string dir = vstgui_test::scratchDir();
    auto c = whitePicture(7, 5);
    c->setFillColor(CColor(12, 34, 56, 255));
    c->drawRect(CRect(1, 1, 3, 3), kDrawFilled);
    c->endDraw();
    const std::string path = dir + "/written.png";
    ASSERT_TRUE(c->getBitmap()->writePNG(path.c_str()));
    auto back = owned(new CBitmap(CResourceDescription(path.c_str())));
    ASSERT_TRUE(back->isLoaded());
    EXPECT_EQ(back->getSize(), CPoint(7, 5));
    EXPECT_EQ(pixel(back, 2, 2), CColor(12, 34, 56, 255));
    EXPECT_EQ(pixel(back, 4, 4), kWhiteCColor);

    EXPECT_FALSE(c->getBitmap()->writePNG((dir + "/no/such/folder/x.png").c_str()));
    EXPECT_NE(::access((dir + "/no/such/folder/x.png.part").c_str(), F_OK), 0);
    auto empty = owned(new CBitmap(CResourceDescription("missing.png")));
    EXPECT_FALSE(empty->writePNG((dir + "/empty.png").c_str()));
}

TEST(VstguiDrawing, PixelAccessWritesStraightColours)
{
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
