// Graph mode's tracking through the built module: the pitch of a sung
// phrase, bars and beats of the host's transport, jumps, loops and stops.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <thread>
#include <tuple>
#include <vector>

#include "options/Corvane_PreferencesFile.h"
#include "public.sdk/source/common/memorystream.h"
#include "voicegen/Voice_Generator.h"
#include "support/built_module.h"
#include "support/editor_host.h"
#include "support/signals.h"
#include "support/tool_run.h"
#include "support/tracked_data.h"

using namespace Steinberg;

namespace {

constexpr double rate = 48000.0;
constexpr int64_t hop = 200; // host samples per frame at 48 kHz

double centsOf(double hz) { return 900.0 + 1200.0 * std::log2(hz / 440.0); }

// Runs `x` through the instance in blocks of `block`, from where the
// transport stands.
void play(hostlib::Instance& instance, const std::vector<float>& x, int32 block)
{
    std::vector<float> out(static_cast<size_t>(block));
    for (size_t pos = 0; pos < x.size(); pos += size_t(block)) {
        const int32 n = int32(std::min<size_t>(size_t(block), x.size() - pos));
        const float* in[1] = {x.data() + pos};
        float* o[1] = {out.data()};
        ASSERT_EQ(instance.process(in, o, n), kResultOk);
    }
}

// A tone audible from its first sample, so that frame i begins at host
// sample i * hop.
std::vector<float> tone(double seconds, double hz)
{
    return test_signals::sine(size_t(seconds * rate), hz, rate, 0.3, M_PI / 2);
}

// Reads the store back from position 0 and compares it with `x`; the
// number of positions that differ by more than one step of 16 bits.
int64_t exportMismatches(ICorvaneTrackedData& data, const std::vector<float>& x)
{
    int64_t bad = 0;
    for (size_t p = 0; p < x.size(); ++p) {
        float left = 0.0f;
        int32 r;
        while ((r = data.readTrackedSample(int64(p), &left, nullptr)) == 1) std::this_thread::yield();
        if (r != 0 || std::abs(left - std::max(-1.0f, std::min(1.0f, x[p]))) > 1.0f / 32767.0f) ++bad;
    }
    return bad;
}

class Tracking : public Built_Module_Test {
protected:
    std::unique_ptr<hostlib::Instance> start(bool withAudio, int32 block = 512)
    {
        auto instance = create();
        if (!instance || !instance->set_channels(1, 1) || !instance->setup(rate, block) || !instance->activate(true))
            return nullptr;
        data = test_tracking::startTracking(*instance, test_host::scratchFolder("tracking"), withAudio);
        return data != nullptr ? std::move(instance) : nullptr;
    }
    ICorvaneTrackedData* data = nullptr;
};

} // namespace

TEST_F(Tracking, SungPhraseFillsFramesWithItsContourAndMarksGapsUnvoiced)
{
    // Three sung notes with 0.5 s of exact silence between them.
    const std::vector<voicegen::Voice_Note> notes = {
        {0.0, 1.0, 57, 0, 0, 0, voicegen::Vowel::A, 0.5},
        {1.5, 1.0, 64, 0, 0, 0, voicegen::Vowel::O, 0.5},
        {3.0, 1.0, 60, 0, 0, 0, voicegen::Vowel::E, 0.5},
    };
    for (int32 block : {64, 512, 4096}) {
        auto instance = start(false, block);
        ASSERT_TRUE(instance);
        voicegen::Voice_Settings settings;
        voicegen::Voice_Generator singer(settings);
        const auto x = singer.render(notes, 4.2);
        const auto truth = singer.pitch_contour();
        play(*instance, x, block);
        ASSERT_GE(data->getTrackedFrameCount(), int64(4.0 * rate / hop));
        int voiced = 0, close = 0, gapFrames = 0, gapUnvoiced = 0;
        for (int64 i = 0; i < data->getTrackedFrameCount(); ++i) {
            TrackedFrame f;
            ASSERT_EQ(data->getTrackedFrame(i, &f), kResultOk);
            // The frame's true pitch is that of its middle; frames within
            // 0.1 s of a note's edge or of the gaps' edges are left out.
            const size_t mid = size_t(i * hop + hop / 2);
            const double t = double(mid) / rate;
            bool interior = false, inGap = false;
            for (size_t n = 0; n < notes.size(); ++n) {
                const double a = notes[n].start_s, b = a + notes[n].length_s;
                interior |= t > a + 0.1 && t < b - 0.1;
                if (n + 1 < notes.size()) inGap |= t > b + 0.1 && t < notes[n + 1].start_s - 0.05;
            }
            if (interior && truth[mid] > 0.0) {
                ++voiced;
                if (f.voiced() && std::abs((f.centsA + f.centsB) / 2 - centsOf(truth[mid])) <= 30.0) ++close;
            }
            if (inGap) {
                ++gapFrames;
                if (f.centsB == 30000 && f.periodB == -1.0f) ++gapUnvoiced;
            }
            EXPECT_LE(f.minSample, f.maxSample) << i;
        }
        // Vibrato and jitter move the sung pitch within a frame: 30 cents
        // of the middle's pitch for 95 % of the voiced frames.
        EXPECT_GE(close, voiced * 95 / 100) << "blocks of " << block;
        EXPECT_GT(gapFrames, 0);
        EXPECT_EQ(gapUnvoiced, gapFrames) << "blocks of " << block;
    }
}

