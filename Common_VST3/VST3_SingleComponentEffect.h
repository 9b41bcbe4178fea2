#pragma once

#include <atomic>
#include <vector>

#include "Common_VST3/Parameter_Mailbox.h"
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
//
// Values reach the engine by one road, owned by one thread at a time: the
// audio thread while the effect is active, the interface thread while it is
// not (the host calls process only in between). The owner keeps the last
// value it applied of every parameter. Values from the interface thread
// (setParamNormalized, a program value, a restored state) go into a mailbox
// that the owner empties at the start of each block, together with the
// block's automation; then applyParameter runs for each value that changed,
// and resolveJoinedSettings once for settings made of several parameters.
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
    // Interface thread. Hands the engine to the audio thread (on) or takes it
    // back (off), applying the values that wait.
    tresult PLUGIN_API setActive(Steinberg::TBool state) SMTG_OVERRIDE;
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
    tresult PLUGIN_API process(Steinberg::Vst::ProcessData& data) noexcept SMTG_OVERRIDE;
    tresult PLUGIN_API setProcessing(Steinberg::TBool state) SMTG_OVERRIDE;

    // Interface thread: a value from the host's controller side or a control.
    // Stores it and posts it to the engine's owner; kResultFalse for an
    // unknown id.
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
    // Audio thread: the values posted since the last block, then the block's
    // automation (last point of each queue, taken when it differs from the
    // applied value by 0.00001 or more), all applied at the block's start.
    virtual void processParameterChanges(Steinberg::Vst::IParameterChanges* changes) noexcept;
    // Audio thread: the block's events.
    virtual void processEvents(Steinberg::Vst::IEventList* events) noexcept;
    // Audio thread: a block with at least one sample, input and output.
    virtual void processAudio(Steinberg::Vst::ProcessData& data) noexcept = 0;
    // Audio thread: values the effect reports back to the host.
    virtual void processOutputParameterChanges(Steinberg::Vst::IParameterChanges* changes) noexcept;
    // Interface thread: a plain value from the program itself.
    virtual void setParameterPlain(ParamID id, ParamValue plain);
    // The engine's owner: a normalized value reaches the engine. Runs after
    // every value of the batch is in appliedValue, so a row may read its
    // partners there.
    virtual void applyParameter(VST3_BaseParameter* parameter, ParamID id,
                                Steinberg::int32 sampleOffset, ParamValue value) noexcept = 0;
    // The engine's owner: once after the values of a batch were applied, for
    // the settings that join several parameters.
    virtual void resolveJoinedSettings() noexcept {}
    // The engine's owner: the value of a parameter as last applied (its
    // default before any).
    ParamValue appliedValue(ParamID id) const noexcept
    {
        return id < appliedValues.size() ? appliedValues[id] : 0.0;
    }
    // The engine's owner: the plain value of a parameter as last applied.
    ParamValue appliedPlain(ParamID id) const noexcept
    {
        VST3_BaseParameter* parameter = parameterAt(id);
        return parameter ? parameter->toPlain(appliedValue(id)) : 0.0;
    }
    // Any thread: the parameter of an id, of either set, or null. The table
    // is built in initialize and only read afterwards.
    VST3_BaseParameter* parameterAt(ParamID id) const noexcept
    {
        return id < parameterById.size() ? parameterById[id] : nullptr;
    }
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
    // Interface thread, at initialize once the parameters exist: the table
    // of parameters by id and the applied values.
    void indexParameters();

    // Interface thread. Hands a normalized value to the engine's owner; while
    // inactive the interface thread is the owner and applies it at once.
    void postValue(ParamID id, ParamValue value);
    // Interface thread, while inactive: every parameter's stored value is
    // applied, changed or not (set-up for a new rate).
    void applyAllParameters();
    // The engine's owner: applies what waits in the mailbox and, with
    // `changes`, the automation of a block.
    void applyValues(Steinberg::Vst::IParameterChanges* changes) noexcept;
    // True while the audio thread owns the engine.
    bool audioOwnsEngine() const { return audioOwner.load(std::memory_order_acquire); }

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

private:
    // Marks a value as applied in this batch.
    void takeValue(ParamID id, ParamValue value) noexcept;

    // Built in initialize, indexed by id: read-only afterwards, so both
    // threads may look up the parameter objects.
    std::vector<VST3_BaseParameter*> parameterById;
    // Owned by the engine's owner.
    std::vector<ParamValue> appliedValues;
    std::vector<uint64_t> changedIds;
    Parameter_Mailbox mailbox;
    std::atomic<bool> audioOwner{false};
};
