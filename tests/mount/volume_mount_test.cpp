// Local volumes (loop-mounted ext4 images, tmpfs), the version rules, and the controller's
// mount operations.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "capture_log.h"
#include "device/mount_destination.h"
#include "mount_test_support.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"
#include "support/support.h"

namespace qvt::mounttest {
namespace {

platform::PlatformVersion versionOf(MountSandbox& box, const std::string& text) {
    box.useVersion(text);
    return platform::readPlatformVersion();
}

TEST(MountVersionRules, AreKeptPerVersion) {
    MountSandbox box;
    const auto r107 = mountVersionRules(versionOf(box, "10.7"));
    EXPECT_TRUE(r107.servedMajor);
    EXPECT_TRUE(r107.olderEmptyPasswordOverSmb);
    EXPECT_FALSE(r107.emptyPasswordOverSmb);
    EXPECT_FALSE(r107.publicAsGuestUrl);
    EXPECT_FALSE(r107.mountAtMountDir);

    for (const char* v : {"10.8", "10.9.5"}) {
        const auto r = mountVersionRules(versionOf(box, v));
        EXPECT_TRUE(r.servedMajor) << v;
        EXPECT_TRUE(r.publicAsGuestUrl) << v;
        EXPECT_TRUE(r.mountAtMountDir) << v;
        EXPECT_TRUE(r.emptyPasswordOverSmb) << v;
        EXPECT_FALSE(r.publicGuestOption) << v;
        EXPECT_FALSE(r.olderEmptyPasswordOverSmb) << v;
    }

    const auto r1010 = mountVersionRules(versionOf(box, "10.10"));
    EXPECT_TRUE(r1010.servedMajor);
    EXPECT_TRUE(r1010.publicGuestOption);
    EXPECT_TRUE(r1010.emptyPasswordOverSmb);
    EXPECT_FALSE(r1010.publicAsGuestUrl);
    EXPECT_FALSE(r1010.mountAtMountDir);

    const auto r1012 = mountVersionRules(versionOf(box, "10.12"));
    EXPECT_TRUE(r1012.servedMajor);
    EXPECT_FALSE(r1012.publicGuestOption);
    EXPECT_FALSE(r1012.emptyPasswordOverSmb);
    EXPECT_FALSE(r1012.publicAsGuestUrl);
    EXPECT_FALSE(r1012.mountAtMountDir);

    const auto missing = versionOf(box, "");
    EXPECT_EQ(missing.major, 0);
    EXPECT_EQ(missing.minor, 0);
    const auto rMissing = mountVersionRules(missing);
    EXPECT_FALSE(rMissing.servedMajor);
    EXPECT_FALSE(rMissing.publicGuestOption);

    // The minor rules do not look at the major; the mount point rules do.
    const auto r118 = mountVersionRules({11, 8});
    EXPECT_TRUE(r118.publicAsGuestUrl);
    EXPECT_FALSE(r118.mountAtMountDir);
    EXPECT_FALSE(r118.servedMajor);
}

TEST(MountVersionRules, ShippedRecordSaysTen) {
    platform::setVersionRecordPath("");
    const auto v = platform::readPlatformVersion();
    EXPECT_EQ(v.major, 10);
    EXPECT_EQ(v.minor, 10);
}

class VolumeMountTest : public ::testing::Test {
  protected:
    std::vector<std::string> recorded() { return mounter.mountedPathsArray.get(); }
    const platform::MountedVolume* volumeAt(const std::string& path) {
        volumes = platform::files().mountedVolumes();
        for (const auto& v : volumes)
            if (v.path == path) return &v;
        return nullptr;
    }

    MountSandbox box;
    std::shared_ptr<platform::CaptureLog> log = std::make_shared<platform::CaptureLog>();
    QVTransferMountDestination mounter{log};
    std::vector<platform::MountedVolume> volumes;
};

TEST_F(VolumeMountTest, AlreadyMountedVolumeIsUsedWhereItIs) {
    box.makeMountDir();
    LoopVolume disk(box.root());
    ASSERT_TRUE(disk.ok());
    const std::string where = box.root() + "/My Disk";
    std::filesystem::create_directories(where);
    ASSERT_EQ(run("mount " + disk.device() + " '" + where + "' 2>&1 && echo ok"), "ok");
    const std::string result = mounter.mountDASVolume("My Disk", disk.bsdName(), 1,
                                                      box.root() + "/My%20Disk", box.mountDir());
    EXPECT_EQ(result, where);
    EXPECT_TRUE(recorded().empty());
    EXPECT_TRUE(platform::files().listFolder(box.mountDir()).empty());
    EXPECT_EQ(platform::files().volumeFacts(result).uuid, disk.uuid());
}

TEST_F(VolumeMountTest, UnmountedVolumeIsMountedByItsDeviceName) {
    box.makeMountDir();
    LoopVolume disk(box.root());
    ASSERT_TRUE(disk.ok());
    ASSERT_FALSE(disk.uuid().empty());
    const std::string result =
        mounter.mountDASVolume("Volume One", disk.bsdName(), 0, "", box.mountDir());
    const std::string target = box.mountDir() + "/Volume One";
    ASSERT_EQ(result, target);
    EXPECT_EQ(recorded(), std::vector<std::string>{target});
    ASSERT_TRUE(QVTransferMountDestination::anyVolumePathContains(target));
    const auto* v = volumeAt(target);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->source, disk.device());
    EXPECT_EQ(v->fsType, "ext4");
    EXPECT_TRUE(v->hidden);  // "nobrowse" became x-gvfs-hide, kept with the mount
    EXPECT_EQ(v->remountURL, "file://" + disk.device());