TEST_F(Tracking, BarsAndBeatsLandOnTheFramesOfTheirSamples)
{
    struct Case { double bpm; int32 numerator, denominator; };
    for (const Case& c : {Case{120, 4, 4}, Case{93, 4, 4}, Case{120, 6, 8}, Case{93, 6, 8}}) {
        auto instance = start(false);
        ASSERT_TRUE(instance);
        instance->transport().set_tempo(c.bpm);
        instance->transport().set_time_signature(c.numerator, c.denominator);
        play(*instance, tone(6.0, 220.0), 512);
        // A beat is one denominator note: 60 / bpm * 4 / denominator seconds.
        const double beatSamples = rate * 60.0 / c.bpm * 4.0 / c.denominator;
        std::vector<int64> marked;
        for (int64 i = 0; i < data->getTrackedFrameCount(); ++i) {
            TrackedFrame f;
            data->getTrackedFrame(i, &f);
            if (f.beat != 0) marked.push_back(i);
        }
        const int64 beats = int64((double(data->getTrackedFrameCount() * hop) - 1) / beatSamples) + 1;
        ASSERT_EQ(int64(marked.size()), beats) << c.bpm << " " << c.numerator << "/" << c.denominator;
        for (int64 k = 0; k < beats; ++k) {
            TrackedFrame f;
            data->getTrackedFrame(marked[size_t(k)], &f);
            // The frame holding the beat's first sample, give or take one
            // sample of single-precision position.
            const double at = double(k) * beatSamples;
            EXPECT_GE(marked[size_t(k)], int64(std::floor((at - 1.0) / hop))) << k;
            EXPECT_LE(marked[size_t(k)], int64(std::floor((at + 1.0) / hop))) << k;
            EXPECT_EQ(f.bar, int32(k / c.numerator) + 1) << k;
            EXPECT_EQ(f.beat, k % c.numerator + 1) << k;
        }
    }
}

TEST_F(Tracking, TransportJumpsLoopsAndStopsMoveTheFrames)
{
    auto instance = start(true);
    ASSERT_TRUE(instance);
    hostlib::Transport& transport = instance->transport();
    // 1 s at 220 Hz, then 50 samples off the expected place: continuous.
    play(*instance, tone(1.0, 220.0), 480);
    transport.locate(transport.context().projectTimeSamples + 50);
    play(*instance, tone(0.5, 220.0), 480);
    EXPECT_EQ(data->getRegionCount(), 1);
    // A jump of 1 s forward: the frames between stay empty, the recording
    // breaks into a second run at the new place.
    const int64 before = data->getTrackedFrameCount();
    transport.locate(transport.context().projectTimeSamples + 48000);
    const int64 landing = transport.context().projectTimeSamples / hop;
    play(*instance, tone(0.5, 220.0), 480);
    TrackedFrame f;
    data->getTrackedFrame(before + 10, &f);
    EXPECT_FALSE(f.filled());
    data->getTrackedFrame(landing + 10, &f);
    EXPECT_TRUE(f.filled());
    EXPECT_EQ(data->getRegionCount(), 2);
    // Stopped, no frame moves; playing again, the frames go on from the
    // transport's place.
    const int64 end = data->getTrackedFrameCount();
    transport.set_playing(false);
    play(*instance, tone(0.5, 330.0), 480);
    EXPECT_EQ(data->getTrackedFrameCount(), end);
    transport.set_playing(true);
    play(*instance, tone(0.5, 220.0), 480);
    EXPECT_GT(data->getTrackedFrameCount(), end + 100);
    // A loop back to 0 rewrites the first frames with what now sounds, and
    // the recorded audio there is the new take's, as the frames show.
    const int64 total = data->getTrackedFrameCount();
    transport.locate(0);
    const auto again = tone(0.6, 440.0);
    play(*instance, again, 480);
    EXPECT_EQ(data->getTrackedFrameCount(), total);
    data->getTrackedFrame(100, &f);
    EXPECT_NEAR((f.centsA + f.centsB) / 2, centsOf(440.0), 10.0);
    data->getTrackedFrame(total - 10, &f);
    EXPECT_NEAR((f.centsA + f.centsB) / 2, centsOf(220.0), 10.0);
    instance->activate(false);
    data->waitForDisk();
    EXPECT_EQ(exportMismatches(*data, again), 0);
}

