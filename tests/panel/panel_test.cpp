// The panel's shell on the effect: the editor made by createView, the
// sub-controller filing named views in the registry, controls reaching the
// effect, the timer's pitch displays and the number keys. Panels here come
// from small descriptions written by the tests, so that each case sees
// exactly the views it is about.

#include "effect/Corvane_SingleComponentEffect.h"
#include "support/inspected_effect.h"

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "Common_VST3/VSTGUI4_DoubleClickKnob.h"
#include "Common_VST3/VSTGUI4_PushButton.h"
#include "dsp/scale_tables.h"
#include "effect/Corvane_Parameters.h"
#include "graph/views/Corvane_GraphContainerView.h"
#include "graph/views/Corvane_GraphView.h"
#include "hostlib/Host_Interfaces.h"
#include "panel/Corvane_EditorPresenter.h"
#include "panel/Corvane_KeyboardGeometry.h"
#include "panel/Corvane_KeyboardView.h"
#include "panel/Corvane_ScalesListView.h"
#include "panel/Corvane_SubController.h"
#include "vstgui/editor_support.h"
#include "vstgui/lib/controls/cbuttons.h"
#include "vstgui/lib/controls/cparamdisplay.h"

#include <gtest/gtest.h>

using namespace Steinberg;

namespace {

// A panel with views of every kind of registry row: right classes, a known
// name with the wrong class, a control with a name the registry does not
// know, and controls without names.
const char* panelDescription = R"(<vstgui-ui-description version="1">
  <control-tags>
    <control-tag name="Mode" tag="0"/>
    <control-tag name="Detune" tag="3"/>
    <control-tag name="Formants" tag="70"/>
    <control-tag name="Transpose" tag="74"/>
    <control-tag name="Notes" tag="73"/>
    <control-tag name="Throat" tag="71"/>
  </control-tags>
  <template name="Corvane_Editor" class="CViewContainer" size="850, 630" minSize="850, 630"
            maxSize="4000, 4000" sub-controller="Corvane_SubController">
    <view class="CViewContainer" view-name="CommonArea" origin="0, 0" size="850, 100">
      <view class="CTextLabel" view-name="DetuneHertzDisplay" origin="10, 10" size="60, 20"/>
      <view class="VSTGUI4_DoubleClickKnob" view-name="TransposeKnob" origin="80, 10" size="40, 40"
            control-tag="Transpose"/>
      <view class="VSTGUI4_DoubleClickKnob" view-name="ThroatLengthKnob" origin="130, 10" size="40, 40"
            control-tag="Throat"/>
      <view class="CView" view-name="ThroatLengthCover" origin="130, 10" size="40, 40"/>
      <view class="COnOffButton" view-name="FormantsSwitch" origin="180, 10" size="20, 20"
            control-tag="Formants"/>
      <view class="COnOffButton" view-name="ModeButton" origin="210, 10" size="20, 20" control-tag="Mode"/>
      <view class="COnOffButton" origin="240, 10" size="20, 20" control-tag="Mode"/>
      <view class="CKnob" origin="270, 10" size="20, 20" control-tag="Detune"/>
      <view class="CView" view-name="DetectedPitchDisplay" origin="300, 10" size="60, 20"/>
      <view class="CTextLabel" view-name="OutputPitchDisplay" origin="370, 10" size="60, 20"/>
    </view>
    <view class="CViewContainer" view-name="AutoModePage" origin="0, 100" size="850, 530"/>
    <view class="Corvane_GraphContainerView" view-name="GraphModePage" origin="0, 100" size="850, 530">
      <view class="VSTGUI4_DoubleClickKnob" view-name="NumNotesKnob" origin="10, 10" size="40, 40"
            control-tag="Notes"/>
    </view>
  </template>
</vstgui-ui-description>
)";

// An effect as a host makes it, with the panel's description in the
// resource folder and a handler that writes down the host's edit calls.
struct Panel {
    Inspected_Effect* effect = new Inspected_Effect();
    vstgui_test::RecordingHandler handler;
    VSTGUI::VST3Editor* editor = nullptr;

