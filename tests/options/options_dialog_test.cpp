#include "options/Corvane_Hints.h"
#include "options/Corvane_OptionsDlg.h"
#include "options/Corvane_PreferencesFile.h"
#include "options_test_support.h"
#include "panel/Corvane_KeyCommands.h"

namespace {

using F = Corvane_OptionsForm;

std::function<bool(F&)> save(std::function<void(F&)> edit = [](F&) {}) {
    return [edit](F& form) { edit(form); return true; };
}
std::function<bool(F&)> cancel(std::function<void(F&)> edit = [](F&) {}) {
    return [edit](F& form) { edit(form); return false; };
}

} // namespace

// Each check at both sides of both bounds, and text that is no number: the
// message names the field's label and its limits, and the field has the
// focus when the dialog comes back.
TEST(OptionsDialog, EveryRangeCheckRefusesWithItsMessageAndFocusesItsField) {
    struct Case { F::TextField field; const char* text; const char* title; const char* message; };
    const Case cases[] = {
        {F::kBufferSeconds, "9", "Error in Buffer Seconds", "Buffer Seconds must be between 10 and 10800."},
        {F::kBufferSeconds, "10801", "Error in Buffer Seconds", "Buffer Seconds must be between 10 and 10800."},
        {F::kMaxUndos, "0", "Error in Max Undos", "Max Undos must be between 1 and 20."},
        {F::kMaxUndos, "21", "Error in Max Undos", "Max Undos must be between 1 and 20."},
        {F::kWindowWidth, "849", "Error in Window Width", "Window Width must be between 850 and 1600."},
        {F::kWindowWidth, "1601", "Error in Window Width", "Window Width must be between 850 and 1600."},
        {F::kWindowWidth, "3000", "Error in Window Width", "Window Width must be between 850 and 1600."},
        {F::kWindowHeight, "629", "Error in Window Height", "Window Height must be between 630 and 1200."},
        {F::kWindowHeight, "1201", "Error in Window Height", "Window Height must be between 630 and 1200."},
        {F::kRetuneSpeedLines, "-1", "Error in Retune Speed - Lines", "Retune Speed - Lines must be between 0 and 400."},
        {F::kRetuneSpeedLines, "401", "Error in Retune Speed - Lines", "Retune Speed - Lines must be between 0 and 400."},
        {F::kRetuneSpeedCurves, "-5", "Error in Retune Speed - Curves", "Retune Speed - Curves must be between 0 and 400."},
        {F::kRetuneSpeedNotes, "401", "Error in Retune Speed - Notes", "Retune Speed - Notes must be between 0 and 400."},
        {F::kScrollDelay, "0", "Error in Scroll delay", "Scroll delay must be between 1 and 5."},
        {F::kScrollDelay, "6", "Error in Scroll delay", "Scroll delay must be between 1 and 5."},
        {F::kBufferSeconds, "abc", "Error in Buffer Seconds", "Buffer Seconds must be between 10 and 10800."},
        {F::kMaxUndos, "4294967301", "Error in Max Undos", "Max Undos must be between 1 and 20."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        ScriptedPlatform user;
        user.steps = {save([&](F& f) { f.text[c.field] = c.text; }), cancel()};
        Corvane_OptionsDlgData record = defaultPreferences;
        EXPECT_FALSE(launchOptionsDlg(user, &record));
        EXPECT_EQ(user.alerts, (std::vector<std::string>{c.title, c.message}));
        EXPECT_EQ(user.focus, (std::vector<int>{-1, c.field}));
        EXPECT_EQ(user.shown[1].text[c.field], c.text) << "the refused text stays for mending";
    }

    // The bounds themselves pass.
    const char* const lowest[F::kTextFieldCount] = {"10", "1", "0", "0", "0", "850", "630", "1"};
    const char* const highest[F::kTextFieldCount] = {"10800", "20", "400", "400", "400", "1600", "1200", "5"};
    for (const char* const* bounds : {lowest, highest}) {
        ScriptedPlatform user;
        user.steps = {save([&](F& f) { for (int i = 0; i < F::kTextFieldCount; ++i) f.text[i] = bounds[i]; })};
        Corvane_OptionsDlgData record = defaultPreferences;
        EXPECT_TRUE(launchOptionsDlg(user, &record));
        EXPECT_TRUE(user.alerts.empty());
        EXPECT_EQ(record.windowWidth, std::atoi(bounds[F::kWindowWidth]));
        EXPECT_EQ(record.defRetuneSpeedNotes, std::atoi(bounds[F::kRetuneSpeedNotes]));
    }
}

TEST(OptionsDialog, TwoBadFieldsAreReportedOneAtATimeInTheCheckOrder) {
    ScriptedPlatform user;
    user.steps = {
        save([](F& f) { f.text[F::kScrollDelay] = "9"; f.text[F::kMaxUndos] = "99"; }),
        save([](F& f) { f.text[F::kMaxUndos] = "5"; }),
        save([](F& f) { f.text[F::kScrollDelay] = "3"; }),
    };
    Corvane_OptionsDlgData record = defaultPreferences;
    EXPECT_TRUE(launchOptionsDlg(user, &record));
    EXPECT_EQ(user.alerts, (std::vector<std::string>{
                               "Error in Max Undos", "Max Undos must be between 1 and 20.",
                               "Error in Scroll delay", "Scroll delay must be between 1 and 5."}));
    EXPECT_EQ(user.focus, (std::vector<int>{-1, F::kMaxUndos, F::kScrollDelay}));
    EXPECT_EQ(record.maxUndos, 5);
    EXPECT_EQ(record.scrollDelay, 3);
}

// The dialog shows the record, and what the controls show comes back into
// it: every control changed, the size buttons, and the key pop-ups.
TEST(OptionsDialog, ControlsShowTheRecordAndSaveReadsThemBack) {
    Corvane_OptionsDlgData record = defaultPreferences;
    record.keyBinding1 = 1;
    ScriptedPlatform user;
    user.steps = {save([](F& f) {
        f.text[F::kBufferSeconds] = " 600 ";
        f.text[F::kRetuneSpeedCurves] = "7";
        f.knobOrientationTag = 4;
        f.scrollMethodTag = 0;
        f.useCursors = f.showVerticalCursor = f.showOutputCurves = f.saveAsDefault = false;
        f.keyBinding[9] = 55;
        f.versionText = "edited";
        setWideWindowSize(&f);
    })};
    ASSERT_TRUE(launchOptionsDlg(user, &record));
    const F& shown = user.shown[0];
    EXPECT_EQ(shown.text[F::kBufferSeconds], "240");
    EXPECT_EQ(shown.text[F::kWindowHeight], "630");
    EXPECT_EQ(shown.knobOrientationTag, 5);
    EXPECT_EQ(shown.scrollMethodTag, 1);
    EXPECT_TRUE(shown.useCursors && shown.saveAsDefault);
    EXPECT_STREQ(corvane_key_commands[shown.keyBinding[0]].text, "<none selected>");
    EXPECT_STREQ(corvane_key_commands[shown.keyBinding[9]].text, "Tool: Move Region");
    EXPECT_EQ(shown.versionText, "Corvane + Time");

    Corvane_OptionsDlgData expected = defaultPreferences;
    expected.keyBinding1 = 1;
    expected.bufferSeconds = 600; expected.defRetuneSpeedCurves = 7; expected.knobOrientation = 4;
    expected.scrollMethod = false; expected.useCursors = false; expected.showVerticalCursor = false;
    expected.showOutputCurves = false; expected.saveAsDefault = false; expected.keyBinding0 = 55;
    expected.windowWidth = 1600;
    expectSameRecord(record, expected);

    F form;
    setLargeWindowSize(&form);
    EXPECT_EQ(form.text[F::kWindowWidth] + "x" + form.text[F::kWindowHeight], "1600x1200");
    setNormalWindowSize(&form);
    EXPECT_EQ(form.text[F::kWindowWidth] + "x" + form.text[F::kWindowHeight], "850x630");
}

// The pop-ups' rows: separators where the menu has them, the ten tools on
// the rows the default keys name.
TEST(OptionsDialog, KeyCommandTableHasItsSeparatorsAndTools) {
    const std::vector<int> separators = {0, 2, 13, 21, 25, 35, 41, 44, 49};
    std::vector<int> found;
    for (int i = 0; i < corvane_key_command_count; ++i)
        if (corvane_key_commands[i].text[0] == '-') found.push_back(i);
    EXPECT_EQ(found, separators);
    EXPECT_STREQ(corvane_key_commands[1].text, "<none selected>");
    EXPECT_STREQ(corvane_key_commands[55].text, "Adjust Throat Length: Shorter");
    for (int key = 0; key < 10; ++key)
        EXPECT_EQ(std::string(corvane_key_commands[defaultPreferences.keyBindings()[key]].text).rfind("Tool: ", 0), 0u);
}

// The instance's "Options": cancel leaves the record and the file; save
// adopts, and writes the file only with "save as default"; a file that
// cannot be written is told and the new values stay.
TEST(OptionsDialog, EditOptionsAdoptsOnSaveAndWritesTheFileAsDefault) {
    const std::string path = freshFolder("edit") + "/prefs.txt";
    Corvane_OptionsDlgData instance = defaultPreferences;
    ScriptedPlatform cancelling;
    cancelling.steps = {save([](F& f) { f.text[F::kMaxUndos] = "0"; }),
                        cancel([](F& f) { f.text[F::kMaxUndos] = "3"; })};
    EXPECT_FALSE(editOptions(cancelling, &instance, path));
    expectSameRecord(instance, defaultPreferences);
    EXPECT_EQ(fileText(path), "<none>");

    ScriptedPlatform notDefault;
    notDefault.steps = {save([](F& f) { f.text[F::kMaxUndos] = "3"; f.saveAsDefault = false; })};
    EXPECT_TRUE(editOptions(notDefault, &instance, path));
    EXPECT_EQ(instance.maxUndos, 3);
    EXPECT_EQ(fileText(path), "<none>");

    ScriptedPlatform asDefault;
    asDefault.steps = {save([](F& f) { f.text[F::kMaxUndos] = "4"; f.saveAsDefault = true; })};
    EXPECT_TRUE(editOptions(asDefault, &instance, path));
    Corvane_OptionsDlgData read = defaultPreferences;
    EXPECT_TRUE(readPreferences(path, &read));
    EXPECT_EQ(read.maxUndos, 4);

    ScriptedPlatform unwritable;
    unwritable.steps = {save([](F& f) { f.text[F::kMaxUndos] = "6"; })};
    EXPECT_TRUE(editOptions(unwritable, &instance, "/dev/null/prefs.txt"));
    EXPECT_EQ(instance.maxUndos, 6);
    ASSERT_EQ(unwritable.alerts.size(), 2u);
    EXPECT_NE(unwritable.alerts[1].find("/dev/null/prefs.txt"), std::string::npos);
}

// A hint answers through its box: unticked, the file is left alone and the
// hint comes again; ticked, the instance and the file stop showing it.
TEST(Hints, TheBoxTurnsAHintOffForThisAndLaterInstances) {
    const std::string path = freshFolder("hint") + "/prefs.txt";
    Corvane_OptionsDlgData instance = defaultPreferences;
    ScriptedPlatform user;
    EXPECT_TRUE(showHint(user, kIBeamHint, &instance, path));
    EXPECT_EQ(user.alerts[0], "Handy I-Beam Shortcut!");
    EXPECT_TRUE(instance.showIBeamInstructions);
    EXPECT_EQ(fileText(path), "<none>");

    user.alertAnswer = true;
    EXPECT_TRUE(showHint(user, kIBeamHint, &instance, path));
    EXPECT_FALSE(instance.showIBeamInstructions);
    Corvane_OptionsDlgData later = defaultPreferences;
    readPreferences(path, &later);
    EXPECT_FALSE(later.showIBeamInstructions);
    EXPECT_TRUE(later.showPasteInstructions);
    EXPECT_FALSE(showHint(user, kIBeamHint, &instance, path)) << "not shown once turned off";
    EXPECT_EQ(user.alerts.size(), 4u);

    // The question before clearing: Shift skips it, else the answer counts.
    ScriptedPlatform asked;
    EXPECT_TRUE(confirmClearAll(asked, true));
    EXPECT_TRUE(asked.alerts.empty());
    EXPECT_FALSE(confirmClearAll(asked, false));
    asked.alertAnswer = true;
    EXPECT_TRUE(confirmClearAll(asked, false));
    EXPECT_EQ(asked.alerts[0], "Are you sure you want to clear all data?");
}