TEST_F(Tracking, MidiNotesAreHeldInFramesUpToTheLimitOfARun)
{
    auto instance = start(false);
    ASSERT_TRUE(instance);
    const auto x = tone(1.0, 220.0);
    std::vector<float> out(512);
    // Four events a block, a note on, off, on and off again (on at the end
    // of block 63): 256 events; then note 70 comes on, the 257th event,
    // and is dropped while tracking goes on.
    for (size_t block = 0; block * 512 + 512 <= x.size(); ++block) {
        if (block < 64) {
            for (int32 k = 0; k < 4; ++k)
                instance->queue_note(k % 2 == 0 || block == 63, int16(30 + block), k % 2 == 0 || block == 63 ? 0.8f : 0.0f, 100 * k);
        }
        if (block == 64) instance->queue_note(true, 70, 0.8f, 0);
        const float* in[1] = {x.data() + block * 512};
        float* o[1] = {out.data()};
        ASSERT_EQ(instance->process(in, o, 512), kResultOk);
    }
    TrackedFrame f;
    // Block 10: note 40 on from sample 5120 to 5420.
    data->getTrackedFrame(5120 / hop + 1, &f);
    EXPECT_EQ(f.midiNote, 40);
    // Block 63 ends with note 93 held, and nothing later changes it.
    data->getTrackedFrame(63 * 512 / hop + 3, &f);
    EXPECT_EQ(f.midiNote, 93);
    data->getTrackedFrame(data->getTrackedFrameCount() - 1, &f);
    EXPECT_EQ(f.midiNote, 93);
    EXPECT_TRUE(f.filled());
}

namespace {

// A wideband test signal: two tones and noise, audible from its first sample.
std::vector<float> wideband(double seconds)
{
    auto x = tone(seconds, 220.0);
    const auto n = test_signals::noise(x.size(), 0.3, 5);
    const auto y = test_signals::sine(x.size(), 3100.0, rate, 0.2);
    for (size_t i = 0; i < x.size(); ++i) x[i] += n[i] + y[i];
    return x;
}

} // namespace

TEST_F(Tracking, TenMinutesRecordedOfflineExportEqualToTheInput)
{
    auto instance = create();
    ASSERT_TRUE(instance && instance->set_channels(1, 1) && instance->setup(rate, 4096, true) && instance->activate(true));
    data = test_tracking::startTracking(*instance, test_host::scratchFolder("tracking"), true);
    ASSERT_TRUE(data);
    const auto x = wideband(600.0);
    play(*instance, x, 4096);
    instance->activate(false);
    data->waitForDisk();
    TBool overrun = true, failed = true;
    EXPECT_EQ(data->getStoreStatus(&overrun, &failed), 0);
    EXPECT_FALSE(overrun);
    EXPECT_FALSE(failed);
    ASSERT_EQ(data->getRegionCount(), 1);
    int64 start = -1, end = -1;
    data->getRegion(0, &start, &end, nullptr);
    EXPECT_EQ(start, 0);
    EXPECT_EQ(end, int64(x.size()));
    EXPECT_EQ(exportMismatches(*data, x), 0);
    char folder[1024];
    data->getSessionFolder(folder, sizeof folder);
    std::filesystem::remove_all(folder);
}

TEST_F(Tracking, RealTimeRecordingAtRealSpeedHasNoOverrun)
{
    auto instance = start(true, 512);
    ASSERT_TRUE(instance);
    const auto x = wideband(10.0);
    std::vector<float> out(512);
    auto due = std::chrono::steady_clock::now();
    for (size_t pos = 0; pos + 512 <= x.size(); pos += 512) {
        due += std::chrono::microseconds(512 * 1000000 / 48000);
        std::this_thread::sleep_until(due);
        const float* in[1] = {x.data() + pos};
        float* o[1] = {out.data()};
        ASSERT_EQ(instance->process(in, o, 512), kResultOk);
    }
    instance->activate(false);
    data->waitForDisk();
    TBool overrun = true, failed = true;
    data->getStoreStatus(&overrun, &failed);
    EXPECT_FALSE(overrun);
    EXPECT_FALSE(failed);
    EXPECT_EQ(exportMismatches(*data, std::vector<float>(x.begin(), x.begin() + long(x.size() / 512 * 512))), 0);
}