    // Without a description, the real panel from the built bundle.
    explicit Panel(const char* description = panelDescription)
    {
        if (description == nullptr) {
            VSTGUI::setResourceDirectory(CORVANE_BUNDLE_PATH "/Contents/Resources");
        } else {
            const std::string dir = vstgui_test::scratchDir();
            vstgui_test::writeText(dir + "/Corvane_Editor.uidesc", description);
            VSTGUI::setResourceDirectory(dir.c_str());
        }
        effect->initialize(nullptr);
        effect->setComponentHandler(&handler);
    }
    ~Panel()
    {
        close();
        effect->setComponentHandler(nullptr);
        effect->terminate();
        effect->release();
    }
    bool open()
    {
        IPlugView* view = effect->createView(Vst::ViewType::kEditor);
        editor = dynamic_cast<VSTGUI::VST3Editor*>(view);
        return editor && editor->open(nullptr);
    }
    void close()
    {
        if (!editor) return;
        editor->close();
        editor->release();
        editor = nullptr;
    }
    Corvane_EditorPresenter& presenter() { return effect->getEditorPresenter(); }
    Corvane_ViewRegistry& registry() { return presenter().getViewRegistry(); }
    Corvane_SubController* subController()
    {
        VSTGUI::CView* root = editor->getFrame()->getView(0);
        VSTGUI::IController* controller = nullptr;
        uint32_t size = 0;
        root->getAttribute(VSTGUI::kCViewControllerAttribute, sizeof(controller), &controller, size);
        return dynamic_cast<Corvane_SubController*>(controller);
    }
    template <class T = VSTGUI::CControl>
    T* named(const char* name)
    {
        return dynamic_cast<T*>(subController()->findView(name));
    }
    // A user's gesture on a control: press, move to a value, release.
    void gesture(VSTGUI::CControl* control, float value)
    {
        control->beginEdit();
        control->setValue(value);
        control->valueChanged();
        control->endEdit();
    }
};

// Blocks of 512 samples of a tone (silence for 0 Hz) through the effect,
// stereo at 48 kHz.
void sing(Corvane_SingleComponentEffect* effect, double hz, int blocks)
{
    static double phase = 0.0;
    std::vector<float> in(512), out(512), out2(512);
    float* ins[2] = {in.data(), in.data()};
    float* outs[2] = {out.data(), out2.data()};
    Vst::AudioBusBuffers inBus{}, outBus{};
    inBus.numChannels = outBus.numChannels = 2;
    inBus.channelBuffers32 = ins;
    outBus.channelBuffers32 = outs;
    Vst::ProcessData data;
    data.numSamples = 512;
    data.numInputs = data.numOutputs = 1;
    data.inputs = &inBus;
    data.outputs = &outBus;
    for (int block = 0; block < blocks; ++block) {
        for (float& s : in) {
            s = hz > 0.0 ? float(0.5 * std::sin(phase)) : 0.0f;
            phase += 2.0 * M_PI * hz / 48000.0;
        }
        effect->process(data);
    }
}

} // namespace

TEST(Panel, TheEditorOpensOnlyForItsNameAndRunsTheTimerWhileOpen)
{
    Panel panel;
    EXPECT_EQ(panel.effect->createView("other"), nullptr);
    EXPECT_EQ(panel.effect->createView(nullptr), nullptr);
    EXPECT_FALSE(panel.effect->timerRunning());

    ASSERT_TRUE(panel.open());
    EXPECT_TRUE(panel.effect->timerRunning() && panel.effect->isEditorOpen());
    panel.close();
    EXPECT_FALSE(panel.effect->timerRunning() || panel.effect->isEditorOpen());
    // Nothing of the panel stays behind in the registry.
    EXPECT_TRUE(panel.registry().commonArea == nullptr && panel.registry().transposeKnob == nullptr);

    // A second opening builds the panel anew.
    ASSERT_TRUE(panel.open());
    EXPECT_NE(panel.registry().transposeKnob, nullptr);

    // An unreadable description gives no editor.
    Panel unreadable("<vstgui-ui-description version=\"1\"><template name=\"Other\"");
    EXPECT_EQ(unreadable.effect->createView(Vst::ViewType::kEditor), nullptr);
}

