// Uploads that lose their device or fill it, with real faults: the simulated device's HTTP
// interface and its Samba server stop and start again, a share on a small tmpfs fills up, a
// loop-mounted ext4 volume is unmounted and mounted somewhere else. Each upload must end with
// the sources at the destination byte for byte, and nothing half-written, renamed or hidden
// left behind.
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cstdio>
#include <fstream>

#include "../../apps/devicesim/device_simulator.h"
#include "engine/partial_copy.h"
#include "platform/files.h"
#include "upload_fixture.h"

namespace qvt::uploadtest {
namespace {

static ::testing::Environment* const kSamba = mounttest::sambaEnvironment();

constexpr const char* kSerial = "SN-RECOVERY";

// Many small files and a few of 3 MB, in nested folders.
std::string makeRecoveryTree(const std::string& parent, int smallFiles, int bigFiles) {
    const std::string root = parent + "/Holiday";
    for (int i = 0; i < smallFiles; ++i) {
        const std::string folder = root + "/day " + std::to_string(i / 500);
        test::writeFile(
            folder + "/note " + std::to_string(i) + ".txt",
            "note " + std::to_string(i) + std::string(static_cast<std::size_t>(i % 97), '.'));
    }
    for (int i = 0; i < bigFiles; ++i) {
        std::string bytes(3u << 20, '\0');
        for (std::size_t b = 0; b < bytes.size(); ++b)
            bytes[b] = static_cast<char>((b * 31 + static_cast<std::size_t>(i) * 7) & 0xff);
        test::writeFile(root + "/video " + std::to_string(i) + ".bin", bytes);
    }
    return root;
}

// Every file below `root` whose name says it is not a whole file of the upload: a hidden copy,
// or a name the clash rule made.
std::vector<std::string> leftovers(const std::string& root) {
    std::vector<std::string> found;
    for (const auto& e : fs::recursive_directory_iterator(root)) {
        const std::string name = e.path().filename().string();
        if (engine::isTemporaryName(name) || name.find(" copy") != std::string::npos)
            found.push_back(e.path().string());
    }
    return found;
}

class DeviceRecovery : public ::testing::Test {
  protected:
    void SetUp() override {
        QVT_REQUIRE_SAMBA();
        for (const auto& e : fs::directory_iterator(backing("Private"))) fs::remove_all(e.path());
        config.serialNumber = kSerial;
        config.productName = "Test Cloud";
        config.users = {{mounttest::kUser, mounttest::kPassword}};
        ASSERT_GT(device.start(config), 0);
        port = device.port();
    }
    void TearDown() override {
        // A test that failed half-way may leave the device away.
        if (!samba()->running()) samba()->start();
        device.stop();
        box.releaseMounts();
    }

    static devicesim::SambaServer* samba() { return mounttest::SambaEnvironment::server(); }
    static std::string backing(const std::string& share) { return samba()->sharePath(share); }

    // A session for the simulated device, with the user's login, whose sources are `tree` and
    // whose destination is the folder "Uploads" of `share`; the upload is started.
    std::unique_ptr<UploadSession> startUpload(const std::string& tree, const std::string& share,
                                               std::string* destination = nullptr) {
        auto s = std::make_unique<UploadSession>(
            test::nasDevice("127.0.0.1:" + std::to_string(port), kSerial, "Test Cloud"));
        s->c().userName.set(mounttest::kUser);
        s->c().userPassword.set(mounttest::kPassword);
        EXPECT_TRUE(s->addSources({tree}));
        EXPECT_TRUE(s->toDestination(false));
        const std::string mounted = s->mountShare(share);
        EXPECT_FALSE(mounted.empty());
        EXPECT_EQ(platform::files().createFolder(mounted + "/Uploads", false), 0);
        if (destination) *destination = mounted + "/Uploads";
        s->upload(mounted + "/Uploads");
        return s;
    }

    // Takes the device away: its HTTP interface and its Samba server stop.
    void takeDeviceAway() {
        device.stop();
        samba()->stop();
    }
    // Brings it back at the same addresses, as `serial`.
    void bringDeviceBack(const std::string& serial = kSerial) {
        std::string error;
        ASSERT_TRUE(samba()->start(&error)) << error;
        devicesim::DeviceConfig back = config;
        back.serialNumber = serial;
        ASSERT_EQ(device.start(back, "127.0.0.1", port), port);
    }

