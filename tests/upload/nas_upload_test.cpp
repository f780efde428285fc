// Whole uploads to a network device: a share of the simulator's real Samba server on loopback,
// mounted in-process through the controller's mount helper, the files written over SMB.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/smb_names.h"
#include "session/leftover_copies.h"
#include "upload_fixture.h"

namespace qvt::uploadtest {
namespace {

static ::testing::Environment* const kSamba = mounttest::sambaEnvironment();

constexpr std::size_t kBig = 100u << 20;

class NasUpload : public PrivateShareTest {
  protected:
    void expectPasswordNeverLogged(UploadSession& s) {
        for (const auto& line : s.logLines())
            EXPECT_EQ(line.find(mounttest::kPassword), std::string::npos) << line;
    }

    // Uploads `sources` (moved with `move`) to the root of the private share as the test
    // account, and waits for the end.
    static void uploadToPrivateShare(UploadSession& s, const std::vector<std::string>& sources,
                                     bool move = false) {
        s.c().userName.set(mounttest::kUser);
        s.c().userPassword.set(mounttest::kPassword);
        ASSERT_TRUE(s.addSources(sources));
        ASSERT_TRUE(s.toDestination(move));
        const std::string share = s.mountShare("Private");
        ASSERT_FALSE(share.empty());
        s.upload(share);
        ASSERT_TRUE(s.waitCompleted(60)) << s.logText();
    }
};

TEST_F(NasUpload, MixedTreeArrivesOnTheShareByteForByte) {
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-UPLOAD"));
    s.c().userName.set(mounttest::kUser);
    s.c().userPassword.set(mounttest::kPassword);
    const std::string tree = makeMixedTree(s.home() + "/sources", kBig);
    const Snapshot expected = snapshot(tree, true);

    ASSERT_TRUE(s.addSources({tree}));
    ASSERT_TRUE(s.toDestination(false));
    const std::string share = s.mountShare("Private");
    ASSERT_EQ(share, s.c().mountDir + "/Private");
    ASSERT_EQ(platform::files().createFolder(share + "/Uploads", false), 0);
    s.upload(share + "/Uploads");
    ASSERT_TRUE(s.waitCompleted());

    EXPECT_TRUE(s.failures().empty());
    std::vector<std::string> links;
    const Snapshot arrived = snapshot(backing() + "/Uploads/Mixed Tree", false, &links);
    EXPECT_EQ(difference(expected, arrived), "");
    EXPECT_TRUE(links.empty());
    EXPECT_EQ(s.c().job().progressValue.load(), 16);
    EXPECT_EQ(s.c().job().numberOfFilesCountForTransfer.load(), 16);
    EXPECT_EQ(s.c().selectedDestinationShare.get(), share + "/Uploads");

    // An upload without failures releases the shares it mounted.
    EXPECT_FALSE(platform::files().isMountPoint(share));
    // A share has no local volume to flush, and its folder is gone with the unmount: the end of
    // the upload does not try.
    EXPECT_FALSE(s.logged("QVTransfer: flushVolume:"));
    // The state file holds the device's record under its serial number.
    const auto state = s.stateFile();
    ASSERT_TRUE(state);
    ASSERT_EQ(state->size(), 1u);
    const Record* record = state->record("SN-UPLOAD");
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->find("isFileTransferCompleted")->toBool());
    EXPECT_EQ(record->string("deviceType"), "NAS");
    // Neither the log nor the state file holds the password.
    expectPasswordNeverLogged(s);
    EXPECT_EQ(test::readFile(s.c().transferDataFilePath).find(mounttest::kPassword),
              std::string::npos);
}

TEST_F(NasUpload, SecondUploadToTheShareGetsCopyNames) {
    test::TempDir sources;
    const std::string tree = makeMixedTree(sources.path(), 0);
    fs::remove(tree + "/" + longAsciiName());
    fs::remove(tree + "/" + longMultibyteName());
    const Snapshot expected = snapshot(tree, true);

    std::string copy;
    for (int round = 0; round < 2; ++round) {
        UploadSession s(test::nasDevice("127.0.0.1:1", "SN-UPLOAD"));
        copy = s.c().localeCOPY_txt;
        s.c().userName.set(mounttest::kUser);
        s.c().userPassword.set(mounttest::kPassword);
        ASSERT_TRUE(s.addSources({tree}));
        ASSERT_TRUE(s.toDestination(false));
        const std::string share = s.mountShare("Private");
        ASSERT_FALSE(share.empty());
        s.upload(share);
        ASSERT_TRUE(s.waitCompleted()) << "round " << round;
        EXPECT_TRUE(s.failures().empty()) << "round " << round;
        expectPasswordNeverLogged(s);
    }
    const std::string root = backing() + "/Mixed Tree";
    EXPECT_EQ(sha256Of(root + "/plain " + copy + ".txt"), sha256Of(tree + "/plain.txt"));
    EXPECT_EQ(sha256Of(root + "/.hidden " + copy), sha256Of(tree + "/.hidden"));
    EXPECT_EQ(sha256Of(root + "/nested/level 1/level 2/deep " + copy + ".bin"),
              sha256Of(tree + "/nested/level 1/level 2/deep.bin"));
    EXPECT_EQ(sha256Of(root + "/link to plain " + copy), sha256Of(tree + "/plain.txt"));
    // Each file twice, folders once (merged).
    const Snapshot arrived = snapshot(root, false);
    EXPECT_EQ(filesOf(arrived).size(), 2 * filesOf(expected).size());
    std::size_t folders = 0, foldersExpected = 0;
    for (const auto& [p, item] : arrived) folders += item.folder;
    for (const auto& [p, item] : expected) foldersExpected += item.folder;
    EXPECT_EQ(folders, foldersExpected);
    for (const auto& [p, item] : expected) EXPECT_TRUE(arrived.count(p)) << p;
}

TEST_F(NasUpload, CancelInTheBigFileOnTheShareRemovesItAndReleasesTheShare) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-UPLOAD"));
    struct ReleaseOnExit {
        HoldingFiles& files;
        ~ReleaseOnExit() { files.release(); }
    } releaseOnExit{files};
    s.c().userName.set(mounttest::kUser);
    s.c().userPassword.set(mounttest::kPassword);
    const std::string tree = makeMixedTree(s.home() + "/sources", kBig);
    const Snapshot expected = snapshot(tree, true);
    ASSERT_TRUE(s.addSources({tree}));
    ASSERT_TRUE(s.toDestination(false));
    const std::string share = s.mountShare("Private");
    ASSERT_FALSE(share.empty());
    files.holdCopyOf("/big/huge.bin");
    s.upload(share);
    ASSERT_TRUE(files.waitHeld(120));
    const std::string bigOnShare = backing() + "/Mixed Tree/big/huge.bin";
    const std::string partial = s.c().job().inProcessDestFilePath.get();
    ASSERT_TRUE(isPartialCopyOf(partial, share + "/Mixed Tree/big/huge.bin"));
    const std::string partialOnShare =
        backing() + "/Mixed Tree/big/" + fs::path(partial).filename().string();
    ASSERT_EQ(fs::file_size(partialOnShare), kBig);
    EXPECT_FALSE(fs::exists(bigOnShare));
    std::map<std::string, std::string> earlier;
    for (const std::string& rel : filesOf(snapshot(backing(), false)))
        if (backing() + "/" + rel != partialOnShare) earlier[rel] = sha256Of(backing() + "/" + rel);

