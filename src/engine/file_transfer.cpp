// Copying one source to the destination: clash-free names, folders merged, retries after a lost
// or full device.

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "engine/duplicate_name.h"
#include "engine/link_loops.h"
#include "engine/partial_copy.h"
#include "engine/path_names.h"
#include "engine/whole_copy.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "platform/smb_names.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"
#include "source/tree_count.h"

namespace fs = qvt::platform;
using qvt::engine::appendingPathComponent;
using qvt::engine::deletingLastPathComponent;
using qvt::engine::deletingPathExtension;
using qvt::engine::kSourceKeptChanging;
using qvt::engine::kSourceNotItsSize;
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

void reportLostDevice(QVTransferPrivate& c) {
    if (!c.reconnectingDevice()) c.displayDeviceDisconnect();
}

// Whether the destination went away while the upload was paused. A disk unmounted meanwhile
// leaves its mount point folder behind, on the computer's own disk, where every write would
// succeed: after each pause the destination is looked at before anything is written.
bool destinationLostDuringAPause(QVTransferPrivate& c) {
    qvt::engine::UploadJob& upload = c.job();
    const std::uint64_t resumes = upload.resumes.load();
    if (resumes == upload.resumesLookedAt.load()) return false;
    upload.resumesLookedAt = resumes;
    return c.destinationVolumeLost();
}

// The longest name, in bytes, that the file systems of devices (and shares) hold.
constexpr std::size_t kLongestName = 255;

// The reason for a copy or a folder that could not be given the name `path` ends in. A name
// longer than a device holds (as a share holds it, its refused characters mapped to longer
// ones; or with the clash rule's "copy" added) is said to be so: the system's own words for it
// on a share are "Invalid argument".
qvt::TransferError failureOfNamed(QVTransferPrivate& c, int rc, const std::string& path) {
    const std::string name = lastPathComponent(path);
    const std::string stored =
        c.deviceType() == "NAS" ? qvt::platform::smb::toShareName(name) : name;
    if (stored.size() > kLongestName)
        return {ENAMETOOLONG, fs::format(c.localizedString("NAME_TOO_LONG_txt"), name)};
    return qvt::engine::failureOf(c, rc);
}

// The reason a copy to `target` failed with "no such file": the system's words would read as if
// the source were missing, where it is most often the folder the copy was being written into
// that was removed during the upload.
qvt::TransferError failureOfCopy(QVTransferPrivate& c, int rc, const std::string& source,
                                 const std::string& target) {
    if (rc == ENOENT) {
        auto& files = fs::files();
        if (!files.exists(source) && !files.isAlias(source))
            return {ENOENT, c.localizedString("SOURCE_GONE_txt")};
        const std::string folder = deletingLastPathComponent(target);
        if (!files.exists(folder))
            return {ENOENT, fs::format(c.localizedString("DESTINATION_FOLDER_GONE_txt"),
                                       lastPathComponent(folder))};
    }
    return failureOfNamed(c, rc, target);
}

// Tells the clash rule's record of the destination folder that `path` is in use.
void noteTaken(QVTransferPrivate& c, const std::string& path) {
    c.job().takenNames.add(deletingLastPathComponent(path), lastPathComponent(path));
}

// A free name in the folder of `destination`, which is taken: the clash rule's name, with the
// extension kept.
std::string clashFreeDestination(QVTransferPrivate& c, const std::string& destination) {
    const std::string extension = pathExtension(destination);
    std::string name = c.getDuplicateFileName(deletingPathExtension(destination));
    if (!extension.empty()) name += "." + extension;
    return appendingPathComponent(deletingLastPathComponent(destination), name);
}

// Gives `from` the name `destination`, or the clash rule's next free name when that one is
// taken; never replaces a file. `target` receives the name it got. A name taken meanwhile by
// someone else is met by the rename itself and the rule gives the next one.
int renameToFreeName(QVTransferPrivate& c, const std::string& from, const std::string& destination,
                     std::string& target) {
    constexpr int kMaxTries = 100;
    const auto rename = [&] {
        c.job().renamingTo.set(target);
        const int rc = fs::files().renameItem(from, target);
        // Done, or taken by someone else meanwhile: either way the name is in use now.
        if (rc == 0 || rc == EEXIST) noteTaken(c, target);
        // A rename that failed otherwise may still have been done: its request can reach the
        // device just before the connection drops, and a second try then finds nothing to
        // rename. The name is kept for the retry after the device is back, which looks.
        if (rc == 0 || rc == EEXIST) c.job().renamingTo.set("");
        return rc;
    };
    target = destination;
    // A name the folder's listing already holds is not tried: on a share each try costs a
    // round trip, and a folder uploaded again would pay it for every file.
    const bool known = c.job().takenNames.knownToHold(deletingLastPathComponent(destination),
                                                      lastPathComponent(destination));
    int rc = known ? EEXIST : rename();
    for (int tries = 0; rc == EEXIST && tries < kMaxTries && !c.uploadCancelled(); ++tries) {
        target = clashFreeDestination(c, destination);
        rc = rename();
    }
    return rc;
}

