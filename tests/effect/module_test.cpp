// The built module, loaded through its factory by the project's host library,
// used as a host uses it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "dsp/Downsample_DSP.h"
#include "hostlib/Plugin_Host.h"
#include "support/built_module.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/vstspeaker.h"
#include "support/signals.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

constexpr int64_t kEngineLatency = 2660;
using Channels = std::vector<std::vector<float>>;

class ModuleTest : public Built_Module_Test {
protected:
    // With `bypass` the signal takes the whole delay path with no
    // correction, which makes it a pure delay.
    std::unique_ptr<hostlib::Instance> make(int inputs, int outputs, double rate,
                                            int32 max_block = 4096, bool bypass = false)
    {
        auto instance = create();
        if (!instance) return nullptr;
        EXPECT_TRUE(instance->set_channels(inputs, outputs));
        EXPECT_TRUE(instance->setup(rate, max_block));
        EXPECT_TRUE(instance->activate(true));
        if (bypass) {
            EXPECT_TRUE(instance->set_plain(89, 1.0));
        }
        return instance;
    }

};

// Runs `in` through blocks whose sizes cycle through `sizes`; a mono input
// feeds every input channel.
Channels run_blocks(hostlib::Instance& instance, const Channels& in, const std::vector<int32>& sizes)
{
    const size_t length = in[0].size();
    Channels out(size_t(instance.output_channels()), std::vector<float>(length, 0.0f));
    size_t pos = 0;
    for (size_t k = 0; pos < length; ++k) {
        const int32 n = std::min<int32>(sizes[k % sizes.size()], int32(length - pos));
        const float* ins[2] = {in[0].data() + pos, in.back().data() + pos};
        float* outs[2] = {out[0].data() + pos, out.back().data() + pos};
        EXPECT_EQ(instance.process(ins, outs, n), kResultOk);
        pos += size_t(n);
    }
    return out;
}

} // namespace

TEST_F(ModuleTest, FactoryRecordAsAHostScansIt)
{
    EXPECT_EQ(module->factory_vendor(), "Halvorne Audio Technologies");
    const auto classes = module->classes();
    ASSERT_EQ(classes.size(), 1u);
    const auto& c = classes[0];
    EXPECT_EQ(c.name, "Corvane+Time_VST");
    EXPECT_EQ(c.category, "Audio Module Class");
    EXPECT_EQ(c.sub_categories, "Fx|Pitch Shift");
    EXPECT_EQ(c.vendor, "Halvorne Audio Technologies");
    EXPECT_EQ(c.version, "7.6.8.0");
    EXPECT_EQ(c.sdk_version, "VST 3.5.2");

    // The Unicode record carries the same texts.
    IPluginFactory3* factory3 = nullptr;
    ASSERT_EQ(module->factory()->queryInterface(IPluginFactory3::iid, reinterpret_cast<void**>(&factory3)),
              kResultOk);
    PClassInfoW info;
    ASSERT_EQ(factory3->getClassInfoUnicode(0, &info), kResultOk);
    EXPECT_EQ(hostlib::to_utf8(info.name), "Corvane+Time_VST");
    EXPECT_EQ(hostlib::to_utf8(info.vendor), "Halvorne Audio Technologies");
    EXPECT_EQ(std::string(info.subCategories), "Fx|Pitch Shift");
    factory3->release();

    TUID unknown = {};
    void* object = reinterpret_cast<void*>(1);
    EXPECT_NE(module->factory()->createInstance(unknown, IComponent::iid, &object), kResultOk);
    EXPECT_EQ(object, nullptr);
}

