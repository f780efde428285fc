// The source screen of the real window on the offscreen platform: drops, ticking through the
// table, the Next button, the spinner, deleting, the chooser, and a picture of the filled screen.
#include <gtest/gtest.h>

// Before any Qt header: the log interface has a member that Qt's "emit" keyword would hide.
#include "support/support.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileSystemModel>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QStyle>
#include <QStyleOptionViewItem>
#include <QTableView>
#include <QTest>
#include <QUrl>

#include <algorithm>
#include <filesystem>
#include <thread>

#include "source/source_entry.h"
#include "ui/QtTransferWindow.h"
#include "ui/open_panel.h"
#include "ui/screen_roles.h"
#include "ui/source_drop_view.h"
#include "ui/source_spinner.h"

namespace fs = std::filesystem;
using namespace qvt;
using namespace qvt::test;

namespace {
QString qs(const std::string& s) {
    return QString::fromStdString(s);
}
}  // namespace

class SourceScreen : public ::testing::Test {
  protected:
    void SetUp() override {
        harness.services.viewFactory = &createQtTransferView;
        controller = QVTransferPrivate::initWithDevice(dasDevice(), harness.services);
        ASSERT_TRUE(controller);
        home = controller->userHomeDirectory;
        window = dynamic_cast<QtTransferWindow*>(controller->view());
        ASSERT_NE(window, nullptr);
        controller->showScreen(Screen::Sources);
        window->window()->show();
        table = window->control<QTableView>(QStringLiteral("sourceFilesTableView"));
        ASSERT_NE(table, nullptr);
        totals = window->control<QLabel>(QStringLiteral("numberOfFilesAndFolders"));
        ASSERT_NE(totals, nullptr);
        next = window->control(QStringLiteral("chooseSourceFilesNextButton"));
        ASSERT_NE(next, nullptr);
        ASSERT_TRUE(settle());
    }

    void TearDown() override {
        if (controller) {
            EXPECT_TRUE(settle());
        }
        controller.reset();
    }

    bool settle() {
        const bool idle = waitFor([&] { return controller->dispatcher().running() == 0; }, 30);
        auto marker = std::make_shared<std::atomic<bool>>(false);
        controller->dispatcher().mainAsync([marker] { *marker = true; });
        return waitFor([&] { return marker->load(); }, 30) && idle;
    }

    int rowCount() const { return table->model()->rowCount(); }

    bool spins(int row) const {
        return table->model()
            ->index(row, ui::kSourceFilesColumn)
            .data(kSourceCountingRole)
            .toBool();
    }

    bool allCounted() {
        return waitFor(
            [&] {
                if (!settle()) return false;
                for (int r = 0; r < rowCount(); ++r)
                    if (spins(r)) return false;
                return true;
            },
            30);
    }

    void dropUrls(const std::vector<std::string>& paths) {
        auto* area =
            window->control<QVTransferDragDropSourceView>(QStringLiteral("dragDropSourceView"));
        ASSERT_NE(area, nullptr);
        QMimeData mime;
        QList<QUrl> urls;
        for (const std::string& p : paths) urls << QUrl::fromLocalFile(qs(p));
        mime.setUrls(urls);
        const QPoint at = area->rect().center();
        QDragEnterEvent enter(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(area, &enter);
        ASSERT_TRUE(enter.isAccepted());
        QDropEvent drop(QPointF(at), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(area, &drop);
        ASSERT_TRUE(drop.isAccepted());
    }

    // Clicks the row's tick box where the style draws it.
    void clickTickBox(int row) {
        const QModelIndex index = table->model()->index(row, ui::kSourceCheckColumn);
        QStyleOptionViewItem option;
        option.initFrom(table->viewport());
        option.rect = table->visualRect(index);
        option.features |= QStyleOptionViewItem::HasCheckIndicator;
        option.showDecorationSelected = false;
        const QRect box =
            table->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, table);
        ASSERT_TRUE(box.isValid());
        QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, box.center());
    }

    Harness harness;
    std::shared_ptr<QVTransferPrivate> controller;
    QtTransferWindow* window = nullptr;
    QTableView* table = nullptr;
    QLabel* totals = nullptr;
    QWidget* next = nullptr;
    std::string home;
};

