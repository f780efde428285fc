// The shares of a network device as the roots of the destination tree, against the device
// simulator (its REST interface) and its real Samba server on loopback.
#include <gtest/gtest.h>

#include <algorithm>

#include <cstdlib>
#include <filesystem>

#include "../../apps/devicesim/device_simulator.h"
#include "../../apps/devicesim/samba_server.h"
#include "destination/folder_node.h"
#include "destination_fixture.h"
#include "device/mount_destination.h"
#include "lock_holder.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/upload_claim.h"
#include "ui/QtTransferWindow.h"
#include "ui/destination_outline_view.h"

#include <QApplication>

using namespace qvt;
using namespace qvt::desttest;
using qvt::test::Harness;
namespace dst = qvt::destination;
namespace sim = qvt::devicesim;

namespace {

constexpr const char* kUser = "qvtdest";
constexpr const char* kPassword = "dest pw 7";

bool called(Harness& h, const std::string& call) {
    return test::ScriptedView(h.view).called(call);
}

// The lost-connection sheet is answered Retry once, then closed.
void retryOnce(Harness& h) {
    std::lock_guard lock(h.view->mutex);
    h.view->modalCodes[Dialog::LostConnection] = 1;
    // The hook is kept by the state it changes: it holds it by plain pointer, not as an owner.
    test::ScriptedView::State* state = h.view.get();
    h.view->modalHooks[Dialog::LostConnection] = [state] {
        std::lock_guard again(state->mutex);
        state->modalCodes[Dialog::LostConnection] = 0;
    };
}

std::size_t sheetsShown(Harness& h) {
    const auto calls = test::ScriptedView(h.view).calls();
    return static_cast<std::size_t>(
        std::count(calls.begin(), calls.end(), "runModal lostConnectionDialog"));
}

sim::SimShare simShare(const std::string& name, bool isPublic) {
    sim::SimShare s;
    s.shareName = name;
    s.publicAccess = isPublic;
    s.shareAccess = {"RW"};
    return s;
}

std::vector<std::string> fullPaths(const List& nodes) {
    std::vector<std::string> out;
    for (const Value& v : nodes) out.push_back(v.asRecord()->string(dst::kFolderFullPath));
    return out;
}

}  // namespace

class ShareList : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        sim::SambaConfig config;
        for (const auto& [name, isPublic] : std::vector<std::pair<std::string, bool>>{
                 {"Public", true}, {"alice", false}, {"Backup", false}}) {
            sim::SambaShare share;
            share.name = name;
            share.guestOk = isPublic;
            if (!isPublic) share.validUsers = {kUser};
            config.shares.push_back(share);
        }
        sim::SambaUser user;
        user.name = kUser;
        user.password = kPassword;
        config.users.push_back(user);
        samba_ = new sim::SambaServer(config);
        if (!samba_->start(&startError_)) return;
        setenv("QVTRANSFER_SMB_PORT", std::to_string(samba_->port()).c_str(), 1);
    }
    static void TearDownTestSuite() {
        delete samba_;
        samba_ = nullptr;
    }

    void SetUp() override {
        ASSERT_TRUE(samba_ && samba_->running()) << "smbd did not start: " << startError_;
        // The shares' backing folders start empty for every test.
        for (const char* share : {"Public", "alice", "Backup"}) {
            const std::string path = samba_->sharePath(share);
            for (const auto& entry : fs::directory_iterator(path)) fs::remove_all(entry.path());
        }
    }

    void TearDown() override {
        // Mounts are process-wide: release every share this test mounted.
        for (const auto& v : platform::files().mountedVolumes())
            if (v.inProcess) platform::files().forceUnmount(v.path);
        device_.stop();
    }

    // Starts the device with `shares` and makes a logged-in controller for it.
    std::shared_ptr<QVTransferPrivate> start(Harness& h, const std::vector<sim::SimShare>& shares) {
        sim::DeviceConfig config;
        config.serialNumber = "SN-DEST";
        config.productName = "Test Cloud";
        config.users = {{kUser, kPassword}};
        config.shares = shares;
        EXPECT_GT(device_.start(config), 0);
        auto c = makeController(h, test::nasDevice(device_.address()));
        if (c) {
            c->userName.set(kUser);
            c->userPassword.set(kPassword);
        }
        return c;
    }

    std::string backing(const std::string& share) const { return samba_->sharePath(share); }

    static inline sim::SambaServer* samba_ = nullptr;
    static inline std::string startError_;
    sim::DeviceSimulator device_;
};

