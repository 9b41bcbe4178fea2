#include "editor_support.h"

#include "vstgui/lib/controls/cknob.h"
#include "vstgui/lib/controls/cparamdisplay.h"
#include "vstgui/lib/controls/cswitch.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace VSTGUI;
using namespace vstgui_test;

namespace {

struct VstguiEditor : ::testing::Test {
    void SetUp() override
    {
        writeEditorResources(scratchDir());
        controller = new TestController();
        editor = new VST3Editor(controller, "Editor", "editor.uidesc");
    }
    void TearDown() override
    {
        editor->release();
        controller->release();
        setResourceDirectory(nullptr);
    }
    template <class T>
    T* find(const CPoint& where)
    {
        return dynamic_cast<T*>(editor->getFrame()->getViewAt(where, true));
    }
    void click(CPoint p, int32_t buttons = kLButton)
    {
        editor->getFrame()->platformOnMouseDown(p, buttons);
        editor->getFrame()->platformOnMouseUp(p, buttons);
    }
    TestController* controller = nullptr;
    VST3Editor* editor = nullptr;
};

} // namespace

TEST_F(VstguiEditor, ControlsAreBoundToTheParametersOfTheirTags)
{
    controller->setParamNormalized(TestController::kGain, 0.75);
    controller->setParamNormalized(TestController::kMode, 1.0);
    ASSERT_TRUE(editor->open(nullptr));
    EXPECT_EQ(controller->delegateCalls, (std::vector<std::string>{"createCustomView Nothing", "didOpen"}));
    EXPECT_EQ(editor->getBoundControlCount(3), 2u);
    EXPECT_EQ(editor->getBoundControlCount(12), 2u);
    EXPECT_EQ(editor->getBoundControlCount(40), 1u);

    auto* knob = find<CKnob>(CPoint(20, 20));
    auto* sw = find<CHorizontalSwitch>(CPoint(70, 20));
    auto* menu = find<COptionMenu>(CPoint(170, 15));
    auto* display = find<CParamDisplay>(CPoint(170, 45));
    ASSERT_TRUE(knob && sw && menu && display);
    EXPECT_FLOAT_EQ(knob->getValueNormalized(), 0.75f) << "controls start at their parameters' values";
    EXPECT_EQ(sw->getPosition(), 2);
    ASSERT_EQ(menu->getNbEntries(), 3) << "a menu without entries lists the parameter's steps";
    EXPECT_STREQ(menu->getEntry(1)->getTitle(), "Low");
    EXPECT_STREQ(menu->getCurrent()->getTitle(), "High");
    EXPECT_EQ(display->getValueText(), "0.7500") << "a display shows the parameter's own text";

    // A change from the host moves every control of the tag.
    controller->setParamNormalized(TestController::kMode, 0.5);
    EXPECT_EQ(sw->getPosition(), 1);
    EXPECT_STREQ(menu->getCurrent()->getTitle(), "Low");
    EXPECT_TRUE(controller->handler.calls.empty()) << "a host change is not sent back to the host";
}

TEST_F(VstguiEditor, AnEditReachesOtherControlsOfItsTagButPrivateOnesStayWithTheController)
{
    ASSERT_TRUE(editor->open(nullptr));
    auto* menu = find<COptionMenu>(CPoint(170, 15));
    ASSERT_NE(menu, nullptr);
    click(CPoint(130, 20)); // the third position of the switch
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(TestController::kMode), 1.0);
    EXPECT_STREQ(menu->getCurrent()->getTitle(), "High") << "the other control of the tag follows";

    // The private parameter changes without the host hearing of it.
    controller->handler.calls.clear();
    controller->parametersSet.clear();
    click(CPoint(15, 65));
    EXPECT_TRUE(controller->handler.calls.empty());
    EXPECT_EQ(controller->parametersSet, (std::vector<Steinberg::Vst::ParamID>{TestController::kPrivate}));
    EXPECT_DOUBLE_EQ(controller->getParamNormalized(TestController::kPrivate), 1.0);

    // A tag without a parameter reaches neither.
    controller->parametersSet.clear();
    click(CPoint(45, 65));
    EXPECT_TRUE(controller->handler.calls.empty());
    EXPECT_TRUE(controller->parametersSet.empty());

    Steinberg::Vst::ParamID found = 0;
    EXPECT_EQ(editor->findParameter(25, 25, found), Steinberg::kResultTrue);
    EXPECT_EQ(found, TestController::kGain);
    EXPECT_EQ(editor->findParameter(290, 190, found), Steinberg::kResultFalse);
}

