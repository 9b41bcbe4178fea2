// The centre-zero meter drawn from flat pictures, and made by a UI
// description with the stock meter's attributes.

#include "panel/Corvane_MeterView.h"

#include <algorithm>
#include <string>

#include "vstgui/lib/coffscreencontext.h"
#include "vstgui/uidescription/uidescription.h"
#include "vstgui/vstgui_test_support.h"

#include <gtest/gtest.h>

using namespace VSTGUI;

namespace {

constexpr int kWidth = 260, kHeight = 20;
// The meter lies at this offset in its parent, which it draws in.
constexpr int kLeft = 20, kTop = 10;
const CColor kOn(0, 255, 0), kOff(255, 0, 0);

SharedPointer<CBitmap> flat(const CColor& colour)
{
    auto bitmap = owned(new CBitmap(kWidth, kHeight));
    COffscreenContext context(bitmap);
    context.setFillColor(colour);
    context.drawRect(CRect(0, 0, kWidth, kHeight), kDrawFilled);
    return bitmap;
}

// Draws the meter into a fresh transparent context: what each column across
// its middle, and one outside on each side, shows: 'l' on picture, 'd' off
// picture, ' ' nothing.
std::string drawn(Corvane_MeterView* meter)
{
    auto context = owned(COffscreenContext::create(nullptr, kLeft + kWidth + 20, kTop + kHeight + 10));
    meter->draw(context);
    std::string shown;
    for (int x = kLeft - 1; x <= kLeft + kWidth; ++x) {
        const CColor c = vstgui_test::pixel(context, x, kTop + kHeight / 2);
        shown += c == kOn ? 'l' : c == kOff ? 'd' : c.alpha == 0 ? ' ' : '?';
    }
    return shown;
}

// A meter lit from `from` to `to` (pixels from its left), dark elsewhere;
// nothing at all when from == to.
std::string litBetween(int from, int to)
{
    std::string shown = " ";
    for (int x = 0; x < kWidth; ++x) shown += from == to ? ' ' : x >= from && x < to ? 'l' : 'd';
    return shown + " ";
}

} // namespace

TEST(MeterView, LightsFromTheCentreToTheValueInWholeSegmentsAndDrawsNothingAtTheCentreOrWithoutAPicture)
{
    // Segments of 13 pixels for 20; the bar ends at the segment boundary
    // nearest the value. A bar at the centre draws nothing, leaving the last
    // picture in place; without a picture nothing is drawn and it stays dirty.
    struct Case {
        int32_t segments;
        float value;
        int from, to;
        bool on = true, off = true;
    };
    const Case cases[] = {
        {20, 1.0f, 130, 260}, {20, 0.0f, 0, 130},   {20, 0.8f, 130, 208}, {20, 0.3f, 78, 130},
        {20, 0.62f, 130, 156}, {20, 0.03f, 13, 130}, {20, 1.7f, 130, 260}, {20, -0.4f, 0, 130},
        {5, 0.35f, 104, 130}, {20, 0.5f, 0, 0},     {20, 0.52f, 0, 0},    {20, 0.48f, 0, 0},
        {4, 0.55f, 0, 0},     {20, 1.0f, 0, 0, false, true}, {20, 1.0f, 0, 0, true, false},
        {20, 1.0f, 0, 0, false, false},
        // Two segments: left half, centre or right half only.
        {2, 0.0f, 0, 130}, {2, 0.2f, 0, 130}, {2, 0.3f, 0, 0}, {2, 0.5f, 0, 0}, {2, 0.7f, 0, 0},
        {2, 0.8f, 130, 260}, {2, 1.0f, 130, 260},
    };

    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.segments) + " segments, value " + std::to_string(c.value) +
                     (c.on ? "" : ", no on picture") + (c.off ? "" : ", no off picture"));
        auto meter = owned(new Corvane_MeterView(CRect(kLeft, kTop, kLeft + kWidth, kTop + kHeight)));
        meter->setNbLed(c.segments);
        if (c.on) meter->setOnBitmap(flat(kOn));
        if (c.off) meter->setOffBitmap(flat(kOff));
        meter->setValue(c.value);
        meter->setDirty(true);
        EXPECT_EQ(drawn(meter), litBetween(c.from, c.to));
        EXPECT_EQ(meter->isDirty(), !(c.on && c.off));
        EXPECT_EQ(meter->getValue(), std::clamp(c.value, 0.f, 1.f));
    }
}

TEST(MeterView, ADescriptionMakesItWithTheStockMetersAttributes)
{
    Corvane_MeterView_register();
    vstgui_test::ResourceFolder resources;
    resources.png("on.png", kWidth, kHeight, {{0, 255, 0, 255}});
    resources.png("off.png", kWidth, kHeight, {{255, 0, 0, 255}});
    auto description = resources.describe(R"(<vstgui-ui-description version="1">
  <bitmaps><bitmap name="on" path="on.png"/><bitmap name="off" path="off.png"/></bitmaps>
  <control-tags><control-tag name="Change" tag="92"/></control-tags>
</vstgui-ui-description>)");
    std::vector<std::pair<const char*, const char*>> attributes = {
        {"class", "Corvane_MeterView"}, {"origin", "20, 10"}, {"size", "260, 20"}};
    auto plain = vstgui_test::made<Corvane_MeterView>(vstgui_test::attributesOf(attributes), description);
    ASSERT_NE(plain, nullptr);
    EXPECT_TRUE(!plain->getOnBitmap() && !plain->getOffBitmap() && plain->getNbLed() == 0 && plain->getStyle() == 0);

    attributes.insert(attributes.end(), {{"bitmap", "on"}, {"off-bitmap", "off"}, {"num-led", "20"},
                                         {"control-tag", "Change"}, {"orientation", "horizontal"}});
    auto meter = vstgui_test::made<Corvane_MeterView>(vstgui_test::attributesOf(attributes), description);
    ASSERT_NE(meter, nullptr);
    EXPECT_STREQ(UIViewFactory().getViewName(meter), "Corvane_MeterView");
    EXPECT_EQ(meter->getViewSize(), CRect(20, 10, 280, 30));
    EXPECT_EQ(meter->getTag(), 92);
    // Both pictures and 20 segments of 13 pixels.
    meter->setValue(0.3f);
    EXPECT_EQ(drawn(meter), litBetween(78, 130));
}
