// The destination screen of the real window on the offscreen platform: the outline view over
// the destination tree, lazy expansion, the cells, the Upload button, the source screen's Next
// with the move option, and a picture of the screen with an expanded tree.
#include <gtest/gtest.h>

// Before any Qt header: the log interface has a member that Qt's "emit" keyword would hide.
#include "destination_fixture.h"
#include "support/support.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <QStackedWidget>
#include <QTest>
#include <QTimer>
#include <set>

#include "destination/folder_node.h"
#include "ui/QtTransferWindow.h"
#include "ui/destination_outline_view.h"

using namespace qvt;
using namespace qvt::desttest;
using qvt::test::Harness;
using qvt::test::TempDir;
namespace dst = qvt::destination;

namespace {

// Exposes the delegate's style decisions for one cell.
struct CellProbe : ui::DestinationCellDelegate {
    using ui::DestinationCellDelegate::DestinationCellDelegate;
    QStyleOptionViewItem optionFor(const QModelIndex& index, bool selected) const {
        QStyleOptionViewItem option;
        if (selected) option.state |= QStyle::State_Selected;
        initStyleOption(&option, index);
        return option;
    }
};

QStringList rowNames(QAbstractItemModel* model, const QModelIndex& parent) {
    QStringList names;
    for (int r = 0; r < model->rowCount(parent); ++r)
        names << model->index(r, 0, parent).data().toString();
    return names;
}

}  // namespace

class DestinationWindow : public ::testing::Test {
  protected:
    // A controller with the real window for a disk whose volumes are `volumes`.
    void open(const List& volumes) {
        h.services.viewFactory = &createQtTransferView;
        c = QVTransferPrivate::initWithDevice(dasDeviceWith(volumes), h.services);
        ASSERT_TRUE(c);
        window = dynamic_cast<QtTransferWindow*>(c->view());
        ASSERT_NE(window, nullptr);
        window->window()->show();
        tree = window->control<ui::DestinationOutlineView>(
            QStringLiteral("destinationFolderOutlineView"));
        ASSERT_NE(tree, nullptr);
        upload = window->control(QStringLiteral("uploadFilesButton"));
        ASSERT_NE(upload, nullptr);
        ASSERT_TRUE(settle(h));
    }

    void TearDown() override {
        if (c) {
            EXPECT_TRUE(settle(h));
        }
        c.reset();
    }

    bool onScreen(Screen s) const {
        return window->mainArea()->currentWidget() == window->screenView(s);
    }

    Harness h;
    TempDir t;
    std::shared_ptr<QVTransferPrivate> c;
    QtTransferWindow* window = nullptr;
    ui::DestinationOutlineView* tree = nullptr;
    QWidget* upload = nullptr;
};

TEST_F(DestinationWindow, ExpandingANodeTwiceLeavesNoDuplicates) {
    TmpfsVolume volume(t / "Archive");
    ASSERT_TRUE(volume.ok()) << "mounting needs root";
    for (const char* name : {"10", "2", "1"})
        fs::create_directories(t / (std::string("Archive/") + name));
    fs::create_directories(t / "Archive/1/inner");
    open(List{volumeRecord("Archive", t / "Archive", "x1", true)});
    ASSERT_FALSE(upload->isEnabled());

    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h));
    c->showDestinaionSharesToTransfer();
    ASSERT_TRUE(onScreen(Screen::Destination));
    // The tree is ready, but Upload waits for a selected row.
    EXPECT_FALSE(upload->isEnabled());

    auto* model = tree->model();
    ASSERT_EQ(model->rowCount(), 1);
    const QModelIndex root = model->index(0, 0);
    tree->setCurrentIndex(root);
    EXPECT_TRUE(upload->isEnabled());
    EXPECT_EQ(root.data().toString(), "Archive");
    // The placeholder makes the triangle but is not a row of its own.
    EXPECT_TRUE(model->hasChildren(root));
    EXPECT_EQ(model->rowCount(root), 0);

    tree->expand(root);
    ASSERT_TRUE(settle(h));
    EXPECT_TRUE(tree->isExpanded(root));
    EXPECT_EQ(rowNames(model, root), (QStringList{"1", "2", "10"}));
    EXPECT_TRUE(model->hasChildren(model->index(0, 0, root)));
    EXPECT_FALSE(model->hasChildren(model->index(1, 0, root)));

    tree->collapse(root);
    tree->expand(root);
    ASSERT_TRUE(settle(h));
    EXPECT_EQ(rowNames(model, root), (QStringList{"1", "2", "10"}));
    const auto inController = names(childrenOf(nodeAt(*c, {0})));
    EXPECT_EQ(inController, (std::vector<std::string>{"1", "2", "10"}));

    // A level below loads the same way and the level above stays open.
    const QModelIndex one = model->index(0, 0, root);
    tree->expand(one);
    ASSERT_TRUE(settle(h));
    EXPECT_EQ(rowNames(model, one), (QStringList{"inner"}));
    EXPECT_TRUE(tree->isExpanded(root));
}

