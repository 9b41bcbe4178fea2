#include "options/Corvane_OptionsDlg.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "options/Corvane_PreferencesFile.h"

using F = Corvane_OptionsForm;

const Corvane_OptionsRange corvane_options_ranges[corvane_options_range_count] = {
    {F::kBufferSeconds, "Buffer Seconds", 10, 10800},
    {F::kMaxUndos, "Max Undos", 1, 20},
    {F::kWindowWidth, "Window Width", 850, 1600},
    {F::kWindowHeight, "Window Height", 630, 1200},
    {F::kRetuneSpeedLines, "Retune Speed - Lines", 0, 400},
    {F::kRetuneSpeedCurves, "Retune Speed - Curves", 0, 400},
    {F::kRetuneSpeedNotes, "Retune Speed - Notes", 0, 400},
    {F::kScrollDelay, "Scroll delay", 1, 5},
};

namespace {

// The record's field behind each text field, widened.
int64_t fieldValue(const Corvane_OptionsDlgData& r, F::TextField field) {
    switch (field) {
    case F::kBufferSeconds: return r.bufferSeconds;
    case F::kMaxUndos: return r.maxUndos;
    case F::kRetuneSpeedLines: return r.defRetuneSpeedLines;
    case F::kRetuneSpeedCurves: return r.defRetuneSpeedCurves;
    case F::kRetuneSpeedNotes: return r.defRetuneSpeedNotes;
    case F::kWindowWidth: return r.windowWidth;
    case F::kWindowHeight: return r.windowHeight;
    case F::kScrollDelay: return r.scrollDelay;
    case F::kTextFieldCount: break;
    }
    return -1;
}

// A whole decimal number, spaces around it allowed, within [low, high]; -1
// for anything else.
int64_t parseField(const std::string& text, int64_t low, int64_t high) {
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(begin, &end, 10);
    if (end == begin || errno != 0) return -1;
    while (*end == ' ') ++end;
    if (*end != '\0' || value < low || value > high) return -1;
    return value;
}

int32_t parse32(const std::string& text) {
    return static_cast<int32_t>(parseField(text, std::numeric_limits<int32_t>::min(),
                                           std::numeric_limits<int32_t>::max()));
}

int64_t parse64(const std::string& text) {
    return parseField(text, std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max());
}

void setWindowFields(F* form, int width, int height) {
    form->text[F::kWindowWidth] = std::to_string(width);
    form->text[F::kWindowHeight] = std::to_string(height);
}

} // namespace

void loadOptionsForm(const Corvane_OptionsDlgData& record, Corvane_OptionsForm* form) {
    for (int i = 0; i < F::kTextFieldCount; ++i)
        form->text[i] = std::to_string(fieldValue(record, static_cast<F::TextField>(i)));
    form->knobOrientationTag = record.knobOrientation;
    form->scrollMethodTag = record.scrollMethod ? 1 : 0;
    form->useCursors = record.useCursors;
    form->showVerticalCursor = record.showVerticalCursor;
    form->showOutputCurves = record.showOutputCurves;
    form->saveAsDefault = record.saveAsDefault;
    for (int i = 0; i < 10; ++i) form->keyBinding[i] = record.keyBindings()[i];
    form->versionText.assign(record.versionText, strnlen(record.versionText, sizeof record.versionText));
}

void readOptionsForm(const Corvane_OptionsForm& form, Corvane_OptionsDlgData* record) {
    record->bufferSeconds = parse32(form.text[F::kBufferSeconds]);
    record->maxUndos = parse32(form.text[F::kMaxUndos]);
    record->knobOrientation = form.knobOrientationTag;
    record->useCursors = form.useCursors;
    record->showVerticalCursor = form.showVerticalCursor;
    record->showOutputCurves = form.showOutputCurves;
    record->defRetuneSpeedLines = parse64(form.text[F::kRetuneSpeedLines]);
    record->defRetuneSpeedCurves = parse64(form.text[F::kRetuneSpeedCurves]);
    record->defRetuneSpeedNotes = parse64(form.text[F::kRetuneSpeedNotes]);
    for (int i = 0; i < 10; ++i) record->keyBindings()[i] = form.keyBinding[i];
    record->windowWidth = parse32(form.text[F::kWindowWidth]);
    record->windowHeight = parse32(form.text[F::kWindowHeight]);
    record->saveAsDefault = form.saveAsDefault;
    record->scrollDelay = parse32(form.text[F::kScrollDelay]);
    record->scrollMethod = form.scrollMethodTag == 1;
}

const Corvane_OptionsRange* checkOptions(const Corvane_OptionsDlgData& record) {
    for (const Corvane_OptionsRange& range : corvane_options_ranges) {
        const uint64_t value = static_cast<uint64_t>(fieldValue(record, range.field));
        if (value < static_cast<uint64_t>(range.minimum) || value > static_cast<uint64_t>(range.maximum))
            return &range;
    }
    return nullptr;
}

std::string rangeErrorTitle(const Corvane_OptionsRange& range) {
    return std::string("Error in ") + range.label;
}

std::string rangeErrorText(const Corvane_OptionsRange& range) {
    return std::string(range.label) + " must be between " + std::to_string(range.minimum) + " and " +
           std::to_string(range.maximum) + ".";
}

void setLargeWindowSize(Corvane_OptionsForm* form) { setWindowFields(form, 1600, 1200); }
void setWideWindowSize(Corvane_OptionsForm* form) { setWindowFields(form, 1600, 630); }
void setNormalWindowSize(Corvane_OptionsForm* form) { setWindowFields(form, 850, 630); }

bool launchOptionsDlg(Corvane_DialogPlatform& platform, Corvane_OptionsDlgData* record) {
    if (!record) return false;
    Corvane_OptionsForm form;
    loadOptionsForm(*record, &form);
    int focus = -1;
    while (platform.runOptionsDialog(form, focus)) {
        readOptionsForm(form, record);
        const Corvane_OptionsRange* failed = checkOptions(*record);
        if (!failed) return true;
        platform.showAlert(rangeErrorTitle(*failed), rangeErrorText(*failed), false, nullptr);
        focus = failed->field;
    }
    return false;
}

bool editOptions(Corvane_DialogPlatform& platform, Corvane_OptionsDlgData* instanceRecord,
                 const std::string& preferencesFile) {
    if (!instanceRecord) return false;
    Corvane_OptionsDlgData edited = *instanceRecord;
    if (!launchOptionsDlg(platform, &edited)) return false;
    *instanceRecord = edited;
    if (edited.saveAsDefault && !writePreferences(preferencesFile, &edited))
        platform.showAlert("The options could not be saved as default",
                           "The file \"" + preferencesFile +
                               "\" could not be written. The new options apply to this instance only.",
                           true, nullptr);
    return true;
}