TEST_F(SourceScreen, DropOfThreeFileUrlsAddsThreeRows) {
    writeFile(home + "/one.txt", std::string(100, 'a'));
    writeFile(home + "/two.txt", std::string(200, 'b'));
    writeFile(home + "/three.txt", std::string(300, 'c'));
    EXPECT_EQ(rowCount(), 0);
    dropUrls({home + "/one.txt", home + "/two.txt", home + "/three.txt"});
    EXPECT_EQ(rowCount(), 3);
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(controller->sourceFilesArray.get().size(), 3u);
    EXPECT_EQ(totals->text(), "0 folder, 3 files: 600.00bytes");
    EXPECT_EQ(table->model()->index(1, ui::kSourceNameColumn).data().toString(), "two.txt");
    EXPECT_TRUE(next->isEnabled());
    EXPECT_TRUE(controller->filesAddedAtZeroState.load());
}

TEST_F(SourceScreen, DropOfNonFileUrlsIsRefused) {
    auto* area =
        window->control<QVTransferDragDropSourceView>(QStringLiteral("dragDropSourceView"));
    ASSERT_NE(area, nullptr);
    QMimeData mime;
    mime.setUrls({QUrl("https://example.invalid/a")});
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(area, &enter);
    EXPECT_FALSE(enter.isAccepted());
    EXPECT_EQ(rowCount(), 0);
    EXPECT_TRUE(area->delegateRespondsToFileTransferDragDropSourceView());
}

TEST_F(SourceScreen, AfterTheUploadEndedTheDropAreaForgetsTheController) {
    auto* area =
        window->control<QVTransferDragDropSourceView>(QStringLiteral("dragDropSourceView"));
    ASSERT_NE(area, nullptr);
    ASSERT_TRUE(area->dragDropDelegate());
    window->detachSourceDropTarget();
    EXPECT_FALSE(area->dragDropDelegate());
    EXPECT_FALSE(area->delegateRespondsToFileTransferDragDropSourceView());
}

TEST_F(SourceScreen, TickingAndUntickingThroughTheTableUpdatesTheTotalsAndNext) {
    writeFile(home + "/a", std::string(1500, 'a'));
    writeFile(home + "/b/c", std::string(2500, 'b'));
    dropUrls({home + "/a", home + "/b"});
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(totals->text(), "1 folder, 2 files: 4.00KB");
    EXPECT_TRUE(next->isEnabled());

    clickTickBox(1);
    ASSERT_TRUE(waitFor([&] { return totals->text() == "0 folder, 1 file: 1.50KB"; }))
        << totals->text().toStdString();
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(table->model()->index(1, ui::kSourceCheckColumn).data(Qt::CheckStateRole).toInt(),
              Qt::Unchecked);
    EXPECT_TRUE(next->isEnabled());

    clickTickBox(0);
    ASSERT_TRUE(waitFor([&] { return totals->text() == "0 folder, 0 file: 0.00bytes"; }))
        << totals->text().toStdString();
    ASSERT_TRUE(allCounted());
    EXPECT_FALSE(next->isEnabled());

    clickTickBox(1);
    ASSERT_TRUE(waitFor([&] { return totals->text() == "1 folder, 1 file: 2.50KB"; }))
        << totals->text().toStdString();
    ASSERT_TRUE(allCounted());
    EXPECT_TRUE(next->isEnabled());
}

TEST_F(SourceScreen, SpinnerShowsExactlyWhileTheRowWaitsForItsCount) {
    const Record waiting = source::makeSourceEntry(home + "/pending", true);
    controller->sourceFilesArray.with([&](List& l) { l.push_back(Value(waiting)); });
    controller->rearrangeSourceFilesList();
    ASSERT_EQ(rowCount(), 1);
    EXPECT_TRUE(spins(0));
    EXPECT_FALSE(
        table->model()->index(0, ui::kSourceNameColumn).data(kSourceCountingRole).toBool());

    // The count ends and asks the table to drop the spinner.
    std::thread worker([&] {
        controller->calculateTotalNumberOfFilesFoldersAndSize(
            source::makeTotalsRequest(waiting, "add"));
    });
    worker.join();
    ASSERT_TRUE(settle());
    EXPECT_FALSE(spins(0));
}

