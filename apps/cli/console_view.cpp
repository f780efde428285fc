#include "console_view.h"

#include "progress_text.h"

#include "platform/files.h"
#include "platform/qt_main_thread.h"

#include <cstdio>

#include <QCoreApplication>
#include <QThread>
#include <algorithm>

namespace qvt::cli {

bool ConsoleView::onMainThread() {
    const QCoreApplication* app = QCoreApplication::instance();
    return !app || QThread::currentThread() == app->thread();
}

void ConsoleView::selectDestinationFolder(const std::string& path) {
    std::lock_guard lock(mutex_);
    selectedFolder_ = path;
}

std::string ConsoleView::selectedDestinationFolder() const {
    std::lock_guard lock(mutex_);
    return selectedFolder_;
}

void ConsoleView::setChangeHandler(std::function<void()> handler) {
    std::lock_guard lock(change_->mutex);
    change_->handler = std::move(handler);
}

void ConsoleView::changed() {
    if (change_->posted.exchange(true)) return;
    platform::QtMainThread().post([signal = change_] {
        signal->posted = false;
        std::function<void()> handler;
        {
            std::lock_guard lock(signal->mutex);
            handler = signal->handler;
        }
        if (handler) handler();
    });
}

void ConsoleView::closeWindow() {
    {
        std::lock_guard lock(mutex_);
        closed_ = true;
    }
    changed();
}

int ConsoleView::completions() const {
    std::lock_guard lock(mutex_);
    return completions_;
}

bool ConsoleView::closed() const {
    std::lock_guard lock(mutex_);
    return closed_;
}

void ConsoleView::showScreen(const Screen* screen) {
    {
        std::lock_guard lock(mutex_);
        screenShown_ = screen != nullptr;
        if (screen) screen_ = *screen;
    }
    changed();
}

bool ConsoleView::shownScreen(Screen* which) const {
    std::lock_guard lock(mutex_);
    if (screenShown_ && which) *which = screen_;
    return screenShown_;
}

void ConsoleView::showUsers(const UsersScreen& screen) {
    {
        std::lock_guard lock(mutex_);
        users_ = screen;
    }
    changed();
}

void ConsoleView::showSources(const SourcesScreen& screen) {
    {
        std::lock_guard lock(mutex_);
        sources_ = screen;
    }
    changed();
}

void ConsoleView::showDestinations(const DestinationScreen& screen) {
    {
        std::lock_guard lock(mutex_);
        destinations_ = screen;
    }
    changed();
}

void ConsoleView::showStatus(const StatusSnapshot& status) {
    bool turned = false;
    {
        std::lock_guard lock(mutex_);
        // The counters move with every file; only a turn of the upload is worth a look at once.
        turned = status.state != status_.state || status.paused != status_.paused ||
                 status.pausedByUser != status_.pausedByUser ||
                 status.uploadedFilesShown != status_.uploadedFilesShown;
        if (status.state == engine::UploadState::Completed &&
            status_.state != engine::UploadState::Completed)
            ++completions_;
        status_ = status;
    }
    if (turned) changed();
}

void ConsoleView::fileArrived(const std::string& source, const std::string& destination) {
    if (!keepArrived_) return;
    std::string url = platform::files().networkURLForPath(destination);
    std::lock_guard lock(mutex_);
    arrived_.push_back({source, destination, std::move(url)});
}

std::vector<ConsoleView::ArrivedFile> ConsoleView::takeArrivedFiles() {
    std::lock_guard lock(mutex_);
    return std::exchange(arrived_, {});
}

UsersScreen ConsoleView::users() const {
    std::lock_guard lock(mutex_);
    return users_;
}

SourcesScreen ConsoleView::sources() const {
    std::lock_guard lock(mutex_);
    return sources_;
}

DestinationScreen ConsoleView::destinations() const {
    std::lock_guard lock(mutex_);
    return destinations_;
}

void ConsoleView::setText(const std::string& control, const std::string& text) {
    if (control != "lostConnectionMessage") return;
    std::lock_guard lock(mutex_);
    lostConnectionSentence_ = text;
}

std::string ConsoleView::lostConnectionSentence() const {
    std::lock_guard lock(mutex_);
    return lostConnectionSentence_;
}

StatusSnapshot ConsoleView::status() const {
    std::lock_guard lock(mutex_);
    return status_;
}

std::string ConsoleView::questionText() const {
    std::lock_guard lock(mutex_);
    return questionText_;
}

void ConsoleView::setEnabled(const std::string& control, bool enabled) {
    {
        std::lock_guard lock(mutex_);
        enabled_[control] = enabled;
    }
    changed();
}

bool ConsoleView::enabled(const std::string& control) const {
    std::lock_guard lock(mutex_);
    const auto it = enabled_.find(control);
    return it != enabled_.end() && it->second;
}

int ConsoleView::runModal(Dialog dialog, const std::string& text) {
    if (!onMainThread()) {
        int code = 0;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [&] { code = runModal(dialog, text); },
            Qt::BlockingQueuedConnection);
        return code;
    }
    // A question already open answers once, for its first run.
    for (const Run* r : runs_)
        if (r->dialog == dialog) return 0;
    {
        std::lock_guard lock(mutex_);
        questionText_ = text;
    }
    Run run(dialog);
    runs_.push_back(&run);
    if (onModal_) onModal_(dialog);
    if (!run.ended) run.loop.exec();
    runs_.erase(std::remove(runs_.begin(), runs_.end(), &run), runs_.end());
    return run.code;
}

