// The Qt window as the controller's view: how it is built from the definition, its chrome, its
// screens and dialogs, the view operations and the actions that reach the controller.
#include "window_fixture.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QTableView>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QTreeView>
#include <thread>

#include "session/resources.h"
#include "source/source_entry.h"
#include "widgets/QVTransferLinkButton.h"
#include "widgets/QVTransferPausedAndStopButton.h"
#include "widgets/QVTransferProgressIndicator.h"

using namespace qvt;
using namespace qvt::test;

namespace {

const Dialog kAllDialogs[] = {Dialog::UploadErrors,       Dialog::LostConnection,
                              Dialog::DeviceMissing,      Dialog::DeviceFull,
                              Dialog::ProtectedFiles,     Dialog::QuitConfirmation,
                              Dialog::CancelUploadConfirm};

std::string shippedDefinition() {
    const auto text = readResource(":/qvtransfer/ui/QVTransfer.ui");
    return text ? *text : std::string();
}

}  // namespace

TEST_F(WindowTest, DefinitionThatDoesNotParseYieldsNoWindow) {
    make(dasDevice());
    EXPECT_EQ(createQtTransferView(*wizard, "<ui version=\"4.0\"><widget class="), nullptr);
    EXPECT_EQ(createQtTransferView(*wizard, "not an interface at all"), nullptr);
    EXPECT_EQ(createQtTransferView(*wizard, ""), nullptr);
    // Well formed, but not the wizard: no screens, no dialogs.
    EXPECT_EQ(createQtTransferView(*wizard,
                                   "<ui version=\"4.0\"><class>Form</class>"
                                   "<widget class=\"QVTransferWindow\" name=\"transferWindow\"/>"
                                   "</ui>"),
              nullptr);
    EXPECT_NE(createQtTransferView(*wizard, shippedDefinition()), nullptr);
}

TEST_F(WindowTest, ControllerIsNotCreatedFromABrokenDefinition) {
    const std::string broken = harness.home / "broken.ui";
    writeFile(broken, "<ui version=\"4.0\"><widget class=\"QWidget\"");
    harness.services.interfaceDefinitionPath = broken;
    EXPECT_EQ(QVTransferPrivate::initWithDevice(dasDevice(), harness.services), nullptr);
}

TEST_F(WindowTest, WindowChrome) {
    make(dasDevice());
    QWidget* w = window->window();
    const Qt::WindowFlags flags = w->windowFlags();
    EXPECT_TRUE(flags.testFlag(Qt::WindowCloseButtonHint));
    EXPECT_FALSE(flags.testFlag(Qt::WindowMinimizeButtonHint));
    EXPECT_FALSE(flags.testFlag(Qt::WindowMaximizeButtonHint));
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Tessaly"));
    EXPECT_EQ(w->windowFilePath(), QStringLiteral("Tessaly"));
    EXPECT_FALSE(w->windowIcon().isNull());
    EXPECT_EQ(w->size(), QSize(700, 520));
    EXPECT_EQ(w->minimumSize(), w->maximumSize());

    const QColor background = w->palette().color(QPalette::Window);
    EXPECT_EQ(background, QColor(250, 250, 250));
    EXPECT_EQ(background.alpha(), 255);
    EXPECT_TRUE(w->autoFillBackground());
    // The empty main area shows the window's grey.
    wizard->clearMainTransferView();
    EXPECT_EQ(w->grab().toImage().pixelColor(350, 300), QColor(250, 250, 250));

    EXPECT_EQ(w->font().family(), QStringLiteral("Arial"));
    auto* heading = window->control<QLabel>(QStringLiteral("chooseFilesHeading"));
    ASSERT_NE(heading, nullptr);
    EXPECT_EQ(heading->font().family(), QStringLiteral("Arial"));
    EXPECT_EQ(heading->font().pointSize(), 18);
    auto* link = window->control<QVTransferLinkButton>(QStringLiteral("chooseSourceFilesLink"));
    ASSERT_NE(link, nullptr);
    EXPECT_EQ(link->titleFont().pointSize(), 13);
    EXPECT_EQ(link->titleColor(), QColor(0, 103, 166));
}

