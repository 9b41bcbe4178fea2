#include "Common_VST3/VSTGUI4_Controls.h"
#include "vstgui/lib/cviewcontainer.h"
#include "vstgui/vstgui_test_support.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

using namespace VSTGUI;
using vstgui_test::Rgba;

namespace {

const Rgba kRed{200, 30, 30, 255}, kBlue{30, 30, 200, 255}, kGreen{30, 200, 30, 255}, kYellow{220, 220, 40, 255};
const Rgba kClear{0, 0, 0, 0};

// A picture of horizontal bands, band i bandHeight high in colours[i], read
// from a PNG file drawn with cairo directly.
SharedPointer<CBitmap> bandsBitmap(int width, int bandHeight, const std::vector<Rgba>& colours)
{
    const std::string path = std::string(CORVANE_TEST_TMP) + "/bands-" + std::to_string(::getpid()) + ".png";
    vstgui_test::writeBandsPNG(path, width, bandHeight, colours);
    auto bitmap = owned(new CBitmap(CResourceDescription(path.c_str())));
    std::remove(path.c_str());
    return bitmap;
}

// Whether the view, drawn alone into a fresh transparent picture 30 x 12,
// shows the colour at (x, y).
bool shows(CView& view, int x, int y, const Rgba& c)
{
    auto context = owned(COffscreenContext::create(nullptr, 30, 12));
    context->beginDraw();
    view.draw(context);
    context->endDraw();
    return vstgui_test::near(vstgui_test::pixel(context, x, y), CColor(c.r, c.g, c.b, c.a));
}

// A frame whose knobs follow a linear drag, so that a plain click does not
// move them.
struct FrameFixture : vstgui_test::FrameTest {
    FrameFixture() { knobMode = kLinearMode; }
    CPoint inside{20, 20}, outside{150, 150};
};

using VSTGUI4PushButton = FrameFixture;
using VSTGUI4DoubleClickKnob = FrameFixture;

} // namespace

TEST_F(VSTGUI4PushButton, EachPressIsOneEditFromTheMaximumToTheMinimumEndedOnlyByWhatStartedIt)
{
    auto* button = new VSTGUI4_PushButton(CRect(10, 10, 40, 30), &edits, 9);
    button->setMin(-2.f);
    button->setMax(5.f);
    frame->addView(button);
    frame->setFocusView(button);

    // An event with its mouse buttons or key, the answer (kAny: not asked)
    // and what the listener hears.
    enum Event { down, up, dragAway, upAway, keyDown, keyUp, upToTheButton };
    constexpr int kAny = 1000, L = kLButton, R = kRButton, H = kMouseEventHandled, N = kMouseEventNotHandled;
    const struct { Event event; int code; unsigned char modifier; int answer; const char* log; } rows[] = {
        // The press stays on wherever the pointer goes until the release; the right button does nothing.
        {down, L, 0, H, " begin 5"}, {dragAway, L, 0, H, ""}, {upAway, L, 0, H, " -2 end"}, {down, L, 0, H, " begin 5"},
        {up, L, 0, H, " -2 end"}, {down, R, 0, N, ""}, {up, R, 0, kAny, ""},
        // Return and Space; the mouse neither presses again nor releases.
        {keyDown, VKEY_RETURN, 0, 1, " begin 5"}, {keyDown, VKEY_RETURN, 0, 1, ""}, {down, L, 0, kAny, ""},
        {up, L, 0, kAny, ""}, {upToTheButton, L, 0, N, ""}, {keyUp, VKEY_RETURN, 0, 1, " -2 end"},
        {keyDown, VKEY_SPACE, 0, 1, " begin 5"}, {keyUp, VKEY_SPACE, 0, 1, " -2 end"},
        // Keys with a modifier and other keys are left to others.
        {keyDown, VKEY_SPACE, MODIFIER_SHIFT, -1, ""}, {keyDown, VKEY_TAB, 0, -1, ""},
        {keyUp, VKEY_SPACE, MODIFIER_CONTROL, -1, ""},
        // A key released while the mouse holds the button leaves the press on.
        {down, L, 0, H, " begin 5"}, {keyUp, VKEY_SPACE, 0, 1, ""}, {up, L, 0, H, " -2 end"},
    };
    for (const auto& r : rows) {
        edits.log.clear();
        VstKeyCode key{0, static_cast<unsigned char>(r.code), r.modifier};
        const int answer = r.event == down       ? frame->platformOnMouseDown(inside, r.code)
                           : r.event == up       ? frame->platformOnMouseUp(inside, r.code)
                           : r.event == dragAway ? frame->platformOnMouseMoved(outside, r.code)
                           : r.event == upAway   ? frame->platformOnMouseUp(outside, r.code)
                           : r.event == keyDown  ? frame->platformOnKeyDown(key)
                           : r.event == keyUp    ? frame->platformOnKeyUp(key)
                                                 : button->onMouseUp(inside, r.code);
        const std::string at = "row " + std::to_string(&r - rows);
        if (r.answer != kAny) {
            EXPECT_EQ(answer, r.answer) << at;
        }
        EXPECT_EQ(edits.log, r.log) << at;
        EXPECT_EQ(button->isPressed(), button->getValue() == 5.f) << at;
    }
}

