// Taking up an upload that a quit, a crash or a restart of the computer interrupted: the state
// file says what was still to copy and where to; the share or volume is mounted again, the
// destination moves to the new mount, and the pending sources are copied with the progress
// screen shown at once.
#include <cerrno>
#include <charconv>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "device/keychain.h"
#include "device/mount_destination.h"
#include "engine/partial_copy.h"
#include "engine/path_names.h"
#include "engine/share_names.h"
#include "engine/status_lines.h"
#include "engine/volume_lookup.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "platform/paths.h"
#include "platform/plist_io.h"
#include "platform/plist_outline.h"
#include "session/qvtransfer_private.h"
#include "session/recorded_upload.h"
#include "session/saved_upload.h"
#include "session/transfer_record.h"
#include "session/view.h"

namespace fs = qvt::platform;
using qvt::platform::QueuePriority;
using qvt::session::leavesWork;
using qvt::session::readSavedUpload;
using qvt::session::Saved;
using qvt::session::SavedUpload;

namespace {

// Seconds a share or volume mounted for the resume is left to settle before the copy starts.
constexpr double kMountSettle = 3;

// The number a count label starts with ("12 files" gives 12); 0 when it starts with none.
std::int64_t leadingNumber(const qvt::Value* value) {
    if (!value) return 0;
    if (value->isInteger()) return value->toInt64();
    const std::string text = value->toString();
    std::int64_t n = 0;
    const std::string head = text.substr(0, text.find(' '));
    const auto [end, ec] = std::from_chars(head.data(), head.data() + head.size(), n);
    return ec == std::errc() && end == head.data() + head.size() ? n : 0;
}

// The string entries of the list under `key` (others are skipped).
std::vector<std::string> stringsIn(const qvt::Record& record, const char* key) {
    std::vector<std::string> strings;
    if (const qvt::List* list = record.list(key))
        for (const qvt::Value& v : *list)
            if (const std::string* s = v.asString()) strings.push_back(*s);
    return strings;
}

// The destination re-rooted on an attached volume now mounted at `mountPath` when the volume's
// old mount point is not known. Under the mount folder or "/Volumes" the old mount point is the
// first folder there, and the rest follows it. Elsewhere (volumes mount under /media/USER or
// /run/media/USER here) the old mount point may be any number of folders deep: the longest
// tail of the destination that is a folder on the volume is taken, the volume's own folders
// being what the upload went into; with none, the tail after the first folder.
std::string destinationOnVolume(const std::string& saved, const std::string& mountDir,
                                const std::string& mountPath) {
    if ((!mountDir.empty() && qvt::engine::isUnder(saved, mountDir)) ||
        qvt::engine::isUnder(saved, "/Volumes"))
        return qvt::engine::destinationOnNewMount(saved, mountDir, mountPath);
    std::vector<std::size_t> starts;
    for (std::size_t at = saved.find('/', 1); at != std::string::npos; at = saved.find('/', at + 1))
        starts.push_back(at);
    for (const std::size_t at : starts) {
        const std::string candidate = mountPath + saved.substr(at);
        if (fs::files().isFolder(candidate)) return candidate;
    }
    return qvt::engine::destinationOnNewMount(saved, mountDir, mountPath);
}

}  // namespace

void QVTransferPrivate::resumeFileTransferAfterRestart() {
    const qvt::Record info = deviceInfo();
    view_->setText("uploadWindowHeading",
                   fs::format(localeUPLOADING_FILES_TO_txt, info.string("productName")));
    log().write("QVTransfer: resumeFileTransferAfterRestart");
    // The upload may be open in another process (a second window, a console uploader):
    // taking it up beside it would remove its mount points and its hidden copies as
    // leftovers, and copy the same files again.
    if (const auto holder = claimUploads()) {
        log().write("QVTransfer: resumeFileTransferAfterRestart: another process runs an upload");
        failResumeAfterRestart(uploadRunningElsewhere("RESUME_RUNNING_txt", *holder));
        return;
    }
    job().resumedAfterRestart = true;
    view_->bringToFront();

    // The mount folder, made without parents; mount points left from before the restart go.
    const std::string mountFolder = userHomeDirectory + "/.QVTransfer";
    if (!fs::files().isFolder(mountFolder) && fs::files().createFolder(mountFolder, false) != 0)
        mountDir.clear();
    else
        mountDir = mountFolder;
    if (!mountDir.empty()) {
        std::vector<std::string> stale;
        for (const std::string& name : fs::files().listFolder(mountDir))
            if (!name.empty() && name.front() != '.') stale.push_back(mountDir + "/" + name);
        unmountSharesVolumes(stale);
    }

    // The mounts and the settling wait block: they run away from the window, which shows the
    // progress screen once the copy can start.
    auto self = shared_from_this();
    dispatcher().detach([self] { self->prepareResumeAfterRestart(); });
}

