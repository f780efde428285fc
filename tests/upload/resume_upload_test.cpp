// Taking up an interrupted upload with a new controller, as after a crash or a restart of the
// computer: the state file a first upload left behind, or one written by hand for the cases a
// real upload reaches only by chance. Destinations are a loop-mounted ext4 volume and a share of
// the simulator's Samba server.
#include <gtest/gtest.h>

#include <chrono>
#include <regex>

#include "../../apps/devicesim/device_simulator.h"
#include "device/keychain.h"
#include "engine/partial_copy.h"
#include "lock_holder.h"
#include "platform/plist_io.h"
#include "platform/upload_claim.h"
#include "support/keychain_fake.h"
#include "upload_fixture.h"

namespace qvt::uploadtest {
namespace {

static ::testing::Environment* const kSamba = mounttest::sambaEnvironment();

constexpr const char* kSerial = "SN-RESUME";

// A folder of `count` small files in two sub-folders.
std::string makeFolder(const std::string& parent, const std::string& name, int count) {
    const std::string root = parent + "/" + name;
    for (int i = 0; i < count; ++i)
        test::writeFile(
            root + "/part " + std::to_string(i % 2) + "/item " + std::to_string(i) + ".txt",
            name + " " + std::to_string(i) + std::string(static_cast<std::size_t>(i % 53), '+'));
    return root;
}

// A pending source entry as the state file keeps it.
Record pendingEntry(const std::string& path, int files, int folders, std::uint64_t bytes,
                    bool ticked = true) {
    return Record{{"filesSelectCheckbox", ticked ? 1 : 0},
                  {"fileName", fs::path(path).filename().string()},
                  {"fullFilePath", path},
                  {"numberOfFiles", std::to_string(files) + (files == 1 ? " file" : " files")},
                  {"numberOfFolders", std::to_string(folders) + " folders"},
                  {"fileSize", bytes}};
}

// A state file holding `record` under `key`, where the controller reads it.
void writeState(UploadSession& s, const std::string& key, const Record& record) {
    fs::create_directories(fs::path(s.c().transferDataFilePath).parent_path());
    ASSERT_TRUE(
        platform::writePropertyList(s.c().transferDataFilePath, Value(Record{{key, record}})));
}

// The tag of the recorded upload's hidden copies: theirs start ".qvtransfer-01234567".
constexpr const char* kRecordedTag = "01234567";

Record savedUpload(const List& pending, const std::string& destination, const List& failed = {}) {
    return Record{{"isFileTransferCompleted", false},        {"isFileTransferPaused", true},
                  {"selectedDestinationShare", destination}, {"sourceFilesPendingArray", pending},
                  {"inProcessSourceFilesArray", List{}},     {"failedTransferArray", failed},
                  {"partialCopyTag", kRecordedTag}};
}

void resume(UploadSession& s) {
    s.harness().services.dispatch->mainSync([&] { s.c().resumeFileTransferAfterRestart(); });
}

// What the view was told when the resume could not go on ("" while nothing).
std::string resumeProblem(UploadSession& s) {
    std::lock_guard lock(s.harness().view->mutex);
    return s.harness().view->resumeProblems.empty() ? "" : s.harness().view->resumeProblems.back();
}

// A destination item checked against the source item it came from: every source file has an
// identical copy under its own name, and any other file is a copy the clash rule named
// ("NAME copy", "NAME copy 2", ...) identical to the source file it repeats: the interrupted
// item is copied again from its start. "" when it holds.
std::string resumedDifference(const Snapshot& source, const Snapshot& arrived) {
    static const std::regex clash(R"(^(.*) copy( [0-9]+)?$)");
    std::string problems;
    for (const auto& [path, item] : source) {
        const auto found = arrived.find(path);
        if (found == arrived.end())
            problems += "missing: " + path + "\n";
        else if (!(found->second == item))
            problems += "differs: " + path + "\n";
    }
    for (const auto& [path, item] : arrived) {
        if (source.count(path)) continue;
        const fs::path p(path);
        const std::string stem = p.stem().string(), extension = p.extension().string();
        std::smatch m;
        const std::string original = std::regex_match(stem, m, clash)
                                         ? (p.parent_path() / (m[1].str() + extension)).string()
                                         : std::string();
        const auto from = original.empty() ? source.end() : source.find(original);
        if (from == source.end() || !(from->second == item)) problems += "extra: " + path + "\n";
    }
    return problems;
}

class ResumeUpload : public ::testing::Test {
  protected:
    void TearDown() override { box.releaseMounts(); }

