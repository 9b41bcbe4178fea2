#include "options/Corvane_FolderDlg.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

const char* const notYetSet = "<Not yet set>";
const char* const areYouSure = "Are you sure?";

std::string textOf(const char* field) { return std::string(field); }

bool isFolder(const std::string& path)
{
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool exists(const std::string& path)
{
    struct stat st;
    return ::lstat(path.c_str(), &st) == 0;
}

// Deletes a folder and everything in it; false when something stays.
bool removeTree(const std::string& path)
{
    DIR* dir = ::opendir(path.c_str());
    if (dir == nullptr) return ::unlink(path.c_str()) == 0;
    bool ok = true;
    while (struct dirent* e = ::readdir(dir)) {
        const std::string name = e->d_name;
        if (name == "." || name == "..") continue;
        const std::string child = path + "/" + name;
        struct stat st;
        if (::lstat(child.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) ok = removeTree(child) && ok;
        else ok = ::unlink(child.c_str()) == 0 && ok;
    }
    ::closedir(dir);
    return ::rmdir(path.c_str()) == 0 && ok;
}

// Copies one regular file and flushes it to disk.
bool copyFile(const std::string& from, const std::string& to, mode_t mode, std::string* error)
{
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) {
        *error = "cannot read " + from + ": " + std::strerror(errno);
        return false;
    }
    const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode & 0777);
    if (out < 0) {
        *error = "cannot write " + to + ": " + std::strerror(errno);
        ::close(in);
        return false;
    }
    std::vector<char> buffer(1 << 16);
    bool ok = true;
    for (;;) {
        const ssize_t n = ::read(in, buffer.data(), buffer.size());
        if (n == 0) break;
        if (n < 0) {
            if (errno == EINTR) continue;
            *error = "cannot read " + from + ": " + std::strerror(errno);
            ok = false;
            break;
        }
        for (ssize_t done = 0; done < n;) {
            const ssize_t w = ::write(out, buffer.data() + done, size_t(n - done));
            if (w < 0 && errno == EINTR) continue;
            if (w <= 0) {
                *error = "cannot write " + to + ": " + std::strerror(errno);
                ok = false;
                break;
            }
            done += w;
        }
        if (!ok) break;
    }
    if (ok && ::fsync(out) != 0) {
        *error = "cannot write " + to + ": " + std::strerror(errno);
        ok = false;
    }
    ::close(in);
    if (::close(out) != 0 && ok) {
        *error = "cannot write " + to + ": " + std::strerror(errno);
        ok = false;
    }
    return ok;
}

// Copies a folder tree of folders and regular files; anything else (links,
// devices, pipes) refuses the copy.
bool copyTree(const std::string& from, const std::string& to, std::string* error)
{
    struct stat st;
    if (::stat(from.c_str(), &st) != 0 || ::mkdir(to.c_str(), st.st_mode & 0777) != 0) {
        *error = "cannot make " + to + ": " + std::strerror(errno);
        return false;
    }
    DIR* dir = ::opendir(from.c_str());
    if (dir == nullptr) {
        *error = "cannot read " + from + ": " + std::strerror(errno);
        return false;
    }
    bool ok = true;
    while (ok) {
        struct dirent* e = ::readdir(dir);
        if (e == nullptr) break;
        const std::string name = e->d_name;
        if (name == "." || name == "..") continue;
        const std::string source = from + "/" + name, target = to + "/" + name;
        struct stat entry;
        if (::lstat(source.c_str(), &entry) != 0) {
            *error = "cannot read " + source + ": " + std::strerror(errno);
            ok = false;
        } else if (S_ISDIR(entry.st_mode)) {
            ok = copyTree(source, target, error);
        } else if (S_ISREG(entry.st_mode)) {
            ok = copyFile(source, target, entry.st_mode, error);
        } else {
            *error = source + " is neither a file nor a folder";
            ok = false;
        }
    }
    ::closedir(dir);
    if (ok) {
        // The folder's own entries reach the disk before the original goes.
        const int fd = ::open(to.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd >= 0) {
            ::fsync(fd);
            ::close(fd);
        }
    }
    return ok;
}

