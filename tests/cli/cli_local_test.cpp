// The console uploader run as a program against local volumes: a whole upload, its exit codes,
// and stopping it by keys and by SIGINT.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <QtGlobal>
#include <sstream>

#include "../mount/mount_test_support.h"

#include "cli_fixture.h"
#include "platform/plist_io.h"
#include "support/lease_hold.h"

using namespace qvt;
using namespace qvt::clitest;

namespace {

constexpr double kDeadline = 60;

}  // namespace

TEST_F(CliTest, BadArgumentsExitWithTwoAndSayWhy) {
    test::writeFile(work / "a.txt", "a");
    // Device records that lack what an upload needs: told at once, never waited on.
    ASSERT_TRUE(
        platform::writePropertyList(work / "no-info.plist", Value(Record{{"deviceType", "DAS"}})));
    ASSERT_TRUE(platform::writePropertyList(
        work / "no-volume.plist",
        Value(Record{{"deviceType", "DAS"}, {"deviceInfo", Record{{"volumeArray", List{}}}}})));
    ASSERT_TRUE(platform::writePropertyList(
        work / "no-address.plist",
        Value(Record{{"deviceType", "NAS"}, {"deviceInfo", Record{{"serialNumber", "S1"}}}})));
    struct Case {
        std::vector<std::string> args;
        std::string says;
    };
    const std::vector<Case> cases{
        {{}, "no device"},
        {{"--das", work.path(), "--bogus", work / "a.txt"}, "unknown option --bogus"},
        {{"--das", work / "missing", work / "a.txt"}, "no such volume folder"},
        {{"--das", work.path(), work / "gone.txt"}, "no such source"},
        {{"--device", work / "none.plist", work / "a.txt"}, "cannot read a device record"},
        {{"--nas", "127.0.0.1:1", work / "a.txt"}, "--serial"},
        {{"--das", work.path()}, "no sources given"},
        // A plain folder is no drive's volume: refused at once rather than waited for.
        {{"--das", work.path(), work / "a.txt"}, "not a mounted volume: " + work.path()},
        {{"--device", work / "no-info.plist", work / "a.txt"}, "has no deviceInfo dictionary"},
        {{"--device", work / "no-volume.plist", work / "a.txt"},
         "has no deviceInfo volumeArray with a named volume"},
        {{"--device", work / "no-address.plist", work / "a.txt"}, "has no deviceInfo ipAddress"},
    };
    for (const Case& c : cases) {
        ChildProcess child;
        ASSERT_TRUE(start(child, c.args));
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 2) << c.says;
        EXPECT_NE(child.errors().find(c.says), std::string::npos) << child.errors();
    }
}

// A destination that climbs out of the volume it names is refused before anything is copied,
// in words that fit a disk as well as a share.
TEST_F(CliTest, ADestinationThatClimbsOutOfItsVolumeIsRefused) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "a.txt", "a\n");
    fs::create_directories(work / "outside");
    ChildProcess child;
    ASSERT_TRUE(start(
        child, {"--das", volume.path(), "--destination", "Drive/../outside", work / "a.txt"}));
    child.closeInput();
    EXPECT_NE(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_NE((child.output() + child.errors())
                  .find("The destination may not climb out of its share or volume: "
                        "Drive/../outside"),
              std::string::npos)
        << child.output() << child.errors();
    EXPECT_FALSE(fs::exists(work / "outside/a.txt"));
    EXPECT_FALSE(fs::exists(volume.path() + "/a.txt"));
}

TEST_F(CliTest, HelpDescribesTheExitCodes) {
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--help"}));
    EXPECT_EQ(child.waitForExit(kDeadline), 0);
    EXPECT_NE(child.output().find("130 stopped"), std::string::npos) << child.output();
    EXPECT_NE(child.output().find("--password-stdin"), std::string::npos);
    // An example for each kind of device.
    EXPECT_NE(child.output().find("qvtransfer-cli --das /media/"), std::string::npos);
    EXPECT_NE(child.output().find("qvtransfer-cli --nas "), std::string::npos);
}

TEST_F(CliTest, VersionNamesTheLibraryQtAndLibsmbclient) {
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--version"}));
    EXPECT_EQ(child.waitForExit(kDeadline), 0);
    const std::string out = child.output();
    EXPECT_EQ(out.rfind("qvtransfer-cli, QVTransfer ", 0), 0u) << out;
    EXPECT_NE(out.find(std::string("Qt ") + qVersion()), std::string::npos) << out;
    EXPECT_NE(out.find("libsmbclient 4."), std::string::npos) << out;
}

// The share library and the seventy below it are loaded only when a share is used: an upload
// to an attached disk starts without them (the dynamic loader's own record of the files it
// opened says so), while --version, which names the library's version, loads it.
TEST_F(CliTest, AnUploadToAnAttachedDiskNeverLoadsTheShareLibrary) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "src/notes.txt", "Meeting notes\n");
    const auto loadedFiles = [&](const std::vector<std::string>& args) {
        const std::string record = work / "loader";
        fs::remove_all(record);
        fs::create_directories(record);
        auto env = environment();
        env["LD_DEBUG"] = "files";
        env["LD_DEBUG_OUTPUT"] = record + "/files";
        ChildProcess child;
        EXPECT_TRUE(child.start(cliProgram(), args, env));
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
        std::string all;
        for (const auto& e : fs::directory_iterator(record)) all += test::readFile(e.path());
        return all;
    };
    const std::string upload = loadedFiles({"--das", volume.path(), "--name", "Test Drive",
                                            "--destination", "Drive", work / "src/notes.txt"});
    EXPECT_EQ(test::readFile(volume.path() + "/notes.txt"), "Meeting notes\n");
    EXPECT_NE(upload.find("libQt6Core"), std::string::npos) << "no record of the loader";
#ifndef QVT_SHARE_LIBRARY_LINKED  // the sanitizer builds link it (see CMakeLists.txt)
    EXPECT_EQ(upload.find("libsmbclient"), std::string::npos);
#endif
    EXPECT_NE(loadedFiles({"--version"}).find("libsmbclient"), std::string::npos);
}

TEST_F(CliTest, UploadsToAnExt4VolumeTheWizardMounts) {
    mounttest::LoopVolume volume(work.path(), 16);
    ASSERT_TRUE(volume.ok()) << "no loop device for the ext4 image";
    // The device record says the volume is not mounted: the wizard mounts it under the mount
    // folder of the home it runs in.
    Record info{{"productName", "Loop Drive"},
                {"serialNumber", "LOOP-1"},
                {"volumeArray", List{Record{{"volumeName", "Archive"},
                                            {"volumePath", ""},
                                            {"bsdName", volume.bsdName()},
                                            {"mounted", false},
                                            {"uuid", volume.uuid()}}}}};
    const Record device{{"deviceType", "DAS"}, {"isZeroState", false}, {"deviceInfo", info}};
    ASSERT_TRUE(platform::writePropertyList(work / "device.plist", Value(device)));
    makeSources(work / "src");

    ChildProcess child;
    ASSERT_TRUE(start(child, {"--device", work / "device.plist", "--destination", "Archive",
                              work / "src/Holiday", work / "src/notes.txt"}));
    child.closeInput();
    const int code = child.waitForExit(kDeadline);
    EXPECT_EQ(code, 0) << child.output() << child.errors();

    // It was mounted in the mount folder, and let go again once every file had arrived.
    const std::string mountedAt = home.path() + "/.QVTransfer/Archive";
    EXPECT_NE(child.output().find("Destination: Archive on Loop Drive (" + mountedAt + ")"),
              std::string::npos)
        << child.output();
    EXPECT_EQ(mounttest::run("findmnt -n -o TARGET --source " + volume.device()), "");
    // What is on the volume, seen through a mount of our own.
    const std::string check = work / "check";
    fs::create_directories(check);
    ASSERT_EQ(mount(volume.device().c_str(), check.c_str(), "ext4", MS_RDONLY, nullptr), 0);
    EXPECT_TRUE(sameTree(work / "src/Holiday", check + "/Holiday"));
    EXPECT_EQ(test::readFile(check + "/notes.txt"), "Meeting notes\n");
    umount2(check.c_str(), MNT_DETACH);
    // Every file counted: 4 files in all.
    EXPECT_NE(child.output().find("Uploading 4 files"), std::string::npos) << child.output();
    // What the sources hold, and a last line that says what happened.
    EXPECT_NE(child.output().find("Sources: 2 folders, 4 files, 3.1 MB\n"), std::string::npos)
        << child.output();
    EXPECT_NE(child.output().find("\n4 files, 3.1 MB uploaded to Archive in "), std::string::npos)
        << child.output();
}