    // Volume facts through the file layer.
    const auto facts = platform::files().volumeFacts(target);
    EXPECT_EQ(facts.uuid, disk.uuid());
    EXPECT_EQ(facts.remountURL, "file://" + disk.device());
    ASSERT_TRUE(facts.availableCapacity.has_value());
    EXPECT_GT(*facts.availableCapacity, 1u << 20);

    const std::string local = box.root() + "/f.bin";
    writeAll(local, std::string(4096, 'v'));
    ASSERT_EQ(platform::files().copyItem(local, target + "/f.bin"), 0);

    QVTransferMountDestination::unmountPaths({target});
    EXPECT_EQ(volumeAt(target), nullptr);
    EXPECT_FALSE(platform::files().exists(target));
    // The file is on the volume: mount it elsewhere and look.
    const std::string check = box.root() + "/check";
    std::filesystem::create_directories(check);
    ASSERT_EQ(run("mount " + disk.device() + " " + check + " 2>&1 && echo ok"), "ok");
    EXPECT_EQ(readAll(check + "/f.bin").size(), 4096u);
    EXPECT_TRUE(platform::files().volumeFacts(target).remountURL.empty());
}

TEST_F(VolumeMountTest, HostileVolumeAndDeviceNamesMountNothing) {
    box.makeMountDir();
    const auto before = platform::files().listFolder(box.home());
    for (const std::string name : {"../etc", "a/b", "", ".", ".."}) {
        EXPECT_EQ(mounter.mountDASVolume(name, "loop0", 0, "", box.mountDir()), "") << name;
        EXPECT_EQ(mounter.mountDASVolume("Vol", name, 0, "", box.mountDir()), "") << name;
    }
    EXPECT_TRUE(recorded().empty());
    EXPECT_EQ(platform::files().listFolder(box.home()), before);
    EXPECT_TRUE(platform::files().listFolder(box.mountDir()).empty());
}

// A controller for the mount operations that live on it.
struct ControllerFixture {
    test::Harness harness{100.0};
    std::shared_ptr<QVTransferPrivate> controller;
    ControllerFixture() {
        controller = QVTransferPrivate::initWithDevice(test::dasDevice(), harness.services);
    }
};

TEST_F(VolumeMountTest, VolumeThatNeverAppearsKeepsTheWaitGoingUntilItDoes) {
    ControllerFixture c;
    ASSERT_NE(c.controller, nullptr);
    box.makeMountDir();
    const std::string result =
        mounter.mountDASVolume("Ghost", "qvt-no-such-disk", 0, "", box.mountDir());
    const std::string target = box.mountDir() + "/Ghost";
    ASSERT_EQ(result, target);

    std::atomic<bool> returned{false};
    std::thread waiter([&] {
        c.controller->isVolumeMounted(target);
        returned = true;
    });
    // Still waiting after a good while (the deadline is the test's, not the code's).
    EXPECT_FALSE(waitUntil([&] { return returned.load(); }, 0.5));
    // Once a volume appears there, the wait ends.
    ASSERT_TRUE(box.mountTmpfs(target, 1 << 20));
    EXPECT_TRUE(waitUntil([&] { return returned.load(); }, 10.0));
    if (!returned) umount2(target.c_str(), MNT_DETACH);  // let the thread end in any case
    waiter.join();
}

TEST_F(VolumeMountTest, UnmountSharesNotInUseKeepsOnlyTheDestinationsMount) {
    QVT_REQUIRE_SAMBA();
    ControllerFixture c;
    ASSERT_NE(c.controller, nullptr);
    box.useVersion("10.10");
    box.makeMountDir();
    c.controller->mountObject->setLog(log);
    auto& m = *c.controller->mountObject;
    const std::string pub = m.mountNASShare("Public", "true", "127.0.0.1", "Test Cloud", "nas",
                                            box.mountDir(), kUser, kPassword, "true");
    const std::string bak = m.mountNASShare("Backup", "false", "127.0.0.1", "Test Cloud", "nas",
                                            box.mountDir(), kUser, kPassword, "true");
    ASSERT_EQ(pub, box.mountDir() + "/Public");
    ASSERT_EQ(bak, box.mountDir() + "/Backup");
    ASSERT_EQ(platform::files().createFolder(pub + "/Photos", false), 0);
    c.controller->selectedDestinationShare.set(pub + "/Photos");

    c.controller->unMountSharesNotInUse();
    EXPECT_EQ(m.mountedPathsArray.get(), (std::vector<std::string>{pub, bak}));
    EXPECT_NE(volumeAt(pub), nullptr);
    EXPECT_EQ(volumeAt(bak), nullptr);
    EXPECT_FALSE(platform::files().exists(bak));
    EXPECT_TRUE(platform::files().isFolder(pub + "/Photos"));

    c.controller->unmountSharesVolumes(m.mountedPathsArray.get());
    EXPECT_EQ(volumeAt(pub), nullptr);
    EXPECT_FALSE(platform::files().exists(pub));
    EXPECT_TRUE(
        std::filesystem::is_directory(SambaEnvironment::server()->sharePath("Public") + "/Photos"));
    std::filesystem::remove_all(SambaEnvironment::server()->sharePath("Public") + "/Photos");
}

TEST(MountPaths, NotInUseUsesPlainSubstringTests) {
    const std::vector<std::string> mounted = {"/Users/u/.QVTransfer/Public",
                                              "/Users/u/.QVTransfer/Backup"};
    EXPECT_EQ(QVTransferMountDestination::pathsNotIn(mounted, "/Users/u/.QVTransfer/Public/Photos"),
              std::vector<std::string>{"/Users/u/.QVTransfer/Backup"});
    EXPECT_EQ(QVTransferMountDestination::pathsNotIn(mounted, ""), mounted);
}

}  // namespace
}  // namespace qvt::mounttest