TEST_F(Tracking, AFolderThatCannotBeMadeStopsTheRecordingAndKeepsTheFrames)
{
    auto instance = create();
    ASSERT_TRUE(instance && instance->set_channels(1, 1) && instance->setup(rate, 512) && instance->activate(true));
    // A folder below a plain file cannot be made.
    const std::string file = test_host::scratchFolder("tracking") + "/plain";
    std::FILE* plain = std::fopen(file.c_str(), "w");
    ASSERT_NE(plain, nullptr);
    std::fclose(plain);
    data = test_tracking::startTracking(*instance, file + "/data", true);
    ASSERT_TRUE(data);
    play(*instance, tone(3.0, 220.0), 512);
    TBool overrun = true, failed = false;
    data->getStoreStatus(&overrun, &failed);
    EXPECT_TRUE(failed);
    EXPECT_FALSE(overrun);
    EXPECT_GE(data->getTrackedFrameCount(), int64(2.9 * rate / hop));
    float left = 0.0f;
    EXPECT_NE(data->readTrackedSample(100, &left, nullptr), 0);
}

TEST_F(Tracking, SavedSessionBringsBackFramesAndAudioAndOpensWithoutItsFiles)
{
    auto first = start(true);
    ASSERT_TRUE(first);
    const auto x = tone(0.6, 220.0);
    play(*first, x, 512);
    first->activate(false);
    data->waitForDisk();
    std::vector<char> state;
    ASSERT_TRUE(first->get_state(state));
    ICorvaneTrackedData* written = data;
    const int64 frames = written->getTrackedFrameCount();
    ASSERT_GT(frames, 100);

    auto second = create();
    ASSERT_TRUE(second && second->set_channels(1, 1) && second->setup(rate, 512));
    ICorvaneTrackedData* read = test_tracking::trackedData(*second);
    ASSERT_TRUE(second->set_state(state));
    ASSERT_EQ(read->getTrackedFrameCount(), frames);
    for (int64 i = 0; i < frames; ++i) {
        TrackedFrame a, b;
        written->getTrackedFrame(i, &a);
        read->getTrackedFrame(i, &b);
        auto fields = [](const TrackedFrame& f) {
            return std::make_tuple(f.minSample, f.maxSample, f.periodA, f.periodB, f.centsA, f.centsB, f.outputPeriod,
                                   f.modulationOffset, f.modulationGain, f.modulationParameter, f.throatOffset, f.bar,
                                   f.beat, f.midiNote);
        };
        EXPECT_EQ(fields(a), fields(b)) << i;
    }
    EXPECT_EQ(read->getStoreStatus(nullptr, nullptr), 0);
    EXPECT_EQ(exportMismatches(*read, x), 0);

    // Every truncation is refused without a fault.
    auto third = create();
    ASSERT_TRUE(third);
    for (size_t cut = 0; cut < state.size(); ++cut) {
        EXPECT_FALSE(third->set_state(std::vector<char>(state.begin(), state.begin() + long(cut)))) << cut;
    }

    // Without its data files the session opens, reports them missing and
    // plays its live input.
    char folder[1024];
    written->getSessionFolder(folder, sizeof folder);
    std::filesystem::remove_all(folder);
    auto fourth = create();
    ASSERT_TRUE(fourth && fourth->set_channels(1, 1) && fourth->setup(rate, 512) && fourth->set_state(state) &&
                fourth->activate(true));
    ICorvaneTrackedData* missing = test_tracking::trackedData(*fourth);
    EXPECT_EQ(missing->getStoreStatus(nullptr, nullptr), 1);
    EXPECT_EQ(missing->getTrackedFrameCount(), frames);
    std::vector<std::vector<float>> out;
    ASSERT_EQ(fourth->process_all({tone(1.0, 220.0)}, out, 512), kResultOk);
    EXPECT_GT(test_signals::rms(out[0], 24000, 12000), 0.1);
}

