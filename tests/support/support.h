// Helpers shared by the test programs.
#pragma once

#include <QLocale>
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "capture_log.h"
#include "platform/clock.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"
#include "session/services.h"
#include "session/view.h"

namespace qvt::test {

// A fresh folder under /tmp, removed with everything in it when the object goes.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

// Pumps the Qt event loop (and so the main-thread queue) until `done()` or the deadline in real
// seconds. Returns whether `done()` became true.
bool waitFor(const std::function<bool()>& done, double seconds = 10.0);

// True in a build with AddressSanitizer or ThreadSanitizer, where each instruction of ours runs
// several times slower: the long uploads of the recovery tests and the kill campaign use fewer
// files or trials there, and still take the device away while the copy is under way.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitizedBuild = true;
#else
inline constexpr bool kSanitizedBuild = false;
#endif

// Where tests put their pictures and other artefacts ($QVT_TEST_OUTPUT, else /tmp).
std::string outputFolder();
// Writes `bytes` to `path`, creating parent folders.
void writeFile(const std::string& path, const std::string& bytes);
std::string readFile(const std::string& path);

// A view that records what the controller asked of it and keeps the latest value of each
// screen. A question runs no dialog: it calls an optional hook, then answers with the code a
// test scripted for that dialog (1 the first choice, 2 the second; anything else, 0 unless set,
// is a dialog closed without a choice).
class ScriptedView : public QVTransferView {
  public:
    struct State {
        mutable std::mutex mutex;
        // "showScreen nasUsersView", "runModal quitDialog", "showStatus", "endModal ...", ...
        std::vector<std::string> calls;
        std::map<std::string, std::string> texts;
        std::map<std::string, bool> enabled, hidden;
        std::map<std::string, int> tags;
        std::map<Dialog, int> modalCodes;
        std::map<Dialog, std::function<void()>> modalHooks;
        int closeCount = 0;
        int frontCount = 0;
        const Screen* shown = nullptr;
        std::string shownName;
        // What selectedDestinationFolder() answers: the row a test "selected".
        std::string selectedFolder;
        // The destination rows shown expanded, by path, and what an expansion tells the
        // controller (a test sets it to call outlineViewItemDidExpand, as the window does).
        std::set<std::string> expandedFolders;
        std::function<void(const std::string& folderPath)> onExpand;
        // The row whose name is being edited in place (-1 for none), and whether the new
        // folder's cancel button is shown.
        int editedRow = -1;
        bool cancelButtonShown = false;
        // The latest value of each screen.
        UsersScreen users;
        SourcesScreen sources;
        DestinationScreen destinations;
        StatusSnapshot status;
        FailedList failedList;
        // What showResumeProblem and showNotice said, in order.
        std::vector<std::string> resumeProblems;
        std::vector<std::string> notices;
        // The questions asked so far.
        std::vector<StopQuestion> stopQuestions;
        std::vector<ProtectedFilesQuestion> protectedFilesQuestions;

        bool called(const std::string& call) const {
            std::lock_guard lock(mutex);
            for (const auto& c : calls)
                if (c == call) return true;
            return false;
        }
        StatusSnapshot statusNow() const {
            std::lock_guard lock(mutex);
            return status;
        }
    };

    explicit ScriptedView(std::shared_ptr<State> state) : s_(std::move(state)) {}

    void bringToFront() override;
    void closeWindow() override;
    void minimizeWindow() override;
    void detachSourceDropTarget() override;
    void showScreen(const Screen* screen) override;
    void showUsers(const UsersScreen& screen) override;
    void showSources(const SourcesScreen& screen) override;
    void showDestinations(const DestinationScreen& screen) override;
    void showStatus(const StatusSnapshot& status) override;
    void showFailedList(const FailedList& list) override;
    void showErrorWindow() override;
    StopAnswer askStopUpload(const StopQuestion& question) override;
    ProtectedFilesAnswer askMoveProtectedFiles(const ProtectedFilesQuestion& question) override;
    LostConnectionAnswer askLostConnection() override;
    void showDeviceMissing() override;
    void showDeviceFull() override;
    void showResumeProblem(const ResumeProblem& problem) override;
    void showNotice(const Notice& notice) override;
    void endModal(Dialog dialog) override;
    void stopModal() override;
    void setText(const std::string& control, const std::string& text) override;
    void setEnabled(const std::string& control, bool enabled) override;
    void setHidden(const std::string& control, bool hidden) override;
    void setTag(const std::string& control, int tag) override;
    void moveControl(const std::string& control, double y, double heightDelta) override;
    std::string selectedDestinationFolder() const override;
    void expandDestinationFolder(const std::string& folderPath) override;
    int destinationRowOf(const std::string& folderPath) const override;
    void editDestinationRow(int row) override;
    void endDestinationEditing(int row) override;
    void hideNewFolderCancelButton() override;
    // The folder of shown row `row` of the destination tree as last shown ("" for none):
    // the roots and, below each expanded row, its children.
    std::string destinationFolderAtRow(int row) const;

    // Thread-safe snapshot of the calls so far (views are driven from the main thread, tests
    // read from it too).
    std::vector<std::string> calls() const;
    bool called(const std::string& call) const;

  private:
    // Records the run of `dialog`, calls its hook and answers its scripted code.
    int run(Dialog dialog);

    std::shared_ptr<State> s_;
};

// Services for a headless controller: real dispatcher on the Qt main thread, a capture log,
// a clock scaled by `timeScale`, user folders under `home`, and a scripted view.
struct Harness {
    explicit Harness(double timeScale = 1.0);
    // Lets the background work end and runs what it left for the main thread (a view whose
    // controller was let go on a background thread is deleted there).
    ~Harness();
    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;
    TempDir home;
    std::shared_ptr<platform::CaptureLog> log;
    std::shared_ptr<ScriptedView::State> view;
    Services services;
};

// A device record for tests.
Record nasDevice(const std::string& address = "127.0.0.1:1", const std::string& serial = "SN-TEST",
                 const std::string& product = "Test Cloud");
Record dasDevice(const std::vector<std::string>& volumePaths = {},
                 const std::string& product = "Test Drive");

// A delegate that counts and records what it receives; any subset of the three messages.
class RecordingStatusDelegate : public QVTransferStatusDelegate {
  public:
    void fileTransferStatusUpdate(bool completed, bool failed, bool cancelled, bool paused,
                                  bool reachable, const std::string& status,
                                  const std::string& subStatus) override;
    std::atomic<int> statusCount{0};
};

class RecordingFullDelegate : public QVTransferFullDelegate {
  public:
    void fileTransferStatusUpdate(bool completed, bool failed, bool cancelled, bool paused,
                                  bool reachable, const std::string& status,
                                  const std::string& subStatus) override;
    void backToVantorFromQVTransfer() override { backCount++; }
    void cancelledQVTransfer() override { cancelCount++; }
    std::atomic<int> statusCount{0};
    std::atomic<int> backCount{0};
    std::atomic<int> cancelCount{0};
};

// The process's default locale, set for the life of the object: the controller's texts follow it.
struct LocaleGuard {
    explicit LocaleGuard(const QLocale& l) : saved(QLocale()) { QLocale::setDefault(l); }
    ~LocaleGuard() { QLocale::setDefault(saved); }
    QLocale saved;
};

}  // namespace qvt::test