TEST_F(DestinationWindow, UploadButtonStaysDisabledWithoutAVolume) {
    open(List{});
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h));
    c->showDestinaionSharesToTransfer();
    EXPECT_EQ(tree->model()->rowCount(), 0);
    EXPECT_FALSE(upload->isEnabled());
    EXPECT_FALSE(window->control(QStringLiteral("createNewFolderLink"))->isEnabled());
}

TEST_F(DestinationWindow, CellsUseTheTreeColoursAndTheSelectedImage) {
    open(List{});
    Record share =
        dst::makeFolderNode("Public", "/m/Public", dst::kShareImage, dst::kShareSelectedImage);
    Record folder = dst::makeFolderNode("Photos", t.path(), dst::fileIconFor(t.path()));
    c->destinationFoldersList.set(List{share, folder});
    c->rearrangeDestFilesList();
    auto* model = tree->treeModel();
    ASSERT_EQ(model->rowCount(), 2);

    CellProbe probe;
    const QModelIndex shareIndex = model->index(0, 0);
    const QModelIndex folderIndex = model->index(1, 0);
    const QStyleOptionViewItem plainShare = probe.optionFor(shareIndex, false);
    EXPECT_EQ(plainShare.palette.color(QPalette::Text), QColor(75, 90, 103));
    EXPECT_EQ(plainShare.icon.cacheKey(), model->iconForImage("cloud_up").cacheKey());
    const QStyleOptionViewItem selectedShare = probe.optionFor(shareIndex, true);
    EXPECT_EQ(selectedShare.palette.color(QPalette::HighlightedText), QColor(250, 250, 250));
    EXPECT_EQ(selectedShare.icon.cacheKey(), model->iconForImage("cloud_down").cacheKey());
    EXPECT_FALSE(model->iconForImage("cloud_up").isNull());
    EXPECT_FALSE(model->iconForImage("cloud_down").isNull());

    // A folder keeps the file system's icon when selected.
    const QStyleOptionViewItem selectedFolder = probe.optionFor(folderIndex, true);
    EXPECT_EQ(selectedFolder.palette.color(QPalette::HighlightedText), QColor(250, 250, 250));
    EXPECT_EQ(selectedFolder.icon.cacheKey(),
              model->iconForImage(dst::fileIconFor(t.path())).cacheKey());
    EXPECT_FALSE(selectedFolder.icon.isNull());
    EXPECT_EQ(folderIndex.data(Qt::ToolTipRole).toString().toStdString(), t.path());
}

TEST_F(DestinationWindow, NextWithoutTheMoveOptionGoesStraightOn) {
    open(List{});
    c->sourceFilesArray.set(List{Record{
        {"filesSelectCheckbox", 1}, {"fileName", "Documents"}, {"fullFilePath", t / "Documents"}}});
    c->showScreen(Screen::Sources);
    c->rearrangeSourceFilesList();
    c->checkIfFilesExistsInSourceList();
    ASSERT_TRUE(settle(h));
    auto* next = window->control<QAbstractButton>(QStringLiteral("chooseSourceFilesNextButton"));
    ASSERT_NE(next, nullptr);
    ASSERT_TRUE(next->isEnabled());
    auto* remove = window->control<QCheckBox>(QStringLiteral("removeFilesCheckbox"));
    ASSERT_NE(remove, nullptr);
    ASSERT_FALSE(remove->isChecked());

    next->click();
    EXPECT_TRUE(onScreen(Screen::Destination));
    EXPECT_FALSE(window->dialog(Dialog::ProtectedFiles)->isVisible());
}

