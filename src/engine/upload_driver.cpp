// The upload's start and its copy loop over the source list.
#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "engine/path_names.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "platform/trash.h"
#include "qvtransfer/Keychain.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"

namespace fmt = qvt::platform;
using qvt::platform::QueuePriority;

namespace {

// The current date and time as the log lines show it.
std::string logTime(const QVTransferPrivate& c) {
    return qvt::Value(c.clock().now()).toString();
}

std::size_t sourceCount(const QVTransferPrivate& c) {
    return c.sourceFilesArray.with([](const qvt::List& rows) { return rows.size(); });
}

// The entry at `index`, or nothing when the list has become shorter (a cancel empties it).
std::optional<qvt::Value> sourceAt(const QVTransferPrivate& c, std::size_t index) {
    return c.sourceFilesArray.with([index](const qvt::List& rows) -> std::optional<qvt::Value> {
        if (index >= rows.size()) return std::nullopt;
        return rows[index];
    });
}

}  // namespace

void QVTransferPrivate::uploadFiles() {
    log().write("QVTransfer: uploadFiles \n");

    clearMainTransferView();
    statusControls.with([&](StatusControls& s) { s.closeButtonTitle = localeHIDE_btn; });
    showScreen(qvt::Screen::Status);

    const std::string destination = view()->selectedDestinationFolder();
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
    }

    selectedDestinationShare.set(destination);
    // The status screen shows before any work begins.
    reloadStatus();

    // The upload is under way from here: the estimator and the state-file loop find it
    // copying, with its start time now.
    job().begin();
    auto self = shared_from_this();
    dispatcher().async(QueuePriority::High, [self] { self->unMountSharesNotInUse(); });
    dispatcher().async(QueuePriority::High, [self] { self->calculateRemainingTime(); });
    dispatcher().async(QueuePriority::High,
                       [self] { self->saveQVTransferDataToFileForEachFile(); });
    dispatcher().async(QueuePriority::High, [self] { self->copySourceFiles(); });
}

void QVTransferPrivate::copySourceFiles() {
    qvt::engine::UploadJob& upload = job();
    // The count is read again after every entry: rows added while the upload runs are copied
    // too.
    for (std::size_t i = 0; i < sourceCount(*this); ++i) {
        // A pause between two sources holds the walk here until the upload goes on, and the
        // walk then takes up the next source.
        upload.waitWhilePaused();
        if (upload.ended()) break;
        const std::optional<qvt::Value> entry = sourceAt(*this, i);
        if (!entry) break;
        const qvt::Record* row = entry->asRecord();
        const std::string source = row ? row->string("fullFilePath") : std::string();

        // A folder source keeps its own name at the destination.
        const std::string share = selectedDestinationShare.get();
        const std::string destination =
            qvt::engine::appendingPathComponent(share, qvt::engine::lastPathComponent(source));
        log().write(fmt::format("QVTransfer: Uploading file/folder %@ to %@ Time: %@\n", source,
                                qvt::engine::lastPathComponent(share), logTime(*this)));

        // A source under a protected location is copied, never moved.
        bool excludeFile = false;
        if (removeFilesAfterUpload) {
            const auto excluded = excludeSourceFilesArray.get();
            excludeFile =
                std::any_of(excluded.begin(), excluded.end(), [&](const std::string& fragment) {
                    return source.find(fragment) != std::string::npos;
                });
        }

        transferFile(source, destination, share, excludeFile);

        // An entry whose copy ended while a pause was in force was copied in full all the same
        // (a pause stops at the next file): it joins the transferred list once the pause ends,
        // so that the state file meanwhile keeps it among the sources still to copy.
        upload.waitWhilePaused();
        if (upload.cancelled()) break;
        // The upload completes at its last file, inside the last entry; that entry stays out of
        // the transferred list (the state file then has nothing pending anyway).
        if (!upload.completed())
            transferredSourceFilesArray.with([&](qvt::List& done) { done.push_back(*entry); });

        // One failure anywhere in the upload keeps every later source where it is. Only an
        // exact listing among the protected paths keeps a source out of the Trash here, unlike
        // the fragment test above: a source matched only by a fragment was copied, and still
        // goes to the Trash.
        if (removeFilesAfterUpload && !isFileTransferFailed() &&
            failedTransferArray.with([](const qvt::List& l) { return l.empty(); })) {
            const auto excluded = excludeSourceFilesArray.get();
            if (std::find(excluded.begin(), excluded.end(), source) == excluded.end())
                moveSourceToTrash(source);
        }
    }

    if (upload.ended()) return;
    upload.complete();
    processFileTransferStatus("", "", std::nullopt);
}

void QVTransferPrivate::moveSourceToTrash(const std::string& sourcePath) {
    // A file source was moved to the destination already, so it is not found here; a folder
    // source leaves its emptied tree for the Trash.
    if (!qvt::platform::moveToTrash(sourcePath))
        log().write(fmt::format("QVTransfer: removeError: %@ \n", sourcePath));
}
