// Graph mode's correction objects through the built module: a sung phrase
// tracked, notes made from it and played back, undone, and Auto mode
// imported; the object edits beside playback on another thread.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <sstream>
#include <thread>
#include <vector>

#include "voicegen/Voice_Generator.h"
#include "support/built_module.h"
#include "support/pitch_estimate.h"
#include "support/realtime_counter.h"
#include "support/tool_run.h"
#include "support/tracked_data.h"

using namespace Steinberg;
using Steinberg::Vst::ParamID;

namespace {

constexpr double rate = 48000.0;
constexpr int64_t hop = 200;
constexpr int32 block = 512;

// Scooped onsets, a glide into the second note from the first, singers off
// their notes by up to 30 cents.
const std::vector<voicegen::Voice_Note> phrase = {
    {0.10, 1.00, 57, 30, -80, 0.12, voicegen::Vowel::A, 0.5},
    {1.10, 1.00, 60, -25, -300, 0.20, voicegen::Vowel::O, 0.5},
    {2.40, 1.00, 64, 15, 60, 0.10, voicegen::Vowel::E, 0.5},
};
constexpr double phraseSeconds = 3.6;

std::vector<float> sing(double vibratoCents)
{
    voicegen::Voice_Settings settings;
    settings.vibrato_depth_cents = vibratoCents;
    settings.vibrato_onset_s = 0.1;
    voicegen::Voice_Generator singer(settings);
    return singer.render(phrase, phraseSeconds);
}

class Objects : public Built_Module_Test {
protected:
    // Graph mode, the phrase tracked, tracking let go.
    std::unique_ptr<hostlib::Instance> tracked(const std::vector<float>& x)
    {
        auto instance = create();
        if (!instance || !instance->set_channels(1, 1) || !instance->setup(rate, block) || !instance->activate(true))
            return nullptr;
        data = test_tracking::startTracking(*instance, std::string(CORVANE_TEST_TMP) + "/objects", false);
        if (data == nullptr) return nullptr;
        render(*instance, x);
        data->clickControl(corvane::kTrackPitch, 0.0);
        return instance;
    }
    // The phrase from the start of the timeline, with the engine fresh.
    static std::vector<float> render(hostlib::Instance& instance, const std::vector<float>& x)
    {
        instance.activate(false);
        instance.activate(true);
        instance.transport().locate(0);
        std::vector<float> y(x.size() + 4096, 0.0f);
        std::vector<float> in = x;
        in.resize(y.size(), 0.0f);
        for (size_t pos = 0; pos < y.size(); pos += size_t(block)) {
            const int32 n = int32(std::min<size_t>(size_t(block), y.size() - pos));
            const float* i[1] = {in.data() + pos};
            float* o[1] = {y.data() + pos};
            instance.process(i, o, n);
        }
        return y;
    }
    void press(ParamID id)
    {
        data->clickControl(id, 1.0);
        data->clickControl(id, 0.0);
    }
    void setPlain(hostlib::Instance& instance, ParamID id, double plain)
    {
        data->clickControl(id, instance.normalized_of(id, plain));
    }
    ICorvaneTrackedData* data = nullptr;
};

double centsOfHz(double hz) { return 900.0 + 1200.0 * std::log2(hz / 440.0); }

// The pitch of the output at frame i's middle, latency taken off; 0 for
// none.
double outputCents(const std::vector<float>& y, int64_t frame, uint32 latency)
{
    const size_t mid = size_t(frame * hop + hop / 2) + latency;
    const double hz = test_pitch::estimate_hz(y, mid - 480, 960, rate, 80.0, 800.0);
    return hz > 0.0 ? centsOfHz(hz) : 0.0;
}

// Frames inside the notes, from `after` seconds past each onset to 0.1 s
// before its end, with the note's cents.
std::vector<std::pair<int64_t, double>> noteFrames(double after)
{
    std::vector<std::pair<int64_t, double>> frames;
    for (const auto& n : phrase)
        for (int64_t i = int64_t((n.start_s + after) * rate / hop); i < int64_t((n.start_s + n.length_s - 0.1) * rate / hop); ++i)
            frames.emplace_back(i, (n.midi_note - 60.0) * 100.0);
    return frames;
}

} // namespace