TEST_F(CliTest, AFileThatCannotBeReadFailsAndTheRestArrives) {
    TmpfsVolume volume(work / "Drive", 32 << 20);
    ASSERT_TRUE(volume.ok());
    fs::create_directories(volume.path() + "/Inbox");
    makeSources(work / "src");
    ASSERT_TRUE(makeSocketFile(work / "src/Holiday/socket"));

    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--name", "Test Drive", "--destination",
                              "Drive/Inbox", work / "src/Holiday", work / "src/notes.txt"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();

    // The failed list names the socket with the reason.
    EXPECT_NE(child.output().find("Failed (1):"), std::string::npos) << child.output();
    EXPECT_NE(child.output().find(work / "src/Holiday/socket"), std::string::npos);
    EXPECT_NE(child.output().find("Not a regular file."), std::string::npos);
    // Everything else arrived, byte for byte.
    fs::remove(work / "src/Holiday/socket");
    EXPECT_TRUE(sameTree(work / "src/Holiday", volume.path() + "/Inbox/Holiday"));
    EXPECT_EQ(test::readFile(volume.path() + "/Inbox/notes.txt"), "Meeting notes\n");
}

// Links inside a source: the file or folder each leads to arrives in its place, a link back
// into the folder that holds it is one failed item with its reason, and the counts at the start
// and in the last line agree with what arrived.
TEST_F(CliTest, LinksAreCopiedAsWhatTheyLeadToAndALoopIsOneFailedItem) {
    TmpfsVolume volume(work / "Drive", 32 << 20);
    ASSERT_TRUE(volume.ok());
    fs::create_directories(volume.path() + "/Inbox");
    test::writeFile(work / "elsewhere/scans/page 1.txt", "page one\n");
    test::writeFile(work / "elsewhere/scans/page 2.txt", "page two\n");
    test::writeFile(work / "src/Album/photo.txt", "photo\n");
    fs::create_directory_symlink(work / "elsewhere/scans", work / "src/Album/Scans");
    fs::create_symlink(work / "elsewhere/scans/page 1.txt", work / "src/Album/first page.txt");
    fs::create_directory_symlink(work / "src", work / "src/Album/all sources");

    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--name", "Test Drive", "--destination",
                              "Drive/Inbox", work / "src/Album"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();

    const std::string album = volume.path() + "/Inbox/Album";
    EXPECT_EQ(test::readFile(album + "/photo.txt"), "photo\n");
    EXPECT_EQ(test::readFile(album + "/first page.txt"), "page one\n");
    EXPECT_EQ(test::readFile(album + "/Scans/page 1.txt"), "page one\n");
    EXPECT_EQ(test::readFile(album + "/Scans/page 2.txt"), "page two\n");
    EXPECT_FALSE(fs::is_symlink(album + "/Scans"));
    EXPECT_FALSE(fs::exists(fs::symlink_status(album + "/all sources")));
    // The loop is one item of the count; four files arrive.
    EXPECT_NE(child.output().find("Sources: 2 folders, 5 files, 33 bytes\n"), std::string::npos)
        << child.output();
    EXPECT_NE(child.output().find("Failed (1):"), std::string::npos) << child.output();
    EXPECT_NE(child.output().find(work / "src/Album/all sources"), std::string::npos);
    EXPECT_NE(child.output().find("The link leads back into a folder that holds it"),
              std::string::npos)
        << child.output();
    EXPECT_NE(child.output().find("\n4 files, 33 bytes uploaded to "), std::string::npos)
        << child.output();
}

// --quiet: a script's log gets the failed items and the last line, nothing else on stdout.
TEST_F(CliTest, QuietPrintsOnlyTheFailedItemsAndTheLastLine) {
    TmpfsVolume volume(work / "Drive", 32 << 20);
    ASSERT_TRUE(volume.ok());
    prepareHolidayWithBrokenLink(volume);

    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--name", "Test Drive", "--destination",
                              "Drive/Inbox", "--quiet", work / "src/Holiday"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    const std::string out = child.output();
    EXPECT_EQ(out.rfind("Failed (1):\n  " + (work / "src/Holiday/broken.txt") +
                            ": The link points to nothing.\n",
                        0),
              0u)
        << out;
    std::vector<std::string> lines;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    ASSERT_EQ(lines.size(), 3u) << out;
    EXPECT_EQ(lines[2].rfind("3 files, 3.1 MB uploaded to Drive/Inbox in ", 0), 0u) << out;
    EXPECT_NE(lines[2].find("; 1 item failed"), std::string::npos) << out;
    EXPECT_EQ(child.errors(), "");
    fs::remove(work / "src/Holiday/broken.txt");
    EXPECT_TRUE(sameTree(work / "src/Holiday", volume.path() + "/Inbox/Holiday"));
}

TEST_F(CliTest, TheConsoleSpeaksTheLanguageOfTheLocale) {
    TmpfsVolume volume(work / "Drive", 32 << 20);
    ASSERT_TRUE(volume.ok());
    prepareHolidayWithBrokenLink(volume);
    const std::vector<std::string> args = {
        "--das",       volume.path(),       "--name", "Test Drive", "--destination",
        "Drive/Inbox", work / "src/Holiday"};

    ChildProcess german;
    ASSERT_TRUE(start(german, args, "de_DE.UTF-8"));
    german.closeInput();
    EXPECT_EQ(german.waitForExit(kDeadline), 1) << german.output() << german.errors();
    std::string out = german.output();
    EXPECT_NE(out.find("Quellen: 2 Ordner, 4 Dateien, 3,1 MB\n"), std::string::npos) << out;
    EXPECT_NE(out.find("4 Dateien werden nach Drive/Inbox auf Test Drive hochgeladen\n"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("Fehlgeschlagen (1):\n"), std::string::npos) << out;
    // The last line, with its time in between.
    const auto last = out.rfind("\n3 Dateien, 3,1 MB in ");
    ASSERT_NE(last, std::string::npos) << out;
    EXPECT_NE(out.find(" nach Drive/Inbox hochgeladen; 1 Objekt fehlgeschlagen\n", last),
              std::string::npos)
        << out;

    // French, after the German upload: every file has its twin (the clash rule's names).
    ChildProcess french;
    ASSERT_TRUE(start(french, args, "fr_FR.UTF-8"));
    french.closeInput();
    EXPECT_EQ(french.waitForExit(kDeadline), 1) << french.output() << french.errors();
    out = french.output();
    EXPECT_NE(out.find("Sources\u00a0: 2 dossiers, 4 fichiers, 3,1\u00a0Mo\n"), std::string::npos)
        << out;
    EXPECT_NE(out.find("Envoi de 4 fichiers vers Drive/Inbox sur Test Drive\n"), std::string::npos)
        << out;
    EXPECT_NE(out.find("\u00a0; 1 élément en échec\n"), std::string::npos) << out;
}

// A disk given without --name is called what the user's language calls a local drive.
TEST_F(CliTest, ADiskWithoutANameIsTheLocalDriveOfTheUsersLanguage) {
    TmpfsVolume volume(work / "Drive", 1 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "a.txt", "a\n");
    for (const auto& [locale, name] :
         {std::pair{"de_DE.UTF-8", " auf Lokales Laufwerk"},
          std::pair{"fr_FR.UTF-8", " sur Disque local"}, std::pair{"C.UTF-8", " on Local Drive"}}) {
        ChildProcess child;
        ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive", work / "a.txt"},
                          locale));
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
        EXPECT_NE(child.output().find(name), std::string::npos) << locale << child.output();
    }
}