TEST(VSTGUI4PushButtonPicture, ShowsTheLowerHalfOfItsBitmapOnlyAtTheMaximumAndSizesToOneHalf)
{
    // Two bands of 10 pixels; the view is only 6 high, so the pressed picture
    // starts half the bitmap down, not one view down.
    VSTGUI4_PushButton button(CRect(4, 3, 24, 9), nullptr, 1, bandsBitmap(20, 10, {kRed, kBlue}));
    button.setMin(-1.f);
    button.setMax(3.f);
    for (const auto& [value, colour] : {std::pair{-1.f, kRed}, {2.99f, kRed}, {3.f, kBlue}}) {
        button.setValue(value);
        button.setDirty(true);
        EXPECT_TRUE(shows(button, 4, 3, colour) && shows(button, 23, 8, colour) && shows(button, 12, 5, colour))
            << value << ": the corners and the middle";
        EXPECT_TRUE(shows(button, 3, 5, kClear) && shows(button, 12, 9, kClear)) << "nothing left of or below it";
        EXPECT_FALSE(button.isDirty()) << "drawing leaves the button clean";
    }
    EXPECT_TRUE(button.sizeToFit());
    EXPECT_EQ(button.getViewSize(), CRect(4, 3, 24, 13));

    VSTGUI4_PushButton bare(CRect(0, 0, 10, 10));
    bare.setValue(1.f);
    EXPECT_TRUE(shows(bare, 5, 5, kClear)) << "without a bitmap nothing is drawn";
    EXPECT_FALSE(bare.sizeToFit());
}

namespace {

template <class Button>
struct FlashingButton : ::testing::Test {
    static constexpr bool kFlashesOn = std::is_same<Button, VSTGUI4_FlashingOnOffButton>::value;
    // Normal picture: red at rest, blue pressed or on. Flash picture: green
    // at rest, yellow pressed or on. Each half is as high as the view.
    FlashingButton() : button(CRect(0, 0, 20, 10), nullptr, 1, bandsBitmap(20, 10, {kRed, kBlue}))
    {
        button.setFlashBitmap(bandsBitmap(20, 10, {kGreen, kYellow}));
        toFlashingPosition();
    }
    void toFlashingPosition() { button.setValue(kFlashesOn ? button.getMax() : button.getMin()); }
    void awayFromIt() { button.setValue(kFlashesOn ? button.getMin() : button.getMax()); }
    Button button;
};

using FlashingButtons = ::testing::Types<VSTGUI4_FlashingPushButton, VSTGUI4_FlashingOnOffButton>;
TYPED_TEST_SUITE(FlashingButton, FlashingButtons);

} // namespace

