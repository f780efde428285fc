// The user's actions: each control of the window hands its action to the controller. Buttons
// that share an action are told apart by their tag.
#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>
#include <QStandardItemModel>
#include <QTableView>

#include "session/qvtransfer_private.h"
#include "ui/QtTransferWindow.h"
#include "ui/screen_roles.h"

namespace qvt {

void QtTransferWindow::connectActions() {
    const auto onClick = [this](const char* name, void (QtTransferWindow::*slot)()) {
        if (auto* b = control<QAbstractButton>(QString::fromLatin1(name)))
            connect(b, &QAbstractButton::clicked, this, slot);
    };
    onClick("nasUsersBackButton", &QtTransferWindow::backClicked);
    onClick("sourceFilesBackButton", &QtTransferWindow::backClicked);
    onClick("destinationBackButton", &QtTransferWindow::backClicked);

    onClick("nasUsersNextButton", &QtTransferWindow::continueWithUser);
    if (auto* popup = control<QComboBox>(QStringLiteral("usersPopUpButton")))
        connect(popup, &QComboBox::activated, this, &QtTransferWindow::userChosen);
    if (auto* field = control<QLineEdit>(QStringLiteral("passwordField"))) {
        connect(field, &QLineEdit::textEdited, this, &QtTransferWindow::passwordEdited);
        connect(field, &QLineEdit::returnPressed, this, &QtTransferWindow::continueWithUser);
    }

    onClick("chooseSourceFilesLink", &QtTransferWindow::chooseSourceFilesClicked);
    onClick("chooseSourceFilesNextButton", &QtTransferWindow::sourceNextClicked);
    if (auto* remove = control<QAbstractButton>(QStringLiteral("removeFilesCheckbox")))
        connect(remove, &QAbstractButton::toggled, this, &QtTransferWindow::removeFilesToggled);
    if (sourceModel_)
        connect(sourceModel_, &QStandardItemModel::itemChanged, this,
                &QtTransferWindow::sourceItemChanged);
    if (auto* table = control<QTableView>(QStringLiteral("sourceFilesTableView")))
        connect(table, &QTableView::clicked, this, &QtTransferWindow::sourceCellClicked);

    onClick("createNewFolderLink", &QtTransferWindow::createNewFolderClicked);
    onClick("deleteNewFolderButton", &QtTransferWindow::deleteNewFolderClicked);
    onClick("uploadFilesButton", &QtTransferWindow::uploadClicked);

    onClick("pauseResumeTransferButton", &QtTransferWindow::pauseResumeOrStopClicked);
    onClick("stopTransferButton", &QtTransferWindow::pauseResumeOrStopClicked);
    onClick("statusCloseButton", &QtTransferWindow::statusCloseClicked);
    onClick("showErrorsButton", &QtTransferWindow::showErrorsClicked);
    onClick("uploadedFilesLink", &QtTransferWindow::uploadedFilesClicked);

    onClick("showHideDetailsButton", &QtTransferWindow::showHideDetailsClicked);
    onClick("dismissAllButton", &QtTransferWindow::retryOrDismissClicked);
    onClick("retryAllButton", &QtTransferWindow::retryOrDismissClicked);

    onClick("lostConnectionCancelButton", &QtTransferWindow::lostConnectionCancelClicked);
    onClick("lostConnectionRetryButton", &QtTransferWindow::lostConnectionRetryClicked);
    onClick("closeDeviceMissingButton", &QtTransferWindow::closeDeviceMissingClicked);
    onClick("closeDeviceFullButton", &QtTransferWindow::closeDeviceFullClicked);
    onClick("systemFilesCancelButton", &QtTransferWindow::protectedFilesButtonClicked);
    onClick("systemFilesContinueButton", &QtTransferWindow::protectedFilesButtonClicked);
    onClick("quitYesButton", &QtTransferWindow::quitYesClicked);
    onClick("quitNoButton", &QtTransferWindow::quitNoClicked);
    onClick("keepUploadingButton", &QtTransferWindow::cancelUploadConfirmClicked);
    onClick("stopUploadButton", &QtTransferWindow::cancelUploadConfirmClicked);
}

bool QtTransferWindow::senderTag(int& tag) const {
    const QObject* from = sender();
    if (!from) return false;
    const QVariant value = from->property("tag");
    if (!value.isValid()) return false;
    tag = value.toInt();
    return true;
}

void QtTransferWindow::backClicked() {
    owner_.processBackScreens();
}

void QtTransferWindow::userChosen(int index) {
    owner_.selectUser(index);
}

void QtTransferWindow::passwordEdited(const QString& text) {
    // The field is bound to the controller's password; it is never written anywhere else.
    owner_.userPassword.set(text.toStdString());
}

void QtTransferWindow::continueWithUser() {
    owner_.verifyUserLoginAndSelectSourceFiles();
}

void QtTransferWindow::chooseSourceFilesClicked() {
    owner_.chooseSourceFiles();
}

void QtTransferWindow::sourceItemChanged(QStandardItem* item) {
    if (reloadingSources_ || !item || item->column() != ui::kSourceCheckColumn) return;
    const int row = item->row();
    const int ticked = item->checkState() == Qt::Checked ? 1 : 0;
    // The tick box is bound to the row's "filesSelectCheckbox"; the controller reads it next.
    bool changed = false;
    owner_.sourceFilesArray.with([&](List& rows) {
        if (row < 0 || row >= static_cast<int>(rows.size())) return;
        if (Record* entry = rows[static_cast<std::size_t>(row)].asRecord()) {
            entry->set("filesSelectCheckbox", ticked);
            changed = true;
        }
    });
    if (changed) owner_.processDeselectedFiles(row);
}

void QtTransferWindow::sourceCellClicked(const QModelIndex& index) {
    if (index.column() == ui::kSourceDeleteColumn) owner_.processDeleteFiles(index.row());
}

void QtTransferWindow::removeFilesToggled(bool checked) {
    owner_.removeFilesAfterUpload = checked;
}

void QtTransferWindow::sourceNextClicked() {
    owner_.selectDestinationForFileTransfer();
}

void QtTransferWindow::createNewFolderClicked() {
    // createNewFolderAtDestination(): the controller's new-folder operation.
}

void QtTransferWindow::deleteNewFolderClicked() {
    // deleteNewFolder(): takes the new folder back.
}

void QtTransferWindow::uploadClicked() {
    owner_.uploadFiles();
}

void QtTransferWindow::pauseResumeOrStopClicked() {
    // One action for the icon buttons: 0 stop, 3 pause, 4 resume. The tag is read when the
    // button is pressed, so the pause button's role is the one it shows.
    int tag = 0;
    if (senderTag(tag)) owner_.cancelUploadFiles(tag);
}

void QtTransferWindow::statusCloseClicked() {
    owner_.hideStatusWindow();
}

void QtTransferWindow::showErrorsClicked() {
    // viewTransferErrors(): fills the error window's heading and brings it up.
}

void QtTransferWindow::uploadedFilesClicked() {
    // showUploadedFiles(): mounts the destination share visibly and opens the folder.
}

void QtTransferWindow::showHideDetailsClicked() {
    // showHideTransferErrors(sender's tag): switches the failed list between its two forms.
}

void QtTransferWindow::retryOrDismissClicked() {
    // retryOrDismissTransfer(sender's tag): 1 dismiss, 2 retry.
}

void QtTransferWindow::lostConnectionCancelClicked() {
    owner_.cancelQVTransfer();
}

void QtTransferWindow::lostConnectionRetryClicked() {
    int tag = 0;
    if (!senderTag(tag)) return;
    owner_.retryDeviceConnection(tag);
}

void QtTransferWindow::closeDeviceMissingClicked() {
    // closeDeviceMissing(): ends the dialog; the upload stays paused while the watcher runs.
}

void QtTransferWindow::closeDeviceFullClicked() {
    // closeDeviceFullDialog(): ends the dialog; the upload stays paused while the watcher runs.
}

void QtTransferWindow::protectedFilesButtonClicked() {
    int tag = 0;
    if (senderTag(tag)) owner_.cancelOrContinueUpload(tag);
}

void QtTransferWindow::quitYesClicked() {
    owner_.quitTransferYES();
}

void QtTransferWindow::quitNoClicked() {
    owner_.quitTransferNO();
}

void QtTransferWindow::cancelUploadConfirmClicked() {
    // 1 keeps uploading, 2 stops the upload.
    int tag = 0;
    if (senderTag(tag)) owner_.cancelUploadFiles(tag);
}

}  // namespace qvt