TEST_F(Objects, MadeNotesPlayOnTheirPitchAndUndoGivesBackTheUncorrectedRender)
{
    const auto x = sing(0.0);
    auto instance = tracked(x);
    ASSERT_TRUE(instance);
    const uint32 latency = instance->latency();
    const auto plain = render(*instance, x);

    // Notes on the semitones, instant, none of the singer's vibrato.
    setPlain(*instance, corvane::kSnapToNote, 1.0);
    setPlain(*instance, corvane::kObjectRetuneSpeed, 0.0);
    setPlain(*instance, corvane::kObjectAdjustVibrato, -12.0);
    press(corvane::kMakeNotes);
    TrackedFrame f;
    ASSERT_EQ(data->getTrackedFrame(int64_t(1.5 * rate / hop), &f), kResultOk);
    EXPECT_NEAR(f.outputPeriod, rate / 261.6256, 0.05); // middle C's period

    const auto corrected = render(*instance, x);
    int total = 0, close = 0, before = 0;
    for (const auto& [frame, cents] : noteFrames(0.06)) {
        const double out = outputCents(corrected, frame, latency);
        const double in = outputCents(plain, frame, latency);
        ++total;
        if (std::fabs(out - cents) <= 5.0) ++close;
        if (std::fabs(in - cents) <= 5.0) ++before;
    }
    EXPECT_GE(close, total * 95 / 100) << close << " of " << total;
    // The singer alone is seldom there.
    EXPECT_LT(before, total / 4);

    // Undo: the frames are left alone again, and the render is the one
    // before, sample for sample (the engine is reset before each render, its
    // noise from its seed).
    press(corvane::kUndo);
    EXPECT_EQ(render(*instance, x), plain);
    // Redo brings the notes back.
    press(corvane::kRedo);
    EXPECT_EQ(render(*instance, x), corrected);
}

TEST_F(Objects, TheSingersVibratoSurvivesAsTheObjectKnobSays)
{
    const auto x = sing(40.0);
    auto instance = tracked(x);
    ASSERT_TRUE(instance);
    const uint32 latency = instance->latency();
    setPlain(*instance, corvane::kSnapToNote, 1.0);
    setPlain(*instance, corvane::kObjectRetuneSpeed, 0.0);
    // Root mean square deviation from the note, in cents, past the scoops.
    auto deviation = [&](const std::vector<float>& y) {
        double sum = 0.0;
        int n = 0;
        for (const auto& [frame, cents] : noteFrames(0.3)) {
            const double out = outputCents(y, frame, latency);
            if (out == 0.0) continue;
            sum += (out - cents) * (out - cents);
            ++n;
        }
        return std::sqrt(sum / std::max(n, 1));
    };
    const double sung = deviation(render(*instance, x));
    setPlain(*instance, corvane::kObjectAdjustVibrato, -12.0);
    press(corvane::kMakeNotes);
    const double none = deviation(render(*instance, x));
    press(corvane::kUndo);
    setPlain(*instance, corvane::kObjectAdjustVibrato, 0.0);
    press(corvane::kMakeNotes);
    const double kept = deviation(render(*instance, x));
    // A sine of 40 cents peak is 28 cents rms, besides the singer's detune.
    EXPECT_GT(sung, 25.0);
    EXPECT_LT(none, 5.0);
    // Kept whole, around the note instead of the singer's detuned pitch.
    EXPECT_GT(kept, 0.7 * 40.0 / std::sqrt(2.0));
    EXPECT_LT(kept, 1.3 * 40.0 / std::sqrt(2.0));
}

