// The upload's start and its copy loop over the source list.
#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "engine/partial_copy.h"
#include "engine/path_names.h"
#include "engine/volume_lookup.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/latest_only_task.h"
#include "platform/log.h"
#include "platform/trash.h"
#include "qvtransfer/Keychain.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"
#include "source/source_entry.h"

namespace fmt = qvt::platform;
using qvt::platform::QueuePriority;

namespace {

// The current date and time as the log lines show it.
std::string logTime(const QVTransferPrivate& c) {
    return qvt::Value(c.clock().now()).toString();
}

// The walk's place in the source list: the entry it took last and where that entry was.
struct WalkPlace {
    std::optional<qvt::Value> entry;
    std::size_t index = 0;
};

// The entry after `place` in the list as it is now, or nothing at the end. The list may have
// changed since: rows added while the upload runs are walked too, and the disconnect recovery
// takes the entries already copied out of it, so the entry taken last is looked for where it
// was and else in the whole list. When it is gone too (a cancel empties the list), the walk
// goes on with whatever now stands at its place.
std::optional<qvt::Value> nextSource(const QVTransferPrivate& c, WalkPlace& place) {
    return c.sourceFilesArray.with([&](const qvt::List& rows) -> std::optional<qvt::Value> {
        std::size_t next = 0;
        if (place.entry) {
            std::size_t at = place.index;
            if (at >= rows.size() || rows[at] != *place.entry)
                at = static_cast<std::size_t>(std::find(rows.begin(), rows.end(), *place.entry) -
                                              rows.begin());
            next = at < rows.size() ? at + 1 : place.index;
        }
        if (next >= rows.size()) return std::nullopt;
        place = {rows[next], next};
        return rows[next];
    });
}

// Whether `name` can be a source's name at the destination: "/", "." and ".." would put the
// copy at the destination folder itself or above it.
bool isPlainName(const std::string& name) {
    return name != "/" && name != "." && name != "..";
}

qvt::TransferError invalidSourceError() {
    return qvt::TransferError{EINVAL, fmt::errorDescription(EINVAL)};
}

}  // namespace

void QVTransferPrivate::uploadFiles() {
    log().write("QVTransfer: uploadFiles \n");

    // Without a folder to upload to nothing starts: a relative or empty path would put the
    // files (or, with the move option, move the sources) wherever the process happens to be.
    const std::string destination = view()->selectedDestinationFolder();
    if (destination.empty() || destination.front() != '/') {
        log().write("QVTransfer: uploadFiles: no destination folder is selected \n");
        view()->showNotice(qvt::Notice{localizedString("NO_DESTINATION_txt"), localeCLOSE_btn});
        return;
    }
    if (const std::string refusal = destinationRefusal(destination); !refusal.empty()) {
        log().write("QVTransfer: uploadFiles: the destination folder is refused \n");
        view()->showNotice(qvt::Notice{refusal, localeCLOSE_btn});
        return;
    }
    // The state file keeps one upload: a second process's upload would replace the record of
    // the one running, which a crash of that one could then not be taken up from.
    if (const auto holder = claimUploads()) {
        log().write("QVTransfer: uploadFiles: another process runs an upload \n");
        view()->showNotice(qvt::Notice{
            uploadRunningElsewhere("UPLOAD_RUNNING_ELSEWHERE_txt", *holder), localeCLOSE_btn});
        return;
    }

    clearMainTransferView();
    statusControls.with([&](StatusControls& s) { s.closeButtonTitle = localeHIDE_btn; });
    showScreen(qvt::Screen::Status);

    const std::string type = deviceType();
    if (type == "NAS") {
        // The login is kept so that a reconnection or a restart can mount the share again
        // without asking; only the keychain ever holds the password.
        const std::string serial = deviceInfo().string("serialNumber");
        const std::string user = userName.get();
        const std::string password = userPassword.get();
        SetKeychainUsernameAndPasswordForNAS(serial.c_str(), user.c_str(), password.c_str());
    } else if (type == "DAS") {
        // Recognises the volume when the disk comes back; a filesystem without a UUID leaves
        // it empty.
        selectedDASUUID.set(fmt::files().volumeFacts(destination).uuid);
        destinationVolumeRoot.set(qvt::engine::mountPointOf(destination));
    }

    selectedDestinationShare.set(destination);
    // A lost volume is known by its identity changing, also when another volume takes its
    // place.
    destinationVolumeIdentity.set(fmt::files().volumeFacts(destination).remountURL);
    // The status screen shows before any work begins.
    reloadStatus();

    // Read before this upload's record takes its place.
    qvt::List replacedPending;
    std::uint32_t replacedTag = 0;
    const std::string replacedDestination =
        replacedUploadDestination(destination, &replacedPending, &replacedTag);
    job().partialCopyTag = qvt::engine::newPartialCopyTag();

    // The upload is under way from here: the estimator and the state-file loop find it
    // copying, with its start time now.
    openRecordForWrites();
    job().begin();
    auto self = shared_from_this();
    dispatcher().async(QueuePriority::High, [self] { self->unMountSharesNotInUse(); });
    dispatcher().async(QueuePriority::High, [self] { self->calculateRemainingTime(); });
    dispatcher().async(QueuePriority::High,
                       [self] { self->saveQVTransferDataToFileForEachFile(); });
    dispatcher().async(QueuePriority::High, [self, replacedDestination, replacedPending,
                                             replacedTag] {
        // The record is on disk before the first byte is copied: whatever a crash leaves at the
        // destination, the state file knows of the upload.
        self->saveQVTransferDataToFile();
        // Gone before this upload writes hidden copies of its own.
        if (!replacedDestination.empty()) {
            self->log().write(fmt::format(
                "QVTransfer: uploadFiles: removing what the replaced upload left in %@\n",
                replacedDestination));
            qvt::engine::removeLeftoverCopiesOf(replacedPending, replacedDestination, replacedTag);
        }
        self->removeCopiesLeftByStops(self->selectedDestinationShare.get());
        self->copySourceFiles();
    });
}

