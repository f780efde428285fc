// The Qt window's status screen with a real upload behind it: the Upload button starts it, the
// pause, stop and close buttons reach the controller, and the screen reads well while paused
// and at the end (pictures in the test output folder).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QAbstractButton>
#include <QDialog>
#include <QLabel>
#include <QStackedWidget>
#include <QTimer>

#include "../ui/window_fixture.h"
#include "cli_fixture.h"
#include "support/lease_hold.h"
#include "ui/destination_outline_view.h"
#include "widgets/QVTransferPausedAndStopButton.h"
#include "widgets/QVTransferProgressIndicator.h"

using namespace qvt;
using namespace qvt::test;
using qvt::clitest::TmpfsVolume;

class StatusWindow : public WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        volume = std::make_unique<TmpfsVolume>(work / "Drive", 16 << 20);
        ASSERT_TRUE(volume->ok());
        std::filesystem::create_directories(volume->path() + "/Photos");
        // The first source is held, so the upload surely runs while the buttons are pressed.
        writeFile(work / "first", "the held file\n");
        hold = std::make_unique<test::LeaseHold>(work / "first");
        ASSERT_TRUE(hold->held());
        // A home as people have it: the default source folders are there (one that is not
        // would be listed among the failed items).
        for (const char* folder :
             {"Desktop", "Documents", "Downloads", "Music", "Pictures", "Videos"})
            std::filesystem::create_directories(harness.services.folders.home + "/" + folder);
        writeFile(work / "second.txt", "second\n");
        writeFile(work / "third.bin", std::string(2 << 20, 'x'));
    }
    void TearDown() override {
        if (hold) hold->release();
        WindowTest::TearDown();
        volume.reset();
    }

    // Walks the real window up to Upload, with the destination folder "Photos" selected.
    void startUpload(const std::shared_ptr<RecordingFullDelegate>& delegate) {
        make(dasDevice({volume->path()}, "Test Drive"));
        wizard->setDelegate(delegate);
        wizard->startFileTransfer();
        wizard->concludeDragOperation({work / "first", work / "second.txt", work / "third.bin"});
        ASSERT_TRUE(waitFor([&] { return wizard->totalNumberOfSourceFiles.load() == 3; }, 30));
        wizard->selectDestinationForFileTransfer();
        auto* tree = window->control<ui::DestinationOutlineView>(
            QStringLiteral("destinationFolderOutlineView"));
        ASSERT_NE(tree, nullptr);
        ASSERT_TRUE(waitFor([&] { return tree->model()->rowCount() == 1; }, 30));
        // Open the volume and select its folder, as a user would.
        tree->expand(tree->model()->index(0, 0));
        ASSERT_TRUE(
            waitFor([&] { return tree->model()->rowCount(tree->model()->index(0, 0)) == 1; }, 30));
        // Nothing is selected yet: there is no folder to upload to.
        auto* upload = window->control<QAbstractButton>(QStringLiteral("uploadFilesButton"));
        ASSERT_TRUE(waitFor([&] { return wizard->finishedPopulatingDestinationFolders.load(); }));
        EXPECT_FALSE(upload->isEnabled());
        tree->setCurrentIndex(tree->model()->index(0, 0, tree->model()->index(0, 0)));
        ASSERT_EQ(tree->selectedFolderPath().toStdString(), volume->path() + "/Photos");
        ASSERT_TRUE(waitFor([&] { return upload->isEnabled(); }, 30));
        upload->click();
        ASSERT_TRUE(waitFor([&] {
            const Screen* s = wizard->currentTransferView();
            return s && *s == Screen::Status;
        }));
        EXPECT_EQ(wizard->selectedDestinationShare.get(), volume->path() + "/Photos");
        EXPECT_EQ(window->mainArea()->currentWidget(), window->screenView(Screen::Status));
    }

    // The copy waits to open the held file: the upload is surely under way.
    bool copyUnderWay() {
        return waitFor([&] { return hold->opened(); }, 30);
    }

    QImage picture() {
        window->window()->repaint();
        return window->window()->grab().toImage();
    }

    test::TempDir work;
    std::unique_ptr<TmpfsVolume> volume;
    std::unique_ptr<test::LeaseHold> hold;
};

