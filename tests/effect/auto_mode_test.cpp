// Auto mode through the built module, as a host drives it: the demo phrase
// comes out on the notes, also where notes end and start; settings the host
// never touches act at their defaults; scale, key and transpose from the
// host reach it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "effect/Corvane_Parameters.h"
#include "hostlib/Plugin_Host.h"
#include "support/built_module.h"
#include "support/note_judge.h"
#include "support/pitch_estimate.h"
#include "support/signals.h"
#include "voicegen/Voice_Generator.h"

using namespace Steinberg;

namespace {

constexpr size_t kLatency = 2660;
constexpr double kRate = 48000.0;

class AutoMode : public Built_Module_Test {
protected:
    void SetUp() override
    {
        Built_Module_Test::SetUp();
        if (HasFatalFailure()) return;
        instance = start_instance();
        ASSERT_TRUE(instance);
    }
    // A fresh mono instance, set up and active at kRate; null on failure.
    std::unique_ptr<hostlib::Instance> start_instance()
    {
        auto started = create();
        if (!started || !started->set_channels(1, 1) || !started->setup(kRate, 512) ||
            !started->activate(true))
            return nullptr;
        return started;
    }
    std::vector<float> render(const std::vector<float>& x) { return render(*instance, x); }
    static std::vector<float> render(hostlib::Instance& effect, const std::vector<float>& x)
    {
        std::vector<std::vector<float>> out;
        EXPECT_EQ(effect.process_all({x}, out, 512), kResultOk);
        return out[0];
    }
    // The pitch of the output at the time t of the input.
    double out_hz(const std::vector<float>& y, double t)
    {
        return test_pitch::estimate_hz(y, size_t(t * kRate) + kLatency, size_t(0.03 * kRate), kRate);
    }
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

TEST_F(AutoMode, NoteEndsAndOnsetsOfTheDemoPhraseStayOnTheNotes)
{
    // The demo phrase at the plug-in's defaults: from the first voiced frame
    // of each note to its last, scoop, vibrato crests over a note's midpoint
    // and release included, the output stays within a semitone of the note
    // the singer is nearest, and never turns into a repeat over several
    // periods (a sub-octave).
    voicegen::Voice_Settings settings;
    settings.sample_rate = kRate;
    settings.seed = 7;
    voicegen::Voice_Generator voice(settings);
    const auto x = voice.render(voicegen::demo_phrase_notes(), voicegen::demo_phrase_seconds());
    ASSERT_EQ(x, voicegen::render_demo_phrase(kRate)); // the phrase the tools render
    const auto y = render(x);
    const auto j = test_pitch::judge_notes(x, voice.pitch_contour(), y, kLatency, kRate);
    // Every note is heard, for most of its length.
    double sung_s = 0.0;
    for (const auto& n : voicegen::demo_phrase_notes()) sung_s += n.length_s;
    EXPECT_GT(j.voiced_in, int(0.85 * sung_s / pitchtrack::Estimator_Settings().hop_s));
    EXPECT_GT(j.voiced_out, int(0.97 * j.voiced_in));
    EXPECT_EQ(j.off_note, 0) << "the worst frame, at " << j.worst_time_s << " s: input "
                             << j.worst_in_hz << " Hz, output " << j.worst_out_hz << " Hz, "
                             << j.worst_cents << " cents from the note";
}

TEST_F(AutoMode, SettingsLeftAtTheirDefaultsActAsIfSet)
{
    // A host that never touches a setting hears it at the default it shows:
    // the output is the same as that of an instance on which each setting
    // of the Auto page was set to its default. A voice 35 cents sharp of A4
    // with the plug-in's vibrato on, so that its rate and onset count too.
    voicegen::Voice_Settings settings;
    settings.sample_rate = kRate;
    voicegen::Voice_Generator voice(settings);
    const auto x = voice.render({{0.1, 1.5, 69, +35, 0, 0, voicegen::Vowel::A, 0.4}}, 1.8);

    auto vibrato_on = [](hostlib::Instance& effect) {
        EXPECT_TRUE(effect.set_text(corvane::kVibratoShape, "Sine Wave"));
        EXPECT_TRUE(effect.set_plain(corvane::kVibratoPitch, 40.0));
    };
    vibrato_on(*instance);
    const auto left = render(x);

    auto set = start_instance();
    ASSERT_TRUE(set);
    vibrato_on(*set);
    const Vst::ParamID auto_page[] = {
        corvane::kDetune, corvane::kRetuneSpeed, corvane::kHumanize, corvane::kVibratoRate,
        corvane::kTracking, corvane::kInputType, corvane::kIgnoreVibrato, corvane::kOnsetDelay,
        corvane::kOnsetRate, corvane::kVibratoAmplitude, corvane::kVibratoFormant,
        corvane::kVibratoVariation, corvane::kNaturalVibrato, corvane::kUseFormants,
        corvane::kThroatLength, corvane::kTranspose,
    };
    const auto parameters = set->parameters();
    for (Vst::ParamID id : auto_page) {
        auto it = std::find_if(parameters.begin(), parameters.end(),
                               [id](const hostlib::Parameter_Info& p) { return p.id == id; });
        ASSERT_NE(it, parameters.end()) << id;
        ASSERT_TRUE(set->set_plain(id, it->default_plain)) << it->title;
    }
    const auto as_set = render(*set, x);

    // Alike but for the engine's denormal noise, some 1e-20.
    ASSERT_EQ(left.size(), as_set.size());
    size_t parted = 0;
    while (parted < left.size() && std::fabs(double(left[parted]) - double(as_set[parted])) < 1e-5)
        ++parted;
    EXPECT_EQ(parted, left.size()) << "the outputs part at " << double(parted) / kRate << " s";
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
