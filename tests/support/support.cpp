#include "support.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace qvt::test {

TempDir::TempDir() {
    std::string tmpl = "/tmp/qvt-test-XXXXXX";
    if (!mkdtemp(tmpl.data())) throw std::runtime_error("mkdtemp failed");
    path_ = tmpl;
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

bool waitFor(const std::function<bool()>& done, double seconds) {
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                              std::chrono::duration<double>(seconds));
    while (true) {
        if (done()) return true;
        if (std::chrono::steady_clock::now() >= deadline) return done();
        if (QCoreApplication::instance())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        else
            std::this_thread::yield();
    }
}

std::string outputFolder() {
    const char* out = std::getenv("QVT_TEST_OUTPUT");
    std::string folder = out && *out ? out : "/tmp/qvt-test-output";
    std::filesystem::create_directories(folder);
    return folder;
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream f(path, std::ios::binary);
    f << bytes;
}

std::string readFile(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::ostringstream os;
    os << f.rdbuf();
    return os.str();
}

// ---- ScriptedView ----

void ScriptedView::bringToFront() {
    std::lock_guard lock(s_->mutex);
    s_->frontCount++;
    s_->calls.push_back("bringToFront");
}

void ScriptedView::closeWindow() {
    std::lock_guard lock(s_->mutex);
    s_->closeCount++;
    s_->calls.push_back("closeWindow");
}

void ScriptedView::minimizeWindow() {
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back("minimizeWindow");
}

void ScriptedView::detachSourceDropTarget() {
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back("detachSourceDropTarget");
}

void ScriptedView::showScreen(const Screen* screen) {
    std::lock_guard lock(s_->mutex);
    s_->shown = screen;
    s_->shownName = screen ? screenName(*screen) : "";
    s_->calls.push_back("showScreen " + (screen ? s_->shownName : std::string("none")));
}

void ScriptedView::showUsers(const UsersScreen& screen) {
    std::lock_guard lock(s_->mutex);
    s_->users = screen;
    s_->calls.push_back("showUsers");
}

void ScriptedView::showSources(const SourcesScreen& screen) {
    std::lock_guard lock(s_->mutex);
    s_->sources = screen;
    // The screen's flags and texts are also kept under their controls' names.
    s_->texts["numberOfFilesAndFolders"] = screen.summary;
    s_->calls.push_back("showSources");
}

void ScriptedView::showDestinations(const DestinationScreen& screen) {
    std::lock_guard lock(s_->mutex);
    s_->destinations = screen;
    s_->enabled["uploadFilesButton"] = screen.uploadEnabled;
    s_->enabled["createNewFolderLink"] = screen.newFolderEnabled;
    s_->calls.push_back("showDestinations");
}

void ScriptedView::showStatus(const StatusSnapshot& status) {
    std::lock_guard lock(s_->mutex);
    s_->status = status;
    s_->calls.push_back("showStatus");
}

void ScriptedView::showFailedList(const FailedList& list) {
    std::lock_guard lock(s_->mutex);
    s_->failedList = list;
    s_->calls.push_back("showFailedList");
}

void ScriptedView::showErrorWindow() {
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back("showErrorWindow");
}

int ScriptedView::run(Dialog dialog) {
    std::function<void()> hook;
    int code = 0;
    {
        std::lock_guard lock(s_->mutex);
        s_->calls.push_back(std::string("runModal ") + dialogName(dialog));
        if (auto it = s_->modalHooks.find(dialog); it != s_->modalHooks.end()) hook = it->second;
        if (auto it = s_->modalCodes.find(dialog); it != s_->modalCodes.end()) code = it->second;
    }
    if (hook) hook();
    return code;
}

StopAnswer ScriptedView::askStopUpload(const StopQuestion& question) {
    {
        std::lock_guard lock(s_->mutex);
        s_->stopQuestions.push_back(question);
        s_->texts["stopUploadPrompt"] = question.prompt;
    }
    switch (run(Dialog::CancelUploadConfirm)) {
        case 1:
            return StopAnswer::KeepUploading;
        case 2:
            return StopAnswer::StopUpload;
        default:
            return StopAnswer::Dismissed;
    }
}

