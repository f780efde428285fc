#include "support.h"

#include <QCoreApplication>
#include <QEventLoop>
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

int ScriptedView::runModal(Dialog dialog) {
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

void ScriptedView::endModal(Dialog dialog, int code) {
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back(std::string("endModal ") + dialogName(dialog) + " " + std::to_string(code));
}

void ScriptedView::stopModal() {
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back("stopModal");
}

void ScriptedView::setText(const std::string& control, const std::string& text) {
    std::lock_guard lock(s_->mutex);
    s_->texts[control] = text;
}

std::string ScriptedView::text(const std::string& control) const {
    std::lock_guard lock(s_->mutex);
    const auto it = s_->texts.find(control);
    return it == s_->texts.end() ? std::string() : it->second;
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

void ScriptedView::setValue(const std::string& control, double value) {
    std::lock_guard lock(s_->mutex);
    s_->values[control] = value;
}

void ScriptedView::moveControl(const std::string& control, double y, double heightDelta) {
    std::lock_guard lock(s_->mutex);
    std::ostringstream os;
    os << "moveControl " << control << " " << y << " " << heightDelta;
    s_->calls.push_back(os.str());
}

void ScriptedView::placeAfterText(const std::string& control, const std::string& anchor, double gap,
                                  double maxRight) {
    std::lock_guard lock(s_->mutex);
    std::ostringstream os;
    os << "placeAfterText " << control << " " << anchor << " " << gap << " " << maxRight;
    s_->calls.push_back(os.str());
}

void ScriptedView::reload(const std::string& control) {
    std::lock_guard lock(s_->mutex);
    s_->calls.push_back("reload " + control);
}

std::string ScriptedView::selectedDestinationFolder() const {
    std::lock_guard lock(s_->mutex);
    return s_->selectedFolder;
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
    services.viewFactory = [state](QVTransferPrivate&, const std::string&) {
        return std::make_unique<ScriptedView>(state);
    };
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
