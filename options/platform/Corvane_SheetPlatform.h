#pragma once

#include <string>

#include "options/Corvane_DialogPlatform.h"
#include "options/Corvane_FolderDlg.h"
#include "options/Corvane_OptionsDlg.h"
#include "options/platform/Corvane_Sheet.h"

// The dialogs of the product on Linux, as sheets over the editor's frame
// (Corvane_Sheet). Every call returns once the user has answered; while it
// waits it handles the events of the editor's own window only, so the host
// and its audio go on. Without an open frame (the editor is closed, or the
// frame lives offscreen) the calls answer at once as if cancelled.
// Interface thread only.
class Corvane_SheetPlatform : public Corvane_DialogPlatform {
public:
    // frame: the editor's frame, or null while the editor is closed.
    void setFrame(VSTGUI::CFrame* f) { frame = f; }
    VSTGUI::CFrame* getFrame() const { return frame; }

    bool showAlert(const std::string& title, const std::string& text, bool critical,
                   const char* suppressionTitle) override;
    bool confirmAlert(const std::string& title, const std::string& text) override;
    // The desktop's chooser (zenity, else kdialog, when found in PATH), else
    // a chooser of our own: a sheet with the folder's path to edit.
    int chooseFolder(const std::string& startPath, std::string* outPath) override;
    bool runOptionsDialog(Corvane_OptionsForm& form, int focusField) override;
    // The sheet is built afresh for each button: the button's action runs
    // with the sheet down, so that its questions and alerts stand alone.
    bool runFolderDialog(Corvane_FolderDlgPage& page) override;

private:
    VSTGUI::CFrame* frame = nullptr;
};

//--- The sheets, built apart from running them so that tools can draw them.

// An alert: title, text, an optional box, and "OK" (with cancel, "OK" and
// "Cancel"). *box is the suppression box when one was asked for.
Corvane_Sheet* makeAlertSheet(const VSTGUI::CRect& frameSize, const std::string& title,
                              const std::string& text, bool critical, const char* suppressionTitle,
                              bool withCancel, VSTGUI::CCheckBox** box);

// The options dialog showing `form`; the controls write back into `form`
// as they are edited, and `fields` receives the text field of each
// Corvane_OptionsForm::TextField.
Corvane_Sheet* makeOptionsSheet(const VSTGUI::CRect& frameSize, Corvane_OptionsForm& form,
                                VSTGUI::CTextEdit* fields[Corvane_OptionsForm::kTextFieldCount]);

// Our own folder chooser: the path in a field; OK takes it only when it
// names a folder.
Corvane_Sheet* makeFolderSheet(const VSTGUI::CRect& frameSize, const std::string& startPath,
                               std::string* chosen, VSTGUI::CTextEdit** field);

// The data folder dialog showing `items`: a press of one of its five buttons
// sets *pressed to the action and *nameText to the name field's text and
// ends the sheet with false; Done ends it with true.
Corvane_Sheet* makeFolderDlgSheet(const VSTGUI::CRect& frameSize, const Corvane_FolderDlgItems& items, int* pressed,
                                  std::string* nameText);
