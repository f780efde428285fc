// A new folder on a share of the test Samba server: made, named and taken back through the
// share, as the device's user then sees it in the share's own folder.
#include <gtest/gtest.h>

#include <string>

#include "destination/folder_node.h"
#include "platform/files.h"
#include "upload_fixture.h"

namespace qvt::uploadtest {
namespace {

namespace dst = qvt::destination;

static ::testing::Environment* const kSamba = mounttest::sambaEnvironment();

class NasNewFolder : public PrivateShareTest {
  protected:
    // A session on the destination screen whose tree holds the mounted share, selected.
    std::string onTheShare(UploadSession& s, std::string* tree) {
        s.c().userName.set(mounttest::kUser);
        s.c().userPassword.set(mounttest::kPassword);
        *tree = makeMixedTree(s.home() + "/sources", 0);
        if (!s.addSources({*tree}) || !s.toDestination(false)) return "";
        const std::string share = s.mountShare("Private");
        if (share.empty()) return "";
        s.c().destinationFoldersList.set(
            List{dst::makeFolderNode("Private", share, dst::fileIconFor(share))});
        s.c().finishedPopulatingDestinationFolders = true;
        select(s, share);
        return share;
    }
    static void select(UploadSession& s, const std::string& folder) {
        std::lock_guard lock(s.harness().view->mutex);
        s.harness().view->selectedFolder = folder;
    }
    static int editedRow(UploadSession& s) {
        std::lock_guard lock(s.harness().view->mutex);
        return s.harness().view->editedRow;
    }
};

TEST_F(NasNewFolder, ANewFolderIsMadeOnTheShareNamedThereAndReceivesTheUpload) {
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-NEWFOLDER"));
    std::string tree;
    const std::string share = onTheShare(s, &tree);
    ASSERT_FALSE(share.empty());
    const std::string name = s.c().localeNEW_FOLDER_txt;

    s.c().createNewFolderAtDestination();
    ASSERT_TRUE(test::waitFor([&] { return editedRow(s) >= 0; }));
    EXPECT_TRUE(fs::is_directory(backing() + "/" + name));
    // The share's level was shown already: the new row is the first below it.
    EXPECT_EQ(editedRow(s), 1);

    s.harness().services.dispatch->mainSync([&] { s.c().textDidEndEditing("Trip 2026"); });
    EXPECT_TRUE(fs::is_directory(backing() + "/Trip 2026"));
    EXPECT_FALSE(fs::exists(backing() + "/" + name));

    // Upload goes to the folder just named.
    s.upload(share + "/Trip 2026");
    ASSERT_TRUE(s.waitCompleted()) << s.logText();
    EXPECT_TRUE(s.failures().empty());
    EXPECT_EQ(
        difference(snapshot(tree, true), snapshot(backing() + "/Trip 2026/Mixed Tree", false)), "");
}

TEST_F(NasNewFolder, TheCancelButtonTakesTheFolderOffTheShare) {
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-NEWFOLDER"));
    std::string tree;
    const std::string share = onTheShare(s, &tree);
    ASSERT_FALSE(share.empty());
    s.c().createNewFolderAtDestination();
    ASSERT_TRUE(test::waitFor([&] { return editedRow(s) >= 0; }));
    ASSERT_TRUE(fs::is_directory(backing() + "/" + s.c().localeNEW_FOLDER_txt));
    s.harness().services.dispatch->mainSync([&] { s.c().deleteNewFolder(); });
    EXPECT_TRUE(namesIn(backing()).empty());
    const List roots = s.c().destinationFoldersList.get();
    ASSERT_EQ(roots.size(), 1u);
    const List* children = roots[0].asRecord()->list(dst::kUploadFoldersArray);
    EXPECT_TRUE(!children || children->empty());
}

TEST_F(NasNewFolder, TheNameOfAFolderOnTheShareFailsAndWhatWasPutInIsKept) {
    UploadSession s(test::nasDevice("127.0.0.1:1", "SN-NEWFOLDER"));
    std::string tree;
    const std::string share = onTheShare(s, &tree);
    ASSERT_FALSE(share.empty());
    fs::create_directories(backing() + "/Photos");
    const std::string name = s.c().localeNEW_FOLDER_txt;
    s.c().createNewFolderAtDestination();
    ASSERT_TRUE(test::waitFor([&] { return editedRow(s) >= 0; }));
    // An empty folder of that name on the share is never replaced.
    s.harness().services.dispatch->mainSync([&] { s.c().textDidEndEditing("Photos"); });
    EXPECT_TRUE(fs::is_directory(backing() + "/" + name));
    EXPECT_TRUE(fs::is_directory(backing() + "/Photos"));
    // Something another user put into the new folder stays when it is taken back.
    test::writeFile(backing() + "/" + name + "/theirs.txt", "kept");
    s.harness().services.dispatch->mainSync([&] { s.c().deleteNewFolder(); });
    EXPECT_EQ(test::readFile(backing() + "/" + name + "/theirs.txt"), "kept");
}

}  // namespace
}  // namespace qvt::uploadtest