    mounttest::MountSandbox box;
    devicesim::DeviceSimulator device;
    devicesim::DeviceConfig config;
    int port = 0;
};

TEST_F(DeviceRecovery, TheDeviceGoesAwayAndComesBackAndTheUploadCompletesWhole) {
    test::TempDir sources;
    const std::string tree =
        makeRecoveryTree(sources.path(), test::kSanitizedBuild ? 1000 : 3000, 3);
    const Snapshot expected = snapshot(tree, true);
    auto s = startUpload(tree, "Private");

    // Well into the upload, the device goes away.
    ASSERT_TRUE(test::waitFor([&] { return s->c().job().progressValue.load() > 300; }, 120));
    takeDeviceAway();
    ASSERT_TRUE(test::waitFor([&] { return s->c().reconnectingDevice(); }, 60)) << s->logText();
    EXPECT_TRUE(test::waitFor([&] {
        return test::ScriptedView(s->harness().view).called("runModal deviceMissingDialog");
    }));
    EXPECT_TRUE(s->c().uploadPaused());
    // The watcher looks for it while it is away (every 3 scaled seconds).
    const std::size_t before = device.requestCount(devicesim::Endpoint::SystemInformation);
    test::waitFor([] { return false; }, 1.0);
    EXPECT_TRUE(s->c().reconnectingDevice());

    bringDeviceBack();
    ASSERT_TRUE(s->waitCompleted(240)) << s->logText();
    EXPECT_GT(device.requestCount(devicesim::Endpoint::SystemInformation), before);
    EXPECT_TRUE(s->logged("QVTransfer: resumeTransferAfterDisconnect: transfer_semaphore"));
    EXPECT_TRUE(test::ScriptedView(s->harness().view).called("endModal deviceMissingDialog"));
    EXPECT_TRUE(s->failures().empty());

    const Snapshot arrived = snapshot(backing("Private") + "/Uploads/Holiday", false);
    EXPECT_EQ(difference(expected, arrived), "");
    EXPECT_EQ(leftovers(backing("Private")), std::vector<std::string>{});
}

TEST_F(DeviceRecovery, AnotherDeviceAtTheAddressIsNeverTakenAndACancelEndsTheWait) {
    test::TempDir sources;
    const std::string tree = makeRecoveryTree(sources.path(), 1500, 0);
    auto s = startUpload(tree, "Private");
    ASSERT_TRUE(test::waitFor([&] { return s->c().job().progressValue.load() > 100; }, 120));
    takeDeviceAway();
    ASSERT_TRUE(test::waitFor([&] { return s->c().reconnectingDevice(); }, 60));

    // Something else answers at the address now.
    bringDeviceBack("SN-SOMEONE-ELSE");
    ASSERT_TRUE(test::waitFor(
        [&] { return device.requestCount(devicesim::Endpoint::SystemInformation) >= 3; }, 30))
        << s->logText();
    EXPECT_TRUE(s->c().reconnectingDevice());
    EXPECT_TRUE(s->c().uploadPaused());
    EXPECT_FALSE(s->logged("resumeTransferAfterDisconnect: transfer_semaphore"));

    // The user stops: the wait ends, the shares go and the host hears it once.
    s->harness().services.dispatch->mainSync([&] { s->c().cancelUploadFiles(2); });
    ASSERT_TRUE(s->settle());
    EXPECT_TRUE(s->c().uploadCancelled());
    EXPECT_FALSE(s->c().reconnectingDevice());
    EXPECT_EQ(s->delegate().cancelCount.load(), 1);
    EXPECT_EQ(leftovers(backing("Private")), std::vector<std::string>{});
    for (const auto& volume : platform::files().mountedVolumes())
        EXPECT_FALSE(volume.inProcess) << volume.path;
}

TEST_F(DeviceRecovery, AFullShareWaitsForRoomAndTheUploadCompletesWhole) {
    // "Small" is a share on a 2 MB tmpfs; most of it is taken already.
    for (const auto& e : fs::directory_iterator(backing("Small"))) fs::remove_all(e.path());
    const std::string filler = backing("Small") + "/filler.bin";
    test::writeFile(filler, std::string(1200u << 10, 'f'));
    test::TempDir sources;
    const std::string tree = sources.path() + "/Scans";
    for (int i = 0; i < 6; ++i)
        test::writeFile(tree + "/scan " + std::to_string(i) + ".bin",
                        std::string(200u << 10, static_cast<char>('a' + i)));
    const Snapshot expected = snapshot(tree, true);
    auto s = startUpload(tree, "Small");

    ASSERT_TRUE(test::waitFor(
        [&] { return test::ScriptedView(s->harness().view).called("runModal deviceFullDialog"); },
        60))
        << s->logText();
    EXPECT_TRUE(s->c().deviceFull());
    EXPECT_EQ(s->harness().view->statusNow().pauseButtonTag, 4);
    // Nothing under a final name is half-written meanwhile.
    for (const auto& e : fs::recursive_directory_iterator(backing("Small"))) {
        const std::string name = e.path().filename().string();
        if (e.is_regular_file() && !engine::isTemporaryName(name) && name != "filler.bin") {
            const std::string rel = fs::relative(e.path(), backing("Small") + "/Uploads/Scans");
            EXPECT_EQ(expected.at(rel).digest, sha256Of(e.path().string())) << rel;
        }
    }

    // Room again: the watcher (every 30 scaled seconds) finds it and the upload goes on.
    fs::remove(filler);
    ASSERT_TRUE(s->waitCompleted(120)) << s->logText();
    EXPECT_TRUE(s->logged("QVTransfer: resumeTransferAfterDeviceHasFreeSpace: transfer_semaphore"));
    EXPECT_TRUE(s->failures().empty());
    const Snapshot arrived = snapshot(backing("Small") + "/Uploads/Scans", false);
    EXPECT_EQ(difference(expected, arrived), "");
    EXPECT_EQ(leftovers(backing("Small")), std::vector<std::string>{});
}

// ---- A local volume ----

class VolumeRecovery : public ::testing::Test {
  protected:
    void SetUp() override {
        volume = std::make_unique<Ext4Volume>(box.root(), box.root() + "/Drive", 64);
        ASSERT_TRUE(volume->ok());
        fs::create_directories(volume->path() + "/Backup");
    }
    void TearDown() override {
        if (!elsewhere.empty()) ::umount2(elsewhere.c_str(), MNT_DETACH);
    }

