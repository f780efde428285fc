// The step from the source screen to the destination screen: the mount folder, the start of
// the destination list, Next with and without the move option, and the screen's entry.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "destination_fixture.h"

using namespace qvt;
using namespace qvt::desttest;
using qvt::test::Harness;
using qvt::test::TempDir;

namespace {

Record row(const std::string& path, const Value& ticked) {
    return Record{{"filesSelectCheckbox", ticked},
                  {"fileImage", "inode-directory"},
                  {"fileName", fs::path(path).filename().string()},
                  {"fullFilePath", path},
                  {"numberOfFiles", "1 File"},
                  {"numberOfFolders", "0 Folders"},
                  {"fileSize", 10ull}};
}

std::vector<std::string> paths(const List& rows) {
    std::vector<std::string> out;
    for (const Value& v : rows) out.push_back(v.asRecord()->string("fullFilePath"));
    return out;
}

std::string shown(Harness& h) {
    std::lock_guard lock(h.view->mutex);
    return h.view->shownName;
}

std::string viewText(Harness& h, const std::string& control) {
    std::lock_guard lock(h.view->mutex);
    return h.view->texts[control];
}

void onProtectedFilesDialog(Harness& h, std::function<void()> hook) {
    std::lock_guard lock(h.view->mutex);
    h.view->modalHooks[Dialog::ProtectedFiles] = std::move(hook);
}

bool called(Harness& h, const std::string& call) {
    return test::ScriptedView(h.view).called(call);
}

// A controller on the source screen with the given rows.
std::shared_ptr<QVTransferPrivate> onSources(Harness& h, const List& rows) {
    auto c = makeController(h, test::dasDevice());
    if (!c) return c;
    c->showScreen(Screen::Sources);
    c->sourceFilesArray.set(rows);
    return c;
}

}  // namespace

TEST(DestinationChoice, MountFolderIsMadeInTheHome) {
    Harness h;
    auto c = makeController(h, test::dasDevice());
    ASSERT_TRUE(c);
    const std::string folder = h.services.folders.home + "/.QVTransfer";
    ASSERT_FALSE(fs::exists(folder));
    c->populateDestinationFoldersList();
    EXPECT_EQ(c->mountDir, folder);
    EXPECT_TRUE(fs::is_directory(folder));
    // An existing folder is used as it is.
    test::writeFile(folder + "/keep.txt", "x");
    c->populateDestinationFoldersList();
    EXPECT_EQ(c->mountDir, folder);
    EXPECT_TRUE(fs::exists(folder + "/keep.txt"));
    ASSERT_TRUE(settle(h));
}

TEST(DestinationChoice, MountFolderThatCannotBeMadeLeavesMountDirEmpty) {
    Harness h;
    auto c = makeController(h, test::dasDevice());
    ASSERT_TRUE(c);
    // The folder is made without its parents, so a missing parent makes it fail.
    c->userHomeDirectory = h.services.folders.home + "/no/such/parent";
    c->finishedPopulatingDestinationFolders = true;
    c->setCreateNewFolderLinkEnabled(true);
    c->populateDestinationFoldersList();
    EXPECT_EQ(c->mountDir, "");
    EXPECT_FALSE(fs::exists(c->userHomeDirectory + "/.QVTransfer"));
    EXPECT_FALSE(c->finishedPopulatingDestinationFolders);
    EXPECT_FALSE(c->createNewFolderLinkEnabled);
    ASSERT_TRUE(settle(h));
}

TEST(DestinationChoice, NetworkDeviceStartsFromAnEmptyList) {
    Harness h;
    // Nothing listens on port 1: the shares request fails at once.
    auto c = makeController(h, test::nasDevice("127.0.0.1:1"));
    ASSERT_TRUE(c);
    c->destinationFoldersList.set(List{Record{{"folderName", "stale"}}});
    c->populateDestinationFoldersList();
    EXPECT_TRUE(roots(*c).empty());
    ASSERT_TRUE(settle(h, 40));
    ASSERT_TRUE(test::waitFor([&] { return called(h, "showDestinations"); }));
    // No reply: the lost-connection sheet (its Retry asks for the shares again; the share list
    // tests answer it).
    EXPECT_TRUE(called(h, "runModal lostConnectionDialog"));
}

