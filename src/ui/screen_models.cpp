// The screens' values as the controls show them: each apply brings the controls in line with
// the value the controller sent.
#include <algorithm>

#include <QComboBox>
#include <QImage>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QSet>
#include <QStandardItemModel>
#include <QStyle>
#include <QTableView>
#include <QTreeView>

#include "source/source_entry.h"
#include "ui/QtTransferWindow.h"
#include "ui/destination_outline_view.h"
#include "ui/item_images.h"
#include "ui/screen_roles.h"
#include "ui/source_spinner.h"
#include "widgets/ImageAndTextCell.h"
#include "widgets/QVTransferLinkButton.h"
#include "widgets/QVTransferPausedAndStopButton.h"
#include "widgets/QVTransferProgressIndicator.h"
#include "widgets/framework_images.h"

namespace qvt {

namespace {

const QColor kSecondaryText(110, 122, 134);

QString qs(const std::string& s) {
    return QString::fromStdString(s);
}

// A dynamic property that the style sheet looks at; the control is restyled when it changes.
void setStyleFlag(QWidget* w, const char* name, bool value) {
    if (w->property(name).toBool() == value && w->property(name).isValid()) return;
    w->setProperty(name, value);
    w->style()->unpolish(w);
    w->style()->polish(w);
    w->update();
}

QStandardItem* plainItem(const QString& text = {}) {
    auto* item = new QStandardItem(text);
    item->setEditable(false);
    return item;
}

}  // namespace

void QtTransferWindow::applyUsers(const UsersScreen& screen) {
    if (auto* popup = control<QComboBox>(QStringLiteral("usersPopUpButton"))) {
        const QSignalBlocker quiet(popup);
        popup->clear();
        for (const std::string& name : screen.userNames) popup->addItem(qs(name));
        if (screen.selectedIndex >= 0 && screen.selectedIndex < popup->count())
            popup->setCurrentIndex(screen.selectedIndex);
    }
    if (auto* field = control<QLineEdit>(QStringLiteral("passwordField"))) {
        field->setVisible(screen.passwordShown);
        field->setPlaceholderText(qs(screen.passwordPlaceholder));
        // The field follows the controller when it forgets the typed password.
        if (screen.passwordCleared && !field->text().isEmpty()) field->clear();
        setStyleFlag(field, "incorrect", screen.incorrectPassword);
        setStyleFlag(field, "focusRing", screen.passwordFocusRing);
    }
    if (QWidget* incorrect = control(QStringLiteral("incorrectPasswordLabel"))) {
        incorrect->setVisible(screen.incorrectPassword);
        if (screen.incorrectPassword && !announcedIncorrectPassword_)
            if (auto* label = qobject_cast<QLabel*>(incorrect)) announce(label, label->text());
        announcedIncorrectPassword_ = screen.incorrectPassword;
    }
    if (auto* image = control<QLabel>(QStringLiteral("deviceImageView"))) {
        QImage picture;
        if (!screen.deviceImage.empty())
            picture.loadFromData(screen.deviceImage.data(),
                                 static_cast<int>(screen.deviceImage.size()));
        if (!picture.isNull()) {
            image->setPixmap(QPixmap::fromImage(picture).scaled(image->size(), Qt::KeepAspectRatio,
                                                                Qt::SmoothTransformation));
        } else {
            // No picture of the device: the wizard's own image stands in.
            const QIcon own =
                widgets::frameworkIcon(QStringLiteral("QVTransferWindowTitleImage.png"));
            const QPixmap largest = own.pixmap(own.actualSize(QSize(256, 256)));
            image->setPixmap(
                largest.scaled(QSize(88, 88), Qt::KeepAspectRatio, Qt::SmoothTransformation));
        }
    }
}

void QtTransferWindow::applySources(const SourcesScreen& screen) {
    auto* table = control<QTableView>(QStringLiteral("sourceFilesTableView"));
    if (!table || !sourceModel_) return;
    const int scroll = table->verticalScrollBar()->value();
    const QIcon deleteImage = widgets::frameworkIcon(QStringLiteral("deleteRowsButton.png"));
    const QString counting = qs(screen.countingText);

    // The list is shown anew whenever a count ends or a tick changes the totals; the source the
    // keyboard is on stays current and highlighted (the row after it when it was taken off), or
    // Space and Delete would act on nothing until an arrow key was pressed.
    const auto pathAt = [&](int row) {
        return sourceModel_->index(row, ui::kSourceNameColumn).data(ui::kSourcePathRole).toString();
    };
    const QModelIndex current = table->currentIndex();
    const int currentRow = current.isValid() ? current.row() : -1;
    const int currentColumn = current.isValid() ? current.column() : 0;
    const QString currentPath = current.isValid() ? pathAt(currentRow) : QString();

    reloadingSources_ = true;
    sourceModel_->removeRows(0, sourceModel_->rowCount());
    for (const SourceRow& row : screen.rows) {
        QList<QStandardItem*> items;

        QStandardItem* tick = plainItem();
        tick->setCheckable(true);
        tick->setCheckState(row.ticked ? Qt::Checked : Qt::Unchecked);
        items << tick;

        QStandardItem* name = plainItem(qs(row.fileName));
        name->setData(ui::iconForImageValue(row.fileImage), Qt::DecorationRole);
        name->setForeground(QColor(75, 90, 104));
        if (!row.nameToolTip.empty()) name->setToolTip(qs(row.nameToolTip));
        name->setData(qs(row.fullFilePath), ui::kSourcePathRole);
        items << name;

        QStandardItem* folders = plainItem(row.counting ? QString() : qs(row.folders));
        QStandardItem* files = plainItem(row.counting ? counting : qs(row.files));
        for (QStandardItem* count : {folders, files}) {
            count->setForeground(kSecondaryText);
            count->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        }
        // Source list: the spinner of a row still being counted.
        files->setData(row.counting, kSourceCountingRole);
        items << folders << files;

        QStandardItem* remove = plainItem();
        remove->setData(deleteImage, Qt::DecorationRole);
        items << remove;
        sourceModel_->appendRow(items);
    }
    reloadingSources_ = false;
    if (currentRow >= 0 && sourceModel_->rowCount() > 0) {
        int row = std::min(currentRow, sourceModel_->rowCount() - 1);
        if (pathAt(row) != currentPath)
            for (int r = 0; r < sourceModel_->rowCount(); ++r)
                if (pathAt(r) == currentPath) {
                    row = r;
                    break;
                }
        table->selectionModel()->setCurrentIndex(
            sourceModel_->index(row, currentColumn),
            QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
    table->verticalScrollBar()->setValue(scroll);

    if (auto* remove = control<QAbstractButton>(QStringLiteral("removeFilesCheckbox"))) {
        const QSignalBlocker quiet(remove);
        remove->setChecked(screen.removeFilesAfterUpload);
    }
    if (auto* totals = control<QLabel>(QStringLiteral("numberOfFilesAndFolders")))
        totals->setText(qs(screen.summary));
    fitDropHintBesideTotals();
}

void QtTransferWindow::applyDestinations(const DestinationScreen& screen) {
    auto* tree =
        control<ui::DestinationOutlineView>(QStringLiteral("destinationFolderOutlineView"));
    if (tree) tree->showTree(screen.roots);
    uploadAllowed_ = screen.uploadEnabled;
    newFolderAllowed_ = screen.newFolderEnabled;
    if (tree && !watchingDestinationSelection_) {
        watchingDestinationSelection_ = true;
        connect(tree, &ui::DestinationOutlineView::selectedFolderChanged, this,
                [this] { updateDestinationButtons(); });
    }
    updateDestinationButtons();
}

void QtTransferWindow::updateDestinationButtons() {
    // Upload needs a folder to upload to, and a new folder a folder to be made in: without a
    // selected row there is none, whatever the tree's state.
    auto* tree =
        control<ui::DestinationOutlineView>(QStringLiteral("destinationFolderOutlineView"));
    const bool selected = tree && !tree->selectedFolderPath().isEmpty();
    if (QWidget* upload = control(QStringLiteral("uploadFilesButton")))
        upload->setEnabled(uploadAllowed_ && selected);
    if (QWidget* link = control(QStringLiteral("createNewFolderLink")))
        link->setEnabled(newFolderAllowed_ && selected);
}

void QtTransferWindow::applyStatus(const StatusSnapshot& status) {
    const Colour& c = status.colour;
    const QString colour = QStringLiteral("color: rgba(%1, %2, %3, %4);")
                               .arg(c.red)
                               .arg(c.green)
                               .arg(c.blue)
                               .arg(static_cast<int>(c.alpha * 255 + 0.5));
    for (const char* name : {"progressStatusMsg1", "progressStatusMsg2"})
        if (auto* label = control<QLabel>(QString::fromLatin1(name))) label->setStyleSheet(colour);
    if (auto* line = control<QLabel>(QStringLiteral("progressStatusMsg1"))) {
        line->setText(qs(status.line1));
        // A pause, a lost or full device, a resumption and the end are told to a screen reader
        // as they happen; the file counter's steps are not (they would drown everything else).
        const bool ended = status.ended();
        const QString key = QStringLiteral("%1 %2 %3 %4 %5")
                                .arg(static_cast<int>(status.state))
                                .arg(status.paused)
                                .arg(status.deviceMissing)
                                .arg(status.deviceFull)
                                .arg(ended ? qs(status.line1 + status.warning) : QString());
        if (key != announcedStatus_ && status.state != engine::UploadState::Idle) {
            QString text = qs(status.line1);
            if (ended && !status.warning.empty()) text += QStringLiteral("\n") + qs(status.warning);
            announce(line, text);
            announcedStatus_ = key;
        }
    }
    // Once the upload has ended the estimate line has nothing left to say, and pausing or
    // stopping has nothing left to act on: the line is emptied and the two buttons go.
    const bool ended = status.ended();
    statusEnded_ = status.state == engine::UploadState::Completed;
    if (auto* line = control<QLabel>(QStringLiteral("progressStatusMsg2")))
        line->setText(ended ? QString() : qs(status.line2));
    for (const char* name : {"pauseResumeTransferButton", "stopTransferButton"})
        if (QWidget* button = control(QString::fromLatin1(name))) button->setHidden(ended);
    if (QWidget* pause = control(QStringLiteral("pauseResumeTransferButton")))
        pause->setProperty("tag", status.pauseButtonTag);
    nameThePauseButton(status.pauseButtonTag);
    if (QWidget* close = control(QStringLiteral("statusCloseButton"));
        close && !status.closeButtonTitle.empty())
        applyText(close, qs(status.closeButtonTitle));

    if (auto* bar =
            control<QVTransferProgressIndicator>(QStringLiteral("transferProgressIndicator")))
        bar->setProgress(status.barValue, status.barMaximum);
    if (auto* bar =
            control<QVTransferProgressIndicator>(QStringLiteral("zeroTransferProgressIndicator")))
        bar->setProgress(status.zeroBarValue, status.zeroBarMaximum);

    // The warning about failed files, with the View now link right after its text.
    const bool warned = !status.warning.empty();
    if (QWidget* warning = control(QStringLiteral("errorWarningMessage"))) {
        if (warned) applyText(warning, qs(status.warning));
        warning->setHidden(!warned);
    }
    if (QWidget* viewNow = control(QStringLiteral("showErrorsButton"))) {
        if (warned) {
            applyText(viewNow, qs(status.viewNowTitle));
            placeAfterText(QStringLiteral("showErrorsButton"),
                           QStringLiteral("errorWarningMessage"), 2, 640);
        }
        viewNow->setHidden(!warned);
    }

    if (QWidget* above = control(QStringLiteral("uploadedFilesToLabel"))) {
        if (status.uploadedFilesShown) applyText(above, qs(status.uploadedFilesLabel));
        above->setHidden(!status.uploadedFilesShown);
    }
    if (auto* link = control<QVTransferLinkButton>(QStringLiteral("uploadedFilesLink"))) {
        const std::string title = status.uploadedFilesLinkTitle.empty()
                                      ? status.productName
                                      : status.uploadedFilesLinkTitle;
        if (link->title() != qs(title)) applyText(link, qs(title));
        link->setHidden(!status.uploadedFilesShown);
    }
}

void QtTransferWindow::applyFailedList(const FailedList& failed) {
    auto* list = control<QTreeView>(QStringLiteral("failedListOutlineView"));
    if (!list || !failedModel_) return;
    if (auto* cell = qobject_cast<ImageAndTextCell*>(list->itemDelegate()))
        cell->setRowHeight(static_cast<int>(failed.rowHeight));
    failedModel_->removeRows(0, failedModel_->rowCount());
    for (const FailedList::Row& row : failed.rows) {
        QStandardItem* item = plainItem(qs(row.fileName));
        item->setData(ui::iconForImageValue(row.fileImage), Qt::DecorationRole);
        item->setForeground(QColor(75, 90, 104));
        failedModel_->appendRow(item);
    }
    // Rows of a new height need the list to lay them out again.
    list->doItemsLayout();
    if (!failed.heading.empty())
        if (auto* label = control<QLabel>(QStringLiteral("uploadErrorHeading")))
            label->setText(qs(failed.heading));
}

}  // namespace qvt