    mounttest::MountSandbox box;
    test::TempDir sources;
};

TEST_F(ResumeUpload, APausedUploadToAVolumeIsTakenUpByANewControllerAndArrivesWhole) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 64);
    ASSERT_TRUE(volume.ok());
    const std::vector<std::string> items = {makeFolder(sources.path(), "First", 150),
                                            makeFolder(sources.path(), "Second", 400),
                                            makeFolder(sources.path(), "Third", 150)};
    const std::string dest = volume.path() + "/Uploads";
    ASSERT_EQ(platform::files().createFolder(dest, false), 0);

    // The first upload is paused inside the second item, and the process is gone: only the
    // state file it wrote is left.
    std::string saved;
    {
        UploadSession first(dasDeviceFor(volume));
        ASSERT_TRUE(first.addSources(items));
        ASSERT_TRUE(first.toDestination(false));
        first.upload(dest);
        ASSERT_TRUE(test::waitFor([&] { return first.c().job().progressValue.load() > 200; }, 120));
        first.harness().services.dispatch->mainSync([&] { first.c().cancelUploadFiles(3); });
        ASSERT_TRUE(test::waitFor(
            [&] {
                const auto root = first.stateFile();
                const Record* r = root ? root->record(volume.uuid()) : nullptr;
                return r && r->boolean("isFileTransferPaused");
            },
            30));
        saved = test::readFile(first.c().transferDataFilePath);
        // What it says is pending: the interrupted item and the one not begun.
        const auto root = first.stateFile();
        const List* pending = root->record(volume.uuid())->list("sourceFilesPendingArray");
        ASSERT_TRUE(pending);
        std::vector<std::string> names;
        for (const Value& v : *pending) names.push_back(v.asRecord()->string("fileName"));
        EXPECT_EQ(names, (std::vector<std::string>{"Second", "Third"}));
    }
    ASSERT_FALSE(saved.empty());

    UploadSession second(dasDeviceFor(volume));
    fs::create_directories(fs::path(second.c().transferDataFilePath).parent_path());
    test::writeFile(second.c().transferDataFilePath, saved);
    resume(second);
    ASSERT_TRUE(second.waitCompleted(240)) << second.logText() << resumeProblem(second);

    EXPECT_TRUE(second.logged("QVTransfer: resumeFileTransferAfterRestart"));
    EXPECT_TRUE(second.failures().empty());
    EXPECT_EQ(resumeProblem(second), "");
    EXPECT_FALSE(second.c().job().resumedAfterRestart.load());
    // The item finished before the pause is not copied again; the interrupted one is, from its
    // start; the one not begun arrives once.
    EXPECT_EQ(difference(snapshot(items[0], true), snapshot(dest + "/First", false)), "");
    EXPECT_EQ(resumedDifference(snapshot(items[1], true), snapshot(dest + "/Second", false)), "");
    EXPECT_EQ(difference(snapshot(items[2], true), snapshot(dest + "/Third", false)), "");
    for (const auto& e : fs::recursive_directory_iterator(dest))
        EXPECT_FALSE(engine::isTemporaryName(e.path().filename().string())) << e.path();
    // The resumed upload ends as any upload: its record says completed.
    const auto root = second.stateFile();
    ASSERT_TRUE(root && root->record(volume.uuid()));
    EXPECT_TRUE(root->record(volume.uuid())->boolean("isFileTransferCompleted"));
}

TEST_F(ResumeUpload, AnAttachedDestinationUnderVolumesIsFoundByTheUuidOfItsVolume) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    ASSERT_EQ(platform::files().createFolder(volume.path() + "/2024", false), 0);
    const std::string file = sources.path() + "/beach.jpg";
    test::writeFile(file, "a picture of the beach");
    UploadSession s(dasDeviceFor(volume));
    // "Volumes" names no volume of the device; the record's key is the volume's UUID.
    writeState(s, volume.uuid(),
               savedUpload(List{pendingEntry(file, 1, 0, 22)}, "/Volumes/Photos/2024"));
    resume(s);
    ASSERT_TRUE(s.waitCompleted()) << s.logText() << resumeProblem(s);
    EXPECT_EQ(s.c().selectedDestinationShare.get(), volume.path() + "/2024");
    EXPECT_EQ(s.c().selectedDASUUID.get(), volume.uuid());
    EXPECT_EQ(test::readFile(volume.path() + "/2024/beach.jpg"), "a picture of the beach");
}

