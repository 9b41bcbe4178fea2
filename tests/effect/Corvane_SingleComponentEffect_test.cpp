#include "effect/Corvane_SingleComponentEffect.h"

#include <utility>
#include <vector>

#include "dsp/Scale_State.h"
#include "effect/Corvane_Parameters.h"
#include "hostlib/Host_Interfaces.h"
#include "support/inspected_effect.h"
#include "public.sdk/source/common/memorystream.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>

using namespace Steinberg;

TEST(CorvaneEffect, EditsReachTheHostOnlyForItsParameters)
{
    auto* effect = new Corvane_SingleComponentEffect();
    ASSERT_EQ(effect->initialize(nullptr), kResultOk);
    EXPECT_EQ(effect->getParameterObject(12345), nullptr);
    EXPECT_EQ(effect->beginEdit(12345), kResultFalse);
    EXPECT_EQ(effect->performEdit(12345, 0.5), kResultFalse);
    EXPECT_EQ(effect->endEdit(12345), kResultFalse);
    EXPECT_FALSE(effect->isPrivateParameter(12345));
    EXPECT_EQ(effect->getSamplesPerFrame(), 200);
    effect->terminate();
    effect->release();
}

namespace {

// An effect made and initialized as a host does, released at the end.
struct Effect {
    Inspected_Effect* effect = new Inspected_Effect();
    const DT_DSPObject* engine = &effect->engine();
    Effect() { effect->initialize(nullptr); }
    ~Effect()
    {
        effect->terminate();
        effect->release();
    }
    // One block of 64 silent samples carrying a queue of points for an id.
    void block(Vst::ParamID id, std::vector<std::pair<int32, double>> points, int32 inputs = 1,
               Vst::IEventList* events = nullptr)
    {
        hostlib::Parameter_Changes changes;
        for (const auto& p : points) changes.add(id, p.first, p.second);
        std::vector<float> in(64, 0.0f), out(64, 7.0f), out2(64, 7.0f);
        float* ins[2] = {in.data(), in.data()};
        float* outs[2] = {out.data(), out2.data()};
        Vst::AudioBusBuffers inBus{}, outBus{};
        inBus.numChannels = 2;
        inBus.channelBuffers32 = ins;
        outBus.numChannels = 2;
        outBus.channelBuffers32 = outs;
        Vst::ProcessData data{};
        data.numSamples = 64;
        data.numInputs = inputs;
        data.numOutputs = 1;
        data.inputs = &inBus;
        data.outputs = &outBus;
        data.inputParameterChanges = &changes;
        data.inputEvents = events;
        effect->process(data);
        lastOutput = out;
    }
    std::vector<float> lastOutput;
};

} // namespace

TEST(CorvaneEffect, AutomationActsByTheLastPointAndAThreshold)
{
    Effect e;
    // L/R Ref applied at 0.499995 (Left): a value 0.000009 above it, which
    // would read Right, is not applied; one 0.00001 above it is.
    e.block(corvane::kLRRef, {{0, 0.499995}});
    e.block(corvane::kLRRef, {{0, 0.499995 + 0.000009}});
    EXPECT_EQ(e.engine->get_reference_channel(), 0);
    e.block(corvane::kLRRef, {{0, 0.499995 + 0.00001}});
    EXPECT_EQ(e.engine->get_reference_channel(), 1);
    // Five points act once, with the last value.
    e.block(corvane::kBypass, {{0, 1.0}, {10, 0.0}, {20, 1.0}, {30, 1.0}, {40, 1.0}});
    EXPECT_TRUE(e.engine->is_bypassed());
    e.block(corvane::kBypass, {{0, 1.0}, {10, 1.0}, {20, 1.0}, {30, 1.0}, {63, 0.4}});
    // 0.4 differs from the stored 0.0 by more than the threshold and reads off.
    EXPECT_FALSE(e.engine->is_bypassed());
    // The parameter object keeps what the controller side left.
    EXPECT_EQ(e.effect->getParameterObject(corvane::kBypass)->getNormalized(), 0.0);
}

TEST(CorvaneEffect, ChangesArriveEvenWithoutAudio)
{
    Effect e;
    e.block(corvane::kBypass, {{0, 1.0}}, 0);
    EXPECT_TRUE(e.engine->is_bypassed());
    EXPECT_EQ(e.lastOutput, std::vector<float>(64, 7.0f));
}

