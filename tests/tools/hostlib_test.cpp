// The host library: its own interface objects on their own, then the built
// module loaded and driven through it.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "hostlib/Plugin_Host.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

const std::string kBundle = CORVANE_BUNDLE_PATH;
const std::string kTmp = CORVANE_TEST_TMP;

std::vector<char16_t> units_of(const TChar* text)
{
    std::vector<char16_t> units;
    for (size_t i = 0; text[i] != 0; ++i) units.push_back(char16_t(text[i]));
    return units;
}

// A folder of this test program's own under the test directory.
std::string own_folder(const std::string& name)
{
    const std::string parent = kTmp + "/hostlib";
    ::mkdir(parent.c_str(), 0777);
    const std::string path = parent + "/" + name;
    ::mkdir(path.c_str(), 0777);
    return path;
}

} // namespace

TEST(HostText, Utf16AndUtf8WholeCharacters)
{
    const struct {
        const char* utf8;
        std::vector<char16_t> utf16;
    } cases[] = {
        {"", {}},
        {"Retune Speed", {'R', 'e', 't', 'u', 'n', 'e', ' ', 'S', 'p', 'e', 'e', 'd'}},
        {"\xC2\xB5s", {0x00B5, 's'}},                  // micro sign, two bytes
        {"\xE2\x82\xAC", {0x20AC}},                    // euro sign, three bytes
        {"a\xF0\x9D\x84\x9E", {'a', 0xD834, 0xDD1E}},  // U+1D11E, a surrogate pair
    };
    for (const auto& c : cases) {
        String128 wide{};
        EXPECT_TRUE(hostlib::from_utf8(c.utf8, wide, 128)) << c.utf8;
        EXPECT_EQ(units_of(wide), c.utf16) << c.utf8;
        EXPECT_EQ(hostlib::to_utf8(wide), c.utf8);
    }

    // Cut at whole characters, always terminated: "abcde" in 4 units keeps
    // three and the zero; a pair that does not fit whole is left out.
    TChar small[4];
    EXPECT_FALSE(hostlib::from_utf8("abcde", small, 4));
    EXPECT_EQ(units_of(small), (std::vector<char16_t>{'a', 'b', 'c'}));
    EXPECT_FALSE(hostlib::from_utf8("ab\xF0\x9D\x84\x9E", small, 4));
    EXPECT_EQ(units_of(small), (std::vector<char16_t>{'a', 'b'}));

    // Malformed input becomes U+FFFD, one per bad byte: a cut sequence, an
    // overlong form, a stray continuation byte, an encoded surrogate.
    const struct {
        const char* utf8;
        std::vector<char16_t> utf16;
    } malformed[] = {
        {"x\xC3", {'x', 0xFFFD}},
        {"\xC0\xAF", {0xFFFD, 0xFFFD}},
        {"\x80y", {0xFFFD, 'y'}},
        {"\xED\xA0\x80", {0xFFFD}},
    };
    for (const auto& c : malformed) {
        String128 wide{};
        hostlib::from_utf8(c.utf8, wide, 128);
        EXPECT_EQ(units_of(wide), c.utf16);
    }
    const TChar lone[] = {'a', 0xD834, 'b', 0};
    EXPECT_EQ(hostlib::to_utf8(lone), "a\xEF\xBF\xBD" "b");
    EXPECT_EQ(hostlib::to_utf8(nullptr), "");
}

