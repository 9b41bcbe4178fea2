// Graph mode's correction objects in the effect: the commands of the panel's
// buttons and the object knobs, which work with the editor closed (the
// command line presses the buttons through clickControl), and what new
// objects and Import Auto take from the parameters. Interface thread.

#include "effect/Corvane_SingleComponentEffect.h"

#include <cmath>

using namespace Steinberg;
using namespace Steinberg::Vst;

namespace {

// "Object Adjust Vibrato" in dB at its lowest leaves none of the singer's
// vibrato; above it the scale is 10^(dB / 20), 1.0 at 0 dB.
constexpr double noVibratoDB = -12.0;

float vibratoScaleOf(double dB)
{
    return dB <= noVibratoDB ? 0.0f : float(std::pow(10.0, dB / 20.0));
}

// "Object Throat Length" in percent, as a throat ratio offset.
float throatOffsetOf(double percent) { return float(percent / 100.0); }

} // namespace

double Corvane_SingleComponentEffect::plainOf(ParamID id)
{
    Parameter* parameter = getParameterObject(id);
    return parameter ? parameter->toPlain(parameter->getNormalized()) : 0.0;
}

void Corvane_SingleComponentEffect::attachObjects()
{
    objectEditor.attach(&trackedFrames);
    const double rate = processSetup.sampleRate > 0.0 ? processSetup.sampleRate : 44100.0;
    objectEditor.setRates(rate, double(getSamplesPerFrame()));
    objectEditor.getHistory().setMaxUndos(maxUndos);
    timeHistory.setMaxSteps(maxUndos);
    graphObjectEditor = &objectEditor;
    graphTimeTarget = this;
    graphObjectSettings = [this] { return newObjectSettings(); };
}

NewObjectSettings Corvane_SingleComponentEffect::newObjectSettings()
{
    NewObjectSettings s;
    s.retuneSpeed = float(int64_t(plainOf(corvane::kObjectRetuneSpeed)));
    s.adjustVibrato = vibratoScaleOf(plainOf(corvane::kObjectAdjustVibrato));
    s.throatLength = throatOffsetOf(double(int64_t(plainOf(corvane::kObjectThroatLength))));
    s.notesPerNote = int32_t(plainOf(corvane::kNumberOfNotes));
    s.snap = plainOf(corvane::kSnapToNote) == 1.0;
    s.pitchOffset = int16_t(plainOf(corvane::kDetune));
    return s;
}

AutoImportSettings Corvane_SingleComponentEffect::autoImportSettings(Note_Table& table)
{
    const double rate = processSetup.sampleRate > 0.0 ? processSetup.sampleRate : 44100.0;
    int scale = int(plainOf(corvane::kScale));
    if (scale < 0 || scale >= scale_count) scale = scale_chromatic;
    const int key = ((int(plainOf(corvane::kKey)) % 12) + 12) % 12;
    table.build(scaleState, scale, key, int(plainOf(corvane::kDetune)), rate);
    AutoImportSettings s;
    s.retuneSpeed = double(int64_t(plainOf(corvane::kRetuneSpeed)));
    s.humanize = double(int64_t(plainOf(corvane::kHumanize)));
    s.naturalVibrato = plainOf(corvane::kNaturalVibrato);
    s.hostRate = rate;
    s.vibratoShape = int(plainOf(corvane::kVibratoShape));
    s.vibratoPitch = plainOf(corvane::kVibratoPitch);
    s.vibratoRate = plainOf(corvane::kVibratoRate);
    s.onsetDelay = double(int64_t(plainOf(corvane::kOnsetDelay)));
    s.onsetRate = double(int64_t(plainOf(corvane::kOnsetRate)));
    s.vibratoAmplitude = double(int64_t(plainOf(corvane::kVibratoAmplitude)));
    s.vibratoVariation = double(int64_t(plainOf(corvane::kVibratoVariation)));
    s.vibratoFormant = double(int64_t(plainOf(corvane::kVibratoFormant)));
    s.explicitForm = table.explicit_form;
    s.count = table.count;
    s.periods = table.periods;
    s.bounds = table.bounds;
    s.octaves = table.octaves;
    s.unit = table.unit;
    return s;
}

bool Corvane_SingleComponentEffect::objectCommand(ParamID id, double plain)
{
    const bool press = plain == 1.0;
    switch (id) {
    case corvane::kMakeNotes: return press && objectEditor.makeNotes(newObjectSettings());
    case corvane::kMakeCurves: return press && objectEditor.makeCurves(newObjectSettings());
    case corvane::kMakeNotesFromMIDI: return press && objectEditor.makeNotesFromMidi(newObjectSettings());
    case corvane::kImportAuto: {
        if (!press) return false;
        Note_Table table;
        return objectEditor.importAuto(autoImportSettings(table));
    }
    case corvane::kUndo: return press && objectEditor.undo();
    case corvane::kRedo: return press && objectEditor.redo();
    case corvane::kSelectAll: return press && objectEditor.selectAll();
    case corvane::kCut: return press && objectEditor.cut();
    case corvane::kCopy: return press && objectEditor.copy();
    case corvane::kPaste: {
        // At the frame the clock stands in: the playhead.
        int64_t frame = 0;
        dspObject.get_status(nullptr, &frame, nullptr, nullptr);
        return press && objectEditor.paste(frame);
    }
    case corvane::kNudgeUp:
    case corvane::kNudgeDown: {
        if (!press) return false;
        // A cent a press; a semitone with "Snap To Note", notes landing on
        // the scale's semitones.
        const bool snap = plainOf(corvane::kSnapToNote) == 1.0;
        const int16_t step = int16_t((snap ? 100 : 1) * (id == corvane::kNudgeUp ? 1 : -1));
        return objectEditor.nudge(0, step, snap, int16_t(plainOf(corvane::kDetune)));
    }
    case corvane::kClearAllData:
        if (!press) return false;
        objectEditor.clearAll();
        clearGeneration.fetch_add(1, std::memory_order_release);
        requestFromInterface();
        return true;
    case corvane::kObjectRetuneSpeed:
        return objectEditor.setSelected(ObjectSetting::retuneSpeed, float(int64_t(plain)));
    case corvane::kObjectAdjustVibrato:
        return objectEditor.setSelected(ObjectSetting::adjustVibrato, vibratoScaleOf(plain));
    case corvane::kObjectThroatLength:
        return objectEditor.setSelected(ObjectSetting::throatLength, throatOffsetOf(double(int64_t(plain))));
    default: return false;
    }
}
