// The wizard for a network device in the real window, driven by key presses alone: the device
// simulator answers the device's requests, the test Samba server serves its shares. Every way
// the window ends (a finished upload closed, a stop confirmed, the window closed before the
// upload) lets go of what it mounted, and a share that cannot be mounted leaves nothing behind.
#include <sys/stat.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QLineEdit>
#include <QTest>
#include <QTimer>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "../../apps/devicesim/device_simulator.h"
#include "platform/files.h"
#include "support/key_focus.h"
#include "ui/QtTransferWindow.h"
#include "upload_fixture.h"

namespace qvt::uploadtest {
namespace {

static ::testing::Environment* const kSamba = mounttest::sambaEnvironment();

constexpr const char* kSerial = "SN-WINDOW";
// The device lists a share its Samba server does not have: its mount fails.
constexpr const char* kMissingShare = "Gone";

class NasWindow : public ::testing::Test {
  protected:
    void SetUp() override {
        QVT_REQUIRE_SAMBA();
        for (const auto& e : fs::directory_iterator(backing())) fs::remove_all(e.path());
        config.serialNumber = kSerial;
        config.productName = "Test Cloud";
        config.users = {{mounttest::kUser, mounttest::kPassword}};
        devicesim::SimShare share;
        share.shareName = "Private";
        share.shareAccess = {"RW"};
        devicesim::SimShare missing = share;
        missing.shareName = kMissingShare;
        config.shares = {share, missing};
        ASSERT_GT(device.start(config), 0);

        harness.services.viewFactory = &createQtTransferView;
        wizard = QVTransferPrivate::initWithDevice(
            test::nasDevice(device.address(), kSerial, "Test Cloud"), harness.services);
        ASSERT_TRUE(wizard);
        window = dynamic_cast<QtTransferWindow*>(wizard->view());
        ASSERT_NE(window, nullptr);
        home = wizard->userHomeDirectory;
    }

    void TearDown() override {
        if (window && window->window()) window->window()->hide();
        if (wizard && !wizard->isFileTransferCompleted() && !wizard->uploadCancelled())
            wizard->job().cancel();
        harness.services.dispatch->waitIdle(30);
        wizard.reset();
        device.stop();
        box.releaseMounts();
    }

    static std::string backing() {
        return mounttest::SambaEnvironment::server()->sharePath("Private");
    }
    // What the wizard's mount folder holds (it may be gone altogether).
    std::vector<std::string> leftInMountFolder() const {
        std::vector<std::string> names;
        const std::string folder = home + "/.QVTransfer";
        if (!fs::exists(folder)) return names;
        for (const auto& e : fs::directory_iterator(folder))
            names.push_back(e.path().filename().string());
        return names;
    }

    std::string logText() const {
        std::string out;
        for (const std::string& line : harness.log->lines()) out += line + "\n";
        return out;
    }
    QWidget* focused() const { return test::focusedIn(window->window()); }
    bool tabTo(const char* name) { return test::tabTo(window->window(), name); }
    bool on(Screen screen) const {
        const Screen* shown = wizard->currentTransferView();
        return shown && *shown == screen;
    }
    bool settle() {
        const bool idle = harness.services.dispatch->waitIdle(60);
        auto marker = std::make_shared<std::atomic<bool>>(false);
        harness.services.dispatch->mainAsync([marker] { *marker = true; });
        return test::waitFor([&] { return marker->load(); }, 60) && idle;
    }

    // The default folders of the source list, as every desktop has them; `pictures` files in
    // Pictures, the others empty.
    void makeDefaultFolders(int pictures) {
        for (const char* folder :
             {"Desktop", "Documents", "Downloads", "Music", "Pictures", "Videos"})
            fs::create_directories(home + "/" + folder);
        for (int i = 0; i < pictures; ++i)
            test::writeFile(home + "/Pictures/p" + std::to_string(10 + i) + ".jpg",
                            "picture " + std::to_string(i));
    }

    // Starts the wizard and signs in: the device's one account is chosen already, the password
    // is typed into its field and Return presses Next.
    void signIn() {
        wizard->startFileTransfer();
        window->bringToFront();
        window->window()->activateWindow();
        ASSERT_TRUE(test::waitFor([&] { return on(Screen::Users); }, 30));
        ASSERT_TRUE(tabTo("passwordField"));
        QTest::keyClicks(focused(), QString::fromLatin1(mounttest::kPassword));
        QTest::keyClick(focused(), Qt::Key_Return);
        ASSERT_TRUE(test::waitFor([&] { return on(Screen::Sources); }, 30))
            << (wizard->currentTransferView() ? static_cast<int>(*wizard->currentTransferView())
                                              : -1)
            << logText();
    }

