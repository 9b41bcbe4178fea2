// The host library: its own interface objects on their own, then the parts of
// driving the built module that belong to the host side (loading, creating,
// transport, block checks, parameters by title and text, tear-down).

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "hostlib/Plugin_Host.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "support/tool_run.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

const std::string kBundle = CORVANE_BUNDLE_PATH;
const std::string kLibrary = kBundle + "/Contents/x86_64-linux/Corvane+Time_VST.so";

// A queue's points, as many as it answers for, in its order.
std::vector<std::pair<int32, ParamValue>> points_of(IParamValueQueue* queue)
{
    std::vector<std::pair<int32, ParamValue>> points;
    std::pair<int32, ParamValue> p;
    while (queue->getPoint(int32(points.size()), p.first, p.second) == kResultOk) points.push_back(p);
    EXPECT_EQ(int32(points.size()), queue->getPointCount());
    return points;
}

} // namespace

TEST(HostText, Utf16AndUtf8WholeCharacters)
{
    // size: the units the target holds with its end; fits: all of it went in.
    // Malformed input becomes one U+FFFD per bad byte.
    const struct { const char* utf8; int32 size; bool fits; std::u16string utf16; bool round_trips; } cases[] = {
        {"", 128, true, u"", true},
        {"Speed", 128, true, u"Speed", true},
        {"\xC2\xB5s", 128, true, u"\u00B5s", true},
        {"\xE2\x82\xAC", 128, true, u"\u20AC", true},
        {"a\xF0\x9D\x84\x9E", 128, true, u"a\U0001D11E", true},
        {"abcde", 4, false, u"abc", false},
        {"ab\xF0\x9D\x84\x9E", 4, false, u"ab", false},   // a pair goes whole or not at all
        {"x\xC3", 128, true, u"x\uFFFD", false},          // cut sequence
        {"\xC0\xAF", 128, true, u"\uFFFD\uFFFD", false},  // overlong form
        {"\x80y", 128, true, u"\uFFFDy", false},          // stray continuation
        {"\xED\xA0\x80", 128, true, u"\uFFFD", false},    // encoded surrogate
    };
    for (const auto& c : cases) {
        String128 wide{};
        const bool fits = hostlib::from_utf8(c.utf8, wide, c.size);
        if (c.round_trips || !c.fits) {
            EXPECT_EQ(fits, c.fits) << c.utf8;
        }
        EXPECT_EQ(std::u16string(wide), c.utf16) << c.utf8;
        if (c.round_trips) {
            EXPECT_EQ(hostlib::to_utf8(wide), c.utf8);
        }
    }
    const TChar lone[] = {'a', 0xD834, 'b', 0};
    EXPECT_EQ(hostlib::to_utf8(lone), "a\xEF\xBF\xBD" "b");
    EXPECT_EQ(hostlib::to_utf8(nullptr), "");
}

TEST(HostInterfaces, ParameterChangesKeepOffsetOrderWithinTheirCapacity)
{
    hostlib::Parameter_Changes changes(2, 3);  // two parameters, three points each
    const struct { ParamID id; int32 offset; double value; bool taken; } adds[] = {
        {5, 10, 0.5, true}, {5, 2, 0.25, true}, {7, 0, 1.0, true},
        {5, 10, 0.75, true},                     // same offset: replaces 0.5
        {5, 6, 0.1, true},  {5, 8, 0.2, false},  // a fourth point of 5
        {9, 0, 0.3, false}, {7, -1, 0.3, false}, // a third parameter; a negative offset
    };
    for (const auto& a : adds) EXPECT_EQ(changes.add(a.id, a.offset, a.value), a.taken) << a.id << " " << a.offset;

    ASSERT_EQ(changes.getParameterCount(), 2);
    IParamValueQueue* five = changes.getParameterData(0);
    IParamValueQueue* seven = changes.getParameterData(1);
    ASSERT_TRUE(five && seven);
    EXPECT_EQ(five->getParameterId(), 5u);
    EXPECT_EQ(seven->getParameterId(), 7u);
    EXPECT_EQ(points_of(five), (std::vector<std::pair<int32, ParamValue>>{{2, 0.25}, {6, 0.1}, {10, 0.75}}));
    EXPECT_EQ(changes.getParameterData(2), nullptr);
    EXPECT_EQ(changes.getParameterData(-1), nullptr);
    int32 index = -1;
    EXPECT_EQ(changes.addParameterData(7, index), seven) << "the queue of an id present";
    EXPECT_EQ(index, 1);
    ParamValue value = -1.0;
    EXPECT_TRUE(changes.last_value(5, value));
    EXPECT_EQ(value, 0.75);
    EXPECT_FALSE(changes.last_value(9, value));

    // Cleared, the storage serves other parameters.
    changes.clear();
    EXPECT_EQ(changes.getParameterCount(), 0);
    EXPECT_FALSE(changes.last_value(5, value));
    EXPECT_TRUE(changes.add(9, 4, 0.5));
    ASSERT_EQ(changes.getParameterCount(), 1);
    EXPECT_EQ(changes.getParameterData(0)->getParameterId(), 9u);
    EXPECT_EQ(points_of(changes.getParameterData(0)), (std::vector<std::pair<int32, ParamValue>>{{4, 0.5}}));
}