class CliRetry : public CliTest {
  protected:
    // Uploads the sources' Holiday folder, holding a link `name` to the missing `target`, to
    // Drive/Inbox of `volume`, and waits for the retry question at the end.
    void uploadWithDanglingLink(ChildProcess& child, const TmpfsVolume& volume,
                                const std::string& name, const std::string& target) {
        fs::create_directories(volume.path() + "/Inbox");
        makeSources(work / "src");
        fs::create_symlink(work / target, work / "src/Holiday" + "/" + name);
        ASSERT_TRUE(start(child, {"--das", volume.path(), "--name", "Test Drive", "--destination",
                                  "Drive/Inbox", work / "src/Holiday"}));
        ASSERT_TRUE(child.waitForOutput("Press r to try the failed items again", kDeadline))
            << child.output() << child.errors();
    }
};

TEST_F(CliRetry, TheFailedItemsAreTriedAgainWithRAndTheExitStatusFollowsTheRetry) {
    TmpfsVolume volume(work / "Drive", 32 << 20);
    ASSERT_TRUE(volume.ok());
    // A link to a file that is not there yet: a failed item, until the file is made.
    ChildProcess child;
    uploadWithDanglingLink(child, volume, "later.txt", "later-target.txt");
    if (HasFatalFailure()) return;
    EXPECT_NE(child.output().find("Failed (1):"), std::string::npos) << child.output();
    EXPECT_FALSE(fs::exists(volume.path() + "/Inbox/Holiday/later.txt"));

    test::writeFile(work / "later-target.txt", "written later\n");
    child.write("r");
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_NE(child.output().find("Trying 1 failed item again."), std::string::npos)
        << child.output();
    EXPECT_EQ(test::readFile(volume.path() + "/Inbox/Holiday/later.txt"), "written later\n");
    // Everything else arrived on the first pass.
    fs::remove(work / "src/Holiday/later.txt");
    fs::remove(volume.path() + "/Inbox/Holiday/later.txt");
    EXPECT_TRUE(sameTree(work / "src/Holiday", volume.path() + "/Inbox/Holiday"));
}

TEST_F(CliRetry, AnyOtherKeyAtTheRetryQuestionEndsWithTheFailures) {
    TmpfsVolume volume(work / "Drive", 32 << 20);
    ASSERT_TRUE(volume.ok());
    ChildProcess child;
    uploadWithDanglingLink(child, volume, "dangling.txt", "never-there.txt");
    if (HasFatalFailure()) return;
    child.write("q");
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_EQ(child.output().find("Trying"), std::string::npos) << child.output();
}

// The last line after a retry tells the whole upload: the files of the first pass with those
// of the retry, and the time since the upload began.
TEST_F(CliRetry, TheLastLineAfterARetryCountsTheFilesOfEveryPass) {
    TmpfsVolume volume(work / "Drive", 32 << 20);
    ASSERT_TRUE(volume.ok());
    ChildProcess child;
    uploadWithDanglingLink(child, volume, "dangling.txt", "never-there.txt");
    if (HasFatalFailure()) return;
    const std::size_t firstQuestion = child.output().find("Press r to try the failed items again");
    child.write("r");
    ASSERT_TRUE(child.waitForOutputAfter(firstQuestion + 1, "Press r to try the failed items again",
                                         kDeadline))
        << child.output();
    child.write("q");
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_NE(child.output().find("3 files, 3.1 MB uploaded to Drive/Inbox in "), std::string::npos)
        << child.output();
    EXPECT_EQ(child.output().find("0 files, 3.1 MB"), std::string::npos) << child.output();
}

// Ctrl-C at the retry question has nothing left to stop: one press ends the uploader at once,
// as any key but r does, with the status of the upload that ended.
TEST_F(CliRetry, CtrlCAtTheRetryQuestionEndsWithTheFailuresAtOnce) {
    TmpfsVolume volume(work / "Drive", 32 << 20);
    ASSERT_TRUE(volume.ok());
    ChildProcess child;
    uploadWithDanglingLink(child, volume, "dangling.txt", "never-there.txt");
    if (HasFatalFailure()) return;
    child.signal(SIGINT);
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_EQ(child.output().find("Trying"), std::string::npos) << child.output();
}