    // The pause button, then the stop confirmation's stop button.
    s.c().cancelUploadFiles(3);
    s.c().cancelUploadFiles(2);
    files.release();
    ASSERT_TRUE(s.settle());

    EXPECT_FALSE(fs::exists(bigOnShare));
    EXPECT_FALSE(fs::exists(partialOnShare));
    EXPECT_EQ(s.delegate().cancelCount.load(), 1);
    EXPECT_FALSE(platform::files().isMountPoint(share));
    std::map<std::string, std::string> after;
    for (const std::string& rel : filesOf(snapshot(backing(), false)))
        after[rel] = sha256Of(backing() + "/" + rel);
    EXPECT_EQ(after, earlier);
    for (const auto& [rel, digest] : earlier)
        EXPECT_EQ(digest,
                  expected.at(fs::path(rel).lexically_relative("Mixed Tree").string()).digest)
            << rel;
    const auto state = s.stateFile();
    ASSERT_TRUE(state);
    ASSERT_EQ(state->size(), 1u);
    ASSERT_TRUE(state->record("SN-UPLOAD"));
    EXPECT_TRUE(state->record("SN-UPLOAD")->empty());
    expectPasswordNeverLogged(s);
}

// What a stop left on a share because the device was away goes with the next upload to that
// share. Only the noted hidden copies go: nothing of another device or share, nothing under
// another name, and no note leads the removal outside the share.
TEST_F(NasUpload, HiddenCopiesAStopLeftOnTheShareGoWithTheNextUploadToIt) {
    test::TempDir sources;
    test::writeFile(sources / "new.txt", "new\n");
    const std::string left = "Old/.qvtransfer-00112233445566aa.part";
    const std::string otherDevices = "Old/.qvtransfer-00112233445566cc.part";
    const std::string outside = "../outside/.qvtransfer-00112233445566bb.part";
    for (const std::string& rel : {left, otherDevices, std::string("Old/keep.jpg")})
        test::writeFile(backing() + "/" + rel, "data");
    const std::string outsidePath = backing() + "/" + outside;
    test::writeFile(outsidePath, "not the share's");
    struct RemoveOutside {
        std::string folder;
        ~RemoveOutside() { fs::remove_all(folder); }
    } removeOutside{fs::path(outsidePath).parent_path().string()};

    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-UPLOAD"));
    const std::string note =
        fs::path(s.c().transferDataFilePath).parent_path().string() + "/LeftoverCopies.plist";
    const std::vector<session::LeftoverCopy> others = {
        {"SN-OTHER", "Private", otherDevices},
        {"SN-UPLOAD", "Public", ".qvtransfer-00112233445566dd.part"}};
    ASSERT_TRUE(session::writeLeftoverCopies(note, {{"SN-UPLOAD", "Private", left},
                                                    others[0],
                                                    {"SN-UPLOAD", "Private", outside},
                                                    {"SN-UPLOAD", "Private", "Old/keep.jpg"},
                                                    {"SN-UPLOAD", "Private", "/" + left},
                                                    others[1]}));
    s.c().userName.set(mounttest::kUser);
    s.c().userPassword.set(mounttest::kPassword);
    ASSERT_TRUE(s.addSources({sources / "new.txt"}));
    ASSERT_TRUE(s.toDestination(false));
    const std::string share = s.mountShare("Private");
    ASSERT_FALSE(share.empty());
    s.upload(share);
    ASSERT_TRUE(s.waitCompleted());

    EXPECT_EQ(test::readFile(backing() + "/new.txt"), "new\n");
    EXPECT_FALSE(fs::exists(backing() + "/" + left));
    EXPECT_TRUE(fs::exists(backing() + "/" + otherDevices));
    EXPECT_TRUE(fs::exists(backing() + "/Old/keep.jpg"));
    EXPECT_TRUE(fs::exists(outsidePath));
    // What this share's upload cannot remove is forgotten; the others' notes are kept.
    EXPECT_EQ(session::readLeftoverCopies(note), others);
}

