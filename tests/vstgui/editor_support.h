#pragma once

// A controller with a few parameters for the editor's tests, acting as the
// editor's delegate, with a component handler that writes down what the
// host would hear.

#include "vstgui_test_support.h"
#include "support/recording_handler.h"

#include "vstgui/lib/controls/coptionmenu.h"
#include "vstgui/plugin-bindings/vst3editor.h"

#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "public.sdk/source/vst/vstparameters.h"

#include <string>
#include <vector>

namespace vstgui_test {

using namespace Steinberg;

using test_host::RecordingHandler;

// Parameters: 3 "Gain" (continuous), 12 "Mode" (three steps: Off, Low,
// High), 40 "Private" (not the host's).
class TestController : public Vst::EditController, public VSTGUI::VST3EditorDelegate {
public:
    static constexpr Vst::ParamID kGain = 3, kMode = 12, kPrivate = 40;

    TestController()
    {
        parameters.addParameter(STR16("Gain"), nullptr, 0, 0.5, Vst::ParameterInfo::kCanAutomate, kGain);
        auto* mode = new Vst::StringListParameter(STR16("Mode"), kMode);
        mode->appendString(STR16("Off"));
        mode->appendString(STR16("Low"));
        mode->appendString(STR16("High"));
        parameters.addParameter(mode);
        parameters.addParameter(STR16("Private"), nullptr, 1, 0, 0, kPrivate);
        setComponentHandler(&handler);
    }
    ~TestController() override { setComponentHandler(nullptr); }

    std::vector<std::string> delegateCalls;
    RecordingHandler handler;
    std::vector<Vst::ParamID> parametersSet;

    tresult PLUGIN_API setParamNormalized(Vst::ParamID id, Vst::ParamValue v) override
    {
        parametersSet.push_back(id);
        return EditController::setParamNormalized(id, v);
    }

    bool isPrivateParameter(const Vst::ParamID id) override { return id == kPrivate; }
    void didOpen(VSTGUI::VST3Editor*) override { delegateCalls.push_back("didOpen"); }
    void willClose(VSTGUI::VST3Editor*) override { delegateCalls.push_back("willClose"); }
    VSTGUI::CView* createCustomView(VSTGUI::UTF8StringPtr name, const VSTGUI::UIAttributes&,
                                    const VSTGUI::IUIDescription*, VSTGUI::VST3Editor*) override
    {
        delegateCalls.push_back(std::string("createCustomView ") + name);
        return nullptr;
    }
};

// The panel of the editor tests: the Gain knob, the Mode switch and menu
// and display, a Private on/off button, and a control without parameter.
inline const char* editorDescription()
{
    return R"(<vstgui-ui-description version="1">
  <bitmaps>
    <bitmap name="switch" path="switch.png"/>
    <bitmap name="button" path="button.png"/>
  </bitmaps>
  <control-tags>
    <control-tag name="Gain" tag="3"/>
    <control-tag name="Mode" tag="12"/>
    <control-tag name="Private" tag="40"/>
  </control-tags>
  <template name="Editor" class="CViewContainer" size="300, 200" minSize="300, 200" maxSize="600, 400"
            background-color="#202020ff">
    <view class="CKnob" origin="10, 10" size="40, 40" control-tag="Gain"/>
    <view class="CHorizontalSwitch" origin="60, 10" size="90, 30" control-tag="Mode" bitmap="switch"
          sub-pixmaps="3" height-of-one-image="30"/>
    <view class="COptionMenu" origin="160, 10" size="80, 20" control-tag="Mode"/>
    <view class="CParamDisplay" origin="160, 40" size="80, 20" control-tag="Gain"/>
    <view class="COnOffButton" origin="10, 60" size="20, 20" control-tag="Private" bitmap="button"/>
    <view class="CKickButton" origin="40, 60" size="20, 20" control-tag="99" bitmap="button"/>
    <view class="CView" custom-view-name="Nothing" origin="0, 0" size="1, 1"/>
  </template>
</vstgui-ui-description>
)";
}

// Writes the panel's files into a folder and makes it the resource folder.
// The switch shows grey levels 60, 120 and 180 for its three positions.
inline void writeEditorResources(const std::string& dir)
{
    writeBandsPNG(dir + "/switch.png", 90, 30, {{60, 60, 60, 255}, {120, 120, 120, 255}, {180, 180, 180, 255}});
    writeBandsPNG(dir + "/button.png", 20, 20, {{0, 0, 0, 255}, {255, 255, 255, 255}});
    writeText(dir + "/editor.uidesc", editorDescription());
    VSTGUI::setResourceDirectory(dir.c_str());
}

} // namespace vstgui_test