TEST_F(ModuleTest, BusesAndArrangements)
{
    auto instance = create();
    ASSERT_TRUE(instance);
    EXPECT_EQ(instance->bus_count(kAudio, kInput), 1);
    EXPECT_EQ(instance->bus_count(kAudio, kOutput), 1);
    EXPECT_EQ(instance->bus_count(kEvent, kInput), 1);
    EXPECT_EQ(instance->bus_count(kEvent, kOutput), 0);
    EXPECT_EQ(instance->bus_name(kEvent, kInput, 0), "MIDI In");

    const struct {
        int in, out;
        const char* in_name;
        const char* out_name;
    } layouts[] = {{2, 2, "Stereo In", "Stereo Out"}, {1, 1, "Mono In", "Mono Out"},
                   {1, 2, "Mono In", "Stereo Out"},   {2, 1, "Stereo In", "Mono Out"},
                   {2, 2, "Stereo In", "Stereo Out"}};
    for (const auto& l : layouts) {
        if (&l != layouts) {
            ASSERT_TRUE(instance->set_channels(l.in, l.out));  // the first is the default
        }
        EXPECT_EQ(instance->bus_name(kAudio, kInput, 0), l.in_name);
        EXPECT_EQ(instance->bus_name(kAudio, kOutput, 0), l.out_name);
        SpeakerArrangement arr = 0;
        EXPECT_EQ(instance->processor()->getBusArrangement(kOutput, 0, arr), kResultTrue);
        EXPECT_EQ(arr, l.out == 2 ? SpeakerArr::kStereo : SpeakerArr::kMono);
    }

    // Other layouts are refused and change nothing.
    IAudioProcessor* p = instance->processor();
    SpeakerArrangement surround = SpeakerArr::k51, stereo = SpeakerArr::kStereo;
    SpeakerArrangement two[2] = {SpeakerArr::kStereo, SpeakerArr::kStereo};
    EXPECT_EQ(p->setBusArrangements(&surround, 1, &stereo, 1), kResultFalse);
    EXPECT_EQ(p->setBusArrangements(&stereo, 1, &surround, 1), kResultFalse);
    EXPECT_EQ(p->setBusArrangements(two, 2, &stereo, 1), kResultFalse);
    EXPECT_EQ(p->setBusArrangements(&stereo, 1, nullptr, 0), kResultFalse);
    EXPECT_EQ(instance->bus_name(kAudio, kInput, 0), "Stereo In");

    EXPECT_EQ(p->canProcessSampleSize(kSample32), kResultTrue);
    EXPECT_EQ(p->canProcessSampleSize(kSample64), kResultFalse);
    ProcessSetup setup64{kRealtime, kSample64, 512, 48000.0};
    EXPECT_EQ(p->setupProcessing(setup64), kResultFalse);

    // The context the block loop reads is declared.
    IProcessContextRequirements* requirements = nullptr;
    ASSERT_EQ(p->queryInterface(IProcessContextRequirements::iid, reinterpret_cast<void**>(&requirements)),
              kResultOk);
    using Needs = IProcessContextRequirements;
    const uint32 needs = Needs::kNeedProjectTimeMusic | Needs::kNeedBarPositionMusic | Needs::kNeedTempo |
                         Needs::kNeedTimeSignature | Needs::kNeedTransportState;
    EXPECT_EQ(requirements->getProcessContextRequirements() & needs, needs);
    requirements->release();
}

TEST_F(ModuleTest, LatencyIsTheEngineDelayInHostSamplesPerInstance)
{
    // Above 48 kHz the engine runs at half the host rate, above 96 kHz at a
    // quarter. All instances live at once: none sees another's rate.
    const double rates[] = {44100, 48000, 88200, 96000, 192000};
    std::vector<std::unique_ptr<hostlib::Instance>> instances;
    for (double rate : rates) instances.push_back(make(2, 2, rate));
    for (size_t i = 0; i < instances.size(); ++i) {
        ASSERT_TRUE(instances[i]);
        const int64_t factor = rates[i] > 96000 ? 4 : rates[i] > 48000 ? 2 : 1;
        EXPECT_EQ(instances[i]->latency(), uint32(kEngineLatency * factor)) << rates[i];
    }
}