TEST_F(ShareList, PrivateSharesFirstThenByNameEachMountedUnderTheMountFolder) {
    Harness h;
    auto c =
        start(h, {simShare("Public", true), simShare("alice", false), simShare("Backup", false)});
    ASSERT_TRUE(c);
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h, 60));

    const std::string mountDir = h.services.folders.home + "/.QVTransfer";
    const List tree = roots(*c);
    ASSERT_EQ(names(tree), (std::vector<std::string>{"Backup", "alice", "Public"}));
    EXPECT_EQ(fullPaths(tree), (std::vector<std::string>{mountDir + "/Backup", mountDir + "/alice",
                                                         mountDir + "/Public"}));
    for (const Value& v : tree) {
        const Record& node = *v.asRecord();
        EXPECT_EQ(node.string(dst::kFolderImage), "cloud_up");
        EXPECT_EQ(node.string(dst::kFolderSelectedImage), "cloud_down");
        EXPECT_TRUE(platform::files().isMountPoint(node.string(dst::kFolderFullPath)));
    }
    EXPECT_EQ(c->mountObject->mountedPathsArray.get().size(), 3u);
    EXPECT_TRUE(c->uploadFilesButtonEnable);
    EXPECT_TRUE(c->finishedPopulatingDestinationFolders);
    EXPECT_TRUE(c->createNewFolderLinkEnabled);
    EXPECT_FALSE(called(h, "runModal lostConnectionDialog"));
}

TEST_F(ShareList, ShareWithFoldersShowsATriangleAndAnEmptyOneDoesNot) {
    fs::create_directories(backing("Backup") + "/Photos/2024");
    test::writeFile(backing("alice") + "/notes.txt", "only a file");
    fs::create_directories(backing("Public") + "/.hidden");
    Harness h;
    auto c =
        start(h, {simShare("Public", true), simShare("alice", false), simShare("Backup", false)});
    ASSERT_TRUE(c);
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h, 60));
    const List tree = roots(*c);
    ASSERT_EQ(names(tree), (std::vector<std::string>{"Backup", "alice", "Public"}));
    EXPECT_TRUE(hasOnlyPlaceholder(*tree[0].asRecord()));
    EXPECT_TRUE(childrenOf(*tree[1].asRecord()).empty());
    EXPECT_TRUE(childrenOf(*tree[2].asRecord()).empty());

    // Below a share the folders are browsed over SMB as for a local volume.
    expand(h, *c, {0});
    EXPECT_EQ(names(childrenOf(nodeAt(*c, {0}))), (std::vector<std::string>{"Photos"}));
    EXPECT_TRUE(hasOnlyPlaceholder(nodeAt(*c, {0, 0})));
}

TEST_F(ShareList, ShareThatDoesNotMountIsLeftOut) {
    Harness h;
    // "Ghost" is in the device's list but not served.
    auto c = start(h, {simShare("Ghost", false), simShare("Public", true)});
    ASSERT_TRUE(c);
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h, 60));
    EXPECT_EQ(names(roots(*c)), (std::vector<std::string>{"Public"}));
    EXPECT_FALSE(called(h, "runModal lostConnectionDialog"));
    EXPECT_TRUE(c->uploadFilesButtonEnable);
}

TEST_F(ShareList, OnlyShareNotMountingOpensTheLostConnectionSheet) {
    Harness h;
    auto c = start(h, {simShare("Ghost", false)});
    ASSERT_TRUE(c);
    // Retry lists the shares again: the share still does not mount, and the sheet comes back.
    retryOnce(h);
    c->populateDestinationFoldersList();
    ASSERT_TRUE(test::waitFor([&] { return sheetsShown(h) == 2; }, 60));
    ASSERT_TRUE(settle(h, 60));
    EXPECT_EQ(sheetsShown(h), 2u);
    EXPECT_TRUE(roots(*c).empty());
    EXPECT_FALSE(c->uploadFilesButtonEnable);
    EXPECT_FALSE(c->finishedPopulatingDestinationFolders);
}

