#include "Common_VST3/VSTGUI4_Controls.h"

#include "vstgui/vstgui_test_support.h"

#include "vstgui/lib/cframe.h"
#include "vstgui/lib/cviewcontainer.h"
#include "vstgui/uidescription/uidescription.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <list>
#include <string>
#include <vector>

using namespace VSTGUI;
using vstgui_test::Rgba;

namespace {

const Rgba kRed{200, 30, 30, 255};
const Rgba kBlue{30, 30, 200, 255};
const Rgba kGreen{30, 200, 30, 255};
const Rgba kYellow{220, 220, 40, 255};

// A picture of horizontal bands, band i bandHeight high and filled with
// colours[i], drawn with cairo directly.
SharedPointer<CBitmap> bandsBitmap(int width, int bandHeight, const std::vector<Rgba>& colours)
{
    cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, bandHeight * int(colours.size()));
    cairo_t* cr = cairo_create(s);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    for (size_t i = 0; i < colours.size(); ++i) {
        const Rgba& c = colours[i];
        cairo_set_source_rgba(cr, c.r / 255.0, c.g / 255.0, c.b / 255.0, c.a / 255.0);
        cairo_rectangle(cr, 0, double(i) * bandHeight, width, bandHeight);
        cairo_fill(cr);
    }
    cairo_destroy(cr);
    auto bitmap = owned(new CBitmap(s));
    cairo_surface_destroy(s);
    return bitmap;
}

bool sameColour(const CColor& c, const Rgba& expected)
{
    return vstgui_test::near(c, CColor(expected.r, expected.g, expected.b, expected.a));
}

// Draws the view alone into a fresh transparent picture of the given size.
SharedPointer<COffscreenContext> drawAlone(CView& view, int width, int height)
{
    auto context = owned(COffscreenContext::create(nullptr, width, height));
    context->beginDraw();
    view.draw(context);
    context->endDraw();
    return context;
}

// Hears a control as its listener, in one log.
struct Recorder : IControlListener {
    std::vector<std::string> log;
    void valueChanged(CControl* c) override
    {
        char text[64];
        std::snprintf(text, sizeof text, "value %g", double(c->getValue()));
        log.push_back(text);
    }
    void controlBeginEdit(CControl*) override { log.push_back("begin"); }
    void controlEndEdit(CControl*) override { log.push_back("end"); }
};

using Log = std::vector<std::string>;

// An editor whose knobs follow a linear drag, so that a plain click does not
// move them.
struct LinearKnobEditor : VSTGUIEditorInterface {
    int32_t getKnobMode() const override { return kLinearMode; }
};

// A frame without a window, that takes events as the window would send them.
struct FrameFixture : ::testing::Test {
    void SetUp() override { frame = new CFrame(CRect(0, 0, 200, 200), &editor); }
    void TearDown() override { frame->forget(); }
    CMouseEventResult press(CPoint p, int32_t buttons = kLButton) { return frame->platformOnMouseDown(p, buttons); }
    CMouseEventResult release(CPoint p, int32_t buttons = kLButton) { return frame->platformOnMouseUp(p, buttons); }
    CMouseEventResult move(CPoint p, int32_t buttons = kLButton) { return frame->platformOnMouseMoved(p, buttons); }
    int32_t keyDown(unsigned char virt, unsigned char modifier = 0)
    {
        VstKeyCode code;
        code.virt = virt;
        code.modifier = modifier;
        return frame->platformOnKeyDown(code);
    }
    int32_t keyUp(unsigned char virt, unsigned char modifier = 0)
    {
        VstKeyCode code;
        code.virt = virt;
        code.modifier = modifier;
        return frame->platformOnKeyUp(code);
    }
    LinearKnobEditor editor;
    CFrame* frame = nullptr;
    Recorder recorder;
};

using VSTGUI4PushButton = FrameFixture;
using VSTGUI4DoubleClickKnob = FrameFixture;

} // namespace

//--- Push button

TEST_F(VSTGUI4PushButton, MousePressSendsTheMaximumAndReleaseTheMinimumAsOneEdit)
{
    auto* button = new VSTGUI4_PushButton(CRect(10, 10, 40, 30), &recorder, 9);
    button->setMin(-2.f);
    button->setMax(5.f);
    button->setValue(-2.f);
    frame->addView(button);

    EXPECT_EQ(press(CPoint(20, 20)), kMouseEventHandled);
    EXPECT_TRUE(button->isPressed());
    EXPECT_EQ(button->getValue(), 5.f);
    EXPECT_EQ(recorder.log, (Log{"begin", "value 5"}));
    // Dragged off the button the press stays on: only the release ends it.
    EXPECT_EQ(move(CPoint(150, 150)), kMouseEventHandled);
    EXPECT_EQ(button->getValue(), 5.f);
    EXPECT_EQ(release(CPoint(150, 150)), kMouseEventHandled);
    EXPECT_FALSE(button->isPressed());
    EXPECT_EQ(button->getValue(), -2.f);
    EXPECT_EQ(recorder.log, (Log{"begin", "value 5", "value -2", "end"}));

    // Every press is a command, even from a button whose value stands at the
    // maximum already.
    recorder.log.clear();
    button->setValue(5.f);
    press(CPoint(20, 20));
    release(CPoint(20, 20));
    EXPECT_EQ(recorder.log, (Log{"begin", "value 5", "value -2", "end"}));

    recorder.log.clear();
    EXPECT_EQ(press(CPoint(20, 20), kRButton), kMouseEventNotHandled);
    release(CPoint(20, 20), kRButton);
    EXPECT_TRUE(recorder.log.empty()) << "the right button presses nothing";
    EXPECT_EQ(button->getValue(), -2.f);
}