TEST_F(ResumeUpload, AnAttachedDestinationIsReRootedOnItsVolumesNewMountPoint) {
    // The volume was at /media/anna/Photos when the upload began; it is elsewhere now, and the
    // device's record says where.
    Ext4Volume volume(box.root(), box.root() + "/Photos1", 16);
    ASSERT_TRUE(volume.ok());
    ASSERT_EQ(platform::files().createFolder(volume.path() + "/2024", false), 0);
    const std::string file = sources.path() + "/boat.jpg";
    test::writeFile(file, "a boat");
    UploadSession s(dasDeviceFor(volume));
    writeState(s, volume.uuid(),
               savedUpload(List{pendingEntry(file, 1, 0, 6)}, "/media/anna/Photos/2024"));
    resume(s);
    ASSERT_TRUE(s.waitCompleted()) << s.logText() << resumeProblem(s);
    EXPECT_EQ(s.c().selectedDestinationShare.get(), volume.path() + "/2024");
    EXPECT_EQ(test::readFile(volume.path() + "/2024/boat.jpg"), "a boat");
}

TEST_F(ResumeUpload, UntickedEntriesCountInTheTotalsButAreNotCopied) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    const std::string ticked = makeFolder(sources.path(), "Ticked", 4);
    const std::string unticked = makeFolder(sources.path(), "Unticked", 3);
    UploadSession s(dasDeviceFor(volume));
    writeState(
        s, volume.uuid(),
        savedUpload(List{pendingEntry(ticked, 4, 2, 400), pendingEntry(unticked, 3, 2, 300, false)},
                    volume.path()));
    EXPECT_TRUE(s.c().hasUploadToResume());
    resume(s);
    ASSERT_TRUE(s.waitCompleted()) << s.logText() << resumeProblem(s);
    EXPECT_FALSE(s.c().hasUploadToResume());
    EXPECT_EQ(s.c().totalNumberOfSourceFiles.load(), 7);
    EXPECT_EQ(s.c().totalNumberOfSourceFolders.load(), 4);
    EXPECT_EQ(s.c().totalSourceFilesSize.load(), 700u);
    EXPECT_EQ(s.c().job().numberOfFilesCountForTransfer.load(), 7);
    EXPECT_EQ(difference(snapshot(ticked, true), snapshot(volume.path() + "/Ticked", false)), "");
    EXPECT_FALSE(fs::exists(volume.path() + "/Unticked"));
}

// An upload with the move option that ended with the process: the files it had moved are at
// the destination and gone from the source. Taking it up copies the folder again from its
// start; those files are not lost, and only a file gone from both is told.
TEST_F(ResumeUpload, FilesThatArrivedBeforeTheRestartAndLeftTheSourceAreNotToldAsGone) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    const std::string trip = makeFolder(sources.path(), "Trip", 8);
    const Snapshot whole = snapshot(trip, true);
    std::uint64_t bytes = 0;
    for (const auto& [path, item] : whole) bytes += item.size;
    // Three files moved before the process ended, and one the user deleted since.
    for (const std::string name : {"part 0/item 0.txt", "part 1/item 1.txt", "part 0/item 2.txt"}) {
        fs::create_directories(fs::path(volume.path() + "/Trip/" + name).parent_path());
        fs::copy_file(trip + "/" + name, volume.path() + "/Trip/" + name);
        fs::remove(trip + "/" + name);
    }
    fs::remove(trip + "/part 1/item 7.txt");

    UploadSession s(dasDeviceFor(volume));
    writeState(s, volume.uuid(), savedUpload(List{pendingEntry(trip, 8, 2, bytes)}, volume.path()));
    resume(s);
    ASSERT_TRUE(s.waitCompleted()) << s.logText() << resumeProblem(s);

    const auto failures = s.failures();
    ASSERT_EQ(failures.size(), 1u) << s.logText();
    EXPECT_EQ(failures[0].string("localizedError"),
              "Files in this folder are no longer there: 1 of the 8 counted when it was chosen.");
    // Every file but the deleted one is at the destination, whole.
    Snapshot expected = whole;
    expected.erase("part 1/item 7.txt");
    EXPECT_EQ(difference(expected, snapshot(volume.path() + "/Trip", false)), "");
}