std::optional<qvt::session::RecordedUpload> qvt::session::unfinishedUploadIn(
    const std::string& stateFile) {
    if (!fs::files().exists(stateFile)) return std::nullopt;
    if (const auto records = fs::readRecordOutlines(stateFile)) {
        for (const auto& record : *records)
            if (leavesWork(record)) return RecordedUpload{record.key, record.deviceType};
        return std::nullopt;
    }
    const std::optional<qvt::Value> root = fs::readPropertyList(stateFile);
    const qvt::Record* records = root ? root->asRecord() : nullptr;
    if (!records) return std::nullopt;
    for (const auto& [key, value] : records->entries()) {
        const qvt::Record* record = value.asRecord();
        if (record && leavesWork(*record)) return RecordedUpload{key, record->string("deviceType")};
    }
    return std::nullopt;
}

std::optional<long> QVTransferPrivate::claimUploads() {
    ++uploadsBegun;
    if (uploadClaim) return std::nullopt;
    long holder = 0;
    uploadClaim = qvt::platform::claimUploads(uploadClaimPath, &holder);
    if (uploadClaim) return std::nullopt;
    return holder;
}

void QVTransferPrivate::releaseClaimOfFinishedUpload(std::uint64_t upload) {
    // An upload, resume or retry begun in this controller since keeps the hold it shares.
    if (upload == uploadsBegun) uploadClaim.reset();
}

std::string QVTransferPrivate::uploadRunningElsewhere(const char* key, long holder) {
    return fs::format(localizedString(key), holder > 0 ? std::to_string(holder) : "?");
}

bool QVTransferPrivate::hasUploadToResume() const {
    // A record of an upload that another process has open is not of an interrupted upload.
    if (qvt::platform::uploadsClaimedElsewhere(uploadClaimPath)) return false;
    const qvt::Record info = deviceInfo();
    return readSavedUpload(transferDataFilePath, deviceType(), info.string("serialNumber"))
               .status == Saved::Record;
}

void QVTransferPrivate::prepareResumeAfterRestart() {
    const qvt::Record info = deviceInfo();
    const std::string type = deviceType();
    const SavedUpload saved =
        readSavedUpload(transferDataFilePath, type, info.string("serialNumber"));
    if (saved.status != Saved::Record) {
        failResumeAfterRestart(
            saved.status == Saved::Unreadable
                ? localizedString("RESUME_UNREADABLE_txt")
                : fs::format(localizedString("RESUME_NOTHING_txt"), info.string("productName")));
        return;
    }

    const qvt::Record& record = saved.record;
    sourceFilesArray.set(record.list("sourceFilesPendingArray")
                             ? *record.list("sourceFilesPendingArray")
                             : qvt::List{});
    if (type == "NAS")
        inProcessSourceFilesArray.set(stringsIn(record, "inProcessSourceFilesArray"));
    failedTransferArray.set(record.list("failedTransferArray") ? *record.list("failedTransferArray")
                                                               : qvt::List{});
    const std::string savedDestination = record.string("selectedDestinationShare");
    // The upload goes on under its own tag, so that what it leaves from here on is told from
    // another upload's copies as what it left before. A record of no tag gets a new one.
    const std::uint32_t recordedTag = qvt::session::partialCopyTagOf(record);
    resumedPartialCopyTag = recordedTag;
    job().partialCopyTag = recordedTag != 0 ? recordedTag : qvt::engine::newPartialCopyTag();
    selectedDestinationShare.set(savedDestination);
    addResumedTotals();
    // An upload that moved its sources goes on moving them, with the protected ones copied
    // as they were at its start (the same rule over the same sources).
    const qvt::Value* move = record.find(qvt::session::kMoveKey);
    if (move && move->isBool() && move->toBool()) {
        removeFilesAfterUpload = true;
        buildExcludeSourceFilesArray();
    }

    std::string destination;
    bool accountRefused = false;
    if (type == "NAS") {
        const std::string mountPath = mountShareForResume(savedDestination);
        if (!mountPath.empty())
            destination = qvt::engine::destinationOnNewMount(savedDestination, mountDir, mountPath);
        // The device answered and turned the account away: another try would fail the same
        // way until the password is given again, so the user is told which it is.
        const int status = mountObject->lastShareMountStatus();
        accountRefused = mountPath.empty() && (status == EACCES || status == EPERM);
    } else if (type == "DAS") {
        destination = volumeDestinationForResume(savedDestination, saved.key);
    }
    if (destination.empty()) {
        // With no account given and none stored for the device, only the default stand-in
        // was offered: the user is asked for the account, not told a password was wrong.
        const bool noAccount = accountRefused && !resumeAccount.get() &&
                               !qvt::keychain::hasCredentials(info.string("serialNumber"));
        const char* key = !accountRefused ? "RESUME_NOT_MOUNTED_txt"
                          : noAccount     ? "RESUME_NO_ACCOUNT_txt"
                                          : "RESUME_ACCOUNT_REFUSED_txt";
        failResumeAfterRestart(fs::format(localizedString(key), info.string("productName")));
        return;
    }

    // The folder may have been replaced since by a link that leads off the volume, or a source
    // may hold it: checked as at the start of an upload.
    if (const std::string refusal = destinationRefusal(destination); !refusal.empty()) {
        failResumeAfterRestart(refusal);
        return;
    }

    // The folder the upload went to may have been moved or removed since the record was
    // written. Its files would have nowhere to go, and a disk that is there is no disk to wait
    // for: the user is told, and the record stays, so the upload can be taken up once the
    // folder is back.
    if (bool isFolder = false; !fs::files().exists(destination, &isFolder) || !isFolder) {
        failResumeAfterRestart(fs::format(localizedString("RESUME_FOLDER_GONE_txt"),
                                          qvt::engine::lastPathComponent(destination),
                                          info.string("productName")));
        return;
    }

    // The new mount is left to settle before anything is written to it.
    clock().sleepFor(kMountSettle);
    selectedDestinationShare.set(destination);
    if (type == "DAS") {
        selectedDASUUID.set(fs::files().volumeFacts(destination).uuid);
        destinationVolumeRoot.set(qvt::engine::mountPointOf(destination));
    }
    destinationVolumeIdentity.set(fs::files().volumeFacts(destination).remountURL);

    auto self = shared_from_this();
    dispatcher().mainAsync([self] { self->startResumedUpload(); });
}