// The final name of a copy whose last rename got no answer because the device went away,
// when that rename was done all the same: the hidden copy is gone and a file of the source's
// size is at the name. (Nothing else ever renames or removes this upload's hidden copy.)
std::optional<std::string> renamedBeforeTheLoss(QVTransferPrivate& c, const std::string& source) {
    const std::string partial = c.rebasedDestination(c.job().inProcessDestFilePath.get());
    const std::string target = c.rebasedDestination(c.job().renamingTo.get());
    c.job().renamingTo.set("");
    if (partial.empty() || target.empty() || fs::files().exists(partial)) return std::nullopt;
    const auto expected = fs::files().totalSize(source);
    const auto placed = fs::files().totalSize(target);
    if (!expected || !placed || *expected != *placed) return std::nullopt;
    return target;
}

// Whether `source` is larger than the whole volume `destination` goes to: no room that is made
// there will ever hold it, so the device-full wait would never end.
bool largerThanTheDevice(const std::string& source, const std::string& destination) {
    const auto size = fs::files().totalSize(source);
    const auto whole =
        fs::files().volumeFacts(deletingLastPathComponent(destination)).totalCapacity;
    return size && whole && *size > *whole;
}

// Copies (or moves) one file whole to a free name for `destination`; `target` receives the
// name. The data goes to a hidden name in the destination folder (the file in hand, which the
// progress follows and a cancel removes) and gets its final name only when all of it is
// there; a move removes the source only then, after a local copy is on its disk. On one
// volume a move is a rename: the file is whole under its new name at once.
int placeFile(QVTransferPrivate& c, const std::string& source, const std::string& destination,
              bool move, std::string& target) {
    auto& files = fs::files();
    // A link is moved as what it leads to: its target's bytes are copied and the link goes.
    // Renamed, the link itself would land at the destination, pointing back here.
    if (move && !files.isAlias(source)) {
        const int rc = renameToFreeName(c, source, destination, target);
        if (rc != EXDEV) return rc;
    }
    target = destination;
    const std::string partial = qvt::engine::temporaryPathFor(destination, c.job().partialCopyTag);
    c.job().inProcessDestFilePath.set(partial);
    int rc = qvt::engine::copyWhole(c.job(), source, partial);
    if (rc == 0 && move) rc = files.flushItem(partial);
    // A stop that could not remove the file while it was written ends it here: its hidden copy
    // never gets the final name.
    if (c.job().stopLeftPartialCopy) return rc;
    if (rc == 0) rc = renameToFreeName(c, partial, destination, target);
    if (rc != 0) return rc;
    c.job().inProcessDestFilePath.set("");
    if (!move) return 0;
    // The source goes only once its copy's new name is on the disk too: after a power cut the
    // data alone would be there under the hidden name, which nothing takes up again.
    if (const int flushed = files.flushItem(target)) return flushed;
    return files.removeItem(source);
}

}  // namespace

bool QVTransferPrivate::destinationVolumeLost() {
    return destinationOnItsVolume().empty();
}

std::string QVTransferPrivate::destinationOnItsVolume() {
    auto& files = fs::files();
    const std::string destination = selectedDestinationShare.get();
    const std::string now = files.volumeFacts(destination).remountURL;
    const std::string atStart = destinationVolumeIdentity.get();
    if (!now.empty()) return atStart.empty() || now == atStart ? destination : std::string();
    // A destination folder removed from a volume that is still there is not a lost volume:
    // waiting for it to come back would never end. The mount point above it tells which: the
    // volume the upload began on still answers there, and the copies into the folder fail,
    // saying so. The mount point is asked first, so a device that went away costs no more
    // waits than the look above.
    if (atStart.empty()) return {};
    std::string root = deletingLastPathComponent(destination);
    while (!root.empty() && root != "/" && !files.isMountPoint(root))
        root = deletingLastPathComponent(root);
    if (root.empty() || !files.isMountPoint(root) || files.volumeFacts(root).remountURL != atStart)
        return {};
    for (std::string above = deletingLastPathComponent(destination); above != root;
         above = deletingLastPathComponent(above)) {
        if (files.exists(above)) return above;
    }
    return root;
}

