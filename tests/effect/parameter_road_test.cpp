// The road of a value into the engine of the built module, as a host drives
// it: values automated together in one block, every automatable parameter
// acting when automated, and blocks that neither allocate nor lock whatever
// they carry.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hostlib/Plugin_Host.h"
#include "support/built_module.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"
#include "support/realtime_counter.h"
#include "support/signals.h"
#include "support/tracked_data.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

using Channels = std::vector<std::vector<float>>;
// Parameters by title, with plain values (list parameters by index).
using Settings = std::vector<std::pair<std::string, double>>;

constexpr double kRate = 48000.0;
constexpr double kPi = 3.14159265358979323846;

// A sung tone: five harmonics falling off as 1/k, a 5.5 Hz vibrato of 30
// cents around `hz`, and a breath of noise; the right channel, if asked
// for, sings `rightHz`.
Channels voice(double hz, double seconds, double rightHz = 0.0)
{
    auto sing = [&](double f0, uint32_t seed) {
        const size_t n = size_t(seconds * kRate);
        std::vector<float> x = test_signals::noise(n, 0.01, seed);
        double phase = 0.0;
        for (size_t i = 0; i < n; ++i) {
            const double t = double(i) / kRate;
            phase += 2.0 * kPi * f0 * std::pow(2.0, 30.0 / 1200.0 * std::sin(2.0 * kPi * 5.5 * t)) / kRate;
            double s = 0.0;
            for (int k = 1; k <= 5; ++k) s += std::sin(double(k) * phase) / double(k);
            x[i] += float(0.25 * s);
        }
        return x;
    };
    Channels in{sing(hz, 1)};
    if (rightHz > 0.0) in.push_back(sing(rightHz, 2));
    return in;
}

class ParameterRoad : public Built_Module_Test {
protected:
    std::unique_ptr<hostlib::Instance> make(int channels, int32 maxBlock = 512)
    {
        auto instance = create();
        if (instance) {
            EXPECT_TRUE(instance->set_channels(channels, channels) && instance->setup(kRate, maxBlock));
        }
        return instance;
    }

    static ParamID idOf(hostlib::Instance& instance, const std::string& title)
    {
        hostlib::Parameter_Info info;
        EXPECT_TRUE(instance.find_parameter(title, info)) << title;
        return info.id;
    }

    // Renders `in` in blocks of 512: `before` set as a host's controls set
    // values before playing, `automated` as changes carried by the first
    // block only (the controller side does not hear of them).
    Channels render(const Channels& in, const Settings& before, const Settings& automated)
    {
        auto instance = make(int(in.size()));
        if (!instance) return {};
        for (const auto& [title, plain] : before) instance->set_plain(idOf(*instance, title), plain);
        EXPECT_TRUE(instance->activate(true));
        // A block of silence takes the values set before.
        std::vector<float> silence(512, 0.0f), sink(512);
        const float* ins[2] = {silence.data(), silence.data()};
        float* outs[2] = {sink.data(), sink.data()};
        instance->process(ins, outs, 512);
        for (const auto& [title, plain] : automated) {
            const ParamID id = idOf(*instance, title);
            instance->queue_change(id, instance->normalized_of(id, plain));
        }
        Channels out;
        EXPECT_EQ(instance->process_all(in, out, 512), kResultOk);
        return out;
    }

};

double largestDifference(const Channels& a, const Channels& b)
{
    double d = 0.0;
    for (size_t c = 0; c < a.size() && c < b.size(); ++c) {
        for (size_t i = 0; i < a[c].size() && i < b[c].size(); ++i) d = std::max(d, double(std::fabs(a[c][i] - b[c][i])));
    }
    return d;
}

} // namespace

TEST_F(ParameterRoad, ParametersAutomatedInOneBlockAllReachTheEngine)
{
    // Each pair makes one setting of the engine. Automated together in one
    // block, they must act as the same values set before playing; the
    // render of the defaults shows that the pair matters for this voice.
    const Settings pairs[] = {
        {{"Retune Speed", 55.0}, {"Humanize", 80.0}},
        {{"Scale", 0.0}, {"Key", 4.0}},                // E major
        {{"Tracking", 0.0}, {"Input type", 2.0}},      // choosy, Low Male
    };
    const Channels in = voice(282.0, 1.0);
    const Channels defaults = render(in, {}, {});
    for (const Settings& pair : pairs) {
        const Channels set = render(in, pair, {});
        const Channels automated = render(in, {}, pair);
        ASSERT_FALSE(set.empty() || automated.empty());
        EXPECT_GT(largestDifference(set, defaults), 1e-3) << pair[0].first << " and " << pair[1].first;
        EXPECT_EQ(largestDifference(automated, set), 0.0) << pair[0].first << " and " << pair[1].first;
    }
}