void QVTransferPrivate::copySourceFiles() {
    walkSourceFiles(false);
}

void QVTransferPrivate::copyPendingSourceFiles() {
    walkSourceFiles(true);
    job().resumedAfterRestart = false;
}

void QVTransferPrivate::walkSourceFiles(bool afterRestart) {
    qvt::engine::UploadJob& upload = job();
    WalkPlace place;
    std::string resolvedShare, realShare;
    while (true) {
        // A pause between two sources holds the walk here until the upload goes on, and the
        // walk then takes up the next source.
        upload.waitWhilePaused();
        if (upload.ended()) break;
        const std::optional<qvt::Value> entry = nextSource(*this, place);
        if (!entry) break;
        const qvt::Record* row = entry->asRecord();
        // An upload taken up again copies only the sources that were ticked; the others were
        // counted in its totals all the same.
        if (afterRestart && row && row->find("filesSelectCheckbox") &&
            row->find("filesSelectCheckbox")->toInt64(1) == 0)
            continue;
        const std::string source = row ? row->string("fullFilePath") : std::string();

        // A folder source keeps its own name at the destination.
        const std::string share = selectedDestinationShare.get();
        const std::string name = qvt::engine::lastPathComponent(source);
        if (!isPlainName(name)) {
            // Only a damaged or forged state file names such a source: its name would put the
            // copy outside the destination folder.
            processFileTransferStatus(source, share, invalidSourceError());
            continue;
        }
        const std::string destination = qvt::engine::appendingPathComponent(share, name);
        // The destination as the disk resolves it, asked again only when it changed (a volume
        // back at another mount point).
        if (deviceType() == "DAS" && share != resolvedShare) {
            resolvedShare = share;
            realShare = fmt::files().realPath(share);
        }
        // A folder added while the upload runs may hold the destination, which the check
        // before the start could not see.
        if (deviceType() == "DAS" && fmt::files().isFolder(source) &&
            sourceHoldsDestination(source, realShare)) {
            processFileTransferStatus(
                source, share,
                qvt::TransferError{
                    ELOOP, fmt::format(localizedString("DESTINATION_IN_SOURCE_txt"), source)});
            continue;
        }
        // So may a source added then lie in the destination folder: copied onto itself, it
        // would get a twin of each of its files (a folder's own listing growing as they
        // arrive), and with the move option it would leave with those copies.
        if (deviceType() == "DAS" && !realShare.empty() &&
            fmt::files().realPath(qvt::engine::deletingLastPathComponent(source)) == realShare) {
            processFileTransferStatus(
                source, share,
                qvt::TransferError{
                    EEXIST, fmt::format(localizedString("SOURCE_IN_DESTINATION_txt"), source)});
            continue;
        }
        if (!afterRestart)
            log().write(fmt::format("QVTransfer: Uploading file/folder %@ to %@ Time: %@\n", source,
                                    qvt::engine::lastPathComponent(share), logTime(*this)));

        // A source under a protected location is copied, never moved.
        const std::int64_t metBefore = upload.filesMet.load();
        const std::int64_t lossesBefore = upload.namedLosses.load();
        transferFile(source, destination, share, sourceIsExcluded(source));
        if (row && upload.namedLosses.load() == lossesBefore)
            reportFilesGoneSinceTheCount(*row, source, destination,
                                         upload.filesMet.load() - metBefore);

        // An entry whose copy ended while a pause was in force was copied in full all the same
        // (a pause stops at the next file): it joins the transferred list once the pause ends,
        // so that the state file meanwhile keeps it among the sources still to copy.
        upload.waitWhilePaused();
        if (upload.cancelled()) break;
        transferredSourceFilesArray.with([&](qvt::List& done) { done.push_back(*entry); });

        trashAfterItem(source, destination);
    }

    // What could not be removed yet is tried once more before the upload ends; what still
    // cannot be stays noted for the next upload to the share or volume.
    removeCopiesLeftNoted();
    // No more files are reported from this walk: the last report goes out now rather than
    // after its spacing, which would hold up the end.
    perFileStatusUpdate->finish();
    // The end step completes the upload once the destination is flushed: an upload seen as
    // complete has its data on the disk.
    if (upload.ended()) return;
    processFileTransferStatus("", "", std::nullopt);
}