TEST_F(VstguiEditor, ResizeRequestsStayWithinTheLimits)
{
    ASSERT_TRUE(editor->open(nullptr));
    CFrame* frame = editor->getFrame();
    EXPECT_TRUE(editor->requestResize(CPoint(1000, 1000)));
    // The window is limited to 600 x 400 and the panel, 300 x 200 of its
    // own, is drawn twice as large to fill it.
    EXPECT_EQ(frame->getZoom(), 2.0) << "without a host frame, at once";
    EXPECT_EQ(frame->getViewSize(), CRect(0, 0, 300, 200));
}

namespace {

struct HostKeys : IKeyboardHook {
    std::vector<std::string> seen;
    int32_t onKeyDown(const VstKeyCode& code, CFrame*) override
    {
        seen.push_back("down " + std::to_string(code.character) + " " + std::to_string(code.virt) + " " +
                       std::to_string(code.modifier));
        return code.character == 'q' ? 1 : -1;
    }
    int32_t onKeyUp(const VstKeyCode& code, CFrame*) override
    {
        seen.push_back("up " + std::to_string(code.character));
        return -1;
    }
};

} // namespace

TEST_F(VstguiEditor, KeysTheHostHandsOverReachTheKeyboardHook)
{
    EXPECT_EQ(editor->onKeyDown('q', 0, 0), Steinberg::kResultFalse) << "no frame yet";
    ASSERT_TRUE(editor->open(nullptr));
    HostKeys hook;
    editor->getFrame()->registerKeyboardHook(&hook);
    EXPECT_EQ(editor->onKeyDown('q', 0, MODIFIER_SHIFT), Steinberg::kResultTrue);
    EXPECT_EQ(editor->onKeyDown(0, VKEY_UP, MODIFIER_CONTROL), Steinberg::kResultFalse)
        << "a key nobody takes";
    EXPECT_EQ(editor->onKeyUp('q', 0, 0), Steinberg::kResultFalse);
    const std::string up = "down 0 " + std::to_string(VKEY_UP) + " " + std::to_string(MODIFIER_CONTROL);
    EXPECT_EQ(hook.seen, (std::vector<std::string>{"down 113 0 " + std::to_string(MODIFIER_SHIFT), up, "up 113"}));
    editor->getFrame()->unregisterKeyboardHook(&hook);
}

// The size, resizing and embedding in X11 are checked through the built
// module's editor.
TEST(VstguiEditorErrors, ABadDescriptionOrTemplateOrPlatformGivesAnEditorThatDoesNotOpen)
{
    const std::string dir = scratchDir();
    writeEditorResources(dir);
    writeText(dir + "/bad.uidesc", "<vstgui-ui-description><template name=\"Editor\"></vstgui-ui-description>");
    auto* controller = new TestController();
    for (const auto& [file, name, message] : std::vector<std::tuple<const char*, const char*, const char*>>{
             {"bad.uidesc", "Editor", "bad.uidesc:1: XML error"},
             {"editor.uidesc", "NoTemplate", "no template named 'NoTemplate'"}}) {
        auto* editor = new VST3Editor(controller, name, file);
        EXPECT_EQ(editor->isPlatformTypeSupported(Steinberg::kPlatformTypeHWND), Steinberg::kResultFalse);
        EXPECT_NE(editor->getLastError().find(message), std::string::npos) << editor->getLastError();
        EXPECT_FALSE(editor->open(nullptr)) << file;
        EXPECT_EQ(editor->attached(reinterpret_cast<void*>(1), Steinberg::kPlatformTypeX11EmbedWindowID),
                  Steinberg::kResultFalse);
        editor->release();
    }
    controller->release();
    setResourceDirectory(nullptr);
}