TEST(HostInterfaces, EventListKeepsTimeOrderWithinItsCapacity)
{
    hostlib::Event_List events(4);
    Event e{};
    e.type = Event::kNoteOnEvent;
    for (const auto& [offset, pitch] : {std::pair<int32, int16>{30, 60}, {10, 62}, {10, 64}, {0, 65}}) {
        e.sampleOffset = offset;
        e.noteOn.pitch = pitch;
        EXPECT_EQ(events.addEvent(e), kResultOk);
    }
    EXPECT_EQ(events.addEvent(e), kResultFalse);
    // By offset; the two at 10 in the order they came.
    std::vector<int16> order;
    for (int32 i = 0; events.getEvent(i, e) == kResultOk; ++i) order.push_back(e.noteOn.pitch);
    EXPECT_EQ(order, (std::vector<int16>{65, 62, 64, 60}));
    events.clear();
    EXPECT_EQ(events.getEventCount(), 0);
}

TEST(HostInterfaces, ComponentHandlerCarriesEditsToTheNextBlock)
{
    hostlib::Parameter_Changes changes;
    hostlib::Component_Handler handler(&changes);
    EXPECT_EQ(handler.beginEdit(3), kResultOk);
    EXPECT_EQ(handler.open_edits(), 1);
    EXPECT_EQ(handler.performEdit(3, 0.2), kResultOk);
    EXPECT_EQ(handler.performEdit(3, 0.4), kResultOk);
    EXPECT_EQ(handler.endEdit(3), kResultOk);
    EXPECT_EQ(handler.open_edits(), 0);
    // One point at the block's start holding the last edit.
    ASSERT_EQ(changes.getParameterCount(), 1);
    EXPECT_EQ(changes.getParameterData(0)->getParameterId(), 3u);
    EXPECT_EQ(points_of(changes.getParameterData(0)), (std::vector<std::pair<int32, ParamValue>>{{0, 0.4}}));

    EXPECT_EQ(handler.restartComponent(kLatencyChanged), kResultOk);
    EXPECT_EQ(handler.restartComponent(kParamValuesChanged), kResultOk);
    EXPECT_EQ(handler.take_restart_flags(), kLatencyChanged | kParamValuesChanged);
    EXPECT_EQ(handler.take_restart_flags(), 0);

    String128 name{};
    EXPECT_EQ(hostlib::Host_Application().getName(name), kResultOk);
    EXPECT_EQ(hostlib::to_utf8(name), hostlib::Host_Application::kName);
}

TEST(HostTransport, PositionsFollowSamplesTempoAndSignature)
{
    // 48 kHz at 120 quarters a minute: 24000 samples to a quarter, 4/4.
    hostlib::Transport t;
    const auto& c = t.context();
    for (uint32 flag : {ProcessContext::kPlaying, ProcessContext::kTempoValid,
                        ProcessContext::kProjectTimeMusicValid, ProcessContext::kBarPositionValid})
        EXPECT_TRUE(c.state & flag) << flag;

    const struct {
        const char* what;
        std::function<void()> act;
        int64 samples;     // project time afterwards
        int64 continuous;  // continuous time afterwards, -1 unchecked
        double quarters;   // musical position afterwards
        double bar;        // start of its bar
    } steps[] = {
        {"blocks of 500", [&] { for (int i = 0; i < 192; ++i) t.advance(500); }, 96000, 96000, 4.0, 4.0},
        // 3/4 from quarter 4: bars start at 4, 7, 10...
        {"3/4, 1.5 quarters", [&] { t.set_time_signature(3, 4); t.advance(36000); }, 132000, 132000, 5.5, 4.0},
        {"2 more", [&] { t.advance(48000); }, 180000, 180000, 7.5, 7.0},
        // Stopped, the project stands while the continuous time goes on.
        {"stopped", [&] { t.set_playing(false); t.advance(1000); }, 180000, 181000, 7.5, 7.0},
        // At 60 a minute a quarter is 48000 samples from here on.
        {"60 bpm", [&] { t.set_playing(true); t.set_tempo(60.0); t.advance(48000); }, 228000, 229000, 8.5, 7.0},
        {"half", [&] { t.advance(24000); }, 252000, 253000, 9.0, 7.0},
        {"one", [&] { t.advance(48000); }, 300000, 301000, 10.0, 10.0},
        // Located: counted from 0 at the current tempo and signature.
        {"located", [&] { t.locate(48000 * 5); }, 240000, -1, 5.0, 3.0},
        // A new rate keeps the musical position and changes its pace.
        {"96 kHz", [&] { t.set_sample_rate(96000.0); t.advance(96000); }, 336000, -1, 6.0, 6.0},
    };
    for (const auto& s : steps) {
        s.act();
        EXPECT_EQ(c.projectTimeSamples, s.samples) << s.what;
        if (s.continuous >= 0) {
            EXPECT_EQ(c.continousTimeSamples, s.continuous) << s.what;
        }
        EXPECT_NEAR(c.projectTimeMusic, s.quarters, 1e-12) << s.what;
        EXPECT_NEAR(c.barPositionMusic, s.bar, 1e-12) << s.what;
        EXPECT_EQ(bool(c.state & ProcessContext::kPlaying), std::string(s.what) != "stopped") << s.what;
    }
    EXPECT_DOUBLE_EQ(t.bar_length(), 3.0);
}