TEST_F(VSTGUI4PushButton, ReturnAndSpaceWorkTheFocusedButtonAndOnlyTheirOwnReleaseEndsThePress)
{
    auto* button = new VSTGUI4_PushButton(CRect(10, 10, 40, 30), &recorder, 9);
    frame->addView(button);
    frame->setFocusView(button);

    for (unsigned char key : {static_cast<unsigned char>(VKEY_RETURN), static_cast<unsigned char>(VKEY_SPACE)}) {
        recorder.log.clear();
        EXPECT_EQ(keyDown(key), 1);
        EXPECT_EQ(keyDown(key), 1) << "a repeat of the held key";
        EXPECT_EQ(button->getValue(), 1.f);
        // The mouse neither presses again nor releases a press of the keyboard.
        press(CPoint(20, 20));
        release(CPoint(20, 20));
        CPoint inside(20, 20);
        EXPECT_EQ(button->onMouseUp(inside, kLButton), kMouseEventNotHandled);
        EXPECT_EQ(button->getValue(), 1.f);
        EXPECT_EQ(keyUp(key), 1);
        EXPECT_EQ(button->getValue(), 0.f);
        EXPECT_EQ(recorder.log, (Log{"begin", "value 1", "value 0", "end"})) << int(key);
    }

    recorder.log.clear();
    EXPECT_EQ(keyDown(VKEY_SPACE, MODIFIER_SHIFT), -1) << "a key with a modifier is left to others";
    EXPECT_EQ(keyDown(VKEY_TAB), -1);
    EXPECT_EQ(keyUp(VKEY_SPACE, MODIFIER_CONTROL), -1);
    EXPECT_TRUE(recorder.log.empty());

    // A key released while the mouse holds the button leaves the press on.
    press(CPoint(20, 20));
    EXPECT_EQ(keyUp(VKEY_SPACE), 1);
    EXPECT_EQ(button->getValue(), 1.f);
    release(CPoint(20, 20));
    EXPECT_EQ(button->getValue(), 0.f);
    EXPECT_EQ(recorder.log, (Log{"begin", "value 1", "value 0", "end"}));
}

TEST(VSTGUI4PushButtonDrawing, ShowsTheLowerHalfOfItsBitmapOnlyAtTheMaximum)
{
    // Two bands of 10 pixels in a picture of 20; the view is only 6 high, so
    // the pressed picture starts half the bitmap down, not one view down.
    auto bitmap = bandsBitmap(20, 10, {kRed, kBlue});
    VSTGUI4_PushButton button(CRect(4, 3, 24, 9), nullptr, 1, bitmap);
    button.setMin(-1.f);
    button.setMax(3.f);
    struct Case {
        float value;
        Rgba shown;
    };
    for (const Case& c : {Case{-1.f, kRed}, Case{0.f, kRed}, Case{2.99f, kRed}, Case{3.f, kBlue}}) {
        button.setValue(c.value);
        button.setDirty(true);
        auto picture = drawAlone(button, 30, 12);
        for (const CPoint& p : {CPoint(4, 3), CPoint(23, 8), CPoint(12, 5)}) {
            const CColor shown = vstgui_test::pixel(picture, int(p.x), int(p.y));
            EXPECT_TRUE(sameColour(shown, c.shown)) << c.value << " at " << p.x << "," << p.y << ": "
                                                    << vstgui_test::str(shown);
        }
        EXPECT_EQ(vstgui_test::pixel(picture, 3, 5).alpha, 0) << "nothing left of the view";
        EXPECT_EQ(vstgui_test::pixel(picture, 12, 9).alpha, 0) << "nothing below the view";
        EXPECT_FALSE(button.isDirty()) << "drawing leaves the button clean";
    }

    VSTGUI4_PushButton bare(CRect(0, 0, 10, 10));
    bare.setValue(1.f);
    auto picture = drawAlone(bare, 10, 10);
    EXPECT_EQ(vstgui_test::pixel(picture, 5, 5).alpha, 0) << "without a bitmap nothing is drawn";
}

TEST(VSTGUI4PushButtonSizing, SizeToFitTakesTheBitmapsWidthAndHalfItsHeight)
{
    VSTGUI4_PushButton bare(CRect(7, 9, 8, 10));
    EXPECT_FALSE(bare.sizeToFit());
    EXPECT_EQ(bare.getViewSize(), CRect(7, 9, 8, 10));

    auto bitmap = bandsBitmap(30, 20, {kRed, kBlue});
    VSTGUI4_PushButton button(CRect(7, 9, 8, 10), nullptr, 1, bitmap);
    EXPECT_TRUE(button.sizeToFit());
    EXPECT_EQ(button.getViewSize(), CRect(7, 9, 37, 29));
    EXPECT_EQ(button.getMouseableArea(), CRect(7, 9, 37, 29));
}

//--- Flashing buttons: the two share one clock rule and differ in the
// position at which they flash.