    // Return on the sources screen (its main button, Next) once the sources are counted.
    void nextByReturn() {
        auto* next =
            window->control<QAbstractButton>(QStringLiteral("chooseSourceFilesNextButton"));
        ASSERT_TRUE(test::waitFor([&] { return next->isEnabled(); }, 30));
        window->window()->setFocus();
        QTest::keyClick(window->window(), Qt::Key_Return);
        ASSERT_TRUE(test::waitFor([&] { return on(Screen::Destination); }));
    }

    // On the destination screen: waits for the share list and selects the share's row with the
    // keys; the share's local path.
    std::string chooseTheShare() {
        auto* tree =
            window->control<QAbstractItemView>(QStringLiteral("destinationFolderOutlineView"));
        if (!tree || !test::waitFor(
                         [&] { return wizard->finishedPopulatingDestinationFolders.load(); }, 60)) {
            ADD_FAILURE() << "the destination list was not filled";
            return "";
        }
        // Only the share that could be mounted is listed. The rows reach the window through
        // the main thread's queue, after the list is known to be filled.
        test::waitFor([&] { return tree->model()->rowCount() != 0; });
        if (tree->model()->rowCount() != 1) {
            ADD_FAILURE() << "rows in the destination list: " << tree->model()->rowCount();
            return "";
        }
        if (!tabTo("destinationFolderOutlineView")) {
            ADD_FAILURE() << "the destination list never took the focus";
            return "";
        }
        QTest::keyClick(tree, Qt::Key_Home);
        QTest::keyClick(tree, Qt::Key_Space);
        if (!test::waitFor([&] { return !window->selectedDestinationFolder().empty(); }))
            ADD_FAILURE() << "no destination folder was selected";
        return window->selectedDestinationFolder();
    }

    mounttest::MountSandbox box;
    devicesim::DeviceSimulator device;
    devicesim::DeviceConfig config;
    test::Harness harness{UploadSession::kTimeScale};
    std::shared_ptr<QVTransferPrivate> wizard;
    QtTransferWindow* window = nullptr;
    std::string home;
};

// Lets a held copy go at the end of a test, and waits until the copy thread is out of the
// layer, which dies with the test.
struct ReleaseOnExit {
    HoldingFiles& files;
    ~ReleaseOnExit() {
        files.release();
        files.waitFreed(60);
    }
};

TEST_F(NasWindow, SignInChooseFilesUploadPauseResumeAndStopWithTheKeyboardAlone) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    ReleaseOnExit releaseOnExit{files};
    makeDefaultFolders(40);
    test::TempDir elsewhere;
    test::writeFile(elsewhere / "Trip/day one.txt", "the first day");
    ASSERT_NO_FATAL_FAILURE(signIn());

    // The chooser, opened from its link with Space: the parent folder's path typed into its
    // name field and Return go into it; Tab to the rows, Home on the folder's row, Tab on to
    // the Open button and Space take the folder.
    auto* list = window->control<QAbstractItemView>(QStringLiteral("sourceFilesTableView"));
    ASSERT_TRUE(test::waitFor([&] { return list->model()->rowCount() == 6; }, 30))
        << list->model()->rowCount();
    std::string chooserTrail;
    bool chose = false;
    QTimer::singleShot(0, [&] {
        auto* chooser = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (!chooser) return;
        const auto give = [&](const std::string& why) {
            chooserTrail = why;
            chooser->reject();
        };
        auto* name = chooser->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        if (!name || chooser->focusWidget() != name) return give("the name field has no focus");
        QTest::keyClicks(name, QString::fromStdString(elsewhere.path()));
        // The first Return may go to the completion list the field opened for the text.
        const auto inside = [&] {
            return chooser->directory().absolutePath().toStdString() == elsewhere.path();
        };
        for (int i = 0; i < 3 && !inside(); ++i) {
            QTest::keyClick(chooser->focusWidget(), Qt::Key_Return);
            test::waitFor(inside, 3);
        }
        QAbstractItemView* rows =
            chooser->findChild<QAbstractItemView*>(QStringLiteral("treeView"));
        if (!rows || !rows->isVisible())
            rows = chooser->findChild<QAbstractItemView*>(QStringLiteral("listView"));
        if (!test::waitFor([&] {
                return chooser->directory().absolutePath().toStdString() == elsewhere.path() &&
                       rows->model()->rowCount(rows->rootIndex()) == 1;
            }))
            return give("Return did not go into the typed folder: " +
                        chooser->directory().absolutePath().toStdString() + " rows " +
                        std::to_string(rows->model()->rowCount(rows->rootIndex())) + " text " +
                        name->text().toStdString());
        for (int i = 0; i < 40 && chooser->focusWidget() != rows; ++i)
            QTest::keyClick(chooser->focusWidget(), Qt::Key_Tab);
        if (chooser->focusWidget() != rows) return give("Tab never reached the rows");
        QTest::keyClick(rows, Qt::Key_Home);
        for (int i = 0; i < 40; ++i) {
            QTest::keyClick(chooser->focusWidget(), Qt::Key_Tab);
            auto* button = qobject_cast<QAbstractButton*>(chooser->focusWidget());
            if (button && button->text().remove(QLatin1Char('&')) == QLatin1String("Open")) {
                QTest::keyClick(button, Qt::Key_Space);
                chose = !chooser->isVisible();
                if (!chose) give("Open did not take the row");
                return;
            }
        }
        give("Tab never reached the Open button");
    });
    ASSERT_TRUE(tabTo("chooseSourceFilesLink"));
    QTest::keyClick(focused(), Qt::Key_Space);
    ASSERT_TRUE(chose) << chooserTrail;
    ASSERT_TRUE(test::waitFor([&] {
        const List rows = wizard->sourceFilesArray.get();
        return list->model()->rowCount() == 7 && rows.size() == 7 &&
               rows[6].asRecord()->string("fullFilePath") == elsewhere / "Trip";
    }));

