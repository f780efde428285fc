// A new folder made from the destination screen: made on disk at once with the default name,
// named by editing its row, taken back with the cancel button; real folders, the scripted view
// standing in for the outline view.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "destination/folder_node.h"
#include "destination_fixture.h"
#include "platform/files.h"

using namespace qvt;
using namespace qvt::desttest;
using qvt::test::Harness;
using qvt::test::TempDir;
namespace dst = qvt::destination;

namespace {

std::set<std::string> entriesOf(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& e : fs::directory_iterator(folder)) names.insert(e.path().filename());
    return names;
}

// Every path below `folder`, for checking that nothing appeared anywhere else.
std::set<std::string> everythingBelow(const std::string& folder) {
    std::set<std::string> paths;
    for (const auto& e : fs::recursive_directory_iterator(folder)) paths.insert(e.path());
    return paths;
}

class NewFolder : public ::testing::Test {
  protected:
    void SetUp() override {
        drive = t / "Drive";
        fs::create_directories(drive + "/Photos");
        fs::create_directories(drive + "/Music");
        c = makeController(h, test::dasDevice());
        ASSERT_TRUE(c);
        defaultName = c->localeNEW_FOLDER_txt;
        ASSERT_FALSE(defaultName.empty());
        // The drive as a built tree holds it: one root whose level is not loaded yet.
        Record root = dst::makeFolderNode("Drive", drive, dst::fileIconFor(drive));
        root.set(dst::kUploadFoldersArray, List{dst::placeholderRecord()});
        c->destinationFoldersList.set(List{root});
        c->finishedPopulatingDestinationFolders = true;
        // An expansion in the window reaches the controller with the row's index path.
        std::weak_ptr<QVTransferPrivate> weak = c;
        std::lock_guard lock(h.view->mutex);
        h.view->onExpand = [weak](const std::string& path) {
            auto controller = weak.lock();
            if (!controller) return;
            const auto at = dst::findNode(controller->destinationFoldersList.get(), path);
            if (!at) return;
            List indices;
            for (std::size_t i : *at) indices.emplace_back(static_cast<long long>(i));
            controller->outlineViewItemDidExpand(Record{{"NSObject", Value(std::move(indices))}});
        };
        h.view->selectedFolder = drive;
    }

    void select(const std::string& folder) {
        std::lock_guard lock(h.view->mutex);
        h.view->selectedFolder = folder;
    }
    std::string selected() {
        std::lock_guard lock(h.view->mutex);
        return h.view->selectedFolder;
    }
    int editedRow() {
        std::lock_guard lock(h.view->mutex);
        return h.view->editedRow;
    }
    bool cancelShown() {
        std::lock_guard lock(h.view->mutex);
        return h.view->cancelButtonShown;
    }
    std::string folderAtRow(int row) {
        return test::ScriptedView(h.view).destinationFolderAtRow(row);
    }

    // Presses the link and waits until the new folder's name is being edited.
    bool makeNewFolder() {
        c->createNewFolderAtDestination();
        return test::waitFor([&] { return editedRow() >= 0; }) && settle(h);
    }
    // The names of the drive's children in the tree, in order.
    std::vector<std::string> childNames() {
        const List tree = roots(*c);
        std::vector<std::string> out;
        for (const Value& v : childrenOf(*tree[0].asRecord()))
            if (const Record* r = v.asRecord(); r && !r->empty())
                out.push_back(r->string(dst::kFolderName));
        return out;
    }

    Harness h;
    TempDir t;
    std::string drive;
    std::string defaultName;
    std::shared_ptr<QVTransferPrivate> c;
};

}  // namespace

TEST_F(NewFolder, AParentNeverExpandedIsLoadedAndTheNewRowIsEditedInItsSortedPlace) {
    ASSERT_TRUE(makeNewFolder());
    const std::string made = drive + "/" + defaultName;
    EXPECT_TRUE(fs::is_directory(made));
    EXPECT_TRUE(test::ScriptedView(h.view).called("expandDestinationFolder " + drive));
    // The level was loaded from the disk: the new folder stands among its siblings in order.
    std::vector<std::string> expected{"Music", defaultName, "Photos"};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(childNames(), expected);
    // The edited row is the new folder's, selected alone, with the cancel button beside it.
    EXPECT_EQ(folderAtRow(editedRow()), made);
    EXPECT_EQ(selected(), made);
    EXPECT_TRUE(cancelShown());
}

TEST_F(NewFolder, TypingANameRenamesTheFolderOnDisk) {
    ASSERT_TRUE(makeNewFolder());
    h.services.dispatch->mainSync([&] { c->textDidEndEditing("Holiday 2026"); });
    EXPECT_TRUE(fs::is_directory(drive + "/Holiday 2026"));
    EXPECT_FALSE(fs::exists(drive + "/" + defaultName));
    const auto names = childNames();
    EXPECT_NE(std::find(names.begin(), names.end(), "Holiday 2026"), names.end());
    EXPECT_EQ(selected(), drive + "/Holiday 2026");
    EXPECT_EQ(editedRow(), -1);
    EXPECT_FALSE(cancelShown());
}

TEST_F(NewFolder, ATakenDefaultNameGivesTheNextFreeNameAndThatNameIsEdited) {
    fs::create_directories(drive + "/" + defaultName);
    test::writeFile(drive + "/" + defaultName + "/keep.txt", "mine");
    ASSERT_TRUE(makeNewFolder());
    const std::string made = drive + "/" + defaultName + " " + c->localeCOPY_txt;
    EXPECT_TRUE(fs::is_directory(made));
    EXPECT_EQ(folderAtRow(editedRow()), made);
    EXPECT_EQ(test::readFile(drive + "/" + defaultName + "/keep.txt"), "mine");
    // A second one steps over both.
    h.services.dispatch->mainSync([&] { c->textDidEndEditing(fs::path(made).filename()); });
    select(drive);
    ASSERT_TRUE(makeNewFolder());
    EXPECT_TRUE(fs::is_directory(made + " 2"));
}