TEST(CorvaneEffect, ControllerSideAndProgramRoads)
{
    Effect e;
    EXPECT_EQ(e.effect->setParamNormalized(12345, 0.5), kResultFalse);
    EXPECT_EQ(e.effect->setParamNormalized(corvane::kBypass, 1.0), kResultOk);
    EXPECT_TRUE(e.engine->is_bypassed());
    EXPECT_EQ(e.effect->getParamNormalized(corvane::kBypass), 1.0);
    // With the editor closed, a plain value from the program reaches the engine.
    e.effect->setParameterPlain(corvane::kLRRef, 1.0);
    EXPECT_EQ(e.engine->get_reference_channel(), 1);
    EXPECT_EQ(e.effect->getParamNormalized(corvane::kLRRef), 1.0);
    e.effect->setParameterPlain(99999, 1.0);
}

TEST(CorvaneEffect, HeldButtonsRepeatFromTheTimer)
{
    struct Counting : Corvane_SingleComponentEffect {
        std::vector<int> ticks;
        void autoRepeat(int32 tag) override { ticks.push_back(timerTick + 1000 * tag); }
        using Corvane_SingleComponentEffect::timerTick;
    };
    auto* effect = new Counting();
    effect->startAutoRepeat(25, 10, 2);
    for (int i = 0; i < 15; ++i) effect->onTimer();
    // First after 10 ticks, then every 2.
    EXPECT_EQ(effect->ticks, (std::vector<int>{25010, 25012, 25014}));
    effect->stopAutoRepeat();
    for (int i = 0; i < 5; ++i) effect->onTimer();
    EXPECT_EQ(effect->ticks.size(), 3u);
    EXPECT_EQ(effect->getRepeatingTag(), -1);
    effect->release();
}

TEST(CorvaneEffect, EngineSidesOfTheCatalogue)
{
    Effect e;
    const double sr = 44100.0;  // the set-up before a host's own
    auto setPlain = [&](Vst::ParamID id, double plain) {
        auto* p = e.effect->getParameterObject(id);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(e.effect->setParamNormalized(id, p->toNormalized(plain)), kResultOk);
    };
    setPlain(corvane::kRetuneSpeed, 20);
    setPlain(corvane::kHumanize, 30);
    // Half the distance in 20 ms at one update every five samples.
    EXPECT_NEAR(e.engine->get_retune_fast(), std::pow(0.5, 1.0 / (sr / 5 * 0.020)), 1e-12);
    EXPECT_NEAR(e.engine->get_retune_slow(), std::pow(0.5, 1.0 / (sr / 5 * 0.050)), 1e-12);
    EXPECT_EQ(e.engine->get_ramp_len(), 3528);
    setPlain(corvane::kRetuneSpeed, 0);
    EXPECT_EQ(e.engine->get_retune_fast(), 0.0);

    // 5.5 Hz at 200 samples a frame: 1000 * 5.5 * 200 / 44100 thousandths.
    setPlain(corvane::kVibratoRate, 5.5);
    EXPECT_NEAR(e.engine->get_vibrato_rate(), 1000.0 * 5.5 * 200.0 / sr, 1e-3);
    setPlain(corvane::kVibratoShape, 1);
    EXPECT_TRUE(e.engine->is_vibrato_on());
    setPlain(corvane::kTranspose, 12);
    EXPECT_DOUBLE_EQ(e.engine->get_transpose_ratio(), 2.0);
    setPlain(corvane::kTranspose, -7);
    EXPECT_NEAR(e.engine->get_transpose_ratio(), std::pow(2.0, -7.0 / 12.0), 1e-12);
    setPlain(corvane::kThroatLength, 130);
    EXPECT_DOUBLE_EQ(e.engine->get_throat_ratio(), 1.3);
    setPlain(corvane::kUseFormants, 0);
    EXPECT_FALSE(e.engine->get_formants());

    // Scale and key reach the scale object; the key names follow the scale.
    setPlain(corvane::kScale, 1);
    setPlain(corvane::kKey, 1);
    EXPECT_EQ(e.effect->getScaleState().scale, 1);
    EXPECT_EQ(e.effect->getScaleState().key, 1);
    Vst::String128 text;
    e.effect->getParamStringByValue(corvane::kKey, e.effect->getParamNormalized(corvane::kKey), text);
    EXPECT_EQ(VST3_BaseParameter::toUtf8(text), "C#");  // minor keys are spelt with sharps here
    setPlain(corvane::kScale, 0);
    e.effect->getParamStringByValue(corvane::kKey, e.effect->getParamNormalized(corvane::kKey), text);
    EXPECT_EQ(VST3_BaseParameter::toUtf8(text), "Db");
    setPlain(corvane::kDetune, -12);
    EXPECT_EQ(e.effect->getScaleState().detune, -12);
}