TEST_F(CliTest, ADestinationThatIsNotThereIsABadArgument) {
    TmpfsVolume volume(work / "Drive", 1 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "a.txt", "a");
    ChildProcess child;
    ASSERT_TRUE(
        start(child, {"--das", volume.path(), "--destination", "Drive/Missing", work / "a.txt"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 2);
    EXPECT_NE(child.errors().find("No folder Drive/Missing"), std::string::npos) << child.errors();
    ChildProcess other;
    ASSERT_TRUE(
        start(other, {"--das", volume.path(), "--destination", "Elsewhere", work / "a.txt"}));
    other.closeInput();
    EXPECT_EQ(other.waitForExit(kDeadline), 2);
    EXPECT_NE(other.errors().find("no share or volume named Elsewhere (it has: Drive)"),
              std::string::npos)
        << other.errors();
    EXPECT_TRUE(filesBelow(volume.path()).empty());
}

TEST_F(CliTest, ADestinationInsideASourceOrOffTheVolumeIsABadArgument) {
    TmpfsVolume volume(work / "Drive", 1 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(volume.path() + "/Photos/a.jpg", "a");
    fs::create_directories(work / "outside");
    fs::create_directory_symlink(work / "outside", volume.path() + "/Elsewhere");
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive/Photos",
                              volume.path() + "/Photos"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 2) << child.output() << child.errors();
    EXPECT_NE(child.errors().find("a folder cannot be uploaded into itself"), std::string::npos)
        << child.errors();
    // No upload began, and none is announced.
    EXPECT_EQ(child.output().find("Uploading"), std::string::npos) << child.output();
    EXPECT_EQ(filesBelow(volume.path() + "/Photos").size(), 1u);

    test::writeFile(work / "a.txt", "a");
    ChildProcess other;
    ASSERT_TRUE(
        start(other, {"--das", volume.path(), "--destination", "Drive/Elsewhere", work / "a.txt"}));
    other.closeInput();
    EXPECT_EQ(other.waitForExit(kDeadline), 2) << other.output() << other.errors();
    EXPECT_NE(other.errors().find("Elsewhere leads off"), std::string::npos) << other.errors();
    EXPECT_TRUE(filesBelow(work / "outside").empty());
}

// A folder moved to the folder that already holds it would leave with its own copies.
TEST_F(CliTest, MovingAFolderToTheFolderThatHoldsItIsABadArgumentAndNothingMoves) {
    TmpfsVolume volume(work / "Drive", 1 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(volume.path() + "/d/a.txt", "AAA\n");
    test::writeFile(volume.path() + "/d/b.txt", "BBB\n");
    ChildProcess child;
    ASSERT_TRUE(start(
        child, {"--das", volume.path(), "--move", "--destination", "Drive", volume.path() + "/d"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 2) << child.output() << child.errors();
    EXPECT_NE(child.errors().find(volume.path() + "/d is already in the destination folder"),
              std::string::npos)
        << child.errors();
    EXPECT_EQ(filesBelow(volume.path()).size(), 2u);
    EXPECT_EQ(test::readFile(volume.path() + "/d/a.txt"), "AAA\n");
    EXPECT_EQ(test::readFile(volume.path() + "/d/b.txt"), "BBB\n");

    // The refusal names the folder with its control characters escaped.
    const std::string odd = volume.path() + "/evil\x1b[2J\ndir";
    test::writeFile(odd + "/c.txt", "CCC\n");
    ChildProcess again;
    ASSERT_TRUE(start(again, {"--das", volume.path(), "--destination", "Drive", odd}));
    again.closeInput();
    EXPECT_EQ(again.waitForExit(kDeadline), 2) << again.output() << again.errors();
    EXPECT_NE(again.errors().find(volume.path() +
                                  "/evil\\x1b[2J\\ndir is already in the destination folder"),
              std::string::npos)
        << again.errors();
    EXPECT_EQ(again.errors().find('\x1b'), std::string::npos) << again.errors();
}

// The question names the language's own letter for yes, and that letter stops.
TEST_F(CliTest, StopKeyAsksAndYesStopsWithOneThirty) {
    struct Language {
        const char* locale;
        const char* hint;
        const char* yes;
        const char* stopped;
    };
    for (const Language& l : {Language{"C.UTF-8", "[y/N]", "y", "Stopped."},
                              Language{"de_DE.UTF-8", "[j/N]", "j", "Gestoppt."},
                              Language{"fr_FR.UTF-8", "[o/N]", "o", "Arrêté."}}) {
        SCOPED_TRACE(l.locale);
        TmpfsVolume volume(work / "Drive", 8 << 20);
        ASSERT_TRUE(volume.ok());
        // The first source is held: its copy waits to open it, so the upload is surely still
        // running when the keys arrive.
        test::writeFile(work / "held.bin", "the held file\n");
        test::writeFile(work / "later.txt", "after the held file\n");

        test::LeaseHold hold(work / "held.bin");
        ASSERT_TRUE(hold.held());
        ChildProcess child;
        ASSERT_TRUE(start(child,
                          {"--das", volume.path(), "--destination", "Drive", work / "held.bin",
                           work / "later.txt"},
                          l.locale));
        ASSERT_TRUE(pollUntil([&] { return hold.opened(); }, kDeadline)) << child.output();
        child.write("s");
        ASSERT_TRUE(child.waitForOutput(l.hint, kDeadline)) << child.output();
        child.write(l.yes);
        ASSERT_TRUE(child.waitForOutput(l.stopped, kDeadline)) << child.output() << child.errors();
        hold.release();
        EXPECT_EQ(child.waitForExit(kDeadline), 130) << child.output() << child.errors();
        // The walk ended at the stop: the source after the held file never went.
        EXPECT_FALSE(fs::exists(volume.path() + "/later.txt"));
    }
}

// A RAM disk has no file-system identity to file the upload's record under: the end of the
// session does not promise a --resume that would find nothing.
TEST_F(CliTest, TheEndOfTheSessionOnAVolumeThatCannotBeRecordedSaysSo) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    ChildProcess child;
    const auto hold = startHeldUpload(child, volume.path());
    ASSERT_TRUE(hold) << child.output();
    child.signal(SIGTERM);
    // Held until the end of the session has been told: released at once, the copy could end
    // the upload first on a busy machine, and the session would then end as a whole upload.
    EXPECT_TRUE(child.waitForOutput("gives no identity to record the upload under", kDeadline))
        << child.output() << child.errors();
    hold->release();
    EXPECT_EQ(child.waitForExit(kDeadline), 143) << child.output() << child.errors();
    EXPECT_EQ(child.output().find("take it up with --resume"), std::string::npos) << child.output();
}

// The end of the session while the stop question waits: its message starts a line of its own
// rather than following "[y/N]" as if it were the answer.
TEST_F(CliTest, TheEndOfTheSessionAtTheStopQuestionStartsALineOfItsOwn) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    ChildProcess child;
    const auto hold = startHeldUpload(child, volume.path());
    ASSERT_TRUE(hold) << child.output();
    child.write("s");
    ASSERT_TRUE(child.waitForOutput("[y/N]", kDeadline)) << child.output();
    child.signal(SIGTERM);
    EXPECT_TRUE(child.waitForOutput("gives no identity to record the upload under", kDeadline))
        << child.output() << child.errors();
    hold->release();
    EXPECT_EQ(child.waitForExit(kDeadline), 143) << child.output() << child.errors();
    EXPECT_NE(child.output().find("\nPaused for the end of the session"), std::string::npos)
        << child.output();
}

// A state folder that cannot take the state file (a file in its place) is told when the upload
// begins, and the end of the session names it as the reason --resume cannot take the upload up.
TEST_F(CliTest, AStateFolderThatCannotHoldTheRecordIsToldAtTheStartAndAtTheEnd) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    const std::string folder = home.path() + "/.local/share/QVTransfer";
    {
        // A fresh home: its folder is made, and nothing is said.
        test::writeFile(work / "first.txt", "first\n");
        ChildProcess child;
        ASSERT_TRUE(
            start(child, {"--das", volume.path(), "--destination", "Drive", work / "first.txt"}));
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
        EXPECT_EQ(child.errors().find("cannot be recorded"), std::string::npos) << child.errors();
    }
    fs::remove_all(folder);
    test::writeFile(folder, "a file where the folder should be");
    ChildProcess child;
    const auto hold = startHeldUpload(child, volume.path());
    ASSERT_TRUE(hold) << child.output();
    child.signal(SIGTERM);
    EXPECT_TRUE(
        child.waitForOutput("the upload's state could not be recorded in " + folder, kDeadline))
        << child.output() << child.errors();
    hold->release();
    EXPECT_EQ(child.waitForExit(kDeadline), 143) << child.output() << child.errors();
    EXPECT_NE(child.errors().find("The state of this upload cannot be recorded in " + folder +
                                  " (" + platform::errorDescription(ENOTDIR) + ")"),
              std::string::npos)
        << child.errors();
    EXPECT_EQ(test::readFile(folder), "a file where the folder should be");
}

// In JSON the end of the session is told as every end is: "suspended", then last "ended".
TEST_F(CliTest, TheEndOfTheSessionInJsonEndsWithTheEndedEvent) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    ChildProcess child;
    const auto hold = startHeldUpload(child, volume.path(), {"--json"});
    ASSERT_TRUE(hold) << child.output();
    child.signal(SIGTERM);
    EXPECT_TRUE(child.waitForOutput("\"suspended\"", kDeadline)) << child.output();
    hold->release();
    EXPECT_EQ(child.waitForExit(kDeadline), 143) << child.output() << child.errors();
    std::string out = child.output();
    while (!out.empty() && out.back() == '\n') out.pop_back();
    const std::string last = out.substr(out.rfind('\n') + 1);
    EXPECT_EQ(last.find("{\"event\":\"ended\",\"exitStatus\":143,"), 0u) << out;
    EXPECT_NE(out.find("\"event\":\"suspended\""), std::string::npos) << out;
}

// A file that arrived just before the end of the session is told too, before "suspended": a
// script that keeps what arrived misses none.
TEST_F(CliTest, TheEndOfTheSessionInJsonTellsEveryFileThatArrivedBeforeIt) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "first.txt", "before the held file\n");
    ChildProcess child;
    const auto hold = startHeldUpload(child, volume.path(), {"--json", work / "first.txt"});
    ASSERT_TRUE(hold) << child.output();
    ASSERT_TRUE(fs::exists(volume.path() + "/first.txt"));
    child.signal(SIGTERM);
    EXPECT_TRUE(child.waitForOutput("\"suspended\"", kDeadline)) << child.output();
    hold->release();
    EXPECT_EQ(child.waitForExit(kDeadline), 143) << child.output() << child.errors();
    const std::string out = child.output();
    const auto arrived = out.find("{\"event\":\"arrived\",\"path\":\"" + work / "first.txt" + "\"");
    ASSERT_NE(arrived, std::string::npos) << out;
    EXPECT_LT(arrived, out.find("\"event\":\"suspended\"")) << out;
}