TEST(Panel, NamedViewsOfTheRightClassFillTheRegistryAndOthersStayNull)
{
    Panel panel;
    ASSERT_TRUE(panel.open());
    Corvane_ViewRegistry& r = panel.registry();
    EXPECT_TRUE(r.commonArea && r.detuneHertzDisplay && r.transposeKnob && r.throatLengthKnob &&
                r.throatLengthCover && r.autoModePage && r.graphModePage && r.outputPitchDisplay);
    // A plain view under the name of a label: the field stays null and the
    // panel opened all the same. Names the description does not use stay
    // null too.
    EXPECT_TRUE(r.detectedPitchDisplay == nullptr && r.keyPopup == nullptr && r.clockPositionDisplay == nullptr);
    // So the pitch displays fill only the labels that exist: the output
    // display, cleared on opening; the detected one is a plain view here,
    // the object display absent, and 3 and -1 name no display.
    auto* output = static_cast<VSTGUI::CTextLabel*>(r.outputPitchDisplay);
    EXPECT_STREQ(output->getText(), " ");
    panel.presenter().setPitchDisplay(1, 912);
    EXPECT_STREQ(output->getText(), "A3 +12");
    panel.presenter().clearPitchDisplay(1);
    for (int display : {0, 2, 3, -1}) panel.presenter().setPitchDisplay(display, 912);
    EXPECT_STREQ(output->getText(), " ");
    // The knobs that edit graph objects take no wheel; others do.
    ASSERT_NE(r.numNotesKnob, nullptr);
    EXPECT_FALSE(r.numNotesKnob->getMouseWheelEnabled());
    EXPECT_TRUE(r.transposeKnob->getMouseWheelEnabled());

    // Every named view is listed in creation order (children before their
    // container), the controls among them (labels are controls too) also in
    // the control list; views without a name in neither.
    std::vector<std::string> views;
    for (const NamedViewEntry& e : panel.subController()->getViewList()) views.push_back(e.name);
    EXPECT_EQ(views, (std::vector<std::string>{"DetuneHertzDisplay", "TransposeKnob", "ThroatLengthKnob",
                                               "ThroatLengthCover", "FormantsSwitch", "ModeButton",
                                               "DetectedPitchDisplay", "OutputPitchDisplay", "CommonArea",
                                               "AutoModePage", "NumNotesKnob", "GraphModePage"}));
    std::vector<std::string> controls;
    for (const NamedControlEntry& e : panel.subController()->getControlList()) controls.push_back(e.name);
    EXPECT_EQ(controls, (std::vector<std::string>{"DetuneHertzDisplay", "TransposeKnob", "ThroatLengthKnob",
                                                  "FormantsSwitch", "ModeButton", "OutputPitchDisplay",
                                                  "NumNotesKnob"}));
}

// The object commands' buttons act on the open panel as they do with the
// panel closed: "Make Curves" over a tracked stretch makes a curve, and
// "Undo" takes it away.
TEST(Panel, ObjectButtonsOnThePanelEditTheObjects)
{
    Panel panel(nullptr);
    ASSERT_TRUE(panel.open());
    TrackedFrameArray& frames = panel.effect->frames();
    for (int64_t i = 0; i < 400; ++i) {
        TrackedFrame f = frames.get(i);
        f.periodA = f.periodB = 200.0f;
        f.centsA = f.centsB = 900 + int32_t(i % 40);
        frames.putTracked(i, f);
    }
    frames.extendTracked(400);
    auto* make = panel.named<VSTGUI::CControl>("MakeCurvesButton");
    auto* undo = panel.named<VSTGUI::CControl>("UndoButton");
    ASSERT_TRUE(make && undo);
    ASSERT_TRUE(panel.effect->getObjectEditor().currentList().empty());
    panel.gesture(make, 1.0f);
    panel.gesture(make, 0.0f);
    EXPECT_FALSE(panel.effect->getObjectEditor().currentList().empty());
    panel.gesture(undo, 1.0f);
    panel.gesture(undo, 0.0f);
    EXPECT_TRUE(panel.effect->getObjectEditor().currentList().empty());
}

TEST(Panel, OnlyNamedControlsReachTheEffectsDispatch)
{
    Panel panel;
    ASSERT_TRUE(panel.open());
    Corvane_ViewRegistry& r = panel.registry();
    ASSERT_TRUE(r.autoModePage && r.graphModePage);
    EXPECT_TRUE(r.autoModePage->isVisible());
    EXPECT_FALSE(r.graphModePage->isVisible());

    // The unnamed mode button changes the parameter and the host hears it,
    // but the dispatch never runs: the pages stay.
    VSTGUI::CControl* unnamed = nullptr;
    auto* common = static_cast<VSTGUI::CViewContainer*>(r.commonArea);
    for (uint32_t i = 0; i < common->getNbViews(); ++i) {
        auto* c = dynamic_cast<VSTGUI::COnOffButton*>(common->getView(i));
        if (c && c != panel.named("ModeButton") && c->getTag() == corvane::kCorrectionMode) unnamed = c;
    }
    ASSERT_NE(unnamed, nullptr);
    panel.gesture(unnamed, 1.0f);
    EXPECT_EQ(panel.handler.calls.front(), "begin 0");
    EXPECT_FALSE(panel.effect->isGraphMode());
    EXPECT_TRUE(r.autoModePage->isVisible());

    // The named one, though its name is not the registry's, switches them.
    panel.gesture(panel.named("ModeButton"), 1.0f);
    EXPECT_TRUE(panel.effect->isGraphMode());
    EXPECT_FALSE(r.autoModePage->isVisible());
    EXPECT_TRUE(r.graphModePage->isVisible());
    EXPECT_TRUE(r.graphModePage->getMouseEnabled());
    panel.gesture(panel.named("ModeButton"), 0.0f);
    EXPECT_TRUE(r.autoModePage->isVisible());
    EXPECT_FALSE(r.graphModePage->isVisible());

    // "Use Formants" shows the throat length knob or its cover.
    EXPECT_TRUE(r.throatLengthKnob->isVisible());
    EXPECT_FALSE(r.throatLengthCover->isVisible());
    panel.gesture(panel.named("FormantsSwitch"), 0.0f);
    EXPECT_FALSE(r.throatLengthKnob->isVisible());
    EXPECT_FALSE(r.throatLengthKnob->getMouseEnabled());
    EXPECT_TRUE(r.throatLengthCover->isVisible());
}