TEST(CorvaneEffect, MarksAndSettingsSurviveTheState)
{
    Effect source;
    Scale_State& marks = source.effect->getScaleState();
    marks.setRowBypassed(3, 0, 2, 1);   // Chromatic
    marks.setRowRemoved(1, 0, 0, 1);    // Major
    marks.setRowRemoved(30, 0, 24, 1);  // Partch
    auto* stream = new MemoryStream();
    ASSERT_EQ(source.effect->getState(stream), kResultOk);

    Effect target;
    stream->seek(0, IBStream::kIBSeekSet, nullptr);
    ASSERT_EQ(target.effect->setState(stream), kResultOk);
    stream->release();
    const Scale_State& read = target.effect->getScaleState();
    EXPECT_TRUE(read.bypassedRows[2][3]);
    EXPECT_TRUE(read.bypassedKeys[2][(3 + 5) % 12]);
    EXPECT_TRUE(read.removedRows[0][1]);
    EXPECT_TRUE(read.removedRows[24][30]);
    EXPECT_FALSE(read.removedRows[24][29]);
    EXPECT_EQ(target.effect->getMaxUndos(), 20);
}

TEST(CorvaneEffect, OldSettingsWithRulesOfTheirOwn)
{
    // Word 10 of 50 gives 20 undos; word 17 the cursors; word 34 of 3 the
    // knob style 4 and mode 2.
    std::vector<char> bytes;
    auto i32 = [&](int32_t v) {
        for (int s = 24; s >= 0; s -= 8) bytes.push_back(char((uint32_t(v) >> s) & 0xFF));
    };
    for (char c : std::string("VstW")) bytes.push_back(c);
    bytes.insert(bytes.end(), 212, 0);
    i32(8);
    i32(0);
    i32(0);
    int32_t words[42] = {};
    words[0] = 2;
    words[10] = 50;
    words[17] = 0;
    words[34] = 3;
    for (int32_t w : words) i32(w);
    for (int group = 0; group < 2; ++group) {
        bytes.push_back(0);
        bytes.push_back(29);
        bytes.insert(bytes.end(), 58 * 2, 0);
    }
    i32(0), i32(-1), i32(0), i32(-1), i32(0);
    i32(1), i32(2), i32(3), i32(4);
    i32(0);
    Effect e;
    auto* stream = new MemoryStream(bytes.data(), TSize(bytes.size()));
    EXPECT_EQ(e.effect->setState(stream), kResultOk);
    stream->release();
    EXPECT_EQ(e.effect->getMaxUndos(), 20);
    EXPECT_FALSE(e.effect->getCustomCursors());
    EXPECT_EQ(e.effect->getKnobStyle(), 4);
    EXPECT_EQ(Corvane_SingleComponentEffect::getKnobMode(), 2);
    EXPECT_EQ(e.effect->getGraphPlacement().horizontalScale, 1);
    EXPECT_EQ(e.effect->getGraphPlacement().verticalScale, 4);
    EXPECT_TRUE(e.effect->isGraphPlacementPending());

    // A null stream is refused.
    EXPECT_EQ(e.effect->setState(nullptr), kResultFalse);
}

TEST(CorvaneEffect, MidiModesExcludeEachOtherAndLiveOnTheChromaticScale)
{
    Effect e;
    Vst::EditController* controller = e.effect;
    auto change = [&](Vst::ParamID id, double plain) {
        auto* p = e.effect->getParameterObject(id);
        p->setNormalized(p->toNormalized(plain));
        e.effect->parameterChanged(p);
    };
    change(corvane::kLearnScale, 1.0);
    EXPECT_EQ(e.effect->getMidiScaleMode(), 1);
    change(corvane::kTargetNotes, 1.0);
    EXPECT_EQ(e.effect->getMidiScaleMode(), 2);
    EXPECT_EQ(controller->getParamNormalized(corvane::kLearnScale), 0.0);
    EXPECT_EQ(controller->getParamNormalized(corvane::kTargetNotes), 1.0);
    // Releasing the other button changes nothing; releasing this one ends it.
    change(corvane::kLearnScale, 0.0);
    EXPECT_EQ(e.effect->getMidiScaleMode(), 2);

    // Chromatic keeps the mode, any other scale ends it and its button.
    change(corvane::kScale, 2.0);
    EXPECT_EQ(e.effect->getMidiScaleMode(), 2);
    change(corvane::kScale, 5.0);
    EXPECT_EQ(e.effect->getMidiScaleMode(), 0);
    EXPECT_EQ(controller->getParamNormalized(corvane::kTargetNotes), 0.0);
    EXPECT_EQ(e.effect->getScaleState().scale, 5);

    change(corvane::kCorrectionMode, 1.0);
    EXPECT_TRUE(e.effect->isGraphMode());
    // Ids beyond the panel's rows do nothing.
    e.effect->parameterChanged(nullptr);
    e.effect->parameterChanged(e.effect->getParameterObject(corvane::kBypass));
}

