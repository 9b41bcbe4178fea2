#include "vstgui_test_support.h"

#include "vstgui/lib/cframe.h"
#include "vstgui/lib/controls/cbuttons.h"
#include "vstgui/lib/controls/cknob.h"
#include "vstgui/lib/controls/coptionmenu.h"
#include "vstgui/lib/controls/cparamdisplay.h"
#include "vstgui/lib/controls/cswitch.h"
#include "vstgui/lib/controls/cvumeter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

using namespace VSTGUI;
using vstgui_test::pixel;

namespace {

// Hears a control as its listener and as its dependent, in one log.
struct Recorder : IControlListener, CBaseObject {
    std::vector<std::string> log;
    void valueChanged(CControl* c) override
    {
        char text[64];
        std::snprintf(text, sizeof text, "value %g", double(c->getValue()));
        log.push_back(text);
    }
    void controlBeginEdit(CControl*) override { log.push_back("begin"); }
    void controlEndEdit(CControl*) override { log.push_back("end"); }
    CMessageResult notify(CBaseObject* sender, IdStringPtr message) override
    {
        // Messages are told apart by the identity of the constants.
        if (message == CControl::kMessageValueChanged) log.push_back("~value");
        if (message == CControl::kMessageBeginEdit) log.push_back("~begin");
        if (message == CControl::kMessageEndEdit) log.push_back("~end");
        return kMessageNotified;
    }
};

// A bitmap of n bands, band i filled with grey level 10 * (i + 1), each
// bandHeight high.
SharedPointer<CBitmap> greyStrip(int width, int bandHeight, int n)
{
    const std::string dir = vstgui_test::scratchDir();
    std::vector<vstgui_test::Rgba> colours;
    for (int i = 0; i < n; ++i) colours.push_back({uint8_t(10 * (i + 1)), uint8_t(10 * (i + 1)), uint8_t(10 * (i + 1)), 255});
    const std::string path = dir + "/strip.png";
    vstgui_test::writeBandsPNG(path, width, bandHeight, colours);
    return owned(new CBitmap(CResourceDescription(path.c_str())));
}

// The grey level a frame shows at a point.
int greyAt(CFrame* frame, int x, int y)
{
    auto picture = owned(frame->createSnapshot());
    return pixel(picture, x, y).red;
}

struct FrameFixture : ::testing::Test {
    void SetUp() override { frame = new CFrame(CRect(0, 0, 200, 200), nullptr); }
    void TearDown() override { frame->forget(); }
    void click(CPoint p, int32_t buttons = kLButton)
    {
        frame->platformOnMouseDown(p, buttons);
        frame->platformOnMouseUp(p, buttons & ~kDoubleClick);
    }
    CFrame* frame = nullptr;
    Recorder recorder;
};

using VstguiControls = FrameFixture;

} // namespace

TEST_F(VstguiControls, ValueRangeNormalizationAndBounce)
{
    CControl control(CRect(0, 0, 10, 10));
    control.setMin(-10);
    control.setMax(30);
    struct Case {
        float normalized, value;
    };
    for (const Case& c : {Case{0.f, -10.f}, Case{0.25f, 0.f}, Case{1.f, 30.f}, Case{2.f, 30.f}, Case{-1.f, -10.f}}) {
        control.setValueNormalized(c.normalized);
        EXPECT_FLOAT_EQ(control.getValue(), c.value) << c.normalized;
    }
    control.setValue(0.f);
    EXPECT_FLOAT_EQ(control.getValueNormalized(), 0.25f);
    control.setValue(99.f);
    control.bounceValue();
    EXPECT_FLOAT_EQ(control.getValue(), 30.f);
    control.setValue(NAN);
    EXPECT_FLOAT_EQ(control.getValue(), 30.f) << "not-a-number is refused";
    control.setMin(5);
    control.setMax(5);
    EXPECT_FLOAT_EQ(control.getValueNormalized(), 0.f) << "an empty range";
}