TEST(Panel, OnlyAGestureOnAGraphObjectKnobMarksAnEditInProgress)
{
    Panel panel;
    ASSERT_TRUE(panel.open());
    Corvane_ViewRegistry& r = panel.registry();

    // Automation of "Number of Note Objects" with no gesture: no edit.
    panel.effect->setParamNormalized(corvane::kNumberOfNotes, 0.7);
    EXPECT_EQ(panel.presenter().getObjectKnobEdit(), -1);

    r.numNotesKnob->beginEdit();
    EXPECT_EQ(panel.presenter().getObjectKnobEdit(), int32(corvane::kNumberOfNotes));
    r.numNotesKnob->endEdit();
    EXPECT_EQ(panel.presenter().getObjectKnobEdit(), -1);

    // Other knobs are not graph-object edits.
    r.transposeKnob->beginEdit();
    EXPECT_EQ(panel.presenter().getObjectKnobEdit(), -1);
    r.transposeKnob->endEdit();
}

TEST(Panel, PitchDisplaysNameTheNearestNoteOfTheScale)
{
    // Cents count from the C below A 440, which is C3; the offset is from
    // the nearest note of the scale, in the spelling of scale and key.
    struct Case {
        int scale, key, detune, cents;
        const char* text;
    };
    const int chromatic = 2, major = 0, minor = 1;
    const Case cases[] = {
        {chromatic, 0, 0, 900 + 12, "A3 +12"},
        {chromatic, 0, 0, 2100 + 12, "A4 +12"},
        {chromatic, 0, 0, 100 - 7, "C#3 -7"},
        {chromatic, 0, 0, 0, "C3 0"},
        {chromatic, 0, 0, -1200 - 30, "C2 -30"},
        {chromatic, 0, 0, -1, "C3 -1"},
        // Keys 1, 3, 5, 8 and 10 spell the black keys flat.
        {chromatic, 5, 0, 1000 + 3, "Bb3 +3"},
        // The detune moves every note of the scale.
        {chromatic, 0, 10, 900, "A3 -10"},
        {chromatic, 0, 10, 910, "A3 0"},
        // Seven-note scales: notes outside the scale are not candidates.
        {major, 4, 0, 1500, "D#4 0"},
        {major, 0, 0, 90, "C3 +90"},
        {major, 0, 0, 140, "D3 -60"},
        {minor, 9, 0, 700 + 5, "G3 +5"},
    };
    for (const Case& c : cases) {
        Scale_State state;
        state.scale = int16_t(c.scale);
        state.key = int16_t(c.key);
        state.detune = int16_t(c.detune);
        char text[48];
        Corvane_EditorPresenter::pitchDisplayText(state, c.cents, text, sizeof(text));
        EXPECT_STREQ(text, c.text) << "scale " << c.scale << " key " << c.key << " cents " << c.cents;
    }

    // From scale index 3 on there are no note names: the offset alone,
    // behind a blank, from a note of the scale.
    for (int scale = 3; scale < scale_count; ++scale) {
        Scale_State state;
        state.scale = int16_t(scale);
        state.key = 2;
        // The second note of the scale an octave up, in whole cents.
        const long second = std::lround(200.0 + 1200.0 + double(scale_intervals[scale][1]) / 100.0);
        char text[48];
        Corvane_EditorPresenter::pitchDisplayText(state, int(second + 3), text, sizeof(text));
        EXPECT_STREQ(text, " +3") << scale_names[scale];
        Corvane_EditorPresenter::pitchDisplayText(state, 200 - 1200, text, sizeof(text));
        EXPECT_STREQ(text, " 0") << scale_names[scale];
    }
}