// The same end of the session while the upload waits for room: nothing could take the upload
// up, so the hidden copy of the file it was writing goes before the process ends.
TEST_F(CliTest, TheEndOfTheSessionOnAVolumeThatCannotBeRecordedLeavesNoHiddenCopy) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    // Less room than the file needs, though the empty volume would hold it.
    test::writeFile(volume.path() + "/filler.bin", std::string(5 << 20, 'f'));
    test::writeFile(work / "photo.raw", std::string(4 << 20, 'p'));
    ChildProcess child;
    ASSERT_TRUE(
        start(child, {"--das", volume.path(), "--destination", "Drive", work / "photo.raw"}));
    ASSERT_TRUE(child.waitForOutput("waiting for free space", kDeadline)) << child.output();
    auto hiddenCopies = [&] {
        int n = 0;
        for (const auto& e : fs::directory_iterator(volume.path()))
            n += e.path().filename().string().starts_with(".qvtransfer-");
        return n;
    };
    EXPECT_EQ(hiddenCopies(), 1);  // the file in hand, kept while the upload waits
    child.signal(SIGTERM);
    EXPECT_EQ(child.waitForExit(kDeadline), 143) << child.output() << child.errors();
    EXPECT_NE(child.output().find("gives no identity to record the upload under"),
              std::string::npos)
        << child.output();
    EXPECT_EQ(hiddenCopies(), 0);
    EXPECT_FALSE(fs::exists(volume.path() + "/photo.raw"));
    EXPECT_EQ(fs::file_size(volume.path() + "/filler.bin"), 5u << 20);
}

// The device full a second time in one upload: no question this time, the copy tries again by
// itself, and the console says so once and then that there is room again.
TEST_F(CliTest, ADeviceFullAgainIsToldOnceAndTheUploadEndsWhenThereIsRoom) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(volume.path() + "/filler.bin", std::string(6 << 20, 'f'));
    test::writeFile(work / "a.bin", std::string(3 << 20, 'a'));
    test::writeFile(work / "b.bin", std::string(4 << 20, 'b'));
    ChildProcess child;
    ASSERT_TRUE(start(
        child, {"--das", volume.path(), "--destination", "Drive", work / "a.bin", work / "b.bin"}));
    ASSERT_TRUE(child.waitForOutput("waiting for free space", kDeadline)) << child.output();
    // Told before the copy meets the full device: the user can make room in time.
    EXPECT_TRUE(std::regex_search(
        child.output(), std::regex("\nOnly [0-9.]+ MB is free on Local Drive for the 7\\.3 MB "
                                   "to upload: the upload waits when the device is full, until "
                                   "room is made\\.\n")))
        << child.output();
    EXPECT_LT(child.output().find("Only "), child.output().find("waiting for free space"));
    // Room for a.bin, not for b.bin after it, made in one step: the watcher may look at any
    // moment.
    fs::resize_file(volume.path() + "/filler.bin", 2 << 20);
    child.write("r");
    ASSERT_TRUE(child.waitForOutput("The device is full again", kDeadline))
        << child.output() << child.errors();
    EXPECT_EQ(test::readFile(volume.path() + "/a.bin"), std::string(3 << 20, 'a'));
    fs::remove(volume.path() + "/filler.bin");
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    const std::string out = child.output();
    const auto again = out.find("The device is full again");
    EXPECT_EQ(out.find("The device is full again", again + 1), std::string::npos) << out;
    EXPECT_NE(out.find("There is room again; the upload continues.", again), std::string::npos)
        << out;
    // The waits for room are told by their own lines; the user paused nothing.
    EXPECT_EQ(out.find("Paused."), std::string::npos) << out;
    EXPECT_EQ(out.find("Resumed."), std::string::npos) << out;
    EXPECT_EQ(test::readFile(volume.path() + "/b.bin"), std::string(4 << 20, 'b'));
}

// A disk's upload taken up again names its destination as the user named it (the volume's name
// and the folders below it), not by the folder the volume happens to be mounted at.
TEST_F(CliTest, AResumedUploadToADiskNamesItsDestinationByTheVolume) {
    mounttest::LoopVolume volume(work.path(), 16);
    ASSERT_TRUE(volume.ok()) << "no loop device for the ext4 image";
    const std::string drive = work / "Drive";
    fs::create_directories(drive);
    ASSERT_EQ(mount(volume.device().c_str(), drive.c_str(), "ext4", 0, nullptr), 0);
    fs::create_directories(drive + "/Family/Trips");
    ASSERT_TRUE(endSessionWhileHeld({"--das", drive, "--destination", "Drive/Family/Trips"}));
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", drive, "--resume"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_NE(child.output().find(" to Drive/Family/Trips on Local Drive\n"), std::string::npos)
        << child.output();
    EXPECT_NE(child.output().find("Destination: Drive/Family/Trips on Local Drive (" + drive +
                                  "/Family/Trips)"),
              std::string::npos)
        << child.output();
    EXPECT_EQ(test::readFile(drive + "/Family/Trips/later.txt"), "after the held file\n");
    EXPECT_EQ(test::readFile(drive + "/Family/Trips/held.bin"), "the held file\n");
}

// A destination folder moved away on the disk between two sessions is told when the upload is
// taken up, and the record stays: once the folder is back, the upload is taken up and ends.
// Before, the copy waited for the disk as if it had gone, for good.
TEST_F(CliTest, AResumeWhoseFolderWasMovedAwaySaysSoAndKeepsTheUploadForLater) {
    mounttest::LoopVolume volume(work.path(), 16);
    ASSERT_TRUE(volume.ok()) << "no loop device for the ext4 image";
    const std::string drive = work / "Drive";
    fs::create_directories(drive);
    ASSERT_EQ(mount(volume.device().c_str(), drive.c_str(), "ext4", 0, nullptr), 0);
    fs::create_directories(drive + "/Family/Trips");
    ASSERT_TRUE(endSessionWhileHeld({"--das", drive, "--destination", "Drive/Family/Trips"}));
    fs::rename(drive + "/Family/Trips", drive + "/Family/Moved");
    {
        ChildProcess child;
        ASSERT_TRUE(start(child, {"--das", drive, "--resume"}));
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
        EXPECT_NE((child.output() + child.errors())
                      .find("The destination folder “Trips” is no longer on Local Drive"),
                  std::string::npos)
            << child.output() << child.errors();
        EXPECT_FALSE(fs::exists(drive + "/Family/Trips"));
    }
    fs::rename(drive + "/Family/Moved", drive + "/Family/Trips");
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", drive, "--resume"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_EQ(test::readFile(drive + "/Family/Trips/later.txt"), "after the held file\n");
    EXPECT_EQ(test::readFile(drive + "/Family/Trips/held.bin"), "the held file\n");
}

