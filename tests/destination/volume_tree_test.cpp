// The folder tree of a directly attached device: roots from real mounted volumes (tmpfs and a
// loop-mounted ext4 image), levels loaded by expansion from real folders.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "destination/folder_listing.h"
#include "destination/folder_node.h"
#include "destination_fixture.h"
#include "device/mount_destination.h"
#include "platform/files.h"

using namespace qvt;
using namespace qvt::desttest;
using qvt::test::Harness;
using qvt::test::TempDir;
namespace dst = qvt::destination;

namespace {

bool viewEnabled(Harness& h, const std::string& control) {
    std::lock_guard lock(h.view->mutex);
    auto it = h.view->enabled.find(control);
    return it != h.view->enabled.end() && it->second;
}

bool viewHasEnabledState(Harness& h, const std::string& control) {
    std::lock_guard lock(h.view->mutex);
    return h.view->enabled.count(control) != 0;
}

std::size_t reloadCount(Harness& h) {
    const auto calls = test::ScriptedView(h.view).calls();
    return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), "showDestinations"));
}

// A controller whose tree holds one root for `folder`, as a built tree would.
std::shared_ptr<QVTransferPrivate> controllerWithRoot(Harness& h, const std::string& folder) {
    auto c = makeController(h, test::dasDevice());
    Record root =
        dst::makeFolderNode(dst::displayNameAtPath(folder), folder, dst::fileIconFor(folder));
    root.set(dst::kUploadFoldersArray, List{dst::placeholderRecord()});
    c->destinationFoldersList.set(List{root});
    return c;
}

}  // namespace

TEST(VolumeTree, RootTriangleOnlyForAVisibleSubfolder) {
    Harness h;
    TempDir t;
    TmpfsVolume filesOnly(t / "FilesOnly"), hiddenOnly(t / "HiddenOnly"), withFolder(t / "Music");
    ASSERT_TRUE(filesOnly.ok() && hiddenOnly.ok() && withFolder.ok()) << "mounting needs root";
    test::writeFile(t / "FilesOnly/a.txt", "a");
    fs::create_directories(t / "HiddenOnly/.Trash-0");
    test::writeFile(t / "HiddenOnly/b.txt", "b");
    fs::create_directories(t / "Music/Albums");

    auto c =
        makeController(h, dasDeviceWith({volumeRecord("FilesOnly", t / "FilesOnly", "x1", true),
                                         volumeRecord("HiddenOnly", t / "HiddenOnly", "x2", true),
                                         volumeRecord("Music", t / "Music", "x3", true)}));
    ASSERT_TRUE(c);
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h));

    const List tree = roots(*c);
    ASSERT_EQ(names(tree), (std::vector<std::string>{"FilesOnly", "HiddenOnly", "Music"}));
    EXPECT_TRUE(childrenOf(*tree[0].asRecord()).empty());
    EXPECT_TRUE(childrenOf(*tree[1].asRecord()).empty());
    EXPECT_TRUE(hasOnlyPlaceholder(*tree[2].asRecord()));
    const Record& music = *tree[2].asRecord();
    EXPECT_EQ(music.string(dst::kFolderFullPath), t / "Music");
    EXPECT_EQ(music.string(dst::kFolderImage), dst::fileIconFor(t / "Music"));
    EXPECT_FALSE(music.contains(dst::kFolderSelectedImage));

    EXPECT_TRUE(c->uploadFilesButtonEnable);
    EXPECT_TRUE(c->finishedPopulatingDestinationFolders);
    EXPECT_TRUE(c->createNewFolderLinkEnabled);
    ASSERT_TRUE(test::waitFor([&] { return viewEnabled(h, "uploadFilesButton"); }));
    EXPECT_TRUE(viewEnabled(h, "createNewFolderLink"));
    EXPECT_GE(reloadCount(h), 1u);
    // Volumes already mounted are not recorded as mounted by the wizard.
    EXPECT_TRUE(c->mountObject->mountedPathsArray.get().empty());
}

TEST(VolumeTree, NoVolumesLeavesTheUploadButtonDisabled) {
    Harness h;
    auto c = makeController(h, test::dasDevice());
    ASSERT_TRUE(c);
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h));
    EXPECT_TRUE(roots(*c).empty());
    EXPECT_FALSE(c->uploadFilesButtonEnable);
    EXPECT_FALSE(c->finishedPopulatingDestinationFolders);
    EXPECT_FALSE(c->createNewFolderLinkEnabled);
    ASSERT_TRUE(test::waitFor([&] { return viewHasEnabledState(h, "uploadFilesButton"); }));
    EXPECT_FALSE(viewEnabled(h, "uploadFilesButton"));
    EXPECT_FALSE(viewEnabled(h, "createNewFolderLink"));
    std::lock_guard lock(h.view->mutex);
    EXPECT_TRUE(h.view->destinations.roots.empty());
    EXPECT_FALSE(h.view->destinations.finished);
}

