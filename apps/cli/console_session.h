// One upload in the terminal: walks the wizard's screens as a user would (account, sources,
// destination), then shows the status screen as a progress line and takes the keys that press
// its buttons, until the upload ends or is stopped.
#pragma once

#include <QObject>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "cli_options.h"
#include "copying_time.h"
#include "platform/upload_claim.h"
#include "qvtransfer/QVTransfer.h"
#include "session/recorded_upload.h"
#include "session/view_actions.h"
#include "session/view_models.h"
#include "session/wizard_types.h"
#include "wait_notices.h"

namespace qvt::cli {

class ConsoleView;
class Terminal;

// The host side of the session: it only notes what the controller reports, for the session's
// next turn on the main thread.
class ConsoleDelegate : public QVTransferFullDelegate {
  public:
    void fileTransferStatusUpdate(bool, bool, bool, bool, bool, const std::string&,
                                  const std::string&) override {}
    void backToVantorFromQVTransfer() override { back = true; }
    void cancelledQVTransfer() override { cancelled = true; }
    std::atomic<bool> back{false};
    std::atomic<bool> cancelled{false};
};

// The session is the wizard's host (it holds the host's handle and is its delegate) and its
// front end (it acts through the controller's actions and reads what the console view was
// given), as a person at a window would be.
class ConsoleSession : public QObject {
    Q_OBJECT
  public:
    ConsoleSession(Options options, Terminal& terminal, Record device,
                   std::shared_ptr<QVTransfer> wizard, QVTransferActions& actions,
                   ConsoleView& view);
    ~ConsoleSession() override;

    // Runs the event loop until the session ends; answers the exit code.
    int run();

  private:
    enum class Stage { Start, FirstScreen, Counting, Destination, Uploading, Resuming, Done };
    using Clock = std::chrono::steady_clock;

    void tick();
    void finish(int code, const std::string& message = {});
    bool ended() const { return stage_ == Stage::Done; }

    // The walk (console_walk.cpp).
    void chooseUser();
    // With --user, the account a device signs in with by itself (its one account without a
    // password) must be the one asked for. False while the accounts are not known yet, and
    // when they differ (the session has then ended with a bad-argument status).
    bool accountAsAsked();
    void addSources();
    void leaveSources();
    void chooseDestination();
    std::optional<std::string> resolveDestination(const std::string& wanted, std::string& error);
    void startUpload();
    // Says when the destination has less free room than the upload needs: the upload still
    // runs, and waits when the device is full, but the user can make room before that.
    void warnIfShortOfRoom();
    void onModal(Dialog dialog);
    void answerLostConnection();
    std::optional<std::string> ask(const std::string& prompt, bool secret = false);

    // The status screen (console_status.cpp).
    void showProgress(bool force);
    // The copy begins (the upload, a resumed one, or the retry of its failed items).
    void startClocks();
    // The end: the failed items are let go (when there are any) and the exit status follows;
    // items that failed before a restart make it a failure too.
    void endWithResult(bool failures, bool failedBefore);
    // The answer to the retry question: r tries the failed items again, anything else ends.
    void answerRetry(char key);
    // A line of its own whenever the user pauses or resumes the upload.
    void showPauseChange();
    void clearProgressLine();
    // Keys go into a queue as they come and are handled in order: a key typed ahead of the
    // question it answers waits for that question.
    void onKey(char key);
    void handleKeys();
    // Handles one key; false when it must wait (a stop was asked for and its question is not
    // up yet).
    bool handleKey(char key);
    // The end of stdin: a question still open is answered "no", and the upload goes on.
    void onInputEnded();
    void answerStop(bool stop);
    void onStopSignal(int number);
    // SIGTERM or SIGHUP (logout, shutdown): the upload is paused and recorded, and the process
    // ends with 128 plus the signal's number, ready for --resume.
    void endWithTheDesktopSession(int number);
    void checkEnd();
    void printResult(const StatusSnapshot& status);
    // `heading` (a text with the count for %1) and one line per item; nothing for no items.
    void printFailedItems(const char* heading, const std::vector<FailedItem>& items);
    // --json: the files arrived and the failed items not reported yet.
    void emitNewFileEvents(const StatusSnapshot& status);
    // --json: a progress event, at most once a second.
    void emitProgress(const StatusSnapshot& status, bool force);

    // The device record's "deviceInfo" value ("productName", "ipAddress").
    std::string deviceInfo(const char* key) const;
    // Why a new upload may not start now, or nothing when it may.
    std::string interruptedUploadRefusal() const;
    // When the state file records an unfinished upload to another device than this one: a
    // sentence for --resume that says there is nothing of this device's and names the other
    // ("" else).
    std::string otherDevicesRecordHint() const;
    bool recordIsThisDevices(const session::RecordedUpload& recorded) const;
    // Takes this process's hold on running an upload; the refusal when another process holds
    // it, or "".
    std::string runningUploadRefusal();

    Options options_;
    // The line --password-stdin gave, read before anything else so that it is never taken
    // for keys; nothing when stdin ended first.
    std::optional<std::string> stdinPassword_;
    platform::UploadClaim uploadsClaim_;
    Terminal& terminal_;
    Record device_;
    std::shared_ptr<QVTransfer> wizard_;
    QVTransferActions& actions_;
    ConsoleView& view_;
    std::shared_ptr<ConsoleDelegate> delegate_;
    QTimer timer_;
    Stage stage_ = Stage::Start;
    bool busy_ = false;
    bool changeWhileBusy_ = false;
    // The view's count of ends when the failed items were tried again.
    int completionsBeforeRetry_ = 0;
    int exitCode_ = kExitSomeFailed;
    Clock::time_point stageSince_;
    std::optional<Clock::time_point> completedSince_;
    // When the copy began (the upload's start, or the start of a resumed one).
    std::optional<Clock::time_point> uploadStarted_;
    // How long of that it copied: the rate is taken over this.
    CopyingTime copyingTime_;
    std::string destinationShown_;
    // The result's last line once the upload has ended: what --json's "ended" says when the
    // end brings no message of its own.
    std::string summary_;

    // Status screen state.
    bool awaitingStopAnswer_ = false;
    // The upload ended with failures and the retry question is up: r retries them.
    bool awaitingRetryAnswer_ = false;
    // Ctrl-C came once the upload had ended: the retry question is not asked.
    bool endRequested_ = false;
    // The files that arrived in the passes before a retry.
    std::uint64_t filesArrivedBeforeRetry_ = 0;
    // The stop key was taken and its question is not up yet.
    bool stopQuestionComing_ = false;
    std::deque<char> keys_;
    // What a paused upload waits for, told once when the wait begins and when it ends.
    WaitNotices waits_;
    bool stopWithoutAsking_ = false;
    bool progressLineOpen_ = false;
    std::size_t failuresEmitted_ = 0;
    std::string lastProgressEvent_;
    std::optional<Clock::time_point> lastProgressEventAt_;
    bool pausedShown_ = false;
    std::string lastPlainLine_;
    Clock::time_point lastPlainAt_{};
    bool plainPaused_ = false;
    Clock::time_point lastDraw_;
};

}  // namespace qvt::cli