bool QVTransferPrivate::discardPartialCopy() {
    // A volume that came back at another mount point holds the hidden copy there now.
    const std::string partial = rebasedDestination(job().inProcessDestFilePath.get());
    // Only a hidden copy this upload was writing is removed, never a file under a final name.
    if (!partial.empty() && qvt::engine::isTemporaryName(lastPathComponent(partial))) {
        const int rc = fs::files().removeItem(partial);
        if (rc != 0 && rc != ENOENT)
            log().write(fs::format("QVTransfer: discardPartialCopy: %@ error %d\n", partial, rc));
        // A stop on the main thread can come while the copy thread still writes the file, and a
        // share refuses to remove a file open for writing ("busy"): the copy thread removes it
        // when its copy has ended, so it stays the file in hand until then.
        if (rc == EBUSY && job().cancelled()) {
            job().stopLeftPartialCopy = true;
            return false;
        }
        // With the device away the file stays where it is, and once it is no longer the file
        // in hand only the note finds it again; a volume that went away answers "no such
        // file" for its files.
        if (rc != 0 && (rc != ENOENT || destinationVolumeLost())) {
            noteCopyLeftByStop(partial);
            job().copiesLeftNoted = true;
        }
    }
    job().inProcessDestFilePath.set("");
    job().renamingTo.set("");
    return true;
}

void QVTransferPrivate::removeCopiesLeftNoted() {
    qvt::engine::UploadJob& upload = job();
    // Only on the volume the upload writes to, while it is there: a note for a volume that
    // went away must wait for it, not be taken as done by a folder left in its place.
    if (!upload.copiesLeftNoted || upload.ended() || destinationVolumeLost()) return;
    upload.copiesLeftNoted = removeCopiesLeftByStops(selectedDestinationShare.get());
}

