#include "Common_VST3/VST3_SingleComponentEffect.h"

#include <algorithm>

#include "pluginterfaces/base/ustring.h"
#include "pluginterfaces/vst/ivstevents.h"
#include "pluginterfaces/vst/vstspeaker.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

VST3_SingleComponentEffect::VST3_SingleComponentEffect() = default;

VST3_SingleComponentEffect::~VST3_SingleComponentEffect()
{
    stopTimer();
}

tresult PLUGIN_API VST3_SingleComponentEffect::initialize(FUnknown* context)
{
    const tresult result = SingleComponentEffect::initialize(context);
    if (result != kResultOk) return result;
    addAudioInput(STR16("Stereo In"), SpeakerArr::kStereo);
    addAudioOutput(STR16("Stereo Out"), SpeakerArr::kStereo);
    addEventInput(STR16("MIDI In"), 1);
    stereoInput = stereoOutput = true;
    return kResultOk;
}

void VST3_SingleComponentEffect::indexParameters()
{
    // One slot per id of either set; the applied values start at the
    // parameters' present values, which the engine is set to at set-up.
    ParamID last = 0;
    for (auto* set : {&parameters, &privateParameters}) {
        for (int32 i = 0; i < set->getParameterCount(); ++i)
            last = std::max(last, set->getParameterByIndex(i)->getInfo().id);
    }
    parameterById.assign(size_t(last) + 1, nullptr);
    appliedValues.assign(size_t(last) + 1, 0.0);
    changedIds.assign(size_t(last) / 64 + 1, 0);
    mailbox.resize(size_t(last) + 1);
    for (auto* set : {&parameters, &privateParameters}) {
        for (int32 i = 0; i < set->getParameterCount(); ++i) {
            auto* parameter = FCast<VST3_BaseParameter>(set->getParameterByIndex(i));
            if (parameter == nullptr) continue;
            const ParamID id = parameter->getInfo().id;
            parameterById[id] = parameter;
            appliedValues[id] = parameter->getNormalized();
        }
    }
}

tresult PLUGIN_API VST3_SingleComponentEffect::terminate()
{
    stopTimer();
    audioOwner.store(false, std::memory_order_release);
    parameterById.clear();
    appliedValues.clear();
    changedIds.clear();
    mailbox.resize(0);
    privateParameters.removeAll();
    return SingleComponentEffect::terminate();
}

void VST3_SingleComponentEffect::nameBuses()
{
    if (audioInputs.size() > 0) {
        audioInputs.at(0)->setName(stereoInput ? STR16("Stereo In") : STR16("Mono In"));
    }
    if (audioOutputs.size() > 0) {
        audioOutputs.at(0)->setName(stereoOutput ? STR16("Stereo Out") : STR16("Mono Out"));
    }
}

tresult PLUGIN_API VST3_SingleComponentEffect::setBusArrangements(SpeakerArrangement* inputs,
                                                                  int32 numIns,
                                                                  SpeakerArrangement* outputs,
                                                                  int32 numOuts)
{
    if (numIns != 1 || numOuts != 1 || inputs == nullptr || outputs == nullptr) return kResultFalse;
    auto acceptable = [](SpeakerArrangement arr) {
        return arr == SpeakerArr::kMono || arr == SpeakerArr::kStereo;
    };
    if (!acceptable(inputs[0]) || !acceptable(outputs[0])) return kResultFalse;
    const tresult result = SingleComponentEffect::setBusArrangements(inputs, numIns, outputs, numOuts);
    if (result != kResultTrue) return result;
    stereoInput = inputs[0] == SpeakerArr::kStereo;
    stereoOutput = outputs[0] == SpeakerArr::kStereo;
    nameBuses();
    return kResultTrue;
}

tresult PLUGIN_API VST3_SingleComponentEffect::setProcessing(TBool /*state*/)
{
    return kResultOk;
}

tresult PLUGIN_API VST3_SingleComponentEffect::setActive(TBool state)
{
    if (state) {
        // Values posted while inactive are applied already; whatever waits
        // now goes with the engine to the audio thread.
        applyValues(nullptr);
        audioOwner.store(true, std::memory_order_release);
    } else {
        // The host has stopped calling process: the engine comes back to
        // this thread with the values the last blocks did not take.
        audioOwner.store(false, std::memory_order_release);
        applyValues(nullptr);
    }
    return SingleComponentEffect::setActive(state);
}

tresult PLUGIN_API VST3_SingleComponentEffect::process(ProcessData& data) noexcept
{
    processParameterChanges(data.inputParameterChanges);
    processEvents(data.inputEvents);
    if (data.numSamples >= 1 && data.numInputs >= 1 && data.numOutputs >= 1 &&
        data.inputs != nullptr && data.outputs != nullptr) {
        processAudio(data);
    }
    processOutputParameterChanges(data.outputParameterChanges);
    return kResultOk;
}