TEST(VolumeTree, RootsAreAppendedToWhatTheListHolds) {
    Harness h;
    TempDir t;
    TmpfsVolume volume(t / "Data");
    ASSERT_TRUE(volume.ok());
    auto c = makeController(h, dasDeviceWith({volumeRecord("Data", t / "Data", "x1", true)}));
    ASSERT_TRUE(c);
    c->destinationFoldersList.set(List{dst::makeFolderNode("Earlier", "/earlier", "x")});
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h));
    EXPECT_EQ(names(roots(*c)), (std::vector<std::string>{"Earlier", "Data"}));
}

TEST(VolumeTree, UnmountedVolumeIsMountedUnderTheMountFolder) {
    Harness h;
    TempDir t;
    fs::create_directories(t / "contents/Photos/2024");
    fs::create_directories(t / "contents/.hidden");
    LoopExt4Volume disk(t.path(), t / "contents");
    ASSERT_TRUE(disk.ok()) << "loop devices need root";

    auto c =
        makeController(h, dasDeviceWith({volumeRecord("Travel Disk", "", disk.bsdName(), false)}));
    ASSERT_TRUE(c);
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h, 30));

    const std::string expected = h.services.folders.home + "/.QVTransfer/Travel Disk";
    EXPECT_EQ(c->mountDir, h.services.folders.home + "/.QVTransfer");
    const List tree = roots(*c);
    ASSERT_EQ(tree.size(), 1u);
    const Record& root = *tree[0].asRecord();
    EXPECT_EQ(root.string(dst::kFolderFullPath), expected);
    EXPECT_EQ(root.string(dst::kFolderName), "Travel Disk");
    EXPECT_TRUE(platform::files().isMountPoint(expected));
    EXPECT_TRUE(hasOnlyPlaceholder(root));
    EXPECT_EQ(c->mountObject->mountedPathsArray.get(), std::vector<std::string>{expected});
    EXPECT_TRUE(c->uploadFilesButtonEnable);

    expand(h, *c, {0});
    // The file system's own lost+found is a visible folder too.
    EXPECT_EQ(names(childrenOf(nodeAt(*c, {0}))),
              (std::vector<std::string>{"lost+found", "Photos"}));
    EXPECT_TRUE(hasOnlyPlaceholder(nodeAt(*c, {0, 1})));
}

TEST(VolumeTree, ExpansionListsVisibleFoldersInNumericAwareOrder) {
    Harness h;
    TempDir t;
    for (const char* name : {"10", "2", "1", "Zeta", "apple", ".hidden"})
        fs::create_directories(t / name);
    fs::create_directories(t / "2/inner");
    fs::create_directories(t / "Zeta/.onlyHidden");
    test::writeFile(t / "file.txt", "x");
    test::writeFile(t / "10/file.txt", "x");

    auto c = controllerWithRoot(h, t.path());
    ASSERT_TRUE(c);
    expand(h, *c, {0});
    const List children = childrenOf(nodeAt(*c, {0}));
    EXPECT_EQ(names(children), (std::vector<std::string>{"1", "2", "10", "apple", "Zeta"}));
    EXPECT_TRUE(childrenOf(*children[0].asRecord()).empty());
    EXPECT_TRUE(hasOnlyPlaceholder(*children[1].asRecord()));
    EXPECT_TRUE(childrenOf(*children[2].asRecord()).empty());
    EXPECT_TRUE(childrenOf(*children[4].asRecord()).empty());
    const Record& two = *children[1].asRecord();
    EXPECT_EQ(two.string(dst::kFolderFullPath), t / "2");
    EXPECT_EQ(two.string(dst::kFolderImage), dst::fileIconFor(t / "2"));
    EXPECT_TRUE(c->finishedPopulatingDestinationFolders);
    EXPECT_TRUE(c->createNewFolderLinkEnabled);
    // One re-arrangement per folder added.
    EXPECT_GE(reloadCount(h), 5u);
}

TEST(VolumeTree, ExpandingTwiceReloadsTheLevelWithoutDuplicates) {
    Harness h;
    TempDir t;
    for (const char* name : {"A", "B", "C"}) fs::create_directories(t / name);
    fs::create_directories(t / "A/Deep");
    auto c = controllerWithRoot(h, t.path());
    ASSERT_TRUE(c);

    expand(h, *c, {0});
    expand(h, *c, {0, 0});
    EXPECT_EQ(names(childrenOf(nodeAt(*c, {0, 0}))), (std::vector<std::string>{"Deep"}));

    fs::create_directories(t / "B2");
    expand(h, *c, {0});
    const List children = childrenOf(nodeAt(*c, {0}));
    EXPECT_EQ(names(children), (std::vector<std::string>{"A", "B", "B2", "C"}));
    // The level is loaded afresh: "A" is back to its placeholder.
    EXPECT_TRUE(hasOnlyPlaceholder(*children[0].asRecord()));
}

