#include "console_view.h"

#include <algorithm>

#include "platform/dispatch.h"
#include "session/qvtransfer_private.h"

namespace qvt::cli {

void ConsoleView::selectDestinationFolder(const std::string& path) {
    std::lock_guard lock(mutex_);
    selectedFolder_ = path;
}

std::string ConsoleView::selectedDestinationFolder() const {
    std::lock_guard lock(mutex_);
    return selectedFolder_;
}

void ConsoleView::closeWindow() {
    std::lock_guard lock(mutex_);
    closed_ = true;
}

bool ConsoleView::closed() const {
    std::lock_guard lock(mutex_);
    return closed_;
}

void ConsoleView::showScreen(const Screen*) {
    // The session follows the controller's own record of the screen shown.
}

int ConsoleView::runModal(Dialog dialog) {
    if (!owner_.dispatcher().onMainThread()) {
        int code = 0;
        owner_.dispatcher().mainSync([&] { code = runModal(dialog); });
        return code;
    }
    // A dialog already running answers once, for its first run.
    for (const Run* r : runs_)
        if (r->dialog == dialog) return 0;
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

void ConsoleView::endModal(Dialog dialog, int code) {
    if (!owner_.dispatcher().onMainThread()) {
        auto self = owner_.shared_from_this();
        owner_.dispatcher().mainAsync(
            [self, dialog, code] { self->view()->endModal(dialog, code); });
        return;
    }
    for (auto it = runs_.rbegin(); it != runs_.rend(); ++it)
        if ((*it)->dialog == dialog && !(*it)->ended) {
            finishRun(*it, code);
            return;
        }
}

void ConsoleView::stopModal() {
    if (!owner_.dispatcher().onMainThread()) {
        auto self = owner_.shared_from_this();
        owner_.dispatcher().mainAsync([self] { self->view()->stopModal(); });
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

void ConsoleView::setText(const std::string& control, const std::string& text) {
    std::lock_guard lock(mutex_);
    texts_[control] = text;
}

std::string ConsoleView::text(const std::string& control) const {
    std::lock_guard lock(mutex_);
    const auto it = texts_.find(control);
    return it == texts_.end() ? std::string() : it->second;
}

void ConsoleView::setEnabled(const std::string& control, bool enabled) {
    std::lock_guard lock(mutex_);
    enabled_[control] = enabled;
}

bool ConsoleView::enabled(const std::string& control) const {
    std::lock_guard lock(mutex_);
    const auto it = enabled_.find(control);
    return it != enabled_.end() && it->second;
}

void ConsoleView::setHidden(const std::string&, bool) {}

void ConsoleView::setTag(const std::string& control, int tag) {
    std::lock_guard lock(mutex_);
    tags_[control] = tag;
}

int ConsoleView::tag(const std::string& control, int fallback) const {
    std::lock_guard lock(mutex_);
    const auto it = tags_.find(control);
    return it == tags_.end() ? fallback : it->second;
}

void ConsoleView::setValue(const std::string&, double) {}

}  // namespace qvt::cli