TEST_F(WindowTest, EveryDialogHasTheWindowsChrome) {
    make(dasDevice());
    for (Dialog d : kAllDialogs) {
        SCOPED_TRACE(dialogName(d));
        QDialog* box = window->dialog(d);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->windowTitle(), QStringLiteral("Tessaly"));
        EXPECT_EQ(box->windowFilePath(), QStringLiteral("Tessaly"));
        EXPECT_FALSE(box->windowIcon().isNull());
        EXPECT_TRUE(box->windowFlags().testFlag(Qt::WindowCloseButtonHint));
        EXPECT_FALSE(box->windowFlags().testFlag(Qt::WindowMinimizeButtonHint));
        EXPECT_FALSE(box->windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
        EXPECT_EQ(box->palette().color(QPalette::Window), QColor(250, 250, 250));
    }
}

TEST_F(WindowTest, CentredOnScreenWhenBroughtToFront) {
    make(dasDevice());
    window->bringToFront();
    QWidget* w = window->window();
    EXPECT_TRUE(w->isVisible());
    const QPoint screenCentre = w->screen()->availableGeometry().center();
    EXPECT_LE((w->geometry().center() - screenCentre).manhattanLength(), 2);
}

TEST_F(WindowTest, TextsComeFromTheControllersLocaleProperties) {
    make(dasDevice());
    const auto text = [&](const char* name) {
        QWidget* w = window->control(QString::fromLatin1(name));
        if (auto* link = qobject_cast<QVTransferLinkButton*>(w)) return link->title();
        if (auto* b = qobject_cast<QAbstractButton*>(w)) return b->text();
        if (auto* l = qobject_cast<QLabel*>(w)) return l->text();
        return QString();
    };
    EXPECT_EQ(text("chooseSourceFilesNextButton"), QString::fromStdString(wizard->localeNEXT_btn));
    EXPECT_EQ(text("sourceFilesBackButton"), QString::fromStdString(wizard->localeBACK_btn));
    EXPECT_EQ(text("chooseUserHeading"), QString::fromStdString(wizard->localeCHOOSE_USER_title));
    EXPECT_EQ(text("chooseLocationHeading"),
              QString::fromStdString(wizard->localeCHOOSE_UPLOAD_LOCATION_title));
    EXPECT_EQ(text("quitMessage"), QString::fromStdString(wizard->localeCONFIRM_QUIT_DECISION_txt));
    EXPECT_EQ(text("stopUploadButton"), QString::fromStdString(wizard->localeSTOP_UPLOAD_btn));
    EXPECT_EQ(text("createNewFolderLink"),
              QString::fromStdString(wizard->localeCREATE_NEW_FOLDER_btn));
    // The set-up of the controller put its drop text on the label after the build.
    EXPECT_EQ(text("dragAndDropLabel"), QString::fromStdString(wizard->localeDRAG_AND_DROP_txt));
    EXPECT_FALSE(wizard->localeNEXT_btn.empty());
    auto* field = window->control<QLineEdit>(QStringLiteral("passwordField"));
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(field->placeholderText(), QString::fromStdString(wizard->localePASSWORD_txt));
    EXPECT_EQ(field->echoMode(), QLineEdit::Password);
}

TEST_F(WindowTest, ShowScreenPutsUpThatScreenOrNothing) {
    make(nasDevice());
    QStackedWidget* area = window->mainArea();
    ASSERT_NE(area, nullptr);
    for (Screen s : {Screen::Users, Screen::Sources, Screen::Destination, Screen::Status}) {
        wizard->showScreen(s);
        EXPECT_EQ(area->currentWidget(), window->screenView(s));
        EXPECT_EQ(area->currentWidget()->objectName(), QString::fromLatin1(screenName(s)));
    }
    window->showScreen(nullptr);
    EXPECT_EQ(area->currentWidget()->objectName(), QStringLiteral("emptyTransferView"));
}