namespace {

template <class Button>
struct FlashTraits;

template <>
struct FlashTraits<VSTGUI4_FlashingPushButton> {
    // At rest.
    static void toFlashingPosition(CControl& c) { c.setValue(c.getMin()); }
    static void awayFromIt(CControl& c) { c.setValue(c.getMax()); }
};

template <>
struct FlashTraits<VSTGUI4_FlashingOnOffButton> {
    // On.
    static void toFlashingPosition(CControl& c) { c.setValue(c.getMax()); }
    static void awayFromIt(CControl& c) { c.setValue(c.getMin()); }
};

template <class Button>
struct FlashingButton : ::testing::Test {
    FlashingButton() : button(CRect(0, 0, 20, 10), nullptr, 1, nullptr)
    {
        button.setMin(0.f);
        button.setMax(1.f);
        FlashTraits<Button>::toFlashingPosition(button);
    }
    void toFlashingPosition() { FlashTraits<Button>::toFlashingPosition(button); }
    void awayFromIt() { FlashTraits<Button>::awayFromIt(button); }
    Button button;
};

using FlashingButtons = ::testing::Types<VSTGUI4_FlashingPushButton, VSTGUI4_FlashingOnOffButton>;
TYPED_TEST_SUITE(FlashingButton, FlashingButtons);

struct Tick {
    int32_t now;
    bool flashOn;
    int32_t nextFlashTime;
};

} // namespace

TYPED_TEST(FlashingButton, UpdateWithoutFlashingChangesNothingAtAnyTime)
{
    auto& b = this->button;
    b.setDirty(false);
    for (int32_t now : {0, 1, 4, 1000, -7, INT32_MAX, INT32_MIN}) {
        b.updateFlashing(now);
        EXPECT_FALSE(b.isFlashing()) << now;
        EXPECT_FALSE(b.isFlashOn()) << now;
        EXPECT_EQ(b.getNextFlashTime(), 0) << now;
        EXPECT_FALSE(b.isDirty()) << now;
    }
    // Stopped after a flash had begun: nothing moves either.
    b.startFlashing(3);
    b.updateFlashing(10);
    b.updateFlashing(13);
    ASSERT_TRUE(b.isFlashOn());
    b.stopFlashing();
    EXPECT_FALSE(b.isFlashing());
    EXPECT_FALSE(b.isFlashOn());
    EXPECT_EQ(b.getNextFlashTime(), 0);
    EXPECT_TRUE(b.isDirty()) << "the normal picture comes back";
    b.setDirty(false);
    for (int32_t now : {13, 16, 100}) {
        b.updateFlashing(now);
        EXPECT_FALSE(b.isFlashOn()) << now;
        EXPECT_EQ(b.getNextFlashTime(), 0) << now;
    }
}

TYPED_TEST(FlashingButton, PhaseKeepsToItsGridAndCatchesUpOneChangePerTickAfterAPause)
{
    auto& b = this->button;
    b.startFlashing(4);
    EXPECT_TRUE(b.isFlashing());
    EXPECT_EQ(b.getFlashInterval(), 4);
    EXPECT_EQ(b.getNextFlashTime(), 0) << "started at the first tick";

    // Started at 10 with an interval of 4 the phase changes at 14, 18, 22 ...
    // Ticks stop after 18 and come back at 30, three intervals later: the
    // phase changes once per tick, on the grid 22, 26, 30, 34, until it has
    // caught up.
    const Tick ticks[] = {
        {10, false, 14}, {11, false, 14}, {13, false, 14}, {14, true, 18}, {17, true, 18},
        {18, false, 22}, {30, true, 26},  {31, false, 30}, {32, true, 34}, {33, true, 34},
        {34, false, 38}, {37, false, 38}, {39, true, 42},
    };
    for (const Tick& t : ticks) {
        b.setDirty(false);
        const bool before = b.isFlashOn();
        b.updateFlashing(t.now);
        EXPECT_EQ(b.isFlashOn(), t.flashOn) << "at " << t.now;
        EXPECT_EQ(b.getNextFlashTime(), t.nextFlashTime) << "at " << t.now;
        EXPECT_EQ(b.isDirty(), before != t.flashOn) << "a redraw exactly when the phase changes, at " << t.now;
    }
}

TYPED_TEST(FlashingButton, AwayFromItsFlashingPositionTheButtonKeepsItsPhase)
{
    auto& b = this->button;
    b.startFlashing(5);
    b.updateFlashing(100); // grid at 105
    b.updateFlashing(105); // on, grid at 110
    ASSERT_TRUE(b.isFlashOn());

    this->awayFromIt();
    for (int32_t now : {110, 115, 140}) {
        b.updateFlashing(now);
        EXPECT_TRUE(b.isFlashOn()) << now;
        EXPECT_EQ(b.getNextFlashTime(), 110) << now;
    }
    // Back at its place it goes on from the grid it had, one change a tick.
    this->toFlashingPosition();
    const Tick ticks[] = {{141, false, 115}, {142, true, 120}, {143, false, 125}};
    for (const Tick& t : ticks) {
        b.updateFlashing(t.now);
        EXPECT_EQ(b.isFlashOn(), t.flashOn) << t.now;
        EXPECT_EQ(b.getNextFlashTime(), t.nextFlashTime) << t.now;
    }
}

TYPED_TEST(FlashingButton, StartingAgainRestartsThePhaseFromTheNextTick)
{
    auto& b = this->button;
    b.startFlashing(2);
    b.updateFlashing(1);
    b.updateFlashing(3);
    ASSERT_TRUE(b.isFlashOn());
    b.startFlashing(6);
    EXPECT_EQ(b.getNextFlashTime(), 0);
    EXPECT_EQ(b.getFlashInterval(), 6);
    b.setDirty(false);
    b.updateFlashing(50);
    EXPECT_FALSE(b.isFlashOn());
    EXPECT_EQ(b.getNextFlashTime(), 56);
    EXPECT_TRUE(b.isDirty()) << "the flash picture that was showing goes";
}