    mounttest::MountSandbox box;
    std::unique_ptr<Ext4Volume> volume;
    std::string elsewhere;
};

TEST_F(VolumeRecovery, AVolumeMountedAgainElsewhereGetsTheRestOfTheUpload) {
    test::TempDir sources;
    const std::string tree =
        makeRecoveryTree(sources.path(), test::kSanitizedBuild ? 700 : 2000, 2);
    const Snapshot expected = snapshot(tree, true);
    UploadSession s(dasDeviceFor(*volume));
    ASSERT_TRUE(s.addSources({tree}));
    ASSERT_TRUE(s.toDestination(false));
    s.upload(volume->path() + "/Backup");
    ASSERT_TRUE(test::waitFor([&] { return s.c().job().progressValue.load() > 200; }, 120));

    // The disk goes away under the upload, and comes back at another folder.
    ASSERT_EQ(::umount2(volume->path().c_str(), MNT_DETACH), 0);
    ASSERT_TRUE(test::waitFor([&] { return s.c().reconnectingDevice(); }, 60)) << s.logText();
    elsewhere = box.root() + "/Drive again";
    fs::create_directories(elsewhere);
    ASSERT_EQ(::mount(("/dev/" + volume->bsdName()).c_str(), elsewhere.c_str(), "ext4", 0, nullptr),
              0);

    ASSERT_TRUE(s.waitCompleted(240)) << s.logText();
    EXPECT_EQ(s.c().selectedDestinationShare.get(), elsewhere + "/Backup");
    EXPECT_TRUE(s.failures().empty());
    const Snapshot arrived = snapshot(elsewhere + "/Backup/Holiday", false);
    EXPECT_EQ(difference(expected, arrived), "");
    EXPECT_EQ(leftovers(elsewhere), std::vector<std::string>{});
}

// A file layer whose device refuses, for a while, to remove hidden copies (as a share does
// while a connection that stalled still holds the file open), and fails one file's copy after
// writing part of it.
class BusyHiddenCopies : public platform::FileLayer {
  public:
    int copyItem(const std::string& from, const std::string& to) override {
        if (!from.ends_with("/refused.bin")) return FileLayer::copyItem(from, to);
        test::writeFile(to, "part of it");
        return EACCES;
    }
    int removeItem(const std::string& path) override {
        if (engine::isTemporaryName(fs::path(path).filename().string()) && busy > 0) {
            --busy;
            return EBUSY;
        }
        return FileLayer::removeItem(path);
    }
    std::atomic<int> busy{1};
};

// A hidden copy the device would not let go of at first is removed once it does, in the same
// upload: nothing of it is left when the upload ends.
TEST_F(VolumeRecovery, AHiddenCopyTheDeviceHeldAtFirstGoesBeforeTheUploadEnds) {
    BusyHiddenCopies files;
    FilesOverride useFiles(&files);
    test::TempDir sources;
    test::writeFile(sources / "refused.bin", "refused");
    test::writeFile(sources / "next.txt", "next\n");
    const std::string backup = volume->path() + "/Backup";
    UploadSession s(dasDeviceFor(*volume));
    ASSERT_TRUE(s.addSources({sources / "refused.bin", sources / "next.txt"}));
    ASSERT_TRUE(s.toDestination(false));
    s.upload(backup);
    ASSERT_TRUE(s.waitCompleted()) << s.logText();
    EXPECT_EQ(files.busy.load(), 0);  // the first removal was refused
    EXPECT_EQ(s.failures().size(), 1u);
    EXPECT_EQ(test::readFile(backup + "/next.txt"), "next\n");
    EXPECT_EQ(leftovers(volume->path()), std::vector<std::string>{});
    EXPECT_FALSE(
        fs::exists(fs::path(s.c().transferDataFilePath).parent_path() / "LeftoverCopies.plist"));
}

// A stop while the disk is away cannot remove the hidden copy of the file in hand; it goes with
// the next upload to that volume once the disk is back.
TEST_F(VolumeRecovery, TheHiddenCopyAStopLeavesWhileTheDiskIsAwayGoesWithTheNextUpload) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    struct ReleaseOnExit {
        HoldingFiles& files;
        ~ReleaseOnExit() { files.release(); }
    } releaseOnExit{files};
    test::TempDir sources;
    test::writeFile(sources / "video.bin", std::string(3u << 20, 'v'));
    test::writeFile(sources / "next.txt", "next\n");
    const std::string backup = volume->path() + "/Backup";
    std::string hidden, note;
    {
        UploadSession s(dasDeviceFor(*volume));
        ASSERT_TRUE(s.addSources({sources / "video.bin"}));
        ASSERT_TRUE(s.toDestination(false));
        files.holdCopyOf("/video.bin");
        s.upload(backup);
        ASSERT_TRUE(files.waitHeld(120));
        hidden = fs::path(s.c().job().inProcessDestFilePath.get()).filename().string();
        ASSERT_TRUE(engine::isTemporaryName(hidden)) << hidden;
        // The disk goes away with the file written under its hidden name, and the user stops.
        ASSERT_EQ(::umount2(volume->path().c_str(), MNT_DETACH), 0);
        files.release();
        ASSERT_TRUE(test::waitFor([&] { return s.c().reconnectingDevice(); }, 60)) << s.logText();
        s.harness().services.dispatch->mainSync([&] { s.c().cancelUploadFiles(2); });
        ASSERT_TRUE(s.settle());
        EXPECT_TRUE(s.c().uploadCancelled());
        const std::string file =
            fs::path(s.c().transferDataFilePath).parent_path().string() + "/LeftoverCopies.plist";
        ASSERT_TRUE(fs::exists(file)) << s.logText();
        note = test::readFile(file);
    }
    ASSERT_EQ(
        ::mount(("/dev/" + volume->bsdName()).c_str(), volume->path().c_str(), "ext4", 0, nullptr),
        0);
    ASSERT_TRUE(fs::exists(backup + "/" + hidden));

    // The same user's next upload to the disk.
    UploadSession s(dasDeviceFor(*volume));
    test::writeFile(
        fs::path(s.c().transferDataFilePath).parent_path().string() + "/LeftoverCopies.plist",
        note);
    ASSERT_TRUE(s.addSources({sources / "next.txt"}));
    ASSERT_TRUE(s.toDestination(false));
    s.upload(backup);
    ASSERT_TRUE(s.waitCompleted()) << s.logText();
    EXPECT_EQ(test::readFile(backup + "/next.txt"), "next\n");
    EXPECT_FALSE(fs::exists(backup + "/" + hidden));
    EXPECT_FALSE(fs::exists(backup + "/video.bin"));
}

}  // namespace
}  // namespace qvt::uploadtest