void QVTransferPrivate::addResumedTotals() {
    // Every pending source counts, ticked or not; the labels' leading numbers are the counts.
    const qvt::List rows = sourceFilesArray.get();
    for (const qvt::Value& row : rows) {
        const qvt::Record* r = row.asRecord();
        if (!r) continue;
        totalNumberOfSourceFiles += leadingNumber(r->find("numberOfFiles"));
        totalNumberOfSourceFolders += leadingNumber(r->find("numberOfFolders"));
        if (const qvt::Value* size = r->find("fileSize")) totalSourceFilesSize += size->toUInt64();
    }
    job().numberOfFilesCountForTransfer = totalNumberOfSourceFiles.load();
}

std::string QVTransferPrivate::mountShareForResume(const std::string& savedDestination) {
    const qvt::Record info = deviceInfo();
    const auto given = resumeAccount.get();
    const auto credentials =
        given ? *given : qvt::keychain::getCredentials(info.string("serialNumber"));
    const std::string& user = credentials.first;
    const std::string& password = credentials.second;
    userName.set(user);
    userPassword.set(password);
    const std::string share = qvt::engine::shareNameOfDestination(savedDestination, mountDir);
    // As a public share first, then as a private one.
    const auto mountAs = [&](const char* shareAccess) {
        return mountObject->mountNASShare(share, shareAccess, info.string("ipAddress"),
                                          info.string("productName"), info.string("hostName"),
                                          mountDir, user, password, "true");
    };
    std::string mountPath = mountAs("true");
    if (mountPath.empty()) mountPath = mountAs("false");
    return mountPath;
}