TYPED_TEST(FlashingButton, FlashesOnAFixedGridAndCatchesUpOneChangePerTickAfterAPause)
{
    // Started at 10 with an interval of 4 the phase changes at 14, 18, 22 ...
    // Ticks pause from 18 to 30, then catch up one change per tick on the
    // grid. Away from its flashing position the button keeps phase and grid;
    // a new start begins the phase anew at the next tick.
    // An operation (with the time of a tick, the interval of a start), the
    // phase and grid after it, and whether it asks for a redraw (-1: not asked).
    enum Op { tick, start, stop, away, back };
    const struct { Op op; int32_t arg; bool flashOn; int32_t nextFlashTime; int redraw; } steps[] = {
        {tick, 0, false, 0, 0},   {tick, INT32_MAX, false, 0, 0}, {tick, -7, false, 0, 0},  {start, 4, false, 0, 0},
        {tick, 10, false, 14, 0}, {tick, 13, false, 14, 0},       {tick, 14, true, 18, 1},  {tick, 17, true, 18, 0},
        {tick, 18, false, 22, 1}, {tick, 30, true, 26, 1},        {tick, 31, false, 30, 1}, {tick, 32, true, 34, 1},
        {tick, 33, true, 34, 0},  {tick, 34, false, 38, 1},       {tick, 39, true, 42, 1},  {away, 0, true, 42, -1},
        {tick, 42, true, 42, 0},  {tick, 60, true, 42, 0},        {back, 0, true, 42, -1},  {tick, 61, false, 46, 1},
        {tick, 62, true, 50, 1},  {start, 6, true, 0, 0},         {tick, 100, false, 106, 1}, {tick, 106, true, 112, 1},
        {stop, 0, false, 0, 1},   {tick, 112, false, 0, 0},       {tick, 200, false, 0, 0},
        // Clock values near the limits wrap instead of overflowing.
        {start, 10, false, 0, 0}, {tick, INT32_MAX - 3, false, INT32_MIN + 6, 0},
        {tick, INT32_MIN + 6, true, INT32_MIN + 16, 1},
    };
    auto& b = this->button;
    for (const auto& s : steps) {
        b.setDirty(false);
        switch (s.op) {
        case tick: b.updateFlashing(s.arg); break;
        case start: b.startFlashing(s.arg); break;
        case stop: b.stopFlashing(); break;
        case away: this->awayFromIt(); break;
        case back: this->toFlashingPosition(); break;
        }
        const std::string at = "step " + std::to_string(&s - steps);
        EXPECT_EQ(b.isFlashOn(), s.flashOn) << at;
        EXPECT_EQ(b.getNextFlashTime(), s.nextFlashTime) << at;
        if (s.redraw >= 0) {
            EXPECT_EQ(b.isDirty(), s.redraw == 1) << at << ": a redraw exactly when the picture changes";
        }
        // The flash picture while the flash is on, in the half of the position.
        const bool lowerHalf = b.getValue() == b.getMax();
        EXPECT_TRUE(shows(b, 10, 5, s.flashOn ? (lowerHalf ? kYellow : kGreen) : (lowerHalf ? kBlue : kRed))) << at;
    }
    // Copied with the flash on: the same flash bitmap, neither flashing nor started.
    auto copy = owned(dynamic_cast<TypeParam*>(b.newCopy()));
    ASSERT_TRUE(copy && b.isFlashOn());
    EXPECT_EQ(copy->getFlashBitmap(), b.getFlashBitmap());
    EXPECT_FALSE(copy->isFlashing() || copy->isFlashOn() || copy->getFlashInterval() || copy->getNextFlashTime());

    b.setFlashBitmap(nullptr);
    EXPECT_TRUE(shows(b, 10, 5, this->kFlashesOn ? kBlue : kRed)) << "flash on without a flash bitmap";
}