void QVTransferPrivate::reportFilesGoneSinceTheCount(const qvt::Record& row,
                                                     const std::string& source,
                                                     const std::string& destination,
                                                     std::int64_t met) {
    // An upload stopped inside the source met what it met. With the move option, files that
    // left the source on the way (copied by a row listed before, or before a restart) are not
    // gone.
    if (job().ended() || removeFilesAfterUpload) return;
    const std::int64_t counted = qvt::source::rowCounts(row).files;
    if (met >= counted) return;
    // A source gone as a whole is named as such already; a file source is one file.
    bool isFolder = false;
    if (!fmt::files().exists(source, &isFolder) || !isFolder) return;
    std::int64_t missing = counted - met;
    // Taken up after a restart, the folder is copied again from its start: files that arrived
    // before the restart and have left the source since (moved by the interrupted upload, or
    // tidied away by the user) are at the destination, not lost.
    if (job().resumedAfterRestart) missing -= filesArrivedBeforeTheRestart(source, destination);
    if (missing <= 0) return;
    recordFailure(
        source, destination,
        qvt::TransferError{ENOENT, fmt::format(localizedString("SOURCE_FILES_GONE_txt"),
                                               std::to_string(missing), std::to_string(counted))},
        missing);
}

std::int64_t QVTransferPrivate::filesArrivedBeforeTheRestart(const std::string& source,
                                                             const std::string& copy) {
    auto& files = fmt::files();
    // What this run wrote into the copy, read once: the list may be long and kept on disk.
    std::unordered_set<std::string> written;
    const std::string prefix = copy + "/";
    inProcessSourceFilesArray.snapshot().forEach([&](std::string_view path) {
        if (path.substr(0, prefix.size()) == prefix) written.emplace(path);
        return true;
    });
    std::int64_t arrived = 0;
    std::vector<std::string> folders{""};  // below `copy` and `source`
    while (!folders.empty()) {
        const std::string below = folders.back();
        folders.pop_back();
        for (const std::string& name : files.listFolder(copy + below)) {
            if (qvt::engine::isTemporaryName(name)) continue;
            const std::string path = below + "/" + name;
            bool isFolder = false;
            if (files.exists(copy + path, &isFolder) && isFolder && !files.isAlias(copy + path))
                folders.push_back(path);
            else if (arrivedBeforeTheRestart(source + path, copy + path,
                                             written.count(copy + path) != 0))
                ++arrived;
        }
    }
    return arrived;
}

