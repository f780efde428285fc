// The wizard's screens before the upload, walked as a user would walk them: the account, the
// sources, the destination, then Upload.
#include <sys/stat.h>
#include <QTimer>
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>

#include "console_session.h"
#include "console_texts.h"
#include "console_view.h"
#include "destination/folder_node.h"
#include "json_events.h"
#include "platform/files.h"
#include "progress_text.h"
#include "state_folder.h"
#include "terminal.h"

namespace qvt::cli {

namespace {

constexpr auto kDestinationWait = std::chrono::seconds(120);

std::string joined(const std::vector<std::string>& names) {
    std::string out;
    for (const auto& n : names) out += (out.empty() ? "" : ", ") + n;
    return out.empty() ? consoleText("NONE") : out;
}

bool sameIgnoringCase(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

std::string trimmedSlashes(std::string s) {
    while (!s.empty() && s.front() == '/') s.erase(s.begin());
    while (!s.empty() && s.back() == '/') s.pop_back();
    return s;
}

// An answer that is a number from 1 to `count`, as an index; -1 otherwise.
int chosenNumber(const std::string& answer, std::size_t count) {
    if (answer.empty() || answer.find_first_not_of("0123456789") != std::string::npos) return -1;
    const unsigned long n = std::stoul(answer);
    return n >= 1 && n <= count ? static_cast<int>(n - 1) : -1;
}

}  // namespace

std::optional<std::string> ConsoleSession::ask(const std::string& prompt, bool secret) {
    if (!terminal_.inputIsTerminal()) return std::nullopt;
    clearProgressLine();
    return terminal_.readLine(prompt, secret, [this] { return ended(); });
}

bool ConsoleSession::accountAsAsked() {
    if (options_.user.empty() || device_.string("deviceType") != "NAS") return true;
    const UsersScreen users = view_.users();
    if (!users.usersFetched) return false;
    const std::vector<std::string>& names = users.userNames;
    if (names.size() == 1 && names.front() == options_.user) return true;
    finish(kExitBadArguments, consoleText("NO_ACCOUNT", {options_.user, joined(names)}));
    return false;
}

void ConsoleSession::chooseUser() {
    const UsersScreen users = view_.users();
    if (!users.usersFetched) return;
    const std::vector<std::string> names = users.userNames;
    int index = -1;
    std::string wanted = options_.user;
    if (wanted.empty() && names.size() == 1) wanted = names.front();
    if (wanted.empty() && terminal_.inputIsTerminal()) {
        std::printf("%s\n", consoleText("ACCOUNTS_HEADING").c_str());
        for (std::size_t i = 0; i < names.size(); ++i)
            std::printf("  %zu) %s\n", i + 1, names[i].c_str());
        const auto answer = ask(consoleText("ACCOUNT_PROMPT"));
        if (ended()) return;
        if (!answer) return finish(kExitBadArguments, consoleText("NO_ACCOUNT_CHOSEN"));
        const int n = chosenNumber(*answer, names.size());
        wanted = n >= 0 ? names[static_cast<std::size_t>(n)] : *answer;
    }
    if (wanted.empty())
        return finish(kExitBadArguments, consoleText("SEVERAL_ACCOUNTS", {joined(names)}));
    for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == wanted) index = static_cast<int>(i);
    if (index < 0)
        return finish(kExitBadArguments, consoleText("NO_ACCOUNT", {wanted, joined(names)}));

