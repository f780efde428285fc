// The destination folder on a directly attached disk is checked before anything is copied: a
// link may not lead the files off the device's volume, and a folder is never uploaded into
// itself. A source folder whose name a file at the destination holds gets a free name.
#include <gtest/gtest.h>
#include <sys/mount.h>

#include "platform/plist_io.h"
#include "upload_fixture.h"

namespace qvt::uploadtest {
namespace {

class DasDestination : public ::testing::Test {
  protected:
    void TearDown() override { box.releaseMounts(); }

    static std::vector<std::string> notices(UploadSession& s) {
        std::lock_guard lock(s.harness().view->mutex);
        return s.harness().view->notices;
    }

    mounttest::MountSandbox box;
};

TEST_F(DasDestination, AFolderThatLeadsOffTheVolumeThroughALinkIsRefused) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    UploadSession s(dasDeviceFor(volume));
    const std::string file = s.home() + "/sources/memo.txt";
    test::writeFile(file, "memo");
    const std::string outside = s.home() + "/not on the disk";
    fs::create_directories(outside);
    fs::create_directory_symlink(outside, volume.path() + "/Elsewhere");
    ASSERT_TRUE(s.addSources({file}));
    ASSERT_TRUE(s.toDestination(false));

    s.upload(volume.path() + "/Elsewhere");
    ASSERT_TRUE(s.settle());
    const auto said = notices(s);
    ASSERT_EQ(said.size(), 1u);
    EXPECT_EQ(said.back(),
              "The folder " + volume.path() +
                  "/Elsewhere leads off Test Drive through a link. Choose a folder on the "
                  "device itself.");
    EXPECT_TRUE(namesIn(outside).empty());
    EXPECT_EQ(s.c().job().state(), engine::UploadState::Idle);
    EXPECT_FALSE(s.c().isFileTransferCompleted());
}

TEST_F(DasDestination, ALinkToAnotherFolderOnTheVolumeIsFollowed) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    UploadSession s(dasDeviceFor(volume));
    const std::string file = s.home() + "/sources/memo.txt";
    test::writeFile(file, "memo");
    fs::create_directories(volume.path() + "/Photos/2026");
    fs::create_directory_symlink(volume.path() + "/Photos/2026", volume.path() + "/This year");
    ASSERT_TRUE(s.addSources({file}));
    ASSERT_TRUE(s.toDestination(false));

    s.upload(volume.path() + "/This year");
    ASSERT_TRUE(s.waitCompleted());
    EXPECT_TRUE(notices(s).empty());
    EXPECT_EQ(test::readFile(volume.path() + "/Photos/2026/memo.txt"), "memo");
}

TEST_F(DasDestination, AFolderIsNeverUploadedIntoItselfOrAFolderInsideIt) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    UploadSession s(dasDeviceFor(volume));
    const std::string photos = volume.path() + "/Photos";
    test::writeFile(photos + "/a.jpg", "a");
    test::writeFile(photos + "/Trips/b.jpg", "b");
    const std::string memo = s.home() + "/sources/memo.txt";
    test::writeFile(memo, "memo");
    ASSERT_TRUE(s.addSources({memo, photos}));
    ASSERT_TRUE(s.toDestination(false));
    const auto before = snapshot(photos, true);

    // Into a folder inside it, reached through a link too, and into itself.
    fs::create_directory_symlink(photos + "/Trips", volume.path() + "/Trips");
    const std::string refusal = "The destination folder is inside " + photos +
                                ", which is being uploaded: a folder cannot be uploaded into "
                                "itself. Choose a destination outside it.";
    for (const std::string& into : {photos + "/Trips", volume.path() + "/Trips", photos}) {
        s.upload(into);
        ASSERT_TRUE(s.settle());
        const auto said = notices(s);
        ASSERT_FALSE(said.empty()) << into;
        EXPECT_EQ(said.back(), refusal) << into;
    }
    EXPECT_EQ(notices(s).size(), 3u);
    EXPECT_EQ(difference(before, snapshot(photos, true)), "");
    EXPECT_EQ(s.c().job().state(), engine::UploadState::Idle);

    // Beside it, the same sources upload.
    fs::create_directories(volume.path() + "/Backup");
    s.upload(volume.path() + "/Backup");
    ASSERT_TRUE(s.waitCompleted());
    EXPECT_EQ(notices(s).size(), 3u);
    EXPECT_EQ(difference(before, snapshot(volume.path() + "/Backup/Photos", true)), "");
    EXPECT_EQ(test::readFile(volume.path() + "/Backup/memo.txt"), "memo");
}

