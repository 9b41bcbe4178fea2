#include "hostlib/Instance.h"

#include <algorithm>

#include "pluginterfaces/vst/vstspeaker.h"
#include "public.sdk/source/common/memorystream.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace hostlib {

namespace {

SpeakerArrangement arrangement_of(int channels)
{
    return channels == 2 ? SpeakerArr::kStereo : SpeakerArr::kMono;
}

template <typename Interface>
Interface* query(FUnknown* object)
{
    Interface* result = nullptr;
    if (object == nullptr ||
        object->queryInterface(Interface::iid, reinterpret_cast<void**>(&result)) != kResultOk)
        return nullptr;
    return result;
}

// A fresh stream, owned by the caller's reference.
MemoryStream* new_stream()
{
    return new MemoryStream();
}

// Bit c set for every channel c below `count` whose n samples are all 0.
uint64 silent_channels(const float* const* channels, int count, int32 n)
{
    uint64 flags = 0;
    if (channels == nullptr) return flags;
    for (int c = 0; c < count; ++c) {
        const float* x = channels[c];
        if (x != nullptr && std::all_of(x, x + n, [](float v) { return v == 0.0f; })) flags |= uint64(1) << c;
    }
    return flags;
}

} // namespace

Instance::Instance() = default;

std::unique_ptr<Instance> Instance::create(Module& module, const std::string& class_name,
                                           std::string& error)
{
    Class_Info chosen;
    if (!module.find_class(class_name, chosen)) {
        error = class_name.empty() ? "the module holds no class of category \"Audio Module Class\""
                                   : "the module holds no class \"" + class_name + "\"";
        return nullptr;
    }
    // From here on the destructor undoes whatever was done when a step fails.
    std::unique_ptr<Instance> instance(new Instance());
    Instance& self = *instance;
    IComponent* component = nullptr;
    if (module.factory()->createInstance(chosen.cid, IComponent::iid,
                                         reinterpret_cast<void**>(&component)) != kResultOk ||
        component == nullptr) {
        error = "the factory could not create \"" + chosen.name + "\"";
        return nullptr;
    }
    self.componentPtr = component;
    if (component->initialize(&self.host) != kResultOk) {
        error = "\"" + chosen.name + "\" failed to initialize";
        return nullptr;
    }
    self.componentInitialized = true;
    self.processorPtr = query<IAudioProcessor>(component);
    if (self.processorPtr == nullptr) {
        error = "\"" + chosen.name + "\" is not an audio processor";
        return nullptr;
    }

    self.controllerPtr = query<IEditController>(component);
    if (self.controllerPtr == nullptr) {
        TUID controllerId{};
        if (component->getControllerClassId(controllerId) == kResultTrue) {
            IEditController* controller = nullptr;
            if (module.factory()->createInstance(controllerId, IEditController::iid,
                                                 reinterpret_cast<void**>(&controller)) != kResultOk ||
                controller == nullptr) {
                error = "the factory could not create the controller of \"" + chosen.name + "\"";
                return nullptr;
            }
            self.controllerPtr = controller;
            self.separateController = true;
            if (controller->initialize(&self.host) != kResultOk) {
                error = "the controller of \"" + chosen.name + "\" failed to initialize";
                return nullptr;
            }
            self.controllerInitialized = true;
            self.connect_controller();
            // The controller starts from the component's state.
            MemoryStream* stream = new_stream();
            if (component->getState(stream) == kResultOk) {
                stream->seek(0, IBStream::kIBSeekSet, nullptr);
                controller->setComponentState(stream);
            }
            stream->release();
        }
    }
    if (self.controllerPtr) {
        self.controllerPtr->setComponentHandler(&self.handler);
        self.handlerSet = true;
    }

    self.audioInputBuses = std::min<int32>(component->getBusCount(kAudio, kInput), 1);
    self.audioOutputBuses = std::min<int32>(component->getBusCount(kAudio, kOutput), 1);
    self.read_arrangements();
    return instance;
}