// Files chosen one by one fare the same: the record, written every few seconds, may still list
// files that the interrupted upload had moved. Each is at the destination under its name and
// is not told as gone; a file gone from both places is.
TEST_F(ResumeUpload, FilesMovedJustBeforeTheRestartAreNotToldAsGone) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    List pending;
    for (const std::string name : {"moved.txt", "deleted.txt", "left.txt"}) {
        test::writeFile(sources.path() + "/" + name, "the file " + name + "\n");
        pending.push_back(Value(pendingEntry(sources.path() + "/" + name, 1, 0, 14)));
    }
    fs::copy_file(sources.path() + "/moved.txt", volume.path() + "/moved.txt");
    fs::remove(sources.path() + "/moved.txt");
    fs::remove(sources.path() + "/deleted.txt");

    UploadSession s(dasDeviceFor(volume));
    Record record = savedUpload(pending, volume.path());
    record.set("removeFilesAfterUpload", Value(true));
    writeState(s, volume.uuid(), record);
    resume(s);
    ASSERT_TRUE(s.waitCompleted()) << s.logText() << resumeProblem(s);

    const auto failures = s.failures();
    ASSERT_EQ(failures.size(), 1u) << s.logText();
    EXPECT_EQ(failures[0].string("sourceFilePath"), sources.path() + "/deleted.txt");
    EXPECT_EQ(failures[0].string("localizedError"), "The file is no longer there.");
    EXPECT_EQ(test::readFile(volume.path() + "/moved.txt"), "the file moved.txt\n");
    EXPECT_EQ(test::readFile(volume.path() + "/left.txt"), "the file left.txt\n");
    EXPECT_FALSE(fs::exists(volume.path() + "/moved copy.txt"));
    EXPECT_FALSE(fs::exists(sources.path() + "/left.txt"));
}

// A record of an upload that moves its sources is taken up as a move: the files leave the
// source once they have arrived, the emptied folder goes to the Trash, and a protected source is
// copied and stays. A move key of another kind than a boolean is no move.
TEST_F(ResumeUpload, AMoveIsTakenUpAsAMoveAndAKeyOfAnotherKindAsACopy) {
    for (const bool asMove : {true, false}) {
        SCOPED_TRACE(asMove ? "move" : "key of another kind");
        Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
        ASSERT_TRUE(volume.ok());
        test::TempDir data;
        const EnvironmentOverride trashHome("XDG_DATA_HOME", data.path());
        UploadSession s(dasDeviceFor(volume));
        const std::string trip = makeFolder(sources.path(), "Trip", 4);
        const Snapshot whole = snapshot(trip, true);
        std::uint64_t bytes = 0;
        for (const auto& [path, item] : whole) bytes += item.size;
        const std::string notes = s.home() + "/Library/Notes.txt";
        test::writeFile(notes, "notes\n");
        Record saved = savedUpload(
            List{pendingEntry(trip, 4, 2, bytes), pendingEntry(notes, 1, 0, 6)}, volume.path());
        saved.set("removeFilesAfterUpload", asMove ? Value(true) : Value("true"));
        writeState(s, volume.uuid(), saved);
        resume(s);
        ASSERT_TRUE(s.waitCompleted()) << s.logText() << resumeProblem(s);
        EXPECT_TRUE(s.failures().empty()) << s.logText();
        EXPECT_EQ(difference(whole, snapshot(volume.path() + "/Trip", false)), "");
        EXPECT_EQ(test::readFile(volume.path() + "/Notes.txt"), "notes\n");
        EXPECT_EQ(test::readFile(notes), "notes\n");
        EXPECT_EQ(fs::exists(trip), !asMove);
        EXPECT_EQ(fs::exists(data.path() + "/Trash/files/Trip"), asMove);
        if (asMove) {
            // The folder that went to the Trash is empty of files: they are on the volume.
            for (const auto& e :
                 fs::recursive_directory_iterator(data.path() + "/Trash/files/Trip"))
                EXPECT_FALSE(e.is_regular_file()) << e.path();
        }
        fs::remove_all(trip);
    }
}

