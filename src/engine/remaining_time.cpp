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

// The bytes at the destination: the handled files, plus what has been written of the file in
// mid-copy. Reading that size may be slow on a network share, and the time it takes (returned
// in `sampleSeconds`) is not upload time.
std::uint64_t bytesAtDestination(const QVTransferPrivate& c, std::uint64_t& sampleSeconds) {
    const qvt::engine::UploadJob& upload = c.job();
    const qvt::Date sampleStart = c.clock().now();
    std::uint64_t done = upload.totalTransferredFilesSize;
    const std::string inProcess = upload.inProcessDestFilePath.get();
    if (!inProcess.empty()) {
        if (const auto size = fmt::files().totalSize(inProcess)) done += *size;
    }
    sampleSeconds = wholeSecondsBetween(sampleStart, c.clock().now());
    return done;
}

// A paused upload holds the estimator here until it goes on or ends.
void waitOutPause(QVTransferPrivate& c) {
    if (!c.job().paused()) return;
    c.log().write("QVTransfer: calculateRemainingTime 1: timeRemaining_semaphore");
    c.job().waitWhilePaused();
    c.log().write("QVTransfer: calculateRemainingTime 2: timeRemaining_semaphore");
}

// The status text of one pass: the estimate when there is one to make and it refreshes the
// text, the paused text while paused; otherwise the text stays as it was.
void updateEstimateText(QVTransferPrivate& c, std::uint64_t total, std::uint64_t done,
                        std::uint64_t elapsed) {
    const qvt::engine::TimeUnitTexts units{c.localeSECOND_txt, c.localeSECONDS_txt,
                                           c.localeMINUTE_txt, c.localeMINUTES_txt,
                                           c.localeHOUR_txt,   c.localeHOURS_txt};
    // A device that stays full is tried again without a dialog: in place of an estimate that
    // only grows, the status says what the upload waits for.
    const std::string outOfSpace = c.localizedString("OUT_OF_SPACE_MSG_2_txt");
    if (c.job().stillFull) {
        c.progressStatus.set(fmt::format("%@\n%@", qvt::engine::filesProgressLine(c), outOfSpace));
    } else if (total != 0 && total != done) {
        const std::uint64_t remaining = qvt::engine::estimateRemainingSeconds(total, done, elapsed);
        if (!c.job().cancelled() && qvt::engine::remainingTimeRefreshesText(remaining)) {
            const std::string timeText = qvt::engine::remainingTimeText(remaining, units);
            const std::string about =
                fmt::format(c.localizedString("TIME_REMAINING_ABOUT_TEXT"), timeText);
            c.progressStatus.set(
                fmt::format("%@\n%@", qvt::engine::filesProgressLine(c),
                            fmt::format("%@%@", c.localeESTIMATED_TIME_REMAINING_txt, about)));
        } else if (c.progressStatus.get().ends_with("\n" + outOfSpace)) {
            // Room again, and no new estimate to show yet.
            c.progressStatus.set(
                fmt::format("%@\n%@", qvt::engine::filesProgressLine(c),
                            fmt::format("%@%@", c.localeESTIMATED_TIME_REMAINING_txt,
                                        c.localeCALCULATING_txt)));
        }
    }
    if (c.job().paused()) c.progressStatus.set(qvt::engine::pausedStatusText(c));
}

// The texts and bars once the upload has ended (main thread).
void showEndOfEstimate(QVTransferPrivate& c) {
    qvt::engine::UploadJob& upload = c.job();
    const std::size_t failures = c.failedTransferArray.get().size();
    if (failures != 0) {
        // The count of files that arrived is shown unsigned, as the device's other texts do.
        const std::string text = fmt::format(
            c.localeSOME_FILES_SUCCESSFULLY_UPLOADED_txt,
            fmt::format("%lu", static_cast<unsigned long long>(c.arrivedFileCount())),
            fmt::format("%ld", static_cast<long long>(upload.numberOfFilesCountForTransfer)));
        c.progressStatus.set(text);
        c.progressStatusMsg1.set(text);
    } else {
        upload.setFailed(false);
        if (upload.completed()) {
            c.progressStatus.set(c.localeALL_FILES_SUCCESSFULLY_UPLOADED_txt);
            c.progressStatusMsg1.set(c.localeALL_FILES_SUCCESSFULLY_UPLOADED_txt);
            const auto total = static_cast<std::int64_t>(c.totalSourceFilesSize.load());
            c.transferProgressValue = total;
            c.transferProgressValue2 = total;
        }
    }
    if (upload.paused()) c.progressStatus.set(qvt::engine::pausedStatusText(c));
    c.showProgressStatus();
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

    while (!upload.completed() && !upload.failed()) {
        std::uint64_t sampleSeconds = 0;
        const std::uint64_t done = bytesAtDestination(*this, sampleSeconds);
        waitOutPause(*this);
        std::uint64_t elapsed = wholeSecondsBetween(upload.startedAt(), clock().now());
        if (elapsed > sampleSeconds) elapsed -= sampleSeconds;

        const std::uint64_t total = totalSourceFilesSize;
        updateEstimateText(*this, total, done, elapsed);
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
    dispatcher().mainSync([this] { showEndOfEstimate(*this); });
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
