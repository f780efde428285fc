// Mounting shares of a real smbd on loopback through QVTransferMountDestination.
#include <gtest/gtest.h>

#include <algorithm>

#include "capture_log.h"
#include "device/mount_destination.h"
#include "mount_test_support.h"
#include "platform/log.h"

namespace qvt::mounttest {
namespace {

static ::testing::Environment* const kSamba = sambaEnvironment();

// The real layer, with every mount request kept for the test to look at.
class RecordingFiles : public platform::FileLayer {
  public:
    std::vector<platform::NetMountRequest> requests;
    struct Older {
        std::string url, mountDir, user, password;
        std::uint32_t flags;
    };
    std::vector<Older> older;

    platform::NetMountResult mountURLSync(const platform::NetMountRequest& r) override {
        requests.push_back(r);
        return FileLayer::mountURLSync(r);
    }
    int mountServerVolumeSync(const std::string& url, const std::string& mountDir,
                              const std::string& user, const std::string& password,
                              std::uint32_t flags, std::string* rootPath) override {
        older.push_back({url, mountDir, user, password, flags});
        return FileLayer::mountServerVolumeSync(url, mountDir, user, password, flags, rootPath);
    }
};

class ShareMountTest : public ::testing::Test {
  protected:
    void SetUp() override {
        QVT_REQUIRE_SAMBA();
        platform::setFilesForTesting(&files);
    }
    void TearDown() override {
        box.releaseMounts();
        platform::setFilesForTesting(nullptr);
    }

    std::string mountNAS(const std::string& share, const std::string& access,
                         const std::string& user, const std::string& password,
                         const std::string& noBrowse = "true") {
        return mounter.mountNASShare(share, access, "127.0.0.1", "Test Cloud", "qvt-nas",
                                     box.mountDir(), user, password, noBrowse);
    }
    std::vector<std::string> recorded() { return mounter.mountedPathsArray.get(); }
    const platform::MountedVolume* volumeAt(const std::string& path) {
        volumes = platform::files().mountedVolumes();
        for (const auto& v : volumes)
            if (v.path == path) return &v;
        return nullptr;
    }
    std::string backing(const std::string& share) {
        return SambaEnvironment::server()->sharePath(share);
    }
    void expectPasswordNeverLogged(const std::string& password) {
        for (const auto& line : log->lines())
            EXPECT_EQ(line.find(password), std::string::npos) << line;
    }

    MountSandbox box;
    RecordingFiles files;
    std::shared_ptr<platform::CaptureLog> log = std::make_shared<platform::CaptureLog>();
    QVTransferMountDestination mounter{log};
    std::vector<platform::MountedVolume> volumes;
};

TEST_F(ShareMountTest, PrivateShareWithCredentialsMountsInItsOwnFolder) {
    box.useVersion("10.10");
    box.makeMountDir();
    const std::string result = mountNAS("Private", "false", kUser, kPassword);
    const std::string expected = box.mountDir() + "/Private";
    ASSERT_EQ(result, expected) << log->lines().size();

    ASSERT_EQ(files.requests.size(), 1u);
    const auto& r = files.requests[0];
    EXPECT_EQ(r.url, "afp://127.0.0.1/Private");
    EXPECT_EQ(r.mountPath, expected);
    EXPECT_TRUE(r.withCredentials);
    EXPECT_EQ(r.user, kUser);
    EXPECT_EQ(r.password, kPassword);
    EXPECT_EQ(r.openOptions.string("UIOption"), "NoUI");
    EXPECT_FALSE(r.openOptions.contains("Guest"));
    EXPECT_EQ(r.mountOptions.string("MountAtMountDir"), "true");
    EXPECT_EQ(r.mountOptions.integer("MountFlags"), 1048576);

    EXPECT_EQ(recorded(), std::vector<std::string>{expected});
    const auto* v = volumeAt(expected);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->remountURL, "smb://127.0.0.1/Private");
    EXPECT_TRUE(v->hidden);

    // Written through the file layer, the file is on the server.
    const std::string local = box.root() + "/note.txt";
    writeAll(local, "hello share");
    ASSERT_EQ(platform::files().copyItem(local, expected + "/note.txt"), 0);
    EXPECT_EQ(readAll(backing("Private") + "/note.txt"), "hello share");