TEST_F(WindowTest, ControlOperationsActOnTheNamedControl) {
    make(dasDevice());
    window->setText("uploadWindowHeading", "Upload files to Test Drive");
    EXPECT_EQ(window->control<QLabel>(QStringLiteral("uploadWindowHeading"))->text(),
              QStringLiteral("Upload files to Test Drive"));

    window->setEnabled("chooseSourceFilesNextButton", false);
    EXPECT_FALSE(window->control(QStringLiteral("chooseSourceFilesNextButton"))->isEnabled());
    window->setEnabled("chooseSourceFilesNextButton", true);
    EXPECT_TRUE(window->control(QStringLiteral("chooseSourceFilesNextButton"))->isEnabled());

    window->setHidden("incorrectPasswordLabel", false);
    EXPECT_FALSE(window->control(QStringLiteral("incorrectPasswordLabel"))->isHidden());
    window->setHidden("incorrectPasswordLabel", true);
    EXPECT_TRUE(window->control(QStringLiteral("incorrectPasswordLabel"))->isHidden());

    // Tags: a plain property, and the icon button's role with its image.
    window->setTag("lostConnectionRetryButton", 3);
    EXPECT_EQ(window->control(QStringLiteral("lostConnectionRetryButton"))->property("tag").toInt(),
              3);
    auto* pause =
        window->control<QVTransferPausedAndStopButton>(QStringLiteral("pauseResumeTransferButton"));
    ASSERT_NE(pause, nullptr);
    EXPECT_EQ(pause->tag(), 3);
    window->setTag("pauseResumeTransferButton", 4);
    EXPECT_EQ(pause->tag(), 4);
    EXPECT_EQ(pause->currentImageName(), QStringLiteral("icn_resume_up.png"));

    // Links keep their look when their title changes.
    window->setText("uploadedFilesLink", "Test Drive");
    auto* link = window->control<QVTransferLinkButton>(QStringLiteral("uploadedFilesLink"));
    EXPECT_EQ(link->title(), QStringLiteral("Test Drive"));
    EXPECT_TRUE(link->titleFont().underline());

    // The list's area grows up into the room of the zero-state drop area.
    window->moveControl("sourceFilesScrollView", 62, 38);
    EXPECT_EQ(window->control(QStringLiteral("sourceFilesScrollView"))->geometry(),
              QRect(32, 62, 636, 252));

    // Unknown names are ignored.
    window->setText("noSuchControl", "x");
    window->setHidden("noSuchControl", true);
    window->moveControl("noSuchControl", 1, 1);
}

TEST_F(WindowTest, ChangesFromAnotherThreadReachTheWindow) {
    make(dasDevice());
    std::thread worker([this] {
        window->setText("numberOfFilesAndFolders", "2 folders, 5 files: 12.35MB");
        window->setEnabled("uploadFilesButton", true);
    });
    worker.join();
    EXPECT_TRUE(waitFor([&] {
        return window->control<QLabel>(QStringLiteral("numberOfFilesAndFolders"))->text() ==
                   QStringLiteral("2 folders, 5 files: 12.35MB") &&
               window->control(QStringLiteral("uploadFilesButton"))->isEnabled();
    }));
}

TEST_F(WindowTest, UsersScreenFollowsTheController) {
    make(nasDevice());
    wizard->usersArrayController.set(List{Record{{"username", "admin"}, {"is_password", "true"}},
                                          Record{{"username", "bob"}, {"is_password", "false"}},
                                          Record{{"username", "mary"}, {"is_password", "true"}}});
    wizard->usersPopupSelectedIndex = 2;
    wizard->showPasswordField = false;
    wizard->incorrectPassword = false;
    window->showUsers(wizard->usersScreen());
    auto* popup = window->control<QComboBox>(QStringLiteral("usersPopUpButton"));
    ASSERT_NE(popup, nullptr);
    ASSERT_EQ(popup->count(), 3);
    EXPECT_EQ(popup->itemText(0), QStringLiteral("admin"));
    EXPECT_EQ(popup->itemText(2), QStringLiteral("mary"));
    EXPECT_EQ(popup->currentIndex(), 2);
    EXPECT_TRUE(window->control(QStringLiteral("passwordField"))->isHidden());
    EXPECT_TRUE(window->control(QStringLiteral("incorrectPasswordLabel"))->isHidden());

    wizard->showPasswordField = true;
    wizard->incorrectPassword = true;
    window->showUsers(wizard->usersScreen());
    EXPECT_FALSE(window->control(QStringLiteral("passwordField"))->isHidden());
    EXPECT_FALSE(window->control(QStringLiteral("incorrectPasswordLabel"))->isHidden());
}

