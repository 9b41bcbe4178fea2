#include "public.sdk/source/vst/vstsinglecomponenteffect.h"

namespace Steinberg {
namespace Vst {

SingleComponentEffect::SingleComponentEffect()
    : audioInputs(kAudio, kInput)
    , audioOutputs(kAudio, kOutput)
    , eventInputs(kEvent, kInput)
    , eventOutputs(kEvent, kOutput)
{
    processSetup.processMode = kRealtime;
    processSetup.symbolicSampleSize = kSample32;
    processSetup.maxSamplesPerBlock = 1024;
    processSetup.sampleRate = 44100.0;
}

SingleComponentEffect::~SingleComponentEffect() = default;

tresult PLUGIN_API SingleComponentEffect::initialize(FUnknown* context)
{
    return EditController::initialize(context);
}

tresult PLUGIN_API SingleComponentEffect::terminate()
{
    parameters.removeAll();
    removeAllBusses();
    return EditController::terminate();
}

tresult PLUGIN_API SingleComponentEffect::getControllerClassId(TUID /*classID*/)
{
    return kNotImplemented;
}

tresult PLUGIN_API SingleComponentEffect::setIoMode(IoMode /*mode*/)
{
    return kNotImplemented;
}

BusList* SingleComponentEffect::getBusList(MediaType type, BusDirection dir)
{
    if (type == kAudio) return dir == kInput ? &audioInputs : &audioOutputs;
    if (type == kEvent) return dir == kInput ? &eventInputs : &eventOutputs;
    return nullptr;
}

int32 PLUGIN_API SingleComponentEffect::getBusCount(MediaType type, BusDirection dir)
{
    BusList* list = getBusList(type, dir);
    return list ? static_cast<int32>(list->size()) : 0;
}

tresult PLUGIN_API SingleComponentEffect::getBusInfo(MediaType type, BusDirection dir,
                                                     int32 index, BusInfo& info)
{
    BusList* list = getBusList(type, dir);
    if (list == nullptr || index < 0 || index >= static_cast<int32>(list->size()))
        return kInvalidArgument;
    info.mediaType = type;
    info.direction = dir;
    return list->at(index)->getInfo(info) ? kResultTrue : kResultFalse;
}

tresult PLUGIN_API SingleComponentEffect::getRoutingInfo(RoutingInfo& /*inInfo*/,
                                                         RoutingInfo& /*outInfo*/)
{
    return kNotImplemented;
}

tresult PLUGIN_API SingleComponentEffect::activateBus(MediaType type, BusDirection dir,
                                                      int32 index, TBool state)
{
    BusList* list = getBusList(type, dir);
    if (list == nullptr || index < 0 || index >= static_cast<int32>(list->size()))
        return kInvalidArgument;
    list->at(index)->setActive(state);
    return kResultTrue;
}

tresult PLUGIN_API SingleComponentEffect::setActive(TBool /*state*/)
{
    return kResultOk;
}

tresult PLUGIN_API SingleComponentEffect::setState(IBStream* /*state*/)
{
    return kNotImplemented;
}

tresult PLUGIN_API SingleComponentEffect::getState(IBStream* /*state*/)
{
    return kNotImplemented;
}

tresult PLUGIN_API SingleComponentEffect::setComponentState(IBStream* /*state*/)
{
    return kResultOk;
}

tresult PLUGIN_API SingleComponentEffect::setBusArrangements(SpeakerArrangement* inputs,
                                                             int32 numIns,
                                                             SpeakerArrangement* outputs,
                                                             int32 numOuts)
{
    if (numIns < 0 || numOuts < 0) return kInvalidArgument;
    if (numIns > static_cast<int32>(audioInputs.size()) ||
        numOuts > static_cast<int32>(audioOutputs.size()))
        return kResultFalse;
    for (int32 i = 0; i < numIns; ++i) {
        auto* bus = FCast<AudioBus>(audioInputs.at(i));
        if (bus) bus->setArrangement(inputs[i]);
    }
    for (int32 i = 0; i < numOuts; ++i) {
        auto* bus = FCast<AudioBus>(audioOutputs.at(i));
        if (bus) bus->setArrangement(outputs[i]);
    }
    return kResultTrue;
}

tresult PLUGIN_API SingleComponentEffect::getBusArrangement(BusDirection dir, int32 index,
                                                            SpeakerArrangement& arr)
{
    BusList* list = getBusList(kAudio, dir);
    if (list == nullptr || index < 0 || index >= static_cast<int32>(list->size()))
        return kInvalidArgument;
    auto* bus = FCast<AudioBus>(list->at(index));
    if (bus == nullptr) return kResultFalse;
    arr = bus->getArrangement();
    return kResultTrue;
}

tresult PLUGIN_API SingleComponentEffect::canProcessSampleSize(int32 symbolicSampleSize)
{
    return symbolicSampleSize == kSample32 ? kResultTrue : kResultFalse;
}

uint32 PLUGIN_API SingleComponentEffect::getLatencySamples()
{
    return 0;
}

tresult PLUGIN_API SingleComponentEffect::setupProcessing(ProcessSetup& setup)
{
    if (canProcessSampleSize(setup.symbolicSampleSize) != kResultTrue) return kResultFalse;
    processMode = setup.processMode;
    processSetup = setup;
    return kResultOk;
}

tresult PLUGIN_API SingleComponentEffect::setProcessing(TBool /*state*/)
{
    return kNotImplemented;
}

tresult PLUGIN_API SingleComponentEffect::process(ProcessData& /*data*/)
{
    return kNotImplemented;
}

uint32 PLUGIN_API SingleComponentEffect::getTailSamples()
{
    return kNoTail;
}

AudioBus* SingleComponentEffect::addAudioInput(const TChar* name, SpeakerArrangement arr,
                                               BusType busType, int32 flags)
{
    auto* bus = new AudioBus(name, busType, flags, arr);
    audioInputs.push_back(IPtr<Bus>(bus, false));
    return bus;
}

AudioBus* SingleComponentEffect::addAudioOutput(const TChar* name, SpeakerArrangement arr,
                                                BusType busType, int32 flags)
{
    auto* bus = new AudioBus(name, busType, flags, arr);
    audioOutputs.push_back(IPtr<Bus>(bus, false));
    return bus;
}

EventBus* SingleComponentEffect::addEventInput(const TChar* name, int32 channels,
                                               BusType busType, int32 flags)
{
    auto* bus = new EventBus(name, busType, flags, channels);
    eventInputs.push_back(IPtr<Bus>(bus, false));
    return bus;
}

EventBus* SingleComponentEffect::addEventOutput(const TChar* name, int32 channels,
                                                BusType busType, int32 flags)
{
    auto* bus = new EventBus(name, busType, flags, channels);
    eventOutputs.push_back(IPtr<Bus>(bus, false));
    return bus;
}

tresult SingleComponentEffect::removeAudioBusses()
{
    audioInputs.clear();
    audioOutputs.clear();
    return kResultOk;
}

tresult SingleComponentEffect::removeEventBusses()
{
    eventInputs.clear();
    eventOutputs.clear();
    return kResultOk;
}

tresult SingleComponentEffect::removeAllBusses()
{
    removeAudioBusses();
    removeEventBusses();
    return kResultOk;
}

tresult SingleComponentEffect::renameBus(MediaType type, BusDirection dir, int32 index,
                                         const String128 newName)
{
    BusList* list = getBusList(type, dir);
    if (list == nullptr || index < 0 || index >= static_cast<int32>(list->size()))
        return kInvalidArgument;
    list->at(index)->setName(newName);
    return kResultTrue;
}

tresult PLUGIN_API SingleComponentEffect::queryInterface(const TUID iid, void** obj)
{
    if (FUnknownPrivate::iidEqual(iid, IPluginBase::iid)) {
        addRef();
        *obj = static_cast<IPluginBase*>(static_cast<IComponent*>(this));
        return kResultOk;
    }
    QUERY_INTERFACE(iid, obj, IComponent::iid, IComponent)
    QUERY_INTERFACE(iid, obj, IAudioProcessor::iid, IAudioProcessor)
    return EditController::queryInterface(iid, obj);
}

} // namespace Vst
} // namespace Steinberg
