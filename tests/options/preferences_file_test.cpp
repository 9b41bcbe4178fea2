#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

#include "options/Corvane_PreferencesFile.h"
#include "options_test_support.h"

namespace {

// The file of the defaults, typed out line by line from the layout.
const char* const defaultsFile =
    "1\t(prefs version - DO NOT CHANGE!)\n"
    "240\t(buffer size 10..10800)\n"
    "10\t(max undos 1..20)\n"
    "5\t(knob style 0[circular],4[linear],5[host])\n"
    "1\t(custom cursors 0[off],1[on])\n"
    "1\t(show paste instructions 0[no],1[yes])\n"
    "20\t(retune speed for new lines 0..400)\n"
    "0\t(retune speed for new curves 0..400)\n"
    "10\t(retune speed for new note objects 0..400)\n"
    "3\t('1' key)\n4\t('2' key)\n5\t('3' key)\n6\t('4' key)\n7\t('5' key)\n"
    "8\t('6' key)\n9\t('7' key)\n10\t('8' key)\n11\t('9' key)\n12\t('0' key)\n"
    "1\t(show time position 0[off],1[on])\n"
    "1\t(show I-beam instructions 0[no],1[yes])\n"
    "850\t(plug-in width 850..4000)\n"
    "630\t(plug-in height 630..4000)\n"
    "1\t(show output curve 0[no],1[yes])\n"
    "2\t(scroll delay 1..5)\n"
    "1\t(smooth scrolling 0[off],1[on])\n";

// A record that differs from the defaults in every field the file keeps,
// with values at the file's limits.
Corvane_OptionsDlgData changedRecord() {
    Corvane_OptionsDlgData r = defaultPreferences;
    r.bufferSeconds = 10800; r.maxUndos = 1; r.knobOrientation = 4; r.useCursors = false;
    r.showPasteInstructions = false; r.defRetuneSpeedLines = 400; r.defRetuneSpeedCurves = 399;
    r.defRetuneSpeedNotes = 0;
    const int32_t keys[10] = {1, 55, 14, 22, 26, 36, 42, 45, 50, 54};
    for (int i = 0; i < 10; ++i) r.keyBindings()[i] = keys[i];
    r.showVerticalCursor = false; r.showIBeamInstructions = false; r.windowWidth = 4000;
    r.windowHeight = 4000; r.showOutputCurves = false; r.scrollDelay = 5; r.scrollMethod = false;
    return r;
}

// The defaults file with line `line` (1-based) replaced.
std::string withLine(int line, const std::string& text, std::string file = defaultsFile) {
    size_t start = 0;
    for (int i = 1; i < line; ++i) start = file.find('\n', start) + 1;
    return file.replace(start, file.find('\n', start) - start, text);
}

void writeText(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

} // namespace

TEST(PreferencesFile, DefaultsAreWrittenAsTwentySixCommentedLinesAndReadBackInFull) {
    const std::string path = freshFolder("defaults") + "/deeper/Corvane+Time VST.txt";
    ASSERT_TRUE(writePreferences(path, &defaultPreferences));
    EXPECT_EQ(fileText(path), defaultsFile);

    const Corvane_OptionsDlgData changed = changedRecord();
    ASSERT_TRUE(writePreferences(path, &changed));
    Corvane_OptionsDlgData read = defaultPreferences;
    EXPECT_TRUE(readPreferences(path, &read));
    expectSameRecord(read, changed);
    EXPECT_EQ(access((path + ".tmp").c_str(), F_OK), -1) << "no temporary is left";
}

// Every broken form gives the defaults for what it cannot give, and reading
// never changes the file.
TEST(PreferencesFile, BrokenFilesGiveTheDefaultsForWhatTheyCannotGive) {
    const std::string folder = freshFolder("broken");
    struct Case {
        const char* name;
        std::string text;                 // the file; "<none>" for no file
        void (*expect)(Corvane_OptionsDlgData&); // the defaults, changed by what is taken
    };
    const auto nothing = [](Corvane_OptionsDlgData&) {};
    const std::string changedText = formatPreferences(changedRecord());
    const Case cases[] = {
        {"missing", "<none>", nothing},
        {"empty", "", nothing},
        {"other version", "2" + changedText.substr(1), nothing},
        {"version not a number", "x" + changedText.substr(1), nothing},
        {"stops after line 3", changedText.substr(0, changedText.find("(knob") - 2),
         [](Corvane_OptionsDlgData& r) { r.bufferSeconds = 10800; r.maxUndos = 1; }},
        {"buffer not a number", withLine(2, "12a\t(buffer size 10..10800)"), nothing},
        {"buffer too small", withLine(2, "9"), nothing},
        {"buffer too large, then a valid line", withLine(2, "10801", withLine(3, "7\tx")),
         [](Corvane_OptionsDlgData& r) { r.maxUndos = 7; }},
        {"knob style between the styles", withLine(4, "3"), nothing},
        {"boolean of 2", withLine(5, "2"), nothing},
        {"negative speed", withLine(7, "-1"), nothing},
        {"key on a separator", withLine(10, "13"), nothing},
        {"key past the table", withLine(11, "56"), nothing},
        {"width past the file's limit, height at it", withLine(22, "4001", withLine(23, "4000")),
         [](Corvane_OptionsDlgData& r) { r.windowHeight = 4000; }},
        {"value beyond 64 bits", withLine(25, "99999999999999999999"), nothing},
    };
    const std::string path = folder + "/prefs.txt";
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::remove(path.c_str());
        if (c.text != "<none>") writeText(path, c.text);
        Corvane_OptionsDlgData read = defaultPreferences;
        EXPECT_FALSE(readPreferences(path, &read));
        Corvane_OptionsDlgData expected = defaultPreferences;
        c.expect(expected);
        expectSameRecord(read, expected);
        EXPECT_EQ(fileText(path), c.text);
    }