TEST_F(ModuleTest, BypassedSignalsComeOutDelayedUnchangedInBlocksOfAnySize)
{
    // Every bus layout; a mono input feeds both outputs, one output takes
    // the first input. Samples beyond full scale leave at 0.9999.
    const struct {
        double rate;
        int in, out;
        int32 max_block;
        std::vector<int32> sizes;
        Channels signal;
    } cases[] = {
        {44100, 1, 1, 4096, {512}, {test_signals::impulse(8000, 123, 0.75f)}},
        {48000, 1, 1, 4096, {512}, {test_signals::impulse(8000, 123, 0.75f)}},
        {48000, 2, 2, 4096, {480},
         {test_signals::noise(30000, 0.9, 21), test_signals::sine(30000, 330.0, 48000.0, 1.2)}},
        {48000, 1, 2, 1000, {1, 0, 1000, 17, 1, 999, 256, 0, 3}, {test_signals::noise(12000, 1.5, 8)}},
        {48000, 2, 1, 4096, {256}, {test_signals::noise(12000, 1.5, 3), test_signals::noise(12000, 0.5, 4)}},
    };
    for (const auto& c : cases) {
        auto instance = make(c.in, c.out, c.rate, c.max_block, true);
        ASSERT_TRUE(instance);
        const Channels out = run_blocks(*instance, c.signal, c.sizes);
        ASSERT_EQ(out.size(), size_t(c.out));
        for (size_t ch = 0; ch < out.size(); ++ch) {
            const auto& x = c.signal[std::min(ch, c.signal.size() - 1)];
            for (size_t i = 0; i < x.size(); ++i) {
                const float expected = i >= size_t(kEngineLatency) ? x[i - kEngineLatency] : 0.0f;
                ASSERT_NEAR(out[ch][i], std::clamp(expected, -0.9999f, 0.9999f), 1e-6)
                    << c.rate << " Hz, " << c.in << " in, channel " << ch << ", sample " << i;
            }
        }
    }
}

TEST_F(ModuleTest, HigherRatesDelayByTheLatencyPlusTheFilters)
{
    // Down and up, each filter delays a 200 Hz tone by its group delay there:
    // 3.17 host samples at 96 kHz, 6.31 at 192 kHz.
    for (double rate : {88200.0, 96000.0, 192000.0}) {
        auto instance = make(1, 1, rate, 4096, true);
        ASSERT_TRUE(instance);
        const auto x = test_signals::sine(size_t(rate * 1.2), 200.0, rate, 0.5);
        Channels out;
        instance->process_all({x}, out, 1024);
        const double reported = instance->latency();
        const double filters = 2.0 * Downsample_DSP::decimation_group_delay(rate, 200.0);
        EXPECT_LT(filters, 13.0);
        const double measured = test_signals::tone_delay(x, out[0], size_t(rate * 0.6),
                                                         size_t(rate / 200.0 * 50), 200.0, rate, reported);
        EXPECT_NEAR(measured, reported + filters, 0.1) << rate;
    }
}

TEST_F(ModuleTest, LongBlocksAreCutWithoutChangingTheOutput)
{
    const Channels in = {test_signals::noise(40000, 0.5, 5), test_signals::noise(40000, 0.5, 6)};
    for (double rate : {48000.0, 96000.0}) {
        Channels small, large;
        make(2, 2, rate, 8192)->process_all(in, small, 64);
        make(2, 2, rate, 8192)->process_all(in, large, 8192);
        for (size_t c = 0; c < 2; ++c)
            for (size_t i = 0; i < in[0].size(); ++i) ASSERT_NEAR(small[c][i], large[c][i], 1e-6) << i;
    }
}

TEST_F(ModuleTest, EmptyCallsTouchNoAudio)
{
    auto instance = make(2, 2, 48000.0);
    ASSERT_TRUE(instance);
    std::vector<float> in0(64, 0.5f), in1(64, 0.5f), out0(64, 3.0f), out1(64, 3.0f);
    float* ins[2] = {in0.data(), in1.data()};
    float* outs[2] = {out0.data(), out1.data()};
    AudioBusBuffers inputBus{}, outputBus{};
    inputBus.numChannels = outputBus.numChannels = 2;
    inputBus.channelBuffers32 = ins;
    outputBus.channelBuffers32 = outs;
    ProcessData data{};
    data.symbolicSampleSize = kSample32;
    data.inputs = &inputBus;
    data.outputs = &outputBus;
    // No inputs, no samples, no outputs: always kResultOk, outputs untouched.
    const int32 cases[][3] = {{0, 1, 64}, {1, 1, 0}, {1, 0, 64}, {0, 0, 0}};
    for (const auto& c : cases) {
        data.numInputs = c[0];
        data.numOutputs = c[1];
        data.numSamples = c[2];
        EXPECT_EQ(instance->processor()->process(data), kResultOk);
        EXPECT_TRUE(out0 == std::vector<float>(64, 3.0f) && out1 == out0)
            << c[0] << " inputs, " << c[1] << " outputs, " << c[2] << " samples";
    }
}

