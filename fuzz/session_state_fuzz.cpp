// Feeds arbitrary bytes to the effect's setState, as a host does with a
// project file it did not write. Whatever the bytes, taken or refused, the
// effect must answer without a fault, keep every value within its range,
// show in its scale object the scale, key and detune its parameters say,
// play what its parameters say (a fresh effect given the state it writes
// afterwards sounds the same to the last bit), and read that state back.

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "effect/Corvane_Parameters.h"
#include "effect/Corvane_SingleComponentEffect.h"
#include "public.sdk/source/common/memorystream.h"

using namespace Steinberg;

namespace {

constexpr int kLength = 4096;

// A sung tone of 4096 samples through the engine, block by block.
std::vector<float> play(Corvane_SingleComponentEffect& effect)
{
    static std::vector<float> in = [] {
        std::vector<float> x(kLength);
        for (int i = 0; i < kLength; ++i) x[size_t(i)] = float(0.3 * std::sin(i * 0.03) + 0.1 * std::sin(i * 0.09));
        return x;
    }();
    std::vector<float> out(kLength);
    for (int pos = 0; pos < kLength; pos += 64) {
        float* inputs[1] = {in.data() + pos};
        float* outputs[1] = {out.data() + pos};
        Vst::AudioBusBuffers inBus{}, outBus{};
        inBus.numChannels = outBus.numChannels = 1;
        inBus.channelBuffers32 = inputs;
        outBus.channelBuffers32 = outputs;
        Vst::ProcessData data{};
        data.numSamples = 64;
        data.symbolicSampleSize = Vst::kSample32;
        data.numInputs = data.numOutputs = 1;
        data.inputs = &inBus;
        data.outputs = &outBus;
        effect.process(data);
    }
    return out;
}

Corvane_SingleComponentEffect* makeEffect()
{
    auto* effect = new Corvane_SingleComponentEffect();
    effect->initialize(nullptr);
    Vst::SpeakerArrangement mono = Vst::SpeakerArr::kMono;
    effect->setBusArrangements(&mono, 1, &mono, 1);
    Vst::ProcessSetup setup{Vst::kRealtime, Vst::kSample32, 64, 48000.0};
    effect->setupProcessing(setup);
    return effect;
}

void dispose(Corvane_SingleComponentEffect* effect)
{
    effect->setActive(false);
    effect->terminate();
    effect->release();
}

int plainOf(Corvane_SingleComponentEffect& effect, Vst::ParamID id)
{
    Vst::Parameter* p = effect.getParameterObject(id);
    return int(p->toPlain(p->getNormalized()));
}

void check(bool condition)
{
    if (!condition) abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Corvane_SingleComponentEffect* effect = makeEffect();
    auto* stream = new MemoryStream(const_cast<uint8_t*>(data), TSize(size));
    const bool taken = effect->setState(stream) == kResultOk;
    stream->release();

    for (int32 i = 0; i < effect->getParameterCount(); ++i) {
        Vst::ParameterInfo info{};
        effect->getParameterInfo(i, info);
        const double v = effect->getParamNormalized(info.id);
        check(v >= 0.0 && v <= 1.0);
    }
    check(effect->getMaxUndos() >= 1 && effect->getMaxUndos() <= 20);
    const int32 style = effect->getKnobStyle();
    check(style == 0 || style == 4 || style == 5);
    check(Corvane_SingleComponentEffect::getKnobMode() >= 0 && Corvane_SingleComponentEffect::getKnobMode() <= 2);
    const Scale_State& shown = effect->getScaleState();
    check(shown.scale == plainOf(*effect, corvane::kScale) && shown.key == plainOf(*effect, corvane::kKey) &&
          shown.detune == plainOf(*effect, corvane::kDetune));

    effect->setActive(true);
    const std::vector<float> played = play(*effect);
    // Only a whole stream switches the mode; after a refusal the mode is the
    // one the effect started in.
    if (!taken) effect->setParamNormalized(corvane::kCorrectionMode, 0.0);
    auto* saved = new MemoryStream();
    check(effect->getState(saved) == kResultOk);

    Corvane_SingleComponentEffect* fresh = makeEffect();
    saved->seek(0, IBStream::kIBSeekSet, nullptr);
    check(fresh->setState(saved) == kResultOk);
    fresh->setActive(true);
    check(play(*fresh) == played);

    saved->seek(0, IBStream::kIBSeekSet, nullptr);
    check(effect->setState(saved) == kResultOk);
    saved->release();
    dispose(fresh);
    dispose(effect);
    return 0;
}
