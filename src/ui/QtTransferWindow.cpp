// The view operations the controller drives: screens, modal runs and control changes.
#include "ui/QtTransferWindow.h"

#include <QAbstractButton>
#include <QApplication>
#include <QBoxLayout>
#include <QBuffer>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QStackedWidget>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "ui/destination_outline_view.h"
#include "ui/source_drop_view.h"
#include "ui/transfer_window_widget.h"
#include "ui/ui_loader.h"
#include "widgets/QVTransferLinkButton.h"
#include "widgets/QVTransferProgressIndicator.h"

namespace qvt {

std::unique_ptr<QtTransferWindow> QtTransferWindow::create(QVTransferActions& actions,
                                                           const std::string& definition) {
    // Widgets need a widget application on this thread.
    if (!qobject_cast<QApplication*>(QCoreApplication::instance())) return nullptr;
    if (QThread::currentThread() != QCoreApplication::instance()->thread()) return nullptr;

    QByteArray bytes = QByteArray::fromStdString(definition);
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::ReadOnly)) return nullptr;
    ui::TransferUiLoader loader(actions);
    std::unique_ptr<QWidget> loaded(loader.load(&buffer, nullptr));
    if (!loaded || !loader.errorString().isEmpty()) return nullptr;
    auto* root = qobject_cast<QVTransferWindowWidget*>(loaded.get());
    if (!root || !describesWizard(root)) return nullptr;
    loaded.release();

    std::unique_ptr<QtTransferWindow> window(new QtTransferWindow(actions, root));
    window->setUpWindow();
    return window;
}

QtTransferWindow::QtTransferWindow(QVTransferActions& actions, QVTransferWindowWidget* root)
    : actions_(actions), root_(root) {
    mainArea_ = root_->findChild<QStackedWidget*>(QStringLiteral("mainTransferView"));
}

QtTransferWindow::~QtTransferWindow() {
    if (!root_) return;
    // The widgets outlive this window for a moment; from now on they tell the controller
    // nothing (an edit ended by the hiding below included).
    if (auto* tree =
            control<ui::DestinationOutlineView>(QStringLiteral("destinationFolderOutlineView")))
        tree->detachFromController();
    root_->shouldClose = nullptr;
    root_->willClose = nullptr;
    root_->hide();
    root_->setEnabled(false);
    // The controller may let go of the window from inside one of the window's own actions;
    // the widgets go once that action has returned.
    root_.release()->deleteLater();
}

bool QtTransferWindow::onGuiThread() const {
    return QThread::currentThread() == thread();
}

void QtTransferWindow::onGui(std::function<void()> task) const {
    if (onGuiThread()) {
        task();
        return;
    }
    {
        std::lock_guard lock(guiTasksMutex_);
        guiTasks_.push_back(std::move(task));
    }
    QMetaObject::invokeMethod(const_cast<QtTransferWindow*>(this), "runQueuedGuiTasks",
                              Qt::QueuedConnection);
}

void QtTransferWindow::onGuiAndWait(std::function<void()> task) const {
    if (onGuiThread()) {
        task();
        return;
    }
    // The wait uses the standard library's own primitives so the hand-back is visible to the
    // thread checker too.
    struct Handover {
        std::mutex mutex;
        std::condition_variable done;
        bool finished = false;
    };
    auto handover = std::make_shared<Handover>();
    onGui([task = std::move(task), handover] {
        task();
        std::lock_guard lock(handover->mutex);
        handover->finished = true;
        handover->done.notify_all();
    });
    std::unique_lock lock(handover->mutex);
    handover->done.wait(lock, [&] { return handover->finished; });
}

void QtTransferWindow::runQueuedGuiTasks() {
    for (;;) {
        std::function<void()> task;
        {
            std::lock_guard lock(guiTasksMutex_);
            if (guiTasks_.empty()) return;
            task = std::move(guiTasks_.front());
            guiTasks_.pop_front();
        }
        task();
    }
}

QWidget* QtTransferWindow::window() const {
    return root_.get();
}

QWidget* QtTransferWindow::control(const QString& name) const {
    if (!root_ || name.isEmpty()) return nullptr;
    if (root_->objectName() == name) return root_.get();
    return root_->findChild<QWidget*>(name);
}

