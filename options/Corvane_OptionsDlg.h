#pragma once

#include <string>

#include "options/Corvane_DialogPlatform.h"
#include "options/Corvane_OptionsDlgData.h"

// The options dialog apart from its window: the values its controls show,
// how they are loaded from and read back into the record, and the range
// checks that must pass before the record is let go. Interface thread.

// What the dialog's controls show: text as typed, check boxes, the tags of
// the two radio groups and the rows of the ten key pop-ups.
struct Corvane_OptionsForm {
    enum TextField {
        kBufferSeconds, kMaxUndos, kRetuneSpeedLines, kRetuneSpeedCurves, kRetuneSpeedNotes,
        kWindowWidth, kWindowHeight, kScrollDelay, kTextFieldCount
    };
    std::string text[kTextFieldCount];
    int knobOrientationTag = 0; // 0 circular, 4 linear, 5 the host's
    int scrollMethodTag = 0;    // 1 smooth
    bool useCursors = false;
    bool showVerticalCursor = false;
    bool showOutputCurves = false;
    bool saveAsDefault = false;
    int keyBinding[10] = {};    // keys "1" to "9", then "0"
    std::string versionText;
};

// One range check: the record's value of `field` must lie in
// [minimum, maximum], compared as unsigned so that a negative value fails.
struct Corvane_OptionsRange {
    Corvane_OptionsForm::TextField field;
    const char* label;
    int64_t minimum, maximum;
};
constexpr int corvane_options_range_count = 8;
extern const Corvane_OptionsRange corvane_options_ranges[corvane_options_range_count];

// The form showing the record.
void loadOptionsForm(const Corvane_OptionsDlgData& record, Corvane_OptionsForm* form);
// The form read back into the record; versionText is kept. A text field that
// is not a whole decimal number fitting its field reads as -1, which no
// range check passes.
void readOptionsForm(const Corvane_OptionsForm& form, Corvane_OptionsDlgData* record);
// The first check, in the table's order, that the record fails; null when
// the record is valid.
const Corvane_OptionsRange* checkOptions(const Corvane_OptionsDlgData& record);
// The alert's title and text for a failed check.
std::string rangeErrorTitle(const Corvane_OptionsRange& range);
std::string rangeErrorText(const Corvane_OptionsRange& range);

// The window size buttons: they fill the two fields only.
void setLargeWindowSize(Corvane_OptionsForm* form);  // 1600 by 1200
void setWideWindowSize(Corvane_OptionsForm* form);   // 1600 by 630
void setNormalWindowSize(Corvane_OptionsForm* form); // 850 by 630

// Runs the dialog on `record`: shows it, and on Save reads the controls
// back and checks them; a failed check shows its range alert and runs the
// dialog again with the failed field focused. True when saved with a valid
// record; on false the record is void (it may hold a refused save).
bool launchOptionsDlg(Corvane_DialogPlatform& platform, Corvane_OptionsDlgData* record);

// The "Options" action of an instance: runs the dialog on a copy of the
// instance's record, adopts the copy when saved, and writes it to the
// preferences file at `preferencesFile` when saveAsDefault is set. A file
// that cannot be written is told by an alert; the adopted values stay.
// True when the record was adopted.
bool editOptions(Corvane_DialogPlatform& platform, Corvane_OptionsDlgData* instanceRecord,
                 const std::string& preferencesFile);
