// The window's one-time set-up from the loaded definition: window and dialog chrome, the
// definition's own properties (hidden controls, images, localised texts), the lists and the
// zero-state variant of the screens.
#include <QBoxLayout>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QTableView>
#include <QTreeView>
#include <algorithm>

#include "session/view_actions.h"
#include "ui/QtTransferWindow.h"
#include "ui/open_panel.h"
#include "ui/screen_roles.h"
#include "ui/source_drop_view.h"
#include "ui/source_spinner.h"
#include "ui/transfer_window_widget.h"
#include "widgets/ImageAndTextCell.h"
#include "widgets/QVTransferLinkButton.h"
#include "widgets/framework_images.h"

namespace qvt {

namespace {

const char* const kWindowTitle = "Tessaly";
const char* const kTitleImage = "QVTransferWindowTitleImage.png";
const QColor kWindowBackground(250, 250, 250);
constexpr Qt::WindowFlags kChromeFlags =
    Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;

QFont arial(int pointSize) {
    QFont f(QStringLiteral("Arial"));
    f.setPointSize(pointSize);
    return f;
}

void giveChrome(QWidget* window) {
    window->setWindowTitle(QString::fromLatin1(kWindowTitle));
    window->setWindowFilePath(QString::fromLatin1(kWindowTitle));
    window->setWindowIcon(widgets::frameworkIcon(QString::fromLatin1(kTitleImage)));
    QPalette palette = window->palette();
    palette.setColor(QPalette::Window, kWindowBackground);
    window->setPalette(palette);
    window->setAutoFillBackground(true);
}

// The size an image label shows its image at: the label's fixed size when it has one, its
// own size when it is placed by hand, else the image's natural size.
QSize imageSizeFor(const QLabel* label, const QIcon& icon) {
    if (!label->minimumSize().isEmpty()) return label->minimumSize();
    if (!label->parentWidget() || !label->parentWidget()->layout()) return label->size();
    const QList<QSize> sizes = icon.availableSizes();
    return sizes.isEmpty() ? QSize(24, 24) : sizes.first();
}

}  // namespace

bool QtTransferWindow::describesWizard(const QWidget* root) {
    if (!root->findChild<QStackedWidget*>(QStringLiteral("mainTransferView"))) return false;
    if (!root->findChild<QWidget*>(QStringLiteral("emptyTransferView"))) return false;
    for (Screen s : {Screen::Users, Screen::Sources, Screen::Destination, Screen::Status})
        if (!root->findChild<QWidget*>(QString::fromLatin1(screenName(s)))) return false;
    for (Dialog d :
         {Dialog::UploadErrors, Dialog::LostConnection, Dialog::DeviceMissing, Dialog::DeviceFull,
          Dialog::ProtectedFiles, Dialog::QuitConfirmation, Dialog::CancelUploadConfirm})
        if (!root->findChild<QDialog*>(QString::fromLatin1(dialogName(d)))) return false;
    return true;
}

void QtTransferWindow::setUpWindow() {
    // Only the close button: the wizard is neither minimised nor zoomed.
    root_->setWindowFlags(Qt::Window | kChromeFlags);
    root_->setFixedSize(root_->size());
    giveChrome(root_.get());
    for (QDialog* box : root_->findChildren<QDialog*>()) setUpDialog(box);

    applyDefinitionProperties();
    applyLocaleTexts();
    setUpLists();
    setUpZeroState();
    installOpenPanel();
    connectActions();
    setUpKeyboard();

    root_->shouldClose = [this] {
        if (closingProgrammatically_) return true;
        return actions_.windowShouldClose();
    };
    root_->willClose = [this] { actions_.windowWillClose(); };
    showScreen(nullptr);
}

void QtTransferWindow::setUpDialog(QDialog* box) {
    box->setWindowFlags(Qt::Dialog | kChromeFlags);
    giveChrome(box);
    box->setModal(true);
}

void QtTransferWindow::applyDefinitionProperties() {
    QList<QWidget*> widgets = root_->findChildren<QWidget*>();
    for (QWidget* w : widgets) {
        if (auto* label = qobject_cast<QLabel*>(w)) {
            // Names of files and devices are shown as they are, never read as markup.
            label->setTextFormat(Qt::PlainText);
            const QString image = label->property("image").toString();
            if (!image.isEmpty()) {
                const QIcon icon = widgets::frameworkIcon(image);
                label->setPixmap(icon.pixmap(imageSizeFor(label, icon)));
            }
        }
        if (auto* link = qobject_cast<QVTransferLinkButton*>(w)) {
            const QString normal = link->property("defaultImage").toString();
            const QString hovered = link->property("hoveredImage").toString();
            if (!normal.isEmpty())
                link->setUpImages(widgets::frameworkIcon(normal),
                                  hovered.isEmpty() ? QIcon() : widgets::frameworkIcon(hovered));
            link->setUpTitle(link->text(), arial(13), link->textAlignment());
        }
        if (w->property("hidden").toBool()) w->hide();
    }
}

void QtTransferWindow::applyLocaleTexts() {
    for (QWidget* w : root_->findChildren<QWidget*>()) {
        const QString key = w->property("localeText").toString();
        if (!key.isEmpty()) {
            if (const auto text = actions_.localeText(key.toStdString()))
                applyText(w, QString::fromStdString(*text));
        }
        const QString placeholderKey = w->property("localePlaceholder").toString();
        if (auto* field = qobject_cast<QLineEdit*>(w); field && !placeholderKey.isEmpty()) {
            if (const auto text = actions_.localeText(placeholderKey.toStdString()))
                field->setPlaceholderText(QString::fromStdString(*text));
        }
    }
}

void QtTransferWindow::setUpLists() {
    if (auto* table = control<QTableView>(QStringLiteral("sourceFilesTableView"))) {
        sourceModel_ = new QStandardItemModel(0, ui::kSourceColumnCount, table);
        for (int c = 0; c < ui::kSourceColumnCount; ++c)
            sourceModel_->setHeaderData(c, Qt::Horizontal,
                                        QString::fromLatin1(ui::kSourceColumnIdentifiers[c]),
                                        ui::kColumnIdentifierRole);
        table->setModel(sourceModel_);
        table->setItemDelegateForColumn(ui::kSourceNameColumn, new ImageAndTextCell(table));
        // Source list: the count cell spins while its row is being counted.
        installSourceCountSpinner(table, ui::kSourceFilesColumn);
        table->horizontalHeader()->hide();
        table->verticalHeader()->hide();
        table->verticalHeader()->setDefaultSectionSize(34);
        table->setAlternatingRowColors(true);
        QHeaderView* header = table->horizontalHeader();
        header->setMinimumSectionSize(24);
        header->setSectionResizeMode(QHeaderView::Fixed);
        header->setSectionResizeMode(ui::kSourceNameColumn, QHeaderView::Stretch);
        table->setColumnWidth(ui::kSourceCheckColumn, 30);
        table->setColumnWidth(ui::kSourceFoldersColumn, 104);
        table->setColumnWidth(ui::kSourceFilesColumn, 104);
        table->setColumnWidth(ui::kSourceDeleteColumn, 36);
        table->setMouseTracking(true);
    }
    if (auto* tree = control<QTreeView>(QStringLiteral("destinationFolderOutlineView"))) {
        // The cancel button of a new folder sits in the tree, beside the folder's name.
        if (QWidget* cancel = control(QStringLiteral("deleteNewFolderButton"))) {
            const bool hidden = cancel->isHidden();
            cancel->setParent(tree->viewport());
            cancel->setHidden(hidden);
        }
    }
    if (auto* failed = control<QTreeView>(QStringLiteral("failedListOutlineView"))) {
        failedModel_ = new QStandardItemModel(0, 1, failed);
        failed->setModel(failedModel_);
        // The rows' height comes with the list's contents.
        failed->setItemDelegate(new ImageAndTextCell(failed));
        failed->setAlternatingRowColors(true);
    }
}

void QtTransferWindow::fitDropHintBesideTotals() {
    auto* totals = control<QLabel>(QStringLiteral("numberOfFilesAndFolders"));
    QWidget* hint = control(QStringLiteral("dropHintRow"));
    // In the zero state the hint lives in the drop area, which has a line of its own.
    if (!totals || !hint || hint->parentWidget() != totals->parentWidget()) return;
    constexpr int kGap = 12;
    const int text = totals->text().isEmpty()
                         ? 0
                         : totals->fontMetrics().horizontalAdvance(totals->text()) + kGap;
    const int right = totals->geometry().right() + 1 - text;
    hint->resize(std::max(0, right - hint->x()), hint->height());
}

void QtTransferWindow::setUpZeroState() {
    // A device that has never been uploaded to gets the welcoming variant of the heading and
    // an explicit drop area; the others get the longer list instead.
    const bool zero = actions_.zeroState();
    const auto show = [this](const char* name, bool visible) {
        if (QWidget* w = control(QString::fromLatin1(name))) w->setVisible(visible);
    };
    show("zeroUploadWindowHeading", zero);
    show("uploadWindowHeading", !zero);
    show("zeroTransferProgressIndicator", zero);
    show("transferProgressIndicator", !zero);
    show("zeroStateDropArea", zero);
    // The sentence is never cut; the link beside it gives way instead (a button's own policy
    // never lets it be narrower than its title).
    if (auto* label = control<QLabel>(QStringLiteral("dragAndDropLabel")))
        label->setSizePolicy(QSizePolicy::Fixed, label->sizePolicy().verticalPolicy());
    if (QWidget* link = control(QStringLiteral("chooseSourceFilesLink")))
        link->setSizePolicy(QSizePolicy::Preferred, link->sizePolicy().verticalPolicy());
    if (zero) {
        // The drop hint and the chooser link go into the drop area itself, beside its image.
        QWidget* area = control(QStringLiteral("zeroStateDropArea"));
        QWidget* hint = control(QStringLiteral("dropHintRow"));
        auto* areaLayout = area ? qobject_cast<QBoxLayout*>(area->layout()) : nullptr;
        if (areaLayout && hint) {
            if (QLayout* hintLayout = hint->layout()) {
                for (int i = hintLayout->count() - 1; i >= 0; --i)
                    if (hintLayout->itemAt(i)->spacerItem()) delete hintLayout->takeAt(i);
            }
            areaLayout->insertWidget(areaLayout->count() - 1, hint);
        }
    }
}

void QtTransferWindow::installOpenPanel() {
    QPointer<QWidget> parent = root_.get();
    actions_.setSourceFilesOpenPanel(
        [parent](std::vector<std::string>& chosen) { return ui::runOpenPanel(parent, chosen); });
    // Source inputs: dropped file names go to the controller.
    installSourceDropTarget(root_.get(), actions_);
}

}  // namespace qvt