void ConsoleView::finishRun(Run* run, int code) {
    run->ended = true;
    run->code = code;
    run->loop.quit();
}

void ConsoleView::answer(Dialog dialog, int code) {
    for (auto it = runs_.rbegin(); it != runs_.rend(); ++it)
        if ((*it)->dialog == dialog && !(*it)->ended) {
            finishRun(*it, code);
            return;
        }
}

StopAnswer ConsoleView::askStopUpload(const StopQuestion& question) {
    switch (runModal(Dialog::CancelUploadConfirm, question.prompt)) {
        case kAnswerFirst:
            return StopAnswer::KeepUploading;
        case kAnswerSecond:
            return StopAnswer::StopUpload;
        default:
            return StopAnswer::Dismissed;
    }
}

ProtectedFilesAnswer ConsoleView::askMoveProtectedFiles(const ProtectedFilesQuestion& question) {
    switch (runModal(Dialog::ProtectedFiles, question.text)) {
        case kAnswerFirst:
            return ProtectedFilesAnswer::StayOnSources;
        case kAnswerSecond:
            return ProtectedFilesAnswer::Continue;
        default:
            return ProtectedFilesAnswer::Dismissed;
    }
}

LostConnectionAnswer ConsoleView::askLostConnection() {
    switch (runModal(Dialog::LostConnection)) {
        case kAnswerFirst:
            return LostConnectionAnswer::Retry;
        case kAnswerSecond:
            return LostConnectionAnswer::Cancel;
        default:
            return LostConnectionAnswer::Dismissed;
    }
}

void ConsoleView::showDeviceMissing() {
    runModal(Dialog::DeviceMissing);
}

void ConsoleView::showDeviceFull() {
    runModal(Dialog::DeviceFull);
}

void ConsoleView::showNotice(const Notice& notice) {
    // The sentence may name a folder, whose name may hold control characters.
    std::fprintf(stderr, "%s\n", printableText(notice.sentence).c_str());
}

void ConsoleView::showResumeProblem(const ResumeProblem& problem) {
    {
        std::lock_guard lock(mutex_);
        resumeProblem_ = problem.sentence;
    }
    changed();
}

std::string ConsoleView::resumeProblem() const {
    std::lock_guard lock(mutex_);
    return resumeProblem_;
}

void ConsoleView::endModal(Dialog dialog) {
    if (!onMainThread()) {
        // Through the main thread's task queue, whose lock orders this thread's work before
        // the main thread's (a queued call of Qt's own would hand the call over unseen by the
        // thread checker).
        platform::QtMainThread().post([this, dialog] { endModal(dialog); });
        return;
    }
    answer(dialog, kModalStopped);
}

void ConsoleView::stopModal() {
    if (!onMainThread()) {
        platform::QtMainThread().post([this] { stopModal(); });
        return;
    }
    for (auto it = runs_.rbegin(); it != runs_.rend(); ++it)
        if (!(*it)->ended) {
            finishRun(*it, kModalStopped);
            return;
        }
}

bool ConsoleView::modalOpen(Dialog* which) const {
    for (auto it = runs_.rbegin(); it != runs_.rend(); ++it)
        if (!(*it)->ended) {
            if (which) *which = (*it)->dialog;
            return true;
        }
    return false;
}

}  // namespace qvt::cli