TEST(HostModule, LoadsByBundleOrLibraryAndFindsClassesOrSaysWhyNot)
{
    const std::string folder = test_tool::empty_test_folder(std::string(CORVANE_TEST_TMP) + "/hostlib");
    const std::string empty = folder + "/Empty.vst3";  // a bundle without its library
    std::filesystem::create_directory(empty);
    const std::string text = folder + "/not-a-library.so";
    std::ofstream(text) << "not a library\n";
    // A shared object that is no VST3 module: the C library.
    Dl_info info{};
    ASSERT_NE(::dladdr(reinterpret_cast<void*>(&std::fopen), &info), 0);
    const std::string libc = info.dli_fname;

    // A path and how the error starts, empty for a module that loads.
    const std::pair<std::string, std::string> cases[] = {
        {kBundle, ""},
        {kBundle + "/", ""},
        {kLibrary, ""},
        {"/nonexistent/Nothing.vst3", "no plug-in module at /nonexistent/Nothing.vst3"},
        {empty, "no plug-in module at " + empty + "/Contents/x86_64-linux/Empty.so"},
        {text, "cannot load " + text + ": "},
        {libc, libc + " is not a VST3 module: it exports no GetPluginFactory"},
    };
    for (const auto& [path, message] : cases) {
        std::string error;
        const auto module = hostlib::Module::load(path, error);
        EXPECT_EQ(bool(module), message.empty()) << path;
        EXPECT_EQ(error.rfind(message, 0), 0u) << error;
        if (!module) continue;
        EXPECT_EQ(module->library_path(), kLibrary);
        hostlib::Class_Info found;
        EXPECT_TRUE(module->find_class("", found));
        EXPECT_EQ(found.name, "Corvane+Time_VST");
        EXPECT_TRUE(module->find_class("Corvane+Time_VST", found));
        EXPECT_FALSE(module->find_class("Corvane", found));
    }
}

namespace {

class HostInstance : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        module = hostlib::Module::load(kBundle, error);
        ASSERT_TRUE(module) << error;
    }

    // stage 0: created; 1: channels and set-up; 2: active.
    std::unique_ptr<hostlib::Instance> make(int stage = 2, int channels = 2, double rate = 48000.0,
                                            int32 block = 512, bool offline = false)
    {
        std::string error;
        auto instance = hostlib::Instance::create(*module, "", error);
        EXPECT_TRUE(instance) << error;
        if (!instance || stage < 1) return instance;
        EXPECT_TRUE(instance->set_channels(channels, channels));
        EXPECT_TRUE(instance->setup(rate, block, offline));
        EXPECT_TRUE(stage < 2 || instance->activate(true));
        return instance;
    }

    std::unique_ptr<hostlib::Module> module;
};

} // namespace

