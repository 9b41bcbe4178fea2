#include "panel/Corvane_KeyCommands.h"

#include "panel/Corvane_ParameterIds.h"

using C = Corvane_KeyCommand;
using namespace corvane;

const Corvane_KeyCommand corvane_key_commands[corvane_key_command_count] = {
    {"-", -1, C::kNone, 0},
    {"<none selected>", -1, C::kNone, 0},
    {"-", -1, C::kNone, 0},
    {"Tool: Draw Lines", kGraphTools, C::kSetValue, 0},
    {"Tool: Draw Curves", kGraphTools, C::kSetValue, 1},
    {"Tool: Draw Notes", kGraphTools, C::kSetValue, 2},
    {"Tool: Arrow", kGraphTools, C::kSetValue, 3},
    {"Tool: Scissors", kGraphTools, C::kSetValue, 4},
    {"Tool: Zoom", kGraphTools, C::kSetValue, 5},
    {"Tool: I-Beam", kGraphTools, C::kSetValue, 6},
    {"Tool: Hand Scroll", kGraphTools, C::kSetValue, 7},
    {"Tool: Move Point", kGraphTools, C::kSetValue, 8},
    {"Tool: Move Region", kGraphTools, C::kSetValue, 9},
    {"-", -1, C::kNone, 0},
    {"Clear All", kClearAllData, C::kPress, 0},
    {"Undo", kUndo, C::kPress, 0},
    {"Redo", kRedo, C::kPress, 0},
    {"Select All", kSelectAll, C::kPress, 0},
    {"Cut", kCut, C::kPress, 0},
    {"Copy", kCopy, C::kPress, 0},
    {"Paste", kPaste, C::kPress, 0},
    {"-", -1, C::kNone, 0},
    {"Undo Time Change", kTimeUndo, C::kPress, 0},
    {"Redo Time Change", kTimeRedo, C::kPress, 0},
    {"Clear All Time Changes", kTimeClearAll, C::kPress, 0},
    {"-", -1, C::kNone, 0},
    {"Toggle: Snap To Note", kSnapToNote, C::kToggle, 0},
    {"Toggle: Auto-Scroll", kAutoScroll, C::kToggle, 0},
    {"Toggle: Show Lanes", kShowLanes, C::kToggle, 0},
    {"Toggle: Track Pitch", kTrackPitch, C::kToggle, 0},
    {"Toggle: Cursor Time Indicator", kTimeDisplay, C::kToggle, 0},
    // The output curve's visibility is a setting of the graph, not a
    // parameter.
    {"Toggle: Show Output Curve", -1, C::kNone, 0},
    {"Toggle: Show MIDI", kShowMIDI, C::kToggle, 0},
    {"Toggle: Track Pitch+Time", kTrackPitchAndTime, C::kToggle, 0},
    {"Toggle: Enable Time Control", kEnableTimeWarping, C::kToggle, 0},
    {"-", -1, C::kNone, 0},
    {"Make Curves", kMakeCurves, C::kPress, 0},
    {"Import Auto", kImportAuto, C::kPress, 0},
    {"Make Notes", kMakeNotes, C::kPress, 0},
    {"Make Notes from MIDI", kMakeNotesFromMIDI, C::kPress, 0},
    {"Reset Internal Clock", kResetClocks, C::kPress, 0},
    {"-", -1, C::kNone, 0},
    {"Nudge Up", kNudgeUp, C::kPress, 0},
    {"Nudge Down", kNudgeDown, C::kPress, 0},
    {"-", -1, C::kNone, 0},
    {"Zoom In Horizontal", kHZoomIn, C::kPress, 0},
    {"Zoom Out Horizontal", kHZoomOut, C::kPress, 0},
    {"Zoom In Vertical", kVZoomIn, C::kPress, 0},
    {"Zoom Out Vertical", kVZoomOut, C::kPress, 0},
    {"-", -1, C::kNone, 0},
    {"Adjust Retune Speed: Faster", kObjectRetuneSpeed, C::kStepDown, 0},
    {"Adjust Retune Speed: Slower", kObjectRetuneSpeed, C::kStepUp, 0},
    {"Adjust Vibrato Depth: More", kObjectAdjustVibrato, C::kStepUp, 0},
    {"Adjust Vibrato Depth: Less", kObjectAdjustVibrato, C::kStepDown, 0},
    {"Adjust Throat Length: Longer", kObjectThroatLength, C::kStepUp, 0},
    {"Adjust Throat Length: Shorter", kObjectThroatLength, C::kStepDown, 0},
};

const int32_t corvane_default_key_bindings[10] = {3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
