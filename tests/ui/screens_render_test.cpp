// Pictures of every screen and dialog as the offscreen platform draws them, saved to the test
// output folder for a person to look at. Each must be drawn at its size and show more than
// one flat colour.
#include "window_fixture.h"

#include <QDialog>
#include <QStandardItemModel>
#include <QTimer>
#include <QTreeView>
#include <filesystem>

#include "destination/folder_node.h"
#include "source/source_entry.h"

using namespace qvt;
using namespace qvt::test;

namespace {

void expectPicture(const QImage& image, QSize size, const std::string& name) {
    ASSERT_FALSE(image.isNull()) << name;
    EXPECT_EQ(image.size(), size) << name;
    EXPECT_GT(colourCount(image), 8) << name;
    const std::string path = savePicture(image, name);
    EXPECT_FALSE(path.empty());
}

}  // namespace

class ScreenPictures : public WindowTest {
  protected:
    void show(Screen screen) {
        window->setText("uploadWindowHeading", "Upload files to Test Cloud");
        window->setText("zeroUploadWindowHeading", "Upload Files to Test Cloud");
        wizard->showScreen(screen);
        window->bringToFront();
        waitFor([] { return false; }, 0.05);  // let the window lay itself out
    }

    QImage picture() const { return window->window()->grab().toImage(); }
};

TEST_F(ScreenPictures, UsersScreen) {
    make(nasDevice());
    wizard->usersArrayController.set(List{Record{{"username", "admin"}, {"is_password", "true"}},
                                          Record{{"username", "bob"}, {"is_password", "false"}}});
    wizard->usersPopupSelectedIndex = 0;
    wizard->showPasswordField = true;
    wizard->incorrectPassword = true;
    window->showUsers(wizard->usersScreen());
    show(Screen::Users);
    expectPicture(picture(), QSize(700, 520), "screen-users");
}

TEST_F(ScreenPictures, SourcesScreen) {
    make(dasDevice());
    const std::string home = harness.home / "home";
    writeFile(home + "/Pictures/Holiday/beach.jpg", "x");
    writeFile(home + "/Documents/report.pdf", "x");
    writeFile(home + "/notes.txt", "x");
    List rows;
    Record pictures = source::makeSourceEntry(home + "/Pictures", true);
    pictures.set("numberOfFiles", "248 files");
    pictures.set("numberOfFolders", "12 folders");
    Record documents = source::makeSourceEntry(home + "/Documents", true);
    documents.set("numberOfFiles", "31 files");
    documents.set("numberOfFolders", "3 folders");
    documents.set("filesSelectCheckbox", 0);
    Record notes = source::makeSourceEntry(home + "/notes.txt", true);
    rows.push_back(pictures);
    rows.push_back(documents);
    rows.push_back(notes);
    wizard->sourceFilesArray.set(rows);
    wizard->numberOfFilesAndFolders.set("12 folders, 248 files: 1.25GB");
    window->moveControl("sourceFilesScrollView", 62, 38);
    window->showSources(wizard->sourcesScreen());
    show(Screen::Sources);
    expectPicture(picture(), QSize(700, 520), "screen-sources");

    // The row the keyboard is on, shown whole.
    auto* table = window->control<QAbstractItemView>(QStringLiteral("sourceFilesTableView"));
    ASSERT_NE(table, nullptr);
    table->setFocus();
    table->setCurrentIndex(table->model()->index(1, 1));
    waitFor([] { return false; }, 0.05);
    expectPicture(picture(), QSize(700, 520), "screen-sources-keyboard");
}

TEST_F(ScreenPictures, SourcesScreenInZeroState) {
    Record device = dasDevice();
    device.set("isZeroState", true);
    make(device);
    show(Screen::Sources);
    expectPicture(picture(), QSize(700, 520), "screen-sources-zero-state");
}

TEST_F(ScreenPictures, DestinationScreen) {
    make(nasDevice());
    using namespace qvt::destination;
    const std::string mounts = harness.home / "home/.QVTransfer";
    for (const char* folder : {"Public/Photos/2023", "Public/Music", "Backup/Old", "alice"})
        std::filesystem::create_directories(mounts + "/" + folder);
    const auto folderNode = [&](const std::string& name, const std::string& path) {
        return makeFolderNode(name, path, fileIconFor(path));
    };
    Record publicShare =
        makeFolderNode("Public", mounts + "/Public", kShareImage, kShareSelectedImage);
    Record photos = folderNode("Photos", mounts + "/Public/Photos");
    photos.set(kUploadFoldersArray, List{placeholderRecord()});
    publicShare.set(kUploadFoldersArray,
                    List{photos, Value(folderNode("Music", mounts + "/Public/Music"))});
    Record backup = makeFolderNode("Backup", mounts + "/Backup", kShareImage, kShareSelectedImage);
    backup.set(kUploadFoldersArray, List{placeholderRecord()});
    Record home =
        makeFolderNode("alice", mounts + "/alice", kHomeShareImage, kHomeShareSelectedImage);
    wizard->destinationFoldersList.set(List{backup, publicShare, home});
    window->showDestinations(wizard->destinationScreen());
    wizard->setUploadFilesButtonEnable(true);
    wizard->setCreateNewFolderLinkEnabled(true);
    show(Screen::Destination);
    auto* tree = window->control<QTreeView>(QStringLiteral("destinationFolderOutlineView"));
    ASSERT_NE(tree, nullptr);
    ASSERT_TRUE(waitFor([&] { return tree->model()->rowCount() >= 3; }));
    // Expanding a share loads its level.
    tree->expand(tree->model()->index(1, 0));
    ASSERT_TRUE(waitFor([&] { return tree->model()->rowCount(tree->model()->index(1, 0)) == 2; }));
    tree->setCurrentIndex(tree->model()->index(0, 0, tree->model()->index(1, 0)));
    // With a folder selected, Upload is enabled.
    ASSERT_TRUE(
        waitFor([&] { return window->control(QStringLiteral("uploadFilesButton"))->isEnabled(); }));
    expectPicture(picture(), QSize(700, 520), "screen-destination");
}

