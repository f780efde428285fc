// The status screen in the terminal: one progress line (redrawn in place on a terminal, one
// line per change otherwise), the keys of its buttons, and the end of the upload.
#include <sys/ioctl.h>
#include <unistd.h>

#include <QTimer>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "console_session.h"
#include "console_texts.h"
#include "console_view.h"
#include "json_events.h"
#include "platform/paths.h"
#include "progress_text.h"
#include "session/recorded_upload.h"
#include "state_folder.h"
#include "terminal.h"

namespace qvt::cli {

namespace {

constexpr int kTagStop = 0;
constexpr int kTagPause = 3;
constexpr int kTagResume = 4;
// The failed-files window's Retry All button.
constexpr int kTagRetryAll = 2;
constexpr auto kRedrawEvery = std::chrono::milliseconds(200);
// Plain progress lines (output that is not a terminal) come at most this often.
constexpr auto kPlainEvery = std::chrono::seconds(1);
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

void ConsoleSession::emitNewFileEvents(const StatusSnapshot& status) {
    // The files that arrived since the last look come first: a file is told once it is whole.
    for (const ConsoleView::ArrivedFile& file : view_.takeArrivedFiles()) {
        if (file.url.empty())
            emitJsonEvent("arrived", {{"path", file.source}, {"destination", file.destination}});
        else
            emitJsonEvent(
                "arrived",
                {{"path", file.source}, {"destination", file.destination}, {"url", file.url}});
    }
    for (; failuresEmitted_ < status.failures.size(); ++failuresEmitted_) {
        const FailedItem& item = status.failures[failuresEmitted_];
        emitJsonEvent("failed", {{"path", item.sourceFilePath}, {"reason", item.localizedError}});
    }
}

void ConsoleSession::emitProgress(const StatusSnapshot& status, bool force) {
    const auto now = Clock::now();
    if (!force && lastProgressEventAt_ && now - *lastProgressEventAt_ < kPlainEvery) return;
    const std::string event =
        jsonEvent("progress", {{"files", std::int64_t{status.filesDone}},
                               {"totalFiles", std::int64_t{status.filesTotal}},
                               {"bytes", status.bytesDone},
                               {"totalBytes", status.bytesTotal},
                               {"paused", status.paused}});
    if (event == lastProgressEvent_) return;
    lastProgressEvent_ = event;
    lastProgressEventAt_ = now;
    std::printf("%s\n", event.c_str());
    std::fflush(stdout);
}

void ConsoleSession::showProgress(bool force) {
    if (options_.json) {
        const StatusSnapshot status = actions_.statusSnapshot();
        emitNewFileEvents(status);
        if (!status.ended()) emitProgress(status, force);
        return;
    }
    if (options_.quiet) return;
    const auto now = Clock::now();
    if (!force && now - lastDraw_ < kRedrawEvery) return;
    if (view_.modalOpen()) return;  // a question is on the line
    // The counters as they are now, not as the last update of the screen left them.
    const StatusSnapshot status = actions_.statusSnapshot();
    const bool terminal = terminal_.outputIsTerminal();
    const bool paused = status.paused;
    // Without a terminal, a line at most once a second, unless the upload pauses or goes on.
    if (!terminal && !force && paused == plainPaused_ && now - lastPlainAt_ < kPlainEvery) return;
    lastDraw_ = now;
    // The files and the bytes are the counters of the same moment: the file counter names the
    // file in hand, and the bytes are those of the files before it and what is written of it. (The
    // status line's "file N of M" is the estimator's, from up to 3 seconds ago, and says nothing
    // the counter does not: it is shown only when it says something else.)
    const long long files = status.filesDone;
    const long long total = status.filesTotal;
    const std::uint64_t size = status.bytesTotal;
    const std::uint64_t bytes = status.bytesDone;
    const bool copying = status.state == engine::UploadState::Copying;
    // Until the end, the status's first line is its "file N of M" of the moment it was set (a
    // pause, a wait): the counters above tell it as of now. After the end it is the summary.
    const std::string first = status.ended() ? status.line1 : std::string();
    // Once the upload has ended, or every file is copied and only the disk is waited for,
    // there is nothing left to estimate.
    const std::string second = status.ended()         ? std::string()
                               : status.flushingAtEnd ? consoleText("FLUSHING_AT_END")
                                                      : status.line2;

    std::string line =
        consoleText("PROGRESS_COUNTS", {std::to_string(files), std::to_string(total),
                                        progressBytesText(bytes), progressBytesText(size)});
    // No rate while the copy waits for room: it would only fall.
    if (copying && !status.stillFull && !status.flushingAtEnd) {
        const double seconds = copyingTime_.seconds(now);
        if (seconds >= 1 && bytes > 0)
            line += " | " +
                    consoleText("RATE",
                                {progressBytesText(static_cast<std::uint64_t>(bytes / seconds))});
    }
    if (!first.empty()) line += " | " + first;
    if (!second.empty()) line += " | " + second;

    if (terminal) {
        const std::string keys =
            "  " + consoleText(paused ? "KEYS_WHILE_PAUSED" : "KEYS_WHILE_COPYING");
        std::printf(
            "\r\033[K%s",
            fitted(progressBar(bytes, size) + " " + line + keys, terminalWidth() - 1).c_str());
        progressLineOpen_ = true;
    } else {
        // A line only when it says something new.
        if (line == lastPlainLine_) return;
        lastPlainLine_ = line;
        lastPlainAt_ = now;
        plainPaused_ = paused;
        std::printf("%s\n", line.c_str());
    }
    std::fflush(stdout);
}

void ConsoleSession::startClocks() {
    uploadStarted_ = Clock::now();
    copyingTime_.restart();
}

void ConsoleSession::showPauseChange() {
    const StatusSnapshot status = view_.status();
    copyingTime_.note(status.state == engine::UploadState::Copying && !status.paused &&
                          !status.stillFull && !status.deviceMissing,
                      Clock::now());
    // A stop ends the wait and the pause with the upload: the device is not back and nothing
    // goes on, so neither is said; "Stopped." follows.
    if (delegate_->cancelled || status.state == engine::UploadState::Cancelled) {
        waits_.forget();
        pausedShown_ = status.pausedByUser;
        return;
    }
    for (const WaitChange& change :
         waits_.update({status.deviceMissing, status.deviceFull, status.stillFull})) {
        clearProgressLine();
        const bool device = change.wait == Wait::Device;
        if (change.began) {
            // The waits with a question are told when it is answered; a device full again
            // after its one question in this upload has none: its copy tries again by itself.
            if (options_.json) emitJsonEvent("waiting", {{"for", "space"}});
            if (!options_.quiet) std::printf("%s\n", consoleText("FULL_AGAIN").c_str());
        } else {
            if (options_.json) emitJsonEvent("continuing", {{"for", device ? "device" : "space"}});
            if (!options_.quiet)
                std::printf("%s\n", consoleText(device ? "DEVICE_BACK" : "ROOM_AGAIN").c_str());
        }
    }
    // Only the user's own pause is told as one: a wait for the device or for space has its own
    // lines above, and its end says that the upload goes on.
    const bool paused = status.pausedByUser;
    if (paused == pausedShown_) return;
    pausedShown_ = paused;
    // A pause pressed as the last file arrived ends with the upload: nothing resumed, and the
    // end says what happened.
    if (!paused && status.state == engine::UploadState::Completed) return;
    clearProgressLine();
    if (options_.json) emitJsonEvent(paused ? "paused" : "resumed", {});
    // A pause waits for the file being copied: the user is told, so that a large file still
    // growing at the destination is no surprise.
    const char* text = !paused ? "RESUMED" : status.fileInProgress ? "PAUSED_AFTER_FILE" : "PAUSED";
    if (!options_.quiet) std::printf("%s\n", consoleText(text).c_str());
    std::fflush(stdout);
    showProgress(true);
}

void ConsoleSession::onKey(char key) {
    if (ended() || stage_ != Stage::Uploading) return;
    keys_.push_back(key);
    handleKeys();
}

void ConsoleSession::handleKeys() {
    while (!keys_.empty() && !ended()) {
        if (!handleKey(keys_.front())) return;
        keys_.pop_front();
    }
    if (keys_.empty() && terminal_.inputEnded()) onInputEnded();
}

void ConsoleSession::answerStop(bool stop) {
    Dialog open = Dialog::QuitConfirmation;
    if (!view_.modalOpen(&open) || open != Dialog::CancelUploadConfirm) return;
    awaitingStopAnswer_ = false;
    if (!options_.json) std::printf("%s\n", consoleText(stop ? "ANSWER_YES" : "ANSWER_NO").c_str());
    std::fflush(stdout);
    view_.answer(open, stop ? ConsoleView::kAnswerSecond : ConsoleView::kAnswerFirst);
    // The controller acts on the answer once the question's loop has returned.
    QTimer::singleShot(0, this, [this] {
        if (!ended()) showPauseChange();
    });
}

void ConsoleSession::onInputEnded() {
    // Nobody is left to answer: "no", and the upload goes on without keys.
    if (awaitingStopAnswer_) answerStop(false);
    // Nor is anyone left to ask for a retry: the upload ends with its failures.
    if (awaitingRetryAnswer_) answerRetry('n');
}

bool ConsoleSession::handleKey(char key) {
    if (awaitingStopAnswer_) {
        // Blanks between keys in a pipe are no answer; Enter on a terminal is the default, no.
        if ((key == '\n' || key == '\r') && terminal_.inputIsTerminal()) key = 'n';
        if (key == '\n' || key == '\r' || key == ' ') return true;
        answerStop(isYesKey(key));
        return true;
    }
    if (awaitingRetryAnswer_) {
        if (key == '\n' || key == '\r' || key == ' ') return true;
        answerRetry(key);
        return true;
    }
    // The keys after a stop key belong to its question: they wait until it is up.
    if (stopQuestionComing_) return false;
    if (view_.modalOpen()) return true;
    const StatusSnapshot status = view_.status();
    if (status.ended()) return true;
    const int tag = status.pauseButtonTag;
    switch (key) {
        case 'p':
        case 'P':
            if (tag == kTagPause) actions_.cancelUploadFiles(kTagPause);
            showPauseChange();
            break;
        case 'r':
        case 'R':
            if (tag == kTagResume) actions_.cancelUploadFiles(kTagResume);
            showPauseChange();
            break;
        case 's':
        case 'S':
            // The stop button: pauses, then asks. The question runs as a nested loop, so it
            // starts from the event loop rather than from inside this key's handling.
            stopQuestionComing_ = true;
            QTimer::singleShot(0, this, [this] {
                actions_.cancelUploadFiles(kTagStop);
                // No question came (the upload had ended): the keys go on.
                if (stopQuestionComing_) {
                    stopQuestionComing_ = false;
                    handleKeys();
                }
            });
            return true;
        default:
            return true;
    }
    showProgress(true);
    return true;
}

void ConsoleSession::endWithTheDesktopSession(int number) {
    const int code = 128 + number;
    if (stage_ == Stage::Resuming) {
        // The recorded upload has not been touched yet: it stays as it was for the next try.
        clearProgressLine();
        if (options_.json)
            emitJsonEvent("ended", {{"exitStatus", std::int64_t{code}},
                                    {"message", consoleText("ENDED_BEFORE_TAKEN_UP")}});
        else
            std::printf("%s\n", consoleText("ENDED_BEFORE_TAKEN_UP").c_str());
        std::fflush(stdout);
        Terminal::restore();
        std::_Exit(code);
    }
    if (stage_ != Stage::Uploading) {
        clearProgressLine();
        actions_.windowShouldClose();
        return finish(code, consoleText("ENDED_BEFORE_BEGIN"));
    }
    const engine::UploadState state = view_.status().state;
    if (state == engine::UploadState::Completed || state == engine::UploadState::Cancelled)
        return;  // the end is printed
    actions_.suspendForShutdown();
    clearProgressLine();
    // The stop question's line waits for its answer: what follows starts a line of its own.
    if (awaitingStopAnswer_) {
        awaitingStopAnswer_ = false;
        if (!options_.json) std::printf("\n");
    }
    // The record is what --resume reads: it is promised only when it is there. A volume with
    // no file-system identity (a RAM disk) has no key to record an upload under, and an upload
    // whose every file was handled leaves nothing to take up.
    const bool recorded =
        session::unfinishedUploadIn(platform::UserFolders::current().transferDataFolder() + "/" +
                                    session::kStateFileName)
            .has_value();
    const StatusSnapshot status = view_.status();
    const bool allHandled =
        status.filesTotal > 0 && status.filesArrived + status.failures.size() >=
                                     static_cast<std::uint64_t>(status.filesTotal);
    const bool cannotRecord = !recorded && !allHandled && stateFolderProblem(stateFolder());
    const std::string message = cannotRecord
                                    ? consoleText("SUSPENDED_STATE_NOT_WRITABLE", {stateFolder()})
                                    : consoleText(recorded     ? "SUSPENDED"
                                                  : allHandled ? "ENDED_NOTHING_LEFT"
                                                               : "SUSPENDED_NOT_RECORDED");
    if (options_.json) {
        // What arrived or failed since the last look is told first: the upload is paused now,
        // and nothing more is handled before the process ends.
        emitNewFileEvents(status);
        emitJsonEvent("suspended", {{"exitStatus", std::int64_t{code}}, {"recorded", recorded}});
        // Every run's last event, this one's included.
        emitJsonEvent("ended", {{"exitStatus", std::int64_t{code}}, {"message", message}});
    } else {
        std::printf("%s\n", message.c_str());
    }
    std::fflush(stdout);
    Terminal::restore();
    // The copy thread may be inside a file: the process ends here as a kill would end it,
    // after the record was written. The file's hidden copy is removed when the upload is
    // taken up.
    std::_Exit(code);
}

void ConsoleSession::onStopSignal(int number) {
    if (ended()) return;
    if (number == SIGTERM || number == SIGHUP) return endWithTheDesktopSession(number);
    if (stage_ != Stage::Uploading) {
        clearProgressLine();
        // As closing the window before an upload: the controller lets its mounts go.
        actions_.windowShouldClose();
        return finish(kExitStopped, consoleText("STOPPED_BEFORE_BEGIN"));
    }
    Dialog open = Dialog::QuitConfirmation;
    if (view_.modalOpen(&open)) {
        if (open == Dialog::CancelUploadConfirm) answerStop(true);
        return;
    }
    // At the retry question nothing runs that a stop could end: the question is answered as
    // any key but r answers it. One press ends the uploader, with the upload's own status.
    if (awaitingRetryAnswer_) return answerRetry('n');
    if (view_.status().state == engine::UploadState::Completed) {
        // The end is about to be printed; the question that may follow it is not asked.
        endRequested_ = true;
        return;
    }
    stopWithoutAsking_ = true;
    QTimer::singleShot(0, this, [this] { actions_.cancelUploadFiles(kTagStop); });
}

void ConsoleSession::checkEnd() {
    const StatusSnapshot status = view_.status();
    if (delegate_->cancelled || status.state == engine::UploadState::Cancelled) {
        if (view_.modalOpen()) return;  // the stop is still unwinding
        return finish(kExitStopped, consoleText("STOPPED"));
    }
    if (status.state != engine::UploadState::Completed) return;
    // After r, the end seen is the retry's own, not the one the question was asked at.
    if (view_.completions() <= completionsBeforeRetry_) return;
    const auto now = Clock::now();
    if (!completedSince_) completedSince_ = now;
    // The end step's last change of the status screen brings up the uploaded-files link.
    if (!status.uploadedFilesShown && now - *completedSince_ < kEndStepWait) return;
    if (awaitingRetryAnswer_) return;
    clearProgressLine();
    printResult(status);
    const bool failures = !status.failures.empty();
    if (failures && !endRequested_ && !terminal_.noticeEndOfInput()) {
        // Someone may still press a key: the failed items can be tried again.
        if (options_.json)
            emitJsonEvent("retry question", {{"keys", "r retries, any other key finishes"}});
        else
            std::printf("%s\n", consoleText("RETRY_QUESTION").c_str());
        std::fflush(stdout);
        awaitingRetryAnswer_ = true;
        return;
    }
    endWithResult(failures, !status.failedBeforeRestart.empty());
}

void ConsoleSession::endWithResult(bool failures, bool failedBefore) {
    if (failures) {
        // As closing the status after an upload with errors: the session ends and the shares
        // that stayed mounted for a retry are let go.
        actions_.terminateTransfer();
    }
    // Items that failed before a restart did not arrive either, though this run did not try
    // them.
    finish(failures || failedBefore ? kExitSomeFailed : kExitAllArrived);
}

void ConsoleSession::answerRetry(char key) {
    awaitingRetryAnswer_ = false;
    if (key != 'r' && key != 'R') return endWithResult(true, false);
    const StatusSnapshot status = view_.status();
    // The retry starts a new failed list.
    failuresEmitted_ = 0;
    if (options_.json)
        emitJsonEvent("retrying", {{"items", std::uint64_t{status.failures.size()}}});
    if (!options_.quiet)
        std::printf("%s\n", consoleCountText("TRYING_AGAIN_n", status.failures.size()).c_str());
    std::fflush(stdout);
    completedSince_.reset();
    // The retry counts its own files from nothing; the last line tells the whole upload, so
    // the files of the passes before are kept, and the time runs on from the first start.
    filesArrivedBeforeRetry_ += status.filesArrived;
    copyingTime_.restart();
    completionsBeforeRetry_ = view_.completions();
    actions_.retryOrDismissTransfer(kTagRetryAll);
}

void ConsoleSession::printFailedItems(const char* heading, const std::vector<FailedItem>& items) {
    if (items.empty()) return;
    std::printf("%s\n", consoleText(heading, {std::to_string(items.size())}).c_str());
    for (const FailedItem& item : items)
        std::printf("  %s: %s\n", printableText(item.sourceFilePath).c_str(),
                    printableText(item.localizedError).c_str());
}

void ConsoleSession::printResult(const StatusSnapshot& status) {
    const std::string& folder = status.destination;
    // A share's files are named by its address: the folder it was mounted at is empty once
    // this process has let the share go.
    const bool onShare = status.destinationUrl.starts_with("smb://");
    const std::string& place = onShare ? status.destinationUrl : folder;
    // The destination as the user named it, else the folder it is.
    const std::string& shown = destinationShown_.empty() ? folder : destinationShown_;
    const double seconds =
        uploadStarted_ ? std::chrono::duration<double>(Clock::now() - *uploadStarted_).count() : 0;
    const std::uint64_t filesArrived = filesArrivedBeforeRetry_ + status.filesArrived;
    // The last line says what happened, for a reader and for a script's log alike.
    summary_ =
        consoleText("SUMMARY", {consoleCountText("FILES_n", filesArrived),
                                progressBytesText(status.bytesDone), shown, durationText(seconds)});
    const std::size_t failedBefore = status.failedBeforeRestart.size();
    if (!status.failures.empty() || failedBefore > 0)
        summary_ += consoleCountText("SUMMARY_FAILED_n", status.failures.size() + failedBefore);
    if (options_.json) {
        emitNewFileEvents(status);
        emitJsonEvent("completed", {{"files", filesArrived},
                                    {"bytes", status.bytesDone},
                                    {"failed", std::uint64_t{status.failures.size()}},
                                    {"failedBeforeInterruption", std::uint64_t{failedBefore}},
                                    {"destination", shown},
                                    {"path", folder},
                                    {"url", status.destinationUrl},
                                    {"seconds", seconds}});
        return;
    }
    if (!options_.quiet) {
        // "All files were uploaded" would hide what failed before the interruption.
        const bool allTakenUpArrived = status.failures.empty() && failedBefore > 0;
        std::printf("%s\n", allTakenUpArrived ? consoleText("TAKEN_UP_ARRIVED").c_str()
                                              : status.line1.c_str());
        std::printf("%s\n", printableText(
                                consoleText("DESTINATION_LINE", {shown, status.productName, place}))
                                .c_str());
    }
    printFailedItems("FAILED_HEADING", status.failures);
    printFailedItems("FAILED_BEFORE_HEADING", status.failedBeforeRestart);
    std::printf("%s\n", printableText(summary_).c_str());
    std::fflush(stdout);
}

}  // namespace qvt::cli
