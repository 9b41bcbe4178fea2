// The effect's side of its editor: the editor entry points, each handed to
// the editor presenter, and what the presenter asks of the effect through
// Corvane_EffectAccess. Interface thread throughout.

#include "Common_VST3/VST3_BaseParameter.h"
#include "effect/Corvane_SingleComponentEffect.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

//--- The editor entry points.

IPlugView* PLUGIN_API Corvane_SingleComponentEffect::createView(FIDString name)
{
    return editorPresenter.createView(name, this, this);
}

VSTGUI::IController* Corvane_SingleComponentEffect::createSubController(VSTGUI::UTF8StringPtr name,
                                                                      const VSTGUI::IUIDescription*,
                                                                      VSTGUI::VST3Editor* editor)
{
    return editorPresenter.createSubController(name, editor);
}

void Corvane_SingleComponentEffect::didOpen(VSTGUI::VST3Editor* editor)
{
    VST3_SingleComponentEffect::didOpen(editor);
    if (editorFrame) editorFrame->registerKeyboardHook(this);
    editorPresenter.didOpen();
}

void Corvane_SingleComponentEffect::willClose(VSTGUI::VST3Editor* editor)
{
    if (editor != editorInstance) return;
    if (editorFrame) editorFrame->unregisterKeyboardHook(this);
    editorPresenter.willClose();
    VST3_SingleComponentEffect::willClose(editor);
}

int32_t Corvane_SingleComponentEffect::onKeyDown(const VstKeyCode& code, VSTGUI::CFrame*)
{
    return editorPresenter.onKeyDown(code);
}

int32_t Corvane_SingleComponentEffect::onKeyUp(const VstKeyCode& code, VSTGUI::CFrame*)
{
    return editorPresenter.onKeyUp(code);
}

void Corvane_SingleComponentEffect::editorResized(int32 width, int32 height)
{
    editorPresenter.editorResized(width, height);
}

bool Corvane_SingleComponentEffect::showDialogForSnapshot(VSTGUI::CFrame* frame, const char* dialog)
{
    return editorPresenter.showDialogForSnapshot(frame, dialog);
}

void Corvane_SingleComponentEffect::onTimer()
{
    VST3_SingleComponentEffect::onTimer();
    editorPresenter.onTimer(timerTick);
}

void Corvane_SingleComponentEffect::autoRepeat(int32 tag)
{
    editorPresenter.autoRepeat(tag);
}

//--- Corvane_EffectAccess.

void Corvane_SingleComponentEffect::userOptionsChanged()
{
    setMaxUndos(options.maxUndos);
    capacitySetting = options.bufferSeconds;
    customCursors = options.useCursors;
    knobStyle = options.knobOrientation;
}

VST3_BaseParameter* Corvane_SingleComponentEffect::panelParameter(ParamID id)
{
    return FCast<VST3_BaseParameter>(getParameterObject(id));
}

void Corvane_SingleComponentEffect::editParameter(ParamID id, double plain)
{
    VST3_BaseParameter* parameter = baseParameter(id);
    if (parameter == nullptr) return;
    const ParamValue normalized = parameter->toNormalized(plain);
    beginEdit(id);
    setParamNormalized(id, normalized);
    performEdit(id, parameter->getNormalized());
    endEdit(id);
    parameterChanged(parameter);
}

void Corvane_SingleComponentEffect::parameterTextsChanged()
{
    if (componentHandler) componentHandler->restartComponent(kParamValuesChanged);
}

bool Corvane_SingleComponentEffect::takeMidiMarksChanged()
{
    return scaleMarksPending.exchange(false);
}

void Corvane_SingleComponentEffect::keyboardNoteHeld(int note)
{
    const int held = note >= Scale_State::lowest_note && note < Scale_State::lowest_note + Scale_State::keyboard_keys
                         ? note
                         : -1;
    if (held == heldKeyboardNote.load(std::memory_order_relaxed)) return;
    heldKeyboardNote.store(held, std::memory_order_relaxed);
    requestFromInterface();
}

void Corvane_SingleComponentEffect::setMidiScaleMode(int32 mode)
{
    midiScaleMode.store(mode, std::memory_order_relaxed);
}

void Corvane_SingleComponentEffect::getPitchStatus(double& ratio, double& period) const
{
    dspObject.get_status(&ratio, nullptr, &period, nullptr);
}

int64_t Corvane_SingleComponentEffect::getPlayFrame() const
{
    int64_t frame = 0;
    dspObject.get_status(nullptr, &frame, nullptr, nullptr);
    return frame;
}
