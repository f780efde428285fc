#include "engine/whole_copy.h"

#include <chrono>
#include <optional>

#include "engine/upload_job.h"
#include "platform/files.h"
#include "session/qvtransfer_private.h"

namespace fs = qvt::platform;

namespace qvt::engine {

namespace {

// Copies of one file tried while its source changes under them, before it counts as failed.
constexpr int kCopiesOfAChangingSource = 3;

// Whether the source was written to since `since`, by its stamp taken after the copy (none:
// it is gone or was replaced).
bool changedSince(const std::optional<fs::ItemStamp>& now,
                  std::chrono::system_clock::time_point since) {
    if (!now) return true;
    const auto modified = std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(
            std::chrono::seconds(now->modifiedSeconds) +
            std::chrono::nanoseconds(now->modifiedNanoseconds)));
    return modified >= since;
}

// The size of the copy at `copy` when it is not the size of `source`: a share reports some
// write errors only as a short file.
std::optional<std::uint64_t> sizeIfNotWhole(const std::string& source, const std::string& copy) {
    const auto expected = fs::files().totalSize(source);
    const auto written = fs::files().totalSize(copy);
    if (expected && written && *expected != *written) return written;
    return std::nullopt;
}

}  // namespace

int copyWhole(UploadJob& upload, const std::string& source, const std::string& partial) {
    auto& files = fs::files();
    const fs::CopyGate gate([&upload](std::uint64_t written) {
        upload.bytesOfFileInHand = written;
        return !upload.cancelled();
    });
    int rc = 0;
    std::optional<std::uint64_t> sizeBefore;  // the last copy's size, when not the source's
    for (int copies = 1;; ++copies) {
        // A second early: file systems keep modification times more coarsely than this clock.
        const auto started = std::chrono::system_clock::now() - std::chrono::seconds(1);
        const std::optional<fs::ItemStamp> before = files.stamp(source);
        upload.bytesOfFileInHand = 0;
        rc = files.copyItem(source, partial);
        // An unknown write error on a link is what writing through the link reports after the
        // data went through: the copy counts as done.
        if (fs::platformErrorCode(rc) == fs::kUnknownWriteError && files.isAlias(partial)) rc = 0;
        if (rc != 0) {
            // What a failed copy wrote is not counted while the upload waits to copy it again.
            upload.bytesOfFileInHand = 0;
            return rc;
        }
        const std::optional<std::uint64_t> notWhole = sizeIfNotWhole(source, partial);
        rc = notWhole ? EIO : 0;
        // The same size again from an unchanged source is what the source holds, not a fault
        // of the device: copying it again would only give it once more.
        if (notWhole && notWhole == sizeBefore) return kSourceNotItsSize;
        const std::optional<fs::ItemStamp> after = files.stamp(source);
        // A source written to while it was read gives a copy of no moment of it, though it may
        // be of the size the source has now (the part read before the write is old, the rest
        // new): such a copy is made again. A source removed once read was copied whole. A copy
        // of another size than its source, which nobody wrote to meanwhile, is the device's
        // fault.
        const bool rewritten = before && after && !(*before == *after);
        // A copy of the wrong size is made once more to tell the source's size from a fault.
        if (notWhole && !rewritten && !sizeBefore && copies < kCopiesOfAChangingSource) {
            sizeBefore = notWhole;
            files.removeItem(partial);
            continue;
        }
        if (!rewritten && (rc == 0 || !changedSince(after, started))) return rc;
        if (copies == kCopiesOfAChangingSource || upload.cancelled()) return kSourceKeptChanging;
        files.removeItem(partial);
    }
}

TransferError failureOf(QVTransferPrivate& c, int rc) {
    if (rc == kSourceKeptChanging) return {EBUSY, c.localizedString("SOURCE_CHANGING_txt")};
    if (rc == kSourceNotItsSize) return {EIO, c.localizedString("SIZE_NOT_AS_READ_txt")};
    // A FIFO, a socket or a device node is never read.
    if (rc == fs::kNotARegularFile) return {rc, c.localizedString("NOT_REGULAR_FILE_txt")};
    // A name a share cannot hold in any form.
    if (rc == fs::kNameNotUtf8) return {rc, c.localizedString("NAME_NOT_UTF8_txt")};
    return {fs::platformErrorCode(rc), fs::errorDescription(rc)};
}

}  // namespace qvt::engine