TEST_F(ParameterRoad, EveryAutomatableParameterActsWhenAutomated)
{
    // For every parameter a host may automate: settings in which it matters
    // and a value to automate it to; the render must differ from the same
    // settings without the automation. A voice with vibrato on C#4 + 30
    // cents; "L/R Ref" on a stereo voice whose right channel sings A3.
    struct Row {
        const char* title;
        Settings context;
        double value;
        bool stereo;
    };
    const Settings vibrato = {{"Vibrato Shape", 1.0}, {"Vibrato Pitch", 60.0}};
    const Row rows[] = {
        {"Scale", {}, 0.0, false},
        {"Key", {{"Scale", 0.0}}, 1.0, false},
        {"Detune", {}, 50.0, false},
        {"Retune Speed", {}, 400.0, false},
        {"Vibrato Shape", {{"Vibrato Pitch", 60.0}}, 1.0, false},
        {"Vibrato Pitch", {{"Vibrato Shape", 1.0}}, 60.0, false},
        {"Vibrato Rate", vibrato, 2.0, false},
        {"Tracking", {}, 0.0, false},
        {"Input type", {}, 4.0, false},
        {"L/R Ref", {}, 1.0, true},
        {"Ignore Vibrato", {}, 1.0, false},
        {"V.Onset Delay", vibrato, 0.0, false},
        {"Vibrato Amplitude", vibrato, 50.0, false},
        {"Vibrato Formant", vibrato, 18.0, false},
        {"Vibrato Variation", vibrato, 100.0, false},
        {"V.Onset Rate", vibrato, 0.0, false},
        {"Humanize", {}, 100.0, false},
        {"Natural Vibrato", {}, -12.0, false},
        {"Use Formants", {{"Throat Length", 130.0}}, 0.0, false},
        {"Throat Length", {}, 130.0, false},
        {"Transpose", {}, 5.0, false},
        {"Bypass", {}, 1.0, false},
    };
    // MIDI Octaves acts on MIDI note entry, which only the panel starts;
    // the effect's own tests automate it there.
    const std::map<std::string, std::string> actsElsewhere = {{"MIDI Octaves", "MIDI note entry"}};

    auto probe = make(1);
    ASSERT_TRUE(probe);
    const Channels mono = voice(282.0, 1.2);
    const Channels stereo = voice(282.0, 1.2, 220.0);
    for (const hostlib::Parameter_Info& p : probe->parameters()) {
        if ((p.flags & ParameterInfo::kCanAutomate) == 0 || actsElsewhere.count(p.title)) continue;
        const Row* row = nullptr;
        for (const Row& r : rows) {
            if (p.title == r.title) row = &r;
        }
        ASSERT_NE(row, nullptr) << "\"" << p.title << "\" is offered for automation: say where it acts";
        const Channels& in = row->stereo ? stereo : mono;
        const Channels still = render(in, row->context, {});
        const Channels automated = render(in, row->context, {{row->title, row->value}});
        EXPECT_GT(largestDifference(automated, still), 1e-3) << "automating \"" << p.title << "\" changes nothing";
    }
}

TEST_F(ParameterRoad, BlocksNeitherAllocateNorLockWhateverTheyCarry)
{
    // Every bus layout, the lowest and highest rates served and one between,
    // block sizes from one sample to the largest; every block automates
    // every automatable parameter and carries notes, and between blocks the
    // controller side posts values as a panel does. Under the sanitizers,
    // which bring their own allocator, nothing is counted, but every value
    // at every rate is still checked for faults. Graph mode tracks pitch and
    // records the audio throughout.
    const std::pair<int, int> layouts[] = {{1, 1}, {1, 2}, {2, 1}, {2, 2}};
    const double rates[] = {8000.0, 96000.0, 384000.0};
    const int32 blocks[] = {1, 37, 4096};
    uint32_t seed = 1;
    auto next = [&seed] {
        seed = seed * 1664525u + 1013904223u;
        return double(seed >> 8) / double(1u << 24);
    };
    for (const auto& [ins, outs] : layouts) {
        for (double rate : rates) {
            for (int32 block : blocks) {
                auto instance = create();
                ASSERT_TRUE(instance);
                ASSERT_TRUE(instance->set_channels(ins, outs) && instance->setup(rate, 4096) && instance->activate(true));
                ASSERT_TRUE(test_tracking::startTracking(*instance, std::string(CORVANE_TEST_TMP) + "/road", true));
                std::vector<ParamID> automatable;
                for (const auto& p : instance->parameters()) {
                    if (p.flags & ParameterInfo::kCanAutomate) automatable.push_back(p.id);
                }
                const auto in = test_signals::sine(size_t(0.2 * rate), 300.0, rate, 0.4);
                std::vector<float> left(static_cast<size_t>(block)), right(static_cast<size_t>(block));
                test_rt::reset();
                for (size_t pos = 0; pos + size_t(block) <= in.size(); pos += size_t(block)) {
                    for (ParamID id : automatable) instance->queue_change(id, next());
                    instance->queue_note(true, int16(40 + pos % 40), 0.8f);
                    instance->queue_note(false, int16(40 + (pos + 7) % 40), 0.0f);
                    instance->controller()->setParamNormalized(automatable[pos % automatable.size()], next());
                    const float* inputs[2] = {in.data() + pos, in.data() + pos};
                    float* outputs[2] = {left.data(), right.data()};
                    test_rt::Audio_Section section;
                    ASSERT_EQ(instance->process(inputs, outputs, block), kResultOk);
                }
                const test_rt::Counts c = test_rt::counts();
                EXPECT_EQ(c.allocations, 0) << ins << " in, " << outs << " out, " << rate << " Hz, blocks of " << block;
                EXPECT_EQ(c.frees, 0) << ins << " in, " << outs << " out, " << rate << " Hz, blocks of " << block;
                EXPECT_EQ(c.locks, 0) << ins << " in, " << outs << " out, " << rate << " Hz, blocks of " << block;
            }
        }
    }
}
