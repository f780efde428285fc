// The new folder in the real window: the link makes it, its row opens in an editor with the
// default name selected and the cancel button beside it, typing a name and Return renames it on
// disk, the cancel button takes it back.
#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QTest>
#include <QTreeView>
#include <filesystem>

#include "destination/folder_node.h"
#include "ui/destination_outline_view.h"
#include "window_fixture.h"

namespace qvt::test {
namespace {

namespace fs = std::filesystem;
using namespace qvt::destination;

class NewFolderWindow : public WindowTest {
  protected:
    // The destination screen with one root ("Drive", two folders, its level not loaded),
    // selected.
    void onDestinationScreen() {
        make(dasDevice());
        drive = harness.home / "Drive";
        fs::create_directories(drive + "/Photos");
        fs::create_directories(drive + "/Music");
        Record root = makeFolderNode("Drive", drive, fileIconFor(drive));
        root.set(kUploadFoldersArray, List{placeholderRecord()});
        wizard->destinationFoldersList.set(List{root});
        wizard->finishedPopulatingDestinationFolders = true;
        wizard->setUploadFilesButtonEnable(true);
        wizard->setCreateNewFolderLinkEnabled(true);
        wizard->showScreen(Screen::Destination);
        window->bringToFront();
        tree = window->control<ui::DestinationOutlineView>(
            QStringLiteral("destinationFolderOutlineView"));
        ASSERT_NE(tree, nullptr);
        ASSERT_TRUE(waitFor([&] { return tree->model()->rowCount() == 1; }));
        link = window->control<QAbstractButton>(QStringLiteral("createNewFolderLink"));
        cancel = window->control<QAbstractButton>(QStringLiteral("deleteNewFolderButton"));
        ASSERT_NE(link, nullptr);
        ASSERT_NE(cancel, nullptr);
    }
    QLineEdit* editor() const {
        for (QLineEdit* line : tree->viewport()->findChildren<QLineEdit*>())
            if (line->isVisible()) return line;
        return nullptr;
    }
    // Presses the link and waits for the editor of the new row.
    bool pressNewFolder() {
        if (!link->isVisible() || !link->isEnabled()) return false;
        link->click();
        return waitFor([&] { return editor() != nullptr; });
    }

    // Selects the drive, presses the link and types `typed` into the new row's editor.
    QLineEdit* startNaming(const char* typed) {
        tree->setCurrentIndex(tree->model()->index(0, 0));
        if (!pressNewFolder()) return nullptr;
        QLineEdit* line = editor();
        line->setFocus();
        QTest::keyClicks(line, typed);
        return line;
    }

