// The bookkeeping of each handled file and the end of the upload.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "device/mount_destination.h"
#include "engine/failed_rows.h"
#include "engine/path_names.h"
#include "engine/unflushed_arrivals.h"
#include "platform/clock.h"
#include "platform/desktop_open.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/latest_only_task.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"

namespace fmt = qvt::platform;
using qvt::platform::QueuePriority;

namespace {

std::string logTime(const QVTransferPrivate& c) {
    return qvt::Value(c.clock().now()).toString();
}

// The error as a log line shows it: its description and its code.
std::string describeError(const qvt::TransferError& error) {
    return fmt::format("%@ (%d)", error.localizedDescription, error.code);
}

std::string unsignedText(std::uint64_t n) {
    return fmt::format("%lu", static_cast<unsigned long long>(n));
}

}  // namespace

std::uint64_t QVTransferPrivate::arrivedFileCount() const {
    return static_cast<std::uint64_t>(std::max<std::int64_t>(0, job().filesArrived.load()));
}

void QVTransferPrivate::recordFailure(const std::string& sourcePath,
                                      const std::string& destFilePath,
                                      const qvt::TransferError& error, std::int64_t filesGone) {
    qvt::Record failure{{"sourceFilePath", sourcePath},
                        {"destFilePath", destFilePath},
                        {"localizedError", fmt::format("%@", error.localizedDescription)}};
    if (filesGone > 0) failure.set("filesGone", qvt::Value(static_cast<long long>(filesGone)));
    failedTransferArray.with([&](qvt::List& failures) { failures.push_back(failure); });
    log().write(fmt::format(
        "QVTransfer: processFileTransferStatus of file/folder %@ to %@ Time: %@ Error: %@\n",
        sourcePath, selectedDestinationShare.get(), logTime(*this), describeError(error)));
}

void QVTransferPrivate::processFileTransferStatus(const std::string& sourcePath,
                                                  const std::string& destFilePath,
                                                  const std::optional<qvt::TransferError>& error) {
    if (error) recordFailure(sourcePath, destFilePath, *error);

    qvt::engine::UploadJob& upload = job();
    // What is at the destination counts as transferred, a partial file after a failure too.
    if (!destFilePath.empty()) {
        if (const auto size = fmt::files().totalSize(destFilePath))
            upload.totalTransferredFilesSize += *size;
    }
    upload.bytesOfFileInHand = 0;

    // The upload ends where its walk over the sources ends (the driver's end call, two empty
    // paths), never at a file, even one that brings the counter to the count: files added to
    // a source after it was counted would otherwise end the upload as a success with sources
    // still to copy. Past the count the counter stays at it.
    const bool endCall = sourcePath.empty() && destFilePath.empty() && !error;
    if (!endCall) {
        // While the device is lost or full, results are kept but not counted; once the upload
        // is complete, nothing more is counted.
        if (reconnectingDevice() || deviceFull() || upload.completed()) return;
        if (upload.progressValue < upload.numberOfFilesCountForTransfer) {
            ++upload.progressValue;
            subProgressStatus.set("");
        }
        auto self = shared_from_this();
        perFileStatusUpdate->post(dispatcher(), QueuePriority::High, [self] {
            // Sent a little later than posted: a pause, a cancel, a lost or full device, or the
            // end, has its own status by then, which a plain progress line would cover up.
            if (self->uploadPaused() || self->uploadCancelled() || self->reconnectingDevice() ||
                self->deviceFull() || self->job().completed())
                return;
            self->sendFileTransferStatusUpdate(self->progressStatus.get());
        });
        return;
    }

    // The driver's end call. A share has nothing to flush (each write is done at the server
    // when its file closes), and a finished upload unmounts it in the end step.
    const std::string share = selectedDestinationShare.get();
    const bool localVolume = !share.empty() && fmt::files().networkURLForPath(share).empty();
    log().write(fmt::format(
        "QVTransfer: processFileTransferStatus: setIsFileTransferCompleted: YES Time: %@\n",
        logTime(*this)));
    log().write(fmt::format("QVTransfer: progressValue:%ld numberOfFilesCountForTransfer:%ld\n",
                            static_cast<long long>(upload.progressValue.load()),
                            static_cast<long long>(upload.numberOfFilesCountForTransfer.load())));
    // One flush of the destination's local volume before the completion is reported, here on
    // the upload's thread rather than per file: "complete" means the data is on the disk, so a
    // user who unplugs it then loses nothing, and one flush at the end costs the disk's pace
    // once instead of once per file.
    if (localVolume) {
        // A chosen folder removed meanwhile leaves its disk to be flushed all the same.
        const std::string onVolume = destinationOnItsVolume();
        upload.flushingAtEnd = true;
        const int rc = fmt::files().flushVolume(onVolume.empty() ? share : onVolume);
        upload.flushingAtEnd = false;
        if (rc != 0) {
            log().write(fmt::format("QVTransfer: flushVolume: %@ error %d\n", share, rc));
            if (!qvt::engine::flushLeavesNothing(rc)) failArrivalsNotFlushed(rc);
        }
    }
    auto self = shared_from_this();
    dispatcher().mainSync([self] { self->finishFileTransfer(); });
}