TEST(Panel, TheDetuneLabelShowsTheReferenceAInHertz)
{
    Panel panel;
    ASSERT_TRUE(panel.open());
    auto* label = static_cast<VSTGUI::CTextLabel*>(panel.registry().detuneHertzDisplay);
    auto* knob = panel.effect->getParameterObject(corvane::kDetune);
    ASSERT_TRUE(label && knob);
    EXPECT_STREQ(label->getText(), "440.0");
    // A semitone up and down from 440 Hz, to a tenth of a hertz.
    const struct {
        double normalized;
        const char* text;
    } cases[] = {{1.0, "466.2"}, {0.0, "415.3"}, {0.75, "452.9"}};
    for (const auto& c : cases) {
        knob->setNormalized(c.normalized);
        panel.effect->parameterChanged(knob);
        EXPECT_STREQ(label->getText(), c.text);
    }
}

TEST(Panel, NumberKeysRunTheirCommandsInGraphModeOnly)
{
    Panel panel;
    ASSERT_TRUE(panel.open());
    VSTGUI::CFrame* frame = panel.editor->getFrame();
    auto* tools = panel.effect->getParameterObject(corvane::kGraphTools);
    const auto tool = [&] { return int(std::lround(tools->toPlain(tools->getNormalized()))); };
    VstKeyCode three;
    three.character = '3';

    // In Auto mode the keys go on to the views.
    EXPECT_EQ(frame->platformOnKeyDown(three), -1);
    EXPECT_TRUE(panel.handler.calls.empty());

    // In Graph mode "3" picks the third tool, "0" the tenth, and the host
    // hears each as an edit.
    panel.effect->setCorrectionMode(true);
    EXPECT_EQ(frame->platformOnKeyDown(three), 1);
    EXPECT_EQ(frame->platformOnKeyUp(three), 1);
    EXPECT_EQ(tool(), 2);
    const std::vector<std::string> gesture = {"begin 16", "perform 16 0.2222", "end 16"};
    EXPECT_EQ(panel.handler.calls, gesture);
    VstKeyCode zero;
    zero.virt = VKEY_NUMPAD0;
    EXPECT_EQ(frame->platformOnKeyDown(zero), 1);
    EXPECT_EQ(tool(), 9);

    // With a modifier, or for a letter, the key is not ours.
    three.modifier = MODIFIER_CONTROL;
    EXPECT_EQ(frame->platformOnKeyDown(three), -1);
    VstKeyCode letter;
    letter.character = 'a';
    EXPECT_EQ(frame->platformOnKeyDown(letter), -1);
    EXPECT_EQ(tool(), 9);

    // After closing, the hook is off the frame's list.
    panel.close();
    panel.effect->setCorrectionMode(false);
}

TEST(Panel, KeyCommandsPressToggleAndStepTheirParameters)
{
    Panel panel;
    auto plain = [&](Vst::ParamID id) {
        auto* p = panel.effect->getParameterObject(id);
        return p->toPlain(p->getNormalized());
    };
    // "Undo": a press and a release, each heard by the host.
    ASSERT_TRUE(panel.presenter().runKeyCommand(15));
    const std::vector<std::string> press = {"begin 22", "perform 22 1.0000", "end 22",
                                            "begin 22", "perform 22 0.0000", "end 22"};
    EXPECT_EQ(panel.handler.calls, press);
    // "Toggle: Auto-Scroll" flips the setting both ways.
    const double scroll = plain(corvane::kAutoScroll);
    ASSERT_TRUE(panel.presenter().runKeyCommand(27));
    EXPECT_EQ(plain(corvane::kAutoScroll), 1.0 - scroll);
    ASSERT_TRUE(panel.presenter().runKeyCommand(27));
    EXPECT_EQ(plain(corvane::kAutoScroll), scroll);
    // "Adjust Throat Length: Longer" and "Shorter" move the knob and back.
    const double throat = plain(corvane::kObjectThroatLength);
    ASSERT_TRUE(panel.presenter().runKeyCommand(54));
    EXPECT_GT(plain(corvane::kObjectThroatLength), throat);
    ASSERT_TRUE(panel.presenter().runKeyCommand(55));
    EXPECT_NEAR(plain(corvane::kObjectThroatLength), throat, 1e-9);
    // Separators, "<none selected>" and rows past the table do nothing.
    for (int command : {0, 1, 2, 13, 31, 56, -1}) EXPECT_FALSE(panel.presenter().runKeyCommand(command)) << command;
}

// The window size kept within its limits for the next opening:
// EditorModuleX11.TheHostResizesTheEditorWithinItsLimits.

