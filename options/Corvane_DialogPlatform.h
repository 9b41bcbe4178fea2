#pragma once

#include <string>

struct Corvane_OptionsForm;
class Corvane_FolderDlgPage;

// What the dialogs need of the platform: modal alerts, a folder chooser and
// the options dialog's window. Every call runs on the interface thread and
// returns only when the user has answered; the host and its audio go on
// meanwhile. Strings are UTF-8.
class Corvane_DialogPlatform {
public:
    virtual ~Corvane_DialogPlatform() = default;

    // A one-button alert; with a suppression title it also shows a box with
    // that title. True only when the box was shown and ticked.
    virtual bool showAlert(const std::string& title, const std::string& text, bool critical,
                           const char* suppressionTitle) = 0;
    // "OK" and "Cancel": true for OK.
    virtual bool confirmAlert(const std::string& title, const std::string& text) = 0;
    // A chooser of one folder, opening at startPath. 0 with the chosen
    // folder's absolute path in outPath; -1 when cancelled or the folder
    // cannot be reached, with outPath as it was.
    virtual int chooseFolder(const std::string& startPath, std::string* outPath) = 0;
    // Shows the options dialog with the form's values and lets the user edit
    // them until Save (true) or Cancel (false); the form then holds what the
    // controls show. focusField, when not negative, is the text field
    // (Corvane_OptionsForm::TextField) that has the keyboard focus first.
    virtual bool runOptionsDialog(Corvane_OptionsForm& form, int focusField) = 0;
    // Shows the data folder dialog until Done: what page.items() gives,
    // shown afresh after each button, whose press goes to page.request.
    // False when it could not be shown.
    virtual bool runFolderDialog(Corvane_FolderDlgPage& page) = 0;
};
