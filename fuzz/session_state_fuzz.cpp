// Feeds arbitrary bytes to the effect's setState, as a host does with a
// project file it did not write. Whatever the bytes, the effect must answer
// without a fault, keep working, and write a state that it reads back.

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "effect/Corvane_SingleComponentEffect.h"
#include "public.sdk/source/common/memorystream.h"

using namespace Steinberg;

namespace {

// One block of silence through the engine, to catch a state that left it
// in a form it cannot run in.
void runBlock(Corvane_SingleComponentEffect& effect)
{
    static float in[64];
    static float out[64];
    float* inputs[1] = {in};
    float* outputs[1] = {out};
    Vst::AudioBusBuffers inBus{};
    inBus.numChannels = 1;
    inBus.channelBuffers32 = inputs;
    Vst::AudioBusBuffers outBus{};
    outBus.numChannels = 1;
    outBus.channelBuffers32 = outputs;
    Vst::ProcessData data{};
    data.numSamples = 64;
    data.symbolicSampleSize = Vst::kSample32;
    data.numInputs = 1;
    data.numOutputs = 1;
    data.inputs = &inBus;
    data.outputs = &outBus;
    effect.process(data);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto* effect = new Corvane_SingleComponentEffect();
    effect->initialize(nullptr);
    Vst::SpeakerArrangement mono = Vst::SpeakerArr::kMono;
    effect->setBusArrangements(&mono, 1, &mono, 1);
    Vst::ProcessSetup setup{Vst::kRealtime, Vst::kSample32, 64, 48000.0};
    effect->setupProcessing(setup);
    effect->setActive(true);

    auto* stream = new MemoryStream(const_cast<uint8_t*>(data), TSize(size));
    effect->setState(stream);
    stream->release();
    runBlock(*effect);

    // Whatever was taken in, what is written must read back.
    auto* saved = new MemoryStream();
    if (effect->getState(saved) != kResultOk) abort();
    saved->seek(0, IBStream::kIBSeekSet, nullptr);
    if (effect->setState(saved) != kResultOk) abort();
    saved->release();
    runBlock(*effect);

    effect->setActive(false);
    effect->terminate();
    effect->release();
    return 0;
}