std::string QVTransferPrivate::volumeDestinationForResume(const std::string& savedDestination,
                                                          const std::string& volumeUuid) {
    const qvt::Record info = deviceInfo();
    const qvt::List* volumes = info.list("volumeArray");
    const std::string volumeName = qvt::engine::volumeNameOfDestination(savedDestination, mountDir);

    // Volumes are not gathered under one folder here, so the destination's volume is found
    // first by its mount point: the device's volume with the longest mount path that holds the
    // saved destination. Then, as everywhere, by the name of the destination's first folder,
    // and by the record's key being the volume's UUID.
    std::vector<const qvt::Record*> candidates;
    const qvt::Record* byPath = nullptr;
    if (volumes) {
        for (const qvt::Value& v : *volumes) {
            const qvt::Record* volume = v.asRecord();
            const std::string path = volume ? volume->string("volumePath") : "";
            if (!path.empty() && qvt::engine::isUnder(savedDestination, path) &&
                (!byPath || path.size() > byPath->string("volumePath").size()))
                byPath = volume;
        }
        if (byPath) candidates.push_back(byPath);
        for (const qvt::Value& v : *volumes)
            if (const qvt::Record* volume = v.asRecord();
                volume && volume != byPath && volume->string("volumeName") == volumeName)
                candidates.push_back(volume);
        for (const qvt::Value& v : *volumes)
            if (const qvt::Record* volume = v.asRecord();
                volume && volume != byPath && volume->string("volumeName") != volumeName &&
                volume->string("uuid") == volumeUuid)
                candidates.push_back(volume);
    }

    for (const qvt::Record* volume : candidates) {
        const qvt::Value* mounted = volume->find("mounted");
        const std::string name = volume->string("volumeName");
        const std::string mountPath = mountObject->mountDASVolume(
            name.empty() ? volumeName : name, volume->string("bsdName"),
            mounted ? mounted->toInt64() : 0, volume->string("volumePath"), mountDir);
        if (mountPath.empty() || !isVolumeMounted(mountPath)) continue;
        // Another disk at the volume's old place is never written to.
        const std::string uuid = fs::files().volumeFacts(mountPath).uuid;
        if (!uuid.empty() && !volumeUuid.empty() && uuid != volumeUuid) continue;
        if (volume == byPath) {
            const std::string oldRoot = volume->string("volumePath");
            return mountPath +
                   savedDestination.substr(std::min(oldRoot.size(), savedDestination.size()));
        }
        return destinationOnVolume(savedDestination, mountDir, mountPath);
    }
    // The volume may be mounted elsewhere by now, unknown to the device's record.
    const std::string mountPath = qvt::engine::mountedVolumeWithUuid(volumeUuid);
    return mountPath.empty() ? "" : destinationOnVolume(savedDestination, mountDir, mountPath);
}

void QVTransferPrivate::failResumeAfterRestart(const std::string& sentence) {
    log().write(fs::format("QVTransfer: resumeFileTransferAfterRestart: %@", sentence));
    job().resumedAfterRestart = false;
    auto self = shared_from_this();
    dispatcher().mainAsync([self, sentence] {
        // Nothing runs: another process may take the upload up, or start its own.
        self->uploadClaim.reset();
        self->view()->showResumeProblem(qvt::ResumeProblem{sentence, self->localeCLOSE_btn});
    });
}

namespace {

// Whether `path` is `source` or lies inside it.
bool isAtOrInside(const std::string& path, const std::string& source) {
    if (source.empty() || !path.starts_with(source)) return false;
    return path.size() == source.size() || path[source.size()] == '/' || source.back() == '/';
}

// The failed items of `failures` that the pending sources do not hold: an item inside a
// pending source is copied again with it, and fails again or arrives this time.
qvt::List failuresOutsidePendingSources(const qvt::List& failures, const qvt::List& pending) {
    qvt::List kept;
    for (const qvt::Value& failure : failures) {
        const qvt::Record* f = failure.asRecord();
        if (!f) continue;
        const std::string path = f->string("sourceFilePath");
        bool retried = false;
        // An unticked source is counted but not copied.
        for (const qvt::Value& row : pending)
            if (const qvt::Record* r = row.asRecord();
                r && r->integer("filesSelectCheckbox", 1) != 0)
                retried = retried || isAtOrInside(path, r->string("fullFilePath"));
        if (!retried) kept.push_back(failure);
    }
    return kept;
}

}  // namespace

void QVTransferPrivate::startResumedUpload() {
    clearMainTransferView();
    statusControls.with([&](StatusControls& s) { s.closeButtonTitle = localeHIDE_btn; });
    showScreen(qvt::Screen::Status);
    isStatusWindowHidden = false;
    job().reset();
    statusTextColor.set(qvt::engine::kNormalStatusColour);
    // The failures from before the restart are not shown again, and the interrupted source is
    // copied again from its start (what it had copied gets the clash rule's names).
    failedBeforeRestart.set(
        failuresOutsidePendingSources(failedTransferArray.get(), sourceFilesArray.get()));
    failedTransferArray.set({});
    inProcessSourceFilesArray.set({});
    job().numberOfFilesCountForTransfer = totalNumberOfSourceFiles.load();
    reloadStatus();

    openRecordForWrites();
    job().begin();
    auto self = shared_from_this();
    dispatcher().async(QueuePriority::High, [self] { self->calculateRemainingTime(); });
    dispatcher().async(QueuePriority::High,
                       [self] { self->saveQVTransferDataToFileForEachFile(); });
    dispatcher().async(QueuePriority::High, [self] {
        self->removeLeftoverPartialCopies();
        self->removeCopiesLeftByStops(self->selectedDestinationShare.get());
        // The record names the new destination before anything is copied to it.
        self->saveQVTransferDataToFile();
        self->copyPendingSourceFiles();
    });
}

void QVTransferPrivate::removeLeftoverPartialCopies() {
    qvt::engine::removeLeftoverCopiesOf(sourceFilesArray.get(), selectedDestinationShare.get(),
                                        resumedPartialCopyTag);
}