    EXPECT_TRUE(log->contains("QVTransfer: mountStatus: afp://127.0.0.1/Private, 0 \nmountPath: " +
                              expected + " \nmajorVersion: 10, \nminorVersion: 10"))
        << (log->lines().empty() ? "" : log->lines().back());
    expectPasswordNeverLogged(kPassword);
}

TEST_F(ShareMountTest, PublicShareOn1010MountsAsGuestWithParentsCreated) {
    box.useVersion("10.10");
    // The mount folder does not exist yet: the share's folder is made with its parents.
    ASSERT_FALSE(platform::files().exists(box.mountDir()));
    // A wrong password proves that no credentials are used.
    const std::string result = mountNAS("Public", "true", kUser, "not the password");
    const std::string expected = box.mountDir() + "/Public";
    ASSERT_EQ(result, expected);
    ASSERT_EQ(files.requests.size(), 1u);
    const auto& r = files.requests[0];
    EXPECT_EQ(r.url, "afp://127.0.0.1/Public");
    EXPECT_EQ(r.openOptions.string("Guest"), "true");
    EXPECT_FALSE(r.withCredentials);
    EXPECT_TRUE(r.user.empty());
    EXPECT_TRUE(r.password.empty());
    EXPECT_TRUE(platform::files().isFolder(expected));
    EXPECT_EQ(recorded(), std::vector<std::string>{expected});
    expectPasswordNeverLogged("not the password");
}

TEST_F(ShareMountTest, PublicShareOn1012UsesTheUsersCredentials) {
    box.useVersion("10.12");
    box.makeMountDir();
    const std::string result = mountNAS("Public", "true", kUser, kPassword);
    ASSERT_EQ(result, box.mountDir() + "/Public");
    ASSERT_EQ(files.requests.size(), 1u);
    EXPECT_EQ(files.requests[0].url, "afp://127.0.0.1/Public");
    EXPECT_TRUE(files.requests[0].withCredentials);
    EXPECT_EQ(files.requests[0].user, kUser);
    EXPECT_FALSE(files.requests[0].openOptions.contains("Guest"));
}

TEST_F(ShareMountTest, PrivateShareWithoutPasswordOn1095GoesOverSmbAtTheMountFolder) {
    box.useVersion("10.9.5");
    box.makeMountDir();
    // An account the server does not know is served as its guest, so the empty password
    // mount succeeds on the public share.
    const std::string result = mountNAS("Public", "false", "visitor", "");
    const std::string expected = box.mountDir() + "/Public";
    EXPECT_EQ(result, expected);
    ASSERT_EQ(files.requests.size(), 1u);
    EXPECT_EQ(files.requests[0].url, "smb://127.0.0.1/Public");
    EXPECT_EQ(files.requests[0].mountPath, box.mountDir());
    EXPECT_EQ(recorded(), std::vector<std::string>{expected});
    const auto* v = volumeAt(box.mountDir());
    ASSERT_NE(v, nullptr);
    EXPECT_TRUE(v->inProcess);
    EXPECT_TRUE(log->contains("mountStatus: smb://127.0.0.1/Public, 0 \nmountPath: " + expected +
                              " \nmajorVersion: 10, \nminorVersion: 9"));

    // Unmounting the recorded path releases the share mounted at the mount folder and removes
    // nothing on the server.
    writeAll(backing("Public") + "/keep.txt", "stays");
    QVTransferMountDestination::unmountPaths(recorded());
    EXPECT_EQ(volumeAt(box.mountDir()), nullptr);
    EXPECT_TRUE(platform::files().isFolder(box.mountDir()));
    EXPECT_EQ(readAll(backing("Public") + "/keep.txt"), "stays");
}

TEST_F(ShareMountTest, PublicShareOn108UsesTheGuestUrl) {
    box.useVersion("10.8");
    box.makeMountDir();
    const std::string result = mountNAS("Public", "true", kUser, kPassword);
    EXPECT_EQ(result, box.mountDir() + "/Public");
    ASSERT_EQ(files.requests.size(), 1u);
    EXPECT_EQ(files.requests[0].url, "afp://;AUTH=No%20User%20Authent@127.0.0.1/Public");
    EXPECT_FALSE(files.requests[0].withCredentials);
    EXPECT_FALSE(files.requests[0].openOptions.contains("Guest"));
}

TEST_F(ShareMountTest, WrongPasswordGivesEmptyAndRecordsNothing) {
    box.useVersion("10.10");
    box.makeMountDir();
    // A connection made earlier with the right password must not let a wrong one pass.
    QVTransferMountDestination earlier{log};
    const std::string good =
        earlier.mountNASShare("Private", "false", "127.0.0.1", "Test Cloud", "qvt-nas",
                              box.mountDir(), kUser, kPassword, "true");
    ASSERT_EQ(good, box.mountDir() + "/Private");
    ASSERT_TRUE(platform::files().isFolder(good));
    QVTransferMountDestination::unmountPaths({good});
    log->clear();

    EXPECT_EQ(mountNAS("Private", "false", kUser, "wrong password"), "");
    EXPECT_TRUE(recorded().empty());
    for (const auto& v : platform::files().mountedVolumes()) EXPECT_FALSE(v.inProcess);
    EXPECT_TRUE(log->contains("mountStatus: afp://127.0.0.1/Private, 13 \nmountPath:  \n"));
    expectPasswordNeverLogged("wrong password");
}

TEST_F(ShareMountTest, BlankInShareNameIsEscapedAndMounts) {
    box.useVersion("10.10");
    box.makeMountDir();
    const std::string result = mountNAS("My Share", "false", kUser, kPassword);
    ASSERT_EQ(result, box.mountDir() + "/My Share");
    EXPECT_EQ(files.requests[0].url, "afp://127.0.0.1/My%20Share");
    const std::string local = box.root() + "/a.txt";
    writeAll(local, "blank");
    ASSERT_EQ(platform::files().copyItem(local, result + "/a b.txt"), 0);
    EXPECT_EQ(readAll(backing("My Share") + "/a b.txt"), "blank");
}

TEST_F(ShareMountTest, BlankInUserNameStillMounts) {
    box.useVersion("10.10");
    box.makeMountDir();
    const std::string result = mountNAS("My Share", "false", kUserWithBlank, kPassword);
    ASSERT_EQ(result, box.mountDir() + "/My Share");
    ASSERT_EQ(files.requests.size(), 1u);
    EXPECT_EQ(files.requests[0].user, kUserWithBlank);
    EXPECT_EQ(files.requests[0].url, "afp://127.0.0.1/My%20Share");
    EXPECT_TRUE(platform::files().isFolder(result));
    expectPasswordNeverLogged(kPassword);
}

TEST_F(ShareMountTest, AlreadyMountedShareIsFoundAndNotRecordedTwice) {
    box.useVersion("10.10");
    box.makeMountDir();
    const std::string first = mountNAS("Private", "false", kUser, kPassword);
    ASSERT_EQ(first, box.mountDir() + "/Private");
    const std::string again = mountNAS("Private", "false", kUser, kPassword);
    EXPECT_EQ(again, first);
    EXPECT_EQ(recorded(), std::vector<std::string>{first});
    EXPECT_TRUE(log->contains("mountStatus: afp://127.0.0.1/Private, 17 \nmountPath: " + first));

    // Another mounter (someone else's mount) finds it through the remount URL as well.
    QVTransferMountDestination other{log};
    EXPECT_EQ(other.mountNASShare("Private", "false", "127.0.0.1", "Test Cloud", "qvt-nas",
                                  box.mountDir(), kUser, kPassword, "true"),
              first);
    EXPECT_TRUE(other.mountedPathsArray.get().empty());
}

TEST_F(ShareMountTest, UnmountRemovesTheFolderAndKeepsTheFilesOnTheServer) {
    box.useVersion("10.10");
    box.makeMountDir();
    const std::string path = mountNAS("Backup", "false", kUser, kPassword);
    ASSERT_EQ(path, box.mountDir() + "/Backup");
    ASSERT_EQ(platform::files().createFolder(path + "/Photos/2024", true), 0);
    const std::string local = box.root() + "/p.jpg";
    writeAll(local, std::string(100000, 'x'));
    ASSERT_EQ(platform::files().copyItem(local, path + "/Photos/2024/p.jpg"), 0);

    QVTransferMountDestination::unmountPaths({path});
    EXPECT_FALSE(platform::files().exists(path));
    EXPECT_EQ(volumeAt(path), nullptr);
    EXPECT_EQ(readAll(backing("Backup") + "/Photos/2024/p.jpg").size(), 100000u);
}

TEST_F(ShareMountTest, OlderServiceMountsInAFolderOfTheShare) {
    platform::setMountServiceForTesting(platform::MountService::Older);
    box.useVersion("10.7");
    box.makeMountDir();
    // Private without password on 10.7: over SMB.
    const std::string p = mountNAS("Public", "false", "visitor", "");
    EXPECT_EQ(p, box.mountDir() + "/Public");
    ASSERT_EQ(files.older.size(), 1u);
    EXPECT_EQ(files.older[0].url, "smb://127.0.0.1/Public");
    EXPECT_EQ(files.older[0].mountDir, box.mountDir());
    EXPECT_EQ(files.older[0].flags, 1u);
    EXPECT_TRUE(files.requests.empty());
    // Public: guest URL, no account.
    const std::string q = mountNAS("Backup", "true", kUser, kPassword);
    ASSERT_EQ(files.older.size(), 2u);
    EXPECT_EQ(files.older[1].url, "afp://;AUTH=No%20User%20Authent@127.0.0.1/Backup");
    EXPECT_TRUE(files.older[1].user.empty());
    // The guest is refused on an accounts-only share; a failed mount gives the mount folder,
    // as it always did, and records it.
    EXPECT_EQ(q, box.mountDir());
    EXPECT_EQ(recorded(), (std::vector<std::string>{p, box.mountDir()}));
    // Private with a password: the user's account.
    const std::string r = mountNAS("Private", "false", kUser, kPassword);
    EXPECT_EQ(r, box.mountDir() + "/Private");
    EXPECT_EQ(files.older[2].url, "afp://127.0.0.1/Private");
    EXPECT_EQ(files.older[2].user, kUser);
    expectPasswordNeverLogged(kPassword);
}

TEST_F(ShareMountTest, NoMountServiceGivesEmpty) {
    platform::setMountServiceForTesting(platform::MountService::None);
    box.useVersion("10.10");
    box.makeMountDir();
    EXPECT_EQ(mountNAS("Public", "true", kUser, kPassword), "");
    EXPECT_TRUE(files.requests.empty());
    EXPECT_TRUE(files.older.empty());
}

TEST_F(ShareMountTest, MissingVersionRecordMountsButGivesEmpty) {
    box.useVersion("");
    box.makeMountDir();
    // Only major 10 is served: the share is mounted (in the default mount root) but the result
    // is the empty mount point folder and nothing is recorded.
    EXPECT_EQ(mountNAS("Public", "true", kUser, kPassword), "");
    ASSERT_EQ(files.requests.size(), 1u);
    EXPECT_EQ(files.requests[0].mountPath, "");
    EXPECT_TRUE(recorded().empty());
    EXPECT_TRUE(log->contains("majorVersion: 0, \nminorVersion: 0"));
}

TEST_F(ShareMountTest, VisibleMountGivesTheFirstMountPoint) {
    box.useVersion("10.10");
    box.makeMountDir();
    const std::string result = mountNAS("Public", "true", kUser, kPassword, "false");
    EXPECT_EQ(result, box.mountDir() + "/Public");  // the default mount root of this test
    EXPECT_TRUE(files.requests[0].mountPath.empty());
    EXPECT_FALSE(files.requests[0].mountOptions.contains("MountFlags"));
    EXPECT_TRUE(recorded().empty());
}

TEST_F(ShareMountTest, HostileShareNamesNeverTouchAnythingOutsideTheMountFolder) {
    box.useVersion("10.10");
    box.makeMountDir();
    const auto before = platform::files().listFolder(box.home());
    for (const std::string share : {"../etc", "a/b", "", ".", "..", "../../tmp"}) {
        EXPECT_EQ(mountNAS(share, "true", kUser, kPassword), "") << share;
        EXPECT_EQ(mountNAS(share, "false", kUser, kPassword), "") << share;
    }
    platform::setMountServiceForTesting(platform::MountService::Older);
    for (const std::string share : {"../etc", "a/b", ""})
        EXPECT_EQ(mountNAS(share, "false", kUser, kPassword), "") << share;
    EXPECT_TRUE(files.requests.empty());
    EXPECT_TRUE(files.older.empty());
    EXPECT_TRUE(recorded().empty());
    EXPECT_EQ(platform::files().listFolder(box.home()), before);
    EXPECT_TRUE(platform::files().listFolder(box.mountDir()).empty());
    EXPECT_FALSE(platform::files().exists(box.mountDir() + "/a"));
    // An address that smuggles a path into the URL is refused by the mount as well.
    platform::setMountServiceForTesting(std::nullopt);
    EXPECT_EQ(mounter.mountNASShare("x", "true", "127.0.0.1/..", "n", "h", box.mountDir(), "", "",
                                    "true"),
              "");
    EXPECT_TRUE(log->contains("mountStatus: afp://127.0.0.1/../x, 22"));
}

}  // namespace
}  // namespace qvt::mounttest