ProtectedFilesAnswer ScriptedView::askMoveProtectedFiles(const ProtectedFilesQuestion& question) {
    {
        std::lock_guard lock(s_->mutex);
        s_->protectedFilesQuestions.push_back(question);
        s_->texts["containsSystemFilesText"] = question.text;
    }
    switch (run(Dialog::ProtectedFiles)) {
        case 1:
            return ProtectedFilesAnswer::StayOnSources;
        case 2:
            return ProtectedFilesAnswer::Continue;
        default:
            return ProtectedFilesAnswer::Dismissed;
    }
}

LostConnectionAnswer ScriptedView::askLostConnection() {
    switch (run(Dialog::LostConnection)) {
        case 1:
            return LostConnectionAnswer::Retry;
        case 2:
            return LostConnectionAnswer::Cancel;
        default:
            return LostConnectionAnswer::Dismissed;
    }
}

void ScriptedView::showDeviceMissing() {
    run(Dialog::DeviceMissing);
}

void ScriptedView::showDeviceFull() {
    run(Dialog::DeviceFull);
}

void ScriptedView::showNotice(const Notice& notice) {
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back("showNotice");
    s_->notices.push_back(notice.sentence);
}

void ScriptedView::showResumeProblem(const ResumeProblem& problem) {
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back("showResumeProblem");
    s_->resumeProblems.push_back(problem.sentence);
}

void ScriptedView::endModal(Dialog dialog) {
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back(std::string("endModal ") + dialogName(dialog));
}

void ScriptedView::stopModal() {
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back("stopModal");
}

void ScriptedView::setText(const std::string& control, const std::string& text) {
    std::lock_guard lock(s_->mutex);
    s_->texts[control] = text;
}

void ScriptedView::setEnabled(const std::string& control, bool enabled) {
    std::lock_guard lock(s_->mutex);
    s_->enabled[control] = enabled;
}

void ScriptedView::setHidden(const std::string& control, bool hidden) {
    std::lock_guard lock(s_->mutex);
    s_->hidden[control] = hidden;
}

void ScriptedView::setTag(const std::string& control, int tag) {
    std::lock_guard lock(s_->mutex);
    s_->tags[control] = tag;
}

void ScriptedView::moveControl(const std::string& control, double y, double heightDelta) {
    std::lock_guard lock(s_->mutex);
    std::ostringstream os;
    os << "moveControl " << control << " " << y << " " << heightDelta;
    s_->calls.push_back(os.str());
}

std::string ScriptedView::selectedDestinationFolder() const {
    std::lock_guard lock(s_->mutex);
    return s_->selectedFolder;
}

namespace {

// Appends the shown rows below `level` (the roots, or an expanded row's children) to `rows`.
void shownRows(const List& level, const std::set<std::string>& expanded,
               std::vector<std::string>& rows) {
    for (const Value& value : level) {
        const Record* node = value.asRecord();
        if (!node || node->empty()) continue;  // a placeholder is not a row
        const std::string path = node->string("folderFullPath");
        rows.push_back(path);
        if (const List* children = node->list("uploadFoldersArray");
            children && expanded.count(path))
            shownRows(*children, expanded, rows);
    }
}

}  // namespace

void ScriptedView::expandDestinationFolder(const std::string& folderPath) {
    std::function<void(const std::string&)> hook;
    {
        std::lock_guard lock(s_->mutex);
        s_->calls.push_back("expandDestinationFolder " + folderPath);
        // Expanding a row already expanded changes nothing and tells no one, as in the window.
        if (!s_->expandedFolders.insert(folderPath).second) return;
        hook = s_->onExpand;
    }
    if (hook) hook(folderPath);
}

