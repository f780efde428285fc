#include "console_session.h"

#include "console_texts.h"
#include "json_events.h"
#include "progress_text.h"

#include <QCoreApplication>
#include <cstdio>

#include "console_view.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/smb_url.h"
#include "session/recorded_upload.h"
#include "terminal.h"

namespace qvt::cli {

namespace {
// How often the session looks at the controller: often enough for a live progress line.
constexpr int kTickMilliseconds = 50;

// A destination folder as a user names it with --destination: on a share, the share's name and
// the folders below it ("Backup/Photos", read from the folder's network address) rather than
// the private folder the share is mounted at; on one of the disk's volumes, the volume's name
// and the folders below it; elsewhere the folder itself.
std::string destinationAsNamed(const std::string& folder, const Record& device) {
    const std::string url = platform::files().networkURLForPath(folder);
    const auto scheme = url.find("://");
    const auto path = scheme == std::string::npos ? url.npos : url.find('/', scheme + 3);
    if (path != std::string::npos && path + 1 < url.size())
        return platform::removePercentEscapes(url.substr(path + 1));
    const Record* info = device.record("deviceInfo");
    const List* volumes = info ? info->list("volumeArray") : nullptr;
    if (!volumes) return folder;
    for (const Value& v : *volumes) {
        const Record* volume = v.asRecord();
        if (!volume || volume->string("volumeName").empty()) continue;
        std::string root = volume->string("volumePath");
        while (root.size() > 1 && root.back() == '/') root.pop_back();
        if (root.empty() || root == "/") continue;
        if (folder == root) return volume->string("volumeName");
        if (folder.starts_with(root + "/"))
            return volume->string("volumeName") + folder.substr(root.size());
    }
    return folder;
}
}  // namespace

ConsoleSession::ConsoleSession(Options options, Terminal& terminal, Record device,
                               std::shared_ptr<QVTransfer> wizard, QVTransferActions& actions,
                               ConsoleView& view)
    : options_(std::move(options)),
      terminal_(terminal),
      device_(std::move(device)),
      wizard_(std::move(wizard)),
      actions_(actions),
      view_(view),
      delegate_(std::make_shared<ConsoleDelegate>()) {
    wizard_->setDelegate(delegate_);
    view_.setModalHandler([this](Dialog d) { onModal(d); });
    // The session's next step follows each change of the view at once; the tick remains for
    // what the view does not announce (the progress line, keys, the time a wait has taken).
    view_.setChangeHandler([this] { tick(); });
    if (options_.json) view_.keepArrivedFiles();
    terminal_.catchStopSignals([this](int number) { onStopSignal(number); });
    timer_.setInterval(kTickMilliseconds);
    connect(&timer_, &QTimer::timeout, this, &ConsoleSession::tick);
}

ConsoleSession::~ConsoleSession() {
    view_.setChangeHandler(nullptr);
    view_.setModalHandler(nullptr);
    // The terminal outlives the session (the process still waits for the last save and the
    // unmounts): the end of stdin or a signal in that time must not call into it.
    terminal_.stopKeys();
    terminal_.setRawInput(false);
}

std::string ConsoleSession::deviceInfo(const char* key) const {
    const Record* info = device_.record("deviceInfo");
    return info ? info->string(key) : std::string();
}

// The state file keeps one upload's record in all: the first write of a new upload takes the
// place of an upload that did not finish, whichever device it went to, and that upload could
// then never be taken up (a new copy of its sources would only give its files "copy" twins).
// It is kept unless the user says otherwise.
namespace {

std::optional<session::RecordedUpload> recordedUpload() {
    return session::unfinishedUploadIn(platform::UserFolders::current().transferDataFolder() + "/" +
                                       session::kStateFileName);
}

}  // namespace

bool ConsoleSession::recordIsThisDevices(const session::RecordedUpload& recorded) const {
    if (device_.string("deviceType") == "NAS") return recorded.key == deviceInfo("serialNumber");
    if (recorded.deviceType == "NAS") return false;
    // A disk's upload is recorded under its volume's UUID. The resume takes the one record
    // there is, and would carry on to that volume wherever it is mounted: a record of another
    // disk than the one named is not this device's. A device whose volumes tell no UUID takes
    // the record as it is.
    const Record* info = device_.record("deviceInfo");
    const List* volumes = info ? info->list("volumeArray") : nullptr;
    bool anyUuid = false;
    for (const Value& v : volumes ? *volumes : List{}) {
        const Record* volume = v.asRecord();
        const std::string uuid = volume ? volume->string("uuid") : "";
        if (uuid.empty()) continue;
        if (uuid == recorded.key) return true;
        anyUuid = true;
    }
    return !anyUuid;
}

std::string ConsoleSession::interruptedUploadRefusal() const {
    if (options_.replaceInterrupted) return "";
    const auto recorded = recordedUpload();
    if (!recorded) return "";
    if (recordIsThisDevices(*recorded))
        return consoleText("INTERRUPTED_RECORDED", {deviceInfo("productName")});
    if (recorded->deviceType == "NAS") return consoleText("INTERRUPTED_OTHER_NAS", {recorded->key});
    return consoleText("INTERRUPTED_OTHER_DAS");
}

std::string ConsoleSession::otherDevicesRecordHint() const {
    const auto recorded = recordedUpload();
    if (!recorded || recordIsThisDevices(*recorded)) return "";
    const std::string name = deviceInfo("productName");
    if (recorded->deviceType == "NAS")
        return consoleText("RECORDED_FOR_OTHER_NAS", {name, recorded->key});
    return consoleText("RECORDED_FOR_OTHER_DAS", {name});
}

// Another process that runs an upload (a console uploader in another terminal, the window)
// keeps its record in the same state file: a new upload would replace that record, and --resume
// would take up the very upload that is running, beside it.
std::string ConsoleSession::runningUploadRefusal() {
    long holder = 0;
    uploadsClaim_ = platform::claimUploads(platform::UserFolders::current().transferDataFolder() +
                                               "/" + platform::kUploadClaimFileName,
                                           &holder);
    if (uploadsClaim_) return "";
    return consoleText("UPLOAD_RUNNING", {holder > 0 ? std::to_string(holder) : "?"});
}

int ConsoleSession::run() {
    timer_.start();
    QTimer::singleShot(0, this, &ConsoleSession::tick);
    QCoreApplication::exec();
    timer_.stop();
    clearProgressLine();
    terminal_.setRawInput(false);
    return exitCode_;
}

void ConsoleSession::finish(int code, const std::string& message) {
    if (ended()) return;
    clearProgressLine();
    const bool toStdout = code == kExitAllArrived || code == kExitStopped;
    if (!message.empty() && !(options_.json && toStdout)) {
        std::FILE* out = toStdout ? stdout : stderr;
        std::fprintf(out, "%s\n", printableText(message, true).c_str());
        std::fflush(out);
    }
    if (options_.json)
        emitJsonEvent("ended", {{"exitStatus", std::int64_t{code}},
                                {"message", message.empty() ? summary_ : message}});
    exitCode_ = code;
    stage_ = Stage::Done;
    // Ends the modal runs under way too, so the session's own loop returns.
    QCoreApplication::exit(code);
}

void ConsoleSession::tick() {
    if (ended()) return;
    if (busy_) {
        // A change met inside a step (a question's own loop runs events) is looked at once
        // the step is over.
        changeWhileBusy_ = true;
        return;
    }
    busy_ = true;
    const auto now = Clock::now();
    if (delegate_->back) {
        finish(kExitSomeFailed, consoleText("LEFT_WITHOUT_UPLOAD"));
    } else if (stage_ != Stage::Uploading && stage_ != Stage::Resuming && delegate_->cancelled) {
        finish(kExitStopped, consoleText("STOPPED_BEFORE_BEGIN"));
    } else {
        Screen screen = Screen::Users;
        const Screen* shown = view_.shownScreen(&screen) ? &screen : nullptr;
        switch (stage_) {
            case Stage::Start:
                stageSince_ = now;
                if (options_.passwordFromStdin)
                    stdinPassword_ = terminal_.readLine("", true, [this] { return ended(); });
                if (const std::string refusal = runningUploadRefusal(); !refusal.empty()) {
                    finish(kExitBadArguments, refusal);
                } else if (const std::string other = otherDevicesRecordHint();
                           options_.resume && !other.empty()) {
                    // The one record there is belongs to another device: taking it up here
                    // would look for that upload's destination on this device.
                    finish(kExitSomeFailed, other);
                } else if (options_.resume) {
                    stage_ = Stage::Resuming;
                    // Announced only when there is one: the controller's answer tells the
                    // other cases.
                    const auto recorded = recordedUpload();
                    if (!options_.quiet && recorded && recordIsThisDevices(*recorded)) {
                        std::printf("%s\n", consoleText("TAKING_UP_RECORDED").c_str());
                        std::fflush(stdout);
                    }
                    // An account given on the command line is used as it is: the keychain
                    // may not hold it, or may not be running at all.
                    if (!options_.user.empty())
                        wizard_->resumeFileTransferAfterRestart(options_.user,
                                                                stdinPassword_.value_or(""));
                    else
                        wizard_->resumeFileTransferAfterRestart();
                } else if (const std::string refusal = interruptedUploadRefusal();
                           !refusal.empty()) {
                    finish(kExitBadArguments, refusal);
                } else {
                    stage_ = Stage::FirstScreen;
                    wizard_->startFileTransfer();
                }
                break;
            case Stage::FirstScreen:
                if (shown && *shown == Screen::Users)
                    chooseUser();
                else if (shown && *shown == Screen::Sources && accountAsAsked())
                    addSources();
                break;
            case Stage::Counting:
                leaveSources();
                break;
            case Stage::Destination:
                chooseDestination();
                break;
            case Stage::Resuming:
                if (shown && *shown == Screen::Status) {
                    const StatusSnapshot status = view_.status();
                    const auto files = static_cast<std::uint64_t>(status.filesTotal);
                    destinationShown_ = destinationAsNamed(status.destination, device_);
                    if (options_.json)
                        emitJsonEvent("started", {{"resumed", true},
                                                  {"files", std::int64_t{status.filesTotal}},
                                                  {"bytes", status.bytesTotal},
                                                  {"destination", destinationShown_},
                                                  {"device", status.productName},
                                                  {"move", status.moving}});
                    if (!options_.quiet) {
                        std::printf(
                            "%s\n",
                            printableText(consoleText("TAKING_UP",
                                                      {consoleCountText("ITEMS_n", status.sources),
                                                       consoleCountText("FILES_n", files),
                                                       progressBytesText(status.bytesTotal),
                                                       destinationShown_, status.productName}))
                                .c_str());
                        // The move chosen at the start holds: the user hears it again here.
                        if (status.moving)
                            std::printf("%s\n", consoleText("TAKING_UP_MOVING").c_str());
                        std::fflush(stdout);
                    }
                    stage_ = Stage::Uploading;
                    startClocks();
                    terminal_.setRawInput(true);
                    terminal_.startKeys([this](char k) { onKey(k); }, [this] { handleKeys(); });
                } else if (const std::string problem = view_.resumeProblem(); !problem.empty()) {
                    finish(kExitSomeFailed, problem);
                }
                break;
            case Stage::Uploading:
                showPauseChange();
                showProgress(false);
                checkEnd();
                break;
            case Stage::Done:
                break;
        }
    }
    busy_ = false;
    if (changeWhileBusy_ && !ended()) {
        changeWhileBusy_ = false;
        QTimer::singleShot(0, this, &ConsoleSession::tick);
    }
}

}  // namespace qvt::cli