    // Next by Return (the screen's main button), the share by the arrow keys.
    ASSERT_NO_FATAL_FAILURE(nextByReturn());
    const std::string share = chooseTheShare();
    ASSERT_FALSE(share.empty());
    EXPECT_TRUE(platform::files().isMountPoint(share));
    for (const std::string& name : leftInMountFolder())
        EXPECT_EQ(name.find(kMissingShare), std::string::npos) << name;

    // Upload; the copy is held on a file so the keys land while it runs.
    files.holdCopyOf("/p15.jpg");
    ASSERT_TRUE(tabTo("uploadFilesButton"));
    QTest::keyClick(focused(), Qt::Key_Space);
    ASSERT_TRUE(files.waitHeld(60)) << logText();
    ASSERT_TRUE(test::waitFor([&] { return on(Screen::Status); }));

    // Pause and resume with Space on the one button.
    auto* pause = window->control<QAbstractButton>(QStringLiteral("pauseResumeTransferButton"));
    ASSERT_TRUE(tabTo("pauseResumeTransferButton"));
    QTest::keyClick(pause, Qt::Key_Space);
    EXPECT_TRUE(test::waitFor([&] { return wizard->uploadPaused(); }));
    files.release();
    ASSERT_TRUE(files.waitFreed(60));
    files.holdCopyOf("/p30.jpg");
    ASSERT_EQ(focused(), pause);
    QTest::keyClick(pause, Qt::Key_Space);
    EXPECT_TRUE(test::waitFor([&] { return !wizard->uploadPaused(); }));
    ASSERT_TRUE(files.waitHeld(60));

    // Stop: the question opens on "keep uploading"; Tab and Space answer "stop".
    std::string focusedAtOpen;
    QTimer::singleShot(0, [&] {
        QDialog* question = window->dialog(Dialog::CancelUploadConfirm);
        if (!question || !question->isVisible()) return;
        if (QWidget* f = question->focusWidget()) focusedAtOpen = f->objectName().toStdString();
        QTest::keyClick(question->focusWidget(), Qt::Key_Tab);
        QTest::keyClick(question->focusWidget(), Qt::Key_Space);
    });
    ASSERT_TRUE(tabTo("stopTransferButton"));
    QTest::keyClick(focused(), Qt::Key_Space);
    EXPECT_EQ(focusedAtOpen, "keepUploadingButton");
    files.release();
    EXPECT_TRUE(test::waitFor([&] { return wizard->uploadCancelled(); }, 30));
    EXPECT_TRUE(test::waitFor([&] { return !window->window()->isVisible(); }, 30));
    ASSERT_TRUE(settle());

