// The remaining-time estimator and the status screen's texts.
#include <chrono>
#include <cmath>
#include <cstdint>

#include "engine/remaining_time_text.h"
#include "engine/status_lines.h"
#include "platform/clock.h"
#include "platform/dispatch.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"

namespace fmt = qvt::platform;

namespace {

// Whole seconds from `earlier` to `later`, truncated; an interval that runs backwards (a start
// date moved past "now") counts as none rather than wrapping.
std::uint64_t wholeSecondsBetween(qvt::Date earlier, qvt::Date later) {
    const double seconds = qvt::platform::Clock::secondsBetween(earlier, later);
    if (!(seconds > 0)) return 0;
    if (seconds >= 1.8e19) return UINT64_MAX;
    return static_cast<std::uint64_t>(seconds);
}

}  // namespace

void QVTransferPrivate::calculateRemainingTime() {
    dispatcher().mainSync([this] {
        progressStatus.set(fmt::format(
            "%@\n%@", qvt::engine::filesProgressLine(*this),
            fmt::format("%@%@", localeESTIMATED_TIME_REMAINING_txt, localeCALCULATING_txt)));
        showProgressStatus();
    });
    qvt::engine::UploadJob& upload = job();
    if (upload.cancelled()) return;

    const qvt::engine::TimeUnitTexts units{localeSECOND_txt,  localeSECONDS_txt, localeMINUTE_txt,
                                           localeMINUTES_txt, localeHOUR_txt,    localeHOURS_txt};
    const std::string aboutFormat = localizedString("TIME_REMAINING_ABOUT_TEXT");

    while (!upload.completed() && !upload.failed()) {
        // The bytes at the destination: the handled files, plus what has been written of the
        // file in mid-copy. Reading that size may be slow on a network share, and the time it
        // takes is not upload time.
        const qvt::Date sampleStart = clock().now();
        std::uint64_t done = upload.totalTransferredFilesSize;
        const std::string inProcess = upload.inProcessDestFilePath.get();
        if (!inProcess.empty()) {
            if (const auto size = fmt::files().totalSize(inProcess)) done += *size;
        }
        const std::uint64_t sampleSeconds = wholeSecondsBetween(sampleStart, clock().now());

        if (upload.paused()) {
            log().write("QVTransfer: calculateRemainingTime 1: timeRemaining_semaphore");
            upload.waitWhilePaused();
            log().write("QVTransfer: calculateRemainingTime 2: timeRemaining_semaphore");
        }

        std::uint64_t elapsed = wholeSecondsBetween(upload.startedAt(), clock().now());
        if (elapsed > sampleSeconds) elapsed -= sampleSeconds;

        const std::uint64_t total = totalSourceFilesSize;
        if (total != 0 && total != done) {
            const std::uint64_t remaining =
                qvt::engine::estimateRemainingSeconds(total, done, elapsed);
            if (!upload.cancelled() && qvt::engine::remainingTimeRefreshesText(remaining)) {
                const std::string timeText = qvt::engine::remainingTimeText(remaining, units);
                progressStatus.set(
                    fmt::format("%@\n%@", qvt::engine::filesProgressLine(*this),
                                fmt::format("%@%@", localeESTIMATED_TIME_REMAINING_txt,
                                            fmt::format(aboutFormat, timeText))));
            }
        }
        if (upload.paused()) progressStatus.set(qvt::engine::pausedStatusText(*this));

        dispatcher().mainSync([this, total, done] {
            progressMaxValue = static_cast<std::int64_t>(total);
            progressMaxValue2 = static_cast<std::int64_t>(total);
            transferProgressValue = static_cast<std::int64_t>(done);
            transferProgressValue2 = static_cast<std::int64_t>(done);
            showProgressStatus();
        });
        sendFileTransferStatusUpdate(progressStatus.get());

        // The next pass in 3 seconds; the end of the upload ends the wait at once.
        upload.waitUnlessEnded(3);
        if (upload.cancelled()) return;
    }

    dispatcher().mainSync([this, &upload] {
        const std::size_t failures = failedTransferArray.get().size();
        if (failures != 0) {
            // The count of files that arrived is shown unsigned, as the device's other texts do.
            const std::uint64_t arrived =
                static_cast<std::uint64_t>(upload.progressValue.load()) - failures;
            const std::string text = fmt::format(
                localeSOME_FILES_SUCCESSFULLY_UPLOADED_txt,
                fmt::format("%lu", static_cast<unsigned long long>(arrived)),
                fmt::format("%ld", static_cast<long long>(upload.numberOfFilesCountForTransfer)));
            progressStatus.set(text);
            progressStatusMsg1.set(text);
        } else {
            upload.setFailed(false);
            if (upload.completed()) {
                progressStatus.set(localeALL_FILES_SUCCESSFULLY_UPLOADED_txt);
                progressStatusMsg1.set(localeALL_FILES_SUCCESSFULLY_UPLOADED_txt);
                const auto total = static_cast<std::int64_t>(totalSourceFilesSize.load());
                transferProgressValue = total;
                transferProgressValue2 = total;
            }
        }
        if (upload.paused()) progressStatus.set(qvt::engine::pausedStatusText(*this));
        showProgressStatus();
    });
}

void QVTransferPrivate::hideStatusWindow() {
    isStatusWindowHidden = true;
    if (isFileTransferCompleted())
        view()->closeWindow();
    else
        view()->minimizeWindow();
}

void QVTransferPrivate::showProgressStatus() {
    // The status text is kept as one string with a line break; the screen shows it as two
    // labels. A text without a break leaves the second label as it was.
    const std::string status = progressStatus.get();
    const auto cut = status.find('\n');
    progressStatusMsg1.set(status.substr(0, cut));
    if (cut != std::string::npos) {
        const auto end = status.find('\n', cut + 1);
        progressStatusMsg2.set(
            status.substr(cut + 1, end == std::string::npos ? end : end - cut - 1));
    }
    reloadStatus();
}
