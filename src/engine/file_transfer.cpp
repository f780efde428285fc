// Copying one source to the destination: clash-free names, folders merged, retries after a lost
// or full device.
#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <unordered_set>

#include "engine/duplicate_name.h"
#include "engine/path_names.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"

namespace fs = qvt::platform;
using qvt::engine::appendingPathComponent;
using qvt::engine::deletingLastPathComponent;
using qvt::engine::deletingPathExtension;
using qvt::engine::lastPathComponent;
using qvt::engine::pathExtension;

namespace {

// The copy thread's blocking point for a pause inside a source: it waits until the upload
// goes on or ends.
void waitWhilePaused(QVTransferPrivate& c) {
    if (!c.uploadPaused()) return;
    c.log().write("QVTransfer: transferFile 1: transfer_semaphore");
    c.job().waitWhilePaused();
    c.log().write("QVTransfer: transferFile 2: transfer_semaphore");
}

// Whether the destination's volume is gone: its remount identity is empty once the share's
// connection is lost or the disk has been pulled.
bool destinationVolumeLost(QVTransferPrivate& c) {
    return fs::files().volumeFacts(c.selectedDestinationShare.get()).remountURL.empty();
}

void reportLostDevice(QVTransferPrivate& c) {
    if (!c.reconnectingDevice()) c.displayDeviceDisconnect();
}

qvt::TransferError transferError(int errnoValue) {
    return qvt::TransferError{fs::platformErrorCode(errnoValue), fs::errorDescription(errnoValue)};
}

// `destination` when nothing is there, otherwise the same folder with a free name that keeps
// the extension.
std::string clashFreeDestination(QVTransferPrivate& c, const std::string& destination) {
    if (!fs::files().exists(destination)) return destination;
    const std::string extension = pathExtension(destination);
    std::string name = c.getDuplicateFileName(deletingPathExtension(destination));
    if (!extension.empty()) name += "." + extension;
    return appendingPathComponent(deletingLastPathComponent(destination), name);
}

enum class Step { Done, Retry };

Step transferOneFile(QVTransferPrivate& c, const std::string& source, std::string& destination,
                     bool excludeFile) {
    qvt::engine::UploadJob& upload = c.job();
    // After a restart, a file handled before it is not copied twice.
    if (upload.resumedAfterRestart && c.inProcessSourceFilesArray.contains(destination))
        return Step::Done;

    // The copy is tried under the name asked for first: it never replaces anything there, and
    // a clash (EEXIST) is what sends it to the clash-free name. On a share this saves asking
    // the server whether the name is taken before every file.
    std::string target = destination;
    const bool move = c.removeFilesAfterUpload && !excludeFile;
    // With the move option a source leaves its place, unless it is protected.
    auto transfer = [&] {
        upload.inProcessDestFilePath.set(target);
        return move ? fs::files().moveItem(source, target) : fs::files().copyItem(source, target);
    };
    int rc = transfer();
    if (rc == EEXIST && !upload.cancelled()) {
        target = clashFreeDestination(c, destination);
        rc = transfer();
    }
    if (upload.cancelled()) return Step::Done;

    std::optional<qvt::TransferError> error;
    if (rc != 0) {
        const int code = fs::platformErrorCode(rc);
        const bool alias = fs::files().isAlias(target);
        if (destinationVolumeLost(c) || (code == fs::kUnknownWriteError && !alias)) {
            reportLostDevice(c);
            destination = target;
            return Step::Retry;
        }
        if (code == fs::kOutOfSpaceWriteError) {
            c.displayDeviceFullDialog();
            destination = target;
            return Step::Retry;
        }
        // An unknown write error on an alias is what writing through the link reports after
        // the data went through: the copy counts as done.
        if (code != fs::kUnknownWriteError) error = transferError(rc);
    }

    c.inProcessSourceFilesArray.append(target);
    c.processFileTransferStatus(source, target, error);
    upload.inProcessDestFilePath.set("");
    return Step::Done;
}

Step transferFolder(QVTransferPrivate& c, const std::string& source, const std::string& destination,
                    const std::string& destDir, bool excludeFile) {
    // An existing folder of that name is merged into; a folder never gets a new name.
    if (!fs::files().exists(destination)) {
        if (const int rc = fs::files().createFolder(destination, true)) {
            const int code = fs::platformErrorCode(rc);
            if (destinationVolumeLost(c) || code == fs::kUnknownWriteError) {
                reportLostDevice(c);
                return Step::Retry;
            }
            if (code == fs::kOutOfSpaceWriteError) {
                c.displayDeviceFullDialog();
                return Step::Retry;
            }
            c.processFileTransferStatus(source, destination, transferError(rc));
            return Step::Done;
        }
    }
    // Depth first, file by file: each file is reported on its own.
    for (const std::string& name : fs::files().listFolder(source)) {
        const std::string entry = appendingPathComponent(source, name);
        // A link to a folder inside a source is not followed, as the count of the source did
        // not follow it: its files are not in the upload's file count, and copying them would
        // end the upload early, with files after it never copied. (A loop of links is never
        // entered either.) A link to a file is copied as the file.
        bool linkToFolder = false;
        if (fs::files().isAlias(entry) && fs::files().exists(entry, &linkToFolder) &&
            linkToFolder) {
            c.log().write(
                fs::format("QVTransfer: transferFile: link to a folder not followed: %@\n", entry));
            continue;
        }
        c.transferFile(entry, appendingPathComponent(destination, name), destDir, excludeFile);
    }
    return Step::Done;
}

}  // namespace

void QVTransferPrivate::transferFile(const std::string& sourcePath, const std::string& destFilePath,
                                     const std::string& destDir, bool excludeFile) {
    // A retry runs this call again for the same source, with the name chosen by the attempt
    // before. It loops rather than calling itself, so a device that stays full (which retries
    // at once, again and again) never deepens the stack.
    std::string destination = destFilePath;
    bool retriedFile = false;
    while (true) {
        waitWhilePaused(*this);
        if (job().ended()) break;

        bool isFolder = false;
        if (!fs::files().exists(sourcePath, &isFolder)) break;

        const Step step = isFolder
                              ? transferFolder(*this, sourcePath, destination, destDir, excludeFile)
                              : transferOneFile(*this, sourcePath, destination, excludeFile);
        if (step == Step::Done) break;
        if (!isFolder) retriedFile = true;
    }
    // A file that was retried is no longer in hand, however the retry ended (a cancel during
    // the wait included).
    if (retriedFile) job().inProcessDestFilePath.set("");
}

std::string QVTransferPrivate::getDuplicateFileName(const std::string& pathWithoutExtension) {
    // A name counts as taken when any entry of the folder has it once its extension is
    // dropped: "report copy.pdf" takes "report copy" for every extension.
    const std::string folder = deletingLastPathComponent(pathWithoutExtension);
    std::unordered_set<std::string> taken;
    for (const std::string& entry : fs::files().listFolder(folder))
        taken.insert(deletingPathExtension(entry));

    std::string candidate = qvt::engine::duplicateNameCandidate(
        lastPathComponent(pathWithoutExtension), localeCOPY_txt);
    while (taken.count(candidate) != 0)
        candidate = qvt::engine::duplicateNameCandidate(candidate, localeCOPY_txt);
    return candidate;
}
