// The centre-zero meter drawn from flat pictures: which part of its width
// shows the on picture for a value, that a bar at the centre leaves the
// last picture standing, that it needs both pictures, and that a UI
// description makes it with the stock meter's attributes.

#include "panel/Corvane_MeterView.h"

#include <string>
#include <vector>

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

SharedPointer<Corvane_MeterView> makeMeter(int32_t segments, bool onPicture = true, bool offPicture = true)
{
    auto meter = owned(new Corvane_MeterView(CRect(kLeft, kTop, kLeft + kWidth, kTop + kHeight)));
    meter->setNbLed(segments);
    if (onPicture) meter->setOnBitmap(flat(kOn));
    if (offPicture) meter->setOffBitmap(flat(kOff));
    return meter;
}

SharedPointer<COffscreenContext> freshContext()
{
    return owned(COffscreenContext::create(nullptr, kLeft + kWidth + 20, kTop + kHeight + 10));
}

// What each column of the meter shows across its middle: 'l' lit (on
// picture), 'd' dark (off picture), ' ' nothing; one more column on each
// side, outside the meter.
std::string columns(COffscreenContext* context)
{
    std::string shown;
    for (int x = kLeft - 1; x <= kLeft + kWidth; ++x) {
        const CColor c = vstgui_test::pixel(context, x, kTop + kHeight / 2);
        shown += c == kOn ? 'l' : c == kOff ? 'd' : c.alpha == 0 ? ' ' : '?';
    }
    return shown;
}

// The columns of a meter lit from `from` to `to` (pixels from its left).
std::string litBetween(int from, int to)
{
    std::string shown = " ";
    for (int x = 0; x < kWidth; ++x) shown += x >= from && x < to ? 'l' : 'd';
    return shown + " ";
}

} // namespace

TEST(MeterView, LightsFromTheCentreToTheValueInWholeSegments)
{
    // Segments of 13 pixels for 20 of them; the bar ends at the segment
    // boundary nearest the value.
    struct Case {
        int32_t segments;
        float value;
        int from, to;
    };
    const Case cases[] = {
        {20, 1.0f, 130, 260}, {20, 0.0f, 0, 130},  {20, 0.8f, 130, 208}, {20, 0.3f, 78, 130},
        {20, 0.62f, 130, 156}, {20, 0.03f, 13, 130}, {20, 1.7f, 130, 260}, {20, -0.4f, 0, 130},
        {5, 0.35f, 104, 130},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.segments) + " segments, value " + std::to_string(c.value));
        auto meter = makeMeter(c.segments);
        meter->setValue(c.value);
        meter->setDirty(true);
        auto context = freshContext();
        meter->draw(context);
        EXPECT_EQ(columns(context), litBetween(c.from, c.to));
        EXPECT_FALSE(meter->isDirty());
        EXPECT_GE(meter->getValue(), 0.f) << "kept in range";
        EXPECT_LE(meter->getValue(), 1.f) << "kept in range";
    }
}

TEST(MeterView, ABarAtTheCentreLeavesThePreviousPictureInPlace)
{
    struct Case {
        int32_t segments;
        float value;
    };
    const Case cases[] = {{20, 0.5f}, {20, 0.52f}, {20, 0.48f}, {4, 0.55f}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.segments) + " segments, value " + std::to_string(c.value));
        auto meter = makeMeter(c.segments);
        auto context = freshContext();
        meter->setValue(1.f);
        meter->draw(context);
        const std::string before = columns(context);
        meter->setValue(c.value);
        meter->draw(context);
        EXPECT_EQ(columns(context), before);
        EXPECT_FALSE(meter->isDirty());
        auto fresh = freshContext();
        meter->draw(fresh);
        EXPECT_EQ(columns(fresh), std::string(kWidth + 2, ' '));
    }

    // Two segments: every value shows the left half, nothing new, or the
    // right half, by the nearest of 0, one half and 1.
    auto meter = makeMeter(2);
    for (int i = 0; i <= 20; ++i) {
        if (i == 5 || i == 15) continue; // halfway between two positions
        const float value = float(i) / 20;
        meter->setValue(value);
        auto context = freshContext();
        meter->draw(context);
        const std::string expected = value < 0.25f   ? litBetween(0, 130)
                                     : value > 0.75f ? litBetween(130, 260)
                                                     : std::string(kWidth + 2, ' ');
        EXPECT_EQ(columns(context), expected) << value;
    }
}

TEST(MeterView, WithoutEitherPictureDrawsNothingAndStaysDirty)
{
    const std::pair<bool, bool> pictures[] = {{false, true}, {true, false}, {false, false}};
    for (const auto& [on, off] : pictures) {
        SCOPED_TRACE(std::string(on ? "on" : "no on") + " picture, " + (off ? "off" : "no off") + " picture");
        auto meter = makeMeter(20, on, off);
        meter->setValue(1.f);
        meter->setDirty(true);
        auto context = freshContext();
        meter->draw(context);
        EXPECT_EQ(columns(context), std::string(kWidth + 2, ' '));
        EXPECT_TRUE(meter->isDirty());
    }
}

TEST(MeterView, ADescriptionMakesItWithTheStockMetersAttributes)
{
    Corvane_MeterView_register();
    const std::string dir = vstgui_test::scratchDir();
    vstgui_test::writeBandsPNG(dir + "/on.png", kWidth, kHeight, {{0, 255, 0, 255}});
    vstgui_test::writeBandsPNG(dir + "/off.png", kWidth, kHeight, {{255, 0, 0, 255}});
    vstgui_test::writeText(dir + "/meter.uidesc", R"(<vstgui-ui-description version="1">
  <bitmaps><bitmap name="on" path="on.png"/><bitmap name="off" path="off.png"/></bitmaps>
  <control-tags><control-tag name="Change" tag="92"/></control-tags>
</vstgui-ui-description>)");
    setResourceDirectory(dir.c_str());
    auto description = owned(new UIDescription(CResourceDescription("meter.uidesc")));
    ASSERT_TRUE(description->parse()) << description->getLastError();
    UIViewFactory factory;

    UIAttributes attributes;
    attributes.setAttribute("class", "Corvane_MeterView");
    attributes.setAttribute("origin", "20, 10");
    attributes.setAttribute("size", "260, 20");
    auto plain = owned(dynamic_cast<Corvane_MeterView*>(factory.createView(attributes, description)));
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(plain->getOnBitmap(), nullptr);
    EXPECT_EQ(plain->getOffBitmap(), nullptr);
    EXPECT_EQ(plain->getNbLed(), 0);
    EXPECT_EQ(plain->getStyle(), 0);

    attributes.setAttribute("bitmap", "on");
    attributes.setAttribute("off-bitmap", "off");
    attributes.setAttribute("num-led", "20");
    attributes.setAttribute("control-tag", "Change");
    attributes.setAttribute("orientation", "horizontal");
    auto meter = owned(dynamic_cast<Corvane_MeterView*>(factory.createView(attributes, description)));
    ASSERT_NE(meter, nullptr);
    EXPECT_STREQ(factory.getViewName(meter), "Corvane_MeterView");
    EXPECT_EQ(meter->getViewSize(), CRect(20, 10, 280, 30));
    EXPECT_EQ(meter->getNbLed(), 20);
    EXPECT_EQ(meter->getTag(), 92);
    meter->setValue(0.3f);
    auto context = freshContext();
    meter->draw(context);
    EXPECT_EQ(columns(context), litBetween(78, 130));
    setResourceDirectory(nullptr);
}