TEST_F(WindowTest, ChoosingAUserAndTypingThePasswordReachTheController) {
    make(nasDevice());
    wizard->usersArrayController.set(List{Record{{"username", "admin"}, {"is_password", "false"}},
                                          Record{{"username", "bob"}, {"is_password", "true"}}});
    wizard->usersPopupSelectedIndex = 0;
    window->showUsers(wizard->usersScreen());
    auto* popup = window->control<QComboBox>(QStringLiteral("usersPopUpButton"));
    popup->setCurrentIndex(1);
    emit popup->activated(1);
    EXPECT_EQ(wizard->userName.get(), "bob");
    EXPECT_TRUE(wizard->showPasswordField);
    EXPECT_FALSE(window->control(QStringLiteral("passwordField"))->isHidden());

    auto* field = window->control<QLineEdit>(QStringLiteral("passwordField"));
    QTest::keyClicks(field, QStringLiteral("s3cret"));
    EXPECT_EQ(wizard->userPassword.get(), "s3cret");
}

TEST_F(WindowTest, SourceTableShowsTheRowsAndItsTickBoxesWriteThem) {
    make(dasDevice());
    const std::string a = harness.home / "home/Pictures";
    const std::string b = harness.home / "home/notes.txt";
    writeFile(a + "/one.jpg", "1");
    writeFile(b, "hello");
    Record first = source::makeSourceEntry(a, true);
    first.set("numberOfFiles", "1 file");
    first.set("numberOfFolders", "1 folder");
    wizard->sourceFilesArray.set(List{first, source::makeSourceEntry(b, true)});
    wizard->showScreen(Screen::Sources);
    window->showSources(wizard->sourcesScreen());

    auto* table = window->control<QTableView>(QStringLiteral("sourceFilesTableView"));
    ASSERT_NE(table, nullptr);
    auto* model = qobject_cast<QStandardItemModel*>(table->model());
    ASSERT_NE(model, nullptr);
    ASSERT_EQ(model->rowCount(), 2);
    EXPECT_EQ(model->item(0, 1)->text(), QStringLiteral("Pictures"));
    EXPECT_EQ(model->item(0, 1)->toolTip(), QString::fromStdString(a));
    EXPECT_EQ(model->item(0, 3)->text(), QStringLiteral("1 file"));
    EXPECT_EQ(model->item(1, 1)->text(), QStringLiteral("notes.txt"));
    EXPECT_EQ(model->item(0, 0)->checkState(), Qt::Checked);

    model->item(0, 0)->setCheckState(Qt::Unchecked);
    const List rows = wizard->sourceFilesArray.get();
    EXPECT_EQ(rows[0].asRecord()->integer("filesSelectCheckbox"), 0);
    EXPECT_EQ(rows[1].asRecord()->integer("filesSelectCheckbox"), 1);
    // The controller re-evaluates the Next button from the rows: one is still ticked.
    EXPECT_TRUE(waitFor([&] {
        return window->control(QStringLiteral("chooseSourceFilesNextButton"))->isEnabled();
    }));
}

TEST_F(WindowTest, RemoveFilesOptionIsBoundToTheController) {
    make(dasDevice());
    auto* option = window->control<QAbstractButton>(QStringLiteral("removeFilesCheckbox"));
    ASSERT_NE(option, nullptr);
    EXPECT_FALSE(option->isChecked());
    option->click();
    EXPECT_TRUE(wizard->removeFilesAfterUpload);
    option->click();
    EXPECT_FALSE(wizard->removeFilesAfterUpload);
}

