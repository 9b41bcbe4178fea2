// The built module under what careless hosts and upstream plug-ins send:
// any sample rate, block size, bus arrangement and process mode, and
// samples that are not finite numbers.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "dsp/Scale_State.h"
#include "effect/Corvane_Parameters.h"
#include "effect/Corvane_SingleComponentEffect.h"
#include "hostlib/Plugin_Host.h"
#include "support/built_module.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/vstspeaker.h"
#include "public.sdk/source/common/memorystream.h"
#include "support/pitch_estimate.h"
#include "support/realtime_counter.h"
#include "support/signals.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

using Channels = std::vector<std::vector<float>>;

// A sung tone at `rate`: five harmonics of 220 Hz falling off as 1/k.
std::vector<float> tone(double seconds, double rate)
{
    std::vector<float> x(size_t(seconds * rate));
    for (size_t i = 0; i < x.size(); ++i) {
        double s = 0.0;
        for (int k = 1; k <= 5; ++k) s += std::sin(2.0 * M_PI * 220.0 * k * double(i) / rate) / k;
        x[i] = float(0.2 * s);
    }
    return x;
}

bool allFinite(const Channels& x)
{
    for (const auto& c : x) {
        for (float v : c) {
            if (!std::isfinite(v)) return false;
        }
    }
    return true;
}

// Of x[begin, begin + length), or to the end.
double rms(const std::vector<float>& x, size_t begin, size_t length = SIZE_MAX)
{
    const size_t end = std::min(x.size(), length == SIZE_MAX ? x.size() : begin + length);
    double s = 0.0;
    for (size_t i = begin; i < end; ++i) s += double(x[i]) * x[i];
    return begin < end ? std::sqrt(s / double(end - begin)) : 0.0;
}

class Robustness : public Built_Module_Test {
protected:
    std::unique_ptr<hostlib::Instance> make(int channels)
    {
        auto instance = create();
        if (instance) {
            EXPECT_TRUE(instance->set_channels(channels, channels));
        }
        return instance;
    }

};

// Calls process directly as a host does, in blocks of `block` samples, with
// every buffer of the buses given; the output's channels.
Channels processRaw(IAudioProcessor* processor, int channels, const std::vector<float>& in, int32 block,
                    int32 mode)
{
    Channels out(size_t(channels), std::vector<float>(in.size(), 0.0f));
    for (size_t pos = 0; pos < in.size(); pos += size_t(block)) {
        const int32 n = int32(std::min(size_t(block), in.size() - pos));
        float* ins[2] = {const_cast<float*>(in.data()) + pos, const_cast<float*>(in.data()) + pos};
        float* outs[2] = {out[0].data() + pos, out.back().data() + pos};
        AudioBusBuffers inputBus{}, outputBus{};
        inputBus.numChannels = outputBus.numChannels = channels;
        inputBus.channelBuffers32 = ins;
        outputBus.channelBuffers32 = outs;
        ProcessData data{};
        data.processMode = mode;
        data.symbolicSampleSize = kSample32;
        data.numSamples = n;
        data.numInputs = data.numOutputs = 1;
        data.inputs = &inputBus;
        data.outputs = &outputBus;
        EXPECT_EQ(processor->process(data), kResultOk);
        if (block == 0) break;
    }
    return out;
}

} // namespace

