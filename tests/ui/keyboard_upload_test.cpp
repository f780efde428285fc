// A whole upload to an attached disk with the keyboard alone, in the real window: the default
// folders, one left out with Space; Next; a folder of the disk chosen with the keys; a new
// folder made and named there; Upload; Close at the end. Only key presses drive the window.
#include <QAbstractButton>
#include <QAbstractItemView>
#include <QLineEdit>
#include <QTest>
#include <filesystem>

#include "destination/destination_fixture.h"
#include "support/key_focus.h"
#include "window_fixture.h"

namespace qvt::test {
namespace {

namespace fs = std::filesystem;
using desttest::TmpfsVolume;

class KeyboardUpload : public WindowTest {
  protected:
    QWidget* focused() const { return test::focusedIn(window->window()); }
    bool tabTo(const char* name) { return test::tabTo(window->window(), name); }
    bool on(Screen screen) const {
        const Screen* shown = wizard->currentTransferView();
        return shown && *shown == screen;
    }
};

TEST_F(KeyboardUpload, AWholeUploadToAnAttachedDiskWithTheKeyboardAlone) {
    TempDir t;
    TmpfsVolume volume(t / "Backup Disk");
    ASSERT_TRUE(volume.ok()) << "mounting needs root";
    make(desttest::dasDeviceWith(
        {desttest::volumeRecord("Backup Disk", t / "Backup Disk", "x1", true)}));
    const std::string home = wizard->userHomeDirectory;
    for (const char* folder : {"Desktop", "Documents", "Downloads", "Music", "Pictures", "Videos"})
        writeFile(home + "/" + folder + "/" + folder + " note.txt", folder);
    writeFile(home + "/Pictures/Holiday/beach.jpg", "sand and sea");

    wizard->startFileTransfer();
    window->bringToFront();
    QWidget* root = window->window();
    root->activateWindow();
    auto* list = window->control<QAbstractItemView>(QStringLiteral("sourceFilesTableView"));
    auto* next = window->control<QAbstractButton>(QStringLiteral("chooseSourceFilesNextButton"));
    ASSERT_TRUE(list && next);
    ASSERT_TRUE(waitFor([&] { return list->model()->rowCount() == 6 && next->isEnabled(); }, 30));

    // Sources: Downloads (the third row) is left out with Space.
    ASSERT_TRUE(tabTo("sourceFilesTableView"));
    QTest::keyClick(list, Qt::Key_Home);
    QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Down);
    QTest::keyClick(list, Qt::Key_Space);
    ASSERT_TRUE(waitFor([&] {
        return wizard->sourceFilesArray.get()[2].asRecord()->integer("filesSelectCheckbox") == 0;
    }));
    ASSERT_TRUE(tabTo("chooseSourceFilesNextButton"));
    QTest::keyClick(focused(), Qt::Key_Space);
    ASSERT_TRUE(waitFor([&] { return on(Screen::Destination); }));

    // Destination: the disk's row with the arrow keys, then a new folder named "From keys".
    auto* tree = window->control<QAbstractItemView>(QStringLiteral("destinationFolderOutlineView"));
    ASSERT_TRUE(waitFor([&] { return tree->model()->rowCount() == 1; }, 30));
    ASSERT_TRUE(tabTo("destinationFolderOutlineView"));
    // The arrow keys move to a row, Space selects the row the focus is on.
    QTest::keyClick(tree, Qt::Key_Home);
    QTest::keyClick(tree, Qt::Key_Space);
    ASSERT_TRUE(waitFor([&] { return window->selectedDestinationFolder() == t / "Backup Disk"; }));
    ASSERT_TRUE(tabTo("createNewFolderLink"));
    QTest::keyClick(focused(), Qt::Key_Space);
    ASSERT_TRUE(waitFor([&] { return qobject_cast<QLineEdit*>(focused()) != nullptr; }));
    QTest::keyClicks(focused(), "From keys");
    QTest::keyClick(focused(), Qt::Key_Return);
    ASSERT_TRUE(waitFor([&] { return fs::is_directory(t / "Backup Disk/From keys"); }));
    ASSERT_TRUE(waitFor(
        [&] { return window->selectedDestinationFolder() == t / "Backup Disk/From keys"; }));

    ASSERT_TRUE(tabTo("uploadFilesButton"));
    QTest::keyClick(focused(), Qt::Key_Space);
    ASSERT_TRUE(waitFor([&] { return wizard->isFileTransferCompleted(); }, 60));
    ASSERT_TRUE(harness.services.dispatch->waitIdle(30));

    const std::string arrived = t / "Backup Disk/From keys";
    EXPECT_EQ(readFile(arrived + "/Pictures/Holiday/beach.jpg"), "sand and sea");
    EXPECT_EQ(readFile(arrived + "/Music/Music note.txt"), "Music");
    EXPECT_FALSE(fs::exists(arrived + "/Downloads"));

    // The end: Close, reached with Tab, ends the wizard.
    ASSERT_TRUE(waitFor([&] { return on(Screen::Status); }));
    ASSERT_TRUE(tabTo("statusCloseButton"));
    QTest::keyClick(focused(), Qt::Key_Space);
    EXPECT_TRUE(waitFor([&] { return !root->isVisible(); }));
}

}  // namespace
}  // namespace qvt::test
