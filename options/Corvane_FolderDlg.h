#pragma once

#include <cstdint>
#include <string>

#include "options/Corvane_DialogPlatform.h"

// The data folder dialog apart from its window: the record it shows, the
// five actions on the session's data folder with their questions and alerts,
// and what the window shows for a record. Interface thread.

// What the dialog shows and edits of the session's data folder.
struct Corvane_FolderDlgData {
    enum Action { kFind = 0, kSetUp = 1, kMove = 2, kRename = 3, kDeleteAll = 4 };
    int32_t actionRequested = kFind;
    bool folderRefSet = false;
    // 0 when every data file stands where the session expects it, else the
    // store's status.
    int32_t statusLocationRequiredFiles = 0;
    char sessionID[32] = {};
    char parentFolderPath[256] = {};
    char folderName[256] = {};
    // Where the saved session expects the folder.
    char parentFolderPathExpected[256] = {};
    char folderNameExpected[256] = {};
};

// Copies text into a field of the record, cut to fit with its terminator.
template <size_t N> void setFolderText(char (&field)[N], const std::string& text)
{
    const size_t n = text.size() < N - 1 ? text.size() : N - 1;
    text.copy(field, n);
    field[n] = '\0';
}

// What the actions need of the session's recorded audio. Each call keeps
// the audio thread out of the store while it changes it.
class Corvane_DataFolderStore {
public:
    virtual ~Corvane_DataFolderStore() = default;
    // The record as the store stands; the requested action is left as it
    // is. The expected folder is the one the store looks for its files in.
    virtual void describe(Corvane_FolderDlgData* record) = 0;
    // The folder that holds new data folders, made when missing; empty when
    // it cannot be made.
    virtual std::string readyDefaultParent() = 0;
    // Closes the data files and marks the folder as not set.
    virtual void closeFiles() = 0;
    // Takes up the data files in parent/name. When not all of them are
    // there, the store goes back to the folder it had and false is returned.
    virtual bool openFiles(const std::string& parent, const std::string& name) = 0;
    // A new data folder in `parent`, named after a new session identifier,
    // made at once. False when it cannot be made.
    virtual bool setUpFolder(const std::string& parent) = 0;
    // Forgets the recorded audio (the files stay where they are) and any
    // mark of missing files.
    virtual void dropData() = 0;
    // Deletes this session's data files, and the folder when nothing else is
    // left in it: true when the folder is gone.
    virtual bool purgeFiles() = 0;
};

// The window's content for a record.
struct Corvane_FolderDlgItems {
    std::string parentText;
    bool parentInRed = false;
    std::string nameText;
    bool nameEditable = false;
    // Find, Set up, Move, Rename, Delete.
    bool enabled[5] = {};
};
// `defaultParent` is shown while no folder is set.
Corvane_FolderDlgItems prepareFolderDlgItems(const Corvane_FolderDlgData& record, const std::string& defaultParent);

// Runs record->actionRequested on the store, with its questions and alerts
// on the platform, and then refreshes the record from the store. 0 on
// success or a cancelled choice of folder, -1 otherwise (-1 too for a null
// record). For a rename, record->folderName holds the new name.
int folderAction(Corvane_DataFolderStore& store, Corvane_DialogPlatform& platform, Corvane_FolderDlgData* record);

// What the dialog's window asks of the dialog.
class Corvane_FolderDlgPage {
public:
    virtual ~Corvane_FolderDlgPage() = default;
    virtual Corvane_FolderDlgItems items() = 0;
    // A button of the five was pressed; `nameText` is the name field's text.
    virtual void request(int action, const std::string& nameText) = 0;
};

// "Data Folder Settings": runs the dialog on the store until Done, each
// button running its action on a copy of the store's record. False when
// the dialog could not be shown.
bool launchFolderDlg(Corvane_DialogPlatform& platform, Corvane_DataFolderStore& store,
                     const std::string& defaultParent);

//--- The folder operations behind the actions, on Linux paths.

// True when both paths name the same existing folder (the same device and
// inode), whatever their spelling.
bool sameFolder(const std::string& a, const std::string& b);

// Moves the folder `from` into the folder `toParent`, keeping its name.
// Within one file system it is one rename. Across file systems the folder
// is copied first under a temporary name beside its new place, every file
// flushed to disk, then renamed to its name, and only then is the original
// deleted: interrupted at any point, the original is whole, and at worst a
// temporary folder is left in `toParent`. Refused when `toParent` already
// holds a folder of that name. False with the reason in *error.
bool moveFolder(const std::string& from, const std::string& toParent, std::string* error);

// Renames the folder `parent/from` to `parent/to`. Refused when `to` is
// empty, ".", "..", holds a "/", or names something that exists.
bool renameFolder(const std::string& parent, const std::string& from, const std::string& to);