TEST_F(Robustness, AnySetUpIsServedOrRefusedAndNeverHarmsTheHost)
{
    // Served rates must sound: the tone comes out at about its level. A
    // refused set-up leaves the plug-in as it was, and a host that plays on
    // regardless gets finite audio.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    struct Row {
        double rate;
        int32 maxBlock;
        bool served;
    };
    const Row rows[] = {
        {nan, 512, false},      {-inf, 512, false},     {-48000.0, 512, false}, {0.0, 512, false},
        {1.0, 512, false},      {100.0, 512, false},    {7999.0, 512, false},   {8000.0, 512, true},
        {11025.0, 1, true},     {22050.0, 64, true},    {44100.0, 0, true},     {48000.0, 8192, true},
        {50001.0, 333, true},   {88200.0, 512, true},   {100001.0, 512, true},  {192000.0, 1024, true},
        {384000.0, 512, true},  {384001.0, 512, false}, {768000.0, 512, false}, {2.9e6, 512, false},
        {1e7, 512, false},      {inf, 512, false},      {48000.0, -1, false},
    };
    const int32 modes[] = {kRealtime, kPrefetch, kOffline, 7};
    int which = 0;
    for (const Row& row : rows) {
        for (int channels : {1, 2}) {
            const int32 mode = modes[which++ % 4];
            auto instance = make(channels);
            ASSERT_TRUE(instance);
            IAudioProcessor* processor = instance->processor();
            ProcessSetup setup{mode, kSample32, row.maxBlock, row.rate};
            const tresult answer = processor->setupProcessing(setup);
            EXPECT_EQ(answer == kResultOk, row.served) << row.rate << " Hz, blocks of " << row.maxBlock;
            // A 64-bit set-up is refused at any rate.
            ProcessSetup wide{mode, kSample64, 512, 48000.0};
            EXPECT_NE(processor->setupProcessing(wide), kResultOk);

            ASSERT_EQ(instance->component()->setActive(true), kResultOk);
            processor->setProcessing(true);
            const double rate = row.served ? row.rate : 48000.0;
            // From the latency on, past a scoop of 0.1 s.
            const size_t settled = processor->getLatencySamples() + size_t(0.1 * rate);
            const auto in = tone(double(settled) / rate + 0.2, rate);
            // Blocks of 0, of the promised size and beyond it.
            for (int32 block : {0, row.maxBlock > 0 ? row.maxBlock : 1, 5000}) {
                const Channels out = processRaw(processor, channels, in, block, mode);
                ASSERT_TRUE(allFinite(out)) << row.rate << " Hz, blocks of " << block;
                if (row.served && block > 0) {
                    EXPECT_NEAR(rms(out[0], settled) / rms(in, settled), 1.0, 0.25)
                        << row.rate << " Hz, blocks of " << block;
                }
            }
            processor->setProcessing(false);
            instance->component()->setActive(false);
        }
    }
}

TEST_F(Robustness, BusArrangementsBeyondMonoAndStereoAreRefused)
{
    auto instance = make(1);
    ASSERT_TRUE(instance);
    IAudioProcessor* processor = instance->processor();
    SpeakerArrangement good = SpeakerArr::kStereo;
    const SpeakerArrangement odd[] = {SpeakerArr::kEmpty, SpeakerArr::k51, SpeakerArr::k71CineFullFront,
                                      SpeakerArr::kAmbi1stOrderACN, ~SpeakerArrangement(0)};
    for (SpeakerArrangement a : odd) {
        SpeakerArrangement arrangement = a;
        EXPECT_NE(processor->setBusArrangements(&arrangement, 1, &good, 1), kResultTrue) << a;
        EXPECT_NE(processor->setBusArrangements(&good, 1, &arrangement, 1), kResultTrue) << a;
    }
    EXPECT_NE(processor->setBusArrangements(nullptr, 1, &good, 1), kResultTrue);
    EXPECT_NE(processor->setBusArrangements(&good, 2, &good, 1), kResultTrue);
    EXPECT_NE(processor->setBusArrangements(&good, -1, &good, 1), kResultTrue);
    // Still a working mono effect.
    ASSERT_TRUE(instance->setup(48000.0, 512) && instance->activate(true));
    Channels out;
    ASSERT_EQ(instance->process_all({tone(0.3, 48000.0)}, out, 512), kResultOk);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_GT(rms(out[0], 7200), 0.05);
}

