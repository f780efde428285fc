// Whole uploads to a directly attached disk: a loop-mounted ext4 volume, the real file layer,
// the controller from the source list to the end of the upload.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>

#include "lock_holder.h"
#include "platform/files.h"
#include "platform/upload_claim.h"
#include "upload_fixture.h"

namespace qvt::uploadtest {
namespace {

constexpr std::size_t kBig = 100u << 20;

// The name a second copy of `name` gets: COPY before the extension (a leading dot does not
// start an extension).
std::string copyName(const std::string& name, const std::string& copyWord) {
    const auto dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return name + " " + copyWord;
    return name.substr(0, dot) + " " + copyWord + name.substr(dot);
}

std::string withCopyName(const std::string& relPath, const std::string& copyWord) {
    const fs::path p(relPath);
    const std::string renamed = copyName(p.filename().string(), copyWord);
    return p.has_parent_path() ? (p.parent_path() / renamed).string() : renamed;
}

// The lock file that tells which process has an upload open.
std::string lockPathOf(UploadSession& s) {
    return fs::path(s.c().transferDataFilePath).parent_path().string() + "/" +
           platform::kUploadClaimFileName;
}

std::uint64_t bytesOf(const Snapshot& s) {
    std::uint64_t n = 0;
    for (const auto& [path, item] : s) n += item.size;
    return n;
}

class DasUpload : public ::testing::Test {
  protected:
    void TearDown() override { box.releaseMounts(); }

    mounttest::MountSandbox box;
};

TEST_F(DasUpload, MixedTreeArrivesByteForByte) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 320);
    ASSERT_TRUE(volume.ok());
    UploadSession s(dasDeviceFor(volume));
    const std::string tree = makeMixedTree(s.home() + "/sources", kBig);
    const std::string single = s.home() + "/sources/single file.txt";
    test::writeFile(single, "a top-level file\n");
    const Snapshot expected = snapshot(tree, true);
    ASSERT_EQ(filesOf(expected).size(), 16u);

    ASSERT_TRUE(s.addSources({tree, single}));
    EXPECT_EQ(s.c().totalNumberOfSourceFiles.load(), 17);
    ASSERT_TRUE(s.toDestination(false));
    const std::string dest = volume.path() + "/Uploads";
    fs::create_directories(dest);
    s.upload(dest);
    ASSERT_TRUE(s.waitCompleted());

    EXPECT_TRUE(s.failures().empty());
    EXPECT_FALSE(s.c().isFileTransferFailed());
    EXPECT_FALSE(s.c().uploadCancelled());
    std::vector<std::string> links;
    const Snapshot arrived = snapshot(dest + "/Mixed Tree", false, &links);
    EXPECT_EQ(difference(expected, arrived), "");
    EXPECT_TRUE(links.empty()) << "a link arrived as a link: " << links.front();
    // The link arrived as a copy of what it points to.
    EXPECT_EQ(arrived.at("link to plain").digest, sha256Of(tree + "/plain.txt"));
    EXPECT_EQ(test::readFile(dest + "/single file.txt"), "a top-level file\n");
    EXPECT_EQ(namesIn(dest), (std::set<std::string>{"Mixed Tree", "single file.txt"}));

    // Copying leaves the sources as they were, the link a link.
    EXPECT_EQ(difference(expected, snapshot(tree, true)), "");
    EXPECT_TRUE(fs::is_symlink(tree + "/link to plain"));

    // Every file counted once; the bytes at the destination are the sources' bytes.
    EXPECT_EQ(s.c().job().progressValue.load(), 17);
    EXPECT_EQ(s.c().job().numberOfFilesCountForTransfer.load(), 17);
    EXPECT_EQ(s.c().job().totalTransferredFilesSize.load(), bytesOf(expected) + 17);
    EXPECT_EQ(s.c().selectedDestinationShare.get(), dest);
    EXPECT_EQ(s.c().selectedDASUUID.get(), volume.uuid());
    EXPECT_EQ(s.delegate().cancelCount.load(), 0);
    EXPECT_GT(s.delegate().statusCount.load(), 0);

    // The state file says, under the volume's UUID, that the upload is complete.
    const auto state = s.stateFile();
    ASSERT_TRUE(state);
    ASSERT_EQ(state->size(), 1u);
    const Record* record = state->record(volume.uuid());
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->find("isFileTransferCompleted")->toBool());
    EXPECT_FALSE(record->find("isFileTransferFailed")->toBool());
    ASSERT_TRUE(record->list("sourceFilesPendingArray"));
    EXPECT_TRUE(record->list("sourceFilesPendingArray")->empty())
        << Value(*record->list("sourceFilesPendingArray")).describe();
    EXPECT_EQ(record->string("selectedDestinationShare"), dest);
    EXPECT_EQ(record->string("deviceType"), "DAS");
}