TEST_F(SourceScreen, DeleteButtonRemovesTheRow) {
    writeFile(home + "/keep", std::string(10, 'k'));
    writeFile(home + "/gone", std::string(20, 'd'));
    dropUrls({home + "/keep", home + "/gone"});
    ASSERT_TRUE(allCounted());
    const QRect cell = table->visualRect(table->model()->index(1, ui::kSourceDeleteColumn));
    QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    ASSERT_TRUE(waitFor([&] { return rowCount() == 1; }));
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(table->model()->index(0, ui::kSourceNameColumn).data().toString(), "keep");
    EXPECT_EQ(totals->text(), "0 folder, 1 file: 10.00bytes");
}

TEST_F(SourceScreen, ToolTipIsTheFullPath) {
    writeFile(home + "/deep/er/file.txt", "x");
    dropUrls({home + "/deep/er/file.txt"});
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(table->model()->index(0, ui::kSourceNameColumn).data(Qt::ToolTipRole).toString(),
              qs(home + "/deep/er/file.txt"));
}

TEST_F(SourceScreen, ChooserTakesFilesAndFoldersTogether) {
    TempDir dir;
    writeFile(dir / "pick-file.txt", "abc");
    fs::create_directories(dir / "pick-folder");
    writeFile(dir / "other.txt", "zz");
    ui::FilesAndFoldersDialog chooser;
    chooser.setDirectory(qs(dir.path()));
    auto* list = chooser.findChild<QListView*>(QStringLiteral("listView"));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->selectionMode(), QAbstractItemView::ExtendedSelection);
    auto* model = qobject_cast<QFileSystemModel*>(list->model());
    ASSERT_NE(model, nullptr);
    ASSERT_TRUE(waitFor([&] { return model->rowCount(model->index(qs(dir.path()))) == 3; }));
    const QModelIndex file = model->index(qs(dir / "pick-file.txt"));
    const QModelIndex folder = model->index(qs(dir / "pick-folder"));
    ASSERT_TRUE(file.isValid());
    ASSERT_TRUE(folder.isValid());
    list->selectionModel()->select(file, QItemSelectionModel::Select | QItemSelectionModel::Rows);
    list->selectionModel()->select(folder, QItemSelectionModel::Select | QItemSelectionModel::Rows);
    chooser.accept();
    EXPECT_EQ(chooser.result(), QDialog::Accepted);
    QStringList chosen = chooser.chosenPaths();
    chosen.sort();
    EXPECT_EQ(chosen, (QStringList{qs(dir / "pick-file.txt"), qs(dir / "pick-folder")}));
}

// While a path is typed, the chooser selects in its view each folder the text passes
// through; the typed path is what is taken, not those folders. A typed folder is gone into.
TEST_F(SourceScreen, ChooserTakesTheFileTypedIntoItsNameFieldAndGoesIntoATypedFolder) {
    TempDir dir;
    writeFile(dir / "pick-file.txt", "abc");
    writeFile(dir / "pick-folder/inner.txt", "in");
    ui::FilesAndFoldersDialog chooser;
    chooser.setDirectory(qs(dir.path()));
    chooser.show();
    chooser.activateWindow();
    ASSERT_TRUE(waitFor([&] { return chooser.isActiveWindow(); }));
    auto* list = chooser.findChild<QListView*>(QStringLiteral("listView"));
    auto* name = chooser.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    ASSERT_TRUE(list && name);
    auto* model = qobject_cast<QFileSystemModel*>(list->model());
    ASSERT_NE(model, nullptr);
    ASSERT_TRUE(waitFor([&] { return model->rowCount(model->index(qs(dir.path()))) == 2; }));
    name->setFocus();
    QTest::keyClicks(name, qs(dir / "pick-folder"));
    chooser.accept();
    EXPECT_NE(chooser.result(), QDialog::Accepted);
    EXPECT_EQ(chooser.directory().absolutePath().toStdString(), dir / "pick-folder");
    EXPECT_TRUE(name->text().isEmpty());

    QTest::keyClicks(name, qs(dir / "pick-file.txt"));
    chooser.accept();
    EXPECT_EQ(chooser.result(), QDialog::Accepted);
    EXPECT_EQ(chooser.chosenPaths(), QStringList{qs(dir / "pick-file.txt")});
}