TEST_F(Robustness, NonFiniteSamplesLeaveTheRestOfTheTakeAsIfTheyWereNotThere)
{
    // Bad samples are single NaN, +Inf or -Inf samples or a whole block of
    // them. From the latency plus 50 ms (the longest period the detector
    // takes in) after the last one, every 40 ms of the output sings the clean
    // take's pitch within 1 cent at its level within 0.1 dB. (A gap moves
    // the shifter's read-out by a fraction of a period, so the samples
    // themselves may stay apart.) No block allocates or locks meanwhile.
    const double nan = std::numeric_limits<float>::quiet_NaN();
    const double inf = std::numeric_limits<float>::infinity();
    struct Row {
        double rate;
        double at; // seconds
        size_t count;
        double value;
        const char* toggled; // a switch turned from its default, or none
    };
    const Row rows[] = {
        {48000.0, 0.1013, 1, nan, nullptr},  {48000.0, 0.1013, 1, inf, nullptr},
        {48000.0, 0.5011, 1, -inf, nullptr}, {48000.0, 0.3, 512, nan, nullptr},
        {48000.0, 0.1013, 1, nan, "Use Formants"}, {48000.0, 0.2017, 1, nan, "Bypass"},
        {96000.0, 0.1013, 1, nan, nullptr},  {96000.0, 0.25, 700, inf, nullptr},
        {44100.0, 0.0, 1, nan, nullptr},
    };
    for (const Row& row : rows) {
        const auto clean = tone(2.0, row.rate);
        auto bad = clean;
        const size_t at = size_t(row.at * row.rate);
        for (size_t i = at; i < at + row.count; ++i) bad[i] = float(row.value);
        Channels expected, out;
        const std::pair<const std::vector<float>*, Channels*> runs[] = {{&clean, &expected}, {&bad, &out}};
        for (auto [input, result] : runs) {
            auto instance = make(1);
            ASSERT_TRUE(instance && instance->setup(row.rate, 512));
            if (row.toggled) {
                hostlib::Parameter_Info info;
                ASSERT_TRUE(instance->find_parameter(row.toggled, info)) << row.toggled;
                instance->set_normalized(info.id, 1.0 - instance->normalized(info.id));
            }
            ASSERT_TRUE(instance->activate(true));
            result->assign(1, std::vector<float>(input->size()));
            test_rt::reset();
            for (size_t pos = 0; pos + 512 <= input->size(); pos += 512) {
                const float* ins[1] = {input->data() + pos};
                float* outs[1] = {(*result)[0].data() + pos};
                test_rt::Audio_Section section;
                ASSERT_EQ(instance->process(ins, outs, 512), kResultOk);
            }
            EXPECT_EQ(test_rt::counts().allocations, 0);
            EXPECT_EQ(test_rt::counts().locks, 0);
        }
        ASSERT_TRUE(allFinite(out)) << row.rate << " Hz, at " << row.at << " s";
        const size_t latency = size_t(2660 * (row.rate > 50000.0 ? 2 : 1));
        const size_t window = size_t(0.04 * row.rate);
        const size_t recovered = at + row.count + latency + size_t(0.05 * row.rate);
        for (size_t i = recovered; i + window <= size_t(1.99 * row.rate); i += window) {
            const double hz = test_pitch::estimate_hz(out[0], i, window, row.rate, 100.0, 500.0);
            const double cleanHz = test_pitch::estimate_hz(expected[0], i, window, row.rate, 100.0, 500.0);
            const std::string where = std::to_string(row.rate) + " Hz, bad at " + std::to_string(row.at) +
                                      " s, window at " + std::to_string(double(i) / row.rate) + " s";
            ASSERT_NEAR(test_pitch::cents_between(hz, cleanHz), 0.0, 1.0) << where;
            ASSERT_NEAR(20.0 * std::log10(rms(out[0], i, window) / rms(expected[0], i, window)), 0.0, 0.1) << where;
        }
    }
}

namespace {

int32_t bigEndian32(const std::vector<char>& bytes, size_t at)
{
    uint32_t v = 0;
    for (size_t i = 0; i < 4; ++i) v = v << 8 | uint8_t(bytes[at + i]);
    return int32_t(v);
}

// The settings a saved stream keeps besides the parameters, each within its
// range: undo steps, seconds of recorded audio, cursors, knob style, knob
// mode.
::testing::AssertionResult settingsInRange(const std::vector<char>& saved)
{
    const size_t at = 8 + size_t(bigEndian32(saved, 4)) * 12;
    if (saved.size() < at + 18) return ::testing::AssertionFailure() << "short stream";
    const int32_t undos = bigEndian32(saved, at), seconds = bigEndian32(saved, at + 4);
    const int cursors = uint8_t(saved[at + 8]) << 8 | uint8_t(saved[at + 9]);
    const int32_t style = bigEndian32(saved, at + 10), mode = bigEndian32(saved, at + 14);
    if (undos >= 1 && undos <= 20 && seconds >= 10 && seconds <= 10800 && cursors <= 1 &&
        (style == 0 || style == 4 || style == 5) && mode >= 0 && mode <= 2)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << undos << " undos, " << seconds << " s, cursors " << cursors << ", style "
                                         << style << ", mode " << mode;
}

} // namespace