TEST_F(WindowTest, StatusScreenShowsTheControllersTextsBarsAndColour) {
    make(dasDevice());
    wizard->progressStatusMsg1.set("Uploading file 3 of 10");
    wizard->progressStatusMsg2.set("Estimated time remaining: about 2 minutes");
    wizard->progressMaxValue = 8'000'000'000;
    wizard->transferProgressValue = 2'000'000'000;
    wizard->statusTextColor.set(Colour{196, 196, 196, 1.0});
    window->showStatus(wizard->statusSnapshot());
    auto* line1 = window->control<QLabel>(QStringLiteral("progressStatusMsg1"));
    EXPECT_EQ(line1->text(), QStringLiteral("Uploading file 3 of 10"));
    EXPECT_EQ(window->control<QLabel>(QStringLiteral("progressStatusMsg2"))->text(),
              QStringLiteral("Estimated time remaining: about 2 minutes"));
    line1->ensurePolished();
    EXPECT_EQ(line1->palette().color(QPalette::WindowText), QColor(196, 196, 196));
    auto* bar =
        window->control<QVTransferProgressIndicator>(QStringLiteral("transferProgressIndicator"));
    EXPECT_EQ(bar->value(), bar->maximum() / 4);
}

TEST_F(WindowTest, ModalRunsEndWithTheirCode) {
    make(dasDevice());
    QTimer::singleShot(0, [&] {
        EXPECT_EQ(window->modalDepth(), 1);
        EXPECT_TRUE(window->dialog(Dialog::DeviceFull)->isVisible());
        window->dialog(Dialog::DeviceFull)->done(7);
    });
    EXPECT_EQ(window->runModal(Dialog::DeviceFull), 7);
    EXPECT_FALSE(window->dialog(Dialog::DeviceFull)->isVisible());
    EXPECT_EQ(window->modalDepth(), 0);

    // The controller ends a dialog it showed.
    QTimer::singleShot(0, [&] { window->endModal(Dialog::DeviceMissing); });
    EXPECT_EQ(window->runModal(Dialog::DeviceMissing), QtTransferWindow::kModalStopped);

    QTimer::singleShot(0, [&] { window->stopModal(); });
    EXPECT_EQ(window->runModal(Dialog::LostConnection), QtTransferWindow::kModalStopped);
}

TEST_F(WindowTest, ModalRunFromAnotherThreadRunsOnTheWindowsThread) {
    make(dasDevice());
    std::atomic<int> code{-1};
    std::atomic<bool> ranOnWindowThread{false};
    // The run happens inside the window thread's event loop; the timer ends it from there.
    QTimer ender;
    ender.setInterval(5);
    QObject::connect(&ender, &QTimer::timeout, [&] {
        if (!window->dialog(Dialog::DeviceMissing)->isVisible()) return;
        ranOnWindowThread = QThread::currentThread() == window->window()->thread();
        window->dialog(Dialog::DeviceMissing)->done(2);
    });
    ender.start();
    std::thread worker([&] { code = window->runModal(Dialog::DeviceMissing); });
    EXPECT_TRUE(waitFor([&] { return code.load() == 2; }));
    worker.join();
    EXPECT_TRUE(ranOnWindowThread);
}

TEST_F(WindowTest, QuitDialogButtonsAnswerThroughTheController) {
    make(dasDevice());
    QTimer::singleShot(
        0, [&] { window->control<QAbstractButton>(QStringLiteral("quitNoButton"))->click(); });
    EXPECT_EQ(window->runModal(Dialog::QuitConfirmation), QtTransferWindow::kModalStopped);
    EXPECT_FALSE(wizard->transferWindowShouldClose);
    QTimer::singleShot(
        0, [&] { window->control<QAbstractButton>(QStringLiteral("quitYesButton"))->click(); });
    EXPECT_EQ(window->runModal(Dialog::QuitConfirmation), QtTransferWindow::kModalStopped);
    EXPECT_TRUE(wizard->transferWindowShouldClose);
}