TEST(Panel, ScaleAutomationWhileThePanelIsOpenReachesTheScaleAtTheNextTick)
{
    Panel panel;
    ASSERT_TRUE(panel.open());
    auto* scale = panel.effect->getParameterObject(corvane::kScale);
    auto* key = panel.effect->getParameterObject(corvane::kKey);
    // The host's value arrives on the controller side; with the panel open
    // the audio side leaves scale and key to the panel.
    panel.effect->setParamNormalized(corvane::kScale, scale->toNormalized(1));
    panel.effect->setParamNormalized(corvane::kKey, key->toNormalized(5));
    EXPECT_EQ(panel.effect->getScaleState().scale, 2);
    panel.effect->onTimer();
    EXPECT_EQ(panel.effect->getScaleState().scale, 1);
    EXPECT_EQ(panel.effect->getScaleState().key, 5);
    // Minor keys are spelt with sharps, where Chromatic has flats.
    Vst::String128 text{};
    key->toString(key->toNormalized(1), text);
    EXPECT_EQ(VST3_BaseParameter::toUtf8(text), "C#");
}

TEST(Panel, AValueSetByTheProgramReachesTheEngineWhileThePanelIsOpen)
{
    Panel panel;
    ASSERT_TRUE(panel.open());
    const DT_DSPObject* engine = &panel.effect->engine();
    // "Bypass" set as a restored old session sets it: the engine passes the
    // input untouched from then on.
    panel.effect->setParameterPlain(corvane::kBypass, 1.0);
    EXPECT_TRUE(engine->is_bypassed());
}

TEST(Panel, AModeSetWhileThePanelWasClosedIsTakenWhenItOpens)
{
    Panel panel;
    // The host's value alone leaves the mode as it was...
    panel.effect->setParamNormalized(corvane::kCorrectionMode, 1.0);
    EXPECT_FALSE(panel.effect->isGraphMode());
    // ...until the panel opens and its switch shows Graph.
    ASSERT_TRUE(panel.open());
    EXPECT_TRUE(panel.effect->isGraphMode());
    EXPECT_TRUE(panel.registry().graphModePage->isVisible());
    EXPECT_FALSE(panel.registry().autoModePage->isVisible());
}

//--- The Auto-mode page of the real panel.

namespace {

// The key states the keyboard shows, by key index.
std::vector<uint32_t> keyStates(Corvane_KeyboardView* keyboard)
{
    std::vector<uint32_t> states;
    for (int note = 19; note <= 96; ++note) states.push_back(keyboard->keyForNote(note)->keyState);
    return states;
}

// Key states of the Chromatic scale in C with the pitch classes (C = 0) that
// the predicate picks in `marked` and the rest in `other`.
template <class Pick>
std::vector<uint32_t> statesByPitchClass(Pick marked, uint32_t markedState, uint32_t other)
{
    std::vector<uint32_t> states;
    for (int note = 19; note <= 96; ++note) states.push_back(marked(note % 12) ? markedState : other);
    return states;
}

} // namespace

TEST(AutoPage, ScaleButtonsMarkTheListAndTheKeyboardAndReachTheEngine)
{
    Panel panel(nullptr);
    ASSERT_TRUE(panel.open());
    Corvane_ViewRegistry& r = panel.registry();
    ASSERT_TRUE(r.scalesList && r.keyboard && r.setMinorButton && r.setMajorButton);
    // The description gives the keyboard the picture of every key state.
    EXPECT_TRUE(r.keyboard->getHighlightedBitmap() && r.keyboard->getRemovedBitmap() &&
                r.keyboard->getBypassedBitmap() && r.keyboard->getOffBitmap());
    auto press = [&](VSTGUI::CControl* button) {
        panel.gesture(button, 1.0f);
        panel.gesture(button, 0.0f);
    };
    auto none = [](int) { return false; };
    EXPECT_EQ(keyStates(r.keyboard), statesByPitchClass(none, 0, 0));
    EXPECT_EQ(panel.effect->engine().get_target_count(), 78);

    // C minor removes D flat, E, G flat, A and B: rows, keys of every
    // octave, engine notes.
    press(r.setMinorButton);
    auto notMinor = [](int pc) { return pc == 1 || pc == 4 || pc == 6 || pc == 9 || pc == 11; };
    EXPECT_EQ(keyStates(r.keyboard), statesByPitchClass(notMinor, 2, 0));
    Scale_State& scale = panel.effect->getScaleState();
    int64_t kept = 0;
    for (int note = 19; note <= 96; ++note) kept += !notMinor(note % 12);
    for (int row = 0; row < 12; ++row) EXPECT_EQ(scale.isRowRemoved(row, 2), notMinor(row)) << row;
    EXPECT_EQ(panel.effect->engine().get_target_count(), kept);

    const struct {
        VSTGUI::CControl* button;
        uint32_t state;
        int64_t notes;
    } steps[] = {{r.bypassAllButton, 1, 78}, {r.removeAllButton, 2, 0}, {r.setAllButton, 0, 78}};
    for (const auto& step : steps) {
        press(step.button);
        EXPECT_EQ(keyStates(r.keyboard), statesByPitchClass(none, 0, step.state)) << step.state;
        EXPECT_EQ(panel.effect->engine().get_target_count(), step.notes) << step.state;
    }

    // A press with the panel closed finds no list and changes nothing.
    panel.close();
    auto* major = panel.effect->getParameterObject(corvane::kSetMajor);
    major->setNormalized(1.0);
    panel.effect->parameterChanged(major);
    EXPECT_EQ(panel.effect->engine().get_target_count(), 78);
}

