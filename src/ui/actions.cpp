// The user's actions: each control of the window hands its action to the controller, and each
// dialog button ends its dialog's run with its answer, which the controller asked for.
#include <QAbstractButton>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QStandardItemModel>
#include <QTableView>

#include "session/view_actions.h"
#include "ui/QtTransferWindow.h"
#include "ui/screen_roles.h"

namespace qvt {

namespace {

// The property of a dialog button that holds the answer it ends its dialog with.
constexpr const char* kAnswerProperty = "answer";

}  // namespace

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

    onClick("uploadFilesButton", &QtTransferWindow::uploadClicked);
    onClick("createNewFolderLink", &QtTransferWindow::newFolderClicked);
    onClick("deleteNewFolderButton", &QtTransferWindow::deleteNewFolderClicked);

    onClick("pauseResumeTransferButton", &QtTransferWindow::pauseResumeOrStopClicked);
    onClick("stopTransferButton", &QtTransferWindow::pauseResumeOrStopClicked);
    onClick("statusCloseButton", &QtTransferWindow::statusCloseClicked);
    onClick("showErrorsButton", &QtTransferWindow::viewNowClicked);
    onClick("uploadedFilesLink", &QtTransferWindow::uploadedFilesClicked);
    onClick("showHideDetailsButton", &QtTransferWindow::showHideDetailsClicked);
    onClick("dismissAllButton", &QtTransferWindow::retryOrDismissClicked);
    onClick("retryAllButton", &QtTransferWindow::retryOrDismissClicked);

    // The dialogs' buttons answer the question their dialog asks.
    const std::pair<const char*, int> answers[] = {
        {"keepUploadingButton", kAnswerFirst},       {"stopUploadButton", kAnswerSecond},
        {"systemFilesCancelButton", kAnswerFirst},   {"systemFilesContinueButton", kAnswerSecond},
        {"lostConnectionRetryButton", kAnswerFirst}, {"lostConnectionCancelButton", kAnswerSecond},
        {"closeDeviceMissingButton", kAnswerFirst},  {"closeDeviceFullButton", kAnswerFirst},
    };
    for (const auto& [name, answer] : answers) {
        auto* button = control<QAbstractButton>(QString::fromLatin1(name));
        if (!button) continue;
        button->setProperty(kAnswerProperty, answer);
        connect(button, &QAbstractButton::clicked, this, &QtTransferWindow::dialogButtonClicked);
    }
    onClick("quitYesButton", &QtTransferWindow::quitYesClicked);
    onClick("quitNoButton", &QtTransferWindow::quitNoClicked);
    withholdUnofferedControls();
}

void QtTransferWindow::withholdUnofferedControls() {
    // The uploaded files open at once; the spinner for a slow opening is never needed.
    if (QWidget* w = control(QStringLiteral("showUploadedFilesProgressIndicator"))) w->hide();
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
    finishDestinationEdit();
    actions_.processBackScreens();
}

void QtTransferWindow::userChosen(int index) {
    actions_.selectUser(index);
}

void QtTransferWindow::passwordEdited(const QString& text) {
    // The field is bound to the controller's password; it is never written anywhere else.
    actions_.setUserPassword(text.toStdString());
}

void QtTransferWindow::continueWithUser() {
    actions_.verifyUserLoginAndSelectSourceFiles();
}

void QtTransferWindow::chooseSourceFilesClicked() {
    actions_.chooseSourceFiles();
}

void QtTransferWindow::sourceItemChanged(QStandardItem* item) {
    if (reloadingSources_ || !item || item->column() != ui::kSourceCheckColumn) return;
    actions_.setSourceTicked(item->row(), item->checkState() == Qt::Checked);
}

void QtTransferWindow::sourceCellClicked(const QModelIndex& index) {
    if (index.column() == ui::kSourceDeleteColumn) actions_.processDeleteFiles(index.row());
}

void QtTransferWindow::removeFilesToggled(bool checked) {
    actions_.setRemoveFilesAfterUpload(checked);
}

void QtTransferWindow::sourceNextClicked() {
    actions_.selectDestinationForFileTransfer();
}

void QtTransferWindow::uploadClicked() {
    // A folder still being named is named first: the upload goes to it under its new name.
    finishDestinationEdit();
    actions_.uploadFiles();
}

void QtTransferWindow::pauseResumeOrStopClicked() {
    // One action for the icon buttons: 0 stop, 3 pause, 4 resume. The tag is read when the
    // button is pressed, so the pause button's role is the one it shows.
    int tag = 0;
    if (senderTag(tag)) actions_.cancelUploadFiles(tag);
}

void QtTransferWindow::statusCloseClicked() {
    actions_.hideStatusWindow();
}

void QtTransferWindow::viewNowClicked() {
    actions_.viewTransferErrors();
}

void QtTransferWindow::uploadedFilesClicked() {
    actions_.showUploadedFiles();
}

void QtTransferWindow::showHideDetailsClicked() {
    actions_.showHideTransferErrors();
}

void QtTransferWindow::retryOrDismissClicked() {
    // Dismiss All has tag 1, Retry All tag 2.
    int tag = 0;
    if (senderTag(tag)) actions_.retryOrDismissTransfer(tag);
}

void QtTransferWindow::quitYesClicked() {
    actions_.quitTransferYES();
}

void QtTransferWindow::quitNoClicked() {
    actions_.quitTransferNO();
}

void QtTransferWindow::dialogButtonClicked() {
    const QObject* from = sender();
    if (!from) return;
    // The button's own dialog: the nearest dialog among its parents.
    for (QObject* p = from->parent(); p; p = p->parent())
        if (auto* box = qobject_cast<QDialog*>(p)) {
            box->done(from->property(kAnswerProperty).toInt());
            return;
        }
}

}  // namespace qvt