TEST_F(WindowTest, EachQuestionAnswersWhatItsButtonSays) {
    make(dasDevice());
    const auto clickLater = [&](const char* button) {
        QTimer::singleShot(0, [&, button] {
            window->control<QAbstractButton>(QString::fromLatin1(button))->click();
        });
    };
    clickLater("keepUploadingButton");
    EXPECT_EQ(window->askStopUpload({"Stop?", "Keep uploading", "Stop upload"}),
              StopAnswer::KeepUploading);
    EXPECT_EQ(window->text("stopUploadPrompt"), "Stop?");
    clickLater("stopUploadButton");
    EXPECT_EQ(window->askStopUpload({"Stop?", "Keep uploading", "Stop upload"}),
              StopAnswer::StopUpload);
    clickLater("systemFilesCancelButton");
    EXPECT_EQ(window->askMoveProtectedFiles({"Move them?"}), ProtectedFilesAnswer::StayOnSources);
    EXPECT_EQ(window->text("containsSystemFilesText"), "Move them?");
    clickLater("systemFilesContinueButton");
    EXPECT_EQ(window->askMoveProtectedFiles({"Move them?"}), ProtectedFilesAnswer::Continue);
    clickLater("lostConnectionRetryButton");
    EXPECT_EQ(window->askLostConnection(), LostConnectionAnswer::Retry);
    clickLater("lostConnectionCancelButton");
    EXPECT_EQ(window->askLostConnection(), LostConnectionAnswer::Cancel);
    // Escape closes a question without a choice.
    QTimer::singleShot(0, [&] { window->dialog(Dialog::CancelUploadConfirm)->reject(); });
    EXPECT_EQ(window->askStopUpload({"Stop?", "Keep uploading", "Stop upload"}),
              StopAnswer::Dismissed);
}

TEST_F(WindowTest, TheDeviceDialogsCloseWithTheirButton) {
    make(dasDevice());
    for (const auto& [which, button] :
         {std::pair{Dialog::DeviceMissing, "closeDeviceMissingButton"},
          std::pair{Dialog::DeviceFull, "closeDeviceFullButton"}}) {
        QTimer::singleShot(0, [&, button = button] {
            window->control<QAbstractButton>(QString::fromLatin1(button))->click();
        });
        if (which == Dialog::DeviceMissing)
            window->showDeviceMissing();
        else
            window->showDeviceFull();
        EXPECT_FALSE(window->dialog(which)->isVisible());
        EXPECT_EQ(window->modalDepth(), 0);
    }
}

TEST_F(WindowTest, ProtectedFilesCancelStaysOnTheSourcesAndForgetsTheProtectedPaths) {
    make(dasDevice());
    const std::string home = harness.services.folders.home;
    wizard->sourceFilesArray.set(
        List{Record{{"filesSelectCheckbox", 1}, {"fullFilePath", home + "/Library/x"}}});
    wizard->setRemoveFilesAfterUpload(true);
    wizard->showScreen(Screen::Sources);
    QTimer::singleShot(0, [&] {
        window->control<QAbstractButton>(QStringLiteral("systemFilesCancelButton"))->click();
    });
    wizard->selectDestinationForFileTransfer();
    EXPECT_TRUE(wizard->excludeSourceFilesArray.get().empty());
    const Screen* shown = wizard->currentTransferView();
    ASSERT_TRUE(shown);
    EXPECT_EQ(*shown, Screen::Sources);
}

TEST_F(WindowTest, ClosingTheWindowAsksTheController) {
    make(dasDevice());
    auto delegate = std::make_shared<RecordingFullDelegate>();
    wizard->setDelegate(delegate);
    wizard->transferWindowShouldClose = false;
    window->bringToFront();
    ASSERT_TRUE(window->window()->isVisible());
    EXPECT_TRUE(window->window()->close());
    EXPECT_FALSE(window->window()->isVisible());
    EXPECT_TRUE(wizard->transferWindowShouldClose);
    // Nothing was uploaded: the controller ends the session.
    EXPECT_TRUE(waitFor([&] { return delegate->cancelCount.load() == 1; }));
}