TEST(AutoPage, ScaleArrowsStepTheListAndRepeatWhileHeld)
{
    Panel panel(nullptr);
    ASSERT_TRUE(panel.open());
    Corvane_ScalesListView* list = panel.registry().scalesList;
    ASSERT_NE(list, nullptr);
    // 19 Tone: 19 rows, twelve shown, so the first row shown goes 0..7.
    panel.effect->setParamNormalized(corvane::kScale, 20.0 / 28.0);
    panel.effect->onTimer();
    ASSERT_EQ(panel.effect->getScaleState().scale, 20);

    panel.registry().scalesDownButton->setValue(1.0f);
    panel.registry().scalesDownButton->valueChanged();
    EXPECT_EQ(list->getFirstRow(), 1) << "a press steps at once";
    // The repeat waits ten ticks, then steps every second tick, and stops
    // at the end.
    for (int tick = 1; tick <= 14; ++tick) {
        panel.effect->onTimer();
        EXPECT_EQ(list->getFirstRow(), tick < 10 ? 1 : 2 + (tick - 10) / 2) << tick;
    }
    for (int tick = 0; tick < 30; ++tick) panel.effect->onTimer();
    EXPECT_EQ(list->getFirstRow(), 7);
    panel.registry().scalesDownButton->setValue(0.0f);
    panel.registry().scalesDownButton->valueChanged();
    EXPECT_EQ(panel.effect->getRepeatingTag(), -1);

    panel.gesture(panel.registry().scalesUpButton, 1.0f);
    panel.gesture(panel.registry().scalesUpButton, 0.0f);
    for (int tick = 0; tick < 20; ++tick) panel.effect->onTimer();
    EXPECT_EQ(list->getFirstRow(), 6) << "a released button repeats no more";
    EXPECT_EQ(panel.effect->getRepeatingTag(), -1);
}

TEST(AutoPage, TheTimerShowsTheSungNoteOnTheDisplayAndTheKeyboardAndTheCorrectionOnTheMeter)
{
    Panel panel(nullptr);
    ASSERT_TRUE(panel.open());
    Corvane_KeyboardView* keyboard = panel.registry().keyboard;
    ASSERT_NE(keyboard, nullptr);
    Vst::ProcessSetup setup{Vst::kRealtime, Vst::kSample32, 512, 48000.0};
    ASSERT_EQ(panel.effect->setupProcessing(setup), kResultOk);
    panel.effect->setActive(true);
    panel.effect->setParamNormalized(corvane::kRetuneSpeed, 0.0);
    auto* meter = panel.effect->getParameterObject(corvane::pitchChangeParameter);
    ASSERT_NE(meter, nullptr);

    // Retune speed 0 pulls a voice 30 cents above A2 (MIDI 57) down onto
    // it at once.
    sing(panel.effect, 220.0 * std::pow(2.0, 30.0 / 1200.0), 60);
    for (int tick = 0; tick < 8; ++tick) panel.effect->onTimer();
    EXPECT_STREQ(panel.registry().outputPitchDisplay->getText(), "A2 0");
    EXPECT_EQ(keyboard->getCurrentNote(), 57);
    EXPECT_NEAR(meter->toPlain(meter->getNormalized()), -30.0, 3.0);

    // When the voice stops the note goes, unless "Hold Note Shown" keeps it.
    for (const bool hold : {true, false}) {
        sing(panel.effect, 220.0, 40);
        for (int tick = 0; tick < 8; ++tick) panel.effect->onTimer();
        panel.effect->setParamNormalized(corvane::kHoldNoteShown, hold ? 1.0 : 0.0);
        sing(panel.effect, 0.0, 200);
        for (int tick = 0; tick < 8; ++tick) panel.effect->onTimer();
        EXPECT_EQ(keyboard->getCurrentNote(), hold ? 57 : Corvane_KeyboardView::noNote) << hold;
        EXPECT_NEAR(meter->getNormalized(), 0.5, 1e-9) << hold;
    }
    panel.effect->setActive(false);
}