TEST(VolumeTree, QuickRepeatedExpansionsLeaveNoDuplicates) {
    Harness h;
    TempDir t;
    for (int i = 0; i < 150; ++i) fs::create_directories(t / ("Folder " + std::to_string(i)));
    auto c = controllerWithRoot(h, t.path());
    ASSERT_TRUE(c);
    List path{Value(0)};
    for (int i = 0; i < 4; ++i) c->outlineViewItemDidExpand(Record{{"NSObject", Value(path)}});
    ASSERT_TRUE(settle(h, 60));
    const auto got = names(childrenOf(nodeAt(*c, {0})));
    EXPECT_EQ(got.size(), 150u);
    EXPECT_EQ(std::set<std::string>(got.begin(), got.end()).size(), got.size());
    EXPECT_EQ(got.front(), "Folder 0");
    EXPECT_EQ(got[2], "Folder 2");
    EXPECT_EQ(got[10], "Folder 10");
    EXPECT_EQ(got.back(), "Folder 149");
}

TEST(VolumeTree, LoadingLevelHoldsTheNewFolderLinkBack) {
    Harness h;
    TempDir t;
    for (int i = 0; i < 20; ++i) fs::create_directories(t / ("F" + std::to_string(i)));
    auto c = controllerWithRoot(h, t.path());
    ASSERT_TRUE(c);
    c->finishedPopulatingDestinationFolders = true;
    c->setCreateNewFolderLinkEnabled(true);
    c->outlineViewItemDidExpand(Record{{"NSObject", Value(List{Value(0)})}});
    // Cleared before the expansion hands over, so a waiter never sees a stale "loaded".
    EXPECT_FALSE(c->finishedPopulatingDestinationFolders);
    EXPECT_FALSE(c->createNewFolderLinkEnabled);
    EXPECT_FALSE(viewEnabled(h, "createNewFolderLink"));
    ASSERT_TRUE(settle(h));
    EXPECT_TRUE(c->finishedPopulatingDestinationFolders);
    EXPECT_TRUE(c->createNewFolderLinkEnabled);
    ASSERT_TRUE(test::waitFor([&] { return viewEnabled(h, "createNewFolderLink"); }));
}

TEST(VolumeTree, OddNamesAreProbedThroughTheirEscapedForm) {
    Harness h;
    TempDir t;
    const std::string odd = "Fotos \xC3\xA9t\xC3\xA9 2024 #1 ?";
    fs::create_directories(t / (odd + "/Sous-dossier"));
    fs::create_directories(t / "Vide \xC3\xA0 moiti\xC3\xA9");
    auto c = controllerWithRoot(h, t.path());
    ASSERT_TRUE(c);
    expand(h, *c, {0});
    const List children = childrenOf(nodeAt(*c, {0}));
    ASSERT_EQ(names(children), (std::vector<std::string>{odd, "Vide \xC3\xA0 moiti\xC3\xA9"}));
    EXPECT_TRUE(hasOnlyPlaceholder(*children[0].asRecord()));
    EXPECT_TRUE(childrenOf(*children[1].asRecord()).empty());
    expand(h, *c, {0, 0});
    EXPECT_EQ(names(childrenOf(nodeAt(*c, {0, 0}))), (std::vector<std::string>{"Sous-dossier"}));
}

TEST(VolumeTree, VanishedFolderGivesNoChildrenAndNoError) {
    Harness h;
    TempDir t;
    fs::create_directories(t / "gone");
    auto c = controllerWithRoot(h, t / "gone");
    ASSERT_TRUE(c);
    fs::remove_all(t / "gone");
    expand(h, *c, {0});
    EXPECT_TRUE(childrenOf(nodeAt(*c, {0})).empty());
    EXPECT_TRUE(c->finishedPopulatingDestinationFolders);
}

TEST(VolumeTree, ExpansionOfAnItemNoLongerInTheTreeDoesNothing) {
    Harness h;
    TempDir t;
    auto c = controllerWithRoot(h, t.path());
    ASSERT_TRUE(c);
    c->finishedPopulatingDestinationFolders = true;
    c->outlineViewItemDidExpand(Record{{"NSObject", Value(List{Value(3)})}});
    c->outlineViewItemDidExpand(Record{{"NSObject", Value("not an index path")}});
    c->outlineViewItemDidExpand(Record{});
    ASSERT_TRUE(settle(h));
    EXPECT_TRUE(c->finishedPopulatingDestinationFolders);
    EXPECT_TRUE(hasOnlyPlaceholder(nodeAt(*c, {0})));
}
