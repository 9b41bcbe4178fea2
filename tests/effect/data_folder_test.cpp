// The data folder dialog's five actions on the effect's recorded audio, on
// real folders: the files move, are renamed, found and deleted as the user
// asks, every refusal says why, and the take stays readable throughout.

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "effect/Corvane_SingleComponentEffect.h"
#include "options/Corvane_FolderDlg.h"
#include "options/options_test_support.h"
#include "public.sdk/source/common/memorystream.h"

using namespace Steinberg;
using A = Corvane_FolderDlgData;

namespace {

constexpr double rate = 48000.0;

bool isFolderAt(const std::string& path)
{
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// An effect that recorded one second of a tone with "Track Pitch and Time"
// into a data folder under `parent`, offline so that no block is lost.
struct Take {
    Corvane_SingleComponentEffect* effect = new Corvane_SingleComponentEffect();
    std::vector<float> x;

    explicit Take(const std::string& parent, bool record = true)
    {
        effect->initialize(nullptr);
        Vst::SpeakerArrangement mono = Vst::SpeakerArr::kMono;
        effect->setBusArrangements(&mono, 1, &mono, 1);
        Vst::ProcessSetup setup{Vst::kOffline, Vst::kSample32, 512, rate};
        effect->setupProcessing(setup);
        effect->setActive(true);
        effect->setDataFolder(parent.c_str());
        if (!record) return;
        effect->clickControl(corvane::kClockSource, 0.0);
        effect->clickControl(corvane::kCorrectionMode, 1.0);
        effect->clickControl(corvane::kTrackPitchAndTime, 1.0);
        for (int i = 0; i < int(rate); ++i) x.push_back(float(0.3 * std::sin(2 * M_PI * 220.0 * i / rate)));
        run(x);
        // Deactivation ends the run: its last block goes to the disk.
        effect->setActive(false);
        effect->waitForDisk();
    }
    // Processes `in` offline from the start of the timeline; the output.
    std::vector<float> run(std::vector<float> in)
    {
        std::vector<float> y(in.size());
        for (size_t pos = 0; pos < in.size(); pos += 512) {
            float* i[1] = {in.data() + pos};
            float* o[1] = {y.data() + pos};
            Vst::AudioBusBuffers inBus{}, outBus{};
            inBus.numChannels = outBus.numChannels = 1;
            inBus.channelBuffers32 = i;
            outBus.channelBuffers32 = o;
            Vst::ProcessData data{};
            data.processMode = Vst::kOffline;
            data.numSamples = int32(std::min<size_t>(512, in.size() - pos));
            data.numInputs = data.numOutputs = 1;
            data.inputs = &inBus;
            data.outputs = &outBus;
            effect->process(data);
        }
        return y;
    }
    // The level of the take played back from its data files with time
    // warping on, over silent input: RMS of its middle half second.
    double playedLevel()
    {
        effect->clickControl(corvane::kTrackPitchAndTime, 0.0);
        effect->clickControl(corvane::kEnableTimeWarping, 1.0);
        effect->setActive(true);
        const std::vector<float> y = run(std::vector<float>(size_t(rate), 0.0f));
        effect->setActive(false);
        double sum = 0.0;
        for (size_t i = size_t(rate / 4); i < size_t(3 * rate / 4); ++i) sum += double(y[i]) * y[i];
        return std::sqrt(sum / (rate / 2));
    }
    ~Take()
    {
        effect->setActive(false);
        effect->terminate();
        effect->release();
    }
    // Positions whose recorded sample differs from the take.
    int64_t mismatches()
    {
        int64_t bad = 0;
        for (size_t p = 0; p < x.size(); p += 97) {
            float left = 0.0f;
            int32 r;
            while ((r = effect->readTrackedSample(int64(p), &left, nullptr)) == 1) std::this_thread::yield();
            if (r != 0 || std::abs(left - x[p]) > 1.0f / 32767.0f) ++bad;
        }
        return x.empty() ? -1 : bad;
    }
    Corvane_FolderDlgData record()
    {
        Corvane_FolderDlgData r;
        effect->describe(&r);
        return r;
    }
    std::string folder()
    {
        const Corvane_FolderDlgData r = record();
        return std::string(r.parentFolderPath) + "/" + r.folderName;
    }
    // Runs one action as the dialog's button does; the alerts' titles shown.
    int act(ScriptedPlatform& user, int action, const std::string& newName = "")
    {
        Corvane_FolderDlgData r = record();
        r.actionRequested = action;
        if (!newName.empty()) setFolderText(r.folderName, newName);
        user.alerts.clear();
        return folderAction(*effect, user, &r);
    }
};

std::vector<std::string> titles(const ScriptedPlatform& user)
{
    std::vector<std::string> t;
    for (size_t i = 0; i < user.alerts.size(); i += 2) t.push_back(user.alerts[i]);
    return t;
}

using Titles = std::vector<std::string>;

} // namespace

TEST(DataFolder, RenameAndMoveWithinAndAcrossFileSystemsKeepTheTakeAndRefuseWhatTheyMust)
{
    const std::string scratch = freshFolder("data-folder-actions");
    const std::string other = "/dev/shm/corvane-data-folder-" + std::to_string(::getpid());
    std::system(("rm -rf '" + other + "' && mkdir -p '" + other + "'").c_str());
    ASSERT_TRUE(::mkdir((scratch + "/second").c_str(), 0755) == 0);
    Take take(scratch + "/first");
    ASSERT_EQ(take.mismatches(), 0);
    const Corvane_FolderDlgItems set = prepareFolderDlgItems(take.record(), "");
    EXPECT_TRUE(set.nameEditable && set.enabled[A::kMove] && set.enabled[A::kRename] && !set.parentInRed);
    ScriptedPlatform user;
    user.alertAnswer = true;

    // Rename: to the same name, to a name taken, to a new one.
    const std::string id = take.record().folderName;
    EXPECT_EQ(take.act(user, A::kRename, id), 0);
    EXPECT_EQ(titles(user), Titles{"Name not changed"});
    ASSERT_EQ(::mkdir((scratch + "/first/Taken").c_str(), 0755), 0);
    EXPECT_EQ(take.act(user, A::kRename, "Taken"), -1);
    EXPECT_EQ(titles(user), Titles{"Error trying to rename folder"});
    EXPECT_EQ(take.folder(), scratch + "/first/" + id);
    EXPECT_EQ(take.act(user, A::kRename, "Take one"), 0);
    EXPECT_EQ(titles(user), Titles{"Rename successful"});
    EXPECT_TRUE(isFolderAt(scratch + "/first/Take one") && !isFolderAt(scratch + "/first/" + id));
    EXPECT_EQ(take.mismatches(), 0);

    // Move: the question cancelled, the chooser cancelled, the same parent,
    // then within the file system and across.
    user.alertAnswer = false;
    EXPECT_EQ(take.act(user, A::kMove), -1);
    EXPECT_EQ(titles(user), Titles{"Are you sure?"});
    user.alertAnswer = true;
    user.folders = {"", scratch + "/first", scratch + "/second", other};
    EXPECT_EQ(take.act(user, A::kMove), 0);
    EXPECT_EQ(take.act(user, A::kMove), -1);
    EXPECT_EQ(titles(user), Titles{"Are you sure?"}) << "the present parent: nothing happens";
    EXPECT_EQ(take.act(user, A::kMove), 0);
    EXPECT_EQ(titles(user), (Titles{"Are you sure?", "Data folder moved"}));
    EXPECT_EQ(take.folder(), scratch + "/second/Take one");
    EXPECT_EQ(take.mismatches(), 0);
    EXPECT_EQ(take.act(user, A::kMove), 0);
    EXPECT_EQ(take.folder(), other + "/Take one");
    EXPECT_FALSE(isFolderAt(scratch + "/second/Take one"));
    EXPECT_EQ(take.mismatches(), 0);

    // A move across file systems that fails half way (a pipe cannot be
    // copied) changes nothing: the folder stays whole where it was, and
    // nothing is left at the destination.
    ASSERT_EQ(::mkfifo((other + "/Take one/pipe").c_str(), 0644), 0);
    user.folders.push_back(scratch + "/second");
    EXPECT_EQ(take.act(user, A::kMove), -1);
    EXPECT_EQ(titles(user), (Titles{"Are you sure?", "Error moving data folder"}));
    EXPECT_EQ(take.folder(), other + "/Take one");
    EXPECT_TRUE(take.record().folderRefSet);
    EXPECT_EQ(take.mismatches(), 0);
    EXPECT_EQ(std::system(("test -z \"$(ls -A '" + scratch + "/second')\"").c_str()), 0);
    std::remove((other + "/Take one/pipe").c_str());

    // Delete: cancelled keeps everything; confirmed removes the folder and
    // the take.
    user.alertAnswer = false;
    EXPECT_EQ(take.act(user, A::kDeleteAll), -1);
    EXPECT_TRUE(isFolderAt(other + "/Take one"));
    user.alertAnswer = true;
    EXPECT_EQ(take.act(user, A::kDeleteAll), 0);
    EXPECT_EQ(titles(user), (Titles{"Delete All: Are you sure?", "Data folder deleted"}));
    EXPECT_FALSE(isFolderAt(other + "/Take one"));
    EXPECT_FALSE(take.record().folderRefSet);
    std::system(("rm -rf '" + other + "'").c_str());
}

TEST(DataFolder, ASessionWhoseFolderMovedIsFoundAgainOrStartsOver)
{
    const std::string scratch = freshFolder("data-folder-find");
    std::vector<char> state;
    std::string folder;
    std::vector<float> x;
    {
        Take take(scratch + "/saved");
        ASSERT_EQ(take.mismatches(), 0);
        folder = take.folder();
        x = take.x;
        MemoryStream stream;
        ASSERT_EQ(take.effect->getState(&stream), kResultOk);
        state.assign(stream.getData(), stream.getData() + stream.getSize());
    }
    ASSERT_EQ(::mkdir((scratch + "/elsewhere").c_str(), 0755), 0);
    const std::string name = folder.substr(folder.find_last_of('/') + 1);
    const std::string moved = scratch + "/elsewhere/" + name;
    ASSERT_EQ(std::rename(folder.c_str(), moved.c_str()), 0);

    Take reopened(scratch + "/unused", false);
    reopened.x = x;
    MemoryStream stream(state.data(), TSize(state.size()));
    ASSERT_EQ(reopened.effect->setState(&stream), kResultOk);
    ASSERT_TRUE(reopened.effect->dataFilesMissing());
    const Corvane_FolderDlgItems error = prepareFolderDlgItems(reopened.record(), "");
    EXPECT_TRUE(error.parentInRed);
    EXPECT_EQ(error.parentText, "<Error [1] reading from data folder at " + scratch +
                                    "/saved. Click \"Find Data Folder...\" to locate the data folder.>");
    EXPECT_EQ(error.nameText, name);
    EXPECT_TRUE(error.enabled[A::kFind] && error.enabled[A::kSetUp] && !error.enabled[A::kMove] &&
                !error.enabled[A::kRename] && !error.enabled[A::kDeleteAll] && !error.nameEditable);

    // A wrong folder is refused and the session still expects its own; the
    // right one brings the take back.
    ScriptedPlatform user;
    user.alertAnswer = true;
    user.folders = {scratch + "/elsewhere", moved};
    EXPECT_LT(reopened.playedLevel(), 0.001) << "files missing: silence";
    EXPECT_EQ(reopened.act(user, A::kFind), -1);
    EXPECT_EQ(titles(user), Titles{"Error opening files"});
    EXPECT_EQ(reopened.folder(), folder);
    EXPECT_TRUE(reopened.effect->dataFilesMissing());
    EXPECT_EQ(reopened.act(user, A::kFind), 0);
    EXPECT_EQ(titles(user), Titles{"Data files found"});
    EXPECT_FALSE(reopened.effect->dataFilesMissing());
    EXPECT_EQ(reopened.mismatches(), 0);
    EXPECT_NEAR(reopened.playedLevel(), 0.3 / std::sqrt(2.0), 0.02) << "found: the take plays";

    // Starting over instead: the take is dropped and a new folder is made
    // where the user says.
    ASSERT_EQ(std::rename(moved.c_str(), (moved + "-lost").c_str()), 0);
    Take again(scratch + "/unused", false);
    MemoryStream second(state.data(), TSize(state.size()));
    ASSERT_EQ(again.effect->setState(&second), kResultOk);
    user.folders = {scratch + "/elsewhere"};
    user.foldersAsked = 0;
    EXPECT_EQ(again.act(user, A::kSetUp), 0);
    EXPECT_EQ(titles(user), (Titles{"Are you sure?", "Data folder location set"}));
    const Corvane_FolderDlgData fresh = again.record();
    EXPECT_TRUE(fresh.folderRefSet && fresh.statusLocationRequiredFiles == 0);
    EXPECT_EQ(std::string(fresh.parentFolderPath), scratch + "/elsewhere");
    EXPECT_EQ(std::string(fresh.folderName), std::string(fresh.sessionID));
    EXPECT_TRUE(isFolderAt(again.folder()));
    EXPECT_EQ(again.effect->getRegionCount(), 0);
}

TEST(DataFolder, ANewSessionHasNoFolderUntilOneIsSetUp)
{
    const std::string scratch = freshFolder("data-folder-setup");
    Take take(scratch + "/default", false);
    const Corvane_FolderDlgItems none = prepareFolderDlgItems(take.record(), "/the/default");
    EXPECT_EQ(none.parentText, "/the/default");
    EXPECT_EQ(none.nameText, "<Not yet set>");
    EXPECT_TRUE(none.enabled[A::kSetUp] && !none.enabled[A::kFind] && !none.enabled[A::kMove]);
    ScriptedPlatform user;
    user.alertAnswer = true;
    // Without a folder, Find, Move and Delete do nothing and say nothing.
    for (int action : {A::kFind, A::kMove, A::kDeleteAll}) {
        EXPECT_EQ(take.act(user, action), -1) << action;
        EXPECT_TRUE(user.alerts.empty()) << action;
    }
    user.folders = {scratch};
    EXPECT_EQ(take.act(user, A::kSetUp), 0);
    EXPECT_TRUE(isFolderAt(take.folder()));
    EXPECT_EQ(take.act(user, A::kSetUp), -1) << "a folder is set: nothing to set up";
}
