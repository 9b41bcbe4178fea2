#pragma once

#include <cstddef>
#include <cstdint>

// The user's options: what the preferences file keeps and the options dialog
// edits. A plain record, copied whole between the file, the dialog and the
// instance that adopts it; nothing in it points elsewhere.
struct Corvane_OptionsDlgData {
    int32_t bufferSeconds;      // seconds of tracked audio, 10..10800
    int32_t maxUndos;           // undo depth, 1..20
    int32_t knobOrientation;    // 0 circular, 4 linear, 5 the host's
    bool useCursors;            // custom cursors over the graph
    bool showVerticalCursor;    // the time position line
    bool showOutputCurves;      // the output curve over the graph
    int64_t defRetuneSpeedLines;  // retune speed of new lines, 0..400
    int64_t defRetuneSpeedCurves; // of new curves, 0..400
    int64_t defRetuneSpeedNotes;  // of new note objects, 0..400
    // Rows of the key command table for the keys "1" to "9", then "0".
    int32_t keyBinding1, keyBinding2, keyBinding3, keyBinding4, keyBinding5;
    int32_t keyBinding6, keyBinding7, keyBinding8, keyBinding9, keyBinding0;
    int32_t windowWidth;        // pixels
    int32_t windowHeight;       // pixels
    bool saveAsDefault;         // the dialog writes the file when it is saved
    char versionText[64];       // shown in the dialog, never edited
    bool showPasteInstructions; // the paste hint is still shown
    bool showIBeamInstructions; // the I-beam hint is still shown
    int32_t scrollDelay;        // 1..5
    bool scrollMethod;          // smooth scrolling

    // The key bindings as an array, "1" first and "0" last.
    int32_t* keyBindings() { return &keyBinding1; }
    const int32_t* keyBindings() const { return &keyBinding1; }
};

static_assert(offsetof(Corvane_OptionsDlgData, keyBinding0) ==
                  offsetof(Corvane_OptionsDlgData, keyBinding1) + 9 * sizeof(int32_t),
              "the ten key bindings lie side by side");

// The defaults of every field: what a missing file, or a line that cannot
// be read, leaves. The keys "1" to "0" run the ten tools.
extern const Corvane_OptionsDlgData defaultPreferences;
