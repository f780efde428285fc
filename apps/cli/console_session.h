// One upload in the terminal: walks the wizard's screens as a user would (account, sources,
// destination), then shows the status screen as a progress line and takes the keys that press
// its buttons, until the upload ends or is stopped.
#pragma once

#include <QObject>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "cli_options.h"
#include "qvtransfer/QVTransferDelegate.h"
#include "session/qvtransfer_private.h"

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

class ConsoleSession : public QObject {
    Q_OBJECT
  public:
    ConsoleSession(Options options, Terminal& terminal, std::shared_ptr<QVTransferPrivate> wizard,
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
    void addSources();
    void leaveSources();
    void chooseDestination();
    std::optional<std::string> resolveDestination(const std::string& wanted, std::string& error);
    void startUpload();
    void onModal(Dialog dialog);
    void answerLostConnection();
    std::optional<std::string> ask(const std::string& prompt, bool secret = false);

    // The status screen (console_status.cpp).
    void showProgress(bool force);
    // A line of its own whenever the upload is paused or resumed, whatever paused it.
    void showPauseChange();
    void clearProgressLine();
    void onKey(char key);
    void onStopSignal();
    void checkEnd();
    void printResult();

    Options options_;
    Terminal& terminal_;
    std::shared_ptr<QVTransferPrivate> wizard_;
    ConsoleView& view_;
    std::shared_ptr<ConsoleDelegate> delegate_;
    QTimer timer_;
    Stage stage_ = Stage::Start;
    bool busy_ = false;
    int exitCode_ = kExitSomeFailed;
    Clock::time_point stageSince_;
    std::optional<Clock::time_point> completedSince_;
    std::string destinationShown_;

    // Status screen state.
    bool awaitingStopAnswer_ = false;
    bool stopWithoutAsking_ = false;
    bool progressLineOpen_ = false;
    bool pausedShown_ = false;
    std::string lastPlainLine_;
    Clock::time_point lastDraw_;
};

}  // namespace qvt::cli