TEST_F(StatusWindow, PauseButtonPausesAndResumesAndTheEndReadsWell) {
    auto delegate = std::make_shared<RecordingFullDelegate>();
    startUpload(delegate);
    window->window()->show();
    auto* pause =
        window->control<QVTransferPausedAndStopButton>(QStringLiteral("pauseResumeTransferButton"));
    ASSERT_NE(pause, nullptr);
    EXPECT_EQ(pause->tag(), 3);
    ASSERT_TRUE(copyUnderWay());
    auto* line1 = window->control<QLabel>(QStringLiteral("progressStatusMsg1"));
    auto* line2 = window->control<QLabel>(QStringLiteral("progressStatusMsg2"));
    // The estimator's first pass: the files line and the estimate.
    ASSERT_TRUE(waitFor([&] { return !line2->text().isEmpty(); }));
    EXPECT_EQ(line1->text().toStdString(), wizard->progressStatusMsg1.get());
    const QImage running = picture();
    savePicture(running, "status_running");
    EXPECT_GT(colourCount(running), 8);

    pause->click();
    EXPECT_TRUE(wizard->uploadPaused());
    ASSERT_TRUE(waitFor([&] { return pause->tag() == 4; }));
    EXPECT_EQ(pause->currentImageName(), QStringLiteral("icn_resume_up.png"));
    ASSERT_TRUE(
        waitFor([&] { return line2->text().toStdString() == wizard->localeUPLOAD_PAUSED_txt; }));
    EXPECT_NE(line1->styleSheet().indexOf(QStringLiteral("rgba(196, 196, 196")), -1)
        << line1->styleSheet().toStdString();
    const QImage paused = picture();
    savePicture(paused, "status_paused");
    EXPECT_GT(colourCount(paused), 8);

    pause->click();
    EXPECT_FALSE(wizard->uploadPaused());
    ASSERT_TRUE(waitFor([&] { return pause->tag() == 3; }));
    EXPECT_EQ(pause->currentImageName(), QStringLiteral("icn_pause_up.png"));
    EXPECT_NE(line1->styleSheet().indexOf(QStringLiteral("rgba(75, 90, 104")), -1);

    hold->release();
    auto* close = window->control<QAbstractButton>(QStringLiteral("statusCloseButton"));
    ASSERT_TRUE(waitFor(
        [&] {
            return wizard->isFileTransferCompleted() &&
                   close->text().toStdString() == wizard->localeCLOSE_btn;
        },
        30));
    EXPECT_EQ(readFile(volume->path() + "/Photos/second.txt"), "second\n");
    EXPECT_EQ(readFile(volume->path() + "/Photos/third.bin"), std::string(2 << 20, 'x'));
    ASSERT_TRUE(waitFor([&] {
        return line1->text().toStdString() == wizard->localeALL_FILES_SUCCESSFULLY_UPLOADED_txt;
    }));
    auto* bar =
        window->control<QVTransferProgressIndicator>(QStringLiteral("transferProgressIndicator"));
    ASSERT_TRUE(waitFor([&] {
        return bar->progressMaximum() > 0 && bar->progressValue() == bar->progressMaximum();
    }));
    // The estimate line and the pause and stop buttons have gone.
    EXPECT_TRUE(waitFor([&] { return line2->text().isEmpty() && pause->isHidden(); }));
    EXPECT_TRUE(window->control(QStringLiteral("stopTransferButton"))->isHidden());
    const QImage done = picture();
    savePicture(done, "status_done");
    EXPECT_GT(colourCount(done), 8);

    // After the end, the close button closes the window.
    close->click();
    EXPECT_TRUE(wizard->isStatusWindowHidden);
    EXPECT_TRUE(waitFor([&] { return !window->window()->isVisible(); }));
}

