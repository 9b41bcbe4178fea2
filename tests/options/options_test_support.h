#pragma once

#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "options/Corvane_DialogPlatform.h"
#include "options/Corvane_OptionsDlg.h"
#include "options/Corvane_OptionsDlgData.h"

// A fresh folder under the build's test folder for one test.
inline std::string freshFolder(const std::string& name) {
    const std::string folder = std::string(CORVANE_TEST_TMP) + "/options-" + name;
    std::system(("rm -rf '" + folder + "' && mkdir -p '" + folder + "'").c_str());
    return folder;
}

inline std::string fileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return "<none>";
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

inline void expectSameRecord(const Corvane_OptionsDlgData& a, const Corvane_OptionsDlgData& b) {
#define SAME(f) EXPECT_EQ(a.f, b.f) << #f
    SAME(bufferSeconds); SAME(maxUndos); SAME(knobOrientation); SAME(useCursors);
    SAME(showVerticalCursor); SAME(showOutputCurves); SAME(defRetuneSpeedLines);
    SAME(defRetuneSpeedCurves); SAME(defRetuneSpeedNotes); SAME(windowWidth); SAME(windowHeight);
    SAME(saveAsDefault); SAME(showPasteInstructions); SAME(showIBeamInstructions);
    SAME(scrollDelay); SAME(scrollMethod);
#undef SAME
    for (int i = 0; i < 10; ++i) EXPECT_EQ(a.keyBindings()[i], b.keyBindings()[i]) << "key " << i;
    EXPECT_STREQ(a.versionText, b.versionText);
}

// A platform whose user follows a script: each run of the options dialog
// takes the next step, which edits the form and answers Save or Cancel;
// alerts are recorded and answered with `alertAnswer`.
struct ScriptedPlatform : Corvane_DialogPlatform {
    std::vector<std::function<bool(Corvane_OptionsForm&)>> steps;
    std::vector<std::string> alerts; // title, then text
    std::vector<int> focus;          // the focus of each run
    std::vector<Corvane_OptionsForm> shown;
    bool alertAnswer = false;

    bool showAlert(const std::string& title, const std::string& text, bool,
                   const char* suppressionTitle) override {
        alerts.push_back(title);
        alerts.push_back(text);
        return suppressionTitle && alertAnswer;
    }
    bool confirmAlert(const std::string& title, const std::string& text) override {
        alerts.push_back(title);
        alerts.push_back(text);
        return alertAnswer;
    }
    // The folder chooser's answers in turn; an empty one, or none left,
    // cancels.
    std::vector<std::string> folders;
    size_t foldersAsked = 0;
    int chooseFolder(const std::string&, std::string* path) override {
        const std::string answer = foldersAsked < folders.size() ? folders[foldersAsked] : "";
        ++foldersAsked;
        if (answer.empty()) return -1;
        *path = answer;
        return 0;
    }
    bool runFolderDialog(Corvane_FolderDlgPage&) override { return false; }
    bool runOptionsDialog(Corvane_OptionsForm& form, int focusField) override {
        shown.push_back(form);
        focus.push_back(focusField);
        const size_t step = focus.size() - 1;
        return step < steps.size() && steps[step](form);
    }
};
