#pragma once

#include "pluginterfaces/vst/vsttypes.h"

// The numbers of the effect's parameter catalogue, as the panel and the
// effect both speak them: a parameter's id for the host, the tag of its
// control in the UI description and the row of the two dispatch operations
// are one number. Unused numbers stay as hidden placeholders so ids stay
// stable.
namespace corvane {

constexpr int parameterCount = 90;
// Parameters of the effect's own, kept from the host's view and never saved.
constexpr Steinberg::Vst::ParamID sampleRateParameter = 90;
constexpr Steinberg::Vst::ParamID centsParameter = 91;
// The correction in force, in cents (-100 to 100), for the pitch-change
// meter; the editor's timer sets it.
constexpr Steinberg::Vst::ParamID pitchChangeParameter = 92;
constexpr double pitchChangeRange = 100.0;

enum ParameterId : Steinberg::Vst::ParamID {
    kCorrectionMode = 0, kScale = 1, kKey = 2, kDetune = 3, kRetuneSpeed = 4,
    kVibratoShape = 5, kVibratoPitch = 6, kVibratoRate = 7, kTracking = 9, kInputType = 10,
    kHZoomOut = 12, kVZoomIn = 13, kVZoomOut = 14, kHZoomIn = 15, kGraphTools = 16,
    kMakeCurves = 17, kImportAuto = 18, kCut = 19, kCopy = 20, kPaste = 21, kUndo = 22,
    kSelectAll = 23, kTieEnvelope = 24, kNudgeUp = 25, kNudgeDown = 26, kTrackPitch = 28,
    kObjectRetuneSpeed = 31, kLRRef = 34, kLearnScale = 36, kTargetNotes = 37,
    kScaleUp = 38, kScaleDown = 39, kSetMajor = 40, kSetMinor = 41, kRedo = 43,
    kIgnoreVibrato = 44, kOnsetDelay = 46, kVibratoAmplitude = 47, kVibratoFormant = 48,
    kVibratoVariation = 49, kOnsetRate = 50, kObjectAdjustVibrato = 51, kHoldNoteShown = 52,
    kKeyboardEdits = 53, kKeyboardMode = 54, kSetAll = 55, kBypassAll = 56, kRemoveAll = 57,
    kMIDIOctaves = 58, kOptions = 60, kHumanize = 61, kNaturalVibrato = 62,
    kClearAllData = 63, kSnapToNote = 64, kResetClocks = 65, kClockSource = 66,
    kAutoScroll = 67, kMakeNotes = 69, kUseFormants = 70, kThroatLength = 71,
    kShowLanes = 72, kNumberOfNotes = 73, kTranspose = 74, kObjectThroatLength = 75,
    kShowMIDI = 76, kMakeNotesFromMIDI = 77, kTimeDisplay = 78, kEnableTimeWarping = 79,
    kTrackPitchAndTime = 80, kTimeUndo = 81, kTimeRedo = 82, kTimeClearAll = 83,
    kDataFolderSettings = 84, kGraphScrollUp = 85, kGraphScrollDown = 86,
    kGraphScrollLeft = 87, kGraphScrollRight = 88, kBypass = 89,
};

// What MIDI notes do in Auto mode: nothing, enable the notes played (learn
// scale), or enable the notes held and remove them on release (target notes).
enum MidiScaleMode : Steinberg::int32 { kMidiOff = 0, kMidiLearnScale = 1, kMidiTargetNotes = 2 };

} // namespace corvane