// No share can be opened without the mount folder (here a file has its name): the sheet says
// so, naming the folder, rather than blaming the device; once the name is free, Retry lists
// the shares with the generic sentence back for the next problem.
TEST_F(ShareList, WithoutTheMountFolderTheSheetSaysThatItCouldNotBeCreated) {
    Harness h;
    const std::string mountFolder = h.services.folders.home + "/.QVTransfer";
    test::writeFile(mountFolder, "not a folder");
    auto c = start(h, {simShare("Public", true)});
    ASSERT_TRUE(c);
    c->populateDestinationFoldersList();
    ASSERT_TRUE(test::waitFor([&] { return sheetsShown(h) == 1; }, 60));
    ASSERT_TRUE(settle(h, 60));
    const std::string expected =
        platform::format(c->localizedString("MOUNT_FOLDER_UNAVAILABLE_txt"), mountFolder);
    EXPECT_NE(expected.find(mountFolder), std::string::npos);
    {
        std::lock_guard lock(h.view->mutex);
        EXPECT_EQ(h.view->texts["lostConnectionMessage"], expected);
    }
    EXPECT_EQ(c->deviceProblemSentence.get(), expected);
    EXPECT_TRUE(roots(*c).empty());

    fs::remove(mountFolder);
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h, 60));
    EXPECT_EQ(names(roots(*c)), (std::vector<std::string>{"Public"}));
    EXPECT_EQ(sheetsShown(h), 1u);
}

TEST_F(ShareList, NoShareOrAnUnreadableReplyOpensTheLostConnectionSheet) {
    {
        Harness h;
        auto c = start(h, {});
        ASSERT_TRUE(c);
        retryOnce(h);
        c->populateDestinationFoldersList();
        ASSERT_TRUE(test::waitFor([&] { return sheetsShown(h) == 2; }, 60));
        ASSERT_TRUE(settle(h, 60));
        device_.stop();
    }
    {
        Harness h;
        auto c = start(h, {simShare("Public", true)});
        ASSERT_TRUE(c);
        // A reply without any XML in it.
        device_.setEmptyBody(true);
        retryOnce(h);
        c->populateDestinationFoldersList();
        ASSERT_TRUE(test::waitFor([&] { return sheetsShown(h) == 2; }, 60));
        ASSERT_TRUE(settle(h, 60));
        EXPECT_TRUE(roots(*c).empty());
    }
}

TEST_F(ShareList, LeftoverMountPointsGoBeforeTheSharesAreMountedAgain) {
    Harness h;
    const std::string mountDir = h.services.folders.home + "/.QVTransfer";
    // An earlier run left its mounts behind (still mounted) and a stale folder.
    {
        auto earlier = start(h, {simShare("Public", true), simShare("Backup", false)});
        ASSERT_TRUE(earlier);
        earlier->populateDestinationFoldersList();
        ASSERT_TRUE(settle(h, 60));
        ASSERT_EQ(names(roots(*earlier)), (std::vector<std::string>{"Backup", "Public"}));
        device_.stop();
    }
    ASSERT_TRUE(platform::files().isMountPoint(mountDir + "/Public"));
    fs::create_directories(mountDir + "/Stale/inner");
    test::writeFile(mountDir + "/Stale/inner/file.txt", "left over");
    fs::create_directories(mountDir + "/.keep");

    auto c = start(h, {simShare("Public", true), simShare("Backup", false)});
    ASSERT_TRUE(c);
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h, 60));

    EXPECT_FALSE(fs::exists(mountDir + "/Stale"));
    // Hidden items are not leftovers.
    EXPECT_TRUE(fs::exists(mountDir + "/.keep"));
    EXPECT_EQ(names(roots(*c)), (std::vector<std::string>{"Backup", "Public"}));
    // Both shares were mounted afresh by this controller, not found still mounted: a share
    // found mounted already is not recorded.
    EXPECT_EQ(c->mountObject->mountedPathsArray.get(),
              (std::vector<std::string>{mountDir + "/Backup", mountDir + "/Public"}));
    EXPECT_TRUE(platform::files().isMountPoint(mountDir + "/Public"));
}

