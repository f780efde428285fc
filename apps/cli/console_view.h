// The controller's front end in a terminal. It keeps the latest value of each screen the
// controller sent, for the console session to print, and runs each question as a nested event
// loop that ends when the session answers it (or the controller ends it).
#pragma once

#include <QEventLoop>
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "session/view.h"

namespace qvt::cli {

class ConsoleView : public QVTransferView {
  public:
    // The code of a question's run ended by the controller rather than by an answer.
    static constexpr int kModalStopped = -1000;
    // The answers to a question: the first choice (keep uploading, stay, retry, close) and the
    // second (stop, go on and move, cancel).
    static constexpr int kAnswerFirst = 1;
    static constexpr int kAnswerSecond = 2;

    // Called on the main thread when a question opens, before its run waits. It may answer at
    // once through answer() or leave the run open.
    void setModalHandler(std::function<void(Dialog)> handler) { onModal_ = std::move(handler); }
    // Called on the main thread, soon after something the session waits for changed: the
    // screen shown or its contents, a control's state, the upload's state or its pause, the
    // end step's link. The session then looks at once instead of at its next tick. Several
    // changes before the call give one call.
    void setChangeHandler(std::function<void()> handler);
    // Answers the open question `dialog` (main thread).
    void answer(Dialog dialog, int code);
    // The folder selectedDestinationFolder() answers: the one the session resolved.
    void selectDestinationFolder(const std::string& path);

    // ---- QVTransferView ----
    void bringToFront() override {}
    void closeWindow() override;
    void showScreen(const Screen* screen) override;
    void showUsers(const UsersScreen& screen) override;
    void showSources(const SourcesScreen& screen) override;
    void showDestinations(const DestinationScreen& screen) override;
    void showStatus(const StatusSnapshot& status) override;
    void showFailedList(const FailedList&) override {}
    std::string selectedDestinationFolder() const override;
    StopAnswer askStopUpload(const StopQuestion& question) override;
    ProtectedFilesAnswer askMoveProtectedFiles(const ProtectedFilesQuestion& question) override;
    LostConnectionAnswer askLostConnection() override;
    void showDeviceMissing() override;
    void showDeviceFull() override;
    void showResumeProblem(const ResumeProblem& problem) override;
    void showNotice(const Notice& notice) override;
    void endModal(Dialog dialog) override;
    void stopModal() override;
    // Only the lost-connection dialog's sentence is kept: the console prints it.
    void setText(const std::string& control, const std::string& text) override;
    std::string lostConnectionSentence() const;
    void setEnabled(const std::string& control, bool enabled) override;
    void setHidden(const std::string&, bool) override {}
    void setTag(const std::string&, int) override {}
    void moveControl(const std::string&, double, double) override {}
    void fileArrived(const std::string& source, const std::string& destination) override;

    struct ArrivedFile {
        std::string source;
        std::string destination;
        // A share's file by its smb:// address, taken while the share is mounted: the folder it
        // is mounted at is empty once the uploader has let it go. "" on a local volume.
        std::string url;
    };
    // Files that arrived are kept from now on, for takeArrivedFiles().
    void keepArrivedFiles() { keepArrived_ = true; }
    // The files that arrived since the last call, in the order they arrived.
    std::vector<ArrivedFile> takeArrivedFiles();

    // ---- What the session reads ----
    // The screen shown, when one is.
    bool shownScreen(Screen* which) const;
    UsersScreen users() const;
    SourcesScreen sources() const;
    DestinationScreen destinations() const;
    StatusSnapshot status() const;
    // Why the interrupted upload could not be taken up ("" while nothing was said).
    std::string resumeProblem() const;
    // The text of the question open now ("" when none has text).
    std::string questionText() const;
    bool enabled(const std::string& control) const;
    bool closed() const;
    // How many times the upload has come to its end so far (a retry brings a new end).
    int completions() const;
    // The question whose run is innermost, when one runs (main thread).
    bool modalOpen(Dialog* which = nullptr) const;

  private:
    struct Run {
        explicit Run(Dialog d) : dialog(d) {}
        Dialog dialog;
        bool ended = false;
        int code = 0;
        QEventLoop loop;
    };
    // Runs the question `dialog` on the main thread and answers its code.
    int runModal(Dialog dialog, const std::string& text = {});
    void finishRun(Run* run, int code);
    static bool onMainThread();
    // Tells the change handler, through the main thread's queue (from any thread).
    void changed();

    // The handler lives apart from the view, so a call still queued when the view goes finds
    // it rather than the view.
    struct ChangeSignal {
        std::mutex mutex;
        std::function<void()> handler;
        std::atomic<bool> posted{false};
    };
    std::shared_ptr<ChangeSignal> change_ = std::make_shared<ChangeSignal>();

    std::function<void(Dialog)> onModal_;
    mutable std::mutex mutex_;
    std::atomic<bool> keepArrived_{false};
    std::vector<ArrivedFile> arrived_;
    std::string lostConnectionSentence_;
    bool screenShown_ = false;
    Screen screen_ = Screen::Users;
    UsersScreen users_;
    SourcesScreen sources_;
    DestinationScreen destinations_;
    StatusSnapshot status_;
    int completions_ = 0;
    std::string questionText_;
    std::string resumeProblem_;
    std::map<std::string, bool> enabled_;
    std::string selectedFolder_;
    bool closed_ = false;
    // Main thread only.
    std::vector<Run*> runs_;
};

}  // namespace qvt::cli