TEST_F(StatusWindow, StopButtonAsksAndStopEndsTheSession) {
    auto delegate = std::make_shared<RecordingFullDelegate>();
    startUpload(delegate);
    window->window()->show();
    auto* stop = window->control<QAbstractButton>(QStringLiteral("stopTransferButton"));
    ASSERT_NE(stop, nullptr);
    QDialog* confirm = window->dialog(Dialog::CancelUploadConfirm);
    ASSERT_NE(confirm, nullptr);
    ASSERT_TRUE(copyUnderWay());
    bool sawDialog = false;
    bool pausedWhileAsking = false;
    // The question runs modally inside the click; the stop button is pressed from inside it.
    QTimer::singleShot(0, [&] {
        waitFor([&] { return confirm->isVisible(); });
        sawDialog = confirm->isVisible();
        pausedWhileAsking = wizard->uploadPaused();
        savePicture(confirm->grab().toImage(), "status_stop_question");
        if (auto* yes = window->control<QAbstractButton>(QStringLiteral("stopUploadButton")))
            yes->click();
    });
    stop->click();
    EXPECT_TRUE(sawDialog);
    EXPECT_TRUE(pausedWhileAsking);
    EXPECT_TRUE(wizard->uploadCancelled());
    EXPECT_FALSE(confirm->isVisible());
    EXPECT_TRUE(waitFor([&] { return delegate->cancelCount.load() == 1; }));
    EXPECT_TRUE(waitFor([&] { return !window->window()->isVisible(); }));
    // The walk ended at the stop: nothing after the first source went.
    hold->release();
    EXPECT_TRUE(waitFor([&] { return harness.services.dispatch->running() == 0; }, 15));
    EXPECT_FALSE(std::filesystem::exists(volume->path() + "/Photos/second.txt"));
}

TEST_F(StatusWindow, KeepUploadingResumesAndHideMinimises) {
    auto delegate = std::make_shared<RecordingFullDelegate>();
    startUpload(delegate);
    auto* stop = window->control<QAbstractButton>(QStringLiteral("stopTransferButton"));
    QDialog* confirm = window->dialog(Dialog::CancelUploadConfirm);
    ASSERT_TRUE(copyUnderWay());
    QTimer::singleShot(0, [&] {
        waitFor([&] { return confirm->isVisible(); });
        if (auto* keep = window->control<QAbstractButton>(QStringLiteral("keepUploadingButton")))
            keep->click();
    });
    stop->click();
    EXPECT_FALSE(wizard->uploadPaused());
    EXPECT_FALSE(wizard->uploadCancelled());
    auto* pause =
        window->control<QVTransferPausedAndStopButton>(QStringLiteral("pauseResumeTransferButton"));
    EXPECT_TRUE(waitFor([&] { return pause->tag() == 3; }));
    // Hide during the upload minimises the window; the upload goes on behind it.
    window->window()->show();
    window->control<QAbstractButton>(QStringLiteral("statusCloseButton"))->click();
    EXPECT_TRUE(wizard->isStatusWindowHidden);
    EXPECT_TRUE(waitFor([&] { return window->window()->isMinimized(); }));
    hold->release();
    EXPECT_TRUE(waitFor([&] { return wizard->isFileTransferCompleted(); }, 30));
    EXPECT_EQ(delegate->cancelCount.load(), 0);
}

TEST_F(StatusWindow, LostConnectionCancelEndsTheSession) {
    auto delegate = std::make_shared<RecordingFullDelegate>();
    make(dasDevice({volume->path()}, "Test Drive"));
    wizard->setDelegate(delegate);
    QDialog* lost = window->dialog(Dialog::LostConnection);
    ASSERT_NE(lost, nullptr);
    QTimer::singleShot(0, [&] {
        waitFor([&] { return lost->isVisible(); });
        if (auto* cancel =
                window->control<QAbstractButton>(QStringLiteral("lostConnectionCancelButton")))
            cancel->click();
    });
    wizard->runLostConnectionDialog(1);
    EXPECT_FALSE(lost->isVisible());
    EXPECT_TRUE(wizard->uploadCancelled());
    EXPECT_TRUE(waitFor([&] { return delegate->cancelCount.load() == 1; }));
}