Instance::~Instance()
{
    if (processing) processorPtr->setProcessing(false);
    if (active) componentPtr->setActive(false);
    if (handlerSet) controllerPtr->setComponentHandler(nullptr);
    if (separateController) {
        disconnect_controller();
        if (controllerInitialized) controllerPtr->terminate();
    }
    if (controllerPtr) controllerPtr->release();
    if (processorPtr) processorPtr->release();
    if (componentPtr) {
        if (componentInitialized) componentPtr->terminate();
        componentPtr->release();
    }
}

void Instance::connect_controller()
{
    componentConnection = query<IConnectionPoint>(componentPtr);
    controllerConnection = query<IConnectionPoint>(controllerPtr);
    if (componentConnection && controllerConnection) {
        componentConnection->connect(controllerConnection);
        controllerConnection->connect(componentConnection);
    }
}

void Instance::disconnect_controller()
{
    if (componentConnection && controllerConnection) {
        componentConnection->disconnect(controllerConnection);
        controllerConnection->disconnect(componentConnection);
    }
    if (componentConnection) componentConnection->release();
    if (controllerConnection) controllerConnection->release();
    componentConnection = controllerConnection = nullptr;
}

void Instance::read_arrangements()
{
    SpeakerArrangement arrangement = 0;
    inChannels = audioInputBuses > 0 && processorPtr->getBusArrangement(kInput, 0, arrangement) == kResultTrue
                     ? SpeakerArr::getChannelCount(arrangement)
                     : 0;
    arrangement = 0;
    outChannels = audioOutputBuses > 0 && processorPtr->getBusArrangement(kOutput, 0, arrangement) == kResultTrue
                      ? SpeakerArr::getChannelCount(arrangement)
                      : 0;
}

template <typename F>
bool Instance::while_inactive(F f)
{
    const bool wasActive = active;
    if (wasActive) activate(false);
    const bool ok = f();
    if (wasActive && !activate(true)) return false;
    return ok;
}

bool Instance::set_channels(int inputs, int outputs)
{
    if (inputs < 1 || inputs > kMaxChannels || outputs < 1 || outputs > kMaxChannels) return false;
    if (audioInputBuses < 1 || audioOutputBuses < 1) return false;
    return while_inactive([&] {
        SpeakerArrangement in = arrangement_of(inputs);
        SpeakerArrangement out = arrangement_of(outputs);
        const bool ok = processorPtr->setBusArrangements(&in, 1, &out, 1) == kResultTrue;
        read_arrangements();
        return ok && inChannels == inputs && outChannels == outputs;
    });
}

int32 Instance::bus_count(MediaType type, BusDirection dir)
{
    return componentPtr->getBusCount(type, dir);
}

std::string Instance::bus_name(MediaType type, BusDirection dir, int32 index)
{
    BusInfo info{};
    if (componentPtr->getBusInfo(type, dir, index, info) != kResultTrue) return {};
    return to_utf8(info.name);
}

bool Instance::setup(double rate, int32 max_block, bool offline)
{
    if (rate <= 0.0 || max_block < 1) return false;
    return while_inactive([&] {
        ProcessSetup setup{offline ? kOffline : kRealtime, kSample32, max_block, rate};
        if (processorPtr->setupProcessing(setup) != kResultOk) return false;
        sampleRate = rate;
        maxBlock = max_block;
        processMode = setup.processMode;
        runningTransport.set_sample_rate(rate);
        setupDone = true;
        return true;
    });
}

bool Instance::activate(bool on)
{
    if (on) {
        if (active) return true;
        if (!setupDone && !setup(sampleRate, maxBlock, processMode == kOffline)) return false;
        if (audioInputBuses > 0) componentPtr->activateBus(kAudio, kInput, 0, true);
        if (audioOutputBuses > 0) componentPtr->activateBus(kAudio, kOutput, 0, true);
        for (int32 i = 0; i < componentPtr->getBusCount(kEvent, kInput); ++i)
            componentPtr->activateBus(kEvent, kInput, i, true);
        if (componentPtr->setActive(true) != kResultOk) return false;
        active = true;
        const tresult started = processorPtr->setProcessing(true);
        // Effects without work to start may answer kNotImplemented.
        processing = started == kResultOk || started == kNotImplemented;
        if (!processing) {
            componentPtr->setActive(false);
            active = false;
            return false;
        }
        return true;
    }
    if (processing) processorPtr->setProcessing(false);
    if (active) componentPtr->setActive(false);
    processing = active = false;
    return true;
}