// One upload at a time: the state file keeps one record, and a second process's upload would
// replace the running one's, which a crash of that one could then not be taken up from.
TEST_F(DasUpload, AnUploadIsNotStartedWhileAnotherProcessHasOneOpen) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    UploadSession s(dasDeviceFor(volume));
    const std::string file = s.home() + "/sources/memo.txt";
    test::writeFile(file, "memo");
    const std::string folder = fs::path(s.c().transferDataFilePath).parent_path().string();
    const std::string theirs = "the running upload's record\n";
    test::writeFile(s.c().transferDataFilePath, theirs);
    ASSERT_TRUE(s.addSources({file}));
    ASSERT_TRUE(s.toDestination(false));
    const std::string dest = volume.path() + "/Uploads";
    fs::create_directories(dest);
    {
        test::LockHolder other(folder + "/" + platform::kUploadClaimFileName);
        ASSERT_TRUE(other.held());
        s.upload(dest);
        ASSERT_TRUE(s.settle());
        std::lock_guard lock(s.harness().view->mutex);
        ASSERT_EQ(s.harness().view->notices.size(), 1u);
        EXPECT_EQ(s.harness().view->notices.back(),
                  "Another upload is open in process " + std::to_string(other.pid()) +
                      ". Only one upload can run at a time, because the record that lets an "
                      "upload be taken up again holds one. Close that upload or wait until it "
                      "ends, then try again.");
    }
    EXPECT_FALSE(fs::exists(dest + "/memo.txt"));
    EXPECT_EQ(test::readFile(s.c().transferDataFilePath), theirs);

    // With that process gone, the same Upload button starts the upload.
    s.upload(dest);
    ASSERT_TRUE(s.waitCompleted());
    EXPECT_EQ(test::readFile(dest + "/memo.txt"), "memo");
}

// An upload that ended with every file arrived records no more: a window left open on its
// finished screen lets another process upload. One with failures keeps its hold, since a retry
// of them records again.
TEST_F(DasUpload, AWindowLeftOnItsFinishedScreenKeepsNoOneFromUploading) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    const std::string dest = volume.path() + "/Uploads";
    fs::create_directories(dest);
    test::TempDir sources;
    test::writeFile(sources.path() + "/memo.txt", "memo");
    const std::string fifo = sources.path() + "/pipe";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    {
        UploadSession s(dasDeviceFor(volume));
        ASSERT_TRUE(s.addSources({sources.path() + "/memo.txt", fifo}));
        ASSERT_TRUE(s.toDestination(false));
        s.upload(dest);
        ASSERT_TRUE(s.waitCompleted());
        ASSERT_TRUE(s.settle());
        ASSERT_EQ(s.failures().size(), 1u);
        EXPECT_FALSE(test::anotherProcessCouldLock(lockPathOf(s)));
    }
    UploadSession s(dasDeviceFor(volume));
    ASSERT_TRUE(s.addSources({sources.path() + "/memo.txt"}));
    ASSERT_TRUE(s.toDestination(false));
    s.upload(dest);
    ASSERT_TRUE(s.waitCompleted());
    ASSERT_TRUE(s.failures().empty());
    EXPECT_EQ(test::readFile(dest + "/memo " + s.c().localeCOPY_txt + ".txt"), "memo");
    ASSERT_TRUE(test::waitFor([&] { return test::anotherProcessCouldLock(lockPathOf(s)); }));
    // The hold went after the record of the end was written.
    const auto state = s.stateFile();
    ASSERT_TRUE(state && state->record(volume.uuid()));
    EXPECT_TRUE(state->record(volume.uuid())->find("isFileTransferCompleted")->toBool());
    EXPECT_FALSE(state->record(volume.uuid())->find("isFileTransferFailed")->toBool());
    // Another process's upload recorded since is not written over when this one's desktop
    // session ends.
    const std::string theirs = "another process's record\n";
    test::writeFile(s.c().transferDataFilePath, theirs);
    s.c().suspendForEndOfSession();
    EXPECT_EQ(test::readFile(s.c().transferDataFilePath), theirs);
    // Nor by a write of the state-file loop that comes late.
    s.c().saveQVTransferDataToFile();
    EXPECT_EQ(test::readFile(s.c().transferDataFilePath), theirs);
}

// The release of the hold queued at the end of an upload is not carried out once another
// upload (a resume, a retry) has begun in the same controller: that one keeps the hold.
TEST_F(DasUpload, TheHoldOfAnUploadBegunSinceIsNotLetGoByTheEndOfTheOneBefore) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    UploadSession s(dasDeviceFor(volume));
    ASSERT_EQ(s.c().claimUploads(), std::nullopt);
    const std::uint64_t ended = s.c().uploadsBegun;
    ASSERT_EQ(s.c().claimUploads(), std::nullopt);
    s.c().releaseClaimOfFinishedUpload(ended);
    EXPECT_FALSE(test::anotherProcessCouldLock(lockPathOf(s)));
    s.c().releaseClaimOfFinishedUpload(s.c().uploadsBegun);
    EXPECT_TRUE(test::anotherProcessCouldLock(lockPathOf(s)));
}