// A source folder mounted a second time somewhere else (a bind mount) is the same folder under
// another name that no link joins: uploading it into a folder inside it is refused all the
// same, where it would copy its own copies again and again.
TEST_F(DasDestination, AFolderMountedAgainElsewhereIsNotUploadedIntoItself) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    UploadSession s(dasDeviceFor(volume));
    const std::string photos = volume.path() + "/Photos";
    test::writeFile(photos + "/a.jpg", "a");
    fs::create_directories(photos + "/Trips");
    const std::string bound = box.root() + "/Bound";
    fs::create_directories(bound);
    ASSERT_EQ(::mount(photos.c_str(), bound.c_str(), nullptr, MS_BIND, nullptr), 0);
    struct Unmount {
        std::string path;
        ~Unmount() { ::umount2(path.c_str(), MNT_DETACH); }
    } unmount{bound};
    ASSERT_TRUE(s.addSources({bound}));
    ASSERT_TRUE(s.toDestination(false));

    s.upload(photos + "/Trips");
    ASSERT_TRUE(s.settle());
    const auto said = notices(s);
    ASSERT_EQ(said.size(), 1u);
    EXPECT_EQ(said.back(), "The destination folder is inside " + bound +
                               ", which is being uploaded: a folder cannot be uploaded into "
                               "itself. Choose a destination outside it.");
    EXPECT_EQ(namesIn(photos + "/Trips"), std::set<std::string>{});
    EXPECT_EQ(s.c().job().state(), engine::UploadState::Idle);
}

// A source that lies in the destination folder itself would be copied onto itself: a folder
// would get a twin of each of its files, and with the move option it would leave with them.
TEST_F(DasDestination, ASourceAlreadyInTheDestinationFolderIsRefused) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    const std::string photos = volume.path() + "/Photos";
    test::writeFile(photos + "/a.jpg", "a");
    test::writeFile(photos + "/Trips/b.jpg", "b");
    test::writeFile(volume.path() + "/memo.txt", "memo");
    fs::create_directory_symlink(volume.path(), box.root() + "/Link to the disk");
    // A source given as a link to the folder, under the folder's own name.
    fs::create_directories(box.root() + "/links");
    fs::create_directory_symlink(photos, box.root() + "/links/Photos");
    const auto before = snapshot(volume.path(), true);
    // The folder, a file beside it and the link to the folder, each moved; the destination
    // named straight and through a link.
    for (const std::string& source :
         {photos, volume.path() + "/memo.txt", box.root() + "/links/Photos"}) {
        for (const std::string& into : {volume.path(), box.root() + "/Link to the disk"}) {
            UploadSession s(dasDeviceFor(volume));
            ASSERT_TRUE(s.addSources({source}));
            ASSERT_TRUE(s.toDestination(true));
            s.upload(into);
            ASSERT_TRUE(s.settle());
            const auto said = notices(s);
            ASSERT_EQ(said.size(), 1u) << source << " into " << into;
            EXPECT_EQ(said.back(), source +
                                       " is already in the destination folder, so it cannot be "
                                       "uploaded there: it would be copied onto itself. Choose "
                                       "another destination.");
            EXPECT_EQ(s.c().job().state(), engine::UploadState::Idle);
        }
    }
    EXPECT_EQ(difference(before, snapshot(volume.path(), true)), "");

    // Into a folder beside it, the folder is moved.
    fs::create_directories(volume.path() + "/Backup");
    UploadSession s(dasDeviceFor(volume));
    ASSERT_TRUE(s.addSources({photos}));
    ASSERT_TRUE(s.toDestination(true));
    s.upload(volume.path() + "/Backup");
    ASSERT_TRUE(s.waitCompleted());
    EXPECT_TRUE(notices(s).empty());
    EXPECT_EQ(test::readFile(volume.path() + "/Backup/Photos/Trips/b.jpg"), "b");
}

