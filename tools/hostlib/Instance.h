#pragma once

// One effect made from a Module, driven as a workstation drives it: bus
// layout, processing set-up, activation, blocks of audio with a running
// transport, parameter changes and note events queued for the next block,
// parameters and state reached through the controller and the component.
//
// Only the main audio bus of each direction is used, 32-bit float, with 1
// or 2 channels. The Module must outlive the Instance. Every operation is
// for the one thread that owns the Instance, which plays both the
// interface and the audio thread of a host.

#include <memory>
#include <string>
#include <vector>

#include "hostlib/Host_Interfaces.h"
#include "hostlib/Module.h"
#include "hostlib/Transport.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivstcomponent.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "pluginterfaces/vst/ivstmessage.h"
#include "pluginterfaces/vst/ivstprocesscontext.h"

namespace hostlib {

// A parameter as the controller lists it, with its plain range.
struct Parameter_Info {
    Steinberg::Vst::ParamID id = 0;
    std::string title;
    std::string short_title;
    std::string units;
    Steinberg::int32 step_count = 0;
    double default_normalized = 0.0;
    Steinberg::int32 flags = 0;
    Steinberg::Vst::UnitID unit_id = 0;
    // Plain values at normalized 0, 1 and the default.
    double plain_at_0 = 0.0;
    double plain_at_1 = 0.0;
    double default_plain = 0.0;

    // A list parameter is set by the text of one of its step_count + 1 items.
    bool is_list() const
    {
        return step_count > 0 && (flags & Steinberg::Vst::ParameterInfo::kIsList) != 0;
    }
    double plain_min() const { return plain_at_0 < plain_at_1 ? plain_at_0 : plain_at_1; }
    double plain_max() const { return plain_at_0 < plain_at_1 ? plain_at_1 : plain_at_0; }
};

class Instance {
public:
    static constexpr int kMaxChannels = 2;
    static constexpr double kDefaultSampleRate = 48000.0;
    static constexpr Steinberg::int32 kDefaultMaxBlock = 512;

    // Creates and initializes the class of that name, or the first class of
    // category "Audio Module Class" when the name is empty, with its
    // controller: the component itself when it implements IEditController,
    // otherwise the class it names, initialized and connected to it. Null on
    // failure, with the reason in `error`.
    static std::unique_ptr<Instance> create(Module& module, const std::string& class_name,
                                            std::string& error);
    // Stops processing, deactivates, terminates and releases, in that order.
    ~Instance();

    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    // Main bus layout: 1 (mono) or 2 (stereo) channels each way. An active
    // instance is deactivated around the change. False, with nothing
    // changed, if the effect refuses it.
    bool set_channels(int inputs, int outputs);
    int input_channels() const { return inChannels; }
    int output_channels() const { return outChannels; }
    Steinberg::int32 bus_count(Steinberg::Vst::MediaType type, Steinberg::Vst::BusDirection dir);
    std::string bus_name(Steinberg::Vst::MediaType type, Steinberg::Vst::BusDirection dir,
                         Steinberg::int32 index);

    // setupProcessing for 32-bit samples, realtime or offline. An active
    // instance is deactivated around the change. False if refused.
    bool setup(double sample_rate, Steinberg::int32 max_block, bool offline = false);
    // On: activates the main audio buses and the event inputs, then
    // setActive and setProcessing (with a default set-up first if setup was
    // never called). Off: setProcessing(false), then setActive(false).
    bool activate(bool on);
    bool is_active() const { return active; }
    Steinberg::uint32 latency();
    double sample_rate() const { return sampleRate; }
    Steinberg::int32 max_block() const { return maxBlock; }

    // Runs one block of n samples (0 to max_block) from input_channels()
    // pointers into output_channels() pointers. Parameter changes and events
    // queued since the last block go with it and are then cleared; the
    // transport's context goes with it unless with_context is false, and
    // advances by n afterwards. kInvalidArgument for a bad n,
    // kNotInitialized when not active; otherwise what process answered.
    Steinberg::tresult process(const float* const* in, float* const* out, Steinberg::int32 n,
                               bool with_context = true);
    // Runs a whole signal in blocks of at most `block` samples (capped at
    // max_block), channel-major. A missing second input channel repeats the
    // first. `out` gets output_channels() channels of the input's length.
    // The first answer of process that is not kResultOk, or kResultOk.
    Steinberg::tresult process_all(const std::vector<std::vector<float>>& in,
                                   std::vector<std::vector<float>>& out, Steinberg::int32 block);