    actions_.selectUser(index);
    for (int attempt = 0;; ++attempt) {
        std::optional<std::string> password = std::string();
        if (view_.users().passwordShown) {
            if (options_.passwordFromStdin)
                password = stdinPassword_;
            else if (terminal_.inputIsTerminal())
                password = ask(consoleText("PASSWORD_PROMPT", {wanted}), true);
            else
                return finish(kExitBadArguments, consoleText("NEEDS_PASSWORD", {wanted}));
            if (ended()) return;
            if (!password) return finish(kExitBadArguments, consoleText("NO_PASSWORD"));
        }
        actions_.setUserPassword(*password);
        actions_.verifyUserLoginAndSelectSourceFiles();
        if (ended()) return;
        Screen shown = Screen::Users;
        if (view_.shownScreen(&shown) && shown == Screen::Sources) return addSources();
        if (!view_.users().incorrectPassword) return;  // the lost-connection question took over
        if (!options_.passwordFromStdin && terminal_.inputIsTerminal() && attempt < 2) {
            std::printf("%s\n", consoleText("PASSWORD_RETRY").c_str());
            continue;
        }
        return finish(kExitSomeFailed, consoleText("PASSWORD_REFUSED", {wanted}));
    }
}

void ConsoleSession::addSources() {
    if (options_.sources.empty()) {
        std::printf("%s\n", consoleText("SOURCES_PROMPT").c_str());
        while (true) {
            const auto line = ask("> ");
            if (ended()) return;
            if (!line || line->empty()) break;
            std::string path = *line;
            struct stat st {};
            if (path.front() != '/' || lstat(path.c_str(), &st) != 0) {
                std::printf("  %s\n", consoleText("SOURCE_NOT_FOUND", {path}).c_str());
                continue;
            }
            options_.sources.push_back(path);
        }
        if (options_.sources.empty())
            return finish(kExitBadArguments, consoleText("NOTHING_TO_UPLOAD"));
    }
    if (options_.move) actions_.setRemoveFilesAfterUpload(true);
    // The same step as dropping the items on the source screen.
    actions_.concludeDragOperation(options_.sources);
    stage_ = Stage::Counting;
}

void ConsoleSession::leaveSources() {
    // Next waits for every row's count, so the upload knows how many files it has.
    const SourcesScreen sources = view_.sources();
    if (sources.rows.empty() || !sources.allCounted) return;
    std::uint64_t folders = 0, files = 0, bytes = 0;
    for (const SourceRow& row : sources.rows) {
        if (!row.ticked) continue;
        folders += static_cast<std::uint64_t>(std::max<std::int64_t>(0, row.folderCount));
        files += static_cast<std::uint64_t>(std::max<std::int64_t>(0, row.fileCount));
        bytes += row.bytes;
    }
    if (!options_.quiet) {
        std::printf("%s\n",
                    consoleText("SOURCES_LINE", {sourcesText(folders, files, bytes)}).c_str());
        std::fflush(stdout);
    }
    actions_.selectDestinationForFileTransfer();
    if (ended()) return;
    Screen shown = Screen::Users;
    if (view_.shownScreen(&shown) && shown == Screen::Destination) {
        stage_ = Stage::Destination;
        stageSince_ = Clock::now();
        return;
    }
    finish(kExitStopped, consoleText("MOVE_NOT_CONFIRMED"));
}

std::optional<std::string> ConsoleSession::resolveDestination(const std::string& wanted,
                                                              std::string& error) {
    std::vector<std::pair<std::string, std::string>> roots;  // name, folder
    std::vector<std::string> names;
    for (const Value& v : view_.destinations().roots)
        if (const Record* r = v.asRecord()) {
            roots.emplace_back(r->string(destination::kFolderName),
                               r->string(destination::kFolderFullPath));
            names.push_back(roots.back().first);
        }
    std::string folder;
    std::string below;
    if (!wanted.empty() && wanted.front() == '/') {
        // Appended, not "/" + ...: GCC 12 at -O3 takes a literal added to a temporary string
        // for an overlapping copy (a false -Wrestrict).
        std::string path = "/";
        path += trimmedSlashes(wanted);
        for (const auto& [name, root] : roots)
            if (path == root || path.rfind(root + "/", 0) == 0) folder = root;
        if (folder.empty()) {
            error = consoleText("NOT_ON_DEVICE", {wanted, joined(names)});
            return std::nullopt;
        }
        below = path.substr(folder.size());
        folder = path;
    } else {
        const std::string spec = trimmedSlashes(wanted);
        const auto slash = spec.find('/');
        const std::string head = spec.substr(0, slash);
        below = slash == std::string::npos ? "" : trimmedSlashes(spec.substr(slash + 1));
        for (const auto& [name, root] : roots)
            if (name == head) folder = root;
        if (folder.empty())
            for (const auto& [name, root] : roots)
                if (sameIgnoringCase(name, head)) folder = root;
        if (folder.empty()) {
            error = consoleText("NO_SHARE_NAMED", {head, joined(names)});
            return std::nullopt;
        }
        if (!below.empty()) folder += "/" + below;
    }
    if (("/" + below + "/").find("/../") != std::string::npos) {
        error = consoleText("CLIMBS_OUT", {wanted});
        return std::nullopt;
    }
    if (!platform::files().isFolder(folder)) {
        error = consoleText("NO_FOLDER", {wanted});
        return std::nullopt;
    }
    return folder;
}

void ConsoleSession::chooseDestination() {
    const DestinationScreen destinations = view_.destinations();
    if (!destinations.finished || !destinations.uploadEnabled) {
        if (Clock::now() - stageSince_ > kDestinationWait)
            finish(kExitSomeFailed, consoleText("SHARES_DID_NOT_COME"));
        return;
    }
    const List& roots = destinations.roots;
    std::vector<std::string> names;
    for (const Value& v : roots)
        if (const Record* r = v.asRecord()) names.push_back(r->string(destination::kFolderName));
    if (names.empty()) return finish(kExitSomeFailed, consoleText("NOTHING_TO_UPLOAD_TO"));

    std::string wanted = options_.destination;
    if (wanted.empty() && names.size() == 1 && !terminal_.inputIsTerminal()) wanted = names[0];
    while (true) {
        if (wanted.empty()) {
            if (!terminal_.inputIsTerminal())
                return finish(kExitBadArguments, consoleText("NO_DESTINATION", {joined(names)}));
            std::printf("%s\n", consoleText("SHARES_LINE", {joined(names)}).c_str());
            const auto answer = ask(consoleText("DESTINATION_PROMPT"));
            if (ended()) return;
            if (!answer) return finish(kExitBadArguments, consoleText("NO_DESTINATION_CHOSEN"));
            wanted = *answer;
        }
        std::string error;
        if (const auto folder = resolveDestination(wanted, error)) {
            view_.selectDestinationFolder(*folder);
            destinationShown_ = wanted;
            return startUpload();
        }
        if (!terminal_.inputIsTerminal() || !options_.destination.empty())
            return finish(kExitBadArguments, error);
        std::printf("%s\n", error.c_str());
        wanted.clear();
    }
}

void ConsoleSession::startUpload() {
    const auto files =
        static_cast<std::uint64_t>(std::max<std::int64_t>(0, view_.destinations().filesToUpload));
    startClocks();
    std::fflush(stdout);
    stage_ = Stage::Uploading;
    terminal_.setRawInput(true);
    terminal_.startKeys([this](char k) { onKey(k); }, [this] { handleKeys(); });
    actions_.uploadFiles();
    // Refused before it began (a destination a source folder holds, or one a link leads off
    // the device): the reason is on stderr already, and nothing was copied.
    if (actions_.statusSnapshot().state == engine::UploadState::Idle)
        return finish(kExitBadArguments, "");
    // Before anything can interrupt it: an upload that cannot be recorded cannot be taken up.
    if (const auto problem = stateFolderProblem(stateFolder()))
        std::fprintf(stderr, "%s\n",
                     consoleText("STATE_NOT_WRITABLE", {stateFolder(), *problem}).c_str());
    // Said once the upload has begun: the main thread prints its progress only after this.
    if (!options_.quiet)
        std::printf("%s\n",
                    printableText(consoleCountText("UPLOADING_n", files,
                                                   {destinationShown_, deviceInfo("productName")}))
                        .c_str());
    if (!options_.quiet) warnIfShortOfRoom();
    if (options_.json)
        emitJsonEvent("started", {{"resumed", false},
                                  {"files", files},
                                  {"bytes", actions_.statusSnapshot().bytesTotal},
                                  {"destination", destinationShown_},
                                  {"device", deviceInfo("productName")},
                                  {"move", options_.move}});
    showProgress(true);
}

void ConsoleSession::warnIfShortOfRoom() {
    const std::uint64_t needed = actions_.statusSnapshot().bytesTotal;
    const auto free =
        platform::files().volumeFacts(view_.selectedDestinationFolder()).availableCapacity;
    if (!free || *free >= needed) return;
    const std::string text = consoleText(
        "ROOM_SHORT",
        {progressBytesText(*free), deviceInfo("productName"), progressBytesText(needed)});
    std::printf("%s\n", printableText(text).c_str());
}

void ConsoleSession::onModal(Dialog dialog) {
    clearProgressLine();
    switch (dialog) {
        case Dialog::CancelUploadConfirm:
            stopQuestionComing_ = false;
            if (stopWithoutAsking_) {
                view_.answer(dialog, ConsoleView::kAnswerSecond);
            } else {
                showPauseChange();  // the stop button pauses before it asks
                std::string prompt = view_.questionText();
                if (prompt.empty()) prompt = consoleText("STOP_QUESTION");
                if (options_.json)
                    emitJsonEvent("stop question", {{"text", prompt}, {"keys", "y stops"}});
                else
                    std::printf("%s %s ", prompt.c_str(), consoleText("YES_NO_HINT").c_str());
                std::fflush(stdout);
                awaitingStopAnswer_ = true;
                // A key typed ahead answers it; with stdin at its end, nobody can: "no".
                handleKeys();
            }
            break;
        case Dialog::ProtectedFiles: {
            // With --json stdout holds only events.
            std::FILE* out = options_.json ? stderr : stdout;
            std::fprintf(out, "%s\n", view_.questionText().c_str());
            // --move on a command line without a terminal is the confirmation: the warning's
            // own question is answered here, so that nobody waits for it to be asked.
            bool goOn = true;
            if (terminal_.inputIsTerminal()) {
                const auto answer = ask(consoleText("MOVE_QUESTION"));
                goOn = answer && !answer->empty() && isYesKey(answer->front());
            } else {
                std::fprintf(out, "%s\n", consoleText("MOVE_CONFIRMED_BY_OPTION").c_str());
            }
            view_.answer(dialog, goOn ? ConsoleView::kAnswerSecond : ConsoleView::kAnswerFirst);
            break;
        }
        case Dialog::LostConnection:
            answerLostConnection();
            break;
        case Dialog::DeviceMissing:
            // As the dialog's Close button: the upload waits, and goes on by itself once the
            // device is back.
            if (options_.json) emitJsonEvent("waiting", {{"for", "device"}});
            if (!options_.quiet)
                std::printf("%s\n",
                            consoleText("WAITING_FOR_DEVICE", {deviceInfo("productName")}).c_str());
            waits_.began(Wait::Device);
            view_.answer(dialog, ConsoleView::kAnswerFirst);
            break;
        case Dialog::DeviceFull:
            if (options_.json) emitJsonEvent("waiting", {{"for", "space"}});
            if (!options_.quiet) std::printf("%s\n", consoleText("WAITING_FOR_SPACE").c_str());
            waits_.began(Wait::Space);
            view_.answer(dialog, ConsoleView::kAnswerFirst);
            break;
        default:
            view_.answer(dialog, ConsoleView::kModalStopped);
            break;
    }
    std::fflush(stdout);
}

void ConsoleSession::answerLostConnection() {
    const std::string address = deviceInfo("ipAddress");
    // What went wrong, as the controller put it: no answer, a late one, or one it could not
    // read.
    const std::string sentence = view_.lostConnectionSentence();
    const bool answered =
        !sentence.empty() && sentence != actions_.localeText("LOST_CONNECTION_MSG_txt");
    if (terminal_.inputIsTerminal()) {
        // The sentence is the question's reason; without a question the end's message below
        // says the same once. With --json stdout holds only events: it goes to stderr.
        std::FILE* out = options_.json ? stderr : stdout;
        if (answered)
            std::fprintf(out, "%s\n", consoleText("ANSWERED_BUT", {address, sentence}).c_str());
        else
            std::fprintf(out, "%s\n", consoleText("CANNOT_REACH", {address}).c_str());
        const auto answer = ask(consoleText("TRY_AGAIN_PROMPT"));
        if (!ended() && answer &&
            (answer->empty() || (answer->front() != 'n' && answer->front() != 'N'))) {
            view_.answer(Dialog::LostConnection, ConsoleView::kAnswerFirst);
            return;
        }
    }
    // Closed without a choice: nothing of the device's state (a pending upload's record
    // included) is touched; the session ends.
    view_.answer(Dialog::LostConnection, ConsoleView::kModalStopped);
    finish(kExitSomeFailed, answered ? consoleText("NOT_UPLOADED_BECAUSE", {sentence})
                                     : consoleText("NOT_UPLOADED_UNREACHABLE", {address}));
}

}  // namespace qvt::cli