TEST_F(NasUpload, FileTheLayerRefusesIsListedAsFailedAndTheRestArrives) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-UPLOAD"));
    s.c().userName.set(mounttest::kUser);
    s.c().userPassword.set(mounttest::kPassword);
    const std::string tree = makeMixedTree(s.home() + "/sources", 0);
    Snapshot expected = snapshot(tree, true);
    files.failCopiesOf("/track 07.mp3", EACCES);
    ASSERT_TRUE(s.addSources({tree}));
    ASSERT_TRUE(s.toDestination(false));
    const std::string share = s.mountShare("Private");
    ASSERT_FALSE(share.empty());
    s.upload(share);
    ASSERT_TRUE(s.waitCompleted());

    const auto failed = s.failures();
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].string("sourceFilePath"), tree + "/nested/level 1/track 07.mp3");
    EXPECT_EQ(failed[0].string("destFilePath"), share + "/Mixed Tree/nested/level 1/track 07.mp3");
    EXPECT_EQ(failed[0].string("localizedError"), platform::errorDescription(EACCES));
    EXPECT_FALSE(failed[0].string("localizedError").empty());
    EXPECT_TRUE(s.c().isFileTransferFailed());
    expected.erase("nested/level 1/track 07.mp3");
    EXPECT_EQ(difference(expected, snapshot(backing() + "/Mixed Tree", false)), "");
    // With a failure the share stays mounted (the failed list may retry).
    EXPECT_TRUE(platform::files().isMountPoint(share));
    const auto state = s.stateFile();
    ASSERT_TRUE(state && state->record("SN-UPLOAD"));
    const Record* record = state->record("SN-UPLOAD");
    EXPECT_TRUE(record->find("isFileTransferFailed")->toBool());
    ASSERT_TRUE(record->list("failedTransferArray"));
    EXPECT_EQ(record->list("failedTransferArray")->size(), 1u);
}