TYPED_TEST(FlashingButton, ClockValuesNearTheLimitsWrapInsteadOfOverflowing)
{
    auto& b = this->button;
    b.startFlashing(10);
    b.updateFlashing(INT32_MAX - 3);
    EXPECT_EQ(b.getNextFlashTime(), INT32_MIN + 6);
    EXPECT_FALSE(b.isFlashOn());
}

TYPED_TEST(FlashingButton, ShowsTheFlashBitmapWhileTheFlashIsOn)
{
    // Normal picture: red at rest, blue pressed or on. Flash picture: green
    // at rest, yellow pressed or on. Each half is as high as the view.
    auto normal = bandsBitmap(20, 10, {kRed, kBlue});
    auto flash = bandsBitmap(20, 10, {kGreen, kYellow});
    auto& b = this->button;
    b.setBackground(normal);
    b.setFlashBitmap(flash);
    EXPECT_EQ(b.getFlashBitmap(), flash.get());

    this->toFlashingPosition();
    const bool onPosition = b.getValue() == b.getMax();
    const Rgba normalHere = onPosition ? kBlue : kRed;
    const Rgba flashHere = onPosition ? kYellow : kGreen;
    auto shown = [&] { return vstgui_test::pixel(drawAlone(b, 20, 10), 10, 5); };

    EXPECT_TRUE(sameColour(shown(), normalHere)) << vstgui_test::str(shown());
    b.startFlashing(1);
    b.updateFlashing(1);
    b.updateFlashing(2);
    ASSERT_TRUE(b.isFlashOn());
    EXPECT_TRUE(sameColour(shown(), flashHere)) << vstgui_test::str(shown());
    EXPECT_FALSE(b.isDirty());

    // Away from its position the flash keeps its phase and its picture,
    // in the half of the other position.
    this->awayFromIt();
    EXPECT_TRUE(sameColour(shown(), onPosition ? kGreen : kYellow)) << vstgui_test::str(shown());
    this->toFlashingPosition();

    b.updateFlashing(3);
    EXPECT_TRUE(sameColour(shown(), normalHere)) << "the phase off shows the normal picture";
    b.updateFlashing(4);
    ASSERT_TRUE(b.isFlashOn());
    b.stopFlashing();
    EXPECT_TRUE(sameColour(shown(), normalHere)) << vstgui_test::str(shown());

    // No flash bitmap: the normal picture in both phases.
    b.setFlashBitmap(nullptr);
    b.startFlashing(1);
    b.updateFlashing(10);
    b.updateFlashing(11);
    ASSERT_TRUE(b.isFlashOn());
    EXPECT_TRUE(sameColour(shown(), normalHere)) << vstgui_test::str(shown());
}

//--- Double-click knob

TEST_F(VSTGUI4DoubleClickKnob, WheelTurnsTheKnobOnlyWhileEnabledAndOtherwisePassesOn)
{
    // A stock knob lies under the double-click knob; the one on top lets
    // events through to it only when it does not take them.
    auto* under = new CAnimKnob(CRect(0, 0, 40, 40), nullptr, 2);
    auto* knob = new VSTGUI4_DoubleClickKnob(CRect(0, 0, 40, 40), &recorder, 1);
    knob->setTransparency(true);
    under->setValue(0.5f);
    knob->setValue(0.5f);
    frame->addView(under);
    frame->addView(knob);
    EXPECT_TRUE(knob->getMouseWheelEnabled()) << "enabled from construction";

    EXPECT_TRUE(frame->platformOnMouseWheel(CPoint(20, 20), kMouseWheelAxisY, 1.f, 0));
    EXPECT_FLOAT_EQ(knob->getValue(), 0.6f) << "one step of the default increment 0.1";
    EXPECT_FLOAT_EQ(under->getValue(), 0.5f);
    EXPECT_EQ(recorder.log, (Log{"begin", "value 0.6", "end"}));

    recorder.log.clear();
    knob->setMouseWheelEnabled(false);
    EXPECT_TRUE(frame->platformOnMouseWheel(CPoint(20, 20), kMouseWheelAxisY, 1.f, 0));
    EXPECT_FLOAT_EQ(knob->getValue(), 0.6f);
    EXPECT_FLOAT_EQ(under->getValue(), 0.6f) << "the refused event reached the knob below";
    EXPECT_TRUE(recorder.log.empty());

    CView& asView = *knob;
    EXPECT_FALSE(asView.onWheel(CPoint(20, 20), 1.f, 0)) << "refused: not handled";
    EXPECT_FALSE(asView.onWheel(CPoint(20, 20), kMouseWheelAxisY, 1.f, 0));
    knob->setMouseWheelEnabled(true);
    EXPECT_TRUE(asView.onWheel(CPoint(20, 20), kMouseWheelAxisY, -2.f, 0));
    EXPECT_FLOAT_EQ(knob->getValue(), 0.4f);
}