TEST(HostInterfaces, ParameterChangesKeepOffsetOrderWithinTheirCapacity)
{
    hostlib::Parameter_Changes changes(2, 3);
    const struct {
        ParamID id;
        int32 offset;
        double value;
        bool taken;
    } adds[] = {
        {5, 10, 0.5, true}, {5, 2, 0.25, true},  {7, 0, 1.0, true},
        {5, 10, 0.75, true},                      // same offset: replaces 0.5
        {5, 6, 0.1, true},  {5, 8, 0.2, false},  // the fourth point of 5 does not fit
        {9, 0, 0.3, false},                       // a third parameter does not fit
        {7, -1, 0.3, false},                      // no negative offsets
    };
    for (const auto& a : adds) EXPECT_EQ(changes.add(a.id, a.offset, a.value), a.taken) << a.id << " " << a.offset;

    ASSERT_EQ(changes.getParameterCount(), 2);
    IParamValueQueue* five = changes.getParameterData(0);
    IParamValueQueue* seven = changes.getParameterData(1);
    ASSERT_TRUE(five && seven);
    EXPECT_EQ(five->getParameterId(), 5u);
    EXPECT_EQ(seven->getParameterId(), 7u);
    EXPECT_EQ(changes.getParameterData(2), nullptr);
    EXPECT_EQ(changes.getParameterData(-1), nullptr);

    const std::pair<int32, double> expected[] = {{2, 0.25}, {6, 0.1}, {10, 0.75}};
    ASSERT_EQ(five->getPointCount(), 3);
    for (int32 i = 0; i < 3; ++i) {
        int32 offset = -1;
        ParamValue value = -1.0;
        ASSERT_EQ(five->getPoint(i, offset, value), kResultOk);
        EXPECT_EQ(offset, expected[i].first);
        EXPECT_EQ(value, expected[i].second);
    }
    int32 offset = 0;
    ParamValue value = 0.0;
    EXPECT_EQ(five->getPoint(3, offset, value), kResultFalse);
    EXPECT_TRUE(changes.last_value(5, value));
    EXPECT_EQ(value, 0.75);
    EXPECT_FALSE(changes.last_value(9, value));

    // The plug-in's way in: the same queue for an id already present.
    int32 index = -1;
    EXPECT_EQ(changes.addParameterData(7, index), seven);
    EXPECT_EQ(index, 1);

    // Cleared, the storage serves other parameters.
    changes.clear();
    EXPECT_EQ(changes.getParameterCount(), 0);
    EXPECT_FALSE(changes.last_value(5, value));
    EXPECT_TRUE(changes.add(9, 4, 0.5));
    ASSERT_EQ(changes.getParameterCount(), 1);
    EXPECT_EQ(changes.getParameterData(0)->getParameterId(), 9u);
    EXPECT_EQ(changes.getParameterData(0)->getPointCount(), 1);
}

TEST(HostInterfaces, EventListKeepsTimeOrderWithinItsCapacity)
{
    hostlib::Event_List events(4);
    const struct {
        int32 offset;
        int16 pitch;
    } adds[] = {{30, 60}, {10, 62}, {10, 64}, {0, 65}};
    for (const auto& a : adds) {
        Event e{};
        e.type = Event::kNoteOnEvent;
        e.sampleOffset = a.offset;
        e.noteOn.pitch = a.pitch;
        EXPECT_EQ(events.addEvent(e), kResultOk);
    }
    Event extra{};
    EXPECT_EQ(events.addEvent(extra), kResultFalse);
    ASSERT_EQ(events.getEventCount(), 4);
    // By offset; the two at 10 in the order they came.
    const int16 order[] = {65, 62, 64, 60};
    for (int32 i = 0; i < 4; ++i) {
        Event e{};
        ASSERT_EQ(events.getEvent(i, e), kResultOk);
        EXPECT_EQ(e.noteOn.pitch, order[i]) << i;
    }
    Event e{};
    EXPECT_EQ(events.getEvent(4, e), kResultFalse);
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
    EXPECT_EQ(changes.getParameterData(0)->getPointCount(), 1);
    ParamValue value = 0.0;
    EXPECT_TRUE(changes.last_value(3, value));
    EXPECT_EQ(value, 0.4);

    EXPECT_EQ(handler.restartComponent(kLatencyChanged), kResultOk);
    EXPECT_EQ(handler.restartComponent(kParamValuesChanged), kResultOk);
    EXPECT_EQ(handler.take_restart_flags(), kLatencyChanged | kParamValuesChanged);
    EXPECT_EQ(handler.take_restart_flags(), 0);

    hostlib::Host_Application host;
    String128 name{};
    EXPECT_EQ(host.getName(name), kResultOk);
    EXPECT_EQ(hostlib::to_utf8(name), "corvane host");
    // Messages for connected components come from the host.
    TUID messageClass;
    IMessage::iid.toTUID(messageClass);
    IMessage* message = nullptr;
    ASSERT_EQ(host.createInstance(messageClass, messageClass, reinterpret_cast<void**>(&message)),
              kResultTrue);
    ASSERT_NE(message, nullptr);
    message->setMessageID("ping");
    EXPECT_STREQ(message->getMessageID(), "ping");
    message->release();
}