// An instance whose preferences give 10 s of frames opens a session saved
// with 20 s: once the host prepares it, its array holds 20 s, so that a take
// goes on past 10 s.
TEST_F(Tracking, ALongerBufferFromASessionTakesEffectWhenTheHostPrepares)
{
    Corvane_OptionsDlgData preferences = defaultPreferences;
    preferences.bufferSeconds = 20;
    ASSERT_TRUE(writePreferences(preferencesPath(), &preferences));
    auto first = start(false);
    ASSERT_TRUE(first);
    play(*first, tone(1.0, 220.0), 512);
    std::vector<char> state;
    ASSERT_TRUE(first->get_state(state));

    preferences.bufferSeconds = 10;
    ASSERT_TRUE(writePreferences(preferencesPath(), &preferences));
    auto second = create();
    ASSERT_TRUE(second && second->set_channels(1, 1) && second->set_state(state) && second->setup(rate, 512) &&
                second->activate(true));
    data = test_tracking::startTracking(*second, test_host::scratchFolder("tracking"), false);
    ASSERT_NE(data, nullptr);
    play(*second, tone(15.0, 220.0), 512);
    EXPECT_EQ(data->getTrackedFrameCount(), int64(15.0 * rate) / hop);
}

TEST_F(Tracking, ThreadedRecordingBesideFrameReadsAndStateSaves)
{
    auto instance = start(true);
    ASSERT_TRUE(instance);
    const auto x = wideband(3.0);
    std::atomic<bool> done{false};
    // The host's audio thread.
    std::thread audio([&] {
        play(*instance, x, 256);
        done.store(true);
    });
    // The interface thread: every frame published is filled, and every saved
    // state is whole.
    int64 unfilled = 0, saves = 0;
    std::vector<char> bytes;
    while (!done.load()) {
        const int64 count = data->getTrackedFrameCount();
        for (int64 i = std::max<int64>(0, count - 50); i < count; ++i) {
            TrackedFrame f;
            data->getTrackedFrame(i, &f);
            if (!f.filled()) ++unfilled;
        }
        Steinberg::MemoryStream stream;
        if (instance->component()->getState(&stream) == kResultOk) ++saves;
        bytes.assign(stream.getData(), stream.getData() + stream.getSize());
    }
    audio.join();
    EXPECT_EQ(unfilled, 0);
    EXPECT_GT(saves, 0);
    auto fresh = create();
    ASSERT_TRUE(fresh && fresh->set_state(bytes));
}

TEST(TrackingRender, PressTracksTheDemoPhraseAndWritesItsFramesAndAudio)
{
    const std::string folder = test_tool::empty_test_folder(std::string(CORVANE_TEST_TMP) + "/tracking-render");
    const auto r = test_tool::run(CORVANE_RENDER_PATH, folder,
                                  {"--data-folder", folder + "/data", "--set", "Correction Mode=Graph", "--press",
                                   "Track Pitch and Time", "--frames-csv", folder + "/frames.csv",
                                   "--export-tracked-audio", folder + "/tracked.wav", "--write-input",
                                   folder + "/in.wav", folder + "/out.wav"});
    ASSERT_EQ(r.status, 0) << r.err;
    // One row a frame of 200 samples over the phrase, after the header.
    const std::string csv = test_tool::slurp(folder + "/frames.csv");
    EXPECT_EQ(csv.rfind("time,centsA,centsB,voiced,minSample,maxSample,bar,beat,midiNote,outputPeriod\n", 0), 0u);
    const auto input = test_tool::slurp(folder + "/in.wav");
    const auto tracked = test_tool::slurp(folder + "/tracked.wav");
    const size_t samples = (input.size() - 80) / 4;
    EXPECT_EQ(size_t(std::count(csv.begin(), csv.end(), '\n')), 1 + samples / 200);
    // The export holds the input, to the sample, within 16 bits (both are
    // 32-bit float WAV files with the same 80-byte header).
    ASSERT_EQ(tracked.size(), input.size());
    float worst = 0.0f;
    for (size_t i = 0; i < samples; ++i) {
        float a, b;
        std::memcpy(&a, input.data() + 80 + 4 * i, 4);
        std::memcpy(&b, tracked.data() + 80 + 4 * i, 4);
        worst = std::max(worst, std::abs(a - b));
    }
    EXPECT_LE(worst, 1.0f / 32767.0f);
    // A control that is no button is refused, and nothing is written.
    const auto refused = test_tool::run(CORVANE_RENDER_PATH, folder, {"--press", "Scale", folder + "/x.wav"});
    EXPECT_NE(refused.status, 0);
    EXPECT_NE(refused.err.find("is not a button"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder + "/x.wav"));
}