// The record of an upload to one disk is not taken up with another disk named: its files would
// go on to the first disk. The user is told where the recorded upload went, and nothing is
// written; named with its own disk, it is taken up.
TEST_F(CliTest, AResumeOnAnotherDiskThanTheRecordedOneIsRefused) {
    fs::create_directories(work / "a");
    fs::create_directories(work / "b");
    mounttest::LoopVolume first(work / "a", 16), second(work / "b", 16);
    ASSERT_TRUE(first.ok() && second.ok()) << "no loop devices for the ext4 images";
    const std::string one = work / "One", other = work / "Other";
    fs::create_directories(one);
    fs::create_directories(other);
    ASSERT_EQ(mount(first.device().c_str(), one.c_str(), "ext4", 0, nullptr), 0);
    ASSERT_EQ(mount(second.device().c_str(), other.c_str(), "ext4", 0, nullptr), 0);
    ASSERT_TRUE(endSessionWhileHeld({"--das", one, "--destination", one}));
    {
        ChildProcess child;
        ASSERT_TRUE(start(child, {"--das", other, "--resume"}));
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
        EXPECT_NE(
            (child.output() + child.errors()).find("the one recorded went to an attached disk"),
            std::string::npos)
            << child.output() << child.errors();
        EXPECT_FALSE(fs::exists(one + "/later.txt"));
        EXPECT_FALSE(fs::exists(other + "/later.txt"));
    }
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", one, "--resume"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_EQ(test::readFile(one + "/later.txt"), "after the held file\n");
}

// An upload started with --move and taken up after the end of the session goes on moving, as
// the user chose: its sources leave once they have arrived, and a protected one stays.
TEST_F(CliTest, AMoveTakenUpAfterTheEndOfTheSessionGoesOnMoving) {
    mounttest::LoopVolume volume(work.path(), 16);
    ASSERT_TRUE(volume.ok()) << "no loop device for the ext4 image";
    const std::string drive = work / "Drive";
    fs::create_directories(drive);
    ASSERT_EQ(mount(volume.device().c_str(), drive.c_str(), "ext4", 0, nullptr), 0);
    // Under the home's Library: copied, never moved.
    const std::string prefs = home.path() + "/Library/prefs.txt";
    test::writeFile(prefs, "prefs\n");
    ASSERT_TRUE(endSessionWhileHeld({"--das", drive, "--destination", "Drive", "--move", prefs}));
    EXPECT_TRUE(fs::exists(work / "held.bin"));
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", drive, "--resume"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_NE(child.output().find("It was started with --move and goes on moving"),
              std::string::npos)
        << child.output();
    EXPECT_EQ(test::readFile(drive + "/held.bin"), "the held file\n");
    EXPECT_EQ(test::readFile(drive + "/later.txt"), "after the held file\n");
    EXPECT_EQ(test::readFile(drive + "/prefs.txt"), "prefs\n");
    EXPECT_FALSE(fs::exists(work / "held.bin"));
    EXPECT_FALSE(fs::exists(work / "later.txt"));
    EXPECT_EQ(test::readFile(prefs), "prefs\n");
}

TEST_F(CliTest, NoToTheStopQuestionKeepsUploading) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    ChildProcess child;
    const auto hold = startHeldUpload(child, volume.path());
    ASSERT_TRUE(hold) << child.output();
    child.write("s");
    ASSERT_TRUE(child.waitForOutput("[y/N]", kDeadline)) << child.output();
    child.write("n");
    ASSERT_TRUE(child.waitForOutput("Resumed.", kDeadline)) << child.output();
    hold->release();
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    // Room enough: nothing is said about it.
    EXPECT_EQ(child.output().find(" is free on "), std::string::npos) << child.output();
    EXPECT_EQ(test::readFile(volume.path() + "/later.txt"), "after the held file\n");
    EXPECT_EQ(test::readFile(volume.path() + "/held.bin"), "the held file\n");
}

// The pause key while a file is copied: the file is finished first, and the console says so.
TEST_F(CliTest, APauseWhileAFileIsCopiedSaysTheFileIsFinishedFirst) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    ChildProcess child;
    const auto hold = startHeldUpload(child, volume.path());
    ASSERT_TRUE(hold) << child.output();
    child.write("p");
    ASSERT_TRUE(child.waitForOutput("Paused once the file being copied is finished.", kDeadline))
        << child.output();
    hold->release();
    ASSERT_TRUE(pollUntil([&] { return fs::exists(volume.path() + "/held.bin"); }, kDeadline));
    EXPECT_EQ(test::readFile(volume.path() + "/held.bin"), "the held file\n");
    EXPECT_FALSE(fs::exists(volume.path() + "/later.txt"));
    // The paused line's counters are those of now, with no older "Uploading file 1 of 2"
    // beside them.
    ASSERT_TRUE(child.waitForOutput("Files 2 of 2", kDeadline)) << child.output();
    EXPECT_EQ(child.output().find("Uploading file"), std::string::npos) << child.output();
    child.write("r");
    ASSERT_TRUE(child.waitForOutput("Resumed.", kDeadline)) << child.output();
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_EQ(test::readFile(volume.path() + "/later.txt"), "after the held file\n");
}

TEST_F(CliTest, SigintStopsWithoutAsking) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "held.bin", "the held file\n");
    test::writeFile(work / "later.txt", "after the held file\n");

    test::LeaseHold hold(work / "held.bin");
    ASSERT_TRUE(hold.held());
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive", work / "held.bin",
                              work / "later.txt"}));
    child.closeInput();
    ASSERT_TRUE(pollUntil([&] { return hold.opened(); }, kDeadline)) << child.output();
    child.signal(SIGINT);
    ASSERT_TRUE(child.waitForOutput("Stopped.", kDeadline)) << child.output() << child.errors();
    hold.release();
    EXPECT_EQ(child.waitForExit(kDeadline), 130);
    EXPECT_EQ(child.output().find("[y/N]"), std::string::npos) << child.output();
    EXPECT_FALSE(fs::exists(volume.path() + "/later.txt"));
}

TEST_F(CliTest, ResumeWithoutARecordedUploadSaysSo) {
    TmpfsVolume volume(work / "Drive", 1 << 20);
    ASSERT_TRUE(volume.ok());
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--resume"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    // Nothing is announced as taken up when nothing is recorded.
    EXPECT_EQ(child.output().find("Taking up"), std::string::npos) << child.output();
    EXPECT_NE(child.errors().find("There is no interrupted upload to"), std::string::npos)
        << child.errors();
}