QDialog* QtTransferWindow::dialog(Dialog which) const {
    return control<QDialog>(QString::fromLatin1(dialogName(which)));
}

QWidget* QtTransferWindow::screenView(Screen screen) const {
    if (!mainArea_) return nullptr;
    return mainArea_->findChild<QWidget*>(QString::fromLatin1(screenName(screen)));
}

QStackedWidget* QtTransferWindow::mainArea() const {
    return mainArea_;
}

void QtTransferWindow::centreOnScreen() {
    QScreen* screen = root_->screen();
    if (!screen) screen = QGuiApplication::primaryScreen();
    if (!screen) return;
    const QRect available = screen->availableGeometry();
    root_->move(available.center() - QPoint(root_->width() / 2, root_->height() / 2));
}

void QtTransferWindow::bringToFront() {
    onGui([this] {
        if (!placed_) {
            centreOnScreen();
            placed_ = true;
        }
        root_->show();
        root_->raise();
        root_->activateWindow();
    });
}

void QtTransferWindow::closeWindow() {
    onGui([this] {
        closingProgrammatically_ = true;
        root_->close();
        closingProgrammatically_ = false;
    });
}

void QtTransferWindow::minimizeWindow() {
    onGui([this] { root_->showMinimized(); });
}

void QtTransferWindow::detachSourceDropTarget() {
    // Files dropped after the upload ended go nowhere: the drop area forgets the controller.
    onGui([this] {
        if (auto* area = root_->findChild<QVTransferDragDropSourceView*>(
                QStringLiteral("dragDropSourceView")))
            area->setDelegate(nullptr);
    });
}

void QtTransferWindow::showScreen(const Screen* screen) {
    // The screen is copied: the pointer belongs to the controller's stack.
    const bool any = screen != nullptr;
    const Screen which = any ? *screen : Screen::Users;
    onGui([this, any, which] {
        if (!mainArea_) return;
        QWidget* page = any ? screenView(which) : nullptr;
        if (!page) page = mainArea_->findChild<QWidget*>(QStringLiteral("emptyTransferView"));
        if (page) mainArea_->setCurrentWidget(page);
        // The status screen opens with the focus on its main button: left to the window, the
        // focus would fall on Pause, where a Space meant for nothing pauses the upload, and the
        // first Tab would pass it by. From the main button, Tab goes Pause, Stop, then back.
        if (any && which == Screen::Status) {
            if (QWidget* main = control(QStringLiteral("statusCloseButton")))
                main->setFocus(Qt::OtherFocusReason);
        }
    });
}

int QtTransferWindow::runModal(Dialog which) {
    if (!onGuiThread()) {
        int code = 0;
        onGuiAndWait([this, which, &code] { code = runModal(which); });
        return code;
    }
    QDialog* box = dialog(which);
    if (!box) return 0;
    if (box->isVisible() &&
        std::find(modalRuns_.begin(), modalRuns_.end(), box) != modalRuns_.end())
        return 0;  // already running: the first run answers
    if (box->layout()) box->layout()->activate();
    if (root_->isVisible()) {
        const QPoint centre = root_->geometry().center();
        box->move(centre - QPoint(box->width() / 2, box->height() / 2));
    }
    focusSafeChoice(which);
    modalRuns_.push_back(box);
    const int code = box->exec();
    modalRuns_.erase(std::remove(modalRuns_.begin(), modalRuns_.end(), box), modalRuns_.end());
    return code;
}

void QtTransferWindow::endModal(Dialog which) {
    onGui([this, which] {
        if (QDialog* box = dialog(which); box && box->isVisible()) box->done(kModalStopped);
    });
}

StopAnswer QtTransferWindow::askStopUpload(const StopQuestion& question) {
    setText("stopUploadPrompt", question.prompt);
    setText("keepUploadingButton", question.keepUploadingTitle);
    setText("stopUploadButton", question.stopUploadTitle);
    switch (runModal(Dialog::CancelUploadConfirm)) {
        case kAnswerFirst:
            return StopAnswer::KeepUploading;
        case kAnswerSecond:
            return StopAnswer::StopUpload;
        default:
            return StopAnswer::Dismissed;
    }
}

