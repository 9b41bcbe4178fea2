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
using Log = std::vector<std::string>;

namespace {

// Hears a control as its listener and as its dependent, in one log.
struct Recorder : IControlListener, CBaseObject {
    Log log;
    void valueChanged(CControl* c) override
    {
        char text[64];
        std::snprintf(text, sizeof text, "value %g", double(c->getValue()));
        log.push_back(text);
    }
    void controlBeginEdit(CControl*) override { log.push_back("begin"); }
    void controlEndEdit(CControl*) override { log.push_back("end"); }
    CMessageResult notify(CBaseObject*, IdStringPtr message) override
    {
        // Messages are told apart by the identity of the constants.
        if (message == CControl::kMessageValueChanged) log.push_back("~value");
        if (message == CControl::kMessageBeginEdit) log.push_back("~begin");
        if (message == CControl::kMessageEndEdit) log.push_back("~end");
        return kMessageNotified;
    }
};

// A bitmap of n bands, band i filled with grey level step * (i + 1).
SharedPointer<CBitmap> greyStrip(int width, int bandHeight, int n, int step = 10)
{
    std::vector<vstgui_test::Rgba> colours;
    for (int i = 0; i < n; ++i) {
        const auto grey = uint8_t(step * (i + 1));
        colours.push_back({grey, grey, grey, 255});
    }
    const std::string path =
        vstgui_test::scratchDir() + "/strip" + std::to_string(n) + "x" + std::to_string(step) + ".png";
    vstgui_test::writeBandsPNG(path, width, bandHeight, colours);
    return owned(new CBitmap(CResourceDescription(path.c_str())));
}

struct KnobModeEditor : VSTGUIEditorInterface {
    int32_t mode = kCircularMode;
    int32_t getKnobMode() const override { return mode; }
};

struct VstguiControls : ::testing::Test {
    void SetUp() override { frame = new CFrame(CRect(0, 0, 200, 200), &editor); }
    void TearDown() override { frame->forget(); }
    void down(CPoint p, int32_t buttons = kLButton) { frame->platformOnMouseDown(p, buttons); }
    void move(CPoint p, int32_t buttons = kLButton) { frame->platformOnMouseMoved(p, buttons); }
    void up(CPoint p) { frame->platformOnMouseUp(p, kLButton); }
    void click(CPoint p, int32_t buttons = kLButton)
    {
        down(p, buttons);
        frame->platformOnMouseUp(p, buttons);
    }
    // The grey level the frame shows at a point.
    int greyAt(int x, int y) { return pixel(owned(frame->createSnapshot()), x, y).red; }

    KnobModeEditor editor;
    CFrame* frame = nullptr;
    Recorder recorder;
};

} // namespace

TEST_F(VstguiControls, ValueRangeNormalizationAndBounce)
{
    CControl control(CRect(0, 0, 10, 10));
    control.setMin(-10);
    control.setMax(30);
    for (const auto& [normalized, value] :
         {std::pair{0.f, -10.f}, {0.25f, 0.f}, {1.f, 30.f}, {2.f, 30.f}, {-1.f, -10.f}}) {
        control.setValueNormalized(normalized);
        EXPECT_FLOAT_EQ(control.getValue(), value) << normalized;
    }
    control.setValue(99.f);
    control.bounceValue();
    control.setValue(NAN);
    EXPECT_FLOAT_EQ(control.getValue(), 30.f) << "bounced into the range; not-a-number refused";
    control.setMin(5);
    control.setMax(5);
    EXPECT_FLOAT_EQ(control.getValueNormalized(), 0.f) << "an empty range";
}

TEST_F(VstguiControls, OnOffButtonTogglesAsOneEditAndShowsTheLowerHalfOfItsBitmapWhenOn)
{
    auto strip = greyStrip(20, 20, 2);
    auto* button = new COnOffButton(CRect(0, 0, 20, 20), &recorder, 7, strip);
    button->addDependency(&recorder);
    frame->addView(button);
    EXPECT_EQ(greyAt(5, 5), 10);
    click(CPoint(5, 5));
    EXPECT_EQ(recorder.log, (Log{"begin", "~begin", "value 1", "~value", "end", "~end"}));
    EXPECT_EQ(greyAt(5, 5), 20);
    click(CPoint(5, 5), kRButton);
    EXPECT_EQ(button->getValue(), 1.f) << "the right button does not toggle";
    click(CPoint(5, 5));
    EXPECT_EQ(button->getValue(), 0.f);
    button->setValue(0.5f);
    EXPECT_EQ(greyAt(5, 5), 10) << "only the maximum is on";
    button->removeDependency(&recorder);

    auto sized = owned(new COnOffButton(CRect(50, 50, 51, 51), nullptr, 2, strip));
    EXPECT_TRUE(sized->sizeToFit());
    EXPECT_EQ(sized->getViewSize(), CRect(50, 50, 70, 70));
}

