// The status screen in the terminal: one progress line (redrawn in place on a terminal, one
// line per change otherwise), the keys of its buttons, and the end of the upload.
#include <sys/ioctl.h>
#include <unistd.h>

#include <QTimer>
#include <algorithm>
#include <cstdio>

#include "console_session.h"
#include "console_view.h"
#include "progress_text.h"
#include "session/qvtransfer_private.h"
#include "terminal.h"

namespace qvt::cli {

namespace {

constexpr const char* kPauseResumeButton = "pauseResumeTransferButton";
constexpr int kTagStop = 0;
constexpr int kTagKeepUploading = 1;
constexpr int kTagStopUpload = 2;
constexpr int kTagPause = 3;
constexpr int kTagResume = 4;
constexpr auto kRedrawEvery = std::chrono::milliseconds(200);
// The end step normally follows completion at once; this bounds the wait for its texts.
constexpr auto kEndStepWait = std::chrono::seconds(5);

std::size_t terminalWidth() {
    struct winsize size {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return 100;
}

// Cuts `line` to `width` display columns (UTF-8 continuation bytes take no column).
std::string fitted(const std::string& line, std::size_t width) {
    std::size_t columns = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const auto byte = static_cast<unsigned char>(line[i]);
        if ((byte & 0xC0) == 0x80) continue;
        if (++columns > width) return line.substr(0, i);
    }
    return line;
}

}  // namespace

void ConsoleSession::clearProgressLine() {
    if (!progressLineOpen_) return;
    std::fputs("\r\033[K", stdout);
    std::fflush(stdout);
    progressLineOpen_ = false;
}

void ConsoleSession::showProgress(bool force) {
    const auto now = Clock::now();
    if (!force && now - lastDraw_ < kRedrawEvery) return;
    if (view_.modalOpen()) return;  // a question is on the line
    lastDraw_ = now;
    const long long files = wizard_->job().progressValue.load();
    const long long total = wizard_->job().numberOfFilesCountForTransfer.load();
    // The bars hold bytes once the estimator has sized them to the upload; before its first
    // pass they hold their never-empty start values, which are no byte counts.
    const std::uint64_t size = wizard_->totalSourceFilesSize.load();
    const bool sized = static_cast<std::uint64_t>(wizard_->progressMaxValue.load()) == size;
    const std::uint64_t bytes = sized ? static_cast<std::uint64_t>(std::max<std::int64_t>(
                                            0, wizard_->transferProgressValue.load()))
                                      : wizard_->job().totalTransferredFilesSize.load();
    const std::string first = wizard_->progressStatusMsg1.get();
    const std::string second = wizard_->progressStatusMsg2.get();
    const bool paused = wizard_->uploadPaused();

    char counts[160];
    std::snprintf(counts, sizeof counts, "Files %lld of %lld | %s of %s", files, total,
                  progressBytesText(bytes).c_str(), progressBytesText(size).c_str());
    std::string line = counts;
    if (!first.empty()) line += " | " + first;
    if (!second.empty()) line += " | " + second;

    if (terminal_.outputIsTerminal()) {
        std::string keys = paused ? "  [r resume, s stop]" : "  [p pause, s stop]";
        std::printf("\r\033[K%s", fitted(line + keys, terminalWidth() - 1).c_str());
        progressLineOpen_ = true;
    } else {
        // Without a terminal a line is written when something other than the bytes changed.
        const std::string key = std::to_string(files) + first + second + (paused ? "p" : "");
        if (key == lastPlainLine_) return;
        lastPlainLine_ = key;
        std::printf("%s\n", line.c_str());
    }
    std::fflush(stdout);
}

void ConsoleSession::showPauseChange() {
    const bool paused = wizard_->uploadPaused();
    if (paused == pausedShown_) return;
    pausedShown_ = paused;
    clearProgressLine();
    std::printf("%s\n", paused ? "Paused." : "Resumed.");
    std::fflush(stdout);
    showProgress(true);
}

void ConsoleSession::onKey(char key) {
    if (ended() || stage_ != Stage::Uploading) return;
    Dialog open = Dialog::QuitConfirmation;
    const bool modal = view_.modalOpen(&open);
    if (modal && open == Dialog::CancelUploadConfirm && awaitingStopAnswer_) {
        // Blanks between keys in a pipe are no answer; Enter on a terminal is the default, no.
        if ((key == '\n' || key == '\r') && terminal_.inputIsTerminal()) key = 'n';
        if (key == '\n' || key == '\r' || key == ' ') return;
        awaitingStopAnswer_ = false;
        const bool stop = key == 'y' || key == 'Y';
        std::printf("%s\n", stop ? "yes" : "no");
        std::fflush(stdout);
        const int tag = stop ? kTagStopUpload : kTagKeepUploading;
        QTimer::singleShot(0, this, [this, tag] {
            wizard_->cancelUploadFiles(tag);
            if (!ended()) showPauseChange();
        });
        return;
    }
    if (modal) {
        if (open == Dialog::LostConnection && (key == 's' || key == 'S')) {
            QTimer::singleShot(0, this, [this] { wizard_->cancelQVTransfer(); });
        }
        return;
    }
    if (wizard_->isFileTransferCompleted() || wizard_->uploadCancelled()) return;
    const int tag = view_.tag(kPauseResumeButton, kTagPause);
    switch (key) {
        case 'p':
        case 'P':
            if (tag == kTagPause) wizard_->cancelUploadFiles(kTagPause);
            showPauseChange();
            break;
        case 'r':
        case 'R':
            if (tag == kTagResume) wizard_->cancelUploadFiles(kTagResume);
            showPauseChange();
            break;
        case 's':
        case 'S':
            // The stop button: pauses, then asks. The question runs as a nested loop, so it
            // starts from the event loop rather than from inside this key's handling.
            QTimer::singleShot(0, this, [this] { wizard_->cancelUploadFiles(kTagStop); });
            return;
        default:
            return;
    }
    showProgress(true);
}

void ConsoleSession::onStopSignal() {
    if (ended()) return;
    if (stage_ != Stage::Uploading) {
        clearProgressLine();
        // As closing the window before an upload: the controller lets its mounts go.
        wizard_->windowShouldClose();
        return finish(kExitStopped, "Stopped before the upload began.");
    }
    Dialog open = Dialog::QuitConfirmation;
    if (view_.modalOpen(&open)) {
        if (open == Dialog::CancelUploadConfirm) {
            awaitingStopAnswer_ = false;
            std::printf("yes\n");
            QTimer::singleShot(0, this, [this] { wizard_->cancelUploadFiles(kTagStopUpload); });
        } else if (open == Dialog::LostConnection) {
            QTimer::singleShot(0, this, [this] { wizard_->cancelQVTransfer(); });
        }
        return;
    }
    if (wizard_->isFileTransferCompleted()) return;  // the end is being printed
    stopWithoutAsking_ = true;
    QTimer::singleShot(0, this, [this] { wizard_->cancelUploadFiles(kTagStop); });
}

void ConsoleSession::checkEnd() {
    if (delegate_->cancelled || wizard_->uploadCancelled()) {
        if (view_.modalOpen()) return;  // the stop is still unwinding
        return finish(kExitStopped,
                      "Stopped. Files uploaded before the stop stay at the destination.");
    }
    if (!wizard_->isFileTransferCompleted()) return;
    const auto now = Clock::now();
    if (!completedSince_) completedSince_ = now;
    const bool endStepDone = view_.text("statusCloseButton") == wizard_->localeCLOSE_btn;
    if (!endStepDone && now - *completedSince_ < kEndStepWait) return;
    clearProgressLine();
    printResult();
    const bool failures = !wizard_->failedTransferArray.get().empty();
    if (failures) {
        // As closing the status after an upload with errors: the session ends and the shares
        // that stayed mounted for a retry are let go.
        wizard_->terminateTransfer();
    }
    finish(failures ? kExitSomeFailed : kExitAllArrived);
}

void ConsoleSession::printResult() {
    const List failed = wizard_->failedTransferArray.get();
    std::printf("%s\n", wizard_->progressStatusMsg1.get().c_str());
    const std::string folder = wizard_->selectedDestinationShare.get();
    std::printf("Destination: %s on %s (%s)\n",
                destinationShown_.empty() ? folder.c_str() : destinationShown_.c_str(),
                wizard_->deviceInfo().string("productName").c_str(), folder.c_str());
    if (!failed.empty()) {
        std::printf("Failed (%zu):\n", failed.size());
        for (const Value& v : failed)
            if (const Record* r = v.asRecord())
                std::printf("  %s: %s\n", r->string("sourceFilePath").c_str(),
                            r->string("localizedError").c_str());
    }
    std::fflush(stdout);
}

}  // namespace qvt::cli