// The state file keeps one upload in all: a new upload to a disk would take the place of a
// network device's upload that did not finish. It is refused, and names that device.
TEST_F(CliTest, ANewUploadKeepsAnotherDevicesUnfinishedUploadUnlessAskedTo) {
    TmpfsVolume volume(work / "Drive", 1 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "a.txt", "a\n");
    const std::string stateFile = home.path() + "/.local/share/QVTransfer/qvtransfer.plist";
    const std::string record =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
        "<key>SN-ELSEWHERE</key><dict><key>isFileTransferCompleted</key><false/>"
        "<key>deviceType</key><string>NAS</string>"
        "<key>selectedDestinationShare</key><string>/home/x/.QVTransfer/Public</string>"
        "<key>sourceFilesPendingArray</key><array><dict><key>fullFilePath</key>"
        "<string>/home/x/memo.txt</string></dict></array></dict></dict></plist>\n";
    test::writeFile(stateFile, record);
    {
        ChildProcess child;
        ASSERT_TRUE(
            start(child, {"--das", volume.path(), "--destination", "Drive", work / "a.txt"}));
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 2) << child.output() << child.errors();
        EXPECT_NE(child.errors().find("serial number SN-ELSEWHERE"), std::string::npos)
            << child.errors();
        EXPECT_NE(child.errors().find("--replace-interrupted"), std::string::npos);
        EXPECT_FALSE(fs::exists(volume.path() + "/a.txt"));
        EXPECT_EQ(test::readFile(stateFile), record);
    }
    {
        // --resume finds nothing of this disk's, and says whose upload is recorded.
        ChildProcess child;
        ASSERT_TRUE(start(child, {"--das", volume.path(), "--resume"}));
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
        EXPECT_NE(child.errors().find("There is no interrupted upload to Local Drive to take up: "
                                      "the one recorded went to the network device with serial "
                                      "number SN-ELSEWHERE."),
                  std::string::npos)
            << child.errors();
        EXPECT_EQ(test::readFile(stateFile), record);
    }
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive",
                              "--replace-interrupted", work / "a.txt"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_EQ(test::readFile(volume.path() + "/a.txt"), "a\n");
}

// One upload at a time: a second console uploader would replace the running upload's record
// (a new upload) or copy the same files beside it (--resume), so it is refused and names the
// process that runs the first.
TEST_F(CliTest, ASecondUploaderIsRefusedWhileTheFirstRuns) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "held.bin", "the held file\n");
    test::writeFile(work / "later.txt", "after the held file\n");
    test::writeFile(work / "other.txt", "another upload\n");

    test::LeaseHold hold(work / "held.bin");
    ASSERT_TRUE(hold.held());
    ChildProcess first;
    ASSERT_TRUE(start(first, {"--das", volume.path(), "--destination", "Drive", work / "held.bin",
                              work / "later.txt"}));
    ASSERT_TRUE(pollUntil([&] { return hold.opened(); }, kDeadline)) << first.output();
    const std::string named =
        "Another upload is open in process " + std::to_string(first.pid()) + ".";
    const std::vector<std::vector<std::string>> seconds = {
        {"--das", volume.path(), "--destination", "Drive", work / "other.txt"},
        {"--das", volume.path(), "--destination", "Drive", "--replace-interrupted",
         work / "other.txt"},
        {"--das", volume.path(), "--resume"}};
    for (const auto& arguments : seconds) {
        ChildProcess second;
        ASSERT_TRUE(start(second, arguments));
        second.closeInput();
        EXPECT_EQ(second.waitForExit(kDeadline), 2) << second.output() << second.errors();
        EXPECT_NE(second.errors().find(named), std::string::npos) << second.errors();
    }
    EXPECT_FALSE(fs::exists(volume.path() + "/other.txt"));

    hold.release();
    first.closeInput();
    EXPECT_EQ(first.waitForExit(kDeadline), 0) << first.output() << first.errors();
    EXPECT_EQ(test::readFile(volume.path() + "/held.bin"), "the held file\n");
    EXPECT_EQ(test::readFile(volume.path() + "/later.txt"), "after the held file\n");

    // With the first gone, the next upload runs.
    ChildProcess next;
    ASSERT_TRUE(
        start(next, {"--das", volume.path(), "--destination", "Drive", work / "other.txt"}));
    next.closeInput();
    EXPECT_EQ(next.waitForExit(kDeadline), 0) << next.output() << next.errors();
    EXPECT_EQ(test::readFile(volume.path() + "/other.txt"), "another upload\n");
}

TEST_F(CliTest, MoveConfirmsOnTheCommandLineAndTheSourcesGo) {
    TmpfsVolume volume(work / "Drive", 32 << 20);
    ASSERT_TRUE(volume.ok());
    makeSources(work / "src");
    makeSources(work / "expected");

    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive", "--move",
                              work / "src/Holiday", work / "src/notes.txt"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    // The move warning was shown and taken as confirmed by --move.
    test::Harness h;
    auto texts = QVTransferPrivate::initWithDevice(test::dasDevice(), h.services);
    ASSERT_TRUE(texts);
    const std::string warning = texts->localizedString("MOVE_FILE_WARNING_txt");
    ASSERT_FALSE(warning.empty());
    EXPECT_NE(child.output().find(warning), std::string::npos) << child.output();
    // Its question is answered where it stands, not left for an answer nobody is asked for.
    EXPECT_NE(child.output().find(warning + "\nYes: --move was given, so the sources are moved.\n"),
              std::string::npos)
        << child.output();
    EXPECT_TRUE(sameTree(work / "expected/Holiday", volume.path() + "/Holiday"));
    EXPECT_EQ(test::readFile(volume.path() + "/notes.txt"), "Meeting notes\n");
    EXPECT_TRUE(filesBelow(work / "src").empty());
    EXPECT_FALSE(fs::exists(work / "src/notes.txt"));
    // As the warning says: the files are gone for good once they arrived, and the folder they
    // left empty is in the Trash.
    EXPECT_NE(warning.find("each file is removed from this computer once it has arrived whole "
                           "on the device, and the emptied folders go to the Trash"),
              std::string::npos)
        << warning;
    const std::string trash = home.path() + "/.local/share/Trash/files";
    EXPECT_TRUE(fs::is_directory(trash + "/Holiday"));
    EXPECT_TRUE(filesBelow(trash).empty());
}

TEST_F(CliTest, StopKeysTypedAheadStopTheUploadInOnePieceOrOneByOne) {
    for (const bool onePiece : {true, false}) {
        SCOPED_TRACE(onePiece ? "in one piece" : "one by one");
        TmpfsVolume volume(work / "Drive", 64 << 20);
        ASSERT_TRUE(volume.ok());
        makeManyFiles(work / "src/Many", 3000);
        ChildProcess child;
        ASSERT_TRUE(
            start(child, {"--das", volume.path(), "--destination", "Drive", work / "src/Many"}));
        // Both keys are there before the question: the "y" waits for it.
        if (onePiece) {
            child.write("sy");
        } else {
            child.write("s");
            child.write("y");
        }
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 130) << child.output() << child.errors();
        EXPECT_NE(child.output().find("[y/N] yes"), std::string::npos) << child.output();
        EXPECT_LT(filesBelow(volume.path()).size(), 3000u);
    }
}

TEST_F(CliTest, TheEndOfInputAtTheStopQuestionIsANoAndTheUploadEnds) {
    TmpfsVolume volume(work / "Drive", 64 << 20);
    ASSERT_TRUE(volume.ok());
    makeManyFiles(work / "src/Many", 3000);
    ChildProcess child;
    ASSERT_TRUE(
        start(child, {"--das", volume.path(), "--destination", "Drive", work / "src/Many"}));
    child.write("s");
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 0) << child.output() << child.errors();
    EXPECT_NE(child.output().find("[y/N] no"), std::string::npos) << child.output();
    EXPECT_TRUE(sameTree(work / "src/Many", volume.path() + "/Many"));
}