std::string baseName(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

} // namespace

bool sameFolder(const std::string& a, const std::string& b)
{
    struct stat sa, sb;
    return ::stat(a.c_str(), &sa) == 0 && ::stat(b.c_str(), &sb) == 0 && S_ISDIR(sa.st_mode) &&
           sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

bool moveFolder(const std::string& from, const std::string& toParent, std::string* error)
{
    std::string ignored;
    if (error == nullptr) error = &ignored;
    const std::string name = baseName(from);
    const std::string to = toParent + "/" + name;
    if (!isFolder(from) || !isFolder(toParent)) {
        *error = "no folder " + (isFolder(from) ? toParent : from);
        return false;
    }
    if (exists(to)) {
        *error = to + " already exists";
        return false;
    }
    if (::rename(from.c_str(), to.c_str()) == 0) return true;
    if (errno != EXDEV) {
        *error = "cannot move " + from + " to " + toParent + ": " + std::strerror(errno);
        return false;
    }
    // Another file system: copy under a temporary name, then put it in place.
    const std::string temporary = toParent + "/." + name + ".moving";
    if (exists(temporary)) removeTree(temporary);
    if (!copyTree(from, temporary, error)) {
        removeTree(temporary);
        return false;
    }
    if (::rename(temporary.c_str(), to.c_str()) != 0) {
        *error = "cannot move " + from + " to " + toParent + ": " + std::strerror(errno);
        removeTree(temporary);
        return false;
    }
    // The copy is whole and in place: the original may go. A part of it that
    // cannot be deleted stays behind; the data lives on in the copy.
    removeTree(from);
    return true;
}

bool renameFolder(const std::string& parent, const std::string& from, const std::string& to)
{
    if (to.empty() || to == "." || to == ".." || to.find('/') != std::string::npos) return false;
    const std::string target = parent + "/" + to;
    if (exists(target)) return false;
    return ::rename((parent + "/" + from).c_str(), target.c_str()) == 0;
}

Corvane_FolderDlgItems prepareFolderDlgItems(const Corvane_FolderDlgData& record, const std::string& defaultParent)
{
    Corvane_FolderDlgItems items;
    if (record.statusLocationRequiredFiles != 0) {
        const std::string expected = textOf(record.parentFolderPathExpected);
        items.parentText = "<Error [" + std::to_string(record.statusLocationRequiredFiles) +
                           (expected.empty() ? "] locating data folder" : "] reading from data folder at " + expected) +
                           ". Click \"Find Data Folder...\" to locate the data folder.>";
        items.parentInRed = true;
        items.nameText = record.folderNameExpected[0] ? textOf(record.folderNameExpected) : notYetSet;
        items.enabled[Corvane_FolderDlgData::kFind] = true;
        items.enabled[Corvane_FolderDlgData::kSetUp] = true;
    } else if (record.folderRefSet) {
        items.parentText = textOf(record.parentFolderPath);
        items.nameText = textOf(record.folderName);
        items.nameEditable = true;
        items.enabled[Corvane_FolderDlgData::kFind] = true;
        items.enabled[Corvane_FolderDlgData::kMove] = true;
        items.enabled[Corvane_FolderDlgData::kRename] = true;
        items.enabled[Corvane_FolderDlgData::kDeleteAll] = true;
    } else {
        items.parentText = defaultParent;
        items.nameText = notYetSet;
        items.enabled[Corvane_FolderDlgData::kSetUp] = true;
    }
    return items;
}

namespace {

const char* const defaultFolderTitle = "Error initializing default folder";
const char* const saveReminder = "(Be sure to save your session to preserve this information!)";

int find(Corvane_DataFolderStore& store, Corvane_DialogPlatform& platform, const Corvane_FolderDlgData& record)
{
    std::string chosen = textOf(record.parentFolderPath);
    if (record.statusLocationRequiredFiles != 0) {
        if (store.readyDefaultParent().empty()) {
            platform.showAlert(defaultFolderTitle,
                               "There was an error initializing the default folder. Recorded audio data is not "
                               "available on this volume.",
                               true, nullptr);
            return -1;
        }
        if (platform.chooseFolder(textOf(record.parentFolderPath), &chosen) != 0) return 0;
    } else {
        if (!record.folderRefSet) return -1;
        if (!platform.confirmAlert(areYouSure, "This session appears to be using the correct data already. Are you "
                                               "sure you want to use the data in a different folder instead?"))
            return -1;
        if (platform.chooseFolder(textOf(record.parentFolderPath), &chosen) != 0) return 0;
    }
    const size_t slash = chosen.find_last_of('/');
    if (slash == std::string::npos || slash + 1 == chosen.size()) {
        platform.showAlert("Invalid path",
                           "The folder path given is not valid. Please check that you have selected the correct "
                           "folder and try again.",
                           true, nullptr);
        return -1;
    }
    // openFiles goes back to the folder it had when the new one fails.
    if (!store.openFiles(slash == 0 ? "/" : chosen.substr(0, slash), chosen.substr(slash + 1))) {
        platform.showAlert("Error opening files",
                           "Unable to open the files at the given location. Please check that you have selected "
                           "the correct folder, and that all files are present.",
                           true, nullptr);
        return -1;
    }
    platform.showAlert("Data files found",
                       std::string("The data folder was found and the files located. ") + saveReminder, false,
                       nullptr);
    return 0;
}

int setUp(Corvane_DataFolderStore& store, Corvane_DialogPlatform& platform, const Corvane_FolderDlgData& record)
{
    if (record.statusLocationRequiredFiles != 0) {
        if (!platform.confirmAlert(areYouSure,
                                   "This session failed to find the data it expected. Are you sure you want to start "
                                   "over with a different folder location instead of using Find Folder Location to "
                                   "locate the missing data?"))
            return -1;
        store.dropData();
    } else if (record.folderRefSet) {
        return -1;
    }
    const std::string defaultParent = store.readyDefaultParent();
    if (defaultParent.empty()) {
        platform.showAlert(defaultFolderTitle,
                           "There was an error initializing the default folder. Recorded audio data in not available "
                           "on this volume.",
                           true, nullptr);
        return -1;
    }
    std::string chosen = defaultParent;
    if (platform.chooseFolder(defaultParent, &chosen) != 0) return 0;
    if (!store.setUpFolder(chosen)) {
        platform.showAlert("Error setting up data folder",
                           "The data folder could not be made in " + chosen + ". Please choose another location.",
                           true, nullptr);
        return -1;
    }
    platform.showAlert("Data folder location set",
                       "The location for the data folder has been set successfully. A folder name has been "
                       "generated automatically for you, but you may change it by typing in a new name in the space "
                       "provided and clicking \"Rename Folder\".",
                       false, nullptr);
    return 0;
}

int move(Corvane_DataFolderStore& store, Corvane_DialogPlatform& platform, const Corvane_FolderDlgData& record)
{
    if (!record.folderRefSet) return -1;
    if (!platform.confirmAlert(areYouSure,
                               "If you have previously saved this session under a different name or in a different "
                               "location, then moving these files will break that other session. Are you sure you "
                               "wish to move these files?"))
        return -1;
    const std::string parent = textOf(record.parentFolderPath), name = textOf(record.folderName);
    std::string chosen = parent;
    if (platform.chooseFolder(parent, &chosen) != 0) return 0;
    if (sameFolder(chosen, parent)) return -1;
    store.closeFiles();
    std::string reason;
    if (!moveFolder(parent + "/" + name, chosen, &reason)) {
        // Nothing moved: the files are taken up again where they are.
        store.openFiles(parent, name);
        platform.showAlert("Error moving data folder",
                           "There was an error moving the files to the selected folder. No changes have been made.",
                           true, nullptr);
        return -1;
    }
    if (!store.openFiles(chosen, name)) {
        platform.showAlert("Error opening files",
                           "Unable to open the files at the given location. Please check that all files are present "
                           "in their new folder.",
                           true, nullptr);
        return -1;
    }
    platform.showAlert("Data folder moved",
                       std::string("The data folder was successfully moved to the new location. ") + saveReminder,
                       false, nullptr);
    return 0;
}

int rename(Corvane_DataFolderStore& store, Corvane_DialogPlatform& platform, const Corvane_FolderDlgData& record,
           const Corvane_FolderDlgData& present)
{
    const std::string parent = textOf(present.parentFolderPath), from = textOf(present.folderName);
    const std::string to = textOf(record.folderName);
    if (!present.folderRefSet) return -1;
    if (to.empty() || to == from) {
        platform.showAlert("Name not changed",
                           "To rename the data folder, first type in the new name in the space provided, then click "
                           "\"Rename Folder\".",
                           false, nullptr);
        return 0;
    }
    store.closeFiles();
    if (!renameFolder(parent, from, to) || !store.openFiles(parent, to)) {
        store.openFiles(parent, from);
        platform.showAlert("Error trying to rename folder",
                           "There was an error trying to rename the folder. There may be another folder with that "
                           "name in that location. Try another name.",
                           true, nullptr);
        return -1;
    }
    platform.showAlert("Rename successful",
                       std::string("The folder was successsfully renamed. ") + saveReminder, false, nullptr);
    return 0;
}

int deleteAll(Corvane_DataFolderStore& store, Corvane_DialogPlatform& platform, const Corvane_FolderDlgData& record)
{
    if (!record.folderRefSet) return -1;
    if (!platform.confirmAlert("Delete All: Are you sure?",
                               "If you have previously saved this session, then deleting these files will break that "
                               "saved session. Are you sure you wish to delete all tracked data files?"))
        return -1;
    store.closeFiles();
    const bool deleted = store.purgeFiles();
    if (deleted) {
        platform.showAlert("Data folder deleted", "The data folder and all tracking files were successfully deleted.",
                           false, nullptr);
    } else {
        platform.showAlert("Error deleting files",
                           "Unable to delete the data folder. Some of the files may have deleted successfully, but "
                           "there may be other files or folders inside the folder preventing the folder from being "
                           "deleted.",
                           true, nullptr);
    }
    store.dropData();
    return deleted ? 0 : -1;
}

} // namespace

int folderAction(Corvane_DataFolderStore& store, Corvane_DialogPlatform& platform, Corvane_FolderDlgData* record)
{
    if (record == nullptr) return -1;
    Corvane_FolderDlgData present = *record;
    store.describe(&present);
    int result = -1;
    switch (record->actionRequested) {
    case Corvane_FolderDlgData::kFind: result = find(store, platform, present); break;
    case Corvane_FolderDlgData::kSetUp: result = setUp(store, platform, present); break;
    case Corvane_FolderDlgData::kMove: result = move(store, platform, present); break;
    case Corvane_FolderDlgData::kRename: result = rename(store, platform, *record, present); break;
    case Corvane_FolderDlgData::kDeleteAll: result = deleteAll(store, platform, present); break;
    default: break;
    }
    store.describe(record);
    return result;
}

bool launchFolderDlg(Corvane_DialogPlatform& platform, Corvane_DataFolderStore& store,
                     const std::string& defaultParent)
{
    struct Page : Corvane_FolderDlgPage {
        Corvane_DialogPlatform& platform;
        Corvane_DataFolderStore& store;
        const std::string& defaultParent;
        Corvane_FolderDlgData record;
        Page(Corvane_DialogPlatform& p, Corvane_DataFolderStore& s, const std::string& d)
            : platform(p), store(s), defaultParent(d)
        {
            store.describe(&record);
        }
        Corvane_FolderDlgItems items() override { return prepareFolderDlgItems(record, defaultParent); }
        void request(int action, const std::string& nameText) override
        {
            record.actionRequested = action;
            if (action == Corvane_FolderDlgData::kRename) setFolderText(record.folderName, nameText);
            folderAction(store, platform, &record);
        }
    } page(platform, store, defaultParent);
    return platform.runFolderDialog(page);
}