TEST_F(VstguiControls, OnOffButtonTogglesAsOneEditHeardByListenerAndDependents)
{
    auto* button = new COnOffButton(CRect(10, 10, 30, 30), &recorder, 7);
    button->addDependency(&recorder);
    frame->addView(button);
    click(CPoint(15, 15));
    EXPECT_EQ(recorder.log, (std::vector<std::string>{"begin", "~begin", "value 1", "~value", "end", "~end"}));
    recorder.log.clear();
    click(CPoint(15, 15));
    EXPECT_EQ(button->getValue(), 0.f);
    click(CPoint(15, 15), kRButton);
    EXPECT_EQ(button->getValue(), 0.f) << "the right button does not toggle";
    button->removeDependency(&recorder);
}

TEST_F(VstguiControls, OnOffButtonShowsTheLowerHalfOfItsBitmapWhenOn)
{
    auto strip = greyStrip(20, 20, 2);
    auto* button = new COnOffButton(CRect(0, 0, 20, 20), nullptr, 1, strip);
    frame->addView(button);
    EXPECT_EQ(greyAt(frame, 5, 5), 10);
    button->setValue(1.f);
    EXPECT_EQ(greyAt(frame, 5, 5), 20);
    button->setValue(0.5f);
    EXPECT_EQ(greyAt(frame, 5, 5), 10) << "only the maximum is on";

    auto* sized = new COnOffButton(CRect(50, 50, 51, 51), nullptr, 2, strip);
    EXPECT_TRUE(sized->sizeToFit());
    EXPECT_EQ(sized->getViewSize(), CRect(50, 50, 70, 70));
    sized->forget();
}

TEST_F(VstguiControls, KickButtonIsOnWhileHeldAndOffAfterRelease)
{
    auto* button = new CKickButton(CRect(0, 0, 20, 20), &recorder, 3);
    frame->addView(button);
    CPoint p(5, 5);
    frame->platformOnMouseDown(p, kLButton);
    EXPECT_EQ(button->getValue(), 1.f);
    p = CPoint(50, 50);
    frame->platformOnMouseMoved(p, kLButton);
    EXPECT_EQ(button->getValue(), 0.f) << "dragged off the button";
    p = CPoint(6, 6);
    frame->platformOnMouseMoved(p, kLButton);
    frame->platformOnMouseUp(p, kLButton);
    EXPECT_EQ(button->getValue(), 0.f);
    EXPECT_EQ(recorder.log, (std::vector<std::string>{"begin", "value 1", "value 0", "value 1", "value 0", "end"}));
}

TEST_F(VstguiControls, HorizontalSwitchPicksThePositionUnderThePointer)
{
    // Four positions of 20 pixels each across an 80 pixel switch.
    auto strip = greyStrip(80, 10, 4);
    auto* s = new CHorizontalSwitch(CRect(0, 0, 80, 10), &recorder, 5, 4, 10, 4, strip);
    frame->addView(s);
    struct Case {
        CCoord x;
        float normalized;
        int grey;
    };
    for (const Case& c : {Case{5, 0.f, 10}, Case{25, 1.f / 3, 20}, Case{59.5, 2.f / 3, 30}, Case{79, 1.f, 40}}) {
        click(CPoint(c.x, 5));
        EXPECT_FLOAT_EQ(s->getValueNormalized(), c.normalized) << c.x;
        EXPECT_EQ(s->getPosition(), int(std::lround(c.normalized * 3)));
        EXPECT_EQ(greyAt(frame, 10, 5), c.grey) << c.x;
    }
    // A drag past the right edge stays on the last position.
    recorder.log.clear();
    CPoint p(5, 5);
    frame->platformOnMouseDown(p, kLButton);
    p = CPoint(300, 5);
    frame->platformOnMouseMoved(p, kLButton);
    frame->platformOnMouseUp(p, kLButton);
    EXPECT_EQ(s->getValueNormalized(), 1.f);
    EXPECT_EQ(recorder.log.front(), "begin");
    EXPECT_EQ(recorder.log.back(), "end");
}