    // Input silence flags. By default an input channel is flagged silent in
    // a block where all its samples are 0; set_input_silent(true) flags
    // every input channel whatever the samples, false returns to detection.
    void set_input_silent(bool silent) { inputForcedSilent = silent; }
    // The output silence flags of the last block, as the effect set them.
    Steinberg::uint64 output_silence_flags() const { return outputSilence; }

    // Queued for the next block; false when the queue is full.
    bool queue_change(Steinberg::Vst::ParamID id, double normalized, Steinberg::int32 offset = 0);
    bool queue_note(bool on, Steinberg::int16 pitch, float velocity, Steinberg::int32 offset = 0,
                    Steinberg::int16 channel = 0);
    bool queue_event(const Steinberg::Vst::Event& event);
    // The changes the effect wrote in the last block.
    Parameter_Changes& output_changes() { return outputChanges; }

    // Parameters as the host sees them.
    std::vector<Parameter_Info> parameters();
    bool find_parameter(const std::string& title, Parameter_Info& info);
    // As a host's generic editor does: the controller takes the value and
    // the next block gets it as a change at offset 0.
    bool set_normalized(Steinberg::Vst::ParamID id, double normalized);
    // Through the controller's plainParamToNormalized.
    bool set_plain(Steinberg::Vst::ParamID id, double plain);
    // Through the controller's getParamValueByString; false for a text it
    // does not take.
    bool set_text(Steinberg::Vst::ParamID id, const std::string& text);
    double normalized(Steinberg::Vst::ParamID id);
    double plain(Steinberg::Vst::ParamID id);
    std::string text(Steinberg::Vst::ParamID id);
    std::string text_of(Steinberg::Vst::ParamID id, double normalized);
    double plain_of(Steinberg::Vst::ParamID id, double normalized);
    double normalized_of(Steinberg::Vst::ParamID id, double plain);

    // The component's state through a memory stream; a separate controller
    // is given the restored state with setComponentState.
    bool get_state(std::vector<char>& bytes);
    bool set_state(const std::vector<char>& bytes);

    // RestartFlags the controller asked for since the last call.
    Steinberg::int32 take_restart_flags() { return handler.take_restart_flags(); }

    Transport& transport() { return runningTransport; }
    Steinberg::Vst::ProcessContext& context() { return runningTransport.context(); }
    Steinberg::Vst::IComponent* component() const { return componentPtr; }
    Steinberg::Vst::IAudioProcessor* processor() const { return processorPtr; }
    Steinberg::Vst::IEditController* controller() const { return controllerPtr; }
    bool has_separate_controller() const { return separateController; }

private:
    Instance();

    // Calls f with the instance deactivated, reactivating it afterwards if
    // it was active; f's answer.
    template <typename F>
    bool while_inactive(F f);
    void read_arrangements();
    void connect_controller();
    void disconnect_controller();

    Host_Application host;
    Parameter_Changes inputChanges;
    Parameter_Changes outputChanges;
    Event_List events;
    Component_Handler handler{&inputChanges};
    Transport runningTransport;

    Steinberg::Vst::IComponent* componentPtr = nullptr;
    Steinberg::Vst::IAudioProcessor* processorPtr = nullptr;
    Steinberg::Vst::IEditController* controllerPtr = nullptr;
    Steinberg::Vst::IConnectionPoint* componentConnection = nullptr;
    Steinberg::Vst::IConnectionPoint* controllerConnection = nullptr;
    bool componentInitialized = false;
    bool controllerInitialized = false;
    bool separateController = false;
    bool handlerSet = false;
    bool setupDone = false;
    bool active = false;
    bool processing = false;

    Steinberg::int32 audioInputBuses = 0;
    Steinberg::int32 audioOutputBuses = 0;
    int inChannels = 0;
    int outChannels = 0;
    double sampleRate = kDefaultSampleRate;
    Steinberg::int32 maxBlock = kDefaultMaxBlock;
    Steinberg::int32 processMode = Steinberg::Vst::kRealtime;
    bool inputForcedSilent = false;
    Steinberg::uint64 outputSilence = 0;
};

} // namespace hostlib