uint32 Instance::latency()
{
    return processorPtr->getLatencySamples();
}

tresult Instance::process(const float* const* in, float* const* out, int32 n, bool with_context)
{
    if (!active) return kNotInitialized;
    if (n < 0 || n > maxBlock) return kInvalidArgument;
    AudioBusBuffers inputBus{};
    inputBus.numChannels = inChannels;
    inputBus.channelBuffers32 = const_cast<float**>(in);
    inputBus.silenceFlags =
        inputForcedSilent ? (uint64(1) << inChannels) - 1 : silent_channels(in, inChannels, n);
    AudioBusBuffers outputBus{};
    outputBus.numChannels = outChannels;
    outputBus.channelBuffers32 = const_cast<float**>(out);

    ProcessData data{};
    data.processMode = processMode;
    data.symbolicSampleSize = kSample32;
    data.numSamples = n;
    data.numInputs = audioInputBuses;
    data.numOutputs = audioOutputBuses;
    data.inputs = audioInputBuses > 0 ? &inputBus : nullptr;
    data.outputs = audioOutputBuses > 0 ? &outputBus : nullptr;
    data.inputParameterChanges = &inputChanges;
    data.outputParameterChanges = &outputChanges;
    data.inputEvents = &events;
    data.processContext = with_context ? &runningTransport.context() : nullptr;

    outputChanges.clear();
    const tresult result = processorPtr->process(data);
    outputSilence = outputBus.silenceFlags;
    inputChanges.clear();
    events.clear();
    if (with_context) runningTransport.advance(n);
    return result;
}

tresult Instance::process_all(const std::vector<std::vector<float>>& in,
                              std::vector<std::vector<float>>& out, int32 block)
{
    const size_t length = in.empty() ? 0 : in[0].size();
    out.assign(size_t(outChannels), std::vector<float>(length, 0.0f));
    if (in.empty() || block < 1) return length == 0 ? kResultOk : kInvalidArgument;
    const size_t step = size_t(std::min(block, maxBlock));
    tresult result = kResultOk;
    for (size_t pos = 0; pos < length; pos += step) {
        const int32 n = int32(std::min(step, length - pos));
        const float* ins[kMaxChannels] = {in[0].data() + pos,
                                          (in.size() > 1 ? in[1] : in[0]).data() + pos};
        float* outs[kMaxChannels] = {nullptr, nullptr};
        for (size_t c = 0; c < out.size(); ++c) outs[c] = out[c].data() + pos;
        const tresult r = process(ins, outs, n);
        if (r != kResultOk && result == kResultOk) result = r;
    }
    return result;
}

bool Instance::queue_change(ParamID id, double normalized, int32 offset)
{
    return inputChanges.add(id, offset, normalized);
}

bool Instance::queue_note(bool on, int16 pitch, float velocity, int32 offset, int16 channel)
{
    Event e{};
    e.busIndex = 0;
    e.sampleOffset = offset;
    if (on) {
        e.type = Event::kNoteOnEvent;
        e.noteOn.channel = channel;
        e.noteOn.pitch = pitch;
        e.noteOn.velocity = velocity;
        e.noteOn.noteId = -1;
    } else {
        e.type = Event::kNoteOffEvent;
        e.noteOff.channel = channel;
        e.noteOff.pitch = pitch;
        e.noteOff.velocity = velocity;
        e.noteOff.noteId = -1;
    }
    return events.addEvent(e) == kResultOk;
}

bool Instance::queue_event(const Event& event)
{
    Event copy = event;
    return events.addEvent(copy) == kResultOk;
}