bool QVTransferPrivate::arrivedBeforeTheRestart(const std::string& source, const std::string& copy,
                                                bool writtenThisRun) {
    // A file this run handled is its own (a source's copy, or its twin under a new name).
    if (!job().resumedAfterRestart || writtenThisRun) return false;
    auto& files = fmt::files();
    bool isFolder = true;
    if (!files.exists(copy, &isFolder) || isFolder || files.isAlias(copy)) return false;
    return !files.exists(source) && !files.isAlias(source);
}

bool QVTransferPrivate::sourceIsExcluded(const std::string& source) const {
    if (!removeFilesAfterUpload) return false;
    const auto excluded = excludeSourceFilesArray.get();
    return std::any_of(excluded.begin(), excluded.end(), [&](const std::string& fragment) {
        return source.find(fragment) != std::string::npos;
    });
}

void QVTransferPrivate::trashAfterItem(const std::string& source, const std::string& destination) {
    // One failure anywhere in the upload keeps every later source where it is. Only an exact
    // listing among the protected paths keeps a source out of the Trash here, unlike the
    // fragment test before the copy: a source matched only by a fragment was copied, and still
    // goes to the Trash.
    if (!removeFilesAfterUpload || job().cancelled() || job().paused() || isFileTransferFailed() ||
        !failedTransferArray.with([](const qvt::List& l) { return l.empty(); }))
        return;
    const auto excluded = excludeSourceFilesArray.get();
    if (std::find(excluded.begin(), excluded.end(), source) != excluded.end()) return;
    // Only what arrived leaves: a folder that still holds a file the upload did not handle (one
    // put there after the walk had passed, say) stays where it is, with all it holds.
    if (const std::string kept = fileNotUploadedBelow(source, destination); !kept.empty()) {
        log().write(
            fmt::format("QVTransfer: removeError: %@ kept: it holds %@, which was not uploaded \n",
                        source, kept));
        return;
    }
    moveSourceToTrash(source);
}

std::string QVTransferPrivate::fileNotUploadedBelow(const std::string& source,
                                                    const std::string& destination) {
    auto& files = fmt::files();
    bool isFolder = false;
    if (!files.exists(source, &isFolder) || !isFolder || files.isAlias(source)) return "";
    // Depth first, without following links: a link holds no data of its own (what it leads
    // to was copied, or was not chosen). A moved tree holds only folders by now.
    std::vector<std::string> remaining;
    std::vector<std::string> folders{""};
    while (!folders.empty()) {
        const std::string relative = folders.back();
        folders.pop_back();
        const std::string folder = relative.empty() ? source : source + "/" + relative;
        for (const std::string& name : files.listFolder(folder)) {
            const std::string below = relative.empty() ? name : relative + "/" + name;
            const std::string path = source + "/" + below;
            bool entryIsFolder = false;
            if (files.isAlias(path) || !files.exists(path, &entryIsFolder)) continue;
            if (entryIsFolder)
                folders.push_back(below);
            else
                remaining.push_back(below);
        }
    }
    if (remaining.empty()) return "";
    // A moved tree that still holds a file got it after the walk had passed, or from the upload
    // itself (a source that is the destination seen through another path): it stays.
    if (!sourceIsExcluded(source)) return source + "/" + remaining.front();
    // A protected tree was copied rather than moved: it goes when every file it holds was
    // handled. The handled list is read once for the destinations below this item.
    const std::string prefix = destination + "/";
    std::unordered_set<std::string> handled;
    inProcessSourceFilesArray.snapshot().forEach([&](std::string_view path) {
        if (path.starts_with(prefix)) handled.emplace(path.substr(prefix.size()));
        return true;
    });
    for (const std::string& below : remaining)
        if (!handled.count(below)) return source + "/" + below;
    return "";
}

void QVTransferPrivate::moveSourceToTrash(const std::string& sourcePath) {
    // A file source was moved to the destination already, so it is not found here; a folder
    // source leaves its emptied tree for the Trash.
    if (!qvt::platform::moveToTrash(sourcePath))
        log().write(fmt::format("QVTransfer: removeError: %@ \n", sourcePath));
}
