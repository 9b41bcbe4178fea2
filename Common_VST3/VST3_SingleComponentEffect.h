#pragma once

#include "Common_VST3/VST3_BaseParameter.h"
#include "Common_VST3/VST3_TimerReceiver.h"
#include "base/source/fstreamer.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivstevents.h"
#include "pluginterfaces/vst/ivstparameterchanges.h"
#include "public.sdk/source/vst/vstparameters.h"
#include "public.sdk/source/vst/vstsinglecomponenteffect.h"
#include "vstgui/plugin-bindings/vst3editor.h"

// A generic single-component effect: the SDK's processor-and-controller
// object with a private parameter set the host does not see, the delegate
// of its editor, a timer for the panel that runs while the editor is open, a
// split of one process call into four overridable steps, and two
// dispatch operations per parameter value (applyParameter feeds the engine,
// parameterChanged acts on views and commands).
//
// The audio bus pair is one input and one output, each mono or stereo, judged
// apart, with an event input for MIDI.
class VST3_SingleComponentEffect : public Steinberg::Vst::SingleComponentEffect,
                                   public VSTGUI::VST3EditorDelegate,
                                   public VST3_TimerReceiver,
                                   public Steinberg::Vst::IProcessContextRequirements {
public:
    using ParamID = Steinberg::Vst::ParamID;
    using ParamValue = Steinberg::Vst::ParamValue;
    using tresult = Steinberg::tresult;

    VST3_SingleComponentEffect();
    ~VST3_SingleComponentEffect() override;

    //--- Host-facing operations.
    // Interface thread. Adds the buses and the parameters.
    tresult PLUGIN_API initialize(Steinberg::FUnknown* context) SMTG_OVERRIDE;
    tresult PLUGIN_API terminate() SMTG_OVERRIDE;
    // Interface thread, while inactive. One input and one output bus, each
    // mono or stereo; anything else is refused and changes nothing.
    tresult PLUGIN_API setBusArrangements(Steinberg::Vst::SpeakerArrangement* inputs,
                                          Steinberg::int32 numIns,
                                          Steinberg::Vst::SpeakerArrangement* outputs,
                                          Steinberg::int32 numOuts) SMTG_OVERRIDE;
    // Interface thread. The state: stateVersion, then writeState, all
    // big-endian. kResultFalse for a null stream or a failed write.
    tresult PLUGIN_API getState(Steinberg::IBStream* state) SMTG_OVERRIDE;
    // Interface thread. Reads stateVersion and the parameters as getState
    // writes them.
    tresult PLUGIN_API setState(Steinberg::IBStream* state) SMTG_OVERRIDE;

    // Audio thread. The four steps; always kResultOk.
    tresult PLUGIN_API process(Steinberg::Vst::ProcessData& data) SMTG_OVERRIDE;
    tresult PLUGIN_API setProcessing(Steinberg::TBool state) SMTG_OVERRIDE;

    // Interface thread: a value from the host's controller side or a control.
    // Stores it and hands it to applyParameter; kResultFalse for an unknown id.
    tresult PLUGIN_API setParamNormalized(ParamID id, ParamValue value) SMTG_OVERRIDE;

    // Looks in the host's parameters, then in the private ones.
    Steinberg::Vst::Parameter* getParameterObject(ParamID id) SMTG_OVERRIDE;
    // Reach the host only for ids of the host's parameters.
    tresult beginEdit(ParamID id) SMTG_OVERRIDE;
    tresult performEdit(ParamID id, ParamValue valueNormalized) SMTG_OVERRIDE;
    tresult endEdit(ParamID id) SMTG_OVERRIDE;

    //--- IProcessContextRequirements: the process-context fields the block
    // loop reads.
    Steinberg::uint32 PLUGIN_API getProcessContextRequirements() SMTG_OVERRIDE;

    //--- ITimerCallback
    void onTimer(Steinberg::Timer* timer) SMTG_OVERRIDE;

    //--- VST3EditorDelegate, interface thread. Opening keeps the editor and
    // its frame and starts the panel's timer; closing undoes that.
    void didOpen(VSTGUI::VST3Editor* editor) override;
    void willClose(VSTGUI::VST3Editor* editor) override;
    // True for the parameters of the private set.
    bool isPrivateParameter(const ParamID id) override;

    //--- Operations this layer adds.
    // Interface thread: one tick of the panel's timer.
    virtual void onTimer();
    // Audio thread: the block's parameter changes, last point of each queue.
    virtual void processParameterChanges(Steinberg::Vst::IParameterChanges* changes);
    // Audio thread: the block's events.
    virtual void processEvents(Steinberg::Vst::IEventList* events);
    // Audio thread: a block with at least one sample, input and output.
    virtual void processAudio(Steinberg::Vst::ProcessData& data) = 0;
    // Audio thread: values the effect reports back to the host.
    virtual void processOutputParameterChanges(Steinberg::Vst::IParameterChanges* changes);
    // Interface thread: a plain value from the program itself.
    virtual void setParameterPlain(ParamID id, ParamValue plain);
    // Audio or interface thread: a normalized value reaches the engine.
    virtual void applyParameter(VST3_BaseParameter* parameter, ParamID id,
                                Steinberg::int32 sampleOffset, ParamValue value) = 0;
    // Interface thread: a value changed by a control reaches views and commands.
    virtual void parameterChanged(Steinberg::Vst::Parameter* parameter);
    // Interface thread: the parameters as an int32 count and (int32 id,
    // double normalized) pairs.
    virtual bool writeState(Steinberg::IBStreamer& streamer);
    // The version getState writes first; stateVersion unless replaced.
    virtual Steinberg::int32 writtenStateVersion() const { return stateVersion; }
    // Interface thread: reads what writeState wrote, restoring each value by
    // the road of a program value; stops at the first item that fails.
    bool readParameters(Steinberg::IBStreamer& streamer);

    // Interface thread. Held buttons: the action of `tag` repeats from the
    // timer, first after firstDelay ticks, then every interval ticks.
    void startAutoRepeat(Steinberg::int32 tag, Steinberg::int32 firstDelay, Steinberg::int32 interval);
    void stopAutoRepeat();
    Steinberg::int32 getRepeatingTag() const { return repeatingTag; }
    // Interface thread: one repeat of a held button's action.
    virtual void autoRepeat(Steinberg::int32 tag);

    bool isStereoInput() const { return stereoInput; }
    bool isEditorOpen() const { return editorFrame != nullptr; }

    // The period of the panel's timer.
    static constexpr Steinberg::uint32 timerPeriodMilliseconds = 20;
    bool isStereoOutput() const { return stereoOutput; }

    OBJ_METHODS(VST3_SingleComponentEffect, SingleComponentEffect)
    tresult PLUGIN_API queryInterface(const Steinberg::TUID iid, void** obj) SMTG_OVERRIDE;
    REFCOUNT_METHODS(SingleComponentEffect)

protected:
    // The host's parameter of an id as one of the effect's kinds, or null.
    VST3_BaseParameter* baseParameter(ParamID id);

    // Names the buses after their channel counts.
    void nameBuses();

    Steinberg::Vst::ParameterContainer privateParameters;
    Steinberg::int32 stateVersion = 0;
    VSTGUI::VST3Editor* editorInstance = nullptr;
    VSTGUI::CFrame* editorFrame = nullptr;
    bool stereoInput = true;
    bool stereoOutput = true;
    Steinberg::int32 repeatingTag = -1;
    Steinberg::int32 repeatFirstDelay = 10;
    Steinberg::int32 repeatInterval = 2;
    Steinberg::int32 repeatNextTick = -1;
    Steinberg::int32 timerTick = 0;
};