TEST_F(VSTGUI4DoubleClickKnob, DoubleClickResetsAsOneEditAndARefusedWheelReachesTheViewBelow)
{
    // A stock knob lies under the double-click knob, which lets events
    // through only when it does not take them.
    auto* under = new CAnimKnob(CRect(0, 0, 40, 40), nullptr, 2);
    auto* knob = new VSTGUI4_DoubleClickKnob(CRect(0, 0, 40, 40), &edits, 1);
    knob->setTransparency(true);
    knob->setMax(10.f);
    knob->setDefaultValue(2.5f);
    knob->setValue(9.f);
    frame->addView(under);
    frame->addView(knob);

    frame->platformOnMouseDown(inside, kLButton);
    frame->platformOnMouseUp(inside, kLButton);
    EXPECT_EQ(knob->getValue(), 9.f) << "a single click does not reset";
    edits.log.clear();
    EXPECT_EQ(frame->platformOnMouseDown(inside, kLButton | kDoubleClick),
              kMouseDownEventHandledButDontNeedMovedOrUpEvents);
    frame->platformOnMouseUp(inside, kLButton);
    EXPECT_EQ(edits.log, " begin 2.5 end");
    // Outside a press the reset is an edit of its own.
    knob->setValue(7.f);
    EXPECT_FALSE(knob->checkDefaultValue(kRButton | kDoubleClick)) << "a double click of the right button";
    EXPECT_TRUE(knob->checkDefaultValue(kLButton | kDoubleClick));
    EXPECT_EQ(edits.log, " begin 2.5 end begin 2.5 end");
    knob->setValue(7.f);
    EXPECT_TRUE(knob->checkDefaultValue(kLButton | kControl)) << "the stock Ctrl-click resets too";
    EXPECT_EQ(knob->getValue(), 2.5f);

    edits.log.clear();
    EXPECT_TRUE(frame->platformOnMouseWheel(inside, kMouseWheelAxisY, 1.f, 0));
    EXPECT_EQ(edits.log, " begin 3.5 end") << "one step of the default increment 0.1 of the range";
    EXPECT_FLOAT_EQ(under->getValue(), 0.f);
    knob->setMouseWheelEnabled(false);
    EXPECT_TRUE(frame->platformOnMouseWheel(inside, kMouseWheelAxisY, 1.f, 0));
    EXPECT_FLOAT_EQ(knob->getValue(), 3.5f);
    EXPECT_FLOAT_EQ(under->getValue(), 0.1f) << "the refused event reached the knob below";
    EXPECT_EQ(edits.log, " begin 3.5 end");
    EXPECT_FALSE(owned(dynamic_cast<VSTGUI4_DoubleClickKnob*>(knob->newCopy()))->getMouseWheelEnabled()) << "a copy";
}

namespace {

const char* kPanel = R"(<?xml version="1.0" encoding="UTF-8"?>
<vstgui-ui-description version="1">
  <bitmaps>
    <bitmap name="button" path="button.png"/>
    <bitmap name="flash" path="flash.png"/>
  </bitmaps>
  <template name="Panel" class="CViewContainer" origin="0, 0" size="300, 200">
    <view class="VSTGUI4_PushButton" origin="10, 10" size="20, 10" bitmap="button"/>
    <view class="VSTGUI4_FlashingPushButton" origin="40, 10" size="20, 10" flashBitmap="flash"/>
    <view class="VSTGUI4_FlashingOnOffButton" origin="70, 10" size="20, 10" flashBitmap="flash"/>
    <view class="VSTGUI4_DoubleClickKnob" origin="100, 10" size="10, 10"/>
    <view class="VSTGUI4_ViewWithMinimumSize" origin="120, 10" size="8, 30" minSize="12, 34"/>
    <view class="VSTGUI4_FlashingPushButton" origin="140, 10" size="20, 10" flashBitmap="nothing"/>
  </template>
</vstgui-ui-description>
)";