TEST_F(VSTGUI4DoubleClickKnob, DoubleClickResetsToTheDefaultAsOneEdit)
{
    auto* knob = new VSTGUI4_DoubleClickKnob(CRect(0, 0, 40, 40), &recorder, 1);
    knob->setMin(0.f);
    knob->setMax(10.f);
    knob->setDefaultValue(2.5f);
    knob->setValue(9.f);
    frame->addView(knob);

    // A single click (linear knob mode: a press alone does not move it).
    press(CPoint(20, 20));
    release(CPoint(20, 20));
    EXPECT_EQ(knob->getValue(), 9.f);

    recorder.log.clear();
    EXPECT_EQ(press(CPoint(20, 20), kLButton | kDoubleClick), kMouseDownEventHandledButDontNeedMovedOrUpEvents);
    release(CPoint(20, 20));
    EXPECT_EQ(knob->getValue(), 2.5f);
    EXPECT_EQ(recorder.log, (Log{"begin", "value 2.5", "end"}));
    EXPECT_FALSE(knob->isEditing());

    // Called outside a press, the reset is still an edit of its own.
    knob->setValue(6.f);
    recorder.log.clear();
    EXPECT_TRUE(knob->checkDefaultValue(kLButton | kDoubleClick));
    EXPECT_EQ(recorder.log, (Log{"begin", "value 2.5", "end"}));

    // A double click of the right button is no reset.
    knob->setValue(7.f);
    recorder.log.clear();
    EXPECT_FALSE(knob->checkDefaultValue(kRButton | kDoubleClick));
    EXPECT_EQ(knob->getValue(), 7.f);
    EXPECT_TRUE(recorder.log.empty());

    // The stock Ctrl-click still resets too.
    EXPECT_TRUE(knob->checkDefaultValue(kLButton | kControl));
    EXPECT_EQ(knob->getValue(), 2.5f);
}

//--- Creators and the UI description

namespace {

const char* kPanel = R"(<?xml version="1.0" encoding="UTF-8"?>
<vstgui-ui-description version="1">
  <bitmaps>
    <bitmap name="button" path="button.png"/>
    <bitmap name="flash" path="flash.png"/>
    <bitmap name="knob" path="knob.png"/>
  </bitmaps>
  <control-tags>
    <control-tag name="Undo" tag="19"/>
    <control-tag name="DataFiles" tag="54"/>
    <control-tag name="Track" tag="33"/>
    <control-tag name="Transpose" tag="5"/>
  </control-tags>
  <template name="Panel" class="CViewContainer" origin="0, 0" size="300, 200">
    <view class="VSTGUI4_PushButton" origin="10, 10" size="20, 10" control-tag="Undo" bitmap="button"/>
    <view class="VSTGUI4_FlashingPushButton" origin="40, 10" size="20, 10" control-tag="DataFiles"
          bitmap="button" flashBitmap="flash"/>
    <view class="VSTGUI4_FlashingOnOffButton" origin="70, 10" size="20, 10" control-tag="Track"
          bitmap="button" flashBitmap="flash" max-value="1"/>
    <view class="VSTGUI4_DoubleClickKnob" origin="100, 10" size="10, 10" control-tag="Transpose"
          bitmap="knob" default-value="0.5"/>
    <view class="VSTGUI4_ViewWithMinimumSize" origin="120, 10" size="8, 30" minSize="12, 34"/>
    <view class="VSTGUI4_ViewWithMinimumSize" origin="130, 10" size="8, 30" minSize="12"/>
    <view class="VSTGUI4_FlashingPushButton" origin="140, 10" size="20, 10" flashBitmap="nothing"/>
    <view class="VSTGUI4_ViewWithMinimumSize" origin="160, 10" size="8, 30" minSize=" 3.7 , -8 "/>
  </template>
</vstgui-ui-description>
)";

struct PanelFixture : ::testing::Test {
    void SetUp() override
    {
        VSTGUI4_registerControls();
        const std::string dir = vstgui_test::scratchDir();
        vstgui_test::writeBandsPNG(dir + "/button.png", 20, 10, {kRed, kBlue});
        vstgui_test::writeBandsPNG(dir + "/flash.png", 20, 10, {kGreen, kYellow});
        vstgui_test::writeBandsPNG(dir + "/knob.png", 10, 10, {kRed, kGreen, kBlue});
        vstgui_test::writeText(dir + "/panel.uidesc", kPanel);
        setResourceDirectory(dir.c_str());
        desc = owned(new UIDescription(CResourceDescription("panel.uidesc")));
        ASSERT_TRUE(desc->parse()) << desc->getLastError();
        root = owned(desc->createView("Panel", nullptr));
        ASSERT_TRUE(root) << desc->getLastError();
        factory = dynamic_cast<const UIViewFactory*>(desc->getViewFactory());
        ASSERT_NE(factory, nullptr);
    }
    void TearDown() override { setResourceDirectory(nullptr); }

    template <class T>
    T* child(uint32_t index) const
    {
        auto* container = dynamic_cast<CViewContainer*>(root.get());
        return container ? dynamic_cast<T*>(container->getView(index)) : nullptr;
    }
    std::string valueOf(CView* view, const char* name) const
    {
        std::string value = "(none)";
        if (!factory->getAttributeValue(view, name, value, desc)) return "(none)";
        return value;
    }

    SharedPointer<UIDescription> desc;
    SharedPointer<CView> root;
    const UIViewFactory* factory = nullptr;
};

using VSTGUI4Creators = PanelFixture;

} // namespace