// The folder of an interrupted upload replaced by a link off the volume before it is taken up.
TEST_F(DasDestination, AResumeToAFolderThatNowLeadsOffTheVolumeIsRefused) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    UploadSession s(dasDeviceFor(volume));
    const std::string memo = s.home() + "/sources/memo.txt";
    test::writeFile(memo, "memo");
    const std::string outside = s.home() + "/not on the disk";
    fs::create_directories(outside);
    fs::create_directory_symlink(outside, volume.path() + "/Backup");
    const Record pending{{"filesSelectCheckbox", 1},       {"fileName", "memo.txt"},
                         {"fullFilePath", memo},           {"numberOfFiles", "1 file"},
                         {"numberOfFolders", "0 folders"}, {"fileSize", 4}};
    const Record record{{"isFileTransferCompleted", false},
                        {"selectedDestinationShare", volume.path() + "/Backup"},
                        {"sourceFilesPendingArray", List{pending}},
                        {"inProcessSourceFilesArray", List{}},
                        {"failedTransferArray", List{}}};
    fs::create_directories(fs::path(s.c().transferDataFilePath).parent_path());
    ASSERT_TRUE(platform::writePropertyList(s.c().transferDataFilePath,
                                            Value(Record{{volume.uuid(), record}})));

    s.harness().services.dispatch->mainSync([&] { s.c().resumeFileTransferAfterRestart(); });
    ASSERT_TRUE(test::waitFor(
        [&] {
            std::lock_guard lock(s.harness().view->mutex);
            return !s.harness().view->resumeProblems.empty();
        },
        30));
    ASSERT_TRUE(s.settle());
    {
        std::lock_guard lock(s.harness().view->mutex);
        EXPECT_EQ(s.harness().view->resumeProblems.back(),
                  "The folder " + volume.path() +
                      "/Backup leads off Test Drive through a link. Choose a folder on the "
                      "device itself.");
    }
    EXPECT_TRUE(namesIn(outside).empty());
    EXPECT_TRUE(s.c().hasUploadToResume());
}

TEST_F(DasDestination, ALinkInsideASourceToTheDestinationIsAFailedItemNotFollowed) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    UploadSession s(dasDeviceFor(volume));
    const std::string dest = volume.path() + "/Other";
    test::writeFile(dest + "/there.txt", "already there");
    const std::string folder = s.home() + "/sources/L";
    test::writeFile(folder + "/l.txt", "l");
    fs::create_directory_symlink(volume.path(), folder + "/to the disk");
    ASSERT_TRUE(s.addSources({folder}));
    ASSERT_TRUE(s.toDestination(false));

    s.upload(dest);
    ASSERT_TRUE(s.waitCompleted(60));
    const auto failures = s.failures();
    ASSERT_EQ(failures.size(), 1u) << s.logText();
    EXPECT_EQ(failures[0].string("sourceFilePath"), folder + "/to the disk");
    EXPECT_EQ(failures[0].string("localizedError"),
              "The link leads to a folder that holds the destination, so following it would copy "
              "the upload into itself.");
    EXPECT_EQ(test::readFile(dest + "/L/l.txt"), "l");
    EXPECT_FALSE(fs::exists(dest + "/L/to the disk"));
    EXPECT_EQ(namesIn(dest), (std::set<std::string>{"L", "there.txt"}));
}

TEST_F(DasDestination, AFileWithAFoldersNameStaysAndTheFolderTakesTheNextFreeName) {
    Ext4Volume volume(box.root(), box.root() + "/Drive", 16);
    ASSERT_TRUE(volume.ok());
    UploadSession s(dasDeviceFor(volume));
    const std::string photos = s.home() + "/sources/Photos";
    test::writeFile(photos + "/a.jpg", "a");
    test::writeFile(photos + "/Trips/b.jpg", "b");
    const std::string dest = volume.path() + "/Backup";
    test::writeFile(dest + "/Photos", "a file that is no folder");
    ASSERT_TRUE(s.addSources({photos}));
    ASSERT_TRUE(s.toDestination(false));

    s.upload(dest);
    ASSERT_TRUE(s.waitCompleted());
    EXPECT_TRUE(s.failures().empty()) << s.logText();
    EXPECT_EQ(test::readFile(dest + "/Photos"), "a file that is no folder");
    EXPECT_EQ(difference(snapshot(photos, true), snapshot(dest + "/Photos copy", true)), "");
    EXPECT_EQ(namesIn(dest), (std::set<std::string>{"Photos", "Photos copy"}));
}

}  // namespace
}  // namespace qvt::uploadtest