TEST_F(NasUpload, CopyNameTooLongForTheShareFailsThatFileOnly) {
    test::TempDir sources;
    const std::string folder = sources.path() + "/Long";
    test::writeFile(folder + "/" + longAsciiName(), "long\n");
    test::writeFile(folder + "/short.txt", "short\n");
    for (int round = 0; round < 2; ++round) {
        UploadSession s(test::nasDevice("127.0.0.1:1", "SN-UPLOAD"));
        ASSERT_NO_FATAL_FAILURE(uploadToPrivateShare(s, {folder}));
        // The refused name is an error of that file, not a lost device: no dialog, no pause.
        EXPECT_FALSE(test::ScriptedView(s.harness().view).called("runModal deviceMissingDialog"));
        EXPECT_FALSE(s.c().uploadPaused());
        const auto failed = s.failures();
        if (round == 0) {
            EXPECT_TRUE(failed.empty());
            continue;
        }
        ASSERT_EQ(failed.size(), 1u);
        EXPECT_EQ(failed[0].string("sourceFilePath"), folder + "/" + longAsciiName());
        EXPECT_EQ(failed[0].string("localizedError"),
                  "The name \u201c" + std::string(251, 'L') + " " + s.c().localeCOPY_txt +
                      ".txt\u201d is too long for the device, which holds names of up to 255 "
                      "bytes.");
        EXPECT_EQ(test::readFile(backing() + "/Long/short " + s.c().localeCOPY_txt + ".txt"),
                  "short\n");
    }
}

// A name that fits the local disk but not the share once its refused characters are mapped
// (each to three bytes): a failed item that says the name is too long.
TEST_F(NasUpload, ANameTooLongOnceMappedForTheShareFailsAndSaysSo) {
    test::TempDir sources;
    const std::string folder = sources.path() + "/Mapped";
    const std::string name = std::string(246, 'm') + ":::.txt";  // 253 bytes, 259 mapped
    test::writeFile(folder + "/" + name, "mapped\n");
    test::writeFile(folder + "/short.txt", "short\n");
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-UPLOAD"));
    ASSERT_NO_FATAL_FAILURE(uploadToPrivateShare(s, {folder}));
    const auto failed = s.failures();
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].string("localizedError"),
              "The name \u201c" + name +
                  "\u201d is too long for the device, which holds names of up to 255 bytes.");
    EXPECT_EQ(test::readFile(backing() + "/Mapped/short.txt"), "short\n");
}