TEST_F(VSTGUI4Creators, TheDescriptionMakesEachControlByClassNameWithItsBasesAttributes)
{
    auto* push = child<VSTGUI4_PushButton>(0);
    auto* flashPush = child<VSTGUI4_FlashingPushButton>(1);
    auto* flashOnOff = child<VSTGUI4_FlashingOnOffButton>(2);
    auto* knob = child<VSTGUI4_DoubleClickKnob>(3);
    auto* thumb = child<VSTGUI4_ViewWithMinimumSize>(4);
    ASSERT_TRUE(push && flashPush && flashOnOff && knob && thumb);
    EXPECT_STREQ(push->getClassName(), "VSTGUI4_PushButton");
    EXPECT_STREQ(flashPush->getClassName(), "VSTGUI4_FlashingPushButton");

    struct Case {
        CControl* control;
        int32_t tag;
        CRect size;
    };
    for (const Case& c : {Case{push, 19, CRect(10, 10, 30, 20)}, Case{flashPush, 54, CRect(40, 10, 60, 20)},
                          Case{flashOnOff, 33, CRect(70, 10, 90, 20)}, Case{knob, 5, CRect(100, 10, 110, 20)}}) {
        EXPECT_EQ(c.control->getTag(), c.tag) << c.control->getClassName();
        EXPECT_EQ(c.control->getViewSize(), c.size) << c.control->getClassName();
        EXPECT_NE(c.control->getBackground(), nullptr) << c.control->getClassName();
    }
    EXPECT_EQ(knob->getNumSubPixmaps(), 3) << "the stock knob's attributes reach it";
    EXPECT_EQ(knob->getDefaultValue(), 0.5f);
    EXPECT_EQ(thumb->getViewSize(), CRect(120, 10, 128, 40));

    EXPECT_EQ(flashPush->getFlashBitmap(), desc->getBitmap("flash"));
    EXPECT_EQ(flashOnOff->getFlashBitmap(), desc->getBitmap("flash"));
    ASSERT_NE(desc->getBitmap("flash"), nullptr);
    auto* unknownFlash = child<VSTGUI4_FlashingPushButton>(6);
    ASSERT_NE(unknownFlash, nullptr);
    EXPECT_EQ(unknownFlash->getFlashBitmap(), nullptr) << "an unknown bitmap leaves the field";
    EXPECT_EQ(unknownFlash->getTag(), -1) << "made with tag -1";
}

TEST_F(VSTGUI4Creators, MinimumSizeIsReadAsTwoWholeNumbersAroundTheFirstComma)
{
    auto* thumb = child<VSTGUI4_ViewWithMinimumSize>(4);
    auto* noComma = child<VSTGUI4_ViewWithMinimumSize>(5);
    auto* fractional = child<VSTGUI4_ViewWithMinimumSize>(7);
    ASSERT_TRUE(thumb && noComma && fractional);
    EXPECT_EQ(thumb->getMinSize(), CPoint(12, 34));
    EXPECT_EQ(noComma->getMinSize(), CPoint(0, 0)) << "no comma: left as it was";
    EXPECT_EQ(fractional->getMinSize(), CPoint(3, -8)) << "whole numbers only";

    // Applied again to a view with a size: a value without a comma leaves it,
    // the first comma splits the rest.
    const IViewCreator* creator = UIViewFactory::getViewCreator("VSTGUI4_ViewWithMinimumSize");
    ASSERT_NE(creator, nullptr);
    struct Case {
        const char* text;
        CPoint result;
    };
    for (const Case& c : {Case{"40", CPoint(12, 34)}, Case{"", CPoint(12, 34)}, Case{"5,6,7", CPoint(5, 6)},
                          Case{"x, 9", CPoint(0, 9)}, Case{"-4,", CPoint(-4, 0)}, Case{"0012, 0x20", CPoint(12, 0)}}) {
        thumb->setMinSize(CPoint(12, 34));
        UIAttributes attributes;
        attributes.setAttribute("minSize", c.text);
        EXPECT_TRUE(creator->apply(thumb, attributes, desc));
        EXPECT_EQ(thumb->getMinSize(), c.result) << '"' << c.text << '"';
    }
}