// A new upload that takes the place of an unfinished one (which nothing can take up after it)
// removes the hidden copies that one left where its sources were going, and nothing else.
TEST_F(ResumeUpload, ANewUploadInPlaceOfAnUnfinishedOneRemovesTheHiddenCopiesItLeft) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    const std::string trip = makeFolder(sources.path(), "Trip", 4);
    const std::string backup = volume.path() + "/Backup";
    const std::string hidden = ".qvtransfer-0123456789abcdef.part";
    // Another upload's, to the same folder (another computer's, another user's): not the
    // replaced upload's to remove.
    const std::string anotherUploads = ".qvtransfer-89abcdef01234567.part";
    for (const std::string& folder :
         {backup, backup + "/Trip", backup + "/Trip/part 1", volume.path() + "/Other"}) {
        test::writeFile(folder + "/" + hidden, "part of a file");
        test::writeFile(folder + "/" + anotherUploads, "another upload's");
    }
    test::writeFile(backup + "/Trip/part 1/item 1.txt", "arrived before");

    UploadSession s(dasDeviceFor(volume));
    writeState(s, volume.uuid(), savedUpload(List{pendingEntry(trip, 4, 2, 400)}, backup));
    const std::string memo = sources.path() + "/memo.txt";
    test::writeFile(memo, "memo");
    ASSERT_TRUE(s.addSources({memo}));
    ASSERT_TRUE(s.toDestination(false));
    fs::create_directories(volume.path() + "/New");
    s.upload(volume.path() + "/New");
    ASSERT_TRUE(s.waitCompleted()) << s.logText();

    EXPECT_EQ(test::readFile(volume.path() + "/New/memo.txt"), "memo");
    EXPECT_FALSE(fs::exists(backup + "/" + hidden));
    EXPECT_FALSE(fs::exists(backup + "/Trip/" + hidden));
    EXPECT_FALSE(fs::exists(backup + "/Trip/part 1/" + hidden));
    EXPECT_EQ(test::readFile(backup + "/Trip/part 1/item 1.txt"), "arrived before");
    // A folder the replaced upload was not going to is left alone.
    EXPECT_TRUE(fs::exists(volume.path() + "/Other/" + hidden));
    for (const std::string& folder :
         {backup, backup + "/Trip", backup + "/Trip/part 1", volume.path() + "/Other"})
        EXPECT_EQ(test::readFile(folder + "/" + anotherUploads), "another upload's") << folder;
}

TEST_F(ResumeUpload, TheFailuresFromBeforeTheRestartAreNotShown) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    const std::string file = sources.path() + "/letter.txt";
    test::writeFile(file, "Dear all");
    UploadSession s(dasDeviceFor(volume));
    const List oldFailures{Record{{"sourceFilePath", "/gone/old.txt"},
                                  {"destinationFilePath", volume.path() + "/old.txt"},
                                  {"error", "Permission denied"}}};
    writeState(s, volume.uuid(),
               savedUpload(List{pendingEntry(file, 1, 0, 8)}, volume.path(), oldFailures));
    resume(s);
    ASSERT_TRUE(s.waitCompleted()) << s.logText() << resumeProblem(s);
    EXPECT_TRUE(s.failures().empty());
    EXPECT_FALSE(s.c().isFileTransferFailed());
    EXPECT_TRUE(s.harness().view->statusNow().failures.empty());
    EXPECT_EQ(s.harness().view->statusNow().warning, "");
    EXPECT_EQ(test::readFile(volume.path() + "/letter.txt"), "Dear all");
}

TEST_F(ResumeUpload, TheProgressScreenAndItsStopButtonComeOnlyAfterTheMountHasSettled) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    const std::string file = sources.path() + "/song.mp3";
    test::writeFile(file, "la la la");
    UploadSession s(dasDeviceFor(volume));
    writeState(s, volume.uuid(), savedUpload(List{pendingEntry(file, 1, 0, 8)}, volume.path()));
    const auto before = std::chrono::steady_clock::now();
    resume(s);
    ASSERT_TRUE(test::waitFor([&] { return s.harness().view->called("showScreen statusView"); }))
        << s.logText();
    const double waited =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
    // The settle is 3 s of the session's clock, which runs kTimeScale times faster.
    EXPECT_GE(waited, 3.0 / UploadSession::kTimeScale);
    ASSERT_TRUE(s.waitCompleted()) << s.logText();
    EXPECT_EQ(test::readFile(volume.path() + "/song.mp3"), "la la la");
}