std::string ScriptedView::destinationFolderAtRow(int row) const {
    std::lock_guard lock(s_->mutex);
    std::vector<std::string> rows;
    shownRows(s_->destinations.roots, s_->expandedFolders, rows);
    return row >= 0 && static_cast<std::size_t>(row) < rows.size() ? rows[row] : std::string();
}

int ScriptedView::destinationRowOf(const std::string& folderPath) const {
    std::lock_guard lock(s_->mutex);
    std::vector<std::string> rows;
    shownRows(s_->destinations.roots, s_->expandedFolders, rows);
    const auto it = std::find(rows.begin(), rows.end(), folderPath);
    return it == rows.end() ? -1 : static_cast<int>(it - rows.begin());
}

void ScriptedView::editDestinationRow(int row) {
    const std::string folder = destinationFolderAtRow(row);
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back("editDestinationRow " + std::to_string(row));
    // The row is selected alone, as the window does before it opens the editor.
    s_->selectedFolder = folder;
    s_->editedRow = row;
    s_->cancelButtonShown = true;
}

void ScriptedView::endDestinationEditing(int row) {
    const std::string folder = destinationFolderAtRow(row);
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back("endDestinationEditing " + std::to_string(row));
    s_->selectedFolder = folder;
    s_->editedRow = -1;
    s_->cancelButtonShown = false;
}

void ScriptedView::hideNewFolderCancelButton() {
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back("hideNewFolderCancelButton");
    s_->cancelButtonShown = false;
}

std::vector<std::string> ScriptedView::calls() const {
    std::lock_guard lock(s_->mutex);
    return s_->calls;
}

bool ScriptedView::called(const std::string& call) const {
    std::lock_guard lock(s_->mutex);
    for (const auto& c : s_->calls)
        if (c == call) return true;
    return false;
}

// ---- Harness ----

Harness::Harness(double timeScale)
    : log(std::make_shared<platform::CaptureLog>()), view(std::make_shared<ScriptedView::State>()) {
    services = Services::defaults();
    services.log = log;
    services.clock = std::make_shared<platform::SystemClock>(timeScale);
    services.folders.home = home.path() + "/home";
    services.folders.applicationSupport = home.path() + "/home/.local/share";
    std::filesystem::create_directories(services.folders.home);
    auto state = view;
    services.viewFactory = [state](QVTransferActions&, const std::string&) {
        return std::make_unique<ScriptedView>(state);
    };
}

Harness::~Harness() {
    if (!services.dispatch) return;
    services.dispatch->waitIdle(10);
    auto ran = std::make_shared<std::atomic<bool>>(false);
    services.dispatch->mainAsync([ran] { *ran = true; });
    waitFor([&] { return ran->load(); }, 10);
}

Record nasDevice(const std::string& address, const std::string& serial,
                 const std::string& product) {
    Record info{{"productName", product},
                {"ipAddress", address},
                {"hostName", "testcloud"},
                {"serialNumber", serial},
                {"volumeArray", List{}}};
    return Record{{"deviceType", "NAS"}, {"isZeroState", false}, {"deviceInfo", info}};
}

Record dasDevice(const std::vector<std::string>& volumePaths, const std::string& product) {
    List volumes;
    int n = 1;
    for (const auto& p : volumePaths) {
        volumes.push_back(Record{{"volumeName", std::filesystem::path(p).filename().string()},
                                 {"volumePath", p},
                                 {"bsdName", "loop" + std::to_string(n++)},
                                 {"mounted", true},
                                 {"uuid", ""}});
    }
    Record info{{"productName", product}, {"serialNumber", "DAS-TEST"}, {"volumeArray", volumes}};
    return Record{{"deviceType", "DAS"}, {"isZeroState", false}, {"deviceInfo", info}};
}

void RecordingStatusDelegate::fileTransferStatusUpdate(bool, bool, bool, bool, bool,
                                                       const std::string&, const std::string&) {
    statusCount++;
}

void RecordingFullDelegate::fileTransferStatusUpdate(bool, bool, bool, bool, bool,
                                                     const std::string&, const std::string&) {
    statusCount++;
}

}  // namespace qvt::test