TEST_F(VSTGUI4Creators, CreatorsNameTheirBasesAndReportTheirOwnAttributes)
{
    struct Case {
        const char* name;
        const char* base;
        const char* ownAttribute; // null: none
        IViewCreator::AttrType type;
    };
    const Case cases[] = {
        {"VSTGUI4_PushButton", "CControl", nullptr, IViewCreator::kUnknownType},
        {"VSTGUI4_FlashingPushButton", "VSTGUI4_PushButton", "flashBitmap", IViewCreator::kBitmapType},
        {"VSTGUI4_FlashingOnOffButton", "COnOffButton", "flashBitmap", IViewCreator::kBitmapType},
        {"VSTGUI4_DoubleClickKnob", "CAnimKnob", nullptr, IViewCreator::kUnknownType},
        {"VSTGUI4_ViewWithMinimumSize", "CView", "minSize", IViewCreator::kPointType},
    };
    const UIAttributes none;
    for (const Case& c : cases) {
        const IViewCreator* creator = UIViewFactory::getViewCreator(c.name);
        ASSERT_NE(creator, nullptr) << c.name;
        EXPECT_STREQ(creator->getViewName(), c.name);
        EXPECT_STREQ(creator->getBaseViewName(), c.base) << c.name;

        std::list<std::string> names;
        creator->getAttributeNames(names);
        EXPECT_EQ(names, c.ownAttribute ? std::list<std::string>{c.ownAttribute} : std::list<std::string>{})
            << c.name;
        if (c.ownAttribute) {
            EXPECT_EQ(creator->getAttributeType(c.ownAttribute), c.type) << c.name;
        }
        EXPECT_EQ(creator->getAttributeType("origin"), IViewCreator::kUnknownType) << "a base's attribute";

        // Made plain: an empty rectangle, tag -1, no bitmap; apply succeeds
        // without any attribute.
        auto view = owned(creator->create(none, desc));
        ASSERT_TRUE(view) << c.name;
        EXPECT_STREQ(view->getClassName(), c.name);
        EXPECT_EQ(view->getViewSize(), CRect());
        EXPECT_EQ(view->getBackground(), nullptr);
        if (auto* control = dynamic_cast<CControl*>(view.get())) {
            EXPECT_EQ(control->getTag(), -1) << c.name;
        }
        EXPECT_TRUE(creator->apply(view, none, desc)) << c.name;
        std::string value;
        if (!c.ownAttribute) {
            EXPECT_FALSE(creator->getAttributeValue(view, "flashBitmap", value, desc)) << c.name;
            EXPECT_FALSE(creator->getAttributeValue(view, "minSize", value, desc)) << c.name;
        }

        // The factory lists the class's attributes with those of its bases.
        names.clear();
        EXPECT_TRUE(factory->getAttributeNamesForView(view, names));
        EXPECT_NE(std::find(names.begin(), names.end(), "origin"), names.end()) << c.name;
        if (c.ownAttribute) {
            EXPECT_NE(std::find(names.begin(), names.end(), c.ownAttribute), names.end()) << c.name;
        }
        EXPECT_STREQ(factory->getViewName(view), c.name);
    }
}

TEST_F(VSTGUI4Creators, AttributesReadBackAsTheDescriptionWritesThem)
{
    auto* flashPush = child<VSTGUI4_FlashingPushButton>(1);
    auto* flashOnOff = child<VSTGUI4_FlashingOnOffButton>(2);
    auto* thumb = child<VSTGUI4_ViewWithMinimumSize>(4);
    auto* unknownFlash = child<VSTGUI4_FlashingPushButton>(6);
    ASSERT_TRUE(flashPush && flashOnOff && thumb && unknownFlash);

    EXPECT_EQ(valueOf(flashPush, "flashBitmap"), "flash");
    EXPECT_EQ(valueOf(flashOnOff, "flashBitmap"), "flash");
    EXPECT_EQ(valueOf(flashPush, "bitmap"), "button") << "the bases still answer";
    EXPECT_EQ(valueOf(flashPush, "control-tag"), "DataFiles");
    EXPECT_EQ(valueOf(unknownFlash, "flashBitmap"), "(none)") << "no flash bitmap to name";
    EXPECT_EQ(valueOf(thumb, "minSize"), "12, 34");
    thumb->setMinSize(CPoint(-5, 0));
    EXPECT_EQ(valueOf(thumb, "minSize"), "-5, 0");
    EXPECT_EQ(factory->getAttributeType(flashPush, "flashBitmap"), IViewCreator::kBitmapType);
    EXPECT_EQ(factory->getAttributeType(thumb, "minSize"), IViewCreator::kPointType);

    // A bitmap the description does not hold is named by its resource: its
    // file name, or its number.
    auto byName = owned(new CBitmap(CResourceDescription("flash.png")));
    flashPush->setFlashBitmap(byName);
    EXPECT_EQ(valueOf(flashPush, "flashBitmap"), "flash.png");
    auto byNumber = owned(new CBitmap(CResourceDescription(int32_t(9003))));
    flashPush->setFlashBitmap(byNumber);
    EXPECT_EQ(valueOf(flashPush, "flashBitmap"), "9003");

    // Applying an unknown name later leaves the bitmap in place; a known one
    // replaces it.
    const IViewCreator* creator = UIViewFactory::getViewCreator("VSTGUI4_FlashingPushButton");
    ASSERT_NE(creator, nullptr);
    UIAttributes attributes;
    attributes.setAttribute("flashBitmap", "nothing");
    EXPECT_TRUE(creator->apply(flashPush, attributes, desc));
    EXPECT_EQ(flashPush->getFlashBitmap(), byNumber.get());
    attributes.setAttribute("flashBitmap", "knob");
    EXPECT_TRUE(creator->apply(flashPush, attributes, desc));
    EXPECT_EQ(flashPush->getFlashBitmap(), desc->getBitmap("knob"));
}

TEST_F(VSTGUI4Creators, TheCreatedFlashingButtonFlashesOnThePanelPicture)
{
    // The whole panel drawn as the editor would, with the data-folder
    // button flashing: its top half turns from the button's red to the
    // flash's green.
    auto* flashPush = child<VSTGUI4_FlashingPushButton>(1);
    ASSERT_NE(flashPush, nullptr);
    auto* frame = new CFrame(CRect(0, 0, 300, 200), nullptr);
    root->remember();
    frame->addView(root);
    auto at = [&] {
        auto picture = owned(frame->createSnapshot());
        return vstgui_test::pixel(picture, 50, 15);
    };
    EXPECT_TRUE(sameColour(at(), kRed)) << vstgui_test::str(at());
    flashPush->startFlashing(2);
    flashPush->updateFlashing(7);
    flashPush->updateFlashing(9);
    EXPECT_TRUE(sameColour(at(), kGreen)) << vstgui_test::str(at());
    flashPush->stopFlashing();
    EXPECT_TRUE(sameColour(at(), kRed)) << vstgui_test::str(at());
    frame->forget();
}