TEST(HostTransport, PositionsFollowSamplesTempoAndSignature)
{
    // 48 kHz at 120 quarter notes a minute: 24000 samples to a quarter.
    hostlib::Transport t;
    const auto& c = t.context();
    EXPECT_TRUE(c.state & ProcessContext::kPlaying);
    EXPECT_TRUE(c.state & ProcessContext::kTempoValid);
    EXPECT_TRUE(c.state & ProcessContext::kProjectTimeMusicValid);
    EXPECT_TRUE(c.state & ProcessContext::kBarPositionValid);

    // Blocks of 500 up to 96000 samples land exactly on the second bar.
    for (int i = 0; i < 192; ++i) t.advance(500);
    EXPECT_EQ(c.projectTimeSamples, 96000);
    EXPECT_DOUBLE_EQ(c.projectTimeMusic, 4.0);
    EXPECT_DOUBLE_EQ(c.barPositionMusic, 4.0);

    struct Step {
        const char* what;
        int32 advance;
        int64 samples;        // project time afterwards
        int64 continuous;     // continuous time afterwards
        double quarters;      // musical position afterwards
        double bar;           // start of its bar
    };
    // 3/4 from quarter 4: bars of 3 quarters start at 4, 7, 10...
    t.set_time_signature(3, 4);
    EXPECT_DOUBLE_EQ(t.bar_length(), 3.0);
    const Step threeFour[] = {
        {"1.5 quarters", 36000, 132000, 132000, 5.5, 4.0},
        {"2 more", 48000, 180000, 180000, 7.5, 7.0},
    };
    for (const auto& s : threeFour) {
        t.advance(s.advance);
        EXPECT_EQ(c.projectTimeSamples, s.samples) << s.what;
        EXPECT_EQ(c.continousTimeSamples, s.continuous) << s.what;
        EXPECT_NEAR(c.projectTimeMusic, s.quarters, 1e-12) << s.what;
        EXPECT_NEAR(c.barPositionMusic, s.bar, 1e-12) << s.what;
    }

    // Stopped, the project stands while the continuous time goes on.
    t.set_playing(false);
    EXPECT_FALSE(c.state & ProcessContext::kPlaying);
    t.advance(1000);
    EXPECT_EQ(c.projectTimeSamples, 180000);
    EXPECT_EQ(c.continousTimeSamples, 181000);
    EXPECT_NEAR(c.projectTimeMusic, 7.5, 1e-12);

    // At 60 quarters a minute a quarter is 48000 samples, from here on.
    t.set_playing(true);
    t.set_tempo(60.0);
    t.advance(48000);
    EXPECT_NEAR(c.projectTimeMusic, 8.5, 1e-12);
    EXPECT_NEAR(c.barPositionMusic, 7.0, 1e-12);
    t.advance(24000);
    EXPECT_NEAR(c.projectTimeMusic, 9.0, 1e-12);
    t.advance(48000);
    EXPECT_NEAR(c.barPositionMusic, 10.0, 1e-12);

    // Located, the position is counted from 0 at the current tempo, bars
    // of the current signature from 0.
    t.locate(48000 * 5);
    EXPECT_EQ(c.projectTimeSamples, 240000);
    EXPECT_NEAR(c.projectTimeMusic, 5.0, 1e-12);
    EXPECT_NEAR(c.barPositionMusic, 3.0, 1e-12);

    // A new rate keeps the musical position and changes its pace.
    t.set_sample_rate(96000.0);
    t.advance(96000);
    EXPECT_NEAR(c.projectTimeMusic, 6.0, 1e-12);
    EXPECT_EQ(c.sampleRate, 96000.0);
}

