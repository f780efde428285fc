// A local disk pulled out during an upload loses what it had not written yet: files renamed to
// their final names in the seconds before come back empty or cut short, though the copy had
// reported them as arrived. Once the disk is back, each file renamed since its last flush is
// looked at; one whose size is not what it was when renamed is copied again and put in its
// place in one step. Its name stays the same: the damaged file is this upload's own.
#include <string>
#include <vector>

#include "engine/partial_copy.h"
#include "engine/path_names.h"
#include "engine/unflushed_arrivals.h"
#include "engine/whole_copy.h"
#include "platform/files.h"
#include "platform/format.h"
#include "platform/log.h"
#include "session/qvtransfer_private.h"

namespace fs = qvt::platform;
using qvt::engine::Arrival;

namespace {

// Copies `source` again to a hidden name beside `target` and gives it the name `target`,
// replacing the damaged file there (`present`) or taking the free name.
int copyAgain(QVTransferPrivate& c, const std::string& source, const std::string& target,
              bool present) {
    auto& files = fs::files();
    const std::string partial = qvt::engine::temporaryPathFor(target, c.job().partialCopyTag);
    // The file in hand: a stop removes it, a lost device keeps it for the retry to remove.
    c.job().inProcessDestFilePath.set(partial);
    int rc = qvt::engine::copyWhole(c.job(), source, partial);
    if (rc == 0)
        rc = present ? files.replaceItem(partial, target) : files.renameItem(partial, target);
    if (rc != 0) return rc;
    c.job().inProcessDestFilePath.set("");
    // Counted already when it first arrived.
    c.job().bytesOfFileInHand = 0;
    return 0;
}

// The most files listed between two flushes. The state file's write flushes the disk every
// few seconds; small files can arrive faster than that by the ten thousand, and the list would
// grow by megabytes. At this many the copy flushes the disk itself.
constexpr std::size_t kMostUnflushedArrivals = 4096;

}  // namespace

void QVTransferPrivate::noteArrivalNotFlushed(const std::string& source,
                                              const std::string& target) {
    qvt::engine::UploadJob& upload = job();
    // The size the copy wrote, known without asking the disk again.
    upload.arrivalsSinceFlush.add({source, target, fs::files().totalSize(target).value_or(0)});
    if (upload.arrivalsSinceFlush.size() < kMostUnflushedArrivals) return;
    upload.flushArrivals(
        [this] { return fs::files().flushVolume(selectedDestinationShare.get()); });
}

void QVTransferPrivate::copyAgainWhatTheLossTook() {
    qvt::engine::UploadJob& upload = job();
    const std::uint64_t losses = upload.deviceLosses.load();
    if (losses == upload.deviceLossesLookedAt.load()) return;
    upload.deviceLossesLookedAt = losses;
    std::vector<Arrival> arrivals = upload.arrivalsSinceFlush.takeAll();
    auto& files = fs::files();
    for (std::size_t i = 0; i < arrivals.size(); ++i) {
        const Arrival& arrival = arrivals[i];
        // The disk may be back at another mount point.
        const std::string target = rebasedDestination(arrival.target);
        const auto size = files.size(target);
        if (size && *size == arrival.size) {
            // Whole as far as can be told; it is flushed with the next record.
            upload.arrivalsSinceFlush.add(arrival);
            continue;
        }
        const int unreached = files.lookUp(arrival.source);
        if (unreached == ENOENT || unreached == ENOTDIR) {
            // Nothing to copy it from: what is at the destination stays as it is, and the file
            // is listed as failed.
            --upload.filesArrived;
            recordFailure(arrival.source, target,
                          qvt::TransferError{ENOENT, localizedString("SOURCE_GONE_txt")});
            continue;
        }
        log().write(fs::format(
            "QVTransfer: copyAgainWhatTheLossTook: %@ did not reach the disk whole; copying it "
            "again\n",
            target));
        const int rc = copyAgain(*this, arrival.source, target, size.has_value());
        if (rc == 0) {
            upload.arrivalsSinceFlush.add({arrival.source, target, files.size(target).value_or(0)});
            continue;
        }
        discardPartialCopy();
        log().write(fs::format("QVTransfer: copyAgainWhatTheLossTook: %@ error %d\n", target, rc));
        if (upload.cancelled() || destinationVolumeLost()) {
            // Gone again, or stopped: this file and the rest are looked at after the next loss,
            // which the copy of the file in hand meets.
            upload.arrivalsSinceFlush.putBack(std::vector<Arrival>(
                arrivals.begin() + static_cast<std::ptrdiff_t>(i), arrivals.end()));
            return;
        }
        // The disk is there and this file alone could not be copied again (its source cannot
        // be read now, or keeps changing): it is listed as failed, with what the disk holds of
        // it left as it is.
        --upload.filesArrived;
        recordFailure(arrival.source, target, qvt::engine::failureOf(*this, rc));
    }
}