TEST(AutoPage, KeyboardSwitchesMidiNotesAndAHeldKeyReachTheKeyboardAndTheEngine)
{
    Panel panel(nullptr);
    ASSERT_TRUE(panel.open());
    Corvane_KeyboardView* keyboard = panel.registry().keyboard;
    ASSERT_NE(keyboard, nullptr);
    auto* edits = panel.named("KeyboardEditsSwitch");
    auto* mode = panel.named("KeyboardModeSwitch");
    ASSERT_TRUE(edits && mode);
    panel.gesture(edits, 1.0f);
    panel.gesture(mode, 1.0f);
    EXPECT_TRUE(keyboard->getKeyboardEdits());
    EXPECT_TRUE(keyboard->getKeyboardMode());

    // A key held in play mode is the one note of the engine while held.
    Corvane_KeyShape keys[corvane_keyboard_keys];
    Corvane_KeyboardLayout(keyboard->getWidth(), keyboard->getHeight(), keys);
    const Corvane_KeyRect& lower = keys[60 - corvane_keyboard_lowest_note].lower;
    VSTGUI::CPoint where((lower.left + lower.right) / 2, (lower.top + lower.bottom) / 2);
    where += keyboard->getViewSize().getTopLeft();
    keyboard->onMouseDown(where, VSTGUI::CButtonState(VSTGUI::kLButton));
    EXPECT_EQ(panel.effect->getHeldKeyboardNote(), 60);
    EXPECT_EQ(panel.effect->engine().get_target_count(), 1);
    keyboard->onMouseUp(where, VSTGUI::CButtonState(VSTGUI::kLButton));
    EXPECT_EQ(panel.effect->getHeldKeyboardNote(), -1);
    EXPECT_EQ(panel.effect->engine().get_target_count(), 78);

    // Target Notes starts from no note; MIDI notes on the audio side reach
    // the keyboard at the next tick.
    auto* target = panel.named("TargetNotesButton");
    ASSERT_NE(target, nullptr);
    panel.gesture(target, 1.0f);
    auto all = [](int) { return true; };
    EXPECT_EQ(keyStates(keyboard), statesByPitchClass(all, 2, 0));
    EXPECT_EQ(panel.effect->engine().get_target_count(), 0);
    hostlib::Event_List events;
    Vst::Event on{};
    on.type = Vst::Event::kNoteOnEvent;
    on.noteOn.pitch = 64;
    on.noteOn.velocity = 1.0f;
    events.addEvent(on);
    panel.effect->processEvents(&events);
    EXPECT_EQ(panel.effect->engine().get_target_count(), 1);
    panel.effect->onTimer();
    EXPECT_EQ(keyboard->keyForNote(64)->keyState, 0u);
    EXPECT_EQ(keyboard->keyForNote(65)->keyState, 2u);
}

// With "Auto Scroll" on the graph keeps the play position in sight while
// audio flows in Graph mode (on the internal clock, which runs whenever
// audio flows); with it off the graph stays where it was.
TEST(GraphPage, TheGraphFollowsThePlayPositionOnlyWithAutoScrollOn)
{
    for (const bool follow : {true, false}) {
        Panel panel(nullptr);
        ASSERT_TRUE(panel.open());
        Vst::ProcessSetup setup{Vst::kRealtime, Vst::kSample32, 512, 48000.0};
        ASSERT_EQ(panel.effect->setupProcessing(setup), kResultOk);
        panel.effect->setActive(true);
        panel.effect->setCorrectionMode(true);
        panel.effect->setParamNormalized(corvane::kAutoScroll, follow ? 1.0 : 0.0);
        panel.effect->setParamNormalized(corvane::kClockSource, 0.0);
        Corvane_GraphView* canvas = panel.registry().graphCanvas;
        ASSERT_NE(canvas, nullptr);
        const double shown = canvas->getWidth() * canvas->getZoom().x;
        // Ten seconds (2400 frames, several widths of the view), with a
        // timer tick every four blocks as in a host.
        for (int ticks = 0; ticks < 235; ++ticks) {
            sing(panel.effect, 220.0, 4);
            panel.effect->onTimer();
        }
        const double frame = double(panel.effect->getPlayFrame());
        EXPECT_GT(frame, 2.0 * shown) << follow;
        const double left = canvas->getScrollOffset().x;
        if (follow) {
            EXPECT_LE(left, frame);
            EXPECT_GE(left + shown, frame);
        } else {
            EXPECT_EQ(left, 0.0);
        }
        panel.effect->setActive(false);
        panel.effect->setCorrectionMode(false);
    }
}