namespace {

enum class Step { Done, Retry };

Step transferOneFile(QVTransferPrivate& c, const std::string& source,
                     const std::string& destination, bool excludeFile) {
    qvt::engine::UploadJob& upload = c.job();
    // After a restart, a file handled before it is not copied twice.
    if (upload.resumedAfterRestart && c.inProcessSourceFilesArray.contains(destination)) {
        ++upload.filesMet;
        return Step::Done;
    }
    // With the move option a source leaves its place, unless it is protected.
    const bool move = c.removeFilesAfterUpload && !excludeFile;
    std::string target = destination;
    int rc = 0;
    if (const auto placed = renamedBeforeTheLoss(c, source)) {
        // The earlier attempt got its file to its final name just as the device went away.
        target = *placed;
        upload.inProcessDestFilePath.set("");
        if (move) rc = fs::files().removeItem(source);
    } else {
        // What an earlier attempt at this file left when it stopped at a lost or full device
        // is this upload's own: it goes before the file is started again.
        c.discardPartialCopy();
        rc = placeFile(c, source, destination, move, target);
    }
    if (upload.cancelled()) {
        // A stop that found the hidden copy still being written left it, and the shares,
        // to this thread: it goes now that the copy has let go of it.
        const bool handedOver = upload.stopLeftPartialCopy.exchange(false);
        if (c.discardPartialCopy() && handedOver) c.unmountEveryMountedShare();
        return Step::Done;
    }

    std::optional<qvt::TransferError> error;
    if (rc == kSourceKeptChanging || (rc == kSourceNotItsSize && !c.destinationVolumeLost())) {
        c.discardPartialCopy();
        error = qvt::engine::failureOf(c, rc);
    } else if (rc != 0) {
        const int code = fs::platformErrorCode(rc);
        // A lost or full device: the partial copy stays the file in hand until the retry (or
        // a cancel) removes it, and the retry starts the file again under its own name.
        if (c.destinationVolumeLost() || code == fs::kUnknownWriteError) {
            upload.stillFull = false;  // what it waits for now is the device
            reportLostDevice(c);
            return Step::Retry;
        }
        const bool tooLarge =
            code == fs::kOutOfSpaceWriteError && largerThanTheDevice(source, target);
        if (code == fs::kOutOfSpaceWriteError && !tooLarge) {
            c.displayDeviceFullDialog();
            return Step::Retry;
        }
        c.discardPartialCopy();
        error = tooLarge ? qvt::TransferError{code, c.localizedString("LARGER_THAN_DEVICE_txt")}
                         : failureOfCopy(c, rc, source, target);
    }

    upload.stillFull = false;
    ++upload.filesMet;
    if (!error) ++upload.filesArrived;
    // A copy to a local disk may be in memory only until the disk is flushed; a moved file was
    // flushed before its source went.
    if (!error && !move && c.deviceType() == "DAS") c.noteArrivalNotFlushed(source, target);
    c.inProcessSourceFilesArray.append(target);
    c.processFileTransferStatus(source, target, error);
    upload.inProcessDestFilePath.set("");
    if (!error) c.view()->fileArrived(source, target);
    // A share lets go of a file that an old connection held open once that connection has
    // ended: a hidden copy it refused to remove is tried again now.
    c.removeCopiesLeftNoted();
    return Step::Done;
}

// A link to nothing, or back into a folder above it, is a failed item that the count of the
// source counted as a file: it is counted as handled, so the counter reaches the count only
// once every item of the source has been met.
void failUncopiableLink(QVTransferPrivate& c, const std::string& source,
                        const std::string& destination, const qvt::TransferError& error) {
    ++c.job().filesMet;
    // After a restart, one reported before it is in the saved failed list already.
    if (c.job().resumedAfterRestart && c.inProcessSourceFilesArray.contains(destination)) return;
    c.recordFailure(source, destination, error);
    c.inProcessSourceFilesArray.append(destination);
    c.processFileTransferStatus(source, "", std::nullopt);
}

Step transferFolder(QVTransferPrivate& c, const std::string& source, const std::string& named,
                    const std::string& destDir, bool excludeFile) {
    // An existing folder of that name is merged into. A file that holds the name stays as it
    // is, and the folder takes the clash rule's next free name, as a file would: its files
    // could not go inside a file.
    bool folderThere = false;
    const bool nameTaken = fs::files().exists(named, &folderThere);
    const std::string destination = nameTaken && !folderThere
                                        ? appendingPathComponent(deletingLastPathComponent(named),
                                                                 c.getDuplicateFileName(named))
                                        : named;
    if (!folderThere) {
        if (const int rc = fs::files().createFolder(destination, true)) {
            const int code = fs::platformErrorCode(rc);
            if (c.destinationVolumeLost() || code == fs::kUnknownWriteError) {
                reportLostDevice(c);
                return Step::Retry;
            }
            if (code == fs::kOutOfSpaceWriteError) {
                c.displayDeviceFullDialog();
                return Step::Retry;
            }
            // The files below it were counted, and are met here: they are not gone.
            c.job().filesMet += qvt::source::countItem(source, c.sourceWalkOptions()).files;
            c.processFileTransferStatus(source, destination, failureOfNamed(c, rc, destination));
            return Step::Done;
        }
        noteTaken(c, destination);
    }
    // Depth first, file by file: each file is reported on its own. A link inside the folder is
    // copied as what it leads to, a folder included, as the count of the source counted it.
    int error = 0;
    const std::vector<std::string> names = fs::files().listFolder(source, &error);
    if (error != 0) {
        // Its files cannot be met: the folder is the failed item, with the system's reason,
        // and trying it again lists it again.
        c.recordFailure(source, destination, qvt::engine::failureOf(c, error));
        ++c.job().namedLosses;
        return Step::Done;
    }
    for (const std::string& name : names)
        c.transferFile(appendingPathComponent(source, name),
                       appendingPathComponent(destination, name), destDir, excludeFile);
    return Step::Done;
}

}  // namespace