struct VSTGUI4Creators : ::testing::Test {
    void SetUp() override
    {
        VSTGUI4_registerControls();
        resources.png("button.png", 20, 10, {kRed, kBlue});
        resources.png("flash.png", 20, 10, {kGreen, kYellow});
        desc = resources.describe(kPanel);
        root = owned(desc->createView("Panel", nullptr));
        ASSERT_TRUE(dynamic_cast<CViewContainer*>(root.get())) << desc->getLastError();
    }

    template <class T>
    T* child(uint32_t index) const
    {
        return dynamic_cast<T*>(static_cast<CViewContainer*>(root.get())->getView(index));
    }

    vstgui_test::ResourceFolder resources;
    SharedPointer<UIDescription> desc;
    SharedPointer<CView> root;
};

} // namespace

TEST_F(VSTGUI4Creators, EachClassIsMadeOnTopOfItsBaseWithItsOwnAttribute)
{
    // The class and its base (whose attributes it takes); a copy keeps the
    // class and wants the focus.
    const std::pair<const char*, const char*> rows[] = {
        {"VSTGUI4_PushButton", "CControl"},    {"VSTGUI4_FlashingPushButton", "VSTGUI4_PushButton"},
        {"VSTGUI4_FlashingOnOffButton", "COnOffButton"}, {"VSTGUI4_DoubleClickKnob", "CAnimKnob"},
        {"VSTGUI4_ViewWithMinimumSize", "CView"}, {"VSTGUI4_FlashingPushButton", "VSTGUI4_PushButton"},
    };
    for (uint32_t i = 0; i < std::size(rows); ++i) {
        CView* view = child<CView>(i);
        ASSERT_NE(view, nullptr) << i;
        EXPECT_STREQ(view->getClassName(), rows[i].first);
        EXPECT_TRUE(view->isTypeOf(rows[i].second)) << i;
        auto copy = owned(dynamic_cast<CView*>(view->newCopy()));
        EXPECT_TRUE(copy && std::string(copy->getClassName()) == rows[i].first && copy->wantsFocus()) << i;
    }
    // A bitmap the description does not hold leaves the flash bitmap unset.
    EXPECT_EQ(child<VSTGUI4_FlashingPushButton>(1)->getFlashBitmap(), desc->getBitmap("flash"));
    EXPECT_EQ(child<VSTGUI4_FlashingOnOffButton>(2)->getFlashBitmap(), desc->getBitmap("flash"));
    EXPECT_EQ(child<VSTGUI4_FlashingPushButton>(5)->getFlashBitmap(), nullptr);

    // "minSize" is two whole numbers around the first comma, left as it was
    // without one.
    auto* thumb = child<VSTGUI4_ViewWithMinimumSize>(4);
    ASSERT_TRUE(thumb);
    EXPECT_EQ(thumb->getMinSize(), CPoint(12, 34));
    const IViewCreator* thumbCreator = UIViewFactory::getViewCreator("VSTGUI4_ViewWithMinimumSize");
    for (const auto& [text, minSize] : {std::pair{"40", CPoint(12, 34)}, {"", CPoint(12, 34)}, {"5,6,7", CPoint(5, 6)},
                                        {"x, 9", CPoint(0, 9)}, {"-4,", CPoint(-4, 0)}, {" 3.7 , -8 ", CPoint(3, -8)},
                                        {"0012, 0x20", CPoint(12, 0)}}) {
        thumb->setMinSize(CPoint(12, 34));
        UIAttributes attributes;
        attributes.setAttribute("minSize", text);
        EXPECT_TRUE(thumbCreator->apply(thumb, attributes, desc));
        EXPECT_EQ(thumb->getMinSize(), minSize) << '"' << text << '"';
    }
}