TEST_F(VstguiControls, AnimKnobShowsThePictureOfItsValue)
{
    auto strip = greyStrip(10, 10, 5);
    auto* knob = new CAnimKnob(CRect(0, 0, 10, 10), nullptr, 1, strip);
    EXPECT_EQ(knob->getNumSubPixmaps(), 5) << "five pictures as high as the view";
    EXPECT_EQ(knob->getHeightOfOneImage(), 10);
    frame->addView(knob);
    struct Case {
        float normalized;
        int index;
    };
    for (const Case& c : {Case{0.f, 0}, Case{0.12f, 0}, Case{0.13f, 1}, Case{0.5f, 2}, Case{1.f, 4}}) {
        knob->setValueNormalized(c.normalized);
        EXPECT_EQ(knob->getImageIndex(), c.index) << c.normalized;
        EXPECT_EQ(greyAt(frame, 5, 5), 10 * (c.index + 1)) << c.normalized;
    }
    knob->setInverseBitmap(true);
    knob->setValueNormalized(1.f);
    EXPECT_EQ(knob->getImageIndex(), 0);
}

namespace {

struct KnobModeEditor : VSTGUIEditorInterface {
    int32_t mode;
    explicit KnobModeEditor(int32_t mode) : mode(mode) {}
    int32_t getKnobMode() const override { return mode; }
};

} // namespace

TEST(VstguiKnob, LinearDragSpansTheRangeIn200PixelsAndShiftMakesItFiner)
{
    KnobModeEditor editor(kLinearMode);
    auto* frame = new CFrame(CRect(0, 0, 300, 300), &editor);
    auto* knob = new CKnob(CRect(100, 100, 140, 140), nullptr, 1, nullptr);
    knob->setValueNormalized(0.2f);
    frame->addView(knob);
    CPoint p(120, 120);
    frame->platformOnMouseDown(p, kLButton);
    EXPECT_FLOAT_EQ(knob->getValueNormalized(), 0.2f) << "a press alone does not move a linear knob";
    p = CPoint(120, 60); // 60 pixels up
    frame->platformOnMouseMoved(p, kLButton);
    EXPECT_NEAR(knob->getValueNormalized(), 0.2f + 60.f / 200.f, 1e-6);
    // Shift starts a fine drag from here: 100 pixels more give 100 / 2000.
    p = CPoint(120, -40);
    frame->platformOnMouseMoved(p, kLButton | kShift);
    EXPECT_NEAR(knob->getValueNormalized(), 0.5f, 1e-6) << "the first fine move sets the new start";
    p = CPoint(120, -140);
    frame->platformOnMouseMoved(p, kLButton | kShift);
    EXPECT_NEAR(knob->getValueNormalized(), 0.5f + 100.f / 2000.f, 1e-6);
    // Leaving shift starts a normal drag from here.
    frame->platformOnMouseMoved(p, kLButton);
    EXPECT_NEAR(knob->getValueNormalized(), 0.55f, 1e-6);
    p = CPoint(120, -2000);
    frame->platformOnMouseMoved(p, kLButton);
    frame->platformOnMouseUp(p, kLButton);
    EXPECT_FLOAT_EQ(knob->getValueNormalized(), 1.f) << "limited to the range";
    frame->forget();
}

TEST(VstguiKnob, CircularModeFollowsTheAngleAroundTheCentre)
{
    KnobModeEditor editor(kCircularMode);
    auto* frame = new CFrame(CRect(0, 0, 100, 100), &editor);
    auto* knob = new CKnob(CRect(0, 0, 100, 100), nullptr, 1, nullptr);
    frame->addView(knob);
    // The range runs clockwise from 135 degrees (lower left) over the top to
    // 45 degrees (lower right), 270 degrees in all.
    struct Case {
        CPoint where;
        float normalized;
    };
    const double r = 40, s = std::sqrt(0.5) * 40;
    for (const Case& c : {Case{CPoint(50 - s, 50 + s), 0.f}, Case{CPoint(50 - r, 50), 1.f / 6},
                          Case{CPoint(50, 50 - r), 0.5f}, Case{CPoint(50 + r, 50), 5.f / 6},
                          Case{CPoint(50 + s, 50 + s), 1.f}, Case{CPoint(45, 90), 0.f}, Case{CPoint(55, 90), 1.f}}) {
        CPoint p(c.where);
        frame->platformOnMouseDown(p, kLButton);
        frame->platformOnMouseUp(p, kLButton);
        EXPECT_NEAR(knob->getValueNormalized(), c.normalized, 1e-5) << c.where.x << "," << c.where.y;
    }
    frame->forget();
}