TEST(HostModule, ListsTheFactoryAndItsClasses)
{
    std::string error;
    // The bundle folder, with or without a final slash, or its shared object.
    const std::string library = kBundle + "/Contents/x86_64-linux/Corvane+Time_VST.so";
    for (const std::string& path : {kBundle, kBundle + "/", library}) {
        auto module = hostlib::Module::load(path, error);
        ASSERT_TRUE(module) << path << ": " << error;
        EXPECT_EQ(module->library_path(), path == library ? library : kBundle + "/Contents/x86_64-linux/Corvane+Time_VST.so");
        EXPECT_EQ(module->factory_vendor(), "Halvorne Audio Technologies");
        const auto classes = module->classes();
        ASSERT_EQ(classes.size(), 1u);
        EXPECT_EQ(classes[0].name, "Corvane+Time_VST");
        EXPECT_EQ(classes[0].category, "Audio Module Class");
        EXPECT_EQ(classes[0].sub_categories, "Fx|Pitch Shift");
        EXPECT_EQ(classes[0].vendor, "Halvorne Audio Technologies");
        EXPECT_EQ(classes[0].version, "7.6.8.0");
        EXPECT_EQ(classes[0].sdk_version, "VST 3.5.2");

        hostlib::Class_Info found;
        EXPECT_TRUE(module->find_class("", found));
        EXPECT_EQ(found.name, "Corvane+Time_VST");
        EXPECT_TRUE(module->find_class("Corvane+Time_VST", found));
        EXPECT_FALSE(module->find_class("Corvane", found));
    }
}

TEST(HostModule, LoadFailuresSayWhy)
{
    // A bundle folder without its shared object.
    const std::string empty = own_folder("Empty.vst3");
    // Not a shared object at all.
    const std::string text = own_folder("text") + "/not-a-library.so";
    if (FILE* f = std::fopen(text.c_str(), "w")) {
        std::fputs("not a library\n", f);
        std::fclose(f);
    }
    // A shared object that is no VST3 module: the C library.
    Dl_info info{};
    ASSERT_NE(::dladdr(reinterpret_cast<void*>(&std::fopen), &info), 0);
    const std::string libc = info.dli_fname;

    const struct {
        std::string path;
        std::string message;
    } cases[] = {
        {"/nonexistent/Nothing.vst3", "no plug-in module at /nonexistent/Nothing.vst3"},
        {empty, "no plug-in module at " + empty + "/Contents/x86_64-linux/Empty.so"},
        {text, "cannot load " + text + ": "},
        {libc, libc + " is not a VST3 module: it exports no GetPluginFactory"},
    };
    for (const auto& c : cases) {
        std::string error;
        EXPECT_FALSE(hostlib::Module::load(c.path, error)) << c.path;
        EXPECT_EQ(error.rfind(c.message, 0), 0u) << error;
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

    std::unique_ptr<hostlib::Instance> make(int channels = 2, double rate = 48000.0, int32 block = 512)
    {
        std::string error;
        auto instance = hostlib::Instance::create(*module, "", error);
        EXPECT_TRUE(instance) << error;
        if (!instance) return nullptr;
        EXPECT_TRUE(instance->set_channels(channels, channels));
        EXPECT_TRUE(instance->setup(rate, block));
        EXPECT_TRUE(instance->activate(true));
        return instance;
    }

    std::unique_ptr<hostlib::Module> module;
};

} // namespace

TEST_F(HostInstance, CreatedByNameOrAsTheFirstEffect)
{
    std::string error;
    for (const char* name : {"", "Corvane+Time_VST"}) {
        auto instance = hostlib::Instance::create(*module, name, error);
        ASSERT_TRUE(instance) << error;
        // A single-component effect: one object is all three.
        EXPECT_FALSE(instance->has_separate_controller());
        ASSERT_NE(instance->controller(), nullptr);
        EXPECT_NE(instance->processor(), nullptr);
        FUnknown* a = nullptr;
        FUnknown* b = nullptr;
        instance->component()->queryInterface(FUnknown::iid, reinterpret_cast<void**>(&a));
        instance->controller()->queryInterface(FUnknown::iid, reinterpret_cast<void**>(&b));
        EXPECT_EQ(a, b);
        a->release();
        b->release();
        EXPECT_FALSE(instance->is_active());
    }
    EXPECT_FALSE(hostlib::Instance::create(*module, "Corvane", error));
    EXPECT_EQ(error, "the module holds no class \"Corvane\"");
}

