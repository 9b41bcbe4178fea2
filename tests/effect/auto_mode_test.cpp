// Auto mode through the built module, as a host drives it: the demo phrase
// comes out on the notes; scale, key and transpose from the host reach it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "effect/Corvane_Parameters.h"
#include "hostlib/Plugin_Host.h"
#include "support/pitch_estimate.h"
#include "support/signals.h"
#include "voicegen/Voice_Generator.h"

using namespace Steinberg;

namespace {

constexpr size_t kLatency = 2660;
constexpr double kRate = 48000.0;

class AutoMode : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string error;
        module = hostlib::Module::load(CORVANE_BUNDLE_PATH, error);
        ASSERT_TRUE(module) << error;
        instance = hostlib::Instance::create(*module, "", error);
        ASSERT_TRUE(instance) << error;
        ASSERT_TRUE(instance->set_channels(1, 1));
        ASSERT_TRUE(instance->setup(kRate, 512));
        ASSERT_TRUE(instance->activate(true));
    }
    std::vector<float> render(const std::vector<float>& x)
    {
        std::vector<std::vector<float>> out;
        EXPECT_EQ(instance->process_all({x}, out, 512), kResultOk);
        return out[0];
    }
    // The pitch of the output at the time t of the input.
    double out_hz(const std::vector<float>& y, double t)
    {
        return test_pitch::estimate_hz(y, size_t(t * kRate) + kLatency, size_t(0.03 * kRate), kRate);
    }
    std::unique_ptr<hostlib::Module> module;
    std::unique_ptr<hostlib::Instance> instance;
};

double note_hz(double midi) { return 440.0 * std::pow(2.0, (midi - 69.0) / 12.0); }

} // namespace

TEST_F(AutoMode, TheDemoPhraseComesOutOnTheNotes)
{
    // Each held note, averaged over its vibrato: the singer is off the note
    // by the note's detune, the output sits on it.
    const auto notes = voicegen::demo_phrase_notes();
    const auto x = voicegen::render_demo_phrase(kRate);
    const auto y = render(x);
    int checked = 0;
    for (const auto& n : notes) {
        double in_sum = 0.0, out_sum = 0.0;
        int count = 0;
        for (double t = n.start_s + n.scoop_s + 0.1; t < n.start_s + n.length_s - 0.1; t += 0.01) {
            const double in = test_pitch::estimate_hz(x, size_t(t * kRate), size_t(0.03 * kRate), kRate);
            const double out = out_hz(y, t);
            if (in <= 0.0 || out <= 0.0) continue;
            in_sum += test_pitch::cents_between(in, note_hz(n.midi_note));
            out_sum += test_pitch::cents_between(out, note_hz(n.midi_note));
            ++count;
        }
        if (count < 20 || std::fabs(n.detune_cents) < 10.0) continue;
        EXPECT_NEAR(in_sum / count, n.detune_cents, 6.0) << n.midi_note;
        // Within a few cents: the vibrato stays, and the default retune
        // speed of 20 ms lags it a little.
        EXPECT_NEAR(out_sum / count, 0.0, 8.0) << n.midi_note;
        EXPECT_LT(std::fabs(out_sum / count), 0.5 * std::fabs(in_sum / count)) << n.midi_note;
        ++checked;
    }
    EXPECT_GE(checked, 4);

    // No filter runs away: the output never outgrows the voice, and where
    // the singer breathes it is quiet.
    float in_peak = 0.0f, out_peak = 0.0f;
    for (float v : x) in_peak = std::max(in_peak, std::fabs(v));
    for (float v : y) out_peak = std::max(out_peak, std::fabs(v));
    EXPECT_LT(out_peak, 1.5f * in_peak);
    for (size_t i = 1; i < notes.size(); ++i) {
        const double gap_start = notes[i - 1].start_s + notes[i - 1].length_s + 0.01;
        const double gap_end = notes[i].start_s - 0.01;
        if (gap_end - gap_start < 0.02) continue;
        const size_t a = size_t(gap_start * kRate) + kLatency, b = size_t(gap_end * kRate) + kLatency;
        EXPECT_LT(test_signals::rms(y, a, b - a), 0.01) << "gap before note " << i;
    }
}

TEST_F(AutoMode, ScaleAndKeyFromTheHostReachTheEngine)
{
    // 375 Hz is F#4 +26 cents: kept in G major, pulled to G4 in C major.
    const auto x = test_signals::sine(size_t(0.8 * kRate), 375.0, kRate, 0.4);
    ASSERT_TRUE(instance->set_text(corvane::kScale, "Major"));
    ASSERT_TRUE(instance->set_plain(corvane::kRetuneSpeed, 0.0));
    ASSERT_TRUE(instance->set_plain(corvane::kKey, 0.0));
    auto y = render(x);
    EXPECT_NEAR(test_pitch::cents_between(out_hz(y, 0.5), note_hz(67)), 0.0, 4.0);
    ASSERT_TRUE(instance->set_plain(corvane::kKey, 7.0));
    y = render(x);
    EXPECT_NEAR(test_pitch::cents_between(out_hz(y, 0.5), note_hz(66)), 0.0, 4.0);
}

TEST_F(AutoMode, TransposeAndFormantsThroughTheHost)
{
    const auto x = test_signals::sine(size_t(0.8 * kRate), note_hz(57), kRate, 0.4);
    ASSERT_TRUE(instance->set_plain(corvane::kTranspose, 7.0));
    const auto y = render(x);
    EXPECT_NEAR(test_pitch::cents_between(out_hz(y, 0.5), note_hz(64)), 0.0, 4.0);
}