void QVTransferPrivate::failArrivalsNotFlushed(int error) {
    // The disk refused to write out what it held (gone read-only after an error, failing,
    // pulled out): the files renamed since its last good flush may not be on it, whatever their
    // names say. They are failed items, not arrivals; those a flush covered are on the disk.
    const std::string reason =
        fmt::format(localizedString("NOT_WRITTEN_TO_DISK_txt"), fmt::errorDescription(error));
    for (const qvt::engine::Arrival& arrival : job().arrivalsSinceFlush.takeAll()) {
        --job().filesArrived;
        recordFailure(arrival.source, arrival.target, qvt::TransferError{error, reason});
    }
}

void QVTransferPrivate::finishFileTransfer() {
    qvt::engine::UploadJob& upload = job();
    // Taken before a share is let go below: its URL is known only while it is mounted.
    uploadedFilesUrl.set(fmt::folderUrl(selectedDestinationShare.get()));
    const auto full = static_cast<std::int64_t>(totalSourceFilesSize.load());
    transferProgressValue = full;
    transferProgressValue2 = full;

    const qvt::List failures = failedTransferArray.get();
    const std::uint64_t failed = failures.size();
    std::string warning;
    // The failed flag goes with the completion, so whoever sees the upload ended sees it too.
    upload.setFailed(failed != 0);
    upload.complete();
    if (failed != 0) {
        // Also when every file failed: "0 of n" in the some-files text, not a text of its own.
        const std::uint64_t arrived = arrivedFileCount();
        const std::string status = fmt::format(
            localeSOME_FILES_SUCCESSFULLY_UPLOADED_txt, unsignedText(arrived),
            fmt::format("%ld",
                        static_cast<long long>(upload.numberOfFilesCountForTransfer.load())));
        progressStatus.set(status);
        progressStatusMsg1.set(status);

        // The warning line, with the link that opens the failed list right after it.
        warning = fmt::format(localeFILES_FAILED_TO_UPLOAD_txt, unsignedText(failed));
        statusControls.with([&](StatusControls& s) {
            s.errorWarningMessage = warning;
            s.viewNowTitle = localeVIEW_NOW_btn;
        });

        failedFilesListTreeControllerArray.set(
            qvt::engine::failedListRows(failures, failedListDetailed.load()));
        view()->showFailedList(failedList());
    } else {
        progressStatus.set(localeALL_FILES_SUCCESSFULLY_UPLOADED_txt);
        progressStatusMsg1.set(localeALL_FILES_SUCCESSFULLY_UPLOADED_txt);
    }

    // The close button reads Close, and the line and link to the uploaded files appear.
    statusControls.with([&](StatusControls& s) {
        s.closeButtonTitle = localeCLOSE_btn;
        s.uploadedFilesLabel = localizedString("ALL_FILES_SUCCESSFULLY_UPLOADED_TO_txt");
        s.uploadedFilesLinkTitle = deviceInfo().string("productName");
        s.uploadedFilesLinkHidden = false;
    });

    auto self = shared_from_this();
    if (failed != 0) {
        subProgressStatus.set(fmt::format(localeUPLOAD_ERRORS_title, unsignedText(failed)));
        const std::string message = fmt::format("%@\n%@", progressStatus.get(), warning);
        dispatcher().async(QueuePriority::Default,
                           [self, message] { self->sendFileTransferStatusUpdate(message); });
    } else {
        // Nothing is left to retry: the shares can go.
        unmountEveryMountedShare();
        subProgressStatus.set("");
        const std::string message = progressStatus.get();
        dispatcher().async(QueuePriority::Default,
                           [self, message] { self->sendFileTransferStatusUpdate(message); });
    }

    const std::uint64_t thisUpload = uploadsBegun;
    dispatcher().async(QueuePriority::Low, [self, failed, thisUpload] {
        self->saveQVTransferDataToFile();
        // With failures the user may still retry them, which records again; without, this was
        // the upload's last record, and the file takes no other record of it.
        if (failed != 0) return;
        self->sealRecord();
        self->dispatcher().mainAsync(
            [self, thisUpload] { self->releaseClaimOfFinishedUpload(thisUpload); });
    });
    reloadStatus();
}