TEST(CorvaneEffect, MidiNotesTeachTheScaleOrPickTheTargets)
{
    Effect e;
    auto press = [&](Vst::ParamID id, double plain) {
        auto* p = e.effect->getParameterObject(id);
        p->setNormalized(p->toNormalized(plain));
        e.effect->parameterChanged(p);
    };
    auto notes = [&](std::vector<std::pair<int, float>> list) {
        hostlib::Event_List events;
        for (const auto& n : list) {
            Vst::Event ev{};
            if (n.second > 0.0f || n.second < 0.0f) {
                ev.type = Vst::Event::kNoteOnEvent;
                ev.noteOn.pitch = int16(n.first);
                ev.noteOn.velocity = n.second < 0.0f ? 0.0f : n.second;
            } else {
                ev.type = Vst::Event::kNoteOffEvent;
                ev.noteOff.pitch = int16(n.first);
            }
            events.addEvent(ev);
        }
        e.block(corvane::kBypass, {}, 1, &events);
    };
    Scale_State& scale = e.effect->getScaleState();
    constexpr int chromatic = 2;
    const int64_t all = e.engine->get_target_count();
    ASSERT_EQ(all, 78);

    // No mode: notes change nothing.
    notes({{69, 0.0f}});
    EXPECT_FALSE(scale.isKeyRemoved(69 - 19, chromatic));

    // Target notes, as played: the mode starts from no note; a note-on
    // enables its one key, a note-off removes it, and the engine's table
    // follows at once.
    press(corvane::kTargetNotes, 1.0);
    EXPECT_EQ(e.engine->get_target_count(), 0);
    notes({{69, 0.5f}});
    EXPECT_FALSE(scale.isKeyRemoved(69 - 19, chromatic));
    EXPECT_TRUE(scale.isKeyRemoved(57 - 19, chromatic));
    EXPECT_EQ(e.engine->get_target_count(), 1);
    // One whose velocity truncates to 0 is a note-off; pitches 18 and 97 are
    // ignored, 19 and 96 taken.
    notes({{69, 0.5f / 127.0f}});
    EXPECT_TRUE(scale.isKeyRemoved(69 - 19, chromatic));
    notes({{18, 1.0f}, {97, 1.0f}, {19, 1.0f}, {96, 1.0f}});
    EXPECT_FALSE(scale.isKeyRemoved(0, chromatic));
    EXPECT_FALSE(scale.isKeyRemoved(77, chromatic));
    EXPECT_EQ(e.engine->get_target_count(), 2);
    notes({{19, 0.0f}, {96, 0.0f}});

    // All octaves: the pitch class's row and every key of it.
    e.block(corvane::kMIDIOctaves, {{0, 1.0}});
    notes({{45, 1.0f}});
    EXPECT_FALSE(scale.isRowRemoved(9, chromatic));
    for (int note = 21; note <= 96; note += 12) EXPECT_FALSE(scale.isKeyRemoved(note - 19, chromatic)) << note;
    EXPECT_EQ(e.engine->get_target_count(), 7);

    // Learning starts from no note again, ignores releases and enables what
    // is played.
    press(corvane::kLearnScale, 1.0);
    EXPECT_EQ(e.effect->getMidiScaleMode(), 1);
    EXPECT_EQ(e.engine->get_target_count(), 0);
    notes({{46, 1.0f}, {46, 0.0f}});
    EXPECT_FALSE(scale.isRowRemoved(10, chromatic));
    notes({{57, 0.9f}});
    EXPECT_FALSE(scale.isRowRemoved(9, chromatic));
    EXPECT_EQ(e.engine->get_target_count(), 14);
}