TEST_F(ResumeUpload, NothingRecordedForTheDeviceIsToldInOneSentenceAndNothingIsCopied) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    UploadSession s(dasDeviceFor(volume));
    EXPECT_FALSE(s.c().hasUploadToResume());
    resume(s);
    ASSERT_TRUE(test::waitFor([&] { return !resumeProblem(s).empty(); })) << s.logText();
    EXPECT_EQ(resumeProblem(s), "There is no interrupted upload to Test Drive to take up.");
    EXPECT_FALSE(s.harness().view->called("showScreen statusView"));
    EXPECT_FALSE(s.c().job().resumedAfterRestart.load());

    // A completed upload leaves nothing either.
    UploadSession done(dasDeviceFor(volume));
    Record completed = savedUpload(List{pendingEntry("/x", 1, 0, 1)}, volume.path());
    completed.set("isFileTransferCompleted", true);
    writeState(done, volume.uuid(), completed);
    resume(done);
    ASSERT_TRUE(test::waitFor([&] { return !resumeProblem(done).empty(); }));
    EXPECT_EQ(resumeProblem(done), "There is no interrupted upload to Test Drive to take up.");

    // Nor does the one record of a network device's upload: it is not offered, and is kept.
    UploadSession other(dasDeviceFor(volume));
    Record networks = savedUpload(List{pendingEntry("/x", 1, 0, 1)}, "/home/u/.QVTransfer/Public");
    networks.set("deviceType", "NAS");
    writeState(other, "SN-ELSEWHERE", networks);
    const std::string kept = test::readFile(other.c().transferDataFilePath);
    EXPECT_FALSE(other.c().hasUploadToResume());
    resume(other);
    ASSERT_TRUE(test::waitFor([&] { return !resumeProblem(other).empty(); }));
    EXPECT_EQ(resumeProblem(other), "There is no interrupted upload to Test Drive to take up.");
    ASSERT_TRUE(other.settle());
    EXPECT_EQ(test::readFile(other.c().transferDataFilePath), kept);
}

TEST_F(ResumeUpload, AnUnreadableStateFileIsToldAndKeptAsItWas) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    for (const std::string& content :
         {std::string("<?xml version=\"1.0\"?><plist><dict><key>x</key>"),
          std::string("\x00\x01garbage", 9)}) {
        UploadSession s(dasDeviceFor(volume));
        fs::create_directories(fs::path(s.c().transferDataFilePath).parent_path());
        test::writeFile(s.c().transferDataFilePath, content);
        EXPECT_FALSE(s.c().hasUploadToResume());
        resume(s);
        ASSERT_TRUE(test::waitFor([&] { return !resumeProblem(s).empty(); })) << s.logText();
        EXPECT_EQ(resumeProblem(s),
                  "The record of the interrupted upload could not be read, so the upload cannot "
                  "be taken up.");
        ASSERT_TRUE(s.settle());
        EXPECT_EQ(test::readFile(s.c().transferDataFilePath), content);
    }
}

TEST_F(ResumeUpload, ADestinationThatClimbsOutOfItsMountIsRefused) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    const std::string file = sources.path() + "/escape.txt";
    test::writeFile(file, "should stay");
    for (const std::string& destination :
         {volume.path() + "/../outside", std::string("relative/folder"), volume.path() + "/./x"}) {
        UploadSession s(dasDeviceFor(volume));
        writeState(s, volume.uuid(), savedUpload(List{pendingEntry(file, 1, 0, 11)}, destination));
        resume(s);
        ASSERT_TRUE(test::waitFor([&] { return !resumeProblem(s).empty(); })) << destination;
        EXPECT_NE(resumeProblem(s).find("could not be read"), std::string::npos) << destination;
        ASSERT_TRUE(s.settle());
        EXPECT_FALSE(fs::exists(box.root() + "/outside"));
        EXPECT_FALSE(s.harness().view->called("showScreen statusView"));
    }
}

TEST_F(ResumeUpload, ASourceWhoseNameClimbsIsAFailureAndNothingLandsOutsideTheDestination) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    const std::string dest = volume.path() + "/Inbox/Deep";
    fs::create_directories(dest);
    test::writeFile(sources.path() + "/inner/file.txt", "inner");
    const std::string fine = sources.path() + "/fine.txt";
    test::writeFile(fine, "fine");
    UploadSession s(dasDeviceFor(volume));
    writeState(
        s, volume.uuid(),
        savedUpload(List{pendingEntry(sources.path() + "/inner/..", 2, 1, 9),
                         pendingEntry(sources.path() + "/.", 2, 1, 9), pendingEntry(fine, 1, 0, 4)},
                    dest));
    resume(s);
    ASSERT_TRUE(s.waitCompleted()) << s.logText() << resumeProblem(s);
    EXPECT_EQ(s.failures().size(), 2u);
    EXPECT_EQ(namesIn(dest), (std::set<std::string>{"fine.txt"}));
    EXPECT_EQ(namesIn(volume.path() + "/Inbox"), (std::set<std::string>{"Deep"}));
}