Parameter* VST3_SingleComponentEffect::getParameterObject(ParamID id)
{
    if (Parameter* parameter = parameters.getParameter(id)) return parameter;
    return privateParameters.getParameter(id);
}

tresult VST3_SingleComponentEffect::beginEdit(ParamID id)
{
    if (parameters.getParameter(id) == nullptr) return kResultFalse;
    return SingleComponentEffect::beginEdit(id);
}

tresult VST3_SingleComponentEffect::performEdit(ParamID id, ParamValue valueNormalized)
{
    if (parameters.getParameter(id) == nullptr) return kResultFalse;
    return SingleComponentEffect::performEdit(id, valueNormalized);
}

tresult VST3_SingleComponentEffect::endEdit(ParamID id)
{
    if (parameters.getParameter(id) == nullptr) return kResultFalse;
    return SingleComponentEffect::endEdit(id);
}

uint32 PLUGIN_API VST3_SingleComponentEffect::getProcessContextRequirements()
{
    return 0;
}

void VST3_SingleComponentEffect::onTimer(Timer* /*timer*/)
{
    onTimer();
}

bool VST3_SingleComponentEffect::isPrivateParameter(const ParamID id)
{
    return privateParameters.getParameter(id) != nullptr;
}

void VST3_SingleComponentEffect::didOpen(VSTGUI::VST3Editor* editor)
{
    editorInstance = editor;
    editorFrame = editor ? editor->getFrame() : nullptr;
    startTimer(timerPeriodMilliseconds);
}

void VST3_SingleComponentEffect::willClose(VSTGUI::VST3Editor* editor)
{
    if (editor != editorInstance) return;
    stopTimer();
    stopAutoRepeat();
    editorInstance = nullptr;
    editorFrame = nullptr;
}

void VST3_SingleComponentEffect::onTimer()
{
    ++timerTick;
    if (repeatingTag >= 0 && timerTick >= repeatNextTick) {
        repeatNextTick = timerTick + repeatInterval;
        autoRepeat(repeatingTag);
    }
}

VST3_BaseParameter* VST3_SingleComponentEffect::baseParameter(ParamID id)
{
    return FCast<VST3_BaseParameter>(parameters.getParameter(id));
}

void VST3_SingleComponentEffect::postValue(ParamID id, ParamValue value)
{
    mailbox.post(id, value);
    if (!audioOwnsEngine()) applyValues(nullptr);
}

void VST3_SingleComponentEffect::applyAllParameters()
{
    for (size_t id = 0; id < parameterById.size(); ++id) {
        if (parameterById[id]) mailbox.post(id, parameterById[id]->getNormalized());
    }
    // Every row runs, also where the value stands: the engine may be new to
    // this rate.
    for (size_t id = 0; id < parameterById.size(); ++id) appliedValues[id] = -1.0;
    applyValues(nullptr);
}

void VST3_SingleComponentEffect::takeValue(ParamID id, ParamValue value) noexcept
{
    appliedValues[id] = value;
    changedIds[id / 64] |= uint64_t(1) << (id % 64);
}

void VST3_SingleComponentEffect::applyValues(IParameterChanges* changes) noexcept
{
    mailbox.takeAll([this](size_t id, double value) {
        if (parameterById[id] && value != appliedValues[id]) takeValue(ParamID(id), value);
    });
    if (changes != nullptr) {
        // A change smaller than this is taken for the applied value read back.
        constexpr double threshold = 0.00001 - 1e-12;
        const int32 count = changes->getParameterCount();
        for (int32 q = 0; q < count; ++q) {
            IParamValueQueue* queue = changes->getParameterData(q);
            if (queue == nullptr) continue;
            const int32 points = queue->getPointCount();
            if (points < 1) continue;
            // Only the last point counts, from the start of the block.
            int32 sampleOffset = 0;
            ParamValue value = 0.0;
            if (queue->getPoint(points - 1, sampleOffset, value) != kResultOk) continue;
            const ParamID id = queue->getParameterId();
            // Automation reaches the host's parameters only.
            if (id >= parameterById.size() || parameterById[id] == nullptr ||
                parameters.getParameter(id) == nullptr)
                continue;
            const ParamValue applied = appliedValues[id];
            if (value - applied >= threshold || applied - value >= threshold) takeValue(id, value);
        }
    }
    bool any = false;
    for (size_t w = 0; w < changedIds.size(); ++w) {
        uint64_t bits = changedIds[w];
        changedIds[w] = 0;
        while (bits != 0) {
            const ParamID id = ParamID(w * 64 + size_t(__builtin_ctzll(bits)));
            bits &= bits - 1;
            applyParameter(parameterById[id], id, 0, appliedValues[id]);
            any = true;
        }
    }
    if (any) resolveJoinedSettings();
}

