#include "hostlib/Plugin_Host.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "pluginterfaces/vst/vstspeaker.h"
#include "public.sdk/source/common/memorystream.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace hostlib {

namespace {

bool is_directory(const std::string& path)
{
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Contents/x86_64-linux/Name.so of a bundle folder Name.vst3.
std::string library_of(const std::string& path)
{
    if (!is_directory(path)) return path;
    std::string folder = path;
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    std::string name = folder.substr(folder.find_last_of('/') + 1);
    const std::string suffix = ".vst3";
    if (name.size() > suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
        name.erase(name.size() - suffix.size());
    return folder + "/Contents/x86_64-linux/" + name + ".so";
}

std::string text_of(const char8* text, size_t capacity)
{
    return std::string(text, strnlen(text, capacity));
}

} // namespace

std::unique_ptr<Module> Module::load(const std::string& path, std::string& error)
{
    std::unique_ptr<Module> module(new Module());
    module->libraryPath = library_of(path);
    struct stat info {};
    if (::stat(module->libraryPath.c_str(), &info) != 0) {
        error = "no plug-in module at " + module->libraryPath;
        return nullptr;
    }
    module->handle = ::dlopen(module->libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module->handle == nullptr) {
        const char* reason = ::dlerror();
        error = "cannot load " + module->libraryPath + ": " + (reason ? reason : "unknown reason");
        return nullptr;
    }
    using EntryFunction = bool (*)(void*);
    using FactoryFunction = IPluginFactory* (*)();
    auto entry = reinterpret_cast<EntryFunction>(::dlsym(module->handle, "ModuleEntry"));
    auto getFactory = reinterpret_cast<FactoryFunction>(::dlsym(module->handle, "GetPluginFactory"));
    if (entry == nullptr || getFactory == nullptr) {
        error = module->libraryPath + " is not a VST3 module (ModuleEntry or GetPluginFactory missing)";
        return nullptr;
    }
    if (!entry(module->handle)) {
        error = "ModuleEntry of " + module->libraryPath + " failed";
        return nullptr;
    }
    module->entered = true;
    module->factoryPtr = getFactory();
    if (module->factoryPtr == nullptr) {
        error = "GetPluginFactory of " + module->libraryPath + " returned no factory";
        return nullptr;
    }
    return module;
}

Module::~Module()
{
    if (factoryPtr) factoryPtr->release();
    if (entered) {
        using ExitFunction = bool (*)();
        if (auto exitFunction = reinterpret_cast<ExitFunction>(::dlsym(handle, "ModuleExit")))
            exitFunction();
    }
    if (handle) ::dlclose(handle);
}

std::string Module::factory_vendor() const
{
    PFactoryInfo info;
    if (factoryPtr->getFactoryInfo(&info) != kResultOk) return {};
    return text_of(info.vendor, PFactoryInfo::kNameSize);
}

std::vector<Class_Info> Module::classes() const
{
    std::vector<Class_Info> list;
    IPluginFactory2* factory2 = nullptr;
    factoryPtr->queryInterface(IPluginFactory2::iid, reinterpret_cast<void**>(&factory2));
    const int32 count = factoryPtr->countClasses();
    for (int32 i = 0; i < count; ++i) {
        Class_Info entry;
        if (factory2) {
            PClassInfo2 info;
            if (factory2->getClassInfo2(i, &info) != kResultOk) continue;
            entry.name = text_of(info.name, PClassInfo::kNameSize);
            entry.category = text_of(info.category, PClassInfo::kCategorySize);
            entry.sub_categories = text_of(info.subCategories, PClassInfo2::kSubCategoriesSize);
            entry.vendor = text_of(info.vendor, PClassInfo2::kVendorSize);
            entry.version = text_of(info.version, PClassInfo2::kVersionSize);
            entry.sdk_version = text_of(info.sdkVersion, PClassInfo2::kVersionSize);
            std::memcpy(entry.cid, info.cid, sizeof(TUID));
        } else {
            PClassInfo info;
            if (factoryPtr->getClassInfo(i, &info) != kResultOk) continue;
            entry.name = text_of(info.name, PClassInfo::kNameSize);
            entry.category = text_of(info.category, PClassInfo::kCategorySize);
            std::memcpy(entry.cid, info.cid, sizeof(TUID));
        }
        list.push_back(entry);
    }
    if (factory2) factory2->release();
    return list;
}

std::unique_ptr<Instance> Instance::create(Module& module, const std::string& class_name,
                                           std::string& error)
{
    const Class_Info* chosen = nullptr;
    const auto classes = module.classes();
    for (const auto& c : classes) {
        const bool wanted = class_name.empty() ? c.category == kVstAudioEffectClass : c.name == class_name;
        if (wanted) {
            chosen = &c;
            break;
        }
    }
    if (chosen == nullptr) {
        error = class_name.empty() ? "the module holds no audio effect class"
                                   : "the module holds no class \"" + class_name + "\"";
        return nullptr;
    }
    std::unique_ptr<Instance> instance(new Instance());
    IComponent* component = nullptr;
    if (module.factory()->createInstance(chosen->cid, IComponent::iid,
                                         reinterpret_cast<void**>(&component)) != kResultOk ||
        component == nullptr) {
        error = "the factory could not create \"" + chosen->name + "\"";
        return nullptr;
    }
    instance->componentPtr = component;
    if (component->initialize(&instance->host) != kResultOk) {
        error = "\"" + chosen->name + "\" failed to initialize";
        return nullptr;
    }
    component->queryInterface(IAudioProcessor::iid, reinterpret_cast<void**>(&instance->processorPtr));
    if (instance->processorPtr == nullptr) {
        error = "\"" + chosen->name + "\" is no audio processor";
        return nullptr;
    }
    // A single-component effect is its own controller; otherwise create the
    // controller class the component names.
    component->queryInterface(IEditController::iid, reinterpret_cast<void**>(&instance->controllerPtr));
    if (instance->controllerPtr == nullptr) {
        TUID controllerId;
        if (component->getControllerClassId(controllerId) == kResultTrue &&
            module.factory()->createInstance(controllerId, IEditController::iid,
                                             reinterpret_cast<void**>(&instance->controllerPtr)) == kResultOk &&
            instance->controllerPtr) {
            instance->separateController = true;
            instance->controllerPtr->initialize(&instance->host);
        }
    }
    instance->processContext.sampleRate = instance->sampleRate;
    instance->processContext.tempo = 120.0;
    instance->processContext.timeSigNumerator = 4;
    instance->processContext.timeSigDenominator = 4;
    instance->processContext.state = ProcessContext::kPlaying | ProcessContext::kTempoValid |
                                     ProcessContext::kTimeSigValid |
                                     ProcessContext::kProjectTimeMusicValid |
                                     ProcessContext::kBarPositionValid;
    return instance;
}

Instance::~Instance()
{
    if (active) activate(false);
    if (controllerPtr) {
        if (separateController) controllerPtr->terminate();
        controllerPtr->release();
    }
    if (processorPtr) processorPtr->release();
    if (componentPtr) {
        componentPtr->terminate();
        componentPtr->release();
    }
}

bool Instance::set_channels(int inputs, int outputs)
{
    if (inputs < 1 || inputs > 2 || outputs < 1 || outputs > 2) return false;
    SpeakerArrangement in = inputs == 2 ? SpeakerArr::kStereo : SpeakerArr::kMono;
    SpeakerArrangement out = outputs == 2 ? SpeakerArr::kStereo : SpeakerArr::kMono;
    if (processorPtr->setBusArrangements(&in, 1, &out, 1) != kResultTrue) return false;
    inChannels = inputs;
    outChannels = outputs;
    return true;
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
    ProcessSetup setup{offline ? kOffline : kRealtime, kSample32, max_block, rate};
    if (processorPtr->setupProcessing(setup) != kResultOk) return false;
    sampleRate = rate;
    maxBlock = max_block;
    processMode = setup.processMode;
    processContext.sampleRate = rate;
    return true;
}

bool Instance::activate(bool on)
{
    if (on) {
        for (MediaType type : {kAudio, kEvent}) {
            for (BusDirection dir : {kInput, kOutput}) {
                for (int32 i = 0; i < componentPtr->getBusCount(type, dir); ++i)
                    componentPtr->activateBus(type, dir, i, true);
            }
        }
        if (componentPtr->setActive(true) != kResultOk) return false;
        processorPtr->setProcessing(true);
        active = true;
    } else {
        processorPtr->setProcessing(false);
        componentPtr->setActive(false);
        active = false;
    }
    return true;
}

uint32 Instance::latency()
{
    return processorPtr->getLatencySamples();
}

tresult Instance::process(const float* const* in, float* const* out, int32 n, bool with_context)
{
    AudioBusBuffers inputBus{};
    inputBus.numChannels = inChannels;
    inputBus.channelBuffers32 = const_cast<float**>(in);
    inputBus.silenceFlags = inputSilent ? (uint64(1) << inChannels) - 1 : 0;
    AudioBusBuffers outputBus{};
    outputBus.numChannels = outChannels;
    outputBus.channelBuffers32 = const_cast<float**>(out);

    ProcessData data{};
    data.processMode = processMode;
    data.symbolicSampleSize = kSample32;
    data.numSamples = n;
    data.numInputs = 1;
    data.numOutputs = 1;
    data.inputs = &inputBus;
    data.outputs = &outputBus;
    data.inputParameterChanges = &inputChanges;
    data.outputParameterChanges = &outputChanges;
    data.inputEvents = &events;
    data.processContext = with_context ? &processContext : nullptr;

    outputChanges.clear();
    const tresult result = processorPtr->process(data);
    outputSilence = outputBus.silenceFlags;
    inputChanges.clear();
    events.clear();
    if (with_context) {
        processContext.projectTimeSamples += n;
        const double quarters = double(n) / sampleRate * processContext.tempo / 60.0;
        processContext.projectTimeMusic += quarters;
        const double bar = 4.0 * processContext.timeSigNumerator / processContext.timeSigDenominator;
        processContext.barPositionMusic =
            std::floor(processContext.projectTimeMusic / bar) * bar;
    }
    return result;
}

void Instance::process_all(const std::vector<std::vector<float>>& in,
                           std::vector<std::vector<float>>& out, int32 block)
{
    const size_t length = in.empty() ? 0 : in[0].size();
    out.assign(size_t(outChannels), std::vector<float>(length, 0.0f));
    for (size_t pos = 0; pos < length; pos += size_t(block)) {
        const int32 n = int32(std::min<size_t>(size_t(block), length - pos));
        const float* ins[2] = {in[0].data() + pos,
                               in.size() > 1 ? in[1].data() + pos : in[0].data() + pos};
        float* outs[2] = {out[0].data() + pos, out.size() > 1 ? out[1].data() + pos : nullptr};
        process(ins, outs, n);
    }
}

void Instance::queue_change(ParamID id, double normalized, int32 offset)
{
    inputChanges.add(id, offset, normalized);
}

void Instance::queue_note(bool on, int16 pitch, float velocity, int32 offset)
{
    Event e{};
    e.busIndex = 0;
    e.sampleOffset = offset;
    if (on) {
        e.type = Event::kNoteOnEvent;
        e.noteOn.pitch = pitch;
        e.noteOn.velocity = velocity;
        e.noteOn.noteId = -1;
    } else {
        e.type = Event::kNoteOffEvent;
        e.noteOff.pitch = pitch;
        e.noteOff.velocity = velocity;
        e.noteOff.noteId = -1;
    }
    events.addEvent(e);
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
    queue_change(id, value);
    return true;
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
    from_utf8(text, wide, 128);
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
    auto* stream = new MemoryStream();
    const bool ok = componentPtr->getState(stream) == kResultOk;
    if (ok) bytes.assign(stream->getData(), stream->getData() + stream->getSize());
    stream->release();
    return ok;
}

bool Instance::set_state(const std::vector<char>& bytes)
{
    auto* stream = new MemoryStream();
    int32 written = 0;
    stream->write(const_cast<char*>(bytes.data()), int32(bytes.size()), &written);
    stream->seek(0, IBStream::kIBSeekSet, nullptr);
    const bool ok = componentPtr->setState(stream) == kResultOk;
    if (ok && separateController && controllerPtr) {
        stream->seek(0, IBStream::kIBSeekSet, nullptr);
        controllerPtr->setComponentState(stream);
    }
    stream->release();
    return ok;
}

} // namespace hostlib