TEST(DestinationChoice, MoveOptionOffGoesStraightToTheDestination) {
    Harness h;
    auto c = onSources(h, List{row(h.services.folders.home + "/Documents", 1)});
    ASSERT_TRUE(c);
    c->removeFilesAfterUpload = false;
    c->selectDestinationForFileTransfer();
    EXPECT_EQ(shown(h), "destinationFilesView");
    EXPECT_FALSE(called(h, "runModal containsSystemFilesDialog"));
}

TEST(DestinationChoice, MoveOptionAsksFirstAndContinueGoesOn) {
    Harness h;
    auto c = onSources(h, List{row(h.services.folders.home + "/Documents", 1)});
    ASSERT_TRUE(c);
    c->removeFilesAfterUpload = true;
    std::string textWhileShown;
    onProtectedFilesDialog(h, [&] {
        textWhileShown = viewText(h, "containsSystemFilesText");
        c->cancelOrContinueUpload(2);
    });
    c->selectDestinationForFileTransfer();
    EXPECT_TRUE(called(h, "runModal containsSystemFilesDialog"));
    EXPECT_TRUE(called(h, "endModal containsSystemFilesDialog"));
    EXPECT_EQ(textWhileShown, c->localizedString("MOVE_FILE_WARNING_txt"));
    EXPECT_EQ(c->localeSYSTEM_FILE_WARNING1_txt_MAC, c->localizedString("MOVE_FILE_WARNING_txt"));
    EXPECT_NE(textWhileShown, "MOVE_FILE_WARNING_txt");  // a real text, not the bare key
    EXPECT_TRUE(c->excludeSourceFilesArray.get().empty());
    EXPECT_EQ(shown(h), "destinationFilesView");
}

TEST(DestinationChoice, TheMoveQuestionsAnswerDecides) {
    for (const int answer : {1, 2, 0}) {
        Harness h;
        auto c = onSources(h, List{row(h.services.folders.home + "/Documents", 1)});
        ASSERT_TRUE(c);
        c->setRemoveFilesAfterUpload(true);
        h.view->modalCodes[Dialog::ProtectedFiles] = answer;
        c->selectDestinationForFileTransfer();
        // Go on: the destination; stay, or the question closed: the sources.
        EXPECT_EQ(shown(h), answer == 2 ? "destinationFilesView" : "sourceFilesView") << answer;
        std::lock_guard lock(h.view->mutex);
        ASSERT_EQ(h.view->protectedFilesQuestions.size(), 1u);
        EXPECT_EQ(h.view->protectedFilesQuestions[0].text,
                  c->localizedString("MOVE_FILE_WARNING_txt"));
    }
}

TEST(DestinationChoice, MoveOptionCancelStaysOnTheSources) {
    Harness h;
    const std::string library = h.services.folders.home + "/Library/Preferences";
    auto c = onSources(h, List{row(library, 1), row(h.services.folders.home + "/Music", 1)});
    ASSERT_TRUE(c);
    c->removeFilesAfterUpload = true;
    std::vector<std::string> excludedWhileShown;
    onProtectedFilesDialog(h, [&] {
        excludedWhileShown = c->excludeSourceFilesArray.get();
        c->cancelOrContinueUpload(1);
    });
    c->selectDestinationForFileTransfer();
    EXPECT_TRUE(called(h, "endModal containsSystemFilesDialog"));
    EXPECT_EQ(excludedWhileShown, std::vector<std::string>{library});
    EXPECT_TRUE(c->excludeSourceFilesArray.get().empty());
    EXPECT_EQ(shown(h), "sourceFilesView");
    // Nothing of the destination screen's entry happened.
    EXPECT_EQ(c->sourceFilesArray.get().size(), 2u);
}