TEST_F(WindowTest, ClosingFromTheControllerDoesNotAsk) {
    make(dasDevice());
    auto delegate = std::make_shared<RecordingFullDelegate>();
    wizard->setDelegate(delegate);
    wizard->transferWindowShouldClose = false;
    window->bringToFront();
    window->closeWindow();
    EXPECT_FALSE(window->window()->isVisible());
    EXPECT_FALSE(wizard->transferWindowShouldClose);
    harness.services.dispatch->waitIdle(10.0);
    EXPECT_EQ(delegate->cancelCount.load(), 0);
}

TEST_F(WindowTest, BackFromTheSourcesOfALocalDiskLeavesTheWizard) {
    make(dasDevice());
    auto delegate = std::make_shared<RecordingFullDelegate>();
    wizard->setDelegate(delegate);
    window->bringToFront();
    wizard->showScreen(Screen::Sources);
    window->control<QAbstractButton>(QStringLiteral("sourceFilesBackButton"))->click();
    EXPECT_EQ(delegate->backCount.load(), 1);
    EXPECT_FALSE(window->window()->isVisible());
}

TEST_F(WindowTest, BackFromTheDestinationShowsTheSources) {
    make(dasDevice());
    wizard->showScreen(Screen::Destination);
    window->control<QAbstractButton>(QStringLiteral("destinationBackButton"))->click();
    EXPECT_EQ(window->mainArea()->currentWidget(), window->screenView(Screen::Sources));
}

TEST_F(WindowTest, ZeroStateShowsItsOwnHeadingAndDropArea) {
    Record device = dasDevice();
    device.set("isZeroState", true);
    make(device);
    EXPECT_FALSE(window->control(QStringLiteral("zeroUploadWindowHeading"))->isHidden());
    EXPECT_TRUE(window->control(QStringLiteral("uploadWindowHeading"))->isHidden());
    EXPECT_FALSE(window->control(QStringLiteral("zeroStateDropArea"))->isHidden());

    WindowTest::TearDown();
    make(dasDevice());
    EXPECT_TRUE(window->control(QStringLiteral("zeroUploadWindowHeading"))->isHidden());
    EXPECT_FALSE(window->control(QStringLiteral("uploadWindowHeading"))->isHidden());
    EXPECT_TRUE(window->control(QStringLiteral("zeroStateDropArea"))->isHidden());
}

TEST_F(WindowTest, ViewNowLinkSitsTwoPointsAfterTheWarningAndEndsAt640AtMost) {
    make(dasDevice());
    wizard->showScreen(Screen::Status);
    window->bringToFront();
    auto* label = window->control<QLabel>(QStringLiteral("errorWarningMessage"));
    QWidget* link = window->control(QStringLiteral("showErrorsButton"));
    ASSERT_TRUE(label && link && label->parentWidget() && label->parentWidget()->layout());
    QWidget* row = label->parentWidget();
    const auto place = [&](const std::string& warning) {
        wizard->statusControls.with([&](auto& s) {
            s.errorWarningMessage = warning;
            s.viewNowTitle = "View now";
        });
        window->showStatus(wizard->statusSnapshot());
        EXPECT_FALSE(label->isHidden());
        EXPECT_FALSE(link->isHidden());
        row->layout()->activate();
    };

    place("3 files failed to upload");
    EXPECT_EQ(link->x(), label->x() + label->width() + 2);
    // The text is whole, and does not touch the link.
    EXPECT_GE(label->width(), label->fontMetrics().horizontalAdvance(label->text()) + 3);
    EXPECT_EQ(link->width(), link->sizeHint().width());

    // A warning too long for the line: the link keeps its width and ends at 640.
    place(std::string(300, 'W'));
    EXPECT_LE(row->x() + link->x() + link->width(), 640);
    EXPECT_GE(row->x() + link->x() + link->width(), 638);
    EXPECT_EQ(link->width(), link->sizeHint().width());
    EXPECT_EQ(link->x(), label->x() + label->width() + 2);
}