    // Nothing mounted or half-written is left; what arrived is whole.
    EXPECT_FALSE(platform::files().isMountPoint(share));
    EXPECT_EQ(leftInMountFolder(), std::vector<std::string>{});
    EXPECT_FALSE(fs::exists(backing() + "/Trip"));
    const std::set<std::string> arrived = namesIn(backing() + "/Pictures");
    // The file copied before the pause arrived; the one in hand at the stop may be taken back.
    EXPECT_TRUE(arrived.count("p15.jpg")) << arrived.size();
    EXPECT_LT(arrived.size(), 40u);
    for (const std::string& name : arrived) {
        EXPECT_EQ(name.find(".qvtransfer"), std::string::npos) << name;
        EXPECT_EQ(test::readFile(backing() + "/Pictures/" + name),
                  test::readFile(home + "/Pictures/" + name))
            << name;
    }
}

// An upload that ends with a failed file keeps its shares while the failed list can still be
// retried; Close at the end lets go of them.
TEST_F(NasWindow, AnUploadWithAFailedFileClosedWithReturnLeavesNothingMounted) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    files.failCopiesOf("/p12.jpg", EACCES);
    makeDefaultFolders(5);
    ASSERT_NO_FATAL_FAILURE(signIn());
    ASSERT_NO_FATAL_FAILURE(nextByReturn());
    const std::string share = chooseTheShare();
    ASSERT_FALSE(share.empty());
    ASSERT_TRUE(tabTo("uploadFilesButton"));
    QTest::keyClick(focused(), Qt::Key_Space);
    ASSERT_TRUE(test::waitFor([&] { return wizard->isFileTransferCompleted(); }, 60));
    ASSERT_TRUE(settle());
    EXPECT_EQ(test::readFile(backing() + "/Pictures/p13.jpg"), "picture 3");
    ASSERT_EQ(wizard->failedTransferArray.get().size(), 1u);
    EXPECT_TRUE(platform::files().isMountPoint(share));

    // Return presses Close.
    window->window()->activateWindow();
    window->window()->setFocus();
    QTest::keyClick(window->window(), Qt::Key_Return);
    EXPECT_TRUE(test::waitFor([&] { return !window->window()->isVisible(); }, 30));
    ASSERT_TRUE(settle());
    EXPECT_FALSE(platform::files().isMountPoint(share)) << logText();
    EXPECT_EQ(leftInMountFolder(), std::vector<std::string>{});
}

// The failed list by keyboard: Tab to "view now", Space opens the list on Retry All, Return
// retries; the file arrives and Return closes the window.
TEST_F(NasWindow, AFailedFileIsRetriedWithTheKeyboard) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    files.failCopiesOf("/p12.jpg", EACCES);
    makeDefaultFolders(5);
    ASSERT_NO_FATAL_FAILURE(signIn());
    ASSERT_NO_FATAL_FAILURE(nextByReturn());
    const std::string share = chooseTheShare();
    ASSERT_FALSE(share.empty());
    ASSERT_TRUE(tabTo("uploadFilesButton"));
    QTest::keyClick(focused(), Qt::Key_Space);
    ASSERT_TRUE(test::waitFor([&] { return wizard->isFileTransferCompleted(); }, 60));
    ASSERT_TRUE(settle());
    ASSERT_EQ(wizard->failedTransferArray.get().size(), 1u);
    EXPECT_FALSE(fs::exists(backing() + "/Pictures/p12.jpg"));

    // The cause goes away; the user retries.
    files.failCopiesOf("", 0);
    ASSERT_TRUE(tabTo("showErrorsButton"));
    QTest::keyClick(focused(), Qt::Key_Space);
    QDialog* failures = window->dialog(Dialog::UploadErrors);
    ASSERT_TRUE(test::waitFor([&] { return failures->isVisible(); }));
    ASSERT_NE(failures->focusWidget(), nullptr);
    EXPECT_EQ(failures->focusWidget()->objectName(), QStringLiteral("retryAllButton"));
    QTest::keyClick(failures->focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(test::waitFor([&] { return !failures->isVisible(); }));
    ASSERT_TRUE(test::waitFor(
        [&] {
            return wizard->isFileTransferCompleted() && wizard->failedTransferArray.get().empty();
        },
        60));
    ASSERT_TRUE(settle());
    EXPECT_EQ(test::readFile(backing() + "/Pictures/p12.jpg"), "picture 2");

    window->window()->activateWindow();
    window->window()->setFocus();
    QTest::keyClick(window->window(), Qt::Key_Return);
    EXPECT_TRUE(test::waitFor([&] { return !window->window()->isVisible(); }, 30));
    ASSERT_TRUE(settle());
    EXPECT_FALSE(platform::files().isMountPoint(share));
    EXPECT_EQ(leftInMountFolder(), std::vector<std::string>{});
}