// Rows chosen in the view after something was typed are what is taken, folders included,
// whatever the name field still shows.
TEST_F(SourceScreen, ChooserTakesTheRowsChosenAfterTheTyping) {
    TempDir dir;
    writeFile(dir / "pick-file.txt", "abc");
    fs::create_directories(dir / "pick-folder");
    ui::FilesAndFoldersDialog chooser;
    chooser.setDirectory(qs(dir.path()));
    chooser.show();
    chooser.activateWindow();
    ASSERT_TRUE(waitFor([&] { return chooser.isActiveWindow(); }));
    auto* list = chooser.findChild<QListView*>(QStringLiteral("listView"));
    auto* name = chooser.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    ASSERT_TRUE(list && name);
    auto* model = qobject_cast<QFileSystemModel*>(list->model());
    ASSERT_TRUE(waitFor([&] { return model->rowCount(model->index(qs(dir.path()))) == 2; }));
    name->setFocus();
    QTest::keyClicks(name, QStringLiteral("pick-file.txt"));
    // The chooser selects the row the text names.
    ASSERT_TRUE(waitFor([&] {
        return list->selectionModel()->isRowSelected(model->index(qs(dir / "pick-file.txt")).row(),
                                                     model->index(qs(dir.path())));
    }));
    // The user goes to the rows (the chooser shows them as a list or with details).
    QAbstractItemView* rows = list;
    if (!rows->isVisible())
        rows = chooser.findChild<QAbstractItemView*>(QStringLiteral("treeView"));
    ASSERT_TRUE(rows && rows->isVisible());
    rows->setFocus();
    ASSERT_TRUE(waitFor([&] { return rows->hasFocus(); }));
    list->selectionModel()->select(model->index(qs(dir / "pick-folder")),
                                   QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    chooser.accept();
    EXPECT_EQ(chooser.result(), QDialog::Accepted);
    EXPECT_EQ(chooser.chosenPaths(), QStringList{qs(dir / "pick-folder")});
}

TEST_F(SourceScreen, ChooserLinkRunsTheInstalledChooser) {
    ASSERT_TRUE(static_cast<bool>(controller->sourceFilesOpenPanel));
    writeFile(home + "/chosen", "12345");
    // A scripted chooser stands in for the modal run.
    controller->sourceFilesOpenPanel = [&](std::vector<std::string>& out) {
        out = {home + "/chosen"};
        return 1;
    };
    auto* link = window->control<QAbstractButton>(QStringLiteral("chooseSourceFilesLink"));
    ASSERT_NE(link, nullptr);
    link->click();
    ASSERT_TRUE(waitFor([&] { return rowCount() == 1; }));
    ASSERT_TRUE(allCounted());
    EXPECT_EQ(totals->text(), "0 folder, 1 file: 5.00bytes");
}

TEST_F(SourceScreen, PictureOfTheFilledScreen) {
    writeFile(home + "/Documents/report.pdf", std::string(250000, 'r'));
    writeFile(home + "/Documents/notes/a.txt", std::string(1200, 'n'));
    writeFile(home + "/Pictures/holiday/IMG_0001.jpg", std::string(2400000, 'p'));
    writeFile(home + "/Pictures/holiday/IMG_0002.jpg", std::string(2600000, 'p'));
    writeFile(home + "/Music/Grüße aus Köln.mp3", std::string(4100000, 'm'));
    writeFile(home + "/budget 2024.ods", std::string(18000, 'b'));
    dropUrls({home + "/Documents", home + "/Pictures/holiday", home + "/Music/Grüße aus Köln.mp3",
              home + "/budget 2024.ods"});
    ASSERT_TRUE(allCounted());
    clickTickBox(3);
    ASSERT_TRUE(waitFor([&] { return totals->text() == "3 folders, 5 files: 9.35MB"; }))
        << totals->text().toStdString();
    ASSERT_TRUE(allCounted());
    // One more row still being counted, to show its spinner.
    controller->sourceFilesArray.with(
        [&](List& l) { l.push_back(Value(source::makeSourceEntry(home + "/Videos", true))); });
    controller->rearrangeSourceFilesList();
    ASSERT_TRUE(spins(4));
    const QImage image = window->window()->grab().toImage();
    ASSERT_FALSE(image.isNull());
    const std::string out = outputFolder() + "/source_screen.png";
    ASSERT_TRUE(image.save(qs(out)));
    EXPECT_GT(fs::file_size(out), 1000u);
    controller->sourceFilesArray.with([&](List& l) { l.pop_back(); });
}