//--- Copies

namespace {

// A flashing button caught with its flash on gives a copy with the same
// flash bitmap that is neither flashing nor started.
template <class Button>
void expectFreshFlashCopy(Button& button, CBitmap* flash)
{
    button.setFlashBitmap(flash);
    button.startFlashing(3);
    button.updateFlashing(1);
    button.updateFlashing(4);
    ASSERT_TRUE(button.isFlashOn()) << button.getClassName();
    auto copy = owned(dynamic_cast<Button*>(button.newCopy()));
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->getFlashBitmap(), flash);
    EXPECT_FALSE(copy->isFlashing());
    EXPECT_FALSE(copy->isFlashOn());
    EXPECT_EQ(copy->getFlashInterval(), 0);
    EXPECT_EQ(copy->getNextFlashTime(), 0);
}

} // namespace

TEST(VSTGUI4Copies, CopiesKeepTheirClassAndSettingsWantTheFocusAndStartWithoutAFlash)
{
    auto normal = bandsBitmap(20, 10, {kRed, kBlue});
    auto flash = bandsBitmap(20, 10, {kGreen, kYellow});

    VSTGUI4_PushButton push(CRect(1, 2, 21, 12), nullptr, 19, normal);
    push.setMax(4.f);
    ASSERT_FALSE(push.wantsFocus());
    auto pushCopy = owned(dynamic_cast<VSTGUI4_PushButton*>(push.newCopy()));
    ASSERT_TRUE(pushCopy);
    EXPECT_STREQ(pushCopy->getClassName(), "VSTGUI4_PushButton");
    EXPECT_TRUE(pushCopy->wantsFocus());
    EXPECT_EQ(pushCopy->getTag(), 19);
    EXPECT_EQ(pushCopy->getMax(), 4.f);
    EXPECT_EQ(pushCopy->getViewSize(), CRect(1, 2, 21, 12));
    EXPECT_EQ(pushCopy->getBackground(), normal.get());

    VSTGUI4_FlashingPushButton flashPush(CRect(0, 0, 20, 10), nullptr, 54, normal);
    VSTGUI4_FlashingOnOffButton flashOnOff(CRect(0, 0, 20, 10), nullptr, 33, normal);
    flashOnOff.setValue(1.f);
    for (auto* b : {static_cast<CControl*>(&flashPush), static_cast<CControl*>(&flashOnOff)}) {
        auto copy = owned(dynamic_cast<CControl*>(b->newCopy()));
        ASSERT_TRUE(copy);
        EXPECT_STREQ(copy->getClassName(), b->getClassName());
        EXPECT_EQ(copy->getTag(), b->getTag());
        EXPECT_EQ(copy->getValue(), b->getValue());
        EXPECT_TRUE(copy->wantsFocus());
    }
    expectFreshFlashCopy(flashPush, flash);
    expectFreshFlashCopy(flashOnOff, flash);

    VSTGUI4_DoubleClickKnob knob(CRect(0, 0, 10, 10), nullptr, 5);
    knob.setMouseWheelEnabled(false);
    knob.setDefaultValue(0.3f);
    auto knobCopy = owned(dynamic_cast<VSTGUI4_DoubleClickKnob*>(knob.newCopy()));
    ASSERT_TRUE(knobCopy);
    EXPECT_FALSE(knobCopy->getMouseWheelEnabled());
    EXPECT_EQ(knobCopy->getDefaultValue(), 0.3f);
    EXPECT_TRUE(knobCopy->wantsFocus());

    VSTGUI4_ViewWithMinimumSize thumb(CRect(0, 0, 8, 30));
    thumb.setMinSize(CPoint(6, 24));
    ASSERT_FALSE(thumb.wantsFocus());
    auto thumbCopy = owned(dynamic_cast<VSTGUI4_ViewWithMinimumSize*>(thumb.newCopy()));
    ASSERT_TRUE(thumbCopy);
    EXPECT_EQ(thumbCopy->getMinSize(), CPoint(6, 24));
    EXPECT_TRUE(thumbCopy->wantsFocus());
}

TEST(VSTGUI4Copies, EachClassAnswersItsOwnNameAndThoseOfItsBases)
{
    VSTGUI4_FlashingPushButton flashPush(CRect(), nullptr, 1);
    VSTGUI4_FlashingOnOffButton flashOnOff(CRect(), nullptr, 1);
    VSTGUI4_DoubleClickKnob knob{CRect()};
    VSTGUI4_ViewWithMinimumSize thumb{CRect()};
    struct Case {
        CView* view;
        const char* name;
        bool expected;
    };
    const Case cases[] = {
        {&flashPush, "VSTGUI4_FlashingPushButton", true}, {&flashPush, "VSTGUI4_PushButton", true},
        {&flashPush, "CControl", true},                   {&flashPush, "COnOffButton", false},
        {&flashOnOff, "VSTGUI4_FlashingOnOffButton", true}, {&flashOnOff, "COnOffButton", true},
        {&flashOnOff, "VSTGUI4_PushButton", false},        {&knob, "VSTGUI4_DoubleClickKnob", true},
        {&knob, "CAnimKnob", true},                       {&knob, "CKnob", true},
        {&thumb, "VSTGUI4_ViewWithMinimumSize", true},    {&thumb, "CView", true},
        {&thumb, "CControl", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.view->isTypeOf(c.name), c.expected) << c.view->getClassName() << " " << c.name;
    }
}