// The mount points in the mount folder may be another process's that has an upload open: they
// are its own, not leftovers.
TEST_F(ShareList, AnotherProcesssMountPointsStayWhileItHasAnUploadOpen) {
    Harness h;
    const std::string mountDir = h.services.folders.home + "/.QVTransfer";
    fs::create_directories(mountDir + "/Photos/inner");
    test::writeFile(mountDir + "/Photos/inner/file.txt", "theirs");
    auto c = start(h, {simShare("Public", true)});
    ASSERT_TRUE(c);
    {
        test::LockHolder other(fs::path(c->transferDataFilePath).parent_path().string() + "/" +
                               platform::kUploadClaimFileName);
        ASSERT_TRUE(other.held());
        c->populateDestinationFoldersList();
        ASSERT_TRUE(settle(h, 60));
        EXPECT_EQ(test::readFile(mountDir + "/Photos/inner/file.txt"), "theirs");
        EXPECT_EQ(names(roots(*c)), (std::vector<std::string>{"Public"}));
    }
    // Once that process has ended, they are leftovers.
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h, 60));
    EXPECT_FALSE(fs::exists(mountDir + "/Photos"));
}

TEST_F(ShareList, AfterTheUploadStartsOnlyTheDestinationShareStaysMounted) {
    fs::create_directories(backing("Public") + "/Photos");
    Harness h;
    auto c =
        start(h, {simShare("Public", true), simShare("alice", false), simShare("Backup", false)});
    ASSERT_TRUE(c);
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h, 60));
    const std::string mountDir = h.services.folders.home + "/.QVTransfer";
    ASSERT_EQ(roots(*c).size(), 3u);

    c->selectedDestinationShare.set(mountDir + "/Public/Photos");
    c->unMountSharesNotInUse();
    EXPECT_TRUE(platform::files().isMountPoint(mountDir + "/Public"));
    EXPECT_TRUE(platform::files().isFolder(mountDir + "/Public/Photos"));
    EXPECT_FALSE(platform::files().isMountPoint(mountDir + "/Backup"));
    EXPECT_FALSE(platform::files().isMountPoint(mountDir + "/alice"));
    EXPECT_FALSE(fs::exists(mountDir + "/Backup"));
}

TEST_F(ShareList, PictureOfTheSharesOnTheDestinationScreen) {
    fs::create_directories(backing("Backup") + "/Documents");
    fs::create_directories(backing("Backup") + "/Photos/2023");
    fs::create_directories(backing("Backup") + "/Photos 2024");
    Harness h;
    h.services.viewFactory = &createQtTransferView;
    auto c =
        start(h, {simShare("Public", true), simShare("alice", false), simShare("Backup", false)});
    ASSERT_TRUE(c);
    auto* window = dynamic_cast<QtTransferWindow*>(c->view());
    ASSERT_NE(window, nullptr);
    window->window()->show();
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h, 60));
    c->showDestinaionSharesToTransfer();
    auto* tree =
        window->control<ui::DestinationOutlineView>(QStringLiteral("destinationFolderOutlineView"));
    ASSERT_NE(tree, nullptr);
    auto* model = tree->model();
    ASSERT_EQ(model->rowCount(), 3);
    // Upload waits for a selected row.
    EXPECT_FALSE(window->control(QStringLiteral("uploadFilesButton"))->isEnabled());
    tree->setCurrentIndex(model->index(0, 0));
    EXPECT_TRUE(window->control(QStringLiteral("uploadFilesButton"))->isEnabled());
    // A new folder can be made in the selected share.
    EXPECT_TRUE(window->control(QStringLiteral("createNewFolderLink"))->isVisible());
    EXPECT_TRUE(window->control(QStringLiteral("createNewFolderLink"))->isEnabled());
    const QModelIndex backup = model->index(0, 0);
    EXPECT_TRUE(model->hasChildren(backup));
    EXPECT_FALSE(model->hasChildren(model->index(1, 0)));
    tree->expand(backup);
    ASSERT_TRUE(settle(h, 60));
    ASSERT_EQ(model->rowCount(backup), 3);
    EXPECT_EQ(model->index(0, 0, backup).data().toString(), "Documents");
    EXPECT_EQ(model->index(1, 0, backup).data().toString(), "Photos");
    EXPECT_EQ(model->index(2, 0, backup).data().toString(), "Photos 2024");
    // The public share selected: its white cloud on the dark row.
    tree->setCurrentIndex(model->index(2, 0));
    QApplication::processEvents();
    const QString file = QString::fromStdString(test::outputFolder() + "/destination_shares.png");
    ASSERT_TRUE(window->window()->grab().save(file));
    c->unmountSharesVolumes(c->mountObject->mountedPathsArray.get());
    ASSERT_TRUE(settle(h));
}
