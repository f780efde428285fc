// The failed-files window: its list in a short and a detailed form, and its two ways out:
// retry every failed item, or dismiss them and end the session.
#include <string>

#include "engine/failed_rows.h"
#include "engine/path_names.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/latest_only_task.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"

namespace fmt = qvt::platform;
using qvt::platform::QueuePriority;

namespace {

constexpr const char* kFailedRowImage = "warningImage.png";
constexpr double kShortRowHeight = 37;
constexpr double kDetailedRowHeight = 50;
constexpr int kDismissTag = 1;
constexpr int kRetryTag = 2;

}  // namespace

qvt::List qvt::engine::failedListRows(const qvt::List& failures, bool detailed) {
    qvt::List rows;
    for (const qvt::Value& value : failures) {
        const qvt::Record* failure = value.asRecord();
        if (!failure) continue;
        std::string text = qvt::engine::lastPathComponent(failure->string("sourceFilePath"));
        if (detailed) text += fmt::format("\n%@", failure->string("localizedError"));
        rows.push_back(qvt::Record{{"fileName", text}, {"fileImage", kFailedRowImage}});
    }
    return rows;
}

void QVTransferPrivate::viewTransferErrors() {
    const qvt::List failures = failedTransferArray.get();
    const auto count = static_cast<unsigned long long>(failures.size());
    uploadErrorString.set(fmt::format(localeUPLOAD_ERRORS_title, fmt::format("%lu", count)));
    // The rows as the failures stand now, in the form the switch last chose.
    failedFilesListTreeControllerArray.set(
        qvt::engine::failedListRows(failures, failedListDetailed.load()));
    view()->showFailedList(failedList());
    view()->showErrorWindow();
}

void QVTransferPrivate::showHideTransferErrors() {
    const bool detailed = !failedListDetailed.load();
    failedListDetailed = detailed;
    view()->setTag("showHideDetailsButton", detailed ? 1 : 0);
    view()->setText("showHideDetailsButton",
                    detailed ? localeHIDE_DETAILS_btn : localeSHOW_DETAILS_btn);
    failedListRowHeight = detailed ? kDetailedRowHeight : kShortRowHeight;
    failedFilesListTreeControllerArray.set(
        qvt::engine::failedListRows(failedTransferArray.get(), detailed));
    view()->showFailedList(failedList());
}

void QVTransferPrivate::retryOrDismissTransfer(int senderTag) {
    if (senderTag == kDismissTag) {
        // The failures are given up: the session ends as after closing the status screen.
        terminateTransfer();
        return;
    }
    if (senderTag != kRetryTag) return;
    // Only an upload that ended with failures has anything to retry.
    if (!isFileTransferCompleted() || failedTransferArray.get().empty()) return;

    view()->endModal(qvt::Dialog::UploadErrors);
    statusControls.with([&](StatusControls& s) {
        s.closeButtonTitle = localeHIDE_btn;
        s.errorWarningMessage.clear();
        s.viewNowTitle.clear();
        s.uploadedFilesLinkHidden = true;
    });
    isStatusWindowHidden = false;
    statusTextColor.set(qvt::Colour{75, 90, 104, 1.0});

    const qvt::List retryList = failedTransferArray.get();
    failedFilesListTreeControllerArray.set({});
    failedTransferArray.set({});
    inProcessSourceFilesArray.set({});
    // The retry's records start afresh, like a new upload's.
    ++uploadsBegun;
    openRecordForWrites();

    qvt::engine::UploadJob& upload = job();
    upload.numberOfFilesCountForTransfer = static_cast<std::int64_t>(retryList.size());
    // The counter starts at 1, as it does for an upload.
    upload.progressValue = 1;
    upload.filesArrived = 0;
    // Copying again: not completed, not failed, not paused, its start time now.
    upload.begin();
    reloadStatus();

    auto self = shared_from_this();
    dispatcher().async(QueuePriority::High, [self] { self->calculateRemainingTime(); });
    dispatcher().async(QueuePriority::High,
                       [self] { self->saveQVTransferDataToFileForEachFile(); });
    dispatcher().async(QueuePriority::High,
                       [self, retryList] { self->retryFailedTransfers(retryList); });
}

void QVTransferPrivate::retryFailedTransfers(const qvt::List& retryList) {
    qvt::engine::UploadJob& upload = job();
    const std::string share = selectedDestinationShare.get();
    for (const qvt::Value& value : retryList) {
        const qvt::Record* record = value.asRecord();
        if (!record) continue;
        // The name the failed attempt was given, not a new one.
        const std::string source = record->string("sourceFilePath");
        if (record->find("filesGone")) {
            // Files that went before their names were known: nothing can be copied again, and
            // copying the folder again would give every file that did arrive a second copy.
            failedTransferArray.with([&](qvt::List& failures) { failures.push_back(value); });
            continue;
        }
        // A folder removed during the upload is made again: the retry is the user asking for
        // the file to go there all the same.
        const std::string folder = qvt::engine::deletingLastPathComponent(
            rebasedDestination(record->string("destFilePath")));
        auto& files = qvt::platform::files();
        if (files.exists(source) && !files.exists(folder) && !destinationVolumeLost())
            files.createFolder(folder, true);
        transferFile(source, record->string("destFilePath"), share, sourceIsExcluded(source));
        trashAfterItem(source, record->string("destFilePath"));
    }
    // No more files are reported from this walk: the last report goes out now.
    perFileStatusUpdate->finish();
    if (upload.ended() || upload.paused()) return;
    processFileTransferStatus("", "", std::nullopt);
}
