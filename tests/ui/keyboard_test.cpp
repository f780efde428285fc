// The window with the keyboard alone and for assistive technology: every control that acts
// takes the focus and has a name, dialogs open on their safe choice, Return and Escape answer.
#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QComboBox>
#include <QDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QTest>
#include <QTimer>
#include <set>

#include "source/source_entry.h"
#include "window_fixture.h"

namespace qvt::test {
namespace {

// The named controls of the window and its dialogs that a user acts on.
std::vector<QWidget*> actingControls(QWidget* root) {
    std::vector<QWidget*> out;
    for (QWidget* w : root->findChildren<QWidget*>()) {
        if (w->objectName().isEmpty() || w->objectName().startsWith(QLatin1String("qt_"))) continue;
        if (qobject_cast<QHeaderView*>(w)) continue;
        if (qobject_cast<QAbstractButton*>(w) || qobject_cast<QLineEdit*>(w) ||
            qobject_cast<QComboBox*>(w) || qobject_cast<QAbstractItemView*>(w))
            out.push_back(w);
    }
    return out;
}

QString accessibleName(QWidget* w) {
    QAccessibleInterface* a = QAccessible::queryAccessibleInterface(w);
    return a ? a->text(QAccessible::Name) : QString();
}

// Sends `key` where the keyboard would: the focused control of `box`, or `box` itself.
void pressKey(QWidget* box, Qt::Key key) {
    QWidget* target = box->focusWidget() ? box->focusWidget() : box;
    QTest::keyClick(target, key);
}

TEST_F(WindowTest, EveryControlThatActsTakesTheFocusAndHasAName) {
    make(nasDevice());
    const std::vector<QWidget*> controls = actingControls(window->window());
    ASSERT_GT(controls.size(), 20u);
    for (QWidget* w : controls) {
        const std::string name = w->objectName().toStdString();
        EXPECT_TRUE(w->focusPolicy() & Qt::TabFocus) << name << " cannot take the focus";
        EXPECT_FALSE(accessibleName(w).isEmpty()) << name << " has no accessible name";
    }
    // The icon buttons and the fields are named after what they do.
    EXPECT_EQ(accessibleName(window->control(QStringLiteral("pauseResumeTransferButton"))),
              QStringLiteral("Pause upload"));
    EXPECT_EQ(accessibleName(window->control(QStringLiteral("stopTransferButton"))),
              QStringLiteral("Stop Upload"));
    EXPECT_EQ(accessibleName(window->control(QStringLiteral("passwordField"))),
              QString::fromStdString(*wizard->localeText("PASSWORD_txt")));
    // Each dialog is named after its question.
    for (QDialog* box : window->window()->findChildren<QDialog*>())
        EXPECT_FALSE(box->accessibleName().isEmpty()) << box->objectName().toStdString();
}

// The source list by keyboard: Space ticks and unticks the current row, Delete takes it off.
TEST_F(WindowTest, SpaceTicksAndDeleteRemovesTheCurrentSourceRow) {
    make(dasDevice());
    const std::string a = harness.home / "home/Pictures";
    const std::string b = harness.home / "home/notes.txt";
    writeFile(a + "/one.jpg", "1");
    writeFile(b, "hello");
    wizard->sourceFilesArray.set(
        List{source::makeSourceEntry(a, true), source::makeSourceEntry(b, true)});
    wizard->showScreen(Screen::Sources);
    window->showSources(wizard->sourcesScreen());
    auto* table = window->control<QAbstractItemView>(QStringLiteral("sourceFilesTableView"));
    ASSERT_NE(table, nullptr);
    table->setCurrentIndex(table->model()->index(0, 1));

    QTest::keyClick(table, Qt::Key_Space);
    EXPECT_EQ(wizard->sourceFilesArray.get()[0].asRecord()->integer("filesSelectCheckbox"), 0);
    QTest::keyClick(table, Qt::Key_Space);
    EXPECT_EQ(wizard->sourceFilesArray.get()[0].asRecord()->integer("filesSelectCheckbox"), 1);

    QTest::keyClick(table, Qt::Key_Delete);
    ASSERT_TRUE(waitFor([&] { return wizard->sourceFilesArray.get().size() == 1; }));
    EXPECT_EQ(wizard->sourceFilesArray.get()[0].asRecord()->string("fullFilePath"), b);
    EXPECT_TRUE(waitFor([&] { return table->model()->rowCount() == 1; }));
}

// The list is shown anew whenever a count ends or a tick changes the totals: the row the
// keyboard is on stays current, so Space and Delete go on acting without an arrow key first.
TEST_F(WindowTest, TheCurrentSourceRowStaysCurrentWhenTheListIsShownAnew) {
    make(dasDevice());
    const std::string home = harness.home / "home";
    std::vector<std::string> paths;
    for (const char* name : {"a.txt", "b.txt", "c.txt"}) {
        paths.push_back(home + "/" + name);
        writeFile(paths.back(), name);
    }
    wizard->sourceFilesArray.set(List{source::makeSourceEntry(paths[0], true),
                                      source::makeSourceEntry(paths[1], true),
                                      source::makeSourceEntry(paths[2], true)});
    wizard->showScreen(Screen::Sources);
    window->showSources(wizard->sourcesScreen());
    auto* table = window->control<QAbstractItemView>(QStringLiteral("sourceFilesTableView"));
    ASSERT_NE(table, nullptr);
    table->setFocus();
    QTest::keyClick(table, Qt::Key_Home);
    QTest::keyClick(table, Qt::Key_Down);
    // The row the arrow keys reach is shown as the current one, all of it.
    EXPECT_EQ(table->currentIndex().row(), 1);
    EXPECT_TRUE(table->selectionModel()->isRowSelected(1, QModelIndex()));

    QTest::keyClick(table, Qt::Key_Space);
    EXPECT_EQ(wizard->sourceFilesArray.get()[1].asRecord()->integer("filesSelectCheckbox"), 0);
    window->showSources(wizard->sourcesScreen());
    ASSERT_TRUE(table->currentIndex().isValid());
    EXPECT_EQ(table->currentIndex().row(), 1);
    EXPECT_TRUE(table->selectionModel()->isRowSelected(1, QModelIndex()));
    QTest::keyClick(table, Qt::Key_Space);
    EXPECT_EQ(wizard->sourceFilesArray.get()[1].asRecord()->integer("filesSelectCheckbox"), 1);

    // Delete takes the row off; the one after it becomes current, and Delete goes on.
    QTest::keyClick(table, Qt::Key_Delete);
    ASSERT_TRUE(waitFor([&] { return table->model()->rowCount() == 2; }));
    ASSERT_TRUE(table->currentIndex().isValid());
    EXPECT_EQ(table->currentIndex().row(), 1);
    QTest::keyClick(table, Qt::Key_Delete);
    ASSERT_TRUE(waitFor([&] { return table->model()->rowCount() == 1; }));
    EXPECT_EQ(wizard->sourceFilesArray.get()[0].asRecord()->string("fullFilePath"), paths[0]);
    // The last row gone, the one before it is current, and shown so.
    ASSERT_TRUE(table->currentIndex().isValid());
    EXPECT_EQ(table->currentIndex().row(), 0);
    EXPECT_TRUE(table->selectionModel()->isRowSelected(0, QModelIndex()));
}

// A row taken off above the one the keyboard is on (with the mouse, say) leaves the keyboard on
// the same source, which has moved up.
TEST_F(WindowTest, TheCurrentSourceStaysCurrentWhenARowAboveItGoes) {
    make(dasDevice());
    const std::string home = harness.home / "home";
    std::vector<std::string> paths;
    List rows;
    for (const char* name : {"a.txt", "b.txt", "c.txt"}) {
        paths.push_back(home + "/" + name);
        writeFile(paths.back(), name);
        rows.push_back(source::makeSourceEntry(paths.back(), true));
    }
    wizard->sourceFilesArray.set(rows);
    wizard->showScreen(Screen::Sources);
    window->showSources(wizard->sourcesScreen());
    auto* table = window->control<QAbstractItemView>(QStringLiteral("sourceFilesTableView"));
    ASSERT_NE(table, nullptr);
    table->setCurrentIndex(table->model()->index(1, 1));

    wizard->processDeleteFiles(0);
    ASSERT_TRUE(waitFor([&] { return table->model()->rowCount() == 2; }));
    ASSERT_TRUE(table->currentIndex().isValid());
    EXPECT_EQ(table->currentIndex().row(), 0);
    EXPECT_TRUE(table->selectionModel()->isRowSelected(0, QModelIndex()));
    QTest::keyClick(table, Qt::Key_Space);
    EXPECT_EQ(wizard->sourceFilesArray.get()[0].asRecord()->string("fullFilePath"), paths[1]);
    EXPECT_EQ(wizard->sourceFilesArray.get()[0].asRecord()->integer("filesSelectCheckbox"), 0);
    EXPECT_EQ(wizard->sourceFilesArray.get()[1].asRecord()->integer("filesSelectCheckbox"), 1);
}

// The destination tree's column header is read out: a name people say, not the column's
// identifier.
TEST_F(WindowTest, TheDestinationTreesHeaderIsReadable) {
    make(dasDevice());
    auto* tree = window->control<QAbstractItemView>(QStringLiteral("destinationFolderOutlineView"));
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(tree->model()->headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(),
              QStringLiteral("Folder name"));
}

TEST_F(WindowTest, ThePauseButtonsNameFollowsWhatItDoes) {
    make(dasDevice());
    wizard->showScreen(Screen::Status);
    StatusSnapshot status = wizard->statusSnapshot();
    status.pauseButtonTag = 4;
    window->showStatus(status);
    QCoreApplication::processEvents();
    EXPECT_EQ(accessibleName(window->control(QStringLiteral("pauseResumeTransferButton"))),
              QStringLiteral("Resume upload"));
    status.pauseButtonTag = 3;
    window->showStatus(status);
    QCoreApplication::processEvents();
    EXPECT_EQ(accessibleName(window->control(QStringLiteral("pauseResumeTransferButton"))),
              QStringLiteral("Pause upload"));
}

TEST_F(WindowTest, TabReachesPauseAndStopOnTheStatusScreen) {
    make(dasDevice());
    wizard->showScreen(Screen::Status);
    window->bringToFront();
    QCoreApplication::processEvents();
    QWidget* root = window->window();
    std::set<std::string> reached;
    for (int i = 0; i < 40; ++i) {
        QWidget* before = root->focusWidget();
        QTest::keyClick(before ? before : root, Qt::Key_Tab);
        if (QWidget* now = root->focusWidget()) reached.insert(now->objectName().toStdString());
    }
    EXPECT_TRUE(reached.count("pauseResumeTransferButton")) << reached.size();
    EXPECT_TRUE(reached.count("stopTransferButton"));
    EXPECT_TRUE(reached.count("statusCloseButton"));
    window->control(QStringLiteral("pauseResumeTransferButton"))->setFocus(Qt::TabFocusReason);
    savePicture(root->grab().toImage(), "status-pause-focused");

    // Space on the focused stop button presses it: the stop question comes up, and Escape
    // takes its safe answer.
    auto* stop = window->control<QAbstractButton>(QStringLiteral("stopTransferButton"));
    int pressed = 0;
    QObject::connect(stop, &QAbstractButton::clicked, [&] { ++pressed; });
    bool asked = false;
    QTimer::singleShot(0, [&] {
        QDialog* question = window->dialog(Dialog::CancelUploadConfirm);
        asked = question->isVisible();
        pressKey(question, Qt::Key_Escape);
    });
    stop->setFocus(Qt::TabFocusReason);
    QTest::keyClick(stop, Qt::Key_Space);
    EXPECT_EQ(pressed, 1);
    EXPECT_TRUE(asked);
    EXPECT_EQ(window->modalDepth(), 0);
}

// The status screen opens on its main button (Return hides the window); Tab then goes through
// it in the order the controls read: Pause, Stop, back to the main button. The first Tab lands
// on Pause, not on Stop.
TEST_F(WindowTest, TabOnTheStatusScreenGoesPauseStopThenHide) {
    make(dasDevice());
    wizard->showScreen(Screen::Status);
    window->bringToFront();
    QCoreApplication::processEvents();
    QWidget* root = window->window();
    ASSERT_TRUE(root->focusWidget());
    EXPECT_EQ(root->focusWidget()->objectName(), QStringLiteral("statusCloseButton"));
    std::vector<std::string> order;
    for (int i = 0; i < 3; ++i) {
        QWidget* before = root->focusWidget();
        QTest::keyClick(before ? before : root, Qt::Key_Tab);
        QWidget* now = root->focusWidget();
        order.push_back(now ? now->objectName().toStdString() : std::string());
    }
    EXPECT_EQ(order, (std::vector<std::string>{"pauseResumeTransferButton", "stopTransferButton",
                                               "statusCloseButton"}));
}

TEST_F(WindowTest, DialogsOpenOnTheirSafeChoiceWhichReturnAndEscapeTake) {
    make(dasDevice());
    QDialog* box = window->dialog(Dialog::CancelUploadConfirm);
    ASSERT_TRUE(box);
    const StopQuestion question{"Stop?", "Keep uploading", "Stop upload"};
    std::string focusedAtOpen;
    QTimer::singleShot(0, [&] {
        if (QWidget* f = box->focusWidget()) focusedAtOpen = f->objectName().toStdString();
        pressKey(box, Qt::Key_Escape);
    });
    EXPECT_EQ(window->askStopUpload(question), StopAnswer::KeepUploading);
    EXPECT_EQ(focusedAtOpen, "keepUploadingButton");

    QTimer::singleShot(0, [&] { pressKey(box, Qt::Key_Return); });
    EXPECT_EQ(window->askStopUpload(question), StopAnswer::KeepUploading);

    // Return presses the button that has the focus.
    QTimer::singleShot(0, [&] {
        window->control(QStringLiteral("stopUploadButton"))->setFocus(Qt::TabFocusReason);
        pressKey(box, Qt::Key_Return);
    });
    EXPECT_EQ(window->askStopUpload(question), StopAnswer::StopUpload);

    // The lost-connection question: Escape tries again rather than leaving the upload stuck.
    QTimer::singleShot(0,
                       [&] { pressKey(window->dialog(Dialog::LostConnection), Qt::Key_Escape); });
    EXPECT_EQ(window->askLostConnection(), LostConnectionAnswer::Retry);

    // The device dialogs close with Return, Space and Escape.
    for (Qt::Key key : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Escape}) {
        QTimer::singleShot(0, [&, key] { pressKey(window->dialog(Dialog::DeviceFull), key); });
        window->showDeviceFull();
        EXPECT_FALSE(window->dialog(Dialog::DeviceFull)->isVisible()) << key;
        EXPECT_EQ(window->modalDepth(), 0);
    }
}

TEST_F(WindowTest, ReturnPressesTheScreensMainButton) {
    make(dasDevice());
    wizard->showScreen(Screen::Status);
    window->bringToFront();
    QCoreApplication::processEvents();
    auto* close = window->control<QAbstractButton>(QStringLiteral("statusCloseButton"));
    ASSERT_TRUE(close);
    int pressed = 0;
    QObject::connect(close, &QAbstractButton::clicked, [&] { ++pressed; });
    // With no button focused, Return goes to the screen's main button.
    window->window()->setFocus();
    QTest::keyClick(window->window(), Qt::Key_Return);
    EXPECT_EQ(pressed, 1);
}

TEST_F(WindowTest, StatusChangesAreAnnouncedOnceAndTheCounterIsNot) {
    // What was last announced is the status line's accessible description (the alert that
    // carries it needs a running accessibility bridge, which the offscreen platform lacks).
    make(dasDevice());
    QWidget* line = window->control(QStringLiteral("progressStatusMsg1"));
    ASSERT_TRUE(line);
    const auto announced = [&] { return line->accessibleDescription().toStdString(); };

    wizard->showScreen(Screen::Status);
    StatusSnapshot status = wizard->statusSnapshot();
    status.state = engine::UploadState::Copying;
    status.line1 = "Uploading file 1 of 9";
    window->showStatus(status);
    QCoreApplication::processEvents();
    // The start is told; the counter's next step is not.
    EXPECT_EQ(announced(), "Uploading file 1 of 9");
    status.line1 = "Uploading file 2 of 9";
    window->showStatus(status);
    QCoreApplication::processEvents();
    EXPECT_EQ(announced(), "Uploading file 1 of 9");

    status.state = engine::UploadState::Paused;
    status.paused = true;
    status.line1 = "Upload paused";
    window->showStatus(status);
    QCoreApplication::processEvents();
    EXPECT_EQ(announced(), "Upload paused");

    status.state = engine::UploadState::Completed;
    status.paused = false;
    status.line1 = "8 of 9 files uploaded";
    status.warning = "1 file failed to upload";
    window->showStatus(status);
    QCoreApplication::processEvents();
    EXPECT_EQ(announced(), "8 of 9 files uploaded\n1 file failed to upload");
}

// Escape on the status screen: nothing while the upload runs (the screen's button would only
// hide the window); once it has ended, the window's Close.
TEST_F(WindowTest, EscapeClosesTheStatusScreenOnlyOnceTheUploadHasEnded) {
    make(dasDevice());
    wizard->showScreen(Screen::Status);
    window->bringToFront();
    auto* close = window->control<QAbstractButton>(QStringLiteral("statusCloseButton"));
    ASSERT_NE(close, nullptr);
    int pressed = 0;
    QObject::connect(close, &QAbstractButton::clicked, [&] { ++pressed; });
    // Escape on the status screen of an upload in `state`; how often Close was pressed so far.
    const auto escapeIn = [&](engine::UploadState state) {
        StatusSnapshot status;
        status.state = state;
        window->showStatus(status);
        QCoreApplication::processEvents();
        QTest::keyClick(window->window(), Qt::Key_Escape);
        return pressed;
    };
    EXPECT_EQ(escapeIn(engine::UploadState::Copying), 0);
    // A stopped upload: the button would hide the window too.
    EXPECT_EQ(escapeIn(engine::UploadState::Cancelled), 0);
    EXPECT_EQ(escapeIn(engine::UploadState::Completed), 1);
}

}  // namespace
}  // namespace qvt::test