    // A folder in the file's place, and a file that cannot be read.
    ASSERT_EQ(mkdir((folder + "/folder.txt").c_str(), 0755), 0);
    Corvane_OptionsDlgData read = defaultPreferences;
    EXPECT_FALSE(readPreferences(folder + "/folder.txt", &read));
    expectSameRecord(read, defaultPreferences);
    writeText(path, changedText);
    chmod(path.c_str(), 0);
    if (access(path.c_str(), R_OK) != 0) { // not when the tests run as root
        EXPECT_FALSE(readPreferences(path, &read));
        expectSameRecord(read, defaultPreferences);
    }
}

TEST(PreferencesFile, AFileThatCannotBeWrittenIsReportedAndTheOldOneStays) {
    const std::string folder = freshFolder("unwritable");
    EXPECT_FALSE(writePreferences("/dev/null/Corvane+Time VST.txt", &defaultPreferences));
    // A folder in the file's place: the rename fails and no temporary stays.
    const std::string taken = folder + "/taken.txt";
    mkdir(taken.c_str(), 0755);
    EXPECT_FALSE(writePreferences(taken, &defaultPreferences));
    EXPECT_EQ(access((taken + ".tmp").c_str(), F_OK), -1);
}

TEST(PreferencesFile, SettingAHintsFieldChangesItsLineOnly) {
    const std::string path = freshFolder("hints") + "/prefs.txt";
    EXPECT_FALSE(setInstructionsShown(path, 2, false));
    EXPECT_EQ(fileText(path), "<none>") << "an unknown hint writes nothing";

    ASSERT_TRUE(setInstructionsShown(path, 0, false));
    EXPECT_EQ(fileText(path), withLine(6, "0\t(show paste instructions 0[no],1[yes])"));

    // The lines of an existing file stay, a broken one mended by its default.
    writeText(path, withLine(2, "77\tmine", withLine(3, "junk")));
    ASSERT_TRUE(setInstructionsShown(path, 1, false));
    EXPECT_EQ(fileText(path), withLine(2, "77\t(buffer size 10..10800)",
                                       withLine(21, "0\t(show I-beam instructions 0[no],1[yes])")));
}

TEST(PreferencesFile, LiesInTheMakersFolderOfTheUsersConfiguration) {
    const char* savedConfig = std::getenv("XDG_CONFIG_HOME");
    const std::string saved = savedConfig ? savedConfig : "";
    const std::string savedHome = std::getenv("HOME") ? std::getenv("HOME") : "";
    const char* const tail = "/Halvorne Audio Technologies/Corvane+Time VST.txt";
    setenv("HOME", "/home/u", 1);
    setenv("XDG_CONFIG_HOME", "/xdg", 1);
    EXPECT_EQ(preferencesPath(), std::string("/xdg") + tail);
    setenv("XDG_CONFIG_HOME", "relative", 1);
    EXPECT_EQ(preferencesPath(), std::string("/home/u/.config") + tail);
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(preferencesPath(), std::string("/home/u/.config") + tail);
    if (savedConfig) setenv("XDG_CONFIG_HOME", saved.c_str(), 1);
    setenv("HOME", savedHome.c_str(), 1);
}