TEST_F(ResumeUpload, AVolumeThatIsNotThereIsToldAndNothingIsWritten) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    const std::string file = sources.path() + "/lost.txt";
    test::writeFile(file, "lost");
    UploadSession s(dasDeviceFor(volume));
    // The record is of another disk, which is not attached.
    writeState(s, "00000000-1111-2222-3333-444444444444",
               savedUpload(List{pendingEntry(file, 1, 0, 4)}, "/media/anna/Other/2024"));
    resume(s);
    ASSERT_TRUE(test::waitFor([&] { return !resumeProblem(s).empty(); })) << s.logText();
    EXPECT_EQ(resumeProblem(s),
              "The destination on Test Drive could not be reached, so the interrupted upload "
              "cannot be taken up now.");
    EXPECT_TRUE(namesIn(volume.path()).count("lost.txt") == 0);
}

// The state file's record may be of an upload that another process (a second window, a console
// uploader) is running: taking it up beside it would remove that upload's hidden copy as a
// leftover and copy the same files twice.
TEST_F(ResumeUpload, AnUploadOpenInAnotherProcessIsNotTakenUpBesideIt) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    const std::string file = sources.path() + "/memo.txt";
    test::writeFile(file, "memo");
    const std::string dest = volume.path() + "/Uploads";
    const std::string partial = engine::temporaryPathFor(dest + "/memo.txt", 0x01234567);
    test::writeFile(partial, "me");
    // Another upload's hidden copy in the same folder (another computer writing to it): taking
    // this upload up never removes it.
    const std::string anotherUploads = engine::temporaryPathFor(dest + "/memo.txt", 0x89abcdef);
    test::writeFile(anotherUploads, "another upload's");
    UploadSession s(dasDeviceFor(volume));
    writeState(s, volume.uuid(), savedUpload(List{pendingEntry(file, 1, 0, 4)}, dest));
    const std::string saved = test::readFile(s.c().transferDataFilePath);
    const std::string lock = fs::path(s.c().transferDataFilePath).parent_path().string() + "/" +
                             platform::kUploadClaimFileName;
    {
        test::LockHolder other(lock);
        ASSERT_TRUE(other.held());
        // The record is not offered as an interrupted upload.
        EXPECT_FALSE(s.c().hasUploadToResume());
        resume(s);
        ASSERT_TRUE(test::waitFor([&] { return !resumeProblem(s).empty(); })) << s.logText();
        EXPECT_EQ(resumeProblem(s), "Another upload is open in process " +
                                        std::to_string(other.pid()) +
                                        ", so the interrupted upload cannot be taken up now. "
                                        "Close that upload or wait until it ends, then try again.");
        ASSERT_TRUE(s.settle());
        EXPECT_EQ(test::readFile(partial), "me");
        EXPECT_FALSE(fs::exists(dest + "/memo.txt"));
        EXPECT_EQ(test::readFile(s.c().transferDataFilePath), saved);
    }
    // Once that process has ended, the same controller takes the upload up.
    EXPECT_TRUE(s.c().hasUploadToResume());
    resume(s);
    ASSERT_TRUE(s.waitCompleted()) << s.logText() << resumeProblem(s);
    EXPECT_EQ(test::readFile(dest + "/memo.txt"), "memo");
    EXPECT_FALSE(fs::exists(partial));
    EXPECT_EQ(test::readFile(anotherUploads), "another upload's");
    // With every file arrived and the end recorded, this process lets the lock go, though
    // its controller lives on.
    EXPECT_TRUE(test::waitFor([&] { return test::anotherProcessCouldLock(lock); }));
}

// A resume that cannot go on leaves nothing open: another process may take the upload up.
TEST_F(ResumeUpload, AResumeThatCannotGoOnLetsAnotherProcessTakeItUp) {
    const std::string file = sources.path() + "/lost.txt";
    test::writeFile(file, "lost");
    UploadSession s(test::dasDevice({"/nonexistent/Drive"}));
    writeState(s, "00000000-1111-2222-3333-444444444444",
               savedUpload(List{pendingEntry(file, 1, 0, 4)}, "/media/anna/Other/2024"));
    resume(s);
    ASSERT_TRUE(test::waitFor([&] { return !resumeProblem(s).empty(); })) << s.logText();
    ASSERT_TRUE(s.settle());
    EXPECT_TRUE(
        test::anotherProcessCouldLock(fs::path(s.c().transferDataFilePath).parent_path().string() +
                                      "/" + platform::kUploadClaimFileName));
}

// ---- A network device ----