void QVTransferPrivate::transferFile(const std::string& sourcePath, const std::string& destFilePath,
                                     const std::string& destDir, bool excludeFile) {
    // A retry runs this call again for the same source and destination. It loops rather than
    // calling itself, so a device that stays full (which retries again and again) never
    // deepens the stack.
    bool retriedFile = false;
    while (true) {
        waitWhilePaused(*this);
        if (job().ended()) break;
        if (destinationLostDuringAPause(*this)) {
            reportLostDevice(*this);
            continue;
        }
        copyAgainWhatTheLossTook();
        // A lost volume may be back at another mount point.
        const std::string destination = rebasedDestination(destFilePath);

        bool isFolder = false;
        if (const int unreached = fs::files().lookUp(sourcePath, &isFolder)) {
            if (fs::files().isAlias(sourcePath)) {
                // Links that lead round to one another reach nothing either, for another
                // reason than a target that is gone.
                std::error_code error;
                (void)std::filesystem::status(sourcePath, error);
                failUncopiableLink(
                    *this, sourcePath, destination,
                    error == std::errc::too_many_symbolic_link_levels
                        ? qvt::TransferError{ELOOP, localizedString("LINK_CIRCLE_txt")}
                        : qvt::TransferError{ENOENT, localizedString("LINK_DANGLING_txt")});
                break;
            }
            // Removed or renamed since it was chosen: the user hears it, rather than an upload
            // that says everything arrived. It is not counted as a handled file: the totals
            // held it as nothing (or it was counted and is gone), and the counter reaching the
            // count ends the upload. One that is there but cannot be reached (a folder on its
            // way may no longer be searched) is told with the system's reason.
            const bool gone = unreached == ENOENT || unreached == ENOTDIR;
            // One that arrived before a restart is not lost, and the user is not told it is.
            if (gone && arrivedBeforeTheRestart(sourcePath, destination,
                                                inProcessSourceFilesArray.contains(destination)))
                break;
            recordFailure(sourcePath, destination,
                          gone ? qvt::TransferError{ENOENT, localizedString("SOURCE_GONE_txt")}
                               : qvt::engine::failureOf(*this, unreached));
            // Named here; the count of its source does not tell of it (or of what a folder
            // found gone held) a second time.
            ++job().namedLosses;
            break;
        }

        const bool folderLink = isFolder && fs::files().isAlias(sourcePath);
        // The mount folder holds the device itself, the state folder this upload's record:
        // neither is counted or copied.
        if (isFolder && isLeftOutOfWalks(sourcePath, folderLink)) {
            log().write(fs::format("QVTransfer: transferFile: folder left out: %@\n", sourcePath));
            break;
        }
        if (folderLink && qvt::engine::leadsBackIntoItself(sourcePath)) {
            // Following it would copy the folders above it again and again.
            log().write(
                fs::format("QVTransfer: transferFile: link loop not followed: %@\n", sourcePath));
            failUncopiableLink(*this, sourcePath, destination,
                               qvt::TransferError{ELOOP, localizedString("LINK_LOOP_txt")});
            break;
        }
        // A link to a folder that holds the destination would copy what arrives there again,
        // deeper each time, until names grow too long.
        if (folderLink && deviceType() == "DAS" &&
            sourceHoldsDestination(sourcePath,
                                   fs::files().realPath(selectedDestinationShare.get()))) {
            log().write(
                fs::format("QVTransfer: transferFile: link into the destination not followed: %@\n",
                           sourcePath));
            failUncopiableLink(
                *this, sourcePath, destination,
                qvt::TransferError{ELOOP, localizedString("LINK_INTO_DESTINATION_txt")});
            break;
        }

        // What a folder link leads to was not chosen itself: with the move option it is copied,
        // and stays where it is.
        const Step step = isFolder ? transferFolder(*this, sourcePath, destination, destDir,
                                                    excludeFile || folderLink)
                                   : transferOneFile(*this, sourcePath, destination, excludeFile);
        if (step == Step::Done) break;
        if (!isFolder) retriedFile = true;
    }
    // A file that was retried is no longer in hand, however the retry ended (a cancel during
    // the wait included), and nothing of it stays behind under its hidden name.
    if (retriedFile) discardPartialCopy();
}

std::string QVTransferPrivate::getDuplicateFileName(const std::string& pathWithoutExtension) {
    // A name counts as taken when any entry of the folder has it once its extension is
    // dropped: "report copy.pdf" takes "report copy" for every extension. The folder is
    // listed once per upload; the names this upload gives are added as it goes.
    const std::string folder = deletingLastPathComponent(pathWithoutExtension);
    const auto list = [](const std::string& f) { return fs::files().listFolder(f); };
    qvt::engine::TakenNames& taken = job().takenNames;
    std::string candidate = qvt::engine::duplicateNameCandidate(
        lastPathComponent(pathWithoutExtension), localeCOPY_txt);
    while (taken.taken(folder, candidate, list))
        candidate = qvt::engine::duplicateNameCandidate(candidate, localeCOPY_txt);
    return candidate;
}
