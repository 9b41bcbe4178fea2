#include "effect/Corvane_SingleComponentEffect.h"

#include <utility>
#include <vector>

#include "dsp/Scale_State.h"
#include "effect/Corvane_Parameters.h"
#include "hostlib/Host_Interfaces.h"
#include "support/inspected_effect.h"
#include "public.sdk/source/common/memorystream.h"

#include <string>

#include <gtest/gtest.h>

using namespace Steinberg;

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
    // Changes arrive even in a block without audio, whose output stays
    // untouched.
    e.block(corvane::kBypass, {{0, 1.0}}, 0);
    EXPECT_TRUE(e.engine->is_bypassed());
    EXPECT_EQ(e.lastOutput, std::vector<float>(64, 7.0f));
}

TEST(CorvaneEffect, ControllerSideAndProgramRoads)
{
    Effect e;
    // An id of no parameter goes nowhere.
    EXPECT_EQ(e.effect->getParameterObject(12345), nullptr);
    EXPECT_FALSE(e.effect->isPrivateParameter(12345));
    for (tresult r : {e.effect->beginEdit(12345), e.effect->performEdit(12345, 0.5), e.effect->endEdit(12345),
                      e.effect->setParamNormalized(12345, 0.5)})
        EXPECT_EQ(r, kResultFalse);
    e.effect->parameterChanged(nullptr);
    EXPECT_EQ(e.effect->setParamNormalized(corvane::kBypass, 1.0), kResultOk);
    EXPECT_TRUE(e.engine->is_bypassed());
    EXPECT_EQ(e.effect->getParamNormalized(corvane::kBypass), 1.0);
    // With the editor closed, a plain value from the program reaches the engine.
    e.effect->setParameterPlain(corvane::kLRRef, 1.0);
    EXPECT_EQ(e.engine->get_reference_channel(), 1);
    EXPECT_EQ(e.effect->getParamNormalized(corvane::kLRRef), 1.0);
    e.effect->setParameterPlain(99999, 1.0);

    // The key's names follow the scale: sharps for minor keys, flats for
    // major ones.
    auto* scale = e.effect->getParameterObject(corvane::kScale);
    auto* key = e.effect->getParameterObject(corvane::kKey);
    Vst::String128 text;
    for (const auto& [minor, name] : {std::pair<bool, const char*>{true, "C#"}, {false, "Db"}}) {
        e.effect->setParamNormalized(corvane::kScale, scale->toNormalized(minor ? 1 : 0));
        e.effect->getParamStringByValue(corvane::kKey, key->toNormalized(1), text);
        EXPECT_EQ(VST3_BaseParameter::toUtf8(text), name) << minor;
    }
}

TEST(CorvaneEffect, MarksAndSettingsSurviveTheState)
{
    Effect source;
    Scale_State& marks = source.effect->getScaleState();
    marks.setRowBypassed(3, 0, 2, 1);   // Chromatic
    marks.setRowRemoved(1, 0, 0, 1);    // Major
    marks.setRowRemoved(30, 0, 24, 1);  // Partch
    source.effect->setMaxUndos(7);      // neither the default nor the preferences'
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
    EXPECT_EQ(target.effect->getMaxUndos(), 7);
}

TEST(CorvaneEffect, OldSettingsWithRulesOfTheirOwn)
{
    // Word 10 of 50 gives 20 undos; word 17 the cursors; word 34 of 3 the
    // knob style 4 and mode 2.
    std::vector<char> bytes = {'V', 's', 't', 'W'};
    bytes.resize(4 + 212);
    auto i32 = [&](int32_t v) {
        for (int s = 24; s >= 0; s -= 8) bytes.push_back(char((uint32_t(v) >> s) & 0xFF));
    };
    int32_t words[42] = {};
    words[0] = 2;
    words[10] = 50;
    words[34] = 3;
    // Behind the foreign header: version 8, the settings words, empty scale
    // marks, empty histories, no frames, the graph placement, no store.
    for (int32_t w : {8, 0, 0}) i32(w);
    for (int32_t w : words) i32(w);
    for (int group = 0; group < 2; ++group) {
        bytes.insert(bytes.end(), {0, 29});
        bytes.insert(bytes.end(), 58 * 2, 0);
    }
    for (int32_t w : {0, -1, 0, -1, 0, 1, 2, 3, 4, 0}) i32(w);
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

// The MIDI mode buttons excluding each other and ending off the Chromatic
// scale: EditorModuleX11.MidiModeButtonsExcludeEachOtherAndLiveOnlyOnTheChromaticScale.

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
        for (const auto& [pitch, velocity] : list) {
            Vst::Event ev{};
            ev.type = velocity > 0.0f ? Vst::Event::kNoteOnEvent : Vst::Event::kNoteOffEvent;
            if (velocity > 0.0f) {
                ev.noteOn.pitch = int16(pitch);
                ev.noteOn.velocity = velocity;
            } else {
                ev.noteOff.pitch = int16(pitch);
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
    // Releasing the other mode's button, or choosing Chromatic again, keeps it.
    press(corvane::kTargetNotes, 0.0);
    press(corvane::kScale, 2.0);
    EXPECT_EQ(e.effect->getMidiScaleMode(), 1);
    notes({{46, 1.0f}, {46, 0.0f}});
    EXPECT_FALSE(scale.isRowRemoved(10, chromatic));
    notes({{57, 0.9f}});
    EXPECT_FALSE(scale.isRowRemoved(9, chromatic));
    EXPECT_EQ(e.engine->get_target_count(), 14);
}

// A held button repeating from the timer: AutoPage.ScaleArrowsStepTheListAndRepeatWhileHeld.
// The engine's side of each parameter: ParameterRoad.EveryAutomatableParameterActsWhenAutomated,
// AutoMode's scale, key and transpose tests and the engine's own tests in tests/dsp.