TEST_F(HostInstance, BusesNamedByTheirLayout)
{
    std::string error;
    auto instance = hostlib::Instance::create(*module, "", error);
    ASSERT_TRUE(instance) << error;
    // The layout the effect starts with is read from it.
    EXPECT_EQ(instance->input_channels(), 2);
    EXPECT_EQ(instance->output_channels(), 2);
    EXPECT_EQ(instance->bus_count(kAudio, kInput), 1);
    EXPECT_EQ(instance->bus_count(kAudio, kOutput), 1);
    EXPECT_EQ(instance->bus_count(kEvent, kInput), 1);
    EXPECT_EQ(instance->bus_name(kEvent, kInput, 0), "MIDI In");
    EXPECT_EQ(instance->bus_name(kAudio, kInput, 1), "");

    const struct {
        int in, out;
        bool taken;
        const char* in_name;
        const char* out_name;
    } layouts[] = {
        {1, 1, true, "Mono In", "Mono Out"},     {1, 2, true, "Mono In", "Stereo Out"},
        {2, 1, true, "Stereo In", "Mono Out"},   {3, 2, false, "Stereo In", "Mono Out"},
        {2, 0, false, "Stereo In", "Mono Out"},  {2, 2, true, "Stereo In", "Stereo Out"},
    };
    for (const auto& l : layouts) {
        EXPECT_EQ(instance->set_channels(l.in, l.out), l.taken) << l.in << " " << l.out;
        EXPECT_EQ(instance->bus_name(kAudio, kInput, 0), l.in_name);
        EXPECT_EQ(instance->bus_name(kAudio, kOutput, 0), l.out_name);
    }
    EXPECT_EQ(instance->input_channels(), 2);
    EXPECT_EQ(instance->output_channels(), 2);
}

TEST_F(HostInstance, BlocksRunWithTheTransportAndComeOutDelayed)
{
    auto instance = make(1, 48000.0, 256);
    ASSERT_TRUE(instance);
    const uint32 latency = instance->latency();
    EXPECT_EQ(latency, 2660u);

    // An impulse comes out `latency` samples later, in blocks of any size.
    const size_t length = 6000;
    std::vector<float> x(length, 0.0f);
    x[77] = 0.5f;
    std::vector<std::vector<float>> out;
    EXPECT_EQ(instance->process_all({x}, out, 300), kResultOk);  // cut to blocks of 256
    ASSERT_EQ(out.size(), 1u);
    ASSERT_EQ(out[0].size(), length);
    for (size_t i = 0; i < length; ++i) ASSERT_NEAR(out[0][i], i == 77 + latency ? 0.5 : 0.0, 1e-6) << i;
    EXPECT_EQ(instance->context().projectTimeSamples, int64(length));
    EXPECT_EQ(instance->context().sampleRate, 48000.0);

    // A block without context leaves the transport where it was.
    std::vector<float> in(256, 0.0f), outBlock(256, 0.0f);
    const float* ins[1] = {in.data()};
    float* outs[1] = {outBlock.data()};
    EXPECT_EQ(instance->process(ins, outs, 256, false), kResultOk);
    EXPECT_EQ(instance->context().projectTimeSamples, int64(length));
    EXPECT_EQ(instance->process(ins, outs, 0), kResultOk);

    // Blocks beyond the set-up maximum or while inactive are not sent.
    EXPECT_EQ(instance->process(ins, outs, 257), kInvalidArgument);
    EXPECT_EQ(instance->process(ins, outs, -1), kInvalidArgument);
    instance->activate(false);
    EXPECT_EQ(instance->process(ins, outs, 256), kNotInitialized);

    // Queued notes and changes are taken with a block.
    ASSERT_TRUE(instance->activate(true));
    EXPECT_TRUE(instance->queue_note(true, 60, 0.8f, 10));
    EXPECT_TRUE(instance->queue_note(false, 60, 0.0f, 200));
    EXPECT_TRUE(instance->queue_change(4, 0.5, 0));
    EXPECT_EQ(instance->process(ins, outs, 256), kResultOk);
}