TEST_F(NewFolder, TheNameOfAnExistingSiblingFailsAndTheDefaultNameComesBack) {
    // "Photos" is an empty folder: a rename onto it must not replace it.
    ASSERT_TRUE(makeNewFolder());
    h.services.dispatch->mainSync([&] { c->textDidEndEditing("Photos"); });
    EXPECT_TRUE(fs::is_directory(drive + "/" + defaultName));
    EXPECT_TRUE(fs::is_directory(drive + "/Photos"));
    const auto names = childNames();
    EXPECT_NE(std::find(names.begin(), names.end(), defaultName), names.end());
    EXPECT_EQ(std::count(names.begin(), names.end(), "Photos"), 1);
    EXPECT_EQ(selected(), drive + "/" + defaultName);
    EXPECT_FALSE(cancelShown());
}

TEST_F(NewFolder, ANameThatCannotBeAFolderNameLeavesTheFolderAsItWasAndNothingElseAppears) {
    ASSERT_TRUE(makeNewFolder());
    const std::string made = drive + "/" + defaultName;
    const auto before = everythingBelow(t.path());
    for (const std::string& name :
         {std::string(), std::string("/"), std::string("."), std::string(".."),
          std::string("../Escaped"), std::string("a/b"), std::string("/tmp/x"),
          std::string(256, 'n'), std::string("bad\0name", 8)}) {
        h.services.dispatch->mainSync([&] { c->textDidEndEditing(name); });
        EXPECT_TRUE(fs::is_directory(made)) << name;
        EXPECT_EQ(everythingBelow(t.path()), before) << name;
        EXPECT_EQ(selected(), made) << name;
        const auto names = childNames();
        EXPECT_NE(std::find(names.begin(), names.end(), defaultName), names.end()) << name;
    }
    // The longest name a folder can have is taken.
    const std::string longest(255, 'n');
    h.services.dispatch->mainSync([&] { c->textDidEndEditing(longest); });
    EXPECT_TRUE(fs::is_directory(drive + "/" + longest));
}

TEST_F(NewFolder, TheCancelButtonRemovesTheFolderFromDiskAndTree) {
    const auto before = entriesOf(drive);
    ASSERT_TRUE(makeNewFolder());
    h.services.dispatch->mainSync([&] { c->deleteNewFolder(); });
    EXPECT_EQ(entriesOf(drive), before);
    const auto names = childNames();
    EXPECT_EQ(std::find(names.begin(), names.end(), defaultName), names.end());
    EXPECT_FALSE(cancelShown());
    EXPECT_TRUE(test::ScriptedView(h.view).called("hideNewFolderCancelButton"));
    EXPECT_EQ(c->createFolderParentChildArray.get().size(), 2u);
}

TEST_F(NewFolder, WhatWasPutIntoTheNewFolderMeanwhileIsKeptWhenItIsTakenBack) {
    ASSERT_TRUE(makeNewFolder());
    const std::string made = drive + "/" + defaultName;
    test::writeFile(made + "/dropped.txt", "from elsewhere");
    h.services.dispatch->mainSync([&] { c->deleteNewFolder(); });
    EXPECT_EQ(test::readFile(made + "/dropped.txt"), "from elsewhere");
    const auto names = childNames();
    EXPECT_EQ(std::find(names.begin(), names.end(), defaultName), names.end());
}

TEST_F(NewFolder, OnlyTheFolderMadeHereIsEverRenamedOrRemoved) {
    ASSERT_TRUE(makeNewFolder());
    h.services.dispatch->mainSync([&] { c->textDidEndEditing(defaultName); });
    // Another row selected: neither the cancel action nor a late end of an edit touches it.
    select(drive + "/Photos");
    h.services.dispatch->mainSync([&] { c->deleteNewFolder(); });
    h.services.dispatch->mainSync([&] { c->textDidEndEditing("Renamed"); });
    EXPECT_TRUE(fs::is_directory(drive + "/Photos"));
    EXPECT_FALSE(fs::exists(drive + "/Renamed"));
    const auto names = childNames();
    EXPECT_NE(std::find(names.begin(), names.end(), "Photos"), names.end());
}

TEST_F(NewFolder, WithNoFolderSelectedNothingIsMade) {
    select("");
    const auto before = everythingBelow(t.path());
    c->createNewFolderAtDestination();
    ASSERT_TRUE(settle(h));
    EXPECT_EQ(everythingBelow(t.path()), before);
    EXPECT_EQ(editedRow(), -1);
}

TEST_F(NewFolder, AFolderThatCannotBeMadeChangesNothing) {
    // The selected folder went away after the tree was built.
    const std::string gone = drive + "/Music";
    Record root = *roots(*c)[0].asRecord();
    root.set(dst::kUploadFoldersArray, List{dst::makeFolderNode("Music", gone, "x")});
    c->destinationFoldersList.set(List{root});
    fs::remove(gone);
    select(gone);
    const auto before = everythingBelow(t.path());
    c->createNewFolderAtDestination();
    ASSERT_TRUE(settle(h));
    EXPECT_EQ(everythingBelow(t.path()), before);
    EXPECT_EQ(editedRow(), -1);
    EXPECT_EQ(childNames(), std::vector<std::string>{"Music"});
}
