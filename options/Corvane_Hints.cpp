#include "options/Corvane_Hints.h"

#include "options/Corvane_PreferencesFile.h"

const Corvane_HintText corvane_hints[2] = {
    {"How to Paste in Corvane 7",
     "To paste your correction data, click on the graph where you want to place the start of the "
     "copied data, and *hold* the mouse button down while dragging the data to the precise "
     "location desired.  When you release the button, the data will be pasted at that location.\n\n"
     "If you don't like where you've pasted the data, simply click Undo to remove it.",
     "Ok, I got it. Don't show me this window again."},
    {"Handy I-Beam Shortcut!",
     "Double-click with the I-Beam tool anywhere in the Pitch Graph or Envelope Display to "
     "highlight a range that includes all tracked audio.\n\n"
     "This is particularly useful when you want to set the Number of Note Objects or the Adjust "
     "Vibrato controls for your entire audio track without having to manually drag the I-Beam "
     "over the (possibly extensive) length of the track.",
     "Cool! No need to show me this message again."},
};

const char* const corvane_clear_all_title = "Are you sure you want to clear all data?";
const char* const corvane_clear_all_text =
    "All tracking and correction data will be lost.\nYou cannot Undo this action.\n\n"
    "(Shift-click \"Clear All\" to bypass this warning.)";

const char* const corvane_missing_files_title = "Are you sure?";
const char* const corvane_missing_files_text =
    "This session specified one or more files that were not found in the expected location. If you wish to "
    "locate the expected data, click \"Cancel\" and then click the flashing red button to open the Data File "
    "Settings window. If you wish to abandon the previous data and re-track the audio now, click \"OK\".";

bool showHint(Corvane_DialogPlatform& platform, Corvane_Hint which,
              Corvane_OptionsDlgData* instanceRecord, const std::string& preferencesFile) {
    bool& shown = which == kPasteHint ? instanceRecord->showPasteInstructions
                                      : instanceRecord->showIBeamInstructions;
    if (!shown) return false;
    const Corvane_HintText& hint = corvane_hints[which];
    if (platform.showAlert(hint.title, hint.text, false, hint.suppressionTitle)) {
        shown = false;
        if (!setInstructionsShown(preferencesFile, which, false))
            platform.showAlert("The preferences could not be saved",
                               "The file \"" + preferencesFile +
                                   "\" could not be written; the hint will show again in new instances.",
                               true, nullptr);
    }
    return true;
}

bool confirmClearAll(Corvane_DialogPlatform& platform, bool shiftHeld) {
    return shiftHeld || platform.confirmAlert(corvane_clear_all_title, corvane_clear_all_text);
}
