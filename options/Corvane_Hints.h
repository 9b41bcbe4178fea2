#pragma once

#include <string>

#include "options/Corvane_DialogPlatform.h"
#include "options/Corvane_OptionsDlgData.h"

// The two hints that teach gestures of the graph, and the question before
// all data is cleared. Interface thread.

enum Corvane_Hint { kPasteHint = 0, kIBeamHint = 1 };

struct Corvane_HintText {
    const char* title;
    const char* text;
    const char* suppressionTitle;
};
extern const Corvane_HintText corvane_hints[2];

// Shows the hint when the instance's record still asks for it. When the user
// ticks its box the instance stops showing it and the preferences file at
// `preferencesFile` is told so, for later instances too; a file that cannot
// be written gets an alert. True when the hint was shown.
bool showHint(Corvane_DialogPlatform& platform, Corvane_Hint which,
              Corvane_OptionsDlgData* instanceRecord, const std::string& preferencesFile);

// The question before "Clear All" clears the tracking and correction data.
// A click with Shift held skips it (Alt-clicks are the window manager's on
// many Linux desktops). True when the data is to be cleared.
bool confirmClearAll(Corvane_DialogPlatform& platform, bool shiftHeld);
extern const char* const corvane_clear_all_title;
extern const char* const corvane_clear_all_text;

// The question before tracking starts over a session whose data files are
// not where it expects them.
extern const char* const corvane_missing_files_title;
extern const char* const corvane_missing_files_text;
