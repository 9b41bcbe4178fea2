// The data folder dialog's actions on the effect's audio store. Each keeps
// the audio thread out of the tracked data while it changes the store; an
// action that closes the files keeps it out until the files are taken up
// again, so that no block is written into a folder on its way elsewhere.

#include "effect/Corvane_SingleComponentEffect.h"

using namespace Steinberg;

void Corvane_SingleComponentEffect::holdTrackedData()
{
    if (!dataFolderHold) dataFolderHold.reset(new TrackedDataClosed(*this));
}

void Corvane_SingleComponentEffect::releaseTrackedData()
{
    dataFolderHold.reset();
}

bool Corvane_SingleComponentEffect::dataFilesMissing() const
{
    return audioStore && audioStore->getStatus() != 0;
}

void Corvane_SingleComponentEffect::describe(Corvane_FolderDlgData* record)
{
    if (record == nullptr) return;
    // An action that stopped half way leaves no store closed behind it.
    releaseTrackedData();
    const std::string parent = audioStore ? audioStore->getParentFolder() : std::string();
    const std::string name = audioStore ? audioStore->getFolderName() : std::string();
    record->folderRefSet = audioStore && audioStore->isFolderSet();
    record->statusLocationRequiredFiles = audioStore ? audioStore->getStatus() : AudioDataStore::statusFilesMissing;
    setFolderText(record->sessionID, audioStore ? audioStore->getSessionID() : std::string());
    setFolderText(record->parentFolderPath, parent);
    setFolderText(record->folderName, name);
    setFolderText(record->parentFolderPathExpected, parent);
    setFolderText(record->folderNameExpected, name);
}

std::string Corvane_SingleComponentEffect::readyDefaultParent()
{
    const std::string parent = defaultDataFolder();
    return AudioDataStore::makeFolderPath(parent) ? parent : std::string();
}

void Corvane_SingleComponentEffect::closeFiles()
{
    if (!audioStore) return;
    holdTrackedData();
    audioStore->closeFiles();
    audioStore->setFolderSet(false);
}

bool Corvane_SingleComponentEffect::openFiles(const std::string& parent, const std::string& name)
{
    if (!audioStore) return false;
    holdTrackedData();
    const std::string oldParent = audioStore->getParentFolder(), oldName = audioStore->getFolderName();
    const bool wasSet = audioStore->isFolderSet();
    auto openAt = [this](const std::string& p, const std::string& n) {
        audioStore->stop();
        audioStore->closeFiles();
        audioStore->setFolder(p, n);
        audioStore->start(); // opens the files there and sets the status
        return audioStore->getStatus() == 0;
    };
    const bool found = openAt(parent, name);
    if (!found) openAt(oldParent, oldName);
    audioStore->setFolderSet(found || wasSet);
    releaseTrackedData();
    return found;
}

bool Corvane_SingleComponentEffect::setUpFolder(const std::string& parent)
{
    if (!audioStore) return false;
    holdTrackedData();
    audioStore->closeFiles();
    const std::string id = AudioDataStore::makeSessionID();
    const bool made = AudioDataStore::makeFolderPath(parent + "/" + id);
    if (made) {
        audioStore->setSessionID(id);
        audioStore->setFolder(parent, id);
        audioStore->setFolderSet(true);
    }
    releaseTrackedData();
    return made;
}

void Corvane_SingleComponentEffect::dropData()
{
    if (!audioStore) return;
    holdTrackedData();
    audioStore->clearRecording();
    releaseTrackedData();
}

bool Corvane_SingleComponentEffect::purgeFiles()
{
    if (!audioStore) return false;
    holdTrackedData();
    audioStore->closeFiles();
    return audioStore->purgeFiles();
}