TEST_F(ModuleTest, LifecycleCallsInAnyLegalOrderRepeated)
{
    auto instance = create();
    ASSERT_TRUE(instance);
    IAudioProcessor* p = instance->processor();
    IComponent* c = instance->component();
    ProcessSetup setup{kRealtime, kSample32, 256, 44100.0};
    for (double next : {96000.0, 48000.0, 48000.0}) {
        for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(p->setupProcessing(setup), kResultOk);
        EXPECT_EQ(c->setActive(true), kResultOk);
        for (bool on : {true, true, false}) EXPECT_EQ(p->setProcessing(on), kResultOk);
        for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(c->setActive(false), kResultOk);
        setup.sampleRate = next;
    }
    EXPECT_EQ(p->getLatencySamples(), uint32(kEngineLatency));
    // Processing works after all of that.
    ASSERT_TRUE(instance->setup(48000.0, 256));
    ASSERT_TRUE(instance->activate(true));
    const auto x = test_signals::impulse(4000, 1, 0.5f);
    Channels out;
    instance->process_all({x, x}, out, 256);
    EXPECT_NEAR(out[0][1 + kEngineLatency], 0.5, 1e-6);
}

TEST_F(ModuleTest, OutputIsFlaggedSilentOnlyWhenTheDelayedAudioHasPassed)
{
    auto instance = make(2, 2, 48000.0);
    ASSERT_TRUE(instance);
    std::vector<float> sound = test_signals::noise(512, 0.5, 2), quiet(512, 0.0f), l(512), r(512);
    float* out[2] = {l.data(), r.data()};
    const float* loud[2] = {sound.data(), sound.data()};
    const float* none[2] = {quiet.data(), quiet.data()};
    instance->process(loud, out, 512);
    EXPECT_EQ(instance->output_silence_flags(), 0u);

    // Zeros in are flagged silent by the host on its own. The sound is still
    // in the delay path for 2660 samples and then in the filters' tails: no
    // silence is claimed before that.
    int blocks = 0;
    while (instance->output_silence_flags() == 0 && blocks < 100) {
        instance->process(none, out, 512);
        ++blocks;
    }
    EXPECT_GT(blocks * 512, kEngineLatency);
    EXPECT_LE(blocks * 512, kEngineLatency + 2048 + 512);
    EXPECT_EQ(instance->output_silence_flags(), 3u);
    for (float v : l) EXPECT_LT(std::fabs(v), 1e-15f);

    // Sound again clears the flags at once.
    instance->process(loud, out, 512);
    EXPECT_EQ(instance->output_silence_flags(), 0u);
}

TEST_F(ModuleTest, TheHostSeesTheWholeCatalogue)
{
    auto instance = make(2, 2, 48000.0);
    ASSERT_TRUE(instance);
    const auto list = instance->parameters();
    ASSERT_EQ(list.size(), 90u);
    for (size_t i = 0; i < list.size(); ++i) EXPECT_EQ(list[i].id, ParamID(i));
    EXPECT_TRUE(list[89].flags & ParameterInfo::kIsBypass);
    EXPECT_FALSE(list[19].flags & ParameterInfo::kCanAutomate);
    EXPECT_TRUE(list[1].flags & ParameterInfo::kIsList);

    // Every value's text reads back to the same plain value; the texts of
    // each kind are tested with the kinds (ParameterKinds).
    for (const auto& p : list) {
        const int steps = p.step_count > 0 ? p.step_count : 20;
        for (int k = 0; k <= steps; ++k) {
            const std::string text = instance->text_of(p.id, double(k) / steps);
            String128 wide{};
            hostlib::from_utf8(text, wide, 128);
            ParamValue back = -1.0;
            ASSERT_EQ(instance->controller()->getParamValueByString(p.id, wide, back), kResultOk)
                << p.title << " \"" << text << "\"";
            EXPECT_EQ(instance->text_of(p.id, back), text) << p.title;
        }
    }
}