TEST_F(HostInstance, ChangesOfLayoutAndRateWhileActiveReactivate)
{
    auto instance = make(2, 48000.0, 512);
    ASSERT_TRUE(instance);
    // The engine runs at half the host rate above 48 kHz, so its 2660
    // samples of delay are 5320 host samples there.
    const struct {
        double rate;
        uint32 latency;
    } rates[] = {{96000.0, 5320}, {44100.0, 2660}};
    for (const auto& r : rates) {
        ASSERT_TRUE(instance->setup(r.rate, 512));
        EXPECT_TRUE(instance->is_active());
        EXPECT_EQ(instance->latency(), r.latency);
        EXPECT_EQ(instance->sample_rate(), r.rate);
        EXPECT_EQ(instance->context().sampleRate, r.rate);
    }
    ASSERT_TRUE(instance->set_channels(1, 2));
    EXPECT_TRUE(instance->is_active());
    std::vector<float> x(4000, 0.0f), l(4000), r(4000);
    x[5] = 0.25f;
    for (size_t pos = 0; pos < x.size(); pos += 500) {
        const float* ins[2] = {x.data() + pos, nullptr};
        float* outs[2] = {l.data() + pos, r.data() + pos};
        ASSERT_EQ(instance->process(ins, outs, 500), kResultOk);
    }
    EXPECT_NEAR(l[5 + 2660], 0.25, 1e-6);
    EXPECT_NEAR(r[5 + 2660], 0.25, 1e-6);
}

TEST_F(HostInstance, SilentInputIsFlaggedAndSoIsTheOutputOnceDrained)
{
    auto instance = make(2, 48000.0, 512);
    ASSERT_TRUE(instance);
    std::vector<float> sound(512, 0.25f), quiet(512, 0.0f), l(512), r(512);
    const float* loud[2] = {sound.data(), sound.data()};
    const float* none[2] = {quiet.data(), quiet.data()};
    float* outs[2] = {l.data(), r.data()};
    instance->process(loud, outs, 512);
    EXPECT_EQ(instance->output_silence_flags(), 0u);
    // Zeros are flagged by the host without being told: the effect can then
    // flag its output once the sound has left its 2660-sample delay.
    int blocks = 0;
    while (instance->output_silence_flags() == 0 && blocks < 100) {
        instance->process(none, outs, 512);
        ++blocks;
    }
    EXPECT_GT(blocks * 512, 2660);
    EXPECT_LT(blocks, 100);
    EXPECT_EQ(instance->output_silence_flags(), 3u);
    instance->process(loud, outs, 512);
    EXPECT_EQ(instance->output_silence_flags(), 0u);
}