TEST_F(DasUpload, SecondUploadOfTheSameTreeGetsCopyNames) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 64);
    ASSERT_TRUE(volume.ok());
    const std::string dest = volume.path() + "/Uploads";
    fs::create_directories(dest);
    test::TempDir sources;
    const std::string tree = makeMixedTree(sources.path(), 0);
    const std::string single = sources.path() + "/report.txt";
    test::writeFile(single, "report\n");
    const Snapshot expected = snapshot(tree, true);

    for (int round = 0; round < 2; ++round) {
        UploadSession s(dasDeviceFor(volume));
        ASSERT_TRUE(s.addSources({tree, single}));
        ASSERT_TRUE(s.toDestination(false));
        s.upload(dest);
        ASSERT_TRUE(s.waitCompleted()) << "round " << round;
        if (round == 0) {
            ASSERT_TRUE(s.failures().empty());
            continue;
        }
        const std::string copy = s.c().localeCOPY_txt;
        ASSERT_FALSE(copy.empty());
        // Folders are merged, never renamed; every file is there twice, once under its copy
        // name. A 255-byte name has no room for the word: that copy fails with the reason.
        Snapshot want = expected;
        std::set<std::string> tooLong;
        for (const auto& [path, item] : expected) {
            if (item.folder) continue;
            const std::string renamed = withCopyName(path, copy);
            if (fs::path(renamed).filename().string().size() > 255)
                tooLong.insert(dest + "/Mixed Tree/" + renamed);
            else
                want[renamed] = item;
        }
        EXPECT_EQ(difference(want, snapshot(dest + "/Mixed Tree", false)), "");
        EXPECT_EQ(test::readFile(dest + "/" + copyName("report.txt", copy)), "report\n");
        EXPECT_EQ(namesIn(dest), (std::set<std::string>{"Mixed Tree", "report.txt",
                                                        copyName("report.txt", copy)}));
        // Spot checks of the naming rule on names a person would recognise.
        EXPECT_TRUE(fs::exists(dest + "/Mixed Tree/plain " + copy + ".txt"));
        EXPECT_TRUE(fs::exists(dest + "/Mixed Tree/.hidden " + copy));
        EXPECT_TRUE(fs::exists(dest + "/Mixed Tree/archive.tar " + copy + ".gz"));
        EXPECT_TRUE(fs::exists(dest + "/Mixed Tree/nested/level 1/track 07 " + copy + ".mp3"));

        std::set<std::string> failedAt;
        for (const Record& f : s.failures()) {
            failedAt.insert(f.string("destFilePath"));
            // The reason names the name that was too long.
            const std::string name = fs::path(f.string("destFilePath")).filename();
            EXPECT_EQ(f.string("localizedError"),
                      "The name \u201c" + name +
                          "\u201d is too long for the device, which holds names of up to 255 "
                          "bytes.");
            EXPECT_TRUE(fs::exists(f.string("sourceFilePath")));
        }
        EXPECT_EQ(failedAt, tooLong);
        EXPECT_TRUE(s.c().isFileTransferFailed());
    }
}

TEST_F(DasUpload, RepeatedUploadsNumberTheCopies) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 32);
    ASSERT_TRUE(volume.ok());
    test::TempDir sources;
    const std::string file = sources.path() + "/photo.jpg";
    test::writeFile(file, patternBytes(5000, 3));
    std::string copy;
    for (int round = 0; round < 3; ++round) {
        UploadSession s(dasDeviceFor(volume));
        copy = s.c().localeCOPY_txt;
        ASSERT_TRUE(s.addSources({file}));
        ASSERT_TRUE(s.toDestination(false));
        s.upload(volume.path());
        ASSERT_TRUE(s.waitCompleted());
        EXPECT_TRUE(s.failures().empty());
    }
    const std::set<std::string> want{"lost+found", "photo.jpg", "photo " + copy + ".jpg",
                                     "photo " + copy + " 2.jpg"};
    EXPECT_EQ(namesIn(volume.path()), want);
    for (const std::string& name : want) {
        if (name != "lost+found") {
            EXPECT_EQ(sha256Of(volume.path() + "/" + name), sha256Of(file)) << name;
        }
    }
}

