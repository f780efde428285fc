// The window for a keyboard and a screen reader: every control that acts takes the focus with
// Tab, Return presses the screen's main button (or the focused one), Escape in a dialog takes
// the choice that loses nothing, and every control has a name for assistive technology.
#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QComboBox>
#include <QDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QStandardItemModel>

#include "session/view_actions.h"
#include "ui/QtTransferWindow.h"
#include "ui/destination_outline_view.h"
#include "ui/destination_tree_model.h"
#include "ui/screen_roles.h"
#include "ui/transfer_window_widget.h"

namespace qvt {

namespace {

// Each screen's main button: Return presses it when the focus is on no other button.
const char* mainButtonOf(const QString& screen) {
    if (screen == QLatin1String("nasUsersView")) return "nasUsersNextButton";
    if (screen == QLatin1String("sourceFilesView")) return "chooseSourceFilesNextButton";
    if (screen == QLatin1String("destinationFilesView")) return "uploadFilesButton";
    if (screen == QLatin1String("statusView")) return "statusCloseButton";
    return nullptr;
}

// Each dialog's choice that loses nothing: its default, its first focus and its Escape.
const char* safeButtonOf(Dialog dialog) {
    switch (dialog) {
        case Dialog::CancelUploadConfirm:
            return "keepUploadingButton";
        case Dialog::ProtectedFiles:
            return "systemFilesCancelButton";
        case Dialog::LostConnection:
            return "lostConnectionRetryButton";
        case Dialog::DeviceMissing:
            return "closeDeviceMissingButton";
        case Dialog::DeviceFull:
            return "closeDeviceFullButton";
        case Dialog::QuitConfirmation:
            return "quitNoButton";
        case Dialog::UploadErrors:
            return "retryAllButton";
    }
    return nullptr;
}

constexpr Dialog kDialogs[] = {Dialog::UploadErrors,       Dialog::LostConnection,
                               Dialog::DeviceMissing,      Dialog::DeviceFull,
                               Dialog::ProtectedFiles,     Dialog::QuitConfirmation,
                               Dialog::CancelUploadConfirm};

bool isReturn(const QKeyEvent* key) {
    return key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
}

// Presses `button` as a click would, when it can act.
bool press(QAbstractButton* button) {
    if (!button || !button->isVisible() || !button->isEnabled()) return false;
    button->click();
    return true;
}

}  // namespace

void QtTransferWindow::setUpKeyboard() {
    // Buttons and links take the focus from Tab (a click does not move it), as do the lists.
    for (QAbstractButton* button : root_->findChildren<QAbstractButton*>())
        button->setFocusPolicy(Qt::TabFocus);
    // Inside a list the arrow keys move between rows; Tab leaves it for the next control (a
    // table would otherwise keep Tab for its own cells, and a keyboard user could not get out).
    for (QAbstractItemView* list : root_->findChildren<QAbstractItemView*>()) {
        list->setFocusPolicy(Qt::StrongFocus);
        list->setTabKeyNavigation(false);
    }
    for (Dialog d : kDialogs) {
        if (auto* safe = control<QPushButton>(QString::fromLatin1(safeButtonOf(d))))
            safe->setDefault(true);
        if (QDialog* box = dialog(d)) box->installEventFilter(this);
    }
    root_->installEventFilter(this);
    // A field's Return ends at the field: the key would otherwise go on to the window after
    // the field acted on it, and press the main button of the screen the field just opened
    // (Return in the password field would sign in and skip the sources screen at once).
    for (QLineEdit* field : root_->findChildren<QLineEdit*>()) field->installEventFilter(this);
    // The source list: Space ticks or unticks the current row, Delete takes it off the list,
    // as the row's check box and remove button do for the mouse.
    if (auto* table = control<QAbstractItemView>(QStringLiteral("sourceFilesTableView")))
        table->installEventFilter(this);
    nameControls();
}

bool QtTransferWindow::sourceListKey(const QKeyEvent& key) {
    auto* table = control<QAbstractItemView>(QStringLiteral("sourceFilesTableView"));
    const QModelIndex current = table ? table->currentIndex() : QModelIndex();
    if (!current.isValid() || !sourceModel_) return false;
    const int row = current.row();
    if (key.key() == Qt::Key_Space) {
        QStandardItem* tick = sourceModel_->item(row, ui::kSourceCheckColumn);
        if (!tick || !tick->isCheckable() || !tick->isEnabled()) return false;
        tick->setCheckState(tick->checkState() == Qt::Checked ? Qt::Unchecked : Qt::Checked);
        return true;
    }
    if (key.key() == Qt::Key_Delete || key.key() == Qt::Key_Backspace) {
        actions_.processDeleteFiles(row);
        return true;
    }
    return false;
}

void QtTransferWindow::nameControls() {
    // Controls whose text is their name (buttons, links, labels) are named by Qt itself; these
    // show an image, a list or a field instead.
    const std::pair<const char*, const char*> names[] = {
        {"usersPopUpButton", "ACCOUNT_a11y"},
        {"passwordField", "PASSWORD_txt"},
        {"sourceFilesTableView", "SOURCE_LIST_a11y"},
        {"destinationFolderOutlineView", "DESTINATION_TREE_a11y"},
        {"failedListOutlineView", "FAILED_LIST_a11y"},
        {"transferProgressIndicator", "UPLOAD_PROGRESS_a11y"},
        {"stopTransferButton", "STOP_UPLOAD_btn"},
        {"deleteNewFolderButton", "CANCEL_btn"},
        {"uploadedFilesLink", "OPEN_UPLOADED_FILES_a11y"},
    };
    for (const auto& [control, text] : names)
        if (QWidget* w = this->control(QString::fromLatin1(control)))
            w->setAccessibleName(localeQString(text));
    nameThePauseButton(kTagPauseRole);
    if (auto* tree =
            control<ui::DestinationOutlineView>(QStringLiteral("destinationFolderOutlineView")))
        tree->treeModel()->setNameHeader(localeQString("FOLDER_NAME_a11y"));
    // Each dialog is named after the question it asks.
    const std::pair<Dialog, const char*> questions[] = {
        {Dialog::CancelUploadConfirm, "STOP_UPLOAD_PROMPT_txt"},
        {Dialog::LostConnection, "LOST_CONNECTION_MSG_txt"},
        {Dialog::DeviceMissing, "DEVICE_DISCONNECT_WARNING_txt"},
        {Dialog::DeviceFull, "DEVICE_FULL_WARNING_txt"},
        {Dialog::QuitConfirmation, "CONFIRM_QUIT_DECISION_txt"},
        {Dialog::UploadErrors, "UPLOAD_ERROR_title"},
        {Dialog::ProtectedFiles, "MOVE_FILE_WARNING_txt"},
    };
    for (const auto& [d, text] : questions)
        if (QDialog* box = dialog(d)) box->setAccessibleName(localeQString(text));
}

void QtTransferWindow::nameThePauseButton(int tag) {
    if (QWidget* pause = control(QStringLiteral("pauseResumeTransferButton")))
        pause->setAccessibleName(
            localeQString(tag == kTagResumeRole ? "RESUME_UPLOAD_a11y" : "PAUSE_UPLOAD_a11y"));
}

QString QtTransferWindow::localeQString(const char* id) const {
    const std::optional<std::string> text = actions_.localeText(id);
    return QString::fromStdString(text.value_or(id));
}

void QtTransferWindow::announce(QWidget* widget, const QString& text) {
    if (!widget || text.isEmpty()) return;
    // The text becomes the widget's description, and an alert makes the screen reader speak it
    // wherever the focus is.
    widget->setAccessibleDescription(text);
    QAccessibleEvent alert(widget, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void QtTransferWindow::focusSafeChoice(Dialog which) {
    if (auto* safe = control<QAbstractButton>(QString::fromLatin1(safeButtonOf(which))))
        safe->setFocus(Qt::OtherFocusReason);
}

bool QtTransferWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QObject::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier))
        return QObject::eventFilter(watched, event);