TEST_F(VstguiControls, KnobWheelAndDefaultValue)
{
    auto* knob = new CKnob(CRect(0, 0, 40, 40), &recorder, 1, nullptr);
    knob->setValueNormalized(0.5f);
    knob->setDefaultValue(0.25f);
    frame->addView(knob);
    frame->platformOnMouseWheel(CPoint(20, 20), kMouseWheelAxisY, 1.f, 0);
    EXPECT_NEAR(knob->getValueNormalized(), 0.6f, 1e-6);
    frame->platformOnMouseWheel(CPoint(20, 20), kMouseWheelAxisY, -1.f, kShift);
    EXPECT_NEAR(knob->getValueNormalized(), 0.59f, 1e-6);
    EXPECT_EQ(recorder.log, (std::vector<std::string>{"begin", "value 0.6", "end", "begin", "value 0.59", "end"}));

    recorder.log.clear();
    click(CPoint(20, 20), kLButton | kControl);
    EXPECT_FLOAT_EQ(knob->getValue(), 0.25f);
    EXPECT_EQ(recorder.log, (std::vector<std::string>{"begin", "value 0.25", "end"}));
}

TEST_F(VstguiControls, OptionMenuListPicksAnEntryAndAPressOutsideClosesIt)
{
    auto* menu = new COptionMenu(CRect(10, 10, 110, 30), &recorder, 4);
    menu->addEntry("Alpha");
    menu->addSeparator();
    menu->addEntry("Beta");
    menu->addEntry("Gamma", -1, CMenuItem::kDisabled);
    frame->addView(menu);
    EXPECT_EQ(menu->getNbEntries(), 4);
    EXPECT_EQ(menu->getMax(), 3.f);
    EXPECT_EQ(menu->getCurrentIndex(), 0);

    click(CPoint(20, 20));
    ASSERT_TRUE(menu->isPopupOpen());
    ASSERT_NE(frame->getModalView(), nullptr);
    const CRect list = frame->getModalView()->getViewSize();
    EXPECT_EQ(list.top, 30) << "the list opens below the menu";
    // Rows: Alpha 18 px, separator 7 px, Beta 18 px, Gamma 18 px, after a
    // one pixel border.
    click(CPoint(list.left + 20, list.top + 1 + 18 + 7 + 9));
    EXPECT_FALSE(menu->isPopupOpen());
    EXPECT_EQ(frame->getModalView(), nullptr);
    EXPECT_EQ(menu->getValue(), 2.f);
    EXPECT_STREQ(menu->getCurrent()->getTitle(), "Beta");
    EXPECT_EQ(menu->getCurrentIndex(), 1) << "separators not counted";
    EXPECT_EQ(recorder.log, (std::vector<std::string>{"begin", "value 2", "end"}));

    // A disabled entry and a press outside change nothing.
    recorder.log.clear();
    click(CPoint(20, 20));
    click(CPoint(list.left + 20, list.top + 1 + 18 + 7 + 18 + 9));
    EXPECT_EQ(menu->getValue(), 2.f);
    click(CPoint(20, 20));
    click(CPoint(190, 190));
    EXPECT_FALSE(menu->isPopupOpen());
    EXPECT_EQ(menu->getValue(), 2.f);
    EXPECT_TRUE(recorder.log.empty());

    EXPECT_TRUE(menu->setCurrent(0, false));
    EXPECT_FALSE(menu->setCurrent(7));
    menu->setValue(99.f);
    EXPECT_EQ(menu->getValue(), 3.f);
}