TEST(DestinationChoice, SystemFilesMakeTheDialogSayMore) {
    Harness h;
    const std::string library = h.services.folders.home + "/Library/Mail/box";
    auto c = onSources(h, List{row(h.services.folders.home + "/Pictures", 1), row(library, 1)});
    ASSERT_TRUE(c);
    c->removeFilesAfterUpload = true;
    std::string textWhileShown;
    onProtectedFilesDialog(h, [&] {
        textWhileShown = viewText(h, "containsSystemFilesText");
        c->cancelOrContinueUpload(2);
    });
    c->selectDestinationForFileTransfer();
    const std::string expected = c->localizedString("SYSTEM_FILE_WARNING1_txt_MAC") + "\n\n" +
                                 c->localizedString("SYSTEM_FILE_WARNING2_txt_MAC");
    EXPECT_EQ(textWhileShown, expected);
    EXPECT_NE(c->localizedString("SYSTEM_FILE_WARNING1_txt_MAC"), "SYSTEM_FILE_WARNING1_txt_MAC");
    // Continuing keeps the system file listed: it is copied, not moved.
    EXPECT_EQ(c->excludeSourceFilesArray.get(), std::vector<std::string>{library});
    EXPECT_EQ(shown(h), "destinationFilesView");
}

TEST(DestinationChoice, DialogButtonsWithOtherTagsDoNothing) {
    Harness h;
    auto c = onSources(h, List{});
    ASSERT_TRUE(c);
    c->excludeSourceFilesArray.set({"/x"});
    c->cancelOrContinueUpload(0);
    c->cancelOrContinueUpload(3);
    EXPECT_EQ(c->excludeSourceFilesArray.get(), std::vector<std::string>{"/x"});
    EXPECT_EQ(shown(h), "sourceFilesView");
    for (const auto& call : test::ScriptedView(h.view).calls())
        EXPECT_EQ(call.rfind("endModal", 0), std::string::npos) << call;
}

TEST(DestinationChoice, EnteringTheDestinationKeepsOnlyTickedRowsAndResetsTheUpload) {
    Harness h;
    const std::string home = h.services.folders.home;
    auto c = onSources(h, List{row(home + "/A", 1), row(home + "/B", 0), row(home + "/C", true),
                               row(home + "/D", false), row(home + "/E", 1)});
    ASSERT_TRUE(c);
    c->isStatusWindowHidden = true;
    c->job().pause(engine::PauseReason::User);
    c->job().setFailed(true);
    c->job().complete();
    c->statusTextColor.set(Colour{1, 2, 3, 0.5});
    c->failedTransferArray.set(List{Record{{"sourceFilePath", "/x"}}});
    c->inProcessSourceFilesArray.set({"/y"});
    c->totalNumberOfSourceFiles = 42;
    c->job().numberOfFilesCountForTransfer = 7;

    c->selectDestinationForFileTransfer();
    EXPECT_EQ(shown(h), "destinationFilesView");
    EXPECT_EQ(paths(c->sourceFilesArray.get()),
              (std::vector<std::string>{home + "/A", home + "/C", home + "/E"}));
    EXPECT_FALSE(c->isStatusWindowHidden);
    EXPECT_FALSE(c->isFileTransferFailed());
    EXPECT_FALSE(c->isFileTransferCompleted());
    EXPECT_FALSE(c->uploadCancelled());
    EXPECT_FALSE(c->uploadPaused());
    EXPECT_EQ(c->statusTextColor.get(), (Colour{75, 90, 104, 1.0}));
    EXPECT_TRUE(c->failedTransferArray.get().empty());
    EXPECT_TRUE(c->inProcessSourceFilesArray.get().empty());
    EXPECT_EQ(c->job().numberOfFilesCountForTransfer, 42);

    // Back on the sources, the unticked rows are gone for good.
    c->processBackScreens();
    EXPECT_EQ(shown(h), "sourceFilesView");
    EXPECT_EQ(c->sourceFilesArray.get().size(), 3u);
}