// Auto mode's correction imported as curves and played from the frames,
// against Auto mode's own render of the same take: plain, and with an added
// sine vibrato of 30 cents at 5.5 Hz from each note's start.
TEST_F(Objects, ImportedAutoModePlaysAsAutoMode)
{
    const auto x = sing(0.0);
    struct Case {
        double shape, pitch;
        double tolerance;
    } cases[] = {{0, 0, 5.0}, {1, 30, 8.0}};
    for (const Case& c : cases) {
        auto automatic = create();
        ASSERT_TRUE(automatic && automatic->set_channels(1, 1) && automatic->setup(rate, block) &&
                    automatic->activate(true));
        const std::pair<ParamID, double> vibrato[] = {{corvane::kVibratoShape, c.shape},
                                                      {corvane::kVibratoPitch, c.pitch},
                                                      {corvane::kOnsetDelay, 0.0},
                                                      {corvane::kOnsetRate, 0.0}};
        for (const auto& [id, value] : vibrato) automatic->set_plain(id, value);
        const auto autoOut = render(*automatic, x);

        auto instance = tracked(x);
        ASSERT_TRUE(instance);
        for (const auto& [id, value] : vibrato) instance->set_plain(id, value);
        press(corvane::kImportAuto);
        const auto imported = render(*instance, x);
        const uint32 latency = instance->latency();
        int total = 0, close = 0;
        for (const auto& [frame, cents] : noteFrames(0.06)) {
            (void)cents;
            const double a = outputCents(autoOut, frame, latency);
            const double b = outputCents(imported, frame, latency);
            if (a == 0.0 || b == 0.0) continue;
            ++total;
            if (std::fabs(a - b) <= c.tolerance) ++close;
        }
        EXPECT_GE(close, total * 90 / 100) << close << " of " << total << ", vibrato shape " << c.shape;
    }
}

TEST_F(Objects, HistoryOfSeveralStepsRoundTripsAndEveryCutOfItIsRefused)
{
    const auto x = sing(25.0);
    auto instance = tracked(x);
    ASSERT_TRUE(instance);
    std::vector<char> bare;
    ASSERT_TRUE(instance->get_state(bare));
    // Notes, all selected, nudged a semitone, curves over them; one undone.
    setPlain(*instance, corvane::kSnapToNote, 1.0);
    press(corvane::kMakeNotes);
    press(corvane::kSelectAll);
    press(corvane::kNudgeUp);
    press(corvane::kMakeCurves);
    press(corvane::kUndo);
    std::vector<char> saved;
    ASSERT_TRUE(instance->get_state(saved));
    auto frames = [](ICorvaneTrackedData& d) {
        std::vector<float> periods;
        for (int64 i = 0; i < d.getTrackedFrameCount(); ++i) {
            TrackedFrame f;
            d.getTrackedFrame(i, &f);
            periods.push_back(f.outputPeriod);
        }
        return periods;
    };

    auto fresh = create();
    ASSERT_TRUE(fresh && fresh->set_channels(1, 1) && fresh->setup(rate, block));
    ASSERT_TRUE(fresh->set_state(saved));
    ICorvaneTrackedData* other = test_tracking::trackedData(*fresh);
    ASSERT_TRUE(other);
    std::vector<char> again;
    ASSERT_TRUE(fresh->get_state(again));
    EXPECT_EQ(again, saved);
    // The steps come back: redo, then undo three times, as in the source.
    const auto nudged = frames(*other);
    EXPECT_EQ(nudged, frames(*data));
    for (ICorvaneTrackedData* d : {data, other}) {
        d->clickControl(corvane::kRedo, 1.0);
        d->clickControl(corvane::kUndo, 1.0);
        d->clickControl(corvane::kUndo, 1.0);
    }
    EXPECT_EQ(frames(*other), frames(*data));
    EXPECT_NE(frames(*other), nudged);

    // Every cut inside the object history (and the empty time history after
    // it) is refused without harm.
    const size_t history = saved.size() - bare.size() + 16;
    for (size_t cut = saved.size() - history; cut < saved.size(); ++cut) {
        const std::vector<char> part(saved.begin(), saved.begin() + long(cut));
        EXPECT_FALSE(fresh->set_state(part)) << cut;
    }
    EXPECT_TRUE(fresh->set_state(saved));
}