// A source that is the share's own folder seen through another path (here the folder the
// server keeps the share in): moved onto itself, its files come back under the clash rule's
// names in the very folder. That folder is never sent to the Trash with them.
TEST_F(NasUpload, AMovedSourceThatIsTheSharesOwnFolderKeepsItsFiles) {
    test::TempDir data;
    const EnvironmentOverride trashHome("XDG_DATA_HOME", data.path());
    const std::string same = backing() + "/Same";
    test::writeFile(same + "/a.txt", "a\n");
    test::writeFile(same + "/b.txt", "b\n");
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-UPLOAD"));
    ASSERT_NO_FATAL_FAILURE(uploadToPrivateShare(s, {same}, true));
    EXPECT_FALSE(fs::exists(data.path() + "/Trash/files/Same"));
    std::string held;
    for (const auto& e : fs::directory_iterator(same)) held += test::readFile(e.path());
    EXPECT_EQ(held.size(), 4u) << held;
    EXPECT_NE(held.find("a\n"), std::string::npos);
    EXPECT_NE(held.find("b\n"), std::string::npos);
}

// Names a desktop user gives freely and SMB refuses.
const std::vector<std::string> kRefusedNames = {
    "Meeting: notes.txt", "colon:quote\".txt", "star*?.txt",        "a<b>c|d\\e.txt",
    "tab\tname.txt",      "ends with a dot.",  "ends with a blank "};

// Uploads a folder "Odd" holding a file of each refused name and a file whose name is not
// UTF-8 to `share`; the session stays for the caller to look at.
void uploadOddNames(UploadSession& s, const std::string& share) {
    s.c().userName.set(mounttest::kUser);
    s.c().userPassword.set(mounttest::kPassword);
    const std::string odd = s.home() + "/sources/Odd";
    for (const auto& name : kRefusedNames) test::writeFile(odd + "/" + name, name);
    test::writeFile(odd + "/latin1 \xE9t\xE9.txt", "not UTF-8");
    ASSERT_TRUE(s.addSources({odd}));
    ASSERT_TRUE(s.toDestination(false));
    const std::string mounted = s.mountShare(share);
    ASSERT_FALSE(mounted.empty());
    s.upload(mounted);
    ASSERT_TRUE(s.waitCompleted());
}

TEST_F(NasUpload, NamesTheShareRefusesArriveMappedAndAreReadBackAsGiven) {
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-NAMES"));
    uploadOddNames(s, "Private");
    // Every refused name arrived, under its mapped form on a share that does not translate.
    for (const auto& name : kRefusedNames) {
        const std::string stored = backing() + "/Odd/" + platform::smb::toShareName(name);
        EXPECT_EQ(test::readFile(stored), name) << name;
    }
    // The name that is no UTF-8 is the only failure, with a reason a person can act on.
    const auto failed = s.failures();
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].string("sourceFilePath"), s.home() + "/sources/Odd/latin1 \xE9t\xE9.txt");
    EXPECT_EQ(failed[0].string("localizedError"),
              "The name is not valid UTF-8, so the device cannot store it; rename the file.");
    // Nothing else is in the folder: no hidden copy, no half-written name.
    std::size_t entries = 0;
    for (const auto& e : fs::directory_iterator(backing() + "/Odd")) {
        (void)e;
        ++entries;
    }
    EXPECT_EQ(entries, kRefusedNames.size());
}

TEST_F(NasUpload, ADeviceThatTranslatesTheMappingShowsTheNamesAsGiven) {
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-NAMES"));
    const std::string mapped = mounttest::SambaEnvironment::server()->sharePath("Mapped");
    for (const auto& e : fs::directory_iterator(mapped)) fs::remove_all(e.path());
    uploadOddNames(s, "Mapped");
    // The device's own folder holds the names the user gave. (A blank or a dot at the end has
    // no character of its own in the translation: those stay mapped.)
    for (const auto& name : kRefusedNames) {
        const bool trailing = name.back() == ' ' || name.back() == '.';
        const std::string stored =
            mapped + "/Odd/" + (trailing ? platform::smb::toShareName(name) : name);
        EXPECT_EQ(test::readFile(stored), name) << name;
    }
    EXPECT_EQ(s.failures().size(), 1u);
    // Read through the share, every name is the one given.
    const std::string mounted = s.mountShare("Mapped");
    auto names = platform::files().listFolder(mounted + "/Odd");
    std::sort(names.begin(), names.end());
    auto expected = kRefusedNames;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(names, expected);
}

}  // namespace
}  // namespace qvt::uploadtest