TEST_F(VstguiControls, KickButtonIsOnWhileHeldAndOffAfterRelease)
{
    auto* button = new CKickButton(CRect(0, 0, 20, 20), &recorder, 3);
    frame->addView(button);
    down(CPoint(5, 5));
    EXPECT_EQ(button->getValue(), 1.f);
    move(CPoint(50, 50));
    EXPECT_EQ(button->getValue(), 0.f) << "dragged off the button";
    move(CPoint(6, 6));
    up(CPoint(6, 6));
    EXPECT_EQ(button->getValue(), 0.f);
    EXPECT_EQ(recorder.log, (Log{"begin", "value 1", "value 0", "value 1", "value 0", "end"}));
}

TEST_F(VstguiControls, HorizontalSwitchPicksThePositionUnderThePointer)
{
    // Four positions of 20 pixels each across an 80 pixel switch.
    auto* s = new CHorizontalSwitch(CRect(0, 0, 80, 10), &recorder, 5, 4, 10, 4, greyStrip(80, 10, 4));
    frame->addView(s);
    for (const auto& [x, position] : {std::pair{5.0, 0}, {25.0, 1}, {59.5, 2}, {79.0, 3}}) {
        click(CPoint(x, 5));
        EXPECT_FLOAT_EQ(s->getValueNormalized(), position / 3.f) << x;
        EXPECT_EQ(greyAt(10, 5), 10 * (position + 1)) << x;
    }
    recorder.log.clear();
    down(CPoint(5, 5));
    move(CPoint(300, 5));
    up(CPoint(300, 5));
    EXPECT_EQ(s->getValueNormalized(), 1.f) << "a drag past the right edge stays on the last position";
    EXPECT_EQ(recorder.log, (Log{"begin", "value 0", "value 1", "end"}));
}

TEST_F(VstguiControls, AnimKnobShowsThePictureOfItsValue)
{
    auto* knob = new CAnimKnob(CRect(0, 0, 10, 10), nullptr, 1, greyStrip(10, 10, 5));
    EXPECT_EQ(knob->getNumSubPixmaps(), 5) << "five pictures as high as the view";
    frame->addView(knob);
    for (const auto& [normalized, index] : {std::pair{0.f, 0}, {0.12f, 0}, {0.13f, 1}, {0.5f, 2}, {1.f, 4}}) {
        knob->setValueNormalized(normalized);
        EXPECT_EQ(knob->getImageIndex(), index) << normalized;
        EXPECT_EQ(greyAt(5, 5), 10 * (index + 1)) << normalized;
    }
    knob->setInverseBitmap(true);
    EXPECT_EQ(knob->getImageIndex(), 0);
}

TEST_F(VstguiControls, KnobsFollowTheAngleOrALinearDragTheWheelAndCtrlClick)
{
    auto* knob = new CKnob(CRect(0, 0, 100, 100), &recorder, 1, nullptr);
    frame->addView(knob);
    // Circular: the range runs clockwise from 135 degrees (lower left) over
    // the top to 45 degrees (lower right), 270 degrees in all.
    const double r = 40, s = std::sqrt(0.5) * 40;
    for (const auto& [where, normalized] :
         {std::pair{CPoint(50 - s, 50 + s), 0.f}, {CPoint(50 - r, 50), 1.f / 6}, {CPoint(50, 50 - r), 0.5f},
          {CPoint(50 + r, 50), 5.f / 6}, {CPoint(50 + s, 50 + s), 1.f}, {CPoint(45, 90), 0.f}, {CPoint(55, 90), 1.f}}) {
        click(where);
        EXPECT_NEAR(knob->getValueNormalized(), normalized, 1e-5) << where.x << "," << where.y;
    }
    // Linear: a press alone does not move the knob; 200 pixels span the
    // range, 2000 with Shift; a change of Shift starts anew from the value
    // reached; the value stays within the range.
    editor.mode = kLinearMode;
    knob->setValueNormalized(0.2f);
    down(CPoint(50, 50));
    EXPECT_FLOAT_EQ(knob->getValueNormalized(), 0.2f);
    for (const auto& [y, buttons, normalized] :
         {std::tuple{-10, int32_t(kLButton), 0.5f}, {-110, kLButton | kShift, 0.5f}, {-210, kLButton | kShift, 0.55f},
          {-210, kLButton, 0.55f}, {-2000, kLButton, 1.f}}) {
        move(CPoint(50, y), buttons);
        EXPECT_NEAR(knob->getValueNormalized(), normalized, 1e-6) << y;
    }
    up(CPoint(50, -2000));
    // A wheel step is 0.1, with Shift 0.01; Ctrl-click goes to the default.
    knob->setValueNormalized(0.5f);
    knob->setDefaultValue(0.25f);
    recorder.log.clear();
    frame->platformOnMouseWheel(CPoint(20, 20), kMouseWheelAxisY, 1.f, 0);
    frame->platformOnMouseWheel(CPoint(20, 20), kMouseWheelAxisY, -1.f, kShift);
    click(CPoint(20, 20), kLButton | kControl);
    EXPECT_EQ(recorder.log,
              (Log{"begin", "value 0.6", "end", "begin", "value 0.59", "end", "begin", "value 0.25", "end"}));
}