std::vector<Parameter_Info> Instance::parameters()
{
    std::vector<Parameter_Info> list;
    if (controllerPtr == nullptr) return list;
    const int32 count = controllerPtr->getParameterCount();
    for (int32 i = 0; i < count; ++i) {
        ParameterInfo info{};
        if (controllerPtr->getParameterInfo(i, info) != kResultOk) continue;
        Parameter_Info entry;
        entry.id = info.id;
        entry.title = to_utf8(info.title);
        entry.short_title = to_utf8(info.shortTitle);
        entry.units = to_utf8(info.units);
        entry.step_count = info.stepCount;
        entry.default_normalized = info.defaultNormalizedValue;
        entry.flags = info.flags;
        entry.unit_id = info.unitId;
        entry.plain_at_0 = controllerPtr->normalizedParamToPlain(info.id, 0.0);
        entry.plain_at_1 = controllerPtr->normalizedParamToPlain(info.id, 1.0);
        entry.default_plain = controllerPtr->normalizedParamToPlain(info.id, info.defaultNormalizedValue);
        list.push_back(entry);
    }
    return list;
}

bool Instance::find_parameter(const std::string& title, Parameter_Info& info)
{
    for (const auto& entry : parameters()) {
        if (entry.title == title) {
            info = entry;
            return true;
        }
    }
    return false;
}

bool Instance::set_normalized(ParamID id, double value)
{
    if (controllerPtr == nullptr || controllerPtr->setParamNormalized(id, value) != kResultOk)
        return false;
    return queue_change(id, value);
}

bool Instance::set_plain(ParamID id, double plain)
{
    if (controllerPtr == nullptr) return false;
    return set_normalized(id, controllerPtr->plainParamToNormalized(id, plain));
}

bool Instance::set_text(ParamID id, const std::string& text)
{
    if (controllerPtr == nullptr) return false;
    String128 wide{};
    if (!from_utf8(text, wide, 128)) return false;
    ParamValue value = 0.0;
    if (controllerPtr->getParamValueByString(id, wide, value) != kResultOk) return false;
    return set_normalized(id, value);
}

double Instance::normalized(ParamID id)
{
    return controllerPtr ? controllerPtr->getParamNormalized(id) : 0.0;
}

double Instance::plain(ParamID id)
{
    return plain_of(id, normalized(id));
}

double Instance::plain_of(ParamID id, double value)
{
    return controllerPtr ? controllerPtr->normalizedParamToPlain(id, value) : 0.0;
}

double Instance::normalized_of(ParamID id, double plain)
{
    return controllerPtr ? controllerPtr->plainParamToNormalized(id, plain) : 0.0;
}

std::string Instance::text(ParamID id)
{
    return text_of(id, normalized(id));
}

std::string Instance::text_of(ParamID id, double value)
{
    if (controllerPtr == nullptr) return {};
    String128 wide{};
    if (controllerPtr->getParamStringByValue(id, value, wide) != kResultOk) return {};
    return to_utf8(wide);
}

bool Instance::get_state(std::vector<char>& bytes)
{
    MemoryStream* stream = new_stream();
    const bool ok = componentPtr->getState(stream) == kResultOk;
    if (ok) bytes.assign(stream->getData(), stream->getData() + stream->getSize());
    stream->release();
    return ok;
}

bool Instance::set_state(const std::vector<char>& bytes)
{
    MemoryStream* stream = new_stream();
    int32 written = 0;
    if (!bytes.empty()) stream->write(const_cast<char*>(bytes.data()), int32(bytes.size()), &written);
    stream->seek(0, IBStream::kIBSeekSet, nullptr);
    const bool ok = written == int32(bytes.size()) && componentPtr->setState(stream) == kResultOk;
    if (ok && separateController) {
        stream->seek(0, IBStream::kIBSeekSet, nullptr);
        controllerPtr->setComponentState(stream);
    }
    stream->release();
    return ok;
}

} // namespace hostlib