TEST_F(DestinationWindow, NextWithTheMoveOptionConfirmsFirst) {
    open(List{});
    const std::string library = h.services.folders.home + "/Library/Preferences";
    for (int tag : {1, 2}) {
        c->sourceFilesArray.set(List{Record{
            {"filesSelectCheckbox", 1}, {"fileName", "Preferences"}, {"fullFilePath", library}}});
        c->showScreen(Screen::Sources);
        c->rearrangeSourceFilesList();
        c->checkIfFilesExistsInSourceList();
        ASSERT_TRUE(settle(h));
        auto* next =
            window->control<QAbstractButton>(QStringLiteral("chooseSourceFilesNextButton"));
        auto* remove = window->control<QCheckBox>(QStringLiteral("removeFilesCheckbox"));
        ASSERT_TRUE(next && remove);
        remove->setChecked(true);
        ASSERT_TRUE(c->removeFilesAfterUpload);

        QDialog* box = window->dialog(Dialog::ProtectedFiles);
        auto* button = window->control<QAbstractButton>(
            tag == 1 ? QStringLiteral("systemFilesCancelButton")
                     : QStringLiteral("systemFilesContinueButton"));
        ASSERT_TRUE(box && button);
        QString shownText;
        bool wasModal = false;
        // Presses the dialog's button once the dialog is up (its own event loop runs then).
        QTimer press;
        press.setInterval(5);
        QObject::connect(&press, &QTimer::timeout, [&] {
            if (!box->isVisible()) return;
            press.stop();
            wasModal = window->modalDepth() == 1;
            if (auto* label = window->control<QLabel>(QStringLiteral("containsSystemFilesText")))
                shownText = label->text();
            button->click();
        });
        press.start();
        next->click();
        press.stop();

        EXPECT_TRUE(wasModal);
        EXPECT_FALSE(box->isVisible());
        EXPECT_EQ(shownText.toStdString(), c->localizedString("SYSTEM_FILE_WARNING1_txt_MAC") +
                                               "\n\n" +
                                               c->localizedString("SYSTEM_FILE_WARNING2_txt_MAC"));
        if (tag == 1) {
            EXPECT_TRUE(onScreen(Screen::Sources));
            EXPECT_TRUE(c->excludeSourceFilesArray.get().empty());
        } else {
            EXPECT_TRUE(onScreen(Screen::Destination));
            EXPECT_EQ(c->excludeSourceFilesArray.get(), std::vector<std::string>{library});
        }
    }
}

TEST_F(DestinationWindow, PictureOfTheScreenWithAnExpandedTree) {
    TmpfsVolume archive(t / "Archive"), backup(t / "Backup Disk");
    ASSERT_TRUE(archive.ok() && backup.ok()) << "mounting needs root";
    for (const char* name :
         {"1", "2", "10", "Family Photos", "Invoices 2024", "Music", "Projects/Garden"})
        fs::create_directories(t / (std::string("Archive/") + name));
    fs::create_directories(t / "Backup Disk/Old Laptop");
    open(List{volumeRecord("Archive", t / "Archive", "x1", true),
              volumeRecord("Backup Disk", t / "Backup Disk", "x2", true)});
    c->populateDestinationFoldersList();
    ASSERT_TRUE(settle(h));
    c->showDestinaionSharesToTransfer();
    auto* model = tree->model();
    ASSERT_EQ(model->rowCount(), 2);
    const QModelIndex root = model->index(0, 0);
    tree->expand(root);
    ASSERT_TRUE(settle(h));
    ASSERT_EQ(rowNames(model, root),
              (QStringList{"1", "2", "10", "Family Photos", "Invoices 2024", "Music", "Projects"}));
    tree->setCurrentIndex(model->index(3, 0, root));
    QApplication::processEvents();
    const QString file = QString::fromStdString(test::outputFolder() + "/destination_screen.png");
    ASSERT_TRUE(window->window()->grab().save(file));
    EXPECT_TRUE(fs::file_size(file.toStdString()) > 0);
}

TEST_F(DestinationWindow, TriangleGoesWhenTheLevelTurnsOutEmpty) {
    open(List{});
    fs::create_directories(t / "Only/Sub");
    Record root = dst::makeFolderNode("Only", t / "Only", dst::fileIconFor(t / "Only"));
    root.set(dst::kUploadFoldersArray, List{dst::placeholderRecord()});
    c->destinationFoldersList.set(List{root});
    c->showDestinaionSharesToTransfer();
    c->rearrangeDestFilesList();
    QApplication::processEvents();
    const QModelIndex index = tree->model()->index(0, 0);

    // Dark pixels in the row's branch area, where the disclosure triangle is drawn.
    auto triangleInk = [&] {
        const QImage image = tree->viewport()->grab().toImage();
        const QRect row = tree->visualRect(index);
        int ink = 0;
        for (int y = row.top(); y <= row.bottom(); ++y)
            for (int x = 0; x < tree->indentation(); ++x)
                if (image.pixelColor(x, y).lightness() < 160) ++ink;
        return ink;
    };
    EXPECT_GT(triangleInk(), 0);

    // The sub-folder goes before the user opens the node: the level is empty after all.
    fs::remove_all(t / "Only/Sub");
    tree->expand(index);
    ASSERT_TRUE(settle(h));
    QApplication::processEvents();
    EXPECT_FALSE(tree->model()->hasChildren(index));
    EXPECT_EQ(triangleInk(), 0);
}