    std::string drive;
    ui::DestinationOutlineView* tree = nullptr;
    QAbstractButton* link = nullptr;
    QAbstractButton* cancel = nullptr;
};

TEST_F(NewFolderWindow, TheLinkNeedsASelectedFolder) {
    onDestinationScreen();
    EXPECT_TRUE(link->isVisible());
    EXPECT_FALSE(link->isEnabled());
    tree->setCurrentIndex(tree->model()->index(0, 0));
    EXPECT_TRUE(waitFor([&] { return link->isEnabled(); }));
}

TEST_F(NewFolderWindow, TheNewRowIsEditedAndReturnRenamesTheFolder) {
    onDestinationScreen();
    tree->setCurrentIndex(tree->model()->index(0, 0));
    ASSERT_TRUE(pressNewFolder());
    const QString name = QString::fromStdString(wizard->localeNEW_FOLDER_txt);
    EXPECT_TRUE(fs::is_directory(drive + "/" + wizard->localeNEW_FOLDER_txt));
    QLineEdit* line = editor();
    EXPECT_EQ(line->text(), name);
    EXPECT_EQ(line->selectedText(), name);
    // The root was expanded and its level loaded; the row being edited is the new folder's.
    EXPECT_TRUE(tree->isExpanded(tree->model()->index(0, 0)));
    EXPECT_EQ(tree->selectedFolderPath().toStdString(), drive + "/" + wizard->localeNEW_FOLDER_txt);
    EXPECT_TRUE(cancel->isVisible());
    EXPECT_TRUE(tree->visualRect(tree->currentIndex().siblingAtColumn(1))
                    .contains(cancel->geometry().center()));
    savePicture(window->window()->grab().toImage(), "destination-new-folder");

    line->setFocus();
    QTest::keyClicks(line, "Holiday");
    QTest::keyClick(line, Qt::Key_Return);
    ASSERT_TRUE(waitFor([&] { return fs::is_directory(drive + "/Holiday"); }));
    EXPECT_FALSE(fs::exists(drive + "/" + wizard->localeNEW_FOLDER_txt));
    EXPECT_TRUE(waitFor([&] { return editor() == nullptr && !cancel->isVisible(); }));
    EXPECT_EQ(tree->selectedFolderPath().toStdString(), drive + "/Holiday");
    EXPECT_EQ(tree->currentIndex().data().toString(), QStringLiteral("Holiday"));
    // Upload goes to the folder just named.
    EXPECT_TRUE(window->control(QStringLiteral("uploadFilesButton"))->isEnabled());
    EXPECT_EQ(window->selectedDestinationFolder(), drive + "/Holiday");
}

TEST_F(NewFolderWindow, EscapeKeepsTheDefaultName) {
    onDestinationScreen();
    QLineEdit* line = startNaming("Not this");
    ASSERT_NE(line, nullptr);
    QTest::keyClick(line, Qt::Key_Escape);
    EXPECT_TRUE(waitFor([&] { return editor() == nullptr && !cancel->isVisible(); }));
    EXPECT_TRUE(fs::is_directory(drive + "/" + wizard->localeNEW_FOLDER_txt));
    EXPECT_FALSE(fs::exists(drive + "/Not this"));
}

TEST_F(NewFolderWindow, TheCancelButtonTakesTheFolderBack) {
    onDestinationScreen();
    tree->setCurrentIndex(tree->model()->index(0, 0));
    ASSERT_TRUE(pressNewFolder());
    ASSERT_TRUE(cancel->isVisible());
    QTest::mouseClick(cancel, Qt::LeftButton);
    EXPECT_TRUE(waitFor([&] { return !fs::exists(drive + "/" + wizard->localeNEW_FOLDER_txt); }));
    EXPECT_TRUE(waitFor([&] { return !cancel->isVisible(); }));
    const QModelIndex root = tree->model()->index(0, 0);
    EXPECT_EQ(tree->model()->rowCount(root), 2);
    EXPECT_TRUE(fs::is_directory(drive + "/Photos"));
    EXPECT_TRUE(fs::is_directory(drive + "/Music"));
}

TEST_F(NewFolderWindow, TheCancelButtonKeepsTheFocusInTheEditorAndDropsWhatWasTyped) {
    onDestinationScreen();
    tree->setCurrentIndex(tree->model()->index(0, 0));
    ASSERT_TRUE(pressNewFolder());
    QLineEdit* line = editor();
    // A click on the button passes the focus on to the editor, so the click is not first
    // taken as the end of the edit.
    EXPECT_EQ(cancel->focusProxy(), line);
    line->setFocus();
    QTest::keyClicks(line, "Typed then cancelled");
    QTest::mouseClick(cancel, Qt::LeftButton);
    EXPECT_TRUE(waitFor([&] { return !fs::exists(drive + "/" + wizard->localeNEW_FOLDER_txt); }));
    waitFor([] { return false; }, 0.1);
    EXPECT_FALSE(fs::exists(drive + "/Typed then cancelled"));
    EXPECT_EQ(tree->model()->rowCount(tree->model()->index(0, 0)), 2);
    EXPECT_EQ(cancel->focusProxy(), nullptr);
}

TEST_F(NewFolderWindow, AnotherRowClickedWhileNamingNamesTheNewFolderNotThatRow) {
    onDestinationScreen();
    QLineEdit* line = startNaming("Named");
    ASSERT_NE(line, nullptr);
    const QModelIndex root = tree->model()->index(0, 0);
    QModelIndex photos;
    for (int i = 0; i < tree->model()->rowCount(root); ++i)
        if (tree->model()->index(i, 0, root).data().toString() == QLatin1String("Photos"))
            photos = tree->model()->index(i, 0, root);
    ASSERT_TRUE(photos.isValid());
    tree->setCurrentIndex(photos);
    ASSERT_TRUE(waitFor([&] { return fs::is_directory(drive + "/Named"); }));
    EXPECT_TRUE(fs::is_directory(drive + "/Photos"));
    EXPECT_FALSE(fs::exists(drive + "/" + wizard->localeNEW_FOLDER_txt));
    EXPECT_TRUE(waitFor([&] { return editor() == nullptr && !cancel->isVisible(); }));
}

TEST_F(NewFolderWindow, ASecondPressWhileNamingNamesTheFirstAndMakesTheNextInsideIt) {
    onDestinationScreen();
    QLineEdit* line = startNaming("First");
    ASSERT_NE(line, nullptr);
    ASSERT_TRUE(pressNewFolder());
    EXPECT_TRUE(fs::is_directory(drive + "/First"));
    EXPECT_FALSE(fs::exists(drive + "/" + wizard->localeNEW_FOLDER_txt));
    EXPECT_TRUE(waitFor(
        [&] { return fs::is_directory(drive + "/First/" + wizard->localeNEW_FOLDER_txt); }));
    EXPECT_EQ(tree->selectedFolderPath().toStdString(),
              drive + "/First/" + wizard->localeNEW_FOLDER_txt);
}

TEST_F(NewFolderWindow, UploadPressedWhileNamingGoesToTheFolderUnderItsNewName) {
    onDestinationScreen();
    QLineEdit* line = startNaming("Trip");
    ASSERT_NE(line, nullptr);
    auto* upload = window->control<QAbstractButton>(QStringLiteral("uploadFilesButton"));
    ASSERT_TRUE(upload->isEnabled());
    upload->click();
    EXPECT_TRUE(fs::is_directory(drive + "/Trip"));
    EXPECT_EQ(wizard->selectedDestinationShare.get(), drive + "/Trip");
}

}  // namespace
}  // namespace qvt::test