TEST_F(HostInstance, CreatedByNameOrAsTheFirstEffectKeepingTheLastLayoutTaken)
{
    std::string error;
    for (const char* name : {"", "Corvane+Time_VST"}) {
        auto instance = hostlib::Instance::create(*module, name, error);
        ASSERT_TRUE(instance) << error;
        // A single-component effect: one object is all three.
        EXPECT_FALSE(instance->has_separate_controller());
        ASSERT_TRUE(instance->controller() && instance->processor());
        FUnknown* objects[2] = {};
        instance->component()->queryInterface(FUnknown::iid, reinterpret_cast<void**>(&objects[0]));
        instance->controller()->queryInterface(FUnknown::iid, reinterpret_cast<void**>(&objects[1]));
        EXPECT_EQ(objects[0], objects[1]);
        for (FUnknown* object : objects) object->release();
        EXPECT_FALSE(instance->is_active());
        EXPECT_EQ(instance->input_channels(), 2);
        EXPECT_EQ(instance->output_channels(), 2);
        EXPECT_EQ(instance->bus_name(kAudio, kInput, 1), "");
        // Layouts the effect cannot take are refused and leave the last one.
        ASSERT_TRUE(instance->set_channels(2, 1));
        for (const auto& [in, out] : {std::make_pair(3, 2), std::make_pair(2, 0)}) {
            EXPECT_FALSE(instance->set_channels(in, out)) << in << " " << out;
            EXPECT_EQ(instance->bus_name(kAudio, kInput, 0), "Stereo In");
            EXPECT_EQ(instance->bus_name(kAudio, kOutput, 0), "Mono Out");
        }
    }
    EXPECT_FALSE(hostlib::Instance::create(*module, "Corvane", error));
    EXPECT_EQ(error, "the module holds no class \"Corvane\"");
}

TEST_F(HostInstance, BlocksAreCheckedAndCarryTheTransportAndChangesWhileActiveAreTaken)
{
    auto instance = make(2, 1, 48000.0, 256);
    ASSERT_TRUE(instance);
    // Longer blocks asked of process_all are cut to the set-up maximum.
    std::vector<float> x(6000, 0.0f);
    x[77] = 0.5f;
    std::vector<std::vector<float>> out;
    EXPECT_EQ(instance->process_all({x}, out, 300), kResultOk);
    ASSERT_EQ(out.size(), 1u);
    ASSERT_EQ(out[0].size(), x.size());
    for (size_t i = 0; i < x.size(); ++i) ASSERT_NEAR(out[0][i], i == 77 + instance->latency() ? 0.5 : 0.0, 1e-6) << i;
    EXPECT_EQ(instance->context().projectTimeSamples, int64(x.size()));

    // A block without context leaves the transport where it was.
    std::vector<float> in(256, 0.0f), outBlock(256, 0.0f);
    const float* ins[1] = {in.data()};
    float* outs[1] = {outBlock.data()};
    EXPECT_EQ(instance->process(ins, outs, 256, false), kResultOk);
    EXPECT_EQ(instance->context().projectTimeSamples, int64(x.size()));
    EXPECT_EQ(instance->process(ins, outs, 0), kResultOk);

    // Blocks beyond the set-up maximum or while inactive are not sent.
    EXPECT_EQ(instance->process(ins, outs, 257), kInvalidArgument);
    EXPECT_EQ(instance->process(ins, outs, -1), kInvalidArgument);
    instance->activate(false);
    EXPECT_EQ(instance->process(ins, outs, 256), kNotInitialized);
    ASSERT_TRUE(instance->activate(true));
    EXPECT_TRUE(instance->queue_note(true, 60, 0.8f, 10));
    EXPECT_EQ(instance->process(ins, outs, 256), kResultOk);

    // A new rate or layout while active is taken, the effect reactivated
    // around it. Above 48 kHz the engine runs at half the host rate: its 2660
    // samples of delay are 5320 host samples there.
    for (const auto& [rate, latency] : {std::pair<double, uint32>{96000.0, 5320}, {44100.0, 2660}}) {
        ASSERT_TRUE(instance->setup(rate, 512));
        EXPECT_TRUE(instance->is_active());
        EXPECT_EQ(instance->latency(), latency);
        EXPECT_EQ(instance->context().sampleRate, rate);
    }
    ASSERT_TRUE(instance->set_channels(1, 2));
    EXPECT_TRUE(instance->is_active());
    ASSERT_EQ(instance->process_all({x}, out, 500), kResultOk);
    ASSERT_EQ(out.size(), 2u);
    for (const auto& channel : out) EXPECT_NEAR(channel[77 + 2660], 0.5, 1e-6) << "the mono input feeds both";
}

TEST_F(HostInstance, TornDownFromAnyStage)
{
    // Created, set up, active, mid-stream: each is undone in order, and the
    // module is left and unloaded after all of them.
    for (int stage = 0; stage < 4; ++stage) {
        auto instance = make(std::min(stage, 2), 2, 44100.0, 128, stage == 3);
        ASSERT_TRUE(instance);
        std::vector<std::vector<float>> out;
        EXPECT_TRUE(stage < 3 || instance->process_all({std::vector<float>(128, 0.1f)}, out, 128) == kResultOk);
    }
    module.reset();
    std::string error;
    module = hostlib::Module::load(kBundle, error);
    ASSERT_TRUE(module) << error;
    EXPECT_TRUE(make());
}