TEST_F(CliTest, ASourceDeletedDuringTheUploadIsNamedAndTheExitStatusIsOne) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "held.bin", "the held file\n");
    makeManyFiles(work / "src/Many", 20);
    const std::string gone = work / "src/letter.txt";
    test::writeFile(gone, "Dear all\n");
    test::LeaseHold hold(work / "held.bin");
    ASSERT_TRUE(hold.held());
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive", work / "held.bin",
                              work / "src/Many", gone}));
    child.closeInput();
    // While the first source is being read, the last one goes.
    ASSERT_TRUE(pollUntil([&] { return hold.opened(); }, kDeadline)) << child.output();
    ASSERT_TRUE(fs::remove(gone));
    hold.release();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_NE(child.output().find(gone + ": The file is no longer there."), std::string::npos)
        << child.output();
    EXPECT_TRUE(sameTree(work / "src/Many", volume.path() + "/Many"));
}

// A file removed from inside a folder after the count, before the copy listed that folder:
// the folder is named with how many of its files went, and the exit status says so.
TEST_F(CliTest, AFileDeletedInsideAFolderBeforeItsCopyIsToldAndTheExitStatusIsOne) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "held.bin", "the held file\n");
    makeManyFiles(work / "src/Many", 20);
    test::LeaseHold hold(work / "held.bin");
    ASSERT_TRUE(hold.held());
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive", work / "held.bin",
                              work / "src/Many"}));
    child.closeInput();
    // While the first source is being read, a file of the second one goes.
    ASSERT_TRUE(pollUntil([&] { return hold.opened(); }, kDeadline)) << child.output();
    ASSERT_TRUE(fs::remove(work / "src/Many/part 0/f7.txt"));
    hold.release();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_NE(child.output().find(work / "src/Many" +
                                  ": Files in this folder are no longer there: 1 of the 20 "
                                  "counted when it was chosen."),
              std::string::npos)
        << child.output();
    EXPECT_EQ(child.output().find("All files were uploaded successfully"), std::string::npos)
        << child.output();
    EXPECT_TRUE(sameTree(work / "src/Many", volume.path() + "/Many"));
}

TEST_F(CliTest, ADeviceRecordWhoseDiskIsNotAttachedIsToldAtOnce) {
    // The record's volume is neither mounted at its folder nor has a device node.
    fs::create_directories(work / "Gone");
    Record info{{"productName", "Travel Drive"},
                {"serialNumber", "GONE-1"},
                {"volumeArray", List{Record{{"volumeName", "Travel"},
                                            {"volumePath", work / "Gone"},
                                            {"bsdName", "qvt-no-such-disk"},
                                            {"mounted", true},
                                            {"uuid", "0000-GONE"}}}}};
    const Record device{{"deviceType", "DAS"}, {"isZeroState", false}, {"deviceInfo", info}};
    ASSERT_TRUE(platform::writePropertyList(work / "device.plist", Value(device)));
    test::writeFile(work / "a.txt", "a\n");
    ChildProcess child;
    const auto started = std::chrono::steady_clock::now();
    ASSERT_TRUE(start(
        child, {"--device", work / "device.plist", "--destination", "Travel", work / "a.txt"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
    EXPECT_NE(child.errors().find("The disk's volume is not there: Travel (" + (work / "Gone") +
                                  "). Attach the disk, or mount the volume at that folder"),
              std::string::npos)
        << child.errors();
    EXPECT_TRUE(fs::is_empty(work / "Gone"));
}

TEST_F(CliTest, AFifoASocketAndADeviceNodeAreFailedItemsAndTheUploadEnds) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "src/Odd/before.txt", "before\n");
    test::writeFile(work / "src/Odd/zz after.txt", "after\n");
    // Nothing ever writes to the FIFO: reading it would wait for ever.
    ASSERT_EQ(mkfifo((work / "src/Odd/pipe").c_str(), 0644), 0);
    ASSERT_TRUE(makeSocketFile(work / "src/Odd/socket"));
    ASSERT_EQ(mknod((work / "src/Odd/null").c_str(), S_IFCHR | 0644, makedev(1, 3)), 0);
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive", work / "src/Odd"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    for (const char* name : {"pipe", "socket", "null"})
        EXPECT_NE(child.output().find(work / "src/Odd" + "/" + name + ": Not a regular file."),
                  std::string::npos)
            << name << "\n"
            << child.output();
    EXPECT_EQ(test::readFile(volume.path() + "/Odd/before.txt"), "before\n");
    EXPECT_EQ(test::readFile(volume.path() + "/Odd/zz after.txt"), "after\n");
    EXPECT_EQ(filesBelow(volume.path() + "/Odd").size(), 2u);
}

// A name that holds control characters is printed with them escaped: it cannot clear the
// screen or start a line of its own that looks like the program's.
TEST_F(CliTest, ANameWithControlCharactersCannotWriteLinesOfItsOwn) {
    TmpfsVolume volume(work / "Drive", 8 << 20);
    ASSERT_TRUE(volume.ok());
    test::writeFile(work / "src/Esc/ok.txt", "ok\n");
    const std::string name = "bad\nFailed (0):\x1b[2Jx";
    ASSERT_EQ(mkfifo((work / "src/Esc" + "/" + name).c_str(), 0644), 0);
    ChildProcess child;
    ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive", work / "src/Esc"}));
    child.closeInput();
    EXPECT_EQ(child.waitForExit(kDeadline), 1) << child.output() << child.errors();
    const std::string out = child.output();
    EXPECT_NE(out.find(work / "src/Esc" + "/bad\\nFailed (0):\\x1b[2Jx: Not a regular file."),
              std::string::npos)
        << out;
    EXPECT_EQ(out.find('\x1b'), std::string::npos) << out;
    EXPECT_EQ(out.find("\nFailed (0):"), std::string::npos) << out;
    EXPECT_EQ(test::readFile(volume.path() + "/Esc/ok.txt"), "ok\n");
}

// The uploader's own folders, given by name or through a link, are refused: they are left out of
// every upload, so the upload would end "successfully" having copied nothing.
TEST_F(CliTest, TheUploadersOwnFoldersGivenAsSourcesAreABadArgument) {
    TmpfsVolume volume(work / "Drive", 1 << 20);
    ASSERT_TRUE(volume.ok());
    const std::string mountFolder = home.path() + "/.QVTransfer";
    const std::string stateFolder = home.path() + "/.local/share/QVTransfer";
    fs::create_directories(mountFolder + "/Public");
    fs::create_directories(stateFolder);
    const std::string link = work / "shares";
    fs::create_directory_symlink(mountFolder, link);
    test::writeFile(stateFolder + "/qvtransfer.plist", "<plist version=\"1.0\"><dict/></plist>");
    const std::string fileLink = work / "record.plist";
    fs::create_symlink(stateFolder + "/qvtransfer.plist", fileLink);
    for (const std::string& source :
         {mountFolder, link, stateFolder, stateFolder + "/qvtransfer.plist",
          mountFolder + "/Public", fileLink, link + "/Public"}) {
        ChildProcess child;
        ASSERT_TRUE(start(child, {"--das", volume.path(), "--destination", "Drive", source}));
        child.closeInput();
        EXPECT_EQ(child.waitForExit(kDeadline), 2) << child.output() << child.errors();
        EXPECT_NE(child.errors().find(source + " holds the uploader's own files"),
                  std::string::npos)
            << child.errors();
        EXPECT_TRUE(fs::is_empty(volume.path())) << source;
    }
}