TEST_F(VstguiControls, OptionMenuWithoutAFrameOrEntriesDoesNotOpen)
{
    auto* loose = new COptionMenu(CRect(0, 0, 50, 20), nullptr, 1);
    loose->addEntry("One");
    EXPECT_FALSE(loose->popup());
    loose->forget();
    auto* empty = new COptionMenu(CRect(0, 0, 50, 20), nullptr, 1);
    frame->addView(empty);
    EXPECT_FALSE(empty->popup());
    EXPECT_EQ(frame->getModalView(), nullptr);
}

TEST_F(VstguiControls, ParamDisplayTextComesFromItsFunctionOrItsPrecision)
{
    auto* display = new CParamDisplay(CRect(0, 0, 60, 20));
    frame->addView(display);
    display->setValue(0.123456f);
    EXPECT_EQ(display->getValueText(), "0.12");
    display->setPrecision(4);
    EXPECT_EQ(display->getValueText(), "0.1235");
    display->setValueToStringFunction([](float v, char text[256], CParamDisplay*) {
        std::snprintf(text, 256, "%d%%", int(std::lround(v * 100)));
        return true;
    });
    EXPECT_EQ(display->getValueText(), "12%");
    display->setValueToStringFunction([](float, char[256], CParamDisplay*) { return false; });
    EXPECT_EQ(display->getValueText(), "0.1235");

    auto* label = new CTextLabel(CRect(0, 20, 60, 40), "A4 +12");
    frame->addView(label);
    EXPECT_STREQ(label->getText(), "A4 +12");
    frame->takeDirtyRects();
    label->setText("A4 +12");
    EXPECT_TRUE(frame->getDirtyRects().empty()) << "the same text does not redraw";
    label->setText(nullptr);
    EXPECT_STREQ(label->getText(), "");
    EXPECT_FALSE(frame->getDirtyRects().empty());
}

TEST_F(VstguiControls, ParamDisplayDrawsBackgroundFrameAndText)
{
    auto* label = new CTextLabel(CRect(0, 0, 100, 30), "MMMM");
    label->setBackColor(kBlueCColor);
    label->setFrameColor(kRedCColor);
    label->setFontColor(kWhiteCColor);
    label->setAntialias(false);
    frame->addView(label);
    auto picture = owned(frame->createSnapshot());
    EXPECT_EQ(pixel(picture, 0, 0), kRedCColor) << "frame";
    EXPECT_EQ(pixel(picture, 99, 29), kRedCColor) << "frame";
    EXPECT_EQ(pixel(picture, 3, 3), kBlueCColor) << "background";
    int white = 0;
    for (int x = 30; x < 70; ++x)
        for (int y = 5; y < 25; ++y) white += pixel(picture, x, y) == kWhiteCColor;
    EXPECT_GT(white, 20) << "text in the middle";

    label->setStyle(kNoFrame);
    label->setTransparency(true);
    picture = owned(frame->createSnapshot());
    EXPECT_EQ(pixel(picture, 0, 0), kBlackCColor) << "the frame's own background shows";
}

TEST_F(VstguiControls, VuMeterLightsWholeSegmentsFromTheBottom)
{
    const std::string dir = vstgui_test::scratchDir();
    vstgui_test::writeBandsPNG(dir + "/on.png", 10, 100, {{0, 255, 0, 255}});
    vstgui_test::writeBandsPNG(dir + "/off.png", 10, 100, {{40, 40, 40, 255}});
    auto on = owned(new CBitmap(CResourceDescription((dir + "/on.png").c_str())));
    auto off = owned(new CBitmap(CResourceDescription((dir + "/off.png").c_str())));
    auto* meter = new CVuMeter(CRect(0, 0, 10, 100), on, off, 10);
    meter->setDecreaseStepValue(1.f);
    frame->addView(meter);
    // 0.34 of 10 segments rounds to 3 segments: 30 pixels lit.
    meter->setValue(0.34f);
    auto picture = owned(frame->createSnapshot());
    EXPECT_EQ(pixel(picture, 5, 99), kGreenCColor);
    EXPECT_EQ(pixel(picture, 5, 70), kGreenCColor);
    EXPECT_EQ(pixel(picture, 5, 69), CColor(40, 40, 40, 255));
    EXPECT_EQ(pixel(picture, 5, 0), CColor(40, 40, 40, 255));
}
