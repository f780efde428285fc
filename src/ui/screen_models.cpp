// The controller's state shown by the screens: each reload reads the controller's properties
// and lists and brings the controls in line with them.
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QSet>
#include <QStandardItemModel>
#include <QStyle>
#include <QTableView>
#include <QTreeView>

#include "session/qvtransfer_private.h"
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

// A count label as the row holds it: a string once counted; the number placeholder of a row
// not counted yet shows nothing.
QString countLabel(const Record& row, const char* key) {
    const Value* value = row.find(key);
    return value && value->isString() ? qs(*value->asString()) : QString();
}

}  // namespace

void QtTransferWindow::reloadUsers() {
    if (auto* popup = control<QComboBox>(QStringLiteral("usersPopUpButton"))) {
        const QSignalBlocker quiet(popup);
        popup->clear();
        for (const Value& user : owner_.usersArrayController.get())
            if (const Record* r = user.asRecord()) popup->addItem(qs(r->string("username")));
        const int selected = owner_.usersPopupSelectedIndex;
        if (selected >= 0 && selected < popup->count()) popup->setCurrentIndex(selected);
    }
    if (auto* field = control<QLineEdit>(QStringLiteral("passwordField"))) {
        field->setVisible(owner_.showPasswordField);
        const std::string placeholder = owner_.passwordPlaceholder.empty()
                                            ? owner_.localePASSWORD_txt
                                            : owner_.passwordPlaceholder;
        field->setPlaceholderText(qs(placeholder));
        // The field follows the controller when it forgets the typed password.
        if (owner_.userPassword.with([](const std::string& p) { return p.empty(); }) &&
            !field->text().isEmpty())
            field->clear();
        setStyleFlag(field, "incorrect", owner_.incorrectPassword);
        setStyleFlag(field, "focusRing", owner_.passwordFieldFocusRing);
    }
    if (QWidget* incorrect = control(QStringLiteral("incorrectPasswordLabel")))
        incorrect->setVisible(owner_.incorrectPassword);
    if (auto* image = control<QLabel>(QStringLiteral("deviceImageView"))) {
        QImage picture;
        if (!owner_.deviceImage.empty())
            picture.loadFromData(owner_.deviceImage.data(),
                                 static_cast<int>(owner_.deviceImage.size()));
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

void QtTransferWindow::reloadSources() {
    auto* table = control<QTableView>(QStringLiteral("sourceFilesTableView"));
    if (!table || !sourceModel_) return;
    const int scroll = table->verticalScrollBar()->value();
    const List rows = owner_.sourceFilesArray.get();
    const QIcon deleteImage = widgets::frameworkIcon(QStringLiteral("deleteRowsButton.png"));
    const QString counting = qs(owner_.localeCALCULATING_txt);

    reloadingSources_ = true;
    sourceModel_->removeRows(0, sourceModel_->rowCount());
    for (int r = 0; r < static_cast<int>(rows.size()); ++r) {
        const Record* row = rows[static_cast<std::size_t>(r)].asRecord();
        const Record entry = row ? *row : Record{};
        QList<QStandardItem*> items;

        QStandardItem* tick = plainItem();
        tick->setCheckable(true);
        const Value* box = entry.find("filesSelectCheckbox");
        tick->setCheckState(box && box->toInt64() != 0 ? Qt::Checked : Qt::Unchecked);
        items << tick;

        QStandardItem* name = plainItem(qs(entry.string("fileName")));
        name->setData(ui::iconForImageValue(entry.string("fileImage")), Qt::DecorationRole);
        name->setForeground(QColor(75, 90, 104));
        items << name;

        const bool beingCounted = entry.string("numberOfFiles") == source::kCountingPlaceholder;
        QStandardItem* folders =
            plainItem(beingCounted ? QString() : countLabel(entry, "numberOfFolders"));
        QStandardItem* files =
            plainItem(beingCounted ? counting : countLabel(entry, "numberOfFiles"));
        for (QStandardItem* count : {folders, files}) {
            count->setForeground(kSecondaryText);
            count->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        }
        // Source list: the spinner of a row still being counted.
        files->setData(beingCounted, kSourceCountingRole);
        items << folders << files;

        QStandardItem* remove = plainItem();
        remove->setData(deleteImage, Qt::DecorationRole);
        items << remove;

        for (int c = 0; c < items.size(); ++c) {
            const std::string tip = owner_.sourceFilesToolTip(ui::kSourceColumnIdentifiers[c], r);
            if (!tip.empty()) items[c]->setToolTip(qs(tip));
        }
        sourceModel_->appendRow(items);
    }
    reloadingSources_ = false;
    table->verticalScrollBar()->setValue(scroll);

    if (auto* remove = control<QAbstractButton>(QStringLiteral("removeFilesCheckbox"))) {
        const QSignalBlocker quiet(remove);
        remove->setChecked(owner_.removeFilesAfterUpload);
    }
    if (auto* totals = control<QLabel>(QStringLiteral("numberOfFilesAndFolders")))
        totals->setText(qs(owner_.numberOfFilesAndFolders.get()));
}

void QtTransferWindow::reloadDestination() {
    if (auto* tree =
            control<ui::DestinationOutlineView>(QStringLiteral("destinationFolderOutlineView")))
        tree->reloadFromController();
    placeDeleteNewFolderButton();
}

void QtTransferWindow::placeDeleteNewFolderButton() {
    // Inside the second cell of the selected row, centred.
    auto* tree = control<QTreeView>(QStringLiteral("destinationFolderOutlineView"));
    QWidget* cancel = control(QStringLiteral("deleteNewFolderButton"));
    if (!tree || !cancel || !tree->selectionModel()) return;
    const QModelIndex current = tree->selectionModel()->currentIndex();
    if (!current.isValid()) return;
    const QRect cell = tree->visualRect(current.siblingAtColumn(1));
    const QSize size = cancel->sizeHint().boundedTo(cell.size());
    cancel->setGeometry(cell.left() + (cell.width() - size.width()) / 2,
                        cell.top() + (cell.height() - size.height()) / 2, size.width(),
                        size.height());
    cancel->raise();
}

void QtTransferWindow::reloadStatus() {
    const Colour c = owner_.statusTextColor.get();
    const QString colour = QStringLiteral("color: rgba(%1, %2, %3, %4);")
                               .arg(c.red)
                               .arg(c.green)
                               .arg(c.blue)
                               .arg(static_cast<int>(c.alpha * 255 + 0.5));
    for (const char* name : {"progressStatusMsg1", "progressStatusMsg2"}) {
        auto* label = control<QLabel>(QString::fromLatin1(name));
        if (!label) continue;
        label->setStyleSheet(colour);
    }
    if (auto* line = control<QLabel>(QStringLiteral("progressStatusMsg1")))
        line->setText(qs(owner_.progressStatusMsg1.get()));
    // Once the upload has ended the estimate line has nothing left to say, and pausing or
    // stopping has nothing left to act on: the line is emptied and the two buttons go.
    const bool ended = owner_.isFileTransferCompleted() || owner_.uploadCancelled();
    if (auto* line = control<QLabel>(QStringLiteral("progressStatusMsg2")))
        line->setText(ended ? QString() : qs(owner_.progressStatusMsg2.get()));
    for (const char* name : {"pauseResumeTransferButton", "stopTransferButton"})
        if (QWidget* button = control(QString::fromLatin1(name))) button->setHidden(ended);

    if (auto* bar =
            control<QVTransferProgressIndicator>(QStringLiteral("transferProgressIndicator")))
        bar->setProgress(static_cast<double>(owner_.transferProgressValue.load()),
                         static_cast<double>(owner_.progressMaxValue.load()));
    if (auto* bar =
            control<QVTransferProgressIndicator>(QStringLiteral("zeroTransferProgressIndicator")))
        bar->setProgress(static_cast<double>(owner_.transferProgressValue2.load()),
                         static_cast<double>(owner_.progressMaxValue2.load()));

    const bool linkHidden = owner_.uploadedFilesLinkHidden;
    if (auto* link = control<QVTransferLinkButton>(QStringLiteral("uploadedFilesLink"))) {
        if (link->title().isEmpty()) {
            const std::string product = owner_.deviceInfo().string("productName");
            link->setUpTitle(qs(product), link->titleFont(), link->textAlignment());
        }
        link->setHidden(linkHidden);
    }
    if (QWidget* above = control(QStringLiteral("uploadedFilesToLabel")))
        above->setHidden(linkHidden);
}

void QtTransferWindow::reloadFailedList() {
    auto* list = control<QTreeView>(QStringLiteral("failedListOutlineView"));
    if (!list || !failedModel_) return;
    if (auto* cell = qobject_cast<ImageAndTextCell*>(list->itemDelegate()))
        cell->setRowHeight(static_cast<int>(owner_.failedListRowHeight));
    failedModel_->removeRows(0, failedModel_->rowCount());
    for (const Value& value : owner_.failedFilesListTreeControllerArray.get()) {
        const Record* row = value.asRecord();
        if (!row) continue;
        QStandardItem* item = plainItem(qs(row->string("fileName")));
        item->setData(ui::iconForImageValue(row->string("fileImage")), Qt::DecorationRole);
        item->setForeground(QColor(75, 90, 104));
        failedModel_->appendRow(item);
    }
    // Rows of a new height need the list to lay them out again.
    list->doItemsLayout();
    const std::string heading = owner_.uploadErrorString.get();
    if (!heading.empty())
        if (auto* label = control<QLabel>(QStringLiteral("uploadErrorHeading")))
            label->setText(qs(heading));
}

}  // namespace qvt
