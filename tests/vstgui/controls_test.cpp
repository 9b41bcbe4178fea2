#include "vstgui_test_support.h"

#include "vstgui/lib/controls/cbuttons.h"
#include "vstgui/lib/controls/ccheckbox.h"
#include "vstgui/lib/controls/ctextedit.h"
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

// A bitmap of n bands, band i filled with grey level step * (i + 1).
SharedPointer<CBitmap> greyStrip(int width, int bandHeight, int n, int step = 10)
{
    std::vector<vstgui_test::Rgba> colours;
    for (int i = 0; i < n; ++i) colours.push_back({uint8_t(step * (i + 1)), uint8_t(step * (i + 1)), uint8_t(step * (i + 1)), 255});
    const std::string path =
        vstgui_test::scratchDir() + "/strip" + std::to_string(n) + "x" + std::to_string(step) + ".png";
    vstgui_test::writeBandsPNG(path, width, bandHeight, colours);
    return owned(new CBitmap(CResourceDescription(path.c_str())));
}

struct VstguiControls : vstgui_test::FrameTest {
    // The grey level the frame shows at a point.
    int greyAt(int x, int y) { return pixel(owned(frame->createSnapshot()), x, y).red; }
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

TEST_F(VstguiControls, OnOffButtonTogglesWithTheLeftButton)
{
    auto strip = greyStrip(20, 20, 2);
    auto* button = new COnOffButton(CRect(0, 0, 20, 20), &edits, 7, strip);
    button->addDependency(&edits);
    button->addDependency(&edits); // a dependent is told once
    frame->addView(button);
    click(CPoint(5, 5));
    EXPECT_EQ(edits.take(), " begin ~begin 1 ~value end ~end");
    click(CPoint(5, 5), kRButton);
    EXPECT_EQ(button->getValue(), 1.f) << "the right button does not toggle";
    button->setValue(0.5f);
    EXPECT_EQ(greyAt(5, 5), 10) << "only the maximum shows the lower half";
    button->removeDependency(&edits);
    click(CPoint(5, 5));
    EXPECT_EQ(edits.take(), " begin 1 end");
    auto sized = owned(new COnOffButton(CRect(50, 50, 51, 51), nullptr, 2, strip));
    EXPECT_TRUE(sized->sizeToFit());
    EXPECT_EQ(sized->getViewSize(), CRect(50, 50, 70, 70));
}

TEST_F(VstguiControls, HorizontalSwitchPicksThePositionUnderThePointer)
{
    // Four positions of 20 pixels each across an 80 pixel switch.
    auto* s = new CHorizontalSwitch(CRect(0, 0, 80, 10), &edits, 5, 4, 10, 4, greyStrip(80, 10, 4));
    frame->addView(s);
    for (const auto& [x, position] : {std::pair{5.0, 0}, {25.0, 1}, {59.5, 2}, {79.0, 3}}) {
        click(CPoint(x, 5));
        EXPECT_FLOAT_EQ(s->getValueNormalized(), position / 3.f) << x;
        EXPECT_EQ(greyAt(10, 5), 10 * (position + 1)) << x;
    }
    edits.take();
    down(CPoint(5, 5));
    move(CPoint(300, 5));
    up(CPoint(300, 5));
    EXPECT_EQ(edits.take(), " begin 0 1 end") << "a drag past the right edge stays on the last position";
}

TEST_F(VstguiControls, KnobsFollowTheAngleOrALinearDragTheWheelAndCtrlClick)
{
    auto* knob = new CKnob(CRect(0, 0, 100, 100), &edits, 1, nullptr);
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
    knobMode = kLinearMode;
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
    edits.take();
    frame->platformOnMouseWheel(CPoint(20, 20), kMouseWheelAxisY, 1.f, 0);
    frame->platformOnMouseWheel(CPoint(20, 20), kMouseWheelAxisY, -1.f, kShift);
    click(CPoint(20, 20), kLButton | kControl);
    EXPECT_EQ(edits.take(), " begin 0.6 end begin 0.59 end begin 0.25 end");
}

TEST_F(VstguiControls, OptionMenuListPicksAnEntryAndAPressOutsideClosesIt)
{
    auto loose = owned(new COptionMenu(CRect(0, 0, 50, 20), nullptr, 1));
    loose->addEntry("One");
    EXPECT_FALSE(loose->popup()) << "not in a frame";
    auto* menu = new COptionMenu(CRect(10, 10, 110, 30), &edits, 4);
    frame->addView(menu);
    EXPECT_FALSE(menu->popup() || frame->getModalView()) << "no entries";
    menu->addEntry("Alpha");
    menu->addSeparator();
    menu->addEntry("Beta");
    menu->addEntry("Gamma", -1, CMenuItem::kDisabled);
    EXPECT_EQ(menu->getMax(), 3.f) << "one value per entry, the separator too";

    click(CPoint(20, 20));
    ASSERT_TRUE(menu->isPopupOpen() && frame->getModalView());
    const CRect list = frame->getModalView()->getViewSize();
    EXPECT_EQ(list.top, 30) << "the list opens below the menu";
    // Rows after a one pixel border: Alpha 18 px, separator 7, Beta 18, Gamma 18.
    const CCoord beta = list.top + 1 + 18 + 7 + 9, gamma = beta + 18;
    click(CPoint(list.left + 20, beta));
    EXPECT_FALSE(menu->isPopupOpen() || frame->getModalView());
    EXPECT_STREQ(menu->getCurrent()->getTitle(), "Beta");
    EXPECT_EQ(menu->getCurrentIndex(), 1) << "separators not counted";
    EXPECT_EQ(edits.take(), " begin 2 end");

    // A disabled entry and a press outside change nothing.
    for (const CPoint& second : {CPoint(list.left + 20, gamma), CPoint(190, 190)}) {
        click(CPoint(20, 20));
        click(second);
    }
    EXPECT_FALSE(menu->isPopupOpen());
    EXPECT_EQ(menu->getValue(), 2.f);
    EXPECT_EQ(edits.take(), "");
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

TEST_F(VstguiControls, AnimKnobAndVuMeterShowThePicturesOfTheirValue)
{
    auto* knob = new CAnimKnob(CRect(0, 0, 10, 10), nullptr, 1, greyStrip(10, 10, 5));
    EXPECT_EQ(knob->getNumSubPixmaps(), 5) << "five pictures as high as the view";
    frame->addView(knob);
    for (const auto& [normalized, index] : {std::pair{0.f, 0}, {0.12f, 0}, {0.13f, 1}, {0.5f, 2}, {1.f, 4}}) {
        knob->setValueNormalized(normalized);
        EXPECT_EQ(greyAt(5, 5), 10 * (index + 1)) << normalized;
    }

    // 3.4 of 10 segments: 3 segments, 30 pixels lit from the bottom.
    auto* meter = new CVuMeter(CRect(20, 0, 30, 100), greyStrip(10, 100, 1, 90), greyStrip(10, 100, 1, 40), 10);
    meter->setDecreaseStepValue(1.f);
    frame->addView(meter);
    meter->setValue(0.34f);
    for (const auto& [y, grey] : {std::pair{99, 90}, {70, 90}, {69, 40}, {0, 40}}) EXPECT_EQ(greyAt(25, y), grey) << y;
}

// A text field edits only with the focus; keys it does not take (Return)
// go on. Check boxes toggle, radio boxes only tick; a text button sends 1
// then 0 on a click inside it. A view made modal over another comes off
// first and gives the keys back to the one below.
TEST_F(VstguiControls, TextFieldCheckBoxButtonAndStackedModalViews)
{
    auto* field = new CTextEdit(CRect(10, 10, 110, 30), &edits, 1, "12");
    frame->addView(field);
    auto key = [&](int32_t character, unsigned char virt = 0) {
        VstKeyCode code;
        code.character = character;
        code.virt = virt;
        return frame->platformOnKeyDown(code);
    };
    EXPECT_EQ(key('3'), -1) << "no focus, no edit";
    click(CPoint(20, 20));
    ASSERT_TRUE(field->hasFocus());
    const struct { int32_t character; unsigned char virt; const char* text; size_t caret; } steps[] = {
        {'3', 0, "123", 3}, {0, VKEY_LEFT, "123", 2}, {0, VKEY_BACK, "13", 1}, {0x00E9, 0, "1\xC3\xA9" "3", 3},
        {0, VKEY_LEFT, "1\xC3\xA9" "3", 1}, {0, VKEY_DELETE, "13", 1}, {0, VKEY_HOME, "13", 0},
        {0, VKEY_BACK, "13", 0}, {0, VKEY_END, "13", 2},
    };
    for (const auto& s : steps) {
        EXPECT_EQ(key(s.character, s.virt), 1);
        EXPECT_STREQ(field->getText(), s.text);
        EXPECT_EQ(field->getCaret(), s.caret);
    }
    EXPECT_EQ(key(0, VKEY_RETURN), -1);

    auto* box = new CCheckBox(CRect(10, 40, 110, 60), &edits, 2, "Box");
    auto* radio = new CCheckBox(CRect(10, 70, 110, 90), &edits, 3, "Radio", CCheckBox::kRadioStyle);
    auto* button = new CTextButton(CRect(10, 100, 110, 120), &edits, 4, "Push");
    frame->addView(box);
    frame->addView(radio);
    frame->addView(button);
    edits.take();
    click(CPoint(20, 50));
    click(CPoint(20, 50));
    click(CPoint(20, 80));
    click(CPoint(20, 80));
    EXPECT_EQ(edits.take(), " begin 1 end begin 0 end begin 1 end begin 1 end");
    down(CPoint(20, 110));
    up(CPoint(150, 150));
    EXPECT_EQ(edits.take(), "") << "released outside";
    click(CPoint(20, 110));
    EXPECT_EQ(edits.take(), " begin 1 0 end");

    auto* lower = new CTextEdit(CRect(0, 0, 200, 200), &edits, 5, "");
    auto* upper = new CTextEdit(CRect(0, 0, 200, 200), &edits, 6, "");
    frame->setModalView(lower);
    frame->setModalView(upper);
    frame->setFocusView(lower);
    EXPECT_EQ(key('x'), -1) << "the upper view takes the keys, and it has no focus";
    frame->setModalView(nullptr);
    EXPECT_EQ(frame->getModalView(), lower);
    EXPECT_EQ(key('x'), 1);
    EXPECT_STREQ(lower->getText(), "x");
}
