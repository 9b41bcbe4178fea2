#pragma once

#include <string>

#include "options/Corvane_OptionsDlgData.h"

// The preferences file: 26 lines, each a decimal integer followed by a tab
// and a comment for the person who reads the file, in a fixed order. Line 1
// holds the version of the layout, corvane_preferences_version. Lines end
// in "\n". All operations run on the interface thread.

constexpr int corvane_preferences_version = 1;
constexpr int corvane_preferences_lines = 26;

// The file's place: "$XDG_CONFIG_HOME/Halvorne Audio Technologies/Corvane+Time
// VST.txt", or under "$HOME/.config" when XDG_CONFIG_HOME is unset, empty or
// not absolute. Empty when neither can be formed.
std::string preferencesPath();

// Fills `record` from the file, line by line; a line that is missing, is not
// one integer, or holds a value outside the limits its comment gives leaves
// its field as it was (a reader starts from a copy of defaultPreferences).
// A file of another version, one that cannot be opened (missing, unreadable,
// a folder) leaves every field. Never writes. True when all 26 lines were
// read and taken.
bool readPreferences(const std::string& fileName, Corvane_OptionsDlgData* record);

// Writes all 26 lines from `record`, creating the folder when it is missing.
// The file is replaced whole: the lines go to a temporary beside it, which is
// renamed over it only when all were written, so that a failure leaves the
// old file. False when anything failed.
bool writePreferences(const std::string& fileName, const Corvane_OptionsDlgData* record);

// The text writePreferences puts in the file.
std::string formatPreferences(const Corvane_OptionsDlgData& record);

// Sets one hint's field in the file (which 0: the paste hint, 1: the I-beam
// hint) and keeps every other line as the file gave it, the defaults for
// what it could not give. Any other `which` changes nothing. False when the
// file could not be written or `which` is unknown.
bool setInstructionsShown(const std::string& fileName, int which, bool show);