TEST_F(NasWindow, ClosingTheWindowOnTheDestinationScreenLeavesNothingMounted) {
    makeDefaultFolders(1);
    ASSERT_NO_FATAL_FAILURE(signIn());
    ASSERT_NO_FATAL_FAILURE(nextByReturn());
    const std::string share = chooseTheShare();
    ASSERT_FALSE(share.empty());
    ASSERT_TRUE(platform::files().isMountPoint(share));

    // The window's close button (nothing is uploading, so nothing is asked).
    window->window()->close();
    EXPECT_TRUE(test::waitFor([&] { return !window->window()->isVisible(); }, 30));
    ASSERT_TRUE(settle());
    EXPECT_FALSE(platform::files().isMountPoint(share));
    EXPECT_EQ(leftInMountFolder(), std::vector<std::string>{});
    EXPECT_TRUE(fs::is_empty(backing()));
}

// Back from the sources and back from the accounts hands the user to the host: the shares the
// sign-in mounted go with the window.
TEST_F(NasWindow, BackAndBackAgainToTheHostLeavesNothingMounted) {
    makeDefaultFolders(1);
    ASSERT_NO_FATAL_FAILURE(signIn());
    ASSERT_TRUE(
        test::waitFor([&] { return wizard->finishedPopulatingDestinationFolders.load(); }, 60));
    ASSERT_EQ(leftInMountFolder().size(), 1u);
    ASSERT_TRUE(tabTo("sourceFilesBackButton"));
    QTest::keyClick(focused(), Qt::Key_Space);
    ASSERT_TRUE(test::waitFor([&] { return on(Screen::Users); }));
    ASSERT_TRUE(tabTo("nasUsersBackButton"));
    QTest::keyClick(focused(), Qt::Key_Space);
    EXPECT_TRUE(test::waitFor([&] { return !window->window()->isVisible(); }, 30));
    ASSERT_TRUE(settle());
    EXPECT_EQ(leftInMountFolder(), std::vector<std::string>{});
}

// The end of the desktop session while the wizard is open: before any upload the shares go at
// once; during an upload it is paused and recorded for a later resume, and the mount folder
// keeps nothing either way.
TEST_F(NasWindow, TheEndOfTheSessionBeforeAnUploadLetsGoOfTheShares) {
    makeDefaultFolders(1);
    ASSERT_NO_FATAL_FAILURE(signIn());
    ASSERT_TRUE(
        test::waitFor([&] { return wizard->finishedPopulatingDestinationFolders.load(); }, 60));
    ASSERT_EQ(leftInMountFolder().size(), 1u);
    wizard->suspendForEndOfSession();
    EXPECT_EQ(leftInMountFolder(), std::vector<std::string>{});
}

TEST_F(NasWindow, TheEndOfTheSessionDuringAnUploadRecordsItAndLeavesNoMountPoint) {
    HoldingFiles files;
    FilesOverride useFiles(&files);
    ReleaseOnExit releaseOnExit{files};
    makeDefaultFolders(20);
    ASSERT_NO_FATAL_FAILURE(signIn());
    ASSERT_NO_FATAL_FAILURE(nextByReturn());
    ASSERT_FALSE(chooseTheShare().empty());
    files.holdCopyOf("/p15.jpg");
    ASSERT_TRUE(tabTo("uploadFilesButton"));
    QTest::keyClick(focused(), Qt::Key_Space);
    ASSERT_TRUE(files.waitHeld(60));

    wizard->suspendForEndOfSession();
    EXPECT_TRUE(wizard->uploadPaused());
    EXPECT_FALSE(wizard->uploadCancelled());
    EXPECT_EQ(leftInMountFolder(), std::vector<std::string>{});
    const std::string stateFile =
        harness.services.folders.applicationSupport + "/QVTransfer/qvtransfer.plist";
    const std::string record = test::readFile(stateFile);
    EXPECT_NE(record.find("sourceFilesPendingArray"), std::string::npos) << record;
    EXPECT_NE(record.find(home + "/Pictures"), std::string::npos) << record;

    // The process may end at any moment now: no write of the record starts any more (each write
    // puts a new file in its place), so none can be cut off half done.
    struct stat before {};
    ASSERT_EQ(stat(stateFile.c_str(), &before), 0);
    wizard->saveQVTransferDataToFile();
    struct stat after {};
    ASSERT_EQ(stat(stateFile.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    // A process that goes on after all: once the upload goes on, so do the writes.
    wizard->resumeTransfer();
    ASSERT_FALSE(wizard->uploadPaused());
    wizard->saveQVTransferDataToFile();
    ASSERT_EQ(stat(stateFile.c_str(), &after), 0);
    EXPECT_NE(after.st_ino, before.st_ino);
    // Paused again for the end of the test, as the session's end left it.
    wizard->pauseTransfer();
}

}  // namespace
}  // namespace qvt::uploadtest