// A file larger than the whole volume can never fit, however much room is made: it is a failed
// item at once, its hidden copy goes, and the rest of the upload arrives.
TEST_F(DasUpload, AFileLargerThanTheWholeVolumeFailsAndTheRestArrives) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    test::TempDir sources;
    writeBytes(sources.path() + "/film.bin", 24u << 20, 5);
    test::writeFile(sources.path() + "/notes.txt", "notes\n");
    UploadSession s(dasDeviceFor(volume));
    ASSERT_TRUE(s.addSources({sources.path() + "/film.bin", sources.path() + "/notes.txt"}));
    ASSERT_TRUE(s.toDestination(false));
    s.upload(volume.path());
    ASSERT_TRUE(s.waitCompleted()) << s.logText();
    EXPECT_FALSE(s.c().deviceFull());
    const auto failures = s.failures();
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].string("sourceFilePath"), sources.path() + "/film.bin");
    EXPECT_EQ(failures[0].string("localizedError"),
              "The file is larger than the whole device, so it cannot be uploaded to it.");
    EXPECT_EQ(test::readFile(volume.path() + "/notes.txt"), "notes\n");
    EXPECT_EQ(namesIn(volume.path()), (std::set<std::string>{"lost+found", "notes.txt"}));
}

TEST_F(DasUpload, MoveOptionMovesSourcesAndLeavesProtectedOnesInPlace) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 64);
    ASSERT_TRUE(volume.ok());
    // The Trash of this test, not the user's; set before the session starts any thread and
    // restored after its threads have ended.
    test::TempDir data;
    const EnvironmentOverride trashHome("XDG_DATA_HOME", data.path());
    UploadSession s(dasDeviceFor(volume));
    const std::string home = s.home();
    const std::string tree = makeMixedTree(home, 0);
    // A link that points out of the moved tree (one into it could be moved before its target
    // is copied through it).
    fs::remove(tree + "/link to plain");
    test::writeFile(home + "/outside.txt", "outside the tree\n");
    fs::create_symlink(home + "/outside.txt", tree + "/link to outside");
    // A link to a folder outside the tree: what is reached through it was not chosen, and is
    // copied, never moved.
    test::writeFile(home + "/outside folder/kept.txt", "not chosen\n");
    fs::create_directory_symlink(home + "/outside folder", tree + "/link to outside folder");
    const std::string loose = home + "/loose file.txt";
    test::writeFile(loose, "loose\n");
    const std::string keptFolder = home + "/.config/keep me";
    test::writeFile(keptFolder + "/settings.ini", "[kept]\n");
    const std::string keptFile = home + "/Library/Notes.txt";
    test::writeFile(keptFile, "notes\n");
    const Snapshot expected = snapshot(tree, true);

    ASSERT_TRUE(s.addSources({tree, loose, keptFolder, keptFile}));
    ASSERT_TRUE(s.toDestination(true));
    const auto excluded = s.c().excludeSourceFilesArray.get();
    EXPECT_NE(std::find(excluded.begin(), excluded.end(), keptFolder), excluded.end());
    EXPECT_NE(std::find(excluded.begin(), excluded.end(), keptFile), excluded.end());
    s.upload(volume.path());
    ASSERT_TRUE(s.waitCompleted());
    EXPECT_TRUE(s.failures().empty());

    EXPECT_EQ(difference(expected, snapshot(volume.path() + "/Mixed Tree", false)), "");
    EXPECT_EQ(test::readFile(volume.path() + "/loose file.txt"), "loose\n");
    EXPECT_EQ(test::readFile(volume.path() + "/keep me/settings.ini"), "[kept]\n");
    EXPECT_EQ(test::readFile(volume.path() + "/Notes.txt"), "notes\n");

    // Moved: the files are gone from the sources, the emptied folder tree went to the Trash.
    EXPECT_FALSE(fs::exists(fs::symlink_status(tree)));
    EXPECT_FALSE(fs::exists(fs::symlink_status(loose)));
    EXPECT_TRUE(fs::exists(data.path() + "/Trash/files/Mixed Tree"));
    EXPECT_TRUE(filesOf(snapshot(data.path() + "/Trash/files/Mixed Tree", false)).empty());
    // The link's target outside the tree stays; the link itself was moved.
    EXPECT_EQ(test::readFile(home + "/outside.txt"), "outside the tree\n");
    // What the folder link led to stays where it is, and its copy arrived.
    EXPECT_EQ(test::readFile(home + "/outside folder/kept.txt"), "not chosen\n");
    EXPECT_EQ(test::readFile(volume.path() + "/Mixed Tree/link to outside folder/kept.txt"),
              "not chosen\n");
    // Protected: copied, still in place.
    EXPECT_EQ(test::readFile(keptFolder + "/settings.ini"), "[kept]\n");
    EXPECT_EQ(test::readFile(keptFile), "notes\n");
}

}  // namespace
}  // namespace qvt::uploadtest