    for (Dialog d : kDialogs) {
        if (watched != dialog(d)) continue;
        auto* safe = control<QAbstractButton>(QString::fromLatin1(safeButtonOf(d)));
        if (key->key() == Qt::Key_Escape) {
            // The failed-files window just closes; every question takes its safe answer, so
            // Escape never leaves an upload paused with no way on.
            if (d == Dialog::UploadErrors) return false;
            return press(safe);
        }
        if (isReturn(key)) {
            // The dialog's own focus, whether or not it is the active window right now.
            if (auto* focused = qobject_cast<QAbstractButton*>(dialog(d)->focusWidget()))
                return press(focused);
            return press(safe);
        }
        return false;
    }

    if (watched == control(QStringLiteral("sourceFilesTableView")) && sourceListKey(*key))
        return true;

    if (qobject_cast<QLineEdit*>(watched) && isReturn(key)) {
        // The field's own handling (its returnPressed), and nothing after it: the field leaves
        // the key unaccepted, and an unaccepted key goes on to the parents even when a filter
        // took it.
        static_cast<QObject*>(watched)->event(event);
        event->accept();
        return true;
    }

    if (watched == root_.get() && key->key() == Qt::Key_Escape) {
        // A completed upload leaves nothing to lose: Escape closes the window as its Close
        // button then does. Before that the button only hides the window, which Escape does
        // not do.
        const QWidget* page = mainArea_ ? mainArea_->currentWidget() : nullptr;
        if (statusEnded_ && page && page->objectName() == QLatin1String("statusView"))
            return press(control<QAbstractButton>(QStringLiteral("statusCloseButton")));
    }

    if (watched == root_.get() && isReturn(key)) {
        // A field or a list handles its own Return; a focused button is pressed; otherwise the
        // screen's main button.
        QWidget* focused = root_->focusWidget();
        if (qobject_cast<QLineEdit*>(focused) || qobject_cast<QComboBox*>(focused)) return false;
        if (auto* button = qobject_cast<QAbstractButton*>(focused)) return press(button);
        const QWidget* page = mainArea_ ? mainArea_->currentWidget() : nullptr;
        const char* main = page ? mainButtonOf(page->objectName()) : nullptr;
        if (main) return press(control<QAbstractButton>(QString::fromLatin1(main)));
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace qvt
