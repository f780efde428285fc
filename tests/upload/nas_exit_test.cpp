// Every way a session with a network device ends lets go of what it mounted: the share is
// unmounted and its mount point folder is gone, so the mount folder is as empty as before.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "platform/files.h"
#include "upload_fixture.h"

namespace qvt::uploadtest {
namespace {

static ::testing::Environment* const kSamba = mounttest::sambaEnvironment();

class NasExit : public PrivateShareTest {
  protected:
    // What is left in the session's mount folder (the folder itself may stay).
    static std::vector<std::string> leftIn(UploadSession& s) {
        std::vector<std::string> names;
        if (!fs::exists(s.c().mountDir)) return names;
        for (const auto& e : fs::directory_iterator(s.c().mountDir))
            names.push_back(e.path().filename().string());
        return names;
    }
    // A session on the destination screen with the share mounted and a small tree to upload.
    std::string readyToUpload(UploadSession& s, std::string* tree = nullptr) {
        s.c().userName.set(mounttest::kUser);
        s.c().userPassword.set(mounttest::kPassword);
        const std::string sources = makeMixedTree(s.home() + "/sources", 0);
        if (tree) *tree = sources;
        if (!s.addSources({sources}) || !s.toDestination(false)) return "";
        const std::string share = s.mountShare("Private");
        if (share.empty() || !platform::files().isMountPoint(share)) return "";
        return share;
    }
};

TEST_F(NasExit, ACompletedUploadLeavesNothingMounted) {
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-EXIT"));
    const std::string share = readyToUpload(s);
    ASSERT_FALSE(share.empty());
    s.upload(share);
    ASSERT_TRUE(s.waitCompleted());
    ASSERT_TRUE(s.failures().empty());
    // Closing the window after the end.
    s.c().windowShouldClose();
    ASSERT_TRUE(s.settle());
    EXPECT_FALSE(platform::files().isMountPoint(share));
    EXPECT_EQ(leftIn(s), std::vector<std::string>{});
    EXPECT_TRUE(fs::exists(backing() + "/Mixed Tree"));
}

TEST_F(NasExit, DismissingTheFailuresLeavesNothingMounted) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-EXIT"));
    files.failCopiesOf("/track 07.mp3", EACCES);
    const std::string share = readyToUpload(s);
    ASSERT_FALSE(share.empty());
    s.upload(share);
    ASSERT_TRUE(s.waitCompleted());
    ASSERT_EQ(s.failures().size(), 1u);
    // The share stays for a retry until the failures are given up.
    EXPECT_TRUE(platform::files().isMountPoint(share));
    s.c().retryOrDismissTransfer(1);
    ASSERT_TRUE(s.settle());
    EXPECT_FALSE(platform::files().isMountPoint(share));
    EXPECT_EQ(leftIn(s), std::vector<std::string>{});
    EXPECT_EQ(s.delegate().cancelCount.load(), 1);
}

TEST_F(NasExit, StoppingTheUploadLeavesNothingMounted) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-EXIT"));
    struct ReleaseOnExit {
        HoldingFiles& files;
        ~ReleaseOnExit() { files.release(); }
    } releaseOnExit{files};
    const std::string share = readyToUpload(s);
    ASSERT_FALSE(share.empty());
    files.holdCopyOf("/track 07.mp3");
    s.upload(share);
    ASSERT_TRUE(files.waitHeld(120));
    // The pause button, then the stop confirmation's stop button.
    s.c().cancelUploadFiles(3);
    s.c().cancelUploadFiles(2);
    files.release();
    ASSERT_TRUE(s.settle());
    EXPECT_FALSE(platform::files().isMountPoint(share));
    EXPECT_EQ(leftIn(s), std::vector<std::string>{});
}

TEST_F(NasExit, ClosingTheWindowBeforeTheUploadLeavesNothingMounted) {
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-EXIT"));
    const std::string share = readyToUpload(s);
    ASSERT_FALSE(share.empty());
    s.c().windowShouldClose();
    ASSERT_TRUE(s.settle());
    EXPECT_FALSE(platform::files().isMountPoint(share));
    EXPECT_EQ(leftIn(s), std::vector<std::string>{});
    EXPECT_TRUE(fs::is_empty(backing()));
}

TEST_F(NasExit, AMountTheShareRefusesLeavesNoMountPointFolder) {
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-EXIT"));
    s.c().userName.set(mounttest::kUser);
    ASSERT_TRUE(s.addSources({makeMixedTree(s.home() + "/sources", 0)}));
    ASSERT_TRUE(s.toDestination(false));
    EXPECT_EQ(s.mountShare("Private", "not the password"), "");
    EXPECT_EQ(leftIn(s), std::vector<std::string>{});
}

}  // namespace
}  // namespace qvt::uploadtest