TEST_F(HostInstance, ParametersSetByPlainValueOrListTextReadBack)
{
    auto instance = make();
    ASSERT_TRUE(instance);
    hostlib::Parameter_Info info;
    EXPECT_FALSE(instance->find_parameter("No Such Knob", info));

    // Ranged parameters by plain value. Detune is linear over -100..100
    // cents, so -50 sits at a quarter of the range.
    const struct {
        const char* title;
        double low, high;
        double plain;
    } ranged[] = {{"Detune", -100.0, 100.0, -50.0}, {"Retune Speed", 0.0, 400.0, 100.0}};
    for (const auto& p : ranged) {
        ASSERT_TRUE(instance->find_parameter(p.title, info)) << p.title;
        EXPECT_FALSE(info.is_list()) << p.title;
        EXPECT_DOUBLE_EQ(info.plain_min(), p.low) << p.title;
        EXPECT_DOUBLE_EQ(info.plain_max(), p.high) << p.title;
        EXPECT_TRUE(instance->set_plain(info.id, p.plain)) << p.title;
        EXPECT_NEAR(instance->plain(info.id), p.plain, 1e-9 * (p.high - p.low)) << p.title;
        EXPECT_NEAR(instance->normalized_of(info.id, instance->plain(info.id)), instance->normalized(info.id), 1e-12);
    }
    ASSERT_TRUE(instance->find_parameter("Detune", info));
    EXPECT_NEAR(instance->normalized(info.id), 0.25, 1e-12);

    // List parameters by text: item k of n + 1 sits at k / n.
    const struct {
        const char* title;
        int32 steps;
        const char* text;
        int item;
    } lists[] = {{"Vibrato Shape", 3, "Square", 2},
                 {"Vibrato Shape", 3, "(No Vibrato)", 0},
                 {"Input type", 4, "Low Male", 2},
                 {"Input type", 4, "Bass Inst", 4}};
    for (const auto& p : lists) {
        ASSERT_TRUE(instance->find_parameter(p.title, info)) << p.title;
        EXPECT_TRUE(info.is_list()) << p.title;
        EXPECT_EQ(info.step_count, p.steps) << p.title;
        ASSERT_TRUE(instance->set_text(info.id, p.text)) << p.text;
        EXPECT_NEAR(instance->normalized(info.id), double(p.item) / p.steps, 1e-12) << p.text;
        EXPECT_NEAR(instance->plain(info.id), p.item, 1e-12) << p.text;
        EXPECT_EQ(instance->text(info.id), p.text);
    }
    // A text the list does not hold changes nothing.
    ASSERT_TRUE(instance->find_parameter("Vibrato Shape", info));
    ASSERT_TRUE(instance->set_text(info.id, "Sine Wave"));
    EXPECT_FALSE(instance->set_text(info.id, "Triangle"));
    EXPECT_EQ(instance->text(info.id), "Sine Wave");

    // The changes ride with the next block.
    std::vector<float> in(64, 0.0f), out(64);
    const float* ins[2] = {in.data(), in.data()};
    float* outs[2] = {out.data(), out.data()};
    EXPECT_EQ(instance->process(ins, outs, 64), kResultOk);
    EXPECT_EQ(instance->text(info.id), "Sine Wave");
}

TEST_F(HostInstance, StateRoundTripsThroughBytes)
{
    auto instance = make();
    ASSERT_TRUE(instance);
    hostlib::Parameter_Info detune, shape;
    ASSERT_TRUE(instance->find_parameter("Detune", detune));
    ASSERT_TRUE(instance->find_parameter("Vibrato Shape", shape));

    std::vector<char> before;
    ASSERT_TRUE(instance->get_state(before));
    EXPECT_FALSE(before.empty());
    ASSERT_TRUE(instance->set_plain(detune.id, -50.0));
    ASSERT_TRUE(instance->set_text(shape.id, "Square"));
    std::vector<char> after;
    ASSERT_TRUE(instance->get_state(after));
    EXPECT_NE(before, after);

    ASSERT_TRUE(instance->set_state(before));
    EXPECT_NEAR(instance->plain(detune.id), detune.default_plain, 1e-9);
    EXPECT_EQ(instance->text(shape.id), instance->text_of(shape.id, shape.default_normalized));

    // Another instance takes the state over.
    auto other = make();
    ASSERT_TRUE(other);
    ASSERT_TRUE(other->set_state(after));
    EXPECT_NEAR(other->plain(detune.id), -50.0, 1e-9);
    EXPECT_EQ(other->text(shape.id), "Square");
    std::vector<char> again;
    ASSERT_TRUE(other->get_state(again));
    EXPECT_EQ(again, after);

    // No bytes are no state.
    EXPECT_FALSE(other->set_state({}));
}

TEST_F(HostInstance, TornDownFromAnyStage)
{
    // Created, set up, active, mid-stream: each is undone in order, and the
    // module is left and unloaded after all of them.
    for (int stage = 0; stage < 4; ++stage) {
        std::string error;
        auto instance = hostlib::Instance::create(*module, "", error);
        ASSERT_TRUE(instance) << error;
        if (stage >= 1) {
            ASSERT_TRUE(instance->setup(44100.0, 128, stage == 3));
        }
        if (stage >= 2) {
            ASSERT_TRUE(instance->activate(true));
        }
        if (stage >= 3) {
            std::vector<float> x(128, 0.1f), y(128);
            const float* ins[2] = {x.data(), x.data()};
            float* outs[2] = {y.data(), y.data()};
            ASSERT_EQ(instance->process(ins, outs, 128), kResultOk);
        }
    }
    module.reset();
    std::string error;
    module = hostlib::Module::load(kBundle, error);
    ASSERT_TRUE(module) << error;
    EXPECT_TRUE(make());
}