ProtectedFilesAnswer QtTransferWindow::askMoveProtectedFiles(
    const ProtectedFilesQuestion& question) {
    setText("containsSystemFilesText", question.text);
    switch (runModal(Dialog::ProtectedFiles)) {
        case kAnswerFirst:
            return ProtectedFilesAnswer::StayOnSources;
        case kAnswerSecond:
            return ProtectedFilesAnswer::Continue;
        default:
            return ProtectedFilesAnswer::Dismissed;
    }
}

LostConnectionAnswer QtTransferWindow::askLostConnection() {
    switch (runModal(Dialog::LostConnection)) {
        case kAnswerFirst:
            return LostConnectionAnswer::Retry;
        case kAnswerSecond:
            return LostConnectionAnswer::Cancel;
        default:
            return LostConnectionAnswer::Dismissed;
    }
}

void QtTransferWindow::showDeviceMissing() {
    runModal(Dialog::DeviceMissing);
}

void QtTransferWindow::showDeviceFull() {
    runModal(Dialog::DeviceFull);
}

QMessageBox* QtTransferWindow::openMessage(const QString& sentence, const QString& closeTitle,
                                           const QString& name) {
    // Sheet-like: modal to the window only, so the window's own events go on meanwhile.
    auto* box = new QMessageBox(QMessageBox::Information, window()->windowTitle(), sentence,
                                QMessageBox::NoButton, window());
    box->setObjectName(name + QStringLiteral("Message"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    QPushButton* close = box->addButton(closeTitle, QMessageBox::AcceptRole);
    close->setObjectName(name + QStringLiteral("CloseButton"));
    box->setDefaultButton(close);
    box->setEscapeButton(close);
    box->open();
    return box;
}

void QtTransferWindow::showResumeProblem(const ResumeProblem& problem) {
    const QString sentence = QString::fromStdString(problem.sentence);
    const QString closeTitle = QString::fromStdString(problem.closeTitle);
    onGui([this, sentence, closeTitle] {
        QMessageBox* box = openMessage(sentence, closeTitle, QStringLiteral("resumeProblem"));
        // Nothing was taken up: the window has nothing left to show.
        QWidget* owner = window();
        connect(box, &QMessageBox::finished, owner, [owner] { owner->close(); });
    });
}

void QtTransferWindow::showNotice(const Notice& notice) {
    const QString sentence = QString::fromStdString(notice.sentence);
    const QString closeTitle = QString::fromStdString(notice.closeTitle);
    onGui([this, sentence, closeTitle] {
        openMessage(sentence, closeTitle, QStringLiteral("notice"));
    });
}

void QtTransferWindow::stopModal() {
    onGui([this] {
        modalRuns_.erase(std::remove(modalRuns_.begin(), modalRuns_.end(), nullptr),
                         modalRuns_.end());
        if (!modalRuns_.empty()) modalRuns_.back()->done(kModalStopped);
    });
}

void QtTransferWindow::applyText(QWidget* widget, const QString& text) {
    if (auto* link = qobject_cast<QVTransferLinkButton*>(widget)) {
        link->setUpTitle(text, link->titleFont(), link->textAlignment());
        link->adjustSize();
    } else if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
        button->setText(text);
    } else if (auto* label = qobject_cast<QLabel*>(widget)) {
        label->setText(text);
    } else if (auto* field = qobject_cast<QLineEdit*>(widget)) {
        field->setText(text);
    }
}

void QtTransferWindow::setText(const std::string& name, const std::string& text) {
    const QString n = QString::fromStdString(name);
    const QString t = QString::fromStdString(text);
    onGui([this, n, t] {
        if (QWidget* w = control(n)) applyText(w, t);
    });
}

std::string QtTransferWindow::text(const std::string& name) const {
    // Read where the widgets live; another thread waits for the answer.
    std::string answer;
    auto read = [this, &name, &answer] {
        QWidget* w = control(QString::fromStdString(name));
        QString t;
        if (auto* link = qobject_cast<QVTransferLinkButton*>(w))
            t = link->title();
        else if (auto* button = qobject_cast<QAbstractButton*>(w))
            t = button->text();
        else if (auto* label = qobject_cast<QLabel*>(w))
            t = label->text();
        else if (auto* field = qobject_cast<QLineEdit*>(w))
            t = field->text();
        answer = t.toStdString();
    };
    onGuiAndWait(read);
    return answer;
}

void QtTransferWindow::setEnabled(const std::string& name, bool enabled) {
    const QString n = QString::fromStdString(name);
    onGui([this, n, enabled] {
        if (QWidget* w = control(n)) w->setEnabled(enabled);
    });
}

void QtTransferWindow::setHidden(const std::string& name, bool hidden) {
    const QString n = QString::fromStdString(name);
    onGui([this, n, hidden] {
        if (QWidget* w = control(n)) w->setHidden(hidden);
    });
}

void QtTransferWindow::setTag(const std::string& name, int tag) {
    const QString n = QString::fromStdString(name);
    onGui([this, n, tag] {
        if (QWidget* w = control(n)) w->setProperty("tag", tag);
    });
}

void QtTransferWindow::moveControl(const std::string& name, double y, double heightDelta) {
    const QString n = QString::fromStdString(name);
    onGui([this, n, y, heightDelta] {
        QWidget* w = control(n);
        if (!w) return;
        const QRect g = w->geometry();
        const int height = std::max(0, g.height() + static_cast<int>(std::lround(heightDelta)));
        w->setGeometry(g.x(), static_cast<int>(std::lround(y)), g.width(), height);
    });
}

void QtTransferWindow::placeAfterText(const QString& controlName, const QString& anchorName,
                                      int spacing, int maxRight) {
    QWidget* link = control(controlName);
    auto* label = control<QLabel>(anchorName);
    if (!link || !label || !label->parentWidget()) return;
    QWidget* row = label->parentWidget();
    // The limit is measured in the screen the row sits on, as the row's own position is.
    const int room = maxRight - row->x() - label->x() - spacing - link->sizeHint().width();
    // A text field's frame ends a little after its last glyph; without that inset the link
    // would touch the text.
    constexpr int kTrailingInset = 3;
    label->setContentsMargins(0, 0, kTrailingInset, 0);
    // A text too long for the line gives way to the link, which keeps its full width.
    label->setMaximumWidth(std::max(0, room));
    // The row's layout puts the link after the text.
    if (auto* layout = qobject_cast<QBoxLayout*>(row->layout())) {
        layout->setSpacing(spacing);
        layout->activate();
    }
}

void QtTransferWindow::showUsers(const UsersScreen& screen) {
    onGui([this, screen] { applyUsers(screen); });
}

void QtTransferWindow::showSources(const SourcesScreen& screen) {
    onGui([this, screen] { applySources(screen); });
}

void QtTransferWindow::showDestinations(const DestinationScreen& screen) {
    onGui([this, screen] { applyDestinations(screen); });
}

void QtTransferWindow::showStatus(const StatusSnapshot& status) {
    onGui([this, status] { applyStatus(status); });
}

void QtTransferWindow::showFailedList(const FailedList& list) {
    onGui([this, list] { applyFailedList(list); });
}

void QtTransferWindow::showErrorWindow() {
    onGui([this] {
        QDialog* box = dialog(Dialog::UploadErrors);
        if (!box) return;
        // Over the window, without a modal run of its own: its buttons call the controller,
        // which closes it.
        focusSafeChoice(Dialog::UploadErrors);
        box->open();
        box->raise();
        box->activateWindow();
    });
}

std::string QtTransferWindow::selectedDestinationFolder() const {
    // Asked by the Upload button's action, which runs on the GUI thread.
    auto* tree =
        control<ui::DestinationOutlineView>(QStringLiteral("destinationFolderOutlineView"));
    return tree ? tree->selectedFolderPath().toStdString() : std::string();
}

void QtTransferWindow::focus(const std::string& name, bool selectAll) {
    const QString n = QString::fromStdString(name);
    onGui([this, n, selectAll] {
        // At the next turn of the event loop, once the screen that holds it is up.
        QTimer::singleShot(0, this, [this, n, selectAll] {
            QWidget* w = control(n);
            if (!w) return;
            w->setFocus(Qt::OtherFocusReason);
            if (auto* field = qobject_cast<QLineEdit*>(w); field && selectAll) field->selectAll();
        });
    });
}

}  // namespace qvt