class ResumeNasUpload : public ::testing::Test {
  protected:
    void SetUp() override {
        QVT_REQUIRE_SAMBA();
        for (const auto& e : fs::directory_iterator(backing("Private"))) fs::remove_all(e.path());
        devicesim::DeviceConfig config;
        config.serialNumber = kSerial;
        config.productName = "Test Cloud";
        config.users = {{mounttest::kUser, mounttest::kPassword}};
        ASSERT_GT(device.start(config), 0);
        ASSERT_EQ(keychain::setCredentials(kSerial, mounttest::kUser, mounttest::kPassword), 0);
    }
    void TearDown() override {
        device.stop();
        box.releaseMounts();
    }
    static std::string backing(const std::string& share) {
        return mounttest::SambaEnvironment::server()->sharePath(share);
    }
    Record nas() const {
        return test::nasDevice("127.0.0.1:" + std::to_string(device.port()), kSerial, "Test Cloud");
    }

    mounttest::MountSandbox box;
    devicesim::DeviceSimulator device;
    std::shared_ptr<keychain::FakeKeychain> keys = std::make_shared<keychain::FakeKeychain>();
    keychain::ScopedBackend useKeys{keys};
    test::TempDir sources;
};

TEST_F(ResumeNasUpload, TheShareIsMountedAgainWithTheStoredAccountAndTheRestArrives) {
    const std::string tree = makeFolder(sources.path(), "Album", 30);
    fs::create_directories(backing("Private") + "/Uploads");
    UploadSession s(nas());
    // The share was mounted at "Private-1" before the restart: the number is cut off.
    writeState(s, kSerial,
               savedUpload(List{pendingEntry(tree, 30, 2, 2000)},
                           s.home() + "/.QVTransfer/Private-1/Uploads"));
    resume(s);
    ASSERT_TRUE(s.waitCompleted()) << s.logText() << resumeProblem(s);
    EXPECT_TRUE(s.failures().empty());
    EXPECT_EQ(s.c().userName.get(), mounttest::kUser);
    EXPECT_EQ(s.c().selectedDestinationShare.get(), s.home() + "/.QVTransfer/Private/Uploads");
    EXPECT_EQ(
        difference(snapshot(tree, true), snapshot(backing("Private") + "/Uploads/Album", false)),
        "");
    // The password stays in the keychain: not in the log, not in the state file.
    EXPECT_EQ(s.logText().find(mounttest::kPassword), std::string::npos);
    EXPECT_EQ(test::readFile(s.c().transferDataFilePath).find(mounttest::kPassword),
              std::string::npos);
}

TEST_F(ResumeNasUpload, ADestinationOutsideTheMountFolderKeepsItsShareAndItsFolder) {
    const std::string file = sources.path() + "/report.pdf";
    test::writeFile(file, "quarterly");
    fs::create_directories(backing("Private") + "/dir");
    UploadSession s(nas());
    writeState(s, kSerial,
               savedUpload(List{pendingEntry(file, 1, 0, 9)}, "/Volumes/Private-2/dir"));
    resume(s);
    ASSERT_TRUE(s.waitCompleted()) << s.logText() << resumeProblem(s);
    EXPECT_EQ(test::readFile(backing("Private") + "/dir/report.pdf"), "quarterly");
}

TEST_F(ResumeNasUpload, AShareThatCannotBeMountedIsToldAndNothingIsCopied) {
    const std::string file = sources.path() + "/memo.txt";
    test::writeFile(file, "memo");
    UploadSession s(nas());
    writeState(
        s, kSerial,
        savedUpload(List{pendingEntry(file, 1, 0, 4)}, s.home() + "/.QVTransfer/Nowhere/Uploads"));
    resume(s);
    ASSERT_TRUE(test::waitFor([&] { return !resumeProblem(s).empty(); }, 60)) << s.logText();
    EXPECT_EQ(resumeProblem(s),
              "The destination on Test Cloud could not be reached, so the interrupted upload "
              "cannot be taken up now.");
    EXPECT_FALSE(s.harness().view->called("showScreen statusView"));
}

TEST_F(ResumeNasUpload, ARecordOfAnotherDeviceIsNotTakenUp) {
    const std::string file = sources.path() + "/memo.txt";
    test::writeFile(file, "memo");
    UploadSession s(nas());
    writeState(
        s, "SN-SOMEONE-ELSE",
        savedUpload(List{pendingEntry(file, 1, 0, 4)}, s.home() + "/.QVTransfer/Private/Uploads"));
    resume(s);
    ASSERT_TRUE(test::waitFor([&] { return !resumeProblem(s).empty(); })) << s.logText();
    EXPECT_EQ(resumeProblem(s), "There is no interrupted upload to Test Cloud to take up.");
    EXPECT_FALSE(fs::exists(backing("Private") + "/Uploads/memo.txt"));
}

}  // namespace
}  // namespace qvt::uploadtest