void VST3_SingleComponentEffect::processParameterChanges(IParameterChanges* changes) noexcept
{
    applyValues(changes);
}

void VST3_SingleComponentEffect::processEvents(IEventList* /*events*/) noexcept {}

void VST3_SingleComponentEffect::processOutputParameterChanges(IParameterChanges* /*changes*/) noexcept {}

void VST3_SingleComponentEffect::setParameterPlain(ParamID id, ParamValue plain)
{
    VST3_BaseParameter* parameter = baseParameter(id);
    if (parameter == nullptr) return;
    parameter->setNormalized(parameter->toNormalized(plain));
    // The engine follows also while an editor is open: a control moved by
    // the program shows the value but sends no change of its own.
    postValue(id, parameter->getNormalized());
}

tresult PLUGIN_API VST3_SingleComponentEffect::setParamNormalized(ParamID id, ParamValue value)
{
    auto* parameter = FCast<VST3_BaseParameter>(getParameterObject(id));
    if (parameter == nullptr) return kResultFalse;
    parameter->setNormalized(value);
    postValue(id, parameter->getNormalized());
    return kResultOk;
}

void VST3_SingleComponentEffect::startAutoRepeat(int32 tag, int32 firstDelay, int32 interval)
{
    repeatingTag = tag;
    repeatFirstDelay = firstDelay;
    repeatInterval = interval < 1 ? 1 : interval;
    repeatNextTick = timerTick + firstDelay;
}

void VST3_SingleComponentEffect::stopAutoRepeat()
{
    repeatingTag = -1;
    repeatNextTick = -1;
}

void VST3_SingleComponentEffect::autoRepeat(int32 /*tag*/) {}

void VST3_SingleComponentEffect::parameterChanged(Parameter* /*parameter*/) {}

tresult PLUGIN_API VST3_SingleComponentEffect::getState(IBStream* state)
{
    if (state == nullptr) return kResultFalse;
    IBStreamer streamer(state, kLittleEndian);
    streamer.setByteOrder(kBigEndian);
    if (!streamer.writeInt32(writtenStateVersion())) return kResultFalse;
    return writeState(streamer) ? kResultOk : kResultFalse;
}

tresult PLUGIN_API VST3_SingleComponentEffect::setState(IBStream* state)
{
    if (state == nullptr) return kResultFalse;
    IBStreamer streamer(state, kLittleEndian);
    streamer.setByteOrder(kBigEndian);
    int32 version = 0;
    if (!streamer.readInt32(version) || version != stateVersion) return kResultFalse;
    return readParameters(streamer) ? kResultOk : kResultFalse;
}

bool VST3_SingleComponentEffect::writeState(IBStreamer& streamer)
{
    const int32 count = parameters.getParameterCount();
    if (!streamer.writeInt32(count)) return false;
    for (int32 i = 0; i < count; ++i) {
        Parameter* parameter = parameters.getParameterByIndex(i);
        if (!streamer.writeInt32(int32(parameter->getInfo().id)) ||
            !streamer.writeDouble(parameter->getNormalized()))
            return false;
    }
    return true;
}

bool VST3_SingleComponentEffect::readParameters(IBStreamer& streamer)
{
    int32 count = 0;
    if (!streamer.readInt32(count) || count < 0) return false;
    for (int32 i = 0; i < count; ++i) {
        int32 id = 0;
        double value = 0.0;
        if (!streamer.readInt32(id) || !streamer.readDouble(value)) return false;
        // A value from elsewhere than this writer is refused item by item:
        // an unknown id is passed over, a value outside 0..1 ends the read.
        if (!(value >= 0.0 && value <= 1.0)) return false;
        if (VST3_BaseParameter* parameter = baseParameter(ParamID(id))) {
            // The stored value itself, not its plain rounding, so that a
            // state reads back exactly; the engine follows as for a program
            // value, with the editor open or not.
            parameter->setNormalized(value);
            postValue(ParamID(id), parameter->getNormalized());
        }
    }
    return true;
}

tresult PLUGIN_API VST3_SingleComponentEffect::queryInterface(const TUID iid, void** obj)
{
    QUERY_INTERFACE(iid, obj, IProcessContextRequirements::iid, IProcessContextRequirements)
    return SingleComponentEffect::queryInterface(iid, obj);
}