TEST_F(Robustness, EveryCutOrFlippedSessionLeavesParametersAndEngineAgreeing)
{
    // A session with settings off their defaults, then every cut of it and
    // bytes flipped anywhere. Whether the plug-in takes or refuses the
    // stream, its parameters stay in range and its engine plays what they
    // say: a fresh instance given the session it saves afterwards sounds the
    // same to the last bit. Correction Mode alone changes only with a whole
    // stream, so it is set back before the save after a refusal.
    const ParamID correctionMode = 0;
    auto source = make(1);
    ASSERT_TRUE(source);
    for (auto [title, plain] : {std::make_pair("Scale", 5.0), std::make_pair("Key", 3.0),
                                std::make_pair("Retune Speed", 0.0), std::make_pair("Transpose", 3.0),
                                std::make_pair("Humanize", 40.0), std::make_pair("Input type", 2.0)}) {
        hostlib::Parameter_Info info;
        ASSERT_TRUE(source->find_parameter(title, info)) << title;
        source->set_plain(info.id, plain);
    }
    std::vector<char> saved;
    ASSERT_TRUE(source->get_state(saved));

    std::vector<std::vector<char>> streams;
    for (size_t length = 0; length < saved.size(); length += 7) streams.emplace_back(saved.begin(), saved.begin() + long(length));
    uint32_t seed = 1;
    for (int round = 0; round < 300; ++round) {
        auto corrupt = saved;
        seed = seed * 1664525u + 1013904223u;
        corrupt[seed % corrupt.size()] ^= char(1 + (seed >> 24) % 255);
        streams.push_back(corrupt);
    }
    const auto voice = tone(0.2, 48000.0);
    auto render = [&](hostlib::Instance& instance) {
        Channels out;
        EXPECT_TRUE(instance.setup(48000.0, 512) && instance.activate(true));
        EXPECT_EQ(instance.process_all({voice}, out, 512), kResultOk);
        instance.activate(false);
        return out;
    };
    for (size_t k = 0; k < streams.size(); ++k) {
        auto target = make(1);
        const bool taken = target->set_state(streams[k]);
        for (const auto& p : target->parameters()) {
            const double v = target->normalized(p.id);
            ASSERT_TRUE(v >= 0.0 && v <= 1.0) << "stream " << k << ", parameter " << p.title << ": " << v;
        }
        const Channels played = render(*target);
        if (!taken) target->set_normalized(correctionMode, 0.0);
        std::vector<char> resaved;
        ASSERT_TRUE(target->get_state(resaved));
        ASSERT_TRUE(settingsInRange(resaved)) << "stream " << k;
        auto fresh = make(1);
        ASSERT_TRUE(fresh->set_state(resaved)) << "stream " << k;
        ASSERT_EQ(render(*fresh), played) << "stream " << k << (taken ? ", taken" : ", refused");

        // The panel's scale object, seen inside the effect, shows the
        // parameters' scale, key and detune.
        auto* effect = new Corvane_SingleComponentEffect();
        ASSERT_EQ(effect->initialize(nullptr), kResultOk);
        MemoryStream stream(streams[k].data(), TSize(streams[k].size()));
        effect->setState(&stream);
        auto plain = [effect](ParamID id) {
            Parameter* p = effect->getParameterObject(id);
            return int(p->toPlain(p->getNormalized()));
        };
        const Scale_State& shown = effect->getScaleState();
        EXPECT_EQ(std::make_tuple(int(shown.scale), int(shown.key), int(shown.detune)),
                  std::make_tuple(plain(corvane::kScale), plain(corvane::kKey), plain(corvane::kDetune)))
            << "stream " << k;
        effect->terminate();
        effect->release();
    }
}