TEST_F(VstguiControls, OptionMenuListPicksAnEntryAndAPressOutsideClosesIt)
{
    auto loose = owned(new COptionMenu(CRect(0, 0, 50, 20), nullptr, 1));
    loose->addEntry("One");
    EXPECT_FALSE(loose->popup()) << "not in a frame";
    auto* menu = new COptionMenu(CRect(10, 10, 110, 30), &recorder, 4);
    frame->addView(menu);
    EXPECT_FALSE(menu->popup()) << "no entries";
    EXPECT_EQ(frame->getModalView(), nullptr);
    menu->addEntry("Alpha");
    menu->addSeparator();
    menu->addEntry("Beta");
    menu->addEntry("Gamma", -1, CMenuItem::kDisabled);
    EXPECT_EQ(menu->getMax(), 3.f) << "one value per entry, the separator too";

    click(CPoint(20, 20));
    ASSERT_TRUE(menu->isPopupOpen());
    ASSERT_NE(frame->getModalView(), nullptr);
    const CRect list = frame->getModalView()->getViewSize();
    EXPECT_EQ(list.top, 30) << "the list opens below the menu";
    // Rows after a one pixel border: Alpha 18 px, separator 7, Beta 18, Gamma 18.
    const CCoord beta = list.top + 1 + 18 + 7 + 9, gamma = beta + 18;
    click(CPoint(list.left + 20, beta));
    EXPECT_FALSE(menu->isPopupOpen() || frame->getModalView());
    EXPECT_STREQ(menu->getCurrent()->getTitle(), "Beta");
    EXPECT_EQ(menu->getCurrentIndex(), 1) << "separators not counted";
    EXPECT_EQ(recorder.log, (Log{"begin", "value 2", "end"}));

    // A disabled entry and a press outside change nothing.
    recorder.log.clear();
    for (const CPoint& second : {CPoint(list.left + 20, gamma), CPoint(190, 190)}) {
        click(CPoint(20, 20));
        click(second);
    }
    EXPECT_FALSE(menu->isPopupOpen());
    EXPECT_EQ(menu->getValue(), 2.f);
    EXPECT_TRUE(recorder.log.empty());

    EXPECT_TRUE(menu->setCurrent(0, false));
    EXPECT_FALSE(menu->setCurrent(7));
    menu->setValue(99.f);
    EXPECT_EQ(menu->getValue(), 3.f);
}

TEST_F(VstguiControls, ParamDisplayTextComesFromItsFunctionOrItsPrecisionAndLabelsDrawTheirText)
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

    // A label draws its frame, background and text in the middle, and
    // redraws only for a new text.
    auto* label = new CTextLabel(CRect(0, 100, 100, 130), "MMMM");
    label->setBackColor(kBlueCColor);
    label->setFrameColor(kRedCColor);
    label->setFontColor(kWhiteCColor);
    label->setAntialias(false);
    frame->addView(label);
    auto picture = owned(frame->createSnapshot());
    EXPECT_TRUE(pixel(picture, 0, 100) == kRedCColor && pixel(picture, 99, 129) == kRedCColor) << "frame";
    EXPECT_EQ(pixel(picture, 3, 103), kBlueCColor) << "background";
    int white = 0;
    for (int x = 30; x < 70; ++x)
        for (int y = 105; y < 125; ++y) white += pixel(picture, x, y) == kWhiteCColor;
    EXPECT_GT(white, 20) << "text in the middle";
    frame->takeDirtyRects();
    label->setText("MMMM");
    EXPECT_TRUE(frame->getDirtyRects().empty()) << "the same text does not redraw";
    label->setText(nullptr);
    EXPECT_STREQ(label->getText(), "");
    EXPECT_FALSE(frame->getDirtyRects().empty());
    label->setStyle(kNoFrame);
    label->setTransparency(true);
    EXPECT_EQ(pixel(owned(frame->createSnapshot()), 0, 100), kBlackCColor) << "the frame's own background shows";
}

TEST_F(VstguiControls, VuMeterLightsWholeSegmentsFromTheBottom)
{
    auto* meter = new CVuMeter(CRect(0, 0, 10, 100), greyStrip(10, 100, 1, 90), greyStrip(10, 100, 1, 40), 10);
    meter->setDecreaseStepValue(1.f);
    frame->addView(meter);
    meter->setValue(0.34f); // 3.4 of 10 segments: 3 segments, 30 pixels lit
    for (const auto& [y, grey] : {std::pair{99, 90}, {70, 90}, {69, 40}, {0, 40}})
        EXPECT_EQ(greyAt(5, y), grey) << y;
}