TEST_F(ScreenPictures, StatusScreenDuringUpload) {
    make(dasDevice());
    wizard->progressStatusMsg1.set("Uploading file 37 of 248");
    wizard->progressStatusMsg2.set("Estimated time remaining: about 4 minutes");
    wizard->progressMaxValue = 1'250'000'000;
    wizard->transferProgressValue = 410'000'000;
    window->showStatus(wizard->statusSnapshot());
    show(Screen::Status);
    expectPicture(picture(), QSize(700, 520), "screen-status");
}

TEST_F(ScreenPictures, StatusScreenAfterAnUploadWithErrors) {
    make(dasDevice());
    wizard->progressStatusMsg1.set("245 of 248 files uploaded");
    wizard->progressStatusMsg2.set("");
    wizard->progressMaxValue = 100;
    wizard->transferProgressValue = 100;
    wizard->statusControls.with([&](auto& s) {
        s.pauseButtonTag = 4;
        s.closeButtonTitle = wizard->localeCLOSE_btn;
        s.errorWarningMessage = "Files not uploaded: 3";
        s.viewNowTitle = wizard->localeVIEW_NOW_btn;
        s.uploadedFilesLabel = "Files uploaded to:";
        s.uploadedFilesLinkTitle = "Test Drive";
        s.uploadedFilesLinkHidden = false;
    });
    window->showStatus(wizard->statusSnapshot());
    show(Screen::Status);
    expectPicture(picture(), QSize(700, 520), "screen-status-completed");
}

TEST_F(ScreenPictures, ErrorWindowWithDetails) {
    make(dasDevice());
    wizard->failedListRowHeight = 50;
    wizard->failedFilesListTreeControllerArray.set(
        List{Record{{"fileName", "beach.jpg\nThe device is read-only."},
                    {"fileImage", "warningImage.png"}},
             Record{{"fileName",
                     "a very long file name that goes on and on and on and on.pdf\n"
                     "Permission denied"},
                    {"fileImage", "warningImage.png"}}});
    wizard->uploadErrorString.set("Upload Errors (2)");
    window->setText("showHideDetailsButton", wizard->localeHIDE_DETAILS_btn);
    window->showFailedList(wizard->failedList());
    window->bringToFront();
    QImage image;
    QSize size;
    QTimer::singleShot(0, [&] {
        QDialog* box = window->dialog(Dialog::UploadErrors);
        image = box->grab().toImage();
        size = box->size();
        window->stopModal();
    });
    window->runModal(Dialog::UploadErrors);
    expectPicture(image, size, "dialog-errorViewWindow-details");
    auto* list = window->control<QTreeView>(QStringLiteral("failedListOutlineView"));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->visualRect(list->model()->index(0, 0)).height(), 50);
}

class DialogPictures : public WindowTest, public ::testing::WithParamInterface<Dialog> {};

TEST_P(DialogPictures, DrawnWhileRunning) {
    make(nasDevice());
    const Dialog which = GetParam();
    if (which == Dialog::UploadErrors) {
        wizard->failedFilesListTreeControllerArray.set(
            List{Record{{"fileName", "beach.jpg"}, {"fileImage", "warningImage.png"}},
                 Record{{"fileName", "report.pdf"}, {"fileImage", "warningImage.png"}},
                 Record{{"fileName", "notes.txt"}, {"fileImage", "warningImage.png"}}});
        wizard->uploadErrorString.set("Upload Errors (3)");
        window->showFailedList(wizard->failedList());
    }
    if (which == Dialog::ProtectedFiles)
        window->setText("containsSystemFilesText", wizard->localeSYSTEM_FILE_WARNING1_txt_MAC);
    window->bringToFront();
    QImage image;
    QSize size;
    QTimer::singleShot(0, [&] {
        QDialog* box = window->dialog(which);
        image = box->grab().toImage();
        size = box->size();
        box->done(5);
    });
    EXPECT_EQ(window->runModal(which), 5);
    expectPicture(image, size, std::string("dialog-") + dialogName(which));
    EXPECT_GE(size.width(), 400);
    EXPECT_GE(size.height(), 120);
}

INSTANTIATE_TEST_SUITE_P(AllDialogs, DialogPictures,
                         ::testing::Values(Dialog::UploadErrors, Dialog::LostConnection,
                                           Dialog::DeviceMissing, Dialog::DeviceFull,
                                           Dialog::ProtectedFiles, Dialog::QuitConfirmation,
                                           Dialog::CancelUploadConfirm),
                         [](const auto& info) { return std::string(dialogName(info.param)); });
