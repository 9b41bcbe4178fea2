#pragma once

// A small VST3 host: loads a module, creates an effect, sets up its buses and
// processing, runs blocks with a running process context, and reaches its
// parameters and state as a workstation would. Used by the tools and the
// integration tests.

#include <memory>
#include <string>
#include <vector>

#include "hostlib/Host_Interfaces.h"
#include "pluginterfaces/base/ipluginbase.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivstcomponent.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "pluginterfaces/vst/ivstprocesscontext.h"

namespace hostlib {

struct Class_Info {
    std::string name;
    std::string category;
    std::string sub_categories;
    std::string vendor;
    std::string version;
    std::string sdk_version;
    Steinberg::TUID cid;
};

class Module {
public:
    // A bundle folder (Name.vst3, holding Contents/x86_64-linux/Name.so) or a
    // shared object. Null, with the reason in `error`, on failure.
    static std::unique_ptr<Module> load(const std::string& path, std::string& error);
    ~Module();

    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    Steinberg::IPluginFactory* factory() const { return factoryPtr; }
    std::string factory_vendor() const;
    std::vector<Class_Info> classes() const;
    const std::string& library_path() const { return libraryPath; }

private:
    Module() = default;
    void* handle = nullptr;
    bool entered = false;
    Steinberg::IPluginFactory* factoryPtr = nullptr;
    std::string libraryPath;
};

struct Parameter_Info {
    Steinberg::Vst::ParamID id = 0;
    std::string title;
    std::string short_title;
    std::string units;
    Steinberg::int32 step_count = 0;
    double default_normalized = 0.0;
    Steinberg::int32 flags = 0;
};

class Instance {
public:
    // Creates and initializes the class of that name, or the first audio
    // effect class when the name is empty.
    static std::unique_ptr<Instance> create(Module& module, const std::string& class_name,
                                            std::string& error);
    ~Instance();

    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    // Bus layout: 1 or 2 channels each way. False if the effect refuses it.
    bool set_channels(int inputs, int outputs);
    int input_channels() const { return inChannels; }
    int output_channels() const { return outChannels; }
    Steinberg::int32 bus_count(Steinberg::Vst::MediaType type, Steinberg::Vst::BusDirection dir);
    std::string bus_name(Steinberg::Vst::MediaType type, Steinberg::Vst::BusDirection dir,
                         Steinberg::int32 index);

    // setupProcessing; false if refused.
    bool setup(double sample_rate, Steinberg::int32 max_block, bool offline = false);
    // setActive and setProcessing together.
    bool activate(bool on);
    Steinberg::uint32 latency();
    double sample_rate() const { return sampleRate; }

    // Runs one block of n samples. Parameter changes and events queued since
    // the last block go with it; the running context goes with it unless
    // with_context is false, and advances by n afterwards.
    Steinberg::tresult process(const float* const* in, float* const* out, Steinberg::int32 n,
                               bool with_context = true);
    // Runs a whole signal in blocks, channel-major vectors in and out.
    void process_all(const std::vector<std::vector<float>>& in,
                     std::vector<std::vector<float>>& out, Steinberg::int32 block);

    // Input silence flags of the next blocks: set, every input channel is
    // flagged silent. The output flags of the last block.
    void set_input_silent(bool silent) { inputSilent = silent; }
    Steinberg::uint64 output_silence_flags() const { return outputSilence; }

    // Queued for the next block.
    void queue_change(Steinberg::Vst::ParamID id, double normalized, Steinberg::int32 offset = 0);
    void queue_note(bool on, Steinberg::int16 pitch, float velocity, Steinberg::int32 offset = 0);

    // Parameters as the host sees them.
    std::vector<Parameter_Info> parameters();
    bool find_parameter(const std::string& title, Parameter_Info& info);
    // From the controller side, as a host's generic editor would: the
    // controller takes the value and the next block gets it as a change.
    bool set_normalized(Steinberg::Vst::ParamID id, double normalized);
    bool set_plain(Steinberg::Vst::ParamID id, double plain);
    bool set_text(Steinberg::Vst::ParamID id, const std::string& text);
    double normalized(Steinberg::Vst::ParamID id);
    double plain(Steinberg::Vst::ParamID id);
    std::string text(Steinberg::Vst::ParamID id);
    std::string text_of(Steinberg::Vst::ParamID id, double normalized);
    double plain_of(Steinberg::Vst::ParamID id, double normalized);

    // The session state through a memory stream.
    bool get_state(std::vector<char>& bytes);
    bool set_state(const std::vector<char>& bytes);

    Steinberg::Vst::ProcessContext& context() { return processContext; }
    Steinberg::Vst::IComponent* component() const { return componentPtr; }
    Steinberg::Vst::IAudioProcessor* processor() const { return processorPtr; }
    Steinberg::Vst::IEditController* controller() const { return controllerPtr; }
    Parameter_Changes& output_changes() { return outputChanges; }

private:
    Instance() = default;

    Host_Application host;
    Steinberg::Vst::IComponent* componentPtr = nullptr;
    Steinberg::Vst::IAudioProcessor* processorPtr = nullptr;
    Steinberg::Vst::IEditController* controllerPtr = nullptr;
    bool separateController = false;
    bool active = false;
    int inChannels = 2;
    int outChannels = 2;
    double sampleRate = 48000.0;
    Steinberg::int32 maxBlock = 512;
    Steinberg::int32 processMode = Steinberg::Vst::kRealtime;
    Steinberg::Vst::ProcessContext processContext{};
    bool inputSilent = false;
    Steinberg::uint64 outputSilence = 0;
    Parameter_Changes inputChanges;
    Parameter_Changes outputChanges;
    Event_List events;
};

} // namespace hostlib