// The interface thread makes, undoes, redoes and nudges objects while the
// audio thread plays the frames: under ThreadSanitizer no race; counted, no
// allocation, free or lock on the audio thread.
TEST_F(Objects, ThreadedObjectEditsBesidePlaybackNeitherAllocateNorLock)
{
    const auto x = sing(25.0);
    auto instance = tracked(x);
    ASSERT_TRUE(instance);
    std::atomic<bool> done{false};
    test_rt::reset();
    std::thread audio([&] {
        for (int pass = 0; pass < 3; ++pass) {
            instance->transport().locate(0);
            std::vector<float> out(static_cast<size_t>(block));
            for (size_t pos = 0; pos + size_t(block) <= x.size(); pos += size_t(block)) {
                const float* i[1] = {x.data() + pos};
                float* o[1] = {out.data()};
                test_rt::Audio_Section section;
                instance->process(i, o, block);
            }
        }
        done.store(true);
    });
    int edits = 0;
    const ParamID commands[] = {corvane::kMakeNotes, corvane::kSelectAll, corvane::kNudgeUp,
                                corvane::kUndo, corvane::kRedo, corvane::kMakeCurves, corvane::kImportAuto};
    while (!done.load()) {
        press(commands[edits % 7]);
        ++edits;
    }
    audio.join();
    EXPECT_GT(edits, 7);
    const test_rt::Counts c = test_rt::counts();
    EXPECT_EQ(c.allocations, 0);
    EXPECT_EQ(c.frees, 0);
    EXPECT_EQ(c.locks, 0);
}

// Graph-mode correction without a host, in two commands: track and save the
// take's state, then load it, make notes and render.
TEST(ObjectsRender, TrackThenMakeNotesCorrectsATakeInTwoCommands)
{
    const std::string folder = test_tool::empty_test_folder(std::string(CORVANE_TEST_TMP) + "/objects-render");
    const auto track = test_tool::run(CORVANE_RENDER_PATH, folder,
                                      {"--data-folder", folder + "/data", "--set", "Correction Mode=Graph", "--press",
                                       "Track Pitch", "--save-state", folder + "/take.state", "--write-input",
                                       folder + "/take.wav", folder + "/tracked.wav"});
    ASSERT_EQ(track.status, 0) << track.err;
    const auto correct = test_tool::run(
        CORVANE_RENDER_PATH, folder,
        {"--data-folder", folder + "/data", "--load-state", folder + "/take.state", "--snap", "--object-retune", "0", "--object-vibrato", "-12",
         "--press", "Make Notes", "--frames-csv", folder + "/frames.csv", folder + "/take.wav", folder + "/out.wav"});
    ASSERT_EQ(correct.status, 0) << correct.err;
    // Every voiced frame of a note wants the period of a semitone of A 440
    // (the notes snap, at once, with none of the singer's vibrato); a few
    // frames of an onset may lie outside every note.
    std::istringstream csv(test_tool::slurp(folder + "/frames.csv"));
    std::string row;
    std::getline(csv, row);
    int voiced = 0, onNote = 0;
    while (std::getline(csv, row)) {
        std::vector<std::string> cells;
        std::istringstream fields(row);
        for (std::string cell; std::getline(fields, cell, ',');) cells.push_back(cell);
        ASSERT_EQ(cells.size(), 10u);
        if (cells[3] != "1") continue;
        ++voiced;
        const double period = std::stod(cells[9]);
        const double semitones = 12.0 * std::log2(rate / 440.0 / period);
        if (period > 0.0 && std::fabs(semitones - std::round(semitones)) < 0.001) ++onNote;
    }
    EXPECT_GT(voiced, 1000);
    EXPECT_GE(onNote, voiced * 95 / 100);
    // A setting out of range is one line, and nothing is written.
    const auto refused = test_tool::run(CORVANE_RENDER_PATH, folder, {"--notes", "11", folder + "/x.wav"});
    EXPECT_NE(refused.status, 0);
    EXPECT_NE(refused.err.find("out of range"), std::string::npos);
}