TEST_F(WindowTest, ViewNowOpensTheFailedListWhoseButtonsAct) {
    make(dasDevice());
    wizard->failedTransferArray.set(
        List{Record{{"sourceFilePath", std::string("/tmp/sources/holiday.jpg")},
                    {"destFilePath", std::string("/tmp/destination/holiday.jpg")},
                    {"localizedError", std::string("Permission denied")}}});
    wizard->job().setFailed(true);
    wizard->job().complete();
    wizard->statusControls.with([&](auto& s) {
        s.errorWarningMessage = "1 file failed to upload";
        s.viewNowTitle = "View now";
    });
    wizard->showScreen(Screen::Status);
    window->bringToFront();
    window->showStatus(wizard->statusSnapshot());

    auto* viewNow = window->control<QAbstractButton>(QStringLiteral("showErrorsButton"));
    ASSERT_TRUE(viewNow && viewNow->isEnabled());
    viewNow->click();
    QDialog* errors = window->dialog(Dialog::UploadErrors);
    ASSERT_TRUE(errors);
    ASSERT_TRUE(waitFor([&] {
        QCoreApplication::processEvents();
        return errors->isVisible();
    }));
    auto* list = window->control<QTreeView>(QStringLiteral("failedListOutlineView"));
    ASSERT_TRUE(list && list->model());
    ASSERT_EQ(list->model()->rowCount(), 1);
    EXPECT_EQ(list->model()->index(0, 0).data().toString(), QStringLiteral("holiday.jpg"));

    // The details switch puts each reason under its name, and takes it away again.
    auto* details = window->control<QAbstractButton>(QStringLiteral("showHideDetailsButton"));
    ASSERT_TRUE(details && details->isEnabled());
    details->click();
    QCoreApplication::processEvents();
    EXPECT_EQ(list->model()->index(0, 0).data().toString(),
              QStringLiteral("holiday.jpg\nPermission denied"));
    savePicture(errors->grab().toImage(), "failed-files-details");
    details->click();
    QCoreApplication::processEvents();
    EXPECT_EQ(list->model()->index(0, 0).data().toString(), QStringLiteral("holiday.jpg"));

    // Dismiss All gives the failures up: the window closes and the session ends.
    auto* dismiss = window->control<QAbstractButton>(QStringLiteral("dismissAllButton"));
    ASSERT_TRUE(dismiss && dismiss->isEnabled());
    dismiss->click();
    ASSERT_TRUE(waitFor([&] {
        QCoreApplication::processEvents();
        return !errors->isVisible();
    }));
    EXPECT_TRUE(wizard->uploadCancelled());
    EXPECT_TRUE(wizard->failedTransferArray.get().empty());
}

TEST_F(WindowTest, AResumeWithNothingToTakeUpSaysSoAndItsCloseButtonEndsTheSession) {
    make(dasDevice({}, "Demo Drive"));
    auto delegate = std::make_shared<RecordingFullDelegate>();
    wizard->setDelegate(delegate);
    wizard->resumeFileTransferAfterRestart();
    QMessageBox* box = nullptr;
    ASSERT_TRUE(waitFor([&] {
        box = window->window()->findChild<QMessageBox*>(QStringLiteral("resumeProblemMessage"));
        return box && box->isVisible();
    }));
    EXPECT_EQ(box->text().toStdString(),
              "There is no interrupted upload to Demo Drive to take up.");
    savePicture(box->grab().toImage(), "dialog-resumeProblem");
    auto* close = box->findChild<QPushButton*>(QStringLiteral("resumeProblemCloseButton"));
    ASSERT_NE(close, nullptr);
    EXPECT_EQ(close->text().toStdString(), wizard->localeCLOSE_btn);
    EXPECT_TRUE(close->isDefault());
    // The progress screen never showed.
    const Screen* shown = wizard->currentTransferView();
    EXPECT_FALSE(shown && *shown == Screen::Status);
    close->click();
    EXPECT_TRUE(waitFor([&] { return !window->window()->isVisible(); }));
    // Nothing was uploaded: the host hears that the session ended.
    EXPECT_TRUE(waitFor([&] { return delegate->cancelCount.load() == 1; }));
}
